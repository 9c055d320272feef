// The ways in which a program fails.
#pragma once

/// A function that fails in a way of its own and does not return.
using Fault = void (*)();

/// The fault of that name: read, write, execute, stack_overflow, division, instruction or
/// cpp_exception; null when there is none.
Fault FindFault(const char* name);
