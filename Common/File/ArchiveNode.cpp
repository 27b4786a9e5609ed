#include <Common/File/ArchiveNode.h>

#include <Common/Platform/PlatformMemory.h>
#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

// One block of memory holds the entries, then the slots of the index, then its flags.
//
// A slot is 0 when it is free, else the number of an entry plus 1 in its low bits, as many as the largest number
// needs, and bits of the name's hash above. Entries are put in from the first on and none is ever taken out, so of
// equal names the first entry is met first.

namespace
{

// The table holds a name with bytes beyond ASCII.
constexpr std::uint32_t FLAG_NOT_ASCII = 1;
// The names were chosen to fall together: the index is not to be used.
constexpr std::uint32_t FLAG_NO_INDEX = 2;

// More steps than this from a name's slot never happen by chance in a table that is half empty.
constexpr std::uint32_t MAXIMUM_STEPS = 512;

std::uint32_t GetSlotCount(std::uint32_t nEntryCount) noexcept
{
    return std::bit_ceil(nEntryCount) * 2;
}

// The bits of a slot that hold the number of the entry.
std::uint32_t GetNumberMask(std::uint32_t nEntryCount) noexcept
{
    return static_cast<std::uint32_t>((std::uint64_t{1} << std::bit_width(nEntryCount)) - 1);
}

// A name's hash without regard to the case of ASCII letters, and what it is made of.
struct sNameHash
{
    std::uint32_t m_nHash;
    bool m_bAscii;
    bool m_bTerminated;
};

sNameHash HashName(const char* pName) noexcept
{
    std::uint32_t nHash = 0x811C9DC5;
    std::uint32_t nAllBytes = 0;
    std::size_t i = 0;
    for (; i < ARCHIVE_NAME_SIZE && pName[i] != '\0'; ++i)
    {
        auto nByte = static_cast<std::uint32_t>(static_cast<unsigned char>(pName[i]));
        nAllBytes |= nByte;
        if (nByte - 'A' <= 'Z' - 'A')
            nByte += 'a' - 'A';
        nHash = (nHash ^ nByte) * 0x01000193;
    }

    nHash ^= nHash >> 16;
    nHash *= 0x85EBCA6B;
    nHash ^= nHash >> 13;
    return {nHash, nAllBytes < 0x80, i < ARCHIVE_NAME_SIZE};
}

// Whether STR_stricmp() folds ASCII letters and nothing else at present; the program may change its locale at any time.
bool FoldsOnlyAscii() noexcept
{
    // A lead byte and a trail byte of each family of multi-byte encodings.
    for (const char* pCharacter : {"\xC3\xA4", "\x82\xA0", "\xA4\xA4", "\xB0\xA1"})
    {
        if (STR_strinc(pCharacter) != pCharacter + 1)
            return false;
    }

    constexpr std::size_t HIGH_BYTES = 128;
    char aAll[HIGH_BYTES + 1] = {};
    for (std::size_t i = 0; i < HIGH_BYTES; ++i)
        aAll[i] = static_cast<char>(HIGH_BYTES + i);

    char aFolded[HIGH_BYTES + 1];
    std::memcpy(aFolded, aAll, sizeof(aAll));
    STR_strlwr(aFolded);
    if (std::memcmp(aFolded, aAll, sizeof(aAll)) != 0)
        return false;
    STR_strupr(aFolded);
    return std::memcmp(aFolded, aAll, sizeof(aAll)) == 0;
}

// The index behind a table.
struct sIndex
{
    std::uint32_t* m_pSlots;
    std::uint32_t* m_pFlags;
};

sIndex GetIndex(sArchiveEntry* pEntries, std::uint32_t nEntryCount) noexcept
{
    static_assert(sizeof(sArchiveEntry) % sizeof(std::uint32_t) == 0);
    auto* pSlots = reinterpret_cast<std::uint32_t*>(static_cast<void*>(pEntries + nEntryCount));
    return {pSlots, pSlots + GetSlotCount(nEntryCount)};
}

const sArchiveEntry* FindByHash(const sArchiveEntry* pEntries, std::uint32_t nEntryCount, const std::uint32_t* pSlots,
                                std::uint32_t nHash, const char* pName) noexcept
{
    const std::uint32_t nSlotMask = GetSlotCount(nEntryCount) - 1;
    const std::uint32_t nNumberMask = GetNumberMask(nEntryCount);

    for (std::uint32_t i = nHash & nSlotMask; pSlots[i] != 0; i = (i + 1) & nSlotMask)
    {
        if (((pSlots[i] ^ nHash) & ~nNumberMask) != 0)
            continue;
        const sArchiveEntry* pEntry = pEntries + ((pSlots[i] & nNumberMask) - 1);
        if (STR_stricmp(pEntry->m_aName, pName) == 0)
            return pEntry;
    }
    return nullptr;
}

} // namespace

CArchiveNode::CArchiveNode() noexcept : m_oHeader{}, m_nBase(0), m_pEntries(nullptr) {}

CArchiveNode::~CArchiveNode()
{
    Clear();
}

