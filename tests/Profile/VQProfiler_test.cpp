#include <Common/Profile/VQProfileSample.h>
#include <Common/Profile/VQProfiler.h>
#include <Common/Profile/VQProfilerStatus.h>

#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/System/SystemTime.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/NoMemory.h>
#include <tests/support/RegisterProbe.h>
#include <tests/support/Sanitizer.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestProfiler.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr std::size_t BUFFER_RECORDS = 3145728;
constexpr std::size_t RESERVE_RECORDS = 4096;

std::vector<std::string> g_aOpened;
std::vector<int> g_aBeeps;
std::string g_sDebugger;

bool NoteDocument(const char* pPath)
{
    g_aOpened.emplace_back(pPath);
    return true;
}

void NoteBeep(eBeepKind nKind)
{
    g_aBeeps.push_back(nKind);
}

void NoteDebugger(const char* pText)
{
    g_sDebugger += pText;
}

// Tests in a directory of their own, with the hooks watched and the switch on.
class VQProfiler : public testing::Test
{
protected:
    void SetUp() override
    {
        g_aOpened.clear();
        g_aBeeps.clear();
        HOOK_SetOpenDocument(&NoteDocument);
        HOOK_SetBeep(&NoteBeep);
        g_bVQProfilerEnabled = true;
    }

    void TearDown() override
    {
        g_bVQProfilerEnabled = false;
        HOOK_SetOpenDocument(nullptr);
        HOOK_SetBeep(nullptr);
    }

    // A pair by the hooks.
    static void Sample(const char* pName)
    {
        g_pFnBeginSample(pName);
        g_pFnEndSample();
    }

    CTestDirectory m_oDirectory;
};

ChildResult RunChild(const std::string& sName)
{
    ChildResult oResult = ChildProcess({ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
                                        "--gtest_filter=VQProfilerChild.DISABLED_" + sName})
                              .Wait();
    std::erase(oResult.sOutput, '\r'); // line ends of text streams
    return oResult;
}

bool Contains(const std::string& sText, const std::string& sPart)
{
    return sText.find(sPart) != std::string::npos;
}
} // namespace

// ---- the globals
// -----------------------------------------------------------------------------------------------------

TEST(IsolatedVQProfilerGlobals, AreOffBeforeThereIsAProfiler)
{
    EXPECT_FALSE(g_bVQProfilerEnabled);
    EXPECT_EQ(VQGetProfiler(), nullptr);
    ASSERT_NE(g_pFnBeginSample, nullptr);
    ASSERT_NE(g_pFnEndSample, nullptr);
    g_pFnBeginSample("nobody listens");
    g_pFnEndSample();
}

TEST_F(VQProfiler, IsFoundWhileItLives)
{
    EXPECT_EQ(VQGetProfiler(), nullptr);
    {
        const CVQProfiler oFirst;
        EXPECT_EQ(VQGetProfiler(), &oFirst);
        auto pSecond = std::make_unique<CVQProfiler>();
        EXPECT_EQ(VQGetProfiler(), pSecond.get()) << "the one that was made last";
        pSecond.reset();
        EXPECT_EQ(VQGetProfiler(), nullptr);
    }
    EXPECT_EQ(VQGetProfiler(), nullptr);
}

TEST_F(VQProfiler, IsEmptyAtFirst)
{
    const CTestProfiler oProfiler;
    EXPECT_EQ(oProfiler.GetSampleCount(), 0);
    EXPECT_TRUE(oProfiler.m_oSessionName.IsEmpty());
    EXPECT_EQ(oProfiler.m_dClockSpeed, 0.0);
    EXPECT_EQ(oProfiler.m_nSampleOverhead, 0);
    EXPECT_EQ(oProfiler.m_nFrame, 0);
    EXPECT_FALSE(oProfiler.m_bSessionActive);
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQProfiler>);
}

// ---- sessions
// --------------------------------------------------------------------------------------------------------

