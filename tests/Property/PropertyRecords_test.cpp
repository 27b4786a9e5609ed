// The records of properties and their containers: files made by hand, and records that are damaged in every way.

#include <tests/support/MemoryLimit.h>
#include <tests/support/PropertyBytes.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>

namespace
{
std::string Golden(const std::string& sName)
{
    return ReadWholeFile(GetGoldenPath("properties/" + sName));
}

CVQString Bytes(const std::string& sBytes)
{
    CVQString oText;
    std::copy(sBytes.begin(), sBytes.end(), oText.GetBuffer(static_cast<int>(sBytes.size())));
    oText.ReleaseBuffer(static_cast<int>(sBytes.size()));
    return oText;
}

CVQPropertyStruct Point(int nX, int nY)
{
    CVQPropertyStruct oPoint;
    oPoint.SetStructureName("Point");
    oPoint["x"] = nX;
    oPoint["y"] = nY;
    return oPoint;
}

CVQPropertyList Points(const CVQPropertyStruct& oFirst, const CVQPropertyStruct& oSecond)
{
    CVQPropertyStruct oTemplate;
    oTemplate.SetStructureName("Point");
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(oTemplate));
    oList.AddListElement(CVQProperty(oFirst));
    oList.AddListElement(CVQProperty(oSecond));
    return oList;
}

/// A property of each simple type and its name, in the order of the names.
std::vector<std::pair<const char*, CVQProperty>> Scalars()
{
    return {{"bool", CVQProperty(true)},
            {"empty text", CVQProperty("")},
            {"float", CVQProperty(-1.5F)},
            {"id", CVQProperty(CVQStringId(4711))},
            {"int", CVQProperty(-2)},
            {"long", CVQProperty(0x7FFFFFFFL)},
            {"text", CVQProperty(Bytes(std::string("a\0b\xFF", 4)))},
            {"ulong", CVQProperty(0xFFFFFFFEUL)}};
}

CVQPropertyManager ScalarsManager(bool bFile)
{
    CVQPropertyManager oManager;
    for (const auto& [pName, oValue] : Scalars())
        oManager.SetProperty(pName, oValue);
    oManager["bool"].SetFormat("%d");
    oManager["float"].SetFormat("%.3f m");
    oManager["long"].SetFormat("%ld");
    if (bFile)
        oManager["undefined"].Empty();
    return oManager;
}

CVQParams ScalarsParams(bool bFile)
{
    CVQParams oParams;
    for (const auto& [pName, oValue] : Scalars())
        oParams.Add(oValue);
    oParams[0].SetFormat("%d");
    oParams[2].SetFormat("%.3f m");
    oParams[5].SetFormat("%ld");
    if (bFile)
        oParams.Add(CVQProperty());
    return oParams;
}

CVQPropertyStruct Shape()
{
    CVQPropertyStruct oShape;
    oShape.SetStructureName("Shape");
    oShape["Name"] = "box";
    oShape["bounds"] = Point(640, 480);
    oShape["corners"] = Points(Point(0, 0), Point(1, 1));
    oShape["corners"].SetFormat("unused");
    return oShape;
}

template <class TObject>
void ExpectStream(TObject oObject, const std::string& sName)
{
    const std::string sGolden = Golden(sName);
    EXPECT_EQ(StoredBytes(oObject), sGolden) << sName;
    TObject oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, sGolden), sGolden.size()) << sName;
    EXPECT_EQ(StoredBytes(oLoaded), sGolden) << sName;
}

template <class TObject>
void ExpectFile(TObject oObject, const std::string& sName)
{
    const std::string sGolden = Golden(sName);
    EXPECT_EQ(WrittenBytes(oObject), sGolden) << sName;
    TObject oRead;
    CBytesFile oFile(sGolden);
    EXPECT_TRUE(oRead.Read(&oFile)) << sName;
    EXPECT_EQ(oFile.GetFilePointerPos(), sGolden.size()) << sName;
    EXPECT_EQ(WrittenBytes(oRead), sGolden) << sName;
}

