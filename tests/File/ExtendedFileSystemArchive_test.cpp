#include <Common/Debug/XfsException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/Platform/PlatformDirectory.h>
#include <Common/Platform/PlatformFile.h>

#include <tests/support/ArchiveBytes.h>
#include <tests/support/DirectoryFault.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/Fork.h>
#include <tests/support/OrdinaryUser.h>
#include <tests/support/Sanitizer.h>
#include <tests/support/SparseFile.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

// Registered archives are never forgotten: each test runs in a process of its own.

namespace
{
namespace fs = std::filesystem;

CExtendedFileSystem& Files()
{
    return *CExtendedFileSystem::Instance();
}

/// What a call threw: "4006 Error reading from file.", or "" for nothing.
std::string Thrown(const std::function<void()>& fnCall)
{
    try
    {
        fnCall();
    }
    catch (CXfsException& oError)
    {
        EXPECT_EQ(oError.GetErrorClass(), ecException);
        EXPECT_STREQ(oError.GetFileName(), "Common/File/ExtendedFileSystem");
        EXPECT_GT(oError.GetLine(), 0u);
        return std::to_string(oError.GetErrorCode()) + " " + oError.GetErrorString();
    }
    return "";
}

constexpr const char* NOT_FOUND = "4002 File not found.";
constexpr const char* NOT_CREATED = "4005 Could not create file for writing.";
constexpr const char* NOT_READ = "4006 Error reading from file.";
constexpr const char* NOT_WRITTEN = "4007 Error writing to file.";
constexpr const char* NOT_OPENED = "4010 Could not open file.";
constexpr const char* NO_HEADER = "4012 Unable to write archive header.";
constexpr const char* NO_TABLE = "4013 Error writing archive directory.";
constexpr const char* WRONG_VERSION = "4014 Incorrect archive version.";
constexpr const char* NO_DIRECTORY = "4016 Could not change the directory. The directory does probably not exist.";

/// The whole contents of a file, read through the file system.
std::string ReadThroughFiles(const std::string& sName)
{
    const unsigned long nHandle = Files().OpenFile(sName.c_str());
    std::string sBytes(Files().GetFileSize(nHandle), '?');
    if (!sBytes.empty())
    {
        EXPECT_EQ(Files().ReadFile(nHandle, sBytes.data(), static_cast<unsigned long>(sBytes.size())), sBytes.size());
    }
    EXPECT_TRUE(Files().IsEof(nHandle));
    Files().CloseFile(nHandle);
    return sBytes;
}

std::string OpenError(const std::string& sName)
{
    return Thrown([&] { Files().CloseFile(Files().OpenFile(sName.c_str())); });
}

std::string CreateError(const char* pArchive, const char* pDirectory)
{
    return Thrown([&] { Files().CreateArchive(pArchive, pDirectory); });
}

std::string ExtractError(const char* pArchive, const char* pDirectory)
{
    return Thrown([&] { Files().ExtractArchive(pArchive, pDirectory); });
}

/// The current directory, for tests that it is what it was.
std::string Here()
{
    return fs::current_path().string();
}

/// All files and directories below a directory: names with slashes; a directory's name ends in one.
std::map<std::string, std::string> ListTree(const fs::path& oTop)
{
    std::map<std::string, std::string> oTree;
    for (const auto& oEntry : fs::recursive_directory_iterator(oTop))
    {
        const std::string sName = fs::relative(oEntry.path(), oTop).generic_string();
        if (oEntry.is_directory())
            oTree[sName + "/"] = "";
        else
            oTree[sName] = ReadWholeFile(oEntry.path());
    }
    return oTree;
}

/// The tree that the golden archive was made of.
std::map<std::string, std::string> GoldenTree()
{
    std::string sAll;
    for (int i = 0; i < 256; ++i)
        sAll.push_back(static_cast<char>(i));
    return {{"a.txt", ""}, {"B.txt", "Hello, archive.\r\n"},    {"c", "c"},        {"Empty/", ""},
            {"sub/", ""},  {"sub/file.txt", "a file in sub\n"}, {"sub/Deep/", ""}, {"sub/Deep/x.bin", sAll}};
}

void WriteTree(const CTestDirectory& oDirectory, const std::string& sTop,
               const std::map<std::string, std::string>& oTree)
{
    oDirectory.MakeDirectory(sTop);
    for (const auto& [sName, sBytes] : oTree)
    {
        if (sName.back() == '/')
            oDirectory.MakeDirectory(sTop + "/" + sName);
        else
            oDirectory.Write(sTop + "/" + sName, sBytes);
    }
}

std::string Golden(const char* pName)
{
    return ReadWholeFile(GetGoldenPath(pName));
}

/// Makes a link; false where this user or this system cannot.
bool MakeLink(const fs::path& oTarget, const fs::path& oLink)
{
    std::error_code oError;
    if (fs::is_directory(oTarget, oError))
        fs::create_directory_symlink(oTarget, oLink, oError);
    else
        fs::create_symlink(oTarget, oLink, oError);
    return !oError && fs::is_symlink(oLink, oError);
}

/// The lowest free handle of FILE_Open().
int LowestFreeHandle()
{
    const int nFile = FILE_Open(GetGoldenPath("empty.arc").string().c_str(), "rb");
    FILE_Close(nFile);
    return nFile;
}

std::vector<std::string> s_aEvents;

/// Notes an event with the fields of its record.
void NoteEvent(int nEvent, unsigned long nRecord, unsigned long nSecond, unsigned long nUserValue)
{
    constexpr std::size_t FIELD = 260;
    const auto* pRecord = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(nRecord));
    std::string sEvent = std::to_string(nEvent) + "|" + pRecord;
    if (nEvent != 3)
        sEvent += std::string("|") + (pRecord + FIELD);
    if (nEvent == 2)
        sEvent += std::string("|") + (pRecord + 2 * FIELD);
    if (nSecond != 0 || nUserValue != 4711)
        sEvent += "|wrong arguments";
    s_aEvents.push_back(sEvent);
}
} // namespace

// ---------------------------------------------------------------- packing

TEST(IsolatedArchiveCreation, WritesTheGoldenBytes)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "tree", GoldenTree());
    oDirectory.MakeDirectory("nothing");

    EXPECT_TRUE(Files().CreateArchive("made", "tree"));
    EXPECT_TRUE(Files().CreateArchive("none", "nothing"));
    EXPECT_EQ(oDirectory.Read("made.arc"), Golden("tree.arc"));
    EXPECT_EQ(oDirectory.Read("none.arc"), Golden("empty.arc"));
}

TEST(IsolatedArchiveCreation, AppendsTheExtensionWhereItIsMissing)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");

    struct
    {
        const char* pGiven;
        const char* pMade;
    } const aCases[] = {{"pack", "pack.arc"},          {"pack2.ARC", "pack2.ARC"}, {"pack.dat", "pack.dat.arc"},
                        {"pack3.arc", "pack3.arc"},    {"d/in.Arc", "d/in.Arc"},   {"d\\back", "d/back.arc"},
                        {"trailing.", "trailing..arc"}};

    for (const auto& [pGiven, pMade] : aCases)
    {
        oDirectory.MakeDirectory("source");
        EXPECT_TRUE(Files().CreateArchive(pGiven, "source"));
        EXPECT_EQ(oDirectory.Read(pMade), Golden("empty.arc")) << pGiven;
    }
}

TEST(IsolatedArchiveCreation, TakesTheSourceWhereverItIs)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("src/name/f", "inner");
    oDirectory.Write("src.v2/f", "dotted");
    oDirectory.Write("src.v2/name/f", "below dotted");
    oDirectory.Write("plain/f", "plain");
    oDirectory.Write("..name/f", "leading dots");

    struct
    {
        std::string sSource;
        const char* pContents;
    } const aCases[] = {
        {"plain", "plain"},
        {"plain/", "plain"},
        {"plain\\", "plain"},
        {"plain.v3", "plain"}, // the extension is dropped
        {"src/name", "inner"},
        {"src\\name", "inner"},
        {"src.v2/", "dotted"}, // a separator keeps the extension
        {"src.v2/name", "below dotted"},
        {"src.v2/.", "dotted"},
        {"src.v2/name/..", "dotted"},
        {oDirectory.PathOf("plain"), "plain"},
        {oDirectory.PathOf("src.v2") + "/", "dotted"},
    };

    const std::string sHere = Here();
    for (const auto& [sSource, pContents] : aCases)
    {
        const CTestDirectory oArchives(false);
        const std::string sArchive = oArchives.PathOf("out.arc");
        ASSERT_EQ(CreateError(sArchive.c_str(), sSource.c_str()), "") << sSource;
        EXPECT_EQ(oArchives.Read("out.arc").substr(32, std::strlen(pContents)), pContents) << sSource;
        EXPECT_EQ(Here(), sHere);
    }
}

TEST(IsolatedArchiveCreation, PacksTheCurrentDirectoryUnderAnEmptyName)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", "contents");
    const CTestDirectory oArchives(false);
    for (const char* pSource : {"", "."})
    {
        const std::string sArchive = oArchives.PathOf("a.arc");
        ASSERT_EQ(CreateError(sArchive.c_str(), pSource), "") << pSource;
        EXPECT_EQ(oArchives.Read("a.arc"), MakeArchiveNode({{"f", "contents"}})) << pSource;
    }
}

