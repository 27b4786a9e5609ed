// A terminal as Linux has it: bytes in, escape sequences out.

#include "../Terminal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace
{
termios s_oBefore;
volatile std::sig_atomic_t s_bEntered = 0;

void Handle(int nSignal, void (*pHandler)(int), int nFlags)
{
    struct sigaction oAction = {};
    oAction.sa_handler = pHandler;
    oAction.sa_flags = nFlags;
    sigemptyset(&oAction.sa_mask);
    sigaction(nSignal, &oAction, nullptr);
}
} // namespace

CTerminal::CTerminal()
{
    if (tcgetattr(STDIN_FILENO, &s_oBefore) != 0)
        throw std::runtime_error("the terminal: cannot be set up");
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        Handle(
            nSignal, [](int nEnding) { s_nEndSignal = nEnding; }, 0);
    for (const int nSignal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGQUIT})
        Handle(
            nSignal, [](int nCrash) { Restore(), raise(nCrash); }, static_cast<int>(SA_RESETHAND)); // once
    Handle(SIGPIPE, SIG_IGN, 0);
    std::atexit(&CTerminal::Restore);

    termios oRaw = s_oBefore;
    oRaw.c_iflag &= ~static_cast<tcflag_t>(IXON | ICRNL | BRKINT | ISTRIP | INPCK);
    oRaw.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | IEXTEN);
    oRaw.c_cc[VMIN] = oRaw.c_cc[VTIME] = 0;
    oRaw.c_cc[VSUSP] = _POSIX_VDISABLE; // a game is paused, not stopped with its picture left behind
    tcsetattr(STDIN_FILENO, TCSANOW, &oRaw);
    s_bEntered = 1;
    Write("\x1b[?1049h\x1b[?25l\x1b[2J"); // another screen beside the one with the lines, and no cursor
}

bool CTerminal::IsThere()
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
}

void CTerminal::Restore()
{
    if (s_bEntered == 0)
        return;
    s_bEntered = 0;
    constexpr std::string_view LEAVE = "\x1b[0m\x1b[?25h\x1b[?1049l";
    [[maybe_unused]] const auto nWritten = write(STDOUT_FILENO, LEAVE.data(), LEAVE.size());
    tcsetattr(STDIN_FILENO, TCSANOW, &s_oBefore);
}

void CTerminal::GetSize(int& nWidth, int& nHeight) const
{
    winsize oSize{};
    const bool bTold = ioctl(STDOUT_FILENO, TIOCGWINSZ, &oSize) == 0 && oSize.ws_col != 0 && oSize.ws_row != 0;
    nWidth = bTold ? oSize.ws_col : 80;
    nHeight = bTold ? oSize.ws_row : 24;
}

bool CTerminal::Write(std::string_view sBytes)
{
    while (!sBytes.empty() && s_bEntered != 0)
    {
        const auto nWritten = write(STDOUT_FILENO, sBytes.data(), sBytes.size());
        if (nWritten > 0)
            sBytes.remove_prefix(static_cast<std::size_t>(nWritten));
        else if (errno != EINTR && errno != EAGAIN)
            return false;
        else if (s_nEndSignal != 0)
            return true;
    }
    return true;
}

bool CTerminal::ReadKeys(int nMilliseconds, std::vector<int>& aKeys)
{
    pollfd oPoll{STDIN_FILENO, POLLIN, 0};
    const int nReady = poll(&oPoll, 1, nMilliseconds);
    if (s_nEndSignal != 0)
        return false;
    if (nReady <= 0)
        return nReady == 0 || errno == EINTR;

    std::array<char, 4096> aBytes;
    const auto nRead = read(STDIN_FILENO, aBytes.data(), aBytes.size());
    if (nRead <= 0)
        return nRead != 0 && (errno == EINTR || errno == EAGAIN);

    for (std::string_view sBytes(aBytes.data(), static_cast<std::size_t>(nRead)); !sBytes.empty();)
    {
        if (sBytes.size() >= 3 && sBytes[0] == '\x1b' && (sBytes[1] == '[' || sBytes[1] == 'O'))
        {
            constexpr std::string_view ARROWS = "ABDC"; // up, down, left, right
            const auto nArrow = ARROWS.find(sBytes[2]);
            if (nArrow != std::string_view::npos)
                aKeys.push_back(keyUp + static_cast<int>(nArrow));
            sBytes.remove_prefix(3);
            continue;
        }
        const int nByte = static_cast<unsigned char>(sBytes[0]);
        aKeys.push_back(nByte == '\r' ? keyEnter : nByte == 127 ? keyBackspace : nByte);
        sBytes.remove_prefix(1);
    }
    return true;
}

std::size_t GetResidentMemory()
{
    std::size_t nAll = 0;
    std::size_t nResident = 0;
    std::ifstream("/proc/self/statm") >> nAll >> nResident;
    return nResident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}
