// Error reports, and what is connected to them, in the life of the process.
#include <kq/kq.h>

#include "process/flag.h"
#include "process/forever.h"
#include "process/scenario.h"
#include "process/services.h"
#include "process/simulated_crash.h"
#include "support/on_destruction.h"
#include "support/open_symbols.h"
#include "support/temporary_folder.h"

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

using kq::error::errorReporter;
using kq::error::exceptionNormalizer;
using kq_test::OnDestruction;
using scenario::cleanExit;
using scenario::Close;
using Handle = boost::shared_ptr<boost::signals2::scoped_connection>;

namespace {

Handle AddSEReporter(std::function<void()> action) {
    return errorReporter->AddSEReporter(
        [action = std::move(action)](unsigned long, EXCEPTION_POINTERS const&,
                                     boost::optional<std::wstring> const&) { action(); });
}

std::string MissingReporterText() {
    return std::string("Singleton instance of ") + typeid(kq::error::ErrorReporter).name() +
           " does not exists!";
}

// Connects, disconnects, reports, normalizes and crashes, for ever.
[[noreturn]] void ReportEverything(unsigned int seed,
                                   const std::shared_ptr<std::atomic<int>>& reports) {
    std::minstd_rand random(seed);
    std::vector<Handle> handles;
    for (;;) {
        switch (random() % 8) {
            case 0:
                handles.push_back(errorReporter->AddReporter([reports] { ++*reports; }));
                break;
            case 1:
                handles.push_back(AddSEReporter([reports] { ++*reports; }));
                break;
            case 2:
                handles.push_back(exceptionNormalizer->AddNormalizer([] { throw; }));
                break;
            case 3:
                SimulateCrash();
                break;
            case 4:
                errorReporter->ReportCurrentException();
                break;
            case 5:
                if (!handles.empty())
                    handles.erase(handles.begin() + static_cast<int>(random() % handles.size()));
                break;
            default:
                try {
                    throw std::runtime_error("reported");
                } catch (const std::runtime_error&) {
                    errorReporter->ReportCurrentException();
                    try {
                        exceptionNormalizer->NormalizeCurrentException();
                    } catch (const std::runtime_error&) {
                        ++*reports;
                    }
                }
                break;
        }
    }
}

void RunInto(void (*end)()) {
    std::minstd_rand random(scenario::Seed());
    const auto reports = std::make_shared<std::atomic<int>>(0);
    for (int thread = 0; thread != 4; ++thread)
        std::thread(ReportEverything, static_cast<unsigned int>(random()), reports).detach();
    const auto enough = static_cast<int>(1 + random() % 2'000);
    while (*reports < enough)
        SwitchToThread();
    Close();
    end();
}

} // namespace

SCENARIO(shutdown_ends_the_connections_of_reporters_and_normalizers) {
    int calls = 0;
    Handle reporting = errorReporter->AddReporter([&calls] { ++calls; });
    Handle structured = AddSEReporter([&calls] { ++calls; });
    Handle normalizing = exceptionNormalizer->AddNormalizer([&calls] { ++calls; });
    kq::Shutdown();
    for (const Handle& handle : {reporting, structured, normalizing})
        CHECK(!handle->connected());
    kq::Startup();
    errorReporter->ReportCurrentException();
    exceptionNormalizer->NormalizeCurrentException();
    SimulateCrash();
    CHECK(calls == 0);
    reporting.reset();
    structured.reset();
    const Handle again = errorReporter->AddReporter([&calls] { ++calls; });
    errorReporter->ReportCurrentException();
    CHECK(calls == 1);
    normalizing.reset();
    Close();
}

SCENARIO(shutdown_releases_the_reporter_after_the_names_and_before_the_normalizer) {
    std::string order;
    const Handle reporting =
        errorReporter->AddReporter([token = OnDestruction([&order] {
                                        CHECK(IsMissing(errorReporter));
                                        CHECK(IsMissing(kq::thread::threadNameManager));
                                        CHECK(exceptionNormalizer.GetShared());
                                        order += 'r';
                                    })] {});
    const Handle normalizing =
        exceptionNormalizer->AddNormalizer([token = OnDestruction([&order] {
                                                CHECK(IsMissing(exceptionNormalizer));
                                                CHECK(kq::debug::symbolHandler.GetShared());
                                                order += 'n';
                                            })] {});
    kq::Shutdown();
    CHECK(order == "rn");
    Close();
}

SCENARIO(jobs_in_flight_report_during_shutdown) {
    std::atomic<int> calls{0};
    const Handle reporting = errorReporter->AddReporter([&calls] { ++calls; });
    const Handle structured = AddSEReporter([&calls] { ++calls; });
    const Flag begun;
    kq::concurrency::jobQueue->Queue([begun] {
        begun.Set();
        AwaitShutdown();
        errorReporter->ReportCurrentException();
        SimulateCrash();
    });
    begun.Wait();
    kq::Shutdown();
    CHECK(calls == 2);
    Close();
}

SCENARIO(a_reporter_shuts_the_library_down) {
    std::string order;
    const Handle first = errorReporter->AddReporter([&order] {
        order += 's';
        kq::Shutdown();
        CHECK(ServicesAreMissing());
    });
    const Handle second = errorReporter->AddReporter([&order] { order += '2'; });
    errorReporter->ReportCurrentException();
    // The other went with the reporter.
    CHECK(order == "s");
    kq::Startup();
    CHECK(ServicesAreThere());
    Close();
}

SCENARIO(a_reporter_of_a_crash_shuts_the_library_down) {
    std::string order;
    const Handle first = AddSEReporter([&order] {
        order += 's';
        kq::Shutdown();
        CHECK(ServicesAreMissing());
    });
    const Handle second = AddSEReporter([&order] { order += '2'; });
    SimulateCrash();
    // The filter keeps the reporter until all have been called.
    CHECK(order == "s2");
    CHECK(!second->connected());
    Close();
}

SCENARIO(a_crash_after_shutdown_is_dumped_and_misses_the_reporter) {
    TemporaryFolder folder;
    const std::wstring name = folder.NewFile(L"late.dmp");
    OpenSymbols();
    kq::error::SetDumpFilePath(boost::filesystem::path(name));
    kq::Shutdown();
    std::string text;
    try {
        SimulateCrash();
    } catch (const std::runtime_error& error) {
        text = error.what();
    }
    CHECK(text == MissingReporterText());
    CHECK(GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES);
    // The setting lives as long as the library.
    kq::Startup();
    CHECK(kq::error::GetDumpFilePath());
    kq::Shutdown();
    CHECK(kq::error::GetDumpFilePath()->wstring() == name);
    Close();
}

SCENARIO(threads_report_while_the_library_shuts_down_at_random) {
    std::minstd_rand random(scenario::Seed());
    std::atomic<int> reports{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread != 3; ++thread)
        threads.emplace_back([&reports] {
            // Who uses a service during a shutdown holds a copy of it.
            while (const auto reporter = errorReporter.GetShared()) {
                const Handle reporting = reporter->AddReporter([&reports] { ++reports; });
                const Handle structured =
                    reporter->AddSEReporter([&reports](unsigned long, EXCEPTION_POINTERS const&,
                                                       auto const&) { ++reports; });
                reporter->ReportCurrentException();
                try {
                    SimulateCrash();
                } catch (const std::runtime_error& error) {
                    CHECK(error.what() == MissingReporterText());
                }
            }
        });
    const auto enough = static_cast<int>(1 + random() % 5'000);
    while (reports < enough)
        SwitchToThread();
    kq::Shutdown();
    for (std::thread& thread : threads)
        thread.join();
    CHECK(ServicesAreMissing());
    Close();
}

SCENARIO(main_returns_with_reporters_connected) {
    static std::vector<Handle> handles;
    handles.push_back(errorReporter->AddReporter([] {}));
    handles.push_back(exceptionNormalizer->AddNormalizer([] {}));
    handles.push_back(AddSEReporter([] {}));
    Close();
}

SCENARIO(a_static_reports_after_main) {
    struct Reports {
        Handle handle = errorReporter->AddReporter(Close);
        ~Reports() {
            SimulateCrash();
            errorReporter->ReportCurrentException();
        }
    };
    static const Reports reports;
}

SCENARIO(a_reporter_ends_the_process) {
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): it stays connected
    const Handle handle = errorReporter->AddReporter([] {
        Close();
        std::exit(cleanExit);
    });
    std::thread([] { errorReporter->ReportCurrentException(); }).detach();
    BlockForever();
}

SCENARIO(a_reporter_of_a_crash_ends_the_process) {
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): it stays connected
    const Handle handle = AddSEReporter([] {
        Close();
        ExitProcess(cleanExit);
    });
    std::thread(SimulateCrash).detach();
    BlockForever();
}

SCENARIO(main_returns_while_a_reporter_runs) {
    const Flag begun;
    const Handle handle = errorReporter->AddReporter([begun] {
        begun.Set();
        BlockForever();
    });
    std::thread([] { errorReporter->ReportCurrentException(); }).detach();
    begun.Wait();
    Close();
}

SCENARIO(main_returns_amid_reports_at_random) {
    RunInto([] {});
}

SCENARIO(main_calls_exit_process_amid_reports_at_random) {
    RunInto([] { ExitProcess(cleanExit); });
}

SCENARIO(main_returns_amid_dumps_at_random) {
    OpenSymbols();
    static TemporaryFolder folder;
    kq::error::SetDumpFilePath(boost::filesystem::path(folder.NewFile(L"x.dmp")));
    std::minstd_rand random(scenario::Seed());
    const auto reports = std::make_shared<std::atomic<int>>(0);
    static const Handle handle = AddSEReporter([reports] { ++*reports; });
    for (int thread = 0; thread != 2; ++thread)
        std::thread([] {
            for (;;)
                SimulateCrash();
        }).detach();
    const auto enough = static_cast<int>(random() % 20);
    while (*reports < enough)
        SwitchToThread();
    Close();
}
