#include <Common/Platform/PlatformSync.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned GOT = 0;
constexpr unsigned ABANDONED = 0x80;
constexpr unsigned FAILED = 0xFFFFFFFF;
constexpr unsigned LONG_TIME = 30'000; // of a wait that is to succeed

enum class eObject
{
    Mutex,
    Event,
    Semaphore,
};

void* Create(eObject nObject, const char* pName = nullptr)
{
    switch (nObject)
    {
    case eObject::Mutex:
        return SYNC_CreateMutex(false, pName);
    case eObject::Event:
        return SYNC_CreateEvent(false, true, pName);
    default:
        return SYNC_CreateSemaphore(1, 1, pName);
    }
}

constexpr eObject ALL_OBJECTS[] = {eObject::Mutex, eObject::Event, eObject::Semaphore};

// The result of a function that runs on a thread of its own.
template <class Function>
auto OnOtherThread(Function fnWork)
{
    decltype(fnWork()) oResult{};
    std::thread([&] { oResult = fnWork(); }).join();
    return oResult;
}

void* Number(std::uintptr_t nValue)
{
    return reinterpret_cast<void*>(nValue);
}
} // namespace

TEST(PlatformSync, HandlesArePositive32BitNumbersOfTheirOwn)
{
    std::set<void*> oHandles;
    for (int i = 0; i < 50; ++i)
    {
        for (const eObject nObject : ALL_OBJECTS)
        {
            void* hObject = Create(nObject);
            const auto nValue = reinterpret_cast<std::uintptr_t>(hObject);
            EXPECT_GE(nValue, 1u);
            EXPECT_LE(nValue, 0x7FFFFFFFu);
            EXPECT_TRUE(oHandles.insert(hObject).second);
        }
    }
    for (void* hObject : oHandles)
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));
}

TEST(PlatformSync, MutexIsRecursive)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
    EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);

    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(SYNC_UnlockMutex(hMutex), 0) << "owned no more";
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, MutexIsUnlockedByItsOwnerOnly)
{
    void* hMutex = SYNC_CreateMutex(true, nullptr);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_UnlockMutex(hMutex); }), 0);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, AskingWhetherAMutexIsLockedTakesAFreeOne)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    EXPECT_EQ(SYNC_IsMutexLocked(hMutex), 0u);
    EXPECT_EQ(SYNC_IsMutexLocked(hMutex), 0u) << "the own one, too";
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u);

    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u) << "taken twice";
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, MutexPassesToTheWaiter)
{
    void* hMutex = SYNC_CreateMutex(true, nullptr);
    std::thread oWaiter(
        [&]
        {
            EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
            EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
        });
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    oWaiter.join();
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, MutexOfAThreadThatEndedIsAbandonedOnce)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    EXPECT_EQ(OnOtherThread(
                  [&]
                  {
                      SYNC_LockMutex(hMutex);
                      return SYNC_LockMutex(hMutex);
                  }),
              GOT);

    EXPECT_EQ(SYNC_LockMutex(hMutex), ABANDONED);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u) << "it is ours";
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0) << "owned once, however often the old owner had locked it";
    EXPECT_EQ(SYNC_UnlockMutex(hMutex), 0);

    EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, AbandonedMutexCountsAsLockedAndIsTakenAllTheSame)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    OnOtherThread([&] { return SYNC_LockMutex(hMutex); });
    EXPECT_EQ(SYNC_IsMutexLocked(hMutex), 1u);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, AbandonedMutexIsNoTimeOut)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    for (const auto fnWait : {&SYNC_TimedWaitEvent, &SYNC_TryLockSemaphore})
    {
        EXPECT_EQ(OnOtherThread([&] { return SYNC_LockMutex(hMutex); }), GOT);
        EXPECT_TRUE(fnWait(hMutex, 0));
        EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    }
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSync, OwnerCountsOnlyWhatItStillOwns)
{
    // Mutexes that were closed while somebody owned them change nothing for the others.
    void* hKept = SYNC_CreateMutex(false, nullptr);
    void* hClosedByOwner = SYNC_CreateMutex(false, nullptr);
    void* hClosedByOther = SYNC_CreateMutex(false, nullptr);
    EXPECT_EQ(OnOtherThread(
                  [&]
                  {
                      SYNC_LockMutex(hClosedByOther);
                      std::thread([&] { SYNC_DestroyMutex(hClosedByOther); }).join();
                      SYNC_LockMutex(hClosedByOwner);
                      SYNC_LockMutex(hClosedByOwner);
                      SYNC_DestroyMutex(hClosedByOwner);
                      SYNC_LockMutex(hKept);
                      SYNC_LockMutex(hKept);
                      return SYNC_LockMutex(hKept);
                  }),
              GOT);
    EXPECT_EQ(SYNC_LockMutex(hKept), ABANDONED);
    EXPECT_NE(SYNC_UnlockMutex(hKept), 0);
    EXPECT_EQ(SYNC_UnlockMutex(hKept), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hKept));
}

