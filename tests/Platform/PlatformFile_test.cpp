#include <Common/Platform/PlatformFile.h>

#include <Common/Platform/PlatformDirectory.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Fork.h>
#include <tests/support/Sanitizer.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestEnvironment.h>
#include <tests/support/TestFile.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace
{
constexpr int SLOT_COUNT = 1024;
constexpr int NOT_OPEN[] = {-1, SLOT_COUNT, SLOT_COUNT + 1, INT_MAX, INT_MIN, SLOT_COUNT - 1};

/// A file that is open for one test.
class COpenFile
{
public:
    COpenFile(const std::string& sPath, const char* pMode) : m_nFile(FILE_Open(sPath.c_str(), pMode)) {}

    ~COpenFile()
    {
        if (m_nFile != -1)
            FILE_Close(m_nFile);
    }

    COpenFile(const COpenFile&) = delete;
    COpenFile& operator=(const COpenFile&) = delete;

    operator int() const { return m_nFile; }

    int Close()
    {
        const int nFile = m_nFile;
        m_nFile = -1;
        return FILE_Close(nFile);
    }

private:
    int m_nFile;
};

bool Opens(const std::string& sPath, const char* pMode)
{
    const COpenFile oFile(sPath, pMode);
    return oFile != -1;
}

/// What a file that is found under a path begins with; "(closed)" when none is.
std::string FirstBytes(const std::string& sPath)
{
    const COpenFile oFile(sPath, "rb");
    if (oFile == -1)
        return "(closed)";
    char aBytes[64];
    return std::string(aBytes, FILE_Read(oFile, aBytes, 1, sizeof(aBytes)));
}

/// What a file with the given attributes is expected to tell: Wine shows every file as one to be archived, whatever was
/// set, and never as normal.
unsigned FileBits(unsigned nBits)
{
    return RunsUnderWine() ? (nBits & ~FILE_ATTR_NORMAL) | FILE_ATTR_ARCHIVE : nBits;
}

#define REQUIRE_SPECIAL_FILES()                                                                                        \
    if (!HasSpecialFiles())                                                                                            \
    GTEST_SKIP() << "this system has no pipes, sockets, links and failing devices among its files"

#define REQUIRE_CASE_SENSITIVE_NAMES()                                                                                 \
    if (!HasCaseSensitiveNames())                                                                                      \
    GTEST_SKIP() << "names that differ in case only cannot stand side by side on this system"
} // namespace

// ---------------------------------------------------------------- handles

TEST(PlatformFile, WritesAndReadsBack)
{
    const CTestDirectory oDirectory;
    COpenFile oWrite("a.bin", "wb");
    ASSERT_NE(oWrite, -1);
    EXPECT_EQ(FILE_Write(oWrite, "ab\ncd\r\x1A", 2, 3), 3u);
    EXPECT_EQ(FILE_Tell(oWrite), 6);
    EXPECT_EQ(oWrite.Close(), 1);
    EXPECT_EQ(oDirectory.Read("a.bin"), "ab\ncd\r");

    COpenFile oRead("a.bin", "rb");
    ASSERT_NE(oRead, -1);
    char aBuffer[8] = {};
    EXPECT_EQ(FILE_Read(oRead, aBuffer, 1, 8), 6u);
    EXPECT_STREQ(aBuffer, "ab\ncd\r");
    EXPECT_EQ(FILE_Read(oRead, aBuffer, 1, 8), 0u);
    EXPECT_EQ(oRead.Close(), 1);
}

TEST(PlatformFile, CountsWholeItems)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("seven", "0123456");
    const COpenFile oFile("seven", "rb");
    char aBuffer[16] = {};
    EXPECT_EQ(FILE_Read(oFile, aBuffer, 4, 3), 1u);
    EXPECT_EQ(FILE_Seek(oFile, 0, 2), 1);
    EXPECT_EQ(FILE_Read(oFile, aBuffer, 0, 3), 0u);
    EXPECT_EQ(FILE_Read(oFile, aBuffer, 3, 0), 0u);
    EXPECT_EQ(FILE_Tell(oFile), 0);
}

TEST(PlatformFile, OpensInEveryMode)
{
    const CTestDirectory oDirectory;

    struct
    {
        const char* pMode;
        bool bOpensMissing;
        bool bOpensExisting;
        const char* pAfterWrite; // what "old" becomes when "NEW!" is written
    } const aCases[] = {
        {"rb", false, true, "old"},     {"r+b", false, true, "NEW!"}, {"rb+", false, true, "NEW!"},
        {"wb", true, true, "NEW!"},     {"w+b", true, true, "NEW!"},  {"ab", true, true, "oldNEW!"},
        {"a+b", true, true, "oldNEW!"}, {"wbx", true, false, "old"},  {"w+bx", true, false, "old"},
        {"", false, false, "old"},      {"b", false, false, "old"},   {"+rb", false, false, "old"},
        {"x", false, false, "old"},
    };

    for (const auto& oCase : aCases)
    {
        SCOPED_TRACE(oCase.pMode);
        EXPECT_EQ(Opens("missing", oCase.pMode), oCase.bOpensMissing);
        EXPECT_EQ(oDirectory.Has("missing"), oCase.bOpensMissing);
        if (oCase.bOpensMissing)
            oDirectory.Remove("missing");

        oDirectory.Write("existing", "old");
        {
            const COpenFile oFile("existing", oCase.pMode);
            EXPECT_EQ(oFile != -1, oCase.bOpensExisting);
            if (oFile != -1)
                FILE_Write(oFile, "NEW!", 1, 4);
        }
        EXPECT_EQ(oDirectory.Read("existing"), oCase.pAfterWrite);
    }
}

TEST(PlatformFile, RefusesNullArguments)
{
    EXPECT_EQ(FILE_Open(nullptr, "rb"), -1);
    EXPECT_EQ(FILE_Open("x", nullptr), -1);
    EXPECT_EQ(FILE_Open(nullptr, nullptr), -1);
    EXPECT_EQ(FILE_Delete(nullptr), -1);
    EXPECT_EQ(FILE_GetFileAttributes(nullptr), FILE_ATTR_MISSING);
    EXPECT_EQ(FILE_SetFileAttributes(nullptr, FILE_ATTR_NORMAL), 0);
}

