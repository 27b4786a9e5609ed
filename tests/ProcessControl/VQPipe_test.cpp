#include <Common/Debug/VQPipeException.h>
#include <Common/ProcessControl/VQPipe.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Fork.h>
#include <tests/support/PrivateMember.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <type_traits>

namespace
{
// What is waiting in a pipe, as bytes.
std::string TakeBytes(CVQPipe& oPipe)
{
    std::string sBytes;
    char c = '\0';
    while (oPipe.HasData() && oPipe.Read(c))
        sBytes += c;
    return sBytes;
}

// Both directions through a text of its own: the typed forms must come through here.
class CTextPipe : public CVQPipe
{
public:
    using CVQPipe::Read;
    using CVQPipe::Write;

    bool Read(void* pData, unsigned long nSize) override
    {
        if (m_sText.size() < nSize)
            return false;
        std::memcpy(pData, m_sText.data(), nSize);
        m_sText.erase(0, nSize);
        return true;
    }

    bool Write(const void* pData, unsigned long nSize) override
    {
        m_sText.append(static_cast<const char*>(pData), nSize);
        return true;
    }

    std::string m_sText;
};

template <class TValue>
void ExpectRoundTrip(CVQPipe& oPipe, TValue oValue)
{
    TValue oRead = TValue();
    EXPECT_TRUE(oPipe.Write(oValue));
    EXPECT_TRUE(oPipe.Read(oRead));
    EXPECT_EQ(oRead, oValue);
    EXPECT_FALSE(oPipe.HasData());
}

// The 32-bit words of an object, behind the pointer to its virtual operations.
std::array<std::uint32_t, 3> FieldsOf(const CVQPipe& oPipe)
{
    std::array<std::uint32_t, 3> aFields;
    std::memcpy(aFields.data(), reinterpret_cast<const char*>(&oPipe) + sizeof(void*), sizeof aFields);
    return aFields;
}
} // namespace

struct sPipeThrow
{
    using Type = void (CVQPipe::*)(unsigned long, unsigned long, const char*, const char*) const;
    friend Type GetPrivate(sPipeThrow);
};

template struct RevealPrivate<sPipeThrow, &CVQPipe::ThrowException>;

TEST(VQPipe, ANewObjectIsNotOpenAndRefusesEverything)
{
    CVQPipe oPipe;
    EXPECT_FALSE(oPipe.IsOpen());
    EXPECT_FALSE(oPipe.HasData());
    int nValue = 7;
    CVQString sText("as it was");
    EXPECT_FALSE(oPipe.Read(nValue));
    EXPECT_FALSE(oPipe.Read(sText));
    EXPECT_FALSE(oPipe.Write(nValue));
    EXPECT_FALSE(oPipe.Write(sText));
    EXPECT_FALSE(oPipe.Write("x", 1));
    EXPECT_EQ(nValue, 7);
    EXPECT_STREQ(sText.GetString(), "as it was");
    EXPECT_TRUE(oPipe.Close());
    EXPECT_FALSE(oPipe.IsOpen());
}

TEST(VQPipe, EveryTypeComesBackAsItWas)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    EXPECT_TRUE(oPipe.IsOpen());
    ExpectRoundTrip(oPipe, 'c');
    ExpectRoundTrip(oPipe, '\xFF');
    ExpectRoundTrip(oPipe, true);
    ExpectRoundTrip(oPipe, false);
    ExpectRoundTrip<short>(oPipe, -32768);
    ExpectRoundTrip<unsigned short>(oPipe, 65535);
    ExpectRoundTrip(oPipe, std::numeric_limits<int>::min());
    ExpectRoundTrip(oPipe, std::numeric_limits<unsigned>::max());
    ExpectRoundTrip(oPipe, -5L);
    ExpectRoundTrip(oPipe, 0xFFFFFFFEUL);
    ExpectRoundTrip(oPipe, 1.5F);
    ExpectRoundTrip(oPipe, -0.1);
}

TEST(VQPipe, ADoubleIsTheSameToTheLastBit)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    for (const std::uint64_t nBits : {0x3FB999999999999AULL, 0x8000000000000000ULL, 0x7FF0000000000000ULL,
                                      0x7FF8000000000123ULL, 0x0000000000000001ULL})
    {
        const auto dValue = std::bit_cast<double>(nBits);
        double dRead = 1.0;
        EXPECT_TRUE(oPipe.Write(dValue));
        EXPECT_TRUE(oPipe.Read(dRead));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(dRead), nBits);
    }
}

