#include <Common/String/VQString.h>

#include <Common/String/VQStringId.h>

#include <tests/support/TestLocale.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace
{
constexpr long KNOWN_ID = 5; // the text "five"
constexpr long OTHER_ID = 65534;

std::vector<long> g_oAskedIds;

bool LoadNumber(long nId, CVQString& oTarget)
{
    g_oAskedIds.push_back(nId);
    if (nId == KNOWN_ID)
        oTarget = "five";
    else if (nId == OTHER_ID)
        oTarget = "last %d of %s";
    return nId == KNOWN_ID || nId == OTHER_ID;
}

bool IsNumber(long nId, const CVQString& oText)
{
    g_oAskedIds.push_back(nId);
    return nId == KNOWN_ID && oText.Compare("five") == 0;
}

/// The hooks for one test; none are installed before and behind it.
class Hooks
{
public:
    Hooks()
    {
        g_oAskedIds.clear();
        CVQString::s_pfnLoadString = LoadNumber;
        CVQString::s_pfnIsStringIdentical = IsNumber;
    }

    ~Hooks()
    {
        CVQString::s_pfnLoadString = nullptr;
        CVQString::s_pfnIsStringIdentical = nullptr;
    }

    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;
};

const char* ResourceText(std::uintptr_t nNumber)
{
    return reinterpret_cast<const char*>(nNumber);
}

/// All bytes of a text, the ones behind a zero byte too; "(null)" without a buffer.
std::string Bytes(const CVQString& oText)
{
    const sStringData* pData = oText.GetData();
    return pData->m_pData != nullptr ? std::string(pData->m_pData, static_cast<std::size_t>(pData->m_nLength))
                                     : "(null)";
}

CVQString FromBytes(std::string_view sBytes)
{
    CVQString oText;
    for (const char cByte : sBytes)
        oText += cByte;
    return oText;
}

/// A string whose buffer holds nCapacity bytes.
CVQString WithCapacity(const char* pText, int nCapacity)
{
    CVQString oText('x', nCapacity);
    oText = pText;
    return oText;
}

void ExpectFields(const CVQString& oText, int nLockCount, int nLength, int nCapacity, int nStringId)
{
    const sStringData* pData = oText.GetData();
    EXPECT_EQ(pData->m_nLockCount, nLockCount);
    EXPECT_EQ(pData->m_nLength, nLength);
    EXPECT_EQ(pData->m_nAllocatedLength, nCapacity);
    EXPECT_EQ(pData->m_nStringId, nStringId);
    if (nLockCount == 0)
    {
        EXPECT_EQ(pData->m_pData, nullptr);
    }
    else if (pData->m_pData == nullptr)
    {
        ADD_FAILURE() << "no buffer";
    }
    else
    {
        EXPECT_EQ(pData->m_pData[pData->m_nLength], '\0');
    }
}

void ExpectFresh(const CVQString& oText)
{
    ExpectFields(oText, 0, 0, 0, -1);
}

CVQString FormatThroughList(const char* pFormat, ...) COMMON_PRINTF_FORMAT(1, 2);

CVQString FormatThroughList(const char* pFormat, ...)
{
    CVQString oText;
    std::va_list pArguments;
    va_start(pArguments, pFormat);
    oText.FormatV(pFormat, pArguments);
    va_end(pArguments);
    return oText;
}
} // namespace

// ------------------------------------------------------------------------------------------------ construction

TEST(VQString, FreshStringHasNoBuffer)
{
    const CVQString oText;
    ExpectFresh(oText);
    EXPECT_EQ(oText.GetString(), nullptr);
    EXPECT_EQ(~oText, nullptr);
    EXPECT_EQ(static_cast<const char*>(oText), nullptr);
    EXPECT_EQ(oText.GetLength(), 0);
    EXPECT_TRUE(oText.IsEmpty());
    EXPECT_FALSE(oText.HasStringId());
    EXPECT_EQ(oText.GetStringId(), -1);
}

TEST(VQString, ConstructsFromText)
{
    const CVQString oText("abc");
    EXPECT_STREQ(~oText, "abc");
    EXPECT_EQ(oText.GetString(), ~oText);
    EXPECT_EQ(static_cast<const char*>(oText), ~oText);
    ExpectFields(oText, 1, 3, 3, -1);
}

TEST(VQString, ConstructsWithoutBufferFromNothing)
{
    ExpectFresh(CVQString(static_cast<const char*>(nullptr)));
    ExpectFresh(CVQString(""));
    ExpectFresh(CVQString(CVQString()));
    ExpectFresh(CVQString('x', 0));
    ExpectFresh(CVQString('x', -3));
    ExpectFresh(CVQString(sctFormat, "%s", ""));
}

TEST(VQString, ConstructsARunOfOneCharacter)
{
    const CVQString oText('x', 3);
    EXPECT_STREQ(~oText, "xxx");
    ExpectFields(oText, 1, 3, 3, -1);
}

TEST(VQString, ConstructsFormatted)
{
    const CVQString oText(sctFormat, "%s-%d-%c", "level", 7, 'z');
    EXPECT_STREQ(~oText, "level-7-z");
    ExpectFields(oText, 1, 9, 9, -1);
}

TEST(VQString, CopyIsDeepAndExactlyFitting)
{
    CVQString oFirst = WithCapacity("abc", 20);
    const CVQString oSecond(oFirst);
    EXPECT_NE(~oSecond, ~oFirst);
    ExpectFields(oSecond, 1, 3, 3, -1);

    oFirst.SetAt(0, 'X');
    EXPECT_STREQ(~oSecond, "abc");
}

TEST(VQString, CopyKeepsZeroBytes)
{
    const CVQString oCopy(FromBytes("a\0b"sv));
    EXPECT_EQ(Bytes(oCopy), "a\0b"sv);
}

TEST(VQString, MoveTakesTheBufferAndLeavesAFreshString)
{
    const Hooks oHooks;
    CVQString oFirst(CVQStringId{KNOWN_ID});
    const char* pBuffer = ~oFirst;

    const CVQString oSecond(std::move(oFirst));
    EXPECT_EQ(~oSecond, pBuffer);
    ExpectFields(oSecond, 1, 4, 4, KNOWN_ID);
    ExpectFresh(oFirst); // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<CVQString>);
}

TEST(VQString, MoveAssignmentShowsTheFieldsOfACopy)
{
    const char* const aSources[] = {"", "a", "abc", "abcdefghij"};
    const int aCapacities[] = {0, 1, 3, 10, 40};
    for (const char* pSource : aSources)
    {
        for (const int nSourceCapacity : aCapacities)
        {
            for (const int nTargetCapacity : aCapacities)
            {
                CVQString oSource = WithCapacity(pSource, nSourceCapacity);
                CVQString oCopied = WithCapacity("", nTargetCapacity);
                CVQString oMoved = WithCapacity("", nTargetCapacity);
                oCopied = oSource;
                const CVQString& oReturned = oMoved = std::move(oSource);

                EXPECT_EQ(&oReturned, &oMoved);
                EXPECT_EQ(Bytes(oMoved), Bytes(oCopied));
                EXPECT_EQ(oMoved.GetData()->m_nLockCount, oCopied.GetData()->m_nLockCount);
                EXPECT_EQ(oMoved.GetData()->m_nAllocatedLength, oCopied.GetData()->m_nAllocatedLength);
            }
        }
    }
}

TEST(VQString, MoveToItselfChangesNothing)
{
    CVQString oText("abc");
    CVQString& oSame = oText;
    oText = std::move(oSame);
    EXPECT_STREQ(~oText, "abc");
}

