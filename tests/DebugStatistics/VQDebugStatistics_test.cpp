#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsInterpreter.h>
#include <Common/DebugStatistics/VQDebugStatisticsPage.h>

#include <tests/support/ConsoleGuard.h>
#include <tests/support/PrintControl.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{
using Console = CVQDebugStatistics;

/// Starts from the console as it is at load.
class VQDebugStatistics : public testing::Test
{
private:
    CConsoleGuard m_oGuard;
};

class VQDebugStatisticsInterpreter : public VQDebugStatistics
{
};

std::string EntryBuffer()
{
    return {Console::m_oEntryBuffer.GetString() != nullptr ? Console::m_oEntryBuffer.GetString() : ""};
}

std::string Printed(int nSize = 1024)
{
    std::string sBuffer(static_cast<std::size_t>(nSize) + 16, '\x7F');
    const int nWritten = Console::Print(sBuffer.data(), nSize);
    EXPECT_EQ(sBuffer.find_first_not_of('\x7F', static_cast<std::size_t>(nWritten)), std::string::npos);
    return sBuffer.substr(0, static_cast<std::size_t>(nWritten));
}

void Type(std::string_view sKeys)
{
    for (const char cKey : sKeys)
        Console::ProcessInput(static_cast<unsigned char>(cKey));
}

/// A page that remembers the texts it gets, and prints its label alone.
class CRecordingPage : public CVQDebugStatisticsPage
{
public:
    using CVQDebugStatisticsPage::CVQDebugStatisticsPage;

    void SetValueFromString(const CVQString& oText) override
    {
        m_oValues.emplace_back(oText.IsEmpty() ? "" : oText.GetString());
    }

    std::vector<std::string> m_oValues;
};

class CInterpreter : public IVQDebugStatisticsInterpreter
{
public:
    explicit CInterpreter(bool bHandles) : m_bHandles(bHandles) {}

    bool Interpret(const CVQString& oCommand) override
    {
        m_bNullText = m_bNullText || oCommand.GetString() == nullptr;
        m_oCommands.emplace_back(oCommand.IsEmpty() ? "" : oCommand.GetString());
        return m_bHandles;
    }

    bool m_bHandles;
    bool m_bNullText = false;
    std::vector<std::string> m_oCommands;
};
} // namespace

// Runs in a process of its own, where nothing has touched the console yet.
TEST(IsolatedVQDebugStatistics, BeginsEmptyVisibleAndEditable)
{
    EXPECT_TRUE(Console::m_oControls.empty());
    EXPECT_EQ(Console::m_lCurrentControl, -1);
    EXPECT_EQ(Console::m_oEntryBuffer.GetLength(), 0);
    EXPECT_EQ(Console::m_pInterpreter, nullptr);
    EXPECT_TRUE(Console::m_bStatisticsVisible);
    EXPECT_TRUE(Console::m_bStatisticsEditable);
    EXPECT_TRUE(Console::IsVisible());
    EXPECT_EQ(Console::GetCurrentControl(), nullptr);
    EXPECT_EQ(Printed(), "> _\n\n");
}

TEST_F(VQDebugStatistics, EmptiesTheEntryBufferInitially)
{
    CVQDebugStatisticsPage oPage("World");
    Console::m_oEntryBuffer = "typed";
    Console::m_bStatisticsVisible = false;
    Console::Initialize();
    EXPECT_EQ(Console::m_oEntryBuffer.GetLength(), 0);
    EXPECT_EQ(Console::m_oControls.size(), 1u); // and nothing else
    EXPECT_EQ(Console::m_lCurrentControl, 0);
    EXPECT_FALSE(Console::m_bStatisticsVisible);
}

TEST_F(VQDebugStatistics, MakesTheFirstControlAddedTheCurrentOne)
{
    CPrintControl oA("a");
    CPrintControl oB("b");
    Console::AddControl(&oA);
    Console::AddControl(&oB);
    EXPECT_EQ(Console::m_oControls, (std::vector<CVQDebugStatisticsControl*>{&oA, &oB}));
    EXPECT_EQ(Console::GetCurrentControl(), &oA);

    Console::RemoveControl(&oA);
    EXPECT_EQ(Console::m_lCurrentControl, -1);
    Console::AddControl(&oA);
    EXPECT_EQ(Console::m_lCurrentControl, 1);
    EXPECT_EQ(Console::GetCurrentControl(), &oA);
}

