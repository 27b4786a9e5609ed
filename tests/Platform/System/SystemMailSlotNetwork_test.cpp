#include <Common/Platform/System/SystemMailSlot.h>

#include <tests/support/PrivateNetwork.h>
#include <tests/support/RawMail.h>

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <thread>

using System::MailSlotHandle;

namespace
{
// The name of the slot, and the group and the port that belong to it on every computer.
constexpr auto SLOT = "common.test.wire";
constexpr auto GROUP = "239.255.120.159";
constexpr unsigned PORT = 23981;

/// What travels for a message to the slot.
std::string Framed(const std::string& sMessage)
{
    return "CMS1" + std::string(1, static_cast<char>(16)) + SLOT + sMessage;
}

SDatagram ToGroup(const std::string& sBytes)
{
    return {GROUP, PORT, 1, sBytes};
}

bool Write(MailSlotHandle nClient, const std::string& sText)
{
    return System::WriteMailSlot(nClient, sText.data(), static_cast<unsigned long>(sText.size()));
}

// The next message; "(none)" when none comes within seconds.
std::string WaitForMail(MailSlotHandle nServer)
{
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    do
    {
        std::array<char, System::MAX_MAIL_SIZE> aBytes;
        unsigned long nSize = 0;
        if (System::ReadMailSlot(nServer, aBytes.data(), nSize))
            return std::string(aBytes.data(), nSize);
        std::this_thread::yield();
    } while (std::chrono::steady_clock::now() < oEnd);
    return "(none)";
}

/// Each test runs in a process, and in a network, of its own.
class IsolatedSystemMailSlotNetwork : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_oNetwork.IsOpen())
            GTEST_SKIP() << "no process may have a network of its own here, or mail is the system's own affair";
    }

    // The next message that leaves the computer.
    std::string WaitForWire()
    {
        SDatagram oDatagram;
        return m_oNetwork.Receive(oDatagram) ? oDatagram.sBytes : "(none)";
    }

    CPrivateNetwork m_oNetwork;
};
} // namespace

TEST_F(IsolatedSystemMailSlotNetwork, NothingLeavesThisComputerUntilAnInterfaceIsNamed)
{
    const MailSlotHandle nBefore = System::OpenMailSlotClient(MailSlotName("*", SLOT).c_str());
    EXPECT_TRUE(Write(nBefore, "one"));
    EXPECT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
    const MailSlotHandle nAfter = System::OpenMailSlotClient(MailSlotName("*", SLOT).c_str());
    EXPECT_TRUE(Write(nBefore, "two"));
    EXPECT_TRUE(Write(nAfter, "three"));
    EXPECT_EQ(WaitForWire(), Framed("two"));
    EXPECT_EQ(WaitForWire(), Framed("three"));

    // and nothing when it was taken back, or was none
    for (const char* pNone : {static_cast<const char*>(nullptr), "", "lo"})
    {
        EXPECT_TRUE(System::SetMailSlotInterface(pNone));
        EXPECT_TRUE(Write(nBefore, "kept here"));
        EXPECT_TRUE(Write(nAfter, "kept here"));
        EXPECT_FALSE(System::SetMailSlotInterface("no-such-interface"));
        EXPECT_TRUE(Write(nBefore, "kept here"));
        EXPECT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
        EXPECT_TRUE(Write(nAfter, "out"));
        EXPECT_EQ(WaitForWire(), Framed("out"));
    }
    System::CloseMailSlot(nBefore);
    System::CloseMailSlot(nAfter);
}

TEST_F(IsolatedSystemMailSlotNetwork, MessagesToAllTravelAsEveryComputerKnowsThem)
{
    ASSERT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
    const MailSlotHandle nClient = System::OpenMailSlotClient("\\\\*\\MailSlot\\COMMON.test.Wire");
    for (const std::string& sText : {std::string("text"), std::string(), std::string("a\0b", 3), std::string(400, 'x')})
    {
        EXPECT_TRUE(Write(nClient, sText));
        SDatagram oDatagram;
        ASSERT_TRUE(m_oNetwork.Receive(oDatagram));
        EXPECT_EQ(oDatagram.sTarget, GROUP);
        EXPECT_EQ(oDatagram.nPort, PORT);
        EXPECT_EQ(oDatagram.nHops, 1U) << "it stays in the network";
        EXPECT_EQ(oDatagram.sBytes, Framed(sText));
    }
    EXPECT_FALSE(Write(nClient, std::string(401, 'x')));
    System::CloseMailSlot(nClient);
}

