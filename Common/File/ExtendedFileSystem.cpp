#include <Common/Debug/XfsException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/ExtendedFileSystemErrors.h>
#include <Common/File/FileBuffer.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformString.h>
#include <Common/Platform/System/FileHandle.h>
#include <Common/Platform/System/SystemFile.h>
#include <Common/Platform/System/SystemProcess.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <utility>

namespace
{
// Positions and sizes of files are 32 bits wide.
constexpr std::uint32_t MAX_FILE_SIZE = std::numeric_limits<std::uint32_t>::max();

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

bool IsLineEnd(char cCharacter)
{
    return cCharacter == '\r' || cCharacter == '\n';
}

// Where the first line end stands; the size of the bytes when there is none.
std::size_t FindLineEnd(std::span<const char> aBytes)
{
    for (const char cLineEnd : {'\n', '\r'})
    {
        if (const void* const pFound = std::memchr(aBytes.data(), cLineEnd, aBytes.size()))
            aBytes = aBytes.first(static_cast<std::size_t>(static_cast<const char*>(pFound) - aBytes.data()));
    }
    return aBytes.size();
}

// Where a position of a file lies in its physical file.
std::uint64_t OffsetOf(const sFileInfo& oInfo)
{
    return std::uint64_t{oInfo.m_nStart} + oInfo.m_nPosition;
}

// The physical file of a slot that is in use, for the thread that uses it.
int FileOf(const sFileInfo& oInfo)
{
    return oInfo.m_nFile.load(std::memory_order_relaxed);
}

/// The path of a name below a root, with backslashes: what CVQPath::Append() and MakeBackwardslashes() make of it, in
/// one buffer for all roots. No multi-byte character holds a slash.
class CRootedPath
{
public:
    explicit CRootedPath(const char* pName) : m_sName(pName)
    {
        std::replace(m_sName.begin(), m_sName.end(), '/', '\\');
    }

    const char* Below(const CVQString& sRoot)
    {
        m_sPath.assign(~sRoot, static_cast<std::size_t>(sRoot.GetLength()));
        std::replace(m_sPath.begin(), m_sPath.end(), '/', '\\');
        if (m_sPath.back() != '\\')
            m_sPath += '\\';
        m_sPath += m_sName;
        return m_sPath.c_str();
    }

private:
    std::string m_sName;
    std::string m_sPath;
};
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

CExtendedFileSystem::CExtendedFileSystem()
    : m_oRootArchive{}, m_aArchives{}, m_bSetup(false), m_pBuffers(new CFileBuffer[MAX_FILES]),
      m_pTables(new std::vector<std::shared_ptr<sArchiveEntry>>)
{
    m_pTables->reserve(MAX_ARCHIVES);

    if (this == &__m_oInstance)
        System::HoldWhileCopied([] { __m_oInstance.m_oLock.Enter(); }, [] { __m_oInstance.m_oLock.Leave(); });
}

// The two locks are no part of what is copied: closing a copy's would close the original's.

CExtendedFileSystem::CExtendedFileSystem(const CExtendedFileSystem& oOther) : CExtendedFileSystem()
{
    *this = oOther;
}

CExtendedFileSystem& CExtendedFileSystem::operator=(const CExtendedFileSystem& oOther)
{
    if (this == &oOther)
        return *this;

    // Always in the same order, so that two that copy each other do not wait for ever.
    const bool bThisFirst = std::less<>()(this, &oOther);
    const CLockGuard oFirst(bThisFirst ? m_oLock : oOther.m_oLock);
    const CLockGuard oSecond(bThisFirst ? oOther.m_oLock : m_oLock);

    m_aRoots = oOther.m_aRoots;
    ShareArchives(oOther);
    m_bSetup = oOther.m_bSetup.load();
    m_aCallbacks = oOther.m_aCallbacks;
    ShareFiles(oOther);
    return *this;
}

CExtendedFileSystem::~CExtendedFileSystem()
{
    // Nobody is left to close them, but what was written shall reach them.
    for (const sFileInfo& oInfo : m_aFiles)
    {
        if (FileOf(oInfo) != sFileInfo::FREE)
            BufferOf(oInfo).Flush(FileOf(oInfo));
    }

    // Threads that still run while the process ends may go on with their files and archives.
    if (this != &__m_oInstance)
    {
        delete[] m_pBuffers;
        delete m_pTables;
    }
}

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

    // Thrown here, because names that are missing are an everyday matter and each call on the way out costs time.
    const unsigned long nHandle = SearchFile(pName);
    if (nHandle == 0)
        throw CXfsException(XfsError::NOT_FOUND, __LINE__, XfsError::SOURCE_FILE, "File not found.");
    return nHandle;
}

