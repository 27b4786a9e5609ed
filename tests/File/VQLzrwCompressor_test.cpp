#include <Common/File/VQLzrwCompressor.h>

#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
constexpr char FILLER = '\x5A';
constexpr int EXTRA = CVQLzrwCompressor::EXTRA_SIZE;

/// What a call made of a destination of nSize bytes; the bytes behind it are checked.
struct SResult
{
    int nSize;
    std::string oBytes; ///< the whole destination
};

template <class Operation>
SResult Run(const std::string& oSource, int nDestination, char cFill, Operation oOperation)
{
    std::vector<char> oSourceBytes(oSource.begin(), oSource.end()); // exact size: a read behind it is caught
    std::vector<char> oTarget(static_cast<std::size_t>(nDestination), cFill);
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(oSourceBytes.data(), static_cast<int>(oSourceBytes.size()));
    oCompressor.SetDestination(oTarget.data(), nDestination);
    const int nSize = oOperation(oCompressor);
    EXPECT_TRUE(std::equal(oSource.begin(), oSource.end(), oSourceBytes.begin())) << "the source was written";
    return {nSize, std::string(oTarget.begin(), oTarget.end())};
}

SResult CompressInto(const std::string& oSource, int nDestination, char cFill = 0)
{
    return Run(oSource, nDestination, cFill, [](CVQLzrwCompressor& o) { return o.Compress(); });
}

SResult DecompressInto(const std::string& oBlock, int nDestination)
{
    return Run(oBlock, nDestination, FILLER, [](CVQLzrwCompressor& o) { return o.Decompress(); });
}

/// The block of a source, from a destination of zeros.
std::string Compressed(const std::string& oSource)
{
    const SResult oResult = CompressInto(oSource, static_cast<int>(oSource.size()) + EXTRA);
    return oResult.oBytes.substr(0, static_cast<std::size_t>(oResult.nSize));
}

std::string Decompressed(const std::string& oBlock, std::size_t nSize)
{
    const SResult oResult = DecompressInto(oBlock, static_cast<int>(nSize));
    return oResult.nSize < 0 ? "refused" : oResult.oBytes.substr(0, static_cast<std::size_t>(oResult.nSize));
}

std::string Bytes(std::initializer_list<int> oValues)
{
    std::string oBytes;
    for (const int nValue : oValues)
        oBytes += static_cast<char>(nValue);
    return oBytes;
}

/// The items of a compressed block, decoded by the letter: for each a length and an offset, offset 0 for a literal.
struct SItem
{
    unsigned nLength;
    unsigned nOffset;
};

std::vector<SItem> ItemsOf(const std::string& oBlock)
{
    const auto At = [&](std::size_t n) { return static_cast<unsigned>(static_cast<unsigned char>(oBlock.at(n))); };
    std::vector<SItem> oItems;
    std::size_t nAt = 4;
    while (nAt < oBlock.size())
    {
        unsigned nControl = At(nAt) + 256 * At(nAt + 1);
        nAt += 2;
        for (int i = 0; i < 16 && nAt < oBlock.size(); ++i, nControl >>= 1)
        {
            if ((nControl & 1) != 0)
            {
                oItems.push_back({(At(nAt) & 15) + 1, (At(nAt) & 0xF0) * 16 + At(nAt + 1)});
                nAt += 2;
            }
            else
            {
                oItems.push_back({1, 0});
                ++nAt;
            }
        }
    }
    return oItems;
}

std::string RandomText(std::mt19937& oRandom, std::size_t nSize, unsigned long nLetters)
{
    std::string oText(nSize, ' ');
    for (char& c : oText)
        c = static_cast<char>(oRandom() % nLetters);
    return oText;
}

const char* const GOLDEN[] = {"equal_1000",  "text_600",   "text_20000", "ramp_8192",
                              "period_5000", "random_300", "far_9000"};

std::string Golden(const std::string& oName)
{
    return ReadWholeFile(GetGoldenPath("lzrw/" + oName));
}
} // namespace

