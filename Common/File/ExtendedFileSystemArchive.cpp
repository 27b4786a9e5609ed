// The archive half of CExtendedFileSystem: finding entries of archives, packing and unpacking.

#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/ExtendedFileSystemErrors.h>

#include <Common/Debug/XfsException.h>
#include <Common/File/ArchiveReader.h>
#include <Common/Platform/PlatformDirectory.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformString.h>
#include <Common/Platform/System/FileHandle.h>
#include <Common/Platform/System/SystemFile.h>
#include <Common/Platform/System/SystemMemory.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ArchiveDetail
{
std::shared_ptr<sArchiveEntry> ShareTable(sArchiveEntry* pEntries);
} // namespace ArchiveDetail

namespace
{
constexpr int EVENT_FILE_STORED = 1;
constexpr int EVENT_FILE_EXTRACTED = 2;
constexpr int EVENT_DIRECTORY_CREATED = 3;
constexpr int EVENT_NAME_COUNTED = 4;

constexpr int NO_FILE = -1;

constexpr const char* ARCHIVE_EXTENSION = ".arc";

// Everything in an archive is told in 32 bits.
constexpr std::uint64_t MAXIMUM_ARCHIVE_SIZE = std::numeric_limits<std::uint32_t>::max();

// Files are copied through a buffer of this size; many small ones go in one write and come in one read. Larger ones
// leave the caches of the processor and make the system look for larger pieces of free memory: twice as slow.
constexpr std::size_t BUFFER_SIZE = std::size_t{1} << 16;

// Deeper trees are refused: hardly a path leads to their ends.
constexpr std::size_t MAXIMUM_DEPTH = 1000;

// Nodes that all copies of the file system have registered; it only grows.
std::atomic<std::size_t> s_nRegisteredNodes = 0;

const char* GetMessage(unsigned long nCode)
{
    switch (nCode)
    {
    case XfsError::CREATE:
        return "Could not create file for writing.";
    case XfsError::READ:
        return "Error reading from file.";
    case XfsError::WRITE:
        return "Error writing to file.";
    case XfsError::OPEN:
        return "Could not open file.";
    case XfsError::HEADER:
        return "Unable to write archive header.";
    case XfsError::TABLE:
        return "Error writing archive directory.";
    case XfsError::VERSION:
        return "Incorrect archive version.";
    default:
        return "Could not change the directory. The directory does probably not exist.";
    }
}

[[noreturn]] void Fail(unsigned long nCode, unsigned long nLine)
{
    throw CXfsException(nCode, nLine, XfsError::SOURCE_FILE, GetMessage(nCode));
}

// Throws what a result of the reader means here; Ok passes.
void Require(eArchiveResult nResult, unsigned long nLine)
{
    if (nResult == eArchiveResult::WrongVersion)
        Fail(XfsError::VERSION, nLine);
    if (nResult != eArchiveResult::Ok)
        Fail(XfsError::READ, nLine);
}

// How many bytes of a path stand before its last name.
std::size_t GetDirectoryLength(std::string_view sPath)
{
    std::size_t nName = sPath.size() > 1 && sPath[1] == ':' ? 2 : 0;
    for (std::size_t i = nName; i < sPath.size(); ++i)
    {
        if (sPath[i] == '/' || sPath[i] == '\\')
            nName = i + 1;
        else if (System::IsPathLeadByte(static_cast<unsigned char>(sPath[i])))
            ++i;
    }
    return nName;
}

/// A path taken apart: what stands before the last name, that name without its extension, and the extension.
struct sSplitPath
{
    explicit sSplitPath(std::string_view sPath)
    {
        const std::size_t nName = GetDirectoryLength(sPath);
        std::size_t nDot = sPath.size();
        for (std::size_t i = nName; i < sPath.size(); ++i)
        {
            if (System::IsPathLeadByte(static_cast<unsigned char>(sPath[i])))
                ++i;
            else if (sPath[i] == '.')
                nDot = i;
        }
        m_sDirectory = sPath.substr(0, nName);
        m_sName = sPath.substr(nName, nDot - nName);
        m_sExtension = sPath.substr(nDot);
    }

