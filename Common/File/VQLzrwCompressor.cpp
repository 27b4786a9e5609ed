#include <Common/File/VQLzrwCompressor.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

static_assert(std::endian::native == std::endian::little, "matches are measured on little-endian words");
static_assert(sizeof(void*) != 4 || sizeof(CVQLzrwCompressor) == 20);

namespace
{
constexpr unsigned char FLAG_COMPRESSED = 0;
constexpr unsigned char FLAG_STORED = 1;
constexpr std::size_t HEADER_SIZE = 4;

constexpr std::size_t CONTROL_SIZE = 2;
constexpr std::size_t ITEMS_PER_GROUP = 16;
constexpr std::size_t COPY_SIZE = 2;
constexpr unsigned COPY_BIT = 0x8000; // enters a control word at the top and is shifted down to its item's place

constexpr std::uint32_t MAX_OFFSET = 4095;
constexpr std::size_t MIN_LENGTH = 3;
constexpr std::size_t MAX_LENGTH = 16;

/// What a whole group can take from the input and what it can add to the output, its control word included.
constexpr std::size_t GROUP_INPUT = ITEMS_PER_GROUP * MAX_LENGTH;
constexpr std::size_t GROUP_OUTPUT = ITEMS_PER_GROUP * COPY_SIZE + CONTROL_SIZE;

constexpr std::size_t TABLE_SIZE = 4096;

std::uint64_t LoadWord(const unsigned char* pBytes)
{
    std::uint64_t nWord;
    std::memcpy(&nWord, pBytes, sizeof nWord);
    return nWord;
}

void StoreControl(unsigned char* pTarget, unsigned nControl)
{
    pTarget[0] = static_cast<unsigned char>(nControl);
    pTarget[1] = static_cast<unsigned char>(nControl >> 8);
}

/// Place of three bytes in the table: 40543 times their key, shifted down by 4, of which 12 bits count. 16 bits hold
/// all of it, so the compiler makes eight at a time.
std::uint16_t HashOf(const unsigned char* pBytes)
{
    const auto nKey = static_cast<std::uint16_t>(pBytes[0] << 8 ^ pBytes[1] << 4 ^ pBytes[2]);
    const auto nProduct = static_cast<std::uint16_t>(nKey * 40543u);
    return static_cast<std::uint16_t>(nProduct >> 4 & (TABLE_SIZE - 1));
}

/// The hashes of the positions ahead, made in one go: off the path from one item to the next.
class CHashesAhead
{
public:
    /// The hashes from a position on, at least nNeeded of them; the source goes on for nLeft bytes there.
    const std::uint16_t* At(const unsigned char* pSource, std::size_t nPosition, std::size_t nNeeded, std::size_t nLeft)
    {
        if (nPosition + nNeeded > m_nEnd)
        {
            m_nBegin = nPosition;
            m_nEnd = nPosition + std::min(m_oHashes.size(), nLeft - (MIN_LENGTH - 1));
            Fill(pSource + nPosition, m_nEnd - m_nBegin);
        }
        return &m_oHashes[nPosition - m_nBegin];
    }

private:
    void Fill(const unsigned char* pBytes, std::size_t nCount)
    {
        // Compilers make vectors of a loop over a fixed number, and lines of each round when the number is small.
        constexpr std::size_t AT_ONCE = 64;
        std::size_t nAt = 0;
        for (; nAt + AT_ONCE <= nCount; nAt += AT_ONCE)
            for (std::size_t i = 0; i < AT_ONCE; ++i)
                m_oHashes[nAt + i] = HashOf(pBytes + nAt + i);
        for (; nAt < nCount; ++nAt)
            m_oHashes[nAt] = HashOf(pBytes + nAt);
    }

    std::array<std::uint16_t, 2048> m_oHashes;
    std::size_t m_nBegin = 0;
    std::size_t m_nEnd = 0;
};

/// The last position of each hash, and beside it the bytes that stand there, so that a place without a copy is known as
/// one without a look at the candidate.
class CPositionTable
{
public:
    CPositionTable() { m_oEntries.fill(static_cast<std::uint64_t>(NO_POSITION) << 32); }

