#pragma once

#include <Common/File/ArchiveReader.h>

#include <cstdint>
#include <functional>
#include <string>

/// An archive file that a command was given, opened.
class CArchiveTree
{
public:
    /// What a walk meets: its path within the archive, with slashes.
    using Visitor =
        std::function<void(const std::string& sPath, const CArchiveNode& oNode, const sArchiveEntry& oEntry)>;

    /// What is wrong with a path within the archive.
    using Problem = std::function<void(const std::string& sPath, const std::string& sWhy)>;

    /// @param sArchive  the name as given, or that name with ".arc"
    /// @throws CFailure  when it does not open or is no archive
    explicit CArchiveTree(const std::string& sArchive);

    /// The name under which it was found.
    const std::string& GetName() const { return m_sName; }

    CArchiveReader& GetReader() { return m_oReader; }

    /// Goes through all of the tree: of each directory the files first, then the subdirectories.
    ///
    /// @param fnFile       called for each file whose bytes lie where they should
    /// @param fnDirectory  called for each subdirectory, before what is in it
    /// @param fnProblem    called for what is broken, which is then left out
    void Walk(const Visitor& fnFile, const Visitor& fnDirectory, const Problem& fnProblem);

    /// Finds a path, whatever the case of its letters.
    ///
    /// @param oNode  takes the directory that holds it
    /// @return       the entry, of oNode
    /// @throws CFailure  when there is none
    const sArchiveEntry& Find(const std::string& sPath, CArchiveNode& oNode);

private:
    void WalkNode(const std::string& sPath, const CArchiveNode& oNode, std::size_t nDepth, const Visitor& fnFile,
                  const Visitor& fnDirectory, const Problem& fnProblem);

    std::string m_sName;
    CArchiveReader m_oReader;
    CArchiveNode m_oRoot;
};

/// Why a result is no success.
std::string Describe(eArchiveResult nResult);

/// Adds ".arc" to a name that does not end in it, as the library does.
std::string AddArchiveExtension(const std::string& sArchive);
