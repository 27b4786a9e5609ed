#include <Common/Profile/Timer.h>
#include <Common/Profile/VQTimer.h>

#include <Common/Platform/System/SystemTime.h>
#include <tests/support/PrivateMember.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

// The two clocks of a timer: a machine without a performance counter is not to be had.
struct sUseHighResolutionTimer
{
    using Type = void (CVQTimer::*)(bool);
    friend Type GetPrivate(sUseHighResolutionTimer);
};
template struct RevealPrivate<sUseHighResolutionTimer, &CVQTimer::UseHighResolutionTimer>;

struct sIsHighResolutionTimerActive
{
    using Type = bool (CVQTimer::*)() const;
    friend Type GetPrivate(sIsHighResolutionTimerActive);
};
template struct RevealPrivate<sIsHighResolutionTimerActive, &CVQTimer::IsHighResolutionTimerActive>;

struct sIsHighResolutionTimerAvailable
{
    using Type = bool (CVQTimer::*)() const;
    friend Type GetPrivate(sIsHighResolutionTimerAvailable);
};
template struct RevealPrivate<sIsHighResolutionTimerAvailable, &CVQTimer::IsHighResolutionTimerAvailable>;

struct sGetHardwareTime
{
    using Type = long long (CVQTimer::*)() const;
    friend Type GetPrivate(sGetHardwareTime);
};
template struct RevealPrivate<sGetHardwareTime, &CVQTimer::GetHardwareTime>;

struct sGetHardwareTimerFrequency
{
    using Type = long long (CVQTimer::*)() const;
    friend Type GetPrivate(sGetHardwareTimerFrequency);
};
template struct RevealPrivate<sGetHardwareTimerFrequency, &CVQTimer::GetHardwareTimerFrequency>;

namespace
{
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds LIMIT{20};

// How far two clocks may disagree where no other thing is to be shown; a busy machine stops a thread for long.
constexpr double SLACK = 5.0;

void UseHighResolution(CVQTimer& oTimer, bool bUse)
{
    (oTimer.*GetPrivate(sUseHighResolutionTimer()))(bUse);
}

long long HardwareTime(const CVQTimer& oTimer)
{
    return (oTimer.*GetPrivate(sGetHardwareTime()))();
}

long long HardwareFrequency(const CVQTimer& oTimer)
{
    return (oTimer.*GetPrivate(sGetHardwareTimerFrequency()))();
}

void SpinFor(std::chrono::milliseconds oTime)
{
    const auto oStart = Clock::now();
    while (Clock::now() - oStart < oTime)
    {
    }
}

// Lets the hardware clock of the timer take at least one step.
void SpinForATick(const CVQTimer& oTimer)
{
    const long long nStart = HardwareTime(oTimer);
    const auto oStart = Clock::now();
    while (HardwareTime(oTimer) == nStart && Clock::now() - oStart < LIMIT)
    {
    }
    ASSERT_NE(HardwareTime(oTimer), nStart);
}

// A timer whose channel 0 is defined and running.
class VQTimer : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        UseHighResolution(m_oTimer, GetParam());
        ASSERT_TRUE(m_oTimer.DefineChannel(0, "game"));
        m_oTimer.Start(0);
    }

    CVQTimer m_oTimer;
};
} // namespace

TEST(VQTimerChannels, AreFourAndUndefinedAtFirst)
{
    const CVQTimer oTimer;
    EXPECT_EQ(oTimer.GetNumChannels(), 4);
    for (int nChannel = 0; nChannel < 4; ++nChannel)
    {
        EXPECT_FALSE(oTimer.IsDefined(nChannel));
        EXPECT_FALSE(oTimer.IsRunning(nChannel));
        EXPECT_FALSE(oTimer.IsPaused(nChannel));
        EXPECT_FALSE(oTimer.IsDefinedAndRunning(nChannel));
        EXPECT_FALSE(oTimer.IsFrameTimeEnabled(nChannel));
        EXPECT_EQ(oTimer.GetTime(nChannel), 0.0);
        EXPECT_EQ(oTimer.GetTimeInMs(nChannel), 0UL);
        EXPECT_EQ(oTimer.GetFrameTime(nChannel), 0.0);
        EXPECT_EQ(oTimer.GetFPS(nChannel), 0.0);
        EXPECT_STREQ(oTimer.GetChannelName(nChannel), nullptr);
    }
}

