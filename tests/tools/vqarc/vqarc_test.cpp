// The built program, run as a user runs it.

#include <tests/support/ArchiveBytes.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/Terminal.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace
{
namespace fs = std::filesystem;

std::string GetProgram(const char* pName)
{
    const fs::path oThis(ThisProgram());
    return (oThis.parent_path() / (pName + oThis.extension().string())).string();
}

/// The exit code and all that the program wrote.
std::pair<int, std::string> RunTool(std::vector<std::string> aArguments)
{
    aArguments.insert(aArguments.begin(), GetProgram("vqarc"));
    const ChildResult oResult = ChildProcess(aArguments).Wait();
    std::string sOutput;
    for (const char cByte : oResult.sOutput)
    {
        if (cByte != '\r')
            sOutput.push_back(cByte);
    }
    return {oResult.nExitCode, sOutput};
}

using Outcome = std::pair<int, std::string>;

void WriteTree(const CTestDirectory& oDirectory, const std::string& sTop)
{
    std::string sAll;
    for (int i = 0; i < 256; ++i)
        sAll.push_back(static_cast<char>(i));
    oDirectory.Write(sTop + "/a.txt", "");
    oDirectory.Write(sTop + "/B.txt", "Hello, archive.\r\n");
    oDirectory.Write(sTop + "/c", "c");
    oDirectory.MakeDirectory(sTop + "/Empty");
    oDirectory.Write(sTop + "/sub/file.txt", "a file in sub\n");
    oDirectory.Write(sTop + "/sub/Deep/x.bin", sAll);
}

std::string Golden()
{
    return ReadWholeFile(GetGoldenPath("tree.arc"));
}

std::vector<std::string> NamesIn(const fs::path& oDirectory)
{
    std::vector<std::string> aNames;
    for (const auto& oEntry : fs::directory_iterator(oDirectory))
        aNames.push_back(oEntry.path().filename().string());
    std::sort(aNames.begin(), aNames.end());
    return aNames;
}

bool Contains(const std::string& sText, const std::string& sPart)
{
    return sText.find(sPart) != std::string::npos;
}
} // namespace

TEST(Vqarc, CreatesTheGoldenBytesFromNamesWithDots)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "my.project");
    EXPECT_EQ(RunTool({"create", "a.arc", "my.project"}), Outcome(0, ""));
    EXPECT_EQ(oDirectory.Read("a.arc"), Golden());
    EXPECT_EQ(RunTool({"create", "b", "my.project/"}), Outcome(0, ""));
    EXPECT_EQ(oDirectory.Read("b.arc"), Golden());
    EXPECT_EQ(NamesIn("."), (std::vector<std::string>{"a.arc", "b.arc", "my.project"}));
}

TEST(Vqarc, LeavesAnOlderArchiveWhenItFails)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "d");
    oDirectory.Write("old.arc", "old");
    EXPECT_EQ(RunTool({"create", "old.arc", "missing"}), Outcome(1, "vqarc: missing: there is no such directory\n"));
    EXPECT_EQ(RunTool({"create", "old.arc", "d/c"}), Outcome(1, "vqarc: d/c: not a directory\n"));
    EXPECT_EQ(RunTool({"create", "d/sub/in.arc", "d"}),
              Outcome(1, "vqarc: d/sub/in.arc: lies inside d, and an archive cannot hold itself\n"));
    EXPECT_EQ(RunTool({"create", "missing/x.arc", "d"}), Outcome(1, "vqarc: missing: there is no such directory\n"));

    oDirectory.Write("huge/huge", "");
    std::error_code oError;
    fs::resize_file("huge/huge", 0xFFFFFFFF, oError);
    if (!oError)
    {
        EXPECT_EQ(RunTool({"create", "old.arc", "huge"}), Outcome(1, "vqarc: huge: Error writing to file.\n"));
    }
    EXPECT_EQ(oDirectory.Read("old.arc"), "old");
    EXPECT_EQ(NamesIn("."), (std::vector<std::string>{"d", "huge", "old.arc"}));
    EXPECT_EQ(NamesIn("d/sub"), (std::vector<std::string>{"Deep", "file.txt"}));

    EXPECT_EQ(RunTool({"create", "old.arc", "d"}), Outcome(0, ""));
    EXPECT_EQ(oDirectory.Read("old.arc"), Golden());
}

