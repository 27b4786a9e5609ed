#pragma once

// Shows: timer channels (Common/Profile/VQTimer.h), the profiler (VQProfiler.h), the message box hook
// (Common/Platform/PlatformHooks.h), the command line of the console.
// Why: the main loop belongs to the game. Once a frame it takes the time of all channels, feeds keys to the console,
// and brackets its parts for the profiler.

#include "Console.h"
#include "Loading.h"
#include "Picture.h"
#include "SaveGame.h"
#include "Settings.h"

#include <Common/DebugStatistics/VQDebugStatisticsInterpreter.h>
#include <Common/Profile/VQProfiler.h>
#include <Common/Profile/VQTimer.h>

#include <map>
#include <optional>

/// The profiler, and what of the frame it takes for itself, in percent.
class CGameProfiler : public CVQProfiler
{
public:
    /// Share of a region; 0 when there is none of the name.
    double GetShare(const char* pRegion) const
    {
        const int nIndex = GetSampleIndexByName(pRegion);
        return nIndex != -1 ? static_cast<double>(GetSample(nIndex).m_fPercentage) : 0.0;
    }

    /// Share of its own calls, of which each takes as long as it has measured before.
    double GetOwnShare() const
    {
        const auto dFrame = static_cast<double>(GetSample(GetSampleIndexByName("MainLoop")).m_nTotalCycles);
        return static_cast<double>(GetRawSamples().size()) / 2 * m_nSampleOverhead / dFrame * 100;
    }
};

/// The game at a terminal; what plays by itself derives from it.
class CApplication : private IVQDebugStatisticsInterpreter
{
public:
    /// Loads everything. What has no terminal is drawn for nobody.
    explicit CApplication(CTerminal* pTerminal) : m_pTerminal(pTerminal)
    {
        s_pThis = this;
        HOOK_SetMessageBox(&OnMessageBox);
        Present(); // takes the size of the terminal
        for (const int nChannel : {GAME_TIME, REAL_TIME})
        {
            m_oTimer.DefineChannel(nChannel, nChannel == GAME_TIME ? "game" : "real");
            m_oTimer.EnableFrameTime(nChannel);
            m_oTimer.Start(nChannel);
        }
        if (!m_oSettings.Load())
            CJournal::Report(ecWarning, "the settings are damaged: the game begins with its own");
        UseLanguage(m_pTerminal != nullptr ? m_oSettings.GetInt("Language", CTexts::LANGUAGE_COUNT - 1) : 0);
        Load();
        StartLevel(0);
    }

    ~CApplication() override { HOOK_SetMessageBox(nullptr); }

    /// The game until the player ends it.
    void Play()
    {
        m_oGhost.emplace("lander");
        if (m_oGhost->IsSecond())
            Say(Text(textSecondPlayer));
        for (std::int64_t nPlayed = 0; !m_bQuit;)
        {
            m_oTimer.UpdateAll();
            const auto nDue = static_cast<std::int64_t>(m_oTimer.GetFrameTime(GAME_TIME) * TICKS_A_SECOND);
            PlayFrame(static_cast<int>(std::clamp<std::int64_t>(nDue - nPlayed, 0, TICKS_A_SECOND / 4)));
            nPlayed = nDue; // what a slow machine misses is not caught up
        }

        if (m_bLost) // the player did not mean to end it
            SaveFlight();
        m_oSettings.SetInt("Language", CTexts::GetLanguage());
        m_oSettings.SetInt("Best", std::max(m_oSettings.GetInt("Best", INT32_MAX), m_oGame.GetFlight().m_nScore));
        const std::string sError = m_oSettings.Save();
        CJournal::Report(sError.empty() ? ecInfo : ecError, sError.empty() ? "the game ends" : sError);
    }

protected:
    static constexpr int GAME_TIME = 0; // stands still in a pause
    static constexpr int REAL_TIME = 1; // does not

    // The regions of a frame come in the same order every time, as the light profiler wants it.
    void PlayFrame(int nTicks)
    {
        m_oConsole.BeginFrame();
        {
            const CRegion oFrame("MainLoop");
            In("Wait", [&] { WaitForFrame(); });
            In("Input", [&] { PressKeys(); });
            In("Game", [&] { PlayTicks(nTicks); });
            In("Ghost", [&] { TalkToGhost(nTicks); });
            In("Draw", [&] { Draw(); });
            In("Console", [&] { m_oConsole.Draw(m_oScreen); });
            In("Present", [&] { Present(); });
        }
        m_oConsole.EndFrame((m_oTimer.GetTime(REAL_TIME) - m_oTimer.GetFrameTime(REAL_TIME)) * 1000);
        if (m_nProfiled > 0 && --m_nProfiled == 0)
        {
            m_oProfiler.EndSession(true, true); // writes the report and opens it
            Say(Text(textReport));
        }
    }

