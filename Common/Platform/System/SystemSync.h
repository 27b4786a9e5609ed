#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// Waitable objects by handle, and the critical section.
//
// A handle is what the home system calls one; its value fits into 32 bits, is above 0 as a signed number, and null
// means none. Every handle is closed once by CloseWaitable(). A named object is the one of that name among all
// processes of the user; opening one that exists ignores the initial values, and a name that belongs to another type
// yields null. The name is gone with the last handle, also when its process died.
namespace System
{
// What a wait returns.
inline constexpr unsigned WAIT_RESULT_SIGNALLED = 0;
inline constexpr unsigned WAIT_RESULT_ABANDONED = 0x80; // got a mutex whose owner ended without unlocking it
inline constexpr unsigned WAIT_RESULT_TIME_OUT = 258;
inline constexpr unsigned WAIT_RESULT_FAILED = 0xFFFFFFFF; // no handle of a waitable object

// A wait of this length, in milliseconds, has no limit.
inline constexpr unsigned NO_TIME_LIMIT = 0xFFFFFFFF;

// Most bytes of a name.
inline constexpr std::size_t LONGEST_OBJECT_NAME = 259;

// A null or empty name makes an unnamed object. Null is returned on failure.
void* MakeMutex(bool bOwned, const char* pName);
void* MakeEvent(bool bManualReset, bool bSignalled, const char* pName);
void* MakeSemaphore(int nCount, int nMaximum, const char* pName);

// Gives one ownership of a mutex back; false when the calling thread does not own it.
bool UnlockMutex(void* hWaitable);

bool SetEventSignal(void* hEvent);
bool ClearEventSignal(void* hEvent);

// Returns nCount units and stores the count before; false, and nothing changed, when the count would pass the maximum
// or nCount is not above 0.
bool UnlockSemaphore(void* hSemaphore, int nCount, int& nPrevious);

// Waits for any waitable object: a mutex, an event, a semaphore, a thread.
unsigned WaitFor(void* hWaitable, unsigned nMilliseconds);

bool CloseWaitable(void* hObject);

// A handle that is closed with the last copy of what it returns.
std::shared_ptr<void> ShareWaitable(void* hObject);

// A critical section inside storage that its owner provides, CRITICAL_SECTION_SIZE bytes aligned like a pointer. A copy
// of the bytes is no critical section that was opened: closing it does nothing.
inline constexpr std::size_t CRITICAL_SECTION_SIZE = sizeof(void*) == 4 ? 24 : 40;

void OpenCriticalSection(void* pStorage);
void CopyCriticalStorage(void* pStorage, const void* pOther); // the raw bytes, whoever is inside
void CloseCriticalSection(void* pStorage);
void EnterCriticalStorage(void* pStorage);
void LeaveCriticalStorage(void* pStorage);
} // namespace System
