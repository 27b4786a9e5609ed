#pragma once

// Shows: formatted strings (Common/String/VQString.h); the picture itself is the game's own.
// Why: cells of a character and a colour are drawn anew each frame, and only what has changed goes to the terminal, in
// one piece: so nothing flickers. The world is scaled to whatever size the terminal has.

#include "Game.h"

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
        nWidth = std::clamp(nWidth, 1, 1000); // no terminal has more
        nHeight = std::clamp(nHeight, 1, 1000);
        if (nWidth == m_nWidth && nHeight == m_nHeight)
            return;
        m_nWidth = nWidth;
        m_nHeight = nHeight;
        m_aCells.assign(static_cast<unsigned>(nWidth * nHeight), MakeCell(' ', COLOUR_TEXT));
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
    ///
    /// @param bBlanks  whether blanks cover what is below them
    void Write(int nX, int nY, std::string_view sText, Colour nColour, bool bBlanks = true)
    {
        for (int nColumn = nX; const char cText : sText)
        {
            if (cText != '\n' && (cText != ' ' || bBlanks))
                Put(nColumn, nY, cText, nColour);
            nColumn = cText != '\n' ? nColumn + 1 : nX;
            nY += cText != '\n' ? 0 : 1;
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

    static Cell MakeCell(char cText, Colour nColour)
    {
        // what is no plain character would command the terminal
        return static_cast<Cell>(nColour << 8 | static_cast<unsigned char>(cText >= ' ' && cText <= '~' ? cText : '?'));
    }

    std::size_t At(int nX, int nY) const { return static_cast<unsigned>(nY * m_nWidth + nX); }

    std::vector<Cell> m_aCells, m_aShown; // 0 where it is not known
    std::string m_sOutput;
    int m_nColour = 0;
};

/// The picture of the game.
class CScene : public CScreen
{
public:
    /// @param aShips  three pictures: tilted left, upright, tilted right
    explicit CScene(const std::vector<std::string>& aShips) : m_aShips(aShips) {}

    void DrawGround(const sLevel& oLevel)
    {
        constexpr char EARTH[] = "#%:.";
        Clear();
        std::uint32_t nStar = 1969;
        for (int i = 0; i < m_nWidth * m_nHeight / 60; ++i)
        {
            nStar = NextRandom(nStar);
            Put(static_cast<int>(nStar & 0xFFFF) * m_nWidth >> 16, static_cast<int>(nStar >> 16) * m_nHeight >> 16,
                i % 5 == 0 ? '+' : '.', COLOUR_DIM);
        }
        for (int nColumn = 0; nColumn < m_nWidth; ++nColumn)
        {
            const auto nX = static_cast<std::int32_t>(std::int64_t{WORLD_RIGHT} * nColumn / std::max(1, m_nWidth - 1));
            const bool bPad = nX >= oLevel.m_nPadFrom * METRE && nX <= oLevel.m_nPadTo * METRE;
            const int nTop = GetRow(oLevel.GetGround(nX));
            Put(nColumn, nTop, bPad ? '=' : EARTH[0], bPad ? COLOUR_GOOD : COLOUR_GROUND);
            for (int nRow = nTop + 1; nRow < m_nHeight - 1; ++nRow)
                Put(nColumn, nRow, EARTH[std::min(nRow - nTop, 3)], COLOUR_GROUND);
        }
    }

    void DrawShip(const sFlight& o, Colour nColour)
    {
        const auto nColumn = static_cast<int>(std::int64_t{o.m_nX} * (m_nWidth - 1) / WORLD_RIGHT);
        const int nRow = GetRow(o.m_nY);
        const std::string& sShip = m_aShips[o.m_nTilt < 0 ? 0 : o.m_nTilt == 0 ? 1 : 2];
        const auto nHeight = static_cast<int>(std::count(sShip.begin(), sShip.end(), '\n')) + 1;
        Write(nColumn - 2, nRow - nHeight, sShip, nColour, false);
        for (int i = 0; i < o.m_nThrottle; ++i)
            Put(nColumn - o.m_nTilt * (i + 1) / 2, nRow + i, i % 2 == 0 ? '*' : '\'', COLOUR_FIRE);
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

        const bool bLanded = o.m_nState == FLIGHT_LANDED;
        const std::string sEnd = Text(bLanded ? TEXT_LANDED : TEXT_CRASHED) + "  " + Text(TEXT_CONTINUE);
        if (o.m_nState != FLIGHT_FLYING)
            WriteCentred(m_nHeight / 3, sEnd, bLanded ? COLOUR_GOOD : COLOUR_BAD);
        if (bPaused)
            WriteCentred(m_nHeight / 3 - 1, Text(TEXT_PAUSED), COLOUR_BRIGHT);
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

    void DrawBox(const std::string& sCaption, std::string sText, long nAnswers)
    {
        Clear();
        std::erase(sText, '\r');
        WriteCentred(1, sCaption, COLOUR_BRIGHT);
        Write(1, 2, sText, COLOUR_BAD);
        WriteCentred(m_nHeight - 1, Text(nAnswers), COLOUR_BRIGHT);
    }

private:
    int GetRow(std::int64_t nY) const { return m_nHeight - 2 - static_cast<int>(nY * (m_nHeight - 3) / WORLD_TOP); }

    const std::vector<std::string>& m_aShips;
};