TEST_F(VQProfiler, RecordsBetweenBeginAndEndOfASession)
{
    CTestProfiler oProfiler;
    Sample("before");
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());

    oProfiler.BeginSession("session");
    EXPECT_TRUE(oProfiler.m_bSessionActive);
    EXPECT_FALSE(oProfiler.m_bCollecting);
    EXPECT_STREQ(oProfiler.m_oSessionName, "session");
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());

    static const char* const s_pName = "region";
    const std::uint64_t nBefore = System::ReadCycleCounter();
    Sample(s_pName);
    const std::uint64_t nAfter = System::ReadCycleCounter();

    const auto oRecords = oProfiler.GetRawSamples();
    ASSERT_EQ(oRecords.size(), 2U);
    EXPECT_EQ(oRecords[0].m_pName, s_pName) << "the address, not a copy";
    EXPECT_EQ(oRecords[1].m_pName, nullptr);
    EXPECT_LE(nBefore, oRecords[0].m_nCounter);
    EXPECT_LE(oRecords[0].m_nCounter, oRecords[1].m_nCounter);
    EXPECT_LE(oRecords[1].m_nCounter, nAfter);

    oProfiler.EndSession(false, false);
    EXPECT_FALSE(oProfiler.m_bSessionActive);
    Sample("after");
    EXPECT_EQ(oProfiler.GetRawSamples().size(), 2U) << "still there to read, but no more come";
}

TEST_F(VQProfiler, DoesNothingWhileSwitchedOff)
{
    g_bVQProfilerEnabled = false;
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    EXPECT_FALSE(oProfiler.m_bSessionActive);
    Sample("region");
    EXPECT_TRUE(oProfiler.GetRawSamples().empty()) << "the hooks stay disabled";
    oProfiler.EndSession(true, true);
    EXPECT_FALSE(m_oDirectory.Has("VQProfiler.htm"));
    EXPECT_TRUE(g_aOpened.empty());

    for (int i = 0; i < 5; ++i)
        oProfiler.SessionByCount(0, 1, "session");
    EXPECT_EQ(oProfiler.m_nFrame, 0);
    EXPECT_TRUE(g_aBeeps.empty());

    g_bVQProfilerEnabled = true;
    oProfiler.BeginSession("session");
    g_bVQProfilerEnabled = false;
    oProfiler.EndSession(true, true);
    EXPECT_TRUE(oProfiler.m_bSessionActive) << "an end does nothing either";
    EXPECT_FALSE(m_oDirectory.Has("VQProfiler.htm"));
}

TEST_F(VQProfiler, EndsNothingWithoutASession)
{
    CTestProfiler oProfiler;
    oProfiler.m_dSessionDuration = 5.0;
    oProfiler.EndSession(true, true);
    EXPECT_FALSE(m_oDirectory.Has("VQProfiler.htm"));
    EXPECT_TRUE(g_aOpened.empty());
    EXPECT_EQ(oProfiler.m_dSessionDuration, 5.0);

    oProfiler.BeginSession("session");
    oProfiler.EndSession(false, false);
    oProfiler.EndSession(true, true);
    EXPECT_FALSE(m_oDirectory.Has("VQProfiler.htm")) << "it was over";
}

TEST_F(VQProfiler, AnalysesAndReportsAsAskedAtTheEnd)
{
    struct
    {
        bool bAnalyse;
        bool bReport;
    } const aCases[] = {{false, false}, {true, false}, {false, true}, {true, true}};

    CVQProfiler oProfiler;
    for (const auto& [bAnalyse, bReport] : aCases)
    {
        g_aOpened.clear();
        m_oDirectory.Remove("VQProfiler.htm");
        oProfiler.BeginSession("session");
        Sample("region");
        oProfiler.EndSession(bAnalyse, bReport);

        EXPECT_EQ(oProfiler.GetSampleCount(), bAnalyse ? 1 : 0);
        EXPECT_EQ(m_oDirectory.Has("VQProfiler.htm"), bReport);
        ASSERT_EQ(g_aOpened.size(), bReport ? 1U : 0U);
        if (bReport)
        {
            EXPECT_EQ(Contains(m_oDirectory.Read("VQProfiler.htm"), ">region<"), bAnalyse);
            EXPECT_TRUE(g_aOpened[0].ends_with("/VQProfiler.htm")) << g_aOpened[0];
        }
    }
}