TEST_F(VQDebugStatistics, StepsBackWhenTheCurrentControlIsRemoved)
{
    CPrintControl oA("a");
    CPrintControl oB("b");
    CPrintControl oC("c");
    for (auto* pControl : {&oA, &oB, &oC})
        Console::AddControl(pControl);
    Console::m_lCurrentControl = 2;
    Console::RemoveControl(&oC);
    EXPECT_EQ(Console::GetCurrentControl(), &oB);
    Console::RemoveControl(&oA);
    EXPECT_EQ(Console::m_lCurrentControl, 1); // not the current one: the index stays
    EXPECT_EQ(Console::GetCurrentControl(), nullptr);
    Console::m_lCurrentControl = 0;
    Console::RemoveControl(&oB);
    EXPECT_EQ(Console::m_lCurrentControl, -1);
    EXPECT_TRUE(Console::m_oControls.empty());
}

TEST_F(VQDebugStatistics, RemovesTheFirstOccurrenceAndNothingElse)
{
    CPrintControl oA("a");
    CPrintControl oB("b");
    for (auto* pControl : {&oA, &oB, &oA})
        Console::AddControl(pControl);
    Console::m_lCurrentControl = 1;
    Console::RemoveControl(&oA);
    EXPECT_EQ(Console::m_oControls, (std::vector<CVQDebugStatisticsControl*>{&oB, &oA}));
    CPrintControl oStranger("d");
    Console::RemoveControl(&oStranger);
    Console::RemoveControl(nullptr);
    EXPECT_EQ(Console::m_oControls.size(), 2u);
    EXPECT_EQ(Console::m_lCurrentControl, 1);
}

TEST_F(VQDebugStatistics, FindsTheFirstControlOfALabel)
{
    CVQDebugStatisticsPage oWorld("World");
    Console::AddControl(nullptr);
    CVQDebugStatisticsPage oSound("Sound");
    CVQDebugStatisticsPage oAgain("Sound");
    EXPECT_EQ(Console::FindControl("World"), &oWorld);
    EXPECT_EQ(Console::FindControl("Sound"), &oSound);
    EXPECT_EQ(Console::FindControl("sound"), nullptr);
    EXPECT_EQ(Console::FindControl(""), nullptr);
    EXPECT_EQ(Console::FindControl(nullptr), nullptr);
    CVQDebugStatisticsPage oNameless(nullptr);
    EXPECT_EQ(Console::FindControl(nullptr), &oNameless);
    EXPECT_EQ(Console::FindControl(""), &oNameless);
}

TEST_F(VQDebugStatistics, HasACurrentControlForAnIndexInRangeOnly)
{
    CVQDebugStatisticsPage oPage("World");
    for (const std::int32_t nIndex : {-1, -2, 1, 2, INT_MIN, INT_MAX})
    {
        Console::m_lCurrentControl = nIndex;
        EXPECT_EQ(Console::GetCurrentControl(), nullptr) << nIndex;
        EXPECT_EQ(Printed(), "> _\n\n") << nIndex;
        Type("\x03\x04\x05"); // nothing to go to
        EXPECT_EQ(Console::m_lCurrentControl, nIndex);
    }
    Console::m_lCurrentControl = 0;
    EXPECT_EQ(Console::GetCurrentControl(), &oPage);
}

TEST_F(VQDebugStatistics, PrintsThePromptAlone)
{
    EXPECT_EQ(Printed(), "> _\n\n");
    Type("gravity 3.7");
    EXPECT_EQ(Printed(), "> gravity 3.7_\n\n");
    Type("%s%n");
    EXPECT_EQ(Printed(), "> gravity 3.7%s%n_\n\n");
}

TEST_F(VQDebugStatistics, PrintsTheCurrentPageOnly)
{
    CVQDebugStatisticsPage oWorld("World");
    CVQDebugStatisticsPage oSound("Sound");
    CPrintControl oGravity("Gravity: 10\n");
    oWorld.AddChild(&oGravity);
    Type("x");
    EXPECT_EQ(Printed(), "> x_\n\nWorld:\n\n> Gravity: 10\n");
    Console::m_lCurrentControl = 1;
    EXPECT_EQ(Printed(), "> x_\n\nSound:\n\n");
}

TEST_F(VQDebugStatistics, PrintsNothingBelowThePromptForANullPage)
{
    Console::AddControl(nullptr);
    EXPECT_EQ(Console::m_lCurrentControl, 0);
    EXPECT_EQ(Printed(), "> _\n\n");
    Type("\x03\x04\x05"); // nothing to go to
    EXPECT_EQ(Console::m_lCurrentControl, 0);
}

