#include <Common/Platform/System/SystemTime.h>

#include <windows.h>

#include <mmsystem.h>

#include <cpuid.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>

namespace System
{
namespace
{
// An event of the system calls with the address of nothing of ours: it names its record by a key, so that a call that
// comes late finds that the record is gone.
struct sTimeEvent
{
    TimeEventCallback pCallback;
    unsigned long nUser;
    bool bPeriodic;

    std::recursive_mutex oCall;       // held during a call; recursive, since an event may remove itself
    std::atomic<unsigned> nEvent = 0; // the system's identifier
    bool bOver = false;               // removed, or one-shot and called

    // Of periodic ones, in steps of the performance counter.
    std::int64_t nDelay = 0;
    std::int64_t nBegun = 0;  // when the last call began, or the event
    std::int64_t nEnded = 0;  // when the last call ended, or was left out
    std::int64_t nMissed = 0; // calls that the system may still make up for
};

// The system may make up for the calls that it missed, one right behind the other: they are left out.
bool IsMadeUpFor(sTimeEvent& oEvent)
{
    const std::int64_t nNow = ReadPerformanceCounter();
    if (oEvent.nMissed > 0 && nNow - oEvent.nEnded < oEvent.nDelay / 4)
    {
        --oEvent.nMissed;
        oEvent.nEnded = nNow;
        return true;
    }
    oEvent.nMissed = (nNow - oEvent.nBegun) / oEvent.nDelay - 1;
    oEvent.nBegun = nNow;
    return false;
}

class CTimeEventTable
{
public:
    DWORD_PTR Add(const std::shared_ptr<sTimeEvent>& pEvent)
    {
        const std::lock_guard oLock(m_oMutex);
        do
            ++m_nLastKey;
        while (m_nLastKey == 0 || m_oEvents.contains(m_nLastKey));
        m_oEvents.emplace(m_nLastKey, pEvent);
        return m_nLastKey;
    }

    std::shared_ptr<sTimeEvent> Find(DWORD_PTR nKey)
    {
        const std::lock_guard oLock(m_oMutex);
        const auto itEvent = m_oEvents.find(nKey);
        return itEvent != m_oEvents.end() ? itEvent->second : nullptr;
    }

    void Remove(DWORD_PTR nKey)
    {
        const std::lock_guard oLock(m_oMutex);
        m_oEvents.erase(nKey);
    }

