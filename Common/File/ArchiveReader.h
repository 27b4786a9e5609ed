#pragma once

#include <Common/Export.h>
#include <Common/File/ArchiveFormat.h>
#include <Common/File/ArchiveNode.h>

#include <cstddef>
#include <cstdint>
#include <span>

/// What became of reading an archive.
enum class eArchiveResult : std::uint32_t
{
    Ok = 0,           ///< done
    Truncated = 1,    ///< a node, a table or an entry says that it lies where there is nothing, or it could not be read
    WrongVersion = 2, ///< not an archive, or one of another version
    Malformed = 3,    ///< the bytes are there and make no sense: a name without an end, entries that share bytes
    NoMemory = 4      ///< there is no memory for the table
};

/// Reads archive files (".arc") of any origin, from a file or from memory.
///
/// The file system, the extraction of archives and the tools read archives through this one class, and through it
/// alone. It believes nothing: every number is held against what is really there before memory is taken or a byte is
/// read, so no archive, however broken, makes it crash, take more memory than the archive has bytes, or run for ever.
///
///     CArchiveReader oReader;
///     CArchiveNode oRoot;
///     if (oReader.Open("data.arc") && oReader.ReadRoot(oRoot) == eArchiveResult::Ok)
///     {
///         for (std::uint32_t i = 0; i < oRoot.GetEntryCount(); ++i)
///             std::puts(oRoot.GetEntry(i).m_aName);
///     }
///
/// A subdirectory is a node of its own, inside its parent: ReadChild() takes only nodes that lie wholly behind the
/// header of the parent and end where the parent ends or before. So each step down leads to a smaller node, and a node
/// that holds itself, or a chain without an end, is refused. A caller that goes down through all of a tree asks
/// CheckTable() first, which also refuses entries that share bytes; the tree is then no larger than the archive.
///
/// Nothing here throws. An object belongs to one thread at a time. It knows nothing of roots and registered archives.
class COMMON_API CArchiveReader
{
public:
    CArchiveReader() noexcept;
    ~CArchiveReader();

    CArchiveReader(const CArchiveReader&) = delete;
    CArchiveReader& operator=(const CArchiveReader&) = delete;

    /// Opens an archive file; one that was open is closed first. Nothing is read yet.
    ///
    /// The file stays open, through one handle of FILE_Open(), until Close().
    ///
    /// @param pPath  as FILE_Open() takes it
    /// @return       false when it could not be opened
    bool Open(const char* pPath) noexcept;

    /// Reads an archive that lies in memory; one that was open is closed first.
    ///
    /// @param aBytes  the whole archive; stays the caller's and must live until Close()
    void Open(std::span<const std::byte> aBytes) noexcept;

    /// Closes the file; nothing happens when none is open.
    void Close() noexcept;

    /// Whether an archive is open.
    bool IsOpened() const noexcept;

    /// How many bytes the archive really has, 0 when none is open.
    std::uint64_t GetLength() const noexcept;

    /// Reads the topmost directory.
    ///
    /// @param oNode  takes the node; empty when the result is not Ok
    /// @return       WrongVersion for what is not an archive; Truncated also for what is too short to be one
    eArchiveResult ReadRoot(CArchiveNode& oNode) noexcept;

    /// Reads the directory of a subdirectory.
    ///
    /// @param oParent  a node of this archive
    /// @param oEntry   an entry of it
    /// @param oNode    takes the node, not the same as oParent; empty when the result is not Ok
    /// @return         Malformed when oEntry is a file
    eArchiveResult ReadChild(const CArchiveNode& oParent, const sArchiveEntry& oEntry, CArchiveNode& oNode) noexcept;

    /// Reads the directory of a subdirectory whose parent's table is held elsewhere.
    ///
    /// @param nParentBase  where the parent lies, in bytes from the beginning of the archive
    /// @param oParent      the parent's header
    /// @param oEntry       an entry of the parent
    /// @param oNode        takes the node; empty when the result is not Ok
    /// @return             as above
    eArchiveResult ReadChild(std::uint32_t nParentBase, const sArchiveHeader& oParent, const sArchiveEntry& oEntry,
                             CArchiveNode& oNode) noexcept;

    /// Holds one entry against its node: whether its bytes lie inside, behind the header.
    ///
    /// @return Ok or Truncated
    static eArchiveResult CheckEntry(const sArchiveHeader& oHeader, const sArchiveEntry& oEntry) noexcept;

    /// Holds all entries of a node against it: each inside, and together no more than the node can hold.
    ///
    /// @return Ok, Truncated, or Malformed for entries that share bytes
    static eArchiveResult CheckTable(const CArchiveNode& oNode) noexcept;

    /// Reads bytes of a file.
    ///
    /// @param oNode      the node that holds the entry
    /// @param oEntry     a file of it
    /// @param nPosition  the first byte, counted from the file's beginning
    /// @param pBuffer    takes nSize bytes
    /// @param nSize      how many
    /// @return           Truncated when they are not all there; the buffer's contents are then undefined
    eArchiveResult ReadEntry(const CArchiveNode& oNode, const sArchiveEntry& oEntry, std::uint32_t nPosition,
                             void* pBuffer, std::size_t nSize) noexcept;

    /// Reads bytes of the archive, whatever they are.
    ///
    /// @param nPosition  the first byte, counted from the archive's beginning
    /// @param pBuffer    takes nSize bytes
    /// @param nSize      how many
    /// @return           false when they are not all there; the buffer's contents are then undefined
    bool ReadBytes(std::uint64_t nPosition, void* pBuffer, std::size_t nSize) noexcept;

    /// Whether a name of an entry may become a file or directory on disk, on every system.
    ///
    /// @return false for "", ".", "..", a name with a separator of either kind, and on Windows for what the system
    /// would
    ///         take for more than a name: one with a colon or another character that it gives a meaning, one that ends
    ///         in a dot or a blank, and the name of a device ("con", "nul.txt")
    static bool IsPlainName(const char* pName) noexcept;

private:
    eArchiveResult ReadNode(std::uint64_t nBase, std::uint64_t nLimit, CArchiveNode& oNode) noexcept;

    int m_nFile;               // handle of FILE_Open(), -1 for none
    const std::byte* m_pBytes; // the archive in memory, null for none
    std::uint64_t m_nLength;   // of either
    std::uint64_t m_nPosition; // where the file's pointer stands
};