TEST(Vqarc, LeavesNothingBehindWhenItIsInterrupted)
{
    if (!HasTerminals())
        GTEST_SKIP() << "this system has no terminals of a test's own";

    const CTestDirectory oDirectory;
    oDirectory.Write("old.arc", "old");
    oDirectory.Write("d/large", "");
    std::error_code oError;
    fs::resize_file("d/large", 0xC0000000, oError);
    if (oError)
        GTEST_SKIP() << "no file of 3 GiB can be made here: " << oError.message();

    CTerminalChild oChild({GetProgram("vqarc"), "create", "old.arc", "d"});
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (NamesIn(".").size() == 2 && std::chrono::steady_clock::now() < oEnd)
        continue;
    ASSERT_EQ(NamesIn(".").size(), 3u) << "the new archive stands beside the old one";
    oChild.Type("\x03");
    const ChildResult oResult = oChild.Wait();
    EXPECT_EQ(oResult.nExitCode, -1) << "it ends by the signal; " << oResult.sOutput;
    EXPECT_EQ(oDirectory.Read("old.arc"), "old");
    EXPECT_EQ(NamesIn("."), (std::vector<std::string>{"d", "old.arc"}));
}

TEST(Vqarc, WarnsOfNamesThatAreNotFoundLater)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/sub/name", "1");
    oDirectory.Write("d/sub/NAME", "2");
    if (NamesIn("d/sub").size() == 2)
    {
        EXPECT_EQ(
            RunTool({"create", "a.arc", "d"}),
            Outcome(0, "vqarc: warning: d/sub/name: another name differs in case only, and the first one is found\n"));
        EXPECT_EQ(RunTool({"cat", "a.arc", "sub/name"}), Outcome(0, "2"));
    }

    for (int i = 0; i < 256; ++i)
        oDirectory.MakeDirectory("many/" + std::to_string(i));
    const auto [nCode, sOutput] = RunTool({"create", "many.arc", "many"});
    EXPECT_EQ(nCode, 0);
    EXPECT_TRUE(Contains(sOutput, "vqarc: warning: many: 257 directories")) << sOutput;
    EXPECT_EQ(RunTool({"extract", "many.arc", "out"}), Outcome(0, ""));
    EXPECT_EQ(NamesIn("out/many").size(), 256u);
}

TEST(Vqarc, Lists)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("t.arc", Golden());
    EXPECT_EQ(RunTool({"list", "t.arc"}),
              Outcome(0, "a.txt\nB.txt\nc\nEmpty/\nsub/\nsub/file.txt\nsub/Deep/\nsub/Deep/x.bin\n"));
    EXPECT_EQ(RunTool({"list", "-l", "t"}), Outcome(0, "         0  a.txt\n"
                                                       "        17  B.txt\n"
                                                       "         1  c\n"
                                                       "         -  Empty/\n"
                                                       "         -  sub/\n"
                                                       "        14  sub/file.txt\n"
                                                       "         -  sub/Deep/\n"
                                                       "       256  sub/Deep/x.bin\n"
                                                       "       288  5 files, 3 directories\n"));
}

TEST(Vqarc, Extracts)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("t.arc", Golden());
    EXPECT_EQ(RunTool({"extract", "t", "new/out.d"}), Outcome(0, ""));
    EXPECT_EQ(oDirectory.Read("new/out.d/t/sub/file.txt"), "a file in sub\n");
    EXPECT_EQ(RunTool({"verify", "t.arc", "new/out.d/t"}),
              Outcome(0, "t.arc: 5 files, 4 directories, 288 bytes: good\n"));
    EXPECT_EQ(RunTool({"extract", "missing.arc", "new"}), Outcome(1, "vqarc: missing.arc: cannot be opened\n"));
    oDirectory.Write("bad.arc", MakeArchiveNode({{"../evil", "x"}}));
    EXPECT_EQ(RunTool({"extract", "bad.arc", "new"}),
              Outcome(1, "vqarc: bad.arc: Could not create file for writing.\n"));
    EXPECT_FALSE(oDirectory.Has("new/evil"));
}

