// The built program, run as a user runs it.

#include <Common/Debug/Log.h>
#include <Common/MailSlot/VQMailSlot.h>
#include <Common/ProcessControl/VQEvent.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/LogMail.h>
#include <tests/support/RawMail.h>
#include <tests/support/Terminal.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestEnvironment.h>
#include <tests/support/TestFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr std::chrono::seconds LIMIT{30};

std::string GetProgram()
{
    const std::filesystem::path oThis(ThisProgram());
    return (oThis.parent_path() / ("vqlog" + oThis.extension().string())).string();
}

std::vector<std::string> Command(std::vector<std::string> aArguments)
{
    aArguments.insert(aArguments.begin(), GetProgram());
    return aArguments;
}

using Outcome = std::pair<int, std::string>;

Outcome WaitFor(ChildProcess& oChild)
{
    ChildResult oResult = oChild.Wait();
    std::erase(oResult.sOutput, '\r'); // line ends of text streams
    return {oResult.nExitCode, oResult.sOutput};
}

Outcome RunTool(const std::vector<std::string>& aArguments)
{
    ChildProcess oChild(Command(aArguments));
    return WaitFor(oChild);
}

/// A slot that no other test listens to, and a client that waits until somebody does.
class CSlot
{
public:
    CSlot() : m_sName("common.test.vqlog." + std::to_string(std::random_device()())) {}

    const std::string& GetName() const { return m_sName; }

    bool WaitForServer()
    {
        const auto oEnd = std::chrono::steady_clock::now() + LIMIT;
        while (std::chrono::steady_clock::now() < oEnd)
        {
            try
            {
                return m_oClient.Open(MailSlotName(".", m_sName).c_str(), false);
            }
            catch (const CMailSlotException&)
            {
                std::this_thread::yield();
            }
        }
        return false;
    }

    /// Sends a message; a full queue is waited for.
    bool Send(const std::string& sBytes)
    {
        const auto oEnd = std::chrono::steady_clock::now() + LIMIT;
        while (std::chrono::steady_clock::now() < oEnd)
        {
            try
            {
                m_oClient.BeginWrite();
                m_oClient.Write(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
                m_oClient.EndWrite();
                return true;
            }
            catch (const CMailSlotException&)
            {
                std::this_thread::yield();
            }
        }
        return false;
    }

private:
    const std::string m_sName;
    CVQMailSlot m_oClient;
};

/// Does something over and over while the object lives, resting a little in between.
class CRepeat
{
public:
    explicit CRepeat(std::function<void(int)> fnWork)
        : m_oThread(
              [this, fnWork = std::move(fnWork)]
              {
                  for (int nTime = 0; !m_oEnd.TimedWait(10); ++nTime)
                      fnWork(nTime);
              })
    {
    }

    ~CRepeat()
    {
        m_oEnd.Signal();
        m_oThread.join();
    }

    CRepeat(const CRepeat&) = delete;
    CRepeat& operator=(const CRepeat&) = delete;

private:
    CVQEvent m_oEnd;
    std::thread m_oThread;
};

std::string Record(const std::string& sMessage, std::uint32_t nClass = 2, const std::string& sApplication = "App")
{
    return MakeLogMail("ada", sApplication, 7, nClass, "1500", "", "src", 9, sMessage);
}

std::string ListeningOn(const std::string& sSlot)
{
    return "vqlog: listening on \\\\.\\mailslot\\" + sSlot + "\n";
}

/// What the program shows of the records with these options, without the times of arrival.
std::string ShownOf(const std::vector<std::string>& aMails, std::vector<std::string> aOptions)
{
    CSlot oSlot;
    aOptions.insert(aOptions.end(), {"--slot", oSlot.GetName()});
    ChildProcess oChild(Command(aOptions));
    EXPECT_TRUE(oSlot.WaitForServer());
    for (const std::string& sMail : aMails)
        EXPECT_TRUE(oSlot.Send(sMail));
    const auto [nCode, sOutput] = WaitFor(oChild);
    EXPECT_EQ(nCode, 0) << sOutput;
    EXPECT_EQ(sOutput.substr(0, sOutput.find('\n') + 1), ListeningOn(oSlot.GetName()));
    return std::regex_replace(sOutput.substr(sOutput.find('\n') + 1), std::regex(R"(\d\d:\d\d:\d\d\.\d\d\d )"), "");
}

std::string FileLine(const std::string& sMessage, int nClass = 2)
{
    return "ada | App | 7 | " + std::to_string(nClass) + " | 1500 |  | src | 9 | " + sMessage + "\r\n";
}

std::string ShownFileLine(const std::string& sMessage, const std::string& sTitle = "Info")
{
    return "1.500s ada App[7] " + sTitle + ": src:9: " + sMessage + "\n";
}
} // namespace

