#include <Common/Platform/System/SystemFile.h>

#include <Common/Platform/System/NameOrder.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <mutex>
#include <new>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <time.h>
#include <unistd.h>

static_assert(sizeof(off_t) == sizeof(std::int64_t));

namespace
{
using System::FoldByte;

constexpr mode_t ANY_WRITE = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t NEW_FILE_MODE = S_IRUSR | S_IRGRP | S_IROTH | ANY_WRITE;
constexpr mode_t NEW_DIRECTORY_MODE = S_IRWXU | S_IRWXG | S_IRWXO;

/// A descriptor that closes itself; -1 is none.
class CDescriptor
{
public:
    explicit CDescriptor(int nDescriptor = -1) noexcept : m_nDescriptor(nDescriptor) {}

    ~CDescriptor()
    {
        if (m_nDescriptor != -1)
            ::close(m_nDescriptor);
    }

    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    int Get() const noexcept { return m_nDescriptor; }

    int Detach() noexcept { return std::exchange(m_nDescriptor, -1); }

private:
    int m_nDescriptor;
};

struct sCloseDirectory
{
    void operator()(DIR* pDirectory) const noexcept { ::closedir(pDirectory); }
};

using CDirectoryStream = std::unique_ptr<DIR, sCloseDirectory>;

bool IsDotOrDotDot(std::string_view sName) noexcept
{
    return sName == "." || sName == "..";
}

// Calls again when a signal came in between.
template <typename TCall>
auto Retry(TCall fnCall) noexcept
{
    auto nResult = fnCall();
    while (nResult == -1 && errno == EINTR)
        nResult = fnCall();
    return nResult;
}

// ---------------------------------------------------------------- listings of directories

/// What the kind of a file system tells about the listings of its directories.
enum class eListingTrust
{
    None,    // files come and go without a change of time stamps, or are there without being listed
    Stamps,  // the listing holds as long as the time stamps
    Complete // the same, and what is not listed in any case is not there
};

eListingTrust GetTrust(int nDirectory) noexcept
{
    struct statfs oSystem;
    if (::fstatfs(nDirectory, &oSystem) != 0)
        return eListingTrust::None;

    switch (static_cast<std::uint32_t>(oSystem.f_type))
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
    {
        // A directory that ignores case by itself knows more letters than A to Z.
        int nFlags = 0;
        const bool bIgnoresCase = ::ioctl(nDirectory, FS_IOC_GETFLAGS, &nFlags) == 0 && (nFlags & FS_CASEFOLD_FL) != 0;
        return bIgnoresCase ? eListingTrust::Stamps : eListingTrust::Complete;
    }
    default:
        return eListingTrust::Stamps;
    }
}

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

/// Which directory it is, and the time stamps that change with its names.
struct sDirectoryState
{
    dev_t nDevice;
    ino_t nIndex;
    timespec oModified;
    timespec oChanged;

    explicit sDirectoryState(const struct stat& oStat) noexcept
        : nDevice(oStat.st_dev), nIndex(oStat.st_ino), oModified(oStat.st_mtim), oChanged(oStat.st_ctim)
    {
    }

    bool operator==(const sDirectoryState& oOther) const noexcept
    {
        return nDevice == oOther.nDevice && nIndex == oOther.nIndex && IsSame(oModified, oOther.oModified) &&
               IsSame(oChanged, oOther.oChanged);
    }

    /// Whether a change at the given time or later is sure to bring other time stamps.
    ///
    /// The system takes time stamps from a clock that ticks up to 10 ms apart, and some file systems store whole or
    /// even seconds only: a directory that changed a moment ago may change again without a new stamp.
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

    CListingPtr Find(const sDirectoryState& oState)
    {
        const std::lock_guard oGuard(m_oMutex);
        if (m_pEntries == nullptr)
            return nullptr;

        const auto it = m_pEntries->find(KeyOf(oState));
        if (it == m_pEntries->end() || !(it->second.oState == oState))
            return nullptr;

        it->second.nLastUse = ++m_nClock;
        return it->second.pListing;
    }

