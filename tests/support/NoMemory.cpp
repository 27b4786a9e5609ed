#include <tests/support/NoMemory.h>
#include <tests/support/Sanitizer.h>

#include <cstdlib>
#include <new>

#if defined(_WIN32) || defined(TEST_HAS_SANITIZER)

CNoMemory::CNoMemory() = default;

CNoMemory::~CNoMemory() = default;

bool CNoMemory::IsSupported()
{
    return false;
}

#else

namespace
{
thread_local int t_nRefusals = 0;
}

CNoMemory::CNoMemory()
{
    ++t_nRefusals;
}

CNoMemory::~CNoMemory()
{
    --t_nRefusals;
}

bool CNoMemory::IsSupported()
{
    return true;
}

// In place of the language library's, for the whole program; every other form of them comes to these.
void* operator new(std::size_t nSize)
{
    void* pMemory = t_nRefusals == 0 ? std::malloc(nSize > 0 ? nSize : 1) : nullptr;
    if (pMemory == nullptr)
        throw std::bad_alloc();
    return pMemory;
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t /*nSize*/) noexcept
{
    std::free(pMemory);
}

#endif
