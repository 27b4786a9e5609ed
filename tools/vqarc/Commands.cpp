#include "Commands.h"

#include "ArchiveTree.h"
#include "Console.h"
#include "Progress.h"
#include "SourceTree.h"

#include <Common/Debug/XfsException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/Platform/PlatformFile.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <set>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace
{
// Notifications of the file system, one for each file.
constexpr int FILE_STORED = 1;
constexpr int FILE_EXTRACTED = 2;

// Files and directories of more archives than this cannot be registered at a time.
constexpr std::size_t MOST_DIRECTORIES = 256;

constexpr std::size_t BUFFER_SIZE = std::size_t{1} << 20;

// Enough problems to show what an archive suffers from.
constexpr std::size_t MOST_PROBLEMS = 100;

constexpr int ENDING_SIGNALS[] = {
    SIGINT,
    SIGTERM,
#ifdef SIGHUP
    SIGHUP,
#endif
};

// What a signal that ends the program removes before. Its name is whole while the flag is set.
std::array<char, 4096> s_aUnfinished;
volatile std::sig_atomic_t s_bUnfinished = 0;

extern "C" void RemoveUnfinished(int nSignal)
{
    if (s_bUnfinished != 0)
        std::remove(s_aUnfinished.data());
    std::signal(nSignal, SIG_DFL);
    std::raise(nSignal);
}

/// Has the unfinished file removed when a signal ends the program. A signal that is ignored stays so.
void RemoveOnSignals(const fs::path& oFile)
{
    const std::string sName = fs::absolute(oFile).string(); // the current directory changes
    if (sName.size() >= s_aUnfinished.size())
        return;

    std::copy(sName.begin(), sName.end(), s_aUnfinished.begin());
    s_aUnfinished[sName.size()] = '\0';
    s_bUnfinished = 1;
    for (const int nSignal : ENDING_SIGNALS)
    {
        if (std::signal(nSignal, RemoveUnfinished) == SIG_IGN)
            std::signal(nSignal, SIG_IGN);
    }
}

/// A file that is removed at the end, unless it got another name before; also when a signal ends the program. There is
/// one at a time.
class CTemporaryFile
{
public:
    /// A name beside the target's that no file has.
    explicit CTemporaryFile(const std::string& sTarget)
    {
        std::random_device oRandom;
        do
        {
            char aSuffix[32];
            std::snprintf(aSuffix, sizeof(aSuffix), ".%08x.arc", static_cast<unsigned>(oRandom()));
            m_sName = sTarget + aSuffix;
        } while (fs::exists(m_sName));
        RemoveOnSignals(m_sName);
    }

    ~CTemporaryFile()
    {
        s_bUnfinished = 0;
        std::error_code oError;
        fs::remove(m_sName, oError);
    }

    CTemporaryFile(const CTemporaryFile&) = delete;
    CTemporaryFile& operator=(const CTemporaryFile&) = delete;

    const std::string& GetName() const { return m_sName; }

    /// Takes the place of the target, in one step.
    void Rename(const std::string& sTarget)
    {
        std::error_code oError;
        fs::rename(m_sName, sTarget, oError);
        if (oError)
            throw CFailure(sTarget, oError.message());
    }

private:
    std::string m_sName;
};

struct sCloseHandle
{
    explicit sCloseHandle(int nFile) : m_nFile(nFile) {}

    ~sCloseHandle()
    {
        if (m_nFile != -1)
            FILE_Close(m_nFile);
    }

    sCloseHandle(const sCloseHandle&) = delete;
    sCloseHandle& operator=(const sCloseHandle&) = delete;

    int m_nFile;
};

// The library takes a directory's name as it is when a separator ends it.
std::string NameWholly(const std::string& sDirectory)
{
    return sDirectory + '/';
}

void RequireDirectory(const std::string& sDirectory)
{
    std::error_code oError;
    if (!fs::exists(sDirectory, oError))
        throw CFailure(sDirectory, "there is no such directory");
    if (!fs::is_directory(sDirectory, oError))
        throw CFailure(sDirectory, "not a directory");
}

bool LiesInside(const fs::path& oInner, const fs::path& oOuter)
{
    const fs::path oRealInner = fs::canonical(oInner);
    const fs::path oRealOuter = fs::canonical(oOuter);
    return std::mismatch(oRealOuter.begin(), oRealOuter.end(), oRealInner.begin(), oRealInner.end()).first ==
           oRealOuter.end();
}

void RequireOutside(const std::string& sArchive, const std::string& sDirectory)
{
    const fs::path oFolder = fs::path(sArchive).parent_path();
    std::error_code oError;
    if (!oFolder.empty() && !fs::is_directory(oFolder, oError))
        throw CFailure(oFolder.string(), "there is no such directory");
    if (LiesInside(oFolder.empty() ? "." : oFolder, sDirectory))
        throw CFailure(sArchive, "lies inside " + sDirectory + ", and an archive cannot hold itself");
}

void WarnOf(const sSourceTree& oTree, const std::string& sDirectory)
{
    for (const std::string& sPath : oTree.m_aAmbiguous)
        PrintWarning(MakePrintable(sDirectory + "/" + sPath) +
                     ": another name differs in case only, and the first one is found");
    if (oTree.m_nDirectories > MOST_DIRECTORIES)
        PrintWarning(MakePrintable(sDirectory) + ": " + std::to_string(oTree.m_nDirectories) +
                     " directories, of which a program can open files in 256 at most; extraction takes all");
}

// After a failure: a file that cannot be opened says more than the failure itself.
void ExplainUnreadable(const sSourceTree& oTree, const std::string& sDirectory)
{
    for (const std::string& sPath : oTree.m_aFiles)
    {
        const std::string sFile = sDirectory + "/" + sPath;
        const sCloseHandle oFile(FILE_Open(sFile.c_str(), "rb"));
        if (oFile.m_nFile == -1)
            throw CFailure(sFile, "cannot be opened");
        if (sPath.find('\\') != std::string::npos)
            throw CFailure(sFile, "a name with a backslash could not be extracted again");
    }
}

/// Collects what is wrong with an archive, and tells it.
class CProblems
{
public:
    explicit CProblems(const std::string& sArchive) : m_sArchive(sArchive) {}

    void Add(const std::string& sPath, const std::string& sWhy)
    {
        if (++m_nProblems <= MOST_PROBLEMS)
            PrintError(MakePrintable(m_sArchive + "/" + sPath) + ": " + sWhy);
    }

    void Require() const
    {
        if (m_nProblems != 0)
            throw CFailure(m_sArchive, std::to_string(m_nProblems) + (m_nProblems == 1 ? " problem" : " problems"));
    }

private:
    std::string m_sArchive;
    std::size_t m_nProblems = 0;
};

/// Reads the files of an archive piece by piece, and a file on disk beside each.
class CFileReader
{
public:
    explicit CFileReader(CArchiveReader& oReader)
        : m_oReader(oReader), m_pArchived(std::make_unique<char[]>(BUFFER_SIZE)),
          m_pOnDisk(std::make_unique<char[]>(BUFFER_SIZE))
    {
    }

    /// Reads all of an entry and hands each piece on; false when it cannot be read.
    template <typename TTake>
    bool Read(const CArchiveNode& oNode, const sArchiveEntry& oEntry, TTake fnTake)
    {
        for (std::uint32_t nDone = 0; nDone < oEntry.m_nSize;)
        {
            const std::size_t nPiece = std::min<std::size_t>(oEntry.m_nSize - nDone, BUFFER_SIZE);
            if (m_oReader.ReadEntry(oNode, oEntry, nDone, m_pArchived.get(), nPiece) != eArchiveResult::Ok)
                return false;
            fnTake(m_pArchived.get(), nPiece);
            nDone += static_cast<std::uint32_t>(nPiece);
        }
        return true;
    }

    /// Says why an entry is not the file on disk; "" when it is.
    std::string Compare(const CArchiveNode& oNode, const sArchiveEntry& oEntry, const std::string& sFile)
    {
        const sCloseHandle oFile(FILE_Open(sFile.c_str(), "rb"));
        if (oFile.m_nFile == -1)
            return "cannot be opened on disk";

        bool bEqual = true;
        const bool bRead = Read(oNode, oEntry,
                                [&](const char* pBytes, std::size_t nSize)
                                {
                                    const auto nWanted = static_cast<unsigned>(nSize);
                                    bEqual = bEqual &&
                                             FILE_Read(oFile.m_nFile, m_pOnDisk.get(), 1, nWanted) == nWanted &&
                                             std::equal(pBytes, pBytes + nSize, m_pOnDisk.get());
                                });
        if (!bRead)
            return "cannot be read";
        if (bEqual && FILE_Read(oFile.m_nFile, m_pOnDisk.get(), 1, 1) != 0)
            bEqual = false;
        return bEqual ? "" : "differs from the file on disk";
    }

private:
    CArchiveReader& m_oReader;
    std::unique_ptr<char[]> m_pArchived;
    std::unique_ptr<char[]> m_pOnDisk;
};

std::string Plural(std::uint64_t nCount, const char* pOne, const char* pMany)
{
    return std::to_string(nCount) + " " + (nCount == 1 ? pOne : pMany);
}
} // namespace

