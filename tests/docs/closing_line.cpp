// Linked into every program of the documentation: a line that says that `main` has returned, which
// tells an orderly end from a crash that ends with code 0, as can happen under Wine.
#include <cstdio>
#include <cstdlib>

namespace {

const struct ClosingLine {
    ClosingLine() {
        std::atexit([] {
            std::puts("@@ end");
            std::fflush(stdout);
        });
    }
} closingLine;

} // namespace