static_assert(!std::has_virtual_destructor_v<IVQCompressor>);
static_assert(std::has_virtual_destructor_v<CVQLzrwCompressor>);

TEST(VQLzrwCompressor, KeepsItsSlotsInOrder)
{
    EXPECT_EQ(VirtualSlot(&IVQCompressor::SetSource), 0u);
    EXPECT_EQ(VirtualSlot(&IVQCompressor::SetDestination), 1u);
    EXPECT_EQ(VirtualSlot(&IVQCompressor::Compress), 2u);
    EXPECT_EQ(VirtualSlot(&IVQCompressor::Decompress), 3u);
    EXPECT_EQ(VirtualSlot(&CVQLzrwCompressor::SetSource), 0u);
    EXPECT_EQ(VirtualSlot(&CVQLzrwCompressor::Decompress), 3u);
}

TEST(VQLzrwCompressor, WritesTheGoldenBlocks)
{
    for (const std::string oName : GOLDEN)
        EXPECT_EQ(Compressed(Golden(oName + ".raw")), Golden(oName + ".lzrw")) << oName;
}

TEST(VQLzrwCompressor, ReadsTheGoldenBlocks)
{
    for (const std::string oName : GOLDEN)
    {
        const std::string oRaw = Golden(oName + ".raw");
        EXPECT_EQ(Decompressed(Golden(oName + ".lzrw"), oRaw.size()), oRaw) << oName;
    }
}

TEST(VQLzrwCompressor, WorksThroughTheInterface)
{
    CVQLzrwCompressor oCompressor;
    IVQCompressor& oInterface = oCompressor;
    std::string oText(100, 'x');
    std::string oBlock(200, 0);
    std::string oBack(100, 0);

    oInterface.SetSource(oText.data(), 100);
    oInterface.SetDestination(oBlock.data(), 200);
    const int nSize = oInterface.Compress();
    ASSERT_GT(nSize, 0);

    CVQLzrwCompressor oCopy;
    oCopy = oCompressor; // the copy knows the same buffers
    oCopy.SetSource(oBlock.data(), nSize);
    oCopy.SetDestination(oBack.data(), 100);
    EXPECT_EQ(oCopy.Decompress(), 100);
    EXPECT_EQ(oBack, oText);
}

TEST(VQLzrwCompressor, StoresAnEmptySourceInFourBytes)
{
    EXPECT_EQ(Compressed(""), Bytes({1, 0, 0, 0}));
    EXPECT_EQ(DecompressInto(Bytes({1, 0, 0, 0}), 0).nSize, 0);

    CVQLzrwCompressor oCompressor;
    char aBlock[4];
    oCompressor.SetDestination(aBlock, 4);
    EXPECT_EQ(oCompressor.Compress(), 4) << "no source is an empty one";
}

TEST(VQLzrwCompressor, StoresShortSources)
{
    for (const std::string oText : {"a", "ab", "abc", "abcd", "abcde"})
        EXPECT_EQ(Compressed(oText), Bytes({1, 0, 0, 0}) + oText);
}

TEST(VQLzrwCompressor, StoresWhenTheControlWordsEatTheGain)
{
    // 6 bytes: the first pass may start, then 7 bytes of output have passed 6 of input.
    EXPECT_EQ(Compressed("aaaaaa"), Bytes({1, 0, 0, 0}) + "aaaaaa");
}

TEST(VQLzrwCompressor, StoresRandomData)
{
    std::mt19937 oRandom(11);
    for (const std::size_t nSize : {16u, 255u, 256u, 257u, 5000u, 65536u})
    {
        const std::string oText = RandomText(oRandom, nSize, 256);
        EXPECT_EQ(Compressed(oText), Bytes({1, 0, 0, 0}) + oText) << nSize;
    }
}