TEST(VQTimerChannels, AreDefinedOnceWithinTheirRange)
{
    CVQTimer oTimer;

    struct
    {
        int nChannel;
        const char* pName;
        bool bDefined;
    } const aCases[] = {{-1, "a", false}, {4, "a", false}, {0, "first", true},       {3, "last", true},
                        {0, "b", false},  {3, "c", false}, {2147483647, "a", false}, {1, nullptr, true}};

    for (const auto& [nChannel, pName, bDefined] : aCases)
        EXPECT_EQ(oTimer.DefineChannel(nChannel, pName), bDefined) << nChannel;

    EXPECT_STREQ(oTimer.GetChannelName(0), "first");
    EXPECT_STREQ(oTimer.GetChannelName(3), "last");
    EXPECT_TRUE(oTimer.IsDefined(0));
    EXPECT_TRUE(oTimer.IsDefined(1));
    EXPECT_FALSE(oTimer.IsDefined(2));
    EXPECT_FALSE(oTimer.IsRunning(0));
    EXPECT_FALSE(oTimer.IsDefinedAndRunning(0));
}

TEST(VQTimerChannels, KeepAllButTheNameWhenUndefined)
{
    CVQTimer oTimer;
    EXPECT_FALSE(oTimer.UndefineChannel(-1));
    EXPECT_FALSE(oTimer.UndefineChannel(4));
    EXPECT_TRUE(oTimer.UndefineChannel(2)) << "undefined";

    ASSERT_TRUE(oTimer.DefineChannel(2, "name"));
    oTimer.Start(2);
    oTimer.Pause(2);
    oTimer.EnableFrameTime(2);
    EXPECT_TRUE(oTimer.UndefineChannel(2));
    EXPECT_FALSE(oTimer.IsDefined(2));
    EXPECT_STREQ(oTimer.GetChannelName(2), "");
    EXPECT_TRUE(oTimer.IsRunning(2));
    EXPECT_TRUE(oTimer.IsPaused(2));
    EXPECT_TRUE(oTimer.IsFrameTimeEnabled(2));
    EXPECT_FALSE(oTimer.IsDefinedAndRunning(2));
    EXPECT_EQ(oTimer.GetTime(2), 0.0);
    EXPECT_TRUE(oTimer.UndefineChannel(2));
}

TEST(VQTimerChannels, AreAsNewWhenDefinedAgainExceptForTheFrameRate)
{
    CVQTimer oTimer;
    ASSERT_TRUE(oTimer.DefineChannel(1, "old"));
    oTimer.Start(1);
    oTimer.SetTime(1, 0.5);
    oTimer.Update(1); // half a second after time 0, so some two frames a second
    const double dFramesPerSecond = oTimer.GetFPS(1);
    EXPECT_GT(dFramesPerSecond, 0.0);
    EXPECT_LE(dFramesPerSecond, 2.0);
    oTimer.Pause(1);
    oTimer.EnableFrameTime(1);

    ASSERT_TRUE(oTimer.UndefineChannel(1));
    ASSERT_TRUE(oTimer.DefineChannel(1, "new"));
    EXPECT_STREQ(oTimer.GetChannelName(1), "new");
    EXPECT_FALSE(oTimer.IsRunning(1));
    EXPECT_FALSE(oTimer.IsPaused(1));
    EXPECT_FALSE(oTimer.IsFrameTimeEnabled(1));
    EXPECT_EQ(oTimer.GetFrameTime(1), 0.0);
    EXPECT_EQ(oTimer.GetFPS(1), dFramesPerSecond);
}

TEST(VQTimerChannels, AreFoundByNameInAnyCase)
{
    CVQTimer oTimer;
    EXPECT_EQ(oTimer.GetChannelByName("Menu"), -1);
    ASSERT_TRUE(oTimer.DefineChannel(3, "Menu"));
    ASSERT_TRUE(oTimer.DefineChannel(1, "Game"));
    EXPECT_EQ(oTimer.GetChannelByName("mENU"), 3);
    EXPECT_EQ(oTimer.GetChannelByName("Game"), 1);
    EXPECT_EQ(oTimer.GetChannelByName("Gam"), -1);
    EXPECT_EQ(oTimer.GetChannelByName(""), -1);

    ASSERT_TRUE(oTimer.DefineChannel(2, "MENU"));
    EXPECT_EQ(oTimer.GetChannelByName("menu"), 2) << "the lowest number";
    ASSERT_TRUE(oTimer.UndefineChannel(2));
    EXPECT_EQ(oTimer.GetChannelByName("menu"), 3);
    ASSERT_TRUE(oTimer.UndefineChannel(3));
    EXPECT_EQ(oTimer.GetChannelByName("menu"), -1);

    ASSERT_TRUE(oTimer.DefineChannel(0, nullptr));
    EXPECT_EQ(oTimer.GetChannelByName(nullptr), 0);
    EXPECT_EQ(oTimer.GetChannelByName(""), 0);
}

