// The built program, run as a user runs it, and the parts of it that make pictures and traces.

#include <tests/support/ChildProcess.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TraceFile.h>
#include <tools/vqprof/GraphPicture.h>
#include <tools/vqprof/Trace.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace
{
std::string GetProgram()
{
    const std::filesystem::path oThis(ThisProgram());
    return (oThis.parent_path() / ("vqprof" + oThis.extension().string())).string();
}

using Outcome = std::pair<int, std::string>;

/// The exit code and all that the program wrote.
Outcome RunTool(std::vector<std::string> aArguments)
{
    aArguments.insert(aArguments.begin(), GetProgram());
    const ChildResult oResult = ChildProcess(aArguments).Wait();
    std::string sOutput;
    for (const char cByte : oResult.sOutput)
    {
        if (cByte != '\r')
            sOutput.push_back(cByte);
    }
    return {oResult.nExitCode, sOutput};
}

bool Contains(const std::string& sText, const std::string& sPart)
{
    return sText.find(sPart) != std::string::npos;
}

/// Whether the program was built with a library for pictures.
bool HasPictures()
{
    const CTestDirectory oDirectory;
    oDirectory.Write("g", std::string(GRAPH_SIZE, '\0'));
    return !Contains(RunTool({"graph", "g", "p"}).second, "built without a library for PNG files");
}

constexpr CPicture::Colour WHITE = {255, 255, 255};

void SetPixel(std::string& sGraph, std::size_t nRow, std::size_t nColumn, const std::string& sPixel)
{
    sGraph.replace((nRow * GRAPH_WIDTH + nColumn) * 3, 3, sPixel);
}

const std::string CALL("\0\0\xFF", 3);
const std::string AVERAGE("\xFF\0\0", 3);

/// How many events of a name lie whole within one of another.
int CountWithin(const std::vector<TraceEvent>& aEvents, const std::string& sInner, const std::string& sOuter)
{
    constexpr double ROUNDING = 1e-6;
    int nCount = 0;
    for (const TraceEvent& oInner : aEvents)
    {
        nCount += oInner.sName == sInner && std::any_of(aEvents.begin(), aEvents.end(),
                                                        [&](const TraceEvent& oOuter)
                                                        {
                                                            return oOuter.sName == sOuter &&
                                                                   oOuter.dStart <= oInner.dStart + ROUNDING &&
                                                                   oInner.dStart + oInner.dDuration <=
                                                                       oOuter.dStart + oOuter.dDuration + ROUNDING;
                                                        })
                      ? 1
                      : 0;
    }
    return nCount;
}
} // namespace

// ---- traces
// ----------------------------------------------------------------------------------------------------------

TEST(VqprofTrace, HoldsEveryCallWithItsTimes)
{
    const sVQProfileRawSample aRecords[] = {
        {5000, nullptr}, // an end of nothing
        {6000, "frame"},    {6500, "world"},    {8500, nullptr},        {8501, "draw"},     {9001, nullptr},
        {1006000, nullptr}, {1006001, "frame"}, {1007001, "left open"}, {1008001, nullptr},
    };
    // Two cycles are a nanosecond; times count from the first record.
    const std::vector<TraceEvent> aExpected = {
        {"frame", "X", 0.5, 500.0, 1, 1},  {"world", "X", 0.75, 1.0, 1, 1},      {"draw", "X", 1.75, 0.25, 1, 1},
        {"frame", "B", 500.5, -1.0, 1, 1}, {"left open", "X", 501.0, 0.5, 1, 1},
    };
    EXPECT_EQ(ReadTrace(MakeTrace(aRecords, 2e9)), aExpected);
}

TEST(VqprofTrace, IsWholeWithoutRecords)
{
    EXPECT_TRUE(ReadTrace(MakeTrace({}, 2e9)).empty());
}

