#include <Common/Debug/XfsException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformString.h>
#include <Common/Platform/System/FileHandle.h>
#include <Common/Platform/System/SystemFile.h>
#include <Common/String/VQPath.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

namespace
{
constexpr const char* SOURCE_FILE = "Common/File/ExtendedFileSystem";

// Positions and sizes of files are 32 bits wide.
constexpr std::int64_t MAX_FILE_SIZE = std::numeric_limits<std::uint32_t>::max();

constexpr unsigned long ERROR_TOO_MANY_FILES = 4001;
constexpr unsigned long ERROR_NOT_FOUND = 4002;
constexpr unsigned long ERROR_CREATE = 4005;
constexpr unsigned long ERROR_READ = 4006;
constexpr unsigned long ERROR_WRITE = 4007;
constexpr unsigned long ERROR_HANDLE = 4008;
constexpr unsigned long ERROR_SEEK = 4009;
constexpr unsigned long ERROR_OPEN = 4010;
constexpr unsigned long ERROR_APPEND = 4015;

// A target of a seek that no file has.
constexpr std::int64_t OUTSIDE = -1;

constexpr const char* MESSAGE_HANDLE = "Invalid file handle.";

/// Holds the file system's lock for a block, however the block is left.
class CLockGuard
{
public:
    explicit CLockGuard(CVQCriticalSection& oLock) : m_oLock(oLock) { m_oLock.Enter(); }

    ~CLockGuard() { m_oLock.Leave(); }

    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    CVQCriticalSection& m_oLock;
};

bool IsLineEnd(int nCharacter)
{
    return nCharacter == '\r' || nCharacter == '\n';
}

int ReadByte(std::FILE* pStream)
{
    return pStream != nullptr ? std::getc(pStream) : EOF;
}

// Puts the physical pointer where a position of the file lies.
bool MovePointer(const sFileInfo& oInfo, std::int64_t nPosition)
{
    return System::SeekFile(oInfo.m_nFile.load(std::memory_order_relaxed), oInfo.m_nStart + nPosition, SEEK_SET);
}
} // namespace

CExtendedFileSystem CExtendedFileSystem::__m_oInstance;

// The slot's number is stored last and read first: who sees a slot free or in use through it sees the rest as well.

sFileInfo::sFileInfo(const sFileInfo& oOther)
{
    *this = oOther;
}

sFileInfo& sFileInfo::operator=(const sFileInfo& oOther)
{
    const std::int32_t nFile = oOther.m_nFile.load(std::memory_order_acquire);
    m_nStart = oOther.m_nStart;
    m_nSize = oOther.m_nSize;
    m_nPosition = oOther.m_nPosition;
    m_nFile.store(nFile, std::memory_order_release);
    return *this;
}

CExtendedFileSystem::CExtendedFileSystem() : m_oRootArchive{}, m_aArchives{}, m_bSetup(false) {}

// The two locks are no part of what is copied: closing a copy's would close the original's.

CExtendedFileSystem::CExtendedFileSystem(const CExtendedFileSystem& oOther)
    : m_aRoots(oOther.m_aRoots), m_aFiles(oOther.m_aFiles), m_oRootArchive(oOther.m_oRootArchive),
      m_aArchives(oOther.m_aArchives), m_bSetup(oOther.m_bSetup.load()), m_aCallbacks(oOther.m_aCallbacks)
{
}

CExtendedFileSystem& CExtendedFileSystem::operator=(const CExtendedFileSystem& oOther)
{
    m_aRoots = oOther.m_aRoots;
    m_aFiles = oOther.m_aFiles;
    m_oRootArchive = oOther.m_oRootArchive;
    m_aArchives = oOther.m_aArchives;
    m_bSetup = oOther.m_bSetup.load();
    m_aCallbacks = oOther.m_aCallbacks;
    return *this;
}

CExtendedFileSystem::~CExtendedFileSystem() = default;

