#pragma once

// Shows: the load guard with a watch (Common/Loading), a worker thread (Common/ProcessControl/VQThread.h), and the file
// scanner on another one (Common/File/VQFileScanner.h).
// Why: the picture goes on while files are read. The code that reads says only how large each of its steps is; the
// guard makes one bar of it.

#include "Level.h"

/// All that a game is played with.
struct sGameData
{
    std::vector<sLevel> m_aLevels;
    std::vector<std::string> m_aShips;  ///< three pictures: tilted left, upright, tilted right
    std::vector<std::string> m_aErrors; ///< mistakes in levels, which are left out
};

/// Loads the game's data on a thread of its own.
class CLoader : public CVQThread, private IVQLoadGuardWatch
{
public:
    /// Begins; so many levels belong to the game.
    explicit CLoader(unsigned long nLevels)
    {
        s_aFound.clear();
        CVQFileScanner oScanner;
        oScanner.SetIncludeSubDirs(false);
        oScanner.AddScanDirectory((std::string(LOOSE_ROOT) + "/levels").c_str(), "*.lvl");
        oScanner.RunThread(&OnFile, 0, nullptr);
        Require(Start(nLevels, eThreadPriorityNormal), "the loading thread: cannot be started");
    }

    ~CLoader() override { Stop(true, NO_LIMIT); }

    /// How far it is, 0 to 1, and 1 when it has ended.
    float GetProgress() const { return m_fProgress; }

    /// Waits for the end, and gives what was loaded, or throws what the thread met with.
    sGameData Take()
    {
        Stop(true, NO_LIMIT); // Run() does not look for the request: all is loaded
        Require(m_sFailure.empty(), m_sFailure);
        return std::move(m_oData);
    }

private:
    static constexpr unsigned long NO_LIMIT = 0xFFFFFFFF, MOST_USER_LEVELS = 90;

    unsigned long Run() override
    {
        m_pGuard->RegisterWatch(this);
        m_pGuard->BeginLoading();
        m_sFailure = GetError([this] { Load(); });
        m_pGuard->EndLoading();
        m_pGuard->UnregisterWatch(this);
        return 0;
    }

    void Load()
    {
        m_pGuard->BeginLoadComponent(0.2F, "ships");
        std::string sShips = ReadAsset("pictures/ship.txt"); // each with an empty line behind it
        for (std::size_t nEnd = 0; (nEnd = sShips.find("\n\n")) != std::string::npos; sShips.erase(0, nEnd + 2))
            m_oData.m_aShips.push_back(sShips.substr(0, nEnd));
        m_oData.m_aShips.resize(3); // one that is missing is not seen
        m_pGuard->EndLoadComponent();

        std::vector<std::string> aOwn;
        for (unsigned long i = 1; i <= GetUserParam(); ++i)
            aOwn.push_back(std::to_string(i) + ".lvl");
        LoadLevels(aOwn);
        s_oScanned.Wait();
        for (const std::string& sName : aOwn) // a loose file of this name has come in its place already
            std::erase(s_aFound, sName);
        LoadLevels(s_aFound);
        Require(!m_oData.m_aLevels.empty(), m_oData.m_aErrors.empty() ? "there is no level" : m_oData.m_aErrors[0]);
    }

    void LoadLevels(const std::vector<std::string>& aNames)
    {
        m_pGuard->BeginLoadComponent(0.4F, "levels");
        for (const std::string& sName : aNames)
        {
            sLevel oLevel;
            const std::size_t nErrors = m_oData.m_aErrors.size();
            const CLevelReader oReader("levels/" + sName, ReadAsset("levels/" + sName), oLevel, m_oData.m_aErrors);
            if (m_oData.m_aErrors.size() == nErrors)
                m_oData.m_aLevels.push_back(oLevel);
            m_pGuard->LoadComponentCompleted(1.0F / static_cast<float>(aNames.size()), sName.c_str());
        }
        m_pGuard->EndLoadComponent();
    }

    // On the scanner's thread; the loading thread looks at what was found after the end.
    static void OnFile(eScannerMode nMode, sFileData* pData, unsigned long)
    {
        if (nMode == eScannerFile && s_aFound.size() < MOST_USER_LEVELS)
            s_aFound.emplace_back(~pData->m_oFileName);
        if (nMode == eScannerFinished || nMode == eScannerStopped)
            s_oScanned.Signal();
    }

    void OnBeginLoading() override {}

    void OnLoadProgress(float fProgress, const char*) override { m_fProgress = fProgress; }

    void OnEndLoading() override { m_fProgress = 1; }

    static inline CVQEvent s_oScanned;
    static inline std::vector<std::string> s_aFound;

    CVQLoadGuard* const m_pGuard = CVQLoadGuard::Instance();
    sGameData m_oData;
    std::string m_sFailure;
    std::atomic<float> m_fProgress = 0;
};
