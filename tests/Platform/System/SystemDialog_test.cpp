#include <Common/Platform/PlatformHooks.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/NamedPipe.h>
#include <tests/support/Terminal.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestEnvironment.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#define REQUIRE_PROMPTS()                                                                                              \
    if (!HasTerminals())                                                                                               \
    GTEST_SKIP() << "this system shows boxes of its own, and no terminal or program asks"

namespace
{
constexpr auto TEXT_VARIABLE = "COMMON_TEST_TEXT";
constexpr auto CAPTION_VARIABLE = "COMMON_TEST_CAPTION";
constexpr auto KIND_VARIABLE = "COMMON_TEST_KIND";
constexpr auto PROMPT = "[y]es, [n]o or [c]ancel? ";

// Texts that a terminal, a shell, a formatting function or a program's options could take for something else.
const std::vector<std::string> ODD_TEXTS = {
    "-",
    "--help",
    "-file",
    "+rv",
    "--text=x",
    "",
    " ",
    "two\nlines\n",
    "100 %s %n %d",
    "\"it's\" `x`",
    "$(exit 3); exit 4 | cat > /dev/null && $HOME",
    "<b>bold</b> &amp; & _",
    "\xC3\x84 \xE4\xBA\xBA",
    "C:\\new\\table",
    "a\\",
    std::string(3000, 'x'),
};

std::vector<std::string> ChildCommand(const std::string& sName)
{
    return {ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
            "--gtest_filter=SystemDialogChild.DISABLED_" + sName};
}

/// What the child below is to ask, for the life of the object.
class CQuestion
{
public:
    CQuestion(const std::string& sText, const std::string& sCaption, eMessageBoxKind nKind)
        : m_oText(TEXT_VARIABLE, sText.c_str()), m_oCaption(CAPTION_VARIABLE, sCaption.c_str()),
          m_oKind(KIND_VARIABLE, std::to_string(static_cast<int>(nKind)).c_str())
    {
    }

private:
    CTestEnvironment m_oText;
    CTestEnvironment m_oCaption;
    CTestEnvironment m_oKind;
    CTestEnvironment m_oSomebody{"COMMON_NO_DIALOG", nullptr};
};

/// The answer that the child has told; -1 when it told none.
int AnswerIn(const std::string& sOutput)
{
    constexpr std::string_view MARK = "the answer is ";
    const auto nFound = sOutput.rfind(MARK);
    return nFound == std::string::npos ? -1 : std::atoi(sOutput.c_str() + nFound + MARK.size());
}

/// A display that the library believes in and nothing reaches.
class CDisplay
{
public:
    explicit CDisplay(bool bThere = true, bool bWayland = false)
        : m_oX("DISPLAY", bThere && !bWayland ? ":99" : nullptr),
          m_oWayland("WAYLAND_DISPLAY", bThere && bWayland ? "wayland-99" : nullptr)
    {
    }

private:
    CTestEnvironment m_oX;
    CTestEnvironment m_oWayland;
};

/// Programs of the test's own in the search path, and nothing else: each records how it was called, says something and
/// ends with a status.
class CFakePrograms
{
public:
    CFakePrograms() : m_oPath("PATH", m_oDirectory.PathOf("bin").c_str()) { m_oDirectory.MakeDirectory("bin"); }

    void Add(const std::string& sName, const std::string& sSays, int nStatus)
    {
        Install("bin/" + sName, "#!/bin/sh\n"
                                "printf '%s\\0' \"${0##*/}\" \"$@\" >\"" +
                                    m_oDirectory.PathOf("call") + "\"\nprintf '%s\\n' '" + sSays + "'\nexit " +
                                    std::to_string(nStatus) + "\n");
    }

    void Install(const std::string& sName, const std::string& sScript)
    {
        m_oDirectory.Write(sName, sScript);
        std::filesystem::permissions(m_oDirectory.PathOf(sName), std::filesystem::perms::owner_all);
    }

    /// The name and the arguments of the last call, none when there was none; it is forgotten then.
    std::vector<std::string> TakeCall()
    {
        std::vector<std::string> oCall;
        if (!m_oDirectory.Has("call"))
            return oCall;
        const std::string sRecord = m_oDirectory.Read("call");
        for (std::size_t nFrom = 0; nFrom < sRecord.size();)
        {
            oCall.emplace_back(sRecord.c_str() + nFrom);
            nFrom += oCall.back().size() + 1;
        }
        m_oDirectory.Remove("call");
        return oCall;
    }

