// The one place that knows every service: what attach installs and what detach releases.
#include <kq/debug/symbol_handler.h>
#include <kq/error/error_reporter.h>
#include <kq/error/exception_normalizer.h>
#include <kq/library.h>
#include <kq/thread/memory_reserver.h>
#include <kq/thread/thread_names.h>
#include <kq/win32/message_pump.h>

#include "concurrency/pool_thread.h"
#include "concurrency/services.h"
#include "concurrency/term_constants.h"
#include "debug/process_symbols.h"
#include "debug/process_track_list.h"
#include "error/dump_setting.h"
#include "thread/platform.h"
#include "thread/recycling.h"
#include "win32/main_thread.h"

#include <windows.h>

#include <atomic>
#include <stdexcept>

namespace {

std::atomic<bool> isStarted{false};

void InstallServices() {
    kq::debug::symbolHandler = kq::debug::SymbolHandler::Create();
    kq::error::errorReporter = kq::error::ErrorReporter::Create();
    kq::error::exceptionNormalizer = kq::error::ExceptionNormalizer::Create();
    kq::thread::threadNameManager = kq::thread::ThreadNameMap::Create();
    kq::concurrency::InstallServices();
}

// What a singleton gives up is destroyed here, or by the last user.
void ReleaseServices() {
    kq::concurrency::ReleaseServices();
    kq::thread::threadNameManager.Reset();
    kq::error::errorReporter.Reset();
    kq::error::exceptionNormalizer.Reset();
    kq::debug::symbolHandler.Reset();
}

// A later thread may get the same identifier, but not the name. Threads also end when the services
// are gone.
void ForgetThreadName() noexcept {
    try {
        if (const auto names = kq::thread::threadNameManager.GetShared())
            names->ResetCurrentName();
    } catch (...) {
        return;
    }
}

} // namespace

namespace kq {

void Startup() {
    if (!win32::IsMainThread())
        throw std::logic_error("Startup must be called on the main thread!");
    if (isStarted.exchange(true))
        return;
    try {
        InstallServices();
    } catch (...) {
        ReleaseServices();
        isStarted = false;
        throw;
    }
}

void Shutdown() {
    // Called by the destructor of a DLL's object, for one.
    if (thread::platform::ProcessIsEnding())
        return;
    if (!isStarted.exchange(false))
        return;
    concurrency::DrainServices();
    ReleaseServices();
    memoryReserver.Reset();
    thread::TrimRecyclers();
}

} // namespace kq

BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID processEnds) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            kq::win32::RecordMainThread();
            kq::concurrency::ConstructTermConstants();
            try {
                kq::debug::ConstructTrackList();
                kq::Startup();
            } catch (...) {
                return FALSE;
            }
            return TRUE;
        case DLL_PROCESS_DETACH:
            // At process exit the other threads were killed wherever they stood: they may have held
            // any lock, and what they used may be half changed. The system takes everything back.
            if (processEnds != nullptr)
                return TRUE;
            kq::concurrency::AbandonPoolThreads();
            if (isStarted.exchange(false))
                ReleaseServices();
            kq::debug::DestroyTrackList();
            kq::debug::AbandonSymbols();
            // The host may have installed one at any time.
            kq::memoryReserver.Reset();
            kq::error::ReleaseDumpSetting();
            kq::thread::TrimRecyclers();
            return TRUE;
        case DLL_THREAD_DETACH:
            ForgetThreadName();
            return TRUE;
        default:
            return TRUE;
    }
}
