#include <Common/Platform/System/Posix/NamedObject.h>

#include <Common/Platform/System/Posix/ThreadRecord.h>
#include <Common/Platform/System/Posix/WaitTable.h>
#include <Common/Platform/System/SystemSync.h>
#include <Common/Platform/System/SystemThread.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

namespace System
{
// The file. Its layout is the same for programs of 32 and 64 bits.
struct SharedWaiter
{
    enum eState : std::uint32_t
    {
        Free,
        Waiting,
        Granted,
        GrantedAbandoned,
        Failed, // its handle was closed
    };

    std::atomic<std::uint32_t> nState; // waiters sleep on it
    std::uint32_t nHolder;
    std::uint32_t nThread;
    std::uint32_t nReserved;
    alignas(8) std::uint64_t nTicket; // smaller came earlier
};

constexpr std::size_t NAME_FIELD = 264; // with the name space before it
static_assert(NAME_FIELD > LONGEST_OBJECT_NAME + 2 && NAME_FIELD == BoundedText::CAPACITY + 1);
constexpr std::size_t WAITER_COUNT = 128;

struct SharedState
{
    std::uint32_t nMagic; // written last
    std::uint32_t nType;
    char aName[NAME_FIELD];

    std::uint32_t nOwnerHolder; // mutex; 0 when it is free
    std::uint32_t nOwnerThread;
    std::uint32_t nOwned;
    std::uint32_t bAbandoned;
    std::uint32_t bManualReset; // event
    std::uint32_t bSignalled;
    std::uint32_t nCount; // semaphore
    std::uint32_t nMaximum;

    alignas(8) std::uint64_t nNextTicket;
    SharedWaiter aWaiters[WAITER_COUNT];
};

static_assert(sizeof(SharedWaiter) == 24 && offsetof(SharedWaiter, nTicket) == 16);
static_assert(offsetof(SharedState, nOwnerHolder) == 272 && offsetof(SharedState, nNextTicket) == 304 &&
              offsetof(SharedState, aWaiters) == 312 && sizeof(SharedState) == 312 + 128 * 24);

namespace
{
constexpr std::uint32_t MAGIC = 0x31515653;

constexpr off_t GUARD_BYTE = 0;
constexpr off_t NAME_BYTES = 16;
constexpr off_t HOLDER_BYTES = 8192;
constexpr std::uint32_t HOLDER_COUNT = 4096;

// So often a waiter looks whether the owner of a mutex still lives: nobody else tells of a crash.
constexpr std::uint32_t OWNER_CHECK_MILLISECONDS = 50;

// A waiter that found no room in the file asks again so often.
constexpr std::uint32_t NO_ROOM_MILLISECONDS = 1;

constexpr const char* BASE_DIRECTORIES[] = {"/dev/shm", "/tmp"};
constexpr std::string_view LOCK_FILE = ".lock";
constexpr std::size_t LONGEST_PATH = 64; // of those that are made here
constexpr mode_t DIRECTORY_MODE = 0700;
constexpr mode_t FILE_MODE = 0600;

// A file name holds 255 bytes.
constexpr std::size_t LONGEST_PLAIN_FILE = 200;
constexpr std::size_t KEPT_OF_LONG_FILE = 120;
static_assert(LONGEST_PLAIN_FILE + 3 <= BoundedText::CAPACITY && KEPT_OF_LONG_FILE + 33 <= BoundedText::CAPACITY);

// Guards everything in this block; a process holds it while it opens and closes names. With it goes the lock of the
// lock file, which does the same between the processes.
constinit FutexLock s_oNamesLock{};
NamedObject* s_pFirst = nullptr;
int s_nDirectory = -1;
int s_nLockFile = -1;

bool LockBytes(int nFile, short nType, off_t nFirst, off_t nCount, int nCommand = F_OFD_SETLK)
{
    struct flock oLock = {};
    oLock.l_type = nType;
    oLock.l_whence = SEEK_SET;
    oLock.l_start = nFirst;
    oLock.l_len = nCount;
    int nResult = 0;
    do
        nResult = fcntl(nFile, nCommand, &oLock);
    while (nResult != 0 && errno == EINTR);
    return nResult == 0;
}

// Whether another open file holds a lock in the range.
bool AreBytesLocked(int nFile, off_t nFirst, off_t nCount)
{
    struct flock oLock = {};
    oLock.l_type = F_WRLCK;
    oLock.l_whence = SEEK_SET;
    oLock.l_start = nFirst;
    oLock.l_len = nCount;
    return fcntl(nFile, F_OFD_GETLK, &oLock) == 0 && oLock.l_type != F_UNLCK;
}

// Whether handles of other processes lead to the file.
bool HasOtherHandles(int nFile)
{
    return AreBytesLocked(nFile, NAME_BYTES, HOLDER_COUNT + 1);
}

// The lock of the names between processes. Without it no file may come or go.
class NamesGuard
{
public:
    NamesGuard() : m_bHeld(LockBytes(s_nLockFile, F_WRLCK, 0, 1, F_OFD_SETLKW)) {}

