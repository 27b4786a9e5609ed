#include <Common/Platform/System/SystemMemory.h>

#include <cstdlib>

// A long is as wide as an address here.
static_assert(sizeof(unsigned long) >= sizeof(void*));

void* System::AllocateLowMemory(std::size_t nSize) noexcept
{
    return std::calloc(nSize, 1);
}

void System::FreeLowMemory(void* pMemory) noexcept
{
    std::free(pMemory);
}
