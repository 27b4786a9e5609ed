#include <Common/DebugStatistics/VQDebugStatisticsControl.h>

#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{
/// Shows what derived controls may use.
class COpenControl : public CVQDebugStatisticsControl
{
public:
    explicit COpenControl(const char* pLabel = nullptr) : CVQDebugStatisticsControl(pLabel, nullptr) {}

    using CVQDebugStatisticsControl::CopyText;
    using CVQDebugStatisticsControl::m_lCurrentChild;
    using CVQDebugStatisticsControl::m_oChildren;
    using CVQDebugStatisticsControl::m_oLabel;
};

/// A control with children A, B and C, of which A is current.
struct sFamily
{
    sFamily()
    {
        for (auto* pChild : {&oA, &oB, &oC})
            oParent.AddChild(pChild);
    }

    /// The labels of the children in their order, the current one behind a star.
    std::string Describe() const
    {
        std::string sText;
        for (std::size_t i = 0; i < oParent.m_oChildren.size(); ++i)
        {
            if (static_cast<std::int32_t>(i) == oParent.m_lCurrentChild)
                sText += '*';
            sText += oParent.m_oChildren[i]->GetLabel();
        }
        return sText;
    }

    COpenControl oParent;
    COpenControl oA = COpenControl("A");
    COpenControl oB = COpenControl("B");
    COpenControl oC = COpenControl("C");
};

bool LoadGravity(long nId, CVQString& oTarget)
{
    oTarget = "Gravity";
    return nId == 7;
}
} // namespace

TEST(VQDebugStatisticsControl, KeepsItsSlotsInOrder)
{
    using Control = CVQDebugStatisticsControl;
    EXPECT_EQ(VirtualSlot(&Control::GetLabel), 2u); // behind the two of the destructor
    EXPECT_EQ(VirtualSlot(&Control::SetLabel), 3u);
    EXPECT_EQ(VirtualSlot(&Control::HasLabel), 4u);
    EXPECT_EQ(VirtualSlot(&Control::SetValueFromString), 5u);
    EXPECT_EQ(VirtualSlot(&Control::Print), 6u);
    EXPECT_EQ(VirtualSlot(&Control::AddChild), 7u);
    EXPECT_EQ(VirtualSlot(&Control::RemoveChild), 8u);
    EXPECT_EQ(VirtualSlot(&Control::GetCurrentControl), 9u);
    EXPECT_EQ(VirtualSlot(&Control::GetParent), 10u);
    EXPECT_EQ(VirtualSlot(&Control::FocusNextChild), 11u);
    EXPECT_EQ(VirtualSlot(&Control::FocusPreviousChild), 12u);
    EXPECT_EQ(VirtualSlot(&Control::CanEdit), 13u);
}

TEST(VQDebugStatisticsControl, KeepsItsParentWithoutBecomingItsChild)
{
    COpenControl oParent;
    const CVQDebugStatisticsControl oChild("child", &oParent);
    EXPECT_EQ(oChild.GetParent(), &oParent);
    EXPECT_TRUE(oParent.m_oChildren.empty());
    EXPECT_EQ(CVQDebugStatisticsControl("orphan", nullptr).GetParent(), nullptr);
}

TEST(VQDebugStatisticsControl, BeginsWithItsLabelAndWithoutACurrentChild)
{
    COpenControl oControl("Gravity");
    EXPECT_STREQ(oControl.GetLabel(), "Gravity");
    EXPECT_EQ(oControl.m_lCurrentChild, -1);
    EXPECT_EQ(oControl.GetCurrentControl(), nullptr);
}

TEST(VQDebugStatisticsControl, WithoutALabelHasAnEmptyOne)
{
    COpenControl oControl(nullptr);
    EXPECT_STREQ(oControl.GetLabel(), "");
    EXPECT_EQ(oControl.m_oLabel.GetString(), nullptr); // never set
}

