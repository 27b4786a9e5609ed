#include <Common/File/VQFileScanner.h>

#include <Common/Platform/System/HandleField.h>
#include <Common/Platform/System/SystemDirectoryTree.h>
#include <Common/Platform/System/SystemFile.h>
#include <Common/Platform/System/SystemSync.h>
#include <Common/Platform/System/SystemThread.h>
#include <Common/ProcessControl/VQEvent.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace
{
using System::CDirectoryEntries;
using System::CNamePattern;
using System::sDirectoryIdentity;

constexpr std::size_t ENTRIES_BEFORE_A_STOP = 2; // the first is not asked about, and the second was fetched by then

std::atomic<bool> g_bStopped = false;

std::string_view View(const CVQString& oText)
{
    return {~oText, static_cast<std::size_t>(oText.GetLength())};
}

/// Gives a text back that a report function may have changed.
void Restore(CVQString& oText, const CVQString& oWanted)
{
    if (oText != oWanted)
        oText = oWanted;
}

/// The walk through one directory and what is below it, by a stack of its own: trees may be deep.
///
/// A visitor has three members: IN_ORDER tells whether it wants the names in order; Subdirectory() is told of each
/// subdirectory; Directory(sText, oEntries) then takes the directory, and returns whether those are to be walked, too.
template <class TVisitor>
class CWalk
{
public:
    CWalk(const CVQString& oDirectory, TVisitor& oVisitor) : m_sText(View(oDirectory)), m_oVisitor(oVisitor) {}

    void Run()
    {
        if (!m_oTree.Open((m_sText + '\\').c_str()))
            return;

        Enter(false);
        while (!m_aLevels.empty())
        {
            SLevel& oLevel = m_aLevels.back();
            m_sText.resize(oLevel.nTextSize);
            m_sBelow.resize(oLevel.nBelowSize);
            if (oLevel.nNext == oLevel.aSubdirectories.size())
            {
                m_aLevels.pop_back();
                continue;
            }

            const SSubdirectory& oSubdirectory = oLevel.aSubdirectories[oLevel.nNext++];
            const char* pName = oLevel.sNames.c_str() + oSubdirectory.nOffset;
            m_sText += '\\';
            m_sText += pName;
            if (!m_sBelow.empty())
                m_sBelow += '/';
            m_sBelow += pName;
            Enter(oSubdirectory.bLinked);
        }
    }

private:
    struct SSubdirectory
    {
        std::size_t nOffset; // of its name
        bool bLinked;        // a link leads to it, or to a directory above it
    };

    struct SLevel
    {
        std::size_t nTextSize;
        std::size_t nBelowSize;
        sDirectoryIdentity oIdentity;
        std::string sNames;
        std::vector<SSubdirectory> aSubdirectories;
        std::size_t nNext = 0;
    };

    /// Visits the directory that the paths name now.
    void Enter(bool bLinked)
    {
        sDirectoryIdentity oIdentity;
        if (!m_oTree.Read(m_sBelow, m_oEntries, oIdentity))
            return;
        if (bLinked && std::any_of(m_aLevels.begin(), m_aLevels.end(),
                                   [&](const SLevel& oLevel) { return oLevel.oIdentity == oIdentity; }))
            return;

        if (TVisitor::IN_ORDER)
            m_oEntries.Sort();
        SLevel oLevel{m_sText.size(), m_sBelow.size(), oIdentity, {}, {}};
        CollectSubdirectories(oLevel, bLinked);
        if (m_oVisitor.Directory(m_sText, m_oEntries))
            m_aLevels.push_back(std::move(oLevel));
    }

    void CollectSubdirectories(SLevel& oLevel, bool bLinked)
    {
        // The first entry of a search is not looked at; nearly always that is ".".
        for (std::size_t i = m_oEntries.HasDots() ? 0 : 1; i < m_oEntries.GetCount(); ++i)
        {
            const char* pName = m_oEntries.GetName(i);
            if (!m_oEntries.IsDirectory(i) || *pName == '.')
                continue;

            oLevel.aSubdirectories.push_back({oLevel.sNames.size(), bLinked || m_oEntries.IsLink(i)});
            oLevel.sNames += pName;
            oLevel.sNames += '\0';
            m_oVisitor.Subdirectory();
        }
    }

    std::string m_sText;  // the path as it is reported
    std::string m_sBelow; // the same in the tree
    TVisitor& m_oVisitor;
    System::CDirectoryTree m_oTree;
    CDirectoryEntries m_oEntries;
    std::vector<SLevel> m_aLevels;
};

/// Reports the files that match.
class CReportingVisitor
{
public:
    static constexpr bool IN_ORDER = true;

    CReportingVisitor(const CVQString& oPattern, bool bInclude, CVQFileScanner::TReportFn pReport,
                      unsigned long nUserValue)
        : m_sPattern(View(oPattern)), m_oPattern(m_sPattern),
          m_bPathInPattern(m_sPattern.find_first_of("/\\") != std::string::npos), m_bInclude(bInclude),
          m_pReport(pReport), m_nUserValue(nUserValue)
    {
    }

    void Subdirectory() noexcept {}

    bool Directory(const std::string& sText, const CDirectoryEntries& oEntries)
    {
        m_oDirectory = sText.c_str();
        m_nExamined = 0;
        if (m_bPathInPattern)
            SearchElsewhere(sText);
        else
            Search(oEntries);
        return m_bInclude && !g_bStopped.load(std::memory_order_relaxed);
    }

private:
    void Search(const CDirectoryEntries& oEntries)
    {
        for (const char* pDots : {".", ".."})
            if (oEntries.HasDots() && m_oPattern.Matches(pDots) && !Examine(pDots, true))
                return;

        for (std::size_t i = 0; i < oEntries.GetCount(); ++i)
            if (m_oPattern.Matches(oEntries.GetName(i)) && !Examine(oEntries.GetName(i), oEntries.IsDirectory(i)))
                return;
    }

    /// What a pattern that leads out of the directory finds.
    void SearchElsewhere(const std::string& sText)
    {
        System::CDirectorySearch oSearch;
        if (!oSearch.Start((sText + '\\' + m_sPattern).c_str()))
            return;
        while (const char* pName = oSearch.Next())
            if (!Examine(pName, oSearch.IsDirectory()))
                return;
    }

    /// Looks at an entry that matches; false to end the search.
    bool Examine(const char* pName, bool bDirectory)
    {
        if (!bDirectory)
        {
            m_oData.m_oFileName = pName;
            Restore(m_oData.m_oDirectory, m_oDirectory);
            Restore(m_oData.m_oRelativePart, CVQString());
            Restore(m_oData.m_oFullDirectory, m_oDirectory);
            m_pReport(eScannerFile, &m_oData, m_nUserValue);
        }
        return ++m_nExamined < ENTRIES_BEFORE_A_STOP || !g_bStopped.load(std::memory_order_relaxed);
    }

    std::string m_sPattern;
    CNamePattern m_oPattern;
    bool m_bPathInPattern;
    bool m_bInclude;
    CVQFileScanner::TReportFn m_pReport;
    unsigned long m_nUserValue;
    CVQString m_oDirectory;
    sFileData m_oData;
    std::size_t m_nExamined = 0; // in this directory
};

/// Counts files that match, and subdirectories.
class CCountingVisitor
{
public:
    static constexpr bool IN_ORDER = false;

    CCountingVisitor(const CVQString& oPattern, int& nFiles, int& nFolders)
        : m_sPattern(View(oPattern)), m_oPattern(m_sPattern),
          m_bPathInPattern(m_sPattern.find_first_of("/\\") != std::string::npos), m_nFiles(nFiles), m_nFolders(nFolders)
    {
    }

    void Subdirectory() noexcept { ++m_nFolders; }

    bool Directory(const std::string& sText, const CDirectoryEntries& oEntries)
    {
        if (m_bPathInPattern)
        {
            System::CDirectorySearch oSearch;
            if (oSearch.Start((sText + '\\' + m_sPattern).c_str()))
                while (oSearch.Next() != nullptr)
                    m_nFiles += oSearch.IsDirectory() ? 0 : 1;
            return true;
        }

        for (std::size_t i = 0; i < oEntries.GetCount(); ++i)
            m_nFiles += !oEntries.IsDirectory(i) && m_oPattern.Matches(oEntries.GetName(i)) ? 1 : 0;
        return true;
    }

private:
    std::string m_sPattern;
    CNamePattern m_oPattern;
    bool m_bPathInPattern;
    int& m_nFiles;
    int& m_nFolders;
};

/// Searches each directory with its own pattern.
void SearchAll(const std::vector<CVQString>& aDirectories, const std::vector<CVQString>& aPatterns, bool bInclude,
               CVQFileScanner::TReportFn pReport, unsigned long nUserValue)
{
    for (std::size_t i = 0; i < aPatterns.size(); ++i)
    {
        CReportingVisitor oVisitor(aPatterns[i], bInclude, pReport, nUserValue);
        CWalk(aDirectories[i], oVisitor).Run();
    }
}
} // namespace

