#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// What the profiler found out about one region.
struct sVQProfileAnalysedSample
{
    /// A region without a name; all numbers are 0.
    sVQProfileAnalysedSample() { m_aName[0] = '\0'; }

    /// A region of a name, cut at 255 bytes; null counts as empty. All numbers are 0.
    explicit sVQProfileAnalysedSample(const char* pName)
    {
        std::strncpy(m_aName, pName != nullptr ? pName : "", sizeof m_aName - 1);
        m_aName[sizeof m_aName - 1] = '\0';
    }

    /// Whether the names are the same, in the same case.
    bool operator==(const sVQProfileAnalysedSample& oOther) const { return std::strcmp(m_aName, oOther.m_aName) == 0; }

    char m_aName[256];               ///< name of the region
    std::int64_t m_nTotalCycles = 0; ///< cycles of all its calls
    float m_fPercentage = 0.0F;      ///< its share of the region "MainLoop", in percent
    std::int32_t m_nSamples = 0;     ///< number of its calls
    double m_dTotalTime = 0.0;       ///< milliseconds of all its calls
    double m_dAverageTime = 0.0;     ///< milliseconds of a call
};

static_assert(sizeof(sVQProfileAnalysedSample) == 288 && offsetof(sVQProfileAnalysedSample, m_nTotalCycles) == 256 &&
              offsetof(sVQProfileAnalysedSample, m_fPercentage) == 264 &&
              offsetof(sVQProfileAnalysedSample, m_nSamples) == 268 &&
              offsetof(sVQProfileAnalysedSample, m_dTotalTime) == 272 &&
              offsetof(sVQProfileAnalysedSample, m_dAverageTime) == 280);
