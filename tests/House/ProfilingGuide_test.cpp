// What docs/profiling.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
// The game around the examples: three frames.
int g_nFrames = 0;
int g_nWorlds = 0;
double g_dTime = -1.0;
std::vector<std::string> g_oPrinted;
std::string g_sDocument;

bool IsRunning()
{
    return g_nFrames++ < 3;
}

void Move(double dSeconds)
{
    EXPECT_GE(dSeconds, g_dTime);
    g_dTime = dSeconds;
}

void Show(double dFramesPerSecond)
{
    EXPECT_GE(dFramesPerSecond, 0.0);
}

void UpdateWorld()
{
    ++g_nWorlds;
}

void Draw() {}

void Print(const char* pName, float)
{
    g_oPrinted.emplace_back(pName);
}

bool NoteDocument(const char* pPath)
{
    g_sDocument = pPath;
    return true;
}

void RunByTime()
{
    CVQTimer oTimer; // one a game; VQGetTimer() finds it
    oTimer.DefineChannel(0, "game");
    oTimer.EnableFrameTime(0);
    oTimer.Start(0);
    while (IsRunning())
    {
        oTimer.UpdateAll();           // the time stands still from here to the next call
        Move(oTimer.GetFrameTime(0)); // seconds
        Show(oTimer.GetFPS(0));       // of the last frame alone
    }
}

void ProfileGame()
{
    CVQProfiler oProfiler;
    g_bVQProfilerEnabled = true;
    oProfiler.BeginSession("Level 3");
    while (IsRunning())
    {
        const CVQProfileSample oFrame("MainLoop");
        {
            const CVQProfileSample oWorld("World");
            UpdateWorld();
        }
        Draw();
    }
    oProfiler.EndSession(true, true); // VQProfiler.htm, opened in the browser
}

void RunFrame(CVQProfilerOld& oProfiler)
{
    oProfiler.Begin();
    oProfiler.SampleBegin("World");
    UpdateWorld();
    oProfiler.SampleEnd("World");
    oProfiler.End();

    CVQProfileData oData;
    for (int i = 0; i < oProfiler.GetNumSamples(); ++i)
        if (oProfiler.GetSampleData(i, oData))
            Print(oData.GetName(), oData.GetAverageTimePerFrame());
}
} // namespace

TEST(ProfilingGuide, TellsTheTimeOfAFrame)
{
    g_nFrames = 0;
    g_dTime = -1.0;
    RunByTime();
    EXPECT_GE(g_dTime, 0.0);
}

TEST(IsolatedProfilingGuide, WritesAReportOfItsGame)
{
    const CTestDirectory oDirectory;
    HOOK_SetOpenDocument(NoteDocument);
    g_nFrames = 0;
    g_nWorlds = 0;
    ProfileGame();
    HOOK_SetOpenDocument(nullptr);
    EXPECT_EQ(g_nWorlds, 3);
    EXPECT_TRUE(g_sDocument.ends_with("VQProfiler.htm")) << g_sDocument;
    const std::string sReport = oDirectory.Read("VQProfiler.htm");
    EXPECT_NE(sReport.find("Session: Level 3&nbsp;"), std::string::npos) << sReport;
    EXPECT_NE(sReport.find("3<br></td><td><span style=\"font-weight: bold;\">World"), std::string::npos) << sReport;
}

TEST(ProfilingGuide, PrintsTheSharesOfAFrame)
{
    g_oPrinted.clear();
    CVQProfilerOld oProfiler;
    RunFrame(oProfiler);
    EXPECT_EQ(g_oPrinted, std::vector<std::string>{"World"});
}

TEST(ProfilingGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("profiling.md", "House/ProfilingGuide_test.cpp"), "");
}
