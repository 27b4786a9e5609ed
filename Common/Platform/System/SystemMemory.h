#pragma once

/// @file
/// Memory of special kinds: whose address fits into an unsigned long on every system, for interfaces that pass
/// addresses in one; and with a guard behind it, for those who write without looking.
///
/// Inside the library only. Any thread may call.

#include <cstddef>

namespace System
{
/// Takes memory whose address an unsigned long can hold: below 4 GiB where that type has 32 bits. It is filled with
/// zeros. Meant for a few small blocks: each may take a whole unit of the system's address space.
///
/// @return the memory, to be given back with FreeLowMemory()
/// @throws std::bad_alloc  there is none
void* AllocateLowMemory(std::size_t nSize);

/// Gives memory of AllocateLowMemory() back; null is allowed.
void FreeLowMemory(void* pMemory) noexcept;

/// Takes memory with a guard behind its last byte: what touches the guard ends the program. It is filled with zeros and
/// begins on a page.
///
/// @param nSize  bytes, a multiple of 64 KiB
/// @return       the memory, to be given back with FreeGuardedMemory(); null when there is none
void* AllocateGuardedMemory(std::size_t nSize) noexcept;

/// Gives memory of AllocateGuardedMemory() back; null is allowed.
///
/// @param nSize  as it was taken
void FreeGuardedMemory(void* pMemory, std::size_t nSize) noexcept;
} // namespace System
