#include <Common/Platform/System/SystemTime.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds LIMIT{20};

// What the callback of one event has seen; the event's user value is the index of its record.
struct sRecord
{
    std::mutex oMutex;
    std::condition_variable oCalled;
    std::vector<Clock::time_point> oTimes;
    std::vector<unsigned> oEvents;
    std::thread::id oThread;
    std::size_t nRemoveAt = 0; // the call at which the event removes itself; 0 for never
    bool bRemoved = false;

    void Clear()
    {
        const std::lock_guard oLock(oMutex);
        oTimes.clear();
        oEvents.clear();
        nRemoveAt = 0;
        bRemoved = false;
    }

    bool WaitForCalls(std::size_t nCalls)
    {
        std::unique_lock oLock(oMutex);
        return oCalled.wait_for(oLock, LIMIT, [this, nCalls] { return oTimes.size() >= nCalls; });
    }

    std::size_t CountCalls()
    {
        const std::lock_guard oLock(oMutex);
        return oTimes.size();
    }
};

sRecord g_aRecords[2];

void Record(unsigned nEvent, unsigned nSecond, unsigned long nUser, unsigned long nFourth, unsigned long nFifth)
{
    EXPECT_EQ(nSecond, 0U);
    EXPECT_EQ(nFourth, 0UL);
    EXPECT_EQ(nFifth, 0UL);

    sRecord& oRecord = g_aRecords[nUser];
    const std::lock_guard oLock(oRecord.oMutex);
    oRecord.oTimes.push_back(Clock::now());
    oRecord.oEvents.push_back(nEvent);
    oRecord.oThread = std::this_thread::get_id();
    if (oRecord.oTimes.size() == oRecord.nRemoveAt)
        oRecord.bRemoved = System::StopTimeEvent(nEvent);
    oRecord.oCalled.notify_all();
}

class SystemTimeEvents : public testing::Test
{
protected:
    void SetUp() override
    {
        for (sRecord& oRecord : g_aRecords)
            oRecord.Clear();
    }
};
} // namespace

TEST(SystemTime, PerformanceCounterRunsAtItsFrequency)
{
    const std::int64_t nFrequency = System::GetPerformanceFrequency();
    ASSERT_GE(nFrequency, 1000);

    const auto oStart = Clock::now();
    const std::int64_t nStart = System::ReadPerformanceCounter();
    EXPECT_GT(nStart, 0);
    std::int64_t nNow = nStart;
    while (Clock::now() - oStart < std::chrono::milliseconds(20))
    {
        const std::int64_t nNext = System::ReadPerformanceCounter();
        ASSERT_GE(nNext, nNow);
        nNow = nNext;
    }
    const double dSeconds =
        static_cast<double>(System::ReadPerformanceCounter() - nStart) / static_cast<double>(nFrequency);
    EXPECT_GE(dSeconds, 0.015);
    EXPECT_LT(dSeconds, 20.0);
}

TEST(SystemTime, MillisecondClocksRunAtMilliseconds)
{
    for (std::uint32_t (*pClock)() : {&System::ReadTickCount, &System::ReadMediaClock})
    {
        const std::uint32_t nStart = pClock();
        const auto oStart = Clock::now();
        while (Clock::now() - oStart < std::chrono::milliseconds(60))
        {
        }
        const std::uint32_t nPassed = pClock() - nStart;
        EXPECT_GE(nPassed, 30U); // the home's clock may advance in steps of 16
        EXPECT_LT(nPassed, 20000U);
    }
}

namespace
{
// The quotient that ToSeconds() is to give, bit for bit.
void ExpectQuotient(std::int64_t nSteps)
{
    static const volatile double s_dFrequency = static_cast<double>(System::GetPerformanceFrequency());
    const double dQuotient = static_cast<double>(nSteps) / s_dFrequency;
    ASSERT_EQ(System::ToSeconds(nSteps), dQuotient) << nSteps;
}

// The number that gives 1 when it is multiplied with a power of 2 and divided by 5^9: the odd part of a billion.
std::int64_t InvertPowerOfTwo(int nPower)
{
    constexpr std::int64_t ODD_PART = 1953125;
    std::int64_t nInverse = 1;
    for (int i = 0; i < nPower; ++i)
        nInverse = nInverse % 2 == 0 ? nInverse / 2 : (nInverse + ODD_PART) / 2;
    return nInverse;
}
} // namespace

