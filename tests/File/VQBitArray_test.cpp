#include <Common/File/VQBitArray.h>

#include <tests/support/NoMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
constexpr int MAX_BITS = std::numeric_limits<int>::max();

static_assert(std::has_virtual_destructor_v<CVQBitArray>);

std::string BytesOf(const CVQBitArray& oArray)
{
    return {reinterpret_cast<const char*>(oArray.GetBuffer()), static_cast<std::size_t>(oArray.GetSize())};
}

/// An array with given bytes.
CVQBitArray ArrayOf(const std::string& sBytes)
{
    CVQBitArray oArray;
    oArray.SetSize(static_cast<int>(sBytes.size()));
    std::copy(sBytes.begin(), sBytes.end(), oArray.QueryBuffer(oArray.GetSize()));
    oArray.ReleaseBuffer();
    return oArray;
}
} // namespace

TEST(VQBitArray, IsEmptyAtFirst)
{
    const CVQBitArray oArray;
    EXPECT_EQ(oArray.GetSize(), 0);
    EXPECT_EQ(oArray.GetNumBits(), 0);
    EXPECT_EQ(oArray.GetBuffer(), nullptr);
}

TEST(VQBitArray, HasAByteMoreThanTheWholeBytes)
{
    struct
    {
        int nBits, nSize;
    } const aCases[] = {{0, 1}, {1, 1}, {7, 1}, {8, 2}, {9, 2}, {15, 2}, {16, 3}, {1000, 126}};

    for (const auto& [nBits, nSize] : aCases)
    {
        const CVQBitArray oArray(nBits);
        EXPECT_EQ(oArray.GetNumBits(), nBits);
        EXPECT_EQ(oArray.GetSize(), nSize) << nBits;
        EXPECT_EQ(BytesOf(oArray), std::string(static_cast<std::size_t>(nSize), '\0')) << nBits;
    }
}

TEST(VQBitArray, CountsAllBitsOfItsBytesAfterSetSize)
{
    CVQBitArray oArray;
    oArray.SetSize(3);
    EXPECT_EQ(oArray.GetSize(), 3);
    EXPECT_EQ(oArray.GetNumBits(), 24);
    EXPECT_EQ(BytesOf(oArray), std::string(3, '\0'));
}

TEST(VQBitArray, KeepsItsBytesWhenTheSizeChanges)
{
    CVQBitArray oArray = ArrayOf("abcd");
    oArray.SetSize(6);
    EXPECT_EQ(BytesOf(oArray), std::string("abcd\0\0", 6));
    oArray.SetSize(2);
    EXPECT_EQ(BytesOf(oArray), "ab");
    EXPECT_EQ(oArray.GetNumBits(), 16);
    oArray.SetSize(5); // what was cut off does not come back
    EXPECT_EQ(BytesOf(oArray), std::string("ab\0\0\0", 5));
    oArray.SetSize(1000);
    EXPECT_EQ(BytesOf(oArray), "ab" + std::string(998, '\0'));

    oArray.SetNumBits(4);
    EXPECT_EQ(BytesOf(oArray), "a");
    EXPECT_EQ(oArray.GetNumBits(), 4);
    oArray.SetNumBits(12);
    EXPECT_EQ(BytesOf(oArray), std::string("a\0", 2));
}

TEST(VQBitArray, CanBeMadeEmpty)
{
    CVQBitArray oArray(100);
    oArray.SetSize(0);
    EXPECT_EQ(oArray.GetSize(), 0);
    EXPECT_EQ(oArray.GetNumBits(), 0);
    EXPECT_EQ(oArray.GetBuffer(), nullptr);
    oArray.Clear();
    oArray.SetBit(3, true);
    EXPECT_TRUE(oArray.GetBit(3));
}

TEST(VQBitArray, TakesNegativeSizesForNone)
{
    CVQBitArray oArray = ArrayOf("ab");
    oArray.SetSize(-5);
    EXPECT_EQ(oArray.GetSize(), 0);
    oArray.SetNumBits(-100);
    EXPECT_EQ(oArray.GetSize(), 1);
    EXPECT_EQ(oArray.GetNumBits(), 0);
    EXPECT_EQ(CVQBitArray(std::numeric_limits<int>::min()).GetSize(), 1);

    oArray.SetBit(-1, true); // no such bit
    EXPECT_EQ(BytesOf(oArray), std::string(1, '\0'));
    EXPECT_NE(oArray.QueryBuffer(-1), nullptr);
}

