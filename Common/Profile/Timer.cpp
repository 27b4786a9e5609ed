#include <Common/Profile/Timer.h>

#include <Common/Profile/VQTimer.h>

CTimer::~CTimer() = default;

double CTimer::GetCurTime()
{
    const CVQTimer* pTimer = VQGetTimer();
    return pTimer != nullptr ? pTimer->GetTime(0) : 0.0;
}

unsigned long CTimer::GetCurTimeInMs()
{
    const CVQTimer* pTimer = VQGetTimer();
    return pTimer != nullptr ? pTimer->GetTimeInMs(0) : 0;
}
