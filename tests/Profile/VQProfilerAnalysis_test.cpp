#include <Common/Profile/StlList.h>
#include <Common/Profile/VQProfileAnalysedSample.h>

#include <Common/Platform/PlatformHooks.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestLocale.h>
#include <tests/support/TestPaths.h>
#include <tests/support/TestProfiler.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{
std::vector<std::string> g_aOpened;
std::vector<std::string> g_aBoxes;

bool NoteDocument(const char* pPath)
{
    g_aOpened.emplace_back(pPath);
    return true;
}

eMessageBoxAnswer NoteBox(const char* pText, const char* pCaption, eMessageBoxKind nKind)
{
    g_aBoxes.push_back(std::string(pCaption) + ": " + pText + (nKind == mbkInformation ? " [OK]" : " [?]"));
    return mbaOk;
}

bool Contains(const std::string& sText, const std::string& sPart)
{
    return sText.find(sPart) != std::string::npos;
}

// One profiler for all tests here: its buffer is taken once.
class VQProfilerAnalysis : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pProfiler = new CTestProfiler;
        s_pProfiler->EnableSampling();
        s_pProfiler->Initialize();
    }

    static void TearDownTestSuite()
    {
        delete s_pProfiler;
        s_pProfiler = nullptr;
    }

    void SetUp() override
    {
        g_aOpened.clear();
        g_aBoxes.clear();
        HOOK_SetOpenDocument(&NoteDocument);
        HOOK_SetMessageBox(&NoteBox);
        m_oProfiler.Clear();
        m_oProfiler.m_oSessionName.Empty();
        m_oProfiler.m_dSessionDuration = 0.0;
    }

    void TearDown() override
    {
        HOOK_SetOpenDocument(nullptr);
        HOOK_SetMessageBox(nullptr);
    }

    // Writes records of a text: "name@counter" begins, "@counter" ends.
    void Put(const std::string& sRecords)
    {
        std::istringstream oRecords(sRecords);
        for (std::string sRecord; oRecords >> sRecord;)
        {
            const std::size_t nAt = sRecord.find('@');
            const auto nCounter = static_cast<std::uint64_t>(std::stoull(sRecord.substr(nAt + 1)));
            m_oProfiler.Put(nAt == 0 ? nullptr : Keep(sRecord.substr(0, nAt)), nCounter);
        }
    }

    // A text that lives as long as the program, at an address of its own.
    static const char* Keep(const std::string& sText)
    {
        static std::vector<std::unique_ptr<std::string>> s_aTexts;
        s_aTexts.push_back(std::make_unique<std::string>(sText));
        return s_aTexts.back()->c_str();
    }

    static CTestProfiler* s_pProfiler;
    CTestProfiler& m_oProfiler = *s_pProfiler;
    CTestDirectory m_oDirectory;
};

CTestProfiler* VQProfilerAnalysis::s_pProfiler = nullptr;
} // namespace

// ---- the entries
// -----------------------------------------------------------------------------------------------------

TEST(VQProfileAnalysedSample, IsZeroButForItsName)
{
    const sVQProfileAnalysedSample oNameless;
    const sVQProfileAnalysedSample oNamed("region");
    EXPECT_STREQ(oNamed.m_aName, "region");
    for (const sVQProfileAnalysedSample* pSample : {&oNameless, &oNamed})
    {
        EXPECT_EQ(pSample->m_nTotalCycles, 0);
        EXPECT_EQ(pSample->m_fPercentage, 0.0F);
        EXPECT_EQ(pSample->m_nSamples, 0);
        EXPECT_EQ(pSample->m_dTotalTime, 0.0);
        EXPECT_EQ(pSample->m_dAverageTime, 0.0);
    }
}

TEST(VQProfileAnalysedSample, ComparesNamesExactly)
{
    sVQProfileAnalysedSample oFirst("region");
    oFirst.m_nTotalCycles = 5;
    EXPECT_TRUE(oFirst == sVQProfileAnalysedSample("region"));
    EXPECT_FALSE(oFirst == sVQProfileAnalysedSample("Region"));
    EXPECT_FALSE(oFirst == sVQProfileAnalysedSample("region2"));
    EXPECT_FALSE(oFirst == sVQProfileAnalysedSample("regio"));
}

