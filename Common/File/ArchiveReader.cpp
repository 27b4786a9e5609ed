#include <Common/File/ArchiveReader.h>

#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/System/FileHandle.h>
#include <Common/Platform/System/SystemFile.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

namespace
{

constexpr int NO_FILE = -1;

// A table is read and indexed in pieces of this many entries, about 256 KiB: what was read is still at hand then.
constexpr std::uint32_t ENTRIES_AT_ONCE = 960;

// Bytes that are read with one call.
constexpr std::size_t MOST_AT_ONCE = std::size_t{1} << 30;

// Where a file's pointer stands after a seek or a read that failed.
constexpr std::uint64_t NOWHERE = std::numeric_limits<std::uint64_t>::max();

constexpr std::uint64_t MAXIMUM_BASE = std::numeric_limits<std::uint32_t>::max();

std::uint64_t GetTableSize(const sArchiveHeader& oHeader) noexcept
{
    return std::uint64_t{oHeader.m_nEntryCount} * sizeof(sArchiveEntry);
}

// Whether a header that says it stands at nBase speaks of bytes between nBase and nLimit alone.
bool FitsInto(const sArchiveHeader& oHeader, std::uint64_t nBase, std::uint64_t nLimit) noexcept
{
    if (oHeader.m_nNodeSize < sizeof(sArchiveHeader) || nBase + oHeader.m_nNodeSize > nLimit)
        return false;
    if (oHeader.m_nEntryCount == 0)
        return true;
    return oHeader.m_nTableOffset >= sizeof(sArchiveHeader) &&
           oHeader.m_nTableOffset + GetTableSize(oHeader) <= oHeader.m_nNodeSize;
}

} // namespace

CArchiveReader::CArchiveReader() noexcept : m_nFile(NO_FILE), m_pBytes(nullptr), m_nLength(0), m_nPosition(0) {}

CArchiveReader::~CArchiveReader()
{
    Close();
}

bool CArchiveReader::Open(const char* pPath) noexcept
{
    Close();
    const int nFile = FILE_Open(pPath, "rb");
    if (nFile == NO_FILE)
        return false;

    const std::int64_t nLength = System::GetFileLength(nFile);
    if (nLength < 0)
    {
        FILE_Close(nFile);
        return false;
    }

    m_nFile = nFile;
    m_nLength = static_cast<std::uint64_t>(nLength);
    return true;
}

void CArchiveReader::Open(std::span<const std::byte> aBytes) noexcept
{
    static constexpr std::byte NO_BYTES{};

    Close();
    m_pBytes = aBytes.empty() ? &NO_BYTES : aBytes.data();
    m_nLength = aBytes.size();
}

void CArchiveReader::Close() noexcept
{
    if (m_nFile != NO_FILE)
        FILE_Close(m_nFile);
    m_nFile = NO_FILE;
    m_pBytes = nullptr;
    m_nLength = 0;
    m_nPosition = 0;
}

bool CArchiveReader::IsOpened() const noexcept
{
    return m_nFile != NO_FILE || m_pBytes != nullptr;
}

std::uint64_t CArchiveReader::GetLength() const noexcept
{
    return m_nLength;
}

eArchiveResult CArchiveReader::ReadRoot(CArchiveNode& oNode) noexcept
{
    return ReadNode(0, m_nLength, oNode);
}

eArchiveResult CArchiveReader::ReadChild(const CArchiveNode& oParent, const sArchiveEntry& oEntry,
                                         CArchiveNode& oNode) noexcept
{
    return ReadChild(oParent.GetBase(), oParent.GetHeader(), oEntry, oNode);
}

eArchiveResult CArchiveReader::ReadChild(std::uint32_t nParentBase, const sArchiveHeader& oParent,
                                         const sArchiveEntry& oEntry, CArchiveNode& oNode) noexcept
{
    const std::uint32_t nOffset = oEntry.m_nOffset;
    const std::uint32_t nSize = oEntry.m_nSize;
    const bool bDirectory = oEntry.m_nIsDirectory != 0;
    const eArchiveResult nResult = bDirectory ? CheckEntry(oParent, oEntry) : eArchiveResult::Malformed;

    oNode.Clear();
    if (nResult != eArchiveResult::Ok)
        return nResult;
    return ReadNode(std::uint64_t{nParentBase} + nOffset, std::uint64_t{nParentBase} + nOffset + nSize, oNode);
}

eArchiveResult CArchiveReader::CheckEntry(const sArchiveHeader& oHeader, const sArchiveEntry& oEntry) noexcept
{
    const bool bInside = oEntry.m_nOffset >= sizeof(sArchiveHeader) &&
                         std::uint64_t{oEntry.m_nOffset} + oEntry.m_nSize <= oHeader.m_nNodeSize;
    return bInside ? eArchiveResult::Ok : eArchiveResult::Truncated;
}