    void Store(const sDirectoryState& oState, const CListingPtr& pListing)
    {
        const std::size_t nBytes = pListing->GetByteCount();
        if (nBytes > MOST_BYTES)
            return;

        const std::lock_guard oGuard(m_oMutex);
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
        sDirectoryState oState;
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

    static CKey KeyOf(const sDirectoryState& oState) noexcept { return {oState.nDevice, oState.nIndex}; }

    void Erase(CEntries::iterator it)
    {
        if (it == m_pEntries->end())
            return;
        m_nBytes -= it->second.pListing->GetByteCount();
        m_pEntries->erase(it);
    }

    std::mutex m_oMutex;
    CEntries* m_pEntries = nullptr;
    std::size_t m_nBytes = 0;
    std::uint64_t m_nClock = 0;
};

constinit CListingCache s_oListings;

bool IsSettledNow(const sDirectoryState& oState) noexcept
{
    timespec oNow{};
    return ::clock_gettime(CLOCK_REALTIME, &oNow) == 0 && oState.IsSettled(oNow);
}

// The next entry of a directory; null at the end, and with errno not 0 when it cannot be read.
const dirent* ReadEntry(DIR* pStream) noexcept
{
    errno = 0;
    return ::readdir(pStream);
}

// The listing of a directory whose status was just asked; null when it cannot be read.
CListingPtr GetListing(const char* pDirectory, const struct stat& oStat)
{
    if (CListingPtr pKnown = s_oListings.Find(sDirectoryState(oStat)))
        return pKnown;

    const CDirectoryStream pStream(::opendir(pDirectory));
    struct stat oBefore;
    if (pStream == nullptr || ::fstat(::dirfd(pStream.get()), &oBefore) != 0)
        return nullptr;

    const sDirectoryState oState(oBefore);
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
    if (bKeep && ::fstat(::dirfd(pStream.get()), &oAfter) == 0 && sDirectoryState(oAfter) == oState)
        s_oListings.Store(oState, pListing);
    return pListing;
}

// ---------------------------------------------------------------- from a path to a file

/// A path of the system in a buffer of fixed size: the kernel takes none that is longer.
class CPath
{
public:
    /// @param pPath  with separators of both kinds, or null
    explicit CPath(const char* pPath) noexcept
    {
        Clear();
        if (pPath == nullptr)
        {
            m_nError = ENOENT;
            return;
        }
        const std::size_t nLength = std::strlen(pPath);
        if (nLength >= sizeof(m_aBytes))
        {
            m_nError = ENAMETOOLONG;
            return;
        }
        std::memcpy(m_aBytes, pPath, nLength + 1);
        std::replace(m_aBytes, m_aBytes + nLength, '\\', '/');
        m_nLength = nLength;
    }

    CPath() noexcept { Clear(); }

    CPath(const CPath&) = delete;
    CPath& operator=(const CPath&) = delete;

    void Clear() noexcept
    {
        m_nLength = 0;
        m_aBytes[0] = '\0';
    }

    const char* Get() const noexcept { return m_aBytes; }

    std::string_view View() const noexcept { return {m_aBytes, m_nLength}; }

    /// 0, or why there is no path.
    int GetError() const noexcept { return m_nError; }

