#include <Common/Property/VQProperty.h>

#include <tests/support/NoMemory.h>
#include <tests/support/PropertyBytes.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace
{
constexpr const char* UNDEFINED_NAME = "Undefined porperty type";
constexpr const char* UNKNOWN_TEXT = "Unkown Property Type";

/// A property of each type, its character and the type name.
struct STypeCase
{
    CVQProperty m_oProperty;
    char m_cType;
    const char* m_pName;
};

CVQPropertyStruct Point(int nX, int nY, const char* pName = "Point")
{
    CVQPropertyStruct oPoint;
    oPoint.SetStructureName(pName);
    oPoint["x"] = nX;
    oPoint["y"] = nY;
    return oPoint;
}

CVQPropertyList Numbers(std::initializer_list<int> aNumbers)
{
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(0));
    for (const int nNumber : aNumbers)
        oList.AddListElement(CVQProperty(nNumber));
    return oList;
}

std::vector<STypeCase> AllTypes()
{
    return {{CVQProperty(), '-', UNDEFINED_NAME},
            {CVQProperty(7UL), 'L', "Unsigned Long"},
            {CVQProperty(CVQStringId(5)), 'S', "String id"},
            {CVQProperty(Numbers({1, 2})), 'a', "List[Integer]"},
            {CVQProperty(true), 'b', "Boolean"},
            {CVQProperty(Point(1, 2)), 'c', "Point"},
            {CVQProperty(2.5F), 'f', "Float"},
            {CVQProperty(-7), 'i', "Integer"},
            {CVQProperty(-7L), 'l', "Long"},
            {CVQProperty("text"), 's', "String"}};
}

std::string Formatted(CVQProperty& oProperty, const char* pFormat)
{
    oProperty.SetFormat(pFormat);
    const CVQString oText = oProperty.AsFormattedString();
    return {~oText != nullptr ? ~oText : "", static_cast<std::size_t>(oText.GetLength())};
}

const CVQPropertyStruct& StructOf(const CVQProperty& oProperty)
{
    return oProperty;
}

const CVQPropertyList& ListOf(const CVQProperty& oProperty)
{
    return oProperty;
}

int ElementOf(const CVQProperty& oProperty, long nIndex)
{
    CVQPropertyList oList(ListOf(oProperty));
    return oList.GetListElement(nIndex).GetInt();
}

/// Shows the protected parts.
class CVersionedProperty : public CVQProperty
{
public:
    static void SetVersion(int nVersion) { _m_nDataFormatVersion = nVersion; }

    int GetOwnVersion() const { return _GetDataFormatVersion(); }
};
} // namespace

static_assert(std::has_virtual_destructor_v<CVQProperty>);
static_assert(std::is_nothrow_move_constructible_v<CVQProperty>);
static_assert(sizeof(ePropType) == 1);
static_assert(std::is_same_v<decltype(std::declval<CVQProperty&>() = 1), const CVQProperty&>);
static_assert(std::is_same_v<decltype(std::declval<CVQProperty&>() = "a"), const CVQProperty&>);
static_assert(std::is_same_v<decltype(std::declval<CVQProperty&>() = std::declval<CVQProperty>()), const CVQProperty&>);

TEST(VQProperty, TypesAreTheCodesOfTheirCharacters)
{
    EXPECT_EQ(PROPTYPE_UNDEFINED, 45);
    EXPECT_EQ(PROPTYPE_ULONG, 76);
    EXPECT_EQ(PROPTYPE_STRINGID, 83);
    EXPECT_EQ(PROPTYPE_LIST, 97);
    EXPECT_EQ(PROPTYPE_BOOL, 98);
    EXPECT_EQ(PROPTYPE_STRUCT, 99);
    EXPECT_EQ(PROPTYPE_FLOAT, 102);
    EXPECT_EQ(PROPTYPE_INT, 105);
    EXPECT_EQ(PROPTYPE_LONG, 108);
    EXPECT_EQ(PROPTYPE_STRING, 115);
}

TEST(VQProperty, EachTypeHasItsName)
{
    for (const auto& oCase : AllTypes())
    {
        EXPECT_EQ(oCase.m_oProperty.GetType(), oCase.m_cType);
        EXPECT_TRUE(oCase.m_oProperty.IsOfType(static_cast<ePropType>(oCase.m_cType)));
        EXPECT_FALSE(oCase.m_oProperty.IsOfType(static_cast<ePropType>('z')));
        EXPECT_STREQ(~oCase.m_oProperty.GetPropertyTypeName(), oCase.m_pName);
    }
    CVQProperty oUnknown(5);
    for (const char cType : {'z', '\0', 'K', 't'})
    {
        oUnknown.SetType(static_cast<ePropType>(cType));
        EXPECT_STREQ(~oUnknown.GetPropertyTypeName(), UNDEFINED_NAME);
        EXPECT_STREQ(~oUnknown.AsFormattedString(), UNKNOWN_TEXT);
    }
}

TEST(VQProperty, AnEmptyOneIsUndefinedAndHoldsNothing)
{
    const CVQProperty oEmpty;
    EXPECT_EQ(oEmpty.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oEmpty.GetInt(), 0);
    EXPECT_EQ(static_cast<float>(oEmpty), 0.0F);
    EXPECT_EQ(~oEmpty.GetString(), nullptr);
    EXPECT_TRUE(oEmpty.GetFormat().IsEmpty());
    EXPECT_EQ(StructOf(oEmpty).GetElementCount(), 0);
    EXPECT_EQ(ListOf(oEmpty).GetCount(), 0);
    EXPECT_STREQ(~oEmpty.GetPropertyTypeName(), UNDEFINED_NAME);
    EXPECT_STREQ(~oEmpty.AsFormattedString(), UNKNOWN_TEXT);
    EXPECT_TRUE(oEmpty.CanSerialize());
}

TEST(VQProperty, AnEmptyOneTakesNoMemory)
{
    if (!CNoMemory::IsSupported())
        GTEST_SKIP() << "the library's memory cannot be made to fail here";

    const CNoMemory oNoMemory;
    CVQProperty oEmpty;
    CVQProperty oCopy(oEmpty);
    oEmpty = oCopy;
    oEmpty = 5;
    const CVQProperty oNumber(oEmpty);
    oCopy.Empty();
    const CVQPropertyStruct oStruct;
    const CVQPropertyStruct oStructCopy(oStruct);
    const CVQPropertyList oList;
    const CVQPropertyList oListCopy(oList);
    const CVQPropertyManager oManager;
    const CVQPropertyManager oManagerCopy(oManager);
    const CVQParams oParams;
    const CVQParams oParamsCopy(oParams);
    EXPECT_EQ(oNumber.GetInt(), 5);
}

TEST(VQProperty, ACopyOfAShortTextTakesNoMemory)
{
    if (!CNoMemory::IsSupported())
        GTEST_SKIP() << "the library's memory cannot be made to fail here";

    CVQProperty oText("a short text");
    CVQProperty oTarget("another");
    std::vector<CVQProperty> aCopies;
    aCopies.reserve(3);
    {
        const CNoMemory oNoMemory;
        aCopies.emplace_back(oText);
        aCopies.emplace_back(std::move(oText));
        aCopies.push_back(aCopies[0]);
        oTarget = aCopies[2];
    }
    EXPECT_EQ(oText.GetType(), PROPTYPE_UNDEFINED); // NOLINT(bugprone-use-after-move): it says what is left
    EXPECT_EQ(~oText.GetString(), nullptr);
    for (const CVQProperty& oCopy : aCopies)
        EXPECT_STREQ(~oCopy.GetString(), "a short text");
    EXPECT_STREQ(~oTarget.GetString(), "a short text");
}

