#include <Common/Platform/System/SystemSync.h>

#include <windows.h>

#include <cstring>
#include <new>
#include <unordered_set>

namespace
{
static_assert(sizeof(CRITICAL_SECTION) == System::CRITICAL_SECTION_SIZE);
static_assert(alignof(CRITICAL_SECTION) <= alignof(void*));

// The critical sections that were opened, by address. What lies in a raw copy looks like one, and deleting it would
// free what belongs to the original.
class OpenedSections
{
public:
    void Add(const void* pStorage)
    {
        const Lock oLock(m_oLock);
        m_oAddresses.insert(pStorage);
    }

    bool Remove(const void* pStorage)
    {
        const Lock oLock(m_oLock);
        return m_oAddresses.erase(pStorage) != 0;
    }

private:
    class Lock
    {
    public:
        explicit Lock(SRWLOCK& oLock) : m_oLock(oLock) { AcquireSRWLockExclusive(&m_oLock); }

        ~Lock() { ReleaseSRWLockExclusive(&m_oLock); }

        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        SRWLOCK& m_oLock;
    };

    SRWLOCK m_oLock = SRWLOCK_INIT;
    std::unordered_set<const void*> m_oAddresses;
};

// Never destroyed: static objects of other modules close theirs after this library's own statics are gone.
OpenedSections& Opened()
{
    alignas(OpenedSections) static unsigned char s_aStorage[sizeof(OpenedSections)];
    static auto* s_pOpened = ::new (s_aStorage) OpenedSections;
    return *s_pOpened;
}

const char* NameOrNone(const char* pName)
{
    return pName != nullptr && *pName != '\0' ? pName : nullptr;
}

// The versions of the system differ by one in what they take.
bool IsPossible(const char* pName)
{
    return pName == nullptr || std::strlen(pName) <= System::LONGEST_OBJECT_NAME;
}
} // namespace

void* System::MakeMutex(bool bOwned, const char* pName)
{
    return IsPossible(pName) ? CreateMutexA(nullptr, bOwned, NameOrNone(pName)) : nullptr;
}

void* System::MakeEvent(bool bManualReset, bool bSignalled, const char* pName)
{
    return IsPossible(pName) ? CreateEventA(nullptr, bManualReset, bSignalled, NameOrNone(pName)) : nullptr;
}

void* System::MakeSemaphore(int nCount, int nMaximum, const char* pName)
{
    return IsPossible(pName) ? CreateSemaphoreA(nullptr, nCount, nMaximum, NameOrNone(pName)) : nullptr;
}

bool System::UnlockMutex(void* hMutex)
{
    return ReleaseMutex(hMutex) != 0;
}

bool System::SetEventSignal(void* hEvent)
{
    return SetEvent(hEvent) != 0;
}

bool System::ClearEventSignal(void* hEvent)
{
    return ResetEvent(hEvent) != 0;
}

bool System::UnlockSemaphore(void* hSemaphore, int nCount, int& nPrevious)
{
    LONG nBefore = 0;
    if (nCount <= 0 || !ReleaseSemaphore(hSemaphore, nCount, &nBefore))
        return false;

    nPrevious = nBefore;
    return true;
}

unsigned System::WaitFor(void* hObject, unsigned nMilliseconds)
{
    static_assert(WAIT_OBJECT_0 == WAIT_RESULT_SIGNALLED && WAIT_ABANDONED == WAIT_RESULT_ABANDONED &&
                  WAIT_TIMEOUT == WAIT_RESULT_TIME_OUT && WAIT_FAILED == WAIT_RESULT_FAILED &&
                  INFINITE == NO_TIME_LIMIT);
    return WaitForSingleObject(hObject, nMilliseconds);
}

bool System::CloseWaitable(void* hObject)
{
    return CloseHandle(hObject) != 0;
}

void System::OpenCriticalSection(void* pStorage)
{
    InitializeCriticalSection(static_cast<CRITICAL_SECTION*>(pStorage));
    try
    {
        Opened().Add(pStorage);
    }
    catch (const std::bad_alloc&)
    {
        // It works, and is never deleted: its end leaves what the system holds for it.
    }
}

void System::CopyCriticalStorage(void* pStorage, const void* pOther)
{
    std::memcpy(pStorage, pOther, CRITICAL_SECTION_SIZE);
}

void System::CloseCriticalSection(void* pStorage)
{
    if (Opened().Remove(pStorage))
        DeleteCriticalSection(static_cast<CRITICAL_SECTION*>(pStorage));
}

void System::EnterCriticalStorage(void* pStorage)
{
    EnterCriticalSection(static_cast<CRITICAL_SECTION*>(pStorage));
}

void System::LeaveCriticalStorage(void* pStorage)
{
    LeaveCriticalSection(static_cast<CRITICAL_SECTION*>(pStorage));
}
