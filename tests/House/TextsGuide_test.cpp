// What docs/texts.md and docs/compressor.md show is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace
{
std::map<std::string, double> ReadSpeeds(const CVQString& oText)
{
    std::map<std::string, double> oSpeeds;
    CStringTokenizer oTokenizer(oText);
    oTokenizer.CommentChar('#');
    oTokenizer.WordChars('-', '-'); // names may hold it

    while (oTokenizer.GetNextToken() == CStringTokenizer::TOKEN_WORD)
    {
        const std::string sName = ~oTokenizer.GetStringValue();
        if (oTokenizer.GetNextToken() != '=')
            oTokenizer.PushBack(); // "name value" will do
        oTokenizer.GetNextToken();
        oSpeeds[sName] = oTokenizer.GetNumValue();
    }
    return oSpeeds;
}

class CLevelReader
{
public:
    CLevelReader(const char* pFile, const CVQString& oText) : m_sFile(pFile), m_oText(oText)
    {
        m_oText.EOLIsSignificant(true);
        m_oText.ForceLowerCaseMode(true); // "Set" is as good as "set"
        m_oText.InsertKeyword("set", SET);
        m_oText.InsertKeyword("ship", SHIP);
        m_oText.InsertKeyword("at", AT);
    }

    void Read()
    {
        do
        {
            m_nLine = m_oText.GetLineNumber();
            Next();
            const bool bGood = AtEnd() || ReadStatement();
            if (bGood && !AtEnd())
                Fail("the end of the line");
            while (!AtEnd())
                Next();
        } while (m_nToken != CLexAnalyzer::TOKEN_END);
    }

    std::map<std::string, std::pair<double, double>> m_oSettings;
    std::vector<std::string> m_oShips;
    std::vector<std::string> m_oMessages;

private:
    enum eKeyword // above all characters
    {
        SET = 300,
        SHIP,
        AT
    };

    void Next()
    {
        if (m_oText.GetLineNumber() == m_nLine)
            m_nColumn = m_oText.GetColumnNumber();
        m_nToken = m_oText.GetNextToken();
    }

    bool AtEnd() const { return m_nToken == CLexAnalyzer::TOKEN_END_OF_LINE || m_nToken == CLexAnalyzer::TOKEN_END; }

    bool Fail(const char* pExpected)
    {
        const std::string sFound = ~m_oText.GetStringValue();
        m_oMessages.push_back(~CVQString(sctFormat, "%s:%d:%d: expected %s, found %s", m_sFile.c_str(), m_nLine,
                                         m_nColumn, pExpected, sFound.c_str()));
        return false;
    }

    bool Take(int nToken, const char* pExpected)
    {
        if (m_nToken != nToken)
            return Fail(pExpected);
        Next();
        return true;
    }

    bool ReadNumber(double& dNumber)
    {
        const bool bNegative = m_nToken == '-';
        if (bNegative)
            Next();
        if (m_nToken != CLexAnalyzer::TOKEN_INTEGER && m_nToken != CLexAnalyzer::TOKEN_FLOAT)
            return Fail("a number");
        dNumber = bNegative ? -m_oText.GetNumValue() : m_oText.GetNumValue();
        Next();
        return true;
    }

    bool ReadStatement()
    {
        if (m_nToken == SET)
            return ReadSetting();
        return m_nToken == SHIP ? ReadShip() : Fail("set or ship");
    }

    bool ReadSetting()
    {
        Next();
        const std::string sName = ~m_oText.GetStringValue();
        double dLow = 0;
        if (!Take(CLexAnalyzer::TOKEN_WORD, "a name") || !Take(CLexAnalyzer::TOKEN_ASSIGN, ":=") || !ReadNumber(dLow))
            return false;

        double dHigh = dLow;
        if (m_nToken == CLexAnalyzer::TOKEN_RANGE)
        {
            Next();
            if (!ReadNumber(dHigh))
                return false;
        }
        m_oSettings[sName] = {dLow, dHigh};
        return true;
    }

    bool ReadShip()
    {
        Next();
        const std::string sName = ~m_oText.GetStringValue();
        double dX = 0;
        double dY = 0;
        if (!Take('"', "a name in quotes") || !Take(AT, "at") || !ReadNumber(dX) || !Take(',', "a comma") ||
            !ReadNumber(dY))
            return false;
        m_oShips.push_back(~CVQString(sctFormat, "%s %g %g", sName.c_str(), dX, dY));
        return true;
    }

    std::string m_sFile;
    CLexAnalyzer m_oText;
    int m_nToken = 0;
    int m_nLine = 1;
    int m_nColumn = 1;
};

std::vector<unsigned char> Pack(std::vector<unsigned char>& oData)
{
    std::vector<unsigned char> oBlock(oData.size() + CVQLzrwCompressor::EXTRA_SIZE);
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(oData.data(), static_cast<int>(oData.size()));
    oCompressor.SetDestination(oBlock.data(), static_cast<int>(oBlock.size()));
    oBlock.resize(static_cast<std::size_t>(oCompressor.Compress()));
    return oBlock;
}

// oData has the size that went in: a block does not know it.
bool Unpack(std::vector<unsigned char>& oBlock, std::vector<unsigned char>& oData)
{
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(oBlock.data(), static_cast<int>(oBlock.size()));
    oCompressor.SetDestination(oData.data(), static_cast<int>(oData.size()));
    return oCompressor.Decompress() == static_cast<int>(oData.size());
}

std::string Joined(const std::vector<std::string>& oLines)
{
    std::string sText = "\n";
    for (const auto& sLine : oLines)
        sText += sLine + '\n';
    return sText;
}

std::vector<unsigned char> Bytes(const std::string& sText)
{
    return {sText.begin(), sText.end()};
}
} // namespace