    std::string m_sDirectory;
    std::string m_sName;
    std::string m_sExtension;
};

/// The directory that a caller names as source or destination: a parent to change to, and a name below it.
///
/// The name loses its extension. Kept: callers rely on it; who means a directory with a dot in its name puts a
/// separator behind it, and the name is then empty. "." and ".." have no extension.
struct sNamedDirectory
{
    explicit sNamedDirectory(const char* pPath)
    {
        const sSplitPath oPath(pPath != nullptr ? pPath : "");
        const std::string sLast = oPath.m_sName + oPath.m_sExtension;
        const bool bDots = sLast == "." || sLast == "..";
        m_sParent = bDots ? oPath.m_sDirectory + sLast : oPath.m_sDirectory;
        m_sName = bDots ? std::string() : oPath.m_sName;
        m_bExists = pPath != nullptr && (bDots || !m_sName.empty() || oPath.m_sExtension.empty());
    }

    std::string m_sParent; ///< "" for the current directory
    std::string m_sName;   ///< "" for the parent itself
    bool m_bExists;        ///< false when nothing can have this name: ".git" without its extension is ""
};

std::string AddArchiveExtension(const char* pArchive)
{
    std::string sName(pArchive);
    if (STR_stricmp(sSplitPath(sName).m_sExtension.c_str(), ARCHIVE_EXTENSION) != 0)
        sName += ARCHIVE_EXTENSION;
    return sName;
}

/// Comes back to the current directory of its construction, at the latest at its end.
class CDirectoryReturn
{
public:
    CDirectoryReturn() = default;

    ~CDirectoryReturn() { m_oMark.Return(); }

    CDirectoryReturn(const CDirectoryReturn&) = delete;
    CDirectoryReturn& operator=(const CDirectoryReturn&) = delete;

    bool IsValid() const { return m_oMark.IsValid(); }

    bool Return() const { return m_oMark.Return(); }

private:
    System::CDirectoryMark m_oMark;
};

/// A handle of a file that closes itself.
class CFileHandle
{
public:
    // What is read and written here comes in large pieces: a buffer of the stream's own is only another copy.
    CFileHandle(const char* pPath, const char* pMode) : m_nFile(System::OpenUnbuffered(pPath, pMode, m_oStatus)) {}

    ~CFileHandle() { Close(); }

    CFileHandle(const CFileHandle&) = delete;
    CFileHandle& operator=(const CFileHandle&) = delete;

    bool IsOpened() const { return m_nFile != NO_FILE; }

    int Get() const { return m_nFile; }

    /// What it was when it was opened.
    const System::sFileStatus& GetStatus() const { return m_oStatus; }

    bool Close() { return m_nFile == NO_FILE || FILE_Close(std::exchange(m_nFile, NO_FILE)) == 1; }

private:
    System::sFileStatus m_oStatus{};
    int m_nFile;
};

/// The text record of a notification: fields of 260 bytes, each text terminated within its own.
class CRecord
{
public:
    CRecord() : m_pText(static_cast<char*>(System::AllocateLowMemory(SIZE))) {}

    ~CRecord() { System::FreeLowMemory(m_pText); }

    CRecord(const CRecord&) = delete;
    CRecord& operator=(const CRecord&) = delete;

    /// Puts texts into the fields from the first on; the last may go on over the fields behind it.
    void Set(std::initializer_list<std::string_view> aTexts)
    {
        std::memset(m_pText, 0, SIZE);
        std::size_t nField = 0;
        for (const std::string_view& sText : aTexts)
        {
            const bool bLast = &sText == aTexts.end() - 1;
            const std::size_t nRoom = (bLast ? SIZE - nField * FIELD_SIZE : FIELD_SIZE) - 1;
            std::memcpy(m_pText + nField * FIELD_SIZE, sText.data(), std::min(sText.size(), nRoom));
            ++nField;
        }
    }

    /// What a callback gets; the memory lies so that it fits on every target.
    unsigned long GetArgument() const { return static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(m_pText)); }

private:
    static constexpr std::size_t FIELD_SIZE = 260;
    static constexpr std::size_t SIZE = 18 * FIELD_SIZE; // a path of the system and a name fit

    char* m_pText;
};

