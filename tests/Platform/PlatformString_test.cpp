#include <Common/Platform/PlatformString.h>

#include <tests/support/Sanitizer.h>
#include <tests/support/TestLocale.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr char UNTOUCHED = '\xEE';

/// A text in a block of its own, without a byte to spare, so that a checked build sees every step beyond it.
class CBlock
{
public:
    explicit CBlock(const std::string& sText) : CBlock(sText.c_str(), sText.size() + 1) {}

    CBlock(const char* pBytes, std::size_t nBytes) : m_pBytes(new char[nBytes]), m_nBytes(nBytes)
    {
        std::copy_n(pBytes, nBytes, m_pBytes.get());
    }

    static CBlock Untouched(std::size_t nBytes) { return CBlock(std::string(nBytes, UNTOUCHED).c_str(), nBytes); }

    char* Get() const { return m_pBytes.get(); }

    std::string Bytes() const { return {m_pBytes.get(), m_nBytes}; }

private:
    std::unique_ptr<char[]> m_pBytes;
    std::size_t m_nBytes;
};

constexpr int NOT_FOUND = -1;

/// Where a place lies in a text; -1 for null.
int Offset(const char* pText, const char* pPlace)
{
    return pPlace != nullptr ? static_cast<int>(pPlace - pText) : NOT_FOUND;
}

std::string Padded(std::string sText, std::size_t nSize, char nFill)
{
    sText.resize(nSize, nFill);
    return sText;
}

unsigned Packed(const std::string& sCharacter)
{
    unsigned nPacked = 0;
    for (const char nByte : sCharacter)
        nPacked = nPacked << 8 | static_cast<unsigned char>(nByte);
    return nPacked;
}

/// A char as it comes from careless code.
unsigned SignExtended(char nByte)
{
    return static_cast<unsigned>(static_cast<int>(static_cast<signed char>(nByte)));
}
} // namespace

// ------------------------------------------------------------------------------------------------ length and copies

TEST(PlatformString, LengthCountsBytes)
{
    EXPECT_EQ(STR_strlen(""), 0);
    EXPECT_EQ(STR_strlen("abc"), 3);
    EXPECT_EQ(STR_strlen("\xC3\xA4"), 2);
    EXPECT_EQ(STR_strlen(std::string(100000, 'x').c_str()), 100000);
}

TEST(PlatformString, CopiesWithTheTerminator)
{
    for (const std::string sText : {"", "a", "abc", "\xFF\x80\x01"})
    {
        const CBlock oTarget = CBlock::Untouched(sText.size() + 2);
        EXPECT_EQ(STR_strcpy(oTarget.Get(), CBlock(sText).Get()), oTarget.Get());
        EXPECT_EQ(oTarget.Bytes(), sText + '\0' + UNTOUCHED);
    }
}

TEST(PlatformString, AppendsWithTheTerminator)
{
    const CBlock oTarget(Padded(std::string("ab") + '\0', 7, UNTOUCHED).c_str(), 7);
    EXPECT_EQ(STR_strcat(oTarget.Get(), "cd"), oTarget.Get());
    EXPECT_EQ(oTarget.Bytes(), std::string("abcd") + '\0' + UNTOUCHED + UNTOUCHED);
    EXPECT_EQ(STR_strcat(oTarget.Get(), ""), oTarget.Get());
    EXPECT_STREQ(oTarget.Get(), "abcd");
}

TEST(PlatformString, BoundedCopyFillsUpWithZerosAndLeavesAFullTargetOpen)
{
    struct
    {
        std::string sSource;
        unsigned nCount;
        std::string sResult;
    } const aCases[] = {
        {"abc", 0, ""},
        {"abc", 1, "a"},
        {"abc", 3, "abc"},
        {"abc", 4, std::string("abc\0", 4)},
        {"abc", 7, std::string("abc\0\0\0\0", 7)},
        {"", 0, ""},
        {"", 2, std::string("\0\0", 2)},
        {"\xE4\xF6", 1, "\xE4"},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oTarget = CBlock::Untouched(oCase.nCount + 1);
        EXPECT_EQ(STR_strncpy(oTarget.Get(), CBlock(oCase.sSource).Get(), oCase.nCount), oTarget.Get());
        EXPECT_EQ(oTarget.Bytes(), oCase.sResult + UNTOUCHED) << oCase.sSource << ", " << oCase.nCount;
    }
}

TEST(PlatformString, BoundedCopyReadsNoMoreThanTheCount)
{
    const CBlock oSource("abc", 3); // no terminator
    const CBlock oTarget = CBlock::Untouched(3);
    STR_strncpy(oTarget.Get(), oSource.Get(), 3);
    EXPECT_EQ(oTarget.Bytes(), "abc");
}

TEST(PlatformString, BoundedAppendAlwaysTerminates)
{
    struct
    {
        unsigned nCount;
        const char* pResult;
    } const aCases[] = {{0, "ab"}, {1, "abc"}, {2, "abcd"}, {3, "abcde"}, {4, "abcde"}, {UINT_MAX, "abcde"}};

    for (const auto& oCase : aCases)
    {
        const std::size_t nRoom = std::strlen(oCase.pResult) + 1;
        const CBlock oTarget(Padded(std::string("ab") + '\0', nRoom, UNTOUCHED).c_str(), nRoom);
        EXPECT_EQ(STR_strncat(oTarget.Get(), CBlock("cde").Get(), oCase.nCount), oTarget.Get());
        EXPECT_STREQ(oTarget.Get(), oCase.pResult) << oCase.nCount;
    }
}

// ------------------------------------------------------------------------------------------------ comparisons

TEST(PlatformString, ComparesByUnsignedBytes)
{
    struct
    {
        const char* pFirst;
        const char* pSecond;
        int nOrder;
    } const aCases[] = {
        {"", "", 0},        {"a", "", 1},      {"abc", "abc", 0},     {"abc", "abd", -1},    {"abc", "ab", 1},
        {"A", "a", -1},     {"Z", "a", -1},    {"\x7F", "\x80", -1},  {"\xFF", "\x01", 1},   {nullptr, "", 0},
        {nullptr, "a", -1}, {"a", nullptr, 1}, {nullptr, nullptr, 0}, {"a\x80", "a\x7F", 1}, {"abcd", "zzzz", -1},
    };

    for (const auto& oCase : aCases)
    {
        const auto sShown = std::string(oCase.pFirst != nullptr ? oCase.pFirst : "null") + " against " +
                            (oCase.pSecond != nullptr ? oCase.pSecond : "null");
        EXPECT_EQ(STR_strcmp(oCase.pFirst, oCase.pSecond), oCase.nOrder) << sShown;
        EXPECT_EQ(STR_strcmp(oCase.pSecond, oCase.pFirst), -oCase.nOrder) << sShown;
        EXPECT_EQ(STR_strcoll(oCase.pFirst, oCase.pSecond), oCase.nOrder) << sShown << ", collated";
    }
}

TEST(PlatformString, ComparesLettersWithoutCase)
{
    struct
    {
        const char* pFirst;
        const char* pSecond;
        int nOrder;
    } const aCases[] = {
        {"", "", 0},        {"a", "A", 0},       {"ReadMe.TXT", "readme.txt", 0},
        {"abc", "ABD", -1}, {"B", "a", 1},       {"_", "A", -1},
        {"_", "a", -1},     {"[", "a", -1},      {"@", "`", -1},
        {"ab", "A", 1},     {"\xE4", "\xC4", 1}, {nullptr, "", 0},
        {nullptr, "a", -1}, {"a", nullptr, 1},
    };

    for (const auto& oCase : aCases)
    {
        const auto sShown = std::string(oCase.pFirst != nullptr ? oCase.pFirst : "null") + " against " +
                            (oCase.pSecond != nullptr ? oCase.pSecond : "null");
        EXPECT_EQ(STR_stricmp(oCase.pFirst, oCase.pSecond), oCase.nOrder) << sShown;
        EXPECT_EQ(STR_stricmp(oCase.pSecond, oCase.pFirst), -oCase.nOrder) << sShown;
        EXPECT_EQ(STR_stricoll(oCase.pFirst, oCase.pSecond), oCase.nOrder) << sShown << ", collated";
    }
}