// ------------------------------------------------------------------------------------------------ assignment

TEST(VQString, AssignmentsReturnTheString)
{
    CVQString oText;
    EXPECT_EQ(&(oText = CVQString("a")), &oText);
    EXPECT_EQ(&(oText = "b"), &oText);
    EXPECT_EQ(&(oText = 'c'), &oText);
    EXPECT_EQ(&(oText = CVQStringId(1)), &oText);
    EXPECT_EQ(&(oText += CVQString("a")), &oText);
    EXPECT_EQ(&(oText += "b"), &oText);
    EXPECT_EQ(&(oText += 'c'), &oText);
    EXPECT_TRUE((std::is_same_v<decltype(oText = "b"), const CVQString&>));
    EXPECT_TRUE((std::is_same_v<decltype(oText += "b"), const CVQString&>));
    EXPECT_STREQ(~oText, "cabc");
}

TEST(VQString, AssignmentGrowsExactlyAndNeverShrinks)
{
    CVQString oText("abc");
    oText = "abcdef";
    ExpectFields(oText, 1, 6, 6, -1);

    const char* pBuffer = ~oText;
    oText = "xy";
    EXPECT_STREQ(~oText, "xy");
    EXPECT_EQ(~oText, pBuffer);
    ExpectFields(oText, 1, 2, 6, -1);

    oText = "";
    EXPECT_EQ(~oText, pBuffer);
    ExpectFields(oText, 1, 0, 6, -1);

    oText = CVQString("123456");
    EXPECT_EQ(~oText, pBuffer);
    ExpectFields(oText, 1, 6, 6, -1);

    oText = CVQString();
    EXPECT_EQ(~oText, pBuffer);
    ExpectFields(oText, 1, 0, 6, -1);
}

TEST(VQString, AssigningNullEmpties)
{
    CVQString oText("abc");
    oText = static_cast<const char*>(nullptr);
    EXPECT_STREQ(~oText, "");
    ExpectFields(oText, 1, 0, 3, -1);
}

TEST(VQString, AssigningACharacterMakesItTheText)
{
    CVQString oText;
    oText = 'q';
    ExpectFields(oText, 1, 1, 1, -1);
    EXPECT_STREQ(~oText, "q");

    oText = "abc";
    oText = 'r';
    EXPECT_STREQ(~oText, "r");
}

TEST(VQString, AssigningToItselfKeepsTheText)
{
    const Hooks oHooks;
    CVQString oText(CVQStringId{KNOWN_ID});
    const CVQString& oSame = oText;
    oText = oSame;
    EXPECT_STREQ(~oText, "five");
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);
    oText = ~oText;
    EXPECT_STREQ(~oText, "five");

    CVQString oFresh;
    oFresh = static_cast<const CVQString&>(oFresh);
    ExpectFresh(oFresh);
}

TEST(VQString, AssigningAPartOfItselfTakesThatPart)
{
    CVQString oText("abcdef");
    oText = ~oText + 2;
    EXPECT_STREQ(~oText, "cdef");
    oText = ~oText + 4;
    EXPECT_STREQ(~oText, "");
    ExpectFields(oText, 1, 0, 6, -1);
}

// ------------------------------------------------------------------------------------------------ appending

TEST(VQString, AppendingFitsExactly)
{
    CVQString oText;
    oText += "ab";
    ExpectFields(oText, 1, 2, 2, -1);
    oText += 'c';
    ExpectFields(oText, 1, 3, 3, -1);
    oText += CVQString("def");
    ExpectFields(oText, 1, 6, 6, -1);
    EXPECT_STREQ(~oText, "abcdef");
}

TEST(VQString, AppendingUsesTheRoomThereIs)
{
    CVQString oText = WithCapacity("ab", 5);
    const char* pBuffer = ~oText;
    oText += "cde";
    EXPECT_EQ(~oText, pBuffer);
    EXPECT_STREQ(~oText, "abcde");
    ExpectFields(oText, 1, 5, 5, -1);
    oText += "f";
    EXPECT_STREQ(~oText, "abcdef");
    ExpectFields(oText, 1, 6, 6, -1);
}

TEST(VQString, AppendingNothingChangesNothing)
{
    CVQString oText;
    oText += static_cast<const char*>(nullptr);
    oText += "";
    oText += CVQString();
    ExpectFresh(oText);

    oText = "abc";
    oText += static_cast<const char*>(nullptr);
    EXPECT_STREQ(~oText, "abc");
}

TEST(VQString, AppendingItselfDoublesTheText)
{
    CVQString oText("abc");
    oText += oText;
    EXPECT_STREQ(~oText, "abcabc");
    oText += ~oText + 4;
    EXPECT_STREQ(~oText, "abcabcbc");

    CVQString oRoomy = WithCapacity("abc", 20);
    oRoomy += oRoomy;
    EXPECT_STREQ(~oRoomy, "abcabc");
    oRoomy += ~oRoomy;
    EXPECT_STREQ(~oRoomy, "abcabcabcabc");
    ExpectFields(oRoomy, 1, 12, 20, -1);
}

TEST(VQString, AppendingKeepsZeroBytes)
{
    CVQString oText = FromBytes("a\0b"sv);
    oText += FromBytes("\0c"sv);
    EXPECT_EQ(Bytes(oText), "a\0b\0c"sv);
    oText += '\0';
    EXPECT_EQ(oText.GetLength(), 6);
}

// ------------------------------------------------------------------------------------------------ access

TEST(VQString, BytesAreUnsigned)
{
    CVQString oText("a\x80\xFF");
    EXPECT_EQ(oText.GetAt(0), 'a');
    EXPECT_EQ(oText.GetAt(1), 0x80);
    EXPECT_EQ(oText[2], 0xFF);
    EXPECT_EQ(oText[3], 0);
    EXPECT_TRUE((std::is_same_v<decltype(oText[0]), int>));

    oText.SetAt(1, 'b');
    EXPECT_EQ(oText[1], 'b');
}

TEST(VQString, IndexMayBeOfAnyIntegerType)
{
    const CVQString oText("abc");
    EXPECT_EQ(oText[1], 'b');
    EXPECT_EQ(oText[1L], 'b');
    EXPECT_EQ(oText[1U], 'b');
    EXPECT_EQ(oText[std::size_t{1}], 'b');
    EXPECT_EQ(oText[short{1}], 'b');
    EXPECT_EQ(oText[std::ptrdiff_t{1}], 'b');
}

TEST(VQString, EmptyKeepsTheBuffer)
{
    CVQString oText("abc");
    const char* pBuffer = ~oText;
    oText.Empty();
    EXPECT_EQ(~oText, pBuffer);
    EXPECT_STREQ(~oText, "");
    ExpectFields(oText, 1, 0, 3, -1);
    EXPECT_TRUE(oText.IsEmpty());

    CVQString oFresh;
    oFresh.Empty();
    ExpectFresh(oFresh);
}

TEST(VQString, GetBufferGrowsByOneMoreThanAskedAndLosesTheText)
{
    CVQString oText("abc");
    char* pBuffer = oText.GetBuffer(10);
    ExpectFields(oText, 2, 11, 11, -1);
    EXPECT_EQ(~oText, pBuffer);
    EXPECT_EQ(Bytes(oText), std::string(11, '\0'));

    std::strcpy(pBuffer, "0123456789");
    oText.ReleaseBuffer(-1);
    EXPECT_STREQ(~oText, "0123456789");
    ExpectFields(oText, 1, 10, 11, -1);
}

