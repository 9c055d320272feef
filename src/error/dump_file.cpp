#include "error/dump_file.h"

#include "thread/platform.h"

namespace kq::error {

bool WriteDumpFile(const wchar_t* name, EXCEPTION_POINTERS* pointers, DumpWriter& write) noexcept {
    const HANDLE file = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == nullptr || file == INVALID_HANDLE_VALUE)
        return false;
    MINIDUMP_EXCEPTION_INFORMATION exception{};
    exception.ThreadId = thread::platform::CurrentThreadId();
    exception.ExceptionPointers = pointers;
    exception.ClientPointers = FALSE;
    const BOOL isWritten = write(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal,
                                 &exception, nullptr, nullptr);
    CloseHandle(file);
    return isWritten != FALSE;
}

} // namespace kq::error
