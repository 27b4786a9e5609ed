#pragma once

#include <Common/DebugStatistics/VQDebugStatistics.h>

/// Gives a test the console as it is at load, and leaves it so.
class CConsoleGuard
{
public:
    CConsoleGuard() { Restore(); }

    ~CConsoleGuard() { Restore(); }

    CConsoleGuard(const CConsoleGuard&) = delete;
    CConsoleGuard& operator=(const CConsoleGuard&) = delete;

private:
    static void Restore()
    {
        CVQDebugStatistics::m_oControls.clear();
        CVQDebugStatistics::m_lCurrentControl = -1;
        CVQDebugStatistics::m_oEntryBuffer = CVQString();
        CVQDebugStatistics::m_pInterpreter = nullptr;
        CVQDebugStatistics::m_bStatisticsVisible = true;
        CVQDebugStatistics::m_bStatisticsEditable = true;
    }
};
