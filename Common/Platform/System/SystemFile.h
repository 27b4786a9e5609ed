#pragma once

/// @file
/// The file service of the system: what a port implements, in Posix/SystemFile.cpp and Windows/SystemFile.cpp.
///
/// Inside the library only. Nothing here throws, logs or keeps a handle of its own. Any thread may call; a stream and
/// an object belong to one thread at a time. A null path is refused like a missing one.
///
/// How a path finds its file: both separators count on every system. Where the system tells capital from small
/// letters, the exact name is tried first, and only when it is missing each component without regard to case (the
/// letters A to Z; of several candidates the exact one, else the first in the order of directory searches). What
/// creates, renames or deletes does so for the folders on the way alone and takes the last name as it stands.

#include <Common/Export.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace System
{
struct sFileStatus;

// ---------------------------------------------------------------- streams

/// fopen with the rules for paths.
///
/// Only files and devices open: a directory, a pipe and a socket are refused, in every mode, and none is waited for.
/// Descriptors are not handed on to child processes where the system can tell. Mode 'x' (create, never open) works on
/// every system.
///
/// @param pMode    a mode string of fopen
/// @param aBuffer  memory for the stream to buffer in, which must outlive it; empty lets the stream take its own
/// @param pStatus  takes the status of the file at that moment, which then costs no question of its own; may be null.
///                 What has no status is eFileKind::Other of the size NO_SIZE
/// @return         the stream, to be closed with fclose; null on failure
std::FILE* OpenStream(const char* pPath, const char* pMode, std::span<char> aBuffer = {},
                      sFileStatus* pStatus = nullptr) noexcept;

/// What CreateStreamHere() does with what has the name already.
enum class eOldFile : std::uint8_t
{
    Keep,   ///< nothing is made then
    Replace ///< a file, link or pipe is removed first; a directory or a read-only file is refused
};

/// Makes a file in the current directory that no link leads anywhere else: a new one is made, never an old one opened.
///
/// @param pName    a plain name, see IsPlainName()
/// @param pStatus  as for OpenStream()
/// @return         the stream, open for binary writing; null on failure
std::FILE* CreateStreamHere(const char* pName, eOldFile eOld, sFileStatus* pStatus = nullptr) noexcept;

/// Whether the bytes of one write to a file that is open for appending stay together at its end, whoever else appends.
bool AreAppendsWhole() noexcept;

/// ftell with 64 bits; -1 on failure.
std::int64_t TellStream(std::FILE* pStream) noexcept;

/// fseek with 64 bits.
///
/// @param nOrigin  SEEK_SET, SEEK_CUR or SEEK_END
bool SeekStream(std::FILE* pStream, std::int64_t nOffset, int nOrigin) noexcept;

/// The length of the file as the system knows it, position untouched; what the stream has not flushed yet is not
/// counted. -1 on failure.
std::int64_t GetStreamLength(std::FILE* pStream) noexcept;

/// Flushes the stream and cuts or extends the file.
bool TruncateStream(std::FILE* pStream, std::int64_t nLength) noexcept;

/// vfprintf, where writing that fails is told.
///
/// @return the number of bytes; negative on failure
int PrintToStream(std::FILE* pStream, const char* pFormat, va_list pArguments) noexcept COMMON_PRINTF_FORMAT(2, 0);

// ---------------------------------------------------------------- files without a stream

/// Opens a file as OpenStream() does, for who buffers by himself: no stream is made, which costs as much as the open.
///
/// @param pMode    a mode string of fopen for bytes: "rb", "wb", "ab"
/// @param oStatus  as for OpenStream()
/// @return         a descriptor, to be closed with CloseDescriptor(); -1 on failure
int OpenDescriptor(const char* pPath, const char* pMode, sFileStatus& oStatus) noexcept;

/// Closes a file. It is closed also when the result is false: some of what was written did not reach the disk then.
bool CloseDescriptor(int nDescriptor) noexcept;

/// Reads bytes.
///
/// @return how many came: fewer at the end of the file and on failure
std::size_t ReadDescriptor(int nDescriptor, void* pTarget, std::size_t nCount) noexcept;

/// Writes bytes.
///
/// @return how many went: fewer on failure
std::size_t WriteDescriptor(int nDescriptor, const void* pSource, std::size_t nCount) noexcept;

/// Moves the position.
///
/// @param nOrigin  SEEK_SET, SEEK_CUR or SEEK_END
/// @return         the new position; -1 on failure
std::int64_t SeekDescriptor(int nDescriptor, std::int64_t nOffset, int nOrigin) noexcept;

// ---------------------------------------------------------------- shared files

/// A file that is open for reading at places, by any number of threads at a time; each names the place with each read.
class CSharedFile;

/// Opens a file for reading, with the rules of OpenStream(), or hands out once more what is open already: when the path
/// leads to that very file and its time stamps tell that nothing, permissions included, has changed since.
///
/// On POSIX a file on a disk of this machine stays open after its last user for the next one, at most 32 of them. They
/// are let go when they are gone from the disk and another file is opened, and when descriptors run out. Windows keeps
/// none: an open file could not be deleted there.
///
/// @return the file, to be given back with ReleaseShared(); null on failure
CSharedFile* AcquireShared(const char* pPath) noexcept;

/// Gives a file back.
void ReleaseShared(CSharedFile* pFile) noexcept;

/// Reads bytes from a place on.
///
/// @return how many came: fewer at the end of the file and on failure
std::size_t ReadShared(CSharedFile* pFile, std::uint64_t nOffset, void* pTarget, std::size_t nCount) noexcept;

// ---------------------------------------------------------------- names

/// Deletes a file, or a link itself; a directory and a read-only file are refused.
bool EraseFile(const char* pPath) noexcept;

/// Renames a file; one that has the new name already is replaced in one step.
bool RenameOver(const char* pFrom, const char* pTo) noexcept;

/// Whether a name from outside is nothing but a name in a directory: not empty, not "." or "..", without separators of
/// either kind, and nothing that this system takes for a device, a stream or another spelling.
bool IsPlainName(const char* pName) noexcept;

/// Whether a byte begins a double-byte character in the paths of this system, so that the next is no separator.
bool IsPathLeadByte(unsigned char nByte) noexcept;

// ---------------------------------------------------------------- attributes

/// Attribute bits, with the values of Windows.
constexpr std::uint32_t ATTRIBUTE_READONLY = 0x001;
constexpr std::uint32_t ATTRIBUTE_HIDDEN = 0x002;
constexpr std::uint32_t ATTRIBUTE_SYSTEM = 0x004;
constexpr std::uint32_t ATTRIBUTE_DIRECTORY = 0x010;
constexpr std::uint32_t ATTRIBUTE_ARCHIVE = 0x020;
constexpr std::uint32_t ATTRIBUTE_NORMAL = 0x080;
constexpr std::uint32_t ATTRIBUTE_TEMPORARY = 0x100;
constexpr std::uint32_t ATTRIBUTE_COMPRESSED = 0x800;
constexpr std::uint32_t NO_ATTRIBUTES = 0xFFFFFFFF; ///< there is no such file

/// The attributes of a file or directory; NO_ATTRIBUTES when it is missing.
///
/// On POSIX: directory; hidden is a name that begins with a dot; readonly is that nobody has write permission (also for
/// the superuser, who may write all the same); normal when nothing else holds.
std::uint32_t GetAttributes(const char* pPath) noexcept;

/// Sets the attributes of a file or directory; 0 counts as normal.
///
/// On POSIX only what GetAttributes() would then tell is set: anything else, such as hidden for a name without a dot or
/// archive, is refused and nothing changes. Taking readonly away gives the owner write permission.
bool SetAttributes(const char* pPath, std::uint32_t nAttributes) noexcept;

/// What lies under a name.
enum class eFileKind : std::uint8_t
{
    File,
    Directory,
    Link, ///< only where links are not followed
    Other ///< device, pipe, socket
};

/// The size of what has none.
constexpr std::uint64_t NO_SIZE = 0xFFFF'FFFF'FFFF'FFFF;

/// What the system knows about a file. Two names lead to one file exactly when volume and index are equal.
struct sFileStatus
{
    eFileKind eKind;
    std::uint64_t nSize;
    std::uint64_t nVolume;
    std::uint64_t nIndex;

    bool IsSameFile(const sFileStatus& oOther) const { return nVolume == oOther.nVolume && nIndex == oOther.nIndex; }
};

/// Tells the status of what a path leads to.
///
/// @param bFollowLinks  false to look at a link itself
/// @return              false when it is missing
bool GetStatus(const char* pPath, sFileStatus& oStatus, bool bFollowLinks = true) noexcept;

/// Tells the status of what stands under exactly this name in the current directory, of a link itself.
///
/// @param pName  a plain name, see IsPlainName()
/// @return       false when it is missing
bool GetStatusHere(const char* pName, sFileStatus& oStatus) noexcept;

/// Tells the status of an open file.
bool GetStatus(std::FILE* pStream, sFileStatus& oStatus) noexcept;

/// Tells the status of an open file.
bool GetDescriptorStatus(int nDescriptor, sFileStatus& oStatus) noexcept;

// ---------------------------------------------------------------- directories

/// Makes a directory; false when there is one already.
bool MakeDirectory(const char* pPath) noexcept;

/// Removes an empty directory.
bool EraseDirectory(const char* pPath) noexcept;

/// Changes the current directory of the process.
bool ChangeDirectory(const char* pPath) noexcept;

/// Changes into a directory of the current one, unless it is a link.
///
/// @param pName  a plain name, see IsPlainName()
bool EnterDirectoryHere(const char* pName) noexcept;

/// Stores the absolute current directory with its terminator; false when it does not fit.
bool GetWorkingDirectory(char* pBuffer, std::size_t nSize) noexcept;

/// The absolute current directory, however long; empty on failure.
std::string GetWorkingDirectory();

class CListing;

/// One search for a name in several places. While it lives, its thread takes what it has once seen of a directory for
/// true and does not ask again before each name. What comes into that directory meanwhile may be missed.
///
/// A port that asks about a missing name once has nothing to remember.
class CPathSearch
{
public:
    CPathSearch() noexcept;
    ~CPathSearch();

    CPathSearch(const CPathSearch&) = delete;
    CPathSearch& operator=(const CPathSearch&) = delete;

    /// Keeps what a directory holds.
    ///
    /// @param sDirectory  as it is written, with its separator; empty is the current one
    void Remember(std::string_view sDirectory, const std::shared_ptr<const CListing>& pListing) noexcept;

    /// Whether a component of the path is missing from the directory that was remembered last, in any case.
    bool IsMissing(std::string_view sPath) const noexcept;

private:
    [[maybe_unused]] CPathSearch* m_pOuter = nullptr;
    std::string m_sDirectory;
    std::shared_ptr<const CListing> m_pListing;
};

/// Remembers the current directory, to come back to it.
///
/// On POSIX this holds the directory itself, so that no length of its path and no renaming above it gets in the way.
class CDirectoryMark
{
public:
    /// Remembers the current directory.
    CDirectoryMark() noexcept;
    ~CDirectoryMark();

    CDirectoryMark(const CDirectoryMark&) = delete;
    CDirectoryMark& operator=(const CDirectoryMark&) = delete;

    /// Whether the current directory could be remembered.
    bool IsValid() const noexcept;

    /// Changes back to the remembered directory; can be called again.
    bool Return() const noexcept;

private:
    int m_nDirectory;
    std::string m_sPath;
};

/// A search for the names of a directory that match a pattern.
///
///     System::CDirectorySearch oSearch;
///     if (oSearch.Start("data/*.txt"))
///         while (const char* pName = oSearch.Next())
///             total += oSearch.GetSize();
///
/// The pattern's last component may hold '*' (any bytes, also none) and '?' (one byte); "*.*" matches every name; the
/// case of letters does not count. The names are taken at the start, so changes to the directory do not disturb a
/// search. They come as "." and ".." where the pattern matches them, then ascending: letters folded to capitals, then
/// by bytes.
class CDirectorySearch
{
public:
    CDirectorySearch() noexcept;
    ~CDirectorySearch();

    CDirectorySearch(CDirectorySearch&&) noexcept;
    CDirectorySearch& operator=(CDirectorySearch&&) noexcept;

    /// Starts a new search; an older one ends.
    ///
    /// @return false when there is no such directory, when not all of its names can be read, or no memory
    bool Start(const char* pPattern) noexcept;

    /// Goes to the next name.
    ///
    /// @return the name without its directory, valid until the next call; null at the end, and then nothing is held
    ///         any more
    const char* Next() noexcept;

    /// Whether the current name is a directory, or a link to one.
    bool IsDirectory() const noexcept;

    /// The size of the current name's file in bytes, through links; 0 for a directory and when the file has gone.
    std::uint64_t GetSize() const noexcept;

    /// Ends the search.
    void Close() noexcept;

private:
    struct sState;
    std::unique_ptr<sState> m_pState;
};
} // namespace System
