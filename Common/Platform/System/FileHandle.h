#pragma once

/// @file
/// What the library itself asks of a file handle beyond the FILE_ functions: 64-bit positions on every target, the
/// length without moving, and files that several handles share.
///
/// Inside the library only; PlatformFile.cpp implements it. A handle that is not open fails, as everywhere.

#include <cstdint>

namespace System
{
struct sFileStatus;

/// FILE_Open() for who buffers by himself: what is read and written goes straight to the system, and no stream is made.
///
/// FILE_Read(), FILE_Write(), FILE_Flush() and FILE_Close() take the handle, and all that stands here; for the other
/// FILE_ functions it counts as not open.
///
/// @param oStatus  takes the status of the file, as from OpenStream()
/// @return         the handle; -1 when the file does not open or the table is full
int OpenUnbuffered(const char* pPath, const char* pMode, sFileStatus& oStatus) noexcept;

/// A handle for a file of which only parts are read, with ReadFile(): the cheap way for a file that is opened again and
/// again. What is open already may be used once more, when it is what the path leads to at this moment.
///
/// The FILE_ functions close and flush it; for all else the handle counts as not open.
///
/// @return the handle; -1 when the file does not open or the table is full
int OpenShared(const char* pPath) noexcept;

/// Reads bytes of a file from a place on.
///
/// @param bThere  whether the handle's position is known to be there already; it stands behind the bytes afterwards.
///                A shared file has no position
/// @return        how many bytes came
std::uint32_t ReadFile(int nFile, std::uint64_t nOffset, bool bThere, void* pTarget, std::uint32_t nCount) noexcept;

/// The status of a handle's file; false on failure.
bool GetHandleStatus(int nFile, sFileStatus& oStatus) noexcept;

/// The position of a handle; -1 on failure.
std::int64_t TellFile(int nFile) noexcept;

/// Moves a handle.
///
/// @param nOrigin  SEEK_SET, SEEK_CUR or SEEK_END
bool SeekFile(int nFile, std::int64_t nOffset, int nOrigin) noexcept;

/// The length of a handle's file as the system knows it, without what is not flushed yet; -1 on failure.
///
/// It costs one call of the system and leaves the position alone: cheaper than seeking to the end and back.
std::int64_t GetFileLength(int nFile) noexcept;
} // namespace System
