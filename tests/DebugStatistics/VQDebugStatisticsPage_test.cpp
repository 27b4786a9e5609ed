#include <Common/DebugStatistics/VQDebugStatisticsPage.h>

#include <tests/support/ConsoleGuard.h>
#include <tests/support/PrintControl.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <climits>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
class VQDebugStatisticsPage : public testing::Test
{
private:
    CConsoleGuard m_oGuard;
};
} // namespace

TEST_F(VQDebugStatisticsPage, KeepsItsSlotsBehindThoseOfTheControl)
{
    EXPECT_EQ(VirtualSlot(&CVQDebugStatisticsPage::OccupySlot), 14u);
    EXPECT_EQ(VirtualSlot(&CVQDebugStatisticsPage::GetSlot), 15u);
    EXPECT_EQ(VirtualSlot(&CVQDebugStatisticsPage::IsSlotFree), 16u);
}

TEST_F(VQDebugStatisticsPage, AddsItselfToTheConsole)
{
    CVQDebugStatisticsPage oFirst("first");
    CVQDebugStatisticsPage oSecond("second");
    EXPECT_EQ(CVQDebugStatistics::m_oControls, (std::vector<CVQDebugStatisticsControl*>{&oFirst, &oSecond}));
    EXPECT_EQ(CVQDebugStatistics::m_lCurrentControl, 0);
    EXPECT_STREQ(oFirst.GetLabel(), "first");
    EXPECT_EQ(oFirst.GetParent(), nullptr);
}

TEST_F(VQDebugStatisticsPage, IsNotTakenOutByItsDestructor)
{
    {
        CVQDebugStatisticsPage oPage("World");
    }
    EXPECT_EQ(CVQDebugStatistics::m_oControls.size(), 1u);
}

TEST_F(VQDebugStatisticsPage, IsNotAddedByCopying)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oChild("x\n");
    oPage.AddChild(&oChild);
    oPage.OccupySlot(2, &oChild);
    CVQDebugStatisticsPage oCopy(oPage);
    EXPECT_EQ(CVQDebugStatistics::m_oControls.size(), 1u);
    EXPECT_EQ(PrintedBy(oCopy), "World:\n\n> x\n");
    EXPECT_EQ(oCopy.GetSlot(2), &oChild);

    CVQDebugStatisticsPage oOther("other");
    oOther = oPage;
    EXPECT_EQ(PrintedBy(oOther), "World:\n\n> x\n");
    EXPECT_EQ(oOther.GetSlot(2), &oChild);
}

TEST_F(VQDebugStatisticsPage, PrintsItsLabelAndMarksTheCurrentChild)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    CPrintControl oC("c\n");
    for (auto* pChild : {&oA, &oB, &oC})
        oPage.AddChild(pChild);
    oPage.FocusNextChild();
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n  a\n> b\n  c\n");
}

TEST_F(VQDebugStatisticsPage, PrintsItsLabelAlone)
{
    CVQDebugStatisticsPage oPage("100 %s");
    EXPECT_EQ(PrintedBy(oPage), "100 %s:\n\n");
    CVQDebugStatisticsPage oNameless(nullptr);
    EXPECT_EQ(PrintedBy(oNameless), ":\n\n");
}

TEST_F(VQDebugStatisticsPage, PrintsThePrefixOfAChildThatPrintsNothing)
{
    CVQDebugStatisticsPage oPage("World");
    CVQDebugStatisticsControl oSilent("silent", &oPage);
    oPage.AddChild(&oSilent);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> ");
}

TEST_F(VQDebugStatisticsPage, PassesOverNullChildren)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    oPage.AddChild(nullptr);
    oPage.AddChild(&oA);
    oPage.AddChild(nullptr);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n  a\n"); // the current one is null
    oPage.FocusNextChild();
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> a\n");
}

TEST_F(VQDebugStatisticsPage, MarksNoChildWhenNoneIsCurrent)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    oPage.AddChild(&oA);
    oPage.AddChild(&oB);
    oPage.RemoveChild(&oA);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n  b\n");
}

TEST_F(VQDebugStatisticsPage, MarksOneOccurrenceOfAChildThatItHasTwice)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    oPage.AddChild(&oA);
    oPage.AddChild(&oA);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> a\n  a\n");
}

TEST_F(VQDebugStatisticsPage, PrintsNoMoreThanFindsRoom)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a line\n");
    CPrintControl oB("b line\n");
    oPage.AddChild(&oA);
    oPage.AddChild(&oB);
    const std::string sWhole = "World:\n\n> a line\n  b line\n";
    for (int nRoom = 0; nRoom <= static_cast<int>(sWhole.size()) + 1; ++nRoom)
        EXPECT_EQ(PrintedBy(oPage, nRoom), sWhole.substr(0, static_cast<std::size_t>(nRoom)));
}

