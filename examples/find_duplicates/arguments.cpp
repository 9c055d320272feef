#include "arguments.h"

#include "exit_code.h"

#include <limits>

namespace find_duplicates {
namespace {

/// "4096", "64K", "10M", "2G": a number of bytes.
std::uint64_t ParseSize(const std::wstring& text) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    const auto refuse = [&] { return BadArgument(L"not a size: '" + text + L"'"); };

    std::uint64_t size = 0;
    std::size_t at = 0;
    for (; at < text.size() && text[at] >= L'0' && text[at] <= L'9'; ++at) {
        const auto digit = static_cast<std::uint64_t>(text[at] - L'0');
        if (size > (largest - digit) / 10)
            throw refuse();
        size = size * 10 + digit;
    }
    if (at == 0)
        throw refuse();
    if (at == text.size())
        return size;

    static constexpr wchar_t units[] = L"KMG";
    const std::wstring unit = text.substr(at);
    for (unsigned power = 1; power <= 3; ++power) {
        if (unit.size() != 1 || (unit[0] & ~0x20) != units[power - 1])
            continue;
        if (size > largest >> (10 * power))
            throw refuse();
        return size << (10 * power);
    }
    throw refuse();
}

using Iterator = std::vector<std::wstring>::const_iterator;

/// Goes on from the option at `at` to its value. `need` says what it is.
const std::wstring& ValueOf(Iterator& at, Iterator end, const wchar_t* need) {
    const std::wstring& option = *at;
    if (++at == end)
        throw BadArgument(option + L" needs " + need);
    return *at;
}

const std::wstring& FileOf(Iterator& at, Iterator end) {
    const std::wstring& option = *at;
    constexpr const wchar_t* need = L"the name of a file";
    const std::wstring& file = ValueOf(at, end, need);
    if (file.empty())
        throw BadArgument(option + L" needs " + need);
    return file;
}

/// Reads the option at `at`, and leaves `at` at the last argument that belongs to it.
void ParseOption(Iterator& at, Iterator end, Arguments& result) {
    const std::wstring& option = *at;
    if (option == L"--help")
        result.help = true;
    else if (option == L"--tsv")
        result.tabbed = true;
    else if (option == L"--quiet")
        result.quiet = true;
    else if (option == L"--pause")
        result.pause = true;
    else if (option == L"--report")
        result.report = FileOf(at, end);
    else if (option == L"--compare")
        result.compare = FileOf(at, end);
    else if (option == L"--min-size")
        result.minSize = ParseSize(ValueOf(at, end, L"a number of bytes"));
    else
        throw BadArgument(L"unknown option '" + option + L"'");
}

} // namespace

Arguments ParseArguments(const std::vector<std::wstring>& arguments) {
    Arguments result;
    bool haveFolder = false;
    bool onlyFolders = false; // after "--"
    for (auto at = arguments.begin(); at != arguments.end() && !result.help; ++at) {
        const std::wstring& argument = *at;
        if (onlyFolders || argument.empty() || argument[0] != L'-') {
            if (haveFolder)
                throw BadArgument(L"more than one folder: '" + argument + L"'");
            if (argument.empty())
                throw BadArgument(L"the folder's name is empty");
            haveFolder = true;
            result.folder = argument;
        } else if (argument == L"--") {
            onlyFolders = true;
        } else {
            ParseOption(at, arguments.end(), result);
        }
    }
    if (!haveFolder && !result.help)
        throw BadArgument(L"no folder given; --help says more");
    return result;
}

const wchar_t* HelpText() {
    static_assert(exitComplete == 0 && exitIncomplete == 1 && exitFailed == 2 &&
                  exitInterrupted == 3);
    return L"Usage: find_duplicates FOLDER [options]\n"
           L"\n"
           L"Finds files with the same content in a folder and all folders below it, and lists\n"
           L"them in groups, those that waste most space first. Changes nothing. Two files count\n"
           L"as the same when they have the same size and the same MD5 digests.\n"
           L"\n"
           L"Options:\n"
           L"  --min-size SIZE  leave out files smaller than SIZE bytes (K, M and G may follow;\n"
           L"                   default 1; with 0 the empty files are a group too)\n"
           L"  --tsv            print one line a file: group, copy, size in bytes and path,\n"
           L"                   separated by tabs; the summary goes to the error output\n"
           L"  --quiet          no progress and no summary\n"
           L"  --pause          while the search goes on, P suspends it and R resumes it; the\n"
           L"                   keys come from the terminal, or from a pipe as letters\n"
           L"  --report FILE    write the result to FILE, as an XML document\n"
           L"  --compare FILE   print what has changed since FILE was written with --report\n"
           L"  --help           this text\n"
           L"\n"
           L"Links and junctions are not followed, and files whose content is not on this\n"
           L"computer are not fetched. Several names of one file (hard links) are one copy and\n"
           L"waste nothing. Ctrl-C ends the search and prints what was found so far; pressed\n"
           L"again, it ends the program at once.\n"
           L"\n"
           L"Exit codes:\n"
           L"  0  everything was examined, whether there are duplicates or not\n"
           L"  1  some files or folders could not be read, or changed while they were read\n"
           L"  2  bad arguments, or the search could not be done, or a report not be read or\n"
           L"     written\n"
           L"  3  ended by Ctrl-C\n";
}

} // namespace find_duplicates
