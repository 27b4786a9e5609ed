#include <Common/Property/VQProperty.h>

#include <tests/support/PropertyBytes.h>

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace
{
CVQPropertyStruct Point(int nX, int nY)
{
    CVQPropertyStruct oPoint;
    oPoint.SetStructureName("Point");
    oPoint["x"] = nX;
    oPoint["y"] = nY;
    return oPoint;
}

std::string NamesOf(const CVQPropertyStruct& oStruct)
{
    std::string sNames;
    CVQString oName;
    CVQProperty oValue;
    long nPosition = 0;
    for (bool bMore = oStruct.GetFirstElement(oName, oValue, nPosition); bMore;
         bMore = oStruct.GetNextElement(oName, oValue, nPosition))
        sNames += std::string(~oName != nullptr ? ~oName : "") + ' ';
    return sNames;
}

CVQString WithZero(const char* pFirst, const char* pSecond)
{
    CVQString oText(pFirst);
    oText += '?';
    oText += pSecond;
    oText.SetAt(static_cast<int>(std::string(pFirst).size()), '\0');
    return oText;
}

const std::string POINT_RECORD =
    'm' + Word(2) + Text("x") + Versioned(IntRecord(1)) + Text("y") + Versioned(IntRecord(2)) + Text("Point");

class CVersionedStruct : public CVQPropertyStruct
{
public:
    static void SetVersion(int nVersion) { _m_nDataFormatVersion = nVersion; }

    int GetOwnVersion() const { return _GetDataFormatVersion(); }
};
} // namespace

static_assert(std::has_virtual_destructor_v<CVQPropertyStruct>);
static_assert(std::is_nothrow_move_constructible_v<CVQPropertyStruct>);

TEST(VQPropertyStruct, BeginsEmpty)
{
    CVQPropertyStruct oStruct;
    EXPECT_EQ(oStruct.GetElementCount(), 0);
    EXPECT_TRUE(oStruct.GetStructureName().IsEmpty());
    EXPECT_STREQ(~oStruct.AsFormattedString(), "{  }");
    CVQString oName("kept");
    CVQProperty oValue(5);
    long nPosition = 3;
    EXPECT_FALSE(oStruct.GetFirstElement(oName, oValue, nPosition));
    EXPECT_FALSE(oStruct.GetNextElement(oName, oValue, nPosition));
    EXPECT_STREQ(~oName, "kept");
    EXPECT_EQ(oValue.GetInt(), 5);
    EXPECT_TRUE(oStruct.CanSerialize());
}

TEST(VQPropertyStruct, AddsAndReplaces)
{
    CVQPropertyStruct oStruct;
    EXPECT_TRUE(oStruct.AddStructElement("a", 1));
    EXPECT_TRUE(oStruct.AddStructElement("b", "two"));
    EXPECT_TRUE(oStruct.AddStructElement("a", 2.5F));
    EXPECT_EQ(oStruct.GetElementCount(), 2);
    EXPECT_EQ(static_cast<float>(oStruct.FindElement("a")), 2.5F);
    EXPECT_EQ(oStruct.FindElement("a").GetInt(), 1) << "it was assigned to";
    EXPECT_STREQ(~oStruct.FindElement("b").GetString(), "two");

    CVQProperty oFormatted(7);
    oFormatted.SetFormat("%x");
    oStruct.AddStructElement("c", oFormatted);
    oStruct.AddStructElement("d", std::move(oFormatted));
    EXPECT_TRUE(oStruct["c"].GetFormat().IsEmpty());
    EXPECT_TRUE(oStruct["d"].GetFormat().IsEmpty());
}