CExtendedFileSystem* CExtendedFileSystem::Instance()
{
    return &__m_oInstance;
}

bool CExtendedFileSystem::Setup()
{
    m_bSetup = true;
    return true;
}

bool CExtendedFileSystem::IsSetup() const
{
    return m_bSetup;
}

void CExtendedFileSystem::AddRoot(const CVQString& sRoot)
{
    if (sRoot.IsEmpty())
        return;

    const CLockGuard oGuard(m_oLock);
    m_aRoots.push_back(sRoot);
}

void CExtendedFileSystem::AddRoot(const char* pRoot)
{
    AddRoot(CVQString(pRoot));
}

void CExtendedFileSystem::RemoveRoot(const CVQString& sRoot)
{
    if (sRoot.IsEmpty())
        return;

    const CLockGuard oGuard(m_oLock);
    const auto oFound = std::find_if(m_aRoots.begin(), m_aRoots.end(),
                                     [&sRoot](const CVQString& sEach) { return STR_stricmp(~sEach, ~sRoot) == 0; });
    if (oFound != m_aRoots.end())
        m_aRoots.erase(oFound);
}

void CExtendedFileSystem::RemoveRoot(const char* pRoot)
{
    RemoveRoot(CVQString(pRoot));
}

void CExtendedFileSystem::RemoveAllRoots()
{
    const CLockGuard oGuard(m_oLock);
    m_aRoots.clear();
}

long CExtendedFileSystem::GetRootCount() const
{
    const CLockGuard oGuard(m_oLock);
    return static_cast<long>(m_aRoots.size());
}

bool CExtendedFileSystem::HasRoots() const
{
    return GetRootCount() != 0;
}

const CVQString& CExtendedFileSystem::GetRoot(long nIndex) const
{
    const CLockGuard oGuard(m_oLock);
    return m_aRoots[static_cast<std::size_t>(nIndex)];
}

unsigned long CExtendedFileSystem::OpenFile(const char* pName)
{
    if (pName == nullptr)
        return 0;

    const CLockGuard oGuard(m_oLock);
    unsigned long nHandle = ArchiveFileOpen(pName);
    for (std::size_t i = 0; nHandle == 0 && i < m_aRoots.size(); ++i)
        nHandle = ArchiveFileOpen(~JoinRoot(m_aRoots[i], pName));

    if (nHandle == 0)
        ThrowException(ERROR_NOT_FOUND, __LINE__, SOURCE_FILE, "File not found.");
    return nHandle;
}

unsigned long CExtendedFileSystem::CreateFile(const char* pName)
{
    if (pName == nullptr)
        return 0;

    const CLockGuard oGuard(m_oLock);
    sFileInfo& oInfo = RequireFreeSlot();
    const int nFile = FILE_Open(pName, "wb");
    if (nFile < 0)
        ThrowException(ERROR_CREATE, __LINE__, SOURCE_FILE, "Could not create file for writing.");

    oInfo.m_nStart = oInfo.m_nSize = oInfo.m_nPosition = 0;
    oInfo.m_nFile.store(nFile, std::memory_order_release);
    return GetHandleForFile(&oInfo);
}

unsigned long CExtendedFileSystem::AppendFile(const char* pName)
{
    if (pName == nullptr)
        return 0;

    const CLockGuard oGuard(m_oLock);
    sFileInfo& oInfo = RequireFreeSlot();
    const int nFile = FILE_Open(pName, "ab");
    if (nFile < 0)
        ThrowException(ERROR_APPEND, __LINE__, SOURCE_FILE, "Could not open file for appending.");

    const std::int64_t nLength = System::SeekFile(nFile, 0, SEEK_END) ? System::TellFile(nFile) : -1;
    if (nLength < 0 || nLength > MAX_FILE_SIZE)
    {
        FILE_Close(nFile);
        ThrowException(ERROR_APPEND, __LINE__, SOURCE_FILE, "Could not open file for appending.");
    }

    oInfo.m_nStart = 0;
    oInfo.m_nSize = oInfo.m_nPosition = static_cast<std::uint32_t>(nLength);
    oInfo.m_nFile.store(nFile, std::memory_order_release);
    return GetHandleForFile(&oInfo);
}

