#include <Common/Platform/System/SystemMemory.h>

#include <cstdlib>

#include <new>
#include <sys/mman.h>

// A long is as wide as an address here.
static_assert(sizeof(unsigned long) >= sizeof(void*));

namespace
{
// No system has larger pages.
constexpr std::size_t GUARD_SIZE = 64 * std::size_t{1024};
} // namespace

void* System::AllocateLowMemory(std::size_t nSize)
{
    void* const pMemory = std::calloc(nSize, 1);
    if (pMemory == nullptr)
        throw std::bad_alloc();
    return pMemory;
}

void System::FreeLowMemory(void* pMemory) noexcept
{
    std::free(pMemory);
}

void* System::AllocateGuardedMemory(std::size_t nSize) noexcept
{
    void* const pMemory = mmap(nullptr, nSize + GUARD_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED)
        return nullptr;

    if (mprotect(static_cast<char*>(pMemory) + nSize, GUARD_SIZE, PROT_NONE) != 0)
    {
        FreeGuardedMemory(pMemory, nSize);
        return nullptr;
    }
    return pMemory;
}

void System::FreeGuardedMemory(void* pMemory, std::size_t nSize) noexcept
{
    if (pMemory != nullptr)
        munmap(pMemory, nSize + GUARD_SIZE);
}
