#pragma once

/// @file
/// Synchronisation functions: mutexes, semaphores and events by handle.
///
///     void* hEvent = SYNC_CreateEvent(false, false, nullptr);
///     ...
///     if (SYNC_TimedWaitEvent(hEvent, 500))
///         ...                                   // signalled within half a second
///     SYNC_DestroyEvent(hEvent);
///
/// A handle belongs to the caller, who closes it with one of the SYNC_Destroy functions. A wait on a handle that is
/// closed or never was one fails at once. On Linux a closed handle is never taken for a later object's, closing it
/// twice does nothing, and waits that are under way through it fail when another thread closes it.
///
/// An object may have a name, of up to 259 bytes without a backslash; "Local\" and "Global\" may stand before it. All
/// processes of a user that create one under the same name and type share one object: all but the first ignore the
/// initial values. Mutexes, semaphores and events share one name space, and a name that another type holds yields null.
/// The object is gone when its last handle is closed or the last process that holds one has ended.
///
/// Waits return 0 (signalled, or got), 0x80 (got a mutex whose owner ended without unlocking it), 258 (the time ran
/// out), 0xFFFFFFFF (failed). Times are milliseconds; 0xFFFFFFFF has no limit. Any waitable object can be waited for
/// with any of the waiting functions, a thread too. Nothing here logs or throws. Any thread may call.

#include <Common/Export.h>

extern "C"
{
    /// Creates a mutex: recursive, owned by a thread. A thread that ends while it owns one abandons it.
    ///
    /// @param bInitiallyOwned  the calling thread owns it at once, when it is new
    /// @param pName            name between processes, null for none
    /// @return                 the handle, null on failure
    COMMON_API void* SYNC_CreateMutex(bool bInitiallyOwned, const char* pName);

    /// Waits for a mutex without limit.
    ///
    /// @return the result of the wait
    COMMON_API unsigned SYNC_LockMutex(void* hMutex);

    /// Gives one ownership of a mutex back.
    ///
    /// @return 0 when the calling thread does not own it
    COMMON_API int SYNC_UnlockMutex(void* hMutex);

    /// Asks whether another thread owns a mutex.
    ///
    /// When the mutex was free, or is the calling thread's own, the question itself takes it once more, and the caller
    /// has to unlock it. Kept: callers rely on it.
    ///
    /// @return 1 when a wait of no time did not return 0, else 0
    COMMON_API unsigned SYNC_IsMutexLocked(void* hMutex);

    /// Closes the handle of a mutex.
    ///
    /// @return false when there is no such handle
    COMMON_API bool SYNC_DestroyMutex(void* hMutex);

    /// Creates a semaphore.
    ///
    /// @param nInitialCount  units at the beginning, 0 to nMaximumCount
    /// @param nMaximumCount  most units, above 0
    /// @param pName          name between processes, null for none
    /// @return               the handle, null on failure
    COMMON_API void* SYNC_CreateSemaphore(int nInitialCount, int nMaximumCount, const char* pName);

    /// Waits for one unit of a semaphore without limit.
    ///
    /// @return the result of the wait
    COMMON_API unsigned SYNC_LockSemaphore(void* hSemaphore);

    /// Waits for one unit of a semaphore.
    ///
    /// @param nMilliseconds  longest wait; 0 only asks
    /// @return               false only when the time ran out: a wait that failed is true too
    COMMON_API bool SYNC_TryLockSemaphore(void* hSemaphore, unsigned nMilliseconds);

    /// Returns units to a semaphore.
    ///
    /// @return the units there were before; 0 on failure too, as when the units would pass the maximum (nothing is
    /// changed then)
    COMMON_API int SYNC_UnlockSemaphore(void* hSemaphore, int nReleaseCount);

    /// Closes the handle of a semaphore.
    ///
    /// @return false when there is no such handle
    COMMON_API bool SYNC_DestroySemaphore(void* hSemaphore);

    /// Creates an event.
    ///
    /// @param bManualReset         lets everybody through until it is reset; else one waiter for each signal
    /// @param bInitiallySignalled  signalled from the beginning
    /// @param pName                name between processes, null for none
    /// @return                     the handle, null on failure
    COMMON_API void* SYNC_CreateEvent(bool bManualReset, bool bInitiallySignalled, const char* pName);

    /// Waits for an event without limit.
    ///
    /// @return the result of the wait
    COMMON_API unsigned SYNC_WaitEvent(void* hEvent);

    /// Waits for an event.
    ///
    /// @param nMilliseconds  longest wait; 0 only asks
    /// @return               false only when the time ran out: a wait that failed is true too
    COMMON_API bool SYNC_TimedWaitEvent(void* hEvent, unsigned nMilliseconds);

    /// Signals an event: one waiter goes on, or the next to come; with manual reset everybody, until it is reset.
    ///
    /// @return 0 on failure
    COMMON_API int SYNC_SignalEvent(void* hEvent);

    /// Takes the signal of an event back.
    ///
    /// @return 0 on failure
    COMMON_API int SYNC_ResetEvent(void* hEvent);

    /// Closes the handle of an event.
    ///
    /// @return false when there is no such handle
    COMMON_API bool SYNC_DestroyEvent(void* hEvent);
}
