#include <Common/Profile/VQProfileData.h>
#include <Common/Profile/VQProfilerOld.h>

#include <Common/Platform/System/SystemTime.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/Fork.h>
#include <tests/support/PrivateMember.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

// What no public operation shows exactly: the smoothing, and the length of a frame.
struct sUpdateHistoryData
{
    using Type = void (CVQProfilerOld::*)(int, float);
    friend Type GetPrivate(sUpdateHistoryData);
};
template struct RevealPrivate<sUpdateHistoryData, &CVQProfilerOld::UpdateHistoryData>;

struct sGetHistoryData
{
    using Type = void (CVQProfilerOld::*)(int, float&, float&, float&);
    friend Type GetPrivate(sGetHistoryData);
};
template struct RevealPrivate<sGetHistoryData, &CVQProfilerOld::GetHistoryData>;

struct sGetElapsedTime
{
    using Type = float (CVQProfilerOld::*)() const;
    friend Type GetPrivate(sGetElapsedTime);
};
template struct RevealPrivate<sGetElapsedTime, &CVQProfilerOld::GetElapsedTime>;

struct sGetExactTime
{
    using Type = float (CVQProfilerOld::*)() const;
    friend Type GetPrivate(sGetExactTime);
};
template struct RevealPrivate<sGetExactTime, &CVQProfilerOld::GetExactTime>;

struct sFrameStart
{
    using Type = float CVQProfilerOld::*;
    friend Type GetPrivate(sFrameStart);
};
template struct RevealPrivate<sFrameStart, &CVQProfilerOld::m_fFrameStart>;

struct sFrameEnd
{
    using Type = float CVQProfilerOld::*;
    friend Type GetPrivate(sFrameEnd);
};
template struct RevealPrivate<sFrameEnd, &CVQProfilerOld::m_fFrameEnd>;

namespace
{
constexpr std::chrono::seconds LIMIT{20};

// Lets the millisecond clock advance by so much at least; tells how far it went.
std::uint32_t SpinMilliseconds(std::uint32_t nMilliseconds)
{
    const std::uint32_t nStart = System::ReadMediaClock();
    const auto oStart = std::chrono::steady_clock::now();
    while (System::ReadMediaClock() - nStart < nMilliseconds && std::chrono::steady_clock::now() - oStart < LIMIT)
    {
    }
    const std::uint32_t nPassed = System::ReadMediaClock() - nStart;
    EXPECT_GE(nPassed, nMilliseconds);
    return nPassed;
}

float Elapsed(const CVQProfilerOld& oProfiler)
{
    return (oProfiler.*GetPrivate(sGetElapsedTime()))();
}

void SetFrame(CVQProfilerOld& oProfiler, float fStart, float fEnd)
{
    oProfiler.*GetPrivate(sFrameStart()) = fStart;
    oProfiler.*GetPrivate(sFrameEnd()) = fEnd;
}

void Update(CVQProfilerOld& oProfiler, int nIndex, float fPercent)
{
    (oProfiler.*GetPrivate(sUpdateHistoryData()))(nIndex, fPercent);
}

struct sShares
{
    float fAverage = -1.0F;
    float fMinimum = -1.0F;
    float fMaximum = -1.0F;
};

sShares History(CVQProfilerOld& oProfiler, int nIndex)
{
    sShares oShares;
    (oProfiler.*GetPrivate(sGetHistoryData()))(nIndex, oShares.fAverage, oShares.fMinimum, oShares.fMaximum);
    return oShares;
}

// The names of all regions that can be read, in the order of their places.
std::string NamesOf(CVQProfilerOld& oProfiler)
{
    std::string sNames;
    CVQProfileData oData;
    for (int i = 0; i < oProfiler.GetNumSamples(); ++i)
    {
        if (oProfiler.GetSampleData(i, oData))
            sNames += std::string(sNames.empty() ? "" : " ") + oData.GetName();
    }
    return sNames;
}

// How far two times may be apart for the steps of the clock alone. Where the clock counts from the start of the
// computer, a float of its seconds has steps of 2 milliseconds after some hours, and of 16 after two days.
float FindStep()
{
    const auto fNow = static_cast<float>(System::ReadMediaClock() * 0.001);
    return 0.003F + 2.0F * (std::nextafter(fNow, 1e30F) - fNow);
}

const float STEP = FindStep();
} // namespace

