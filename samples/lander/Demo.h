#pragma once

// Shows: reading what the profiler has measured (Common/Profile/VQProfiler.h).
// Why: a game that plays itself the same way every time is its own test, and its own benchmark.

#include "Application.h"

#include <numeric>

/// The game without a terminal, steered by itself.
class CDemo : private CApplication
{
public:
    CDemo() : CApplication(nullptr) {}

    /// Plays a frame for each sixtieth of a second, as fast as it can, and gives a table of what it did.
    std::string Play(int nSeconds, Clock::time_point oStart)
    {
        const int nFrames = nSeconds * TICKS_A_SECOND;
        m_aTimes.assign(static_cast<std::size_t>(nFrames), 0.0); // all of it now: what grows later would be a leak
        double dFirst = 0;
        unsigned nMemory = 0;
        for (int nFrame = 0; nFrame < nFrames; ++nFrame)
        {
            PressKeys(nFrame);
            const auto oFrame = Clock::now();
            m_oTimer.UpdateAll();
            PlayFrame(1);
            m_aTimes[static_cast<std::size_t>(nFrame)] = MillisecondsSince(oFrame);
            m_nSum = m_oGame.AddTo(m_nSum);
            if (nFrame == 0)
            {
                dFirst = MillisecondsSince(oStart);
                m_oProfiler.BeginSession("lander --demo");
            }
            if (nFrame == std::min(nFrames, MOST_PROFILED) - 1)
                m_oProfiler.EndSession(true, false);
            if (nFrame == nFrames / 2)
                nMemory = GetPeakMemory();
        }
        return MakeTable(nSeconds, dFirst, nMemory);
    }

private:
    static constexpr int MOST_PROFILED = 36000; // frames; the profiler ends the program when its records are full

    // Ticks from a flight to the next; and what a player would press at a tick, again and again with this period, or
    // once at a tick behind it.
    static constexpr int BETWEEN_FLIGHTS = 90, PERIOD = 1200;
    static constexpr std::pair<int, const char*> KEYS[] = {
        {200, "g"}, {300, "x"}, {420, "\t"}, {1620, "gravity 1.62\n"}, {540, "\t"}, {700, "g"}, {760, "o"}};

    void PressKeys(int nFrame)
    {
        for (const auto& [nTick, pKeys] : KEYS)
            m_sTyped += nFrame % PERIOD == nTick || nFrame == nTick ? pKeys : "";
        const std::int32_t nState = m_oGame.GetFlight().m_nState;
        m_nEnded = nState != FLIGHT_FLYING ? m_nEnded + 1 : 0;
        m_aEnds[nState] += m_nEnded == 1 ? 1 : 0;
        if (m_nEnded == BETWEEN_FLIGHTS)
            GoOn();
        m_oGame.SteerByItself();
    }

    std::string MakeTable(int nSeconds, double dFirst, unsigned nMemory)
    {
        std::sort(m_aTimes.begin(), m_aTimes.end());
        const auto Time = [&](std::size_t nPercent) { return m_aTimes[(m_aTimes.size() - 1) * nPercent / 100] * 1000; };
        const auto Share = [&](const char* pRegion)
        {
            const int nIndex = m_oProfiler.GetSampleIndexByName(pRegion); // -1 when there was none
            return nIndex != -1 ? static_cast<double>(m_oProfiler.GetSample(nIndex).m_fPercentage) : 0.0;
        };
        const double dRate = nSeconds * TICKS_A_SECOND * 1000 / std::accumulate(m_aTimes.begin(), m_aTimes.end(), 0.0);
        const auto& oLoop = m_oProfiler.GetSample(m_oProfiler.GetSampleIndexByName("MainLoop"));
        const auto nSamples = static_cast<unsigned>(m_oProfiler.GetRawSamples().size());
        const double dCycles = nSamples / 2.0 * m_oProfiler.m_nSampleOverhead; // of the profiler's own
        const sFlight& o = m_oGame.GetFlight();
        return ~CVQString(
            sctFormat,
            "files        %u from lander.arc, %u loose: %u bytes in %.2f ms\n"
            "first frame  %.1f ms after the start\n"
            "frames       %d of 120 x 40, %.0f a second\n"
            "frame time   50 %%: %.1f us   99 %%: %.1f us   100 %%: %.1f us\n"
            "profiler     %d regions, %u samples; console %.2f %%, log %.2f %%, profiler %.2f %% of the frame\n"
            "log          %u records\n"
            "memory       %u KiB half-way, %u KiB at the end\n"
            "RESULT       seconds %d, landed %d, crashed %d, level %d, score %d, states %08x%08x\n",
            g_nArchived.load(), g_nLoose.load(), g_nBytes.load(), g_nMicroseconds.load() / 1000.0, dFirst,
            nSeconds * TICKS_A_SECOND, dRate, Time(50), Time(99), Time(100), m_oProfiler.GetSampleCount(), nSamples,
            Share("Console"), Share("Log"), dCycles / static_cast<double>(oLoop.m_nTotalCycles) * 100, g_nReports,
            nMemory, GetPeakMemory(), nSeconds, m_aEnds[FLIGHT_LANDED], m_aEnds[FLIGHT_CRASHED],
            static_cast<int>(o.m_nLevel) + 1, static_cast<int>(o.m_nScore), static_cast<unsigned>(m_nSum >> 32),
            static_cast<unsigned>(m_nSum));
    }

    std::vector<double> m_aTimes; // of the frames, in milliseconds
    std::uint64_t m_nSum = 14695981039346656037ULL;
    int m_aEnds[3] = {}; // flights by how they ended
    int m_nEnded = 0;    // ticks since this one has
};