TEST_F(VQProfiler, MeasuresTheSession)
{
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    const auto oStart = Clock::now();
    EXPECT_EQ(oProfiler.m_dSessionDuration, 0.0);
    const std::int64_t nStart = oProfiler.m_nSessionStart;
    EXPECT_LE(nStart, System::ReadPerformanceCounter());
    while (Clock::now() - oStart < std::chrono::milliseconds(30))
    {
    }
    oProfiler.EndSession(false, false);
    const std::int64_t nTicks = oProfiler.m_nSessionStart - nStart;
    EXPECT_GT(nTicks, 0) << "the start becomes the end";
    EXPECT_LE(oProfiler.m_nSessionStart, System::ReadPerformanceCounter());

    const double dMilliseconds =
        static_cast<double>(nTicks) * 1000.0 / static_cast<double>(System::GetPerformanceFrequency());
    EXPECT_NEAR(oProfiler.m_dSessionDuration, dMilliseconds, dMilliseconds * 1e-9);
    EXPECT_GE(oProfiler.m_dSessionDuration, 29.0);
    EXPECT_LT(oProfiler.m_dSessionDuration, 20000.0);
}

TEST_F(VQProfiler, BeginsEachSessionAnew)
{
    CTestProfiler oProfiler;
    oProfiler.BeginSession("first");
    const sVQProfileRawSample* const pBuffer = oProfiler.GetRawSamples().data();
    Sample("region");
    oProfiler.EndSession(true, false);
    EXPECT_EQ(oProfiler.GetSampleCount(), 1);

    oProfiler.BeginSession("second");
    EXPECT_STREQ(oProfiler.m_oSessionName, "second");
    EXPECT_EQ(oProfiler.GetSampleCount(), 0);
    EXPECT_EQ(oProfiler.GetRawSamples().size(), 0U);
    EXPECT_EQ(oProfiler.GetRawSamples().data(), pBuffer) << "the buffer is used again";
    Sample("other");
    Sample("other");
    oProfiler.EndSession(true, false);
    ASSERT_EQ(oProfiler.GetSampleCount(), 1);
    EXPECT_STREQ(oProfiler.GetSample(0).m_aName, "other");
    EXPECT_EQ(oProfiler.GetSample(0).m_nSamples, 2);

    oProfiler.BeginSession("third");
    Sample("lost");
    oProfiler.BeginSession(nullptr);
    EXPECT_TRUE(oProfiler.m_oSessionName.IsEmpty());
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());
}

TEST_F(VQProfiler, LeavesTheHooksHarmlessAtItsEnd)
{
    auto pProfiler = std::make_unique<CVQProfiler>();
    pProfiler->BeginSession("session");
    Sample("region");
    pProfiler.reset();
    Sample("nobody listens");
    EXPECT_EQ(VQGetProfiler(), nullptr);

    const CVQProfiler oNext;
    EXPECT_TRUE(oNext.GetRawSamples().empty()) << "the buffer is gone";
}

TEST_F(VQProfiler, CopiesAllButTheRecords)
{
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    Sample("region");
    oProfiler.EndSession(true, false);
    {
        const CTestProfiler oCopy(oProfiler);
        EXPECT_EQ(VQGetProfiler(), &oProfiler);
        EXPECT_STREQ(oCopy.m_oSessionName, "session");
        ASSERT_EQ(oCopy.GetSampleCount(), 1);
        EXPECT_STREQ(oCopy.GetSample(0).m_aName, "region");
        EXPECT_EQ(oCopy.GetRawSamples().data(), oProfiler.GetRawSamples().data());
    }
    EXPECT_EQ(VQGetProfiler(), &oProfiler) << "a copy was never the one";
    EXPECT_EQ(oProfiler.GetSampleCount(), 1);

    CTestProfiler oOther;
    oOther = oProfiler;
    EXPECT_STREQ(oOther.m_oSessionName, "session");
    EXPECT_EQ(oOther.GetSampleCount(), 1);
}

TEST_F(VQProfiler, CountsFramesAndBeginsAtTheStartFrame)
{
    CTestProfiler oProfiler;
    for (int nCall = 1; nCall <= 10; ++nCall)
    {
        oProfiler.SessionByCount(10, 20, "frames");
        EXPECT_FALSE(oProfiler.m_bSessionActive) << "call " << nCall;
    }
    EXPECT_TRUE(g_aBeeps.empty());
    EXPECT_EQ(oProfiler.m_nFrame, 10);

    oProfiler.SessionByCount(10, 20, "frames");
    EXPECT_TRUE(oProfiler.m_bSessionActive) << "call 11";
    EXPECT_STREQ(oProfiler.m_oSessionName, "frames");
    EXPECT_EQ(g_aBeeps, std::vector<int>{0x20});
    EXPECT_EQ(oProfiler.m_nFrame, 11);

    for (int nCall = 12; nCall <= 20; ++nCall)
        oProfiler.SessionByCount(10, 20, "frames");
    EXPECT_TRUE(oProfiler.m_bSessionActive);
    EXPECT_EQ(oProfiler.m_nFrame, 20) << "the next call ends the program";
    EXPECT_EQ(g_aBeeps.size(), 1U);
}

