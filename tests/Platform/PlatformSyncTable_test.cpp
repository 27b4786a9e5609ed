// Handles: the table behind them, stale ones, many threads, copies of the process.

#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/PlatformSync.h>
#include <Common/ProcessControl/VQEvent.h>
#include <Common/ProcessControl/VQMutex.h>
#include <Common/ProcessControl/VQThread.h>

#include <tests/support/Fork.h>
#include <tests/support/NoOpenFiles.h>
#include <tests/support/SyncChild.h>
#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned GOT = 0;
constexpr unsigned ABANDONED = 0x80;
constexpr unsigned FAILED = 0xFFFFFFFF;
constexpr unsigned LONG_TIME = 30'000; // of a wait that is to end earlier

std::string g_sDebuggerOutput;

eMessageBoxAnswer AnswerBox(const char*, const char*, eMessageBoxKind)
{
    return mbaOk;
}

void TakeDebuggerOutput(const char* pText)
{
    g_sDebuggerOutput += pText;
}

// Whether the system gives the number of a closed handle to the next object: nobody may touch a closed one then.
bool ReusesHandles()
{
    std::set<void*> oHandles;
    for (int i = 0; i < 100; ++i)
    {
        void* hEvent = SYNC_CreateEvent(false, false, nullptr);
        SYNC_DestroyEvent(hEvent);
        if (!oHandles.insert(hEvent).second)
            return true;
    }
    return false;
}

constexpr auto REUSES_HANDLES = "this system gives a closed handle's number to the next object";

// Takes every handle that the process can have.
std::vector<void*> TakeAllHandles()
{
    constexpr std::size_t MOST_HANDLES = 300'000;

    std::vector<void*> oHandles;
    for (void* hEvent = nullptr; oHandles.size() < MOST_HANDLES; oHandles.push_back(hEvent))
    {
        hEvent = SYNC_CreateEvent(false, false, nullptr);
        if (hEvent == nullptr)
            break;
    }
    return oHandles;
}

class CIdleThread : public CVQThread
{
public:
    ~CIdleThread() override { CVQThread::Stop(true, 0xFFFFFFFF); }

    unsigned long Run() override { return 0; }
};
} // namespace

TEST(PlatformSyncTable, ClosedHandleNeverReachesALaterObject)
{
    if (ReusesHandles())
        GTEST_SKIP() << REUSES_HANDLES;

    std::vector<void*> oStale;
    for (int i = 0; i < 20'000; ++i)
    {
        void* hSemaphore = SYNC_CreateSemaphore(1, 2, nullptr);
        ASSERT_NE(hSemaphore, nullptr);
        EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
        oStale.push_back(hSemaphore);
    }
    std::vector<void*> oLiving;
    for (int i = 0; i < 5000; ++i)
        oLiving.push_back(SYNC_CreateSemaphore(1, 2, nullptr));
    for (void* hSemaphore : oStale)
    {
        EXPECT_EQ(SYNC_LockSemaphore(hSemaphore), FAILED);
        EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 0);
        EXPECT_FALSE(SYNC_DestroySemaphore(hSemaphore));
    }
    for (void* hSemaphore : oLiving)
    {
        EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 1) << "untouched";
        EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
    }
}

