#pragma once

#include <Common/Profile/VQProfiler.h>

/// Brackets a region for the profiler from here to the end of the scope, whichever way that is left.
///
///     void CWorld::Update()
///     {
///         const CVQProfileSample oSample("World");
///         ...
///     }
class CVQProfileSample
{
public:
    /// Begins the region.
    ///
    /// @param pName  its name: a constant, since only the address is kept
    explicit CVQProfileSample(const char* pName) { g_pFnBeginSample(pName); }

    /// Ends the region.
    ~CVQProfileSample() { g_pFnEndSample(); }

    CVQProfileSample(const CVQProfileSample&) = delete;
    CVQProfileSample& operator=(const CVQProfileSample&) = delete;
};