TEST(IsolatedArchiveCreation, SaysWhatItCannotOpenOrEnter)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("file", "no directory");
    oDirectory.MakeDirectory("there");
    oDirectory.MakeDirectory(".git");
    oDirectory.MakeDirectory("folder.arc");
    const std::string sHere = Here();
    EXPECT_EQ(CreateError("missing/x", "there"), NOT_OPENED);
    EXPECT_EQ(CreateError("folder", "there"), NOT_OPENED);
    EXPECT_EQ(CreateError(nullptr, "there"), NOT_OPENED);
    EXPECT_EQ(CreateError("x", "missing"), NO_DIRECTORY);
    EXPECT_EQ(CreateError("x", "missing/there"), NO_DIRECTORY);
    EXPECT_EQ(CreateError("x", "file"), NO_DIRECTORY);
    EXPECT_EQ(CreateError("x", ".git"), NO_DIRECTORY); // without its extension nothing is left
    EXPECT_EQ(CreateError("x", nullptr), NO_DIRECTORY);
    EXPECT_EQ(CreateError("x", std::string(5000, 'd').c_str()), NO_DIRECTORY);
    EXPECT_EQ(CreateError(std::string(5000, 'a').c_str(), "there"), NOT_OPENED);
    EXPECT_EQ(Here(), sHere);
    EXPECT_EQ(LowestFreeHandle(), 0);
    EXPECT_EQ(CreateError("x", "there"), "");
}

TEST(IsolatedArchiveCreation, RefusesToPutAnArchiveIntoItself)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/a", "a");
    oDirectory.Write("d/sub/z", "z");
    const std::string sHere = Here();
    EXPECT_EQ(CreateError("d/x", "d"), NOT_OPENED);
    EXPECT_EQ(CreateError("d/sub/x", "d"), NOT_OPENED);
    EXPECT_EQ(CreateError("x", "."), NOT_OPENED);
    EXPECT_EQ(Here(), sHere);
}

TEST(IsolatedArchiveCreation, RefusesLinksThatLeadBack)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/sub/a", "a");
    oDirectory.Write("elsewhere/b", "b");
    if (!MakeLink(oDirectory.PathOf("d"), oDirectory.PathOf("d/sub/back")))
        GTEST_SKIP() << "no links can be made here";
    const std::string sHere = Here();
    EXPECT_EQ(CreateError("x", "d"), NOT_OPENED);
    EXPECT_EQ(Here(), sHere);

    // A link that leads elsewhere is packed as what it leads to, and the way back is found.
    oDirectory.Remove("d/sub/back");
    ASSERT_TRUE(MakeLink(oDirectory.PathOf("elsewhere"), oDirectory.PathOf("d/sub/link")));
    oDirectory.Write("d/sub/m/c", "c");
    EXPECT_EQ(CreateError("x", "d"), "");
    const std::string sSub = MakeArchiveNode(
        {{"a", "a"}, {"link", MakeArchiveNode({{"b", "b"}}), true}, {"m", MakeArchiveNode({{"c", "c"}}), true}});
    EXPECT_EQ(oDirectory.Read("x.arc"), MakeArchiveNode({{"sub", sSub, true}}));
    EXPECT_EQ(Here(), sHere);

    ASSERT_TRUE(MakeLink(oDirectory.PathOf("nowhere"), oDirectory.PathOf("d/dangling")) ||
                fs::is_symlink(oDirectory.PathOf("d/dangling")));
    EXPECT_EQ(CreateError("x", "d"), NOT_OPENED);
}

TEST(IsolatedArchiveCreation, RefusesNamesThatCannotComeBack)
{
    const CTestDirectory oDirectory;
    if (Here().find('\\') != std::string::npos)
        GTEST_SKIP() << "a backslash is a separator of this file system";
    oDirectory.MakeDirectory("d");
    fs::create_directory(fs::path(oDirectory.PathOf("d")) / "back\\slash");
    EXPECT_EQ(CreateError("x", "d"), NOT_OPENED);
    fs::remove(fs::path(oDirectory.PathOf("d")) / "back\\slash");
    WriteWholeFile(fs::path(oDirectory.PathOf("d")) / "back\\slash", "");
    EXPECT_EQ(CreateError("x", "d"), NOT_OPENED);
}

TEST(IsolatedArchiveCreation, RefusesWhatIsNoFile)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "there are no pipes among the files of this system";
    const CTestDirectory oDirectory;
    oDirectory.Write("d/a", "a");
    ASSERT_TRUE(MakePipe(oDirectory.PathOf("d/pipe")));
    EXPECT_EQ(CreateError("x", "d"), NOT_OPENED);
    oDirectory.Remove("d/pipe");
    ASSERT_TRUE(MakeLink("/dev/null", oDirectory.PathOf("d/device")));
    EXPECT_EQ(CreateError("x", "d"), NOT_OPENED);

    // an archive that is a pipe is none, and is not waited for; one in the way of a file is replaced
    ASSERT_TRUE(MakePipe(oDirectory.PathOf("p.arc")));
    EXPECT_EQ(OpenError("p/a"), NOT_FOUND);
    oDirectory.Write("q.arc", MakeArchiveNode({{"a", "a"}}));
    oDirectory.MakeDirectory("q");
    ASSERT_TRUE(MakePipe(oDirectory.PathOf("q/a")));
    EXPECT_EQ(ExtractError("q", ""), "");
    EXPECT_EQ(oDirectory.Read("q/a"), "a");
}

TEST(IsolatedArchiveCreation, PacksTheLongestName)
{
    const CTestDirectory oDirectory;
    const std::string sName(200, 'n');
    oDirectory.Write("d/" + sName, "x");
    ASSERT_EQ(CreateError("x", "d"), "");
    EXPECT_EQ(oDirectory.Read("x.arc"), MakeArchiveNode({{sName, "x"}}));
}

TEST(IsolatedArchiveCreation, SaysThatAFileShrank)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/big", std::string(5000000, 'b'));
    Files().AddCallback(
        [](int nEvent, unsigned long, unsigned long, unsigned long)
        {
            if (nEvent == 1)
                fs::resize_file("big", 2000000);
        },
        0);
    const std::string sHere = Here();
    EXPECT_EQ(CreateError("x", "d"), NOT_READ);
    EXPECT_EQ(Here(), sHere);
    EXPECT_EQ(LowestFreeHandle(), 0);
}

TEST(IsolatedArchiveCreation, RefusesToPassFourGibibytes)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/a", "first");
    oDirectory.Write("d/huge", "");
    std::error_code oError;
    fs::resize_file(oDirectory.PathOf("d/huge"), 0xFFFFFFFF, oError);
    if (oError)
        GTEST_SKIP() << "no file of 4 GiB can be made here: " << oError.message();
    EXPECT_EQ(CreateError("x", "d"), NOT_WRITTEN);
    EXPECT_LT(fs::file_size("x.arc"), 1000000u);
}

TEST(IsolatedArchiveCreation, SaysWhichWriteFailed)
{
    if (!CFileSizeLimit::IsSupported())
        GTEST_SKIP() << "this system has no limit on the size of a file";
    const CTestDirectory oDirectory;
    oDirectory.Write("d/small", "0123456789");
    oDirectory.Write("big/big", std::string(3000000, 'b'));
    oDirectory.Write("nested/sub/small", "0123456789");

    struct
    {
        const char* pSource;
        std::uint64_t nLimit;
        const char* pError;
    } const aCases[] = {
        {"d", 0, NO_HEADER},
        {"d", 31, NO_HEADER},
        {"d", 32, NOT_WRITTEN},
        {"d", 41, NOT_WRITTEN},
        {"d", 42, NO_TABLE},
        {"d", 317, NO_TABLE},
        {"d", 318, ""},
        {"big", 32, NOT_WRITTEN},
        {"big", 2000000, NOT_WRITTEN},
        {"nested", 32, NO_HEADER},
        {"nested", 64, NOT_WRITTEN},
        {"nested", 74, NO_TABLE},
        {"nested", 350, NO_TABLE},
        {"nested", 626, ""},
    };

    const std::string sHere = Here();
    for (const auto& [pSource, nLimit, pError] : aCases)
    {
        const CFileSizeLimit oLimit(nLimit);
        EXPECT_EQ(CreateError("x", pSource), pError) << pSource << " " << nLimit;
        EXPECT_EQ(Here(), sHere);
    }
    EXPECT_EQ(LowestFreeHandle(), 0);
}

TEST(IsolatedArchiveCreation, SaysThatADeviceIsFull)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/a", "a");
    if (!fs::is_character_file("/dev/full") || !MakeLink("/dev/full", oDirectory.PathOf("x.arc")))
        GTEST_SKIP() << "there is no full device here";
    EXPECT_EQ(CreateError("x", "d"), NO_HEADER);
}

TEST(IsolatedArchiveCreation, ComesBackFromDeepTrees)
{
    // As deep as a path of this system goes.
    const CTestDirectory oDirectory;
    std::string sPath = "d";
    oDirectory.MakeDirectory(sPath);
    const std::string sHere = Here();
    std::size_t nDepth = 0;
    std::error_code oError;
    for (; sHere.size() + sPath.size() < 240; ++nDepth)
    {
        sPath += "/e";
        oDirectory.MakeDirectory(sPath);
    }
    oDirectory.Write(sPath + "/f", "found");
    ASSERT_EQ(CreateError("x", "d"), "");
    EXPECT_EQ(Here(), sHere);
    ASSERT_TRUE(Files().ExtractArchive("x", ""));
    EXPECT_EQ(ListTree("x"), ListTree("d"));
    EXPECT_GT(nDepth, 50u);
}

