#include <Common/Debug/FileIOException.h>
#include <Common/Debug/MemFileIOException.h>
#include <Common/File/MemFileIO.h>
#include <Common/Platform/PlatformMemory.h>

#include <tests/support/MemoryLimit.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace
{
using namespace std::string_view_literals;

template <typename tFunction>
void ExpectError(unsigned long nCode, tFunction oFunction)
{
    try
    {
        oFunction();
        ADD_FAILURE() << "nothing was thrown instead of " << nCode;
    }
    catch (const CMemFileIOException& oError)
    {
        EXPECT_EQ(oError.GetErrorCode(), nCode);
        EXPECT_STREQ(oError.GetErrorString(), "");
        EXPECT_STREQ(oError.GetFileName(), "Common/File/MemFileIO");
        EXPECT_GT(oError.GetLine(), 0U);
    }
}

std::string Content(const CMemFileIO& oFile)
{
    return {reinterpret_cast<const char*>(oFile.GetBuffer()), oFile.GetSize()};
}

std::array<unsigned char, 100> Counting()
{
    std::array<unsigned char, 100> aBlock;
    for (std::size_t i = 0; i < aBlock.size(); ++i)
        aBlock[i] = static_cast<unsigned char>(i);
    return aBlock;
}
} // namespace

TEST(MemFileIO, IsEmptyAtFirst)
{
    CMemFileIO oFile(1024);
    EXPECT_EQ(oFile.GetSize(), 0U);
    EXPECT_EQ(oFile.GetBufferSize(), 0U);
    EXPECT_EQ(oFile.GetFilePointerPos(), 0U);
    EXPECT_EQ(oFile.GetBuffer(), nullptr);
    EXPECT_EQ(static_cast<void*>(oFile), nullptr);
    EXPECT_TRUE(oFile.IsOpened());
    EXPECT_TRUE(oFile.IsEof());
    EXPECT_TRUE(oFile.Flush());
}

TEST(MemFileIO, GrowsInSteps)
{
    const std::string sBytes(3000, 'x');

    struct
    {
        unsigned long nStep;
        unsigned long nCount;
        unsigned long nCapacity;
    } const aCases[] = {{1024, 1, 1024}, {1024, 1024, 1024}, {1024, 1025, 2048}, {1024, 2049, 3072},
                        {1, 7, 7},       {7, 7, 7},          {7, 8, 14},         {5000, 1, 5000}};

    for (const auto& oCase : aCases)
    {
        CMemFileIO oFile(oCase.nStep);
        EXPECT_TRUE(oFile.Write(sBytes.data(), oCase.nCount));
        EXPECT_EQ(oFile.GetBufferSize(), oCase.nCapacity) << oCase.nCount;
        EXPECT_EQ(oFile.GetSize(), oCase.nCount);
        EXPECT_EQ(oFile.GetFilePointerPos(), oCase.nCount);
        EXPECT_EQ(static_cast<void*>(oFile), oFile.GetBuffer());
    }
}

TEST(MemFileIO, KeepsItsBytesWhenItGrows)
{
    CMemFileIO oFile(3);
    std::string sExpected;
    for (int i = 0; i < 100; ++i)
    {
        const char cEach = static_cast<char>(i);
        EXPECT_TRUE(oFile.Write(&cEach, 1));
        sExpected += cEach;
    }
    EXPECT_EQ(Content(oFile), sExpected);
    EXPECT_EQ(oFile.GetBufferSize(), 102U);
}

TEST(MemFileIO, CannotGrowWithoutAStep)
{
    CMemFileIO oFile(0);
    ExpectError(4600, [&] { oFile.Write("a", 1); });
    ExpectError(4600, [&] { oFile.SetSize(1); });
    EXPECT_TRUE(oFile.Write("a", 0));
    EXPECT_EQ(oFile.GetSize(), 0U);
}

