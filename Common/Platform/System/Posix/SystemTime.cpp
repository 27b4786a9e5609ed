#include <Common/Platform/System/SystemTime.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>
#include <time.h>
#include <unistd.h>

#ifdef __linux__
#    include <sys/prctl.h>
#endif
#if defined(__i386__) || defined(__x86_64__)
#    include <cpuid.h>
#endif

namespace System
{
namespace
{
constexpr std::int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;
constexpr std::int64_t NANOSECONDS_PER_MILLISECOND = 1'000'000;

// The range of the home's newer systems.
constexpr unsigned MIN_PERIOD = 1;
constexpr unsigned MAX_PERIOD = 1'000'000;

// Events of one process at a time.
constexpr std::size_t MAX_EVENTS = 1024;

bool IsPeriodPossible(unsigned nMilliseconds)
{
    return nMilliseconds >= MIN_PERIOD && nMilliseconds <= MAX_PERIOD;
}

// One thread that calls the events at their deadlines. It begins with the first event and ends with the object.
class CTimerThread
{
public:
    CTimerThread() = default;

    ~CTimerThread()
    {
        {
            const std::lock_guard oLock(m_oMutex);
            m_bEnd = true;
        }
        m_oChanged.notify_all();

        // A callback may end the process: its own thread cannot wait for itself.
        if (m_oThread.get_id() == std::this_thread::get_id())
            m_oThread.detach();
        else if (m_oThread.joinable())
            m_oThread.join();
    }

    CTimerThread(const CTimerThread&) = delete;
    CTimerThread& operator=(const CTimerThread&) = delete;

    unsigned Start(unsigned nDelay, TimeEventCallback pCallback, unsigned long nUser, bool bPeriodic)
    {
        const Clock::duration oDelay = std::chrono::milliseconds(nDelay);
        const Clock::time_point oFirst = Clock::now() + oDelay;

        const std::lock_guard oLock(m_oMutex);
        if (m_oEvents.size() >= MAX_EVENTS || !EnsureThread())
            return 0;

        unsigned nEvent = 0;
        do
            nEvent = ++m_nLastEvent;
        while (nEvent == 0 || nEvent == m_nRunning || m_oEvents.contains(nEvent));

        m_oEvents.emplace(nEvent, sEvent{pCallback, nUser, bPeriodic, oDelay, oFirst});
        m_oDeadlines.emplace(oFirst, nEvent);
        if (m_oDeadlines.begin()->second == nEvent)
            m_oChanged.notify_all();
        return nEvent;
    }

    bool Stop(unsigned nEvent)
    {
        std::unique_lock oLock(m_oMutex);
        const auto itEvent = m_oEvents.find(nEvent);
        const bool bFound = itEvent != m_oEvents.end();
        if (bFound)
        {
            m_oDeadlines.erase({itEvent->second.oDeadline, nEvent});
            m_oEvents.erase(itEvent);
        }

        if (m_oThread.get_id() != std::this_thread::get_id())
            m_oReturned.wait(oLock, [this, nEvent] { return m_nRunning != nEvent; });
        return bFound;
    }

private:
    using Clock = std::chrono::steady_clock;

    struct sEvent
    {
        TimeEventCallback pCallback;
        unsigned long nUser;
        bool bPeriodic;
        Clock::duration oDelay;
        Clock::time_point oDeadline;
    };

    // Begins the thread; signals of the process are none of its business.
    bool EnsureThread()
    {
        if (m_oThread.joinable())
            return true;

        sigset_t oAll;
        sigset_t oOld;
        sigfillset(&oAll);
        pthread_sigmask(SIG_BLOCK, &oAll, &oOld);
        try
        {
            m_oThread = std::thread([this] { Run(); });
        }
        catch (const std::system_error&)
        {
        }
        pthread_sigmask(SIG_SETMASK, &oOld, nullptr);
        return m_oThread.joinable();
    }

    void Run()
    {
#ifdef __linux__
        // Without this the kernel gathers wake-ups of 50 microseconds.
        prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
        pthread_setname_np(pthread_self(), "time events");
#endif
        std::unique_lock oLock(m_oMutex);
        while (!m_bEnd)
        {
            if (m_oDeadlines.empty())
            {
                m_oChanged.wait(oLock);
                continue;
            }

            const Clock::time_point oDeadline = m_oDeadlines.begin()->first;
            if (Clock::now() < oDeadline)
                m_oChanged.wait_until(oLock, oDeadline);
            else
                CallFirst(oLock);
        }
    }

