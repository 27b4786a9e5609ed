#include <Common/Platform/System/SystemProcess.h>

#include <Common/Platform/System/Posix/BrokenPipeGuard.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace System
{
namespace
{
// Longest wait for a standard error that takes nothing at the moment; what is left of the text is dropped then.
constexpr int BUSY_LIMIT_MS = 100;

bool WaitUntilWritable(int nDescriptor)
{
    pollfd oPoll = {nDescriptor, POLLOUT, 0};
    return poll(&oPoll, 1, BUSY_LIMIT_MS) == 1 && (oPoll.revents & POLLOUT) != 0;
}
} // namespace

unsigned long GetProcessNumber()
{
    return static_cast<unsigned long>(getpid());
}

std::size_t ReadComputerName(char* pBuffer)
{
    if (gethostname(pBuffer, COMPUTER_NAME_SIZE) != 0)
        pBuffer[0] = '\0';
    pBuffer[COMPUTER_NAME_SIZE] = '\0';
    return std::strlen(pBuffer);
}

bool IsDebuggerAttached()
{
    const int nStatus = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (nStatus == -1)
        return false;

    // The line stands near the top of a file of some 1,500 bytes.
    char aText[4096];
    const ssize_t nSize = read(nStatus, aText, sizeof aText - 1);
    close(nStatus);
    aText[nSize > 0 ? nSize : 0] = '\0';

    constexpr const char* LABEL = "\nTracerPid:";
    const char* pLine = std::strstr(aText, LABEL);
    return pLine != nullptr && std::strtol(pLine + std::strlen(LABEL), nullptr, 10) != 0;
}

void BreakIntoDebugger()
{
    raise(SIGTRAP);
}

void WriteDebugger(const char* pText)
{
    const int nError = errno;

    std::size_t nLeft = std::strlen(pText);
    while (nLeft != 0)
    {
        const ssize_t nWritten = WriteWithoutSignal(STDERR_FILENO, pText, nLeft);
        if (nWritten >= 0)
        {
            pText += nWritten;
            nLeft -= static_cast<std::size_t>(nWritten);
        }
        else if (errno != EINTR && !(errno == EAGAIN && WaitUntilWritable(STDERR_FILENO)))
            break;
    }

    errno = nError;
}

void EndProcess(int nStatus)
{
    _exit(nStatus);
}
} // namespace System
