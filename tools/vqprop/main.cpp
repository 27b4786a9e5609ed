// vqprop: shows and changes property files.

#include "Commands.h"
#include "Console.h"

#include <Common/Debug/VQException.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr int FAILED = 1;
constexpr int WRONG_USE = 2;

constexpr const char* USAGE = "usage: vqprop show [--json] FILE\n"
                              "       vqprop get FILE PATH\n"
                              "       vqprop set FILE PATH TYPE [VALUE]\n"
                              "       vqprop rm FILE PATH\n"
                              "       vqprop diff FILE FILE\n"
                              "       vqprop to-json FILE [JSON]\n"
                              "       vqprop from-json JSON FILE\n"
                              "       vqprop --help | --version\n";

constexpr const char* HELP =
    "\n"
    "show       writes FILE as a tree, --json as JSON; of a damaged file what could be read\n"
    "get        writes the value of a property\n"
    "set        sets a property, and adds it when it is missing; a missing FILE is made\n"
    "rm         removes a property\n"
    "diff       writes what differs; exit code 1 when something does\n"
    "to-json    writes FILE as JSON, to JSON or to standard output\n"
    "from-json  writes FILE from JSON\n"
    "\n"
    "PATH       names with dots between them, elements of lists by index: corners[0].x; attributes of lists\n"
    "           behind @; . is the only property of a file that holds one\n"
    "TYPE       bool, int, long, ulong, float, string, stringid, undefined, or json for any property as JSON\n"
    "--as KIND  takes files for manager-, struct-, list-, params- or property-, with -file or -stream behind it:\n"
    "           written by Write() or by Serialize(); without it the bytes decide\n"
    "\n"
    "A changed file takes the place of the old one when it is whole. Exit codes: 0 done, 1 failed, 2 wrong use.\n";

/// What is wrong with the command line.
class CWrongUse : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A command line: a command, its operands, and options.
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
            else if (bOptions && !IsValue() && sArgument.size() > 1 && sArgument[0] == '-')
                TakeOption(sArgument, i + 1 < nArguments ? ppArguments[++i] : nullptr, i);
            else
                m_aOperands.push_back(sArgument);
        }
    }

    sOptions m_oOptions;
    bool m_bHelp = false;
    bool m_bVersion = false;
    std::vector<std::string> m_aOperands;

private:
    /// Whether the next argument is the value of "set FILE PATH TYPE VALUE", which may begin with a dash.
    bool IsValue() const { return m_aOperands.size() == 4 && m_aOperands[0] == "set"; }

    /// @param pNext  the argument behind it, which nIndex already counts
    void TakeOption(const std::string& sOption, const char* pNext, int& nIndex)
    {
        if (sOption == "--as")
        {
            m_oOptions.m_oLayout = FindLayout(pNext != nullptr ? pNext : "");
            if (!m_oOptions.m_oLayout.has_value())
                throw CWrongUse(pNext != nullptr ? std::string(pNext) + ": no kind of file"
                                                 : "--as: a kind is missing");
            return;
        }

        if (pNext != nullptr)
            --nIndex;
        if (sOption == "--json")
            m_oOptions.m_bJson = true;
        else if (sOption == "--help" || sOption == "-h")
            m_bHelp = true;
        else if (sOption == "--version")
            m_bVersion = true;
        else
            throw CWrongUse(sOption + ": unknown option");
    }
};

int Run(const sCommandLine& oLine)
{
    if (oLine.m_bHelp)
    {
        WriteOutput(std::string(USAGE) + HELP);
        return 0;
    }
    if (oLine.m_bVersion)
    {
        WriteOutput(std::string("vqprop ") + COMMON_VERSION + "\n");
        return 0;
    }
    if (oLine.m_aOperands.empty())
        throw CWrongUse("no command");

    struct
    {
        const char* m_pName;
        std::size_t m_nLeast;
        std::size_t m_nMost;
    } const aCommands[] = {{"show", 1, 1}, {"get", 2, 2},     {"set", 3, 4},      {"rm", 2, 2},
                           {"diff", 2, 2}, {"to-json", 1, 2}, {"from-json", 2, 2}};

    const std::string& sCommand = oLine.m_aOperands[0];
    const std::size_t nOperands = oLine.m_aOperands.size() - 1;
    const auto Operand = [&oLine](std::size_t nIndex) { return oLine.m_aOperands[nIndex]; };
    const auto OptionalOperand = [&](std::size_t nIndex)
    { return nIndex <= nOperands ? std::optional(oLine.m_aOperands[nIndex]) : std::nullopt; };

    for (const auto& oCommand : aCommands)
    {
        if (sCommand != oCommand.m_pName)
            continue;
        if (nOperands < oCommand.m_nLeast || nOperands > oCommand.m_nMost)
            throw CWrongUse(sCommand + (nOperands < oCommand.m_nLeast ? ": too few" : ": too many") + " arguments");
        if (oLine.m_oOptions.m_bJson && sCommand != "show")
            throw CWrongUse("--json: for show alone");
        if (Operand(1).empty() || (sCommand != "to-json" && nOperands > 1 && Operand(2).empty()))
            throw CWrongUse(sCommand + ": an empty name");

        if (sCommand == "show")
            return ShowFile(oLine.m_oOptions, Operand(1));
        if (sCommand == "get")
            return GetValue(oLine.m_oOptions, Operand(1), Operand(2));
        if (sCommand == "rm")
            return RemoveValue(oLine.m_oOptions, Operand(1), Operand(2));
        if (sCommand == "diff")
            return CompareFiles(oLine.m_oOptions, Operand(1), Operand(2));
        if (sCommand == "to-json")
            return ConvertToJson(oLine.m_oOptions, Operand(1), OptionalOperand(2));
        if (sCommand == "from-json")
            return ConvertFromJson(oLine.m_oOptions, Operand(1), Operand(2));
        if (nOperands == 3 && Operand(3) != "undefined")
            throw CWrongUse("set: a value is missing");
        return SetValue(oLine.m_oOptions, Operand(1), Operand(2), Operand(3), OptionalOperand(4));
    }
    throw CWrongUse(sCommand + ": unknown command");
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    try
    {
        MakeOutputBinary();
        const int nResult = Run(sCommandLine(nArguments, ppArguments));
        FlushOutput();
        return nResult;
    }
    catch (const CWrongUse& oError)
    {
        PrintError(oError.what());
        std::fputs(USAGE, stderr);
        return WRONG_USE;
    }
    catch (const COutputClosed&)
    {
        return 0;
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
