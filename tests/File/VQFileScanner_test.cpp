#include <Common/File/VQFileScanner.h>

#include <Common/ProcessControl/VQEvent.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{
constexpr long PATIENCE = 60000; // milliseconds for a worker thread
constexpr unsigned long USER_VALUE = 0x80000007;

static_assert(eScannerStarted == 0 && eScannerFile == 1 && eScannerFinished == 2 && eScannerStopped == 3);
static_assert(std::has_virtual_destructor_v<CVQFileScanner>);

using Texts = std::vector<std::string>;
using Places = std::vector<std::pair<std::string, const char*>>; // directories and their patterns

CVQFileScanner ScannerOf(const Places& oPlaces)
{
    CVQFileScanner oScanner;
    for (const auto& [sDirectory, pPattern] : oPlaces)
        oScanner.AddScanDirectory(sDirectory.c_str(), pPattern);
    return oScanner;
}

std::string TextOf(const CVQString& oText)
{
    return oText.IsEmpty() ? "" : ~oText;
}

/// What a scan reports, kept as texts: "directory\name" for files, "started" and the like for the rest. One at a time.
class CReports
{
public:
    CReports() { s_pCurrent = this; }

    ~CReports() { s_pCurrent = nullptr; }

    CReports(const CReports&) = delete;
    CReports& operator=(const CReports&) = delete;

    static void Take(eScannerMode nMode, sFileData* pData, unsigned long nUserValue)
    {
        EXPECT_EQ(nUserValue, USER_VALUE);
        EXPECT_EQ(pData != nullptr, nMode == eScannerFile);
        CReports& oReports = *s_pCurrent;
        oReports.m_oThread = std::this_thread::get_id();
        switch (nMode)
        {
        case eScannerStarted:
            oReports.m_oTexts.emplace_back("started");
            break;
        case eScannerFile:
            EXPECT_EQ(TextOf(pData->m_oRelativePart), "");
            EXPECT_EQ(TextOf(pData->m_oFullDirectory), TextOf(pData->m_oDirectory));
            oReports.m_oTexts.push_back(TextOf(pData->m_oFullDirectory) + "\\" + TextOf(pData->m_oFileName));
            if (oReports.m_fnOnFile)
                oReports.m_fnOnFile(*pData);
            break;
        case eScannerFinished:
            oReports.m_oTexts.emplace_back("finished");
            oReports.m_oEnd.Signal();
            break;
        case eScannerStopped:
            oReports.m_oTexts.emplace_back("stopped");
            oReports.m_oEnd.Signal();
            break;
        }
    }

    /// Scans here.
    void Run(CVQFileScanner oScanner) { oScanner.Run(Take, USER_VALUE); }

    /// Scans on a worker thread; false when that does not come to its end.
    bool RunThread(CVQFileScanner oScanner)
    {
        oScanner.RunThread(Take, USER_VALUE, nullptr);
        return WaitForEnd();
    }

    /// What is done at each file.
    void OnFile(std::function<void(sFileData&)> fnWork) { m_fnOnFile = std::move(fnWork); }

    /// Waits for the end of a worker thread.
    bool WaitForEnd() { return m_oEnd.TimedWait(PATIENCE); }

    const Texts& Get() const { return m_oTexts; }

    std::thread::id GetThread() const { return m_oThread; }

private:
    inline static CReports* s_pCurrent = nullptr;

    Texts m_oTexts;
    std::thread::id m_oThread;
    CVQEvent m_oEnd;
    std::function<void(sFileData&)> m_fnOnFile;
};

/// What Run() reports of one directory.
Texts Scan(const char* pDirectory, const char* pPattern, bool bInclude = true)
{
    CReports oReports;
    CVQFileScanner oScanner = ScannerOf({{pDirectory, pPattern}});
    oScanner.SetIncludeSubDirs(bInclude);
    oReports.Run(oScanner);
    return oReports.Get();
}

/// The counts of a scanner, as "files/folders".
std::string Count(const CVQFileScanner& oScanner, const char* pPattern)
{
    int nFiles = -1;
    int nFolders = -1;
    oScanner.GetFolderFileCount(nFiles, nFolders, pPattern);
    return std::to_string(nFiles) + "/" + std::to_string(nFolders);
}

/// The counts of one directory.
std::string Count(const char* pDirectory, const char* pPattern)
{
    return Count(ScannerOf({{pDirectory, "?"}}), pPattern);
}

/// A small tree in the current directory.
void WriteTree(const CTestDirectory& oDirectory)
{
    for (const char* pName : {"tree/b.txt", "tree/A.txt", "tree/c.dat", "tree/sub/x.txt", "tree/sub/deep/y.txt",
                              "tree/other/z.TXT", "tree/.hidden/h.txt", "tree/.dotfile"})
        oDirectory.Write(pName, "x");
    oDirectory.MakeDirectory("tree/empty");
    oDirectory.MakeDirectory("tree/dir.txt");
}

