#include <Common/String/StringTokenizer.h>

#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace
{
using Setup = std::function<void(CStringTokenizer&)>;

/// A text of any bytes, zeros included.
CVQString TextOf(const std::string& sBytes)
{
    CVQString oText;
    if (!sBytes.empty())
    {
        std::memcpy(oText.GetBuffer(static_cast<int>(sBytes.size())), sBytes.data(), sBytes.size());
        oText.ReleaseBuffer(static_cast<int>(sBytes.size()));
    }
    return oText;
}

std::string BytesOf(const CVQString& oText)
{
    return oText.IsEmpty() ? std::string() : std::string(~oText, static_cast<std::size_t>(oText.GetLength()));
}

/// All tokens of a text, one behind the other, in a form that tells their types apart.
std::string TokensOf(const std::string& sText, const Setup& oSetup = {})
{
    CStringTokenizer oTokenizer(TextOf(sText));
    if (oSetup)
        oSetup(oTokenizer);

    std::string sAll;
    for (std::size_t i = 0; i <= sText.size() + 1; ++i)
    {
        const int nToken = oTokenizer.GetNextToken();
        const std::string sValue = BytesOf(oTokenizer.GetStringValue());
        if (nToken == CStringTokenizer::TOKEN_END)
            return sAll + "END";
        if (nToken == CStringTokenizer::TOKEN_INTEGER)
            sAll += "int:" + std::to_string(static_cast<long>(oTokenizer.GetNumValue())) + ' ';
        else if (nToken == CStringTokenizer::TOKEN_FLOAT)
            sAll += "float:" + sValue + ' ';
        else if (nToken == CStringTokenizer::TOKEN_WORD)
            sAll += sValue + ' ';
        else if (nToken == CStringTokenizer::TOKEN_TEXT_BLOCK)
            sAll += "BLOCK ";
        else if (nToken == CStringTokenizer::TOKEN_END_OF_LINE)
            sAll += "EOL ";
        else if (nToken == '"')
            sAll += '"' + sValue + "\" ";
        else
            sAll += std::string("'") + static_cast<char>(nToken) + "' ";
    }
    return sAll + "and so on";
}

/// Shows what is protected.
class COpenTokenizer : public CStringTokenizer
{
public:
    using CStringTokenizer::CStringTokenizer;
    using CStringTokenizer::GetCharacters;
    using CStringTokenizer::GetOriginalString;
};

/// The characters of the first token.
std::string FirstOf(const std::string& sText, const Setup& oSetup = {})
{
    COpenTokenizer oTokenizer(TextOf(sText));
    if (oSetup)
        oSetup(oTokenizer);
    oTokenizer.GetNextToken();
    return BytesOf(oTokenizer.GetCharacters());
}

struct SCase
{
    const char* pText;
    const char* pTokens;
};

void Expect(const std::vector<SCase>& oCases, const Setup& oSetup = {})
{
    for (const auto& [pText, pTokens] : oCases)
        EXPECT_EQ(TokensOf(pText, oSetup), pTokens) << pText;
}
} // namespace

TEST(StringTokenizer, KeepsItsSlotsInOrder)
{
    EXPECT_EQ(VirtualSlot(&CStringTokenizer::Rewind), 2u); // behind the two of the destructor
    EXPECT_EQ(VirtualSlot(&CStringTokenizer::PushBack), 3u);
    EXPECT_EQ(VirtualSlot(&CStringTokenizer::GetNextToken), 4u);
    EXPECT_EQ(VirtualSlot(&CStringTokenizer::GetStringValue), 5u);
}

TEST(StringTokenizer, StandsAtTheBeginningBeforeTheFirstToken)
{
    const COpenTokenizer oTokenizer("text");
    EXPECT_EQ(oTokenizer.GetPosInString(), 0);
    EXPECT_EQ(oTokenizer.GetLineNumber(), 1);
    EXPECT_EQ(oTokenizer.GetColumnNumber(), 1);
    EXPECT_TRUE(oTokenizer.IsStartOfLine());
    EXPECT_EQ(oTokenizer.GetNumValue(), 0);
    EXPECT_TRUE(oTokenizer.GetCharacters().IsEmpty());
}

