#include <Common/Platform/System/SystemDialog.h>

#include <Common/Platform/System/SystemProcess.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace System
{
namespace
{
constexpr int FIRST_INHERITED_DESCRIPTOR = 3;
constexpr std::size_t MAX_ANSWER_SIZE = 256;

bool IsVariableSet(const char* pName)
{
    const char* pValue = std::getenv(pName);
    return pValue != nullptr && *pValue != '\0';
}

bool IsNobodyThere()
{
    return IsVariableSet(NO_DIALOG_VARIABLE);
}

bool HasDisplay()
{
    return IsVariableSet("DISPLAY") || IsVariableSet("WAYLAND_DISPLAY");
}

// The text as a terminal may show it: what comes from a message must not steer the terminal.
std::string MakePrintable(std::string_view sText)
{
    std::string sResult;
    sResult.reserve(sText.size());
    for (const char c : sText)
    {
        const auto nByte = static_cast<unsigned char>(c);
        if (c == '\n' || c == '\t' || (nByte >= 0x20 && nByte != 0x7F))
            sResult += c;
        else if (c != '\r')
            sResult += '?';
    }
    return sResult;
}

// The terminal of this process, for as long as the object lives; closed when there is none that could answer.
class CTerminal
{
public:
    CTerminal()
    {
        if (isatty(STDIN_FILENO) != 1)
            return;

        m_nDescriptor = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);

        // A job in the background would be stopped by the read.
        if (m_nDescriptor != -1 && tcgetpgrp(m_nDescriptor) != getpgrp())
        {
            close(m_nDescriptor);
            m_nDescriptor = -1;
        }
    }

    ~CTerminal()
    {
        if (m_nDescriptor != -1)
            close(m_nDescriptor);
    }

    CTerminal(const CTerminal&) = delete;
    CTerminal& operator=(const CTerminal&) = delete;

    bool IsOpen() const { return m_nDescriptor != -1; }

    bool Write(std::string_view sText)
    {
        while (!sText.empty())
        {
            const ssize_t nWritten = write(m_nDescriptor, sText.data(), sText.size());
            if (nWritten > 0)
                sText.remove_prefix(static_cast<std::size_t>(nWritten));
            else if (nWritten == 0 || errno != EINTR)
                return false;
        }
        return true;
    }

    // Reads a line and drops its end; false when the terminal is gone or the user ended the input.
    bool ReadLine(std::string& sLine)
    {
        sLine.clear();
        for (;;)
        {
            char c = '\0';
            const ssize_t nRead = read(m_nDescriptor, &c, 1);
            if (nRead == 1 && c == '\n')
                return true;
            if (nRead == 1 && sLine.size() < MAX_ANSWER_SIZE)
                sLine += c;
            else if (nRead == 0 || (nRead == -1 && errno != EINTR))
                return false;
        }
    }

private:
    int m_nDescriptor = -1;
};

std::string FormatBox(const char* pText, const char* pCaption)
{
    return "\n" + MakePrintable(pCaption) + "\n\n" + MakePrintable(pText) + "\n";
}

eDialogAnswer AskOnTerminal(CTerminal& oTerminal, const char* pText, const char* pCaption)
{
    oTerminal.Write(FormatBox(pText, pCaption));

    std::string sLine;
    while (oTerminal.Write("[y]es, [n]o or [c]ancel? ") && oTerminal.ReadLine(sLine))
    {
        switch (sLine.empty() ? 'y' : sLine.front())
        {
        case 'y':
        case 'Y':
            return eDialogAnswer::Yes;
        case 'n':
        case 'N':
            return eDialogAnswer::No;
        case 'c':
        case 'C':
            return eDialogAnswer::Cancel;
        default:
            break;
        }
    }
    return eDialogAnswer::Yes;
}

// What a program that was run and waited for left behind.
struct sProgramResult
{
    bool bRan = false;
    int nStatus = -1;
    std::string sOutput;
};

// Runs a program, told by its full path, without a shell, waits for its end and keeps the first bytes of its standard
// output. It inherits the standard descriptors and no other.
sProgramResult RunProgram(const std::vector<std::string>& oArguments)
{
    sProgramResult oResult;

    int aPipe[2];
    if (pipe2(aPipe, O_CLOEXEC) != 0)
        return oResult;

    posix_spawn_file_actions_t oActions;
    posix_spawn_file_actions_init(&oActions);
    posix_spawn_file_actions_addopen(&oActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&oActions, aPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&oActions, FIRST_INHERITED_DESCRIPTOR);

    // What the program ignores or blocks is its own matter, not that of the dialog.
    posix_spawnattr_t oAttributes;
    posix_spawnattr_init(&oAttributes);
    sigset_t oSignals;
    sigemptyset(&oSignals);
    posix_spawnattr_setsigmask(&oAttributes, &oSignals);
    sigaddset(&oSignals, SIGPIPE);
    sigaddset(&oSignals, SIGCHLD);
    posix_spawnattr_setsigdefault(&oAttributes, &oSignals);
    posix_spawnattr_setflags(&oAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::vector<char*> oPointers;
    for (const std::string& sArgument : oArguments)
        oPointers.push_back(const_cast<char*>(sArgument.c_str()));
    oPointers.push_back(nullptr);

    pid_t nChild = -1;
    const bool bStarted =
        posix_spawn(&nChild, oPointers.front(), &oActions, &oAttributes, oPointers.data(), environ) == 0;
    posix_spawnattr_destroy(&oAttributes);
    posix_spawn_file_actions_destroy(&oActions);
    close(aPipe[1]);

    for (;;)
    {
        char aBytes[MAX_ANSWER_SIZE];
        const ssize_t nRead = bStarted ? read(aPipe[0], aBytes, sizeof aBytes) : 0;
        if (nRead > 0 && oResult.sOutput.size() < MAX_ANSWER_SIZE)
            oResult.sOutput.append(aBytes, static_cast<std::size_t>(nRead));
        else if (nRead == 0 || (nRead == -1 && errno != EINTR))
            break;
    }
    close(aPipe[0]);

    int nStatus = 0;
    pid_t nEnded = -1;
    while (bStarted && (nEnded = waitpid(nChild, &nStatus, 0)) == -1 && errno == EINTR)
    {
    }
    oResult.bRan = nEnded == nChild && nChild != -1 && WIFEXITED(nStatus);
    oResult.nStatus = oResult.bRan ? WEXITSTATUS(nStatus) : -1;
    return oResult;
}

// The full path of a program of the search path; empty when there is none.
std::string FindProgram(const char* pName)
{
    const char* pPath = std::getenv("PATH");
    std::string_view sPath = pPath != nullptr ? pPath : "/usr/local/bin:/usr/bin:/bin";
    while (!sPath.empty())
    {
        const std::size_t nEnd = sPath.find(':');
        std::string sProgram = std::string(sPath.substr(0, nEnd)) + "/" + pName;
        if (sProgram.front() == '/' && nEnd != 0 && access(sProgram.c_str(), X_OK) == 0)
            return sProgram;
        sPath = nEnd == std::string_view::npos ? std::string_view() : sPath.substr(nEnd + 1);
    }
    return std::string();
}

enum class eDialogProgram : int
{
    None,
    Zenity,
    Kdialog,
    Xmessage,
};

// The first of the dialog programs that is installed, and its full path.
std::pair<eDialogProgram, std::string> FindDialogProgram()
{
    constexpr std::pair<eDialogProgram, const char*> PROGRAMS[] = {
        {eDialogProgram::Zenity, "zenity"},
        {eDialogProgram::Kdialog, "kdialog"},
        {eDialogProgram::Xmessage, "xmessage"},
    };
    for (const auto& [nProgram, pName] : PROGRAMS)
    {
        std::string sPath = FindProgram(pName);
        if (!sPath.empty())
            return {nProgram, std::move(sPath)};
    }
    return {eDialogProgram::None, std::string()};
}

// The text for a program that takes "\n" and its like for escapes.
std::string EscapeBackslashes(std::string_view sText)
{
    std::string sResult;
    for (const char c : sText)
        sResult.append(c == '\\' ? 2 : 1, c);
    return sResult;
}

// The text for a program that takes what begins like an option for one.
std::string HideOptionSign(const std::string& sText)
{
    return sText.starts_with('-') || sText.starts_with('+') ? " " + sText : sText;
}

// False when it is not known that the user has seen the text: a closed window and a display that cannot be reached look
// the same.
bool ShowInformationInDialog(const std::string& sText, const std::string& sCaption)
{
    const auto [nProgram, sPath] = FindDialogProgram();
    switch (nProgram)
    {
    case eDialogProgram::Zenity:
        return RunProgram({sPath, "--info", "--no-markup", "--title=" + sCaption, "--text=" + EscapeBackslashes(sText)})
                   .nStatus == 0;
    case eDialogProgram::Kdialog:
        return RunProgram({sPath, "--title=" + sCaption, "--msgbox=" + EscapeBackslashes(sText)}).nStatus == 0;
    case eDialogProgram::Xmessage:
        return RunProgram({sPath, "-center", "-title", sCaption, "-buttons", "OK:0", HideOptionSign(sText)}).nStatus ==
               0;
    case eDialogProgram::None:
        break;
    }
    return false;
}

// False when there is no answer that is surely the user's.
bool AskInDialog(const std::string& sText, const std::string& sCaption, eDialogAnswer& nAnswer)
{
    // The exit status is the number of the button; for the last program we choose the numbers, so that its own 1 for a
    // failure is none of them.
    constexpr int FIRST_BUTTON = 100;
    int nButton = -1;

    const auto [nProgram, sPath] = FindDialogProgram();
    switch (nProgram)
    {
    case eDialogProgram::Zenity:
    {
        // The label of the button that was pressed comes on the standard output.
        const std::string sOutput =
            RunProgram({sPath, "--question", "--no-markup", "--switch", "--extra-button=Cancel", "--extra-button=No",
                        "--extra-button=Yes", "--title=" + sCaption, "--text=" + EscapeBackslashes(sText)})
                .sOutput;
        nAnswer = sOutput.starts_with("Yes")  ? eDialogAnswer::Yes
                  : sOutput.starts_with("No") ? eDialogAnswer::No
                                              : eDialogAnswer::Cancel;
        return !sOutput.empty();
    }
    case eDialogProgram::Kdialog:
        nButton = RunProgram({sPath, "--title=" + sCaption, "--yesnocancel=" + EscapeBackslashes(sText)}).nStatus;
        break;
    case eDialogProgram::Xmessage:
        nButton = RunProgram({sPath, "-center", "-title", sCaption, "-buttons", "Yes:100,No:101,Cancel:102", "-default",
                              "Yes", HideOptionSign(sText)})
                      .nStatus -
                  FIRST_BUTTON;
        break;
    case eDialogProgram::None:
        return false;
    }

    constexpr std::array ANSWERS = {eDialogAnswer::Yes, eDialogAnswer::No, eDialogAnswer::Cancel};
    if (nButton < 0 || nButton >= static_cast<int>(ANSWERS.size()))
        return false;
    nAnswer = ANSWERS[static_cast<std::size_t>(nButton)];
    return true;
}

void WriteToStandardError(const char* pText, const char* pCaption)
{
    WriteDebugger((std::string(pCaption) + ": " + pText + "\n").c_str());
}

// The rest of a child's life: becomes the opener, with no tie to this program. Calls only what a child of a program
// with several threads may call.
[[noreturn]] void BecomeDetached(const char* pProgram, char* const* ppArguments)
{
    setsid();
    if (fork() != 0)
        _exit(0);

    sigset_t oSignals;
    sigemptyset(&oSignals);
    pthread_sigmask(SIG_SETMASK, &oSignals, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGCHLD, SIG_DFL);

    const int nNull = open("/dev/null", O_RDWR);
    if (nNull != -1)
    {
        dup2(nNull, STDIN_FILENO);
        dup2(nNull, STDOUT_FILENO);
        dup2(nNull, STDERR_FILENO);
    }
    closefrom(FIRST_INHERITED_DESCRIPTOR);

    execv(pProgram, ppArguments);
    _exit(127);
}
} // namespace

void ShowInformation(const char* pText, const char* pCaption)
{
    if (!IsNobodyThere())
    {
        CTerminal oTerminal;
        if (oTerminal.IsOpen())
        {
            std::string sLine;
            oTerminal.Write(FormatBox(pText, pCaption) + "Press Enter: ");
            oTerminal.ReadLine(sLine);
            return;
        }
        if (HasDisplay() && ShowInformationInDialog(pText, pCaption))
            return;
    }
    WriteToStandardError(pText, pCaption);
}

eDialogAnswer AskYesNoCancel(const char* pText, const char* pCaption)
{
    if (!IsNobodyThere())
    {
        CTerminal oTerminal;
        if (oTerminal.IsOpen())
            return AskOnTerminal(oTerminal, pText, pCaption);

        eDialogAnswer nAnswer = eDialogAnswer::Yes;
        if (HasDisplay() && AskInDialog(pText, pCaption, nAnswer))
            return nAnswer;
    }
    WriteToStandardError(pText, pCaption);
    return eDialogAnswer::Yes;
}

void MakeBeep(unsigned)
{
    if (isatty(STDERR_FILENO) == 1)
        WriteDebugger("\a");
}

bool ShowDocument(const char* pPath)
{
    if (IsNobodyThere() || !HasDisplay())
        return false;

    const std::string sProgram = FindProgram("xdg-open");
    if (sProgram.empty())
        return false;

    // A name that begins with a dash would be taken for an option.
    std::string sDocument = *pPath == '-' ? std::string("./") + pPath : std::string(pPath);
    std::string sName = "xdg-open";
    char* const aArguments[] = {sName.data(), sDocument.data(), nullptr};

    // The opener becomes a child of the system's first process, which reaps it whenever it ends.
    const pid_t nChild = fork();
    if (nChild == 0)
        BecomeDetached(sProgram.c_str(), aArguments);
    while (nChild != -1 && waitpid(nChild, nullptr, 0) == -1 && errno == EINTR)
    {
    }
    return nChild != -1;
}
} // namespace System