TEST(VQTimerClocks, AreThePerformanceCounterOrMilliseconds)
{
    CVQTimer oTimer;
    EXPECT_TRUE((oTimer.*GetPrivate(sIsHighResolutionTimerAvailable()))());
    EXPECT_TRUE((oTimer.*GetPrivate(sIsHighResolutionTimerActive()))());
    EXPECT_EQ(HardwareFrequency(oTimer), System::GetPerformanceFrequency());
    const std::int64_t nBefore = System::ReadPerformanceCounter();
    const long long nTime = HardwareTime(oTimer);
    EXPECT_LE(nBefore, nTime);
    EXPECT_LE(nTime, System::ReadPerformanceCounter());

    UseHighResolution(oTimer, false);
    EXPECT_FALSE((oTimer.*GetPrivate(sIsHighResolutionTimerActive()))());
    EXPECT_EQ(HardwareFrequency(oTimer), 1000);
    EXPECT_GE(HardwareTime(oTimer), 0);
    EXPECT_LE(HardwareTime(oTimer), 0xFFFFFFFFLL);
}

TEST(VQTimerClocks, WithoutPerformanceCounterAdvanceInWholeMilliseconds)
{
    CVQTimer oTimer;
    UseHighResolution(oTimer, false);
    ASSERT_TRUE(oTimer.DefineChannel(0, "game"));
    oTimer.Start(0);

    const auto oStart = Clock::now();
    double dLast = oTimer.GetTime(0);
    int nSteps = 0;
    while (nSteps < 5 && Clock::now() - oStart < LIMIT)
    {
        const double dNow = oTimer.GetTime(0);
        ASSERT_EQ(dNow * 1000.0, std::round(dNow * 1000.0));
        ASSERT_GE(dNow, dLast);
        nSteps += dNow != dLast ? 1 : 0;
        dLast = dNow;
    }
    EXPECT_EQ(nSteps, 5);
}

TEST_P(VQTimer, RunsWithTheClock)
{
    const auto oStart = Clock::now();
    m_oTimer.Start(0);
    SpinFor(std::chrono::milliseconds(60));
    const double dTime = m_oTimer.GetTime(0);
    const double dClock = std::chrono::duration<double>(Clock::now() - oStart).count();
    EXPECT_GE(dTime, 0.030) << "a millisecond clock may take steps of 16";
    EXPECT_LE(dTime, dClock + 0.020);

    const unsigned long nMilliseconds = m_oTimer.GetTimeInMs(0);
    EXPECT_GE(nMilliseconds, 30UL);
    EXPECT_LE(static_cast<double>(nMilliseconds), m_oTimer.GetTime(0) * 1000.0);
}

TEST_P(VQTimer, ReadsTheHardwareTimeOverItsFrequency)
{
    const auto dFrequency = static_cast<double>(HardwareFrequency(m_oTimer));
    const auto Seconds = [dFrequency](long long nTime) { return static_cast<double>(nTime) / dFrequency; };
    for (int i = 0; i < 1000; ++i)
    {
        const long long nResetBefore = HardwareTime(m_oTimer);
        m_oTimer.Reset(0);
        const long long nResetAfter = HardwareTime(m_oTimer);
        const long long nBefore = HardwareTime(m_oTimer);
        const double dTime = m_oTimer.GetTime(0);
        const long long nAfter = HardwareTime(m_oTimer);
        ASSERT_LE(Seconds(nBefore - nResetAfter), dTime);
        ASSERT_LE(dTime, Seconds(nAfter - nResetBefore));

        // Standing still it is one number of steps, over the frequency, and never more than a running one.
        m_oTimer.Pause(0);
        const double dPaused = m_oTimer.GetTime(0);
        ASSERT_EQ(dPaused, Seconds(std::llround(dPaused * dFrequency)));
        ASSERT_LE(dTime, dPaused);
        m_oTimer.Continue(0);
    }
}

