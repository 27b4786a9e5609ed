// What docs/streams.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace
{
struct sSavedGame
{
    static constexpr int VERSION = 257;

    std::int32_t m_nLevel = 0;
    CVQString m_oPilot;
    std::vector<std::int32_t> m_aFuel;
    std::int32_t m_nScore = 0;

    void Serialize(CVQDataStream& oStream)
    {
        oStream.SerializeBegin(VERSION);
        if (oStream.IsStoring())
            Store(oStream);
        else
            Load(oStream);
        oStream.SerializeEnd();
    }

private:
    void Store(CVQDataStream& oStream) const
    {
        oStream.Put(&m_nLevel, 4);
        WriteStreamString(oStream, m_oPilot);
        const auto nFuel = static_cast<std::uint32_t>(m_aFuel.size());
        oStream.Put(&nFuel, 4);
        oStream.Put(m_aFuel.data(), 4 * nFuel);
        oStream.Put(&m_nScore, 4);
    }

    void Load(CVQDataStream& oStream)
    {
        oStream.Get(&m_nLevel, 4);
        ReadStreamString(oStream, m_oPilot);
        std::uint32_t nFuel = 0;
        oStream.Get(&nFuel, 4);
        oStream.RequireReadable(std::uint64_t{nFuel} * 4); // before memory is taken for a count from outside
        m_aFuel.resize(nFuel);
        oStream.Get(m_aFuel.data(), 4 * nFuel);
        if (oStream.GetVersion() >= 257)
            oStream.Get(&m_nScore, 4);
    }
};

bool SaveGame(const char* pName, sSavedGame& oGame)
{
    CVQDataStream oStream(CVQDataStream::STORING);
    oGame.Serialize(oStream);
    CFileIO oFile;
    oFile.Open(pName, CFileIO::WRITE);
    return oFile.Write(oStream.GetBuffer(), oStream.GetSize()) && oFile.Flush();
}

bool LoadGame(const char* pName, sSavedGame& oGame)
{
    try
    {
        CFileIO oFile;
        oFile.Open(pName, CFileIO::READ);
        std::vector<unsigned char> aBytes(oFile.GetSize());
        if (aBytes.empty() || !oFile.Read(aBytes.data(), static_cast<unsigned long>(aBytes.size())))
            return false;

        CVQDataStream oStream(aBytes.data(), static_cast<unsigned long>(aBytes.size()), CVQDataStream::LOADING, false);
        sSavedGame oLoaded;
        oLoaded.Serialize(oStream);
        oGame = oLoaded; // only when all of it was there
        return true;
    }
    catch (CVQException&)
    {
        return false;
    }
}

void WriteChunk(CVQDataStream& oStream, const CVQString& oText)
{
    const std::uint32_t nUnknown = 0;
    CVQDataStream::Iterator oSize(oStream);
    oSize.Advance(oStream.GetStreamPosition());
    oStream.Put(&nUnknown, 4);
    WriteStreamString(oStream, oText);
    const auto nSize = static_cast<std::uint32_t>(oStream.GetStreamPosition() - oSize.GetPosition() - 4);
    oSize.Put(&nSize, 4);
}

class CIntController : public CVQVariableControllerBase
{
public:
    CIntController(int nOffset) : CVQVariableControllerBase(nOffset, 0x494E5433) {}

    void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override
    {
        if (oStream.IsStoring())
            oStream.Put(pRecord + GetValue(), sizeof(std::int32_t));
        else
            oStream.Get(pRecord + GetValue(), sizeof(std::int32_t));
    }
};

struct sShip
{
    std::int32_t m_nHealth;
    std::int32_t m_nShield;
};

void SerializeShip(sShip& oShip, CVQDataStream& oStream)
{
    CIntController oHealth(offsetof(sShip, m_nHealth));
    CIntController oShield(offsetof(sShip, m_nShield));
    CVQDataFormat oFormat("Ship", 2);
    oFormat.AddVariable(1, oHealth);
    oFormat.AddVariable(2, oShield); // since version 2: older data leaves it as it is
    oFormat.Serialize(reinterpret_cast<unsigned char*>(&oShip), oStream);
}

void PackKeys(CVQBitStream& oBits, const std::vector<bool>& aKeys)
{
    oBits.BeginWrite();
    for (const bool bDown : aKeys)
        oBits.Write(bDown);
    oBits.EndWrite();
}

std::vector<bool> UnpackKeys(CVQBitStream& oBits, std::size_t nCount)
{
    std::vector<bool> aKeys;
    oBits.BeginRead();
    for (std::size_t i = 0; i < nCount; ++i)
    {
        bool bDown = false;
        oBits.Read(bDown);
        aKeys.push_back(bDown);
    }
    oBits.EndRead();
    return aKeys;
}

sSavedGame MakeGame()
{
    sSavedGame oGame;
    oGame.m_nLevel = 3;
    oGame.m_oPilot = "Ann";
    oGame.m_aFuel = {10, -20, 30};
    oGame.m_nScore = 4711;
    return oGame;
}
} // namespace