    bool Append(std::string_view sText) noexcept
    {
        if (m_nLength + sText.size() >= sizeof(m_aBytes))
            return false;
        std::memcpy(m_aBytes + m_nLength, sText.data(), sText.size());
        m_nLength += sText.size();
        m_aBytes[m_nLength] = '\0';
        return true;
    }

private:
    char m_aBytes[PATH_MAX];
    std::size_t m_nLength = 0;
    int m_nError = 0;
};

enum class eLastName
{
    AnyCase,   // what finds
    AsItStands // what creates or deletes
};

// Where the last component begins and ends; separators at the end of the path come after it.
std::pair<std::size_t, std::size_t> FindLastName(std::string_view sPath) noexcept
{
    const std::size_t nLast = sPath.find_last_not_of('/');
    if (nLast == std::string_view::npos)
        return {sPath.size(), sPath.size()};

    const std::size_t nSeparator = sPath.find_last_of('/', nLast);
    return {nSeparator == std::string_view::npos ? 0 : nSeparator + 1, nLast + 1};
}

bool GetDirectoryStat(const CPath& oPath, struct stat& oStat) noexcept
{
    return ::stat(oPath.View().empty() ? "." : oPath.Get(), &oStat) == 0 && S_ISDIR(oStat.st_mode);
}

// Looks for a path that differs from a missing one in case alone.
//
// nStuck takes where the component begins that was looked for last: in vain, when the result is false.
bool FindOtherCase(std::string_view sPath, eLastName eLast, CPath& oFound, std::size_t& nStuck)
{
    const auto [nLastBegin, nLastEnd] = FindLastName(sPath);
    const std::size_t nTargetEnd = eLast == eLastName::AnyCase ? nLastEnd : nLastBegin;

    // The longest part on the way that stands exactly as it is written needs no search.
    struct stat oStat;
    std::size_t nKnown = eLast == eLastName::AnyCase ? nLastBegin : nTargetEnd;
    for (;;)
    {
        oFound.Clear();
        if (!oFound.Append(sPath.substr(0, nKnown)))
            return false;
        if (GetDirectoryStat(oFound, oStat))
            break;
        if (nKnown == 0)
            return false;
        nKnown = FindLastName(sPath.substr(0, nKnown)).first;
    }
    if (nKnown == nTargetEnd)
        return false;

    while (nKnown < nTargetEnd)
    {
        nStuck = nKnown;
        const std::size_t nEnd = std::min(sPath.find('/', nKnown), nTargetEnd);
        const std::size_t nNext = std::min(sPath.find_first_not_of('/', nEnd), nTargetEnd);
        const std::string_view sName = sPath.substr(nKnown, nEnd - nKnown);
        if (IsDotOrDotDot(sName))
        {
            if (!oFound.Append(sName))
                return false;
        }
        else
        {
            const char* const pDirectory = oFound.View().empty() ? "." : oFound.Get();
            const CListingPtr pListing = GetListing(pDirectory, oStat);
            const char* const pName = pListing != nullptr ? pListing->Find(sName) : nullptr;
            if (pName == nullptr || !oFound.Append(pName))
                return false;
        }
        if (!oFound.Append(sPath.substr(nEnd, nNext - nEnd)))
            return false;
        if (nNext < nTargetEnd && !GetDirectoryStat(oFound, oStat))
            return false;
        nKnown = nNext;
    }
    return oFound.Append(sPath.substr(nTargetEnd));
}

/// Guesses which directories a name will be missing from, as the first ones of a search through several are, and which
/// component on the way will be the missing one: the listing that should hold it is asked before the system. A wrong
/// guess costs a little time and changes no answer.
class CMissGuess
{
public:
    /// The guess that nothing is missing.
    static constexpr std::size_t NONE = std::numeric_limits<std::uint16_t>::max();

    explicit CMissGuess(std::string_view sDirectory) noexcept
        : m_oSlot(s_aSlots[std::hash<std::string_view>()(sDirectory) % SLOT_COUNT])
    {
    }

    /// Where the missing component begins in the path, or NONE.
    std::size_t GetMissing() const noexcept { return m_oSlot.load(std::memory_order_relaxed) ^ NONE; }

    void Learn(std::size_t nMissing) noexcept
    {
        if (GetMissing() != nMissing)
            m_oSlot.store(static_cast<std::uint16_t>(nMissing ^ NONE), std::memory_order_relaxed);
    }

private:
    static constexpr std::size_t SLOT_COUNT = 1024;
    static constinit inline std::array<std::atomic<std::uint16_t>, SLOT_COUNT> s_aSlots{}; // flipped, so 0 is NONE