TEST(Vqarc, ShowsHowFarItIsAtATerminalOnly)
{
    if (!HasTerminals())
        GTEST_SKIP() << "this system has no terminals of a test's own";

    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "tree");
    for (const std::vector<std::string>& aArguments :
         {std::vector<std::string>{"create", "t.arc", "tree"}, std::vector<std::string>{"extract", "t.arc", "out"}})
    {
        std::vector<std::string> aCommand = aArguments;
        aCommand.insert(aCommand.begin(), GetProgram("vqarc"));
        const ChildResult oShown = CTerminalChild(aCommand).Wait();
        EXPECT_EQ(oShown.nExitCode, 0) << oShown.sOutput;
        for (const char* pPart : {"\r[", "0/5 files  0 B of 288 B", "###] 100 %  5/5 files  288 B of 288 B", "B/s"})
            EXPECT_TRUE(Contains(oShown.sOutput, pPart)) << pPart << " in " << oShown.sOutput;
        EXPECT_EQ(oShown.sOutput.substr(oShown.sOutput.size() - 2), "\r\n") << "what follows has a line of its own";

        EXPECT_EQ(RunTool(aArguments), Outcome(0, "")) << "a pipe gets nothing of it";
    }
    EXPECT_EQ(oDirectory.Read("t.arc"), Golden());
}

TEST(Vqarc, PrintsAFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("t.arc", Golden());
    for (const char* pPath : {"sub/file.txt", "SUB\\FILE.TXT"})
        EXPECT_EQ(RunTool({"cat", "t.arc", pPath}), Outcome(0, "a file in sub\n"));
    EXPECT_EQ(ChildProcess({GetProgram("vqarc"), "cat", "t.arc", "b.txt"}).Wait().sOutput, "Hello, archive.\r\n");
    EXPECT_EQ(RunTool({"cat", "t.arc", "sub/none"}), Outcome(1, "vqarc: sub/none: not in t.arc\n"));
    EXPECT_EQ(RunTool({"cat", "t.arc", "c/none"}), Outcome(1, "vqarc: c/none: not in t.arc\n"));
    EXPECT_EQ(RunTool({"cat", "t.arc", "sub"}), Outcome(1, "vqarc: sub: a directory\n"));
}

TEST(Vqarc, VerifiesArchivesAgainstThemselvesAndTheDisk)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("t.arc", Golden());
    WriteTree(oDirectory, "d");
    EXPECT_EQ(RunTool({"verify", "t.arc"}), Outcome(0, "t.arc: 5 files, 4 directories, 288 bytes: good\n"));
    EXPECT_EQ(RunTool({"verify", "t.arc", "d"}), Outcome(0, "t.arc: 5 files, 4 directories, 288 bytes: good\n"));

    oDirectory.Write("d/c", "C");
    EXPECT_EQ(RunTool({"verify", "t.arc", "d"}),
              Outcome(1, "vqarc: t.arc/c: differs from the file on disk\nvqarc: t.arc: 1 problem\n"));
    oDirectory.Write("d/c", "cc");
    oDirectory.Write("d/sub/more", "");
    oDirectory.Remove("d/sub/file.txt");
    oDirectory.Remove("d/Empty");
    EXPECT_EQ(RunTool({"verify", "t.arc", "d"}), Outcome(1, "vqarc: t.arc/c: differs from the file on disk\n"
                                                            "vqarc: t.arc/Empty: no directory on disk\n"
                                                            "vqarc: t.arc/sub/file.txt: cannot be opened on disk\n"
                                                            "vqarc: t.arc/sub/more: on disk only\n"
                                                            "vqarc: t.arc: 4 problems\n"));
}

