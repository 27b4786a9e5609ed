#include <Common/File/ArchiveReader.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformMemory.h>
#include <Common/Platform/PlatformString.h>

#include <tests/support/ArchiveBytes.h>
#include <tests/support/MemoryLimit.h>
#include <tests/support/SparseFile.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

using namespace std::string_view_literals;

namespace
{
std::span<const std::byte> AsBytes(const std::string& sBytes)
{
    return std::as_bytes(std::span(sBytes));
}

/// A reader of bytes in memory, and its topmost directory.
struct Opened
{
    explicit Opened(std::string sArchive) : sBytes(std::move(sArchive))
    {
        oReader.Open(AsBytes(sBytes));
        nResult = oReader.ReadRoot(oRoot);
    }

    std::string sBytes;
    CArchiveReader oReader;
    CArchiveNode oRoot;
    eArchiveResult nResult;
};

std::string ReadAll(CArchiveReader& oReader, const CArchiveNode& oNode, const sArchiveEntry& oEntry)
{
    std::string sBytes(oEntry.m_nSize, '?');
    EXPECT_EQ(oReader.ReadEntry(oNode, oEntry, 0, sBytes.data(), sBytes.size()), eArchiveResult::Ok);
    return sBytes;
}

/// What one walk through an archive met; bounded, however the archive lies.
struct Walk
{
    std::size_t nNodes = 0;
    std::size_t nBytes = 0;
    bool bOk = true;
};

void WalkNode(CArchiveReader& oReader, const CArchiveNode& oNode, Walk& oWalk)
{
    ++oWalk.nNodes;
    if (CArchiveReader::CheckTable(oNode) != eArchiveResult::Ok)
    {
        oWalk.bOk = false;
        return;
    }
    for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
    {
        const sArchiveEntry& oEntry = oNode.GetEntry(i);
        CArchiveNode oChild;
        if (oEntry.m_nIsDirectory == 0)
            oWalk.nBytes += ReadAll(oReader, oNode, oEntry).size();
        else if (oReader.ReadChild(oNode, oEntry, oChild) == eArchiveResult::Ok)
            WalkNode(oReader, oChild, oWalk);
        else
            oWalk.bOk = false;
    }
}
} // namespace

TEST(ArchiveReader, ReadsTheGoldenTreeFromFileAndMemory)
{
    const std::string sGolden = ReadWholeFile(GetGoldenPath("tree.arc"));
    CArchiveReader oFile;
    CArchiveReader oMemory;
    ASSERT_TRUE(oFile.Open(GetGoldenPath("tree.arc").string().c_str()));
    oMemory.Open(AsBytes(sGolden));

    for (CArchiveReader* pReader : {&oFile, &oMemory})
    {
        EXPECT_TRUE(pReader->IsOpened());
        EXPECT_EQ(pReader->GetLength(), 2624u);
        CArchiveNode oRoot;
        ASSERT_EQ(pReader->ReadRoot(oRoot), eArchiveResult::Ok);
        EXPECT_EQ(CArchiveReader::CheckTable(oRoot), eArchiveResult::Ok);
        EXPECT_EQ(oRoot.GetBase(), 0u);
        EXPECT_EQ(std::uint32_t{oRoot.GetHeader().m_nNodeSize}, 2624u);
        ASSERT_EQ(oRoot.GetEntryCount(), 5u);
        const char* const aNames[] = {"a.txt", "B.txt", "c", "Empty", "sub"};
        for (std::uint32_t i = 0; i < 5; ++i)
        {
            EXPECT_STREQ(oRoot.GetEntry(i).m_aName, aNames[i]);
            EXPECT_EQ(oRoot.GetEntry(i).m_nIsDirectory, i >= 3 ? 1 : 0);
        }
        EXPECT_EQ(ReadAll(*pReader, oRoot, oRoot.GetEntry(0)), "");
        EXPECT_EQ(ReadAll(*pReader, oRoot, oRoot.GetEntry(1)), "Hello, archive.\r\n");
        EXPECT_EQ(ReadAll(*pReader, oRoot, oRoot.GetEntry(2)), "c");

        CArchiveNode oEmpty;
        ASSERT_EQ(pReader->ReadChild(oRoot, oRoot.GetEntry(3), oEmpty), eArchiveResult::Ok);
        EXPECT_EQ(oEmpty.GetEntryCount(), 0u);
        EXPECT_EQ(oEmpty.Find("a.txt"), nullptr);

        CArchiveNode oSub;
        CArchiveNode oDeep;
        ASSERT_EQ(pReader->ReadChild(oRoot, oRoot.GetEntry(4), oSub), eArchiveResult::Ok);
        ASSERT_EQ(pReader->ReadChild(oSub, *oSub.Find("DEEP"), oDeep), eArchiveResult::Ok);
        EXPECT_EQ(oDeep.GetBase(), oSub.GetBase() + oSub.Find("deep")->m_nOffset);
        const std::string sAll = ReadAll(*pReader, oDeep, *oDeep.Find("x.bin"));
        ASSERT_EQ(sAll.size(), 256u);
        for (std::size_t i = 0; i < sAll.size(); ++i)
            EXPECT_EQ(static_cast<unsigned char>(sAll[i]), i);
    }
}