TEST(VQDebugStatisticsControl, ReplacesItsLabel)
{
    COpenControl oControl("first");
    oControl.SetLabel("second");
    EXPECT_STREQ(oControl.GetLabel(), "second");
    oControl.SetLabel(oControl.GetLabel() + 3);
    EXPECT_STREQ(oControl.GetLabel(), "ond");
    oControl.SetLabel("");
    EXPECT_STREQ(oControl.GetLabel(), "");
    oControl.SetLabel("third");
    oControl.SetLabel(nullptr);
    EXPECT_STREQ(oControl.GetLabel(), "");
}

TEST(VQDebugStatisticsControl, TakesALocalisedLabelByItsNumber)
{
    CVQString::s_pfnLoadString = LoadGravity;
    const CVQDebugStatisticsControl oControl(reinterpret_cast<const char*>(std::uintptr_t(7)), nullptr);
    CVQString::s_pfnLoadString = nullptr;
    EXPECT_STREQ(oControl.GetLabel(), "Gravity");
}

TEST(VQDebugStatisticsControl, ComparesLabelsByteByByte)
{
    struct
    {
        const char* pLabel;
        const char* pAsked;
        bool bSame;
    } const aCases[] = {
        {"Gravity", "Gravity", true}, {"Gravity", "gravity", false}, {"Gravity", "Gravit", false},
        {"Gravity", "", false},       {"Gravity", nullptr, false},   {nullptr, nullptr, true},
        {nullptr, "", true},          {"", nullptr, true},           {"", "", true},
        {nullptr, "Gravity", false},  {"\xE4", "\xC4", false},       {"a b", "a b", true},
    };

    for (const auto& [pLabel, pAsked, bSame] : aCases)
        EXPECT_EQ(COpenControl(pLabel).HasLabel(pAsked), bSame) << (pLabel ? pLabel : "null");
}

TEST(VQDebugStatisticsControl, DoesNothingWithAValue)
{
    sFamily oFamily;
    oFamily.oParent.SetLabel("label");
    oFamily.oParent.SetValueFromString("7");
    EXPECT_STREQ(oFamily.oParent.GetLabel(), "label");
    EXPECT_EQ(oFamily.Describe(), "*ABC");
}

TEST(VQDebugStatisticsControl, PrintsNothing)
{
    sFamily oFamily;
    char aBuffer[8] = "unmoved";
    char* pBuffer = aBuffer;
    int nRemaining = 7;
    EXPECT_EQ(oFamily.oParent.Print(pBuffer, nRemaining), 0);
    EXPECT_EQ(pBuffer, aBuffer);
    EXPECT_EQ(nRemaining, 7);
    EXPECT_STREQ(aBuffer, "unmoved");
}

TEST(VQDebugStatisticsControl, CannotBeEdited)
{
    EXPECT_FALSE(COpenControl("x").CanEdit());
}

TEST(VQDebugStatisticsControl, MakesTheFirstChildAddedTheCurrentOne)
{
    sFamily oFamily;
    EXPECT_EQ(oFamily.Describe(), "*ABC");
    EXPECT_EQ(oFamily.oParent.GetCurrentControl(), &oFamily.oA);
}

TEST(VQDebugStatisticsControl, MakesTheNextChildAddedCurrentWhenNoneIs)
{
    sFamily oFamily;
    oFamily.oParent.RemoveChild(&oFamily.oA);
    EXPECT_EQ(oFamily.Describe(), "BC");
    oFamily.oParent.AddChild(&oFamily.oA);
    EXPECT_EQ(oFamily.Describe(), "BC*A");
}

TEST(VQDebugStatisticsControl, StepsBackWhenTheCurrentChildIsRemoved)
{
    sFamily oFamily;
    oFamily.oParent.FocusNextChild();
    oFamily.oParent.RemoveChild(&oFamily.oB);
    EXPECT_EQ(oFamily.Describe(), "*AC");
    oFamily.oParent.RemoveChild(&oFamily.oA);
    EXPECT_EQ(oFamily.oParent.m_lCurrentChild, -1);
    EXPECT_EQ(oFamily.oParent.GetCurrentControl(), nullptr);
    EXPECT_EQ(oFamily.Describe(), "C");
}

