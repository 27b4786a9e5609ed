#include <Common/String/LexAnalyzer.h>

#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr int BEGIN = 100;
constexpr int WORD = -4;
constexpr int NUMBER = -2;

std::vector<int> TokensOf(const char* pText)
{
    CLexAnalyzer oAnalyzer(pText);
    oAnalyzer.InsertKeyword("begin", BEGIN);
    std::vector<int> oTokens;
    do
        oTokens.push_back(oAnalyzer.GetNextToken());
    while (oTokens.back() != -1 && oTokens.size() < 100);
    return oTokens;
}
} // namespace

TEST(LexAnalyzer, KeepsTheSlotsOfTheTokenizer)
{
    EXPECT_EQ(VirtualSlot(&CLexAnalyzer::PushBack), 3u);
    EXPECT_EQ(VirtualSlot(&CLexAnalyzer::GetNextToken), 4u);
    EXPECT_EQ(VirtualSlot(&CLexAnalyzer::GetStringValue), 5u);
}

TEST(LexAnalyzer, JoinsOperators)
{
    const std::pair<const char*, std::vector<int>> aCases[] = {
        {"", {-1}},
        {">=", {-50, -1}},
        {"<=", {-51, -1}},
        {":=", {-52, -1}},
        {"<>", {-53, -1}},
        {"..", {-54, -1}},
        {"a:=b", {WORD, -52, WORD, -1}},
        {"1..5", {NUMBER, -54, NUMBER, -1}},
        {"< =", {-51, -1}},
        {"< /* c */ =", {-51, -1}},
        {"<", {'<', -1}},
        {">", {'>', -1}},
        {":", {':', -1}},
        {".", {'.', -1}},
        {"<<=", {'<', -51, -1}},
        {"><", {'>', '<', -1}},
        {">>=", {'>', -50, -1}},
        {"<x", {'<', WORD, -1}},
        {">x", {'>', WORD, -1}},
        {":x", {':', WORD, -1}},
        {".x", {'.', WORD, -1}},
        {"...", {-54, '.', -1}},
        {"=<", {'=', '<', -1}},
        {"::=", {':', -52, -1}},
        {"<begin", {'<', BEGIN, -1}},
        {"+", {'+', -1}},
    };
    for (const auto& [pText, oTokens] : aCases)
        EXPECT_EQ(TokensOf(pText), oTokens) << pText;
}

TEST(LexAnalyzer, JoinsNoOperatorOverASignificantLineEnd)
{
    for (const bool bSignificant : {false, true})
    {
        CLexAnalyzer oAnalyzer("<\n=");
        oAnalyzer.EOLIsSignificant(bSignificant);
        EXPECT_EQ(oAnalyzer.GetNextToken(), bSignificant ? '<' : -51);
        EXPECT_EQ(oAnalyzer.GetNextToken(), bSignificant ? 10 : -1);
        EXPECT_EQ(oAnalyzer.GetNextToken(), bSignificant ? '=' : -1);
    }
}

TEST(LexAnalyzer, FindsKeywordsExactly)
{
    EXPECT_EQ(TokensOf("begin"), (std::vector<int>{BEGIN, -1}));
    EXPECT_EQ(TokensOf("Begin begin2 \"begin\""), (std::vector<int>{WORD, WORD, '"', -1}));

    CLexAnalyzer oAnalyzer("Begin");
    oAnalyzer.InsertKeyword("begin", BEGIN);
    oAnalyzer.ForceLowerCaseMode(true);
    EXPECT_EQ(oAnalyzer.GetNextToken(), BEGIN);
}

TEST(LexAnalyzer, ReplacesAKeyword)
{
    CLexAnalyzer oAnalyzer("if");
    oAnalyzer.InsertKeyword("if", 200);
    oAnalyzer.InsertKeyword("if", 201);
    EXPECT_EQ(oAnalyzer.GetNextToken(), 201);
}

TEST(LexAnalyzer, GivesTheTextOfEachToken)
{
    CLexAnalyzer oAnalyzer(">= <= := <> .. word {! block !} \"double\" 'single' 12 1.5 \n + k");
    oAnalyzer.AllowTextBlocks(true);
    oAnalyzer.EOLIsSignificant(true);
    oAnalyzer.InsertKeyword("k", 'K');
    const std::string sRange = {'\'', static_cast<char>(-54), '\''};
    for (const std::string& sText :
         std::vector<std::string>{">=", "<=", ":=", "<>", sRange, "word", "block", "double", "single", "12.000000",
                                  "1.500000", "EOL", "'+'", "'K'", "EOF"})
    {
        oAnalyzer.GetNextToken();
        EXPECT_EQ(std::string(~oAnalyzer.GetStringValue()), sText);
    }
}