TEST(IsolatedPlatformFile, GivesTheLowestFreeHandle)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "");
    for (int nFile = 0; nFile < 5; ++nFile)
        EXPECT_EQ(FILE_Open("f", "rb"), nFile);

    EXPECT_EQ(FILE_Close(3), 1);
    EXPECT_EQ(FILE_Close(1), 1);
    EXPECT_EQ(FILE_Open("missing", "rb"), -1);
    EXPECT_EQ(FILE_Open("f", "rb"), 1);
    EXPECT_EQ(FILE_Open("f", "rb"), 3);
    EXPECT_EQ(FILE_Open("f", "rb"), 5);
    for (int nFile = 0; nFile < 6; ++nFile)
        EXPECT_EQ(FILE_Close(nFile), 1);
}

TEST(IsolatedPlatformFile, OpensNothingWhenTheTableIsFull)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "");
    if (!AllowOpenFiles(SLOT_COUNT + 64))
        GTEST_SKIP() << "the system does not let this process have 1100 files open";

    for (int nFile = 0; nFile < SLOT_COUNT; ++nFile)
        ASSERT_EQ(FILE_Open("f", "rb"), nFile);

    EXPECT_EQ(FILE_Open("f", "rb"), -1);
    EXPECT_EQ(FILE_Open("new", "wb"), -1);
    EXPECT_FALSE(oDirectory.Has("new"));

    EXPECT_EQ(FILE_Close(700), 1);
    EXPECT_EQ(FILE_Open("f", "rb"), 700);
    EXPECT_EQ(FILE_Open("f", "rb"), -1);

    for (int nFile = 0; nFile < SLOT_COUNT; ++nFile)
        EXPECT_EQ(FILE_Close(nFile), 1);
}

TEST(PlatformFile, AnswersForHandlesThatAreNotOpen)
{
    char aBuffer[4] = {'x', 'x', 'x', 'x'};
    for (const int nFile : NOT_OPEN)
    {
        SCOPED_TRACE(nFile);
        EXPECT_EQ(FILE_Close(nFile), -1);
        EXPECT_EQ(FILE_Read(nFile, aBuffer, 1, 4), 0u);
        EXPECT_EQ(FILE_Write(nFile, aBuffer, 1, 4), 0u);
        EXPECT_EQ(FILE_Gets(nFile, aBuffer, 4), -1);
        EXPECT_EQ(FILE_Puts(nFile, "a"), -1);
        EXPECT_EQ(FILE_Tell(nFile), -1);
        EXPECT_EQ(FILE_Seek(nFile, 0, 0), -1);
        EXPECT_EQ(FILE_Flush(nFile), -1);
        EXPECT_EQ(FILE_Printf(nFile, "%d", 1), -1);
    }
    EXPECT_EQ(aBuffer[0], 'x');
}

TEST(PlatformFile, ForgetsAHandleWhenItIsClosed)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "abc");
    const int nFile = FILE_Open("f", "rb");
    ASSERT_NE(nFile, -1);
    EXPECT_EQ(FILE_Close(nFile), 1);

    char cByte = 0;
    EXPECT_EQ(FILE_Close(nFile), -1);
    EXPECT_EQ(FILE_Read(nFile, &cByte, 1, 1), 0u);
    EXPECT_EQ(FILE_Tell(nFile), -1);
}

TEST(IsolatedPlatformFile, KeepsTheSlotOfAFileThatFailedToClose)
{
    REQUIRE_SPECIAL_FILES();

    const int nFile = FILE_Open("/dev/full", "wb");
    ASSERT_EQ(nFile, 0);
    EXPECT_EQ(FILE_Write(nFile, "a", 1, 1), 1u);
    EXPECT_EQ(FILE_Close(nFile), -1);

    char cByte = 0;
    EXPECT_EQ(FILE_Close(nFile), -1);
    EXPECT_EQ(FILE_Read(nFile, &cByte, 1, 1), 0u);
    EXPECT_EQ(FILE_Write(nFile, "a", 1, 1), 0u);
    EXPECT_EQ(FILE_Gets(nFile, &cByte, 1), -1);
    EXPECT_EQ(FILE_Puts(nFile, "a"), -1);
    EXPECT_EQ(FILE_Tell(nFile), -1);
    EXPECT_EQ(FILE_Seek(nFile, 0, 2), -1);
    EXPECT_EQ(FILE_Flush(nFile), -1);
    EXPECT_EQ(FILE_Printf(nFile, "a"), -1);

    const int nNext = FILE_Open("/dev/null", "rb");
    EXPECT_EQ(nNext, 1);
    EXPECT_EQ(FILE_Close(nNext), 1);
}

TEST(IsolatedPlatformFile, TellsOfWritesThatFail)
{
    REQUIRE_SPECIAL_FILES();

    const COpenFile oFile("/dev/full", "wb");
    ASSERT_NE(oFile, -1);
    EXPECT_EQ(FILE_Write(oFile, "a", 1, 1), 1u);
    EXPECT_EQ(FILE_Flush(oFile), -1);

    const std::vector<char> oBig(1 << 20, 'b');
    EXPECT_LT(FILE_Write(oFile, oBig.data(), 1, static_cast<unsigned>(oBig.size())), oBig.size());
    const std::string sBig(1 << 20, 'c');
    EXPECT_EQ(FILE_Puts(oFile, sBig.c_str()), 1);
    EXPECT_LT(FILE_Printf(oFile, "%s", sBig.c_str()), 0);
}

TEST(PlatformFile, WritesNothingThroughAHandleForReading)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "abc");
    const COpenFile oFile("f", "rb");
    EXPECT_EQ(FILE_Write(oFile, "x", 1, 1), 0u);
    EXPECT_EQ(FILE_Puts(oFile, "x"), 1);
    EXPECT_LT(FILE_Printf(oFile, "x"), 0);
    EXPECT_EQ(oDirectory.Read("f"), "abc");
}

// ---------------------------------------------------------------- lines, text, positions

TEST(PlatformFile, ReadsLines)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("lines", "one\r\ntwo\n\nlong line\nend");
    const COpenFile oFile("lines", "rb");
    char aLine[6];
    const char* const aExpected[] = {"one\r\n", "two\n", "\n", "long ", "line\n", "end"};
    for (const char* pExpected : aExpected)
    {
        EXPECT_EQ(FILE_Gets(oFile, aLine, sizeof(aLine)), 1);
        EXPECT_STREQ(aLine, pExpected);
    }
    EXPECT_EQ(FILE_Gets(oFile, aLine, sizeof(aLine)), -1);
    EXPECT_EQ(FILE_Gets(oFile, aLine, 0), -1);
    EXPECT_EQ(FILE_Gets(oFile, aLine, -1), -1);
}