/// Loads bytes that may be anything. What comes out must be an object in order: it can be stored, and what was stored
/// loads and is the same again.
template <class TObject>
void LoadAnything(const std::string& sBytes)
{
    TObject oObject;
    CVQDataStream oStream = StreamOf(sBytes);
    try
    {
        oObject.Serialize(oStream);
    }
    catch (CVQDataStreamException& oError)
    {
        EXPECT_TRUE(oError.GetErrorCode() == 5000 || oError.GetErrorCode() == 5004) << oError.GetErrorCode();
    }
    EXPECT_LE(oStream.GetStreamPosition(), sBytes.size());

    const std::string sStored = StoredBytes(oObject);
    TObject oAgain;
    EXPECT_EQ(LoadFrom(oAgain, sStored), sStored.size());
    EXPECT_EQ(StoredBytes(oAgain), sStored);
}

template <class TObject>
void ReadAnything(const std::string& sBytes)
{
    TObject oObject;
    CBytesFile oFile(sBytes);
    oObject.Read(&oFile);
    EXPECT_LE(oFile.GetFilePointerPos(), sBytes.size());

    const std::string sWritten = WrittenBytes(oObject);
    TObject oAgain;
    CBytesFile oSecond(sWritten);
    EXPECT_TRUE(oAgain.Read(&oSecond));
    const std::string sAgain = WrittenBytes(oAgain);
    TObject oThird;
    CBytesFile oLast(sAgain);
    oThird.Read(&oLast);
    EXPECT_EQ(WrittenBytes(oThird), sAgain);
}

struct SRecordCase
{
    const char* m_pName;
    void (*m_pLoad)(const std::string&);
};

const SRecordCase STREAMS[] = {{"scalars.manager.stream", LoadAnything<CVQPropertyManager>},
                               {"scalars.params.stream", LoadAnything<CVQParams>},
                               {"points.list.stream", LoadAnything<CVQPropertyList>},
                               {"shape.struct.stream", LoadAnything<CVQPropertyStruct>},
                               {"number.property.stream", LoadAnything<CVQProperty>}};

const SRecordCase FILES[] = {{"scalars.manager.file", ReadAnything<CVQPropertyManager>},
                             {"scalars.params.file", ReadAnything<CVQParams>},
                             {"old.params.file", ReadAnything<CVQParams>},
                             {"points.list.file", ReadAnything<CVQPropertyList>},
                             {"shape.struct.file", ReadAnything<CVQPropertyStruct>},
                             {"number.property.file", ReadAnything<CVQProperty>}};

void ForEachRecord(const std::function<void(const std::string&, void (*)(const std::string&))>& Visit)
{
    for (const SRecordCase& oCase : STREAMS)
        Visit(Golden(oCase.m_pName), oCase.m_pLoad);
    for (const SRecordCase& oCase : FILES)
        Visit(Golden(oCase.m_pName), oCase.m_pLoad);
}

/// The log without its file: a directory has its name. Thousands of records are loaded here.
class CMuteLog : public CQuietLog
{
public:
    CMuteLog() { GetDirectory().MakeDirectory("Zembrolia.log"); }
};
} // namespace

