#include <Common/File/VQDataStream.h>

#include <Common/Debug/VQDataStreamException.h>
#include <Common/Platform/PlatformMemory.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
constexpr int LOADING = CVQDataStream::LOADING;
constexpr int STORING = CVQDataStream::STORING;
constexpr unsigned long MAX_SIZE = 0xFFFFFFFFUL;

static_assert(LOADING == 1 && STORING == 2);
static_assert(std::has_virtual_destructor_v<CVQDataStream>);
static_assert(std::has_virtual_destructor_v<CVQDataStream::Iterator>);

enum eLight : std::int32_t
{
    LIGHT_GREEN = 7
};

const unsigned char* Bytes(const char* pText)
{
    return reinterpret_cast<const unsigned char*>(pText);
}

/// A stream over a copy of a text.
CVQDataStream StreamOf(const std::string& sBytes, int nMode = LOADING)
{
    return {Bytes(sBytes.data()), static_cast<unsigned long>(sBytes.size()), nMode, true};
}

/// What is in a stream, as a text.
std::string BytesOf(const CVQDataStream& oStream)
{
    if (oStream.GetSize() == 0)
        return {};
    return {reinterpret_cast<const char*>(oStream.GetBuffer()), oStream.GetSize()};
}

/// What the block of a stream holds, for a position within it.
unsigned long CapacityOf(const CVQDataStream& oStream)
{
    return oStream.GetStreamPosition() + oStream.GetReadableSize();
}

template <class TValue>
TValue Take(CVQDataStream& oStream)
{
    TValue nValue{};
    oStream.Get(&nValue, sizeof(nValue));
    return nValue;
}

template <class TValue>
void Add(CVQDataStream& oStream, TValue nValue)
{
    oStream.Put(&nValue, sizeof(nValue));
}

/// Reads so many bytes.
std::string TakeText(CVQDataStream& oStream, std::size_t nSize)
{
    std::string sText(nSize, '?');
    oStream.Get(sText.data(), static_cast<unsigned long>(nSize));
    return sText;
}

/// Expects that a call throws an exception of a stream, with all that is in it.
template <class TCall>
void ExpectThrow(unsigned long nCode, const TCall& Call)
{
    struct STexts
    {
        unsigned long nLine;
        const char* pMessage;
    };

    const std::map<unsigned long, STexts> oTable = {
        {5000, {300, "Allocated buffer to small, write pointer exceeds memory."}},
        {5001, {240, "Could not allocate new memory for stream, out of memory."}},
        {5002, {304, "Trying to read from a write only stream!"}},
        {5003, {323, "Trying to write to a read only stream!"}},
    };

    try
    {
        Call();
        ADD_FAILURE() << "nothing was thrown instead of " << nCode;
    }
    catch (CVQDataStreamException& oError)
    {
        EXPECT_EQ(oError.GetErrorClass(), 14);
        EXPECT_EQ(oError.GetErrorCode(), nCode);
        EXPECT_EQ(oError.GetLine(), oTable.at(nCode).nLine);
        EXPECT_STREQ(oError.GetFileName(), "Common/File/VQDataStream");
        EXPECT_STREQ(oError.GetErrorString(), oTable.at(nCode).pMessage);
    }
}

/// The localised texts "text 1234" and the like, for the life of the object.
class CLocalisedTexts
{
public:
    CLocalisedTexts()
    {
        CVQString::s_pfnLoadString = [](long nId, CVQString& oTarget)
        {
            oTarget = TextOf(nId).c_str();
            return nId != MISSING;
        };
        CVQString::s_pfnIsStringIdentical = [](long nId, const CVQString& oText)
        { return oText == TextOf(nId).c_str(); };
    }

    ~CLocalisedTexts()
    {
        CVQString::s_pfnLoadString = nullptr;
        CVQString::s_pfnIsStringIdentical = nullptr;
    }

    CLocalisedTexts(const CLocalisedTexts&) = delete;
    CLocalisedTexts& operator=(const CLocalisedTexts&) = delete;

    static constexpr long MISSING = 99;

private:
    static std::string TextOf(long nId) { return "text " + std::to_string(nId); }
};

/// A string record, and what is in it.
std::string RecordOf(const CVQString& oText)
{
    CVQDataStream oStream(STORING);
    WriteStreamString(oStream, oText);
    return BytesOf(oStream);
}

/// A string that holds any bytes.
CVQString StringOf(const std::string& sBytes)
{
    CVQString oText;
    std::memcpy(oText.GetBuffer(static_cast<int>(sBytes.size())), sBytes.data(), sBytes.size());
    oText.ReleaseBuffer(static_cast<int>(sBytes.size()));
    return oText;
}

std::string BytesOf(const CVQString& oText)
{
    return oText.IsEmpty() ? std::string() : std::string(~oText, static_cast<std::size_t>(oText.GetLength()));
}

std::string Golden(const char* pName)
{
    return ReadWholeFile(GetGoldenPath(std::string("streams/") + pName));
}
} // namespace

// ---------------------------------------------------------------------------------------------------- construction

TEST(VQDataStream, LoadsByDefault)
{
    const CVQDataStream oStream;
    EXPECT_TRUE(oStream.IsLoading());
    EXPECT_FALSE(oStream.IsStoring());
    EXPECT_EQ(oStream.GetSize(), 0U);
    EXPECT_EQ(oStream.GetStreamPosition(), 0U);
    EXPECT_EQ(oStream.GetRemainingSize(), 0U);
    EXPECT_EQ(oStream.GetIteratorBufferSize(), 0U);
    EXPECT_EQ(oStream.GetReadableSize(), 0U);
    EXPECT_EQ(oStream.GetVersion(), -1);
}

TEST(VQDataStream, OfNoDataHasNothingToRead)
{
    CVQDataStream oStream;
    char cByte = 'x';
    ExpectThrow(5000, [&] { oStream.Get(&cByte, 1); });
    EXPECT_EQ(cByte, 'x');
    EXPECT_EQ(oStream.GetBuffer(), nullptr);
    EXPECT_EQ(oStream.QueryBuffer(), nullptr);
    EXPECT_EQ(oStream.GetIteratorBuffer(), nullptr);

    oStream.Advance(5);
    EXPECT_EQ(oStream.GetIteratorBuffer(), nullptr);
}

TEST(VQDataStream, KeepsTheBitsOfItsMode)
{
    struct
    {
        int nMode;
        bool bLoading, bStoring;
    } const aCases[] = {{0, false, false}, {1, true, false}, {2, false, true}, {3, true, true}, {4, false, false}};

    for (const auto& [nMode, bLoading, bStoring] : aCases)
    {
        const CVQDataStream oStream(nMode);
        EXPECT_EQ(oStream.IsLoading(), bLoading) << nMode;
        EXPECT_EQ(oStream.IsStoring(), bStoring) << nMode;
        EXPECT_EQ(oStream.GetBuffer(), nullptr) << nMode;
    }
}

TEST(VQDataStream, IsDecidedByTheStoringBitAlone)
{
    CVQDataStream oBoth(3);
    oBoth.Put("ab", 2);
    EXPECT_EQ(BytesOf(oBoth), "ab");
    oBoth.SerializeBegin(1);
    EXPECT_EQ(oBoth.GetSize(), 6U); // written, not read
    oBoth.Rewind();
    EXPECT_EQ(oBoth.GetSize(), 0U);
    ExpectThrow(5002, [&] { TakeText(oBoth, 1); });

    CVQDataStream oNone(Bytes("ab"), 2, 0, true);
    EXPECT_EQ(oNone.GetSize(), 2U);
    EXPECT_EQ(TakeText(oNone, 2), "ab");
    ExpectThrow(5003, [&] { oNone.Put("a", 1); });
}

TEST(VQDataStream, HasABlockOfAGivenSize)
{
    CVQDataStream oLoading(10, LOADING);
    EXPECT_EQ(oLoading.GetSize(), 10U);
    EXPECT_EQ(CapacityOf(oLoading), 10U);
    EXPECT_EQ(TakeText(oLoading, 10), std::string(10, '\0'));
    ExpectThrow(5000, [&] { TakeText(oLoading, 1); });

    CVQDataStream oStoring(10, STORING);
    EXPECT_EQ(oStoring.GetSize(), 0U);
    EXPECT_EQ(CapacityOf(oStoring), 10U);
    const unsigned char* pBlock = oStoring.GetBuffer();
    oStoring.Put("0123456789", 10);
    EXPECT_EQ(oStoring.GetBuffer(), pBlock); // it fitted
    EXPECT_EQ(CapacityOf(oStoring), 10U);
}