TEST(VQPipe, BytesOnTheWayAreLittleEndianAndWithoutPadding)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    oPipe.Write('a');
    oPipe.Write(true);
    oPipe.Write(static_cast<short>(0x0102));
    oPipe.Write(static_cast<unsigned short>(0xFFFE));
    EXPECT_EQ(TakeBytes(oPipe), std::string("a\1\2\1\xFE\xFF", 6));
    oPipe.Write(0x01020304);
    oPipe.Write(0xFFFFFFFEU);
    EXPECT_EQ(TakeBytes(oPipe), std::string("\4\3\2\1\xFE\xFF\xFF\xFF", 8));
    oPipe.Write(-2L);
    oPipe.Write(0x80000000UL);
    EXPECT_EQ(TakeBytes(oPipe), std::string("\xFE\xFF\xFF\xFF\0\0\0\x80", 8));
    oPipe.Write(1.0F);
    oPipe.Write(1.0);
    EXPECT_EQ(TakeBytes(oPipe), std::string("\0\0\x80\x3F\0\0\0\0\0\0\xF0\x3F", 12));
    oPipe.Write(CVQString("text"));
    EXPECT_EQ(TakeBytes(oPipe), std::string("\4\0\0\0text", 8));
}

TEST(VQPipe, LongsAreCutToFourBytesAndReadWithOrWithoutTheirSign)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    long nSigned = 1;
    unsigned long nUnsigned = 1;
    oPipe.Write(0xFFFFFFFFUL);
    oPipe.Write(-1L);
    EXPECT_TRUE(oPipe.Read(nSigned));
    EXPECT_TRUE(oPipe.Read(nUnsigned));
    EXPECT_EQ(nSigned, -1L);
    EXPECT_EQ(nUnsigned, 0xFFFFFFFFUL);

    oPipe.Write(std::numeric_limits<long>::max());
    EXPECT_TRUE(oPipe.Read(nUnsigned));
    EXPECT_EQ(nUnsigned, sizeof(long) == 8 ? 0xFFFFFFFFUL : 0x7FFFFFFFUL);
    EXPECT_FALSE(oPipe.HasData());
}

TEST(VQPipe, TrueReadAsACharacterIsOne)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    char c = '\0';
    EXPECT_TRUE(oPipe.Write(true));
    EXPECT_TRUE(oPipe.Read(c));
    EXPECT_EQ(c, 1);
}

TEST(VQPipe, AnyOtherByteIsTrue)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    for (const char c : {'\2', '\xFF', '0'})
    {
        bool bValue = false;
        EXPECT_TRUE(oPipe.Write(c));
        EXPECT_TRUE(oPipe.Read(bValue));
        EXPECT_TRUE(bValue);
    }
}

TEST(VQPipe, AnEmptyTextIsFourZeroBytesAndLeavesTheTargetAsItWas)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    EXPECT_TRUE(oPipe.Write(CVQString("")));
    EXPECT_TRUE(oPipe.Write(CVQString()));
    EXPECT_EQ(TakeBytes(oPipe), std::string(8, '\0'));

    CVQString sText("as it was");
    EXPECT_TRUE(oPipe.Write(CVQString("")));
    EXPECT_TRUE(oPipe.Read(sText));
    EXPECT_STREQ(sText.GetString(), "as it was");
}

TEST(VQPipe, TextsComeBackWithEveryByte)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    CVQString sZeros('\0', 3);
    CVQString sRead("longer than what comes");
    EXPECT_TRUE(oPipe.Write(sZeros));
    EXPECT_TRUE(oPipe.Write("a pointer is a text"));
    EXPECT_TRUE(oPipe.Read(sRead));
    EXPECT_EQ(sRead.GetLength(), 3);
    EXPECT_TRUE(oPipe.Read(sRead));
    EXPECT_STREQ(sRead.GetString(), "a pointer is a text");
}

