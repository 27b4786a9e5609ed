// roundtrip DIR: packs a directory, opens every file of it by name out of the archive, unpacks it, and compares every
// byte on both ways with the disk. The last lines are a table of what it did and how fast. The result goes to the log
// as well, where a monitor shows it.
//
// Each file is opened under four names: in its own case and in capitals, with slashes and with backslashes.

#include <Common/Debug/Log.h>
#include <Common/Debug/VQException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace
{
// Directories whose files a program can open at a time.
constexpr std::size_t MOST_DIRECTORIES = 256;

constexpr int READ = 1;

/// The files and directories below a directory: paths with slashes.
struct sTree
{
    explicit sTree(const fs::path& oTop)
    {
        const auto nOptions = fs::directory_options::follow_directory_symlink;
        for (const fs::directory_entry& oEntry : fs::recursive_directory_iterator(oTop, nOptions))
        {
            const std::string sPath = oEntry.path().lexically_relative(oTop).generic_string();
            if (oEntry.is_directory())
                m_aDirectories.insert(sPath);
            else
                m_aFiles.insert(sPath);
        }
    }

    std::set<std::string> m_aDirectories;
    std::set<std::string> m_aFiles;
};

/// A directory for the work, gone with all that is in it at the end.
class CWorkshop
{
public:
    CWorkshop() : m_oPath(fs::temp_directory_path() / ("roundtrip-" + std::to_string(std::random_device()())))
    {
        fs::create_directory(m_oPath);
    }

    ~CWorkshop()
    {
        std::error_code oError;
        fs::current_path(m_oPath.parent_path(), oError);
        fs::remove_all(m_oPath, oError);
    }

    CWorkshop(const CWorkshop&) = delete;
    CWorkshop& operator=(const CWorkshop&) = delete;

    const fs::path& GetPath() const { return m_oPath; }

private:
    fs::path m_oPath;
};

/// One line of the table: what was handled, and the time that it took.
class CResult
{
public:
    explicit CResult(const char* pName) : m_pName(pName) {}

    template <typename TWork>
    void Time(TWork fnWork)
    {
        const auto oStart = std::chrono::steady_clock::now();
        fnWork();
        m_dSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - oStart).count();
    }

    void Count(std::size_t nFiles, std::size_t nDirectories, std::uint64_t nBytes)
    {
        m_nFiles += nFiles;
        m_nDirectories += nDirectories;
        m_nBytes += nBytes;
    }

    void Print() const
    {
        const double dMegabytes = static_cast<double>(m_nBytes) / 1e6;
        std::printf("%-8s %8zu %12zu %12llu %9.3f %9.1f\n", m_pName, m_nFiles, m_nDirectories,
                    static_cast<unsigned long long>(m_nBytes), m_dSeconds,
                    m_dSeconds > 0 ? dMegabytes / m_dSeconds : 0.0);
    }

    static void PrintTitle()
    {
        std::printf("%-8s %8s %12s %12s %9s %9s\n", "", "files", "directories", "bytes", "seconds", "MB/s");
    }

private:
    const char* m_pName;
    std::size_t m_nFiles = 0;
    std::size_t m_nDirectories = 0;
    std::uint64_t m_nBytes = 0;
    double m_dSeconds = 0;
};

// Tells every monitor that listens.
void Report(eErrorClass nClass, const std::string& sMessage)
{
    _VQ_Log_Fn("samples/roundtrip/main", "roundtrip", "", __LINE__, 0, LOG_NETWORK, static_cast<unsigned long>(nClass),
               "%s", sMessage.c_str());
}

std::string ReadFromDisk(const fs::path& oPath)
{
    std::ifstream oFile(oPath, std::ios::binary);
    if (!oFile)
        throw std::runtime_error(oPath.string() + ": cannot be opened");
    return {std::istreambuf_iterator<char>(oFile), {}};
}

std::string ReadThroughFileSystem(const std::string& sName)
{
    CFileIO oFile;
    if (!oFile.Open(sName.c_str(), READ))
        throw std::runtime_error(sName + ": cannot be opened");

    std::string sBytes(oFile.GetSize(), '\0');
    if (!sBytes.empty() && !oFile.Read(sBytes.data(), static_cast<unsigned long>(sBytes.size())))
        throw std::runtime_error(sName + ": cannot be read");
    return sBytes;
}

