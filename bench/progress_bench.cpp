// What telling observers costs: the signalers beside boost::signals2, and progress.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "progress/rows.h"
#include "sections.h"

namespace {

constexpr bench::Section sections[] = {
    {"emission", bench::Emissions},
    {"connection", bench::Connections},
    {"add", bench::Adding},
};

} // namespace

/// progress_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    return bench::RunSections("progress_bench", "kq signalers and progress", sections,
                              {argv + 1, argv + argc});
}