TEST(VQProfileAnalysedSample, IsAssignedWhole)
{
    sVQProfileAnalysedSample oFirst("region");
    oFirst.m_nTotalCycles = 1;
    oFirst.m_fPercentage = 2.0F;
    oFirst.m_nSamples = 3;
    oFirst.m_dTotalTime = 4.0;
    oFirst.m_dAverageTime = 5.0;
    sVQProfileAnalysedSample oSecond("other");
    oSecond = oFirst;
    EXPECT_STREQ(oSecond.m_aName, "region");
    EXPECT_EQ(oSecond.m_nTotalCycles, 1);
    EXPECT_EQ(oSecond.m_fPercentage, 2.0F);
    EXPECT_EQ(oSecond.m_nSamples, 3);
    EXPECT_EQ(oSecond.m_dTotalTime, 4.0);
    EXPECT_EQ(oSecond.m_dAverageTime, 5.0);
}

TEST(VQProfileAnalysedSample, CutsLongNames)
{
    EXPECT_STREQ(sVQProfileAnalysedSample(std::string(255, 'n').c_str()).m_aName, std::string(255, 'n').c_str());
    EXPECT_STREQ(sVQProfileAnalysedSample(std::string(256, 'n').c_str()).m_aName, std::string(255, 'n').c_str());
    EXPECT_STREQ(sVQProfileAnalysedSample(std::string(300, 'n').c_str()).m_aName, std::string(255, 'n').c_str());
    EXPECT_STREQ(sVQProfileAnalysedSample(nullptr).m_aName, "");
    EXPECT_STREQ(sVQProfileAnalysedSample(std::string(9999, 'n').c_str()).m_aName, std::string(255, 'n').c_str());
}

TEST(StlList, Grows)
{
    CSTLList<float> oList;
    EXPECT_TRUE(oList.empty());
    for (int i = 0; i < 1000; ++i)
        oList.push_back(static_cast<float>(i));
    EXPECT_EQ(oList.size(), 1000U);
    EXPECT_EQ(oList[999], 999.0F);
    EXPECT_EQ((CSTLList<int>{1, 2, 3}.size()), 3U);
}

// ---- pairing
// ---------------------------------------------------------------------------------------------------------

TEST_F(VQProfilerAnalysis, PairsBeginsAndEnds)
{
    struct
    {
        const char* pRecords;
        const char* pResult; // name, cycles, samples
    } const aCases[] = {
        {"", ""},
        {"a@10 @25", "a 15 1"},
        {"a@10 @20 a@30 @50", "a 30 2"},
        {"@5 a@10 @20", "a 10 1"},                        // an end before any begin
        {"@5 @6 @7", ""},                                 //
        {"a@10", ""},                                     // a begin without an end
        {"a@10 b@20 @30", "b 10 1"},                      // the outer one stays open
        {"a@10 @20 @30 b@40 @50", "a 10 1, b 10 1"},      // an end too many
        {"a@10 b@20 @30 @50", "b 10 1, a 40 1"},          // nested: the parent has all of it
        {"a@10 b@20 @30 b@40 @45 @50", "b 15 2, a 40 1"}, //
        {"a@10 a@20 @30 @50", "a 50 2"},                  // in itself
        {"a@10 b@20 c@30 @40 @60 @90", "c 10 1, b 40 1, a 80 1"},
        {"a@10 @20 A@30 @50", "a 10 1, A 20 1"}, // case makes another region
        {"a@10 @20 aa@30 @50", "a 10 1, aa 20 1"},
    };

    for (const auto& [pRecords, pResult] : aCases)
    {
        m_oProfiler.Clear();
        Put(pRecords);
        m_oProfiler.CollectSampleTimes(false);
        EXPECT_EQ(m_oProfiler.Describe(), pResult) << pRecords;
        m_oProfiler.m_oSamples.clear();
    }
}

TEST_F(VQProfilerAnalysis, TakesTheOverheadOffEachCallAndNeverMoreThanThereIs)
{
    m_oProfiler.m_nSampleOverhead = 40;
    Put("a@100 @200 a@300 @340 a@400 @439 a@500 @500 b@600 @620");
    m_oProfiler.CollectSampleTimes(false);
    EXPECT_EQ(m_oProfiler.Describe(), "a 60 4, b 0 1") << "what took less counts nothing, but counts as a call";

    m_oProfiler.m_oSamples.clear();
    m_oProfiler.Clear();
    Put("a@900 @100"); // a counter that went back
    m_oProfiler.CollectSampleTimes(false);
    EXPECT_EQ(m_oProfiler.Describe(), "a 0 1");
}

