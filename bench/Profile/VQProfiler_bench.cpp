// What the brackets of the profilers cost, and the analysis, beside the least that each could cost.

#include <Common/Profile/VQProfiler.h>
#include <Common/Profile/VQProfilerOld.h>

#include <Common/Platform/PlatformString.h>

#include <bench/support/Ratios.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <x86intrin.h>

namespace
{
// A profiler whose records can be thrown away between rounds.
class CBenchProfiler : public CVQProfiler
{
public:
    CBenchProfiler()
    {
        g_bVQProfilerEnabled = true;
        BeginSession("bench");
    }

    void Clear()
    {
        EnableSampling();
        CalibrateSampleOverhead();
    }

    void ForgetResults() { m_oSamples.clear(); }

    double GetOverheadInNanoseconds() const { return m_nSampleOverhead / m_dClockSpeed * 1e9; }

    using CVQProfiler::CollectSampleTimes;
    using CVQProfiler::DisableSampling;
};

constexpr int PAIRS = 20000;

// A round is 20,000 pairs, so that the records stay in the cache of the processor.
void SampleOurs(benchmark::State& oState)
{
    CBenchProfiler oProfiler;
    for (auto _ : oState)
    {
        oProfiler.Clear();
        const auto oStart = std::chrono::steady_clock::now();
        for (int i = 0; i < PAIRS; ++i)
        {
            g_pFnBeginSample("region");
            g_pFnEndSample();
        }
        oState.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - oStart).count());
    }
}

void SampleBare(benchmark::State& oState)
{
    std::vector<sVQProfileRawSample> aSamples(2 * PAIRS);
    for (auto _ : oState)
    {
        sVQProfileRawSample* pSample = aSamples.data();
        const auto oStart = std::chrono::steady_clock::now();
        for (int i = 0; i < PAIRS; ++i)
        {
            pSample[0].m_nCounter = __rdtsc();
            benchmark::ClobberMemory();
            pSample[1].m_nCounter = __rdtsc();
            benchmark::ClobberMemory();
            pSample += 2;
        }
        oState.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - oStart).count());
    }
}

void PairWithoutSession(benchmark::State& oState)
{
    g_bVQProfilerEnabled = false;
    const CVQProfiler oProfiler;
    for (auto _ : oState)
    {
        g_pFnBeginSample("region");
        g_pFnEndSample();
    }
}

void Nothing(const char*) {}

void NothingAtAll() {}

void (*g_pNothing)(const char*) = &Nothing;
void (*g_pNothingAtAll)() = &NothingAtAll;

void EmptyCalls(benchmark::State& oState)
{
    benchmark::DoNotOptimize(g_pNothing);
    benchmark::DoNotOptimize(g_pNothingAtAll);
    for (auto _ : oState)
    {
        g_pNothing("region");
        g_pNothingAtAll();
        benchmark::ClobberMemory(); // the pointers are read each time, as the hooks are
    }
}

// A full buffer: 1,000 names, 64 levels deep.
class CFullBuffer
{
public:
    CFullBuffer()
    {
        constexpr int RECORDS = 3145728;
        constexpr int DEPTH = 64;
        for (int i = 0; i < 1000; ++i)
            m_aNames.push_back("region number " + std::to_string(i));

        m_oProfiler.Clear();
        g_pFnBeginSample("MainLoop");
        int nName = 0;
        for (int nRecord = 1; nRecord + 2 * DEPTH < RECORDS;)
        {
            for (int i = 0; i < DEPTH - 1; ++i, ++nRecord)
                g_pFnBeginSample(m_aNames[static_cast<std::size_t>(nName++ % 1000)].c_str());
            for (int i = 0; i < DEPTH - 1; ++i, ++nRecord)
                g_pFnEndSample();
        }
        g_pFnEndSample();
        m_oProfiler.DisableSampling();
    }

    CBenchProfiler& GetProfiler() { return m_oProfiler; }

private:
    CBenchProfiler m_oProfiler;
    std::vector<std::string> m_aNames;
};

