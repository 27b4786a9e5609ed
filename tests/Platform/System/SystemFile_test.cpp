#include <Common/Platform/System/SystemFile.h>

#include <Common/Platform/PlatformDirectory.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/System/FileAttributes.h>
#include <Common/Platform/System/NameOrder.h>

#include <tests/support/DirectoryFault.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace
{
struct sCloseStream
{
    void operator()(std::FILE* pStream) const { std::fclose(pStream); }
};

using CStream = std::unique_ptr<std::FILE, sCloseStream>;

CStream Open(const char* pPath, const char* pMode)
{
    return CStream(System::OpenStream(pPath, pMode));
}

using CNames = std::vector<std::string>;

/// What a search finds: the names, directories with a slash at the end.
CNames Search(const std::string& sPattern)
{
    CNames oNames;
    System::CDirectorySearch oSearch;
    if (!oSearch.Start(sPattern.c_str()))
        return {"(no directory)"};
    while (const char* pName = oSearch.Next())
        oNames.push_back(std::string(pName) + (oSearch.IsDirectory() ? "/" : ""));
    return oNames;
}

#define REQUIRE_SPECIAL_FILES()                                                                                        \
    if (!HasSpecialFiles())                                                                                            \
    GTEST_SKIP() << "this system has no pipes, sockets and links among its files"

#define REQUIRE_CASE_SENSITIVE_NAMES()                                                                                 \
    if (!HasCaseSensitiveNames())                                                                                      \
    GTEST_SKIP() << "this system takes no such names"
} // namespace

// ---------------------------------------------------------------- files without a stream

TEST(SystemDescriptor, ReadsAndMoves)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a", "0123456789");
    System::sFileStatus oStatus{};
    const int nFile = System::OpenDescriptor("a", "rb", oStatus);
    ASSERT_NE(nFile, -1);
    EXPECT_EQ(oStatus.eKind, System::eFileKind::File);
    EXPECT_EQ(oStatus.nSize, 10u);

    System::sFileStatus oAgain{};
    EXPECT_TRUE(System::GetDescriptorStatus(nFile, oAgain));
    EXPECT_TRUE(oAgain.IsSameFile(oStatus));

    char aBytes[20];
    EXPECT_EQ(System::ReadDescriptor(nFile, aBytes, 4), 4u);
    EXPECT_EQ(std::string(aBytes, 4), "0123");
    EXPECT_EQ(System::SeekDescriptor(nFile, 0, SEEK_CUR), 4);
    EXPECT_EQ(System::SeekDescriptor(nFile, -3, SEEK_END), 7);
    EXPECT_EQ(System::ReadDescriptor(nFile, aBytes, sizeof aBytes), 3u);
    EXPECT_EQ(std::string(aBytes, 3), "789");
    EXPECT_EQ(System::ReadDescriptor(nFile, aBytes, 1), 0u) << "the end";
    EXPECT_EQ(System::SeekDescriptor(nFile, -1, SEEK_SET), -1);
    EXPECT_EQ(System::WriteDescriptor(nFile, "x", 1), 0u) << "open for reading alone";
    EXPECT_TRUE(System::CloseDescriptor(nFile));
    EXPECT_EQ(oDirectory.Read("a"), "0123456789");
}

TEST(SystemDescriptor, WritesEmptiesAndAppends)
{
    const CTestDirectory oDirectory;

    struct
    {
        const char* pMode;
        const char* pBytes;
        std::uint64_t nSizeBefore;
        const char* pWhole;
    } const aSteps[] = {{"wb", "abc\n", 0, "abc\n"}, {"ab", "de", 4, "abc\nde"}, {"wb", "f", 0, "f"}};

    for (const auto& [pMode, pBytes, nSizeBefore, pWhole] : aSteps)
    {
        System::sFileStatus oStatus{};
        const int nFile = System::OpenDescriptor("a", pMode, oStatus);
        ASSERT_NE(nFile, -1) << pMode;
        EXPECT_EQ(oStatus.nSize, nSizeBefore) << pMode;
        const std::string sBytes(pBytes);
        EXPECT_EQ(System::WriteDescriptor(nFile, sBytes.data(), sBytes.size()), sBytes.size()) << pMode;
        EXPECT_EQ(oDirectory.Read("a"), pWhole) << "nothing waits in a buffer";
        EXPECT_TRUE(System::CloseDescriptor(nFile)) << pMode;
    }
}

TEST(SystemDescriptor, AppendsToTheEndWhereverTheFileHasGrownTo)
{
    const CTestDirectory oDirectory;
    System::sFileStatus oStatus{};
    const int nFirst = System::OpenDescriptor("a", "ab", oStatus);
    const int nSecond = System::OpenDescriptor("a", "ab", oStatus);
    for (const char* pBytes : {"1", "3"})
    {
        EXPECT_EQ(System::WriteDescriptor(nFirst, pBytes, 1), 1u);
        EXPECT_EQ(System::WriteDescriptor(nSecond, "2", 1), 1u);
    }
    EXPECT_TRUE(System::CloseDescriptor(nFirst));
    EXPECT_TRUE(System::CloseDescriptor(nSecond));
    EXPECT_EQ(oDirectory.Read("a"), "1232");
}

