#include <Common/Debug/Log.h>

#include <Common/MailSlot/VQMailSlot.h>
#include <Common/Platform/PlatformHooks.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Debugger.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestEnvironment.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace
{
const char* const FILE_FAILED = "Error while writing to log file. Hard disk full?\n";
const char* const MAIL_FAILED =
    "bool _VQ_Log_Fn(): Could not write to mailslot. Please check your network connection and settings!";

std::vector<std::string> g_oOutputs;
std::vector<std::string> g_oBoxes;
eMessageBoxAnswer g_nAnswer = mbaOk;
bool g_bLogAgain = false;

bool Log(unsigned long nOutputs, const char* pMessage, unsigned long nClass = ecInfo,
         const char* pApplication = "Zembrolia")
{
    return _VQ_Log_Fn("Common/Debug/Log", pApplication, "a context", 42, 0, nOutputs, nClass, "%s", pMessage);
}

void RecordOutput(const char* pText)
{
    g_oOutputs.emplace_back(pText);
    if (g_bLogAgain)
    {
        g_bLogAgain = false;
        Log(LOG_DEBUGGER | LOG_FILE | LOG_MESSAGEBOX, "from the output");
    }
}

eMessageBoxAnswer RecordBox(const char* pText, const char* pCaption, eMessageBoxKind nKind)
{
    g_oBoxes.push_back(std::to_string(static_cast<int>(nKind)) + " " + pCaption + ": " + pText);
    if (g_bLogAgain)
    {
        g_bLogAgain = false;
        Log(LOG_DEBUGGER | LOG_FILE | LOG_MESSAGEBOX, "from the box");
    }
    return g_nAnswer;
}

class LogOutputs : public testing::Test
{
protected:
    void SetUp() override
    {
        g_oOutputs.clear();
        g_oBoxes.clear();
        g_nAnswer = mbaOk;
        HOOK_SetDebuggerOutput(RecordOutput);
        HOOK_SetMessageBox(RecordBox);
    }

    void TearDown() override
    {
        HOOK_SetDebuggerOutput(nullptr);
        HOOK_SetMessageBox(nullptr);
    }

    CTestDirectory m_oDirectory;
};

/// The lines of a log file, without their ends.
std::vector<std::string> LinesOf(const std::string& sFile)
{
    std::vector<std::string> oLines;
    std::size_t nFrom = 0;
    for (std::size_t nTo = sFile.find("\r\n"); nTo != std::string::npos; nTo = sFile.find("\r\n", nFrom))
    {
        oLines.push_back(sFile.substr(nFrom, nTo - nFrom));
        nFrom = nTo + 2;
    }
    EXPECT_EQ(nFrom, sFile.size()) << "what is left is no line";
    return oLines;
}

/// What runs one of the disabled tests below in a process of its own.
std::vector<std::string> ChildCommand(const std::string& sName)
{
    return {ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
            "--gtest_filter=LogChild.DISABLED_" + sName};
}

ChildResult RunChild(const std::string& sName)
{
    ChildResult oResult = ChildProcess(ChildCommand(sName)).Wait();
    std::erase(oResult.sOutput, '\r'); // line ends of text streams
    return oResult;
}

constexpr int WENT_ON = 99;

/// The text of an assertion as the box shows it.
std::string AssertionText(const std::string& sComment)
{
    return "expression:     VQ_ASSERT( a > b )\n\nfile: game.cpp\nline: 7\n \r\ncomment: " + sComment;
}

const char* const ASSERTION_QUESTION =
    "\n----------------------------------------------------------------------------------------"
    "\n\nDo you want to debug the application?\n"
    "\n YES:           Debug or try to continue (if no debugger present) "
    "\n NO:             Try a clean shutdown (might throw more exceptions)"
    "\n CANCEL:     Force the application to exit\n"
    "\n----------------------------------------------------------------------------------------\n";
} // namespace

TEST_F(LogOutputs, DoesNothingWithoutOutputs)
{
    EXPECT_TRUE(Log(0, "nothing"));
    EXPECT_TRUE(g_oOutputs.empty());
    EXPECT_TRUE(g_oBoxes.empty());
    EXPECT_FALSE(m_oDirectory.Has("Zembrolia.log"));
}

