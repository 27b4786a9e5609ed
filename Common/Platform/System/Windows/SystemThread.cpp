#include <Common/Platform/System/SystemThread.h>

#include <windows.h>

#include <memory>
#include <new>

namespace
{
static_assert(THREAD_PRIORITY_LOWEST == System::THREAD_LEVEL_LOWEST);
static_assert(THREAD_PRIORITY_NORMAL == System::THREAD_LEVEL_NORMAL);
static_assert(THREAD_PRIORITY_HIGHEST == System::THREAD_LEVEL_HIGHEST);
static_assert(THREAD_PRIORITY_TIME_CRITICAL == System::THREAD_LEVEL_TIME_CRITICAL);
static_assert(THREAD_PRIORITY_ERROR_RETURN == System::THREAD_LEVEL_UNKNOWN);
static_assert(STILL_ACTIVE == System::EXIT_CODE_RUNNING);

struct Work
{
    System::ThreadEntry pEntry;
    std::uintptr_t nArgument;
};

DWORD WINAPI RunWork(LPVOID pParameter)
{
    const std::unique_ptr<Work> pWork(static_cast<Work*>(pParameter));
    const Work oWork = *pWork;
    return oWork.pEntry(oWork.nArgument);
}
} // namespace

void* System::StartThread(ThreadEntry pEntry, std::uintptr_t nArgument, std::atomic<std::uint32_t>& nIdentifier)
{
    std::unique_ptr<Work> pWork(new (std::nothrow) Work{pEntry, nArgument});
    if (!pWork)
        return nullptr;

    // The identifier is written before the thread runs: a thread that ends at once sets it back to 0, for good.
    DWORD nThread = 0;
    const HANDLE hThread = CreateThread(nullptr, 0, &RunWork, pWork.get(), CREATE_SUSPENDED, &nThread);
    if (hThread == nullptr)
        return nullptr;

    static_cast<void>(pWork.release());
    nIdentifier.store(nThread);
    ResumeThread(hThread);
    return hThread;
}

bool System::ReadExitCode(void* hThread, std::uint32_t& nCode)
{
    DWORD nExitCode = 0;
    if (!GetExitCodeThread(hThread, &nExitCode))
        return false;

    nCode = nExitCode;
    return true;
}

bool System::WriteThreadLevel(void* hThread, int nLevel)
{
    return SetThreadPriority(hThread, nLevel) != 0;
}

int System::ReadThreadLevel(void* hThread)
{
    return GetThreadPriority(hThread);
}

void System::SleepFor(unsigned nMilliseconds)
{
    Sleep(nMilliseconds);
}