TEST(SystemTime, SecondsAreTheQuotientToTheLastBit)
{
    constexpr std::int64_t MOST = std::numeric_limits<std::int64_t>::max();
    for (int nBit = 0; nBit < 63; ++nBit)
    {
        for (std::int64_t nOffset = -2; nOffset <= 2; ++nOffset)
        {
            ExpectQuotient((std::int64_t(1) << nBit) + nOffset);
            ExpectQuotient(-(std::int64_t(1) << nBit) + nOffset);
        }
    }
    for (const std::int64_t nSteps : {MOST, -MOST, -MOST - 1, std::int64_t(0)})
        ExpectQuotient(nSteps);
    for (std::int64_t nPower = 1; nPower <= MOST / 10; nPower *= 10)
        ExpectQuotient(nPower);

    std::mt19937_64 oRandom(11);
    for (int i = 0; i < 1000000; ++i)
    {
        const auto nSteps = static_cast<std::int64_t>(oRandom()) >> (oRandom() % 64);
        ExpectQuotient(nSteps);
    }
}

TEST(SystemTime, SecondsAreTheQuotientWhereThatLiesBetweenTwoDoubles)
{
    // The quotients of these numbers by a billion come as near to the middle between two doubles as any can.
    constexpr std::int64_t ODD_PART = 1953125;
    constexpr int POWER = 9;
    std::mt19937_64 oRandom(12);
    for (int nBits = 23; nBits <= 53; ++nBits)
    {
        for (const int nShift : {30, 31})
        {
            const std::int64_t nNearest = InvertPowerOfTwo(nShift + (53 - nBits) - POWER);
            for (int i = 0; i < 2000; ++i)
            {
                const std::int64_t nLeast = std::int64_t(1) << (nBits - 1);
                const auto nAny = nLeast + static_cast<std::int64_t>(oRandom() % static_cast<std::uint64_t>(nLeast));
                const std::int64_t nMultiple = nAny / ODD_PART * ODD_PART;
                ExpectQuotient(nMultiple + nNearest);
                ExpectQuotient(nMultiple - nNearest);
            }
        }
    }
}

TEST(SystemTime, SecondsSinceANumberAreThoseOfTheDifference)
{
    constexpr std::int64_t MOST = std::numeric_limits<std::int64_t>::max();
    const std::int64_t nNow = System::ReadPerformanceCounter();
    const auto Difference = [](std::int64_t nFirst, std::int64_t nSecond)
    { return static_cast<std::int64_t>(static_cast<std::uint64_t>(nFirst) - static_cast<std::uint64_t>(nSecond)); };

    for (const std::int64_t nOrigin : {std::int64_t(0), nNow, nNow + 5000000000, nNow - 1, MOST, -MOST, -MOST - 1})
    {
        const std::int64_t nBefore = System::ReadPerformanceCounter();
        const double dSeconds = System::ReadSecondsSince(nOrigin);
        const std::int64_t nAfter = System::ReadPerformanceCounter();
        EXPECT_LE(System::ToSeconds(Difference(nBefore, nOrigin)), dSeconds) << nOrigin;
        EXPECT_LE(dSeconds, System::ToSeconds(Difference(nAfter, nOrigin))) << nOrigin;
    }
}

TEST(SystemTime, CycleCounterAdvances)
{
    const std::uint64_t nStart = System::ReadCycleCounter();
    const auto oStart = Clock::now();
    while (Clock::now() - oStart < std::chrono::milliseconds(5))
    {
    }
    EXPECT_NE(System::ReadCycleCounter(), nStart);
}