TEST(SystemDescriptor, RefusesWhatIsNoFile)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("d");
    System::sFileStatus oStatus{};
    for (const char* pMode : {"rb", "wb", "ab"})
    {
        EXPECT_EQ(System::OpenDescriptor("d", pMode, oStatus), -1) << pMode;
        EXPECT_EQ(System::OpenDescriptor("no/a", pMode, oStatus), -1) << pMode;
        EXPECT_EQ(System::OpenDescriptor(nullptr, pMode, oStatus), -1) << pMode;
    }
    EXPECT_EQ(System::OpenDescriptor("a", "rb", oStatus), -1);
    for (const char* pMode : {"", "q", static_cast<const char*>(nullptr)})
        EXPECT_EQ(System::OpenDescriptor("a", pMode, oStatus), -1);
    EXPECT_FALSE(oDirectory.Has("a"));
}

// ---------------------------------------------------------------- order and matching of names

TEST(NameOrder, ComparesFoldedBytesAndThenBytes)
{
    const char* const aInOrder[] = {"",    " ",   "-", "0", "9", "A", "a", "A1", "a1", "AB",   "Ab",   "aB",  "ab",
                                    "ab-", "ABC", "B", "b", "Z", "z", "[", "_",  "{",  "\x7F", "\x80", "\xFF"};
    std::vector<const char*> oSorted(std::begin(aInOrder), std::end(aInOrder));
    for (std::size_t i = 0; i < oSorted.size(); ++i)
    {
        EXPECT_FALSE(System::IsNameBefore(oSorted[i], oSorted[i])) << oSorted[i];
        for (std::size_t j = i + 1; j < oSorted.size(); ++j)
        {
            EXPECT_TRUE(System::IsNameBefore(oSorted[i], oSorted[j])) << oSorted[i] << ", " << oSorted[j];
            EXPECT_FALSE(System::IsNameBefore(oSorted[j], oSorted[i])) << oSorted[i] << ", " << oSorted[j];
        }
    }
}

TEST(NameOrder, FoldsTheLettersAToZOnly)
{
    for (int nByte = 0; nByte < 256; ++nByte)
        EXPECT_EQ(System::FoldByte(static_cast<char>(nByte)), nByte >= 'a' && nByte <= 'z' ? nByte - 32 : nByte);
    EXPECT_TRUE(System::IsSameFolded("aZ_\xE4", "Az_\xE4"));
    EXPECT_FALSE(System::IsSameFolded("\xE4", "\xC4"));
    EXPECT_FALSE(System::IsSameFolded("a", "ab"));
    EXPECT_FALSE(System::IsSameFolded("[", "{"));
}

