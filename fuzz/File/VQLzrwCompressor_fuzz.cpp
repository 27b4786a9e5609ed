// The input is taken both ways: as a block to decompress, into destinations of many sizes, and as bytes to compress,
// whose block must give them back and must not fit into one byte less.

#include <Common/File/VQLzrwCompressor.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{
void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    std::vector<std::uint8_t> oInput(pData, pData + nSize);
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(oInput.data(), static_cast<int>(nSize));

    std::vector<std::uint8_t> oOutput(nSize * 16);
    oCompressor.SetDestination(oOutput.data(), static_cast<int>(oOutput.size()));
    const int nContents = oCompressor.Decompress();
    if (nContents > 0)
    {
        std::vector<std::uint8_t> oExact(static_cast<std::size_t>(nContents));
        oCompressor.SetDestination(oExact.data(), nContents);
        Require(oCompressor.Decompress() == nContents);
        Require(std::memcmp(oExact.data(), oOutput.data(), oExact.size()) == 0);

        std::vector<std::uint8_t> oShort(oExact.size() - 1);
        oCompressor.SetDestination(oShort.data(), nContents - 1);
        Require(oCompressor.Decompress() == -1);
    }

    std::vector<std::uint8_t> oBlock(nSize + CVQLzrwCompressor::EXTRA_SIZE);
    oCompressor.SetDestination(oBlock.data(), static_cast<int>(oBlock.size()));
    const int nBlock = oCompressor.Compress();
    Require(nBlock >= 4 && nBlock <= static_cast<int>(nSize) + 4);

    std::vector<std::uint8_t> oTight(static_cast<std::size_t>(nBlock) - 1);
    oCompressor.SetDestination(oTight.data(), nBlock - 1);
    Require(oCompressor.Compress() == -1);

    std::vector<std::uint8_t> oBack(nSize);
    oCompressor.SetSource(oBlock.data(), nBlock);
    oCompressor.SetDestination(oBack.data(), static_cast<int>(nSize));
    Require(oCompressor.Decompress() == static_cast<int>(nSize));
    Require(oBack == oInput);
    return 0;
}
