#pragma once

#include <Common/Profile/VQProfiler.h>

/// A small main loop that is profiled: frames with a world, physics in it, and drawing.
class CDemo
{
public:
    /// Runs so many frames in a session.
    void Run(int nFrames);

    /// Ends the session: "VQProfiler.htm", which is opened if the user has asked for it, and "Graph.raw" of the frames.
    void WriteReport(bool bOpen);

    /// The session as a trace, see MakeTrace().
    std::string GetTrace();

    /// Milliseconds of the longest frame.
    double GetLongestFrame();

    /// Regions that the session has found.
    int GetRegionCount() const { return m_oProfiler.GetSampleCount(); }

private:
    class CProfiler : public CVQProfiler
    {
    public:
        double GetClockSpeed() const { return m_dClockSpeed; }
    };

    CProfiler m_oProfiler;
};