/// Makes directories one in another, entering each; the current directory is the lowest then.
void MakeDeep(int nDepth, const std::string& sName)
{
    for (int i = 0; i < nDepth; ++i)
    {
        std::filesystem::create_directory(sName);
        std::filesystem::current_path(sName);
    }
}

/// Removes them again, from the lowest on.
void RemoveDeep(int nDepth, const std::string& sName)
{
    for (int i = 0; i < nDepth; ++i)
    {
        std::filesystem::current_path("..");
        std::filesystem::remove_all(sName);
    }
}
} // namespace

// -------------------------------------------------------------------------------------------------------- the walk

TEST(VQFileScanner, ReportsAFileOnce)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("dir/a.txt", "x");
    EXPECT_EQ(Scan("dir", "*.*"), Texts{"dir\\a.txt"});
    EXPECT_EQ(Count("dir", "*.*"), "1/0");
}

TEST(VQFileScanner, FillsTheRecordOfAFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("dir/sub/a.txt", "x");
    CReports oReports;
    oReports.OnFile(
        [](const sFileData& oData)
        {
            EXPECT_STREQ(~oData.m_oFileName, "a.txt");
            EXPECT_STREQ(~oData.m_oDirectory, "dir\\sub");
            EXPECT_EQ(TextOf(oData.m_oRelativePart), "");
            EXPECT_STREQ(~oData.m_oFullDirectory, "dir\\sub");
        });
    oReports.Run(ScannerOf({{"dir", "*.*"}}));
    EXPECT_EQ(oReports.Get().size(), 1U);
}

TEST(VQFileScanner, ReportsFilesBeforeThoseOfSubdirectories)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    EXPECT_EQ(Scan("tree", "*.*"), (Texts{"tree\\.dotfile", "tree\\A.txt", "tree\\b.txt", "tree\\c.dat",
                                          "tree\\other\\z.TXT", "tree\\sub\\x.txt", "tree\\sub\\deep\\y.txt"}));
    EXPECT_EQ(Count("tree", "*.*"), "7/5"); // deep, dir.txt, empty, other, sub
}

TEST(VQFileScanner, LeavesSubdirectoriesWithALeadingDotOut)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"dir/.svn/a.txt", "dir/..two/a.txt", "dir/sub/.svn/b.txt", "dir/x.svn/c.txt"})
        oDirectory.Write(pName, "x");
    EXPECT_EQ(Scan("dir", "*.*"), Texts{"dir\\x.svn\\c.txt"});
    EXPECT_EQ(Count("dir", "*.*"), "1/2");

    EXPECT_EQ(Scan("dir/.svn", "*.*"), Texts{"dir/.svn\\a.txt"}); // unless it is what is to be scanned
}

TEST(VQFileScanner, ReportsNamesThatMatch)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);

    struct
    {
        const char* pPattern;
        Texts oExpected;
        const char* pCounts;
    } const aCases[] = {
        {"*.txt",
         {"tree\\A.txt", "tree\\b.txt", "tree\\other\\z.TXT", "tree\\sub\\x.txt", "tree\\sub\\deep\\y.txt"},
         "5/5"},
        {"*",
         {"tree\\.dotfile", "tree\\A.txt", "tree\\b.txt", "tree\\c.dat", "tree\\other\\z.TXT", "tree\\sub\\x.txt",
          "tree\\sub\\deep\\y.txt"},
         "7/5"},
        {"?.DAT", {"tree\\c.dat"}, "1/5"},
        {"y.txt", {"tree\\sub\\deep\\y.txt"}, "1/5"},
        {"sub", {}, "0/5"}, // a directory
        {"nothing", {}, "0/5"},
        {"", {}, "0/5"},
    };

    for (const auto& [pPattern, oExpected, pCounts] : aCases)
    {
        EXPECT_EQ(Scan("tree", pPattern), oExpected) << pPattern;
        EXPECT_EQ(Count("tree", pPattern), pCounts) << pPattern;
    }
    EXPECT_EQ(Scan("tree", nullptr), Texts());
}

TEST(VQFileScanner, FollowsAPatternWithADirectory)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    EXPECT_EQ(Scan("tree", "deep\\*.txt"), Texts{"tree\\sub\\y.txt"}); // looked for in each directory
    EXPECT_EQ(Scan("tree", "deep/*.txt"), Texts{"tree\\sub\\y.txt"});
    EXPECT_EQ(Count("tree", "deep\\*.txt"), "1/5");
}