TEST(PlatformSync, WaiterGetsTheMutexWhenItsOwnerEnds)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    void* hOwned = SYNC_CreateEvent(true, false, nullptr);
    void* hEnd = SYNC_CreateEvent(true, false, nullptr);
    std::thread oOwner(
        [&]
        {
            SYNC_LockMutex(hMutex);
            SYNC_SignalEvent(hOwned);
            SYNC_WaitEvent(hEnd);
        });
    SYNC_WaitEvent(hOwned);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hMutex, 1));

    std::thread oWaiter([&] { EXPECT_EQ(SYNC_LockMutex(hMutex), ABANDONED); });
    SYNC_SignalEvent(hEnd);
    oOwner.join();
    oWaiter.join();

    EXPECT_EQ(SYNC_LockMutex(hMutex), ABANDONED) << "the waiter ended without unlocking, too";
    for (void* hObject : {hMutex, hOwned, hEnd})
        EXPECT_TRUE(SYNC_DestroyMutex(hObject));
}

TEST(PlatformSync, ThreadAbandonsEveryMutexItOwns)
{
    std::vector<void*> oMutexes;
    for (int i = 0; i < 100; ++i)
        oMutexes.push_back(SYNC_CreateMutex(false, nullptr));

    std::thread(
        [&]
        {
            for (void* hMutex : oMutexes)
                EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
            for (std::size_t i = 0; i < oMutexes.size(); i += 2)
                EXPECT_NE(SYNC_UnlockMutex(oMutexes[i]), 0);
        })
        .join();

    for (std::size_t i = 0; i < oMutexes.size(); ++i)
    {
        EXPECT_EQ(SYNC_LockMutex(oMutexes[i]), i % 2 == 0 ? GOT : ABANDONED) << i;
        EXPECT_TRUE(SYNC_DestroyMutex(oMutexes[i]));
    }
}

TEST(PlatformSync, EventLetsOneThroughForEachSignal)
{
    void* hEvent = SYNC_CreateEvent(false, false, nullptr);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_NE(SYNC_SignalEvent(hEvent), 0);
    EXPECT_NE(SYNC_SignalEvent(hEvent), 0) << "signals do not add up";
    EXPECT_TRUE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
}

TEST(PlatformSync, EventWithManualResetStaysSignalled)
{
    void* hEvent = SYNC_CreateEvent(true, false, nullptr);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_NE(SYNC_SignalEvent(hEvent), 0);
    EXPECT_EQ(SYNC_WaitEvent(hEvent), GOT);
    EXPECT_EQ(SYNC_WaitEvent(hEvent), GOT);
    EXPECT_NE(SYNC_ResetEvent(hEvent), 0);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
}

TEST(PlatformSync, EventBeginsAsToldAndCanBeReset)
{
    for (const bool bManualReset : {false, true})
    {
        void* hEvent = SYNC_CreateEvent(bManualReset, true, nullptr);
        EXPECT_TRUE(SYNC_TimedWaitEvent(hEvent, 0));
        EXPECT_EQ(SYNC_TimedWaitEvent(hEvent, 0), bManualReset);
        EXPECT_NE(SYNC_SignalEvent(hEvent), 0);
        EXPECT_NE(SYNC_ResetEvent(hEvent), 0);
        EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
        EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
    }
}

TEST(PlatformSync, ManualResetWakesEverybody)
{
    void* hGate = SYNC_CreateEvent(true, false, nullptr);
    std::vector<std::thread> oWaiters;
    for (int i = 0; i < 8; ++i)
        oWaiters.emplace_back([&] { EXPECT_EQ(SYNC_WaitEvent(hGate), GOT); });
    EXPECT_NE(SYNC_SignalEvent(hGate), 0);
    for (std::thread& oWaiter : oWaiters)
        oWaiter.join();
    EXPECT_TRUE(SYNC_DestroyEvent(hGate));
}

TEST(PlatformSync, SemaphoreCountsUpToItsMaximum)
{
    void* hSemaphore = SYNC_CreateSemaphore(0, 2, nullptr);
    EXPECT_FALSE(SYNC_TryLockSemaphore(hSemaphore, 0));
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 0);
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 1);
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 0) << "beyond the maximum";
    EXPECT_TRUE(SYNC_TryLockSemaphore(hSemaphore, 0));
    EXPECT_EQ(SYNC_LockSemaphore(hSemaphore), GOT);
    EXPECT_FALSE(SYNC_TryLockSemaphore(hSemaphore, 0)) << "the refused unit was not added";
    EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
}