TEST(VQProfilerOld, IsFoundWhileItLives)
{
    EXPECT_EQ(VQGetProfilerOld(), nullptr);
    {
        const CVQProfilerOld oProfiler;
        EXPECT_EQ(VQGetProfilerOld(), &oProfiler);
        EXPECT_EQ(oProfiler.GetNumSamples(), 50);
    }
    EXPECT_EQ(VQGetProfilerOld(), nullptr);
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQProfilerOld>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQProfileData>);
    EXPECT_FALSE(std::is_copy_constructible_v<CVQProfilerOld>);
}

TEST(VQProfilerOld, HasAsManyRecordsAsAskedFor)
{
    EXPECT_EQ(CVQProfilerOld(3).GetNumSamples(), 3);
    EXPECT_EQ(CVQProfilerOld(0).GetNumSamples(), 0);
    CVQProfilerOld oNone(-5);
    EXPECT_EQ(oNone.GetNumSamples(), 0);
    oNone.Begin();
    oNone.SampleBegin("a");
    oNone.SampleEnd("a");
    oNone.End();
    CVQProfileData oData;
    EXPECT_FALSE(oNone.GetSampleData(0, oData));
}

TEST(VQProfilerOld, StartsWithEmptyData)
{
    const CVQProfileData oData;
    EXPECT_STREQ(oData.GetName(), "");
    EXPECT_EQ(oData.GetAverageTimePerFrame(), 0.0F);
    EXPECT_EQ(oData.GetMinimumTimePerFrame(), 0.0F);
    EXPECT_EQ(oData.GetMaximumTimePerFrame(), 0.0F);
    EXPECT_EQ(oData.GetAbsoluteTimePerFrame(), 0.0F);
    EXPECT_EQ(oData.GetNumInstances(), 0);
    EXPECT_EQ(oData.GetNumParents(), 0);
}

TEST(VQProfilerOld, ReadsTheMillisecondClockInSeconds)
{
    const CVQProfilerOld oProfiler;
    const auto fBefore = static_cast<float>(System::ReadMediaClock() * 0.001);
    const float fNow = (oProfiler.*GetPrivate(sGetExactTime()))();
    const auto fAfter = static_cast<float>(System::ReadMediaClock() * 0.001);
    // The program has a copy of the clock of its own, which may have been read first at another time.
    EXPECT_GE(fNow, 0.0F);
    const std::uint32_t nPassed = SpinMilliseconds(50);
    const float fPassed = (oProfiler.*GetPrivate(sGetExactTime()))() - fNow;
    EXPECT_GE(fPassed, 0.050F - 0.016F - STEP);
    EXPECT_LE(fPassed, static_cast<float>(nPassed) * 0.001F + 1.0F + (fAfter - fBefore));
}

TEST(VQProfilerOld, CountsFromTheStartOfTheProcess)
{
    if (!HasFork())
        GTEST_SKIP() << "this system has a clock of media of its own";

    const auto oStart = std::chrono::steady_clock::now();
    const ChildResult oResult = ChildProcess({ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
                                              "--gtest_filter=VQProfilerOldChild.DISABLED_TellsItsFirstReading"})
                                    .Wait();
    const double dPassed = std::chrono::duration<double>(std::chrono::steady_clock::now() - oStart).count();

    const std::size_t nAt = oResult.sOutput.find("first reading: ");
    ASSERT_NE(nAt, std::string::npos) << oResult.sOutput;
    const double dReading = std::atof(oResult.sOutput.c_str() + nAt + 15);
    EXPECT_GE(dReading, 0.2) << "what passed before the first reading counts";
    EXPECT_LE(dReading, dPassed + 0.05) << "and what passed before the process does not";
}