TEST(VqprofTrace, BearsAnyName)
{
    const std::pair<const char*, const char*> aCases[] = {
        {"", ""},
        {"a \"b\" \\c/", "a \"b\" \\c/"},
        {"tab\tline\n\x01\x7F", "tab\tline\n\x01\x7F"},
        {"gr\xC3\xBC\xC3\x9F", "gr\xC3\xBC\xC3\x9F"}, // UTF-8 stays
        {"gr\xFC\xDF", "gr\xC3\xBC\xC3\x9F"},         // what is none counts as Latin-1
        {"\xE2\x82\xAC\xF0\x9F\x8E\xAE", "\xE2\x82\xAC\xF0\x9F\x8E\xAE"},
        {"\xC0\x80", "\xC3\x80\xC2\x80"},                         // longer than it is
        {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},             // half a pair
        {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"}, // beyond the last character
        {"\xE2\x82", "\xC3\xA2\xC2\x82"},                         // cut off
    };
    for (const auto& [pName, pExpected] : aCases)
    {
        const sVQProfileRawSample aRecords[] = {{0, pName}, {1, nullptr}};
        const auto aEvents = ReadTrace(MakeTrace(aRecords, 1e9));
        ASSERT_EQ(aEvents.size(), 1U);
        EXPECT_EQ(aEvents[0].sName, pExpected);
    }
}

TEST(VqprofTrace, HoldsTheLoopOfTheDemo)
{
    const CTestDirectory oDirectory;
    ASSERT_EQ(RunTool({"trace", "--frames", "7", "t.json"}), Outcome(0, ""));
    const auto aEvents = ReadTrace(oDirectory.Read("t.json"));
    EXPECT_EQ(aEvents.size(), 7U * (1 + 1 + 3 + 1));

    EXPECT_EQ(CountWithin(aEvents, "World", "MainLoop"), 7);
    EXPECT_EQ(CountWithin(aEvents, "Draw", "MainLoop"), 7);
    EXPECT_EQ(CountWithin(aEvents, "Physics", "World"), 21);
    EXPECT_EQ(CountWithin(aEvents, "Physics", "Draw"), 0);
    EXPECT_EQ(CountWithin(aEvents, "MainLoop", "World"), 0);
    double dFrames = 0.0;
    double dParts = 0.0;
    for (const TraceEvent& oEvent : aEvents)
    {
        EXPECT_EQ(oEvent.sPhase, "X");
        EXPECT_GT(oEvent.dDuration, 0.0);
        dFrames += oEvent.sName == "MainLoop" ? oEvent.dDuration : 0.0;
        dParts += oEvent.sName == "World" || oEvent.sName == "Draw" ? oEvent.dDuration : 0.0;
    }
    EXPECT_LE(dParts, dFrames) << "the parts of the frames";
}

// ---- pictures
// --------------------------------------------------------------------------------------------------------

TEST(VqprofPicture, ShowsCallsAndTheAverage)
{
    std::string sGraph(GRAPH_SIZE, '\0');
    SetPixel(sGraph, 0, 0, CALL);
    SetPixel(sGraph, 199, 17299, CALL);
    SetPixel(sGraph, 30, 4567, CALL);
    SetPixel(sGraph, 50, 100, CALL);
    SetPixel(sGraph, 50, 105, AVERAGE);
    const CPicture oPicture = DrawGraphPicture(sGraph, 0.0);

    const auto At = [&](std::size_t nX, std::size_t nY) { return oPicture.Get(PLOT_LEFT + nX, PLOT_TOP + nY); };
    for (const std::size_t nRow : {0U, 1U})
    {
        EXPECT_EQ(At(0, nRow), CALL_COLOUR);
        EXPECT_EQ(At(1729, 398 + nRow), CALL_COLOUR);
        EXPECT_EQ(At(456, 60 + nRow), CALL_COLOUR);
        EXPECT_EQ(At(10, 100 + nRow), AVERAGE_COLOUR) << "over the call";
    }
    EXPECT_EQ(At(455, 60), WHITE);
    EXPECT_EQ(At(456, 62), WHITE);
    EXPECT_EQ(At(9, 101), WHITE);
}

TEST(VqprofPicture, HasAxes)
{
    const CPicture oPercent = DrawGraphPicture(std::string(GRAPH_SIZE, '\0'), 0.0);
    for (std::size_t nY = PLOT_TOP; nY <= PLOT_TOP + PLOT_HEIGHT; ++nY)
        ASSERT_NE(oPercent.Get(PLOT_LEFT - 1, nY), WHITE);
    for (std::size_t nX = PLOT_LEFT; nX < PLOT_LEFT + PLOT_WIDTH; ++nX)
        ASSERT_NE(oPercent.Get(nX, PLOT_TOP + PLOT_HEIGHT), WHITE);

    const auto CountInk =
        [](const CPicture& oPicture, std::size_t nLeft, std::size_t nTop, std::size_t nWidth, std::size_t nHeight)
    {
        int nInk = 0;
        for (std::size_t nY = nTop; nY < nTop + nHeight; ++nY)
        {
            for (std::size_t nX = nLeft; nX < nLeft + nWidth; ++nX)
                nInk += oPicture.Get(nX, nY) != WHITE ? 1 : 0;
        }
        return nInk;
    };
    for (int i = 0; i <= 4; ++i)
    {
        const std::size_t nY = PLOT_TOP + PLOT_HEIGHT - static_cast<std::size_t>(i) * PLOT_HEIGHT / 4;
        EXPECT_GT(CountInk(oPercent, 0, nY - 7, PLOT_LEFT - 12, 14), 20) << "a number at each part";
    }

    // Milliseconds have other numbers.
    const CPicture oMilliseconds = DrawGraphPicture(std::string(GRAPH_SIZE, '\0'), 8.0);
    EXPECT_NE(CountInk(oMilliseconds, 0, PLOT_TOP - 7, PLOT_LEFT - 12, 14),
              CountInk(oPercent, 0, PLOT_TOP - 7, PLOT_LEFT - 12, 14));
}

TEST(VqprofPicture, WritesLetters)
{
    CPicture oPicture(24, 14);
    oPicture.Write(0, 0, "l?", {0, 0, 0});
    std::string sRows;
    for (std::size_t nY = 0; nY < 14; nY += 2)
    {
        for (std::size_t nX = 0; nX < 24; nX += 2)
            sRows += oPicture.Get(nX, nY) == WHITE ? '.' : '#';
        sRows += '\n';
    }
    EXPECT_EQ(sRows, ".##.........\n"
                     "..#.........\n"
                     "..#.........\n"
                     "..#.........\n"
                     "..#.........\n"
                     "..#.........\n"
                     ".###........\n");
    oPicture.Write(20, 10, "88", {0, 0, 0}); // beyond the edges nothing is written
}

TEST(VqprofPicture, RefusesWhatIsNoGraph)
{
    EXPECT_THROW(DrawGraphPicture("", 0.0), std::exception);
    EXPECT_THROW(DrawGraphPicture(std::string(GRAPH_SIZE + 1, '\0'), 0.0), std::exception);
}

TEST(Vqprof, WritesAPicture)
{
    if (!HasPictures())
        GTEST_SKIP() << "this target has no library for PNG files";

    const CTestDirectory oDirectory;
    oDirectory.Write("Graph.raw", std::string(GRAPH_SIZE, '\0'));
    oDirectory.Write("old.png", "old");
    EXPECT_EQ(RunTool({"graph", "--longest", "4.5", "Graph.raw", "old.png"}), Outcome(0, ""));
    const std::string sPicture = oDirectory.Read("old.png");
    ASSERT_GT(sPicture.size(), 100U);
    EXPECT_EQ(sPicture.substr(0, 8), "\x89PNG\r\n\x1A\n");
    EXPECT_EQ(sPicture.substr(12, 4), "IHDR");
    EXPECT_EQ(sPicture.substr(16, 8), std::string("\0\0\x07\x6C\0\0\x01\xFE", 8)) << "1900 by 510";
    EXPECT_EQ(sPicture.substr(24, 5), std::string("\x08\x02\0\0\0", 5)) << "8 bits, red, green and blue";
    EXPECT_EQ(sPicture.substr(sPicture.size() - 8, 4), "IEND");
    EXPECT_FALSE(oDirectory.Has("old.png.part"));
}

TEST(Vqprof, LeavesAnOlderPictureWhenItFails)
{
    if (!HasPictures())
        GTEST_SKIP() << "this target has no library for PNG files";

    const CTestDirectory oDirectory;
    oDirectory.Write("p.png", "old");
    oDirectory.Write("short.raw", "short");
    oDirectory.Write("Graph.raw", std::string(GRAPH_SIZE, '\0'));
    oDirectory.MakeDirectory("dir");
    EXPECT_EQ(RunTool({"graph", "missing.raw", "p.png"}), Outcome(1, "vqprof: missing.raw: cannot be opened\n"));
    EXPECT_EQ(RunTool({"graph", "dir", "p.png"}), Outcome(1, "vqprof: dir: is a directory\n"));
    EXPECT_EQ(RunTool({"graph", "short.raw", "p.png"}),
              Outcome(1, "vqprof: short.raw: a graph has 10380000 bytes, and this has 5\n"));
    EXPECT_EQ(oDirectory.Read("p.png"), "old");
    EXPECT_EQ(RunTool({"graph", "Graph.raw", "none/p.png"}), Outcome(1, "vqprof: none/p.png: cannot be written\n"));
    EXPECT_EQ(RunTool({"graph", "Graph.raw", "dir"}), Outcome(1, "vqprof: dir: cannot be written\n"));
    EXPECT_FALSE(oDirectory.Has("dir.part"));
}

// ---- the demo
// --------------------------------------------------------------------------------------------------------

TEST(Vqprof, WritesTheReportAndTheGraphOfTheDemo)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("Graph.raw", "old");
    const auto [nCode, sOutput] = RunTool({"demo", "--frames", "11", "--no-open"});
    EXPECT_EQ(nCode, 0) << sOutput;
    EXPECT_TRUE(Contains(sOutput, "VQProfiler.htm: 4 regions of 11 frames\n")) << sOutput;
    EXPECT_TRUE(Contains(sOutput, "vqprof graph --longest ")) << sOutput;

    const std::string sReport = oDirectory.Read("VQProfiler.htm");
    EXPECT_TRUE(Contains(sReport, "Session: vqprof demo&nbsp;")) << sReport;
    EXPECT_TRUE(Contains(sReport, "text-align: center;\">100.00 %<br></td>")) << sReport;
    EXPECT_TRUE(Contains(sReport, "<td>11<br></td><td><span style=\"font-weight: bold;\">MainLoop</span>")) << sReport;
    EXPECT_TRUE(Contains(sReport, "<td>33<br></td><td><span style=\"font-weight: bold;\">Physics</span>")) << sReport;

    const std::string sGraph = oDirectory.Read("Graph.raw");
    ASSERT_EQ(sGraph.size(), GRAPH_SIZE);
    EXPECT_TRUE(Contains(sGraph.substr(0, GRAPH_WIDTH * 3), CALL)) << "the longest frame is on the first row";
    EXPECT_TRUE(Contains(sGraph, AVERAGE));
}