TEST(VQDebugStatisticsControl, KeepsTheIndexWhenAnotherChildIsRemoved)
{
    sFamily oFamily;
    oFamily.oParent.FocusNextChild();
    oFamily.oParent.RemoveChild(&oFamily.oC);
    EXPECT_EQ(oFamily.Describe(), "A*B");
    oFamily.oParent.AddChild(&oFamily.oC);
    oFamily.oParent.RemoveChild(&oFamily.oA);
    EXPECT_EQ(oFamily.Describe(), "B*C"); // B was current
    oFamily.oParent.RemoveChild(&oFamily.oB);
    EXPECT_EQ(oFamily.oParent.m_lCurrentChild, 1); // beyond the end now
    EXPECT_EQ(oFamily.oParent.GetCurrentControl(), nullptr);
}

TEST(VQDebugStatisticsControl, IgnoresTheRemovalOfWhatIsNoChild)
{
    sFamily oFamily;
    COpenControl oStranger("D");
    oFamily.oParent.RemoveChild(&oStranger);
    oFamily.oParent.RemoveChild(nullptr);
    oFamily.oParent.RemoveChild(&oFamily.oParent);
    EXPECT_EQ(oFamily.Describe(), "*ABC");
}

TEST(VQDebugStatisticsControl, RemovesTheFirstOccurrenceOnly)
{
    sFamily oFamily;
    oFamily.oParent.AddChild(&oFamily.oA);
    oFamily.oParent.FocusPreviousChild();
    EXPECT_EQ(oFamily.Describe(), "ABC*A");
    oFamily.oParent.RemoveChild(&oFamily.oA);
    EXPECT_EQ(oFamily.Describe(), "BCA"); // the other occurrence was current: the index stays
    EXPECT_EQ(oFamily.oParent.m_lCurrentChild, 3);
}

TEST(VQDebugStatisticsControl, MovesTheFocusAround)
{
    sFamily oFamily;
    for (const char* pExpected : {"A*BC", "AB*C", "*ABC"})
    {
        oFamily.oParent.FocusNextChild();
        EXPECT_EQ(oFamily.Describe(), pExpected);
    }
    for (const char* pExpected : {"AB*C", "A*BC", "*ABC"})
    {
        oFamily.oParent.FocusPreviousChild();
        EXPECT_EQ(oFamily.Describe(), pExpected);
    }
}

TEST(VQDebugStatisticsControl, MovesTheFocusInFromOutside)
{
    struct
    {
        std::int32_t nCurrent;
        std::int32_t nNext;
        std::int32_t nPrevious;
    } const aCases[] = {{-1, 0, 2}, {2, 0, 1}, {3, 0, 2}, {INT_MAX, 0, INT_MAX - 1}, {INT_MIN, INT_MIN + 1, 2}};

    for (const auto& [nCurrent, nNext, nPrevious] : aCases)
    {
        sFamily oFamily;
        oFamily.oParent.m_lCurrentChild = nCurrent;
        oFamily.oParent.FocusNextChild();
        EXPECT_EQ(oFamily.oParent.m_lCurrentChild, nNext) << nCurrent;

        oFamily.oParent.m_lCurrentChild = nCurrent;
        oFamily.oParent.FocusPreviousChild();
        EXPECT_EQ(oFamily.oParent.m_lCurrentChild, nPrevious) << nCurrent;
    }
}

TEST(VQDebugStatisticsControl, MovesTheFocusOfNoChildrenHarmlessly)
{
    COpenControl oControl;
    oControl.FocusNextChild();
    EXPECT_EQ(oControl.m_lCurrentChild, 0);
    EXPECT_EQ(oControl.GetCurrentControl(), nullptr);
    oControl.FocusNextChild();
    EXPECT_EQ(oControl.m_lCurrentChild, 0);
    oControl.FocusPreviousChild();
    EXPECT_EQ(oControl.m_lCurrentChild, -1);
    oControl.FocusPreviousChild();
    EXPECT_EQ(oControl.m_lCurrentChild, -1);
    EXPECT_EQ(oControl.GetCurrentControl(), nullptr);
}

