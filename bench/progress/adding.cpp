#include "progress/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <kq/progress/progress.h>
#include <kq/progress/progress_signaler.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace bench {

namespace {

constexpr std::size_t addsPerRound = 1'000'000;

std::unique_ptr<kq::progress::IProgressRoot> MakeRoot(double granularity) {
    return kq::progress::Create(L"bench", true, true, granularity, 0, {});
}

/// Drives one root from 0 to 1 through `addTo`, and requires so many publications.
template <class AddTo>
double Drive(double granularity, std::size_t atLeast, std::size_t atMost, AddTo addTo) {
    const auto root = MakeRoot(granularity);
    const auto signaler = kq::progress::CreateSignaler(*root);
    std::size_t publications = 0;
    const auto connection =
        signaler->Connect([&](kq::progress::ProgressState const&) { ++publications; });
    publications = 0;
    const Stopwatch watch;
    addTo(*root);
    const double cost = watch.NanosecondsPer(addsPerRound);
    Require(publications >= atLeast && publications <= atMost, "publications");
    return cost;
}

void AddAll(kq::progress::IProgress& progress) {
    for (std::size_t i = 0; i != addsPerRound; ++i)
        progress.Add(1.0 / addsPerRound);
}

} // namespace

void Adding() {
    Row row("Progress Add, one observer, granularity 0.01", "ns/Add");
    row.Enter("kq root", [] { return Drive(0.01, 99, 100, AddAll); });
    row.Enter("kq, through three shares", [] {
        return Drive(0.01, 99, 100, [](kq::progress::IProgress& root) {
            const auto outer = root.CreateChild(1.0, L"");
            const auto middle = outer->CreateChild(1.0, L"");
            AddAll(*middle->CreateChild(1.0, L""));
        });
    });
    row.Enter("kq, through two attached roots", [] {
        return Drive(0.01, 99, 102, [](kq::progress::IProgress& root) {
            const auto child = MakeRoot(0.01);
            const auto grandchild = MakeRoot(0.01);
            root.Attach(*child, 1.0);
            child->Attach(*grandchild, 1.0);
            AddAll(*grandchild);
        });
    });
    row.AimAtMost(20);
    Row published("Progress Add that is published to one observer", "ns/Add");
    published.Enter("kq root", [] { return Drive(0.0, addsPerRound, addsPerRound, AddAll); });
    published.AimAtMost(250);
    Measure({&row, &published}, 9);
    row.Report();
    published.Report();
}

} // namespace bench
