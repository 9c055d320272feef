// The main program of a benchmark.
#pragma once

#include <kq/library.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <string_view>
#include <thread>
#include <vector>

namespace bench {

/// A part of a benchmark that can be run alone.
struct Section {
    const char* name;
    void (*run)();
};

/// Runs the sections that the program's arguments name, or all of them, in the order given, and
/// returns the exit code. `program` is the name of the executable, `subject` what it measures.
inline int RunSections(const char* program, const char* subject,
                       std::initializer_list<Section> sections, int argc, char** argv) {
    try {
        const kq::Session session;
        std::printf("%s, %u processors: medians and quartiles of interleaved rounds\n", subject,
                    std::thread::hardware_concurrency());
        const std::vector<std::string_view> wanted(argv + 1, argv + argc);
        for (const Section& section : sections)
            if (wanted.empty() ||
                std::find(wanted.begin(), wanted.end(), section.name) != wanted.end())
                section.run();
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 1;
    }
    return 0;
}

} // namespace bench