TEST(VQLzrwCompressor, CodesARunAsOneLiteralAndCopiesOfOffsetOne)
{
    const std::string oBlock = Compressed(std::string(1000, 'a'));
    const std::vector<SItem> oItems = ItemsOf(oBlock);
    ASSERT_GT(oItems.size(), 60u);
    EXPECT_EQ(oItems[0].nOffset, 0u);
    EXPECT_EQ(oItems[1].nOffset, 1u);
    EXPECT_EQ(oItems[1].nLength, 16u);
    const auto nLong = std::count_if(oItems.begin(), oItems.end(), [](const SItem& o) { return o.nLength == 16; });
    EXPECT_GE(nLong, 60);
    EXPECT_EQ(Decompressed(oBlock, 1000), std::string(1000, 'a'));
}

TEST(VQLzrwCompressor, DropsTheControlWordOfAGroupWithoutItems)
{
    const std::string oStart = Bytes({0, 0, 0, 0, 6, 0, 'a', 0x0F, 1, 0x0F, 16}); // 1, 16 and 16 bytes
    EXPECT_EQ(Compressed(std::string(40, 'a')), oStart + std::string(7, 'a'));
    EXPECT_EQ(Compressed(std::string(46, 'a')), oStart + std::string(13, 'a')); // 16 items, and no next group
    EXPECT_EQ(Compressed(std::string(47, 'a')), oStart + std::string(13, 'a') + Bytes({0, 0, 'a'}));
}

TEST(VQLzrwCompressor, KeepsLengthsAndOffsetsInTheirRangesAndTheTailLiteral)
{
    std::mt19937 oRandom(4);
    for (int nRound = 0; nRound < 60; ++nRound)
    {
        const std::string oText = RandomText(oRandom, 40 + oRandom() % 12000, 2 + oRandom() % 6);
        const std::string oBlock = Compressed(oText);
        if (oBlock[0] != 0)
            continue;
        std::size_t nAt = 0;
        for (const SItem& oItem : ItemsOf(oBlock))
        {
            if (oItem.nOffset != 0)
            {
                EXPECT_GE(oItem.nLength, 3u);
                EXPECT_LE(oItem.nLength, 16u);
                EXPECT_LE(oItem.nOffset, 4095u);
                EXPECT_LE(oItem.nOffset, nAt);
                EXPECT_GE(oText.size() - nAt, 16u) << "fewer than 16 bytes left are literals";
            }
            nAt += oItem.nLength;
        }
        EXPECT_EQ(nAt, oText.size());
    }
}

TEST(VQLzrwCompressor, ReachesBackExactly4095Bytes)
{
    std::mt19937 oRandom(8);
    for (const unsigned nDistance : {4094u, 4095u, 4096u})
    {
        // Pairs of equal bytes keep the block small; the marked triple comes again at the distance.
        std::string oText = "\xF1\xF2\xF3";
        oText.append(nDistance - 3, 'a');
        oText += "\xF1\xF2\xF3";
        oText.append(40, 'b');
        bool bFound = false;
        for (const SItem& oItem : ItemsOf(Compressed(oText)))
            bFound = bFound || oItem.nOffset == nDistance;
        EXPECT_EQ(bFound, nDistance <= 4095) << nDistance;
    }
}

TEST(VQLzrwCompressor, LeavesTheThreeBytesAfterTheFlagAlone)
{
    const std::string oRun(600, 'r');
    const SResult oPacked = CompressInto(oRun, 700, FILLER);
    ASSERT_GT(oPacked.nSize, 4);
    EXPECT_EQ(oPacked.oBytes.substr(0, 4), Bytes({0, FILLER, FILLER, FILLER}));
    EXPECT_EQ(CompressInto("abc", 100, FILLER).oBytes.substr(0, 7), Bytes({1, FILLER, FILLER, FILLER}) + "abc");
    EXPECT_EQ(Decompressed(oPacked.oBytes.substr(0, static_cast<std::size_t>(oPacked.nSize)), 600), oRun);
}

TEST(VQLzrwCompressor, DependsOnTheInputAlone)
{
    std::mt19937 oRandom(2);
    const std::string oText = RandomText(oRandom, 30000, 5);
    const std::string oFirst = Compressed(oText);
    Compressed(RandomText(oRandom, 50000, 3));
    EXPECT_EQ(Compressed(oText), oFirst);
}

