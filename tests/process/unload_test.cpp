// The library comes and goes while the process lives on. This program is not linked with it: a
// plug-in brings it along.
#include "process/flag.h"
#include "process/forever.h"
#include "process/loaded_plugin.h"
#include "process/plugin_work.h"
#include "process/scenario.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>

using scenario::cleanExit;
using scenario::Close;

SCENARIO(the_library_is_freed_with_nothing_used) {
    const Module library(libraryName);
    library.Free();
    CHECK(!IsMapped(libraryName));
    Close();
}

SCENARIO(a_plugin_is_freed_with_nothing_used) {
    CHECK(!IsMapped(libraryName));
    const LoadedPlugin plugin;
    CHECK(IsMapped(libraryName));
    plugin.Free();
    CHECK(!IsMapped(pluginName));
    CHECK(!IsMapped(libraryName));
    Close();
}

SCENARIO(the_library_is_freed_by_its_last_user) {
    const LoadedPlugin plugin;
    const Module library(libraryName);
    plugin.Free();
    CHECK(IsMapped(libraryName));
    library.Free();
    CHECK(!IsMapped(libraryName));
    Close();
}

SCENARIO(the_library_comes_and_goes_with_work_in_each_life) {
    for (int round = 0; round != 30; ++round)
        LiveWithWork();
    Close();
}

SCENARIO(idle_pool_threads_keep_the_library_mapped) {
    const LoadedPlugin first;
    UseTwoThreads(first);
    const void* const services = first.services();
    first.Free();
    CHECK(!IsMapped(pluginName));
    CHECK(IsMapped(libraryName));
    // What comes back finds the services as they were, and work for the threads.
    const LoadedPlugin second;
    CHECK(second.services() == services);
    UseTwoThreads(second);
    Close();
}

SCENARIO(main_returns_after_idle_pool_threads_were_left_behind) {
    const LoadedPlugin plugin;
    UseTwoThreads(plugin);
    plugin.Free();
    CHECK(IsMapped(libraryName));
    Close();
}

SCENARIO(busy_pool_threads_finish_their_jobs_after_the_library_was_freed) {
    constexpr std::size_t jobs = 8;
    const Countdown begun(jobs);
    const Countdown finished(2 * jobs);
    const Flag mayFinish;
    const LoadedPlugin plugin;
    for (std::size_t job = 0; job != jobs; ++job)
        plugin.queueBlocking([begun, finished, mayFinish] {
            begun.Arrive();
            mayFinish.Wait();
            finished.Arrive();
        });
    begun.Wait();
    for (std::size_t job = 0; job != jobs; ++job)
        plugin.queue([mayFinish, finished] {
            mayFinish.Wait();
            finished.Arrive();
        });
    plugin.Free();
    CHECK(!IsMapped(pluginName));
    CHECK(IsMapped(libraryName));
    mayFinish.Set();
    finished.Wait();
    // The threads have gone back into the library's code, and it is there.
    const LoadedPlugin again;
    UseTwoThreads(again);
    again.shutdown();
    again.Free();
    CHECK(!IsMapped(libraryName));
    Close();
}

SCENARIO(main_returns_while_pool_threads_are_busy_and_the_library_was_freed) {
    const Countdown begun(4);
    const LoadedPlugin plugin;
    for (int job = 0; job != 4; ++job)
        plugin.queueBlocking([begun] {
            begun.Arrive();
            BlockForever();
        });
    begun.Wait();
    plugin.Free();
    CHECK(IsMapped(libraryName));
    Close();
}

SCENARIO(a_job_calls_exit_after_the_library_was_freed) {
    const Flag freed;
    const LoadedPlugin plugin;
    plugin.queue([freed] {
        freed.Wait();
        Close();
        std::exit(cleanExit);
    });
    plugin.Free();
    freed.Set();
    BlockForever();
}

SCENARIO(a_job_frees_the_library) {
    const Flag isQueued; // until then the call is in the plug-in
    const Flag done;
    const LoadedPlugin plugin;
    plugin.queue([isQueued, done, plugin] {
        isQueued.Wait();
        plugin.Free();
        CHECK(!IsMapped(pluginName));
        CHECK(IsMapped(libraryName));
        done.Set();
    });
    isQueued.Set();
    done.Wait();
    Close();
}

SCENARIO(the_library_is_freed_on_another_thread_than_the_loader) {
    for (int round = 0; round != 20; ++round) {
        const LoadedPlugin plugin;
        std::thread([&plugin] { plugin.Free(); }).join();
        CHECK(!IsMapped(libraryName));
    }
    Close();
}

SCENARIO(the_library_is_loaded_on_a_thread_that_ends) {
    for (int round = 0; round != 20; ++round) {
        std::unique_ptr<LoadedPlugin> plugin;
        std::thread([&plugin] { plugin = std::make_unique<LoadedPlugin>(); }).join();
        UseTwoThreads(*plugin);
        plugin->shutdown();
        std::thread([&plugin] { plugin->Free(); }).join();
        CHECK(!IsMapped(libraryName));
    }
    Close();
}

SCENARIO(a_thread_that_used_the_library_ends_after_it_was_freed) {
    for (int round = 0; round != 20; ++round) {
        const LoadedPlugin plugin;
        const Flag used;
        const Flag mayEnd;
        std::thread user([&plugin, used, mayEnd] {
            CHECK(plugin.nameThread());
            plugin.run([] {});
            used.Set();
            mayEnd.Wait();
        });
        used.Wait();
        plugin.shutdown();
        plugin.Free();
        CHECK(!IsMapped(libraryName));
        mayEnd.Set();
        user.join();
    }
    Close();
}

SCENARIO(services_that_were_started_again_are_released_by_the_unload) {
    for (int round = 0; round != 20; ++round) {
        const LoadedPlugin plugin;
        UseTwoThreads(plugin);
        plugin.shutdown();
        plugin.startup();
        CHECK(plugin.nameThread());
        plugin.Free();
        CHECK(!IsMapped(libraryName));
    }
    Close();
}

SCENARIO(main_returns_amid_loads_and_frees_at_random) {
    std::minstd_rand random(scenario::Seed());
    const Countdown enough(1 + random() % 200);
    for (int guest = 0; guest != 3; ++guest)
        std::thread([enough] {
            for (;;) {
                const LoadedPlugin plugin;
                plugin.queue([enough] { enough.Arrive(); });
                plugin.queueBlocking([enough] { enough.Arrive(); });
                plugin.Free();
            }
        }).detach();
    enough.Wait();
    Close();
}