TEST(VQPipe, ALongTextComesAsItIsWritten)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    std::string sLong(300'000, 'x');
    for (std::size_t i = 0; i < sLong.size(); i += 97)
        sLong[i] = static_cast<char>('a' + i % 26);

    std::thread oWriter([&] { EXPECT_TRUE(oPipe.Write(CVQString(sLong.c_str()))); });
    CVQString sRead;
    EXPECT_TRUE(oPipe.Read(sRead));
    oWriter.join();
    EXPECT_EQ(sRead.GetLength(), static_cast<long>(sLong.size()));
    EXPECT_EQ(sLong, sRead.GetString());
}

TEST(VQPipe, HasDataDoesNotWait)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    EXPECT_FALSE(oPipe.HasData());
    EXPECT_TRUE(oPipe.Write('x'));
    EXPECT_TRUE(oPipe.HasData());
    EXPECT_TRUE(oPipe.HasData());
    char c = '\0';
    EXPECT_TRUE(oPipe.Read(c));
    EXPECT_FALSE(oPipe.HasData());
}

TEST(VQPipe, AReadWaitsForAllOfItsBytes)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    int nRead = 0;
    std::thread oReader([&] { EXPECT_TRUE(oPipe.Read(nRead)); });
    for (const char c : {'\1', '\2', '\3', '\4'})
        EXPECT_TRUE(oPipe.Write(c));
    oReader.join();
    EXPECT_EQ(nRead, 0x04030201);
}

TEST(VQPipe, AReadFailsWhenThePipeIsClosedBeforeAllOfItsBytesHaveCome)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    EXPECT_TRUE(oPipe.Write('\1'));
    int nRead = 99;
    bool bRead = true;
    std::thread oReader([&] { bRead = oPipe.Read(nRead); });
    EXPECT_TRUE(oPipe.Close());
    oReader.join();
    EXPECT_FALSE(bRead);
    EXPECT_EQ(nRead, 99);
    EXPECT_FALSE(oPipe.Write('\1'));
}

TEST(VQPipe, CloseKeepsTheOldHandlesWhichTouchNothingElse)
{
    CVQPipe oOld;
    ASSERT_TRUE(oOld.Open());
    EXPECT_TRUE(oOld.Close());
    EXPECT_TRUE(oOld.IsOpen());
    EXPECT_FALSE(oOld.HasData());

    CVQPipe oNext;
    ASSERT_TRUE(oNext.Open());
    {
        const CVQPipe oCopy(oOld);
        EXPECT_TRUE(oCopy.IsOpen());
    }
    EXPECT_TRUE(oOld.Close());
    EXPECT_FALSE(oOld.Write('x'));
    ExpectRoundTrip(oNext, 42);
}

TEST(VQPipe, ChildProcessesInheritBothEnds)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process, and its children know their handles by other ways";

    CVQPipe oThere;
    CVQPipe oBack;
    ASSERT_TRUE(oThere.Open());
    ASSERT_TRUE(oBack.Open());
    EXPECT_TRUE(oThere.Write(20));
    EXPECT_EQ(RunInFork(
                  [&]
                  {
                      int nNumber = 0;
                      return oThere.Read(nNumber) && oBack.Write(nNumber + 1) && oBack.Write("from the child") ? 7 : 8;
                  }),
              7);
    int nNumber = 0;
    CVQString sText;
    EXPECT_TRUE(oBack.Read(nNumber));
    EXPECT_TRUE(oBack.Read(sText));
    EXPECT_EQ(nNumber, 21);
    EXPECT_STREQ(sText.GetString(), "from the child");
    EXPECT_FALSE(oBack.HasData());

    // Another program gets them, too: it sees two pipe ends more for each pipe.
    const auto CountPipes = []
    {
        const std::string sOpen = ChildProcess({"/bin/sh", "-c", "ls -l /proc/$$/fd"}).Wait().sOutput;
        int nPipes = 0;
        for (std::size_t n = sOpen.find("pipe:"); n != std::string::npos; n = sOpen.find("pipe:", n + 1))
            ++nPipes;
        return nPipes;
    };
    const int nOpen = CountPipes();
    oThere.Close();
    oBack.Close();
    EXPECT_EQ(CountPipes(), nOpen - 4);
}