TEST(ArchiveReader, ReadsTheGoldenEmptyArchive)
{
    CArchiveReader oReader;
    ASSERT_TRUE(oReader.Open(GetGoldenPath("empty.arc").string().c_str()));
    CArchiveNode oRoot;
    ASSERT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Ok);
    EXPECT_EQ(oRoot.GetEntryCount(), 0u);
    EXPECT_EQ(std::uint32_t{oRoot.GetHeader().m_nTableOffset}, 32u);
    EXPECT_EQ(oRoot.Find(""), nullptr);
}

TEST(ArchiveReader, TellsWhatDoesNotOpen)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("folder.arc");
    CArchiveReader oReader;
    CArchiveNode oRoot;
    EXPECT_FALSE(oReader.Open("missing.arc"));
    EXPECT_FALSE(oReader.Open("folder.arc"));
    EXPECT_FALSE(oReader.Open(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(oReader.IsOpened());
    EXPECT_EQ(oReader.GetLength(), 0u);
    EXPECT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Truncated);

    oReader.Open(std::span<const std::byte>());
    EXPECT_TRUE(oReader.IsOpened());
    EXPECT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Truncated);
}

TEST(ArchiveReader, HoldsOneHandleAndGivesItBack)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a.arc", MakeArchiveNode({}));
    oDirectory.Write("b", "");
    const int nBefore = FILE_Open("b", "rb");
    FILE_Close(nBefore);
    {
        CArchiveReader oReader;
        ASSERT_TRUE(oReader.Open("a.arc"));
        ASSERT_TRUE(oReader.Open("a.arc"));
        const int nSecond = FILE_Open("b", "rb");
        EXPECT_EQ(nSecond, nBefore + 1);
        FILE_Close(nSecond);
    }
    const int nAfter = FILE_Open("b", "rb");
    EXPECT_EQ(nAfter, nBefore);
    FILE_Close(nAfter);
}

TEST(ArchiveReader, RefusesOtherVersionsAndOtherFiles)
{
    struct
    {
        std::size_t nPosition;
        char cByte;
    } const aCases[] = {{0, 'a'}, {1, 'r'}, {2, 0}, {3, 'Y'}, {4, 0}, {4, 2}, {5, 1}, {5, -1}};

    for (const auto& [nPosition, cByte] : aCases)
    {
        std::string sArchive = MakeArchiveNode({{"a", "b"}});
        sArchive[nPosition] = cByte;
        EXPECT_EQ(Opened(sArchive).nResult, eArchiveResult::WrongVersion) << nPosition;
    }
    EXPECT_EQ(Opened(std::string(32, '\0')).nResult, eArchiveResult::WrongVersion);
}

