// The report as a browser shows it.

#include <tests/support/ChildProcess.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
// The name of an installed browser; empty when there is none.
std::string FindBrowser()
{
    for (const char* pName : {"chromium", "chromium-browser", "google-chrome"})
    {
        if (ChildProcess({pName, "--version"}).Wait().nExitCode == 0)
            return pName;
    }
    return std::string();
}

// The page as the browser has understood it, written out as a document.
std::string LoadInBrowser(const std::string& sBrowser, const std::string& sFile, const std::string& sProfile)
{
    return ChildProcess({sBrowser, "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--no-first-run", "--user-data-dir=" + sProfile, "--dump-dom", "file://" + sFile})
        .Wait(std::chrono::seconds(120))
        .sOutput;
}

// The texts between a pair of tags, in their order, without the tags inside them.
std::vector<std::string> TextsOf(const std::string& sDocument, const std::string& sTag)
{
    std::vector<std::string> aTexts;
    const std::string sEnd = "</" + sTag + ">";
    for (std::size_t nAt = 0; (nAt = sDocument.find("<" + sTag, nAt)) != std::string::npos;)
    {
        const std::size_t nBegin = sDocument.find('>', nAt) + 1;
        nAt = sDocument.find(sEnd, nBegin);
        if (nAt == std::string::npos)
            break;
        std::string sText;
        bool bTag = false;
        for (const char cByte : sDocument.substr(nBegin, nAt - nBegin))
        {
            if (cByte == '<')
                bTag = true;
            else if (cByte == '>')
                bTag = false;
            else if (!bTag)
                sText += cByte;
        }
        aTexts.push_back(sText);
    }
    return aTexts;
}
} // namespace

TEST(ReportInBrowser, HasFiveColumnsAndSortedRows)
{
    const std::string sBrowser = FindBrowser();
    if (sBrowser.empty())
        GTEST_SKIP() << "no browser is installed (chromium)";

    // The profile lies beside the report; without it the browser would use that of the user.
    const CTestDirectory oDirectory;
    oDirectory.Write("VQProfiler.htm", ReadWholeFile(GetGoldenPath("VQProfiler.htm")));
    const std::string sPage =
        LoadInBrowser(sBrowser, oDirectory.PathOf("VQProfiler.htm"), oDirectory.PathOf("profile"));

    EXPECT_EQ(TextsOf(sPage, "title"), std::vector<std::string>{"\nVQProfiler Log\n"}) << sPage;
    // "<b>" in a name is a mark of the page: names stand there as they are.
    const std::vector<std::string> aCells = {
        "Percentage", "Avg time",   "Total time", "Samples", "Name",       //
        "100.00 %",   "20.0000 ms", "40.0000 ms", "2",       "MainLoop",   //
        "62.50 %",    "25.0000 ms", "25.0000 ms", "1",       "World",      //
        "7.50 %",     "1.0000 ms",  "3.0000 ms",  "3",       "Draw 100% ", //
        "0.00 %",     "0.0000 ms",  "0.0000 ms",  "32761",   "Tick",       //
        "0.00 %",     "0.0000 ms",  "0.0000 ms",  "1",       "Idle",
    };
    EXPECT_EQ(TextsOf(sPage, "td"), aCells) << sPage;
    EXPECT_EQ(TextsOf(sPage, "tr").size(), 6U);
    EXPECT_NE(sPage.find("CpuSpeed:&nbsp; 1000.00mHz"), std::string::npos);
    EXPECT_NE(sPage.find("Session: Level 3, 100%s"), std::string::npos);
}
