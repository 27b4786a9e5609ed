#include <Common/Platform/PlatformSync.h>

#include <Common/Platform/System/SystemSync.h>

void* SYNC_CreateMutex(bool bInitiallyOwned, const char* pName)
{
    return System::MakeMutex(bInitiallyOwned, pName);
}

unsigned SYNC_LockMutex(void* hMutex)
{
    return System::WaitFor(hMutex, System::NO_TIME_LIMIT);
}

int SYNC_UnlockMutex(void* hMutex)
{
    return System::UnlockMutex(hMutex) ? 1 : 0;
}

unsigned SYNC_IsMutexLocked(void* hMutex)
{
    return System::WaitFor(hMutex, 0) != System::WAIT_RESULT_SIGNALLED ? 1 : 0;
}

bool SYNC_DestroyMutex(void* hMutex)
{
    return System::CloseWaitable(hMutex);
}

void* SYNC_CreateSemaphore(int nInitialCount, int nMaximumCount, const char* pName)
{
    return System::MakeSemaphore(nInitialCount, nMaximumCount, pName);
}

unsigned SYNC_LockSemaphore(void* hSemaphore)
{
    return System::WaitFor(hSemaphore, System::NO_TIME_LIMIT);
}

bool SYNC_TryLockSemaphore(void* hSemaphore, unsigned nMilliseconds)
{
    return System::WaitFor(hSemaphore, nMilliseconds) != System::WAIT_RESULT_TIME_OUT;
}

int SYNC_UnlockSemaphore(void* hSemaphore, int nReleaseCount)
{
    int nPrevious = 0;
    return System::UnlockSemaphore(hSemaphore, nReleaseCount, nPrevious) ? nPrevious : 0;
}

bool SYNC_DestroySemaphore(void* hSemaphore)
{
    return System::CloseWaitable(hSemaphore);
}

void* SYNC_CreateEvent(bool bManualReset, bool bInitiallySignalled, const char* pName)
{
    return System::MakeEvent(bManualReset, bInitiallySignalled, pName);
}

unsigned SYNC_WaitEvent(void* hEvent)
{
    return System::WaitFor(hEvent, System::NO_TIME_LIMIT);
}

bool SYNC_TimedWaitEvent(void* hEvent, unsigned nMilliseconds)
{
    return System::WaitFor(hEvent, nMilliseconds) != System::WAIT_RESULT_TIME_OUT;
}

int SYNC_SignalEvent(void* hEvent)
{
    return System::SetEventSignal(hEvent) ? 1 : 0;
}

int SYNC_ResetEvent(void* hEvent)
{
    return System::ClearEventSignal(hEvent) ? 1 : 0;
}

bool SYNC_DestroyEvent(void* hEvent)
{
    return System::CloseWaitable(hEvent);
}
