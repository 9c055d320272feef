// The entry points of the plug-in, a host module that is linked with kq.dll and that brings it into
// a process and takes it away again.
#pragma once

#include <kq/concurrency/job.h>

#if defined(PROCESS_PLUGIN)
#define PLUGIN_API __declspec(dllexport)
#else
#define PLUGIN_API // found by name
#endif

extern "C" {

PLUGIN_API void PluginStartup();
PLUGIN_API void PluginShutdown();

/// Queues a copy of `job`. Nothing of the plug-in's code takes part when it runs: it may be freed.
PLUGIN_API void PluginQueue(const kq::concurrency::Job& job);
/// As above, in the lane for blocking jobs.
PLUGIN_API void PluginQueueBlocking(const kq::concurrency::Job& job);
/// Queues a copy of `job` and waits for it.
PLUGIN_API void PluginRun(const kq::concurrency::Job& job);

/// Names the calling thread, and tells whether it goes by that name.
PLUGIN_API bool PluginNameThread();
/// A number that tells one life of the services from another.
PLUGIN_API const void* PluginServices();
}
