#include <tests/support/SyncChild.h>

#include <Common/Platform/PlatformSync.h>

#include <tests/support/TestEnvironment.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace
{
constexpr auto ROLE_VARIABLE = "COMMON_TEST_SYNC_ROLE";
constexpr auto NAME_VARIABLE = "COMMON_TEST_SYNC_NAME";
constexpr unsigned LIMIT = 30'000;

void* MakeReadyEvent(const std::string& sName)
{
    return SYNC_CreateEvent(true, false, (sName + "-ready").c_str());
}

// Never signalled: whoever waits for it waits to be ended.
void Stay()
{
    SYNC_TimedWaitEvent(SYNC_CreateEvent(true, false, nullptr), LIMIT);
}

void Play(eSyncRole nRole, const std::string& sName, void* hReady)
{
    const std::string sCount = sName + "-count";
    switch (nRole)
    {
    case eSyncRole::SignalEvent:
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        EXPECT_NE(SYNC_SignalEvent(SYNC_CreateEvent(false, false, sName.c_str())), 0);
        return;

    case eSyncRole::LockMutexAndStay:
        EXPECT_EQ(SYNC_LockMutex(SYNC_CreateMutex(false, sName.c_str())), 0u);
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        Stay();
        return;

    case eSyncRole::LockMutexAndLeave:
        EXPECT_EQ(SYNC_LockMutex(SYNC_CreateMutex(false, sName.c_str())), 0u);
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        return;

    case eSyncRole::CountUnderMutex:
    {
        void* hMutex = SYNC_CreateMutex(false, sName.c_str());
        void* hCount = SYNC_CreateSemaphore(0, 1000, sCount.c_str());
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        for (int i = 0; i < 200; ++i)
        {
            EXPECT_EQ(SYNC_LockMutex(hMutex), 0u);
            const int nBefore = SYNC_UnlockSemaphore(hCount, 1);
            EXPECT_TRUE(SYNC_TryLockSemaphore(hCount, 0)); // nobody else changes it meanwhile
            EXPECT_EQ(SYNC_UnlockSemaphore(hCount, 1), nBefore);
            EXPECT_NE(SYNC_UnlockMutex(hMutex), 0);
        }
        return;
    }

    case eSyncRole::WaitForEvent:
    {
        void* hEvent = SYNC_CreateEvent(false, false, sName.c_str());
        void* hCount = SYNC_CreateSemaphore(0, 1000, sCount.c_str());
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        EXPECT_TRUE(SYNC_TimedWaitEvent(hEvent, LIMIT));
        SYNC_UnlockSemaphore(hCount, 1);
        return;
    }

    case eSyncRole::WaitForAbandoned:
    {
        void* hMutex = SYNC_CreateMutex(false, sName.c_str());
        void* hCount = SYNC_CreateSemaphore(0, 1000, sCount.c_str());
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        EXPECT_EQ(SYNC_LockMutex(hMutex), 0x80u);
        SYNC_UnlockSemaphore(hCount, 1);
        return;
    }

    case eSyncRole::HoldMutex:
        EXPECT_NE(SYNC_CreateMutex(false, sName.c_str()), nullptr);
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        Stay();
        return;

    case eSyncRole::HoldSemaphore:
        EXPECT_NE(SYNC_CreateSemaphore(1, 3, sName.c_str()), nullptr);
        EXPECT_NE(SYNC_SignalEvent(hReady), 0);
        Stay();
        return;
    }
    FAIL() << "no such role";
}
} // namespace

// Runs in the children only.
TEST(SyncChild, DISABLED_PlaysItsRole)
{
    const char* pRole = std::getenv(ROLE_VARIABLE);
    const char* pName = std::getenv(NAME_VARIABLE);
    ASSERT_TRUE(pRole != nullptr && pName != nullptr);
    Play(static_cast<eSyncRole>(std::atoi(pRole)), pName, MakeReadyEvent(pName));
}

std::string UniqueSyncName()
{
    std::random_device oRandom;
    return "CommonTests-" + std::to_string(oRandom()) + "-" + std::to_string(oRandom());
}

std::unique_ptr<ChildProcess> StartSyncChild(eSyncRole nRole, const std::string& sName)
{
    const CTestEnvironment oRole(ROLE_VARIABLE, std::to_string(static_cast<int>(nRole)).c_str());
    const CTestEnvironment oName(NAME_VARIABLE, sName.c_str());
    void* hReady = MakeReadyEvent(sName);
    EXPECT_NE(SYNC_ResetEvent(hReady), 0);

    auto pChild = std::make_unique<ChildProcess>(
        std::vector<std::string>{ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
                                 "--gtest_filter=SyncChild.DISABLED_PlaysItsRole"});
    const bool bBegun = SYNC_TimedWaitEvent(hReady, LIMIT);
    EXPECT_TRUE(SYNC_DestroyEvent(hReady));
    if (!bBegun)
        pChild.reset();
    return pChild;
}