TEST(VQProperty, TextsOfEveryLengthAreOneAnother)
{
    // around the length up to which a text has no buffer of its own, a string in the source and in the target or not
    for (std::size_t nLength = 0; nLength < 40; ++nLength)
    {
        std::string sText(nLength, 'x');
        if (nLength > 2)
            sText[1] = '\0';
        CVQString oString;
        if (nLength != 0)
        {
            std::copy(sText.begin(), sText.end(), oString.GetBuffer(static_cast<int>(nLength)));
            oString.ReleaseBuffer(static_cast<int>(nLength));
        }
        for (const bool bString : {false, true})
            for (const std::size_t nBefore : {0U, 1U, 10U, 35U})
            {
                CVQProperty oSource(oString);
                if (bString)
                    oSource.GetString();
                CVQProperty oCopy(oSource);
                CVQProperty oAssigned(CVQString('y', static_cast<int>(nBefore)));
                if (bString)
                    oAssigned.GetString();
                oAssigned = oCopy;
                CVQProperty oSet(CVQString('y', static_cast<int>(nBefore)));
                oSet.Set(oString);
                CVQProperty oLoaded(CVQString('y', static_cast<int>(nBefore)));
                const std::string sRecord = StoredBytes(oCopy);
                EXPECT_EQ(sRecord, Word('s') + Text(sText) + Text(""));
                EXPECT_EQ(LoadFrom(oLoaded, sRecord), sRecord.size());
                CVQProperty oMoved(std::move(oCopy));
                EXPECT_EQ(WrittenBytes(oMoved), Word('s') + Text(sText));
                for (CVQProperty* pProperty : {&oSource, &oAssigned, &oSet, &oLoaded, &oMoved})
                {
                    EXPECT_EQ(pProperty->GetType(), PROPTYPE_STRING);
                    EXPECT_TRUE(pProperty->GetString() == oString) << nLength;
                    EXPECT_EQ(StoredBytes(*pProperty), sRecord);
                }
            }
    }
}

TEST(VQProperty, AShortTextStandsForTheSameString)
{
    CVQProperty oProperty("hello");
    oProperty = "abc";
    oProperty.SetFormat("%x %d %d %d %d %s");
    const auto Words = [&oProperty]
    {
        const std::string sWords = ~oProperty.AsFormattedString();
        return sWords.substr(sWords.find(' ') + 1);
    };
    EXPECT_EQ(Words(), "1 3 5 -1 abc") << "the buffer of the longer text stays";
    oProperty = "four";
    EXPECT_EQ(Words(), "1 4 5 -1 four");

    CVQProperty oShort("hello");
    oShort.Empty();
    EXPECT_STREQ(~oShort.GetString(), "") << "emptied, not without a buffer";
    EXPECT_EQ(oShort.GetString().GetData()->m_nAllocatedLength, 5);
    CVQProperty oGrown("hello");
    oGrown = "hello world";
    EXPECT_EQ(oGrown.GetString().GetData()->m_nAllocatedLength, 11);
    const CVQString& oText = oGrown.GetString();
    oGrown = "hello";
    EXPECT_EQ(&oGrown.GetString(), &oText);
    EXPECT_STREQ(~oText, "hello") << "a string that was given out is the one that is assigned to";
}

TEST(VQProperty, HasTheVersion256)
{
    EXPECT_EQ(CVQProperty::GetDataFormatVersion(), 256);
    EXPECT_EQ(CVersionedProperty().GetOwnVersion(), 256);
}

TEST(VQProperty, NumbersHave32Bits)
{
    const CVQProperty oHigh(4000000000UL);
    EXPECT_EQ(oHigh.GetType(), PROPTYPE_ULONG);
    EXPECT_EQ(static_cast<unsigned long>(oHigh), 4000000000UL);
    EXPECT_EQ(static_cast<long>(oHigh), -294967296L);
    EXPECT_EQ(static_cast<int>(oHigh), -294967296);
    EXPECT_EQ(oHigh.GetInt(), -294967296);

    const CVQProperty oMinusOne(-1L);
    EXPECT_EQ(static_cast<unsigned long>(oMinusOne), 0xFFFFFFFFUL);
    EXPECT_EQ(static_cast<long>(oMinusOne), -1L);

    if (sizeof(long) > 4)
    {
        const auto nWide = static_cast<long>(0x123456789LL);
        EXPECT_EQ(static_cast<long>(CVQProperty(nWide)), 0x23456789L);
        EXPECT_EQ(static_cast<unsigned long>(CVQProperty(static_cast<unsigned long>(nWide))), 0x23456789UL);
    }
}

TEST(VQProperty, SlotsDoNotConvert)
{
    CVQProperty oProperty(5);
    oProperty.Set(2.5F);
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_FLOAT);
    EXPECT_EQ(oProperty.GetInt(), 5);
    EXPECT_EQ(static_cast<float>(oProperty), 2.5F);
    EXPECT_TRUE(oProperty.GetString().IsEmpty());

    oProperty.Set(CVQString("9"));
    oProperty.Set(Point(1, 2));
    oProperty.Set(Numbers({1, 2, 3}));
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_LIST);
    EXPECT_EQ(oProperty.GetInt(), 5);
    EXPECT_EQ(static_cast<float>(oProperty), 2.5F);
    EXPECT_STREQ(~oProperty.GetString(), "9");
    EXPECT_EQ(StructOf(oProperty).GetElementCount(), 2);
    EXPECT_EQ(ListOf(oProperty).GetCount(), 3);

    oProperty.Set(false);
    EXPECT_EQ(oProperty.GetInt(), 0);
    EXPECT_FALSE(static_cast<bool>(oProperty));
    oProperty.Set(-3);
    EXPECT_TRUE(static_cast<bool>(oProperty));
}

