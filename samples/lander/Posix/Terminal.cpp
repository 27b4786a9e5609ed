// A terminal as Linux has it: bytes in, escape sequences out.

#include "../Terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

namespace
{
termios s_oBefore;
std::atomic<bool> s_bStopped = false;
} // namespace

bool CTerminal::Begin()
{
    if (isatty(STDOUT_FILENO) == 0 || tcgetattr(STDIN_FILENO, &s_oBefore) != 0)
        return false;
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        std::signal(nSignal, [](int nEnding) { s_nEndSignal = nEnding; });
    std::signal(SIGBUS, &OnCrash);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTSTP, &OnStop);
    return true;
}

void CTerminal::OnStop(int)
{
    s_bStopped = s_bEntered.load();
    Restore();
    raise(SIGSTOP);
    if (s_bStopped) // goes on
        Enter();
}

void CTerminal::SetRaw(bool bRaw)
{
    termios oMode = s_oBefore;
    if (bRaw)
    {
        oMode.c_iflag &= ~static_cast<tcflag_t>(IXON | ICRNL | BRKINT | ISTRIP | INPCK);
        oMode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | IEXTEN);
        oMode.c_cc[VMIN] = oMode.c_cc[VTIME] = 0;
    }
    tcsetattr(STDIN_FILENO, TCSANOW, &oMode);
}

std::pair<int, int> CTerminal::GetSize()
{
    winsize oSize{};
    const bool bTold = ioctl(STDOUT_FILENO, TIOCGWINSZ, &oSize) == 0 && oSize.ws_col != 0 && oSize.ws_row != 0;
    return bTold ? std::pair<int, int>(oSize.ws_col, oSize.ws_row) : std::pair(80, 24);
}

bool CTerminal::Write(std::string_view sBytes)
{
    while (!sBytes.empty() && s_bEntered)
    {
        const auto nWritten = write(STDOUT_FILENO, sBytes.data(), sBytes.size());
        if (nWritten <= 0 && errno != EAGAIN)
            return false;
        sBytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(nWritten, 0)));
    }
    return true;
}

bool CTerminal::Read(int nMilliseconds, std::string& sTyped)
{
    pollfd oPoll{STDIN_FILENO, POLLIN, 0};
    std::array<char, 4096> aBytes;
    const int nReady = poll(&oPoll, 1, nMilliseconds);
    const auto nRead = nReady > 0 ? read(STDIN_FILENO, aBytes.data(), aBytes.size()) : nReady;
    const bool bGone = nReady != 0 && (nRead == 0 || (nRead < 0 && errno != EINTR && errno != EAGAIN));
    sTyped.append(aBytes.data(), static_cast<std::size_t>(std::max<ssize_t>(nRead, 0)));
    if (s_bStopped.exchange(false))
        sTyped += '\f'; // as if Ctrl+L had been typed
    return !bGone && s_nEndSignal == 0;
}

unsigned GetPeakMemory()
{
    rusage oUsage{};
    getrusage(RUSAGE_SELF, &oUsage);
    return static_cast<unsigned>(oUsage.ru_maxrss);
}
