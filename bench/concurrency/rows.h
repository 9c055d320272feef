// The rows of the job system's table. Each function measures and prints its own.
#pragma once

namespace bench {

/// The memory that pending jobs take. To be called first, while the process has no memory left over
/// that could be used again.
void PendingJobMemory();

/// A hundred thousand empty jobs.
void EmptyJobs();

/// How the cost of an empty job grows from a thousand of them to a million.
void Growth();

/// Several threads that submit at once.
void ManySubmitters();

/// A job that queues the next one.
void Relays();

/// From queuing to done, while every thread of the pool sleeps.
void WakeUps();

/// Chains of `after`, and a `dependsOn` of many.
void Dependencies();

/// What jobs that wait on an unfinished ticket cost others, and the processor.
void IdleWaiters();

/// Withdrawing pending jobs.
void Removal();

/// Jobs for the UI thread, from several threads.
void UIJobs();

/// Registering and unregistering timed jobs.
void TimedJobs();

} // namespace bench