TEST_F(VQProfiler, BeginsAndNeverEndsWhereBothFramesAreOne)
{
    CTestProfiler oProfiler;
    for (int nCall = 0; nCall < 6; ++nCall)
        oProfiler.SessionByCount(2, 2, "frames");
    EXPECT_TRUE(oProfiler.m_bSessionActive);
    EXPECT_EQ(oProfiler.m_nFrame, 6);
    EXPECT_EQ(g_aBeeps.size(), 1U);
}

TEST_F(VQProfiler, LeavesTheHooksDisabledWhenASessionCannotBegin)
{
    if (!CNoMemory::IsSupported())
        GTEST_SKIP() << "the library's memory cannot be made to fail here";

    CTestProfiler oProfiler;
    oProfiler.BeginSession("first");
    EXPECT_THROW(
        {
            const CNoMemory oNoMemory;
            oProfiler.BeginSession("second");
        },
        std::bad_alloc);
    EXPECT_FALSE(oProfiler.m_bSessionActive);
    const std::size_t nRecords = oProfiler.GetRawSamples().size();
    Sample("nobody reads this");
    EXPECT_EQ(oProfiler.GetRawSamples().size(), nRecords);

    oProfiler.BeginSession("third");
    EXPECT_TRUE(oProfiler.m_bSessionActive);
}

TEST_F(VQProfiler, EndsTheProgramAtTheEndFrame)
{
    const ChildResult oResult = RunChild("RunsThirtyFrames");
    EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "frame 20\n")) << oResult.sOutput;
    EXPECT_FALSE(Contains(oResult.sOutput, "frame 21\n")) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "the exit handlers run")) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "/VQProfiler.htm opened")) << oResult.sOutput;

    // Frames 11 to 20 lie in the session.
    const std::string sReport = m_oDirectory.Read("VQProfiler.htm");
    EXPECT_TRUE(Contains(sReport, "Session: frames&nbsp;")) << sReport;
    EXPECT_TRUE(Contains(sReport, "<td>10<br></td><td><span style=\"font-weight: bold;\">MainLoop</span>")) << sReport;
}

TEST(VQProfilerChild, DISABLED_RunsThirtyFrames)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::atexit([] { std::puts("the exit handlers run"); });
    HOOK_SetBeep(&NoteBeep);
    HOOK_SetOpenDocument(
        [](const char* pPath)
        {
            std::printf("%s opened\n", pPath);
            return true;
        });
    g_bVQProfilerEnabled = true;
    CVQProfiler oProfiler;
    for (int nFrame = 1; nFrame <= 30; ++nFrame)
    {
        oProfiler.SessionByCount(10, 20, "frames");
        const CVQProfileSample oFrame("MainLoop");
        std::printf("frame %d\n", nFrame);
    }
}

// ---- the buffer
// ------------------------------------------------------------------------------------------------------

TEST_F(VQProfiler, FillsItsBufferOnce)
{
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(oProfiler.GetRawSamples().data());
    const std::vector<unsigned char> aFill(0x10000, 0x21);

    // Behind the 2,000 records of the calibration nothing has been written yet.
    constexpr std::size_t CALIBRATED = 2000 * 16;
    ASSERT_EQ(std::memcmp(pBytes + CALIBRATED, aFill.data(), aFill.size() - CALIBRATED), 0);
    for (std::size_t nAt = aFill.size(); nAt < 0x3000000; nAt += aFill.size())
        ASSERT_EQ(std::memcmp(pBytes + nAt, aFill.data(), aFill.size()), 0) << nAt;

    for (int i = 0; i < 1010; ++i)
        Sample("region");
    const sVQProfileRawSample* const pBeyondCalibration = oProfiler.GetRawSamples().data() + 2010;
    EXPECT_STREQ(pBeyondCalibration->m_pName, "region");
    oProfiler.BeginSession("again");
    EXPECT_STREQ(pBeyondCalibration->m_pName, "region") << "later sessions do not fill it";
}