TEST(ArchiveReader, RefusesEveryTruncation)
{
    const std::string sGolden = ReadWholeFile(GetGoldenPath("tree.arc"));
    for (std::size_t nLength = 0; nLength < sGolden.size(); ++nLength)
        EXPECT_EQ(Opened(sGolden.substr(0, nLength)).nResult, eArchiveResult::Truncated) << nLength;
    EXPECT_EQ(Opened(sGolden + "more").nResult, eArchiveResult::Ok);
}

TEST(ArchiveReader, RefusesHeadersThatDoNotFit)
{
    const std::string sGood = MakeArchiveNode({{"a", "0123456789"}, {"b", ""}});
    const auto nSize = static_cast<std::uint32_t>(sGood.size());

    struct
    {
        std::size_t nField;
        std::uint32_t nNumber;
        eArchiveResult nResult;
    } const aCases[] = {
        {NODE_SIZE_FIELD, nSize, eArchiveResult::Ok},
        {NODE_SIZE_FIELD, nSize + 1, eArchiveResult::Truncated},
        {NODE_SIZE_FIELD, nSize - 1, eArchiveResult::Truncated},
        {NODE_SIZE_FIELD, 31, eArchiveResult::Truncated},
        {NODE_SIZE_FIELD, 0, eArchiveResult::Truncated},
        {NODE_SIZE_FIELD, 0xFFFFFFFF, eArchiveResult::Truncated},
        {TABLE_OFFSET_FIELD, 43, eArchiveResult::Truncated},
        {TABLE_OFFSET_FIELD, 31, eArchiveResult::Truncated},
        {TABLE_OFFSET_FIELD, 0, eArchiveResult::Truncated},
        {TABLE_OFFSET_FIELD, 0xFFFFFFFF, eArchiveResult::Truncated},
        {ENTRY_COUNT_FIELD, 3, eArchiveResult::Truncated},
        {ENTRY_COUNT_FIELD, 1, eArchiveResult::Ok},
        {ENTRY_COUNT_FIELD, 0, eArchiveResult::Ok},
        {ENTRY_COUNT_FIELD, 0xFFFFFFFF, eArchiveResult::Truncated},
        {ENTRY_COUNT_FIELD, 15561476, eArchiveResult::Truncated}, // times 276 wraps around to 80
    };

    for (const auto& [nField, nNumber, nResult] : aCases)
    {
        std::string sBad = sGood;
        SetNumber(sBad, nField, nNumber);
        EXPECT_EQ(Opened(sBad).nResult, nResult) << nField << " " << nNumber;

        // the same as a subdirectory, with bytes of the parent behind it
        std::string sParent = MakeArchiveNode({{"sub", sBad, true}, {"z", std::string(4096, 'z')}});
        Opened oParent(sParent);
        ASSERT_EQ(oParent.nResult, eArchiveResult::Ok);
        CArchiveNode oChild;
        EXPECT_EQ(oParent.oReader.ReadChild(oParent.oRoot, oParent.oRoot.GetEntry(0), oChild), nResult)
            << nField << " " << nNumber;
        EXPECT_EQ(oChild.GetEntryCount(), nResult == eArchiveResult::Ok ? GetNumber(sBad, ENTRY_COUNT_FIELD) : 0);
    }
}