    std::atomic<std::uint16_t>& m_oSlot;
};

// Whether a listing that holds shows that nothing of this name, in any case, is in the directory.
bool IsSurelyMissing(std::string_view sDirectory, std::string_view sName) noexcept
{
    if (sName.empty() || IsDotOrDotDot(sName))
        return false;

    CPath oDirectory;
    struct stat oStat;
    if (!oDirectory.Append(sDirectory) || !GetDirectoryStat(oDirectory, oStat))
        return false;

    const CListingPtr pListing = s_oListings.Find(sDirectoryState(oStat));
    return pListing != nullptr && pListing->IsComplete() && pListing->Find(sName) == nullptr;
}

// Calls the system with the exact path, and when nothing is there with one that differs in case.
template <typename TCall>
int CallWithPath(const CPath& oPath, eLastName eLast, TCall fnCall) noexcept
{
    if (oPath.GetError() != 0)
    {
        errno = oPath.GetError();
        return -1;
    }

    const auto [nLastBegin, nLastEnd] = FindLastName(oPath.View());
    const std::string_view sDirectory = oPath.View().substr(0, nLastBegin);
    CMissGuess oGuess(sDirectory);
    const std::size_t nGuess = oGuess.GetMissing(); // another directory's, when two share a place
    if (eLast == eLastName::AnyCase && nGuess <= nLastBegin && (nGuess == 0 || sDirectory[nGuess - 1] == '/') &&
        IsSurelyMissing(sDirectory.substr(0, nGuess),
                        oPath.View().substr(nGuess, std::min(oPath.View().find('/', nGuess), nLastEnd) - nGuess)))
    {
        errno = ENOENT;
        return -1;
    }

    const int nResult = fnCall(oPath.Get());
    if (nResult != -1 || (errno != ENOENT && errno != ENOTDIR))
    {
        oGuess.Learn(CMissGuess::NONE);
        return nResult;
    }

    const int nError = errno;
    std::size_t nStuck = CMissGuess::NONE;
    try
    {
        CPath oFound;
        if (FindOtherCase(oPath.View(), eLast, oFound, nStuck))
            return fnCall(oFound.Get());
    }
    catch (const std::bad_alloc&)
    {
        errno = ENOMEM;
        return -1;
    }
    oGuess.Learn(nStuck);
    errno = nError;
    return -1;
}

template <typename TCall>
int CallWithPath(const char* pPath, eLastName eLast, TCall fnCall) noexcept
{
    return CallWithPath(CPath(pPath), eLast, fnCall);
}

// ---------------------------------------------------------------- streams

/// A mode string of fopen, taken apart.
struct sOpenMode
{
    int nFlags = 0;
    char aMode[4] = {}; // for fdopen

    /// @return whether it is one
    bool Parse(const char* pMode) noexcept
    {
        if (pMode == nullptr)
            return false;

        const bool bUpdate = std::strchr(pMode, '+') != nullptr;
        switch (pMode[0])
        {
        case 'r':
            nFlags = 0;
            break;
        case 'w':
            nFlags = O_CREAT | O_TRUNC;
            break;
        case 'a':
            nFlags = O_CREAT | O_APPEND;
            break;
        default:
            return false;
        }
        nFlags |= bUpdate ? O_RDWR : pMode[0] == 'r' ? O_RDONLY : O_WRONLY;
        if (std::strchr(pMode, 'x') != nullptr && (nFlags & O_CREAT) != 0)
            nFlags |= O_EXCL;

        aMode[0] = pMode[0];
        aMode[1] = bUpdate ? '+' : '\0';
        return true;
    }
};

// Opens without waiting for the other end of a pipe.
int OpenNow(const char* pPath, int nFlags) noexcept
{
    const int nCommon = nFlags | O_CLOEXEC | O_NOCTTY;
    const int nDescriptor = Retry([&] { return ::open(pPath, nCommon | O_NONBLOCK, NEW_FILE_MODE); });
    if (nDescriptor != -1 || errno != EWOULDBLOCK)
        return nDescriptor;

    return Retry([&] { return ::open(pPath, nCommon, NEW_FILE_MODE); }); // a lease of another process: wait for it
}

// Makes a stream of an open descriptor, unless it is something else than a file or a device.
std::FILE* MakeStream(CDescriptor& oDescriptor, const char* pMode, std::span<char> aBuffer = {},
                      std::int64_t* pLength = nullptr) noexcept
{
    struct stat oStat;
    if (::fstat(oDescriptor.Get(), &oStat) != 0)
        return nullptr;

    const bool bFile = S_ISREG(oStat.st_mode);
    if (!bFile)
    {
        if (!S_ISCHR(oStat.st_mode) && !S_ISBLK(oStat.st_mode))
        {
            errno = S_ISDIR(oStat.st_mode) ? EISDIR : EINVAL;
            return nullptr;
        }
        const int nFlags = ::fcntl(oDescriptor.Get(), F_GETFL);
        if (nFlags == -1 || ::fcntl(oDescriptor.Get(), F_SETFL, nFlags & ~O_NONBLOCK) == -1)
            return nullptr;
    }

    std::FILE* const pStream = ::fdopen(oDescriptor.Get(), pMode);
    if (pStream == nullptr)
        return nullptr;

    oDescriptor.Detach();
    if (pLength != nullptr)
        *pLength = oStat.st_size;
    if (bFile && !aBuffer.empty()) // a terminal gets a buffer of its own kind
        ::setvbuf(pStream, aBuffer.data(), _IOFBF, aBuffer.size());
    return pStream;
}

System::sFileStatus MakeStatus(const struct stat& oStat) noexcept
{
    System::sFileStatus oStatus{};
    oStatus.eKind = S_ISREG(oStat.st_mode)   ? System::eFileKind::File
                    : S_ISDIR(oStat.st_mode) ? System::eFileKind::Directory
                    : S_ISLNK(oStat.st_mode) ? System::eFileKind::Link
                                             : System::eFileKind::Other;
    oStatus.nSize = S_ISREG(oStat.st_mode) ? static_cast<std::uint64_t>(oStat.st_size) : 0;
    oStatus.nVolume = oStat.st_dev;
    oStatus.nIndex = oStat.st_ino;
    return oStatus;
}

// Removes what is no directory and not read-only.
int EraseWritable(const char* pPath) noexcept
{
    struct stat oStat;
    if (::lstat(pPath, &oStat) != 0)
        return -1;

    if (S_ISREG(oStat.st_mode) && (oStat.st_mode & ANY_WRITE) == 0)
    {
        errno = EACCES;
        return -1;
    }
    return ::unlink(pPath);
}
} // namespace

