#include <Common/ProcessControl/VQSemaphore.h>

#include <Common/Platform/System/HandleField.h>

static_assert(sizeof(CVQSemaphore) == sizeof(void*) + 8);

CVQSemaphore::CVQSemaphore(long nInitialCount, long nMaximumCount, const char* pName)
    : m_nHandle(ProcessControl::ToField(
          SYNC_CreateSemaphore(ProcessControl::ToCount(nInitialCount), ProcessControl::ToCount(nMaximumCount), pName)))
{
}

CVQSemaphore::~CVQSemaphore()
{
    SYNC_DestroySemaphore(SystemHandle());
}

bool CVQSemaphore::TryLock(long nMilliseconds) const
{
    return SYNC_TryLockSemaphore(SystemHandle(), ProcessControl::ToTimeOut(nMilliseconds));
}

long CVQSemaphore::Unlock(long nCount) const
{
    return SYNC_UnlockSemaphore(SystemHandle(), ProcessControl::ToCount(nCount));
}