TEST(VQProperty, SettingHasATwinInAssigning)
{
    CVQProperty oProperty;
    const auto Is = [&oProperty](char cType, int nNumber)
    { return oProperty.GetType() == static_cast<ePropType>(cType) && oProperty.GetInt() == nNumber; };

    oProperty.Set(1);
    EXPECT_TRUE(Is('i', 1));
    oProperty.Set(2L);
    EXPECT_TRUE(Is('l', 2));
    oProperty.Set(3UL);
    EXPECT_TRUE(Is('L', 3));
    oProperty.Set(true);
    EXPECT_TRUE(Is('b', 1));
    EXPECT_EQ(&(oProperty = 4), &oProperty);
    EXPECT_TRUE(Is('i', 4));
    EXPECT_EQ(&(oProperty = 5L), &oProperty);
    EXPECT_TRUE(Is('l', 5));
    EXPECT_EQ(&(oProperty = 6UL), &oProperty);
    EXPECT_TRUE(Is('L', 6));
    EXPECT_EQ(&(oProperty = false), &oProperty);
    EXPECT_TRUE(Is('b', 0));
    EXPECT_EQ(&(oProperty = 1.5F), &oProperty);
    EXPECT_TRUE(Is('f', 0));
    EXPECT_EQ(&(oProperty = "a"), &oProperty);
    EXPECT_TRUE(Is('s', 0));
    EXPECT_STREQ(~oProperty.GetString(), "a");
    EXPECT_EQ(&(oProperty = CVQString("b")), &oProperty);
    EXPECT_STREQ(~oProperty.GetString(), "b");
    oProperty.Set("c");
    EXPECT_STREQ(~oProperty.GetString(), "c");
    EXPECT_EQ(&(oProperty = CVQStringId(9)), &oProperty);
    EXPECT_TRUE(Is('S', 9));
    EXPECT_EQ(&(oProperty = Point(1, 2)), &oProperty);
    EXPECT_TRUE(Is('c', 9));
    EXPECT_EQ(&(oProperty = Numbers({1})), &oProperty);
    EXPECT_TRUE(Is('a', 9));
    EXPECT_EQ(&(oProperty = CVQProperty(8)), &oProperty);
    EXPECT_TRUE(Is('i', 8));
    EXPECT_EQ(&oProperty.operator CVQProperty&(), &oProperty);
}

TEST(VQProperty, ReadsATextAsAPath)
{
    const CVQProperty oProperty("game/data/level.dat");
    const auto oPath = static_cast<CVQPath>(oProperty);
    EXPECT_STREQ(~oPath.GetFileName(false), "level");
    EXPECT_STREQ(~static_cast<const CVQString&>(oProperty), "game/data/level.dat");
}

TEST(VQProperty, ATextOfAResourceBecomesAStringId)
{
    const CNumberTexts oTexts;
    CVQString oText;
    oText.LoadStringResource(5);
    CVQProperty oProperty(3.0F);
    oProperty.Set(oText);
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRINGID);
    EXPECT_EQ(oProperty.GetInt(), 5);
    EXPECT_EQ(oProperty.GetStringId().GetId(), 5);
    EXPECT_EQ(static_cast<CVQStringId>(oProperty).GetId(), 5);
    EXPECT_STREQ(~oProperty.GetString(), "five");

    oText += '!'; // has the id, and differs
    oProperty.Set(oText);
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRING);
    EXPECT_STREQ(~oProperty.GetString(), "five!");
    EXPECT_EQ(oProperty.GetString().GetStringId(), 5);
    EXPECT_EQ(oProperty.GetInt(), 5);

    oProperty.Set(CVQString("five")); // is equal, and has no id
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRING);
}

TEST(VQProperty, AStringIdLoadsItsText)
{
    CVQProperty oProperty("old");
    oProperty = CVQStringId(7);
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRINGID);
    EXPECT_EQ(oProperty.GetInt(), 7);
    EXPECT_STREQ(~oProperty.GetString(), "old") << "nobody loads texts here";
    CVQProperty oFresh(CVQStringId(7));
    EXPECT_TRUE(oFresh.GetString().IsEmpty());
    const CVQProperty oCopy(oProperty);
    EXPECT_TRUE(oCopy.GetString().IsEmpty()) << "the number is copied, and its text loaded";

    const CNumberTexts oTexts;
    EXPECT_STREQ(~oFresh.GetString(), "seven") << "loaded when it is asked for";
    EXPECT_STREQ(~oCopy.GetString(), "seven");
    EXPECT_STREQ(~oProperty.GetString(), "old");
    oProperty = CVQStringId(5);
    EXPECT_STREQ(~oProperty.GetString(), "five");
    oProperty = CVQStringId(6);
    EXPECT_TRUE(oProperty.GetString().IsEmpty());
    EXPECT_EQ(oProperty.GetInt(), 6);

    CVQProperty oString("");
    EXPECT_TRUE(oString.GetString().IsEmpty());
    EXPECT_EQ(oString.GetType(), PROPTYPE_STRING);
}

TEST(VQProperty, AssigningCopiesByTheTypeOfTheSource)
{
    for (const auto& oCase : AllTypes())
    {
        CVQProperty oTarget(41);
        oTarget.Set(4.5F);
        oTarget.SetFormat("%x");
        CVQProperty oSource;
        oSource = oCase.m_oProperty;
        oSource.SetFormat("%o");
        oTarget = oSource;
        EXPECT_EQ(oTarget.GetType(), oCase.m_cType);
        EXPECT_STREQ(~oTarget.GetFormat(), "%x") << "the format is never copied";
        const CVQProperty oCopy(oSource);
        EXPECT_EQ(oCopy.GetType(), oCase.m_cType);
        EXPECT_TRUE(oCopy.GetFormat().IsEmpty());
        switch (oCase.m_cType)
        {
        case 'L':
            EXPECT_EQ(static_cast<unsigned long>(oTarget), 7UL);
            break;
        case 'i':
        case 'l':
            EXPECT_EQ(oTarget.GetInt(), -7);
            break;
        case 'b':
            EXPECT_EQ(oTarget.GetInt(), 1);
            break;
        case 'f':
            EXPECT_EQ(static_cast<float>(oTarget), 2.5F);
            EXPECT_EQ(oTarget.GetInt(), 41);
            break;
        case 'S':
            EXPECT_EQ(oTarget.GetInt(), 5);
            break;
        case 's':
            EXPECT_STREQ(~oTarget.GetString(), "text");
            break;
        case 'c':
            EXPECT_STREQ(~StructOf(oTarget).GetStructureName(), "Point");
            EXPECT_EQ(StructOf(oTarget)["y"].GetInt(), 2);
            break;
        case 'a':
            EXPECT_EQ(ListOf(oTarget).GetCount(), 2);
            EXPECT_EQ(ListOf(oTarget).GetListElementType().GetType(), PROPTYPE_INT);
            break;
        default:
            EXPECT_EQ(oTarget.GetInt(), 41) << "an undefined source leaves the slots";
            EXPECT_EQ(static_cast<float>(oTarget), 4.5F);
            EXPECT_EQ(oCopy.GetInt(), 0);
            break;
        }
    }
}

TEST(VQProperty, AssigningAnUnknownTypeMakesItUndefined)
{
    CVQProperty oSource(5);
    oSource.SetType(static_cast<ePropType>('z'));
    CVQProperty oTarget(8);
    oTarget = oSource;
    EXPECT_EQ(oTarget.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oTarget.GetInt(), 8);
}

TEST(VQProperty, ABoolIsCopiedAsOneOrZero)
{
    CVQProperty oSource(-7);
    oSource.SetType(PROPTYPE_BOOL);
    const CVQProperty oCopy(oSource);
    EXPECT_EQ(oCopy.GetInt(), 1);
}

TEST(VQProperty, CopyingATextOfAResourceMakesAStringId)
{
    const CNumberTexts oTexts;
    CVQString oText;
    oText.LoadStringResource(5);
    CVQProperty oSource(oText);
    oSource.SetType(PROPTYPE_STRING);
    const CVQProperty oCopy(oSource);
    EXPECT_EQ(oCopy.GetType(), PROPTYPE_STRINGID);
    EXPECT_EQ(oCopy.GetInt(), 5);

    const CVQProperty oAgain(oCopy);
    EXPECT_EQ(oAgain.GetType(), PROPTYPE_STRINGID);
    EXPECT_STREQ(~oAgain.GetString(), "five");
}