unsigned long CExtendedFileSystem::CreateFile(const char* pName)
{
    if (pName == nullptr)
        return 0;

    const CLockGuard oGuard(m_oLock);
    sFileInfo& oInfo = RequireFreeSlot();
    System::sFileStatus oStatus;
    const int nFile = System::OpenUnbuffered(pName, "wb", oStatus);
    if (nFile < 0)
        ThrowException(XfsError::CREATE, __LINE__, XfsError::SOURCE_FILE, "Could not create file for writing.");

    return OccupySlot(oInfo, nFile, true, 0, 0, 0);
}

unsigned long CExtendedFileSystem::AppendFile(const char* pName)
{
    if (pName == nullptr)
        return 0;

    const CLockGuard oGuard(m_oLock);
    sFileInfo& oInfo = RequireFreeSlot();
    System::sFileStatus oStatus;
    const int nFile = System::OpenUnbuffered(pName, "ab", oStatus);
    if (nFile < 0)
        ThrowException(XfsError::APPEND, __LINE__, XfsError::SOURCE_FILE, "Could not open file for appending.");

    // What is written goes to the end of a file wherever its pointer stands; a device may have no end to go to.
    auto nLength = static_cast<std::int64_t>(oStatus.nSize);
    if (oStatus.eKind != System::eFileKind::File)
        nLength = System::SeekFile(nFile, 0, SEEK_END) ? System::TellFile(nFile) : -1;
    if (nLength < 0 || nLength > MAX_FILE_SIZE)
    {
        FILE_Close(nFile);
        ThrowException(XfsError::APPEND, __LINE__, XfsError::SOURCE_FILE, "Could not open file for appending.");
    }

    return OccupySlot(oInfo, nFile, true, 0, static_cast<std::uint32_t>(nLength), static_cast<std::uint32_t>(nLength));
}

bool CExtendedFileSystem::CloseFile(unsigned long nHandle)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    BufferOf(oInfo).Flush(FileOf(oInfo));
    FILE_Close(FileOf(oInfo));
    oInfo.m_nFile.store(sFileInfo::FREE, std::memory_order_release);
    return true;
}

unsigned long CExtendedFileSystem::ReadFile(unsigned long nHandle, void* pTarget, unsigned long nCount)
{
    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    if (nCount == 0)
        ThrowException(XfsError::HANDLE, __LINE__, XfsError::SOURCE_FILE, MESSAGE_HANDLE);

    const std::uint32_t nLeft = oInfo.m_nSize - oInfo.m_nPosition;
    if (nLeft == 0)
        return 0;

    const std::uint32_t nWanted = nCount < nLeft ? static_cast<std::uint32_t>(nCount) : nLeft;
    if (!BufferOf(oInfo).Read(FileOf(oInfo), OffsetOf(oInfo), pTarget, nWanted, nLeft))
        FailRead(__LINE__);

    oInfo.m_nPosition += nWanted;
    return nWanted;
}

unsigned long CExtendedFileSystem::WriteFile(unsigned long nHandle, const void* pSource, unsigned long nCount)
{
    if (nCount == 0)
        return 1;

    sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    const auto nBytes = static_cast<std::uint32_t>(nCount);
    if (nCount > static_cast<std::uint64_t>(MAX_FILE_SIZE - oInfo.m_nPosition) ||
        !BufferOf(oInfo).Write(FileOf(oInfo), OffsetOf(oInfo), pSource, nBytes))
        FailWrite(__LINE__);

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
        ThrowException(XfsError::HANDLE, __LINE__, XfsError::SOURCE_FILE, MESSAGE_HANDLE);

    CFileBuffer& oBuffer = BufferOf(oInfo);
    const std::uint64_t nOffset = OffsetOf(oInfo);
    const std::uint32_t nLeft = oInfo.m_nSize - oInfo.m_nPosition;
    const std::uint32_t nLimit = nSize > nLeft ? nLeft : static_cast<std::uint32_t>(nSize - 1);

    std::uint32_t nLength = 0;
    std::uint32_t nRead = 0;
    while (nRead == nLength && nLength < nLimit)
    {
        const std::span<const char> aReady = oBuffer.Peek(FileOf(oInfo), nOffset + nLength, nLeft - nLength);
        if (aReady.empty())
            FailRead(__LINE__);

        const auto aUsable = aReady.first(std::min<std::size_t>(aReady.size(), nLimit - nLength));
        const std::size_t nFound = FindLineEnd(aUsable);
        std::memcpy(pTarget + nLength, aUsable.data(), nFound);
        nLength += static_cast<std::uint32_t>(nFound);
        nRead = nLength + (nFound < aUsable.size() ? 1U : 0U);
    }
    pTarget[nLength] = '\0';

    // The byte behind it belongs to the line if it is a line end, and is left alone if it is the file's last.
    if (nLeft - nRead > 1)
    {
        const std::span<const char> aReady = oBuffer.Peek(FileOf(oInfo), nOffset + nRead, nLeft - nRead);
        if (aReady.empty())
            FailRead(__LINE__);
        nRead += IsLineEnd(aReady.front()) ? 1U : 0U;
    }
    oInfo.m_nPosition += nRead;
    return true;
}

