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
    m_pOwned = m_aFirst;
    m_nCapacity = FIRST_CAPACITY;
    m_nNumber = static_cast<std::uint32_t>(syscall(SYS_gettid));
}

bool ThreadRecord::Grow()
{
    // Mutexes that others closed while this thread owned them are still noted here.
    std::uint32_t nKept = 0;
    for (std::uint32_t i = 0; i < m_nOwned; ++i)
    {
        const OwnedMutex oOwned = m_pOwned[i];
        if (oOwned.pNamed == nullptr ? WaitTable::IsMutexOf(oOwned.hMutex, m_nNumber) : !oOwned.pNamed->IsRetired())
            m_pOwned[nKept++] = oOwned;
        else if (oOwned.pNamed != nullptr)
            oOwned.pNamed->RemoveUse();
    }
    m_nOwned = nKept;
    if (m_nOwned <= m_nCapacity / 2)
        return true;

    const std::uint32_t nCapacity = m_nCapacity * 2;
    auto* pMore = static_cast<OwnedMutex*>(std::malloc(nCapacity * sizeof(OwnedMutex)));
    if (pMore == nullptr)
        return m_nOwned < m_nCapacity;

    std::memcpy(pMore, m_pOwned, m_nOwned * sizeof(OwnedMutex));
    if (m_pOwned != m_aFirst)
        std::free(m_pOwned);
    m_pOwned = pMore;
    m_nCapacity = nCapacity;
    return true;
}

void ThreadRecord::AbandonAll()
{
    while (m_nOwned > 0)
    {
        const OwnedMutex oOwned = m_pOwned[--m_nOwned];
        if (oOwned.pNamed != nullptr)
            oOwned.pNamed->AbandonMutex(m_nNumber);
        else
            WaitTable::AbandonMutex(oOwned.hMutex, m_nNumber);
    }
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

    if (oThis.m_pOwned != oThis.m_aFirst)
        std::free(oThis.m_pOwned);
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
    for (std::uint32_t i = 0; i < oThis.m_nOwned;)
    {
        OwnedMutex* pOwned = oThis.m_pOwned + i;
        if (pOwned->pNamed != nullptr)
            oThis.Remove(pOwned); // stays with the parent
        else
            ++i;
    }
    WaitTable::AfterForkInChild(nOldNumber, oThis.m_nNumber);
    NamedObject::AfterForkInChild();
}
} // namespace System
