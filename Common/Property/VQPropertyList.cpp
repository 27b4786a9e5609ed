#include <Common/Debug/Log.h>
#include <Common/Property/PropertyMap.h>
#include <Common/Property/PropertyRecord.h>
#include <Common/Property/PropertyText.h>
#include <Common/Property/VQPropertyList.h>

#include <algorithm>
#include <utility>

namespace
{
constexpr char ELEMENTS_MARKER = 'L';
constexpr char ATTRIBUTES_MARKER = 'M';
constexpr const char* ELEMENT_TYPE = "ElementType";
} // namespace

int CVQPropertyList::_m_nDataFormatVersion = 256;

int CVQPropertyList::_GetDataFormatVersion() const
{
    return _m_nDataFormatVersion;
}

bool CVQPropertyList::CanSerialize() const
{
    return true;
}

CVQPropertyList::~CVQPropertyList() = default;

void CVQPropertyList::Serialize(CVQDataStream& oStream)
{
    SerializeRecord(
        oStream, [&] { Load(oStream, 1); }, [&](CStreamWriter& oWriter) { Store(oWriter, 1); });
}

CVQPropertyList::CVQPropertyList() noexcept = default;

CVQPropertyList::CVQPropertyList(const CVQPropertyList& oOther)
    : m_aElements(oOther.m_aElements), m_pAttributes(CPropertyMap::Copy(oOther.m_pAttributes))
{
}

CVQPropertyList::CVQPropertyList(CVQPropertyList&& oOther) noexcept = default;

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a copy comes first
CVQPropertyList& CVQPropertyList::operator=(const CVQPropertyList& oOther)
{
    CVQPropertyList oCopy(oOther);
    TakeOver(oCopy);
    return *this;
}

int CVQPropertyList::GetDataFormatVersion()
{
    return _m_nDataFormatVersion;
}

void CVQPropertyList::SetListElementType(const CVQProperty& oTemplate)
{
    CPropertyMap::Demand(m_pAttributes).Set(ELEMENT_TYPE, oTemplate);
}

const CVQProperty& CVQPropertyList::GetListElementType() const
{
    static CVQProperty& s_oMissing = CPropertyMap::NewMissing();
    return CPropertyMap::FindOr(m_pAttributes, ELEMENT_TYPE, s_oMissing);
}

bool CVQPropertyList::AddListElement(const CVQProperty& oElement)
{
    if (!CheckValidPropertyType(oElement))
        return false;

    m_aElements.push_back(oElement);
    return true;
}

bool CVQPropertyList::SetListElementAt(long nIndex, const CVQProperty& oElement)
{
    if (!CheckValidPropertyType(oElement))
        return false;

    GetListElement(nIndex) = oElement;
    return true;
}

bool CVQPropertyList::RemoveListElement(long nIndex)
{
    VQ_DEBUG_ASSERT(nIndex >= 0 && nIndex < GetCount());

    m_aElements.erase(m_aElements.begin() + nIndex);
    return true;
}

bool CVQPropertyList::RemoveAllListElements()
{
    m_aElements.clear();
    return true;
}

CVQProperty& CVQPropertyList::GetListElement(long nIndex)
{
    VQ_DEBUG_ASSERT(nIndex >= 0 && nIndex < GetCount());

    return m_aElements[static_cast<std::size_t>(nIndex)];
}

int CVQPropertyList::GetCount() const
{
    return static_cast<int>(m_aElements.size());
}

CVQString CVQPropertyList::AsFormattedString() const
{
    return CVQString(sctFormat, "{ %d Elements }", GetCount());
}

CVQString CVQPropertyList::GetPropertyTypeName() const
{
    CVQString oName("List[");
    oName += GetListElementType().GetPropertyTypeName();
    oName += ']';
    return oName;
}

bool CVQPropertyList::Read(CFileIO* pFile)
{
    if (pFile == nullptr)
        return false;

    CFileReader oReader(*pFile);
    const bool bRead = Read(oReader, 1);
    oReader.Finish();
    return bRead;
}

bool CVQPropertyList::Write(CFileIO* pFile) const
{
    if (pFile == nullptr || IsDeeperThan(PropertyRecord::MAX_DEPTH))
        return false;

    CFileWriter oWriter(*pFile);
    Write(oWriter);
    oWriter.Flush();
    return true;
}

bool CVQPropertyList::CheckValidPropertyType(const CVQProperty& oElement) const
{
    const CVQProperty& oTemplate = GetListElementType();
    if (!oElement.IsOfType(oTemplate.GetType()))
        return false;

    return !oElement.IsOfType(PROPTYPE_STRUCT) ||
           oElement.Struct().GetStructureName().Compare(~oTemplate.Struct().GetStructureName()) == 0;
}

void CVQPropertyList::TakeOver(CVQPropertyList& oOther) noexcept
{
    m_aElements.swap(oOther.m_aElements);
    m_pAttributes.swap(oOther.m_pAttributes);
}

void CVQPropertyList::Store(CStreamWriter& oWriter, unsigned nDepth) const
{
    oWriter.Put(ELEMENTS_MARKER);
    CVQProperty::StoreAll(m_aElements, oWriter, nDepth);
    oWriter.Put(ATTRIBUTES_MARKER);
    CPropertyMap::Store(m_pAttributes.get(), oWriter, nDepth);
}

void CVQPropertyList::Load(CVQDataStream& oStream, unsigned nDepth)
{
    if (PropertyRecord::Get<char>(oStream) == ELEMENTS_MARKER)
        CVQProperty::LoadAll(m_aElements, oStream, nDepth);
    if (PropertyRecord::Get<char>(oStream) == ATTRIBUTES_MARKER)
    {
        m_pAttributes = nullptr;
        CPropertyMap::Load(m_pAttributes, oStream, nDepth);
    }
}

bool CVQPropertyList::Read(CFileReader& oReader, unsigned nDepth)
{
    RemoveAllListElements();
    if (!CPropertyMap::Read(m_pAttributes, oReader, nDepth))
        return false;

    std::int32_t nCount = 0;
    oReader.Read(nCount);
    for (std::int32_t i = 0; i < nCount; ++i)
    {
        CVQProperty oElement;
        const auto nResult = oElement.Read(oReader, nDepth);
        if (nResult != CVQProperty::EResult::Done)
            return nResult != CVQProperty::EResult::TooDeep;
        if (CheckValidPropertyType(oElement))
            m_aElements.push_back(std::move(oElement));
    }
    return true;
}

bool CVQPropertyList::Write(CFileWriter& oWriter) const
{
    return CPropertyMap::Write(m_pAttributes.get(), oWriter) &&
           oWriter.Write(static_cast<std::int32_t>(m_aElements.size())) &&
           std::all_of(m_aElements.begin(), m_aElements.end(),
                       [&oWriter](const CVQProperty& oElement) { return oElement.Write(oWriter); });
}

bool CVQPropertyList::IsDeeperThan(unsigned nLevels) const
{
    return (m_pAttributes != nullptr && m_pAttributes->IsDeeperThan(nLevels)) ||
           std::any_of(m_aElements.begin(), m_aElements.end(),
                       [nLevels](const CVQProperty& oElement) { return oElement.IsDeeperThan(nLevels); });
}