bool CExtendedFileSystem::CloseFile(unsigned long nHandle)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    FILE_Close(oInfo.m_nFile.load(std::memory_order_relaxed));
    oInfo.m_nFile.store(sFileInfo::FREE, std::memory_order_release);
    return true;
}

unsigned long CExtendedFileSystem::ReadFile(unsigned long nHandle, void* pTarget, unsigned long nCount)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    if (nCount == 0)
        ThrowException(ERROR_HANDLE, __LINE__, SOURCE_FILE, MESSAGE_HANDLE);

    const std::uint32_t nLeft = oInfo.m_nSize - oInfo.m_nPosition;
    if (nLeft == 0)
        return 0;

    const std::uint32_t nWanted = nCount < nLeft ? static_cast<std::uint32_t>(nCount) : nLeft;
    if (FILE_Read(oInfo.m_nFile.load(std::memory_order_relaxed), pTarget, 1, nWanted) != nWanted)
        FailRead(oInfo, __LINE__);

    oInfo.m_nPosition += nWanted;
    return nWanted;
}

unsigned long CExtendedFileSystem::WriteFile(unsigned long nHandle, const void* pSource, unsigned long nCount)
{
    if (nCount == 0)
        return 1;

    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    if (nCount > static_cast<std::uint64_t>(MAX_FILE_SIZE - oInfo.m_nPosition))
        FailWrite(oInfo, __LINE__);

    const auto nBytes = static_cast<std::uint32_t>(nCount);
    if (FILE_Write(oInfo.m_nFile.load(std::memory_order_relaxed), pSource, 1, nBytes) != nBytes)
        FailWrite(oInfo, __LINE__);

    AdvanceAfterWrite(oInfo, nBytes);
    return nCount;
}

// The lowest byte of a number is its first: the library is little-endian throughout.

bool CExtendedFileSystem::ReadChar(unsigned long nHandle, int& nCharacter)
{
    return ReadFile(nHandle, &nCharacter, 1) == 1;
}

bool CExtendedFileSystem::WriteFile(unsigned long nHandle, int nCharacter)
{
    return WriteFile(nHandle, &nCharacter, 1) == 1;
}

bool CExtendedFileSystem::ReadLine(unsigned long nHandle, char* pTarget, unsigned long nSize)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    if (nSize == 0)
        ThrowException(ERROR_HANDLE, __LINE__, SOURCE_FILE, MESSAGE_HANDLE);

    // The stream itself, since a byte that was looked at is put back there for nothing, and with a seek for much.
    std::FILE* const pStream = System::GetStream(oInfo.m_nFile.load(std::memory_order_relaxed));
    const std::uint32_t nLeft = oInfo.m_nSize - oInfo.m_nPosition;
    const std::uint32_t nLimit = nSize > nLeft ? nLeft : static_cast<std::uint32_t>(nSize - 1);

    std::uint32_t nRead = 0;
    std::uint32_t nLength = 0;
    while (nLength < nLimit)
    {
        const int nNext = ReadByte(pStream);
        if (nNext == EOF)
            FailRead(oInfo, __LINE__);

        ++nRead;
        if (IsLineEnd(nNext))
            break;
        pTarget[nLength++] = static_cast<char>(nNext);
    }
    pTarget[nLength] = '\0';

    if (nLeft - nRead > 1)
    {
        const int nNext = ReadByte(pStream);
        if (nNext == EOF)
            FailRead(oInfo, __LINE__);

        if (IsLineEnd(nNext))
            ++nRead;
        else if (std::ungetc(nNext, pStream) == EOF)
            FailRead(oInfo, __LINE__);
    }
    oInfo.m_nPosition += nRead;
    return true;
}