namespace
{
/// The place of a virtual operation in the table of its class; a destructor has two.
template <class TOperation>
std::ptrdiff_t SlotOf(TOperation pOperation)
{
    std::ptrdiff_t nOffset = 0; // and 1, which tells virtual ones from others
    std::memcpy(&nOffset, &pOperation, sizeof nOffset);
    return (nOffset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

template <class TClass>
struct SShown : TClass
{
    static std::ptrdiff_t GetVersionSlot() { return SlotOf(&SShown::_GetDataFormatVersion); }
};

template <class TClass>
void ExpectFirstSlots()
{
    EXPECT_EQ(SShown<TClass>::GetVersionSlot(), 0);
    EXPECT_EQ(SlotOf(&TClass::CanSerialize), 1);
}
} // namespace

TEST(PropertyRecords, VirtualOperationsStandInTheOrderOfTheirSlots)
{
    ExpectFirstSlots<CVQProperty>();
    ExpectFirstSlots<CVQPropertyList>();
    ExpectFirstSlots<CVQPropertyStruct>();
    ExpectFirstSlots<CVQPropertyManager>();
    ExpectFirstSlots<CVQParams>();
    EXPECT_EQ(SlotOf(&CVQProperty::Serialize), 4);
    EXPECT_EQ(SlotOf(&CVQPropertyList::Serialize), 4);
    EXPECT_EQ(SlotOf(&CVQPropertyStruct::Serialize), 4);
    EXPECT_EQ(SlotOf(&CVQPropertyManager::Read), 4);
    EXPECT_EQ(SlotOf(&CVQPropertyManager::Write), 5);
    EXPECT_EQ(SlotOf(&CVQPropertyManager::Serialize), 6);
    EXPECT_EQ(SlotOf(&CVQParams::Read), 4);
    EXPECT_EQ(SlotOf(&CVQParams::Write), 5);
    EXPECT_EQ(SlotOf(&CVQParams::Serialize), 6);
}

TEST(PropertyRecords, StreamsAreTheGoldenBytes)
{
    ExpectStream(ScalarsManager(false), "scalars.manager.stream");
    ExpectStream(ScalarsParams(false), "scalars.params.stream");
    ExpectStream(Points(Point(1, 2), Point(-3, 0)), "points.list.stream");
    ExpectStream(Shape(), "shape.struct.stream");
    ExpectStream(CVQProperty(7), "number.property.stream");
}

TEST(PropertyRecords, FilesAreTheGoldenBytes)
{
    ExpectFile(ScalarsManager(true), "scalars.manager.file");
    ExpectFile(ScalarsParams(true), "scalars.params.file");
    ExpectFile(Points(Point(1, 2), Point(-3, 0)), "points.list.file");
    ExpectFile(Shape(), "shape.struct.file");
    ExpectFile(CVQProperty(7), "number.property.file");
}

TEST(PropertyRecords, OldFilesAreRead)
{
    CBytesFile oFile(Golden("old.params.file"));
    CVQParams oParams;
    EXPECT_TRUE(oParams.Read(&oFile));
    EXPECT_TRUE(oFile.IsEof());
    CVQParams oExpected;
    oExpected.Add(true);
    oExpected.Add(false);
    oExpected.Add(-2);
    oExpected.Add(3L);
    oExpected.Add(2.5F);
    oExpected.Add("old");
    oExpected.Add(CVQProperty());
    EXPECT_EQ(WrittenBytes(oParams), WrittenBytes(oExpected));
}

TEST(PropertyRecords, ADataFormatIsTheGoldenBytes)
{
    class CWordController : public CVQVariableControllerBase
    {
    public:
        CWordController(int nOffset) : CVQVariableControllerBase(nOffset, 0) {}

        void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override
        {
            if (oStream.IsStoring())
                oStream.Put(pRecord + GetValue(), 4);
            else
                oStream.Get(pRecord + GetValue(), 4);
        }
    };

    CWordController aControllers[] = {0, 4, 8};
    CVQDataFormat oFormat("Unit", 3);
    for (int i = 0; i < 3; ++i)
        oFormat.AddVariable(i, aControllers[i]);
    std::int32_t aUnit[] = {10, 11, 12};
    CVQDataStream oStored(CVQDataStream::STORING);
    oFormat.Serialize(reinterpret_cast<unsigned char*>(aUnit), oStored);
    EXPECT_EQ(BytesOf(oStored), Golden("unit.format.stream"));
    std::int32_t aLoaded[] = {0, 0, 0};
    CVQDataStream oLoading = StreamOf(Golden("unit.format.stream"));
    oFormat.Serialize(reinterpret_cast<unsigned char*>(aLoaded), oLoading);
    EXPECT_TRUE(std::equal(aUnit, aUnit + 3, aLoaded));
}

TEST(PropertyRecords, MayBeCutAnywhere)
{
    const CMuteLog oLog;
    ForEachRecord(
        [](const std::string& sRecord, void (*pLoad)(const std::string&))
        {
            for (std::size_t nCut = 0; nCut <= sRecord.size(); ++nCut)
                pLoad(sRecord.substr(0, nCut));
        });
}

TEST(PropertyRecords, MayHoldAnyWordAnywhere)
{
    const CMuteLog oLog;
    std::mt19937 oRandom(4711);
    ForEachRecord(
        [&oRandom](const std::string& sRecord, void (*pLoad)(const std::string&))
        {
            for (std::size_t nPlace = 0; nPlace < sRecord.size(); ++nPlace)
            {
                const std::int64_t aWords[] = {
                    0, -1, 0x7FFFFFFF, 0x80000000LL, 'a', static_cast<std::int64_t>(oRandom())};
                for (const std::int64_t nWord : aWords)
                {
                    std::string sDamaged = sRecord;
                    sDamaged.replace(nPlace, 4, Word(nWord));
                    sDamaged.resize(sRecord.size());
                    pLoad(sDamaged);
                }
            }
        });
}

TEST(PropertyRecords, MayBeOfAnotherKind)
{
    const CMuteLog oLog;
    for (const SRecordCase& oCase : STREAMS)
        ForEachRecord([&oCase](const std::string& sRecord, auto) { oCase.m_pLoad(sRecord); });
    for (const SRecordCase& oCase : FILES)
        ForEachRecord([&oCase](const std::string& sRecord, auto) { oCase.m_pLoad(sRecord); });
}

TEST(PropertyRecords, MayHoldLocalisedTexts)
{
    const CMuteLog oLog;
    const std::string sRecord = 'm' + Word(3) + Word(-1) + Word(5) +
                                Versioned(Word('s') + Word(-1) + Word(7) + Word(-1) + Word(9)) + Word(-1) + Word(6) +
                                Versioned(Word('S') + Word(6) + Text("")) + Text("z") +
                                Versioned(Record('c', Word(256) + 'm' + Word(0) + Word(-1) + Word(7)));
    for (std::size_t nCut = 0; nCut <= sRecord.size(); ++nCut)
    {
        LoadAnything<CVQPropertyManager>(sRecord.substr(0, nCut));
        const CNumberTexts oTexts;
        LoadAnything<CVQPropertyManager>(sRecord.substr(0, nCut));
    }
    const CNumberTexts oTexts;
    CVQPropertyManager oManager;
    LoadFrom(oManager, sRecord);
    EXPECT_EQ(oManager.GetPropertyCount(), 3) << "five, the empty name of what cannot be loaded, z";
    EXPECT_STREQ(~oManager["five"].GetString(), "seven");
    EXPECT_EQ(oManager[""].GetInt(), 6);
}

namespace
{
/// A file object of a program: numbers are texts in it.
class CTextFile : public CMemFileIO
{
public:
    CTextFile() : CMemFileIO(64) {}

    using CMemFileIO::Read;
    using CMemFileIO::Write;

    bool Write(int nValue) override { return WriteAscii(nValue); }

    bool Write(const CVQString& oText) override { return WriteAscii(oText); }

    bool Write(bool bValue) override { return Write(int{bValue}); }

    bool Write(float fValue) override { return WriteAscii(fValue); }
};
} // namespace

TEST(PropertyRecords, GoThroughTheOperationsOfAnotherFileClass)
{
    CTextFile oFile;
    CVQPropertyManager oManager = ScalarsManager(false);
    oManager.RemoveProperty("text");
    EXPECT_TRUE(oManager.Write(&oFile));
    EXPECT_EQ(
        std::string(reinterpret_cast<const char*>(oFile.GetBuffer()), oFile.GetSize()),
        "7; \"bool\"; 98; 1; \"empty text\"; 115; \"\"; \"float\"; 102; -1.5000; \"id\"; 83; 4711; \"int\"; 105; -2; "
        "\"long\"; 108; 2147483647; \"ulong\"; 76; -2; ");
}

TEST(PropertyRecords, MayBeLongerThanWhatIsHandedOverAtOnce)
{
    CVQPropertyManager oManager;
    std::string sExpected = 'm' + Word(4);
    for (const int nMebibytes : {9, 9, 17, 0})
    {
        const std::string sName = "name " + std::to_string(oManager.GetPropertyCount());
        const int nLength = nMebibytes * 1024 * 1024 + 40;
        oManager.SetProperty(sName.c_str(), CVQProperty(CVQString('x', nLength)));
        sExpected += Text(sName) + Versioned(Record('s', Text(std::string(static_cast<std::size_t>(nLength), 'x'))));
    }
    EXPECT_TRUE(StoredBytes(oManager) == sExpected);
}

TEST(PropertyRecords, AreReadOneBehindTheOther)
{
    // longer than the pieces that are read at once, and a text longer than those
    CVQPropertyManager oManager;
    for (int i = 0; i < 3000; ++i)
        oManager.SetProperty(CVQString(sctFormat, "name %d", i), i);
    oManager.SetProperty("long", CVQProperty(CVQString('x', 100000)));
    CVQProperty oNumber(7);
    CVQParams oParams = ScalarsParams(true);
    std::string sFile;
    for (int i = 0; i < 3; ++i)
        sFile += WrittenBytes(oManager) + WrittenBytes(oNumber) + WrittenBytes(oParams);

    const CTestDirectory oDirectory;
    oDirectory.Write("records", sFile);
    CFileIO oDisk;
    oDisk.Open("records", CFileIO::READ);
    CBytesFile oMemory(sFile);

    class CUnknownFile : public CBytesFile
    {
    public:
        using CBytesFile::CBytesFile;
    } oUnknown(sFile);

    for (CFileIO* pFile : {&oDisk, static_cast<CFileIO*>(&oMemory), static_cast<CFileIO*>(&oUnknown)})
    {
        CMemFileIO oWritten(4096);
        for (int i = 0; i < 3; ++i)
        {
            CVQPropertyManager oReadManager;
            CVQProperty oReadNumber;
            CVQParams oReadParams;
            EXPECT_TRUE(oReadManager.Read(pFile));
            EXPECT_TRUE(oReadNumber.Read(pFile));
            EXPECT_TRUE(oReadParams.Read(pFile));
            oReadManager.Write(&oWritten);
            oReadNumber.Write(&oWritten);
            oReadParams.Write(&oWritten);
        }
        EXPECT_TRUE(pFile->IsEof());
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(oWritten.GetBuffer()), oWritten.GetSize()), sFile);
    }
}

