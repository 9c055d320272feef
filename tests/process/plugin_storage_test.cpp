// Plug-ins whose objects with static storage are in use when the process ends.
#include "process/module.h"
#include "process/scenario.h"

using scenario::Close;

namespace {

constexpr wchar_t storageName[] = L"process_plugin_with_storage.dll";

struct PluginWithStorage : Module {
    PluginWithStorage() : Module(storageName) {}

    void (*const keepContainerBusy)() = Find<void()>("KeepContainerBusy");
    void (*const keepStoreBusy)() = Find<void()>("KeepStoreBusy");
    void (*const keepStorage)() = Find<void()>("KeepStorage");
};

} // namespace

SCENARIO(a_container_of_a_plugin_is_in_use_when_the_process_ends) {
    const PluginWithStorage plugin;
    plugin.keepContainerBusy();
    Close();
}

SCENARIO(a_credential_store_of_a_plugin_is_in_use_when_the_process_ends) {
    const PluginWithStorage plugin;
    plugin.keepStoreBusy();
    Close();
}

SCENARIO(a_plugin_has_a_container_and_a_credential_store_when_the_process_ends) {
    const PluginWithStorage plugin;
    plugin.keepStorage();
    Close();
}

SCENARIO(a_plugin_with_a_container_and_a_credential_store_is_freed) {
    const PluginWithStorage plugin;
    plugin.keepStorage();
    plugin.Free();
    CHECK(!IsMapped(storageName));
    Close();
}
