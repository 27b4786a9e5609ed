// Small reads and writes through the file object beside the runtime library's streams, large ones beside the system's
// own call. Each case works on the same file, which the system holds in its memory.

#include <Common/File/FileIO.h>

#include <bench/support/Ratios.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
constexpr std::size_t SMALL_COUNT = 1 << 18; // values of 4 bytes in the file
constexpr std::size_t LARGE_SIZE = 1 << 20;
constexpr std::size_t LARGE_COUNT = 32;

/// A directory for the files of this run, removed at its end.
class CWorkDirectory
{
public:
    CWorkDirectory() : m_oPath(std::filesystem::temp_directory_path() / ("FileIO_bench_" + std::to_string(getpid())))
    {
        std::filesystem::create_directory(m_oPath);
        std::ofstream oFile(Path("read"), std::ios::binary);
        const std::string sBlock(LARGE_SIZE, 'x');
        for (std::size_t i = 0; i < LARGE_COUNT; ++i)
            oFile << sBlock;
        std::ofstream oText(Path("lines"), std::ios::binary);
        for (int i = 0; i < 20000; ++i)
            oText << std::string(static_cast<std::size_t>(i % 80), 'y') << "\r\n";
    }

    ~CWorkDirectory() { std::filesystem::remove_all(m_oPath); }

    CWorkDirectory(const CWorkDirectory&) = delete;
    CWorkDirectory& operator=(const CWorkDirectory&) = delete;

    std::string Path(const char* pName) const { return (m_oPath / pName).string(); }

private:
    std::filesystem::path m_oPath;
};

const CWorkDirectory& Work()
{
    static const CWorkDirectory s_oWork;
    return s_oWork;
}

void Require(bool bHolds)
{
    if (!bHolds)
        throw std::runtime_error("a transfer failed");
}

void ReadSmallOurs(benchmark::State& oState)
{
    CFileIO oFile;
    oFile.Open(Work().Path("read").c_str(), CFileIO::READ);
    int nSum = 0;
    for (auto _ : oState)
    {
        oFile.SetFilePointerPos(0);
        for (std::size_t i = 0; i < SMALL_COUNT; ++i)
        {
            int nValue = 0;
            Require(oFile.Read(nValue));
            nSum += nValue;
        }
    }
    benchmark::DoNotOptimize(nSum);
    oState.SetItemsProcessed(oState.iterations() * static_cast<std::int64_t>(SMALL_COUNT));
}

void ReadSmallStdio(benchmark::State& oState)
{
    std::FILE* const pFile = std::fopen(Work().Path("read").c_str(), "rb");
    int nSum = 0;
    for (auto _ : oState)
    {
        std::fseek(pFile, 0, SEEK_SET);
        for (std::size_t i = 0; i < SMALL_COUNT; ++i)
        {
            int nValue = 0;
            Require(std::fread(&nValue, 1, sizeof nValue, pFile) == sizeof nValue);
            nSum += nValue;
        }
    }
    std::fclose(pFile);
    benchmark::DoNotOptimize(nSum);
    oState.SetItemsProcessed(oState.iterations() * static_cast<std::int64_t>(SMALL_COUNT));
}

void ReadSmallStream(benchmark::State& oState)
{
    std::ifstream oFile(Work().Path("read"), std::ios::binary);
    int nSum = 0;
    for (auto _ : oState)
    {
        oFile.seekg(0);
        for (std::size_t i = 0; i < SMALL_COUNT; ++i)
        {
            int nValue = 0;
            Require(static_cast<bool>(oFile.read(reinterpret_cast<char*>(&nValue), sizeof nValue)));
            nSum += nValue;
        }
    }
    benchmark::DoNotOptimize(nSum);
    oState.SetItemsProcessed(oState.iterations() * static_cast<std::int64_t>(SMALL_COUNT));
}

void WriteSmallOurs(benchmark::State& oState)
{
    CFileIO oFile;
    oFile.Open(Work().Path("write").c_str(), CFileIO::WRITE);
    for (auto _ : oState)
    {
        oFile.SetFilePointerPos(0);
        for (std::size_t i = 0; i < SMALL_COUNT; ++i)
            Require(oFile.Write(static_cast<int>(i)));
        Require(oFile.Flush());
    }
    oState.SetItemsProcessed(oState.iterations() * static_cast<std::int64_t>(SMALL_COUNT));
}

