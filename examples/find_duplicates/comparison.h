// What has changed since an earlier search.
#pragma once

#include "saved_report.h"

#include <string>

namespace find_duplicates {

/// The groups that are new, gone, or have other files than before, with those files, and a line
/// that sums them up. Groups are the same when their content is. The order depends on nothing but
/// the reports.
std::wstring DescribeChanges(const SavedReport& before, const SavedReport& now);

} // namespace find_duplicates