TEST(VQPropertyStruct, Removes)
{
    CVQPropertyStruct oStruct = Point(1, 2);
    EXPECT_TRUE(oStruct.RemoveStructElement("absent"));
    EXPECT_TRUE(oStruct.RemoveStructElement("X"));
    EXPECT_EQ(oStruct.GetElementCount(), 2);
    EXPECT_TRUE(oStruct.RemoveStructElement("x"));
    EXPECT_EQ(NamesOf(oStruct), "y ");
    EXPECT_TRUE(oStruct.RemoveAllStructElements());
    EXPECT_EQ(oStruct.GetElementCount(), 0);
    EXPECT_STREQ(~oStruct.GetStructureName(), "Point");
    EXPECT_TRUE(oStruct.RemoveStructElement("x"));
    EXPECT_TRUE(oStruct.RemoveAllStructElements());
}

TEST(VQPropertyStruct, AMissIsOneSharedUndefinedProperty)
{
    CVQPropertyStruct oStruct = Point(1, 2);
    CVQPropertyStruct oOther;
    CVQProperty& oMissing = oStruct.FindElement("z");
    EXPECT_EQ(oMissing.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oStruct.GetElementCount(), 2);
    oMissing = 99;
    EXPECT_EQ(oMissing.GetType(), PROPTYPE_INT);
    EXPECT_EQ(&oOther.FindElement("q"), &oMissing);
    EXPECT_EQ(oMissing.GetType(), PROPTYPE_UNDEFINED) << "each miss sets the type";
    EXPECT_EQ(oMissing.GetInt(), 99) << "and nothing else";
    EXPECT_EQ(oOther.GetElementCount(), 0);

    const CVQPropertyStruct& oConst = oStruct;
    const CVQProperty& oConstMissing = oConst.FindElement("z");
    EXPECT_NE(&oConstMissing, &oMissing);
    EXPECT_EQ(&oConst["other"], &oConstMissing);
    EXPECT_EQ(oConstMissing.GetType(), PROPTYPE_UNDEFINED);
    const_cast<CVQProperty&>(oConstMissing) = 5;
    EXPECT_EQ(oConst["z"].GetType(), PROPTYPE_UNDEFINED);
    const_cast<CVQProperty&>(oConstMissing).Empty();
    EXPECT_EQ(&oConst.FindElement("x"), &oStruct["x"]);
    oMissing.Empty();
}

TEST(VQPropertyStruct, IndexingAddsAnUndefinedElement)
{
    CVQPropertyStruct oStruct;
    EXPECT_EQ(oStruct["a"].GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oStruct.GetElementCount(), 1);
    oStruct["a"] = 5;
    EXPECT_EQ(oStruct["a"].GetInt(), 5);
    const CVQPropertyStruct& oConst = oStruct;
    EXPECT_EQ(oConst["b"].GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oConst["a"].GetInt(), 5);
    EXPECT_EQ(oStruct.GetElementCount(), 1);
    EXPECT_EQ(oConst[nullptr].GetType(), PROPTYPE_UNDEFINED);
    oStruct[nullptr] = 6;
    EXPECT_EQ(oConst[""].GetInt(), 6) << "null counts as empty";
    EXPECT_EQ(oConst.FindElement(CVQString()).GetInt(), 6);
}

TEST(VQPropertyStruct, ANumberInPlaceOfANameIsALocalisedText)
{
    const CNumberTexts oTexts;
    CVQPropertyStruct oStruct;
    const auto* const pFive = reinterpret_cast<const char*>(std::uintptr_t{5}); // NOLINT
    oStruct[pFive] = 1;
    EXPECT_EQ(oStruct["five"].GetInt(), 1);
    EXPECT_EQ(static_cast<const CVQPropertyStruct&>(oStruct)[pFive].GetInt(), 1);
    EXPECT_EQ(StoredBytes(oStruct), 'm' + Word(1) + Word(-1) + Word(5) + Versioned(IntRecord(1)) + Text(""));
}

TEST(VQPropertyStruct, StandsInTheOrderOfBytes)
{
    CVQPropertyStruct oStruct;
    for (const char* pName : {"b", "a", "B", "aa", "\xC4", "Z", "_", ""})
        oStruct[pName] = 1;
    EXPECT_EQ(NamesOf(oStruct), " B Z _ a aa b \xC4 ");
}

