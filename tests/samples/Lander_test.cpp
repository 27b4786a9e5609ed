// The game of the samples: the built program, run as a player runs it, and its parts that read what comes from outside.

#include <samples/lander/Console.h>
#include <samples/lander/Ghost.h>
#include <samples/lander/Loading.h>
#include <samples/lander/Saves.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/Sanitizer.h>
#include <tests/support/Terminal.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace
{
fs::path GetProgramPath(const std::string& sName)
{
    return fs::path(ThisProgram()).parent_path() / sName;
}

std::string GetProgram()
{
    return GetProgramPath("lander" + fs::path(ThisProgram()).extension().string()).string();
}

/// A directory that the game can be played in: with its archive, or with the loose files where that was not packed.
class CHome : public CTestDirectory
{
public:
    CHome()
    {
        if (HasArchive())
            fs::copy_file(GetProgramPath("lander.arc"), PathOf("lander.arc"));
        else
            fs::copy(GetTestPath("../samples/lander/assets"), PathOf("lander"), fs::copy_options::recursive);
    }

    static bool HasArchive() { return fs::exists(GetProgramPath("lander.arc")); }
};

struct sOutcome
{
    int m_nCode;
    std::string m_sOutput;

    /// What stands behind a title of the table.
    std::string Get(const std::string& sTitle) const
    {
        std::smatch oMatch;
        const bool bFound = std::regex_search(m_sOutput, oMatch, std::regex("(?:^|\n)" + sTitle + " +([^\n]*)"));
        return bFound ? oMatch[1].str() : "";
    }
};

sOutcome RunGame(std::vector<std::string> aArguments)
{
    aArguments.insert(aArguments.begin(), GetProgram());
    ChildResult oResult = ChildProcess(aArguments).Wait(std::chrono::seconds(300));
    std::erase(oResult.sOutput, '\r');
    return {oResult.nExitCode, oResult.sOutput};
}

sOutcome RunDemo(const CTestDirectory& oHome, int nSeconds)
{
    return RunGame({"--home", oHome.GetPath(), "--demo", std::to_string(nSeconds)});
}

// What every machine tells of a minute, whatever its words and widths are.
constexpr const char* MINUTE = "seconds 60, landed 2, crashed 0, level 2, score 428, states bf52b64cdfd2b741";

sFlight MakeFlight()
{
    sFlight oFlight;
    oFlight.m_nLevel = 2;
    oFlight.m_nX = 400 * METRE;
    oFlight.m_nY = 200 * METRE;
    oFlight.m_nSpeedX = -1234;
    oFlight.m_nTilt = -2;
    oFlight.m_nThrottle = 3;
    oFlight.m_nFuel = 4321;
    oFlight.m_nGravity = 1620;
    oFlight.m_nGust = -17;
    oFlight.m_nTick = 999;
    oFlight.m_nScore = 428;
    oFlight.m_nRandom = 77;
    return oFlight;
}

constexpr const char* LEVEL = "level \"Test\"\nfuel := 100\nship 100, 300 moving 1, -2\nground 0, 50\nground 1200, 60\n"
                              "pad 100 .. 200 bonus 3\n";

std::vector<std::string> GetErrors(const std::string& sText)
{
    std::vector<std::string> aErrors;
    sLevel oLevel;
    CLevelReader("a.lvl", sText, oLevel, aErrors);
    return aErrors;
}

using Lines = std::vector<std::string>;

/// What a terminal shows that gets escape sequences.
class CShown
{
public:
    CShown(int nWidth, int nHeight)
        : m_aLines(static_cast<std::size_t>(nHeight), std::string(static_cast<std::size_t>(nWidth), ' '))
    {
    }

    void Add(std::string_view sBytes)
    {
        for (std::size_t i = 0; i < sBytes.size(); ++i)
        {
            if (sBytes[i] != '\x1b')
            {
                m_aLines.at(m_nY).at(m_nX++) = sBytes[i];
                continue;
            }
            const std::size_t nEnd = sBytes.find_first_of("Hmhl", i);
            const std::string sSequence(sBytes.substr(i + 2, nEnd - i - 2));
            if (sBytes[nEnd] == 'H')
            {
                m_nY = std::stoul(sSequence) - 1;
                m_nX = std::stoul(sSequence.substr(sSequence.find(';') + 1)) - 1;
            }
            i = nEnd;
        }
    }

    const Lines& GetLines() const { return m_aLines; }

private:
    Lines m_aLines;
    std::size_t m_nX = 0, m_nY = 0;
};
} // namespace

// ---------------------------------------------------------------- the demo

TEST(Lander, PlaysTheSameGameOnEveryMachine)
{
    const CHome oHome;
    const sOutcome oDemo = RunDemo(oHome, 60);
    EXPECT_EQ(oDemo.m_nCode, 0) << oDemo.m_sOutput;
    EXPECT_EQ(oDemo.Get("RESULT"), MINUTE) << oDemo.m_sOutput;
    EXPECT_EQ(oDemo.m_sOutput.rfind("RESULT"), oDemo.m_sOutput.rfind('\n', oDemo.m_sOutput.size() - 2) + 1);
}

