// The log when what it writes to fails, when many write at once, and at the edges of a program's life.

#include <Common/Debug/Log.h>
#include <Common/MailSlot/VQMailSlot.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/ProcessControl/VQEvent.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/Fork.h>
#include <tests/support/OrdinaryUser.h>
#include <tests/support/RawMail.h>
#include <tests/support/TestDirectory.h>

#include <tools/vqlog/LogLines.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{
const std::string FILE_FAILED = "Error while writing to log file. Hard disk full?\n";
const std::string MAIL_FAILED =
    "bool _VQ_Log_Fn(): Could not write to mailslot. Please check your network connection and settings!";

using Texts = std::vector<std::string>;

std::mutex g_oTextsMutex;
Texts g_aOutputs;
Texts g_aBoxes;

// A box that stays open until it may close.
std::unique_ptr<CVQEvent> g_pBoxIsOpen;
std::unique_ptr<CVQEvent> g_pBoxMayClose;

// Other tests of this computer may report to the same monitor at this moment.
const std::string APPLICATION = "App" + std::to_string(std::random_device()());
const std::string LOG_NAME = APPLICATION + ".log";

void Log(unsigned long nOutputs, const std::string& sMessage, const std::string& sApplication = APPLICATION)
{
    EXPECT_TRUE(
        _VQ_Log_Fn("source", sApplication.c_str(), "context", 42, 0, nOutputs, ecWarning, "%s", sMessage.c_str()));
}

class LogFaults : public testing::Test
{
protected:
    void SetUp() override
    {
        g_aOutputs.clear();
        g_aBoxes.clear();
        g_pBoxIsOpen = std::make_unique<CVQEvent>();
        g_pBoxMayClose = std::make_unique<CVQEvent>();
        HOOK_SetDebuggerOutput(
            [](const char* pText)
            {
                const std::lock_guard oLock(g_oTextsMutex);
                g_aOutputs.emplace_back(pText);
            });
        HOOK_SetMessageBox(
            [](const char* pText, const char*, eMessageBoxKind)
            {
                const std::lock_guard oLock(g_oTextsMutex);
                g_aBoxes.emplace_back(pText);
                return mbaOk;
            });
    }

    void TearDown() override
    {
        HOOK_SetDebuggerOutput(nullptr);
        HOOK_SetMessageBox(nullptr);
    }

    static void LetBoxesStayOpen()
    {
        HOOK_SetMessageBox(
            [](const char*, const char*, eMessageBoxKind)
            {
                g_pBoxIsOpen->Signal();
                g_pBoxMayClose->TimedWait(60'000);
                return mbaOk;
            });
    }

    Texts MessagesInFile(const std::string& sName) const
    {
        Texts aMessages;
        CLogLines oLines([&](const sLogRecord& oRecord) { aMessages.push_back(oRecord.m_sMessage); });
        oLines.Add(m_oDirectory.Read(sName));
        oLines.End();
        EXPECT_EQ(oLines.GetMalformed(), 0UL);
        return aMessages;
    }

    CTestDirectory m_oDirectory;
};

// The monitor of the tests.
class LogMonitor : public LogFaults
{
protected:
    void SetUp() override
    {
        LogFaults::SetUp();
        if (!CanMailToAll())
            GTEST_SKIP() << "this system cannot address all computers";
        if (!Open())
            GTEST_SKIP() << "another monitor listens on this computer";
    }

    bool Open()
    {
        try
        {
            return m_oServer.Open(MailSlotName(".", "debug").c_str(), true);
        }
        catch (const CMailSlotException&)
        {
            return false;
        }
    }

    // The size of the next record that one of ours has sent; 0 when there is none.
    unsigned long Take(sLogRecord& oRecord, const std::string& sApplication = APPLICATION)
    {
        while (m_oServer.AreMessagesWaiting())
        {
            std::string sMail(m_oServer.GetMessageSize(), '\0');
            m_oServer.BeginRead();
            m_oServer.Read(sMail.data(), static_cast<unsigned long>(sMail.size()));
            if (ReadLogRecord(sMail, oRecord) && oRecord.m_sApplication == sApplication)
                return static_cast<unsigned long>(sMail.size());
        }
        return 0;
    }

