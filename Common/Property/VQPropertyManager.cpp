#include <Common/Property/PropertyMap.h>
#include <Common/Property/PropertyRecord.h>
#include <Common/Property/VQPropertyManager.h>

namespace
{
constexpr char MARKER = 'm';
}

int CVQPropertyManager::_m_nDataFormatVersion = 256;

int CVQPropertyManager::_GetDataFormatVersion() const
{
    return _m_nDataFormatVersion;
}

bool CVQPropertyManager::CanSerialize() const
{
    return true;
}

CVQPropertyManager::~CVQPropertyManager() = default;

bool CVQPropertyManager::Read(CFileIO* pFile)
{
    if (pFile == nullptr)
        return false;

    CFileReader oReader(*pFile);
    const bool bRead = CPropertyMap::Read(m_pProperties, oReader, 1);
    oReader.Finish();
    return bRead;
}

bool CVQPropertyManager::Write(CFileIO* pFile)
{
    const bool bTooDeep = m_pProperties != nullptr && m_pProperties->IsDeeperThan(PropertyRecord::MAX_DEPTH);
    if (pFile == nullptr || bTooDeep)
        return false;

    CFileWriter oWriter(*pFile);
    CPropertyMap::Write(m_pProperties.get(), oWriter);
    oWriter.Flush();
    return true;
}

void CVQPropertyManager::Serialize(CVQDataStream& oStream)
{
    if (oStream.IsStoring())
    {
        CStreamWriter oWriter(oStream);
        oWriter.Put(MARKER);
        CPropertyMap::Store(m_pProperties.get(), oWriter, 1);
        oWriter.Flush();
    }
    else if (PropertyRecord::Get<char>(oStream) == MARKER)
    {
        RemoveAllProperties();
        CPropertyMap::Load(m_pProperties, oStream, 1);
    }
}

CVQPropertyManager::CVQPropertyManager() noexcept = default;

CVQPropertyManager::CVQPropertyManager(const CVQPropertyManager& oOther)
    : m_pProperties(CPropertyMap::Copy(oOther.m_pProperties))
{
}

CVQPropertyManager::CVQPropertyManager(CVQPropertyManager&& oOther) noexcept = default;

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a copy comes first
CVQPropertyManager& CVQPropertyManager::operator=(const CVQPropertyManager& oOther)
{
    m_pProperties = CPropertyMap::Copy(oOther.m_pProperties);
    return *this;
}

int CVQPropertyManager::GetDataFormatVersion()
{
    return _m_nDataFormatVersion;
}

void CVQPropertyManager::SetProperty(const char* pName, const CVQProperty& oValue)
{
    SetProperty(CVQString(pName), oValue);
}

void CVQPropertyManager::SetProperty(const CVQString& oName, const CVQProperty& oValue)
{
    CPropertyMap::Demand(m_pProperties).Set(oName, oValue);
}

void CVQPropertyManager::GetProperty(const char* pName, CVQProperty& oValue) const
{
    oValue = FindProperty(pName); // an undefined one gives its type alone
}

void CVQPropertyManager::GetProperty(const CVQString& oName, CVQProperty& oValue) const
{
    oValue = FindProperty(oName);
}

bool CVQPropertyManager::HasProperty(const char* pName) const
{
    return m_pProperties != nullptr && m_pProperties->Find(pName) != nullptr;
}

bool CVQPropertyManager::HasProperty(const CVQString& oName) const
{
    return m_pProperties != nullptr && m_pProperties->Find(oName) != nullptr;
}

CVQProperty& CVQPropertyManager::FindProperty(const char* pName)
{
    return CPropertyMap::FindOr(m_pProperties, pName, Missing());
}

CVQProperty& CVQPropertyManager::FindProperty(const CVQString& oName)
{
    return CPropertyMap::FindOr(m_pProperties, oName, Missing());
}

const CVQProperty& CVQPropertyManager::FindProperty(const char* pName) const
{
    return CPropertyMap::FindOr(m_pProperties, pName, MissingConst());
}

const CVQProperty& CVQPropertyManager::FindProperty(const CVQString& oName) const
{
    return CPropertyMap::FindOr(m_pProperties, oName, MissingConst());
}

CVQProperty& CVQPropertyManager::operator[](const char* pName)
{
    return CPropertyMap::Demand(m_pProperties).FindOrAdd(pName);
}

CVQProperty& CVQPropertyManager::operator[](const CVQString& oName)
{
    return CPropertyMap::Demand(m_pProperties).FindOrAdd(oName);
}

const CVQProperty& CVQPropertyManager::operator[](const char* pName) const
{
    return FindProperty(pName);
}

const CVQProperty& CVQPropertyManager::operator[](const CVQString& oName) const
{
    return FindProperty(oName);
}

void CVQPropertyManager::RemoveProperty(const char* pName)
{
    RemoveProperty(CVQString(pName));
}

void CVQPropertyManager::RemoveProperty(const CVQString& oName)
{
    if (m_pProperties != nullptr)
        m_pProperties->Remove(oName);
}

void CVQPropertyManager::RemoveAllProperties()
{
    m_pProperties = nullptr;
}

int CVQPropertyManager::GetPropertyCount() const
{
    return m_pProperties != nullptr ? static_cast<int>(m_pProperties->GetCount()) : 0;
}

bool CVQPropertyManager::GetFirstProperty(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    return m_pProperties != nullptr && m_pProperties->GetFirst(oName, oValue, nPosition);
}

bool CVQPropertyManager::GetNextProperty(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    return m_pProperties != nullptr && m_pProperties->GetNext(oName, oValue, nPosition);
}

CVQProperty& CVQPropertyManager::Missing()
{
    static CVQProperty& s_oMissing = CPropertyMap::NewMissing();
    return s_oMissing;
}

CVQProperty& CVQPropertyManager::MissingConst()
{
    static CVQProperty& s_oMissing = CPropertyMap::NewMissing();
    return s_oMissing;
}
