// What the library leaves behind when it comes and goes: nothing.
#include "process/loaded_plugin.h"
#include "process/plugin_work.h"
#include "process/process_level.h"
#include "process/scenario.h"

#include <cstddef>

using scenario::Close;

namespace {

// The system's multimedia library loses handles at each unload under Wine: it has to stay.
void KeepSystemLibraries() { const Module multimedia(L"winmm.dll"); }

} // namespace

SCENARIO(loads_and_unloads_leave_nothing_behind) {
    KeepSystemLibraries();
    CHECK(LeavesNothingBehind([] {
        const LoadedPlugin plugin;
        CHECK(plugin.nameThread());
        plugin.Free();
        CHECK(!IsMapped(libraryName));
    }));
    Close();
}

SCENARIO(a_thousand_loads_and_unloads_with_work_leave_nothing_behind) {
    constexpr std::size_t rounds = 1'000;
    KeepSystemLibraries();
    CHECK(LeavesNothingBehind(LiveWithWork, rounds));
    Close();
}