    Texts TakeMessages()
    {
        Texts aMessages;
        for (sLogRecord oRecord; Take(oRecord) != 0;)
            aMessages.push_back(oRecord.m_sMessage);
        return aMessages;
    }

    CVQMailSlot m_oServer;
};
} // namespace

// ---------------------------------------------------------------- outputs that fail

TEST_F(LogFaults, AFullDiskIsToldAndTheOtherOutputsRun)
{
    if (!CFileSizeLimit::IsSupported())
        GTEST_SKIP() << "no limit for files on this system";

    Log(LOG_FILE, "fits");
    const auto nSize = m_oDirectory.Read(LOG_NAME).size();
    {
        const CFileSizeLimit oLimit(nSize);
        Log(LOG_DEBUGGER | LOG_FILE | LOG_MESSAGEBOX, "does not fit");
    }
    EXPECT_EQ(g_aOutputs, (Texts{"does not fit", "\n", FILE_FAILED}));
    EXPECT_EQ(g_aBoxes, Texts{"does not fit"});

    Log(LOG_FILE, "fits again");
    EXPECT_EQ(MessagesInFile(LOG_NAME), (Texts{"fits", "fits again"}));
    EXPECT_EQ(g_aOutputs.size(), 3U);
}

TEST_F(LogFaults, AFileThatIsReadOnlyIsToldAndTheOtherOutputsRun)
{
    Log(LOG_FILE, "first");
    m_oDirectory.SetReadOnly(LOG_NAME, true);
    bool bProtected = false;
    {
        const COrdinaryUser oUser;
        ASSERT_TRUE(std::ifstream(LOG_NAME).is_open()) << "what follows must be for the writing alone";
        bProtected = !std::ofstream(LOG_NAME, std::ios::app).is_open();
        if (bProtected)
            Log(LOG_FILE | LOG_MESSAGEBOX, "lost");
    }
    m_oDirectory.SetReadOnly(LOG_NAME, false);
    if (!bProtected)
        GTEST_SKIP() << "this user, or this system, writes to read-only files";
    EXPECT_EQ(g_aOutputs, Texts{FILE_FAILED});
    EXPECT_EQ(g_aBoxes, Texts{"lost"});
    Log(LOG_FILE, "second");
    EXPECT_EQ(MessagesInFile(LOG_NAME), (Texts{"first", "second"}));
}

TEST_F(LogFaults, ADirectoryThatIsReadOnlyIsToldAndTheOtherOutputsRun)
{
    m_oDirectory.Write("sub/there", "");
    m_oDirectory.SetReadOnly("sub", true);
    bool bProtected = false;
    {
        const COrdinaryUser oUser;
        ASSERT_TRUE(std::ifstream("sub/there").is_open()) << "what follows must be for the writing alone";
        bProtected = !std::ofstream("sub/probe").is_open();
        if (bProtected)
            Log(LOG_FILE | LOG_MESSAGEBOX, "lost", "sub/App");
    }
    m_oDirectory.SetReadOnly("sub", false);
    if (!bProtected)
        GTEST_SKIP() << "this system writes to read-only directories";
    EXPECT_EQ(g_aOutputs, Texts{FILE_FAILED});
    EXPECT_EQ(g_aBoxes, Texts{"lost"});
    Log(LOG_FILE, "found", "sub/App");
    EXPECT_EQ(MessagesInFile("sub/App.log"), Texts{"found"});
}

TEST_F(LogFaults, ADirectoryThatIsGoneIsToldUntilItIsThereAgain)
{
    m_oDirectory.MakeDirectory("sub");
    Log(LOG_FILE, "first", "sub/App");
    m_oDirectory.Remove("sub");
    Log(LOG_FILE | LOG_MESSAGEBOX, "lost", "sub/App");
    EXPECT_EQ(g_aOutputs, Texts{FILE_FAILED});
    EXPECT_EQ(g_aBoxes, Texts{"lost"});
    m_oDirectory.MakeDirectory("sub");
    Log(LOG_FILE, "second", "sub/App");
    EXPECT_EQ(MessagesInFile("sub/App.log"), Texts{"second"});
}