    void CallFirst(std::unique_lock<std::mutex>& oLock)
    {
        const unsigned nEvent = m_oDeadlines.begin()->second;
        const auto itEvent = m_oEvents.find(nEvent);
        const sEvent oEvent = itEvent->second;

        m_oDeadlines.erase(m_oDeadlines.begin());
        if (oEvent.bPeriodic)
        {
            const auto nMissed = (Clock::now() - oEvent.oDeadline) / oEvent.oDelay;
            itEvent->second.oDeadline += oEvent.oDelay * (nMissed + 1);
            m_oDeadlines.emplace(itEvent->second.oDeadline, nEvent);
        }
        else
            m_oEvents.erase(itEvent);

        m_nRunning = nEvent;
        oLock.unlock();
        oEvent.pCallback(nEvent, 0, oEvent.nUser, 0, 0);
        oLock.lock();
        m_nRunning = 0;
        m_oReturned.notify_all();
    }

    std::mutex m_oMutex;
    std::condition_variable m_oChanged;  // the first deadline is another one, or the end has come
    std::condition_variable m_oReturned; // a callback has returned
    std::map<unsigned, sEvent> m_oEvents;
    std::set<std::pair<Clock::time_point, unsigned>> m_oDeadlines;
    unsigned m_nLastEvent = 0;
    unsigned m_nRunning = 0;
    bool m_bEnd = false;
    std::thread m_oThread;
};

// Holds the one timer thread from the first event to the unloading of the library.
class CTimerThreadHolder
{
public:
    constexpr CTimerThreadHolder() = default;

    ~CTimerThreadHolder()
    {
        m_bOver = true;
        if (m_nProcess == getpid())
            delete m_pThread;
    }

    CTimerThreadHolder(const CTimerThreadHolder&) = delete;
    CTimerThreadHolder& operator=(const CTimerThreadHolder&) = delete;

    // Null when the end of the process has come too far. A forked child has the events but not the thread of its
    // parent: it begins anew, and leaves the parent's object be.
    CTimerThread* Get()
    {
        const std::lock_guard oLock(m_oMutex);
        if (m_bOver)
            return nullptr;
        if (m_nProcess != getpid())
        {
            m_pThread = new CTimerThread;
            m_nProcess = getpid();
        }
        return m_pThread;
    }

private:
    std::mutex m_oMutex;
    CTimerThread* m_pThread = nullptr;
    pid_t m_nProcess = 0;
    bool m_bOver = false;
};

constinit CTimerThreadHolder g_oTimerThread;
} // namespace

std::int64_t ReadPerformanceCounter()
{
    timespec oNow;
    if (clock_gettime(CLOCK_MONOTONIC, &oNow) != 0)
        return 0;
    return static_cast<std::int64_t>(oNow.tv_sec) * NANOSECONDS_PER_SECOND + oNow.tv_nsec;
}

std::int64_t GetPerformanceFrequency()
{
    return NANOSECONDS_PER_SECOND;
}

std::uint32_t ReadTickCount()
{
    return static_cast<std::uint32_t>(ReadPerformanceCounter() / NANOSECONDS_PER_MILLISECOND);
}

std::uint32_t ReadMediaClock()
{
    static constinit std::atomic<std::int64_t> s_nStart = 0;

    const std::int64_t nNow = ReadPerformanceCounter();
    std::int64_t nStart = s_nStart.load(std::memory_order_relaxed);
    if (nStart == 0 && s_nStart.compare_exchange_strong(nStart, nNow))
        nStart = nNow;

    // Of two first readings on two threads the earlier one may come second.
    return nNow > nStart ? static_cast<std::uint32_t>((nNow - nStart) / NANOSECONDS_PER_MILLISECOND) : 0;
}

bool IsCycleCounterConstant()
{
#if defined(__i386__) || defined(__x86_64__)
    constexpr unsigned POWER_LEAF = 0x80000007;
    constexpr unsigned INVARIANT_COUNTER = 1U << 8;
    unsigned nA = 0;
    unsigned nB = 0;
    unsigned nC = 0;
    unsigned nD = 0;
    return __get_cpuid(POWER_LEAF, &nA, &nB, &nC, &nD) != 0 && (nD & INVARIANT_COUNTER) != 0;
#else
    return true;
#endif
}

bool BeginTimerPeriod(unsigned nMilliseconds)
{
    return IsPeriodPossible(nMilliseconds);
}

bool EndTimerPeriod(unsigned nMilliseconds)
{
    return IsPeriodPossible(nMilliseconds);
}

unsigned StartTimeEvent(unsigned nDelay, unsigned, TimeEventCallback pCallback, unsigned long nUser, bool bPeriodic)
{
    if (!IsPeriodPossible(nDelay) || pCallback == nullptr)
        return 0;

    CTimerThread* pThread = g_oTimerThread.Get();
    return pThread != nullptr ? pThread->Start(nDelay, pCallback, nUser, bPeriodic) : 0;
}

bool StopTimeEvent(unsigned nEvent)
{
    CTimerThread* pThread = nEvent != 0 ? g_oTimerThread.Get() : nullptr;
    return pThread != nullptr && pThread->Stop(nEvent);
}
} // namespace System