TEST(VQDataStream, CanBeFilledThroughItsBlock)
{
    CVQDataStream oStream(3, LOADING);
    std::memcpy(oStream.QueryBuffer(), "abc", 3);
    oStream.ReleaseBuffer();
    EXPECT_EQ(TakeText(oStream, 3), "abc");
}

TEST(VQDataStream, CopiesGivenData)
{
    std::string sData = "abcd";
    CVQDataStream oLoading(Bytes(sData.data()), 4, LOADING, true);
    EXPECT_NE(oLoading.GetBuffer(), Bytes(sData.data()));
    sData = "????";
    EXPECT_EQ(oLoading.GetSize(), 4U);
    EXPECT_EQ(CapacityOf(oLoading), 4U);
    EXPECT_EQ(TakeText(oLoading, 4), "abcd");

    CVQDataStream oStoring(Bytes("abcd"), 4, STORING, true);
    EXPECT_EQ(oStoring.GetSize(), 4U); // given data to copy, it does not start empty
    EXPECT_EQ(oStoring.GetStreamPosition(), 0U);
    oStoring.Put("XY", 2);
    EXPECT_EQ(BytesOf(oStoring), "XYcd");
}

TEST(VQDataStream, UsesGivenDataWhereItIs)
{
    const std::string sData = "abcd";
    {
        CVQDataStream oLoading(Bytes(sData.data()), 4, LOADING, false);
        EXPECT_EQ(oLoading.GetBuffer(), Bytes(sData.data()));
        EXPECT_EQ(oLoading.GetSize(), 4U);
        EXPECT_EQ(CapacityOf(oLoading), 4U);
        EXPECT_EQ(TakeText(oLoading, 4), "abcd");
    }

    std::array<unsigned char, 4> aRoom = {'a', 'b', 'c', 'd'};
    {
        CVQDataStream oStoring(aRoom.data(), 4, STORING, false);
        EXPECT_EQ(oStoring.GetSize(), 0U); // room, not data
        EXPECT_EQ(CapacityOf(oStoring), 4U);
        oStoring.Put("XY", 2);
        EXPECT_EQ(BytesOf(oStoring), "XY");
    }
    EXPECT_EQ(aRoom, (std::array<unsigned char, 4>{'X', 'Y', 'c', 'd'})); // and it was not freed
}

TEST(VQDataStream, TakesANullForNoData)
{
    for (const bool bCopy : {false, true})
    {
        CVQDataStream oStream(nullptr, 10, LOADING, bCopy);
        EXPECT_EQ(oStream.GetSize(), 0U);
        EXPECT_EQ(oStream.GetReadableSize(), 0U);

        CVQDataStream oStoring(nullptr, 0, STORING, bCopy);
        oStoring.Put("a", 1);
        EXPECT_EQ(BytesOf(oStoring), "a");
    }
}

TEST(VQDataStream, HoldsZeroBytesToo)
{
    const CVQDataStream oStream(Bytes(""), 0, LOADING, true);
    EXPECT_EQ(oStream.GetSize(), 0U);
    EXPECT_EQ(oStream.GetReadableSize(), 0U);
    EXPECT_EQ(CVQDataStream(0, LOADING).GetReadableSize(), 0U);
}

TEST(VQDataStream, RefusesSizesBeyond32Bits)
{
    if constexpr (sizeof(unsigned long) == sizeof(std::uint32_t))
    {
        GTEST_SKIP() << "an unsigned long has 32 bits here";
    }
    else
    {
        const unsigned long nSize = MAX_SIZE + 1;
        ExpectThrow(5001, [&] { CVQDataStream(nSize, LOADING); });
        ExpectThrow(5001, [&] { CVQDataStream(Bytes("a"), nSize, LOADING, false); });
        ExpectThrow(5001, [&] { CVQDataStream(Bytes("a"), nSize, LOADING, true); });

        CVQDataStream oStream(Bytes("abc"), 3, LOADING, true);
        ExpectThrow(5001, [&] { oStream.Clear(Bytes("a"), nSize, false); });
        EXPECT_EQ(TakeText(oStream, 3), "abc");
    }
}

// ------------------------------------------------------------------------------------------- copies and assignment

TEST(VQDataStream, SharesTheBlockWithACopy)
{
    CVQDataStream oSource(STORING);
    oSource.Put(std::string(100, 's').data(), 100);
    oSource.Put("x", 1); // grows far beyond the data
    EXPECT_GT(CapacityOf(oSource), 101U);

    CVQDataStream oCopy(oSource);
    EXPECT_EQ(oCopy.GetBuffer(), oSource.GetBuffer());
    EXPECT_TRUE(oCopy.IsLoading());
    EXPECT_EQ(oCopy.GetSize(), 101U);
    EXPECT_EQ(CapacityOf(oCopy), 101U); // the size, not the capacity
    EXPECT_EQ(oCopy.GetStreamPosition(), 0U);
    EXPECT_EQ(oCopy.GetVersion(), -1);

    const CVQDataStream oStoring(oSource, STORING);
    EXPECT_EQ(oStoring.GetBuffer(), oSource.GetBuffer());
    EXPECT_EQ(oStoring.GetSize(), 0U);
    EXPECT_EQ(CapacityOf(oStoring), 101U);
}

TEST(VQDataStream, DetachesWhenTheSourceWrites)
{
    CVQDataStream oSource = StreamOf(std::string(100, 'a'), STORING);
    CVQDataStream oCopy(oSource);
    oSource.Put("B", 1);
    EXPECT_NE(oCopy.GetBuffer(), oSource.GetBuffer());
    EXPECT_EQ(BytesOf(oSource), "B" + std::string(99, 'a'));
    EXPECT_EQ(CapacityOf(oSource), 101U); // the size and what was written
    EXPECT_EQ(TakeText(oCopy, 100), std::string(100, 'a'));
}

TEST(VQDataStream, DetachesWhenACopyWrites)
{
    CVQDataStream oSource = StreamOf(std::string(100, 'a'), STORING);
    CVQDataStream oCopy(oSource, STORING);
    oCopy.Put("BC", 2);
    EXPECT_NE(oCopy.GetBuffer(), oSource.GetBuffer());
    EXPECT_EQ(BytesOf(oCopy), "BC"); // a storing copy starts empty
    EXPECT_EQ(CapacityOf(oCopy), 2U);
    EXPECT_EQ(BytesOf(oSource), std::string(100, 'a'));
}

TEST(VQDataStream, DetachesBeforeItGrowsAcrossAGap)
{
    CVQDataStream oSource = StreamOf(std::string(100, 'a'), STORING);
    const CVQDataStream oCopy(oSource);
    oSource.Advance(150);
    oSource.Put("xy", 2);
    EXPECT_EQ(CapacityOf(oSource), 356U); // 100 + 2 by detaching, then 152 + 2 * 102
    EXPECT_EQ(BytesOf(oSource), std::string(100, 'a') + std::string(50, '\0') + "xy");
    EXPECT_EQ(BytesOf(oCopy), std::string(100, 'a'));
}

TEST(VQDataStream, MayHaveDetachedWhenAWriteFails)
{
    CVQDataStream oSource = StreamOf("abcd", STORING);
    CVQDataStream oCopy(oSource);
    oSource.Advance(2);
    for (const unsigned long nSize : {MAX_SIZE - 1, MAX_SIZE, ~0UL})
        ExpectThrow(5001, [&] { oSource.Put("?", nSize); });
    EXPECT_EQ(BytesOf(oSource), "abcd");
    EXPECT_EQ(oSource.GetStreamPosition(), 2U);
    EXPECT_EQ(TakeText(oCopy, 4), "abcd");

    oSource.Put("XY", 2);
    EXPECT_EQ(BytesOf(oSource), "abXY");
    EXPECT_EQ(BytesOf(oCopy), "abcd");
}