void CreateArchive(const std::string& sArchive, const std::string& sDirectory)
{
    const std::string sTarget = AddArchiveExtension(sArchive);
    RequireDirectory(sDirectory);
    RequireOutside(sTarget, sDirectory);
    const sSourceTree oTree(sDirectory, IsErrorTerminal());
    WarnOf(oTree, sDirectory);

    CTemporaryFile oTemporary(sTarget);
    try
    {
        CProgress oProgress(FILE_STORED, oTree.m_aSizes);
        CExtendedFileSystem::Instance()->CreateArchive(oTemporary.GetName().c_str(), NameWholly(sDirectory).c_str());
        oProgress.Finish();
    }
    catch (const CXfsException& oError)
    {
        if (!fs::exists(oTemporary.GetName()))
            throw CFailure(sTarget, "cannot be written");
        ExplainUnreadable(oTree, sDirectory);
        throw CFailure(sDirectory, oError.GetErrorString());
    }
    oTemporary.Rename(sTarget);
}

void ListArchive(const std::string& sArchive, bool bLong)
{
    CArchiveTree oTree(sArchive);
    CProblems oProblems(oTree.GetName());
    std::uint64_t nFiles = 0;
    std::uint64_t nDirectories = 0;
    std::uint64_t nBytes = 0;

    const auto Print = [&](const std::string& sPath, const std::string& sSize, const char* pEnd)
    {
        char aSize[16] = "";
        if (bLong)
            std::snprintf(aSize, sizeof(aSize), "%10s  ", sSize.c_str());
        WriteOutput(aSize + MakePrintable(sPath) + pEnd);
    };
    oTree.Walk(
        [&](const std::string& sPath, const CArchiveNode&, const sArchiveEntry& oEntry)
        {
            ++nFiles;
            nBytes += oEntry.m_nSize;
            Print(sPath, std::to_string(oEntry.m_nSize), "\n");
        },
        [&](const std::string& sPath, const CArchiveNode&, const sArchiveEntry&)
        {
            ++nDirectories;
            Print(sPath, "-", "/\n");
        },
        [&](const std::string& sPath, const std::string& sWhy) { oProblems.Add(sPath, sWhy); });

    if (bLong)
        Print(Plural(nFiles, "file", "files") + ", " + Plural(nDirectories, "directory", "directories"),
              std::to_string(nBytes), "\n");
    oProblems.Require();
}

