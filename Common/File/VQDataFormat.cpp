#include <Common/File/VQDataFormat.h>
#include <Common/File/VQDataStream.h>
#include <Common/File/VQVariableControllerBase.h>

namespace
{
constexpr char MARKER = 'F';
}

CVQDataFormat::CVQDataFormat(const CVQString& oName, int nVersion) : m_nVersion(nVersion), m_oName(oName) {}

CVQDataFormat::CVQDataFormat(const CVQDataFormat&) = default;

CVQDataFormat& CVQDataFormat::operator=(const CVQDataFormat&) = default;

CVQDataFormat::~CVQDataFormat() = default;

void CVQDataFormat::AddVariable(int nVersion, CVQVariableControllerBase& oController)
{
    m_aVariables.push_back({nVersion, &oController});
}

void CVQDataFormat::Serialize(unsigned char* pRecord, CVQDataStream& oStream)
{
    if (oStream.IsStoring())
        SaveData(pRecord, oStream);
    else
        LoadData(pRecord, oStream);
}

void CVQDataFormat::SaveData(unsigned char* pRecord, CVQDataStream& oStream)
{
    oStream.Put(&MARKER, sizeof MARKER);
    WriteStreamString(oStream, m_oName);
    oStream.Put(&m_nVersion, sizeof m_nVersion);
    for (const SVariable& oVariable : m_aVariables)
        oVariable.m_pController->Serialize(pRecord, oStream);
}

void CVQDataFormat::LoadData(unsigned char* pRecord, CVQDataStream& oStream)
{
    char cMarker = 0;
    oStream.Get(&cMarker, sizeof cMarker);
    if (cMarker != MARKER)
        return;

    CVQString oName;
    ReadStreamString(oStream, oName);
    if (oName.Compare(~m_oName) != 0)
        return;

    std::int32_t nVersion = 0;
    oStream.Get(&nVersion, sizeof nVersion);
    for (const SVariable& oVariable : m_aVariables)
    {
        if (oVariable.m_nVersion <= nVersion)
            oVariable.m_pController->Serialize(pRecord, oStream);
    }
}
