// Archives beside another virtual file system with stored zip files, beside read(2), and beside GNU tar.

// Links: physfs

#include <Common/File/ExtendedFileSystem.h>

#include <bench/support/Ratios.h>

#include <fcntl.h>
#include <physfs.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;

constexpr std::size_t ENTRY_BYTES = 256; // of each file in the archives of many entries
constexpr std::size_t HEADER_SIZE = 32;
constexpr std::size_t TABLE_ENTRY_SIZE = 276;

constexpr int FIRST_TOUCHES = 20; // each takes a node of the pool for good
constexpr std::size_t SMALL_FILES = 20000;
constexpr std::size_t SMALL_DIRECTORIES = 200;
constexpr std::size_t LARGE_FILES = 4;
constexpr std::size_t LARGE_FILE_BYTES = std::size_t{256} << 20;

void Require(bool bHolds)
{
    if (!bHolds)
        throw std::runtime_error("a file did not behave");
}

/// The bytes of a file that is built in memory.
class CBytes
{
public:
    void Number(std::uint64_t nNumber, int nBytes)
    {
        for (int i = 0; i < nBytes; ++i)
            m_sBytes.push_back(static_cast<char>(nNumber >> (8 * i)));
    }

    void Text(const std::string& sText) { m_sBytes += sText; }

    void Zeros(std::size_t nCount) { m_sBytes.append(nCount, '\0'); }

    std::size_t GetSize() const { return m_sBytes.size(); }

    void Write(const std::string& sName) const
    {
        std::ofstream oFile(sName, std::ios::binary);
        oFile << m_sBytes;
        Require(oFile.good());
    }

private:
    std::string m_sBytes;
};