TEST(VQFileScanner, StaysInTheDirectoryWhenItIsTold)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    EXPECT_EQ(Scan("tree", "*.txt", false), (Texts{"tree\\A.txt", "tree\\b.txt"}));

    CVQFileScanner oScanner; // counting takes the whole tree all the same
    oScanner.SetIncludeSubDirs(false);
    oScanner.AddScanDirectory("tree", "*.txt");
    EXPECT_EQ(Count(oScanner, "*.txt"), "5/5");
}

TEST(VQFileScanner, SearchesEachDirectoryWithItsPattern)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CReports oReports;
    const CVQFileScanner oScanner = ScannerOf(
        {{"tree/sub", "*.txt"}, {"missing", "*.*"}, {"tree/other", "*.dat"}, {"tree", "c.*"}, {"tree/sub", "y*"}});
    oReports.Run(oScanner);
    EXPECT_EQ(oReports.Get(),
              (Texts{"tree/sub\\x.txt", "tree/sub\\deep\\y.txt", "tree\\c.dat", "tree/sub\\deep\\y.txt"}));

    // the pattern given here, for every directory: 2 + 1 + 7 + 2 files
    EXPECT_EQ(Count(oScanner, "*.*"), "12/7");
}

TEST(VQFileScanner, FindsADirectoryByEitherSeparatorInAnyCase)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    EXPECT_EQ(Scan("tree\\sub", "x*"), Texts{"tree\\sub\\x.txt"});
    EXPECT_EQ(Scan("TREE/Sub", "*"), (Texts{"TREE/Sub\\x.txt", "TREE/Sub\\deep\\y.txt"}));
    EXPECT_EQ(Scan("tree/sub/", "x*"), Texts{"tree/sub/\\x.txt"}); // as it was written, and a backslash
    EXPECT_EQ(Scan(".", "c.dat"), Texts{".\\tree\\c.dat"});

    const std::string sWhole = oDirectory.PathOf("tree");
    EXPECT_EQ(Scan(sWhole.c_str(), "c.dat"), Texts{sWhole + "\\c.dat"});
}

TEST(VQFileScanner, ReportsNothingOfWhatIsMissing)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("file", "x");
    for (const char* pMissing : {"missing", "missing/too", "file"})
    {
        EXPECT_EQ(Scan(pMissing, "*.*"), Texts()) << pMissing;
        EXPECT_EQ(Count(pMissing, "*.*"), "0/0") << pMissing;
    }
    EXPECT_EQ(Scan(std::string(300, 'n').c_str(), "*.*"), Texts());
    EXPECT_EQ(Scan(std::string(100000, 'n').c_str(), "*.*"), Texts());

    CReports oReports;
    oReports.Run({});
    EXPECT_EQ(oReports.Get(), Texts());
    EXPECT_EQ(Count(CVQFileScanner(), "*.*"), "0/0");
}

TEST(VQFileScanner, CopiesItsConfiguration)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CVQFileScanner oScanner;
    oScanner.SetIncludeSubDirs(false);
    oScanner.AddScanDirectory("tree", "*.txt");

    CVQFileScanner oCopy(oScanner);
    CVQFileScanner oAssigned;
    oAssigned.AddScanDirectory("tree", "*.*");
    CVQFileScanner& oResult = oAssigned = oScanner;
    EXPECT_EQ(&oResult, &oAssigned);

    oScanner.SetIncludeSubDirs(true); // they are their own
    oScanner.AddScanDirectory("tree", "c*");
    for (CVQFileScanner* pScanner : {&oCopy, &oAssigned})
    {
        CReports oReports;
        pScanner->Run(CReports::Take, USER_VALUE);
        EXPECT_EQ(oReports.Get(), (Texts{"tree\\A.txt", "tree\\b.txt"}));
    }
}

// --------------------------------------------------------------------------------------------- the report function

TEST(VQFileScanner, LetsTheReportFunctionAddDirectoriesForTheNextRun)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("one/a", "x");
    oDirectory.Write("two/b", "x");
    CVQFileScanner oScanner = ScannerOf({{"one", "*.*"}});
    {
        CReports oReports;
        oReports.OnFile([&](const sFileData&) { oScanner.AddScanDirectory("two", "*.*"); });
        oScanner.Run(CReports::Take, USER_VALUE);
        EXPECT_EQ(oReports.Get(), Texts{"one\\a"});
    }
    CReports oReports;
    oScanner.Run(CReports::Take, USER_VALUE);
    EXPECT_EQ(oReports.Get(), (Texts{"one\\a", "two\\b"}));
}

TEST(VQFileScanner, LetsTheReportFunctionScan)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CReports oReports;
    std::string sCounts;
    oReports.OnFile([&](const sFileData&) { sCounts += Count("tree", "*.txt") + " "; });
    oReports.Run(ScannerOf({{"tree/sub", "*.*"}}));
    EXPECT_EQ(sCounts, "5/5 5/5 ");
}

