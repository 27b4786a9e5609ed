// What a person looks at: the report of a session and the graph of a region.

#include <Common/File/FileIO.h>
#include <Common/Platform/PlatformDirectory.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/Profile/VQProfiler.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr std::string_view DOCUMENT_HEAD = "<html>\r\n<title>\r\nVQProfiler Log\r\n</title>\r\n<body>\r\n";
constexpr std::string_view TITLE =
    "<span style=\"font-family: terminal;\"></span><font style=\"font-weight: bold;\" size=\"+4\"><span "
    "style=\"font-family: times new roman;\"><font size=\"+3\"> VQProfiler Log</font><br></span></font><span "
    "style=\"font-weight: bold;\"><br>";

// The missing blank before the cell spacing is kept.
constexpr std::string_view TABLE_HEAD =
    "<table style=\"text-align: left; width: 840px; height: 52px;\" border=\"1\"cellspacing=\"2\" "
    "cellpadding=\"2\"><tbody>";
constexpr std::string_view HEADER_CELL_BEGIN =
    "<td style=\"font-weight: bold;color: rgb(51, 51, 255);\"><font size=\"+1\">";
constexpr std::string_view HEADER_CELL_END = "<br></font></td>";
constexpr std::array<std::string_view, 5> HEADER_CELLS = {"Percentage", "Avg time", "Total time", "Samples", "Name"};

constexpr std::string_view ROW_BEGIN =
    "<tr><td style=\"color: rgb(204, 0, 0); font-weight: bold; text-align: center;\">";

constexpr double MEGAHERTZ_PER_HERTZ = 0.000001;
constexpr float MEGABYTES_PER_BYTE = 9.536743e-7F;

constexpr int DIRECTORY_SIZE = 1024;

constexpr const char* GRAPH_NAME = "Graph.raw";
constexpr std::size_t GRAPH_WIDTH = 17300;
constexpr std::size_t GRAPH_HEIGHT = 200;
constexpr std::size_t PIXEL_SIZE = 3;
constexpr std::array<unsigned char, PIXEL_SIZE> POINT = {0, 0, 255};
constexpr std::array<unsigned char, PIXEL_SIZE> AVERAGE = {255, 0, 0};

// A number as "%.*f" writes it in the "C" locale, whatever the program's locale is.
std::string Fixed(double dNumber, int nDecimals)
{
    std::array<char, 400> aText;
    const auto [pEnd, nError] =
        std::to_chars(aText.data(), aText.data() + aText.size(), dNumber, std::chars_format::fixed, nDecimals);
    return std::string(aText.data(), pEnd);
}

std::string_view OrEmpty(const char* pText)
{
    return pText != nullptr ? pText : "";
}

std::string MakeRow(const sVQProfileAnalysedSample& oSample)
{
    std::string sRow(ROW_BEGIN);
    sRow += Fixed(oSample.m_fPercentage, 2) + " %<br></td><td>";
    sRow += Fixed(oSample.m_dAverageTime, 4) + " ms<br></td><td>";
    sRow += Fixed(oSample.m_dTotalTime, 4) + " ms<br></td><td>";
    sRow += std::to_string(oSample.m_nSamples) + "<br></td><td><span style=\"font-weight: bold;\">";
    sRow += OrEmpty(oSample.m_aName);
    sRow += "</span><br></td></tr>";
    return sRow;
}

// Whether the text was written and has reached the system.
bool WriteFile(const char* pName, const void* pBytes, std::size_t nSize)
{
    CFileIO oFile;
    const bool bWritten =
        oFile.Open(pName, CFileIO::WRITE) && oFile.Write(pBytes, static_cast<unsigned long>(nSize)) && oFile.Flush();
    oFile.Close();
    return bWritten;
}

bool IsAbsolute(std::string_view sPath)
{
    return sPath.starts_with('/') || sPath.starts_with('\\') || (sPath.size() > 1 && sPath[1] == ':');
}

void OpenForUser(const char* pFileName)
{
    char aDirectory[DIRECTORY_SIZE];
    if (IsAbsolute(pFileName) || DIR_GetWorkingDirectory(aDirectory, DIRECTORY_SIZE) == -1)
        HOOK_OpenDocument(pFileName);
    else
        HOOK_OpenDocument((std::string(aDirectory) + "/" + pFileName).c_str());
}

// An image of the graph's size, all 0.
class CGraph
{
public:
    CGraph() : m_aBytes(GRAPH_WIDTH * GRAPH_HEIGHT * PIXEL_SIZE) {}