bool CExtendedFileSystem::WriteLine(unsigned long nHandle, const char* pText)
{
    const sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    if (pText == nullptr)
        FailWrite(oInfo, __LINE__);

    // Written as bytes, because only their number tells whether all of the text was taken.
    const std::size_t nLength = std::strlen(pText);
    if (nLength != 0)
        WriteFile(nHandle, pText, static_cast<unsigned long>(nLength));
    return true;
}

bool CExtendedFileSystem::Printf(unsigned long nHandle, const char* pFormat, ...)
{
    // The list must be ended on every way out.
    struct sEnd
    {
        va_list& pArguments;

        ~sEnd() { va_end(pArguments); }
    };

    va_list pArguments;
    va_start(pArguments, pFormat);
    const sEnd oEnd{pArguments};
    return VPrintf(nHandle, pFormat, pArguments);
}

bool CExtendedFileSystem::VPrintf(unsigned long nHandle, const char* pFormat, va_list pArguments)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    const int nWritten = FILE_Vprintf(oInfo.m_nFile.load(std::memory_order_relaxed), pFormat, pArguments);
    if (nWritten <= 0 || nWritten > MAX_FILE_SIZE - oInfo.m_nPosition)
        FailWrite(oInfo, __LINE__);

    AdvanceAfterWrite(oInfo, static_cast<std::uint32_t>(nWritten));
    return true;
}

bool CExtendedFileSystem::Flush(unsigned long nHandle)
{
    return FILE_Flush(RequireFile(nHandle, __LINE__).m_nFile.load(std::memory_order_relaxed)) == 1;
}

bool CExtendedFileSystem::Seek(unsigned long nHandle, unsigned long nPosition)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    const bool bInside = nPosition <= oInfo.m_nSize;
    return SeekTo(oInfo, bInside ? static_cast<std::int64_t>(nPosition) : OUTSIDE, __LINE__);
}

bool CExtendedFileSystem::SeekCurrent(unsigned long nHandle, long nDelta)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    const std::int64_t nPosition = oInfo.m_nPosition;
    const bool bInside = nDelta >= -nPosition && nDelta <= oInfo.m_nSize - nPosition;
    return SeekTo(oInfo, bInside ? nPosition + nDelta : OUTSIDE, __LINE__);
}

bool CExtendedFileSystem::SeekEnd(unsigned long nHandle, unsigned long nBack)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    const bool bInside = nBack <= oInfo.m_nSize;
    return SeekTo(oInfo, bInside ? oInfo.m_nSize - static_cast<std::int64_t>(nBack) : OUTSIDE, __LINE__);
}

bool CExtendedFileSystem::Rewind(unsigned long nHandle)
{
    return Seek(nHandle, 0);
}

unsigned long CExtendedFileSystem::Tell(unsigned long nHandle) const
{
    return RequireFile(nHandle, __LINE__).m_nPosition;
}

unsigned long CExtendedFileSystem::GetFileSize(unsigned long nHandle) const
{
    return RequireFile(nHandle, __LINE__).m_nSize;
}

bool CExtendedFileSystem::IsEof(unsigned long nHandle) const
{
    const sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    return oInfo.m_nPosition == oInfo.m_nSize;
}

bool CExtendedFileSystem::IsFileOpen(unsigned long nHandle) const
{
    const sFileInfo* const pInfo = GetFileForHandle(nHandle);
    return pInfo != nullptr && pInfo->m_nFile.load(std::memory_order_acquire) != sFileInfo::FREE;
}

bool CExtendedFileSystem::FileExists(const char* pName) const
{
    if (pName == nullptr)
        return false;

    // Looking takes a slot for a moment and may register an archive; for the caller nothing has changed.
    auto& oSelf = const_cast<CExtendedFileSystem&>(*this);

    const CLockGuard oGuard(m_oLock);
    if (oSelf.ProbeFile(pName))
        return true;
    return !m_aRoots.empty() && oSelf.ProbeFile(~JoinRoot(m_aRoots.front(), pName));
}