// ---------------------------------------------------------------- names of archived files

TEST(IsolatedArchive, IsReadByEveryWayOfWritingAPath)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("pack.arc", Golden("tree.arc"));
    for (const char* pName : {"pack\\sub\\file.txt", "pack/sub/file.txt", "pack\\sub/file.txt", "PACK/SUB/FILE.TXT",
                              "PACK\\SUB\\FILE.TXT", "pack.arc/sub/file.txt", "Pack.Arc\\Sub\\File.Txt"})
    {
        EXPECT_EQ(ReadThroughFiles(pName), "a file in sub\n") << pName;
        EXPECT_TRUE(Files().FileExists(pName)) << pName;
    }
    EXPECT_EQ(ReadThroughFiles("pack/a.txt"), "");
    EXPECT_EQ(ReadThroughFiles("pack/b.TXT"), "Hello, archive.\r\n");
    EXPECT_EQ(ReadThroughFiles("pack/sub/deep/X.BIN"), GoldenTree()["sub/Deep/x.bin"]);

    CFileIO oFile;
    ASSERT_TRUE(oFile.Open("pack/sub/file.txt", 1));
    char aLine[64];
    EXPECT_TRUE(oFile.ReadLine(aLine, sizeof aLine));
    EXPECT_STREQ(aLine, "a file in sub");
}

TEST(IsolatedArchive, FindsNothingUnderOtherNames)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("pack.arc", Golden("tree.arc"));
    for (const char* pName : {"pack", "pack/", "pack/missing", "pack/sub/missing", "pack/a.txt/b", "pack//a.txt",
                              "/pack/a.txt", "pack/sub//file.txt", "pack/sub/", "missing/a.txt", "pack.dat/a.txt",
                              "pack/./a.txt", "pack/sub/../a.txt", "./pack/a.txt", "\\", "//", "pack/Empty/x"})
    {
        EXPECT_EQ(OpenError(pName), NOT_FOUND) << pName;
        EXPECT_FALSE(Files().FileExists(pName)) << pName;
    }
    EXPECT_EQ(OpenError(oDirectory.PathOf("pack/a.txt")), NOT_FOUND);
    EXPECT_EQ(OpenError("pack/" + std::string(5000, 'x')), NOT_FOUND);
    EXPECT_EQ(OpenError(std::string(5000, 'x') + "/a"), NOT_FOUND);
    EXPECT_EQ(OpenError("pack/a.txt"), "");
}

TEST(IsolatedArchive, GivesWayToPlainFiles)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("data.arc", MakeArchiveNode({{"a", "archived"}, {"b", "archived"}}));
    oDirectory.Write("data/a", "plain");
    EXPECT_EQ(ReadThroughFiles("data/a"), "plain");
    EXPECT_EQ(ReadThroughFiles("data/b"), "archived");
}

TEST(IsolatedArchive, IsFoundBelowRelativeRoots)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("base.arc", Golden("tree.arc"));
    Files().AddRoot("other");
    Files().AddRoot("base");
    EXPECT_EQ(ReadThroughFiles("sub/file.txt"), "a file in sub\n");
    EXPECT_EQ(OpenError("sub/missing"), NOT_FOUND);
}

TEST(IsolatedArchive, EndsAFileWhereItsEntryEnds)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("two.arc", MakeArchiveNode({{"a", "first"}, {"b", "second"}}));
    const unsigned long nHandle = Files().OpenFile("two/a");
    EXPECT_EQ(Files().GetFileSize(nHandle), 5u);
    char aBuffer[64] = {};
    EXPECT_EQ(Files().ReadFile(nHandle, aBuffer, sizeof aBuffer), 5u);
    EXPECT_STREQ(aBuffer, "first");
    EXPECT_TRUE(Files().IsEof(nHandle));
    EXPECT_EQ(Files().ReadFile(nHandle, aBuffer, sizeof aBuffer), 0u);
    EXPECT_TRUE(Files().Seek(nHandle, 1));
    EXPECT_EQ(Files().ReadFile(nHandle, aBuffer, 2), 2u);
    EXPECT_EQ(std::string(aBuffer, 2), "ir");
    EXPECT_TRUE(Files().SeekEnd(nHandle, 2));
    EXPECT_EQ(Files().ReadFile(nHandle, aBuffer, 64), 2u);
    EXPECT_EQ(std::string(aBuffer, 2), "st");
    EXPECT_EQ(Thrown([&] { Files().Seek(nHandle, 6); }), "4009 Error trying to set the file pointer.");
    Files().CloseFile(nHandle);
}

TEST(IsolatedArchive, OpensADirectoryAsTheBytesOfItsNode)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("pack.arc", MakeArchiveNode({{"sub", Golden("empty.arc"), true}}));
    EXPECT_EQ(ReadThroughFiles("pack/sub"), Golden("empty.arc"));
}

TEST(IsolatedArchive, TakesTheFirstOfEqualNames)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc",
                     MakeArchiveNode({{"Name", "first"}, {"NAME", "second"}, {"name", MakeArchiveNode({}), true}}));
    EXPECT_EQ(ReadThroughFiles("p/name"), "first");
    EXPECT_EQ(OpenError("p/name/x"), NOT_FOUND); // the first is no directory
}

TEST(IsolatedArchive, ServesManyHandlesAtATime)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeLargeArchive(1000));
    std::vector<unsigned long> aHandles;
    for (int i = 0; i < 200; ++i)
    {
        char aName[32];
        std::snprintf(aName, sizeof aName, "p/FILE%06d.dat", i * 5);
        aHandles.push_back(Files().OpenFile(aName));
    }
    for (std::size_t i = 0; i < aHandles.size(); ++i)
    {
        char aBuffer[32] = {};
        Files().ReadFile(aHandles[i], aBuffer, sizeof aBuffer);
        char aName[32];
        std::snprintf(aName, sizeof aName, "file%06d.dat", static_cast<int>(i) * 5);
        EXPECT_STREQ(aBuffer, aName);
        Files().CloseFile(aHandles[i]);
    }
    EXPECT_EQ(LowestFreeHandle(), 0);
}

TEST(IsolatedArchive, ReachesEntriesBeyondTwoGibibytes)
{
    constexpr std::uint64_t SHIFT = 0x9000'0000;

    // The bytes of all items and the table, moved far behind the header.
    const CTestDirectory oDirectory;
    std::string sNode = MakeArchiveNode({{"far", "far away"}, {"sub", MakeArchiveNode({{"deep", "deeper"}}), true}});
    for (const std::size_t nField : {NODE_SIZE_FIELD, GetEntryPosition(sNode, 0) + ENTRY_OFFSET_FIELD,
                                     GetEntryPosition(sNode, 1) + ENTRY_OFFSET_FIELD, TABLE_OFFSET_FIELD})
        SetNumber(sNode, nField, static_cast<std::uint32_t>(GetNumber(sNode, nField) + SHIFT));
    const std::string sHeader = sNode.substr(0, 32);
    const std::string sRest = sNode.substr(32);
    MakeSparseFile("p.arc", 32 + SHIFT + sRest.size(), sRest);
    std::fstream("p.arc", std::ios::in | std::ios::out | std::ios::binary) << sHeader;

    EXPECT_EQ(ReadThroughFiles("p/far"), "far away");
    EXPECT_EQ(ReadThroughFiles("p/sub/deep"), "deeper");

    const unsigned long nHandle = Files().OpenFile("P\\SUB\\DEEP");
    char aBytes[8] = {};
    Files().SeekEnd(nHandle, 2);
    EXPECT_EQ(Files().ReadFile(nHandle, aBytes, sizeof aBytes), 2u);
    EXPECT_STREQ(aBytes, "er");
    Files().Rewind(nHandle);
    EXPECT_EQ(Files().ReadFile(nHandle, aBytes, 4), 4u);
    EXPECT_STREQ(aBytes, "deep");
    Files().CloseFile(nHandle);

    oDirectory.MakeDirectory("out");
    EXPECT_TRUE(Files().ExtractArchive("p", "out"));
    EXPECT_EQ(oDirectory.Read("out/p/far"), "far away");
    EXPECT_EQ(oDirectory.Read("out/p/sub/deep"), "deeper");
}

TEST(IsolatedArchive, ReadsAnEntryAcrossTwoGibibytes)
{
    constexpr std::uint64_t MIDDLE = 0x8000'0000;

    // One file from the header to the table; a few of its bytes stand around the middle.
    const CTestDirectory oDirectory;
    std::string sNode = MakeArchiveNode({{"large", ""}});
    const std::uint64_t nSize = MIDDLE + 1000;
    SetNumber(sNode, NODE_SIZE_FIELD, static_cast<std::uint32_t>(sNode.size() + nSize));
    SetNumber(sNode, GetEntryPosition(sNode, 0) + ENTRY_SIZE_FIELD, static_cast<std::uint32_t>(nSize));
    SetNumber(sNode, TABLE_OFFSET_FIELD, static_cast<std::uint32_t>(32 + nSize));
    MakeSparseFile("p.arc", sNode.size() + nSize, sNode.substr(32));
    {
        std::fstream oFile("p.arc", std::ios::in | std::ios::out | std::ios::binary);
        oFile << sNode.substr(0, 32);
        oFile.seekp(static_cast<std::streamoff>(MIDDLE - 5));
        oFile << "left|right";
    }

    const unsigned long nHandle = Files().OpenFile("p/large");
    EXPECT_EQ(Files().GetFileSize(nHandle), nSize);
    char aBytes[16] = {};
    for (const int nBack : {5, 4, 0})
    {
        Files().Seek(nHandle, static_cast<unsigned long>(MIDDLE - 32 - static_cast<unsigned>(nBack)));
        EXPECT_EQ(Files().ReadFile(nHandle, aBytes, 10), 10u);
        EXPECT_EQ(std::string(aBytes, 10),
                  (std::string("left|right") + std::string(10, '\0')).substr(static_cast<std::size_t>(5 - nBack), 10));
    }
    Files().CloseFile(nHandle);
}

