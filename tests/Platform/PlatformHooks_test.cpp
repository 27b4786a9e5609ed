#include <Common/Platform/PlatformHooks.h>

#include <tests/support/TestEnvironment.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace
{
std::string g_sSeen;
eMessageBoxAnswer g_nAnswer = mbaOk;

eMessageBoxAnswer RecordBox(const char* pText, const char* pCaption, eMessageBoxKind nKind)
{
    g_sSeen += std::string(pCaption) + "/" + pText + "/" + std::to_string(static_cast<int>(nKind)) + ";";
    return g_nAnswer;
}

eMessageBoxAnswer OtherBox(const char*, const char*, eMessageBoxKind)
{
    return mbaCancel;
}

void RecordOutput(const char* pText)
{
    g_sSeen += pText;
}

void RecordBeep(eBeepKind nKind)
{
    g_sSeen += "beep " + std::to_string(static_cast<int>(nKind));
}

bool RecordDocument(const char* pPath)
{
    g_sSeen += pPath;
    return g_sSeen != "refused";
}

class PlatformHooks : public testing::Test
{
protected:
    void SetUp() override { g_sSeen.clear(); }

    void TearDown() override
    {
        HOOK_SetMessageBox(nullptr);
        HOOK_SetDebuggerOutput(nullptr);
        HOOK_SetBeep(nullptr);
        HOOK_SetOpenDocument(nullptr);
    }
};
} // namespace

TEST_F(PlatformHooks, NumbersOfKindsAndAnswersAreFixed)
{
    EXPECT_EQ(static_cast<int>(mbkInformation), 0);
    EXPECT_EQ(static_cast<int>(mbkYesNoCancel), 1);
    EXPECT_EQ(static_cast<int>(mbaOk), 1);
    EXPECT_EQ(static_cast<int>(mbaCancel), 2);
    EXPECT_EQ(static_cast<int>(mbaYes), 6);
    EXPECT_EQ(static_cast<int>(mbaNo), 7);
    EXPECT_EQ(static_cast<int>(bkQuestion), 0x20);
}

TEST_F(PlatformHooks, MessageBoxHookGetsTextCaptionAndKindAndItsAnswerIsReturned)
{
    HOOK_SetMessageBox(&RecordBox);
    for (const eMessageBoxAnswer nAnswer : {mbaOk, mbaYes, mbaNo, mbaCancel, static_cast<eMessageBoxAnswer>(77)})
    {
        g_sSeen.clear();
        g_nAnswer = nAnswer;
        EXPECT_EQ(HOOK_ShowMessageBox("100 %s", "Note", mbkInformation), nAnswer);
        EXPECT_EQ(HOOK_ShowMessageBox("debug?", "ASSERTION", mbkYesNoCancel), nAnswer);
        EXPECT_EQ(g_sSeen, "Note/100 %s/0;ASSERTION/debug?/1;");
    }
}

TEST_F(PlatformHooks, NullTextsReachTheHookAsEmptyOnes)
{
    HOOK_SetMessageBox(&RecordBox);
    HOOK_ShowMessageBox(nullptr, nullptr, mbkInformation);
    EXPECT_EQ(g_sSeen, "//0;");
}

TEST_F(PlatformHooks, SettersReturnTheHookUntilNow)
{
    EXPECT_EQ(HOOK_SetMessageBox(&RecordBox), nullptr);
    EXPECT_EQ(HOOK_SetMessageBox(&OtherBox), &RecordBox);
    EXPECT_EQ(HOOK_ShowMessageBox("", "", mbkYesNoCancel), mbaCancel);
    EXPECT_EQ(HOOK_SetMessageBox(nullptr), &OtherBox);
    EXPECT_EQ(HOOK_SetMessageBox(nullptr), nullptr);

    EXPECT_EQ(HOOK_SetDebuggerOutput(&RecordOutput), nullptr);
    EXPECT_EQ(HOOK_SetDebuggerOutput(nullptr), &RecordOutput);
    EXPECT_EQ(HOOK_SetBeep(&RecordBeep), nullptr);
    EXPECT_EQ(HOOK_SetBeep(nullptr), &RecordBeep);
    EXPECT_EQ(HOOK_SetOpenDocument(&RecordDocument), nullptr);
    EXPECT_EQ(HOOK_SetOpenDocument(nullptr), &RecordDocument);
}

