// The sections of a benchmark program, of which the user may choose some.
#pragma once

#include <kq/library.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <string_view>
#include <thread>
#include <vector>

namespace bench {

struct Section {
    const char* name;
    void (*run)();
};

/// Runs the sections that are `wanted`, or all of them; returns the exit code of `program`.
template <std::size_t count>
int RunSections(const char* program, const char* title, const Section (&sections)[count],
                const std::vector<std::string_view>& wanted) {
    try {
        const kq::Session session;
        std::printf("%s, %u processors: medians and quartiles of interleaved rounds\n", title,
                    std::thread::hardware_concurrency());
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
