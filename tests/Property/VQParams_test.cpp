#include <Common/Property/VQParams.h>

#include <tests/support/PropertyBytes.h>

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace
{
CVQParams Numbers(std::initializer_list<int> aNumbers)
{
    CVQParams oParams;
    for (const int nNumber : aNumbers)
        oParams.Add(nNumber);
    return oParams;
}

std::vector<int> ValuesOf(const CVQParams& oParams)
{
    std::vector<int> aValues;
    for (long i = 0; i < oParams.GetCount(); ++i)
        aValues.push_back(oParams.Get(i).GetInt());
    return aValues;
}

const std::string STREAM_RECORD = 'v' + Word(2) + Versioned(IntRecord(7)) + Versioned(Record('s', Text("ab")));
const std::string FILE_RECORD = Word(2) + Word('i') + Word(7) + Word('s') + Text("ab");

/// The exception that a call throws, in words.
template <class TCall>
std::string ErrorOf(const TCall& Call)
{
    try
    {
        Call();
        return "none";
    }
    catch (CVQParamsException& oError)
    {
        return std::to_string(oError.GetErrorClass()) + ' ' + std::to_string(oError.GetErrorCode()) + ' ' +
               oError.GetFileName() + ':' + std::to_string(oError.GetLine()) + ' ' + oError.GetErrorString();
    }
}

class CVersionedParams : public CVQParams
{
public:
    int GetOwnVersion() const { return _GetDataFormatVersion(); }
};

class CVersionedProperty : public CVQProperty
{
public:
    static void SetVersion(int nVersion) { _m_nDataFormatVersion = nVersion; }
};
} // namespace

static_assert(std::has_virtual_destructor_v<CVQParams>);

TEST(VQParams, BeginsWithUndefinedOnes)
{
    const CVQParams oEmpty;
    EXPECT_EQ(oEmpty.GetCount(), 0);
    EXPECT_TRUE(oEmpty.IsEmpty());
    const CVQParams oThree(3);
    EXPECT_EQ(oThree.GetCount(), 3);
    EXPECT_FALSE(oThree.IsEmpty());
    EXPECT_EQ(oThree[2].GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(CVQParams(-1).GetCount(), 0);
    EXPECT_TRUE(oEmpty.CanSerialize());
}

TEST(VQParams, WritingBeyondTheEndGrows)
{
    CVQParams oParams;
    CVQProperty& oFourth = oParams[3];
    EXPECT_EQ(oParams.GetCount(), 4);
    EXPECT_FALSE(oParams.DoesExist(3));
    oFourth = 5;
    EXPECT_TRUE(oParams.DoesExist(3));
    for (const long nAbsent : {0L, 1L, 2L, 4L, -1L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()})
        EXPECT_FALSE(oParams.DoesExist(nAbsent));
    oParams.Get(5) = "six";
    EXPECT_EQ(oParams.GetCount(), 6);
    oParams.Get(0) = true;
    EXPECT_EQ(oParams.GetCount(), 6);
    const CVQParams& oConst = oParams;
    EXPECT_EQ(&oConst[5], &oConst.Get(5));
    EXPECT_STREQ(~oConst[5].GetString(), "six");
}

TEST(VQParams, AddsAndInserts)
{
    CVQParams oParams = Numbers({1, 2});
    oParams.InsertAt(0, 10);
    oParams.InsertAt(2, 11);
    oParams.InsertAt(4, 12);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{10, 1, 11, 2, 12}));
    oParams.InsertAt(6, 99);
    oParams.InsertAt(-1, 99);
    oParams.InsertAt(std::numeric_limits<long>::max(), 99);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{10, 1, 11, 2, 12}));
    oParams.InsertAt(0, oParams[3]);
    oParams.Add(oParams[1]);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{2, 10, 1, 11, 2, 12, 10}));
    CVQParams oEmpty;
    oEmpty.InsertAt(1, 5);
    EXPECT_TRUE(oEmpty.IsEmpty());
    oEmpty.InsertAt(0, 5);
    EXPECT_EQ(ValuesOf(oEmpty), std::vector<int>{5});
}