TEST(VQProperty, CanBeAssignedAPartOfItself)
{
    CVQProperty oProperty(Point(3, 4));
    oProperty = StructOf(oProperty)["x"];
    EXPECT_EQ(oProperty.GetInt(), 3);

    CVQPropertyStruct oOuter;
    oOuter["inner"] = Point(5, 6);
    oProperty = oOuter;
    oProperty = StructOf(oProperty)["inner"];
    EXPECT_STREQ(~StructOf(oProperty).GetStructureName(), "Point");
    EXPECT_EQ(StructOf(oProperty)["y"].GetInt(), 6);

    CVQPropertyList oLists;
    oLists.SetListElementType(CVQProperty(Numbers({})));
    oLists.AddListElement(CVQProperty(Numbers({7, 8, 9})));
    oProperty = oLists;
    oProperty = const_cast<CVQPropertyList&>(ListOf(oProperty)).GetListElement(0);
    EXPECT_EQ(ListOf(oProperty).GetCount(), 3);
    EXPECT_EQ(ElementOf(oProperty, 2), 9);

    oProperty = "self";
    const CVQProperty& oSelf = oProperty;
    oProperty = oSelf;
    EXPECT_STREQ(~oProperty.GetString(), "self");
    oProperty.Set(oProperty.GetString());
    EXPECT_STREQ(~oProperty.GetString(), "self");
    oProperty = Numbers({1, 2});
    oProperty = oSelf;
    EXPECT_EQ(ListOf(oProperty).GetCount(), 2);
}

TEST(VQProperty, MovingTakesEverythingOver)
{
    CVQProperty oSource("text");
    oSource.Set(5);
    oSource.SetFormat("%x");
    const CVQProperty oTarget(std::move(oSource));
    EXPECT_EQ(oTarget.GetType(), PROPTYPE_INT);
    EXPECT_EQ(oTarget.GetInt(), 5);
    EXPECT_STREQ(~oTarget.GetString(), "text");
    EXPECT_STREQ(~oTarget.GetFormat(), "%x");
    EXPECT_EQ(oSource.GetType(), PROPTYPE_UNDEFINED); // NOLINT(bugprone-use-after-move): it says what is left
    EXPECT_TRUE(oSource.GetFormat().IsEmpty());
}

TEST(VQProperty, EmptyClearsTheSlotsAndKeepsTheFormat)
{
    CVQProperty oProperty("text");
    oProperty.Set(Point(1, 2));
    oProperty.Set(Numbers({1}));
    oProperty.Set(2.0F);
    oProperty.Set(3);
    oProperty.SetFormat("%x");
    oProperty.Empty();
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oProperty.GetInt(), 0);
    EXPECT_EQ(static_cast<float>(oProperty), 0.0F);
    EXPECT_TRUE(oProperty.GetString().IsEmpty());
    EXPECT_EQ(StructOf(oProperty).GetElementCount(), 0);
    EXPECT_STREQ(~StructOf(oProperty).GetStructureName(), "Point") << "the elements go, the name stays";
    EXPECT_EQ(ListOf(oProperty).GetCount(), 0);
    EXPECT_EQ(ListOf(oProperty).GetListElementType().GetType(), PROPTYPE_INT);
    EXPECT_STREQ(~oProperty.GetFormat(), "%x");
}

TEST(VQProperty, SetTypeChangesNothingElse)
{
    CVQProperty oProperty(5);
    oProperty.SetType(PROPTYPE_BOOL);
    EXPECT_EQ(oProperty.GetInt(), 5);
    EXPECT_STREQ(~oProperty.AsFormattedString(), "true");
    oProperty.SetType(PROPTYPE_ULONG);
    EXPECT_STREQ(~oProperty.AsFormattedString(), "5");
}

TEST(VQProperty, FormatsWithoutAFormat)
{
    struct
    {
        CVQProperty m_oProperty;
        const char* m_pText;
    } const aCases[] = {{CVQProperty(-5), "-5"},
                        {CVQProperty(4000000000UL), "-294967296"},
                        {CVQProperty(5L), "5"},
                        {CVQProperty(true), "true"},
                        {CVQProperty(false), "false"},
                        {CVQProperty(1.0F), "1.00"},
                        {CVQProperty(-0.125F), "-0.12"},
                        {CVQProperty("a text"), "a text"},
                        {CVQProperty(Numbers({1, 2, 3})), "{ 3 Elements }"},
                        {CVQProperty(Point(1, 2)), "{ x=1 y=2  }"},
                        {CVQProperty(), UNKNOWN_TEXT}};

    for (const auto& oCase : aCases)
        EXPECT_STREQ(~oCase.m_oProperty.AsFormattedString(), oCase.m_pText);

    const CNumberTexts oTexts;
    EXPECT_STREQ(~CVQProperty(CVQStringId(7)).AsFormattedString(), "seven");
}

TEST(VQProperty, FormatsWithAFormat)
{
    struct
    {
        CVQProperty m_oProperty;
        const char* m_pFormat;
        const char* m_pText;
    } aCases[] = {{CVQProperty(255), "0x%04X.", "0x00FF."},
                  {CVQProperty(4000000000UL), "%u", "4000000000"},
                  {CVQProperty(4000000000UL), "%d", "-294967296"},
                  {CVQProperty(7L), "%-4ld|", "7   |"},
                  {CVQProperty(7L), "%+5d% d", "   +7% d"},
                  {CVQProperty(-1), "%hhu", "255"},
                  {CVQProperty(65537), "%hd", "1"},
                  {CVQProperty(65), "%c", "A"},
                  {CVQProperty(true), "%d", "1"},
                  {CVQProperty(false), "on: %d", "on: 0"},
                  {CVQProperty(2.5F), "%.1f m", "2.5 m"},
                  {CVQProperty(2.5F), "%e", "2.500000e+00"},
                  {CVQProperty(0.5F), "%G%%", "0.5%"},
                  {CVQProperty(5), "no conversion", "no conversion"},
                  {CVQProperty(Numbers({1})), "%d", "{ 1 Elements }"},
                  {CVQProperty(Point(1, 2)), "%s", "{ x=1 y=2  }"},
                  {CVQProperty(), "%d", UNKNOWN_TEXT}};

    for (auto& oCase : aCases)
        EXPECT_EQ(Formatted(oCase.m_oProperty, oCase.m_pFormat), oCase.m_pText) << oCase.m_pFormat;
}

