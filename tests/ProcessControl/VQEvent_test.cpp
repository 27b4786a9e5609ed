#include <Common/ProcessControl/VQEvent.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>
#include <type_traits>
#include <vector>

TEST(VQEvent, IsAPointerToItsOperationsAndAHandle)
{
    EXPECT_EQ(sizeof(CVQEvent), 2 * sizeof(void*));
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQEvent>);
}

TEST(VQEvent, BeginsUnsignalled)
{
    CVQEvent oEvent;
    EXPECT_FALSE(oEvent.TimedWait(0));
    EXPECT_FALSE(oEvent.TimedWait(2));
}

TEST(VQEvent, ResetsItselfWithEachWait)
{
    CVQEvent oEvent;
    oEvent.Signal();
    oEvent.Signal();
    EXPECT_TRUE(oEvent.TimedWait(0));
    EXPECT_FALSE(oEvent.TimedWait(0));
    oEvent.Signal();
    oEvent.Wait();
    EXPECT_FALSE(oEvent.TimedWait(0));
}

TEST(VQEvent, ResetTakesTheSignalBack)
{
    CVQEvent oEvent;
    oEvent.Reset();
    oEvent.Signal();
    oEvent.Reset();
    EXPECT_FALSE(oEvent.TimedWait(0));
}

TEST(VQEvent, NegativeAndHugeTimeOutsHaveNoLimit)
{
    std::vector<long> oTimeOuts = {-1, -5, LONG_MIN, LONG_MAX};
    if (sizeof(long) > 4)
    {
        oTimeOuts.push_back(static_cast<long>(0xFFFFFFFF));
        oTimeOuts.push_back(static_cast<long>(0xFFFFFFFF) + 1);
        oTimeOuts.push_back(static_cast<long>(0xFFFFFFFF) * 256 + 255);
    }
    for (const long nTimeOut : oTimeOuts)
    {
        CVQEvent oEvent;
        CVQEvent oBegun;
        CVQEvent oNever;
        std::atomic<bool> bResult = false;
        std::thread oWaiter(
            [&]
            {
                oBegun.Signal();
                bResult = oEvent.TimedWait(nTimeOut);
            });
        oBegun.Wait();
        EXPECT_FALSE(oNever.TimedWait(5)); // long enough for a wait that has a limit of next to nothing to end
        oEvent.Signal();
        oWaiter.join();
        EXPECT_TRUE(bResult) << nTimeOut;
    }
}

TEST(VQEvent, CopySharesTheHandleAndItsEnd)
{
    CVQEvent oEvent;
    {
        CVQEvent oCopy(oEvent);
        oCopy.Signal();
        EXPECT_TRUE(oEvent.TimedWait(0));
        EXPECT_FALSE(oCopy.TimedWait(0));
    }
    EXPECT_TRUE(oEvent.TimedWait(0)) << "a wait on a closed handle fails, which is no time-out";
    oEvent.Wait();
    oEvent.Signal();
    oEvent.Reset();

    CVQEvent oOther;
    oEvent = oOther;
    oOther.Signal();
    EXPECT_TRUE(oEvent.TimedWait(0));
}

TEST(VQEvent, HandsEachSignalToOneWaiter)
{
    constexpr int WAITERS = 4;
    constexpr int ROUNDS = 500;

    CVQEvent oEvent;
    CVQEvent oPassed;
    std::atomic<int> nPassed = 0;
    std::vector<std::thread> oWaiters;
    for (int i = 0; i < WAITERS; ++i)
    {
        oWaiters.emplace_back(
            [&]
            {
                for (int nRound = 0; nRound < ROUNDS; ++nRound)
                {
                    oEvent.Wait();
                    ++nPassed;
                    oPassed.Signal();
                }
            });
    }
    for (int i = 0; i < WAITERS * ROUNDS; ++i)
    {
        oEvent.Signal();
        oPassed.Wait();
        EXPECT_EQ(nPassed, i + 1);
    }
    for (std::thread& oWaiter : oWaiters)
        oWaiter.join();
}

TEST(VQEvent, CarriesWhatWasWrittenBeforeTheSignal)
{
    constexpr int ROUNDS = 2000;

    CVQEvent oPing;
    CVQEvent oPong;
    int nValue = 0; // passed to and fro by the events alone
    std::thread oOther(
        [&]
        {
            for (int i = 0; i < ROUNDS; ++i)
            {
                oPing.Wait();
                ++nValue;
                oPong.Signal();
            }
        });
    for (int i = 0; i < ROUNDS; ++i)
    {
        ++nValue;
        oPing.Signal();
        oPong.Wait();
        ASSERT_EQ(nValue, 2 * (i + 1));
    }
    oOther.join();
}