TEST(PlatformSyncTable, NumbersOfHandlesStayApartOverManyLives)
{
    // Enough for every slot that is in turn to be used many times over.
    std::set<void*> oKept;
    for (int i = 0; i < 64; ++i)
        oKept.insert(SYNC_CreateEvent(false, false, nullptr));
    for (int i = 0; i < 50'000; ++i)
    {
        void* hEvent = SYNC_CreateEvent(false, true, nullptr);
        if (hEvent == nullptr || oKept.count(hEvent) != 0 || !SYNC_TimedWaitEvent(hEvent, 0) ||
            !SYNC_DestroyEvent(hEvent))
            FAIL() << "life " << i;
    }
    for (void* hEvent : oKept)
    {
        EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
        EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
    }
}

TEST(PlatformSyncTable, ThreadsUseAndCloseEachOthersHandles)
{
    if (ReusesHandles())
        GTEST_SKIP() << REUSES_HANDLES;

    constexpr int THREADS = 4;
    constexpr int ROUNDS = 4000;

    std::array<std::atomic<void*>, 8> aHandles{};
    std::atomic<int> nCreated = 0;
    std::atomic<int> nClosed = 0;
    std::vector<std::thread> oThreads;
    for (unsigned nThread = 0; nThread < THREADS; ++nThread)
    {
        oThreads.emplace_back(
            [&, nThread]
            {
                std::minstd_rand oRandom(nThread + 1);
                for (int i = 0; i < ROUNDS; ++i)
                {
                    std::atomic<void*>& hObject = aHandles[oRandom() % aHandles.size()];
                    switch (oRandom() % 8)
                    {
                    case 0:
                        if (void* hOld = hObject.exchange(nullptr); hOld != nullptr)
                            nClosed += SYNC_DestroyEvent(hOld);
                        break;
                    case 1:
                    {
                        void* aKinds[] = {nullptr, nullptr, nullptr};
                        const auto nKind = oRandom() % 3;
                        if (nKind == 0)
                            aKinds[nKind] = SYNC_CreateMutex(oRandom() % 2 == 0, nullptr);
                        else if (nKind == 1)
                            aKinds[nKind] = SYNC_CreateEvent(oRandom() % 2 == 0, false, nullptr);
                        else
                            aKinds[nKind] = SYNC_CreateSemaphore(0, 3, nullptr);
                        nCreated += aKinds[nKind] != nullptr;
                        if (void* hOld = hObject.exchange(aKinds[nKind]); hOld != nullptr)
                            nClosed += SYNC_DestroyEvent(hOld);
                        break;
                    }
                    case 2:
                        SYNC_UnlockMutex(hObject);
                        break;
                    case 3:
                        SYNC_SignalEvent(hObject);
                        break;
                    case 4:
                        SYNC_UnlockSemaphore(hObject, 1);
                        break;
                    case 5:
                        SYNC_ResetEvent(hObject);
                        break;
                    default:
                        SYNC_TimedWaitEvent(hObject, static_cast<unsigned>(oRandom() % 2));
                        break;
                    }
                }
            });
    }
    for (std::thread& oThread : oThreads)
        oThread.join();
    for (std::atomic<void*>& hObject : aHandles)
    {
        if (void* hOld = hObject; hOld != nullptr)
            nClosed += SYNC_DestroyEvent(hOld);
    }
    EXPECT_EQ(nCreated, nClosed) << "each was closed exactly once";
}

TEST(PlatformSyncTable, WaitFailsWhenItsHandleIsClosed)
{
    if (ReusesHandles())
        GTEST_SKIP() << REUSES_HANDLES;

    constexpr int ROUNDS = 20;

    void* hBegun = SYNC_CreateEvent(false, false, nullptr);
    void* hNever = SYNC_CreateEvent(false, false, nullptr);
    for (const bool bNamed : {false, true})
    {
        for (int i = 0; i < ROUNDS; ++i)
        {
            const std::string sName = bNamed ? UniqueSyncName() : std::string();
            void* const aObjects[] = {SYNC_CreateMutex(true, bNamed ? (sName + "-mutex").c_str() : nullptr),
                                      SYNC_CreateEvent(false, false, bNamed ? (sName + "-event").c_str() : nullptr),
                                      SYNC_CreateSemaphore(0, 1, bNamed ? (sName + "-units").c_str() : nullptr)};
            for (void* hObject : aObjects)
            {
                ASSERT_NE(hObject, nullptr);
                std::vector<std::thread> oWaiters;
                for (const bool bLimit : {false, true})
                {
                    oWaiters.emplace_back(
                        [&, bLimit]
                        {
                            SYNC_SignalEvent(hBegun);
                            if (bLimit)
                                EXPECT_TRUE(SYNC_TimedWaitEvent(hObject, LONG_TIME)) << "failed, which is no time-out";
                            else
                                EXPECT_EQ(SYNC_WaitEvent(hObject), FAILED);
                        });
                    EXPECT_TRUE(SYNC_TimedWaitEvent(hBegun, LONG_TIME));
                }
                if (i % 2 == 0) // time to get into the wait; without it the handle is closed before
                    SYNC_TimedWaitEvent(hNever, 2);
                EXPECT_TRUE(SYNC_DestroyEvent(hObject));
                for (std::thread& oWaiter : oWaiters)
                    oWaiter.join();
            }
        }
    }
    EXPECT_TRUE(SYNC_DestroyEvent(hBegun));
    EXPECT_TRUE(SYNC_DestroyEvent(hNever));
}

TEST(PlatformSyncTable, WaitThroughAnotherHandleGoesOn)
{
    if (ReusesHandles())
        GTEST_SKIP() << REUSES_HANDLES;

    const std::string sName = UniqueSyncName();
    void* hKept = SYNC_CreateEvent(false, false, sName.c_str());
    void* hClosed = SYNC_CreateEvent(false, false, sName.c_str());
    void* hBegun = SYNC_CreateSemaphore(0, 2, nullptr);
    void* hNever = SYNC_CreateEvent(false, false, nullptr);
    std::thread oFails(
        [&]
        {
            SYNC_UnlockSemaphore(hBegun, 1);
            EXPECT_EQ(SYNC_WaitEvent(hClosed), FAILED);
        });
    std::thread oGets(
        [&]
        {
            SYNC_UnlockSemaphore(hBegun, 1);
            EXPECT_EQ(SYNC_WaitEvent(hKept), GOT);
        });
    EXPECT_EQ(SYNC_LockSemaphore(hBegun), GOT);
    EXPECT_EQ(SYNC_LockSemaphore(hBegun), GOT);
    SYNC_TimedWaitEvent(hNever, 5);
    EXPECT_TRUE(SYNC_DestroyEvent(hClosed));
    oFails.join();

    EXPECT_NE(SYNC_SignalEvent(hKept), 0);
    oGets.join();
    EXPECT_FALSE(SYNC_TimedWaitEvent(hKept, 0)) << "the wait that failed took no signal";
    for (void* hObject : {hKept, hBegun, hNever})
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));
}

