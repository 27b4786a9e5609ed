#include "GraphPicture.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace
{
constexpr std::size_t PICTURE_WIDTH = PLOT_LEFT + PLOT_WIDTH + 40;
constexpr std::size_t PICTURE_HEIGHT = PLOT_TOP + PLOT_HEIGHT + 60;
constexpr std::size_t TICK = 6;
constexpr std::size_t COLUMNS_PER_PIXEL = GRAPH_WIDTH / PLOT_WIDTH;
constexpr std::size_t PIXELS_PER_ROW = PLOT_HEIGHT / GRAPH_HEIGHT;
constexpr int PARTS = 4; // of each axis

constexpr CPicture::Colour WHITE = {255, 255, 255};
constexpr CPicture::Colour INK = {30, 30, 30};
constexpr CPicture::Colour GRID = {215, 215, 215};

// Letters of 5 columns and 7 rows; the lowest bit of a column is its top.
struct sLetter
{
    char cLetter;
    std::array<std::uint8_t, 5> aColumns;
};

constexpr std::size_t LETTER_COLUMNS = 5;
constexpr std::size_t LETTER_ROWS = 7;
constexpr std::size_t LETTER_SCALE = 2;

constexpr sLetter LETTERS[] = {
    {'%', {0x23, 0x13, 0x08, 0x64, 0x62}}, {'(', {0x00, 0x1C, 0x22, 0x41, 0x00}}, {')', {0x00, 0x41, 0x22, 0x1C, 0x00}},
    {',', {0x00, 0x50, 0x30, 0x00, 0x00}}, {'-', {0x08, 0x08, 0x08, 0x08, 0x08}}, {'.', {0x00, 0x60, 0x60, 0x00, 0x00}},
    {'0', {0x3E, 0x51, 0x49, 0x45, 0x3E}}, {'1', {0x00, 0x42, 0x7F, 0x40, 0x00}}, {'2', {0x42, 0x61, 0x51, 0x49, 0x46}},
    {'3', {0x21, 0x41, 0x45, 0x4B, 0x31}}, {'4', {0x18, 0x14, 0x12, 0x7F, 0x10}}, {'5', {0x27, 0x45, 0x45, 0x45, 0x39}},
    {'6', {0x3C, 0x4A, 0x49, 0x49, 0x30}}, {'7', {0x01, 0x71, 0x09, 0x05, 0x03}}, {'8', {0x36, 0x49, 0x49, 0x49, 0x36}},
    {'9', {0x06, 0x49, 0x49, 0x29, 0x1E}}, {'a', {0x20, 0x54, 0x54, 0x54, 0x78}}, {'b', {0x7F, 0x48, 0x44, 0x44, 0x38}},
    {'c', {0x38, 0x44, 0x44, 0x44, 0x20}}, {'d', {0x38, 0x44, 0x44, 0x48, 0x7F}}, {'e', {0x38, 0x54, 0x54, 0x54, 0x18}},
    {'f', {0x08, 0x7E, 0x09, 0x01, 0x02}}, {'g', {0x0C, 0x52, 0x52, 0x52, 0x3E}}, {'h', {0x7F, 0x08, 0x04, 0x04, 0x78}},
    {'i', {0x00, 0x44, 0x7D, 0x40, 0x00}}, {'k', {0x7F, 0x10, 0x28, 0x44, 0x00}}, {'l', {0x00, 0x41, 0x7F, 0x40, 0x00}},
    {'m', {0x7C, 0x04, 0x18, 0x04, 0x78}}, {'n', {0x7C, 0x08, 0x04, 0x04, 0x78}}, {'o', {0x38, 0x44, 0x44, 0x44, 0x38}},
    {'p', {0x7C, 0x14, 0x14, 0x14, 0x08}}, {'r', {0x7C, 0x08, 0x04, 0x04, 0x08}}, {'s', {0x48, 0x54, 0x54, 0x54, 0x20}},
    {'t', {0x04, 0x3F, 0x44, 0x40, 0x20}}, {'u', {0x3C, 0x40, 0x40, 0x20, 0x7C}}, {'v', {0x1C, 0x20, 0x40, 0x20, 0x1C}},
    {'w', {0x3C, 0x40, 0x30, 0x40, 0x3C}}, {'x', {0x44, 0x28, 0x10, 0x28, 0x44}}, {'y', {0x0C, 0x50, 0x50, 0x50, 0x3C}},
};

// A number with as many decimals as it takes to tell a quarter of it from the next.
std::string FormatTick(double dNumber, double dLargest)
{
    int nDecimals = 0;
    for (double dStep = dLargest / PARTS; dStep < 10.0 && nDecimals < 6; dStep *= 10.0)
        ++nDecimals;
    char aText[400];
    std::snprintf(aText, sizeof aText, "%.*f", nDecimals, dNumber);
    return aText;
}

void DrawAxes(CPicture& oPicture, double dLongest)
{
    constexpr std::size_t BOTTOM = PLOT_TOP + PLOT_HEIGHT;
    constexpr std::size_t WHOLE = 100;
    for (std::size_t i = 0; i <= PARTS; ++i)
    {
        const std::size_t nY = BOTTOM - i * PLOT_HEIGHT / PARTS;
        oPicture.Fill(PLOT_LEFT - TICK, nY, TICK, 1, INK);
        oPicture.Fill(PLOT_LEFT, nY, PLOT_WIDTH, 1, GRID);
        const std::string sTick = dLongest > 0.0 ? FormatTick(dLongest * static_cast<double>(i) / PARTS, dLongest)
                                                 : std::to_string(WHOLE * i / PARTS) + " %";
        const std::size_t nLength = sTick.size() * CPicture::LETTER_WIDTH;
        const std::size_t nRight = PLOT_LEFT - 2 * TICK;
        oPicture.Write(nRight > nLength ? nRight - nLength : 0, nY - CPicture::LETTER_HEIGHT / 2, sTick, INK);

        const std::size_t nX = PLOT_LEFT + i * PLOT_WIDTH / PARTS;
        oPicture.Fill(nX, BOTTOM, 1, TICK, INK);
        const std::string sPart = std::to_string(WHOLE * i / PARTS) + " %";
        oPicture.Write(nX - sPart.size() * CPicture::LETTER_WIDTH / 2, BOTTOM + 2 * TICK, sPart, INK);
    }
    oPicture.Fill(PLOT_LEFT - 1, PLOT_TOP, 1, PLOT_HEIGHT + 1, INK);
    oPicture.Fill(PLOT_LEFT - 1, BOTTOM, PLOT_WIDTH + 1, 1, INK);

    oPicture.Write(PLOT_LEFT, BOTTOM + 2 * TICK + 20, "calls, in the order in which they ended", INK);
}

void DrawLegend(CPicture& oPicture, double dLongest)
{
    constexpr std::size_t TOP = 16;
    std::size_t nX = PLOT_LEFT;
    for (const auto& [oColour, sText] : {std::pair<CPicture::Colour, std::string>(CALL_COLOUR, "a call"),
                                         std::pair<CPicture::Colour, std::string>(AVERAGE_COLOUR, "average")})
    {
        oPicture.Fill(nX, TOP, CPicture::LETTER_HEIGHT, CPicture::LETTER_HEIGHT, oColour);
        oPicture.Write(nX + 20, TOP, sText, INK);
        nX += 20 + (sText.size() + 2) * CPicture::LETTER_WIDTH;
    }
    oPicture.Write(nX, TOP, dLongest > 0.0 ? "(milliseconds)" : "(percent of the longest call)", INK);
}
} // namespace

