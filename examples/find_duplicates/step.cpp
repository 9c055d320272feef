#include "step.h"

#include "effort.h"
#include "figures.h"

#include <algorithm>

namespace find_duplicates {

Step::Step(Work& work, const wchar_t* title, std::uint64_t files, std::uint64_t bytes)
    : work_(work), effort_(Effort(files, bytes)) {
    kq::progress::IProgressRoot& root = work_.Root();
    root.SetMeasure({});
    root.SetNote1({});
    root.SetNote2(FormatCount(files, L"file") + L", " + FormatSize(bytes));
    root.SetText(title);
    begin_ = Elapsed();
}

void Step::Report(const Tally& done) {
    const std::uint64_t files = done.files;
    const std::uint64_t bytes = done.bytes;
    std::wstring text = FormatCount(files, L"file") + L", " + FormatSize(bytes);
    const double seconds = Elapsed() - begin_;
    if (seconds > 0) {
        const auto rate = static_cast<std::uint64_t>(static_cast<double>(bytes) / seconds);
        text += L", " + FormatSize(rate) + L"/s";
    }
    const double share = effort_ > 0 ? std::min(Effort(files, bytes) / effort_, 1.0) : 1.0;
    if (share > 0)
        work_.Root().SetMeasure(seconds * (1 - share) / share);
    work_.Root().SetNote1(text);
}

} // namespace find_duplicates
