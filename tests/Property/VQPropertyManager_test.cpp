#include <Common/Property/VQPropertyManager.h>

#include <tests/support/PropertyBytes.h>

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace
{
CVQPropertyManager Settings()
{
    CVQPropertyManager oSettings;
    oSettings.SetProperty("Volume", 5);
    oSettings.SetProperty("Player", "Ann");
    return oSettings;
}

std::string NamesOf(const CVQPropertyManager& oManager)
{
    std::string sNames;
    CVQString oName;
    CVQProperty oValue;
    long nPosition = 0;
    for (bool bMore = oManager.GetFirstProperty(oName, oValue, nPosition); bMore;
         bMore = oManager.GetNextProperty(oName, oValue, nPosition))
        sNames += std::string(~oName) + ' ';
    return sNames;
}

const std::string STREAM_RECORD =
    'm' + Word(2) + Text("Player") + Versioned(Record('s', Text("Ann"))) + Text("Volume") + Versioned(IntRecord(5));
const std::string FILE_RECORD =
    Word(2) + Text("Player") + Word('s') + Text("Ann") + Text("Volume") + Word('i') + Word(5);

class CVersionedManager : public CVQPropertyManager
{
public:
    int GetOwnVersion() const { return _GetDataFormatVersion(); }
};

class CVersionedProperty : public CVQProperty
{
public:
    static void SetVersion(int nVersion) { _m_nDataFormatVersion = nVersion; }
};

/// A file and a stream of its own in place of those of the base.
class CCountingManager : public CVQPropertyManager
{
public:
    bool Read(CFileIO*) override { return ++m_nCalls != 0; }

    bool Write(CFileIO*) override { return ++m_nCalls != 0; }

    void Serialize(CVQDataStream&) override { ++m_nCalls; }

    bool CanSerialize() const override { return false; }

    int m_nCalls = 0;
};
} // namespace

static_assert(std::has_virtual_destructor_v<CVQPropertyManager>);

TEST(VQPropertyManager, StoresAndFetchesByName)
{
    CVQPropertyManager oManager = Settings();
    EXPECT_EQ(oManager.GetPropertyCount(), 2);
    oManager.SetProperty(CVQString("Ratio"), 0.5F);
    EXPECT_EQ(oManager.GetPropertyCount(), 3);

    CVQProperty oValue;
    oManager.GetProperty("Volume", oValue);
    EXPECT_EQ(oValue.GetType(), PROPTYPE_INT);
    EXPECT_EQ(oValue.GetInt(), 5);
    oManager.GetProperty(CVQString("Ratio"), oValue);
    EXPECT_EQ(oValue.GetType(), PROPTYPE_FLOAT);
    EXPECT_EQ(oValue.GetInt(), 5) << "the out-argument is assigned to";
    EXPECT_TRUE(oManager.CanSerialize());
}

TEST(VQPropertyManager, SettingAgainAssigns)
{
    CVQPropertyManager oManager;
    CVQProperty oValue(1);
    oValue.SetFormat("%x");
    oManager.SetProperty("a", oValue);
    EXPECT_TRUE(oManager["a"].GetFormat().IsEmpty());
    oManager["a"].SetFormat("%o");
    oManager.SetProperty("a", 2.5F);
    EXPECT_EQ(oManager.GetPropertyCount(), 1);
    EXPECT_EQ(oManager["a"].GetType(), PROPTYPE_FLOAT);
    EXPECT_EQ(oManager["a"].GetInt(), 1);
    EXPECT_STREQ(~oManager["a"].GetFormat(), "%o");
    oManager.SetProperty("b", oManager.FindProperty("a"));
    EXPECT_EQ(static_cast<float>(oManager["b"]), 2.5F);
}

TEST(VQPropertyManager, AnAbsentNameGivesItsTypeAlone)
{
    const CVQPropertyManager oManager = Settings();
    CVQProperty oValue(5);
    oManager.GetProperty("absent", oValue);
    EXPECT_EQ(oValue.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oValue.GetInt(), 5);
    oValue = 6;
    oManager.GetProperty(CVQString("absent"), oValue);
    EXPECT_EQ(oValue.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oValue.GetInt(), 6);
    CVQPropertyManager().GetProperty("absent", oValue);
}