TEST_F(LogOutputs, SendsTheMessageAndALineFeedToTheDebugger)
{
    EXPECT_TRUE(_VQ_Log_Fn("file", "app", "", 1, 0, LOG_DEBUGGER, ecNote, "%d of %s", 3, "four"));
    EXPECT_EQ(g_oOutputs, (std::vector<std::string>{"3 of four", "\n"}));
}

TEST_F(LogOutputs, WritesALineACallToTheFileOfTheApplication)
{
    Log(LOG_FILE, "first", ecCriticalError);
    Log(LOG_FILE, "second", 12);
    Log(LOG_FILE, "other", ecInfo, "Other");
    const std::vector<std::string> oLines = LinesOf(m_oDirectory.Read("Zembrolia.log"));
    ASSERT_EQ(oLines.size(), 2U);
    const std::regex oFirst(
        R"([^|]+ \| Zembrolia \| -?\d+ \| 7 \| -?\d+ \| a context \| Common/Debug/Log \| 42 \| first)");
    const std::regex oSecond(
        R"([^|]+ \| Zembrolia \| -?\d+ \| 12 \| -?\d+ \| a context \| Common/Debug/Log \| 42 \| second)");
    EXPECT_TRUE(std::regex_match(oLines[0], oFirst)) << oLines[0];
    EXPECT_TRUE(std::regex_match(oLines[1], oSecond)) << oLines[1];
    EXPECT_EQ(LinesOf(m_oDirectory.Read("Other.log")).size(), 1U);
    EXPECT_TRUE(g_oOutputs.empty());
}

TEST_F(LogOutputs, AppendsToAFileThatIsThere)
{
    m_oDirectory.Write("Zembrolia.log", "older\r\n");
    Log(LOG_FILE, "newer");
    EXPECT_EQ(LinesOf(m_oDirectory.Read("Zembrolia.log")).size(), 2U);
}

TEST_F(LogOutputs, ShowsTheClassAsCaption)
{
    const char* const aTitles[] = {"Game Message", "Dump",    "Info",  "Message",
                                   "Note",         "Warning", "Error", "Critical Error"};
    for (unsigned long n = 0; n < 8; ++n)
    {
        Log(LOG_MESSAGEBOX, "text", n);
        EXPECT_EQ(g_oBoxes.back(), std::string("0 ") + aTitles[n] + ": text");
    }
    for (const unsigned long n : {9UL, 10UL, 14UL, 0xFFFFFFFFUL})
    {
        Log(LOG_MESSAGEBOX, "text", n);
        EXPECT_EQ(g_oBoxes.back(), "0 Unkown class: text");
    }
}

TEST_F(LogOutputs, GoesOnAfterACatastropheWithoutABox)
{
    EXPECT_TRUE(Log(LOG_DEBUGGER, "end", ecCatastrophicError));
    EXPECT_EQ(g_oOutputs.size(), 2U);
}

TEST_F(LogOutputs, CutsTheMessageAt256Bytes)
{
    const std::string sLong(255, 'x');
    for (const std::string sTail : {"", "y", "yz"})
    {
        Log(LOG_DEBUGGER | LOG_MESSAGEBOX, (sLong + sTail).c_str());
        EXPECT_EQ(g_oOutputs[g_oOutputs.size() - 2], (sLong + sTail).substr(0, 256));
        EXPECT_EQ(g_oBoxes.back(), "0 Info: " + (sLong + sTail).substr(0, 256));
    }
}

TEST_F(LogOutputs, TakesAMessageAsData)
{
    Log(LOG_DEBUGGER | LOG_MESSAGEBOX | LOG_FILE, "%s%n%d");
    EXPECT_EQ(g_oOutputs[0], "%s%n%d");
    EXPECT_EQ(g_oBoxes[0], "0 Info: %s%n%d");
    EXPECT_NE(m_oDirectory.Read("Zembrolia.log").find("%s%n%d"), std::string::npos);
}

