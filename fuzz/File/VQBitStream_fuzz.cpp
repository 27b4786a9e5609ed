// Works a bit stream with a program of two bytes a call, beside a plain list of bytes and a position; both must agree
// after every call.

#include <Common/File/VQBitStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
constexpr int MAX_BITS = 1 << 14;

void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

/// What the stream is to be.
struct SModel
{
    std::vector<unsigned char> oBytes;
    int nBits = 0;
    int nPosition = 0;

    int Size() const { return static_cast<int>(oBytes.size()); }

    void SetSize(int nSize)
    {
        oBytes.resize(static_cast<std::size_t>(nSize));
        nBits = 8 * nSize;
    }

    void SetNumBits(int nNew)
    {
        SetSize(nNew / 8 + 1);
        nBits = nNew;
    }

    unsigned char& Byte(int nIndex) { return oBytes[static_cast<std::size_t>(nIndex / 8)]; }

    bool GetBit(int nIndex) { return nIndex / 8 < Size() && (Byte(nIndex) >> (7 - nIndex % 8) & 1) != 0; }

    void OrBit(int nIndex) { Byte(nIndex) = static_cast<unsigned char>(Byte(nIndex) | 1 << (7 - nIndex % 8)); }

    void SetBit(int nIndex, bool bValue)
    {
        if (nIndex >= nBits)
            SetNumBits(nIndex);
        if (bValue)
            OrBit(nIndex);
    }

    void Write(bool bValue)
    {
        if (nBits - nPosition < 1)
            SetSize(std::max(Size(), nPosition / 8) + 1);
        if (bValue)
            OrBit(nPosition);
        ++nPosition;
    }
};

std::string DumpOf(const SModel& oModel)
{
    std::string sDump;
    for (std::size_t k = 0; k < oModel.oBytes.size(); ++k)
    {
        const std::string sNumber = std::to_string(k + 1);
        sDump += "Byte " + std::string(sNumber.size() < 4 ? 4 - sNumber.size() : 0, ' ') + sNumber + ": ";
        for (int i = 7; i >= 0; --i)
            sDump += (oModel.oBytes[k] >> i & 1) != 0 ? '1' : '0';
        sDump += '\n';
    }
    return sDump;
}

void Call(CVQBitStream& oStream, SModel& oModel, unsigned nCall, int nOperand)
{
    const bool bValue = (nOperand & 1) != 0;
    switch (nCall & 0x0F)
    {
    case 0:
        oStream.SetSize(nOperand);
        oModel.SetSize(nOperand);
        break;
    case 1:
        oStream.SetNumBits(nOperand * 3);
        oModel.SetNumBits(nOperand * 3);
        break;
    case 2:
        oStream.SetBit(nOperand * 5, (nCall & 0x10) != 0);
        oModel.SetBit(nOperand * 5, (nCall & 0x10) != 0);
        break;
    case 3:
        oStream.SetPos(nOperand * 7 - 100);
        oModel.nPosition = nOperand * 7 - 100 < 0 ? oModel.nPosition : nOperand * 7 - 100;
        break;
    case 4:
        oStream.BeginWrite();
        std::fill(oModel.oBytes.begin(), oModel.oBytes.end(), static_cast<unsigned char>(0));
        oModel.nPosition = 0;
        Require(oStream.IsWriting());
        break;
    case 5:
        oStream.BeginRead();
        oModel.nPosition = 0;
        Require(oStream.IsReading());
        break;
    case 6:
    {
        CVQBitStream oOther(nOperand);
        if (bValue)
            oOther.Write(true);
        oOther = oStream; // into a smaller or a larger one
        Require(oOther == oStream && oOther.GetPos() == 0 && oOther.GetNumBits() == oStream.GetNumBits());
        oStream = CVQBitStream(oOther);
        oModel.nPosition = 0;
        break;
    }
    case 7:
        if (nOperand < oModel.Size())
            oStream.QueryBuffer(nOperand)[nOperand] = oModel.oBytes[static_cast<std::size_t>(nOperand)] = 0xA7;
        break;
    case 8:
        if (oStream.GetSize() > 0)
            Require(oStream.GetBit(nOperand % (8 * oStream.GetSize())) ==
                    oModel.GetBit(nOperand % (8 * oModel.Size())));
        break;
    case 9:
        oStream.Clear();
        std::fill(oModel.oBytes.begin(), oModel.oBytes.end(), static_cast<unsigned char>(0));
        break;
    case 10:
    case 11:
    case 12:
        for (int i = 0; i < 8; ++i)
        {
            bool bRead = !bValue;
            oStream.Read(bRead);
            Require(bRead == oModel.GetBit(oModel.nPosition++));
        }
        break;
    default:
        for (int i = 0; i < 8; ++i)
        {
            oStream.Write((nOperand >> i & 1) != 0);
            oModel.Write((nOperand >> i & 1) != 0);
        }
        break;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    CVQBitStream oStream;
    SModel oModel;
    for (std::size_t i = 0; i + 1 < nSize && oModel.nBits < MAX_BITS; i += 2)
    {
        Call(oStream, oModel, pData[i], pData[i + 1]);
        Require(oStream.GetSize() == oModel.Size() && oStream.GetNumBits() == oModel.nBits);
        Require(oStream.GetPos() == oModel.nPosition);
        Require(oStream.GetNumBitsLeft() == oModel.nBits - oModel.nPosition);
        Require(std::equal(oModel.oBytes.begin(), oModel.oBytes.end(), oStream.GetBuffer()));
    }

    CVQString oDump;
    oStream.Dump(oDump, -1);
    Require(oDump == DumpOf(oModel).c_str());
    return 0;
}
