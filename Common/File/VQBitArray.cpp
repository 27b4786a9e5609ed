#include <Common/File/VQBitArray.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

namespace VQBitArrayDetail
{
[[noreturn]] void ThrowTooLarge();
}

namespace
{
constexpr std::int32_t MAX_SIZE = std::numeric_limits<std::int32_t>::max() / 8; // bytes whose bits can be counted
constexpr std::uint32_t SMALLEST_STEP = 16;
constexpr std::uint32_t STEPS = 8; // in a power of two

/// Bytes of memory for an array of so many: room to grow a little, so that a growth bit by bit is no copy each.
std::uint32_t RoomFor(std::int32_t nBytes) noexcept
{
    const auto nNeeded = static_cast<std::uint32_t>(nBytes);
    const std::uint32_t nStep = std::max(std::bit_floor(nNeeded) / STEPS, SMALLEST_STEP);
    return (nNeeded + nStep - 1) & ~(nStep - 1); // a step is a power of two
}
} // namespace

CVQBitArray::CVQBitArray() noexcept : m_nSize(0), m_nBits(0) {}

CVQBitArray::CVQBitArray(int nBits) : CVQBitArray()
{
    SetNumBits(nBits);
}

CVQBitArray::CVQBitArray(const CVQBitArray& oOther) : CVQBitArray()
{
    *this = oOther;
}

CVQBitArray::~CVQBitArray() = default;

CVQBitArray& CVQBitArray::operator=(const CVQBitArray& oOther)
{
    if (this == &oOther)
        return *this;

    if (m_nSize < oOther.m_nSize)
        Resize(oOther.m_nSize);
    std::copy_n(oOther.m_pBytes.get(), oOther.m_nSize, m_pBytes.get());
    m_nSize = oOther.m_nSize;
    m_nBits = oOther.m_nBits;
    return *this;
}

void CVQBitArray::SetSize(int nBytes)
{
    if (nBytes > MAX_SIZE)
        VQBitArrayDetail::ThrowTooLarge();

    Resize(std::max(nBytes, 0));
    m_nBits = BITS * m_nSize;
}

void CVQBitArray::SetNumBits(int nBits)
{
    nBits = std::max(nBits, 0);
    Resize(nBits / BITS + 1);
    m_nBits = nBits;
}

void CVQBitArray::Clear() noexcept
{
    std::fill_n(m_pBytes.get(), m_nSize, static_cast<unsigned char>(0));
}

bool CVQBitArray::operator==(const CVQBitArray& oOther) const noexcept
{
    return m_nSize == oOther.m_nSize && std::equal(m_pBytes.get(), m_pBytes.get() + m_nSize, oOther.m_pBytes.get());
}

unsigned char* CVQBitArray::QueryBuffer(int nBytes)
{
    if (m_nSize < nBytes)
        SetSize(nBytes);
    return m_pBytes.get();
}

void CVQBitArray::GrowToByte(int nByte)
{
    if (nByte >= MAX_SIZE)
        VQBitArrayDetail::ThrowTooLarge();

    if (nByte == m_nSize && static_cast<std::uint32_t>(m_nSize) % SMALLEST_STEP != 0)
    {
        ByteAt(m_nSize++) = 0; // memory comes in whole steps: there is a byte left
        m_nBits = BITS * m_nSize;
        return;
    }
    SetSize(std::max(m_nSize, nByte) + 1);
}

void CVQBitArray::GrowToHold(int nIndex)
{
    SetNumBits(nIndex);
}

/// Changes the size and keeps the bits; new ones are zero. There is memory for RoomFor(m_nSize) bytes at least.
void CVQBitArray::Resize(std::int32_t nBytes)
{
    const bool bFits = m_pBytes != nullptr && RoomFor(nBytes) <= RoomFor(m_nSize);
    if (nBytes == 0)
    {
        m_pBytes.reset();
    }
    else if (!bFits)
    {
        auto pBytes = std::make_unique_for_overwrite<unsigned char[]>(RoomFor(nBytes));
        std::copy_n(m_pBytes.get(), m_nSize, pBytes.get());
        m_pBytes = std::move(pBytes);
    }

    if (nBytes > m_nSize)
        std::fill_n(m_pBytes.get() + m_nSize, nBytes - m_nSize, static_cast<unsigned char>(0));
    m_nSize = nBytes;
}
