#pragma once

#include <Common/File/VQCompressor.h>

#include <cstdint>

/// The LZRW1-A block compressor: small, without allocation, and the same bytes on every machine.
///
/// Take it for blocks that must be read by everything that knows the format, and where memory is scarce: it needs 36
/// KiB of stack to compress and nothing to decompress.
///
///     CVQLzrwCompressor oCompressor;
///     std::vector<unsigned char> oBlock(oText.size() + CVQLzrwCompressor::EXTRA_SIZE);
///     oCompressor.SetSource(oText.data(), static_cast<int>(oText.size()));
///     oCompressor.SetDestination(oBlock.data(), static_cast<int>(oBlock.size()));
///     const int nSize = oCompressor.Compress();
///
/// A block does not hold the length of its contents: keep it beside the block.
///
/// Format. A block begins with a flag byte and three bytes that are neither written nor read: they are the caller's.
///
///     flag 1     the input as it was
///     else (0)   groups: a control word of 16 bits, low byte first, then up to 16 items, the lowest bit's first;
///                bit 0  a literal: one byte
///                bit 1  a copy, two bytes b0 b1: offset (b0 & 0xF0) * 16 + b1 back in the output, 1 to 4095;
///                       length (b0 & 0x0F) + 1; the two ranges may overlap
///
/// Blocks from outside may hold anything: a damaged one gives -1. Nothing is ever written outside the destination;
/// inside it, bytes behind the result may be overwritten.
class COMMON_API CVQLzrwCompressor : public IVQCompressor
{
public:
    /// Bytes that a destination needs beyond the size of the source, so that no input is refused.
    static constexpr int EXTRA_SIZE = 34;

    CVQLzrwCompressor() = default;
    CVQLzrwCompressor(const CVQLzrwCompressor&) = default;
    CVQLzrwCompressor& operator=(const CVQLzrwCompressor&) = default;

    void SetSource(void* pData, int nSize) override;
    void SetDestination(void* pData, int nSize) override;

    /// Compresses the source into the destination; the result depends on the bytes of the source alone.
    ///
    /// @return the bytes of the block, at most the size of the source + 4; -1 when they do not fit into the
    /// destination,
    ///         or a buffer is missing or of negative size
    int Compress() override;

    /// Decompresses a block; its size is that of the source, exactly.
    ///
    /// @return the bytes that came out; -1 when they do not fit into the destination, the block is shorter than 4 bytes
    /// or
    ///         damaged (a copy of offset 0 or from before the start of the output, a cut item), or a buffer is missing
    ///         or of negative size
    int Decompress() override;

    virtual ~CVQLzrwCompressor() = default;

private:
    bool HasBuffers() const;
    int StoreCopy();

    unsigned char* m_pSource = nullptr;
    std::int32_t m_nSourceSize = 0;
    unsigned char* m_pDestination = nullptr;
    std::int32_t m_nDestinationSize = 0;
};
