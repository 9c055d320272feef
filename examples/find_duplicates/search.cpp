#include "search.h"

#include "effort.h"
#include "examine.h"
#include "figures.h"
#include "group_feed.h"
#include "stage.h"
#include "step.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace find_duplicates {
namespace {

using kq::progress::IProgress;
using kq::progress::IProgressRoot;

// What each part is of the whole, as a rule: it is not known before.
constexpr double shareOfScan = 0.02;
constexpr double shareOfHashing = 0.96;
constexpr double shareOfReport = 0.02;

constexpr const wchar_t* titleOfHeads = L"Comparing first bytes";
constexpr const wchar_t* titleOfBodies = L"Comparing content";

void LookForFiles(const std::wstring& folder, Work& work, Tree& tree) {
    const auto scan = work.Root().CreateChild(shareOfScan, L"Looking for files");
    const auto unknownExtent = scan->Indeterminate();
    Walk(folder, tree, [&] {
        work.Pass();
        work.Root().SetNote1(FormatCount(tree.files.size(), L"file") + L", " +
                             FormatSize(tree.bytes));
    });
}

std::uint64_t BytesOfHead(const Candidate& candidate) {
    return std::min<std::uint64_t>(candidate.stamp.size, headLength);
}
std::uint64_t BytesOfBody(const Candidate& candidate) {
    return candidate.stamp.size - BytesOfHead(candidate);
}

void WaitFor(const Stage& stage, Work& work, Step& step, const Tally& tally) {
    stage.Wait([&] {
        work.Pass();
        step.Report(tally);
    });
}

/// What of the hashing is done with the heads, when no head rules out a body: then nothing is done
/// sooner than it was said to be.
double ShareOfHeads(const std::vector<Candidate>& candidates) {
    double heads = 0;
    double bodies = 0;
    for (const Candidate& candidate : candidates) {
        heads += Effort(1, BytesOfHead(candidate));
        const std::uint64_t bytes = BytesOfBody(candidate);
        bodies += Effort(bytes > 0 ? 1 : 0, bytes);
    }
    return heads > 0 ? heads / (heads + bodies) : 0;
}

/// Reads the head of every file that has its size in common with another one. Returns those that
/// have to be read to the end.
std::vector<Candidate*> CompareHeads(Findings& findings, Work& work, IProgressRoot& hashing,
                                     GroupFeed& feed) {
    std::vector<Candidate*> files;
    std::uint64_t bytes = 0;
    for (Candidate& candidate : findings.candidates) {
        files.push_back(&candidate);
        bytes += BytesOfHead(candidate);
    }
    Step step(work, titleOfHeads, files.size(), bytes);
    work.Root().Attach(hashing, shareOfHashing); // its name is the text already
    const auto part = hashing.CreateChild(ShareOfHeads(findings.candidates), titleOfHeads);
    feed.ExpectHeads();

    std::vector<Candidate*> undecided;
    const Stage stage(
        std::move(files),
        [&](Candidate& candidate, const OnRead& onRead) {
            ExamineHead(findings.tree.PathOf(candidate.file), candidate, onRead);
            feed.OnExamined(candidate);
        },
        BytesOfHead, work, *part, findings.heads,
        [&] {
            JoinNames(findings.candidates);
            undecided = FindUndecided(findings.candidates);
        });
    WaitFor(stage, work, step, findings.heads);
    return undecided;
}

void CompareBodies(std::vector<Candidate*> files, Findings& findings, Work& work,
                   IProgressRoot& hashing, GroupFeed& feed,
                   const kq::concurrency::Job& afterwards) {
    std::uint64_t bytes = 0;
    for (const Candidate* file : files)
        bytes += BytesOfBody(*file);
    Step step(work, titleOfBodies, files.size(), bytes);
    const auto part = hashing.CreateChild(hashing.GetRemaining(), titleOfBodies);
    feed.ExpectBodies(files);

    const Stage stage(
        std::move(files),
        [&](Candidate& candidate, const OnRead& onRead) {
            ExamineRest(findings.tree.PathOf(candidate.file), candidate, onRead);
            feed.OnExamined(candidate);
        },
        BytesOfBody, work, *part, findings.bodies, afterwards);
    WaitFor(stage, work, step, findings.bodies);
}

/// Hashing could be the whole of another program's work: it has a root of its own.
void Compare(Findings& findings, Work& work, const OnGroups& onGroups,
             const kq::concurrency::Job& afterwards) {
    GroupFeed feed(findings.tree, findings.candidates, onGroups);
    const auto hashing =
        kq::progress::Create(titleOfHeads, true, false, progressGranularity, 0, {});
    CompareBodies(CompareHeads(findings, work, *hashing, feed), findings, work, *hashing, feed,
                  afterwards);
}

std::size_t CountNotCompared(std::vector<Candidate>& candidates) {
    const auto listed =
        std::count_if(candidates.begin(), candidates.end(),
                      [](const Candidate& candidate) { return candidate.state == State::Listed; });
    return static_cast<std::size_t>(listed) + FindUndecided(candidates).size();
}

} // namespace

void Search(const std::wstring& folder, std::uint64_t minSize, Work& work, Findings& findings,
            const kq::concurrency::Job& report, const OnGroups& onGroups) {
    try {
        LookForFiles(folder, work, findings.tree);
        findings.candidates = FindCandidates(findings.tree, minSize);
        // Takes too little time for a text of its own. Complete when its job has run and is gone.
        std::shared_ptr<IProgress> reporting = work.Root().CreateChild(shareOfReport, L"");
        Compare(findings, work, onGroups, [&report, part = std::move(reporting)] { report(); });
    } catch (const Cancelled&) {
        // The stages have ended on the way here: no job is left that could add anything.
        findings.interrupted = true;
        JoinNames(findings.candidates);
        findings.notCompared = CountNotCompared(findings.candidates);
        report();
    }
    work.Root().Finish();
}

} // namespace find_duplicates
