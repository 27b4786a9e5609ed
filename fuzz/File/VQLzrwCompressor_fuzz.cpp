// The input is taken both ways: as a block to decompress, into destinations of many sizes, and as bytes to compress,
// whose block must give them back and must not fit into one byte less. That block is then damaged, cut and lengthened.
// What comes out of any block is held against a decoder that follows the format by the letter.

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

/// What a block holds, by the letter of its format; -1 when it is damaged or holds more than nRoom bytes.
int Decode(const std::vector<std::uint8_t>& oBlock, std::size_t nRoom, std::vector<std::uint8_t>& oContents)
{
    oContents.clear();
    if (oBlock.size() < 4)
        return -1;
    if (oBlock[0] == 1)
        oContents.assign(oBlock.begin() + 4, oBlock.end());

    unsigned nControl = 0;
    int nBits = 0;
    for (std::size_t nAt = oBlock[0] == 1 ? oBlock.size() : 4; nAt < oBlock.size();)
    {
        if (nBits == 0)
        {
            if (oBlock.size() - nAt < 2)
                return -1;
            nControl = oBlock[nAt] + 256u * oBlock[nAt + 1];
            nBits = 16;
            nAt += 2;
        }
        if (oBlock.size() - nAt < 1 + (nControl & 1))
            return -1;
        if ((nControl & 1) != 0)
        {
            const std::size_t nOffset = (oBlock[nAt] & 0xF0u) * 16 + oBlock[nAt + 1];
            if (nOffset == 0 || nOffset > oContents.size())
                return -1;
            for (unsigned nLeft = (oBlock[nAt] & 0x0Fu) + 1; nLeft > 0; --nLeft)
                oContents.push_back(oContents[oContents.size() - nOffset]);
            nAt += 2;
        }
        else
        {
            oContents.push_back(oBlock[nAt]);
            ++nAt;
        }
        nControl >>= 1;
        --nBits;
    }
    return oContents.size() > nRoom ? -1 : static_cast<int>(oContents.size());
}

/// The block of an input, by the letter of the algorithm; the three bytes behind the flag are 0.
std::vector<std::uint8_t> Encode(const std::vector<std::uint8_t>& oInput)
{
    const std::size_t nSize = oInput.size();
    std::vector<std::size_t> oTable(4096, nSize);
    std::vector<std::uint8_t> oBlock(6);
    std::size_t nControlAt = 4;
    unsigned nControl = 0;
    int nItems = 0;
    for (std::size_t nAt = 0;;)
    {
        if (oBlock.size() > nSize)
        {
            oBlock.assign({1, 0, 0, 0});
            oBlock.insert(oBlock.end(), oInput.begin(), oInput.end());
            return oBlock;
        }
        if (nAt == nSize)
            break;
        for (int nPass = nSize - nAt >= 256 ? 16 : 1; nPass > 0; --nPass)
        {
            std::size_t nLength = 0;
            std::size_t nOffset = 0;
            if (nSize - nAt >= 16)
            {
                const unsigned nKey = ((oInput[nAt] * 16u ^ oInput[nAt + 1]) * 16u) ^ oInput[nAt + 2];
                std::size_t& nEntry = oTable[(40543u * nKey) >> 4 & 0xFFF];
                const std::size_t nCandidate = nEntry;
                nEntry = nAt;
                nOffset = nAt - nCandidate;
                if (nCandidate < nAt && nOffset <= 4095)
                    while (nLength < 16 && oInput[nCandidate + nLength] == oInput[nAt + nLength])
                        ++nLength;
            }
            nControl >>= 1;
            if (nLength >= 3)
            {
                nControl |= 0x8000;
                oBlock.push_back(static_cast<std::uint8_t>((nOffset & 0xF00) >> 4 | (nLength - 1)));
                oBlock.push_back(static_cast<std::uint8_t>(nOffset));
                nAt += nLength;
            }
            else
            {
                oBlock.push_back(oInput[nAt]);
                ++nAt;
            }
            if (++nItems < 16)
                continue;
            oBlock[nControlAt] = static_cast<std::uint8_t>(nControl);
            oBlock[nControlAt + 1] = static_cast<std::uint8_t>(nControl >> 8);
            nControlAt = oBlock.size();
            oBlock.resize(oBlock.size() + 2);
            nControl = 0;
            nItems = 0;
        }
    }
    nControl >>= 16 - nItems;
    oBlock[nControlAt] = static_cast<std::uint8_t>(nControl);
    oBlock[nControlAt + 1] = static_cast<std::uint8_t>(nControl >> 8);
    if (nItems == 0)
        oBlock.resize(oBlock.size() - 2);
    return oBlock;
}

