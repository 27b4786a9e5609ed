#pragma once

// Shows: the debug console (Common/DebugStatistics) with controls of the game's own, and the light profiler
// (Common/Profile/VQProfilerOld.h) on a page of it.
// Why: who builds a game wants to see and change its values while it runs. The library keeps pages, focus and command
// line; a control of one's own takes a few lines, and the drawing is the game's.

#include "Journal.h"
#include "Screen.h"
#include "Terminal.h"

#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsPage.h>
#include <Common/DebugStatistics/VQDebugStatisticsSeparator.h>
#include <Common/Profile/VQProfilerOld.h>

#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

/// A line of a page, "LABEL: VALUE", of which the game says how it shows itself and what it does with what is typed.
class CControl : public CVQDebugStatisticsControl
{
public:
    using Get = std::function<std::string()>;
    using Set = std::function<void(const CVQString&)>;

    CControl(CVQDebugStatisticsPage& oPage, const char* pLabel, Get fnGet, Set fnSet = nullptr)
        : CVQDebugStatisticsControl(pLabel, &oPage), m_fnGet(std::move(fnGet)), m_fnSet(std::move(fnSet))
    {
        oPage.AddChild(this);
    }

    int Print(char*& pBuffer, int& nRemaining) override
    {
        return CopyText((GetLabel() + m_fnGet() + '\n').c_str(), pBuffer, nRemaining);
    }

    bool CanEdit() const override { return m_fnSet != nullptr; }

    void SetValueFromString(const CVQString& oText) override
    {
        if (CanEdit())
            m_fnSet(oText);
    }

private:
    Get m_fnGet;
    Set m_fnSet;
};

/// Brackets a part of the frame for both profilers: for the one of sessions always, since that costs next to nothing
/// while none runs, and for the light one while its page is shown.
class CRegion
{
public:
    explicit CRegion(const char* pName) : m_oSample(pName), m_pName(pName)
    {
        if (s_pLight != nullptr)
            s_pLight->SampleBegin(pName);
    }

    ~CRegion()
    {
        if (s_pLight != nullptr)
            s_pLight->SampleEnd(m_pName);
    }

    static inline CVQProfilerOld* s_pLight = nullptr;

private:
    const CVQProfileSample m_oSample;
    const char* m_pName;
};

/// The console of the game: its pages, and its place on the picture.
class CConsole
{
public:
    /// @param fnNextLanguage  what the choice of the language does
    CConsole(std::int32_t& nGravity, bool& bUnbreakable, CControl::Get fnLanguage, CControl::Set fnNextLanguage)
        : m_oGravity(
              m_oGame, "Gravity: ", [&]() -> std::string { return ~CVQString(sctFormat, "%.3f", nGravity / 1000.0); },
              [&](const CVQString& oText)
              {
                  const bool bNumber = (~oText)[0] >= '0' && (~oText)[0] <= '9'; // any unknown command comes here
                  if (bNumber && oText.ToFloat() <= 20)
                      nGravity = static_cast<std::int32_t>(std::lround(oText.ToFloat() * 1000));
              }),
          m_oUnbreakable(
              m_oGame, "Unbreakable: ", [&] { return bUnbreakable ? "[x]" : "[ ]"; },
              [&](const CVQString&) { bUnbreakable = !bUnbreakable; }),
          m_oLanguage(m_oGame, "Language: ", std::move(fnLanguage), std::move(fnNextLanguage)),
          m_oGraph((VQDebugSeparator(m_oGame, 0, "full at 1/30 second"), m_oGame), "Frames: ",
                   [this] { return m_sTimes.substr(m_nFrame % TIMES) + m_sTimes.substr(0, m_nFrame % TIMES) + '|'; }),
          m_oRegions(m_oProfile, "", [this] { return m_sProfile; }), m_oLines(m_oJournal, "", &CJournal::GetLines)
    {
        CVQDebugStatistics::Initialize();
        Show(false);
    }