TEST(NameOrder, MatchesPatterns)
{
    struct
    {
        const char* pPattern;
        const char* pName;
        bool bMatches;
    } const aCases[] = {
        {"*", "", true},          {"*", "anything.at.all", true},
        {"*.*", "no dot", true},  {"*.*", ".", true},
        {"", "", true},           {"", "a", false},
        {"a", "A", true},         {"a", "b", false},
        {"?", "", false},         {"?", "a", true},
        {"?", "ab", false},       {"a?c", "AbC", true},
        {"*.txt", "A.TXT", true}, {"*.txt", "a.txt.bak", false},
        {"*.txt", ".txt", true},  {"a*", "", false},
        {"a*b*c", "aXbYc", true}, {"a*b*c", "acb", false},
        {"*a*a*", "a", false},    {"*a*a*", "banana", true},
        {"**", "x", true},        {"a**", "a", true},
        {"*?", "", false},        {"*?", "ab", true},
        {"*.*.*", "a.b", false},  {"*.*.*", "a.b.c", true},
        {"*ab", "aab", true},     {"*aab", "aaab", true},
        {"a.b", "axb", false},    {"[a]", "a", false},
        {"[a]", "[A]", true},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(System::CNamePattern(oCase.pPattern).Matches(oCase.pName), oCase.bMatches)
            << oCase.pPattern << " on " << oCase.pName;

    const std::string sLong(5000, 'a');
    EXPECT_FALSE(System::CNamePattern("*a*a*a*a*a*a*a*a*b").Matches(sLong));
}

// ---------------------------------------------------------------- attributes

TEST(FileAttributes, HaveBothTheirValues)
{
    struct
    {
        unsigned nOurs;
        unsigned nName;
        std::uint32_t nSystem;
    } const aTable[] = {
        {0x01, FILE_ATTR_ARCHIVE, 0x20}, {0x02, FILE_ATTR_COMPRESSED, 0x800}, {0x04, FILE_ATTR_DIRECTORY, 0x10},
        {0x08, FILE_ATTR_HIDDEN, 0x02},  {0x10, FILE_ATTR_NORMAL, 0x80},      {0x20, FILE_ATTR_READONLY, 0x01},
        {0x40, FILE_ATTR_SYSTEM, 0x04},  {0x80, FILE_ATTR_TEMPORARY, 0x100},
    };

    for (const auto& oRow : aTable)
    {
        EXPECT_EQ(oRow.nOurs, oRow.nName);
        EXPECT_EQ(System::ToOurAttributes(oRow.nSystem), oRow.nOurs);
        EXPECT_EQ(System::ToSystemAttributes(oRow.nOurs), oRow.nSystem);
    }
    EXPECT_EQ(System::ToOurAttributes(0xFFFFFFFF), 0xFFFFFFFFu);
    EXPECT_EQ(System::ToSystemAttributes(0xFFFFFFFF), 0xFFFFFFFFu);
    EXPECT_EQ(System::ToOurAttributes(0), 0u);
    EXPECT_EQ(System::ToSystemAttributes(0), 0u);
    EXPECT_EQ(System::ToOurAttributes(0xFFFFFFFE), 0xDFu);
    EXPECT_EQ(System::ToSystemAttributes(0xFFFFFF00), 0u);
    EXPECT_EQ(System::ToOurAttributes(0x2000 | 0x400 | 0x03), 0x28u);
}

// ---------------------------------------------------------------- streams

TEST(SystemFile, SeeksAndTellsWith64Bits)
{
    const CTestDirectory oDirectory;
    const CStream pStream = Open("big", "w+b");
    ASSERT_NE(pStream, nullptr);
    const std::int64_t nFar = (std::int64_t{5} << 30) + 3;
    ASSERT_TRUE(System::SeekStream(pStream.get(), nFar, SEEK_SET));
    EXPECT_EQ(System::TellStream(pStream.get()), nFar);
    EXPECT_FALSE(System::SeekStream(pStream.get(), -1, SEEK_SET));
    if (std::fputc('z', pStream.get()) == EOF || std::fflush(pStream.get()) != 0)
        GTEST_SKIP() << "the file system of temporary files takes no file of 5 GiB";

    EXPECT_EQ(System::GetStreamLength(pStream.get()), nFar + 1);
    EXPECT_EQ(System::TellStream(pStream.get()), nFar + 1);
    ASSERT_TRUE(System::SeekStream(pStream.get(), -1, SEEK_END));
    EXPECT_EQ(std::fgetc(pStream.get()), 'z');

    ASSERT_TRUE(System::TruncateStream(pStream.get(), 2));
    EXPECT_EQ(System::GetStreamLength(pStream.get()), 2);
}

TEST(SystemFile, TruncatesWhatWasWritten)
{
    const CTestDirectory oDirectory;
    {
        const CStream pStream = Open("f", "wb");
        std::fputs("0123456789", pStream.get());
        EXPECT_TRUE(System::TruncateStream(pStream.get(), 4));
        EXPECT_EQ(System::GetStreamLength(pStream.get()), 4);
    }
    EXPECT_EQ(oDirectory.Read("f"), "0123");
}

TEST(SystemFile, SharesFilesThatAreReadAtPlaces)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/File", "0123456789");
    const auto Read = [](System::CSharedFile* pFile, std::uint64_t nPlace, std::size_t nCount)
    {
        std::string sBytes(nCount, '?');
        sBytes.resize(System::ReadShared(pFile, nPlace, sBytes.data(), nCount));
        return sBytes;
    };

    // Again and again, so that what is kept is met as well.
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    do
    {
        System::CSharedFile* const pFirst = System::AcquireShared("d/File");
        System::CSharedFile* const pSecond = System::AcquireShared("D\\fILE");
        ASSERT_NE(pFirst, nullptr);
        ASSERT_NE(pSecond, nullptr);
        EXPECT_EQ(Read(pFirst, 3, 4), "3456");
        EXPECT_EQ(Read(pSecond, 0, 2), "01");
        EXPECT_EQ(Read(pFirst, 7, 100), "789");
        System::ReleaseShared(pFirst);
        EXPECT_EQ(Read(pSecond, 10, 1), "");
        EXPECT_EQ(Read(pSecond, std::uint64_t{5} << 30, 1), "");
        EXPECT_EQ(Read(pSecond, 9, 1), "9");
        EXPECT_EQ(Read(pSecond, 0, 0), "");
        System::ReleaseShared(pSecond);
    } while (std::chrono::steady_clock::now() < oEnd);

    for (const char* pPath : {"", "missing", "d", "d/", "d/File/x", "nowhere/File"})
        EXPECT_EQ(System::AcquireShared(pPath), nullptr) << pPath;
    EXPECT_EQ(System::AcquireShared(nullptr), nullptr);
}

TEST(SystemFile, SharesNothingButFilesAndDevices)
{
    REQUIRE_SPECIAL_FILES();

    const CTestDirectory oDirectory;
    ASSERT_TRUE(MakePipe("pipe"));
    ASSERT_TRUE(MakeSocket("socket"));
    const int nBefore = CountOpenFiles();
    EXPECT_EQ(System::AcquireShared("pipe"), nullptr);
    EXPECT_EQ(System::AcquireShared("socket"), nullptr);
    EXPECT_EQ(CountOpenFiles(), nBefore);

    System::CSharedFile* const pZero = System::AcquireShared("/dev/zero");
    ASSERT_NE(pZero, nullptr);
    char cByte = 'x';
    EXPECT_EQ(System::ReadShared(pZero, 0, &cByte, 1), 1u);
    EXPECT_EQ(cByte, '\0');
    System::ReleaseShared(pZero);
    EXPECT_EQ(CountOpenFiles(), nBefore);
}