TEST_F(LogOutputs, TakesNullForEmptyTexts)
{
    EXPECT_TRUE(_VQ_Log_Fn(nullptr, nullptr, nullptr, 0, 0, LOG_FILE, 0, "%s", "m"));
    EXPECT_TRUE(
        std::regex_search(m_oDirectory.Read(".log"), std::regex(R"( \|  \| -?\d+ \| 0 \| -?\d+ \|  \|  \| 0 \| m)")));
}

TEST_F(LogOutputs, TellsOfAFileThatCannotBeWrittenAndGoesOn)
{
    Log(LOG_FILE | LOG_MESSAGEBOX, "lost", ecInfo, "no/such/directory/App");
    EXPECT_EQ(g_oOutputs, (std::vector<std::string>{FILE_FAILED}));
    EXPECT_EQ(g_oBoxes.size(), 1U);

    m_oDirectory.MakeDirectory("Taken.log");
    Log(LOG_FILE, "lost", ecInfo, "Taken");
    EXPECT_EQ(g_oOutputs.size(), 2U);
}

/// Goes to the next record of an application and reads its first two fields; what other programs send is passed over.
bool BeginRecordOf(const std::string& sApplication, CVQMailSlot& oServer, CVQString& sComputer)
{
    while (oServer.AreMessagesWaiting())
    {
        CVQString sFrom;
        oServer.BeginRead();
        oServer.Read(sComputer);
        oServer.Read(sFrom);
        if (sFrom == sApplication.c_str())
            return true;
    }
    return false;
}

TEST_F(LogOutputs, SendsARecordToTheMonitors)
{
    const std::string sApplication = "App" + std::to_string(std::random_device()());
    CVQMailSlot oServer;
    try
    {
        CVQMailSlot().Open("\\\\*\\mailslot\\debug", false);
        oServer.Open("\\\\.\\mailslot\\debug", true);
    }
    catch (const CMailSlotException& oError)
    {
        GTEST_SKIP() << "no mail to all on this system, or a monitor is running: " << oError.GetErrorString();
    }

    Log(LOG_NETWORK, "to all", ecWarning, sApplication.c_str());
    CVQString sComputer;
    ASSERT_TRUE(BeginRecordOf(sApplication, oServer, sComputer));
    CVQString sTicks;
    CVQString sContext;
    CVQString sSource;
    CVQString sMessage;
    std::uint32_t nProcess = 0;
    std::uint32_t nClass = 0;
    std::uint32_t nLine = 0;
    oServer.Read(&nProcess, sizeof nProcess);
    oServer.Read(&nClass, sizeof nClass);
    oServer.Read(sTicks);
    oServer.Read(sContext);
    oServer.Read(sSource);
    oServer.Read(&nLine, sizeof nLine);
    oServer.Read(sMessage);
    EXPECT_FALSE(sComputer.IsEmpty());
    EXPECT_EQ(nClass, 5U);
    EXPECT_TRUE(std::regex_match(~sTicks, std::regex("-?[0-9]+")));
    EXPECT_STREQ(~sContext, "a context");
    EXPECT_STREQ(~sSource, "Common/Debug/Log");
    EXPECT_EQ(nLine, 42U);
    EXPECT_STREQ(~sMessage, "to all");
    EXPECT_FALSE(BeginRecordOf(sApplication, oServer, sComputer)) << "each record comes once";

    const std::string sLongName(200, 'a');
    Log(LOG_NETWORK | LOG_FILE | LOG_MESSAGEBOX, "x", ecInfo, sLongName.c_str());
    EXPECT_TRUE(BeginRecordOf(sLongName, oServer, sComputer));
    g_oOutputs.clear();

    const std::string sContextTooLong(400, 'c');
    _VQ_Log_Fn("s", sApplication.c_str(), sContextTooLong.c_str(), 1, 0, LOG_NETWORK | LOG_FILE | LOG_MESSAGEBOX, 0,
               "%s", "large");
    EXPECT_FALSE(BeginRecordOf(sApplication, oServer, sComputer)) << "a record that does not fit is not sent in part";
    EXPECT_EQ(g_oOutputs, (std::vector<std::string>{MAIL_FAILED, "\n"}));
    EXPECT_NE(m_oDirectory.Read(sApplication + ".log").find("large"), std::string::npos);
    EXPECT_EQ(g_oBoxes.back(), "0 Game Message: large");
}

