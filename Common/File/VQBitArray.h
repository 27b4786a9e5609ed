#pragma once

#include <Common/Debug/Log.h>
#include <Common/Export.h>

#include <cstdint>
#include <memory>

/// A growing array of bits.
///
///     CVQBitArray oSeen;
///     oSeen.SetBit(10, true);          // grows to hold it
///     oSeen.GetBit(10);                // true
///
/// Bit 0 is the highest bit of byte 0, bit 8 the highest of byte 1. Sizes count bytes, numbers of bits count bits;
/// negative ones count as 0.
///
/// There are at most 2^31 - 1 bits: more are refused with std::length_error, missing memory is std::bad_alloc, and the
/// array is then as it was. An object belongs to one thread at a time.
class COMMON_API CVQBitArray
{
public:
    /// No bits and no buffer.
    CVQBitArray() noexcept;
    /// The same as SetNumBits() of a new array.
    CVQBitArray(int nBits);
    /// A copy. See operator=().
    CVQBitArray(const CVQBitArray& oOther);
    virtual ~CVQBitArray();

    /// Takes the bits of another array, its size and its number of bits. A buffer that is larger is kept.
    CVQBitArray& operator=(const CVQBitArray& oOther);

    /// Changes the number of bytes; all their bits are in use then. What is kept stays, what is new is zero.
    void SetSize(int nBytes);

    /// Changes the number of bits. There is always one byte more than the whole bytes: nBits / 8 + 1.
    void SetNumBits(int nBits);

    /// Bytes.
    int GetSize() const noexcept { return m_nSize; }

    /// Bits in use.
    int GetNumBits() const noexcept { return m_nBits; }

    /// Sets a bit, and grows before when it is not in use.
    ///
    /// After the growth nIndex bits are in use, not nIndex + 1; and false leaves a bit as it is: only Clear() takes
    /// bits away. Kept: callers rely on both.
    ///
    /// @param nIndex  0 and above; a negative one does nothing
    void SetBit(int nIndex, bool bValue)
    {
        if (nIndex >= m_nBits)
            GrowToHold(nIndex);
        if (bValue && nIndex >= 0)
            OrBit(nIndex);
    }

    /// Tells a bit. The index is checked in debug builds alone; the bits of the bytes behind those in use can be read.
    bool GetBit(int nIndex) const
    {
        VQ_DEBUG_ASSERT(nIndex >= 0 && nIndex / BITS < m_nSize);
        return (m_pBytes[static_cast<std::uint32_t>(nIndex) / BITS] & MaskOf(nIndex)) != 0;
    }

    /// Makes all bits zero; the size and the number of bits stay.
    void Clear() noexcept;

    /// Whether both have the same size and the same bytes; the number of bits in use is not compared. Kept: callers
    /// rely on it.
    bool operator==(const CVQBitArray& oOther) const noexcept;

    /// The bytes, null when there are none. Valid until the array grows.
    const unsigned char* GetBuffer() const noexcept { return m_pBytes.get(); }

    /// The bytes for writing into them.
    ///
    /// @param nBytes  how many are needed; when there are fewer, see SetSize()
    unsigned char* QueryBuffer(int nBytes);

    /// Does nothing: the counterpart of QueryBuffer().
    void ReleaseBuffer() noexcept {}

protected:
    /// Bits of a byte.
    static constexpr int BITS = 8;

    /// Makes the array longer until it has a byte, as SetSize() does.
    void GrowToByte(int nByte);

    /// The bit of a byte where the bit of an index is.
    static unsigned char MaskOf(int nIndex) noexcept
    {
        return static_cast<unsigned char>(0x80U >> (static_cast<std::uint32_t>(nIndex) % BITS));
    }

    /// Sets a bit that there is room for.
    void OrBit(int nIndex) noexcept
    {
        unsigned char& nByte = ByteAt(nIndex / BITS);
        nByte = static_cast<unsigned char>(nByte | MaskOf(nIndex));
    }

    /// A byte that is there.
    unsigned char& ByteAt(std::int32_t nByte) noexcept { return m_pBytes[static_cast<std::uint32_t>(nByte)]; }

    /// A byte that is there.
    unsigned char ByteAt(std::int32_t nByte) const noexcept { return m_pBytes[static_cast<std::uint32_t>(nByte)]; }

private:
    void GrowToHold(int nIndex);
    void Resize(std::int32_t nBytes);

    std::unique_ptr<unsigned char[]> m_pBytes;
    std::int32_t m_nSize;
    std::int32_t m_nBits;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQBitArray) == 16, "the layout that the 32-bit callers know");
