#pragma once

/// @file
/// The bytes of an archive file (".arc"), as they lie in the file and in memory.
///
/// An archive is one node: a header, the bytes of its files, one complete node for each subdirectory, and at the end
/// its directory table. All numbers are unsigned, 32 bits wide and little-endian, nothing is aligned.
///
///     offset 0                sArchiveHeader
///     32                      the bytes of the files, one after the other
///                             the nodes of the subdirectories, one after the other
///     m_nTableOffset          m_nEntryCount times sArchiveEntry: files first, then subdirectories
///     m_nNodeSize             end of the node
///
/// Offsets count from the first byte of the node that holds them. The root node starts at the first byte of the file.
/// There is no compression and no check sum.

#include <cstddef>
#include <cstdint>

/// The first four bytes of every node.
inline constexpr char ARCHIVE_MAGIC[4] = {'A', 'R', 'C', 'X'};

/// The version that is written, and the only one that is read.
inline constexpr std::uint8_t ARCHIVE_MAJOR_VERSION = 1;
/// The second number of that version.
inline constexpr std::uint8_t ARCHIVE_MINOR_VERSION = 0;

/// Bytes of an entry's name, its terminator included.
inline constexpr std::size_t ARCHIVE_NAME_SIZE = 256;

#pragma pack(push, 1)

/// What a node begins with.
struct sArchiveHeader
{
    char m_aMagic[4];             ///< ARCHIVE_MAGIC
    std::uint8_t m_nMajorVersion; ///< ARCHIVE_MAJOR_VERSION
    std::uint8_t m_nMinorVersion; ///< ARCHIVE_MINOR_VERSION
    std::uint32_t m_nNodeSize;    ///< bytes of the node, from the header to the end of its table
    std::uint32_t m_nTableOffset; ///< where the table begins
    std::uint32_t m_nEntryCount;  ///< entries in the table
    std::uint8_t m_aReserved[14]; ///< zero
};

/// One file or subdirectory of a node.
struct sArchiveEntry
{
    char m_aName[ARCHIVE_NAME_SIZE]; ///< name without a path, terminated, the rest zero
    std::uint32_t m_nOffset;         ///< where its bytes begin
    std::uint32_t m_nSize;           ///< how many they are; for a subdirectory those of its whole node
    std::uint8_t m_nIsDirectory;     ///< 1 for a subdirectory, 0 for a file
    std::uint8_t m_aReserved[11];    ///< zero
};

#pragma pack(pop)

static_assert(sizeof(sArchiveHeader) == 32 && offsetof(sArchiveHeader, m_nMinorVersion) == 5 &&
              offsetof(sArchiveHeader, m_nNodeSize) == 6 && offsetof(sArchiveHeader, m_nTableOffset) == 10 &&
              offsetof(sArchiveHeader, m_nEntryCount) == 14 && offsetof(sArchiveHeader, m_aReserved) == 18);
static_assert(sizeof(sArchiveEntry) == 276 && offsetof(sArchiveEntry, m_nOffset) == 256 &&
              offsetof(sArchiveEntry, m_nSize) == 260 && offsetof(sArchiveEntry, m_nIsDirectory) == 264 &&
              offsetof(sArchiveEntry, m_aReserved) == 265);