std::FILE* System::OpenStream(const char* pPath, const char* pMode, std::span<char> aBuffer,
                              std::int64_t* pLength) noexcept
{
    sOpenMode oMode;
    if (!oMode.Parse(pMode))
    {
        errno = EINVAL;
        return nullptr;
    }

    const eLastName eLast = (oMode.nFlags & O_CREAT) != 0 ? eLastName::AsItStands : eLastName::AnyCase;
    CDescriptor oDescriptor(
        CallWithPath(pPath, eLast, [&](const char* pExact) { return OpenNow(pExact, oMode.nFlags); }));
    return oDescriptor.Get() != -1 ? MakeStream(oDescriptor, oMode.aMode, aBuffer, pLength) : nullptr;
}

std::FILE* System::CreateStreamHere(const char* pName) noexcept
{
    if (!IsPlainName(pName))
    {
        errno = EINVAL;
        return nullptr;
    }

    // Somebody may put another file there in between: a few tries, then it is refused.
    for (int nTry = 0; nTry < 3; ++nTry)
    {
        CDescriptor oDescriptor(OpenNow(pName, O_WRONLY | O_CREAT | O_EXCL));
        if (oDescriptor.Get() != -1)
            return MakeStream(oDescriptor, "w");
        if (errno != EEXIST || (EraseWritable(pName) != 0 && errno != ENOENT))
            return nullptr;
    }
    return nullptr;
}

std::int64_t System::TellStream(std::FILE* pStream) noexcept
{
    return ::ftello(pStream);
}

bool System::SeekStream(std::FILE* pStream, std::int64_t nOffset, int nOrigin) noexcept
{
    return ::fseeko(pStream, nOffset, nOrigin) == 0;
}

std::int64_t System::GetStreamLength(std::FILE* pStream) noexcept
{
    struct stat oStat;
    return ::fstat(::fileno(pStream), &oStat) == 0 ? oStat.st_size : -1;
}

bool System::TruncateStream(std::FILE* pStream, std::int64_t nLength) noexcept
{
    return std::fflush(pStream) == 0 && Retry([&] { return ::ftruncate(::fileno(pStream), nLength); }) == 0;
}

int System::PrintToStream(std::FILE* pStream, const char* pFormat, va_list pArguments) noexcept
{
    return std::vfprintf(pStream, pFormat, pArguments);
}

bool System::EraseFile(const char* pPath) noexcept
{
    return CallWithPath(pPath, eLastName::AsItStands, EraseWritable) == 0;
}

bool System::RenameOver(const char* pFrom, const char* pTo) noexcept
{
    return CallWithPath(pFrom, eLastName::AsItStands,
                        [&](const char* pExactFrom)
                        {
                            return CallWithPath(pTo, eLastName::AsItStands,
                                                [&](const char* pExactTo) { return ::rename(pExactFrom, pExactTo); });
                        }) == 0;
}

bool System::IsPlainName(const char* pName) noexcept
{
    return pName != nullptr && pName[0] != '\0' && !IsDotOrDotDot(pName) && std::strpbrk(pName, "/\\") == nullptr;
}

bool System::IsPathLeadByte(unsigned char) noexcept
{
    return false; // a backslash is a separator wherever it stands
}

