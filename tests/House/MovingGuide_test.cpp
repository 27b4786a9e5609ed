// What docs/moving-from-windows.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace
{
std::string g_sDrawn; // the game's last box

void DrawBox(const char* pCaption, const char* pText)
{
    g_sDrawn = std::string(pCaption) + ": " + pText;
}

eMessageBoxAnswer ReadAnswer()
{
    return mbaNo;
}

long g_nLoaded = 0;

void LoadEverything()
{
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(2);
    while (std::chrono::steady_clock::now() < oEnd)
        ++g_nLoaded;
}

bool HasCanyon()
{
    return CFileIO::FileExists("LEVELS\\Canyon.LVL"); // finds levels/canyon.lvl
}

bool Protect(const char* pFile, bool bOn)
{
    return FILE_SetFileAttributes(pFile, bOn ? FILE_ATTR_READONLY : FILE_ATTR_NORMAL) == 1;
}

eMessageBoxAnswer ShowInGame(const char* pText, const char* pCaption, eMessageBoxKind nKind)
{
    DrawBox(pCaption, pText);
    return nKind == mbkYesNoCancel ? ReadAnswer() : mbaOk;
}

void InstallBoxes()
{
    HOOK_SetMessageBox(ShowInGame);
}

double MeasureLoading()
{
    CVQTimer oClock;
    const double dStart = oClock.GetTimeDirect(); // seconds
    LoadEverything();
    return oClock.GetTimeDirect() - dStart;
}

struct sLevelHead
{
    std::uint32_t m_nVersion; // was: unsigned long
    std::uint32_t m_nLength;
};

static_assert(sizeof(sLevelHead) == 8);
} // namespace

TEST(MovingGuide, FindsNamesOfTheOtherSystem)
{
    const CTestDirectory oDirectory;
    EXPECT_FALSE(HasCanyon());
    oDirectory.Write("levels/canyon.lvl", "x");
    EXPECT_TRUE(HasCanyon());
    EXPECT_FALSE(CFileIO::FileExists("C:\\levels\\canyon.lvl"));
}

TEST(MovingGuide, ProtectsFiles)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a.txt", "x");
    EXPECT_TRUE(Protect("a.txt", true));
    EXPECT_EQ(FILE_GetFileAttributes("a.txt") & FILE_ATTR_READONLY, FILE_ATTR_READONLY);
    EXPECT_TRUE(Protect("a.txt", false));
    EXPECT_EQ(FILE_GetFileAttributes("a.txt") & FILE_ATTR_READONLY, 0U);

    if (HasCaseSensitiveNames())
    {
        oDirectory.Write(".hidden", "x");
        EXPECT_EQ(FILE_GetFileAttributes(".hidden"), FILE_ATTR_HIDDEN);
        EXPECT_EQ(FILE_SetFileAttributes("a.txt", FILE_ATTR_ARCHIVE), 0);
    }
}

TEST(MovingGuide, ShowsBoxesInTheGame)
{
    InstallBoxes();
    EXPECT_EQ(HOOK_ShowMessageBox("Really?", "Quit", mbkYesNoCancel), mbaNo);
    EXPECT_EQ(g_sDrawn, "Quit: Really?");
    EXPECT_EQ(HOOK_ShowMessageBox("Saved", "Game", mbkInformation), mbaOk);
    HOOK_SetMessageBox(nullptr);
}

TEST(MovingGuide, MeasuresTime)
{
    EXPECT_GE(MeasureLoading(), 0.001);
    EXPECT_GT(g_nLoaded, 0);
}

TEST(MovingGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("moving-from-windows.md", "House/MovingGuide_test.cpp"), "");
}