/// What a worker thread works on.
struct CVQFileScanner::SContext
{
    TReportFn pReport;
    unsigned long nUserValue;
    CVQEvent* pStartEvent;
    bool bInclude;
    std::vector<CVQString> aDirectories;
    std::vector<CVQString> aPatterns;
};

CVQFileScanner::CVQFileScanner() : m_bIncludeSubDirs(true) {}

CVQFileScanner::CVQFileScanner(const CVQFileScanner&) = default;

CVQFileScanner& CVQFileScanner::operator=(const CVQFileScanner&) = default;

CVQFileScanner::~CVQFileScanner() = default;

void CVQFileScanner::SetIncludeSubDirs(bool bInclude) noexcept
{
    m_bIncludeSubDirs = bInclude;
}

void CVQFileScanner::AddScanDirectory(const CVQString& oDirectory, const CVQString& oPattern)
{
    m_aDirectories.push_back(oDirectory);
    m_aPatterns.push_back(oPattern);
}

void CVQFileScanner::Run(TReportFn pReport, unsigned long nUserValue)
{
    // copies: the report function may change the scanner
    const std::vector<CVQString> aDirectories = m_aDirectories;
    const std::vector<CVQString> aPatterns = m_aPatterns;
    SearchAll(aDirectories, aPatterns, m_bIncludeSubDirs, pReport, nUserValue);
}

