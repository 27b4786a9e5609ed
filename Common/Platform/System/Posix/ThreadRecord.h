#pragma once

#include <cstdint>

namespace System
{
class NamedObject;

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

    // The calling thread's, which may not have been there yet: its number is 0 then.
    static ThreadRecord& Raw();

    // The system's number of the thread, above 0; no two living threads have the same.
    std::uint32_t Number() const { return m_nNumber; }

    // The thread owns an unnamed mutex more, or less. One is noted; which ones there are beside it the table tells. A
    // count would be shorter, but each lock would wait for the one before it to have counted.
    void AddMutex(std::uint32_t hMutex)
    {
        if (m_hMutex == 0) [[likely]]
            m_hMutex = hMutex;
        else
            m_bMoreMutexes = true;
    }

    void RemoveMutex(std::uint32_t hMutex)
    {
        if (m_hMutex == hMutex) [[likely]]
            m_hMutex = 0;
    }

    // False when the thread certainly owns none.
    bool MayHaveMutexes() const { return m_hMutex != 0 || m_bMoreMutexes; }

    // Makes room for one more named mutex; false when there is no memory.
    bool Reserve() { return m_nNamed < m_nCapacity || Grow(); }

    // Notes a named mutex as owned; there must be room.
    void AddNamed(NamedObject* pNamed) { m_ppNamed[m_nNamed++] = pNamed; }

    // False when the thread does not own it.
    bool RemoveNamed(const NamedObject* pNamed)
    {
        for (std::uint32_t i = m_nNamed; i-- > 0;)
        {
            if (m_ppNamed[i] != pNamed)
                continue;
            m_ppNamed[i] = m_ppNamed[--m_nNamed];
            return true;
        }
        return false;
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
    std::uint32_t m_hMutex = 0;
    std::uint32_t m_nNamed = 0;
    std::uint32_t m_nCapacity = FIRST_CAPACITY;
    std::uint32_t m_hThread = 0;
    std::uint32_t m_nExitCode = 0;
    bool m_bMoreMutexes = false;
    bool m_bEnding = false;
    NamedObject** m_ppNamed = nullptr; // m_aFirst, or a block of the heap
    NamedObject* m_aFirst[FIRST_CAPACITY] = {};
};

// In the thread's static block, so that finding it costs no call.
extern constinit thread_local ThreadRecord t_oThreadRecord __attribute__((tls_model("initial-exec")));

inline ThreadRecord& ThreadRecord::Raw()
{
    return t_oThreadRecord;
}

inline ThreadRecord& ThreadRecord::This()
{
    ThreadRecord& oThis = Raw();
    if (oThis.m_nNumber == 0) [[unlikely]]
        oThis.Register();
    return oThis;
}
} // namespace System
