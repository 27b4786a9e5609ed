#include <Common/Platform/PlatformMemory.h>

#include <tests/support/MemoryLimit.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>

TEST(PlatformMemory, AllocatesResizesAndFrees)
{
    auto* pBlock = static_cast<char*>(MEM_Alloc(4));
    ASSERT_NE(pBlock, nullptr);
    std::memcpy(pBlock, "abc", 4);

    pBlock = static_cast<char*>(MEM_Realloc(pBlock, 4096));
    ASSERT_NE(pBlock, nullptr);
    EXPECT_STREQ(pBlock, "abc");

    MEM_Free(pBlock);
    MEM_Free(nullptr);
}

TEST(PlatformMemory, ReallocOfNullAllocates)
{
    void* pBlock = MEM_Realloc(nullptr, 16);
    EXPECT_NE(pBlock, nullptr);
    MEM_Free(pBlock);
}

TEST(IsolatedPlatformMemory, IsNullWhereThereIsNoMore)
{
    constexpr unsigned MOST = 0xC0000000U;
    if (!CMemoryLimit::IsSupported() && sizeof(void*) > 4)
        GTEST_SKIP() << "this target sets no limit to the memory of a test";

    const CMemoryLimit oLimit(std::size_t{16} << 20);
    EXPECT_EQ(MEM_Alloc(MOST), nullptr);

    auto* const pBlock = static_cast<char*>(MEM_Alloc(4));
    ASSERT_NE(pBlock, nullptr);
    std::memcpy(pBlock, "abc", 4);
    EXPECT_EQ(MEM_Realloc(pBlock, MOST), nullptr);
    EXPECT_STREQ(pBlock, "abc") << "the old block stays";
    MEM_Free(pBlock);
}

TEST(PlatformMemory, FillsExactlyTheRange)
{
    for (unsigned nSize = 0; nSize <= 9; ++nSize)
    {
        std::array<unsigned char, 12> aBytes;
        aBytes.fill(0xEE);
        MEM_Set(aBytes.data() + 1, 0x80, nSize);
        for (unsigned i = 0; i < aBytes.size(); ++i)
            EXPECT_EQ(aBytes[i], i >= 1 && i <= nSize ? 0x80 : 0xEE) << nSize << " at " << i;

        MEM_Zero(aBytes.data() + 1, nSize);
        for (unsigned i = 0; i < aBytes.size(); ++i)
            EXPECT_EQ(aBytes[i], i >= 1 && i <= nSize ? 0 : 0xEE) << nSize << " at " << i;
    }
}

TEST(PlatformMemory, CopiesExactlyTheRange)
{
    const char aSource[] = "0123456789";
    for (unsigned nSize = 0; nSize <= 9; ++nSize)
    {
        char aTarget[] = "..........";
        MEM_Copy(aTarget, aSource, nSize);
        EXPECT_EQ(std::memcmp(aTarget, aSource, nSize), 0);
        EXPECT_EQ(aTarget[nSize], '.');
    }
    MEM_Copy(nullptr, nullptr, 0);
}

TEST(PlatformMemory, MovesOverlappingRangesBothWays)
{
    char aText[] = "abcdef";
    EXPECT_EQ(MEM_Move(aText + 2, aText, 4), aText + 2);
    EXPECT_STREQ(aText, "ababcd");
    EXPECT_EQ(MEM_Move(aText, aText + 2, 5), aText);
    EXPECT_STREQ(aText, "abcd");
}

TEST(PlatformMemory, ComparesAsUnsignedBytes)
{
    struct
    {
        const char* pFirst;
        const char* pSecond;
        unsigned nSize;
        int nResult;
    } const aCases[] = {
        {"", "", 0, 0},          {"a", "b", 0, 0},         {"abc", "abc", 3, 0},     {"\x80", "\x7F", 1, 1},
        {"\x7F", "\x80", 1, -1}, {"abcdz", "abcda", 4, 0}, {"abcdz", "abcda", 5, 1}, {"a", "z", 1, -1},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(MEM_Compare(oCase.pFirst, oCase.pSecond, oCase.nSize), oCase.nResult)
            << oCase.pFirst << " against " << oCase.pSecond << ", " << oCase.nSize;
}

TEST(PlatformMemory, FastCmpLooksAtWholeWordsOnly)
{
    EXPECT_TRUE(MEM_FastCmp("abc", "xyz", 3));
    EXPECT_TRUE(MEM_FastCmp("abcdXX", "abcdYY", 6));
    EXPECT_FALSE(MEM_FastCmp("abcX", "abcY", 4));
    EXPECT_FALSE(MEM_FastCmp("abcdefgX", "abcdefgY", 8));
    EXPECT_TRUE(MEM_FastCmp("abcdefgh", "abcdefgh", 8));
}