TEST(VQPropertyStruct, NamesEndAtAZero)
{
    CVQPropertyStruct oStruct;
    oStruct.AddStructElement(WithZero("a", "b"), 1);
    oStruct.AddStructElement(WithZero("a", "c"), 2);
    EXPECT_EQ(oStruct.GetElementCount(), 1);
    EXPECT_EQ(oStruct["a"].GetInt(), 2);
    EXPECT_EQ(StoredBytes(oStruct), 'm' + Word(1) + Text(std::string("a\0b", 3)) + Versioned(IntRecord(2)) + Text(""))
        << "the bytes stay";
}

TEST(VQPropertyStruct, ReferencesHoldWhileOthersComeAndGo)
{
    CVQPropertyStruct oStruct;
    CVQProperty& oElement = oStruct["m"];
    oElement = 7;
    for (int i = 0; i < 1000; ++i)
        oStruct[~CVQString(sctFormat, "%d", i)] = i;
    for (int i = 0; i < 1000; i += 2)
        oStruct.RemoveStructElement(CVQString(sctFormat, "%d", i));
    EXPECT_EQ(&oStruct["m"], &oElement);
    EXPECT_EQ(oElement.GetInt(), 7);
    EXPECT_EQ(oStruct.GetElementCount(), 501);
}

TEST(VQPropertyStruct, GoesThroughItsElements)
{
    const CVQPropertyStruct oStruct = Point(1, 2);
    CVQString oName;
    CVQProperty oValue;
    oValue.SetFormat("kept");
    long nPosition = -5;
    EXPECT_TRUE(oStruct.GetFirstElement(oName, oValue, nPosition));
    EXPECT_STREQ(~oName, "x");
    EXPECT_EQ(oValue.GetInt(), 1);
    EXPECT_STREQ(~oValue.GetFormat(), "kept");
    EXPECT_EQ(nPosition, static_cast<std::int32_t>(nPosition));
    long nSecond = nPosition;
    EXPECT_TRUE(oStruct.GetNextElement(oName, oValue, nSecond));
    EXPECT_STREQ(~oName, "y");
    EXPECT_EQ(oValue.GetInt(), 2);
    EXPECT_TRUE(oStruct.GetNextElement(oName, oValue, nPosition)) << "positions are independent";
    EXPECT_STREQ(~oName, "y");
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(oStruct.GetNextElement(oName, oValue, nSecond)) << "the end stays the end";
    EXPECT_STREQ(~oName, "y");

    for (const long nOutside : {-1L, 2L, 1000000L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()})
    {
        long nNowhere = nOutside;
        EXPECT_FALSE(oStruct.GetNextElement(oName, oValue, nNowhere));
    }
}

TEST(VQPropertyStruct, PositionsDoNoHarmWhenTheStructChanges)
{
    CVQPropertyStruct oStruct;
    for (const char* pName : {"a", "b", "c", "d"})
        oStruct[pName] = 1;
    CVQString oName;
    CVQProperty oValue;
    long nPosition = 0;
    oStruct.GetFirstElement(oName, oValue, nPosition);
    oStruct.GetNextElement(oName, oValue, nPosition);
    oStruct["e"] = 1;
    oStruct["_"] = 1;
    EXPECT_TRUE(oStruct.GetNextElement(oName, oValue, nPosition));
    for (const char* pName : {"a", "b", "c", "d", "_"})
        oStruct.RemoveStructElement(pName);
    EXPECT_FALSE(oStruct.GetNextElement(oName, oValue, nPosition));
    EXPECT_EQ(NamesOf(oStruct), "e ");
    oStruct["f"] = 1;
    oStruct["0"] = 1;
    EXPECT_EQ(NamesOf(oStruct), "0 e f ");
    oStruct.RemoveStructElement("e");
    EXPECT_EQ(NamesOf(oStruct), "0 f ");
    LoadFrom(oStruct,
             'm' + Word(2) + Text("y") + Versioned(IntRecord(1)) + Text("x") + Versioned(IntRecord(1)) + Text(""));
    EXPECT_EQ(NamesOf(oStruct), "x y ");
    EXPECT_EQ(NamesOf(CVQPropertyStruct(oStruct)), "x y ");
}

