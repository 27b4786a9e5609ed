#pragma once

#include <cstddef>

// This process and its surroundings.
namespace System
{
// Number of this process.
unsigned long GetProcessNumber();

// Most bytes of a computer's name, without the terminator.
inline constexpr std::size_t COMPUTER_NAME_SIZE = 260;

// Writes the name of this computer, terminated, into a buffer of COMPUTER_NAME_SIZE + 1 bytes.
// Returns its length; 0, and an empty text, when it cannot be read.
std::size_t ReadComputerName(char* pBuffer);

// Tells whether a debugger is attached to this process.
bool IsDebuggerAttached();

// Stops in the attached debugger, as at a breakpoint. Without one the process ends.
void BreakIntoDebugger();

// Sends a text to the debugger as it is. Never ends the process, and leaves the error number of the thread alone.
void WriteDebugger(const char* pText);

// Names the lock that is held while this process is copied, so that the copy finds it free and what it guards whole. Of
// all locks that a thread may hold at the same time it is the one that is taken first. There is one in a process; where
// the system makes no copies of processes it is never asked for.
void HoldWhileCopied(void (*pEnter)(), void (*pLeave)());

// Ends the process at once: no exit handlers, no destructors.
[[noreturn]] void EndProcess(int nStatus);
} // namespace System