eArchiveResult CArchiveReader::CheckTable(const CArchiveNode& oNode) noexcept
{
    const sArchiveHeader& oHeader = oNode.GetHeader();
    std::uint64_t nBytes = sizeof(sArchiveHeader) + GetTableSize(oHeader);
    for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
    {
        if (CheckEntry(oHeader, oNode.GetEntry(i)) != eArchiveResult::Ok)
            return eArchiveResult::Truncated;
        nBytes += oNode.GetEntry(i).m_nSize;
    }
    return nBytes <= oHeader.m_nNodeSize ? eArchiveResult::Ok : eArchiveResult::Malformed;
}

eArchiveResult CArchiveReader::ReadEntry(const CArchiveNode& oNode, const sArchiveEntry& oEntry,
                                         std::uint32_t nPosition, void* pBuffer, std::size_t nSize) noexcept
{
    if (CheckEntry(oNode.GetHeader(), oEntry) != eArchiveResult::Ok)
        return eArchiveResult::Truncated;
    if (nPosition > oEntry.m_nSize || nSize > oEntry.m_nSize - nPosition)
        return eArchiveResult::Truncated;

    const std::uint64_t nBegin = std::uint64_t{oNode.GetBase()} + oEntry.m_nOffset + nPosition;
    return ReadBytes(nBegin, pBuffer, nSize) ? eArchiveResult::Ok : eArchiveResult::Truncated;
}

bool CArchiveReader::ReadBytes(std::uint64_t nPosition, void* pBuffer, std::size_t nSize) noexcept
{
    if (!IsOpened() || nPosition > m_nLength || nSize > m_nLength - nPosition)
        return false;
    if (nSize == 0)
        return true;

    if (m_pBytes != nullptr)
    {
        std::memcpy(pBuffer, m_pBytes + nPosition, nSize);
        return true;
    }

    if (nPosition != m_nPosition)
    {
        m_nPosition = NOWHERE;
        if (!System::SeekFile(m_nFile, static_cast<std::int64_t>(nPosition), SEEK_SET))
            return false;
        m_nPosition = nPosition;
    }

    // A call takes 32 bits.
    for (auto* pNext = static_cast<char*>(pBuffer); nSize != 0;)
    {
        const auto nPiece = static_cast<unsigned>(std::min(nSize, MOST_AT_ONCE));
        if (FILE_Read(m_nFile, pNext, 1, nPiece) != nPiece)
        {
            m_nPosition = NOWHERE;
            return false;
        }
        m_nPosition += nPiece;
        pNext += nPiece;
        nSize -= nPiece;
    }
    return true;
}

bool CArchiveReader::IsPlainName(const char* pName) noexcept
{
    return pName != nullptr && System::IsPlainName(pName);
}

eArchiveResult CArchiveReader::ReadNode(std::uint64_t nBase, std::uint64_t nLimit, CArchiveNode& oNode) noexcept
{
    oNode.Clear();

    sArchiveHeader oHeader;
    if (nLimit > m_nLength || nBase > MAXIMUM_BASE || nBase + sizeof(oHeader) > nLimit ||
        !ReadBytes(nBase, &oHeader, sizeof(oHeader)))
        return eArchiveResult::Truncated;
    if (std::memcmp(oHeader.m_aMagic, ARCHIVE_MAGIC, sizeof(ARCHIVE_MAGIC)) != 0 ||
        oHeader.m_nMajorVersion != ARCHIVE_MAJOR_VERSION || oHeader.m_nMinorVersion != ARCHIVE_MINOR_VERSION)
        return eArchiveResult::WrongVersion;
    if (!FitsInto(oHeader, nBase, nLimit))
        return eArchiveResult::Truncated;

    oNode.m_oHeader = oHeader;
    oNode.m_nBase = static_cast<std::uint32_t>(nBase);
    if (oHeader.m_nEntryCount == 0)
        return eArchiveResult::Ok;

    if (!oNode.Allocate())
    {
        oNode.Clear();
        return eArchiveResult::NoMemory;
    }

    const std::uint64_t nTable = nBase + oHeader.m_nTableOffset;
    for (std::uint32_t nFirst = 0; nFirst < oHeader.m_nEntryCount;)
    {
        const std::uint32_t nCount = std::min(ENTRIES_AT_ONCE, oHeader.m_nEntryCount - nFirst);
        const std::uint64_t nPosition = nTable + std::uint64_t{nFirst} * sizeof(sArchiveEntry);
        eArchiveResult nResult = eArchiveResult::Ok;
        if (!ReadBytes(nPosition, oNode.m_pEntries + nFirst, nCount * sizeof(sArchiveEntry)))
            nResult = eArchiveResult::Truncated;
        else if (!oNode.Index(nFirst, nFirst + nCount))
            nResult = eArchiveResult::Malformed;

        if (nResult != eArchiveResult::Ok)
        {
            oNode.Clear();
            return nResult;
        }
        nFirst += nCount;
    }
    return eArchiveResult::Ok;
}