TEST(Lander, TellsWhatTheDemoDid)
{
    const CHome oHome;
    const sOutcome oDemo = RunDemo(oHome, 20);
    EXPECT_EQ(oDemo.m_nCode, 0);
    for (const char* pTitle : {"files", "first frame", "frames", "frame time", "profiler", "log", "memory", "RESULT"})
        EXPECT_NE(oDemo.Get(pTitle), "") << pTitle;
    EXPECT_EQ(oDemo.Get("frames").substr(0, 17), "1200 of 120 x 40,");

    EXPECT_TRUE(oHome.Has("demo.sav")); // the loose one
    EXPECT_FALSE(oHome.Has("lander.sav")) << "the player's stays as it is";
    EXPECT_TRUE(oHome.Has("Lander.log"));
    EXPECT_FALSE(oHome.Has("demo.sav.tmp"));
    EXPECT_FALSE(oHome.Has("VQProfiler.htm"));
}

TEST(Lander, LogsAtTheLevelsThatItReports)
{
    const CHome oHome;
    EXPECT_EQ(RunDemo(oHome, 60).m_nCode, 0);
    const std::string sLog = oHome.Read("Lander.log");
    for (const char* pLine : {"levels were loaded\r\n", "level 1: Sea of Calm\r\n", "landed: score 428\r\n"})
        EXPECT_NE(sLog.find(pLine), std::string::npos) << pLine << sLog;
}

TEST(Lander, TakesALooseFileInPlaceOfTheArchivedOne)
{
    const CHome oHome;
    oHome.Write("mods/levels/1.lvl", LEVEL);
    oHome.Write("mods/levels/mine.lvl", LEVEL);
    oHome.Write("mods/levels/wrong.lvl", "level 5\n");
    const sOutcome oDemo = RunDemo(oHome, 1);
    EXPECT_EQ(oDemo.m_nCode, 0);
    const std::string sLog = oHome.Read("Lander.log");
    EXPECT_NE(sLog.find("4 levels were loaded"), std::string::npos) << sLog;
    EXPECT_NE(sLog.find("level 1: Test"), std::string::npos) << sLog;
    EXPECT_NE(sLog.find("levels/wrong.lvl:1:7: it should look like level \"Sea of Calm\""), std::string::npos) << sLog;
}

TEST(Lander, DoesNotGrowInHalfAnHour)
{
    if (HAS_SANITIZER)
        GTEST_SKIP() << "the sanitizers keep memory that was freed";
    const CHome oHome;
    const std::string sMemory = RunDemo(oHome, 1800).Get("memory");
    unsigned nHalf = 0;
    unsigned nEnd = 0;
    ASSERT_EQ(std::sscanf(sMemory.c_str(), "%u KiB half-way, %u KiB at the end", &nHalf, &nEnd), 2) << sMemory;
    // The system's allocator may do what it likes with 256 KiB; a leak of ten bytes a frame would be 527.
    EXPECT_GT(nHalf, 0U);
    EXPECT_LE(nEnd, nHalf + 256);
}

// ---------------------------------------------------------------- wrong use, and what is broken

TEST(Lander, HasTheOptionsOfEveryTool)
{
    for (const char* pHelp : {"--help", "-h"})
    {
        const sOutcome oHelp = RunGame({pHelp});
        EXPECT_EQ(oHelp.m_nCode, 0);
        EXPECT_EQ(oHelp.m_sOutput.rfind("usage: lander", 0), 0U);
    }
    const sOutcome oVersion = RunGame({"--version"});
    EXPECT_EQ(oVersion.m_nCode, 0);
    EXPECT_EQ(oVersion.m_sOutput, "lander 1.0.0\n");

    for (const std::vector<std::string>& aWrong : {std::vector<std::string>{"--none"},
                                                   {"more"},
                                                   {"--demo"},
                                                   {"--demo", ""},
                                                   {"--demo", "0"},
                                                   {"--demo", "1x"},
                                                   {"--demo", "-1"},
                                                   {"--demo", "99999999999"},
                                                   {"--home"}})
    {
        const sOutcome oWrong = RunGame(aWrong);
        EXPECT_EQ(oWrong.m_nCode, 2) << aWrong[0];
        EXPECT_EQ(oWrong.m_sOutput.rfind("lander: ", 0), 0U) << oWrong.m_sOutput;
        EXPECT_NE(oWrong.m_sOutput.find("\nusage: lander"), std::string::npos);
    }
}

TEST(Lander, SaysWhatIsWrongWithItsFiles)
{
    const CTestDirectory oEmpty;
    EXPECT_EQ(RunDemo(oEmpty, 1).m_nCode, 1);
    EXPECT_EQ(RunDemo(oEmpty, 1).m_sOutput, "lander: lander.arc: is missing\n");
    EXPECT_EQ(RunGame({"--home", oEmpty.PathOf("none"), "--demo", "1"}).m_sOutput,
              "lander: " + oEmpty.PathOf("none") + ": no such directory\n");
}

TEST(Lander, ReadsItsFilesOutOfTheArchive)
{
    if (!CHome::HasArchive())
        GTEST_SKIP() << "the archive could not be packed: its packer does not run on the machine that built it";
    const CHome oHome;
    const sOutcome oDemo = RunDemo(oHome, 20);
    EXPECT_NE(oDemo.Get("files").find("from lander.arc, 1 loose"), std::string::npos) << oDemo.m_sOutput;
}

