#include <Common/Platform/System/SystemDirectoryTree.h>

#include <Common/Platform/System/Posix/OpenDirectory.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::size_t BUFFER_SIZE = 32768;
constexpr int NONE = -1;

/// A descriptor that closes itself.
class CDescriptor
{
public:
    explicit CDescriptor(int nDescriptor = NONE) noexcept : m_nDescriptor(nDescriptor) {}

    ~CDescriptor() { Reset(NONE); }

    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    int Get() const noexcept { return m_nDescriptor; }

    int Detach() noexcept { return std::exchange(m_nDescriptor, NONE); }

    void Reset(int nDescriptor) noexcept
    {
        if (m_nDescriptor != NONE)
            ::close(m_nDescriptor);
        m_nDescriptor = nDescriptor;
    }

private:
    int m_nDescriptor;
};

int OpenAt(int nDirectory, const char* pPath, int nFlags) noexcept
{
    int nDescriptor = NONE;
    do
        nDescriptor = ::openat(nDirectory, pPath, nFlags | O_DIRECTORY | O_CLOEXEC);
    while (nDescriptor == NONE && errno == EINTR);
    return nDescriptor;
}

/// Opens a directory by a path of any length: the system takes it in pieces.
///
/// @return its descriptor, to be closed; NONE on failure
int OpenBelow(int nTop, std::string_view sPath) noexcept
{
    std::array<char, PATH_MAX> aPiece;
    CDescriptor oStep;
    for (;;)
    {
        const bool bLast = sPath.size() < aPiece.size();
        const std::size_t nPiece = bLast ? sPath.size() : sPath.rfind('/', aPiece.size() - 1);
        if (nPiece == std::string_view::npos)
            return NONE;
        std::memcpy(aPiece.data(), sPath.data(), nPiece);
        aPiece[nPiece] = '\0';

        const int nFrom = oStep.Get() != NONE ? oStep.Get() : nTop;
        const int nDescriptor = OpenAt(nFrom, nPiece != 0 ? aPiece.data() : ".", bLast ? O_RDONLY : O_PATH);
        if (bLast || nDescriptor == NONE)
            return nDescriptor;
        oStep.Reset(nDescriptor);
        sPath.remove_prefix(std::min(sPath.find_first_not_of('/', nPiece), sPath.size()));
    }
}

/// Opens a directory by a path that the system does not take at once.
int OpenLong(std::string sPath) noexcept
{
    std::replace(sPath.begin(), sPath.end(), '\\', '/');
    return OpenBelow(AT_FDCWD, sPath);
}

bool IsDotOrDotDot(const char* pName) noexcept
{
    return std::strcmp(pName, ".") == 0 || std::strcmp(pName, "..") == 0;
}

/// Adds an entry; only where the directory itself does not tell what it is, the system is asked.
void AddEntry(int nDirectory, const dirent64& oEntry, System::CDirectoryEntries& oEntries)
{
    unsigned char nType = oEntry.d_type;
    struct stat oStat;
    if (nType == DT_UNKNOWN && ::fstatat(nDirectory, oEntry.d_name, &oStat, AT_SYMLINK_NOFOLLOW) == 0)
        nType = S_ISLNK(oStat.st_mode) ? DT_LNK : S_ISDIR(oStat.st_mode) ? DT_DIR : DT_REG;

    const bool bLink = nType == DT_LNK;
    const bool bDirectory =
        bLink ? ::fstatat(nDirectory, oEntry.d_name, &oStat, 0) == 0 && S_ISDIR(oStat.st_mode) : nType == DT_DIR;
    oEntries.Add(oEntry.d_name, bDirectory, bLink);
}
} // namespace

struct System::CDirectoryTree::sState
{
    explicit sState(int nDescriptor) noexcept : oTop(nDescriptor) {}

    CDescriptor oTop;
    alignas(dirent64) std::array<char, BUFFER_SIZE> aBuffer;
};

System::CDirectoryTree::CDirectoryTree() noexcept = default;
System::CDirectoryTree::~CDirectoryTree() = default;

bool System::CDirectoryTree::Open(const char* pPath) noexcept
try
{
    m_pState.reset();
    CDescriptor oDescriptor(OpenDirectory(pPath));
    if (oDescriptor.Get() == NONE && errno == ENAMETOOLONG)
        oDescriptor.Reset(OpenLong(pPath));
    if (oDescriptor.Get() == NONE)
        return false;

    m_pState = std::make_unique<sState>(oDescriptor.Get());
    oDescriptor.Detach();
    return true;
}

catch (const std::bad_alloc&)
{
    return false;
}

bool System::CDirectoryTree::Read(const std::string& sBelow, CDirectoryEntries& oEntries,
                                  sDirectoryIdentity& oIdentity) noexcept
try
{
    oEntries.Clear();
    if (m_pState == nullptr)
        return false;

    const CDescriptor oDirectory(OpenBelow(m_pState->oTop.Get(), sBelow));
    struct stat oStat;
    if (oDirectory.Get() == NONE || ::fstat(oDirectory.Get(), &oStat) != 0)
        return false;
    oIdentity = {static_cast<std::uint64_t>(oStat.st_dev), static_cast<std::uint64_t>(oStat.st_ino)};

    oEntries.AddDots(); // also where a file system does not list them
    std::array<char, BUFFER_SIZE>& aBuffer = m_pState->aBuffer;
    for (;;)
    {
        const ssize_t nRead = ::getdents64(oDirectory.Get(), aBuffer.data(), aBuffer.size());
        if (nRead == 0)
            return true;
        if (nRead < 0)
            break;

        for (ssize_t nOffset = 0; nOffset < nRead;)
        {
            const auto* pEntry = reinterpret_cast<const dirent64*>(aBuffer.data() + nOffset);
            if (!IsDotOrDotDot(pEntry->d_name))
                AddEntry(oDirectory.Get(), *pEntry, oEntries);
            nOffset += pEntry->d_reclen;
        }
    }
    oEntries.Clear();
    return false;
}

catch (const std::bad_alloc&)
{
    oEntries.Clear();
    return false;
}