TEST(PlatformSync, SemaphoreRefusesAReleaseAsAWhole)
{
    void* hSemaphore = SYNC_CreateSemaphore(2, 4, nullptr);
    for (const int nCount : {3, INT_MAX, 0, -1, INT_MIN})
        EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, nCount), 0) << nCount;
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 2), 2);
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 0);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(SYNC_TryLockSemaphore(hSemaphore, 0));
    EXPECT_FALSE(SYNC_TryLockSemaphore(hSemaphore, 0));
    EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
}

TEST(PlatformSync, SemaphoreIsCreatedWithPossibleCountsOnly)
{
    struct
    {
        int nInitial;
        int nMaximum;
        bool bPossible;
    } const aCases[] = {
        {0, 1, true},  {1, 1, true},   {INT_MAX, INT_MAX, true}, {0, INT_MAX, true}, {2, 1, false},
        {0, 0, false}, {-1, 1, false}, {0, -1, false},           {-2, -1, false},
    };

    for (const auto& [nInitial, nMaximum, bPossible] : aCases)
    {
        void* hSemaphore = SYNC_CreateSemaphore(nInitial, nMaximum, nullptr);
        EXPECT_EQ(hSemaphore != nullptr, bPossible) << nInitial << " of " << nMaximum;
        EXPECT_EQ(SYNC_DestroySemaphore(hSemaphore), bPossible);
    }
}

TEST(PlatformSync, ClosedHandleFailsInEveryFunction)
{
    for (const eObject nObject : ALL_OBJECTS)
    {
        void* hObject = Create(nObject);
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));

        EXPECT_EQ(SYNC_LockMutex(hObject), FAILED);
        EXPECT_EQ(SYNC_LockSemaphore(hObject), FAILED);
        EXPECT_EQ(SYNC_WaitEvent(hObject), FAILED);
        EXPECT_TRUE(SYNC_TimedWaitEvent(hObject, 0)) << "only a time-out is false";
        EXPECT_TRUE(SYNC_TryLockSemaphore(hObject, LONG_TIME));
        EXPECT_EQ(SYNC_IsMutexLocked(hObject), 1u);
        EXPECT_EQ(SYNC_UnlockMutex(hObject), 0);
        EXPECT_EQ(SYNC_UnlockSemaphore(hObject, 1), 0);
        EXPECT_EQ(SYNC_SignalEvent(hObject), 0);
        EXPECT_EQ(SYNC_ResetEvent(hObject), 0);
        EXPECT_FALSE(SYNC_DestroyEvent(hObject));
        EXPECT_FALSE(SYNC_DestroyMutex(hObject));
        EXPECT_FALSE(SYNC_DestroySemaphore(hObject));
    }
}

TEST(PlatformSync, ValueThatIsNoHandleFails)
{
    for (const std::uintptr_t nValue : {std::uintptr_t{0}, std::uintptr_t{0x7FFFFFFC}, std::uintptr_t{0x80000004}})
    {
        EXPECT_EQ(SYNC_LockMutex(Number(nValue)), FAILED) << nValue;
        EXPECT_TRUE(SYNC_TimedWaitEvent(Number(nValue), 0)) << nValue;
        EXPECT_EQ(SYNC_SignalEvent(Number(nValue)), 0) << nValue;
        EXPECT_FALSE(SYNC_DestroyMutex(Number(nValue))) << nValue;
    }
}

TEST(PlatformSync, FunctionsOfAnotherTypeFailAndChangeNothing)
{
    void* hMutex = SYNC_CreateMutex(false, nullptr);
    void* hEvent = SYNC_CreateEvent(false, false, nullptr);
    void* hSemaphore = SYNC_CreateSemaphore(0, 1, nullptr);

    EXPECT_EQ(SYNC_SignalEvent(hMutex), 0);
    EXPECT_EQ(SYNC_ResetEvent(hSemaphore), 0);
    EXPECT_EQ(SYNC_UnlockMutex(hEvent), 0);
    EXPECT_EQ(SYNC_UnlockMutex(hSemaphore), 0);
    EXPECT_EQ(SYNC_UnlockSemaphore(hEvent, 1), 0);
    EXPECT_EQ(SYNC_UnlockSemaphore(hMutex, 1), 0);
    EXPECT_EQ(SYNC_SignalEvent(hSemaphore), 0);

    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_FALSE(SYNC_TimedWaitEvent(hSemaphore, 0));
    EXPECT_TRUE(SYNC_TimedWaitEvent(hMutex, 0)) << "any waitable object can be waited for";
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    for (void* hObject : {hMutex, hEvent, hSemaphore})
        EXPECT_TRUE(SYNC_DestroyMutex(hObject));
}