TEST_F(VQProfiler, WritesRecordsOf16Bytes)
{
    EXPECT_EQ(sizeof(sVQProfileRawSample), 16U);
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    oProfiler.Put("region", 0x1122334455667788);
    oProfiler.Put(nullptr, 0x8877665544332211);
    ASSERT_EQ(oProfiler.GetRawSamples().size(), 2U);

    unsigned char aBytes[32];
    std::memcpy(aBytes, oProfiler.GetRawSamples().data(), sizeof aBytes);
    const unsigned char aBegin[] = {0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11};
    EXPECT_EQ(std::memcmp(aBytes, aBegin, sizeof aBegin), 0) << "the low half first";
    const void* pName = nullptr;
    std::memcpy(&pName, aBytes + 8, sizeof pName);
    EXPECT_STREQ(static_cast<const char*>(pName), "region");
    std::memcpy(&pName, aBytes + 24, sizeof pName);
    EXPECT_EQ(pName, nullptr);
    if constexpr (sizeof(void*) == 4)
    {
        for (const std::size_t nByte : {12U, 13U, 14U, 15U, 28U, 29U, 30U, 31U})
            EXPECT_EQ(aBytes[nByte], 0x21) << "not written";
    }
}

TEST_F(VQProfiler, EndsTheProgramWithItsReportWhenTheBufferIsFull)
{
    const ChildResult oResult = RunChild("FillsTheBuffer");
    EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "the buffer is just full\n")) << "that is not beyond the end";
    EXPECT_TRUE(Contains(oResult.sOutput, "a begin does not look\n")) << oResult.sOutput;
    EXPECT_FALSE(Contains(oResult.sOutput, "not reached")) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "box: CVQProfiler Sample buffer is full.")) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "/VQProfiler.htm opened")) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "the exit handlers run")) << oResult.sOutput;

    const std::string sLog = m_oDirectory.Read("Zembrolia.log");
    EXPECT_TRUE(Contains(sLog, " | Common/Profile/VQProfiler | 95 | CVQProfiler Sample buffer is full.\r\n")) << sLog;
    EXPECT_TRUE(Contains(sLog, " | Zembrolia | ")) << sLog;

    const std::string sReport = m_oDirectory.Read("VQProfiler.htm");
    EXPECT_TRUE(Contains(sReport, "Raw Size:  48.00MB<br>")) << sReport;
    EXPECT_TRUE(Contains(sReport, "<td>1572865<br></td><td><span style=\"font-weight: bold;\">region</span>"))
        << sReport;
}

TEST(VQProfilerChild, DISABLED_FillsTheBuffer)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::atexit([] { std::puts("the exit handlers run"); });
    HOOK_SetMessageBox(
        [](const char* pText, const char*, eMessageBoxKind)
        {
            std::printf("box: %s\n", pText);
            g_pFnBeginSample("a box may have brackets of its own");
            g_pFnEndSample();
            return mbaOk;
        });
    HOOK_SetOpenDocument(
        [](const char* pPath)
        {
            std::printf("%s opened\n", pPath);
            return true;
        });
    g_bVQProfilerEnabled = true;
    CVQProfiler oProfiler;
    oProfiler.BeginSession("full");
    for (std::size_t i = 0; i < BUFFER_RECORDS / 2; ++i)
    {
        g_pFnBeginSample("region");
        g_pFnEndSample();
    }
    EXPECT_EQ(oProfiler.GetRawSamples().size(), BUFFER_RECORDS);
    std::puts("the buffer is just full");
    g_pFnBeginSample("region");
    std::puts("a begin does not look");
    g_pFnEndSample();
    std::puts("not reached");
}

TEST_F(VQProfiler, HasRoomForBeginsBehindItsBufferAndThenAGuard)
{
    const ChildResult oRoom = RunChild("BeginsUpToTheGuard");
    EXPECT_EQ(oRoom.nExitCode, 0) << oRoom.sOutput;
    EXPECT_TRUE(Contains(oRoom.sOutput, "all begins have room")) << oRoom.sOutput;

    const ChildResult oBeyond = RunChild("BeginsIntoTheGuard");
    EXPECT_TRUE(Contains(oBeyond.sOutput, "all begins have room")) << oBeyond.sOutput;
    EXPECT_FALSE(Contains(oBeyond.sOutput, "written into the guard")) << oBeyond.sOutput;
    EXPECT_NE(oBeyond.nExitCode, 0);
    EXPECT_FALSE(oBeyond.bTimedOut);
}

namespace
{
void BeginUpToTheGuard()
{
    g_bVQProfilerEnabled = true;
    for (std::size_t i = 0; i < BUFFER_RECORDS + RESERVE_RECORDS; ++i)
        g_pFnBeginSample("open");
    std::puts("all begins have room");
}
} // namespace