TEST(VQDataStream, BeginsACopyWithoutVersions)
{
    CVQDataStream oStream = StreamOf(std::string("\7\0\0\0\x8\0\0\0", 8));
    oStream.SerializeBegin(-1);
    oStream.SerializeBegin(-1);

    CVQDataStream oCopy(oStream);
    EXPECT_EQ(oCopy.GetVersion(), -1);
    EXPECT_EQ(oCopy.GetStreamPosition(), 0U);
    oCopy.SerializeEnd();
    EXPECT_EQ(oCopy.GetVersion(), -1); // the stack is not copied either
    EXPECT_EQ(oStream.GetVersion(), 8);
}

TEST(VQDataStream, DetachesOnceForManyCopies)
{
    CVQDataStream oSource = StreamOf("abc", STORING);
    std::vector<std::unique_ptr<CVQDataStream>> oCopies;
    for (int i = 0; i < 10; ++i)
        oCopies.push_back(std::make_unique<CVQDataStream>(i == 0 ? oSource : *oCopies.back()));

    oSource.Put("X", 1);
    const unsigned char* pOwn = oSource.GetBuffer();
    oSource.Put("Y", 1); // its own already: written in place
    EXPECT_EQ(oSource.GetBuffer(), pOwn);
    EXPECT_EQ(BytesOf(oSource), "XYc");
    for (const auto& pCopy : oCopies)
    {
        EXPECT_EQ(pCopy->GetBuffer(), oCopies.front()->GetBuffer());
        EXPECT_EQ(BytesOf(*pCopy), "abc");
    }
}

TEST(VQDataStream, WritesInPlaceWhenItsCopiesAreGone)
{
    CVQDataStream oSource = StreamOf("abc", STORING);
    const unsigned char* pBlock = oSource.GetBuffer();
    {
        const CVQDataStream oCopy(oSource);
    }
    oSource.Put("X", 1);
    EXPECT_EQ(oSource.GetBuffer(), pBlock);
}

TEST(VQDataStream, DetachesFromGivenData)
{
    const std::string sData = "abcd";
    CVQDataStream oLoading(Bytes(sData.data()), 4, LOADING, false);
    CVQDataStream oStoring(oLoading, STORING);
    oStoring.Put("XY", 2);
    EXPECT_EQ(BytesOf(oStoring), "XY");
    EXPECT_EQ(sData, "abcd");
}

TEST(VQDataStream, OutlivesItsSource)
{
    auto pSource = std::make_unique<CVQDataStream>(StreamOf("abc"));
    CVQDataStream oCopy(*pSource);
    pSource.reset();
    EXPECT_EQ(TakeText(oCopy, 3), "abc");
}

TEST(VQDataStream, TakesCapacityAndSizeByAssignment)
{
    CVQDataStream oSource(50, STORING);
    oSource.Put("abc", 3);

    CVQDataStream oLoading = StreamOf("0123456789");
    TakeText(oLoading, 4);
    CVQDataStream& oResult = oLoading = oSource;
    EXPECT_EQ(&oResult, &oLoading);
    EXPECT_EQ(oLoading.GetBuffer(), oSource.GetBuffer());
    EXPECT_EQ(oLoading.GetSize(), 3U);
    EXPECT_EQ(oLoading.GetStreamPosition(), 0U);
    EXPECT_EQ(CapacityOf(oLoading), 50U); // the capacity, unlike a copy
    EXPECT_TRUE(oLoading.IsLoading());
    EXPECT_EQ(TakeText(oLoading, 50), "abc" + std::string(47, '\0'));

    CVQDataStream oStoring(STORING);
    oStoring = oLoading;
    EXPECT_TRUE(oStoring.IsStoring());
    EXPECT_EQ(oStoring.GetSize(), 3U);
    oStoring.Put("X", 1);
    EXPECT_EQ(BytesOf(oStoring), "Xbc");
    EXPECT_EQ(BytesOf(oSource), "abc");
}

TEST(VQDataStream, ReadsOnlyZerosBehindWhatWasEverWritten)
{
    CVQDataStream oSource(STORING);
    oSource.Put(std::string(1000, 'a').data(), 1000);
    oSource.Put("b", 1); // 1001 bytes in a block of 3001
    EXPECT_EQ(CapacityOf(oSource), 3001U);

    CVQDataStream oLoading;
    oLoading = oSource;
    EXPECT_EQ(TakeText(oLoading, 3001), std::string(1000, 'a') + "b" + std::string(2000, '\0'));
}

TEST(VQDataStream, AssignedToItselfStaysAsItIs)
{
    CVQDataStream oStream = StreamOf("abc");
    TakeText(oStream, 2);
    const CVQDataStream& oItself = oStream;
    oStream = oItself;
    EXPECT_EQ(oStream.GetStreamPosition(), 2U); // not even the position
    EXPECT_EQ(TakeText(oStream, 1), "c");
}

TEST(VQDataStream, AssignedFromItsOwnCopyKeepsTheData)
{
    CVQDataStream oStream = StreamOf("abc");
    const CVQDataStream oCopy(oStream);
    oStream = oCopy;
    EXPECT_EQ(TakeText(oStream, 3), "abc");
}

TEST(VQDataStream, KeepsItsVersionsByAssignment)
{
    CVQDataStream oStream = StreamOf(std::string("\7\0\0\0\x8\0\0\0", 8));
    oStream.SerializeBegin(-1);
    oStream.SerializeBegin(-1);
    oStream = StreamOf("abc");
    EXPECT_EQ(oStream.GetVersion(), 8);
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), 7);
}

// ------------------------------------------------------------------------------------------------ writing, reading

TEST(VQDataStream, WritesAndReads)
{
    CVQDataStream oStored(STORING);
    oStored.Put("abc", 3);
    oStored.Put("de", 2);
    EXPECT_EQ(oStored.GetSize(), 5U);
    EXPECT_EQ(oStored.GetStreamPosition(), 5U);
    EXPECT_EQ(oStored.GetRemainingSize(), 0U);
    EXPECT_EQ(oStored.GetIteratorBuffer(), oStored.GetBuffer() + 5);

    CVQDataStream oLoaded(oStored);
    EXPECT_EQ(TakeText(oLoaded, 2), "ab");
    EXPECT_EQ(oLoaded.GetStreamPosition(), 2U);
    EXPECT_EQ(oLoaded.GetRemainingSize(), 3U);
    EXPECT_EQ(oLoaded.GetIteratorBufferSize(), 3U);
    EXPECT_EQ(oLoaded.GetReadableSize(), 3U);
    EXPECT_EQ(TakeText(oLoaded, 3), "cde");
    ExpectThrow(5000, [&] { TakeText(oLoaded, 1); });
}

TEST(VQDataStream, GrowsToTheNeededEndAndTwiceTheOldCapacity)
{
    CVQDataStream oStream(0, STORING);
    EXPECT_EQ(CapacityOf(oStream), 0U);
    oStream.Put("abcd", 4);
    EXPECT_EQ(CapacityOf(oStream), 4U);
    oStream.Put("efgh", 4);
    EXPECT_EQ(CapacityOf(oStream), 16U); // 8 + 2 * 4
    oStream.Put("ijklmnop", 8);
    EXPECT_EQ(CapacityOf(oStream), 16U); // it fits exactly
    oStream.Put("q", 1);
    EXPECT_EQ(CapacityOf(oStream), 49U); // 17 + 2 * 16
    EXPECT_EQ(BytesOf(oStream), "abcdefghijklmnopq");
}

TEST(VQDataStream, GrowsInFewSteps)
{
    CVQDataStream oStream(STORING);
    int nSteps = 0;
    for (int i = 0; i < 100000; ++i)
    {
        const unsigned long nBefore = CapacityOf(oStream);
        Add<std::int32_t>(oStream, i);
        nSteps += CapacityOf(oStream) != nBefore ? 1 : 0;
    }
    EXPECT_LE(nSteps, 12);

    CVQDataStream oLoaded(oStream);
    for (std::int32_t i = 0; i < 100000; ++i)
        ASSERT_EQ(Take<std::int32_t>(oLoaded), i);
}

TEST(VQDataStream, WritesOverWhatIsThere)
{
    CVQDataStream oStream = StreamOf("abcdef", STORING);
    oStream.Advance(2);
    oStream.Put("XY", 2);
    EXPECT_EQ(BytesOf(oStream), "abXYef");
    EXPECT_EQ(oStream.GetSize(), 6U);
    EXPECT_EQ(oStream.GetRemainingSize(), 2U);

    oStream.Put("1234", 4); // half over, half behind
    EXPECT_EQ(BytesOf(oStream), "abXY1234");
}

