#pragma once

#include <cstdint>

// Byte channels: a read end and a write end.
//
// Handles are the library's own, above 0: one that was closed stays closed, and using or closing it again touches
// nothing. Any thread may call; an end that is closed while another thread works on it is closed when that thread is
// done.
namespace System
{
using PipeHandle = std::uint32_t;

// Opens a channel whose both ends a child process inherits. False, and the handles unchanged, when it cannot be opened.
bool OpenPipe(PipeHandle& nReadEnd, PipeHandle& nWriteEnd);

// Closes an end. False when it is not open.
bool ClosePipe(PipeHandle nEnd);

// Waits until all bytes are there and reads them. False when the other end is closed before that, or on a wrong handle.
bool ReadPipe(PipeHandle nReadEnd, void* pData, unsigned long nSize);

// Writes all bytes, waiting for room. False when the other end is closed, or on a wrong handle; no signal is raised.
bool WritePipe(PipeHandle nWriteEnd, const void* pData, unsigned long nSize);

// Bytes that can be read at once. False when it cannot be told.
bool PeekPipe(PipeHandle nReadEnd, unsigned long& nAvailable);
} // namespace System