TEST_F(VQDebugStatisticsPage, AsksNoChildWithoutRoom)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    oPage.AddChild(&oA);
    EXPECT_EQ(PrintedBy(oPage, 0), "");
    EXPECT_EQ(PrintedBy(oPage, -7), "");
    EXPECT_TRUE(oA.m_oRooms.empty());
}

TEST_F(VQDebugStatisticsPage, AsksEveryChildWhenTheRoomRunsOutOnTheWay)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    oPage.AddChild(&oA);
    oPage.AddChild(&oB);
    EXPECT_EQ(PrintedBy(oPage, 11), "World:\n\n> a");
    EXPECT_EQ(oA.m_oRooms, std::vector<int>{1});
    EXPECT_EQ(oB.m_oRooms, std::vector<int>{0});
}

TEST_F(VQDebugStatisticsPage, EndsWhenItIsItsOwnChild)
{
    CVQDebugStatisticsPage oPage("W");
    oPage.AddChild(&oPage);
    EXPECT_EQ(PrintedBy(oPage, 15), "W:\n\n> W:\n\n> W:\n");
}

TEST_F(VQDebugStatisticsPage, LetsAChildLeaveWhileItPrints)
{
    class CLeaver : public CVQDebugStatisticsControl
    {
    public:
        explicit CLeaver(CVQDebugStatisticsPage& oPage) : CVQDebugStatisticsControl(nullptr, &oPage)
        {
            oPage.AddChild(this);
        }

        int Print(char*& pBuffer, int& nRemaining) override
        {
            GetParent()->RemoveChild(this);
            return CopyText("bye\n", pBuffer, nRemaining);
        }
    };

    CVQDebugStatisticsPage oPage("World");
    CLeaver oLeaver(oPage);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> bye\n");
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n");
}

TEST_F(VQDebugStatisticsPage, ForwardsAValueToTheCurrentChild)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    oPage.AddChild(&oA);
    oPage.AddChild(&oB);
    oPage.FocusNextChild();
    oPage.SetValueFromString("7");
    EXPECT_TRUE(oA.m_oValues.empty());
    EXPECT_EQ(oB.m_oValues, std::vector<std::string>{"7"});
}

TEST_F(VQDebugStatisticsPage, ForwardsAValueToNobodyWithoutACurrentChild)
{
    CVQDebugStatisticsPage oPage("World");
    oPage.SetValueFromString("7"); // no children
    oPage.FocusNextChild();
    oPage.SetValueFromString("7"); // index 0 of none

    CPrintControl oA("a\n");
    CVQDebugStatisticsPage oOther("other");
    oOther.AddChild(nullptr);
    oOther.AddChild(&oA);
    oOther.SetValueFromString("7"); // null is current
    EXPECT_TRUE(oA.m_oValues.empty());
}

TEST_F(VQDebugStatisticsPage, GrowsItsSlotsWithFreeOnes)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    EXPECT_TRUE(oPage.IsSlotFree(0));
    EXPECT_EQ(oPage.GetSlot(0), nullptr);

    oPage.OccupySlot(3, &oA);
    oPage.OccupySlot(1, &oB);
    for (long i = 0; i < 6; ++i)
    {
        EXPECT_EQ(oPage.IsSlotFree(i), i != 3 && i != 1) << i;
        EXPECT_EQ(oPage.GetSlot(i), i == 3 ? &oA : i == 1 ? &oB : nullptr) << i;
    }
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n"); // slots are no children
}

TEST_F(VQDebugStatisticsPage, ReplacesAndFreesSlots)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    oPage.OccupySlot(0, &oA);
    oPage.OccupySlot(0, &oB);
    EXPECT_EQ(oPage.GetSlot(0), &oB);
    oPage.OccupySlot(0, nullptr);
    EXPECT_TRUE(oPage.IsSlotFree(0));
}

TEST_F(VQDebugStatisticsPage, HasNoSlotsOutOfRange)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    for (const long nSlot : {-1L, LONG_MIN, 0x100000L, LONG_MAX})
    {
        oPage.OccupySlot(nSlot, &oA);
        EXPECT_TRUE(oPage.IsSlotFree(nSlot)) << nSlot;
        EXPECT_EQ(oPage.GetSlot(nSlot), nullptr) << nSlot;
    }
    oPage.OccupySlot(0xFFFFF, &oA);
    EXPECT_EQ(oPage.GetSlot(0xFFFFF), &oA);
}

TEST_F(VQDebugStatisticsPage, PrintsALongLabelWhole)
{
    const std::string sLabel(5000, '%');
    CVQDebugStatisticsPage oPage(sLabel.c_str());
    EXPECT_EQ(PrintedBy(oPage, 10000), sLabel + ":\n\n");
}