TEST(ArchiveReader, RefusesEntriesThatLieOutside)
{
    const std::string sGood = MakeArchiveNode({{"a", "0123456789"}, {"sub", MakeArchiveNode({}), true}});
    const auto nSize = static_cast<std::uint32_t>(sGood.size());

    struct
    {
        std::uint32_t nOffset;
        std::uint32_t nLength;
        eArchiveResult nResult;
    } const aCases[] = {
        {32, 10, eArchiveResult::Ok},
        {nSize, 0, eArchiveResult::Ok},
        {nSize - 1, 1, eArchiveResult::Ok},
        {nSize, 1, eArchiveResult::Truncated},
        {nSize + 1, 0, eArchiveResult::Truncated},
        {31, 1, eArchiveResult::Truncated},
        {0, 0, eArchiveResult::Truncated},
        {0xFFFFFFFF, 0xFFFFFFFF, eArchiveResult::Truncated},
        {32, 0xFFFFFFFF, eArchiveResult::Truncated},
        {0xFFFFFFE0, 0x40, eArchiveResult::Truncated},
    };

    for (const auto& [nOffset, nLength, nResult] : aCases)
    {
        std::string sBad = sGood;
        SetNumber(sBad, GetEntryPosition(sBad, 0) + ENTRY_OFFSET_FIELD, nOffset);
        SetNumber(sBad, GetEntryPosition(sBad, 0) + ENTRY_SIZE_FIELD, nLength);
        Opened oArchive(sBad);
        ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
        const sArchiveEntry& oEntry = oArchive.oRoot.GetEntry(0);
        EXPECT_EQ(CArchiveReader::CheckEntry(oArchive.oRoot.GetHeader(), oEntry), nResult) << nOffset;
        char cByte = 0;
        EXPECT_EQ(oArchive.oReader.ReadEntry(oArchive.oRoot, oEntry, 0, &cByte, nLength != 0 ? 1 : 0), nResult);
        EXPECT_EQ(CArchiveReader::CheckTable(oArchive.oRoot), nResult) << nOffset;
    }
}

TEST(ArchiveReader, ReadsOnlyWithinAnEntry)
{
    Opened oArchive(MakeArchiveNode({{"a", "0123456789"}, {"b", "next"}}));
    const sArchiveEntry& oEntry = *oArchive.oRoot.Find("a");

    struct
    {
        std::uint32_t nPosition;
        std::size_t nSize;
        eArchiveResult nResult;
    } const aCases[] = {{0, 10, eArchiveResult::Ok},
                        {3, 4, eArchiveResult::Ok},
                        {10, 0, eArchiveResult::Ok},
                        {0, 11, eArchiveResult::Truncated},
                        {9, 2, eArchiveResult::Truncated},
                        {10, 1, eArchiveResult::Truncated},
                        {11, 0, eArchiveResult::Truncated},
                        {0xFFFFFFFF, 1, eArchiveResult::Truncated},
                        {1, SIZE_MAX, eArchiveResult::Truncated}};

    for (const auto& [nPosition, nSize, nResult] : aCases)
    {
        char aBuffer[16] = {};
        EXPECT_EQ(oArchive.oReader.ReadEntry(oArchive.oRoot, oEntry, nPosition, aBuffer, nSize), nResult)
            << nPosition << " " << nSize;
        if (nResult == eArchiveResult::Ok)
        {
            EXPECT_EQ(std::string(aBuffer, nSize), std::string("0123456789").substr(nPosition, nSize));
        }
    }
}

TEST(ArchiveReader, TakesAFileForNoDirectory)
{
    Opened oArchive(MakeArchiveNode({{"node", MakeArchiveNode({})}}));
    CArchiveNode oChild;
    EXPECT_EQ(oArchive.oReader.ReadChild(oArchive.oRoot, oArchive.oRoot.GetEntry(0), oChild),
              eArchiveResult::Malformed);
}

TEST(ArchiveReader, RefusesANodeThatHoldsItself)
{
    std::string sArchive = MakeArchiveNode({{"x", "", true}});
    SetNumber(sArchive, GetEntryPosition(sArchive, 0) + ENTRY_OFFSET_FIELD, 0);
    SetNumber(sArchive, GetEntryPosition(sArchive, 0) + ENTRY_SIZE_FIELD, static_cast<std::uint32_t>(sArchive.size()));
    Opened oArchive(sArchive);
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
    CArchiveNode oChild;
    EXPECT_EQ(oArchive.oReader.ReadChild(oArchive.oRoot, oArchive.oRoot.GetEntry(0), oChild),
              eArchiveResult::Truncated);
}