TEST(VQProperty, AFormatOfATextGetsTheWordsOfTheObject)
{
    CVQProperty oProperty("hello");
    // virtual table, lock count, length, capacity, string id, text
    const std::string sTable = Formatted(oProperty, "%x");
    EXPECT_EQ(Formatted(oProperty, "%x %d %d %d %d %s"), sTable + " 1 5 5 -1 hello");
    EXPECT_NE(sTable, "%x");
    EXPECT_EQ(Formatted(oProperty, "%x %d %d %d %d [%8.3s]"), sTable + " 1 5 5 -1 [     hel]");
    EXPECT_EQ(Formatted(oProperty, "%x %d %d %d %d [%-8s]"), sTable + " 1 5 5 -1 [hello   ]");
    EXPECT_EQ(Formatted(oProperty, "%x %*d"), sTable + " 5") << "lock count 1 as the width of the length";
    EXPECT_EQ(Formatted(oProperty, "%x %d %*d|"), sTable + " 1     5|") << "the length 5 as the width of the capacity";

    EXPECT_EQ(Formatted(oProperty, "%s"), "%s") << "the virtual table is no text";
    EXPECT_EQ(Formatted(oProperty, "%x %s %p"), sTable + " %s %p") << "nor are numbers";
    EXPECT_EQ(Formatted(oProperty, "%*d"), "%*d") << "an address is no width";

    CVQProperty oEmpty(CVQString{});
    EXPECT_EQ(Formatted(oEmpty, "%x %d %d %d %d %s"), sTable + " 0 0 0 -1 (null)");

    const CNumberTexts oTexts;
    CVQProperty oLocalised(CVQStringId(7));
    EXPECT_EQ(Formatted(oLocalised, "%x %d %d %d %d %s"), sTable + " 1 5 5 7 seven");
}

TEST(VQProperty, AHostileFormatDoesNoHarm)
{
    const std::string sLong(2000, 'x');

    struct
    {
        CVQProperty m_oProperty;
        std::string m_sFormat;
        std::string m_sText;
    } aCases[] = {
        {CVQProperty(5), "%s", "%s"},
        {CVQProperty(5), "%n", "%n"},
        {CVQProperty(5), "a%nb%d", "a%nb%d"},
        {CVQProperty(5), "%d %d", "5 %d"},
        {CVQProperty(5), "%s %d", "%s %d"},
        {CVQProperty(5), "%*d", "%*d"},
        {CVQProperty(5), "%.*d", "%.*d"},
        {CVQProperty(5), "%f", "%f"},
        {CVQProperty(5), "%p", "%p"},
        {CVQProperty(5), "%lld", "%lld"},
        {CVQProperty(5), "%ls", "%ls"},
        {CVQProperty(5), "%S", "%S"},
        {CVQProperty(5), "%1$d", "%1$d"},
        {CVQProperty(5), "%jd", "%jd"},
        {CVQProperty(5), "%qd", "%qd"},
        {CVQProperty(5), "%Ld", "%Ld"},
        {CVQProperty(5), "%I64d", "%I64d"},
        {CVQProperty(5), "%llX", "%llX"},
        {CVQProperty(5), "%hhhd", "%hhhd"},
        {CVQProperty(5), "%hhn", "%hhn"},
        {CVQProperty(5), "%lc", "%lc"},
        {CVQProperty(5), "%C", "%C"},
        {CVQProperty(5), "%m", "%m"},
        {CVQProperty(5), "%'d", "%'d"},
        {CVQProperty(5), "%2$*1$d", "%2$*1$d"},
        {CVQProperty(300), "%hhd", "44"},
        {CVQProperty(-1), "%lu", "4294967295"},
        {CVQProperty(-1), "%zx", "ffffffff"},
        {CVQProperty(5), "%-+ #05d", "+5   "},
        {CVQProperty(2.5F), "%lf", "2.500000"},
        {CVQProperty(2.5F), "%Lf", "2.500000"},
        {CVQProperty(2.5F), "%llf", "%llf"},
        {CVQProperty(2.5F), "%*f", "%*f"},
        {CVQProperty(true), "%*d", "%*d"},
        {CVQProperty("t"), "%ls", "%ls"},
        {CVQProperty("t"), "%f", "%f"},
        {CVQProperty(5), "%y%d", "%y5"},
        {CVQProperty(5), "%", "%"},
        {CVQProperty(5), "100%", "100%"},
        {CVQProperty(5), "%5", "%5"},
        {CVQProperty(5), "%-+ #0", "%-+ #0"},
        {CVQProperty(5), "%5%d", "%55"},
        {CVQProperty(5), "%%d", "%d"},
        {CVQProperty(5), "%2000000000d", std::string(1023, ' ')},
        {CVQProperty(5), "%99999999999999999999d", std::string(1023, ' ')},
        {CVQProperty(5), "%-2000000000d", "5" + std::string(1022, ' ')},
        {CVQProperty(5), "%.2000000000d", std::string(1023, '0')},
        {CVQProperty(5), "%.99999999999d%d", std::string(1023, '0')},
        {CVQProperty(2000000000), "%*d", "%*d"},
        {CVQProperty(2.5F), "%d", "%d"},
        {CVQProperty(2.5F), "%s", "%s"},
        {CVQProperty(2.5F), "%c", "%c"},
        {CVQProperty(2.5F), "%n", "%n"},
        {CVQProperty(2.5F), "%.2000000000f", "2.5" + std::string(1020, '0')},
        {CVQProperty(2.5F), "%f %f", "2.500000 %f"},
        {CVQProperty(std::numeric_limits<float>::max()), "%.1f", "340282346638528859811704183484516925440.0"},
        {CVQProperty(true), "%s", "%s"},
        {CVQProperty(true), "%d%s", "1%s"},
        {CVQProperty("t"), "%n", "%n"},
        {CVQProperty("t"), "%n%d%d%d%d%s", "%n111-1t"},
        {CVQProperty("t"), "%2000000000s", "%2000000000s"},
        {CVQProperty(5), sLong, sLong.substr(0, 1023)},
        {CVQProperty(5), sLong.substr(0, 1022) + "%d%d", sLong.substr(0, 1022) + "5"},
        {CVQProperty(0), "a%cb", "a"},
    };

    for (auto& oCase : aCases)
    {
        const std::string sText = Formatted(oCase.m_oProperty, oCase.m_sFormat.c_str());
        EXPECT_EQ(sText, oCase.m_sText) << oCase.m_sFormat;
        EXPECT_LE(sText.size(), 1023U);
    }
    CVQProperty oText("t");
    EXPECT_TRUE(Formatted(oText, "%x%d%d%d%d%s%s%s%n").ends_with("111-1t%s%s%n"));
    CVQProperty oLong(CVQString('x', 1024));
    EXPECT_TRUE(Formatted(oLong, "%x %d %*d|").ends_with(" 1 %*d|")) << "its length is too large a width";
    CVQProperty oWide(CVQString('x', 1000));
    EXPECT_TRUE(Formatted(oWide, "%x %d %*d|").ends_with(std::string(996, ' ') + "1000|"));
}

TEST(VQProperty, AnyFormatIsTaken)
{
    // every byte behind a percent sign, with every length, on a property of every type
    for (auto& oCase : AllTypes())
    {
        CVQProperty oProperty;
        oProperty = oCase.m_oProperty;
        for (const char* pMiddle : {"", "l", "ll", "hh", "5", ".3", "*", ".*", "-#0 +", "h*.*l"})
            for (int nByte = 1; nByte < 256; ++nByte)
            {
                const std::string sFormat = std::string("%") + pMiddle + static_cast<char>(nByte) + "%d%s%n%f%p";
                EXPECT_LE(Formatted(oProperty, sFormat.c_str()).size(), 1023U);
            }
    }
}

TEST(VQProperty, AFormatMayHoldAZero)
{
    CVQProperty oProperty(5);
    CVQString oFormat("%d?%d");
    oFormat.SetAt(2, '\0');
    oProperty.SetFormat(oFormat);
    EXPECT_STREQ(~oProperty.AsFormattedString(), "5");
}

