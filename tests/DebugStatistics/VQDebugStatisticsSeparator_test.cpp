#include <Common/DebugStatistics/VQDebugStatisticsPage.h>
#include <Common/DebugStatistics/VQDebugStatisticsSeparator.h>

#include <tests/support/ConsoleGuard.h>
#include <tests/support/PrintControl.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>

namespace
{
/// What VQDebugSeparator() put into a slot, to delete it with the test.
std::unique_ptr<CVQDebugStatisticsControl> TakeSlot(const CVQDebugStatisticsPage& oPage, long nSlot)
{
    return std::unique_ptr<CVQDebugStatisticsControl>(oPage.GetSlot(nSlot));
}
} // namespace

TEST(VQDebugStatisticsSeparator, BeginsWithItsParentAndWithoutALabel)
{
    CVQDebugStatisticsControl oParent("parent", nullptr);
    CVQDebugStatisticsSeparator oSeparator(&oParent);
    EXPECT_EQ(oSeparator.GetParent(), &oParent);
    EXPECT_STREQ(oSeparator.GetLabel(), "");
    EXPECT_TRUE(oSeparator.HasLabel(""));
    EXPECT_EQ(oParent.GetCurrentControl(), nullptr); // not a child of it
}

TEST(VQDebugStatisticsSeparator, PrintsALineWithOrWithoutItsLabel)
{
    CVQDebugStatisticsSeparator oSeparator(nullptr);
    EXPECT_EQ(PrintedBy(oSeparator), "--------\n");
    oSeparator.SetLabel("Physics");
    EXPECT_EQ(PrintedBy(oSeparator), "-- Physics --\n");
    oSeparator.SetLabel(" ");
    EXPECT_EQ(PrintedBy(oSeparator), "--   --\n");
    oSeparator.SetLabel("100 %s");
    EXPECT_EQ(PrintedBy(oSeparator), "-- 100 %s --\n");
    oSeparator.SetLabel("");
    EXPECT_EQ(PrintedBy(oSeparator), "--------\n");
}

TEST(VQDebugStatisticsSeparator, PrintsNoMoreThanFindsRoom)
{
    for (const char* pLabel : {"", "Physics"})
    {
        CVQDebugStatisticsSeparator oSeparator(nullptr);
        oSeparator.SetLabel(pLabel);
        const std::string sWhole = PrintedBy(oSeparator);
        for (int nRoom = 0; nRoom <= static_cast<int>(sWhole.size()) + 1; ++nRoom)
            EXPECT_EQ(PrintedBy(oSeparator, nRoom), sWhole.substr(0, static_cast<std::size_t>(nRoom)));
        EXPECT_EQ(PrintedBy(oSeparator, -1), "");
    }
}

TEST(VQDebugStatisticsSeparator, PrintsALongLabelWhole)
{
    const std::string sLabel(5000, 'x');
    CVQDebugStatisticsSeparator oSeparator(nullptr);
    oSeparator.SetLabel(sLabel.c_str());
    EXPECT_EQ(PrintedBy(oSeparator, 10000), "-- " + sLabel + " --\n");
}

TEST(VQDebugStatisticsSeparator, CannotBeEdited)
{
    EXPECT_FALSE(CVQDebugStatisticsSeparator(nullptr).CanEdit());
}

TEST(VQDebugStatisticsSeparator, CanBeCopied)
{
    CVQDebugStatisticsControl oParent("parent", nullptr);
    CVQDebugStatisticsSeparator oSeparator(&oParent);
    oSeparator.SetLabel("Physics");
    CVQDebugStatisticsSeparator oCopy(oSeparator);
    CVQDebugStatisticsSeparator oAssigned(nullptr);
    oAssigned = oSeparator;
    EXPECT_EQ(PrintedBy(oCopy), "-- Physics --\n");
    EXPECT_EQ(PrintedBy(oAssigned), "-- Physics --\n");
    EXPECT_EQ(oAssigned.GetParent(), &oParent);
}

TEST(VQDebugSeparator, PutsASeparatorOnThePageAndIntoTheSlot)
{
    CConsoleGuard oGuard;
    CVQDebugStatisticsPage oPage("World");
    VQDebugSeparator(oPage, 3, "Physics");

    const auto pSeparator = TakeSlot(oPage, 3);
    ASSERT_NE(pSeparator, nullptr);
    EXPECT_NE(dynamic_cast<CVQDebugStatisticsSeparator*>(pSeparator.get()), nullptr);
    EXPECT_EQ(pSeparator->GetParent(), &oPage);
    EXPECT_STREQ(pSeparator->GetLabel(), "Physics");
    EXPECT_EQ(oPage.GetCurrentControl(), pSeparator.get());
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> -- Physics --\n");
}

TEST(VQDebugSeparator, DoesNothingWhenTheSlotIsOccupied)
{
    CConsoleGuard oGuard;
    CVQDebugStatisticsPage oPage("World");
    VQDebugSeparator(oPage, 0, "first");
    VQDebugSeparator(oPage, 0, "second");
    const auto pSeparator = TakeSlot(oPage, 0);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> -- first --\n");
}

TEST(VQDebugSeparator, TakesSlotsOfTheirOwnForEach)
{
    CConsoleGuard oGuard;
    CVQDebugStatisticsPage oPage("World");
    VQDebugSeparator(oPage, 5, nullptr);
    VQDebugSeparator(oPage, 2, "two");
    const auto pFirst = TakeSlot(oPage, 5);
    const auto pSecond = TakeSlot(oPage, 2);
    EXPECT_EQ(PrintedBy(oPage), "World:\n\n> --------\n  -- two --\n"); // in the order of their making
}

TEST(VQDebugSeparator, OutlivesThePage)
{
    CConsoleGuard oGuard;
    std::unique_ptr<CVQDebugStatisticsControl> pSeparator;
    {
        CVQDebugStatisticsPage oPage("World");
        VQDebugSeparator(oPage, 0, "Physics");
        pSeparator = TakeSlot(oPage, 0);
        CVQDebugStatistics::RemoveControl(&oPage);
    }
    EXPECT_EQ(PrintedBy(*pSeparator), "-- Physics --\n");
}

TEST(VQDebugSeparator, BecomesAChildWithoutASlotWhereThePageCannotHaveThatSlot)
{
    CConsoleGuard oGuard;
    for (const long nSlot : {-1L, LONG_MIN, LONG_MAX})
    {
        CVQDebugStatisticsPage oPage("World");
        VQDebugSeparator(oPage, nSlot, "Physics");
        const std::unique_ptr<CVQDebugStatisticsControl> pSeparator(oPage.GetCurrentControl());
        ASSERT_NE(pSeparator, nullptr) << nSlot;
        EXPECT_EQ(PrintedBy(oPage), "World:\n\n> -- Physics --\n");
        EXPECT_TRUE(oPage.IsSlotFree(nSlot));
    }
}
