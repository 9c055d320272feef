#include "search.h"

#include "examine.h"
#include "grouping.h"
#include "interruption.h"
#include "stage.h"

#include <algorithm>
#include <utility>

namespace find_duplicates {
namespace {

void LookForFiles(const std::wstring& folder, Progress& progress, Tree& tree) {
    progress.Begin(L"Looking for files");
    Walk(folder, tree, [&] {
        ThrowIfInterrupted();
        progress.Show(tree.files.size(), tree.bytes);
    });
}

void WaitFor(const Stage& stage, const Tally& tally, Progress& progress) {
    stage.Wait([&] {
        ThrowIfInterrupted();
        progress.Show(tally.files, tally.bytes);
    });
}

/// Reads the head of every file that has its size in common with another one. Returns those that
/// have to be read to the end.
std::vector<Candidate*> CompareHeads(Findings& findings, Progress& progress) {
    std::vector<Candidate*> files;
    std::uint64_t bytes = 0;
    for (Candidate& candidate : findings.candidates) {
        files.push_back(&candidate);
        bytes += std::min<std::uint64_t>(candidate.stamp.size, headLength);
    }
    progress.Begin(L"Comparing first bytes", files.size(), bytes);

    std::vector<Candidate*> undecided;
    const Stage stage(
        std::move(files),
        [&](Candidate& candidate, const OnRead& onRead) {
            ExamineHead(findings.tree.PathOf(candidate.file), candidate, onRead);
        },
        findings.heads,
        [&] {
            JoinNames(findings.candidates);
            undecided = FindUndecided(findings.candidates);
        });
    WaitFor(stage, findings.heads, progress);
    return undecided;
}

void CompareBodies(std::vector<Candidate*> files, Findings& findings, Progress& progress,
                   const kq::concurrency::Job& report) {
    std::uint64_t bytes = 0;
    for (const Candidate* file : files)
        bytes += file->stamp.size - headLength;
    progress.Begin(L"Comparing content", files.size(), bytes);

    const Stage stage(
        std::move(files),
        [&](Candidate& candidate, const OnRead& onRead) {
            ExamineRest(findings.tree.PathOf(candidate.file), candidate, onRead);
        },
        findings.bodies, report);
    WaitFor(stage, findings.bodies, progress);
}

std::size_t CountNotCompared(std::vector<Candidate>& candidates) {
    const auto listed =
        std::count_if(candidates.begin(), candidates.end(),
                      [](const Candidate& candidate) { return candidate.state == State::Listed; });
    return static_cast<std::size_t>(listed) + FindUndecided(candidates).size();
}

} // namespace

void Search(const std::wstring& folder, std::uint64_t minSize, Progress& progress,
            Findings& findings, const kq::concurrency::Job& report) {
    try {
        LookForFiles(folder, progress, findings.tree);
        findings.candidates = FindCandidates(findings.tree, minSize);
        CompareBodies(CompareHeads(findings, progress), findings, progress, report);
    } catch (const Interruption&) {
        // The stages have ended on the way here: no job is left that could add anything.
        findings.interrupted = true;
        JoinNames(findings.candidates);
        findings.notCompared = CountNotCompared(findings.candidates);
        report();
    }
}

} // namespace find_duplicates