TEST(Vqarc, FindsEveryDamage)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("none.arc", "");
    oDirectory.Write("text.arc", std::string(500, 't'));
    EXPECT_EQ(RunTool({"verify", "none.arc"}),
              Outcome(1, "vqarc: none.arc: lies outside of what is there, or cannot be read\n"));
    EXPECT_EQ(RunTool({"list", "text.arc"}),
              Outcome(1, "vqarc: text.arc: not an archive, or one of another version\n"));

    std::string sBroken = Golden();
    sBroken[50] = 'X'; // the magic of the node Empty
    oDirectory.Write("t.arc", sBroken);
    for (const char* pCommand : {"verify", "list"})
    {
        const auto [nCode, sOutput] = RunTool({pCommand, "t.arc"});
        EXPECT_EQ(nCode, 1);
        EXPECT_TRUE(Contains(sOutput, "vqarc: t.arc/Empty: not an archive, or one of another version\n")) << sOutput;
    }

    sBroken = Golden();
    SetNumber(sBroken, GetEntryPosition(sBroken, 1) + ENTRY_SIZE_FIELD, 1000000);
    oDirectory.Write("t.arc", sBroken);
    EXPECT_EQ(RunTool({"verify", "t.arc"}).first, 1);
    EXPECT_EQ(RunTool({"cat", "t.arc", "b.txt"}).first, 1);

    oDirectory.Write("t.arc", MakeArchiveNode({{"..", "x"}, {"good", "x"}}));
    EXPECT_EQ(RunTool({"verify", "t.arc"}),
              Outcome(1, "vqarc: t.arc/..: a name that cannot be extracted\nvqarc: t.arc: 1 problem\n"));
}

TEST(Vqarc, RefusesWrongUse)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> aCases = {
        {{}, "vqarc: no command\n"},
        {{"pack"}, "vqarc: pack: unknown command\n"},
        {{"create", "a"}, "vqarc: create: too few arguments\n"},
        {{"create", "a", "b", "c"}, "vqarc: create: too many arguments\n"},
        {{"create", "-l", "a", "b"}, "vqarc: -l: unknown option\n"},
        {{"list"}, "vqarc: list: too few arguments\n"},
        {{"list", "-x", "a"}, "vqarc: -x: unknown option\n"},
        {{"--nonsense"}, "vqarc: --nonsense: unknown option\n"},
        {{"cat", "a"}, "vqarc: cat: too few arguments\n"},
        {{"verify"}, "vqarc: verify: too few arguments\n"},
        {{"extract", "a", ""}, "vqarc: extract: an empty name\n"},
    };
    for (const auto& [aArguments, sError] : aCases)
    {
        const auto [nCode, sOutput] = RunTool(aArguments);
        EXPECT_EQ(nCode, 2) << sError;
        EXPECT_TRUE(Contains(sOutput, sError + "usage: vqarc create ARCHIVE DIR\n")) << sOutput;
    }
}

TEST(Vqarc, TellsHowItIsUsed)
{
    const auto [nHelpCode, sHelp] = RunTool({"--help"});
    EXPECT_EQ(nHelpCode, 0);
    for (const char* pWord : {"usage: vqarc create", "list [-l] ARCHIVE", "extract", "cat", "verify", "Exit codes"})
        EXPECT_TRUE(Contains(sHelp, pWord)) << pWord;

    const auto [nVersionCode, sVersion] = RunTool({"--version"});
    EXPECT_EQ(nVersionCode, 0);
    EXPECT_EQ(sVersion.substr(0, 6), "vqarc ");
}

TEST(Roundtrip, PacksOpensExtractsAndCompares)
{
    const CTestDirectory oDirectory;
    WriteTree(oDirectory, "d");
    const ChildResult oResult = ChildProcess({GetProgram("roundtrip"), "d"}).Wait();
    EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
    EXPECT_TRUE(Contains(oResult.sOutput, "every byte is the same")) << oResult.sOutput;
    EXPECT_EQ(ChildProcess({GetProgram("roundtrip"), "missing"}).Wait().nExitCode, 1);
    EXPECT_EQ(ChildProcess({GetProgram("roundtrip")}).Wait().nExitCode, 2);
}
