#pragma once

#include <tests/support/ChildProcess.h>

#include <memory>
#include <string>

/// What a child process of the synchronisation tests does with the objects of a name. It signals the event NAME-ready
/// when it has begun, and ends with 0 when everything went as told here.
enum class eSyncRole : int
{
    SignalEvent,       ///< signals the event NAME
    LockMutexAndStay,  ///< locks the mutex NAME and waits to be ended
    LockMutexAndLeave, ///< locks the mutex NAME and ends without unlocking it
    CountUnderMutex,   ///< adds 1 to the units of the semaphore NAME-count 200 times, under the mutex NAME
    WaitForEvent,      ///< waits for the event NAME, then returns a unit to the semaphore NAME-count
    WaitForAbandoned,  ///< waits for the mutex NAME, returns a unit to the semaphore NAME-count when it was abandoned
    HoldMutex,         ///< opens the mutex NAME and waits to be ended
    HoldSemaphore,     ///< makes the semaphore NAME, 1 of 3 units, and waits to be ended
};

/// A name that no other test run has.
std::string UniqueSyncName();

/// Starts a child in a role and waits until it has begun; null when it did not.
std::unique_ptr<ChildProcess> StartSyncChild(eSyncRole nRole, const std::string& sName);