namespace
{
char PlainLower(char nByte)
{
    return nByte >= 'A' && nByte <= 'Z' ? static_cast<char>(nByte - 'A' + 'a') : nByte;
}

/// Each pair of bytes below 0x80, within texts that are long enough for every short cut.
void CheckPlainOrder()
{
    for (int i = 1; i < 0x80; ++i)
        for (int j = 1; j < 0x80; ++j)
        {
            const char nFirst = static_cast<char>(i);
            const char nSecond = static_cast<char>(j);
            const std::string sFirst = std::string("SAME text ") + nFirst + " and the Rest of it";
            const std::string sSecond = std::string("same TEXT ") + nSecond + " AND THE rEST OF IT";
            const int nOrder = (PlainLower(nFirst) > PlainLower(nSecond)) - (PlainLower(nFirst) < PlainLower(nSecond));
            EXPECT_EQ(STR_stricmp(sFirst.c_str(), sSecond.c_str()), nOrder) << i << ", " << j;
        }
}
} // namespace

TEST(PlatformString, ComparesEveryPlainCharacterInLowerCase)
{
    CheckPlainOrder();
}

// ------------------------------------------------------------------------------------------------ changes in place

TEST(PlatformString, ChangesTheCaseOfPlainLettersOnly)
{
    std::string sAll;
    for (int i = 1; i <= UCHAR_MAX; ++i)
        sAll += static_cast<char>(i);
    std::string sLower = sAll;
    std::string sUpper = sAll;
    for (char nLetter = 'a'; nLetter <= 'z'; ++nLetter)
    {
        std::replace(sLower.begin(), sLower.end(), static_cast<char>(nLetter - 'a' + 'A'), nLetter);
        std::replace(sUpper.begin(), sUpper.end(), nLetter, static_cast<char>(nLetter - 'a' + 'A'));
    }

    const CBlock oLower(sAll);
    EXPECT_EQ(STR_strlwr(oLower.Get()), oLower.Get());
    EXPECT_STREQ(oLower.Get(), sLower.c_str());

    const CBlock oUpper(sAll);
    EXPECT_EQ(STR_strupr(oUpper.Get()), oUpper.Get());
    EXPECT_STREQ(oUpper.Get(), sUpper.c_str());

    const CBlock oEmpty("");
    EXPECT_STREQ(STR_strlwr(oEmpty.Get()), "");
    EXPECT_STREQ(STR_strupr(oEmpty.Get()), "");
}

TEST(PlatformString, ReversesInPlace)
{
    struct
    {
        const char* pText;
        const char* pReversed;
    } const aCases[] = {{"", ""}, {"a", "a"}, {"ab", "ba"}, {"abc", "cba"}, {"\xC3\xA4!", "!\xA4\xC3"}};

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        EXPECT_EQ(STR_strrev(oText.Get()), oText.Get());
        EXPECT_STREQ(oText.Get(), oCase.pReversed);
    }
}

// ------------------------------------------------------------------------------------------------ searches

TEST(PlatformString, FindsCharacters)
{
    struct
    {
        const char* pText;
        unsigned nCharacter;
        int nFirst;
        int nLast;
    } const aCases[] = {
        {"", 'a', NOT_FOUND, NOT_FOUND},
        {"", 0, 0, 0},
        {"abcabc", 'a', 0, 3},
        {"abcabc", 'c', 2, 5},
        {"abcabc", 'x', NOT_FOUND, NOT_FOUND},
        {"abc", 0, 3, 3},
        {"a\xE4"
         "b\xE4",
         0xE4, 1, 3},
        {"a\xE4"
         "b\xE4",
         SignExtended('\xE4'), 1, 3},
        {"\xFF", SignExtended('\xFF'), 0, 0},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        EXPECT_EQ(Offset(oText.Get(), STR_strchr(oText.Get(), oCase.nCharacter)), oCase.nFirst)
            << oCase.pText << ", " << oCase.nCharacter;
        EXPECT_EQ(Offset(oText.Get(), STR_strrchr(oText.Get(), oCase.nCharacter)), oCase.nLast)
            << oCase.pText << ", " << oCase.nCharacter;
    }
}

TEST(PlatformString, FindsTexts)
{
    struct
    {
        const char* pText;
        const char* pSearched;
        int nFound;
    } const aCases[] = {
        {"", "", 0},       {"abc", "", 0},        {"", "a", NOT_FOUND},       {"abc", "abc", 0},
        {"abc", "bc", 1},  {"aab", "ab", 1},      {"abc", "abcd", NOT_FOUND}, {"ababac", "abac", 2},
        {"aaaa", "aa", 0}, {"x\xE4y", "\xE4", 1}, {"abc", "B", NOT_FOUND},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        EXPECT_EQ(Offset(oText.Get(), STR_strstr(oText.Get(), oCase.pSearched)), oCase.nFound)
            << oCase.pText << ", " << oCase.pSearched;
    }
}

TEST(PlatformString, FindsTheFirstOfASet)
{
    struct
    {
        const char* pText;
        const char* pSet;
        int nFound;
    } const aCases[] = {
        {"", "", NOT_FOUND}, {"", "a", NOT_FOUND},      {"abc", "", NOT_FOUND}, {"abc", "cb", 1},
        {"abc", "a", 0},     {"abc", "xyz", NOT_FOUND}, {"a\xE4", "\xE4", 1},   {"a/b\\c", "\\/", 1},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        EXPECT_EQ(Offset(oText.Get(), STR_strpbrk(oText.Get(), oCase.pSet)), oCase.nFound)
            << oCase.pText << ", " << oCase.pSet;
    }
}

TEST(PlatformString, ReverseSearchNeverExaminesTheFirstCharacter)
{
    struct
    {
        const char* pText;
        const char* pSet;
        int nFound;
    } const aCases[] = {
        {"a,b", ",", 1},
        {",ab", ",", NOT_FOUND},
        {",", ",", NOT_FOUND},
        {"", ",", NOT_FOUND},
        {"", "", NOT_FOUND},
        {"a,", ",", 1},
        {",,", ",", 1},
        {"a,b;c", ";,", 3},
        {"abc", "", NOT_FOUND},
        {"abc", "x", NOT_FOUND},
        {"a\xE4z", "\xE4", 1}, // the byte comes to the search sign-extended
        {"\xE4z", "\xE4", NOT_FOUND},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        EXPECT_EQ(Offset(oText.Get(), STR_strrpbrk(oText.Get(), oCase.pSet)), oCase.nFound)
            << oCase.pText << ", " << oCase.pSet;
    }
    EXPECT_EQ(STR_strrpbrk(nullptr, ","), nullptr);
}

// ------------------------------------------------------------------------------------------------ steps and tokens

TEST(PlatformString, StepsByBytesInAPlainLocale)
{
    const CBlock oText("a\xC3\xA4");
    const char* pText = oText.Get();
    EXPECT_EQ(STR_strinc(pText), pText + 1);
    EXPECT_EQ(STR_strinc(pText + 1), pText + 2);
    EXPECT_EQ(STR_strinc(pText + 3), pText + 4); // behind the terminator, not read

    EXPECT_EQ(STR_strdec(pText, pText + 3), pText + 2);
    EXPECT_EQ(STR_strdec(pText, pText + 1), pText);
    EXPECT_EQ(STR_strdec(pText, pText), nullptr);
    EXPECT_EQ(STR_strdec(pText + 1, pText), nullptr);
    EXPECT_EQ(STR_strdec(pText + 2, pText + 1), nullptr);
}

TEST(PlatformString, TakesATextApartAtDelimiters)
{
    struct
    {
        const char* pText;
        const char* pDelimiters;
        std::vector<std::string> oTokens;
    } const aCases[] = {
        {"", ",", {}},
        {",,", ",", {}},
        {"a", ",", {"a"}},
        {"a,b", ",", {"a", "b"}},
        {",,a,,b,,", ",", {"a", "b"}},
        {"a b\tc", " \t", {"a", "b", "c"}},
        {"a,b", "", {"a,b"}},
        {"\xE4-\xF6", "-", {"\xE4", "\xF6"}},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        std::vector<std::string> oTokens;
        for (char* p = STR_strtok(oText.Get(), oCase.pDelimiters); p != nullptr;
             p = STR_strtok(nullptr, oCase.pDelimiters))
            oTokens.emplace_back(p);
        EXPECT_EQ(oTokens, oCase.oTokens) << oCase.pText;
        EXPECT_EQ(STR_strtok(nullptr, oCase.pDelimiters), nullptr);
    }
}

