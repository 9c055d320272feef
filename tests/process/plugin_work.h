// Work for the plug-in.
#pragma once

#include "process/flag.h"
#include "process/loaded_plugin.h"
#include "process/scenario.h"

#include <atomic>

/// Two jobs that meet: makes two pool threads at least, and leaves them idle.
inline void UseTwoThreads(const LoadedPlugin& plugin) {
    const Countdown met(2);
    const kq::concurrency::Job job = [met] {
        met.Arrive();
        met.Wait();
    };
    plugin.queueBlocking(job);
    plugin.queueBlocking(job);
    met.Wait();
    plugin.run([] {});
}

/// From the load of the plug-in to its unload, with jobs in both lanes and an orderly shutdown.
inline void LiveWithWork() {
    const LoadedPlugin plugin;
    std::atomic<int> ran{0};
    for (int job = 0; job != 20; ++job) {
        plugin.queue([&ran] { ++ran; });
        plugin.queueBlocking([&ran] { ++ran; });
    }
    UseTwoThreads(plugin);
    plugin.shutdown();
    CHECK(ran == 40);
    plugin.Free();
    CHECK(!IsMapped(libraryName));
}
