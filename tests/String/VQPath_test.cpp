#include <Common/String/VQPath.h>

#include <tests/support/TestDirectory.h>
#include <tests/support/TestLocale.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{
std::string Text(const CVQPath& oPath)
{
    return oPath.IsEmpty() ? "" : ~oPath;
}

std::string Text(const CVQString& oText)
{
    return oText.IsEmpty() ? "" : ~oText;
}

/// A path with a text that is empty but has a buffer.
CVQPath Emptied()
{
    CVQPath oPath("abc");
    oPath.Empty();
    return oPath;
}
} // namespace

// ------------------------------------------------------------------------------------------------ text

TEST(VQPath, HoldsTheTextAsItWasWritten)
{
    EXPECT_EQ(~CVQPath(), nullptr);
    EXPECT_TRUE(CVQPath().IsEmpty());
    EXPECT_EQ(CVQPath().GetLength(), 0);

    const CVQPath oPath("C:\\a/b//c\\");
    EXPECT_STREQ(~oPath, "C:\\a/b//c\\");
    EXPECT_EQ(oPath.GetLength(), 10);
    EXPECT_FALSE(oPath.IsEmpty());

    EXPECT_STREQ(~CVQPath(CVQString("x/y")), "x/y");
    const CVQPath oCopy(oPath);
    EXPECT_STREQ(~oCopy, ~oPath);
    EXPECT_NE(~oCopy, ~oPath);

    const CVQString& oText = oPath;
    EXPECT_EQ(~oText, ~oPath);
}

TEST(VQPath, AssignmentsReplaceTheText)
{
    CVQPath oPath("old");
    EXPECT_EQ(&(oPath = CVQPath("a/b")), &oPath);
    EXPECT_STREQ(~oPath, "a/b");
    EXPECT_EQ(&(oPath = CVQString("c")), &oPath);
    EXPECT_STREQ(~oPath, "c");
    EXPECT_EQ(&(oPath = "d/e"), &oPath);
    EXPECT_STREQ(~oPath, "d/e");

    const CVQPath oOther("f");
    oPath = oOther;
    EXPECT_STREQ(~oPath, "f");
    EXPECT_STREQ(~oOther, "f");

    const CVQPath oMoved(std::move(oPath));
    EXPECT_STREQ(~oMoved, "f");
}

TEST(VQPath, EmptiesItsText)
{
    CVQPath oPath("abc");
    oPath.Empty();
    EXPECT_TRUE(oPath.IsEmpty());
    EXPECT_EQ(oPath.GetLength(), 0);
    EXPECT_STREQ(~oPath, "");
}

TEST(VQPath, ComparesWithoutCase)
{
    EXPECT_EQ(CVQPath("A/b").CompareNoCase("a/B"), 0);
    EXPECT_LT(CVQPath("a").CompareNoCase("B"), 0);
    EXPECT_GT(CVQPath("b").CompareNoCase("A"), 0);
    EXPECT_EQ(CVQPath().CompareNoCase(""), 0);
    EXPECT_EQ(CVQPath().CompareNoCase(nullptr), 0);
    EXPECT_GT(CVQPath("a").CompareNoCase(nullptr), 0);
}

TEST(VQPath, ChangesCase)
{
    CVQPath oPath("Dir\\File.TXT");
    oPath.MakeUpper();
    EXPECT_STREQ(~oPath, "DIR\\FILE.TXT");
    oPath.MakeLower();
    EXPECT_STREQ(~oPath, "dir\\file.txt");
    oPath = "Dir\\File.TXT";
    oPath.MakePretty();
    EXPECT_STREQ(~oPath, "dir\\file.txt");
}

TEST(VQPath, TurnsSeparators)
{
    CVQPath oPath("\\a/b\\c/");
    EXPECT_EQ(oPath.MakeForwardslashes(), 2);
    EXPECT_STREQ(~oPath, "/a/b/c/");
    EXPECT_EQ(oPath.MakeForwardslashes(), 0);
    EXPECT_EQ(oPath.MakeBackwardslashes(), 4);
    EXPECT_STREQ(~oPath, "\\a\\b\\c\\");
    EXPECT_EQ(CVQPath().MakeBackwardslashes(), 0);
}

