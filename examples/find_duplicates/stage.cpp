#include "stage.h"

#include <utility>

namespace find_duplicates {
namespace {

using namespace kq::concurrency;

/// A job takes so many files at a time: enough that hundreds of thousands of small files do not
/// need as many jobs, and few enough that the work spreads over the threads...
constexpr std::size_t filesPerJob = 32;
/// ... but no further file once it has so many bytes to read.
constexpr std::uint64_t bytesPerJob = std::uint64_t{4} * 1024 * 1024;

std::size_t EndOfBatch(const std::vector<Candidate*>& files, std::size_t begin) {
    std::uint64_t bytes = 0;
    std::size_t end = begin;
    while (end < files.size() && end - begin < filesPerJob && bytes < bytesPerJob)
        bytes += files[end++]->stamp.size;
    return end;
}

} // namespace

Stage::Stage(std::vector<Candidate*> files, Examine examine, Tally& tally, const Job& afterwards)
    : files_(std::move(files)), examine_(std::move(examine)), tally_(tally) {
    for (std::size_t begin = 0; begin < files_.size();) {
        const std::size_t end = EndOfBatch(files_, begin);
        // Reading waits for the disk more than it computes, so more of these jobs may run at once.
        jobs_.Queue([this, begin, end] { ExamineBatch(begin, end); }, isBlocking);
        begin = end;
    }
    jobs_.Queue(afterwards, dependsOn(jobs_.Tickets()));
}

void Stage::Wait(const std::function<void()>& meanwhile) const {
    constexpr unsigned long milliseconds = 100;
    const CJobTicket& last = jobs_.Tickets().back();
    while (!last.Wait(milliseconds))
        meanwhile();
    // When a job has failed, the last one was dropped, which is no failure: ask them all.
    for (const CJobTicket& job : jobs_.Tickets())
        job.Wait();
}

void Stage::ExamineBatch(std::size_t begin, std::size_t end) const {
    for (std::size_t file = begin; file < end; ++file) {
        jobs_.ThrowIfStopped();
        examine_(*files_[file], [this](std::size_t length) {
            tally_.bytes += length;
            jobs_.ThrowIfStopped();
        });
        ++tally_.files;
    }
}

} // namespace find_duplicates