TEST(VQProperty, StreamRecordsAreTypeValueAndFormat)
{
    struct
    {
        CVQProperty m_oProperty;
        std::string m_sRecord;
    } aCases[] = {
        {CVQProperty(7), std::string("\x69\0\0\0\x07\0\0\0\0\0\0\0", 12)},
        {CVQProperty(-2), Word('i') + Word(-2) + Text("")},
        {CVQProperty(4000000000UL), Word('L') + Word(4000000000LL) + Text("")},
        {CVQProperty(-3L), Word('l') + Word(-3) + Text("")},
        {CVQProperty(true), Word('b') + '\1' + Text("")},
        {CVQProperty(false), Word('b') + std::string(1, '\0') + Text("")},
        {CVQProperty(1.5F), Word('f') + FloatWord(1.5F) + Text("")},
        {CVQProperty(CVQStringId(99)), Word('S') + Word(99) + Text("")},
        {CVQProperty("ab"), Word('s') + Text("ab") + Text("")},
        {CVQProperty(""), Word('s') + Text("") + Text("")},
        {CVQProperty(Numbers({7})), Word('a') + Word(256) + 'L' + Word(1) + Versioned(IntRecord(7)) + 'M' + Word(1) +
                                        Text("ElementType") + Versioned(IntRecord(0)) + Text("")},
        {CVQProperty(Point(1, 2)), Word('c') + Word(256) + 'm' + Word(2) + Text("x") + Versioned(IntRecord(1)) +
                                       Text("y") + Versioned(IntRecord(2)) + Text("Point") + Text("")},
    };

    for (auto& oCase : aCases)
    {
        EXPECT_EQ(StoredBytes(oCase.m_oProperty), oCase.m_sRecord);
        CVQProperty oLoaded("before");
        EXPECT_EQ(LoadFrom(oLoaded, oCase.m_sRecord), oCase.m_sRecord.size());
        EXPECT_EQ(oLoaded.GetType(), oCase.m_oProperty.GetType());
        EXPECT_EQ(StoredBytes(oLoaded), oCase.m_sRecord);

        oCase.m_oProperty.SetFormat("%d");
        std::string sWithFormat = oCase.m_sRecord.substr(0, oCase.m_sRecord.size() - 4) + Text("%d");
        EXPECT_EQ(StoredBytes(oCase.m_oProperty), sWithFormat);
        LoadFrom(oLoaded, sWithFormat);
        EXPECT_STREQ(~oLoaded.GetFormat(), "%d");
        LoadFrom(oLoaded, oCase.m_sRecord);
        EXPECT_STREQ(~oLoaded.GetFormat(), "%d") << "an empty one leaves it";
    }
}

TEST(VQProperty, LoadingABoolTakesAByte)
{
    CVQProperty oProperty;
    EXPECT_EQ(LoadFrom(oProperty, Word('b') + '\x80' + Text("")), 9U);
    EXPECT_EQ(oProperty.GetInt(), 1);
    LoadFrom(oProperty, Word('b') + std::string(1, '\0') + Text(""));
    EXPECT_EQ(oProperty.GetInt(), 0);
}

TEST(VQProperty, LoadingSetsItsOwnSlotAlone)
{
    CVQProperty oProperty("kept");
    oProperty = 2.5F;
    LoadFrom(oProperty, IntRecord(9));
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_INT);
    EXPECT_EQ(oProperty.GetInt(), 9);
    EXPECT_EQ(static_cast<float>(oProperty), 2.5F);
    EXPECT_STREQ(~oProperty.GetString(), "kept");
}

TEST(VQProperty, LocalisedTextsAreStoredByTheirNumber)
{
    const CNumberTexts oTexts;
    CVQString oText;
    oText.LoadStringResource(5);
    CVQProperty oProperty(oText);
    EXPECT_EQ(StoredBytes(oProperty), Word('S') + Word(5) + Text(""));
    oProperty.SetType(PROPTYPE_STRING);
    EXPECT_EQ(StoredBytes(oProperty), Word('s') + Word(-1) + Word(5) + Text(""));
    oProperty = 1;
    oProperty.SetFormat(oText);
    EXPECT_EQ(StoredBytes(oProperty), Word('i') + Word(1) + Word(-1) + Word(5));

    CVQProperty oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, Word('s') + Word(-1) + Word(7) + Text("")), 16U);
    EXPECT_EQ(oLoaded.GetType(), PROPTYPE_STRINGID);
    EXPECT_EQ(oLoaded.GetInt(), 7);
    EXPECT_STREQ(~oLoaded.GetString(), "seven");
    LoadFrom(oLoaded, Word('S') + Word(5) + Word(-1) + Word(7));
    EXPECT_STREQ(~oLoaded.GetString(), "five");
    EXPECT_STREQ(~oLoaded.GetFormat(), "seven");
    EXPECT_EQ(oLoaded.GetFormat().GetStringId(), 7);
    EXPECT_EQ(LoadFrom(oLoaded, Word('s') + Text("five") + Text("")), 16U);
    EXPECT_EQ(oLoaded.GetType(), PROPTYPE_STRING) << "a text has no number";
    EXPECT_STREQ(~oLoaded.GetString(), "five");
}

TEST(VQProperty, TheNumberOfALocalisedTextOutlivesMissingHooks)
{
    const std::string sNumber = Word('S') + Word(5);
    for (const std::string& sValue : {sNumber, Word('s') + Word(-1) + Word(5)})
    {
        CVQProperty oProperty("old");
        EXPECT_EQ(LoadFrom(oProperty, sValue + Text("")), sValue.size() + 4);
        EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRINGID);
        EXPECT_EQ(oProperty.GetInt(), 5);
        EXPECT_STREQ(~oProperty.GetString(), sValue == sNumber ? "old" : nullptr) << "a string record is a new text";
        EXPECT_EQ(StoredBytes(oProperty), Word('S') + Word(5) + Text(""));
    }
    const CNumberTexts oTexts;
    CVQProperty oMissing;
    LoadFrom(oMissing, Word('s') + Word(-1) + Word(6) + Text(""));
    EXPECT_EQ(oMissing.GetType(), PROPTYPE_STRINGID);
    EXPECT_EQ(oMissing.GetInt(), 6);
}

TEST(VQProperty, NegativeLengthsReadNothing)
{
    CVQProperty oProperty("old");
    EXPECT_EQ(LoadFrom(oProperty, Word('s') + Word(-2) + Word(-3)), 12U);
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRING);
    EXPECT_TRUE(oProperty.GetString().IsEmpty());
}

