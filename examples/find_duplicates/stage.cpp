#include "stage.h"

#include "effort.h"

#include <memory>
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

Stage::Stage(std::vector<Candidate*> files, Examine examine, const BytesOf& bytesOf, Work& work,
             kq::progress::IProgress& progress, Tally& tally, const Job& afterwards)
    : files_(std::move(files)), examine_(std::move(examine)), work_(work), tally_(tally) {
    std::vector<Batch> batches;
    double effort = 0;
    for (std::size_t begin = 0; begin < files_.size();) {
        Batch batch{begin, EndOfBatch(files_, begin), 0};
        for (std::size_t file = begin; file < batch.end; ++file)
            batch.effort += Effort(1, bytesOf(*files_[file]));
        effort += batch.effort;
        begin = batch.end;
        batches.push_back(batch);
    }
    for (const Batch& batch : batches) {
        // Shares may be used on different threads at once. This one ends with its job, and is
        // complete then, whatever the job could do.
        const std::shared_ptr<kq::progress::IProgress> part =
            progress.CreateChild(batch.effort / effort, L"");
        // Reading waits for the disk more than it computes, so more of these jobs may run at once.
        jobs_.Queue([this, batch, part] { ExamineBatch(batch, *part); }, isBlocking);
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

void Stage::ExamineBatch(const Batch& batch, kq::progress::IProgress& part) const {
    const auto goOn = [this] {
        jobs_.ThrowIfStopped();
        work_.Pass();
    };
    for (std::size_t file = batch.begin; file < batch.end; ++file) {
        goOn();
        examine_(*files_[file], [&](std::size_t length) {
            tally_.bytes += length;
            part.Add(Effort(0, length) / batch.effort);
            goOn();
        });
        ++tally_.files;
        part.Add(Effort(1, 0) / batch.effort);
    }
}

} // namespace find_duplicates
