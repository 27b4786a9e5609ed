#pragma once

#include <cstddef>
#include <cstring>

/// Tells the position of a virtual operation in the table of its class, counted from 0.
///
/// All our compilers follow the Itanium C++ ABI: the first word of a pointer to a virtual member function is 1 plus the
/// offset of its slot in bytes.
template <typename TMember>
std::size_t VirtualSlot(TMember pMember)
{
    std::size_t nWord = 0;
    static_assert(sizeof pMember == 2 * sizeof nWord);
    std::memcpy(&nWord, &pMember, sizeof nWord);
    return (nWord - 1) / sizeof(void*);
}
