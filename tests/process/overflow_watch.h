// Reporting the overflow of a stack.
#pragma once

/// Prepares the calling thread, once, for an overflow of its stack: it is reported through
/// `kq::error::detail::ExcDump`, and then the process ends with the code of the exception.
void WatchForOverflow();
