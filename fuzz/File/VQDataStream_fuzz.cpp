// Works a data stream with a program of one byte a call, ended by a line feed; its operands and the data stand behind
// it. An 's' at the start stores: every call is made on a plain text too, and both must agree. Anything else loads:
// what comes out of the data is stored again, and must come out of that once more.

#include <Common/Debug/VQDataStreamException.h>
#include <Common/File/VQDataStream.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr std::size_t MAX_DATA = 1 << 16;

void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

std::string BytesOf(const CVQDataStream& oStream)
{
    if (oStream.GetSize() == 0)
        return {};
    return {reinterpret_cast<const char*>(oStream.GetBuffer()), oStream.GetSize()};
}

std::string BytesOf(const CVQString& oText)
{
    return oText.IsEmpty() ? std::string() : std::string(~oText, static_cast<std::size_t>(oText.GetLength()));
}

bool LoadNumber(long nId, CVQString& oTarget)
{
    oTarget = std::to_string(nId).c_str();
    return nId % 3 != 0;
}

bool IsNumber(long nId, const CVQString& oText)
{
    return oText == std::to_string(nId).c_str();
}

/// The operands of a program.
class COperands
{
public:
    explicit COperands(std::string_view sData) : m_sData(sData) {}

    std::string_view Take(std::size_t nSize)
    {
        const std::string_view sTaken = m_sData.substr(0, nSize);
        m_sData.remove_prefix(sTaken.size());
        return sTaken;
    }

    unsigned TakeNumber()
    {
        unsigned char nLow = 0;
        const std::string_view sByte = Take(1);
        if (!sByte.empty())
            nLow = static_cast<unsigned char>(sByte[0]);
        return nLow;
    }

private:
    std::string_view m_sData;
};

/// What a storing stream is to hold.
struct SModel
{
    std::string sBytes;
    std::size_t nPosition = 0;

    void Put(std::string_view sNew)
    {
        const std::size_t nEnd = nPosition + sNew.size();
        if (nEnd > sBytes.size())
            sBytes.resize(nEnd);
        std::copy(sNew.begin(), sNew.end(), sBytes.begin() + static_cast<std::ptrdiff_t>(nPosition));
        nPosition = nEnd;
    }
};

void Store(std::string_view sProgram, COperands oOperands)
{
    auto pStream = std::make_unique<CVQDataStream>(CVQDataStream::STORING);
    SModel oModel;
    std::vector<std::unique_ptr<CVQDataStream>> oCopies;
    std::vector<std::string> oExpectedOfCopies;

    for (const char cCall : sProgram)
    {
        const unsigned nOperand = oOperands.TakeNumber();
        switch (cCall & 0x07)
        {
        case 0:
        case 1:
        {
            const std::string_view sNew = oOperands.Take(nOperand);
            pStream->Put(sNew.data(), static_cast<unsigned long>(sNew.size()));
            oModel.Put(sNew);
            break;
        }
        case 2: // patches by an iterator of its own
        {
            if (oModel.sBytes.empty())
                break;
            CVQDataStream::Iterator oIterator(*pStream);
            oIterator.Advance(static_cast<unsigned long>(nOperand % oModel.sBytes.size()));
            SModel oPatch{oModel.sBytes, nOperand % oModel.sBytes.size()};
            const std::string_view sNew = oOperands.Take(4);
            oIterator.Put(sNew.data(), static_cast<unsigned long>(sNew.size()));
            oPatch.Put(sNew);
            oModel.sBytes = oPatch.sBytes;
            break;
        }
        case 3: // a part of itself
        {
            const std::size_t nStart = oModel.sBytes.empty() ? 0 : nOperand % oModel.sBytes.size();
            const std::string sNew = oModel.sBytes.substr(nStart, MAX_DATA - std::min(MAX_DATA, oModel.nPosition));
            if (sNew.empty())
                break;
            pStream->Put(pStream->GetBuffer() + nStart, static_cast<unsigned long>(sNew.size()));
            oModel.Put(sNew);
            break;
        }
        case 4: // a copy shares the block until somebody writes
            oCopies.push_back(std::make_unique<CVQDataStream>(*pStream));
            oExpectedOfCopies.push_back(oModel.sBytes);
            break;
        case 5: // goes on as the copy of itself
        {
            auto pCopy = std::make_unique<CVQDataStream>(CVQDataStream::STORING);
            *pCopy = *pStream;
            pCopy->Advance(static_cast<unsigned long>(oModel.nPosition));
            pStream = std::move(pCopy);
            break;
        }
        case 6:
        {
            CVQString oText;
            const std::string_view sNew = oOperands.Take(nOperand);
            std::copy(sNew.begin(), sNew.end(), oText.GetBuffer(static_cast<int>(sNew.size())));
            oText.ReleaseBuffer(static_cast<int>(sNew.size()));
            WriteStreamString(*pStream, oText);
            const std::string aLength = {static_cast<char>(sNew.size()), 0, 0, 0};
            oModel.Put(aLength + std::string(sNew));
            break;
        }
        default:
            pStream->SerializeBegin(static_cast<int>(nOperand));
            oModel.Put(std::string{static_cast<char>(nOperand), 0, 0, 0});
            break;
        }

        Require(pStream->GetSize() == oModel.sBytes.size() && pStream->GetStreamPosition() == oModel.nPosition);
        if (oModel.sBytes.size() > MAX_DATA)
            break;
    }

    Require(BytesOf(*pStream) == oModel.sBytes);
    for (std::size_t i = 0; i < oCopies.size(); ++i)
        Require(BytesOf(*oCopies[i]) == oExpectedOfCopies[i]);
}

