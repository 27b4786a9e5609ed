#include <Common/File/VQBitStream.h>

#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
constexpr int MAX_BITS = std::numeric_limits<int>::max();

static_assert(std::is_base_of_v<CVQBitArray, CVQBitStream>);

std::string BytesOf(const CVQBitStream& oStream)
{
    return {reinterpret_cast<const char*>(oStream.GetBuffer()), static_cast<std::size_t>(oStream.GetSize())};
}

/// A stream with given bytes.
CVQBitStream StreamOf(const std::string& sBytes)
{
    CVQBitStream oStream;
    std::copy(sBytes.begin(), sBytes.end(), oStream.QueryBuffer(static_cast<int>(sBytes.size())));
    return oStream;
}

/// Writes the bits of a text of 0 and 1.
void Write(CVQBitStream& oStream, const std::string& sBits)
{
    for (const char cBit : sBits)
        oStream.Write(cBit == '1');
}

/// Reads bits as a text of 0 and 1.
std::string Read(CVQBitStream& oStream, int nCount)
{
    std::string sBits;
    for (int i = 0; i < nCount; ++i)
    {
        bool bValue = i % 2 == 0; // never what was there before
        oStream.Read(bValue);
        sBits += bValue ? '1' : '0';
    }
    return sBits;
}

std::string DumpOf(const CVQBitStream& oStream, int nBytes)
{
    CVQString oText;
    oStream.Dump(oText, nBytes);
    return oText.IsEmpty() ? "" : ~oText;
}
} // namespace

TEST(VQBitStream, IsEmptyAtFirst)
{
    const CVQBitStream oStream;
    EXPECT_EQ(oStream.GetSize(), 0);
    EXPECT_EQ(oStream.GetNumBits(), 0);
    EXPECT_EQ(oStream.GetPos(), 0);
    EXPECT_EQ(oStream.GetNumBitsLeft(), 0);
    EXPECT_FALSE(oStream.IsReading());
    EXPECT_FALSE(oStream.IsWriting());
}

TEST(VQBitStream, HasAGivenNumberOfBits)
{
    const CVQBitStream oStream(20);
    EXPECT_EQ(oStream.GetSize(), 3);
    EXPECT_EQ(oStream.GetNumBits(), 20);
    EXPECT_EQ(oStream.GetNumBitsLeft(), 20);
    EXPECT_EQ(oStream.GetPos(), 0);
}

TEST(VQBitStream, WritesFromTheHighestBit)
{
    CVQBitStream oStream;
    oStream.BeginWrite();
    Write(oStream, "101");
    EXPECT_EQ(oStream.GetBuffer()[0], 0xA0);
    EXPECT_EQ(oStream.GetPos(), 3);
    EXPECT_EQ(oStream.GetSize(), 1);
    EXPECT_EQ(oStream.GetNumBits(), 8); // grown by a byte
    EXPECT_EQ(oStream.GetNumBitsLeft(), 5);
}

TEST(VQBitStream, WritesAndReadsTheSameBytesAsEver)
{
    const std::string sGolden = ReadWholeFile(GetGoldenPath("streams/bits.stream"));
    const std::string sBits = "101000000000001";

    CVQBitStream oStream;
    oStream.BeginWrite();
    Write(oStream, sBits);
    oStream.EndWrite();
    EXPECT_EQ(BytesOf(oStream), sGolden);

    CVQBitStream oLoaded = StreamOf(sGolden);
    oLoaded.BeginRead();
    EXPECT_EQ(Read(oLoaded, 15), sBits);
    oLoaded.EndRead();
}

TEST(VQBitStream, GrowsByAByteForTheNinthBit)
{
    CVQBitStream oStream;
    oStream.SetSize(1);
    oStream.BeginWrite();
    Write(oStream, "11111111");
    EXPECT_EQ(oStream.GetSize(), 1);
    EXPECT_EQ(oStream.GetNumBitsLeft(), 0);
    EXPECT_EQ(oStream.GetPos(), 8);
    oStream.Write(true);
    EXPECT_EQ(oStream.GetSize(), 2);
    EXPECT_EQ(oStream.GetNumBits(), 16);
    EXPECT_EQ(BytesOf(oStream), "\xFF\x80");
}

