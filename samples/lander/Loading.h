#pragma once

// Shows: the load guard with a watch (Common/Loading), a worker thread (Common/ProcessControl/VQThread.h), and the file
// scanner on another one (Common/File/VQFileScanner.h).
// Why: the picture goes on while files are read. The code that reads says only how large each of its steps is; the
// guard makes one bar of it.

#include "Level.h"
#include "Texts.h"

#include <Common/File/VQFileScanner.h>
#include <Common/Loading/VQLoadGuard.h>
#include <Common/ProcessControl/VQEvent.h>
#include <Common/ProcessControl/VQThread.h>

#include <atomic>
#include <exception>
#include <utility>

/// All that a game is played with.
struct sGameData
{
    std::vector<sLevel> m_aLevels;
    std::vector<std::string> m_aShip;   ///< the lines of three pictures: tilted left, upright, tilted right
    std::vector<std::string> m_aErrors; ///< mistakes in levels, which are left out
};

/// Loads the game's data on a thread of its own.
class CLoader : public CVQThread, private IVQLoadGuardWatch
{
public:
    /// Begins; so many levels belong to the game.
    explicit CLoader(int nLevels) : m_nLevels(nLevels)
    {
        s_aFound.clear();
        CVQFileScanner oScanner;
        oScanner.SetIncludeSubDirs(false);
        oScanner.AddScanDirectory((std::string(LOOSE_ROOT) + "/levels").c_str(), "*.lvl");
        oScanner.RunThread(&OnFile, 0, nullptr);
        if (!Start(0, eThreadPriorityNormal))
            throw std::runtime_error("the loading thread: cannot be started");
    }

    ~CLoader() override { Stop(true, NO_LIMIT); }

    bool IsDone() const { return m_bDone; }

    /// How far it is, 0 to 1, and with what.
    std::pair<float, std::string> GetProgress()
    {
        m_oLock.Enter();
        const auto oProgress = m_oProgress;
        m_oLock.Leave();
        return oProgress;
    }

    /// Waits for the end, and gives what was loaded, or throws what the thread met with.
    sGameData Take()
    {
        Stop(true, NO_LIMIT); // Run() does not look for the request: all is loaded
        if (m_pFailure != nullptr)
            std::rethrow_exception(m_pFailure);
        return std::move(m_oData);
    }

private:
    static constexpr unsigned long NO_LIMIT = 0xFFFFFFFF;

    unsigned long Run() override
    {
        CVQLoadGuard* const pGuard = CVQLoadGuard::Instance();
        pGuard->RegisterWatch(this);
        pGuard->BeginLoading();
        try
        {
            pGuard->BeginLoadComponent(0.2F, textLoadingPictures);
            LoadPictures();
            pGuard->EndLoadComponent();

            pGuard->BeginLoadComponent(0.4F, textLoadingLevels);
            std::vector<std::string> aOwn;
            for (int i = 1; i <= m_nLevels; ++i)
                aOwn.push_back(std::to_string(i) + ".lvl");
            LoadLevels(aOwn);
            pGuard->EndLoadComponent();

            pGuard->BeginLoadComponent(0.4F, textLoadingUserLevels);
            s_oScanned.Wait();
            for (const std::string& sName : aOwn) // a loose file of this name has come in its place already
                std::erase(s_aFound, sName);
            LoadLevels(s_aFound);
            pGuard->EndLoadComponent();
            if (m_oData.m_aLevels.empty())
                throw std::runtime_error(m_oData.m_aErrors.empty() ? "there is no level" : m_oData.m_aErrors[0]);
        }
        catch (...)
        {
            m_pFailure = std::current_exception();
        }
        pGuard->EndLoading();
        pGuard->UnregisterWatch(this);
        m_bDone = true;
        return 0;
    }

    void LoadPictures()
    {
        std::string sText = CAssets::Read("pictures/ship.txt");
        for (std::size_t nEnd = 0; (nEnd = sText.find('\n')) != std::string::npos; sText.erase(0, nEnd + 1))
            m_oData.m_aShip.push_back(sText.substr(0, nEnd));
    }

    void LoadLevels(const std::vector<std::string>& aNames)
    {
        for (const std::string& sName : aNames)
        {
            sLevel oLevel;
            if (CLevelReader("levels/" + sName, CAssets::Read("levels/" + sName), m_oData.m_aErrors).Read(oLevel))
                m_oData.m_aLevels.push_back(oLevel);
            CVQLoadGuard::Instance()->LoadComponentCompleted(1.0F / static_cast<float>(aNames.size()), nullptr);
        }
    }

    // On the scanner's thread; the loading thread looks at what was found after the end.
    static void OnFile(eScannerMode nMode, sFileData* pData, unsigned long)
    {
        if (nMode == eScannerFile && s_aFound.size() < 90)
            s_aFound.emplace_back(~pData->m_oFileName);
        if (nMode == eScannerFinished || nMode == eScannerStopped)
            s_oScanned.Signal();
    }

    void OnBeginLoading() override {}

    void OnLoadProgress(float fProgress, const char* pName) override
    {
        m_oLock.Enter();
        m_oProgress = {fProgress, pName};
        m_oLock.Leave();
    }

    void OnEndLoading() override {}

    static inline CVQEvent s_oScanned;
    static inline std::vector<std::string> s_aFound;

    const int m_nLevels;
    sGameData m_oData;
    std::exception_ptr m_pFailure;
    std::atomic<bool> m_bDone = false;
    CVQCriticalSection m_oLock; // of what comes next
    std::pair<float, std::string> m_oProgress;
};
