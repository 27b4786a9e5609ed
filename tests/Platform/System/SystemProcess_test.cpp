#include <Common/Debug/Log.h>
#include <Common/File/FileIO.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/System/SystemProcess.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Fork.h>
#include <tests/support/StandardError.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestEnvironment.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#define REQUIRE_STANDARD_ERROR()                                                                                       \
    if (!CStandardError::IsSupported())                                                                                \
    GTEST_SKIP() << "texts for the debugger go to the system's own place"

namespace
{
using eKind = CStandardError::eKind;
using CTexts = std::vector<std::string>;

int AnswerYes()
{
    HOOK_SetDebuggerOutput([](const char*) {});
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaYes; });
    return Alternate_Debug_Assert("a > b", "", "game.cpp", 7) ? 1 : 0;
}
} // namespace

// ---------------------------------------------------------------- texts for the debugger

TEST(SystemProcess, EveryTextForTheDebuggerIsOneWrite)
{
    REQUIRE_STANDARD_ERROR();

    CStandardError oError(eKind::Messages);
    const CTexts oTexts = {"a", "two\nlines\n", "100 %s %n", "\x1B[2J\xFF", std::string(60'000, 'x'), "\n"};
    for (const std::string& sText : oTexts)
        HOOK_WriteDebugger(sText.c_str());
    HOOK_WriteDebugger("");
    HOOK_WriteDebugger(nullptr);
    EXPECT_EQ(oError.Take(), oTexts);

    Debug_Printf("%d of %s\n", 3, "four");
    EXPECT_EQ(oError.Take(), CTexts{"3 of four\n"});
    Debug_Printf("%s", std::string(1000, 'y').c_str());
    EXPECT_EQ(oError.Take(), CTexts{std::string(1000, 'y')});
}

TEST(SystemProcess, ABoxThatNobodySeesIsOneWrite)
{
    REQUIRE_STANDARD_ERROR();

    const CTestEnvironment oNobody("COMMON_NO_DIALOG", "1");
    CStandardError oError(eKind::Messages);
    HOOK_ShowMessageBox("the text\n", "Caption", mbkInformation);
    EXPECT_EQ(oError.Take(), CTexts{"Caption: the text\n\n"});
    HOOK_ShowMessageBox("why?", "Caption", mbkYesNoCancel);
    EXPECT_EQ(oError.Take(), CTexts{"Caption: why?\n"});
}

TEST(SystemProcess, TextsForTheDebuggerDoNoHarmWhereNobodyTakesThem)
{
    REQUIRE_STANDARD_ERROR();

    for (const eKind nKind : {eKind::Full, eKind::BrokenPipe, eKind::BrokenLine, eKind::Closed})
    {
        errno = ERANGE;
        {
            const CStandardError oError(nKind);
            HOOK_WriteDebugger("lost");
            System::WriteDebugger("lost");
        }
        EXPECT_EQ(errno, ERANGE) << static_cast<int>(nKind);
    }
}

TEST(SystemProcess, TextsForTheDebuggerReachWhatKnowsOnlyPlainWrites)
{
    REQUIRE_STANDARD_ERROR();

    CTexts oNames;
    {
        CStandardError oError(eKind::PlainOnly);
        HOOK_WriteDebugger("first name");
        System::WriteDebugger("next");
        oNames = oError.Take();
    }
    EXPECT_EQ(oNames, CTexts{"next\n"});
}

TEST(SystemProcess, TextsForTheDebuggerGetIntoNoFileWhereThereIsNoStandardError)
{
    REQUIRE_STANDARD_ERROR();

    const CTestDirectory oDirectory;
    ChildProcess oChild({"/bin/sh", "-c", "exec \"$0\" \"$@\" 2>&-", ThisProgram(), "--in-process",
                         "--gtest_also_run_disabled_tests", "--gtest_filter=SystemProcessChild.DISABLED_WritesAFile"});
    EXPECT_EQ(oChild.Wait().nExitCode, 0);
    EXPECT_EQ(oDirectory.Read("data"), "kept");
}

TEST(SystemProcessChild, DISABLED_WritesAFile)
{
    CFileIO oFile;
    oFile.Open("data", CFileIO::WRITE);
    HOOK_WriteDebugger("lost");
    EXPECT_TRUE(oFile.Write("kept", 4));
    EXPECT_TRUE(oFile.Close());
}

TEST(SystemProcess, ATextForTheDebuggerIsCutWhereNoMoreIsTaken)
{
    REQUIRE_STANDARD_ERROR();

    std::string sTaken;
    {
        CStandardError oError(eKind::FullSoon);
        HOOK_WriteDebugger(std::string(100'000, 'x').c_str());
        for (const std::string& sPart : oError.Take())
            sTaken += sPart;
    }
    EXPECT_EQ(sTaken, std::string(65'536, 'x'));
}

// ---------------------------------------------------------------- the debugger

TEST(SystemProcess, KnowsWhetherADebuggerIsThere)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process that a test could trace";

    bool bTrapped = false;
    const int nTraced = RunTraced([] { return System::IsDebuggerAttached() ? 1 : 0; }, bTrapped);
    if (nTraced == -1)
        GTEST_SKIP() << "no process may trace another one here";
    EXPECT_EQ(nTraced, 1);
    EXPECT_FALSE(bTrapped);
    EXPECT_EQ(RunInFork([] { return System::IsDebuggerAttached() ? 1 : 0; }), 0);
}

TEST(SystemProcess, AnAssertionAsksForTheDebuggerWhenOneIsThere)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process that a test could trace";

    bool bTrapped = false;
    const int nTraced = RunTraced([] { return AnswerYes(); }, bTrapped);
    if (nTraced == -1)
        GTEST_SKIP() << "no process may trace another one here";
    EXPECT_EQ(nTraced, 1);
    EXPECT_FALSE(bTrapped) << "the caller breaks, at the place of the assertion";
    EXPECT_EQ(RunInFork([] { return AnswerYes(); }), 0);
}

TEST(SystemProcess, BreaksIntoTheDebugger)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process that a test could trace";

    bool bTrapped = false;
    const int nTraced = RunTraced(
        []
        {
            Debug_Break();
            return 7;
        },
        bTrapped);
    if (nTraced == -1)
        GTEST_SKIP() << "no process may trace another one here";
    EXPECT_TRUE(bTrapped);
    EXPECT_EQ(nTraced, 7) << "it goes on behind the trap";
}

// ---------------------------------------------------------------- the process

TEST(SystemProcess, HasANumberAndAComputerWithAName)
{
    EXPECT_NE(System::GetProcessNumber(), 0u);
    char aName[System::COMPUTER_NAME_SIZE + 1];
    const std::size_t nLength = System::ReadComputerName(aName);
    EXPECT_GT(nLength, 0u);
    EXPECT_EQ(std::string(aName).size(), nLength);
}
