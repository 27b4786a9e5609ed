#pragma once

#include <cstdint>

namespace System
{
class NamedObject;

// A mutex that a thread owns, and how often. A named one is known by its object, any other by its handle.
struct OwnedMutex
{
    std::uint32_t hMutex = 0;
    std::uint32_t nCount = 0;
    NamedObject* pNamed = nullptr;
};

// What the waitable objects know of a thread. It lies in the thread's static storage, and does its last work after all
// destructors of thread storage have run.
class ThreadRecord
{
public:
    constexpr ThreadRecord() = default;
    ThreadRecord(const ThreadRecord&) = delete;
    ThreadRecord& operator=(const ThreadRecord&) = delete;

    // The calling thread's.
    static ThreadRecord& This();

    // The system's number of the thread, above 0; no two living threads have the same.
    std::uint32_t Number() const { return m_nNumber; }

    // The mutex among those that the thread owns, or null.
    OwnedMutex* Find(std::uint32_t hMutex, const NamedObject* pNamed)
    {
        for (std::uint32_t i = m_nOwned; i-- > 0;)
        {
            if (m_pOwned[i].hMutex == hMutex && m_pOwned[i].pNamed == pNamed)
                return &m_pOwned[i];
        }
        return nullptr;
    }

    // Makes room for one more mutex; false when there is no memory.
    bool Reserve() { return m_nOwned < m_nCapacity || Grow(); }

    // Notes a mutex as owned once; there must be room.
    void Add(std::uint32_t hMutex, NamedObject* pNamed) { m_pOwned[m_nOwned++] = {hMutex, 1, pNamed}; }

    void Remove(OwnedMutex* pOwned)
    {
        --m_nOwned;
        if (pOwned != m_pOwned + m_nOwned)
            *pOwned = m_pOwned[m_nOwned];
    }

    // A thread that this library started: its handle is signalled in the end.
    void SetHandle(std::uint32_t hThread) { m_hThread = hThread; }

    void SetExitCode(std::uint32_t nExitCode) { m_nExitCode = nExitCode; }

private:
    static constexpr std::uint32_t FIRST_CAPACITY = 4;

    static void AtThreadEnd(void* pRecord);
    static void AfterForkInChild();
    static void PrepareProcess();

    void Register();
    bool Grow();
    void AbandonAll();

    std::uint32_t m_nNumber = 0;
    std::uint32_t m_nOwned = 0;
    std::uint32_t m_nCapacity = FIRST_CAPACITY;
    std::uint32_t m_hThread = 0;
    std::uint32_t m_nExitCode = 0;
    bool m_bEnding = false;
    OwnedMutex* m_pOwned = nullptr; // m_aFirst, or a block of the heap
    OwnedMutex m_aFirst[FIRST_CAPACITY];
};

// In the thread's static block, so that finding it costs no call.
extern constinit thread_local ThreadRecord t_oThreadRecord __attribute__((tls_model("initial-exec")));

inline ThreadRecord& ThreadRecord::This()
{
    ThreadRecord& oThis = t_oThreadRecord;
    if (oThis.m_nNumber == 0) [[unlikely]]
        oThis.Register();
    return oThis;
}
} // namespace System
