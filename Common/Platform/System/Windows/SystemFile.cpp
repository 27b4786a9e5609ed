#include <Common/Platform/System/SystemFile.h>

#include <Common/Platform/System/NameOrder.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

static_assert(System::ATTRIBUTE_READONLY == FILE_ATTRIBUTE_READONLY);
static_assert(System::ATTRIBUTE_HIDDEN == FILE_ATTRIBUTE_HIDDEN);
static_assert(System::ATTRIBUTE_SYSTEM == FILE_ATTRIBUTE_SYSTEM);
static_assert(System::ATTRIBUTE_DIRECTORY == FILE_ATTRIBUTE_DIRECTORY);
static_assert(System::ATTRIBUTE_ARCHIVE == FILE_ATTRIBUTE_ARCHIVE);
static_assert(System::ATTRIBUTE_NORMAL == FILE_ATTRIBUTE_NORMAL);
static_assert(System::ATTRIBUTE_TEMPORARY == FILE_ATTRIBUTE_TEMPORARY);
static_assert(System::ATTRIBUTE_COMPRESSED == FILE_ATTRIBUTE_COMPRESSED);
static_assert(System::NO_ATTRIBUTES == INVALID_FILE_ATTRIBUTES);

namespace
{
/// A handle of the kernel that closes itself.
class CKernelHandle
{
public:
    explicit CKernelHandle(HANDLE pHandle) noexcept : m_pHandle(pHandle) {}

    ~CKernelHandle()
    {
        if (IsValid())
            ::CloseHandle(m_pHandle);
    }

    CKernelHandle(const CKernelHandle&) = delete;
    CKernelHandle& operator=(const CKernelHandle&) = delete;

    bool IsValid() const noexcept { return m_pHandle != INVALID_HANDLE_VALUE; }

