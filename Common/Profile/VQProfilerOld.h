#pragma once

#include <Common/Export.h>
#include <Common/Profile/VQProfileData.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/// The light profiler: the shares that regions have of each frame, smoothed, for a display on the screen.
///
/// It measures with the system's millisecond clock, costs a few string compares a call, and needs no session. For what
/// takes less than milliseconds there is CVQProfiler.
///
///     CVQProfilerOld oProfiler;
///     while (bRunning)
///     {
///         oProfiler.Begin();
///         oProfiler.SampleBegin("World");
///         UpdateWorld();
///         oProfiler.SampleEnd("World");
///         oProfiler.End();
///
///         CVQProfileData oData;
///         for (int i = 0; i < oProfiler.GetNumSamples(); ++i)
///             if (oProfiler.GetSampleData(i, oData))
///                 Print(oData.GetName(), oData.GetAverageTimePerFrame());
///     }
///
/// Regions may be nested. A region's place is the order in which it is first begun in a frame, and what is remembered
/// from frame to frame goes by place, not by name: begin regions in the same order in every frame. Names of more than
/// 255 bytes count as cut there.
///
/// An object belongs to one thread.
class COMMON_API CVQProfilerOld
{
public:
    /// VQGetProfilerOld() returns this profiler from now on.
    ///
    /// @param nSamples  how many regions a frame may have; below 0 counts as 0
    explicit CVQProfilerOld(int nSamples = 50);

    CVQProfilerOld(const CVQProfilerOld&) = delete;
    CVQProfilerOld& operator=(const CVQProfilerOld&) = delete;

    /// VQGetProfilerOld() returns null from now on.
    virtual ~CVQProfilerOld();

    /// Begins a frame without regions.
    void Begin();

    /// Ends the frame; then the data can be read.
    void End();

    /// Begins a region, again if the frame had it before. The case of the name does not count. Regions beyond the
    /// number that a frame may have are ignored.
    void SampleBegin(const char* pName);

    /// Ends a region. Here the case of the name counts: in another case it finds nothing, and the region stays open.
    /// Kept: callers rely on it.
    void SampleEnd(const char* pName);

    /// Tells about a region of the last frame, and takes this frame into what is remembered of its place: call it once
    /// a frame.
    ///
    /// A frame without length counts as one of which the region had nothing.
    ///
    /// @param nIndex  0 to GetNumSamples() - 1
    /// @return        false, and oData as it was, for other indexes, and when there is no such region or it is open
    bool GetSampleData(int nIndex, CVQProfileData& oData);

    /// How many regions a frame may have.
    int GetNumSamples() const;

private:
    struct sSample
    {
        bool m_bValid = false;
        char m_aName[256];
        std::int32_t m_nInstances;
        std::int32_t m_nOpen; // begins without an end
        float m_fStart;
        float m_fAccumulated;
        float m_fChildren;
        std::int32_t m_nParents;
    };

    struct sHistory
    {
        bool m_bValid = false;
        char m_aName[256];
        float m_fAverage; // percent, as the other two
        float m_fMinimum;
        float m_fMaximum;
    };

    bool IsIndex(int nIndex) const { return nIndex >= 0 && nIndex < m_nCount; }

    sSample& Sample(int nIndex) { return m_pSamples[static_cast<std::size_t>(nIndex)]; }

    sHistory& History(int nIndex) { return m_pHistory[static_cast<std::size_t>(nIndex)]; }

    std::span<sSample> UsedSamples();

    float GetElapsedTime() const;
    float GetExactTime() const;
    void UpdateHistoryData(int nIndex, float fPercent);
    void GetHistoryData(int nIndex, float& fAverage, float& fMinimum, float& fMaximum);

    std::unique_ptr<sSample[]> m_pSamples;
    std::unique_ptr<sHistory[]> m_pHistory;
    std::int32_t m_nCount;
    float m_fFrameStart; // seconds
    float m_fFrameEnd;
};

extern "C"
{
    /// The light profiler that was made last; null when there is none, or one has ended since.
    COMMON_API CVQProfilerOld* VQGetProfilerOld();
}
