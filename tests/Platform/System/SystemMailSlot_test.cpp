#include <Common/Platform/System/SystemMailSlot.h>
#include <Common/Platform/System/SystemMailSlotName.h>
#include <Common/Platform/System/SystemProcess.h>

#include <tests/support/Fork.h>
#include <tests/support/RawMail.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

using System::MailSlotHandle;

namespace
{
constexpr std::chrono::seconds LIMIT{30};

// A slot of its own for each test, and for each process that runs it.
class SystemMailSlot : public testing::Test
{
protected:
    SystemMailSlot()
        : m_sSlot("common.test." + std::to_string(System::GetProcessNumber()) + "." + std::to_string(++s_nCount))
    {
    }

    ~SystemMailSlot() override
    {
        for (const MailSlotHandle nSlot : m_oOpen)
            System::CloseMailSlot(nSlot);
    }

    MailSlotHandle OpenServer() { return Keep(System::OpenMailSlotServer(MailSlotName(".", m_sSlot).c_str())); }

    MailSlotHandle OpenClient(const char* pServer = ".")
    {
        return Keep(System::OpenMailSlotClient(MailSlotName(pServer, m_sSlot).c_str()));
    }

    MailSlotHandle Keep(MailSlotHandle nSlot)
    {
        m_oOpen.push_back(nSlot);
        return nSlot;
    }

    static bool Write(MailSlotHandle nClient, const std::string& sText)
    {
        return System::WriteMailSlot(nClient, sText.data(), static_cast<unsigned long>(sText.size()));
    }

    // The next message, or "(none)".
    static std::string Read(MailSlotHandle nServer)
    {
        std::array<char, System::MAX_MAIL_SIZE> aBytes;
        unsigned long nSize = 0;
        if (!System::ReadMailSlot(nServer, aBytes.data(), nSize))
            return "(none)";
        return std::string(aBytes.data(), nSize);
    }

    const std::string m_sSlot;

private:
    std::vector<MailSlotHandle> m_oOpen;
    static inline int s_nCount = 0;
};

void ExpectInfo(MailSlotHandle nServer, unsigned long nCount, unsigned long nNextSize)
{
    System::sMailSlotInfo oInfo = {99, 99, 99};
    ASSERT_TRUE(System::QueryMailSlot(nServer, oInfo));
    EXPECT_EQ(oInfo.nMaxSize, 0UL);
    EXPECT_EQ(oInfo.nCount, nCount);
    EXPECT_EQ(oInfo.nNextSize, nNextSize);
}
} // namespace

TEST(SystemMailSlotName, TakesNamesApart)
{
    using System::eMailSlotScope;
    const std::string sLongest(200, 'n');

    const struct
    {
        std::string sName;
        eMailSlotScope nScope;
        std::string sHost;
        std::string sSlot;
    } aCases[] = {
        {"\\\\.\\mailslot\\debug", eMailSlotScope::Local, "", "debug"},
        {"\\\\*\\mailslot\\debug", eMailSlotScope::All, "", "debug"},
        {"\\\\Ada\\mailslot\\debug", eMailSlotScope::Host, "Ada", "debug"},
        {"//./MAILSLOT/Debug/One", eMailSlotScope::Local, "", "debug\\one"},
        {"\\/127.0.0.1/MailSlot\\a.b c", eMailSlotScope::Host, "127.0.0.1", "a.b c"},
        {"\\\\.\\mailslot\\" + sLongest, eMailSlotScope::Local, "", sLongest},
    };

    for (const auto& oCase : aCases)
    {
        System::sMailSlotName oName;
        ASSERT_TRUE(System::ParseMailSlotName(oCase.sName.c_str(), oName)) << oCase.sName;
        EXPECT_EQ(oName.nScope, oCase.nScope) << oCase.sName;
        EXPECT_EQ(oName.sHost, oCase.sHost) << oCase.sName;
        EXPECT_EQ(oName.sSlot, oCase.sSlot) << oCase.sName;

        System::sMailSlotName oAgain;
        ASSERT_TRUE(System::ParseMailSlotName(System::MakeMailSlotName(oName).c_str(), oAgain)) << oCase.sName;
        EXPECT_EQ(oAgain.nScope, oCase.nScope) << oCase.sName;
        EXPECT_EQ(oAgain.sHost, oCase.sHost) << oCase.sName;
        EXPECT_EQ(oAgain.sSlot, oCase.sSlot) << oCase.sName;
    }
}

