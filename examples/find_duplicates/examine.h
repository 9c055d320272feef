// Reading a file for its digest.
#pragma once

#include "candidate.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace find_duplicates {

/// The first look at a file reads so many bytes. Most files that differ, differ here, and most
/// files are not longer.
constexpr std::uint32_t headLength = 64 * 1024;
/// The second look reads the rest in pieces of this length. It is also what a running job holds of
/// a file in memory, however large the file is, and many jobs run at once.
constexpr std::uint32_t chunkLength = 256 * 1024;

/// Called after each piece with its length; may throw to end the reading.
using OnRead = std::function<void(std::size_t)>;

/// Opens the file, learns what it is, and digests its head. The outcome is the candidate's state:
/// `Begun`, `Digested` when the head is all there is, or what went wrong. Throws only what
/// `onRead` throws, and `std::bad_alloc`.
void ExamineHead(const std::wstring& path, Candidate& candidate, const OnRead& onRead);

/// Goes on where `ExamineHead` left a file as `Begun`: digests the rest.
void ExamineRest(const std::wstring& path, Candidate& candidate, const OnRead& onRead);

} // namespace find_duplicates