TEST(SystemFile, LetsThreadsReadOneSharedFile)
{
    constexpr std::size_t SIZE = 1 << 16;
    const CTestDirectory oDirectory;
    std::string sBytes;
    for (std::size_t i = 0; i < SIZE; ++i)
        sBytes.push_back(static_cast<char>(i * 7 + i / 256));
    oDirectory.Write("f", sBytes);

    System::CSharedFile* const pFile = System::AcquireShared("f");
    ASSERT_NE(pFile, nullptr);
    std::atomic<int> nWrong = 0;
    std::vector<std::thread> aThreads;
    for (unsigned nThread = 0; nThread < 4; ++nThread)
    {
        aThreads.emplace_back(
            [&, nThread]
            {
                for (std::size_t i = 0; i < 2000; ++i)
                {
                    const std::size_t nPlace = (i * 7919 + nThread * 104729) % (SIZE - 100);
                    char aRead[100];
                    if (System::ReadShared(pFile, nPlace, aRead, sizeof aRead) != sizeof aRead ||
                        sBytes.compare(nPlace, sizeof aRead, aRead, sizeof aRead) != 0)
                        ++nWrong;
                }
            });
    }
    for (std::thread& oThread : aThreads)
        oThread.join();
    System::ReleaseShared(pFile);
    EXPECT_EQ(nWrong, 0);
}

TEST(SystemFile, MakesAFileThatNoLinkLeadsAway)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("old", "a longer old text");
    {
        const CStream pStream(System::CreateStreamHere("old", System::eOldFile::Replace));
        ASSERT_NE(pStream, nullptr);
        std::fputs("new\n", pStream.get());
    }
    EXPECT_EQ(oDirectory.Read("old"), "new\n");

    oDirectory.Write("locked", "x");
    oDirectory.SetReadOnly("locked", true);
    oDirectory.MakeDirectory("dir");
    for (const char* pName : {"locked", "dir", "", ".", "..", "a/b", "a\\b", "dir/x"})
        EXPECT_EQ(CStream(System::CreateStreamHere(pName, System::eOldFile::Replace)), nullptr) << pName;
    EXPECT_EQ(System::CreateStreamHere(nullptr, System::eOldFile::Replace), nullptr);
    EXPECT_EQ(oDirectory.Read("locked"), "x");
}

TEST(SystemFile, KeepsWhatHasTheNameWhenToldTo)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("old", "keep");
    oDirectory.MakeDirectory("dir");
    for (const char* pName : {"old", "dir", "", "..", "dir/x"})
        EXPECT_EQ(CStream(System::CreateStreamHere(pName, System::eOldFile::Keep)), nullptr) << pName;
    EXPECT_EQ(oDirectory.Read("old"), "keep");

    System::sFileStatus oStatus;
    {
        const CStream pStream(System::CreateStreamHere("new", System::eOldFile::Keep, &oStatus));
        ASSERT_NE(pStream, nullptr);
        std::fputs("new", pStream.get());
    }
    EXPECT_EQ(oDirectory.Read("new"), "new");
    EXPECT_EQ(oStatus.eKind, System::eFileKind::File);
    EXPECT_EQ(oStatus.nSize, 0u);
    System::sFileStatus oLater;
    ASSERT_TRUE(System::GetStatus("new", oLater));
    EXPECT_TRUE(oStatus.IsSameFile(oLater));
}

TEST(SystemFile, ReplacesLinksAndPipes)
{
    REQUIRE_SPECIAL_FILES();

    const CTestDirectory oDirectory;
    oDirectory.Write("outside/target", "keep");
    oDirectory.MakeDirectory("in");
    fs::create_symlink("../outside/target", "in/link");
    fs::create_symlink("../outside/new", "in/broken");
    fs::create_directory_symlink("../outside", "in/folder");
    fs::create_hard_link("outside/target", "in/hard");
    ASSERT_TRUE(MakePipe("in/pipe"));
    ASSERT_TRUE(System::ChangeDirectory("in"));
    for (const char* pName : {"link", "broken", "folder", "hard", "pipe"})
    {
        const CStream pStream(System::CreateStreamHere(pName, System::eOldFile::Replace));
        ASSERT_NE(pStream, nullptr) << pName;
        std::fputs("new", pStream.get());
    }
    for (const char* pName : {"in/link", "in/broken", "in/folder", "in/hard", "in/pipe"})
    {
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(oDirectory.PathOf(pName)))) << pName;
        EXPECT_EQ(oDirectory.Read(pName), "new") << pName;
    }
    EXPECT_EQ(oDirectory.Read("outside/target"), "keep");
    EXPECT_FALSE(oDirectory.Has("outside/new"));
}

TEST(SystemFile, EntersDirectoriesButNoLinks)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("dir");
    oDirectory.Write("file", "x");
    for (const char* pName : {"", ".", "..", "missing", "file", "dir/", "dir/.", "./dir"})
        EXPECT_FALSE(System::EnterDirectoryHere(pName)) << pName;
    EXPECT_FALSE(System::EnterDirectoryHere(nullptr));
    if (HasSpecialFiles())
    {
        fs::create_directory_symlink("dir", "link");
        EXPECT_FALSE(System::EnterDirectoryHere("link"));
    }
    EXPECT_EQ(System::GetWorkingDirectory(), oDirectory.GetPath());
    EXPECT_TRUE(System::EnterDirectoryHere("dir"));
    EXPECT_EQ(fs::path(System::GetWorkingDirectory()), fs::path(oDirectory.PathOf("dir")));
}

