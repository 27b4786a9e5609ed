#pragma once

#include <Common/Export.h>
#include <Common/Platform/PlatformSync.h>

#include <cstdint>

/// A recursive mutex: what it guards is used by one thread at a time.
///
/// The owning thread may lock it again, and unlocks it as often. For short sections CVQCriticalSection is cheaper; a
/// mutex is for owners that may end without unlocking (the next one gets it) and for sharing by handle.
///
///     CVQMutex oMutex;
///     oMutex.Lock();
///     ...                     // alone
///     oMutex.Unlock();
///
/// Any thread may call any member. A copy shares the handle, and both destructors close it: a copy is for those who
/// accept that the original's end is its own.
class COMMON_API CVQMutex
{
public:
    /// Creates a free, unnamed mutex. When the system has none left the failure is reported, and the object lives on
    /// with the handle 0: Lock() returns at once then, and IsLocked() is true.
    CVQMutex();

    /// Shares the handle of another mutex.
    CVQMutex(const CVQMutex&) = default;

    /// Shares the handle of another mutex; the own one stays open.
    CVQMutex& operator=(const CVQMutex&) = default;

    /// Closes the handle. Nobody may be waiting.
    virtual ~CVQMutex();

    /// Waits until the calling thread owns the mutex, without limit of time.
    void Lock() const { SYNC_LockMutex(SystemHandle()); }

    /// Gives one ownership back; does nothing when the calling thread owns none.
    void Unlock() const { SYNC_UnlockMutex(SystemHandle()); }

    /// Asks whether another thread owns the mutex.
    ///
    /// When it was free, or is the calling thread's own, the question itself takes it once more: the answer is false,
    /// and the caller has to call Unlock(). Kept: callers rely on it.
    bool IsLocked() const { return SYNC_IsMutexLocked(SystemHandle()) != 0; }

    /// The handle, as SYNC_CreateMutex() returned it; 0 when there is none.
    unsigned long GetHandle() const { return m_nHandle; }

private:
    void* SystemHandle() const { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(m_nHandle)); }

    std::uint32_t m_nHandle;
    [[maybe_unused]] std::uint32_t m_nReserved = 0; // copied with the handle, used by nobody
};
