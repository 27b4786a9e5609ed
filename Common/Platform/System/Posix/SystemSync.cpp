#include <Common/Platform/System/SystemSync.h>

#include <Common/Platform/System/Posix/Futex.h>
#include <Common/Platform/System/Posix/NamedObject.h>
#include <Common/Platform/System/Posix/WaitTable.h>

#include <cstring>
#include <new>

namespace System
{
namespace
{
// Values that are no handle at all become 0.
std::uint32_t ToNumber(const void* hObject)
{
    const auto nValue = reinterpret_cast<std::uintptr_t>(hObject);
    return nValue <= 0x7FFFFFFF ? static_cast<std::uint32_t>(nValue) : 0;
}

void* ToHandle(std::uint32_t nNumber)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(nNumber));
}

bool HasName(const char* pName)
{
    return pName != nullptr && *pName != '\0';
}

void* OpenNamed(eNamedType nType, const char* pName, const NamedStart& oStart)
{
    bool bNew = false;
    NamedObject* pNamed = NamedObject::Open(nType, pName, oStart, bNew);
    if (pNamed == nullptr)
        return nullptr;

    const std::uint32_t hObject = WaitTable::AddNamed(pNamed);
    if (hObject == 0)
    {
        if (bNew && oStart.bOwned)
            pNamed->UnlockMutex();
        pNamed->CloseHandle(0);
    }
    return ToHandle(hObject);
}

// A recursive lock. The address of something that each thread has tells the owner.
class Section
{
public:
    void Enter()
    {
        const std::uintptr_t nSelf = Self();
        if (m_nOwner.load(std::memory_order_relaxed) == nSelf)
        {
            SetEntered(Entered() + 1);
            return;
        }
        m_oLock.lock();
        m_nOwner.store(nSelf, std::memory_order_relaxed);
        SetEntered(1);
    }

    // Nothing happens to a thread that is not inside.
    void Leave()
    {
        if (m_nOwner.load(std::memory_order_relaxed) != Self())
            return;
        if (Entered() > 1)
        {
            SetEntered(Entered() - 1);
            return;
        }
        m_nOwner.store(0, std::memory_order_relaxed);
        m_oLock.unlock();
    }

    void CopyState(const Section& oOther)
    {
        m_oLock.CopyState(oOther.m_oLock);
        SetEntered(oOther.Entered());
        m_nOwner.store(oOther.m_nOwner.load(std::memory_order_relaxed), std::memory_order_relaxed);
    }

private:
    static std::uintptr_t Self();

    std::uint32_t Entered() const { return m_nEntered.load(std::memory_order_relaxed); }

    void SetEntered(std::uint32_t nEntered) { m_nEntered.store(nEntered, std::memory_order_relaxed); }

    FutexLock m_oLock;
    std::atomic<std::uint32_t> m_nEntered{0}; // changed by the owner alone, but copies read it
    std::atomic<std::uintptr_t> m_nOwner{0};
};

static_assert(sizeof(Section) <= CRITICAL_SECTION_SIZE && alignof(Section) <= alignof(void*));

constinit thread_local char t_cSelf __attribute__((tls_model("initial-exec"))) = 0;

inline std::uintptr_t Section::Self()
{
    return reinterpret_cast<std::uintptr_t>(&t_cSelf);
}

Section& SectionIn(void* pStorage)
{
    return *std::launder(static_cast<Section*>(pStorage));
}
} // namespace

void* MakeMutex(bool bOwned, const char* pName)
{
    if (HasName(pName))
        return OpenNamed(eNamedType::Mutex, pName, {.bOwned = bOwned});
    return ToHandle(WaitTable::AddMutex(bOwned));
}

void* MakeEvent(bool bManualReset, bool bSignalled, const char* pName)
{
    if (HasName(pName))
        return OpenNamed(eNamedType::Event, pName, {.bManualReset = bManualReset, .bSignalled = bSignalled});
    return ToHandle(WaitTable::AddEvent(bManualReset, bSignalled));
}

void* MakeSemaphore(int nCount, int nMaximum, const char* pName)
{
    if (nCount < 0 || nMaximum <= 0 || nCount > nMaximum)
        return nullptr;

    const auto nUnits = static_cast<std::uint32_t>(nCount);
    const auto nMost = static_cast<std::uint32_t>(nMaximum);
    if (HasName(pName))
        return OpenNamed(eNamedType::Semaphore, pName, {.nCount = nUnits, .nMaximum = nMost});
    return ToHandle(WaitTable::AddSemaphore(nUnits, nMost));
}

bool SetEventSignal(void* hEvent)
{
    return WaitTable::SetEvent(ToNumber(hEvent));
}

bool ClearEventSignal(void* hEvent)
{
    return WaitTable::ClearEvent(ToNumber(hEvent));
}

bool UnlockSemaphore(void* hSemaphore, int nCount, int& nPrevious)
{
    std::uint32_t nBefore = 0;
    if (nCount <= 0 || !WaitTable::UnlockSemaphore(ToNumber(hSemaphore), static_cast<std::uint32_t>(nCount), nBefore))
        return false;

    nPrevious = static_cast<int>(nBefore);
    return true;
}

bool CloseWaitable(void* hObject)
{
    return WaitTable::Close(ToNumber(hObject));
}

void OpenCriticalSection(void* pStorage)
{
    std::memset(pStorage, 0, CRITICAL_SECTION_SIZE);
    ::new (pStorage) Section;
}

void CopyCriticalStorage(void* pStorage, const void* pOther)
{
    OpenCriticalSection(pStorage);
    SectionIn(pStorage).CopyState(*std::launder(static_cast<const Section*>(pOther)));
}

// Holds nothing but its bytes.
void CloseCriticalSection(void*) {}

void EnterCriticalStorage(void* pStorage)
{
    SectionIn(pStorage).Enter();
}

void LeaveCriticalStorage(void* pStorage)
{
    SectionIn(pStorage).Leave();
}
} // namespace System