TEST(PlatformFile, PutsWithTheInvertedSense)
{
    const CTestDirectory oDirectory;
    COpenFile oFile("f", "wb");
    EXPECT_EQ(FILE_Puts(oFile, "text\n"), -1);
    EXPECT_EQ(FILE_Puts(oFile, ""), -1);
    EXPECT_EQ(oFile.Close(), 1);
    EXPECT_EQ(oDirectory.Read("f"), "text\n");
}

TEST(PlatformFile, PrintsTheSameTextEverywhere)
{
    const CTestDirectory oDirectory;
    COpenFile oFile("f", "wb");
    EXPECT_EQ(FILE_Printf(oFile, "%s %5d|%-4u|%c ", "name", -12, 7u, 'x'), 18);
    EXPECT_EQ(FILE_Printf(oFile, "%lld %zu %.3e %g %a", 1LL << 40, sizeof(short), 1.5, 0.1, 1.0), 36);
    EXPECT_EQ(FILE_Printf(oFile, "%s", ""), 0);
    EXPECT_EQ(oFile.Close(), 1);
    EXPECT_EQ(oDirectory.Read("f"), "name   -12|7   |x 1099511627776 2 1.500e+00 0.1 0x1p+0");
}

TEST(PlatformFile, SeeksFromThreeOrigins)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "0123456789");
    const COpenFile oFile("f", "rb");

    struct
    {
        long nOffset;
        int nOrigin;
        int nResult;
        long nPosition;
    } const aCases[] = {
        {0, 1, 1, 10}, {4, 2, 1, 4},   {3, 0, 1, 7},   {-2, 0, 1, 5},   {-3, 1, 1, 7},  {2, 7, 1, 2},  {5, -1, 1, 5},
        {6, 3, 1, 6},  {-1, 2, -1, 6}, {-7, 0, -1, 6}, {-11, 1, -1, 6}, {20, 2, 1, 20}, {0, 0, 1, 20},
    };

    for (const auto& oCase : aCases)
    {
        EXPECT_EQ(FILE_Seek(oFile, oCase.nOffset, oCase.nOrigin), oCase.nResult)
            << oCase.nOffset << " from " << oCase.nOrigin;
        EXPECT_EQ(FILE_Tell(oFile), oCase.nPosition) << oCase.nOffset << " from " << oCase.nOrigin;
    }

    char cByte = 0;
    EXPECT_EQ(FILE_Seek(oFile, 3, 2), 1);
    EXPECT_EQ(FILE_Read(oFile, &cByte, 1, 1), 1u);
    EXPECT_EQ(cByte, '3');
}

TEST(PlatformFile, AppendsWhereverItStands)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "0123456789");
    {
        const COpenFile oFile("f", "ab");
        EXPECT_EQ(FILE_Write(oFile, "a", 1, 1), 1u);
        EXPECT_EQ(FILE_Flush(oFile), 1); // before it, each system has its own idea of where it stands
        EXPECT_EQ(FILE_Tell(oFile), 11);
        EXPECT_EQ(FILE_Seek(oFile, 2, 2), 1);
        EXPECT_EQ(FILE_Tell(oFile), 2);
        EXPECT_EQ(FILE_Write(oFile, "bc", 1, 2), 2u);
        EXPECT_EQ(FILE_Flush(oFile), 1);
        EXPECT_EQ(FILE_Tell(oFile), 13);
        EXPECT_EQ(oDirectory.Read("f"), "0123456789abc");

        // also behind what another handle has appended meanwhile
        const COpenFile oOther("f", "ab");
        EXPECT_EQ(FILE_Write(oOther, "d", 1, 1), 1u);
        EXPECT_EQ(FILE_Flush(oOther), 1);
        EXPECT_EQ(FILE_Seek(oFile, 0, 2), 1);
        EXPECT_EQ(FILE_Write(oFile, "e", 1, 1), 1u);
        EXPECT_EQ(FILE_Flush(oFile), 1);
        EXPECT_EQ(FILE_Tell(oFile), 15);

        char cByte = '?';
        EXPECT_EQ(FILE_Read(oFile, &cByte, 1, 1), 0u) << "it is for writing only";
        EXPECT_EQ(cByte, '?');
    }
    EXPECT_EQ(oDirectory.Read("f"), "0123456789abcde");

    const COpenFile oBoth("f", "a+b");
    EXPECT_EQ(FILE_Seek(oBoth, 1, 2), 1);
    char aBytes[3] = {};
    EXPECT_EQ(FILE_Read(oBoth, aBytes, 1, 2), 2u);
    EXPECT_STREQ(aBytes, "12");
    EXPECT_EQ(FILE_Seek(oBoth, 0, 0), 1);
    EXPECT_EQ(FILE_Write(oBoth, "f", 1, 1), 1u);
    EXPECT_EQ(FILE_Flush(oBoth), 1);
    EXPECT_EQ(FILE_Tell(oBoth), 16);
    EXPECT_EQ(FILE_Seek(oBoth, -2, 1), 1);
    EXPECT_EQ(FILE_Read(oBoth, aBytes, 1, 2), 2u);
    EXPECT_STREQ(aBytes, "ef");
}

TEST(PlatformFile, ReachesBeyondTwoGibibytes)
{
    const CTestDirectory oDirectory;
    constexpr long MOST = 0x7FFFFFFF;
    COpenFile oFile("big", "wb");
    ASSERT_EQ(FILE_Seek(oFile, MOST, 2), 1);
    EXPECT_EQ(FILE_Tell(oFile), MOST);
    ASSERT_EQ(FILE_Seek(oFile, MOST, 0), 1);
    EXPECT_EQ(FILE_Tell(oFile), sizeof(long) > 4 ? static_cast<long>(std::uint64_t{MOST} * 2) : -1);
    if (FILE_Write(oFile, "z", 1, 1) != 1 || FILE_Flush(oFile) != 1)
        GTEST_SKIP() << "the file system of temporary files takes no file of 4 GiB";
    EXPECT_EQ(oFile.Close(), 1);
    EXPECT_EQ(fs::file_size(oDirectory.PathOf("big")), std::uintmax_t{MOST} * 2 + 1);

    const COpenFile oRead("big", "rb");
    ASSERT_EQ(FILE_Seek(oRead, -1, 1), 1);
    char cByte = 0;
    EXPECT_EQ(FILE_Read(oRead, &cByte, 1, 1), 1u);
    EXPECT_EQ(cByte, 'z');
}