// ------------------------------------------------------------------------------------------------ separators

TEST(VQPath, KnowsSeparatorsAndDriveLetters)
{
    for (int i = CHAR_MIN; i <= CHAR_MAX; ++i)
    {
        const auto c = static_cast<char>(i);
        EXPECT_EQ(CVQPath::IsSlash(c), c == '\\' || c == '/') << i;
        EXPECT_EQ(CVQPath::IsDriveLetter(c),
                  i != 0 &&
                      std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz").find(c) != std::string::npos)
            << i;
    }
}

TEST(VQPath, TestsItsEnds)
{
    const struct
    {
        const char* pText;
        bool bLeadingBack;
        bool bLeadingForward;
        bool bTrailingBack;
        bool bTrailingForward;
    } aCases[] = {
        {"a", false, false, false, false},     {"\\a", true, false, false, false}, {"/a", false, true, false, false},
        {"a\\", false, false, true, false},    {"a/", false, false, false, true},  {"\\", true, false, true, false},
        {"/", false, true, false, true},       {"\\a/", true, false, false, true}, {"a/b", false, false, false, false},
        {nullptr, false, false, false, false}, {"", false, false, false, false},
    };

    for (const auto& oCase : aCases)
    {
        const CVQPath oPath(oCase.pText);
        EXPECT_EQ(oPath.HasLeadingBackslash(), oCase.bLeadingBack) << Text(oPath);
        EXPECT_EQ(oPath.HasLeadingForwardslash(), oCase.bLeadingForward) << Text(oPath);
        EXPECT_EQ(oPath.HasLeadingSlash(), oCase.bLeadingBack || oCase.bLeadingForward) << Text(oPath);
        EXPECT_EQ(oPath.HasTrailingBackslash(), oCase.bTrailingBack) << Text(oPath);
        EXPECT_EQ(oPath.HasTrailingForwardslash(), oCase.bTrailingForward) << Text(oPath);
        EXPECT_EQ(oPath.HasTrailingSlash(), oCase.bTrailingBack || oCase.bTrailingForward) << Text(oPath);
    }

    EXPECT_FALSE(Emptied().HasLeadingSlash());
    EXPECT_FALSE(Emptied().HasTrailingSlash());
}

TEST(VQPath, AddsSeparators)
{
    const struct
    {
        const char* pText;
        void (CVQPath::*pfnAdd)();
        const char* pResult;
    } aCases[] = {
        {"x", &CVQPath::AddTrailingBackslash, "x\\"},    {"x/", &CVQPath::AddTrailingBackslash, "x/\\"},
        {"x\\", &CVQPath::AddTrailingBackslash, "x\\"},  {"x", &CVQPath::AddTrailingForwardslash, "x/"},
        {"x/", &CVQPath::AddTrailingForwardslash, "x/"}, {"x\\", &CVQPath::AddTrailingForwardslash, "x\\/"},
        {"x", &CVQPath::AddLeadingBackslash, "\\x"},     {"/x", &CVQPath::AddLeadingBackslash, "\\/x"},
        {"\\x", &CVQPath::AddLeadingBackslash, "\\x"},   {"x", &CVQPath::AddLeadingForwardslash, "/x"},
        {"/x", &CVQPath::AddLeadingForwardslash, "/x"},  {"\\x", &CVQPath::AddLeadingForwardslash, "/\\x"},
        {nullptr, &CVQPath::AddTrailingBackslash, "\\"}, {nullptr, &CVQPath::AddTrailingForwardslash, "/"},
        {nullptr, &CVQPath::AddLeadingBackslash, "\\"},  {nullptr, &CVQPath::AddLeadingForwardslash, "/"},
    };

    for (const auto& oCase : aCases)
    {
        CVQPath oPath(oCase.pText);
        (oPath.*oCase.pfnAdd)();
        EXPECT_EQ(Text(oPath), oCase.pResult);
    }
}

TEST(VQPath, RemovesOneSeparator)
{
    const struct
    {
        const char* pText;
        void (CVQPath::*pfnRemove)();
        const char* pResult;
    } aCases[] = {
        {"x\\", &CVQPath::RemoveTrailingBackslash, "x"},      {"x\\\\", &CVQPath::RemoveTrailingBackslash, "x\\"},
        {"x/", &CVQPath::RemoveTrailingBackslash, "x/"},      {"x", &CVQPath::RemoveTrailingBackslash, "x"},
        {"x/", &CVQPath::RemoveTrailingForwardslash, "x"},    {"x//", &CVQPath::RemoveTrailingForwardslash, "x/"},
        {"x\\", &CVQPath::RemoveTrailingForwardslash, "x\\"}, {"\\x", &CVQPath::RemoveLeadingBackslash, "x"},
        {"\\\\x", &CVQPath::RemoveLeadingBackslash, "\\x"},   {"/x", &CVQPath::RemoveLeadingBackslash, "/x"},
        {"\\", &CVQPath::RemoveTrailingBackslash, ""},        {"/", &CVQPath::RemoveTrailingForwardslash, ""},
        {"\\", &CVQPath::RemoveLeadingBackslash, ""},         {nullptr, &CVQPath::RemoveTrailingBackslash, ""},
        {nullptr, &CVQPath::RemoveTrailingForwardslash, ""},  {nullptr, &CVQPath::RemoveLeadingBackslash, ""},
    };

    for (const auto& oCase : aCases)
    {
        CVQPath oPath(oCase.pText);
        (oPath.*oCase.pfnRemove)();
        EXPECT_EQ(Text(oPath), oCase.pResult);
        EXPECT_EQ(oPath.GetLength(), static_cast<long>(std::string(oCase.pResult).size()));
    }
}

TEST(VQPath, RecognisesUniversalNames)
{
    EXPECT_TRUE(CVQPath("\\\\host\\share").IsUNC());
    EXPECT_TRUE(CVQPath("\\\\").IsUNC());
    for (const char* pText : {"\\", "", "\\a", "//host", "\\/host", "/\\host", "a\\\\"})
        EXPECT_FALSE(CVQPath(pText).IsUNC()) << pText;
    EXPECT_FALSE(CVQPath().IsUNC());
}

// ------------------------------------------------------------------------------------------------ joining, parts

TEST(VQPath, Joins)
{
    const struct
    {
        const char* pFirst;
        const char* pSecond;
        const char* pResult;
    } aCases[] = {
        {"game", "data", "game\\data"},   {"game/", "data", "game/data"}, {"game\\", "data", "game\\data"},
        {nullptr, "data", "data"},        {"", "data", "data"},           {"game", "/data", "game\\/data"},
        {"game/", "/data", "game//data"}, {"game", nullptr, "game\\"},    {"game/", nullptr, "game/"},
        {nullptr, nullptr, ""},           {"a", "b/c/", "a\\b/c/"},
    };

    for (const auto& oCase : aCases)
    {
        CVQPath oAppended(oCase.pFirst);
        oAppended.Append(CVQPath(oCase.pSecond));
        EXPECT_EQ(Text(oAppended), oCase.pResult);

        CVQPath oAdded(oCase.pFirst);
        EXPECT_EQ(&(oAdded += CVQPath(oCase.pSecond)), &oAdded);
        EXPECT_EQ(Text(oAdded), oCase.pResult);
    }
}

TEST(VQPath, JoinsWithItself)
{
    CVQPath oPath("a");
    oPath.Append(oPath);
    EXPECT_STREQ(~oPath, "a\\a");
    oPath += oPath;
    EXPECT_STREQ(~oPath, "a\\a\\a\\a");
    oPath = "b/";
    oPath.Append(oPath);
    EXPECT_STREQ(~oPath, "b/b/");

    CVQPath oFresh;
    oFresh.Append(oFresh);
    EXPECT_TRUE(oFresh.IsEmpty());
}

TEST(VQPath, SplitsAtTheLastSeparator)
{
    const struct
    {
        const char* pText;
        const char* pPath;
        const char* pRest;
    } aCases[] = {
        {"a/b/c.txt", "a/b", "c.txt"},
        {"a\\b/c", "a\\b", "c"},
        {"a/b\\c", "a/b", "c"},
        {"a/b/", "a/b", ""},
        {"file", "", "file"},
        {"", "", ""},
        {nullptr, "", ""},
        {"/a/b", "/a", "b"},
        {"//a", "/", "a"},
        {"a/", "a", ""},
        // a separator at position 0 is not seen
        {"/file", "", "/file"},
        {"\\file", "", "\\file"},
        {"/", "", "/"},
    };

    for (const auto& oCase : aCases)
    {
        CVQPath oPath(oCase.pText);
        EXPECT_EQ(Text(oPath.GetPath()), oCase.pPath) << Text(oPath);
        oPath.StripPath();
        EXPECT_EQ(Text(oPath), oCase.pRest);
    }
}

TEST(VQPath, GivesTheFileName)
{
    const struct
    {
        const char* pText;
        const char* pWith;
        const char* pWithout;
    } aCases[] = {
        {"dir/name.txt", "name.txt", "name"},
        {"dir/name.txt/", "name.txt", "name"},
        {"dir/.cfg", ".cfg", ""},
        {"name", "name", "name"},
        {"name.tar.gz", "name.tar.gz", "name.tar"},
        {"dir.old/file", "file", "file"},
        {"\\name.x", "name.x", "name"},
        {"a\\b\\c.d\\", "c.d", "c"},
        {"a//", "", ""},
        {"/", "", ""},
        {"//", "", ""},
        {"", "", ""},
        {nullptr, "", ""},
        {"name.", "name.", "name"},
        {"..", "..", "."},
        {"a/b//", "", ""},
    };

    for (const auto& oCase : aCases)
    {
        const CVQPath oPath(oCase.pText);
        EXPECT_EQ(Text(oPath.GetFileName(true)), oCase.pWith) << Text(oPath);
        EXPECT_EQ(Text(oPath.GetFileName(false)), oCase.pWithout) << Text(oPath);
    }
}

TEST(VQPath, FindsTheExtension)
{
    const struct
    {
        const char* pText;
        int nPosition;
        const char* pExtension;
        const char* pRest;
    } aCases[] = {
        {"dir.old/file", -1, "", "dir.old/file"},
        {"dir/file.tar.gz", 12, ".gz", "dir/file.tar"},
        {"file.txt", 4, ".txt", "file"},
        {".cfg", -1, "", ".cfg"},
        {"dir/.cfg", -1, "", "dir/.cfg"},
        {"dir/a.cfg", 5, ".cfg", "dir/a"},
        {"dir/a.cfg/", 5, ".cfg/", "dir/a"},
        {"dir.x/name/", -1, "", "dir.x/name/"},
        {"file.", 4, ".", "file"},
        {"file", -1, "", "file"},
        {"/.a", -1, "", "/.a"},
        {"/b.a", 2, ".a", "/b"},
        {".", -1, "", "."},
        {"..", 1, ".", "."},
        {"", -1, "", ""},
        {nullptr, -1, "", ""},
        {"/", -1, "", "/"},
    };

    for (const auto& oCase : aCases)
    {
        CVQPath oPath(oCase.pText);
        EXPECT_EQ(oPath.FindExtension(), oCase.nPosition) << Text(oPath);
        EXPECT_EQ(Text(oPath.GetExtension()), oCase.pExtension) << Text(oPath);
        oPath.RemoveExtension();
        EXPECT_EQ(Text(oPath), oCase.pRest);
    }
}

TEST(VQPath, AddsAnExtensionAsItIs)
{
    CVQPath oPath("file");
    oPath.AddExtension("txt");
    EXPECT_STREQ(~oPath, "filetxt");
    oPath.AddExtension(".gz");
    EXPECT_STREQ(~oPath, "filetxt.gz");
    oPath.AddExtension(CVQString());
    EXPECT_STREQ(~oPath, "filetxt.gz");
    oPath = "a.b";
    oPath.AddExtension(oPath);
    EXPECT_STREQ(~oPath, "a.ba.b");

    CVQPath oFresh;
    oFresh.AddExtension(".x");
    EXPECT_STREQ(~oFresh, ".x");
}

// ------------------------------------------------------------------------------------------------ components

TEST(VQPath, CountsComponents)
{
    const struct
    {
        const char* pText;
        int nCount;
    } aCases[] = {
        {nullptr, 0}, {"", 0},   {"a", 1},      {"a/b", 2}, {"a/b/", 2}, {"/a/b", 2}, {"a//b", 3},  {"/", 0},
        {"//", 1},    {"a/", 1}, {"a\\b/c", 3}, {"/a", 1},  {"///", 2},  {"a//", 2},  {"C:\\a", 2}, {"\\\\h\\s", 3},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQPath(oCase.pText).GetNumPathComponents(), oCase.nCount)
            << (oCase.pText != nullptr ? oCase.pText : "null");
}

TEST(VQPath, GivesThePositionOfAComponent)
{
    const struct
    {
        const char* pText;
        int nIndex;
        int nPosition;
    } aCases[] = {
        {"a/b/c", 0, 0}, {"a/b/c", 1, 2},     {"a/b/c", 2, 4},     {"a/b/c", 3, 0}, {"a/b/c", -1, 0},
        {"/a/b", 0, 1},  {"/a/b", 1, 3},      {"/a/b", 2, 0},      {"a/b/", 2, 4},  {"a//b", 1, 2},
        {"a//b", 2, 3},  {"", 0, 0},          {nullptr, 1, 0},     {"/", 0, 1},     {"/", 1, 0},
        {"a\\b", 1, 2},  {"a/b", INT_MIN, 0}, {"a/b", INT_MAX, 0}, {"//a", 0, 1},   {"//a", 1, 2},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQPath(oCase.pText).GetComponentPosition(oCase.nIndex), oCase.nPosition)
            << (oCase.pText != nullptr ? oCase.pText : "null") << " " << oCase.nIndex;
}

TEST(VQPath, GivesARunOfComponents)
{
    const struct
    {
        const char* pText;
        int nStart;
        int nCount;
        const char* pResult;
    } aCases[] = {
        {"a/b/c", 0, 0, ""},      {"a/b/c", 0, 1, "a"},     {"a/b/c", 0, 2, "a/b"},
        {"a/b/c", 0, 3, "a/b/c"}, {"a/b/c", 1, 1, "b"},     {"a/b/c", 1, 2, "b/c"},
        {"a/b/c", 2, 1, "c"},     {"a/b/c", 2, 3, "c"},     {"a/b/c", 1, 0, ""},
        {"/a/b", 0, 1, "a"},      {"/a/b", 0, 2, "a/b"},    {"/a/b", 1, 1, "b"},
        {"a/b/", 0, 2, "a/b"},    {"a/b/", 1, 1, "b"},      {"a/b/", 1, 2, "b/"},
        {"a/b/", 0, 3, "a/b/"},   {"a\\b/c", 0, 2, "a\\b"}, {"a//b", 1, 1, ""},
        {"a//b", 0, 2, "a/"},     {"a//b", 2, 1, "b"},      {"", 0, 1, ""},
        {nullptr, 0, 1, ""},      {nullptr, 0, 0, ""},      {"a", 0, 5, "a"},
        {"/", 0, 1, ""},          {"//", 0, 1, ""},         {"a/b", 7, 1, "a/b"},
        {"a/b", 1, INT_MAX, "b"}, {"/a/b", 7, 1, "/a/b"},   {"a/b", INT_MAX, INT_MAX, "a/b"},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(Text(CVQPath(oCase.pText).GetComponent(oCase.nStart, oCase.nCount)), oCase.pResult)
            << (oCase.pText != nullptr ? oCase.pText : "null") << " " << oCase.nStart << ", " << oCase.nCount;
}

TEST(VQPath, WalksThroughItsComponents)
{
    const struct
    {
        const char* pText;
        std::vector<std::string> oComponents;
        std::vector<long> oPositions;
    } aCases[] = {
        {"a/b/", {"a", "b", ""}, {1, 3, 4}},
        {"a/b", {"a", "b"}, {1, 3}},
        {"/a/b", {"a", "b"}, {2, 4}},
        {"a", {"a"}, {1}},
        {"/", {""}, {1}},
        {"a//b", {"a", "", "b"}, {1, 2, 4}},
        {"ab\\cd/ef", {"ab", "cd", "ef"}, {2, 5, 8}},
        {"", {}, {}},
        {nullptr, {}, {}},
    };

    for (const auto& oCase : aCases)
    {
        const CVQPath oPath(oCase.pText);
        std::vector<std::string> oComponents;
        std::vector<long> oPositions;
        CVQString oComponent;
        long nPosition = 77;
        for (bool bGo = oPath.GetFirstComponent(oComponent, nPosition); bGo && oComponents.size() < 10;
             bGo = oPath.GetNextComponent(oComponent, nPosition))
        {
            oComponents.push_back(Text(oComponent));
            oPositions.push_back(nPosition);
        }
        EXPECT_EQ(oComponents, oCase.oComponents) << Text(oPath);
        EXPECT_EQ(oPositions, oCase.oPositions) << Text(oPath);
        EXPECT_EQ(nPosition, oPath.GetLength()) << Text(oPath);
    }
}

TEST(VQPath, WalkUsesTheBufferOfItsComponent)
{
    const CVQPath oPath("long component/b//c");
    CVQString oComponent;
    long nPosition = 0;
    EXPECT_TRUE(oPath.GetFirstComponent(oComponent, nPosition));
    EXPECT_STREQ(~oComponent, "long component");
    EXPECT_EQ(oComponent.GetData()->m_nAllocatedLength, 14);
    EXPECT_EQ(oComponent.GetData()->m_nLockCount, 1);

    EXPECT_TRUE(oPath.GetNextComponent(oComponent, nPosition));
    EXPECT_STREQ(~oComponent, "b");
    EXPECT_EQ(oComponent.GetLength(), 1);
    EXPECT_EQ(oComponent.GetData()->m_nLockCount, 1);
    EXPECT_TRUE(oPath.GetNextComponent(oComponent, nPosition));
    EXPECT_STREQ(~oComponent, "");
    EXPECT_TRUE(oPath.GetNextComponent(oComponent, nPosition));
    EXPECT_STREQ(~oComponent, "c");
}

TEST(VQPath, WalkFromOutsideOfTheTextIsRefusedOrBeginsAtItsStart)
{
    const CVQPath oPath("a/b");
    CVQString oComponent("kept");
    long nPosition = 3;
    EXPECT_FALSE(oPath.GetNextComponent(oComponent, nPosition));
    nPosition = 1000;
    EXPECT_FALSE(oPath.GetNextComponent(oComponent, nPosition));
    EXPECT_STREQ(~oComponent, "kept");

    nPosition = -5;
    EXPECT_TRUE(oPath.GetNextComponent(oComponent, nPosition));
    EXPECT_STREQ(~oComponent, "a");
    EXPECT_EQ(nPosition, 1);
}

// ------------------------------------------------------------------------------------------------ drives, disk

TEST(VQPath, GivesTheDriveNumber)
{
    const struct
    {
        const char* pText;
        int nDrive;
    } aCases[] = {
        {"c:\\temp", 2}, {"C:", 2},      {"A:", 0},  {"a:x", 0}, {"Z:", 25},  {"z:/", 25},
        {"1:", -1},      {"[:", -1},     {"c", -1},  {":", -1},  {"cc:", -1}, {"", -1},
        {nullptr, -1},   {"\\\\c:", -1}, {"@:", -1}, {"`:", -1}, {"{:", -1},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(CVQPath(oCase.pText).GetDriveNumber(), oCase.nDrive)
            << (oCase.pText != nullptr ? oCase.pText : "null");
}

TEST(VQPath, BuildsTheRootOfADrive)
{
    EXPECT_STREQ(~CVQPath::BuildRoot(0), "A:\\");
    EXPECT_STREQ(~CVQPath::BuildRoot(2), "C:\\");
    EXPECT_STREQ(~CVQPath::BuildRoot(25), "Z:\\");
    for (const int nDrive : {-1, 26, INT_MIN, INT_MAX})
        EXPECT_TRUE(CVQPath::BuildRoot(nDrive).IsEmpty()) << nDrive;
    for (int i = 0; i < 26; ++i)
        EXPECT_EQ(CVQPath::BuildRoot(i).GetDriveNumber(), i);
}

TEST(VQPath, AsksTheDiskForAttributes)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("folder");
    oDirectory.Write("folder/file.txt", "abc");

    constexpr unsigned long DIRECTORY = 0x04;
    EXPECT_EQ(CVQPath("folder").GetAttributes() & DIRECTORY, DIRECTORY);
    EXPECT_EQ(CVQPath("folder/file.txt").GetAttributes() & DIRECTORY, 0U);
    EXPECT_NE(CVQPath("folder\\file.txt").GetAttributes(), 0xFFFFFFFFUL);
    EXPECT_EQ(CVQPath("folder/none.txt").GetAttributes(), 0xFFFFFFFFUL);
    EXPECT_EQ(CVQPath().GetAttributes(), 0xFFFFFFFFUL);
    EXPECT_EQ(Emptied().GetAttributes(), 0xFFFFFFFFUL);

    EXPECT_EQ(CVQPath::GetPathAttributes("folder") & DIRECTORY, DIRECTORY);
    EXPECT_EQ(CVQPath::GetPathAttributes(CVQPath("folder")) & DIRECTORY, DIRECTORY);
    EXPECT_EQ(CVQPath::GetPathAttributes("none"), 0xFFFFFFFFUL);
    EXPECT_EQ(CVQPath::GetPathAttributes(CVQString()), 0xFFFFFFFFUL);
}

TEST(VQPath, CompactingDoesNothing)
{
    CVQPath oPath("a/very/long/path");
    oPath.CompactPath(CVQPath("other"), 3);
    EXPECT_STREQ(~oPath, "a/very/long/path");
}

// ------------------------------------------------------------------------------------------------ comparisons

TEST(VQPath, TellsSamePaths)
{
    const struct
    {
        const char* pFirst;
        const char* pSecond;
        bool bIgnoringBoth;
        bool bIgnoringLeading; // the trailing separator counts
        bool bIgnoringTrailing;
        bool bIgnoringNone;
    } aCases[] = {
        {"A/B", "a/b/", true, false, true, false},    {"a/b", "a/b", true, true, true, true},
        {"/a/b", "a/b", true, true, false, false},    {"/a/b/", "a/b", true, false, false, false},
        {"a/b", "a\\b", false, false, false, false},  {"a/b", "a/c", false, false, false, false},
        {"a/b", "a/b/c", false, false, false, false}, {"a//b", "a/b", false, false, false, false},
        {"a/b/", "A/B\\", true, true, true, true},    {"/a", "\\A", true, true, true, true},
        {nullptr, nullptr, true, true, true, true},   {nullptr, "", true, true, true, true},
        {nullptr, "/", true, false, false, false},    {"a/x/c", "a/y/c", false, false, false, false},
        {"ab/c", "a/bc", false, false, false, false}, {"//a", "/a", false, false, false, false},
    };

    for (const auto& oCase : aCases)
    {
        const CVQPath oFirst(oCase.pFirst);
        const CVQPath oSecond(oCase.pSecond);
        const std::string sNames = Text(oFirst) + " and " + Text(oSecond);
        for (const int nUnused : {0, 1, -7})
        {
            EXPECT_EQ(oFirst.IsSame(oSecond, nUnused, true, true), oCase.bIgnoringBoth) << sNames;
            EXPECT_EQ(oFirst.IsSame(oSecond, nUnused, true, false), oCase.bIgnoringLeading) << sNames;
            EXPECT_EQ(oFirst.IsSame(oSecond, nUnused, false, true), oCase.bIgnoringTrailing) << sNames;
            EXPECT_EQ(oFirst.IsSame(oSecond, nUnused, false, false), oCase.bIgnoringNone) << sNames;
            EXPECT_EQ(oSecond.IsSame(oFirst, nUnused, true, true), oCase.bIgnoringBoth) << sNames;
        }
    }
}

TEST(VQPath, TellsWhichPathLiesInside)
{
    const struct
    {
        const char* pOuter;
        const char* pInner;
        bool bBelow; // the inner one lies inside the outer one
        bool bSame;
    } aCases[] = {
        {"a", "a/b", true, false},      {"A/", "a/b", true, false}, {"a/b", "A/B/C/d", true, false},
        {"a", "a", false, true},        {"a", "a/", false, true},   {"a/b", "a", false, false},
        {"a", "ab/c", false, false},    {"a", "b/c", false, false}, {"a/b", "a\\b\\c", false, false},
        {nullptr, "a", true, false},    {"/a", "a/b", true, false}, {nullptr, nullptr, false, true},
        {"a/x", "a/b/c", false, false}, {"/", "a", true, false},
    };

    for (const auto& oCase : aCases)
    {
        const CVQPath oOuter(oCase.pOuter);
        const CVQPath oInner(oCase.pInner);
        const std::string sNames = Text(oOuter) + " and " + Text(oInner);
        EXPECT_EQ(oOuter.IsBelow(oInner), oCase.bBelow) << sNames;
        EXPECT_EQ(oInner.IsAbove(oOuter), oCase.bBelow) << sNames;
        EXPECT_EQ(oOuter.IsBelowOrSame(oInner), oCase.bBelow || oCase.bSame) << sNames;
        EXPECT_TRUE(oOuter.IsAboveOrSame(oInner)) << sNames;
        EXPECT_TRUE(oInner.IsAboveOrSame(oOuter)) << sNames;
    }
}

TEST(VQPath, AnythingIsAboveOrSame)
{
    for (const char* pFirst : {"", "a", "a/b", "C:\\x", "/"})
        for (const char* pSecond : {"", "b", "a/b/c", "D:\\", "\\"})
            EXPECT_TRUE(CVQPath(pFirst).IsAboveOrSame(CVQPath(pSecond)));
}

// ------------------------------------------------------------------------------------------------ multi-byte text

TEST(IsolatedVQPath, ABackslashWithinACharacterIsNoSeparatorToTurnOrToSplitAt)
{
    const CTestLocale oLocale(eTestText::ShiftJis);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    CVQPath oPath("\x95\x5C\\\x83\x5Cx");
    EXPECT_STREQ(~oPath.GetPath(), "\x95\x5C");
    EXPECT_EQ(oPath.MakeForwardslashes(), 1);
    EXPECT_STREQ(~oPath, "\x95\x5C/\x83\x5Cx");
    oPath.StripPath();
    EXPECT_STREQ(~oPath, "\x83\x5Cx");
}

// ------------------------------------------------------------------------------------------------ layout

TEST(VQPath, HoldsOneStringBehindItsTable)
{
    const CVQPath oPath("abc");
    const CVQString& oText = oPath;
    EXPECT_EQ(reinterpret_cast<const char*>(&oText), reinterpret_cast<const char*>(&oPath) + sizeof(void*));
    EXPECT_EQ(sizeof(CVQPath), sizeof(void*) + sizeof(CVQString));
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQPath>);
}
