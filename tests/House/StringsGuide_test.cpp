// What docs/strings-and-paths.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestLocale.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace
{
CVQString TitleOf(int nLevel, const CVQString& oAuthor)
{
    CVQString oTitle(sctFormat, "Level %d", nLevel);
    if (!oAuthor.IsEmpty())
        oTitle += CVQString(sctFormat, " by %s", ~oAuthor); // ~ is short for GetString()
    oTitle.Replace("_", " ");
    return oTitle;
}

CVQString Row(int nWidth, char cFill)
{
    CVQString oRow;
    oRow.GetBuffer(nWidth); // the only allocation
    oRow.ReleaseBuffer(0);
    for (int i = 0; i < nWidth; ++i)
        oRow += cFill;
    return oRow;
}

enum eText : long
{
    TEXT_START = 1,
    TEXT_QUIT,
};

bool g_bGerman = false;

const char* FindText(long nId)
{
    if (nId == TEXT_START)
        return g_bGerman ? "Los!" : "Start";
    if (nId == TEXT_QUIT)
        return g_bGerman ? "Ende" : "Quit";
    return nullptr;
}

bool LoadText(long nId, CVQString& oTarget)
{
    const char* pText = FindText(nId);
    if (pText != nullptr)
        oTarget = pText;
    return pText != nullptr;
}

bool IsText(long nId, const CVQString& oText)
{
    const char* pText = FindText(nId);
    return pText != nullptr && oText == pText;
}

void InstallTexts()
{
    CVQString::s_pfnLoadString = LoadText;
    CVQString::s_pfnIsStringIdentical = IsText;
}

void Reload(CVQString& oText)
{
    if (oText.HasStringId())
        oText.LoadStringResource(oText.GetStringId());
}

CVQPath SavePath(const char* pPlayer, int nSlot)
{
    CVQPath oPath("saves");
    oPath += pPlayer;
    oPath += CVQString(sctFormat, "slot%d", nSlot);
    oPath.AddExtension(".sav");
    oPath.MakeForwardslashes();
    return oPath;
}

// The hooks of this test, gone at its end.
struct InstalledTexts
{
    InstalledTexts() { InstallTexts(); }

    ~InstalledTexts()
    {
        CVQString::s_pfnLoadString = nullptr;
        CVQString::s_pfnIsStringIdentical = nullptr;
        g_bGerman = false;
    }

    InstalledTexts(const InstalledTexts&) = delete;
    InstalledTexts& operator=(const InstalledTexts&) = delete;
};
} // namespace

TEST(StringsGuide, MakesTitles)
{
    EXPECT_EQ(TitleOf(3, "Ann_B"), "Level 3 by Ann B");
    EXPECT_EQ(TitleOf(4, CVQString()), "Level 4");
}

TEST(StringsGuide, TellsItsSurprises)
{
    EXPECT_EQ(~CVQString(), nullptr);
    EXPECT_EQ(CVQString(sctFormat, "%2000d", 1).GetLength(), 1023);
    EXPECT_EQ(CVQString("-a").ReverseFindOneOf("-"), -1);
    EXPECT_EQ(CVQString("-a").FindOneOf("-"), 0);
    EXPECT_EQ(CVQString("level").ToInt(10), 0);

    const InstalledTexts oInstalled;
    const CVQString oTitle = CVQStringId(TEXT_QUIT);
    EXPECT_EQ(oTitle, "Quit");
    const CVQString oSame = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(TEXT_QUIT));
    EXPECT_EQ(oSame, "Quit");
}

TEST(StringsGuide, BorrowsRoomOnce)
{
    CVQString oRow;
    oRow.GetBuffer(100);
    oRow.ReleaseBuffer(0);
    const char* const pBuffer = ~oRow;
    for (int i = 0; i < 100; ++i)
        oRow += '-';
    EXPECT_EQ(~oRow, pBuffer);
    oRow.Empty();
    EXPECT_EQ(~oRow, pBuffer);

    CVQString oOther;
    oOther += 'a';
    const sStringData oBefore = *oOther.GetData();
    EXPECT_EQ(oBefore.m_nAllocatedLength, 1);
    oOther += 'b';
    EXPECT_EQ(oOther.GetData()->m_nAllocatedLength, 2);

    EXPECT_EQ(Row(3, '='), "===");
}

