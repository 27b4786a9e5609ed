#include <Common/Platform/PlatformSync.h>

#include <tests/support/NoMemory.h>
#include <tests/support/SyncChild.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned GOT = 0;
constexpr unsigned ABANDONED = 0x80;
constexpr unsigned LONG_TIME = 30'000; // of a wait that is to succeed

template <class Function>
auto OnOtherThread(Function fnWork)
{
    decltype(fnWork()) oResult{};
    std::thread([&] { oResult = fnWork(); }).join();
    return oResult;
}

// Takes every unit that a semaphore has.
int Drain(void* hSemaphore)
{
    int nUnits = 0;
    while (SYNC_TryLockSemaphore(hSemaphore, 0))
        ++nUnits;
    return nUnits;
}
} // namespace

TEST(PlatformSyncNamed, OneNameIsOneObject)
{
    const std::string sName = UniqueSyncName();
    void* hFirst = SYNC_CreateSemaphore(1, 3, sName.c_str());
    void* hSecond = SYNC_CreateSemaphore(1, 3, sName.c_str());
    ASSERT_NE(hFirst, nullptr);
    ASSERT_NE(hSecond, nullptr);
    EXPECT_NE(hFirst, hSecond) << "each has a handle of its own";

    EXPECT_EQ(SYNC_UnlockSemaphore(hFirst, 1), 1);
    EXPECT_EQ(SYNC_UnlockSemaphore(hSecond, 1), 2);
    EXPECT_TRUE(SYNC_DestroySemaphore(hFirst));
    EXPECT_FALSE(SYNC_DestroySemaphore(hFirst));
    EXPECT_EQ(SYNC_UnlockSemaphore(hFirst, 1), 0) << "closed";
    EXPECT_EQ(Drain(hSecond), 3) << "the object lives on";
    EXPECT_TRUE(SYNC_DestroySemaphore(hSecond));
}

TEST(PlatformSyncNamed, ASecondOpeningIgnoresTheInitialValues)
{
    const std::string sSemaphore = UniqueSyncName();
    void* hSemaphore = SYNC_CreateSemaphore(2, 2, sSemaphore.c_str());
    void* hSecondSemaphore = SYNC_CreateSemaphore(0, 9, sSemaphore.c_str());
    EXPECT_EQ(SYNC_UnlockSemaphore(hSecondSemaphore, 1), 0) << "2 is the maximum";
    EXPECT_EQ(Drain(hSecondSemaphore), 2);

    const std::string sEvent = UniqueSyncName();
    void* hEvent = SYNC_CreateEvent(true, true, sEvent.c_str());
    void* hSecondEvent = SYNC_CreateEvent(false, false, sEvent.c_str());
    EXPECT_TRUE(SYNC_TimedWaitEvent(hSecondEvent, 0));
    EXPECT_TRUE(SYNC_TimedWaitEvent(hSecondEvent, 0)) << "manual reset";

    const std::string sMutex = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(false, sMutex.c_str());
    void* hSecondMutex = SYNC_CreateMutex(true, sMutex.c_str());
    EXPECT_EQ(SYNC_UnlockMutex(hSecondMutex), 0) << "not owned";
    EXPECT_EQ(OnOtherThread([&] { return SYNC_LockMutex(hMutex); }), GOT);
    EXPECT_EQ(SYNC_LockMutex(hSecondMutex), ABANDONED);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0) << "through any of its handles";

    for (void* hObject : {hSemaphore, hSecondSemaphore, hEvent, hSecondEvent, hMutex, hSecondMutex})
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));
}

