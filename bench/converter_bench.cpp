// What conversions cost: beside plain loops and the platform's own functions.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include "converter/rows.h"
#include "sections.h"

/// converter_bench [section...]: measures the named sections, or all of them.
int main(int argc, char** argv) {
    return bench::RunSections("converter_bench", "kq conversions",
                              {{"hex", bench::Hex}, {"md5", bench::Md5}, {"utf", bench::Utf}}, argc,
                              argv);
}
