// What a file costs through the FILE_ functions, each case beside the runtime library's streams and the bare calls of
// the system. The names that are missing show the price of the second look without regard to case.

#include <Common/Platform/PlatformFile.h>

#include <bench/support/Ratios.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr unsigned BLOCK_SIZE = 4096;
constexpr unsigned SMALL_COUNT = 1 << 18;

/// The files that all cases share: Small with 4 KiB, Big with 1 MiB, and directories with many names.
class CTree
{
public:
    CTree() : m_oPath(fs::temp_directory_path() / ("common-bench-" + std::to_string(::getpid())))
    {
        fs::create_directories(m_oPath / "Some/Where");
        Write("Some/Where/Small", BLOCK_SIZE);
        Write("Big", SMALL_COUNT * 4);
        for (const int nCount : {10, 1000, 100000})
            for (int i = 0; i < nCount; ++i)
                Write("Names" + std::to_string(nCount) + "/Name" + std::to_string(i), 0);
    }

    ~CTree()
    {
        std::error_code oIgnored;
        fs::remove_all(m_oPath, oIgnored);
    }

    CTree(const CTree&) = delete;
    CTree& operator=(const CTree&) = delete;

    std::string PathOf(const std::string& sName) const { return (m_oPath / sName).string(); }

private:
    void Write(const std::string& sName, std::size_t nSize) const
    {
        const fs::path oPath = m_oPath / sName;
        if (!fs::exists(oPath.parent_path()))
            fs::create_directories(oPath.parent_path());
        std::ofstream(oPath, std::ios::binary) << std::string(nSize, 'x');
    }

    fs::path m_oPath;
};

const CTree& Tree()
{
    static const CTree s_oTree;
    return s_oTree;
}

char s_aBlock[BLOCK_SIZE];

// ---------------------------------------------------------------- open, read 4 KiB, close

void OpenReadClose_Ours(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Some/Where/Small");
    for (auto _ : oState)
    {
        const int nFile = FILE_Open(sPath.c_str(), "rb");
        if (FILE_Read(nFile, s_aBlock, 1, BLOCK_SIZE) != BLOCK_SIZE)
            std::abort();
        FILE_Close(nFile);
    }
}

void OpenReadClose_Stdio(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Some/Where/Small");
    for (auto _ : oState)
    {
        std::FILE* const pFile = std::fopen(sPath.c_str(), "rb");
        if (std::fread(s_aBlock, 1, BLOCK_SIZE, pFile) != BLOCK_SIZE)
            std::abort();
        std::fclose(pFile);
    }
}

void OpenReadClose_System(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Some/Where/Small");
    for (auto _ : oState)
    {
        const int nFile = ::open(sPath.c_str(), O_RDONLY | O_CLOEXEC);
        if (::read(nFile, s_aBlock, BLOCK_SIZE) != BLOCK_SIZE)
            std::abort();
        ::close(nFile);
    }
}

void OpenReadClose_OtherCase(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("sOME/wHERE/sMALL");
    for (auto _ : oState)
    {
        const int nFile = FILE_Open(sPath.c_str(), "rb");
        if (FILE_Read(nFile, s_aBlock, 1, BLOCK_SIZE) != BLOCK_SIZE)
            std::abort();
        FILE_Close(nFile);
    }
}

// ---------------------------------------------------------------- 4 bytes at a time

void Read4_Ours(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Big");
    const int nFile = FILE_Open(sPath.c_str(), "rb");
    for (auto _ : oState)
    {
        FILE_Seek(nFile, 0, 2);
        for (unsigned i = 0; i < SMALL_COUNT; ++i)
            if (FILE_Read(nFile, s_aBlock, 1, 4) != 4)
                std::abort();
    }
    FILE_Close(nFile);
    oState.SetItemsProcessed(oState.iterations() * SMALL_COUNT);
}

void Read4_Stdio(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Big");
    std::FILE* const pFile = std::fopen(sPath.c_str(), "rb");
    for (auto _ : oState)
    {
        std::fseek(pFile, 0, SEEK_SET);
        for (unsigned i = 0; i < SMALL_COUNT; ++i)
            if (std::fread(s_aBlock, 1, 4, pFile) != 4)
                std::abort();
    }
    std::fclose(pFile);
    oState.SetItemsProcessed(oState.iterations() * SMALL_COUNT);
}

void Write4_Ours(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Written");
    const int nFile = FILE_Open(sPath.c_str(), "wb");
    for (auto _ : oState)
    {
        FILE_Seek(nFile, 0, 2);
        for (unsigned i = 0; i < SMALL_COUNT; ++i)
            if (FILE_Write(nFile, s_aBlock, 1, 4) != 4)
                std::abort();
    }
    FILE_Close(nFile);
    oState.SetItemsProcessed(oState.iterations() * SMALL_COUNT);
}