TEST_F(VQProfilerAnalysis, HoldsLongTimes)
{
    Put("a@1 @9000000000000001 a@9000000000000002 @18000000000000002");
    m_oProfiler.CollectSampleTimes(false);
    EXPECT_EQ(m_oProfiler.Describe(), "a 18000000000000000 2");
}

TEST_F(VQProfilerAnalysis, AddsToWhatItFoundBefore)
{
    Put("a@10 @20 b@30 @50");
    m_oProfiler.CollectSampleTimes(false);
    m_oProfiler.CollectSampleTimes(false);
    EXPECT_EQ(m_oProfiler.Describe(), "a 20 2, b 40 2");
}

TEST_F(VQProfilerAnalysis, TellsWhetherAMainLoopWasClosed)
{
    struct
    {
        const char* pRecords;
        bool bClosed;
    } const aCases[] = {
        {"", false},
        {"a@1 @2", false},
        {"MainLoop@1", false},
        {"@1 MainLoop@2", false},
        {"MainLoop@1 @2", true},
        {"MainLoop@1 a@2", false},
        {"MainLoop@1 a@2 @3", false},
        {"MainLoop@1 a@2 @3 @4", true},
        {"MainLoop@1 a@2 b@3 @4 @5", false},
        {"a@1 MainLoop@2 @3", true},
        {"mainloop@1 @2", false},
        {"MainLoop@1 MainLoop@2 @3", true},
        {"MainLoop@1 a@2 MainLoop@3 @4", true},
        {"@1 @2 @3", false},
    };

    for (const auto& [pRecords, bClosed] : aCases)
    {
        m_oProfiler.Clear();
        Put(pRecords);
        EXPECT_EQ(m_oProfiler.RawSampleDataHasMainloopSamples(), bClosed) << pRecords;
    }
}

TEST_F(VQProfilerAnalysis, BeginsAtTheFirstMainLoopIfOneWasClosed)
{
    struct
    {
        const char* pRecords;
        const char* pFromMainLoop;
        const char* pFromStart;
    } const aCases[] = {
        {"a@1 @2 MainLoop@10 b@20 @30 @50", "b 10 1, MainLoop 40 1", "a 1 1, b 10 1, MainLoop 40 1"},
        {"a@1 MainLoop@10 @50 @60", "MainLoop 40 1", "MainLoop 40 1, a 59 1"},
        {"a@1 @2 MainLoop@10 b@20 @30", "a 1 1, b 10 1", "a 1 1, b 10 1"}, // never closed: all counts
        {"a@1 @2 b@3 @5", "a 1 1, b 2 1", "a 1 1, b 2 1"},                 // none
        {"a@1 @2 MainLoop@10 @20 a@30 @40 MainLoop@50 @70", "MainLoop 30 2, a 10 1", "a 11 2, MainLoop 30 2"},
    };

    for (const auto& [pRecords, pFromMainLoop, pFromStart] : aCases)
    {
        m_oProfiler.Clear();
        Put(pRecords);
        m_oProfiler.CollectSampleTimes(true);
        EXPECT_EQ(m_oProfiler.Describe(), pFromMainLoop) << pRecords;
        EXPECT_TRUE(m_oProfiler.m_bCollecting);
        m_oProfiler.m_oSamples.clear();
        m_oProfiler.CollectSampleTimes(false);
        EXPECT_EQ(m_oProfiler.Describe(), pFromStart) << pRecords;
        m_oProfiler.m_oSamples.clear();
    }
}