TEST(StringTokenizer, StepsFromColumn1To4AndFrom4To8)
{
    CStringTokenizer oTokenizer("\t\t");
    oTokenizer.OrdinaryChar('\t');
    EXPECT_EQ(oTokenizer.GetNextToken(), '\t');
    EXPECT_EQ(oTokenizer.GetColumnNumber(), 4);
    EXPECT_EQ(oTokenizer.GetNextToken(), '\t');
    EXPECT_EQ(oTokenizer.GetColumnNumber(), 8);
}

TEST(StringTokenizer, StartsWithThisTable)
{
    for (int c = 1; c <= 255; ++c)
    {
        const bool bLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 160;
        const bool bDigit = c >= '0' && c <= '9';
        CStringTokenizer oTokenizer(TextOf(std::string(1, static_cast<char>(c))));
        oTokenizer.AllowHighCharacters(true);
        EXPECT_EQ(oTokenizer.GetNextToken(), c <= 32 ? -1 : bLetter ? -4 : bDigit ? -2 : c) << c;
    }
}

TEST(StringTokenizer, SplitsTexts)
{
    Expect({
        {"", "END"},
        {" \t\r\n ", "END"},
        {"a1 b", "a1 b END"},
        {"_x9_", "_x9_ END"},
        {"a+b", "a '+' b END"},
        {"7", "int:7 END"},
        {"3.25", "float:3.250000 END"},
        {"7.", "int:7 '.' END"},
        {"7.x", "int:7 '.' x END"},
        {"1.2.3", "float:1.200000 '.' int:3 END"},
        {"1..5", "int:1 '.' '.' int:5 END"},
        {"-5", "'-' int:5 END"},
        {".5", "'.' int:5 END"},
        {"12ab", "int:12 ab END"},
        {"007", "int:7 END"},
        {"a\"b\"c", "a \"b\" c END"},
        {"a'b'", "a ''' END"},
        {"{a}", "'{' a '}' END"},
        {"{!a!}", "'{' '!' a '!' '}' END"},
        {"a;b#c", "a ';' b '#' c END"},
        {"a/b / c/", "a '/' b '/' c '/' END"},
        {"a // b\nc", "a c END"},
        {"a // b\rc", "a c END"},
        {"a // b", "a END"},
        {"a /* b\n * / */c", "a c END"},
        {"a /***/ c", "a c END"},
        {"a /*/ c */ d", "a d END"},
        {"a /* b", "a END"},
        {"a /* b *", "a END"},
        {"//a\n//b\n/*c*//*d*/e", "e END"},
        {"\x7F", "'\x7F' END"},
    });
}

TEST(StringTokenizer, GivesTheEndAgainAndAgain)
{
    for (const std::string sText :
         {"",       " ", "a", "7",  "7.",   "+",      "\"open", "\"open\\", "\"open\\1", "'",       "// c",     "/* c",
          "/* c *", "/", "{", "{!", "{! b", "{! b !", "\r",     "\n",       "\x80",      "a\x80 b", "\"a\x80 b"})
    {
        CStringTokenizer oTokenizer(TextOf(sText));
        oTokenizer.AllowTextBlocks(true);
        while (oTokenizer.GetNextToken() != -1)
        {
        }
        const int nPosition = oTokenizer.GetPosInString();
        const int nColumn = oTokenizer.GetColumnNumber();
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(oTokenizer.GetNextToken(), -1) << sText;
        EXPECT_EQ(oTokenizer.GetPosInString(), nPosition) << sText;
        EXPECT_EQ(oTokenizer.GetColumnNumber(), nColumn) << sText;
        EXPECT_STREQ(~oTokenizer.GetStringValue(), "EOF");
    }
}

TEST(StringTokenizer, TakesZerosAsBlanks)
{
    const std::string sText("\0a\0b\0\0", 6);
    EXPECT_EQ(TokensOf(sText), "a b END");
    EXPECT_EQ(TokensOf("// c" + sText + "\nd /*" + sText + "*/ e"), "d e END");
    EXPECT_EQ(FirstOf("{!" + sText + "c!}", [](CStringTokenizer& o) { o.AllowTextBlocks(true); }),
              std::string("a\0b\0\0c", 6));
}