TEST_F(LogOutputs, TakesReportsOutOfItsOwnHooks)
{
    g_bLogAgain = true;
    Log(LOG_DEBUGGER | LOG_FILE, "outer");
    EXPECT_EQ(g_oOutputs, (std::vector<std::string>{"outer", "from the output", "\n", "\n"}));
    g_bLogAgain = true;
    Log(LOG_MESSAGEBOX, "outer");
    EXPECT_EQ(g_oBoxes.back(), "0 Info: from the box");
    EXPECT_EQ(LinesOf(m_oDirectory.Read("Zembrolia.log")).size(), 3U);
}

TEST_F(LogOutputs, KeepsTheLinesOfManyThreadsWhole)
{
    constexpr int THREADS = 16;
    constexpr int CALLS = 50;
    std::vector<std::thread> oThreads;
    for (int nThread = 0; nThread < THREADS; ++nThread)
        oThreads.emplace_back(
            [nThread]
            {
                for (int i = 0; i < CALLS; ++i)
                    _VQ_Log_Fn("f", "Many", "", 1, 0, LOG_FILE, 2, "%d says %s", nThread,
                               std::string(100, 'm').c_str());
            });
    for (std::thread& oThread : oThreads)
        oThread.join();

    const std::regex oLine(R"([^|]+ \| Many \| -?\d+ \| 2 \| -?\d+ \|  \| f \| 1 \| \d+ says m{100})");
    const std::vector<std::string> oLines = LinesOf(m_oDirectory.Read("Many.log"));
    EXPECT_EQ(oLines.size(), static_cast<std::size_t>(THREADS * CALLS));
    for (const std::string& sLine : oLines)
        EXPECT_TRUE(std::regex_match(sLine, oLine)) << sLine;
}

TEST_F(LogOutputs, KeepsTheLinesOfSeveralProcessesWhole)
{
    // The second name is not one that a system takes for a lock.
    const std::string sDirectory(250, 'd');
    m_oDirectory.MakeDirectory(sDirectory);
    for (const std::string& sApplication : {std::string("Shared"), sDirectory + "\\Shared"})
    {
        const CTestEnvironment oApplication("COMMON_TEST_APPLICATION", sApplication.c_str());
        ChildProcess aChildren[] = {
            ChildProcess(ChildCommand("WritesManyLines")), ChildProcess(ChildCommand("WritesManyLines")),
            ChildProcess(ChildCommand("WritesManyLines")), ChildProcess(ChildCommand("WritesManyLines"))};
        for (ChildProcess& oChild : aChildren)
            EXPECT_EQ(oChild.Wait().nExitCode, 0);
        const bool bInDirectory = sApplication != "Shared";
        const std::vector<std::string> oLines =
            LinesOf(m_oDirectory.Read(bInDirectory ? sDirectory + "/Shared.log" : "Shared.log"));
        EXPECT_EQ(oLines.size(), 800U);
        for (const std::string& sLine : oLines)
            EXPECT_TRUE(std::regex_match(sLine, std::regex(R"([^|]+ \| [^|]*Shared \|.*\| w{200})"))) << sLine;
    }
}

TEST(LogChild, DISABLED_WritesManyLines)
{
    for (int i = 0; i < 200; ++i)
        Log(LOG_FILE, std::string(200, 'w').c_str(), 2, std::getenv("COMMON_TEST_APPLICATION"));
}