TEST(VQPropertyStruct, ALocalisedNameKeepsItsNumber)
{
    const CNumberTexts oTexts;
    CVQString oFive;
    oFive.LoadStringResource(5);
    CVQPropertyStruct oStruct;
    oStruct.AddStructElement(oFive, 1);
    const CVQPropertyStruct oCopy(oStruct);
    CVQString oName("before");
    CVQProperty oValue;
    long nPosition = 0;
    ASSERT_TRUE(oCopy.GetFirstElement(oName, oValue, nPosition));
    EXPECT_STREQ(~oName, "five");
    EXPECT_EQ(oName.GetStringId(), 5);
    oStruct.RemoveStructElement("five");
    oStruct["plain"] = 2;
    ASSERT_TRUE(oStruct.GetFirstElement(oName, oValue, nPosition));
    EXPECT_STREQ(~oName, "plain");
    EXPECT_EQ(oName.GetStringId(), -1);
}

TEST(VQPropertyStruct, FormatsAllElements)
{
    EXPECT_STREQ(~Point(1, 2).AsFormattedString(), "{ x=1 y=2  }");
    CVQPropertyStruct oOuter;
    oOuter["p"] = Point(1, 2);
    oOuter["on"] = true;
    oOuter["u"] = CVQProperty();
    EXPECT_STREQ(~oOuter.AsFormattedString(), "{ on=true p={ x=1 y=2  } u=Unkown Property Type  }");
    const std::string sLong(3000, 'x');
    oOuter["l"] = sLong.c_str();
    EXPECT_EQ(oOuter.AsFormattedString().GetLength(), 2 + 3003 + 8 + 15 + 23 + 2);
}

TEST(VQPropertyStruct, CopiesElementsAndName)
{
    const CVQPropertyStruct oSource = Point(1, 2);
    CVQPropertyStruct oCopy(oSource);
    EXPECT_STREQ(~oCopy.GetStructureName(), "Point");
    oCopy["x"] = 9;
    EXPECT_EQ(oSource["x"].GetInt(), 1);
    CVQPropertyStruct oTarget;
    oTarget["old"] = 1;
    EXPECT_EQ(&(oTarget = oSource), &oTarget);
    EXPECT_EQ(NamesOf(oTarget), "x y ");
    EXPECT_STREQ(~oTarget.GetStructureName(), "Point");
    const CVQPropertyStruct& oSelf = oTarget;
    oTarget = oSelf;
    EXPECT_EQ(NamesOf(oTarget), "x y ");
    const CVQPropertyStruct oTaken(std::move(oTarget));
    EXPECT_EQ(NamesOf(oTaken), "x y ");
    EXPECT_EQ(oTarget.GetElementCount(), 0); // NOLINT(bugprone-use-after-move): it says what is left

    CVQPropertyStruct oNested;
    oNested["inner"] = Point(3, 4);
    oNested = oNested["inner"].operator const CVQPropertyStruct&();
    EXPECT_EQ(oNested["y"].GetInt(), 4);
}

TEST(VQPropertyStruct, StoresElementsAndName)
{
    CVQPropertyStruct oPoint = Point(1, 2);
    EXPECT_EQ(StoredBytes(oPoint), POINT_RECORD);
    CVQPropertyStruct oLoaded;
    oLoaded["old"] = 1;
    EXPECT_EQ(LoadFrom(oLoaded, POINT_RECORD), POINT_RECORD.size());
    EXPECT_EQ(NamesOf(oLoaded), "x y ");
    EXPECT_EQ(StoredBytes(oLoaded), POINT_RECORD);
    CVQPropertyStruct oEmpty;
    EXPECT_EQ(StoredBytes(oEmpty), 'm' + Word(0) + Text(""));
}