TEST(IsolatedArchive, ServesThreadsThatOpenAndReadAtRandom)
{
    constexpr int THREADS = 4;
    constexpr int MAX_ROUNDS = 20000;
    constexpr int ENTRIES = 50;
    constexpr std::chrono::milliseconds TIME{1500};

    // Every entry is longer than what is read ahead, and its bytes tell which one it is.
    const CTestDirectory oDirectory;
    const auto BytesOf = [](int nArchive, int nEntry)
    {
        std::string sBytes;
        while (sBytes.size() < 9000)
            sBytes +=
                std::to_string(nArchive) + "." + std::to_string(nEntry) + "@" + std::to_string(sBytes.size()) + " ";
        return sBytes;
    };
    const auto NameOf = [](int nEntry) { return "entry" + std::to_string(nEntry); };
    for (int nArchive = 0; nArchive < 3; ++nArchive)
    {
        std::vector<ArchiveItem> aItems;
        for (int nEntry = 0; nEntry < ENTRIES; ++nEntry)
            aItems.push_back({NameOf(nEntry), BytesOf(nArchive, nEntry)});
        oDirectory.Write("a" + std::to_string(nArchive) + ".arc",
                         MakeArchiveNode({{"sub", MakeArchiveNode(aItems), true}}));
    }

    std::atomic<int> nWrong = 0;
    std::atomic<int> nDone = 0;
    const auto oEnd = std::chrono::steady_clock::now() + TIME;
    const auto Work = [&](int nThread)
    {
        struct sOpen
        {
            unsigned long nHandle;
            std::string sBytes;
        };

        std::mt19937 oRandom(static_cast<unsigned>(nThread));
        const auto Draw = [&](std::size_t nEnd) { return static_cast<int>(oRandom() % nEnd); };
        const auto Check = [&](bool bRight) { nWrong += bRight ? 0 : 1; };
        std::vector<sOpen> aOpen;
        for (int i = 0; i < MAX_ROUNDS && std::chrono::steady_clock::now() < oEnd; ++i)
        {
            if (aOpen.size() < 20 && Draw(3) == 0)
            {
                const int nArchive = Draw(3);
                const int nEntry = Draw(ENTRIES);
                const std::string sName = "a" + std::to_string(nArchive) + "/sub/" + NameOf(nEntry);
                aOpen.push_back({Files().OpenFile(sName.c_str()), BytesOf(nArchive, nEntry)});
                Check(Files().GetFileSize(aOpen.back().nHandle) == aOpen.back().sBytes.size());
            }
            else if (Draw(20) == 0)
            {
                const std::string sArchive = "a" + std::to_string(Draw(3));
                Check(Files().FileExists((sArchive + "/SUB/Entry7").c_str()));
                Check(!Files().FileExists((sArchive + "/sub/none").c_str()));
            }
            else if (!aOpen.empty())
            {
                const auto itOpen = aOpen.begin() + Draw(aOpen.size());
                const auto nPlace = static_cast<unsigned>(Draw(itOpen->sBytes.size()));
                std::string sRead(static_cast<std::size_t>(1 + Draw(6000)), '?');
                Check(Files().Seek(itOpen->nHandle, nPlace));
                sRead.resize(Files().ReadFile(itOpen->nHandle, sRead.data(), static_cast<unsigned long>(sRead.size())));
                Check(!sRead.empty() && sRead == itOpen->sBytes.substr(nPlace, sRead.size()));
                if (Draw(4) == 0)
                {
                    Check(Files().CloseFile(itOpen->nHandle));
                    aOpen.erase(itOpen);
                }
            }
            ++nDone;
        }
        for (const sOpen& oOpen : aOpen)
            Check(Files().CloseFile(oOpen.nHandle));
    };

    std::vector<std::thread> aThreads;
    for (int i = 0; i < THREADS; ++i)
        aThreads.emplace_back(Work, i);
    for (std::thread& oThread : aThreads)
        oThread.join();
    EXPECT_EQ(nWrong, 0);
    EXPECT_GT(nDone, 100);
    EXPECT_EQ(LowestFreeHandle(), 0);
}

// ---------------------------------------------------------------- archives that change

namespace
{
/// Reads a file again and again until the system's clocks have moved on: what may be remembered of it is then.
void ReadForAWhile(const std::string& sName, const std::string& sBytes)
{
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    while (std::chrono::steady_clock::now() < oEnd)
        ASSERT_EQ(ReadThroughFiles(sName), sBytes);
}
} // namespace

TEST(IsolatedArchiveChange, IsSeenAtOnce)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "old"}}));
    ReadForAWhile("p/a", "old");

    // Written over, and again so fast that the clock may not have moved on.
    for (const char* pBytes : {"new", "No3", "No4", "No5"})
    {
        oDirectory.Write("p.arc", MakeArchiveNode({{"a", pBytes}}));
        EXPECT_EQ(ReadThroughFiles("p/a"), pBytes);
    }
    ReadForAWhile("p/a", "No5");

    // Another file of the same name.
    oDirectory.Write("q", MakeArchiveNode({{"a", "2nd"}}));
    fs::rename("q", "p.arc");
    EXPECT_EQ(ReadThroughFiles("p/a"), "2nd");
    ReadForAWhile("p/a", "2nd");

    // Moved away and brought back.
    fs::rename("p.arc", "q");
    EXPECT_EQ(OpenError("p/a"), NOT_OPENED);
    oDirectory.MakeDirectory("p.arc");
    EXPECT_EQ(OpenError("p/a"), NOT_OPENED);
    oDirectory.Remove("p.arc");
    fs::rename("q", "p.arc");
    ReadForAWhile("p/a", "2nd");

    // Deleted, and made anew with fewer bytes.
    oDirectory.Remove("p.arc");
    EXPECT_EQ(OpenError("p/a"), NOT_OPENED);
    oDirectory.Write("p.arc", "short");
    EXPECT_EQ(OpenError("p/a"), "");
    EXPECT_EQ(Thrown([] { ReadThroughFiles("p/a"); }), NOT_READ);
}

TEST(IsolatedArchiveChange, IsSeenThroughLinks)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("1", MakeArchiveNode({{"a", "one"}}));
    oDirectory.Write("2", MakeArchiveNode({{"a", "two"}}));
    if (!MakeLink("1", "p.arc"))
        GTEST_SKIP() << "no links can be made here";

    ReadForAWhile("p/a", "one");
    oDirectory.Remove("p.arc");
    ASSERT_TRUE(MakeLink("2", "p.arc"));
    EXPECT_EQ(ReadThroughFiles("p/a"), "two");
    oDirectory.Remove("2");
    EXPECT_EQ(OpenError("p/a"), NOT_OPENED);
}

TEST(IsolatedArchiveChange, IsSeenInPermissions)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system has no such permissions";

    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "old"}}));
    ReadForAWhile("p/a", "old");
    fs::permissions("p.arc", fs::perms::none);
    {
        const COrdinaryUser oUser;
        EXPECT_EQ(OpenError("p/a"), NOT_OPENED);
    }
    fs::permissions("p.arc", fs::perms::owner_all);
    EXPECT_EQ(ReadThroughFiles("p/a"), "old");
}

TEST(IsolatedArchiveChange, IsNotSeenByAHandle)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system lets nobody replace a file that is open";

    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "old"}}));
    ReadForAWhile("p/a", "old");
    const unsigned long nOld = Files().OpenFile("p/a");
    oDirectory.Write("q", MakeArchiveNode({{"a", "new"}}));
    fs::rename("q", "p.arc");
    const unsigned long nNew = Files().OpenFile("p/a");

    char aBytes[4] = {};
    EXPECT_EQ(Files().ReadFile(nOld, aBytes, 3), 3u);
    EXPECT_STREQ(aBytes, "old");
    EXPECT_EQ(Files().ReadFile(nNew, aBytes, 3), 3u);
    EXPECT_STREQ(aBytes, "new");
    Files().CloseFile(nOld);
    Files().CloseFile(nNew);
}

TEST(IsolatedArchiveChange, IsFollowedByEachCopyOfTheProcess)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", std::string(20000, 'a') + "end"}}));
    ReadForAWhile("p/a", std::string(20000, 'a') + "end");

    // The copy reads through the handle that it inherited; the place where this process reads is another.
    const unsigned long nHandle = Files().OpenFile("p/a");
    Files().Seek(nHandle, 10000);
    char aBytes[4] = {};
    EXPECT_EQ(RunInFork(
                  [&]
                  {
                      Files().Seek(nHandle, 20000);
                      const bool bRight = Files().ReadFile(nHandle, aBytes, 3) == 3 && std::string(aBytes) == "end" &&
                                          ReadThroughFiles("p/a").size() == 20003 && Files().CloseFile(nHandle);
                      return bRight ? 0 : 1;
                  }),
              0);
    EXPECT_EQ(Files().ReadFile(nHandle, aBytes, 3), 3u);
    EXPECT_STREQ(aBytes, "aaa");
    Files().CloseFile(nHandle);
}

