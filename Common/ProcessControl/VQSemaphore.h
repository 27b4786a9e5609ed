#pragma once

#include <Common/Export.h>
#include <Common/Platform/PlatformSync.h>

#include <cstdint>

/// A semaphore: a number of units that threads take and return.
///
///     CVQSemaphore oSlots(4, 4);          // four may work at a time
///     oSlots.Lock();
///     ...
///     oSlots.Unlock(1);
///
/// Units belong to no thread: any thread may return what another took. Any thread may call any member. A copy shares
/// the handle, and both destructors close it.
class COMMON_API CVQSemaphore
{
public:
    /// Creates a semaphore, or opens the one that other processes have under the name; its counts stay then.
    ///
    /// A failure shows only in the other members: waits return at once, Unlock() returns 0.
    ///
    /// @param nInitialCount  units at the beginning, 0 to nMaximumCount
    /// @param nMaximumCount  most units, above 0
    /// @param pName          name between processes, as SYNC_CreateSemaphore() takes it; null for none
    CVQSemaphore(long nInitialCount = 1, long nMaximumCount = 1, const char* pName = nullptr);

    /// Shares the handle of another semaphore.
    CVQSemaphore(const CVQSemaphore&) = default;

    /// Shares the handle of another semaphore; the own one stays open.
    CVQSemaphore& operator=(const CVQSemaphore&) = default;

    /// Closes the handle. Nobody may be waiting.
    virtual ~CVQSemaphore();

    /// Waits for one unit without limit of time.
    void Lock() const { SYNC_LockSemaphore(SystemHandle()); }

    /// Waits for one unit.
    ///
    /// @param nMilliseconds  longest wait; 0 only asks; without limit when it is negative, 0xFFFFFFFF or above
    /// @return               false when the time ran out; true otherwise, also when the wait failed (kept)
    bool TryLock(long nMilliseconds) const;

    /// Returns units.
    ///
    /// @param nCount  how many, above 0
    /// @return        the units there were before; 0 on failure too, as when they would pass the maximum (nothing is
    ///                returned then)
    long Unlock(long nCount) const;

private:
    void* SystemHandle() const { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(m_nHandle)); }

    [[maybe_unused]] std::uint32_t m_nReserved = 0; // copied with the handle, used by nobody
    std::uint32_t m_nHandle;
};