CArchiveNode::CArchiveNode(CArchiveNode&& oOther) noexcept
    : m_oHeader(std::exchange(oOther.m_oHeader, {})), m_nBase(std::exchange(oOther.m_nBase, 0)),
      m_pEntries(std::exchange(oOther.m_pEntries, nullptr))
{
}

CArchiveNode& CArchiveNode::operator=(CArchiveNode&& oOther) noexcept
{
    std::swap(m_oHeader, oOther.m_oHeader);
    std::swap(m_nBase, oOther.m_nBase);
    std::swap(m_pEntries, oOther.m_pEntries);
    if (this != &oOther)
        oOther.Clear();
    return *this;
}

const sArchiveHeader& CArchiveNode::GetHeader() const noexcept
{
    return m_oHeader;
}

std::uint32_t CArchiveNode::GetBase() const noexcept
{
    return m_nBase;
}

std::uint32_t CArchiveNode::GetEntryCount() const noexcept
{
    return m_pEntries != nullptr ? m_oHeader.m_nEntryCount : 0;
}

const sArchiveEntry& CArchiveNode::GetEntry(std::uint32_t nIndex) const noexcept
{
    return m_pEntries[nIndex];
}

const sArchiveEntry* CArchiveNode::Find(const char* pName) const noexcept
{
    return FindIn(m_pEntries, GetEntryCount(), pName);
}

const sArchiveEntry* CArchiveNode::FindIn(const sArchiveEntry* pEntries, std::uint32_t nEntryCount,
                                          const char* pName) noexcept
{
    if (pEntries == nullptr || pName == nullptr || nEntryCount == 0)
        return nullptr;

    const sNameHash oHash = HashName(pName);
    if (!oHash.m_bTerminated)
        return nullptr;

    const sIndex oIndex = GetIndex(const_cast<sArchiveEntry*>(pEntries), nEntryCount);
    const bool bAllAscii = oHash.m_bAscii && (*oIndex.m_pFlags & FLAG_NOT_ASCII) == 0;
    if ((*oIndex.m_pFlags & FLAG_NO_INDEX) == 0 && (bAllAscii || FoldsOnlyAscii()))
        return FindByHash(pEntries, nEntryCount, oIndex.m_pSlots, oHash.m_nHash, pName);

    const auto* pFound =
        std::find_if(pEntries, pEntries + nEntryCount,
                     [pName](const sArchiveEntry& oEntry) { return STR_stricmp(oEntry.m_aName, pName) == 0; });
    return pFound != pEntries + nEntryCount ? pFound : nullptr;
}

sArchiveEntry* CArchiveNode::Detach() noexcept
{
    m_oHeader = {};
    m_nBase = 0;
    return std::exchange(m_pEntries, nullptr);
}

void CArchiveNode::Clear() noexcept
{
    MEM_Free(Detach());
}

bool CArchiveNode::Allocate() noexcept
{
    const std::uint32_t nCount = m_oHeader.m_nEntryCount;
    const std::uint64_t nIndexSize = (std::uint64_t{GetSlotCount(nCount)} + 1) * sizeof(std::uint32_t);
    const std::uint64_t nSize = std::uint64_t{nCount} * sizeof(sArchiveEntry) + nIndexSize;
    if (nSize > std::numeric_limits<unsigned>::max())
        return false;

    m_pEntries = static_cast<sArchiveEntry*>(MEM_Alloc(static_cast<unsigned>(nSize)));
    if (m_pEntries == nullptr)
        return false;

    MEM_Zero(m_pEntries + nCount, static_cast<unsigned>(nIndexSize));
    return true;
}

bool CArchiveNode::Index(std::uint32_t nFirst, std::uint32_t nEnd) noexcept
{
    const sIndex oIndex = GetIndex(m_pEntries, m_oHeader.m_nEntryCount);
    const std::uint32_t nSlotMask = GetSlotCount(m_oHeader.m_nEntryCount) - 1;
    const std::uint32_t nNumberMask = GetNumberMask(m_oHeader.m_nEntryCount);
    std::uint32_t nFlags = *oIndex.m_pFlags;

    for (std::uint32_t nNumber = nFirst; nNumber < nEnd; ++nNumber)
    {
        const sNameHash oHash = HashName(m_pEntries[nNumber].m_aName);
        if (!oHash.m_bTerminated)
            return false;
        if (!oHash.m_bAscii)
            nFlags |= FLAG_NOT_ASCII;
        if ((nFlags & FLAG_NO_INDEX) != 0)
            continue;

        std::uint32_t nSlot = oHash.m_nHash & nSlotMask;
        std::uint32_t nSteps = 0;
        for (; oIndex.m_pSlots[nSlot] != 0 && nSteps < MAXIMUM_STEPS; ++nSteps)
            nSlot = (nSlot + 1) & nSlotMask;

        if (nSteps == MAXIMUM_STEPS)
            nFlags |= FLAG_NO_INDEX;
        else
            oIndex.m_pSlots[nSlot] = (oHash.m_nHash & ~nNumberMask) | (nNumber + 1);
    }

    *oIndex.m_pFlags = nFlags;
    return true;
}