TEST(SystemMailSlotName, RefusesWhatIsNone)
{
    const std::string sTooLong = "\\\\.\\mailslot\\" + std::string(201, 'n');
    const std::string sLongHost = "\\\\" + std::string(256, 'h') + "\\mailslot\\debug";
    for (const char* pName :
         {"", "debug", "\\", "\\\\", "\\\\.", "\\\\.\\", "\\\\.\\mailslot", "\\\\.\\mailslot\\", "\\.\\mailslot\\debug",
          "\\\\\\mailslot\\debug", "\\\\.\\mailslots\\debug", "\\\\.\\pipe\\debug", "\\\\.\\mailslot\\\\debug",
          "\\\\.\\mailslot\\debug\\", "\\\\.\\mailslot\\a\\/b", "x\\\\.\\mailslot\\debug", sTooLong.c_str(),
          sLongHost.c_str(), static_cast<const char*>(nullptr)})
    {
        System::sMailSlotName oName;
        EXPECT_FALSE(System::ParseMailSlotName(pName, oName)) << (pName != nullptr ? pName : "null");
        EXPECT_EQ(System::OpenMailSlotServer(pName), 0U) << (pName != nullptr ? pName : "null");
        EXPECT_EQ(System::OpenMailSlotClient(pName), 0U) << (pName != nullptr ? pName : "null");
    }
}

TEST_F(SystemMailSlot, MessagesArriveWholeAndInOrder)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    ASSERT_NE(nServer, 0U);
    ASSERT_NE(nClient, 0U);
    EXPECT_NE(nServer, nClient);

    EXPECT_EQ(Read(nServer), "(none)");
    const std::string sLargest(400, 'L');
    EXPECT_TRUE(Write(nClient, "first"));
    EXPECT_TRUE(Write(nClient, sLargest));
    EXPECT_TRUE(Write(nClient, std::string("\0\1\2\xFF", 4)));

    EXPECT_EQ(Read(nServer), "first");
    EXPECT_EQ(Read(nServer), sLargest);
    EXPECT_EQ(Read(nServer), std::string("\0\1\2\xFF", 4));
    EXPECT_EQ(Read(nServer), "(none)");
}

TEST_F(SystemMailSlot, CountAndSizeOfTheNextMessageAreTrue)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    ExpectInfo(nServer, 0, 0xFFFFFFFF);

    EXPECT_TRUE(Write(nClient, "12345"));
    ExpectInfo(nServer, 1, 5);
    EXPECT_TRUE(Write(nClient, "123"));
    ExpectInfo(nServer, 2, 5);
    EXPECT_EQ(Read(nServer), "12345");
    ExpectInfo(nServer, 1, 3);
    EXPECT_EQ(Read(nServer), "123");
    ExpectInfo(nServer, 0, 0xFFFFFFFF);
}

TEST_F(SystemMailSlot, OneHundredMessagesWaitWithoutAReader)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(Write(nClient, std::to_string(i) + std::string(390, '.')));
    ExpectInfo(nServer, 100, 391);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(Read(nServer), std::to_string(i) + std::string(390, '.'));
    ExpectInfo(nServer, 0, 0xFFFFFFFF);
}

TEST_F(SystemMailSlot, EmptyMessagesAreMessages)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    for (const char* pText : {"", "after", ""})
        EXPECT_TRUE(Write(nClient, pText));
    ExpectInfo(nServer, 3, 0);
    for (const char* pText : {"", "after", "", "(none)"})
        EXPECT_EQ(Read(nServer), pText);
}

TEST_F(SystemMailSlot, MessagesOfSeveralClientsKeepTheOrderOfSending)
{
    const MailSlotHandle nServer = OpenServer();
    const std::array<MailSlotHandle, 3> aClients = {OpenClient(), OpenClient(), OpenClient()};
    for (int i = 0; i < 30; ++i)
        ASSERT_TRUE(Write(aClients[static_cast<std::size_t>(i * 7 % 3)], std::to_string(i)));
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(Read(nServer), std::to_string(i));
}