TEST(VQLzrwCompressor, RoundTripsEveryShortLength)
{
    std::mt19937 oRandom(6);
    for (std::size_t nSize = 0; nSize < 700; ++nSize)
    {
        const std::string oText = RandomText(oRandom, nSize, 1 + oRandom() % 4);
        EXPECT_EQ(Decompressed(Compressed(oText), nSize), oText) << nSize;
    }
}

TEST(VQLzrwCompressor, NeedsNoMoreRoomThanTheBlockItself)
{
    std::mt19937 oRandom(9);
    for (int nRound = 0; nRound < 40; ++nRound)
    {
        const std::string oText = RandomText(oRandom, oRandom() % 900, 1 + oRandom() % 20);
        const std::string oBlock = Compressed(oText);
        const int nBlock = static_cast<int>(oBlock.size());
        const SResult oExact = CompressInto(oText, nBlock);
        EXPECT_EQ(oExact.nSize, nBlock);
        EXPECT_EQ(oExact.oBytes, oBlock);
        EXPECT_EQ(CompressInto(oText, nBlock - 1).nSize, -1);
        EXPECT_EQ(CompressInto(oText, 0).nSize, -1);
    }
}

TEST(VQLzrwCompressor, NeedsNoMoreRoomThanTheContents)
{
    std::mt19937 oRandom(10);
    for (int nRound = 0; nRound < 40; ++nRound)
    {
        const std::string oText = RandomText(oRandom, 1 + oRandom() % 900, 1 + oRandom() % 20);
        const std::string oBlock = Compressed(oText);
        EXPECT_EQ(Decompressed(oBlock, oText.size()), oText);
        EXPECT_EQ(DecompressInto(oBlock, static_cast<int>(oText.size()) - 1).nSize, -1);
        EXPECT_EQ(DecompressInto(oBlock, 0).nSize, -1);
    }
}

TEST(VQLzrwCompressor, DecodesOverlappingCopiesOfEveryOffsetAndLength)
{
    for (int nOffset = 1; nOffset <= 20; ++nOffset)
        for (int nLength = 1; nLength <= 16; ++nLength)
            for (const int nTail : {0, 400}) // with and without room for whole groups behind
            {
                // 20 literals in two groups, then the copy, then literals.
                std::string oExpected;
                for (int i = 0; i < 20; ++i)
                    oExpected += static_cast<char>('A' + i);
                std::string oBlock =
                    Bytes({0, 0, 0, 0, 0, 0}) + oExpected.substr(0, 16) + Bytes({0x10, 0}) + oExpected.substr(16);
                oBlock += Bytes({(nOffset >> 4 & 0xF0) | (nLength - 1), nOffset & 0xFF});
                for (int i = 0; i < nLength; ++i)
                    oExpected += oExpected[oExpected.size() - static_cast<std::size_t>(nOffset)];
                for (int i = 0; i < nTail; ++i)
                {
                    if (i >= 11 && (i - 11) % 16 == 0)
                        oBlock += Bytes({0, 0});
                    oBlock += static_cast<char>(i);
                    oExpected += static_cast<char>(i);
                }
                EXPECT_EQ(Decompressed(oBlock, oExpected.size()), oExpected)
                    << nOffset << ", " << nLength << ", " << nTail;
            }
}

TEST(VQLzrwCompressor, RefusesDamagedBlocks)
{
    struct
    {
        const char* pWhat;
        std::string oBlock;
    } const aCases[] = {
        {"no bytes", ""},
        {"a cut header", Bytes({0, 0, 0})},
        {"a cut stored header", Bytes({1, 0, 0})},
        {"half a control word", Bytes({0, 0, 0, 0, 0})},
        {"a control word without items", Bytes({0, 0, 0, 0, 0, 0})},
        {"half a copy", Bytes({0, 0, 0, 0, 2, 0, 'a', 0x02})},
        {"offset 0", Bytes({0, 0, 0, 0, 2, 0, 'a', 0x02, 0})},
        {"an offset before the start", Bytes({0, 0, 0, 0, 2, 0, 'a', 0x02, 2})},
        {"a copy at once", Bytes({0, 0, 0, 0, 1, 0, 0x02, 1})},
        {"a far copy", Bytes({0, 0, 0, 0, 2, 0, 'a', 0xF2, 0xFF})},
    };

    for (const auto& [pWhat, oBlock] : aCases)
    {
        EXPECT_EQ(DecompressInto(oBlock, 100).nSize, -1) << pWhat;
        if (oBlock.size() > 6)
        {
            EXPECT_EQ(DecompressInto(oBlock + std::string(400, 0), 4000).nSize, -1) << pWhat << ", with more behind";
        }
    }
}