TEST_F(VQDebugStatistics, PrintsNothingWhileItIsNotVisible)
{
    CVQDebugStatisticsPage oPage("World");
    Console::m_bStatisticsVisible = false;
    EXPECT_FALSE(Console::IsVisible());
    EXPECT_EQ(Printed(), "");
    Type("a"); // keys work all the same
    Console::m_bStatisticsVisible = true;
    EXPECT_TRUE(Console::IsVisible());
    EXPECT_EQ(Printed(), "> a_\n\nWorld:\n\n");
}

TEST_F(VQDebugStatistics, PrintsAndTakesKeysWhetherEditableOrNot)
{
    Console::m_bStatisticsEditable = false;
    Type("a");
    EXPECT_EQ(Printed(), "> a_\n\n");
}

TEST_F(VQDebugStatistics, PrintsNoMoreThanFindsRoom)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    oPage.AddChild(&oA);
    const std::string sWhole = "> _\n\nWorld:\n\n> a\n";
    for (std::size_t nRoom = 0; nRoom <= sWhole.size() + 1; ++nRoom)
        EXPECT_EQ(Printed(static_cast<int>(nRoom)), sWhole.substr(0, nRoom));
    EXPECT_EQ(Printed(3), "> _");
}

TEST_F(VQDebugStatistics, GivesThePageWhatThePromptLeavesOver)
{
    CPrintControl oControl("text");
    Console::AddControl(&oControl);
    EXPECT_EQ(Printed(7), "> _\n\nte");
    EXPECT_EQ(Printed(4), "> _\n");
    EXPECT_EQ(oControl.m_oRooms, (std::vector<int>{2, 0}));
}

TEST_F(VQDebugStatistics, PrintsNothingIntoNoBuffer)
{
    CPrintControl oControl("text");
    Console::AddControl(&oControl);
    char aBuffer[2] = {'x', 'y'};
    EXPECT_EQ(Console::Print(nullptr, 100), 0);
    EXPECT_EQ(Console::Print(aBuffer, 0), 0);
    EXPECT_EQ(Console::Print(aBuffer, -5), 0);
    EXPECT_EQ(Console::Print(aBuffer, INT_MIN), 0);
    EXPECT_EQ(aBuffer[0], 'x');
    for (const int nRoom : oControl.m_oRooms)
        EXPECT_EQ(nRoom, 0);
}

TEST_F(VQDebugStatistics, ChangesNothingVisibleByKeysWithoutPages)
{
    Type("\x01");
    EXPECT_EQ(Console::m_lCurrentControl, -1);
    EXPECT_EQ(Printed(), "> _\n\n");
    Type("\x02");
    EXPECT_EQ(Console::m_lCurrentControl, 0);
    EXPECT_EQ(Printed(), "> _\n\n");
    Type("\x03\x04");
    EXPECT_EQ(Console::m_lCurrentControl, 0);
    EXPECT_EQ(Printed(), "> _\n\n");
    Type("\x02");
    EXPECT_EQ(Console::m_lCurrentControl, 0);
    Type("\x01");
    EXPECT_EQ(Console::m_lCurrentControl, -1);
    EXPECT_EQ(Printed(), "> _\n\n");
}

TEST_F(VQDebugStatistics, TurnsPagesAround)
{
    CVQDebugStatisticsPage oA("A");
    CVQDebugStatisticsPage oB("B");
    CVQDebugStatisticsPage oC("C");
    for (const std::int32_t nExpected : {1, 2, 0, 1})
    {
        Console::ProcessInput(2);
        EXPECT_EQ(Console::m_lCurrentControl, nExpected);
    }
    for (const std::int32_t nExpected : {0, 2, 1, 0})
    {
        Console::ProcessInput(1);
        EXPECT_EQ(Console::m_lCurrentControl, nExpected);
    }
}

TEST_F(VQDebugStatistics, TurnsPagesFromAnyIndex)
{
    CVQDebugStatisticsPage oA("A");
    CVQDebugStatisticsPage oB("B");

    struct
    {
        std::int32_t nCurrent;
        std::int32_t nNext;
        std::int32_t nPrevious;
    } const aCases[] = {{-1, 0, 1}, {2, 0, 1}, {INT_MAX, 0, INT_MAX - 1}, {INT_MIN, INT_MIN + 1, 1}};

    for (const auto& [nCurrent, nNext, nPrevious] : aCases)
    {
        Console::m_lCurrentControl = nCurrent;
        Console::ProcessInput(2);
        EXPECT_EQ(Console::m_lCurrentControl, nNext);
        Console::m_lCurrentControl = nCurrent;
        Console::ProcessInput(1);
        EXPECT_EQ(Console::m_lCurrentControl, nPrevious);
    }
}

