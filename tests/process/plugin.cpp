#include "process/plugin.h"

#include <kq/kq.h>

using namespace kq::concurrency;

void PluginStartup() { kq::Startup(); }
void PluginShutdown() { kq::Shutdown(); }

void PluginQueue(const Job& job) { jobQueue->Queue(job); }
void PluginQueueBlocking(const Job& job) { jobQueue->Queue(job, isBlocking); }
void PluginRun(const Job& job) { jobQueue->Queue(job).Wait(); }

bool PluginNameThread() {
    kq::thread::threadNameManager->SetCurrentName("of the plug-in");
    return kq::thread::threadNameManager->GetCurrentName() == "of the plug-in";
}

const void* PluginServices() { return jobQueue.GetShared().get(); }