TEST(PlatformFile, FlushesToTheFile)
{
    const CTestDirectory oDirectory;
    const COpenFile oFile("f", "wb");
    EXPECT_EQ(FILE_Write(oFile, "abc", 1, 3), 3u);
    EXPECT_EQ(FILE_Flush(oFile), 1);
    EXPECT_EQ(oDirectory.Read("f"), "abc");
}

// ---------------------------------------------------------------- paths

TEST(PlatformFile, TakesBothSeparators)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a/b/c.txt", "deep");
    const std::string sAbsolute = oDirectory.PathOf("a");
    for (const std::string sPath :
         {"a/b/c.txt", "a\\b\\c.txt", "a/b\\c.txt", ".\\a/.\\b\\..\\b/c.txt", "a//b\\\\c.txt"})
    {
        EXPECT_EQ(FirstBytes(sPath), "deep") << sPath;
        EXPECT_NE(FILE_GetFileAttributes(sPath.c_str()), FILE_ATTR_MISSING) << sPath;
    }
    EXPECT_EQ(FirstBytes(sAbsolute + "\\b\\c.txt"), "deep");

    EXPECT_TRUE(Opens("a\\new.txt", "wb"));
    EXPECT_TRUE(oDirectory.Has("a/new.txt"));
    EXPECT_TRUE(Opens("a\\b\\added.txt", "ab"));
    EXPECT_TRUE(oDirectory.Has("a/b/added.txt"));
    EXPECT_EQ(FILE_Delete("a\\new.txt"), 1);
    EXPECT_FALSE(oDirectory.Has("a/new.txt"));
}

TEST(PlatformFile, FindsNamesWithoutRegardToCase)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("Data/Textures/Wall.TGA", "wall");
    for (const std::string sPath : {"Data/Textures/Wall.TGA", "data/textures/wall.tga", "DATA\\TEXTURES\\WALL.TGA",
                                    "data/Textures/wall.TGA", "./dATA/../data/./textures/WALL.tga"})
    {
        EXPECT_EQ(FirstBytes(sPath), "wall") << sPath;
        EXPECT_NE(FILE_GetFileAttributes(sPath.c_str()), FILE_ATTR_MISSING) << sPath;
        const COpenFile oUpdate(sPath, "r+b");
        EXPECT_NE(oUpdate, -1) << sPath;
    }
    EXPECT_EQ(FirstBytes(oDirectory.PathOf("data") + "/textures\\WALL.TGA"), "wall");
    EXPECT_EQ(FirstBytes("data/textures/wal.tga"), "(closed)");
    EXPECT_EQ(FirstBytes("data/texture/wall.tga"), "(closed)");
    EXPECT_EQ(FirstBytes("data/textures/wall.tga/x"), "(closed)");
    EXPECT_EQ(FirstBytes("data/textures/wall.tga/"), "(closed)");
    EXPECT_EQ(FILE_GetFileAttributes("DATA/TEXTURES/"), FILE_ATTR_DIRECTORY);
}

TEST(PlatformFile, PrefersTheExactNameThenTheFirstInOrder)
{
    REQUIRE_CASE_SENSITIVE_NAMES();

    const CTestDirectory oDirectory;
    oDirectory.Write("file", "small");
    oDirectory.Write("FILE", "capitals");
    oDirectory.Write("File", "first");
    EXPECT_EQ(FirstBytes("file"), "small");
    EXPECT_EQ(FirstBytes("File"), "first");
    EXPECT_EQ(FirstBytes("FILE"), "capitals");
    EXPECT_EQ(FirstBytes("fILE"), "capitals");
    oDirectory.Remove("FILE");
    EXPECT_EQ(FirstBytes("fILE"), "first");
    EXPECT_EQ(FirstBytes("FILE"), "first");

    // On the way too the exact folder counts before the others.
    oDirectory.Write("DIR/only", "capitals");
    oDirectory.MakeDirectory("dir");
    oDirectory.Write("dir/Name", "small");
    EXPECT_EQ(FirstBytes("dir/NAME"), "small");
    EXPECT_EQ(FirstBytes("Dir/ONLY"), "capitals");
}

TEST(PlatformFile, CreatesAndDeletesTheLastNameAsItStands)
{
    REQUIRE_CASE_SENSITIVE_NAMES();

    const CTestDirectory oDirectory;
    oDirectory.Write("Folder/File", "old");
    EXPECT_TRUE(Opens("folder/file", "wb"));
    EXPECT_EQ(oDirectory.Read("Folder/File"), "old");
    EXPECT_EQ(oDirectory.Read("Folder/file"), "");
    EXPECT_FALSE(oDirectory.Has("folder"));

    EXPECT_TRUE(Opens("FOLDER\\FILE", "ab"));
    EXPECT_TRUE(oDirectory.Has("Folder/FILE"));

    EXPECT_EQ(FILE_Delete("folder/fILE"), -1);
    EXPECT_EQ(FILE_Delete("folder/FILE"), 1);
    EXPECT_EQ(oDirectory.Read("Folder/File"), "old");
    EXPECT_TRUE(oDirectory.Has("Folder/file"));
    EXPECT_FALSE(oDirectory.Has("Folder/FILE"));

    EXPECT_FALSE(Opens("missing/file", "wb"));
}

TEST(PlatformFile, FindsWhatIsThereButNotListed)
{
    if (!HasSpecialFiles() || !fs::exists("/proc/thread-self/comm"))
        GTEST_SKIP() << "this system has no directory that does not list all its names";

    // Threads stand in /proc under their numbers, and only processes are listed.
    std::string sFound;
    std::thread(
        [&]
        {
            const std::string sThread = fs::read_symlink("/proc/thread-self").filename().string();
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(FirstBytes("/proc/no such name"), "(closed)");
            sFound = FirstBytes("/proc/" + sThread + "/comm");
        })
        .join();
    EXPECT_EQ(sFound, FirstBytes("/proc/self/comm"));
}

