#pragma once

#include <Common/Platform/System/Posix/Futex.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace System
{
struct SharedState;
struct SharedWaiter;

enum class eNamedType : std::uint32_t
{
    Mutex = 1,
    Event = 2,
    Semaphore = 3,
};

// What a new object begins with.
struct NamedStart
{
    bool bOwned = false;       // mutex
    bool bManualReset = false; // event
    bool bSignalled = false;   // event
    std::uint32_t nCount = 0;  // semaphore
    std::uint32_t nMaximum = 0;
};

// A mutex, an event or a semaphore that processes share by its name.
//
// Its state is a file in shared memory, mapped by every process that has it open. Two kinds of file locks, both of
// which the kernel releases when a process ends in whatever way, keep it sound:
//
//   byte 0       the guard: held during each change of the state
//   byte 16 + n  the nth holder: held by a process as long as it has the object open
//
// A file without a holder is that of a crashed program: the next one to come removes it. A mutex whose owner's holder
// is gone is abandoned. Waiters stand in the file in the order of their arrival, each with a word to sleep on; what
// becomes available is handed to the first whose process lives.
//
// There is one object of this class for each name that the process has open. It lives as long as it has uses: its
// handles, waits that are on their way, threads that own the mutex.
class NamedObject
{
public:
    // Opens the object of the name, or makes it. Returns one use of it; null when the name is of another type or not
    // possible, or there is no memory. bNew tells whether it was made by this call.
    static NamedObject* Open(eNamedType nType, const char* pName, const NamedStart& oStart, bool& bNew);

    void AddUse() { m_nUses.fetch_add(1, std::memory_order_relaxed); }

    void RemoveUse();

    unsigned Wait(std::uint32_t nMilliseconds);
    bool UnlockMutex();
    bool ChangeEvent(bool bSignalled);
    bool UnlockSemaphore(std::uint32_t nCount, std::uint32_t& nPrevious);

    // The thread ends that owns the mutex. Takes the use of the owner back.
    void AbandonMutex(std::uint32_t nThread);

    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();

    NamedObject(const NamedObject&) = delete;
    NamedObject& operator=(const NamedObject&) = delete;

private:
    class Guard;

    enum class eTry
    {
        Got,
        GotAbandoned,
        Again, // one more ownership of a mutex that the thread has
        Busy,
    };

    NamedObject(eNamedType nType, std::string sFile) : m_nType(nType), m_sFile(std::move(sFile)) {}

    ~NamedObject();

    static NamedObject* FindOpen(const std::string& sFile);
    bool OpenFile(const std::string& sName, const NamedStart& oStart);
    bool OpenExisting(const std::string& sName);
    bool CreateNew(const std::string& sName, const NamedStart& oStart);
    bool MapFile();
    bool BecomeHolder();
    void ForgetHolder(std::uint32_t nHolder);

    bool IsHolderAlive(std::uint32_t nHolder) const;
    eTry Try(std::uint32_t nThread);
    SharedWaiter* Enqueue(std::uint32_t nThread);
    SharedWaiter* FirstWaiter();
    bool HandToFirst(std::uint32_t nGrant);
    void FreeMutex(bool bAbandoned);
    void FreeMutexOfDeadOwner();
    unsigned WaitInQueue(std::uint32_t nThread, SharedWaiter* pWaiter, const Deadline& oDeadline);
    bool IsOwner(std::uint32_t nThread) const;

    std::atomic<std::uint32_t> m_nUses{1};
    const eNamedType m_nType;
    const std::string m_sFile; // name of the file in the directory
    bool m_bNew = false;
    int m_nFile = -1;
    std::uint32_t m_nHolder = 0; // counted from 1
    SharedState* m_pState = nullptr;
    FutexLock m_oThreads{}; // the guard between the threads of this process
    NamedObject* m_pNext = nullptr;
};
} // namespace System