TEST(VQPipe, CopiesShareThePipe)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    CVQPipe oCopy(oPipe);
    CVQPipe oAssigned;
    oAssigned = oPipe;
    EXPECT_TRUE(oCopy.Write(1));
    EXPECT_TRUE(oAssigned.Write(2));
    int nRead = 0;
    EXPECT_TRUE(oPipe.Read(nRead));
    EXPECT_EQ(nRead, 1);
    EXPECT_TRUE(oCopy.Read(nRead));
    EXPECT_EQ(nRead, 2);
}

TEST(VQPipe, ASubclassThatOverridesTheRawFormsCarriesAllTypes)
{
    CTextPipe oPipe;
    oPipe.Write('c');
    oPipe.Write(true);
    oPipe.Write(static_cast<short>(1));
    oPipe.Write(static_cast<unsigned short>(2));
    oPipe.Write(3);
    oPipe.Write(4U);
    oPipe.Write(5L);
    oPipe.Write(6UL);
    oPipe.Write(7.0F);
    oPipe.Write(8.0);
    oPipe.Write(CVQString("nine"));
    EXPECT_EQ(oPipe.m_sText.size(), 1U + 1 + 2 + 2 + 4 + 4 + 4 + 4 + 4 + 8 + 8);

    char c = '\0';
    bool b = false;
    short n1 = 0;
    unsigned short n2 = 0;
    int n3 = 0;
    unsigned n4 = 0;
    long n5 = 0;
    unsigned long n6 = 0;
    float f7 = 0;
    double d8 = 0;
    CVQString s9;
    EXPECT_TRUE(oPipe.Read(c) && oPipe.Read(b) && oPipe.Read(n1) && oPipe.Read(n2) && oPipe.Read(n3) &&
                oPipe.Read(n4) && oPipe.Read(n5) && oPipe.Read(n6) && oPipe.Read(f7) && oPipe.Read(d8) &&
                oPipe.Read(s9));
    EXPECT_EQ(c, 'c');
    EXPECT_TRUE(b);
    EXPECT_EQ(n1, 1);
    EXPECT_EQ(n2, 2);
    EXPECT_EQ(n3, 3);
    EXPECT_EQ(n4, 4U);
    EXPECT_EQ(n5, 5L);
    EXPECT_EQ(n6, 6UL);
    EXPECT_EQ(f7, 7.0F);
    EXPECT_EQ(d8, 8.0);
    EXPECT_STREQ(s9.GetString(), "nine");
    EXPECT_TRUE(oPipe.m_sText.empty());
}