TEST(VQBitStream, GrowsByAByteWhenTheBitsInUseEnd)
{
    CVQBitStream oStream(8); // 2 bytes already
    oStream.BeginWrite();
    Write(oStream, "111111111");
    EXPECT_EQ(oStream.GetSize(), 3);
    EXPECT_EQ(oStream.GetNumBits(), 24);
    EXPECT_EQ(BytesOf(oStream), std::string("\xFF\x80\0", 3));
}

TEST(VQBitStream, LeavesABitByWritingFalse)
{
    CVQBitStream oStream = StreamOf("\xFF");
    Write(oStream, "0000");
    EXPECT_EQ(BytesOf(oStream), "\xFF");
    EXPECT_EQ(oStream.GetPos(), 4);
}

TEST(VQBitStream, BeginsToWriteWithZeros)
{
    CVQBitStream oStream = StreamOf("\xFF\xFF");
    oStream.SetPos(9);
    EXPECT_FALSE(oStream.IsWriting());
    oStream.BeginWrite();
    EXPECT_TRUE(oStream.IsWriting());
    EXPECT_FALSE(oStream.IsReading());
    EXPECT_EQ(oStream.GetPos(), 0);
    EXPECT_EQ(oStream.GetSize(), 2); // the size stays
    EXPECT_EQ(BytesOf(oStream), std::string(2, '\0'));
    oStream.EndWrite();
    EXPECT_FALSE(oStream.IsWriting());
}

TEST(VQBitStream, BeginsToReadAtTheStart)
{
    CVQBitStream oStream = StreamOf("\xA5");
    oStream.SetPos(5);
    oStream.BeginRead();
    EXPECT_TRUE(oStream.IsReading());
    EXPECT_FALSE(oStream.IsWriting());
    EXPECT_EQ(oStream.GetPos(), 0);
    EXPECT_EQ(Read(oStream, 8), "10100101");
    EXPECT_EQ(oStream.GetPos(), 8);
    oStream.EndRead();
    EXPECT_FALSE(oStream.IsReading());
    EXPECT_EQ(oStream.GetPos(), 8);
}

TEST(VQBitStream, RemembersReadingAndWritingApart)
{
    CVQBitStream oStream;
    oStream.BeginWrite();
    oStream.BeginRead();
    EXPECT_TRUE(oStream.IsReading());
    EXPECT_TRUE(oStream.IsWriting());
    oStream.EndWrite();
    EXPECT_TRUE(oStream.IsReading());
    oStream.Write(true); // not checked
    EXPECT_EQ(oStream.GetBuffer()[0], 0x80);
}

TEST(VQBitStream, GoesToABit)
{
    CVQBitStream oStream = StreamOf(std::string("\x01\x80\0", 3));
    for (const int nBit : {0, 1, 7, 8, 15, 16, 23})
    {
        oStream.SetPos(nBit);
        EXPECT_EQ(oStream.GetPos(), nBit);
        EXPECT_EQ(oStream.GetNumBitsLeft(), 24 - nBit);
    }
    oStream.SetPos(7);
    EXPECT_EQ(Read(oStream, 3), "110");
    EXPECT_EQ(oStream.GetPos(), 10);
    oStream.Rewind();
    EXPECT_EQ(oStream.GetPos(), 0);
}

TEST(VQBitStream, RefusesNegativePositions)
{
    CVQBitStream oStream(24);
    oStream.SetPos(10);
    for (const int nBit : {-1, -8, -1000, std::numeric_limits<int>::min()})
    {
        oStream.SetPos(nBit);
        EXPECT_EQ(oStream.GetPos(), 10) << nBit;
    }
}

TEST(VQBitStream, ReadsFalseBehindTheEnd)
{
    CVQBitStream oStream = StreamOf("\xFF");
    EXPECT_EQ(Read(oStream, 12), "111111110000");
    EXPECT_EQ(oStream.GetPos(), 12);
    EXPECT_EQ(oStream.GetNumBitsLeft(), -4);

    oStream.SetPos(MAX_BITS);
    EXPECT_EQ(Read(oStream, 3), "000");
    EXPECT_EQ(oStream.GetPos(), MAX_BITS); // there is no number for the next

    CVQBitStream oEmpty;
    EXPECT_EQ(Read(oEmpty, 3), "000");
}

