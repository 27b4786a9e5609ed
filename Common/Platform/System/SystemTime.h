#pragma once

#include <Common/Platform/System/PreserveRegisters.h>

#include <cstdint>

// The clocks and the time events.
namespace System
{
// The finest counter of the system; it never goes back. 0 when it cannot be read.
std::int64_t ReadPerformanceCounter();

// Steps of the performance counter in a second. 0 when there is no such counter.
std::int64_t GetPerformanceFrequency();

// Steps of the performance counter in seconds: the number as a double over the frequency as a double, to the last bit.
double ToSeconds(std::int64_t nSteps);

// Seconds since the performance counter stood at a number; the same as ToSeconds() of the difference, which wraps
// around. Each system, and each kind of processor, has its quickest way.
using SecondsReader = double (*)(std::int64_t nOrigin);

extern SecondsReader g_pReadSecondsSince;

inline double ReadSecondsSince(std::int64_t nOrigin)
{
    return g_pReadSecondsSince(nOrigin);
}

// Milliseconds since the start of the system; begins at 0 again after 49.7 days.
std::uint32_t ReadTickCount();

// The clock of media: milliseconds, no coarser than the running timer periods ask. Where the system has no such clock
// of its own it counts from the start of the process, so that its float seconds stay fine for hours; in a forked child
// it goes on from that of the parent.
std::uint32_t ReadMediaClock();

// The cycle counter of the processor: the cheapest clock, its rate unknown to it.
COMMON_GENERAL_REGISTERS inline std::uint64_t ReadCycleCounter()
{
#if defined(__i386__) || defined(__x86_64__)
    return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
    std::uint64_t nCount = 0;
    __asm__ volatile("mrs %0, cntvct_el0" : "=r"(nCount));
    return nCount;
#else
    return static_cast<std::uint64_t>(ReadPerformanceCounter());
#endif
}

// Keeps the compiler from moving what stands before it behind it, and the other way round.
COMMON_GENERAL_REGISTERS inline void KeepOrder()
{
    __asm__ volatile("" ::: "memory");
}

// Tells whether the cycle counter runs at one rate, whatever the processor's speed and sleep.
bool IsCycleCounterConstant();

// Asks for, and takes back, a timer period in milliseconds. False for a period that the system cannot give.
bool BeginTimerPeriod(unsigned nMilliseconds);
bool EndTimerPeriod(unsigned nMilliseconds);

// What a time event calls: with its identifier, 0, the user value, 0 and 0. It must not throw.
using TimeEventCallback = void (*)(unsigned nEvent, unsigned, unsigned long nUser, unsigned long, unsigned long);

// Calls a function after a delay, once or again and again, on a thread that all time events of the process share and
// that begins with the first of them. The deadlines are multiples of the delay from the start on: they do not drift. A
// deadline that is already over when the event's turn comes is left out.
//
// nResolution is how many milliseconds a call may be late; 0 asks for the best.
// Returns the identifier, which is not 0; 0 for a delay that the system cannot give, or when there are too many events.
unsigned StartTimeEvent(unsigned nDelay, unsigned nResolution, TimeEventCallback pCallback, unsigned long nUser,
                        bool bPeriodic);

// Removes an event; a call of it that is running is waited for, except on the thread that runs it. No call comes after
// the return. False when there is no such event, or when it was one-shot and its call has come.
bool StopTimeEvent(unsigned nEvent);
} // namespace System