    std::shared_ptr<sTimeEvent> RemoveByIdentifier(unsigned nEvent)
    {
        const std::lock_guard oLock(m_oMutex);
        const auto itEvent = std::find_if(m_oEvents.begin(), m_oEvents.end(),
                                          [nEvent](const auto& oEntry) { return oEntry.second->nEvent == nEvent; });
        if (itEvent == m_oEvents.end())
            return nullptr;

        std::shared_ptr<sTimeEvent> pEvent = itEvent->second;
        m_oEvents.erase(itEvent);
        return pEvent;
    }

private:
    std::mutex m_oMutex;
    std::map<DWORD_PTR, std::shared_ptr<sTimeEvent>> m_oEvents;
    DWORD_PTR m_nLastKey = 0;
};

// Never destroyed: the system's timer thread may call to the very end.
CTimeEventTable& GetTable()
{
    static CTimeEventTable& s_oTable = *new CTimeEventTable;
    return s_oTable;
}

void CALLBACK ForwardEvent(UINT, UINT, DWORD_PTR nKey, DWORD_PTR, DWORD_PTR)
{
    const std::shared_ptr<sTimeEvent> pEvent = GetTable().Find(nKey);
    if (pEvent == nullptr)
        return;

    const std::lock_guard oLock(pEvent->oCall);
    if (pEvent->bOver || (pEvent->bPeriodic && IsMadeUpFor(*pEvent)))
        return;

    pEvent->bOver = !pEvent->bPeriodic;
    pEvent->pCallback(pEvent->nEvent, 0, pEvent->nUser, 0, 0);
    pEvent->nEnded = ReadPerformanceCounter();
    if (!pEvent->bPeriodic)
        GetTable().Remove(nKey);
}

double ReadSeconds(std::int64_t nOrigin)
{
    const auto nNow = static_cast<std::uint64_t>(ReadPerformanceCounter());
    return ToSeconds(static_cast<std::int64_t>(nNow - static_cast<std::uint64_t>(nOrigin)));
}
} // namespace

constinit SecondsReader g_pReadSecondsSince = &ReadSeconds;

std::int64_t ReadPerformanceCounter()
{
    LARGE_INTEGER nCount;
    return QueryPerformanceCounter(&nCount) != FALSE ? nCount.QuadPart : 0;
}

std::int64_t GetPerformanceFrequency()
{
    LARGE_INTEGER nFrequency;
    return QueryPerformanceFrequency(&nFrequency) != FALSE ? nFrequency.QuadPart : 0;
}

double ToSeconds(std::int64_t nSteps)
{
    // The system promises that the frequency never changes.
    static const auto s_dFrequency = static_cast<double>(GetPerformanceFrequency());
    return static_cast<double>(nSteps) / s_dFrequency;
}

std::uint32_t ReadTickCount()
{
    return GetTickCount();
}

std::uint32_t ReadMediaClock()
{
    return timeGetTime();
}

bool IsCycleCounterConstant()
{
    constexpr unsigned POWER_LEAF = 0x80000007;
    constexpr unsigned INVARIANT_COUNTER = 1U << 8;
    unsigned nA = 0;
    unsigned nB = 0;
    unsigned nC = 0;
    unsigned nD = 0;
    return __get_cpuid(POWER_LEAF, &nA, &nB, &nC, &nD) != 0 && (nD & INVARIANT_COUNTER) != 0;
}

bool BeginTimerPeriod(unsigned nMilliseconds)
{
    return timeBeginPeriod(nMilliseconds) == TIMERR_NOERROR;
}

bool EndTimerPeriod(unsigned nMilliseconds)
{
    return timeEndPeriod(nMilliseconds) == TIMERR_NOERROR;
}

unsigned StartTimeEvent(unsigned nDelay, unsigned nResolution, TimeEventCallback pCallback, unsigned long nUser,
                        bool bPeriodic)
{
    if (pCallback == nullptr)
        return 0;

    auto pEvent = std::make_shared<sTimeEvent>();
    pEvent->pCallback = pCallback;
    pEvent->nUser = nUser;
    pEvent->bPeriodic = bPeriodic;
    pEvent->nDelay = std::max<std::int64_t>(GetPerformanceFrequency() * nDelay / 1000, 1);
    pEvent->nBegun = ReadPerformanceCounter();

    // The first call waits until the identifier is known.
    const std::lock_guard oLock(pEvent->oCall);
    const DWORD_PTR nKey = GetTable().Add(pEvent);
    pEvent->nEvent = timeSetEvent(nDelay, nResolution, &ForwardEvent, nKey,
                                  static_cast<UINT>(bPeriodic ? TIME_PERIODIC : TIME_ONESHOT) | TIME_CALLBACK_FUNCTION);
    if (pEvent->nEvent == 0)
        GetTable().Remove(nKey);
    return pEvent->nEvent;
}

bool StopTimeEvent(unsigned nEvent)
{
    const std::shared_ptr<sTimeEvent> pEvent = nEvent != 0 ? GetTable().RemoveByIdentifier(nEvent) : nullptr;
    if (pEvent == nullptr)
        return false;

    timeKillEvent(nEvent);

    // Waits for a call that is running, except when this is that call.
    const std::lock_guard oLock(pEvent->oCall);
    const bool bWasOver = pEvent->bOver;
    pEvent->bOver = true;
    return !bWasOver;
}
} // namespace System
