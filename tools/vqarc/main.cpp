// vqarc: makes, lists, unpacks and checks archives.

#include "Commands.h"
#include "Console.h"

#include <Common/Debug/VQException.h>

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr int FAILED = 1;
constexpr int WRONG_USE = 2;

constexpr const char* USAGE = "usage: vqarc create ARCHIVE DIR\n"
                              "       vqarc list [-l] ARCHIVE\n"
                              "       vqarc extract ARCHIVE DIR\n"
                              "       vqarc cat ARCHIVE PATH\n"
                              "       vqarc verify ARCHIVE [DIR]\n"
                              "       vqarc --help | --version\n";

constexpr const char* HELP =
    "\n"
    "create   packs the directory DIR into ARCHIVE; an older archive stays as it is until the new one is whole\n"
    "list     writes the paths of all that is in ARCHIVE, a directory's with a slash behind it; -l: sizes too\n"
    "extract  unpacks ARCHIVE into a directory below DIR that has its name without \".arc\"\n"
    "cat      writes the bytes of one file to standard output\n"
    "verify   checks every directory and file of ARCHIVE; with DIR that each byte is as in that directory\n"
    "\n"
    "\".arc\" is appended to the name of an archive that does not end in it. Exit codes: 0 done, 1 failed, 2 wrong "
    "use.\n";

int RefuseUse(std::string_view sWhy)
{
    PrintError(sWhy);
    std::fputs(USAGE, stderr);
    return WRONG_USE;
}

/// A command line: options, a command and its operands.
struct sCommandLine
{
    sCommandLine(int nArguments, char** ppArguments)
    {
        bool bOptions = true;
        for (int i = 1; i < nArguments; ++i)
        {
            const std::string sArgument = ppArguments[i];
            if (bOptions && sArgument == "--")
                bOptions = false;
            else if (bOptions && sArgument.size() > 1 && sArgument[0] == '-')
                m_aOptions.push_back(sArgument);
            else
                m_aOperands.push_back(sArgument);
        }
    }

    bool TakeOption(std::string_view sOption) { return std::erase(m_aOptions, sOption) != 0; }

    std::vector<std::string> m_aOptions;
    std::vector<std::string> m_aOperands;
};

int Run(sCommandLine& oLine)
{
    if (oLine.TakeOption("--help") || oLine.TakeOption("-h"))
    {
        WriteOutput(std::string(USAGE) + HELP);
        return 0;
    }
    if (oLine.TakeOption("--version"))
    {
        WriteOutput(std::string("vqarc ") + COMMON_VERSION + "\n");
        return 0;
    }
    if (oLine.m_aOperands.empty())
        return RefuseUse(oLine.m_aOptions.empty() ? "no command" : oLine.m_aOptions[0] + ": unknown option");

    const std::string sCommand = oLine.m_aOperands[0];
    const std::size_t nOperands = oLine.m_aOperands.size() - 1;
    const auto Operand = [&](std::size_t nIndex) { return nIndex <= nOperands ? oLine.m_aOperands[nIndex] : ""; };
    const bool bLong = sCommand == "list" && oLine.TakeOption("-l");

    struct
    {
        const char* pName;
        std::size_t nLeast;
        std::size_t nMost;
    } const aCommands[] = {{"create", 2, 2}, {"list", 1, 1}, {"extract", 2, 2}, {"cat", 2, 2}, {"verify", 1, 2}};

    for (const auto& oCommand : aCommands)
    {
        if (sCommand != oCommand.pName)
            continue;
        if (!oLine.m_aOptions.empty())
            return RefuseUse(oLine.m_aOptions[0] + ": unknown option");
        if (nOperands < oCommand.nLeast || nOperands > oCommand.nMost)
            return RefuseUse(sCommand + (nOperands < oCommand.nLeast ? ": too few" : ": too many") + " arguments");
        for (std::size_t i = 1; i <= nOperands; ++i)
        {
            if (Operand(i).empty())
                return RefuseUse(sCommand + ": an empty name");
        }

        if (sCommand == "create")
            CreateArchive(Operand(1), Operand(2));
        else if (sCommand == "list")
            ListArchive(Operand(1), bLong);
        else if (sCommand == "extract")
            ExtractArchive(Operand(1), Operand(2));
        else if (sCommand == "cat")
            PrintFile(Operand(1), Operand(2));
        else
            VerifyArchive(Operand(1), Operand(2));
        return 0;
    }
    return RefuseUse(sCommand + ": unknown command");
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    try
    {
        sCommandLine oLine(nArguments, ppArguments);
        const int nResult = Run(oLine);
        FlushOutput();
        return nResult;
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