TEST_F(VQProfilerAnalysis, AddsASinglePair)
{
    m_oProfiler.m_nSampleOverhead = 10;
    sVQProfileRawSample oStart = {100, Keep("a")};
    sVQProfileRawSample oEnd = {150, nullptr};
    m_oProfiler.AddRawSamplePair(oStart, oEnd);
    EXPECT_EQ(m_oProfiler.Describe(), "a 40 1");
    oStart.m_pName = Keep("a");
    oEnd.m_nCounter = 105;
    m_oProfiler.AddRawSamplePair(oStart, oEnd);
    EXPECT_EQ(m_oProfiler.Describe(), "a 40 2");
    oStart.m_pName = Keep("B");
    m_oProfiler.AddRawSamplePair(oStart, oEnd);
    EXPECT_EQ(m_oProfiler.Describe(), "a 40 2, B 0 1");
    EXPECT_EQ(m_oProfiler.GetSample(1).m_fPercentage, 0.0F);
    EXPECT_EQ(m_oProfiler.GetSample(1).m_dTotalTime, 0.0);
    EXPECT_EQ(m_oProfiler.GetSample(1).m_dAverageTime, 0.0);
    oStart.m_pName = nullptr;
    m_oProfiler.AddRawSamplePair(oStart, oEnd);
    EXPECT_EQ(m_oProfiler.Describe(), "a 40 2, B 0 1,  0 1") << "no name is an empty one";
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, KnowsNamesByTheirTextWhereverTheyLie)
{
    const std::string sLong(255, 'x');
    const char* const aNames[] = {Keep("same"),      Keep("same"),        Keep(sLong),
                                  Keep(sLong + "y"), Keep(sLong + "zzz"), Keep("")};
    for (const char* pName : aNames)
        m_oProfiler.PutCall(pName, 10, 20);
    m_oProfiler.CollectSampleTimes(false);
    EXPECT_EQ(m_oProfiler.Describe(), "same 20 2, " + sLong + " 30 3,  10 1") << "cut at 255 bytes";
    EXPECT_EQ(m_oProfiler.GetSampleIndexByName((sLong + "y").c_str()), 1);

    CSTLList<float> oTimes;
    m_oProfiler.GetSingleSampleTimes(sLong.c_str(), oTimes);
    EXPECT_EQ(oTimes.size(), 3U);
    m_oProfiler.m_oSamples.clear();
}

// The analysis against one that looks for every name from the first entry on.
TEST_F(VQProfilerAnalysis, FindsWhatALinearSearchFinds)
{
    std::mt19937 oRandom(7);
    std::vector<const char*> aNames;
    for (int i = 0; i < 3000; ++i)
        aNames.push_back(Keep("region " + std::to_string(i % 1500)));
    std::vector<sVQProfileRawSample> aOpen;
    CTestProfiler& oExpected = m_oProfiler;

    m_oProfiler.m_nSampleOverhead = 3;
    std::uint64_t nCounter = 1000;
    for (int i = 0; i < 40000; ++i)
    {
        nCounter += oRandom() % 10;
        if (aOpen.size() < 64 && oRandom() % 2 == 0)
        {
            aOpen.push_back({nCounter, aNames[oRandom() % aNames.size()]});
            m_oProfiler.Put(aOpen.back().m_pName, nCounter);
            continue;
        }
        m_oProfiler.Put(nullptr, nCounter);
        if (aOpen.empty())
            continue;
        sVQProfileRawSample oEnd = {nCounter, nullptr};
        oExpected.AddRawSamplePair(aOpen.back(), oEnd);
        aOpen.pop_back();
    }
    const std::string sExpected = oExpected.Describe();
    EXPECT_GT(oExpected.GetSampleCount(), 1000);

    m_oProfiler.m_oSamples.clear();
    m_oProfiler.CollectSampleTimes(false);
    EXPECT_EQ(m_oProfiler.Describe(), sExpected);
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, BearsAnyDepth)
{
    constexpr std::uint64_t DEPTH = 1000000;
    const char* const pName = Keep("deep");
    for (std::uint64_t i = 0; i < DEPTH; ++i)
        m_oProfiler.Put(pName, i);
    for (std::uint64_t i = 0; i < DEPTH; ++i)
        m_oProfiler.Put(nullptr, DEPTH + i);
    m_oProfiler.ProcessSampleData();
    // 1 + 3 + 5 + ...
    EXPECT_EQ(m_oProfiler.Describe(), "deep " + std::to_string(DEPTH * DEPTH) + " 1000000");
    m_oProfiler.m_oSamples.clear();
}

// ---- percentages and order
// -------------------------------------------------------------------------------------------