TEST(Vqlog, ShowsRecordsAsTheyCome)
{
    EXPECT_EQ(ShownOf({Record("one"), Record("two", 8), Record("three", 9, "Other")}, {"--count", "3"}),
              "ada App[7] Info: src:9: one\n"
              "ada App[7] Catastrophic Error: src:9: two\n"
              "ada Other[7] Unkown class: src:9: three\n"
              "vqlog: 3 shown, 0 left out, 0 malformed\n");
}

TEST(Vqlog, ShowsWhatIsAskedFor)
{
    const std::vector<std::string> aMails = {Record("low", 4),           Record("mid", 5, "Lander"),
                                             Record("high", 6, "OTHER"), Record("high too", 7, "lander"),
                                             Record("unknown", 10),      Record("last", 8, "Lander")};
    EXPECT_EQ(ShownOf(aMails, {"--class", "error", "--count", "4"}), "ada OTHER[7] Error: src:9: high\n"
                                                                     "ada lander[7] Critical Error: src:9: high too\n"
                                                                     "ada App[7] Unkown class: src:9: unknown\n"
                                                                     "ada Lander[7] Catastrophic Error: src:9: last\n"
                                                                     "vqlog: 4 shown, 2 left out, 0 malformed\n");
    EXPECT_EQ(ShownOf(aMails, {"--app=Lander", "--app=other", "--grep=high", "--count=2"}),
              "ada OTHER[7] Error: src:9: high\n"
              "ada lander[7] Critical Error: src:9: high too\n"
              "vqlog: 2 shown, 2 left out, 0 malformed\n");
    EXPECT_EQ(ShownOf(aMails, {"--class", "8", "--app", "LANDER", "--grep", "as", "--count", "1"}),
              "ada Lander[7] Catastrophic Error: src:9: last\n"
              "vqlog: 1 shown, 5 left out, 0 malformed\n");
}

TEST(Vqlog, WritesJson)
{
    std::string sShown = ShownOf({Record("a \"b\"\n")}, {"--json", "--count", "1"});
    sShown = std::regex_replace(sShown, std::regex(R"("time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z",)"), "<time>");
    EXPECT_EQ(sShown, R"({<time>"computer":"ada","application":"App","process":7,"class":2,"title":"Info",)"
                      R"("ticks":"1500","context":"","source":"src","line":9,"message":"a \"b\"\n"})"
                      "\nvqlog: 1 shown, 0 left out, 0 malformed\n");
}

TEST(Vqlog, CountsMalformedMessagesAndGoesOn)
{
    const std::string sGood = Record("good");
    EXPECT_EQ(ShownOf({"x", std::string(400, '\xFF'), sGood.substr(0, 20), sGood + "more", std::string(400, '\0'),
                       std::string(40, '\0'), sGood},
                      {"--count", "1"}),
              "ada App[7] Info: src:9: good\n"
              "vqlog: 1 shown, 0 left out, 6 malformed\n");
}