void WriteSmallStdio(benchmark::State& oState)
{
    std::FILE* const pFile = std::fopen(Work().Path("write").c_str(), "wb");
    for (auto _ : oState)
    {
        std::fseek(pFile, 0, SEEK_SET);
        for (std::size_t i = 0; i < SMALL_COUNT; ++i)
        {
            const int nValue = static_cast<int>(i);
            Require(std::fwrite(&nValue, 1, sizeof nValue, pFile) == sizeof nValue);
        }
        Require(std::fflush(pFile) == 0);
    }
    std::fclose(pFile);
    oState.SetItemsProcessed(oState.iterations() * static_cast<std::int64_t>(SMALL_COUNT));
}

void WriteSmallStream(benchmark::State& oState)
{
    std::ofstream oFile(Work().Path("write"), std::ios::binary);
    for (auto _ : oState)
    {
        oFile.seekp(0);
        for (std::size_t i = 0; i < SMALL_COUNT; ++i)
        {
            const int nValue = static_cast<int>(i);
            Require(static_cast<bool>(oFile.write(reinterpret_cast<const char*>(&nValue), sizeof nValue)));
        }
        oFile.flush();
    }
    oState.SetItemsProcessed(oState.iterations() * static_cast<std::int64_t>(SMALL_COUNT));
}

void ReadLargeOurs(benchmark::State& oState)
{
    std::vector<char> aBlock(LARGE_SIZE);
    CFileIO oFile;
    oFile.Open(Work().Path("read").c_str(), CFileIO::READ);
    for (auto _ : oState)
    {
        oFile.SetFilePointerPos(0);
        for (std::size_t i = 0; i < LARGE_COUNT; ++i)
            Require(oFile.Read(aBlock.data(), LARGE_SIZE));
    }
    oState.SetBytesProcessed(oState.iterations() * static_cast<std::int64_t>(LARGE_SIZE * LARGE_COUNT));
}

void ReadLargeSystem(benchmark::State& oState)
{
    std::vector<char> aBlock(LARGE_SIZE);
    const int nFile = open(Work().Path("read").c_str(), O_RDONLY);
    for (auto _ : oState)
    {
        Require(lseek(nFile, 0, SEEK_SET) == 0);
        for (std::size_t i = 0; i < LARGE_COUNT; ++i)
            Require(read(nFile, aBlock.data(), LARGE_SIZE) == static_cast<ssize_t>(LARGE_SIZE));
    }
    close(nFile);
    oState.SetBytesProcessed(oState.iterations() * static_cast<std::int64_t>(LARGE_SIZE * LARGE_COUNT));
}

void ReadLinesOurs(benchmark::State& oState)
{
    CFileIO oFile;
    oFile.Open(Work().Path("lines").c_str(), CFileIO::READ);
    char aLine[256];
    for (auto _ : oState)
    {
        oFile.SetFilePointerPos(0);
        while (!oFile.IsEof())
            Require(oFile.ReadLine(aLine, sizeof aLine));
    }
}

void ReadLinesStream(benchmark::State& oState)
{
    std::ifstream oFile(Work().Path("lines"), std::ios::binary);
    std::string sLine;
    for (auto _ : oState)
    {
        oFile.clear();
        oFile.seekg(0);
        while (std::getline(oFile, sLine))
        {
            if (!sLine.empty() && sLine.back() == '\r')
                sLine.pop_back();
        }
    }
}

BENCHMARK(ReadSmallOurs)->Name("read/4_bytes/ours");
BENCHMARK(ReadSmallStdio)->Name("read/4_bytes/fread");
BENCHMARK(ReadSmallStream)->Name("read/4_bytes/ifstream");
BENCHMARK(WriteSmallOurs)->Name("write/4_bytes/ours");
BENCHMARK(WriteSmallStdio)->Name("write/4_bytes/fwrite");
BENCHMARK(WriteSmallStream)->Name("write/4_bytes/ofstream");
BENCHMARK(ReadLargeOurs)->Name("read/1_MiB/ours");
BENCHMARK(ReadLargeSystem)->Name("read/1_MiB/read(2)");
BENCHMARK(ReadLinesOurs)->Name("read/lines/ours");
BENCHMARK(ReadLinesStream)->Name("read/lines/getline");
} // namespace

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