TEST(PlatformSyncNamed, TypesShareOneNameSpace)
{
    const auto fnCreate = [](int nType, const std::string& sName)
    {
        if (nType == 0)
            return SYNC_CreateMutex(false, sName.c_str());
        return nType == 1 ? SYNC_CreateEvent(false, false, sName.c_str()) : SYNC_CreateSemaphore(1, 1, sName.c_str());
    };
    for (int nFirst = 0; nFirst < 3; ++nFirst)
    {
        const std::string sName = UniqueSyncName();
        void* hFirst = fnCreate(nFirst, sName);
        ASSERT_NE(hFirst, nullptr);
        for (int nSecond = 0; nSecond < 3; ++nSecond)
        {
            void* hSecond = fnCreate(nSecond, sName);
            EXPECT_EQ(hSecond != nullptr, nFirst == nSecond) << nFirst << " then " << nSecond;
            EXPECT_EQ(SYNC_DestroyMutex(hSecond), nFirst == nSecond);
        }
        EXPECT_TRUE(SYNC_DestroyMutex(hFirst));
    }
}

TEST(PlatformSyncNamed, NameIsGoneWithTheLastHandle)
{
    const std::string sName = UniqueSyncName();
    void* hFirst = SYNC_CreateEvent(true, true, sName.c_str());
    void* hSecond = SYNC_CreateEvent(true, true, sName.c_str());
    EXPECT_TRUE(SYNC_DestroyEvent(hFirst));
    EXPECT_EQ(SYNC_CreateMutex(false, sName.c_str()), nullptr);
    EXPECT_TRUE(SYNC_DestroyEvent(hSecond));

    void* hMutex = SYNC_CreateMutex(false, sName.c_str());
    EXPECT_NE(hMutex, nullptr);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSyncNamed, NameIsGoneWithTheLastHandleThoughAThreadOwnsTheMutex)
{
    const std::string sName = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(true, sName.c_str());
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
    void* hEvent = SYNC_CreateEvent(false, false, sName.c_str());
    EXPECT_NE(hEvent, nullptr) << "owned by this thread";
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));

    hMutex = SYNC_CreateMutex(false, sName.c_str());
    void* hOwned = SYNC_CreateEvent(true, false, nullptr);
    void* hEnd = SYNC_CreateEvent(true, false, nullptr);
    std::thread oOwner(
        [&]
        {
            EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
            SYNC_SignalEvent(hOwned);
            SYNC_WaitEvent(hEnd);
        });
    SYNC_WaitEvent(hOwned);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
    void* hNew = SYNC_CreateMutex(false, sName.c_str());
    ASSERT_NE(hNew, nullptr) << "owned by another thread";
    EXPECT_EQ(SYNC_LockMutex(hNew), GOT) << "a new one, free";
    SYNC_SignalEvent(hEnd);
    oOwner.join();
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hNew); }), 1u)
        << "the end of the old owner is nothing to it";
    EXPECT_NE(SYNC_UnlockMutex(hNew), 0);
    for (void* hObject : {hNew, hOwned, hEnd})
        EXPECT_TRUE(SYNC_DestroyMutex(hObject));
}

TEST(PlatformSyncNamed, ClosedWhileOwnedTheyTakeNothingWithThem)
{
    // More than a process may have files open: each takes what it had along.
    constexpr int ROUNDS = 3000;

    const std::string sName = UniqueSyncName();
    const auto fnRun = [&]
    {
        for (int i = 0; i < ROUNDS; ++i)
        {
            void* hMutex = SYNC_CreateMutex(true, sName.c_str());
            if (hMutex == nullptr || !SYNC_DestroyMutex(hMutex))
                return i;
        }
        return ROUNDS;
    };
    EXPECT_EQ(fnRun(), ROUNDS);

    void* hMutex = nullptr;
    void* hMade = SYNC_CreateEvent(false, false, nullptr);
    void* hClosed = SYNC_CreateEvent(false, true, nullptr);
    std::thread oOther(
        [&]
        {
            for (int i = 0; i < ROUNDS && SYNC_TimedWaitEvent(hClosed, LONG_TIME); ++i)
            {
                hMutex = SYNC_CreateMutex(true, sName.c_str());
                SYNC_SignalEvent(hMade);
            }
        });
    int nClosed = 0;
    for (int i = 0; i < ROUNDS && SYNC_TimedWaitEvent(hMade, LONG_TIME); ++i)
    {
        nClosed += SYNC_DestroyMutex(hMutex);
        SYNC_SignalEvent(hClosed);
    }
    oOther.join();
    EXPECT_EQ(nClosed, ROUNDS) << "closed by another thread than the owner";
    EXPECT_TRUE(SYNC_DestroyEvent(hMade));
    EXPECT_TRUE(SYNC_DestroyEvent(hClosed));
}

