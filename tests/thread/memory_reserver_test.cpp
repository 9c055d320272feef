#include <windows.h>

#include <kq/library.h>
#include <kq/thread/memory_reserver.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

using kq::CMemoryReserver;
using kq::memoryReserver;

namespace {

constexpr std::uint64_t megabyte = 1 << 20;

MEMORY_BASIC_INFORMATION Ask(void* address) {
    MEMORY_BASIC_INFORMATION answer{};
    EXPECT_EQ(VirtualQuery(address, &answer, sizeof(answer)), sizeof(answer));
    return answer;
}

/// Whether a touch there does not fault.
bool IsReadable(void* address) { return IsBadReadPtr(address, 1) == FALSE; }

bool Free(void* reservation) { return VirtualFree(reservation, 0, MEM_RELEASE) != FALSE; }

TEST(MemoryReserver, ReservesAddressSpaceThatIsNotAccessible) {
    CMemoryReserver reserver(0, 0);
    void* const reservation = reserver.GetReservedMemory(megabyte);
    ASSERT_NE(reservation, nullptr);
    const MEMORY_BASIC_INFORMATION answer = Ask(reservation);
    EXPECT_EQ(answer.AllocationBase, reservation);
    EXPECT_EQ(answer.AllocationProtect, DWORD{PAGE_NOACCESS});
    EXPECT_EQ(answer.State, DWORD{MEM_RESERVE});
    EXPECT_EQ(answer.RegionSize, megabyte);
    EXPECT_FALSE(IsReadable(reservation));
    EXPECT_TRUE(IsReadable(&reserver));
    EXPECT_TRUE(Free(reservation));
}

TEST(MemoryReserver, TakesTheHighestFreeAddresses) {
    CMemoryReserver reserver(0, 0);
    void* const reservation = reserver.GetReservedMemory(megabyte);
    void* const ordinary = VirtualAlloc(nullptr, megabyte, MEM_RESERVE, PAGE_NOACCESS);
    EXPECT_GT(reservation, ordinary);
    EXPECT_TRUE(Free(reservation));
    EXPECT_TRUE(Free(ordinary));
}

TEST(MemoryReserver, EveryCallMakesANewReservation) {
    CMemoryReserver reserver(0, 0);
    std::vector<void*> reservations;
    for (int call = 0; call != 10; ++call)
        reservations.push_back(reserver.GetReservedMemory(megabyte));
    for (void* const reservation : reservations) {
        EXPECT_EQ(Ask(reservation).AllocationBase, reservation);
        EXPECT_TRUE(Free(reservation));
    }
}

TEST(MemoryReserver, GivesNullWhenTheSystemRefuses) {
    CMemoryReserver reserver(0, 0);
    EXPECT_EQ(reserver.GetReservedMemory(0), nullptr);
    EXPECT_EQ(reserver.GetReservedMemory(std::numeric_limits<std::uint64_t>::max()), nullptr);
}

TEST(MemoryReserver, IgnoresTheSizesThatItIsMadeWith) {
    CMemoryReserver reserver(std::numeric_limits<std::uint64_t>::max(), 1);
    void* const reservation = reserver.GetReservedMemory(2 * megabyte);
    EXPECT_EQ(Ask(reservation).RegionSize, 2 * megabyte);
    EXPECT_TRUE(Free(reservation));
}

TEST(MemoryReserver, ReleaseLeavesReservationsInPlace) {
    CMemoryReserver reserver(0, 0);
    void* const reservation = reserver.GetReservedMemory(megabyte);
    reserver.Release();
    EXPECT_EQ(Ask(reservation).State, DWORD{MEM_RESERVE});
    EXPECT_TRUE(Free(reservation));
}

TEST(MemoryReserver, ReservationsOutliveTheReserver) {
    void* const reservation = CMemoryReserver(0, 0).GetReservedMemory(megabyte);
    EXPECT_EQ(Ask(reservation).State, DWORD{MEM_RESERVE});
    EXPECT_TRUE(Free(reservation));
}

TEST(MemoryReserver, TheProcessHasNoneUntilTheHostInstallsOne) {
    static_assert(std::is_same_v<decltype(memoryReserver),
                                 kq::Singleton<CMemoryReserver, boost::shared_ptr>>);
    EXPECT_EQ(memoryReserver.GetShared(), nullptr);
    EXPECT_EQ(ThrownText<std::runtime_error>([] { memoryReserver.Get(); }),
              std::string("Singleton instance of ") + typeid(CMemoryReserver).name() +
                  " does not exists!");
    memoryReserver = boost::make_shared<CMemoryReserver>(0u, 0u);
    void* const reservation = memoryReserver->GetReservedMemory(megabyte);
    EXPECT_TRUE(Free(reservation));
    memoryReserver.Reset();
}

TEST(MemoryReserver, ShutdownReleasesTheOneOfTheProcess) {
    const auto reserver = boost::make_shared<CMemoryReserver>(0u, 0u);
    memoryReserver = reserver;
    EXPECT_EQ(reserver.use_count(), 2);
    kq::Shutdown();
    EXPECT_EQ(memoryReserver.GetShared(), nullptr);
    EXPECT_EQ(reserver.use_count(), 1);
    kq::Startup();
    EXPECT_EQ(memoryReserver.GetShared(), nullptr);
}

} // namespace
