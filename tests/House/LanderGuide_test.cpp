// What docs/lander.md shows of the game is tried here: its level, its table, the files that it names.

#include <tests/support/ChildProcess.h>
#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <string>

namespace fs = std::filesystem;

namespace
{
std::string Page()
{
    return ReadWholeFile(GetTestPath("../docs/lander.md"));
}

/// A directory that the game plays itself in.
class CHome : public CTestDirectory
{
public:
    CHome()
    {
        const fs::path oPrograms = fs::path(ThisProgram()).parent_path();
        m_sProgram = (oPrograms / ("lander" + fs::path(ThisProgram()).extension().string())).string();
        if (fs::exists(oPrograms / "lander.arc"))
            fs::copy_file(oPrograms / "lander.arc", PathOf("lander.arc"));
        else // where it could not be packed
            fs::copy(GetTestPath("../samples/lander/assets"), PathOf("lander"), fs::copy_options::recursive);
    }

    std::string Play(int nSeconds) const
    {
        ChildResult oResult = ChildProcess({m_sProgram, "--home", GetPath(), "--demo", std::to_string(nSeconds)})
                                  .Wait(std::chrono::seconds(300));
        EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
        std::erase(oResult.sOutput, '\r');
        return oResult.sOutput;
    }

private:
    std::string m_sProgram;
};

std::string WithoutNumbers(const std::string& sText)
{
    return std::regex_replace(sText, std::regex(R"([0-9a-f]{16}|\d+(\.\d+)?)"), "N");
}
} // namespace

TEST(LanderGuide, ShowsALevelThatCanBeFlown)
{
    const auto oLevels = BlocksOfGuide(Page(), {"level"});
    ASSERT_EQ(oLevels.size(), 1U);
    const CHome oHome;
    oHome.Write("mods/levels/basin.lvl", oLevels[0]);
    oHome.Write("mods/levels/1.lvl", oLevels[0]);

    const std::string sTable = oHome.Play(120);
    EXPECT_EQ(sTable.find("landed 0"), std::string::npos) << sTable;
    EXPECT_NE(sTable.find("crashed 0"), std::string::npos) << sTable;
    const std::string sLog = oHome.Read("Lander.log");
    EXPECT_NE(sLog.find("4 levels were loaded"), std::string::npos) << sLog;
    EXPECT_NE(sLog.find("level 1: The Basin"), std::string::npos) << sLog;
}

TEST(LanderGuide, ShowsWhereAMistakeIs)
{
    std::string sLevel = BlocksOfGuide(Page(), {"level"}).at(0);
    const std::string sMistake = BlocksOfGuide(Page(), {"text"}).at(0);
    const std::string sHeight = "520, 40\n";
    ASSERT_NE(sLevel.find(sHeight), std::string::npos);
    sLevel.replace(sLevel.find(sHeight), sHeight.size(), "520, 999\n");

    const CHome oHome;
    oHome.Write("mods/levels/basin.lvl", sLevel);
    oHome.Play(1);
    const std::string sLog = oHome.Read("Lander.log");
    EXPECT_NE(sLog.find(sMistake.substr(0, sMistake.size() - 1)), std::string::npos) << sLog;
    EXPECT_NE(sLog.find("3 levels were loaded"), std::string::npos) << sLog;
}

TEST(LanderGuide, ShowsTheTableOfTheDemo)
{
    const CHome oHome;
    EXPECT_EQ(WithoutNumbers(oHome.Play(60)), WithoutNumbers(BlocksOfGuide(Page(), {"text"}).at(1)));
}

TEST(LanderGuide, NamesEachFileOfTheGame)
{
    const std::string sPage = Page();
    int nFiles = 0;
    for (const auto& oEntry : fs::directory_iterator(GetTestPath("../samples/lander")))
    {
        const std::string sName = oEntry.path().filename().string();
        if (oEntry.path().extension() != ".h")
            continue;
        ++nFiles;
        EXPECT_NE(sPage.find('`' + sName + '`'), std::string::npos) << sName;
    }
    EXPECT_GT(nFiles, 0);
}

TEST(LanderGuide, NamesNoFileThatIsNotThere)
{
    static const std::regex s_oFile(R"(`([A-Za-z]+\.h)`)");
    const std::string sPage = Page();
    int nFiles = 0;
    for (std::sregex_iterator it(sPage.begin(), sPage.end(), s_oFile), itEnd; it != itEnd; ++it, ++nFiles)
        EXPECT_TRUE(fs::exists(GetTestPath("../samples/lander/" + (*it)[1].str()))) << (*it)[1];
    EXPECT_GT(nFiles, 0);
}
