// What the program makes of reports: it prints them.
#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <stdexcept>
#include <vector>

namespace crash_lab {

/// The exception that foreign ones are turned into.
class Problem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reporters and a normalizer, connected until the result is released.
std::vector<boost::shared_ptr<boost::signals2::scoped_connection>> ConnectReporters();

} // namespace crash_lab