// Changes to the directory above, and makes sure that it is the one expected: somebody may have moved a directory.
bool ChangeUpTo(const System::sFileStatus& oAbove)
{
    System::sFileStatus oStatus;
    return DIR_Change("..") == 1 && System::GetStatus(".", oStatus) && oStatus.IsSameFile(oAbove);
}

bool IsDotOrDotDot(std::string_view sName)
{
    return sName == "." || sName == "..";
}

} // namespace

// ---------------------------------------------------------------- finding entries

bool CExtendedFileSystem::OpenArchiveEntry(const char* pPath, sFileInfo& oInfo)
{
    char aComponent[sizeof(sArchiveInfo::m_aName)];
    std::size_t nLength = 0;
    sArchiveInfo* pArchive = nullptr;

    for (; *pPath != '\0'; ++pPath)
    {
        const bool bLeadByte = System::IsPathLeadByte(static_cast<unsigned char>(*pPath)) && pPath[1] != '\0';
        if (!bLeadByte && (*pPath == '/' || *pPath == '\\'))
        {
            aComponent[nLength] = '\0';
            pArchive = nLength != 0 ? RegisterArchive(pArchive, aComponent) : nullptr;
            if (pArchive == nullptr)
                return false;
            nLength = 0;
            continue;
        }

        if (nLength + 2 >= sizeof(aComponent))
            return false;
        aComponent[nLength++] = *pPath;
        if (bLeadByte)
            aComponent[nLength++] = *++pPath;
    }
    aComponent[nLength] = '\0';
    if (pArchive == nullptr || nLength == 0)
        return false;

    const sArchiveEntry* pEntry = FindArchiveEntry(pArchive, aComponent);
    if (pEntry == nullptr)
        return false;

    Require(CArchiveReader::CheckEntry(pArchive->m_oHeader, *pEntry), __LINE__);
    const int nFile = System::OpenShared(pArchive->m_pPhysicalPath);
    if (nFile == NO_FILE)
        Fail(XfsError::OPEN, __LINE__);

    OccupySlot(oInfo, nFile, false, pArchive->m_nBase + pEntry->m_nOffset, pEntry->m_nSize, 0);
    return true;
}

sArchiveInfo* CExtendedFileSystem::RegisterArchive(sArchiveInfo* pParent, const char* pName)
{
    if (pName == nullptr)
        return nullptr;

    std::string sName(pName);
    if (pParent == nullptr && sName.find('.') == std::string::npos)
        sName += ARCHIVE_EXTENSION;
    const char* const pStored = sName.c_str() + (pParent != nullptr ? 0 : GetDirectoryLength(sName));
    if (sArchiveInfo* pKnown = FindArchive(pParent, pStored))
        return pKnown;

    CArchiveReader oReader;
    const sArchiveEntry* pEntry = nullptr;
    if (pParent == nullptr)
    {
        if (!oReader.Open(sName.c_str()))
            return nullptr;
    }
    else
    {
        pEntry = FindArchiveEntry(pParent, sName.c_str());
        if (pEntry == nullptr || pEntry->m_nIsDirectory == 0)
            return nullptr;
        if (!oReader.Open(pParent->m_pPhysicalPath))
            Fail(XfsError::OPEN, __LINE__);
    }

    if (s_nRegisteredNodes >= m_aArchives.size())
        return nullptr;

    CArchiveNode oNode;
    Require(pEntry == nullptr ? oReader.ReadRoot(oNode)
                              : oReader.ReadChild(pParent->m_nBase, pParent->m_oHeader, *pEntry, oNode),
            __LINE__);

    // A copy of the file system may have taken the last one meanwhile.
    const std::size_t nNode = s_nRegisteredNodes++;
    if (nNode >= m_aArchives.size())
        return nullptr;

    const sArchiveHeader oHeader = oNode.GetHeader();
    const std::uint32_t nBase = oNode.GetBase();
    m_pTables->push_back(ArchiveDetail::ShareTable(oNode.Detach()));

    sArchiveInfo& oInfo = m_aArchives[nNode];
    sArchiveInfo& oParent = pParent != nullptr ? *pParent : m_oRootArchive;
    STR_strncpy(oInfo.m_aName, pStored, sizeof(oInfo.m_aName) - 1);
    oInfo.m_nBase = nBase;
    oInfo.m_oHeader = oHeader;
    oInfo.m_pEntries = m_pTables->back().get();
    oInfo.m_pFirstChild = nullptr;
    oInfo.m_pNextSibling = oParent.m_pFirstChild;
    oInfo.m_pPhysicalPath = pParent != nullptr ? pParent->m_pPhysicalPath : oInfo.m_aName;
    oParent.m_pFirstChild = &oInfo;
    return &oInfo;
}