TEST(PlatformString, TokenDelimitersMayDifferFromCallToCall)
{
    const CBlock oText("key=a;b\nrest");
    EXPECT_STREQ(STR_strtok(oText.Get(), "="), "key");
    EXPECT_STREQ(STR_strtok(nullptr, ";"), "a");
    EXPECT_STREQ(STR_strtok(nullptr, "\n"), "b");
    EXPECT_STREQ(STR_strtok(nullptr, ""), "rest");
    EXPECT_EQ(STR_strtok(nullptr, ""), nullptr);
    EXPECT_EQ(std::memcmp(oText.Get(), "key\0a\0b\0rest", 13), 0);
}

TEST(PlatformString, TokensAreKeptForEachThread)
{
    const CBlock oMine("one two three");
    EXPECT_STREQ(STR_strtok(oMine.Get(), " "), "one");

    std::vector<std::string> oOthers;
    char* pBefore = oMine.Get();
    std::thread(
        [&]
        {
            pBefore = STR_strtok(nullptr, " "); // this thread never gave a text
            const CBlock oTheirs("x y");
            for (char* p = STR_strtok(oTheirs.Get(), " "); p != nullptr; p = STR_strtok(nullptr, " "))
                oOthers.emplace_back(p);
        })
        .join();

    EXPECT_EQ(pBefore, nullptr);
    EXPECT_EQ(oOthers, (std::vector<std::string>{"x", "y"}));
    EXPECT_STREQ(STR_strtok(nullptr, " "), "two");
    EXPECT_STREQ(STR_strtok(nullptr, " "), "three");
    EXPECT_EQ(STR_strtok(nullptr, " "), nullptr);
}

TEST(PlatformString, WhiteSpaceIsOneOrZeroForEveryChar)
{
    for (int i = SCHAR_MIN; i <= UCHAR_MAX; ++i)
    {
        const bool bSpace = i == ' ' || (i >= '\t' && i <= '\r');
        EXPECT_EQ(STR_isspace(static_cast<unsigned>(i)), bSpace ? 1 : 0) << i;
    }
    for (const unsigned nCharacter : {0x100U, 0x120U, 0x2020U, 0x8140U, 0xC2A0U, 0x20202020U, 0x7FFFFFFFU, 0x80000020U})
        EXPECT_EQ(STR_isspace(nCharacter), 0) << nCharacter;
}

// ------------------------------------------------------------------------------------------------ reading numbers

TEST(PlatformString, ReadsWholeNumbersOf32BitsEverywhere)
{
    struct
    {
        const char* pText;
        int nBase;
        long nValue;
        unsigned long nUnsigned;
        int nRead; // bytes
        bool bTooLarge;
        bool bUnsignedTooLarge;
    } const aCases[] = {
        {"", 10, 0, 0, 0, false, false},
        {"0", 10, 0, 0, 1, false, false},
        {"123", 10, 123, 123, 3, false, false},
        {"-123", 10, -123, 4294967173UL, 4, false, false},
        {"+7", 10, 7, 7, 2, false, false},
        {" \t\n\v\f\r42x", 10, 42, 42, 8, false, false},
        {"- 1", 10, 0, 0, 0, false, false},
        {"-", 10, 0, 0, 0, false, false},
        {"--1", 10, 0, 0, 0, false, false},
        {"x", 10, 0, 0, 0, false, false},
        {"2147483647", 10, 2147483647L, 2147483647UL, 10, false, false},
        {"2147483648", 10, 2147483647L, 2147483648UL, 10, true, false},
        {"-2147483648", 10, -2147483647L - 1, 2147483648UL, 11, false, false},
        {"-2147483649", 10, -2147483647L - 1, 2147483647UL, 11, true, false},
        {"4294967295", 10, 2147483647L, 4294967295UL, 10, true, false},
        {"4294967296", 10, 2147483647L, 4294967295UL, 10, true, true},
        {"-1", 10, -1, 4294967295UL, 2, false, false},
        {"-4294967295", 10, -2147483647L - 1, 1, 11, true, false},
        {"-4294967296", 10, -2147483647L - 1, 4294967295UL, 11, true, true},
        {"99999999999999999999999999", 10, 2147483647L, 4294967295UL, 26, true, true},
        {"-99999999999999999999999999;", 10, -2147483647L - 1, 4294967295UL, 27, true, true},
        {"0x1F", 16, 31, 31, 4, false, false},
        {"1f", 16, 31, 31, 2, false, false},
        {"0X7fffffff", 0, 2147483647L, 2147483647UL, 10, false, false},
        {"0xFFFFFFFF", 0, 2147483647L, 4294967295UL, 10, true, false},
        {"-0x10", 0, -16, 4294967280UL, 5, false, false},
        {"0x", 16, 0, 0, 1, false, false},
        {"0x", 0, 0, 0, 1, false, false},
        {"0xg", 16, 0, 0, 1, false, false},
        {"0x5", 10, 0, 0, 1, false, false},
        {"017", 0, 15, 15, 3, false, false},
        {"08", 0, 0, 0, 1, false, false},
        {"0", 0, 0, 0, 1, false, false},
        {"10", 2, 2, 2, 2, false, false},
        {"102", 2, 2, 2, 2, false, false},
        {"zz", 36, 1295, 1295, 2, false, false},
        {"Zz!", 36, 1295, 1295, 2, false, false},
        {"0b11", 2, 0, 0, 1, false, false},
        {"1,000", 10, 1, 1, 1, false, false},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        char* pEnd = nullptr;
        errno = 0;
        EXPECT_EQ(STR_strtol(oText.Get(), &pEnd, oCase.nBase), oCase.nValue) << oCase.pText << ", " << oCase.nBase;
        EXPECT_EQ(errno, oCase.bTooLarge ? ERANGE : 0) << oCase.pText;
        EXPECT_EQ(Offset(oText.Get(), pEnd), oCase.nRead) << oCase.pText << ", " << oCase.nBase;

        errno = 0;
        EXPECT_EQ(STR_strtoul(oText.Get(), &pEnd, oCase.nBase), oCase.nUnsigned) << oCase.pText << ", " << oCase.nBase;
        EXPECT_EQ(errno, oCase.bUnsignedTooLarge ? ERANGE : 0) << oCase.pText;
        EXPECT_EQ(Offset(oText.Get(), pEnd), oCase.nRead) << oCase.pText << ", " << oCase.nBase;

        EXPECT_EQ(STR_strtol(oText.Get(), nullptr, oCase.nBase), oCase.nValue);
        EXPECT_EQ(STR_strtoul(oText.Get(), nullptr, oCase.nBase), oCase.nUnsigned);
    }
}

TEST(PlatformString, RefusesABaseThatIsNone)
{
    for (const int nBase : {-1, 1, 37, INT_MIN, INT_MAX})
    {
        const char* pText = "1";
        char* pEnd = nullptr;
        errno = 0;
        EXPECT_EQ(STR_strtol(pText, &pEnd, nBase), 0);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(pEnd, pText);
        errno = 0;
        EXPECT_EQ(STR_strtoul(pText, nullptr, nBase), 0UL);
        EXPECT_EQ(errno, EINVAL);
    }
}

