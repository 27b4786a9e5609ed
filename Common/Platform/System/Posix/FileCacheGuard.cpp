#include <Common/Platform/System/Posix/FileCacheGuard.h>

#include <Common/Platform/System/SystemProcess.h>

#include <pthread.h>

#include <atomic>

namespace System
{
namespace
{
pthread_mutex_t s_oMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_once_t s_oPrepared = PTHREAD_ONCE_INIT;

// The lock of HoldWhileCopied(); it is entered first, as by the threads that hold both.
void DoNothing() {}

std::atomic<void (*)()> s_pEnterOuter = &DoNothing;
std::atomic<void (*)()> s_pLeaveOuter = &DoNothing;

void Lock()
{
    pthread_mutex_lock(&s_oMutex);
}

void Unlock()
{
    pthread_mutex_unlock(&s_oMutex);
}

void BeforeFork()
{
    s_pEnterOuter.load(std::memory_order_acquire)();
    Lock();
}

void AfterFork()
{
    Unlock();
    s_pLeaveOuter.load(std::memory_order_acquire)();
}

void PrepareProcess()
{
    pthread_atfork(&BeforeFork, &AfterFork, &AfterFork);
}
} // namespace

CFileCacheGuard::CFileCacheGuard() noexcept
{
    pthread_once(&s_oPrepared, &PrepareProcess);
    Lock();
}

CFileCacheGuard::~CFileCacheGuard()
{
    Unlock();
}

void HoldWhileCopied(void (*pEnter)(), void (*pLeave)())
{
    s_pLeaveOuter.store(pLeave, std::memory_order_release);
    s_pEnterOuter.store(pEnter, std::memory_order_release);
    pthread_once(&s_oPrepared, &PrepareProcess);
}
} // namespace System
