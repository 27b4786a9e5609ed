#include <Common/Platform/PlatformDirectory.h>

#include <Common/Platform/PlatformFile.h>

#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace
{
std::string WorkingDirectory()
{
    char aPath[1024];
    return DIR_GetWorkingDirectory(aPath, sizeof(aPath)) == 1 ? aPath : "(none)";
}
} // namespace

TEST(PlatformDirectory, CreatesChangesAndRemoves)
{
    const CTestDirectory oDirectory;
    EXPECT_EQ(DIR_Create("a"), 1);
    EXPECT_TRUE(fs::is_directory(oDirectory.PathOf("a")));
    EXPECT_EQ(DIR_Create("a"), -1);
    EXPECT_EQ(DIR_Create("a/b"), 1);
    EXPECT_EQ(DIR_Create("x/y"), -1);
    EXPECT_EQ(DIR_Remove("a"), -1);
    EXPECT_EQ(DIR_Change("a/b"), 1);
    EXPECT_EQ(fs::path(WorkingDirectory()), fs::path(oDirectory.PathOf("a")) / "b");
    EXPECT_EQ(DIR_Change("../.."), 1);
    EXPECT_EQ(WorkingDirectory(), oDirectory.GetPath());
    EXPECT_EQ(DIR_Remove("a/b"), 1);
    EXPECT_EQ(DIR_Remove("a"), 1);
    EXPECT_EQ(DIR_Remove("a"), -1);
    EXPECT_FALSE(oDirectory.Has("a"));
}

TEST(PlatformDirectory, RefusesWhatIsNoDirectory)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("file", "x");
    oDirectory.Write("full/file", "x");
    for (const char* pPath : {"file", "file/", "missing", "missing/x", ""})
    {
        EXPECT_EQ(DIR_Change(pPath), -1) << pPath;
        EXPECT_EQ(DIR_Remove(pPath), -1) << pPath;
    }
    EXPECT_EQ(DIR_Create("file"), -1);
    EXPECT_EQ(DIR_Create("file/x"), -1);
    EXPECT_EQ(DIR_Create(""), -1);
    EXPECT_EQ(DIR_Remove("full"), -1);
    EXPECT_TRUE(oDirectory.Has("full/file"));

    EXPECT_EQ(DIR_Create(nullptr), -1);
    EXPECT_EQ(DIR_Remove(nullptr), -1);
    EXPECT_EQ(DIR_Change(nullptr), -1);
    const std::string sLong(5000, 'n');
    EXPECT_EQ(DIR_Create(sLong.c_str()), -1);
    EXPECT_EQ(DIR_Remove(sLong.c_str()), -1);
    EXPECT_EQ(DIR_Change(sLong.c_str()), -1);
    EXPECT_EQ(WorkingDirectory(), oDirectory.GetPath());
}

TEST(PlatformDirectory, TakesBothSeparatorsAndOneAtTheEnd)
{
    const CTestDirectory oDirectory;
    EXPECT_EQ(DIR_Create("a\\"), 1);
    EXPECT_EQ(DIR_Create("a\\b/"), 1);
    EXPECT_TRUE(fs::is_directory(oDirectory.PathOf("a/b")));
    EXPECT_EQ(DIR_Change(".\\a/b\\"), 1);
    EXPECT_EQ(DIR_Change("..\\..\\"), 1);
    EXPECT_EQ(WorkingDirectory(), oDirectory.GetPath());
    EXPECT_EQ(DIR_Remove("a\\b\\"), 1);
    EXPECT_EQ(DIR_Remove("a/"), 1);
}

TEST(PlatformDirectory, FindsFoldersWithoutRegardToCase)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("Outer/Inner");
    EXPECT_EQ(DIR_Change("OUTER\\inner"), 1);
    EXPECT_EQ(DIR_Change("../../outer/INNER/"), 1);
    EXPECT_EQ(DIR_Change("../.."), 1);
    EXPECT_EQ(DIR_Create("outer/new"), 1);
    EXPECT_TRUE(oDirectory.Has("Outer/new"));
    EXPECT_EQ(DIR_Remove("OUTER/new"), 1);
    EXPECT_FALSE(oDirectory.Has("Outer/new"));
}

TEST(PlatformDirectory, CreatesAndRemovesTheLastNameAsItStands)
{
    if (!HasCaseSensitiveNames())
        GTEST_SKIP() << "names that differ in case only cannot stand side by side on this system";

    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("Outer/Name");
    EXPECT_EQ(DIR_Remove("outer/NAME"), -1);
    EXPECT_EQ(DIR_Create("outer/NAME"), 1);
    EXPECT_EQ(DIR_Remove("outer/NAME"), 1);
    EXPECT_TRUE(oDirectory.Has("Outer/Name"));
    EXPECT_FALSE(oDirectory.Has("outer"));
}

TEST(PlatformDirectory, StoresTheWorkingDirectoryWhenItFits)
{
    const CTestDirectory oDirectory;
    const int nLength = static_cast<int>(oDirectory.GetPath().size());
    char aPath[1024];
    std::memset(aPath, '?', sizeof(aPath));
    EXPECT_EQ(DIR_GetWorkingDirectory(aPath, nLength + 1), 1);
    EXPECT_EQ(aPath, oDirectory.GetPath());
    EXPECT_EQ(aPath[nLength + 1], '?');
    for (const int nSize : {nLength, nLength - 1, 1, 0, -1, INT_MIN})
    {
        aPath[nLength] = '?';
        EXPECT_EQ(DIR_GetWorkingDirectory(aPath, nSize), -1) << nSize;
        EXPECT_EQ(aPath[nLength], '?') << nSize;
    }
    EXPECT_EQ(DIR_GetWorkingDirectory(nullptr, 1024), -1);
    EXPECT_EQ(DIR_GetWorkingDirectory(aPath, INT_MAX), 1);
    EXPECT_EQ(aPath, oDirectory.GetPath());
}

TEST(PlatformDirectory, TellsNoWorkingDirectoryThatIsGone)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system removes no directory that is the current one";

    const CTestDirectory oDirectory;
    ASSERT_EQ(DIR_Create("gone"), 1);
    ASSERT_EQ(DIR_Change("gone"), 1);
    EXPECT_EQ(DIR_Remove("../gone"), 1);
    char aPath[1024];
    EXPECT_EQ(DIR_GetWorkingDirectory(aPath, sizeof(aPath)), -1);
    EXPECT_EQ(FILE_Open("x", "wb"), -1);
    EXPECT_EQ(FILE_Open("X", "rb"), -1);
}
