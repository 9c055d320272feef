// What README.md leaves to its reader: a program whose window closes at once.
#pragma once

#include <kq/win32/message_pump.h>

inline void LoadDocument() {}
inline void BuildIndex() {}
inline void ShowIndex() {}
inline void SaveBackup() {}

inline int RunMessageLoop() {
    kq::win32::PumpMessageQueue();
    return 0;
}