TEST_F(VQDebugStatistics, MovesTheFocusOnTheCurrentPage)
{
    CVQDebugStatisticsPage oOther("other");
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a");
    CPrintControl oB("b");
    CPrintControl oC("c");
    for (auto* pChild : {&oA, &oB, &oC})
    {
        oPage.AddChild(pChild);
        oOther.AddChild(pChild);
    }
    Console::m_lCurrentControl = 1;
    Console::ProcessInput(3);
    EXPECT_EQ(oPage.GetCurrentControl(), &oC);
    Console::ProcessInput(4);
    EXPECT_EQ(oPage.GetCurrentControl(), &oA);
    Console::ProcessInput(4);
    EXPECT_EQ(oPage.GetCurrentControl(), &oB);
    EXPECT_EQ(oOther.GetCurrentControl(), &oA);
    EXPECT_EQ(Console::m_lCurrentControl, 1);
}

TEST_F(VQDebugStatistics, NamesItsKeys)
{
    EXPECT_EQ(dskPreviousPage, 1);
    EXPECT_EQ(dskNextPage, 2);
    EXPECT_EQ(dskPreviousControl, 3);
    EXPECT_EQ(dskNextControl, 4);
    EXPECT_EQ(dskExecute, 5);
    EXPECT_EQ(dskBackspace, 8);
}

TEST_F(VQDebugStatistics, TypesAtMost64Bytes)
{
    std::string sTyped;
    for (int i = 0; i < 70; ++i)
    {
        sTyped += static_cast<char>('!' + i);
        Console::ProcessInput('!' + i);
    }
    EXPECT_EQ(EntryBuffer(), sTyped.substr(0, 64));
    EXPECT_EQ(Console::m_oEntryBuffer.GetLength(), 64);

    Console::ProcessInput(8);
    Type("ab");
    EXPECT_EQ(EntryBuffer(), sTyped.substr(0, 63) + "a");
}

TEST_F(VQDebugStatistics, TypesEveryCodeFrom32AsOneByte)
{
    for (int nKey = 32; nKey < 256; ++nKey)
    {
        Console::Initialize();
        Console::ProcessInput(nKey);
        ASSERT_EQ(Console::m_oEntryBuffer.GetLength(), 1) << nKey;
        EXPECT_EQ(Console::m_oEntryBuffer.GetAt(0), nKey);
    }
    Console::Initialize();
    Console::ProcessInput(0x141);
    Console::ProcessInput(INT_MAX);
    EXPECT_EQ(EntryBuffer(), "A\xFF");
    Console::ProcessInput(256); // even if that is a zero
    EXPECT_EQ(Console::m_oEntryBuffer.GetLength(), 3);
}

TEST_F(VQDebugStatistics, IgnoresOtherKeys)
{
    CRecordingPage oPage("World");
    Type("a");
    for (const int nKey : {INT_MIN, -1, 0, 6, 7, 9, 10, 13, 27, 31})
    {
        Console::ProcessInput(nKey);
        EXPECT_EQ(EntryBuffer(), "a") << nKey;
        EXPECT_EQ(Console::m_lCurrentControl, 0) << nKey;
        EXPECT_TRUE(oPage.m_oValues.empty()) << nKey;
    }
}

TEST_F(VQDebugStatistics, RemovesTheLastByteByBackspace)
{
    Type("ab\xC3\xA4");
    for (const char* pExpected : {"ab\xC3", "ab", "a", "", ""})
    {
        Console::ProcessInput(8);
        EXPECT_EQ(EntryBuffer(), pExpected); // of a character of two bytes, too, only the last one
    }
    Type("c");
    EXPECT_EQ(EntryBuffer(), "c");
}

TEST_F(VQDebugStatistics, CutsAnOverlongCommandLineOfTheGameByNothing)
{
    const std::string sLong(3000, 'x');
    Console::m_oEntryBuffer = sLong.c_str();
    Type("y");
    EXPECT_EQ(EntryBuffer(), sLong);
    EXPECT_EQ(Printed(5000), "> " + sLong + "_\n\n");
}

