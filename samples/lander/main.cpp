// lander: a small game that uses the whole library as a game would. Read it from here: main() finds the game's files,
// Application.h has the main loop, and each file begins with the areas that it shows.

#include "Demo.h"

#include <cstdio>

namespace
{
constexpr int FAILED = 1, WRONG_USE = 2, ENDED_BY_SIGNAL = 128; // the last one plus its number, as shells have it

constexpr const char* USAGE = "usage: lander [--home DIR] [--demo SECONDS]\n"
                              "       lander --help | --version\n";

constexpr const char* HELP =
    "\n"
    "--home DIR      the directory of lander.arc, and of all that the game writes; if nothing is said, the one that\n"
    "                the program was called in: that of build/bin/lander is build/bin, that of lander the current one\n"
    "--demo SECONDS  plays by itself, without a terminal, so many seconds of the game; 1 to 36000\n";

/// Values by their options.
using Options = std::map<std::string, std::string>;

/// Reads the command line; "" or what is wrong with it.
std::string ReadCommandLine(const std::vector<std::string>& aArguments, Options& oOptions)
{
    for (std::size_t i = 0; i < aArguments.size(); ++i)
    {
        const std::string sOption = aArguments[i] == "-h" ? "--help" : aArguments[i];
        const bool bValue = sOption == "--home" || sOption == "--demo";
        if (!bValue && sOption != "--help" && sOption != "--version")
            return sOption + (sOption[0] == '-' ? ": unknown option" : ": too many arguments");
        if (bValue && (++i == aArguments.size() || aArguments[i].empty()))
            return sOption + ": a value is missing";
        oOptions[sOption] = aArguments[i];
    }
    const std::string sSeconds = oOptions.contains("--demo") ? oOptions["--demo"] : "1";
    const int nSeconds = CVQString(sSeconds.c_str()).ToInt(10);
    const bool bRight = nSeconds >= 1 && nSeconds <= 36000 && std::to_string(nSeconds) == sSeconds;
    return bRight ? "" : sSeconds + ": not a number from 1 to 36000";
}

/// Does what the options say; gives what is to be printed.
std::string Run(Options oOptions, Clock::time_point oStart)
{
    if (oOptions.contains("--help") || oOptions.contains("--version"))
        return oOptions.contains("--help") ? std::string(USAGE) + HELP : "lander " COMMON_VERSION "\n";
    const std::string& sHome = oOptions["--home"];
    Require(sHome.empty() || DIR_Change(sHome.c_str()) == 1, sHome + ": no such directory");
    OpenAssets();
    LoadTexts();
    if (oOptions.contains("--demo"))
        return CDemo().Play(std::stoi(oOptions["--demo"]), oStart);
    CTerminal oTerminal;
    CApplication(&oTerminal).Play();
    return "";
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    const auto oStart = Clock::now();
    Options oOptions = {{"--home", std::filesystem::path(ppArguments[0]).parent_path().string()}};
    const std::string sWrong = ReadCommandLine({ppArguments + 1, ppArguments + nArguments}, oOptions);
    HOOK_SetDebuggerOutput([](const char*) {}); // it would write over the picture
    const auto Work = [&]
    {
        const bool bPrinted = std::fputs(Run(oOptions, oStart).c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
        Require(bPrinted, "standard output: cannot be written");
    };
    const std::string sError = sWrong.empty() ? GetError(Work) : sWrong;
    if (sError.empty())
        return CTerminal::s_nEndSignal != 0 ? ENDED_BY_SIGNAL + CTerminal::s_nEndSignal : 0;
    Report(ecCatastrophicError, sWrong.empty() ? sError : "");
    std::fprintf(stderr, "lander: %s\n%s", sError.c_str(), sWrong.empty() ? "" : USAGE);
    return sWrong.empty() ? FAILED : WRONG_USE;
}