TEST_F(VQDebugStatisticsPage, PrintsPagesInsideOfItLikeAnyChild)
{
    CVQDebugStatisticsPage oPage("outer");
    CVQDebugStatisticsPage oInner("inner");
    CPrintControl oA("a\n");
    CPrintControl oB("b\n");
    oInner.AddChild(&oA);
    oPage.AddChild(&oInner);
    oPage.AddChild(&oB);
    EXPECT_EQ(PrintedBy(oPage), "outer:\n\n> inner:\n\n> a\n  b\n");
    oPage.SetValueFromString("7");
    EXPECT_EQ(oA.m_oValues, std::vector<std::string>{"7"});
}

TEST_F(VQDebugStatisticsPage, NestsAThousandDeep)
{
    std::deque<CVQDebugStatisticsPage> oPages;
    for (int i = 0; i < 100'000; ++i)
    {
        oPages.emplace_back("p");
        if (i > 0)
            oPages[static_cast<std::size_t>(i - 1)].AddChild(&oPages.back());
    }
    std::string sExpected;
    for (int i = 0; i < 1000; ++i)
        sExpected += "p:\n\n> ";
    EXPECT_EQ(PrintedBy(oPages.front(), 1'000'000), sExpected);

    CPrintControl oLast("last");
    CPrintControl oTooDeep("too deep");
    oPages[1000].AddChild(&oTooDeep);
    oPages[999].RemoveChild(&oPages[1000]);
    oPages[999].AddChild(&oLast);
    oPages.front().SetValueFromString("7");
    EXPECT_EQ(oLast.m_oValues, std::vector<std::string>{"7"});

    oPages[999].RemoveChild(&oLast);
    oPages[999].AddChild(&oPages[1000]);
    oPages[1000].RemoveChild(&oPages[1001]);
    oPages[1000].FocusNextChild();
    ASSERT_EQ(oPages[1000].GetCurrentControl(), &oTooDeep);
    oPages.front().SetValueFromString("8");
    EXPECT_TRUE(oTooDeep.m_oValues.empty());
    oPages[1].SetValueFromString("9"); // the depth counts from where it begins
    EXPECT_EQ(oTooDeep.m_oValues, std::vector<std::string>{"9"});
}

TEST_F(VQDebugStatisticsPage, EndsWithAnyRoomWhenItIsItsOwnChild)
{
    CVQDebugStatisticsPage oPage("W");
    oPage.AddChild(&oPage);
    oPage.AddChild(&oPage);
    oPage.SetValueFromString("7");
    EXPECT_EQ(PrintedBy(oPage, 100'000).size(), 100'000u);
    EXPECT_EQ(PrintedBy(oPage, 15), "W:\n\n> W:\n\n> W:\n");
}

TEST_F(VQDebugStatisticsPage, PrintsNothingIntoNoBuffer)
{
    CVQDebugStatisticsPage oPage("World");
    CPrintControl oA("a\n");
    oPage.AddChild(&oA);
    oPage.AddChild(&oPage);
    char* pNone = nullptr;
    int nRemaining = 100;
    EXPECT_EQ(oPage.Print(pNone, nRemaining), 0);
    EXPECT_EQ(nRemaining, 100);
    EXPECT_TRUE(oA.m_oRooms.empty());
}

TEST_F(VQDebugStatisticsPage, GoesOnAfterAChildThatThrows)
{
    class CThrower : public CVQDebugStatisticsControl
    {
    public:
        CThrower() : CVQDebugStatisticsControl(nullptr, nullptr) {}

        int Print(char*&, int&) override { throw std::runtime_error("print"); }

        void SetValueFromString(const CVQString&) override { throw std::runtime_error("value"); }
    };

    CVQDebugStatisticsPage oPage("World");
    CThrower oThrower;
    oPage.AddChild(&oThrower);
    for (int i = 0; i < 2000; ++i) // more often than pages can be nested
    {
        EXPECT_THROW(PrintedBy(oPage), std::runtime_error);
        EXPECT_THROW(oPage.SetValueFromString("7"), std::runtime_error);
    }
    oPage.RemoveChild(&oThrower);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n");
}

TEST_F(VQDebugStatisticsPage, LetsAChildLeaveWhileItTakesAValue)
{
    class CLeaver : public CVQDebugStatisticsControl
    {
    public:
        using CVQDebugStatisticsControl::CVQDebugStatisticsControl;

        void SetValueFromString(const CVQString&) override
        {
            GetParent()->RemoveChild(this);
            delete this;
        }
    };

    CVQDebugStatisticsPage oPage("World");
    oPage.AddChild(new CLeaver(nullptr, &oPage));
    CVQDebugStatistics::ProcessInput(dskExecute);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n");
}
