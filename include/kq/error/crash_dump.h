// Minidumps and reports of crashes.
#pragma once

#include <kq/export.h>
#include <kq/win32/types.h>

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>

namespace kq {
namespace error {

/// Where crashes are dumped; empty when they are not. Returns what `SetDumpFilePath` was given, not
/// the name of the file. Throws `std::bad_alloc`. Callable from any thread.
KQ_API boost::optional<boost::filesystem::path> GetDumpFilePath();

/// Sets where `detail::ExcDump` writes its minidump: to the file `path`, with the extension
/// replaced by ".dmp" (app.log, app and app.dmp all make app.dmp). The folder has to exist when the
/// crash comes, and a relative path is taken from the folder that is the current one then. Every
/// crash of the process goes to this one file; a later one overwrites the file of an earlier one.
/// An empty `path` turns the dumps off, as they are when the library is loaded. The setting is kept
/// when the library is shut down and started again.
///
/// Throws `std::bad_alloc`, and then changes nothing. Callable from any thread, also while a crash
/// is being dumped, which then goes to the path that it began with; meant for the start of the
/// process, before there is anything to guard.
KQ_API void SetDumpFilePath(boost::optional<boost::filesystem::path> const& path);

namespace detail {

/// A filter for structured exceptions, which include crashes such as access violations. Writes a
/// minidump when `SetDumpFilePath` asks for it, calls `errorReporter`'s
/// `ReportStructuredException` with the full name of the dump, and always returns 0
/// (`EXCEPTION_CONTINUE_SEARCH`): it records, and the exception goes on to whoever handles it or
/// ends the process. Returns 0 at once when `pointers` is null.
///
/// The library installs it nowhere. A host puts it around a region, such as the body of a thread,
///
///     __try { Run(); } __except (kq::error::detail::ExcDump(GetExceptionCode(),
///                                                           GetExceptionInformation())) {}
///
/// or calls it in its filter for whatever nobody handles (`SetUnhandledExceptionFilter`). Around a
/// region it also sees C++ exceptions that cross the region, which have codes of the compiler's
/// own.
///
/// The report goes out without a dump name when the file cannot be made or the dump cannot be
/// written; a file that was begun then stays as it is. Two threads that crash at once share the one
/// file: the one that finds it in use reports without a dump.
///
/// Up to the end of the dump it takes no lock of the library and no memory of its own. It runs on
/// the thread that failed, on what is left of the stack; 64 KiB are enough. The overflow of a stack
/// leaves less: a host that wants it reported sets some aside (`SetThreadStackGuarantee`), or calls
/// this on a fiber of that thread, from a vectored handler.
///
/// Throws `std::runtime_error` ("Singleton instance of ... does not exists!") when `errorReporter`
/// is empty, and what a reporter throws; the dump is complete then.
KQ_API long ExcDump(unsigned long code, _EXCEPTION_POINTERS* pointers);

} // namespace detail
} // namespace error
} // namespace kq