std::uint32_t System::GetAttributes(const char* pPath) noexcept
{
    const CPath oPath(pPath);
    struct stat oStat;
    if (CallWithPath(oPath, eLastName::AnyCase, [&](const char* pExact) { return ::stat(pExact, &oStat); }) != 0)
        return NO_ATTRIBUTES;

    const auto [nBegin, nEnd] = FindLastName(oPath.View());
    const std::string_view sName = oPath.View().substr(nBegin, nEnd - nBegin);

    std::uint32_t nAttributes = 0;
    if (S_ISDIR(oStat.st_mode))
        nAttributes |= ATTRIBUTE_DIRECTORY;
    if (sName.starts_with('.') && !IsDotOrDotDot(sName))
        nAttributes |= ATTRIBUTE_HIDDEN;
    if ((oStat.st_mode & ANY_WRITE) == 0)
        nAttributes |= ATTRIBUTE_READONLY;
    return nAttributes != 0 ? nAttributes : ATTRIBUTE_NORMAL;
}

bool System::SetAttributes(const char* pPath, std::uint32_t nAttributes) noexcept
{
    const std::uint32_t nCurrent = GetAttributes(pPath);
    if (nCurrent == NO_ATTRIBUTES)
        return false;

    // Normal says nothing beside another bit, and whether it is a directory cannot change.
    constexpr std::uint32_t ASKED_OF_NOBODY = ATTRIBUTE_NORMAL | ATTRIBUTE_READONLY;
    const std::uint32_t nKept = nCurrent & ~ASKED_OF_NOBODY;
    const std::uint32_t nWanted = (nAttributes | (nCurrent & ATTRIBUTE_DIRECTORY)) & ~ASKED_OF_NOBODY;
    if (nWanted != nKept)
        return false;

    const bool bReadOnly = (nAttributes & ATTRIBUTE_READONLY) != 0;
    if (bReadOnly == ((nCurrent & ATTRIBUTE_READONLY) != 0))
        return true;

    return CallWithPath(pPath, eLastName::AnyCase,
                        [&](const char* pExact)
                        {
                            struct stat oStat;
                            if (::stat(pExact, &oStat) != 0)
                                return -1;
                            const mode_t nMode = oStat.st_mode & 07777;
                            return ::chmod(pExact, bReadOnly ? nMode & ~ANY_WRITE : nMode | S_IWUSR);
                        }) == 0;
}

bool System::GetStatus(const char* pPath, sFileStatus& oStatus, bool bFollowLinks) noexcept
{
    struct stat oStat;
    if (CallWithPath(pPath, eLastName::AnyCase,
                     [&](const char* pExact)
                     { return bFollowLinks ? ::stat(pExact, &oStat) : ::lstat(pExact, &oStat); }) != 0)
        return false;

    oStatus = MakeStatus(oStat);
    return true;
}

bool System::GetStatusHere(const char* pName, sFileStatus& oStatus) noexcept
{
    struct stat oStat;
    if (::lstat(pName, &oStat) != 0)
        return false;

    oStatus = MakeStatus(oStat);
    return true;
}

bool System::GetStatus(std::FILE* pStream, sFileStatus& oStatus) noexcept
{
    struct stat oStat;
    if (::fstat(::fileno(pStream), &oStat) != 0)
        return false;

    oStatus = MakeStatus(oStat);
    return true;
}

bool System::MakeDirectory(const char* pPath) noexcept
{
    return CallWithPath(pPath, eLastName::AsItStands,
                        [](const char* pExact) { return ::mkdir(pExact, NEW_DIRECTORY_MODE); }) == 0;
}

bool System::EraseDirectory(const char* pPath) noexcept
{
    return CallWithPath(pPath, eLastName::AsItStands, ::rmdir) == 0;
}

bool System::ChangeDirectory(const char* pPath) noexcept
{
    return CallWithPath(pPath, eLastName::AnyCase, ::chdir) == 0;
}

