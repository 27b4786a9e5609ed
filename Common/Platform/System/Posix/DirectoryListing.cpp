#include <Common/Platform/System/Posix/DirectoryListing.h>

#include <Common/Platform/System/NameOrder.h>
#include <Common/Platform/System/Posix/FileCacheGuard.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <unordered_map>
#include <utility>

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/vfs.h>

namespace System
{
namespace
{
/// Listings that were read before, each valid as long as its directory's time stamps hold.
class CListingCache
{
public:
    constexpr CListingCache() noexcept = default;

    ~CListingCache()
    {
        // Static objects that end after this one may still open files: the cache starts anew for them.
        delete std::exchange(m_pEntries, nullptr);
    }

    CListingCache(const CListingCache&) = delete;
    CListingCache& operator=(const CListingCache&) = delete;

    CListingPtr Find(const sFileStamps& oState)
    {
        const CFileCacheGuard oGuard;
        if (m_pEntries == nullptr)
            return nullptr;

        const auto it = m_pEntries->find(KeyOf(oState));
        if (it == m_pEntries->end() || !(it->second.oState == oState))
            return nullptr;

        it->second.nLastUse = ++m_nClock;
        return it->second.pListing;
    }

    void Store(const sFileStamps& oState, const CListingPtr& pListing)
    {
        const std::size_t nBytes = pListing->GetByteCount();
        if (nBytes > MOST_BYTES)
            return;

        const CFileCacheGuard oGuard;
        if (m_pEntries == nullptr)
            m_pEntries = new CEntries;

        Erase(m_pEntries->find(KeyOf(oState)));
        while (m_pEntries->size() >= MOST_DIRECTORIES || (!m_pEntries->empty() && m_nBytes + nBytes > MOST_BYTES))
            Erase(std::min_element(m_pEntries->begin(), m_pEntries->end(),
                                   [](const auto& oFirst, const auto& oSecond)
                                   { return oFirst.second.nLastUse < oSecond.second.nLastUse; }));

        m_pEntries->emplace(KeyOf(oState), sEntry{oState, pListing, ++m_nClock});
        m_nBytes += nBytes;
    }

private:
    static constexpr std::size_t MOST_DIRECTORIES = 512;
    static constexpr std::size_t MOST_BYTES = std::size_t{64} << 20;

    struct sEntry
    {
        sFileStamps oState;
        CListingPtr pListing;
        std::uint64_t nLastUse;
    };

    using CKey = std::pair<dev_t, ino_t>;

    struct sHash
    {
        std::size_t operator()(const CKey& oKey) const noexcept
        {
            return std::hash<std::uint64_t>()(oKey.first * 0x9E3779B97F4A7C15u + oKey.second);
        }
    };

    using CEntries = std::unordered_map<CKey, sEntry, sHash>;

    static CKey KeyOf(const sFileStamps& oState) noexcept { return {oState.nDevice, oState.nIndex}; }

    void Erase(CEntries::iterator it)
    {
        if (it == m_pEntries->end())
            return;
        m_nBytes -= it->second.pListing->GetByteCount();
        m_pEntries->erase(it);
    }

    CEntries* m_pEntries = nullptr;
    std::size_t m_nBytes = 0;
    std::uint64_t m_nClock = 0;
};

constinit CListingCache s_oListings;

} // namespace

eListingTrust GetTrust(std::uint32_t nFileSystem, unsigned nFlags) noexcept
{
    // The names of an encrypted directory are others as soon as its key is there, and no time stamp tells that.
    if ((nFlags & FS_ENCRYPT_FL) != 0)
        return eListingTrust::None;

    switch (nFileSystem)
    {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case DEVPTS_SUPER_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
    case AUTOFS_SUPER_MAGIC:
        return eListingTrust::None;

    case EXT4_SUPER_MAGIC: // and its elders
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case F2FS_SUPER_MAGIC:
    case TMPFS_MAGIC:
    case RAMFS_MAGIC:
    case OVERLAYFS_SUPER_MAGIC:
    case SQUASHFS_MAGIC:
        // A directory that ignores case by itself knows more letters than A to Z.
        return (nFlags & FS_CASEFOLD_FL) != 0 ? eListingTrust::Stamps : eListingTrust::Complete;

    default:
        return eListingTrust::Stamps;
    }
}

eListingTrust GetTrust(int nDescriptor) noexcept
{
    struct statfs oSystem;
    if (::fstatfs(nDescriptor, &oSystem) != 0)
        return eListingTrust::None;

    // Not every file system tells its flags, and some tell encryption in the one way or the other alone.
    unsigned nFlags = 0;
    if (::ioctl(nDescriptor, FS_IOC_GETFLAGS, &nFlags) != 0)
        nFlags = 0;

    struct statx oStatus
    {
    };

    if (::statx(nDescriptor, "", AT_EMPTY_PATH, 0, &oStatus) == 0 &&
        (oStatus.stx_attributes & STATX_ATTR_ENCRYPTED) != 0)
        nFlags |= FS_ENCRYPT_FL;
    return GetTrust(static_cast<std::uint32_t>(oSystem.f_type), nFlags);
}

bool IsSettledNow(const sFileStamps& oStamps) noexcept
{
    timespec oNow{};
    return ::clock_gettime(CLOCK_REALTIME, &oNow) == 0 && oStamps.IsSettled(oNow);
}

CListingPtr FindListing(const sFileStamps& oStamps)
{
    return s_oListings.Find(oStamps);
}

bool IsDotOrDotDot(std::string_view sName) noexcept
{
    return sName == "." || sName == "..";
}

const dirent* ReadEntry(DIR* pStream) noexcept
{
    errno = 0;
    return ::readdir(pStream);
}

CListingPtr GetListing(const char* pDirectory, const struct stat& oStat)
{
    if (CListingPtr pKnown = s_oListings.Find(sFileStamps(oStat)))
        return pKnown;

    const CDirectoryStream pStream(::opendir(pDirectory));
    struct stat oBefore;
    if (pStream == nullptr || ::fstat(::dirfd(pStream.get()), &oBefore) != 0)
        return nullptr;

    const sFileStamps oState(oBefore);
    const eListingTrust eTrust = GetTrust(::dirfd(pStream.get()));
    const bool bKeep = eTrust != eListingTrust::None && IsSettledNow(oState);

    const auto pListing = std::make_shared<CListing>(eTrust);
    while (const dirent* pEntry = ReadEntry(pStream.get()))
        if (!IsDotOrDotDot(pEntry->d_name))
            pListing->Add(pEntry->d_name);
    if (errno != 0)
        return nullptr;
    pListing->Finish();

    struct stat oAfter;
    if (bKeep && ::fstat(::dirfd(pStream.get()), &oAfter) == 0 && sFileStamps(oAfter) == oState)
        s_oListings.Store(oState, pListing);
    return pListing;
}

} // namespace System
