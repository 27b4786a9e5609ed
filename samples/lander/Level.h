#pragma once

// Shows: the lexical analyzer (Common/String/LexAnalyzer.h), which takes a small language apart.
// Why: people write levels by hand, so every mistake is told with file, line and column, all of them at once, and a
// level with mistakes is never played.

#include <Common/String/LexAnalyzer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

constexpr std::int32_t METRE = 65536; ///< lengths of the game are whole numbers of this part of a metre
constexpr std::int32_t WORLD_WIDTH = 1200;
constexpr std::int32_t WORLD_HEIGHT = 400;

/// A place on the moon, in whole metres.
struct sLevel
{
    struct sPoint
    {
        std::int32_t m_nX = 0, m_nY = 0;
    };

    /// Height of the ground, in parts of a metre as the place is. The pad is level, as high as its left end.
    std::int32_t GetGround(std::int32_t nX) const
    {
        if (nX >= m_nPadFrom * METRE && nX <= m_nPadTo * METRE)
            nX = m_nPadFrom * METRE;
        const auto itRight = std::find_if(m_aGround.begin() + 1, m_aGround.end() - 1,
                                          [&](const sPoint& oPoint) { return oPoint.m_nX * METRE >= nX; });
        const sPoint oLeft = itRight[-1];
        const std::int64_t nRise = std::int64_t{itRight->m_nY - oLeft.m_nY} * (nX - oLeft.m_nX * METRE);
        return oLeft.m_nY * METRE + static_cast<std::int32_t>(nRise / (itRight->m_nX - oLeft.m_nX));
    }

    std::string m_sName;
    std::int32_t m_nGravity = 1620, m_nWind = 0; ///< millimetres per second, each second
    std::int32_t m_nFuel = 0;
    sPoint m_oShip, m_oSpeed;
    std::int32_t m_nPadFrom = 0, m_nPadTo = 0, m_nBonus = 0;
    std::vector<sPoint> m_aGround; ///< from left to right
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
        for (int i = 0; i < static_cast<int>(std::size(WORDS)); ++i)
            m_oTokens.InsertKeyword(WORDS[i], FIRST_WORD + i);
        m_oTokens.EOLIsSignificant(true);
        m_oTokens.AllowHighCharacters(true);
    }

    /// @return whether nothing is wrong; else oLevel stays as it was
    bool Read(sLevel& oLevel)
    {
        const std::size_t nBefore = m_aErrors.size();
        while (m_aErrors.size() < nBefore + MOST_ERRORS && Next() != CLexAnalyzer::TOKEN_END)
        {
            try
            {
                ReadStatement();
            }
            catch (const std::runtime_error& oMistake) // the rest of the line is skipped
            {
                Tell(oMistake.what());
                while (!IsLineEnd())
                    Next();
            }
        }
        if (m_aErrors.size() == nBefore)
            CheckWhole();
        if (m_aErrors.size() == nBefore)
            oLevel = m_oLevel;
        return m_aErrors.size() == nBefore;
    }

