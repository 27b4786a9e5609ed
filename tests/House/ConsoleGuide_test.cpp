// What docs/console-and-loading.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/ConsoleGuard.h>
#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace
{
// The game around the examples.
int g_nGravity = 10;
std::deque<int> g_oKeys;              // what is still to be typed
std::vector<std::string> g_oPictures; // what was drawn
std::vector<std::string> g_oScreens;  // what the loading screen showed
int g_nLoaded = 0;
bool g_bTerrainMissing = false;

int ReadKey()
{
    if (g_oKeys.empty())
        throw std::logic_error("the game goes on without keys");
    const int nKey = g_oKeys.front();
    g_oKeys.pop_front();
    return nKey;
}

double GetFrameTime()
{
    return static_cast<double>(g_oPictures.size() % 8) / 7 / 30;
}

void DrawOnScreen(std::string_view sText)
{
    g_oPictures.emplace_back(sText);
}

void ShowOnScreen(const std::string& sLine)
{
    g_oScreens.push_back(sLine);
}

void LoadTexture(int)
{
    ++g_nLoaded;
}

void LoadTerrain()
{
    if (g_bTerrainMissing)
        throw std::runtime_error("no terrain");
    ++g_nLoaded;
}

void LoadShips()
{
    ++g_nLoaded;
}

class CNumber : public CVQDebugStatisticsControl
{
public:
    CNumber(CVQDebugStatisticsPage& oPage, const char* pLabel, int& nValue)
        : CVQDebugStatisticsControl(pLabel, &oPage), m_nValue(nValue)
    {
        oPage.AddChild(this);
    }

    int Print(char*& pBuffer, int& nRemaining) override
    {
        return CopyText(CVQString(sctFormat, "%s: %d\n", GetLabel(), m_nValue), pBuffer, nRemaining);
    }

    void SetValueFromString(const CVQString& oText) override { m_nValue = oText.ToInt(10); }

private:
    int& m_nValue;
};

class CGraph : public CVQDebugStatisticsControl
{
public:
    CGraph(CVQDebugStatisticsPage& oPage, const char* pLabel) : CVQDebugStatisticsControl(pLabel, &oPage)
    {
        oPage.AddChild(this);
    }

    void Add(double dShare) // 0 to 1
    {
        m_sValues += " .:-=+*#"[std::lround(std::clamp(dShare, 0.0, 1.0) * 7)];
        if (m_sValues.size() > 40)
            m_sValues.erase(0, 1);
    }

    int Print(char*& pBuffer, int& nRemaining) override
    {
        return CopyText(CVQString(sctFormat, "%s: [%s]\n", GetLabel(), m_sValues.c_str()), pBuffer, nRemaining);
    }

private:
    std::string m_sValues;
};

class CCommands : public IVQDebugStatisticsInterpreter
{
public:
    bool Interpret(const CVQString& oCommand) override
    {
        if (oCommand != "quit")
            return false; // not a command: it is for the current control
        m_bQuit = true;
        return true;
    }

    bool m_bQuit = false;
};

void RunGame()
{
    CVQDebugStatisticsPage oWorld("World"); // registers itself
    CNumber oGravity(oWorld, "Gravity", g_nGravity);
    VQDebugSeparator(oWorld, 0, "Speed");
    CGraph oFrames(oWorld, "Frame");
    CCommands oCommands; // registers itself

    while (!oCommands.m_bQuit)
    {
        oFrames.Add(GetFrameTime() * 30); // full height at 1/30 s
        CVQDebugStatistics::ProcessInput(ReadKey());

        char aText[4096];
        const int nCount = CVQDebugStatistics::Print(aText, sizeof aText);
        DrawOnScreen({aText, static_cast<std::size_t>(nCount)});
    }

    CVQDebugStatistics::RemoveControl(&oWorld); // the console would keep it
    delete oWorld.GetSlot(0);                   // the separator is ours
}

class CLoadingScreen : public IVQLoadGuardWatch
{
public:
    CLoadingScreen() { CVQLoadGuard::Instance()->RegisterWatch(this); }

    ~CLoadingScreen() override { CVQLoadGuard::Instance()->UnregisterWatch(this); }

    void OnBeginLoading() override { ShowOnScreen("Loading"); }

    void OnLoadProgress(float fProgress, const char* pName) override
    {
        const std::string sBar(static_cast<std::size_t>(std::lround(fProgress * 20)), '#');
        const long nPercent = std::lround(fProgress * 100);
        ShowOnScreen(~CVQString(sctFormat, "[%-20s] %3ld %% %s", sBar.c_str(), nPercent, pName));
    }

    void OnEndLoading() override { ShowOnScreen("Ready"); }
};

struct Component
{
    Component(float fWeight, const char* pName) { CVQLoadGuard::Instance()->BeginLoadComponent(fWeight, pName); }

    ~Component() { CVQLoadGuard::Instance()->EndLoadComponent(); }
};

void LoadTextures()
{
    for (int i = 0; i < 4; ++i)
    {
        LoadTexture(i);
        CVQLoadGuard::Instance()->LoadComponentCompleted(0.25f, nullptr); // another quarter
    }
}

void LoadLevel()
{
    {
        const Component oTerrain(0.8f, "terrain");
        LoadTerrain();
    }
    const Component oShips(0.2f, "ships");
    LoadShips();
}

void LoadGame()
{
    auto* pGuard = CVQLoadGuard::Instance();
    CLoadingScreen oScreen; // watches from here on
    pGuard->BeginLoading();
    {
        const Component oTextures(0.5f, "textures");
        LoadTextures();
    }
    {
        const Component oLevel(0.5f, "level");
        LoadLevel();
    }
    pGuard->EndLoading();
}

void TypeKeys(std::string_view sKeys)
{
    for (const char cKey : sKeys)
        g_oKeys.push_back(cKey);
}

std::string Joined(const std::vector<std::string>& oLines)
{
    std::string sText = "\n";
    for (const auto& sLine : oLines)
        sText += sLine + '\n';
    return sText;
}
} // namespace

