// Plug-ins whose objects with static storage use the library.
#include "process/flag.h"
#include "process/loaded_plugin.h"
#include "process/module.h"
#include "process/plugin_work.h"
#include "process/scenario.h"

#include <cstdlib>

using scenario::cleanExit;
using scenario::Close;

namespace {

constexpr wchar_t staticsName[] = L"process_plugin_with_statics.dll";

struct PluginWithStatics : Module {
    PluginWithStatics() : Module(staticsName) {}

    bool (*const jobHasRun)() = Find<bool()>("StaticJobHasRun");
    void (*const shutdown)() = Find<void()>("ShutdownLibrary");
    void (*const armLateShutdown)() = Find<void()>("ArmLateShutdown");
    void (*const keepOwnQueueBusy)() = Find<void()>("KeepOwnQueueBusy");
    void (*const dumpForEver)() = Find<void()>("DumpForEver");
};

} // namespace

SCENARIO(a_job_queued_by_a_static_of_a_plugin_runs) {
    const PluginWithStatics plugin;
    CHECK(plugin.jobHasRun());
    Close();
}

SCENARIO(main_returns_right_after_a_static_of_a_plugin_queued_a_job) {
    const PluginWithStatics plugin;
    Close();
}

SCENARIO(a_static_of_a_plugin_shuts_down_while_the_process_ends) {
    const PluginWithStatics plugin;
    plugin.armLateShutdown();
    CHECK(plugin.jobHasRun());
    Close();
}

SCENARIO(a_static_of_a_plugin_shuts_down_busy_services_while_the_process_ends) {
    const PluginWithStatics plugin;
    plugin.armLateShutdown();
    plugin.keepOwnQueueBusy();
    Close();
}

SCENARIO(a_static_of_a_plugin_dumps_references_after_a_dump_was_killed) {
    const PluginWithStatics plugin;
    plugin.dumpForEver();
    Close();
}

SCENARIO(a_plugin_with_statics_is_freed) {
    const PluginWithStatics plugin;
    CHECK(plugin.jobHasRun());
    plugin.Free();
    CHECK(!IsMapped(staticsName));
    CHECK(IsMapped(libraryName)); // by its idle thread
    Close();
}

SCENARIO(a_plugin_whose_statics_hold_the_last_references_is_freed) {
    for (int round = 0; round != 20; ++round) {
        const PluginWithStatics plugin;
        CHECK(plugin.jobHasRun());
        plugin.shutdown();
        plugin.Free();
        CHECK(!IsMapped(staticsName));
        CHECK(!IsMapped(libraryName));
    }
    Close();
}

SCENARIO(a_job_calls_exit_while_a_plugin_has_statics) {
    const LoadedPlugin plugin;
    const PluginWithStatics statics;
    CHECK(statics.jobHasRun());
    const Flag never;
    plugin.queueBlocking([never] { never.Wait(); });
    plugin.queue([] {
        Close();
        std::exit(cleanExit);
    });
    never.Wait();
}
