#include <Common/Platform/System/SystemMemory.h>

#include <cstdlib>
#include <new>

// A long is as wide as an address here.
static_assert(sizeof(unsigned long) >= sizeof(void*));

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
