// The process-wide pool, queues and scheduler.
#pragma once

namespace kq::concurrency {

/// Makes them and puts them in their places: `threadPool`, `uiJobQueue`, `jobQueue` and the
/// scheduler. The calling thread becomes the UI thread. What is there when it throws is for
/// `ReleaseServices`.
void InstallServices();

/// Lets every job come to its end while this thread holds the queue and the pool, and empties their
/// places: a job that held the last reference on one of them would have to wait for itself. UI jobs
/// go on running meanwhile. On the UI thread.
void DrainServices();

/// Empties their places, the last made first. What they give up is destroyed here, or by the last
/// user.
void ReleaseServices();

} // namespace kq::concurrency