TEST_P(VQTimer, TellsMillisecondsBeforeTimeZeroAsWrappedAround)
{
    m_oTimer.Pause(0);
    SpinForATick(m_oTimer);
    m_oTimer.Start(0); // the pause began before the new time 0
    const double dTime = m_oTimer.GetTime(0);
    ASSERT_LT(dTime, 0.0);
    EXPECT_EQ(m_oTimer.GetTimeInMs(0), static_cast<unsigned long>(static_cast<long long>(dTime * 1000.0)));

    m_oTimer.Continue(0);
    m_oTimer.SetTime(0, -1000.0);
    const unsigned long nMilliseconds = 0UL - m_oTimer.GetTimeInMs(0);
    EXPECT_LE(nMilliseconds, 1000000UL);
    EXPECT_GE(nMilliseconds, 1000000UL - static_cast<unsigned long>(SLACK * 1000));
}

TEST_P(VQTimer, ReadsNothingFromAnUndefinedChannelThatRuns)
{
    m_oTimer.EnableFrameTime(0);
    m_oTimer.SetTime(0, 100.0);
    m_oTimer.Update(0);
    const double dFramesPerSecond = m_oTimer.GetFPS(0);
    ASSERT_TRUE(m_oTimer.UndefineChannel(0));
    EXPECT_TRUE(m_oTimer.IsRunning(0));
    EXPECT_EQ(m_oTimer.GetTime(0), 0.0);
    EXPECT_EQ(m_oTimer.GetTimeInMs(0), 0UL);
    EXPECT_EQ(m_oTimer.GetFrameTime(0), 0.0);
    m_oTimer.Update(0);
    EXPECT_EQ(m_oTimer.GetFPS(0), dFramesPerSecond) << "the check that others make is not made";
}

TEST_P(VQTimer, ReadsNothingFromAStoppedChannel)
{
    m_oTimer.EnableFrameTime(0);
    m_oTimer.SetTime(0, 100.0);
    m_oTimer.Update(0);
    EXPECT_GE(m_oTimer.GetTime(0), 100.0);
    m_oTimer.Stop(0);
    EXPECT_TRUE(m_oTimer.IsDefined(0));
    EXPECT_FALSE(m_oTimer.IsRunning(0));
    EXPECT_FALSE(m_oTimer.IsDefinedAndRunning(0));
    EXPECT_EQ(m_oTimer.GetTime(0), 0.0);
    EXPECT_EQ(m_oTimer.GetTimeInMs(0), 0UL);
    EXPECT_EQ(m_oTimer.GetFrameTime(0), 0.0);
}

TEST_P(VQTimer, StartsAlwaysFromZero)
{
    m_oTimer.SetTime(0, 1000.0);
    EXPECT_GE(m_oTimer.GetTime(0), 1000.0);
    m_oTimer.Start(0);
    EXPECT_GE(m_oTimer.GetTime(0), 0.0);
    EXPECT_LT(m_oTimer.GetTime(0), SLACK);
}

TEST_P(VQTimer, ResetChangesTheTimeAlone)
{
    m_oTimer.EnableFrameTime(0);
    m_oTimer.SetTime(0, 1000.0);
    m_oTimer.Reset(0);
    EXPECT_LT(m_oTimer.GetTime(0), SLACK);
    EXPECT_EQ(m_oTimer.GetFrameTime(0), 1000.0);
    EXPECT_TRUE(m_oTimer.IsRunning(0));
    EXPECT_FALSE(m_oTimer.IsPaused(0));

    m_oTimer.Stop(0);
    m_oTimer.Reset(0);
    EXPECT_FALSE(m_oTimer.IsRunning(0));
}

TEST_P(VQTimer, LeavesAPauseOutOfTheTime)
{
    m_oTimer.SetTime(0, 10.0);
    m_oTimer.Pause(0);
    EXPECT_TRUE(m_oTimer.IsPaused(0));
    EXPECT_TRUE(m_oTimer.IsRunning(0));

    const double dPaused = m_oTimer.GetTime(0);
    EXPECT_GE(dPaused, 10.0);
    const auto oPaused = Clock::now();
    SpinFor(std::chrono::milliseconds(200));
    EXPECT_EQ(m_oTimer.GetTime(0), dPaused);
    m_oTimer.Pause(0);
    EXPECT_EQ(m_oTimer.GetTime(0), dPaused) << "a second pause changes nothing";
    const double dPause = std::chrono::duration<double>(Clock::now() - oPaused).count();

    const auto oContinued = Clock::now();
    m_oTimer.Continue(0);
    EXPECT_FALSE(m_oTimer.IsPaused(0));
    const double dTime = m_oTimer.GetTime(0);
    const double dSince = std::chrono::duration<double>(Clock::now() - oContinued).count();
    EXPECT_GE(dTime, dPaused - 0.020);
    EXPECT_LE(dTime, dPaused + dSince + 0.050) << "the pause was " << dPause;

    m_oTimer.Continue(0);
    EXPECT_LE(m_oTimer.GetTime(0), dPaused + std::chrono::duration<double>(Clock::now() - oContinued).count() + 0.050)
        << "a second continue changes nothing";
}

