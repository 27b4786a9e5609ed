// Mail between computers: each is a process with a network of its own.

#include <Common/Debug/Log.h>
#include <Common/MailSlot/VQMailSlot.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/RawMail.h>
#include <tests/support/Terminal.h>
#include <tests/support/TestNetwork.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
// Where the mail to all of the slot "debug" goes; monitors on other computers and firewalls rely on it.
constexpr const char* DEBUG_GROUP = "239.255.218.121";
constexpr unsigned short DEBUG_PORT = 28024;

using Texts = std::vector<std::string>;

// A server, and a client of all servers, of the slot "debug" on one computer.
struct sDebugSlot
{
    sDebugSlot()
    {
        EXPECT_TRUE(m_oServer.Open("\\\\.\\mailslot\\debug", true));
        EXPECT_TRUE(m_oToAll.Open("\\\\*\\mailslot\\debug", false));
    }

    static void Send(CVQMailSlot& oClient, const std::string& sText)
    {
        oClient.BeginWrite();
        oClient.Write(sText.data(), static_cast<unsigned long>(sText.size()));
        oClient.EndWrite();
    }

    // All that waits, in the order of the alphabet.
    Texts TakeAll()
    {
        Texts aTexts;
        while (m_oServer.AreMessagesWaiting())
        {
            std::string sText(m_oServer.GetMessageSize(), '\0');
            m_oServer.BeginRead();
            m_oServer.Read(sText.data(), static_cast<unsigned long>(sText.size()));
            aTexts.push_back(sText);
        }
        std::sort(aTexts.begin(), aTexts.end());
        return aTexts;
    }

    CVQMailSlot m_oServer;
    CVQMailSlot m_oToAll;
};

std::string Name(int nHost)
{
    return "from " + std::to_string(nHost);
}

// Each computer sends its name to all; then each takes what it got.
Texts Exchange(CTestHost& oHost, sDebugSlot& oSlot)
{
    EXPECT_TRUE(oHost.Meet());
    oSlot.Send(oSlot.m_oToAll, Name(oHost.GetNumber()));
    EXPECT_TRUE(oHost.Meet());
    const Texts aTexts = oSlot.TakeAll();
    EXPECT_TRUE(oHost.Meet());
    return aTexts;
}

template <class TWork>
void RunTest(TWork fnWork)
{
    std::string sReason;
    const bool bGood = RunOnHosts(
        [&](CTestHost& oHost)
        {
            fnWork(oHost);
            return !testing::Test::HasFailure();
        },
        sReason);
    if (!sReason.empty())
        GTEST_SKIP() << sReason;
    EXPECT_TRUE(bGood) << "something is wrong on a computer, see above";
}
} // namespace

TEST(IsolatedSeveralHosts, NothingLeavesAComputerWhileNoInterfaceIsNamed)
{
    RunTest(
        [](CTestHost& oHost)
        {
            sDebugSlot oSlot;
            EXPECT_EQ(Exchange(oHost, oSlot), Texts{Name(oHost.GetNumber())});

            // The loopback interface is none that leads anywhere.
            EXPECT_TRUE(CVQMailSlot::SetInterface("lo"));
            EXPECT_EQ(Exchange(oHost, oSlot), Texts{Name(oHost.GetNumber())});
        });
}

TEST(IsolatedSeveralHosts, MessagesToAllReachEveryComputerOnceWhenTheInterfaceIsNamed)
{
    RunTest(
        [](CTestHost& oHost)
        {
            const Texts aAll = {Name(0), Name(1), Name(2)};
            sDebugSlot oEarly;
            EXPECT_TRUE(CVQMailSlot::SetInterface(GetHostInterface())) << "it holds for open slots";
            EXPECT_EQ(Exchange(oHost, oEarly), aAll);
            EXPECT_EQ(Exchange(oHost, oEarly), aAll);

            EXPECT_TRUE(oEarly.m_oServer.Close());
            EXPECT_TRUE(oEarly.m_oToAll.Close());
            {
                sDebugSlot oLater; // and for later ones
                EXPECT_EQ(Exchange(oHost, oLater), aAll);
                EXPECT_TRUE(CVQMailSlot::SetInterface(nullptr)) << "until it is taken back";
                EXPECT_EQ(Exchange(oHost, oLater), Texts{Name(oHost.GetNumber())});
            }
        });
}