    const CTestDirectory& GetDirectory() const { return m_oDirectory; }

private:
    CTestDirectory m_oDirectory;
    CTestEnvironment m_oPath;
};

/// Shows a box in a process without a terminal; the output is that of the process.
ChildResult ShowBox(const std::string& sText, const std::string& sCaption, eMessageBoxKind nKind)
{
    const CQuestion oQuestion(sText, sCaption, nKind);
    return ChildProcess(ChildCommand("ShowsABox")).Wait();
}

/// Shows a box at a terminal, where the lines are typed each when it is asked for.
std::optional<int> AskAtTerminal(const std::vector<std::string>& oLines)
{
    const CQuestion oQuestion("continue?", "ASSERTION", mbkYesNoCancel);
    CTerminalChild oChild(ChildCommand("ShowsABox"));
    for (const std::string& sLine : oLines)
    {
        if (!oChild.WaitFor(PROMPT))
            return std::nullopt;
        oChild.Type(sLine);
    }
    return AnswerIn(oChild.Wait().sOutput);
}

std::string Doubled(const std::string& sText)
{
    std::string sResult;
    for (const char c : sText)
        sResult.append(c == '\\' ? 2u : 1u, c);
    return sResult;
}

std::string Guarded(const std::string& sText)
{
    return (sText.rfind('-', 0) == 0 || sText.rfind('+', 0) == 0 ? " " : "") + sText;
}
} // namespace

// Run in the children only.

TEST(SystemDialogChild, DISABLED_ShowsABox)
{
    const char* pText = std::getenv(TEXT_VARIABLE);
    const char* pCaption = std::getenv(CAPTION_VARIABLE);
    const char* pKind = std::getenv(KIND_VARIABLE);
    ASSERT_NE(pKind, nullptr);
    const int nAnswer = HOOK_ShowMessageBox(pText, pCaption, static_cast<eMessageBoxKind>(std::atoi(pKind)));
    std::printf("\nthe answer is %d\n", nAnswer);
}

TEST(SystemDialogChild, DISABLED_Beeps)
{
    HOOK_Beep(bkQuestion);
}

// ---------------------------------------------------------------- the terminal