TEST(VQProfilerChild, DISABLED_BeginsUpToTheGuard)
{
    g_bVQProfilerEnabled = true;
    CVQProfiler oProfiler;
    oProfiler.BeginSession("unbalanced");
    BeginUpToTheGuard();
    EXPECT_EQ(oProfiler.GetRawSamples().size(), BUFFER_RECORDS + RESERVE_RECORDS);
    oProfiler.EndSession(true, false);
    EXPECT_EQ(oProfiler.GetSampleCount(), 0);
}

TEST(VQProfilerChild, DISABLED_BeginsIntoTheGuard)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    g_bVQProfilerEnabled = true;
    CVQProfiler oProfiler;
    oProfiler.BeginSession("unbalanced");
    BeginUpToTheGuard();
    g_pFnBeginSample("too many");
    std::puts("written into the guard");
}

// ---- the hooks
// -------------------------------------------------------------------------------------------------------

TEST_F(VQProfiler, LeavesEveryRegisterOfTheCallerAsItWas)
{
    if (HAS_SANITIZER)
        GTEST_SKIP() << "the calls that a sanitizer puts in use registers of their own";

    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    static const char* const s_pName = "region";
    const std::string sBegin = FindChangedRegisters(reinterpret_cast<void (*)()>(g_pFnBeginSample), s_pName);
    if (sBegin == "?")
        GTEST_SKIP() << "the recording routines are ordinary functions on this processor";
    EXPECT_EQ(sBegin, "");
    EXPECT_EQ(FindChangedRegisters(g_pFnEndSample, nullptr), "");

    const auto oRecords = oProfiler.GetRawSamples();
    ASSERT_EQ(oRecords.size(), 2U);
    EXPECT_EQ(oRecords[0].m_pName, s_pName);
    EXPECT_EQ(oRecords[1].m_pName, nullptr);

    const auto Ordinary = []
    {
        static volatile double s_dNumber = 2.0;
        s_dNumber = std::sqrt(s_dNumber) * 3.0;
    };
    EXPECT_NE(FindChangedRegisters(Ordinary, nullptr), "") << "the probe sees what ordinary functions change";
}

TEST_F(VQProfiler, EndsARegionWhicheverWayItsScopeIsLeft)
{
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    const auto ThrowInside = []
    {
        const CVQProfileSample oSample("thrown");
        throw std::runtime_error("out");
    };
    const auto ReturnInside = [](bool bReturn)
    {
        const CVQProfileSample oOuter("outer");
        const CVQProfileSample oInner("inner");
        if (bReturn)
            return 1;
        return 2;
    };
    EXPECT_THROW(ThrowInside(), std::runtime_error);
    EXPECT_EQ(ReturnInside(true), 1);
    oProfiler.CollectSampleTimes(false);

    int nDepth = 0;
    for (const sVQProfileRawSample& oRecord : oProfiler.GetRawSamples())
        nDepth += oRecord.m_pName != nullptr ? 1 : -1;
    EXPECT_EQ(nDepth, 0);
    EXPECT_EQ(oProfiler.GetSampleIndexByName("thrown"), 0);
    EXPECT_EQ(oProfiler.GetSampleIndexByName("inner"), 1);
    EXPECT_EQ(oProfiler.GetSampleIndexByName("outer"), 2);
    EXPECT_FALSE(std::is_copy_constructible_v<CVQProfileSample>);
}

TEST_F(VQProfiler, TakesABeginWithoutANameForAnEnd)
{
    CTestProfiler oProfiler;
    oProfiler.BeginSession("session");
    g_pFnBeginSample("region");
    g_pFnBeginSample(nullptr);
    g_pFnEndSample();
    g_pFnBeginSample(nullptr);
    oProfiler.EndSession(true, false);
    ASSERT_EQ(oProfiler.GetRawSamples().size(), 4U);
    ASSERT_EQ(oProfiler.GetSampleCount(), 1);
    EXPECT_STREQ(oProfiler.GetSample(0).m_aName, "region");
    EXPECT_EQ(oProfiler.GetSample(0).m_nSamples, 1);
}

