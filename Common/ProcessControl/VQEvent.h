#pragma once

#include <Common/Export.h>
#include <Common/Platform/PlatformSync.h>

#include <cstdint>

/// An event: threads wait at it until another one signals it.
///
/// It resets itself: each signal lets one waiter through, or the next one to come when nobody waits. Signals do not add
/// up; for counting there is CVQSemaphore.
///
///     CVQEvent oReady;                        // not signalled
///     worker:  oReady.Wait();
///     owner:   oReady.Signal();               // the worker goes on, the event is not signalled again
///
/// Any thread may call any member. A copy shares the handle, and both destructors close it.
class COMMON_API CVQEvent
{
public:
    /// Creates an unnamed event that is not signalled. When the system has none left the failure is reported, and the
    /// object lives on with the handle 0: waits return at once then.
    CVQEvent();

    /// Shares the handle of another event.
    CVQEvent(const CVQEvent&) = default;

    /// Shares the handle of another event; the own one stays open.
    CVQEvent& operator=(const CVQEvent&) = default;

    /// Closes the handle. Nobody may be waiting.
    virtual ~CVQEvent();

    /// Lets one waiter through, or the next one to come.
    void Signal() { SYNC_SignalEvent(SystemHandle()); }

    /// Waits for a signal without limit of time.
    void Wait() { SYNC_WaitEvent(SystemHandle()); }

    /// Waits for a signal.
    ///
    /// @param nMilliseconds  longest wait; 0 only asks; without limit when it is negative, 0xFFFFFFFF or above
    /// @return               false when the time ran out; true otherwise, also when the wait failed (kept)
    bool TimedWait(long nMilliseconds);

    /// Takes a signal back that nobody has met yet.
    void Reset() { SYNC_ResetEvent(SystemHandle()); }

private:
    void* SystemHandle() const { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(m_nHandle)); }

    std::uint32_t m_nHandle;
};