TEST_F(LogFaults, ARecordThatCannotBeSentIsToldAndTheOtherOutputsRun)
{
    const std::string sContext(400, 'c');
    _VQ_Log_Fn("source", APPLICATION.c_str(), sContext.c_str(), 42, 0,
               LOG_DEBUGGER | LOG_FILE | LOG_NETWORK | LOG_MESSAGEBOX, ecWarning, "%s", "large");
    EXPECT_EQ(g_aOutputs, (Texts{"large", "\n", MAIL_FAILED, "\n"}));
    EXPECT_EQ(g_aBoxes, Texts{"large"});
    EXPECT_EQ(MessagesInFile(LOG_NAME), Texts{"large"});
}

TEST_F(LogFaults, UnknownOutputsAreLeftOut)
{
    for (const unsigned long nOutputs : {16UL, 0xFFFFFFF0UL})
        Log(nOutputs, "nowhere");
    EXPECT_TRUE(g_aOutputs.empty());
    EXPECT_TRUE(g_aBoxes.empty());
    EXPECT_FALSE(m_oDirectory.Has(LOG_NAME));
}

// ---------------------------------------------------------------- the monitor

TEST_F(LogMonitor, FileAndRecordTellTheSame)
{
    _VQ_Log_Fn("source", APPLICATION.c_str(), "context", 0xFFFFFFFE, 5, LOG_FILE | LOG_NETWORK, 0xFFFFFFFF, "%s",
               std::string(300, 'm').c_str());
    sLogRecord oMail;
    ASSERT_NE(Take(oMail), 0UL);
    EXPECT_EQ(oMail.m_nLine, 0xFFFFFFFE);
    EXPECT_EQ(oMail.m_nClass, 0xFFFFFFFF);
    EXPECT_EQ(oMail.m_sMessage, std::string(256, 'm'));

    std::vector<sLogRecord> aLines;
    CLogLines oLines([&](const sLogRecord& oRecord) { aLines.push_back(oRecord); });
    oLines.Add(m_oDirectory.Read(LOG_NAME));
    oLines.End();
    EXPECT_EQ(aLines, std::vector<sLogRecord>{oMail});
}

TEST_F(LogMonitor, ARecordOf400BytesIsSentAndALargerOneIsNot)
{
    sLogRecord oRecord;
    Log(LOG_NETWORK, "");
    const unsigned long nEmpty = Take(oRecord);
    ASSERT_GT(nEmpty, 36UL);
    const auto nTicks = oRecord.m_sTicks.size();

    // The context fills what the message leaves; the ticks may grow by a digit meanwhile, once in a long time.
    const std::string sMessage(200, 'm');
    for (const int nMore : {0, 1})
    {
        const std::string sContext(static_cast<std::size_t>(400 - static_cast<int>(nEmpty) + 7 - 200 + nMore), 'c');
        _VQ_Log_Fn("source", APPLICATION.c_str(), sContext.c_str(), 42, 0, LOG_NETWORK | LOG_FILE, ecWarning, "%s",
                   sMessage.c_str());
        const unsigned long nSize = Take(oRecord);
        if (nSize != 0 && oRecord.m_sTicks.size() != nTicks)
            GTEST_SKIP() << "the clock got a digit more";
        EXPECT_EQ(nSize, nMore == 0 ? 400UL : 0UL);
        EXPECT_EQ(g_aOutputs, nMore == 0 ? Texts() : (Texts{MAIL_FAILED, "\n"}));
    }
    EXPECT_EQ(MessagesInFile(LOG_NAME), (Texts{sMessage, sMessage})) << "the file has both";
}