sArchiveInfo* CExtendedFileSystem::FindArchive(sArchiveInfo* pParent, const char* pName)
{
    const sArchiveInfo& oParent = pParent != nullptr ? *pParent : m_oRootArchive;
    sArchiveInfo* pChild = oParent.m_pFirstChild;
    while (pChild != nullptr && STR_stricmp(pChild->m_aName, pName) != 0)
        pChild = pChild->m_pNextSibling;
    return pChild;
}

sArchiveEntry* CExtendedFileSystem::FindArchiveEntry(sArchiveInfo* pArchive, const char* pName) const
{
    const sArchiveEntry* pEntry = CArchiveNode::FindIn(pArchive->m_pEntries, pArchive->m_oHeader.m_nEntryCount, pName);
    return const_cast<sArchiveEntry*>(pEntry);
}

// ---------------------------------------------------------------- packing

/// Writes the nodes of one archive, the current directory always being the one that is packed.
class CExtendedFileSystem::CArchiveWriter
{
public:
    /// @param nFile  handle of the archive file, at the place where the root node begins; stays the caller's
    CArchiveWriter(CExtendedFileSystem& oFiles, int nFile)
        : m_oFiles(oFiles), m_nFile(nFile), m_pBuffer(std::make_unique_for_overwrite<char[]>(BUFFER_SIZE))
    {
        const std::int64_t nPosition = System::TellFile(nFile);
        if (nPosition < 0 || !System::GetHandleStatus(nFile, m_oArchive))
            Fail(XfsError::WRITE, __LINE__);
        m_nPosition = static_cast<std::uint64_t>(nPosition);
        if (oFiles.HasCallbacks())
            m_pRecord = std::make_unique<CRecord>();
    }

    /// Writes the node of the current directory, and of all below it.
    void WriteNode()
    {
        const std::uint64_t nNode = m_nPosition;
        const CLevel oLevel(*this);
        if (m_pRecord != nullptr)
            m_sDirectory = System::GetWorkingDirectory();

        sArchiveHeader oHeader{};
        std::memcpy(oHeader.m_aMagic, ARCHIVE_MAGIC, sizeof(ARCHIVE_MAGIC));
        oHeader.m_nMajorVersion = ARCHIVE_MAJOR_VERSION;
        oHeader.m_nMinorVersion = ARCHIVE_MINOR_VERSION;
        Write(&oHeader, sizeof(oHeader), XfsError::HEADER);
        Flush(XfsError::HEADER);

        const std::vector<sFound> aFound = FindNames();
        std::vector<sArchiveEntry> aTable;
        aTable.reserve(aFound.size());
        for (const sFound& oFound : aFound)
        {
            if (!oFound.m_bDirectory)
                WriteFile(AddEntry(aTable, oFound.m_sName, nNode));
        }
        Flush(XfsError::WRITE);

        for (const sFound& oFound : aFound)
        {
            if (oFound.m_bDirectory)
                WriteDirectory(AddEntry(aTable, oFound.m_sName, nNode));
        }

        oHeader.m_nTableOffset = static_cast<std::uint32_t>(m_nPosition - nNode);
        oHeader.m_nEntryCount = static_cast<std::uint32_t>(aTable.size());
        Write(aTable.data(), aTable.size() * sizeof(sArchiveEntry), XfsError::TABLE);
        Flush(XfsError::TABLE);

        oHeader.m_nNodeSize = static_cast<std::uint32_t>(m_nPosition - nNode);
        Rewrite(nNode, oHeader);
    }

private:
    struct sFound
    {
        std::string m_sName;
        bool m_bDirectory;
    };

