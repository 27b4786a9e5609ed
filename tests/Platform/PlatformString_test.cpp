#include <Common/Platform/PlatformString.h>

#include <gtest/gtest.h>

TEST(PlatformString, ReverseSearchNeverExaminesTheFirstCharacter)
{
    struct
    {
        const char* pText;
        const char* pSet;
        int nFoundAt; // -1 for null
    } const aCases[] = {
        {"a,b", ",", 1}, {",ab", ",", -1},   {",", ",", -1},  {"", ",", -1},    {"a,", ",", 1},
        {",,", ",", 1},  {"a,b;c", ";,", 3}, {"abc", "", -1}, {"abc", "x", -1},
    };

    for (const auto& oCase : aCases)
    {
        const char* pFound = STR_strrpbrk(oCase.pText, oCase.pSet);
        EXPECT_EQ(pFound != nullptr ? pFound - oCase.pText : -1, oCase.nFoundAt) << oCase.pText << " in " << oCase.pSet;
    }
    EXPECT_EQ(STR_strrpbrk(nullptr, ","), nullptr);
}
