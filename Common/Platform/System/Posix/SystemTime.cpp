#include <Common/Platform/System/SystemTime.h>

#include <bit>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
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

// Nanoseconds as seconds, by division and by multiplication.
//
// A processor that multiplies and adds with one rounding multiplies in half the time that its division takes, which is
// most of what a reading of the clock costs besides the system's own part. The result is the same: the two parts of
// the reciprocal hold it to 2^-105 of its size, and no quotient of a double by a billion, whose odd part is 5^9, lies
// nearer than 2^-75 of its size to the middle between two doubles. So the product is rounded as the quotient is.
double Divide(std::int64_t nNanoseconds)
{
    return static_cast<double>(nNanoseconds) / static_cast<double>(NANOSECONDS_PER_SECOND);
}

#if defined(__i386__) || defined(__x86_64__)
#    define COMMON_FUSED_MULTIPLY_ADD __attribute__((target("fma")))
#else
#    define COMMON_FUSED_MULTIPLY_ADD
#endif

COMMON_FUSED_MULTIPLY_ADD inline double Multiply(std::int64_t nNanoseconds)
{
    constexpr double RECIPROCAL = 1e-9;
    constexpr double REST = -0x1.34674bfabb83bp-84; // what the double lacks of the reciprocal

    // A number of at most 52 bits becomes a double by being put behind the exponent of 2^52, which is then taken off:
    // once for the product with each part, side by side. Conversion takes longer.
    constexpr double OFFSET = 0x1p52;
    if (static_cast<std::uint64_t>(nNanoseconds) < static_cast<std::uint64_t>(OFFSET))
    {
        const auto dShifted = std::bit_cast<double>(std::bit_cast<std::int64_t>(OFFSET) + nNanoseconds);
        return __builtin_fma(dShifted - OFFSET, RECIPROCAL, __builtin_fma(dShifted, REST, -OFFSET * REST));
    }
    const auto dNanoseconds = static_cast<double>(nNanoseconds);
    return __builtin_fma(dNanoseconds, RECIPROCAL, dNanoseconds * REST);
}

bool CanMultiply()
{
#if defined(__i386__) || defined(__x86_64__)
    return __builtin_cpu_supports("fma") != 0;
#elif defined(__FP_FAST_FMA)
    return true;
#else
    return false;
#endif
}

// Nanoseconds of the clock since it stood at a number.
inline std::int64_t ReadNanosecondsSince(std::int64_t nOrigin)
{
    timespec oNow;
    if (clock_gettime(CLOCK_MONOTONIC, &oNow) != 0)
        oNow = {};

    // The seconds are known long before the nanoseconds: what can be done with them is not to wait.
    std::uint64_t nSeconds =
        static_cast<std::uint64_t>(oNow.tv_sec) * static_cast<std::uint64_t>(NANOSECONDS_PER_SECOND) -
        static_cast<std::uint64_t>(nOrigin);
#ifdef __LP64__
    __asm__("" : "+r"(nSeconds));
#endif
    return static_cast<std::int64_t>(nSeconds + static_cast<std::uint64_t>(oNow.tv_nsec));
}

double ReadByDividing(std::int64_t nOrigin)
{
    return Divide(ReadNanosecondsSince(nOrigin));
}

COMMON_FUSED_MULTIPLY_ADD double ReadByMultiplying(std::int64_t nOrigin)
{
    return Multiply(ReadNanosecondsSince(nOrigin));
}

COMMON_FUSED_MULTIPLY_ADD double ConvertByMultiplying(std::int64_t nNanoseconds)
{
    return Multiply(nNanoseconds);
}

constinit SecondsReader g_pConvert = &Divide;

// Static objects that ask before this is made get the same numbers.
[[maybe_unused]] const bool MULTIPLIES = []
{
    if (!CanMultiply())
        return false;
    g_pConvert = &ConvertByMultiplying;
    g_pReadSecondsSince = &ReadByMultiplying;
    return true;
}();

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

std::int64_t ReadClock(clockid_t nClock)
{
    timespec oNow;
    if (clock_gettime(nClock, &oNow) != 0)
        return 0;
    return static_cast<std::int64_t>(oNow.tv_sec) * NANOSECONDS_PER_SECOND + oNow.tv_nsec;
}

#ifdef __linux__
// When this process began, in steps of the clock that goes on while the computer sleeps; 0 when the system does not
// tell.
std::int64_t ReadProcessStart()
{
    const int nFile = open("/proc/self/stat", O_RDONLY | O_CLOEXEC);
    if (nFile == -1)
        return 0;

    char aText[1024];
    const ssize_t nSize = read(nFile, aText, sizeof aText - 1);
    close(nFile);
    aText[nSize > 0 ? nSize : 0] = '\0';

    // The second field is a name between brackets, which may hold blanks and brackets; the start is field 22.
    constexpr int FIELDS_BEHIND_NAME = 20;
    const char* pField = std::strrchr(aText, ')');
    for (int i = 0; i < FIELDS_BEHIND_NAME && pField != nullptr; ++i)
        pField = std::strchr(pField + 1, ' ');
    if (pField == nullptr)
        return 0;
    const std::int64_t nTicksPerSecond = sysconf(_SC_CLK_TCK);
    const std::int64_t nTicks = std::strtoll(pField, nullptr, 10);
    return nTicksPerSecond > 0 ? nTicks * (NANOSECONDS_PER_SECOND / nTicksPerSecond) : 0;
}
#endif

// When this process began, in steps of the performance counter; this moment where the system does not tell.
std::int64_t FindProcessStart()
{
    const std::int64_t nNow = ReadPerformanceCounter();
#ifdef __linux__
    const std::int64_t nStart = ReadProcessStart();
    const std::int64_t nAge = ReadClock(CLOCK_BOOTTIME) - nStart;
    if (nStart > 0 && nAge >= 0)
        return nNow - nAge;
#endif
    return nNow;
}
} // namespace

constinit SecondsReader g_pReadSecondsSince = &ReadByDividing;

std::int64_t ReadPerformanceCounter()
{
    return ReadClock(CLOCK_MONOTONIC);
}

std::int64_t GetPerformanceFrequency()
{
    return NANOSECONDS_PER_SECOND;
}

double ToSeconds(std::int64_t nSteps)
{
    return g_pConvert(nSteps);
}

std::uint32_t ReadTickCount()
{
    return static_cast<std::uint32_t>(ReadPerformanceCounter() / NANOSECONDS_PER_MILLISECOND);
}

std::uint32_t ReadMediaClock()
{
    static const std::int64_t s_nStart = FindProcessStart();
    return static_cast<std::uint32_t>((ReadPerformanceCounter() - s_nStart) / NANOSECONDS_PER_MILLISECOND);
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