TEST(Lander, RefusesAnArchiveOfAnotherVersion)
{
    if (!CHome::HasArchive())
        GTEST_SKIP() << "the archive could not be packed: its packer does not run on the machine that built it";
    const CHome oHome;
    std::string sArchive = oHome.Read("lander.arc");
    sArchive[4] = '\x7F'; // the major version stands behind the four bytes of the mark
    oHome.Write("lander.arc", sArchive);
    const sOutcome oDemo = RunDemo(oHome, 1);
    EXPECT_EQ(oDemo.m_nCode, 1);
    EXPECT_EQ(oDemo.m_sOutput, "lander: Incorrect archive version.\n");
}

TEST(Lander, RefusesAnArchiveThatWasCut)
{
    if (!CHome::HasArchive())
        GTEST_SKIP() << "the archive could not be packed: its packer does not run on the machine that built it";
    const CHome oHome;
    const std::string sArchive = oHome.Read("lander.arc");
    for (const std::size_t nSize : {std::size_t{0}, std::size_t{3}, std::size_t{20}, sArchive.size() / 4,
                                    sArchive.size() / 2, sArchive.size() - 1})
    {
        oHome.Write("lander.arc", sArchive.substr(0, nSize));
        const sOutcome oDemo = RunDemo(oHome, 1);
        EXPECT_EQ(oDemo.m_nCode, 1) << nSize;
        EXPECT_EQ(oDemo.m_sOutput.rfind("lander: ", 0), 0U) << nSize << oDemo.m_sOutput;
    }
}

// ---------------------------------------------------------------- levels

TEST(LanderLevel, ReadsALevel)
{
    std::vector<std::string> aErrors;
    sLevel oLevel;
    CLevelReader("a.lvl", LEVEL, oLevel, aErrors);
    EXPECT_EQ(aErrors, Lines());
    EXPECT_EQ(oLevel.m_sName, "Test");
    EXPECT_EQ(oLevel.m_nFuel, 100);
    EXPECT_EQ(oLevel.m_nSpeedY, -2);
    EXPECT_EQ(oLevel.m_nPadTo, 200);
    EXPECT_EQ(oLevel.GetGround(600 * METRE), 55 * METRE);
    EXPECT_EQ(oLevel.GetGround(-METRE), oLevel.GetGround(0) - METRE * 10 / 1200); // goes on beside the world
}

TEST(LanderLevel, TellsOneMistakeALineWithItsPlace)
{
    EXPECT_EQ(
        GetErrors("level 5\n"
                  "\tgravity 3\n"
                  "wind := x\r\n"
                  " foo\n"
                  "fuel := 1 2\n"
                  "ship 1,2 moving 3\n"
                  "/* a\n"
                  " b */ pad 3 . 5\n"
                  "ground 5,\n"
                  "ground 2, -999\n"
                  "pad 1190 .. 1200 bonus 1\n"
                  "level \xFF\n"
                  "wind := 3\n"
                  "ship 1, 2 falling 3, 4\n"
                  "ground 5, 6\n"
                  "ground 5, 6\n"
                  ":= 4"),
        (Lines{"a.lvl:1:7: it should look like level \"Sea of Calm\"",
               "a.lvl:2:10: it should look like gravity := 1.62", "a.lvl:3:9: a number is missing",
               "a.lvl:4:2: level, gravity, wind, fuel, ship, ground or pad is missing",
               "a.lvl:5:11: the line should end here", "a.lvl:6:18: it should look like ship 150, 360 moving 14, 0",
               "a.lvl:8:13: it should look like pad 440 .. 560 bonus 1", "a.lvl:9:10: a number is missing",
               "a.lvl:10:12: the number should be from 0 to 400", "a.lvl:11:5: the number should be from 0 to 1180",
               "a.lvl:12:7: it should look like level \"Sea of Calm\"", "a.lvl:13:9: the number should be from -2 to 2",
               "a.lvl:14:11: it should look like ship 150, 360 moving 14, 0",
               "a.lvl:16:11: the ground should go on to the right",
               "a.lvl:17:1: level, gravity, wind, fuel, ship, ground or pad is missing"}));
}

TEST(LanderLevel, TellsWhatTheWholeLacks)
{
    EXPECT_EQ(GetErrors(""), Lines{"a.lvl:1:1: the level has no name"});
    EXPECT_EQ(GetErrors("level \"x\"\nground 0, 1"), Lines{"a.lvl:2:12: the ground should go from 0 to 1200"});
    const std::string sLevel(LEVEL);
    EXPECT_EQ(GetErrors(sLevel.substr(0, sLevel.find("pad"))),
              Lines{"a.lvl:6:1: fuel and a pad of 20 metres are needed"});
    EXPECT_EQ(GetErrors(sLevel + "ship 100, 50 moving 0, 0\n"), Lines{"a.lvl:8:1: the ship is below the ground"});
    EXPECT_EQ(GetErrors(sLevel + "pad 100 .. 119 bonus 1\n"),
              Lines{"a.lvl:8:1: fuel and a pad of 20 metres are needed"});
    EXPECT_EQ(GetErrors(sLevel + "ground 1201, 3\n"), Lines{"a.lvl:7:8: the number should be from 0 to 1200"});
    EXPECT_EQ(GetErrors(sLevel + "ground 1200, 3\n"), Lines{"a.lvl:7:14: the ground should go on to the right"});
}