TEST(VQProperty, AnUnknownTypeInAStreamIsLogged)
{
    const char* const pMessage = "CVQProperty::Serialize() : Unkown property type in serialize!";
    for (const char cType : {'-', 'z', 'K', 'M', 't', '\0'})
    {
        const CQuietLog oLog;
        CVQProperty oProperty(5);
        oProperty.SetType(static_cast<ePropType>(cType));
        oProperty.SetFormat("f");
        EXPECT_EQ(StoredBytes(oProperty), Word(cType) + Text("f"));
        ASSERT_EQ(oLog.GetBoxes().size(), 1U);
        EXPECT_NE(oLog.GetBoxes()[0].find(pMessage), std::string::npos);
        const std::string sFile = oLog.GetDirectory().Read("Zembrolia.log");
        EXPECT_NE(sFile.find(" | 7 | "), std::string::npos) << "a critical error";
        EXPECT_NE(sFile.find("Common/Property/VQProperty"), std::string::npos);
        EXPECT_NE(sFile.find(pMessage), std::string::npos);

        CVQProperty oLoaded(8);
        EXPECT_EQ(LoadFrom(oLoaded, Word(cType) + Text("f")), 9U);
        EXPECT_EQ(oLoaded.GetType(), static_cast<ePropType>(cType));
        EXPECT_EQ(oLoaded.GetInt(), 8);
        EXPECT_STREQ(~oLoaded.GetFormat(), "f");
        EXPECT_EQ(oLog.GetBoxes().size(), 2U);
    }
}

TEST(VQProperty, TypeWordsAreComparedWhole)
{
    for (const std::int64_t nType : {0x169LL, 0x69000000LL, 0x80000069LL, -1LL, 0x7FFFFFFFLL})
    {
        const CQuietLog oLog;
        CVQProperty oProperty(8);
        EXPECT_EQ(LoadFrom(oProperty, Word(nType) + Text("f")), 9U);
        EXPECT_EQ(oProperty.GetType(), PROPTYPE_UNDEFINED);
        EXPECT_EQ(oProperty.GetInt(), 8);
        EXPECT_EQ(oLog.GetBoxes().size(), 1U);

        CBytesFile oFile(Word(nType) + Word(3));
        CVQProperty oRead(8);
        EXPECT_TRUE(oRead.Read(&oFile));
        EXPECT_EQ(oRead.GetType(), PROPTYPE_INT);
        EXPECT_EQ(oRead.GetInt(), 8);
        EXPECT_EQ(oFile.GetFilePointerPos(), 4U);
    }
}

TEST(VQProperty, FileRecordsAreTheTypeAndTheValue)
{
    struct
    {
        CVQProperty m_oProperty;
        std::string m_sRecord;
    } aCases[] = {
        {CVQProperty(7), Word('i') + Word(7)},
        {CVQProperty(4000000000UL), Word('L') + Word(4000000000LL)},
        {CVQProperty(-3L), Word('l') + Word(-3)},
        {CVQProperty(true), Word('b') + '\1'},
        {CVQProperty(false), Word('b') + std::string(1, '\0')},
        {CVQProperty(1.5F), Word('f') + FloatWord(1.5F)},
        {CVQProperty(CVQStringId(99)), Word('S') + Word(99)},
        {CVQProperty("ab"), Word('s') + Text("ab")},
        {CVQProperty(""), Word('s') + Text("")},
        {CVQProperty(), Word('-')},
        {CVQProperty(Numbers({7, 8})), Word('a') + Word(1) + Text("ElementType") + Word('i') + Word(0) + Word(2) +
                                           Word('i') + Word(7) + Word('i') + Word(8)},
        {CVQProperty(Point(1, 2)),
         Word('c') + Word(2) + Text("x") + Word('i') + Word(1) + Text("y") + Word('i') + Word(2) + Text("Point")},
    };

    for (auto& oCase : aCases)
    {
        oCase.m_oProperty.SetFormat("%d"); // is not written
        CMemFileIO oFile(64);
        EXPECT_TRUE(oCase.m_oProperty.Write(&oFile));
        EXPECT_EQ(WrittenBytes(oCase.m_oProperty), oCase.m_sRecord);

        CBytesFile oSaved(oCase.m_sRecord + "rest");
        CVQProperty oRead("before");
        EXPECT_TRUE(oRead.Read(&oSaved));
        EXPECT_EQ(oSaved.GetFilePointerPos(), oCase.m_sRecord.size());
        EXPECT_EQ(oRead.GetType(), oCase.m_oProperty.GetType());
        EXPECT_EQ(WrittenBytes(oRead), oCase.m_sRecord);
    }
}

TEST(VQProperty, OldFilesAreUnderstood)
{
    struct
    {
        std::string m_sRecord;
        char m_cType;
        const char* m_pText;
    } const aCases[] = {{Word(1) + Word(7), 'b', "true"},    {Word(1) + Word(0), 'b', "false"},
                        {Word(1) + Word(-1), 'b', "true"},   {Word(2) + Word(-7), 'i', "-7"},
                        {Word(3) + Word(7), 'l', "7"},       {Word(4) + FloatWord(2.5F), 'f', "2.50"},
                        {Word(5) + Text("old"), 's', "old"}, {Word(255), '-', UNKNOWN_TEXT},
                        {Word('-'), '-', UNKNOWN_TEXT}};

    for (const auto& oCase : aCases)
    {
        CBytesFile oFile(oCase.m_sRecord + Word(99));
        CVQProperty oProperty(41L);
        EXPECT_TRUE(oProperty.Read(&oFile));
        EXPECT_EQ(oProperty.GetType(), oCase.m_cType);
        EXPECT_STREQ(~oProperty.AsFormattedString(), oCase.m_pText);
        EXPECT_EQ(oFile.GetFilePointerPos(), oCase.m_sRecord.size());
    }
}

TEST(VQProperty, AnUnknownCodeInAFileLeavesEverything)
{
    for (const int nCode : {0, 6, 122, 254, 256, -1})
    {
        CBytesFile oFile(Word(nCode) + Word(1) + Word(1));
        CVQProperty oProperty("text");
        EXPECT_TRUE(oProperty.Read(&oFile));
        EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRING);
        EXPECT_STREQ(~oProperty.GetString(), "text");
        EXPECT_EQ(oFile.GetFilePointerPos(), 4U);
    }
    CVQProperty oUnknown(5);
    oUnknown.SetType(static_cast<ePropType>('z'));
    CMemFileIO oFile(16);
    EXPECT_TRUE(oUnknown.Write(&oFile));
    EXPECT_EQ(WrittenBytes(oUnknown), Word('z'));
}

TEST(VQProperty, ReadsAStringIdOfAFile)
{
    const CNumberTexts oTexts;
    CBytesFile oFile(Word('S') + Word(5) + Word('s') + Text("five"));
    CVQProperty oProperty;
    EXPECT_TRUE(oProperty.Read(&oFile));
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRINGID);
    EXPECT_STREQ(~oProperty.GetString(), "five");
    EXPECT_TRUE(oProperty.Read(&oFile)); // over the localised text: the new one has no number
    EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRING);
    EXPECT_STREQ(~oProperty.GetString(), "five");
    EXPECT_EQ(oProperty.GetString().GetStringId(), -1);
}

TEST(VQProperty, AFailedReadLeavesTheType)
{
    const std::string aRecords[] = {
        Word('i') + Word(7),         Word('L') + Word(7), Word('l') + Word(7),   Word('b') + '\1',
        Word('f') + FloatWord(1.5F), Word('S') + Word(5), Word('s') + Text("a"), Word(1) + Word(1)};
    for (const std::string& sRecord : aRecords)
        for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
        {
            CBytesFile oFile(sRecord.substr(0, nCut));
            CVQProperty oProperty(Point(1, 2));
            EXPECT_FALSE(oProperty.Read(&oFile)) << nCut;
            EXPECT_EQ(oProperty.GetType(), PROPTYPE_STRUCT);
            EXPECT_EQ(oProperty.GetInt(), 0);
        }
    EXPECT_FALSE(CVQProperty(5).Read(nullptr));
    EXPECT_FALSE(CVQProperty(5).Write(nullptr));
}