TEST(PlatformSyncTable, ClosingAndSignallingMeetWithoutLoss)
{
    if (ReusesHandles())
        GTEST_SKIP() << REUSES_HANDLES;

    // A unit that is returned while the handle of a waiter closes is either got or still there.
    constexpr int ROUNDS = 1000;

    const std::string sName = UniqueSyncName();
    void* hKept = SYNC_CreateSemaphore(0, ROUNDS, sName.c_str());
    void* hBegun = SYNC_CreateEvent(false, false, nullptr);
    int nGot = 0;
    for (int i = 0; i < ROUNDS; ++i)
    {
        void* hClosed = SYNC_CreateSemaphore(0, ROUNDS, sName.c_str());
        std::thread oWaiter(
            [&]
            {
                SYNC_SignalEvent(hBegun);
                nGot += SYNC_LockSemaphore(hClosed) == GOT;
            });
        SYNC_WaitEvent(hBegun);
        std::thread oSignaller([&] { SYNC_UnlockSemaphore(hKept, 1); });
        EXPECT_TRUE(SYNC_DestroySemaphore(hClosed));
        oSignaller.join();
        oWaiter.join();
    }
    while (SYNC_TryLockSemaphore(hKept, 0))
        ++nGot;
    EXPECT_EQ(nGot, ROUNDS);
    EXPECT_TRUE(SYNC_DestroySemaphore(hKept));
    EXPECT_TRUE(SYNC_DestroyEvent(hBegun));
}

