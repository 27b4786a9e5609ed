#include <Common/Property/VQProperty.h>

#include <tests/support/PropertyBytes.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace
{
CVQProperty NamedStruct(const char* pName)
{
    CVQPropertyStruct oStruct;
    oStruct.SetStructureName(pName);
    return oStruct;
}

CVQPropertyList Numbers(std::initializer_list<int> aNumbers)
{
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(0));
    for (const int nNumber : aNumbers)
        oList.AddListElement(CVQProperty(nNumber));
    return oList;
}

std::vector<int> ValuesOf(CVQPropertyList& oList)
{
    std::vector<int> aValues;
    for (int i = 0; i < oList.GetCount(); ++i)
        aValues.push_back(oList.GetListElement(i).GetInt());
    return aValues;
}

const std::string ELEMENT_TYPE = Text("ElementType");
const std::string INT_TEMPLATE = 'M' + Word(1) + ELEMENT_TYPE + Versioned(IntRecord(0));

class CVersionedList : public CVQPropertyList
{
public:
    static void SetVersion(int nVersion) { _m_nDataFormatVersion = nVersion; }

    int GetOwnVersion() const { return _GetDataFormatVersion(); }
};

class CVersionedProperty : public CVQProperty
{
public:
    static void SetVersion(int nVersion) { _m_nDataFormatVersion = nVersion; }
};
} // namespace

static_assert(std::has_virtual_destructor_v<CVQPropertyList>);
static_assert(std::is_nothrow_move_constructible_v<CVQPropertyList>);

TEST(VQPropertyList, TakesElementsOfItsType)
{
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(0));
    EXPECT_EQ(oList.GetListElementType().GetType(), PROPTYPE_INT);
    EXPECT_TRUE(oList.AddListElement(CVQProperty(4711)));
    EXPECT_FALSE(oList.AddListElement(CVQProperty(1.0F)));
    EXPECT_FALSE(oList.AddListElement(CVQProperty(1L)));
    EXPECT_FALSE(oList.AddListElement(CVQProperty(1UL)));
    EXPECT_FALSE(oList.AddListElement(CVQProperty()));
    EXPECT_EQ(ValuesOf(oList), std::vector<int>{4711});

    EXPECT_TRUE(oList.SetListElementAt(0, CVQProperty(5)));
    EXPECT_FALSE(oList.SetListElementAt(0, CVQProperty("5")));
    EXPECT_EQ(ValuesOf(oList), std::vector<int>{5});
}

TEST(VQPropertyList, TakesStructsOfItsKind)
{
    CVQPropertyList oList;
    oList.SetListElementType(NamedStruct("Point"));
    EXPECT_TRUE(oList.AddListElement(NamedStruct("Point")));
    EXPECT_FALSE(oList.AddListElement(NamedStruct("point")));
    EXPECT_FALSE(oList.AddListElement(NamedStruct("Points")));
    EXPECT_FALSE(oList.AddListElement(CVQProperty(CVQPropertyStruct())));
    EXPECT_FALSE(oList.SetListElementAt(0, NamedStruct("point")));
    EXPECT_EQ(oList.GetCount(), 1);

    CVQPropertyList oNameless;
    oNameless.SetListElementType(CVQProperty(CVQPropertyStruct()));
    EXPECT_TRUE(oNameless.AddListElement(NamedStruct("")));
    EXPECT_TRUE(oNameless.AddListElement(CVQProperty(CVQPropertyStruct())));

    CVQPropertyList oLists; // of lists: any list will do
    oLists.SetListElementType(CVQProperty(Numbers({})));
    CVQPropertyList oTexts;
    oTexts.SetListElementType(CVQProperty("a"));
    EXPECT_TRUE(oLists.AddListElement(CVQProperty(oTexts)));
}

TEST(VQPropertyList, WithoutAnElementTypeTakesUndefinedOnes)
{
    CVQPropertyList oList;
    EXPECT_EQ(oList.GetListElementType().GetType(), PROPTYPE_UNDEFINED);
    EXPECT_STREQ(~oList.GetPropertyTypeName(), "List[Undefined porperty type]");
    EXPECT_FALSE(oList.AddListElement(CVQProperty(1)));
    EXPECT_TRUE(oList.AddListElement(CVQProperty()));
    EXPECT_EQ(oList.GetCount(), 1);
}

