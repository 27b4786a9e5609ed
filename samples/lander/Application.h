#pragma once

// Shows: timer channels (Common/Profile/VQTimer.h), the profiler (VQProfiler.h), the message box hook
// (Common/Platform/PlatformHooks.h), the command line of the console.
// Why: the main loop belongs to the game. Once a frame it takes the time of all channels, feeds keys to the console,
// and brackets its parts for the profiler.

#include "Console.h"
#include "Ghost.h"
#include "Loading.h"
#include "Saves.h"

#include <optional>

/// The profiler, which also tells what a pair of its calls costs.
struct sGameProfiler : CVQProfiler
{
    using CVQProfiler::m_nSampleOverhead;
};

/// The game at a terminal; what plays by itself derives from it.
class CApplication
{
public:
    /// Loads everything. What has no terminal is drawn for nobody.
    explicit CApplication(CTerminal* pTerminal) : m_pTerminal(pTerminal)
    {
        s_pThis = this;
        g_bVQProfilerEnabled = true;
        HOOK_SetMessageBox(&OnMessageBox);
        for (const int nChannel : {GAME_TIME, REAL_TIME})
        {
            m_oTimer.DefineChannel(nChannel, nChannel == GAME_TIME ? "game" : "real");
            m_oTimer.EnableFrameTime(nChannel);
            m_oTimer.Start(nChannel);
        }
        Present(); // takes the size of the terminal
        Report(ecWarning, m_oSettings.Load());
        if (m_pTerminal != nullptr)
            g_nLanguage = static_cast<std::size_t>(m_oSettings.GetInt("Language", std::size(LANGUAGES) - 1));

        CLoader oLoader(static_cast<unsigned long>(m_oSettings.GetInt("Levels", 99)));
        while (m_pTerminal != nullptr && oLoader.GetProgress() < 1 && !m_bQuit)
        {
            m_oScene.DrawLoading(oLoader.GetProgress());
            Present();
            WaitForFrame();
        }
        m_oData = oLoader.Take();
        m_oCommands["level"].m_fMost = static_cast<float>(m_oData.m_aLevels.size());
        for (const std::string& sError : m_oData.m_aErrors)
            Report(ecError, sError);
        if (!m_oData.m_aErrors.empty())
            Say(Text(TEXT_LEVEL_ERRORS) + std::to_string(m_oData.m_aErrors.size()));
        Report(ecInfo, std::to_string(m_oData.m_aLevels.size()) + " levels were loaded");
        StartLevel(0);
    }

    ~CApplication() { HOOK_SetMessageBox(nullptr); }

    /// The game until the player ends it.
    void Play()
    {
        m_oGhost.emplace("lander");
        if (m_oGhost->IsSecond())
            Say(Text(TEXT_SECOND_PLAYER));
        for (std::int64_t nPlayed = 0; !m_bQuit;)
        {
            m_oTimer.UpdateAll();
            const auto nDue = static_cast<std::int64_t>(m_oTimer.GetFrameTime(GAME_TIME) * TICKS_A_SECOND);
            PlayFrame(static_cast<int>(std::clamp<std::int64_t>(nDue - nPlayed, 0, TICKS_A_SECOND / 4)));
            nPlayed = nDue; // what a slow machine misses is not caught up
        }

        if (m_bLost) // the player did not mean to end it
            SaveFlight();
        m_oSettings.SetProperty("Language", static_cast<int>(g_nLanguage));
        Report(ecError, SaveSafely(CSettings::FILE_NAME, [&](CFileIO& oFile) { return m_oSettings.Write(&oFile); }));
        Report(ecInfo, "the game ends");
    }

protected:
    void PlayFrame(int nTicks)
    {
        // Without a terminal a frame takes some thousand cycles, and to measure a part of it takes fifty: only what the
        // demo is asked about is worth that.
        const auto In = [this](const char* pRegion, auto fnWork)
        { m_pTerminal != nullptr ? m_oConsole.Measure(pRegion, fnWork) : fnWork(); };
        const auto Frame = [&]
        {
            In("Wait", [&] { WaitForFrame(); });
            In("Input", [&] { PressKeys(); });
            In("Game", [&] { PlayTicks(nTicks); });
            In("Ghost", [&] { TalkToGhost(nTicks); });
            In("Draw", [&] { Draw(); });
            if (CConsole::IsShown())
                m_oConsole.Measure("Console", [&] { m_oConsole.Draw(m_oScene, m_oTimer.GetFPS(REAL_TIME)); });
            In("Present", [&] { Present(); });
        };
        m_oConsole.NextFrame();
        m_oConsole.Measure("MainLoop", Frame);
        if (m_nProfiled > 0 && --m_nProfiled == 0)
            m_oProfiler.EndSession(true, true), Say(Text(TEXT_REPORT)); // writes the report and opens it
    }

