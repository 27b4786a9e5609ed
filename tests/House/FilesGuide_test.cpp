// What docs/files-and-archives.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/ArchiveBytes.h>
#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace
{
void OpenGame()
{
    CExtendedFileSystem* pFiles = CExtendedFileSystem::Instance();
    pFiles->Setup();
    pFiles->AddRoot("patch"); // what is in here goes before
    pFiles->AddRoot("data");
}

CVQString ReadTitle(const char* pLevel)
{
    CFileIO oFile;
    oFile.Open(pLevel, CFileIO::READ);
    char aLine[80];
    oFile.ReadLine(aLine, sizeof aLine);
    return aLine;
}

bool SaveScore(const char* pName, const CVQString& oPlayer, int nScore)
{
    CFileIO oFile;
    oFile.Open(pName, CFileIO::WRITE);
    return oFile.Write(oPlayer) && oFile.Write(nScore) && oFile.Flush(); // closing does not tell
}

bool LoadScore(const char* pName, CVQString& oPlayer, int& nScore)
{
    CFileIO oFile;
    oFile.Open(pName, CFileIO::READ);
    return oFile.Read(oPlayer) && oFile.Read(nScore);
}

void WriteShip(CFileIO& oFile, const CVQString& oName, int nFuel, float fMass)
{
    oFile.WriteConstAscii("ship ");
    oFile.WriteAscii(oName);
    oFile.WriteAscii(nFuel);
    oFile.WriteAscii(fMass);
    oFile.WriteConstAscii('\n');
}

bool ReadShip(CFileIO& oFile, CVQString& oName, int& nFuel, float& fMass)
{
    return oFile.ReadConstAscii("ship") && oFile.ReadAscii(oName) && oFile.ReadAscii(nFuel) && oFile.ReadAscii(fMass);
}

CVQString WhyNot(const char* pName)
{
    try
    {
        CFileIO oFile;
        oFile.Open(pName, CFileIO::READ);
    }
    catch (CVQException& oError)
    {
        return CVQString(sctFormat, "%s: %s (%lu)", pName, oError.GetErrorString(), oError.GetErrorCode());
    }
    return "";
}

std::vector<unsigned char> PackShip(const CVQString& oName, int nFuel)
{
    CMemFileIO oFile(1024); // grows by as much
    oFile.Write(oName);
    oFile.Write(nFuel);
    return {oFile.GetBuffer(), oFile.GetBuffer() + oFile.GetSize()};
}

bool UnpackShip(std::vector<unsigned char>& oPacket, CVQString& oName, int& nFuel)
{
    CMemFileIO oFile(oPacket.data(), static_cast<unsigned long>(oPacket.size()), 0);
    return oFile.Read(oName) && oFile.GetSize() - oFile.GetFilePointerPos() >= 4 && oFile.Read(nFuel);
}

bool ListNode(CArchiveReader& oReader, const CArchiveNode& oNode, const std::string& sPath, int nLevels,
              std::vector<std::string>& oNames)
{
    if (nLevels == 0 || CArchiveReader::CheckTable(oNode) != eArchiveResult::Ok)
        return false;

    for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
    {
        const sArchiveEntry& oEntry = oNode.GetEntry(i);
        CArchiveNode oChild;
        if (oEntry.m_nIsDirectory == 0)
            oNames.push_back(sPath + oEntry.m_aName);
        else if (oReader.ReadChild(oNode, oEntry, oChild) != eArchiveResult::Ok ||
                 !ListNode(oReader, oChild, sPath + oEntry.m_aName + '/', nLevels - 1, oNames))
            return false;
    }
    return true;
}

bool ListArchive(const char* pArchive, std::vector<std::string>& oNames)
{
    CArchiveReader oReader;
    CArchiveNode oRoot;
    return oReader.Open(pArchive) && oReader.ReadRoot(oRoot) == eArchiveResult::Ok &&
           ListNode(oReader, oRoot, "", 100, oNames);
}

// An archive that holds "levels/canyon.lvl" with a title.
std::string ArchiveWithLevel(const std::string& sTitle)
{
    return MakeArchiveNode({{"levels", MakeArchiveNode({{"canyon.lvl", sTitle}}), true}});
}
} // namespace

// The places of the table, from the last one to the first: each goes before those that were made before it.
TEST(IsolatedFilesGuide, LooksInTheOrderOfTheTable)
{
    const CTestDirectory oDirectory;
    OpenGame();
    oDirectory.Write("data.arc", ArchiveWithLevel("6"));
    EXPECT_EQ(ReadTitle("levels/canyon.lvl"), "6");
    oDirectory.Write("data/levels/canyon.lvl", "5\n");
    EXPECT_EQ(ReadTitle("levels/canyon.lvl"), "5");
    oDirectory.Write("patch.arc", ArchiveWithLevel("4"));
    EXPECT_EQ(ReadTitle("levels/canyon.lvl"), "4");
    oDirectory.Write("patch/levels/canyon.lvl", "3\n");
    EXPECT_EQ(ReadTitle("levels/canyon.lvl"), "3");
    EXPECT_EQ(ReadTitle("LEVELS\\Canyon.LVL"), "3");
    oDirectory.Write("levels.arc", MakeArchiveNode({{"canyon.lvl", "2"}}));
    EXPECT_EQ(ReadTitle("levels/canyon.lvl"), "2");
    oDirectory.Write("levels/canyon.lvl", "1\n");
    EXPECT_EQ(ReadTitle("levels/canyon.lvl"), "1");
}