TEST(LanderLevel, TakesAnyBytes)
{
    // every prefix, and every byte replaced: nothing but an answer may come of it
    const std::string sLevel(LEVEL);
    for (std::size_t i = 0; i <= sLevel.size(); ++i)
        EXPECT_EQ(GetErrors(sLevel.substr(0, i)).empty(), i >= sLevel.size() - 1) << i;
    for (std::size_t i = 0; i < sLevel.size(); ++i)
    {
        for (const char cByte : {'\0', '\n', '"', '*', '/', '9', '\x80', '\xFF'})
        {
            std::string sDamaged = sLevel;
            sDamaged[i] = cByte;
            EXPECT_LE(GetErrors(sDamaged).size(), 8U);
        }
    }
    EXPECT_LE(GetErrors(std::string(100000, '\n') + std::string(1000, '5')).size(), 1U);
    std::string sMany;
    for (int i = 0; i < 1000; ++i)
        sMany += "x\n";
    EXPECT_EQ(GetErrors(sMany).size(), 100U);
}

TEST(LanderLevel, ReadsTheGamesOwn)
{
    for (const char* pName : {"1.lvl", "2.lvl", "3.lvl"})
    {
        const fs::path oPath = GetTestPath("../samples/lander/assets/levels") / pName;
        EXPECT_EQ(GetErrors(ReadWholeFile(oPath)), Lines()) << pName;
    }
}

// ---------------------------------------------------------------- saved games

TEST(LanderSaveGame, ComesBack)
{
    const std::string sBytes = SavedGame::Pack(MakeFlight());
    EXPECT_EQ(SavedGame::Unpack(sBytes, 3), MakeFlight());
    EXPECT_THROW(SavedGame::Unpack(sBytes, 2), std::runtime_error) << "there is no such level";
}

TEST(LanderSaveGame, OfAnOlderVersionStillLoads)
{
    const std::string sBytes = ReadWholeFile(GetTestPath("../samples/lander/assets/saves/old.sav"));
    const sFlight oFlight = SavedGame::Unpack(sBytes, 3);
    EXPECT_EQ(oFlight.m_nLevel, 0);
    EXPECT_EQ(oFlight.m_nX, 300 * METRE);
    EXPECT_EQ(oFlight.m_nFuel, 4000);
    EXPECT_EQ(oFlight.m_nTick, 600);
    EXPECT_EQ(oFlight.m_nRandom, 4711);
    EXPECT_EQ(oFlight.m_nThrottle, 0);
    EXPECT_EQ(oFlight.m_nScore, 0);
}

TEST(LanderSaveGame, IsRefusedWhereverItIsDamaged)
{
    const auto IsRefused = [](const std::string& sBytes)
    { return !GetError([&] { SavedGame::Unpack(sBytes, 3); }).empty(); };
    const std::string sBytes = SavedGame::Pack(MakeFlight());
    ASSERT_FALSE(IsRefused(sBytes));
    for (std::size_t i = 0; i < sBytes.size(); ++i)
    {
        EXPECT_TRUE(IsRefused(sBytes.substr(0, i))) << i;
        for (int nBit = 0; nBit < 8; ++nBit)
        {
            std::string sDamaged = sBytes;
            sDamaged[i] = static_cast<char>(sDamaged[i] ^ (1 << nBit));
            EXPECT_TRUE(IsRefused(sDamaged)) << i;
        }
    }
    EXPECT_TRUE(IsRefused(sBytes + 'x'));
    EXPECT_TRUE(IsRefused(std::string(100000, 'L')));
}

TEST(LanderSaveGame, IsRefusedWhenItIsMadeUp)
{
    for (std::int32_t sFlight::*pField :
         {&sFlight::m_nLevel, &sFlight::m_nX, &sFlight::m_nY, &sFlight::m_nSpeedX, &sFlight::m_nSpeedY,
          &sFlight::m_nTilt, &sFlight::m_nThrottle, &sFlight::m_nFuel, &sFlight::m_nState, &sFlight::m_nGravity,
          &sFlight::m_nGust, &sFlight::m_nTick, &sFlight::m_nScore})
    {
        for (const std::int32_t nValue : {INT32_MIN, -METRE * 11, INT32_MAX})
        {
            sFlight oFlight = MakeFlight();
            oFlight.*pField = nValue;
            EXPECT_THROW(SavedGame::Unpack(SavedGame::Pack(oFlight), 3), std::runtime_error);
        }
    }
    sFlight oFlight = MakeFlight();
    oFlight.m_nRandom = 0;
    EXPECT_THROW(SavedGame::Unpack(SavedGame::Pack(oFlight), 3), std::runtime_error);
}

TEST(LanderSaveGame, IsKeptWhenTheDiskIsFull)
{
    if (!CFileSizeLimit::IsSupported())
        GTEST_SKIP() << "the system has no limit for the size of files";
    const CTestDirectory oDirectory;
    oDirectory.Write("lander.sav", "the old one");
    std::string sError;
    {
        const CFileSizeLimit oLimit(10);
        sError =
            SaveSafely("lander.sav", [](CFileIO& oFile) { return oFile.Write("a new one, and a longer one", 27UL); });
    }
    EXPECT_EQ(sError.rfind("lander.sav: ", 0), 0U) << sError;
    EXPECT_EQ(oDirectory.Read("lander.sav"), "the old one");
    EXPECT_FALSE(oDirectory.Has("lander.sav.tmp"));
    EXPECT_EQ(SaveSafely("lander.sav", [](CFileIO& oFile) { return oFile.Write("a new one", 9UL); }), "");
    EXPECT_EQ(oDirectory.Read("lander.sav"), "a new one");
    EXPECT_NE(SaveSafely("none/lander.sav", [](CFileIO& oFile) { return oFile.Write("x", 1UL); }), "");
}