    /// Enters a position whose next bytes are nBytes, lowest first.
    ///
    /// @return the offset back to equal three bytes, 1 to 4095; 0 when the table has no such place
    std::uint32_t Enter(std::uint16_t nHash, std::uint32_t nPosition, std::uint64_t nBytes)
    {
        const std::uint64_t nOld = m_oEntries[nHash];
        m_oEntries[nHash] = static_cast<std::uint64_t>(nPosition) << 32 | static_cast<std::uint32_t>(nBytes);

        const std::uint32_t nOffset = nPosition - static_cast<std::uint32_t>(nOld >> 32);
        const std::uint32_t nDifference = static_cast<std::uint32_t>(nOld ^ nBytes) << 8;
        const std::uint32_t nTooFar = nOffset - 1 >= MAX_OFFSET;
        return (nDifference | nTooFar) == 0 ? nOffset : 0;
    }

private:
    /// The entry of an unused place: too far from any position to be a candidate.
    static constexpr std::uint32_t NO_POSITION = 0x80000000;

    std::array<std::uint64_t, TABLE_SIZE> m_oEntries;
};

/// Length of the match between two places, at most 16; 16 bytes must be readable at both.
unsigned MatchLength(const unsigned char* pFirst, const unsigned char* pSecond)
{
    const std::uint64_t nLow = LoadWord(pFirst) ^ LoadWord(pSecond);
    const std::uint64_t nHigh = LoadWord(pFirst + 8) ^ LoadWord(pSecond + 8);
    const auto nInLow = static_cast<unsigned>(std::countr_zero(nLow)) / 8;
    const auto nInHigh = static_cast<unsigned>(std::countr_zero(nHigh)) / 8;
    return nLow != 0 ? nInLow : 8 + nInHigh;
}

/// Where the compression stands.
struct SCursor
{
    const unsigned char* pIn;
    unsigned char* pOut;
    unsigned nControl;
    std::uint32_t nPosition;

    void PutLiteral()
    {
        *pOut++ = *pIn++;
        ++nPosition;
        nControl >>= 1;
    }

    /// Puts a copy of all that is equal nOffset bytes back; 16 bytes must be left of the input.
    unsigned PutCopy(std::uint32_t nOffset)
    {
        const unsigned nLength = MatchLength(pIn - nOffset, pIn);
        pOut[0] = static_cast<unsigned char>((nOffset & 0xF00) >> 4 | (nLength - 1));
        pOut[1] = static_cast<unsigned char>(nOffset);
        pOut += COPY_SIZE;
        pIn += nLength;
        nPosition += nLength;
        nControl = nControl >> 1 | COPY_BIT;
        return nLength;
    }

    /// Puts the next item of a whole group.
    void PutItem(CPositionTable& oTable, const std::uint16_t*& pHash)
    {
        const std::uint32_t nOffset = oTable.Enter(*pHash, nPosition, LoadWord(pIn));
        if (nOffset != 0)
        {
            pHash += PutCopy(nOffset);
        }
        else
        {
            PutLiteral();
            ++pHash;
        }
    }
};

/// Puts the items of a whole group one behind the other: written out, each place learns its own branches.
template <std::size_t... nItems>
void PutGroup(SCursor& oCursor, CPositionTable& oTable, const std::uint16_t* pHash, std::index_sequence<nItems...>)
{
    ((static_cast<void>(nItems), oCursor.PutItem(oTable, pHash)), ...);
}

unsigned LoadControl(const unsigned char* pSource)
{
    return pSource[0] | pSource[1] * 256u;
}

std::size_t OffsetOf(const unsigned char* pItem)
{
    return (pItem[0] & 0xF0u) * 16 + pItem[1];
}

std::size_t LengthOf(const unsigned char* pItem)
{
    return (pItem[0] & 0x0Fu) + 1;
}

/// Copies 16 bytes: the literals of a group, and what comes behind them is written over.
void CopyChunk(unsigned char* pTarget, const unsigned char* pSource)
{
    std::memcpy(pTarget, pSource, MAX_LENGTH);
}

/// Fills 16 bytes with those that stand nOffset (1 or more) bytes back; near ones repeat themselves. Two words and not
/// one chunk: an offset below 8 is too rare to be guessed wrong often, one below 16 is not.
void CopyBack(unsigned char* pTarget, std::size_t nOffset)
{
    // The smallest multiple of each short offset that a word of 8 bytes can be copied over.
    static constexpr std::size_t WORD_OFFSET[] = {8, 8, 8, 9, 8, 10, 12, 14};

    std::size_t nWordOffset = nOffset;
    if (nOffset >= 8)
    {
        std::memcpy(pTarget, pTarget - nOffset, 8);
    }
    else
    {
        for (std::size_t i = 0; i < 8; ++i)
            pTarget[i] = (pTarget - nOffset)[i];
        nWordOffset = WORD_OFFSET[nOffset];
    }
    std::memcpy(pTarget + 8, pTarget + 8 - nWordOffset, 8);
}
} // namespace

