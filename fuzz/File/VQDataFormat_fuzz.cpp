// Loads any bytes by a data format of three variables, the first of which is a text. What the record then holds is
// saved and loaded again, and must be the same.

#include <Common/Debug/VQDataStreamException.h>
#include <Common/File/VQDataFormat.h>
#include <Common/File/VQDataStream.h>
#include <Common/File/VQVariableControllerBase.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{
constexpr int VERSION = 3;

void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

struct SRecord
{
    CVQString m_oName;
    std::int32_t m_nHealth = 1;
};

SRecord& RecordAt(unsigned char* pRecord)
{
    return *reinterpret_cast<SRecord*>(pRecord);
}

class CNameController : public CVQVariableControllerBase
{
public:
    CNameController() : CVQVariableControllerBase(0, 0x4E414D45) {}

    void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override
    {
        if (oStream.IsStoring())
            WriteStreamString(oStream, RecordAt(pRecord).m_oName);
        else
            ReadStreamString(oStream, RecordAt(pRecord).m_oName);
    }
};

class CHealthController : public CVQVariableControllerBase
{
public:
    CHealthController() : CVQVariableControllerBase(0, 0x4C495645) {}

    void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override
    {
        if (oStream.IsStoring())
            oStream.Put(&RecordAt(pRecord).m_nHealth, sizeof(std::int32_t));
        else
            oStream.Get(&RecordAt(pRecord).m_nHealth, sizeof(std::int32_t));
    }
};

bool LoadNumber(long nId, CVQString& oTarget)
{
    oTarget = std::to_string(nId).c_str();
    return nId % 3 != 0;
}

bool IsNumber(long nId, const CVQString& oText)
{
    return oText == std::to_string(nId).c_str();
}

std::string BytesOf(const CVQString& oText)
{
    return oText.IsEmpty() ? std::string() : std::string(~oText, static_cast<std::size_t>(oText.GetLength()));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const bool bHooks = nSize % 2 == 0; // with localised texts
    CVQString::s_pfnLoadString = bHooks ? LoadNumber : nullptr;
    CVQString::s_pfnIsStringIdentical = bHooks ? IsNumber : nullptr;

    CNameController oName;
    CVQVariableControllerBase oCode(0, 0x434F4445);
    CHealthController oHealth;
    CVQDataFormat oFormat("7", VERSION);
    oFormat.AddVariable(1, oName);
    oFormat.AddVariable(2, oCode);
    oFormat.AddVariable(VERSION, oHealth);

    SRecord oRecord;
    CVQDataStream oStream(pData, static_cast<unsigned long>(nSize), CVQDataStream::LOADING, false);
    try
    {
        oFormat.Serialize(reinterpret_cast<unsigned char*>(&oRecord), oStream);
    }
    catch (const CVQDataStreamException& oError)
    {
        Require(oError.GetErrorCode() == 5000);
    }
    Require(oStream.GetStreamPosition() <= nSize);
    Require(static_cast<std::size_t>(oRecord.m_oName.GetLength()) <= nSize + 11); // or the text of a number

    CVQDataStream oStored(CVQDataStream::STORING);
    oFormat.Serialize(reinterpret_cast<unsigned char*>(&oRecord), oStored);
    SRecord oAgain;
    CVQDataStream oLoaded(oStored);
    oFormat.Serialize(reinterpret_cast<unsigned char*>(&oAgain), oLoaded);
    Require(oLoaded.GetReadableSize() == 0);
    Require(oAgain.m_nHealth == oRecord.m_nHealth && BytesOf(oAgain.m_oName) == BytesOf(oRecord.m_oName));
    return 0;
}