std::vector<std::string> GetSpellings(const std::string& sPath)
{
    std::string sCapitals = sPath;
    STR_strupr(sCapitals.data());
    std::vector<std::string> aSpellings = {sPath, sCapitals};
    for (std::string sSpelling : {sPath, sCapitals})
    {
        std::replace(sSpelling.begin(), sSpelling.end(), '/', '\\');
        aSpellings.push_back(sSpelling);
    }
    return aSpellings;
}

// Names of which another one differs in case only find the first of the two.
void RequireDistinct(const sTree& oTree)
{
    std::set<std::string> aFolded;
    for (const auto* pPaths : {&oTree.m_aFiles, &oTree.m_aDirectories})
    {
        for (std::string sPath : *pPaths)
        {
            STR_strlwr(sPath.data());
            if (!aFolded.insert(sPath).second)
                throw std::runtime_error(sPath + ": two names differ in case only");
        }
    }
    if (oTree.m_aDirectories.size() + 1 > MOST_DIRECTORIES)
        throw std::runtime_error("more than 256 directories, of which files can be opened at a time");
}

void RequireEqual(const std::string& sFirst, const std::string& sSecond, const std::string& sName)
{
    if (sFirst != sSecond)
        throw std::runtime_error(sName + ": differs from the file on disk");
}

void Run(const fs::path& oTop)
{
    if (!fs::is_directory(oTop))
        throw std::runtime_error(oTop.string() + ": no directory");

    const sTree oTree(oTop);
    RequireDistinct(oTree);
    const std::size_t nDirectories = oTree.m_aDirectories.size() + 1;
    const CWorkshop oWorkshop;
    fs::create_directory(oWorkshop.GetPath() / "out");
    CExtendedFileSystem* pFiles = CExtendedFileSystem::Instance();
    pFiles->Setup();

    std::printf("packing %s\n", oTop.string().c_str());
    CResult oPack("pack");
    const std::string sArchive = (oWorkshop.GetPath() / "tree.arc").string();
    oPack.Time([&] { pFiles->CreateArchive(sArchive.c_str(), (oTop.string() + '/').c_str()); });

    // Archives are found in the current directory; as a root, this one holds every file of the tree by its own name.
    std::printf("opening every file by four names out of the archive\n");
    fs::current_path(oWorkshop.GetPath());
    pFiles->AddRoot("tree");
    CResult oRead("read");
    std::uint64_t nBytes = 0;
    for (const std::string& sPath : oTree.m_aFiles)
    {
        const std::string sOnDisk = ReadFromDisk(oTop / sPath);
        nBytes += sOnDisk.size();
        for (const std::string& sName : GetSpellings(sPath))
        {
            std::string sArchived;
            oRead.Time([&] { sArchived = ReadThroughFileSystem(sName); });
            RequireEqual(sArchived, sOnDisk, sName);
            oRead.Count(1, 0, sArchived.size());
        }
    }
    oRead.Count(0, nDirectories, 0);
    oPack.Count(oTree.m_aFiles.size(), nDirectories, nBytes);

    std::printf("extracting\n");
    CResult oExtract("extract");
    oExtract.Time([&] { pFiles->ExtractArchive("tree", "out"); });
    const fs::path oOut = oWorkshop.GetPath() / "out" / "tree";
    const sTree oExtracted(oOut);
    if (oExtracted.m_aFiles != oTree.m_aFiles || oExtracted.m_aDirectories != oTree.m_aDirectories)
        throw std::runtime_error("the extracted tree has other names");
    for (const std::string& sPath : oTree.m_aFiles)
        RequireEqual(ReadFromDisk(oOut / sPath), ReadFromDisk(oTop / sPath), sPath);
    oExtract.Count(oExtracted.m_aFiles.size(), oExtracted.m_aDirectories.size() + 1, nBytes);

    std::printf("every byte is the same\n\n");
    Report(ecInfo, std::to_string(oTree.m_aFiles.size()) + " files in " + std::to_string(nDirectories) +
                       " directories: every byte is the same");
    CResult::PrintTitle();
    oPack.Print();
    oRead.Print();
    oExtract.Print();
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    if (nArguments != 2)
    {
        std::fputs("usage: roundtrip DIR\n", stderr);
        return 2;
    }

    try
    {
        Run(fs::canonical(ppArguments[1]));
        return 0;
    }
    catch (const CVQException& oError)
    {
        std::fprintf(stderr, "roundtrip: %s (%lu)\n", oError.GetErrorString(), oError.GetErrorCode());
        Report(ecError, oError.GetErrorString());
    }
    catch (const std::exception& oError)
    {
        std::fprintf(stderr, "roundtrip: %s\n", oError.what());
        Report(ecError, oError.what());
    }
    return 1;
}