TEST(StringTokenizer, NumbersItsTokenTypesAndGivesTheirTexts)
{
    CStringTokenizer oTokenizer("word \"quoted\" 12 1.5 'single' {!block!} + \n");
    oTokenizer.AllowTextBlocks(true);
    oTokenizer.EOLIsSignificant(true);
    const std::string sBlock = {'\'', static_cast<char>(-5), '\''};
    const std::pair<int, std::string> aTokens[] = {
        {-4, "word"}, {'"', "quoted"}, {-2, "12.000000"}, {-3, "1.500000"}, {'\'', "'''"},
        {-5, sBlock}, {'+', "'+'"},    {10, "EOL"},       {-1, "EOF"},
    };
    for (const auto& [nToken, sText] : aTokens)
    {
        EXPECT_EQ(oTokenizer.GetNextToken(), nToken);
        EXPECT_EQ(BytesOf(oTokenizer.GetStringValue()), sText);
    }
}

TEST(StringTokenizer, ClearsTheValuesWithEachToken)
{
    COpenTokenizer oTokenizer("word 5 +");
    EXPECT_EQ(BytesOf(oTokenizer.GetOriginalString()), "word 5 +\xFF");
    oTokenizer.GetNextToken();
    EXPECT_EQ(BytesOf(oTokenizer.GetCharacters()), "word");
    EXPECT_EQ(oTokenizer.GetNumValue(), 0);
    oTokenizer.GetNextToken();
    EXPECT_TRUE(oTokenizer.GetCharacters().IsEmpty());
    EXPECT_EQ(oTokenizer.GetNumValue(), 5);
    oTokenizer.GetNextToken();
    EXPECT_EQ(oTokenizer.GetNumValue(), 0);
}

TEST(StringTokenizer, ReadsNumbersOfAnyLength)
{
    const std::pair<std::string, double> aCases[] = {
        {"0.5", 0.5},
        {"1234567.125", 1234567.125},
        {"00000.5", 0.5},
        {"0." + std::string(400, '0') + "1", 0},
        {"0." + std::string(400, '3'), 1.0 / 3},
        {"1" + std::string(10, '0'), 1e10},
    };
    for (const auto& [sText, dValue] : aCases)
    {
        CStringTokenizer oTokenizer(TextOf(sText));
        oTokenizer.GetNextToken();
        EXPECT_NEAR(oTokenizer.GetNumValue(), dValue, 1e-14) << sText;
    }
    CStringTokenizer oHuge(TextOf(std::string(500, '9') + "." + std::string(500, '9')));
    EXPECT_EQ(oHuge.GetNextToken(), -3);
    EXPECT_TRUE(std::isinf(oHuge.GetNumValue()));
}

TEST(StringTokenizer, GivesLineEndsWhenTheyAreSignificant)
{
    Expect({{"a\nb", "a EOL b END"},
            {"a\r\nb", "a EOL b END"},
            {"a\rb", "a EOL b END"},
            {"a\r\r\n\nb", "a EOL EOL EOL b END"},
            {"a \r", "a EOL END"},
            {"a // c\r\nb", "a EOL b END"},
            {"a /* c\n */ b", "a b END"},
            {"\"a\r\nb", "\"a\" EOL b END"}},
           [](CStringTokenizer& o) { o.EOLIsSignificant(true); });
    Expect({{"a\r\nb", "a b END"}});
}