TEST(VQDebugStatisticsControl, KeepsNullAmongItsChildren)
{
    COpenControl oParent;
    COpenControl oChild("A");
    oParent.AddChild(nullptr);
    oParent.AddChild(&oChild);
    EXPECT_EQ(oParent.m_oChildren.size(), 2u);
    EXPECT_EQ(oParent.m_lCurrentChild, 0);
    EXPECT_EQ(oParent.GetCurrentControl(), nullptr);
    oParent.FocusNextChild();
    EXPECT_EQ(oParent.GetCurrentControl(), &oChild);
    oParent.RemoveChild(nullptr);
    EXPECT_EQ(oParent.m_oChildren, std::vector<CVQDebugStatisticsControl*>{&oChild});
}

TEST(VQDebugStatisticsControl, SharesItsChildrenWithCopies)
{
    sFamily oFamily;
    CVQDebugStatisticsControl oOriginal("label", &oFamily.oParent);
    oOriginal.AddChild(&oFamily.oA);
    oOriginal.AddChild(&oFamily.oB);
    oOriginal.FocusNextChild();

    CVQDebugStatisticsControl oCopy(oOriginal);
    CVQDebugStatisticsControl oAssigned("other", nullptr);
    oAssigned = oOriginal;
    for (auto* pCopy : {&oCopy, &oAssigned})
    {
        EXPECT_STREQ(pCopy->GetLabel(), "label");
        EXPECT_EQ(pCopy->GetParent(), &oFamily.oParent);
        EXPECT_EQ(pCopy->GetCurrentControl(), &oFamily.oB);
        pCopy->FocusNextChild();
        EXPECT_EQ(pCopy->GetCurrentControl(), &oFamily.oA);
        pCopy->RemoveChild(&oFamily.oA);
    }
    EXPECT_EQ(oOriginal.GetCurrentControl(), &oFamily.oB); // lists and labels are their own
    oOriginal.FocusNextChild();
    EXPECT_EQ(oOriginal.GetCurrentControl(), &oFamily.oA);
}

TEST(VQDebugStatisticsControl, DeletesNoChild)
{
    COpenControl oChild("A");
    {
        COpenControl oParent;
        oParent.AddChild(&oChild);
    }
    EXPECT_STREQ(oChild.GetLabel(), "A");
}

TEST(VQDebugStatisticsControl, CopiesTheTextThatFindsRoom)
{
    struct
    {
        const char* pText;
        int nRoom;
        const char* pCopied;
    } const aCases[] = {
        {"abc", 8, "abc"}, {"abc", 3, "abc"}, {"abc", 2, "ab"}, {"abc", 1, "a"},
        {"abc", 0, ""},    {"abc", -5, ""},   {"", 8, ""},      {nullptr, 8, ""},
    };

    for (const auto& [pText, nRoom, pCopied] : aCases)
    {
        const auto nCopied = static_cast<int>(std::strlen(pCopied));
        std::string sBuffer(8, '.');
        char* pBuffer = sBuffer.data();
        int nRemaining = nRoom;
        EXPECT_EQ(COpenControl::CopyText(pText, pBuffer, nRemaining), nCopied);
        EXPECT_EQ(pBuffer, sBuffer.data() + nCopied);
        EXPECT_EQ(nRemaining, nRoom - nCopied);
        EXPECT_EQ(sBuffer, pCopied + std::string(static_cast<std::size_t>(8 - nCopied), '.')); // and no terminator
    }

    char* pNone = nullptr;
    int nRemaining = 8;
    EXPECT_EQ(COpenControl::CopyText("abc", pNone, nRemaining), 0);
    EXPECT_EQ(pNone, nullptr);
    EXPECT_EQ(nRemaining, 8);
}