TEST(PlatformFile, SeesAtOnceWhatChangedInADirectory)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");
    EXPECT_EQ(FirstBytes("d/FILE.txt"), "(closed)");
    oDirectory.Write("d/file.TXT", "1");
    EXPECT_EQ(FirstBytes("d/FILE.txt"), "1");
    oDirectory.Remove("d/file.TXT");
    EXPECT_EQ(FirstBytes("d/FILE.txt"), "(closed)");

    // The same after the directory was left alone long enough to be remembered.
    const auto oQuiet = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    while (std::chrono::steady_clock::now() < oQuiet)
        EXPECT_EQ(FirstBytes("d/FILE.txt"), "(closed)");
    oDirectory.Write("d/file.TXT", "2");
    EXPECT_EQ(FirstBytes("d/FILE.txt"), "2");
    fs::rename("d/file.TXT", "d/other.TXT");
    EXPECT_EQ(FirstBytes("d/FILE.txt"), "(closed)");
    EXPECT_EQ(FirstBytes("d/OTHER.txt"), "2");

    // Another directory takes the place of the known one.
    oDirectory.Write("e/file.TXT", "3");
    fs::rename("d", "f");
    fs::rename("e", "d");
    EXPECT_EQ(FirstBytes("d/FILE.txt"), "3");
}

TEST(PlatformFile, SeesEveryChangeInALongRow)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");
    for (int i = 0; i < 500; ++i)
    {
        const std::string sName = "d/Name" + std::to_string(i);
        const std::string sAsked = "D/nAME" + std::to_string(i);
        ASSERT_EQ(FirstBytes(sAsked), "(closed)") << i;
        oDirectory.Write(sName, "x");
        ASSERT_EQ(FirstBytes(sAsked), "x") << i;
        if (i % 2 == 0)
        {
            oDirectory.Remove(sName);
            ASSERT_EQ(FirstBytes(sAsked), "(closed)") << i;
        }
    }
}

TEST(PlatformFile, SeesChangesAfterEveryPause)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");
    for (int i = 0; i < 12; ++i)
    {
        // Long enough for the directory to be remembered, and for the last misses to be answered from memory.
        const auto oQuiet = std::chrono::steady_clock::now() + std::chrono::milliseconds(25);
        while (std::chrono::steady_clock::now() < oQuiet)
            ASSERT_EQ(FirstBytes("d/nAME"), "(closed)") << i;
        const std::string sName = i % 2 == 0 ? "d/nAME" : "d/Name";
        oDirectory.Write(sName, "x");
        ASSERT_EQ(FirstBytes("d/nAME"), "x") << i;
        ASSERT_NE(FILE_GetFileAttributes("d/NAME"), FILE_ATTR_MISSING) << i;
        oDirectory.Remove(sName);
    }
}

TEST(IsolatedPlatformFile, AnswersInACopyThatWasMadeWhileAThreadLooked)
{
    constexpr int COPIES = 200;
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";
    if (HAS_SANITIZER)
        GTEST_SKIP() << "the sanitizer's memory stays locked in a copy that is made while another thread takes some";

    const CTestDirectory oDirectory;
    oDirectory.Write("d/file", "x");
    std::atomic<bool> bStop = false;
    std::thread oLooker(
        [&]
        {
            while (!bStop)
                EXPECT_EQ(FirstBytes("d/missing"), "(closed)");
        });

    int nRight = 0;
    while (nRight < COPIES &&
           RunInFork([] { return FirstBytes("d/missing") == "(closed)" && FirstBytes("d/FILE") == "x" ? 0 : 1; }) == 0)
        ++nRight;
    bStop = true;
    oLooker.join();
    EXPECT_EQ(nRight, COPIES);
}

TEST(PlatformFile, LooksThroughManyDirectories)
{
    const CTestDirectory oDirectory;
    constexpr int DIRECTORY_COUNT = 530; // more than are remembered
    for (int i = 0; i < DIRECTORY_COUNT; ++i)
        oDirectory.Write("Dir" + std::to_string(i) + "/File", std::to_string(i));
    for (int nRound = 0; nRound < 2; ++nRound)
        for (int i = 0; i < DIRECTORY_COUNT; ++i)
        {
            EXPECT_EQ(FirstBytes("dir" + std::to_string(i) + "/file"), std::to_string(i));
            EXPECT_EQ(FirstBytes("dir" + std::to_string(i) + "/none"), "(closed)");
        }
}

TEST(PlatformFile, AnswersForOddPaths)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("file", "x");
    oDirectory.MakeDirectory("dir");
    for (const std::string sPath : {"", "/", "\\", "///", "\\\\/", ".", "..", "dir", "dir/", "dir\\", "DIR", "dir/.",
                                    "file/", "file\\", "file/x", "missing/x", "missing/", "missing.", "./missing"})
    {
        for (const char* pMode : {"rb", "r+b"})
            EXPECT_FALSE(Opens(sPath, pMode)) << sPath;
        EXPECT_EQ(FILE_Delete(sPath.c_str()), -1) << sPath;
    }
    for (const std::string sPath : {"", "/", "///", ".", "..", "dir", "dir/", "file/", "file/x", "missing/x"})
        for (const char* pMode : {"wb", "ab"})
            EXPECT_FALSE(Opens(sPath, pMode)) << sPath;
    EXPECT_EQ(oDirectory.Read("file"), "x");
    EXPECT_TRUE(fs::is_empty("dir"));
}

TEST(PlatformFile, RefusesNamesThatAreTooLong)
{
    const CTestDirectory oDirectory;
    for (const std::size_t nLength : {300u, 4095u, 4096u, 4097u, 5000u, 100000u})
    {
        const std::string sName(nLength, 'n');
        std::string sDeep;
        while (sDeep.size() < nLength)
            sDeep += "d/";
        for (const std::string& sPath : {sName, sDeep, sDeep + "f", std::string(nLength, '/') + "f"})
        {
            EXPECT_FALSE(Opens(sPath, "rb")) << nLength;
            EXPECT_EQ(FILE_GetFileAttributes(sPath.c_str()), FILE_ATTR_MISSING) << nLength;
            EXPECT_EQ(FILE_SetFileAttributes(sPath.c_str(), FILE_ATTR_READONLY), 0) << nLength;
            EXPECT_EQ(FILE_Delete(sPath.c_str()), -1) << nLength;
        }
        EXPECT_FALSE(Opens(sName, "wb")) << nLength;
    }
    EXPECT_TRUE(fs::is_empty(oDirectory.GetPath()));
}

