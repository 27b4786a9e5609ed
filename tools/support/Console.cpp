#include "Console.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr int DEFAULT_WIDTH = 80;

void PrintLine(std::string_view sKind, std::string_view sText)
{
    const std::string sLine = COMMON_TOOL_NAME ": " + std::string(sKind) + std::string(sText) + '\n';
    std::fwrite(sLine.data(), 1, sLine.size(), stderr);
}
} // namespace

CFailure::CFailure(std::string_view sWhat, std::string_view sWhy)
    : std::runtime_error(MakePrintable(sWhat) + ": " + std::string(sWhy))
{
}

void PrintError(std::string_view sText)
{
    PrintLine("", sText);
}

void PrintWarning(std::string_view sText)
{
    PrintLine("warning: ", sText);
}

bool IsErrorTerminal()
{
    return isatty(fileno(stderr)) != 0;
}

int GetTerminalWidth()
{
    const char* pColumns = std::getenv("COLUMNS");
    const int nColumns = pColumns != nullptr ? std::atoi(pColumns) : 0;
    return nColumns > 0 ? nColumns : DEFAULT_WIDTH;
}

std::string MakePrintable(std::string_view sName)
{
    static const bool s_bTerminal = isatty(fileno(stdout)) != 0 || isatty(fileno(stderr)) != 0;

    std::string sResult(sName);
    if (s_bTerminal)
        std::replace_if(
            sResult.begin(), sResult.end(), [](char cByte) { return (cByte >= 0 && cByte < ' ') || cByte == 0x7F; },
            '?');
    return sResult;
}

void MakeOutputBinary()
{
#ifdef O_BINARY
    setmode(fileno(stdout), O_BINARY);
#endif
}

void WriteOutput(std::string_view sBytes)
{
    if (std::fwrite(sBytes.data(), 1, sBytes.size(), stdout) != sBytes.size())
        throw CFailure("standard output", "cannot be written");
}

void FlushOutput()
{
    if (std::fflush(stdout) != 0)
        throw CFailure("standard output", "cannot be written");
}

std::string FormatBytes(double dBytes)
{
    static constexpr const char* UNITS[] = {"B", "KiB", "MiB", "GiB"};
    std::size_t nUnit = 0;
    for (; dBytes >= 1024 && nUnit + 1 < std::size(UNITS); ++nUnit)
        dBytes /= 1024;

    char aText[64];
    std::snprintf(aText, sizeof(aText), nUnit == 0 ? "%.0f %s" : "%.1f %s", dBytes, UNITS[nUnit]);
    return aText;
}