TEST(PlatformSyncNamed, OwnerStaysOwnerWhileAnotherProcessHasAHandle)
{
    const std::string sName = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(true, sName.c_str());
    const auto pChild = StartSyncChild(eSyncRole::HoldMutex, sName);
    ASSERT_TRUE(pChild);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
    EXPECT_EQ(SYNC_CreateEvent(false, false, sName.c_str()), nullptr) << "the child keeps the name";

    hMutex = SYNC_CreateMutex(false, sName.c_str());
    ASSERT_NE(hMutex, nullptr);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0) << "through a handle that was opened anew";
    EXPECT_EQ(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));

    pChild->Kill();
    pChild->Wait();
    void* hEvent = SYNC_CreateEvent(false, false, sName.c_str());
    EXPECT_NE(hEvent, nullptr) << "an owner alone does not keep the name";
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
}

TEST(PlatformSyncNamed, OtherProcessWaitsForTheEndOfAnOwnerWithoutHandle)
{
    const std::string sName = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(false, sName.c_str());
    void* hCount = SYNC_CreateSemaphore(0, 1000, (sName + "-count").c_str());
    void* hOwned = SYNC_CreateEvent(true, false, nullptr);
    void* hEnd = SYNC_CreateEvent(true, false, nullptr);
    std::thread oOwner(
        [&]
        {
            EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
            SYNC_SignalEvent(hOwned);
            SYNC_WaitEvent(hEnd);
        });
    SYNC_WaitEvent(hOwned);
    const auto pChild = StartSyncChild(eSyncRole::WaitForAbandoned, sName);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
    EXPECT_FALSE(SYNC_TryLockSemaphore(hCount, 60)) << "the owner lives";

    SYNC_SignalEvent(hEnd);
    oOwner.join();
    EXPECT_TRUE(SYNC_TryLockSemaphore(hCount, LONG_TIME));
    ASSERT_TRUE(pChild);
    EXPECT_EQ(pChild->Wait().nExitCode, 0);
    for (void* hObject : {hCount, hOwned, hEnd})
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));
}

TEST(PlatformSyncNamed, CreationFailsWhereThereIsNoMemory)
{
    if (!CNoMemory::IsSupported())
        GTEST_SKIP() << "the library's memory cannot be made to fail here";

    const std::string sName = UniqueSyncName();
    const std::string sLong = sName + std::string(259 - sName.size(), '/');
    void* hExisting = SYNC_CreateEvent(false, false, sLong.c_str());
    void* hOpened = nullptr;
    {
        const CNoMemory oNoMemory;
        EXPECT_EQ(SYNC_CreateMutex(true, sName.c_str()), nullptr);
        EXPECT_EQ(SYNC_CreateEvent(true, true, sName.c_str()), nullptr);
        EXPECT_EQ(SYNC_CreateSemaphore(1, 1, sName.c_str()), nullptr);
        hOpened = SYNC_CreateEvent(false, false, sLong.c_str());
    }
    EXPECT_NE(hOpened, nullptr) << "the process has the object already";
    void* hSemaphore = SYNC_CreateSemaphore(1, 1, sName.c_str());
    EXPECT_NE(hSemaphore, nullptr) << "what failed left nothing behind";
    for (void* hObject : {hExisting, hOpened, hSemaphore})
        EXPECT_TRUE(SYNC_DestroyEvent(hObject));
}