/// Decompresses a block into a destination of just that size, and judges what comes out.
int Judge(const std::vector<std::uint8_t>& oBlock, std::size_t nRoom)
{
    std::vector<std::uint8_t> oExpected;
    const int nExpected = Decode(oBlock, nRoom, oExpected);

    std::vector<std::uint8_t> oSource(oBlock);
    std::vector<std::uint8_t> oTarget(nRoom);
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(oSource.data(), static_cast<int>(oSource.size()));
    oCompressor.SetDestination(oTarget.data(), static_cast<int>(nRoom));
    Require(oCompressor.Decompress() == nExpected);
    Require(oSource == oBlock);
    if (nExpected > 0)
        Require(std::memcmp(oTarget.data(), oExpected.data(), oExpected.size()) == 0);
    return nExpected;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    std::vector<std::uint8_t> oInput(pData, pData + nSize);
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(oInput.data(), static_cast<int>(nSize));

    const int nContents = Judge(oInput, nSize * 16);
    if (nContents > 0)
    {
        const auto nExact = static_cast<std::size_t>(nContents);
        Judge(oInput, nExact);
        Require(Judge(oInput, nExact - 1) == -1);
        Judge(oInput, nExact / 2);
    }

    std::vector<std::uint8_t> oBlock(nSize + CVQLzrwCompressor::EXTRA_SIZE);
    oCompressor.SetDestination(oBlock.data(), static_cast<int>(oBlock.size()));
    const int nBlock = oCompressor.Compress();
    Require(nBlock >= 4 && nBlock <= static_cast<int>(nSize) + 4);
    const std::vector<std::uint8_t> oExpected = Encode(oInput);
    Require(static_cast<std::size_t>(nBlock) == oExpected.size());
    Require(std::memcmp(oBlock.data(), oExpected.data(), oExpected.size()) == 0);

    std::vector<std::uint8_t> oTight(static_cast<std::size_t>(nBlock) - 1);
    oCompressor.SetDestination(oTight.data(), nBlock - 1);
    Require(oCompressor.Compress() == -1);

    std::vector<std::uint8_t> oBack(nSize);
    oCompressor.SetSource(oBlock.data(), nBlock);
    oCompressor.SetDestination(oBack.data(), static_cast<int>(nSize));
    Require(oCompressor.Decompress() == static_cast<int>(nSize));
    Require(oBack == oInput);

    if (nSize < 4)
        return 0;
    oBlock.resize(static_cast<std::size_t>(nBlock));
    const auto At = [&](std::size_t n) { return (pData[n] + 256u * pData[n + 1]) % oBlock.size(); };
    std::vector<std::uint8_t> oDamaged(oBlock);
    oDamaged[At(0)] ^= static_cast<std::uint8_t>(1 << pData[3] % 8);
    oDamaged[At(2)] = pData[0];
    Judge(oDamaged, nSize);
    Judge(oDamaged, nSize * 16);
    oDamaged.resize(At(1));
    Judge(oDamaged, nSize);
    oBlock.insert(oBlock.end(), oInput.begin(), oInput.end());
    Judge(oBlock, nSize * 16);
    return 0;
}