TEST_F(VQProfiler, SwitchesTheHooks)
{
    CTestProfiler oProfiler;
    const VQBeginSampleFn pNothing = g_pFnBeginSample;
    const VQEndSampleFn pEndNothing = g_pFnEndSample;
    oProfiler.Initialize();
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());
    oProfiler.EnableSampling();
    EXPECT_NE(g_pFnBeginSample, pNothing);
    EXPECT_NE(g_pFnEndSample, pEndNothing);
    Sample("region");
    EXPECT_EQ(oProfiler.GetRawSamples().size(), 2U);
    oProfiler.DisableSampling();
    EXPECT_EQ(g_pFnBeginSample, pNothing);
    EXPECT_EQ(g_pFnEndSample, pEndNothing);
    Sample("region");
    EXPECT_EQ(oProfiler.GetRawSamples().size(), 2U);
}

// ---- calibration
// -----------------------------------------------------------------------------------------------------

TEST_F(VQProfiler, CalibratesWithoutATrace)
{
    CTestProfiler oProfiler;
    oProfiler.EnableSampling();
    oProfiler.Initialize();
    EXPECT_EQ(oProfiler.GetSampleCount(), 0);
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());

    // What 1,000 pairs left in the buffer gives the overhead once more.
    const sVQProfileRawSample* const pRecords = oProfiler.GetRawSamples().data();
    std::int64_t nTotal = 0;
    for (int i = 0; i < 2000; i += 2)
    {
        EXPECT_STREQ(pRecords[i].m_pName, "Calibration");
        EXPECT_EQ(pRecords[i + 1].m_pName, nullptr);
        nTotal += static_cast<std::int64_t>(pRecords[i + 1].m_nCounter - pRecords[i].m_nCounter);
    }
    EXPECT_EQ(oProfiler.m_nSampleOverhead, nTotal / 1000);
    EXPECT_GE(oProfiler.m_nSampleOverhead, 0);
    const std::vector<unsigned char> aFill(16, 0x21);
    EXPECT_EQ(std::memcmp(pRecords + 2000, aFill.data(), aFill.size()), 0) << "1,000 and no more";

    oProfiler.m_oSamples.emplace_back("left behind");
    oProfiler.m_oSamples.clear();
    oProfiler.m_nSampleOverhead = 1000000;
    Sample("left behind");
    oProfiler.CalibrateSampleOverhead();
    EXPECT_LT(oProfiler.m_nSampleOverhead, 1000000) << "measured without the old overhead";
    EXPECT_EQ(oProfiler.GetSampleCount(), 0);
    EXPECT_TRUE(oProfiler.GetRawSamples().empty());
}

TEST_F(VQProfiler, MeasuresTheRateOfTheCycleCounter)
{
    if (!System::IsCycleCounterConstant())
        GTEST_SKIP() << "the cycle counter of this machine has no constant rate";

    CTestProfiler oProfiler;
    const auto MeasureRate = []
    {
        const auto oStart = Clock::now();
        const std::uint64_t nStart = System::ReadCycleCounter();
        while (Clock::now() - oStart < std::chrono::milliseconds(40))
        {
        }
        const std::uint64_t nCycles = System::ReadCycleCounter() - nStart;
        return static_cast<double>(nCycles) / std::chrono::duration<double>(Clock::now() - oStart).count();
    };

    // A thread that loses the processor between two readings measures wrong: it may try again.
    bool bEqual = false;
    for (int i = 0; i < 10 && !bEqual; ++i)
    {
        const auto oStart = Clock::now();
        const double dRatio = oProfiler.GetCPUClockspeed() / MeasureRate();
        EXPECT_GE(Clock::now() - oStart, std::chrono::milliseconds(120)) << "100 of its own, and 40 of the other";
        bEqual = dRatio > 0.98 && dRatio < 1.02;
    }
    EXPECT_TRUE(bEqual);

    oProfiler.BeginSession("session");
    EXPECT_GT(oProfiler.m_dClockSpeed, 1e6);
}

TEST_F(VQProfiler, TurnsCyclesIntoMilliseconds)
{
    CTestProfiler oProfiler;
    oProfiler.m_dClockSpeed = 2.5e9;

    struct
    {
        CVQProfiler::qWord nCycles;
        double dMilliseconds;
    } const aCases[] = {
        {0, 0.0}, {2500000, 1.0}, {1250000000, 500.0}, {1, 4e-7}, {static_cast<CVQProfiler::qWord>(-2500000), -1.0}};

    for (auto [nCycles, dMilliseconds] : aCases)
        EXPECT_DOUBLE_EQ(oProfiler.CyclesToMs(nCycles), dMilliseconds) << nCycles;
}