TEST(PlatformSyncNamed, MutexIsRecursiveOwnedAndAbandoned)
{
    void* hMutex = SYNC_CreateMutex(true, UniqueSyncName().c_str());
    EXPECT_EQ(SYNC_IsMutexLocked(hMutex), 0u);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_IsMutexLocked(hMutex); }), 1u);
    EXPECT_EQ(OnOtherThread([&] { return SYNC_UnlockMutex(hMutex); }), 0);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(SYNC_UnlockMutex(hMutex), 0);

    EXPECT_EQ(OnOtherThread([&] { return SYNC_LockMutex(hMutex); }), GOT);
    EXPECT_EQ(SYNC_IsMutexLocked(hMutex), 1u) << "abandoned";
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSyncNamed, EventsResetAsCreated)
{
    void* hAuto = SYNC_CreateEvent(false, false, UniqueSyncName().c_str());
    EXPECT_FALSE(SYNC_TimedWaitEvent(hAuto, 1));
    EXPECT_NE(SYNC_SignalEvent(hAuto), 0);
    EXPECT_TRUE(SYNC_TimedWaitEvent(hAuto, 0));
    EXPECT_FALSE(SYNC_TimedWaitEvent(hAuto, 0));
    EXPECT_NE(SYNC_SignalEvent(hAuto), 0);
    EXPECT_NE(SYNC_ResetEvent(hAuto), 0);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hAuto, 0));
    EXPECT_EQ(SYNC_UnlockMutex(hAuto), 0);
    EXPECT_EQ(SYNC_UnlockSemaphore(hAuto, 1), 0);

    void* hManual = SYNC_CreateEvent(true, false, UniqueSyncName().c_str());
    std::vector<std::thread> oWaiters;
    for (int i = 0; i < 4; ++i)
        oWaiters.emplace_back([&] { EXPECT_EQ(SYNC_WaitEvent(hManual), GOT); });
    EXPECT_NE(SYNC_SignalEvent(hManual), 0);
    for (std::thread& oWaiter : oWaiters)
        oWaiter.join();
    EXPECT_TRUE(SYNC_TimedWaitEvent(hManual, 0));
    EXPECT_TRUE(SYNC_DestroyEvent(hAuto));
    EXPECT_TRUE(SYNC_DestroyEvent(hManual));
}

TEST(PlatformSyncNamed, UnitsGoToWaitersOneByOne)
{
    void* hSemaphore = SYNC_CreateSemaphore(0, 2, UniqueSyncName().c_str());
    void* hDone = SYNC_CreateSemaphore(0, 100, nullptr);
    std::vector<std::thread> oWaiters;
    for (int i = 0; i < 4; ++i)
    {
        oWaiters.emplace_back(
            [&]
            {
                EXPECT_EQ(SYNC_LockSemaphore(hSemaphore), GOT);
                SYNC_UnlockSemaphore(hDone, 1);
            });
    }
    for (int i = 0; i < 4; ++i)
    {
        SYNC_UnlockSemaphore(hSemaphore, 1);
        EXPECT_EQ(SYNC_LockSemaphore(hDone), GOT);
    }
    for (std::thread& oWaiter : oWaiters)
        oWaiter.join();
    EXPECT_EQ(Drain(hSemaphore), 0);
    EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));
    EXPECT_TRUE(SYNC_DestroySemaphore(hDone));
}

TEST(PlatformSyncNamed, NamesMayHoldAlmostAnything)
{
    const std::string sUnique = UniqueSyncName();
    const std::string aNames[] = {
        sUnique + "/../../etc/passwd",
        sUnique + "/",
        "./" + sUnique,
        ".." + sUnique,
        sUnique + "%2F",
        sUnique + " *?<>|:\"'`$(true)",
        sUnique + "\x01\x7F\xC3\xA4\xFF",
        sUnique + std::string(259 - sUnique.size(), 'x'),
        sUnique + std::string(259 - sUnique.size(), '/'),
        sUnique + std::string(258 - sUnique.size(), '/') + ".",
    };
    std::vector<void*> oHandles;
    for (const std::string& sName : aNames)
    {
        void* hFirst = SYNC_CreateEvent(false, false, sName.c_str());
        EXPECT_NE(hFirst, nullptr) << sName;
        void* hSecond = SYNC_CreateEvent(false, false, sName.c_str());
        EXPECT_NE(SYNC_SignalEvent(hFirst), 0) << sName;
        EXPECT_TRUE(SYNC_TimedWaitEvent(hSecond, 0)) << sName;
        oHandles.insert(oHandles.end(), {hFirst, hSecond});
    }
    for (void* hEvent : oHandles)
        EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0)) << "each name is an object of its own";
    for (void* hEvent : oHandles)
        EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
}