// ---------------------------------------------------------------- settings, texts

TEST(IsolatedLander, KeepsItsSettings)
{
    const CHome oHome;
    OpenAssets();
    {
        CSettings oSettings;
        EXPECT_EQ(oSettings.Load(), "");
        EXPECT_EQ(oSettings.GetInt("Levels", 99), 3);
        EXPECT_EQ(oSettings.GetInt("Levels", 2), 2);
        EXPECT_EQ(oSettings.GetInt("None", 99), 0);
        oSettings.SetProperty("Language", 1);
        EXPECT_EQ(SaveSafely(CSettings::FILE_NAME, [&](CFileIO& oFile) { return oSettings.Write(&oFile); }), "");
    }
    const std::string sBytes = oHome.Read("player.vqp");
    CSettings oSettings;
    EXPECT_EQ(oSettings.Load(), "");
    EXPECT_EQ(oSettings.GetInt("Language", 1), 1);

    for (std::size_t i = 0; i < sBytes.size(); ++i)
    {
        oHome.Write("player.vqp", sBytes.substr(0, i));
        CSettings oDamaged;
        oDamaged.Load();
        EXPECT_EQ(oDamaged.GetInt("Levels", 99), 3) << i;
    }
}

TEST(IsolatedLander, SwitchesItsTexts)
{
    const CHome oHome;
    OpenAssets();
    LoadTexts();
    std::set<std::string> aTexts;
    for (std::size_t nLanguage = 0; nLanguage < std::size(LANGUAGES); ++nLanguage)
    {
        g_nLanguage = nLanguage;
        EXPECT_EQ(Text(TEXT_LANGUAGE), nLanguage == 0 ? "English" : "Nederlands");
        for (long nText = TEXT_ALTITUDE; nText <= TEXT_LAST; ++nText)
        {
            const std::string sText = Text(nText);
            EXPECT_NE(sText, "");
            EXPECT_LE(sText.size(), 80U) << sText;
            for (const char cText : sText)
                EXPECT_TRUE(cText >= ' ' && cText <= '~') << sText;
        }
        EXPECT_EQ(CVQString(CVQStringId(TEXT_LAST + 1)).GetLength(), 0);
    }
}

// ---------------------------------------------------------------- the game

TEST(LanderGame, LandsEveryLevelByItself)
{
    for (const char* pName : {"1.lvl", "2.lvl", "3.lvl"})
    {
        std::vector<std::string> aErrors;
        sLevel oLevel;
        const std::string sText = ReadWholeFile(GetTestPath("../samples/lander/assets/levels") / pName);
        CLevelReader(pName, sText, oLevel, aErrors);
        ASSERT_EQ(aErrors, Lines());
        for (const std::int32_t nSeed : {1, 1969, -1})
        {
            CGame oGame;
            oGame.Start(&oLevel, 0, nSeed);
            for (int i = 0; i < 10000 && oGame.GetFlight().m_nState == FLIGHT_FLYING; ++i)
            {
                oGame.SteerByItself();
                oGame.Tick();
            }
            EXPECT_EQ(oGame.GetFlight().m_nState, FLIGHT_LANDED) << pName << nSeed;
        }
    }
}

TEST(LanderGame, CrashesWithoutAPilot)
{
    std::vector<std::string> aErrors;
    sLevel oLevel;
    CLevelReader("a.lvl", LEVEL, oLevel, aErrors);
    ASSERT_EQ(aErrors, Lines());
    CGame oGame;
    oGame.Start(&oLevel, 0, 1);
    for (int i = 0; i < 10000 && oGame.GetFlight().m_nState == FLIGHT_FLYING; ++i)
        oGame.Tick();
    EXPECT_EQ(oGame.GetFlight().m_nState, FLIGHT_CRASHED);
}

// ---------------------------------------------------------------- the picture

TEST(LanderScreen, SendsOnlyWhatHasChanged)
{
    CScreen oScreen;
    oScreen.SetSize(20, 3);
    oScreen.Write(2, 1, "abc", COLOUR_GOOD);
    CShown oShown(20, 3);
    oShown.Add(oScreen.Present());
    EXPECT_EQ(oShown.GetLines(), (Lines{std::string(20, ' '), "  abc" + std::string(15, ' '), std::string(20, ' ')}));
    EXPECT_EQ(oScreen.Present(), "");

    oScreen.Put(3, 1, 'x', COLOUR_GOOD);
    EXPECT_EQ(oScreen.Present(), "\x1b[2;4H\x1b[92mx");
    oScreen.Put(3, 1, '\x1b', COLOUR_GOOD); // no command gets through
    EXPECT_EQ(oScreen.Present(), "\x1b[2;4H?");
    oScreen.Forget();
    EXPECT_GT(oScreen.Present().size(), 60U);
}

