// Waiting on addresses, by the system's futexes.
#include <windows.h>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>

namespace {

long Futex(volatile void* address, int operation, std::uint32_t value, const timespec* timeout) {
    return syscall(SYS_futex, address, operation, value, timeout, nullptr, 0);
}

} // namespace

BOOL WaitOnAddress(volatile void* address, void* compared, SIZE_T size, DWORD milliseconds) {
    std::uint32_t expected = 0;
    if (size != sizeof(expected))
        return FALSE;
    std::memcpy(&expected, compared, sizeof(expected));
    const timespec timeout{milliseconds / 1000, long{milliseconds % 1000} * 1'000'000};
    const bool hasTimedOut = Futex(address, FUTEX_WAIT_PRIVATE, expected,
                                   milliseconds == INFINITE ? nullptr : &timeout) != 0 &&
                             errno == ETIMEDOUT;
    return hasTimedOut ? FALSE : TRUE;
}

void WakeByAddressSingle(void* address) { Futex(address, FUTEX_WAKE_PRIVATE, 1, nullptr); }

void WakeByAddressAll(void* address) { Futex(address, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr); }
