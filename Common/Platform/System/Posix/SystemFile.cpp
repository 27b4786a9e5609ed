#include <Common/Platform/System/SystemFile.h>

#include <Common/Platform/System/NameOrder.h>
#include <Common/Platform/System/Posix/DirectoryListing.h>
#include <Common/Platform/System/Posix/FileCacheGuard.h>
#include <Common/Platform/System/Posix/OpenDirectory.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static_assert(sizeof(off_t) == sizeof(std::int64_t));

namespace
{
using System::CDirectoryStream;
using System::CFileCacheGuard;
using System::CListingPtr;
using System::CSharedFile;
using System::FindListing;
using System::GetListing;
using System::IsDotOrDotDot;
using System::sFileStamps;

constexpr mode_t ANY_WRITE = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t NEW_FILE_MODE = S_IRUSR | S_IRGRP | S_IROTH | ANY_WRITE;
constexpr mode_t NEW_DIRECTORY_MODE = S_IRWXU | S_IRWXG | S_IRWXO;

// Neither a descriptor nor a failure of a call.
constexpr int NO_DESCRIPTOR = -2;

/// A descriptor that closes itself; a negative number is none.
class CDescriptor
{
public:
    explicit CDescriptor(int nDescriptor = -1) noexcept : m_nDescriptor(nDescriptor) {}

    ~CDescriptor()
    {
        if (m_nDescriptor >= 0)
            ::close(m_nDescriptor);
    }

    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    int Get() const noexcept { return m_nDescriptor; }

