// Opening files by name beside another virtual file system with the same search path, and beside stdio.

// Links: physfs

#include <Common/File/ExtendedFileSystem.h>

#include <bench/support/Ratios.h>

#include <physfs.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
constexpr int ROOTS = 4;
constexpr int FILES = 100; // in each root
constexpr std::size_t SIZE = 4096;

void Require(bool bHolds)
{
    if (!bHolds)
        throw std::runtime_error("a file did not behave");
}

/// The roots, each with a directory of files; those of one root are in no other. Removed at the end.
class CTree
{
public:
    CTree() : m_oPath(std::filesystem::temp_directory_path() / ("xfs_bench_" + std::to_string(getpid())))
    {
        for (int nRoot = 0; nRoot < ROOTS; ++nRoot)
        {
            std::filesystem::create_directories(Root(nRoot) + "/data");
            for (int nFile = 0; nFile < FILES; ++nFile)
                std::ofstream(Root(nRoot) + "/" + Name(nRoot, nFile), std::ios::binary) << std::string(SIZE, 'x');
        }
    }

    ~CTree() { std::filesystem::remove_all(m_oPath); }

    CTree(const CTree&) = delete;
    CTree& operator=(const CTree&) = delete;

    std::string Root(int nRoot) const { return (m_oPath / ("root" + std::to_string(nRoot))).string(); }

    static std::string Name(int nRoot, int nFile)
    {
        return "data/file_" + std::to_string(nRoot) + "_" + std::to_string(nFile) + ".dat";
    }

    /// The names that the cases ask for.
    static std::vector<std::string> Names(int nRoot)
    {
        std::vector<std::string> aNames;
        for (int nFile = 0; nFile < FILES; ++nFile)
            aNames.push_back(Name(nRoot, nFile));
        return aNames;
    }

private:
    std::filesystem::path m_oPath;
};

const CTree& Tree()
{
    static const CTree s_oTree;
    return s_oTree;
}

/// Takes nCount roots, those with the highest numbers last.
void MountOurs(int nCount)
{
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    pFiles->RemoveAllRoots();
    for (int nRoot = 0; nRoot < nCount; ++nRoot)
        pFiles->AddRoot(Tree().Root(nRoot).c_str());
}

void MountPeer(int nCount)
{
    if (PHYSFS_isInit() != 0)
        PHYSFS_deinit();
    Require(PHYSFS_init(nullptr) != 0);
    for (int nRoot = 0; nRoot < nCount; ++nRoot)
        Require(PHYSFS_mount(Tree().Root(nRoot).c_str(), nullptr, 1) != 0);
}

void ReadOurs(benchmark::State& oState, int nRoots)
{
    MountOurs(nRoots);
    const auto aNames = CTree::Names(nRoots - 1);
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    char aBytes[SIZE];
    std::size_t nNext = 0;
    for (auto _ : oState)
    {
        const unsigned long nHandle = pFiles->OpenFile(aNames[nNext].c_str());
        Require(pFiles->ReadFile(nHandle, aBytes, SIZE) == SIZE);
        pFiles->CloseFile(nHandle);
        nNext = (nNext + 1) % aNames.size();
    }
}

void ReadPeer(benchmark::State& oState, int nRoots)
{
    MountPeer(nRoots);
    const auto aNames = CTree::Names(nRoots - 1);
    char aBytes[SIZE];
    std::size_t nNext = 0;
    for (auto _ : oState)
    {
        PHYSFS_File* const pFile = PHYSFS_openRead(aNames[nNext].c_str());
        Require(pFile != nullptr && PHYSFS_readBytes(pFile, aBytes, SIZE) == static_cast<PHYSFS_sint64>(SIZE));
        PHYSFS_close(pFile);
        nNext = (nNext + 1) % aNames.size();
    }
}

/// The floor: what an open costs where somebody else has found the file.
void ReadStdio(benchmark::State& oState, int nRoots)
{
    std::vector<std::string> aNames;
    for (const std::string& sName : CTree::Names(nRoots - 1))
        aNames.push_back(Tree().Root(nRoots - 1) + "/" + sName);
    char aBytes[SIZE];
    std::size_t nNext = 0;
    for (auto _ : oState)
    {
        std::FILE* const pFile = std::fopen(aNames[nNext].c_str(), "rb");
        Require(pFile != nullptr && std::fread(aBytes, 1, SIZE, pFile) == SIZE);
        std::fclose(pFile);
        nNext = (nNext + 1) % aNames.size();
    }
}

void MissOurs(benchmark::State& oState, int nRoots, const char* pName)
{
    MountOurs(nRoots);
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    int nMissed = 0;
    for (auto _ : oState)
    {
        try
        {
            pFiles->OpenFile(pName);
        }
        catch (const std::exception&)
        {
            throw;
        }
        catch (...)
        {
            ++nMissed;
        }
    }
    Require(nMissed == oState.iterations());
}

void MissPeer(benchmark::State& oState, int nRoots, const char* pName)
{
    MountPeer(nRoots);
    for (auto _ : oState)
        Require(PHYSFS_openRead(pName) == nullptr);
}

const char* const MISSING = "data/no_such_file.dat";
const char* const MISSING_DIRECTORY = "nowhere/no_such_file.dat";

BENCHMARK_CAPTURE(ReadOurs, 1, 1)->Name("open_read_close/first_of_1_root/ours");
BENCHMARK_CAPTURE(ReadPeer, 1, 1)->Name("open_read_close/first_of_1_root/physfs");
BENCHMARK_CAPTURE(ReadStdio, 1, 1)->Name("open_read_close/first_of_1_root/stdio");
BENCHMARK_CAPTURE(ReadOurs, 4, ROOTS)->Name("open_read_close/last_of_4_roots/ours");
BENCHMARK_CAPTURE(ReadPeer, 4, ROOTS)->Name("open_read_close/last_of_4_roots/physfs");
BENCHMARK_CAPTURE(ReadStdio, 4, ROOTS)->Name("open_read_close/last_of_4_roots/stdio");
BENCHMARK_CAPTURE(MissOurs, File, ROOTS, MISSING)->Name("miss/in_4_roots/ours");
BENCHMARK_CAPTURE(MissPeer, File, ROOTS, MISSING)->Name("miss/in_4_roots/physfs");
BENCHMARK_CAPTURE(MissOurs, Directory, ROOTS, MISSING_DIRECTORY)->Name("miss/directory_in_4_roots/ours");
BENCHMARK_CAPTURE(MissPeer, Directory, ROOTS, MISSING_DIRECTORY)->Name("miss/directory_in_4_roots/physfs");
} // namespace

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
