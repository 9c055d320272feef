// What the library costs a process that loads it and does nothing with it.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "process/rows.h"
#include "sections.h"

/// process_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    return bench::RunSections("process_bench", "kq in a process", {{"life", bench::Life}}, argc,
                              argv);
}