TEST_F(VQProfilerAnalysis, ComputesTimesAndShares)
{
    m_oProfiler.m_dClockSpeed = 2e9; // 2,000,000 cycles are a millisecond
    Put("MainLoop@0 World@0 @4000000 Draw@4000000 @5000000 @8000000 MainLoop@8000000 @16000000 Load@16000000 "
        "@48000000");
    m_oProfiler.ProcessSampleData();

    struct
    {
        const char* pName;
        float fPercentage;
        int nSamples;
        double dTotal;
        double dAverage;
    } const aCases[] = {
        {"Draw", 6.25F, 1, 0.5, 0.5},
        {"World", 25.0F, 1, 2.0, 2.0},
        {"MainLoop", 100.0F, 2, 8.0, 4.0},
        {"Load", 200.0F, 1, 16.0, 16.0},
    };

    ASSERT_EQ(m_oProfiler.GetSampleCount(), 4);
    int nIndex = 0;
    for (const auto& [pName, fPercentage, nSamples, dTotal, dAverage] : aCases)
    {
        const sVQProfileAnalysedSample& oSample = m_oProfiler.GetSample(nIndex);
        EXPECT_STREQ(oSample.m_aName, pName);
        EXPECT_EQ(oSample.m_fPercentage, fPercentage) << pName;
        EXPECT_EQ(oSample.m_nSamples, nSamples) << pName;
        EXPECT_DOUBLE_EQ(oSample.m_dTotalTime, dTotal) << pName;
        EXPECT_DOUBLE_EQ(oSample.m_dAverageTime, dAverage) << pName;
        EXPECT_EQ(m_oProfiler.GetSampleIndexByName(pName), nIndex++);
    }
    EXPECT_EQ(m_oProfiler.GetSampleIndexByName("world"), -1);
    EXPECT_EQ(m_oProfiler.GetSampleIndexByName(CVQString()), -1);
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, HasNoSharesWithoutAMainLoop)
{
    m_oProfiler.m_oSamples.emplace_back("d").m_fPercentage = 12.0F; // of whatever was before
    Put("b@0 @500 a@500 @600 c@600 @900");
    m_oProfiler.ProcessSampleData();
    ASSERT_EQ(m_oProfiler.GetSampleCount(), 4);
    std::string sOrder;
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(m_oProfiler.GetSample(i).m_fPercentage, 0.0F);
        sOrder += m_oProfiler.GetSample(i).m_aName;
    }
    EXPECT_EQ(sOrder, "dbac") << "equal shares keep their order";
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, LeavesSharesAsTheyAreWhenTheMainLoopTookNoTime)
{
    Put("a@0 @500 MainLoop@500 @500");
    m_oProfiler.CollectSampleTimes(false);
    m_oProfiler.m_oSamples[0].m_fPercentage = 7.5F;
    m_oProfiler.CalculateSampleDetails();
    EXPECT_EQ(m_oProfiler.GetSample(0).m_fPercentage, 7.5F);
    EXPECT_EQ(m_oProfiler.GetSample(1).m_fPercentage, 0.0F);
    EXPECT_DOUBLE_EQ(m_oProfiler.GetSample(0).m_dTotalTime, 0.0005);
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, SortsByShareRising)
{
    std::mt19937 oRandom(3);
    for (const int nCount : {1, 2, 3, 10, 200})
    {
        m_oProfiler.Clear();
        std::uint64_t nCounter = 0;
        Put("MainLoop@0 @1000000");
        for (int i = 0; i < nCount; ++i)
        {
            const std::uint64_t nLength = oRandom() % 50 * 100;
            m_oProfiler.PutCall(Keep("r" + std::to_string(i)), nCounter, nCounter + nLength);
        }
        m_oProfiler.ProcessSampleData();
        ASSERT_EQ(m_oProfiler.GetSampleCount(), nCount + 1);
        for (int i = 1; i <= nCount; ++i)
        {
            const auto& oBefore = m_oProfiler.GetSample(i - 1);
            const auto& oThis = m_oProfiler.GetSample(i);
            ASSERT_LE(oBefore.m_fPercentage, oThis.m_fPercentage);
            if (oBefore.m_fPercentage == oThis.m_fPercentage)
            {
                ASSERT_LT(std::atoi(oBefore.m_aName + 1), std::atoi(oThis.m_aName + 1)) << "first ended, first listed";
            }
        }
        EXPECT_STREQ(m_oProfiler.GetSample(nCount).m_aName, "MainLoop");
        m_oProfiler.m_oSamples.clear();
    }
}

// ---- the report
// ------------------------------------------------------------------------------------------------------

