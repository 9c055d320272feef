#include "figures.h"

#include <cmath>

namespace find_duplicates {

std::wstring FormatCount(std::uint64_t count) {
    std::wstring text = std::to_wstring(count);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, 1, L',');
    return text;
}

std::wstring FormatCount(std::uint64_t count, const wchar_t* noun) {
    return FormatCount(count) + L' ' + noun + (count == 1 ? L"" : L"s");
}

std::wstring FormatSize(std::uint64_t bytes) {
    if (bytes < 1024)
        return std::to_wstring(bytes) + L" B";
    static constexpr const wchar_t* units[] = {L" KiB", L" MiB", L" GiB",
                                               L" TiB", L" PiB", L" EiB"};
    auto amount = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    // 1023.95 would be shown as 1024.0.
    for (; amount >= 1023.95 && unit + 1 < std::size(units); ++unit)
        amount /= 1024;
    return FormatTenths(amount) + units[unit];
}

std::wstring FormatDuration(std::uint64_t seconds) {
    const auto twoDigits = [](std::uint64_t number) {
        return (number < 10 ? L"0" : L"") + std::to_wstring(number);
    };
    const std::uint64_t minutes = seconds / 60;
    if (minutes < 60)
        return std::to_wstring(minutes) + L':' + twoDigits(seconds % 60);
    return std::to_wstring(minutes / 60) + L':' + twoDigits(minutes % 60) + L':' +
           twoDigits(seconds % 60);
}

std::wstring FormatTenths(double number) {
    const auto tenths = static_cast<std::uint64_t>(std::llround(number * 10));
    return std::to_wstring(tenths / 10) + L'.' + std::to_wstring(tenths % 10);
}

} // namespace find_duplicates
