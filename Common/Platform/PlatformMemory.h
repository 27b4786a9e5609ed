#pragma once

/// @file
/// Memory functions: the heap of the runtime library, and fills, copies and comparisons of byte ranges.
///
///     void* pBlock = MEM_Alloc(64);
///     MEM_Zero(pBlock, 64);
///     MEM_Free(pBlock);
///
/// Sizes count bytes. Nothing here logs or throws. Any thread may call.

#include <Common/Export.h>

extern "C"
{
    /// Takes a block from the heap.
    ///
    /// @return the block, owned by the caller until MEM_Free(); null when there is no memory
    COMMON_API void* MEM_Alloc(unsigned nSize);

    /// Changes the size of a block; its contents are kept up to the smaller of both sizes.
    ///
    /// @param pBlock  a block of MEM_Alloc(), or null, which allocates
    /// @return        the block at its new place; null when there is no memory, and the old block is then as it was
    COMMON_API void* MEM_Realloc(void* pBlock, unsigned nSize);

    /// Gives a block back; null is allowed.
    COMMON_API void MEM_Free(void* pBlock);

    /// Fills a range with zeros.
    COMMON_API void MEM_Zero(void* pTarget, unsigned nSize);

    /// Fills a range with one value. The order of the arguments is target, value, size.
    COMMON_API void MEM_Set(void* pTarget, unsigned char nValue, unsigned nSize);

    /// Copies a range; the two ranges must not overlap.
    COMMON_API void MEM_Copy(void* pTarget, const void* pSource, unsigned nSize);

    /// Copies a range; the two ranges may overlap.
    ///
    /// @return pTarget
    COMMON_API void* MEM_Move(void* pTarget, const void* pSource, unsigned nSize);

    /// Compares two ranges byte by byte, as unsigned values.
    ///
    /// @return 0 when they are equal or nSize is 0; at the first difference -1 when the byte of pFirst is smaller, else
    /// 1
    COMMON_API int MEM_Compare(const void* pFirst, const void* pSecond, unsigned nSize);

    /// Tells whether two ranges are equal in their whole 32-bit words.
    ///
    /// The last nSize % 4 bytes are never compared, and a size below 4 is always equal. Kept: callers use it for sizes
    /// that are multiples of 4.
    COMMON_API bool MEM_FastCmp(const void* pFirst, const void* pSecond, unsigned nSize);
}
