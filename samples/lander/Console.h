#pragma once

// Shows: the debug console (Common/DebugStatistics) with controls and commands of the game's own, the light profiler
// (Common/Profile/VQProfilerOld.h) on a page of it, and the log (Common/Debug/Log.h) with its classes and outputs.
// Why: who builds a game wants to see and change its values while it runs. The library keeps pages, focus and command
// line; a control of one's own takes a few lines, and the drawing is the game's. Reports go to the file Lander.log and
// to every monitor that listens (run vqlog in a second terminal), never to the standard error of the terminal that the
// picture is on.

#include "Picture.h"
#include "Terminal.h"

#include <list>

inline unsigned g_nReports = 0;

/// Reports what happened, "" for nothing. Belongs to the main thread, as the profiler that measures it.
inline void Report(eErrorClass nClass, const std::string& sText)
{
    if (sText.empty())
        return;
    const CVQProfileSample oSample("Log");
    ++g_nReports;
    _VQ_Log_Fn("samples/lander", "Lander", "game", __LINE__, 0, LOG_FILE | LOG_NETWORK, static_cast<unsigned>(nClass),
               "%s", sText.c_str());
}

/// What a command does with its number, and the numbers that it takes: by itself none.
struct sCommand
{
    std::function<void(float)> m_fnDo;
    float m_fLeast = 1, m_fMost = 0;
};

using Commands = std::map<std::string, sCommand>;

/// A line of a page, "LABEL: VALUE", of which the game says how it shows itself and what it does with what is typed.
class CControl : public CVQDebugStatisticsControl
{
public:
    CControl(CVQDebugStatisticsPage& oPage, const char* pLabel, const std::function<CVQString()>& fnGet,
             const std::function<void(const CVQString&)>& fnSet)
        : CVQDebugStatisticsControl(pLabel, &oPage), m_fnGet(fnGet), m_fnSet(fnSet)
    {
        oPage.AddChild(this);
    }

    int Print(char*& pBuffer, int& nRemaining) override
    {
        CVQString oLine(GetLabel());
        oLine += m_fnGet();
        oLine += '\n';
        return CopyText(oLine, pBuffer, nRemaining);
    }

    void SetValueFromString(const CVQString& oText) override { m_fnSet(oText); }

private:
    const std::function<CVQString()> m_fnGet;
    const std::function<void(const CVQString&)> m_fnSet;
};

/// The console of the game: its pages and commands, and its place on the picture.
class CConsole : private IVQDebugStatisticsInterpreter
{
public:
    CConsole(CGame& oGame, const Commands& oCommands) : m_oCommands(oCommands)
    {
        const auto Gravity = [&] { return CVQString(sctFormat, "%.3f", oGame.Gravity() / 1000.0); };
        Add(m_oValues, "Gravity: ", "gravity", Gravity);
        Add(m_oValues, "Paused: ", "pause", [] { return VQGetTimer()->IsPaused(GAME_TIME) ? "[x]" : "[ ]"; });
        Add(m_oValues, "Language: ", "language", [] { return CVQStringId(TEXT_LANGUAGE); });
        VQDebugSeparator(m_oValues, 0, "full at 1/30 second");
        Add(m_oValues, "Frames: ", "", [this] { return m_sTimes.c_str(); });
        Add(m_oFrame, "", "", [this] { return m_sProfile.c_str(); });
        CVQDebugStatistics::Initialize();
        CVQDebugStatistics::m_bStatisticsVisible = false;
    }

    ~CConsole() override
    {
        for (CVQDebugStatisticsPage* pPage : {&m_oValues, &m_oFrame})
            CVQDebugStatistics::RemoveControl(pPage); // the console would keep it
        delete m_oValues.GetSlot(0);                  // a separator is the caller's
    }

    static bool IsShown() { return CVQDebugStatistics::IsVisible(); }

    /// Does what a command says; false when nobody knows it, or its number is missing, too much or out of range.
    bool Do(const std::string& sCommand) const
    {
        const std::size_t nWord = std::min(sCommand.find(' '), sCommand.size());
        const auto itCommand = m_oCommands.find(sCommand.substr(0, nWord));
        if (itCommand == m_oCommands.end())
            return false;
        const auto& [fnDo, fLeast, fMost] = itCommand->second;
        char* pEnd = nullptr;
        const float fValue = std::strtof(&sCommand[nWord], &pEnd);
        const bool bNone = pEnd == &sCommand[nWord];
        const bool bRight = fLeast > fMost ? bNone : !bNone && fValue >= fLeast && fValue <= fMost;
        if (!bRight || pEnd[std::strspn(pEnd, " ")] != '\0')
            return false;
        fnDo(fValue);
        return true;
    }