    int Detach() noexcept { return std::exchange(m_nDescriptor, -1); }

private:
    int m_nDescriptor;
};

// Calls again when a signal came in between.
template <typename TCall>
auto Retry(TCall fnCall) noexcept
{
    auto nResult = fnCall();
    while (nResult == -1 && errno == EINTR)
        nResult = fnCall();
    return nResult;
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
        for (std::size_t i = 0; i < nLength; ++i)
            m_aBytes[i] = m_aBytes[i] == '\\' ? '/' : m_aBytes[i]; // stored always: the compiler takes many at once
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

thread_local constinit System::CPathSearch* t_pSearch = nullptr;

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

// What the search of this thread goes on with.
void RememberInSearch(std::string_view sDirectory, const CListingPtr& pListing) noexcept
{
    if (t_pSearch != nullptr && pListing != nullptr && pListing->IsComplete())
        t_pSearch->Remember(sDirectory, pListing);
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
            if (pName == nullptr)
                RememberInSearch(sPath.substr(0, nKnown), pListing);
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

    const CListingPtr pListing = FindListing(sFileStamps(oStat));
    if (pListing == nullptr || !pListing->IsComplete() || pListing->Find(sName) != nullptr)
        return false;
    RememberInSearch(sDirectory, pListing);
    return true;
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

    if (eLast == eLastName::AnyCase && t_pSearch != nullptr && t_pSearch->IsMissing(oPath.View()))
    {
        errno = ENOENT;
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

bool LetSharedFilesGo() noexcept;

// Opens without waiting for the other end of a pipe.
int OpenNow(const char* pPath, int nFlags) noexcept
{
    const int nCommon = nFlags | O_CLOEXEC | O_NOCTTY;
    const auto Open = [&] { return ::open(pPath, nCommon | O_NONBLOCK, NEW_FILE_MODE); };
    int nDescriptor = Retry(Open);
    if (nDescriptor == -1 && (errno == EMFILE || errno == ENFILE) && LetSharedFilesGo())
        nDescriptor = Retry(Open);
    if (nDescriptor != -1 || errno != EWOULDBLOCK)
        return nDescriptor;

    return Retry([&] { return ::open(pPath, nCommon, NEW_FILE_MODE); }); // a lease of another process: wait for it
}

CDescriptor OpenInMode(const char* pPath, const sOpenMode& oMode) noexcept
{
    const eLastName eLast = (oMode.nFlags & O_CREAT) != 0 ? eLastName::AsItStands : eLastName::AnyCase;
    return CDescriptor(CallWithPath(pPath, eLast, [&](const char* pExact) { return OpenNow(pExact, oMode.nFlags); }));
}

// Calls, with the bytes that are done, until all are or nothing comes any more; how many are done.
template <typename TCall>
std::size_t TransferAll(std::size_t nCount, TCall fnCall) noexcept
{
    std::size_t nDone = 0;
    while (nDone < nCount)
    {
        const ssize_t nMoved = Retry([&] { return fnCall(nDone); });
        if (nMoved <= 0)
            break;
        nDone += static_cast<std::size_t>(nMoved);
    }
    return nDone;
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

// Asks for the status of an open descriptor and lets its calls wait; false when it is neither a file nor a device.
bool PrepareDescriptor(int nDescriptor, struct stat& oStat) noexcept
{
    if (::fstat(nDescriptor, &oStat) != 0)
        return false;
    if (S_ISREG(oStat.st_mode))
        return true;

    if (!S_ISCHR(oStat.st_mode) && !S_ISBLK(oStat.st_mode))
    {
        errno = S_ISDIR(oStat.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    const int nFlags = ::fcntl(nDescriptor, F_GETFL);
    return nFlags != -1 && ::fcntl(nDescriptor, F_SETFL, nFlags & ~O_NONBLOCK) != -1;
}

// Makes a stream of an open descriptor, unless it is something else than a file or a device.
std::FILE* MakeStream(CDescriptor& oDescriptor, const char* pMode, std::span<char> aBuffer = {},
                      System::sFileStatus* pStatus = nullptr) noexcept
{
    struct stat oStat;
    if (!PrepareDescriptor(oDescriptor.Get(), oStat))
        return nullptr;

    std::FILE* const pStream = ::fdopen(oDescriptor.Get(), pMode);
    if (pStream == nullptr)
        return nullptr;

    oDescriptor.Detach();
    if (pStatus != nullptr)
        *pStatus = MakeStatus(oStat);
    if (S_ISREG(oStat.st_mode) && !aBuffer.empty()) // a terminal gets a buffer of its own kind
        ::setvbuf(pStream, aBuffer.data(), _IOFBF, aBuffer.size());
    return pStream;
}

} // namespace

// ---------------------------------------------------------------- searches

System::CPathSearch::CPathSearch() noexcept : m_pOuter(std::exchange(t_pSearch, this)) {}

System::CPathSearch::~CPathSearch()
{
    t_pSearch = m_pOuter;
}

void System::CPathSearch::Remember(std::string_view sDirectory, const CListingPtr& pListing) noexcept
{
    try
    {
        m_sDirectory = sDirectory;
        m_pListing = pListing;
    }
    catch (const std::bad_alloc&)
    {
        m_pListing.reset();
    }
}

bool System::CPathSearch::IsMissing(std::string_view sPath) const noexcept
{
    if (m_pListing == nullptr || !sPath.starts_with(m_sDirectory))
        return false;

    const std::string_view sBelow = sPath.substr(m_sDirectory.size());
    const std::string_view sName = sBelow.substr(0, sBelow.find('/'));
    return !sName.empty() && !IsDotOrDotDot(sName) && m_pListing->Find(sName) == nullptr;
}

// ---------------------------------------------------------------- shared files

/// Its users and the cache each hold a reference; the last one closes it.
class System::CSharedFile
{
public:
    /// @param nDescriptor  becomes the object's
    CSharedFile(int nDescriptor, const sFileStamps& oStamps) noexcept : m_nDescriptor(nDescriptor), m_oStamps(oStamps)
    {
    }

    CSharedFile(const CSharedFile&) = delete;
    CSharedFile& operator=(const CSharedFile&) = delete;

    void AddReference() noexcept { m_nReferences.fetch_add(1, std::memory_order_relaxed); }

    void Release() noexcept
    {
        if (m_nReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

    /// What was true when it was opened.
    const sFileStamps& GetStamps() const noexcept { return m_oStamps; }

    int GetDescriptor() const noexcept { return m_nDescriptor.Get(); }

    /// Whether no name on the disk leads to it any more.
    bool IsGone() const noexcept
    {
        struct stat oStat;
        return ::fstat(m_nDescriptor.Get(), &oStat) != 0 || oStat.st_nlink == 0;
    }

private:
    ~CSharedFile() = default;

    const CDescriptor m_nDescriptor;
    const sFileStamps m_oStamps;
    std::atomic<std::uint32_t> m_nReferences = 1;
};

namespace
{
/// The shared files that stay open. An open file keeps its place on the disk, so the same device and index are the same
/// file; that its time stamps hold says that a new open would be granted as the old one was.
class CSharedFiles
{
public:
    constexpr CSharedFiles() noexcept = default;

    /// Whether there is any.
    bool HasAny() const noexcept { return m_nCount.load(std::memory_order_relaxed) != 0; }

    /// A file with a reference for the caller, or null.
    CSharedFile* Find(const sFileStamps& oStamps) noexcept
    {
        const CFileCacheGuard oGuard;
        for (sEntry& oEntry : m_aEntries)
        {
            if (oEntry.pFile == nullptr || !(oEntry.pFile->GetStamps() == oStamps))
                continue;
            oEntry.nLastUse = ++m_nClock;
            oEntry.pFile->AddReference();
            return oEntry.pFile;
        }
        return nullptr;
    }

    /// Keeps a file, in place of those that are gone, an older state of the same, or the one not used for longest.
    void Keep(CSharedFile& oFile) noexcept
    {
        const CFileCacheGuard oGuard;
        for (sEntry& oEntry : m_aEntries)
        {
            if (oEntry.pFile != nullptr &&
                (oEntry.pFile->GetStamps().IsSameFile(oFile.GetStamps()) || oEntry.pFile->IsGone()))
                Drop(oEntry);
        }

        sEntry& oPlace = *std::min_element(m_aEntries.begin(), m_aEntries.end(),
                                           [](const sEntry& oFirst, const sEntry& oSecond)
                                           { return oFirst.nLastUse < oSecond.nLastUse; });
        Drop(oPlace);
        oFile.AddReference();
        oPlace = {&oFile, ++m_nClock};
        m_nCount.fetch_add(1, std::memory_order_relaxed);
    }

    /// Lets all go.
    ///
    /// @return whether there was any
    bool Clear() noexcept
    {
        const CFileCacheGuard oGuard;
        const bool bAny = HasAny();
        for (sEntry& oEntry : m_aEntries)
            Drop(oEntry);
        return bAny;
    }

private:
    static constexpr std::size_t MOST_FILES = 32;

    struct sEntry
    {
        CSharedFile* pFile = nullptr;
        std::uint64_t nLastUse = 0; // 0 for a free place
    };

    void Drop(sEntry& oEntry) noexcept
    {
        if (oEntry.pFile == nullptr)
            return;
        oEntry.pFile->Release();
        oEntry = {};
        m_nCount.fetch_sub(1, std::memory_order_relaxed);
    }

    std::array<sEntry, MOST_FILES> m_aEntries{};
    std::uint64_t m_nClock = 0;
    std::atomic<std::size_t> m_nCount = 0;
};

constinit CSharedFiles s_oSharedFiles;

// Makes room for other descriptors; whether there was any to be had.
bool LetSharedFilesGo() noexcept
{
    return s_oSharedFiles.Clear();
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
                              sFileStatus* pStatus) noexcept
{
    sOpenMode oMode;
    if (!oMode.Parse(pMode))
    {
        errno = EINVAL;
        return nullptr;
    }

    CDescriptor oDescriptor = OpenInMode(pPath, oMode);
    return oDescriptor.Get() != -1 ? MakeStream(oDescriptor, oMode.aMode, aBuffer, pStatus) : nullptr;
}

int System::OpenDescriptor(const char* pPath, const char* pMode, sFileStatus& oStatus) noexcept
{
    sOpenMode oMode;
    if (!oMode.Parse(pMode))
    {
        errno = EINVAL;
        return -1;
    }

    CDescriptor oDescriptor = OpenInMode(pPath, oMode);
    struct stat oStat;
    if (oDescriptor.Get() == -1 || !PrepareDescriptor(oDescriptor.Get(), oStat))
        return -1;

    oStatus = MakeStatus(oStat);
    return oDescriptor.Detach();
}

bool System::CloseDescriptor(int nDescriptor) noexcept
{
    return ::close(nDescriptor) == 0 || errno == EINTR; // an interrupted close has closed it all the same
}

std::size_t System::ReadDescriptor(int nDescriptor, void* pTarget, std::size_t nCount) noexcept
{
    return TransferAll(nCount, [&](std::size_t nDone)
                       { return ::read(nDescriptor, static_cast<char*>(pTarget) + nDone, nCount - nDone); });
}

std::size_t System::WriteDescriptor(int nDescriptor, const void* pSource, std::size_t nCount) noexcept
{
    return TransferAll(nCount, [&](std::size_t nDone)
                       { return ::write(nDescriptor, static_cast<const char*>(pSource) + nDone, nCount - nDone); });
}

std::int64_t System::SeekDescriptor(int nDescriptor, std::int64_t nOffset, int nOrigin) noexcept
{
    return ::lseek(nDescriptor, nOffset, nOrigin);
}

std::FILE* System::CreateStreamHere(const char* pName, eOldFile eOld, sFileStatus* pStatus) noexcept
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
            return MakeStream(oDescriptor, "w", {}, pStatus);
        if (errno != EEXIST || eOld == eOldFile::Keep || (EraseWritable(pName) != 0 && errno != ENOENT))
            return nullptr;
    }
    return nullptr;
}

bool System::AreAppendsWhole() noexcept
{
    return true;
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

System::CSharedFile* System::AcquireShared(const char* pPath) noexcept
{
    CSharedFile* pKnown = nullptr;
    CDescriptor oDescriptor(CallWithPath(pPath, eLastName::AnyCase,
                                         [&](const char* pExact)
                                         {
                                             struct stat oStat;
                                             if (s_oSharedFiles.HasAny() && ::stat(pExact, &oStat) == 0)
                                                 pKnown = s_oSharedFiles.Find(sFileStamps(oStat));
                                             return pKnown != nullptr ? NO_DESCRIPTOR : OpenNow(pExact, O_RDONLY);
                                         }));
    if (pKnown != nullptr)
        return pKnown;

    struct stat oStat;
    if (oDescriptor.Get() < 0 || !PrepareDescriptor(oDescriptor.Get(), oStat))
        return nullptr;

    const sFileStamps oStamps(oStat);
    auto* const pFile = new (std::nothrow) CSharedFile(oDescriptor.Get(), oStamps);
    if (pFile == nullptr)
        return nullptr;

    oDescriptor.Detach();
    if (S_ISREG(oStat.st_mode) && GetTrust(pFile->GetDescriptor()) == eListingTrust::Complete && IsSettledNow(oStamps))
        s_oSharedFiles.Keep(*pFile);
    return pFile;
}

void System::ReleaseShared(CSharedFile* pFile) noexcept
{
    pFile->Release();
}

std::size_t System::ReadShared(CSharedFile* pFile, std::uint64_t nOffset, void* pTarget, std::size_t nCount) noexcept
{
    return TransferAll(nCount,
                       [&](std::size_t nDone)
                       {
                           return ::pread(pFile->GetDescriptor(), static_cast<char*>(pTarget) + nDone, nCount - nDone,
                                          static_cast<off_t>(nOffset + nDone));
                       });
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
    return GetDescriptorStatus(::fileno(pStream), oStatus);
}

bool System::GetDescriptorStatus(int nDescriptor, sFileStatus& oStatus) noexcept
{
    struct stat oStat;
    if (::fstat(nDescriptor, &oStat) != 0)
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

int System::OpenDirectory(const char* pPath) noexcept
{
    return CallWithPath(pPath, eLastName::AnyCase,
                        [](const char* pExact)
                        { return Retry([&] { return ::open(pExact, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }); });
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