TEST(VQPipe, LengthsThatNoStringHoldsOrThatLieAreRefused)
{
    for (const std::int32_t nLength : {0x7FFFFFFF, 0x7FFFFFFE, 0x7FFFFFFD, 200'000, 5})
    {
        CTextPipe oPipe;
        oPipe.Write(static_cast<int>(nLength));
        oPipe.Write("text", 4);
        CVQString sText("as it was");
        EXPECT_FALSE(oPipe.Read(sText)) << nLength;
        sText.ReleaseBuffer();
        sText = "usable";
        EXPECT_STREQ(sText.GetString(), "usable");
    }
    for (const std::int32_t nLength : {0, -1, -2147483647 - 1})
    {
        CTextPipe oPipe;
        oPipe.Write(static_cast<int>(nLength));
        CVQString sText("as it was");
        EXPECT_TRUE(oPipe.Read(sText)) << nLength;
        EXPECT_STREQ(sText.GetString(), "as it was");
    }
}

TEST(VQPipe, ATextThatDoesNotComeLeavesTheBufferLent)
{
    for (const int nLength : {5, 200'000})
    {
        CTextPipe oPipe;
        oPipe.Write(nLength);
        CVQString sText("as it was");
        const std::int32_t nLocks = sText.GetData()->m_nLockCount;
        EXPECT_FALSE(oPipe.Read(sText));
        EXPECT_EQ(sText.GetData()->m_nLockCount, nLocks + 1) << nLength;
    }
}

TEST(VQPipe, FieldsStandInTheirOrderAndAreCopied)
{
    CVQPipe oPipe;
    EXPECT_EQ(FieldsOf(oPipe)[1], 0U);
    EXPECT_EQ(FieldsOf(oPipe)[2], 0U);
    const std::uint32_t nReserved = 0x12345678;
    std::memcpy(reinterpret_cast<char*>(&oPipe) + sizeof(void*), &nReserved, sizeof nReserved);
    ASSERT_TRUE(oPipe.Open());
    const auto aFields = FieldsOf(oPipe);
    EXPECT_EQ(aFields[0], nReserved);

    // The first handle reads and the second one writes.
    EXPECT_TRUE(oPipe.Write('x'));
    EXPECT_NE(aFields[1], 0U);
    EXPECT_NE(aFields[2], 0U);
    EXPECT_NE(aFields[1], aFields[2]);
    CVQPipe oSwapped(oPipe);
    const std::uint32_t aSwapped[] = {aFields[2], aFields[1]};
    std::memcpy(reinterpret_cast<char*>(&oSwapped) + sizeof(void*) + sizeof nReserved, aSwapped, sizeof aSwapped);
    char c = '\0';
    EXPECT_FALSE(oSwapped.Read(c));
    EXPECT_FALSE(oSwapped.Write('x'));

    const CVQPipe oCopy(oPipe);
    CVQPipe oAssigned;
    oAssigned = oPipe;
    EXPECT_EQ(FieldsOf(oCopy), aFields);
    EXPECT_EQ(FieldsOf(oAssigned), aFields);
    oPipe.Close();
    EXPECT_EQ(FieldsOf(oPipe), aFields) << "the old handles stay";
}

TEST(VQPipe, ThrowsTheExceptionOfItsClass)
{
    const CVQPipe oPipe;
    const std::string sLong(300, 'x');

    const struct
    {
        const char* pFile;
        const char* pMessage;
        const char* pShown;
    } aCases[] = {
        {"Common/ProcessControl/VQPipe", "a message", "a message"},
        {"Common/ProcessControl/VQPipe", nullptr, ""},
    };

    for (const auto& oCase : aCases)
    {
        try
        {
            (oPipe.*GetPrivate(sPipeThrow()))(7, 8, oCase.pFile, oCase.pMessage);
            ADD_FAILURE() << "nothing was thrown";
        }
        catch (const CVQPipeException& oCaught)
        {
            CVQPipeException oError(oCaught);
            EXPECT_EQ(oError.GetErrorClass(), ecCommunication);
            EXPECT_EQ(oError.GetErrorCode(), 7UL);
            EXPECT_EQ(oError.GetLine(), 8UL);
            EXPECT_STREQ(oError.GetFileName(), oCase.pFile);
            EXPECT_STREQ(oError.GetErrorString(), oCase.pShown);
        }
    }

    try
    {
        (oPipe.*GetPrivate(sPipeThrow()))(7, 8, sLong.c_str(), sLong.c_str());
    }
    catch (const CVQPipeException& oCaught)
    {
        CVQPipeException oError(oCaught);
        EXPECT_EQ(oError.GetFileName(), std::string(255, 'x'));
        EXPECT_EQ(oError.GetErrorString(), std::string(255, 'x'));
        return;
    }
    ADD_FAILURE() << "nothing was thrown";
}

TEST(VQPipe, VirtualOperationsStandInTheirSlots)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQPipe>);

    // The destructor takes two slots of this compiler's tables.
    constexpr std::size_t FIRST = 2;
    EXPECT_EQ(VirtualSlot(&CVQPipe::Open), FIRST);
    EXPECT_EQ(VirtualSlot(&CVQPipe::Close), FIRST + 1);
    EXPECT_EQ(VirtualSlot(static_cast<bool (CVQPipe::*)(CVQString&)>(&CVQPipe::Read)), FIRST + 12);
    EXPECT_EQ(VirtualSlot(static_cast<bool (CVQPipe::*)(void*, unsigned long)>(&CVQPipe::Read)), FIRST + 13);
    EXPECT_EQ(VirtualSlot(static_cast<bool (CVQPipe::*)(const CVQString&)>(&CVQPipe::Write)), FIRST + 24);
    EXPECT_EQ(VirtualSlot(static_cast<bool (CVQPipe::*)(const void*, unsigned long)>(&CVQPipe::Write)), FIRST + 25);
    EXPECT_EQ(VirtualSlot(&CVQPipe::IsOpen), FIRST + 26);
}
