// The rows of the table of call stacks. Each function measures and prints its own.
#pragma once

namespace bench {

/// Stacks of ten frames, at places that are new and at known ones.
void FreshStacks();

/// The latter with fifty more modules than the program itself needs.
void StacksAmongManyModules();

/// Stacks of a thousand frames.
void DeepStacks();

/// The first stack after a library was loaded.
void StacksAfterALoad();

/// References taken and dropped, in an empty tracker and in one with a hundred thousand.
void References();

} // namespace bench
