#pragma once

#include <csignal>
#include <cstddef>

#include <sys/types.h>

namespace System
{
// While it lives, a write of this thread to a channel whose reader is gone fails with EPIPE and raises no signal that
// outlives the guard. What the program itself has set for the signal stays as it is.
class CBrokenPipeGuard
{
public:
    CBrokenPipeGuard();
    ~CBrokenPipeGuard();

    CBrokenPipeGuard(const CBrokenPipeGuard&) = delete;
    CBrokenPipeGuard& operator=(const CBrokenPipeGuard&) = delete;

private:
    sigset_t m_oOldMask;
    bool m_bWasPending;
};

// write(), without the signal when the other end is gone: the result is then -1 and errno EPIPE. Not repeated when it
// is interrupted or short.
ssize_t WriteWithoutSignal(int nDescriptor, const void* pData, std::size_t nSize);
} // namespace System