TEST(IsolatedArchiveChange, IsTheEndOfWhatIsGone)
{
    constexpr int ARCHIVES = 40;
    constexpr int MOST_KEPT = 32;

    if (CountOpenFiles() < 0)
        GTEST_SKIP() << "this system does not tell how many files a process has open";

    const CTestDirectory oDirectory;
    for (int i = 0; i <= ARCHIVES; ++i)
        oDirectory.Write("p" + std::to_string(i) + ".arc", MakeArchiveNode({{"a", std::to_string(i)}}));
    const auto ReadAll = [](int nCount)
    {
        for (int i = 0; i < nCount; ++i)
            EXPECT_EQ(ReadThroughFiles("p" + std::to_string(i) + "/a"), std::to_string(i));
    };

    const int nBefore = CountOpenFiles();
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    do
        ReadAll(ARCHIVES);
    while (std::chrono::steady_clock::now() < oEnd);
    EXPECT_LE(CountOpenFiles(), nBefore + MOST_KEPT);

    for (int i = 0; i < ARCHIVES; ++i)
        oDirectory.Remove("p" + std::to_string(i) + ".arc");
    EXPECT_EQ(ReadThroughFiles("p" + std::to_string(ARCHIVES) + "/a"), std::to_string(ARCHIVES));
    EXPECT_LE(CountOpenFiles(), nBefore + 1);
}

TEST(IsolatedArchiveChange, LeavesDescriptorsToWhoNeedsThem)
{
    if (HAS_SANITIZER)
        GTEST_SKIP() << "a sanitizer needs descriptors for its own checks";

    constexpr int ARCHIVES = 10;
    constexpr int MORE = 8;

    const CTestDirectory oDirectory;
    const int nBefore = CountOpenFiles();
    for (int i = 0; i < ARCHIVES; ++i)
    {
        const std::string sName = "p" + std::to_string(i);
        oDirectory.Write(sName + ".arc", MakeArchiveNode({{"a", sName}}));
        ReadForAWhile(sName + "/a", sName);
    }
    const int nKept = CountOpenFiles() - nBefore;
    if (!LimitOpenFiles(MORE))
        GTEST_SKIP() << "this system sets no limit to open files";

    // All that are kept are to be had for other files, and the archives open again afterwards.
    std::vector<int> aFiles;
    int nFile = FILE_Open("p0.arc", "rb");
    for (; nFile != -1 && aFiles.size() < 100; nFile = FILE_Open("p0.arc", "rb"))
        aFiles.push_back(nFile);
    EXPECT_EQ(aFiles.size(), static_cast<std::size_t>(MORE + nKept));
    EXPECT_EQ(OpenError("p1/a"), NOT_OPENED);
    for (const int nEach : aFiles)
        FILE_Close(nEach);
    EXPECT_EQ(ReadThroughFiles("p1/a"), "p1");
}

// ---------------------------------------------------------------- registering

TEST(IsolatedArchiveRegistry, ReadsAnArchiveOnlyOnce)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "old"}}));
    EXPECT_EQ(ReadThroughFiles("p/a"), "old");

    // The table is the one that was read, the bytes are those that are there now.
    oDirectory.Write("p.arc", MakeArchiveNode({{"b", "new"}}));
    EXPECT_EQ(ReadThroughFiles("p/a"), "new");
    EXPECT_EQ(OpenError("p/b"), NOT_FOUND);
    EXPECT_EQ(LowestFreeHandle(), 0);

    oDirectory.Write("p.arc", "short");
    EXPECT_EQ(OpenError("p/a"), "");
    EXPECT_EQ(Thrown([] { ReadThroughFiles("p/a"); }), NOT_READ);
}

TEST(IsolatedArchiveRegistry, OpensEntriesRelativeToTheCurrentDirectory)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("one/p.arc", MakeArchiveNode({{"a", "one"}, {"sub", MakeArchiveNode({{"x", "deep"}}), true}}));
    oDirectory.Write("two/p.arc", MakeArchiveNode({{"b", "two"}}));
    oDirectory.MakeDirectory("none");
    ASSERT_EQ(DIR_Change("one"), 1);
    EXPECT_EQ(ReadThroughFiles("p/a"), "one");

    // Of two archives of one name the one that was registered first counts.
    ASSERT_EQ(DIR_Change("../two"), 1);
    EXPECT_EQ(ReadThroughFiles("p/a"), "two");
    EXPECT_EQ(OpenError("p/b"), NOT_FOUND);

    ASSERT_EQ(DIR_Change("../none"), 1);
    EXPECT_EQ(OpenError("p/a"), NOT_OPENED);
    EXPECT_EQ(OpenError("p/sub/x"), NOT_OPENED);
    EXPECT_EQ(Thrown([] { Files().FileExists("p/a"); }), NOT_OPENED);
    EXPECT_EQ(OpenError("p/b"), NOT_FOUND);

    ASSERT_EQ(DIR_Change("../one"), 1);
    EXPECT_EQ(ReadThroughFiles("p/sub/x"), "deep");
}

TEST(IsolatedArchiveRegistry, HoldsTwoHundredFiftySixNodesAndNoMore)
{
    const CTestDirectory oDirectory;
    std::vector<ArchiveItem> aItems;
    for (int i = 0; i < 300; ++i)
        aItems.push_back({"d" + std::to_string(i), MakeArchiveNode({{"f", std::to_string(i)}}), true});
    oDirectory.Write("p.arc", MakeArchiveNode(aItems));
    oDirectory.Write("q.arc", MakeArchiveNode({{"f", "q"}}));

    for (int i = 0; i < 255; ++i)
        ASSERT_EQ(ReadThroughFiles("p/d" + std::to_string(i) + "/f"), std::to_string(i));
    EXPECT_EQ(OpenError("p/d255/f"), NOT_FOUND);
    EXPECT_EQ(OpenError("q/f"), NOT_FOUND);
    EXPECT_EQ(ReadThroughFiles("p/d254/f"), "254");
    EXPECT_EQ(ReadThroughFiles("p/D0/F"), "0");
    EXPECT_EQ(LowestFreeHandle(), 0);
}

TEST(IsolatedArchiveRegistry, TakesOneNodeForAnArchiveWithADrive)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "p"}}));
    oDirectory.Write("q.arc", MakeArchiveNode({{"a", "q"}}));

    // Where there are no drives it is a name like any other, and registered without what stands before the colon.
    std::string sDrive = Here().substr(0, 2);
    if (sDrive[1] != ':')
    {
        sDrive = "d:";
        oDirectory.Write("d:p.arc", MakeArchiveNode({{"a", "p"}}));
    }
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(ReadThroughFiles(sDrive + "p/a"), "p") << i;
    EXPECT_EQ(ReadThroughFiles("q/a"), "q");
}

TEST(IsolatedArchiveRegistry, IsCopiedWithAllThatIsInIt)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"p", "q"})
        oDirectory.Write(std::string(pName) + ".arc",
                         MakeArchiveNode({{"a", pName}, {"sub", MakeArchiveNode({{"x", "deep"}}), true}}));
    const auto CountFound = [](CExtendedFileSystem& oFiles)
    {
        int nFound = 0;
        for (const char* pName : {"p/a", "q/a", "p/sub/x", "q/sub/x"})
            nFound += oFiles.FileExists(pName) ? 1 : 0;
        return nFound;
    };

    auto pFirst = std::make_unique<CExtendedFileSystem>(Files());
    ASSERT_EQ(CountFound(*pFirst), 4);
    auto pSecond = std::make_unique<CExtendedFileSystem>(*pFirst);
    auto pThird = std::make_unique<CExtendedFileSystem>(Files());
    *pThird = *pSecond;

    // Nothing of a copy leads into its source: neither its going nor what it registers later is seen.
    pFirst.reset();
    oDirectory.Write("r.arc", MakeArchiveNode({{"a", "r"}}));
    EXPECT_TRUE(pSecond->FileExists("r/a"));
    oDirectory.Write("r.arc", "no archive any more, but long enough for a header");
    EXPECT_TRUE(pSecond->FileExists("r/a"));
    EXPECT_EQ(Thrown([&] { pThird->FileExists("r/a"); }), WRONG_VERSION);
    EXPECT_EQ(CountFound(*pSecond), 4);
    pSecond.reset();
    EXPECT_EQ(CountFound(*pThird), 4);
}

