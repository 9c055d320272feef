// A header that compiles only after somebody else's include.
#pragma once

inline std::string Forgotten() { return {}; }
