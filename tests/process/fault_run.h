// A program that fails, seen from outside.
#pragma once

#include "support/minidump.h"
#include "support/temporary_folder.h"

#include <windows.h>

#include <cstdint>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kq_test {

/// What the child prints about a fault before it happens.
struct AnnouncedFault {
    std::uint32_t threadId = 0;
    std::uint64_t function = 0;
};

/// What the child's reporter was told.
struct Report {
    std::uint32_t code = 0;
    std::uint32_t threadId = 0;
    std::uint64_t address = 0;
    std::string dump;
};

/// What is left of a run of fault_child.exe (see there for its arguments).
struct FaultRun {
    std::uint32_t exitCode = 0;
    std::string output;
    std::vector<AnnouncedFault> faults;
    std::vector<Report> reports;
    std::vector<std::string> tickets;
    std::optional<Minidump> dump;
};

/// Runs the child in a new folder, and ends it when it hangs, with the exit code `hung`.
class FaultRunner {
public:
    static constexpr std::uint32_t hung = 124;

    /// `arguments` stand for filter and place, `faults` for the faults, several in a row.
    FaultRun Run(const std::string& arguments, const std::string& faults, bool isDumped = true) {
        FaultRun run;
        run.exitCode =
            ExitCodeOf(arguments + (isDumped ? " \"" + DumpName() + "\" " : " - ") + faults);
        Parse(run);
        if (GetFileAttributesW(dump_.c_str()) != INVALID_FILE_ATTRIBUTES)
            run.dump = Minidump::Read(dump_);
        return run;
    }

    /// The name of the dump file. Without the prefix for long paths, as a host would give it.
    std::string DumpName() const { return {dump_.begin() + 4, dump_.end()}; }

private:
    static std::wstring ChildProgram() {
        wchar_t path[1024] = L"";
        GetModuleFileNameW(nullptr, path, 1024);
        const std::wstring self = path;
        return self.substr(0, self.find_last_of(L'\\') + 1) + L"fault_child.exe";
    }

    std::uint32_t ExitCodeOf(const std::string& arguments) const {
        SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        const HANDLE output =
            CreateFileW(output_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = output;
        startup.hStdError = output;
        PROCESS_INFORMATION process{};
        std::wstring command = L"\"" + ChildProgram() + L"\" ";
        command.append(arguments.begin(), arguments.end());
        const BOOL isStarted = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0,
                                              nullptr, nullptr, &startup, &process);
        CloseHandle(output);
        if (!isStarted)
            throw std::runtime_error("the child cannot be started");
        constexpr DWORD milliseconds = 60'000;
        if (WaitForSingleObject(process.hProcess, milliseconds) != WAIT_OBJECT_0) {
            TerminateProcess(process.hProcess, hung);
            WaitForSingleObject(process.hProcess, INFINITE);
        }
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return code;
    }

    void Parse(FaultRun& run) const {
        std::ifstream file(output_.c_str());
        for (std::string line; std::getline(file, line);) {
            run.output += line + '\n';
            std::istringstream words(line);
            std::string kind;
            words >> kind;
            if (kind == "fault") {
                AnnouncedFault fault;
                words >> fault.threadId >> std::hex >> fault.function;
                run.faults.push_back(fault);
            } else if (kind == "report") {
                Report report;
                words >> std::hex >> report.code >> std::dec >> report.threadId >> std::hex >>
                    report.address >> std::ws;
                std::getline(words, report.dump);
                run.reports.push_back(report);
            } else if (kind == "ticket") {
                run.tickets.push_back(line.substr(kind.size() + 1));
            }
        }
    }

    TemporaryFolder folder_;
    const std::wstring output_ = folder_.NewFile(L"output.txt");
    const std::wstring dump_ = folder_.NewFile(L"crash.dmp");
};

} // namespace kq_test