TEST(VQLzrwCompressor, TakesAnyFlagButOneAsCompressed)
{
    EXPECT_EQ(Decompressed(Bytes({0, 9, 9, 9}), 0), "");
    EXPECT_EQ(Decompressed(Bytes({2, 9, 9, 9, 2, 0, 'a', 0x02, 1}), 4), "aaaa");
    EXPECT_EQ(Decompressed(Bytes({1, 9, 9, 9, 2, 0}), 2), Bytes({2, 0}));
}

TEST(VQLzrwCompressor, RefusesMissingBuffersAndNegativeSizes)
{
    char aBytes[64] = {};

    struct
    {
        char* pSource;
        int nSource;
        char* pTarget;
        int nTarget;
    } const aCases[] = {
        {nullptr, 8, aBytes, 64},
        {aBytes, 8, nullptr, 64},
        {aBytes, -1, aBytes + 32, 32},
        {aBytes, 8, aBytes + 32, -1},
        {aBytes, INT32_MIN, aBytes + 32, 32},
    };

    for (const auto& oCase : aCases)
    {
        CVQLzrwCompressor oCompressor;
        oCompressor.SetSource(oCase.pSource, oCase.nSource);
        oCompressor.SetDestination(oCase.pTarget, oCase.nTarget);
        EXPECT_EQ(oCompressor.Compress(), -1);
        EXPECT_EQ(oCompressor.Decompress(), -1);
    }
    CVQLzrwCompressor oFresh;
    EXPECT_EQ(oFresh.Compress(), -1) << "four bytes of an empty block do not fit nowhere";
    EXPECT_EQ(oFresh.Decompress(), -1);
}

TEST(VQLzrwCompressor, SurvivesDamageToAnyByte)
{
    std::mt19937 oRandom(13);
    const std::string oText = RandomText(oRandom, 900, 3);
    const std::string oBlock = Compressed(oText);
    ASSERT_EQ(oBlock[0], 0);
    int nRefused = 0;
    for (std::size_t nAt = 0; nAt < oBlock.size(); ++nAt)
        for (const int nDamage : {0x01, 0x10, 0x80, 0xFF})
        {
            std::string oDamaged = oBlock;
            oDamaged[nAt] = static_cast<char>(oDamaged[nAt] ^ nDamage);
            const SResult oResult = DecompressInto(oDamaged, 900);
            EXPECT_GE(oResult.nSize, -1);
            EXPECT_LE(oResult.nSize, 900);
            nRefused += oResult.nSize == -1;
        }
    EXPECT_GT(nRefused, 0);
    for (std::size_t nSize = 0; nSize < oBlock.size(); ++nSize)
        EXPECT_LT(DecompressInto(oBlock.substr(0, nSize), 900).nSize, 900) << nSize;
}

TEST(VQLzrwCompressor, SurvivesRandomBlocks)
{
    std::mt19937 oRandom(12);
    for (int nRound = 0; nRound < 3000; ++nRound)
    {
        std::string oBlock = RandomText(oRandom, oRandom() % 300, 256);
        if (!oBlock.empty())
            oBlock[0] = static_cast<char>(oRandom() % 3);
        const int nRoom = static_cast<int>(oRandom() % 1200);
        const SResult oResult = DecompressInto(oBlock, nRoom);
        EXPECT_LE(oResult.nSize, nRoom);
    }
}