    /// One step down, from its construction to its end: the current directory is none of those above it.
    class CLevel
    {
    public:
        explicit CLevel(CArchiveWriter& oWriter) : m_oWriter(oWriter)
        {
            System::sFileStatus oStatus;
            if (!System::GetStatus(".", oStatus) || oWriter.m_aLevels.size() == MAXIMUM_DEPTH)
                Fail(XfsError::DIRECTORY, __LINE__);

            const auto bSame = [&](const System::sFileStatus& oAbove) { return oAbove.IsSameFile(oStatus); };
            if (std::any_of(oWriter.m_aLevels.begin(), oWriter.m_aLevels.end(), bSame))
                Fail(XfsError::OPEN, __LINE__);
            oWriter.m_aLevels.push_back(oStatus);
        }

        ~CLevel() { m_oWriter.m_aLevels.pop_back(); }

        CLevel(const CLevel&) = delete;
        CLevel& operator=(const CLevel&) = delete;

    private:
        CArchiveWriter& m_oWriter;
    };

    std::vector<sFound> FindNames()
    {
        std::vector<sFound> aFound;
        bool bDirectory = false;
        const char* pName = FindFiles("*.*", &bDirectory, nullptr);
        if (pName == nullptr)
            Fail(XfsError::OPEN, __LINE__);

        for (; pName != nullptr; pName = FindFiles(nullptr, &bDirectory, nullptr))
        {
            if (!bDirectory || !IsDotOrDotDot(pName))
                aFound.push_back({pName, bDirectory});
        }
        for (const sFound& oFound : aFound)
            Notify(EVENT_NAME_COUNTED, oFound.m_sName);
        return aFound;
    }

    sArchiveEntry& AddEntry(std::vector<sArchiveEntry>& aTable, const std::string& sName, std::uint64_t nNode)
    {
        if (sName.size() >= ARCHIVE_NAME_SIZE)
            Fail(XfsError::TABLE, __LINE__);
        if (!CArchiveReader::IsPlainName(sName.c_str()))
            Fail(XfsError::OPEN, __LINE__); // it could not be extracted again

        sArchiveEntry& oEntry = aTable.emplace_back();
        std::memcpy(oEntry.m_aName, sName.data(), sName.size());
        oEntry.m_nOffset = static_cast<std::uint32_t>(m_nPosition - nNode);
        return oEntry;
    }

    void WriteFile(sArchiveEntry& oEntry)
    {
        CFileHandle oFile(oEntry.m_aName, "rb");
        if (!oFile.IsOpened())
            Fail(XfsError::OPEN, __LINE__);
        const System::sFileStatus& oStatus = oFile.GetStatus();
        if (oStatus.eKind != System::eFileKind::File || oStatus.IsSameFile(m_oArchive))
            Fail(XfsError::OPEN, __LINE__);
        if (m_nPosition + oStatus.nSize > MAXIMUM_ARCHIVE_SIZE)
            Fail(XfsError::WRITE, __LINE__);
        oEntry.m_nSize = static_cast<std::uint32_t>(oStatus.nSize);

        // A file that fits into the buffer is read in one piece.
        if (oEntry.m_nSize <= BUFFER_SIZE && oEntry.m_nSize > BUFFER_SIZE - m_nUsed)
            Flush(XfsError::WRITE);

        std::uint32_t nLeft = oEntry.m_nSize;
        do
        {
            if (m_nUsed == BUFFER_SIZE)
                Flush(XfsError::WRITE);
            const auto nPiece = static_cast<std::uint32_t>(std::min<std::size_t>(nLeft, BUFFER_SIZE - m_nUsed));
            if (FILE_Read(oFile.Get(), m_pBuffer.get() + m_nUsed, 1, nPiece) != nPiece)
                Fail(XfsError::READ, __LINE__);
            if (nLeft == oEntry.m_nSize)
                Notify(EVENT_FILE_STORED, oEntry.m_aName);

            m_nUsed += nPiece;
            m_nPosition += nPiece;
            nLeft -= nPiece;
        } while (nLeft != 0);
    }

