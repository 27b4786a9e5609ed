#include <Common/Debug/MemFileIOException.h>
#include <Common/File/MemFileIO.h>
#include <Common/Platform/PlatformMemory.h>

#include <algorithm>
#include <limits>
#include <new>

namespace
{
constexpr const char* SOURCE_FILE = "Common/File/MemFileIO";

constexpr unsigned long ERROR_CANNOT_GROW = 4600;
constexpr unsigned long ERROR_NO_MEMORY = 4601;
constexpr unsigned long ERROR_BEFORE_START = 4602;

constexpr std::uint32_t MAX_SIZE = std::numeric_limits<std::uint32_t>::max();

// The fields have 32 bits on every system; what is larger is as good as the largest of them.
std::uint32_t Saturate(std::uint64_t nValue)
{
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(nValue, MAX_SIZE));
}
} // namespace

/// Stands for a block and is shared by the files that use it; the last of them frees the block if it is owned.
struct CMemFileIO::sBlock
{
    unsigned char* m_pBytes;
    bool m_bOwned;

    sBlock(unsigned char* pBytes, bool bOwned) : m_pBytes(pBytes), m_bOwned(bOwned) {}

    ~sBlock()
    {
        if (m_bOwned)
            Free(m_pBytes);
    }

    sBlock(const sBlock&) = delete;
    sBlock& operator=(const sBlock&) = delete;
};

CMemFileIO::CMemFileIO(unsigned long nGrowStep)
    : m_nGrowStep(Saturate(nGrowStep)), m_nPosition(0), m_nCapacity(0), m_nSize(0), m_pBuffer(nullptr),
      m_bAutoDelete(true)
{
}

CMemFileIO::CMemFileIO(unsigned char* pBuffer, unsigned long nBufferSize, unsigned long nGrowStep) : CMemFileIO(0)
{
    CMemFileIO::Attach(pBuffer, nBufferSize, nGrowStep);
}

CMemFileIO::CMemFileIO(const CMemFileIO& oOther) = default;

CMemFileIO& CMemFileIO::operator=(const CMemFileIO& oOther) = default;

CMemFileIO::~CMemFileIO()
{
    CMemFileIO::Flush();
    CMemFileIO::Close();
}

void CMemFileIO::Attach(unsigned char* pBuffer, unsigned long nBufferSize, unsigned long nGrowStep)
{
    // The own block becomes the caller's, as by Detach().
    const std::shared_ptr<sBlock> pOld = m_pBlock;
    const bool bOwnBlock = IsInside(pBuffer);
    m_pBlock = pBuffer != nullptr ? std::make_shared<sBlock>(pBuffer, false) : nullptr;
    if (bOwnBlock)
        pOld->m_bOwned = false;

    m_nGrowStep = Saturate(nGrowStep);
    m_nPosition = 0;
    m_nCapacity = pBuffer != nullptr ? Saturate(nBufferSize) : 0;
    m_nSize = m_nGrowStep == 0 ? m_nCapacity : 0;
    m_pBuffer = pBuffer;
    m_bAutoDelete = false;
}

unsigned char* CMemFileIO::Detach()
{
    unsigned char* const pBuffer = m_pBuffer;
    if (m_pBlock != nullptr)
        m_pBlock->m_bOwned = false;

    m_pBlock = nullptr;
    m_nPosition = m_nCapacity = m_nSize = 0;
    m_pBuffer = nullptr;
    m_bAutoDelete = false;
    return pBuffer;
}

void CMemFileIO::SetSize(unsigned long nSize)
{
    if (nSize > m_nCapacity)
        GrowFile(nSize);

    m_nSize = static_cast<std::uint32_t>(nSize);
    m_nPosition = std::min(m_nPosition, m_nSize);
}

CMemFileIO::operator void*() const
{
    return GetBuffer();
}

bool CMemFileIO::Open(const char* /*pName*/, int /*nMode*/)
{
    return true;
}

bool CMemFileIO::Close()
{
    m_nGrowStep = m_nPosition = m_nCapacity = m_nSize = 0;
    m_pBlock = nullptr;
    m_pBuffer = nullptr;
    return true;
}

bool CMemFileIO::Flush()
{
    return true;
}

bool CMemFileIO::Read(void* pTarget, unsigned long nCount)
{
    if (nCount == 0)
        return true;
    if (m_nPosition >= m_nSize)
        return false;

    const std::uint32_t nBytes = std::min(Saturate(nCount), m_nSize - m_nPosition);
    Memcpy(pTarget, m_pBuffer + m_nPosition, nBytes);
    m_nPosition += nBytes;
    return true;
}

bool CMemFileIO::Write(const void* pSource, unsigned long nCount)
{
    if (nCount == 0)
        return true;

    // Two sums of 64 bits, because the count alone may have as many.
    if (nCount > MAX_SIZE - m_nPosition)
        GrowFile(std::uint64_t{MAX_SIZE} + 1);
    if (m_nPosition + nCount > m_nCapacity)
    {
        // The source may lie in the block, which moves.
        const bool bOwnBlock = IsInside(pSource);
        const auto nOffset = bOwnBlock ? static_cast<const unsigned char*>(pSource) - m_pBuffer : 0;
        GrowFile(std::uint64_t{m_nPosition} + nCount);
        if (bOwnBlock)
            pSource = m_pBuffer + nOffset;
    }

    const auto nBytes = static_cast<std::uint32_t>(nCount);
    Memcpy(m_pBuffer + m_nPosition, pSource, nBytes);
    m_nPosition += nBytes;
    m_nSize = std::max(m_nSize, m_nPosition);
    return true;
}