TEST(IsolatedLander, DrawsAtAnySize)
{
    const CHome oHome;
    OpenAssets();
    LoadTexts();
    std::vector<std::string> aErrors;
    sLevel oLevel;
    CLevelReader("a.lvl", LEVEL, oLevel, aErrors);
    ASSERT_EQ(aErrors, Lines());
    CGame oGame;
    oGame.Start(&oLevel, 0, 1);
    const sGameData oData = CLoader(3).Take();
    ASSERT_EQ(oData.m_aLevels.size(), 3U);
    constexpr std::pair<int, int> SIZES[] = {{1, 1}, {2, 2}, {10, 5}, {5, 100}, {80, 24}, {120, 40}, {300, 3}};
    for (const auto& oSize : SIZES)
    {
        const int nWidth = oSize.first;
        const int nHeight = oSize.second;
        CScene oScene(oData.m_aShips);
        oScene.SetSize(nWidth, nHeight);
        oScene.DrawLoading(0.5F);
        oScene.DrawGround(oLevel);
        for (const std::int32_t nTilt : {-3, 0, 3})
            oScene.DrawShip({.m_nX = 600 * METRE, .m_nY = 200 * METRE, .m_nTilt = nTilt, .m_nThrottle = 4},
                            COLOUR_BRIGHT);
        oScene.DrawTexts(oGame, 60, true, "message");
        CShown oShown(nWidth, nHeight);
        oShown.Add(oScene.Present());

        // a box is read without the picture behind it
        oScene.DrawBox("caption", "text\r\nof lines", TEXT_ANSWERS);
        oShown.Add(oScene.Present());
        if (nWidth < 80 || nHeight < 5)
            continue;
        const auto Line = [&](std::string sText, std::size_t nColumn)
        {
            sText.insert(0, nColumn, ' ');
            sText.resize(static_cast<std::size_t>(nWidth), ' ');
            return sText;
        };
        Lines aExpected(static_cast<std::size_t>(nHeight), Line("", 0));
        const auto Middle = [&](const std::string& sText)
        { return Line(sText, (static_cast<std::size_t>(nWidth) - sText.size()) / 2); };
        aExpected[1] = Middle("caption");
        aExpected[2] = Line("text", 1);
        aExpected[3] = Line("of lines", 1);
        aExpected.back() = Middle(Text(TEXT_ANSWERS));
        EXPECT_EQ(oShown.GetLines(), aExpected);
    }
}

// ---------------------------------------------------------------- the console

namespace
{
/// A console over values of its own.
class CTestConsole
{
public:
    /// Types a text; gives what nobody knew of it.
    Lines Type(const std::string& sKeys)
    {
        Lines aUnknown;
        for (const char cKey : sKeys)
        {
            const std::string sUnknown = m_oConsole.PressKey(cKey);
            const std::string sText = "Unknown command: ";
            EXPECT_TRUE(sUnknown.empty() || sUnknown.starts_with(sText)) << sUnknown;
            if (!sUnknown.empty())
                aUnknown.push_back(sUnknown.substr(sText.size()));
        }
        return aUnknown;
    }

    CTestConsole()
    {
        m_oTimer.DefineChannel(0, "game");
        m_oTimer.Start(0);
        m_oConsole.PressKey('\t');
    }

    CVQTimer m_oTimer;
    CGame m_oGame;
    Commands m_oCommands = {
        {"gravity", {[this](float fValue) { m_oGame.Gravity() = static_cast<int>(fValue * 1000); }, 0, 20}},
        {"pause", {[this](float) { m_oTimer.IsPaused(0) ? m_oTimer.Continue(0) : m_oTimer.Pause(0); }}},
        {"language", {[](float) { g_nLanguage = 1 - g_nLanguage; }}}};
    CConsole m_oConsole{m_oGame, m_oCommands};
};
} // namespace

TEST(IsolatedLander, ShowsAndChangesItsValues)
{
    const CHome oHome;
    OpenAssets();
    LoadTexts();
    CTestConsole o;
    CConsole& oConsole = o.m_oConsole;
    EXPECT_TRUE(CConsole::IsShown());
    EXPECT_EQ(o.Type("3.5\n"), Lines());
    EXPECT_EQ(o.m_oGame.Gravity(), 3500);
    oConsole.PressKey(KEY_DOWN);
    EXPECT_EQ(o.Type("\n"), Lines());
    EXPECT_TRUE(o.m_oTimer.IsPaused(0));
    oConsole.PressKey(KEY_DOWN);
    EXPECT_EQ(o.Type("\n"), Lines());
    EXPECT_EQ(g_nLanguage, 1U);
    oConsole.PressKey('\x1b'); // means nothing
    EXPECT_EQ(o.Type("abc\b"), Lines());

    CScreen oScreen;
    oScreen.SetSize(40, 12);
    oConsole.NextFrame();
    oConsole.Draw(oScreen, 1);
    CShown oShown(40, 12);
    oShown.Add(oScreen.Present());
    const auto Line = [](std::string sText) { return ' ' + sText + std::string(39 - sText.size(), ' '); };
    EXPECT_EQ(oShown.GetLines(),
              (Lines{std::string(40, ' '), Line("> ab_"), Line(""), Line("Game:"), Line(""), Line("  Gravity: 3.500"),
                     Line("  Paused: [x]"), Line("> Language: Nederlands"), Line("  -- full at 1/30 second --"),
                     ' ' + ("  Frames: #" + std::string(28, ' ')), Line(""), Line("")}));

    for (int nPage = 0; nPage < 2; ++nPage)
    {
        oConsole.PressKey(KEY_RIGHT);
        oConsole.NextFrame();
        oConsole.Measure("MainLoop", [&] { oConsole.Draw(oScreen, 60); });
    }

    oConsole.PressKey(KEY_RIGHT);
    oConsole.NextFrame();
    oConsole.Measure("MainLoop", [] {});
    oConsole.NextFrame();
    oConsole.PressKey(KEY_UP); // has the text made anew
    oConsole.Draw(oScreen, 60);
    oShown.Add(oScreen.Present());
    std::string sPage;
    for (const std::string& sLine : oShown.GetLines())
        sPage += sLine;
    EXPECT_NE(sPage.find("MainLoop"), std::string::npos) << sPage;

    oConsole.PressKey('\t');
    EXPECT_FALSE(CConsole::IsShown());
}