TEST_F(LogOutputs, PrintsToTheDebuggerWithinItsBuffer)
{
    EXPECT_EQ(Debug_Printf("%d-%s", 5, "five"), 6);
    EXPECT_EQ(Debug_Warning("%s", "careful"), 7);
    EXPECT_EQ(g_oOutputs, (std::vector<std::string>{"5-five", "careful"}));
    for (const int nLength : {8190, 8191, 8192, 100000})
    {
        const int nShown = std::min(nLength, 8191);
        EXPECT_EQ(Debug_Printf("%s", std::string(static_cast<std::size_t>(nLength), 'l').c_str()), nShown);
        EXPECT_EQ(g_oOutputs.back(), std::string(static_cast<std::size_t>(nShown), 'l'));
    }
}

TEST_F(LogOutputs, TakesATextThatCannotBeFormatted)
{
    const wchar_t aNoText[] = {static_cast<wchar_t>(0xD800), L'\0'};
    const int nLength = Debug_Printf("%ls", aNoText);
    ASSERT_EQ(g_oOutputs.size(), 1U);
    EXPECT_EQ(static_cast<std::size_t>(nLength), g_oOutputs.back().size());
    const std::string sShown = g_oOutputs.back();

    EXPECT_TRUE(_VQ_Log_Fn("f", "App", "", 1, 0, LOG_DEBUGGER | LOG_FILE, 2, "%ls", aNoText));
    EXPECT_EQ(g_oOutputs[1], sShown);
    EXPECT_TRUE(m_oDirectory.Read("App.log").ends_with(" | f | 1 | " + sShown + "\r\n"));
}

TEST_F(LogOutputs, AsksWhatToDoAboutAnAssertion)
{
    for (const eMessageBoxAnswer nAnswer : {mbaYes, mbaOk})
    {
        g_nAnswer = nAnswer;
        g_oOutputs.clear();
        EXPECT_FALSE(Alternate_Debug_Assert("a > b", "because", "game.cpp", 7)) << "nobody debugs the tests";
        EXPECT_EQ(g_oOutputs,
                  (std::vector<std::string>{"******** VORQUANDELIS ASSERTION ********\n", AssertionText("because")}));
        EXPECT_EQ(g_oBoxes.back(), "1 VORQUANDELIS ASSERTION: " + AssertionText("because") + ASSERTION_QUESTION);
    }
    Alternate_Debug_Assert("a > b", nullptr, "game.cpp", 7);
    EXPECT_EQ(g_oOutputs.back(), AssertionText(""));
}

TEST_F(LogOutputs, AssertsInTheProgramWithAndWithoutAComment)
{
    g_nAnswer = mbaYes;
    int nEvaluated = 0;
    VQ_ASSERT(++nEvaluated == 1);
    VQ_ASSERT(nEvaluated == 1, "fine");
    EXPECT_TRUE(g_oBoxes.empty());
    VQ_ASSERT(nEvaluated == 2);
    EXPECT_NE(g_oBoxes.back().find("VQ_ASSERT( nEvaluated == 2 )"), std::string::npos);
    EXPECT_NE(g_oBoxes.back().find("\ncomment: \n"), std::string::npos);
    const std::string sComment = "made at run time";
    VQ_ASSERT(nEvaluated == 3, sComment.c_str());
    EXPECT_NE(g_oBoxes.back().find("\ncomment: made at run time\n"), std::string::npos);
    EXPECT_EQ(nEvaluated, 1);
}

TEST(LogEnd, EndsTheProcessAfterTheBoxOfACatastrophe)
{
    const ChildResult oResult = RunChild("Catastrophe");
    EXPECT_EQ(oResult.nExitCode, 0);
    EXPECT_NE(oResult.sOutput.find("box: Catastrophic Error: the end\nexit handler\n"), std::string::npos)
        << oResult.sOutput;
}

TEST(LogChild, DISABLED_Catastrophe)
{
    std::atexit([] { std::fputs("exit handler\n", stderr); });
    HOOK_SetMessageBox(
        [](const char* pText, const char* pCaption, eMessageBoxKind)
        {
            std::fprintf(stderr, "box: %s: %s\n", pCaption, pText);
            return mbaOk;
        });
    Log(LOG_MESSAGEBOX, "the end", ecCatastrophicError);
    std::_Exit(WENT_ON);
}

