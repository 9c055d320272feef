// What a process gets with kq.dll: the services, from before `main` to the end of the last test.
#include <kq/library.h>
#include <kq/thread/thread_names.h>

#include "concurrency/services.h"
#include "concurrency/term_constants.h"
#include "win32/main_thread.h"

#include <gtest/gtest.h>

namespace kq {

void Startup() {
    thread::threadNameManager = thread::ThreadNameMap::Create();
    concurrency::InstallServices();
}

void Shutdown() {
    concurrency::DrainServices();
    concurrency::ReleaseServices();
    thread::threadNameManager.Reset();
}

} // namespace kq

namespace {

// Nothing is left for the end of the process, which looks for leaks.
class Services final : public testing::Environment {
public:
    void TearDown() override { kq::Shutdown(); }
};

// Before the objects with static storage of the tests, which may use what it makes.
[[gnu::constructor(101)]] void Attach() {
    kq::win32::RecordMainThread();
    kq::concurrency::ConstructTermConstants();
    kq::Startup();
    testing::AddGlobalTestEnvironment(new Services);
}

} // namespace
