// What finding a value costs: beside std::unordered_map under a lock.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "lookup/rows.h"
#include "sections.h"

/// lookup_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    return bench::RunSections("lookup_bench", "kq look-ups",
                              {{"type", bench::TypeKeyed}, {"key", bench::Named}}, argc, argv);
}
