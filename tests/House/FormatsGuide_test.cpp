// What docs/formats.md tells is held against the bytes that the library writes.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/PropertyBytes.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace
{
// The bytes of an example: "01 00*3 # a remark" are 01 00 00 00.
std::string BytesOfExample(const std::string& sBlock)
{
    std::string sBytes;
    std::istringstream oLines(sBlock);
    for (std::string sLine; std::getline(oLines, sLine);)
    {
        std::istringstream oWords(sLine.substr(0, sLine.find('#')));
        for (std::string sWord; oWords >> sWord;)
        {
            const std::size_t nStar = sWord.find('*');
            const int nTimes = nStar == std::string::npos ? 1 : std::stoi(sWord.substr(nStar + 1));
            sBytes.append(static_cast<std::size_t>(nTimes),
                          static_cast<char>(std::stoi(sWord.substr(0, 2), nullptr, 16)));
        }
    }
    return sBytes;
}

std::string InHex(std::string_view sBytes)
{
    std::string sText;
    for (const char c : sBytes)
        sText += ~CVQString(sctFormat, "%02X ", static_cast<unsigned>(static_cast<unsigned char>(c)));
    return sText;
}

std::string Page()
{
    return ReadWholeFile(GetTestPath("../docs/formats.md"));
}

std::string Example(std::size_t nIndex)
{
    const auto oBlocks = BlocksOfGuide(Page(), {"hex"});
    return nIndex < oBlocks.size() ? BytesOfExample(oBlocks[nIndex]) : "missing";
}

// The examples in the order of the page.
enum eExample : std::size_t
{
    EXAMPLE_ARCHIVE,
    EXAMPLE_STREAM,
    EXAMPLE_BITS,
    EXAMPLE_PROPERTY,
    EXAMPLE_STRUCT,
    EXAMPLE_STRUCT_FILE,
    EXAMPLE_FORMAT,
    EXAMPLE_BLOCK,
    EXAMPLE_COUNT
};

bool IsText1234(long nId, const CVQString& oText)
{
    return nId == 1234 && oText == "ready";
}

bool LoadText1234(long nId, CVQString& oText)
{
    oText = "ready";
    return nId == 1234;
}

class CNumberController : public CVQVariableControllerBase
{
public:
    explicit CNumberController(std::size_t nOffset) : CVQVariableControllerBase(static_cast<int>(nOffset), 0x4E554D42)
    {
    }

    void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override { oStream.Put(pRecord + GetValue(), 4); }
};

CVQPropertyStruct MakeStruct()
{
    CVQPropertyStruct oStruct;
    oStruct.SetStructureName("P");
    oStruct["x"] = 7;
    return oStruct;
}

// FNV-1a, as its authors publish it.
std::uint64_t Fnv1a(std::string_view sText)
{
    std::uint64_t nHash = 14695981039346656037U;
    for (const char c : sText)
        nHash = (nHash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    return nHash;
}
} // namespace

TEST(FormatsGuide, HasOneTestForEachExample)
{
    EXPECT_EQ(BlocksOfGuide(Page(), {"hex"}).size(), std::size_t{EXAMPLE_COUNT});
    EXPECT_EQ(InHex(BytesOfExample("01 00*3 # FF\nA0\n")), "01 00 00 00 A0 ");
}

TEST(IsolatedFormatsGuide, ShowsAnArchive)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("tree/a.txt", "Hi");
    CExtendedFileSystem::Instance()->Setup();
    CExtendedFileSystem::Instance()->CreateArchive("tree", "tree");
    EXPECT_EQ(InHex(Example(EXAMPLE_ARCHIVE)), InHex(oDirectory.Read("tree.arc")));
}

TEST(FormatsGuide, ShowsAStream)
{
    CVQString::s_pfnIsStringIdentical = IsText1234;
    CVQString::s_pfnLoadString = LoadText1234;
    CVQDataStream oStream(CVQDataStream::STORING);
    oStream.SerializeBegin(257);
    const std::int32_t nNumber = 7;
    oStream.Put(&nNumber, 4);
    WriteStreamString(oStream, "ab");
    WriteStreamString(oStream, CVQString(CVQStringId(1234)));
    oStream.SerializeEnd();
    CVQString::s_pfnIsStringIdentical = nullptr;
    CVQString::s_pfnLoadString = nullptr;
    EXPECT_EQ(InHex(Example(EXAMPLE_STREAM)), InHex(BytesOf(oStream)));
}

TEST(FormatsGuide, ShowsBits)
{
    CVQBitStream oBits;
    oBits.BeginWrite();
    for (int i = 0; i < 15; ++i)
        oBits.Write(i == 0 || i == 2 || i == 14);
    oBits.EndWrite();
    const std::string sBytes(reinterpret_cast<const char*>(oBits.GetBuffer()), 2);
    EXPECT_EQ(InHex(Example(EXAMPLE_BITS)), InHex(sBytes));
    EXPECT_EQ(Example(EXAMPLE_BITS), ReadWholeFile(GetGoldenPath("streams/bits.stream")));
}