TEST_F(SystemMailSlot, WhatIsTooLargeIsNotSent)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    EXPECT_FALSE(Write(nClient, std::string(401, 'x')));
    ExpectInfo(nServer, 0, 0xFFFFFFFF);
    EXPECT_TRUE(Write(nClient, "ok"));
    EXPECT_EQ(Read(nServer), "ok");
}

TEST_F(SystemMailSlot, WhatIsTooLargeIsDroppedAndBlocksNothing)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    EXPECT_TRUE(SendRawMail(m_sSlot, std::string(409, 'x')));
    EXPECT_TRUE(SendRawMail(m_sSlot, std::string(5000, 'x')));
    EXPECT_TRUE(Write(nClient, "after"));
    ExpectInfo(nServer, 1, 5);
    EXPECT_TRUE(SendRawMail(m_sSlot, std::string(60000, 'x')));
    EXPECT_EQ(Read(nServer), "after");
    EXPECT_EQ(Read(nServer), "(none)");
}

TEST_F(SystemMailSlot, ANameHasOneServer)
{
    const MailSlotHandle nServer = OpenServer();
    ASSERT_NE(nServer, 0U);
    EXPECT_EQ(OpenServer(), 0U);

    EXPECT_TRUE(System::CloseMailSlot(nServer));
    const MailSlotHandle nNext = OpenServer();
    EXPECT_NE(nNext, 0U);
    EXPECT_NE(nNext, nServer);
}

TEST_F(SystemMailSlot, NamesIgnoreCaseAndKindOfSeparator)
{
    const MailSlotHandle nServer = OpenServer();
    ASSERT_NE(nServer, 0U);
    std::string sCapitals = MailSlotName(".", m_sSlot);
    for (char& c : sCapitals)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;

    EXPECT_EQ(Keep(System::OpenMailSlotServer(sCapitals.c_str())), 0U);
    const MailSlotHandle nClient = Keep(System::OpenMailSlotClient(sCapitals.c_str()));
    EXPECT_TRUE(Write(nClient, "CAPITALS"));
    EXPECT_EQ(Read(nServer), "CAPITALS");

    const MailSlotHandle nSlashes = Keep(System::OpenMailSlotClient(("//./mailslot/" + m_sSlot).c_str()));
    EXPECT_TRUE(Write(nSlashes, "slashes"));
    EXPECT_EQ(Read(nServer), "slashes");
}

TEST_F(SystemMailSlot, LongNamesAreToldApart)
{
    const std::string sLong = m_sSlot + std::string(200 - 1 - m_sSlot.size(), 'n');
    const MailSlotHandle nFirst = Keep(System::OpenMailSlotServer(MailSlotName(".", sLong + "1").c_str()));
    const MailSlotHandle nSecond = Keep(System::OpenMailSlotServer(MailSlotName(".", sLong + "2").c_str()));
    ASSERT_NE(nFirst, 0U);
    ASSERT_NE(nSecond, 0U);
    const MailSlotHandle nClient = Keep(System::OpenMailSlotClient(MailSlotName(".", sLong + "2").c_str()));
    EXPECT_TRUE(Write(nClient, "two"));
    EXPECT_EQ(Read(nFirst), "(none)");
    EXPECT_EQ(Read(nSecond), "two");
}

TEST_F(SystemMailSlot, ServersAreMadeOnThisComputerOnly)
{
    EXPECT_EQ(System::OpenMailSlotServer(MailSlotName("*", m_sSlot).c_str()), 0U);
    EXPECT_EQ(System::OpenMailSlotServer(MailSlotName("elsewhere", m_sSlot).c_str()), 0U);
}

TEST_F(SystemMailSlot, AClientNeedsTheServerOnThisComputer)
{
    EXPECT_EQ(OpenClient(), 0U);
}

TEST_F(SystemMailSlot, ThisComputerIsReachedByItsOwnName)
{
    char aName[System::COMPUTER_NAME_SIZE + 1];
    ASSERT_NE(System::ReadComputerName(aName), 0U);
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient(aName);
    if (!CanMailToAll())
        GTEST_SKIP() << "this system reaches no slot by the name of a computer";
    EXPECT_TRUE(Write(nClient, "by name"));
    EXPECT_EQ(Read(nServer), "by name");
}

