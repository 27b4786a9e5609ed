// What docs/log.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <string>

namespace
{
int g_nBoxes = 0;

eMessageBoxAnswer GoOn(const char*, const char*, eMessageBoxKind nKind)
{
    ++g_nBoxes;
    return nKind == mbkYesNoCancel ? mbaYes : mbaOk;
}

void Swallow(const char*) {}

void TellOfMissingShip(int nLevel)
{
    _VQ_Log_Fn("game/World", "Lander", "loading", __LINE__, 0, LOG_DEBUGGER | LOG_FILE | LOG_NETWORK, ecWarning,
               "level %d has no ship", nLevel);
}

void OpenLevel(int nLevel)
{
    VQ_ASSERT(nLevel > 0, "levels count from 1");
    try
    {
        CFileIO oFile;
        oFile.Open(CVQString(sctFormat, "levels/%d.lvl", nLevel), CFileIO::READ);
    }
    catch (CVQException& oError)
    {
        _VQ_Log_Fn(oError.GetFileName(), "Lander", "loading", oError.GetLine(), 0, LOG_FILE,
                   static_cast<unsigned long>(oError.GetErrorClass()), "%s (%lu)", oError.GetErrorString(),
                   oError.GetErrorCode());
    }
}

void HearOtherComputers()
{
    CVQMailSlot::SetInterface("eth0");  // a game that wants to be heard, a monitor that wants to hear
    CVQMailSlot::SetInterface(nullptr); // back to how every process begins
}

struct QuietHooks
{
    QuietHooks()
    {
        HOOK_SetMessageBox(GoOn);
        HOOK_SetDebuggerOutput(Swallow);
    }

    ~QuietHooks()
    {
        HOOK_SetMessageBox(nullptr);
        HOOK_SetDebuggerOutput(nullptr);
    }

    QuietHooks(const QuietHooks&) = delete;
    QuietHooks& operator=(const QuietHooks&) = delete;
};
} // namespace

TEST(LogGuide, WritesTheLineOfThePage)
{
    const CTestDirectory oDirectory;
    const QuietHooks oHooks;
    TellOfMissingShip(3);
    const std::string sLine = oDirectory.Read("Lander.log");
    EXPECT_NE(sLine.find(" | Lander | "), std::string::npos) << sLine;
    EXPECT_NE(sLine.find(" | 5 | "), std::string::npos) << sLine;
    EXPECT_NE(sLine.find(" | loading | game/World | "), std::string::npos) << sLine;
    EXPECT_TRUE(sLine.ends_with(" | level 3 has no ship\r\n")) << sLine;
}

TEST(LogGuide, ReportsWhatWasThrown)
{
    const CTestDirectory oDirectory;
    const QuietHooks oHooks;
    g_nBoxes = 0;
    OpenLevel(3);
    EXPECT_EQ(g_nBoxes, 0);
    const std::string sLine = oDirectory.Read("Lander.log");
    EXPECT_NE(sLine.find(" | 9 | "), std::string::npos) << sLine;
    EXPECT_NE(sLine.find(" | loading | Common/File/ExtendedFileSystem | "), std::string::npos) << sLine;
    EXPECT_TRUE(sLine.ends_with(" | File not found. (4002)\r\n")) << sLine;

    OpenLevel(0);
    EXPECT_EQ(g_nBoxes, 1);
}

TEST(IsolatedLogGuide, HearsThisComputerAgain)
{
    HearOtherComputers();
    EXPECT_FALSE(CVQMailSlot::SetInterface("no such interface"));
}

TEST(LogGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("log.md", "House/LogGuide_test.cpp"), "");
}