TEST(Vqlog, DropsMessagesThatAreTooLarge)
{
    CSlot oSlot;
    ChildProcess oChild(Command({"--count", "1", "--slot", oSlot.GetName()}));
    ASSERT_TRUE(oSlot.WaitForServer());
    EXPECT_TRUE(SendRawMail(oSlot.GetName(), std::string(5000, 'x')));
    EXPECT_TRUE(oSlot.Send(Record("after")));
    const auto [nCode, sOutput] = WaitFor(oChild);
    EXPECT_EQ(nCode, 0);
    EXPECT_NE(sOutput.find(": after\nvqlog: 1 shown, 0 left out, 0 malformed\n"), std::string::npos) << sOutput;
}

TEST(Vqlog, ShowsEveryRecordOfAFloodWhole)
{
    constexpr int THREADS = 16;
    constexpr int RECORDS = 250;
    CSlot oSlot;
    ChildProcess oChild(Command({"--count", std::to_string(THREADS * RECORDS), "--slot", oSlot.GetName()}));
    ASSERT_TRUE(oSlot.WaitForServer());
    std::vector<std::thread> aThreads;
    for (int nThread = 0; nThread < THREADS; ++nThread)
        aThreads.emplace_back(
            [&oSlot, nThread]
            {
                CVQMailSlot oClient;
                oClient.Open(MailSlotName(".", oSlot.GetName()).c_str(), false);
                const auto oEnd = std::chrono::steady_clock::now() + LIMIT;
                for (int i = 0; i < RECORDS && std::chrono::steady_clock::now() < oEnd;)
                {
                    const std::string sMail =
                        Record(std::to_string(nThread) + " says " + std::to_string(i) + std::string(200, 'm'));
                    oClient.BeginWrite();
                    oClient.Write(sMail.data(), static_cast<unsigned long>(sMail.size()));
                    try
                    {
                        oClient.EndWrite();
                        ++i;
                    }
                    catch (const CMailSlotException&)
                    {
                        std::this_thread::yield(); // the queue is full
                    }
                }
            });
    for (std::thread& oThread : aThreads)
        oThread.join();

    const auto [nCode, sOutput] = WaitFor(oChild);
    EXPECT_EQ(nCode, 0);
    std::map<int, int> oNext;
    const std::regex oLine(R"([0-9:.]+ ada App\[7\] Info: src:9: (\d+) says (\d+)m{200}\n)");
    for (std::sregex_iterator i(sOutput.begin(), sOutput.end(), oLine); i != std::sregex_iterator(); ++i)
        EXPECT_EQ(std::stoi((*i)[2]), oNext[std::stoi((*i)[1])]++);
    EXPECT_EQ(oNext.size(), static_cast<std::size_t>(THREADS));
    for (const auto& [nThread, nCount] : oNext)
        EXPECT_EQ(nCount, RECORDS) << nThread;
    EXPECT_NE(sOutput.find("\nvqlog: 4000 shown, 0 left out, 0 malformed\n"), std::string::npos);
}

TEST(Vqlog, ShowsWhatAProgramLogs)
{
    if (!CanMailToAll())
        GTEST_SKIP() << "this system cannot address all computers";

    const std::string sApplication = "vqlog-test-" + std::to_string(std::random_device()());
    ChildProcess oChild(Command({"--count", "1", "--app", sApplication}));
    Outcome oOutcome;
    {
        const CRepeat oLogging(
            [&](int)
            {
                _VQ_Log_Fn("game/World", sApplication.c_str(), "loading", 42, 0, LOG_NETWORK, ecWarning,
                           "level %d has no ship", 3);
            });
        oOutcome = WaitFor(oChild);
    }
    if (oOutcome.second.find("is another monitor listening?") != std::string::npos)
        GTEST_SKIP() << "another monitor listens on this computer";

    EXPECT_EQ(oOutcome.first, 0);
    const std::regex oOutput("vqlog: listening on .*debug\n[0-9:.]+ \\S+ " + sApplication +
                             R"(\[\d+\] Warning: game/World:42 \(loading\): level 3 has no ship)"
                             "\nvqlog: 1 shown, [0-9]+ left out, [0-9]+ malformed\n");
    EXPECT_TRUE(std::regex_match(oOutcome.second, oOutput)) << oOutcome.second;
}