void CVQLzrwCompressor::SetSource(void* pData, int nSize)
{
    m_pSource = static_cast<unsigned char*>(pData);
    m_nSourceSize = nSize;
}

void CVQLzrwCompressor::SetDestination(void* pData, int nSize)
{
    m_pDestination = static_cast<unsigned char*>(pData);
    m_nDestinationSize = nSize;
}

bool CVQLzrwCompressor::HasBuffers() const
{
    return (m_pSource != nullptr || m_nSourceSize == 0) && m_nSourceSize >= 0 &&
           (m_pDestination != nullptr || m_nDestinationSize == 0) && m_nDestinationSize >= 0;
}

int CVQLzrwCompressor::StoreCopy()
{
    const auto nSize = static_cast<std::size_t>(m_nSourceSize);
    if (static_cast<std::size_t>(m_nDestinationSize) < HEADER_SIZE + nSize)
        return -1;

    m_pDestination[0] = FLAG_STORED;
    if (nSize != 0)
        std::memcpy(m_pDestination + HEADER_SIZE, m_pSource, nSize);
    return static_cast<int>(HEADER_SIZE + nSize);
}

int CVQLzrwCompressor::Compress()
{
    if (!HasBuffers())
        return -1;

    const unsigned char* const pInEnd = m_pSource + m_nSourceSize;
    const auto nSource = static_cast<std::size_t>(m_nSourceSize);
    const auto nTarget = static_cast<std::size_t>(m_nDestinationSize);
    if (nTarget < HEADER_SIZE + CONTROL_SIZE)
        return StoreCopy();

    CPositionTable oTable;
    CHashesAhead oHashes;
    unsigned char* pControl = m_pDestination + HEADER_SIZE;
    SCursor oCursor{m_pSource, pControl + CONTROL_SIZE, 0, 0};

    const auto InputLeft = [&] { return static_cast<std::size_t>(pInEnd - oCursor.pIn); };
    const auto OutputSize = [&] { return static_cast<std::size_t>(oCursor.pOut - m_pDestination); };
    const auto EndGroup = [&]
    {
        StoreControl(pControl, oCursor.nControl);
        pControl = oCursor.pOut;
        oCursor.pOut += CONTROL_SIZE;
        oCursor.nControl = 0;
    };

    // Whole groups, while neither end of the buffers can come within one.
    while (OutputSize() <= nSource && InputLeft() >= GROUP_INPUT && OutputSize() + GROUP_OUTPUT <= nTarget)
    {
        const std::uint16_t* const pHash =
            oHashes.At(m_pSource, oCursor.nPosition, GROUP_INPUT - MAX_LENGTH + 1, InputLeft());
        SCursor oGroup = oCursor; // a copy that nothing points to stays in registers
        PutGroup(oGroup, oTable, pHash, std::make_index_sequence<ITEMS_PER_GROUP>());
        oCursor = oGroup;
        EndGroup();
    }

    // The rest, item by item. Output that has passed the size of the input never comes back, and the block is stored:
    // so an item that finds no room ends in the stored copy too, which knows whether the destination is large enough.
    unsigned nItems = 0;
    while (OutputSize() <= nSource && InputLeft() > 0)
    {
        std::uint32_t nOffset = 0;
        if (InputLeft() >= MAX_LENGTH)
            nOffset = oTable.Enter(HashOf(oCursor.pIn), oCursor.nPosition, LoadWord(oCursor.pIn));

        if (OutputSize() + (nOffset != 0 ? COPY_SIZE : 1) > nTarget)
            return StoreCopy();
        if (nOffset != 0)
            oCursor.PutCopy(nOffset);
        else
            oCursor.PutLiteral();

        if (++nItems == ITEMS_PER_GROUP)
        {
            EndGroup();
            nItems = 0;
        }
    }
    if (OutputSize() > nSource)
        return StoreCopy();

    if (nItems == 0)
        oCursor.pOut -= CONTROL_SIZE;
    else
        StoreControl(pControl, oCursor.nControl >> (ITEMS_PER_GROUP - nItems));
    m_pDestination[0] = FLAG_COMPRESSED;
    return static_cast<int>(OutputSize());
}

