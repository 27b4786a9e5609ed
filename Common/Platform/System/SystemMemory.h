#pragma once

/// @file
/// Memory whose address fits into an unsigned long on every system, for interfaces that pass addresses in one.
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
} // namespace System
