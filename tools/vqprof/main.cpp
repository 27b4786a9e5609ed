// vqprof: shows what the profiler measures.

#include "Console.h"
#include "Demo.h"
#include "GraphPicture.h"
#include "PngFile.h"
#include "WholeFile.h"

#include <Common/Debug/VQException.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace
{
constexpr int FAILED = 1;
constexpr int WRONG_USE = 2;

constexpr int DEFAULT_FRAMES = 300;
constexpr int MOST_FRAMES = 100000;

constexpr const char* USAGE = "usage: vqprof graph [--longest MS] GRAPH PNG\n"
                              "       vqprof demo [--frames N] [--no-open]\n"
                              "       vqprof trace [--frames N] JSON\n"
                              "       vqprof --help | --version\n";

constexpr const char* HELP =
    "\n"
    "graph         makes a picture with axes of the file \"Graph.raw\" that the profiler writes\n"
    "demo          runs a small main loop in a session, writes \"VQProfiler.htm\" and \"Graph.raw\" into the current\n"
    "              directory, and opens the report\n"
    "trace         runs the same loop and writes its calls in the JSON form that trace viewers read\n"
    "\n"
    "--longest MS  milliseconds of the longest call, for the axis; without it the axis has percents\n"
    "--frames N    frames of the loop, 1 to 100000; 300 if nothing is said\n"
    "--no-open     does not open the report\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 wrong use.\n";

/// What is wrong with the command line.
class CWrongUse : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

template <class TNumber>
TNumber ReadNumber(const std::string& sText, TNumber nLeast, TNumber nMost)
{
    TNumber nNumber = 0;
    const char* const pEnd = sText.data() + sText.size();
    const auto [pRead, nError] = std::from_chars(sText.data(), pEnd, nNumber);
    if (nError != std::errc() || pRead != pEnd || !(nNumber >= nLeast && nNumber <= nMost))
        throw CWrongUse(sText + ": not a number that can be");
    return nNumber;
}

/// A command line: options, a command and its operands.
class CCommandLine
{
public:
    CCommandLine(int nArguments, char** ppArguments) : m_aArguments(ppArguments + 1, ppArguments + nArguments) {}

    /// Takes an option out of the line, if it is there.
    bool TakeFlag(std::string_view sOption) { return std::erase(m_aArguments, sOption) != 0; }

    /// Takes an option with its value, which stands behind it, out of the line; "" when it is not there.
    std::string TakeValue(const std::string& sOption)
    {
        std::string sValue;
        for (std::size_t i = 0; i < m_aArguments.size();)
        {
            if (m_aArguments[i] != sOption)
            {
                ++i;
                continue;
            }
            if (i + 1 == m_aArguments.size() || m_aArguments[i + 1].empty())
                throw CWrongUse(sOption + ": a value is missing");
            sValue = m_aArguments[i + 1];
            const auto itOption = m_aArguments.begin() + static_cast<std::ptrdiff_t>(i);
            m_aArguments.erase(itOption, itOption + 2);
        }
        return sValue;
    }

    /// What is left: the command and so many operands, no more and no less.
    std::vector<std::string> TakeOperands(std::size_t nCount)
    {
        for (const std::string& sArgument : m_aArguments)
        {
            if (sArgument.empty())
                throw CWrongUse("an empty name");
            if (sArgument.size() > 1 && sArgument[0] == '-')
                throw CWrongUse(sArgument + ": unknown option");
        }
        if (m_aArguments.size() != nCount + 1)
            throw CWrongUse(m_aArguments[0] + (m_aArguments.size() < nCount + 1 ? ": too few" : ": too many") +
                            " arguments");
        return std::vector<std::string>(m_aArguments.begin() + 1, m_aArguments.end());
    }

    std::string GetCommand() const { return m_aArguments.empty() ? "" : m_aArguments[0]; }

private:
    std::vector<std::string> m_aArguments;
};

int TakeFrames(CCommandLine& oLine)
{
    const std::string sFrames = oLine.TakeValue("--frames");
    return sFrames.empty() ? DEFAULT_FRAMES : ReadNumber(sFrames, 1, MOST_FRAMES);
}

void MakeGraph(CCommandLine& oLine)
{
    const std::string sLongest = oLine.TakeValue("--longest");
    const double dLongest = sLongest.empty() ? 0.0 : ReadNumber(sLongest, 1e-6, 1e12);
    const std::vector<std::string> aFiles = oLine.TakeOperands(2);
    try
    {
        WritePng(aFiles[1], DrawGraphPicture(ReadWholeFile(aFiles[0]), dLongest));
    }
    catch (const CFailure&)
    {
        throw;
    }
    catch (const std::runtime_error& oError)
    {
        throw CFailure(aFiles[0], oError.what());
    }
}

void RunDemo(CCommandLine& oLine)
{
    const int nFrames = TakeFrames(oLine);
    const bool bOpen = !oLine.TakeFlag("--no-open");
    oLine.TakeOperands(0);

    CDemo oDemo;
    oDemo.Run(nFrames);
    oDemo.WriteReport(bOpen);

    char aLongest[64];
    std::snprintf(aLongest, sizeof aLongest, "%.6f", oDemo.GetLongestFrame());
    WriteOutput("VQProfiler.htm: " + std::to_string(oDemo.GetRegionCount()) + " regions of " + std::to_string(nFrames) +
                " frames\nGraph.raw: the frames; vqprof graph --longest " + aLongest +
                " Graph.raw Graph.png makes a picture of it\n");
}

void WriteTrace(CCommandLine& oLine)
{
    const int nFrames = TakeFrames(oLine);
    const std::string sFile = oLine.TakeOperands(1)[0];
    CDemo oDemo;
    oDemo.Run(nFrames);
    WriteWholeFile(sFile, oDemo.GetTrace());
}

void Run(CCommandLine oLine)
{
    if (oLine.TakeFlag("--help") || oLine.TakeFlag("-h"))
    {
        WriteOutput(std::string(USAGE) + HELP);
        return;
    }
    if (oLine.TakeFlag("--version"))
    {
        WriteOutput("vqprof " COMMON_VERSION "\n");
        return;
    }

    const std::string sCommand = oLine.GetCommand();
    if (sCommand == "graph")
        MakeGraph(oLine);
    else if (sCommand == "demo")
        RunDemo(oLine);
    else if (sCommand == "trace")
        WriteTrace(oLine);
    else if (sCommand.empty())
        throw CWrongUse("no command");
    else
        throw CWrongUse(sCommand + (sCommand[0] == '-' ? ": unknown option" : ": unknown command"));
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    try
    {
        RequireOutput();
        Run(CCommandLine(nArguments, ppArguments));
        FlushOutput();
        return 0;
    }
    catch (const CWrongUse& oError)
    {
        PrintError(MakePrintable(oError.what()));
        std::fputs(USAGE, stderr);
        return WRONG_USE;
    }
    catch (const CVQException& oError)
    {
        PrintError(oError.GetErrorString());
    }
    catch (const std::exception& oError)
    {
        PrintError(oError.what());
    }
    return FAILED;
}
