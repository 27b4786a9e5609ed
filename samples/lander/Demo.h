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
    std::string Play(int nSeconds, std::chrono::steady_clock::time_point oStart)
    {
        const int nFrames = nSeconds * TICKS_A_SECOND;
        m_aTimes.assign(static_cast<std::size_t>(nFrames), 0.0F); // all of it now: what grows later would be a leak
        double dFirst = 0;
        std::size_t nMemory = 0;
        for (int nFrame = 0; nFrame < nFrames; ++nFrame)
        {
            PressKeys(nFrame);
            const auto oFrame = std::chrono::steady_clock::now();
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
                nMemory = GetResidentMemory();
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

    static double MillisecondsSince(std::chrono::steady_clock::time_point oStart)
    {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - oStart).count();
    }

    void PressKeys(int nFrame)
    {
        for (const auto& [nTick, pKeys] : KEYS)
        {
            if (nFrame % PERIOD == nTick)
                m_aKeys.insert(m_aKeys.end(), pKeys, pKeys + std::strlen(pKeys));
        }
        const std::int32_t nState = m_oGame.GetFlight().m_nState;
        m_nEnded = nState != flightFlying ? m_nEnded + 1 : 0;
        m_nLanded += m_nEnded == 1 && nState == flightLanded ? 1 : 0;
        m_nCrashed += m_nEnded == 1 && nState == flightCrashed ? 1 : 0;
        if (m_nEnded == BETWEEN_LEVELS)
            GoOn();
        m_oGame.SteerByItself();
    }

    std::string MakeTable(int nSeconds, double dFirst, std::size_t nMemory)
    {
        std::string sTable;
        const auto Add = [&](const char* pFormat, auto... aValues)
        { sTable += ~CVQString(sctFormat, pFormat, aValues...) + std::string("\n"); };
        double dAll = 0;
        for (const float fTime : m_aTimes)
            dAll += static_cast<double>(fTime);
        std::sort(m_aTimes.begin(), m_aTimes.end());
        const auto Time = [&](std::size_t nPercent)
        { return static_cast<double>(m_aTimes[(m_aTimes.size() - 1) * nPercent / 100]) * 1000; };
        const sAssetCounts& oCounts = CAssets::GetCounts();

        Add("files        %u from lander.arc, %u loose: %u bytes in %.2f ms", oCounts.m_nArchived, oCounts.m_nLoose,
            oCounts.m_nBytes, oCounts.m_dMilliseconds);
        Add("first frame  %.1f ms after the start", dFirst);
        Add("frames       %d of 120 x 40, %.0f a second, %.0f bytes for the terminal",
            static_cast<int>(m_aTimes.size()), static_cast<double>(m_aTimes.size()) * 1000 / dAll,
            static_cast<double>(m_nOutput));
        Add("frame time   50 %%: %.1f us   99 %%: %.1f us   100 %%: %.1f us", Time(50), Time(99), Time(100));
        const double dConsole = m_oProfiler.GetShare("Console");
        const double dLog = m_oProfiler.GetShare("Log");
        const double dOwn = m_oProfiler.GetOwnShare();
        const double dOfAFrame = dAll / static_cast<double>(m_aTimes.size()) * TICKS_A_SECOND / 1000; // that is shown
        Add("profiler     %d regions, %u samples; console %.2f %%, log %.2f %%, profiler %.2f %% of the frame",
            m_oProfiler.GetSampleCount(), static_cast<unsigned>(m_oProfiler.GetRawSamples().size()), dConsole, dLog,
            dOwn);
        Add("at 60/s      %.3f %% of a frame for the three", (dConsole + dLog + dOwn) * dOfAFrame);
        Add("log          %u records", CJournal::GetCount());
        Add("memory       %u KiB half-way, %u KiB at the end", static_cast<unsigned>(nMemory),
            static_cast<unsigned>(GetResidentMemory()));
        Add("RESULT       seconds %d, landed %d, crashed %d, level %d, score %d, states %08x%08x", nSeconds, m_nLanded,
            m_nCrashed, m_nLevel + 1, static_cast<int>(m_oGame.GetFlight().m_nScore),
            static_cast<unsigned>(m_nSum >> 32), static_cast<unsigned>(m_nSum));
        return sTable;
    }

    std::vector<float> m_aTimes; // of the frames, in milliseconds
    std::uint64_t m_nSum = 14695981039346656037ULL;
    int m_nLanded = 0, m_nCrashed = 0;
    int m_nEnded = 0; // ticks since the flight ended
};
