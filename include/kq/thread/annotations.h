// What a lock guards, written so that clang checks it (`-Wthread-safety`).
#pragma once

/// Says which lock guards what, who takes it and who needs it. Nothing to compilers that do not
/// know these attributes. The library is compiled with the check on; a host may use them for its
/// own classes.
#if defined(__clang__)
#define KQ_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define KQ_THREAD_ATTRIBUTE(attribute)
#endif

/// A class whose objects are locks.
#define KQ_CAPABILITY KQ_THREAD_ATTRIBUTE(capability("mutex"))
/// A class whose objects hold a lock, or have released it, as long as they live.
#define KQ_SCOPED_CAPABILITY KQ_THREAD_ATTRIBUTE(scoped_lockable)
/// A variable that is used only by who holds the lock.
#define KQ_GUARDED_BY(lock) KQ_THREAD_ATTRIBUTE(guarded_by(lock))
/// A function that is called only by who holds the lock, and leaves it held.
#define KQ_REQUIRES(...) KQ_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// A function that is called only by who does not hold the lock.
#define KQ_EXCLUDES(...) KQ_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// A function that takes the lock; without an argument, that of its own object.
#define KQ_ACQUIRE(...) KQ_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// A function that releases the lock.
#define KQ_RELEASE(...) KQ_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// A function that has taken the lock when it returns the first argument.
#define KQ_TRY_ACQUIRE(...) KQ_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
/// A function whose body is beyond what can be checked. Each one says why.
#define KQ_UNCHECKED_LOCKING KQ_THREAD_ATTRIBUTE(no_thread_safety_analysis)
