#include <Common/ProcessControl/VQSemaphore.h>

#include <Common/Platform/PlatformHooks.h>

#include <tests/support/SyncChild.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

TEST(VQSemaphore, IsAPointerToItsOperationsAndTwoWords)
{
    EXPECT_EQ(sizeof(CVQSemaphore), sizeof(void*) + 8);
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQSemaphore>);
}

TEST(VQSemaphore, DefaultIsOneFreeUnit)
{
    const CVQSemaphore oSemaphore;
    EXPECT_TRUE(oSemaphore.TryLock(0));
    EXPECT_FALSE(oSemaphore.TryLock(0));
    EXPECT_EQ(oSemaphore.Unlock(1), 0);
    EXPECT_EQ(oSemaphore.Unlock(1), 0) << "1 is the maximum";
    oSemaphore.Lock();
    EXPECT_FALSE(oSemaphore.TryLock(2));
}

TEST(VQSemaphore, UnlockTellsTheUnitsBefore)
{
    const CVQSemaphore oSemaphore(0, 2);
    EXPECT_EQ(oSemaphore.Unlock(1), 0);
    EXPECT_EQ(oSemaphore.Unlock(1), 1);
    EXPECT_EQ(oSemaphore.Unlock(1), 0) << "the count would pass the maximum";
    EXPECT_TRUE(oSemaphore.TryLock(0));
    EXPECT_TRUE(oSemaphore.TryLock(0));
    EXPECT_FALSE(oSemaphore.TryLock(0));
}

TEST(VQSemaphore, CountsThatFitNoSemaphoreFail)
{
    std::vector<long> oCounts = {0, -1, LONG_MIN};
    if (sizeof(long) > 4)
        oCounts.push_back(static_cast<long>(0xFFFFFFFF) + 2); // 1 in the lower half
    for (const long nCount : oCounts)
    {
        const CVQSemaphore oSemaphore(1, 5);
        EXPECT_EQ(oSemaphore.Unlock(nCount), 0) << nCount;
        EXPECT_TRUE(oSemaphore.TryLock(0));
        EXPECT_FALSE(oSemaphore.TryLock(0)) << "nothing was added";

        const CVQSemaphore oFailed(0, nCount);
        EXPECT_TRUE(oFailed.TryLock(0)) << "a wait that fails is no time-out";
        EXPECT_TRUE(oFailed.TryLock(0));
        EXPECT_EQ(oFailed.Unlock(1), 0);
        oFailed.Lock();
    }
}

TEST(VQSemaphore, ReservedWordComesFirstAndIsCopied)
{
    CVQSemaphore oSemaphore(0, 1);
    std::uint32_t aWords[2] = {};
    unsigned char* const pWords = reinterpret_cast<unsigned char*>(&oSemaphore) + sizeof(void*);
    std::memcpy(aWords, pWords, sizeof aWords);
    EXPECT_EQ(SYNC_UnlockSemaphore(reinterpret_cast<void*>(static_cast<std::uintptr_t>(aWords[1])), 1), 0);
    EXPECT_TRUE(oSemaphore.TryLock(0)) << "the second word is the handle";

    aWords[0] = 0x12345678;
    std::memcpy(pWords, aWords, sizeof aWords);
    const CVQSemaphore oCopy(oSemaphore);
    EXPECT_EQ(std::memcmp(reinterpret_cast<const unsigned char*>(&oCopy) + sizeof(void*), aWords, sizeof aWords), 0);
}

TEST(VQSemaphore, FailedCreationIsNotReported)
{
    static std::string s_sOutput;
    s_sOutput.clear();
    HOOK_SetDebuggerOutput([](const char* pText) { s_sOutput += pText; });
    const CVQSemaphore oFailed(2, 1);
    HOOK_SetDebuggerOutput(nullptr);
    EXPECT_EQ(oFailed.Unlock(1), 0);
    EXPECT_EQ(s_sOutput, "");
}

TEST(VQSemaphore, NegativeTimeOutHasNoLimit)
{
    const CVQSemaphore oSemaphore(0, 1);
    std::atomic<bool> bResult = false;
    std::thread oWaiter([&] { bResult = oSemaphore.TryLock(-7); });
    EXPECT_EQ(oSemaphore.Unlock(1), 0);
    oWaiter.join();
    EXPECT_TRUE(bResult);
}

TEST(VQSemaphore, NameIsShared)
{
    const std::string sName = UniqueSyncName();
    const CVQSemaphore oFirst(1, 2, sName.c_str());
    const CVQSemaphore oSecond(0, 9, sName.c_str());
    EXPECT_EQ(oSecond.Unlock(1), 1);
    EXPECT_EQ(oSecond.Unlock(1), 0);
    EXPECT_TRUE(oFirst.TryLock(0));
    EXPECT_TRUE(oSecond.TryLock(0));
    EXPECT_FALSE(oFirst.TryLock(0));
}

TEST(VQSemaphore, CopySharesTheHandleAndItsEnd)
{
    CVQSemaphore oSemaphore(1, 1);
    {
        const CVQSemaphore oCopy(oSemaphore);
        EXPECT_TRUE(oCopy.TryLock(0));
        EXPECT_FALSE(oSemaphore.TryLock(0));
    }
    EXPECT_TRUE(oSemaphore.TryLock(0)) << "closed by the copy's end";

    const CVQSemaphore oOther(0, 1);
    oSemaphore = oOther;
    EXPECT_FALSE(oSemaphore.TryLock(0));
}

TEST(VQSemaphore, UnitsAreNeitherLostNorMade)
{
    constexpr int THREADS = 6;
    constexpr int ROUNDS = 2000;
    constexpr int UNITS = 2;

    const CVQSemaphore oSemaphore(UNITS, UNITS);
    std::atomic<int> nInside = 0;
    std::atomic<int> nMost = 0;
    std::vector<std::thread> oThreads;
    for (int i = 0; i < THREADS; ++i)
    {
        oThreads.emplace_back(
            [&, i]
            {
                for (int nRound = 0; nRound < ROUNDS; ++nRound)
                {
                    if (i % 2 == 0)
                        oSemaphore.Lock();
                    else if (!oSemaphore.TryLock(nRound % 3)) // waits that time out come in between
                        continue;
                    const int nNow = ++nInside;
                    for (int nSeen = nMost; nNow > nSeen && !nMost.compare_exchange_weak(nSeen, nNow);)
                    {
                    }
                    --nInside;
                    oSemaphore.Unlock(1);
                }
            });
    }
    for (std::thread& oThread : oThreads)
        oThread.join();
    EXPECT_LE(nMost, UNITS);
    EXPECT_TRUE(oSemaphore.TryLock(0));
    EXPECT_TRUE(oSemaphore.TryLock(0));
    EXPECT_FALSE(oSemaphore.TryLock(0));
}