TEST_P(VQTimer, KeepsAPauseThroughStopAndStart)
{
    m_oTimer.SetTime(0, 10.0);
    m_oTimer.Pause(0);
    m_oTimer.Stop(0);
    EXPECT_TRUE(m_oTimer.IsPaused(0));
    EXPECT_EQ(m_oTimer.GetTime(0), 0.0);
    SpinForATick(m_oTimer);
    m_oTimer.Start(0);
    EXPECT_TRUE(m_oTimer.IsPaused(0));

    // The pause began before the new time 0.
    const double dTime = m_oTimer.GetTime(0);
    EXPECT_LT(dTime, 0.0);
    m_oTimer.Continue(0);
    EXPECT_LT(m_oTimer.GetTime(0), 0.0 + SLACK);
    EXPECT_GE(m_oTimer.GetTime(0), dTime);
}

TEST_P(VQTimer, SetsTheTime)
{
    for (const double dSeconds : {0.0, 1.5, 3600.0, -20.0})
    {
        m_oTimer.SetTime(0, dSeconds);
        const double dTime = m_oTimer.GetTime(0);
        EXPECT_GE(dTime, dSeconds - 0.001);
        EXPECT_LT(dTime, dSeconds + SLACK);
    }
}

TEST_P(VQTimer, SetsTheFrameTimeWhereItIsEnabled)
{
    m_oTimer.SetTime(0, 5.0);
    m_oTimer.EnableFrameTime(0);
    const double dEnabled = m_oTimer.GetFrameTime(0);
    EXPECT_GE(dEnabled, 5.0);
    EXPECT_LE(dEnabled, m_oTimer.GetTime(0));

    m_oTimer.SetTime(0, 7.25);
    EXPECT_EQ(m_oTimer.GetFrameTime(0), 7.25);

    m_oTimer.DisableFrameTime(0);
    m_oTimer.SetTime(0, 9.0);
    m_oTimer.Stop(0); // so that nothing but a stored value is seen below
    m_oTimer.EnableFrameTime(0);
    EXPECT_EQ(m_oTimer.GetFrameTime(0), 0.0);
}

TEST_P(VQTimer, ReadsZeroWhenSetWhilePaused)
{
    m_oTimer.SetTime(0, 50.0);
    m_oTimer.Pause(0);
    m_oTimer.SetTime(0, 100.0);
    EXPECT_EQ(m_oTimer.GetTime(0), 0.0);
    SpinForATick(m_oTimer);
    EXPECT_EQ(m_oTimer.GetTime(0), 0.0);

    m_oTimer.Continue(0);
    EXPECT_GE(m_oTimer.GetTime(0), 0.0);
    EXPECT_LT(m_oTimer.GetTime(0), SLACK) << "from 0, not from what was set";
}

TEST_P(VQTimer, SurvivesTimesThatNoCounterHolds)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    for (const double dSeconds : {1e300, -1e300, dInfinity, -dInfinity, std::nan("")})
    {
        m_oTimer.SetTime(0, dSeconds);
        EXPECT_TRUE(std::isfinite(m_oTimer.GetTime(0)));
        m_oTimer.GetTimeInMs(0);
        m_oTimer.Pause(0);
        m_oTimer.Continue(0);
        m_oTimer.Update(0);
    }
    m_oTimer.SetTime(0, 1.0);
    EXPECT_GE(m_oTimer.GetTime(0), 0.999);
    EXPECT_LT(m_oTimer.GetTime(0), 1.0 + SLACK);
}

TEST_P(VQTimer, HoldsTheFrameTimeThroughoutAFrame)
{
    m_oTimer.EnableFrameTime(0);
    EXPECT_TRUE(m_oTimer.IsFrameTimeEnabled(0));
    SpinForATick(m_oTimer);
    m_oTimer.Update(0);
    const double dFrame = m_oTimer.GetFrameTime(0);
    EXPECT_GT(dFrame, 0.0);
    SpinForATick(m_oTimer);
    EXPECT_EQ(m_oTimer.GetFrameTime(0), dFrame);
    EXPECT_GT(m_oTimer.GetTime(0), dFrame);
    m_oTimer.Update(0);
    EXPECT_GT(m_oTimer.GetFrameTime(0), dFrame);

    m_oTimer.DisableFrameTime(0);
    EXPECT_FALSE(m_oTimer.IsFrameTimeEnabled(0));
    const double dNow = m_oTimer.GetFrameTime(0);
    SpinForATick(m_oTimer);
    EXPECT_GT(m_oTimer.GetFrameTime(0), dNow) << "the time of the call";
}

