// What this library's documents cost on top of the platform's XML DOM: the same work through the
// library and through the raw COM interfaces, in turns.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "sections.h"
#include "xml/rows.h"

/// xml_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    return bench::RunSections("xml_bench", "kq XML documents",
                              {{"1MB", [] { bench::Documents("1 MB", 1'000'000); }},
                               {"10MB", [] { bench::Documents("10 MB", 10'000'000); }}},
                              argc, argv);
}