TEST(MemFileIO, AnAttachedBlockIsTheContent)
{
    auto aBlock = Counting();
    CMemFileIO oFile(aBlock.data(), 100, 0);
    EXPECT_EQ(oFile.GetSize(), 100U);
    EXPECT_EQ(oFile.GetBufferSize(), 100U);
    EXPECT_EQ(oFile.GetBuffer(), aBlock.data());

    std::array<unsigned char, 100> aRead{};
    EXPECT_TRUE(oFile.Read(aRead.data(), 100));
    EXPECT_EQ(aRead, aBlock);
    EXPECT_TRUE(oFile.IsEof());

    oFile.SetFilePointerPos(98);
    EXPECT_TRUE(oFile.Write("XY", 2));
    EXPECT_EQ(aBlock[99], 'Y');
    ExpectError(4600, [&] { oFile.Write("Z", 1); });
    oFile.SetFilePointerPos(99);
    ExpectError(4600, [&] { oFile.Write("ZZ", 2); });
    EXPECT_EQ(oFile.GetFilePointerPos(), 99U);
    EXPECT_EQ(oFile.GetSize(), 100U);
    EXPECT_EQ(aBlock[99], 'Y');
    EXPECT_TRUE(oFile.Close());
    EXPECT_EQ(aBlock[98], 'X') << "the block stays the caller's";
}

TEST(MemFileIO, AnAttachedBlockWithAStepIsRoomToWriteInto)
{
    auto* pBlock = static_cast<unsigned char*>(MEM_Alloc(4));
    std::memcpy(pBlock, "abcd", 4);
    CMemFileIO oFile(pBlock, 4, 10);
    EXPECT_EQ(oFile.GetSize(), 0U);
    EXPECT_EQ(oFile.GetBufferSize(), 4U);
    char cNext = 0;
    EXPECT_FALSE(oFile.Read(&cNext, 1));

    EXPECT_TRUE(oFile.Write("12", 2));
    EXPECT_EQ(std::memcmp(pBlock, "12cd", 4), 0);
    oFile.SetSize(4);
    EXPECT_EQ(Content(oFile), "12cd") << "what the caller put there is the content";

    oFile.SetFilePointerPos(4);
    EXPECT_TRUE(oFile.Write("34", 2));
    EXPECT_EQ(oFile.GetBufferSize(), 14U);
    EXPECT_EQ(Content(oFile), "12cd34");

    unsigned char* const pGrown = oFile.GetBuffer();
    oFile.Close();
    MEM_Free(pGrown); // a block that was attached is not freed, also after it has grown
}

TEST(MemFileIO, AttachStartsAnew)
{
    CMemFileIO oFile(16);
    oFile.Write("abcdef", 6);
    auto aBlock = Counting();
    oFile.Attach(aBlock.data(), 50, 0);
    EXPECT_EQ(oFile.GetFilePointerPos(), 0U);
    EXPECT_EQ(oFile.GetSize(), 50U);
    EXPECT_EQ(oFile.GetBuffer(), aBlock.data());
    oFile.Attach(nullptr, 50, 0);
    EXPECT_EQ(oFile.GetSize(), 0U);
    char cNext = 0;
    EXPECT_FALSE(oFile.Read(&cNext, 1));
}

TEST(MemFileIO, AttachingTheOwnBlockHandsItOver)
{
    CMemFileIO oFile(8);
    EXPECT_TRUE(oFile.Write("abcdef", 6));
    unsigned char* const pBlock = oFile.GetBuffer();
    oFile.Attach(pBlock, oFile.GetSize(), 0);
    EXPECT_EQ(oFile.GetBuffer(), pBlock);
    EXPECT_EQ(Content(oFile), "abcdef");
    oFile.Close();
    EXPECT_EQ(std::memcmp(pBlock, "abcdef", 6), 0) << "the block is the caller's now";

    oFile.Attach(pBlock, 8, 8);
    EXPECT_TRUE(oFile.Write("0123456789", 10));
    unsigned char* const pGrown = oFile.GetBuffer();
    oFile.Attach(pGrown + 4, 6, 0);
    EXPECT_EQ(Content(oFile), "456789");
    MEM_Free(pGrown);
}

TEST(MemFileIO, TakesBytesOfItsOwnBlock)
{
    CMemFileIO oFile(8);
    EXPECT_TRUE(oFile.Write("01234567", 8));
    EXPECT_TRUE(oFile.Write(oFile.GetBuffer() + 2, 5)) << "the block grows, and may move";
    EXPECT_EQ(Content(oFile), "0123456723456");

    const CMemFileIO oCopy(oFile);
    EXPECT_TRUE(oFile.Write(oFile.GetBuffer(), 8)) << "the block is left to the copy";
    EXPECT_EQ(Content(oFile), "012345672345601234567");

    oFile.SetFilePointerPos(2);
    EXPECT_TRUE(oFile.Write(oFile.GetBuffer(), 6)) << "source and target overlap";
    EXPECT_EQ(Content(oFile), "010123452345601234567");
    oFile.SetFilePointerPos(0);
    EXPECT_TRUE(oFile.Write(oFile.GetBuffer() + 1, 6));
    EXPECT_EQ(Content(oFile), "101234452345601234567");
}