TEST(Vqlog, TellsThatAnotherMonitorListens)
{
    CSlot oSlot;
    CVQMailSlot oServer;
    oServer.Open(MailSlotName(".", oSlot.GetName()).c_str(), true);
    EXPECT_EQ(RunTool({"--slot", oSlot.GetName()}), Outcome(1, "vqlog: \\\\.\\mailslot\\" + oSlot.GetName() +
                                                                   ": cannot listen; is another monitor listening?\n"));
}

TEST(Vqlog, RefusesInterfacesThatAreNotThere)
{
    CSlot oSlot;
    EXPECT_EQ(RunTool({"--slot", oSlot.GetName(), "--interface", "no-such-interface"}),
              Outcome(1, "vqlog: no-such-interface: no network interface that can be used\n"));
}

TEST(Vqlog, ShowsALogFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a.log", FileLine("one") + FileLine("two", 6) + FileLine("thr | ee\r\nmore", 5));
    const std::string sOne = ShownFileLine("one");
    const std::string sTwo = ShownFileLine("two", "Error");
    const std::string sThree = ShownFileLine("thr | ee\\r\\nmore", "Warning");
    EXPECT_EQ(RunTool({"--file", "a.log"}), Outcome(0, sOne + sTwo + sThree));
    EXPECT_EQ(RunTool({"--file=a.log", "--class=warning"}), Outcome(0, sTwo + sThree));
    EXPECT_EQ(RunTool({"--file", "a.log", "--grep", "t", "--count", "1"}), Outcome(0, sTwo));
    EXPECT_EQ(RunTool({"--file", "a.log", "--app", "none"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"--file", "a.log", "--json", "--grep", "one"}),
              Outcome(0, R"({"computer":"ada","application":"App","process":7,"class":2,"title":"Info","ticks":"1500",)"
                         R"("context":"","source":"src","line":9,"message":"one"})"
                         "\n"));
}

TEST(Vqlog, ShowsWhatALogWrites)
{
    const CTestDirectory oDirectory;
    _VQ_Log_Fn("game/World", "Written", "a | b", 42, 0, LOG_FILE, ecWarning, "%s", "one | 2 | 3\r\ntwo");
    _VQ_Log_Fn("game/World", "Written", "", 43, 0, LOG_FILE, ecDump, "%s", "");
    const auto [nCode, sOutput] = RunTool({"--file", "Written.log"});
    EXPECT_EQ(nCode, 0);
    EXPECT_TRUE(std::regex_match(
        sOutput, std::regex(R"([\d.]+s \S+ Written\[\d+\] Warning: game/World:42 \(a \| b\): one \| 2 \| 3\\r\\ntwo)"
                            "\n"
                            R"([\d.]+s \S+ Written\[\d+\] Dump: game/World:43: )"
                            "\n")))
        << sOutput;
}

TEST(Vqlog, TellsWhatItCannotRead)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");
    oDirectory.Write("text.log", "no record\r\n" + FileLine("one") + "torn | li");
    EXPECT_EQ(RunTool({"--file", "none.log"}), Outcome(1, "vqlog: none.log: there is no such file\n"));
    EXPECT_EQ(RunTool({"--file", "d"}), Outcome(1, "vqlog: d: cannot be read\n"));
    EXPECT_EQ(RunTool({"--file", "text.log"}),
              Outcome(0, ShownFileLine("one\\r\\ntorn | li") + "vqlog: warning: text.log: 1 malformed\n"));
}

