#include <Common/Property/PropertyMap.h>
#include <Common/Property/PropertyRecord.h>
#include <Common/Property/PropertyText.h>
#include <Common/Property/VQPropertyStruct.h>

#include <string>

namespace
{
constexpr char MARKER = 'm';
}

int CVQPropertyStruct::_m_nDataFormatVersion = 256;

int CVQPropertyStruct::_GetDataFormatVersion() const
{
    return _m_nDataFormatVersion;
}

bool CVQPropertyStruct::CanSerialize() const
{
    return true;
}

CVQPropertyStruct::~CVQPropertyStruct() = default;

void CVQPropertyStruct::Serialize(CVQDataStream& oStream)
{
    SerializeRecord(
        oStream, [&] { Load(oStream, 1); }, [&](CStreamWriter& oWriter) { Store(oWriter, 1); });
}

CVQPropertyStruct::CVQPropertyStruct() noexcept = default;

CVQPropertyStruct::CVQPropertyStruct(const CVQPropertyStruct& oOther)
    : m_pElements(CPropertyMap::Copy(oOther.m_pElements)), m_oStructureName(oOther.m_oStructureName)
{
}

CVQPropertyStruct::CVQPropertyStruct(CVQPropertyStruct&& oOther) noexcept = default;

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a copy comes first
CVQPropertyStruct& CVQPropertyStruct::operator=(const CVQPropertyStruct& oOther)
{
    CVQPropertyStruct oCopy(oOther);
    TakeOver(oCopy);
    return *this;
}

int CVQPropertyStruct::GetDataFormatVersion()
{
    return _m_nDataFormatVersion;
}

void CVQPropertyStruct::SetStructureName(const CVQString& oName)
{
    m_oStructureName = oName;
}

const CVQString& CVQPropertyStruct::GetStructureName() const
{
    return m_oStructureName;
}

// By value, as its callers know it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CVQPropertyStruct::AddStructElement(CVQString oName, CVQProperty oValue)
{
    CPropertyMap::Demand(m_pElements).SetMoved(oName, oValue);
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CVQPropertyStruct::RemoveStructElement(CVQString oName)
{
    if (m_pElements != nullptr)
        m_pElements->Remove(oName);
    return true;
}

bool CVQPropertyStruct::RemoveAllStructElements()
{
    m_pElements = nullptr;
    return true;
}

CVQProperty& CVQPropertyStruct::FindElement(const CVQString& oName)
{
    static CVQProperty& s_oMissing = CPropertyMap::NewMissing();
    return CPropertyMap::FindOr(m_pElements, oName, s_oMissing);
}

const CVQProperty& CVQPropertyStruct::FindElement(const CVQString& oName) const
{
    return CPropertyMap::FindOr(m_pElements, oName, MissingConst());
}

CVQProperty& CVQPropertyStruct::operator[](const char* pName)
{
    return CPropertyMap::Demand(m_pElements).FindOrAdd(pName);
}

const CVQProperty& CVQPropertyStruct::operator[](const char* pName) const
{
    return CPropertyMap::FindOr(m_pElements, pName, MissingConst());
}

int CVQPropertyStruct::GetElementCount() const
{
    return m_pElements != nullptr ? static_cast<int>(m_pElements->GetCount()) : 0;
}

bool CVQPropertyStruct::GetFirstElement(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    return m_pElements != nullptr && m_pElements->GetFirst(oName, oValue, nPosition);
}

bool CVQPropertyStruct::GetNextElement(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    return m_pElements != nullptr && m_pElements->GetNext(oName, oValue, nPosition);
}

CVQString CVQPropertyStruct::AsFormattedString() const
{
    std::string sText = "{ ";
    if (m_pElements != nullptr)
    {
        m_pElements->ForEach(
            [&sText](const std::string& sName, const CVQProperty& oValue)
            {
                sText += sName;
                sText += '=';
                sText += PropertyRecord::View(oValue.AsFormattedString());
                sText += ' ';
            });
    }
    return PropertyText::Make(sText + " }");
}

bool CVQPropertyStruct::Read(CFileIO* pFile)
{
    if (pFile == nullptr)
        return false;

    CFileReader oReader(*pFile);
    const bool bRead = Read(oReader, 1);
    oReader.Finish();
    return bRead;
}

bool CVQPropertyStruct::Write(CFileIO* pFile) const
{
    if (pFile == nullptr || IsDeeperThan(PropertyRecord::MAX_DEPTH))
        return false;

    CFileWriter oWriter(*pFile);
    Write(oWriter);
    oWriter.Flush();
    return true;
}

void CVQPropertyStruct::TakeOver(CVQPropertyStruct& oOther) noexcept
{
    m_pElements = std::move(oOther.m_pElements);
    PropertyRecord::TakeOver(m_oStructureName, oOther.m_oStructureName);
}

void CVQPropertyStruct::Store(CStreamWriter& oWriter, unsigned nDepth) const
{
    oWriter.Put(MARKER);
    CPropertyMap::Store(m_pElements.get(), oWriter, nDepth);
    oWriter.PutText(m_oStructureName);
}

void CVQPropertyStruct::Load(CVQDataStream& oStream, unsigned nDepth)
{
    if (PropertyRecord::Get<char>(oStream) == MARKER)
    {
        RemoveAllStructElements();
        CPropertyMap::Load(m_pElements, oStream, nDepth);
    }
    ReadStreamString(oStream, m_oStructureName);
}

bool CVQPropertyStruct::Read(CFileReader& oReader, unsigned nDepth)
{
    if (!CPropertyMap::Read(m_pElements, oReader, nDepth))
        return false;

    oReader.Read(m_oStructureName);
    return true;
}

bool CVQPropertyStruct::Write(CFileWriter& oWriter) const
{
    return CPropertyMap::Write(m_pElements.get(), oWriter) && oWriter.Write(m_oStructureName);
}

bool CVQPropertyStruct::IsDeeperThan(unsigned nLevels) const
{
    return m_pElements != nullptr && m_pElements->IsDeeperThan(nLevels);
}

CVQProperty& CVQPropertyStruct::MissingConst()
{
    static CVQProperty& s_oMissing = CPropertyMap::NewMissing();
    return s_oMissing;
}
