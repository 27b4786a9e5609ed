#pragma once

/// @file
/// The walk through the directories below one: what a port implements, in Posix/SystemDirectoryTree.cpp and
/// Windows/SystemDirectoryTree.cpp.
///
/// Inside the library only. Nothing here throws or logs. An object belongs to one thread at a time.

#include <Common/Platform/System/NameOrder.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace System
{
/// What a directory holds, "." and ".." apart.
class CDirectoryEntries
{
public:
    void Clear() noexcept
    {
        m_sBytes.clear();
        m_aEntries.clear();
        m_bDots = false;
    }

    /// Says that "." and ".." are there, too.
    void AddDots() noexcept { m_bDots = true; }

    void Add(std::string_view sName, bool bDirectory, bool bLink)
    {
        m_aEntries.push_back({KeyOf(sName), m_sBytes.size(), bDirectory, bLink});
        m_sBytes.append(sName);
        m_sBytes.push_back('\0');
    }

    /// Brings the names in the order of directory searches.
    void Sort() noexcept
    {
        std::sort(m_aEntries.begin(), m_aEntries.end(),
                  [this](const sEntry& oFirst, const sEntry& oSecond)
                  {
                      if (oFirst.nKey != oSecond.nKey)
                          return oFirst.nKey < oSecond.nKey;
                      return IsNameBefore(m_sBytes.data() + oFirst.nOffset, m_sBytes.data() + oSecond.nOffset);
                  });
    }

    bool HasDots() const noexcept { return m_bDots; }

    std::size_t GetCount() const noexcept { return m_aEntries.size(); }

    /// Valid until a name is added.
    const char* GetName(std::size_t nIndex) const noexcept { return m_sBytes.data() + m_aEntries[nIndex].nOffset; }

    /// Whether it is a directory, or a link to one.
    bool IsDirectory(std::size_t nIndex) const noexcept { return m_aEntries[nIndex].bDirectory; }

    /// Whether it is a link.
    bool IsLink(std::size_t nIndex) const noexcept { return m_aEntries[nIndex].bLink; }

private:
    struct sEntry
    {
        std::uint64_t nKey;
        std::size_t nOffset;
        bool bDirectory;
        bool bLink;
    };

    /// The first folded bytes as a number, which decides most comparisons.
    static std::uint64_t KeyOf(std::string_view sName) noexcept
    {
        std::uint64_t nKey = 0;
        for (std::size_t i = 0; i < sizeof(nKey); ++i)
            nKey = nKey << 8 | (i < sName.size() ? FoldByte(sName[i]) : 0U);
        return nKey;
    }

    std::string m_sBytes;
    std::vector<sEntry> m_aEntries;
    bool m_bDots = false;
};

/// Which directory it is, whatever path led to it.
struct sDirectoryIdentity
{
    std::uint64_t nVolume = 0;
    std::uint64_t nIndex = 0;

    friend bool operator==(const sDirectoryIdentity&, const sDirectoryIdentity&) = default;
};

/// A directory, and all below it by their paths in it.
class CDirectoryTree
{
public:
    CDirectoryTree() noexcept;
    ~CDirectoryTree();

    CDirectoryTree(const CDirectoryTree&) = delete;
    CDirectoryTree& operator=(const CDirectoryTree&) = delete;

    /// Opens a directory, by the rules for paths of SystemFile.h.
    ///
    /// @return false when there is none
    bool Open(const char* pPath) noexcept;

    /// Reads a directory.
    ///
    /// @param sBelow     its path in the tree: names as they came, with '/' between them; however long on POSIX. Empty
    ///                   for the uppermost
    /// @param oEntries   takes what is in it, in any order
    /// @param oIdentity  takes which it is; always the same where links lead nowhere
    /// @return           false when it cannot be read, or not wholly; oEntries is then empty
    bool Read(const std::string& sBelow, CDirectoryEntries& oEntries, sDirectoryIdentity& oIdentity) noexcept;

private:
    struct sState;
    std::unique_ptr<sState> m_pState;
};
} // namespace System