TEST(VQParams, InsertsACopyAndLeavesTheOthersAlone)
{
    CVQParams oParams = Numbers({1, 2});
    oParams[0].SetFormat("first");
    oParams[1] = CVQProperty();
    CVQProperty oNew(9);
    oNew.SetFormat("new");
    oParams.InsertAt(0, oNew);
    EXPECT_TRUE(oParams[0].GetFormat().IsEmpty());
    EXPECT_STREQ(~oParams[1].GetFormat(), "first");
    EXPECT_EQ(oParams[1].GetInt(), 1);
    EXPECT_EQ(oParams[2].GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oParams[2].GetInt(), 2);
}

TEST(VQParams, Removes)
{
    CVQParams oParams = Numbers({1, 2, 3, 4});
    oParams.Remove(1);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{1, 3, 4}));
    oParams.Remove(3);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{1, 3})) << "the number of parameters removes the last one";
    oParams.Remove(3);
    oParams.Remove(-1);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{1, 3}));
    oParams.Remove(0);
    oParams.Remove(0);
    EXPECT_TRUE(oParams.IsEmpty());
    oParams.Remove(0);
    EXPECT_TRUE(oParams.IsEmpty());

    oParams = Numbers({1, 2});
    oParams.RemoveAll();
    EXPECT_TRUE(oParams.IsEmpty());
    oParams = Numbers({1, 2});
    oParams.Reset();
    EXPECT_TRUE(oParams.IsEmpty());
}

TEST(VQParams, MovesDownByAssigning)
{
    CVQParams oParams = Numbers({1, 2, 3});
    oParams[0].SetFormat("first");
    oParams[1] = CVQProperty();
    oParams.Remove(0);
    EXPECT_EQ(oParams[0].GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oParams[0].GetInt(), 1) << "an undefined one gives its type alone";
    EXPECT_STREQ(~oParams[0].GetFormat(), "first");
    EXPECT_EQ(oParams[1].GetInt(), 3);
}

TEST(VQParams, Resizes)
{
    CVQParams oParams = Numbers({1, 2, 3});
    oParams.ResizeList(5);
    EXPECT_EQ(oParams.GetCount(), 5);
    EXPECT_EQ(oParams[4].GetType(), PROPTYPE_UNDEFINED);
    oParams.ResizeList(2);
    EXPECT_EQ(ValuesOf(oParams), (std::vector<int>{1, 2}));
    oParams.ResizeList(-3);
    EXPECT_TRUE(oParams.IsEmpty());
}

TEST(VQParams, ResetAtClearsTheFirstWhateverTheIndex)
{
    for (const long nIndex : {0L, 1L, -7L, 100L})
    {
        CVQParams oParams = Numbers({1, 2});
        oParams[0].SetFormat("kept");
        oParams.ResetAt(nIndex);
        EXPECT_EQ(oParams.GetCount(), 2);
        EXPECT_EQ(oParams[0].GetType(), PROPTYPE_UNDEFINED);
        EXPECT_EQ(oParams[0].GetInt(), 0);
        EXPECT_STREQ(~oParams[0].GetFormat(), "kept");
        EXPECT_EQ(oParams[1].GetInt(), 2);
    }
    CVQParams oEmpty;
    oEmpty.ResetAt(5);
    EXPECT_EQ(oEmpty.GetCount(), 1);
}