void ExtractArchive(const std::string& sArchive, const std::string& sDirectory)
{
    const std::string sName = AddArchiveExtension(sArchive);
    std::vector<std::uint64_t> aSizes;
    {
        CArchiveTree oTree(sName);
        CProblems oProblems(sName);
        oTree.Walk([&](const std::string&, const CArchiveNode&, const sArchiveEntry& oEntry)
                   { aSizes.push_back(oEntry.m_nSize); },
                   [](const std::string&, const CArchiveNode&, const sArchiveEntry&) {},
                   [&](const std::string& sPath, const std::string& sWhy) { oProblems.Add(sPath, sWhy); });
        oProblems.Require();
    }

    std::error_code oError;
    fs::create_directories(sDirectory, oError);
    RequireDirectory(sDirectory);
    try
    {
        CProgress oProgress(FILE_EXTRACTED, std::move(aSizes));
        if (!CExtendedFileSystem::Instance()->ExtractArchive(sName.c_str(), NameWholly(sDirectory).c_str()))
            throw CFailure(sName, "cannot be opened");
        oProgress.Finish();
    }
    catch (const CXfsException& oFailure)
    {
        throw CFailure(sName, oFailure.GetErrorString());
    }
}

void PrintFile(const std::string& sArchive, const std::string& sPath)
{
    CArchiveTree oTree(sArchive);
    CArchiveNode oNode;
    const sArchiveEntry& oEntry = oTree.Find(sPath, oNode);
    if (oEntry.m_nIsDirectory != 0)
        throw CFailure(sPath, "a directory");

    MakeOutputBinary();
    CFileReader oReader(oTree.GetReader());
    if (!oReader.Read(oNode, oEntry, [](const char* pBytes, std::size_t nSize) { WriteOutput({pBytes, nSize}); }))
        throw CFailure(sPath, Describe(eArchiveResult::Truncated));
}