TEST_F(SystemMailSlot, AClientFindsTheNextServer)
{
    if (!DoClientsNoticeClosedServers())
        GTEST_SKIP() << "this system tells no client that its server was closed";

    const MailSlotHandle nFirst = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    EXPECT_TRUE(Write(nClient, "to the first"));
    EXPECT_EQ(Read(nFirst), "to the first");

    EXPECT_TRUE(System::CloseMailSlot(nFirst));
    EXPECT_FALSE(Write(nClient, "to nobody"));

    const MailSlotHandle nSecond = OpenServer();
    for (const char* pText : {"one", "two"})
    {
        EXPECT_TRUE(Write(nClient, pText));
        EXPECT_EQ(Read(nSecond), pText);
    }
    ExpectInfo(nSecond, 0, 0xFFFFFFFF);
}

TEST_F(SystemMailSlot, MessagesToAllReachTheServerHereOnceAndNobodyWithoutComplaint)
{
    if (!CanMailToAll())
        GTEST_SKIP() << "this system cannot address all computers";

    const MailSlotHandle nClient = OpenClient("*");
    ASSERT_NE(nClient, 0U);
    EXPECT_TRUE(Write(nClient, "to nobody"));

    for (int i = 0; i < 3; ++i)
    {
        const MailSlotHandle nServer = OpenServer();
        EXPECT_EQ(Read(nServer), "(none)");
        EXPECT_TRUE(Write(nClient, "to all"));
        EXPECT_TRUE(Write(nClient, "again"));
        ExpectInfo(nServer, 2, 6);
        EXPECT_EQ(Read(nServer), "to all");
        EXPECT_EQ(Read(nServer), "again");
        EXPECT_EQ(Read(nServer), "(none)");
        EXPECT_TRUE(System::CloseMailSlot(nServer));
        EXPECT_TRUE(Write(nClient, "to nobody"));
    }
}

TEST_F(SystemMailSlot, AFullQueueRefusesWithinABoundedTimeAndTakesMailAgain)
{
    if (!AreFullMailQueuesTold())
        GTEST_SKIP() << "this system tells no client that a queue is full";

    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    const auto oStart = std::chrono::steady_clock::now();
    int nTaken = 0;
    while (nTaken < 20000 && Write(nClient, std::to_string(nTaken)))
        ++nTaken;
    for (int i = 0; i < 100; ++i)
        nTaken += Write(nClient, std::to_string(nTaken)); // those that are refused cost no more time
    EXPECT_LT(std::chrono::steady_clock::now() - oStart, LIMIT);
    EXPECT_GE(nTaken, 200);

    for (int i = 0; i < nTaken; ++i)
        ASSERT_EQ(Read(nServer), std::to_string(i));
    EXPECT_EQ(Read(nServer), "(none)");
    EXPECT_TRUE(Write(nClient, "again"));
    EXPECT_EQ(Read(nServer), "again");
}

TEST_F(SystemMailSlot, AClientThatSendsWithoutAPauseShutsNobodyOut)
{
    if (!AreFullMailQueuesTold())
        GTEST_SKIP() << "this system tells no client that a queue is full";

    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nLoud = OpenClient();
    const MailSlotHandle nOther = OpenClient();

    // As much as the server takes, and then as much as the system does.
    System::sMailSlotInfo oInfo = {};
    int nWaiting = 0;
    for (unsigned long nBefore = 1; oInfo.nCount != nBefore;)
    {
        nBefore = oInfo.nCount;
        while (nWaiting < 100'000 && Write(nLoud, "loud"))
            ++nWaiting;
        ASSERT_TRUE(System::QueryMailSlot(nServer, oInfo));
    }
    ASSERT_TRUE(Write(nOther, "other"));

    // Wherever there is room, the loud one fills it.
    bool bHeard = false;
    for (int i = 0; i < 2 * nWaiting && !bHeard; ++i)
    {
        ASSERT_TRUE(System::QueryMailSlot(nServer, oInfo));
        bHeard = Read(nServer) == "other";
        Write(nLoud, "loud");
    }
    EXPECT_TRUE(bHeard);
}

TEST_F(SystemMailSlot, ACopyOfTheProcessOpensSlotsWhateverThreadsOfTheFirstOneDo)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    std::atomic<bool> bEnd = false;
    std::vector<std::thread> oThreads;
    for (int i = 0; i < 3; ++i)
        oThreads.emplace_back(
            [&]
            {
                while (!bEnd)
                    System::CloseMailSlot(System::OpenMailSlotClient(MailSlotName("*", m_sSlot).c_str()));
            });
    for (int i = 0; i < 150 && !HasFailure(); ++i)
    {
        EXPECT_EQ(
            RunInFork([this] { return System::OpenMailSlotClient(MailSlotName("*", m_sSlot).c_str()) != 0 ? 7 : 8; }),
            7);
    }
    bEnd = true;
    for (std::thread& oThread : oThreads)
        oThread.join();
}