TEST(PlatformSyncTable, TimeOutsAndSignalsMeetWithoutLoss)
{
    constexpr int WAITERS = 4;
    constexpr int SIGNALS = 3000;

    // Waits that time out and signals that come at the same time: a unit is either got or still there.
    void* hSemaphore = SYNC_CreateSemaphore(0, SIGNALS, nullptr);
    std::atomic<int> nGot = 0;
    std::atomic<bool> bDone = false;
    std::vector<std::thread> oWaiters;
    for (unsigned nWaiter = 0; nWaiter < WAITERS; ++nWaiter)
    {
        oWaiters.emplace_back(
            [&, nWaiter]
            {
                while (!bDone)
                    nGot += SYNC_TryLockSemaphore(hSemaphore, nWaiter % 2);
            });
    }
    for (int i = 0; i < SIGNALS; ++i)
        SYNC_UnlockSemaphore(hSemaphore, 1);
    bDone = true;
    for (std::thread& oWaiter : oWaiters)
        oWaiter.join();
    while (SYNC_TryLockSemaphore(hSemaphore, 0))
        ++nGot;
    EXPECT_EQ(nGot, SIGNALS);
    EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
}

TEST(PlatformSyncTable, MutexIsPassedOnAmongWaitersThatTimeOut)
{
    constexpr int THREADS = 5;
    constexpr int ROUNDS = 1500;

    void* hMutex = SYNC_CreateMutex(false, nullptr);
    int nCount = 0; // guarded by the mutex alone
    std::atomic<int> nExpected = 0;
    std::vector<std::thread> oThreads;
    for (int nThread = 0; nThread < THREADS; ++nThread)
    {
        oThreads.emplace_back(
            [&, nThread]
            {
                for (int i = 0; i < ROUNDS; ++i)
                {
                    if (nThread == 0)
                        EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
                    else if (!SYNC_TimedWaitEvent(hMutex, static_cast<unsigned>(i % 2)))
                        continue;
                    ++nCount;
                    ++nExpected;
                    if (i % 16 == 0)
                        std::this_thread::yield();
                    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
                }
            });
    }
    for (std::thread& oThread : oThreads)
        oThread.join();
    EXPECT_EQ(nCount, nExpected);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSyncTable, NamedEventTakesMoreWaitersThanItHasRoomFor)
{
    constexpr int WAITERS = 160;

    void* hEvent = SYNC_CreateEvent(true, false, UniqueSyncName().c_str());
    void* hWaiting = SYNC_CreateSemaphore(0, WAITERS, nullptr);
    std::vector<std::thread> oWaiters;
    for (int i = 0; i < WAITERS; ++i)
    {
        oWaiters.emplace_back(
            [&]
            {
                SYNC_UnlockSemaphore(hWaiting, 1);
                EXPECT_EQ(SYNC_WaitEvent(hEvent), GOT);
            });
    }
    for (int i = 0; i < WAITERS; ++i)
        EXPECT_EQ(SYNC_LockSemaphore(hWaiting), GOT);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 5));
    EXPECT_NE(SYNC_SignalEvent(hEvent), 0);
    for (std::thread& oWaiter : oWaiters)
        oWaiter.join();
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
    EXPECT_TRUE(SYNC_DestroySemaphore(hWaiting));
}

