#include <Common/File/VQBitStream.h>

#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace
{
constexpr std::size_t LINE_START_SIZE = 32; // "Byte ", a number, ": " and the terminator
constexpr std::size_t LINE_SIZE = 20;       // of a byte below the ten thousandth
} // namespace

CVQBitStream::CVQBitStream() noexcept : m_nByte(0), m_nBit(0), m_bReading(false), m_bWriting(false) {}

CVQBitStream::CVQBitStream(int nBits) : CVQBitStream()
{
    SetNumBits(nBits);
}

CVQBitStream::CVQBitStream(const CVQBitStream& oOther)
    : CVQBitArray(oOther), m_nByte(0), m_nBit(0), m_bReading(false), m_bWriting(false)
{
}

CVQBitStream::~CVQBitStream() = default;

CVQBitStream& CVQBitStream::operator=(const CVQBitStream& oOther)
{
    CVQBitArray::operator=(oOther);
    Rewind();
    return *this;
}

void CVQBitStream::BeginWrite() noexcept
{
    Clear();
    Rewind();
    m_bWriting = true;
}

void CVQBitStream::BeginRead() noexcept
{
    Rewind();
    m_bReading = true;
}

void CVQBitStream::Dump(CVQString& oText, int nBytes) const
{
    const int nCount = nBytes == -1 ? GetSize() : std::min(nBytes, GetSize());
    if (nCount < 1)
        return;

    std::string sLines; // the text grows once
    sLines.reserve(LINE_SIZE * static_cast<std::size_t>(nCount));
    for (int k = 0; k < nCount; ++k)
    {
        std::array<char, LINE_START_SIZE> aStart;
        STR_snprintf(aStart.data(), aStart.size(), "Byte %4.d: ", k + 1);
        sLines += aStart.data();
        for (unsigned nMask = HIGHEST; nMask != 0; nMask >>= 1)
            sLines += (ByteAt(k) & nMask) != 0 ? '1' : '0';
        sLines += '\n';
    }
    oText += sLines.c_str();
}