TEST(PlatformString, ReadsFloatingPointNumbersToTheLastBit)
{
    struct
    {
        const char* pText;
        std::uint64_t nBits;
        int nRead;
    } const aCases[] = {
        {"", 0, 0},
        {"x", 0, 0},
        {".", 0, 0},
        {"e5", 0, 0},
        {"0", 0, 1},
        {"-0", 0x8000000000000000, 2},
        {"1", 0x3FF0000000000000, 1},
        {"+1.5", 0x3FF8000000000000, 4},
        {" \t\n-2.25rest", 0xC002000000000000, 8},
        {"1.", 0x3FF0000000000000, 2},
        {".5", 0x3FE0000000000000, 2},
        {"1e", 0x3FF0000000000000, 1},
        {"1e+", 0x3FF0000000000000, 1},
        {"1e3", 0x408F400000000000, 3},
        {"1E-3", 0x3F50624DD2F1A9FC, 4},
        {"0.1", 0x3FB999999999999A, 3},
        {"0.3", 0x3FD3333333333333, 3},
        {"3.14159265358979323846", 0x400921FB54442D18, 22},
        {"9007199254740993", 0x4340000000000000, 16}, // half way: to the even one
        {"9007199254740995", 0x4340000000000002, 16},
        {"9007199254740993.0000000000000000000001", 0x4340000000000001, 39},
        {"1.00000000000000011102230246251565404", 0x3FF0000000000000, 37}, // just below half way
        {"1.00000000000000011102230246251565405", 0x3FF0000000000001, 37}, // just above
        {"1.7976931348623157e308", 0x7FEFFFFFFFFFFFFF, 22},
        {"1.7976931348623159e308", 0x7FF0000000000000, 22},
        {"2.2250738585072014e-308", 0x0010000000000000, 23},
        {"2.2250738585072011e-308", 0x000FFFFFFFFFFFFF, 23},
        {"4.9406564584124654e-324", 0x0000000000000001, 23},
        {"2.4703282292062327e-324", 0x0000000000000000, 23},
        {"2.4703282292062328e-324", 0x0000000000000001, 23},
        {"1e-400", 0, 6},
        {"1e400", 0x7FF0000000000000, 5},
        {"-1e400", 0xFFF0000000000000, 6},
        {"0x1p0", 0x3FF0000000000000, 5},
        {"0x1.8p1", 0x4008000000000000, 7},
        {"-0X.8P-1", 0xBFD0000000000000, 8},
        {"0x1.fffffffffffff8p0", 0x4000000000000000, 20},
        {"0x1p-1074", 0x0000000000000001, 9},
        {"0xA", 0x4024000000000000, 3},
        {"inf", 0x7FF0000000000000, 3},
        {"INFINITY", 0x7FF0000000000000, 8},
        {"-Infinit", 0xFFF0000000000000, 4},
        {"in", 0, 0},
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        char* pEnd = nullptr;
        const double dValue = STR_strtod(oText.Get(), &pEnd);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(dValue), oCase.nBits) << oCase.pText << " read as " << dValue;
        EXPECT_EQ(Offset(oText.Get(), pEnd), oCase.nRead) << oCase.pText;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(STR_strtod(oText.Get(), nullptr)), oCase.nBits) << oCase.pText;
    }
}

TEST(PlatformString, ReadsNotANumber)
{
    struct
    {
        const char* pText;
        int nRead;
    } const aCases[] = {{"nan", 3}, {"NaN", 3}, {"-nan", 4}, {"nan(", 3}, {"nano", 3}};

    for (const auto& oCase : aCases)
    {
        const CBlock oText(oCase.pText);
        char* pEnd = nullptr;
        EXPECT_TRUE(std::isnan(STR_strtod(oText.Get(), &pEnd))) << oCase.pText;
        EXPECT_EQ(Offset(oText.Get(), pEnd), oCase.nRead) << oCase.pText;
    }
}

TEST(PlatformString, TellsNumbersThatAreTooLargeForADouble)
{
    errno = 0;
    EXPECT_EQ(STR_strtod("1e999", nullptr), HUGE_VAL);
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    EXPECT_EQ(STR_strtod("-1e999", nullptr), -HUGE_VAL);
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    EXPECT_EQ(STR_strtod("1e308", nullptr), 1e308);
    EXPECT_EQ(errno, 0);
}

// ------------------------------------------------------------------------------------------------ formatting

namespace
{
template <class... Arguments>
std::string Formatted(const char* pFormat, Arguments... oArguments)
{
    std::array<char, 1024> aText;
    const int nLength = STR_snprintf(aText.data(), static_cast<unsigned>(aText.size()), pFormat, oArguments...);
    const std::string sBounded(aText.data());
    EXPECT_EQ(nLength, static_cast<int>(sBounded.size())) << pFormat;

    aText.fill(UNTOUCHED);
    EXPECT_EQ(STR_sprintf(aText.data(), pFormat, oArguments...), nLength) << pFormat;
    EXPECT_EQ(aText.data(), sBounded) << pFormat;
    return sBounded;
}

int FormattedFromList(bool bBounded, char* pTarget, unsigned nSize, const char* pFormat, ...)
    COMMON_PRINTF_FORMAT(4, 5);

int FormattedFromList(bool bBounded, char* pTarget, unsigned nSize, const char* pFormat, ...)
{
    va_list pArguments;
    va_start(pArguments, pFormat);
    const int nResult =
        bBounded ? STR_vsnprintf(pTarget, nSize, pFormat, pArguments) : STR_vsprintf(pTarget, pFormat, pArguments);
    va_end(pArguments);
    return nResult;
}
} // namespace

TEST(PlatformString, BoundedFormattingTerminatesOnlyWhatIsShorterThanTheBuffer)
{
    const std::string sText = "0123456789";
    for (unsigned nSize = 0; nSize <= 13; ++nSize)
    {
        const int nExpected = nSize >= sText.size() ? static_cast<int>(sText.size()) : -1;
        const std::string sExpected =
            nSize > sText.size() ? Padded(sText + '\0', nSize, UNTOUCHED) : sText.substr(0, nSize);

        const CBlock oTarget = CBlock::Untouched(nSize);
        EXPECT_EQ(STR_snprintf(oTarget.Get(), nSize, "%s%d", "01234", 56789), nExpected) << nSize;
        EXPECT_EQ(oTarget.Bytes(), sExpected) << nSize;

        const CBlock oSecond = CBlock::Untouched(nSize);
        EXPECT_EQ(FormattedFromList(true, oSecond.Get(), nSize, "%s%d", "01234", 56789), nExpected) << nSize;
        EXPECT_EQ(oSecond.Bytes(), sExpected) << nSize;
    }
}

TEST(PlatformString, BoundedFormattingNeedsNoBufferForNoBytes)
{
    EXPECT_EQ(STR_snprintf(nullptr, 0, "%d", 1), -1);
    EXPECT_EQ(STR_snprintf(nullptr, 0, "%s", ""), 0);
}

TEST(PlatformString, BoundedFormattingOfLongTextsEndsWithTheBuffer)
{
    for (const unsigned nSize : {255U, 1023U, 1024U, 1279U, 1280U, 1281U, 4096U, 100000U})
    {
        std::string sText;
        for (unsigned i = 0; sText.size() < nSize + 10; ++i)
            sText += static_cast<char>('a' + i % 26);

        const CBlock oShort = CBlock::Untouched(nSize);
        EXPECT_EQ(STR_snprintf(oShort.Get(), nSize, "%s", sText.c_str()), -1);
        EXPECT_EQ(oShort.Bytes(), sText.substr(0, nSize));

        const CBlock oExact = CBlock::Untouched(nSize);
        EXPECT_EQ(STR_snprintf(oExact.Get(), nSize, "%s", sText.substr(0, nSize).c_str()), static_cast<int>(nSize));
        EXPECT_EQ(oExact.Bytes(), sText.substr(0, nSize));
    }
}

TEST(PlatformString, BoundedFormattingTakesAnyClaimedSize)
{
    std::array<char, 8> aText;
    EXPECT_EQ(STR_snprintf(aText.data(), UINT_MAX, "%s", "abc"), 3);
    EXPECT_STREQ(aText.data(), "abc");
    EXPECT_EQ(STR_snprintf(aText.data(), static_cast<unsigned>(INT_MAX) + 1, "%d", 12), 2);
    EXPECT_STREQ(aText.data(), "12");
}

TEST(PlatformString, BoundedFormattingOfWhatHasNoTextIsEmpty)
{
    // The "C" locale has no bytes for this character.
    std::array<char, 8> aText;
    if (std::snprintf(aText.data(), aText.size(), "ab%ls", L"\x4E00") >= 0)
        GTEST_SKIP() << "this runtime library leaves out wide characters that have no bytes";

    const CBlock oShort = CBlock::Untouched(8);
    EXPECT_EQ(STR_snprintf(oShort.Get(), 8, "ab%ls", L"\x4E00"), -1);
    EXPECT_EQ(oShort.Bytes(), std::string("\0", 1) + std::string(7, UNTOUCHED));

    const CBlock oLong = CBlock::Untouched(5000);
    EXPECT_EQ(STR_snprintf(oLong.Get(), 5000, "ab%ls", L"\x4E00"), -1);
    EXPECT_EQ(oLong.Get()[0], '\0');
}