    void WriteDirectory(sArchiveEntry& oEntry)
    {
        // Only out of a link does ".." lead elsewhere; all other directories need no descriptor to come back from.
        const std::uint64_t nBegin = m_nPosition;
        System::sFileStatus oStatus;
        std::optional<CDirectoryReturn> oReturn;
        if (System::GetStatus(oEntry.m_aName, oStatus, false) && oStatus.eKind == System::eFileKind::Link)
            oReturn.emplace();

        if (DIR_Change(oEntry.m_aName) != 1)
            Fail(XfsError::DIRECTORY, __LINE__);
        WriteNode();
        if (!(oReturn.has_value() ? oReturn->Return() : ChangeUpTo(m_aLevels.back())))
            Fail(XfsError::DIRECTORY, __LINE__);

        oEntry.m_nSize = static_cast<std::uint32_t>(m_nPosition - nBegin);
        oEntry.m_nIsDirectory = 1;
    }

    void Write(const void* pBytes, std::size_t nSize, unsigned long nCode)
    {
        if (nSize > MAXIMUM_ARCHIVE_SIZE - m_nPosition)
            Fail(XfsError::WRITE, __LINE__);

        for (const char* pNext = static_cast<const char*>(pBytes); nSize != 0;)
        {
            if (m_nUsed == BUFFER_SIZE)
                Flush(nCode);
            const std::size_t nPiece = std::min(nSize, BUFFER_SIZE - m_nUsed);
            std::memcpy(m_pBuffer.get() + m_nUsed, pNext, nPiece);
            m_nUsed += nPiece;
            m_nPosition += nPiece;
            pNext += nPiece;
            nSize -= nPiece;
        }
    }

    // Writes the buffer, so that a failure is told with the code of what is in it.
    void Flush(unsigned long nCode)
    {
        const auto nSize = static_cast<unsigned>(m_nUsed);
        if (nSize != 0 && FILE_Write(m_nFile, m_pBuffer.get(), 1, nSize) != nSize)
            Fail(nCode, __LINE__);
        m_nUsed = 0;
    }

    // Writes a header over the provisional one; the buffer is empty.
    void Rewrite(std::uint64_t nNode, const sArchiveHeader& oHeader)
    {
        if (!System::SeekFile(m_nFile, static_cast<std::int64_t>(nNode), SEEK_SET) ||
            FILE_Write(m_nFile, &oHeader, 1, sizeof(oHeader)) != sizeof(oHeader) ||
            !System::SeekFile(m_nFile, static_cast<std::int64_t>(m_nPosition), SEEK_SET))
            Fail(XfsError::TABLE, __LINE__);
    }

    void Notify(int nEvent, std::string_view sName)
    {
        if (m_pRecord == nullptr)
            return;
        m_pRecord->Set({m_sDirectory, sName});
        m_oFiles.Notify(nEvent, m_pRecord->GetArgument(), 0);
    }

    CExtendedFileSystem& m_oFiles;
    int m_nFile;
    System::sFileStatus m_oArchive;
    std::unique_ptr<char[]> m_pBuffer;
    std::size_t m_nUsed = 0;       // bytes in the buffer
    std::uint64_t m_nPosition = 0; // in the archive, the buffer's bytes included
    std::vector<System::sFileStatus> m_aLevels;
    std::unique_ptr<CRecord> m_pRecord; // null without callbacks
    std::string m_sDirectory;           // the current directory, for notifications
};

bool CExtendedFileSystem::CreateArchive(const char* pArchive, const char* pDirectory)
{
    CFileHandle oFile(pArchive != nullptr ? AddArchiveExtension(pArchive).c_str() : nullptr, "wb");
    if (!oFile.IsOpened())
        Fail(XfsError::OPEN, __LINE__);

    const sNamedDirectory oSource(pDirectory);
    const CDirectoryReturn oReturn;
    if (!oReturn.IsValid() || !oSource.m_bExists)
        Fail(XfsError::DIRECTORY, __LINE__);
    if (!oSource.m_sParent.empty() && DIR_Change(oSource.m_sParent.c_str()) != 1)
        Fail(XfsError::DIRECTORY, __LINE__);

    RecursiveArchiveCreate(oSource.m_sName.c_str(), static_cast<unsigned long>(oFile.Get()));

    if (!oReturn.Return())
        Fail(XfsError::DIRECTORY, __LINE__);
    if (!oFile.Close())
        Fail(XfsError::WRITE, __LINE__);
    return true;
}

