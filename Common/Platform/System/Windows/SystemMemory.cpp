#include <Common/Platform/System/SystemMemory.h>

#include <cstdint>
#include <new>

#include <windows.h>

namespace
{
// Addresses end here that an unsigned long can hold.
constexpr std::uint64_t LOW_END = std::uint64_t{1} << 32;

// The system hands out address space in units of this size.
constexpr std::size_t UNIT = 0x10000;
} // namespace

void* System::AllocateLowMemory(std::size_t nSize)
{
    // Free ranges are asked for from the lowest on; another thread may be faster, and then the next one is tried.
    for (std::uint64_t nAddress = UNIT; nAddress + nSize <= LOW_END;)
    {
        MEMORY_BASIC_INFORMATION oRange;
        if (VirtualQuery(reinterpret_cast<void*>(static_cast<std::uintptr_t>(nAddress)), &oRange, sizeof(oRange)) == 0)
            break;

        const std::uint64_t nRangeEnd = reinterpret_cast<std::uintptr_t>(oRange.BaseAddress) + oRange.RegionSize;
        if (oRange.State == MEM_FREE && nRangeEnd >= nAddress + nSize)
        {
            void* const pMemory = VirtualAlloc(reinterpret_cast<void*>(static_cast<std::uintptr_t>(nAddress)), nSize,
                                               MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
            if (pMemory != nullptr)
                return pMemory;
            nAddress += UNIT;
        }
        else
        {
            nAddress = (nRangeEnd + UNIT - 1) / UNIT * UNIT;
        }
    }
    throw std::bad_alloc();
}

void System::FreeLowMemory(void* pMemory) noexcept
{
    if (pMemory != nullptr)
        VirtualFree(pMemory, 0, MEM_RELEASE);
}

void* System::AllocateGuardedMemory(std::size_t nSize) noexcept
{
    // Address space that is reserved and never committed is the guard.
    void* const pReserved = VirtualAlloc(nullptr, nSize + UNIT, MEM_RESERVE, PAGE_NOACCESS);
    if (pReserved == nullptr)
        return nullptr;

    void* const pMemory = VirtualAlloc(pReserved, nSize, MEM_COMMIT, PAGE_READWRITE);
    if (pMemory == nullptr)
        VirtualFree(pReserved, 0, MEM_RELEASE);
    return pMemory;
}

void System::FreeGuardedMemory(void* pMemory, std::size_t) noexcept
{
    FreeLowMemory(pMemory);
}
