#pragma once

// Shows: the lexical analyzer (Common/String/LexAnalyzer.h), which takes a small language apart.
// Why: people write levels by hand, so every mistake is told with file, line and column, all of them at once, and a
// level with mistakes is never played. What the language looks like is a table; the code only goes through it.

#include "Assets.h"

constexpr std::int32_t METRE = 65536; ///< lengths of the game are whole numbers of this part of a metre
constexpr std::int32_t WORLD_WIDTH = 1200;
constexpr std::int32_t WORLD_HEIGHT = 400;

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
    std::int32_t m_nGravity = 1620, m_nWind = 0; ///< millimetres per second, each second
    std::int32_t m_nFuel = 0;
    std::int32_t m_nX = 0, m_nY = 0, m_nSpeedX = 0, m_nSpeedY = 0; ///< of the ship
    std::int32_t m_nPadFrom = 0, m_nPadTo = 0, m_nBonus = 0;
    std::int32_t m_nGroundX = 0, m_nGroundY = 0;                  ///< the last point of the ground
    std::vector<std::pair<std::int32_t, std::int32_t>> m_aGround; ///< from left to right
};

/// Reads one level.
class CLevelReader
{
public:
    /// @param sFile    its name, for the errors
    /// @param aErrors  takes what is wrong, as FILE:LINE:COLUMN: MESSAGE, at most one a line
    CLevelReader(const std::string& sFile, const std::string& sText, std::vector<std::string>& aErrors)
        : m_sFile(sFile), m_sText(sText), m_oTokens(m_sText.c_str()), m_aErrors(aErrors)
    {
        m_oTokens.EOLIsSignificant(true);
        m_oTokens.AllowHighCharacters(true);
    }

    /// @return whether nothing is wrong; else oLevel stays as it was
    bool Read(sLevel& oLevel)
    {
        const std::size_t nBefore = m_aErrors.size();
        while (m_aErrors.size() < nBefore + MOST_ERRORS && Next() != CLexAnalyzer::TOKEN_END)
        {
            Tell(GetError([&] { ReadStatement(); }));
            while (!IsLineEnd()) // behind a mistake the rest of the line is skipped
                Next();
        }
        if (m_aErrors.size() == nBefore)
            Tell(CheckWhole()); // what only the whole level shows is told at its end
        if (m_aErrors.size() == nBefore)
            oLevel = m_oLevel;
        return m_aErrors.size() == nBefore;
    }

private:
    /// A number within a statement: where it goes, and its range.
    struct sNumber
    {
        std::int32_t sLevel::*m_pField;
        std::int32_t m_nLeast, m_nMost, m_nScale;
    };

    /// A statement as it might be written. Its tokens are those that have to come, in this order; what stands in place
    /// of each number is a number that belongs to the level.
    struct sStatement
    {
        const char* m_pExample;
        std::vector<sNumber> m_aNumbers;
    };

    static constexpr std::int32_t SHORTEST_PAD = 20;
    static constexpr int LONGEST_NAME = 40;
    static constexpr std::size_t MOST_ERRORS = 100;
    static inline const sStatement STATEMENTS[] = {
        {"level \"Sea of Calm\"", {}},
        {"gravity := 1.62", {{&sLevel::m_nGravity, 0, 20, 1000}}},
        {"wind := 0.05", {{&sLevel::m_nWind, -2, 2, 1000}}},
        {"fuel := 6000", {{&sLevel::m_nFuel, 1, 100000, 1}}},
        {"ship 150, 360 moving 14, 0",
         {{&sLevel::m_nX, 0, WORLD_WIDTH, 1},
          {&sLevel::m_nY, 0, WORLD_HEIGHT, 1},
          {&sLevel::m_nSpeedX, -50, 50, 1},
          {&sLevel::m_nSpeedY, -50, 50, 1}}},
        {"ground 140, 70", {{&sLevel::m_nGroundX, 0, WORLD_WIDTH, 1}, {&sLevel::m_nGroundY, 0, WORLD_HEIGHT, 1}}},
        {"pad 440 .. 560 bonus 1",
         {{&sLevel::m_nPadFrom, 0, WORLD_WIDTH - SHORTEST_PAD, 1},
          {&sLevel::m_nPadTo, SHORTEST_PAD, WORLD_WIDTH, 1},
          {&sLevel::m_nBonus, 0, 9, 1}}}};