private:
    // Words of the language, which the analyzer gives as tokens of their own, numbered from FIRST_WORD on.
    static constexpr const char* WORDS[] = {"level",  "gravity", "wind",   "fuel", "ship",
                                            "ground", "pad",     "moving", "bonus"};
    static constexpr int FIRST_WORD = 300;
    static constexpr int WORD_MOVING = FIRST_WORD + 7;
    static constexpr int WORD_BONUS = FIRST_WORD + 8;

    static constexpr std::size_t MOST_ERRORS = 100;
    static constexpr std::size_t MOST_POINTS = 500;
    static constexpr int LONGEST_NAME = 40;
    static constexpr std::int32_t SHORTEST_PAD = 20;

    // The analyzer tells where it reads on. A token begins behind the one before it and the blanks; behind words and
    // numbers one character more has been read, to see that they end.
    int Next()
    {
        const bool bAhead = m_nToken == CLexAnalyzer::TOKEN_WORD || m_nToken == CLexAnalyzer::TOKEN_INTEGER ||
                            m_nToken == CLexAnalyzer::TOKEN_FLOAT || m_nToken >= FIRST_WORD;
        m_nPlace = static_cast<std::size_t>(std::max(0, m_oTokens.GetPosInString() - (bAhead ? 1 : 0)));
        m_nPlace = std::min(m_sText.find_first_not_of(" \t\r", m_nPlace), m_sText.size());
        return m_nToken = m_oTokens.GetNextToken();
    }

    bool IsLineEnd() const
    {
        return m_nToken == CLexAnalyzer::TOKEN_END || m_nToken == CLexAnalyzer::TOKEN_END_OF_LINE;
    }

    void Tell(const std::string& sWhat)
    {
        const std::size_t nLineStart = m_nPlace == 0 ? 0 : m_sText.rfind('\n', m_nPlace - 1) + 1;
        const auto itLineStart = m_sText.begin() + static_cast<std::ptrdiff_t>(nLineStart);
        m_aErrors.push_back(m_sFile + ':' + std::to_string(1 + std::count(m_sText.begin(), itLineStart, '\n')) + ':' +
                            std::to_string(m_nPlace - nLineStart + 1) + ": " + sWhat);
    }

    void ReadStatement()
    {
        if (IsLineEnd())
            return;
        const int nWord = m_nToken - FIRST_WORD;
        if (nWord < 0 || m_nToken >= WORD_MOVING)
            throw std::runtime_error("level, gravity, wind, fuel, ship, ground or pad is missing");
        const std::string sWord = WORDS[nWord];
        if (sWord == "level")
        {
            Expect('"', "a name in quotes");
            const CVQString oName = m_oTokens.GetStringValue();
            m_oLevel.m_sName = oName.IsEmpty() ? "" : ~oName.Left(LONGEST_NAME); // an empty one has no buffer
        }
        else if (sWord == "gravity")
            m_oLevel.m_nGravity = ReadValue(0, 20, 1000);
        else if (sWord == "wind")
            m_oLevel.m_nWind = ReadValue(-2, 2, 1000);
        else if (sWord == "fuel")
            m_oLevel.m_nFuel = ReadValue(1, 100000, 1);
        else if (sWord == "ship")
        {
            m_oLevel.m_oShip = ReadPoint({0, 0}, {WORLD_WIDTH, WORLD_HEIGHT});
            Expect(WORD_MOVING, "moving");
            m_oLevel.m_oSpeed = ReadPoint({-50, -50}, {50, 50});
        }
        else if (sWord == "ground")
        {
            auto& aGround = m_oLevel.m_aGround;
            const std::int32_t nLeft = aGround.empty() ? 0 : aGround.back().m_nX + 1;
            if (nLeft > WORLD_WIDTH || aGround.size() == MOST_POINTS)
                throw std::runtime_error("the ground has ended before");
            aGround.push_back(ReadPoint({nLeft, 0}, {WORLD_WIDTH, WORLD_HEIGHT}));
        }
        else // the pad
        {
            m_oLevel.m_nPadFrom = ReadNumber(0, WORLD_WIDTH - SHORTEST_PAD);
            Expect(CLexAnalyzer::TOKEN_RANGE, "..");
            m_oLevel.m_nPadTo = ReadNumber(m_oLevel.m_nPadFrom + SHORTEST_PAD, WORLD_WIDTH);
            Expect(WORD_BONUS, "bonus");
            m_oLevel.m_nBonus = ReadNumber(0, 9);
        }
        Next();
        if (!IsLineEnd())
            throw std::runtime_error("the line should end here");
    }

    void Expect(int nToken, const char* pText)
    {
        if (Next() != nToken)
            throw std::runtime_error(std::string(pText) + " is missing");
    }

    std::int32_t ReadNumber(std::int32_t nLeast, std::int32_t nMost, std::int32_t nScale = 1)
    {
        const bool bNegative = Next() == '-';
        const std::size_t nPlace = m_nPlace;
        if (bNegative)
            Next();
        if (m_nToken != CLexAnalyzer::TOKEN_INTEGER && m_nToken != CLexAnalyzer::TOKEN_FLOAT)
            throw std::runtime_error("a number is missing");
        const double dValue = bNegative ? -m_oTokens.GetNumValue() : m_oTokens.GetNumValue();
        if (dValue >= nLeast && dValue <= nMost)
            return static_cast<std::int32_t>(std::lround(dValue * nScale));
        m_nPlace = nPlace;
        throw std::runtime_error("the number should be from " + std::to_string(nLeast) + " to " +
                                 std::to_string(nMost));
    }

    std::int32_t ReadValue(std::int32_t nLeast, std::int32_t nMost, std::int32_t nScale)
    {
        Expect(CLexAnalyzer::TOKEN_ASSIGN, ":=");
        return ReadNumber(nLeast, nMost, nScale);
    }

    sLevel::sPoint ReadPoint(sLevel::sPoint oLeast, sLevel::sPoint oMost)
    {
        sLevel::sPoint oPoint;
        oPoint.m_nX = ReadNumber(oLeast.m_nX, oMost.m_nX);
        Expect(',', ",");
        oPoint.m_nY = ReadNumber(oLeast.m_nY, oMost.m_nY);
        return oPoint;
    }

    // What only the whole level shows is told at its end.
    void CheckWhole()
    {
        const auto& aGround = m_oLevel.m_aGround;
        if (m_oLevel.m_sName.empty())
            Tell("the level has no name");
        else if (aGround.size() < 2 || aGround.front().m_nX != 0 || aGround.back().m_nX != WORLD_WIDTH)
            Tell("the ground should go from 0 to " + std::to_string(WORLD_WIDTH));
        else if (m_oLevel.m_nPadTo == 0 || m_oLevel.m_nFuel == 0)
            Tell("pad and fuel are needed");
        else if (m_oLevel.m_oShip.m_nY * METRE <= m_oLevel.GetGround(m_oLevel.m_oShip.m_nX * METRE))
            Tell("the ship is below the ground");
    }

    std::string m_sFile, m_sText;
    CLexAnalyzer m_oTokens;
    std::vector<std::string>& m_aErrors;
    sLevel m_oLevel;
    int m_nToken = CLexAnalyzer::TOKEN_END_OF_LINE;
    std::size_t m_nPlace = 0; // of the token in the text
};
