// Locks that nobody else holds, beside the C++ library's mutex, which is the system's own: in a program of one thread,
// where the system's mutex needs no locked instruction, and in one of several. Then two threads at one lock.

#include <Common/Platform/PlatformSync.h>
#include <Common/ProcessControl/VQCriticalSection.h>
#include <Common/ProcessControl/VQMutex.h>

#include <bench/support/Ratios.h>

#include <mutex>
#include <thread>

namespace
{
template <class Lock>
struct SystemLock
{
    void Enter() { m_oLock.lock(); }

    void Leave() { m_oLock.unlock(); }

    Lock m_oLock;
};

struct MutexLock
{
    void Enter() { m_oMutex.Lock(); }

    void Leave() { m_oMutex.Unlock(); }

    CVQMutex m_oMutex;
};

struct HandleLock
{
    explicit HandleLock(const char* pName = nullptr) : m_hMutex(SYNC_CreateMutex(false, pName)) {}

    ~HandleLock() { SYNC_DestroyMutex(m_hMutex); }

    HandleLock(const HandleLock&) = delete;
    HandleLock& operator=(const HandleLock&) = delete;

    void Enter() { SYNC_LockMutex(m_hMutex); }

    void Leave() { SYNC_UnlockMutex(m_hMutex); }

    void* m_hMutex;
};

struct NamedLock : HandleLock
{
    NamedLock() : HandleLock("Common-VQCriticalSection_bench") {}
};

template <class Lock>
void Uncontended(benchmark::State& oState)
{
    Lock oLock;
    for (auto _ : oState)
    {
        oLock.Enter();
        benchmark::ClobberMemory();
        oLock.Leave();
    }
}

template <class Lock>
void EnteredAgain(benchmark::State& oState)
{
    Lock oLock;
    oLock.Enter();
    for (auto _ : oState)
    {
        oLock.Enter();
        benchmark::ClobberMemory();
        oLock.Leave();
    }
    oLock.Leave();
}

template <class Lock>
void Contended(benchmark::State& oState)
{
    static Lock s_oLock;
    static long s_nCount = 0;
    for (auto _ : oState)
    {
        s_oLock.Enter();
        benchmark::DoNotOptimize(++s_nCount);
        s_oLock.Leave();
    }
}

// Runs a case in a program of several threads: the first one that was ever started makes it one, for good.
template <void (*RUN)(benchmark::State&)>
void Threaded(benchmark::State& oState)
{
    std::thread([] {}).join();
    RUN(oState);
}

// Cases in a program of one thread, to be added first.
template <void (*RUN)(benchmark::State&)>
void Add(const std::string& sWork, const std::string& sWho)
{
    benchmark::RegisterBenchmark((sWork + ", one thread/" + sWho).c_str(), RUN);
}

template <void (*RUN)(benchmark::State&)>
void AddThreaded(const std::string& sWork, const std::string& sWho)
{
    benchmark::RegisterBenchmark((sWork + ", several threads/" + sWho).c_str(), Threaded<RUN>);
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using Section = CVQCriticalSection;
    using Plain = SystemLock<std::mutex>;
    using Recursive = SystemLock<std::recursive_mutex>;

    Add<Uncontended<Section>>("critical section", "ours");
    Add<Uncontended<Plain>>("critical section", "std::mutex");
    Add<EnteredAgain<Section>>("critical section again", "ours");
    Add<EnteredAgain<Recursive>>("critical section again", "std::recursive_mutex");
    Add<Uncontended<MutexLock>>("CVQMutex", "ours");
    Add<Uncontended<Plain>>("CVQMutex", "std::mutex");
    Add<Uncontended<HandleLock>>("SYNC mutex", "ours");
    Add<Uncontended<Plain>>("SYNC mutex", "std::mutex");

    AddThreaded<Uncontended<Section>>("critical section", "ours"); // aim: within 1.3
    AddThreaded<Uncontended<Plain>>("critical section", "std::mutex");
    AddThreaded<Uncontended<Recursive>>("critical section", "std::recursive_mutex");
    AddThreaded<Uncontended<MutexLock>>("CVQMutex", "ours"); // aim: within 2
    AddThreaded<Uncontended<Plain>>("CVQMutex", "std::mutex");
    AddThreaded<Uncontended<HandleLock>>("SYNC mutex", "ours"); // aim: within 2
    AddThreaded<Uncontended<Plain>>("SYNC mutex", "std::mutex");
    AddThreaded<Uncontended<NamedLock>>("SYNC mutex with a name", "ours");

    const auto fnAddContended = [](const char* pName, void (*pRun)(benchmark::State&))
    { benchmark::RegisterBenchmark(pName, pRun)->Threads(2)->UseRealTime(); };
    fnAddContended("critical section, contended/ours", Contended<Section>);
    fnAddContended("critical section, contended/std::mutex", Contended<Plain>);
    fnAddContended("SYNC mutex, contended/ours", Contended<HandleLock>);
    fnAddContended("SYNC mutex, contended/std::mutex", Contended<Plain>);
    return RunWithRatios(nArguments, ppArguments);
}
