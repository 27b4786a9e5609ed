#include <Common/File/VQDataStream.h>

#include <Common/Debug/VQDataStreamException.h>
#include <Common/Platform/PlatformMemory.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <utility>

namespace
{
constexpr std::uint64_t MAX_SIZE = std::numeric_limits<std::uint32_t>::max();
constexpr std::int32_t NO_VERSION = -1;
constexpr std::size_t VERSIONS_AT_ONCE = 128;
constexpr std::int32_t STRING_ID_FOLLOWS = -1;
constexpr const char* SOURCE_FILE = "Common/File/VQDataStream";
} // namespace

// ---- the iterator ----

CVQDataStream::Iterator::Iterator() noexcept : m_pStream(nullptr), m_nPosition(0) {}

CVQDataStream::Iterator::Iterator(CVQDataStream& oStream) noexcept : m_pStream(&oStream), m_nPosition(0) {}

CVQDataStream::Iterator::Iterator(const CVQDataStream& oStream) noexcept
    : m_pStream(const_cast<CVQDataStream*>(&oStream)), m_nPosition(0) // the stream's mode refuses writes
{
}

CVQDataStream::Iterator::Iterator(const Iterator&) noexcept = default;

CVQDataStream::Iterator::~Iterator()
{
    m_pStream = nullptr;
}

CVQDataStream::Iterator& CVQDataStream::Iterator::operator=(const Iterator&) noexcept = default;

const unsigned char* CVQDataStream::Iterator::GetBuffer() const noexcept
{
    if (m_pStream == nullptr || m_pStream->GetBuffer() == nullptr)
        return nullptr;
    return m_pStream->GetBuffer() + m_nPosition;
}

// ---- the stream ----

CVQDataStream::CVQDataStream(int nMode)
    : m_pBlock(NewBlock(nullptr, true)), m_nCapacity(0), m_nSize(0), m_nMode(nMode), m_oIterator(*this),
      m_nVersion(NO_VERSION)
{
    Refresh();
}

CVQDataStream::CVQDataStream(unsigned long nSize, int nMode)
    : m_pBlock(NewBlock(AllocBytes(nSize), true)), m_nCapacity(static_cast<std::uint32_t>(nSize)),
      m_nSize((nMode & STORING) != 0 ? 0 : m_nCapacity), m_nMode(nMode), m_oIterator(*this), m_nVersion(NO_VERSION)
{
    Refresh();
}

CVQDataStream::CVQDataStream(const unsigned char* pData, unsigned long nSize, int nMode, bool bCopy)
    : m_pBlock(NewBlock(pData, nSize, bCopy)), m_nCapacity(pData != nullptr ? static_cast<std::uint32_t>(nSize) : 0),
      m_nSize((nMode & STORING) != 0 && !bCopy ? 0 : m_nCapacity), m_nMode(nMode), m_oIterator(*this),
      m_nVersion(NO_VERSION)
{
    Refresh();
}

CVQDataStream::CVQDataStream(const CVQDataStream& oOther, int nMode)
    : m_pBlock(oOther.Share()), m_nCapacity(oOther.m_nSize), m_nSize((nMode & STORING) != 0 ? 0 : oOther.m_nSize),
      m_nMode(nMode), m_oIterator(*this), m_nVersion(NO_VERSION)
{
    Refresh();
}

CVQDataStream::~CVQDataStream()
{
    Release(m_pBlock);
}

CVQDataStream& CVQDataStream::operator=(const CVQDataStream& oOther)
{
    if (this == &oOther)
        return *this;

    TakeBlock(oOther.Share());
    m_nCapacity = oOther.m_nCapacity;
    m_nSize = oOther.m_nSize;
    Refresh();
    m_oIterator = Begin();
    return *this;
}

void CVQDataStream::SerializeBegin(int nVersion)
{
    std::int32_t nStored = nVersion;
    if (IsStoring())
    {
        Put(&nStored, sizeof(nStored));
        return;
    }

    RequireReadable(sizeof(nStored));
    PushVersion(m_nVersion);
    Get(&nStored, sizeof(nStored));
    SetVersion(nStored);
}

void CVQDataStream::SerializeEnd() noexcept
{
    if (!IsStoring())
        SetVersion(PopVersion());
}

void CVQDataStream::Clear() noexcept
{
    m_nSize = 0;
    m_oIterator = Begin();
    m_nVersion = NO_VERSION;
    ClearVersionStack();
}

