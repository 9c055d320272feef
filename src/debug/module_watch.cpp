#include "debug/module_watch.h"

#include <windows.h>

#include <stdexcept>

// Of ntdll; described by the platform's documentation, and by no header of it.
extern "C" {

struct KqDllNotification {
    ULONG flags;
    const void* fullName;
    const void* baseName;
    void* base;
    ULONG size;
};

using KqDllNotificationFunction = void(CALLBACK*)(ULONG reason, const KqDllNotification* data,
                                                  void* context);

__declspec(dllimport) LONG NTAPI
    LdrRegisterDllNotification(ULONG flags, KqDllNotificationFunction function, void* context,
                               void** registration);
__declspec(dllimport) LONG NTAPI LdrUnregisterDllNotification(void* registration);

} // extern "C"

namespace kq::debug {

namespace {

// Runs under the loader's lock, so one at a time, and also while the process ends.
void CALLBACK NoteModule(ULONG /*reason*/, const KqDllNotification* data, void* context) {
    static_cast<TouchedModules*>(context)->Add(reinterpret_cast<std::uint64_t>(data->base));
}

} // namespace

ModuleWatch::ModuleWatch() {
    if (LdrRegisterDllNotification(0, NoteModule, &touched_, &registration_) < 0)
        throw std::runtime_error("Failed to initialize symbol handler!");
}

ModuleWatch::~ModuleWatch() { LdrUnregisterDllNotification(registration_); }

} // namespace kq::debug