TEST(VQDataStream, GoesBackByASecondIteratorToPatch)
{
    CVQDataStream oStream(STORING);
    CVQDataStream::Iterator oCount(oStream);
    Add<std::int32_t>(oStream, 0);
    oStream.Put("ab", 2);
    const std::int32_t nCount = 2;
    oCount.Put(&nCount, sizeof(nCount));
    EXPECT_EQ(BytesOf(oStream), std::string("\2\0\0\0ab", 6));
    EXPECT_EQ(oStream.GetStreamPosition(), 6U);
    EXPECT_EQ(oCount.GetPosition(), 4U);
}

TEST(VQDataStream, LeavesZerosInAGap)
{
    CVQDataStream oStream(STORING);
    oStream.Put("a", 1);
    oStream.Advance(3);
    EXPECT_EQ(oStream.GetSize(), 1U); // moving alone writes nothing
    EXPECT_EQ(oStream.GetRemainingSize(), 0xFFFFFFFDUL);
    oStream.Put("b", 1);
    EXPECT_EQ(BytesOf(oStream), std::string("a\0\0\0b", 5));
}

TEST(VQDataStream, MovesAnywhereWithoutACheck)
{
    CVQDataStream oStream = StreamOf("abcdef");
    oStream.Advance(4);
    EXPECT_EQ(TakeText(oStream, 1), "e");
    oStream.Advance(0xFFFFFFFFUL); // positions wrap: one back
    EXPECT_EQ(oStream.GetStreamPosition(), 4U);
    EXPECT_EQ(TakeText(oStream, 1), "e");

    oStream.Advance(100);
    EXPECT_EQ(oStream.GetStreamPosition(), 105U);
    EXPECT_EQ(oStream.GetRemainingSize(), 0xFFFFFF9DUL); // 6 - 105 in 32 bits, no sign above
    EXPECT_EQ(oStream.GetReadableSize(), 0U);
    ExpectThrow(5000, [&] { TakeText(oStream, 1); });
}

TEST(VQDataStream, RefusesToWriteWhileLoading)
{
    CVQDataStream oStream(10, LOADING);
    ExpectThrow(5003, [&] { oStream.Put("a", 1); });
    ExpectThrow(5003, [&] { CVQDataStream().Put("a", 1); });
    EXPECT_EQ(oStream.GetStreamPosition(), 0U);
    EXPECT_EQ(TakeText(oStream, 10), std::string(10, '\0'));
}

TEST(VQDataStream, RefusesToReadWhileStoring)
{
    CVQDataStream oStream(10, STORING);
    ExpectThrow(5002, [&] { TakeText(oStream, 10); });
    ExpectThrow(5000, [&] { TakeText(oStream, 11); }); // the bound is held first
    EXPECT_EQ(oStream.GetStreamPosition(), 0U);
}

TEST(VQDataStream, LeavesAllAsItWasWhenAReadFails)
{
    CVQDataStream oStream = StreamOf("abcdef");
    TakeText(oStream, 2);
    std::string sTarget = "?????";
    ExpectThrow(5000, [&] { oStream.Get(sTarget.data(), 5); });
    EXPECT_EQ(sTarget, "?????");
    EXPECT_EQ(oStream.GetStreamPosition(), 2U);
    EXPECT_EQ(TakeText(oStream, 4), "cdef");
}

TEST(VQDataStream, HoldsHugeSizesAgainstTheEnd)
{
    CVQDataStream oStream = StreamOf("abcdef");
    TakeText(oStream, 4);
    char cByte = 'x';
    for (const unsigned long nSize : {3UL, 0x7FFFFFFFUL, 0x80000000UL, 0xFFFFFFFBUL, 0xFFFFFFFCUL, 0xFFFFFFFDUL,
                                      0xFFFFFFFFUL, ~0UL - 4, ~0UL - 3, ~0UL})
        ExpectThrow(5000, [&] { oStream.Get(&cByte, nSize); });
    EXPECT_EQ(cByte, 'x');
    EXPECT_EQ(TakeText(oStream, 2), "ef");
}

TEST(VQDataStream, RefusesToWriteBeyond32Bits)
{
    CVQDataStream oStream(STORING);
    oStream.Put("abcd", 4);
    const unsigned long nCapacity = CapacityOf(oStream);
    const unsigned char* pBlock = oStream.GetBuffer();

    for (const unsigned long nSize : {MAX_SIZE - 3, MAX_SIZE, ~0UL - 3, ~0UL})
        ExpectThrow(5001, [&] { oStream.Put("?", nSize); });

    EXPECT_EQ(BytesOf(oStream), "abcd");
    EXPECT_EQ(oStream.GetStreamPosition(), 4U);
    EXPECT_EQ(CapacityOf(oStream), nCapacity);
    EXPECT_EQ(oStream.GetBuffer(), pBlock);

    oStream.Put("e", 1);
    EXPECT_EQ(BytesOf(oStream), "abcde");
}

TEST(VQDataStream, TellsOfMissingMemory)
{
    if (sizeof(void*) > 4)
        GTEST_SKIP() << "4 GiB are not too much for a 64-bit process";

    CVQDataStream oStream(STORING);
    oStream.Put("abcd", 4);
    oStream.Advance(0xFFFFFFF0UL - 4);
    ExpectThrow(5001, [&] { oStream.Put("x", 1); });
    oStream.Advance(0x10UL + 4); // wraps to where it was
    EXPECT_EQ(oStream.GetStreamPosition(), 4U);
    EXPECT_EQ(BytesOf(oStream), "abcd");
    ExpectThrow(5001, [&] { CVQDataStream(0xFFFFFFF0UL, LOADING); });
}

TEST(VQDataStream, WritesAndReadsNothing)
{
    CVQDataStream oStream(STORING);
    oStream.Put(nullptr, 0);
    EXPECT_EQ(oStream.GetSize(), 0U);
    ExpectThrow(5003, [] { CVQDataStream().Put(nullptr, 0); });
    ExpectThrow(5002, [&] { oStream.Get(nullptr, 0); });
    oStream.Advance(1);
    ExpectThrow(5000, [&] { oStream.Get(nullptr, 0); });

    CVQDataStream oLoaded;
    oLoaded.Get(nullptr, 0);
    EXPECT_EQ(oLoaded.GetStreamPosition(), 0U);
}

TEST(VQDataStream, WritesPartsOfItself)
{
    CVQDataStream oStream(STORING);
    oStream.Put("abcd", 4);
    oStream.Put(oStream.GetBuffer(), 4); // moves to a larger block on the way
    EXPECT_EQ(BytesOf(oStream), "abcdabcd");

    CVQDataStream oOverlapping = StreamOf("abcdef", STORING);
    oOverlapping.Advance(1);
    oOverlapping.Put(oOverlapping.GetBuffer(), 5);
    EXPECT_EQ(BytesOf(oOverlapping), "aabcde");

    const CVQDataStream oHolder(oOverlapping);
    oOverlapping.Put(oOverlapping.GetBuffer(), 6); // the old block lives on with the copy
    EXPECT_EQ(BytesOf(oOverlapping), "aabcdeaabcde");
}

TEST(VQDataStream, WritesWhatLiesInItsOwnRoom)
{
    CVQDataStream oStream = StreamOf("abcdef", STORING);
    oStream.Clear(); // no data, yet the bytes are there
    oStream.Put("ab", 2);
    const unsigned char* pBehind = oStream.GetBuffer() + 3;
    oStream.Advance(4);
    oStream.Put(pBehind, 2); // grows: the old block is gone before it is read
    EXPECT_EQ(BytesOf(oStream), "ab" + std::string(6, '\0'));
}

TEST(VQDataStream, ReachesAPositionByWritingNothingThere)
{
    CVQDataStream oStream(STORING);
    oStream.Put("ab", 2);
    oStream.Advance(3);
    oStream.Put(nullptr, 0);
    EXPECT_EQ(BytesOf(oStream), std::string("ab\0\0\0", 5));
    EXPECT_EQ(CapacityOf(oStream), 9U); // 5 + 2 * 2
}