TEST(PlatformString, UnboundedFormattingTakesAList)
{
    std::array<char, 32> aText;
    EXPECT_EQ(FormattedFromList(false, aText.data(), 0, "%s-%04d", "ab", 7), 7);
    EXPECT_STREQ(aText.data(), "ab-0007");
}

TEST(PlatformString, FormatsWholeNumbers)
{
    EXPECT_EQ(Formatted("%d %i", -1, 2147483647), "-1 2147483647");
    EXPECT_EQ(Formatted("%u %x %X %o", 4294967295U, 48879U, 48879U, 8U), "4294967295 beef BEEF 10");
    EXPECT_EQ(Formatted("%#x %#o %+d % d", 255U, 8U, 5, 5), "0xff 010 +5  5");
    EXPECT_EQ(Formatted("[%5d] [%-5d] [%05d] [%.3d] [%*d]", 42, 42, 42, 42, 4, 42),
              "[   42] [42   ] [00042] [042] [  42]");
    EXPECT_EQ(Formatted("%ld %lu", -2147483647L - 1, 4294967295UL), "-2147483648 4294967295");
    EXPECT_EQ(Formatted("%lld %llu %llx", LLONG_MIN, ULLONG_MAX, 0x123456789ABCDEFULL),
              "-9223372036854775808 18446744073709551615 123456789abcdef");
    EXPECT_EQ(Formatted("%zu %td %jd", std::size_t{4000000000U}, std::ptrdiff_t{-5}, std::intmax_t{-6}),
              "4000000000 -5 -6");
    EXPECT_EQ(Formatted("%hhd %hd %hhu", 257, 65537, 511U), "1 1 255");
}

TEST(PlatformString, FormatsTexts)
{
    EXPECT_EQ(Formatted("%s|%5s|%-5s|%.2s|%.*s|%c%%", "abc", "de", "fg", "hijk", 1, "xyz", 'q'),
              "abc|   de|fg   |hi|x|q%");
    EXPECT_EQ(Formatted("%.3s", CBlock("abc", 3).Get()), "abc"); // reads no more than the precision
}

TEST(PlatformString, FormatsFloatingPointNumbersTheSameEverywhere)
{
    struct
    {
        const char* pFormat;
        double dValue;
        const char* pText;
    } const aCases[] = {
        {"%f", 0.0, "0.000000"},
        {"%f", -0.0, "-0.000000"},
        {"%f", 1.5, "1.500000"},
        {"%.0f", 0.5, "0"}, // exact ties go to the even digit
        {"%.0f", 1.5, "2"},
        {"%.0f", 2.5, "2"},
        {"%.1f", 0.25, "0.2"},
        {"%.1f", 0.35, "0.3"},
        {"%.2f", 1.005, "1.00"},
        {"%.2f", 2.675, "2.67"},
        {"%.3f", 1234567.8915, "1234567.891"},
        {"%.20f", 0.1, "0.10000000000000000555"},
        {"%.17g", 0.1, "0.10000000000000001"},
        {"%.15g", 0.1, "0.1"},
        {"%e", 0.0, "0.000000e+00"},
        {"%e", 12345.678, "1.234568e+04"},
        {"%e", 1e100, "1.000000e+100"},
        {"%E", 1e-5, "1.000000E-05"},
        {"%.0e", 15.0, "2e+01"},
        {"%#.0e", 15.0, "2.e+01"},
        {"%g", 100000.0, "100000"},
        {"%g", 1000000.0, "1e+06"},
        {"%g", 0.0001, "0.0001"},
        {"%g", 0.00001, "1e-05"},
        {"%G", 1e-10, "1E-10"},
        {"%#g", 1.0, "1.00000"},
        {"%.3g", 1234.5, "1.23e+03"},
        {"%8.3f|", 3.14159, "   3.142|"},
        {"%-8.3f|", 3.14159, "3.142   |"},
        {"%08.3f", -3.14159, "-003.142"},
        {"%+.1f", 2.0, "+2.0"},
        {"%.17g", DBL_MAX, "1.7976931348623157e+308"},
        {"%.17g", DBL_MIN, "2.2250738585072014e-308"},
        {"%.17g", 4.9406564584124654e-324, "4.9406564584124654e-324"},
        {"%.25g", 9007199254740993.0, "9007199254740992"},
        {"%f", 1e22, "10000000000000000000000.000000"},
        {"%.0f", 1e23, "99999999999999991611392"},
        {"%f", HUGE_VAL, "inf"},
        {"%F", -HUGE_VAL, "-INF"},
        {"%e", HUGE_VAL, "inf"},
        {"%g", -HUGE_VAL, "-inf"},
        {"%5.1f|", HUGE_VAL, "  inf|"},
        {"%f", std::numeric_limits<double>::quiet_NaN(), "nan"},
        {"%G", std::numeric_limits<double>::quiet_NaN(), "NAN"},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(Formatted(oCase.pFormat, oCase.dValue), oCase.pText) << oCase.pFormat;

    EXPECT_EQ(Formatted("%.0f", DBL_MAX),
              "17976931348623157081452742373170435679807056752584499659891747680315726078002853"
              "87605895586327668781715404589535143824642343213268894641827684675467035375169860"
              "49910576551282076245490090389328944075868508455133942304583236903222948165808559"
              "332123348274797826204144723168738177180919299881250404026184124858368");
}

TEST(PlatformString, FormattedDoublesReadBackAsThemselves)
{
    std::mt19937_64 oRandom(7);
    for (int i = 0; i < 2000; ++i)
    {
        const auto dValue = std::bit_cast<double>(oRandom());
        if (!std::isfinite(dValue))
            continue;
        const std::string sText = Formatted("%.17g", dValue);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(STR_strtod(sText.c_str(), nullptr)),
                  std::bit_cast<std::uint64_t>(dValue))
            << sText;
    }
}

// ------------------------------------------------------------------------------------------------ characters

// A text is made of characters that are known beforehand, and every function is held against what the list of
// characters says.

