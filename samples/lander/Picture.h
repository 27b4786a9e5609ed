#pragma once

// Shows: formatted strings (Common/String/VQString.h); the picture itself is the game's own.
// Why: cells of a character and a colour are drawn anew each frame, and only what has changed goes to the terminal, in
// one piece: so nothing flickers. The world is scaled to whatever size the terminal has.

#include "Game.h"

#include <cstring>
#include <string_view>

/// Colours of a cell, as the escape sequences number them; 90 and more are the bright ones.
using Colour = unsigned char;
constexpr Colour COLOUR_GROUND = 33, COLOUR_TEXT = 37, COLOUR_DIM = 90, COLOUR_BAD = 91, COLOUR_GOOD = 92,
                 COLOUR_FIRE = 93, COLOUR_GHOST = 94, COLOUR_CONSOLE = 96, COLOUR_BRIGHT = 97;

/// Cells that can be drawn on, and sent to a terminal.
class CScreen
{
public:
    /// Takes a size; when it is another one the cells are blank, and all that was shown counts as lost.
    void SetSize(int nWidth, int nHeight)
    {
        nWidth = std::clamp(nWidth, 1, LARGEST);
        nHeight = std::clamp(nHeight, 1, LARGEST);
        if (nWidth == m_nWidth && nHeight == m_nHeight)
            return;
        m_nWidth = nWidth;
        m_nHeight = nHeight;
        m_aCells.resize(static_cast<std::size_t>(nWidth * nHeight));
        Clear();
        Forget();
    }

    /// Sends all of the picture the next time: something else has written over it.
    void Forget()
    {
        m_aShown.assign(m_aCells.size(), 0);
        m_nColour = 0;
    }

    void Clear() { std::fill(m_aCells.begin(), m_aCells.end(), MakeCell(' ', COLOUR_TEXT)); }

    /// Sets one cell; places outside are left out, here as everywhere.
    void Put(int nX, int nY, char cText, Colour nColour)
    {
        if (nX >= 0 && nX < m_nWidth && nY >= 0 && nY < m_nHeight)
            m_aCells[At(nX, nY)] = MakeCell(cText, nColour);
    }

    /// Writes a text; line feeds begin again below its first character.
    void Write(int nX, int nY, std::string_view sText, Colour nColour)
    {
        int nColumn = nX;
        for (const char cText : sText)
        {
            if (cText != '\n')
                Put(nColumn++, nY, cText, nColour);
            else
                nColumn = nX, ++nY;
        }
    }

    void WriteCentred(int nY, std::string_view sText, Colour nColour)
    {
        Write(std::max(0, (m_nWidth - static_cast<int>(sText.size())) / 2), nY, sText, nColour);
    }

    /// Lays another picture over this one, from the left edge on.
    void Overlay(int nY, const CScreen& oOther)
    {
        for (int nRow = 0; nRow < oOther.m_nHeight && nY + nRow < m_nHeight; ++nRow)
            std::copy_n(&oOther.m_aCells[oOther.At(0, nRow)], std::min(m_nWidth, oOther.m_nWidth),
                        &m_aCells[At(0, nY + nRow)]);
    }

    /// The escape sequences that turn what is shown into the picture; valid until the next call.
    std::string_view Present()
    {
        m_sOutput.clear();
        const auto nWidth = static_cast<std::size_t>(m_nWidth);
        for (std::size_t nRow = 0; nRow < m_aCells.size(); nRow += nWidth)
        {
            if (std::memcmp(&m_aCells[nRow], &m_aShown[nRow], nWidth * sizeof(Cell)) == 0)
                continue;
            std::size_t nCursor = m_aCells.size(); // where the next character would come
            for (std::size_t i = nRow; i < nRow + nWidth; ++i)
            {
                if (m_aCells[i] == m_aShown[i])
                    continue;
                if (nCursor != i)
                    m_sOutput += "\x1b[" + std::to_string(nRow / nWidth + 1) + ';' + std::to_string(i - nRow + 1) + 'H';
                if (m_aCells[i] >> 8 != m_nColour)
                    m_sOutput += "\x1b[" + std::to_string(m_nColour = m_aCells[i] >> 8) + 'm';
                m_sOutput += static_cast<char>(m_aCells[i] & 0xFF);
                m_aShown[i] = m_aCells[i];
                nCursor = i + 1;
            }
        }
        return m_sOutput;
    }

protected:
    int m_nWidth = 0, m_nHeight = 0;

private:
    using Cell = std::uint16_t;

    static constexpr int LARGEST = 1000; // cells of a side; no terminal has more

    static Cell MakeCell(char cText, Colour nColour)
    {
        // what is no plain character would command the terminal
        return static_cast<Cell>(nColour << 8 | static_cast<unsigned char>(cText >= ' ' && cText <= '~' ? cText : '?'));
    }

    std::size_t At(int nX, int nY) const { return static_cast<std::size_t>(nY * m_nWidth + nX); }

    std::vector<Cell> m_aCells, m_aShown; // 0 where it is not known
    std::string m_sOutput;
    int m_nColour = 0;
};

/// The picture of the game.
class CScene : public CScreen
{
public:
    /// @param aShip  the lines of three pictures: tilted left, upright, tilted right
    explicit CScene(const std::vector<std::string>& aShip) : m_aShip(aShip) {}