// ---------------------------------------------------------------- names and status

TEST(SystemFile, RenamesOverAnOlderFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("Dir/from", "new");
    oDirectory.Write("to", "old");
    EXPECT_TRUE(System::RenameOver("dir\\from", "to"));
    EXPECT_EQ(oDirectory.Read("to"), "new");
    EXPECT_FALSE(oDirectory.Has("Dir/from"));
    EXPECT_TRUE(System::RenameOver("to", "DIR/to"));
    EXPECT_EQ(oDirectory.Read("Dir/to"), "new");
    EXPECT_FALSE(System::RenameOver("missing", "to"));
    EXPECT_FALSE(System::RenameOver("Dir/to", "missing/to"));
    EXPECT_FALSE(System::RenameOver(nullptr, "to"));
    EXPECT_FALSE(System::RenameOver("Dir/to", nullptr));
}

TEST(SystemFile, KnowsPlainNames)
{
    for (const char* pName : {"a", "a.b", ".a", "..a", "a b", "-", "\xC3\x84", "CONSOLE", "COM", "NULL.txt", "LPTX"})
        EXPECT_TRUE(System::IsPlainName(pName)) << pName;
    for (const char* pName : {"", ".", "..", "/", "\\", "a/b", "a\\b", "/a", "a/", "..\\a"})
        EXPECT_FALSE(System::IsPlainName(pName)) << pName;
    EXPECT_FALSE(System::IsPlainName(nullptr));
    for (const char* pName : {"c:",     "a:b",         "file.txt::$DATA",
                              "a*",     "a?",          "\"",
                              "<",      ">",           "|",
                              "a\n",    "\x01",        "a.",
                              "a ",     "...",         "CON",
                              "con",    "nul.txt",     "Aux .x",
                              "COM1",   "lpt9.tar.gz", "PRN",
                              "CONIN$", "CLOCK$",      "com\xB9"})
        EXPECT_EQ(System::IsPlainName(pName), HasCaseSensitiveNames()) << pName;
}

TEST(SystemFile, TellsStatusAndIdentity)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("Dir/file", "12345");
    oDirectory.Write("other", "12345");
    System::sFileStatus oFile{};
    System::sFileStatus oSame{};
    System::sFileStatus oOther{};
    System::sFileStatus oDir{};
    ASSERT_TRUE(System::GetStatus("Dir/file", oFile));
    ASSERT_TRUE(System::GetStatus("dir\\..\\DIR\\FILE", oSame));
    ASSERT_TRUE(System::GetStatus("other", oOther));
    ASSERT_TRUE(System::GetStatus("Dir", oDir));
    EXPECT_EQ(oFile.eKind, System::eFileKind::File);
    EXPECT_EQ(oFile.nSize, 5u);
    EXPECT_EQ(oDir.eKind, System::eFileKind::Directory);
    EXPECT_TRUE(oFile.IsSameFile(oSame));
    EXPECT_FALSE(oFile.IsSameFile(oOther));
    EXPECT_FALSE(oFile.IsSameFile(oDir));

    const CStream pStream = Open("dir/FILE", "rb");
    ASSERT_NE(pStream, nullptr);
    System::sFileStatus oStream{};
    ASSERT_TRUE(System::GetStatus(pStream.get(), oStream));
    EXPECT_TRUE(oFile.IsSameFile(oStream));
    EXPECT_EQ(oStream.nSize, 5u);
    EXPECT_EQ(oStream.eKind, System::eFileKind::File);

    EXPECT_FALSE(System::GetStatus("missing", oFile));
    EXPECT_FALSE(System::GetStatus("", oFile));
    EXPECT_FALSE(System::GetStatus(static_cast<const char*>(nullptr), oFile));
}

TEST(SystemFile, FindsWhatIsThereInASearchThatRemembersItsDirectories)
{
    const CTestDirectory oDirectory;
    const auto Exists = [](const std::string& sPath)
    {
        System::sFileStatus oStatus{};
        return System::GetStatus(sPath.c_str(), oStatus);
    };
    const std::string sHere = fs::current_path().generic_string() + '/';
    oDirectory.Write("File", "");
    oDirectory.Write("Sub/File", "");
    for (int nRound = 0; nRound < 3; ++nRound) // what is guessed and kept from the rounds before counts, too
    {
        for (const std::string& sRoot : {std::string(), std::string("./"), std::string("SUB/"), sHere})
        {
            const System::CPathSearch oSearch;
            EXPECT_FALSE(Exists(sRoot + "absent/file"));
            EXPECT_FALSE(Exists(sRoot + "absent"));
            for (const char* pThere : {"File", "FILE", "./file"})
                EXPECT_TRUE(Exists(sRoot + pThere)) << sRoot << pThere;
            EXPECT_FALSE(Exists(sRoot + "file2"));
            for (const std::string& sThere : {std::string("SUB/FILE"), std::string("sub/../file"), sHere + "sub/file"})
                EXPECT_TRUE(Exists(sThere)) << sRoot << sThere;
            {
                const System::CPathSearch oInner;
                EXPECT_TRUE(Exists(sRoot + "FILE"));
                EXPECT_FALSE(Exists(sRoot + "absent"));
            }
            EXPECT_FALSE(Exists(sRoot + "absent/other"));
            EXPECT_TRUE(Exists(sRoot + "file"));
        }
    }
}