TEST(VQPropertyStruct, LoadingKeepsFormats)
{
    const std::string sRecord = 'm' + Word(1) + Text("x") + Versioned(Record('i', Word(1), "%x")) + Text("");
    CVQPropertyStruct oStruct;
    LoadFrom(oStruct, sRecord);
    EXPECT_STREQ(~oStruct["x"].GetFormat(), "%x");
    EXPECT_EQ(StoredBytes(oStruct), sRecord);
}

TEST(VQPropertyStruct, LoadingKeepsWhatHasNoMarker)
{
    CVQPropertyStruct oStruct = Point(1, 2);
    EXPECT_EQ(LoadFrom(oStruct, 'M' + Text("Other")), 10U);
    EXPECT_EQ(NamesOf(oStruct), "x y ");
    EXPECT_STREQ(~oStruct.GetStructureName(), "Other");
    LoadFrom(oStruct, 'm' + Word(0) + Text(""));
    EXPECT_EQ(oStruct.GetElementCount(), 0);
    EXPECT_STREQ(~oStruct.GetStructureName(), "Other") << "an empty name leaves it";

    const CNumberTexts oTexts;
    LoadFrom(oStruct, 'm' + Word(0) + Word(-1) + Word(5));
    EXPECT_STREQ(~oStruct.GetStructureName(), "five");
    EXPECT_EQ(StoredBytes(oStruct), 'm' + Word(0) + Word(-1) + Word(5));
}

TEST(VQPropertyStruct, TheLaterOfTwoEqualNamesHolds)
{
    CVQPropertyStruct oStruct;
    LoadFrom(oStruct, 'm' + Word(3) + Text("b") + Versioned(IntRecord(1)) + Text("a") + Versioned(IntRecord(2)) +
                          Text("b") + Versioned(Record('s', Text("last"), "f")) + Text(""));
    EXPECT_EQ(NamesOf(oStruct), "a b ");
    EXPECT_STREQ(~oStruct["b"].GetString(), "last");
    EXPECT_EQ(oStruct["b"].GetInt(), 0);
    EXPECT_STREQ(~oStruct["b"].GetFormat(), "f");

    CVQPropertyStruct oRead;
    CBytesFile oFile(Word(2) + Text("a") + Word('i') + Word(1) + Text("a") + Word('i') + Word(2) + Text("n"));
    EXPECT_TRUE(oRead.Read(&oFile));
    EXPECT_EQ(oRead["a"].GetInt(), 2);
    EXPECT_EQ(oRead.GetElementCount(), 1);
}

TEST(VQPropertyStruct, ACutStreamLeavesWhatWasReadWhole)
{
    for (std::size_t nCut = 0; nCut < POINT_RECORD.size(); ++nCut)
    {
        CVQPropertyStruct oStruct;
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oStruct, POINT_RECORD.substr(0, nCut)); }), 5000U);
        // a number of two is refused at once where they cannot be there
        const int nWhole = nCut < 5 + 32 ? 0 : nCut < 5 + 42 ? 1 : 2;
        EXPECT_EQ(oStruct.GetElementCount(), nWhole) << nCut;
        EXPECT_TRUE(oStruct.GetStructureName().IsEmpty());
    }
    for (const std::int64_t nCount : {-1LL, 0x7FFFFFFFLL, 0x80000000LL, 0x10000000LL, 3LL})
    {
        CVQPropertyStruct oStruct;
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oStruct, 'm' + Word(nCount) + POINT_RECORD.substr(5)); }), 5000U);
    }
}

