// The constant job terms come to life with the library.
#pragma once

namespace kq::concurrency {

/// Makes `inUI`, `inUIAsync` and `isBlocking`. Called once, before anybody can use them; they last
/// for the life of the process.
void ConstructTermConstants() noexcept;

} // namespace kq::concurrency