TEST(MemFileIO, DetachHandsTheBlockOver)
{
    unsigned char* pBlock = nullptr;
    {
        CMemFileIO oFile(16);
        oFile.Write("abcdef", 6);
        pBlock = oFile.Detach();
        EXPECT_EQ(oFile.GetSize(), 0U);
        EXPECT_EQ(oFile.GetBufferSize(), 0U);
        EXPECT_EQ(oFile.GetFilePointerPos(), 0U);
        EXPECT_EQ(oFile.GetBuffer(), nullptr);
        EXPECT_EQ(oFile.Detach(), nullptr);

        // The grow step stays, so it can be written to again; that block is nobody's but the caller's too.
        EXPECT_TRUE(oFile.Write("x", 1));
        EXPECT_EQ(oFile.GetBufferSize(), 16U);
        MEM_Free(oFile.Detach());
    }
    EXPECT_EQ(std::memcmp(pBlock, "abcdef", 6), 0);
    MEM_Free(pBlock);
}

TEST(MemFileIO, SetSizeMovesThePositionBack)
{
    CMemFileIO oFile(64);
    oFile.Write(Counting().data(), 60);
    oFile.SetFilePointerPos(50);
    oFile.SetSize(10);
    EXPECT_EQ(oFile.GetFilePointerPos(), 10U);
    EXPECT_EQ(oFile.GetSize(), 10U);
    EXPECT_EQ(oFile.GetBufferSize(), 64U);

    oFile.SetFilePointerPos(5);
    oFile.SetSize(100);
    EXPECT_EQ(oFile.GetFilePointerPos(), 5U);
    EXPECT_EQ(oFile.GetSize(), 100U);
    EXPECT_EQ(oFile.GetBufferSize(), 128U);
}

TEST(MemFileIO, BytesThatWereNeverWrittenAreZero)
{
    CMemFileIO oFile(64);
    oFile.SetSize(10);
    oFile.SetFilePointerPos(200);
    EXPECT_TRUE(oFile.Write("x", 1));
    EXPECT_EQ(Content(oFile), std::string(200, '\0') + "x");
}

TEST(MemFileIO, CloseEmptiesIt)
{
    CMemFileIO oFile(16);
    oFile.Write("abc", 3);
    EXPECT_TRUE(oFile.Close());
    EXPECT_EQ(oFile.GetSize(), 0U);
    EXPECT_EQ(oFile.GetBufferSize(), 0U);
    EXPECT_EQ(oFile.GetBuffer(), nullptr);
    EXPECT_TRUE(oFile.IsOpened());
    EXPECT_TRUE(oFile.Close());
    ExpectError(4600, [&] { oFile.Write("a", 1); });
}

TEST(MemFileIO, OpenDoesNothing)
{
    CMemFileIO oFile(16);
    oFile.Write("abc", 3);
    EXPECT_TRUE(oFile.Open("missing", CFileIO::READ));
    EXPECT_TRUE(oFile.Open(nullptr, 0));
    EXPECT_EQ(Content(oFile), "abc");
    EXPECT_EQ(oFile.GetFilePointerPos(), 3U);
}

TEST(MemFileIO, ReadsWhatIsLeft)
{
    CMemFileIO oFile(16);
    oFile.Write("abcde", 5);
    oFile.SetFilePointerPos(3);
    char aTarget[8] = "######";
    EXPECT_TRUE(oFile.Read(aTarget, 4));
    EXPECT_STREQ(aTarget, "de####");
    EXPECT_EQ(oFile.GetFilePointerPos(), 5U);
    EXPECT_TRUE(oFile.IsEof());
    EXPECT_FALSE(oFile.Read(aTarget, 1));
    EXPECT_TRUE(oFile.Read(aTarget, 0));
    EXPECT_STREQ(aTarget, "de####");
}