TEST(IsolatedPlatformSyncTable, FailedCreationsAreReported)
{
    if (ReusesHandles())
        GTEST_SKIP() << "this system has more handles than a test may take";

    const std::vector<void*> oHandles = TakeAllHandles();
    EXPECT_EQ(SYNC_CreateMutex(false, nullptr), nullptr);
    EXPECT_EQ(SYNC_CreateMutex(true, nullptr), nullptr);
    EXPECT_EQ(SYNC_CreateSemaphore(1, 1, nullptr), nullptr);
    const std::string sName = UniqueSyncName();
    EXPECT_EQ(SYNC_CreateMutex(true, sName.c_str()), nullptr);

    CIdleThread oThread;
    EXPECT_FALSE(oThread.Start(1, eThreadPriorityNormal));
    EXPECT_FALSE(oThread.IsRunning());
    EXPECT_FALSE(oThread.IsStopPending());
    EXPECT_EQ(oThread.GetUserParam(), 1u);

    const CTestDirectory oDirectory;
    HOOK_SetMessageBox(&AnswerBox);
    HOOK_SetDebuggerOutput(&TakeDebuggerOutput);
    CVQMutex oMutex;
    EXPECT_NE(g_sDebuggerOutput.find("CVQMutex::CVQMutex(): SYNC_CreateMutex() failed!"), std::string::npos)
        << g_sDebuggerOutput;
    EXPECT_NE(oDirectory.Read("Zembrolia.log")
                  .find(" |  | Common/ProcessControl/VQMutex | 77 | CVQMutex::CVQMutex(): SYNC_CreateMutex() failed!"),
              std::string::npos);
    EXPECT_EQ(oMutex.GetHandle(), 0u);
    oMutex.Lock();
    EXPECT_TRUE(oMutex.IsLocked());
    oMutex.Unlock();

    g_sDebuggerOutput.clear();
    CVQEvent oEvent;
    EXPECT_NE(g_sDebuggerOutput.find("CVQEvent::CVQEvent(): SYNC_CreateEvent() failed!"), std::string::npos)
        << g_sDebuggerOutput;
    EXPECT_NE(oDirectory.Read("Zembrolia.log")
                  .find(" |  | Common/ProcessControl/VQEvent | 75 | CVQEvent::CVQEvent(): SYNC_CreateEvent() failed!"),
              std::string::npos);
    oEvent.Wait();
    EXPECT_TRUE(oEvent.TimedWait(10'000'000)) << "a wait on no handle is no time-out";
    oEvent.Signal();
    oEvent.Reset();
    EXPECT_TRUE(oEvent.TimedWait(0));

    for (void* hEvent : oHandles)
        EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
    void* hNamed = SYNC_CreateMutex(false, sName.c_str());
    EXPECT_NE(hNamed, nullptr);
    EXPECT_EQ(SYNC_UnlockMutex(hNamed), 0) << "the one that failed left nothing behind";
    EXPECT_TRUE(oThread.Start(1, eThreadPriorityNormal));

    g_sDebuggerOutput.clear();
    const CVQMutex oGoodMutex;
    const CVQEvent oGoodEvent;
    EXPECT_EQ(g_sDebuggerOutput, "");
    HOOK_SetDebuggerOutput(nullptr);
}

TEST(IsolatedPlatformSyncTable, CopyOfTheProcessKeepsWhatItsThreadOwns)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    void* hOwn = SYNC_CreateMutex(true, nullptr);
    void* hOthers = SYNC_CreateMutex(false, nullptr);
    void* hEvent = SYNC_CreateEvent(false, true, nullptr);
    void* hOwned = SYNC_CreateEvent(false, false, nullptr);
    void* hEnd = SYNC_CreateEvent(false, false, nullptr);
    std::thread oOther(
        [&]
        {
            SYNC_LockMutex(hOthers);
            SYNC_SignalEvent(hOwned);
            SYNC_WaitEvent(hEnd);
        });
    EXPECT_EQ(SYNC_WaitEvent(hOwned), GOT);

    const int nResult = RunInFork(
        [&]
        {
            if (SYNC_LockMutex(hOwn) != GOT || SYNC_UnlockMutex(hOwn) == 0 || SYNC_UnlockMutex(hOwn) == 0)
                return 1;
            if (SYNC_LockMutex(hOthers) != ABANDONED || SYNC_UnlockMutex(hOthers) == 0)
                return 2;
            if (!SYNC_TimedWaitEvent(hEvent, 0) || SYNC_TimedWaitEvent(hEvent, 1))
                return 3;
            if (SYNC_CreateEvent(false, false, nullptr) == nullptr)
                return 4;
            return 0;
        });
    EXPECT_EQ(nResult, 0);
    EXPECT_TRUE(SYNC_TimedWaitEvent(hEvent, 0)) << "the copy's objects are its own";
    SYNC_SignalEvent(hEnd);
    oOther.join();
    EXPECT_EQ(SYNC_UnlockMutex(hOwn), 1);
    EXPECT_EQ(SYNC_LockMutex(hOthers), ABANDONED);
}