TEST(VQFileScanner, GivesEachFileARecordThatNobodyChanged)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CReports oReports;
    oReports.OnFile(
        [](sFileData& oData)
        {
            oData.m_oFileName = "changed";
            oData.m_oDirectory = "changed, too";
            oData.m_oRelativePart = "and this";
            oData.m_oFullDirectory.Empty();
        });
    oReports.Run(ScannerOf({{"tree", "*.txt"}}));
    EXPECT_EQ(oReports.Get(), (Texts{"tree\\A.txt", "tree\\b.txt", "tree\\other\\z.TXT", "tree\\sub\\x.txt",
                                     "tree\\sub\\deep\\y.txt"}));
}

TEST(VQFileScanner, LetsTheReportFunctionThrow)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    const int nOpen = CountOpenFiles();
    CReports oReports;
    oReports.OnFile(
        [](const sFileData& oData)
        {
            if (oData.m_oFileName == "x.txt")
                throw std::runtime_error("enough");
        });
    CVQFileScanner oScanner = ScannerOf({{"tree", "*.txt"}});
    EXPECT_THROW(oScanner.Run(CReports::Take, USER_VALUE), std::runtime_error);
    EXPECT_EQ(oReports.Get().back(), "tree\\sub\\x.txt");
    EXPECT_EQ(CountOpenFiles(), nOpen);
}

TEST(VQFileScanner, LeavesNothingOpen)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    const int nOpen = CountOpenFiles();
    for (int i = 0; i < 10; ++i)
    {
        Scan("tree", "*.*");
        Scan("missing", "*.*");
        Count("tree", "*.*");
    }
    EXPECT_EQ(CountOpenFiles(), nOpen);
}

// ---------------------------------------------------------------------------------------------------- hostile trees

TEST(VQFileScanner, ReportsNothingOfADirectoryThatCannotBeRead)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "directories have no permissions to read here";
    if (IsSuperuser())
        GTEST_SKIP() << "the superuser reads everything";

    const CTestDirectory oDirectory;
    oDirectory.Write("tree/closed/a.txt", "x");
    oDirectory.Write("tree/open/b.txt", "x");
    std::filesystem::permissions("tree/closed", std::filesystem::perms::none);
    EXPECT_EQ(Scan("tree", "*.*"), Texts{"tree\\open\\b.txt"});
    EXPECT_EQ(Scan("tree/closed", "*.*"), Texts());
    EXPECT_EQ(Count("tree", "*.*"), "1/2");
    std::filesystem::permissions("tree/closed", std::filesystem::perms::owner_all);
}

TEST(VQFileScanner, SkipsDirectoriesThatVanishMeanwhile)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"tree/1/a", "tree/2/b", "tree/2/sub/c", "tree/3/d"})
        oDirectory.Write(pName, "x");
    CReports oReports;
    oReports.OnFile([&](const sFileData& oData) { oData.m_oFileName == "a" ? oDirectory.Remove("tree/2") : void(); });
    oReports.Run(ScannerOf({{"tree", "*.*"}}));
    EXPECT_EQ(oReports.Get(), (Texts{"tree\\1\\a", "tree\\3\\d"}));
}

TEST(VQFileScanner, WalksATreeThatChangesMeanwhile)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"tree/a", "tree/b", "tree/c", "tree/sub/d"})
        oDirectory.Write(pName, "x");
    CReports oReports;
    int nMade = 0;
    oReports.OnFile(
        [&](const sFileData& oData)
        {
            if (oData.m_oFileName == "a")
            {
                oDirectory.Remove("tree/b");
                oDirectory.Write("tree/sub/e", "x"); // not read yet
            }
            oDirectory.Write("tree/more/" + std::to_string(nMade++), "x"); // behind the one that is walked
        });
    oReports.Run(ScannerOf({{"tree", "*.*"}}));

    // a and c stood there from beginning to end, and so did all of sub when the walk came to it
    for (const char* pSurely : {"tree\\a", "tree\\c", "tree\\sub\\d", "tree\\sub\\e"})
        EXPECT_EQ(std::count(oReports.Get().begin(), oReports.Get().end(), pSurely), 1) << pSurely;
    EXPECT_LE(oReports.Get().size(), 5U); // b or not
}

