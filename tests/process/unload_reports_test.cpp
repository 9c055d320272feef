// The library comes and goes with reporters connected.
#include "process/module.h"
#include "process/process_level.h"
#include "process/report_plugin.h"
#include "process/scenario.h"

#include <cstdint>

using scenario::Close;

namespace {

struct Plugin : Module {
    Plugin() : Module(report_plugin::file) {}

    report_plugin::Connect* const connect = Find<report_plugin::Connect>("Connect");
    report_plugin::Disconnect* const disconnect = Find<report_plugin::Disconnect>("Disconnect");
    report_plugin::Report* const report = Find<report_plugin::Report>("Report");
    report_plugin::SetDumpPath* const setDumpPath = Find<report_plugin::SetDumpPath>("SetDumpPath");
    report_plugin::ReportForever* const reportForever =
        Find<report_plugin::ReportForever>("ReportForever");
};

constexpr wchar_t libraryName[] = L"kq.dll";

void FreeAll(const Plugin& plugin) {
    plugin.Free();
    CHECK(!IsMapped(report_plugin::file));
    CHECK(!IsMapped(libraryName));
}

} // namespace

SCENARIO(a_plugin_that_reports_comes_and_goes) {
    for (int round = 0; round != 20; ++round) {
        long calls = 0;
        const Plugin plugin;
        plugin.report();
        plugin.connect(&calls);
        plugin.report();
        CHECK(calls == 3);
        plugin.disconnect();
        plugin.report();
        CHECK(calls == 3);
        FreeAll(plugin);
    }
    Close();
}

SCENARIO(a_plugin_is_freed_with_its_reporters_connected) {
    for (int round = 0; round != 20; ++round) {
        long calls = 0;
        const Plugin plugin;
        plugin.connect(&calls);
        plugin.report();
        CHECK(calls == 3);
        FreeAll(plugin);
    }
    Close();
}

SCENARIO(the_library_lives_on_when_a_plugin_with_reporters_is_freed) {
    const Module library(libraryName);
    long calls = 0;
    const Plugin first;
    first.connect(&calls);
    first.report();
    first.Free();
    CHECK(!IsMapped(report_plugin::file));
    CHECK(IsMapped(libraryName));
    const Plugin second;
    second.report();
    CHECK(calls == 3);
    second.connect(&calls);
    second.report();
    CHECK(calls == 6);
    second.Free();
    library.Free();
    CHECK(!IsMapped(libraryName));
    Close();
}

SCENARIO(loads_and_unloads_with_reporters_leave_nothing_behind) {
    // Under Wine the system's multimedia library loses handles at each unload: it has to stay.
    const Module multimedia(L"winmm.dll");
    const Module debugHelp(L"dbghelp.dll");
    CHECK(LeavesNothingBehind([] {
        long calls = 0;
        const Plugin plugin;
        plugin.connect(&calls);
        plugin.setDumpPath(L"Z:\\no such folder\\that a dump could be written to\\x.dmp");
        plugin.report();
        CHECK(calls == 3);
        FreeAll(plugin);
    }));
    Close();
}

SCENARIO(main_returns_with_the_reporters_of_a_plugin_connected) {
    static long calls = 0;
    const Plugin plugin;
    plugin.connect(&calls);
    plugin.report();
    Close();
}

SCENARIO(main_returns_while_a_plugin_reports_at_random) {
    static long calls = 0;
    const Plugin plugin;
    plugin.connect(&calls);
    plugin.reportForever();
    for (std::uint32_t turns = scenario::Seed() % 5'000; turns != 0; --turns)
        SwitchToThread();
    Close();
}