    /// Takes a key while it is shown, and the one that shows it, Tab.
    ///
    /// @return what is to be told of a command that nobody knows; "" when there was none
    std::string PressKey(int nKey)
    {
        static const std::map<int, int> s_oKeys = {{KEY_LEFT, dskPreviousPage},  {KEY_RIGHT, dskNextPage},
                                                   {KEY_UP, dskPreviousControl}, {KEY_DOWN, dskNextControl},
                                                   {'\n', dskExecute},           {'\b', dskBackspace}};
        if (const auto itKey = s_oKeys.find(nKey); itKey != s_oKeys.end())
            CVQDebugStatistics::ProcessInput(itKey->second);
        else if (nKey >= ' ' && nKey <= '~')
            CVQDebugStatistics::ProcessInput(nKey);
        CVQDebugStatistics::m_bStatisticsVisible = IsShown() != (nKey == '\t');
        m_nFrame = 0; // the answer is seen at once
        return std::exchange(m_sUnknown, "");
    }

    /// To be called between two frames.
    void NextFrame()
    {
        if (m_bProfiles)
        {
            m_oProfiler.End();
            m_sProfile = "region      share  calls\n"; // now, as the shares are those of frames that have ended
            CVQProfileData oData;
            for (int i = 0; m_oProfiler.GetSampleData(i, oData); ++i)
                m_sProfile += ~CVQString(sctFormat, "  %-10s %3.0f %%  %5d\n", oData.GetName(),
                                         static_cast<double>(oData.GetAverageTimePerFrame()), oData.GetNumInstances());
        }
        m_bProfiles = IsShown() && CVQDebugStatistics::GetCurrentControl() == &m_oFrame;
        if (m_bProfiles)
            m_oProfiler.Begin();
    }

    /// Does a part of the frame, and measures it: for the profiler of sessions always, since that costs next to nothing
    /// while none runs, and for the light one while its page is shown. That wants the same order in every frame.
    template <class TWork>
    void Measure(const char* pRegion, TWork fnWork)
    {
        const CVQProfileSample oSample(pRegion);
        if (m_bProfiles)
            m_oProfiler.SampleBegin(pRegion);
        fnWork();
        if (m_bProfiles)
            m_oProfiler.SampleEnd(pRegion);
    }

    /// Draws it over the picture.
    void Draw(CScreen& oScreen, double dFramesPerSecond)
    {
        constexpr char HEIGHTS[] = " .:-=+*#";
        m_sTimes[m_nFrame % TIMES] = HEIGHTS[static_cast<std::size_t>(7 * 30 / std::max(dFramesPerSecond, 30.0))];
        if (m_nFrame++ % TIMES == 0) // nobody reads numbers that change sixty times a second
        {
            std::string sText(2048, ' ');
            sText.resize(static_cast<std::size_t>(CVQDebugStatistics::Print(sText.data(), 2048)));
            m_oPanel.SetSize(WIDTH, static_cast<int>(std::count(sText.begin(), sText.end(), '\n')) + 1);
            m_oPanel.Clear();
            m_oPanel.Write(1, 0, sText, COLOUR_CONSOLE);
        }
        oScreen.Overlay(1, m_oPanel);
    }

private:
    static constexpr int WIDTH = 56;
    static constexpr std::size_t TIMES = 30; // frames of the graph, and from one text to the next

    void Add(CVQDebugStatisticsPage& oPage, const char* pLabel, const std::string& sSet,
             const std::function<CVQString()>& fnGet)
    {
        const auto Set = [this, sSet](const CVQString& oValue)
        { m_sUnknown = Do(sSet + ' ' + ~oValue) ? "" : m_sUnknown; };
        m_aControls.emplace_back(oPage, pLabel, fnGet, Set);
    }

    bool Interpret(const CVQString& oCommand) override
    {
        const bool bDone = Do(~oCommand);
        m_sUnknown = bDone || oCommand.IsEmpty()
                         ? ""
                         : Text(TEXT_UNKNOWN) + ~oCommand; // unless the control that has the focus takes it
        if (bDone)
            Report(ecDump, std::string("command ") + ~oCommand);
        return bDone;
    }

    const Commands& m_oCommands;
    CVQDebugStatisticsPage m_oValues{"Game"}, m_oFrame{"Frame"}; // each registers itself
    std::list<CControl> m_aControls;
    CVQProfilerOld m_oProfiler;
    bool m_bProfiles = false;
    std::string m_sProfile, m_sTimes = std::string(TIMES, ' ') + '|', m_sUnknown;
    std::size_t m_nFrame = 0; // since the text was asked for
    CScreen m_oPanel;         // with the text
};