TEST(IsolatedArchiveRegistry, LosesNoNodeToBrokenArchives)
{
    const CTestDirectory oDirectory;
    std::string sOld = MakeArchiveNode({{"a", "a"}});
    sOld[4] = 2;
    oDirectory.Write("old.arc", sOld);
    std::string sMinor = MakeArchiveNode({{"a", "a"}});
    sMinor[5] = 1;
    oDirectory.Write("minor.arc", sMinor);
    oDirectory.Write("text.arc", std::string(100, 't'));
    oDirectory.Write("short.arc", "ARCX");
    oDirectory.Write("none.arc", "");
    oDirectory.Write("cut.arc", Golden("tree.arc").substr(0, 2000));
    std::string sLoop = MakeArchiveNode({{"x", "", true}, {"good", "good"}});
    SetNumber(sLoop, GetEntryPosition(sLoop, 0) + ENTRY_OFFSET_FIELD, 0);
    SetNumber(sLoop, GetEntryPosition(sLoop, 0) + ENTRY_SIZE_FIELD, static_cast<std::uint32_t>(sLoop.size()));
    oDirectory.Write("loop.arc", sLoop);
    std::string sOutside = MakeArchiveNode({{"x", "x"}, {"good", "good"}});
    SetNumber(sOutside, GetEntryPosition(sOutside, 0) + ENTRY_SIZE_FIELD, 0x7FFFFFFF);
    oDirectory.Write("outside.arc", sOutside);

    for (int i = 0; i < 40; ++i)
    {
        ASSERT_EQ(OpenError("old/a"), WRONG_VERSION);
        ASSERT_EQ(OpenError("minor/a"), WRONG_VERSION);
        ASSERT_EQ(OpenError("text/a"), WRONG_VERSION);
        ASSERT_EQ(OpenError("short/a"), NOT_READ);
        ASSERT_EQ(OpenError("none/a"), NOT_READ);
        ASSERT_EQ(OpenError("cut/a"), NOT_READ);
        ASSERT_EQ(OpenError("loop/x/x/x/x"), NOT_READ);
        ASSERT_EQ(OpenError("outside/x"), NOT_READ);
        ASSERT_EQ(Thrown([] { Files().FileExists("old/a"); }), WRONG_VERSION);
        ASSERT_EQ(ReadThroughFiles("loop/good"), "good");
        ASSERT_EQ(ReadThroughFiles("outside/good"), "good");
    }
    EXPECT_EQ(LowestFreeHandle(), 0);

    // Two archives are registered: were a node lost with each try, there would be no room for these.
    std::vector<ArchiveItem> aItems;
    for (int i = 0; i < 230; ++i)
        aItems.push_back({"d" + std::to_string(i), MakeArchiveNode({{"f", "f"}}), true});
    oDirectory.Write("many.arc", MakeArchiveNode(aItems));
    for (int i = 0; i < 230; ++i)
        ASSERT_EQ(OpenError("many/d" + std::to_string(i) + "/f"), "");

    // A broken archive that is replaced by a good one is read anew.
    oDirectory.Write("old.arc", MakeArchiveNode({{"a", "mended"}}));
    EXPECT_EQ(ReadThroughFiles("old/a"), "mended");
}

TEST(IsolatedArchiveRegistry, TakesADirectoryForNoArchive)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("p.arc");
    EXPECT_EQ(OpenError("p/a"), NOT_FOUND);
    EXPECT_FALSE(Files().ExtractArchive("p", "."));
}

TEST(IsolatedArchiveRegistry, FreesTheLockWhenItThrows)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "a"}}));
    EXPECT_EQ(ReadThroughFiles("p/a"), "a");
    oDirectory.Remove("p.arc");
    oDirectory.Write("old.arc", std::string(100, 'o'));
    oDirectory.Write("short.arc", "ARCX");
    oDirectory.Write("plain", "plain");

    const std::pair<const char*, const char*> aCases[] = {
        {"p/a", NOT_OPENED}, {"old/a", WRONG_VERSION}, {"short/a", NOT_READ}};
    for (const auto& [pName, pError] : aCases)
    {
        const char* const pMissing = pName;
        EXPECT_EQ(OpenError(pName), pError);
        EXPECT_EQ(Thrown([pMissing] { Files().FileExists(pMissing); }), pError);
        EXPECT_FALSE(Files().IsFileOpen(1)); // the slot that was meant for it is free

        // The thread that threw could enter again even if it had kept the lock; another one could not.
        std::string sRead;
        std::thread([&] { sRead = ReadThroughFiles("plain"); }).join();
        EXPECT_EQ(sRead, "plain");
    }
}

// ---------------------------------------------------------------- extraction

TEST(IsolatedArchiveExtraction, WritesTheTreeUnderTheArchivesName)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("pack.arc", Golden("tree.arc"));
    oDirectory.MakeDirectory("out");
    const std::string sHere = Here();
    EXPECT_TRUE(Files().ExtractArchive("pack", "out"));
    EXPECT_EQ(ListTree("out/pack"), GoldenTree());
    EXPECT_EQ(Here(), sHere);

    // Again over what is there, and what was longer gets shorter.
    oDirectory.Write("out/pack/c", "longer than before");
    EXPECT_TRUE(Files().ExtractArchive("pack.ARC", "out"));
    EXPECT_EQ(ListTree("out/pack"), GoldenTree());
    EXPECT_EQ(LowestFreeHandle(), 0);

    // and packed again it is the same archive
    EXPECT_TRUE(Files().CreateArchive("again", "out/pack"));
    EXPECT_EQ(oDirectory.Read("again.arc"), Golden("tree.arc"));
}

TEST(IsolatedArchiveExtraction, TakesTheDestinationWhereverItIs)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"f", "f"}}));
    oDirectory.MakeDirectory("out/in");
    oDirectory.MakeDirectory("out.d/in");

    struct
    {
        std::string sDestination;
        const char* pResult;
    } const aCases[] = {
        {"", "p/f"},
        {".", "p/f"},
        {"out", "out/p/f"},
        {"out/", "out/p/f"},
        {"out\\in", "out/in/p/f"},
        {"out.d", "out/p/f"}, // the extension is dropped
        {"out.d/", "out.d/p/f"},
        {"out.d/in", "out.d/in/p/f"},
        {"out.d/in/..", "out.d/p/f"},
        {oDirectory.PathOf("out"), "out/p/f"},
    };

    for (const auto& [sDestination, pResult] : aCases)
    {
        EXPECT_TRUE(Files().ExtractArchive("p", sDestination.c_str())) << sDestination;
        EXPECT_TRUE(oDirectory.Has(pResult)) << sDestination;
        if (oDirectory.Has(pResult))
            oDirectory.Remove(pResult);
    }
}

TEST(IsolatedArchiveExtraction, FindsItsArchiveBeforeItChangesTheDirectory)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a/p.arc", MakeArchiveNode({{"f", "from a"}}));
    oDirectory.Write("b/p.arc", MakeArchiveNode({{"f", "from b"}}));
    oDirectory.Write("p.arc", MakeArchiveNode({{"f", "from here"}}));
    oDirectory.MakeDirectory("out");
    EXPECT_EQ(ReadThroughFiles("p/f"), "from here");
    for (const auto& [pArchive, pContents] :
         {std::pair("a/p", "from a"), std::pair("b\\p.arc", "from b"), std::pair("p", "from here")})
    {
        EXPECT_TRUE(Files().ExtractArchive(pArchive, "out"));
        EXPECT_EQ(oDirectory.Read("out/p/f"), pContents);
    }
}

TEST(IsolatedArchiveExtraction, NeedsNoneOfTheRegistrysNodes)
{
    const CTestDirectory oDirectory;
    std::vector<ArchiveItem> aItems;
    for (int i = 0; i < 260; ++i)
        aItems.push_back({"d" + std::to_string(i), MakeArchiveNode({{"f", std::to_string(i)}}), true});
    oDirectory.Write("p.arc", MakeArchiveNode(aItems));
    oDirectory.Write("q.arc", MakeArchiveNode({{"f", "q"}}));
    EXPECT_TRUE(Files().ExtractArchive("p", ""));
    EXPECT_EQ(ListTree("p").size(), 520u);
    EXPECT_EQ(oDirectory.Read("p/d259/f"), "259");
    EXPECT_EQ(ReadThroughFiles("q/f"), "q");
}

TEST(IsolatedArchiveExtraction, SaysWhatIsMissing)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"f", "f"}}));
    oDirectory.Write("file", "no directory");
    oDirectory.MakeDirectory(".hidden");
    const std::string sHere = Here();
    EXPECT_FALSE(Files().ExtractArchive("missing", "."));
    EXPECT_FALSE(Files().ExtractArchive("", "."));
    EXPECT_FALSE(Files().ExtractArchive(nullptr, "."));
    EXPECT_FALSE(Files().ExtractArchive(std::string(5000, 'a').c_str(), "."));
    EXPECT_EQ(ExtractError("p", "missing"), NO_DIRECTORY);
    EXPECT_EQ(ExtractError("p", "file"), NO_DIRECTORY);
    EXPECT_EQ(ExtractError("p", ".hidden"), NO_DIRECTORY);
    EXPECT_EQ(ExtractError("p", nullptr), NO_DIRECTORY);
    oDirectory.Write("p", "in the way");
    EXPECT_EQ(ExtractError("p", "."), NO_DIRECTORY);
    EXPECT_EQ(Here(), sHere);
    EXPECT_EQ(LowestFreeHandle(), 0);
}

