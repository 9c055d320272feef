// A plug-in whose objects with static storage keep values and credentials. They end while the
// plug-in is unloaded or while the process ends.
#include <kq/kq.h>

#include "process/forever.h"

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int exitCodeOfTouchedStorage = 96;

std::atomic<bool> isBusy{false};

/// What a thread is busy with, for ever; the end of such an object is a failure then, because
/// nobody knows what the thread left.
class Contents {
public:
    Contents() = default;
    Contents(const Contents& /*other*/) { KeepBusy(); }
    Contents& operator=(const Contents&) = delete;
    ~Contents() {
        if (isBusy)
            TerminateProcess(GetCurrentProcess(), exitCodeOfTouchedStorage);
    }

    [[noreturn]] static void KeepBusy() {
        isBusy = true;
        ComputeForever();
    }
};

class BusyCredential final : public kq::crypt::Credential::Interface {
public:
    std::unique_ptr<Interface> Clone() const override { Contents::KeepBusy(); }
    std::wstring UserName() const override { return {}; }
    std::vector<unsigned char> Secret() const override { return {}; }
    void WithSecret(
        const std::function<void(const std::vector<unsigned char>&)>& use) const override {
        use({});
    }
    bool Equals(const Interface& /*other*/) const override { return false; }

private:
    Contents contents_;
};

std::unique_ptr<kq::IoC::IContainer> container;
std::optional<kq::crypt::Store> store;

/// Returns when the thread is busy.
template <class Action>
void StartBusyThread(Action action) {
    std::thread(action).detach();
    while (!isBusy)
        std::this_thread::yield();
}

} // namespace

extern "C" {

/// Makes a container, and a thread that is inside of one of its operations for ever.
__declspec(dllexport) void KeepContainerBusy() {
    container = kq::IoC::CreateContainer();
    container->SetEntry(std::any(std::in_place_type<Contents>), "key");
    StartBusyThread([] { container->GetEntry("key"); });
}

/// Makes a store, and a thread that is inside of one of its operations for ever.
__declspec(dllexport) void KeepStoreBusy() {
    store = kq::crypt::MkMemoryCredentialStore();
    store->Save(L"key", kq::crypt::Credential(std::make_unique<BusyCredential>())).value();
    StartBusyThread([] { store->Load(L"key"); });
}

/// Makes both, which nobody uses, and leaves them to the end of the plug-in.
__declspec(dllexport) void KeepStorage() {
    container = kq::IoC::CreateContainer();
    container->SetEntry(1, "key");
    store = kq::crypt::MkMemoryCredentialStore();
    store->Save(L"key", kq::crypt::MkCredential(L"user", std::wstring(L"secret"))).value();
}
}