int CVQLzrwCompressor::Decompress()
{
    if (!HasBuffers() || static_cast<std::size_t>(m_nSourceSize) < HEADER_SIZE)
        return -1;

    const unsigned char* pIn = m_pSource + HEADER_SIZE;
    const unsigned char* const pInEnd = m_pSource + m_nSourceSize;
    unsigned char* const pOutBegin = m_pDestination;
    unsigned char* const pOutEnd = m_pDestination + m_nDestinationSize;
    unsigned char* pOut = pOutBegin;

    if (m_pSource[0] == FLAG_STORED)
    {
        const auto nSize = static_cast<std::size_t>(pInEnd - pIn);
        if (nSize > static_cast<std::size_t>(m_nDestinationSize))
            return -1;
        if (nSize != 0)
            std::memcpy(pOut, pIn, nSize);
        return static_cast<int>(nSize);
    }

    // Whole groups, while neither end of the buffers can come within one.
    while (static_cast<std::size_t>(pInEnd - pIn) >= GROUP_OUTPUT + MAX_LENGTH &&
           static_cast<std::size_t>(pOutEnd - pOut) >= GROUP_INPUT + MAX_LENGTH)
    {
        unsigned nDone = 0; // items; pIn stands where the group would begin if its copies had one byte each
        unsigned nCopies = LoadControl(pIn);
        pIn += CONTROL_SIZE;
        for (; nCopies != 0; nCopies &= nCopies - 1)
        {
            const auto nItem = static_cast<unsigned>(std::countr_zero(nCopies));
            CopyChunk(pOut, pIn + nDone); // the literals before it, whatever their number
            pOut += nItem - nDone;

            const std::size_t nOffset = OffsetOf(pIn + nItem);
            const std::size_t nLength = LengthOf(pIn + nItem);
            if (nOffset - 1 >= static_cast<std::size_t>(pOut - pOutBegin))
                return -1;
            CopyBack(pOut, nOffset);
            pOut += nLength;
            ++pIn;
            nDone = nItem + 1;
        }
        CopyChunk(pOut, pIn + nDone);
        pOut += ITEMS_PER_GROUP - nDone;
        pIn += ITEMS_PER_GROUP;
    }

    // The rest, item by item.
    unsigned nControl = 1;
    while (pIn < pInEnd)
    {
        if (nControl == 1)
        {
            if (pInEnd - pIn < static_cast<std::ptrdiff_t>(CONTROL_SIZE))
                return -1;
            nControl = LoadControl(pIn) | 1u << ITEMS_PER_GROUP;
            pIn += CONTROL_SIZE;
        }

        std::size_t nLength = 1;
        const unsigned char* pFrom = pIn;
        std::ptrdiff_t nItemSize = 1;
        if ((nControl & 1) != 0)
        {
            nItemSize = COPY_SIZE;
            if (pInEnd - pIn < nItemSize)
                return -1;
            const std::size_t nOffset = OffsetOf(pIn);
            if (nOffset - 1 >= static_cast<std::size_t>(pOut - pOutBegin))
                return -1;
            pFrom = pOut - nOffset;
            nLength = LengthOf(pIn);
        }
        if (pInEnd - pIn < nItemSize || static_cast<std::size_t>(pOutEnd - pOut) < nLength)
            return -1;

        for (std::size_t i = 0; i < nLength; ++i)
            pOut[i] = pFrom[i];
        pOut += nLength;
        pIn += nItemSize;
        nControl >>= 1;
    }
    return static_cast<int>(pOut - pOutBegin);
}
