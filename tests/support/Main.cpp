// The test runner. Tests of suites whose names begin with "Isolated" touch what a process never clears: each of them
// runs in a fresh process of this program. Everything else runs here.
//
//     CommonTests [--gtest_filter=...] [any other option of GoogleTest]
//     CommonTests --in-process ...      everything that the filter names runs in this process, as under a debugger

#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr auto ISOLATED_FILTER = "Isolated*:*/Isolated*";
constexpr auto SKIPPED_MARK = "SKIPPED ";
constexpr std::chrono::seconds ISOLATED_LIMIT{180};

struct Totals
{
    int nPassed = 0;
    int nFailed = 0;
    std::vector<std::string> oFailed;  // names
    std::vector<std::string> oSkipped; // "name: reason"
};

bool Matches(std::string_view sPattern, std::string_view sName)
{
    if (sPattern.empty())
        return sName.empty();
    if (sPattern[0] == '*')
        return Matches(sPattern.substr(1), sName) || (!sName.empty() && Matches(sPattern, sName.substr(1)));
    return !sName.empty() && (sPattern[0] == '?' || sPattern[0] == sName[0]) &&
           Matches(sPattern.substr(1), sName.substr(1));
}

bool MatchesAny(const std::string& sPatterns, std::string_view sName)
{
    std::istringstream oPatterns(sPatterns);
    for (std::string sPattern; std::getline(oPatterns, sPattern, ':');)
        if (Matches(sPattern, sName))
            return true;
    return false;
}

/// A filter of GoogleTest: patterns, then after a '-' those to leave out.
struct Filter
{
    explicit Filter(const std::string& sFilter)
    {
        const auto nDash = sFilter.find('-');
        sWanted = sFilter.substr(0, nDash);
        if (nDash != std::string::npos)
            sUnwanted = sFilter.substr(nDash + 1);
        if (sWanted.empty())
            sWanted = "*";
    }

    bool Takes(std::string_view sName) const { return MatchesAny(sWanted, sName) && !MatchesAny(sUnwanted, sName); }

    std::string WithoutIsolated() const
    {
        return sWanted + "-" + (sUnwanted.empty() ? "" : sUnwanted + ":") + ISOLATED_FILTER;
    }

    std::string sWanted;
    std::string sUnwanted;
};

std::string NameOf(const testing::TestInfo& oTest)
{
    return std::string(oTest.test_suite_name()) + "." + oTest.name();
}

template <class Function>
void ForEachTest(Function oFunction)
{
    const auto& oUnitTest = *testing::UnitTest::GetInstance();
    for (int i = 0; i < oUnitTest.total_test_suite_count(); ++i)
        for (int j = 0; j < oUnitTest.GetTestSuite(i)->total_test_count(); ++j)
            oFunction(*oUnitTest.GetTestSuite(i)->GetTestInfo(j));
}

/// The reason that a test gave for not running, on one line.
std::string ReasonOf(const testing::TestInfo& oTest)
{
    std::string sReason;
    for (int i = 0; i < oTest.result()->total_part_count(); ++i)
        if (oTest.result()->GetTestPartResult(i).skipped())
            sReason += oTest.result()->GetTestPartResult(i).message();
    for (char& c : sReason)
        if (c == '\n')
            c = ' ';
    const auto nEnd = sReason.find_last_not_of(' ');
    return nEnd == std::string::npos ? "no reason given" : sReason.substr(0, nEnd + 1);
}

void RunHere(const std::string& sFilter, Totals& oTotals)
{
    testing::GTEST_FLAG(filter) = sFilter;
    const int nResult = RUN_ALL_TESTS();

    ForEachTest(
        [&](const testing::TestInfo& oTest)
        {
            if (!oTest.should_run())
                return;
            if (oTest.result()->Failed())
            {
                ++oTotals.nFailed;
                oTotals.oFailed.push_back(NameOf(oTest));
            }
            else if (oTest.result()->Skipped())
                oTotals.oSkipped.push_back(NameOf(oTest) + ": " + ReasonOf(oTest));
            else
                ++oTotals.nPassed;
        });

    if (nResult != 0 && oTotals.nFailed == 0)
    {
        ++oTotals.nFailed;
        oTotals.oFailed.emplace_back("(outside of the tests, as in a suite's set-up)");
    }
}