TEST(SystemDialog, TakesTheFirstLetterOfALineAtTheTerminal)
{
    REQUIRE_PROMPTS();

    struct
    {
        std::string sLine;
        int nAnswer;
    } const aCases[] = {
        {"y\n", mbaYes},
        {"Y\n", mbaYes},
        {"yes\n", mbaYes},
        {"\n", mbaYes},
        {"n\n", mbaNo},
        {"N\n", mbaNo},
        {"No!\n", mbaNo},
        {"c\n", mbaCancel},
        {"C\n", mbaCancel},
        {"\x04", mbaYes},
        {"n\x04\x04", mbaYes},
        {"cancel it\n", mbaCancel},
        {std::string(3000, 'n') + "\n", mbaNo},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(AskAtTerminal({oCase.sLine}), oCase.nAnswer) << oCase.sLine;
}

TEST(SystemDialog, AsksAgainUntilTheAnswerIsOne)
{
    REQUIRE_PROMPTS();
    EXPECT_EQ(AskAtTerminal({"x\n", " y\n", "1\n", "no\n"}), mbaNo);
    EXPECT_EQ(AskAtTerminal({"?\n", "\x04"}), mbaYes);
}

TEST(SystemDialog, ShowsCaptionAndTextAtTheTerminal)
{
    REQUIRE_PROMPTS();
    const CQuestion oQuestion("50 %s of\n\"it\" $HOME\t-x", "-caption %n", mbkYesNoCancel);
    CTerminalChild oChild(ChildCommand("ShowsABox"));
    EXPECT_TRUE(oChild.WaitFor(std::string("\r\n-caption %n\r\n\r\n50 %s of\r\n\"it\" $HOME\t-x\r\n") + PROMPT));
    oChild.Type("c\n");
    EXPECT_EQ(AnswerIn(oChild.Wait().sOutput), mbaCancel);
}

TEST(SystemDialog, WaitsForALineAfterAnInformationAtTheTerminal)
{
    REQUIRE_PROMPTS();
    for (const char* pLine : {"\n", "no\n", "\x04"})
    {
        const CQuestion oQuestion("done", "Note", mbkInformation);
        CTerminalChild oChild(ChildCommand("ShowsABox"));
        EXPECT_TRUE(oChild.WaitFor("\r\nNote\r\n\r\ndone\r\nPress Enter: "));
        oChild.Type(pLine);
        EXPECT_EQ(AnswerIn(oChild.Wait().sOutput), mbaOk) << pLine;
    }
}

TEST(SystemDialog, LetsNoTextSteerTheTerminal)
{
    REQUIRE_PROMPTS();
    const CQuestion oQuestion("\x1B[2Jgone\a\b\x7F\r\nnext", "\x1B]0;title\a", mbkInformation);
    CTerminalChild oChild(ChildCommand("ShowsABox"));
    EXPECT_TRUE(oChild.WaitFor("\r\n?]0;title?\r\n\r\n?[2Jgone???\r\nnext\r\nPress Enter: "));
    oChild.Type("\n");
    EXPECT_EQ(AnswerIn(oChild.Wait().sOutput), mbaOk);
}

TEST(SystemDialog, AsksNobodyAtATerminalThatIsNotItsOwn)
{
    REQUIRE_PROMPTS();
    const CDisplay oNone(false);
    for (const auto nPlace : {CTerminalChild::ePlace::Background, CTerminalChild::ePlace::NoTerminal})
    {
        const CQuestion oQuestion("continue?", "ASSERTION", mbkYesNoCancel);
        CTerminalChild oChild(ChildCommand("ShowsABox"), nPlace);
        const ChildResult oResult = oChild.Wait();
        EXPECT_NE(oResult.sOutput.find("ASSERTION: continue?\r\n"), std::string::npos) << oResult.sOutput;
        EXPECT_EQ(oResult.sOutput.find(PROMPT), std::string::npos) << oResult.sOutput;
        EXPECT_EQ(AnswerIn(oResult.sOutput), mbaYes);
    }
}

TEST(SystemDialog, AsksNobodyAtATerminalThatIsLeftAlone)
{
    REQUIRE_PROMPTS();
    const CQuestion oQuestion("continue?", "ASSERTION", mbkYesNoCancel);
    const CTestEnvironment oNobody("COMMON_NO_DIALOG", "1");
    CTerminalChild oChild(ChildCommand("ShowsABox"));
    const ChildResult oResult = oChild.Wait();
    EXPECT_NE(oResult.sOutput.find("ASSERTION: continue?\r\n"), std::string::npos) << oResult.sOutput;
    EXPECT_EQ(AnswerIn(oResult.sOutput), mbaYes);
}

TEST(SystemDialog, BeepsAtATerminalOnly)
{
    REQUIRE_PROMPTS();
    CTerminalChild oChild(ChildCommand("Beeps"));
    const ChildResult oShown = oChild.Wait();
    EXPECT_EQ(oShown.nExitCode, 0);
    EXPECT_NE(oShown.sOutput.find('\a'), std::string::npos);

    const ChildResult oPlain = ChildProcess(ChildCommand("Beeps")).Wait();
    EXPECT_EQ(oPlain.nExitCode, 0);
    EXPECT_EQ(oPlain.sOutput.find('\a'), std::string::npos);
}

// ---------------------------------------------------------------- dialog programs

TEST(SystemDialog, HandsTextAndCaptionOfAnInformationToAProgramAsTheyAre)
{
    REQUIRE_PROMPTS();
    const CDisplay oDisplay;
    for (const char* pProgram : {"zenity", "kdialog", "xmessage"})
    {
        CFakePrograms oPrograms;
        oPrograms.Add(pProgram, "", 0);
        for (const std::string& sOdd : ODD_TEXTS)
        {
            const std::string sCaption = sOdd + "!";
            const ChildResult oResult = ShowBox(sOdd, sCaption, mbkInformation);
            EXPECT_EQ(AnswerIn(oResult.sOutput), mbaOk);
            EXPECT_EQ(oResult.sOutput.find(sCaption + ": "), std::string::npos) << "it is on standard error too";

            using namespace std::string_literals;
            const std::vector<std::string> oCall = oPrograms.TakeCall();
            if (pProgram == "zenity"s)
                EXPECT_EQ(oCall, (std::vector<std::string>{pProgram, "--info", "--no-markup", "--title=" + sCaption,
                                                           "--text=" + Doubled(sOdd)}));
            else if (pProgram == "kdialog"s)
                EXPECT_EQ(oCall,
                          (std::vector<std::string>{pProgram, "--title=" + sCaption, "--msgbox=" + Doubled(sOdd)}));
            else
                EXPECT_EQ(oCall, (std::vector<std::string>{pProgram, "-center", "-title", sCaption, "-buttons", "OK:0",
                                                           Guarded(sOdd)}));
        }
    }
}

TEST(SystemDialog, HandsTextAndCaptionOfAQuestionToAProgramAsTheyAre)
{
    REQUIRE_PROMPTS();
    const CDisplay oDisplay;
    for (const std::string& sOdd : ODD_TEXTS)
    {
        const std::string sCaption = sOdd + "!";
        {
            CFakePrograms oPrograms;
            oPrograms.Add("zenity", "No", 1);
            EXPECT_EQ(AnswerIn(ShowBox(sOdd, sCaption, mbkYesNoCancel).sOutput), mbaNo);
            EXPECT_EQ(oPrograms.TakeCall(),
                      (std::vector<std::string>{"zenity", "--question", "--no-markup", "--switch",
                                                "--extra-button=Cancel", "--extra-button=No", "--extra-button=Yes",
                                                "--title=" + sCaption, "--text=" + Doubled(sOdd)}));
        }
        {
            CFakePrograms oPrograms;
            oPrograms.Add("kdialog", "", 1);
            EXPECT_EQ(AnswerIn(ShowBox(sOdd, sCaption, mbkYesNoCancel).sOutput), mbaNo);
            EXPECT_EQ(oPrograms.TakeCall(),
                      (std::vector<std::string>{"kdialog", "--title=" + sCaption, "--yesnocancel=" + Doubled(sOdd)}));
        }
        {
            CFakePrograms oPrograms;
            oPrograms.Add("xmessage", "", 101);
            EXPECT_EQ(AnswerIn(ShowBox(sOdd, sCaption, mbkYesNoCancel).sOutput), mbaNo);
            EXPECT_EQ(oPrograms.TakeCall(),
                      (std::vector<std::string>{"xmessage", "-center", "-title", sCaption, "-buttons",
                                                "Yes:100,No:101,Cancel:102", "-default", "Yes", Guarded(sOdd)}));
        }
    }
}

TEST(SystemDialog, TakesTheAnswerOfAProgramWhenItIsSurelyTheUsers)
{
    REQUIRE_PROMPTS();
    constexpr int UNSURE = -1; // then the text goes to standard error, and the answer is yes

    struct
    {
        const char* pProgram;
        const char* pSays;
        int nStatus;
        int nAnswer;
    } const aCases[] = {
        {"zenity", "Yes", 1, mbaYes},  {"zenity", "No", 1, mbaNo},       {"zenity", "Cancel", 1, mbaCancel},
        {"kdialog", "", 0, mbaYes},    {"kdialog", "", 1, mbaNo},        {"kdialog", "", 2, mbaCancel},
        {"kdialog", "Yes", 3, UNSURE}, {"kdialog", "", 254, UNSURE},     {"xmessage", "", 100, mbaYes},
        {"xmessage", "", 101, mbaNo},  {"xmessage", "", 102, mbaCancel}, {"xmessage", "", 1, UNSURE},
        {"xmessage", "", 0, UNSURE},   {"xmessage", "", 103, UNSURE},
    };

    for (const bool bWayland : {false, true})
    {
        const CDisplay oDisplay(true, bWayland);
        for (const auto& oCase : aCases)
        {
            CFakePrograms oPrograms;
            oPrograms.Add(oCase.pProgram, oCase.pSays, oCase.nStatus);
            const std::string sOutput = ShowBox("why", "what", mbkYesNoCancel).sOutput;
            EXPECT_EQ(AnswerIn(sOutput), oCase.nAnswer == UNSURE ? mbaYes : oCase.nAnswer)
                << oCase.pProgram << " " << oCase.nStatus;
            EXPECT_EQ(sOutput.find("what: why\n") != std::string::npos, oCase.nAnswer == UNSURE)
                << oCase.pProgram << " " << oCase.nStatus << " " << sOutput;
            EXPECT_FALSE(oPrograms.TakeCall().empty());
        }
    }
}

TEST(SystemDialog, GoesOnWhenAProgramFails)
{
    REQUIRE_PROMPTS();
    const CDisplay oDisplay;

    const struct
    {
        const char* pName;
        const char* pScript;
    } aPrograms[] = {
        {"zenity", "#!/bin/sh\nexit 1\n"},          // as when the display cannot be reached
        {"zenity", "#!/bin/sh\nkill -9 $$\n"},      // as when it crashes
        {"kdialog", "#!/bin/sh\nkill -9 $$\n"},     //
        {"xmessage", "#!/bin/sh\nexit 1\n"},        //
        {"zenity", "#!/no/such/interpreter\n"},     // as when it is only half installed
        {"xmessage", "neither script nor program"}, //
    };

    for (const auto& oProgram : aPrograms)
    {
        CFakePrograms oPrograms;
        oPrograms.Install(std::string("bin/") + oProgram.pName, oProgram.pScript);

        const std::string sQuestion = ShowBox("why", "what", mbkYesNoCancel).sOutput;
        EXPECT_EQ(AnswerIn(sQuestion), mbaYes) << oProgram.pScript;
        EXPECT_NE(sQuestion.find("what: why\n"), std::string::npos) << oProgram.pScript;
        const std::string sInformation = ShowBox("done", "note", mbkInformation).sOutput;
        EXPECT_EQ(AnswerIn(sInformation), mbaOk) << oProgram.pScript;
        EXPECT_NE(sInformation.find("note: done\n"), std::string::npos) << oProgram.pScript;
    }
}

TEST(SystemDialog, EndsWithAProgramThatSaysTooMuch)
{
    REQUIRE_PROMPTS();
    const CDisplay oDisplay;
    CFakePrograms oPrograms;
    oPrograms.Add("zenity", "No" + std::string(100'000, 'o'), 1);
    EXPECT_EQ(AnswerIn(ShowBox("why", "what", mbkYesNoCancel).sOutput), mbaNo);
}

TEST(SystemDialog, PrefersTheProgramsInOneOrder)
{
    REQUIRE_PROMPTS();
    const CDisplay oDisplay;
    CFakePrograms oPrograms;
    for (const char* pProgram : {"xmessage", "kdialog", "zenity"})
    {
        oPrograms.Add(pProgram, "", 0);
        ShowBox("done", "note", mbkInformation);
        const auto oCall = oPrograms.TakeCall();
        ASSERT_FALSE(oCall.empty());
        EXPECT_EQ(oCall.front(), pProgram);
    }
}

TEST(SystemDialog, RunsNoProgramFromARelativeSearchPath)
{
    REQUIRE_PROMPTS();
    const CDisplay oDisplay;
    CFakePrograms oPrograms;
    oPrograms.Add("zenity", "", 0);
    const std::string sAbsolute = oPrograms.GetDirectory().PathOf("bin");
    for (const std::string sPath : {"bin", "bin:", ":", "", "./bin:bin"})
    {
        const CTestEnvironment oPath("PATH", sPath.c_str());
        EXPECT_NE(ShowBox("done", "note", mbkInformation).sOutput.find("note: done\n"), std::string::npos) << sPath;
        EXPECT_TRUE(oPrograms.TakeCall().empty()) << sPath;
    }

    oPrograms.Install("other/zenity", "#!/bin/sh\nexit 0\n");
    const CTestEnvironment oPath("PATH", ("other:/no/such/directory:" + sAbsolute).c_str());
    ShowBox("done", "note", mbkInformation);
    EXPECT_FALSE(oPrograms.TakeCall().empty()) << "the one in front of it is not to be run";
}

TEST(SystemDialog, WritesToStandardErrorWithoutDisplayOrProgram)
{
    REQUIRE_PROMPTS();
    for (const bool bDisplay : {false, true})
    {
        const CDisplay oDisplay(bDisplay);
        CFakePrograms oPrograms;
        if (!bDisplay)
            oPrograms.Add("zenity", "No", 0);
        for (const std::string& sOdd : ODD_TEXTS)
        {
            const std::string sQuestion = ShowBox(sOdd, "-c %s", mbkYesNoCancel).sOutput;
            EXPECT_NE(sQuestion.find("-c %s: " + sOdd + "\n"), std::string::npos) << sQuestion;
            EXPECT_EQ(AnswerIn(sQuestion), mbaYes);
            const std::string sInformation = ShowBox("-t %n", sOdd, mbkInformation).sOutput;
            EXPECT_NE(sInformation.find(sOdd + ": -t %n\n"), std::string::npos) << sInformation;
            EXPECT_EQ(AnswerIn(sInformation), mbaOk);
        }
        EXPECT_TRUE(oPrograms.TakeCall().empty());
    }
}

// ---------------------------------------------------------------- documents

TEST(SystemDialog, HandsThePathOfADocumentToTheOpenerAsOneArgument)
{
    REQUIRE_PROMPTS();
    const CTestEnvironment oSomebody("COMMON_NO_DIALOG", nullptr);

    struct
    {
        std::string sPath;
        std::string sSeen;
    } const aCases[] = {
        {"/tmp/VQProfiler.htm", "/tmp/VQProfiler.htm"},
        {"a b;c", "a b;c"},
        {"$(touch shelled)", "$(touch shelled)"},
        {"`touch shelled`; touch shelled & touch shelled | touch shelled > shelled", ""},
        {"'\"\\'\"", "'\"\\'\""},
        {"%s%n*?[x]~{a,b}$HOME", "%s%n*?[x]~{a,b}$HOME"},
        {"two\nlines", "two\nlines"},
        {"-x", "./-x"},
        {"--help", "./--help"},
        {"-", "./-"},
        {"\xC3\x84\xFF", "\xC3\x84\xFF"},
        {std::string(4000, 'x'), std::string(4000, 'x')},
    };

    for (const bool bWayland : {false, true})
    {
        const CDisplay oDisplay(true, bWayland);
        for (const auto& oCase : aCases)
        {
            CFakePrograms oPrograms;
            CNamedPipe oPipe(oPrograms.GetDirectory().PathOf("seen"));
            oPrograms.Install("bin/xdg-open", "#!/bin/sh\nprintf '<%s>' \"$#\" \"$@\" >seen\n");
            EXPECT_TRUE(HOOK_OpenDocument(oCase.sPath.c_str())) << oCase.sPath;
            EXPECT_EQ(oPipe.Read(), "<1><" + (oCase.sSeen.empty() ? oCase.sPath : oCase.sSeen) + ">");
            EXPECT_FALSE(oPrograms.GetDirectory().Has("shelled"));
        }
    }
}

TEST(SystemDialog, LeavesTheOpenerNothingOfThisProgram)
{
    REQUIRE_PROMPTS();
    const CTestEnvironment oSomebody("COMMON_NO_DIALOG", nullptr);
    const CDisplay oDisplay;
    CFakePrograms oPrograms;
    CNamedPipe oPipe(oPrograms.GetDirectory().PathOf("seen"));
    oPrograms.GetDirectory().Write("held", "");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pHeld(std::fopen("held", "rb"), &std::fclose);
    ASSERT_NE(pHeld, nullptr);
    oPrograms.Install("bin/xdg-open", "#!/bin/sh\n"
                                      "for i in 0 1 2; do all=\"$all$(readlink /proc/$$/fd/$i) \"; done\n"
                                      "printf '%s' \"$all$(ls -l /proc/$$/fd)\" >seen\n");
    const CTestEnvironment oPath("PATH", (oPrograms.GetDirectory().PathOf("bin") + ":/usr/bin:/bin").c_str());
    ASSERT_TRUE(HOOK_OpenDocument("report.htm"));

    const std::string sSeen = oPipe.Read();
    EXPECT_EQ(sSeen.rfind("/dev/null /dev/null /dev/null ", 0), 0u) << sSeen;
    EXPECT_EQ(sSeen.find("/held"), std::string::npos) << sSeen;
}

TEST(SystemDialog, OpensNoDocumentWithoutDisplayOrOpener)
{
    REQUIRE_PROMPTS();
    const CTestEnvironment oSomebody("COMMON_NO_DIALOG", nullptr);
    {
        const CDisplay oNone(false);
        CFakePrograms oPrograms;
        oPrograms.Add("xdg-open", "", 0);
        EXPECT_FALSE(HOOK_OpenDocument("report.htm"));
    }
    const CDisplay oDisplay;
    CFakePrograms oPrograms;
    EXPECT_FALSE(HOOK_OpenDocument("report.htm"));

    // one that may not be run is none, and a relative search path does not count
    oPrograms.GetDirectory().Write("bin/xdg-open", "#!/bin/sh\n");
    EXPECT_FALSE(HOOK_OpenDocument("report.htm"));
    oPrograms.Add("xdg-open", "", 0);
    const CTestEnvironment oPath("PATH", "bin");
    EXPECT_FALSE(HOOK_OpenDocument("report.htm"));
}