TEST(IsolatedLander, TellsOfWhatNobodyKnows)
{
    const CHome oHome;
    OpenAssets();
    LoadTexts();
    CTestConsole o;
    // with the focus on each line: the number, the switch, the choice, the separator, the graph
    for (int nLine = 0; nLine < 5; ++nLine)
    {
        o.m_oGame.Gravity() = 1620;
        EXPECT_EQ(o.Type("nonsense\n"), Lines{"nonsense"}) << nLine;
        EXPECT_EQ(o.Type("-1\n21\n1x\nnan\n"), (Lines{"-1", "21", "1x", "nan"})) << nLine;
        EXPECT_EQ(o.Type("gravity\ngravity 1x\ngravity 20.5\npause 1\n gravity 2\n"),
                  (Lines{"gravity", "gravity 1x", "gravity 20.5", "pause 1", " gravity 2"}))
            << nLine;
        EXPECT_EQ(o.m_oGame.Gravity(), 1620);
        EXPECT_FALSE(o.m_oTimer.IsPaused(0));
        EXPECT_EQ(g_nLanguage, 0U);
        EXPECT_EQ(o.Type("gravity 0 \n"), Lines());
        EXPECT_EQ(o.m_oGame.Gravity(), 0);
        o.m_oConsole.PressKey(KEY_DOWN);
    }
    EXPECT_EQ(o.Type("pause\n"), Lines());
    EXPECT_TRUE(o.m_oTimer.IsPaused(0));
    for (int i = 0; i < 4; ++i)
        o.m_oConsole.PressKey(KEY_DOWN);
    EXPECT_EQ(o.Type("\n"), Lines()) << "an empty line is no command";
}

// ---------------------------------------------------------------- two windows

TEST(LanderGhost, ShowsEachWindowTheOther)
{
    const std::string sName = "lander-test-" + std::to_string(std::random_device()());
    CGhost oFirst(sName);
    EXPECT_FALSE(oFirst.IsSecond());
    // the mutex knows threads: another one is as good as another window
    std::thread(
        [&]
        {
            CGhost oSecond(sName);
            EXPECT_TRUE(oSecond.IsSecond());
            oFirst.Send({.m_nLevel = 1, .m_nX = 22, .m_nY = 33, .m_nTilt = -1});
            sFlight oShip;
            ASSERT_TRUE(oSecond.Receive(oShip));
            EXPECT_EQ(oShip.m_nX, 22);
            EXPECT_EQ(oShip.m_nTilt, -1);
            EXPECT_FALSE(oSecond.Receive(oShip));

            oSecond.Send({.m_nLevel = 2});
            oSecond.Send({.m_nLevel = 3});
            ASSERT_TRUE(oFirst.Receive(oShip));
            EXPECT_EQ(oShip.m_nLevel, 3) << "the last one counts";

            CGhost oThird(sName); // finds the slot taken, and is alone
            EXPECT_FALSE(oThird.Receive(oShip));
        })
        .join();
    for (int i = 0; i < 100; ++i)
        oFirst.Send({}); // the other window has been closed
}

TEST(LanderGhost, LeavesOtherMessagesAlone)
{
    const std::string sName = "lander-other-" + std::to_string(std::random_device()());
    CGhost oFirst(sName);
    CVQMailSlot oStranger;
    oStranger.Open(("\\\\.\\mailslot\\" + sName + "-1").c_str(), false);
    for (const unsigned long nSize : {1UL, 20UL, 400UL})
    {
        const std::string sBytes(nSize, '\x7F');
        oStranger.BeginWrite();
        oStranger.Write(sBytes.data(), nSize);
        oStranger.EndWrite();
    }
    sFlight oShip;
    EXPECT_FALSE(oFirst.Receive(oShip));
    EXPECT_EQ(oShip, sFlight());
}

// ---------------------------------------------------------------- at a terminal

