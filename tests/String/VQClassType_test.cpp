#include <Common/String/VQClassType.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace
{
const CVQClassType ROOT("Root");
const CVQClassType CHILD("Child", ROOT);
const CVQClassType GRANDCHILD("Grandchild", CHILD);
const CVQClassType SIBLING("Sibling", ROOT);
const CVQClassType OTHER_ROOT("Other");

static_assert(std::has_virtual_destructor_v<CVQClassType>);

std::string TakeText(CVQString oText)
{
    oText += '!';
    return ~oText;
}
} // namespace

TEST(VQClassType, HasANameAndAParent)
{
    EXPECT_STREQ(ROOT.GetName(), "Root");
    EXPECT_STREQ(CHILD.GetName(), "Child");
    EXPECT_EQ(&CHILD.GetParentType(), &ROOT);
    EXPECT_EQ(&GRANDCHILD.GetParentType(), &CHILD);
}

TEST(VQClassType, TellsWhetherItIsARoot)
{
    EXPECT_TRUE(ROOT.IsRoot());
    EXPECT_FALSE(CHILD.IsRoot());
}

TEST(VQClassType, ConvertsToItsName)
{
    const char* pText = CHILD;
    EXPECT_STREQ(pText, "Child");
    EXPECT_EQ(pText, CHILD.GetName());

    const CVQString& oReference = CHILD;
    EXPECT_EQ(~oReference, CHILD.GetName()); // the name itself, no copy

    const CVQString oCopy = CHILD;
    EXPECT_STREQ(~oCopy, "Child");
    EXPECT_STREQ(~CHILD.operator CVQString(), "Child");
    EXPECT_EQ(TakeText(CHILD), "Child!");
    EXPECT_STREQ(CHILD.GetName(), "Child");
}

TEST(VQClassType, HasNoNameWhenItWasGivenNone)
{
    EXPECT_EQ(CVQClassType(static_cast<const char*>(nullptr)).GetName(), nullptr);
    EXPECT_STREQ(~CVQClassType(static_cast<const char*>(nullptr)).GetFullName(), "/");
    EXPECT_STREQ(~CVQClassType("", ROOT).GetFullName(), "Root//");
}

TEST(VQClassType, TakesANameAsAnyStringDoes)
{
    const auto fnPrevious = CVQString::s_pfnLoadString;
    CVQString::s_pfnLoadString = [](long nId, CVQString& oTarget)
    {
        oTarget = "text";
        return nId == 7;
    };
    const CVQClassType oType(reinterpret_cast<const char*>(7)); // the number of a localised text
    CVQString::s_pfnLoadString = fnPrevious;

    EXPECT_STREQ(oType.GetName(), "text");
}

TEST(VQClassType, IsDerivedFromItselfAndAllAbove)
{
    for (const CVQClassType* pType : {&ROOT, &CHILD, &GRANDCHILD, &SIBLING, &OTHER_ROOT})
        EXPECT_TRUE(pType->IsDerivedFrom(*pType));

    EXPECT_TRUE(CHILD.IsDerivedFrom(ROOT));
    EXPECT_TRUE(GRANDCHILD.IsDerivedFrom(CHILD));
    EXPECT_TRUE(GRANDCHILD.IsDerivedFrom(ROOT));
}

TEST(VQClassType, IsNotDerivedFromOthers)
{
    for (const CVQClassType* pOther : {&CHILD, &GRANDCHILD, &SIBLING, &OTHER_ROOT})
        EXPECT_FALSE(ROOT.IsDerivedFrom(*pOther));

    EXPECT_FALSE(CHILD.IsDerivedFrom(GRANDCHILD));
    EXPECT_FALSE(GRANDCHILD.IsDerivedFrom(SIBLING));
    EXPECT_FALSE(GRANDCHILD.IsDerivedFrom(OTHER_ROOT));
}

TEST(VQClassType, IsTheSameTypeOnlyAsTheSameObject)
{
    const CVQClassType oSameName("Root");
    EXPECT_FALSE(oSameName.IsDerivedFrom(ROOT));
    EXPECT_FALSE(CHILD.IsDerivedFrom(oSameName));

    const CVQClassType oCopy(CHILD);
    EXPECT_FALSE(oCopy.IsDerivedFrom(CHILD));
    EXPECT_TRUE(oCopy.IsDerivedFrom(ROOT));
}

TEST(VQClassType, BuildsTheFullName)
{
    EXPECT_STREQ(~ROOT.GetFullName(), "Root/");
    EXPECT_STREQ(~CHILD.GetFullName(), "Root/Child/");
    EXPECT_STREQ(~GRANDCHILD.GetFullName(), "Root/Child/Grandchild/");

    const CVQClassType oA("A");
    const CVQClassType oB("B", oA);
    const CVQClassType oC("C", oB);
    EXPECT_STREQ(~oC.GetFullName(), "A/B/C/");
}

TEST(VQClassType, CopiesParentAndName)
{
    const CVQClassType oCopy(GRANDCHILD);
    EXPECT_STREQ(oCopy.GetName(), "Grandchild");
    EXPECT_NE(oCopy.GetName(), GRANDCHILD.GetName());
    EXPECT_EQ(&oCopy.GetParentType(), &CHILD);

    CVQClassType oAssigned("Else");
    CVQClassType& oResult = oAssigned = CHILD;
    EXPECT_EQ(&oResult, &oAssigned);
    EXPECT_STREQ(oAssigned.GetName(), "Child");
    EXPECT_EQ(&oAssigned.GetParentType(), &ROOT);

    oAssigned = ROOT;
    EXPECT_TRUE(oAssigned.IsRoot());
    EXPECT_STREQ(~oAssigned.GetFullName(), "Root/");
}
