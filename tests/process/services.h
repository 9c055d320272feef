// Whether the process-wide services are there.
#pragma once

#include <kq/kq.h>

#include <windows.h>

#include <stdexcept>
#include <string>
#include <typeinfo>

/// Whether reaching `service` fails with the error that names its type, and `GetShared` is empty.
template <class T, template <class> class Ptr>
bool IsMissing(const kq::Singleton<T, Ptr>& service) {
    if (service.GetShared() != nullptr)
        return false;
    try {
        service.Get();
    } catch (const std::runtime_error& error) {
        return typeid(error) == typeid(std::runtime_error) &&
               error.what() ==
                   std::string("Singleton instance of ") + typeid(T).name() + " does not exists!";
    }
    return false;
}

inline bool ServicesAreThere() {
    return kq::concurrency::jobQueue.GetShared() != nullptr &&
           kq::concurrency::threadPool.GetShared() != nullptr &&
           kq::thread::threadNameManager.GetShared() != nullptr &&
           kq::error::errorReporter.GetShared() != nullptr &&
           kq::error::exceptionNormalizer.GetShared() != nullptr;
}

inline bool ServicesAreMissing() {
    return IsMissing(kq::concurrency::jobQueue) && IsMissing(kq::concurrency::threadPool) &&
           IsMissing(kq::thread::threadNameManager) && IsMissing(kq::error::errorReporter) &&
           IsMissing(kq::error::exceptionNormalizer);
}

/// For a job: returns once `Shutdown()` has begun to wait for it.
inline void AwaitShutdown() {
    while (kq::concurrency::jobQueue.GetShared() != nullptr)
        SwitchToThread();
}