TEST(VQProperty, AFailedWriteIsTold)
{
    /// Takes so many writes and refuses the rest.
    class CFullFile : public CMemFileIO
    {
    public:
        explicit CFullFile(int nWrites) : CMemFileIO(64), m_nWrites(nWrites) {}

        using CMemFileIO::Write;

        bool Write(const void* pSource, unsigned long nCount) override
        {
            return m_nWrites-- > 0 && CMemFileIO::Write(pSource, nCount);
        }

    private:
        int m_nWrites;
    };

    for (const auto& oCase : AllTypes())
    {
        CMemFileIO oWhole(64);
        EXPECT_TRUE(oCase.m_oProperty.Write(&oWhole));
        bool bDone = false;
        for (int nWrites = 0; !bDone && nWrites < 50; ++nWrites)
        {
            CFullFile oFile(nWrites);
            bDone = oCase.m_oProperty.Write(&oFile);
            EXPECT_EQ(bDone, oFile.GetSize() == oWhole.GetSize());
        }
        EXPECT_TRUE(bDone);
    }
}

TEST(VQProperty, ExceptionsOfTheFileGoThrough)
{
    CFileIO oClosed;
    CVQProperty oProperty(5);
    EXPECT_THROW(oProperty.Write(&oClosed), CFileIOException);
    EXPECT_THROW(oProperty.Read(&oClosed), CFileIOException);
    EXPECT_EQ(oProperty.GetInt(), 5);
}

TEST(VQProperty, ExceptionsOfTheStreamGoThrough)
{
    CVQProperty oProperty(5);
    CVQDataStream oNeither(0);
    EXPECT_EQ(StreamErrorOf([&] { oProperty.Serialize(oNeither); }), 5000U);
    EXPECT_EQ(oProperty.GetInt(), 5);
}

TEST(VQProperty, ACutStreamLeavesTheProperty)
{
    for (auto& oCase : AllTypes())
    {
        const CQuietLog oLog;
        CVQProperty oSource(oCase.m_oProperty);
        oSource.SetFormat("fmt");
        const std::string sRecord = StoredBytes(oSource);
        const std::size_t nFormat = sRecord.size() - 7;
        for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
        {
            CVQProperty oProperty(41UL);
            EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oProperty, sRecord.substr(0, nCut)); }), 5000U) << nCut;
            if (nCut < nFormat)
            {
                EXPECT_EQ(oProperty.GetType(), PROPTYPE_ULONG);
                EXPECT_EQ(oProperty.GetInt(), 41);
            }
            EXPECT_TRUE(oProperty.GetFormat().IsEmpty());
        }
    }
}

TEST(VQProperty, AStreamIsBackInTheOuterVersionAfterAnError)
{
    const std::string sRecord = NestedStructsRecord(5);
    CVQDataStream oStream = StreamOf(Word(77) + sRecord.substr(0, sRecord.size() - 40));
    oStream.SerializeBegin(-1);
    CVQProperty oProperty;
    EXPECT_EQ(StreamErrorOf([&] { oProperty.Serialize(oStream); }), 5000U);
    EXPECT_EQ(oStream.GetVersion(), 77);
}

TEST(VQProperty, NestsUpTo256Levels)
{
    for (const int nDepth : {1, 10, 256})
    {
        for (auto& oProperty : {NestedStructs(nDepth), NestedLists(nDepth)})
        {
            CVQProperty oStored(oProperty);
            const std::string sRecord = StoredBytes(oStored);
            CVQProperty oLoaded;
            EXPECT_EQ(LoadFrom(oLoaded, sRecord), sRecord.size());
            EXPECT_EQ(StoredBytes(oLoaded), sRecord);

            CMemFileIO oFile(4096);
            EXPECT_TRUE(oStored.Write(&oFile));
            oFile.SetFilePointerPos(0);
            CVQProperty oRead;
            EXPECT_TRUE(oRead.Read(&oFile));
        }
        CVQProperty oLoaded;
        EXPECT_EQ(LoadFrom(oLoaded, NestedStructsRecord(nDepth)), NestedStructsRecord(nDepth).size());
        EXPECT_EQ(StoredBytes(oLoaded), NestedStructsRecord(nDepth));
        LoadFrom(oLoaded, NestedListsRecord(nDepth));
        EXPECT_EQ(StoredBytes(oLoaded), NestedListsRecord(nDepth));
        for (const std::string& sFile : {NestedStructsFile(nDepth), NestedListsFile(nDepth)})
        {
            CBytesFile oFile(sFile);
            EXPECT_TRUE(oLoaded.Read(&oFile));
            EXPECT_EQ(WrittenBytes(oLoaded), sFile);
        }
    }
}

TEST(VQProperty, RefusesMoreThan256Levels)
{
    for (auto& oProperty : {NestedStructs(257), NestedLists(257)})
    {
        CVQProperty oStored(oProperty);
        try
        {
            StoredBytes(oStored);
            ADD_FAILURE() << "it was stored";
        }
        catch (CVQDataStreamException& oError)
        {
            EXPECT_EQ(oError.GetErrorCode(), 5004U);
            EXPECT_EQ(oError.GetErrorClass(), ecDataStream);
            EXPECT_STREQ(oError.GetErrorString(), "Objects are nested too deeply.");
            EXPECT_STREQ(oError.GetFileName(), "Common/Property/VQProperty");
        }
        CMemFileIO oFile(64);
        EXPECT_FALSE(oStored.Write(&oFile));
        EXPECT_EQ(oFile.GetSize(), 0U);
    }

    for (const int nDepth : {257, 100000})
    {
        for (const std::string& sRecord : {NestedStructsRecord(nDepth), NestedListsRecord(nDepth)})
        {
            CVQProperty oProperty(41);
            EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oProperty, sRecord); }), 5004U);
            EXPECT_EQ(oProperty.GetType(), PROPTYPE_INT);
        }
        for (const std::string& sFile : {NestedStructsFile(nDepth), NestedListsFile(nDepth)})
        {
            CBytesFile oFile(sFile);
            CVQProperty oProperty(41);
            EXPECT_FALSE(oProperty.Read(&oFile));
            EXPECT_EQ(oProperty.GetType(), PROPTYPE_INT);
        }
    }
}

TEST(VQProperty, TheVersion65535IsNotStored)
{
    CVQProperty oProperty(Point(1, 2));
    CVersionedProperty::SetVersion(65535);
    const std::string sStored = StoredBytes(oProperty);
    CVQProperty oLoaded;
    const unsigned long nTaken = LoadFrom(oLoaded, sStored);
    CVersionedProperty::SetVersion(256);

    EXPECT_EQ(sStored, Word('c') + Word(256) + 'm' + Word(2) + Text("x") + IntRecord(1) + Text("y") + IntRecord(2) +
                           Text("Point") + Text(""));
    EXPECT_EQ(nTaken, sStored.size());
    EXPECT_EQ(StructOf(oLoaded)["y"].GetInt(), 2);
}