TEST(StringTokenizer, ReadsQuotedStrings)
{
    const std::pair<std::string, std::string> aCases[] = {
        {R"("")", ""},
        {R"("abc")", "abc"},
        {R"("a\nb")", "a\nb"},
        {R"("\a\b\f\n\r\t\v")", "\a\b\f\n\r\t\v"},
        {R"("\q\"\\\'")", "q\"\\'"},
        {R"("\101\102")", "AB"},
        {R"("\1012")", "A2"},
        {R"("\777")", "\xFF"},
        {R"("\7x")", "\7x"},
        {R"("\17x")", "\17x"},
        {R"("\7")", "\7"},
        {R"("\7'x")", "\7"},
        {R"("\18")", "\0018"},
        {R"("\7\n")", "\7\\n"},
        {"\"\\7\nx\"", "\7\nx"},
        {"\"\\\nx\"", "\nx"},
        {R"("it's")", "it's"},
        {"\"open\nx", "open"},
        {"\"open\rx", "open"},
        {"\"open", "open"},
        {"\"open\\", "open"},
        {"\"open\\7", "open\7"},
        {"\"open\\\"", "open\""},
        {"\"\\0008\"", std::string(1, '\0') + "8"},
        {std::string("\"a\0b\"", 5), std::string("a\0b", 3)},
    };
    for (const auto& [sText, sValue] : aCases)
        EXPECT_EQ(FirstOf(sText), sValue) << sText;
}

TEST(StringTokenizer, GoesOnBehindAString)
{
    Expect({{"\"open\nx", "\"open\" x END"},
            {"\"open", "\"open\" END"},
            {"\"open\\", "\"open\" END"},
            {"\"open\\12", "\"open\n\" END"},
            {"\"\\7\" x", "\"\7\" x END"},
            {"'single' x", "''' x END"}});
    Expect({{"'a'", "''' a ''' END"}}, [](CStringTokenizer& o) { o.AllowStringHandling(false); });
}

TEST(StringTokenizer, ReadsTextBlocks)
{
    const auto TextBlocks = [](CStringTokenizer& o) { o.AllowTextBlocks(true); };

    struct
    {
        const char* pText;
        const char* pTokens;
        const char* pFirst;
    } const aCases[] = {
        {"{!a b!} c", "BLOCK c END", "a b"},
        {"{! \n a\n  b \n !}", "BLOCK END", "a\n  b"},
        {"{!!}x", "BLOCK x END", ""},
        {"{!}!}x", "BLOCK x END", "}"},
        {"{!a!!}x", "BLOCK x END", "a!"},
        {"{!a!b!}", "BLOCK END", "a!b"},
        {"{!\"//a/*!}b", "BLOCK b END", "\"//a/*"},
        {"{!   !}b", "BLOCK b END", ""},
        {"{!a", "END", ""},
        {"{!a!", "END", ""},
        {"{!", "END", ""},
        {"{! ", "END", ""},
        {"{a}", "'{' a '}' END", ""},
        {"{", "'{' END", ""},
        {"{{!a!}", "'{' BLOCK END", ""},
    };

    for (const auto& [pText, pTokens, pFirst] : aCases)
    {
        EXPECT_EQ(TokensOf(pText, TextBlocks), pTokens) << pText;
        EXPECT_EQ(FirstOf(pText, TextBlocks), pFirst) << pText;
    }
}

TEST(StringTokenizer, SkipsTheCommentsThatAreAllowed)
{
    Expect({{"a {b} c", "a c END"}, {"a {b\n", "a END"}}, [](CStringTokenizer& o) { o.AllowPascalComments(true); });
    Expect({{"{!a!}b", "b END"}},
           [](CStringTokenizer& o)
           {
               o.AllowPascalComments(true);
               o.AllowTextBlocks(true);
           });
    Expect({{"a ; b\nc", "a c END"}}, [](CStringTokenizer& o) { o.AllowAssemblerComments(true); });
    Expect({{"a # b\nc", "a c END"}, {"a # b", "a END"}}, [](CStringTokenizer& o) { o.CommentChar('#'); });
    Expect({{"a // b /* c */ d", "a '/' '/' b d END"}}, [](CStringTokenizer& o) { o.AllowSlashSlashComments(false); });
    Expect({{"a /* b // c", "a '/' '*' b END"}}, [](CStringTokenizer& o) { o.AllowSlashStarComments(false); });
    Expect({{"// /* b", "'/' '/' '/' '*' b END"}},
           [](CStringTokenizer& o)
           {
               o.AllowSlashSlashComments(false);
               o.AllowSlashStarComments(false);
           });
}

TEST(StringTokenizer, SkipsRowsOfLineComments)
{
    struct
    {
        const char* pText;
        const char* pTokens;
        int nColumn; ///< behind all
        std::function<void(CStringTokenizer&)> oSetup;
    } const aCases[] = {
        {"//a\n//b\n//c\nd", "d END", 3, {}},
        {"//a\n//b\r//c", "END", 9, {}},
        {"//a\n//", "END", 4, {}},
        {"//a\n/", "'/' END", 3, {}},
        {"//a\n/b\n", "'/' b END", 2, {}},
        {"//a\n//b", "EOL END", 5, [](CStringTokenizer& o) { o.EOLIsSignificant(true); }},
        {"//a\n//b", "EOL END", 5, [](CStringTokenizer& o) { o.OrdinaryChar('\n'); }},
        {"//a\n//b", "END", 5, [](CStringTokenizer& o) { o.CommentChar('/'); }},
    };

    for (const auto& [pText, pTokens, nColumn, oSetup] : aCases)
    {
        EXPECT_EQ(TokensOf(pText, oSetup), pTokens) << pText;
        CStringTokenizer oTokenizer(pText);
        if (oSetup)
            oSetup(oTokenizer);
        while (oTokenizer.GetNextToken() != -1)
        {
        }
        EXPECT_EQ(oTokenizer.GetColumnNumber(), nColumn) << pText;
    }
}

TEST(StringTokenizer, TakesItsSwitchesBetweenTokens)
{
    CStringTokenizer oTokenizer("+//a\n+;a\n+{a}+Ab");
    const auto Next = [&] { return oTokenizer.GetNextToken(); };
    EXPECT_EQ(Next(), '+');
    oTokenizer.EOLIsSignificant(true);
    EXPECT_EQ(Next(), 10);
    oTokenizer.EOLIsSignificant(false);
    oTokenizer.AllowAssemblerComments(true);
    EXPECT_EQ(Next(), '+');
    EXPECT_EQ(Next(), '+');
    oTokenizer.AllowPascalComments(true);
    oTokenizer.ForceLowerCaseMode(true);
    EXPECT_EQ(Next(), '+');
    EXPECT_EQ(Next(), -4);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "ab");
}

