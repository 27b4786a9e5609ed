#include <Common/MailSlot/VQMailSlot.h>
#include <Common/Platform/PlatformSync.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/RawMail.h>
#include <tests/support/TestEnvironment.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <random>
#include <string>

namespace
{
constexpr unsigned LIMIT = 60'000;

// A name that no other test, and no other run of this one, uses.
std::string UniqueSlot()
{
    static std::random_device s_oRandom;
    return "common.test.class." + std::to_string(s_oRandom()) + "." + std::to_string(s_oRandom());
}

void ExpectMailError(unsigned long nCode, const char* pMessage, const std::function<void()>& oCall)
{
    try
    {
        oCall();
        ADD_FAILURE() << "nothing was thrown, expected " << pMessage;
    }
    catch (const CMailSlotException& oCaught)
    {
        CMailSlotException oError(oCaught);
        EXPECT_EQ(oError.GetErrorClass(), ecCommunication);
        EXPECT_EQ(static_cast<int>(oError.GetErrorClass()), 10);
        EXPECT_EQ(oError.GetErrorCode(), nCode);
        EXPECT_STREQ(oError.GetErrorString(), pMessage);
        EXPECT_STREQ(oError.GetFileName(), "Common/MailSlot/VQMailSlot");
        EXPECT_GT(oError.GetLine(), 0UL);
    }
}

constexpr const char* TEXT_OPEN = "Mailslot could not be opened.";
constexpr const char* TEXT_NOT_OPENED = "There is no mailslot opened.";
constexpr const char* TEXT_READ = "Could not read data to mailslot.";
constexpr const char* TEXT_WRITE = "Could not write data to mailslot.";

// A server and a client of a slot of their own.
class VQMailSlot : public testing::Test
{
protected:
    VQMailSlot() : m_sSlot(UniqueSlot())
    {
        EXPECT_TRUE(m_oServer.Open(MailSlotName(".", m_sSlot).c_str(), true));
        EXPECT_TRUE(m_oClient.Open(MailSlotName(".", m_sSlot).c_str(), false));
    }