void Write4_Stdio(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Written");
    std::FILE* const pFile = std::fopen(sPath.c_str(), "wb");
    for (auto _ : oState)
    {
        std::fseek(pFile, 0, SEEK_SET);
        for (unsigned i = 0; i < SMALL_COUNT; ++i)
            if (std::fwrite(s_aBlock, 1, 4, pFile) != 4)
                std::abort();
    }
    std::fclose(pFile);
    oState.SetItemsProcessed(oState.iterations() * SMALL_COUNT);
}

// ---------------------------------------------------------------- names that are missing

std::string MissingIn(const benchmark::State& oState)
{
    return Tree().PathOf("Names" + std::to_string(oState.range(0)) + "/missing.file");
}

void Missing_Ours(benchmark::State& oState)
{
    const std::string sPath = MissingIn(oState);
    for (auto _ : oState)
        if (FILE_Open(sPath.c_str(), "rb") != -1)
            std::abort();
}

void Missing_Stdio(benchmark::State& oState)
{
    const std::string sPath = MissingIn(oState);
    for (auto _ : oState)
        if (std::fopen(sPath.c_str(), "rb") != nullptr)
            std::abort();
}

void Missing_Open(benchmark::State& oState)
{
    const std::string sPath = MissingIn(oState);
    for (auto _ : oState)
        if (::open(sPath.c_str(), O_RDONLY | O_CLOEXEC) != -1)
            std::abort();
}

void Missing_Stat(benchmark::State& oState)
{
    const std::string sPath = MissingIn(oState);
    struct stat oStat;
    for (auto _ : oState)
        if (::stat(sPath.c_str(), &oStat) != -1)
            std::abort();
}

void MissingFolder_Ours(benchmark::State& oState)
{
    const std::string sPath = Tree().PathOf("Names1000/no/such/folder/missing.file");
    for (auto _ : oState)
        if (FILE_Open(sPath.c_str(), "rb") != -1)
            std::abort();
}

// A name that is missing right after its directory changed: the directory is read anew.
void MissingAfterChange_Ours(benchmark::State& oState)
{
    const std::string sPath = MissingIn(oState);
    const std::string sNew = sPath + ".new";
    for (auto _ : oState)
    {
        FILE_Close(FILE_Open(sNew.c_str(), "wb"));
        if (FILE_Open(sPath.c_str(), "rb") != -1)
            std::abort();
        FILE_Delete(sNew.c_str());
    }
}

void MissingAfterChange_System(benchmark::State& oState)
{
    const std::string sPath = MissingIn(oState);
    const std::string sNew = sPath + ".new";
    for (auto _ : oState)
    {
        ::close(::open(sNew.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        if (::open(sPath.c_str(), O_RDONLY | O_CLOEXEC) != -1)
            std::abort();
        ::unlink(sNew.c_str());
    }
}

void Register(const std::string& sName, void (*fnCase)(benchmark::State&), int nArgument = 0)
{
    benchmark::RegisterBenchmark(sName.c_str(), fnCase)->Arg(nArgument);
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    Register("open, read 4 KiB, close/ours", OpenReadClose_Ours);
    Register("open, read 4 KiB, close/stdio", OpenReadClose_Stdio);
    Register("open, read 4 KiB, close/system", OpenReadClose_System);
    Register("open, read 4 KiB, close/ours in another case", OpenReadClose_OtherCase);
    Register("read 4 bytes/ours", Read4_Ours);
    Register("read 4 bytes/stdio", Read4_Stdio);
    Register("write 4 bytes/ours", Write4_Ours);
    Register("write 4 bytes/stdio", Write4_Stdio);
    for (const int nNames : {10, 1000, 100000})
    {
        const std::string sWork = "missing among " + std::to_string(nNames) + " names/";
        Register(sWork + "ours", Missing_Ours, nNames);
        Register(sWork + "stdio", Missing_Stdio, nNames);
        Register(sWork + "open", Missing_Open, nNames);
        Register(sWork + "stat", Missing_Stat, nNames);
    }
    Register("missing, its folder too/ours", MissingFolder_Ours);
    for (const int nNames : {10, 1000})
    {
        const std::string sWork = "missing after a change among " + std::to_string(nNames) + " names/";
        Register(sWork + "ours", MissingAfterChange_Ours, nNames);
        Register(sWork + "system", MissingAfterChange_System, nNames);
    }
    return RunWithRatios(nArguments, ppArguments);
}
