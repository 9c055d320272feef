// The plug-in as a scenario sees it.
#pragma once

#include "process/module.h"
#include "process/plugin.h"

inline constexpr wchar_t libraryName[] = L"kq.dll";
inline constexpr wchar_t pluginName[] = L"process_plugin.dll";

struct LoadedPlugin : Module {
    LoadedPlugin() : Module(pluginName) {}

    decltype(PluginStartup)* const startup = Find<decltype(PluginStartup)>("PluginStartup");
    decltype(PluginShutdown)* const shutdown = Find<decltype(PluginShutdown)>("PluginShutdown");
    decltype(PluginQueue)* const queue = Find<decltype(PluginQueue)>("PluginQueue");
    decltype(PluginQueue)* const queueBlocking = Find<decltype(PluginQueue)>("PluginQueueBlocking");
    decltype(PluginRun)* const run = Find<decltype(PluginRun)>("PluginRun");
    decltype(PluginNameThread)* const nameThread =
        Find<decltype(PluginNameThread)>("PluginNameThread");
    decltype(PluginServices)* const services = Find<decltype(PluginServices)>("PluginServices");
};