TEST(VQString, GetBufferOfTheLengthItselfLosesTheText)
{
    CVQString oText("abc");
    EXPECT_EQ(oText.GetBuffer(3)[0], '\0'); // 4 bytes are wanted and there are 3
    ExpectFields(oText, 2, 4, 4, -1);
}

TEST(VQString, GetBufferKeepsTheTextWhenItIsLargeEnough)
{
    CVQString oText("abc");
    const char* pBefore = ~oText;
    char* pBuffer = oText.GetBuffer(2);
    EXPECT_EQ(pBuffer, pBefore);
    EXPECT_STREQ(pBuffer, "abc");
    ExpectFields(oText, 2, 3, 3, -1);

    EXPECT_EQ(oText.GetBuffer(0), pBefore);
    ExpectFields(oText, 3, 3, 3, -1);
    oText.ReleaseBuffer(2);
    ExpectFields(oText, 2, 2, 3, -1);
    oText.ReleaseBuffer(1);
    EXPECT_STREQ(~oText, "a");
    ExpectFields(oText, 1, 1, 3, -1);
}

TEST(VQString, GetBufferThatGrowsLosesTheStringId)
{
    const Hooks oHooks;
    CVQString oText(CVQStringId{KNOWN_ID});
    oText.GetBuffer(2);
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);
    oText.GetBuffer(100);
    EXPECT_EQ(oText.GetStringId(), -1);
}

TEST(VQString, GetBufferOfAFreshStringAllocates)
{
    for (const int nMinLength : {-5, -1, 0})
    {
        CVQString oText;
        ASSERT_NE(oText.GetBuffer(nMinLength), nullptr);
        ExpectFields(oText, 2, 1, 1, -1);
        oText.ReleaseBuffer();
        ExpectFields(oText, 1, 0, 1, -1);
    }
}

TEST(VQString, ReleaseBufferStaysWithinTheBuffer)
{
    CVQString oText;
    std::memset(oText.GetBuffer(3), 'z', 5); // the terminator too
    oText.ReleaseBuffer();
    EXPECT_EQ(Bytes(oText), "zzzz");

    oText.GetBuffer(0);
    oText.ReleaseBuffer(1000);
    ExpectFields(oText, 1, 4, 4, -1);
    oText.GetBuffer(0);
    oText.ReleaseBuffer(-7);
    ExpectFields(oText, 1, 0, 4, -1);
}

TEST(VQString, ReleaseBufferWithoutGetBufferDoesNoHarm)
{
    CVQString oText("abc");
    oText.ReleaseBuffer(2);
    EXPECT_STREQ(~oText, "ab");
    ExpectFields(oText, 1, 2, 3, -1);

    CVQString oFresh;
    oFresh.ReleaseBuffer(5);
    oFresh.ReleaseBuffer(-1);
    ExpectFresh(oFresh);
}

TEST(VQString, ReleaseBufferKeepsZeroBytesUpToTheLength)
{
    CVQString oText;
    std::memcpy(oText.GetBuffer(5), "a\0b\0c", 6);
    oText.ReleaseBuffer(5);
    EXPECT_EQ(Bytes(oText), "a\0b\0c"sv);

    oText.GetBuffer(0);
    oText.ReleaseBuffer(-1);
    EXPECT_EQ(Bytes(oText), "a");
}

TEST(VQString, AssignmentWhileTheBufferIsLentKeepsTheCountUnlessItGrows)
{
    CVQString oText("abc");
    oText.GetBuffer(0);
    oText = "xy";
    ExpectFields(oText, 2, 2, 3, -1);
    oText = "longer";
    ExpectFields(oText, 1, 6, 6, -1);
}

TEST(VQString, EmptyingALentBufferTerminatesIt)
{
    CVQString oText("abc");
    oText.Empty();
    std::strcpy(oText.GetBuffer(2), "xy");
    oText = CVQString();
    EXPECT_STREQ(~oText, "");
}

TEST(VQString, ImpossibleSizesAreRefusedAndChangeNothing)
{
    CVQString oText("abc");
    EXPECT_THROW(oText.GetBuffer(INT_MAX), std::length_error);
    EXPECT_THROW(oText.GetBuffer(INT_MAX - 1), std::length_error);
    EXPECT_STREQ(~oText, "abc");
    ExpectFields(oText, 1, 3, 3, -1);

    CVQString oMany('a', 65536);
    const CVQString oLong('b', 65536);
    EXPECT_THROW(oMany.Replace("a", ~oLong), std::length_error); // 4 GiB
    EXPECT_EQ(oMany.GetLength(), 65536);
    EXPECT_EQ(oMany[65535], 'a');
}

// ------------------------------------------------------------------------------------------------ comparison

TEST(VQString, Compares)
{
    const struct
    {
        const char* pFirst;
        const char* pSecond;
        int nOrder;
        int nOrderWithoutCase;
    } aCases[] = {
        {"abc", "abc", 0, 0},  {"abc", "abd", -1, -1}, {"b", "abc", 1, 1},       {"abc", "ABC", 1, 0},
        {"ABC", "abc", -1, 0}, {"ab", "abc", -1, -1},  {"\x80", "a", 1, 1},      {"Ab", "aC", -1, -1},
        {"", "", 0, 0},        {"", "a", -1, -1},      {nullptr, "a", -1, -1},   {"a", nullptr, 1, 1},
        {nullptr, "", 0, 0},   {"", nullptr, 0, 0},    {nullptr, nullptr, 0, 0},
    };

    const auto Sign = [](int nValue) { return (nValue > 0) - (nValue < 0); };

    for (const auto& oCase : aCases)
    {
        const CVQString oText(oCase.pFirst);
        const std::string sNames = std::string(oCase.pFirst != nullptr ? oCase.pFirst : "null") + " and " +
                                   (oCase.pSecond != nullptr ? oCase.pSecond : "null");
        EXPECT_EQ(Sign(oText.Compare(oCase.pSecond)), oCase.nOrder) << sNames;
        EXPECT_EQ(Sign(oText.Collate(oCase.pSecond)), oCase.nOrder) << sNames;
        EXPECT_EQ(Sign(oText.CompareNoCase(oCase.pSecond)), oCase.nOrderWithoutCase) << sNames;
        EXPECT_EQ(Sign(oText.CollateNoCase(oCase.pSecond)), oCase.nOrderWithoutCase) << sNames;
    }
}

TEST(VQString, OperatorsCompareBytes)
{
    const CVQString oAbc("abc");
    EXPECT_TRUE(oAbc == CVQString("abc"));
    EXPECT_TRUE(oAbc == "abc");
    EXPECT_TRUE("abc" == oAbc);
    EXPECT_FALSE(oAbc == "ABC");
    EXPECT_TRUE(oAbc != "abd");
    EXPECT_TRUE(oAbc < "abd");
    EXPECT_TRUE(oAbc < CVQString("b"));
    EXPECT_TRUE("ab" < oAbc);
    EXPECT_TRUE(oAbc >= "\x61");
    EXPECT_TRUE(CVQString("\x80") > "a");

    EXPECT_TRUE(CVQString() == "");
    EXPECT_TRUE(CVQString() == CVQString(""));
    EXPECT_TRUE(CVQString() < oAbc);
    EXPECT_FALSE(FromBytes("a\0b"sv) == FromBytes("a\0c"sv));
    EXPECT_FALSE(FromBytes("a\0b"sv) == "a");
}