TEST(VQPropertyManager, NamesHaveCase)
{
    const CVQPropertyManager oManager = Settings();
    EXPECT_TRUE(oManager.HasProperty("Volume"));
    EXPECT_FALSE(oManager.HasProperty("volume"));
    EXPECT_TRUE(oManager.HasProperty(CVQString("Player")));
    EXPECT_FALSE(oManager.HasProperty(CVQString("player")));
    EXPECT_FALSE(oManager.HasProperty(""));
    EXPECT_FALSE(oManager.HasProperty(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(CVQPropertyManager().HasProperty("Volume"));
}

TEST(VQPropertyManager, FindsOrGivesTheSharedMiss)
{
    CVQPropertyManager oManager = Settings();
    const CVQPropertyManager& oConst = oManager;
    EXPECT_EQ(oManager.FindProperty(CVQString("Volume")).GetInt(), 5);
    EXPECT_EQ(&oManager.FindProperty("Volume"), &oConst.FindProperty("Volume"));
    EXPECT_EQ(&oConst["Volume"], &oConst.FindProperty(CVQString("Volume")));
    EXPECT_EQ(&oConst[CVQString("Volume")], &oManager[CVQString("Volume")]);

    CVQProperty& oMissing = oManager.FindProperty("absent");
    EXPECT_EQ(oMissing.GetType(), PROPTYPE_UNDEFINED);
    oMissing = 7;
    CVQPropertyManager oOther;
    EXPECT_EQ(&oOther.FindProperty(CVQString("x")), &oMissing);
    EXPECT_EQ(oMissing.GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oMissing.GetInt(), 7);
    EXPECT_NE(&oConst.FindProperty("absent"), &oMissing);
    EXPECT_EQ(&oConst["absent"], &oConst.FindProperty("other"));
    EXPECT_EQ(oManager.GetPropertyCount(), 2);
    oMissing.Empty();

    EXPECT_EQ(oManager["absent"].GetType(), PROPTYPE_UNDEFINED);
    EXPECT_EQ(oManager.GetPropertyCount(), 3) << "indexing adds";
    EXPECT_TRUE(oConst.HasProperty("absent"));
}

TEST(VQPropertyManager, Removes)
{
    CVQPropertyManager oManager = Settings();
    oManager.RemoveProperty("absent");
    oManager.RemoveProperty("Volume");
    EXPECT_EQ(NamesOf(oManager), "Player ");
    oManager.RemoveProperty(CVQString("Player"));
    EXPECT_EQ(oManager.GetPropertyCount(), 0);
    oManager.RemoveProperty("Player");
    oManager = Settings();
    oManager.RemoveAllProperties();
    EXPECT_EQ(oManager.GetPropertyCount(), 0);
    EXPECT_EQ(NamesOf(oManager), "");
}

TEST(VQPropertyManager, GoesThroughItsProperties)
{
    CVQPropertyManager oManager;
    for (const char* pName : {"b", "a", "B", "_"})
        oManager.SetProperty(pName, 1);
    EXPECT_EQ(NamesOf(oManager), "B _ a b ");
    CVQString oName("kept");
    CVQProperty oValue(9);
    long nPosition = 0;
    ASSERT_TRUE(oManager.GetFirstProperty(oName, oValue, nPosition));
    EXPECT_EQ(nPosition, static_cast<std::int32_t>(nPosition));
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(oManager.GetNextProperty(oName, oValue, nPosition));
    EXPECT_FALSE(oManager.GetNextProperty(oName, oValue, nPosition));
    EXPECT_FALSE(oManager.GetNextProperty(oName, oValue, nPosition));
    EXPECT_STREQ(~oName, "b");
    EXPECT_FALSE(CVQPropertyManager().GetFirstProperty(oName, oValue, nPosition));
    EXPECT_FALSE(CVQPropertyManager().GetNextProperty(oName, oValue, nPosition));
}

TEST(VQPropertyManager, ReferencesHoldWhileOthersComeAndGo)
{
    CVQPropertyManager oManager = Settings();
    CVQProperty& oVolume = oManager["Volume"];
    for (int i = 0; i < 300; ++i)
        oManager.SetProperty(CVQString(sctFormat, "%d", i), i);
    for (int i = 0; i < 300; ++i)
        oManager.RemoveProperty(CVQString(sctFormat, "%d", i));
    EXPECT_EQ(&oManager["Volume"], &oVolume);
    EXPECT_EQ(oVolume.GetInt(), 5);
}

TEST(VQPropertyManager, Copies)
{
    const CVQPropertyManager oSource = Settings();
    CVQPropertyManager oCopy(oSource);
    oCopy.SetProperty("Volume", 9);
    EXPECT_EQ(oSource["Volume"].GetInt(), 5);
    CVQPropertyManager oTarget;
    oTarget.SetProperty("old", 1);
    EXPECT_EQ(&(oTarget = oSource), &oTarget);
    EXPECT_EQ(NamesOf(oTarget), "Player Volume ");
    const CVQPropertyManager& oSelf = oTarget;
    oTarget = oSelf;
    EXPECT_EQ(NamesOf(oTarget), "Player Volume ");
    const CVQPropertyManager oTaken(std::move(oTarget));
    EXPECT_EQ(NamesOf(oTaken), "Player Volume ");
    EXPECT_EQ(oTarget.GetPropertyCount(), 0); // NOLINT(bugprone-use-after-move): it says what is left
}

TEST(VQPropertyManager, HasTheVersion256)
{
    EXPECT_EQ(CVQPropertyManager::GetDataFormatVersion(), 256);
    EXPECT_EQ(CVersionedManager().GetOwnVersion(), 256);

    CVQPropertyManager oManager = Settings();
    CVersionedProperty::SetVersion(65535);
    const std::string sStored = StoredBytes(oManager);
    CVQPropertyManager oLoaded;
    const unsigned long nTaken = LoadFrom(oLoaded, sStored);
    CVersionedProperty::SetVersion(256);
    EXPECT_EQ(sStored, 'm' + Word(2) + Text("Player") + Record('s', Text("Ann")) + Text("Volume") + IntRecord(5));
    EXPECT_EQ(nTaken, sStored.size());
    EXPECT_EQ(NamesOf(oLoaded), "Player Volume ");
}

TEST(VQPropertyManager, PersistenceIsVirtual)
{
    CCountingManager oCounting;
    CVQPropertyManager& oManager = oCounting;
    CVQDataStream oStream(CVQDataStream::STORING);
    EXPECT_TRUE(oManager.Read(nullptr));
    EXPECT_TRUE(oManager.Write(nullptr));
    oManager.Serialize(oStream);
    EXPECT_FALSE(oManager.CanSerialize());
    EXPECT_EQ(oCounting.m_nCalls, 3);
}

TEST(VQPropertyManager, StoresAndLoads)
{
    CVQPropertyManager oManager = Settings();
    EXPECT_EQ(StoredBytes(oManager), STREAM_RECORD);
    CVQPropertyManager oLoaded;
    oLoaded.SetProperty("old", 1);
    EXPECT_EQ(LoadFrom(oLoaded, STREAM_RECORD), STREAM_RECORD.size());
    EXPECT_EQ(NamesOf(oLoaded), "Player Volume ") << "loading replaces";
    EXPECT_EQ(StoredBytes(oLoaded), STREAM_RECORD);
    CVQPropertyManager oEmpty;
    EXPECT_EQ(StoredBytes(oEmpty), 'm' + Word(0));
    EXPECT_EQ(LoadFrom(oLoaded, "M" + Word(0)), 1U);
    EXPECT_EQ(NamesOf(oLoaded), "Player Volume ") << "without the marker nothing changes";
    EXPECT_EQ(LoadFrom(oLoaded, 'm' + Word(0)), 5U);
    EXPECT_EQ(oLoaded.GetPropertyCount(), 0);
}

TEST(VQPropertyManager, TheLaterOfTwoEqualNamesHolds)
{
    const std::string sZero("a\0z", 3);
    CVQPropertyManager oManager;
    LoadFrom(oManager, 'm' + Word(4) + Text("b") + Versioned(IntRecord(1)) + Text("a") + Versioned(IntRecord(2)) +
                           Text("b") + Versioned(IntRecord(3)) + Text(sZero) + Versioned(IntRecord(4)));
    EXPECT_EQ(NamesOf(oManager), "a b ");
    EXPECT_EQ(oManager["a"].GetInt(), 4) << "a name ends at its first zero";
    EXPECT_EQ(oManager["b"].GetInt(), 3);
    EXPECT_EQ(StoredBytes(oManager),
              'm' + Word(2) + Text(sZero) + Versioned(IntRecord(4)) + Text("b") + Versioned(IntRecord(3)));
}

TEST(VQPropertyManager, ACutStreamLeavesWhatWasReadWhole)
{
    const std::size_t nFirst = 5 + 10 + 19;
    for (std::size_t nCut = 0; nCut < STREAM_RECORD.size(); ++nCut)
    {
        CVQPropertyManager oManager;
        oManager.SetProperty("old", 1);
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oManager, STREAM_RECORD.substr(0, nCut)); }), 5000U);
        EXPECT_EQ(NamesOf(oManager), nCut < 1 ? "old " : nCut < 5 + 32 ? "" : nCut < nFirst ? "" : "Player ") << nCut;
    }
    for (const std::int64_t nCount : {-1LL, 0x7FFFFFFFLL, 0x80000000LL, 0x10000000LL})
    {
        CVQPropertyManager oManager;
        EXPECT_EQ(StreamErrorOf([&] { LoadFrom(oManager, 'm' + Word(nCount) + STREAM_RECORD.substr(5)); }), 5000U);
        EXPECT_EQ(oManager.GetPropertyCount(), 0) << "refused before anything is read";
    }
}