/// Runs a program on a loading stream. What was read is told as text, and written to oStored if there is one.
std::string Load(std::string_view sProgram, CVQDataStream& oStream, CVQDataStream* pStored)
{
    std::string sSeen;
    int nOpen = 0;
    try
    {
        for (const char cCall : sProgram)
        {
            const unsigned long nBefore = oStream.GetStreamPosition();
            const unsigned long nLeft = oStream.GetReadableSize();
            unsigned char aBytes[8] = {};
            switch (cCall & 0x07)
            {
            case 0:
            case 1:
            case 2:
            {
                const unsigned long nSize = 1UL << (cCall & 0x07);
                const unsigned char* pExpected = oStream.GetIteratorBuffer();
                oStream.Get(aBytes, nSize);
                Require(nSize <= nLeft && std::memcmp(aBytes, pExpected, nSize) == 0);
                if (pStored != nullptr)
                    pStored->Put(aBytes, nSize);
                sSeen.append(reinterpret_cast<const char*>(aBytes), nSize);
                break;
            }
            case 3:
            case 4:
            {
                CVQString oText = "old";
                ReadStreamString(oStream, oText);
                Require(static_cast<unsigned long>(oText.GetLength()) <= std::max(nLeft, 16UL));
                if (oText == "old" || oText.IsEmpty())
                    oText = CVQString(); // nothing was there
                if (pStored != nullptr)
                    WriteStreamString(*pStored, oText);
                sSeen += BytesOf(oText) + '|';
                break;
            }
            case 5:
                oStream.SerializeBegin(-1);
                if (pStored != nullptr)
                    pStored->SerializeBegin(oStream.GetVersion());
                sSeen += std::to_string(oStream.GetVersion()) + '(';
                ++nOpen;
                break;
            case 6:
                oStream.SerializeEnd();
                if (pStored != nullptr)
                    pStored->SerializeEnd();
                nOpen = std::max(nOpen - 1, 0);
                Require(nOpen != 0 || oStream.GetVersion() == -1);
                sSeen += ')';
                break;
            default: // the rest goes on in a copy at the same place
            {
                const CVQDataStream oCopy(oStream);
                const int nVersion = oStream.GetVersion();
                oStream = oCopy;
                oStream.Advance(nBefore);
                Require(oStream.GetVersion() == nVersion);
                break;
            }
            }
            Require(oStream.GetStreamPosition() >= nBefore && oStream.GetStreamPosition() <= nBefore + nLeft);
        }
    }
    catch (const CVQDataStreamException& oError)
    {
        Require(oError.GetErrorCode() == 5000);
        sSeen += '!';
    }
    return sSeen;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string_view sInput(reinterpret_cast<const char*>(pData), nSize);
    const std::size_t nEnd = std::min(sInput.find('\n'), nSize);
    const std::string_view sProgram = sInput.substr(0, nEnd);
    const std::string_view sData = sInput.substr(std::min(nEnd + 1, nSize));
    if (sProgram.starts_with('s'))
    {
        CVQString::s_pfnLoadString = nullptr;
        CVQString::s_pfnIsStringIdentical = nullptr;
        Store(sProgram.substr(1), COperands(sData));
        return 0;
    }

    const bool bHooks = sProgram.starts_with('h'); // with localised texts
    CVQString::s_pfnLoadString = bHooks ? LoadNumber : nullptr;
    CVQString::s_pfnIsStringIdentical = bHooks ? IsNumber : nullptr;

    const auto* pBytes = reinterpret_cast<const unsigned char*>(sData.data());
    CVQDataStream oStream(pBytes, static_cast<unsigned long>(sData.size()), CVQDataStream::LOADING, nSize % 2 == 0);
    CVQDataStream oStored(CVQDataStream::STORING);
    const std::string sSeen = Load(sProgram, oStream, &oStored);

    CVQDataStream oAgain(oStored);
    std::string sSeenAgain = Load(sProgram, oAgain, nullptr);
    if (sSeen.ends_with('!'))
        Require(sSeenAgain.starts_with(std::string_view(sSeen).substr(0, sSeen.size() - 1)));
    else
        Require(sSeenAgain == sSeen && oAgain.GetReadableSize() == 0);
    return 0;
}