TEST(PlatformFile, KeepsTrailingDotsAndOddBytes)
{
    REQUIRE_CASE_SENSITIVE_NAMES();

    const CTestDirectory oDirectory;
    for (const std::string sName :
         {"dots...", "blank ", " blank", "co:lon", "new\nline", "\xFF\xFE", "\xC3\x84", "a*b?"})
    {
        {
            const COpenFile oFile(sName, "wb");
            ASSERT_NE(oFile, -1) << sName;
            EXPECT_EQ(FILE_Write(oFile, sName.data(), 1, static_cast<unsigned>(sName.size())), sName.size());
        }
        EXPECT_EQ(FirstBytes(sName), sName);
        EXPECT_TRUE(oDirectory.Has(sName));
        EXPECT_EQ(FILE_Delete(sName.c_str()), 1) << sName;
    }
    EXPECT_FALSE(Opens("dots", "rb"));
}

TEST(PlatformFile, RefusesWhatIsNoFile)
{
    REQUIRE_SPECIAL_FILES();

    const CTestDirectory oDirectory;
    ASSERT_TRUE(MakePipe("pipe"));
    ASSERT_TRUE(MakeSocket("socket"));
    oDirectory.MakeDirectory("dir");
    fs::create_symlink("pipe", "link to pipe");
    fs::create_directory_symlink("dir", "link to dir");
    fs::create_symlink("nowhere", "broken");
    fs::create_symlink("circle", "circle");
    for (const char* pName : {"pipe", "socket", "dir", "link to pipe", "link to dir", "circle"})
        for (const char* pMode : {"rb", "wb", "ab", "r+b", "w+b"})
            EXPECT_FALSE(Opens(pName, pMode)) << pName << ", " << pMode;
    EXPECT_FALSE(Opens("broken", "rb"));
    EXPECT_EQ(FILE_GetFileAttributes("broken"), FILE_ATTR_MISSING);
    EXPECT_EQ(FILE_GetFileAttributes("circle"), FILE_ATTR_MISSING);

    EXPECT_EQ(FirstBytes("/dev/null"), "");
    EXPECT_EQ(FirstBytes("/dev/zero"), std::string(64, '\0'));
    EXPECT_TRUE(Opens("/dev/null", "wb"));
}

TEST(PlatformFile, LeavesNoFileOpenThatItRefused)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("dir");
    if (CountOpenFiles() == -1)
        GTEST_SKIP() << "this system does not tell how many files a process has open";

    const int nBefore = CountOpenFiles();
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_FALSE(Opens("dir", "rb"));
        EXPECT_FALSE(Opens("missing", "rb"));
        EXPECT_FALSE(Opens("DIR/missing", "rb"));
    }
    EXPECT_EQ(CountOpenFiles(), nBefore);
}

TEST(PlatformFile, DeletesFilesOnly)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("file", "x");
    oDirectory.Write("locked", "x");
    oDirectory.MakeDirectory("dir");
    oDirectory.SetReadOnly("locked", true);

    EXPECT_EQ(FILE_Delete("file"), 1);
    EXPECT_FALSE(oDirectory.Has("file"));
    EXPECT_EQ(FILE_Delete("file"), -1);
    EXPECT_EQ(FILE_Delete("dir"), -1);
    EXPECT_TRUE(oDirectory.Has("dir"));
    EXPECT_EQ(FILE_Delete("locked"), -1);
    EXPECT_TRUE(oDirectory.Has("locked"));
    EXPECT_EQ(FILE_SetFileAttributes("locked", FILE_ATTR_NORMAL), 1);
    EXPECT_EQ(FILE_Delete("locked"), 1);
}

TEST(PlatformFile, DeletesALinkAndNotWhereItLeads)
{
    REQUIRE_SPECIAL_FILES();

    const CTestDirectory oDirectory;
    oDirectory.Write("file", "x");
    fs::create_symlink("file", "link");
    EXPECT_EQ(FirstBytes("link"), "x");
    EXPECT_EQ(FILE_Delete("link"), 1);
    EXPECT_TRUE(oDirectory.Has("file"));
    EXPECT_FALSE(oDirectory.Has("link"));
}

TEST(PlatformFile, SplitsPaths)
{
    struct
    {
        const char* pPath;
        const char* pDrive;
        const char* pDir;
        const char* pName;
        const char* pExt;
    } const aCases[] = {
        {"", "", "", "", ""},
        {"name", "", "", "name", ""},
        {"name.ext", "", "", "name", ".ext"},
        {"c:\\data\\maps/level.1.dat", "c:", "\\data\\maps/", "level.1", ".dat"},
        {"c:name.ext", "c:", "", "name", ".ext"},
        {"c:", "c:", "", "", ""},
        {"c:\\", "c:", "\\", "", ""},
        {"/usr/lib/x", "", "/usr/lib/", "x", ""},
        {"dir/", "", "dir/", "", ""},
        {"dir.d/name", "", "dir.d/", "name", ""},
        {"dir.d\\", "", "dir.d\\", "", ""},
        {".profile", "", "", "", ".profile"},
        {"..", "", "", ".", "."},
        {"../x", "", "../", "x", ""},
        {"name.", "", "", "name", "."},
        {"a.b.c", "", "", "a.b", ".c"},
        {"\\\\server\\share\\f.x", "", "\\\\server\\share\\", "f", ".x"},
        {"src.v2/", "", "src.v2/", "", ""},
        {"ab:c", "", "", "ab:c", ""},
    };

    for (const auto& oCase : aCases)
    {
        char aDrive[FILE_SPLIT_DRIVE_SIZE];
        char aDir[FILE_SPLIT_DIR_SIZE];
        char aName[FILE_SPLIT_NAME_SIZE];
        char aExt[FILE_SPLIT_EXT_SIZE];
        FILE_SplitPath(oCase.pPath, aDrive, aDir, aName, aExt);
        EXPECT_STREQ(aDrive, oCase.pDrive) << oCase.pPath;
        EXPECT_STREQ(aDir, oCase.pDir) << oCase.pPath;
        EXPECT_STREQ(aName, oCase.pName) << oCase.pPath;
        EXPECT_STREQ(aExt, oCase.pExt) << oCase.pPath;
        EXPECT_EQ(std::string(aDrive) + aDir + aName + aExt, oCase.pPath);
    }
}

