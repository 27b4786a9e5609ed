#include <Common/Platform/System/Posix/BrokenPipeGuard.h>

#include <atomic>
#include <cerrno>

#include <pthread.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

namespace System
{
namespace
{
// The kernel's RWF_NOSIGNAL (since 6.18): one call writes and raises no signal. Named here for older headers.
constexpr int WRITE_NO_SIGNAL = 0x100;

// Cleared when the kernel does not know the flag.
constinit std::atomic<bool> g_bKernelCanSuppress = true;
} // namespace

CBrokenPipeGuard::CBrokenPipeGuard() : m_bWasPending(false)
{
    sigset_t oPending;
    sigemptyset(&oPending);
    sigpending(&oPending);
    m_bWasPending = sigismember(&oPending, SIGPIPE) == 1;

    sigset_t oBrokenPipe;
    sigemptyset(&oBrokenPipe);
    sigaddset(&oBrokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &oBrokenPipe, &m_oOldMask);
}

CBrokenPipeGuard::~CBrokenPipeGuard()
{
    const int nError = errno;

    // The signal of a failed write is sent to the writing thread: it is pending here or nowhere.
    sigset_t oBrokenPipe;
    sigemptyset(&oBrokenPipe);
    sigaddset(&oBrokenPipe, SIGPIPE);
    const timespec oNow = {};
    while (!m_bWasPending && sigtimedwait(&oBrokenPipe, nullptr, &oNow) == -1 && errno == EINTR)
    {
    }

    pthread_sigmask(SIG_SETMASK, &m_oOldMask, nullptr);
    errno = nError;
}

ssize_t WriteWithoutSignal(int nDescriptor, const void* pData, std::size_t nSize)
{
    if (g_bKernelCanSuppress.load(std::memory_order_relaxed))
    {
        const iovec oData = {const_cast<void*>(pData), nSize};
        const ssize_t nWritten = pwritev2(nDescriptor, &oData, 1, -1, WRITE_NO_SIGNAL);
        if (nWritten != -1 || (errno != EOPNOTSUPP && errno != ENOSYS))
            return nWritten;

        // Some devices do not take the flag even where the kernel knows it: only a pipe tells about the kernel.
        struct stat oStatus;
        if (fstat(nDescriptor, &oStatus) == 0 && S_ISFIFO(oStatus.st_mode))
            g_bKernelCanSuppress.store(false, std::memory_order_relaxed);
    }

    const CBrokenPipeGuard oGuard;
    return write(nDescriptor, pData, nSize);
}
} // namespace System