    HANDLE Get() const noexcept { return m_pHandle; }

private:
    HANDLE m_pHandle;
};

// A handle that can only be asked about what a path leads to.
CKernelHandle OpenForStatus(const char* pPath, bool bFollowLinks) noexcept
{
    const DWORD nFlags = FILE_FLAG_BACKUP_SEMANTICS | (bFollowLinks ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    return CKernelHandle(::CreateFileA(pPath, FILE_READ_ATTRIBUTES,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       nFlags, nullptr));
}

std::uint64_t Join(DWORD nHigh, DWORD nLow) noexcept
{
    return (static_cast<std::uint64_t>(nHigh) << 32) | nLow;
}

bool GetHandleStatus(HANDLE pHandle, bool bFollowLinks, System::sFileStatus& oStatus) noexcept
{
    BY_HANDLE_FILE_INFORMATION oInfo;
    if (!::GetFileInformationByHandle(pHandle, &oInfo))
        return false;

    const bool bLink = !bFollowLinks && (oInfo.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    const bool bDirectory = (oInfo.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    oStatus.eKind = bLink        ? System::eFileKind::Link
                    : bDirectory ? System::eFileKind::Directory
                                 : System::eFileKind::File;
    oStatus.nSize = bDirectory ? 0 : Join(oInfo.nFileSizeHigh, oInfo.nFileSizeLow);
    oStatus.nVolume = oInfo.dwVolumeSerialNumber;
    oStatus.nIndex = Join(oInfo.nFileIndexHigh, oInfo.nFileIndexLow);
    return true;
}

// The runtime library knows no mode 'x': the file is made first.
std::FILE* CreateStream(const char* pPath, const char* pMode) noexcept
{
    const bool bText = std::strchr(pMode, 't') != nullptr || std::strchr(pMode, 'b') == nullptr;
    const bool bUpdate = std::strchr(pMode, '+') != nullptr;
    const int nFlags = _O_CREAT | _O_EXCL | (bUpdate ? _O_RDWR : _O_WRONLY) | (bText ? _O_TEXT : _O_BINARY) |
                       (pMode[0] == 'a' ? _O_APPEND : 0);
    const int nDescriptor = ::_open(pPath, nFlags, _S_IREAD | _S_IWRITE);
    if (nDescriptor == -1)
        return nullptr;

    const char aStreamMode[] = {pMode[0], bText ? 't' : 'b', bUpdate ? '+' : '\0', '\0'};
    std::FILE* const pStream = ::_fdopen(nDescriptor, aStreamMode);
    if (pStream == nullptr)
        ::_close(nDescriptor);
    return pStream;
}

std::FILE* OpenOnce(const char* pPath, const char* pMode) noexcept
{
    return std::strchr(pMode, 'x') != nullptr && pMode[0] != 'r' ? CreateStream(pPath, pMode)
                                                                 : std::fopen(pPath, pMode);
}

// Calls, with the bytes that are done and how many are wanted next, until all are or nothing comes any more; how many
// are done.
template <typename TCall>
std::size_t TransferAll(std::size_t nCount, TCall fnCall) noexcept
{
    constexpr std::size_t MOST_AT_ONCE = std::size_t{1} << 30;

    std::size_t nDone = 0;
    while (nDone < nCount)
    {
        const int nMoved = fnCall(nDone, static_cast<unsigned>(std::min(nCount - nDone, MOST_AT_ONCE)));
        if (nMoved <= 0)
            break;
        nDone += static_cast<std::size_t>(nMoved);
    }
    return nDone;
}

// A name that the system would take for a device, whatever its extension.
bool IsDeviceName(std::string_view sName) noexcept
{
    std::string_view sStem = sName.substr(0, sName.find('.'));
    sStem = sStem.substr(0, sStem.find_last_not_of(' ') + 1);
    for (const char* pDevice : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"})
        if (System::IsSameFolded(sStem, pDevice))
            return true;

    if (sStem.size() < 4)
        return false;
    const std::string_view sKind = sStem.substr(0, 3);
    const std::string_view sNumber = sStem.substr(3);
    const bool bNumber = (sNumber.size() == 1 && sNumber[0] >= '0' && sNumber[0] <= '9') || sNumber == "\xB9" ||
                         sNumber == "\xB2" || sNumber == "\xB3"; // the superscripts 1 to 3 count too
    return bNumber && (System::IsSameFolded(sKind, "COM") || System::IsSameFolded(sKind, "LPT"));
}

constexpr unsigned char TYPE_DIRECTORY = 1;
} // namespace

std::FILE* System::OpenStream(const char* pPath, const char* pMode, std::span<char> aBuffer,
                              sFileStatus* pStatus) noexcept
{
    if (pPath == nullptr || pMode == nullptr || std::strchr("rwa", pMode[0]) == nullptr || pMode[0] == '\0')
    {
        errno = EINVAL;
        return nullptr;
    }

    errno = 0;
    std::FILE* pStream = OpenOnce(pPath, pMode);
    if (pStream == nullptr && (errno == EMFILE || errno == 0))
    {
        // The runtime library starts with room for 512 streams, and not every one sets errno when there is none left.
        constexpr int MOST_STREAMS = 2048;
        if (::_getmaxstdio() < MOST_STREAMS && ::_setmaxstdio(MOST_STREAMS) == MOST_STREAMS)
            pStream = OpenOnce(pPath, pMode);
    }
    if (pStream != nullptr && !aBuffer.empty())
        std::setvbuf(pStream, aBuffer.data(), _IOFBF, aBuffer.size());
    if (pStream != nullptr && pStatus != nullptr && !GetStatus(pStream, *pStatus))
        *pStatus = {eFileKind::Other, NO_SIZE, 0, 0};
    return pStream;
}

int System::OpenDescriptor(const char* pPath, const char* pMode, sFileStatus& oStatus) noexcept
{
    if (pPath == nullptr || pMode == nullptr || std::strchr("rwa", pMode[0]) == nullptr || pMode[0] == '\0')
    {
        errno = EINVAL;
        return -1;
    }

    const bool bUpdate = std::strchr(pMode, '+') != nullptr;
    int nFlags = _O_BINARY | _O_NOINHERIT | (bUpdate ? _O_RDWR : pMode[0] == 'r' ? _O_RDONLY : _O_WRONLY);
    if (pMode[0] == 'w')
        nFlags |= _O_CREAT | _O_TRUNC;
    else if (pMode[0] == 'a')
        nFlags |= _O_CREAT | _O_APPEND;

    const int nDescriptor = ::_open(pPath, nFlags, _S_IREAD | _S_IWRITE);
    if (nDescriptor != -1 && !GetDescriptorStatus(nDescriptor, oStatus))
        oStatus = {eFileKind::Other, NO_SIZE, 0, 0};
    return nDescriptor;
}

bool System::CloseDescriptor(int nDescriptor) noexcept
{
    return ::_close(nDescriptor) == 0;
}

std::size_t System::ReadDescriptor(int nDescriptor, void* pTarget, std::size_t nCount) noexcept
{
    return TransferAll(nCount, [&](std::size_t nDone, unsigned nWanted)
                       { return ::_read(nDescriptor, static_cast<char*>(pTarget) + nDone, nWanted); });
}

std::size_t System::WriteDescriptor(int nDescriptor, const void* pSource, std::size_t nCount) noexcept
{
    return TransferAll(nCount, [&](std::size_t nDone, unsigned nWanted)
                       { return ::_write(nDescriptor, static_cast<const char*>(pSource) + nDone, nWanted); });
}

std::int64_t System::SeekDescriptor(int nDescriptor, std::int64_t nOffset, int nOrigin) noexcept
{
    return ::_lseeki64(nDescriptor, nOffset, nOrigin);
}

std::FILE* System::CreateStreamHere(const char* pName, eOldFile eOld, sFileStatus* pStatus) noexcept
{
    if (!IsPlainName(pName))
    {
        errno = EINVAL;
        return nullptr;
    }

    for (int nTry = 0; nTry < 3; ++nTry)
    {
        std::FILE* const pStream = OpenStream(pName, "wbx", {}, pStatus);
        if (pStream != nullptr)
            return pStream;
        if (errno != EEXIST || eOld == eOldFile::Keep || (::_unlink(pName) != 0 && errno != ENOENT))
            return nullptr;
    }
    return nullptr;
}

bool System::AreAppendsWhole() noexcept
{
    // The runtime library moves to the end and writes: two steps.
    return false;
}

std::int64_t System::TellStream(std::FILE* pStream) noexcept
{
    return ::_ftelli64(pStream);
}

bool System::SeekStream(std::FILE* pStream, std::int64_t nOffset, int nOrigin) noexcept
{
    return ::_fseeki64(pStream, nOffset, nOrigin) == 0;
}

std::int64_t System::GetStreamLength(std::FILE* pStream) noexcept
{
    return ::_filelengthi64(::_fileno(pStream));
}

bool System::TruncateStream(std::FILE* pStream, std::int64_t nLength) noexcept
{
    if (std::fflush(pStream) != 0)
        return false;

    const auto pHandle = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(pStream)));
    LARGE_INTEGER oKept{};
    LARGE_INTEGER oLength{};
    oLength.QuadPart = nLength;
    return ::SetFilePointerEx(pHandle, LARGE_INTEGER{}, &oKept, FILE_CURRENT) &&
           ::SetFilePointerEx(pHandle, oLength, nullptr, FILE_BEGIN) && ::SetEndOfFile(pHandle) &&
           ::SetFilePointerEx(pHandle, oKept, nullptr, FILE_BEGIN);
}

int System::PrintToStream(std::FILE* pStream, const char* pFormat, va_list pArguments) noexcept
{
    // The compiler's own vfprintf says nothing of a write that fails, and writes byte by byte.
    char aShort[1024];
    va_list pSecond;
    va_copy(pSecond, pArguments);
    const int nLength = std::vsnprintf(aShort, sizeof(aShort), pFormat, pArguments);
    std::unique_ptr<char[]> pLong;
    if (nLength >= static_cast<int>(sizeof(aShort)))
    {
        const std::size_t nSize = static_cast<std::size_t>(nLength) + 1;
        pLong.reset(new (std::nothrow) char[nSize]);
        if (pLong != nullptr)
            std::vsnprintf(pLong.get(), nSize, pFormat, pSecond);
    }
    va_end(pSecond);

    if (nLength < 0 || (nLength >= static_cast<int>(sizeof(aShort)) && pLong == nullptr))
        return -1;
    const auto nBytes = static_cast<std::size_t>(nLength);
    return std::fwrite(pLong != nullptr ? pLong.get() : aShort, 1, nBytes, pStream) == nBytes ? nLength : -1;
}

class System::CSharedFile
{
public:
    explicit CSharedFile(std::FILE* pStream) noexcept : m_pStream(pStream) {}

    ~CSharedFile() { std::fclose(m_pStream); }

    CSharedFile(const CSharedFile&) = delete;
    CSharedFile& operator=(const CSharedFile&) = delete;

    std::size_t Read(std::uint64_t nOffset, void* pTarget, std::size_t nCount) const noexcept
    {
        constexpr std::size_t MOST_AT_ONCE = std::size_t{1} << 30;

        const auto pHandle = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(m_pStream)));
        std::size_t nDone = 0;
        while (nDone < nCount)
        {
            OVERLAPPED oPlace{};
            oPlace.Offset = static_cast<DWORD>(nOffset + nDone);
            oPlace.OffsetHigh = static_cast<DWORD>((nOffset + nDone) >> 32);
            DWORD nRead = 0;
            const auto nWanted = static_cast<DWORD>(std::min(nCount - nDone, MOST_AT_ONCE));
            if (!::ReadFile(pHandle, static_cast<char*>(pTarget) + nDone, nWanted, &nRead, &oPlace) || nRead == 0)
                break;
            nDone += nRead;
        }
        return nDone;
    }

private:
    std::FILE* m_pStream;
};

