// The other side of the platform calls that the checked parts of the library and their tests make:
// what they name of <windows.h>, no more, on top of the system that the checks run on. Where a
// function is known to everybody it behaves as documented there, as far as its callers can tell;
// what a caller passes and this layer has no use for is ignored.
#pragma once

#include <kq/win32/types.h>

#include <sched.h>

#include <climits>
#include <cstddef>
#include <cstdint>

// NOLINTBEGIN: the names are the platform's

#define WINAPI
#define NTAPI
#define CALLBACK
#define FALSE 0
#define TRUE 1
#define INFINITE 0xFFFF'FFFFu

using BOOL = int;
using BOOLEAN = unsigned char;
using DWORD = std::uint32_t;
using ULONGLONG = std::uint64_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using SIZE_T = std::size_t;
using LPCWSTR = const wchar_t*;
using LPWSTR = wchar_t*;
using HANDLE = void*;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
using HWND = HWND__*;

// Waiting on addresses.

BOOL WaitOnAddress(volatile void* address, void* compared, SIZE_T size, DWORD milliseconds);
void WakeByAddressSingle(void* address);
void WakeByAddressAll(void* address);
inline void YieldProcessor() { __builtin_ia32_pause(); }
inline BOOL SwitchToThread() { return sched_yield() == 0; }

// Memory.

#define MEM_COMMIT 0x1000u
#define MEM_RESERVE 0x2000u
#define MEM_RELEASE 0x8000u
#define MEM_FREE 0x10000u
#define PAGE_READONLY 2u
#define PAGE_READWRITE 4u

struct MEMORY_BASIC_INFORMATION {
    DWORD State;
};

void* VirtualAlloc(void* address, SIZE_T size, DWORD kind, DWORD protection);
BOOL VirtualFree(void* address, SIZE_T size, DWORD kind);
SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* information, SIZE_T size);

// Threads, events and what else has a handle.

#define WAIT_OBJECT_0 0u
#define WAIT_TIMEOUT 258u
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4u

using ThreadFunction = DWORD (*)(void* parameter);

DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();
ULONGLONG GetTickCount64();
HANDLE CreateThread(void* security, SIZE_T stack, ThreadFunction function, void* parameter,
                    DWORD flags, DWORD* id);
HANDLE CreateEventW(void* security, BOOL isManual, BOOL isSet, LPCWSTR name);
BOOL SetEvent(HANDLE event);
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
BOOL CloseHandle(HANDLE object);
HMODULE GetModuleHandleW(LPCWSTR name);
BOOL GetModuleHandleExW(DWORD flags, LPCWSTR name, HMODULE* module);
BOOL FreeLibrary(HMODULE module);
/// Only as the last step of a thread's function.
[[noreturn]] void FreeLibraryAndExitThread(HMODULE module, DWORD code);

// Windows, which are all message-only, and their messages.

#define WM_CLOSE 0x10u
#define WM_QUIT 0x12u
#define WM_TIMER 0x113u
#define WM_USER 0x400u
#define PM_NOREMOVE 0u
#define PM_REMOVE 1u
#define SMTO_NORMAL 0u
#define WH_GETMESSAGE 3
#define HC_ACTION 0
#define GA_PARENT 1u
#define GWLP_WNDPROC (-4)
#define GCLP_WNDPROC (-24)
#define HWND_MESSAGE (reinterpret_cast<HWND>(std::intptr_t{-3}))
#define QS_POSTMESSAGE 8u
#define QS_TIMER 0x10u
#define QS_SENDMESSAGE 0x40u
#define QS_ALLINPUT 0x4FFu

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

using WNDPROC = LRESULT (*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
using HOOKPROC = LRESULT (*)(int code, WPARAM wParam, LPARAM lParam);
using HHOOK = HOOKPROC;

struct WNDCLASSW {
    WNDPROC lpfnWndProc;
    int cbWndExtra;
    HINSTANCE hInstance;
    LPCWSTR lpszClassName;
};

unsigned short RegisterClassW(const WNDCLASSW* description);
BOOL UnregisterClassW(LPCWSTR name, HINSTANCE owner);
HWND CreateWindowExW(DWORD extendedStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                     int y, int width, int height, HWND parent, void* menu, HINSTANCE owner,
                     void* parameter);
BOOL DestroyWindow(HWND window);
BOOL IsWindow(HWND window);
LONG_PTR GetWindowLongPtrW(HWND window, int index);
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
ULONG_PTR SetClassLongPtrW(HWND window, int index, LONG_PTR value);
LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// A window of that class, of whatever class when none is named.
HWND FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR title);
/// All windows here are message-only ones.
HWND GetAncestor(HWND window, UINT flags);
using WNDENUMPROC = BOOL (*)(HWND window, LPARAM parameter);
BOOL EnumChildWindows(HWND parent, WNDENUMPROC visit, LPARAM parameter);
int GetClassNameW(HWND window, LPWSTR name, int size);
DWORD GetWindowThreadProcessId(HWND window, DWORD* process);

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
void PostQuitMessage(int exitCode);
/// Fails: nobody here has to reach the window of another thread.
LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags,
                            UINT milliseconds, DWORD_PTR* result);
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT flags);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageW(const MSG* message);
UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, void* function);
BOOL KillTimer(HWND window, UINT_PTR id);
/// For at most one object, an event.
DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds,
                                DWORD kinds);
HHOOK SetWindowsHookExW(int kind, HOOKPROC function, HINSTANCE owner, DWORD thread);
BOOL UnhookWindowsHookEx(HHOOK hook);
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wParam, LPARAM lParam);

// NOLINTEND