TEST(MemFileIO, AValueAtTheEndComesInPart)
{
    CMemFileIO oFile(16);
    oFile.Write("\x01\x02", 2);

    int nInt = 0x11223344;
    oFile.SetFilePointerPos(0);
    EXPECT_TRUE(oFile.Read(nInt));
    EXPECT_EQ(nInt, 0x11220201);

    long nLong = 0x11223344L;
    oFile.SetFilePointerPos(0);
    EXPECT_TRUE(oFile.Read(nLong));
    EXPECT_EQ(nLong, 0x11220201L);

    double dDouble = 0;
    oFile.SetFilePointerPos(1);
    EXPECT_TRUE(oFile.Read(dDouble));
    unsigned char aBytes[sizeof dDouble];
    std::memcpy(aBytes, &dDouble, sizeof dDouble);
    EXPECT_EQ(aBytes[0], 2);
    EXPECT_EQ(aBytes[1], 0);

    EXPECT_FALSE(oFile.Read(nInt));
    EXPECT_EQ(nInt, 0x11220201);
}

TEST(MemFileIO, AStringAtTheEndDoesNotComeInPart)
{
    for (const std::string_view sBytes : {"\x05\0\0\0abc"sv, "\x05\0\0\0"sv, "\x05\0"sv})
    {
        CMemFileIO oFile(16);
        oFile.Write(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
        oFile.SetFilePointerPos(0);
        CVQString sText("kept");
        EXPECT_FALSE(oFile.Read(sText));
        EXPECT_STREQ(~sText, "kept");
    }
}

TEST(MemFileIO, MovesAnywhereFromTheStartOn)
{
    CMemFileIO oFile(16);
    oFile.Write("0123456789", 10);
    EXPECT_TRUE(oFile.SetFilePointerPos(1000));
    EXPECT_EQ(oFile.GetFilePointerPos(), 1000U);
    EXPECT_TRUE(oFile.IsEof());
    char cNext = '#';
    EXPECT_FALSE(oFile.Read(&cNext, 1));
    EXPECT_EQ(cNext, '#');

    EXPECT_TRUE(oFile.Skip(-995));
    EXPECT_TRUE(oFile.Read(&cNext, 1));
    EXPECT_EQ(cNext, '5');
    EXPECT_TRUE(oFile.Skip(100));
    EXPECT_EQ(oFile.GetFilePointerPos(), 106U);
    ExpectError(4602, [&] { oFile.Skip(-107); });
    EXPECT_EQ(oFile.GetFilePointerPos(), 106U);
    EXPECT_TRUE(oFile.Skip(-106));
    ExpectError(4602, [&] { oFile.Skip(-1); });
    ExpectError(4602, [&] { oFile.Skip(std::numeric_limits<long>::min()); });
    EXPECT_TRUE(oFile.Skip(0));
}

TEST(MemFileIO, SumsBeyond32BitsAreRefused)
{
    CMemFileIO oFile(16);
    oFile.Write("abc", 3);
    oFile.SetFilePointerPos(0xFFFFFFFFUL);
    ExpectError(4601, [&] { oFile.Write("x", 1); });
    EXPECT_EQ(oFile.GetFilePointerPos(), 0xFFFFFFFFUL);
    EXPECT_TRUE(oFile.Skip(0x7FFFFFFFL));
    EXPECT_EQ(oFile.GetFilePointerPos(), 0xFFFFFFFFUL);
    oFile.SetFilePointerPos(3);
    ExpectError(4601, [&] { oFile.Write("x", 0xFFFFFFFFUL); });
    ExpectError(4601, [&] { oFile.SetSize(0xFFFFFFF1UL); }); // the step reaches beyond
    EXPECT_EQ(Content(oFile), "abc");
    EXPECT_EQ(oFile.GetBufferSize(), 16U);

    if (sizeof(long) > 4)
    {
        ExpectError(4601, [&] { oFile.Write("x", ~0UL); });
        ExpectError(4601, [&] { oFile.SetSize(~0UL); });
        EXPECT_TRUE(oFile.SetFilePointerPos(~0UL));
        EXPECT_TRUE(oFile.IsEof());
    }

    CMemFileIO oHuge(0xFFFFFFFFUL);
    oHuge.SetFilePointerPos(0xFFFFFFFFUL);
    ExpectError(4601, [&] { oHuge.Write("x", 1); });
}

TEST(MemFileIO, RawAndFormattedTransfersAreNotSupported)
{
    CMemFileIO oFile(16);
    oFile.Write("abc", 3);
    oFile.SetFilePointerPos(0);
    char aTarget[4] = "###";
    EXPECT_EQ(oFile.ReadRaw(aTarget, 1, 3), 0);
    EXPECT_STREQ(aTarget, "###");
    EXPECT_EQ(oFile.WriteRaw("xyz", 1, 3), 0);
    EXPECT_FALSE(oFile.Printf("%d", 1));
    EXPECT_EQ(oFile.GetFilePointerPos(), 0U);
    EXPECT_EQ(Content(oFile), "abc");
    EXPECT_THROW(oFile.ReadLine(aTarget, 4), CFileIOException);
}

TEST(MemFileIO, TakesValuesAndText)
{
    CMemFileIO oFile(10);
    CFileIO& oBase = oFile;
    EXPECT_TRUE(oBase.Write(7L));
    EXPECT_TRUE(oBase.Write(CVQString("binary")));
    EXPECT_TRUE(oBase.WriteAscii(-5));
    EXPECT_TRUE(oBase.WriteAscii(CVQString("text")));
    EXPECT_TRUE(oBase.WriteAscii(2.5F));
    EXPECT_EQ(Content(oFile), std::string("\7\0\0\0\6\0\0\0binary-5; \"text\"; 2.5000; ", 34));

    oBase.SetFilePointerPos(0);
    long nLong = 0;
    CVQString sBinary;
    int nInt = 0;
    CVQString sText;
    float fFloat = 0;
    EXPECT_TRUE(oBase.Read(nLong) && oBase.Read(sBinary) && oBase.ReadAscii(nInt) && oBase.ReadAscii(sText));
    oBase.StepBack();
    EXPECT_TRUE(oBase.ReadAscii(sText) && oBase.ReadAscii(fFloat));
    EXPECT_EQ(nLong, 7L);
    EXPECT_STREQ(~sBinary, "binary");
    EXPECT_EQ(nInt, -5);
    EXPECT_STREQ(~sText, "text");
    EXPECT_EQ(fFloat, 2.5F);
}

// ---------------------------------------------------------------- copies

TEST(MemFileIO, CopiesShareTheBlock)
{
    CMemFileIO oFile(16);
    oFile.Write("abcdef", 6);
    oFile.SetFilePointerPos(2);

    CMemFileIO oCopy(oFile);
    EXPECT_EQ(oCopy.GetBuffer(), oFile.GetBuffer());
    EXPECT_EQ(oCopy.GetSize(), 6U);
    EXPECT_EQ(oCopy.GetFilePointerPos(), 2U);
    EXPECT_TRUE(oCopy.Write("XY", 2));
    EXPECT_EQ(Content(oFile), "abXYef");
    EXPECT_EQ(oFile.GetFilePointerPos(), 2U);

    CMemFileIO oAssigned(1);
    oAssigned.Write("own", 3);
    oAssigned = oCopy;
    EXPECT_EQ(oAssigned.GetBuffer(), oFile.GetBuffer());
    const CMemFileIO& oSelf = oAssigned;
    oAssigned = oSelf;
    EXPECT_EQ(Content(oAssigned), "abXYef");
}

TEST(MemFileIO, TheLastOwnerFreesTheBlock)
{
    auto pFirst = std::make_unique<CMemFileIO>(16UL);
    pFirst->Write("abcdef", 6);
    CMemFileIO oCopy(*pFirst);
    CMemFileIO oClosed(oCopy);
    oClosed.Close();
    pFirst.reset();
    EXPECT_EQ(Content(oCopy), "abcdef");
}

TEST(MemFileIO, OneThatGrowsLeavesTheOthersTheirBlock)
{
    CMemFileIO oFile(8);
    oFile.Write("abcdefgh", 8);
    CMemFileIO oCopy(oFile);
    const unsigned char* const pBlock = oCopy.GetBuffer();
    EXPECT_TRUE(oFile.Write("ij", 2));
    EXPECT_EQ(Content(oFile), "abcdefghij");
    EXPECT_EQ(oCopy.GetBuffer(), pBlock);
    EXPECT_EQ(Content(oCopy), "abcdefgh");
    EXPECT_TRUE(oCopy.Write("XYZ", 3));
    EXPECT_EQ(Content(oCopy), "abcdefghXYZ");
    EXPECT_EQ(Content(oFile), "abcdefghij");
}

TEST(MemFileIO, ADetachedBlockIsFreedByNoCopy)
{
    CMemFileIO oFile(8);
    oFile.Write("abcdefgh", 8);
    CMemFileIO oCopy(oFile);
    unsigned char* const pBlock = oFile.Detach();
    EXPECT_EQ(oCopy.GetBuffer(), pBlock);
    EXPECT_TRUE(oCopy.Write("ij", 2)) << "it goes on with a copy, the block is the caller's";
    EXPECT_EQ(Content(oCopy), "abcdefghij");
    EXPECT_EQ(std::memcmp(pBlock, "abcdefgh", 8), 0);
    oCopy.Close();
    MEM_Free(pBlock);
}

TEST(MemFileIO, CopiesOfAnAttachedFileGrowWithoutTouchingTheBlock)
{
    auto* pBlock = static_cast<unsigned char*>(MEM_Alloc(2));
    CMemFileIO oFile(pBlock, 2, 4);
    oFile.Write("ab", 2);
    CMemFileIO oCopy(oFile);
    EXPECT_TRUE(oCopy.Write("c", 1));
    EXPECT_EQ(Content(oCopy), "abc");
    EXPECT_EQ(Content(oFile), "ab");
    MEM_Free(oCopy.Detach());
    MEM_Free(oFile.Detach());
}

TEST(IsolatedMemFileIO, TellsOfMemoryThatThereIsNot)
{
    // Where a limit can be set, there is room for one more block of 16 MiB, and no more; where none can be, no program
    // gets 3 GiB as long as an address has 32 bits.
    constexpr unsigned long STEP = 16UL << 20;
    constexpr unsigned long HUGE_SIZE = 0xC0000000UL;
    if (!CMemoryLimit::IsSupported() && sizeof(void*) > 4)
        GTEST_SKIP() << "this target sets no limit to the memory of a test";

    CMemFileIO oEmpty(STEP);
    CMemFileIO oFile(STEP);
    ASSERT_TRUE(oFile.Write("abc", 3));
    CMemFileIO oCopy(oFile);
    const CMemoryLimit oLimit(STEP + STEP / 2);

    ExpectError(4601, [&] { oEmpty.SetSize(HUGE_SIZE); });
    EXPECT_EQ(oEmpty.GetBuffer(), nullptr);
    EXPECT_EQ(oEmpty.GetBufferSize(), 0U);
    EXPECT_EQ(oEmpty.GetSize(), 0U);

    // a block that is shared is copied, one that is not is grown: neither is lost
    unsigned char* const pBlock = oFile.GetBuffer();
    ExpectError(4601, [&] { oFile.SetSize(HUGE_SIZE); });
    ExpectError(4601,
                [&]
                {
                    oFile.SetFilePointerPos(HUGE_SIZE);
                    oFile.Write("d", 1);
                });
    EXPECT_EQ(oFile.GetFilePointerPos(), HUGE_SIZE);
    EXPECT_EQ(oFile.GetBuffer(), pBlock);
    EXPECT_EQ(Content(oFile), "abc");
    oCopy.Close();
    ExpectError(4601, [&] { oFile.SetSize(HUGE_SIZE); });
    EXPECT_EQ(oFile.GetBuffer(), pBlock);
    EXPECT_EQ(oFile.GetBufferSize(), STEP);
    EXPECT_EQ(Content(oFile), "abc");

    // and it goes on
    EXPECT_TRUE(oFile.SetFilePointerPos(3));
    EXPECT_TRUE(oFile.Write("de", 2));
    EXPECT_EQ(Content(oFile), "abcde");
    EXPECT_TRUE(oEmpty.Write("x", 1));
}

TEST(IsolatedMemFileIO, LeavesACallersBlockWhenItCannotGrow)
{
    constexpr unsigned long HUGE_SIZE = 0xC0000000UL;
    if (!CMemoryLimit::IsSupported() && sizeof(void*) > 4)
        GTEST_SKIP() << "this target sets no limit to the memory of a test";

    auto* const pBlock = static_cast<unsigned char*>(MEM_Alloc(100));
    ASSERT_NE(pBlock, nullptr);
    CMemFileIO oFile(pBlock, 100, 4096);
    EXPECT_TRUE(oFile.Write("abc", 3));
    {
        const CMemoryLimit oLimit(16UL << 20);
        ExpectError(4601, [&] { oFile.SetSize(HUGE_SIZE); });
    }
    EXPECT_EQ(oFile.GetBuffer(), pBlock);
    EXPECT_EQ(oFile.GetBufferSize(), 100U);
    EXPECT_EQ(Content(oFile), "abc");
    oFile.Close();
    MEM_Free(pBlock);
}
