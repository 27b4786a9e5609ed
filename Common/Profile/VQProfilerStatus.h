#pragma once

#include <Common/Export.h>

/// One session of the profiler, from here to the end of the scope.
///
///     CVQProfiler oProfiler;
///     {
///         const CVQProfilerStatus oStatus;
///         RunGame();
///     } // here the report is written and opened
///
/// A copy begins no session of its own; whichever of the two ends first ends the session.
class COMMON_API CVQProfilerStatus
{
public:
    /// Sets g_bVQProfilerEnabled, and begins the session "VQProfiler unnamed Session" if there is a profiler.
    CVQProfilerStatus();

    CVQProfilerStatus(const CVQProfilerStatus&) = default;            ///< Begins nothing.
    CVQProfilerStatus& operator=(const CVQProfilerStatus&) = default; ///< Begins nothing.

    /// Ends the session, with analysis and report, if there is a profiler.
    virtual ~CVQProfilerStatus();
};