TEST(StreamsGuide, SavesAndLoadsAGame)
{
    const CTestDirectory oDirectory;
    sSavedGame oGame = MakeGame();
    ASSERT_TRUE(SaveGame("game.sav", oGame));
    sSavedGame oLoaded;
    ASSERT_TRUE(LoadGame("game.sav", oLoaded));
    EXPECT_EQ(oLoaded.m_nLevel, 3);
    EXPECT_EQ(oLoaded.m_oPilot, "Ann");
    EXPECT_EQ(oLoaded.m_aFuel, oGame.m_aFuel);
    EXPECT_EQ(oLoaded.m_nScore, 4711);
}

TEST(StreamsGuide, LoadsAnOlderGame)
{
    const CTestDirectory oDirectory;
    sSavedGame oGame = MakeGame();
    ASSERT_TRUE(SaveGame("game.sav", oGame));
    std::string sBytes = oDirectory.Read("game.sav");
    ASSERT_EQ(sBytes.substr(0, 4), std::string("\x01\x01\0\0", 4));
    sBytes[0] = 0;
    oDirectory.Write("old.sav", sBytes.substr(0, sBytes.size() - 4));
    sSavedGame oLoaded;
    ASSERT_TRUE(LoadGame("old.sav", oLoaded));
    EXPECT_EQ(oLoaded.m_aFuel, oGame.m_aFuel);
    EXPECT_EQ(oLoaded.m_nScore, 0);
}

TEST(StreamsGuide, LeavesTheGameAloneWhereASaveIsCut)
{
    const CTestDirectory oDirectory;
    sSavedGame oGame = MakeGame();
    ASSERT_TRUE(SaveGame("game.sav", oGame));
    const std::string sBytes = oDirectory.Read("game.sav");
    for (std::size_t n = 0; n < sBytes.size(); ++n)
    {
        oDirectory.Write("cut.sav", sBytes.substr(0, n));
        EXPECT_FALSE(LoadGame("cut.sav", oGame)) << n;
    }
    EXPECT_FALSE(LoadGame("missing.sav", oGame));
    std::string sHuge = sBytes;
    sHuge.replace(15, 4, "\xFF\xFF\xFF\xFF"); // the count
    oDirectory.Write("huge.sav", sHuge);
    EXPECT_FALSE(LoadGame("huge.sav", oGame));
    EXPECT_EQ(oGame.m_nScore, 4711);
}

TEST(StreamsGuide, ReadsWhatWasWrittenAtNoCost)
{
    sSavedGame oGame = MakeGame();
    CVQDataStream oStored(CVQDataStream::STORING);
    oGame.Serialize(oStored);
    CVQDataStream oLoaded(oStored);
    EXPECT_EQ(oLoaded.GetBuffer(), oStored.GetBuffer());
    sSavedGame oBack;
    oBack.Serialize(oLoaded);
    EXPECT_EQ(oBack.m_nScore, 4711);
}

TEST(StreamsGuide, WritesALengthWhenItIsKnown)
{
    CVQDataStream oStream(CVQDataStream::STORING);
    WriteChunk(oStream, "abc");
    WriteChunk(oStream, "");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(oStream.GetBuffer()), oStream.GetSize()),
              std::string("\7\0\0\0\3\0\0\0abc\4\0\0\0\0\0\0\0", 19));
}

TEST(StreamsGuide, SerializesAPlainRecord)
{
    sShip oShip = {1, 2};
    CVQDataStream oStream(CVQDataStream::STORING);
    SerializeShip(oShip, oStream);
    CVQDataStream oLoading(oStream);
    sShip oBack = {0, 0};
    SerializeShip(oBack, oLoading);
    EXPECT_EQ(oBack.m_nHealth, 1);
    EXPECT_EQ(oBack.m_nShield, 2);

    const unsigned char aOld[] = {'F', 4, 0, 0, 0, 'S', 'h', 'i', 'p', 1, 0, 0, 0, 7, 0, 0, 0};
    CVQDataStream oOld(aOld, sizeof aOld, CVQDataStream::LOADING, true);
    SerializeShip(oBack, oOld);
    EXPECT_EQ(oBack.m_nHealth, 7);
    EXPECT_EQ(oBack.m_nShield, 2);
}

TEST(StreamsGuide, PacksBits)
{
    const std::vector<bool> aKeys = {true, false, true, true, false, false, false, false, true};
    CVQBitStream oBits;
    PackKeys(oBits, aKeys);
    EXPECT_EQ(oBits.GetSize(), 2);
    EXPECT_EQ(UnpackKeys(oBits, aKeys.size()), aKeys);
}

TEST(StreamsGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("streams.md", "House/StreamsGuide_test.cpp"), "");
}