TEST(VQFileScanner, ReportsNamesOfAnyBytes)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "names are texts of the system here";

    const CTestDirectory oDirectory;
    const Texts oNames = {"a\nb", "back\\slash", "\x80\xFF", "blank ", "quote\"", "star*", "utf-8 \xC3\xA4"};
    for (const std::string& sName : oNames)
    {
        oDirectory.Write("tree/" + sName, "x");
        oDirectory.Write("tree/dir " + sName + "/" + sName, "x");
    }
    Texts oFound = Scan("tree", "*.*");
    Texts oExpected;
    for (const std::string& sName : oNames)
    {
        oExpected.push_back("tree\\" + sName);
        oExpected.push_back("tree\\dir " + sName + "\\" + sName);
    }
    std::sort(oFound.begin(), oFound.end());
    std::sort(oExpected.begin(), oExpected.end());
    EXPECT_EQ(oFound, oExpected);
    EXPECT_EQ(Count("tree", "*"), "14/7");
    EXPECT_EQ(Scan("tree", "a?b", false), Texts{"tree\\a\nb"});
}

TEST(VQFileScanner, ReportsTheLongestNames)
{
    const CTestDirectory oDirectory;
    const std::string sLong(HasSpecialFiles() ? 255 : 120, 'n');
    oDirectory.Write("tree/" + sLong, "x");
    oDirectory.Write("tree/sub/" + sLong, "x");
    EXPECT_EQ(Scan("tree", "*.*"), (Texts{"tree\\" + sLong, "tree\\sub\\" + sLong}));
}

TEST(VQFileScanner, WalksBeyondTheLengthOfPaths)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "paths end at 260 characters here";

    constexpr int DEPTH = 60; // 15,000 bytes
    const CTestDirectory oDirectory;
    const std::string sName(250, 'd');
    MakeDeep(DEPTH, sName);
    WriteWholeFile("file", "x");
    std::filesystem::current_path(oDirectory.GetPath());

    std::string sExpected = ".";
    for (int i = 0; i < DEPTH; ++i)
        sExpected += "\\" + sName;
    EXPECT_EQ(Scan(".", "*.*"), Texts{sExpected + "\\file"});
    EXPECT_EQ(Count(".", "*.*"), "1/60");
    EXPECT_EQ(Scan(sExpected.c_str(), "*.*"), Texts{sExpected + "\\file"}); // and to begin there

    for (int i = 0; i < DEPTH; ++i)
        std::filesystem::current_path(sName);
    RemoveDeep(DEPTH, sName);
}

TEST(VQFileScanner, WalksAThousandLevelsDown)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "paths end at 260 characters here";

    constexpr int DEPTH = 1000;
    const CTestDirectory oDirectory;
    MakeDeep(DEPTH, "d");
    WriteWholeFile("file", "x");
    std::filesystem::current_path(oDirectory.GetPath());

    const int nOpen = CountOpenFiles();
    const Texts oFound = Scan(".", "*.*");
    ASSERT_EQ(oFound.size(), 1U);
    EXPECT_EQ(oFound[0].size(), 1 + 2 * DEPTH + 5U);
    EXPECT_EQ(Count(".", "*.*"), "1/1000");
    EXPECT_EQ(CountOpenFiles(), nOpen);

    for (int i = 0; i < DEPTH; ++i)
        std::filesystem::current_path("d");
    RemoveDeep(DEPTH, "d");
}

TEST(VQFileScanner, ReportsAHundredThousandFilesOfADirectory)
{
    const int nFiles = HasSpecialFiles() ? 100000 : 5000; // Wine takes minutes for more
    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("tree");
    for (int i = 0; i < nFiles; ++i)
        std::ofstream("tree/file " + std::to_string(nFiles + i));

    const Texts oFound = Scan("tree", "*.*");
    ASSERT_EQ(oFound.size(), static_cast<std::size_t>(nFiles));
    for (int i = 0; i < nFiles; ++i)
        ASSERT_EQ(oFound[static_cast<std::size_t>(i)], "tree\\file " + std::to_string(nFiles + i)); // in order
    EXPECT_EQ(Count("tree", "*.*"), std::to_string(nFiles) + "/0");
}

TEST(VQFileScanner, TakesLinksForWhatTheyLeadTo)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "no links without rights here";

    const CTestDirectory oDirectory;
    oDirectory.Write("elsewhere/a.txt", "x");
    oDirectory.Write("file.txt", "x");
    oDirectory.MakeDirectory("tree");
    std::filesystem::create_directory_symlink("../elsewhere", "tree/dir");
    std::filesystem::create_directory_symlink("../elsewhere", "tree/dir2"); // no parent of the first: entered again
    std::filesystem::create_directory_symlink("../elsewhere", "tree/.dot");
    std::filesystem::create_symlink("../file.txt", "tree/file");
    std::filesystem::create_symlink("nowhere", "tree/gone");
    EXPECT_EQ(Scan("tree", "*.*"), (Texts{"tree\\file", "tree\\gone", "tree\\dir\\a.txt", "tree\\dir2\\a.txt"}));
    EXPECT_EQ(Count("tree", "*.*"), "4/2");

    std::filesystem::create_directory_symlink("tree", "link");
    EXPECT_EQ(Scan("link", "f*"), Texts{"link\\file"});
}