TEST(LogEnd, EndsTheProcessAsTheAssertionIsAnswered)
{
    EXPECT_EQ(RunChild("AnswersNo").nExitCode, 0);
    EXPECT_NE(RunChild("AnswersNo").sOutput.find("exit handler"), std::string::npos);
    EXPECT_EQ(RunChild("AnswersCancel").nExitCode, 0);
    EXPECT_EQ(RunChild("AnswersCancel").sOutput.find("exit handler"), std::string::npos);
}

TEST(LogChild, DISABLED_AnswersNo)
{
    std::atexit([] { std::fputs("exit handler\n", stderr); });
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaNo; });
    Alternate_Debug_Assert("e", "c", "f", 1);
    std::_Exit(WENT_ON);
}

TEST(LogChild, DISABLED_AnswersCancel)
{
    std::atexit([] { std::fputs("exit handler\n", stderr); });
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaCancel; });
    Alternate_Debug_Assert("e", "c", "f", 1);
    std::_Exit(WENT_ON);
}

TEST(LogEnd, BreaksIntoTheDebuggerWhereAnAssertionIsAnsweredYes)
{
    bool bTrapped = false;
    const int nCode = RunDebugged(ChildCommand("AnswersYes"), bTrapped);
    if (nCode == -1)
        GTEST_SKIP() << "no process may debug another one here";
    EXPECT_EQ(nCode, WENT_ON) << "it goes on behind the trap";
    EXPECT_TRUE(bTrapped);

    EXPECT_EQ(RunDebugged(ChildCommand("AnswersOtherwise"), bTrapped), WENT_ON);
    EXPECT_FALSE(bTrapped) << "only yes leads there";
    EXPECT_EQ(RunDebugged(ChildCommand("AnswersNo"), bTrapped), 0);
    EXPECT_FALSE(bTrapped);
    EXPECT_EQ(RunDebugged(ChildCommand("AnswersCancel"), bTrapped), 0);
    EXPECT_FALSE(bTrapped);

    EXPECT_EQ(RunChild("AnswersYes").nExitCode, WENT_ON) << "without a debugger the program goes on";
}

TEST(LogChild, DISABLED_AnswersYes)
{
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaYes; });
    VQ_ASSERT(g_bLogAgain, "the debugger is asked for");
    std::_Exit(WENT_ON);
}

TEST(LogChild, DISABLED_AnswersOtherwise)
{
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaOk; });
    VQ_ASSERT(g_bLogAgain, "nobody decides");
    std::_Exit(WENT_ON);
}

TEST(LogEnd, AbortsAfterAPlainAssertion)
{
    const ChildResult oResult = RunChild("PlainAssertion");
    EXPECT_NE(oResult.nExitCode, 0);
    EXPECT_NE(oResult.nExitCode, WENT_ON);
    EXPECT_NE(oResult.sOutput.find("seen: *** VORQUANDELIS ASSERTION ***\nexpression: e\nfile: f.cpp\nline: 12\n"),
              std::string::npos)
        << oResult.sOutput;
}

TEST(LogChild, DISABLED_PlainAssertion)
{
    HOOK_SetDebuggerOutput([](const char* pText) { std::fprintf(stderr, "seen: %s", pText); });
    Debug_Assert("e", "f.cpp", 12);
}

TEST(LogEnd, ExitsWithTheStatusThatIsGiven)
{
    EXPECT_EQ(RunChild("ExitsWith5").nExitCode, 5);
}

TEST(LogChild, DISABLED_ExitsWith5)
{
    Debug_Exit(5);
}

namespace
{
/// Reports from a static constructor and from a static destructor.
struct SEarlyAndLate
{
    SEarlyAndLate() { bEarly = Log(0, "before main"); }

    ~SEarlyAndLate() { Log(0, "after main"); }

    bool bEarly = false;
} g_oEarlyAndLate;
} // namespace

TEST(LogEnd, WorksBeforeMainAndAfterIt)
{
    EXPECT_TRUE(g_oEarlyAndLate.bEarly);
    EXPECT_EQ(RunChild("ExitsWith5").nExitCode, 5) << "the destructor has run on the way";
}
