#include "Console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr int DEFAULT_WIDTH = 80;
constexpr const char* STANDARD_OUTPUT = "standard output";

void PrintLine(std::string_view sKind, std::string_view sText)
{
    const std::string sLine = COMMON_TOOL_NAME ": " + std::string(sKind) + std::string(sText) + '\n';
    std::fwrite(sLine.data(), 1, sLine.size(), stderr);
    std::fflush(stderr); // some systems keep it back as they do with a file
}

const char* GetVariable(const char* pName)
{
    const char* pValue = std::getenv(pName);
    return pValue != nullptr ? pValue : "";
}

[[noreturn]] void FailToWrite()
{
    // A pipe without a reader is an invalid argument for some runtime libraries.
    if (errno == EPIPE || errno == EINVAL)
        throw COutputClosed();
    throw CFailure(STANDARD_OUTPUT, "cannot be written");
}
} // namespace

CFailure::CFailure(std::string_view sWhat, std::string_view sWhy)
    : std::runtime_error(MakePrintable(sWhat) + ": " + std::string(sWhy))
{
}

COutputClosed::COutputClosed() : CFailure(STANDARD_OUTPUT, "is closed") {}

void PrintNote(std::string_view sText)
{
    PrintLine("", sText);
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

bool IsOutputColourful()
{
    // Who sets TERM understands the sequences of colours.
    const std::string_view sTerminal = GetVariable("TERM");
    return isatty(fileno(stdout)) != 0 && !sTerminal.empty() && sTerminal != "dumb" && *GetVariable("NO_COLOR") == '\0';
}

int GetTerminalWidth()
{
    const int nColumns = std::atoi(GetVariable("COLUMNS"));
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

void RequireOutput()
{
    const int nCopy = dup(fileno(stdout));
    if (nCopy == -1)
        throw CFailure(STANDARD_OUTPUT, "cannot be written");
    close(nCopy);
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
        FailToWrite();
}

void FlushOutput()
{
    if (std::fflush(stdout) != 0)
        FailToWrite();
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