TEST_F(LogMonitor, ThatIsOpenedAgainReceivesEveryLaterRecordOnce)
{
    Log(LOG_NETWORK, "to the first");
    EXPECT_EQ(TakeMessages(), Texts{"to the first"});
    for (int i = 0; i < 3; ++i)
    {
        m_oServer.Close();
        Log(LOG_NETWORK, "to nobody");
        Log(LOG_NETWORK, "to nobody");
        if (!Open())
            GTEST_SKIP() << "another monitor listens on this computer";
        Log(LOG_NETWORK, "one");
        Log(LOG_NETWORK, "two");
        EXPECT_EQ(TakeMessages(), (Texts{"one", "two"}));
    }
    EXPECT_TRUE(g_aOutputs.empty()) << "that nobody listens is no failure";
}

TEST_F(LogMonitor, ThatDoesNotReadHoldsNobodyUpForLong)
{
    if (!AreFullMailQueuesTold())
        GTEST_SKIP() << "this system tells no client that a queue is full";

    const auto oStart = std::chrono::steady_clock::now();
    int nSent = 0;
    while (g_aOutputs.empty() && nSent < 100'000)
        Log(LOG_NETWORK, std::to_string(nSent++));
    EXPECT_EQ(g_aOutputs, (Texts{MAIL_FAILED, "\n"}));

    for (int i = 0; i < 100; ++i)
        Log(LOG_NETWORK | LOG_FILE, "refused");
    EXPECT_LT(std::chrono::steady_clock::now() - oStart, std::chrono::seconds(30));
    EXPECT_EQ(g_aOutputs.size(), 202U);
    EXPECT_EQ(MessagesInFile(LOG_NAME).size(), 100U);

    const Texts aMessages = TakeMessages();
    ASSERT_EQ(aMessages.size(), static_cast<std::size_t>(nSent - 1));
    for (std::size_t i = 0; i < aMessages.size(); ++i)
        ASSERT_EQ(aMessages[i], std::to_string(i));
    Log(LOG_NETWORK, "again");
    EXPECT_EQ(TakeMessages(), Texts{"again"});
}

TEST_F(LogMonitor, ReceivesTheRecordsOfManyThreadsWhole)
{
    constexpr int THREADS = 16;
    constexpr int CALLS = 60;
    std::atomic<int> nRunning = THREADS;
    std::vector<std::thread> aThreads;
    for (int nThread = 0; nThread < THREADS; ++nThread)
        aThreads.emplace_back(
            [&nRunning, nThread]
            {
                for (int i = 0; i < CALLS; ++i)
                    _VQ_Log_Fn("source", APPLICATION.c_str(), "", 1, 0, LOG_NETWORK | LOG_FILE, 2, "%d %d %s", nThread,
                               i, std::string(100, 'm').c_str());
                --nRunning;
            });

    Texts aMessages;
    for (bool bLast = false; !bLast;)
    {
        bLast = nRunning == 0;
        for (const std::string& sMessage : TakeMessages())
            aMessages.push_back(sMessage);
        std::this_thread::yield();
    }
    for (std::thread& oThread : aThreads)
        oThread.join();

    EXPECT_EQ(aMessages.size(), static_cast<std::size_t>(THREADS * CALLS));
    EXPECT_EQ(aMessages, MessagesInFile(LOG_NAME)) << "one lock orders both";
    std::map<int, int> oNext;
    for (const std::string& sMessage : aMessages)
    {
        const int nThread = std::stoi(sMessage);
        const std::string sExpected =
            std::to_string(nThread) + " " + std::to_string(oNext[nThread]++) + " " + std::string(100, 'm');
        EXPECT_EQ(sMessage, sExpected);
    }
}

// ---------------------------------------------------------------- threads and processes

TEST_F(LogFaults, AThreadWaitsWhileTheBoxOfAnotherOneIsOpen)
{
    LetBoxesStayOpen();
    std::thread oFirst([] { Log(LOG_MESSAGEBOX, "box"); });
    g_pBoxIsOpen->Wait();

    CVQEvent oDone;
    std::thread oSecond(
        [&oDone]
        {
            Log(LOG_DEBUGGER, "after the box");
            oDone.Signal();
        });
    EXPECT_FALSE(oDone.TimedWait(100));
    EXPECT_TRUE(g_aOutputs.empty());
    g_pBoxMayClose->Signal();
    EXPECT_TRUE(oDone.TimedWait(60'000));
    oFirst.join();
    oSecond.join();
    EXPECT_EQ(g_aOutputs, (Texts{"after the box", "\n"}));
}

TEST_F(LogFaults, ACopyOfTheProcessReportsUnderItsOwnNumber)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    Log(LOG_FILE, "parent");
    EXPECT_EQ(RunInFork(
                  []
                  {
                      Log(LOG_FILE, "child");
                      return RunInFork(
                          []
                          {
                              Log(LOG_FILE | LOG_NETWORK, "grandchild");
                              return 7;
                          });
                  }),
              7);
    Log(LOG_FILE, "parent");

    std::vector<sLogRecord> aRecords;
    CLogLines oLines([&](const sLogRecord& oRecord) { aRecords.push_back(oRecord); });
    oLines.Add(m_oDirectory.Read(LOG_NAME));
    oLines.End();
    ASSERT_EQ(aRecords.size(), 4U);
    EXPECT_EQ(aRecords[0].m_nProcess, aRecords[3].m_nProcess);
    EXPECT_NE(aRecords[0].m_nProcess, aRecords[1].m_nProcess);
    EXPECT_NE(aRecords[0].m_nProcess, aRecords[2].m_nProcess);
    EXPECT_NE(aRecords[1].m_nProcess, aRecords[2].m_nProcess);
}

TEST_F(LogFaults, ACopyOfTheProcessReportsWhileAThreadOfTheFirstOneHoldsTheLog)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    LetBoxesStayOpen();
    std::thread oHolder([] { Log(LOG_MESSAGEBOX, "box"); });
    g_pBoxIsOpen->Wait();
    EXPECT_EQ(RunInFork(
                  []
                  {
                      Log(LOG_FILE | LOG_NETWORK, "child");
                      return 7;
                  }),
              7);
    g_pBoxMayClose->Signal();
    oHolder.join();
    EXPECT_EQ(MessagesInFile(LOG_NAME), Texts{"child"});
}

TEST_F(LogFaults, AProgramAndTwoLibrariesReportFromTheirFirstToTheirLastMoment)
{
    const std::filesystem::path oThis(ThisProgram());
    const ChildResult oResult =
        ChildProcess({(oThis.parent_path() / ("LogProbe" + oThis.extension().string())).string()}).Wait();
    EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;

    // The two libraries do not need each other: which one begins or ends before the other is the system's affair.
    Texts aMessages = MessagesInFile("Probe.log");
    ASSERT_EQ(aMessages.size(), 9U);
    std::sort(aMessages.begin(), aMessages.begin() + 2);
    std::sort(aMessages.end() - 2, aMessages.end());
    EXPECT_EQ(aMessages, (Texts{"First begins", "Second begins", "program begins", "main", "First is called",
                                "Second is called", "program ends", "First ends", "Second ends"}));
}

TEST_F(LogFaults, ACatastropheOnAThreadEndsTheProcessWhileOthersReport)
{
    ChildProcess oChild({ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
                         "--gtest_filter=LogFaultsChild.DISABLED_EndsOnAThread"});
    EXPECT_EQ(oChild.Wait().nExitCode, 0);
}

TEST(LogFaultsChild, DISABLED_EndsOnAThread)
{
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaOk; });
    HOOK_SetDebuggerOutput([](const char*) {});
    std::atexit([] { _VQ_Log_Fn("s", "End", "", 1, 0, LOG_FILE | LOG_DEBUGGER, 2, "at the end"); });
    std::vector<std::thread> aThreads;
    for (int i = 0; i < 3; ++i)
        aThreads.emplace_back(
            []
            {
                for (;;)
                    Log(LOG_DEBUGGER, "still here");
            });
    aThreads.emplace_back([]
                          { _VQ_Log_Fn("s", "End", "", 1, 0, LOG_MESSAGEBOX, ecCatastrophicError, "%s", "the end"); });
    for (std::thread& oThread : aThreads)
        oThread.join();
    std::_Exit(99);
}