TEST(VQPropertyList, ANewElementTypeKeepsTheElements)
{
    CVQPropertyList oList = Numbers({1, 2});
    CVQProperty oTemplate("text");
    oTemplate.SetFormat("%s");
    oList.SetListElementType(oTemplate);
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{1, 2}));
    EXPECT_EQ(oList.GetListElementType().GetType(), PROPTYPE_STRING);
    EXPECT_TRUE(oList.GetListElementType().GetFormat().IsEmpty());
    EXPECT_FALSE(oList.AddListElement(CVQProperty(1)));
}

TEST(VQPropertyList, RemovingMovesTheOthersDown)
{
    CVQPropertyList oList = Numbers({10, 11, 12});
    EXPECT_TRUE(oList.RemoveListElement(0));
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{11, 12}));
    EXPECT_TRUE(oList.RemoveListElement(1));
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{11}));
    EXPECT_TRUE(oList.RemoveAllListElements());
    EXPECT_EQ(oList.GetCount(), 0);
    EXPECT_TRUE(oList.RemoveAllListElements());
    EXPECT_EQ(oList.GetListElementType().GetType(), PROPTYPE_INT);
}

TEST(VQPropertyList, MovesDownByAssigning)
{
    CVQPropertyList oList = Numbers({10, 11, 12});
    oList.GetListElement(0).SetFormat("first");
    oList.GetListElement(2).SetFormat("last");
    oList.GetListElement(1) = CVQProperty();
    oList.RemoveListElement(0);
    EXPECT_EQ(oList.GetListElement(0).GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oList.GetListElement(0).GetInt(), 10) << "an undefined one gives its type alone";
    EXPECT_STREQ(~oList.GetListElement(0).GetFormat(), "first") << "formats stay where they are";
    EXPECT_EQ(oList.GetListElement(1).GetInt(), 12);
    EXPECT_TRUE(oList.GetListElement(1).GetFormat().IsEmpty());
}

TEST(VQPropertyList, SettingAnElementAssigns)
{
    CVQPropertyList oList = Numbers({10});
    oList.GetListElement(0).SetFormat("%x");
    CVQProperty oNew(11);
    oNew.SetFormat("%o");
    oList.SetListElementAt(0, oNew);
    EXPECT_STREQ(~oList.GetListElement(0).GetFormat(), "%x");
    oList.AddListElement(oNew);
    EXPECT_TRUE(oList.GetListElement(1).GetFormat().IsEmpty());
    for (int i = 0; i < 100; ++i)
        oList.AddListElement(oList.GetListElement(0));
    EXPECT_STREQ(~oList.GetListElement(0).GetFormat(), "%x") << "a format stays while the list grows";
    EXPECT_EQ(oList.GetListElement(101).GetInt(), 11);
}

TEST(VQPropertyList, FormatsAsItsCount)
{
    EXPECT_STREQ(~CVQPropertyList().AsFormattedString(), "{ 0 Elements }");
    EXPECT_STREQ(~Numbers({1, 2, 3}).AsFormattedString(), "{ 3 Elements }");
    EXPECT_STREQ(~Numbers({1}).GetPropertyTypeName(), "List[Integer]");
    CVQPropertyList oLists;
    oLists.SetListElementType(CVQProperty(Numbers({})));
    EXPECT_STREQ(~oLists.GetPropertyTypeName(), "List[List[Integer]]");
    oLists.SetListElementType(NamedStruct("Point"));
    EXPECT_STREQ(~oLists.GetPropertyTypeName(), "List[Point]");
}