TEST(VQBitArray, StoresTheFirstBitHighest)
{
    for (int i = 0; i < 24; ++i)
    {
        CVQBitArray oArray(24);
        oArray.SetBit(i, true);
        std::string sExpected(4, '\0');
        sExpected[static_cast<std::size_t>(i / 8)] = static_cast<char>(1 << (7 - i % 8));
        EXPECT_EQ(BytesOf(oArray), sExpected) << i;
        for (int j = 0; j < 24; ++j)
            EXPECT_EQ(oArray.GetBit(j), i == j) << i << ' ' << j;
    }
}

TEST(VQBitArray, GrowsToHoldABit)
{
    CVQBitArray oArray;
    oArray.SetBit(10, true);
    EXPECT_EQ(oArray.GetSize(), 2);
    EXPECT_EQ(oArray.GetNumBits(), 10); // not 11
    EXPECT_TRUE(oArray.GetBit(10));

    oArray.SetBit(10, false); // still not in use: grows to the same again, and keeps it
    EXPECT_EQ(oArray.GetNumBits(), 10);
    EXPECT_TRUE(oArray.GetBit(10));

    oArray.SetBit(16, false);
    EXPECT_EQ(oArray.GetSize(), 3);
    EXPECT_EQ(oArray.GetNumBits(), 16);
    EXPECT_EQ(BytesOf(oArray), std::string("\0\x20\0", 3));

    CVQBitArray oFirst;
    oFirst.SetBit(0, true);
    EXPECT_EQ(oFirst.GetSize(), 1);
    EXPECT_EQ(oFirst.GetNumBits(), 0);
    EXPECT_EQ(BytesOf(oFirst), "\x80");
}

TEST(VQBitArray, NeverTakesABitAwayButByClear)
{
    CVQBitArray oArray(20);
    oArray.SetBit(3, true);
    oArray.SetBit(3, false);
    EXPECT_TRUE(oArray.GetBit(3));

    oArray.Clear();
    EXPECT_FALSE(oArray.GetBit(3));
    EXPECT_EQ(oArray.GetSize(), 3);
    EXPECT_EQ(oArray.GetNumBits(), 20);
    EXPECT_EQ(BytesOf(oArray), std::string(3, '\0'));
}

TEST(VQBitArray, GrowsBitByBit)
{
    std::mt19937 oRandom(99);
    CVQBitArray oArray;
    std::vector<bool> oExpected;
    for (int i = 0; i < 20000; ++i)
    {
        oExpected.push_back(oRandom() % 2 == 0);
        oArray.SetBit(i, oExpected.back());
        ASSERT_EQ(oArray.GetNumBits(), i);
        ASSERT_EQ(oArray.GetSize(), i / 8 + 1);
    }
    for (int i = 0; i < 20000; ++i)
        ASSERT_EQ(oArray.GetBit(i), oExpected[static_cast<std::size_t>(i)]) << i;
}

TEST(VQBitArray, Copies)
{
    CVQBitArray oSource(12);
    oSource.SetBit(1, true);
    oSource.SetBit(11, true);

    const CVQBitArray oCopy(oSource);
    EXPECT_EQ(oCopy.GetSize(), 2);
    EXPECT_EQ(oCopy.GetNumBits(), 12);
    EXPECT_NE(oCopy.GetBuffer(), oSource.GetBuffer());
    EXPECT_EQ(BytesOf(oCopy), "\x40\x10");

    CVQBitArray oAssigned;
    CVQBitArray& oResult = oAssigned = oSource;
    EXPECT_EQ(&oResult, &oAssigned);
    EXPECT_EQ(BytesOf(oAssigned), "\x40\x10");
    EXPECT_EQ(oAssigned.GetNumBits(), 12);

    const CVQBitArray& oItself = oAssigned;
    oAssigned = oItself;
    EXPECT_EQ(BytesOf(oAssigned), "\x40\x10");
}