TEST_F(VQProfilerAnalysis, WritesTheReportOfTheGoldenFile)
{
    m_oProfiler.m_dClockSpeed = 1e9; // a million cycles are a millisecond
    m_oProfiler.m_nSampleOverhead = 40;
    m_oProfiler.m_oSessionName = "Level 3, 100%s";
    m_oProfiler.m_dSessionDuration = 1234.5678;
    Put("MainLoop@0 World@1000 @25001040 @30000040 Idle@30000050 @30000060 MainLoop@31000000 @41000040");
    for (int i = 0; i < 3; ++i)
        m_oProfiler.PutCall("Draw 100% <b>", 50000000, 51000040);
    for (int i = 0; i < 32761; ++i)
        m_oProfiler.PutCall("Tick", 60000000, 60000040);
    ASSERT_EQ(m_oProfiler.GetRawSamples().size(), 65536U) << "1 MB";
    m_oProfiler.ProcessSampleData();
    m_oProfiler.WriteProfileLog("report.htm");

    EXPECT_EQ(m_oDirectory.Read("report.htm"), ReadWholeFile(GetGoldenPath("VQProfiler.htm")));
    ASSERT_EQ(g_aOpened.size(), 1U);
    std::string sExpected = m_oDirectory.GetPath() + "/report.htm";
    std::replace(sExpected.begin(), sExpected.end(), '\\', '/');
    std::string sOpened = g_aOpened[0];
    EXPECT_EQ(sOpened.substr(sOpened.size() - 11), "/report.htm");
    std::replace(sOpened.begin(), sOpened.end(), '\\', '/');
    EXPECT_EQ(sOpened, sExpected);
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, WritesAWholeReportWhateverTheNames)
{
    for (const char* pName : {"", "%s%n%d", "100%", "%"})
    {
        m_oProfiler.Clear();
        m_oProfiler.m_oSessionName = pName;
        m_oProfiler.PutCall(pName, 0, 1000000);
        m_oProfiler.ProcessSampleData();
        m_oProfiler.WriteProfileLog("report.htm");
        const std::string sReport = m_oDirectory.Read("report.htm");
        EXPECT_TRUE(Contains(sReport, "Session: " + std::string(pName) + "&nbsp;&nbsp;&nbsp;Total Time:  0.00ms"))
            << sReport;
        EXPECT_TRUE(Contains(sReport, "\">0.00 %<br></td><td>1.0000 ms<br></td><td>1.0000 ms<br></td><td>1<br></td><td>"
                                      "<span style=\"font-weight: bold;\">" +
                                          std::string(pName) + "</span><br></td></tr></tbody>"))
            << sReport;
        EXPECT_TRUE(sReport.ends_with("</tbody></table><br><br><br><br><br>\r\n</body>\r\n</html>")) << sReport;
        m_oProfiler.m_oSamples.clear();
    }
}

TEST_F(VQProfilerAnalysis, WritesAReportWithoutAnyRegion)
{
    m_oProfiler.m_oSamples.clear();
    m_oDirectory.Write("report.htm", std::string(5000, 'o'));
    m_oProfiler.WriteProfileLog("report.htm");
    const std::string sReport = m_oDirectory.Read("report.htm");
    EXPECT_TRUE(sReport.starts_with("<html>\r\n<title>\r\nVQProfiler Log\r\n"));
    EXPECT_TRUE(Contains(sReport, "Raw Size:  0.00MB<br><br></span>"));
    EXPECT_TRUE(Contains(sReport, "<font size=\"+1\">Name<br></font></td></tr></tbody></table>")) << sReport;
    EXPECT_TRUE(sReport.ends_with("</html>")) << "nothing of the older file is left";
}

TEST_F(VQProfilerAnalysis, OpensAReportByItsOwnPathWhenThatIsWhole)
{
    CTestDirectory oElsewhere(false);
    m_oProfiler.WriteProfileLog(oElsewhere.PathOf("there.htm").c_str());
    EXPECT_TRUE(oElsewhere.Has("there.htm"));
    EXPECT_EQ(g_aOpened, std::vector<std::string>{oElsewhere.PathOf("there.htm")});
}

