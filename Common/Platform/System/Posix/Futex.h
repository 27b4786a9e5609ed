#pragma once

#include <linux/futex.h>
#if __has_include(<sys/single_threaded.h>)
#    include <sys/single_threaded.h>
#    define COMMON_HAS_SINGLE_THREADED
#endif
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <ctime>

// Sleeping on a word of memory, and the small lock built on it.
namespace System
{
static_assert(sizeof(std::atomic<std::uint32_t>) == 4 && std::atomic<std::uint32_t>::is_always_lock_free);

// The end of a wait, on the clock that never jumps.
class Deadline
{
public:
    // 0xFFFFFFFF milliseconds never end.
    explicit Deadline(std::uint32_t nMilliseconds) : m_bLimited(nMilliseconds != 0xFFFFFFFF)
    {
        if (m_bLimited)
            m_nEnd = Now() + std::uint64_t{nMilliseconds} * NANOSECONDS_PER_MILLISECOND;
    }

    bool HasLimit() const { return m_bLimited; }

    bool HasPassed() const { return m_bLimited && Now() >= m_nEnd; }

    std::uint64_t End() const { return m_nEnd; }

    // The earlier of this and a time from now.
    Deadline AtMost(std::uint32_t nMilliseconds) const
    {
        const Deadline oSlice(nMilliseconds);
        return m_bLimited && m_nEnd < oSlice.m_nEnd ? *this : oSlice;
    }

    static std::uint64_t Now()
    {
        timespec oNow = {};
        clock_gettime(CLOCK_MONOTONIC, &oNow);
        return static_cast<std::uint64_t>(oNow.tv_sec) * NANOSECONDS_PER_SECOND +
               static_cast<std::uint64_t>(oNow.tv_nsec);
    }

    static constexpr std::uint64_t NANOSECONDS_PER_SECOND = 1'000'000'000;
    static constexpr std::uint64_t NANOSECONDS_PER_MILLISECOND = 1'000'000;

private:
    bool m_bLimited;
    std::uint64_t m_nEnd = 0;
};

enum class eFutexScope : int
{
    Process = FUTEX_PRIVATE_FLAG,
    Machine = 0,
};

// Sleeps while the word has the value, until it is woken or the time has passed; may also return for no reason.
inline void FutexWait(std::atomic<std::uint32_t>& nWord, std::uint32_t nValue, const Deadline& oDeadline,
                      eFutexScope nScope = eFutexScope::Process)
{
    // The kernel's own structure of this call: two words of the machine, whatever the C library's time is.
    struct
    {
        long nSeconds;
        long nNanoseconds;
    } const oEnd = {static_cast<long>(oDeadline.End() / Deadline::NANOSECONDS_PER_SECOND),
                    static_cast<long>(oDeadline.End() % Deadline::NANOSECONDS_PER_SECOND)};

    syscall(SYS_futex, &nWord, FUTEX_WAIT_BITSET | static_cast<int>(nScope), nValue,
            oDeadline.HasLimit() ? &oEnd : nullptr, nullptr, FUTEX_BITSET_MATCH_ANY);
}

// Wakes one sleeper. The word may be gone by now: the address is only compared with those of sleepers, who look again.
inline void FutexWake(std::atomic<std::uint32_t>* pWord, eFutexScope nScope = eFutexScope::Process)
{
    syscall(SYS_futex, pWord, FUTEX_WAKE | static_cast<int>(nScope), 1, nullptr, nullptr, 0);
}

// Whether no other thread can be there: plain loads and stores are enough then.
inline bool IsSingleThreaded()
{
#if defined(COMMON_HAS_SINGLE_THREADED)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

// A compare and swap of a word that only threads of this process change.
template <class Word>
inline bool SwapInProcess(std::atomic<Word>& nWord, Word& nExpected, Word nNew)
{
    // Said to be the likely case since it is the one in which a few cycles tell.
    if (IsSingleThreaded()) [[likely]]
    {
        const Word nFound = nWord.load(std::memory_order_relaxed);
        if (nFound != nExpected) [[unlikely]]
        {
            nExpected = nFound;
            return false;
        }
        nWord.store(nNew, std::memory_order_relaxed);
        return true;
    }
    return nWord.compare_exchange_strong(nExpected, nNew, std::memory_order_acq_rel, std::memory_order_relaxed);
}

// A lock of one word for a few instructions; not recursive. All bytes 0 is a free one.
class FutexLock
{
public:
    void lock()
    {
        std::uint32_t nFree = FREE;
        if (!SwapInProcess(m_nState, nFree, HELD)) [[unlikely]]
            LockSlowly();
    }

    void unlock()
    {
        if (IsSingleThreaded()) [[likely]]
            m_nState.store(FREE, std::memory_order_relaxed);
        else if (m_nState.exchange(FREE, std::memory_order_release) == HELD_WITH_SLEEPERS) [[unlikely]]
            FutexWake(&m_nState);
    }

    // Takes the state of another one over; no lock for anybody.
    void CopyState(const FutexLock& oOther)
    {
        m_nState.store(oOther.m_nState.load(std::memory_order_relaxed), std::memory_order_relaxed);
    }

    // For the child of a fork: whoever held it does not exist there.
    void Reset() { m_nState.store(FREE, std::memory_order_relaxed); }

private:
    static constexpr std::uint32_t FREE = 0;
    static constexpr std::uint32_t HELD = 1;
    static constexpr std::uint32_t HELD_WITH_SLEEPERS = 2;

    void LockSlowly()
    {
        while (m_nState.exchange(HELD_WITH_SLEEPERS, std::memory_order_acquire) != FREE)
            FutexWait(m_nState, HELD_WITH_SLEEPERS, Deadline(0xFFFFFFFF));
    }

    std::atomic<std::uint32_t> m_nState;
};
} // namespace System