TEST(FormatsGuide, ShowsProperties)
{
    CVQProperty oSeven(7);
    EXPECT_EQ(InHex(Example(EXAMPLE_PROPERTY)), InHex(StoredBytes(oSeven)));
    EXPECT_EQ(Example(EXAMPLE_PROPERTY), ReadWholeFile(GetGoldenPath("properties/number.property.stream")));

    CVQPropertyStruct oStruct = MakeStruct();
    EXPECT_EQ(InHex(Example(EXAMPLE_STRUCT)), InHex(StoredBytes(oStruct)));
    EXPECT_EQ(InHex(Example(EXAMPLE_STRUCT_FILE)), InHex(WrittenBytes(oStruct)));
}

TEST(FormatsGuide, ShowsADataFormat)
{
    std::array<std::int32_t, 2> aShip = {100, 50};
    CNumberController oHealth(0);
    CNumberController oShield(4);
    CVQDataFormat oFormat("Ship", 2);
    oFormat.AddVariable(1, oHealth);
    oFormat.AddVariable(2, oShield);
    CVQDataStream oStream(CVQDataStream::STORING);
    oFormat.Serialize(reinterpret_cast<unsigned char*>(aShip.data()), oStream);
    EXPECT_EQ(InHex(Example(EXAMPLE_FORMAT)), InHex(BytesOf(oStream)));
}

TEST(FormatsGuide, ShowsABlock)
{
    std::string sData(40, 'a');
    std::array<unsigned char, 100> aBlock = {};
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(reinterpret_cast<unsigned char*>(sData.data()), static_cast<int>(sData.size()));
    oCompressor.SetDestination(aBlock.data(), static_cast<int>(aBlock.size()));
    const int nSize = oCompressor.Compress();
    ASSERT_GT(nSize, 0);
    const std::string sBlock(reinterpret_cast<const char*>(aBlock.data()), static_cast<std::size_t>(nSize));
    EXPECT_EQ(InHex(Example(EXAMPLE_BLOCK)), InHex(sBlock));
}

TEST(FormatsGuide, TellsTheCodesOfTheTypes)
{
    const std::string sPage = Page();
    const std::pair<const char*, int> aTypes[] = {
        {"undefined", PROPTYPE_UNDEFINED},
        {"unsigned long", PROPTYPE_ULONG},
        {"localised text", PROPTYPE_STRINGID},
        {"list", PROPTYPE_LIST},
        {"bool", PROPTYPE_BOOL},
        {"struct", PROPTYPE_STRUCT},
        {"float", PROPTYPE_FLOAT},
        {"int", PROPTYPE_INT},
        {"long", PROPTYPE_LONG},
        {"text", PROPTYPE_STRING},
    };
    for (const auto& [pName, nCode] : aTypes)
    {
        const std::string sRow = ~CVQString(sctFormat, "\n| %s | %d `%c` |", pName, nCode, nCode);
        EXPECT_NE(sPage.find(sRow), std::string::npos) << sRow;
    }
}

TEST(FormatsGuide, TellsTheSizesOfTheArchive)
{
    const std::string sPage = Page();
    const std::pair<std::size_t, std::size_t> aFields[] = {
        {offsetof(sArchiveHeader, m_nNodeSize), sizeof(sArchiveHeader::m_nNodeSize)},
        {offsetof(sArchiveHeader, m_nTableOffset), sizeof(sArchiveHeader::m_nTableOffset)},
        {offsetof(sArchiveHeader, m_nEntryCount), sizeof(sArchiveHeader::m_nEntryCount)},
        {offsetof(sArchiveHeader, m_aReserved), sizeof(sArchiveHeader::m_aReserved)},
        {offsetof(sArchiveEntry, m_aName), sizeof(sArchiveEntry::m_aName)},
        {offsetof(sArchiveEntry, m_nOffset), sizeof(sArchiveEntry::m_nOffset)},
        {offsetof(sArchiveEntry, m_nSize), sizeof(sArchiveEntry::m_nSize)},
        {offsetof(sArchiveEntry, m_nIsDirectory), sizeof(sArchiveEntry::m_nIsDirectory)},
        {offsetof(sArchiveEntry, m_aReserved), sizeof(sArchiveEntry::m_aReserved)},
    };
    for (const auto& [nOffset, nSize] : aFields)
    {
        const std::string sRow = "\n| " + std::to_string(nOffset) + " | " + std::to_string(nSize) + " | ";
        EXPECT_NE(sPage.find(sRow), std::string::npos) << sRow;
    }
}

TEST(FormatsGuide, TellsTheTextForm)
{
    CMemFileIO oFile(64);
    oFile.WriteAscii(-12);
    oFile.WriteAscii(1.5F);
    oFile.WriteAscii(CVQString("a\"b"));
    oFile.WriteAscii('\t');
    oFile.WriteConstAscii('\n');
    oFile.WriteConstAscii(CVQString("a\n"));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(oFile.GetBuffer()), oFile.GetSize()),
              "-12; 1.5000; \"a\"b\"; '\\t'; \r\na\n");
}

TEST(FormatsGuide, TellsGroupAndPortOfTheLog)
{
    const std::uint64_t nHash = Fnv1a("debug");
    EXPECT_EQ(Fnv1a("a"), 0xAF63DC4C8601EC8CU); // published
    const std::string sAddress = "239.255." + std::to_string(nHash >> 56) + "." + std::to_string(nHash >> 48 & 0xFF) +
                                 " and " + std::to_string(20480 + nHash % 8192) + ".";
    EXPECT_NE(Page().find("Those of `debug` are " + sAddress), std::string::npos) << sAddress;
}