TEST_F(VQProfilerAnalysis, GoesOnWhenTheReportCannotBeWritten)
{
    EXPECT_NO_THROW(m_oProfiler.WriteProfileLog("missing/report.htm"));
    m_oDirectory.MakeDirectory("report.htm");
    EXPECT_NO_THROW(m_oProfiler.WriteProfileLog("report.htm"));
    EXPECT_NO_THROW(m_oProfiler.WriteProfileLog(""));
    EXPECT_NO_THROW(m_oProfiler.WriteProfileLog(nullptr));
    EXPECT_TRUE(g_aOpened.empty()) << "nothing is there to look at";

    m_oDirectory.Remove("report.htm");
    m_oProfiler.WriteProfileLog("report.htm");
    EXPECT_EQ(g_aOpened.size(), 1U);
}

// ---- single calls
// ----------------------------------------------------------------------------------------------------

TEST_F(VQProfilerAnalysis, ListsTheCallsOfOneRegion)
{
    m_oProfiler.m_nSampleOverhead = 400000; // not taken off here
    Put("a@0 @1000000 @2 MainLoop@5 a@2000000 a@2500000 @3000000 b@0 @5 @4000000 @9 A@0 @100 a@7");
    CSTLList<float> oTimes = {42.0F};
    m_oProfiler.GetSingleSampleTimes("a", oTimes);
    EXPECT_EQ(oTimes, (CSTLList<float>{42.0F, 1.0F, 0.5F, 2.0F})) << "appended, in the order of the ends";

    oTimes.clear();
    m_oProfiler.GetSingleSampleTimes("none", oTimes);
    EXPECT_TRUE(oTimes.empty());
    m_oProfiler.GetSingleSampleTimes("A", oTimes);
    EXPECT_EQ(oTimes, (CSTLList<float>{0.0001F}));
}

// ---- the graph
// -------------------------------------------------------------------------------------------------------

namespace
{
constexpr std::size_t WIDTH = 17300;
constexpr std::size_t HEIGHT = 200;

// The rows of a column that are not black, as "row:b" for a point and "row:r" for the average.
std::string ColumnOf(const std::string& sGraph, std::size_t nColumn)
{
    std::string sText;
    for (std::size_t nRow = 0; nRow < HEIGHT; ++nRow)
    {
        const std::string sPixel = sGraph.substr((nRow * WIDTH + nColumn) * 3, 3);
        if (sPixel == std::string(3, '\0'))
            continue;
        const bool bPoint = sPixel == std::string("\0\0\xFF", 3);
        const bool bAverage = sPixel == std::string("\xFF\0\0", 3);
        sText += (sText.empty() ? "" : " ") + std::to_string(nRow) + (bPoint ? ":b" : bAverage ? ":r" : ":?");
    }
    return sText;
}
} // namespace

TEST_F(VQProfilerAnalysis, DrawsTheCallsOfARegion)
{
    // Four calls of 8, 2, 4 and 0 ms; the average is 3.5.
    Put("a@0 @8000000 a@0 @2000000 a@0 @4000000 a@5 @5");
    m_oProfiler.ProcessSampleData();
    m_oProfiler.CreateSampleGraph("a");
    EXPECT_TRUE(g_aBoxes.empty());
    const std::string sGraph = m_oDirectory.Read("Graph.raw");
    ASSERT_EQ(sGraph.size(), 10380000U);

    // Row 200 - 3.5 / 8 * 200 = 112.5 for the average; each call is 4,325 columns wide.
    struct
    {
        std::size_t nColumn;
        const char* pPixels;
    } const aCases[] = {
        {0, "0:b 112:r"},      {1, "0:b 112:r"},      {4324, "0:b 112:r"},    {4325, "112:r 150:b"},
        {8649, "112:r 150:b"}, {8650, "100:b 112:r"}, {12974, "100:b 112:r"}, {12975, "112:r"},
        {17299, "112:r"}, // a call of no length would lie below the last row
    };

    for (const auto& [nColumn, pPixels] : aCases)
        EXPECT_EQ(ColumnOf(sGraph, nColumn), pPixels) << nColumn;
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, DrawsTheAverageOverThePoints)
{
    Put("a@0 @1000000 a@0 @3000000 a@0 @4000000 a@0 @4000000");
    m_oProfiler.ProcessSampleData(); // the average is 3: row 50, which is that of the second call
    m_oProfiler.CreateSampleGraph("a");
    const std::string sGraph = m_oDirectory.Read("Graph.raw");
    EXPECT_EQ(ColumnOf(sGraph, 100), "50:r 150:b");
    EXPECT_EQ(ColumnOf(sGraph, 5000), "50:r");
    EXPECT_EQ(ColumnOf(sGraph, 10000), "0:b 50:r");
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, DrawsNoAverageOfARegionThatWasNotAnalysed)
{
    m_oProfiler.m_oSamples.clear();
    Put("a@0 @8000000 a@0 @2000000");
    m_oProfiler.CreateSampleGraph("a");
    const std::string sGraph = m_oDirectory.Read("Graph.raw");
    ASSERT_EQ(sGraph.size(), 10380000U);
    EXPECT_EQ(ColumnOf(sGraph, 0), "0:b") << "an average of 0 lies below the last row";
    EXPECT_EQ(ColumnOf(sGraph, 17299), "150:b");
}

