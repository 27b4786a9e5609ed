#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A file of an archive, or a subdirectory with the bytes of its node.
struct ArchiveItem
{
    std::string sName;
    std::string sBytes;
    bool bDirectory = false;
};

/// The bytes of a node, put together by hand: header, the bytes of the items, the table.
std::string MakeArchiveNode(const std::vector<ArchiveItem>& oItems);

/// An archive of nCount files "file000000.dat" and so on, each holding its own name.
std::string MakeLargeArchive(std::size_t nCount);

/// Reads 4 bytes of a text as a little-endian number.
std::uint32_t GetNumber(std::string_view sBytes, std::size_t nPosition);

/// Writes a number over 4 bytes of a text.
void SetNumber(std::string& sBytes, std::size_t nPosition, std::uint32_t nNumber);

/// Where in a node its header's fields stand.
constexpr std::size_t NODE_SIZE_FIELD = 6;
constexpr std::size_t TABLE_OFFSET_FIELD = 10;
constexpr std::size_t ENTRY_COUNT_FIELD = 14;

/// Where in an entry its fields stand.
constexpr std::size_t ENTRY_OFFSET_FIELD = 256;
constexpr std::size_t ENTRY_SIZE_FIELD = 260;
constexpr std::size_t ENTRY_FLAG_FIELD = 264;
constexpr std::size_t ENTRY_SIZE = 276;

/// Where the nth entry of a node stands, in bytes from the beginning of the node.
std::size_t GetEntryPosition(std::string_view sNode, std::size_t nEntry);