System::CSharedFile* System::AcquireShared(const char* pPath) noexcept
{
    std::FILE* const pStream = OpenStream(pPath, "rb");
    if (pStream == nullptr)
        return nullptr;

    auto* const pFile = new (std::nothrow) CSharedFile(pStream);
    if (pFile == nullptr)
        std::fclose(pStream);
    return pFile;
}

void System::ReleaseShared(CSharedFile* pFile) noexcept
{
    delete pFile;
}

std::size_t System::ReadShared(CSharedFile* pFile, std::uint64_t nOffset, void* pTarget, std::size_t nCount) noexcept
{
    return pFile->Read(nOffset, pTarget, nCount);
}

bool System::EraseFile(const char* pPath) noexcept
{
    return pPath != nullptr && ::_unlink(pPath) == 0;
}

bool System::RenameOver(const char* pFrom, const char* pTo) noexcept
{
    return pFrom != nullptr && pTo != nullptr && ::MoveFileExA(pFrom, pTo, MOVEFILE_REPLACE_EXISTING);
}

bool System::IsPlainName(const char* pName) noexcept
{
    if (pName == nullptr || pName[0] == '\0')
        return false;

    // "." and ".." end with a dot; the system drops dots and blanks at the end of a name.
    const std::string_view sName(pName);
    if (sName.back() == '.' || sName.back() == ' ' || IsDeviceName(sName))
        return false;

    for (std::size_t i = 0; i < sName.size(); ++i)
    {
        const auto nByte = static_cast<unsigned char>(sName[i]);
        if (nByte < ' ' || std::strchr("/\\:*?\"<>|", sName[i]) != nullptr)
            return false;
        if (IsPathLeadByte(nByte) && i + 1 < sName.size())
            ++i;
    }
    return true;
}

