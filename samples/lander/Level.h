#pragma once

// Shows: the lexical analyzer (Common/String/LexAnalyzer.h), which takes a small language apart.
// Why: people write levels by hand, so every mistake is told with file, line and column, all of them at once, and a
// level with mistakes is never played. What the language looks like is a table; the code only goes through it.

#include "Assets.h"

#include <tuple>

constexpr std::int32_t METRE = 65536; ///< lengths of the game are whole numbers of this part of a metre
constexpr std::int32_t WORLD_WIDTH = 1200, WORLD_HEIGHT = 400;
constexpr std::int32_t WORLD_RIGHT = WORLD_WIDTH * METRE, WORLD_TOP = WORLD_HEIGHT * METRE;

/// A place on the moon, in whole metres.
struct sLevel
{
    /// Height of the ground, in parts of a metre as the place is. The pad is level, as high as its left end.
    std::int32_t GetGround(std::int32_t nX) const
    {
        if (nX >= m_nPadFrom * METRE && nX <= m_nPadTo * METRE)
            nX = m_nPadFrom * METRE;
        const auto itRight = std::find_if(m_aGround.begin() + 1, m_aGround.end() - 1,
                                          [&](const auto& oPoint) { return oPoint.first * METRE >= nX; });
        const auto [nLeft, nHeight] = itRight[-1];
        const std::int64_t nRise = std::int64_t{itRight->second - nHeight} * (nX - nLeft * METRE);
        return nHeight * METRE + static_cast<std::int32_t>(nRise / (itRight->first - nLeft));
    }

    std::string m_sName;
    std::int32_t m_nGravity = 1620, m_nWind = 0;                                ///< millimetres per second, each second
    std::int32_t m_nX = 0, m_nY = 0, m_nSpeedX = 0, m_nSpeedY = 0, m_nFuel = 0; ///< of the ship
    std::int32_t m_nPadFrom = 0, m_nPadTo = 0, m_nBonus = 0;
    std::int32_t m_nGroundX = 0, m_nGroundY = 0;                  ///< the last point of the ground
    std::vector<std::pair<std::int32_t, std::int32_t>> m_aGround; ///< from left to right
};

/// Reads one level.
class CLevelReader
{
public:
    /// Takes a text apart.
    ///
    /// @param sFile    its name, for the errors
    /// @param aErrors  takes what is wrong, as FILE:LINE:COLUMN: MESSAGE, at most one a line
    /// @param oLevel   is of no use when something is
    CLevelReader(const std::string& sFile, const std::string& sText, sLevel& oLevel, std::vector<std::string>& aErrors)
        : m_sFile(sFile), m_sText(sText), m_oTokens(m_sText.c_str()), m_oLevel(oLevel), m_aErrors(aErrors)
    {
        m_oTokens.EOLIsSignificant(true);
        m_oTokens.AllowHighCharacters(true);
        const std::size_t nBefore = aErrors.size();
        while (aErrors.size() < nBefore + MOST_ERRORS && Next() != Lex::TOKEN_END)
        {
            if (!IsLineEnd())
                Tell(GetError([&] { ReadStatement(); }));
            while (!IsLineEnd()) // behind a mistake the rest of the line is skipped
                Next();
        }
        if (aErrors.size() == nBefore)
            Tell(GetError([&] { CheckWhole(); })); // what only the whole level shows is told at its end
    }

private:
    using Lex = CLexAnalyzer;

    /// A number within a statement: where it goes, the least and the most, and by what it is multiplied.
    using Number = std::tuple<std::int32_t sLevel::*, std::int32_t, std::int32_t, std::int32_t>;

    static constexpr std::int32_t SHORTEST_PAD = 20;
    static constexpr std::size_t MOST_ERRORS = 100;

    // Statements by their first word, as they might be written. What comes behind the word has to be tokens of the same
    // kinds, in this order; what stands in place of each number is a number that belongs to the level.
    static inline const std::map<std::string, std::pair<std::string, std::vector<Number>>> STATEMENTS = {
        {"level", {"\"Sea of Calm\"", {}}},
        {"gravity", {":= 1.62", {Number(&sLevel::m_nGravity, 0, 20, 1000)}}},
        {"wind", {":= 0.05", {Number(&sLevel::m_nWind, -2, 2, 1000)}}},
        {"fuel", {":= 6000", {Number(&sLevel::m_nFuel, 1, 100000, 1)}}},
        {"ship",
         {"150, 360 moving 14, 0",
          {Number(&sLevel::m_nX, 0, WORLD_WIDTH, 1), Number(&sLevel::m_nY, 0, WORLD_HEIGHT, 1),
           Number(&sLevel::m_nSpeedX, -50, 50, 1), Number(&sLevel::m_nSpeedY, -50, 50, 1)}}},
        {"ground", {"140, 70", {{&sLevel::m_nGroundX, 0, WORLD_WIDTH, 1}, {&sLevel::m_nGroundY, 0, WORLD_HEIGHT, 1}}}},
        {"pad",
         {"440 .. 560 bonus 1",
          {Number(&sLevel::m_nPadFrom, 0, WORLD_WIDTH - SHORTEST_PAD, 1),
           Number(&sLevel::m_nPadTo, SHORTEST_PAD, WORLD_WIDTH, 1), Number(&sLevel::m_nBonus, 0, 9, 1)}}}};