TEST(SystemTime, CycleCounterThatIsCalledConstantKeepsItsRate)
{
    if (!System::IsCycleCounterConstant())
        GTEST_SKIP() << "the cycle counter of this machine has no constant rate";

    const auto MeasureRate = []
    {
        const auto oStart = Clock::now();
        const std::uint64_t nStart = System::ReadCycleCounter();
        while (Clock::now() - oStart < std::chrono::milliseconds(40))
        {
        }
        const auto nCycles = System::ReadCycleCounter() - nStart;
        return static_cast<double>(nCycles) / std::chrono::duration<double>(Clock::now() - oStart).count();
    };

    // A thread that loses the processor between its two readings measures wrong: it may try again.
    bool bEqual = false;
    for (int i = 0; i < 10 && !bEqual; ++i)
    {
        const double dRatio = MeasureRate() / MeasureRate();
        bEqual = dRatio > 0.98 && dRatio < 1.02;
    }
    EXPECT_TRUE(bEqual);
}

TEST(SystemTime, PeriodsThatNobodyCanGiveAreRefused)
{
    EXPECT_TRUE(System::BeginTimerPeriod(1));
    EXPECT_TRUE(System::EndTimerPeriod(1));
    EXPECT_FALSE(System::BeginTimerPeriod(0));
    EXPECT_FALSE(System::BeginTimerPeriod(static_cast<unsigned>(-1)));
}

TEST_F(SystemTimeEvents, DelaysThatNobodyCanGiveAreRefused)
{
    EXPECT_EQ(System::StartTimeEvent(static_cast<unsigned>(-1), 0, &Record, 0, true), 0U);
    EXPECT_EQ(System::StartTimeEvent(10, 0, nullptr, 0, true), 0U);
    EXPECT_EQ(g_aRecords[0].CountCalls(), 0U);
}

TEST_F(SystemTimeEvents, PeriodicEventCallsAgainAndAgainOnAThreadOfItsOwn)
{
    const unsigned nEvent = System::StartTimeEvent(2, 0, &Record, 0, true);
    ASSERT_NE(nEvent, 0U);
    EXPECT_TRUE(g_aRecords[0].WaitForCalls(10));
    EXPECT_TRUE(System::StopTimeEvent(nEvent));

    EXPECT_NE(g_aRecords[0].oThread, std::this_thread::get_id());
    EXPECT_EQ(std::count(g_aRecords[0].oEvents.begin(), g_aRecords[0].oEvents.end(), nEvent),
              static_cast<std::ptrdiff_t>(g_aRecords[0].oEvents.size()));
}

TEST_F(SystemTimeEvents, NoCallComesEarlierThanItsDeadline)
{
    constexpr std::chrono::milliseconds PERIOD{5};
    const auto oStart = Clock::now();
    const unsigned nEvent = System::StartTimeEvent(static_cast<unsigned>(PERIOD.count()), 0, &Record, 0, true);
    ASSERT_NE(nEvent, 0U);
    EXPECT_TRUE(g_aRecords[0].WaitForCalls(20));
    EXPECT_TRUE(System::StopTimeEvent(nEvent));

    // Deadlines are fixed: call n stands at n periods or later, and never the faster for calls that were late. The home
    // counts whole milliseconds, so that its start may lie one before.
    for (std::size_t i = 0; i < g_aRecords[0].oTimes.size(); ++i)
        EXPECT_GE(g_aRecords[0].oTimes[i] - oStart + std::chrono::milliseconds(2), PERIOD * (i + 1)) << i;
}

TEST_F(SystemTimeEvents, OneShotEventCallsOnce)
{
    const unsigned nOnce = System::StartTimeEvent(2, 0, &Record, 0, false);
    const unsigned nAgain = System::StartTimeEvent(2, 0, &Record, 1, true);
    ASSERT_NE(nOnce, 0U);
    ASSERT_NE(nAgain, 0U);
    EXPECT_NE(nOnce, nAgain);

    EXPECT_TRUE(g_aRecords[1].WaitForCalls(10));
    EXPECT_EQ(g_aRecords[0].CountCalls(), 1U);
    EXPECT_FALSE(System::StopTimeEvent(nOnce)) << "its call has come";
    EXPECT_TRUE(System::StopTimeEvent(nAgain));
}