TEST_P(VQTimer, TakesTheFrameTimeWhetherEnabledOrNot)
{
    // A paused channel's times are exact.
    m_oTimer.SetTime(0, 3.0);
    m_oTimer.Pause(0);
    m_oTimer.SetTime(0, 3.0); // reads 0 from now on
    EXPECT_FALSE(m_oTimer.IsFrameTimeEnabled(0));
    m_oTimer.Update(0);
    m_oTimer.Continue(0);
    m_oTimer.SetTime(0, 8.0);
    m_oTimer.Update(0);
    EXPECT_GT(m_oTimer.GetFPS(0), 0.0);
    EXPECT_LE(m_oTimer.GetFPS(0), 1.0 / 7.999) << "8 seconds after the update before";
}

TEST_P(VQTimer, TellsTheRateOfTheLastFrameAlone)
{
    m_oTimer.Pause(0);
    m_oTimer.SetTime(0, 0.0);
    m_oTimer.Update(0);
    EXPECT_EQ(m_oTimer.GetFPS(0), 0.0);
    m_oTimer.Continue(0);

    m_oTimer.SetTime(0, 100.0);
    m_oTimer.Update(0);
    EXPECT_NEAR(m_oTimer.GetFPS(0), 0.01, 0.001);
    m_oTimer.SetTime(0, 300.0);
    m_oTimer.Update(0);
    EXPECT_NEAR(m_oTimer.GetFPS(0), 0.005, 0.001);

    m_oTimer.SetTime(0, 250.0);
    m_oTimer.Update(0);
    EXPECT_EQ(m_oTimer.GetFPS(0), 0.0) << "time went back";
}

TEST_P(VQTimer, HasNoRateWithinOneTick)
{
    m_oTimer.SetTime(0, 5.0);
    m_oTimer.Pause(0);
    m_oTimer.Update(0);
    EXPECT_GT(m_oTimer.GetFPS(0), 0.0);
    m_oTimer.Update(0);
    EXPECT_EQ(m_oTimer.GetFPS(0), 0.0);
}

TEST_P(VQTimer, UpdatesWhatIsDefinedAndRunning)
{
    ASSERT_TRUE(m_oTimer.DefineChannel(1, "stopped"));
    ASSERT_TRUE(m_oTimer.DefineChannel(2, "undefined"));
    ASSERT_TRUE(m_oTimer.DefineChannel(3, "running"));
    for (const int nChannel : {1, 2, 3})
        m_oTimer.Start(nChannel);
    for (const int nChannel : {0, 1, 2, 3})
    {
        m_oTimer.EnableFrameTime(nChannel);
        m_oTimer.SetTime(nChannel, 100.0);
    }
    m_oTimer.Stop(1);
    m_oTimer.UndefineChannel(2);
    SpinForATick(m_oTimer);

    m_oTimer.UpdateAll();
    for (const int nChannel : {0, 3})
    {
        EXPECT_GT(m_oTimer.GetFrameTime(nChannel), 100.0);
        EXPECT_GT(m_oTimer.GetFPS(nChannel), 0.0);
    }
    for (const int nChannel : {1, 2})
        EXPECT_EQ(m_oTimer.GetFPS(nChannel), 0.0);
    m_oTimer.Start(1);
    EXPECT_EQ(m_oTimer.GetFrameTime(1), 100.0);

    m_oTimer.Stop(1);
    m_oTimer.Update(1);
    m_oTimer.Start(1);
    EXPECT_EQ(m_oTimer.GetFrameTime(1), 100.0);
}

TEST_P(VQTimer, TellsTheClockBehindTheChannels)
{
    const double dBefore =
        static_cast<double>(HardwareTime(m_oTimer)) / static_cast<double>(HardwareFrequency(m_oTimer));
    const double dDirect = m_oTimer.GetTimeDirect();
    const double dAfter =
        static_cast<double>(HardwareTime(m_oTimer)) / static_cast<double>(HardwareFrequency(m_oTimer));
    EXPECT_LE(dBefore, dDirect);
    EXPECT_LE(dDirect, dAfter);

    const double dFirst = m_oTimer.GetTimeDirect() * 1000.0;
    const unsigned long nDirect = m_oTimer.GetTimeInMsDirect();
    const double dLast = m_oTimer.GetTimeDirect() * 1000.0;
    const double dWrap = sizeof nDirect == 4 ? 4294967296.0 : 1e300;
    EXPECT_GT(static_cast<double>(nDirect) + 1.0, std::fmod(dFirst, dWrap));
    EXPECT_LE(static_cast<double>(nDirect), std::fmod(dLast, dWrap));

    m_oTimer.SetTime(0, 1e6);
    EXPECT_LT(m_oTimer.GetTimeDirect(), dLast / 1000.0 + SLACK) << "independent of the channels";
}

