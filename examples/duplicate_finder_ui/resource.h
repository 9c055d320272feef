// The numbers that the resources share with the code. The resource compiler knows macros only.
#pragma once

// NOLINTBEGIN(cppcoreguidelines-macro-usage)

#define IDI_APPLICATION_ICON 1
#define IDR_ACCELERATORS 2
#define IDD_PROBLEMS 3

// The main window's controls. Start and cancel are IDOK and IDCANCEL, as Enter and Esc are.
#define IDC_FOLDER 101
#define IDC_BROWSE 102
#define IDC_STEP 103
#define IDC_TIME_LEFT 104
#define IDC_PROGRESS 105
#define IDC_PAUSE 106
#define IDC_DONE 107
#define IDC_TOTAL 108
#define IDC_GROUPS 109
#define IDC_COPIES 110
#define IDC_SUMMARY 111
#define IDC_PROBLEMS 112
#define IDC_SAVE 113
#define IDC_OPEN 114
#define IDC_FOLDER_LABEL 115
#define IDC_GROUPS_LABEL 116
#define IDC_COPIES_LABEL 117

// The details window's.
#define IDC_PROBLEM_LIST 201

// NOLINTEND(cppcoreguidelines-macro-usage)