TEST_F(SystemTimeEvents, EventMayRemoveItself)
{
    g_aRecords[0].nRemoveAt = 3;
    const unsigned nEvent = System::StartTimeEvent(2, 0, &Record, 0, true);
    const unsigned nClock = System::StartTimeEvent(2, 0, &Record, 1, true);
    ASSERT_NE(nEvent, 0U);
    ASSERT_NE(nClock, 0U);
    EXPECT_TRUE(g_aRecords[0].WaitForCalls(3));
    const std::size_t nSeen = g_aRecords[1].CountCalls();
    EXPECT_TRUE(g_aRecords[1].WaitForCalls(nSeen + 5));
    EXPECT_TRUE(System::StopTimeEvent(nClock));

    EXPECT_TRUE(g_aRecords[0].bRemoved);
    EXPECT_EQ(g_aRecords[0].CountCalls(), 3U);
    EXPECT_FALSE(System::StopTimeEvent(nEvent));
}

TEST_F(SystemTimeEvents, NoCallComesAfterRemoval)
{
    const unsigned nClock = System::StartTimeEvent(1, 0, &Record, 1, true);
    ASSERT_NE(nClock, 0U);
    for (int i = 0; i < 50; ++i)
    {
        const unsigned nEvent = System::StartTimeEvent(1, 0, &Record, 0, true);
        ASSERT_NE(nEvent, 0U);
        ASSERT_TRUE(g_aRecords[1].WaitForCalls(g_aRecords[1].CountCalls() + 2));
        ASSERT_TRUE(System::StopTimeEvent(nEvent));

        const std::size_t nCalls = g_aRecords[0].CountCalls();
        ASSERT_TRUE(g_aRecords[1].WaitForCalls(g_aRecords[1].CountCalls() + 2));
        ASSERT_EQ(g_aRecords[0].CountCalls(), nCalls);
    }
    EXPECT_TRUE(System::StopTimeEvent(nClock));
}

TEST_F(SystemTimeEvents, RemovalWaitsForTheCallThatRuns)
{
    static std::atomic<int> s_nState;
    s_nState = 0;
    const auto pCallback = [](unsigned, unsigned, unsigned long, unsigned long, unsigned long)
    {
        s_nState = 1;
        const auto oStart = Clock::now();
        while (Clock::now() - oStart < std::chrono::milliseconds(20))
            std::this_thread::yield();
        s_nState = 2;
    };

    for (const bool bPeriodic : {true, false})
    {
        s_nState = 0;
        const unsigned nEvent = System::StartTimeEvent(1, 0, pCallback, 0, bPeriodic);
        ASSERT_NE(nEvent, 0U);
        const auto oStart = Clock::now();
        while (s_nState != 1 && Clock::now() - oStart < LIMIT)
            std::this_thread::yield();
        System::StopTimeEvent(nEvent);
        EXPECT_EQ(s_nState, 2) << (bPeriodic ? "periodic" : "one-shot");
    }
}

TEST_F(SystemTimeEvents, MissedPeriodsAreNotMadeUpFor)
{
    static std::atomic<int> s_nCalls;
    static std::vector<Clock::time_point> s_oTimes;
    s_nCalls = 0;
    s_oTimes.clear();
    const auto pCallback = [](unsigned, unsigned, unsigned long, unsigned long, unsigned long)
    {
        s_oTimes.push_back(Clock::now());
        if (++s_nCalls == 1)
        {
            const auto oStart = Clock::now();
            while (Clock::now() - oStart < std::chrono::milliseconds(100))
                std::this_thread::yield();
        }
    };

    const auto oStart = Clock::now();
    const unsigned nEvent = System::StartTimeEvent(10, 0, pCallback, 0, true);
    ASSERT_NE(nEvent, 0U);
    while (s_nCalls < 4 && Clock::now() - oStart < LIMIT)
        std::this_thread::yield();
    EXPECT_TRUE(System::StopTimeEvent(nEvent));

    // Ten periods fell into the first call. The fourth call comes two periods after the second, not at once; the second
    // itself may come late, up to a period.
    ASSERT_GE(s_oTimes.size(), 4U);
    EXPECT_GT(s_oTimes[3] - s_oTimes[1], std::chrono::milliseconds(5));
}

TEST_F(SystemTimeEvents, RemovalOfNothingIsFalse)
{
    EXPECT_FALSE(System::StopTimeEvent(0));
    EXPECT_FALSE(System::StopTimeEvent(0x7FFFFFFF));
}
