#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Makes a file of any size that takes next to no room on the disk, where the file system can do that.
///
/// @param sTail  its last bytes, at least one; those before are 0
void MakeSparseFile(const std::string& sPath, std::uint64_t nSize, std::string_view sTail);