TEST(ArchiveReader, EndsEveryChainOfNodes)
{
    // Headers every 32 bytes that all speak of one table at the end; its directory leads 32 bytes on each time.
    constexpr std::uint32_t NODES = 1000;
    constexpr std::uint32_t TABLE = NODES * 32;
    std::string sArchive;
    for (std::uint32_t i = 0; i < NODES; ++i)
    {
        std::string sHeader = MakeArchiveNode({});
        SetNumber(sHeader, NODE_SIZE_FIELD, TABLE + 276 - i * 32);
        SetNumber(sHeader, TABLE_OFFSET_FIELD, TABLE - i * 32);
        SetNumber(sHeader, ENTRY_COUNT_FIELD, 1);
        sArchive += sHeader;
    }
    std::string sEntry(ENTRY_SIZE, '\0');
    sEntry[0] = 'x';
    SetNumber(sEntry, ENTRY_OFFSET_FIELD, 32);
    SetNumber(sEntry, ENTRY_SIZE_FIELD, TABLE + 276 - 32);
    sEntry[ENTRY_FLAG_FIELD] = 1;
    sArchive += sEntry;

    Opened oArchive(sArchive);
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
    EXPECT_EQ(CArchiveReader::CheckTable(oArchive.oRoot), eArchiveResult::Malformed);

    CArchiveNode oNode = std::move(oArchive.oRoot);
    std::uint32_t nSteps = 0;
    for (bool bMore = true; bMore; ++nSteps)
    {
        CArchiveNode oChild;
        bMore = oArchive.oReader.ReadChild(oNode, oNode.GetEntry(0), oChild) == eArchiveResult::Ok;
        if (bMore)
            oNode = std::move(oChild);
        ASSERT_LE(nSteps, NODES);
    }
    EXPECT_EQ(nSteps, 2u); // the child ends where its parent ends, so its own entry, of the same size, does not fit
}

TEST(ArchiveReader, RefusesEntriesThatShareBytes)
{
    std::string sArchive = MakeArchiveNode({{"a", "0123456789"}, {"b", "0123456789"}});
    SetNumber(sArchive, GetEntryPosition(sArchive, 0) + ENTRY_SIZE_FIELD, 20);
    Opened oArchive(sArchive);
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
    EXPECT_EQ(CArchiveReader::CheckTable(oArchive.oRoot), eArchiveResult::Malformed);
}

TEST(ArchiveReader, RefusesANameWithoutAnEnd)
{
    std::string sArchive = MakeArchiveNode({{"a", ""}, {std::string(255, 'b'), ""}});
    Opened oGood(sArchive);
    ASSERT_EQ(oGood.nResult, eArchiveResult::Ok);
    EXPECT_EQ(oGood.oRoot.Find(std::string(255, 'B').c_str()), &oGood.oRoot.GetEntry(1));
    EXPECT_EQ(oGood.oRoot.Find(std::string(256, 'b').c_str()), nullptr);

    sArchive[GetEntryPosition(sArchive, 1) + 255] = 'b';
    Opened oBad(sArchive);
    EXPECT_EQ(oBad.nResult, eArchiveResult::Malformed);
    EXPECT_EQ(oBad.oRoot.GetEntryCount(), 0u);
}