INSTANTIATE_TEST_SUITE_P(Clock, VQTimer, testing::Values(true, false),
                         [](const auto& oInfo) { return oInfo.param ? "PerformanceCounter" : "Milliseconds"; });

TEST(VQTimerInstance, IsTheTimerThatWasMadeLast)
{
    EXPECT_EQ(VQGetTimer(), nullptr);
    {
        const CVQTimer oFirst;
        EXPECT_EQ(VQGetTimer(), &oFirst);
        {
            const CVQTimer oSecond;
            EXPECT_EQ(VQGetTimer(), &oSecond);
        }
        EXPECT_EQ(VQGetTimer(), nullptr) << "the end of any timer";
    }
    EXPECT_EQ(VQGetTimer(), nullptr);
}

TEST(VQTimerInstance, IsNotChangedByCopies)
{
    CVQTimer oTimer;
    ASSERT_TRUE(oTimer.DefineChannel(2, "copied"));
    oTimer.Start(2);
    oTimer.SetTime(2, 40.0);
    oTimer.EnableFrameTime(2);

    auto pCopy = std::make_unique<CVQTimer>(oTimer);
    EXPECT_EQ(VQGetTimer(), &oTimer);
    EXPECT_STREQ(pCopy->GetChannelName(2), "copied");
    EXPECT_TRUE(pCopy->IsDefinedAndRunning(2));
    EXPECT_TRUE(pCopy->IsFrameTimeEnabled(2));
    EXPECT_EQ(pCopy->GetFrameTime(2), oTimer.GetFrameTime(2));
    EXPECT_GE(pCopy->GetTime(2), 40.0);
    pCopy->Stop(2);
    EXPECT_TRUE(oTimer.IsRunning(2));

    UseHighResolution(*pCopy, false);
    *pCopy = oTimer;
    EXPECT_EQ(VQGetTimer(), &oTimer);
    EXPECT_TRUE(pCopy->IsRunning(2));
    EXPECT_TRUE((pCopy.get()->*GetPrivate(sIsHighResolutionTimerActive()))());

    pCopy.reset();
    EXPECT_EQ(VQGetTimer(), nullptr) << "the end of a copy counts too";
}

TEST(VQTimerInstance, HasAVirtualDestructor)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQTimer>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CTimer>);
    EXPECT_EQ(sizeof(CTimer), sizeof(void*));
}

TEST(Timer, ReadsChannelZeroOfTheTimer)
{
    EXPECT_EQ(CTimer::GetCurTime(), 0.0);
    EXPECT_EQ(CTimer::GetCurTimeInMs(), 0UL);

    CVQTimer oTimer;
    EXPECT_EQ(CTimer::GetCurTime(), 0.0);
    ASSERT_TRUE(oTimer.DefineChannel(0, "game"));
    ASSERT_TRUE(oTimer.DefineChannel(1, "other"));
    oTimer.Start(0);
    oTimer.Start(1);
    oTimer.SetTime(0, 20.0);
    oTimer.SetTime(1, 9000.0);
    EXPECT_GE(CTimer::GetCurTime(), 20.0);
    EXPECT_LT(CTimer::GetCurTime(), 20.0 + SLACK);
    EXPECT_GE(CTimer::GetCurTimeInMs(), 20000UL);
    EXPECT_LT(CTimer::GetCurTimeInMs(), 20000UL + static_cast<unsigned long>(SLACK * 1000));
}

namespace
{
struct sCalls
{
    std::mutex oMutex;
    std::condition_variable oCalled;
    std::vector<unsigned> oEvents;
    std::vector<unsigned long> oUsers;
    std::thread::id oThread;
    int nUninstallAt = 0;
    int nDelay = 0;

    bool WaitFor(std::size_t nCalls)
    {
        std::unique_lock oLock(oMutex);
        return oCalled.wait_for(oLock, LIMIT, [this, nCalls] { return oEvents.size() >= nCalls; });
    }

