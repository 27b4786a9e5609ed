#pragma once

#include <cstdint>

// The waitable objects of this process, by handle.
//
// A handle is the index of a slot and the slot's generation, which changes with every object that the slot holds. Slots
// are never unmapped, and every change of an object is one compare and swap of a word that holds the handle too, so
// that a handle that was closed is always recognised. A slot rests until some thousand others were freed after it: a
// handle comes again after more than 30 million later ones at the earliest.
namespace System
{
class NamedObject;
class Deadline;

namespace WaitTable
{
// Each returns a new handle, or 0 when the table is full.
std::uint32_t AddMutex(bool bOwned);
std::uint32_t AddEvent(bool bManualReset, bool bSignalled);
std::uint32_t AddSemaphore(std::uint32_t nCount, std::uint32_t nMaximum);
std::uint32_t AddThread();
std::uint32_t AddNamed(NamedObject* pNamed); // takes a handle of it over

// System::WaitFor() and System::UnlockMutex() are the table's own.
bool SetEvent(std::uint32_t hEvent);
bool ClearEvent(std::uint32_t hEvent);
bool UnlockSemaphore(std::uint32_t hSemaphore, std::uint32_t nCount, std::uint32_t& nPrevious);
bool Close(std::uint32_t hObject);
bool IsOpen(std::uint32_t hObject);

// For the end of a thread.
void AbandonMutex(std::uint32_t hMutex, std::uint32_t nThread);
void AbandonMutexesOf(std::uint32_t nThread);
void EndThread(std::uint32_t hThread, std::uint32_t nExitCode);

// Threads: the kernel's number of a thread that runs, its level and its exit code.
void BeginThread(std::uint32_t hThread, std::uint32_t nNumber);
bool ReadExitCode(std::uint32_t hThread, std::uint32_t& nExitCode);
bool ReadLevel(std::uint32_t hThread, int& nLevel);
// Notes the level, and applies it while the thread is kept from ending.
bool WriteLevel(std::uint32_t hThread, int nLevel, void (*pApply)(std::uint32_t nNumber, int nLevel));

// How many handles lead to a named object.
std::uint32_t CountNamed(const NamedObject* pNamed);

void BeforeFork();
void AfterForkInParent();
void AfterForkInChild(std::uint32_t nOldNumber, std::uint32_t nNewNumber);
} // namespace WaitTable
} // namespace System
