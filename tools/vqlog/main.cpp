// vqlog: shows what programs report, as it comes or from a log file.

#include "Console.h"
#include "Monitor.h"

#include <Common/Debug/VQException.h>

#include <charconv>
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

constexpr const char* USAGE = "usage: vqlog [--class CLASS] [--app NAME]... [--grep TEXT] [--json] [--count N]\n"
                              "             [--interface NAME] [--slot NAME]\n"
                              "       vqlog --file LOG [-f] [--class CLASS] [--app NAME]... [--grep TEXT] [--json]\n"
                              "             [--count N]\n"
                              "       vqlog --help | --version\n";

constexpr const char* HELP =
    "\n"
    "Shows the records that programs send to the mail slot of the log, as they come, until it is interrupted:\n"
    "\n"
    "    TIME COMPUTER APPLICATION[PROCESS] CLASS: SOURCE:LINE (CONTEXT): MESSAGE\n"
    "\n"
    "--class CLASS     this class and above: game, dump, info, message, note, warning, error, critical,\n"
    "                  catastrophic, or 0 to 8\n"
    "--app NAME        of this application, in any case; several --app: of any of them\n"
    "--grep TEXT       with this text in the message\n"
    "--json            one JSON object a line\n"
    "--count N         ends after N records\n"
    "--interface NAME  hears other computers too, on this network interface\n"
    "--slot NAME       listens to this mail slot in place of \"debug\"\n"
    "--file LOG        shows the records of a log file; TIME is the computer's tick count in seconds\n"
    "-f, --follow      goes on with what is added to that file, until it is interrupted\n"
    "\n"
    "Exit codes: 0 done, interrupted, or nobody reads the output any more; 1 failed; 2 wrong use.\n";

/// What is wrong with the command line.
class CWrongUse : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Walks through the arguments: options, each with its value behind it or behind a '='.
class CArguments
{
public:
    CArguments(int nArguments, char** ppArguments) : m_aRest(ppArguments + 1, ppArguments + nArguments) {}

    bool IsEmpty() const { return m_nNext == m_aRest.size(); }

    /// Goes on to the next option.
    std::string TakeOption()
    {
        const std::string_view sArgument = m_aRest[m_nNext++];
        if (!sArgument.starts_with("-"))
            throw CWrongUse(std::string(sArgument) + ": not an option");

        const std::size_t nEnd = sArgument.starts_with("--") ? sArgument.find('=') : std::string_view::npos;
        m_sOption = sArgument.substr(0, nEnd);
        m_bValueIsHere = nEnd != std::string_view::npos;
        m_sValue = m_bValueIsHere ? sArgument.substr(nEnd + 1) : std::string_view();
        return m_sOption;
    }

    /// The value of the option.
    std::string TakeValue()
    {
        if (!m_bValueIsHere && IsEmpty())
            throw CWrongUse(m_sOption + ": a value is missing");
        std::string sValue = m_bValueIsHere ? m_sValue : m_aRest[m_nNext++];
        if (sValue.empty())
            throw CWrongUse(m_sOption + ": an empty value");
        return sValue;
    }

    /// For options that have no value.
    void RefuseValue() const
    {
        if (m_bValueIsHere)
            throw CWrongUse(m_sOption + ": takes no value");
    }

private:
    const std::vector<std::string> m_aRest;
    std::size_t m_nNext = 0;
    std::string m_sOption;
    std::string m_sValue;
    bool m_bValueIsHere = false;
};

unsigned long ReadCount(const std::string& sValue)
{
    unsigned long nCount = 0;
    const char* pEnd = sValue.data() + sValue.size();
    const auto [pRead, nError] = std::from_chars(sValue.data(), pEnd, nCount);
    if (nError != std::errc() || pRead != pEnd || nCount == 0)
        throw CWrongUse(sValue + ": not a number of records");
    return nCount;
}

std::uint32_t ReadClass(const std::string& sValue)
{
    std::uint32_t nClass = 0;
    if (!FindClass(sValue, nClass))
        throw CWrongUse(sValue + ": not a class");
    return nClass;
}

int Run(CArguments oArguments)
{
    sView oView;
    std::string sFile;
    std::string sInterface;
    std::string sSlot;
    bool bFollow = false;
    while (!oArguments.IsEmpty())
    {
        const std::string sOption = oArguments.TakeOption();
        if (sOption == "--class")
            oView.m_nLeastClass = ReadClass(oArguments.TakeValue());
        else if (sOption == "--app")
            oView.m_aApplications.push_back(oArguments.TakeValue());
        else if (sOption == "--grep")
            oView.m_sText = oArguments.TakeValue();
        else if (sOption == "--count")
            oView.m_nMost = ReadCount(oArguments.TakeValue());
        else if (sOption == "--interface")
            sInterface = oArguments.TakeValue();
        else if (sOption == "--slot")
            sSlot = oArguments.TakeValue();
        else if (sOption == "--file")
            sFile = oArguments.TakeValue();
        else
        {
            oArguments.RefuseValue();
            if (sOption == "--json")
                oView.m_bJson = true;
            else if (sOption == "-f" || sOption == "--follow")
                bFollow = true;
            else if (sOption == "--help" || sOption == "-h")
            {
                WriteOutput(std::string(USAGE) + HELP);
                FlushOutput();
                return 0;
            }
            else if (sOption == "--version")
            {
                WriteOutput("vqlog " COMMON_VERSION "\n");
                FlushOutput();
                return 0;
            }
            else
                throw CWrongUse(sOption + ": unknown option");
        }
    }

    if (sFile.empty() && bFollow)
        throw CWrongUse("-f: follows a file, and --file names none");
    if (!sFile.empty() && (!sInterface.empty() || !sSlot.empty()))
        throw CWrongUse("--file: does not listen, so that --interface and --slot have no meaning");

    RequireOutput();
    if (sFile.empty())
        Listen(sSlot.empty() ? "debug" : sSlot, sInterface, oView);
    else
        ShowFile(sFile, bFollow, oView);
    return 0;
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    try
    {
        return Run(CArguments(nArguments, ppArguments));
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
