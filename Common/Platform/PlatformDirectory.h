#pragma once

/// @file
/// Directories. Each function returns 1 for success and -1 for failure; nothing logs or throws.
///
///     if (DIR_Create("saves") == 1)
///         DIR_Change("saves");
///
/// Paths find their directory as PlatformFile.h says. The current directory belongs to the whole process: a program
/// that changes it while other threads open files by relative names gets what it asks for.

#include <Common/Export.h>

extern "C"
{
    /// Makes a directory; one that exists already is a failure.
    COMMON_API int DIR_Create(const char* pPath);

    /// Removes an empty directory.
    COMMON_API int DIR_Remove(const char* pPath);

    /// Changes the current directory of the process.
    COMMON_API int DIR_Change(const char* pPath);

    /// Stores the absolute path of the current directory.
    ///
    /// @param nSize  size of the buffer in bytes; the terminator must fit too
    COMMON_API int DIR_GetWorkingDirectory(char* pBuffer, int nSize);
}