TEST(VQDataStream, CountsUpToTheLastOf32Bits)
{
    // never touched: nothing is read or written there
    const unsigned char nByte = 0;
    CVQDataStream oWrapped(&nByte, MAX_SIZE, LOADING, false);
    EXPECT_EQ(oWrapped.GetSize(), MAX_SIZE);
    EXPECT_EQ(oWrapped.GetRemainingSize(), MAX_SIZE);
    EXPECT_EQ(oWrapped.GetReadableSize(), MAX_SIZE);
    oWrapped.RequireReadable(MAX_SIZE);

    char aTarget[16] = {};
    for (const unsigned long nPosition : {0x80000000UL, 0xFFFFFFF0UL, 0xFFFFFFFEUL, 0xFFFFFFFFUL})
    {
        oWrapped.Rewind();
        oWrapped.Advance(nPosition);
        EXPECT_EQ(oWrapped.GetStreamPosition(), nPosition);
        EXPECT_EQ(oWrapped.GetRemainingSize(), MAX_SIZE - nPosition);
        EXPECT_EQ(oWrapped.GetReadableSize(), MAX_SIZE - nPosition);
        ExpectThrow(5000, [&] { oWrapped.RequireReadable(std::uint64_t{MAX_SIZE} - nPosition + 1); });
        ExpectThrow(5000, [&] { oWrapped.Get(aTarget, MAX_SIZE - nPosition + 1); });
        oWrapped.Get(nullptr, 0);
        EXPECT_EQ(oWrapped.GetStreamPosition(), nPosition);
    }

    oWrapped.Advance(1); // wraps
    EXPECT_EQ(oWrapped.GetStreamPosition(), 0U);
}

TEST(VQDataStream, WritesUpToTheLastOf32Bits)
{
    if (sizeof(unsigned long) == sizeof(std::uint32_t))
        GTEST_SKIP() << "4 GiB of room that is never touched are for 64-bit systems that give it";
    if (const std::unique_ptr<void, decltype(&MEM_Free)> pRoom(MEM_Alloc(MAX_SIZE), MEM_Free); pRoom == nullptr)
        GTEST_SKIP() << "4 GiB are not to be had";

    CVQDataStream oStream(STORING);
    oStream.Put("abcd", 4);
    oStream.Advance(MAX_SIZE - 5);
    EXPECT_EQ(oStream.GetStreamPosition(), MAX_SIZE - 1);
    oStream.Put("x", 1);
    EXPECT_EQ(oStream.GetSize(), MAX_SIZE);
    EXPECT_EQ(CapacityOf(oStream), MAX_SIZE); // not more than can be counted
    EXPECT_EQ(std::memcmp(oStream.GetBuffer(), "abcd", 4), 0);
    EXPECT_EQ(oStream.GetBuffer()[MAX_SIZE - 1], 'x');
    for (const unsigned long nSize : {1UL, 4UL, 7UL, MAX_SIZE})
        ExpectThrow(5001, [&] { oStream.Put("1234567", nSize); });
    EXPECT_EQ(oStream.GetStreamPosition(), MAX_SIZE);

    CVQDataStream::Iterator oFirst(oStream);
    oFirst.Put("X", 1); // still as good as ever
    EXPECT_EQ(std::memcmp(oStream.GetBuffer(), "Xbcd", 4), 0);
    EXPECT_EQ(oStream.GetSize(), MAX_SIZE);
}

TEST(VQDataStream, HoldsWhatAPlainTextWould)
{
    std::mt19937 oRandom(42);
    for (int nRound = 0; nRound < 50; ++nRound)
    {
        auto pStream = std::make_unique<CVQDataStream>(STORING);
        std::vector<std::unique_ptr<CVQDataStream>> oCopies;
        std::vector<std::string> oExpectedOfCopies;
        std::string sExpected;
        std::size_t nPosition = 0;
        const auto Write = [&sExpected](std::size_t nStart, const std::string& sNew)
        {
            sExpected.resize(std::max(sExpected.size(), nStart + sNew.size()));
            sExpected.replace(nStart, sNew.size(), sNew);
        };

        for (int nStep = 0; nStep < 200; ++nStep)
        {
            std::string sNew(oRandom() % 10, static_cast<char>('a' + nStep % 26));
            switch (oRandom() % 8)
            {
            case 0: // back to the start
                pStream->Advance(static_cast<unsigned long>(0x100000000ULL - nPosition));
                nPosition = 0;
                break;
            case 1:
            {
                const std::size_t nStart = oRandom() % (sExpected.size() + 1);
                CVQDataStream::Iterator oIterator(*pStream);
                oIterator.Advance(static_cast<unsigned long>(nStart));
                oIterator.Put(sNew.data(), static_cast<unsigned long>(sNew.size()));
                Write(nStart, sNew);
                break;
            }
            case 2:
                oCopies.push_back(std::make_unique<CVQDataStream>(*pStream));
                oExpectedOfCopies.push_back(sExpected);
                break;
            case 3:
                if (!oCopies.empty() && BytesOf(*oCopies.back()) == oExpectedOfCopies.back())
                {
                    oCopies.pop_back();
                    oExpectedOfCopies.pop_back();
                }
                break;
            case 4: // four bytes and one have ways of their own
                sNew.resize(oRandom() % 2 == 0 ? 4 : 1, '#');
                [[fallthrough]];
            default:
                pStream->Put(sNew.data(), static_cast<unsigned long>(sNew.size()));
                Write(nPosition, sNew);
                nPosition += sNew.size();
                break;
            }
            ASSERT_EQ(pStream->GetStreamPosition(), nPosition);
            ASSERT_EQ(BytesOf(*pStream), sExpected);
        }

        pStream.reset();
        for (std::size_t i = 0; i < oCopies.size(); ++i)
            ASSERT_EQ(BytesOf(*oCopies[i]), oExpectedOfCopies[i]);
    }
}

TEST(VQDataStream, FreesAGivenBlockThatItOutgrows)
{
    auto* pGiven = static_cast<unsigned char*>(MEM_Alloc(4));
    std::memcpy(pGiven, "????", 4);
    unsigned char* pGrown = nullptr;
    {
        CVQDataStream oStream(pGiven, 4, STORING, false);
        oStream.Put("abcd", 4);
        EXPECT_EQ(oStream.GetBuffer(), pGiven);
        oStream.Put("e", 1); // frees pGiven, though it does not own it
        pGrown = oStream.QueryBuffer();
        EXPECT_EQ(CapacityOf(oStream), 13U); // 5 + 2 * 4
        EXPECT_EQ(BytesOf(oStream), "abcde");
    }
    EXPECT_EQ(std::memcmp(pGrown, "abcde", 5), 0); // still not owned: not freed with the stream
    MEM_Free(pGrown);
}

TEST(VQDataStream, TellsWhatCanBeRead)
{
    CVQDataStream oStream = StreamOf("abcdef");
    TakeText(oStream, 4);
    EXPECT_EQ(oStream.GetReadableSize(), 2U);
    oStream.RequireReadable(0);
    oStream.RequireReadable(2);
    for (const std::uint64_t nSize : {std::uint64_t{3}, std::uint64_t{0xFFFFFFFF}, std::uint64_t{0x100000000},
                                      std::numeric_limits<std::uint64_t>::max()})
        ExpectThrow(5000, [&] { oStream.RequireReadable(nSize); });
    EXPECT_EQ(oStream.GetStreamPosition(), 4U);
}

// ---------------------------------------------------------------------------------------------------- Clear, Rewind

TEST(VQDataStream, BeginsAnewByClear)
{
    CVQDataStream oStoring(STORING);
    oStoring.Put("abcd", 4);
    const unsigned char* pBlock = oStoring.GetBuffer();
    oStoring.Clear();
    EXPECT_EQ(oStoring.GetSize(), 0U);
    EXPECT_EQ(oStoring.GetStreamPosition(), 0U);
    EXPECT_EQ(oStoring.GetBuffer(), pBlock);
    EXPECT_EQ(CapacityOf(oStoring), 4U);
    oStoring.Put("X", 1);
    EXPECT_EQ(BytesOf(oStoring), "X");

    CVQDataStream oLoading = StreamOf("abcd");
    TakeText(oLoading, 3);
    oLoading.Clear();
    EXPECT_EQ(oLoading.GetSize(), 0U);
    EXPECT_EQ(oLoading.GetStreamPosition(), 0U);
    EXPECT_EQ(TakeText(oLoading, 4), "abcd"); // still within the block
}