TEST(VQString, IsAKeyOfMaps)
{
    std::map<CVQString, int> oValues;
    oValues["b"] = 2;
    oValues["a"] = 1;
    oValues["b"] = 3;
    ASSERT_EQ(oValues.size(), 2U);
    EXPECT_EQ(oValues.begin()->second, 1);
    EXPECT_EQ(oValues["b"], 3);
}

// ------------------------------------------------------------------------------------------------ search

TEST(VQString, FindsACharacter)
{
    const struct
    {
        const char* pText;
        char cWanted;
        int nStart;
        int nResult;
    } aCases[] = {
        {"abcabc", 'c', 0, 2},     {"abcabc", 'c', 2, 2},    {"abcabc", 'c', 3, 5}, {"abc", 'c', 10, -1},
        {"abc", 'c', 3, -1},       {"abc", 'a', -4, 0},      {"abc", 'x', 0, -1},   {"", 'a', 0, -1},
        {nullptr, 'a', 0, -1},     {"a\xE9z", '\xE9', 0, 1}, {"abc", 'a', 1, -1},   {"abc", 'c', 2, 2},
        {"abc", 'c', INT_MAX, -1}, {"abc", 'b', INT_MIN, 1},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQString(oCase.pText).Find(oCase.cWanted, oCase.nStart), oCase.nResult)
            << oCase.cWanted << " from " << oCase.nStart;
    EXPECT_EQ(CVQString("abc").Find('b'), 1);
}

TEST(VQString, FindsAText)
{
    const struct
    {
        const char* pText;
        const char* pWanted;
        int nStart;
        int nResult;
    } aCases[] = {
        {"abc", "bc", -3, 1},    {"abc", "bc", 0, 1},     {"abc", "bc", 1, 1},  {"abc", "bc", 2, -1},
        {"abc", "", 0, -1},      {"abc", nullptr, 0, -1}, {"", "a", 0, -1},     {"", "", 0, -1},
        {nullptr, "a", 0, -1},   {nullptr, "", 0, -1},    {"abc", "a", 3, -1},  {"abc", "a", 4, -1},
        {"abcabc", "abc", 1, 3}, {"abc", "abcd", 0, -1},  {"abc", "abc", 0, 0}, {"abc", "c", INT_MAX, -1},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQString(oCase.pText).Find(oCase.pWanted, oCase.nStart), oCase.nResult)
            << (oCase.pWanted != nullptr ? oCase.pWanted : "null") << " from " << oCase.nStart;
    EXPECT_EQ(CVQString("abc").Find("c"), 2);
}

TEST(VQString, FindAgreesWithAPlainSearch)
{
    // texts in which the first byte of what is searched is common, and texts in which it is rare
    std::minstd_rand oRandom(1);
    for (const unsigned nLetters : {2U, 3U, 26U})
    {
        for (int nRound = 0; nRound < 300; ++nRound)
        {
            std::string sText(1 + oRandom() % 3000, ' ');
            for (char& cByte : sText)
                cByte = static_cast<char>('a' + oRandom() % nLetters);
            std::string sWanted = sText.substr(oRandom() % sText.size(), 1 + oRandom() % 40);
            if (nRound % 3 == 0)
                sWanted += 'b';
            if (nRound % 7 == 0)
                sWanted = sText + sWanted;

            const auto nStart = static_cast<int>(oRandom() % sText.size());
            const std::size_t nFound = sText.find(sWanted, static_cast<std::size_t>(nStart));
            ASSERT_EQ(CVQString(sText.c_str()).Find(sWanted.c_str(), nStart),
                      nFound != std::string::npos ? static_cast<int>(nFound) : -1)
                << sText << " " << sWanted << " " << nStart;
        }
    }
}

TEST(VQString, FindEndsAtAZeroByte)
{
    const CVQString oText = FromBytes("ab\0cd"sv);
    EXPECT_EQ(oText.Find("cd"), -1);
    EXPECT_EQ(oText.Find("cd", 3), 3);
    EXPECT_EQ(oText.Find('c'), -1);
    EXPECT_EQ(oText.Find('c', 3), 3);
    EXPECT_EQ(oText.Find('\0'), 2);
    EXPECT_EQ(oText.ReverseFind('c'), -1);
}

TEST(VQString, FindsTheLastCharacter)
{
    EXPECT_EQ(CVQString("abcabc").ReverseFind('b'), 4);
    EXPECT_EQ(CVQString("abc").ReverseFind('a'), 0);
    EXPECT_EQ(CVQString("abc").ReverseFind('x'), -1);
    EXPECT_EQ(WithCapacity("", 4).ReverseFind('x'), -1);
    EXPECT_EQ(CVQString("a\xE9z").ReverseFind('\xE9'), 1);
}

TEST(VQString, FindsOneOfASet)
{
    EXPECT_EQ(CVQString("abc").FindOneOf("cb"), 1);
    EXPECT_EQ(CVQString("abc").FindOneOf("xyz"), -1);
    EXPECT_EQ(CVQString("abc").FindOneOf(""), -1);
    EXPECT_EQ(CVQString("abc").FindOneOf(nullptr), -1);
    EXPECT_EQ(CVQString(",ab").FindOneOf(","), 0);
    EXPECT_EQ(WithCapacity("", 4).FindOneOf("a"), -1);
}

TEST(VQString, ReverseSearchForOneOfASetNeverSeesTheFirstCharacter)
{
    EXPECT_EQ(CVQString(",ab").ReverseFindOneOf(","), -1);
    EXPECT_EQ(CVQString("a,b").ReverseFindOneOf(","), 1);
    EXPECT_EQ(CVQString("a,b;c").ReverseFindOneOf(",;"), 3);
    EXPECT_EQ(CVQString("a,b;c").ReverseFindOneOf(","), 1);
    EXPECT_EQ(CVQString(",").ReverseFindOneOf(","), -1);
    EXPECT_EQ(CVQString("ab,").ReverseFindOneOf(","), 2);
    EXPECT_EQ(CVQString("abc").ReverseFindOneOf(""), -1);
    EXPECT_EQ(CVQString("abc").ReverseFindOneOf(nullptr), -1);
    EXPECT_EQ(WithCapacity("", 4).ReverseFindOneOf(","), -1);
}

TEST(VQString, SearchesWithoutABufferFindNothing)
{
    const CVQString oFresh;
    EXPECT_EQ(oFresh.Find('a'), -1);
    EXPECT_EQ(oFresh.Find("a"), -1);
    EXPECT_EQ(oFresh.ReverseFind('a'), -1);
    EXPECT_EQ(oFresh.ReverseFind('\0'), -1);
    EXPECT_EQ(oFresh.FindOneOf("a"), -1);
    EXPECT_EQ(oFresh.ReverseFindOneOf("a"), -1);
}

// ------------------------------------------------------------------------------------------------ extraction

TEST(VQString, LeftTakesTheFirstBytes)
{
    const struct
    {
        const char* pText;
        int nCount;
        const char* pResult;
    } aCases[] = {
        {"abc", 0, ""},   {"abc", -1, ""},   {"abc", INT_MIN, ""}, {"abc", 1, "a"},
        {"abc", 2, "ab"}, {"abc", 3, "abc"}, {"abc", 100, "abc"},  {"abc", INT_MAX, "abc"},
        {"", 5, ""},      {nullptr, 5, ""},  {nullptr, 0, ""},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQString(oCase.pText).Left(oCase.nCount), oCase.pResult) << oCase.nCount;
}