TEST(StringTokenizer, ChangesItsTable)
{
    Expect({{"a-b", "a-b END"}}, [](CStringTokenizer& o) { o.WordChars('-', '-'); });
    Expect({{"a,b", "a b END"}}, [](CStringTokenizer& o) { o.WhiteSpaceChars(',', ','); });
    Expect({{"abc", "a 'b' c END"}}, [](CStringTokenizer& o) { o.OrdinaryChar('b'); });
    Expect({{"abc", "'a' 'b' c END"}}, [](CStringTokenizer& o) { o.OrdinaryChars('a', 'b'); });
    Expect({{"ab", "ab END"}}, [](CStringTokenizer& o) { o.OrdinaryChars('b', 'a'); });
    Expect({{"a b", "a ' ' b END"}}, [](CStringTokenizer& o) { o.OrdinaryChar(' '); });
    Expect({{"+", "+ END"}}, [](CStringTokenizer& o) { o.WordChars(-5, 300); });
    Expect({{"a+b", "a '+' b END"}},
           [](CStringTokenizer& o)
           {
               o.OrdinaryChar(-1);
               o.QuoteChar(256);
               o.CommentChar(INT32_MAX);
           });
    Expect({{"|a|b", "'|' b END"}}, [](CStringTokenizer& o) { o.QuoteChar('|'); });
    Expect({{"12", "'1' '2' END"}}, [](CStringTokenizer& o) { o.OrdinaryChars('0', '9'); });
    Expect({{"AbC \"DeF\"", "abc \"DeF\" END"}}, [](CStringTokenizer& o) { o.ForceLowerCaseMode(true); });
}

TEST(StringTokenizer, LowersWordsBehindTheirZeros)
{
    const std::string sText("A\0BC\0\0D e", 9);
    EXPECT_EQ(FirstOf(sText,
                      [](CStringTokenizer& o)
                      {
                          o.ForceLowerCaseMode(true);
                          o.OrdinaryChar(0);
                          o.WordChars(0, 0);
                      }),
              std::string("a\0bc\0\0d", 7));
}

TEST(StringTokenizer, EndsAtAHighByte)
{
    Expect({{"ab\xE4"
             "c d",
             "ab END"},
            {"\x80", "END"},
            {"\"a\xFF"
             "b\"",
             "\"a\" END"},
            {"// a\xC0\nb", "END"},
            {"/* \xC0 */b", "END"},
            {"{! \xC0 !}b", "END"},
            {"abcdefghijklmnop \xFF more", "abcdefghijklmnop END"}},
           [](CStringTokenizer& o) { o.AllowTextBlocks(true); });
}