std::uint32_t Crc32(const std::string& sBytes)
{
    std::uint32_t nCrc = 0xFFFFFFFF;
    for (const char cByte : sBytes)
    {
        nCrc ^= static_cast<unsigned char>(cByte);
        for (int nBit = 0; nBit < 8; ++nBit)
            nCrc = (nCrc >> 1) ^ ((nCrc & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~nCrc;
}

std::string EntryName(std::size_t nEntry)
{
    char aName[32];
    std::snprintf(aName, sizeof(aName), "texture_%06zu.tga", nEntry);
    return aName;
}

const std::string& EntryBytes()
{
    static const std::string s_sBytes(ENTRY_BYTES, 't');
    return s_sBytes;
}

void WriteArchive(const std::string& sName, std::size_t nEntries)
{
    CBytes oBytes;
    const std::size_t nTable = HEADER_SIZE + nEntries * ENTRY_BYTES;
    oBytes.Text("ARCX");
    oBytes.Number(1, 2);
    oBytes.Number(nTable + nEntries * TABLE_ENTRY_SIZE, 4);
    oBytes.Number(nTable, 4);
    oBytes.Number(nEntries, 4);
    oBytes.Zeros(14);
    for (std::size_t i = 0; i < nEntries; ++i)
        oBytes.Text(EntryBytes());
    for (std::size_t i = 0; i < nEntries; ++i)
    {
        oBytes.Text(EntryName(i));
        oBytes.Zeros(256 - EntryName(i).size());
        oBytes.Number(HEADER_SIZE + i * ENTRY_BYTES, 4);
        oBytes.Number(ENTRY_BYTES, 4);
        oBytes.Zeros(12);
    }
    oBytes.Write(sName);
}

// A zip file of stored entries, with the records that more than 65,535 of them need.
void WriteZip(const std::string& sName, std::size_t nEntries)
{
    const std::uint32_t nCrc = Crc32(EntryBytes());
    const auto Common = [nCrc](CBytes& oBytes, const std::string& sEntry)
    {
        oBytes.Number(20, 2); // version needed
        oBytes.Number(0, 2);  // flags
        oBytes.Number(0, 2);  // stored
        oBytes.Number(0, 2);
        oBytes.Number(0x5021, 2); // a date
        oBytes.Number(nCrc, 4);
        oBytes.Number(ENTRY_BYTES, 4);
        oBytes.Number(ENTRY_BYTES, 4);
        oBytes.Number(sEntry.size(), 2);
        oBytes.Number(0, 2); // extra bytes
    };

    CBytes oBytes;
    std::vector<std::size_t> aOffsets;
    for (std::size_t i = 0; i < nEntries; ++i)
    {
        aOffsets.push_back(oBytes.GetSize());
        oBytes.Number(0x04034B50, 4);
        Common(oBytes, EntryName(i));
        oBytes.Text(EntryName(i));
        oBytes.Text(EntryBytes());
    }

    const std::size_t nDirectory = oBytes.GetSize();
    for (std::size_t i = 0; i < nEntries; ++i)
    {
        oBytes.Number(0x02014B50, 4);
        oBytes.Number(20, 2); // version made by
        Common(oBytes, EntryName(i));
        oBytes.Zeros(10); // comment, disk, attributes
        oBytes.Number(aOffsets[i], 4);
        oBytes.Text(EntryName(i));
    }

    const std::size_t nEnd = oBytes.GetSize();
    const bool bLarge = nEntries > 0xFFFE;
    if (bLarge)
    {
        oBytes.Number(0x06064B50, 4);
        oBytes.Number(44, 8);
        oBytes.Number(45, 2);
        oBytes.Number(45, 2);
        oBytes.Zeros(8);
        oBytes.Number(nEntries, 8);
        oBytes.Number(nEntries, 8);
        oBytes.Number(nEnd - nDirectory, 8);
        oBytes.Number(nDirectory, 8);
        oBytes.Number(0x07064B50, 4);
        oBytes.Zeros(4);
        oBytes.Number(nEnd, 8);
        oBytes.Number(1, 4);
    }
    oBytes.Number(0x06054B50, 4);
    oBytes.Zeros(4);
    oBytes.Number(bLarge ? 0xFFFF : nEntries, 2);
    oBytes.Number(bLarge ? 0xFFFF : nEntries, 2);
    oBytes.Number(bLarge ? 0xFFFFFFFF : nEnd - nDirectory, 4);
    oBytes.Number(bLarge ? 0xFFFFFFFF : nDirectory, 4);
    oBytes.Zeros(2);
    oBytes.Write(sName);
}

/// The directory that all of this happens in, the current one; removed at the end.
class CWorkshop
{
public:
    CWorkshop() : m_oPath(fs::temp_directory_path() / ("archive_bench_" + std::to_string(getpid())))
    {
        fs::create_directories(m_oPath);
        fs::current_path(m_oPath);
    }

    ~CWorkshop()
    {
        fs::current_path("/");
        fs::remove_all(m_oPath);
    }

    CWorkshop(const CWorkshop&) = delete;
    CWorkshop& operator=(const CWorkshop&) = delete;

private:
    fs::path m_oPath;
};

void EnterWorkshop()
{
    static const CWorkshop s_oWorkshop;
}

std::string ArchiveOf(std::size_t nEntries)
{
    return "a" + std::to_string(nEntries);
}

/// Makes the archive and the zip of a number of entries once.
void MakeArchives(std::size_t nEntries)
{
    EnterWorkshop();
    const std::string sName = ArchiveOf(nEntries);
    if (fs::exists(sName + ".arc"))
        return;
    WriteArchive(sName + ".arc", nEntries);
    WriteZip(sName + ".zip", nEntries);
}

/// Names all over an archive, in no order.
std::vector<std::string> EntriesToOpen(const std::string& sPrefix, std::size_t nEntries)
{
    std::vector<std::string> aNames;
    std::uint32_t nRandom = 1;
    for (int i = 0; i < 1000; ++i)
    {
        nRandom = nRandom * 1664525 + 1013904223;
        aNames.push_back(sPrefix + EntryName((nRandom >> 8) % nEntries));
    }
    return aNames;
}

void OpenOurs(benchmark::State& oState, std::size_t nEntries)
{
    MakeArchives(nEntries);
    const std::vector<std::string> aNames = EntriesToOpen(ArchiveOf(nEntries) + "/", nEntries);
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    pFiles->RemoveAllRoots();
    pFiles->CloseFile(pFiles->OpenFile(aNames[0].c_str()));

    char aBytes[ENTRY_BYTES];
    std::size_t nNext = 0;
    for (auto _ : oState)
    {
        const unsigned long nHandle = pFiles->OpenFile(aNames[nNext].c_str());
        Require(pFiles->ReadFile(nHandle, aBytes, ENTRY_BYTES) == ENTRY_BYTES);
        pFiles->CloseFile(nHandle);
        nNext = (nNext + 1) % aNames.size();
    }
}

// Mounting takes seconds: once for all repetitions of a case.
void MountPeer(std::size_t nEntries)
{
    static std::size_t s_nMounted = 0;
    if (s_nMounted == nEntries)
        return;
    s_nMounted = nEntries;
    if (PHYSFS_isInit() != 0)
        PHYSFS_deinit();
    Require(PHYSFS_init(nullptr) != 0);
    Require(PHYSFS_mount((fs::current_path() / (ArchiveOf(nEntries) + ".zip")).c_str(), nullptr, 1) != 0);
}

void OpenPeer(benchmark::State& oState, std::size_t nEntries)
{
    MakeArchives(nEntries);
    MountPeer(nEntries);
    const std::vector<std::string> aNames = EntriesToOpen("", nEntries);
    char aBytes[ENTRY_BYTES];
    std::size_t nNext = 0;
    for (auto _ : oState)
    {
        PHYSFS_File* const pFile = PHYSFS_openRead(aNames[nNext].c_str());
        Require(pFile != nullptr && PHYSFS_readBytes(pFile, aBytes, ENTRY_BYTES) == ENTRY_BYTES);
        PHYSFS_close(pFile);
        nNext = (nNext + 1) % aNames.size();
    }
}

void TouchOurs(benchmark::State& oState, std::size_t nEntries)
{
    MakeArchives(nEntries);
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    pFiles->RemoveAllRoots();
    static int s_nTouched = 0;
    for (auto _ : oState)
    {
        oState.PauseTiming();
        const std::string sLink = "touch" + std::to_string(s_nTouched++);
        fs::create_hard_link(ArchiveOf(nEntries) + ".arc", sLink + ".arc");
        const std::string sFile = sLink + "/" + EntryName(nEntries / 2);
        oState.ResumeTiming();

        pFiles->CloseFile(pFiles->OpenFile(sFile.c_str()));
    }
}

void TouchPeer(benchmark::State& oState, std::size_t nEntries)
{
    MakeArchives(nEntries);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        if (PHYSFS_isInit() != 0)
            PHYSFS_deinit();
        Require(PHYSFS_init(nullptr) != 0);
        oState.ResumeTiming();

        Require(PHYSFS_mount((fs::current_path() / (ArchiveOf(nEntries) + ".zip")).c_str(), nullptr, 1) != 0);
    }
}

/// The limit: one read of the table into new memory, which is kept as ours is.
void TouchRead(benchmark::State& oState, std::size_t nEntries)
{
    MakeArchives(nEntries);
    const std::size_t nSize = nEntries * TABLE_ENTRY_SIZE;
    std::vector<std::unique_ptr<char[]>> aTables;
    for (auto _ : oState)
    {
        const int nFile = ::open((ArchiveOf(nEntries) + ".arc").c_str(), O_RDONLY);
        auto pTable = std::make_unique_for_overwrite<char[]>(nSize);
        const auto nOffset = static_cast<off_t>(HEADER_SIZE + nEntries * ENTRY_BYTES);
        Require(::pread(nFile, pTable.get(), nSize, nOffset) == static_cast<ssize_t>(nSize));
        ::close(nFile);
        aTables.push_back(std::move(pTable));
    }
}

/// Makes the trees that are packed, once.
void MakeTree(const std::string& sTree)
{
    EnterWorkshop();
    if (fs::exists(sTree))
        return;

    if (sTree == "small")
    {
        for (std::size_t i = 0; i < SMALL_FILES; ++i)
        {
            const fs::path oDirectory = fs::path("small") / ("d" + std::to_string(i % SMALL_DIRECTORIES));
            fs::create_directories(oDirectory);
            std::ofstream(oDirectory / EntryName(i), std::ios::binary) << std::string(100 + i % 4000, 's');
        }
        return;
    }
    fs::create_directories("large");
    for (std::size_t i = 0; i < LARGE_FILES; ++i)
    {
        std::ofstream oFile("large/" + EntryName(i), std::ios::binary);
        const std::string sPiece(1 << 20, 'l');
        for (std::size_t nDone = 0; nDone < LARGE_FILE_BYTES; nDone += sPiece.size())
            oFile << sPiece;
    }
}

void RunTar(const std::string& sArguments)
{
    Require(std::system(("tar " + sArguments).c_str()) == 0);
}

void CreateOurs(benchmark::State& oState, const char* pTree)
{
    MakeTree(pTree);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        fs::remove("packed.arc");
        oState.ResumeTiming();
        CExtendedFileSystem::Instance()->CreateArchive("packed", pTree);
    }
}

void CreateTar(benchmark::State& oState, const char* pTree)
{
    MakeTree(pTree);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        fs::remove("packed.tar");
        oState.ResumeTiming();
        RunTar(std::string("-cf packed.tar ") + pTree);
    }
}