TEST(SystemFile, FindsInTheNextSearchWhatCameDuringOne)
{
    const CTestDirectory oDirectory;
    System::sFileStatus oStatus{};
    for (int i = 0; i < 20; ++i)
    {
        const std::string sName = "late" + std::to_string(i);
        {
            const System::CPathSearch oSearch;
            EXPECT_FALSE(System::GetStatus(sName.c_str(), oStatus));
            oDirectory.Write(sName, "");
            bool bFoundElsewhere = false;
            std::thread([&] { bFoundElsewhere = System::GetStatus(sName.c_str(), oStatus); }).join();
            EXPECT_TRUE(bFoundElsewhere) << "the search is that of one thread";
        }
        const System::CPathSearch oNext;
        EXPECT_TRUE(System::GetStatus(sName.c_str(), oStatus));
    }
}

TEST(SystemFile, TellsLinksApartFromWhereTheyLead)
{
    REQUIRE_SPECIAL_FILES();

    const CTestDirectory oDirectory;
    oDirectory.Write("file", "12345");
    fs::create_symlink("file", "link");
    fs::create_symlink("nowhere", "broken");
    fs::create_hard_link("file", "hard");
    ASSERT_TRUE(MakePipe("pipe"));
    System::sFileStatus oFile{};
    System::sFileStatus oStatus{};
    ASSERT_TRUE(System::GetStatus("file", oFile));
    ASSERT_TRUE(System::GetStatus("link", oStatus));
    EXPECT_TRUE(oFile.IsSameFile(oStatus));
    ASSERT_TRUE(System::GetStatus("link", oStatus, false));
    EXPECT_EQ(oStatus.eKind, System::eFileKind::Link);
    EXPECT_FALSE(oFile.IsSameFile(oStatus));
    ASSERT_TRUE(System::GetStatus("hard", oStatus, false));
    EXPECT_TRUE(oFile.IsSameFile(oStatus));
    EXPECT_FALSE(System::GetStatus("broken", oStatus));
    ASSERT_TRUE(System::GetStatus("broken", oStatus, false));
    EXPECT_EQ(oStatus.eKind, System::eFileKind::Link);
    ASSERT_TRUE(System::GetStatus("pipe", oStatus));
    EXPECT_EQ(oStatus.eKind, System::eFileKind::Other);
}

// ---------------------------------------------------------------- the current directory

TEST(SystemFile, ComesBackToTheMarkedDirectory)
{
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("a/b");
    {
        const System::CDirectoryMark oMark;
        EXPECT_TRUE(oMark.IsValid());
        ASSERT_TRUE(System::ChangeDirectory("a/b"));
        EXPECT_TRUE(oMark.Return());
        EXPECT_EQ(System::GetWorkingDirectory(), oDirectory.GetPath());
        EXPECT_TRUE(oMark.Return());
    }
    EXPECT_EQ(System::GetWorkingDirectory(), oDirectory.GetPath());
}

TEST(SystemFile, ComesBackHoweverLongThePath)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "paths of this system are limited to 260 bytes";

    const CTestDirectory oDirectory;
    const std::string sName(200, 'n');
    constexpr int DEPTH = 30; // 6,000 bytes, more than a path of the system may have
    for (int i = 0; i < DEPTH; ++i)
    {
        ASSERT_TRUE(System::MakeDirectory(sName.c_str()));
        ASSERT_TRUE(System::EnterDirectoryHere(sName.c_str()));
    }
    EXPECT_EQ(System::GetWorkingDirectory().size(), oDirectory.GetPath().size() + DEPTH * 201u);
    char aShort[260];
    EXPECT_EQ(DIR_GetWorkingDirectory(aShort, sizeof(aShort)), -1);

    const System::CDirectoryMark oMark;
    ASSERT_TRUE(System::ChangeDirectory("/"));
    EXPECT_TRUE(oMark.Return());
    EXPECT_EQ(System::GetWorkingDirectory().size(), oDirectory.GetPath().size() + DEPTH * 201u);
}

// ---------------------------------------------------------------- directory search

TEST(CDirectorySearch, FindsDotsFirstAndThenNamesInOrder)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"b.txt", "A.TXT", "c", "Zeta", "_x", "B1", "a2", "-", "10", "9", "~"})
        oDirectory.Write(pName, "");
    oDirectory.MakeDirectory("Sub");
    oDirectory.MakeDirectory("alpha");
    EXPECT_EQ(Search("*.*"), (CNames{"./", "../", "-", "10", "9", "A.TXT", "a2", "alpha/", "b.txt", "B1", "c", "Sub/",
                                     "Zeta", "_x", "~"}));
    EXPECT_EQ(Search("*"), Search("*.*"));
    EXPECT_EQ(Search("*.txt"), (CNames{"A.TXT", "b.txt"}));
    EXPECT_EQ(Search("B*"), (CNames{"b.txt", "B1"}));
    EXPECT_EQ(Search("?"), (CNames{"./", "-", "9", "c", "~"}));
    EXPECT_EQ(Search("??"), (CNames{"../", "10", "a2", "B1", "_x"}));
    EXPECT_EQ(Search("."), (CNames{"./"}));
    EXPECT_EQ(Search(".."), (CNames{"../"}));
    EXPECT_EQ(Search("SUB"), (CNames{"Sub/"}));
    EXPECT_EQ(Search("nothing*"), CNames{});
    EXPECT_EQ(Search(""), CNames{});
}