TEST(IsolatedSeveralHosts, SendingAndHearingEachNeedTheInterface)
{
    RunTest(
        [](CTestHost& oHost)
        {
            sDebugSlot oSlot;
            // The first computer names it, the second one takes it back, the third one has never named it.
            if (oHost.GetNumber() != 2)
            {
                EXPECT_TRUE(CVQMailSlot::SetInterface(GetHostInterface()));
            }
            if (oHost.GetNumber() == 1)
            {
                EXPECT_TRUE(CVQMailSlot::SetInterface(""));
            }
            EXPECT_EQ(Exchange(oHost, oSlot), Texts{Name(oHost.GetNumber())});

            if (oHost.GetNumber() == 1)
            {
                EXPECT_TRUE(CVQMailSlot::SetInterface(GetHostInterface()));
            }
            EXPECT_EQ(Exchange(oHost, oSlot), oHost.GetNumber() == 2 ? Texts{Name(2)} : (Texts{Name(0), Name(1)}));
        });
}

TEST(IsolatedSeveralHosts, AClientOfOneComputerReachesThatOne)
{
    RunTest(
        [](CTestHost& oHost)
        {
            sDebugSlot oSlot;
            EXPECT_TRUE(oHost.Meet());
            CVQMailSlot oClient;
            EXPECT_TRUE(oClient.Open(MailSlotName(GetHostAddress(1).c_str(), "debug").c_str(), false));
            if (oHost.GetNumber() == 0)
                oSlot.Send(oClient, "to a server that does not hear others");
            EXPECT_TRUE(oHost.Meet());
            EXPECT_EQ(oSlot.TakeAll(), Texts());

            if (oHost.GetNumber() == 1)
            {
                EXPECT_TRUE(CVQMailSlot::SetInterface(GetHostInterface()));
            }
            EXPECT_TRUE(oHost.Meet());
            oSlot.Send(oClient, Name(oHost.GetNumber()));
            EXPECT_TRUE(oHost.Meet());
            EXPECT_EQ(oSlot.TakeAll(), oHost.GetNumber() == 1 ? (Texts{Name(0), Name(1), Name(2)}) : Texts());
        });
}

TEST(IsolatedSeveralHosts, DatagramsThatAreNotOursAreDropped)
{
    RunTest(
        [](CTestHost& oHost)
        {
            sDebugSlot oSlot;
            EXPECT_TRUE(CVQMailSlot::SetInterface(GetHostInterface()));
            EXPECT_TRUE(oHost.Meet());
            const std::string sHead("CMS1\5debug", 10);
            if (oHost.GetNumber() == 0)
            {
                for (const std::string& sBytes : {std::string(), std::string("x"), std::string("CMS1"),
                                                  std::string("CMS1\5debu"), std::string("CMS1\5debux and more"),
                                                  std::string("CMS1\xFF"
                                                              "debug"),
                                                  std::string("CMS2\5debug text"), std::string(60'000, 'x'),
                                                  sHead + std::string(401, 'x'), sHead + std::string(3000, 'x')})
                    EXPECT_TRUE(SendRawDatagram(DEBUG_GROUP, DEBUG_PORT, sBytes)) << sBytes.size();
                EXPECT_TRUE(SendRawDatagram(DEBUG_GROUP, DEBUG_PORT, sHead + std::string(400, 'x')));
                EXPECT_TRUE(SendRawDatagram(GetHostAddress(1), DEBUG_PORT, sHead + "good"));
            }
            EXPECT_TRUE(oHost.Meet());
            const Texts aTexts = oSlot.TakeAll();
            if (oHost.GetNumber() == 1)
            {
                EXPECT_EQ(aTexts, (Texts{"good", std::string(400, 'x')}));
            }
            if (oHost.GetNumber() == 2)
            {
                EXPECT_EQ(aTexts, Texts{std::string(400, 'x')});
            }
        });
}

TEST(IsolatedSeveralHosts, AMonitorOnAnotherComputerShowsWhatAProgramLogs)
{
    RunTest(
        [](CTestHost& oHost)
        {
            EXPECT_TRUE(CVQMailSlot::SetInterface(GetHostInterface()));
            if (oHost.GetNumber() != 1)
            {
                EXPECT_TRUE(oHost.Meet());
                _VQ_Log_Fn("game/World", "Lander", "", 42, 0, LOG_NETWORK, ecWarning, "from %d", oHost.GetNumber());
                return;
            }

            CTerminalChild oMonitor({(std::filesystem::path(ThisProgram()).parent_path() / "vqlog").string(), "--count",
                                     "2", "--interface", GetHostInterface()});
            EXPECT_TRUE(oMonitor.WaitFor("listening on"));
            EXPECT_TRUE(oHost.Meet());
            const std::string sOutput = oMonitor.Wait().sOutput;
            for (const char* pText : {"Lander[", "game/World:42: from 0\r\n", "game/World:42: from 2\r\n"})
                EXPECT_NE(sOutput.find(pText), std::string::npos) << sOutput;
        });
}
