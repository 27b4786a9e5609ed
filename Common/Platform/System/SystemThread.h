#pragma once

#include <atomic>
#include <cstdint>

// Threads by waitable handle: a wait for the handle ends when the thread has ended.
namespace System
{
// The work of a thread; what it returns is the thread's exit code.
using ThreadEntry = std::uint32_t (*)(std::uintptr_t nArgument);

// Exit code of a thread that has not ended.
inline constexpr std::uint32_t EXIT_CODE_RUNNING = 259;

// The levels of priority that the home system names.
inline constexpr int THREAD_LEVEL_LOWEST = -2;
inline constexpr int THREAD_LEVEL_NORMAL = 0;
inline constexpr int THREAD_LEVEL_HIGHEST = 2;
inline constexpr int THREAD_LEVEL_TIME_CRITICAL = 15;
inline constexpr int THREAD_LEVEL_UNKNOWN = 0x7FFFFFFF;

// Starts a thread with the default stack size. Its identifier is in nIdentifier before pEntry is called, and before
// this returns. Null on failure, nIdentifier is then 0 or as it was.
void* StartThread(ThreadEntry pEntry, std::uintptr_t nArgument, std::atomic<std::uint32_t>& nIdentifier);

// Exit code of a thread; false when there is no such handle.
bool ReadExitCode(void* hThread, std::uint32_t& nCode);

// Sets one of the levels above. A level that the system does not allow is remembered all the same.
bool WriteThreadLevel(void* hThread, int nLevel);

// The level that was set; THREAD_LEVEL_UNKNOWN when there is no such handle.
int ReadThreadLevel(void* hThread);

// Gives the processor away for at least a time; 0 only lets others go first.
void SleepFor(unsigned nMilliseconds);
} // namespace System