TEST(VQProfilerOldChild, DISABLED_TellsItsFirstReading)
{
    const auto oStart = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - oStart < std::chrono::milliseconds(200))
    {
    }
    const CVQProfilerOld oProfiler;
    std::printf("first reading: %f\n", static_cast<double>((oProfiler.*GetPrivate(sGetExactTime()))()));
}

TEST(VQProfilerOld, MeasuresTheFrame)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    EXPECT_LE(Elapsed(oProfiler), 0.0F) << "the end is not known";
    const std::uint32_t nPassed = SpinMilliseconds(20);
    oProfiler.End();
    EXPECT_GE(Elapsed(oProfiler), 0.020F - STEP);
    EXPECT_LT(Elapsed(oProfiler), static_cast<float>(nPassed) * 0.001F + 5.0F);
}

TEST(VQProfilerOld, MeasuresARegion)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    SpinMilliseconds(20);
    oProfiler.SampleBegin("world");
    SpinMilliseconds(40);
    oProfiler.SampleEnd("world");
    SpinMilliseconds(20);
    oProfiler.End();

    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_STREQ(oData.GetName(), "world");
    EXPECT_EQ(oData.GetNumInstances(), 1);
    EXPECT_EQ(oData.GetNumParents(), 0);
    EXPECT_GE(oData.GetAbsoluteTimePerFrame(), 0.040F - STEP);
    EXPECT_LE(oData.GetAbsoluteTimePerFrame(), Elapsed(oProfiler) - 0.040F + 2 * STEP);

    const float fShare = oData.GetAbsoluteTimePerFrame() / Elapsed(oProfiler) * 100.0F;
    EXPECT_NEAR(oData.GetAverageTimePerFrame(), fShare, 0.01F);
    EXPECT_EQ(oData.GetMinimumTimePerFrame(), oData.GetAverageTimePerFrame()) << "the first frame sets all three";
    EXPECT_EQ(oData.GetMaximumTimePerFrame(), oData.GetAverageTimePerFrame());

    EXPECT_FALSE(oProfiler.GetSampleData(1, oData));
    EXPECT_FALSE(oProfiler.GetSampleData(-1, oData));
    EXPECT_FALSE(oProfiler.GetSampleData(50, oData));
    EXPECT_STREQ(oData.GetName(), "world") << "as it was";
}

TEST(VQProfilerOld, AddsUpARegionThatIsBegunTwice)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    for (int i = 0; i < 2; ++i)
    {
        oProfiler.SampleBegin("world");
        SpinMilliseconds(20);
        oProfiler.SampleEnd("world");
        SpinMilliseconds(5);
    }
    oProfiler.End();
    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_EQ(oData.GetNumInstances(), 2);
    EXPECT_GE(oData.GetAbsoluteTimePerFrame(), 0.040F - 2 * STEP);
    EXPECT_LE(oData.GetAbsoluteTimePerFrame(), Elapsed(oProfiler) - 0.010F + 2 * STEP);
    EXPECT_EQ(NamesOf(oProfiler), "world");
}

TEST(VQProfilerOld, TakesTheTimeOfChildrenOffTheShareOfTheParent)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin("outer");
    oProfiler.SampleBegin("middle");
    oProfiler.SampleBegin("inner");
    SpinMilliseconds(40);
    oProfiler.SampleEnd("inner");
    oProfiler.SampleEnd("middle");
    SpinMilliseconds(20);
    oProfiler.SampleEnd("outer");
    oProfiler.End();

    CVQProfileData aData[3];
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(oProfiler.GetSampleData(i, aData[i]));
    const float fFrame = Elapsed(oProfiler);
    EXPECT_STREQ(aData[0].GetName(), "outer");
    EXPECT_STREQ(aData[2].GetName(), "inner");
    EXPECT_EQ(aData[0].GetNumParents(), 0);
    EXPECT_EQ(aData[1].GetNumParents(), 1);
    EXPECT_EQ(aData[2].GetNumParents(), 2);

    // Absolute times hold the children, shares do not.
    EXPECT_GE(aData[0].GetAbsoluteTimePerFrame(), 0.060F - 2 * STEP);
    EXPECT_GE(aData[1].GetAbsoluteTimePerFrame(), 0.040F - STEP);
    EXPECT_NEAR(aData[2].GetAverageTimePerFrame(), aData[2].GetAbsoluteTimePerFrame() / fFrame * 100.0F, 0.01F);
    EXPECT_NEAR(aData[1].GetAverageTimePerFrame(),
                (aData[1].GetAbsoluteTimePerFrame() - aData[2].GetAbsoluteTimePerFrame()) / fFrame * 100.0F, 0.01F);
    EXPECT_NEAR(aData[0].GetAverageTimePerFrame(),
                (aData[0].GetAbsoluteTimePerFrame() - aData[1].GetAbsoluteTimePerFrame()) / fFrame * 100.0F, 0.01F)
        << "directly inside: the inner one counts once, for the middle one";
}

