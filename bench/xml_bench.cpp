// What this library's documents cost on top of the platform's XML DOM: the same work through the
// library and through the raw COM interfaces, in turns.
//
// Times are for reading, not for passing or failing: the program fails only when a result is wrong.
#include <kq/com/com_usage.h>

#include "xml/rows.h"

#include <cstdio>
#include <exception>

int main() {
    try {
        const kq::com::ComUsage com;
        std::printf("kq XML documents: medians and quartiles of interleaved rounds\n");
        bench::Documents("1 MB", 1'000'000);
        bench::Documents("10 MB", 10'000'000);
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "xml_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