TEST(StringTokenizer, ReadsHighBytesWhenTheyAreAllowed)
{
    Expect({{"ab\xE4"
             "c d",
             "ab\xE4"
             "c d END"},
            {"\xFF\xFE", "\xFF\xFE END"},
            {"a\x80"
             "b",
             "a '\x80' b END"},
            {"\"a\xFF\" // \xC0\nb", "\"a\xFF\" b END"}},
           [](CStringTokenizer& o) { o.AllowHighCharacters(true); });
    Expect({{"\xC3\xA9t\xC3\xA9 \xE2\x82\xAC", "\xC3\xA9t\xC3\xA9 \xE2\x82\xAC END"}},
           [](CStringTokenizer& o)
           {
               o.AllowHighCharacters(true);
               o.WordChars(128, 255);
           });
}

TEST(StringTokenizer, KeepsToTheEndUntilARewind)
{
    CStringTokenizer oTokenizer("a \xE4 b");
    oTokenizer.GetNextToken();
    EXPECT_EQ(oTokenizer.GetNextToken(), -1);
    oTokenizer.AllowHighCharacters(true);
    EXPECT_EQ(oTokenizer.GetNextToken(), -1);
    oTokenizer.Rewind();
    oTokenizer.GetNextToken();
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "\xE4");
}

TEST(StringTokenizer, PushesBack)
{
    CStringTokenizer oTokenizer("word 5 x");
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    const int nPosition = oTokenizer.GetPosInString();
    oTokenizer.PushBack();
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "word");
    EXPECT_EQ(oTokenizer.GetPosInString(), nPosition);
    EXPECT_EQ(oTokenizer.GetNextToken(), -2);
    oTokenizer.PushBack();
    oTokenizer.PushBack();
    EXPECT_EQ(oTokenizer.GetNextToken(), -2);
    EXPECT_EQ(oTokenizer.GetNumValue(), 5);
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
}

TEST(StringTokenizer, RewindsAndKeepsItsSwitches)
{
    CStringTokenizer oTokenizer("A\n b 7");
    oTokenizer.ForceLowerCaseMode(true);
    for (int i = 0; i < 3; ++i)
        oTokenizer.GetNextToken();
    oTokenizer.PushBack();
    oTokenizer.Rewind();
    EXPECT_EQ(oTokenizer.GetLineNumber(), 1);
    EXPECT_EQ(oTokenizer.GetColumnNumber(), 1);
    EXPECT_EQ(oTokenizer.GetPosInString(), 0);
    EXPECT_EQ(oTokenizer.GetNumValue(), 0);
    EXPECT_TRUE(oTokenizer.IsStartOfLine());
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "a");
}

TEST(StringTokenizer, CopiesItsPlaceAndSettings)
{
    CStringTokenizer oFirst("a-b c");
    oFirst.WordChars('-', '-');
    oFirst.GetNextToken();
    CStringTokenizer oSecond(oFirst);
    EXPECT_STREQ(~oSecond.GetStringValue(), "a-b");
    oSecond.GetNextToken();
    EXPECT_STREQ(~oSecond.GetStringValue(), "c");
    oSecond = oFirst;
    oSecond.GetNextToken();
    EXPECT_STREQ(~oSecond.GetStringValue(), "c");
}