TEST(VQString, RightTakesTheLastBytes)
{
    const struct
    {
        const char* pText;
        int nCount;
        const char* pResult;
    } aCases[] = {
        {"abcd", 2, "cd"},   {"abcd", 0, ""},       {"abcd", -1, ""},          {"abcd", INT_MIN, ""},
        {"abcd", 4, "abcd"}, {"abcd", 100, "abcd"}, {"abcd", 3, "bcd"},        {"", 2, ""},
        {nullptr, 2, ""},    {nullptr, 0, ""},      {"abcd", INT_MAX, "abcd"},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQString(oCase.pText).Right(oCase.nCount), oCase.pResult) << oCase.nCount;
}

TEST(VQString, MidTakesARange)
{
    const struct
    {
        const char* pText;
        int nStart;
        int nCount;
        const char* pResult;
    } aCases[] = {
        {"abcd", 1, 100, "bcd"},
        {"abcd", -5, 2, "ab"},
        {"abcd", 1, 2, "bc"},
        {"abcd", 0, 4, "abcd"},
        {"abcd", 0, 0, ""},
        {"abcd", 2, 0, ""},
        {"abcd", 4, 1, ""},
        {"abcd", 9, 1, ""},
        {"abcd", 9, 0, ""},
        {"abcd", 1, -1, ""},
        {"abcd", 1, INT_MAX, "bcd"},
        {"abcd", INT_MAX, INT_MAX, ""},
        {"abcd", INT_MIN, 1, "a"},
        {"abcd", 1, INT_MIN, ""},
        {"abcd", 3, 1, "d"},
        {"abcd", 0, 3, "abc"},
        {"", 0, 1, ""},
        {nullptr, 0, 1, ""},
        {nullptr, 3, 3, ""},
        {"abcd", -5, 100, "abcd"},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQString(oCase.pText).Mid(oCase.nStart, oCase.nCount), oCase.pResult)
            << oCase.nStart << ", " << oCase.nCount;
}

TEST(VQString, MidWithoutACountTakesTheRest)
{
    const struct
    {
        const char* pText;
        int nStart;
        const char* pResult;
    } aCases[] = {
        {"abcd", 4, ""},           {"abcd", 5, ""},       {"abcd", 0, "abcd"}, {"abcd", 2, "cd"}, {"abcd", -5, "abcd"},
        {"abcd", INT_MIN, "abcd"}, {"abcd", INT_MAX, ""}, {"", 0, ""},         {nullptr, 0, ""},  {nullptr, 2, ""},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQString(oCase.pText).Mid(oCase.nStart), oCase.pResult) << oCase.nStart;
}

TEST(VQString, PartsFitExactlyAndWholeCopiesCarryTheStringId)
{
    const Hooks oHooks;
    const CVQString oText(CVQStringId{KNOWN_ID});
    ExpectFields(oText.Left(2), 1, 2, 2, -1);
    ExpectFields(oText.Right(2), 1, 2, 2, -1);
    ExpectFields(oText.Mid(1, 2), 1, 2, 2, -1);
    ExpectFresh(oText.Left(0));
    ExpectFresh(oText.Mid(2, 0));

    ExpectFields(oText.Left(100), 1, 4, 4, KNOWN_ID);
    ExpectFields(oText.Right(4), 1, 4, 4, KNOWN_ID);
    ExpectFields(oText.Mid(0, 4), 1, 4, 4, KNOWN_ID);
    ExpectFields(oText.Mid(0), 1, 4, 4, KNOWN_ID);
}

TEST(VQString, PartsKeepZeroBytes)
{
    const CVQString oText = FromBytes("a\0bc\0d"sv);
    EXPECT_EQ(Bytes(oText.Left(3)), "a\0b"sv);
    EXPECT_EQ(Bytes(oText.Right(3)), "c\0d"sv);
    EXPECT_EQ(Bytes(oText.Mid(1, 4)), "\0bc\0"sv);
}

TEST(VQString, APartMayReplaceTheWhole)
{
    CVQString oText("abcdef");
    oText = oText.Mid(2, 3);
    EXPECT_STREQ(~oText, "cde");
    ExpectFields(oText, 1, 3, 6, -1);
}

// ------------------------------------------------------------------------------------------------ modification

TEST(VQString, ChangesCaseAndOrderInPlace)
{
    CVQString oText("aBc1-Z");
    oText.MakeLower();
    EXPECT_STREQ(~oText, "abc1-z");
    oText.MakeUpper();
    EXPECT_STREQ(~oText, "ABC1-Z");
    oText.MakeReverse();
    EXPECT_STREQ(~oText, "Z-1CBA");
    ExpectFields(oText, 1, 6, 6, -1);
}

TEST(VQString, ChangesOfAFreshStringDoNothing)
{
    CVQString oFresh;
    oFresh.MakeLower();
    oFresh.MakeUpper();
    oFresh.MakeReverse();
    oFresh.TrimLeft();
    EXPECT_EQ(oFresh.Replace('a', 'b'), 0);
    EXPECT_EQ(oFresh.Replace("a", "b"), 0);
    ExpectFresh(oFresh);
}

TEST(VQString, ReplacesACharacter)
{
    const struct
    {
        std::string_view sText;
        char cOld;
        char cNew;
        int nCount;
        std::string_view sResult;
    } aCases[] = {
        {"banana", 'a', 'o', 3, "bonono"},       {"banana", 'a', 'a', 0, "banana"},
        {"banana", 'x', 'y', 0, "banana"},       {"aaa", 'a', 'b', 3, "bbb"},
        {"a\0a\0a"sv, 'a', 'b', 3, "b\0b\0b"sv}, {"a\0a"sv, '\0', '-', 1, "a-a"},
        {"a-a", '-', '\0', 1, "a\0a"sv},         {"\xE9-\xE9", '\xE9', 'e', 2, "e-e"},
        {"e-e", 'e', '\xE9', 2, "\xE9-\xE9"},
    };

    for (const auto& oCase : aCases)
    {
        CVQString oText = FromBytes(oCase.sText);
        EXPECT_EQ(oText.Replace(oCase.cOld, oCase.cNew), oCase.nCount) << oCase.sText;
        EXPECT_EQ(Bytes(oText), oCase.sResult);
    }
}

TEST(VQString, ReplacesAText)
{
    const struct
    {
        std::string_view sText;
        const char* pOld;
        const char* pNew;
        int nCount;
        std::string_view sResult;
    } aCases[] = {
        {"banana", "a", "xyz", 3, "bxyznxyznxyz"},
        {"banana", "an", nullptr, 2, "ba"},
        {"banana", "an", "", 2, "ba"},
        {"banana", "", "x", 0, "banana"},
        {"banana", nullptr, "x", 0, "banana"},
        {"banana", "x", "y", 0, "banana"},
        {"banana", "banana", "", 1, ""},
        {"banana", "banana", "b", 1, "b"},
        {"banana", "an", "AN", 2, "bANANa"},
        {"banana", "ana", "-", 1, "b-na"},
        {"aaaa", "aa", "a", 2, "aa"},
        {"aaaa", "a", "aa", 4, "aaaaaaaa"},
        {"aaa", "aa", "b", 1, "ba"},
        {"abc", "abcd", "x", 0, "abc"},
        {"a\0a\0"sv, "a", "bb", 2, "bb\0bb\0"sv},
        {"ab\0\0ab"sv, "ab", "", 2, "\0\0"sv},
        {"\0\0x"sv, "x", "yy", 1, "\0\0yy"sv},
        {"a\0b"sv, "b", "", 1, "a\0"sv},
    };

    for (const auto& oCase : aCases)
    {
        CVQString oText = FromBytes(oCase.sText);
        EXPECT_EQ(oText.Replace(oCase.pOld, oCase.pNew), oCase.nCount) << oCase.sText;
        EXPECT_EQ(Bytes(oText), oCase.sResult);
        ExpectFields(oText, 1, static_cast<int>(oCase.sResult.size()),
                     static_cast<int>(std::max(oCase.sText.size(), oCase.sResult.size())), -1);

        // with room to spare it happens in place
        CVQString oRoomy('#', 100);
        oRoomy = FromBytes(oCase.sText);
        const char* pBuffer = ~oRoomy;
        EXPECT_EQ(oRoomy.Replace(oCase.pOld, oCase.pNew), oCase.nCount);
        EXPECT_EQ(Bytes(oRoomy), oCase.sResult);
        EXPECT_EQ(~oRoomy, pBuffer);
        ExpectFields(oRoomy, 1, static_cast<int>(oCase.sResult.size()), 100, -1);
    }
}