TEST(VQDataStream, GoesBackToTheStartByRewind)
{
    CVQDataStream oStoring(STORING);
    oStoring.Put("abcd", 4);
    oStoring.Rewind();
    EXPECT_EQ(oStoring.GetSize(), 0U);
    EXPECT_EQ(oStoring.GetStreamPosition(), 0U);
    EXPECT_EQ(CapacityOf(oStoring), 4U);

    CVQDataStream oLoading = StreamOf("abcd");
    TakeText(oLoading, 3);
    oLoading.Rewind();
    EXPECT_EQ(oLoading.GetSize(), 4U);
    EXPECT_EQ(oLoading.GetStreamPosition(), 0U);
    EXPECT_EQ(TakeText(oLoading, 4), "abcd");
}

TEST(VQDataStream, ForgetsVersionsByClearAndRewind)
{
    const std::string sTwoVersions("\7\0\0\0\x8\0\0\0", 8);
    for (int nWay = 0; nWay < 4; ++nWay)
    {
        CVQDataStream oStream = StreamOf(sTwoVersions);
        oStream.SerializeBegin(-1);
        oStream.SerializeBegin(-1);
        EXPECT_EQ(oStream.GetVersion(), 8);

        if (nWay == 0)
            oStream.Clear();
        else if (nWay == 1)
            oStream.Rewind();
        else if (nWay == 2)
            oStream.Clear(Bytes("abcd"), 4, true);
        else
            oStream.Rewind(Bytes("abcd"), 4, true);
        EXPECT_EQ(oStream.GetVersion(), -1) << nWay;
        oStream.SerializeEnd();
        EXPECT_EQ(oStream.GetVersion(), -1) << nWay;
    }
}

TEST(VQDataStream, TakesOtherDataByClear)
{
    for (const bool bCopy : {false, true})
    {
        const std::string sOther = "other";
        CVQDataStream oStream = StreamOf("abc");
        TakeText(oStream, 2);
        oStream.Clear(Bytes(sOther.data()), 5, bCopy);
        EXPECT_EQ(oStream.GetBuffer() == Bytes(sOther.data()), !bCopy);
        EXPECT_EQ(oStream.GetSize(), 0U); // in every mode
        EXPECT_EQ(oStream.GetStreamPosition(), 0U);
        EXPECT_EQ(oStream.GetRemainingSize(), 0U);

        EXPECT_EQ(TakeText(oStream, 3), "oth"); // yet all can be read
        EXPECT_EQ(oStream.GetRemainingSize(), 0xFFFFFFFDUL);
        EXPECT_EQ(oStream.GetReadableSize(), 2U);
        EXPECT_EQ(TakeText(oStream, 2), "er");
        ExpectThrow(5000, [&] { TakeText(oStream, 1); });

        CVQDataStream oStoring(STORING);
        oStoring.Clear(Bytes(sOther.data()), 5, true);
        EXPECT_EQ(oStoring.GetSize(), 0U);
        EXPECT_EQ(CapacityOf(oStoring), 5U);
        oStoring.Put("X", 1);
        EXPECT_EQ(BytesOf(oStoring), "X");
        EXPECT_EQ(sOther, "other");
    }
}

TEST(VQDataStream, TakesOtherDataByRewind)
{
    for (const bool bCopy : {false, true})
    {
        const std::string sOther = "other";
        CVQDataStream oStream = StreamOf("abc");
        TakeText(oStream, 2);
        oStream.Rewind(Bytes(sOther.data()), 5, bCopy);
        EXPECT_EQ(oStream.GetBuffer() == Bytes(sOther.data()), !bCopy);
        EXPECT_EQ(oStream.GetSize(), 5U);
        EXPECT_EQ(TakeText(oStream, 5), "other");

        std::string sRoom = "room!";
        CVQDataStream oStoring(STORING);
        oStoring.Rewind(Bytes(sRoom.data()), 5, bCopy);
        EXPECT_EQ(oStoring.GetSize(), 0U);
        EXPECT_EQ(CapacityOf(oStoring), 5U);
        oStoring.Put("X", 1);
        EXPECT_EQ(sRoom, bCopy ? "room!" : "Xoom!");
    }
}

TEST(VQDataStream, TakesAPartOfItsOwnDataByCopy)
{
    CVQDataStream oStream = StreamOf("abcdef");
    oStream.Rewind(oStream.GetBuffer() + 2, 3, true);
    EXPECT_EQ(TakeText(oStream, 3), "cde");
}

TEST(VQDataStream, LeavesItsCopiesAloneWhenItTakesOtherData)
{
    CVQDataStream oStream = StreamOf("abc");
    CVQDataStream oCopy(oStream);
    oStream.Rewind(Bytes("other"), 5, true);
    EXPECT_EQ(TakeText(oCopy, 3), "abc");
}

// -------------------------------------------------------------------------------------------------------- versions

TEST(VQDataStream, WritesAVersionAheadOfAnObject)
{
    CVQDataStream oStream(STORING);
    oStream.SerializeBegin(256);
    EXPECT_EQ(oStream.GetVersion(), -1); // untouched while storing
    oStream.Put("a", 1);
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), -1);
    EXPECT_EQ(BytesOf(oStream), std::string("\0\1\0\0a", 5));
    EXPECT_EQ(oStream.GetStreamPosition(), 5U);
}

TEST(VQDataStream, ReadsTheVersionsOfNestedObjects)
{
    CVQDataStream oStream = StreamOf(Golden("nested.stream"));
    oStream.SerializeBegin(-1);
    EXPECT_EQ(oStream.GetVersion(), 256);
    EXPECT_EQ(oStream.GetStreamPosition(), 4U);
    EXPECT_EQ(TakeText(oStream, 1), "A");
    oStream.SerializeBegin(999); // what is passed is not looked at
    EXPECT_EQ(oStream.GetVersion(), 257);
    EXPECT_EQ(TakeText(oStream, 1), "B");
    oStream.SerializeBegin(-1);
    EXPECT_EQ(oStream.GetVersion(), -3); // signed
    EXPECT_EQ(TakeText(oStream, 1), "C");
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), 257);
    EXPECT_EQ(TakeText(oStream, 1), "b");
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), 256);
    EXPECT_EQ(TakeText(oStream, 1), "a");
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), -1);
}

TEST(VQDataStream, WritesTheVersionsOfNestedObjects)
{
    CVQDataStream oStream(STORING);
    oStream.SerializeBegin(256);
    oStream.Put("A", 1);
    oStream.SerializeBegin(257);
    oStream.Put("B", 1);
    oStream.SerializeBegin(-3);
    oStream.Put("C", 1);
    oStream.SerializeEnd();
    oStream.Put("b", 1);
    oStream.SerializeEnd();
    oStream.Put("a", 1);
    oStream.SerializeEnd();
    EXPECT_EQ(BytesOf(oStream), Golden("nested.stream"));
}

TEST(VQDataStream, ReadsAnyVersion)
{
    for (const std::int32_t nVersion : {0, -1, 1, 65535, std::numeric_limits<std::int32_t>::min(),
                                        std::numeric_limits<std::int32_t>::max(), 0x12345678})
    {
        CVQDataStream oStored(STORING);
        oStored.SerializeBegin(nVersion);
        CVQDataStream oLoaded(oStored);
        oLoaded.SerializeBegin(-1);
        EXPECT_EQ(oLoaded.GetVersion(), nVersion);
        oLoaded.SerializeEnd();
        EXPECT_EQ(oLoaded.GetVersion(), -1);
    }
}

TEST(VQDataStream, HasNoVersionAfterAnEndTooMany)
{
    CVQDataStream oStream = StreamOf(std::string("\7\0\0\0", 4));
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), -1);
    oStream.SerializeBegin(-1);
    oStream.SerializeEnd();
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), -1);
}