TEST(Vqlog, ShowsWhatComesThroughAPipe)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system has no pipes among its files";

    const CTestDirectory oDirectory;
    ASSERT_TRUE(MakePipe("pipe"));
    ChildProcess oChild(Command({"--file", "pipe"}));
    std::ofstream("pipe", std::ios::binary) << FileLine("one") << FileLine("two", 6);
    EXPECT_EQ(WaitFor(oChild), Outcome(0, ShownFileLine("one") + ShownFileLine("two", "Error")));
}

TEST(Vqlog, FollowsOnlyWhatGrows)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");
    EXPECT_EQ(RunTool({"--file", "d", "-f"}), Outcome(1, "vqlog: d: not a file that grows\n"));
    if (HasSpecialFiles())
    {
        ASSERT_TRUE(MakePipe("pipe"));
        EXPECT_EQ(RunTool({"--file", "pipe", "-f"}), Outcome(1, "vqlog: pipe: not a file that grows\n"));
        // a file whose first byte nobody reads
        EXPECT_EQ(RunTool({"--file", "/proc/self/mem", "-f"}), Outcome(1, "vqlog: /proc/self/mem: cannot be read\n"));
    }
}

TEST(Vqlog, EndsOnAnInterruptWithACountInAFileToo)
{
    if (!HasTerminals() || !HasSpecialFiles())
        GTEST_SKIP() << "no terminals to type an interrupt at on this system";

    const CTestDirectory oDirectory;
    ASSERT_TRUE(MakePipe("pipe"));
    CTerminalChild oChild(Command({"--file", "pipe", "--grep", "one"}));
    std::ofstream oWriter("pipe", std::ios::binary);
    oWriter << FileLine("one") << FileLine("two") << std::flush;
    oChild.Type("\x03");
    EXPECT_TRUE(oChild.WaitFor("^C"));
    oWriter.close();
    EXPECT_TRUE(oChild.WaitFor("vqlog: 1 shown, 1 left out, 0 malformed\r\n"));
    EXPECT_EQ(oChild.Wait().nExitCode, 0);
}

TEST(Vqlog, FollowsAFileAsItGrows)
{
    constexpr int RECORDS = 60;
    const CTestDirectory oDirectory;
    ChildProcess oChild(Command({"--file", "App.log", "-f", "--count", std::to_string(RECORDS)}));
    Outcome oOutcome;
    {
        const CRepeat oLogging([](int nTime) { _VQ_Log_Fn("src", "App", "", 9, 0, LOG_FILE, ecInfo, "%d", nTime); });
        oOutcome = WaitFor(oChild);
    }
    const auto& [nCode, sOutput] = oOutcome;
    EXPECT_EQ(nCode, 0);
    const std::regex oLine(R"([0-9:.s]+ \S+ App\[\d+\] Info: src:9: (\d+)\n)");
    int nNext = 0;
    for (std::sregex_iterator i(sOutput.begin(), sOutput.end(), oLine); i != std::sregex_iterator(); ++i)
        EXPECT_EQ(std::stoi((*i)[1]), nNext++);
    EXPECT_EQ(nNext, RECORDS) << sOutput;
    EXPECT_NE(sOutput.find("vqlog: 60 shown, "), std::string::npos) << sOutput;
}

TEST(Vqlog, EndsOnAnInterruptWithACount)
{
    if (!HasTerminals())
        GTEST_SKIP() << "no terminals to type an interrupt at on this system";

    CSlot oSlot;
    CTerminalChild oChild(Command({"--slot", oSlot.GetName(), "--grep", "wanted"}));
    ASSERT_TRUE(oSlot.WaitForServer());
    for (const char* pMessage : {"wanted", "not this", "also wanted"})
        EXPECT_TRUE(oSlot.Send(Record(pMessage)));
    EXPECT_TRUE(oSlot.Send("x"));
    EXPECT_TRUE(oChild.WaitFor("also wanted\r\n")); // what came before the last record is counted
    EXPECT_TRUE(oSlot.Send(Record("wanted at last")));
    EXPECT_TRUE(oChild.WaitFor("at last\r\n"));
    oChild.Type("\x03");
    EXPECT_TRUE(oChild.WaitFor("vqlog: 3 shown, 1 left out, 1 malformed\r\n"));
    EXPECT_EQ(oChild.Wait().nExitCode, 0);
}

