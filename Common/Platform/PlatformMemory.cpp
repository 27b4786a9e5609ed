#include <Common/Platform/PlatformMemory.h>

#include <cstdlib>
#include <cstring>

namespace
{
constexpr unsigned WORD_SIZE = 4;
}

void* MEM_Alloc(unsigned nSize)
{
    return std::malloc(nSize);
}

void* MEM_Realloc(void* pBlock, unsigned nSize)
{
    return std::realloc(pBlock, nSize);
}

void MEM_Free(void* pBlock)
{
    std::free(pBlock);
}

void MEM_Zero(void* pTarget, unsigned nSize)
{
    MEM_Set(pTarget, 0, nSize);
}

// The ranges of size 0 may come with null pointers, which the runtime library does not allow.

void MEM_Set(void* pTarget, unsigned char nValue, unsigned nSize)
{
    if (nSize != 0)
        std::memset(pTarget, nValue, nSize);
}

void MEM_Copy(void* pTarget, const void* pSource, unsigned nSize)
{
    if (nSize != 0)
        std::memcpy(pTarget, pSource, nSize);
}

void* MEM_Move(void* pTarget, const void* pSource, unsigned nSize)
{
    if (nSize != 0)
        std::memmove(pTarget, pSource, nSize);
    return pTarget;
}

int MEM_Compare(const void* pFirst, const void* pSecond, unsigned nSize)
{
    const int nOrder = nSize != 0 ? std::memcmp(pFirst, pSecond, nSize) : 0;
    return (nOrder > 0) - (nOrder < 0);
}

bool MEM_FastCmp(const void* pFirst, const void* pSecond, unsigned nSize)
{
    return MEM_Compare(pFirst, pSecond, nSize - nSize % WORD_SIZE) == 0;
}