TEST(StringTokenizer, CountsLinesAndColumns)
{
    // Behind a word or a number one character is read ahead.
    struct
    {
        const char* pText;
        int nTokens;
        int nLine;
        int nColumn;
        bool bStart;
    } const aCases[] = {
        {"a", 0, 1, 1, true},        {"+", 1, 1, 2, false},
        {"ab ", 1, 1, 4, false},     {"ab\n", 1, 2, 1, true},
        {"\t+", 1, 1, 5, false},     {"abc\t+", 2, 1, 9, false},
        {"\n\n+", 1, 3, 2, false},   {"// x\n+", 1, 2, 2, false},
        {"// x\r+", 1, 1, 7, false}, {"/*\n\n  */+", 1, 3, 6, false},
        {"\"a\n+", 2, 2, 2, false},  {"7.", 1, 1, 3, false},
        {"7.\n", 2, 1, 3, false},    {"7.\n+", 3, 2, 2, false},
        {"{!\n!}+", 2, 2, 4, false},
    };

    for (const auto& oCase : aCases)
    {
        CStringTokenizer oTokenizer(oCase.pText);
        oTokenizer.AllowTextBlocks(true);
        for (int i = 0; i < oCase.nTokens; ++i)
            oTokenizer.GetNextToken();
        EXPECT_EQ(oTokenizer.GetLineNumber(), oCase.nLine) << oCase.pText;
        EXPECT_EQ(oTokenizer.GetColumnNumber(), oCase.nColumn) << oCase.pText;
        EXPECT_EQ(oTokenizer.IsStartOfLine(), oCase.bStart) << oCase.pText;
    }
}

TEST(StringTokenizer, CountsLongCommentsAsItCountsCharacters)
{
    std::string sInside;
    for (int i = 0; i < 40; ++i)
        sInside += "line\twith a tab\n";
    sInside += "\tlast";
    CStringTokenizer oComment(TextOf("/*" + sInside + "*/+"));
    oComment.GetNextToken();
    EXPECT_EQ(oComment.GetLineNumber(), 41);
    EXPECT_EQ(oComment.GetColumnNumber(), 4 + 4 + 2 + 1);
}

TEST(StringTokenizer, FindsTheEndOfALineWhereverItStands)
{
    for (const char cFill : {'x', ' ', '\t', '\v', '\x01', '\x0E', '\0'})
        for (int nLength = 0; nLength < 40; ++nLength)
            for (const char cEnd : {'\n', '\r'})
            {
                const std::string sText = "//" + std::string(static_cast<std::size_t>(nLength), cFill) + cEnd + "+ ";
                CStringTokenizer oTokenizer(TextOf(sText));
                oTokenizer.SetTabSize(0);
                EXPECT_EQ(oTokenizer.GetNextToken(), '+') << nLength;
                EXPECT_EQ(oTokenizer.GetPosInString(), nLength + 4);
                EXPECT_EQ(oTokenizer.GetLineNumber(), cEnd == '\n' ? 2 : 1);
                EXPECT_EQ(oTokenizer.GetColumnNumber(), cEnd == '\n' ? 2 : nLength + 5);
            }
}

TEST(StringTokenizer, CountsRunsOfBlanksAndLettersAsItCountsCharacters)
{
    CStringTokenizer oTokenizer(TextOf(std::string(50, ' ') + "\t" + std::string(50, 'w') + "   +"));
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    EXPECT_EQ(oTokenizer.GetColumnNumber(), 52 + 50 + 1);
    EXPECT_FALSE(oTokenizer.IsStartOfLine());
    EXPECT_EQ(oTokenizer.GetNextToken(), '+');
    EXPECT_EQ(oTokenizer.GetColumnNumber(), 52 + 50 + 3 + 1);

    // Words that hold tabs and line feeds count them as such.
    CStringTokenizer oOdd("a\tb\nc +");
    oOdd.WordChars('\t', '\n');
    EXPECT_EQ(oOdd.GetNextToken(), -4);
    EXPECT_EQ(oOdd.GetLineNumber(), 2);
    EXPECT_EQ(oOdd.GetColumnNumber(), 3);
    CStringTokenizer oSpaces("a  b +");
    oSpaces.WordChars(' ', ' ');
    EXPECT_EQ(oSpaces.GetNextToken(), -4);
    EXPECT_STREQ(~oSpaces.GetStringValue(), "a  b ");
}

TEST(StringTokenizer, StepsToTabStopsOfAnySize)
{
    for (const auto& [nSize, nColumn] : {std::pair{4, 8}, std::pair{8, 16}, std::pair{1, 3}, std::pair{0, 3},
                                         std::pair{-3, 3}, std::pair{INT32_MAX, INT32_MAX}})
    {
        CStringTokenizer oTokenizer("\t\t+");
        oTokenizer.SetTabSize(nSize);
        oTokenizer.OrdinaryChar('\t');
        oTokenizer.GetNextToken();
        EXPECT_EQ(oTokenizer.GetColumnNumber(), nSize > 1 ? nSize : 2);
        oTokenizer.GetNextToken();
        EXPECT_EQ(oTokenizer.GetColumnNumber(), nColumn) << nSize;
        oTokenizer.GetNextToken();
    }
}