TEST(VQPropertyList, CopiesElementsAndAttributes)
{
    const CVQPropertyList oSource = Numbers({1, 2, 3});
    CVQPropertyList oCopy(oSource);
    EXPECT_EQ(ValuesOf(oCopy), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(oCopy.GetListElementType().GetType(), PROPTYPE_INT);
    oCopy.GetListElement(0) = 9;
    CVQPropertyList oTarget;
    oTarget.SetListElementType(CVQProperty("x"));
    oTarget.AddListElement(CVQProperty("old"));
    oTarget = oSource;
    EXPECT_EQ(ValuesOf(oTarget), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(oTarget.GetListElementType().GetType(), PROPTYPE_INT);
    const CVQPropertyList& oSelf = oTarget;
    oTarget = oSelf;
    EXPECT_EQ(ValuesOf(oTarget), (std::vector<int>{1, 2, 3}));
    const CVQPropertyList oTaken(std::move(oTarget));
    EXPECT_EQ(oTaken.GetCount(), 3);
    EXPECT_EQ(oTarget.GetCount(), 0); // NOLINT(bugprone-use-after-move): it says what is left
}

TEST(VQPropertyList, CopiesElementsWhateverTheTemplateSays)
{
    CVQPropertyList oMixed = Numbers({1});
    oMixed.SetListElementType(CVQProperty("text"));
    oMixed.AddListElement(CVQProperty("two"));
    CVQProperty oProperty(oMixed);
    CVQPropertyList oCopy(static_cast<const CVQPropertyList&>(oProperty));
    EXPECT_EQ(oCopy.GetListElement(0).GetInt(), 1);
    EXPECT_STREQ(~oCopy.GetListElement(1).GetString(), "two");
}

TEST(VQPropertyList, HasTheVersion256)
{
    EXPECT_EQ(CVQPropertyList::GetDataFormatVersion(), 256);
    EXPECT_EQ(CVersionedList().GetOwnVersion(), 256);
    EXPECT_TRUE(CVQPropertyList().CanSerialize());
}

TEST(VQPropertyList, StoresElementsAndAttributes)
{
    CVQPropertyList oEmpty = Numbers({});
    const std::string sEmpty("\x4C\0\0\0\0\x4D\x01\0\0\0\x0B\0\0\0"
                             "ElementType\0\x01\0\0\x69\0\0\0\0\0\0\0\0\0\0\0",
                             41);
    EXPECT_EQ(StoredBytes(oEmpty), sEmpty);
    EXPECT_EQ(sEmpty, 'L' + Word(0) + INT_TEMPLATE);

    CVQPropertyList oList = Numbers({7, -1});
    oList.GetListElement(1).SetFormat("%x");
    const std::string sRecord =
        'L' + Word(2) + Versioned(IntRecord(7)) + Versioned(Record('i', Word(-1), "%x")) + INT_TEMPLATE;
    EXPECT_EQ(StoredBytes(oList), sRecord);
    CVQPropertyList oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, sRecord), sRecord.size());
    EXPECT_EQ(StoredBytes(oLoaded), sRecord);
    EXPECT_STREQ(~oLoaded.GetListElement(1).GetFormat(), "%x");

    CVQPropertyList oNothing;
    EXPECT_EQ(StoredBytes(oNothing), 'L' + Word(0) + 'M' + Word(0));
}

TEST(VQPropertyList, LoadingKeepsWhatHasNoMarker)
{
    CVQPropertyList oList = Numbers({1, 2});
    EXPECT_EQ(LoadFrom(oList, "lM" + Word(0)), 6U);
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{1, 2}));
    EXPECT_EQ(oList.GetListElementType().GetType(), PROPTYPE_UNDEFINED) << "the attributes were emptied";

    oList = Numbers({1, 2});
    EXPECT_EQ(LoadFrom(oList, 'L' + Word(1) + Versioned(IntRecord(5)) + "m"), 22U);
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{5}));
    EXPECT_EQ(oList.GetListElementType().GetType(), PROPTYPE_INT);

    EXPECT_EQ(LoadFrom(oList, "xy"), 2U);
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{5}));
}

TEST(VQPropertyList, LoadingReadsIntoTheElements)
{
    CVQPropertyList oList = Numbers({1, 2, 3});
    oList.GetListElement(0).SetFormat("kept");
    LoadFrom(oList, 'L' + Word(2) + Versioned(Record('f', FloatWord(2.5F))) + Versioned(IntRecord(6)) + INT_TEMPLATE);
    EXPECT_EQ(oList.GetCount(), 2);
    EXPECT_EQ(oList.GetListElement(0).GetType(), PROPTYPE_FLOAT);
    EXPECT_EQ(oList.GetListElement(0).GetInt(), 1);
    EXPECT_STREQ(~oList.GetListElement(0).GetFormat(), "kept");
    EXPECT_EQ(oList.GetListElement(1).GetInt(), 6);
}