TEST(ConsoleGuide, RunsItsGame)
{
    const CConsoleGuard oGuard;
    g_nGravity = 10;
    g_oPictures.clear();
    TypeKeys("gr");
    TypeKeys("\x08\x08"
             "3\x05"    // gravity
             "\x04\x04" // over the separator to the graph
             "\x05"     // which takes nothing
             "quit\x05");
    RunGame();
    EXPECT_EQ(g_nGravity, 3);
    EXPECT_TRUE(g_oKeys.empty());
    EXPECT_TRUE(CVQDebugStatistics::m_oControls.empty());
    EXPECT_EQ(CVQDebugStatistics::m_pInterpreter, nullptr);
    ASSERT_GE(g_oPictures.size(), 12U);
    EXPECT_EQ("\n" + g_oPictures[1], R"(
> gr_

World:

> Gravity: 10
  -- Speed --
  Frame: [ .]
)");
    EXPECT_EQ("\n" + g_oPictures[11], R"(
> qui_

World:

  Gravity: 3
  -- Speed --
> Frame: [ .:-=+*# .:-]
)");
}

TEST(ConsoleGuide, LoadsItsGame)
{
    g_oScreens.clear();
    g_nLoaded = 0;
    LoadGame();
    EXPECT_EQ(g_nLoaded, 6);
    EXPECT_FALSE(CVQLoadGuard::Instance()->HasWatches());
    EXPECT_EQ(Joined(g_oScreens), R"(
Loading
[###                 ]  13 % textures
[#####               ]  25 % textures
[########            ]  38 % textures
[##########          ]  50 % textures
[##########          ]  50 % textures
[##################  ]  90 % terrain
[####################] 100 % ships
[####################] 100 % ships
Ready
)");
}

TEST(ConsoleGuide, EndsItsComponentsWhenLoadingFails)
{
    auto* pGuard = CVQLoadGuard::Instance();
    pGuard->BeginLoading();
    g_bTerrainMissing = true;
    {
        const Component oHalf(0.5f, "half");
        EXPECT_THROW(LoadLevel(), std::runtime_error);
    }
    EXPECT_FLOAT_EQ(pGuard->GetProgress(), 0.5F);
    pGuard->LoadComponentCompleted(0.25f, nullptr); // the whole is open again
    EXPECT_FLOAT_EQ(pGuard->GetProgress(), 0.75F);

    EXPECT_THROW(LoadGame(), std::runtime_error);
    EXPECT_FALSE(pGuard->HasWatches());
    g_bTerrainMissing = false;
    pGuard->BeginLoading();
}

TEST(ConsoleGuide, ShowsWhatIsRunHere)
{
    const std::string sSource = ReadWholeFile(GetTestPath("House/ConsoleGuide_test.cpp"));
    const auto oBlocks = BlocksOfGuide(ReadWholeFile(GetTestPath("../docs/console-and-loading.md")), {"cpp", "text"});
    EXPECT_GE(oBlocks.size(), 8U);
    for (const auto& sBlock : oBlocks)
        EXPECT_TRUE(HoldsBlock(sSource, sBlock)) << sBlock;
}

TEST(ConsoleGuide, WouldNoticeWhatIsNot)
{
    const std::string sPage = "text\n```cpp\nint n;\n  n++;\n```\n```sh\nls\n```\n```text\nout\n```\n";
    EXPECT_EQ(BlocksOfGuide(sPage, {"cpp", "text"}), (std::vector<std::string>{"int n;\n  n++;\n", "out\n"}));
    EXPECT_EQ(BlocksOfGuide("no fences\n", {"cpp"}).size(), 0U);
    EXPECT_TRUE(HoldsBlock("{\n    int n;\n    n++;\n}\n", "int n;\n  n++;\n"));
    EXPECT_FALSE(HoldsBlock("{\n    int n;\n    n--;\n}\n", "int n;\n  n++;\n"));
    EXPECT_FALSE(HoldsBlock("int n; n++;\n", "int n;\n"));
    EXPECT_FALSE(HoldsBlock("int n;\n\nn++;\n", "int n;\nn++;\n"));
}