void ExtractOurs(benchmark::State& oState, const char* pTree)
{
    MakeTree(pTree);
    CExtendedFileSystem::Instance()->CreateArchive("packed", pTree);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        fs::remove_all("out");
        fs::create_directory("out");
        oState.ResumeTiming();
        Require(CExtendedFileSystem::Instance()->ExtractArchive("packed", "out"));
    }
    fs::remove_all("out");
    fs::remove("packed.arc");
}

void ExtractTar(benchmark::State& oState, const char* pTree)
{
    MakeTree(pTree);
    RunTar(std::string("-cf packed.tar ") + pTree);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        fs::remove_all("out");
        fs::create_directory("out");
        oState.ResumeTiming();
        RunTar("-xf packed.tar -C out");
    }
    fs::remove_all("out");
    fs::remove("packed.tar");
}

BENCHMARK_CAPTURE(OpenOurs, 10, 10)->Name("open_read_close/of_10_entries/ours");
BENCHMARK_CAPTURE(OpenPeer, 10, 10)->Name("open_read_close/of_10_entries/physfs");
BENCHMARK_CAPTURE(OpenOurs, 1000, 1000)->Name("open_read_close/of_1000_entries/ours");
BENCHMARK_CAPTURE(OpenPeer, 1000, 1000)->Name("open_read_close/of_1000_entries/physfs");
BENCHMARK_CAPTURE(OpenOurs, 100000, 100000)->Name("open_read_close/of_100000_entries/ours");
BENCHMARK_CAPTURE(OpenPeer, 100000, 100000)->Name("open_read_close/of_100000_entries/physfs");
BENCHMARK_CAPTURE(TouchOurs, 100000, 100000)->Name("first_touch/ours")->Iterations(FIRST_TOUCHES)->UseRealTime();
BENCHMARK_CAPTURE(TouchRead, 100000, 100000)->Name("first_touch/read")->Iterations(FIRST_TOUCHES)->UseRealTime();
BENCHMARK_CAPTURE(TouchPeer, 100000, 100000)->Name("first_touch/physfs")->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(CreateOurs, small, "small")->Name("create/small_files/ours")->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(CreateTar, small, "small")->Name("create/small_files/tar")->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(ExtractOurs, small, "small")->Name("extract/small_files/ours")->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(ExtractTar, small, "small")->Name("extract/small_files/tar")->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(CreateOurs, large, "large")->Name("create/1_GiB/ours")->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(CreateTar, large, "large")->Name("create/1_GiB/tar")->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(ExtractOurs, large, "large")->Name("extract/1_GiB/ours")->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(ExtractTar, large, "large")->Name("extract/1_GiB/tar")->Iterations(1)->UseRealTime();
} // namespace

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
