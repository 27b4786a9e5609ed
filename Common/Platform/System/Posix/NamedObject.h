#pragma once

#include <Common/Platform/System/Posix/Futex.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace System
{
struct SharedState;
struct SharedWaiter;

// A text of bounded length, without memory of the heap. What does not fit is cut off.
class BoundedText
{
public:
    static constexpr std::size_t CAPACITY = 263;

    void Append(std::string_view sText)
    {
        m_nLength += sText.copy(m_aText + m_nLength, CAPACITY - m_nLength);
        m_aText[m_nLength] = '\0';
    }

    void Append(char c) { Append(std::string_view(&c, 1)); }

    void Cut(std::size_t nLength)
    {
        m_nLength = std::min(m_nLength, nLength);
        m_aText[m_nLength] = '\0';
    }

    const char* Text() const { return m_aText; }

    std::size_t Length() const { return m_nLength; }

    std::string_view View() const { return {m_aText, m_nLength}; }

private:
    std::size_t m_nLength = 0;
    char m_aText[CAPACITY + 1] = {};
};

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
// Its state is a file in shared memory, mapped by every process that uses it. Three kinds of file locks, all of which
// the kernel releases when a process ends in whatever way, keep it sound:
//
//   byte 0         the guard: held during each change of the state
//   byte 16 + n    the nth holder's handles: held by a process as long as it has one
//   byte 8192 + n  the nth holder: held by a process as long as it uses the object in any way
//
// The name lives as long as a process has a handle: the last one removes the file. A file to which no handle leads is
// that of a crashed program: the next one to come removes it. A mutex whose owner's holder is gone is abandoned.
// Waiters stand in the file in the order of their arrival, each with a word to sleep on; what becomes available is
// handed to the first whose process lives.
//
// There is one object of this class for each name that the process uses. It lives as long as it has uses: its handles,
// waits that are on their way, threads that own the mutex. When the process has closed its handles while others have
// some, a thread of it that owns the mutex still owns it, also through a handle that is opened anew.
class NamedObject
{
public:
    // Opens the object of the name, or makes it. Returns it with one more handle to come; null when the name is of
    // another type or not possible, or there is no memory. bNew tells whether it was made by this call.
    static NamedObject* Open(eNamedType nType, const char* pName, const NamedStart& oStart, bool& bNew);

    // A handle is no more; waits that came through it fail. 0 is one that was never made.
    void CloseHandle(std::uint32_t hObject);

    void AddUse() { m_nUses.fetch_add(1, std::memory_order_relaxed); }

    void RemoveUse();

    // Whether the last handle of all processes is gone: nobody can come to it any more.
    bool IsRetired() const { return m_bRetired.load(std::memory_order_relaxed); }

    unsigned Wait(std::uint32_t hObject, std::uint32_t nMilliseconds);
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

    // A wait that is on its way in this process; lies on the stack of the thread.
    struct LocalWait
    {
        std::uint32_t hObject;
        std::uint32_t nThread;
        SharedWaiter* pWaiter = nullptr; // null as long as the file has no room
        bool bClosed = false;            // the handle is no more
        LocalWait* pNext = nullptr;
    };

    enum class eTry
    {
        Got,
        GotAbandoned,
        Again, // one more ownership of a mutex that the thread has
        Busy,
    };

    NamedObject(eNamedType nType, const BoundedText& sFile) : m_nType(nType), m_sFile(sFile) {}

    ~NamedObject();

    static NamedObject* FindOpen(std::string_view sFile);
    bool OpenFile(const BoundedText& sName, const NamedStart& oStart);
    bool OpenExisting(const BoundedText& sName);
    bool CreateNew(const BoundedText& sName, const NamedStart& oStart);
    bool MapFile();
    bool BecomeHolder();
    bool HoldName();
    void LeaveName();
    void Unlist();
    void Retire();
    void ForgetHolder(std::uint32_t nHolder);
    bool IsOf(eNamedType nType, const BoundedText& sName) const;
    NamedObject* AddHandle();
    void BecomeChild();
    void CloseFile();

    bool IsHolderAlive(std::uint32_t nHolder) const;
    eTry Try(std::uint32_t nThread);
    SharedWaiter* Enqueue(std::uint32_t nThread);
    SharedWaiter* FirstWaiter();
    bool HandToFirst(std::uint32_t nGrant);
    void FreeMutex(bool bAbandoned);
    void FreeMutexOfDeadOwner();
    unsigned WaitInQueue(LocalWait& oWait, const Deadline& oDeadline);
    bool EndWait(LocalWait& oWait, bool bLast, unsigned& nResult);
    bool IsOwner(std::uint32_t nThread) const;

    const eNamedType m_nType;
    const BoundedText m_sFile; // name of the file in the directory

    std::atomic<std::uint32_t> m_nUses{1};
    std::uint32_t m_nHandles = 1; // guarded, as the list is, by the lock of the names
    NamedObject* m_pNext = nullptr;
    std::atomic<bool> m_bRetired{false};
    bool m_bNew = false;

    int m_nFile = -1;            // none: every operation fails
    std::uint32_t m_nHolder = 0; // counted from 1
    SharedState* m_pState = nullptr;
    FutexLock m_oThreads{}; // the guard between the threads of this process
    LocalWait* m_pWaits = nullptr;
};
} // namespace System