TEST(VQBitStream, ReadsTheLastByteWhole)
{
    CVQBitStream oStream(3);
    oStream.QueryBuffer(1)[0] = 0xFF;
    EXPECT_EQ(oStream.GetNumBits(), 3);
    EXPECT_EQ(Read(oStream, 9), "111111110");
}

TEST(VQBitStream, GrowsUpToAPositionBehindTheEnd)
{
    CVQBitStream oStream;
    oStream.SetPos(50);
    EXPECT_EQ(oStream.GetNumBitsLeft(), -50);
    oStream.Write(true);
    EXPECT_EQ(oStream.GetSize(), 7);
    EXPECT_EQ(oStream.GetNumBits(), 56);
    EXPECT_EQ(BytesOf(oStream), std::string(6, '\0') + "\x20");
    EXPECT_EQ(oStream.GetPos(), 51);
}

TEST(VQBitStream, KeepsItsPositionWhenTheSizeChanges)
{
    CVQBitStream oStream = StreamOf("abcd");
    oStream.SetPos(20);
    oStream.SetNumBits(9);
    EXPECT_EQ(oStream.GetPos(), 20);
    EXPECT_EQ(oStream.GetNumBitsLeft(), -11);
    oStream.Write(true);
    EXPECT_EQ(BytesOf(oStream), std::string("ab\x08", 3));
    EXPECT_EQ(oStream.GetNumBits(), 24);
    oStream.SetSize(0);
    EXPECT_EQ(oStream.GetPos(), 21);
    EXPECT_EQ(Read(oStream, 2), "00");
    EXPECT_EQ(oStream.GetPos(), 23);
}

TEST(VQBitStream, StopsAtTheLastPositionThatHasANumber)
{
    CVQBitStream oStream = StreamOf("a");
    oStream.SetPos(MAX_BITS - 2);
    EXPECT_EQ(oStream.GetNumBitsLeft(), 10 - MAX_BITS);
    bool bValue = true;
    for (const int nExpected : {MAX_BITS - 1, MAX_BITS, MAX_BITS, MAX_BITS})
    {
        oStream.Read(bValue);
        EXPECT_FALSE(bValue);
        EXPECT_EQ(oStream.GetPos(), nExpected);
    }
    oStream.SetPos(1);
    EXPECT_EQ(Read(oStream, 2), "11");
}

TEST(VQBitStream, RefusesToWriteWhatItCannotCount)
{
    CVQBitStream oStream = StreamOf("ab");
    oStream.SetPos(MAX_BITS);
    EXPECT_THROW(oStream.Write(true), std::length_error);
    EXPECT_EQ(BytesOf(oStream), "ab");
    EXPECT_EQ(oStream.GetPos(), MAX_BITS);
}

TEST(VQBitStream, CopiesBitsAndGoesToTheStart)
{
    CVQBitStream oSource = StreamOf("ab");
    oSource.BeginRead();
    oSource.SetPos(5);

    const CVQBitStream oCopy(oSource);
    EXPECT_EQ(BytesOf(oCopy), "ab");
    EXPECT_EQ(oCopy.GetNumBits(), 16);
    EXPECT_EQ(oCopy.GetPos(), 0);
    EXPECT_FALSE(oCopy.IsReading());
    EXPECT_EQ(oSource.GetPos(), 5);

    CVQBitStream oAssigned(100);
    oAssigned.BeginWrite();
    oAssigned.SetPos(50);
    CVQBitStream& oResult = oAssigned = oSource;
    EXPECT_EQ(&oResult, &oAssigned);
    EXPECT_EQ(BytesOf(oAssigned), "ab");
    EXPECT_EQ(oAssigned.GetNumBits(), 16);
    EXPECT_EQ(oAssigned.GetPos(), 0);
    EXPECT_TRUE(oAssigned.IsWriting()); // what it was about is its own
    EXPECT_FALSE(oAssigned.IsReading());

    oAssigned.SetPos(3);
    const CVQBitStream& oItself = oAssigned;
    oAssigned = oItself;
    EXPECT_EQ(BytesOf(oAssigned), "ab");
    EXPECT_EQ(oAssigned.GetPos(), 0);
}

