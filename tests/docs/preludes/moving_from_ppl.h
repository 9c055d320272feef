// What the page on PPL leaves to its reader.
#pragma once

#include <iostream>
#include <thread>

inline int Compute(int element) { return element; }
inline void Merge() { std::cout << "merged\n"; }
inline int Search() { return 3; }
inline void Step() { std::this_thread::yield(); }