    ~NamesGuard()
    {
        if (m_bHeld)
            LockBytes(s_nLockFile, F_UNLCK, 0, 1);
    }

    NamesGuard(const NamesGuard&) = delete;
    NamesGuard& operator=(const NamesGuard&) = delete;

    explicit operator bool() const { return m_bHeld; }

private:
    bool m_bHeld;
};

// A directory of the user's own that nobody else may look into; -1 when there is none to be had.
int OpenDirectory()
{
    for (const char* pBase : BASE_DIRECTORIES)
    {
        char aPath[LONGEST_PATH];
        std::snprintf(aPath, sizeof aPath, "%s/Common-%lu", pBase, static_cast<unsigned long>(geteuid()));
        if (mkdir(aPath, DIRECTORY_MODE) != 0 && errno != EEXIST)
            continue;

        const int nDirectory = open(aPath, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        struct stat oStat = {};
        if (nDirectory >= 0 && fstat(nDirectory, &oStat) == 0 && oStat.st_uid == geteuid() &&
            (oStat.st_mode & (S_IRWXG | S_IRWXO)) == 0)
            return nDirectory;
        if (nDirectory >= 0)
            close(nDirectory);
        return -1; // somebody else's: another directory would be another name space
    }
    return -1;
}

// Removes what crashed programs left.
void SweepDirectory()
{
    const int nDirectory = openat(s_nDirectory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nDirectory < 0)
        return;

    DIR* pDirectory = fdopendir(nDirectory);
    if (pDirectory == nullptr)
    {
        close(nDirectory);
        return;
    }
    while (const dirent* pEntry = readdir(pDirectory))
    {
        if (pEntry->d_name[0] == '.')
            continue;
        const int nFile = openat(s_nDirectory, pEntry->d_name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (nFile < 0)
            continue;
        if (!HasOtherHandles(nFile))
            unlinkat(s_nDirectory, pEntry->d_name, 0);
        close(nFile);
    }
    closedir(pDirectory);
}

bool PrepareNames()
{
    if (s_nLockFile >= 0)
        return true;
    if (s_nDirectory < 0)
        s_nDirectory = OpenDirectory();
    if (s_nDirectory < 0)
        return false;

    s_nLockFile = openat(s_nDirectory, LOCK_FILE.data(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, FILE_MODE);
    if (s_nLockFile < 0)
        return false;

    if (const NamesGuard oGuard; oGuard)
        SweepDirectory();
    return true;
}

// A second opening of the same file, whose locks are its own, in place of the first; -1 when there is none to be had.
void Reopen(int& nFile)
{
    char aPath[LONGEST_PATH];
    std::snprintf(aPath, sizeof aPath, "/proc/self/fd/%d", nFile);
    const int nOld = nFile;
    nFile = open(aPath, O_RDWR | O_CLOEXEC);
    close(nOld);
}

// Splits the name space off; empty when the name is not possible.
BoundedText CanonicalName(std::string_view sName)
{
    constexpr std::string_view LOCAL = "Local\\";
    constexpr std::string_view GLOBAL = "Global\\";

    BoundedText sResult;
    if (sName.size() > LONGEST_OBJECT_NAME)
        return sResult;

    std::string_view sPrefix = "l-";
    if (sName.substr(0, LOCAL.size()) == LOCAL)
    {
        sName.remove_prefix(LOCAL.size());
    }
    else if (sName.substr(0, GLOBAL.size()) == GLOBAL)
    {
        sName.remove_prefix(GLOBAL.size());
        sPrefix = "g-";
    }
    if (sName.empty() || sName.find('\\') != std::string_view::npos)
        return sResult;

    sResult.Append(sPrefix);
    sResult.Append(sName);
    return sResult;
}

std::uint64_t Hash(std::string_view sText, std::uint64_t nSeed)
{
    std::uint64_t nHash = 0xCBF29CE484222325 ^ nSeed; // FNV-1a, 64 bits
    for (const char c : sText)
        nHash = (nHash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return nHash;
}

void AppendHex(BoundedText& sText, std::uint64_t nValue, int nDigits)
{
    while (nDigits-- > 0)
        sText.Append("0123456789ABCDEF"[nValue >> (4 * nDigits) & 0xF]);
}

// The name of the file: no byte in it means anything to the system.
BoundedText FileName(std::string_view sName)
{
    BoundedText sFile;
    for (const char c : sName)
    {
        const bool bPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                            c == '_' || c == '.';
        if (bPlain)
        {
            sFile.Append(c);
        }
        else
        {
            sFile.Append('%');
            AppendHex(sFile, static_cast<unsigned char>(c), 2);
        }
        if (sFile.Length() > LONGEST_PLAIN_FILE)
        {
            sFile.Cut(KEPT_OF_LONG_FILE);
            sFile.Append('~');
            AppendHex(sFile, Hash(sName, 0), 16);
            AppendHex(sFile, Hash(sName, 0x9E3779B97F4A7C15), 16);
            break;
        }
    }
    return sFile;
}
} // namespace

// Holds the state against the other threads and processes. Against the threads in any case; without the processes'
// lock, which a copy of the process may lack, the state may not be touched.
class NamedObject::Guard
{
public:
    explicit Guard(NamedObject& oObject) : m_oObject(oObject)
    {
        m_oObject.m_oThreads.lock();
        m_bHeld = LockBytes(m_oObject.m_nFile, F_WRLCK, GUARD_BYTE, 1, F_OFD_SETLKW);
    }

    ~Guard()
    {
        if (m_bHeld)
            LockBytes(m_oObject.m_nFile, F_UNLCK, GUARD_BYTE, 1);
        m_oObject.m_oThreads.unlock();
    }

    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    explicit operator bool() const { return m_bHeld; }

private:
    NamedObject& m_oObject;
    bool m_bHeld;
};

// ---------------------------------------------------------------------------------------------------------------------
// Opening and closing; the lock of the names is held
// ---------------------------------------------------------------------------------------------------------------------

NamedObject* NamedObject::FindOpen(std::string_view sFile)
{
    NamedObject* pObject = s_pFirst;
    while (pObject != nullptr && pObject->m_sFile.View() != sFile)
        pObject = pObject->m_pNext;
    return pObject;
}

// Nobody can find it by its name any more.
void NamedObject::Unlist()
{
    NamedObject** ppObject = &s_pFirst;
    while (*ppObject != nullptr && *ppObject != this)
        ppObject = &(*ppObject)->m_pNext;
    if (*ppObject == this)
        *ppObject = m_pNext;
}

void NamedObject::Retire()
{
    Unlist();
    m_bRetired.store(true, std::memory_order_relaxed);
}

bool NamedObject::IsOf(eNamedType nType, const BoundedText& sName) const
{
    return m_nType == nType && sName.View() == m_pState->aName;
}

NamedObject* NamedObject::AddHandle()
{
    ++m_nHandles;
    AddUse();
    return this;
}

NamedObject* NamedObject::Open(eNamedType nType, const char* pName, const NamedStart& oStart, bool& bNew)
{
    bNew = false;
    const BoundedText sName = CanonicalName(pName);
    if (sName.Length() == 0)
        return nullptr;
    const BoundedText sFile = FileName(sName.View());

    ThreadRecord& oThread = ThreadRecord::This();
    if (!oThread.Reserve())
        return nullptr;

    const std::lock_guard oGuard(s_oNamesLock);
    NamedObject* pObject = FindOpen(sFile.View());
    if (pObject != nullptr && pObject->m_nHandles > 0)
        return pObject->IsOf(nType, sName) ? pObject->AddHandle() : nullptr;

    if (!PrepareNames())
        return nullptr;
    const NamesGuard oNames;
    if (!oNames)
        return nullptr;

    // This process has closed its handles, but threads of it still use the object. Handles of others keep the name.
    if (pObject != nullptr && HasOtherHandles(pObject->m_nFile))
        return pObject->IsOf(nType, sName) && pObject->HoldName() ? pObject->AddHandle() : nullptr;
    if (pObject != nullptr)
        pObject->Retire();

    pObject = new (std::nothrow) NamedObject(nType, sFile);
    if (pObject == nullptr)
        return nullptr;
    if (!pObject->OpenFile(sName, oStart))
    {
        delete pObject;
        return nullptr;
    }
    bNew = pObject->m_bNew;
    pObject->m_pNext = s_pFirst;
    s_pFirst = pObject;
    return pObject;
}

NamedObject::~NamedObject()
{
    if (m_pState != nullptr)
        munmap(m_pState, sizeof(SharedState));
    CloseFile();
}

void NamedObject::CloseFile()
{
    if (m_nFile >= 0)
        close(m_nFile);
    m_nFile = -1;
}

bool NamedObject::OpenFile(const BoundedText& sName, const NamedStart& oStart)
{
    m_nFile = openat(s_nDirectory, m_sFile.Text(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (m_nFile >= 0)
    {
        if (HasOtherHandles(m_nFile))
            return OpenExisting(sName);

        unlinkat(s_nDirectory, m_sFile.Text(), 0);
        CloseFile();
    }
    m_nFile = openat(s_nDirectory, m_sFile.Text(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FILE_MODE);
    if (m_nFile < 0)
        return false;
    if (CreateNew(sName, oStart))
        return true;

    unlinkat(s_nDirectory, m_sFile.Text(), 0);
    return false;
}

bool NamedObject::MapFile()
{
    void* pState = mmap(nullptr, sizeof(SharedState), PROT_READ | PROT_WRITE, MAP_SHARED, m_nFile, 0);
    if (pState == MAP_FAILED)
        return false;

    m_pState = static_cast<SharedState*>(pState);
    return true;
}

bool NamedObject::OpenExisting(const BoundedText& sName)
{
    struct stat oStat = {};
    return fstat(m_nFile, &oStat) == 0 && static_cast<std::size_t>(oStat.st_size) == sizeof(SharedState) && MapFile() &&
           m_pState->nMagic == MAGIC && m_pState->nType == static_cast<std::uint32_t>(m_nType) &&
           std::strncmp(m_pState->aName, sName.Text(), NAME_FIELD) == 0 && BecomeHolder();
}

bool NamedObject::CreateNew(const BoundedText& sName, const NamedStart& oStart)
{
    // Memory that the system does not have is refused here, not at the first use.
    if (posix_fallocate(m_nFile, 0, sizeof(SharedState)) != 0 || !MapFile() || !BecomeHolder())
        return false;

    m_pState->nType = static_cast<std::uint32_t>(m_nType);
    std::memcpy(m_pState->aName, sName.Text(), sName.Length() + 1);
    m_pState->bManualReset = oStart.bManualReset;
    m_pState->bSignalled = oStart.bSignalled;
    m_pState->nCount = oStart.nCount;
    m_pState->nMaximum = oStart.nMaximum;
    if (oStart.bOwned)
    {
        ThreadRecord& oThread = ThreadRecord::This();
        m_pState->nOwnerHolder = m_nHolder;
        m_pState->nOwnerThread = oThread.Number();
        m_pState->nOwned = 1;
        oThread.AddNamed(this);
        AddUse();
    }
    m_pState->nMagic = MAGIC;
    m_bNew = true;
    return true;
}

bool NamedObject::BecomeHolder()
{
    for (m_nHolder = 1; m_nHolder <= HOLDER_COUNT; ++m_nHolder)
    {
        const off_t nByte = HOLDER_BYTES + static_cast<off_t>(m_nHolder);
        if (!LockBytes(m_nFile, F_WRLCK, nByte, 1))
            continue;
        if (!HoldName())
        {
            LockBytes(m_nFile, F_UNLCK, nByte, 1);
            continue;
        }

        // Whoever had the number before left without a word, or left nothing.
        const Guard oGuard(*this);
        if (!oGuard)
            return false;
        ForgetHolder(m_nHolder);
        return true;
    }
    return false;
}

bool NamedObject::HoldName()
{
    return LockBytes(m_nFile, F_WRLCK, NAME_BYTES + static_cast<off_t>(m_nHolder), 1);
}

// The last handle of this process is closed. The name goes with the last one of all.
void NamedObject::LeaveName()
{
    const NamesGuard oNames;
    LockBytes(m_nFile, F_UNLCK, NAME_BYTES + static_cast<off_t>(m_nHolder), 1);
    if (!oNames || HasOtherHandles(m_nFile))
        return;

    unlinkat(s_nDirectory, m_sFile.Text(), 0);
    Retire();
}

void NamedObject::ForgetHolder(std::uint32_t nHolder)
{
    for (SharedWaiter& oWaiter : m_pState->aWaiters)
    {
        if (oWaiter.nHolder == nHolder)
            oWaiter.nState.store(SharedWaiter::Free, std::memory_order_relaxed);
    }
    if (m_pState->nOwnerHolder == nHolder)
        FreeMutex(true);
}

// ---------------------------------------------------------------------------------------------------------------------
// Uses
// ---------------------------------------------------------------------------------------------------------------------

void NamedObject::CloseHandle(std::uint32_t hObject)
{
    {
        const Guard oGuard(*this);
        for (LocalWait* pWait = m_pWaits; pWait != nullptr; pWait = pWait->pNext)
        {
            if (pWait->hObject != hObject)
                continue;

            pWait->bClosed = true;
            std::uint32_t nWaiting = SharedWaiter::Waiting;
            if (pWait->pWaiter != nullptr &&
                pWait->pWaiter->nState.compare_exchange_strong(nWaiting, SharedWaiter::Failed))
                FutexWake(&pWait->pWaiter->nState, eFutexScope::Machine);
        }
    }
    {
        const std::lock_guard oNamesLock(s_oNamesLock);
        if (--m_nHandles == 0 && m_nFile >= 0)
            LeaveName();
    }
    if (IsRetired() && ThreadRecord::This().RemoveNamed(this)) // nobody is left who could ask whether it is owned
        RemoveUse();
    RemoveUse();
}

void NamedObject::RemoveUse()
{
    std::uint32_t nUses = m_nUses.load(std::memory_order_relaxed);
    while (nUses > 1)
    {
        if (m_nUses.compare_exchange_weak(nUses, nUses - 1, std::memory_order_acq_rel, std::memory_order_relaxed))
            return;
    }

    // Perhaps the last one. From here on nobody can find it by its name.
    const std::lock_guard oGuard(s_oNamesLock);
    if (m_nUses.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;

    Unlist();
    delete this;
}

// ---------------------------------------------------------------------------------------------------------------------
// The state; the guard is held
// ---------------------------------------------------------------------------------------------------------------------

bool NamedObject::IsHolderAlive(std::uint32_t nHolder) const
{
    return nHolder == m_nHolder || AreBytesLocked(m_nFile, HOLDER_BYTES + static_cast<off_t>(nHolder), 1);
}

bool NamedObject::IsOwner(std::uint32_t nThread) const
{
    return m_pState->nOwnerHolder == m_nHolder && m_pState->nOwnerThread == nThread;
}

NamedObject::eTry NamedObject::Try(std::uint32_t nThread)
{
    SharedState& oState = *m_pState;
    switch (m_nType)
    {
    case eNamedType::Mutex:
        FreeMutexOfDeadOwner();
        if (IsOwner(nThread))
        {
            ++oState.nOwned;
            return eTry::Again;
        }
        if (oState.nOwnerHolder != 0)
            return eTry::Busy;

        oState.nOwned = 1;
        oState.nOwnerThread = nThread;
        oState.nOwnerHolder = m_nHolder;
        if (oState.bAbandoned == 0)
            return eTry::Got;
        oState.bAbandoned = 0;
        return eTry::GotAbandoned;

    case eNamedType::Event:
        if (oState.bSignalled == 0)
            return eTry::Busy;
        oState.bSignalled = oState.bManualReset;
        return eTry::Got;

    default:
        if (oState.nCount == 0)
            return eTry::Busy;
        --oState.nCount;
        return eTry::Got;
    }
}

// Null when there is no room.
SharedWaiter* NamedObject::Enqueue(std::uint32_t nThread)
{
    auto* const pEnd = m_pState->aWaiters + WAITER_COUNT;
    auto* pWaiter = std::find_if(m_pState->aWaiters, pEnd,
                                 [](const SharedWaiter& oWaiter)
                                 { return oWaiter.nState.load(std::memory_order_relaxed) == SharedWaiter::Free; });
    if (pWaiter == pEnd)
        pWaiter = std::find_if(m_pState->aWaiters, pEnd,
                               [this](const SharedWaiter& oWaiter) { return !IsHolderAlive(oWaiter.nHolder); });
    if (pWaiter == pEnd)
        return nullptr;

    pWaiter->nHolder = m_nHolder;
    pWaiter->nThread = nThread;
    pWaiter->nTicket = m_pState->nNextTicket++;
    pWaiter->nState.store(SharedWaiter::Waiting, std::memory_order_relaxed);
    return pWaiter;
}

// The first waiter whose process lives, or null.
SharedWaiter* NamedObject::FirstWaiter()
{
    for (;;)
    {
        SharedWaiter* pFirst = nullptr;
        for (SharedWaiter& oWaiter : m_pState->aWaiters)
        {
            if (oWaiter.nState.load(std::memory_order_relaxed) == SharedWaiter::Waiting &&
                (pFirst == nullptr || oWaiter.nTicket < pFirst->nTicket))
                pFirst = &oWaiter;
        }
        if (pFirst == nullptr || IsHolderAlive(pFirst->nHolder))
            return pFirst;
        pFirst->nState.store(SharedWaiter::Free, std::memory_order_relaxed);
    }
}

bool NamedObject::HandToFirst(std::uint32_t nGrant)
{
    SharedWaiter* pFirst = FirstWaiter();
    if (pFirst == nullptr)
        return false;

    if (m_nType == eNamedType::Mutex)
    {
        m_pState->nOwned = 1;
        m_pState->nOwnerThread = pFirst->nThread;
        m_pState->nOwnerHolder = pFirst->nHolder;
    }
    pFirst->nState.store(nGrant, std::memory_order_release);
    FutexWake(&pFirst->nState, eFutexScope::Machine);
    return true;
}

void NamedObject::FreeMutex(bool bAbandoned)
{
    m_pState->nOwnerHolder = 0;
    m_pState->bAbandoned = bAbandoned;
    if (HandToFirst(bAbandoned ? SharedWaiter::GrantedAbandoned : SharedWaiter::Granted))
        m_pState->bAbandoned = 0;
}

void NamedObject::FreeMutexOfDeadOwner()
{
    if (m_pState->nOwnerHolder != 0 && !IsHolderAlive(m_pState->nOwnerHolder))
        FreeMutex(true);
}

// ---------------------------------------------------------------------------------------------------------------------
// The operations
// ---------------------------------------------------------------------------------------------------------------------

unsigned NamedObject::Wait(std::uint32_t hObject, std::uint32_t nMilliseconds)
{
    ThreadRecord& oThread = ThreadRecord::This();
    if (!oThread.Reserve())
        return WAIT_RESULT_FAILED;

    const Deadline oDeadline(nMilliseconds);
    unsigned nResult = WAIT_RESULT_TIME_OUT;
    LocalWait oWait{.hObject = hObject, .nThread = oThread.Number()};
    {
        // Whoever closes the handle from here on finds the wait.
        const Guard oGuard(*this);
        if (!oGuard || !WaitTable::IsOpen(hObject))
            return WAIT_RESULT_FAILED;

        switch (Try(oThread.Number()))
        {
        case eTry::Again:
            return WAIT_RESULT_SIGNALLED;
        case eTry::Got:
            nResult = WAIT_RESULT_SIGNALLED;
            break;
        case eTry::GotAbandoned:
            nResult = WAIT_RESULT_ABANDONED;
            break;
        case eTry::Busy:
            if (nMilliseconds == 0)
                return WAIT_RESULT_TIME_OUT;
            oWait.pWaiter = Enqueue(oThread.Number());
            oWait.pNext = std::exchange(m_pWaits, &oWait);
            break;
        }
    }

    if (nResult == WAIT_RESULT_TIME_OUT)
        nResult = WaitInQueue(oWait, oDeadline);
    if (m_nType == eNamedType::Mutex && (nResult == WAIT_RESULT_SIGNALLED || nResult == WAIT_RESULT_ABANDONED))
    {
        AddUse();
        oThread.AddNamed(this);
    }
    return nResult;
}

unsigned NamedObject::WaitInQueue(LocalWait& oWait, const Deadline& oDeadline)
{
    for (;;)
    {
        const Deadline oNextLook =
            m_nType == eNamedType::Mutex ? oDeadline.AtMost(OWNER_CHECK_MILLISECONDS) : oDeadline;
        if (SharedWaiter* pWaiter = oWait.pWaiter; pWaiter != nullptr)
        {
            while (pWaiter->nState.load(std::memory_order_acquire) == SharedWaiter::Waiting && !oNextLook.HasPassed())
                FutexWait(pWaiter->nState, SharedWaiter::Waiting, oNextLook, eFutexScope::Machine);
        }
        else
        {
            SleepFor(NO_ROOM_MILLISECONDS);
        }

        unsigned nResult = WAIT_RESULT_TIME_OUT;
        const bool bLast = oDeadline.HasPassed();
        if (EndWait(oWait, bLast, nResult))
            return nResult;
    }
}

// Looks what came of a wait; false when it goes on. bLast: the time has passed.
bool NamedObject::EndWait(LocalWait& oWait, bool bLast, unsigned& nResult)
{
    const Guard oGuard(*this);
    if (!oGuard)
        return false;

    if (m_nType == eNamedType::Mutex)
        FreeMutexOfDeadOwner();

    std::uint32_t nState = SharedWaiter::Waiting;
    if (oWait.pWaiter != nullptr)
    {
        nState = oWait.pWaiter->nState.load(std::memory_order_acquire);
    }
    else if (oWait.bClosed)
    {
        nState = SharedWaiter::Failed;
    }
    else if (const eTry nTry = Try(oWait.nThread); nTry != eTry::Busy)
    {
        nState = nTry == eTry::GotAbandoned ? SharedWaiter::GrantedAbandoned : SharedWaiter::Granted;
    }
    else if (!bLast)
    {
        oWait.pWaiter = Enqueue(oWait.nThread);
    }

    if (nState == SharedWaiter::Waiting && !bLast)
        return false;

    if (oWait.pWaiter != nullptr)
        oWait.pWaiter->nState.store(SharedWaiter::Free, std::memory_order_relaxed);
    LocalWait** ppWait = &m_pWaits;
    while (*ppWait != &oWait)
        ppWait = &(*ppWait)->pNext;
    *ppWait = oWait.pNext;

    switch (nState)
    {
    case SharedWaiter::Waiting:
        nResult = WAIT_RESULT_TIME_OUT;
        break;
    case SharedWaiter::Failed:
        nResult = WAIT_RESULT_FAILED;
        break;
    default:
        nResult = nState == SharedWaiter::GrantedAbandoned ? WAIT_RESULT_ABANDONED : WAIT_RESULT_SIGNALLED;
        break;
    }
    return true;
}

bool NamedObject::UnlockMutex()
{
    if (m_nType != eNamedType::Mutex)
        return false;

    ThreadRecord& oThread = ThreadRecord::This();
    {
        const Guard oGuard(*this);
        if (!oGuard || !IsOwner(oThread.Number()))
            return false;
        if (--m_pState->nOwned > 0)
            return true;
        FreeMutex(false);
    }
    if (oThread.RemoveNamed(this))
        RemoveUse();
    return true;
}

bool NamedObject::ChangeEvent(bool bSignalled)
{
    if (m_nType != eNamedType::Event)
        return false;

    const Guard oGuard(*this);
    if (!oGuard)
        return false;

    if (!bSignalled)
    {
        m_pState->bSignalled = 0;
    }
    else if (m_pState->bManualReset != 0)
    {
        m_pState->bSignalled = 1;
        while (HandToFirst(SharedWaiter::Granted))
        {
        }
    }
    else if (!HandToFirst(SharedWaiter::Granted))
    {
        m_pState->bSignalled = 1;
    }
    return true;
}

bool NamedObject::UnlockSemaphore(std::uint32_t nCount, std::uint32_t& nPrevious)
{
    if (m_nType != eNamedType::Semaphore)
        return false;

    const Guard oGuard(*this);
    if (!oGuard || nCount > m_pState->nMaximum - m_pState->nCount)
        return false;

    nPrevious = m_pState->nCount;
    while (nCount > 0 && HandToFirst(SharedWaiter::Granted))
        --nCount;
    m_pState->nCount += nCount;
    return true;
}

void NamedObject::AbandonMutex(std::uint32_t nThread)
{
    {
        const Guard oGuard(*this);
        if (oGuard && IsOwner(nThread))
            FreeMutex(true);
    }
    RemoveUse();
}

// ---------------------------------------------------------------------------------------------------------------------
// Forks
// ---------------------------------------------------------------------------------------------------------------------

void NamedObject::BeforeFork()
{
    s_oNamesLock.lock();
}

void NamedObject::AfterForkInParent()
{
    s_oNamesLock.unlock();
}

// Only the forking thread lives on, and it owns no named mutex.
void NamedObject::AfterForkInChild()
{
    s_oNamesLock.Reset();
    if (s_nLockFile >= 0)
        Reopen(s_nLockFile);

    for (NamedObject* pObject = s_pFirst; pObject != nullptr;)
    {
        NamedObject* pNext = pObject->m_pNext;
        pObject->BecomeChild();
        pObject = pNext;
    }
}

// The child becomes a holder of its own, through an opening of its own: locks belong to the opening. Where the system
// refuses that the object is lost to the child: what its handles are used for fails.
void NamedObject::BecomeChild()
{
    m_oThreads.Reset();
    m_pWaits = nullptr;
    m_nHandles = WaitTable::CountNamed(this);
    m_nUses = m_nHandles;
    if (m_nHandles == 0) // only threads of the parent used it
    {
        Unlist();
        delete this;
        return;
    }

    Reopen(m_nFile);
    const NamesGuard oNames;
    if (m_nFile < 0 || !oNames || !BecomeHolder())
    {
        Unlist();
        CloseFile();
        return;
    }

    // The parent may have closed the last handle meanwhile. The child's go on, without the name.
    struct stat oStat = {};
    if (fstat(m_nFile, &oStat) != 0 || oStat.st_nlink == 0)
        Unlist();
}
} // namespace System
