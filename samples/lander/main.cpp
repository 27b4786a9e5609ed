// lander: a small game that uses the whole library as a game would. Read it from here: main() finds the game's files,
// Application.h has the main loop, and each file begins with the areas that it shows.

#include "Demo.h"

#include <Common/Platform/PlatformDirectory.h>

#include <charconv>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace
{
constexpr int FAILED = 1;
constexpr int WRONG_USE = 2;
constexpr int ENDED_BY_SIGNAL = 128; // plus its number, as shells have it

constexpr const char* USAGE = "usage: lander [--home DIR] [--demo SECONDS]\n"
                              "       lander --help | --version\n";

constexpr const char* HELP =
    "\n"
    "--home DIR      the directory of lander.arc, and of all that the game writes; if nothing is said, the one that\n"
    "                the program was called in: that of build/bin/lander is build/bin, that of lander the current one\n"
    "--demo SECONDS  plays by itself, without a terminal, so many seconds of the game; 1 to 36000\n"
    "\n"
    "Arrow keys or wasd fly; Tab opens the console. Exit codes: 0 done, 1 failed, 2 wrong use.\n";

struct sCommandLine
{
    std::string m_sHome, m_sPrint;
    int m_nDemo = 0;
};

/// Reads the command line; "" or what is wrong with it.
std::string ReadCommandLine(const std::vector<std::string>& aArguments, sCommandLine& oLine)
{
    for (std::size_t i = 0; i < aArguments.size(); ++i)
    {
        const std::string& sOption = aArguments[i];
        const std::string sValue = i + 1 < aArguments.size() ? aArguments[i + 1] : "";
        if (sOption == "--help" || sOption == "-h")
            oLine.m_sPrint = std::string(USAGE) + HELP;
        else if (sOption == "--version")
            oLine.m_sPrint = "lander " COMMON_VERSION "\n";
        else if (sOption != "--home" && sOption != "--demo")
            return sOption + (sOption[0] == '-' ? ": unknown option" : ": too many arguments");
        else if (++i == aArguments.size() || sValue.empty())
            return sOption + ": a value is missing";
        else if (const char* pEnd = sValue.data() + sValue.size(); sOption == "--home")
            oLine.m_sHome = sValue;
        else if (std::from_chars(sValue.data(), pEnd, oLine.m_nDemo).ptr != pEnd || oLine.m_nDemo < 1 ||
                 oLine.m_nDemo > 36000)
            return sValue + ": not a number from 1 to 36000";
    }
    return "";
}

int Print(const std::string& sText)
{
    if (std::fputs(sText.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw std::runtime_error("standard output: cannot be written");
    return 0;
}

int Run(const sCommandLine& oLine, std::chrono::steady_clock::time_point oStart)
{
    if (!oLine.m_sPrint.empty())
        return Print(oLine.m_sPrint);
    if (!oLine.m_sHome.empty() && DIR_Change(oLine.m_sHome.c_str()) != 1)
        throw std::runtime_error(oLine.m_sHome + ": no such directory");

    CAssets::Open();
    CTexts::Load();
    if (oLine.m_nDemo != 0)
        return Print(CDemo().Play(oLine.m_nDemo, oStart));
    if (!CTerminal::IsThere())
        throw std::runtime_error("there is no terminal; see --demo");
    CTerminal oTerminal;
    CApplication(&oTerminal).Play();
    return CTerminal::s_nEndSignal != 0 ? ENDED_BY_SIGNAL + CTerminal::s_nEndSignal : 0;
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    const auto oStart = std::chrono::steady_clock::now();
    sCommandLine oLine = {std::filesystem::path(ppArguments[0]).parent_path().string(), "", 0};
    const std::string sWrong = ReadCommandLine({ppArguments + 1, ppArguments + nArguments}, oLine);
    if (!sWrong.empty())
    {
        std::fprintf(stderr, "lander: %s\n%s", sWrong.c_str(), USAGE);
        return WRONG_USE;
    }

    CJournal::Begin();
    int nResult = FAILED;
    std::string sError;
    try
    {
        nResult = Run(oLine, oStart);
    }
    catch (const CVQException& oError)
    {
        sError = oError.GetErrorString();
    }
    catch (const std::exception& oError)
    {
        sError = oError.what();
    }
    if (!sError.empty())
    {
        CJournal::Report(ecCatastrophicError, sError);
        std::fprintf(stderr, "lander: %s\n", sError.c_str());
    }
    CJournal::End();
    return nResult;
}