bool System::IsPathLeadByte(unsigned char nByte) noexcept
{
    return nByte >= 0x80 && ::IsDBCSLeadByte(nByte);
}

std::uint32_t System::GetAttributes(const char* pPath) noexcept
{
    return pPath != nullptr ? ::GetFileAttributesA(pPath) : NO_ATTRIBUTES;
}

bool System::SetAttributes(const char* pPath, std::uint32_t nAttributes) noexcept
{
    return pPath != nullptr && ::SetFileAttributesA(pPath, nAttributes) == 1;
}

bool System::GetStatus(const char* pPath, sFileStatus& oStatus, bool bFollowLinks) noexcept
{
    if (pPath == nullptr)
        return false;

    const CKernelHandle oHandle = OpenForStatus(pPath, bFollowLinks);
    return oHandle.IsValid() && GetHandleStatus(oHandle.Get(), bFollowLinks, oStatus);
}

bool System::GetStatusHere(const char* pName, sFileStatus& oStatus) noexcept
{
    return GetStatus(pName, oStatus, false);
}

bool System::GetStatus(std::FILE* pStream, sFileStatus& oStatus) noexcept
{
    return GetDescriptorStatus(::_fileno(pStream), oStatus);
}

bool System::GetDescriptorStatus(int nDescriptor, sFileStatus& oStatus) noexcept
{
    return GetHandleStatus(reinterpret_cast<HANDLE>(::_get_osfhandle(nDescriptor)), true, oStatus);
}

bool System::MakeDirectory(const char* pPath) noexcept
{
    return pPath != nullptr && ::_mkdir(pPath) == 0;
}

bool System::EraseDirectory(const char* pPath) noexcept
{
    return pPath != nullptr && ::_rmdir(pPath) == 0;
}

bool System::ChangeDirectory(const char* pPath) noexcept
{
    return pPath != nullptr && ::_chdir(pPath) == 0;
}

bool System::EnterDirectoryHere(const char* pName) noexcept
{
    sFileStatus oStatus;
    return IsPlainName(pName) && GetStatus(pName, oStatus, false) && oStatus.eKind == eFileKind::Directory &&
           ChangeDirectory(pName);
}

