#if !defined(_WIN32)

#    include <tests/support/Terminal.h>

#    include <cerrno>
#    include <chrono>
#    include <csignal>
#    include <cstdlib>

#    include <fcntl.h>
#    include <poll.h>
#    include <sys/ioctl.h>
#    include <sys/wait.h>
#    include <termios.h>
#    include <unistd.h>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{
constexpr std::chrono::seconds LIMIT{60};

// The rest of a child's life. Calls only what a copy of a process with several threads may call.
[[noreturn]] void BecomeProgram(int nTerminal, CTerminalChild::ePlace nPlace, char* const* ppArguments)
{
    alarm(2 * LIMIT.count());
    setsid();
    if (nPlace != CTerminalChild::ePlace::NoTerminal)
        ioctl(nTerminal, TIOCSCTTY, 0);
    for (const int nDescriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nTerminal, nDescriptor);

    // A program that was started in the background hands on to its children that they ignore the terminal's keys.
    for (const int nSignal : {SIGINT, SIGQUIT, SIGHUP})
        std::signal(nSignal, SIG_DFL);

    // The terminal stays with the session's first process, which only hands on how the other one ended.
    if (nPlace == CTerminalChild::ePlace::Background)
    {
        const pid_t nJob = fork();
        if (nJob != 0)
        {
            int nStatus = 0;
            if (nJob == -1 || waitpid(nJob, &nStatus, WUNTRACED) != nJob || !WIFEXITED(nStatus))
            {
                kill(nJob, SIGKILL);
                _exit(126);
            }
            _exit(WEXITSTATUS(nStatus));
        }
        setpgid(0, 0);
    }

    execv(ppArguments[0], ppArguments);
    _exit(127);
}
} // namespace

struct CTerminalChild::Implementation
{
    // Waits for what the terminal shows; false when the child is gone from it or the time has run out.
    bool ReadMore()
    {
        const auto oLeft = std::chrono::duration_cast<milliseconds>(oEnd - steady_clock::now());
        pollfd oPoll{nMaster, POLLIN, 0};
        if (oLeft.count() <= 0 || poll(&oPoll, 1, static_cast<int>(oLeft.count())) != 1)
        {
            bTimedOut = true;
            return false;
        }

        char aBytes[4096];
        const auto nRead = read(nMaster, aBytes, sizeof(aBytes));
        if (nRead <= 0)
            return false;
        sShown.append(aBytes, static_cast<std::size_t>(nRead));
        return true;
    }

    int nMaster = -1;
    pid_t nProcess = -1;
    steady_clock::time_point oEnd = steady_clock::now() + LIMIT;
    bool bTimedOut = false;
    std::string sShown;
    std::size_t nWaitedFor = 0; // how much of it WaitFor() has passed
};

CTerminalChild::CTerminalChild(const std::vector<std::string>& oCommand, ePlace nPlace)
    : m_pImplementation(std::make_unique<Implementation>())
{
    const int nMaster = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (nMaster == -1 || grantpt(nMaster) != 0 || unlockpt(nMaster) != 0)
        return;
    m_pImplementation->nMaster = nMaster;

    const char* pTerminal = ptsname(nMaster);
    const int nTerminal = pTerminal != nullptr ? open(pTerminal, O_RDWR | O_NOCTTY | O_CLOEXEC) : -1;
    if (nTerminal == -1)
        return;

    std::vector<std::string> oCopies(oCommand);
    std::vector<char*> oArguments;
    for (auto& sArgument : oCopies)
        oArguments.push_back(sArgument.data());
    oArguments.push_back(nullptr);

    m_pImplementation->nProcess = fork();
    if (m_pImplementation->nProcess == 0)
        BecomeProgram(nTerminal, nPlace, oArguments.data());
    close(nTerminal);
}

CTerminalChild::~CTerminalChild()
{
    if (m_pImplementation->nProcess > 0)
    {
        kill(m_pImplementation->nProcess, SIGKILL);
        waitpid(m_pImplementation->nProcess, nullptr, 0);
    }
    if (m_pImplementation->nMaster != -1)
        close(m_pImplementation->nMaster);
}

bool CTerminalChild::WaitFor(const std::string& sText)
{
    auto& oState = *m_pImplementation;
    std::size_t nFound = 0;
    while ((nFound = oState.sShown.find(sText, oState.nWaitedFor)) == std::string::npos)
        if (!oState.ReadMore())
            return false;
    oState.nWaitedFor = nFound + sText.size();
    return true;
}

void CTerminalChild::Type(const std::string& sText)
{
    for (std::size_t nTyped = 0; nTyped < sText.size();)
    {
        const auto nWritten = write(m_pImplementation->nMaster, sText.data() + nTyped, sText.size() - nTyped);
        if (nWritten <= 0 && errno != EINTR)
            return;
        nTyped += nWritten > 0 ? static_cast<std::size_t>(nWritten) : 0;
    }
}

ChildResult CTerminalChild::Wait()
{
    auto& oState = *m_pImplementation;
    ChildResult oResult;
    if (oState.nProcess <= 0)
        return oResult;

    while (oState.nMaster != -1 && oState.ReadMore())
    {
    }
    if (oState.bTimedOut)
        kill(oState.nProcess, SIGKILL);

    int nStatus = 0;
    if (waitpid(oState.nProcess, &nStatus, 0) == oState.nProcess && WIFEXITED(nStatus))
        oResult.nExitCode = WEXITSTATUS(nStatus);
    oState.nProcess = -1;
    oResult.bTimedOut = oState.bTimedOut;
    oResult.sOutput = oState.sShown;
    return oResult;
}

void CTerminalChild::SetSize(int nWidth, int nHeight)
{
    winsize oSize{};
    oSize.ws_col = static_cast<unsigned short>(nWidth);
    oSize.ws_row = static_cast<unsigned short>(nHeight);
    ioctl(m_pImplementation->nMaster, TIOCSWINSZ, &oSize);
}

void CTerminalChild::Signal(int nSignal)
{
    if (m_pImplementation->nProcess > 0)
        kill(m_pImplementation->nProcess, nSignal);
}

void CTerminalChild::Close()
{
    close(m_pImplementation->nMaster);
    m_pImplementation->nMaster = -1;
}

bool CTerminalChild::IsAsItWas() const
{
    termios oMode{};
    return tcgetattr(m_pImplementation->nMaster, &oMode) == 0 && (oMode.c_lflag & ECHO) != 0 &&
           (oMode.c_lflag & ICANON) != 0;
}

bool HasTerminals()
{
    return true;
}

#endif