void RunInFreshProcess(const std::string& sName, Totals& oTotals)
{
    ChildProcess oChild({ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests", "--gtest_filter=" + sName});
    const auto oResult = oChild.Wait(ISOLATED_LIMIT);

    std::string sLast;
    std::string sSkipped;
    std::istringstream oLines(oResult.sOutput);
    for (std::string sLine; std::getline(oLines, sLine);)
    {
        if (!sLine.empty() && sLine.back() == '\r')
            sLine.pop_back();
        if (sLine.rfind(SKIPPED_MARK, 0) == 0)
            sSkipped = sLine.substr(std::strlen(SKIPPED_MARK));
        sLast = sLine;
    }

    if (oResult.nExitCode == 0 && sLast == "1 passed, 0 failed, 0 skipped")
        ++oTotals.nPassed;
    else if (oResult.nExitCode == 0 && sLast == "0 passed, 0 failed, 1 skipped" && !sSkipped.empty())
        oTotals.oSkipped.push_back(sSkipped);
    else
    {
        ++oTotals.nFailed;
        oTotals.oFailed.push_back(sName);
        std::printf("%s, in a process of its own, %s %d:\n%s\n", sName.c_str(),
                    oResult.bTimedOut ? "ran out of time and was ended with" : "ended with", oResult.nExitCode,
                    oResult.sOutput.c_str());
    }
}

/// Runs every isolated test that the filter takes, one process after the other.
void RunIsolated(const Filter& oFilter, Totals& oTotals)
{
    std::vector<std::string> oNames;
    ForEachTest(
        [&](const testing::TestInfo& oTest)
        {
            const auto sName = NameOf(oTest);
            const bool bDisabled = MatchesAny("DISABLED_*:*.DISABLED_*:*/DISABLED_*", sName);
            if (MatchesAny(ISOLATED_FILTER, sName) && oFilter.Takes(sName) &&
                (!bDisabled || testing::GTEST_FLAG(also_run_disabled_tests)))
                oNames.push_back(sName);
        });

    for (const auto& sName : oNames)
        RunInFreshProcess(sName, oTotals);
}

int Report(const Totals& oTotals)
{
    for (const auto& sSkipped : oTotals.oSkipped)
        std::printf("%s%s\n", SKIPPED_MARK, sSkipped.c_str());
    for (const auto& sFailed : oTotals.oFailed)
        std::printf("FAILED %s\n", sFailed.c_str());
    std::printf("%d passed, %d failed, %zu skipped\n", oTotals.nPassed, oTotals.nFailed, oTotals.oSkipped.size());

    const bool bNothingRan = oTotals.nPassed == 0 && oTotals.nFailed == 0 && oTotals.oSkipped.empty();
    return oTotals.nFailed != 0 || bNothingRan ? 1 : 0;
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    testing::InitGoogleTest(&nArguments, ppArguments);
    const bool bInProcess = nArguments == 2 && std::strcmp(ppArguments[1], "--in-process") == 0;
    if (nArguments > 1 && !bInProcess)
    {
        std::fprintf(stderr, "CommonTests: unknown option %s\n", ppArguments[1]);
        return 2;
    }
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();

    const Filter oFilter(testing::GTEST_FLAG(filter));
    Totals oTotals;
    if (bInProcess)
        RunHere(testing::GTEST_FLAG(filter), oTotals);
    else
    {
        RunHere(oFilter.WithoutIsolated(), oTotals);
        RunIsolated(oFilter, oTotals);
    }
    return Report(oTotals);
}