TEST(LexAnalyzer, PushesBackItsOwnToken)
{
    CLexAnalyzer oAnalyzer("a := < b");
    EXPECT_EQ(oAnalyzer.GetNextToken(), WORD);
    oAnalyzer.PushBack();
    EXPECT_EQ(oAnalyzer.GetNextToken(), WORD);
    EXPECT_STREQ(~oAnalyzer.GetStringValue(), "a");
    EXPECT_EQ(oAnalyzer.GetNextToken(), -52);
    oAnalyzer.PushBack();
    EXPECT_EQ(oAnalyzer.GetNextToken(), -52);
    EXPECT_STREQ(~oAnalyzer.GetStringValue(), ":=");
    EXPECT_EQ(oAnalyzer.GetNextToken(), '<');
    oAnalyzer.PushBack();
    EXPECT_EQ(oAnalyzer.GetNextToken(), '<');
    EXPECT_EQ(oAnalyzer.GetNextToken(), WORD) << "what was read ahead is still there";
    EXPECT_STREQ(~oAnalyzer.GetStringValue(), "b");
    EXPECT_EQ(oAnalyzer.GetNextToken(), -1);
}

TEST(LexAnalyzer, ShowsTheValuesOfTheTokenThatWasReadAhead)
{
    CLexAnalyzer oAnalyzer("< 5 : w");
    EXPECT_EQ(oAnalyzer.GetNextToken(), '<');
    EXPECT_EQ(oAnalyzer.GetNumValue(), 5);
    EXPECT_EQ(oAnalyzer.GetPosInString(), 4) << "the blank behind the number too";
    oAnalyzer.PushBack();
    EXPECT_EQ(oAnalyzer.GetNextToken(), '<');
    EXPECT_STREQ(~oAnalyzer.GetStringValue(), "'<'");
    EXPECT_EQ(oAnalyzer.GetNextToken(), NUMBER);
    EXPECT_EQ(oAnalyzer.GetNextToken(), ':');
    EXPECT_EQ(oAnalyzer.GetNumValue(), 0);
    EXPECT_EQ(oAnalyzer.GetNextToken(), WORD);
}

TEST(LexAnalyzer, GivesTheEndAgainAndAgain)
{
    for (const char* pText : {"", "a", "<", ".", "a .", ":", ">", "\"open", "/* c"})
    {
        CLexAnalyzer oAnalyzer(pText);
        for (int nLeft = 10; nLeft > 0 && oAnalyzer.GetNextToken() != -1; --nLeft)
        {
        }
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(oAnalyzer.GetNextToken(), -1) << pText;
        EXPECT_STREQ(~oAnalyzer.GetStringValue(), "EOF");
    }
}

TEST(LexAnalyzer, GivesTheCharacterOfAKeywordsNumber)
{
    // A number above 255 shows its lowest byte.
    CLexAnalyzer oAnalyzer("begin");
    oAnalyzer.InsertKeyword("begin", 256 + 'B');
    EXPECT_EQ(oAnalyzer.GetNextToken(), 256 + 'B');
    EXPECT_STREQ(~oAnalyzer.GetStringValue(), "'B'");
}

TEST(LexAnalyzer, KeepsItsPushedBackTokenOverARewind)
{
    CLexAnalyzer oAnalyzer("+ a");
    oAnalyzer.GetNextToken();
    EXPECT_EQ(oAnalyzer.GetNextToken(), WORD);
    oAnalyzer.PushBack();
    oAnalyzer.Rewind();
    EXPECT_EQ(oAnalyzer.GetNextToken(), WORD);
    EXPECT_EQ(oAnalyzer.GetNextToken(), '+');
}

TEST(LexAnalyzer, WorksThroughTheTokenizer)
{
    CLexAnalyzer oAnalyzer("<= x");
    CStringTokenizer& oTokenizer = oAnalyzer;
    EXPECT_EQ(oTokenizer.GetNextToken(), -51);
    oTokenizer.PushBack();
    EXPECT_EQ(oTokenizer.GetNextToken(), -51);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "<=");
}

TEST(LexAnalyzer, CopiesItsKeywordsAndPlace)
{
    CLexAnalyzer oFirst("x begin");
    oFirst.InsertKeyword("begin", BEGIN);
    oFirst.GetNextToken();
    oFirst.PushBack();
    CLexAnalyzer oSecond(oFirst);
    EXPECT_EQ(oSecond.GetNextToken(), WORD);
    EXPECT_EQ(oSecond.GetNextToken(), BEGIN);
    CLexAnalyzer oThird("other");
    oThird = oFirst;
    EXPECT_EQ(oThird.GetNextToken(), WORD);
    EXPECT_EQ(oThird.GetNextToken(), BEGIN);
}