void AnalyseOurs(benchmark::State& oState)
{
    CFullBuffer oBuffer;
    for (auto _ : oState)
    {
        oBuffer.GetProfiler().ForgetResults();
        oBuffer.GetProfiler().ProcessSampleData();
    }
    oState.counters["records"] = static_cast<double>(oBuffer.GetProfiler().GetRawSamples().size());
    oState.counters["names"] = oBuffer.GetProfiler().GetSampleCount();
}

void AnalysePass(benchmark::State& oState)
{
    CFullBuffer oBuffer;
    for (auto _ : oState)
    {
        std::uint64_t nSum = 0;
        for (const sVQProfileRawSample& oRecord : oBuffer.GetProfiler().GetRawSamples())
            nSum += oRecord.m_nCounter;
        benchmark::DoNotOptimize(nSum);
    }
}

// What an empty region seems to take after its overhead was taken off: the mean of 1,000,000.
void EmptyRegion(benchmark::State& oState)
{
    double dLeft = 0.0;
    double dOverhead = 0.0;
    for (auto _ : oState)
    {
        CBenchProfiler oProfiler;
        for (int i = 0; i < 1000000; ++i)
        {
            g_pFnBeginSample("empty");
            g_pFnEndSample();
        }
        oProfiler.EndSession(true, false);
        dLeft = oProfiler.GetSample(0).m_dAverageTime * 1e6;
        dOverhead = oProfiler.GetOverheadInNanoseconds();
    }
    oState.counters["left_ns"] = dLeft; // aim: below 2
    oState.counters["overhead_ns"] = dOverhead;
}

constexpr int REGIONS = 50;

std::vector<std::string> MakeRegionNames()
{
    std::vector<std::string> aNames;
    for (int i = 0; i < REGIONS; ++i)
        aNames.push_back(std::to_string(i) + " region of a frame");
    return aNames;
}

// A pair of each of 50 regions.
void LegacyOurs(benchmark::State& oState)
{
    const std::vector<std::string> aNames = MakeRegionNames();
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    for (const std::string& sName : aNames)
        oProfiler.SampleBegin(sName.c_str());
    for (const std::string& sName : aNames)
        oProfiler.SampleEnd(sName.c_str());
    for (auto _ : oState)
    {
        for (const std::string& sName : aNames)
        {
            oProfiler.SampleBegin(sName.c_str());
            oProfiler.SampleEnd(sName.c_str());
        }
    }
}

// For each: 50 comparisons, as many as finding it in either call takes on average, and two readings of the clock.
void LegacyCompares(benchmark::State& oState)
{
    const std::vector<std::string> aNames = MakeRegionNames();
    for (auto _ : oState)
    {
        for (const std::string& sName : aNames)
        {
            int nSame = 0;
            for (const std::string& sOther : aNames)
                nSame += STR_stricmp(sName.c_str(), sOther.c_str()) == 0 ? 1 : 0;
            benchmark::DoNotOptimize(nSame);
            benchmark::DoNotOptimize(std::chrono::steady_clock::now());
            benchmark::DoNotOptimize(std::chrono::steady_clock::now());
        }
    }
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("20,000 pairs in a session/ours", SampleOurs)->UseManualTime();       // aim: within 1.15
    RegisterBenchmark("20,000 pairs in a session/bare reads", SampleBare)->UseManualTime(); //
    RegisterBenchmark("pair without a session/ours", PairWithoutSession);                   // aim: within 1.05
    RegisterBenchmark("pair without a session/empty calls", EmptyCalls);                    //
    RegisterBenchmark("analysis/ours", AnalyseOurs)->Unit(benchmark::kMillisecond);         // aim: within 15
    RegisterBenchmark("analysis/one pass", AnalysePass)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("empty region/ours", EmptyRegion)->Iterations(3)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("legacy pair/ours", LegacyOurs); // aim: within 1.2
    RegisterBenchmark("legacy pair/compares and clocks", LegacyCompares);
    return RunWithRatios(nArguments, ppArguments);
}