TEST(VQPropertyManager, WritesAndReads)
{
    CVQPropertyManager oManager = Settings();
    CMemFileIO oFile(64);
    EXPECT_TRUE(oManager.Write(&oFile));
    EXPECT_EQ(WrittenBytes(oManager), FILE_RECORD);
    EXPECT_FALSE(oManager.Write(nullptr));
    EXPECT_FALSE(oManager.Read(nullptr));

    CVQPropertyManager oRead;
    oRead.SetProperty("kept", 1);
    oRead.SetProperty("Volume", 2.5F);
    CBytesFile oSaved(FILE_RECORD);
    EXPECT_TRUE(oRead.Read(&oSaved));
    EXPECT_EQ(NamesOf(oRead), "Player Volume kept ");
    EXPECT_EQ(oRead["Volume"].GetInt(), 5);
    EXPECT_EQ(static_cast<float>(oRead["Volume"]), 2.5F) << "reading assigns";
}

TEST(VQPropertyManager, GoesThroughARealFile)
{
    const CTestDirectory oDirectory;
    CVQPropertyManager oManager = Settings();
    {
        CFileIO oFile;
        oFile.Open("settings.vqp", CFileIO::WRITE);
        EXPECT_TRUE(oManager.Write(&oFile));
        EXPECT_TRUE(oFile.Flush());
    }
    EXPECT_EQ(oDirectory.Read("settings.vqp"), FILE_RECORD);
    CFileIO oFile;
    oFile.Open("settings.vqp", CFileIO::READ);
    CVQPropertyManager oRead;
    EXPECT_TRUE(oRead.Read(&oFile));
    EXPECT_EQ(WrittenBytes(oRead), FILE_RECORD);
    EXPECT_TRUE(oFile.IsEof());
}

