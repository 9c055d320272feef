// How the program ends; --help documents the values.
#pragma once

namespace find_duplicates {

constexpr int exitComplete = 0;
constexpr int exitIncomplete = 1;
constexpr int exitFailed = 2;
constexpr int exitInterrupted = 3;

} // namespace find_duplicates