TEST(ArchiveReader, SurvivesEveryChangedByte)
{
    const std::string sGolden = ReadWholeFile(GetGoldenPath("tree.arc"));
    for (std::size_t i = 0; i < sGolden.size(); ++i)
    {
        for (const char cFlip : {'\x01', '\x80', '\xFF'})
        {
            std::string sBroken = sGolden;
            sBroken[i] = static_cast<char>(sBroken[i] ^ cFlip);
            Opened oArchive(sBroken);
            if (oArchive.nResult != eArchiveResult::Ok)
                continue;
            Walk oWalk;
            WalkNode(oArchive.oReader, oArchive.oRoot, oWalk);
            EXPECT_LE(oWalk.nNodes, 4u);
            EXPECT_LE(oWalk.nBytes, sGolden.size());
        }
    }
}

TEST(ArchiveNode, FindsTheFirstOfEqualNamesWhateverTheirCase)
{
    Opened oArchive(MakeArchiveNode({{"Name.TXT", "0"}, {"other", "1"}, {"name.txt", "2"}, {"NAME", "", false}}));
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
    for (const char* pName : {"Name.TXT", "name.txt", "NAME.TXT"})
        EXPECT_EQ(oArchive.oRoot.Find(pName), &oArchive.oRoot.GetEntry(0)) << pName;
    EXPECT_EQ(oArchive.oRoot.Find("OTHER"), &oArchive.oRoot.GetEntry(1));
    EXPECT_EQ(oArchive.oRoot.Find("name"), &oArchive.oRoot.GetEntry(3));
    for (const char* pName : {"", "nam", "name.txt ", "name/txt"})
        EXPECT_EQ(oArchive.oRoot.Find(pName), nullptr) << pName;
    EXPECT_EQ(oArchive.oRoot.Find(nullptr), nullptr);
}

TEST(ArchiveNode, FindsAnEmptyNameThatAnArchiveHolds)
{
    Opened oArchive(MakeArchiveNode({{"a", "0"}, {"", "1"}}));
    EXPECT_EQ(oArchive.oRoot.Find(""), &oArchive.oRoot.GetEntry(1));
}

TEST(ArchiveNode, AnswersAsASearchFromTheFirstEntryOnDoes)
{
    // Names of few letters, so that many are equal or differ in case alone.
    std::vector<ArchiveItem> oItems;
    std::uint32_t nRandom = 1;
    for (std::uint32_t i = 0; i < 3000; ++i)
    {
        std::string sName;
        for (std::uint32_t nLetters = 1 + i % 4; nLetters > 0; --nLetters)
        {
            nRandom = nRandom * 1664525 + 1013904223;
            sName.push_back("aAbB.[@`{\xC4\xE4"[(nRandom >> 24) % 11]);
        }
        oItems.push_back({sName, "", false});
    }
    Opened oArchive(MakeArchiveNode(oItems));
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);

    oItems.push_back({"aaaaa", "", false});
    for (const ArchiveItem& oItem : oItems)
    {
        const sArchiveEntry* pExpected = nullptr;
        for (std::uint32_t i = 0; i < oArchive.oRoot.GetEntryCount() && pExpected == nullptr; ++i)
        {
            if (STR_stricmp(oArchive.oRoot.GetEntry(i).m_aName, oItem.sName.c_str()) == 0)
                pExpected = &oArchive.oRoot.GetEntry(i);
        }
        EXPECT_EQ(oArchive.oRoot.Find(oItem.sName.c_str()), pExpected) << oItem.sName;
    }
}

TEST(ArchiveNode, FindsAllOfAHundredThousandNames)
{
    constexpr std::uint32_t COUNT = 100000;
    Opened oArchive(MakeLargeArchive(COUNT));
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
    ASSERT_EQ(oArchive.oRoot.GetEntryCount(), COUNT);
    for (std::uint32_t i = 0; i < COUNT; ++i)
    {
        const sArchiveEntry& oEntry = oArchive.oRoot.GetEntry(i);
        ASSERT_EQ(oArchive.oRoot.Find(oEntry.m_aName), &oEntry);
    }
    EXPECT_EQ(oArchive.oRoot.Find("FILE099999.DAT"), &oArchive.oRoot.GetEntry(COUNT - 1));
    EXPECT_EQ(oArchive.oRoot.Find("file100000.dat"), nullptr);
}

