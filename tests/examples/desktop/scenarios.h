// What is done with the desktop program.
#pragma once

#include <string>
#include <vector>

using Arguments = std::vector<std::wstring>;

struct Scenario {
    const wchar_t* name;
    void (*play)(const std::wstring& program, const Arguments& arguments);
};

/// FOLDER LISTING: searches, and writes what the lists show as the console program's --tsv does.
void Find(const std::wstring& program, const Arguments& arguments);
/// FOLDER: chooses the folder in the system's dialog.
void Browse(const std::wstring& program, const Arguments& arguments);
/// FOLDER REPORT: searches, and saves the report.
void SaveReport(const std::wstring& program, const Arguments& arguments);
/// FOLDER FILE: searches while FILE cannot be read, and looks at the details.
void ShowErrors(const std::wstring& program, const Arguments& arguments);
/// FOLDER: opens the folder of a copy by a double click.
void OpenFolder(const std::wstring& program, const Arguments& arguments);
/// FOLDER: goes through the controls by keys alone.
void UseKeyboard(const std::wstring& program, const Arguments& arguments);
/// Moves to a display of another resolution and back.
void ChangeResolution(const std::wstring& program, const Arguments& arguments);
/// FOLDER: with many files: pauses, resumes and cancels, while the window has to answer.
void Interrupt(const std::wstring& program, const Arguments& arguments);
/// FOLDER: with many files: closes the window in the middle, at work and paused.
void CloseInTheMiddle(const std::wstring& program, const Arguments& arguments);
/// FOLDER: waits for a good moment, prints "ready" with the place of the window, and keeps it there
/// until a line can be read.
void Pose(const std::wstring& program, const Arguments& arguments);

constexpr Scenario scenarios[] = {
    {L"find", Find},
    {L"browse", Browse},
    {L"save", SaveReport},
    {L"errors", ShowErrors},
    {L"open", OpenFolder},
    {L"keyboard", UseKeyboard},
    {L"resolution", ChangeResolution},
    {L"interrupt", Interrupt},
    {L"close", CloseInTheMiddle},
    {L"pose", Pose},
};
