#include <kq/converter/utf8.h>

#include "converter/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

namespace {

int Utf8Of(const std::wstring& text, char* out, int size) {
    return WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out, size,
                               nullptr, nullptr);
}
int Utf16Of(const std::string& text, wchar_t* out, int size) {
    return MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out, size);
}

/// The bare calls, as the platform wants them made: ask for the length, make a string of it,
/// convert.
template <class Result, class Text, class Call>
Result AskAndConvert(const Text& text, Call call) {
    Result result(static_cast<std::size_t>(call(text, nullptr, 0)), 0);
    call(text, result.data(), static_cast<int>(result.size()));
    return result;
}

template <class Work>
double Microseconds(Work work) {
    constexpr double nanosecondsPerMicrosecond = 1000;
    const Stopwatch watch;
    Require(work() > 0, "a converted text");
    return watch.Nanoseconds() / nanosecondsPerMicrosecond;
}

/// A text of 1 MiB in UTF-8, made of repetitions of `part`.
std::string Text(const std::string& part) {
    constexpr std::size_t size = std::size_t{1} << 20;
    std::string text;
    while (text.size() + part.size() <= size)
        text += part;
    return text;
}

} // namespace

void Utf() {
    const struct {
        const char* name;
        std::string narrow;
    } texts[] = {{"1 MiB of English", Text("Something has happened again. ")},
                 {"1 MiB of mixed scripts", Text("\xc3\x84\xc3\xb6 \xe4\xb8\xad\xe6\x96\x87 abc "
                                                 "\xd0\xb6\xd0\xb7\xd0\xb8 \xf0\x9f\x98\x80.")}};
    for (const auto& text : texts) {
        const std::string& narrow = text.narrow;
        const std::wstring wide = kq::converter::ConvertUtf8ToUcs2(narrow);
        Require(kq::converter::ConvertUcs2ToUtf8(wide) == narrow, "there and back");
        std::vector<char> narrowRoom(3 * wide.size());
        std::vector<wchar_t> wideRoom(narrow.size());
        constexpr const char* askName = "the bare calls: length, string, text";
        constexpr const char* singleName = "one bare call, room ready";

        Row toUtf8(std::string("ConvertUcs2ToUtf8 of ") + text.name, "µs");
        toUtf8.Enter("kq ConvertUcs2ToUtf8", [&] {
            return Microseconds([&] { return kq::converter::ConvertUcs2ToUtf8(wide).size(); });
        });
        toUtf8.EnterPeer(askName, [&] {
            return Microseconds([&] { return AskAndConvert<std::string>(wide, Utf8Of).size(); });
        });
        toUtf8.EnterLimit(singleName, [&] {
            return Microseconds([&] {
                return Utf8Of(wide, narrowRoom.data(), static_cast<int>(narrowRoom.size()));
            });
        });
        Row toUtf16(std::string("ConvertUtf8ToUcs2 of ") + text.name, "µs");
        toUtf16.Enter("kq ConvertUtf8ToUcs2", [&] {
            return Microseconds([&] { return kq::converter::ConvertUtf8ToUcs2(narrow).size(); });
        });
        toUtf16.EnterPeer(askName, [&] {
            return Microseconds(
                [&] { return AskAndConvert<std::wstring>(narrow, Utf16Of).size(); });
        });
        toUtf16.EnterLimit(singleName, [&] {
            return Microseconds([&] {
                return Utf16Of(narrow, wideRoom.data(), static_cast<int>(wideRoom.size()));
            });
        });
        for (Row* const row : {&toUtf8, &toUtf16})
            row->AimAtMostTimes(1.05);
        Measure({&toUtf8, &toUtf16}, 101);
        toUtf8.Report();
        toUtf16.Report();
    }
}

} // namespace bench