bool System::GetWorkingDirectory(char* pBuffer, std::size_t nSize) noexcept
{
    const int nMost = nSize > static_cast<std::size_t>(std::numeric_limits<int>::max())
                          ? std::numeric_limits<int>::max()
                          : static_cast<int>(nSize);
    return ::_getcwd(pBuffer, nMost) != nullptr;
}

std::string System::GetWorkingDirectory()
{
    const std::unique_ptr<char, decltype(&std::free)> pPath(::_getcwd(nullptr, 0), &std::free);
    return pPath != nullptr ? std::string(pPath.get()) : std::string();
}

// Names are found without regard to case by the system itself, at one question each.
System::CPathSearch::CPathSearch() noexcept = default;

System::CPathSearch::~CPathSearch() = default;

System::CDirectoryMark::CDirectoryMark() noexcept : m_nDirectory(-1)
{
    try
    {
        m_sPath = System::GetWorkingDirectory();
    }
    catch (const std::bad_alloc&)
    {
        m_sPath.clear();
    }
}

System::CDirectoryMark::~CDirectoryMark() = default;

bool System::CDirectoryMark::IsValid() const noexcept
{
    return !m_sPath.empty();
}

bool System::CDirectoryMark::Return() const noexcept
{
    return !m_sPath.empty() && ::_chdir(m_sPath.c_str()) == 0;
}

// ---------------------------------------------------------------- directory search

struct System::CDirectorySearch::sState
{
    CFoundNames oNames;
    std::size_t nNext = 0;
};

System::CDirectorySearch::CDirectorySearch() noexcept = default;
System::CDirectorySearch::~CDirectorySearch() = default;
System::CDirectorySearch::CDirectorySearch(CDirectorySearch&&) noexcept = default;
System::CDirectorySearch& System::CDirectorySearch::operator=(CDirectorySearch&&) noexcept = default;

bool System::CDirectorySearch::Start(const char* pPattern) noexcept
try
{
    Close();
    if (pPattern == nullptr)
        return false;

    // The system's own matching knows short names and other rules of old: all names are taken and matched here.
    const std::string_view sPattern(pPattern);
    std::size_t nNameBegin = 0;
    for (std::size_t i = 0; i < sPattern.size(); ++i)
    {
        if (IsPathLeadByte(static_cast<unsigned char>(sPattern[i])) && i + 1 < sPattern.size())
            ++i;
        else if (sPattern[i] == '/' || sPattern[i] == '\\' || (sPattern[i] == ':' && i == 1))
            nNameBegin = i + 1;
    }

    std::string sAll(sPattern.substr(0, nNameBegin));
    sAll += '*';
    WIN32_FIND_DATAA oData;
    const HANDLE pFind = ::FindFirstFileA(sAll.c_str(), &oData);
    const DWORD nError = pFind == INVALID_HANDLE_VALUE ? ::GetLastError() : 0;
    if (pFind == INVALID_HANDLE_VALUE && nError != ERROR_FILE_NOT_FOUND)
        return false;

    struct sCloseFind
    {
        HANDLE pHandle;

        ~sCloseFind()
        {
            if (pHandle != INVALID_HANDLE_VALUE)
                ::FindClose(pHandle);
        }
    } const oCloseFind{pFind};

    auto pState = std::make_unique<sState>();
    const CNamePattern oNamePattern(sPattern.substr(nNameBegin));
    for (bool bFound = pFind != INVALID_HANDLE_VALUE; bFound; bFound = ::FindNextFileA(pFind, &oData) != 0)
    {
        if (!oNamePattern.Matches(oData.cFileName))
            continue;
        const bool bDirectory = (oData.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        pState->oNames.Add(oData.cFileName, bDirectory ? TYPE_DIRECTORY : 0,
                           bDirectory ? 0 : Join(oData.nFileSizeHigh, oData.nFileSizeLow));
    }
    if (pFind != INVALID_HANDLE_VALUE && ::GetLastError() != ERROR_NO_MORE_FILES)
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
    return m_pState->oNames.GetName(m_pState->nNext++);
}

bool System::CDirectorySearch::IsDirectory() const noexcept
{
    return m_pState != nullptr && m_pState->nNext != 0 &&
           m_pState->oNames.GetType(m_pState->nNext - 1) == TYPE_DIRECTORY;
}

std::uint64_t System::CDirectorySearch::GetSize() const noexcept
{
    return m_pState != nullptr && m_pState->nNext != 0 ? m_pState->oNames.GetSize(m_pState->nNext - 1) : 0;
}

void System::CDirectorySearch::Close() noexcept
{
    m_pState.reset();
}