TEST(StringTokenizer, GoesOnAtAnyPosition)
{
    CStringTokenizer oTokenizer("one two \xE4 three");
    oTokenizer.SetPosInString(9);
    EXPECT_EQ(oTokenizer.GetPosInString(), 9);
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "three");

    for (const int nOutside : {-1, 8, INT32_MAX, INT32_MIN})
    {
        CStringTokenizer oOutside("one two");
        oOutside.SetPosInString(nOutside);
        EXPECT_EQ(oOutside.GetNextToken(), -1) << nOutside;
    }
}

TEST(StringTokenizer, TakesACharacterThatWasReadAheadFirst)
{
    CStringTokenizer oTokenizer("1a zz");
    oTokenizer.GetNextToken();
    oTokenizer.SetPosInString(3);
    EXPECT_EQ(oTokenizer.GetNextToken(), -4);
    EXPECT_STREQ(~oTokenizer.GetStringValue(), "azz");
}

TEST(StringTokenizer, TakesThousandsOfCommentsInARow)
{
    std::string sText;
    for (int i = 0; i < 50000; ++i)
        sText += i % 2 != 0 ? "//\r" : "/**/";
    EXPECT_EQ(TokensOf(sText + "end"), "end END");

    std::string sOther;
    for (int i = 0; i < 50000; ++i)
        sOther += i % 3 == 0 ? "{}" : i % 3 == 1 ? ";\n" : "#\r\n";
    EXPECT_EQ(TokensOf(sOther + "end",
                       [](CStringTokenizer& o)
                       {
                           o.AllowPascalComments(true);
                           o.AllowAssemblerComments(true);
                           o.CommentChar('#');
                       }),
              "end END");
}

TEST(StringTokenizer, TakesHugeTokens)
{
    constexpr std::size_t SIZE = 1 << 20;
    for (const std::string& sText : {std::string(SIZE, 'w'), '"' + std::string(SIZE, 'q') + '"', std::string(SIZE, '1'),
                                     "/*" + std::string(SIZE, '*'), "{!" + std::string(SIZE, '!'),
                                     std::string(SIZE, ' '), "//" + std::string(SIZE, '\t')})
    {
        CStringTokenizer oTokenizer(TextOf(sText));
        oTokenizer.AllowTextBlocks(true);
        oTokenizer.GetNextToken();
        EXPECT_EQ(oTokenizer.GetNextToken(), -1);
    }
    EXPECT_EQ(FirstOf(std::string(SIZE, 'w')).size(), SIZE);
    EXPECT_EQ(FirstOf('"' + std::string(SIZE, '\\') + '"').size(), SIZE / 2);
}

TEST(StringTokenizer, TakesTokensOf100MillionBytes)
{
    constexpr int SIZE = 100'000'000;

    struct
    {
        const char* pBegin;
        char cFill;
        int nToken;
        long nLength;
    } const aCases[] = {
        {"", 'w', -4, SIZE},
        {"\"", '\\', '"', SIZE / 2},
        {"/*", '*', -1, 0},
    };

    for (const auto& [pBegin, cFill, nToken, nLength] : aCases)
    {
        const long nBegin = static_cast<long>(std::strlen(pBegin));
        CVQString oText(cFill, SIZE + static_cast<int>(nBegin));
        for (int i = 0; i < nBegin; ++i)
            oText.SetAt(i, pBegin[i]);
        COpenTokenizer oTokenizer(oText);
        oText = CVQString();
        oTokenizer.AllowTextBlocks(true);
        EXPECT_EQ(oTokenizer.GetNextToken(), nToken) << pBegin << cFill;
        EXPECT_EQ(oTokenizer.GetCharacters().GetLength(), nLength) << pBegin << cFill;
        EXPECT_EQ(oTokenizer.GetNextToken(), -1);
        EXPECT_EQ(oTokenizer.GetPosInString(), SIZE + nBegin + 1);
    }
}
