#pragma once

#include <Common/Export.h>

/// The time of the game, from anywhere: channel 0 of the one timer (see CVQTimer).
///
///     const double dNow = CTimer::GetCurTime();
class COMMON_API CTimer
{
public:
    virtual ~CTimer();

    /// Time of channel 0 in seconds; 0 when there is no timer.
    static double GetCurTime();

    /// Time of channel 0 in whole milliseconds; 0 when there is no timer. See CVQTimer::GetTimeInMs().
    static unsigned long GetCurTimeInMs();
};