TEST(IsolatedPlatformSyncTable, CopyOfTheProcessSharesNamedObjects)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    const std::string sName = UniqueSyncName();
    void* hSemaphore = SYNC_CreateSemaphore(0, 3, sName.c_str());
    void* hMutex = SYNC_CreateMutex(true, (sName + "-mutex").c_str());
    const int nResult = RunInFork(
        [&]
        {
            if (SYNC_UnlockSemaphore(hSemaphore, 2) != 0)
                return 1;
            if (SYNC_TimedWaitEvent(hMutex, 60) || SYNC_UnlockMutex(hMutex) != 0)
                return 2; // the parent owns it
            if (!SYNC_DestroySemaphore(hSemaphore))
                return 3;
            if (SYNC_CreateMutex(false, sName.c_str()) != nullptr)
                return 4; // the parent still holds the name
            return 0;
        });
    EXPECT_EQ(nResult, 0);
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 2);
    EXPECT_EQ(SYNC_CreateMutex(false, sName.c_str()), nullptr);
    EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
    void* hOther = SYNC_CreateMutex(false, sName.c_str());
    EXPECT_NE(hOther, nullptr) << "nobody holds it any more";
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);

    EXPECT_EQ(RunInFork(
                  [&]
                  {
                      SYNC_LockMutex(hMutex);
                      return 0;
                  }),
              0);
    EXPECT_EQ(SYNC_LockMutex(hMutex), ABANDONED) << "the copy ended with it";
}

TEST(IsolatedPlatformSyncTable, CopyOfTheProcessWithoutFilesTouchesNoNamedObject)
{
    if (!HasFork() || !CNoOpenFiles::IsSupported())
        GTEST_SKIP() << "this system makes no copies of a process, or has no limit of files";

    const std::string sName = UniqueSyncName();
    void* hSemaphore = SYNC_CreateSemaphore(1, 3, (sName + "-units").c_str());
    void* hEvent = SYNC_CreateEvent(true, false, (sName + "-event").c_str());
    void* hMutex = SYNC_CreateMutex(true, (sName + "-mutex").c_str());
    void* hFree = SYNC_CreateMutex(false, (sName + "-free").c_str());

    auto pNoFiles = std::make_unique<CNoOpenFiles>();
    const int nResult = RunInFork(
        [&]
        {
            for (void* hObject : {hSemaphore, hEvent, hMutex, hFree})
            {
                if (SYNC_LockMutex(hObject) != FAILED || !SYNC_TimedWaitEvent(hObject, 0))
                    return 1;
            }
            if (SYNC_UnlockSemaphore(hSemaphore, 1) != 0 || SYNC_SignalEvent(hEvent) != 0 ||
                SYNC_ResetEvent(hEvent) != 0 || SYNC_UnlockMutex(hMutex) != 0)
                return 2;
            if (SYNC_CreateSemaphore(1, 3, (sName + "-units").c_str()) != nullptr)
                return 3;

            pNoFiles.reset();
            void* hAgain = SYNC_CreateSemaphore(0, 9, (sName + "-units").c_str());
            if (hAgain == nullptr || SYNC_UnlockSemaphore(hAgain, 1) != 1)
                return 4; // opened anew it is the parent's
            if (!SYNC_DestroySemaphore(hSemaphore) || !SYNC_DestroyEvent(hEvent) || !SYNC_DestroyMutex(hMutex))
                return 5;
            if (SYNC_CreateMutex(false, (sName + "-event").c_str()) != nullptr)
                return 6; // the name is still the parent's
            return 0;
        });
    pNoFiles.reset();
    EXPECT_EQ(nResult, 0);
    EXPECT_EQ(SYNC_UnlockSemaphore(hSemaphore, 1), 2);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0) << "still owned";
    EXPECT_EQ(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(SYNC_LockMutex(hFree), GOT);
    for (void* hObject : {hSemaphore, hEvent, hMutex, hFree})
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));
}