TEST(VQDataStream, KeepsManyVersions)
{
    constexpr std::int32_t DEPTH = 1000; // the stack grows in blocks of 128
    CVQDataStream oStored(STORING);
    for (std::int32_t i = 0; i < DEPTH; ++i)
        oStored.SerializeBegin(i);

    CVQDataStream oLoaded(oStored);
    for (std::int32_t i = 0; i < DEPTH; ++i)
    {
        oLoaded.SerializeBegin(-1);
        ASSERT_EQ(oLoaded.GetVersion(), i);
    }
    for (std::int32_t i = DEPTH; i > 0; --i)
    {
        ASSERT_EQ(oLoaded.GetVersion(), i - 1);
        oLoaded.SerializeEnd();
    }
    EXPECT_EQ(oLoaded.GetVersion(), -1);
}

TEST(VQDataStream, KeepsTheVersionWhenTheNextIsCut)
{
    CVQDataStream oStream = StreamOf(std::string("\7\0\0\0\x8\0\0", 7));
    oStream.SerializeBegin(-1);
    ExpectThrow(5000, [&] { oStream.SerializeBegin(-1); });
    EXPECT_EQ(oStream.GetVersion(), 7);
    EXPECT_EQ(oStream.GetStreamPosition(), 4U);
    oStream.SerializeEnd();
    EXPECT_EQ(oStream.GetVersion(), -1);
}

// -------------------------------------------------------------------------------------------------------- iterators

TEST(VQDataStreamIterator, IsBoundToNoStreamAtFirst)
{
    CVQDataStream::Iterator oIterator;
    EXPECT_EQ(oIterator.GetPosition(), 0U);
    EXPECT_EQ(oIterator.GetBuffer(), nullptr);
    EXPECT_EQ(oIterator.GetSize(), 0U);
    EXPECT_FALSE(oIterator.IsStoring());

    char cByte = 'x';
    ExpectThrow(5000, [&] { oIterator.Get(&cByte, 1); });
    ExpectThrow(5003, [&] { oIterator.Put(&cByte, 1); });
    EXPECT_EQ(cByte, 'x');
    oIterator.Advance(3);
    EXPECT_EQ(oIterator.GetPosition(), 3U);
    EXPECT_EQ(oIterator.GetBuffer(), nullptr);
}

TEST(VQDataStreamIterator, ReadsAtAPositionOfItsOwn)
{
    CVQDataStream oStream = StreamOf("abcdef");
    TakeText(oStream, 3);

    CVQDataStream::Iterator oIterator(oStream);
    EXPECT_EQ(oIterator.GetPosition(), 0U);
    EXPECT_EQ(oIterator.GetSize(), 6U);
    EXPECT_EQ(oIterator.GetBuffer(), oStream.GetBuffer());
    EXPECT_FALSE(oIterator.IsStoring());

    char aText[3] = {};
    oIterator.Get(aText, 2);
    EXPECT_STREQ(aText, "ab");
    EXPECT_EQ(oIterator.GetPosition(), 2U);
    oIterator.Advance(3);
    EXPECT_EQ(oIterator.GetPosition(), 5U);
    EXPECT_EQ(oIterator.GetSize(), 1U);
    EXPECT_EQ(oIterator.GetBuffer(), oStream.GetBuffer() + 5);
    ExpectThrow(5000, [&] { oIterator.Get(aText, 2); });
    EXPECT_EQ(oIterator.GetPosition(), 5U);
    oIterator.Advance(3);
    EXPECT_EQ(oIterator.GetSize(), 0xFFFFFFFEUL);

    EXPECT_EQ(oStream.GetStreamPosition(), 3U);
}

TEST(VQDataStreamIterator, WritesAsTheStreamDoes)
{
    CVQDataStream oStream(STORING);
    CVQDataStream::Iterator oIterator(oStream);
    EXPECT_TRUE(oIterator.IsStoring());
    oIterator.Put("abc", 3);
    EXPECT_EQ(oIterator.GetPosition(), 3U);
    EXPECT_EQ(oStream.GetStreamPosition(), 0U);
    EXPECT_EQ(BytesOf(oStream), "abc");
    oStream.Put("X", 1);
    EXPECT_EQ(BytesOf(oStream), "Xbc");
    oIterator.Put("d", 1);
    EXPECT_EQ(BytesOf(oStream), "Xbcd");
    char cByte = 0;
    oIterator.Advance(0xFFFFFFFCUL); // back to the start
    ExpectThrow(5002, [&] { oIterator.Get(&cByte, 1); });

    CVQDataStream oLoading;
    CVQDataStream::Iterator oRefused(oLoading);
    ExpectThrow(5003, [&] { oRefused.Put("a", 1); });
    EXPECT_EQ(oRefused.GetPosition(), 0U);
}

TEST(VQDataStreamIterator, ReadsAConstantStream)
{
    const CVQDataStream oStream = StreamOf("abc");
    CVQDataStream::Iterator oIterator(oStream);
    char aText[4] = {};
    oIterator.Get(aText, 3);
    EXPECT_STREQ(aText, "abc");
}

TEST(VQDataStreamIterator, CopiesStreamAndPosition)
{
    CVQDataStream oStream = StreamOf("abcdef");
    CVQDataStream::Iterator oFirst(oStream);
    oFirst.Advance(2);

    const CVQDataStream::Iterator oCopy(oFirst);
    EXPECT_EQ(oCopy.GetPosition(), 2U);
    EXPECT_EQ(oCopy.GetBuffer(), oStream.GetBuffer() + 2);

    CVQDataStream::Iterator oAssigned;
    CVQDataStream::Iterator& oResult = oAssigned = oFirst;
    EXPECT_EQ(&oResult, &oAssigned);
    EXPECT_EQ(oAssigned.GetBuffer(), oStream.GetBuffer() + 2);
    oFirst.Advance(1);
    EXPECT_EQ(oAssigned.GetPosition(), 2U);

    const CVQDataStream::Iterator& oItself = oAssigned;
    oAssigned = oItself;
    EXPECT_EQ(oAssigned.GetBuffer(), oStream.GetBuffer() + 2);
}

// ----------------------------------------------------------------------------------------------- encoding of values

TEST(VQDataStream, WritesValuesAsTheirBytes)
{
    CVQDataStream oStream(STORING);
    Add<std::int32_t>(oStream, -2);
    Add<std::int32_t>(oStream, 1000000);
    Add<std::uint32_t>(oStream, 0xFEDCBA98);
    Add<eLight>(oStream, LIGHT_GREEN);
    Add<float>(oStream, -1.5F);
    Add<bool>(oStream, true);
    Add<bool>(oStream, false);
    EXPECT_EQ(BytesOf(oStream), Golden("values.stream"));
}

TEST(VQDataStream, ReadsValuesFromTheirBytes)
{
    CVQDataStream oStream = StreamOf(Golden("values.stream"));
    EXPECT_EQ(Take<std::int32_t>(oStream), -2);
    EXPECT_EQ(Take<std::int32_t>(oStream), 1000000);
    EXPECT_EQ(Take<std::uint32_t>(oStream), 0xFEDCBA98U);
    EXPECT_EQ(Take<eLight>(oStream), LIGHT_GREEN);
    EXPECT_EQ(Take<float>(oStream), -1.5F);
    EXPECT_EQ(Take<bool>(oStream), true);
    EXPECT_EQ(Take<bool>(oStream), false);
    EXPECT_EQ(oStream.GetRemainingSize(), 0U);
}

TEST(VQDataStreamString, WritesLengthAndCharacters)
{
    EXPECT_EQ(RecordOf(CVQString()), std::string(4, '\0'));
    EXPECT_EQ(RecordOf(CVQString("")), std::string(4, '\0'));
    EXPECT_EQ(RecordOf(CVQString("ab")), std::string("\2\0\0\0ab", 6));
    EXPECT_EQ(RecordOf(CVQString('x', 300)), std::string("\x2C\1\0\0", 4) + std::string(300, 'x'));
    EXPECT_EQ(RecordOf(StringOf(std::string("\0\x80\xFF\n", 4))), std::string("\4\0\0\0\0\x80\xFF\n", 8));
}

TEST(VQDataStreamString, WritesTheNumberOfALocalisedText)
{
    const CLocalisedTexts oTexts;
    CVQString oText = CVQStringId(1234);
    EXPECT_STREQ(~oText, "text 1234");
    EXPECT_EQ(RecordOf(oText), std::string("\xFF\xFF\xFF\xFF\xD2\4\0\0", 8));
    EXPECT_EQ(RecordOf(CVQString(CVQStringId(-2))), std::string("\xFF\xFF\xFF\xFF\xFE\xFF\xFF\xFF", 8));

    oText += '!'; // not that text any more, though it has the number
    EXPECT_EQ(RecordOf(oText), std::string("\xA\0\0\0text 1234!", 14));
    EXPECT_EQ(RecordOf(CVQString("text 1234")), std::string("\x9\0\0\0text 1234", 13)); // never loaded
}

