#pragma once

/// @file
/// Files: streams of the runtime library behind small handles, attributes, path splitting.
///
///     int nFile = FILE_Open("data/readme.txt", "rb");
///     if (nFile != -1)
///     {
///         unsigned nRead = FILE_Read(nFile, aBuffer, 1, sizeof(aBuffer));
///         FILE_Close(nFile);
///     }
///
/// A handle is a number from 0 to 1023, the lowest free one at each open; -1 is none. Most functions return 1 for
/// success and -1 for failure. Nothing here logs or throws. Any thread may call; two threads that use one handle
/// order their work themselves. A handle that is not open is answered as such, never with another's file.
///
/// Paths: a slash and a backslash are separators on every system. Where file names tell capital from small letters the
/// exact name is tried first, and when it is missing each component without regard to case, so that names written on
/// the other system are found. What creates, appends or deletes looks for the folders on the way alone like that, and
/// takes the last name as it stands. A directory, a pipe or a socket is not a file that can be opened.

#include <Common/Export.h>

#include <cstdarg>

/// @name Attribute bits of FILE_GetFileAttributes() and FILE_SetFileAttributes()
/// @{
constexpr unsigned FILE_ATTR_ARCHIVE = 0x01;
constexpr unsigned FILE_ATTR_COMPRESSED = 0x02;
constexpr unsigned FILE_ATTR_DIRECTORY = 0x04;
constexpr unsigned FILE_ATTR_HIDDEN = 0x08;
constexpr unsigned FILE_ATTR_NORMAL = 0x10;
constexpr unsigned FILE_ATTR_READONLY = 0x20;
constexpr unsigned FILE_ATTR_SYSTEM = 0x40;
constexpr unsigned FILE_ATTR_TEMPORARY = 0x80;
constexpr unsigned FILE_ATTR_MISSING = 0xFFFFFFFF; ///< there is no such file
/// @}

/// @name Sizes of the buffers of FILE_SplitPath(), terminators included
/// @{
constexpr unsigned FILE_SPLIT_DRIVE_SIZE = 3;
constexpr unsigned FILE_SPLIT_DIR_SIZE = 256;
constexpr unsigned FILE_SPLIT_NAME_SIZE = 256;
constexpr unsigned FILE_SPLIT_EXT_SIZE = 256;
/// @}

extern "C"
{
    /// Opens a file.
    ///
    /// @param pMode  a mode string of fopen: "rb", "wb", "ab", ...
    /// @return       the handle; -1 when the file does not open or 1024 files are open already
    COMMON_API int FILE_Open(const char* pPath, const char* pMode);

    /// Flushes and closes a file.
    ///
    /// @return 1; -1 when the handle is not open, or when the last bytes could not be written: the handle is dead then
    ///         and is not given out again
    COMMON_API int FILE_Close(int nFile);

    /// Reads items.
    ///
    /// @param nSize   bytes of an item
    /// @param nCount  number of items
    /// @return        the whole items that were read; 0 at the end, on failure and for a handle that is not open
    COMMON_API unsigned FILE_Read(int nFile, void* pBuffer, unsigned nSize, unsigned nCount);

    /// Writes items.
    ///
    /// @param nSize   bytes of an item
    /// @param nCount  number of items
    /// @return        the whole items that were taken; 0 for a handle that is not open
    COMMON_API unsigned FILE_Write(int nFile, const void* pBuffer, unsigned nSize, unsigned nCount);

    /// Reads a line with its line feed, at most nSize - 1 bytes, and terminates it.
    ///
    /// @return 1 when there was a line, else -1
    COMMON_API int FILE_Gets(int nFile, char* pBuffer, int nSize);

    /// Writes a text.
    ///
    /// @return -1 when the text was written or the handle is not open, 1 when writing failed. This inverted sense is
    ///         kept: do not test the result
    COMMON_API int FILE_Puts(int nFile, const char* pText);

    /// The position in bytes.
    ///
    /// @return -1 on failure, and where a long cannot hold the position
    COMMON_API long FILE_Tell(int nFile);

    /// Moves the position.
    ///
    /// @param nOrigin  0 from the current position, 1 from the end, 2 and every other value from the beginning
    /// @return         1, or -1 on failure
    COMMON_API int FILE_Seek(int nFile, long nOffset, int nOrigin);

    /// Hands what was written on to the system.
    ///
    /// @return 1, or -1 on failure
    COMMON_API int FILE_Flush(int nFile);

    /// Writes formatted text.
    ///
    /// @return the number of bytes; negative on failure, -1 for a handle that is not open
    COMMON_API int FILE_Printf(int nFile, const char* pFormat, ...) COMMON_PRINTF_FORMAT(2, 3);

    /// FILE_Printf() with an argument list.
    COMMON_API int FILE_Vprintf(int nFile, const char* pFormat, va_list pArguments) COMMON_PRINTF_FORMAT(2, 0);

    /// Deletes a file; one that is read-only, or a directory, is refused.
    ///
    /// @return 1, or -1 on failure
    COMMON_API int FILE_Delete(const char* pPath);

    /// Splits a path into its four parts, which put together are the path again:
    ///
    ///     "c:\data\maps/level.1.dat"
    ///      ^^                         drive   "c:"
    ///        ^^^^^^^^^^^              dir     "\data\maps/"
    ///                   ^^^^^^^       name    "level.1"
    ///                          ^^^^   ext     ".dat"
    ///
    /// Each output may be null; else it is a buffer of FILE_SPLIT_..._SIZE bytes. A longer part is cut.
    COMMON_API void FILE_SplitPath(const char* pPath, char* pDrive, char* pDir, char* pName, char* pExt);

    /// The attributes of a file or directory: FILE_ATTR_ bits.
    ///
    /// On Linux: directory; hidden for a name that begins with a dot; readonly where nobody has write permission, also
    /// for the superuser, who may write all the same; normal when nothing else holds.
    ///
    /// @return FILE_ATTR_MISSING when it does not exist
    COMMON_API unsigned FILE_GetFileAttributes(const char* pPath);

    /// Sets the attributes of a file or directory; 0 counts as normal.
    ///
    /// On Linux readonly can be set and taken away. What the file system cannot hold (archive, hidden for a name
    /// without a dot, not hidden for a name with one) is refused as a whole.
    ///
    /// @return 1, or 0 on failure
    COMMON_API int FILE_SetFileAttributes(const char* pPath, unsigned nAttributes);
}