TEST(VQProfilerOld, GivesTheTimeOfARegionToTheInnermostOpenOne)
{
    // All begin in the same millisecond, or nearly: the later record wins a tie.
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin("first");
    oProfiler.SampleBegin("second");
    oProfiler.SampleBegin("ended");
    SpinMilliseconds(60);
    oProfiler.SampleEnd("ended");
    oProfiler.SampleEnd("second");
    oProfiler.SampleEnd("first");
    oProfiler.End();
    CVQProfileData oFirst;
    CVQProfileData oSecond;
    CVQProfileData oEnded;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oFirst));
    ASSERT_TRUE(oProfiler.GetSampleData(1, oSecond));
    ASSERT_TRUE(oProfiler.GetSampleData(2, oEnded));
    const float fPercentOfAStep = STEP / Elapsed(oProfiler) * 100.0F;
    EXPECT_GT(oEnded.GetAverageTimePerFrame(), 0.0F);
    EXPECT_NEAR(oSecond.GetAverageTimePerFrame(),
                oSecond.GetAbsoluteTimePerFrame() / Elapsed(oProfiler) * 100.0F - oEnded.GetAverageTimePerFrame(),
                fPercentOfAStep);
    EXPECT_NEAR(oFirst.GetAverageTimePerFrame(),
                (oFirst.GetAbsoluteTimePerFrame() - oSecond.GetAbsoluteTimePerFrame()) / Elapsed(oProfiler) * 100.0F,
                fPercentOfAStep);
}

TEST(VQProfilerOld, FindsTheRegionToBeginInAnyCaseAndTheOneToEndInItsOwn)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin("World");
    oProfiler.SampleEnd("world"); // finds nothing
    oProfiler.End();
    CVQProfileData oData;
    EXPECT_FALSE(oProfiler.GetSampleData(0, oData)) << "still open";
    oProfiler.SampleEnd("World");
    EXPECT_TRUE(oProfiler.GetSampleData(0, oData));

    oProfiler.SampleBegin("WORLD");
    EXPECT_FALSE(oProfiler.GetSampleData(0, oData));
    oProfiler.SampleEnd("WORLD");
    EXPECT_FALSE(oProfiler.GetSampleData(0, oData)) << "the name is that of the first begin";
    oProfiler.SampleEnd("World");
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_STREQ(oData.GetName(), "World");
    EXPECT_EQ(oData.GetNumInstances(), 2);
    EXPECT_EQ(NamesOf(oProfiler), "World");
}

TEST(VQProfilerOld, KnowsARegionThatIsOpenTwice)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin("a");
    oProfiler.SampleBegin("a");
    oProfiler.SampleEnd("a");
    CVQProfileData oData;
    EXPECT_FALSE(oProfiler.GetSampleData(0, oData));
    oProfiler.SampleEnd("a");
    oProfiler.End();
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_EQ(oData.GetNumInstances(), 2);
    EXPECT_EQ(oData.GetNumParents(), 0) << "as at the last end";

    oProfiler.SampleEnd("a"); // one too many
    EXPECT_TRUE(oProfiler.GetSampleData(0, oData));
    oProfiler.SampleEnd("unknown");
    EXPECT_EQ(NamesOf(oProfiler), "a");
}