TEST(IsolatedFilesGuide, TakesTheFirstNameForTheArchive)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("base/data.arc", MakeArchiveNode({{"a.txt", "a"}}));
    EXPECT_EQ(WhyNot("base/data/a.txt"), "base/data/a.txt: File not found. (4002)");
    CExtendedFileSystem::Instance()->AddRoot(oDirectory.PathOf("base").c_str());
    EXPECT_EQ(WhyNot("data/a.txt"), "data/a.txt: File not found. (4002)");
    oDirectory.Write("data.pak", MakeArchiveNode({{"a.txt", "a"}}));
    EXPECT_EQ(ReadTitle("data.pak/A.txt"), "a");

    oDirectory.Write("second/only.txt", "x");
    CExtendedFileSystem::Instance()->AddRoot("second");
    EXPECT_FALSE(CFileIO::FileExists("only.txt"));
    EXPECT_EQ(WhyNot("only.txt"), "");
}

TEST(FilesGuide, SavesAndLoads)
{
    const CTestDirectory oDirectory;
    EXPECT_TRUE(SaveScore("score.dat", "Ann", 4711));
    EXPECT_EQ(oDirectory.Read("score.dat"), std::string("\3\0\0\0Ann\x67\x12\0\0", 11));
    CVQString oPlayer;
    int nScore = 0;
    EXPECT_TRUE(LoadScore("Score.DAT", oPlayer, nScore));
    EXPECT_EQ(oPlayer, "Ann");
    EXPECT_EQ(nScore, 4711);

    if (HasCaseSensitiveNames())
    {
        EXPECT_TRUE(SaveScore("Score.dat", "Ben", 1));
        EXPECT_TRUE(LoadScore("score.dat", oPlayer, nScore));
        EXPECT_EQ(oPlayer, "Ann");
    }
}

TEST(FilesGuide, WritesTextForPeople)
{
    const CTestDirectory oDirectory;
    CFileIO oFile;
    oFile.Open("ship.txt", CFileIO::WRITE);
    WriteShip(oFile, "Eagle", 120, 1.5F);
    oFile.Close();
    EXPECT_EQ(oDirectory.Read("ship.txt"), "ship \"Eagle\"; 120; 1.5000; \r\n");

    oDirectory.Write("ship.txt", "// mended by hand\nship\n\"Owl\"  ; // the name\n 7;2;");
    oFile.Open("ship.txt", CFileIO::READ);
    CVQString oName;
    int nFuel = 0;
    float fMass = 0;
    EXPECT_TRUE(ReadShip(oFile, oName, nFuel, fMass));
    EXPECT_EQ(oName, "Owl");
    EXPECT_EQ(nFuel, 7);
    EXPECT_EQ(fMass, 2.0F);
}

TEST(FilesGuide, TellsWhyNot)
{
    const CTestDirectory oDirectory;
    EXPECT_EQ(WhyNot("levels/missing.lvl"), "levels/missing.lvl: File not found. (4002)");
}

TEST(FilesGuide, PacksInMemory)
{
    auto oPacket = PackShip("Eagle", 120);
    EXPECT_EQ(oPacket.size(), 13U);
    CVQString oName;
    int nFuel = 0;
    EXPECT_TRUE(UnpackShip(oPacket, oName, nFuel));
    EXPECT_EQ(oName, "Eagle");
    EXPECT_EQ(nFuel, 120);

    while (!oPacket.empty())
    {
        oPacket.pop_back();
        EXPECT_FALSE(UnpackShip(oPacket, oName, nFuel)) << oPacket.size();
    }

    // why the check is there
    std::array<unsigned char, 2> aPart = {1, 2};
    CMemFileIO oPart(aPart.data(), aPart.size(), 0);
    EXPECT_TRUE(oPart.Read(nFuel));
}

TEST(FilesGuide, ListsArchivesOfAnyOrigin)
{
    const CTestDirectory oDirectory;
    const std::string sGolden = ReadWholeFile(GetGoldenPath("tree.arc"));
    oDirectory.Write("tree.arc", sGolden);
    std::vector<std::string> oNames;
    EXPECT_TRUE(ListArchive("tree.arc", oNames));
    EXPECT_EQ(oNames, (std::vector<std::string>{"a.txt", "B.txt", "c", "sub/file.txt", "sub/Deep/x.bin"}));

    std::string sDeep = MakeArchiveNode({});
    for (int i = 0; i < 100; ++i)
        sDeep = MakeArchiveNode({{"d", sDeep, true}});
    for (const std::string& sBad : {std::string(), sGolden.substr(0, sGolden.size() - 1), sDeep})
    {
        oDirectory.Write("bad.arc", sBad);
        oNames.clear();
        EXPECT_FALSE(ListArchive("bad.arc", oNames)) << sBad.size();
    }
    EXPECT_FALSE(ListArchive("missing.arc", oNames));
}

TEST(FilesGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("files-and-archives.md", "House/FilesGuide_test.cpp"), "");
}
