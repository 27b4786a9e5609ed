#include <Common/Platform/System/Posix/ThreadRecord.h>

#include <Common/Platform/System/Posix/NamedObject.h>
#include <Common/Platform/System/Posix/WaitTable.h>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace System
{
constinit thread_local ThreadRecord t_oThreadRecord;

namespace
{
pthread_once_t s_oPrepared = PTHREAD_ONCE_INIT;
pthread_key_t s_nKey;

void BeforeFork()
{
    NamedObject::BeforeFork();
    WaitTable::BeforeFork();
}

void AfterForkInParent()
{
    WaitTable::AfterForkInParent();
    NamedObject::AfterForkInParent();
}
} // namespace

void ThreadRecord::PrepareProcess()
{
    if (pthread_key_create(&s_nKey, &ThreadRecord::AtThreadEnd) != 0)
        std::abort(); // without it no mutex could ever be abandoned, and no wait for a thread would end
    pthread_atfork(&BeforeFork, &AfterForkInParent, &ThreadRecord::AfterForkInChild);
}

void ThreadRecord::Register()
{
    pthread_once(&s_oPrepared, &ThreadRecord::PrepareProcess);
    pthread_setspecific(s_nKey, this);
    m_ppNamed = m_aFirst;
    m_nCapacity = FIRST_CAPACITY;
    m_nNumber = static_cast<std::uint32_t>(syscall(SYS_gettid));
}

bool ThreadRecord::Grow()
{
    // Mutexes that are gone while this thread owned them are still noted here.
    std::uint32_t nKept = 0;
    for (std::uint32_t i = 0; i < m_nNamed; ++i)
    {
        if (NamedObject* pNamed = m_ppNamed[i]; pNamed->IsRetired())
            pNamed->RemoveUse();
        else
            m_ppNamed[nKept++] = pNamed;
    }
    m_nNamed = nKept;
    if (m_nNamed <= m_nCapacity / 2)
        return true;

    const std::uint32_t nCapacity = m_nCapacity * 2;
    auto** ppMore = static_cast<NamedObject**>(std::malloc(nCapacity * sizeof(void*)));
    if (ppMore == nullptr)
        return m_nNamed < m_nCapacity;

    std::memcpy(ppMore, m_ppNamed, m_nNamed * sizeof(void*));
    if (m_ppNamed != m_aFirst)
        std::free(m_ppNamed);
    m_ppNamed = ppMore;
    m_nCapacity = nCapacity;
    return true;
}

void ThreadRecord::AbandonAll()
{
    while (m_nNamed > 0)
        m_ppNamed[--m_nNamed]->AbandonMutex(m_nNumber);

    if (m_hMutex != 0)
        WaitTable::AbandonMutex(m_hMutex, m_nNumber);
    if (m_bMoreMutexes)
        WaitTable::AbandonMutexesOf(m_nNumber);
    m_hMutex = 0;
    m_bMoreMutexes = false;
}

// Comes in two rounds, so that the other libraries' destructors had their turn before the thread counts as ended.
void ThreadRecord::AtThreadEnd(void* pRecord)
{
    auto& oThis = *static_cast<ThreadRecord*>(pRecord);

    oThis.AbandonAll();
    if (!oThis.m_bEnding)
    {
        oThis.m_bEnding = true;
        pthread_setspecific(s_nKey, pRecord);
        return;
    }

    if (oThis.m_ppNamed != oThis.m_aFirst)
        std::free(oThis.m_ppNamed);
    oThis.m_nNumber = 0; // a destructor that comes even later begins anew

    if (const std::uint32_t hThread = oThis.m_hThread; hThread != 0)
    {
        oThis.m_hThread = 0;
        WaitTable::EndThread(hThread, oThis.m_nExitCode);
    }
}

void ThreadRecord::AfterForkInChild()
{
    ThreadRecord& oThis = t_oThreadRecord;
    const std::uint32_t nOldNumber = oThis.m_nNumber;
    if (nOldNumber != 0)
        oThis.m_nNumber = static_cast<std::uint32_t>(syscall(SYS_gettid));

    oThis.m_hThread = 0;
    oThis.m_nNamed = 0; // they stay with the parent
    WaitTable::AfterForkInChild(nOldNumber, oThis.m_nNumber);
    NamedObject::AfterForkInChild();
}
} // namespace System