TEST(VQPropertyList, LoadsAttributesOfAnyName)
{
    CVQPropertyList oList;
    const std::string sRecord = 'L' + Word(0) + 'M' + Word(2) + Text("Author") + Versioned(Record('s', Text("Ann"))) +
                                ELEMENT_TYPE + Versioned(IntRecord(0));
    LoadFrom(oList, sRecord);
    EXPECT_EQ(StoredBytes(oList), sRecord);
    EXPECT_TRUE(oList.AddListElement(CVQProperty(1)));
}

TEST(VQPropertyList, HostileCountsAreRefusedBeforeMemoryIsTaken)
{
    const CQuietLog oLog;
    for (const std::int64_t nCount : {-1LL, 0x7FFFFFFFLL, 0x80000000LL, 3LL, 1000LL})
    {
        CVQPropertyList oList = Numbers({1, 2});
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oList, 'L' + Word(nCount) + Versioned(IntRecord(5)) + INT_TEMPLATE); }),
                  5000U);
        if (nCount != 3) // three could be there, but are not
        {
            EXPECT_EQ(ValuesOf(oList), (std::vector<int>{1, 2}));
        }
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oList, 'L' + Word(0) + 'M' + Word(nCount) + Text("a")); }), 5000U);
    }
}

TEST(VQPropertyList, ACutStreamLeavesTheElementsThatWereReadWhole)
{
    CVQPropertyList oList = Numbers({1, 2, 3});
    const std::string sRecord = StoredBytes(oList);
    const std::size_t nElement = Versioned(IntRecord(1)).size();
    for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
    {
        CVQPropertyList oLoaded;
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oLoaded, sRecord.substr(0, nCut)); }), 5000U);
        const std::size_t nWhole = nCut < 5 ? 0 : std::min<std::size_t>((nCut - 5) / nElement, 3);
        // the count is refused at once where so many cannot be there
        const bool bCountRefused = nCut < 5 + 3 * std::size_t{12};
        EXPECT_EQ(oLoaded.GetCount(), bCountRefused ? 0 : static_cast<int>(nWhole)) << nCut;
    }
}

TEST(VQPropertyList, FileRecordsAreAttributesAndElements)
{
    CVQPropertyList oList = Numbers({7, 8});
    const std::string sRecord =
        Word(1) + ELEMENT_TYPE + Word('i') + Word(0) + Word(2) + Word('i') + Word(7) + Word('i') + Word(8);
    CMemFileIO oFile(64);
    EXPECT_TRUE(oList.Write(&oFile));
    EXPECT_EQ(WrittenBytes(oList), sRecord);

    CVQPropertyList oRead;
    CBytesFile oSaved(sRecord + "rest");
    EXPECT_TRUE(oRead.Read(&oSaved));
    EXPECT_EQ(oSaved.GetFilePointerPos(), sRecord.size());
    EXPECT_EQ(ValuesOf(oRead), (std::vector<int>{7, 8}));
    EXPECT_FALSE(oRead.Read(nullptr));
    EXPECT_FALSE(oRead.Write(nullptr));
    EXPECT_EQ(oRead.GetCount(), 2);
}

TEST(VQPropertyList, ReadingReplacesElementsAndAddsAttributes)
{
    CVQPropertyList oList = Numbers({1, 2, 3});
    CBytesFile oFile(Word(1) + Text("Author") + Word('s') + Text("Ann") + Word(1) + Word('i') + Word(9));
    EXPECT_TRUE(oList.Read(&oFile));
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{9}));
    EXPECT_EQ(WrittenBytes(oList), Word(2) + Text("Author") + Word('s') + Text("Ann") + ELEMENT_TYPE + Word('i') +
                                       Word(0) + Word(1) + Word('i') + Word(9));
}

TEST(VQPropertyList, ReadingDropsElementsOfOtherTypes)
{
    CVQPropertyList oList;
    CBytesFile oFile(Word(1) + ELEMENT_TYPE + Word('i') + Word(0) + Word(3) + Word('i') + Word(1) + Word('f') +
                     FloatWord(1) + Word('i') + Word(3));
    EXPECT_TRUE(oList.Read(&oFile));
    EXPECT_EQ(ValuesOf(oList), (std::vector<int>{1, 3}));

    CVQPropertyList oUntyped;
    CBytesFile oUntypedFile(Word(0) + Word(2) + Word('i') + Word(1) + Word('-'));
    EXPECT_TRUE(oUntyped.Read(&oUntypedFile));
    EXPECT_EQ(oUntyped.GetCount(), 1);
}