TEST(VQProfilerOld, IgnoresRegionsBeyondItsNumber)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    std::string sExpected;
    for (int i = 0; i < 52; ++i)
    {
        const std::string sName = "r" + std::to_string(i);
        oProfiler.SampleBegin(sName.c_str());
        oProfiler.SampleEnd(sName.c_str());
        if (i < 50)
            sExpected += (i == 0 ? "" : " ") + sName;
    }
    oProfiler.SampleBegin("R7"); // known ones still count
    oProfiler.SampleEnd("r7");
    oProfiler.End();
    EXPECT_EQ(NamesOf(oProfiler), sExpected);
    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(7, oData));
    EXPECT_EQ(oData.GetNumInstances(), 2);
    EXPECT_FALSE(oProfiler.GetSampleData(50, oData));
}

TEST(VQProfilerOld, ForgetsTheRegionsWithEachFrame)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin("a");
    oProfiler.SampleEnd("a");
    oProfiler.SampleBegin("b");
    oProfiler.End();
    oProfiler.Begin();
    EXPECT_EQ(NamesOf(oProfiler), "");
    oProfiler.SampleBegin("c");
    oProfiler.SampleEnd("c");
    oProfiler.End();
    EXPECT_EQ(NamesOf(oProfiler), "c");
    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_EQ(oData.GetNumInstances(), 1);
    EXPECT_EQ(oData.GetNumParents(), 0) << "what the frame before left open is gone";
}

TEST(VQProfilerOld, CutsLongNames)
{
    const std::string sLong(255, 'n');
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin((sLong + "one").c_str());
    oProfiler.SampleEnd((sLong + "other").c_str());
    oProfiler.SampleBegin(sLong.c_str());
    oProfiler.SampleEnd(sLong.c_str());
    oProfiler.SampleBegin(std::string(254, 'n').c_str());
    oProfiler.SampleEnd(std::string(254, 'n').c_str());
    oProfiler.SampleBegin(nullptr);
    oProfiler.SampleEnd("");
    oProfiler.End();
    EXPECT_EQ(NamesOf(oProfiler), sLong + " " + std::string(254, 'n') + " ");
    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_EQ(oData.GetNumInstances(), 2);
}

TEST(VQProfilerOld, CountsAFrameWithoutLengthAsNothing)
{
    CVQProfilerOld oProfiler;
    oProfiler.Begin();
    oProfiler.SampleBegin("a");
    SpinMilliseconds(60);
    oProfiler.SampleEnd("a");
    oProfiler.End();
    SetFrame(oProfiler, 3.0F, 3.0F);
    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_EQ(oData.GetAverageTimePerFrame(), 0.0F);
    EXPECT_EQ(oData.GetMinimumTimePerFrame(), 0.0F);
    EXPECT_EQ(oData.GetMaximumTimePerFrame(), 0.0F);
    EXPECT_GT(oData.GetAbsoluteTimePerFrame(), 0.0F);

    SetFrame(oProfiler, 3.0F, 0.0F); // a frame that was not ended
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_EQ(oData.GetAverageTimePerFrame(), 0.0F);
}

TEST(VQProfilerOld, HasNoHistoryAtFirst)
{
    CVQProfilerOld oProfiler(2);
    EXPECT_EQ(History(oProfiler, 0).fAverage, 0.0F);
    EXPECT_EQ(History(oProfiler, 1).fMinimum, 0.0F);
    EXPECT_EQ(History(oProfiler, 1).fMaximum, 0.0F);
    for (const int nIndex : {-1, 2})
    {
        EXPECT_EQ(History(oProfiler, nIndex).fAverage, -1.0F) << "not touched";
        EXPECT_EQ(History(oProfiler, nIndex).fMinimum, -1.0F);
        EXPECT_EQ(History(oProfiler, nIndex).fMaximum, -1.0F);
        Update(oProfiler, nIndex, 5.0F); // nothing to update, and no harm
    }
}