TEST(CDirectorySearch, LooksIntoTheDirectoryOfThePattern)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("Outer/Inner/one", "1");
    oDirectory.Write("Outer/Inner/two", "22");
    oDirectory.Write("file", "");
    const CNames oBoth{"one", "two"};
    for (const std::string sPattern :
         {"Outer/Inner/*o*", "Outer\\Inner\\*o*", "outer\\INNER/*O*", "./Outer/../outer/inner//*o*"})
        EXPECT_EQ(Search(sPattern), oBoth) << sPattern;
    EXPECT_EQ(Search(oDirectory.PathOf("Outer") + "\\Inner/*o*"), oBoth);
    EXPECT_EQ(Search("Outer/Inner/"), CNames{});
    for (const std::string sPattern : {"missing/*", "file/*", "Outer/missing/*"})
        EXPECT_EQ(Search(sPattern), CNames{"(no directory)"}) << sPattern;

    System::CDirectorySearch oSearch;
    EXPECT_FALSE(oSearch.Start(nullptr));
    EXPECT_EQ(oSearch.Next(), nullptr);
}

TEST(CDirectorySearch, TellsSizesAfterTheCurrentDirectoryChanged)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/a", "1");
    oDirectory.Write("d/b", std::string(70000, 'x'));
    oDirectory.Write("d/empty", "");
    oDirectory.MakeDirectory("d/sub");
    System::CDirectorySearch oSearch;
    EXPECT_EQ(oSearch.Next(), nullptr);
    EXPECT_EQ(oSearch.GetSize(), 0u);
    EXPECT_FALSE(oSearch.IsDirectory());

    ASSERT_TRUE(oSearch.Start("d/*"));
    ASSERT_TRUE(System::ChangeDirectory("d/sub"));

    struct
    {
        const char* pName;
        bool bDirectory;
        std::uint64_t nSize;
    } const aExpected[] = {{".", true, 0},      {"..", true, 0},     {"a", false, 1},
                           {"b", false, 70000}, {"empty", false, 0}, {"sub", true, 0}};

    for (const auto& oExpected : aExpected)
    {
        EXPECT_STREQ(oSearch.Next(), oExpected.pName);
        EXPECT_EQ(oSearch.IsDirectory(), oExpected.bDirectory) << oExpected.pName;
        EXPECT_EQ(oSearch.GetSize(), oExpected.nSize) << oExpected.pName;
    }
    EXPECT_EQ(oSearch.Next(), nullptr);
    EXPECT_EQ(oSearch.Next(), nullptr);
    EXPECT_FALSE(oSearch.IsDirectory());
    EXPECT_EQ(oSearch.GetSize(), 0u);
}

TEST(CDirectorySearch, KeepsToTheNamesOfItsStart)
{
    const CTestDirectory oDirectory;
    for (int i = 0; i < 10; ++i)
        oDirectory.Write("f" + std::to_string(i), "abc");
    System::CDirectorySearch oSearch;
    ASSERT_TRUE(oSearch.Start("f*"));
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_EQ(std::string(oSearch.Next()), "f" + std::to_string(i));
        oDirectory.Write("fx" + std::to_string(i), "");
        oDirectory.Remove("f" + std::to_string(9 - i));
    }
    EXPECT_EQ(oSearch.Next(), nullptr);
}

TEST(CDirectorySearch, MovesAndStartsAgain)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a", "");
    oDirectory.Write("b", "");
    System::CDirectorySearch oFirst;
    ASSERT_TRUE(oFirst.Start("*"));
    EXPECT_STREQ(oFirst.Next(), ".");
    System::CDirectorySearch oSecond(std::move(oFirst));
    EXPECT_STREQ(oSecond.Next(), "..");
    oFirst = System::CDirectorySearch();
    EXPECT_EQ(oFirst.Next(), nullptr);
    oFirst = std::move(oSecond);
    EXPECT_STREQ(oFirst.Next(), "a");
    ASSERT_TRUE(oFirst.Start("b"));
    EXPECT_STREQ(oFirst.Next(), "b");
    oFirst.Close();
    EXPECT_EQ(oFirst.Next(), nullptr);
    EXPECT_FALSE(oFirst.Start("missing/*"));
    EXPECT_EQ(oFirst.Next(), nullptr);
}