TEST(VQParams, ChecksThrow)
{
    const CVQParams oTwo = Numbers({1, 2});
    EXPECT_EQ(ErrorOf([&] { oTwo.ExpectParameter(0); }), "none");
    EXPECT_EQ(ErrorOf([&] { oTwo.ExpectParameter(5); }), "9 6003 Common/Property/VQParams:302 Parameter 5 is missing");
    EXPECT_EQ(ErrorOf([&] { oTwo.ExpectParameter(-1); }),
              "9 6003 Common/Property/VQParams:302 Parameter -1 is missing");
    EXPECT_EQ(ErrorOf([&] { CVQParams(1).ExpectParameter(0); }),
              "9 6003 Common/Property/VQParams:302 Parameter 0 is missing");

    EXPECT_EQ(ErrorOf([&] { oTwo.ExpectParameterType(1, PROPTYPE_INT); }), "none");
    EXPECT_EQ(ErrorOf([&] { oTwo.ExpectParameterType(1, PROPTYPE_LONG); }),
              "9 6002 Common/Property/VQParams:324 Parameter 1 is of wrong type");
    EXPECT_EQ(ErrorOf([&] { CVQParams(1).ExpectParameterType(0, PROPTYPE_UNDEFINED); }), "none");

    EXPECT_EQ(ErrorOf([&] { Numbers({1, 2, 3}).ExpectParameterCount(2); }), "none");
    EXPECT_EQ(ErrorOf([&] { oTwo.ExpectParameterCount(2); }), "none");
    EXPECT_EQ(ErrorOf([&] { Numbers({1}).ExpectParameterCount(2); }),
              "9 6001 Common/Property/VQParams:342 Wrong number of parameters");
    EXPECT_EQ(ErrorOf([&] { CVQParams().ExpectParameterCount(0); }), "none");
    EXPECT_EQ(ErrorOf([&] { CVQParams().ExpectParameterCount(-1); }), "none");
    EXPECT_THROW(CVQParams().ExpectParameterCount(1), CVQException);
}

TEST(VQParams, Copies)
{
    CVQParams oSource = Numbers({1, 2});
    CVQParams oCopy(oSource);
    oCopy[0] = 9;
    EXPECT_EQ(oSource[0].GetInt(), 1);
    CVQParams oTarget = Numbers({7, 8, 9});
    oSource[1] = CVQProperty();
    EXPECT_EQ(&(oTarget = oSource), &oTarget);
    EXPECT_EQ(ValuesOf(oTarget), (std::vector<int>{1, 0}));
    const CVQParams& oSelf = oTarget;
    oTarget = oSelf;
    EXPECT_EQ(ValuesOf(oTarget), (std::vector<int>{1, 0}));
    const CVQParams oTaken(std::move(oTarget));
    EXPECT_EQ(oTaken.GetCount(), 2);
    EXPECT_TRUE(oTarget.IsEmpty()); // NOLINT(bugprone-use-after-move): it says what is left
}

TEST(VQParams, HasTheVersion256)
{
    EXPECT_EQ(CVQParams::GetDataFormatVersion(), 256);
    EXPECT_EQ(CVersionedParams().GetOwnVersion(), 256);

    CVQParams oParams = Numbers({7});
    CVersionedProperty::SetVersion(65535);
    const std::string sStored = StoredBytes(oParams);
    CVQParams oLoaded;
    LoadFrom(oLoaded, sStored);
    CVersionedProperty::SetVersion(256);
    EXPECT_EQ(sStored, 'v' + Word(1) + IntRecord(7));
    EXPECT_EQ(ValuesOf(oLoaded), std::vector<int>{7});
}

TEST(VQParams, StoresAndLoads)
{
    CVQParams oParams = Numbers({7});
    oParams.Add("ab");
    EXPECT_EQ(StoredBytes(oParams), STREAM_RECORD);
    CVQParams oLoaded = Numbers({1, 2, 3, 4});
    oLoaded[0].SetFormat("kept");
    EXPECT_EQ(LoadFrom(oLoaded, STREAM_RECORD), STREAM_RECORD.size());
    EXPECT_EQ(oLoaded.GetCount(), 2);
    EXPECT_STREQ(~oLoaded[0].GetFormat(), "kept");
    oLoaded[0].SetFormat("");
    EXPECT_EQ(StoredBytes(oLoaded), STREAM_RECORD);
    EXPECT_EQ(LoadFrom(oLoaded, "V" + Word(0)), 1U);
    EXPECT_EQ(oLoaded.GetCount(), 2) << "without the marker nothing changes";
    LoadFrom(oLoaded, 'v' + Word(0));
    EXPECT_TRUE(oLoaded.IsEmpty());
    EXPECT_EQ(StoredBytes(oLoaded), 'v' + Word(0));
}

