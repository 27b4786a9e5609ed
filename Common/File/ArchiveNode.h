#pragma once

#include <Common/Export.h>
#include <Common/File/ArchiveFormat.h>

#include <cstddef>
#include <cstdint>

/// One directory of an archive in memory: its header and its table, with an index of the names.
///
/// CArchiveReader fills it; it may then be asked without the archive being at hand.
///
///     CArchiveNode oRoot;
///     if (oReader.ReadRoot(oRoot) == eArchiveResult::Ok)
///         if (const sArchiveEntry* pEntry = oRoot.Find("Wall.tga"))
///             std::printf("%u bytes\n", pEntry->m_nSize);
///
/// A name is found in about the same time whether the table holds ten entries or a hundred thousand: the index is a
/// hash table of 4-byte slots behind the entries, in the same block of memory. What it finds is always what a search
/// from the first entry on would find. Only where names beyond ASCII meet a locale whose letters go beyond ASCII is
/// the table searched from its first entry on.
///
/// A node owns its table. It may be moved, not copied. Any number of threads may read it at a time.
class COMMON_API CArchiveNode
{
public:
    CArchiveNode() noexcept;
    ~CArchiveNode();

    CArchiveNode(const CArchiveNode&) = delete;
    CArchiveNode& operator=(const CArchiveNode&) = delete;
    /// Takes the table over; the other node is empty afterwards.
    CArchiveNode(CArchiveNode&& oOther) noexcept;
    /// Takes the table over; the other node is empty afterwards.
    CArchiveNode& operator=(CArchiveNode&& oOther) noexcept;

    /// The header as it lies in the file; all zero in a node that nothing was read into.
    const sArchiveHeader& GetHeader() const noexcept;

    /// Where the header lies, in bytes from the beginning of the archive file.
    std::uint32_t GetBase() const noexcept;

    /// How many entries the table has.
    std::uint32_t GetEntryCount() const noexcept;

    /// An entry by its place in the table, 0 to GetEntryCount() - 1.
    const sArchiveEntry& GetEntry(std::uint32_t nIndex) const noexcept;

    /// The first entry with this name, files and subdirectories alike; case does not count, as in STR_stricmp().
    ///
    /// @return null when there is none, or when pName is null
    const sArchiveEntry* Find(const char* pName) const noexcept;

    /// Finds a name in a table that Detach() handed out.
    ///
    /// @param pEntries     the table, null for none
    /// @param nEntryCount  GetEntryCount() of the node that it came from
    /// @return             as Find()
    static const sArchiveEntry* FindIn(const sArchiveEntry* pEntries, std::uint32_t nEntryCount,
                                       const char* pName) noexcept;

    /// Hands the table over to the caller, index included; the node is empty afterwards.
    ///
    /// @return the entries, to be given back with MEM_Free(); null when there are none
    sArchiveEntry* Detach() noexcept;

    /// Gives the table back.
    void Clear() noexcept;

private:
    friend class CArchiveReader;

    // Takes the memory for a table of m_oHeader.m_nEntryCount entries; false when there is none.
    bool Allocate() noexcept;
    // Takes entries that have been read into the index, from nFirst up to nEnd; false when a name is not terminated.
    bool Index(std::uint32_t nFirst, std::uint32_t nEnd) noexcept;

    sArchiveHeader m_oHeader;
    std::uint32_t m_nBase;
    sArchiveEntry* m_pEntries;
};
