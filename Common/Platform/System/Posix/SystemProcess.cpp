#include <Common/Platform/System/SystemProcess.h>

#include <Common/Platform/System/Posix/BrokenPipeGuard.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

namespace System
{
namespace
{
// Longest wait for a standard error that takes nothing at the moment; what is left of the text is dropped then.
constexpr int BUSY_LIMIT_MS = 100;

// A page that is all zeros again in every copy of this process, however the copy is made: its first number is that of
// the process. Null where the system has no such pages.
std::atomic<pid_t>* MakeProcessPage()
{
    const auto nSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* pPage = mmap(nullptr, nSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pPage == MAP_FAILED)
        return nullptr;
    if (madvise(pPage, nSize, MADV_WIPEONFORK) == 0)
        return static_cast<std::atomic<pid_t>*>(pPage);
    munmap(pPage, nSize);
    return nullptr;
}

static_assert(std::atomic<pid_t>::is_always_lock_free);

// Null for a static object that asks before it is made, too.
std::atomic<pid_t>* g_pProcess = MakeProcessPage();

// Where a program starts without a standard error the first file, slot or pipe that is opened takes its number: texts
// for the debugger must not get into it.
const bool LACKS_STANDARD_ERROR = fcntl(STDERR_FILENO, F_GETFD) == -1;

bool WaitUntilWritable(int nDescriptor)
{
    pollfd oPoll = {nDescriptor, POLLOUT, 0};
    return poll(&oPoll, 1, BUSY_LIMIT_MS) == 1 && (oPoll.revents & POLLOUT) != 0;
}
} // namespace

unsigned long GetProcessNumber()
{
    if (g_pProcess == nullptr)
        return static_cast<unsigned long>(getpid());

    pid_t nProcess = g_pProcess->load(std::memory_order_relaxed);
    if (nProcess == 0)
    {
        nProcess = getpid();
        g_pProcess->store(nProcess, std::memory_order_relaxed);
    }
    return static_cast<unsigned long>(nProcess);
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
    if (LACKS_STANDARD_ERROR)
        return;

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