TEST(VQParams, ACutStreamLeavesWhatWasReadWhole)
{
    for (std::size_t nCut = 0; nCut < STREAM_RECORD.size(); ++nCut)
    {
        CVQParams oParams;
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oParams, STREAM_RECORD.substr(0, nCut)); }), 5000U);
        EXPECT_EQ(oParams.GetCount(), nCut < 5 + 2 * 12 ? 0 : 1) << nCut;
    }
    for (const std::int64_t nCount : {-1LL, 0x7FFFFFFFLL, 0x80000000LL, 0x10000000LL, 4LL})
    {
        CVQParams oParams = Numbers({1});
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oParams, 'v' + Word(nCount) + STREAM_RECORD.substr(5)); }), 5000U);
        EXPECT_EQ(ValuesOf(oParams), std::vector<int>{1}) << "refused before anything is read";
    }
}

TEST(VQParams, WritesAndReads)
{
    CVQParams oParams = Numbers({7});
    oParams.Add("ab");
    CMemFileIO oFile(64);
    EXPECT_TRUE(oParams.Write(&oFile));
    EXPECT_EQ(WrittenBytes(oParams), FILE_RECORD);
    EXPECT_FALSE(oParams.Write(nullptr));
    EXPECT_FALSE(oParams.Read(nullptr));
    EXPECT_EQ(oParams.GetCount(), 2);

    CVQParams oRead = Numbers({1, 2, 3});
    CBytesFile oSaved(FILE_RECORD + "rest");
    EXPECT_TRUE(oRead.Read(&oSaved));
    EXPECT_EQ(oSaved.GetFilePointerPos(), FILE_RECORD.size());
    EXPECT_EQ(WrittenBytes(oRead), FILE_RECORD);
}

TEST(VQParams, ACutFileIsReadAsFarAsItGoes)
{
    for (std::size_t nCut = 0; nCut < FILE_RECORD.size(); ++nCut)
    {
        CVQParams oRead = Numbers({1, 2, 3});
        CBytesFile oFile(FILE_RECORD.substr(0, nCut));
        EXPECT_FALSE(oRead.Read(&oFile)) << nCut;
        EXPECT_EQ(oRead.GetCount(), nCut < 12 ? 0 : 1) << nCut;
    }
    for (const std::int64_t nCount : {0x7FFFFFFFLL, -1LL, 0x80000000LL})
    {
        CVQParams oRead;
        CBytesFile oFile(Word(nCount) + FILE_RECORD.substr(4));
        EXPECT_EQ(oRead.Read(&oFile), nCount != 0x7FFFFFFFLL);
        EXPECT_EQ(oRead.GetCount(), nCount == 0x7FFFFFFFLL ? 2 : 0);
    }
    CFileIO oClosed;
    EXPECT_THROW(CVQParams().Read(&oClosed), CFileIOException);
}

TEST(VQParams, RefusesToNestTooDeeply)
{
    CVQParams oParams;
    oParams[0] = NestedLists(256);
    const std::string sStored = StoredBytes(oParams);
    CVQParams oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, sStored), sStored.size());
    oParams[0] = NestedLists(257);
    EXPECT_EQ(StreamErrorOf([&] { StoredBytes(oParams); }), 5004U);
    CMemFileIO oFile(64);
    EXPECT_FALSE(oParams.Write(&oFile));
    EXPECT_EQ(oFile.GetSize(), 0U);
    for (const int nDepth : {257, 100000})
    {
        CBytesFile oDeep(Word(2) + Word('i') + Word(1) + NestedStructsFile(nDepth));
        EXPECT_FALSE(oLoaded.Read(&oDeep));
        EXPECT_EQ(ValuesOf(oLoaded), std::vector<int>{1});
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oLoaded, 'v' + Word(1) + Word(256) + NestedListsRecord(nDepth)); }),
                  5004U);
        EXPECT_TRUE(oLoaded.IsEmpty());
    }
}