    /// Goes on after a flight: to the next level, or to the same once more.
    void GoOn()
    {
        if (m_oGame.GetFlight().m_nState != flightFlying)
            StartLevel(m_nLevel + (m_oGame.GetFlight().m_nState == flightLanded ? 1 : 0));
    }

    void BeginProfile(const char* pName)
    {
        g_bVQProfilerEnabled = true;
        m_oProfiler.BeginSession(pName);
    }

    CTerminal* m_pTerminal;
    CScreen m_oScreen;
    CVQTimer m_oTimer;
    CGameProfiler m_oProfiler;
    CGame m_oGame;
    int m_nLevel = 0;
    std::vector<int> m_aKeys;
    std::uint64_t m_nOutput = 0; // bytes

private:
    const char* GetSaveFile() const { return m_pTerminal != nullptr ? "lander.sav" : "demo.sav"; }

    template <class TWork>
    static void In(const char* pRegion, TWork fnWork)
    {
        const CRegion oRegion(pRegion);
        fnWork();
    }

    void Load()
    {
        CLoader oLoader(m_oSettings.GetInt("Levels", 99));
        while (m_pTerminal != nullptr && !oLoader.IsDone() && !m_bQuit)
        {
            const auto [fProgress, sName] = oLoader.GetProgress();
            m_oPicture.DrawLoading(fProgress, sName);
            Present();
            WaitForFrame();
        }
        m_oData = oLoader.Take();
        for (const std::string& sError : m_oData.m_aErrors)
            CJournal::Report(ecError, sError);
        if (!m_oData.m_aErrors.empty())
            Say(std::to_string(m_oData.m_aErrors.size()) + ' ' + Text(textLevelErrors));
        CJournal::Report(ecInfo, std::to_string(m_oData.m_aLevels.size()) + " levels were loaded");
    }

    void StartLevel(std::int32_t nLevel)
    {
        constexpr std::uint32_t SEED = 1969;
        m_nLevel = nLevel < static_cast<int>(m_oData.m_aLevels.size()) ? nLevel : 0;
        const auto nIndex = static_cast<std::uint32_t>(m_nLevel);
        m_oGame.Start(&m_oData.m_aLevels[nIndex], SEED + nIndex);
        CJournal::Report(ecMessage, "level " + std::to_string(m_nLevel + 1) + ": " + m_oGame.GetLevel().m_sName);
    }

    // Frames are due at even distances; one that comes late moves all that follow. Keys are what is slept over.
    void WaitForFrame()
    {
        using namespace std::chrono;
        constexpr std::size_t MOST_KEYS = 256; // who leans on the keyboard loses the others
        m_oDue = std::max(m_oDue + nanoseconds(seconds(1)) / TICKS_A_SECOND, steady_clock::now());
        for (milliseconds oLeft(1); m_pTerminal != nullptr && !m_bQuit && oLeft.count() > 0;)
        {
            oLeft = ceil<milliseconds>(m_oDue - steady_clock::now());
            if (!m_pTerminal->ReadKeys(static_cast<int>(std::clamp<long long>(oLeft.count(), 0, 100)), m_aKeys))
                m_bLost = m_bQuit = true;
            m_aKeys.resize(std::min(m_aKeys.size(), MOST_KEYS));
        }
    }

    // One by one: a key may open a message box, for which those behind it are meant.
    int TakeKey()
    {
        const int nKey = m_aKeys.front();
        m_aKeys.erase(m_aKeys.begin());
        return nKey;
    }

    void PressKeys()
    {
        while (!m_aKeys.empty())
        {
            const int nKey = TakeKey();
            if (nKey == keyTab)
                m_oConsole.Show(!CConsole::IsShown());
            else if (CConsole::IsShown())
                m_oConsole.PressKey(nKey);
            else if (const auto itKey = m_oKeys.find(nKey); itKey != m_oKeys.end())
                itKey->second();
        }
    }

