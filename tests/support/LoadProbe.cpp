// Loads the library into a process that knows nothing of it, and tells what the loading changed in the process.
//
//     LoadProbe LIBRARY    prints "loaded: N threads, N files more"

#include <cstdint>
#include <cstdio>
#include <string>

#if defined(_WIN32)
#    define WIN32_LEAN_AND_MEAN
#    include <windows.h>

#    include <tlhelp32.h>

namespace
{
bool Load(const char* pPath)
{
    return LoadLibraryA(pPath) != nullptr;
}

int CountThreads()
{
    HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 oThread{};
    oThread.dwSize = sizeof(oThread);
    int nThreads = 0;
    for (BOOL bMore = Thread32First(hSnapshot, &oThread); bMore; bMore = Thread32Next(hSnapshot, &oThread))
        nThreads += oThread.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(hSnapshot);
    return nThreads;
}

int CountFiles()
{
    constexpr std::uintptr_t LAST_HANDLE = 0x1000; // handles are small multiples of 4
    int nFiles = 0;
    for (std::uintptr_t nHandle = 4; nHandle <= LAST_HANDLE; nHandle += 4)
        nFiles += GetFileType(reinterpret_cast<HANDLE>(nHandle)) == FILE_TYPE_DISK;
    return nFiles;
}
} // namespace
#else
#    include <dlfcn.h>

#    include <filesystem>

namespace
{
bool Load(const char* pPath)
{
    return dlopen(pPath, RTLD_NOW | RTLD_LOCAL) != nullptr;
}

int CountEntries(const char* pDirectory)
{
    int nEntries = 0;
    for ([[maybe_unused]] const auto& oEntry : std::filesystem::directory_iterator(pDirectory))
        ++nEntries;
    return nEntries;
}

int CountThreads()
{
    return CountEntries("/proc/self/task");
}

int CountFiles()
{
    return CountEntries("/proc/self/fd");
}
} // namespace
#endif

int main(int nArguments, char** ppArguments)
{
    if (nArguments != 2)
        return 2;

    const int nThreads = CountThreads();
    const int nFiles = CountFiles();
    if (!Load(ppArguments[1]))
    {
        std::printf("cannot load %s\n", ppArguments[1]);
        return 1;
    }
    std::printf("loaded: %d threads, %d files more\n", CountThreads() - nThreads, CountFiles() - nFiles);
    return 0;
}