void CExtendedFileSystem::RecursiveArchiveCreate(const char* pDirectory, unsigned long nFile)
{
    if (*pDirectory != '\0' && DIR_Change(pDirectory) != 1)
        Fail(XfsError::DIRECTORY, __LINE__);

    CArchiveWriter oWriter(*this, static_cast<int>(nFile));
    oWriter.WriteNode();
}

// ---------------------------------------------------------------- unpacking

/// Writes the files of one archive to disk, below the current directory and nowhere else.
class CExtendedFileSystem::CArchiveExtractor
{
public:
    /// @param oReader  the archive; stays the caller's
    CArchiveExtractor(CExtendedFileSystem& oFiles, CArchiveReader& oReader)
        : m_oFiles(oFiles), m_oReader(oReader), m_pWindow(std::make_unique_for_overwrite<char[]>(BUFFER_SIZE))
    {
        if (oFiles.HasCallbacks())
            m_pRecord = std::make_unique<CRecord>();
    }

    /// Makes a directory in the current one and extracts a node into it; the current directory is the same afterwards.
    void ExtractNode(const char* pDirectory, const CArchiveNode& oNode)
    {
        Require(CArchiveReader::CheckTable(oNode), __LINE__);

        System::sFileStatus oAbove;
        if (m_nDepth == MAXIMUM_DEPTH || !System::GetStatus(".", oAbove))
            Fail(XfsError::DIRECTORY, __LINE__);

        NotifyDirectory(pDirectory);
        DIR_Create(pDirectory); // there may be one
        if (!System::EnterDirectoryHere(pDirectory))
            Fail(XfsError::DIRECTORY, __LINE__);
        if (m_pRecord != nullptr)
            m_sDirectory = System::GetWorkingDirectory();

        CMade oMade;
        for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
        {
            if (oNode.GetEntry(i).m_nIsDirectory == 0)
                ExtractFile(pDirectory, oNode, oNode.GetEntry(i), oMade);
        }

        ++m_nDepth;
        for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
        {
            if (oNode.GetEntry(i).m_nIsDirectory != 0)
                ExtractDirectory(oNode, oNode.GetEntry(i), oMade);
        }
        --m_nDepth;

        if (!ChangeUpTo(oAbove))
            Fail(XfsError::DIRECTORY, __LINE__);
    }

private:
    struct sCloseStream
    {
        void operator()(std::FILE* pStream) const { std::fclose(pStream); }
    };

    /// What one node has put into its directory. The disk tells whether two names are one there.
    class CMade
    {
    public:
        void Add(const System::sFileStatus& oStatus) { m_oFiles.emplace(oStatus.nVolume, oStatus.nIndex); }

        bool Has(const char* pName) const
        {
            System::sFileStatus oStatus;
            return System::GetStatusHere(pName, oStatus) && m_oFiles.contains({oStatus.nVolume, oStatus.nIndex});
        }

    private:
        std::set<std::pair<std::uint64_t, std::uint64_t>> m_oFiles;
    };

    // Refuses a name that leads elsewhere or to what was extracted already.
    static void RequireNewName(const char* pName, const CMade& oMade)
    {
        if (!CArchiveReader::IsPlainName(pName) || oMade.Has(pName))
            Fail(XfsError::CREATE, __LINE__);
    }

    void ExtractFile(const char* pDirectory, const CArchiveNode& oNode, const sArchiveEntry& oEntry, CMade& oMade)
    {
        if (m_pRecord != nullptr)
        {
            m_pRecord->Set({m_sDirectory, pDirectory, oEntry.m_aName});
            m_oFiles.Notify(EVENT_FILE_EXTRACTED, m_pRecord->GetArgument(), 0);
        }

        // Most names are new; only of one that is there it is asked whether it was made here.
        System::sFileStatus oStatus;
        std::unique_ptr<std::FILE, sCloseStream> pFile(
            System::CreateStreamHere(oEntry.m_aName, System::eOldFile::Keep, &oStatus));
        if (pFile == nullptr)
        {
            RequireNewName(oEntry.m_aName, oMade);
            pFile.reset(System::CreateStreamHere(oEntry.m_aName, System::eOldFile::Replace, &oStatus));
        }
        if (pFile == nullptr)
            Fail(XfsError::CREATE, __LINE__);
        oMade.Add(oStatus);
        std::setvbuf(pFile.get(), nullptr, _IONBF, 0);

        const std::uint64_t nBegin = std::uint64_t{oNode.GetBase()} + oEntry.m_nOffset;
        for (std::uint32_t nDone = 0; nDone < oEntry.m_nSize;)
        {
            const std::size_t nPiece = std::min<std::size_t>(oEntry.m_nSize - nDone, BUFFER_SIZE);
            if (std::fwrite(Fetch(nBegin + nDone, nPiece), 1, nPiece, pFile.get()) != nPiece)
                Fail(XfsError::WRITE, __LINE__);
            nDone += static_cast<std::uint32_t>(nPiece);
        }
        if (std::fclose(pFile.release()) != 0)
            Fail(XfsError::WRITE, __LINE__);
    }