TEST(Vqprof, TellsWhatCannotBeWritten)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("Graph.raw/file", "in the way");
    EXPECT_EQ(RunTool({"demo", "--frames", "1", "--no-open"}), Outcome(1, "vqprof: Graph.raw: cannot be replaced\n"));
    EXPECT_EQ(RunTool({"trace", "--frames", "1", "none/t.json"}),
              Outcome(1, "vqprof: none/t.json: cannot be written\n"));
}

// ---- the command line
// ------------------------------------------------------------------------------------------------

TEST(Vqprof, RefusesWrongUse)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> aCases = {
        {{}, "vqprof: no command\n"},
        {{"paint"}, "vqprof: paint: unknown command\n"},
        {{"--nonsense"}, "vqprof: --nonsense: unknown option\n"},
        {{"graph", "a"}, "vqprof: graph: too few arguments\n"},
        {{"graph", "a", "b", "c"}, "vqprof: graph: too many arguments\n"},
        {{"graph", "--frames", "3", "a", "b"}, "vqprof: --frames: unknown option\n"},
        {{"graph", "--longest", "a", "b"}, "vqprof: a: not a number that can be\n"},
        {{"graph", "a", "b", "--longest"}, "vqprof: --longest: a value is missing\n"},
        {{"graph", "a", "b", "--longest", "0"}, "vqprof: 0: not a number that can be\n"},
        {{"graph", "a", "b", "--longest", "nan"}, "vqprof: nan: not a number that can be\n"},
        {{"graph", "a", ""}, "vqprof: an empty name\n"},
        {{"demo", "here"}, "vqprof: demo: too many arguments\n"},
        {{"demo", "--frames", "0"}, "vqprof: 0: not a number that can be\n"},
        {{"demo", "--frames", "100001"}, "vqprof: 100001: not a number that can be\n"},
        {{"demo", "--frames", "5x"}, "vqprof: 5x: not a number that can be\n"},
        {{"trace"}, "vqprof: trace: too few arguments\n"},
        {{"trace", "--no-open", "t"}, "vqprof: --no-open: unknown option\n"},
    };
    for (const auto& [aArguments, sError] : aCases)
    {
        const auto [nCode, sOutput] = RunTool(aArguments);
        EXPECT_EQ(nCode, 2) << sError;
        EXPECT_TRUE(Contains(sOutput, sError + "usage: vqprof graph [--longest MS] GRAPH PNG\n")) << sOutput;
    }
}

TEST(Vqprof, TellsHowItIsUsed)
{
    const auto [nHelpCode, sHelp] = RunTool({"--help"});
    EXPECT_EQ(nHelpCode, 0);
    for (const char* pWord :
         {"usage: vqprof graph", "demo", "trace", "--longest", "--frames", "--no-open", "Exit codes"})
        EXPECT_TRUE(Contains(sHelp, pWord)) << pWord;

    const auto [nVersionCode, sVersion] = RunTool({"--version"});
    EXPECT_EQ(nVersionCode, 0);
    EXPECT_EQ(sVersion.substr(0, 7), "vqprof ");
}