void CExtendedFileSystem::AddCallback(Callback pCallback, unsigned long nUserValue)
{
    if (pCallback != nullptr)
        m_aCallbacks.push_back({pCallback, nUserValue});
}

void CExtendedFileSystem::RemoveCallback(Callback pCallback)
{
    const auto oFound = std::find_if(m_aCallbacks.begin(), m_aCallbacks.end(),
                                     [pCallback](const sCallback& oEach) { return oEach.m_pFunction == pCallback; });
    if (oFound != m_aCallbacks.end())
        m_aCallbacks.erase(oFound);
}

long CExtendedFileSystem::GetCallbackCount() const
{
    return static_cast<long>(m_aCallbacks.size());
}

bool CExtendedFileSystem::HasCallbacks() const
{
    return !m_aCallbacks.empty();
}

sFileInfo* CExtendedFileSystem::AllocFileInfo()
{
    for (sFileInfo& oInfo : m_aFiles)
    {
        if (oInfo.m_nFile.load(std::memory_order_acquire) == sFileInfo::FREE)
            return &oInfo;
    }
    return nullptr;
}

sFileInfo& CExtendedFileSystem::RequireFreeSlot()
{
    sFileInfo* const pInfo = AllocFileInfo();
    if (pInfo == nullptr)
        ThrowException(ERROR_TOO_MANY_FILES, __LINE__, SOURCE_FILE, "Too many open files.");
    return *pInfo;
}

sFileInfo* CExtendedFileSystem::GetFileForHandle(unsigned long nHandle)
{
    return const_cast<sFileInfo*>(std::as_const(*this).GetFileForHandle(nHandle));
}

const sFileInfo* CExtendedFileSystem::GetFileForHandle(unsigned long nHandle) const
{
    return nHandle - 1 < MAX_FILES ? &m_aFiles[nHandle - 1] : nullptr;
}

unsigned long CExtendedFileSystem::GetHandleForFile(const sFileInfo* pInfo) const
{
    return pInfo != nullptr ? static_cast<unsigned long>(pInfo - m_aFiles.data()) + 1 : 0;
}

sFileInfo& CExtendedFileSystem::RequireFile(unsigned long nHandle, unsigned long nLine)
{
    return const_cast<sFileInfo&>(std::as_const(*this).RequireFile(nHandle, nLine));
}

const sFileInfo& CExtendedFileSystem::RequireFile(unsigned long nHandle, unsigned long nLine) const
{
    if (!IsFileOpen(nHandle))
        ThrowException(ERROR_HANDLE, nLine, SOURCE_FILE, MESSAGE_HANDLE);
    return *GetFileForHandle(nHandle);
}

unsigned long CExtendedFileSystem::ArchiveFileOpen(const char* pPath)
{
    sFileInfo* const pInfo = pPath != nullptr ? AllocFileInfo() : nullptr;
    if (pInfo == nullptr)
        return 0;

    switch (OpenPlainFile(pPath, *pInfo))
    {
    case ePlainFile::Opened:
        return GetHandleForFile(pInfo);
    case ePlainFile::TooLarge:
        ThrowException(ERROR_OPEN, __LINE__, SOURCE_FILE, "Could not open file.");
    case ePlainFile::Missing:
        break;
    }
    return OpenArchiveEntry(pPath, *pInfo) ? GetHandleForFile(pInfo) : 0;
}

