// A library that connects to the error reports of kq, for a host that does not know kq.
#pragma once

/// What the library exports, with C linkage, each under its name here.
namespace report_plugin {

inline constexpr const wchar_t* file = L"process_report_plugin.dll";

/// Connects reporters and a normalizer, which raise `counter` and stay connected until the library
/// is freed or `Disconnect` is called.
using Connect = void(long* counter);
using Disconnect = void();
/// Reports an exception and a crash, and normalizes the exception.
using Report = void();
/// Sets the dump path.
using SetDumpPath = void(const wchar_t* path);
/// Reports on a thread of its own, for ever.
using ReportForever = void();

} // namespace report_plugin