TEST(VQBitArray, KeepsALargerBufferWhenItIsAssigned)
{
    CVQBitArray oTarget = ArrayOf("abcdef");
    const unsigned char* pBuffer = oTarget.GetBuffer();
    oTarget = ArrayOf("xy");
    EXPECT_EQ(oTarget.GetBuffer(), pBuffer);
    EXPECT_EQ(oTarget.GetSize(), 2);
    EXPECT_EQ(oTarget.GetNumBits(), 16);
    EXPECT_EQ(BytesOf(oTarget), "xy");

    oTarget.SetSize(4); // none of the old bytes is left
    EXPECT_EQ(BytesOf(oTarget), std::string("xy\0\0", 4));

    oTarget = CVQBitArray();
    EXPECT_EQ(oTarget.GetSize(), 0);
    EXPECT_EQ(oTarget.GetNumBits(), 0);
    oTarget.SetSize(3);
    EXPECT_EQ(BytesOf(oTarget), std::string(3, '\0'));

    oTarget = ArrayOf(std::string(5000, 'z')); // and grows it
    EXPECT_EQ(BytesOf(oTarget), std::string(5000, 'z'));
}

TEST(VQBitArray, ComparesAllItsBytes)
{
    EXPECT_TRUE(ArrayOf("abc") == ArrayOf("abc"));
    EXPECT_FALSE(ArrayOf("abc") != ArrayOf("abc"));
    EXPECT_TRUE(ArrayOf("abc") != ArrayOf("abd"));
    EXPECT_TRUE(ArrayOf("abc") != ArrayOf("ab"));
    EXPECT_TRUE(CVQBitArray() == CVQBitArray());
    EXPECT_TRUE(CVQBitArray() != CVQBitArray(0)); // 0 bytes and 1

    // not the number of bits, but the bits behind it
    EXPECT_TRUE(CVQBitArray(9) == CVQBitArray(15));
    CVQBitArray oBehind(9);
    oBehind.QueryBuffer(2)[1] = 1;
    EXPECT_EQ(oBehind.GetNumBits(), 9);
    EXPECT_TRUE(oBehind != CVQBitArray(9));
}

TEST(VQBitArray, LendsItsBuffer)
{
    CVQBitArray oArray(4);
    unsigned char* pBuffer = oArray.QueryBuffer(1);
    EXPECT_EQ(pBuffer, oArray.GetBuffer());
    EXPECT_EQ(oArray.GetNumBits(), 4); // large enough: as it was
    pBuffer[0] = 0x08;
    oArray.ReleaseBuffer();
    EXPECT_TRUE(oArray.GetBit(4));

    oArray.QueryBuffer(10)[9] = 1;
    EXPECT_EQ(oArray.GetSize(), 10);
    EXPECT_EQ(oArray.GetNumBits(), 80);
    EXPECT_EQ(BytesOf(oArray), "\x08" + std::string(8, '\0') + "\x01");
}

TEST(VQBitArray, RefusesMoreBitsThanItCanCount)
{
    CVQBitArray oArray = ArrayOf("ab");
    for (const int nBytes : {MAX_BITS / 8 + 1, MAX_BITS})
    {
        EXPECT_THROW(oArray.SetSize(nBytes), std::length_error);
        EXPECT_THROW(oArray.QueryBuffer(nBytes), std::length_error);
    }
    EXPECT_EQ(BytesOf(oArray), "ab");
    EXPECT_EQ(oArray.GetNumBits(), 16);
}

TEST(VQBitArray, StaysAsItWasWithoutMemory)
{
    if (!CNoMemory::IsSupported())
        GTEST_SKIP() << "the library's memory cannot be made to fail here";

    CVQBitArray oArray = ArrayOf("ab");
    const CVQBitArray oLarge(8000);
    int nRefused = 0;
    const auto Refuse = [&nRefused](const auto& Call)
    {
        const CNoMemory oNoMemory;
        try
        {
            Call();
        }
        catch (const std::bad_alloc&)
        {
            ++nRefused;
        }
    };
    Refuse([&] { oArray.SetSize(1000); });
    Refuse([&] { oArray.SetNumBits(8000); });
    Refuse([&] { oArray.SetBit(8000, true); });
    Refuse([&] { oArray.QueryBuffer(1000); });
    Refuse([&] { oArray = oLarge; });
    EXPECT_EQ(nRefused, 5);
    EXPECT_EQ(BytesOf(oArray), "ab");
    EXPECT_EQ(oArray.GetNumBits(), 16);
}