TEST(VQFileScanner, EntersNoDirectoryAgainThatALinkLeadsBackTo)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "no links without rights here";

    const CTestDirectory oDirectory;
    oDirectory.Write("tree/a.txt", "x");
    oDirectory.Write("tree/sub/b.txt", "x");
    std::filesystem::create_directory_symlink(".", "tree/self");
    std::filesystem::create_directory_symlink("..", "tree/sub/up");
    std::filesystem::create_directory_symlink("../../tree/sub", "tree/sub/again");
    EXPECT_EQ(Scan("tree", "*.*"), (Texts{"tree\\a.txt", "tree\\sub\\b.txt"}));
    EXPECT_EQ(Count("tree", "*.*"), "2/4"); // they are folders, but not entered

    // above the scan: entered once, and not the tree again from there
    std::filesystem::create_directory_symlink("../..", "tree/sub/top");
    EXPECT_EQ(Scan("tree", "*.txt"), (Texts{"tree\\a.txt", "tree\\sub\\b.txt"}));
}

TEST(VQFileScanner, ComesToAnEndWithLinksInACircle)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "no links without rights here";

    const CTestDirectory oDirectory;
    oDirectory.Write("tree/a/1.txt", "x");
    oDirectory.Write("tree/b/2.txt", "x");
    std::filesystem::create_directory_symlink("../b", "tree/a/to_b");
    std::filesystem::create_directory_symlink("../a", "tree/b/to_a");
    EXPECT_EQ(Scan("tree", "*.*"),
              (Texts{"tree\\a\\1.txt", "tree\\a\\to_b\\2.txt", "tree\\b\\2.txt", "tree\\b\\to_a\\1.txt"}));

    std::filesystem::create_directory_symlink("loop", "tree/loop"); // leads nowhere
    EXPECT_EQ(Scan("tree", "loop"), Texts{"tree\\loop"});
}

TEST(VQFileScanner, ReportsWhatIsNoDirectory)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "no pipes and sockets among the files here";

    const CTestDirectory oDirectory;
    oDirectory.MakeDirectory("tree");
    ASSERT_TRUE(MakePipe(oDirectory.PathOf("tree/pipe")));
    ASSERT_TRUE(MakeSocket(oDirectory.PathOf("tree/socket")));
    EXPECT_EQ(Scan("tree", "*.*"), (Texts{"tree\\pipe", "tree\\socket"}));
}

// ------------------------------------------------------------------------------------------------ the worker thread

TEST(VQFileScannerThread, ReportsStartFilesAndEnd)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CReports oReports;
    ASSERT_TRUE(oReports.RunThread(ScannerOf({{"tree/sub", "*.txt"}, {"tree", "c*"}})));
    EXPECT_EQ(oReports.Get(),
              (Texts{"started", "tree/sub\\x.txt", "tree/sub\\deep\\y.txt", "tree\\c.dat", "finished"}));
    EXPECT_NE(oReports.GetThread(), std::this_thread::get_id());
}

TEST(VQFileScannerThread, ReportsStartAndEndOfNothing)
{
    CReports oReports;
    ASSERT_TRUE(oReports.RunThread({}));
    EXPECT_EQ(oReports.Get(), (Texts{"started", "finished"}));
}

TEST(VQFileScannerThread, WaitsForTheStartEvent)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    static std::atomic<int> s_nEarly;
    s_nEarly = 0;
    const auto fnEarly = [](eScannerMode nMode, sFileData*, unsigned long nUserValue)
    {
        ++s_nEarly;
        if (nMode == eScannerFinished)
            reinterpret_cast<CVQEvent*>(static_cast<std::uintptr_t>(nUserValue))->Signal();
    };

    // without an event it has long finished when the one that waits has not begun yet
    CVQEvent oStart;
    CReports oReports;
    CVQFileScanner oWaiting;
    oWaiting.AddScanDirectory("tree", "c*");
    oWaiting.RunThread(CReports::Take, USER_VALUE, &oStart);
    if (sizeof(unsigned long) >= sizeof(std::uintptr_t))
    {
        CVQEvent oEnd;
        CVQFileScanner oScanner = ScannerOf({{"tree", "*.*"}});
        oScanner.RunThread(fnEarly, static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(&oEnd)), nullptr);
        ASSERT_TRUE(oEnd.TimedWait(PATIENCE));
        EXPECT_EQ(s_nEarly, 9);
    }
    EXPECT_FALSE(oReports.GetThread() != std::thread::id()); // nothing was reported
    oStart.Signal();
    ASSERT_TRUE(oReports.WaitForEnd());
    EXPECT_EQ(oReports.Get(), (Texts{"started", "tree\\c.dat", "finished"}));
}