    // Sets a pixel; one that lies on no row is left out.
    void Set(double dRow, std::size_t nColumn, const std::array<unsigned char, PIXEL_SIZE>& aPixel)
    {
        if (!(dRow > -1.0 && dRow < static_cast<double>(GRAPH_HEIGHT)))
            return;
        const std::size_t nPixel = static_cast<std::size_t>(dRow) * GRAPH_WIDTH + nColumn;
        std::copy(aPixel.begin(), aPixel.end(), m_aBytes.begin() + static_cast<std::ptrdiff_t>(nPixel * PIXEL_SIZE));
    }

    const std::vector<unsigned char>& GetBytes() const { return m_aBytes; }

private:
    std::vector<unsigned char> m_aBytes;
};

CGraph DrawGraph(const CSTLList<float>& oTimes, double dAverage)
{
    CGraph oGraph;
    const double dLongest = std::max(0.0F, *std::max_element(oTimes.begin(), oTimes.end()));
    if (dLongest == 0.0)
        return oGraph;

    constexpr auto HEIGHT = static_cast<double>(GRAPH_HEIGHT);
    const double dAverageRow = HEIGHT - dAverage / dLongest * HEIGHT;
    const double dColumnsPerTime = static_cast<double>(GRAPH_WIDTH) / static_cast<double>(oTimes.size());
    for (std::size_t nColumn = 0; nColumn < GRAPH_WIDTH; ++nColumn)
    {
        const auto nTime = static_cast<std::size_t>(static_cast<double>(nColumn) / dColumnsPerTime);
        const double dTime = oTimes[std::min(nTime, oTimes.size() - 1)];
        oGraph.Set(-(dTime / dLongest * HEIGHT - HEIGHT), nColumn, POINT);
        oGraph.Set(dAverageRow, nColumn, AVERAGE);
    }
    return oGraph;
}
} // namespace

void CVQProfiler::WriteProfileLog(const char* pFileName)
{
    try
    {
        const std::string sText = MakeReport();
        if (WriteFile(pFileName, sText.data(), sText.size()))
            OpenForUser(pFileName);
    }
    catch (...) // whatever it is: a game goes on without its report
    {
    }
}

std::string CVQProfiler::MakeReport() const
{
    std::string sText(DOCUMENT_HEAD);
    sText += TITLE;
    sText += "<span style=\"font-weight: bold;\">CpuSpeed:&nbsp; " + Fixed(m_dClockSpeed * MEGAHERTZ_PER_HERTZ, 2);
    sText += "mHz<br>Overhead:&nbsp;&nbsp; " + std::to_string(m_nSampleOverhead) + " cycles<br><br>Session: ";
    sText += OrEmpty(m_oSessionName.GetString());
    sText += "&nbsp;&nbsp;&nbsp;Total Time:  " + Fixed(m_dSessionDuration, 2);
    sText += "ms&nbsp;&nbsp;&nbsp;Raw Size:  ";
    sText += Fixed(static_cast<double>(GetRawSamples().size_bytes()) * static_cast<double>(MEGABYTES_PER_BYTE), 2);
    sText += "MB<br><br></span>";

    sText += TABLE_HEAD;
    sText += "<tr>";
    for (const std::string_view sCell : HEADER_CELLS)
    {
        sText += HEADER_CELL_BEGIN;
        sText += sCell;
        sText += HEADER_CELL_END;
    }
    sText += "</tr>";
    for (auto itSample = m_oSamples.rbegin(); itSample != m_oSamples.rend(); ++itSample)
        sText += MakeRow(*itSample);
    sText += "</tbody></table><br><br><br><br><br>\r\n</body>\r\n</html>";
    return sText;
}

void CVQProfiler::CreateSampleGraph(CVQString oName)
{
    CSTLList<float> oTimes;
    GetSingleSampleTimes(oName, oTimes);
    if (oTimes.empty())
        return;

    const int nSample = GetSampleIndexByName(oName);
    const CGraph oGraph = DrawGraph(oTimes, nSample != -1 ? GetSample(nSample).m_dAverageTime : 0.0);

    bool bWritten = false;
    try
    {
        bWritten = WriteFile(GRAPH_NAME, oGraph.GetBytes().data(), oGraph.GetBytes().size());
    }
    catch (...) // told below, whatever it is
    {
    }
    if (!bWritten)
        HOOK_ShowMessageBox("Cannot save profile sample graph", "Error", mbkInformation);
}