namespace
{
using Characters = std::vector<std::string>;

struct Language
{
    eTestText eText;
    const char* pName;
    Characters oCharacters; // whatever follows one of them, it stays a character of its own
};

std::string Join(const Characters& oCharacters)
{
    std::string sText;
    for (const auto& sCharacter : oCharacters)
        sText += sCharacter;
    return sText;
}

/// Offsets of all characters and of the end.
std::vector<int> Starts(const Characters& oCharacters)
{
    std::vector<int> oStarts{0};
    for (const auto& sCharacter : oCharacters)
        oStarts.push_back(oStarts.back() + static_cast<int>(sCharacter.size()));
    return oStarts;
}

bool Contains(const Characters& oCharacters, const std::string& sCharacter)
{
    return std::find(oCharacters.begin(), oCharacters.end(), sCharacter) != oCharacters.end();
}

/// The whole characters that fit into a number of bytes.
std::string Prefix(const Characters& oCharacters, std::size_t nBytes)
{
    std::string sText;
    for (const auto& sCharacter : oCharacters)
    {
        if (sText.size() + sCharacter.size() > nBytes)
            break;
        sText += sCharacter;
    }
    return sText;
}

Characters Draw(const Characters& oAlphabet, std::size_t nLongest, std::mt19937& oRandom)
{
    Characters oDrawn(oRandom() % (nLongest + 1));
    for (auto& sCharacter : oDrawn)
        sCharacter = oAlphabet[oRandom() % oAlphabet.size()];
    return oDrawn;
}

void CheckSteps(const Characters& oText)
{
    const CBlock oBlock(Join(oText));
    const char* pText = oBlock.Get();
    const auto oStarts = Starts(oText);

    for (std::size_t i = 0; i + 1 < oStarts.size(); ++i)
        EXPECT_EQ(Offset(pText, STR_strinc(pText + oStarts[i])), oStarts[i + 1]);

    EXPECT_EQ(STR_strdec(pText, pText), nullptr);
    for (int nPlace = 1; nPlace <= oStarts.back(); ++nPlace)
    {
        const auto itNext = std::lower_bound(oStarts.begin(), oStarts.end(), nPlace);
        EXPECT_EQ(Offset(pText, STR_strdec(pText, pText + nPlace)), *(itNext - 1)) << nPlace;
    }
}

void CheckCharacterSearch(const Characters& oText, const Characters& oAlphabet)
{
    const CBlock oBlock(Join(oText));
    const char* pText = oBlock.Get();
    const auto oStarts = Starts(oText);

    EXPECT_EQ(Offset(pText, STR_strchr(pText, 0)), oStarts.back());
    EXPECT_EQ(Offset(pText, STR_strrchr(pText, 0)), oStarts.back());
    for (const auto& sCharacter : oAlphabet)
    {
        int nFirst = NOT_FOUND;
        int nLast = NOT_FOUND;
        for (std::size_t i = 0; i < oText.size(); ++i)
            if (oText[i] == sCharacter)
            {
                nFirst = nFirst == NOT_FOUND ? oStarts[i] : nFirst;
                nLast = oStarts[i];
            }
        EXPECT_EQ(Offset(pText, STR_strchr(pText, Packed(sCharacter))), nFirst) << sCharacter;
        EXPECT_EQ(Offset(pText, STR_strrchr(pText, Packed(sCharacter))), nLast) << sCharacter;
    }
}

void CheckTextSearch(const Characters& oText, const Characters& oSearched)
{
    const CBlock oBlock(Join(oText));
    const auto it = std::search(oText.begin(), oText.end(), oSearched.begin(), oSearched.end());
    const bool bFound = it != oText.end() || oSearched.empty();
    const int nExpected = bFound ? Starts(oText)[static_cast<std::size_t>(it - oText.begin())] : NOT_FOUND;
    EXPECT_EQ(Offset(oBlock.Get(), STR_strstr(oBlock.Get(), CBlock(Join(oSearched)).Get())), nExpected)
        << Join(oSearched);
}

void CheckSetSearch(const Characters& oText, const Characters& oSet)
{
    const CBlock oBlock(Join(oText));
    const CBlock oSetBlock(Join(oSet));
    char* pText = oBlock.Get();

    int nExpected = NOT_FOUND;
    for (std::size_t i = 0; i < oText.size() && nExpected == NOT_FOUND; ++i)
        if (Contains(oSet, oText[i]))
            nExpected = Starts(oText)[i];
    EXPECT_EQ(Offset(pText, STR_strpbrk(pText, oSetBlock.Get())), nExpected) << Join(oSet);

    // The reverse search, step by step.
    int nLast = NOT_FOUND;
    for (const char* p = pText + STR_strlen(pText) - 1; !oText.empty() && p != nullptr && p != pText;
         p = STR_strdec(pText, p))
        if (STR_strchr(oSetBlock.Get(), SignExtended(*p)) != nullptr)
        {
            nLast = Offset(pText, p);
            break;
        }
    EXPECT_EQ(Offset(pText, STR_strrpbrk(pText, oSetBlock.Get())), nLast) << Join(oSet);
}

void CheckTokens(const Characters& oText, const Characters& oDelimiters)
{
    std::vector<std::string> oExpected;
    bool bInToken = false;
    for (const auto& sCharacter : oText)
    {
        const bool bDelimiter = Contains(oDelimiters, sCharacter);
        if (!bDelimiter && !bInToken)
            oExpected.emplace_back();
        if (!bDelimiter)
            oExpected.back() += sCharacter;
        bInToken = !bDelimiter;
    }

    const CBlock oBlock(Join(oText));
    const CBlock oDelimiterBlock(Join(oDelimiters));
    std::vector<std::string> oTokens;
    for (char* p = STR_strtok(oBlock.Get(), oDelimiterBlock.Get()); p != nullptr;
         p = STR_strtok(nullptr, oDelimiterBlock.Get()))
        oTokens.emplace_back(p);
    EXPECT_EQ(oTokens, oExpected) << Join(oDelimiters);
}

void CheckReverse(const Characters& oText)
{
    const CBlock oBlock(Join(oText));
    EXPECT_EQ(STR_strrev(oBlock.Get()), oBlock.Get());
    EXPECT_EQ(std::string(oBlock.Get()), Join(Characters(oText.rbegin(), oText.rend())));
}

void CheckBoundedCopies(const Characters& oText)
{
    const std::string sText = Join(oText);
    for (std::size_t nCount = 0; nCount <= sText.size() + 2; ++nCount)
    {
        const CBlock oSource(sText.c_str(), std::min(nCount, sText.size() + 1));
        const CBlock oTarget = CBlock::Untouched(nCount);
        STR_strncpy(oTarget.Get(), oSource.Get(), static_cast<unsigned>(nCount));
        EXPECT_EQ(oTarget.Bytes(), Padded(Prefix(oText, nCount), nCount, '\0')) << nCount;

        const std::string sAppended = ">" + Prefix(oText, nCount);
        const CBlock oLonger(Padded(std::string(">") + '\0', sAppended.size() + 1, UNTOUCHED).c_str(),
                             sAppended.size() + 1);
        STR_strncat(oLonger.Get(), oSource.Get(), static_cast<unsigned>(nCount));
        EXPECT_EQ(oLonger.Bytes(), sAppended + '\0') << nCount;
    }
}

void CheckLanguage(const Language& oLanguage)
{
    std::mt19937 oRandom(42);
    for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i)
    {
        const Characters oText = Draw(oLanguage.oCharacters, 12, oRandom);
        SCOPED_TRACE(testing::PrintToString(Join(oText)));

        CheckSteps(oText);
        CheckCharacterSearch(oText, oLanguage.oCharacters);
        CheckTextSearch(oText, Draw(oLanguage.oCharacters, 2, oRandom));
        const std::size_t nFrom = oRandom() % (oText.size() + 1);
        CheckTextSearch(oText, Characters(oText.begin() + static_cast<std::ptrdiff_t>(nFrom), oText.end()));
        CheckSetSearch(oText, Draw(oLanguage.oCharacters, 3, oRandom));
        CheckTokens(oText, Draw(oLanguage.oCharacters, 3, oRandom));
        CheckReverse(oText);
        CheckBoundedCopies(oText);
    }
}

class IsolatedPlatformStringCharacters : public testing::TestWithParam<Language>
{
};
} // namespace

TEST_P(IsolatedPlatformStringCharacters, StayWhole)
{
    CTestLocale oLocale(GetParam().eText);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();
    CheckLanguage(GetParam());
}

// A lone byte that can lead nothing is a character as well. 5C is the backslash, 2C the comma.
INSTANTIATE_TEST_SUITE_P(
    Languages, IsolatedPlatformStringCharacters,
    testing::Values(
        Language{eTestText::Latin1, "Latin1", {"a", "b", ",", "\\", "\xE4", "\xF6", "\xA0", "\xFF"}},
        Language{eTestText::Utf8,
                 "Utf8",
                 {"a", ",", "\\", "\xC3\xA4", "\xC3\xB6", "\xE6\x97\xA5", "\xE3\x80\x80", "\xF0\x9F\x98\x80", "\xFF",
                  "\xC0", "\xF5"}},
        Language{eTestText::ShiftJis,
                 "ShiftJis",
                 {"a", ",", "\\", "\x82\xA0", "\x83\x5C", "\x95\x5C", "\x81\x40", "\x83\x41", "A", "\xB1", "\xDF"}},
        Language{eTestText::EucJp, "EucJp", {"a", ",", "\\", "\xA4\xA2", "\xA2\xA4", "\x8E\xB1", "\x8F\xB0\xA1"}},
        Language{eTestText::Gbk, "Gbk", {"a", ",", "\\", "\xD6\xD0", "\x81\x40", "\x95\x5C", "\xD0\xD6", "\xD6\x5C"}},
        Language{eTestText::EucKr, "EucKr", {"a", ",", "\\", "\xB0\xA1", "\xA1\xB0", "\xB0\xB0", "\xC7\xD1"}}),
    [](const auto& oInfo) { return oInfo.param.pName; });