TEST(VQFileScannerThread, WorksOnACopyOfTheScanner)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CVQEvent oStart;
    CReports oReports;
    CVQFileScanner oScanner;
    oScanner.SetIncludeSubDirs(false);
    oScanner.AddScanDirectory("tree", "c*");
    oScanner.RunThread(CReports::Take, USER_VALUE, &oStart);
    oScanner.SetIncludeSubDirs(true);
    oScanner.AddScanDirectory("tree", "*.*");
    oStart.Signal();
    ASSERT_TRUE(oReports.WaitForEnd());
    EXPECT_EQ(oReports.Get(), (Texts{"started", "tree\\c.dat", "finished"}));
}

TEST(VQFileScannerThread, OutlivesTheScanner)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CVQEvent oStart;
    CReports oReports;
    {
        CVQFileScanner oScanner = ScannerOf({{"tree", "*.txt"}});
        oScanner.RunThread(CReports::Take, USER_VALUE, &oStart);
        const CVQFileScanner oCopy(oScanner); // both name the thread
    }
    oStart.Signal();
    ASSERT_TRUE(oReports.WaitForEnd());
    EXPECT_EQ(oReports.Get().size(), 7U);
    EXPECT_EQ(oReports.Get().back(), "finished");
}

TEST(VQFileScannerThread, RunsManyTimes)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("tree/a", "x");
    CVQFileScanner oScanner = ScannerOf({{"tree", "*.*"}});
    for (int i = 0; i < 300; ++i)
    {
        CReports oReports;
        oScanner.RunThread(CReports::Take, USER_VALUE, nullptr);
        ASSERT_TRUE(oReports.WaitForEnd());
        ASSERT_EQ(oReports.Get(), (Texts{"started", "tree\\a", "finished"}));
    }
}

// -------------------------------------------------------------------------------------------------------- stopping

TEST(IsolatedVQFileScanner, StopsForGood)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory);
    CVQFileScanner::StopThread();

    // the first two entries that match are "." and ".."
    {
        CReports oReports;
        ASSERT_TRUE(oReports.RunThread(ScannerOf({{"tree", "*.*"}, {"tree/sub", "*"}})));
        EXPECT_EQ(oReports.Get(), (Texts{"started", "stopped"}));
    }

    // here they are files, or a file and a directory; every directory that was added is looked at
    oDirectory.Write("more/1.txt", "x");
    oDirectory.Write("more/2.txt", "x");
    oDirectory.Write("more/3.txt", "x");
    oDirectory.Write("more/sub/4.txt", "x");
    oDirectory.MakeDirectory("mixed/a.txt");
    oDirectory.Write("mixed/b.txt", "x");
    oDirectory.Write("mixed/c.txt", "x");
    const Texts oExpected = {"more\\1.txt", "more\\2.txt", "mixed\\b.txt"};
    {
        CReports oReports;
        ASSERT_TRUE(oReports.RunThread(ScannerOf({{"more", "*.txt"}, {"mixed", "*.txt"}})));
        Texts oWithEnds = oExpected;
        oWithEnds.insert(oWithEnds.begin(), "started");
        oWithEnds.emplace_back("stopped");
        EXPECT_EQ(oReports.Get(), oWithEnds);
    }
    CReports oReports;
    oReports.Run(ScannerOf({{"more", "*.txt"}, {"mixed", "*.txt"}}));
    EXPECT_EQ(oReports.Get(), oExpected);

    EXPECT_EQ(Count("tree", "*.txt"), "5/5"); // counting does not ask
}

TEST(IsolatedVQFileScanner, StopsAtTheNextEntry)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"tree/1", "tree/2", "tree/3", "tree/4", "tree/sub/5"})
        oDirectory.Write(pName, "x");
    CReports oReports;
    oReports.OnFile(
        [](const sFileData& oData)
        {
            if (oData.m_oFileName == "3")
                CVQFileScanner::StopThread();
        });
    oReports.Run(ScannerOf({{"tree", "*.*"}}));
    EXPECT_EQ(oReports.Get(), (Texts{"tree\\1", "tree\\2", "tree\\3"}));
}

TEST(IsolatedVQFileScanner, LooksAtTheSecondEntryBeforeItStops)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"tree/1.txt", "tree/2.txt", "tree/3.txt"})
        oDirectory.Write(pName, "x");
    CReports oReports;
    oReports.OnFile([](const sFileData&) { CVQFileScanner::StopThread(); });
    ASSERT_TRUE(oReports.RunThread(ScannerOf({{"tree", "*.txt"}})));
    EXPECT_EQ(oReports.Get(), (Texts{"started", "tree\\1.txt", "tree\\2.txt", "stopped"}));
}