    static bool IsNumber(int nToken)
    {
        return nToken == CLexAnalyzer::TOKEN_INTEGER || nToken == CLexAnalyzer::TOKEN_FLOAT;
    }

    bool IsLineEnd() const
    {
        return m_nToken == CLexAnalyzer::TOKEN_END || m_nToken == CLexAnalyzer::TOKEN_END_OF_LINE;
    }

    // The analyzer tells where it reads on. A token begins behind the one before it and the blanks; behind words and
    // numbers one character more has been read, to see that they end.
    int Next()
    {
        const bool bAhead = m_nToken == CLexAnalyzer::TOKEN_WORD || IsNumber(m_nToken);
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
        if (IsLineEnd())
            return;
        const CVQString oWord = m_nToken == CLexAnalyzer::TOKEN_WORD ? m_oTokens.GetStringValue() : "?";
        const auto itStatement =
            std::find_if(std::begin(STATEMENTS), std::end(STATEMENTS),
                         [&](const sStatement& oStatement)
                         { return std::string(oStatement.m_pExample).starts_with(~oWord + std::string(" ")); });
        if (itStatement == std::end(STATEMENTS))
            throw std::runtime_error("level, gravity, wind, fuel, ship, ground or pad is missing");

        CLexAnalyzer oExample(itStatement->m_pExample);
        oExample.GetNextToken(); // the word that both begin with
        auto itNumber = itStatement->m_aNumbers.begin();
        for (int nToken = 0; (nToken = oExample.GetNextToken()) != CLexAnalyzer::TOKEN_END;)
        {
            if (IsNumber(nToken))
                ReadNumber(*itNumber++);
            else if (Next() != nToken ||
                     (nToken == CLexAnalyzer::TOKEN_WORD && m_oTokens.GetStringValue() != oExample.GetStringValue()))
                throw std::runtime_error(std::string("it should look like ") + itStatement->m_pExample);
        }
        if (oWord == "level" && !m_oTokens.GetStringValue().IsEmpty())
            m_oLevel.m_sName = ~m_oTokens.GetStringValue().Left(LONGEST_NAME);
        if (oWord == "ground" && !m_oLevel.m_aGround.empty() && m_oLevel.m_nGroundX <= m_oLevel.m_aGround.back().first)
            throw std::runtime_error("the ground should go on to the right");
        if (oWord == "ground")
            m_oLevel.m_aGround.emplace_back(m_oLevel.m_nGroundX, m_oLevel.m_nGroundY);
        Next();
        if (!IsLineEnd())
            throw std::runtime_error("the line should end here");
    }

    void ReadNumber(const sNumber& oNumber)
    {
        const bool bNegative = Next() == '-';
        const std::size_t nPlace = m_nPlace;
        if (bNegative)
            Next();
        if (!IsNumber(m_nToken))
            throw std::runtime_error("a number is missing");
        m_nPlace = nPlace;
        const double dValue = bNegative ? -m_oTokens.GetNumValue() : m_oTokens.GetNumValue();
        if (!(dValue >= oNumber.m_nLeast && dValue <= oNumber.m_nMost))
            throw std::runtime_error("the number should be from " + std::to_string(oNumber.m_nLeast) + " to " +
                                     std::to_string(oNumber.m_nMost));
        m_oLevel.*oNumber.m_pField = static_cast<std::int32_t>(std::lround(dValue * oNumber.m_nScale));
    }

    std::string CheckWhole() const
    {
        const sLevel& o = m_oLevel;
        if (o.m_sName.empty())
            return "the level has no name";
        if (o.m_aGround.size() < 2 || o.m_aGround.front().first != 0 || o.m_aGround.back().first != WORLD_WIDTH)
            return "the ground should go from 0 to " + std::to_string(WORLD_WIDTH);
        if (o.m_nPadTo < o.m_nPadFrom + SHORTEST_PAD || o.m_nFuel == 0)
            return "fuel and a pad of " + std::to_string(SHORTEST_PAD) + " metres are needed";
        return o.m_nY * METRE > o.GetGround(o.m_nX * METRE) ? "" : "the ship is below the ground";
    }

    std::string m_sFile, m_sText;
    CLexAnalyzer m_oTokens;
    std::vector<std::string>& m_aErrors;
    sLevel m_oLevel;
    int m_nToken = CLexAnalyzer::TOKEN_END_OF_LINE;
    std::size_t m_nPlace = 0; // of the token in the text
};
