// The main program of a benchmark.
#pragma once

#include "table.h"

#include <kq/library.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <stdexcept>
#include <string>
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
///
///     program [--results FOLDER] [--list] [section...]
///
/// With `--results` the rows of each section are also written to the file FOLDER/section.tsv, see
/// `WriteResultsTo`; with `--list` the names of the sections are printed and nothing is run.
inline int RunSections(const char* program, const char* subject,
                       std::initializer_list<Section> sections, int argc, char** argv) {
    try {
        std::vector<std::string_view> wanted(argv + 1, argv + argc);
        std::string folder;
        if (wanted.size() >= 2 && wanted.front() == "--results") {
            folder = wanted[1];
            wanted.erase(wanted.begin(), wanted.begin() + 2);
        }
        if (!wanted.empty() && wanted.front() == "--list") {
            for (const Section& section : sections)
                std::printf("%s\n", section.name);
            return 0;
        }
        const kq::Session session;
        std::printf("%s, %u processors: medians and quartiles of interleaved rounds\n", subject,
                    std::thread::hardware_concurrency());
        for (const Section& section : sections) {
            if (!wanted.empty() &&
                std::find(wanted.begin(), wanted.end(), section.name) == wanted.end())
                continue;
            // Takes its name when it is whole: what is there can be relied on.
            const std::string file = folder + '/' + section.name + ".tsv";
            if (!folder.empty())
                WriteResultsTo(file + ".part");
            section.run();
            WriteResultsTo({});
            if (!folder.empty()) {
                std::remove(file.c_str());
                if (std::rename((file + ".part").c_str(), file.c_str()) != 0)
                    throw std::runtime_error("cannot write " + file);
            }
        }
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 1;
    }
    return 0;
}

} // namespace bench