    void PlayTicks(int nTicks)
    {
        const sFlight& o = m_oGame.GetFlight();
        const std::int32_t nState = o.m_nState;
        for (int i = 0; i < nTicks; ++i)
            m_oGame.Tick();
        if (o.m_nState == nState)
            return;
        const bool bLanded = o.m_nState == flightLanded;
        CJournal::Report(ecDump, "flight of " + std::to_string(o.m_nTick) + " ticks");
        CJournal::Report(bLanded ? ecGameMessage : ecNote,
                         bLanded ? "landed: score " + std::to_string(o.m_nScore) : "crashed");
    }

    void TalkToGhost(int nTicks)
    {
        constexpr int BETWEEN = 6; // ticks from a message to the next
        if (!m_oGhost)
            return;
        m_nOtherAge = m_oGhost->Receive(m_oOther) ? 0 : m_nOtherAge + 1;
        if (nTicks > 0 && m_oGame.GetFlight().m_nTick % BETWEEN < nTicks)
            m_oGhost->Send(GetShip());
    }

    CGhost::sShip GetShip() const
    {
        const sFlight& o = m_oGame.GetFlight();
        return {m_nLevel, o.m_nX, o.m_nY, o.m_nTilt};
    }

    void Draw()
    {
        const sFlight& o = m_oGame.GetFlight();
        m_oPicture.DrawGround(m_oGame.GetLevel());
        if (m_nOtherAge < TICKS_A_SECOND && m_oOther.m_nLevel == m_nLevel)
            m_oPicture.DrawShip(m_oOther, 0, colourGhost);
        m_oPicture.DrawShip(GetShip(), o.m_nThrottle, o.m_nState == flightCrashed ? colourBad : colourBright);
        if (m_nMessage > 0 && --m_nMessage == 0)
            m_sMessage.clear();
        m_oPicture.DrawTexts(m_oGame, m_oTimer.GetFPS(REAL_TIME), m_oTimer.IsPaused(GAME_TIME), m_sMessage);
    }

    void Present()
    {
        const std::string_view sBytes = m_oScreen.Present();
        m_nOutput += sBytes.size();
        int nWidth = 120;
        int nHeight = 40;
        if (m_pTerminal != nullptr)
        {
            if (!m_pTerminal->Write(sBytes))
                m_bLost = m_bQuit = true;
            m_pTerminal->GetSize(nWidth, nHeight);
        }
        m_oScreen.SetSize(nWidth, nHeight, std::exchange(m_bDrawAnew, false));
    }

    void Say(const std::string& sText)
    {
        m_sMessage = sText;
        m_nMessage = 150; // frames
    }

    void UseLanguage(int nLanguage)
    {
        CTexts::SetLanguage(nLanguage % CTexts::LANGUAGE_COUNT);
        Say(Text(textLanguage));
    }

    void SaveFlight()
    {
        const std::string sBytes = sSaveGame{m_nLevel, m_oGame.GetFlight()}.Pack();
        const auto nSize = static_cast<unsigned long>(sBytes.size());
        const std::string sError =
            SaveSafely(GetSaveFile(), [&](CFileIO& oFile) { return oFile.Write(sBytes.data(), nSize); });
        if (!sError.empty())
            CJournal::Report(ecError, sError);
        Say(sError.empty() ? Text(textSaved) : Text(textNotSaved) + sError);
    }

    void LoadFlight(const std::string& sName)
    {
        try
        {
            sSaveGame oSaved;
            const bool bRight = oSaved.Unpack(CAssets::Read(sName), static_cast<int>(m_oData.m_aLevels.size()));
            Say(Text(bRight ? textLoaded : textDamagedSave));
            if (!bRight)
                return CJournal::Report(ecCriticalError, sName + ": is damaged");
            m_nLevel = oSaved.m_nLevel;
            m_oGame.Resume(&m_oData.m_aLevels[static_cast<std::size_t>(m_nLevel)], oSaved.m_oFlight);
        }
        catch (const CVQException& oError)
        {
            CJournal::Report(ecWarning, sName + ": " + oError.GetErrorString());
            Say(Text(textNothingSaved));
        }
    }