TEST_F(VQProfilerAnalysis, DrawsNoAverageAboveTheLongestCall)
{
    // Such an average is left from another session. A row is cut, not rounded: what lies less than one above is row 0.
    struct
    {
        double dAverage;
        const char* pPixels;
    } const aCases[] = {{8.01, "0:r"}, {8.039, "0:r"}, {8.041, "0:b"}, {800.0, "0:b"}, {1e300, "0:b"}, {-1.0, "0:b"}};

    for (const auto& [dAverage, pPixels] : aCases)
    {
        m_oProfiler.Clear();
        Put("a@0 @8000000");
        m_oProfiler.ProcessSampleData();
        m_oProfiler.m_oSamples[0].m_dAverageTime = dAverage;
        m_oProfiler.CreateSampleGraph("a");
        EXPECT_EQ(ColumnOf(m_oDirectory.Read("Graph.raw"), 17299), pPixels) << dAverage;
        m_oProfiler.m_oSamples.clear();
    }
}

TEST_F(VQProfilerAnalysis, DrawsNothingOfACounterThatWentBack)
{
    Put("a@9000000 @1000000 a@0 @8000000");
    m_oProfiler.m_oSamples.clear();
    m_oProfiler.CreateSampleGraph("a");
    const std::string sGraph = m_oDirectory.Read("Graph.raw");
    ASSERT_EQ(sGraph.size(), 10380000U);
    EXPECT_EQ(ColumnOf(sGraph, 0), "");
    EXPECT_EQ(ColumnOf(sGraph, 17299), "0:b");
}

TEST_F(VQProfilerAnalysis, DrawsNothingOfCallsWithoutLength)
{
    Put("a@5 @5 a@6 @6");
    m_oProfiler.ProcessSampleData();
    m_oProfiler.CreateSampleGraph("a");
    EXPECT_EQ(m_oDirectory.Read("Graph.raw"), std::string(10380000, '\0'));
    m_oProfiler.m_oSamples.clear();
}

TEST_F(VQProfilerAnalysis, WritesNoGraphWithoutCalls)
{
    Put("a@5 @6 b@7");
    m_oProfiler.CreateSampleGraph("b");
    m_oProfiler.CreateSampleGraph("c");
    EXPECT_FALSE(m_oDirectory.Has("Graph.raw"));
    EXPECT_TRUE(g_aBoxes.empty());
}

TEST_F(VQProfilerAnalysis, DrawsMoreCallsThanColumns)
{
    // 34,600 calls, two a column: of 4 ms at even places, of 1 ms at odd ones, the last of all of 2 ms.
    for (int i = 0; i < 34600; ++i)
        m_oProfiler.PutCall("a", 0, i == 34598 ? 2000000 : i % 2 == 0 ? 4000000 : 1000000);
    m_oProfiler.m_oSamples.clear();
    m_oProfiler.CreateSampleGraph("a");
    const std::string sGraph = m_oDirectory.Read("Graph.raw");
    ASSERT_EQ(sGraph.size(), 10380000U);
    EXPECT_EQ(ColumnOf(sGraph, 0), "0:b");
    EXPECT_EQ(ColumnOf(sGraph, 8650), "0:b");
    EXPECT_EQ(ColumnOf(sGraph, 17299), "100:b");
}

TEST_F(VQProfilerAnalysis, TellsInABoxThatAGraphCannotBeSaved)
{
    m_oDirectory.MakeDirectory("Graph.raw");
    Put("a@0 @8000000");
    m_oProfiler.CreateSampleGraph("a");
    EXPECT_EQ(g_aBoxes, std::vector<std::string>{"Error: Cannot save profile sample graph [OK]"});
}