TEST(StringsGuide, ChangesTheLanguage)
{
    const InstalledTexts oInstalled;
    CVQString oStart = CVQStringId(TEXT_START);
    CVQString oQuit = CVQStringId(TEXT_QUIT);
    CVQString oName = "Ann";
    EXPECT_EQ(oStart, "Start");
    g_bGerman = true;
    for (CVQString* pText : {&oStart, &oQuit, &oName})
        Reload(*pText);
    EXPECT_EQ(oStart, "Los!");
    EXPECT_EQ(oQuit, "Ende");
    EXPECT_EQ(oName, "Ann");

    EXPECT_TRUE(oQuit.IsIdenticalToStringResource());
    oQuit = "Aus";
    EXPECT_EQ(oQuit.GetStringId(), TEXT_QUIT);
    EXPECT_FALSE(oQuit.IsIdenticalToStringResource());
    oQuit = oName;
    EXPECT_FALSE(oQuit.HasStringId());
}

TEST(StringsGuide, SavesTheNumberOfALocalisedText)
{
    const InstalledTexts oInstalled;
    CVQDataStream oSaved(CVQDataStream::STORING);
    WriteStreamString(oSaved, CVQString(CVQStringId(TEXT_START)));
    g_bGerman = true;
    CVQDataStream oLoaded(oSaved);
    CVQString oText;
    ReadStreamString(oLoaded, oText);
    EXPECT_EQ(oText, "Los!");
}

// As a program would say it, which a test must not do for all others; see the next one.
TEST(IsolatedStringsGuide, TakesTheUsersLocale)
{
    std::setlocale(LC_CTYPE, "");   // Linux: the user's, mostly UTF-8
    std::setlocale(LC_COLLATE, ""); // and the user's alphabet
    EXPECT_EQ(CVQString(sctFormat, "%.1f", 1.5), "1.5");
}

TEST(IsolatedStringsGuide, KeepsCharactersWhole)
{
    const CTestLocale oLocale(eTestText::Utf8);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    CVQString oName("pärchen");
    EXPECT_EQ(oName.GetLength(), 8); // ä has two
    EXPECT_EQ(oName.Find('r'), 3);
    oName.MakeUpper();
    EXPECT_EQ(oName, "PÄRCHEN");
    oName.MakeReverse();
    EXPECT_EQ(oName, "NEHCRÄP");
    EXPECT_EQ(oName.Left(6), "NEHCR\xC3"); // half a character: Left, Mid and Right count bytes
}

TEST(StringsGuide, MakesPaths)
{
    EXPECT_STREQ(~SavePath("Ann", 2), "saves/Ann/slot2.sav");
    CVQPath oJoined("a");
    oJoined += "b";
    EXPECT_STREQ(~oJoined, "a\\b");

    EXPECT_TRUE(CVQPath("game").IsBelow("Game/data"));
    EXPECT_FALSE(CVQPath("game/data").IsBelow("game"));
    EXPECT_FALSE(CVQPath("game/data").IsSame("game\\data", 0, false, false));
    EXPECT_TRUE(CVQPath("/data").GetPath().IsEmpty());
    EXPECT_STREQ(CVQFourCC("DATA").ToString(), "DATA");
}

TEST(StringsGuide, TellsThePartsOfAPath)
{
    const std::string sPage = ReadWholeFile(GetTestPath("../docs/strings-and-paths.md"));
    const CVQPath oPath("game/data/level.1.dat");
    const auto ExpectRow = [&sPage](const char* pCall, const std::string& sResult)
    {
        const std::string sRow = std::string("| `") + pCall + "` | `" + sResult + "` |\n";
        EXPECT_NE(sPage.find(sRow), std::string::npos) << sRow;
    };
    ExpectRow("GetPath()", ~oPath.GetPath());
    ExpectRow("GetFileName(true)", ~oPath.GetFileName(true));
    ExpectRow("GetFileName(false)", ~oPath.GetFileName(false));
    ExpectRow("GetExtension()", ~oPath.GetExtension());
    ExpectRow("GetNumPathComponents()", std::to_string(oPath.GetNumPathComponents()));
    ExpectRow("GetComponent(1, 2)", ~oPath.GetComponent(1, 2));
}

TEST(StringsGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("strings-and-paths.md", "House/StringsGuide_test.cpp"), "");
}