TEST_F(SystemMailSlot, TheWrongEndIsRefused)
{
    const MailSlotHandle nServer = OpenServer();
    const MailSlotHandle nClient = OpenClient();
    System::sMailSlotInfo oInfo;
    EXPECT_FALSE(Write(nServer, "x"));
    EXPECT_EQ(Read(nClient), "(none)");
    EXPECT_FALSE(System::QueryMailSlot(nClient, oInfo));
}

TEST_F(SystemMailSlot, StaleHandlesTouchNothingElse)
{
    const MailSlotHandle nOld = OpenServer();
    EXPECT_TRUE(System::CloseMailSlot(nOld));

    System::sMailSlotInfo oInfo;
    for (int i = 0; i < 5000; ++i)
    {
        const MailSlotHandle nServer = System::OpenMailSlotServer(MailSlotName(".", m_sSlot).c_str());
        ASSERT_NE(nServer, 0U);
        ASSERT_NE(nServer, nOld);
        ASSERT_FALSE(System::CloseMailSlot(nOld));
        ASSERT_FALSE(System::QueryMailSlot(nOld, oInfo));
        ASSERT_EQ(Read(nOld), "(none)");
        ASSERT_FALSE(Write(nOld, "x"));
        ASSERT_TRUE(System::QueryMailSlot(nServer, oInfo));
        ASSERT_TRUE(System::CloseMailSlot(nServer));
    }
    for (const MailSlotHandle nHandle : {0U, 0xFFFFFFFFU, 0xFFFU, 0x1000U})
    {
        EXPECT_FALSE(System::CloseMailSlot(nHandle)) << nHandle;
        EXPECT_FALSE(Write(nHandle, "x")) << nHandle;
    }
}

TEST_F(SystemMailSlot, ManyThreadsSendEachMessageOnceAndInTheirOrder)
{
    constexpr int THREADS = 8;
    constexpr int MESSAGES = 300;
    const MailSlotHandle nServer = OpenServer();
    std::atomic<int> nRunning = THREADS;
    std::vector<std::thread> oThreads;
    for (int i = 0; i < THREADS; ++i)
        oThreads.emplace_back(
            [&, i]
            {
                const MailSlotHandle nClient = System::OpenMailSlotClient(MailSlotName(".", m_sSlot).c_str());
                const auto oStart = std::chrono::steady_clock::now();
                for (int n = 0; n < MESSAGES;)
                {
                    if (Write(nClient, std::to_string(i) + " " + std::to_string(n)))
                        ++n;
                    else if (std::chrono::steady_clock::now() - oStart > LIMIT)
                        break;
                }
                System::CloseMailSlot(nClient);
                --nRunning;
            });

    std::map<int, int> oNext;
    int nReceived = 0;
    bool bLastRound = false;
    while (!bLastRound)
    {
        bLastRound = nRunning == 0;
        for (std::string sText = Read(nServer); sText != "(none)"; sText = Read(nServer))
        {
            const int nThread = std::stoi(sText);
            EXPECT_EQ(std::stoi(sText.substr(sText.find(' '))), oNext[nThread]++);
            ++nReceived;
        }
        std::this_thread::yield();
    }
    for (std::thread& oThread : oThreads)
        oThread.join();
    EXPECT_EQ(nReceived, THREADS * MESSAGES);
}

TEST_F(SystemMailSlot, AnInterfaceThatIsNotThereIsRefused)
{
    EXPECT_FALSE(System::SetMailSlotInterface("no-such-interface"));
    EXPECT_EQ(System::SetMailSlotInterface(nullptr), CanNameMailInterface());
    EXPECT_EQ(System::SetMailSlotInterface(""), CanNameMailInterface());
    EXPECT_EQ(System::SetMailSlotInterface("lo"), CanNameMailInterface());
}
