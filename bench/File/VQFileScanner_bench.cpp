// Walks a tree of 200,000 files in 20,000 directories, beside std::filesystem::recursive_directory_iterator, GNU find
// and fd on one thread; and counts what is in it, beside find and wc. Programs are started for it, as a script starts
// them: what their start alone costs is a case of its own. The tree is warm: each case has walked it once before.

#include <Common/File/VQFileScanner.h>
#include <bench/support/Ratios.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{
constexpr int TOP_DIRECTORIES = 200; // each with 99 in it
constexpr int SUBDIRECTORIES = 99;
constexpr int FILES = 10; // in each of all

/// The tree, made once in the directory for temporary files.
class CTree
{
public:
    CTree() : m_oPath(std::filesystem::temp_directory_path() / "VQFileScanner_bench")
    {
        std::filesystem::remove_all(m_oPath);
        for (int i = 0; i < TOP_DIRECTORIES; ++i)
        {
            const std::filesystem::path oTop = m_oPath / ("directory " + std::to_string(i));
            Fill(oTop);
            for (int j = 0; j < SUBDIRECTORIES; ++j)
                Fill(oTop / ("subdirectory " + std::to_string(j)));
        }
    }

    ~CTree() { std::filesystem::remove_all(m_oPath); }

    CTree(const CTree&) = delete;
    CTree& operator=(const CTree&) = delete;

    std::string GetPath() const { return m_oPath.string(); }

private:
    static void Fill(const std::filesystem::path& oDirectory)
    {
        std::filesystem::create_directories(oDirectory);
        for (int i = 0; i < FILES; ++i)
            std::ofstream(oDirectory / ("a file of the tree " + std::to_string(i) + ".txt"));
    }

    std::filesystem::path m_oPath;
};

std::string TreePath()
{
    static const CTree s_oTree;
    return s_oTree.GetPath();
}

void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

constexpr int ALL_DIRECTORIES = TOP_DIRECTORIES * (SUBDIRECTORIES + 1);
constexpr int ALL_FILES = ALL_DIRECTORIES * FILES;

int g_nSeen = 0;
std::size_t g_nBytes = 0;

void Take(eScannerMode, sFileData* pData, unsigned long)
{
    ++g_nSeen;
    g_nBytes += static_cast<std::size_t>(pData->m_oFullDirectory.GetLength() + pData->m_oFileName.GetLength() + 1);
}

void WalkOurs(benchmark::State& oState)
{
    CVQFileScanner oScanner;
    oScanner.AddScanDirectory(TreePath().c_str(), "*.*");
    for (auto _ : oState)
    {
        g_nSeen = 0;
        oScanner.Run(Take, 0);
        Require(g_nSeen == ALL_FILES);
    }
}

void WalkIterator(benchmark::State& oState)
{
    const std::string sTree = TreePath();
    for (auto _ : oState)
    {
        g_nSeen = 0;
        for (const auto& oEntry : std::filesystem::recursive_directory_iterator(sTree))
        {
            if (oEntry.is_directory())
                continue;
            ++g_nSeen;
            g_nBytes += oEntry.path().native().size();
        }
        Require(g_nSeen == ALL_FILES);
    }
}

void Start(benchmark::State& oState, const std::string& sCommand)
{
    Require(std::system(sCommand.c_str()) == 0);
    for (auto _ : oState)
        Require(std::system(sCommand.c_str()) == 0);
}

void WalkFind(benchmark::State& oState)
{
    Start(oState, "find '" + TreePath() + "' -type f >/dev/null");
}

void WalkFd(benchmark::State& oState)
{
    Start(oState, "fdfind --threads 1 --unrestricted --type f . '" + TreePath() + "' >/dev/null");
}

void StartOfAProgram(benchmark::State& oState)
{
    Start(oState, "find /dev/null -type f >/dev/null");
}

void CountOurs(benchmark::State& oState)
{
    CVQFileScanner oScanner;
    oScanner.AddScanDirectory(TreePath().c_str(), "");
    for (auto _ : oState)
    {
        int nFiles = 0;
        int nFolders = 0;
        oScanner.GetFolderFileCount(nFiles, nFolders, "*.*");
        Require(nFiles == ALL_FILES && nFolders == ALL_DIRECTORIES);
    }
}

void CountFind(benchmark::State& oState)
{
    Start(oState, "test $(find '" + TreePath() + "' -type f | wc -l) = " + std::to_string(ALL_FILES));
}

BENCHMARK(WalkOurs)->Name("walk/200000_files/ours")->UseRealTime();
BENCHMARK(WalkIterator)->Name("walk/200000_files/recursive_iterator")->UseRealTime();
BENCHMARK(WalkFind)->Name("walk/200000_files/find")->UseRealTime();
BENCHMARK(WalkFd)->Name("walk/200000_files/fd_1_thread")->UseRealTime();
BENCHMARK(CountOurs)->Name("count/200000_files/ours")->UseRealTime();
BENCHMARK(CountFind)->Name("count/200000_files/find_wc")->UseRealTime();
BENCHMARK(StartOfAProgram)->Name("start/of_a_program/find")->UseRealTime();
} // namespace

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