    void DrawGround(const sLevel& oLevel)
    {
        constexpr char EARTH[] = "#%:.";
        Clear();
        std::uint32_t nStar = STARS;
        for (int i = 0; i < m_nWidth * m_nHeight / 60; ++i)
        {
            nStar = NextRandom(nStar);
            Put(static_cast<int>(nStar & 0xFFFF) * m_nWidth >> 16, static_cast<int>(nStar >> 16) * m_nHeight >> 16,
                i % 5 == 0 ? '+' : '.', COLOUR_DIM);
        }
        for (int nColumn = 0; nColumn < m_nWidth; ++nColumn)
        {
            const std::int64_t nX = std::int64_t{WORLD_WIDTH} * METRE * nColumn / std::max(1, m_nWidth - 1);
            const bool bPad = nX >= oLevel.m_nPadFrom * METRE && nX <= oLevel.m_nPadTo * METRE;
            const int nTop = GetRow(oLevel.GetGround(static_cast<std::int32_t>(nX)));
            Put(nColumn, nTop, bPad ? '=' : EARTH[0], bPad ? COLOUR_GOOD : COLOUR_GROUND);
            for (int nRow = nTop + 1; nRow < m_nHeight - 1; ++nRow)
                Put(nColumn, nRow, EARTH[std::min(nRow - nTop, 3)], COLOUR_GROUND);
        }
    }

    void DrawShip(const sFlight& o, Colour nColour)
    {
        const auto nColumn =
            static_cast<int>(std::int64_t{o.m_nX} * (m_nWidth - 1) / (std::int64_t{WORLD_WIDTH} * METRE));
        const int nRow = GetRow(o.m_nY) - 1;
        const std::size_t nLines = m_aShip.size() / 3;
        const std::size_t nFirst = o.m_nTilt < 0 ? 0 : o.m_nTilt == 0 ? nLines : 2 * nLines;
        for (std::size_t nLine = 0; nLine < nLines; ++nLine)
        {
            const std::string& sLine = m_aShip[nFirst + nLine];
            for (std::size_t i = sLine.find_first_not_of(' '); i < sLine.size();
                 i = sLine.find_first_not_of(' ', i + 1))
                Put(nColumn - 2 + static_cast<int>(i), nRow - static_cast<int>(nLines - 1 - nLine), sLine[i], nColour);
        }
        for (int i = 0; i < o.m_nThrottle; ++i)
            Put(nColumn - o.m_nTilt * (i + 1) / 2, nRow + 1 + i, i % 2 == 0 ? '*' : '\'', COLOUR_FIRE);
    }

    void DrawTexts(const CGame& oGame, double dFramesPerSecond, bool bPaused, const std::string& sMessage)
    {
        const sFlight& o = oGame.GetFlight();
        const auto Speed = [](std::int32_t nSpeed) { return static_cast<double>(nSpeed) * TICKS_A_SECOND / METRE; };
        const CVQString oStatus(
            sctFormat, "%s  %s %d  %s %+.1f %+.1f  %s %d  %s %d  %.0f/s", oGame.GetLevel().m_sName.c_str(),
            Text(TEXT_ALTITUDE).c_str(), static_cast<int>((o.m_nY - oGame.GetLevel().GetGround(o.m_nX)) / METRE),
            Text(TEXT_SPEED).c_str(), Speed(o.m_nSpeedX), Speed(o.m_nSpeedY), Text(TEXT_FUEL).c_str(),
            static_cast<int>(o.m_nFuel), Text(TEXT_SCORE).c_str(), static_cast<int>(o.m_nScore), dFramesPerSecond);
        Write(0, 0, ~oStatus, COLOUR_TEXT);
        Write(0, m_nHeight - 1, Text(TEXT_KEYS), COLOUR_DIM);

        const int nMiddle = m_nHeight / 3;
        const bool bLanded = o.m_nState == FLIGHT_LANDED;
        if (o.m_nState != FLIGHT_FLYING)
        {
            WriteCentred(nMiddle, Text(bLanded ? TEXT_LANDED : TEXT_CRASHED), bLanded ? COLOUR_GOOD : COLOUR_BAD);
            WriteCentred(nMiddle + 1, Text(TEXT_CONTINUE), COLOUR_TEXT);
        }
        if (bPaused)
            WriteCentred(nMiddle - 1, Text(TEXT_PAUSED), COLOUR_BRIGHT);
        WriteCentred(std::max(1, m_nHeight - 2), sMessage, COLOUR_BRIGHT);
    }

    /// @param fProgress  0 to 1
    void DrawLoading(float fProgress)
    {
        Clear();
        WriteCentred(m_nHeight / 2 - 1, Text(TEXT_LOADING), COLOUR_TEXT);
        Write(0, m_nHeight / 2,
              std::string(static_cast<std::size_t>(fProgress * static_cast<float>(m_nWidth - 1)), '#'), COLOUR_GOOD);
    }

    void DrawBox(const std::string& sCaption, const std::string& sText, long nAnswers)
    {
        CScreen oBox;
        const int nHeight = std::min(5 + static_cast<int>(std::count(sText.begin(), sText.end(), '\n')), m_nHeight);
        oBox.SetSize(m_nWidth, nHeight);
        oBox.WriteCentred(1, sCaption, COLOUR_BRIGHT);
        oBox.Write(1, 2, sText, COLOUR_BAD);
        oBox.WriteCentred(nHeight - 1, Text(nAnswers), COLOUR_TEXT);
        Overlay((m_nHeight - nHeight) / 2, oBox);
    }

private:
    static constexpr std::uint32_t STARS = 1969;

    int GetRow(std::int32_t nY) const
    {
        const int nLowest = m_nHeight - 2;
        return nLowest - static_cast<int>(std::int64_t{nY} * (nLowest - 1) / (std::int64_t{WORLD_HEIGHT} * METRE));
    }

    const std::vector<std::string>& m_aShip;
};