TEST(PlatformFile, SplitsIntoThePartsThatAreAskedFor)
{
    FILE_SplitPath("c:/d/n.e", nullptr, nullptr, nullptr, nullptr);
    char aDir[FILE_SPLIT_DIR_SIZE] = "?";
    FILE_SplitPath("c:/d/n.e", nullptr, aDir, nullptr, nullptr);
    EXPECT_STREQ(aDir, "/d/");
    char aExt[FILE_SPLIT_EXT_SIZE] = "?";
    FILE_SplitPath("c:/d/n.e", nullptr, nullptr, nullptr, aExt);
    EXPECT_STREQ(aExt, ".e");
    FILE_SplitPath(nullptr, nullptr, nullptr, nullptr, aExt);
    EXPECT_STREQ(aExt, "");
}

TEST(PlatformFile, CutsLongPartsAtTheirBuffers)
{
    const std::string sPath =
        "c:/" + std::string(5000, 'd') + "/" + std::string(5000, 'n') + "." + std::string(5000, 'e');

    struct
    {
        char aBytes[4];
        char aGuard;
    } oDrive{{}, 'G'};

    struct
    {
        char aBytes[FILE_SPLIT_DIR_SIZE];
        char aGuard;
    } oDir{{}, 'G'}, oName{{}, 'G'}, oExt{{}, 'G'};

    oDrive.aBytes[3] = 'G';
    FILE_SplitPath(sPath.c_str(), oDrive.aBytes, oDir.aBytes, oName.aBytes, oExt.aBytes);
    EXPECT_STREQ(oDrive.aBytes, "c:");
    EXPECT_EQ(oDrive.aBytes[3], 'G');
    EXPECT_EQ(std::string(oDir.aBytes), "/" + std::string(254, 'd'));
    EXPECT_EQ(std::string(oName.aBytes), std::string(255, 'n'));
    EXPECT_EQ(std::string(oExt.aBytes), "." + std::string(254, 'e'));
    EXPECT_EQ(oDir.aGuard, 'G');
    EXPECT_EQ(oName.aGuard, 'G');
    EXPECT_EQ(oExt.aGuard, 'G');
}

// ---------------------------------------------------------------- attributes

TEST(PlatformFile, TellsAttributes)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("plain", "x");
    oDirectory.Write(".hidden", "x");
    oDirectory.MakeDirectory("dir");

    EXPECT_EQ(FILE_GetFileAttributes("missing"), 0xFFFFFFFFu);
    EXPECT_EQ(FILE_GetFileAttributes("missing/missing"), 0xFFFFFFFFu);
    EXPECT_EQ(FILE_GetFileAttributes(""), 0xFFFFFFFFu);
    EXPECT_EQ(FILE_GetFileAttributes("dir"), 0x04u);
    EXPECT_EQ(FILE_GetFileAttributes("."), 0x04u);
    EXPECT_EQ(FILE_GetFileAttributes("dir/.."), 0x04u);

    EXPECT_EQ(FILE_SetFileAttributes("plain", 0x10), 1);
    EXPECT_EQ(FILE_GetFileAttributes("plain"), FileBits(0x10));
    EXPECT_EQ(FILE_SetFileAttributes("plain", 0x20), 1);
    EXPECT_EQ(FILE_GetFileAttributes("plain"), FileBits(0x20));
    EXPECT_EQ(FILE_SetFileAttributes("plain", 0x30), 1);
    EXPECT_EQ(FILE_GetFileAttributes("plain"), FileBits(0x20));
    EXPECT_EQ(FILE_SetFileAttributes("plain", 0), 1);
    EXPECT_EQ(FILE_GetFileAttributes("plain"), FileBits(0x10));

    EXPECT_EQ(FILE_SetFileAttributes(".hidden", 0x28), 1);
    EXPECT_EQ(FILE_GetFileAttributes(".hidden"), FileBits(0x28));
    EXPECT_EQ(FILE_SetFileAttributes(".hidden", 0x08), 1);
    EXPECT_EQ(FILE_GetFileAttributes(".hidden"), FileBits(0x08));

    EXPECT_EQ(FILE_SetFileAttributes("missing", 0x20), 0);
    EXPECT_EQ(FILE_SetFileAttributes("missing", 0), 0);
    EXPECT_EQ(FILE_SetFileAttributes("missing", 0xFFFFFFFF), 0);
    EXPECT_FALSE(oDirectory.Has("missing"));
}

TEST(PlatformFile, DropsBitsThatAreInNoTable)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("plain", "x");
    EXPECT_EQ(FILE_SetFileAttributes("plain", 0xFFFFFF00u | 0x20), 1);
    EXPECT_EQ(FILE_GetFileAttributes("plain"), FileBits(0x20));
    EXPECT_EQ(FILE_SetFileAttributes("plain", 0x12345600u), 1);
    EXPECT_EQ(FILE_GetFileAttributes("plain"), FileBits(0x10));
}

TEST(PlatformFile, HoldsArchiveSystemAndTemporaryWhereTheSystemDoes)
{
    if (RunsUnderWine())
        GTEST_SKIP() << "Wine does not keep these attributes";

    const CTestDirectory oDirectory;
    oDirectory.Write("plain", "x");
    for (const unsigned nBit : {0x01u, 0x40u, 0x80u})
    {
        const bool bHeld = FILE_SetFileAttributes("plain", nBit) == 1;
        EXPECT_EQ(bHeld, !HasCaseSensitiveNames()) << nBit;
        EXPECT_EQ(FILE_GetFileAttributes("plain"), bHeld ? nBit : 0x10u) << nBit;
    }
}

TEST(PlatformFile, RefusesAttributesThatANameCannotHold)
{
    if (!HasCaseSensitiveNames())
        GTEST_SKIP() << "this system holds every attribute";

    const CTestDirectory oDirectory;
    oDirectory.Write("plain", "x");
    oDirectory.Write(".hidden", "x");
    oDirectory.MakeDirectory("dir");
    for (const unsigned nBits : {0x01u, 0x02u, 0x04u, 0x08u, 0x40u, 0x80u, 0x21u, 0x28u, 0xFFu, 0xFFFFFFFFu})
    {
        EXPECT_EQ(FILE_SetFileAttributes("plain", nBits), 0) << nBits;
        EXPECT_EQ(FILE_GetFileAttributes("plain"), 0x10u) << nBits;
    }
    for (const unsigned nBits : {0x00u, 0x10u, 0x20u, 0x09u, 0x0Cu})
    {
        EXPECT_EQ(FILE_SetFileAttributes(".hidden", nBits), 0) << nBits;
        EXPECT_EQ(FILE_GetFileAttributes(".hidden"), 0x08u) << nBits;
    }
    EXPECT_EQ(FILE_SetFileAttributes("dir", 0x24), 1);
    EXPECT_EQ(FILE_GetFileAttributes("dir"), 0x24u);
    EXPECT_EQ(FILE_SetFileAttributes("DIR/", 0x10), 1);
    EXPECT_EQ(FILE_GetFileAttributes("dir"), 0x04u);
}

