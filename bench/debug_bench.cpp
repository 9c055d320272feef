// What call stacks cost: beside a plain loop over the platform's functions with the same look-ups.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "debug/rows.h"
#include "sections.h"

/// debug_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    return bench::RunSections("debug_bench", "kq call stacks",
                              {{"stack", bench::FreshStacks},
                               {"modules", bench::StacksAmongManyModules},
                               {"deep", bench::DeepStacks},
                               {"load", bench::StacksAfterALoad},
                               {"references", bench::References}},
                              argc, argv);
}