bool System::EnterDirectoryHere(const char* pName) noexcept
{
    if (!IsPlainName(pName))
        return false;

    const CDescriptor oDescriptor(Retry([&] { return ::open(pName, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
    return oDescriptor.Get() != -1 && ::fchdir(oDescriptor.Get()) == 0;
}

bool System::GetWorkingDirectory(char* pBuffer, std::size_t nSize) noexcept
{
    return ::getcwd(pBuffer, nSize) != nullptr;
}

std::string System::GetWorkingDirectory()
{
    const std::unique_ptr<char, decltype(&std::free)> pPath(::getcwd(nullptr, 0), &std::free);
    return pPath != nullptr ? std::string(pPath.get()) : std::string();
}

System::CDirectoryMark::CDirectoryMark() noexcept
    : m_nDirectory(Retry([] { return ::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC); }))
{
}

System::CDirectoryMark::~CDirectoryMark()
{
    if (m_nDirectory != -1)
        ::close(m_nDirectory);
}

bool System::CDirectoryMark::IsValid() const noexcept
{
    return m_nDirectory != -1;
}

bool System::CDirectoryMark::Return() const noexcept
{
    return m_nDirectory != -1 && ::fchdir(m_nDirectory) == 0;
}

// ---------------------------------------------------------------- directory search

struct System::CDirectorySearch::sState
{
    CDirectoryStream pStream; // keeps the directory for the questions about its files
    CFoundNames oNames;
    std::size_t nNext = 0;
    const char* pName = nullptr;
    unsigned char nType = DT_UNKNOWN;

    bool GetStat(struct stat& oStat) const noexcept
    {
        return pName != nullptr && ::fstatat(::dirfd(pStream.get()), pName, &oStat, 0) == 0;
    }
};

System::CDirectorySearch::CDirectorySearch() noexcept = default;
System::CDirectorySearch::~CDirectorySearch() = default;
System::CDirectorySearch::CDirectorySearch(CDirectorySearch&&) noexcept = default;
System::CDirectorySearch& System::CDirectorySearch::operator=(CDirectorySearch&&) noexcept = default;

bool System::CDirectorySearch::Start(const char* pPattern) noexcept
try
{
    Close();

    const CPath oPattern(pPattern);
    if (oPattern.GetError() != 0)
        return false;

    const std::size_t nNameBegin = oPattern.View().rfind('/') + 1; // npos + 1 is 0
    CPath oDirectory;
    oDirectory.Append(nNameBegin != 0 ? oPattern.View().substr(0, nNameBegin) : ".");

    CDescriptor oDescriptor(CallWithPath(
        oDirectory, eLastName::AnyCase,
        [](const char* pExact) { return Retry([&] { return ::open(pExact, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }); }));
    if (oDescriptor.Get() == -1)
        return false;

    auto pState = std::make_unique<sState>();
    pState->pStream.reset(::fdopendir(oDescriptor.Get()));
    if (pState->pStream == nullptr)
        return false;
    oDescriptor.Detach();

    const CNamePattern oNamePattern(oPattern.View().substr(nNameBegin));
    while (const dirent* pEntry = ReadEntry(pState->pStream.get()))
        if (oNamePattern.Matches(pEntry->d_name))
            pState->oNames.Add(pEntry->d_name, pEntry->d_type, 0);
    if (errno != 0)
        return false;
    pState->oNames.Sort();

    m_pState = std::move(pState);
    return true;
}

catch (const std::bad_alloc&)
{
    return false;
}

const char* System::CDirectorySearch::Next() noexcept
{
    if (m_pState == nullptr)
        return nullptr;
    if (m_pState->nNext == m_pState->oNames.GetCount())
    {
        Close();
        return nullptr;
    }

    m_pState->pName = m_pState->oNames.GetName(m_pState->nNext);
    m_pState->nType = m_pState->oNames.GetType(m_pState->nNext);
    ++m_pState->nNext;
    return m_pState->pName;
}

bool System::CDirectorySearch::IsDirectory() const noexcept
{
    if (m_pState == nullptr || m_pState->pName == nullptr)
        return false;
    if (m_pState->nType != DT_UNKNOWN && m_pState->nType != DT_LNK)
        return m_pState->nType == DT_DIR;

    struct stat oStat;
    return m_pState->GetStat(oStat) && S_ISDIR(oStat.st_mode);
}

std::uint64_t System::CDirectorySearch::GetSize() const noexcept
{
    struct stat oStat;
    return m_pState != nullptr && m_pState->GetStat(oStat) && S_ISREG(oStat.st_mode)
               ? static_cast<std::uint64_t>(oStat.st_size)
               : 0;
}

void System::CDirectorySearch::Close() noexcept
{
    m_pState.reset();
}