TEST(VQString, ReplaceAllocatesExactlyWhenItGrows)
{
    CVQString oText("banana");
    oText.Replace("a", "xyz");
    ExpectFields(oText, 1, 12, 12, -1);
}

TEST(VQString, ReplaceMovesToANewBufferWhileTheOldOneIsLent)
{
    const struct
    {
        const char* pNew;
        const char* pResult;
    } aCases[] = {{"", "bnn"}, {"o", "bonono"}, {"xyz", "bxyznxyznxyz"}};

    for (const auto& oCase : aCases)
    {
        CVQString oText = WithCapacity("banana", 40);
        oText.GetBuffer(10);
        EXPECT_EQ(oText.Replace("a", oCase.pNew), 3);
        EXPECT_STREQ(~oText, oCase.pResult);
        const int nLength = static_cast<int>(std::strlen(oCase.pResult));
        ExpectFields(oText, 1, nLength, nLength, -1);
    }

    CVQString oAll("aa");
    oAll.GetBuffer(0);
    EXPECT_EQ(oAll.Replace("a", ""), 2);
    EXPECT_STREQ(~oAll, "");
    ExpectFields(oAll, 1, 0, 0, -1);
    oAll = "works on";
    EXPECT_STREQ(~oAll, "works on");

    CVQString oNone = WithCapacity("banana", 40);
    const char* pBuffer = oNone.GetBuffer(10);
    EXPECT_EQ(oNone.Replace("x", "y"), 0);
    EXPECT_EQ(~oNone, pBuffer);
    ExpectFields(oNone, 2, 6, 40, -1);
}

TEST(VQString, ReplaceTakesTextsOfItsOwn)
{
    CVQString oText("abab");
    EXPECT_EQ(oText.Replace(~oText, "x"), 1);
    EXPECT_STREQ(~oText, "x");

    oText = "abab";
    EXPECT_EQ(oText.Replace("a", ~oText), 2);
    EXPECT_STREQ(~oText, "ababbababb");

    oText = "abab";
    EXPECT_EQ(oText.Replace(~oText + 3, ~oText + 2), 2);
    EXPECT_STREQ(~oText, "aabaab");

    oText = "abab";
    EXPECT_EQ(oText.Replace(~oText + 3, nullptr), 2);
    EXPECT_STREQ(~oText, "aa");

    CVQString oRoomy = WithCapacity("abab", 40);
    EXPECT_EQ(oRoomy.Replace("b", ~oRoomy), 2);
    EXPECT_STREQ(~oRoomy, "aababaabab");
}

TEST(VQString, ReplaceAgreesWithAPlainReplacement)
{
    const auto Expected = [](std::string sText, const std::string& sOld, const std::string& sNew)
    {
        for (std::size_t n = 0; (n = sText.find(sOld, n)) != std::string::npos; n += sNew.size())
            sText.replace(n, sOld.size(), sNew);
        return sText;
    };

    // every text of up to 7 letters out of a and b
    for (unsigned nLength = 1; nLength <= 7; ++nLength)
    {
        for (unsigned nBits = 0; nBits < 1U << nLength; ++nBits)
        {
            std::string sText;
            for (unsigned i = 0; i < nLength; ++i)
                sText += (nBits >> i & 1) != 0 ? 'b' : 'a';

            for (const char* pOld : {"a", "b", "ab", "aa", "aba"})
            {
                for (const char* pNew : {"", "c", "ab", "abab"})
                {
                    CVQString oText(sText.c_str());
                    CVQString oRoomy = WithCapacity(sText.c_str(), 40);
                    oText.Replace(pOld, pNew);
                    oRoomy.Replace(pOld, pNew);
                    ASSERT_EQ(Bytes(oText), Expected(sText, pOld, pNew)) << sText << " " << pOld << " " << pNew;
                    ASSERT_EQ(Bytes(oRoomy), Bytes(oText)) << sText << " " << pOld << " " << pNew;
                }
            }
        }
    }
}

TEST(VQString, ReplacesAnyNumberOfTimes)
{
    for (const int nCount : {255, 256, 257, 1000})
    {
        std::string sText;
        std::string sLonger;
        std::string sShorter;
        for (int i = 0; i < nCount; ++i)
        {
            sText += "ab-";
            sLonger += "xyz-";
            sShorter += '-';
        }
        CVQString oText(sText.c_str());
        EXPECT_EQ(oText.Replace("ab", "xyz"), nCount);
        EXPECT_EQ(Bytes(oText), sLonger);

        CVQString oRoomy = WithCapacity(sText.c_str(), 5000);
        EXPECT_EQ(oRoomy.Replace("ab", "xyz"), nCount);
        EXPECT_EQ(Bytes(oRoomy), sLonger);
        EXPECT_EQ(oRoomy.Replace("xyz", ""), nCount);
        EXPECT_EQ(Bytes(oRoomy), sShorter);
    }
}

TEST(VQString, ReplacesBehindManyPlacesThatOnlyBeginLikeIt)
{
    std::string sText(500, 'a');
    sText += "\0aab"s;
    CVQString oText = FromBytes(sText);
    EXPECT_EQ(oText.Replace("aab", "-"), 1);
    EXPECT_EQ(Bytes(oText), std::string(500, 'a') + "\0-"s);
}

TEST(VQString, TrimsOnTheLeft)
{
    const struct
    {
        const char* pText;
        const char* pResult;
    } aCases[] = {
        {"  abc ", "abc "}, {"abc", "abc"},       {" \t\n\v\f\rabc", "abc"}, {"   ", ""},
        {"", ""},           {"\x80 a", "\x80 a"}, {"\xFF", "\xFF"},
    };

    for (const auto& oCase : aCases)
    {
        CVQString oText(oCase.pText);
        const long nBefore = oText.GetLength();
        oText.TrimLeft();
        EXPECT_EQ(oText, oCase.pResult);
        EXPECT_EQ(oText.GetLength(), static_cast<long>(std::strlen(oCase.pResult)));
        EXPECT_EQ(oText.GetData()->m_nAllocatedLength, nBefore);
    }

    CVQString oZeros = FromBytes(" \0 a"sv);
    oZeros.TrimLeft();
    EXPECT_EQ(Bytes(oZeros), "\0 a"sv);
}

// ------------------------------------------------------------------------------------------------ formatting

TEST(VQString, Formats)
{
    CVQString oText;
    oText.Format("%d %s %.2f %c%%", -5, "abc", 1.5, 'x');
    EXPECT_STREQ(~oText, "-5 abc 1.50 x%");
    ExpectFields(oText, 1, 14, 14, -1);
    EXPECT_STREQ(~FormatThroughList("%s=%lu", "n", 7UL), "n=7");

    oText.Format("%s", "");
    EXPECT_STREQ(~oText, "");
    ExpectFields(oText, 1, 0, 14, -1);
}