TEST(IsolatedArchiveExtraction, RefusesNamesThatLeadElsewhere)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("top/out");
    const std::string sHere = Here();
    for (const std::string& sName : std::vector<std::string>{"", ".", "..", "/", "\\", "../evil", "..\\evil", "/evil",
                                                             "sub/evil", "sub\\evil", "evil/"})
    {
        for (const bool bIsDirectory : {false, true})
        {
            const std::string sBytes = bIsDirectory ? MakeArchiveNode({{"inner", "x"}}) : "x";
            oDirectory.Write("bad.arc", MakeArchiveNode({{sName, sBytes, bIsDirectory}}));
            EXPECT_EQ(ExtractError("bad", "top/out"), NOT_CREATED) << sName;
            const std::map<std::string, std::string> oNothing = {{"out/", ""}, {"out/bad/", ""}};
            EXPECT_EQ(ListTree("top"), oNothing) << sName;
            EXPECT_EQ(Here(), sHere);
        }
    }
}

TEST(IsolatedArchiveExtraction, RefusesASecondOfOneName)
{
    const CTestDirectory oDirectory;
    const std::string sNode = MakeArchiveNode({{"inner", "x"}});
    oDirectory.Write("files.arc", MakeArchiveNode({{"a", "first"}, {"b", "b"}, {"a", "second"}}));
    EXPECT_EQ(ExtractError("files", ""), NOT_CREATED);
    EXPECT_EQ(oDirectory.Read("files/a"), "first");
    EXPECT_EQ(ExtractError("files", ""), NOT_CREATED) << "what lay there before is replaced, once";

    oDirectory.Write("both.arc", MakeArchiveNode({{"a", sNode, true}, {"a", "file"}}));
    EXPECT_EQ(ExtractError("both", ""), NOT_CREATED);
    EXPECT_EQ(oDirectory.Read("both/a"), "file");

    oDirectory.Write("directories.arc",
                     MakeArchiveNode({{"a", sNode, true}, {"a", MakeArchiveNode({{"other", "y"}}), true}}));
    EXPECT_EQ(ExtractError("directories", ""), NOT_CREATED);
    EXPECT_TRUE(oDirectory.Has("directories/a/inner"));
    EXPECT_FALSE(oDirectory.Has("directories/a/other"));
}

TEST(IsolatedArchiveExtraction, RefusesNamesThatAreOneOnThisDisk)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("probe", "");
    const bool bCaseBlind = fs::exists("PROBE");
    oDirectory.Write("p.arc", MakeArchiveNode({{"name", "small"}, {"NAME", "capital"}}));
    EXPECT_EQ(ExtractError("p", ""), bCaseBlind ? NOT_CREATED : "");
    EXPECT_EQ(oDirectory.Read("p/name"), "small");
    EXPECT_EQ(oDirectory.Read("p/NAME"), bCaseBlind ? "small" : "capital");
}

TEST(IsolatedArchiveExtraction, TakesNamesAsThisSystemDoes)
{
    // On Windows these are streams, other drives and devices; elsewhere they are names like any other.
    const CTestDirectory oDirectory;
    const bool bWindows = Here().find('\\') != std::string::npos;
    for (const char* pName : {"c:evil", "a:stream", "nul", "NUL", "con.txt", "com1", "lpt9.dat", "aux", "prn"})
    {
        oDirectory.Write("bad.arc", MakeArchiveNode({{pName, "x"}}));
        EXPECT_EQ(ExtractError("bad", ""), bWindows ? NOT_CREATED : "") << pName;
        EXPECT_EQ(oDirectory.Has("bad/" + std::string(pName)) && !bWindows, !bWindows) << pName;
    }
}

TEST(IsolatedArchiveExtraction, FollowsNoLinkOutOfItsDestination)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", Golden("tree.arc"));
    oDirectory.Write("outside/c", "untouched");
    oDirectory.MakeDirectory("out/p");
    if (!MakeLink(oDirectory.PathOf("outside"), oDirectory.PathOf("out/p/sub")))
        GTEST_SKIP() << "no links can be made here";
    EXPECT_EQ(ExtractError("p", "out"), NO_DIRECTORY);
    EXPECT_EQ(ListTree("outside"), (std::map<std::string, std::string>{{"c", "untouched"}}));

    // a link in place of a file, and a second name of a file outside, are replaced
    oDirectory.Remove("out/p/sub");
    oDirectory.Remove("out/p/c");
    oDirectory.Remove("out/p/B.txt");
    ASSERT_TRUE(MakeLink(oDirectory.PathOf("outside/c"), oDirectory.PathOf("out/p/c")));
    fs::create_hard_link(oDirectory.PathOf("outside/c"), oDirectory.PathOf("out/p/B.txt"));
    EXPECT_EQ(ExtractError("p", "out"), "");
    EXPECT_EQ(ListTree("outside"), (std::map<std::string, std::string>{{"c", "untouched"}}));
    EXPECT_EQ(ListTree("out/p"), GoldenTree());

    // a link in place of the directory that is to be made
    oDirectory.Remove("out/p");
    ASSERT_TRUE(MakeLink(oDirectory.PathOf("outside"), oDirectory.PathOf("out/p")));
    EXPECT_EQ(ExtractError("p", "out"), NO_DIRECTORY);
    EXPECT_EQ(ListTree("outside"), (std::map<std::string, std::string>{{"c", "untouched"}}));
}

TEST(IsolatedArchiveExtraction, RefusesBrokenArchives)
{
    const CTestDirectory oDirectory;
    const std::string sGolden = Golden("tree.arc");
    const std::string sHere = Here();
    std::string sBroken = sGolden;
    sBroken[4] = 9;
    oDirectory.Write("p.arc", sBroken);
    EXPECT_EQ(ExtractError("p", ""), WRONG_VERSION);

    for (const std::size_t nLength : {0u, 31u, 32u, 1000u, 2623u})
    {
        oDirectory.Write("p.arc", sGolden.substr(0, nLength));
        EXPECT_EQ(ExtractError("p", ""), NOT_READ) << nLength;
    }
    EXPECT_FALSE(oDirectory.Has("p"));

    sBroken = sGolden;
    SetNumber(sBroken, GetEntryPosition(sBroken, 2) + ENTRY_SIZE_FIELD, 1000000);
    oDirectory.Write("p.arc", sBroken);
    EXPECT_EQ(ExtractError("p", ""), NOT_READ);
    EXPECT_FALSE(oDirectory.Has("p"));

    sBroken = sGolden;
    sBroken[50] = 'X'; // the magic of the node Empty
    oDirectory.Write("p.arc", sBroken);
    EXPECT_EQ(ExtractError("p", ""), WRONG_VERSION);
    EXPECT_EQ(Here(), sHere);
    EXPECT_EQ(LowestFreeHandle(), 0);
}

TEST(IsolatedArchiveExtraction, EndsOnArchivesThatHoldThemselvesOrMultiply)
{
    const CTestDirectory oDirectory;
    std::string sLoop = MakeArchiveNode({{"x", "", true}});
    SetNumber(sLoop, GetEntryPosition(sLoop, 0) + ENTRY_OFFSET_FIELD, 0);
    SetNumber(sLoop, GetEntryPosition(sLoop, 0) + ENTRY_SIZE_FIELD, static_cast<std::uint32_t>(sLoop.size()));
    oDirectory.Write("loop.arc", sLoop);
    EXPECT_EQ(ExtractError("loop", ""), NOT_READ);

    // Fifty levels of which each holds the one below twice would be a million million files.
    std::string sNode = MakeArchiveNode({{"f", "f"}});
    for (int i = 0; i < 50; ++i)
    {
        sNode = MakeArchiveNode({{"a", sNode, true}, {"b", "", true}});
        for (const std::size_t nField : {ENTRY_OFFSET_FIELD, ENTRY_SIZE_FIELD})
            SetNumber(sNode, GetEntryPosition(sNode, 1) + nField,
                      GetNumber(sNode, GetEntryPosition(sNode, 0) + nField));
    }
    oDirectory.Write("twice.arc", sNode);
    EXPECT_EQ(ExtractError("twice", ""), NOT_READ);
    EXPECT_FALSE(oDirectory.Has("twice"));
}

TEST(IsolatedArchiveExtraction, EndsOnArchivesThatAreTooDeep)
{
    if (RunsUnderWine())
        GTEST_SKIP() << "Wine takes minutes for a path of a thousand names";
    const CTestDirectory oDirectory;
    constexpr int DEPTH = 5000;
    std::string sNode = MakeArchiveNode({});
    std::string sHeads;
    std::string sTables;
    std::size_t nBelow = sNode.size();
    for (int i = 0; i < DEPTH; ++i)
    {
        // header | node below | table with the one entry
        std::string sHead = sNode.substr(0, 32);
        SetNumber(sHead, NODE_SIZE_FIELD, static_cast<std::uint32_t>(32 + nBelow + ENTRY_SIZE));
        SetNumber(sHead, TABLE_OFFSET_FIELD, static_cast<std::uint32_t>(32 + nBelow));
        SetNumber(sHead, ENTRY_COUNT_FIELD, 1);
        std::string sEntry(ENTRY_SIZE, '\0');
        sEntry[0] = 'd';
        SetNumber(sEntry, ENTRY_OFFSET_FIELD, 32);
        SetNumber(sEntry, ENTRY_SIZE_FIELD, static_cast<std::uint32_t>(nBelow));
        sEntry[ENTRY_FLAG_FIELD] = 1;
        sHeads.insert(0, sHead);
        sTables += sEntry;
        nBelow += 32 + ENTRY_SIZE;
    }
    oDirectory.Write("deep.arc", sHeads + sNode + sTables);
    const std::string sHere = Here();
    EXPECT_EQ(ExtractError("deep", ""), NO_DIRECTORY);
    EXPECT_EQ(Here(), sHere);
    std::error_code oError;
    fs::remove_all("deep", oError);
}