    std::size_t Count()
    {
        const std::lock_guard oLock(oMutex);
        return oEvents.size();
    }
};

sCalls* g_pCalls = nullptr;

void CountCall(unsigned int nEvent, unsigned int nReserved, unsigned long nUser, unsigned long nFirst,
               unsigned long nSecond)
{
    EXPECT_EQ(nReserved, 0U);
    EXPECT_EQ(nFirst, 0UL);
    EXPECT_EQ(nSecond, 0UL);

    sCalls& oCalls = *g_pCalls;
    const std::lock_guard oLock(oCalls.oMutex);
    oCalls.oEvents.push_back(nEvent);
    oCalls.oUsers.push_back(nUser);
    oCalls.oThread = std::this_thread::get_id();
    if (oCalls.nUninstallAt != 0 && oCalls.oEvents.size() == static_cast<std::size_t>(oCalls.nUninstallAt))
        CVQTimer::UninstallTimeEvent(static_cast<int>(nEvent), oCalls.nDelay);
    oCalls.oCalled.notify_all();
}

class VQTimerEvents : public testing::Test
{
protected:
    void SetUp() override { g_pCalls = &m_oCalls; }

    sCalls m_oCalls;
};
} // namespace

TEST_F(VQTimerEvents, CallAgainAndAgainOnAnotherThread)
{
    const int nEvent = CVQTimer::InstallTimeEvent(2, 0, &CountCall, 0x12345678UL, CVQTimer::TIME_EVENT_PERIODIC);
    ASSERT_GT(nEvent, 0);
    EXPECT_TRUE(m_oCalls.WaitFor(5));
    CVQTimer::UninstallTimeEvent(nEvent, 2);

    const std::size_t nCalls = m_oCalls.Count();
    for (std::size_t i = 0; i < nCalls; ++i)
    {
        EXPECT_EQ(m_oCalls.oEvents[i], static_cast<unsigned>(nEvent));
        EXPECT_EQ(m_oCalls.oUsers[i], 0x12345678UL);
    }
    EXPECT_NE(m_oCalls.oThread, std::this_thread::get_id());
    SpinFor(std::chrono::milliseconds(10));
    EXPECT_EQ(m_oCalls.Count(), nCalls) << "no call comes after the removal";
}

TEST_F(VQTimerEvents, CallOnceForEveryOtherKind)
{
    for (const int nKind : {0, 2, -1})
    {
        const std::size_t nBefore = m_oCalls.Count();
        const int nOnce = CVQTimer::InstallTimeEvent(1, 0, &CountCall, 1, nKind);
        ASSERT_GT(nOnce, 0);
        EXPECT_TRUE(m_oCalls.WaitFor(nBefore + 1));

        // While another event is called ten times, the one is not.
        const int nOther = CVQTimer::InstallTimeEvent(1, 0, &CountCall, 2, 1);
        EXPECT_TRUE(m_oCalls.WaitFor(nBefore + 11));
        CVQTimer::UninstallTimeEvent(nOther, 1);
        CVQTimer::UninstallTimeEvent(nOnce, 1);
        std::size_t nOnces = 0;
        for (std::size_t i = nBefore; i < m_oCalls.Count(); ++i)
            nOnces += m_oCalls.oUsers[i] == 1 ? 1U : 0U;
        EXPECT_EQ(nOnces, 1U) << "kind " << nKind;
    }
}

TEST_F(VQTimerEvents, MayUninstallThemselves)
{
    m_oCalls.nUninstallAt = 3;
    m_oCalls.nDelay = 1;
    const int nEvent = CVQTimer::InstallTimeEvent(1, 0, &CountCall, 0, 1);
    ASSERT_GT(nEvent, 0);
    EXPECT_TRUE(m_oCalls.WaitFor(3));
    SpinFor(std::chrono::milliseconds(10));
    EXPECT_EQ(m_oCalls.Count(), 3U);
    CVQTimer::UninstallTimeEvent(nEvent, 1); // once more is harmless
}

TEST_F(VQTimerEvents, AreRefusedForPeriodsThatTheSystemCannotGive)
{
    for (const int nDelay : {0, -1, -2147483647})
        EXPECT_EQ(CVQTimer::InstallTimeEvent(nDelay, 0, &CountCall, 0, 1), -1) << nDelay;
    EXPECT_EQ(m_oCalls.Count(), 0U);
}

TEST_F(VQTimerEvents, AreZeroWhereTheEventFails)
{
    EXPECT_EQ(CVQTimer::InstallTimeEvent(5, 0, nullptr, 0, 1), 0);
    CVQTimer::UninstallTimeEvent(0, 5); // the period was begun
}