    /// Goes on after a flight: to the next level, or to the same once more.
    void GoOn()
    {
        const sFlight& o = m_oGame.GetFlight();
        if (o.m_nState != FLIGHT_FLYING)
            StartLevel(o.m_nLevel + (o.m_nState == FLIGHT_LANDED ? 1 : 0));
    }

    CTerminal* m_pTerminal;
    CVQTimer m_oTimer;
    sGameProfiler m_oProfiler;
    CGame m_oGame;
    std::string m_sTyped; // keys that were not looked at yet

private:
    const char* GetSaveFile() const { return m_pTerminal != nullptr ? "lander.sav" : "demo.sav"; }

    void StartLevel(int nLevel)
    {
        nLevel = nLevel < static_cast<int>(m_oData.m_aLevels.size()) ? nLevel : 0;
        m_oGame.Start(&m_oData.m_aLevels[static_cast<std::size_t>(nLevel)], nLevel,
                      1969 + nLevel); // the seed is the same every time
        Report(ecMessage, "level " + std::to_string(nLevel + 1) + ": " + m_oGame.GetLevel().m_sName);
    }

    // Frames are due at even distances; one that comes late moves all that follow. Keys are what is slept over.
    void WaitForFrame()
    {
        m_oDue = std::max(m_oDue + Clock::duration(std::chrono::seconds(1)) / TICKS_A_SECOND, Clock::now());
        for (std::chrono::milliseconds oLeft(1); m_pTerminal != nullptr && !m_bQuit && oLeft.count() > 0;)
        {
            oLeft = std::chrono::ceil<std::chrono::milliseconds>(m_oDue - Clock::now());
            if (!CTerminal::Read(static_cast<int>(std::clamp<long long>(oLeft.count(), 0, 100)), m_sTyped))
                m_bLost = m_bQuit = true;
        }
        if (std::erase(m_sTyped, '\f') > 0) // Ctrl+L: something else has written over the picture
            m_oScene.Forget();
    }

    void PressKeys()
    {
        while (!m_sTyped.empty()) // one by one: a key may open a message box, for which those behind it are meant
        {
            const int nKey = CTerminal::TakeKey(m_sTyped);
            m_sMessage.clear(); // it has been read
            if (nKey == '\t' || CConsole::IsShown())
                m_sMessage += m_oConsole.PressKey(nKey);
            else if (const auto itKey = KEYS.find(nKey); itKey != KEYS.end())
                m_oConsole.Do(itKey->second);
        }
    }

    void PlayTicks(int nTicks)
    {
        const sFlight& o = m_oGame.GetFlight();
        const std::int32_t nState = o.m_nState;
        for (int i = 0; i < nTicks; ++i)
            m_oGame.Tick();
        const bool bLanded = o.m_nState == FLIGHT_LANDED;
        if (o.m_nState != nState)
            Report(bLanded ? ecGameMessage : ecNote,
                   bLanded ? "landed: score " + std::to_string(o.m_nScore) : "crashed");
    }

    void TalkToGhost(int nTicks)
    {
        if (!m_oGhost)
            return;
        m_nOtherAge = m_oGhost->Receive(m_oOther) ? 0 : m_nOtherAge + 1;
        if (nTicks > 0 && m_oGame.GetFlight().m_nTick % 6 < nTicks) // ten times a second
            m_oGhost->Send(m_oGame.GetFlight());
    }

    void Draw()
    {
        const sFlight& o = m_oGame.GetFlight();
        m_oScene.DrawGround(m_oGame.GetLevel());
        if (m_nOtherAge < TICKS_A_SECOND && m_oOther.m_nLevel == o.m_nLevel)
            m_oScene.DrawShip(m_oOther, COLOUR_GHOST);
        m_oScene.DrawShip(o, o.m_nState == FLIGHT_CRASHED ? COLOUR_BAD : COLOUR_BRIGHT);
        m_oScene.DrawTexts(m_oGame, m_oTimer.GetFPS(REAL_TIME), m_oTimer.IsPaused(GAME_TIME), m_sMessage);
    }

    void Present()
    {
        const std::string_view sBytes = m_oScene.Present();
        if (m_pTerminal != nullptr && !CTerminal::Write(sBytes))
            m_bLost = m_bQuit = true;
        const auto [nWidth, nHeight] = m_pTerminal != nullptr ? CTerminal::GetSize() : std::pair(120, 40);
        m_oScene.SetSize(nWidth, nHeight);
    }

    void Say(const std::string& sText) { m_sMessage = sText; }

    void SaveFlight()
    {
        const std::string sBytes = SavedGame::Pack(m_oGame.GetFlight());
        const auto nSize = static_cast<unsigned long>(sBytes.size());
        const std::string sError =
            SaveSafely(GetSaveFile(), [&](CFileIO& oFile) { return oFile.Write(sBytes.data(), nSize); });
        Report(ecError, sError);
        Say(sError.empty() ? Text(TEXT_SAVED) : Text(TEXT_NOT_SAVED) + sError);
    }