    void Send(const std::string& sBytes)
    {
        m_oClient.BeginWrite();
        m_oClient.Write(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
        m_oClient.EndWrite();
    }

    const std::string m_sSlot;
    CVQMailSlot m_oServer;
    CVQMailSlot m_oClient;
};
} // namespace

TEST(VQMailSlotClosed, ANewObjectIsNotOpenAndItsCountersAreZero)
{
    CVQMailSlot oSlot;
    EXPECT_FALSE(oSlot.IsOpened());
    EXPECT_FALSE(oSlot.Close());
    EXPECT_FALSE(oSlot.AreMessagesWaiting());
    EXPECT_EQ(oSlot.GetMaxMessageSize(), 0UL);
    EXPECT_EQ(oSlot.GetMessageSize(), 0UL);
    EXPECT_EQ(oSlot.GetTotalBytesRead(), 0UL);
    EXPECT_EQ(oSlot.GetTotalBytesWritten(), 0UL);
}

TEST(VQMailSlotClosed, MessagesNeedAnOpenSlot)
{
    CVQMailSlot oSlot;
    ExpectMailError(5001, TEXT_NOT_OPENED, [&] { oSlot.BeginWrite(); });
    ExpectMailError(5001, TEXT_NOT_OPENED, [&] { oSlot.BeginRead(); });
    ExpectMailError(5003, TEXT_WRITE, [&] { oSlot.EndWrite(); });
}

TEST(VQMailSlotClosed, WhatCannotBeOpenedThrows)
{
    CVQMailSlot oSlot;
    const std::string sNobody = MailSlotName(".", UniqueSlot());
    const std::string sLong = MailSlotName(".", std::string(300, 'n'));
    for (const bool bServer : {true, false})
    {
        for (const char* pName : {"", "debug", "\\\\.\\mailslot\\", sLong.c_str(), "\\\\.\\mailslot\\\\a\\",
                                  static_cast<const char*>(nullptr)})
            ExpectMailError(5000, TEXT_OPEN, [&] { oSlot.Open(pName, bServer); });
    }
    ExpectMailError(5000, TEXT_OPEN, [&] { oSlot.Open(sNobody.c_str(), false); });
    ExpectMailError(5000, TEXT_OPEN, [&] { oSlot.Open(MailSlotName("*", UniqueSlot()).c_str(), true); });
    EXPECT_FALSE(oSlot.IsOpened());

    EXPECT_TRUE(oSlot.Open(sNobody.c_str(), true)) << "the object is usable after a failure";
    EXPECT_TRUE(oSlot.IsOpened());
}

TEST_F(VQMailSlot, ItemsComeBackInTheOrderInWhichTheyWereWritten)
{
    const std::uint32_t nNumber = 0x11223344;
    m_oClient.BeginWrite();
    EXPECT_TRUE(m_oClient.Write(CVQString("computer")));
    EXPECT_TRUE(m_oClient.Write(&nNumber, 4));
    EXPECT_TRUE(m_oClient.Write(CVQString("a text with \xE9 and %s")));
    m_oClient.EndWrite();

    CVQString sFirst;
    CVQString sSecond;
    std::uint32_t nRead = 0;
    m_oServer.BeginRead();
    EXPECT_TRUE(m_oServer.Read(sFirst));
    EXPECT_TRUE(m_oServer.Read(&nRead, 4));
    EXPECT_TRUE(m_oServer.Read(sSecond));
    m_oServer.EndRead();
    EXPECT_STREQ(sFirst.GetString(), "computer");
    EXPECT_EQ(nRead, nNumber);
    EXPECT_STREQ(sSecond.GetString(), "a text with \xE9 and %s");
}

TEST_F(VQMailSlot, BytesOfAMessageAreFixed)
{
    const std::uint32_t nNumber = 0x0000FE01;
    m_oClient.BeginWrite();
    m_oClient.Write(CVQString("ab"));
    m_oClient.Write(&nNumber, 4);
    m_oClient.Write(CVQString());
    m_oClient.EndWrite();
    EXPECT_EQ(m_oServer.GetMessageSize(), 14UL);
    EXPECT_EQ(m_oClient.GetTotalBytesWritten(), 14UL);

    std::array<char, 400> aBytes;
    m_oServer.BeginRead();
    m_oServer.Read(aBytes.data(), 400);
    const char aExpected[] = "\x02\0\0\0ab\x01\xFE\0\0\0\0\0\0";
    EXPECT_EQ(std::memcmp(aBytes.data(), aExpected, 14), 0);
    for (std::size_t i = 14; i < aBytes.size(); ++i)
        EXPECT_EQ(aBytes[i], '\0') << i;
}

TEST_F(VQMailSlot, FieldsStandInTheirOrder)
{
    // Behind the pointer to the virtual operations.
    constexpr std::size_t HANDLE = sizeof(void*);
    constexpr std::size_t SERVER = HANDLE + sizeof(void*);
    constexpr std::size_t WRITTEN = SERVER + 4;
    constexpr std::size_t READ = WRITTEN + 4;
    constexpr std::size_t MESSAGE = READ + 4;
    constexpr std::size_t POSITION = MESSAGE + 400;
    const auto BytesOf = [](const CVQMailSlot& oSlot) { return reinterpret_cast<const char*>(&oSlot); };
    const auto NumberAt = [&](const CVQMailSlot& oSlot, std::size_t nOffset)
    {
        std::uint32_t nNumber = 0;
        std::memcpy(&nNumber, BytesOf(oSlot) + nOffset, sizeof nNumber);
        return nNumber;
    };

    const CVQMailSlot oNew;
    EXPECT_EQ(NumberAt(oNew, HANDLE), 0U);
    Send("12345");
    m_oServer.BeginRead();
    char aRead[3];
    m_oServer.Read(aRead, 3);
    for (const CVQMailSlot* pSlot : {&m_oServer, &m_oClient})
        EXPECT_NE(NumberAt(*pSlot, HANDLE), 0U);
    EXPECT_EQ(BytesOf(m_oServer)[SERVER], 1);
    EXPECT_EQ(BytesOf(m_oClient)[SERVER], 0);
    EXPECT_EQ(NumberAt(m_oClient, WRITTEN), 5U);
    EXPECT_EQ(NumberAt(m_oServer, WRITTEN), 0U);
    EXPECT_EQ(NumberAt(m_oServer, READ), 5U);
    EXPECT_EQ(NumberAt(m_oClient, READ), 0U);
    EXPECT_STREQ(BytesOf(m_oServer) + MESSAGE, "12345");
    EXPECT_STREQ(BytesOf(m_oClient) + MESSAGE, "12345");
    EXPECT_EQ(NumberAt(m_oServer, POSITION), 3U);
    EXPECT_EQ(NumberAt(m_oClient, POSITION), 5U);
}

TEST_F(VQMailSlot, FourHundredBytesGoAndOneMoreThrowsBeforeAnythingIsSent)
{
    const std::string sFull(400, 'f');
    m_oClient.BeginWrite();
    EXPECT_TRUE(m_oClient.Write(sFull.data(), 400));
    ExpectMailError(5003, TEXT_WRITE, [&] { m_oClient.Write("x", 1); });
    EXPECT_TRUE(m_oClient.Write("", 0));
    EXPECT_FALSE(m_oServer.AreMessagesWaiting());
    m_oClient.EndWrite();

    EXPECT_TRUE(m_oServer.AreMessagesWaiting());
    EXPECT_EQ(m_oServer.GetMessageSize(), 400UL);
    std::string sRead(400, '\0');
    m_oServer.BeginRead();
    EXPECT_TRUE(m_oServer.Read(sRead.data(), 400));
    EXPECT_EQ(sRead, sFull);
    ExpectMailError(5002, TEXT_READ, [&] { m_oServer.Read(sRead.data(), 1); });
}

TEST_F(VQMailSlot, ARefusedWriteLeavesTheMessageAsItWas)
{
    m_oClient.BeginWrite();
    EXPECT_TRUE(m_oClient.Write("1234", 4));
    ExpectMailError(5003, TEXT_WRITE, [&] { m_oClient.Write("x", 397); });
    ExpectMailError(5003, TEXT_WRITE, [&] { m_oClient.Write("x", 0xFFFFFFFF); });
    ExpectMailError(5003, TEXT_WRITE, [&] { m_oClient.Write(CVQString('x', 393)); });
    EXPECT_TRUE(m_oClient.Write("5678", 4));
    m_oClient.EndWrite();

    EXPECT_EQ(m_oServer.GetMessageSize(), 8UL);
    char aRead[9] = {};
    m_oServer.BeginRead();
    m_oServer.Read(aRead, 8);
    EXPECT_STREQ(aRead, "12345678");
}

TEST_F(VQMailSlot, TheLongestTextFillsTheMessage)
{
    m_oClient.BeginWrite();
    EXPECT_TRUE(m_oClient.Write(CVQString('t', 396)));
    m_oClient.EndWrite();
    EXPECT_EQ(m_oServer.GetMessageSize(), 400UL);

    CVQString sText;
    m_oServer.BeginRead();
    EXPECT_TRUE(m_oServer.Read(sText));
    EXPECT_EQ(sText.GetLength(), 396);
}

TEST_F(VQMailSlot, AnEmptyTextIsItsLengthAndLeavesTheTargetAsItWas)
{
    m_oClient.BeginWrite();
    EXPECT_TRUE(m_oClient.Write(CVQString()));
    EXPECT_TRUE(m_oClient.Write(CVQString("")));
    m_oClient.EndWrite();
    EXPECT_EQ(m_oServer.GetMessageSize(), 8UL);

    CVQString sText("as it was");
    m_oServer.BeginRead();
    EXPECT_TRUE(m_oServer.Read(sText));
    EXPECT_TRUE(m_oServer.Read(sText));
    EXPECT_STREQ(sText.GetString(), "as it was");
}

TEST_F(VQMailSlot, LengthsThatLieAreRefused)
{
    for (const std::int32_t nLength : {397, 400, 401, 0x7FFFFFFF})
    {
        m_oClient.BeginWrite();
        m_oClient.Write(&nLength, 4);
        m_oClient.Write("text", 4);
        m_oClient.EndWrite();

        CVQString sText("as it was");
        m_oServer.BeginRead();
        ExpectMailError(5002, TEXT_READ, [&] { m_oServer.Read(sText); });
        EXPECT_STREQ(sText.GetString(), "as it was");
        EXPECT_EQ(sText.GetData()->m_nLockCount, 1) << "the buffer is not lent";

        std::int32_t nAgain = 0;
        EXPECT_TRUE(m_oServer.Read(&nAgain, 4)) << "the position is unchanged";
        EXPECT_EQ(nAgain, nLength);
    }
    for (const std::int32_t nLength : {-1, -2147483647 - 1})
    {
        m_oClient.BeginWrite();
        m_oClient.Write(&nLength, 4);
        m_oClient.EndWrite();

        CVQString sText("as it was");
        m_oServer.BeginRead();
        EXPECT_TRUE(m_oServer.Read(sText));
        EXPECT_STREQ(sText.GetString(), "as it was");
    }
}

TEST_F(VQMailSlot, ATextThatIsLongerThanItsMessageEndsInZeros)
{
    const std::int32_t nLength = 8;
    m_oClient.BeginWrite();
    m_oClient.Write(&nLength, 4);
    m_oClient.Write("text", 4);
    m_oClient.EndWrite();

    CVQString sText;
    m_oServer.BeginRead();
    EXPECT_TRUE(m_oServer.Read(sText));
    EXPECT_EQ(sText.GetLength(), 8);
    EXPECT_EQ(std::memcmp(sText.GetString(), "text\0\0\0\0", 9), 0);
}

TEST_F(VQMailSlot, ARefusedReadLeavesThePositionAsItWas)
{
    Send("abcd");
    std::array<char, 401> aRead = {};
    m_oServer.BeginRead();
    EXPECT_TRUE(m_oServer.Read(aRead.data(), 1));
    ExpectMailError(5002, TEXT_READ, [&] { m_oServer.Read(aRead.data(), 400); });
    ExpectMailError(5002, TEXT_READ, [&] { m_oServer.Read(aRead.data(), 0xFFFFFFFF); });
    EXPECT_TRUE(m_oServer.Read(aRead.data(), 3));
    EXPECT_STREQ(aRead.data(), "bcd");
}

TEST_F(VQMailSlot, WithoutAMessageThereAreZeros)
{
    Send("old contents");
    m_oServer.BeginRead();
    m_oServer.BeginRead();

    CVQString sText("as it was");
    EXPECT_TRUE(m_oServer.Read(sText));
    EXPECT_STREQ(sText.GetString(), "as it was");
    std::string sRest(396, 'x');
    EXPECT_TRUE(m_oServer.Read(sRest.data(), 396));
    EXPECT_EQ(sRest, std::string(396, '\0'));
    EXPECT_EQ(m_oServer.GetTotalBytesRead(), 12UL);
}

TEST_F(VQMailSlot, AnEmptyMessageIsAMessage)
{
    Send("");
    if (!m_oServer.AreMessagesWaiting())
        GTEST_SKIP() << "this system loses empty messages";
    Send("abc");

    m_oServer.BeginRead();
    EXPECT_EQ(m_oServer.GetTotalBytesRead(), 0UL);
    m_oServer.BeginRead();
    EXPECT_EQ(m_oServer.GetTotalBytesRead(), 3UL);
}

TEST_F(VQMailSlot, CountersAddUpAndBeginAgainWithOpen)
{
    Send("12345");
    Send("678");
    EXPECT_EQ(m_oClient.GetTotalBytesWritten(), 8UL);
    for (const unsigned long nTotal : {5UL, 8UL, 8UL})
    {
        m_oServer.BeginRead();
        EXPECT_EQ(m_oServer.GetTotalBytesRead(), nTotal);
    }
    EXPECT_EQ(m_oServer.GetTotalBytesWritten(), 0UL);
    EXPECT_EQ(m_oClient.GetTotalBytesRead(), 0UL);

    // An end's own counter begins at 0, the other one goes on.
    EXPECT_TRUE(m_oClient.Close());
    EXPECT_TRUE(m_oClient.Open(MailSlotName(".", m_sSlot).c_str(), false));
    EXPECT_EQ(m_oClient.GetTotalBytesWritten(), 0UL);
    EXPECT_TRUE(m_oServer.Close());
    EXPECT_TRUE(m_oServer.Open(MailSlotName(".", UniqueSlot()).c_str(), true));
    EXPECT_EQ(m_oServer.GetTotalBytesRead(), 0UL);
}

TEST_F(VQMailSlot, OnlyAServerHasMessagesAndSizes)
{
    EXPECT_FALSE(m_oServer.AreMessagesWaiting());
    EXPECT_EQ(m_oServer.GetMessageSize(), 0xFFFFFFFFUL);
    Send("12345");
    EXPECT_TRUE(m_oServer.AreMessagesWaiting());
    EXPECT_EQ(m_oServer.GetMessageSize(), 5UL);
    EXPECT_EQ(m_oServer.GetMaxMessageSize(), 0UL);

    EXPECT_FALSE(m_oClient.AreMessagesWaiting());
    EXPECT_EQ(m_oClient.GetMessageSize(), 0UL);
    EXPECT_EQ(m_oClient.GetMaxMessageSize(), 0UL);
}

TEST_F(VQMailSlot, AServerDoesNotSend)
{
    m_oServer.BeginWrite();
    m_oServer.Write("x", 1);
    ExpectMailError(5003, TEXT_WRITE, [&] { m_oServer.EndWrite(); });
    EXPECT_EQ(m_oServer.GetTotalBytesWritten(), 0UL);
}

TEST_F(VQMailSlot, TooLargeMessagesOfOthersAreDropped)
{
    EXPECT_TRUE(SendRawMail(m_sSlot, std::string(1000, 'x')));
    EXPECT_FALSE(m_oServer.AreMessagesWaiting());
    EXPECT_EQ(m_oServer.GetMessageSize(), 0xFFFFFFFFUL);
    Send("after");
    m_oServer.BeginRead();
    char aRead[6] = {};
    m_oServer.Read(aRead, 5);
    EXPECT_STREQ(aRead, "after");
}

TEST_F(VQMailSlot, CloseKeepsTheOldHandleWhichTouchesNothingElse)
{
    EXPECT_TRUE(m_oServer.Close());
    EXPECT_TRUE(m_oServer.IsOpened());
    EXPECT_FALSE(m_oServer.AreMessagesWaiting());
    m_oServer.BeginRead();
    m_oClient.Close();

    // The next slot gets the system's numbers of the one that was closed; nothing that the old object does reaches it.
    CVQMailSlot oNext;
    EXPECT_TRUE(oNext.Open(MailSlotName(".", m_sSlot).c_str(), true));
    EXPECT_TRUE(m_oServer.Close());
    m_oServer.~CVQMailSlot();
    new (&m_oServer) CVQMailSlot;

    CVQMailSlot oClient;
    EXPECT_TRUE(oClient.Open(MailSlotName(".", m_sSlot).c_str(), false));
    oClient.BeginWrite();
    oClient.Write("here", 4);
    oClient.EndWrite();
    EXPECT_TRUE(oNext.AreMessagesWaiting());
}

TEST_F(VQMailSlot, WritingToAServerThatIsGoneThrowsAndTheNextOneIsFound)
{
    if (!DoClientsNoticeClosedServers())
        GTEST_SKIP() << "this system tells no client that its server was closed";

    EXPECT_TRUE(m_oServer.Close());
    ExpectMailError(5003, TEXT_WRITE, [&] { Send("to nobody"); });
    EXPECT_EQ(m_oClient.GetTotalBytesWritten(), 0UL);

    EXPECT_TRUE(m_oServer.Open(MailSlotName(".", m_sSlot).c_str(), true));
    Send("to the next");
    EXPECT_EQ(m_oServer.GetMessageSize(), 11UL);
}

TEST_F(VQMailSlot, ASecondServerOfANameThrows)
{
    CVQMailSlot oSecond;
    ExpectMailError(5000, TEXT_OPEN, [&] { oSecond.Open(MailSlotName(".", m_sSlot).c_str(), true); });
    Send("still here");
    EXPECT_TRUE(m_oServer.AreMessagesWaiting());
}

TEST(VQMailSlotToAll, EachServerThatIsOpenedLaterReceivesEachMessageOnce)
{
    if (!CanMailToAll())
        GTEST_SKIP() << "this system cannot address all computers";

    const std::string sSlot = UniqueSlot();
    CVQMailSlot oClient;
    EXPECT_TRUE(oClient.Open(MailSlotName("*", sSlot).c_str(), false));
    const auto Send = [&oClient](const char* pText)
    {
        oClient.BeginWrite();
        oClient.Write(CVQString(pText));
        oClient.EndWrite();
    };
    Send("to nobody");

    for (int i = 0; i < 3; ++i)
    {
        CVQMailSlot oServer;
        EXPECT_TRUE(oServer.Open(MailSlotName(".", sSlot).c_str(), true));
        EXPECT_FALSE(oServer.AreMessagesWaiting());
        Send("one");
        Send("three");
        for (const char* pText : {"one", "three"})
        {
            CVQString sText;
            oServer.BeginRead();
            oServer.Read(sText);
            EXPECT_STREQ(sText.GetString(), pText);
        }
        EXPECT_FALSE(oServer.AreMessagesWaiting());
    }
    Send("to nobody");
}

TEST(VQMailSlotInterface, OnlyInterfacesOfTheComputerAreTaken)
{
    EXPECT_FALSE(CVQMailSlot::SetInterface("no-such-interface"));
    EXPECT_EQ(CVQMailSlot::SetInterface(nullptr), CanNameMailInterface());
}

// Runs only in the child of the next test: a server that ends without any clearing up.
TEST(VQMailSlotChild, DISABLED_OpensAServerAndWaitsForItsEnd)
{
    const std::string sSlot = std::getenv("COMMON_TEST_SLOT");
    CVQMailSlot oServer;
    EXPECT_TRUE(oServer.Open(MailSlotName(".", sSlot).c_str(), true));
    EXPECT_NE(SYNC_SignalEvent(SYNC_CreateEvent(true, false, (sSlot + "-ready").c_str())), 0);
    SYNC_TimedWaitEvent(SYNC_CreateEvent(true, false, nullptr), LIMIT); // signalled by nobody
}

TEST(IsolatedMailSlot, AServerThatCrashedLeavesNothingBehind)
{
    const std::string sSlot = UniqueSlot();
    const std::string sName = MailSlotName(".", sSlot);
    const CTestEnvironment oSlotVariable("COMMON_TEST_SLOT", sSlot.c_str());
    void* hReady = SYNC_CreateEvent(true, false, (sSlot + "-ready").c_str());
    ChildProcess oChild({ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
                         "--gtest_filter=VQMailSlotChild.DISABLED_OpensAServerAndWaitsForItsEnd"});
    ASSERT_TRUE(SYNC_TimedWaitEvent(hReady, LIMIT));

    CVQMailSlot oServer;
    CVQMailSlot oClient;
    ExpectMailError(5000, TEXT_OPEN, [&] { oServer.Open(sName.c_str(), true); });
    EXPECT_TRUE(oClient.Open(sName.c_str(), false));
    oClient.BeginWrite();
    oClient.Write("between processes", 17);
    oClient.EndWrite();

    oChild.Kill();
    oChild.Wait();
    oClient.Close();
    EXPECT_TRUE(oServer.Open(sName.c_str(), true));
    EXPECT_FALSE(oServer.AreMessagesWaiting());
    EXPECT_TRUE(oClient.Open(sName.c_str(), false));
    oClient.BeginWrite();
    oClient.Write("again", 5);
    oClient.EndWrite();
    EXPECT_EQ(oServer.GetMessageSize(), 5UL);
    SYNC_DestroyEvent(hReady);
}