int CMemFileIO::ReadRaw(void* /*pTarget*/, unsigned long /*nSize*/, unsigned long /*nCount*/)
{
    return 0;
}

int CMemFileIO::WriteRaw(const void* /*pSource*/, unsigned long /*nSize*/, unsigned long /*nCount*/)
{
    return 0;
}

bool CMemFileIO::Printf(const char* /*pFormat*/, ...)
{
    return false;
}

bool CMemFileIO::IsOpened() const
{
    return true;
}

bool CMemFileIO::IsEof() const
{
    return m_nPosition >= m_nSize;
}

bool CMemFileIO::SetFilePointerPos(unsigned long nPosition)
{
    m_nPosition = Saturate(nPosition);
    return true;
}

bool CMemFileIO::Skip(long nDelta)
{
    const auto nPosition = static_cast<std::int64_t>(m_nPosition);
    if (nDelta < -nPosition)
        ThrowException(ERROR_BEFORE_START, __LINE__, SOURCE_FILE, nullptr);

    // Both are below 2^63, so the sum of the two as unsigned numbers is exact.
    m_nPosition = Saturate(static_cast<std::uint64_t>(nPosition) + static_cast<std::uint64_t>(nDelta));
    return true;
}

unsigned long CMemFileIO::GetFilePointerPos() const
{
    return m_nPosition;
}

unsigned long CMemFileIO::GetSize() const
{
    return m_nSize;
}

unsigned long CMemFileIO::GetBufferSize() const
{
    return m_nCapacity;
}

unsigned char* CMemFileIO::GetBuffer() const
{
    return m_pBuffer;
}

void CMemFileIO::GrowFile(std::uint64_t nNewSize)
{
    if (m_nGrowStep == 0)
        ThrowException(ERROR_CANNOT_GROW, __LINE__, SOURCE_FILE, nullptr);
    if (nNewSize > MAX_SIZE)
        ThrowException(ERROR_NO_MEMORY, __LINE__, SOURCE_FILE, nullptr);

    const std::uint64_t nSteps = (nNewSize - m_nCapacity + m_nGrowStep - 1) / m_nGrowStep;
    const std::uint64_t nWanted = m_nCapacity + nSteps * m_nGrowStep;
    if (nWanted > MAX_SIZE)
        ThrowException(ERROR_NO_MEMORY, __LINE__, SOURCE_FILE, nullptr);
    const auto nCapacity = static_cast<std::uint32_t>(nWanted);

    // A block that others look at, or that was handed out, stays where it is; this file goes on with a copy.
    const bool bAlone = m_pBlock != nullptr && m_pBlock.use_count() == 1 && m_pBlock->m_bOwned == m_bAutoDelete;
    if (bAlone)
    {
        unsigned char* const pGrown = Realloc(m_pBuffer, nCapacity);
        if (pGrown == nullptr)
            ThrowException(ERROR_NO_MEMORY, __LINE__, SOURCE_FILE, nullptr);
        m_pBlock->m_pBytes = m_pBuffer = pGrown;
    }
    else
    {
        std::shared_ptr<sBlock> pBlock;
        try
        {
            pBlock = std::make_shared<sBlock>(nullptr, m_bAutoDelete);
            pBlock->m_pBytes = Alloc(nCapacity);
        }
        catch (const std::bad_alloc&)
        {
        }
        if (pBlock == nullptr || pBlock->m_pBytes == nullptr)
            ThrowException(ERROR_NO_MEMORY, __LINE__, SOURCE_FILE, nullptr);
        Memcpy(pBlock->m_pBytes, m_pBuffer, m_nCapacity);
        m_pBlock = std::move(pBlock);
        m_pBuffer = m_pBlock->m_pBytes;
    }

    // No byte that was never written leaves the block with what lay in memory before.
    MEM_Zero(m_pBuffer + m_nCapacity, nCapacity - m_nCapacity);
    m_nCapacity = nCapacity;
}

bool CMemFileIO::IsInside(const void* pAddress) const
{
    return reinterpret_cast<std::uintptr_t>(pAddress) - reinterpret_cast<std::uintptr_t>(m_pBuffer) < m_nCapacity;
}

unsigned char* CMemFileIO::Alloc(std::uint32_t nSize)
{
    return static_cast<unsigned char*>(MEM_Alloc(nSize));
}

unsigned char* CMemFileIO::Realloc(unsigned char* pBlock, std::uint32_t nSize)
{
    return static_cast<unsigned char*>(MEM_Realloc(pBlock, nSize));
}

void CMemFileIO::Memcpy(void* pTarget, const void* pSource, std::uint32_t nSize)
{
    // The two may overlap, when a file is written to from its own block.
    MEM_Move(pTarget, pSource, nSize);
}

void CMemFileIO::Free(unsigned char* pBlock)
{
    MEM_Free(pBlock);
}

void CMemFileIO::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile, const char* pMessage) const
{
    throw CMemFileIOException(nCode, nLine, pFile, pMessage);
}