TEST(PlatformSyncNamed, CaseTellsNamesApart)
{
    const std::string sName = UniqueSyncName();
    void* hLower = SYNC_CreateEvent(false, false, (sName + "a").c_str());
    void* hUpper = SYNC_CreateEvent(false, false, (sName + "A").c_str());
    EXPECT_NE(SYNC_SignalEvent(hLower), 0);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hUpper, 0));
    EXPECT_TRUE(SYNC_DestroyEvent(hLower));
    EXPECT_TRUE(SYNC_DestroyEvent(hUpper));
}

TEST(PlatformSyncNamed, LocalIsTheUsualNameSpace)
{
    const std::string sName = UniqueSyncName();
    void* hPlain = SYNC_CreateSemaphore(0, 1, sName.c_str());
    void* hLocal = SYNC_CreateSemaphore(0, 1, ("Local\\" + sName).c_str());
    EXPECT_EQ(SYNC_UnlockSemaphore(hPlain, 1), 0);
    EXPECT_TRUE(SYNC_TryLockSemaphore(hLocal, 0));

    void* hGlobal = SYNC_CreateSemaphore(0, 1, ("Global\\" + sName).c_str());
    void* hGlobalAgain = SYNC_CreateSemaphore(0, 1, ("Global\\" + sName).c_str());
    EXPECT_EQ(SYNC_UnlockSemaphore(hGlobal, 1), 0);
    EXPECT_TRUE(SYNC_TryLockSemaphore(hGlobalAgain, 0));
    for (void* hObject : {hPlain, hLocal, hGlobal, hGlobalAgain})
        EXPECT_TRUE(SYNC_DestroySemaphore(hObject));
}

TEST(PlatformSyncNamed, ImpossibleNamesYieldNull)
{
    const std::string sName = UniqueSyncName();
    for (const std::string& sImpossible : {sName + "\\" + sName, std::string("Local\\"), "Local\\" + sName + "\\x",
                                           sName + std::string(260 - sName.size(), 'x'), std::string(5000, 'x')})
    {
        EXPECT_EQ(SYNC_CreateMutex(false, sImpossible.c_str()), nullptr) << sImpossible;
        EXPECT_EQ(SYNC_CreateEvent(false, false, sImpossible.c_str()), nullptr) << sImpossible;
        EXPECT_EQ(SYNC_CreateSemaphore(1, 1, sImpossible.c_str()), nullptr) << sImpossible;
    }
}

TEST(PlatformSyncNamed, EmptyNameIsNone)
{
    void* hFirst = SYNC_CreateEvent(false, false, "");
    void* hSecond = SYNC_CreateEvent(false, false, "");
    EXPECT_NE(SYNC_SignalEvent(hFirst), 0);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hSecond, 0));
    EXPECT_TRUE(SYNC_DestroyEvent(hFirst));
    EXPECT_TRUE(SYNC_DestroyEvent(hSecond));
}

TEST(PlatformSyncNamed, ChildSignalsTheParent)
{
    const std::string sName = UniqueSyncName();
    void* hEvent = SYNC_CreateEvent(false, false, sName.c_str());
    const auto pChild = StartSyncChild(eSyncRole::SignalEvent, sName);
    ASSERT_TRUE(pChild);
    EXPECT_TRUE(SYNC_TimedWaitEvent(hEvent, LONG_TIME));
    EXPECT_EQ(pChild->Wait().nExitCode, 0);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hEvent, 0));
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
}

TEST(PlatformSyncNamed, MutexKeepsProcessesApart)
{
    const std::string sName = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(true, sName.c_str());
    void* hCount = SYNC_CreateSemaphore(0, 1000, (sName + "-count").c_str());
    std::vector<std::unique_ptr<ChildProcess>> oChildren;
    for (int i = 0; i < 3; ++i)
    {
        oChildren.push_back(StartSyncChild(eSyncRole::CountUnderMutex, sName));
        ASSERT_TRUE(oChildren.back());
    }
    EXPECT_EQ(Drain(hCount), 0) << "the children wait";

    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    for (const auto& pChild : oChildren)
    {
        const ChildResult oResult = pChild->Wait();
        EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
    }
    EXPECT_EQ(Drain(hCount), 600);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
    EXPECT_TRUE(SYNC_DestroySemaphore(hCount));
}