TEST(VQBitStream, ComparesAndClearsAsTheArray)
{
    CVQBitStream oStream = StreamOf("ab");
    CVQBitStream oSame = StreamOf("ab");
    oSame.SetPos(9);
    EXPECT_TRUE(oStream == oSame); // whatever the position
    EXPECT_FALSE(oStream != oSame);
    EXPECT_TRUE(oStream != StreamOf("ac"));

    oSame.Clear();
    EXPECT_EQ(BytesOf(oSame), std::string(2, '\0'));
    EXPECT_EQ(oSame.GetPos(), 9);
}

TEST(VQBitStream, RoundTripsAnyBits)
{
    std::mt19937 oRandom(3);
    for (const int nCount : {1, 7, 8, 9, 1000, 54321})
    {
        std::string sBits;
        for (int i = 0; i < nCount; ++i)
            sBits += oRandom() % 2 == 0 ? '0' : '1';

        CVQBitStream oStream;
        oStream.BeginWrite();
        Write(oStream, sBits);
        oStream.EndWrite();
        EXPECT_EQ(oStream.GetSize(), (nCount + 7) / 8);
        oStream.BeginRead();
        EXPECT_EQ(Read(oStream, nCount), sBits);

        oStream.BeginWrite(); // and again in the same one
        Write(oStream, std::string(sBits.rbegin(), sBits.rend()));
        oStream.BeginRead();
        EXPECT_EQ(Read(oStream, nCount), std::string(sBits.rbegin(), sBits.rend()));
    }
}

TEST(VQBitStream, DumpsItsBytes)
{
    EXPECT_EQ(DumpOf(StreamOf("\x81"), 1), "Byte    1: 10000001\n");
    EXPECT_EQ(DumpOf(StreamOf("\x81\x7F\xA5"), 2), "Byte    1: 10000001\nByte    2: 01111111\n");
    EXPECT_EQ(DumpOf(StreamOf("\x81\x7F\xA5"), -1), "Byte    1: 10000001\nByte    2: 01111111\nByte    3: 10100101\n");
}

TEST(VQBitStream, DumpsNothingForNoBytes)
{
    const CVQBitStream oStream = StreamOf("ab");
    for (const int nBytes : {0, -2, -100, std::numeric_limits<int>::min()})
        EXPECT_EQ(DumpOf(oStream, nBytes), "") << nBytes;
    EXPECT_EQ(DumpOf(CVQBitStream(), -1), "");
}

TEST(VQBitStream, DumpsNoMoreThanThereIs)
{
    EXPECT_EQ(DumpOf(StreamOf("\x81"), 100), "Byte    1: 10000001\n");
    EXPECT_EQ(DumpOf(StreamOf("\x81"), MAX_BITS), "Byte    1: 10000001\n");
}

TEST(VQBitStream, DumpsBehindWhatTheTextHolds)
{
    CVQString oText = "bits:\n";
    const CVQBitStream oStream = StreamOf("\x0F");
    oStream.Dump(oText, -1);
    oStream.Dump(oText, -1);
    EXPECT_STREQ(~oText, "bits:\nByte    1: 00001111\nByte    1: 00001111\n");
}

TEST(VQBitStream, DumpsLargeNumbersInFull)
{
    CVQBitStream oStream;
    oStream.SetSize(12345);
    const std::string sDump = DumpOf(oStream, -1);
    EXPECT_EQ(sDump.substr(0, 20), "Byte    1: 00000000\n");
    EXPECT_NE(sDump.find("\nByte   10: 00000000\n"), std::string::npos);
    EXPECT_NE(sDump.find("\nByte 9999: 00000000\n"), std::string::npos);
    EXPECT_EQ(sDump.substr(sDump.size() - 21), "Byte 12345: 00000000\n");
}