TEST(VQPropertyList, ACutFileIsReadAsFarAsItGoes)
{
    CVQPropertyList oList = Numbers({1, 2, 3});
    const std::string sRecord = WrittenBytes(oList);
    const std::size_t nStart = sRecord.size() - std::size_t{3} * 8;
    for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
    {
        CVQPropertyList oRead;
        CBytesFile oFile(sRecord.substr(0, nCut));
        EXPECT_TRUE(oRead.Read(&oFile)) << nCut;
        EXPECT_EQ(oRead.GetCount(), nCut < nStart ? 0 : static_cast<int>((nCut - nStart) / 8)) << nCut;
    }
    for (const std::int64_t nCount : {0x7FFFFFFFLL, -1LL, 0x80000000LL})
    {
        CVQPropertyList oRead;
        CBytesFile oFile(Word(nCount) + ELEMENT_TYPE + Word('i') + Word(0));
        EXPECT_TRUE(oRead.Read(&oFile));
        CBytesFile oSecond(Word(1) + ELEMENT_TYPE + Word('i') + Word(0) + Word(nCount) + Word('i') + Word(5));
        EXPECT_TRUE(oRead.Read(&oSecond));
        EXPECT_EQ(oRead.GetCount(), nCount == 0x7FFFFFFFLL ? 1 : 0);
    }
}

TEST(VQPropertyList, RefusesToNestTooDeeply)
{
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(1));
    oList.AddListElement(CVQProperty(1));
    oList.GetListElement(0) = NestedStructs(256);
    const std::string sStored = StoredBytes(oList);
    const std::string sWritten = WrittenBytes(oList);
    oList.GetListElement(0) = NestedStructs(257);
    EXPECT_EQ(StreamErrorOf([&] { StoredBytes(oList); }), 5004U);
    CMemFileIO oFile(64);
    EXPECT_FALSE(oList.Write(&oFile));
    EXPECT_EQ(oFile.GetSize(), 0U);

    CVQPropertyList oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, sStored), sStored.size());
    EXPECT_EQ(StoredBytes(oLoaded), sStored);
    oLoaded.SetListElementType(CVQProperty(1));
    oList.SetListElementType(NestedStructs(257)); // in an attribute it is as deep
    oList.RemoveAllListElements();
    EXPECT_FALSE(oList.Write(&oFile));
    EXPECT_EQ(StreamErrorOf([&] { StoredBytes(oList); }), 5004U);

    EXPECT_EQ(
        StreamErrorOf([&] { LoadFrom(oLoaded, 'L' + Word(1) + Word(256) + NestedStructsRecord(257) + 'M' + Word(0)); }),
        5004U);
    CBytesFile oDeep(Word(1) + Text("a") + NestedStructsFile(257) + Word(0));
    EXPECT_FALSE(oLoaded.Read(&oDeep));
    CBytesFile oDeepElement(Word(0) + Word(1) + NestedStructsFile(257));
    EXPECT_FALSE(oLoaded.Read(&oDeepElement));
}

TEST(VQPropertyList, TheVersion65535IsNotStored)
{
    CVQPropertyList oNumbers = Numbers({7});
    CVQProperty oProperty(oNumbers);
    CVersionedList::SetVersion(65535);
    const std::string sProperty = StoredBytes(oProperty);
    CVQProperty oLoaded;
    const unsigned long nTaken = LoadFrom(oLoaded, sProperty);
    CVersionedList::SetVersion(256);
    EXPECT_EQ(sProperty, Word('a') + 'L' + Word(1) + Versioned(IntRecord(7)) + INT_TEMPLATE + Text(""));
    EXPECT_EQ(nTaken, sProperty.size());

    CVersionedProperty::SetVersion(65535);
    const std::string sList = StoredBytes(oNumbers);
    CVQPropertyList oLoadedList;
    LoadFrom(oLoadedList, sList);
    CVersionedProperty::SetVersion(256);
    EXPECT_EQ(sList, 'L' + Word(1) + IntRecord(7) + 'M' + Word(1) + ELEMENT_TYPE + IntRecord(0));
    EXPECT_EQ(ValuesOf(oLoadedList), std::vector<int>{7});
}