TEST(IsolatedPlatformString, BytesOfInvalidUtf8AreCharacters)
{
    CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const Characters aCases[] = {
        {"\x80"},                         // a trail byte alone
        {"a", "\xBF", "b"},               //
        {"\xC3"},                         // a lead byte before the end
        {"\xC3", "a"},                    // and before something else
        {"\xE6", "\x97"},                 // cut off
        {"\xE6", "\x97", "a"},            //
        {"\xF0", "\x9F", "\x98"},         //
        {"\xC0", "\x80"},                 // too long for what it says
        {"\xC1", "\xBF"},                 //
        {"\xE0", "\x9F", "\xBF"},         //
        {"\xF0", "\x8F", "\xBF", "\xBF"}, //
        {"\xED", "\xA0", "\x80"},         // half of a surrogate pair
        {"\xF4", "\x90", "\x80", "\x80"}, // beyond the last character
        {"\xF5", "\x80", "\x80", "\x80"}, //
        {"\xFE", "\xFF"},                 //
        {"\xE6\x97\xA5", "\xA5"},         // one trail byte too many
        {"\xC3", "\xC3\xA4"},             // a lead byte before a character
        {"\xF0\x9F\x98\x80", "\x80", "\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF", "\xED\x9F\xBF", "\xC2\x80", "\xE0\xA0\x80"},
    };

    for (const auto& oText : aCases)
    {
        SCOPED_TRACE(testing::PrintToString(Join(oText)));
        CheckSteps(oText);
        CheckCharacterSearch(oText, oText);
        CheckTextSearch(oText, {oText.back()});
        CheckTextSearch(oText, oText);
        CheckSetSearch(oText, {oText.back()});
        CheckTokens(oText, {oText.back()});
        CheckReverse(Characters{oText[0]});
    }
}

TEST(IsolatedPlatformString, PartsOfCharactersAreNotFound)
{
    CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const CBlock oText("\xC3\xA4\xE6\x97\xA5");
    for (const unsigned nByte : {0xC3U, 0xA4U, 0xE6U, 0x97U, 0xA5U, 0xA4E6U, 0xE697U, 0x97A5U, 0xC300U, 0x61C3A4U})
    {
        EXPECT_EQ(STR_strchr(oText.Get(), nByte), nullptr) << nByte;
        EXPECT_EQ(STR_strrchr(oText.Get(), nByte), nullptr) << nByte;
    }
    for (const char* pPart : {"\xC3", "\xA4", "\xE6\x97", "\x97\xA5", "\xA4\xE6", "\xC3\xA4\xE6", "\xA4\xE6\x97\xA5"})
        EXPECT_EQ(STR_strstr(oText.Get(), pPart), nullptr);
    EXPECT_EQ(Offset(oText.Get(), STR_strstr(oText.Get(), "\xC3\xA4")), 0);
    EXPECT_EQ(Offset(oText.Get(), STR_strchr(oText.Get(), 0xE697A5)), 2);

    // The search goes on behind the part.
    const CBlock oTwice("\xC3\xA4-\xA4");
    EXPECT_EQ(Offset(oTwice.Get(), STR_strstr(oTwice.Get(), "\xA4")), 3);
    EXPECT_EQ(Offset(oTwice.Get(), STR_strchr(oTwice.Get(), 0xA4)), 3);
}

TEST(IsolatedPlatformString, BoundedCopyDropsACharacterThatOnlyBegins)
{
    CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    struct
    {
        std::string sSource;
        unsigned nCount;
        std::string sResult;
    } const aCases[] = {
        {"a\xC3", 2, std::string("a\0", 2)},                 // what follows is beyond the count
        {"a\xC3", 3, std::string("a\xC3\0", 3)},             // the text ends there
        {"\xF0\x9F\x98", 3, std::string("\0\0\0", 3)},       //
        {"\xE6\x97", 2, std::string("\0\0", 2)},             //
        {"\x97\xA5", 2, "\x97\xA5"},                         // bytes that begin nothing
        {"\x80\x80\x80\x80\x80", 5, "\x80\x80\x80\x80\x80"}, //
        {"\xE0\x80", 2, "\xE0\x80"},                         //
        {"\xC3\xA4\xA4", 3, "\xC3\xA4\xA4"},                 //
    };

    for (const auto& oCase : aCases)
    {
        const CBlock oTarget = CBlock::Untouched(oCase.nCount);
        STR_strncpy(oTarget.Get(), CBlock(oCase.sSource).Get(), oCase.nCount);
        EXPECT_EQ(oTarget.Bytes(), oCase.sResult) << testing::PrintToString(oCase.sSource) << ", " << oCase.nCount;
    }
}

TEST(IsolatedPlatformString, ALeadByteBeforeTheTerminatorIsACharacter)
{
    for (const eTestText eText : {eTestText::ShiftJis, eTestText::Gbk, eTestText::EucKr})
    {
        CTestLocale oLocale(eText);
        if (!oLocale.WhyNot().empty())
            GTEST_SKIP() << oLocale.WhyNot();

        const CBlock oText("a\xB0\xA1\xE0");
        const char* pEnd = oText.Get() + 4;
        EXPECT_EQ(STR_strinc(oText.Get() + 3), pEnd);
        EXPECT_EQ(STR_strdec(oText.Get(), pEnd), oText.Get() + 3);
        EXPECT_EQ(STR_strchr(oText.Get(), 0xE000), nullptr);
        EXPECT_EQ(Offset(oText.Get(), STR_strchr(oText.Get(), 0xE0)), 3);
        EXPECT_EQ(Offset(oText.Get(), STR_strstr(oText.Get(), "\xE0")), 3);

        const CBlock oTarget = CBlock::Untouched(4);
        STR_strncpy(oTarget.Get(), oText.Get(), 4);
        EXPECT_EQ(oTarget.Bytes(), std::string("a\xB0\xA1\0", 4));
    }
}

TEST(IsolatedPlatformString, ABackslashInsideACharacterIsNoSeparator)
{
    CTestLocale oLocale(eTestText::ShiftJis);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const CBlock oPath("\x95\x5C\\\x83\x5C.txt"); // two characters that end with 5C around a backslash
    EXPECT_EQ(Offset(oPath.Get(), STR_strchr(oPath.Get(), '\\')), 2);
    EXPECT_EQ(Offset(oPath.Get(), STR_strrchr(oPath.Get(), '\\')), 2);
    EXPECT_EQ(Offset(oPath.Get(), STR_strpbrk(oPath.Get(), "/\\")), 2);
    EXPECT_EQ(Offset(oPath.Get(), STR_strrpbrk(oPath.Get(), "/\\")), 2);
    EXPECT_EQ(Offset(oPath.Get(), STR_strstr(oPath.Get(), "\\\x83\x5C")), 2);
    EXPECT_EQ(STR_strstr(oPath.Get(), "\\."), nullptr);

    // The reverse search begins at the last byte, also where that is the second one of a character.
    const CBlock oText("ab\x95\x5C");
    EXPECT_EQ(Offset(oText.Get(), STR_strrpbrk(oText.Get(), "\\")), 3);
}