CExtendedFileSystem::ePlainFile CExtendedFileSystem::OpenPlainFile(const char* pPath, sFileInfo& oInfo)
{
    const int nFile = FILE_Open(pPath, "rb");
    if (nFile < 0)
        return ePlainFile::Missing;

    const std::int64_t nLength = System::GetFileLength(nFile);
    if (nLength < 0 || nLength > MAX_FILE_SIZE)
    {
        FILE_Close(nFile);
        return nLength < 0 ? ePlainFile::Missing : ePlainFile::TooLarge;
    }

    oInfo.m_nStart = oInfo.m_nPosition = 0;
    oInfo.m_nSize = static_cast<std::uint32_t>(nLength);
    oInfo.m_nFile.store(nFile, std::memory_order_release);
    return ePlainFile::Opened;
}

bool CExtendedFileSystem::ProbeFile(const char* pPath)
{
    sFileInfo* const pInfo = AllocFileInfo();
    if (pInfo == nullptr)
        return false;

    const ePlainFile ePlain = OpenPlainFile(pPath, *pInfo);
    if (ePlain == ePlainFile::TooLarge)
        return true;
    return (ePlain == ePlainFile::Opened || OpenArchiveEntry(pPath, *pInfo)) && CloseFile(GetHandleForFile(pInfo));
}

CVQString CExtendedFileSystem::JoinRoot(const CVQString& sRoot, const char* pName)
{
    CVQPath oPath(sRoot);
    oPath.Append(pName);
    oPath.MakeBackwardslashes();
    return oPath;
}

void CExtendedFileSystem::AdvanceAfterWrite(sFileInfo& oInfo, std::uint32_t nCount)
{
    oInfo.m_nPosition += nCount;
    oInfo.m_nSize = std::max(oInfo.m_nSize, oInfo.m_nPosition);
}

bool CExtendedFileSystem::SeekTo(sFileInfo& oInfo, std::int64_t nTarget, unsigned long nLine)
{
    if (nTarget == OUTSIDE || !MovePointer(oInfo, nTarget))
        ThrowException(ERROR_SEEK, nLine, SOURCE_FILE, "Error trying to set the file pointer.");

    oInfo.m_nPosition = static_cast<std::uint32_t>(nTarget);
    return true;
}

void CExtendedFileSystem::FailRead(const sFileInfo& oInfo, unsigned long nLine) const
{
    MovePointer(oInfo, oInfo.m_nPosition);
    ThrowException(ERROR_READ, nLine, SOURCE_FILE, "Error reading from file.");
}

void CExtendedFileSystem::FailWrite(const sFileInfo& oInfo, unsigned long nLine) const
{
    MovePointer(oInfo, oInfo.m_nPosition);
    ThrowException(ERROR_WRITE, nLine, SOURCE_FILE, "Error writing to file.");
}

const char* CExtendedFileSystem::FindFiles(const char* pPattern, bool* pIsDirectory, unsigned long* pSize)
{
    // The search closes itself at its end.
    static System::CDirectorySearch s_oSearch;

    if (pPattern != nullptr && !s_oSearch.Start(pPattern))
        return nullptr;

    const char* const pName = s_oSearch.Next();
    if (pName == nullptr)
        return nullptr;

    if (pIsDirectory != nullptr)
        *pIsDirectory = s_oSearch.IsDirectory();
    if (pSize != nullptr)
        *pSize = static_cast<unsigned long>(std::min<std::uint64_t>(s_oSearch.GetSize(), MAX_FILE_SIZE));
    return pName;
}

void CExtendedFileSystem::Notify(int nEvent, unsigned long nArgument1, unsigned long nArgument2)
{
    // By index: a callback may add and remove callbacks.
    for (std::size_t i = 0; i < m_aCallbacks.size(); ++i)
    {
        const sCallback oCallback = m_aCallbacks[i];
        if (oCallback.m_pFunction != nullptr)
            oCallback.m_pFunction(nEvent, nArgument1, nArgument2, oCallback.m_nUserValue);
    }
}

void CExtendedFileSystem::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                         const char* pMessage) const
{
    throw CXfsException(nCode, nLine, pFile, pMessage);
}
