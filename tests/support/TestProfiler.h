#pragma once

#include <Common/Profile/VQProfiler.h>

#include <cstdint>
#include <string>
#include <vector>

/// A profiler whose inner operations and fields a test can reach, and whose records it can write.
class CTestProfiler : public CVQProfiler
{
public:
    using CVQProfiler::AddRawSamplePair;
    using CVQProfiler::CalculateSampleDetails;
    using CVQProfiler::CalibrateSampleOverhead;
    using CVQProfiler::CollectSampleTimes;
    using CVQProfiler::CyclesToMs;
    using CVQProfiler::DisableSampling;
    using CVQProfiler::EnableSampling;
    using CVQProfiler::GetCPUClockspeed;
    using CVQProfiler::Initialize;
    using CVQProfiler::IsEndSample;
    using CVQProfiler::IsMainLoopStartSample;
    using CVQProfiler::IsStartSample;
    using CVQProfiler::RawSampleDataHasMainloopSamples;

    using CVQProfiler::m_bCollecting;
    using CVQProfiler::m_bSessionActive;
    using CVQProfiler::m_dClockSpeed;
    using CVQProfiler::m_dSessionDuration;
    using CVQProfiler::m_nFrame;
    using CVQProfiler::m_nSampleOverhead;
    using CVQProfiler::m_nSessionStart;
    using CVQProfiler::m_oSamples;
    using CVQProfiler::m_oSessionName;

    /// Throws the records away, and lets a cycle last a nanosecond. The buffer must be there.
    void Clear()
    {
        EnableSampling();
        CalibrateSampleOverhead();
        m_nSampleOverhead = 0;
        m_dClockSpeed = 1e9;
    }

    /// Writes a begin (with a name) or an end (without) that came at a count of the cycle counter.
    void Put(const char* pName, std::uint64_t nCounter)
    {
        if (pName != nullptr)
            g_pFnBeginSample(pName);
        else
            g_pFnEndSample();
        const_cast<sVQProfileRawSample&>(GetRawSamples().back()).m_nCounter = nCounter;
    }

    /// Writes a call of a region.
    void PutCall(const char* pName, std::uint64_t nStart, std::uint64_t nEnd)
    {
        Put(pName, nStart);
        Put(nullptr, nEnd);
    }

    /// "name cycles samples, ..." of all that the analysis found.
    std::string Describe() const
    {
        std::string sText;
        for (const sVQProfileAnalysedSample& oSample : m_oSamples)
            sText += (sText.empty() ? "" : ", ") + std::string(oSample.m_aName) + " " +
                     std::to_string(oSample.m_nTotalCycles) + " " + std::to_string(oSample.m_nSamples);
        return sText;
    }
};