    void ExtractDirectory(const CArchiveNode& oNode, const sArchiveEntry& oEntry, CMade& oMade)
    {
        RequireNewName(oEntry.m_aName, oMade);

        CArchiveNode oChild;
        Require(m_oReader.ReadChild(oNode, oEntry, oChild), __LINE__);
        ExtractNode(oEntry.m_aName, oChild);

        System::sFileStatus oStatus;
        if (System::GetStatusHere(oEntry.m_aName, oStatus))
            oMade.Add(oStatus);
    }

    // Bytes of the archive, at most BUFFER_SIZE; what lies behind them is read along, for the next files.
    const char* Fetch(std::uint64_t nPosition, std::size_t nSize)
    {
        if (nPosition < m_nWindow || nPosition + nSize > m_nWindow + m_nFilled)
        {
            m_nFilled = 0;
            const auto nFill = static_cast<std::size_t>(std::min<std::uint64_t>(
                BUFFER_SIZE, m_oReader.GetLength() - std::min(nPosition, m_oReader.GetLength())));
            if (nFill < nSize || !m_oReader.ReadBytes(nPosition, m_pWindow.get(), nFill))
                Fail(XfsError::READ, __LINE__);
            m_nWindow = nPosition;
            m_nFilled = nFill;
        }
        return m_pWindow.get() + (nPosition - m_nWindow);
    }

    void NotifyDirectory(const char* pDirectory)
    {
        if (m_pRecord == nullptr)
            return;
        m_pRecord->Set({System::GetWorkingDirectory() + '\\' + pDirectory});
        m_oFiles.Notify(EVENT_DIRECTORY_CREATED, m_pRecord->GetArgument(), 0);
    }

    CExtendedFileSystem& m_oFiles;
    CArchiveReader& m_oReader;
    std::unique_ptr<char[]> m_pWindow; // bytes of the archive
    std::uint64_t m_nWindow = 0;       // where they stand in it
    std::size_t m_nFilled = 0;         // how many they are
    std::size_t m_nDepth = 0;
    std::unique_ptr<CRecord> m_pRecord; // null without callbacks
    std::string m_sDirectory;           // the current directory, for notifications
};

bool CExtendedFileSystem::ExtractArchive(const char* pArchive, const char* pDirectory)
{
    if (pArchive == nullptr)
        return false;

    const std::string sArchive = AddArchiveExtension(pArchive);
    CArchiveReader oReader;
    if (!oReader.Open(sArchive.c_str()))
        return false;

    CArchiveNode oRoot;
    Require(oReader.ReadRoot(oRoot), __LINE__);

    const sNamedDirectory oDestination(pDirectory);
    const std::string sTarget = oDestination.m_sParent + oDestination.m_sName;
    const CDirectoryReturn oReturn;
    if (!oReturn.IsValid() || !oDestination.m_bExists)
        Fail(XfsError::DIRECTORY, __LINE__);
    if (!sTarget.empty() && DIR_Change(sTarget.c_str()) != 1)
        Fail(XfsError::DIRECTORY, __LINE__);

    CArchiveExtractor oExtractor(*this, oReader);
    oExtractor.ExtractNode(sSplitPath(sArchive).m_sName.c_str(), oRoot);

    if (!oReturn.Return())
        Fail(XfsError::DIRECTORY, __LINE__);
    return true;
}