void CVQDataStream::Rewind() noexcept
{
    const std::uint32_t nSize = m_nSize;
    Clear();
    if (!IsStoring())
        m_nSize = nSize;
}

void CVQDataStream::Clear(const unsigned char* pData, unsigned long nSize, bool bCopy)
{
    TakeBlock(NewBlock(pData, nSize, bCopy));
    m_nCapacity = pData != nullptr ? static_cast<std::uint32_t>(nSize) : 0;
    Refresh();
    Clear();
}

void CVQDataStream::Rewind(const unsigned char* pData, unsigned long nSize, bool bCopy)
{
    Clear(pData, nSize, bCopy);
    if (!IsStoring())
        m_nSize = m_nCapacity;
}

CVQDataStream::Iterator CVQDataStream::Begin() noexcept
{
    return {*this};
}

/// Sees to it that nSize bytes can be written at a position.
///
/// @return where the bytes to be written are now: they may have been in the block itself
const void* CVQDataStream::MakeRoom(std::uint32_t nPosition, const void* pData, unsigned long nSize)
{
    if (!IsStoring())
        ThrowWriteWhileLoading();
    if (nSize > MAX_SIZE - nPosition)
        ThrowNoMemory();

    if (m_pBlock->m_nReferences > 1)
        Detach(nSize); // the old block lives on with those that shared it

    const auto* pBytes = static_cast<const unsigned char*>(pData);
    const std::less<const unsigned char*> Before;
    const unsigned char* pOld = GetBuffer();
    const bool bOwnBytes = pOld != nullptr && !Before(pBytes, pOld) && Before(pBytes, pOld + m_nCapacity);
    const std::ptrdiff_t nInside = bOwnBytes ? pBytes - pOld : 0;

    GrowToAtLeast(nPosition + nSize);
    Refresh();
    return bOwnBytes ? GetBuffer() + nInside : pData;
}

/// Tells why nSize bytes cannot be read at a position.
void CVQDataStream::RefuseRead(std::uint32_t nPosition, unsigned long nSize) const
{
    if (nPosition > m_nCapacity || nSize > m_nCapacity - nPosition)
        ThrowReadBehindEnd();
    ThrowReadWhileStoring();
}

/// Leaves the shared block for one of its own with the same data and room for nExtra bytes more.
void CVQDataStream::Detach(std::uint64_t nExtra)
{
    const std::uint64_t nSize = m_nSize + nExtra;
    SBlock* pOwn = NewBlock(AllocBytes(nSize), true);
    if (m_nSize != 0)
        std::memcpy(pOwn->m_pData, m_pBytes, m_nSize);

    TakeBlock(pOwn);
    m_nCapacity = static_cast<std::uint32_t>(nSize);
    Refresh();
}

/// Moves to a new block; what is behind the data is zero. The old block is freed whoever owned it.
void CVQDataStream::Reallocate(unsigned long nSize)
{
    unsigned char* pData = AllocBytes(nSize);
    if (m_nSize != 0)
        std::memcpy(pData, m_pBytes, m_nSize);

    MEM_Free(std::exchange(m_pBlock->m_pData, pData));
    m_nCapacity = static_cast<std::uint32_t>(nSize);
    Refresh();
}

void CVQDataStream::GrowToAtLeast(unsigned long nSize)
{
    if (m_nCapacity < nSize)
        Reallocate(static_cast<unsigned long>(std::min(nSize + 2 * std::uint64_t{m_nCapacity}, MAX_SIZE)));
}

/// Takes a block for MEM_Free() that holds zeros; large ones come from the system so, without being touched.
unsigned char* CVQDataStream::AllocBytes(std::uint64_t nSize)
{
    const bool bFits = nSize <= MAX_SIZE && nSize <= std::numeric_limits<std::size_t>::max();
    void* pBytes = bFits ? std::calloc(std::max<std::size_t>(static_cast<std::size_t>(nSize), 1), 1) : nullptr;
    if (pBytes == nullptr)
        ThrowNoMemory();
    return static_cast<unsigned char*>(pBytes);
}

/// Takes the bytes over, also when it throws.
CVQDataStream::SBlock* CVQDataStream::NewBlock(unsigned char* pData, bool bOwnsData)
{
    auto* pBlock = new (std::nothrow) SBlock{pData, 1, bOwnsData};
    if (pBlock != nullptr)
        return pBlock;

    if (bOwnsData)
        MEM_Free(pData);
    ThrowNoMemory();
}