TEST(VQPropertyStruct, FileRecordsAreElementsAndName)
{
    CVQPropertyStruct oPoint = Point(1, 2);
    const std::string sRecord =
        Word(2) + Text("x") + Word('i') + Word(1) + Text("y") + Word('i') + Word(2) + Text("Point");
    CMemFileIO oFile(64);
    EXPECT_TRUE(oPoint.Write(&oFile));
    EXPECT_EQ(WrittenBytes(oPoint), sRecord);
    EXPECT_FALSE(oPoint.Write(nullptr));
    EXPECT_FALSE(oPoint.Read(nullptr));

    CVQPropertyStruct oRead;
    oRead["kept"] = 1;
    oRead["x"] = 8;
    CBytesFile oSaved(sRecord);
    EXPECT_TRUE(oRead.Read(&oSaved));
    EXPECT_EQ(NamesOf(oRead), "kept x y ");
    EXPECT_EQ(oRead["x"].GetInt(), 1);
    EXPECT_STREQ(~oRead.GetStructureName(), "Point");
}

TEST(VQPropertyStruct, TextsOfAFileAreFresh)
{
    CVQPropertyStruct oRead;
    CBytesFile oFile(Word(2) + Text("x") + Word('s') + Text("old") + Text("") + Word('s') + Text("") + Text(""));
    oRead.SetStructureName("before");
    EXPECT_TRUE(oRead.Read(&oFile));
    EXPECT_EQ(oRead.GetElementCount(), 2);
    EXPECT_TRUE(oRead[""].GetString().IsEmpty());
    EXPECT_TRUE(oRead.GetStructureName().IsEmpty());
}

TEST(VQPropertyStruct, ACutFileIsReadAsFarAsItGoes)
{
    CVQPropertyStruct oPoint = Point(1, 2);
    const std::string sRecord = WrittenBytes(oPoint);
    for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
    {
        CVQPropertyStruct oRead;
        CBytesFile oFile(sRecord.substr(0, nCut));
        EXPECT_TRUE(oRead.Read(&oFile));
        EXPECT_EQ(oRead.GetElementCount(), nCut < 17 ? 0 : nCut < 30 ? 1 : 2) << nCut;
    }
    for (const std::int64_t nCount : {0x7FFFFFFFLL, -1LL, 0x80000000LL})
    {
        CVQPropertyStruct oRead;
        CBytesFile oFile(Word(nCount) + sRecord.substr(4));
        EXPECT_TRUE(oRead.Read(&oFile));
        EXPECT_EQ(oRead.GetElementCount(), nCount == 0x7FFFFFFFLL ? 2 : 0);
    }
}

TEST(VQPropertyStruct, RefusesToNestTooDeeply)
{
    CVQPropertyStruct oStruct;
    oStruct["a"] = NestedLists(256);
    const std::string sStored = StoredBytes(oStruct);
    CVQPropertyStruct oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, sStored), sStored.size());
    EXPECT_EQ(StoredBytes(oLoaded), sStored);

    oStruct["a"] = NestedLists(257);
    EXPECT_EQ(StreamErrorOf([&] { StoredBytes(oStruct); }), 5004U);
    CMemFileIO oFile(64);
    EXPECT_FALSE(oStruct.Write(&oFile));
    EXPECT_EQ(oFile.GetSize(), 0U);
    CBytesFile oDeep(Word(1) + Text("a") + NestedStructsFile(257) + Text(""));
    EXPECT_FALSE(oLoaded.Read(&oDeep));
    EXPECT_EQ(StreamErrorOf(
                  [&]
                  { LoadFrom(oLoaded, 'm' + Word(1) + Text("a") + Word(256) + NestedListsRecord(257) + Text("")); }),
              5004U);
}

TEST(VQPropertyStruct, HasTheVersion256)
{
    EXPECT_EQ(CVQPropertyStruct::GetDataFormatVersion(), 256);
    EXPECT_EQ(CVersionedStruct().GetOwnVersion(), 256);

    CVQProperty oProperty(Point(1, 2));
    CVersionedStruct::SetVersion(65535);
    const std::string sStored = StoredBytes(oProperty);
    CVQProperty oLoaded;
    const unsigned long nTaken = LoadFrom(oLoaded, sStored);
    CVersionedStruct::SetVersion(256);
    EXPECT_EQ(sStored, Word('c') + POINT_RECORD + Text("")) << "65535 is not stored";
    EXPECT_EQ(nTaken, sStored.size());
}
