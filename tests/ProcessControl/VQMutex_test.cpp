#include <Common/ProcessControl/VQMutex.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{
bool IsLockedForOthers(const CVQMutex& oMutex)
{
    bool bLocked = false;
    std::thread(
        [&]
        {
            bLocked = oMutex.IsLocked();
            if (!bLocked)
                oMutex.Unlock();
        })
        .join();
    return bLocked;
}
} // namespace

TEST(VQMutex, IsAPointerToItsOperationsAndTwoWords)
{
    EXPECT_EQ(sizeof(CVQMutex), sizeof(void*) + 8);
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQMutex>);
}

TEST(VQMutex, BeginsFree)
{
    const CVQMutex oMutex;
    EXPECT_NE(oMutex.GetHandle(), 0u);
    EXPECT_LE(oMutex.GetHandle(), 0x7FFFFFFFu);
    EXPECT_FALSE(IsLockedForOthers(oMutex));
}

TEST(VQMutex, IsUnlockedAsOftenAsLocked)
{
    const CVQMutex oMutex;
    oMutex.Lock();
    oMutex.Lock();
    oMutex.Unlock();
    EXPECT_TRUE(IsLockedForOthers(oMutex));
    oMutex.Unlock();
    EXPECT_FALSE(IsLockedForOthers(oMutex));
}

TEST(VQMutex, AskingWhetherItIsLockedTakesAFreeOne)
{
    const CVQMutex oMutex;
    EXPECT_FALSE(oMutex.IsLocked());
    EXPECT_TRUE(IsLockedForOthers(oMutex));
    EXPECT_FALSE(oMutex.IsLocked()) << "the thread's own is not locked for it";
    oMutex.Unlock();
    EXPECT_TRUE(IsLockedForOthers(oMutex)) << "it was taken twice";
    oMutex.Unlock();
    EXPECT_FALSE(IsLockedForOthers(oMutex));
}

TEST(VQMutex, UnlockByAnotherThreadDoesNothing)
{
    const CVQMutex oMutex;
    oMutex.Lock();
    std::thread([&] { oMutex.Unlock(); }).join();
    EXPECT_TRUE(IsLockedForOthers(oMutex));
    oMutex.Unlock();
}

TEST(VQMutex, OwnerThatEndedLeavesItToTheNext)
{
    const CVQMutex oMutex;
    std::thread([&] { oMutex.Lock(); }).join();
    EXPECT_TRUE(oMutex.IsLocked()) << "abandoned counts as locked, and is taken all the same";
    EXPECT_TRUE(IsLockedForOthers(oMutex));
    oMutex.Unlock();
    EXPECT_FALSE(IsLockedForOthers(oMutex));
}

TEST(VQMutex, CopySharesTheHandleAndItsEnd)
{
    CVQMutex oMutex;
    {
        const CVQMutex oCopy(oMutex);
        EXPECT_EQ(oCopy.GetHandle(), oMutex.GetHandle());
        oCopy.Lock();
        EXPECT_TRUE(IsLockedForOthers(oMutex));
        oMutex.Unlock();
    }
    EXPECT_TRUE(oMutex.IsLocked()) << "closed by the copy's end: every wait fails";
    oMutex.Lock();

    const CVQMutex oOther;
    oMutex = oOther;
    EXPECT_EQ(oMutex.GetHandle(), oOther.GetHandle());
}

TEST(VQMutex, HandleComesFirstAndTheReservedWordIsCopied)
{
    CVQMutex oMutex;
    std::uint32_t aWords[2] = {};
    unsigned char* const pWords = reinterpret_cast<unsigned char*>(&oMutex) + sizeof(void*);
    std::memcpy(aWords, pWords, sizeof aWords);
    EXPECT_EQ(aWords[0], oMutex.GetHandle());

    aWords[1] = 0x12345678;
    std::memcpy(pWords, aWords, sizeof aWords);
    const CVQMutex oCopy(oMutex);
    CVQMutex oAssigned;
    SYNC_DestroyMutex(reinterpret_cast<void*>(static_cast<std::uintptr_t>(oAssigned.GetHandle())));
    oAssigned = oMutex;
    for (const CVQMutex* pCopy : {&oCopy, const_cast<const CVQMutex*>(&oAssigned)})
        EXPECT_EQ(std::memcmp(reinterpret_cast<const unsigned char*>(pCopy) + sizeof(void*), aWords, sizeof aWords), 0);
}

TEST(VQMutex, LetsOneThreadInAtATime)
{
    constexpr int THREADS = 6;
    constexpr int ROUNDS = 3000;

    const CVQMutex oMutex;
    int nCount = 0; // guarded by the mutex alone
    std::vector<std::thread> oThreads;
    for (int i = 0; i < THREADS; ++i)
    {
        oThreads.emplace_back(
            [&]
            {
                for (int nRound = 0; nRound < ROUNDS; ++nRound)
                {
                    oMutex.Lock();
                    oMutex.Lock();
                    ++nCount;
                    oMutex.Unlock();
                    oMutex.Unlock();
                }
            });
    }
    for (std::thread& oThread : oThreads)
        oThread.join();
    EXPECT_EQ(nCount, THREADS * ROUNDS);
}
