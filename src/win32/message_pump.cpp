#include <kq/win32/message_pump.h>

#include "win32/dispatch_messages.h"

#include <windows.h>

#include <optional>

namespace kq::win32 {

std::optional<int> DispatchMessages(HWND__* window) {
    std::optional<int> quit;
    MSG message;
    while (PeekMessageW(&message, window, 0, 0, PM_REMOVE) != FALSE) {
        // It belongs to the loop that this call interrupts; posting it at once would yield it again
        // here.
        if (message.message == WM_QUIT) {
            quit = static_cast<int>(message.wParam);
            continue;
        }
        // What this message runs may be a message loop, which has to see it.
        if (quit) {
            PostQuitMessage(*quit);
            quit.reset();
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return quit;
}

void PumpMessageQueue(HWND__* window) {
    if (const std::optional<int> quit = DispatchMessages(window))
        PostQuitMessage(*quit);
}

void PumpMessageQueue() { PumpMessageQueue(nullptr); }

} // namespace kq::win32
