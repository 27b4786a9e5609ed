#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

/// A picture of coloured pixels, three bytes each: red, green, blue; rows from the top.
class CPicture
{
public:
    using Colour = std::array<unsigned char, 3>;

    /// A white picture.
    CPicture(std::size_t nWidth, std::size_t nHeight);

    std::size_t GetWidth() const { return m_nWidth; }

    std::size_t GetHeight() const { return m_nHeight; }

    Colour Get(std::size_t nX, std::size_t nY) const;
    void Set(std::size_t nX, std::size_t nY, const Colour& oColour);
    void Fill(std::size_t nX, std::size_t nY, std::size_t nWidth, std::size_t nHeight, const Colour& oColour);

    /// Writes a text; what has no letter here becomes a blank.
    ///
    /// @param nX  its left, nY its top
    void Write(std::size_t nX, std::size_t nY, std::string_view sText, const Colour& oColour);

    /// The bytes of a row.
    const unsigned char* GetRow(std::size_t nY) const { return m_aBytes.data() + nY * m_nWidth * 3; }

    /// Pixels of a letter with the gap behind it, and of a line.
    static constexpr std::size_t LETTER_WIDTH = 12;
    static constexpr std::size_t LETTER_HEIGHT = 14;

private:
    std::size_t m_nWidth;
    std::size_t m_nHeight;
    std::vector<unsigned char> m_aBytes;
};

/// Size of the profiler's raw graph.
constexpr std::size_t GRAPH_WIDTH = 17300;
constexpr std::size_t GRAPH_HEIGHT = 200;
constexpr std::size_t GRAPH_SIZE = GRAPH_WIDTH * GRAPH_HEIGHT * 3;

/// Where the plot stands in the picture, in pixels. A pixel of the plot holds the calls of 10 columns; a row of the
/// graph has 2 of the picture.
constexpr std::size_t PLOT_LEFT = 130;
constexpr std::size_t PLOT_TOP = 50;
constexpr std::size_t PLOT_WIDTH = GRAPH_WIDTH / 10;
constexpr std::size_t PLOT_HEIGHT = GRAPH_HEIGHT * 2;

constexpr CPicture::Colour CALL_COLOUR = {31, 90, 180};
constexpr CPicture::Colour AVERAGE_COLOUR = {220, 40, 30};

/// Makes a picture with axes of the profiler's raw graph.
///
/// @param sGraph            its bytes, GRAPH_SIZE of them
/// @param dLongest          milliseconds of the longest call, for the axis; 0 when nobody knows, it then has percents
/// @throws std::runtime_error  when the size is another one
CPicture DrawGraphPicture(std::string_view sGraph, double dLongest);