    void LoadFlight(const char* pName)
    {
        sFlight oFlight;
        const auto& aLevels = m_oData.m_aLevels;
        const std::string sError = GetError([&] { oFlight = SavedGame::Unpack(ReadAsset(pName), aLevels.size()); });
        if (sError.empty())
            m_oGame.Resume(&aLevels[static_cast<std::size_t>(oFlight.m_nLevel)], oFlight);
        Report(ecCriticalError, sError);
        Say(sError.empty() ? Text(TEXT_LOADED) : Text(TEXT_NOT_LOADED) + sError);
    }

    // The game draws its own boxes: those of assertions, and those that the library shows.
    static eMessageBoxAnswer OnMessageBox(const char* pText, const char* pCaption, eMessageBoxKind nKind)
    {
        static const std::map<int, eMessageBoxAnswer> s_oAnswers = {
            {'y', mbaYes}, {'n', mbaNo}, {'c', mbaCancel}, {'\n', mbaOk}};
        const bool bAsks = nKind == mbkYesNoCancel;
        for (CApplication& o = *s_pThis; o.m_pTerminal != nullptr && !o.m_bQuit; o.WaitForFrame())
        {
            while (!o.m_sTyped.empty())
            {
                const auto itAnswer = s_oAnswers.find(CTerminal::TakeKey(o.m_sTyped));
                if (itAnswer == s_oAnswers.end() || bAsks == (itAnswer->second == mbaOk))
                    continue;
                if (bAsks && itAnswer->second != mbaYes) // both others end the program
                    CTerminal::Restore();
                return itAnswer->second;
            }
            o.m_oScene.DrawBox(pCaption, pText, bAsks ? TEXT_ANSWERS : TEXT_CONTINUE);
            o.Present();
        }
        return bAsks ? mbaYes : mbaOk;
    }

    static inline CApplication* s_pThis = nullptr; // for the hook, which has no argument of ours

    // All that can be done has a name, which is a command of the console. Keys are short for some.
    static inline const std::map<int, const char*> KEYS = {
        {'w', "thrust 1"},       {'s', "thrust -1"},    {'a', "tilt -1"},      {'d', "tilt 1"},    {KEY_UP, "thrust 1"},
        {KEY_DOWN, "thrust -1"}, {KEY_LEFT, "tilt -1"}, {KEY_RIGHT, "tilt 1"}, {' ', "thrust -4"}, {'\n', "next"},
        {'p', "pause"},          {'g', "language"},     {'x', "save"},         {'o', "load"},      {'v', "old"},
        {'f', "profile"},        {'b', "assert"},       {'q', "quit"}};
    Commands m_oCommands = {
        {"thrust", {[this](float fSteps) { m_oGame.Throttle(static_cast<int>(fSteps)); }, -4, 4}},
        {"tilt", {[this](float fSteps) { m_oGame.Tilt(static_cast<int>(fSteps)); }, -6, 6}},
        {"gravity", {[this](float f) { m_oGame.Gravity() = static_cast<int>(std::lround(f * 1000)); }, 0, 20}},
        {"level", {[this](float fNumber) { StartLevel(static_cast<int>(fNumber) - 1); }, 1, 1}},
        {"language",
         {[this](float) { g_nLanguage = (g_nLanguage + 1) % std::size(LANGUAGES), Say(Text(TEXT_LANGUAGE)); }}},
        {"next", {[this](float) { GoOn(); }}},
        {"pause",
         {[this](float) { m_oTimer.IsPaused(GAME_TIME) ? m_oTimer.Continue(GAME_TIME) : m_oTimer.Pause(GAME_TIME); }}},
        {"save", {[this](float) { SaveFlight(); }}},
        {"load", {[this](float) { LoadFlight(GetSaveFile()); }}},
        {"old", {[this](float) { LoadFlight("saves/old.sav"); }}}, // of an older version, to see that it still loads
        {"profile", {[this](float) { m_oProfiler.BeginSession("lander"), m_nProfiled = 300; }}},
        {"assert", {[this](float) { VQ_ASSERT(m_oGame.GetFlight().m_nFuel < 0, "the key for a failed assertion"); }}},
        {"help", {[this](float) { Say(Text(TEXT_HELP)); }}},
        {"quit", {[this](float) { m_bQuit = true; }}}};
    CSettings m_oSettings;
    sGameData m_oData;
    CScene m_oScene{m_oData.m_aShips};
    CConsole m_oConsole{m_oGame, m_oCommands};
    Clock::time_point m_oDue; // of the next frame
    std::optional<CGhost> m_oGhost;
    sFlight m_oOther;
    int m_nOtherAge = TICKS_A_SECOND; // frames since it was heard of
    int m_nProfiled = 0;              // frames until the report
    std::string m_sMessage;
    bool m_bQuit = false;
    bool m_bLost = false; // the terminal is gone, or a signal has come
};
