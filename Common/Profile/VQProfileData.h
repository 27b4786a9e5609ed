#pragma once

#include <Common/Export.h>

#include <cstdint>

/// What CVQProfilerOld found out about one region: for a display.
class COMMON_API CVQProfileData
{
public:
    /// All is empty or 0, until CVQProfilerOld::GetSampleData() fills it.
    CVQProfileData();

    CVQProfileData(const CVQProfileData&) = default;            ///< Copies all.
    CVQProfileData& operator=(const CVQProfileData&) = default; ///< Copies all.
    virtual ~CVQProfileData();

    /// Name of the region.
    const char* GetName() const;

    /// Share of the frame that was spent in the region and in none inside it, in percent, smoothed.
    float GetAverageTimePerFrame() const;

    /// The least of such shares, in percent; it drifts back to the present one.
    float GetMinimumTimePerFrame() const;

    /// The greatest of such shares, in percent; it drifts back to the present one.
    float GetMaximumTimePerFrame() const;

    /// Seconds spent in the region in this frame, with all that is inside it.
    float GetAbsoluteTimePerFrame() const;

    /// How often the region was begun in this frame.
    int GetNumInstances() const;

    /// How many regions were open when it ended last.
    int GetNumParents() const;

private:
    friend class CVQProfilerOld;

    char m_aName[256];
    float m_fAverage;
    float m_fMinimum;
    float m_fMaximum;
    float m_fAbsolute;
    std::int32_t m_nInstances;
    std::int32_t m_nParents;
};
