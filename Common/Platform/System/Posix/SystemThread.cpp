#include <Common/Platform/System/SystemThread.h>

#include <Common/Platform/System/Posix/Futex.h>
#include <Common/Platform/System/Posix/ThreadRecord.h>
#include <Common/Platform/System/Posix/WaitTable.h>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace System
{
namespace
{
// Distance of the lowest and the highest level from the nice value of the program.
constexpr int NICE_STEP = 10;

constexpr int NICE_FIRST = -20;
constexpr int NICE_LAST = 19;

std::uint32_t ToNumber(const void* hThread)
{
    const auto nValue = reinterpret_cast<std::uintptr_t>(hThread);
    return nValue <= 0x7FFFFFFF ? static_cast<std::uint32_t>(nValue) : 0;
}

// Lies on the stack of the thread that starts another one, until that one has begun.
struct Start
{
    ThreadEntry pEntry;
    std::uintptr_t nArgument;
    std::uint32_t hThread;
    std::atomic<std::uint32_t>& nIdentifier;
    std::atomic<std::uint32_t> nBegun{0};
};

void* RunThread(void* pParameter)
{
    auto& oStart = *static_cast<Start*>(pParameter);
    const ThreadEntry pEntry = oStart.pEntry;
    const std::uintptr_t nArgument = oStart.nArgument;

    ThreadRecord& oThread = ThreadRecord::This();
    oThread.SetHandle(oStart.hThread);
    WaitTable::BeginThread(oStart.hThread, oThread.Number());
    oStart.nIdentifier.store(oThread.Number());

    std::atomic<std::uint32_t>* pBegun = &oStart.nBegun;
    pBegun->store(1, std::memory_order_release); // the parameter is gone from here on
    FutexWake(pBegun);

    oThread.SetExitCode(pEntry(nArgument));
    return nullptr;
}

// A nice value that the program may not give becomes the best that it may, if that is any better than the one there is.
void SetNice(std::uint32_t nThread, int nNice)
{
    nNice = std::clamp(nNice, NICE_FIRST, NICE_LAST);
    if (setpriority(PRIO_PROCESS, nThread, nNice) == 0 || (errno != EACCES && errno != EPERM))
        return;

    rlimit oLimit = {};
    if (getrlimit(RLIMIT_NICE, &oLimit) != 0)
        return;
    const int nBest = NICE_LAST + 1 - static_cast<int>(std::min<rlim_t>(oLimit.rlim_cur, NICE_LAST + 1 - NICE_FIRST));
    nNice = std::max(nNice, nBest);
    if (nNice < getpriority(PRIO_PROCESS, nThread))
        setpriority(PRIO_PROCESS, nThread, nNice);
}

// What the system refuses stays as it was.
void ApplyLevel(std::uint32_t nThread, int nLevel)
{
    const auto nId = static_cast<pid_t>(nThread);
    sched_param oParameter = {};

    if (nLevel == THREAD_LEVEL_TIME_CRITICAL)
    {
        oParameter.sched_priority = sched_get_priority_min(SCHED_RR);
        if (sched_setscheduler(nId, SCHED_RR | SCHED_RESET_ON_FORK, &oParameter) != 0)
            SetNice(nThread, NICE_FIRST);
        return;
    }

    const int nPolicy = sched_getscheduler(nId) & ~SCHED_RESET_ON_FORK;
    if (nPolicy == SCHED_RR)
        sched_setscheduler(nId, SCHED_OTHER | SCHED_RESET_ON_FORK, &oParameter); // dropping the flag takes a privilege

    // The main thread's nice value is the program's.
    const int nProgram = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    if (nLevel == THREAD_LEVEL_LOWEST)
        SetNice(nThread, nProgram + NICE_STEP);
    else if (nLevel == THREAD_LEVEL_HIGHEST)
        SetNice(nThread, nProgram - NICE_STEP);
    else
        SetNice(nThread, nProgram);
}
} // namespace

void* StartThread(ThreadEntry pEntry, std::uintptr_t nArgument, std::atomic<std::uint32_t>& nIdentifier)
{
    const std::uint32_t hThread = WaitTable::AddThread();
    if (hThread == 0)
        return nullptr;

    pthread_attr_t oAttributes;
    pthread_attr_init(&oAttributes);
    pthread_attr_setdetachstate(&oAttributes, PTHREAD_CREATE_DETACHED);

    Start oStart{pEntry, nArgument, hThread, nIdentifier};
    pthread_t nThread = {};
    const int nError = pthread_create(&nThread, &oAttributes, &RunThread, &oStart);
    pthread_attr_destroy(&oAttributes);
    if (nError != 0)
    {
        WaitTable::Close(hThread);
        return nullptr;
    }

    while (oStart.nBegun.load(std::memory_order_acquire) == 0)
        FutexWait(oStart.nBegun, 0, Deadline(0xFFFFFFFF));
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(hThread));
}

bool ReadExitCode(void* hThread, std::uint32_t& nCode)
{
    return WaitTable::ReadExitCode(ToNumber(hThread), nCode);
}

bool WriteThreadLevel(void* hThread, int nLevel)
{
    return WaitTable::WriteLevel(ToNumber(hThread), nLevel, &ApplyLevel);
}

int ReadThreadLevel(void* hThread)
{
    int nLevel = THREAD_LEVEL_UNKNOWN;
    return WaitTable::ReadLevel(ToNumber(hThread), nLevel) ? nLevel : THREAD_LEVEL_UNKNOWN;
}

void SleepFor(unsigned nMilliseconds)
{
    if (nMilliseconds == 0)
    {
        sched_yield();
        return;
    }

    const std::uint64_t nEnd = Deadline(nMilliseconds).End();
    const timespec oEnd = {static_cast<time_t>(nEnd / Deadline::NANOSECONDS_PER_SECOND),
                           static_cast<long>(nEnd % Deadline::NANOSECONDS_PER_SECOND)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &oEnd, nullptr) == EINTR)
    {
    }
}
} // namespace System