TEST_F(IsolatedSystemMailSlotNetwork, AServerHearsTheOthersOnceAnInterfaceIsNamed)
{
    const MailSlotHandle nServer = System::OpenMailSlotServer(MailSlotName(".", SLOT).c_str());
    EXPECT_TRUE(m_oNetwork.Send(ToGroup(Framed("too early"))));
    EXPECT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
    for (const std::string& sText : {std::string("one"), std::string(), std::string("a\0b", 3), std::string(400, 'x')})
    {
        EXPECT_TRUE(m_oNetwork.Send(ToGroup(Framed(sText))));
        EXPECT_EQ(WaitForMail(nServer), sText);
    }

    // one that is opened later hears them as well
    EXPECT_TRUE(System::CloseMailSlot(nServer));
    const MailSlotHandle nNext = System::OpenMailSlotServer(MailSlotName(".", SLOT).c_str());
    EXPECT_TRUE(m_oNetwork.Send(ToGroup(Framed("two"))));
    EXPECT_EQ(WaitForMail(nNext), "two");

    // none does when the interface was taken back
    EXPECT_TRUE(System::SetMailSlotInterface(nullptr));
    EXPECT_TRUE(m_oNetwork.Send(ToGroup(Framed("too late"))));
    EXPECT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
    EXPECT_TRUE(m_oNetwork.Send(ToGroup(Framed("three"))));
    EXPECT_EQ(WaitForMail(nNext), "three");
    System::CloseMailSlot(nNext);
}

TEST_F(IsolatedSystemMailSlotNetwork, AServerDropsWhatIsNotForIt)
{
    ASSERT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
    const MailSlotHandle nServer = System::OpenMailSlotServer(MailSlotName(".", SLOT).c_str());
    const std::string sWhole = Framed("text");
    std::string sOtherMark = sWhole;
    sOtherMark[3] = '2';
    std::string sOtherLength = sWhole;
    sOtherLength[4] = 15;
    std::string sOtherName = sWhole;
    sOtherName[5] = 'C';

    for (const std::string& sBytes :
         {std::string(), std::string("CMS1"), std::string("text"), sOtherMark, sOtherLength, sOtherName,
          sWhole.substr(0, 20), Framed(std::string(401, 'x')), Framed(std::string(1200, 'x'))})
        EXPECT_TRUE(m_oNetwork.Send(ToGroup(sBytes)));
    SDatagram oOtherGroup = ToGroup(Framed("another group"));
    oOtherGroup.sTarget = "239.255.0.1";
    EXPECT_TRUE(m_oNetwork.Send(oOtherGroup));
    EXPECT_TRUE(m_oNetwork.Send(ToGroup(Framed("whole"))));
    EXPECT_EQ(WaitForMail(nServer), "whole") << "all the others were dropped";
    System::sMailSlotInfo oInfo = {};
    EXPECT_TRUE(System::QueryMailSlot(nServer, oInfo));
    EXPECT_EQ(oInfo.nCount, 0UL);
    System::CloseMailSlot(nServer);
}

TEST_F(IsolatedSystemMailSlotNetwork, AMessageToAllReachesTheServerHereOnce)
{
    ASSERT_TRUE(System::SetMailSlotInterface(CPrivateNetwork::INTERFACE));
    const MailSlotHandle nServer = System::OpenMailSlotServer(MailSlotName(".", SLOT).c_str());
    const MailSlotHandle nClient = System::OpenMailSlotClient(MailSlotName("*", SLOT).c_str());
    EXPECT_TRUE(Write(nClient, "to all"));
    EXPECT_EQ(WaitForWire(), Framed("to all"));
    EXPECT_EQ(WaitForMail(nServer), "to all");
    EXPECT_TRUE(Write(nClient, "next"));
    EXPECT_EQ(WaitForMail(nServer), "next") << "not the first one again";
    System::CloseMailSlot(nClient);
    System::CloseMailSlot(nServer);
}

TEST_F(IsolatedSystemMailSlotNetwork, OneComputerIsReachedByItsAddress)
{
    // another one: no interface need be named, the name of the slot does
    const MailSlotHandle nOther =
        System::OpenMailSlotClient(MailSlotName(CPrivateNetwork::OTHER_ADDRESS, SLOT).c_str());
    ASSERT_NE(nOther, 0U);
    EXPECT_TRUE(Write(nOther, "to one"));
    SDatagram oDatagram;
    ASSERT_TRUE(m_oNetwork.Receive(oDatagram));
    EXPECT_EQ(oDatagram.sTarget, CPrivateNetwork::OTHER_ADDRESS);
    EXPECT_EQ(oDatagram.nPort, PORT);
    EXPECT_EQ(oDatagram.sBytes, Framed("to one"));
    System::CloseMailSlot(nOther);

    // this one, by its addresses: the server must be there
    for (const char* pAddress : {CPrivateNetwork::OWN_ADDRESS, "127.0.0.1", "127.9.9.9"})
    {
        EXPECT_EQ(System::OpenMailSlotClient(MailSlotName(pAddress, SLOT).c_str()), 0U) << pAddress;
        const MailSlotHandle nServer = System::OpenMailSlotServer(MailSlotName(".", SLOT).c_str());
        const MailSlotHandle nOwn = System::OpenMailSlotClient(MailSlotName(pAddress, SLOT).c_str());
        EXPECT_TRUE(Write(nOwn, "to itself"));
        EXPECT_EQ(WaitForMail(nServer), "to itself") << pAddress;
        System::CloseMailSlot(nOwn);
        System::CloseMailSlot(nServer);
    }
}