TEST_F(VQDebugStatistics, ExecutesOnTheCurrentPageAndEmptiesTheLine)
{
    CRecordingPage oWorld("World");
    CRecordingPage oSound("Sound");
    Type("42\x05");
    EXPECT_EQ(EntryBuffer(), "");
    Type("\x02loud\x05");
    EXPECT_EQ(oWorld.m_oValues, std::vector<std::string>{"42"});
    EXPECT_EQ(oSound.m_oValues, std::vector<std::string>{"loud"});
}

TEST_F(VQDebugStatistics, ExecutesOnTheCurrentChildOfThePage)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a");
    CPrintControl oB("b");
    oPage.AddChild(&oA);
    oPage.AddChild(&oB);
    Type("1\x05\x04"
         "2\x05");
    EXPECT_EQ(oA.m_oValues, std::vector<std::string>{"1"});
    EXPECT_EQ(oB.m_oValues, std::vector<std::string>{"2"});
}

TEST_F(VQDebugStatistics, ExecutesAnEmptyLine)
{
    CRecordingPage oPage("World");
    Type("\x05");
    EXPECT_EQ(oPage.m_oValues, std::vector<std::string>{""});
}

TEST_F(VQDebugStatistics, ExecutesOnNobodyWithoutAPage)
{
    Type("lost\x05");
    EXPECT_EQ(EntryBuffer(), "");
}

TEST_F(VQDebugStatisticsInterpreter, KeepsItsSlotBehindTheDestructor)
{
    EXPECT_EQ(VirtualSlot(&IVQDebugStatisticsInterpreter::Interpret), 2u);
}

TEST_F(VQDebugStatisticsInterpreter, IsRegisteredWhileItLives)
{
    {
        CInterpreter oInterpreter(true);
        EXPECT_EQ(Console::m_pInterpreter, &oInterpreter);
    }
    EXPECT_EQ(Console::m_pInterpreter, nullptr);
}

TEST_F(VQDebugStatisticsInterpreter, SeesCommandsBeforeThePage)
{
    CRecordingPage oPage("World");
    CInterpreter oInterpreter(true);
    Type("quit\x05");
    EXPECT_EQ(oInterpreter.m_oCommands, std::vector<std::string>{"quit"});
    EXPECT_TRUE(oPage.m_oValues.empty());
    EXPECT_EQ(EntryBuffer(), "");
}

TEST_F(VQDebugStatisticsInterpreter, LeavesToThePageWhatItDoesNotHandle)
{
    CRecordingPage oPage("World");
    CInterpreter oInterpreter(false);
    Type("42\x05");
    EXPECT_EQ(oInterpreter.m_oCommands, std::vector<std::string>{"42"});
    EXPECT_EQ(oPage.m_oValues, std::vector<std::string>{"42"});
}

TEST_F(VQDebugStatisticsInterpreter, GetsAnEmptyCommandToo)
{
    CInterpreter oInterpreter(true);
    Type("\x05" // before anything was typed
         "a\x08\x05");
    EXPECT_EQ(oInterpreter.m_oCommands, (std::vector<std::string>{"", ""}));
    EXPECT_FALSE(oInterpreter.m_bNullText);
}

TEST_F(VQDebugStatisticsInterpreter, IsIgnoredWhenItIsTheSecond)
{
    CInterpreter oFirst(true);
    {
        CInterpreter oSecond(true);
        EXPECT_EQ(Console::m_pInterpreter, &oFirst);
        Type("a\x05");
        EXPECT_TRUE(oSecond.m_oCommands.empty());
    }
    EXPECT_EQ(Console::m_pInterpreter, &oFirst);
    Type("b\x05");
    EXPECT_EQ(oFirst.m_oCommands, (std::vector<std::string>{"a", "b"}));
}

TEST_F(VQDebugStatisticsInterpreter, IsNotReplacedByTheSecondWhenItEnds)
{
    std::optional<CInterpreter> oFirst(true);
    CInterpreter oSecond(true);
    oFirst.reset();
    EXPECT_EQ(Console::m_pInterpreter, nullptr);
    Type("a\x05");
    EXPECT_TRUE(oSecond.m_oCommands.empty());
    CInterpreter oThird(true);
    EXPECT_EQ(Console::m_pInterpreter, &oThird);
}

