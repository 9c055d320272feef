// Exceptions that nobody could handle, as texts for the user.
#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace duplicate_finder {

/// While it lives, collects what is reported to the library's `errorReporter`, on whatever thread.
class UnexpectedErrors {
public:
    /// `onNews` is called on the thread that reports.
    explicit UnexpectedErrors(std::function<void()> onNews);

    /// The texts since the last call.
    std::vector<std::wstring> Take();

private:
    /// What the reporter refers to: it may be in a call on another thread when the connection goes.
    struct Texts {
        std::mutex mutex;
        std::vector<std::wstring> texts;
    };

    const std::shared_ptr<Texts> texts_;
    const boost::shared_ptr<boost::signals2::scoped_connection> connection_;
};

} // namespace duplicate_finder