bool CExtendedFileSystem::WriteLine(unsigned long nHandle, const char* pText)
{
    RequireFile(nHandle, __LINE__);
    if (pText == nullptr)
        FailWrite(__LINE__);

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
    RequireFile(nHandle, __LINE__);

    // Formatted first and written as a whole, so that a failure leaves nothing behind.
    char aShort[1024];
    std::string sLong;
    const char* pText = aShort;
    va_list pAgain;
    va_copy(pAgain, pArguments);
    const int nLength = std::vsnprintf(aShort, sizeof aShort, pFormat, pArguments);
    if (nLength >= static_cast<int>(sizeof aShort))
    {
        sLong.resize(static_cast<std::size_t>(nLength));
        std::vsnprintf(sLong.data(), sLong.size() + 1, pFormat, pAgain);
        pText = sLong.c_str();
    }
    va_end(pAgain);

    if (nLength <= 0)
        FailWrite(__LINE__);
    WriteFile(nHandle, pText, static_cast<unsigned long>(nLength));
    return true;
}

bool CExtendedFileSystem::Flush(unsigned long nHandle)
{
    const sFileInfo& oInfo = RequireFile(nHandle, __LINE__);
    return BufferOf(oInfo).Flush(FileOf(oInfo)) && FILE_Flush(FileOf(oInfo)) == 1;
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
    const System::CPathSearch oSearch;
    if (oSelf.ProbeFile(pName))
        return true;
    return !m_aRoots.empty() && oSelf.ProbeFile(CRootedPath(pName).Below(m_aRoots.front()));
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
        ThrowException(XfsError::TOO_MANY_FILES, __LINE__, XfsError::SOURCE_FILE, "Too many open files.");
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
        ThrowException(XfsError::HANDLE, nLine, XfsError::SOURCE_FILE, MESSAGE_HANDLE);
    return *GetFileForHandle(nHandle);
}

unsigned long CExtendedFileSystem::SearchFile(const char* pName)
{
    const CLockGuard oGuard(m_oLock);
    const System::CPathSearch oSearch;
    if (const unsigned long nHandle = ArchiveFileOpen(pName); nHandle != 0)
        return nHandle;

    CRootedPath oPath(pName);
    for (const CVQString& sRoot : m_aRoots)
    {
        if (const unsigned long nHandle = ArchiveFileOpen(oPath.Below(sRoot)); nHandle != 0)
            return nHandle;
    }
    return 0;
}

unsigned long CExtendedFileSystem::ArchiveFileOpen(const char* pPath)
{
    sFileInfo* const pInfo = pPath != nullptr ? AllocFileInfo() : nullptr;
    if (pInfo == nullptr)
        return 0;

    int nFile = 0;
    std::uint32_t nSize = 0;
    switch (OpenPlainFile(pPath, nFile, nSize))
    {
    case ePlainFile::Opened:
        return OccupySlot(*pInfo, nFile, false, 0, nSize, 0);
    case ePlainFile::TooLarge:
        ThrowException(XfsError::OPEN, __LINE__, XfsError::SOURCE_FILE, "Could not open file.");
    case ePlainFile::Missing:
        break;
    }
    return OpenArchiveEntry(pPath, *pInfo) ? GetHandleForFile(pInfo) : 0;
}

CExtendedFileSystem::ePlainFile CExtendedFileSystem::OpenPlainFile(const char* pPath, int& nFile, std::uint32_t& nSize)
{
    System::sFileStatus oStatus;
    nFile = System::OpenUnbuffered(pPath, "rb", oStatus);
    if (nFile < 0)
        return ePlainFile::Missing;

    if (oStatus.nSize > MAX_FILE_SIZE)
    {
        FILE_Close(nFile);
        return oStatus.nSize == System::NO_SIZE ? ePlainFile::Missing : ePlainFile::TooLarge;
    }
    nSize = static_cast<std::uint32_t>(oStatus.nSize);
    return ePlainFile::Opened;
}

