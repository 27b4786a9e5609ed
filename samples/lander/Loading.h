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
    /// Begins.
    ///
    /// @param nLevels  so many levels belong to the game
    explicit CLoader(int nLevels) : m_nLevels(nLevels)
    {
        GetFound().m_aNames.clear();
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
    float GetProgress(std::string& sName) const
    {
        m_oLock.Enter();
        const float fProgress = m_fProgress;
        sName = m_sName;
        m_oLock.Leave();
        return fProgress;
    }

    /// Waits for the end, and gives what was loaded.
    ///
    /// @throws std::runtime_error  what the thread met with
    sGameData Take()
    {
        Stop(true, NO_LIMIT); // Run() does not look for the request: all is loaded
        if (!m_sFailure.empty())
            throw std::runtime_error(m_sFailure);
        return std::move(m_oData);
    }

private:
    static constexpr unsigned long NO_LIMIT = 0xFFFFFFFF;
    static constexpr std::size_t MOST_USER_LEVELS = 90;

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
            for (int i = 1; i <= m_nLevels; ++i)
                LoadLevel(std::to_string(i) + ".lvl", m_nLevels);
            pGuard->EndLoadComponent();

            pGuard->BeginLoadComponent(0.4F, textLoadingUserLevels);
            LoadUserLevels();
            pGuard->EndLoadComponent();
            if (m_oData.m_aLevels.empty())
                m_sFailure = m_oData.m_aErrors.empty() ? "there is no level" : m_oData.m_aErrors[0];
        }
        catch (const CVQException& oError)
        {
            m_sFailure = oError.GetErrorString();
        }
        catch (const std::exception& oError)
        {
            m_sFailure = oError.what();
        }
        pGuard->EndLoading();
        pGuard->UnregisterWatch(this);
        m_bDone = true;
        return 0;
    }

    void LoadPictures()
    {
        const std::string sText = CAssets::Read("pictures/ship.txt");
        for (std::size_t nEnd = 0, nStart = 0; (nEnd = sText.find('\n', nStart)) != std::string::npos;
             nStart = nEnd + 1)
            m_oData.m_aShip.push_back(sText.substr(nStart, nEnd - nStart));
    }

    void LoadLevel(const std::string& sFile, int nCount)
    {
        const std::string sName = "levels/" + sFile;
        sLevel oLevel;
        if (CLevelReader(sName, CAssets::Read(sName), m_oData.m_aErrors).Read(oLevel))
            m_oData.m_aLevels.push_back(oLevel);
        CVQLoadGuard::Instance()->LoadComponentCompleted(1.0F / static_cast<float>(nCount), nullptr);
    }

    // What lies under the name of one of the game's own has come in its place already.
    void LoadUserLevels()
    {
        sFound& oFound = GetFound();
        oFound.m_oFinished.Wait();
        std::erase_if(oFound.m_aNames,
                      [&](const std::string& sName)
                      {
                          const int nNumber = std::atoi(sName.c_str());
                          return nNumber > 0 && nNumber <= m_nLevels && sName == std::to_string(nNumber) + ".lvl";
                      });
        for (const std::string& sName : oFound.m_aNames)
            LoadLevel(sName, static_cast<int>(oFound.m_aNames.size()));
    }

    /// What the scanner's thread finds; the loading thread looks at it after the end.
    struct sFound
    {
        CVQEvent m_oFinished;
        std::vector<std::string> m_aNames;
    };

    static sFound& GetFound()
    {
        static sFound s_oFound;
        return s_oFound;
    }

    static void OnFile(eScannerMode nMode, sFileData* pData, unsigned long)
    {
        sFound& oFound = GetFound();
        if (nMode == eScannerFile && oFound.m_aNames.size() < MOST_USER_LEVELS)
            oFound.m_aNames.emplace_back(~pData->m_oFileName);
        if (nMode == eScannerFinished || nMode == eScannerStopped)
            oFound.m_oFinished.Signal();
    }

    void OnBeginLoading() override {}

    void OnLoadProgress(float fProgress, const char* pName) override
    {
        m_oLock.Enter();
        m_fProgress = fProgress;
        m_sName = pName;
        m_oLock.Leave();
    }

    void OnEndLoading() override {}

    const int m_nLevels;
    sGameData m_oData;
    std::string m_sFailure;
    std::atomic<bool> m_bDone = false;
    mutable CVQCriticalSection m_oLock; // of the two below
    float m_fProgress = 0;
    std::string m_sName;
};