TEST_F(PlatformHooks, DebuggerOutputHookGetsTheTextAsItIs)
{
    HOOK_SetDebuggerOutput(&RecordOutput);
    HOOK_WriteDebugger("50 %n and %s");
    HOOK_WriteDebugger("\n");
    HOOK_WriteDebugger(nullptr);
    EXPECT_EQ(g_sSeen, "50 %n and %s\n");
}

TEST_F(PlatformHooks, BeepHookGetsTheKind)
{
    HOOK_SetBeep(&RecordBeep);
    HOOK_Beep(bkQuestion);
    EXPECT_EQ(g_sSeen, "beep 32");
}

TEST_F(PlatformHooks, OpenDocumentHookGetsThePathAndDecides)
{
    HOOK_SetOpenDocument(&RecordDocument);
    EXPECT_TRUE(HOOK_OpenDocument("/tmp/VQProfiler.htm"));
    EXPECT_EQ(g_sSeen, "/tmp/VQProfiler.htm");

    g_sSeen.clear();
    EXPECT_FALSE(HOOK_OpenDocument("refused"));
}

TEST_F(PlatformHooks, MissingAndEmptyPathsReachNoHook)
{
    HOOK_SetOpenDocument(&RecordDocument);
    EXPECT_FALSE(HOOK_OpenDocument(nullptr));
    EXPECT_FALSE(HOOK_OpenDocument(""));
    EXPECT_EQ(g_sSeen, "");
}

TEST_F(PlatformHooks, WithNobodyThereABoxWritesItsTextAndAnswersOkOrYes)
{
    const CTestEnvironment oNobody("COMMON_NO_DIALOG", "1");

    testing::internal::CaptureStderr();
    EXPECT_EQ(HOOK_ShowMessageBox("disk is full", "Critical Error", mbkInformation), mbaOk);
    const std::string sInformation = testing::internal::GetCapturedStderr();
    EXPECT_NE(sInformation.find("Critical Error: disk is full"), std::string::npos) << sInformation;

    testing::internal::CaptureStderr();
    EXPECT_EQ(HOOK_ShowMessageBox("try to continue?", "ASSERTION", mbkYesNoCancel), mbaYes);
    const std::string sQuestion = testing::internal::GetCapturedStderr();
    EXPECT_NE(sQuestion.find("ASSERTION: try to continue?"), std::string::npos) << sQuestion;
}

TEST_F(PlatformHooks, WithNobodyThereNoDocumentIsOpened)
{
    const CTestEnvironment oNobody("COMMON_NO_DIALOG", "yes, nobody");
    EXPECT_FALSE(HOOK_OpenDocument("report.htm"));
}

TEST_F(PlatformHooks, HooksMayChangeWhileOthersCall)
{
    HOOK_SetMessageBox(&OtherBox);
    std::atomic<bool> bDone = false;
    std::thread oSetter(
        [&bDone]
        {
            for (int i = 0; i < 2000; ++i)
                HOOK_SetMessageBox(i % 2 == 0 ? [](const char*, const char*, eMessageBoxKind) { return mbaNo; }
                                              : &OtherBox);
            bDone = true;
        });

    int nOther = 0;
    do
    {
        const eMessageBoxAnswer nAnswer = HOOK_ShowMessageBox("", "", mbkYesNoCancel);
        nOther += nAnswer != mbaNo && nAnswer != mbaCancel;
    } while (!bDone);
    oSetter.join();
    EXPECT_EQ(nOther, 0);
}