TEST(IsolatedArchiveExtraction, ReportsWritesThatFail)
{
    if (!CFileSizeLimit::IsSupported())
        GTEST_SKIP() << "this system has no limit on the size of a file";
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", std::string(3000000, 'a')}}));
    oDirectory.Write("q.arc", MakeArchiveNode({{"a", "0123456789"}}));
    const std::string sHere = Here();
    {
        const CFileSizeLimit oLimit(2000000);
        EXPECT_EQ(ExtractError("p", ""), NOT_WRITTEN);
    }
    {
        const CFileSizeLimit oLimit(9);
        EXPECT_EQ(ExtractError("q", ""), NOT_WRITTEN);
    }
    EXPECT_EQ(Here(), sHere);
    EXPECT_EQ(ExtractError("p", ""), "");
    EXPECT_EQ(oDirectory.Read("p/a"), std::string(3000000, 'a'));
}

TEST(IsolatedArchiveExtraction, ReplacesNoReadOnlyFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("p.arc", MakeArchiveNode({{"a", "new"}}));
    oDirectory.Write("p/a", "old");
    oDirectory.SetReadOnly("p/a", true);
    EXPECT_EQ(ExtractError("p", ""), NOT_CREATED);
    oDirectory.SetReadOnly("p/a", false);
    EXPECT_EQ(oDirectory.Read("p/a"), "old");
    oDirectory.Remove("p/a");
    oDirectory.MakeDirectory("p/a");
    EXPECT_EQ(ExtractError("p", ""), NOT_CREATED);
}

TEST(IsolatedArchiveExtraction, BringsBackFilesOfEverySize)
{
    const CTestDirectory oDirectory;
    std::map<std::string, std::string> oTree;
    std::uint32_t nRandom = 1;
    for (const std::size_t nSize : {0u, 1u, 31u, 4095u, 4096u, 4097u, 65535u, 65536u, 65537u, 1048576u, 3500000u})
    {
        std::string sBytes(nSize, '\0');
        for (char& cByte : sBytes)
            cByte = static_cast<char>((nRandom = nRandom * 1664525 + 1013904223) >> 24);
        oTree["f" + std::to_string(nSize)] = sBytes;
        oTree["sub/"] = "";
        oTree["sub/f" + std::to_string(nSize)] = sBytes;
    }
    WriteTree(oDirectory, "d", oTree);
    ASSERT_TRUE(Files().CreateArchive("x", "d"));
    ASSERT_TRUE(Files().ExtractArchive("x", ""));
    EXPECT_TRUE(ListTree("x") == oTree);
    for (const auto& [sName, sBytes] : oTree)
    {
        if (sName.back() != '/')
        {
            EXPECT_TRUE(ReadThroughFiles("x/" + sName) == sBytes) << sName;
        }
    }
}

TEST(IsolatedArchiveCreation, PacksNoDirectoryThatFailsHalfWay)
{
    if (!CDirectoryFault::IsSupported())
        GTEST_SKIP() << "no test can make a directory of this system fail";

    const CTestDirectory oDirectory;
    const std::string sHere = Here();
    WriteTree(oDirectory, "tree", GoldenTree());
    for (int nEntries = 0; nEntries < 15; ++nEntries)
    {
        {
            const CDirectoryFault oFault(nEntries);
            EXPECT_EQ(CreateError("x", "tree"), NOT_OPENED) << nEntries;
        }
        EXPECT_EQ(Here(), sHere);
    }
    ASSERT_TRUE(Files().CreateArchive("x", "tree"));
    ASSERT_TRUE(Files().ExtractArchive("x", ""));
    EXPECT_TRUE(ListTree("x") == ListTree("tree"));
}

// ---------------------------------------------------------------- notifications

TEST(IsolatedArchiveNotification, TellsEveryFileAndDirectory)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "tree", GoldenTree());
    oDirectory.MakeDirectory("out");
    Files().AddCallback(NoteEvent, 4711);

    char aHere[1024];
    ASSERT_EQ(DIR_GetWorkingDirectory(aHere, sizeof aHere), 1);
    const std::string sHere = aHere;
    const std::string sSlash = sHere.find('\\') != std::string::npos ? "\\" : "/";
    const std::string sTree = sHere + sSlash + "tree";
    const std::string sSub = sTree + sSlash + "sub";
    const std::string sDeep = sSub + sSlash + "Deep";

    ASSERT_TRUE(Files().CreateArchive("x", "tree"));
    const std::vector<std::string> aCreated = {
        "4|" + sTree + "|a.txt", "4|" + sTree + "|B.txt",   "4|" + sTree + "|c",       "4|" + sTree + "|Empty",
        "4|" + sTree + "|sub",   "1|" + sTree + "|a.txt",   "1|" + sTree + "|B.txt",   "1|" + sTree + "|c",
        "4|" + sSub + "|Deep",   "4|" + sSub + "|file.txt", "1|" + sSub + "|file.txt", "4|" + sDeep + "|x.bin",
        "1|" + sDeep + "|x.bin"};
    EXPECT_EQ(s_aEvents, aCreated);

    s_aEvents.clear();
    ASSERT_TRUE(Files().ExtractArchive("x", "out"));
    const std::string sOut = sHere + sSlash + "out";
    const std::string sTop = sOut + sSlash + "x";
    const std::string sTopSub = sTop + sSlash + "sub";
    const std::vector<std::string> aExtracted = {"3|" + sOut + "\\x",
                                                 "2|" + sTop + "|x|a.txt",
                                                 "2|" + sTop + "|x|B.txt",
                                                 "2|" + sTop + "|x|c",
                                                 "3|" + sTop + "\\Empty",
                                                 "3|" + sTop + "\\sub",
                                                 "2|" + sTopSub + "|sub|file.txt",
                                                 "3|" + sTopSub + "\\Deep",
                                                 "2|" + sTopSub + sSlash + "Deep" + "|Deep|x.bin"};
    EXPECT_EQ(s_aEvents, aExtracted);

    s_aEvents.clear();
    Files().RemoveCallback(NoteEvent);
    ASSERT_TRUE(Files().CreateArchive("x", "tree"));
    EXPECT_TRUE(s_aEvents.empty());
}

TEST(IsolatedArchiveNotification, CallsAllInTheirOrder)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("tree/a", "a");
    static std::vector<std::pair<char, unsigned long>> s_aCalls;
    const auto NoteFirst = [](int, unsigned long, unsigned long, unsigned long nUser)
    { s_aCalls.emplace_back('f', nUser); };
    const auto NoteSecond = [](int, unsigned long, unsigned long, unsigned long nUser)
    { s_aCalls.emplace_back('s', nUser); };

    Files().AddCallback(NoteFirst, 3);
    Files().AddCallback(NoteSecond, 1);
    Files().AddCallback(NoteFirst, 2);
    ASSERT_TRUE(Files().CreateArchive("x", "tree"));

    // Twice: when the file is counted, and when it is stored.
    const std::vector<std::pair<char, unsigned long>> aExpected = {{'f', 3}, {'s', 1}, {'f', 2},
                                                                   {'f', 3}, {'s', 1}, {'f', 2}};
    EXPECT_EQ(s_aCalls, aExpected);
}

TEST(IsolatedArchiveNotification, CutsALongDirectory)
{
    const CTestDirectory oDirectory;
    if (Here().find('\\') != std::string::npos)
        GTEST_SKIP() << "the current directory of this system is never so long";
    for (int i = 0; i < 3; ++i)
    {
        const std::string sName(100, static_cast<char>('a' + i));
        ASSERT_EQ(DIR_Create(sName.c_str()), 1);
        ASSERT_EQ(DIR_Change(sName.c_str()), 1);
    }
    const unsigned long nEmpty = Files().CreateFile("name");
    Files().CloseFile(nEmpty);

    static std::string s_sHere;
    s_sHere = Here();
    static int s_nCalls = 0;
    Files().AddCallback(
        [](int, unsigned long nRecord, unsigned long, unsigned long)
        {
            const char* const pRecord = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(nRecord));
            EXPECT_EQ(std::string(pRecord), s_sHere.substr(0, 259));
            EXPECT_STREQ(pRecord + 260, "name");
            ++s_nCalls;
        },
        0);
    ASSERT_TRUE(Files().CreateArchive("../x", ""));
    EXPECT_EQ(s_nCalls, 2);
}

TEST(IsolatedArchiveNotification, LetsACallbackEndTheWork)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "tree", GoldenTree());
    oDirectory.Write("p.arc", Golden("tree.arc"));
    const std::string sHere = Here();

    static int s_nCountdown = 0;

    struct Stop
    {
    };

    Files().AddCallback(
        [](int, unsigned long, unsigned long, unsigned long)
        {
            if (--s_nCountdown == 0)
                throw Stop();
        },
        0);
    for (int i = 1; i <= 9; ++i)
    {
        s_nCountdown = i;
        EXPECT_THROW(Files().CreateArchive("x", "tree"), Stop) << i;
        EXPECT_EQ(Here(), sHere);
        s_nCountdown = i;
        EXPECT_THROW(Files().ExtractArchive("p", ""), Stop) << i;
        EXPECT_EQ(Here(), sHere);
    }
    EXPECT_EQ(LowestFreeHandle(), 0);
}