TEST(TextsGuide, ReadsSettings)
{
    const auto oSpeeds = ReadSpeeds("# metres a second\nlight-ship = 12.5\ntug 3 # slow\n\nlast=7");
    EXPECT_EQ(oSpeeds, (std::map<std::string, double>{{"light-ship", 12.5}, {"tug", 3}, {"last", 7}}));
    EXPECT_TRUE(ReadSpeeds("").empty());
}

TEST(TextsGuide, ReadsItsLanguage)
{
    CLevelReader oReader("canyon.level", R"(
// the canyon
set gravity := 3.5
set wind := -2..5
ship "Lander" at 10, 20
)");
    oReader.Read();
    EXPECT_EQ(Joined(oReader.m_oMessages), "\n");
    EXPECT_EQ(oReader.m_oSettings,
              (std::map<std::string, std::pair<double, double>>{{"gravity", {3.5, 3.5}}, {"wind", {-2, 5}}}));
    EXPECT_EQ(oReader.m_oShips, std::vector<std::string>{"Lander 10 20"});
}

TEST(TextsGuide, TellsWhereTheMistakesAre)
{
    const std::string sMistakes = R"(
set gravity = 3.5
ship Lander at 10, 20
set wind := 0..
fly
)";
    CLevelReader oReader("canyon.level", sMistakes.c_str() + 1);
    oReader.Read();
    EXPECT_EQ(Joined(oReader.m_oMessages), R"(
canyon.level:1:13: expected :=, found '='
canyon.level:2:6: expected a name in quotes, found lander
canyon.level:3:16: expected a number, found EOL
canyon.level:4:1: expected set or ship, found fly
)");
}

TEST(TextsGuide, TellsMistakesInLinesOfAnyEnd)
{
    CLevelReader oReader("x",
                         "Set a := 1\r\n\r\nset a := 2 3\r\nset := 4\r\nSHIP \"A\" at 1 2\r\nship \"A\" 1\nset a 5");
    oReader.Read();
    ASSERT_EQ(oReader.m_oMessages.size(), 5U) << Joined(oReader.m_oMessages);
    const char* const aBeginnings[] = {"x:3:", "x:4:", "x:5:", "x:6:", "x:7:"};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(oReader.m_oMessages[i].rfind(aBeginnings[i], 0), 0U) << oReader.m_oMessages[i];
}

TEST(TextsGuide, PacksAndUnpacks)
{
    for (const std::string& sText : {std::string(), std::string("abc"), std::string(5000, 'x')})
    {
        auto oData = Bytes(sText);
        auto oBlock = Pack(oData);
        EXPECT_EQ(oBlock.size(), sText.size() < 5000 ? sText.size() + 4 : oBlock.size());
        std::vector<unsigned char> oBack(oData.size());
        EXPECT_TRUE(Unpack(oBlock, oBack));
        EXPECT_EQ(oBack, oData);
        oBack.resize(oBack.size() + 1);
        EXPECT_FALSE(Unpack(oBlock, oBack));
    }
}

TEST(TextsGuide, ShowsWhatIsRunHere)
{
    const std::string sSource = ReadWholeFile(GetTestPath("House/TextsGuide_test.cpp"));
    const std::pair<const char*, std::size_t> aPages[] = {{"../docs/texts.md", 5}, {"../docs/compressor.md", 1}};
    for (const auto& [pPage, nBlocks] : aPages)
    {
        const auto oBlocks = BlocksOfGuide(ReadWholeFile(GetTestPath(pPage)), {"cpp", "text"});
        EXPECT_EQ(oBlocks.size(), nBlocks) << pPage;
        for (const auto& sBlock : oBlocks)
            EXPECT_TRUE(HoldsBlock(sSource, sBlock)) << sBlock;
    }
}