TEST(IsolatedPlatformString, CaseFollowsUnicodeInUtf8)
{
    CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const CBlock oLower("Ab\xC3\x84\xCE\xA3\xD0\x96\xFF\xE6\x97\xA5\xF0\x90\x90\x80");
    EXPECT_STREQ(STR_strlwr(oLower.Get()), "ab\xC3\xA4\xCF\x83\xD0\xB6\xFF\xE6\x97\xA5\xF0\x90\x90\xA8");
    EXPECT_STREQ(STR_strupr(oLower.Get()), "AB\xC3\x84\xCE\xA3\xD0\x96\xFF\xE6\x97\xA5\xF0\x90\x90\x80");

    // The other case of the Kelvin sign (3 bytes) is one byte, that of U+023A (2 bytes) has three.
    const CBlock oOtherLength("\xE2\x84\xAA\xC8\xBA");
    EXPECT_STREQ(STR_strlwr(oOtherLength.Get()), "\xE2\x84\xAA\xC8\xBA");

    struct
    {
        const char* pFirst;
        const char* pSecond;
        int nOrder;
    } const aCases[] = {
        {"STRA\xC3\x84", "stra\xC3\xA4", 0},
        {"\xE2\x84\xAA", "k", 0},
        {"\xC8\xBA", "\xE2\xB1\xA5", 0},
        {"\xC3\xA4", "\xC3\xB6", -1},
        {"\xC3\x84", "z", 1},
        {"\xC3\x84", "", 1},
        {"a\xC3\x84", "a", 1},
        {"\xFF", "\xFF", 0},
        {"\xFF", "\xFE", 1},
        {"\xF4\x8F\xBF\xBF", "\x80", -1}, // stray bytes come last
        {"\xC3", "\xC3\xA4", 1},
    };

    for (const auto& oCase : aCases)
    {
        EXPECT_EQ(STR_stricmp(oCase.pFirst, oCase.pSecond), oCase.nOrder) << oCase.pFirst << ", " << oCase.pSecond;
        EXPECT_EQ(STR_stricmp(oCase.pSecond, oCase.pFirst), -oCase.nOrder) << oCase.pSecond << ", " << oCase.pFirst;
    }
    EXPECT_EQ(STR_strcmp("\xC3\x84", "\xC3\xA4"), -1);
    EXPECT_EQ(STR_stricoll("\xC3\x84", "\xC3\xA4"), 0);
}

TEST(IsolatedPlatformString, PlainCharactersCompareTheSameInEveryLocale)
{
    for (const eTestText eText : {eTestText::Utf8, eTestText::ShiftJis, eTestText::EucKr})
    {
        CTestLocale oLocale(eText);
        if (!oLocale.WhyNot().empty())
            GTEST_SKIP() << oLocale.WhyNot();
        CheckPlainOrder();
    }
}

TEST(IsolatedPlatformString, ComparesWhatFollowsALongPlainBeginning)
{
    CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    for (std::size_t nLength = 0; nLength < 40; ++nLength)
    {
        const std::string sLower(nLength, 'q');
        const std::string sUpper(nLength, 'Q');
        const CBlock oFirst(sLower + "\xC3\xA4");
        const CBlock oSecond(sUpper + "\xC3\x84");
        const CBlock oThird(sUpper + "\xC3\x96z");
        const CBlock oPlain(sUpper + "z");
        EXPECT_EQ(STR_stricmp(oFirst.Get(), oSecond.Get()), 0) << nLength;
        EXPECT_EQ(STR_stricmp(oFirst.Get(), oThird.Get()), -1) << nLength;
        EXPECT_EQ(STR_stricmp(oFirst.Get(), oPlain.Get()), 1) << nLength;
        EXPECT_EQ(STR_stricmp(CBlock(sLower).Get(), oFirst.Get()), -1) << nLength;
        EXPECT_EQ(STR_stricmp(CBlock(sLower).Get(), CBlock(sUpper).Get()), 0) << nLength;
    }
}

TEST(IsolatedPlatformString, PlainLettersFoldTheSameInTurkish)
{
    CTestLocale oLocale(eTestText::Turkish);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const CBlock oText("TITLE\xC3\x84");
    EXPECT_STREQ(STR_strlwr(oText.Get()), "title\xC3\xA4");
    EXPECT_STREQ(STR_strupr(oText.Get()), "TITLE\xC3\x84");
    EXPECT_EQ(STR_stricmp("FILE.INI", "file.ini"), 0);
}

TEST(IsolatedPlatformString, CaseFollowsTheLocaleInLatin1)
{
    CTestLocale oLocale(eTestText::Latin1);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const CBlock oText("\xC4pfel\xD6L");
    EXPECT_STREQ(STR_strlwr(oText.Get()), "\xE4pfel\xF6l");
    EXPECT_STREQ(STR_strupr(oText.Get()), "\xC4PFEL\xD6L");
    EXPECT_EQ(STR_stricoll("\xC4", "\xE4"), 0);
    if (!HAS_SANITIZER) // which puts a comparison of its own below ours, one that knows plain letters only
    {
        EXPECT_EQ(STR_stricmp("\xC4", "\xE4"), 0);
    }
    EXPECT_EQ(STR_strcmp("\xC4", "\xE4"), -1);

    // Dictionaries put it beside a, bytes put it behind z.
    EXPECT_EQ(STR_strcoll("\xE4", "b"), -1);
    EXPECT_EQ(STR_strcmp("\xE4", "b"), 1);
}

TEST(IsolatedPlatformString, CaseOfWideLettersFoldsInDoubleByteText)
{
    for (const eTestText eText : {eTestText::ShiftJis, eTestText::EucKr})
    {
        CTestLocale oLocale(eText);
        if (!oLocale.WhyNot().empty())
            GTEST_SKIP() << oLocale.WhyNot();

        // The full-width letters A and a, and plain ones. In Shift-JIS the second byte looks like a plain letter: it
        // must not change with the plain ones.
        const bool bJapanese = eText == eTestText::ShiftJis;
        const std::string sUpper = bJapanese ? "\x82\x60" : "\xA3\xC1";
        const std::string sLower = bJapanese ? "\x82\x81" : "\xA3\xE1";
        const CBlock oText("Xx" + sUpper + (bJapanese ? "\x83\x41\x83\x61" : ""));
        EXPECT_EQ(std::string(STR_strlwr(oText.Get())), "xx" + sLower + (bJapanese ? "\x83\x41\x83\x61" : ""));
        EXPECT_EQ(std::string(STR_strupr(oText.Get())), "XX" + sUpper + (bJapanese ? "\x83\x41\x83\x61" : ""));
        EXPECT_EQ(STR_stricmp(("X" + sUpper).c_str(), ("x" + sLower).c_str()), 0);
        EXPECT_EQ(STR_stricmp(sUpper.c_str(), "Z"), 1);
        EXPECT_EQ(STR_strcmp(sUpper.c_str(), sLower.c_str()), -1);
    }
}

TEST(IsolatedPlatformString, WhiteSpaceFollowsTheLocale)
{
    {
        CTestLocale oLocale(eTestText::Utf8);
        if (!oLocale.WhyNot().empty())
            GTEST_SKIP() << oLocale.WhyNot();

        EXPECT_EQ(STR_isspace(' '), 1);
        EXPECT_EQ(STR_isspace('a'), 0);
        EXPECT_EQ(STR_isspace(0xE38080), 1); // ideographic space
        EXPECT_EQ(STR_isspace(0xE28083), 1); // em space
        EXPECT_EQ(STR_isspace(0xC3A4), 0);
        EXPECT_EQ(STR_isspace(0xA0), 0);
        EXPECT_EQ(STR_isspace(SignExtended('\xA0')), 0);
        EXPECT_EQ(STR_isspace(0x2020), 0);
        EXPECT_EQ(STR_isspace(0xC0A0), 0);
    }
    {
        CTestLocale oLocale(eTestText::ShiftJis);
        if (!oLocale.WhyNot().empty())
            GTEST_SKIP() << oLocale.WhyNot();

        EXPECT_EQ(STR_isspace('\t'), 1);
        EXPECT_EQ(STR_isspace(0x8140), 1); // ideographic space
        EXPECT_EQ(STR_isspace(0x82A0), 0);
        EXPECT_EQ(STR_isspace(0x81), 0);
        EXPECT_EQ(STR_isspace(0xB1), 0);
    }
}

TEST(IsolatedPlatformString, OrderOfBytesIsTheSameInEveryLocale)
{
    const std::string aTexts[] = {"", "a", "a\x82\xA0", "z", "\x7F", "\x81\x40", "\xB1", "\xC3\xA4", "\xE6\x97\xA5"};
    for (const eTestText eText : {eTestText::Utf8, eTestText::ShiftJis})
    {
        CTestLocale oLocale(eText);
        if (!oLocale.WhyNot().empty())
            GTEST_SKIP() << oLocale.WhyNot();

        for (std::size_t i = 0; i < std::size(aTexts); ++i)
            for (std::size_t j = 0; j < std::size(aTexts); ++j)
                EXPECT_EQ(STR_strcmp(aTexts[i].c_str(), aTexts[j].c_str()), (i > j) - (i < j)) << i << ", " << j;
    }
}