void CVQFileScanner::RunThread(TReportFn pReport, unsigned long nUserValue, CVQEvent* pStartEvent)
{
    std::unique_ptr<SContext> pContext(
        new SContext{pReport, nUserValue, pStartEvent, m_bIncludeSubDirs, m_aDirectories, m_aPatterns});
    std::atomic<std::uint32_t> nThreadId = 0;
    void* hThread = System::StartThread(ThreadProcess, reinterpret_cast<std::uintptr_t>(pContext.get()), nThreadId);
    if (hThread == nullptr)
    {
        ProcessControl::ReportCreationFailure("Common/File/VQFileScanner", __LINE__, "Could not create thread.");
        return;
    }

    static_cast<void>(pContext.release()); // it is the thread's now
    m_pThread = System::ShareWaitable(hThread);
}

void CVQFileScanner::StopThread() noexcept
{
    g_bStopped.store(true, std::memory_order_relaxed);
}

void CVQFileScanner::GetFolderFileCount(int& nFiles, int& nFolders, const CVQString& oPattern) const
{
    nFiles = 0;
    nFolders = 0;
    for (const CVQString& oDirectory : m_aDirectories)
    {
        CCountingVisitor oVisitor(oPattern, nFiles, nFolders);
        CWalk(oDirectory, oVisitor).Run();
    }
}

std::uint32_t CVQFileScanner::ThreadProcess(std::uintptr_t nContext)
{
    std::unique_ptr<SContext> pContext(reinterpret_cast<SContext*>(nContext));
    const TReportFn pReport = pContext->pReport;
    const unsigned long nUserValue = pContext->nUserValue;

    if (pContext->pStartEvent != nullptr)
        pContext->pStartEvent->Wait();
    pReport(eScannerStarted, nullptr, nUserValue);
    SearchAll(pContext->aDirectories, pContext->aPatterns, pContext->bInclude, pReport, nUserValue);

    pContext.reset(); // nothing is left to do when the end is told
    pReport(g_bStopped.load(std::memory_order_relaxed) ? eScannerStopped : eScannerFinished, nullptr, nUserValue);
    return 0;
}