    static bool IsNumber(int nToken) { return nToken == Lex::TOKEN_INTEGER || nToken == Lex::TOKEN_FLOAT; }

    bool IsLineEnd() const { return m_nToken == Lex::TOKEN_END || m_nToken == Lex::TOKEN_END_OF_LINE; }

    // The analyzer tells where it reads on. A token begins behind the one before it and the blanks; behind words and
    // numbers one character more has been read, to see that they end.
    int Next()
    {
        const bool bAhead = m_nToken == Lex::TOKEN_WORD || IsNumber(m_nToken);
        m_nPlace = static_cast<std::size_t>(std::max(0, m_oTokens.GetPosInString() - (bAhead ? 1 : 0)));
        m_nPlace = std::min(m_sText.find_first_not_of(" \t\r", m_nPlace), m_sText.size());
        return m_nToken = m_oTokens.GetNextToken();
    }

    void Tell(const std::string& sMistake)
    {
        if (sMistake.empty())
            return;
        const std::string sBefore = m_sText.substr(0, m_nPlace);
        const auto nLine = 1 + std::count(sBefore.begin(), sBefore.end(), '\n');
        const std::size_t nColumn = m_nPlace - sBefore.rfind('\n'); // which is -1 on the first line
        m_aErrors.push_back(m_sFile + ':' + std::to_string(nLine) + ':' + std::to_string(nColumn) + ": " + sMistake);
    }

    void ReadStatement()
    {
        const std::string sWord = m_nToken == Lex::TOKEN_WORD ? ~m_oTokens.GetStringValue() : "";
        const auto itStatement = STATEMENTS.find(sWord);
        Require(itStatement != STATEMENTS.end(), "level, gravity, wind, fuel, ship, ground or pad is missing");
        const auto& [sExample, aNumbers] = itStatement->second;
        CLexAnalyzer oExample(sExample.c_str());
        auto itNumber = aNumbers.begin();
        for (int nToken = 0; (nToken = oExample.GetNextToken()) != Lex::TOKEN_END;)
        {
            if (IsNumber(nToken))
                ReadNumber(*itNumber++);
            else
                Require(Next() == nToken &&
                            (nToken != Lex::TOKEN_WORD || m_oTokens.GetStringValue() == oExample.GetStringValue()),
                        "it should look like " + sWord + ' ' + sExample);
        }
        auto& aGround = m_oLevel.m_aGround;
        if (sWord == "level" && !m_oTokens.GetStringValue().IsEmpty())
            m_oLevel.m_sName = ~m_oTokens.GetStringValue();
        if (sWord == "ground")
            aGround.emplace_back(m_oLevel.m_nGroundX, m_oLevel.m_nGroundY);
        Require(sWord != "ground" || aGround.size() < 2 || aGround.back().first > aGround.end()[-2].first,
                "the ground should go on to the right");
        Next();
        Require(IsLineEnd(), "the line should end here");
    }

    void ReadNumber(const Number& oNumber)
    {
        const bool bNegative = Next() == '-';
        if (bNegative)
            Next();
        Require(IsNumber(m_nToken), "a number is missing");
        const double dValue = bNegative ? -m_oTokens.GetNumValue() : m_oTokens.GetNumValue();
        const auto [pField, nLeast, nMost, nScale] = oNumber;
        Require(dValue >= nLeast && dValue <= nMost,
                "the number should be from " + std::to_string(nLeast) + " to " + std::to_string(nMost));
        m_oLevel.*pField = static_cast<std::int32_t>(std::lround(dValue * nScale));
    }

    void CheckWhole()
    {
        const auto& aGround = m_oLevel.m_aGround;
        Require(!m_oLevel.m_sName.empty(), "the level has no name");
        Require(aGround.size() > 1 && aGround[0].first == 0 && aGround.back().first == WORLD_WIDTH,
                "the ground should go from 0 to " + std::to_string(WORLD_WIDTH));
        Require(m_oLevel.m_nPadTo >= m_oLevel.m_nPadFrom + SHORTEST_PAD && m_oLevel.m_nFuel != 0,
                "fuel and a pad of " + std::to_string(SHORTEST_PAD) + " metres are needed");
        Require(m_oLevel.m_nY * METRE > m_oLevel.GetGround(m_oLevel.m_nX * METRE), "the ship is below the ground");
    }

    const std::string m_sFile, m_sText;
    CLexAnalyzer m_oTokens;
    sLevel& m_oLevel;
    std::vector<std::string>& m_aErrors;
    int m_nToken = Lex::TOKEN_END_OF_LINE;
    std::size_t m_nPlace = 0; // of the token in the text
};
