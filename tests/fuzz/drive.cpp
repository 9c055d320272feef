// Runs a fuzz target where there is no coverage to guide it:
//
//     <program> [-runs=N] [-max_total_time=SECONDS] [-seed=N] [-max_len=N] [folder or file...]
//
// runs every input of the folders, and then changed ones for so many runs or seconds. Prints the
// seed. An input for which the target throws, or the program crashes, is saved as `failed-input` in
// the current folder, and can be given as a file.
#include <windows.h>

#include "fuzz/mutator.h"
#include "fuzz/require.h"

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <iterator>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = boost::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned long notGiven = std::numeric_limits<unsigned long>::max();
constexpr UINT exitCodeOfFailure = 97;

struct Settings {
    unsigned long runs = notGiven;
    unsigned long seconds = notGiven;
    unsigned long seed = std::random_device()();
    unsigned long longest = 4096;
    std::vector<fs::path> inputs;
};

Settings Read(int argc, char** argv) {
    Settings settings;
    const auto number = [](const std::string& argument, const std::string& name,
                           unsigned long& value) {
        if (argument.rfind(name, 0) != 0)
            return false;
        value = std::stoul(argument.substr(name.size()));
        return true;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (!number(argument, "-runs=", settings.runs) &&
            !number(argument, "-max_total_time=", settings.seconds) &&
            !number(argument, "-seed=", settings.seed) &&
            !number(argument, "-max_len=", settings.longest))
            settings.inputs.emplace_back(argument);
    }
    if (settings.seconds == notGiven && settings.runs == notGiven)
        settings.runs = 0;
    return settings;
}

std::string ContentOf(const fs::path& file) {
    fs::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> ContentsOf(const std::vector<fs::path>& paths) {
    std::vector<fs::path> files;
    for (const fs::path& path : paths) {
        if (!fs::exists(path))
            throw std::runtime_error("no such input: " + path.string());
        if (fs::is_directory(path))
            std::copy(fs::directory_iterator(path), fs::directory_iterator(),
                      std::back_inserter(files));
        else
            files.push_back(path);
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> contents;
    std::transform(files.begin(), files.end(), std::back_inserter(contents), ContentOf);
    return contents;
}

// The input that runs, for whoever has to say which it was; null between two.
const std::string* running = nullptr;

void SaveRunning() {
    if (running == nullptr)
        return;
    fs::ofstream("failed-input", std::ios::binary) << *running;
    std::printf("kq fuzz: the input is in failed-input (%zu bytes)\n", running->size());
    std::fflush(stdout);
}

LONG WINAPI EndOnCrash(EXCEPTION_POINTERS* fault) {
    std::printf("kq fuzz: crashed with code 0x%08lx\n", fault->ExceptionRecord->ExceptionCode);
    SaveRunning();
    TerminateProcess(GetCurrentProcess(), exitCodeOfFailure);
    return EXCEPTION_EXECUTE_HANDLER;
}

void RunOne(const std::string& input) {
    running = &input;
    // In memory of its own, without the room that a string leaves.
    const std::vector<std::uint8_t> bytes(input.begin(), input.end());
    try {
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    } catch (...) {
        SaveRunning();
        throw;
    }
    running = nullptr;
}

/// Returns how many inputs have run.
unsigned long RunAll(const Settings& settings) {
    const std::vector<std::string> corpus = ContentsOf(settings.inputs);
    std::for_each(corpus.begin(), corpus.end(), RunOne);
    unsigned long runs = corpus.size() & notGiven;
    kq_fuzz::Mutator mutator(corpus, settings.longest, static_cast<std::uint32_t>(settings.seed));
    const auto begin = Clock::now();
    const auto isOver = [&] {
        return runs >= settings.runs ||
               (settings.seconds != notGiven &&
                Clock::now() - begin >= std::chrono::seconds(settings.seconds));
    };
    for (; !isOver(); ++runs)
        RunOne(mutator.Next());
    return runs;
}

} // namespace

int main(int argc, char** argv) {
    SetUnhandledExceptionFilter(EndOnCrash);
    try {
        const Settings settings = Read(argc, argv);
        std::printf("seed %lu (repeat with -seed=%lu)\n", settings.seed, settings.seed);
        std::fflush(stdout);
        const unsigned long runs = RunAll(settings);
        std::printf("stat::number_of_executed_units: %lu\nkq fuzz: done\n", runs);
        return 0;
    } catch (const std::exception& error) {
        std::printf("kq fuzz: failed: %s\n", error.what());
    } catch (...) {
        std::printf("kq fuzz: failed with an exception of another kind\n");
    }
    return exitCodeOfFailure;
}
