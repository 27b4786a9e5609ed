#include <Common/Platform/System/Posix/WaitTable.h>

#include <Common/Platform/System/Posix/Futex.h>
#include <Common/Platform/System/Posix/NamedObject.h>
#include <Common/Platform/System/Posix/ThreadRecord.h>
#include <Common/Platform/System/SystemSync.h>
#include <Common/Platform/System/SystemThread.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace System
{
namespace
{
// ---------------------------------------------------------------------------------------------------------------------
// Handles: generation and index
// ---------------------------------------------------------------------------------------------------------------------

constexpr unsigned INDEX_BITS = 18;
constexpr std::uint32_t SLOT_COUNT = 1u << INDEX_BITS;
constexpr std::uint32_t INDEX_MASK = SLOT_COUNT - 1;
constexpr std::uint32_t LAST_GENERATION = 0x7FFFFFFFu >> INDEX_BITS; // generations count from 1

// So many slots rest before one is used again.
constexpr std::uint32_t RESTING_SLOTS = 4096;

constexpr std::uint32_t NO_SLOT = 0xFFFFFFFF;

enum class eKind : std::uint32_t
{
    None,
    Mutex,
    Event,
    Semaphore,
    Thread,
    Named,
};

// States. A mutex: the number of the thread that owns it. An event: the two bits. A semaphore: its units.
constexpr std::uint32_t HAS_WAITERS = 0x80000000;
constexpr std::uint32_t MUTEX_ABANDONED = 0x40000000;
constexpr std::uint32_t MUTEX_OWNER = 0x3FFFFFFF; // the kernel's thread numbers stay below 2^22
constexpr std::uint32_t EVENT_SIGNALLED = 1;
constexpr std::uint32_t EVENT_MANUAL_RESET = 2;
constexpr std::uint32_t SEMAPHORE_UNITS = 0x7FFFFFFF;

// A thread that waits; lies on its stack, in the queue of the slot.
struct Waiter
{
    enum eState : std::uint32_t
    {
        Waiting,
        Granted, // it has what it waited for
        Retry,   // a mutex became free: try to get it
        Failed,  // the handle was closed
    };

    std::atomic<std::uint32_t> nState{Waiting};
    std::uint32_t nThread = 0;
    bool bInsists = false; // was too late too often: wants the mutex handed over
    Waiter* pNext = nullptr;
    Waiter* pPrevious = nullptr;
};

struct alignas(64) Slot
{
    // High half: the handle, 0 in a free slot. Low half: the state; in a free slot the generation used last.
    std::atomic<std::uint64_t> nWord{0};

    std::atomic<eKind> nKind{eKind::None};
    FutexLock oLock{}; // guards the queue and everything below

    Waiter* pFirst = nullptr;
    Waiter* pLast = nullptr;

    std::uint32_t nMaximum = 0;      // of a semaphore
    std::uint32_t nThreadNumber = 0; // of a thread that runs
    std::uint32_t nExitCode = 0;     // of a thread
    std::int32_t nLevel = 0;         // of a thread
    NamedObject* pNamed = nullptr;

    std::uint32_t nNextFree = 0; // guarded by the table's lock

    std::atomic<std::uint32_t> nMore{0}; // how often the owner of a mutex has it beside the first time; his alone
};

static_assert(sizeof(Slot) == 64 && std::atomic<std::uint64_t>::is_always_lock_free);

// Zero pages of the library's image, since all bytes 0 are a free slot: memory is used as far as slots are.
alignas(Slot) unsigned char s_aSlotBytes[SLOT_COUNT * sizeof(Slot)];

Slot& SlotAt(std::uint32_t nIndex)
{
    return reinterpret_cast<Slot*>(s_aSlotBytes)[nIndex];
}

constinit FutexLock s_oTableLock{};
std::uint32_t s_nUsed = 0; // slots that were ever used
std::uint32_t s_nResting = 0;
std::uint32_t s_nFirstFree = NO_SLOT;
std::uint32_t s_nLastFree = NO_SLOT;

constexpr std::uint64_t Pack(std::uint32_t hObject, std::uint32_t nState)
{
    return std::uint64_t{hObject} << 32 | nState;
}

constexpr std::uint32_t HandleIn(std::uint64_t nWord)
{
    return static_cast<std::uint32_t>(nWord >> 32);
}

constexpr std::uint32_t StateIn(std::uint64_t nWord)
{
    return static_cast<std::uint32_t>(nWord);
}

Slot& SlotOf(std::uint32_t hObject)
{
    return SlotAt(hObject & INDEX_MASK);
}

// A handle of generation 0 is none; the word of a free slot would match the handle 0.
bool IsPossible(std::uint32_t hObject)
{
    return hObject > INDEX_MASK && hObject <= 0x7FFFFFFF;
}

bool IsPossible(const void* hObject)
{
    const auto nValue = reinterpret_cast<std::uintptr_t>(hObject);
    return nValue > INDEX_MASK && nValue <= 0x7FFFFFFF;
}

bool IsKind(std::uint32_t hObject, eKind nKind)
{
    return IsPossible(hObject) && SlotOf(hObject).nKind.load(std::memory_order_relaxed) == nKind;
}

std::uint32_t TakeSlot()
{
    const std::lock_guard oGuard(s_oTableLock);

    if (s_nUsed < SLOT_COUNT && s_nResting < RESTING_SLOTS)
        return s_nUsed++;
    if (s_nFirstFree == NO_SLOT)
        return NO_SLOT;

    const std::uint32_t nIndex = s_nFirstFree;
    s_nFirstFree = SlotAt(nIndex).nNextFree;
    if (s_nFirstFree == NO_SLOT)
        s_nLastFree = NO_SLOT;
    --s_nResting;
    return nIndex;
}

void ReturnSlot(std::uint32_t nIndex)
{
    const std::lock_guard oGuard(s_oTableLock);

    SlotAt(nIndex).nNextFree = NO_SLOT;
    if (s_nLastFree != NO_SLOT)
        SlotAt(s_nLastFree).nNextFree = nIndex;
    else
        s_nFirstFree = nIndex;
    s_nLastFree = nIndex;
    ++s_nResting;
}

// Fills a new slot through fnFill and makes it valid with the state. Returns its handle, or 0.
template <class Fill>
std::uint32_t AddSlot(eKind nKind, std::uint32_t nState, Fill fnFill)
{
    ThreadRecord::This(); // from here on the process is prepared for forks

    const std::uint32_t nIndex = TakeSlot();
    if (nIndex == NO_SLOT)
        return 0;

    Slot& oSlot = SlotAt(nIndex);
    const std::uint32_t nLast = StateIn(oSlot.nWord.load(std::memory_order_relaxed));
    const std::uint32_t nGeneration = nLast < LAST_GENERATION ? nLast + 1 : 1;
    const std::uint32_t hObject = nGeneration << INDEX_BITS | nIndex;

    {
        const std::lock_guard oGuard(oSlot.oLock);
        oSlot.nKind.store(nKind, std::memory_order_relaxed);
        fnFill(oSlot, hObject);
    }
    oSlot.nWord.store(Pack(hObject, nState), std::memory_order_release);
    return hObject;
}

// ---------------------------------------------------------------------------------------------------------------------
// The queue of a slot; its lock is held
// ---------------------------------------------------------------------------------------------------------------------

void PushBack(Slot& oSlot, Waiter& oWaiter)
{
    oWaiter.pNext = nullptr;
    oWaiter.pPrevious = oSlot.pLast;
    (oSlot.pLast != nullptr ? oSlot.pLast->pNext : oSlot.pFirst) = &oWaiter;
    oSlot.pLast = &oWaiter;
}

void PushFront(Slot& oSlot, Waiter& oWaiter)
{
    oWaiter.pPrevious = nullptr;
    oWaiter.pNext = oSlot.pFirst;
    (oSlot.pFirst != nullptr ? oSlot.pFirst->pPrevious : oSlot.pLast) = &oWaiter;
    oSlot.pFirst = &oWaiter;
}

void Unlink(Slot& oSlot, Waiter& oWaiter)
{
    (oWaiter.pPrevious != nullptr ? oWaiter.pPrevious->pNext : oSlot.pFirst) = oWaiter.pNext;
    (oWaiter.pNext != nullptr ? oWaiter.pNext->pPrevious : oSlot.pLast) = oWaiter.pPrevious;
}

// Takes the first waiter off and tells it what came of its wait. It may be gone right after: what is returned is only
// an address to wake, once the lock is released.
std::atomic<std::uint32_t>* TellFirst(Slot& oSlot, Waiter::eState nState)
{
    Waiter& oWaiter = *oSlot.pFirst;
    Unlink(oSlot, oWaiter);
    std::atomic<std::uint32_t>* pWord = &oWaiter.nState;
    pWord->store(nState, std::memory_order_release);
    return pWord;
}

// Tells waiters that were taken off. None of them needs the lock any more.
void TellAll(Waiter* pFirst, Waiter::eState nState)
{
    while (pFirst != nullptr)
    {
        Waiter* pNext = pFirst->pNext;
        std::atomic<std::uint32_t>* pWord = &pFirst->nState;
        pWord->store(nState, std::memory_order_release);
        FutexWake(pWord);
        pFirst = pNext;
    }
}

Waiter* TakeQueue(Slot& oSlot)
{
    Waiter* pFirst = oSlot.pFirst;
    oSlot.pFirst = nullptr;
    oSlot.pLast = nullptr;
    return pFirst;
}

std::uint32_t WaitersBit(const Slot& oSlot)
{
    return oSlot.pFirst != nullptr ? HAS_WAITERS : 0;
}

// Changes the state, as long as the word belongs to the handle. fnChange gets the state and returns the new one.
template <class Change>
bool ChangeState(Slot& oSlot, std::uint32_t hObject, Change fnChange)
{
    std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
    do
    {
        if (HandleIn(nWord) != hObject)
            return false;
    } while (!SwapInProcess(oSlot.nWord, nWord, Pack(hObject, fnChange(StateIn(nWord)))));
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Getting an object
// ---------------------------------------------------------------------------------------------------------------------

enum class eTry
{
    Got,
    GotAbandoned,
    Busy,
    Stale,
};

unsigned ResultOf(eTry nTry)
{
    switch (nTry)
    {
    case eTry::Got:
        return WAIT_RESULT_SIGNALLED;
    case eTry::GotAbandoned:
        return WAIT_RESULT_ABANDONED;
    case eTry::Busy:
        return WAIT_RESULT_TIME_OUT;
    default:
        return WAIT_RESULT_FAILED;
    }
}

// Gets a free mutex for a thread; the thread is not its owner yet.
eTry TryMutex(Slot& oSlot, std::uint32_t hMutex, std::uint32_t nThread)
{
    std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
    for (;;)
    {
        const std::uint32_t nState = StateIn(nWord);
        if (HandleIn(nWord) != hMutex)
            return eTry::Stale;
        if ((nState & MUTEX_OWNER) != 0)
            return eTry::Busy;

        if (SwapInProcess(oSlot.nWord, nWord, Pack(hMutex, (nState & HAS_WAITERS) | nThread)))
            return (nState & MUTEX_ABANDONED) != 0 ? eTry::GotAbandoned : eTry::Got;
    }
}

// Events, and threads that have ended.
eTry TryEvent(Slot& oSlot, std::uint32_t hEvent)
{
    std::uint64_t nWord = oSlot.nWord.load(std::memory_order_acquire);
    for (;;)
    {
        const std::uint32_t nState = StateIn(nWord);
        if (HandleIn(nWord) != hEvent)
            return eTry::Stale;
        if ((nState & EVENT_SIGNALLED) == 0)
            return eTry::Busy;
        if ((nState & EVENT_MANUAL_RESET) != 0)
        {
            // The signal may have been seen by a swap that failed.
            return HandleIn(oSlot.nWord.load(std::memory_order_acquire)) == hEvent ? eTry::Got : eTry::Stale;
        }

        if (SwapInProcess(oSlot.nWord, nWord, Pack(hEvent, nState & ~EVENT_SIGNALLED)))
            return eTry::Got;
    }
}

eTry TrySemaphore(Slot& oSlot, std::uint32_t hSemaphore)
{
    std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
    for (;;)
    {
        const std::uint32_t nState = StateIn(nWord);
        if (HandleIn(nWord) != hSemaphore)
            return eTry::Stale;
        if ((nState & SEMAPHORE_UNITS) == 0)
            return eTry::Busy;

        if (SwapInProcess(oSlot.nWord, nWord, Pack(hSemaphore, nState - 1)))
            return eTry::Got;
    }
}

// Waits in the queue for what fnTry gets. Whoever makes the object available hands it to the first in the queue, or
// asks him to try again.
template <class Try>
unsigned WaitInQueue(Slot& oSlot, std::uint32_t hObject, std::uint32_t nMilliseconds, std::uint32_t nThread, Try fnTry)
{
    // A mutex that others snatched away so often is handed over.
    constexpr unsigned PATIENCE = 2;

    const Deadline oDeadline(nMilliseconds);
    Waiter oWaiter;
    oWaiter.nThread = nThread;

    for (unsigned nTries = 0;; ++nTries)
    {
        {
            // The bit is set before the last try: whoever makes the object available after the try sees the bit, and
            // then waits for the lock.
            const std::lock_guard oGuard(oSlot.oLock);
            if (!ChangeState(oSlot, hObject, [](std::uint32_t nState) { return nState | HAS_WAITERS; }))
                return WAIT_RESULT_FAILED;

            const eTry nTry = fnTry();
            if (nTry != eTry::Busy)
            {
                ChangeState(oSlot, hObject,
                            [&](std::uint32_t nState) { return (nState & ~HAS_WAITERS) | WaitersBit(oSlot); });
                return ResultOf(nTry);
            }

            oWaiter.nState.store(Waiter::Waiting, std::memory_order_relaxed);
            oWaiter.bInsists = nTries >= PATIENCE;
            nTries == 0 ? PushBack(oSlot, oWaiter) : PushFront(oSlot, oWaiter);
        }

        while (oWaiter.nState.load(std::memory_order_acquire) == Waiter::Waiting && !oDeadline.HasPassed())
            FutexWait(oWaiter.nState, Waiter::Waiting, oDeadline);

        if (oWaiter.nState.load(std::memory_order_acquire) == Waiter::Waiting)
        {
            const std::lock_guard oGuard(oSlot.oLock);
            if (oWaiter.nState.load(std::memory_order_acquire) == Waiter::Waiting)
            {
                Unlink(oSlot, oWaiter);
                ChangeState(oSlot, hObject,
                            [&](std::uint32_t nState) { return (nState & ~HAS_WAITERS) | WaitersBit(oSlot); });
                return WAIT_RESULT_TIME_OUT;
            }
        }

        switch (oWaiter.nState.load(std::memory_order_acquire))
        {
        case Waiter::Granted:
            return WAIT_RESULT_SIGNALLED;
        case Waiter::Failed:
            return WAIT_RESULT_FAILED;
        default:
            break;
        }
    }
}

bool IsMutexOf(std::uint32_t hMutex, std::uint32_t nThread)
{
    const std::uint64_t nWord = SlotOf(hMutex).nWord.load(std::memory_order_relaxed);
    return HandleIn(nWord) == hMutex && (StateIn(nWord) & MUTEX_OWNER) == nThread;
}

[[gnu::noinline]] unsigned WaitForTakenMutex(std::uint32_t hMutex, std::uint32_t nMilliseconds)
{
    ThreadRecord& oThread = ThreadRecord::This();
    Slot& oSlot = SlotOf(hMutex);
    if (IsMutexOf(hMutex, oThread.Number()))
    {
        if (oThread.MayHaveMutexes())
        {
            oSlot.nMore.store(oSlot.nMore.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            return WAIT_RESULT_SIGNALLED;
        }

        // Locked so late in the end of a thread that nobody abandoned it; its number came again with this thread.
        oSlot.nMore.store(0, std::memory_order_relaxed);
        oThread.AddMutex(hMutex);
        return WAIT_RESULT_ABANDONED;
    }

    unsigned nResult = ResultOf(TryMutex(oSlot, hMutex, oThread.Number()));
    if (nResult == WAIT_RESULT_TIME_OUT && nMilliseconds != 0)
        nResult = WaitInQueue(oSlot, hMutex, nMilliseconds, oThread.Number(),
                              [&] { return TryMutex(oSlot, hMutex, oThread.Number()); });

    if (nResult == WAIT_RESULT_SIGNALLED || nResult == WAIT_RESULT_ABANDONED)
        oThread.AddMutex(hMutex);
    return nResult;
}

unsigned WaitForEvent(std::uint32_t hEvent, std::uint32_t nMilliseconds)
{
    Slot& oSlot = SlotOf(hEvent);
    const eTry nTry = TryEvent(oSlot, hEvent);
    if (nTry != eTry::Busy || nMilliseconds == 0)
        return ResultOf(nTry);

    return WaitInQueue(oSlot, hEvent, nMilliseconds, 0, [&] { return TryEvent(oSlot, hEvent); });
}

unsigned WaitForSemaphore(std::uint32_t hSemaphore, std::uint32_t nMilliseconds)
{
    Slot& oSlot = SlotOf(hSemaphore);
    const eTry nTry = TrySemaphore(oSlot, hSemaphore);
    if (nTry != eTry::Busy || nMilliseconds == 0)
        return ResultOf(nTry);

    return WaitInQueue(oSlot, hSemaphore, nMilliseconds, 0, [&] { return TrySemaphore(oSlot, hSemaphore); });
}

// ---------------------------------------------------------------------------------------------------------------------
// Making an object available
// ---------------------------------------------------------------------------------------------------------------------

// nLeft is what the mutex of the thread becomes, unless somebody insists on it: free, or abandoned.
void FreeMutex(std::uint32_t hMutex, std::uint32_t nLeft)
{
    Slot& oSlot = SlotOf(hMutex);
    std::atomic<std::uint32_t>* pWoken = nullptr;
    {
        const std::lock_guard oGuard(oSlot.oLock);
        Waiter* pFirst = oSlot.pFirst;
        const bool bHandOver = pFirst != nullptr && pFirst->bInsists && nLeft == 0;
        const std::uint32_t nNext = bHandOver ? pFirst->nThread : nLeft;
        const bool bMore = pFirst != nullptr && pFirst->pNext != nullptr;
        if (!ChangeState(oSlot, hMutex, [&](std::uint32_t) { return nNext | (bMore ? HAS_WAITERS : 0); }))
            return; // closed meanwhile
        if (pFirst != nullptr)
            pWoken = TellFirst(oSlot, bHandOver ? Waiter::Granted : Waiter::Retry);
    }
    if (pWoken != nullptr)
        FutexWake(pWoken);
}

// Locked more than once, waited for, or not the thread's at all.
[[gnu::noinline]] bool UnlockMutexSlowly(std::uint32_t hMutex)
{
    ThreadRecord& oThread = ThreadRecord::This();
    if (!IsMutexOf(hMutex, oThread.Number()))
        return false;

    Slot& oSlot = SlotOf(hMutex);
    if (const std::uint32_t nMore = oSlot.nMore.load(std::memory_order_relaxed); nMore > 0)
    {
        oSlot.nMore.store(nMore - 1, std::memory_order_relaxed);
        return true;
    }
    oThread.RemoveMutex(hMutex);
    FreeMutex(hMutex, 0);
    return true;
}

// Signals with waiters: an event that resets itself passes the signal to one of them.
bool SignalWaiters(Slot& oSlot, std::uint32_t hEvent)
{
    Waiter* pAll = nullptr;
    std::atomic<std::uint32_t>* pWoken = nullptr;
    {
        const std::lock_guard oGuard(oSlot.oLock);
        const std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
        if (HandleIn(nWord) != hEvent)
            return false;

        if ((StateIn(nWord) & EVENT_MANUAL_RESET) != 0)
        {
            ChangeState(oSlot, hEvent, [](std::uint32_t) { return EVENT_MANUAL_RESET | EVENT_SIGNALLED; });
            pAll = TakeQueue(oSlot);
        }
        else if (oSlot.pFirst != nullptr)
        {
            pWoken = TellFirst(oSlot, Waiter::Granted);
            ChangeState(oSlot, hEvent, [&](std::uint32_t) { return WaitersBit(oSlot); });
        }
        else
        {
            ChangeState(oSlot, hEvent, [](std::uint32_t) { return EVENT_SIGNALLED; });
        }
        TellAll(pAll, Waiter::Granted);
    }
    if (pWoken != nullptr)
        FutexWake(pWoken);
    return true;
}

bool Signal(std::uint32_t hEvent)
{
    Slot& oSlot = SlotOf(hEvent);
    std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
    for (;;)
    {
        const std::uint32_t nState = StateIn(nWord);
        if (HandleIn(nWord) != hEvent)
            return false;
        if ((nState & HAS_WAITERS) != 0)
            return SignalWaiters(oSlot, hEvent);

        if (SwapInProcess(oSlot.nWord, nWord, Pack(hEvent, nState | EVENT_SIGNALLED)))
            return true;
    }
}

// Uses the named object behind a handle as long as it lives; null when the handle is none of one.
class NamedUse
{
public:
    explicit NamedUse(std::uint32_t hObject)
    {
        if (!IsKind(hObject, eKind::Named))
            return;

        Slot& oSlot = SlotOf(hObject);
        const std::lock_guard oGuard(oSlot.oLock);
        if (HandleIn(oSlot.nWord.load(std::memory_order_relaxed)) != hObject)
            return;
        m_pNamed = oSlot.pNamed;
        m_pNamed->AddUse();
    }

    ~NamedUse()
    {
        if (m_pNamed != nullptr)
            m_pNamed->RemoveUse();
    }

    NamedUse(const NamedUse&) = delete;
    NamedUse& operator=(const NamedUse&) = delete;

    explicit operator bool() const { return m_pNamed != nullptr; }

    NamedObject* operator->() const { return m_pNamed; }

private:
    NamedObject* m_pNamed = nullptr;
};

[[gnu::noinline]] unsigned WaitForOther(std::uint32_t hObject, eKind nKind, std::uint32_t nMilliseconds)
{
    switch (nKind)
    {
    case eKind::Event:
    case eKind::Thread:
        return WaitForEvent(hObject, nMilliseconds);
    case eKind::Semaphore:
        return WaitForSemaphore(hObject, nMilliseconds);
    default:
        const NamedUse oNamed(hObject);
        return oNamed ? oNamed->Wait(hObject, nMilliseconds) : WAIT_RESULT_FAILED;
    }
}

[[gnu::noinline]] bool UnlockNamedMutex(std::uint32_t hMutex)
{
    const NamedUse oNamed(hMutex);
    return oNamed && oNamed->UnlockMutex();
}

// Holds a thread's slot, if the handle is one of a thread.
class ThreadSlot
{
public:
    explicit ThreadSlot(std::uint32_t hThread)
    {
        if (!IsKind(hThread, eKind::Thread))
            return;

        m_oGuard = std::unique_lock(SlotOf(hThread).oLock);
        if (HandleIn(SlotOf(hThread).nWord.load(std::memory_order_relaxed)) == hThread)
            m_pSlot = &SlotOf(hThread);
    }

    explicit operator bool() const { return m_pSlot != nullptr; }

    Slot* operator->() const { return m_pSlot; }

private:
    std::unique_lock<FutexLock> m_oGuard;
    Slot* m_pSlot = nullptr;
};
} // namespace

// ---------------------------------------------------------------------------------------------------------------------
// What a lock costs: in one piece, and others are called only in the end
// ---------------------------------------------------------------------------------------------------------------------

unsigned WaitFor(void* hWaitable, unsigned nMilliseconds)
{
    if (!IsPossible(hWaitable)) [[unlikely]]
        return WAIT_RESULT_FAILED;

    const auto hObject = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(hWaitable));
    Slot& oSlot = SlotOf(hObject);
    const eKind nKind = oSlot.nKind.load(std::memory_order_relaxed);
    if (nKind != eKind::Mutex) [[unlikely]]
        return WaitForOther(hObject, nKind, nMilliseconds);

    // Free, and nobody waits: the usual case.
    ThreadRecord& oThread = ThreadRecord::Raw();
    std::uint64_t nFree = Pack(hObject, 0);
    if (oThread.Number() == 0 || !SwapInProcess(oSlot.nWord, nFree, Pack(hObject, oThread.Number()))) [[unlikely]]
        return WaitForTakenMutex(hObject, nMilliseconds);
    oThread.AddMutex(hObject);
    return WAIT_RESULT_SIGNALLED;
}

bool UnlockMutex(void* hWaitable)
{
    if (!IsPossible(hWaitable)) [[unlikely]]
        return false;

    const auto hMutex = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(hWaitable));
    Slot& oSlot = SlotOf(hMutex);
    if (oSlot.nKind.load(std::memory_order_relaxed) != eKind::Mutex) [[unlikely]]
        return UnlockNamedMutex(hMutex);

    // Locked once, and nobody waits: the usual case. A thread without a number owns nothing.
    ThreadRecord& oThread = ThreadRecord::Raw();
    std::uint64_t nWord = Pack(hMutex, oThread.Number());
    if (oThread.Number() == 0 || oSlot.nMore.load(std::memory_order_relaxed) != 0 ||
        !SwapInProcess(oSlot.nWord, nWord, Pack(hMutex, 0))) [[unlikely]]
        return UnlockMutexSlowly(hMutex);
    oThread.RemoveMutex(hMutex);
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// The table
// ---------------------------------------------------------------------------------------------------------------------

std::uint32_t WaitTable::AddMutex(bool bOwned)
{
    ThreadRecord& oThread = ThreadRecord::This();
    const std::uint32_t hMutex =
        AddSlot(eKind::Mutex, bOwned ? oThread.Number() : 0,
                [](Slot& oSlot, std::uint32_t) { oSlot.nMore.store(0, std::memory_order_relaxed); });
    if (bOwned && hMutex != 0)
        oThread.AddMutex(hMutex);
    return hMutex;
}

std::uint32_t WaitTable::AddEvent(bool bManualReset, bool bSignalled)
{
    return AddSlot(eKind::Event, (bManualReset ? EVENT_MANUAL_RESET : 0) | (bSignalled ? EVENT_SIGNALLED : 0),
                   [](Slot&, std::uint32_t) {});
}

std::uint32_t WaitTable::AddSemaphore(std::uint32_t nCount, std::uint32_t nMaximum)
{
    return AddSlot(eKind::Semaphore, nCount, [=](Slot& oSlot, std::uint32_t) { oSlot.nMaximum = nMaximum; });
}

std::uint32_t WaitTable::AddThread()
{
    return AddSlot(eKind::Thread, EVENT_MANUAL_RESET,
                   [](Slot& oSlot, std::uint32_t)
                   {
                       oSlot.nThreadNumber = 0;
                       oSlot.nExitCode = EXIT_CODE_RUNNING;
                       oSlot.nLevel = THREAD_LEVEL_NORMAL;
                   });
}

std::uint32_t WaitTable::AddNamed(NamedObject* pNamed)
{
    return AddSlot(eKind::Named, 0, [=](Slot& oSlot, std::uint32_t) { oSlot.pNamed = pNamed; });
}

bool WaitTable::SetEvent(std::uint32_t hEvent)
{
    if (const NamedUse oNamed(hEvent); oNamed)
        return oNamed->ChangeEvent(true);
    return IsKind(hEvent, eKind::Event) && Signal(hEvent);
}

bool WaitTable::ClearEvent(std::uint32_t hEvent)
{
    if (const NamedUse oNamed(hEvent); oNamed)
        return oNamed->ChangeEvent(false);
    return IsKind(hEvent, eKind::Event) &&
           ChangeState(SlotOf(hEvent), hEvent, [](std::uint32_t nState) { return nState & ~EVENT_SIGNALLED; });
}

bool WaitTable::UnlockSemaphore(std::uint32_t hSemaphore, std::uint32_t nCount, std::uint32_t& nPrevious)
{
    if (const NamedUse oNamed(hSemaphore); oNamed)
        return oNamed->UnlockSemaphore(nCount, nPrevious);
    if (!IsKind(hSemaphore, eKind::Semaphore))
        return false;

    Slot& oSlot = SlotOf(hSemaphore);
    const std::lock_guard oGuard(oSlot.oLock);

    // Units that waiters get never show in the count.
    std::uint32_t nWaiters = 0;
    for (const Waiter* pWaiter = oSlot.pFirst; pWaiter != nullptr && nWaiters < nCount; pWaiter = pWaiter->pNext)
        ++nWaiters;

    std::uint32_t nBefore = 0;
    bool bFits = true;
    const bool bValid = ChangeState(oSlot, hSemaphore,
                                    [&](std::uint32_t nState)
                                    {
                                        nBefore = nState & SEMAPHORE_UNITS;
                                        bFits = nCount <= oSlot.nMaximum - nBefore;
                                        return bFits ? nState + (nCount - nWaiters) : nState;
                                    });
    if (!bValid || !bFits)
        return false;

    for (; nWaiters > 0; --nWaiters)
        FutexWake(TellFirst(oSlot, Waiter::Granted));
    ChangeState(oSlot, hSemaphore, [&](std::uint32_t nState) { return (nState & ~HAS_WAITERS) | WaitersBit(oSlot); });
    nPrevious = nBefore;
    return true;
}

bool WaitTable::Close(std::uint32_t hObject)
{
    if (!IsPossible(hObject))
        return false;

    Slot& oSlot = SlotOf(hObject);
    std::uint32_t nOwner = 0;
    NamedObject* pNamed = nullptr;
    {
        const std::lock_guard oGuard(oSlot.oLock);
        std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
        do
        {
            if (HandleIn(nWord) != hObject)
                return false;
        } while (!SwapInProcess(oSlot.nWord, nWord, Pack(0, hObject >> INDEX_BITS)));

        if (oSlot.nKind.load(std::memory_order_relaxed) == eKind::Mutex)
            nOwner = StateIn(nWord) & MUTEX_OWNER;
        pNamed = std::exchange(oSlot.pNamed, nullptr);
        TellAll(TakeQueue(oSlot), Waiter::Failed);
    }

    if (ThreadRecord& oThread = ThreadRecord::This(); nOwner == oThread.Number())
        oThread.RemoveMutex(hObject);
    ReturnSlot(hObject & INDEX_MASK);
    if (pNamed != nullptr)
        pNamed->CloseHandle(hObject);
    return true;
}

bool WaitTable::IsOpen(std::uint32_t hObject)
{
    return IsPossible(hObject) && HandleIn(SlotOf(hObject).nWord.load(std::memory_order_relaxed)) == hObject;
}

void WaitTable::AbandonMutex(std::uint32_t hMutex, std::uint32_t nThread)
{
    if (!IsMutexOf(hMutex, nThread))
        return;

    SlotOf(hMutex).nMore.store(0, std::memory_order_relaxed);
    FreeMutex(hMutex, MUTEX_ABANDONED);
}

// For threads that had several mutexes at a time: that a thread notes each of them would cost every lock more.
void WaitTable::AbandonMutexesOf(std::uint32_t nThread)
{
    std::uint32_t nUsed = 0;
    {
        const std::lock_guard oGuard(s_oTableLock);
        nUsed = s_nUsed;
    }
    for (std::uint32_t i = 0; i < nUsed; ++i)
    {
        Slot& oSlot = SlotAt(i);
        const std::uint32_t hObject = HandleIn(oSlot.nWord.load(std::memory_order_relaxed));
        if (hObject != 0 && oSlot.nKind.load(std::memory_order_relaxed) == eKind::Mutex)
            AbandonMutex(hObject, nThread);
    }
}

void WaitTable::BeginThread(std::uint32_t hThread, std::uint32_t nNumber)
{
    if (const ThreadSlot oSlot(hThread); oSlot)
        oSlot->nThreadNumber = nNumber;
}

void WaitTable::EndThread(std::uint32_t hThread, std::uint32_t nExitCode)
{
    {
        const ThreadSlot oSlot(hThread);
        if (!oSlot)
            return;

        oSlot->nThreadNumber = 0;
        oSlot->nExitCode = nExitCode;
    }
    Signal(hThread);
}

bool WaitTable::ReadExitCode(std::uint32_t hThread, std::uint32_t& nExitCode)
{
    const ThreadSlot oSlot(hThread);
    if (!oSlot)
        return false;

    nExitCode = oSlot->nExitCode;
    return true;
}

bool WaitTable::ReadLevel(std::uint32_t hThread, int& nLevel)
{
    const ThreadSlot oSlot(hThread);
    if (!oSlot)
        return false;

    nLevel = oSlot->nLevel;
    return true;
}

bool WaitTable::WriteLevel(std::uint32_t hThread, int nLevel, void (*pApply)(std::uint32_t nNumber, int nLevel))
{
    const ThreadSlot oSlot(hThread);
    if (!oSlot)
        return false;

    oSlot->nLevel = nLevel;
    if (oSlot->nThreadNumber != 0)
        pApply(oSlot->nThreadNumber, nLevel);
    return true;
}

std::uint32_t WaitTable::CountNamed(const NamedObject* pNamed)
{
    std::uint32_t nHandles = 0;
    for (std::uint32_t i = 0; i < s_nUsed; ++i)
        nHandles += SlotAt(i).pNamed == pNamed && HandleIn(SlotAt(i).nWord.load(std::memory_order_relaxed)) != 0;
    return nHandles;
}

// ---------------------------------------------------------------------------------------------------------------------
// Forks
// ---------------------------------------------------------------------------------------------------------------------

void WaitTable::BeforeFork()
{
    s_oTableLock.lock();
}

void WaitTable::AfterForkInParent()
{
    s_oTableLock.unlock();
}

// Only the forking thread lives on: what the others own is abandoned, where they waited nobody waits, and they have
// ended.
void WaitTable::AfterForkInChild(std::uint32_t nOldNumber, std::uint32_t nNewNumber)
{
    for (std::uint32_t i = 0; i < s_nUsed; ++i)
    {
        Slot& oSlot = SlotAt(i);
        oSlot.oLock.Reset();
        TakeQueue(oSlot);
        oSlot.nThreadNumber = 0;

        const std::uint64_t nWord = oSlot.nWord.load(std::memory_order_relaxed);
        std::uint32_t nState = StateIn(nWord) & ~HAS_WAITERS;
        if (HandleIn(nWord) == 0)
        {
            oSlot.pNamed = nullptr; // a handle that was to be one when the process was copied
            continue;
        }

        const eKind nKind = oSlot.nKind.load(std::memory_order_relaxed);
        if (nKind == eKind::Mutex && (nState & MUTEX_OWNER) != 0)
        {
            const bool bOwn = (nState & MUTEX_OWNER) == nOldNumber;
            nState = bOwn ? nNewNumber : MUTEX_ABANDONED;
            if (!bOwn)
                oSlot.nMore.store(0, std::memory_order_relaxed);
        }
        else if (nKind == eKind::Thread)
            nState |= EVENT_SIGNALLED;
        oSlot.nWord.store(Pack(HandleIn(nWord), nState), std::memory_order_relaxed);
    }
    s_oTableLock.Reset();
}
} // namespace System
