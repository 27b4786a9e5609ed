#pragma once

// Shows: nothing of the library; the picture is the game's own. Cells of a character and a colour are drawn anew each
// frame, and only what has changed goes to the terminal, in one piece: so nothing flickers.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

/// Colours of a cell, as the escape sequences number them; 90 and more are the bright ones.
enum eColour : unsigned char
{
    colourGround = 33,
    colourText = 37,
    colourDim = 90,
    colourBad = 91,
    colourGood = 92,
    colourFire = 93,
    colourGhost = 94,
    colourConsole = 96,
    colourBright = 97
};

class CScreen
{
public:
    /// Takes a size; all that was shown counts as lost when it is another one, or when bAnew says so.
    void SetSize(int nWidth, int nHeight, bool bAnew)
    {
        nWidth = std::clamp(nWidth, 1, LARGEST);
        nHeight = std::clamp(nHeight, 1, LARGEST);
        if (nWidth == m_nWidth && nHeight == m_nHeight && !bAnew)
            return;
        m_nWidth = nWidth;
        m_nHeight = nHeight;
        m_aCells.assign(static_cast<std::size_t>(nWidth * nHeight), MakeCell(' ', colourText));
        m_aShown.assign(m_aCells.size(), 0);
        m_nColour = 0;
    }

    int GetWidth() const { return m_nWidth; }

    int GetHeight() const { return m_nHeight; }

    void Clear() { std::fill(m_aCells.begin(), m_aCells.end(), MakeCell(' ', colourText)); }

    /// Sets one cell; places outside are left out, here as everywhere.
    void Put(int nX, int nY, char cText, eColour nColour)
    {
        if (nX >= 0 && nX < m_nWidth && nY >= 0 && nY < m_nHeight)
            m_aCells[static_cast<std::size_t>(nY * m_nWidth + nX)] = MakeCell(cText, nColour);
    }

    /// Writes a text; line feeds begin again below its first character.
    void Write(int nX, int nY, std::string_view sText, eColour nColour)
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

    void WriteCentred(int nY, std::string_view sText, eColour nColour)
    {
        Write(std::max(0, (m_nWidth - static_cast<int>(sText.size())) / 2), nY, sText, nColour);
    }

    void Fill(int nX, int nY, int nWidth, int nHeight)
    {
        for (int i = 0; i < nWidth * nHeight; ++i)
            Put(nX + i % nWidth, nY + i / nWidth, ' ', colourText);
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
                    Append('H', nRow / nWidth + 1, i - nRow + 1);
                if (m_aCells[i] >> 8 != m_nColour)
                    Append('m', m_nColour = m_aCells[i] >> 8, 0);
                m_sOutput += static_cast<char>(m_aCells[i] & 0xFF);
                m_aShown[i] = m_aCells[i];
                nCursor = i + 1;
            }
        }
        return m_sOutput;
    }

private:
    using Cell = std::uint16_t;

    static constexpr int LARGEST = 1000; // cells of a side; no terminal has more

    static Cell MakeCell(char cText, eColour nColour)
    {
        // what is no plain character would command the terminal
        return static_cast<Cell>(nColour << 8 | static_cast<unsigned char>(cText >= ' ' && cText <= '~' ? cText : '?'));
    }

    void Append(char cCommand, std::size_t nFirst, std::size_t nSecond)
    {
        m_sOutput += "\x1b[" + std::to_string(nFirst);
        if (nSecond != 0)
            m_sOutput += ';' + std::to_string(nSecond);
        m_sOutput += cCommand;
    }

    int m_nWidth = 0, m_nHeight = 0;
    std::vector<Cell> m_aCells, m_aShown; // 0 where it is not known
    std::string m_sOutput;
    std::size_t m_nColour = 0;
};
