#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>

namespace
{
ChildProcess Runner(const std::string& sFilter)
{
    return ChildProcess({ThisProgram(), "--gtest_also_run_disabled_tests", "--gtest_filter=" + sFilter});
}

std::string LastLineOf(const std::string& sText)
{
    const auto nEnd = sText.find_last_not_of("\r\n");
    if (nEnd == std::string::npos)
        return "";
    const auto nStart = sText.find_last_of('\n', nEnd) + 1; // 0 when there is one line only
    return sText.substr(nStart, nEnd + 1 - nStart);
}

bool Holds(const std::string& sText, const std::string& sPart)
{
    return sText.find(sPart) != std::string::npos;
}

int g_nSamplesOfThisProcess = 0;
} // namespace

// What the runner is shown below: none of these runs of itself.

TEST(RunnerSample, DISABLED_Passes)
{
    EXPECT_EQ(++g_nSamplesOfThisProcess, 1);
}

TEST(RunnerSample, DISABLED_Fails)
{
    FAIL() << "fails on purpose";
}

TEST(RunnerSample, DISABLED_Skips)
{
    GTEST_SKIP() << "skips on purpose";
}

TEST(RunnerSample, DISABLED_Hangs)
{
    std::promise<void>().get_future().wait_until(std::chrono::steady_clock::time_point::max());
}

TEST(IsolatedRunnerSample, DISABLED_CountsFirst)
{
    EXPECT_EQ(++g_nSamplesOfThisProcess, 1);
}

TEST(IsolatedRunnerSample, DISABLED_CountsSecond)
{
    EXPECT_EQ(++g_nSamplesOfThisProcess, 1);
}

TEST(IsolatedRunnerSample, DISABLED_Fails)
{
    FAIL() << "fails alone on purpose";
}

TEST(IsolatedRunnerSample, DISABLED_LeavesTheProcess)
{
    std::_Exit(0);
}

TEST(IsolatedRunnerSample, DISABLED_Skips)
{
    GTEST_SKIP() << "skips alone on purpose";
}

TEST(Runner, CountsWhatPassedFailedAndWasSkipped)
{
    const auto oResult = Runner("RunnerSample.*-*Hangs").Wait();
    EXPECT_NE(oResult.nExitCode, 0);
    EXPECT_EQ(LastLineOf(oResult.sOutput), "1 passed, 1 failed, 1 skipped");
    EXPECT_TRUE(Holds(oResult.sOutput, "FAILED RunnerSample.DISABLED_Fails"));
    EXPECT_TRUE(Holds(oResult.sOutput, "SKIPPED RunnerSample.DISABLED_Skips: skips on purpose"));
}

TEST(Runner, FailsWhenNoTestRan)
{
    const auto oResult = Runner("Nothing.IsCalledThis").Wait();
    EXPECT_EQ(oResult.nExitCode, 1);
    EXPECT_EQ(LastLineOf(oResult.sOutput), "0 passed, 0 failed, 0 skipped");
}

TEST(Runner, GivesEachIsolatedTestAProcessOfItsOwn)
{
    const auto oResult = Runner("*RunnerSample.*Passes:*RunnerSample.*Counts*").Wait();
    EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
    EXPECT_EQ(LastLineOf(oResult.sOutput), "3 passed, 0 failed, 0 skipped");
}

TEST(Runner, ShowsWhyAnIsolatedTestFailed)
{
    const auto oResult = Runner("IsolatedRunnerSample.DISABLED_Fails:IsolatedRunnerSample.DISABLED_Skips").Wait();
    EXPECT_EQ(oResult.nExitCode, 1);
    EXPECT_EQ(LastLineOf(oResult.sOutput), "0 passed, 1 failed, 1 skipped");
    EXPECT_TRUE(Holds(oResult.sOutput, "fails alone on purpose"));
    EXPECT_TRUE(Holds(oResult.sOutput, "FAILED IsolatedRunnerSample.DISABLED_Fails"));
    EXPECT_TRUE(Holds(oResult.sOutput, "SKIPPED IsolatedRunnerSample.DISABLED_Skips: skips alone on purpose"));
}

TEST(Runner, NoticesAnIsolatedTestThatLeavesTheProcess)
{
    const auto oResult = Runner("IsolatedRunnerSample.DISABLED_LeavesTheProcess").Wait();
    EXPECT_EQ(oResult.nExitCode, 1);
    EXPECT_EQ(LastLineOf(oResult.sOutput), "0 passed, 1 failed, 0 skipped");
}

TEST(Runner, LeavesDisabledTestsAloneUnlessToldOtherwise)
{
    const auto oResult = ChildProcess({ThisProgram(), "--gtest_filter=*RunnerSample.*"}).Wait();
    EXPECT_EQ(LastLineOf(oResult.sOutput), "0 passed, 0 failed, 0 skipped");
}

TEST(Runner, RefusesAnUnknownOption)
{
    EXPECT_EQ(ChildProcess({ThisProgram(), "--no-such-option"}).Wait().nExitCode, 2);
}

TEST(ChildProcess, IsEndedWhenItsTimeRunsOut)
{
    ChildProcess oChild = Runner("RunnerSample.DISABLED_Hangs");
    EXPECT_NE(oChild.Id(), 0U);
    const auto oResult = oChild.Wait(std::chrono::seconds(0));
    EXPECT_TRUE(oResult.bTimedOut);
    EXPECT_NE(oResult.nExitCode, 0);
}

TEST(ChildProcess, OfAMissingProgramTellsFailure)
{
    ChildProcess oChild({"no-such-program-anywhere"});
    EXPECT_EQ(oChild.Id(), 0U);
    EXPECT_EQ(oChild.Wait().nExitCode, -1);
}