TEST(Vqlog, ShowsColoursOnTerminalsAlone)
{
    if (!HasTerminals())
        GTEST_SKIP() << "no terminals to show colours on this system";

    struct
    {
        const char* pTerminal;
        const char* pNoColour;
        std::vector<std::string> aOptions;
        bool bColours;
    } const aCases[] = {
        {"xterm", nullptr, {}, true}, {"xterm", "", {}, true},  {"xterm", "1", {}, false},
        {"dumb", nullptr, {}, false}, {"", nullptr, {}, false}, {"xterm", nullptr, {"--json"}, false},
    };

    const CTestDirectory oDirectory;
    oDirectory.Write("a.log", FileLine("one", 5));
    for (const auto& oCase : aCases)
    {
        const CTestEnvironment oTerminal("TERM", oCase.pTerminal);
        const CTestEnvironment oNoColour("NO_COLOR", oCase.pNoColour);
        std::vector<std::string> aArguments = {"--file", "a.log"};
        aArguments.insert(aArguments.end(), oCase.aOptions.begin(), oCase.aOptions.end());
        const std::string sShown = CTerminalChild(Command(aArguments)).Wait().sOutput;
        EXPECT_NE(sShown.find("one"), std::string::npos);
        EXPECT_EQ(sShown.find("\033[33mWarning\033[0m:") != std::string::npos, oCase.bColours) << sShown;
        EXPECT_EQ(sShown.find('\033') != std::string::npos, oCase.bColours) << sShown;
    }

    const CTestEnvironment oTerminal("TERM", "xterm");
    EXPECT_EQ(RunTool({"--file", "a.log"}), Outcome(0, ShownFileLine("one", "Warning")));
}

TEST(Vqlog, FollowsAFileThatIsReplacedOrGone)
{
    if (!HasTerminals())
        GTEST_SKIP() << "no terminals to see what a running program shows on this system";

    const CTestDirectory oDirectory;
    const CTestEnvironment oTerminal("TERM", nullptr);
    CTerminalChild oChild(Command({"--file", "a.log", "-f"}));
    const std::string sArrived = "ada App[7] Info: src:9: ";
    EXPECT_TRUE(oChild.WaitFor("vqlog: a.log: waiting for it\r\n"));
    oDirectory.Write("a.log", FileLine("first") + FileLine("second"));
    EXPECT_TRUE(oChild.WaitFor(sArrived + "first\r\n"));
    EXPECT_TRUE(oChild.WaitFor(sArrived + "second\r\n"));
    oDirectory.Write("a.log", FileLine("shorter"));
    EXPECT_TRUE(oChild.WaitFor(sArrived + "shorter\r\n"));
    oDirectory.Write("a.log", FileLine("longer, and another file") + FileLine("more"));
    EXPECT_TRUE(oChild.WaitFor(sArrived + "longer, and another file\r\n"));
    EXPECT_TRUE(oChild.WaitFor(sArrived + "more\r\n"));
    oDirectory.Remove("a.log");
    oDirectory.Write("a.log", FileLine("back") + FileLine("again"));
    EXPECT_TRUE(oChild.WaitFor(sArrived + "again\r\n"));
    oChild.Type("\x03");
    EXPECT_TRUE(oChild.WaitFor("vqlog: 7 shown, 0 left out, 0 malformed\r\n"));
    EXPECT_EQ(oChild.Wait().nExitCode, 0);
}

