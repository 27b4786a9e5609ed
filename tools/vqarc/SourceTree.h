#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// What lies in a directory that is to be packed or compared, as a walk on disk finds it.
struct sSourceTree
{
    /// Walks through a directory; links are followed, as packing does.
    ///
    /// @param bSizes     whether the sizes are wanted too; they cost a question to the system for each file
    /// @throws CFailure  for what cannot be packed: a link that leads back, something that is neither file nor
    /// directory
    explicit sSourceTree(const std::filesystem::path& oTop, bool bSizes = false);

    std::size_t m_nDirectories = 0;        ///< the directory itself included
    std::vector<std::string> m_aFiles;     ///< paths of the files below it, with slashes, in the order of an archive
    std::vector<std::uint64_t> m_aSizes;   ///< their bytes, where they were asked for
    std::vector<std::string> m_aAmbiguous; ///< paths of which another one differs in case only

private:
    void Walk(const std::filesystem::path& oDirectory, const std::string& sPath, bool bSizes);

    std::vector<std::filesystem::path> m_aAbove; // the directories that the walk is in
};
