// Strings are a part of the C++ run-time's DLL, which takes its memory by itself: that is counted
// and limited too, like what the program takes.
#include "support/heap_counts.h"
#include "support/imports.h"

#include <windows.h>

#include <cstdlib>

namespace {

const bool isRedirected = [] {
    const HMODULE runTime = GetModuleHandleW(L"libstdc++-6.dll");
    if (runTime == nullptr ||
        kq_test::RedirectImport(runTime, "malloc", kq_test::CountedMalloc) == nullptr ||
        kq_test::RedirectImport(runTime, "free", kq_test::CountedFree) == nullptr)
        std::abort();
    return true;
}();

} // namespace
