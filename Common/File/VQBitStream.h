#pragma once

#include <Common/Export.h>
#include <Common/File/VQBitArray.h>
#include <Common/String/VQString.h>

#include <algorithm>
#include <cstdint>
#include <limits>

/// A bit array with a position: packs flags bit by bit and reads them back in the same order.
///
///     CVQBitStream oFlags;
///     oFlags.BeginWrite();
///     oFlags.Write(bVisible);
///     oFlags.Write(bSolid);
///     oFlags.EndWrite();
///
///     oFlags.BeginRead();
///     oFlags.Read(bVisible);
///     oFlags.Read(bSolid);
///     oFlags.EndRead();
///
/// Whether it reads or writes is only remembered, not checked. An object belongs to one thread at a time.
class COMMON_API CVQBitStream : public CVQBitArray
{
public:
    /// No bits and no buffer.
    CVQBitStream() noexcept;
    /// The same as SetNumBits() of a new stream.
    CVQBitStream(int nBits);
    /// Copies the bits; the position is 0, and the copy neither reads nor writes.
    CVQBitStream(const CVQBitStream& oOther);
    ~CVQBitStream() override;

    /// Takes the bits of the other as CVQBitArray does and goes to position 0.
    CVQBitStream& operator=(const CVQBitStream& oOther);

    /// Goes to position 0.
    void Rewind() noexcept { SetPos(0); }

    /// Goes to a bit, which need not be there; a negative one leaves the position.
    void SetPos(int nBit) noexcept
    {
        if (nBit < 0)
            return;

        m_nByte = nBit / BITS;
        m_nBit = nBit % BITS;
    }

    /// The position in bits.
    int GetPos() const noexcept
    {
        const std::int64_t nPosition = std::int64_t{BITS} * m_nByte + m_nBit;
        return static_cast<int>(std::min<std::int64_t>(nPosition, MAX_POSITION)); // behind the very last bit
    }

    /// Bits in use from the position on; negative when it is behind them.
    int GetNumBitsLeft() const noexcept { return GetNumBits() - GetPos(); }

    /// Makes all bits zero and goes to position 0.
    void BeginWrite() noexcept;

    /// Writes a bit and moves on. Without a bit left there the array first grows by a byte, or up to the position.
    ///
    /// False leaves the bit as it is; after BeginWrite() that is zero. Kept: callers rely on it.
    void Write(bool bValue)
    {
        if (GetNumBitsLeft() < 1)
            GrowToByte(m_nByte);

        unsigned char& nByte = ByteAt(m_nByte);
        nByte = static_cast<unsigned char>(nByte | (bValue * HIGHEST) >> m_nBit); // no jump: bits cannot be guessed
        Advance();
    }

    /// Ends writing.
    void EndWrite() noexcept { m_bWriting = false; }

    /// Goes to position 0.
    void BeginRead() noexcept;

    /// Reads a bit and moves on. The bits of the last byte can all be read, in use or not; behind it all are false.
    void Read(bool& bValue) noexcept
    {
        bValue = m_nByte < GetSize() && (unsigned{ByteAt(m_nByte)} << m_nBit & HIGHEST) != 0;
        if (m_nByte < GetSize() || GetPos() < MAX_POSITION) // behind the last position there is none
            Advance();
    }

    /// Ends reading.
    void EndRead() noexcept { m_bReading = false; }

    /// Whether BeginRead() was called, and EndRead() not since.
    bool IsReading() const noexcept { return m_bReading; }

    /// Whether BeginWrite() was called, and EndWrite() not since.
    bool IsWriting() const noexcept { return m_bWriting; }

    /// Appends a line for each byte to a text: "Byte    1: 10000001" and a line feed.
    ///
    /// @param nBytes  how many bytes, at most all there are; -1 for all
    void Dump(CVQString& oText, int nBytes) const;

private:
    static constexpr unsigned HIGHEST = 0x80;
    static constexpr std::int32_t MAX_POSITION = std::numeric_limits<std::int32_t>::max();

    // No jump, for the same reason.
    void Advance() noexcept
    {
        const auto nNext = static_cast<std::uint32_t>(m_nBit) + 1;
        m_nByte += static_cast<std::int32_t>(nNext / BITS);
        m_nBit = static_cast<std::int32_t>(nNext % BITS);
    }

    std::int32_t m_nByte;
    std::int32_t m_nBit; // 0 to 7, from the highest
    bool m_bReading;
    bool m_bWriting;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQBitStream) == 28, "the layout that the 32-bit callers know");