TEST(VQProfilerOld, SmoothsTheShares)
{
    // Frames of half a second: a factor of 0.4.
    struct
    {
        float fPercent;
        float fAverage;
        float fMinimum;
        float fMaximum;
    } const aFrames[] = {
        {50.0F, 50.0F, 50.0F, 50.0F},   // the first sets all
        {100.0F, 70.0F, 70.0F, 100.0F}, // a new maximum at once; the minimum drifts
        {20.0F, 50.0F, 20.0F, 68.0F},   // a new minimum at once; the maximum drifts
        {20.0F, 38.0F, 20.0F, 48.8F},   // equal to the minimum: stays there
        {-30.0F, 10.8F, 0.0F, 17.28F},  // no minimum below 0
    };

    CVQProfilerOld oProfiler;
    SetFrame(oProfiler, 1.0F, 1.5F);
    for (const auto& [fPercent, fAverage, fMinimum, fMaximum] : aFrames)
    {
        Update(oProfiler, 3, fPercent);
        const sShares oShares = History(oProfiler, 3);
        EXPECT_NEAR(oShares.fAverage, fAverage, 0.001F) << fPercent;
        EXPECT_NEAR(oShares.fMinimum, fMinimum, 0.001F) << fPercent;
        EXPECT_NEAR(oShares.fMaximum, fMaximum, 0.001F) << fPercent;
    }
}

TEST(VQProfilerOld, TakesTheFirstShareAsItIs)
{
    CVQProfilerOld oProfiler;
    SetFrame(oProfiler, 1.0F, 1.5F);
    Update(oProfiler, 0, -30.0F);
    EXPECT_EQ(History(oProfiler, 0).fAverage, -30.0F);
    EXPECT_EQ(History(oProfiler, 0).fMinimum, -30.0F) << "only later ones are kept from falling below 0";
    EXPECT_EQ(History(oProfiler, 0).fMaximum, -30.0F);
}

TEST(VQProfilerOld, ReplacesTheSharesInFramesOfOneAndAQuarterSeconds)
{
    for (const float fLength : {1.25F, 2.0F, 100.0F})
    {
        CVQProfilerOld oProfiler;
        SetFrame(oProfiler, 0.0F, fLength);
        Update(oProfiler, 0, 50.0F);
        Update(oProfiler, 0, 80.0F);
        EXPECT_EQ(History(oProfiler, 0).fAverage, 80.0F) << fLength;
        EXPECT_EQ(History(oProfiler, 0).fMinimum, 80.0F) << fLength;
        Update(oProfiler, 0, 10.0F);
        EXPECT_EQ(History(oProfiler, 0).fMaximum, 10.0F) << fLength;
    }
    CVQProfilerOld oProfiler;
    SetFrame(oProfiler, 0.0F, 1.0F);
    Update(oProfiler, 0, 50.0F);
    Update(oProfiler, 0, 80.0F);
    EXPECT_NEAR(History(oProfiler, 0).fAverage, 74.0F, 0.001F);
}

TEST(VQProfilerOld, RemembersByPlaceNotByName)
{
    CVQProfilerOld oProfiler;
    const auto RunFrame = [&](const char* pName, float fAccumulated)
    {
        oProfiler.Begin();
        oProfiler.SampleBegin(pName);
        oProfiler.SampleEnd(pName);
        oProfiler.End();
        SetFrame(oProfiler, 0.0F, 1.25F); // each frame replaces what was
        Update(oProfiler, 0, fAccumulated);
    };
    RunFrame("a", 40.0F);
    RunFrame("b", 60.0F);
    EXPECT_EQ(History(oProfiler, 0).fAverage, 60.0F);
    EXPECT_EQ(History(oProfiler, 1).fAverage, 0.0F);

    SetFrame(oProfiler, 0.0F, 0.00001F);
    CVQProfileData oData;
    ASSERT_TRUE(oProfiler.GetSampleData(0, oData));
    EXPECT_STREQ(oData.GetName(), "b");
}
