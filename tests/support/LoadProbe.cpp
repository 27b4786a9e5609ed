// Loads the library into a process that knows nothing of it, and tells what the loading changed in the process.
//
//     LoadProbe LIBRARY          prints "loaded: N threads, N files more"
//     LoadProbe LIBRARY again    uses it, unloads it, and does all that again; then prints "again: N threads, N files
//                                more", or what did not work
//     LoadProbe LIBRARY again FILE  the same, and each time leaves a stream open that has written a byte to the file

#include <cstdint>
#include <cstdio>
#include <future>
#include <string>
#include <thread>

#if defined(_WIN32)
#    define WIN32_LEAN_AND_MEAN
#    include <windows.h>

#    include <tlhelp32.h>

namespace
{
void* Load(const char* pPath)
{
    return reinterpret_cast<void*>(LoadLibraryA(pPath));
}

void* Find(void* pLibrary, const char* pFunction)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(pLibrary), pFunction));
}

bool Unload(void* pLibrary)
{
    return FreeLibrary(static_cast<HMODULE>(pLibrary)) != 0;
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
void* Load(const char* pPath)
{
    return dlopen(pPath, RTLD_NOW | RTLD_LOCAL);
}

void* Find(void* pLibrary, const char* pFunction)
{
    return dlsym(pLibrary, pFunction);
}

bool Unload(void* pLibrary)
{
    return dlclose(pLibrary) == 0;
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

namespace
{
bool IsEmpty(const char* pFile)
{
    std::FILE* const pStream = std::fopen(pFile, "rb");
    const bool bEmpty = pStream != nullptr && std::fgetc(pStream) == EOF;
    if (pStream != nullptr)
        std::fclose(pStream);
    return bEmpty;
}

// Uses the library from here and from a thread that ends, as owner of a mutex, when the library is unloaded already.
// Leaves a stream to pFile open, unless that is null. Returns what did not work, null when everything did.
const char* UseAndUnload(void* pLibrary, const char* pFile)
{
    const auto pCreate = reinterpret_cast<void* (*)(bool, const char*)>(Find(pLibrary, "SYNC_CreateMutex"));
    const auto pLock = reinterpret_cast<unsigned (*)(void*)>(Find(pLibrary, "SYNC_LockMutex"));
    const auto pUnlock = reinterpret_cast<int (*)(void*)>(Find(pLibrary, "SYNC_UnlockMutex"));
    const auto pDestroy = reinterpret_cast<bool (*)(void*)>(Find(pLibrary, "SYNC_DestroyMutex"));
    const auto pOpen = reinterpret_cast<int (*)(const char*, const char*)>(Find(pLibrary, "FILE_Open"));
    if (pCreate == nullptr || pLock == nullptr || pUnlock == nullptr || pDestroy == nullptr || pOpen == nullptr)
        return "a function is missing";

    if (pOpen("no such file", "rb") != -1)
        return "a missing file was opened";
    void* const hOwn = pCreate(false, nullptr);
    if (hOwn == nullptr || pLock(hOwn) != 0 || pUnlock(hOwn) == 0 || !pDestroy(hOwn))
        return "a mutex did not work";

    if (pFile != nullptr)
    {
        const auto pWrite =
            reinterpret_cast<unsigned (*)(int, const void*, unsigned, unsigned)>(Find(pLibrary, "FILE_Write"));
        if (pWrite == nullptr || pWrite(pOpen(pFile, "wb"), "x", 1, 1) != 1)
            return "a file was not written";
    }

    void* const hThreads = pCreate(false, nullptr);
    std::promise<unsigned> oLocked;
    std::promise<void> oUnloaded;
    std::thread oThread(
        [&]
        {
            oLocked.set_value(pLock(hThreads));
            oUnloaded.get_future().wait();
        });
    const bool bLocked = oLocked.get_future().get() == 0;
    const bool bUnloaded = Unload(pLibrary);
    oUnloaded.set_value();
    oThread.join();
    if (pFile != nullptr && !IsEmpty(pFile))
        return "what an open stream held was written";
    return !bLocked ? "a thread did not get its mutex" : !bUnloaded ? "it was not unloaded" : nullptr;
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    const bool bAgain = nArguments >= 3 && nArguments <= 4 && std::string(ppArguments[2]) == "again";
    if (nArguments != 2 && !bAgain)
        return 2;

    std::thread([] {}).join(); // the first thread of a process may bring helpers of a sanitizer along
    const int nThreads = CountThreads();
    const int nFiles = CountFiles();
    for (int i = 0; i < (bAgain ? 3 : 1); ++i)
    {
        void* const pLibrary = Load(ppArguments[1]);
        if (pLibrary == nullptr)
        {
            std::printf("cannot load %s\n", ppArguments[1]);
            return 1;
        }
        const char* const pFailure =
            bAgain ? UseAndUnload(pLibrary, nArguments == 4 ? ppArguments[3] : nullptr) : nullptr;
        if (pFailure != nullptr)
        {
            std::printf("%s\n", pFailure);
            return 1;
        }
    }
    std::printf("%s: %d threads, %d files more\n", bAgain ? "again" : "loaded", CountThreads() - nThreads,
                CountFiles() - nFiles);
    return 0;
}