CPicture::CPicture(std::size_t nWidth, std::size_t nHeight)
    : m_nWidth(nWidth), m_nHeight(nHeight), m_aBytes(nWidth * nHeight * WHITE.size(), WHITE[0])
{
}

CPicture::Colour CPicture::Get(std::size_t nX, std::size_t nY) const
{
    const unsigned char* pPixel = GetRow(nY) + nX * WHITE.size();
    return {pPixel[0], pPixel[1], pPixel[2]};
}

void CPicture::Set(std::size_t nX, std::size_t nY, const Colour& oColour)
{
    if (nX >= m_nWidth || nY >= m_nHeight)
        return;
    std::copy(oColour.begin(), oColour.end(),
              m_aBytes.begin() + static_cast<std::ptrdiff_t>((nY * m_nWidth + nX) * oColour.size()));
}

void CPicture::Fill(std::size_t nX, std::size_t nY, std::size_t nWidth, std::size_t nHeight, const Colour& oColour)
{
    for (std::size_t y = nY; y < nY + nHeight; ++y)
    {
        for (std::size_t x = nX; x < nX + nWidth; ++x)
            Set(x, y, oColour);
    }
}

void CPicture::Write(std::size_t nX, std::size_t nY, std::string_view sText, const Colour& oColour)
{
    for (const char cLetter : sText)
    {
        const auto* const pLetter =
            std::find_if(std::begin(LETTERS), std::end(LETTERS),
                         [cLetter](const sLetter& oLetter) { return oLetter.cLetter == cLetter; });
        for (std::size_t nColumn = 0; pLetter != std::end(LETTERS) && nColumn < LETTER_COLUMNS; ++nColumn)
        {
            for (std::size_t nRow = 0; nRow < LETTER_ROWS; ++nRow)
            {
                if ((pLetter->aColumns[nColumn] >> nRow & 1) != 0)
                    Fill(nX + nColumn * LETTER_SCALE, nY + nRow * LETTER_SCALE, LETTER_SCALE, LETTER_SCALE, oColour);
            }
        }
        nX += LETTER_WIDTH;
    }
}

CPicture DrawGraphPicture(std::string_view sGraph, double dLongest)
{
    if (sGraph.size() != GRAPH_SIZE)
        throw std::runtime_error("a graph has " + std::to_string(GRAPH_SIZE) + " bytes, and this has " +
                                 std::to_string(sGraph.size()));

    CPicture oPicture(PICTURE_WIDTH, PICTURE_HEIGHT);
    DrawAxes(oPicture, dLongest);
    DrawLegend(oPicture, dLongest);

    // Calls first, so that the average lies over them.
    constexpr std::string_view AVERAGE("\xFF\0\0", 3);
    constexpr std::string_view CALL("\0\0\xFF", 3);
    for (const auto& [sPixel, oColour] : {std::pair(CALL, CALL_COLOUR), std::pair(AVERAGE, AVERAGE_COLOUR)})
    {
        for (std::size_t nRow = 0; nRow < GRAPH_HEIGHT; ++nRow)
        {
            for (std::size_t nColumn = 0; nColumn < GRAPH_WIDTH; ++nColumn)
            {
                if (sGraph.substr((nRow * GRAPH_WIDTH + nColumn) * sPixel.size(), sPixel.size()) == sPixel)
                    oPicture.Fill(PLOT_LEFT + nColumn / COLUMNS_PER_PIXEL, PLOT_TOP + nRow * PIXELS_PER_ROW, 1,
                                  PIXELS_PER_ROW, oColour);
            }
        }
    }
    return oPicture;
}