bool CExtendedFileSystem::ProbeFile(const char* pPath)
{
    sFileInfo* const pInfo = AllocFileInfo();
    if (pInfo == nullptr)
        return false;

    int nFile = 0;
    std::uint32_t nSize = 0;
    switch (OpenPlainFile(pPath, nFile, nSize))
    {
    case ePlainFile::Opened:
        FILE_Close(nFile);
        return true;
    case ePlainFile::TooLarge:
        return true;
    case ePlainFile::Missing:
        break;
    }
    return OpenArchiveEntry(pPath, *pInfo) && CloseFile(GetHandleForFile(pInfo));
}

CFileBuffer& CExtendedFileSystem::BufferOf(const sFileInfo& oInfo) const
{
    return m_pBuffers[static_cast<std::size_t>(&oInfo - m_aFiles.data())];
}

unsigned long CExtendedFileSystem::OccupySlot(sFileInfo& oInfo, int nFile, bool bWritable, std::uint32_t nStart,
                                              std::uint32_t nSize, std::uint32_t nPosition)
{
    BufferOf(oInfo).Attach(bWritable, nPosition);
    oInfo.m_nStart = nStart;
    oInfo.m_nSize = nSize;
    oInfo.m_nPosition = nPosition;
    oInfo.m_nFile.store(nFile, std::memory_order_release);
    return GetHandleForFile(&oInfo);
}

void CExtendedFileSystem::ShareFiles(const CExtendedFileSystem& oOther)
{
    for (std::size_t i = 0; i < MAX_FILES; ++i)
    {
        // The own file is left behind without being closed, but what was written shall reach it.
        if (FileOf(m_aFiles[i]) != sFileInfo::FREE)
            m_pBuffers[i].Flush(FileOf(m_aFiles[i]));

        const sFileInfo& oSource = oOther.m_aFiles[i];
        if (FileOf(oSource) != sFileInfo::FREE)
        {
            oOther.BufferOf(oSource).Flush(FileOf(oSource));
            m_pBuffers[i].Share(oOther.BufferOf(oSource));
        }
        m_aFiles[i] = oSource;
    }
}

void CExtendedFileSystem::ShareArchives(const CExtendedFileSystem& oOther)
{
    m_oRootArchive = oOther.m_oRootArchive;
    m_aArchives = oOther.m_aArchives;
    *m_pTables = *oOther.m_pTables;

    // The nodes lead to each other within the pool: here they shall lead to the nodes at the same places of this one.
    const auto* const pOldPool = reinterpret_cast<const char*>(oOther.m_aArchives.data());
    auto* const pNewPool = reinterpret_cast<char*>(m_aArchives.data());
    const auto Rebase = [=]<typename tTarget>(tTarget*& pTarget)
    {
        if (pTarget != nullptr)
            pTarget = reinterpret_cast<tTarget*>(pNewPool + (reinterpret_cast<const char*>(pTarget) - pOldPool));
    };

    Rebase(m_oRootArchive.m_pFirstChild);
    for (sArchiveInfo& oInfo : m_aArchives)
    {
        Rebase(oInfo.m_pFirstChild);
        Rebase(oInfo.m_pNextSibling);
        Rebase(oInfo.m_pPhysicalPath);
    }
}

void CExtendedFileSystem::AdvanceAfterWrite(sFileInfo& oInfo, std::uint32_t nCount)
{
    oInfo.m_nPosition += nCount;
    oInfo.m_nSize = std::max(oInfo.m_nSize, oInfo.m_nPosition);
}

bool CExtendedFileSystem::SeekTo(sFileInfo& oInfo, std::int64_t nTarget, unsigned long nLine) const
{
    if (nTarget == OUTSIDE)
        ThrowException(XfsError::SEEK, nLine, XfsError::SOURCE_FILE, "Error trying to set the file pointer.");

    // The physical pointer follows with the next transfer.
    oInfo.m_nPosition = static_cast<std::uint32_t>(nTarget);
    return true;
}

void CExtendedFileSystem::FailRead(unsigned long nLine) const
{
    ThrowException(XfsError::READ, nLine, XfsError::SOURCE_FILE, "Error reading from file.");
}

void CExtendedFileSystem::FailWrite(unsigned long nLine) const
{
    ThrowException(XfsError::WRITE, nLine, XfsError::SOURCE_FILE, "Error writing to file.");
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
    // NOLINTNEXTLINE(modernize-loop-convert)
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
