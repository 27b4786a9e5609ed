#pragma once

// Shows: formatted strings and texts by number (Common/String/VQString.h).
// Why: what the player sees of the game, in cells of whatever size the terminal has; the world is scaled to it.

#include "Game.h"
#include "Ghost.h"
#include "Screen.h"
#include "Texts.h"

/// Draws the game.
class CPicture
{
public:
    CPicture(CScreen& oScreen, const std::vector<std::string>& aShip) : m_oScreen(oScreen), m_aShip(aShip) {}

    void DrawGround(const sLevel& oLevel)
    {
        constexpr char EARTH[] = "#%:.";
        const int nWidth = m_oScreen.GetWidth();
        const int nHeight = m_oScreen.GetHeight();
        m_oScreen.Clear();
        for (int i = 0; i < nWidth * nHeight / 60; ++i) // stars
            m_oScreen.Put(i * 7919 % nWidth, i * 104729 % nHeight, i % 5 == 0 ? '+' : '.', colourDim);
        for (int nColumn = 0; nColumn < nWidth; ++nColumn)
        {
            const std::int64_t nX = std::int64_t{WORLD_WIDTH} * METRE * nColumn / std::max(1, nWidth - 1);
            const bool bPad = nX >= oLevel.m_nPadFrom * METRE && nX <= oLevel.m_nPadTo * METRE;
            const int nTop = GetRow(oLevel.GetGround(static_cast<std::int32_t>(nX)));
            m_oScreen.Put(nColumn, nTop, bPad ? '=' : EARTH[0], bPad ? colourGood : colourGround);
            for (int nRow = nTop + 1; nRow < nHeight - 1; ++nRow)
                m_oScreen.Put(nColumn, nRow, EARTH[std::min(nRow - nTop, 3)], colourGround);
        }
    }

    void DrawShip(const CGhost::sShip& oShip, std::int32_t nThrottle, eColour nColour)
    {
        const int nColumn = static_cast<int>(std::int64_t{oShip.m_nX} * (m_oScreen.GetWidth() - 1) /
                                             (std::int64_t{WORLD_WIDTH} * METRE));
        const int nRow = GetRow(oShip.m_nY) - 1;
        if (m_oScreen.GetWidth() < LEAST_WIDTH)
            return m_oScreen.Put(nColumn, nRow, 'A', nColour);

        const std::size_t nLines = m_aShip.size() / 3;
        const std::size_t nFirst = oShip.m_nTilt < 0 ? 0 : oShip.m_nTilt == 0 ? nLines : 2 * nLines;
        for (std::size_t nLine = 0; nLine < nLines; ++nLine)
        {
            const std::string& sLine = m_aShip[nFirst + nLine];
            for (std::size_t i = 0; i < sLine.size(); ++i)
            {
                if (sLine[i] > ' ')
                    m_oScreen.Put(nColumn - 2 + static_cast<int>(i), nRow - static_cast<int>(nLines - 1 - nLine),
                                  sLine[i], nColour);
            }
        }
        for (int i = 0; i < nThrottle; ++i)
            m_oScreen.Put(nColumn - oShip.m_nTilt * (i + 1) / 2, nRow + 1 + i, i % 2 == 0 ? '*' : '\'', colourFire);
    }

    void DrawTexts(const CGame& oGame, double dFramesPerSecond, bool bPaused, const std::string& sMessage)
    {
        const sFlight& o = oGame.GetFlight();
        const auto Speed = [](std::int32_t nSpeed) { return static_cast<double>(nSpeed) * TICKS_A_SECOND / METRE; };
        const CVQString oStatus(
            sctFormat, "%s  %s %d  %s %+.1f %+.1f  %s %d  %s %d  %.0f/s", oGame.GetLevel().m_sName.c_str(),
            Text(textAltitude).c_str(), static_cast<int>((o.m_nY - oGame.GetLevel().GetGround(o.m_nX)) / METRE),
            Text(textSpeed).c_str(), Speed(o.m_nSpeedX), Speed(o.m_nSpeedY), Text(textFuel).c_str(),
            static_cast<int>(o.m_nFuel), Text(textScore).c_str(), static_cast<int>(o.m_nScore), dFramesPerSecond);
        m_oScreen.Write(0, 0, ~oStatus, colourText);
        m_oScreen.Write(0, m_oScreen.GetHeight() - 1, Text(textKeys), colourDim);

        const int nMiddle = m_oScreen.GetHeight() / 3;
        const bool bLanded = o.m_nState == flightLanded;
        if (o.m_nState != flightFlying)
        {
            m_oScreen.WriteCentred(nMiddle, Text(bLanded ? textLanded : textCrashed), bLanded ? colourGood : colourBad);
            m_oScreen.WriteCentred(nMiddle + 1, Text(textContinue), colourText);
        }
        if (bPaused)
            m_oScreen.WriteCentred(nMiddle - 1, Text(textPaused), colourBright);
        m_oScreen.WriteCentred(std::max(1, m_oScreen.GetHeight() - 2), sMessage, colourBright);
    }

    void DrawLoading(float fProgress, const std::string& sName)
    {
        const int nRow = m_oScreen.GetHeight() / 2;
        const auto nBar = static_cast<std::size_t>(fProgress * static_cast<float>(m_oScreen.GetWidth() - 1));
        m_oScreen.Clear();
        m_oScreen.WriteCentred(nRow - 1, Text(textLoading) + ": " + sName, colourText);
        m_oScreen.Write(0, nRow, std::string(nBar, '#'), colourGood);
    }

    void DrawBox(const char* pCaption, const char* pText, eText nAnswers)
    {
        const std::string sText(pText);
        const int nHeight = 5 + static_cast<int>(std::count(sText.begin(), sText.end(), '\n'));
        const int nTop = std::max(0, (m_oScreen.GetHeight() - nHeight) / 2);
        m_oScreen.Fill(0, nTop, m_oScreen.GetWidth(), nHeight);
        m_oScreen.WriteCentred(nTop + 1, pCaption, colourBright);
        m_oScreen.Write(1, nTop + 2, sText, colourBad);
        m_oScreen.WriteCentred(std::min(nTop + nHeight - 1, m_oScreen.GetHeight() - 1), Text(nAnswers), colourText);
    }

private:
    static constexpr int LEAST_WIDTH = 60; // narrower ones have no room for the pictures of the ship

    int GetRow(std::int32_t nY) const
    {
        const int nLowest = m_oScreen.GetHeight() - 2;
        return nLowest - static_cast<int>(std::int64_t{nY} * (nLowest - 1) / (std::int64_t{WORLD_HEIGHT} * METRE));
    }

    CScreen& m_oScreen;
    const std::vector<std::string>& m_aShip;
};