    ~CConsole()
    {
        for (CVQDebugStatisticsPage* pPage : {&m_oGame, &m_oProfile, &m_oJournal})
            CVQDebugStatistics::RemoveControl(pPage); // the console would keep it
        delete m_oGame.GetSlot(0);                    // a separator is the caller's
    }

    static bool IsShown() { return CVQDebugStatistics::IsVisible(); }

    void Show(bool bShow)
    {
        CVQDebugStatistics::m_bStatisticsVisible = bShow;
        m_bChanged = true;
    }

    /// Takes a key while it is shown.
    void PressKey(int nKey)
    {
        static const std::map<int, int> s_oKeys = {{keyLeft, dskPreviousPage},  {keyRight, dskNextPage},
                                                   {keyUp, dskPreviousControl}, {keyDown, dskNextControl},
                                                   {keyEnter, dskExecute},      {keyBackspace, dskBackspace}};
        if (const auto itKey = s_oKeys.find(nKey); itKey != s_oKeys.end())
            CVQDebugStatistics::ProcessInput(itKey->second);
        else if (nKey >= ' ' && nKey <= '~')
            CVQDebugStatistics::ProcessInput(nKey);
        m_bChanged = true; // the answer is seen at once
    }

    /// To be called around each frame.
    void BeginFrame()
    {
        CRegion::s_pLight =
            IsShown() && CVQDebugStatistics::GetCurrentControl() == &m_oProfile ? &m_oProfiler : nullptr;
        if (CRegion::s_pLight != nullptr)
            m_oProfiler.Begin();
    }

    void EndFrame(double dMilliseconds)
    {
        if (std::exchange(CRegion::s_pLight, nullptr) != nullptr)
        {
            m_oProfiler.End();
            m_sProfile = MakeProfile(); // now, as the shares are those of frames that have ended
        }
        constexpr char HEIGHTS[] = " .:-=+*#";
        const double dHeight = std::clamp(dMilliseconds * 30 / 1000, 0.0, 1.0) * 7;
        m_sTimes[m_nFrame++ % TIMES] = HEIGHTS[static_cast<std::size_t>(dHeight)];
    }

    void Draw(CScreen& oScreen)
    {
        if (!IsShown())
            return;
        if (std::exchange(m_bChanged, false) || m_nFrame % FRAMES_A_TEXT == 0)
        {
            std::array<char, 2048> aText;
            const int nSize = CVQDebugStatistics::Print(aText.data(), static_cast<int>(aText.size()));
            m_sText.assign(aText.data(), static_cast<std::size_t>(nSize));
            m_nHeight = static_cast<int>(std::count(m_sText.begin(), m_sText.end(), '\n')) + 1;
        }
        oScreen.Fill(0, 1, WIDTH, m_nHeight);
        oScreen.Write(1, 1, m_sText, colourConsole);
    }

private:
    static constexpr std::size_t FRAMES_A_TEXT = 6; // nobody reads numbers that change sixty times a second
    static constexpr int WIDTH = 56;
    static constexpr std::size_t TIMES = 30; // frames of the graph

    std::string MakeProfile()
    {
        std::string sLines = "region      share  calls\n";
        CVQProfileData oData;
        for (int i = 0; i < m_oProfiler.GetNumSamples(); ++i)
        {
            if (m_oProfiler.GetSampleData(i, oData))
                sLines += ~CVQString(sctFormat, "  %-10s %3.0f %%  %5d\n", oData.GetName(),
                                     static_cast<double>(oData.GetAverageTimePerFrame()), oData.GetNumInstances());
        }
        return sLines;
    }

    CVQDebugStatisticsPage m_oGame{"Game"}, m_oProfile{"Frame"}, m_oJournal{"Log"}; // each registers itself
    CControl m_oGravity, m_oUnbreakable, m_oLanguage, m_oGraph, m_oRegions, m_oLines;
    CVQProfilerOld m_oProfiler;
    std::string m_sProfile;
    std::string m_sText; // as it was printed last
    int m_nHeight = 0;   // its lines
    std::string m_sTimes = std::string(TIMES, ' ');
    std::size_t m_nFrame = 0;
    bool m_bChanged = true;
};