TEST(VQDataStreamString, WritesTheCharactersWithoutHooks)
{
    CVQString oText;
    {
        const CLocalisedTexts oTexts;
        oText = CVQStringId(12);
    }
    ASSERT_EQ(oText.GetStringId(), 12);
    EXPECT_EQ(RecordOf(oText), std::string("\7\0\0\0text 12", 11));
}

TEST(VQDataStreamString, WritesAndReadsAsItAlwaysDid)
{
    const CLocalisedTexts oTexts;
    const std::string sGolden = Golden("strings.stream");

    CVQDataStream oStored(STORING);
    WriteStreamString(oStored, CVQString());
    WriteStreamString(oStored, CVQString("ab"));
    WriteStreamString(oStored, CVQString(CVQStringId(1234)));
    WriteStreamString(oStored, StringOf(std::string("\0\x80\xFF\n", 4)));
    WriteStreamString(oStored, CVQString("end"));
    EXPECT_EQ(BytesOf(oStored), sGolden);

    CVQDataStream oLoaded = StreamOf(sGolden);
    const std::string aExpected[] = {"", "ab", "text 1234", std::string("\0\x80\xFF\n", 4), "end"};
    for (const std::string& sExpected : aExpected)
    {
        CVQString oText;
        ReadStreamString(oLoaded, oText);
        EXPECT_EQ(BytesOf(oText), sExpected);
        EXPECT_EQ(oText.GetStringId(), sExpected == "text 1234" ? 1234 : -1);
    }
    EXPECT_EQ(oLoaded.GetReadableSize(), 0U);
}

TEST(VQDataStreamString, ReplacesTheOldText)
{
    for (const char* pOld : {"", "x", "a much longer text than the new one"})
    {
        CVQString oText(pOld);
        CVQDataStream oStream = StreamOf(std::string("\3\0\0\0new", 7));
        ReadStreamString(oStream, oText);
        EXPECT_EQ(BytesOf(oText), "new") << pOld;
    }
}

TEST(VQDataStreamString, LeavesTheStringForNoCharacters)
{
    const CLocalisedTexts oTexts;
    for (const std::int32_t nLength : {0, -2, -3, -1000, std::numeric_limits<std::int32_t>::min()})
    {
        CVQDataStream oStored(STORING);
        Add(oStored, nLength);
        oStored.Put("\1\0\0\0abc", 7);

        CVQString oText = "kept";
        CVQDataStream oStream(oStored);
        ReadStreamString(oStream, oText);
        EXPECT_STREQ(~oText, "kept") << nLength;
        EXPECT_EQ(oStream.GetStreamPosition(), 4U) << nLength; // nothing more was read
    }
}

TEST(VQDataStreamString, LoadsNothingWithoutAHook)
{
    CVQString oText = "kept";
    CVQDataStream oStream = StreamOf(std::string("\xFF\xFF\xFF\xFF\xD2\4\0\0", 8));
    ReadStreamString(oStream, oText);
    EXPECT_STREQ(~oText, "kept");
    EXPECT_EQ(oStream.GetStreamPosition(), 8U); // the number was read
}

TEST(VQDataStreamString, IsEmptyForANumberThatIsNotThere)
{
    const CLocalisedTexts oTexts;
    CVQString oText = "old";
    CVQDataStream oStream = StreamOf(std::string("\xFF\xFF\xFF\xFF\x63\0\0\0", 8));
    ReadStreamString(oStream, oText);
    EXPECT_TRUE(oText.IsEmpty());
    EXPECT_EQ(oText.GetStringId(), -1);
}

TEST(VQDataStreamString, StoresOnlyIntoAStoringStream)
{
    CVQDataStream oLoading(100, LOADING);
    ExpectThrow(5003, [&] { WriteStreamString(oLoading, CVQString("a")); });

    CVQString oText = "kept";
    CVQDataStream oStoring(100, STORING);
    ExpectThrow(5002, [&] { ReadStreamString(oStoring, oText); });
    EXPECT_STREQ(~oText, "kept");
}

// ---------------------------------------------------------------------------------------------------- hostile bytes

class VQDataStreamHostileString : public testing::TestWithParam<bool> // with localised texts or without
{
public:
    VQDataStreamHostileString() : m_oTexts(GetParam() ? std::make_unique<CLocalisedTexts>() : nullptr) {}

private:
    std::unique_ptr<CLocalisedTexts> m_oTexts;
};

INSTANTIATE_TEST_SUITE_P(Hooks, VQDataStreamHostileString, testing::Bool());

TEST_P(VQDataStreamHostileString, IsRefusedWhenItIsCutAnywhere)
{
    const std::string aRecords[] = {std::string(4, '\0'), std::string("\x9\0\0\0some text", 13),
                                    std::string("\xFF\xFF\xFF\xFF\xD2\4\0\0", 8)};
    for (const std::string& sRecord : aRecords)
    {
        for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
        {
            CVQString oText = "kept";
            CVQDataStream oStream = StreamOf(sRecord.substr(0, nCut));
            ExpectThrow(5000, [&] { ReadStreamString(oStream, oText); });
            EXPECT_STREQ(~oText, "kept") << nCut;
            EXPECT_EQ(oStream.GetStreamPosition(), nCut < 4 ? 0U : 4U) << nCut;
        }

        CVQString oText = "kept";
        CVQDataStream oStream = StreamOf(sRecord);
        ReadStreamString(oStream, oText);
        EXPECT_EQ(oStream.GetReadableSize(), 0U);
    }
}

TEST_P(VQDataStreamHostileString, IsRefusedForALengthThatIsNotThere)
{
    for (const std::int32_t nLength : {10, 11, 0x10000, 0x7FFFFFF0, 0x7FFFFFFE, 0x7FFFFFFF})
    {
        CVQDataStream oStored(STORING);
        Add(oStored, nLength);
        oStored.Put("some text", 9);

        CVQString oText = "kept";
        CVQDataStream oStream(oStored);
        ExpectThrow(5000, [&] { ReadStreamString(oStream, oText); });
        EXPECT_STREQ(~oText, "kept") << nLength;
        EXPECT_EQ(oText.GetData()->m_nAllocatedLength, 4) << nLength; // no memory was taken for it
    }
}

TEST_P(VQDataStreamHostileString, MayHoldAnything)
{
    std::mt19937 oRandom(4711);
    int nRead = 0;
    int nRefused = 0;
    for (int i = 0; i < 20000; ++i)
    {
        std::string sBytes(oRandom() % 40, '\0');
        for (char& cByte : sBytes)
            cByte = static_cast<char>(oRandom() % 4 == 0 ? oRandom() : oRandom() % 3 - 1);

        CVQDataStream oStream = StreamOf(sBytes);
        CVQString oText;
        try
        {
            while (oStream.GetReadableSize() > 0)
            {
                ReadStreamString(oStream, oText);
                ++nRead;
            }
        }
        catch (const CVQDataStreamException& oError)
        {
            ASSERT_EQ(oError.GetErrorCode(), 5000U);
            ++nRefused;
        }
        ASSERT_LE(oStream.GetStreamPosition(), sBytes.size());
    }
    EXPECT_GT(nRead, 1000);
    EXPECT_GT(nRefused, 1000);
}

TEST(VQDataStreamString, RoundTripsAnyText)
{
    std::mt19937 oRandom(815);
    CVQDataStream oStored(STORING);
    std::vector<std::string> oTexts;
    for (int i = 0; i < 500; ++i)
    {
        std::string sText(1 + oRandom() % 200, '\0');
        for (char& cByte : sText)
            cByte = static_cast<char>(oRandom());
        WriteStreamString(oStored, StringOf(sText));
        oTexts.push_back(sText);
    }

    CVQDataStream oLoaded(oStored);
    for (const std::string& sText : oTexts)
    {
        CVQString oText;
        ReadStreamString(oLoaded, oText);
        ASSERT_EQ(BytesOf(oText), sText);
    }
    EXPECT_EQ(oLoaded.GetRemainingSize(), 0U);
}
