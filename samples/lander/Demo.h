#pragma once

// Shows: reading what the profiler has measured (Common/Profile/VQProfiler.h).
// Why: a game that plays itself the same way every time is its own test, and its own benchmark.

#include "Application.h"

/// The game without a terminal, steered by itself.
class CDemo : private CApplication
{
public:
    CDemo() : CApplication(nullptr) {}

    /// Plays a frame for each sixtieth of a second, as fast as it can, and gives a table of what it did.
    std::string Play(int nSeconds, Clock::time_point oStart)
    {
        const int nFrames = nSeconds * TICKS_A_SECOND;
        m_aTimes.assign(static_cast<std::size_t>(nFrames), 0.0F); // all of it now: what grows later would be a leak
        double dFirst = 0;
        unsigned nMemory = 0;
        for (int nFrame = 0; nFrame < nFrames; ++nFrame)
        {
            PressKeys(nFrame);
            const auto oFrame = Clock::now();
            m_oTimer.UpdateAll();
            PlayFrame(1);
            m_aTimes[static_cast<std::size_t>(nFrame)] = static_cast<float>(MillisecondsSince(oFrame));
            m_nSum = m_oGame.AddTo(m_nSum);
            if (nFrame == 0)
            {
                dFirst = MillisecondsSince(oStart);
                BeginProfile("lander --demo");
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
    static constexpr int BETWEEN_LEVELS = 90;   // ticks

    // What a player would press at a tick; again and again with this period.
    static constexpr int PERIOD = 1200;
    static constexpr std::pair<int, const char*> KEYS[] = {
        {200, "g"}, {300, "x"}, {420, "\tgravity 1.62\n"}, {480, "help\n"}, {600, "\t"}, {700, "g"}, {760, "o"}};

    void PressKeys(int nFrame)
    {
        for (const auto& [nTick, pKeys] : KEYS)
        {
            if (nFrame % PERIOD == nTick)
                m_sTyped += pKeys;
        }
        const std::int32_t nState = m_oGame.GetFlight().m_nState;
        m_nEnded = nState != FLIGHT_FLYING ? m_nEnded + 1 : 0;
        m_nLanded += m_nEnded == 1 && nState == FLIGHT_LANDED ? 1 : 0;
        m_nCrashed += m_nEnded == 1 && nState == FLIGHT_CRASHED ? 1 : 0;
        if (m_nEnded == BETWEEN_LEVELS)
            GoOn();
        m_oGame.SteerByItself();
    }

    // Share of a region in percent; 0 when there is none of the name.
    double GetShare(const char* pRegion) const
    {
        const int nIndex = m_oProfiler.GetSampleIndexByName(pRegion);
        return nIndex != -1 ? static_cast<double>(m_oProfiler.GetSample(nIndex).m_fPercentage) : 0.0;
    }

    std::string MakeTable(int nSeconds, double dFirst, unsigned nMemory)
    {
        std::string sTable;
        const auto Add = [&](const char* pFormat, auto... aValues)
        { sTable += ~CVQString(sctFormat, pFormat, aValues...) + std::string("\n"); };
        double dAll = 0;
        for (const float fTime : m_aTimes)
            dAll += static_cast<double>(fTime);
        std::sort(m_aTimes.begin(), m_aTimes.end());
        const auto dCount = static_cast<double>(m_aTimes.size());
        const auto Time = [&](std::size_t nPercent)
        { return static_cast<double>(m_aTimes[(m_aTimes.size() - 1) * nPercent / 100]) * 1000; };

        Add("files        %u from lander.arc, %u loose: %u bytes in %.2f ms", CAssets::s_nArchived.load(),
            CAssets::s_nLoose.load(), CAssets::s_nBytes.load(), CAssets::s_nMicroseconds.load() / 1000.0);
        Add("first frame  %.1f ms after the start", dFirst);
        Add("frames       %.0f of 120 x 40, %.0f a second, %.0f bytes for the terminal", dCount, dCount * 1000 / dAll,
            static_cast<double>(m_nOutput));
        Add("frame time   50 %%: %.1f us   99 %%: %.1f us   100 %%: %.1f us", Time(50), Time(99), Time(100));
        const double dConsole = GetShare("Console");
        const double dLog = GetShare("Log");
        const auto& oLoop = m_oProfiler.GetSample(m_oProfiler.GetSampleIndexByName("MainLoop"));
        const double dOwn = static_cast<double>(m_oProfiler.GetRawSamples().size()) / 2 *
                            m_oProfiler.m_nSampleOverhead / static_cast<double>(oLoop.m_nTotalCycles) *
                            100; // each pair takes as long as measured before
        Add("profiler     %d regions, %u samples; console %.2f %%, log %.2f %%, profiler %.2f %% of the frame",
            m_oProfiler.GetSampleCount(), static_cast<unsigned>(m_oProfiler.GetRawSamples().size()), dConsole, dLog,
            dOwn);
        Add("log          %u records", CJournal::s_nReports);
        Add("memory       %u KiB half-way, %u KiB at the end", nMemory, GetPeakMemory());
        Add("RESULT       seconds %d, landed %d, crashed %d, level %d, score %d, states %08x%08x", nSeconds, m_nLanded,
            m_nCrashed, static_cast<int>(m_oGame.GetFlight().m_nLevel) + 1,
            static_cast<int>(m_oGame.GetFlight().m_nScore), static_cast<unsigned>(m_nSum >> 32),
            static_cast<unsigned>(m_nSum));
        return sTable;
    }

    std::vector<float> m_aTimes; // of the frames, in milliseconds
    std::uint64_t m_nSum = 14695981039346656037ULL;
    int m_nLanded = 0, m_nCrashed = 0;
    int m_nEnded = 0; // ticks since the flight ended
};