TEST_F(VQDebugStatisticsInterpreter, RegistersACopyOnlyWhenThereIsNone)
{
    std::optional<CInterpreter> oFirst(true);
    {
        CInterpreter oCopy(*oFirst);
        EXPECT_EQ(Console::m_pInterpreter, &*oFirst);
        oCopy = *oFirst;
    }
    EXPECT_EQ(Console::m_pInterpreter, &*oFirst);

    CInterpreter oSecond(false);
    oFirst.reset();
    const CInterpreter oCopy(oSecond);
    EXPECT_EQ(Console::m_pInterpreter, &oCopy);
}

TEST_F(VQDebugStatisticsInterpreter, MayChangeTheCommandLineAndTheConsole)
{
    class CChanger : public IVQDebugStatisticsInterpreter
    {
    public:
        bool Interpret(const CVQString& oCommand) override
        {
            Console::m_oEntryBuffer = "a text that needs another buffer than the command line had";
            Console::m_oControls.clear();
            m_sCommand = oCommand.GetString();
            return false;
        }

        std::string m_sCommand;
    };

    CRecordingPage oPage("World");
    CChanger oChanger;
    Type("clear\x05");
    EXPECT_EQ(oChanger.m_sCommand, "clear");
    EXPECT_EQ(EntryBuffer(), "");
    EXPECT_TRUE(oPage.m_oValues.empty()); // it had gone by then
}

TEST_F(VQDebugStatisticsInterpreter, LeavesTheCommandLineWhenItThrows)
{
    class CThrower : public IVQDebugStatisticsInterpreter
    {
    public:
        bool Interpret(const CVQString&) override { throw std::runtime_error("no such level"); }
    };

    CThrower oThrower;
    Type("level 9");
    EXPECT_THROW(Console::ProcessInput(5), std::runtime_error);
    EXPECT_EQ(EntryBuffer(), "level 9");
}

TEST_F(VQDebugStatisticsInterpreter, MayEndWhileItExecutes)
{
    class CLast : public IVQDebugStatisticsInterpreter
    {
    public:
        bool Interpret(const CVQString&) override
        {
            delete this;
            return false;
        }
    };

    CRecordingPage oPage("World");
    auto* pLast = new CLast;
    EXPECT_EQ(Console::m_pInterpreter, pLast);
    Type("bye\x05");
    EXPECT_EQ(Console::m_pInterpreter, nullptr);
    EXPECT_EQ(oPage.m_oValues, std::vector<std::string>{"bye"});
}

TEST_F(VQDebugStatistics, PrintsTheCommandLineUpToAZero)
{
    Type("ab");
    Console::ProcessInput(256); // one byte of that is a zero
    Type("c");
    EXPECT_EQ(Console::m_oEntryBuffer.GetLength(), 4);
    EXPECT_EQ(Printed(), "> ab_\n\n");
}

TEST_F(VQDebugStatistics, AsksEachControlForItsLabelAndLetsItChangeTheConsole)
{
    class CAliased : public CVQDebugStatisticsControl
    {
    public:
        CAliased() : CVQDebugStatisticsControl("World", nullptr) {}

        bool HasLabel(const char* pLabel) override
        {
            for (int i = 0; i < 100; ++i)
                Console::AddControl(nullptr);
            return std::string_view(pLabel) == "alias";
        }
    };

    CAliased oAliased;
    CPrintControl oOther("x");
    oOther.SetLabel("Sound");
    Console::AddControl(&oAliased);
    Console::AddControl(&oOther);
    EXPECT_EQ(Console::FindControl("alias"), &oAliased);
    EXPECT_EQ(Console::FindControl("Sound"), &oOther);
    EXPECT_EQ(Console::FindControl("World"), nullptr);
}

TEST_F(VQDebugStatistics, LetsAPageLeaveWhileItPrintsAndTakesKeys)
{
    class CLeaver : public CVQDebugStatisticsControl
    {
    public:
        CLeaver() : CVQDebugStatisticsControl("leaver", nullptr) { Console::AddControl(this); }

        int Print(char*& pBuffer, int& nRemaining) override
        {
            Console::RemoveControl(this);
            return CopyText("bye\n", pBuffer, nRemaining);
        }

        void FocusNextChild() override { Console::RemoveControl(this); }
    };

    CLeaver oLeaver;
    EXPECT_EQ(Printed(), "> _\n\nbye\n");
    EXPECT_EQ(Printed(), "> _\n\n");
    Console::AddControl(&oLeaver);
    Type("\x04\x04");
    EXPECT_TRUE(Console::m_oControls.empty());
    EXPECT_EQ(Console::m_lCurrentControl, -1);
}
