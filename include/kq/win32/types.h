// The platform's types that appear in public headers, so that a host does not get <windows.h> and
// its macros from us. The names are the platform's own: with <windows.h> included too, before or
// after, these are the same types.
#pragma once

/// What a `HINSTANCE` or `HMODULE` points at: a loaded module.
struct HINSTANCE__;
/// What a `HWND` points at: a window.
struct HWND__;
/// What a structured-exception filter is given (`EXCEPTION_POINTERS`).
struct _EXCEPTION_POINTERS;
/// The registers of a thread (`CONTEXT`).
struct _CONTEXT;