TEST(VQString, FormatsItself)
{
    CVQString oText("abc");
    oText.Format("%s!%s", ~oText, ~oText + 1);
    EXPECT_STREQ(~oText, "abc!bc");
    oText = "%s-";
    oText.Format(~oText, "x");
    EXPECT_STREQ(~oText, "x-");
}

TEST(VQString, FormattedTextIsCutAt1023Bytes)
{
    for (const int nLength : {1022, 1023, 1024, 1025, 5000})
    {
        const std::string sLong(static_cast<std::size_t>(nLength), 'q');
        CVQString oText;
        oText.Format("%s", sLong.c_str());
        EXPECT_EQ(Bytes(oText), sLong.substr(0, 1023)) << nLength;
        EXPECT_EQ(std::strlen(~oText), sLong.substr(0, 1023).size());
    }
}

TEST(VQString, FormattedTextEndsAtAZeroByte)
{
    CVQString oText;
    oText.Format("ab%ccd", '\0');
    EXPECT_EQ(Bytes(oText), "ab");
}

TEST(VQString, FormatWithoutAFormatIsEmpty)
{
    CVQString oText("abc");
    const char* pNone = nullptr;
    oText.Format(pNone, 1);
    EXPECT_STREQ(~oText, "");
}

TEST(VQString, FormatsWithALocalisedText)
{
    const Hooks oHooks;
    CVQString oText;
    oText.Format(OTHER_ID, 3, "four");
    EXPECT_STREQ(~oText, "last 3 of four");
    EXPECT_EQ(oText.GetStringId(), -1);
    EXPECT_EQ(g_oAskedIds, std::vector<long>{OTHER_ID});

    oText.Format(77L, 3);
    EXPECT_STREQ(~oText, "");
}

// ------------------------------------------------------------------------------------------------ conversion

TEST(VQString, ReadsWholeNumbers)
{
    const struct
    {
        const char* pText;
        int nBase;
        long nResult;
    } aCases[] = {
        {"42", 10, 42},
        {"-42", 10, -42},
        {"  7x", 10, 7},
        {"ff", 16, 255},
        {"0x1F", 0, 31},
        {"010", 0, 8},
        {"101", 2, 5},
        {"", 10, 0},
        {nullptr, 10, 0},
        {"abc", 10, 0},
        {"2147483647", 10, 2147483647L},
        {"-2147483648", 10, -2147483647L - 1},
        {"99999999999", 10, 2147483647L},
        {"-99999999999", 10, -2147483647L - 1},
    };

    for (const auto& oCase : aCases)
    {
        EXPECT_EQ(CVQString(oCase.pText).ToLong(oCase.nBase), oCase.nResult);
        EXPECT_EQ(CVQString(oCase.pText).ToInt(oCase.nBase), oCase.nResult);
    }
}

TEST(VQString, ReadsUnsignedNumbers)
{
    const struct
    {
        const char* pText;
        int nBase;
        unsigned long nResult;
    } aCases[] = {
        {"42", 10, 42},
        {"4294967295", 10, 4294967295UL},
        {"ffffffff", 16, 4294967295UL},
        {"-1", 10, 4294967295UL},
        {"", 10, 0},
        {nullptr, 10, 0},
        {"99999999999", 10, 4294967295UL},
    };

    for (const auto& oCase : aCases)
    {
        EXPECT_EQ(CVQString(oCase.pText).ToUlong(oCase.nBase), oCase.nResult);
        EXPECT_EQ(CVQString(oCase.pText).ToUint(oCase.nBase), oCase.nResult);
    }
}

TEST(VQString, ReadsFractions)
{
    EXPECT_EQ(CVQString("1.5").ToDouble(), 1.5);
    EXPECT_EQ(CVQString("-2e3x").ToDouble(), -2000.0);
    EXPECT_EQ(CVQString("0.1").ToFloat(), 0.1F);
    EXPECT_EQ(CVQString("0.1").ToDouble(), 0.1);
    EXPECT_EQ(CVQString("").ToDouble(), 0.0);
    EXPECT_EQ(CVQString().ToDouble(), 0.0);
    EXPECT_EQ(CVQString().ToFloat(), 0.0F);
}

TEST(VQString, ReadsTruth)
{
    for (const char* pText : {"1", "TRUE", "True", "true", "tRuE"})
        EXPECT_TRUE(CVQString(pText).ToBool()) << pText;
    for (const char* pText : {"", "0", "yes", "2", "true ", " true", "11", "tru", "trues", "fals", "01"})
        EXPECT_FALSE(CVQString(pText).ToBool()) << pText;
    EXPECT_FALSE(CVQString().ToBool());
}

// ------------------------------------------------------------------------------------------------ localised texts

TEST(VQString, WithoutHooksNothingIsLoaded)
{
    CVQString oText("abc");
    EXPECT_FALSE(oText.LoadStringResource(3));
    EXPECT_STREQ(~oText, "abc");
    EXPECT_FALSE(oText.HasStringId());
    EXPECT_FALSE(oText.IsIdenticalToStringResource());

    oText = CVQStringId(3);
    EXPECT_STREQ(~oText, "abc");
    ExpectFresh(CVQString(CVQStringId(3)));
}

TEST(VQString, LoadsALocalisedText)
{
    const Hooks oHooks;
    CVQString oText("abc");
    EXPECT_TRUE(oText.LoadStringResource(KNOWN_ID));
    EXPECT_STREQ(~oText, "five");
    EXPECT_TRUE(oText.HasStringId());
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);

    CVQString oOther;
    oOther = CVQStringId(KNOWN_ID);
    EXPECT_STREQ(~oOther, "five");
    EXPECT_EQ(oOther.GetStringId(), KNOWN_ID);
    EXPECT_EQ(CVQString(CVQStringId(KNOWN_ID)).GetStringId(), KNOWN_ID);
}

TEST(VQString, AMissingLocalisedTextEmpties)
{
    const Hooks oHooks;
    CVQString oText(CVQStringId{KNOWN_ID});
    EXPECT_FALSE(oText.LoadStringResource(99));
    EXPECT_STREQ(~oText, "");
    EXPECT_FALSE(oText.HasStringId());
    EXPECT_EQ(oText.GetStringId(), -1);
}

TEST(VQString, SmallPointersAreNumbersOfLocalisedTexts)
{
    const Hooks oHooks;
    CVQString oText("abc");
    oText = ResourceText(KNOWN_ID);
    EXPECT_STREQ(~oText, "five");
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);

    oText = ResourceText(0xFFFE);
    EXPECT_STREQ(~oText, "last %d of %s");
    EXPECT_EQ(oText.GetStringId(), OTHER_ID);
    EXPECT_EQ(g_oAskedIds, (std::vector<long>{KNOWN_ID, OTHER_ID}));

    EXPECT_STREQ(~CVQString(ResourceText(KNOWN_ID)), "five");

    oText = ResourceText(0x8000); // not there
    EXPECT_STREQ(~oText, "");
    EXPECT_EQ(oText.GetStringId(), -1);
    EXPECT_EQ(g_oAskedIds.back(), 0x8000);
}

TEST(VQString, TheLastSmallPointerOnlyEmpties)
{
    const Hooks oHooks;
    CVQString oText(CVQStringId{KNOWN_ID});
    g_oAskedIds.clear();
    oText = ResourceText(0xFFFF);
    EXPECT_STREQ(~oText, "");
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);
    EXPECT_TRUE(g_oAskedIds.empty());
}