// What promises much and holds little takes no memory; with ever deeper lists the promises would add up.
TEST(IsolatedPropertyRecords, TakeNoMoreThanTheyHold)
{
    if (!CMemoryLimit::IsSupported())
        GTEST_SKIP() << "memory cannot be limited here";

    std::string sRecord(1 << 20, '\0');
    for (int i = 0; i < 200; ++i)
    {
        const auto nRest = static_cast<std::int64_t>(sRecord.size() - static_cast<std::size_t>(i) * 21);
        const std::string sLevel = Word(256) + Word('a') + Word(256) + 'L' + Word(nRest / 12 - 4);
        sRecord.replace(static_cast<std::size_t>(i) * sLevel.size(), sLevel.size(), sLevel);
    }
    const CQuietLog oLog;
    const CMemoryLimit oLimit(64 << 20);
    CVQParams oParams;
    EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oParams, 'v' + Word(80000) + sRecord); }), 5000U);
    for (const std::int64_t nCount : {0x7FFFFFFFLL, -1LL})
    {
        CVQPropertyManager oManager;
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oManager, 'm' + Word(nCount) + sRecord.substr(0, 1000)); }), 5000U);
        CBytesFile oFile(Word(nCount) + Text("a") + Word('s') + Word(nCount));
        EXPECT_TRUE(oManager.Read(&oFile));
    }
}