TEST(PlatformFile, TakesPermissionsForReadonly)
{
    if (!HasCaseSensitiveNames())
        GTEST_SKIP() << "this system has no permission bits";

    const CTestDirectory oDirectory;
    oDirectory.Write("file", "x");
    oDirectory.MakeDirectory(".dir");
    EXPECT_EQ(FILE_GetFileAttributes(".dir"), 0x0Cu);
    EXPECT_EQ(FILE_GetFileAttributes(".dir/"), 0x0Cu);
    EXPECT_EQ(FILE_GetFileAttributes(".dir/.."), 0x04u);

    fs::permissions("file", fs::perms::group_write | fs::perms::owner_read);
    EXPECT_EQ(FILE_GetFileAttributes("file"), 0x10u);
    fs::permissions("file", fs::perms::owner_read | fs::perms::group_read | fs::perms::owner_exec);
    EXPECT_EQ(FILE_GetFileAttributes("file"), 0x20u);
    EXPECT_EQ(FILE_SetFileAttributes("file", 0x10), 1);
    EXPECT_EQ(fs::status("file").permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read | fs::perms::owner_exec);

    // A read-only file does not open for writing, except for the superuser, whom no permission binds.
    EXPECT_EQ(FILE_SetFileAttributes("file", 0x20), 1);
    EXPECT_EQ(Opens("file", "ab"), IsSuperuser());
    EXPECT_TRUE(Opens("file", "rb"));
}

// ---------------------------------------------------------------- threads and the life of the process

TEST(PlatformFile, LosesNoStreamBetweenThreads)
{
    const CTestDirectory oDirectory;
    const int nOpenBefore = CountOpenFiles();
    constexpr int THREAD_COUNT = 4;
    constexpr int ROUND_COUNT = 3000;
    constexpr std::size_t MOST_OPEN = 12;

    const auto fnWork = [](unsigned nThread, int* pFaults)
    {
        struct sOpen
        {
            int nFile;
            unsigned nMark;
            std::string sPath;
        };
        std::mt19937 oRandom(nThread);
        std::vector<sOpen> oOpen;
        const std::string sName = "thread" + std::to_string(nThread);
        const auto fnCloseOne = [&]
        {
            const std::size_t nVictim = oRandom() % oOpen.size();
            unsigned nFound = 0;
            if (FILE_Seek(oOpen[nVictim].nFile, 0, 2) != 1 || FILE_Read(oOpen[nVictim].nFile, &nFound, 4, 1) != 1 ||
                nFound != oOpen[nVictim].nMark || FILE_Close(oOpen[nVictim].nFile) != 1 ||
                FILE_Delete(oOpen[nVictim].sPath.c_str()) != 1)
                ++*pFaults;
            oOpen.erase(oOpen.begin() + static_cast<std::ptrdiff_t>(nVictim));
        };
        const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        for (int nRound = 0; nRound < ROUND_COUNT && std::chrono::steady_clock::now() < oEnd; ++nRound)
        {
            if (!oOpen.empty() && (oOpen.size() == MOST_OPEN || oRandom() % 2 == 0))
                fnCloseOne();
            else
            {
                const unsigned nMark = nThread * 1000000 + static_cast<unsigned>(nRound);
                const std::string sPath = sName + "." + std::to_string(nRound);
                const int nFile = FILE_Open(sPath.c_str(), "w+b");
                if (nFile == -1 || FILE_Write(nFile, &nMark, 4, 1) != 1 || FILE_Flush(nFile) != 1)
                    ++*pFaults;
                else
                    oOpen.push_back({nFile, nMark, sPath});
                if (FILE_Open("THREAD none", "rb") != -1)
                    ++*pFaults;
            }
        }
        while (!oOpen.empty())
            fnCloseOne();
    };

    int aFaults[THREAD_COUNT] = {};
    std::vector<std::thread> oThreads;
    for (unsigned nThread = 0; nThread < THREAD_COUNT; ++nThread)
        oThreads.emplace_back(fnWork, nThread, &aFaults[nThread]);
    for (std::thread& oThread : oThreads)
        oThread.join();

    for (const int nFaults : aFaults)
        EXPECT_EQ(nFaults, 0);
    EXPECT_EQ(CountOpenFiles(), nOpenBefore);
}

TEST(PlatformFile, ClosesOnceWhenManyThreadsClose)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "x");
    for (int nRound = 0; nRound < 200; ++nRound)
    {
        const int nFile = FILE_Open("f", "rb");
        ASSERT_NE(nFile, -1);
        int aResults[3] = {};
        std::vector<std::thread> oThreads;
        for (int& nResult : aResults)
            oThreads.emplace_back([nFile, &nResult] { nResult = FILE_Close(nFile); });
        for (std::thread& oThread : oThreads)
            oThread.join();
        EXPECT_EQ(aResults[0] + aResults[1] + aResults[2], 1 - 1 - 1);
    }
}

namespace
{
constexpr char STATIC_FILE_VARIABLE[] = "COMMON_TEST_STATIC_FILE";

/// Uses files before main and after it.
struct sStaticUser
{
    sStaticUser() { Append("begin "); }

    ~sStaticUser() { Append("end"); }

    static void Append(const char* pText)
    {
        const char* const pPath = std::getenv(STATIC_FILE_VARIABLE);
        if (pPath == nullptr)
            return;
        const COpenFile oFile(pPath, "ab");
        FILE_Puts(oFile, pText);
        FILE_Open("no such file, after a SEARCH", "rb");
    }
};

const sStaticUser s_oStaticUser;
} // namespace

TEST(PlatformFile, ServesStaticObjects)
{
    const CTestDirectory oDirectory;
    const CTestEnvironment oEnvironment(STATIC_FILE_VARIABLE, oDirectory.PathOf("static").c_str());
    ChildProcess oChild({ThisProgram(), "--gtest_list_tests"});
    EXPECT_EQ(oChild.Wait(std::chrono::seconds(60)).nExitCode, 0);
    EXPECT_EQ(oDirectory.Read("static"), "begin end");
}
