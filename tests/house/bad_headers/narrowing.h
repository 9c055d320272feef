// A header that compiles with a warning.
#pragma once

inline short Narrowed(int value) { return value; }
