#pragma once

// Not for users.

#include <Common/Platform/System/NameOrder.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>
#include <time.h>

/// @file
/// What directories hold, read once and kept as long as their time stamps hold.

namespace System
{
/// What the kind of a file system tells about the listings of its directories.
enum class eListingTrust
{
    None,    // files come and go without a change of time stamps, or are there without being listed
    Stamps,  // the listing holds as long as the time stamps
    Complete // the same, and what is not listed in any case is not there
};

/// What a file system of this kind, and a file or directory with these flags (FS_IOC_GETFLAGS), can be trusted with.
eListingTrust GetTrust(std::uint32_t nFileSystem, unsigned nFlags) noexcept;

/// The same for an open file or directory.
eListingTrust GetTrust(int nDescriptor) noexcept;

/// The names of a directory, to be found without regard to case.
class CListing
{
public:
    explicit CListing(eListingTrust eTrust) noexcept : m_eTrust(eTrust) {}

    bool IsComplete() const noexcept { return m_eTrust == eListingTrust::Complete; }

    void Add(std::string_view sName)
    {
        m_aNames.push_back(static_cast<std::uint32_t>(m_sBytes.size()));
        m_sBytes.append(sName);
        m_sBytes.push_back('\0');
    }

    /// Builds the index; after that the listing does not change.
    void Finish()
    {
        std::size_t nCapacity = 8;
        while (nCapacity < m_aNames.size() * 2)
            nCapacity *= 2;
        m_aIndex.assign(nCapacity, NONE);
        for (std::uint32_t nName = 0; nName < m_aNames.size(); ++nName)
        {
            std::size_t nPlace = HashOf(NameAt(nName)) & (nCapacity - 1);
            while (m_aIndex[nPlace] != NONE)
                nPlace = (nPlace + 1) & (nCapacity - 1);
            m_aIndex[nPlace] = nName;
        }
    }

    /// The exact name if it is there, else the first in order that differs from it in case alone, else null.
    const char* Find(std::string_view sName) const noexcept
    {
        const char* pBest = nullptr;
        for (std::size_t nPlace = HashOf(sName) & (m_aIndex.size() - 1); m_aIndex[nPlace] != NONE;
             nPlace = (nPlace + 1) & (m_aIndex.size() - 1))
        {
            const char* const pName = NameAt(m_aIndex[nPlace]);
            if (sName == pName)
                return pName;
            if (System::IsSameFolded(sName, pName) && (pBest == nullptr || std::strcmp(pName, pBest) < 0))
                pBest = pName;
        }
        return pBest;
    }

    std::size_t GetByteCount() const noexcept
    {
        return m_sBytes.capacity() + (m_aNames.capacity() + m_aIndex.capacity()) * sizeof(std::uint32_t);
    }

private:
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    // FNV-1a over the folded bytes
    static std::size_t HashOf(std::string_view sName) noexcept
    {
        std::uint32_t nHash = 2166136261u;
        for (const char cByte : sName)
            nHash = (nHash ^ FoldByte(cByte)) * 16777619u;
        return nHash ^ (nHash >> 15);
    }

    const char* NameAt(std::uint32_t nName) const noexcept { return m_sBytes.data() + m_aNames[nName]; }

    eListingTrust m_eTrust;
    std::string m_sBytes;
    std::vector<std::uint32_t> m_aNames;
    std::vector<std::uint32_t> m_aIndex;
};

using CListingPtr = std::shared_ptr<const CListing>;

/// Which file or directory it is, and the time stamps that change with what it holds.
struct sFileStamps
{
    dev_t nDevice;
    ino_t nIndex;
    timespec oModified;
    timespec oChanged;

    explicit sFileStamps(const struct stat& oStat) noexcept
        : nDevice(oStat.st_dev), nIndex(oStat.st_ino), oModified(oStat.st_mtim), oChanged(oStat.st_ctim)
    {
    }

    bool IsSameFile(const sFileStamps& oOther) const noexcept
    {
        return nDevice == oOther.nDevice && nIndex == oOther.nIndex;
    }

    bool operator==(const sFileStamps& oOther) const noexcept
    {
        return IsSameFile(oOther) && IsSame(oModified, oOther.oModified) && IsSame(oChanged, oOther.oChanged);
    }

    /// Whether a change at the given time or later is sure to bring other time stamps.
    ///
    /// The system takes time stamps from a clock that ticks up to 10 ms apart, and some file systems store whole or
    /// even seconds only: what changed a moment ago may change again without a new stamp.
    bool IsSettled(const timespec& oNow) const noexcept
    {
        constexpr std::int64_t FINE_TICK = 20'000'000;
        constexpr std::int64_t COARSE_TICK = 2'500'000'000;

        const bool bCoarse = oModified.tv_nsec == 0 || oChanged.tv_nsec == 0;
        const std::int64_t nLatest = std::max(Nanoseconds(oModified), Nanoseconds(oChanged));
        return Nanoseconds(oNow) - nLatest > (bCoarse ? COARSE_TICK : FINE_TICK);
    }

private:
    static bool IsSame(const timespec& oFirst, const timespec& oSecond) noexcept
    {
        return oFirst.tv_sec == oSecond.tv_sec && oFirst.tv_nsec == oSecond.tv_nsec;
    }

    static std::int64_t Nanoseconds(const timespec& oTime) noexcept
    {
        return static_cast<std::int64_t>(oTime.tv_sec) * 1'000'000'000 + oTime.tv_nsec;
    }
};

/// Whether a change from now on is sure to bring other time stamps.
bool IsSettledNow(const sFileStamps& oStamps) noexcept;

/// The listing that was read before, when it holds still; else null.
CListingPtr FindListing(const sFileStamps& oStamps);

/// The listing of a directory whose status was just asked; null when it cannot be read.
CListingPtr GetListing(const char* pDirectory, const struct stat& oStat);

/// Whether a name is "." or "..".
bool IsDotOrDotDot(std::string_view sName) noexcept;

/// The next entry of a directory; null at the end, and with errno not 0 when it cannot be read.
const dirent* ReadEntry(DIR* pStream) noexcept;

struct sCloseDirectory
{
    void operator()(DIR* pDirectory) const noexcept { ::closedir(pDirectory); }
};

using CDirectoryStream = std::unique_ptr<DIR, sCloseDirectory>;
} // namespace System