TEST(PlatformSyncNamed, MutexOfAProcessThatEndedIsAbandoned)
{
    const std::string sName = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(false, sName.c_str());
    const auto pChild = StartSyncChild(eSyncRole::LockMutexAndLeave, sName);
    ASSERT_TRUE(pChild);
    EXPECT_EQ(SYNC_LockMutex(hMutex), ABANDONED);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_EQ(pChild->Wait().nExitCode, 0);
    EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}

TEST(PlatformSyncNamed, MutexOfAProcessThatCrashedIsAbandoned)
{
    const std::string sName = UniqueSyncName();
    void* hMutex = SYNC_CreateMutex(false, sName.c_str());
    const auto pChild = StartSyncChild(eSyncRole::LockMutexAndStay, sName);
    ASSERT_TRUE(pChild);
    EXPECT_FALSE(SYNC_TimedWaitEvent(hMutex, 100)) << "the child has it";

    void* hWaiting = SYNC_CreateEvent(false, false, nullptr);
    std::thread oWaiter(
        [&]
        {
            SYNC_SignalEvent(hWaiting);
            EXPECT_EQ(SYNC_LockMutex(hMutex), ABANDONED);
            EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
        });
    SYNC_WaitEvent(hWaiting);
    pChild->Kill();
    oWaiter.join();

    EXPECT_EQ(SYNC_LockMutex(hMutex), GOT);
    EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
    EXPECT_TRUE(SYNC_DestroyEvent(hWaiting));
}

TEST(PlatformSyncNamed, WaiterThatCrashedTakesNoSignal)
{
    const std::string sName = UniqueSyncName();
    void* hEvent = SYNC_CreateEvent(false, false, sName.c_str());
    const auto pKilled = StartSyncChild(eSyncRole::WaitForEvent, sName);
    ASSERT_TRUE(pKilled);
    pKilled->Kill();
    pKilled->Wait();

    EXPECT_NE(SYNC_SignalEvent(hEvent), 0);
    EXPECT_TRUE(SYNC_TimedWaitEvent(hEvent, 0)) << "the signal is still there";

    void* hCount = SYNC_CreateSemaphore(0, 1000, (sName + "-count").c_str());
    const auto pChild = StartSyncChild(eSyncRole::WaitForEvent, sName);
    ASSERT_TRUE(pChild);
    EXPECT_NE(SYNC_SignalEvent(hEvent), 0);
    EXPECT_TRUE(SYNC_TryLockSemaphore(hCount, LONG_TIME)) << "a living one gets it";
    EXPECT_EQ(pChild->Wait().nExitCode, 0);
    EXPECT_TRUE(SYNC_DestroyEvent(hEvent));
    EXPECT_TRUE(SYNC_DestroySemaphore(hCount));
}

TEST(PlatformSyncNamed, NameOfACrashedProcessIsFree)
{
    const std::string sName = UniqueSyncName();
    const auto pChild = StartSyncChild(eSyncRole::HoldSemaphore, sName);
    ASSERT_TRUE(pChild);
    EXPECT_EQ(SYNC_CreateMutex(false, sName.c_str()), nullptr) << "the child holds it";
    void* hSemaphore = SYNC_CreateSemaphore(3, 3, sName.c_str());
    EXPECT_EQ(Drain(hSemaphore), 1) << "the child's";
    EXPECT_TRUE(SYNC_DestroySemaphore(hSemaphore));

    pChild->Kill();
    pChild->Wait();
    void* hMutex = SYNC_CreateMutex(false, sName.c_str());
    EXPECT_NE(hMutex, nullptr);
    EXPECT_TRUE(SYNC_DestroyMutex(hMutex));
}