TEST(VQString, SmallPointersEmptyEvenWithoutHooks)
{
    CVQString oText("abc");
    oText = ResourceText(KNOWN_ID);
    EXPECT_STREQ(~oText, "");
}

TEST(VQString, CopyTakesTheStringIdInEveryCase)
{
    const Hooks oHooks;
    const CVQString oLoaded(CVQStringId{KNOWN_ID});
    CVQString oText("abc");
    oText = oLoaded;
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);
    oText = CVQString("plain");
    EXPECT_EQ(oText.GetStringId(), -1);
    EXPECT_EQ(CVQString(oLoaded).GetStringId(), KNOWN_ID);

    oText = oLoaded;
    oText = CVQString();
    EXPECT_STREQ(~oText, "");
    EXPECT_EQ(oText.GetStringId(), -1);
}

TEST(VQString, PlainTextAndReplaceLeaveTheStringId)
{
    const Hooks oHooks;
    CVQString oText(CVQStringId{KNOWN_ID});
    const auto ExpectKept = [&oText](const char* pWanted)
    {
        EXPECT_STREQ(~oText, pWanted);
        EXPECT_EQ(oText.GetStringId(), KNOWN_ID) << pWanted;
    };

    oText = "abc";
    ExpectKept("abc");
    oText = "much longer than before";
    ExpectKept("much longer than before");
    oText = 'c';
    ExpectKept("c");
    oText = static_cast<const char*>(nullptr);
    ExpectKept("");
    oText.Empty();
    ExpectKept("");
    oText += "tail that is longer than all the texts before";
    ExpectKept("tail that is longer than all the texts before");
    oText = "ab";
    oText += CVQString("cd");
    ExpectKept("abcd");
    oText += 'e';
    ExpectKept("abcde");
    oText.Replace("a", "x");
    ExpectKept("xbcde");
    const CVQString oLong('y', 100);
    oText.Replace("x", ~oLong);
    EXPECT_EQ(oText.GetLength(), 104);
    EXPECT_EQ(oText.GetStringId(), KNOWN_ID);
    oText.GetBuffer(0);
    oText.Replace("y", "");
    ExpectKept("bcde");
    oText.Format("%s", "formatted");
    ExpectKept("formatted");
}

TEST(VQString, AsksWhetherTheTextIsStillTheLocalisedOne)
{
    const Hooks oHooks;
    CVQString oText("five");
    g_oAskedIds.clear();
    EXPECT_FALSE(oText.IsIdenticalToStringResource());
    EXPECT_TRUE(g_oAskedIds.empty()); // not asked without a string id

    oText.LoadStringResource(KNOWN_ID);
    g_oAskedIds.clear();
    EXPECT_TRUE(oText.IsIdenticalToStringResource());
    EXPECT_EQ(g_oAskedIds, std::vector<long>{KNOWN_ID});

    oText = "changed";
    EXPECT_FALSE(oText.IsIdenticalToStringResource());
}

TEST(IsolatedVQString, MissingHooksAreRemembered)
{
    CVQString oText("abc");
    {
        const Hooks oHooks;
        oText.LoadStringResource(KNOWN_ID);
        oText.IsIdenticalToStringResource();
    }
    EXPECT_FALSE(CVQString::WasLoadStringMissing());
    EXPECT_FALSE(CVQString::WasIsStringIdenticalMissing());

    oText.LoadStringResource(KNOWN_ID);
    EXPECT_TRUE(CVQString::WasLoadStringMissing());
    EXPECT_FALSE(CVQString::WasIsStringIdenticalMissing());

    oText.IsIdenticalToStringResource();
    EXPECT_TRUE(CVQString::WasIsStringIdenticalMissing());
}

TEST(IsolatedVQString, NoHooksAreInstalledAtTheStart)
{
    EXPECT_EQ(CVQString::s_pfnLoadString, nullptr);
    EXPECT_EQ(CVQString::s_pfnIsStringIdentical, nullptr);
}

// ------------------------------------------------------------------------------------------------ multi-byte text

TEST(IsolatedVQString, CharactersOfTwoBytesStayWhole)
{
    const CTestLocale oLocale(eTestText::ShiftJis);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    // two characters whose second byte is that of a backslash, and a backslash between them
    const char* const pText = "\x95\x5C\\\x83\x5C";
    CVQString oText(pText);
    EXPECT_EQ(oText.GetLength(), 5);
    EXPECT_EQ(oText.Find('\\'), 2);
    EXPECT_EQ(oText.ReverseFind('\\'), 2);
    EXPECT_EQ(oText.FindOneOf("/\\"), 2);
    EXPECT_EQ(oText.Find("\\\x83\x5C"), 2);
    EXPECT_EQ(oText.Find("\x5C", 3), -1);
    EXPECT_EQ(CVQString("\x95\x5C\\x").Find("\\x"), 2);
    EXPECT_EQ(CVQString("\x95\x5Cx\\x").Find("\\x"), 3);
    EXPECT_EQ(CVQString("a\x95\x5C").Find("a\x95"), -1);

    EXPECT_EQ(oText.Replace('\\', '/'), 1);
    EXPECT_STREQ(~oText, "\x95\x5C/\x83\x5C");
    oText = pText;
    EXPECT_EQ(oText.Replace("\\", "::"), 1);
    EXPECT_STREQ(~oText, "\x95\x5C::\x83\x5C");

    oText.MakeReverse();
    EXPECT_STREQ(~oText, "\x83\x5C::\x95\x5C");
}

TEST(IsolatedVQString, ReplacesByTheFirstByteOfACharacter)
{
    const CTestLocale oLocale(eTestText::ShiftJis);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    CVQString oText = FromBytes("\x83\x41-\x83\x42\0\x95\x83"sv); // the last 83 is a second byte
    EXPECT_EQ(oText.Replace('\x83', '\x95'), 2);
    EXPECT_EQ(Bytes(oText), "\x95\x41-\x95\x42\0\x95\x83"sv);
    EXPECT_EQ(oText.Replace('A', 'a'), 0);
}

TEST(IsolatedVQString, LettersBeyondAsciiChangeCaseInUtf8)
{
    const CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    CVQString oText("\xC3\xA4x");
    oText.MakeUpper();
    EXPECT_STREQ(~oText, "\xC3\x84X");
    EXPECT_EQ(oText.CompareNoCase("\xC3\xA4x"), 0);
    oText.MakeReverse();
    EXPECT_STREQ(~oText, "X\xC3\x84");
    EXPECT_EQ(oText.Find('\x84'), -1);
    EXPECT_EQ(oText.Replace("\x84", "?"), 0);
}

// ------------------------------------------------------------------------------------------------ layout

TEST(VQString, FieldsStandInTheirOrder)
{
    EXPECT_EQ(offsetof(sStringData, m_nLockCount), 0U);
    EXPECT_EQ(offsetof(sStringData, m_nLength), 4U);
    EXPECT_EQ(offsetof(sStringData, m_nAllocatedLength), 8U);
    EXPECT_EQ(offsetof(sStringData, m_nStringId), 12U);
    EXPECT_EQ(offsetof(sStringData, m_pData), 16U);

    const CVQString oText("abc");
    EXPECT_EQ(reinterpret_cast<const char*>(oText.GetData()),
              reinterpret_cast<const char*>(&oText) + sizeof(void*)); // behind the table of virtual operations
    EXPECT_EQ(sizeof(CVQString), sizeof(void*) + sizeof(sStringData));
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQString>);
}
