#include "message_loop.h"

#include "resource.h"

namespace duplicate_finder {

int RunMessageLoop(HWND window) {
    HACCEL const accelerators =
        LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_ACCELERATORS));
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (TranslateAcceleratorW(window, accelerators, &message) != 0 ||
            IsDialogMessageW(window, &message))
            continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

} // namespace duplicate_finder