TEST(ArchiveNode, FindsNamesThatWereMadeToFallTogether)
{
    // Equal names have equal hashes: the worst that an archive can do to its index.
    std::vector<ArchiveItem> oItems(5000, ArchiveItem{"same", "", false});
    oItems.push_back({"last", "", false});
    Opened oArchive(MakeArchiveNode(oItems));
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);
    EXPECT_EQ(oArchive.oRoot.Find("SAME"), &oArchive.oRoot.GetEntry(0));
    EXPECT_EQ(oArchive.oRoot.Find("Last"), &oArchive.oRoot.GetEntry(5000));
    EXPECT_EQ(oArchive.oRoot.Find("none"), nullptr);
}

TEST(ArchiveNode, MovesAndDetachesItsTable)
{
    Opened oArchive(MakeArchiveNode({{"a", "0"}, {"b", "1"}}));
    CArchiveNode oMoved(std::move(oArchive.oRoot));
    EXPECT_EQ(oArchive.oRoot.GetEntryCount(), 0u);
    EXPECT_EQ(oArchive.oRoot.Find("a"), nullptr);
    ASSERT_NE(oMoved.Find("b"), nullptr);

    CArchiveNode oAssigned;
    oAssigned = std::move(oMoved);
    EXPECT_EQ(oMoved.GetEntryCount(), 0u);
    ASSERT_EQ(oAssigned.GetEntryCount(), 2u);

    sArchiveEntry* pEntries = oAssigned.Detach();
    ASSERT_NE(pEntries, nullptr);
    EXPECT_EQ(oAssigned.GetEntryCount(), 0u);
    EXPECT_EQ(oAssigned.Detach(), nullptr);
    EXPECT_EQ(CArchiveNode::FindIn(pEntries, 2, "B"), pEntries + 1);
    EXPECT_EQ(CArchiveNode::FindIn(pEntries, 2, "c"), nullptr);
    EXPECT_EQ(CArchiveNode::FindIn(nullptr, 0, "a"), nullptr);
    MEM_Free(pEntries);
}

TEST(IsolatedArchiveNode, FollowsTheLocaleThatHoldsAtTheCall)
{
    // The same letter in capitals and small, in two encodings, and letters that are equal in no locale.
    const std::vector<ArchiveItem> oItems = {{"\xC3\x84.txt", "0"}, {"\xC3\xA4.txt", "1"}, {"\xE4.txt", "2"},
                                             {"\xC4.txt", "3"},     {"kelvin", "4"},       {"K\xC3\xA4K", "5"}};
    Opened oArchive(MakeArchiveNode(oItems));
    ASSERT_EQ(oArchive.nResult, eArchiveResult::Ok);

    for (const char* pLocale : {"C", "C.UTF-8", "en_US.UTF-8", "de_DE.ISO-8859-1", "ja_JP.SJIS", "tr_TR.UTF-8", ""})
    {
        if (std::setlocale(LC_CTYPE, pLocale) == nullptr)
            continue;
        for (const char* pName : {"\xC3\x84.txt", "\xC3\xA4.TXT", "\xC4.txt", "\xE4.TXT", "KELVIN",
                                  "\xE2\x84\xAA"
                                  "elvin",
                                  "kelv\xC4\xB1n", "k\xC3\x84k", "none"})
        {
            const sArchiveEntry* pExpected = nullptr;
            for (std::uint32_t i = 0; i < oArchive.oRoot.GetEntryCount() && pExpected == nullptr; ++i)
            {
                if (STR_stricmp(oArchive.oRoot.GetEntry(i).m_aName, pName) == 0)
                    pExpected = &oArchive.oRoot.GetEntry(i);
            }
            EXPECT_EQ(oArchive.oRoot.Find(pName), pExpected) << pLocale << " " << pName;
        }
    }
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(oArchive.oRoot.Find("\xC3\xA4.txt"), &oArchive.oRoot.GetEntry(1));
}

