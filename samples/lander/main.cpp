// lander: a small game that uses the whole library as a game would. Read it from here: main() finds the game's files,
// Application.h has the main loop, and each file begins with the areas that it shows.

#include "Demo.h"

#include <cstdio>

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
    std::string m_sHome, m_sDemo, m_sPrint;
};

/// Reads the command line; "" or what is wrong with it.
std::string ReadCommandLine(const std::vector<std::string>& aArguments, sCommandLine& oLine)
{
    for (std::size_t i = 0; i < aArguments.size(); ++i)
    {
        const std::string& sOption = aArguments[i];
        if (sOption == "--help" || sOption == "-h")
            oLine.m_sPrint = std::string(USAGE) + HELP;
        else if (sOption == "--version")
            oLine.m_sPrint = "lander " COMMON_VERSION "\n";
        else if (sOption != "--home" && sOption != "--demo")
            return sOption + (sOption[0] == '-' ? ": unknown option" : ": too many arguments");
        else if (++i == aArguments.size() || aArguments[i].empty())
            return sOption + ": a value is missing";
        else
            (sOption == "--home" ? oLine.m_sHome : oLine.m_sDemo) = aArguments[i];
    }
    const int nSeconds = CVQString(oLine.m_sDemo.c_str()).ToInt(10);
    const bool bRight = nSeconds >= 1 && nSeconds <= 36000 && std::to_string(nSeconds) == oLine.m_sDemo;
    return bRight || oLine.m_sDemo.empty() ? "" : oLine.m_sDemo + ": not a number from 1 to 36000";
}

void Print(const std::string& sText)
{
    if (std::fputs(sText.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw std::runtime_error("standard output: cannot be written");
}

void Run(const sCommandLine& oLine, Clock::time_point oStart)
{
    if (!oLine.m_sPrint.empty())
        return Print(oLine.m_sPrint);
    if (!oLine.m_sHome.empty() && DIR_Change(oLine.m_sHome.c_str()) != 1)
        throw std::runtime_error(oLine.m_sHome + ": no such directory");
    CAssets::Open();
    CTexts::Load();
    if (!oLine.m_sDemo.empty())
        return Print(CDemo().Play(std::stoi(oLine.m_sDemo), oStart));
    CTerminal oTerminal;
    CApplication(&oTerminal).Play();
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    const auto oStart = Clock::now();
    sCommandLine oLine = {std::filesystem::path(ppArguments[0]).parent_path().string(), "", ""};
    const std::string sWrong = ReadCommandLine({ppArguments + 1, ppArguments + nArguments}, oLine);
    if (!sWrong.empty())
    {
        std::fprintf(stderr, "lander: %s\n%s", sWrong.c_str(), USAGE);
        return WRONG_USE;
    }

    CJournal::Begin();
    const std::string sError = GetError([&] { Run(oLine, oStart); });
    if (!sError.empty())
    {
        CJournal::Report(ecCatastrophicError, sError);
        std::fprintf(stderr, "lander: %s\n", sError.c_str());
        return FAILED;
    }
    return CTerminal::s_nEndSignal != 0 ? ENDED_BY_SIGNAL + CTerminal::s_nEndSignal : 0;
}