TEST(Vqlog, SurvivesOutputsThatAreClosedOrFull)
{
    if (!HasTerminals())
        GTEST_SKIP() << "no shell to close an output on this system";

    struct
    {
        const char* pCommand;
        const char* pCode;
    } const aCases[] = {
        {"{ \"$0\" --slot \"$1\"; echo code $? >&2; } | head -n 1", "code 0\n"},
        {"\"$0\" --slot \"$1\" >/dev/full; echo code $?", "vqlog: standard output: cannot be written\ncode 1\n"},
    };

    for (const auto& oCase : aCases)
    {
        CSlot oSlot;
        ChildProcess oChild({"/bin/sh", "-c", oCase.pCommand, GetProgram(), oSlot.GetName()});
        ASSERT_TRUE(oSlot.WaitForServer());
        Outcome oOutcome;
        {
            CVQMailSlot oClient;
            ASSERT_TRUE(oClient.Open(MailSlotName("*", oSlot.GetName()).c_str(), false));
            const CRepeat oSending(
                [&](int)
                {
                    const std::string sMail = Record("again");
                    oClient.BeginWrite();
                    oClient.Write(sMail.data(), static_cast<unsigned long>(sMail.size()));
                    oClient.EndWrite();
                });
            oOutcome = WaitFor(oChild);
        }
        EXPECT_NE(oOutcome.second.find(oCase.pCode), std::string::npos) << oOutcome.second;
    }

    ChildProcess oClosed({"/bin/sh", "-c", "\"$0\" >&-; echo code $?", GetProgram()});
    EXPECT_EQ(WaitFor(oClosed), Outcome(0, "vqlog: standard output: cannot be written\ncode 1\n"));
}

TEST(Vqlog, RefusesWrongUse)
{
    const std::pair<std::vector<std::string>, std::string> aCases[] = {
        {{"debug"}, "vqlog: debug: not an option\n"},
        {{"--nonsense"}, "vqlog: --nonsense: unknown option\n"},
        {{"-x"}, "vqlog: -x: unknown option\n"},
        {{"--class"}, "vqlog: --class: a value is missing\n"},
        {{"--class", "bad"}, "vqlog: bad: not a class\n"},
        {{"--app="}, "vqlog: --app: an empty value\n"},
        {{"--grep", ""}, "vqlog: --grep: an empty value\n"},
        {{"--count", "0"}, "vqlog: 0: not a number of records\n"},
        {{"--count=-1"}, "vqlog: -1: not a number of records\n"},
        {{"--count", "1x"}, "vqlog: 1x: not a number of records\n"},
        {{"--json=yes"}, "vqlog: --json: takes no value\n"},
        {{"-f"}, "vqlog: -f: follows a file, and --file names none\n"},
        {{"--file", "a", "--slot", "b"},
         "vqlog: --file: does not listen, so that --interface and --slot have no meaning\n"},
        {{"--interface=lo", "--file=a"},
         "vqlog: --file: does not listen, so that --interface and --slot have no meaning\n"},
    };
    for (const auto& [aArguments, sError] : aCases)
    {
        const auto [nCode, sOutput] = RunTool(aArguments);
        EXPECT_EQ(nCode, 2) << sError;
        EXPECT_EQ(sOutput.substr(0, sError.size() + 12), sError + "usage: vqlog");
    }
}

TEST(Vqlog, TellsHowItIsUsed)
{
    const auto [nHelpCode, sHelp] = RunTool({"--help"});
    EXPECT_EQ(nHelpCode, 0);
    for (const char* pWord : {"usage: vqlog", "--class", "--app", "--grep", "--json", "--count", "--interface",
                              "--slot", "--file", "-f, --follow", "Exit codes"})
        EXPECT_NE(sHelp.find(pWord), std::string::npos) << pWord;

    const auto [nVersionCode, sVersion] = RunTool({"--version"});
    EXPECT_EQ(nVersionCode, 0);
    EXPECT_EQ(sVersion.substr(0, 6), "vqlog ");
}