TEST(IsolatedArchiveReader, TellsOfATableThatThereIsNoMemoryFor)
{
    if (!CMemoryLimit::IsSupported())
        GTEST_SKIP() << "this target sets no limit to the memory of a test";

    const CTestDirectory oDirectory;
    constexpr std::uint32_t ENTRIES = 2'000'000; // some 550 MB
    const std::uint64_t nSize = sizeof(sArchiveHeader) + std::uint64_t{ENTRIES} * ENTRY_SIZE;
    MakeSparseFile("huge.arc", nSize, "\0"sv);
    std::string sHeader = MakeArchiveNode({}).substr(0, sizeof(sArchiveHeader));
    SetNumber(sHeader, NODE_SIZE_FIELD, static_cast<std::uint32_t>(nSize));
    SetNumber(sHeader, TABLE_OFFSET_FIELD, sizeof(sArchiveHeader));
    SetNumber(sHeader, ENTRY_COUNT_FIELD, ENTRIES);
    std::fstream oFile("huge.arc", std::ios::binary | std::ios::in | std::ios::out);
    ASSERT_TRUE(oFile.write(sHeader.data(), static_cast<std::streamsize>(sHeader.size())));
    oFile.close();
    oDirectory.Write("small.arc", MakeArchiveNode({{"a", "bytes"}}));

    CArchiveReader oReader;
    CArchiveNode oRoot;
    ASSERT_TRUE(oReader.Open("huge.arc"));
    const CMemoryLimit oLimit(std::size_t{64} << 20);
    EXPECT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::NoMemory);
    EXPECT_EQ(oRoot.GetEntryCount(), 0U);

    // and it goes on
    ASSERT_TRUE(oReader.Open("small.arc"));
    ASSERT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Ok);
    ASSERT_EQ(oRoot.GetEntryCount(), 1U);
    EXPECT_EQ(ReadAll(oReader, oRoot, oRoot.GetEntry(0)), "bytes");
}

TEST(ArchiveReader, TellsOfAFileThatShrinksWhileItIsRead)
{
    const CTestDirectory oDirectory;
    const std::string sArchive = MakeArchiveNode({{"a", std::string(300'000, 'a')}, {"b", "b"}});
    oDirectory.Write("p.arc", sArchive);
    CArchiveReader oReader;
    CArchiveNode oRoot;
    ASSERT_TRUE(oReader.Open("p.arc"));
    ASSERT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Ok);
    std::error_code oError;
    std::filesystem::resize_file("p.arc", 1000, oError);
    if (oError)
        GTEST_SKIP() << "this system lets nobody shrink a file that is open";

    std::string sBytes(300'000, '?');
    EXPECT_EQ(oReader.ReadEntry(oRoot, oRoot.GetEntry(0), 0, sBytes.data(), sBytes.size()), eArchiveResult::Truncated);
    EXPECT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Truncated);

    oDirectory.Write("p.arc", sArchive);
    ASSERT_EQ(oReader.ReadRoot(oRoot), eArchiveResult::Ok) << "as soon as the bytes are there again";
    EXPECT_EQ(ReadAll(oReader, oRoot, oRoot.GetEntry(1)), "b");
}

TEST(ArchiveReader, KnowsNamesThatStayInTheirDirectory)
{
    for (const char* pName : {"a", "a.b", ".hidden", "two words"})
        EXPECT_TRUE(CArchiveReader::IsPlainName(pName)) << pName;
    for (const char* pName : {"", ".", "..", "/", "\\", "a/b", "a\\b", "/a", "a\\", "../a"})
        EXPECT_FALSE(CArchiveReader::IsPlainName(pName)) << pName;
    EXPECT_FALSE(CArchiveReader::IsPlainName(nullptr));
}