void VerifyArchive(const std::string& sArchive, const std::string& sDirectory)
{
    CArchiveTree oTree(sArchive);
    CProblems oProblems(oTree.GetName());
    std::set<std::string> aOnlyOnDisk;
    if (!sDirectory.empty())
    {
        RequireDirectory(sDirectory);
        const sSourceTree oSource(sDirectory);
        aOnlyOnDisk.insert(oSource.m_aFiles.begin(), oSource.m_aFiles.end());
    }

    CFileReader oReader(oTree.GetReader());
    std::uint64_t nFiles = 0;
    std::uint64_t nDirectories = 1;
    std::uint64_t nBytes = 0;
    const auto CheckName = [&](const std::string& sPath, const sArchiveEntry& oEntry)
    {
        const bool bPlain = CArchiveReader::IsPlainName(oEntry.m_aName);
        if (!bPlain)
            oProblems.Add(sPath, "a name that cannot be extracted");
        return bPlain;
    };
    oTree.Walk(
        [&](const std::string& sPath, const CArchiveNode& oNode, const sArchiveEntry& oEntry)
        {
            ++nFiles;
            nBytes += oEntry.m_nSize;
            std::string sWhy;
            if (CheckName(sPath, oEntry) && !sDirectory.empty())
                sWhy = oReader.Compare(oNode, oEntry, sDirectory + "/" + sPath);
            else if (!oReader.Read(oNode, oEntry, [](const char*, std::size_t) {}))
                sWhy = "cannot be read";
            if (!sWhy.empty())
                oProblems.Add(sPath, sWhy);
            aOnlyOnDisk.erase(sPath);
        },
        [&](const std::string& sPath, const CArchiveNode&, const sArchiveEntry& oEntry)
        {
            ++nDirectories;
            if (CheckName(sPath, oEntry) && !sDirectory.empty() && !fs::is_directory(sDirectory + "/" + sPath))
                oProblems.Add(sPath, "no directory on disk");
        },
        [&](const std::string& sPath, const std::string& sWhy) { oProblems.Add(sPath, sWhy); });

    for (const std::string& sPath : aOnlyOnDisk)
        oProblems.Add(sPath, "on disk only");
    oProblems.Require();
    WriteOutput(MakePrintable(oTree.GetName()) + ": " + Plural(nFiles, "file", "files") + ", " +
                Plural(nDirectories, "directory", "directories") + ", " + Plural(nBytes, "byte", "bytes") + ": good\n");
}