TEST(VQPropertyManager, ExceptionsOfTheFileGoThrough)
{
    CFileIO oClosed;
    CVQPropertyManager oManager = Settings();
    EXPECT_THROW(oManager.Write(&oClosed), CFileIOException);
    EXPECT_THROW(oManager.Read(&oClosed), CFileIOException);
    EXPECT_EQ(oManager.GetPropertyCount(), 2);
}

TEST(VQPropertyManager, ACutFileIsReadAsFarAsItGoes)
{
    for (std::size_t nCut = 0; nCut < FILE_RECORD.size(); ++nCut)
    {
        CVQPropertyManager oRead;
        oRead.SetProperty("Volume", 1);
        CBytesFile oFile(FILE_RECORD.substr(0, nCut));
        EXPECT_TRUE(oRead.Read(&oFile));
        EXPECT_EQ(NamesOf(oRead), nCut < 4 + 10 + 11 ? "Volume " : "Player Volume ") << nCut;
        EXPECT_EQ(oRead["Volume"].GetInt(), 1) << "what was not read whole changes nothing";
    }
    for (const std::int64_t nCount : {0x7FFFFFFFLL, -1LL, 0x80000000LL})
    {
        CVQPropertyManager oRead;
        CBytesFile oFile(Word(nCount) + FILE_RECORD.substr(4));
        EXPECT_TRUE(oRead.Read(&oFile));
        EXPECT_EQ(oRead.GetPropertyCount(), nCount == 0x7FFFFFFFLL ? 2 : 0);
    }
}

TEST(VQPropertyManager, RefusesToNestTooDeeply)
{
    CVQPropertyManager oManager;
    oManager["a"] = NestedStructs(256);
    const std::string sStored = StoredBytes(oManager);
    const std::string sWritten = WrittenBytes(oManager);
    CVQPropertyManager oLoaded;
    EXPECT_EQ(LoadFrom(oLoaded, sStored), sStored.size());
    EXPECT_EQ(StoredBytes(oLoaded), sStored);
    CBytesFile oSaved(sWritten);
    EXPECT_TRUE(oLoaded.Read(&oSaved));
    EXPECT_EQ(WrittenBytes(oLoaded), sWritten);

    oManager["a"] = NestedStructs(257);
    EXPECT_EQ(StreamErrorOf([&] { StoredBytes(oManager); }), 5004U);
    CMemFileIO oFile(64);
    EXPECT_FALSE(oManager.Write(&oFile));
    EXPECT_EQ(oFile.GetSize(), 0U);
    for (const int nDepth : {257, 100000})
    {
        CBytesFile oDeep(Word(1) + Text("a") + NestedStructsFile(nDepth));
        EXPECT_FALSE(oLoaded.Read(&oDeep));
        EXPECT_EQ(StreamErrorOf(
                      [&] { LoadFrom(oLoaded, 'm' + Word(1) + Text("a") + Word(256) + NestedStructsRecord(nDepth)); }),
                  5004U);
    }
}