TEST(CDirectorySearch, HoldsNothingAtItsEnd)
{
    const CTestDirectory oDirectory;
    if (CountOpenFiles() == -1)
        GTEST_SKIP() << "this system does not tell how many files a process has open";

    const int nBefore = CountOpenFiles();
    System::CDirectorySearch oSearch;
    ASSERT_TRUE(oSearch.Start("*"));
    while (oSearch.Next() != nullptr)
        EXPECT_LE(CountOpenFiles(), nBefore + 1);
    EXPECT_EQ(CountOpenFiles(), nBefore);
    for (int i = 0; i < 5; ++i)
        oSearch.Start(i % 2 == 0 ? "*" : "none/*");
    oSearch.Close();
    EXPECT_EQ(CountOpenFiles(), nBefore);
}

TEST(CDirectorySearch, FollowsLinks)
{
    REQUIRE_SPECIAL_FILES();

    const CTestDirectory oDirectory;
    oDirectory.Write("dir/file", "12345");
    fs::create_directory_symlink("dir", "to dir");
    fs::create_symlink("dir/file", "to file");
    fs::create_symlink("nowhere", "to nowhere");
    ASSERT_TRUE(MakePipe("pipe"));
    EXPECT_EQ(Search("*"), (CNames{"./", "../", "dir/", "pipe", "to dir/", "to file", "to nowhere"}));
    EXPECT_EQ(Search("TO DIR/*"), (CNames{"./", "../", "file"}));

    System::CDirectorySearch oSearch;
    ASSERT_TRUE(oSearch.Start("to file"));
    EXPECT_STREQ(oSearch.Next(), "to file");
    EXPECT_EQ(oSearch.GetSize(), 5u);
    ASSERT_TRUE(oSearch.Start("to nowhere"));
    EXPECT_STREQ(oSearch.Next(), "to nowhere");
    EXPECT_EQ(oSearch.GetSize(), 0u);
    EXPECT_FALSE(oSearch.IsDirectory());
}

TEST(CDirectorySearch, TakesNamesOfAnyBytes)
{
    REQUIRE_CASE_SENSITIVE_NAMES();

    const CTestDirectory oDirectory;
    const CNames oNames{"\n", "...", "A*", "a*", "a\\b", "\xC3\x84", "\xC3\xA4", std::string(255, '\xFF')};
    for (const std::string& sName : oNames)
        oDirectory.Write(sName, "");
    CNames oExpected{"./", "../"};
    oExpected.insert(oExpected.end(), oNames.begin(), oNames.end());
    EXPECT_EQ(Search("*"), oExpected);
    EXPECT_EQ(Search("\xC3\xA4"), CNames{"\xC3\xA4"});
}

TEST(CDirectorySearch, OrdersHundredsOfNames)
{
    const CTestDirectory oDirectory;
    constexpr unsigned COUNT = 500;
    for (unsigned i = 0; i < COUNT; ++i)
        oDirectory.Write((i % 2 != 0 ? "Name" : "nAME") + std::to_string(i * 7919 % COUNT), "");
    const CNames oFound = Search("name*");
    ASSERT_EQ(oFound.size(), COUNT);
    for (std::size_t i = 1; i < oFound.size(); ++i)
        ASSERT_TRUE(System::IsNameBefore(oFound[i - 1].c_str(), oFound[i].c_str())) << oFound[i];
}

// ---------------------------------------------------------------- directories that cannot be read

TEST(CDirectorySearch, FindsNothingWhenTheDirectoryFailsHalfWay)
{
    if (!CDirectoryFault::IsSupported())
        GTEST_SKIP() << "no test can make a directory of this system fail";

    const CTestDirectory oDirectory;
    for (int i = 0; i < 20; ++i)
        oDirectory.Write("d/f" + std::to_string(i), "");
    for (const int nEntries : {0, 1, 10, 22}) // 22 are all, and then the end does not come
    {
        const int nBefore = CountOpenFiles();
        {
            const CDirectoryFault oFault(nEntries);
            EXPECT_EQ(Search("d/*"), CNames{"(no directory)"}) << nEntries;
        }
        EXPECT_EQ(CountOpenFiles(), nBefore);
        EXPECT_EQ(Search("d/*").size(), 22u) << "it is there again";
    }
    const CDirectoryFault oLater(23);
    EXPECT_EQ(Search("d/*").size(), 22u);
}

TEST(SystemFile, RemembersNoDirectoryThatFailedHalfWay)
{
    if (!CDirectoryFault::IsSupported())
        GTEST_SKIP() << "no test can make a directory of this system fail";

    const CTestDirectory oDirectory;
    for (int i = 0; i < 20; ++i)
        oDirectory.Write("File" + std::to_string(i), "x");
    for (const int nEntries : {0, 1, 10, 22})
    {
        {
            const CDirectoryFault oFault(nEntries);
            for (int i = 0; i < 20; ++i)
            {
                const std::string sNumber = std::to_string(i);
                EXPECT_EQ(Open(("FILE" + sNumber).c_str(), "rb"), nullptr) << "half a listing is none";
                EXPECT_NE(Open(("File" + sNumber).c_str(), "rb"), nullptr) << "the exact name needs no listing";
            }
        }
        for (int i = 0; i < 20; ++i)
            EXPECT_NE(Open(("FILE" + std::to_string(i)).c_str(), "rb"), nullptr) << nEntries;
        oDirectory.Write("another" + std::to_string(nEntries), ""); // the listing that was read now holds no more
        oDirectory.Remove("another" + std::to_string(nEntries));
    }
}
