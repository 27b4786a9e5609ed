#include <Common/String/VQFourCC.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace
{
static_assert(std::has_virtual_destructor_v<CVQFourCC>);
static_assert(
    std::is_same_v<decltype(std::declval<CVQFourCC&>() = std::declval<const CVQFourCC&>()), const CVQFourCC&>);

unsigned long ValueOf(const char* pText)
{
    return CVQFourCC(pText).ToDword();
}
} // namespace

TEST(VQFourCC, IsEmptyAtFirst)
{
    const CVQFourCC oCode;
    EXPECT_TRUE(oCode.IsEmpty());
    EXPECT_EQ(oCode.ToDword(), 0U);
    EXPECT_STREQ(oCode.ToString(), "");
}

TEST(VQFourCC, OfTheValueZeroIsEmpty)
{
    const CVQFourCC oCode(0UL);
    EXPECT_TRUE(oCode.IsEmpty());
    EXPECT_STREQ(oCode.ToString(), "");
}

TEST(VQFourCC, ReadsFourCharacters)
{
    const CVQFourCC oCode("ABCD");
    EXPECT_FALSE(oCode.IsEmpty());
    EXPECT_STREQ(oCode.ToString(), "ABCD");
    EXPECT_EQ(oCode.ToDword(), 0x44434241U);
}

TEST(VQFourCC, ReadsExactlyFourBytes)
{
    EXPECT_STREQ(CVQFourCC("ABCDEFG").ToString(), "ABCD");

    const char aNoTerminator[] = {'W', 'X', 'Y', 'Z'};
    CVQFourCC oCode;
    oCode.FromString(aNoTerminator);
    EXPECT_STREQ(oCode.ToString(), "WXYZ");
}

TEST(VQFourCC, ReadsBehindAZero)
{
    const CVQFourCC oCode("A\0CD");
    EXPECT_EQ(oCode.ToDword(), 0x44430041U);
    EXPECT_STREQ(oCode.ToString(), "A");
    EXPECT_EQ(oCode.GetAt(3), 'D');
}

TEST(VQFourCC, TakesNoTextAsZeros)
{
    EXPECT_TRUE(CVQFourCC(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(VQFourCC, LowersTheByteAboveAHighCharacter)
{
    // ((s3 * 256 + s2) * 256 + s1) * 256 + s0 of signed bytes, modulo 2 to the power of 32
    EXPECT_EQ(ValueOf("\x80"
                      "BCD"),
              0x44434180U);
    EXPECT_EQ(ValueOf("A\x80"
                      "CD"),
              0x44428041U);
    EXPECT_EQ(ValueOf("AB\x80"
                      "D"),
              0x43804241U);
    EXPECT_EQ(ValueOf("ABC\x80"), 0x80434241U); // nothing above it
    EXPECT_EQ(ValueOf("\xFF\xFF\xFF\xFF"), 0xFEFEFEFFU);
    EXPECT_EQ(ValueOf("\x80\0\0\0"), 0xFFFFFF80U); // runs through all the bytes above
    EXPECT_EQ(ValueOf("\x7F\x7F\x7F\x7F"), 0x7F7F7F7FU);
}

TEST(VQFourCC, TakesANumberInReadingOrder)
{
    EXPECT_TRUE(CVQFourCC(0x41424344UL).Compare(CVQFourCC("ABCD")));

    CVQFourCC oCode;
    oCode.FromDword(0x41424344);
    EXPECT_STREQ(oCode.ToString(), "ABCD");
    EXPECT_EQ(oCode.ToDword(), 0x44434241U); // not the inverse
}

TEST(VQFourCC, TakesANumberAsItIsStored)
{
    CVQFourCC oCode;
    oCode.FromFourCC(0x44434241);
    EXPECT_STREQ(oCode.ToString(), "ABCD");
    EXPECT_EQ(oCode.ToDword(), 0x44434241U); // the inverse
}

TEST(VQFourCC, Keeps32BitsWithoutASign)
{
    EXPECT_EQ(CVQFourCC(0x800000FFUL).ToDword(), 0xFF000080UL);

    CVQFourCC oCode;
    oCode.FromFourCC(0x80000000UL);
    EXPECT_EQ(static_cast<unsigned long>(oCode), 0x80000000UL);

    oCode.FromFourCC(~0UL);
    EXPECT_EQ(oCode.ToDword(), 0xFFFFFFFFUL); // no sign bits above, whatever the width of the type
    oCode.FromDword(~0UL);
    EXPECT_EQ(oCode.ToDword(), 0xFFFFFFFFUL);
}

TEST(VQFourCC, TurnsItsCharactersRound)
{
    CVQFourCC oCode(0x41424344UL);
    oCode.Reverse();
    EXPECT_STREQ(oCode.ToString(), "DCBA");
    EXPECT_EQ(oCode.ToDword(), 0x41424344U);
    oCode.Reverse();
    EXPECT_STREQ(oCode.ToString(), "ABCD");
}

TEST(VQFourCC, ConvertsToNumberAndText)
{
    const CVQFourCC oCode("ABCD");
    const unsigned long nValue = oCode;
    const char* pText = oCode;
    EXPECT_EQ(nValue, 0x44434241U);
    EXPECT_STREQ(pText, "ABCD");
    EXPECT_EQ(pText, oCode.ToString());
}

TEST(VQFourCC, ShowsAndChangesSingleCharacters)
{
    CVQFourCC oCode("ABCD");
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(oCode.GetAt(i), static_cast<char>('A' + i));

    for (int i = 0; i < 4; ++i)
        oCode.SetAt(i, static_cast<char>('w' + i));
    EXPECT_STREQ(oCode.ToString(), "wxyz");

    oCode.SetAt(2, '\0');
    EXPECT_STREQ(oCode.ToString(), "wx");
    oCode.SetAt(3, '\xFF'); // a byte of its own: the one above is not lowered here
    EXPECT_EQ(oCode.ToDword(), 0xFF007877U);
    EXPECT_EQ(oCode.GetAt(3), '\xFF');
}

TEST(VQFourCC, CopiesTheValue)
{
    const CVQFourCC oSource("ABCD");
    const CVQFourCC oCopy(oSource);
    EXPECT_STREQ(oCopy.ToString(), "ABCD");

    CVQFourCC oAssigned("1234");
    const CVQFourCC& oResult = oAssigned = oSource;
    EXPECT_EQ(&oResult, &oAssigned);
    EXPECT_STREQ(oAssigned.ToString(), "ABCD");

    const CVQFourCC& oItself = oAssigned;
    oAssigned = oItself;
    EXPECT_STREQ(oAssigned.ToString(), "ABCD");
}

TEST(VQFourCC, Compares)
{
    EXPECT_TRUE(CVQFourCC("ABCD").Compare(CVQFourCC("ABCD")));
    EXPECT_FALSE(CVQFourCC("ABCD").Compare(CVQFourCC("ABCE")));
    EXPECT_FALSE(CVQFourCC("ABCD").Compare(CVQFourCC("abcd")));
    EXPECT_TRUE(CVQFourCC().Compare(CVQFourCC("\0\0\0\0")));
}

TEST(VQFourCC, HoldsTheValueAndATerminatorBehindTheTable)
{
    const CVQFourCC oCode("ABCD");
    const auto* pObject = reinterpret_cast<const char*>(&oCode);
    EXPECT_EQ(std::memcmp(pObject + sizeof(void*), "ABCD", 5), 0);
}