TEST(IsolatedVQFileScanner, StillLooksIntoTheDirectoriesThatItWasTo)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"tree/a/1.txt", "tree/a/2.txt", "tree/a/3.txt", "tree/a/deep/4.txt", "tree/b/5.txt",
                              "tree/b/6.txt", "tree/b/7.txt", "tree/b/deep/8.txt"})
        oDirectory.Write(pName, "x");
    CReports oReports;
    oReports.OnFile([](const sFileData&) { CVQFileScanner::StopThread(); });
    oReports.Run(ScannerOf({{"tree", "*.txt"}}));
    EXPECT_EQ(oReports.Get(), (Texts{"tree\\a\\1.txt", "tree\\a\\2.txt", "tree\\b\\5.txt", "tree\\b\\6.txt"}));
}

TEST(IsolatedVQFileScanner, StopsAWorkerThread)
{
    const CTestDirectory oDirectory;
    for (int i = 0; i < 100; ++i)
        oDirectory.Write("tree/" + std::to_string(1000 + i), "x");
    static CVQEvent s_oReached;
    static CVQEvent s_oGoOn;
    CReports oReports;
    oReports.OnFile(
        [](const sFileData& oData)
        {
            if (oData.m_oFileName == "1010")
            {
                s_oReached.Signal();
                s_oGoOn.TimedWait(PATIENCE);
            }
        });
    CVQFileScanner oScanner = ScannerOf({{"tree", "*.*"}});
    oScanner.RunThread(CReports::Take, USER_VALUE, nullptr);
    ASSERT_TRUE(s_oReached.TimedWait(PATIENCE));
    CVQFileScanner::StopThread();
    s_oGoOn.Signal();
    ASSERT_TRUE(oReports.WaitForEnd());
    EXPECT_EQ(oReports.Get().size(), 13U); // the start, 1000 to 1010, the end
    EXPECT_EQ(oReports.Get().back(), "stopped");
}

// ------------------------------------------------------------------------------------------------- the example of
// docs/

namespace
{
std::string g_sBar; // what the example prints

int PrintBar(const char* pFormat, int nPercent, const char* pName)
{
    char aLine[200];
    std::snprintf(aLine, sizeof(aLine), pFormat, nPercent, pName);
    g_sBar += aLine;
    return 0;
}
} // namespace

#define printf PrintBar

// [example]
struct Progress
{
    int m_nFiles = 0;
    int m_nDone = 0;
    CVQEvent m_oEnd;
};

Progress g_oProgress;

void ShowProgress(eScannerMode nMode, sFileData* pData, unsigned long)
{
    if (nMode == eScannerFile)
    {
        ++g_oProgress.m_nDone;
        printf("\r%3d %% %s", 100 * g_oProgress.m_nDone / g_oProgress.m_nFiles, ~pData->m_oFileName);
    }
    else if (nMode != eScannerStarted)
        g_oProgress.m_oEnd.Signal();
}

void ScanLevels()
{
    CVQFileScanner oScanner;
    oScanner.AddScanDirectory("levels", "*.lvl");

    int nFolders = 0;
    oScanner.GetFolderFileCount(g_oProgress.m_nFiles, nFolders, "*.lvl");
    oScanner.RunThread(ShowProgress, 0, nullptr);
    g_oProgress.m_oEnd.Wait();
}

// [example]
#undef printf

TEST(VQFileScannerManual, ShowsAProgressBar)
{
    const CTestDirectory oDirectory;
    for (const char* pName : {"levels/a.lvl", "levels/b.lvl", "levels/c.txt", "levels/old/c.lvl", "levels/old/d.lvl"})
        oDirectory.Write(pName, "x");
    ScanLevels();
    EXPECT_EQ(g_sBar, "\r 25 % a.lvl\r 50 % b.lvl\r 75 % c.lvl\r100 % d.lvl");
}

TEST(VQFileScannerManual, ShowsWhatWasCompiledHere)
{
    const std::string sSource = ReadWholeFile(GetTestPath("File/VQFileScanner_test.cpp"));
    const std::string sMark = "// [example]\n";
    const std::size_t nBegin = sSource.find(sMark) + sMark.size();
    const std::string sExample = sSource.substr(nBegin, sSource.find(sMark, nBegin) - nBegin);
    ASSERT_NE(sExample.find("ScanLevels"), std::string::npos);

    const std::string sManual = ReadWholeFile(GetTestPath("../docs/file-scanner.md"));
    EXPECT_NE(sManual.find("\n\n" + sExample + "```"), std::string::npos);
}
