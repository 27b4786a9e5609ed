#include <Common/Platform/System/Posix/FileCacheGuard.h>

#include <pthread.h>

namespace System
{
namespace
{
pthread_mutex_t s_oMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_once_t s_oPrepared = PTHREAD_ONCE_INIT;

void Lock()
{
    pthread_mutex_lock(&s_oMutex);
}

void Unlock()
{
    pthread_mutex_unlock(&s_oMutex);
}

void PrepareProcess()
{
    pthread_atfork(&Lock, &Unlock, &Unlock);
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
} // namespace System
