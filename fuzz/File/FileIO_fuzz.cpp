// Reads arbitrary text with the text readers of the file object, from memory. The first bytes say which reader is
// called when: they are a program of one byte a call, ended by a line feed; the text stands behind it.

#include <Common/File/MemFileIO.h>

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

/// Calls one reader; the result and the text itself are judged, not only the absence of a crash.
void Call(CFileIO& oFile, unsigned char nOperation)
{
    const unsigned long nBefore = oFile.GetFilePointerPos();
    const char cDelimiter = (nOperation & 0x08) != 0 ? ';' : ',';
    int nInt = 99;
    long nLong = 99;
    unsigned long nUnsignedLong = 99;
    float fFloat = 99;
    char cCharacter = 0;
    CVQString sText("kept");
    bool bRead = false;
    switch (nOperation & 0x07)
    {
    case 0:
        bRead = oFile.ReadAscii(nInt, cDelimiter);
        Require(bRead || nInt == 99);
        break;
    case 1:
        bRead = oFile.ReadAscii(nLong, cDelimiter);
        Require(nLong == static_cast<std::int32_t>(nLong) && (bRead || nLong == 99));
        break;
    case 2:
        bRead = oFile.ReadAscii(nUnsignedLong, cDelimiter);
        Require(nUnsignedLong == static_cast<std::uint32_t>(nUnsignedLong) && (bRead || nUnsignedLong == 99));
        break;
    case 3:
        bRead = oFile.ReadAscii(fFloat, cDelimiter);
        Require(bRead || fFloat == 99);
        break;
    case 4:
        bRead = oFile.ReadAscii(sText);
        Require(sText.GetLength() <= static_cast<long>(oFile.GetSize()) ||
                (!bRead && std::strcmp(~sText, "kept") == 0));
        break;
    case 5:
        bRead = oFile.ReadAscii(cCharacter, (nOperation & 0x08) != 0);
        Require(!bRead || (nOperation & 0x08) == 0 || std::strchr(" \t\r\n", cCharacter) == nullptr ||
                cCharacter == '\0');
        break;
    case 6:
        bRead = oFile.ReadConstAscii(CVQString("ab"));
        break;
    default:
        bRead = oFile.Read(sText); // a length and characters
        Require(bRead || std::strcmp(~sText, "kept") == 0);
        break;
    }

    const unsigned long nAfter = oFile.GetFilePointerPos();
    Require(nAfter >= nBefore && nAfter <= oFile.GetSize());
    Require(!bRead || nAfter > nBefore);

    if ((nOperation & 0x10) != 0 && (nOperation & 0x07) < 5)
    {
        oFile.StepBack();
        Require(oFile.GetFilePointerPos() >= nBefore && oFile.GetFilePointerPos() <= nAfter);
        oFile.SetFilePointerPos(nAfter);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const auto* const pEnd = static_cast<const std::uint8_t*>(nSize != 0 ? std::memchr(pData, '\n', nSize) : nullptr);
    const std::size_t nProgram = pEnd != nullptr ? static_cast<std::size_t>(pEnd - pData) : 0;
    const std::size_t nText = pEnd != nullptr ? nProgram + 1 : 0;

    // A block of exactly the text's size, so that a byte too many is seen.
    std::vector<unsigned char> aText(pData + nText, pData + nSize);
    CMemFileIO oFile(aText.data(), static_cast<unsigned long>(aText.size()), 0);
    do
    {
        const unsigned long nBefore = oFile.GetFilePointerPos();
        if (nProgram == 0)
            Call(oFile, 4);
        for (std::size_t i = 0; i < nProgram; ++i)
            Call(oFile, pData[i]);
        if (oFile.GetFilePointerPos() == nBefore)
            break;
    } while (!oFile.IsEof());
    return 0;
}