CVQDataStream::SBlock* CVQDataStream::NewBlock(const unsigned char* pData, unsigned long nSize, bool bCopy)
{
    if (nSize > MAX_SIZE)
        ThrowNoMemory();
    if (pData == nullptr)
        return NewBlock(nullptr, true);
    if (!bCopy)
        return NewBlock(const_cast<unsigned char*>(pData), false); // the stream's mode refuses writes

    unsigned char* pBytes = AllocBytes(nSize);
    if (nSize != 0)
        std::memcpy(pBytes, pData, nSize);
    return NewBlock(pBytes, true);
}

CVQDataStream::SBlock* CVQDataStream::Share() const noexcept
{
    ++m_pBlock->m_nReferences;
    m_nWriteLimit = 0;
    return m_pBlock;
}

void CVQDataStream::Release(SBlock* pBlock) noexcept
{
    if (--pBlock->m_nReferences >= 1)
        return;

    if (pBlock->m_bOwnsData)
        MEM_Free(pBlock->m_pData);
    delete pBlock;
}

void CVQDataStream::TakeBlock(SBlock* pBlock) noexcept
{
    Release(std::exchange(m_pBlock, pBlock));
}

/// Works out anew what follows from block, capacity and mode.
///
/// Nobody else moves the bytes of this block: only a stream that does not share it does. And nobody else begins to
/// share it unnoticed: a copy is made of this stream, or of one that shares it already.
void CVQDataStream::Refresh() noexcept
{
    m_pBytes = m_pBlock->m_pData;
    m_nReadLimit = IsStoring() ? 0 : std::uint64_t{m_nCapacity} + 1;
    m_nWriteLimit = IsStoring() && m_pBlock->m_nReferences == 1 ? std::uint64_t{m_nCapacity} + 1 : 0;
}

void CVQDataStream::PushVersion(int nVersion)
{
    if (m_aVersions.size() == m_aVersions.capacity())
        m_aVersions.reserve(std::max(2 * m_aVersions.size(), VERSIONS_AT_ONCE));
    m_aVersions.push_back(nVersion);
}

int CVQDataStream::PopVersion() noexcept
{
    if (m_aVersions.empty())
        return NO_VERSION;

    const int nVersion = m_aVersions.back();
    m_aVersions.pop_back();
    return nVersion;
}

void CVQDataStream::SetVersion(int nVersion) noexcept
{
    m_nVersion = nVersion;
}

void CVQDataStream::ClearVersionStack() noexcept
{
    m_aVersions.clear();
}

void CVQDataStream::ThrowReadBehindEnd()
{
    ThrowException(5000, 300, SOURCE_FILE, "Allocated buffer to small, write pointer exceeds memory.");
}

void CVQDataStream::ThrowNoMemory()
{
    ThrowException(5001, 240, SOURCE_FILE, "Could not allocate new memory for stream, out of memory.");
}

void CVQDataStream::ThrowReadWhileStoring()
{
    ThrowException(5002, 304, SOURCE_FILE, "Trying to read from a write only stream!");
}

void CVQDataStream::ThrowWriteWhileLoading()
{
    ThrowException(5003, 323, SOURCE_FILE, "Trying to write to a read only stream!");
}

void CVQDataStream::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile, const char* pMessage)
{
    throw CVQDataStreamException(nCode, nLine, pFile, pMessage);
}

// ---- strings ----

void WriteStreamString(CVQDataStream& oStream, const CVQString& oText)
{
    if (oText.IsIdenticalToStringResource())
    {
        const std::int32_t aRecord[] = {STRING_ID_FOLLOWS, static_cast<std::int32_t>(oText.GetStringId())};
        oStream.Put(aRecord, sizeof(aRecord));
        return;
    }

    const auto nLength = static_cast<std::int32_t>(oText.GetLength());
    oStream.Put(&nLength, sizeof(nLength));
    if (nLength > 0)
        oStream.Put(~oText, static_cast<unsigned long>(nLength));
}

void ReadStreamString(CVQDataStream& oStream, CVQString& oText)
{
    std::int32_t nLength = 0;
    oStream.Get(&nLength, sizeof(nLength));

    if (nLength == STRING_ID_FOLLOWS)
    {
        std::int32_t nId = 0;
        oStream.Get(&nId, sizeof(nId));
        oText.LoadStringResource(nId);
    }
    else if (nLength > 0)
    {
        const auto nSize = static_cast<unsigned long>(nLength);
        oStream.RequireReadable(nSize);
        oStream.Get(oText.GetBuffer(nLength), nSize);
        oText.ReleaseBuffer(nLength);
    }
}