TEST_F(VQProfiler, TellsTheKindsOfRecords)
{
    struct
    {
        const char* pName;
        bool bStart;
        bool bMainLoop;
    } const aCases[] = {
        {nullptr, false, false},   {"region", true, false},   {"", true, false},          {"MainLoop", true, true},
        {"mainloop", true, false}, {"MAINLOOP", true, false}, {"MainLoop2", true, false}, {"MainLoo", true, false},
    };

    CTestProfiler oProfiler;
    for (const auto& [pName, bStart, bMainLoop] : aCases)
    {
        sVQProfileRawSample oRecord = {1, pName};
        EXPECT_EQ(oProfiler.IsStartSample(&oRecord), bStart);
        EXPECT_EQ(oProfiler.IsEndSample(&oRecord), !bStart);
        EXPECT_EQ(oProfiler.IsMainLoopStartSample(&oRecord), bMainLoop);
    }
}

TEST(IsolatedVQProfiler, WarnsOnceOfACycleCounterWithoutAConstantRate)
{
    const CTestDirectory oDirectory;
    g_sDebugger.clear();
    HOOK_SetDebuggerOutput(&NoteDebugger);
    g_bVQProfilerEnabled = true;
    CVQProfiler oProfiler;
    oProfiler.BeginSession("first");
    oProfiler.BeginSession("second");
    HOOK_SetDebuggerOutput(nullptr);

    if (System::IsCycleCounterConstant())
    {
        EXPECT_EQ(g_sDebugger, "");
        EXPECT_FALSE(oDirectory.Has("Zembrolia.log"));
        return;
    }
    EXPECT_EQ(g_sDebugger, "The processor's cycle counter has no constant rate. Times of the profiler may be wrong.\n");
    const std::string sLog = oDirectory.Read("Zembrolia.log");
    EXPECT_TRUE(Contains(sLog, "has no constant rate")) << sLog;
    EXPECT_EQ(sLog.find("\r\n"), sLog.size() - 2) << "one line";
}

// ---- CVQProfilerStatus
// -----------------------------------------------------------------------------------------------

TEST_F(VQProfiler, RunsASessionForTheLifeOfAStatus)
{
    g_bVQProfilerEnabled = false;
    CTestProfiler oProfiler;
    {
        const CVQProfilerStatus oStatus;
        EXPECT_TRUE(g_bVQProfilerEnabled);
        EXPECT_TRUE(oProfiler.m_bSessionActive);
        EXPECT_STREQ(oProfiler.m_oSessionName, "VQProfiler unnamed Session");
        Sample("region");
        EXPECT_FALSE(m_oDirectory.Has("VQProfiler.htm"));
    }
    EXPECT_TRUE(g_bVQProfilerEnabled);
    EXPECT_FALSE(oProfiler.m_bSessionActive);
    EXPECT_EQ(oProfiler.GetSampleCount(), 1);
    EXPECT_TRUE(Contains(m_oDirectory.Read("VQProfiler.htm"), "Session: VQProfiler unnamed Session&nbsp;"));
    EXPECT_EQ(g_aOpened.size(), 1U);
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQProfilerStatus>);
}

TEST_F(VQProfiler, BeginsAndEndsNothingByACopyOfAStatus)
{
    CTestProfiler oProfiler;
    auto pStatus = std::make_unique<CVQProfilerStatus>();
    Sample("region");
    auto pCopy = std::make_unique<CVQProfilerStatus>(*pStatus);
    *pCopy = *pStatus;
    EXPECT_EQ(oProfiler.GetRawSamples().size(), 2U) << "no session has begun";
    EXPECT_TRUE(oProfiler.m_bSessionActive) << "and none has ended";
    pStatus.reset();
    EXPECT_EQ(g_aOpened.size(), 1U);
    pCopy.reset();
    EXPECT_EQ(g_aOpened.size(), 1U) << "it was over";
}

TEST_F(VQProfiler, OnlySetsTheSwitchByAStatusWithoutAProfiler)
{
    g_bVQProfilerEnabled = false;
    {
        const CVQProfilerStatus oStatus;
        EXPECT_TRUE(g_bVQProfilerEnabled);
        Sample("nobody listens");
    }
    EXPECT_TRUE(g_bVQProfilerEnabled);
    EXPECT_FALSE(m_oDirectory.Has("VQProfiler.htm"));
}