    bool Interpret(const CVQString& oCommand) override
    {
        const int nBlank = oCommand.Find(' ');
        const CVQString oWord = nBlank != -1 ? oCommand.Left(nBlank) : oCommand;
        const CVQString oValue = nBlank != -1 ? oCommand.Mid(nBlank + 1) : "";
        const int nLevel = oValue.ToInt(10);
        if (oWord == "gravity" && !oValue.IsEmpty())
            m_oGame.Gravity() = static_cast<int>(std::lround(std::clamp(oValue.ToFloat(), 0.0F, 20.0F) * 1000));
        else if (oWord == "level" && nLevel >= 1 && nLevel <= static_cast<int>(m_oData.m_aLevels.size()))
            StartLevel(nLevel - 1);
        else if (oWord == "help")
            Say(Text(textHelp));
        else if (oWord == "quit")
            m_bQuit = true;
        else
            return false; // not ours: the control that has the focus may take it
        CJournal::Report(ecDump, std::string("command ") + ~oCommand);
        return true;
    }

    // The game draws its own boxes: those of assertions, and those that the library shows.
    static eMessageBoxAnswer OnMessageBox(const char* pText, const char* pCaption, eMessageBoxKind nKind)
    {
        const bool bAsks = nKind == mbkYesNoCancel;
        const std::map<int, eMessageBoxAnswer> oAnswers =
            bAsks ? std::map<int, eMessageBoxAnswer>{{'y', mbaYes}, {'n', mbaNo}, {'c', mbaCancel}}
                  : std::map<int, eMessageBoxAnswer>{{keyEnter, mbaOk}, {keyEscape, mbaOk}};
        for (CApplication& o = *s_pThis; o.m_pTerminal != nullptr && !o.m_bQuit; o.WaitForFrame())
        {
            while (!o.m_aKeys.empty())
            {
                const auto itAnswer = oAnswers.find(o.TakeKey());
                if (itAnswer == oAnswers.end())
                    continue;
                if (itAnswer->second == mbaNo || itAnswer->second == mbaCancel) // either ends the program
                    CTerminal::Restore(), CJournal::End();
                return itAnswer->second;
            }
            o.m_oPicture.DrawBox(pCaption, pText, bAsks ? textAnswers : textContinue);
            o.Present();
        }
        return bAsks ? mbaYes : mbaOk;
    }

    static inline CApplication* s_pThis = nullptr; // for the hook, which has no argument of ours

    const std::map<int, std::function<void()>> m_oKeys = {
        {'w', [this] { m_oGame.Throttle(1); }},
        {'s', [this] { m_oGame.Throttle(-1); }},
        {'a', [this] { m_oGame.Tilt(-1); }},
        {'d', [this] { m_oGame.Tilt(1); }},
        {keyUp, [this] { m_oGame.Throttle(1); }},
        {keyDown, [this] { m_oGame.Throttle(-1); }},
        {keyLeft, [this] { m_oGame.Tilt(-1); }},
        {keyRight, [this] { m_oGame.Tilt(1); }},
        {' ', [this] { m_oGame.Throttle(-CGame::MOST_THROTTLE); }},
        {keyEnter, [this] { GoOn(); }},
        {'p', [this] { m_oTimer.IsPaused(GAME_TIME) ? m_oTimer.Continue(GAME_TIME) : m_oTimer.Pause(GAME_TIME); }},
        {'g', [this] { UseLanguage(CTexts::GetLanguage() + 1); }},
        {'x', [this] { SaveFlight(); }},
        {'o', [this] { LoadFlight(GetSaveFile()); }},
        {'v', [this] { LoadFlight("saves/old.sav"); }}, // of an older version, to see that it still loads
        {'f', [this] { BeginProfile("lander"), m_nProfiled = 300, Say(Text(textProfiling)); }},
        {'b', [this] { VQ_ASSERT(m_oGame.GetFlight().m_nFuel < 0, "the key for a failed assertion"); }},
        {'q', [this] { m_bQuit = true; }},
        {keyDrawAnew, [this] { m_bDrawAnew = true; }},
    };
    CSettings m_oSettings;
    sGameData m_oData;
    CPicture m_oPicture{m_oScreen, m_oData.m_aShip};
    CConsole m_oConsole{m_oGame.Gravity(), m_oGame.Unbreakable(), [] { return Text(textLanguage); },
                        [this](const CVQString&) { UseLanguage(CTexts::GetLanguage() + 1); }};
    std::chrono::steady_clock::time_point m_oDue; // of the next frame
    std::optional<CGhost> m_oGhost;
    CGhost::sShip m_oOther;
    int m_nOtherAge = 0;
    int m_nProfiled = 0; // frames until the report
    std::string m_sMessage;
    int m_nMessage = 0; // frames that it is still shown
    bool m_bDrawAnew = false, m_bQuit = false;
    bool m_bLost = false; // the terminal is gone, or a signal has come
};