namespace
{
constexpr const char* RESTORED = "\x1b[?25h\x1b[?1049l";

/// The game at a terminal of its own.
class LanderAtTerminal : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!HasTerminals())
            GTEST_SKIP() << "the tests have no terminals on this system";
    }

    std::unique_ptr<CTerminalChild> Start()
    {
        auto pChild =
            std::make_unique<CTerminalChild>(std::vector<std::string>{GetProgram(), "--home", m_oHome.GetPath()});
        EXPECT_TRUE(pChild->WaitFor("altitude"));
        EXPECT_FALSE(pChild->IsAsItWas());
        return pChild;
    }

    static void ExpectEnd(CTerminalChild& oChild, int nCode)
    {
        EXPECT_TRUE(oChild.WaitFor(RESTORED));
        const ChildResult oResult = oChild.Wait();
        EXPECT_FALSE(oResult.bTimedOut);
        EXPECT_EQ(oResult.nExitCode, nCode);
        EXPECT_TRUE(oChild.IsAsItWas());
        EXPECT_EQ(oResult.sOutput.find(RESTORED), oResult.sOutput.rfind(RESTORED)) << "restored twice";
    }

    CHome m_oHome;
};
} // namespace

TEST_F(LanderAtTerminal, IsPlayedAndQuit)
{
    const auto pChild = Start();
    pChild->Type("wwwad p");
    EXPECT_TRUE(pChild->WaitFor("Paused"));
    pChild->Type("x");
    EXPECT_TRUE(pChild->WaitFor("Saved."));
    pChild->Type("q");
    ExpectEnd(*pChild, 0);
    EXPECT_TRUE(m_oHome.Has("lander.sav"));
    EXPECT_TRUE(m_oHome.Has("player.vqp"));
}

TEST_F(LanderAtTerminal, TakesCommandsOfTheConsole)
{
    const auto pChild = Start();
    pChild->Type("\tgravity 3.7\nlevel 2\nhelp\nnonsense\nquit\n");
    ExpectEnd(*pChild, 0);
    const std::string sLog = m_oHome.Read("Lander.log");
    for (const char* pLine : {"command gravity 3.7\r\n", "level 2: The Ridge\r\n", "command quit\r\n"})
        EXPECT_NE(sLog.find(pLine), std::string::npos) << pLine << sLog;
    EXPECT_EQ(sLog.find("nonsense"), std::string::npos);
}

TEST_F(LanderAtTerminal, ShowsTheCommandThatNobodyKnows)
{
    const auto pChild = Start();
    pChild->Type("\tnonsense\n");
    EXPECT_TRUE(pChild->WaitFor("Unknown command: nonsense"));
    pChild->Type("quit\n");
    ExpectEnd(*pChild, 0);
}

TEST_F(LanderAtTerminal, AsksWhenAnAssertionFails)
{
    const auto pChild = Start();
    pChild->Type("b");
    EXPECT_TRUE(pChild->WaitFor("cancel"));
    pChild->Type("y");
    pChild->Type("x");
    EXPECT_TRUE(pChild->WaitFor("Saved."));
    pChild->Type("b");
    EXPECT_TRUE(pChild->WaitFor("cancel"));
    pChild->Type("c");
    ExpectEnd(*pChild, 0);
}

TEST_F(LanderAtTerminal, GivesItBackWhenItIsEndedOrCrashes)
{
    for (const int nSignal : {SIGTERM, SIGINT})
    {
        const auto pChild = Start();
        pChild->Signal(nSignal);
        ExpectEnd(*pChild, 128 + nSignal);
        EXPECT_TRUE(m_oHome.Has("player.vqp")) << "the settings are saved";
        m_oHome.Remove("player.vqp");
    }
    for (const int nSignal : {SIGSEGV, SIGABRT, SIGFPE, SIGILL})
    {
        if (HAS_SANITIZER)
            continue; // these signals are the sanitizer's
        const auto pChild = Start();
        pChild->Signal(nSignal);
        ExpectEnd(*pChild, -1);
    }
}

TEST_F(LanderAtTerminal, EndsWithTheTerminal)
{
    const auto pChild = Start();
    pChild->Close();
    const ChildResult oResult = pChild->Wait();
    EXPECT_NE(oResult.nExitCode, -1);
    EXPECT_TRUE(m_oHome.Has("player.vqp"));
    EXPECT_TRUE(m_oHome.Has("lander.sav")) << "the player may go on";
}

TEST_F(LanderAtTerminal, LivesInATinyOne)
{
    const auto pChild = Start();
    constexpr std::pair<int, int> SIZES[] = {{10, 5}, {1, 1}, {200, 60}};
    for (const auto& [nWidth, nHeight] : SIZES)
    {
        pChild->SetSize(nWidth, nHeight);
        pChild->Type("\t\tb");
        EXPECT_TRUE(nWidth == 1 || pChild->WaitFor("yes"));
        pChild->Type("y");
    }
    // a box may have been drawn at both sizes, and the last one be open still
    for (int i = 0; i < 20; ++i)
        pChild->Type("yq");
    ExpectEnd(*pChild, 0);
}

TEST_F(LanderAtTerminal, SurvivesAllKeysAtOnce)
{
    const auto pChild = Start();
    constexpr std::string_view KEYS = "wasd \x1b[A\x1b[\x1bOggp\t";
    std::string sKeys;
    for (std::size_t i = 0; i < 20000; ++i)
        sKeys += KEYS[i % KEYS.size()];
    pChild->Type(sKeys);
    // which of them were taken is not told; the game goes on and ends in order
    pChild->Signal(SIGTERM);
    ExpectEnd(*pChild, 128 + SIGTERM);
}
