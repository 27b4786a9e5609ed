#include <Common/Debug/Log.h>
#include <Common/Debug/VQDataStreamException.h>
#include <Common/Property/PropertyMap.h>
#include <Common/Property/PropertyRecord.h>
#include <Common/Property/PropertyText.h>
#include <Common/Property/VQProperty.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

using PropertyRecord::CVersionedLoading;
using PropertyText::SArgument;

namespace
{
constexpr const char* SOURCE_FILE = "Common/Property/VQProperty";
constexpr unsigned long ERROR_TOO_DEEP = 5004;

/// The codes of types in older files.
enum eOldType : std::int32_t
{
    OLD_BOOL = 1, // in 4 bytes
    OLD_INT = 2,
    OLD_LONG = 3,
    OLD_FLOAT = 4,
    OLD_STRING = 5,
    OLD_UNDEFINED = 255
};

std::int32_t TranslateOldType(std::int32_t nType)
{
    switch (nType)
    {
    case OLD_INT:
        return PROPTYPE_INT;
    case OLD_LONG:
        return PROPTYPE_LONG;
    case OLD_FLOAT:
        return PROPTYPE_FLOAT;
    case OLD_STRING:
        return PROPTYPE_STRING;
    case OLD_UNDEFINED:
        return PROPTYPE_UNDEFINED;
    default:
        return nType;
    }
}

void ReportUnknownType(int nLine)
{
    constexpr unsigned long ALL_OUTPUTS = LOG_DEBUGGER | LOG_FILE | LOG_NETWORK | LOG_MESSAGEBOX;

    _VQ_Log_Fn(SOURCE_FILE, "Zembrolia", "", static_cast<unsigned long>(nLine), 0, ALL_OUTPUTS, ecCriticalError,
               "CVQProperty::Serialize() : Unkown property type in serialize!");
}
} // namespace

int CVQProperty::_m_nDataFormatVersion = 256;

int CVQProperty::_GetDataFormatVersion() const
{
    return _m_nDataFormatVersion;
}

bool CVQProperty::CanSerialize() const
{
    return true;
}

void CVQProperty::Serialize(CVQDataStream& oStream)
{
    SerializeRecord(
        oStream, [&] { Load(oStream, 1); }, [&](CStreamWriter& oWriter) { Store(oWriter, 1); });
}

int CVQProperty::GetDataFormatVersion()
{
    return _m_nDataFormatVersion;
}

CVQProperty::CVQProperty(const CVQString& oValue) : CVQProperty()
{
    Set(oValue);
}

CVQProperty::CVQProperty(const char* pValue) : CVQProperty()
{
    Set(pValue);
}

CVQProperty::CVQProperty(const CVQStringId& oValue) : CVQProperty()
{
    Set(oValue);
}

CVQProperty::CVQProperty(const CVQPropertyStruct& oValue) : CVQProperty()
{
    Set(oValue);
}

CVQProperty::CVQProperty(const CVQPropertyList& oValue) : CVQProperty()
{
    Set(oValue);
}

CVQProperty::CVQProperty(CVQProperty&& oOther) noexcept
    : CVQProperty(oOther.m_nType, oOther.m_nInteger, oOther.m_fFloat)
{
    oOther.m_nType = PROPTYPE_UNDEFINED;
    oOther.m_nInteger = 0;
    oOther.m_fFloat = 0;
    if (oOther.m_nSlots == 0)
        return;

    if (oOther.Has(STRING_SLOT))
        std::construct_at(&m_oString, std::move(oOther.m_oString));
    if (oOther.Has(SHORT_TEXT))
        m_oShortText = oOther.m_oShortText;
    if (oOther.Has(STRUCT_SLOT))
        std::construct_at(&m_oStruct, std::move(oOther.m_oStruct));
    if (oOther.Has(LIST_SLOT))
        std::construct_at(&m_oList, std::move(oOther.m_oList));
    if (oOther.Has(FORMAT_SLOT))
        std::construct_at(&m_oFormat, std::move(oOther.m_oFormat));
    m_nSlots = oOther.m_nSlots;
    oOther.ReleaseSlots();
}

void CVQProperty::Set(int nValue) noexcept
{
    m_nType = PROPTYPE_INT;
    m_nInteger = nValue;
}

void CVQProperty::Set(unsigned long nValue) noexcept
{
    m_nType = PROPTYPE_ULONG;
    m_nInteger = static_cast<std::int32_t>(nValue);
}

void CVQProperty::Set(long nValue) noexcept
{
    m_nType = PROPTYPE_LONG;
    m_nInteger = static_cast<std::int32_t>(nValue);
}

void CVQProperty::Set(bool bValue) noexcept
{
    m_nType = PROPTYPE_BOOL;
    m_nInteger = bValue ? 1 : 0;
}

void CVQProperty::Set(float fValue) noexcept
{
    m_nType = PROPTYPE_FLOAT;
    m_fFloat = fValue;
}

void CVQProperty::Set(const CVQString& oValue)
{
    const bool bLocalised = oValue.HasStringId() && oValue.IsIdenticalToStringResource();
    if (oValue.HasStringId() || !AssignShort(PropertyRecord::View(oValue)))
        String() = oValue;
    m_nType = bLocalised ? PROPTYPE_STRINGID : PROPTYPE_STRING;
    if (bLocalised)
        m_nInteger = static_cast<std::int32_t>(m_oString.GetStringId());
}

void CVQProperty::Set(const char* pValue)
{
    Set(CVQString(pValue));
}

void CVQProperty::Set(const CVQStringId& oValue)
{
    SetLocalised(static_cast<std::int32_t>(oValue.GetId()));
}

void CVQProperty::Set(const CVQPropertyStruct& oValue)
{
    Struct() = oValue;
    m_nType = PROPTYPE_STRUCT;
}

void CVQProperty::Set(const CVQPropertyList& oValue)
{
    List() = oValue;
    m_nType = PROPTYPE_LIST;
}

const CVQProperty& CVQProperty::operator=(int nValue) noexcept
{
    Set(nValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(unsigned long nValue) noexcept
{
    Set(nValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(long nValue) noexcept
{
    Set(nValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(bool bValue) noexcept
{
    Set(bValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(float fValue) noexcept
{
    Set(fValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(const CVQString& oValue)
{
    Set(oValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(const char* pValue)
{
    Set(pValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(const CVQStringId& oValue)
{
    Set(oValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(const CVQPropertyStruct& oValue)
{
    Set(oValue);
    return *this;
}

const CVQProperty& CVQProperty::operator=(const CVQPropertyList& oValue)
{
    Set(oValue);
    return *this;
}

/// Assigns a property that holds an object. It may be an element of the own list or struct: its fields are read before
/// those are replaced.
void CVQProperty::AssignObject(const CVQProperty& oOther)
{
    switch (oOther.m_nType)
    {
    case PROPTYPE_STRINGID:
        SetLocalised(oOther.m_nInteger);
        break;
    case PROPTYPE_STRING:
        if (oOther.Has(SHORT_TEXT) && AssignShort(oOther.m_oShortText.View()))
            m_nType = PROPTYPE_STRING;
        else
            Set(oOther.String());
        break;
    case PROPTYPE_STRUCT:
        Set(oOther.Struct());
        break;
    default:
        Set(oOther.List());
        break;
    }
}

const CVQString& CVQProperty::GetString() const
{
    if (m_nType == PROPTYPE_STRINGID && String().IsEmpty())
        ReloadString();
    return String();
}

CVQProperty::operator const CVQString&() const
{
    return GetString();
}

CVQProperty::operator CVQPath() const
{
    return CVQPath(GetString());
}

CVQStringId CVQProperty::GetStringId() const noexcept
{
    return CVQStringId(m_nInteger);
}

CVQProperty::operator CVQStringId() const noexcept
{
    return GetStringId();
}

void CVQProperty::SetFormat(const CVQString& oFormat)
{
    FormatSlot() = oFormat;
}

CVQString CVQProperty::GetPropertyTypeName() const
{
    switch (m_nType)
    {
    case PROPTYPE_ULONG:
        return "Unsigned Long";
    case PROPTYPE_STRINGID:
        return "String id";
    case PROPTYPE_LIST:
        return List().GetPropertyTypeName();
    case PROPTYPE_BOOL:
        return "Boolean";
    case PROPTYPE_STRUCT:
        return Struct().GetStructureName();
    case PROPTYPE_FLOAT:
        return "Float";
    case PROPTYPE_INT:
        return "Integer";
    case PROPTYPE_LONG:
        return "Long";
    case PROPTYPE_STRING:
        return "String";
    default:
        return "Undefined porperty type";
    }
}

CVQString CVQProperty::AsFormattedString() const
{
    const bool bFormat = Has(FORMAT_SLOT) && !m_oFormat.IsEmpty();
    switch (m_nType)
    {
    case PROPTYPE_ULONG:
    case PROPTYPE_INT:
    case PROPTYPE_LONG:
        if (bFormat)
            return PropertyText::Format(m_oFormat, std::array{SArgument::Integer(m_nInteger)});
        return CVQString(sctFormat, "%d", static_cast<int>(m_nInteger));
    case PROPTYPE_STRING:
    case PROPTYPE_STRINGID:
        return bFormat ? PropertyText::FormatWords(m_oFormat, GetString()) : GetString();
    case PROPTYPE_BOOL:
        if (bFormat)
            return PropertyText::Format(m_oFormat, std::array{SArgument::Integer(m_nInteger != 0 ? 1 : 0)});
        return m_nInteger != 0 ? "true" : "false";
    case PROPTYPE_FLOAT:
        if (bFormat)
            return PropertyText::Format(m_oFormat, std::array{SArgument::Float(m_fFloat)});
        return CVQString(sctFormat, "%.2f", static_cast<double>(m_fFloat));
    case PROPTYPE_LIST:
        return List().AsFormattedString();
    case PROPTYPE_STRUCT:
        return Struct().AsFormattedString();
    default:
        return "Unkown Property Type";
    }
}

void CVQProperty::Empty() noexcept
{
    Reset();
    m_nType = PROPTYPE_UNDEFINED;
}

bool CVQProperty::Read(CFileIO* pFile)
{
    if (pFile == nullptr)
        return false;

    CFileReader oReader(*pFile);
    const EResult nResult = Read(oReader, 1);
    oReader.Finish();
    return nResult == EResult::Done;
}

bool CVQProperty::Write(CFileIO* pFile) const
{
    if (pFile == nullptr || IsDeeperThan(PropertyRecord::MAX_DEPTH))
        return false;

    CFileWriter oWriter(*pFile);
    return Write(oWriter) && oWriter.Flush();
}

void CVQProperty::ReleaseSlots() noexcept
{
    if (Has(STRING_SLOT))
        std::destroy_at(&m_oString);
    if (Has(STRUCT_SLOT))
        std::destroy_at(&m_oStruct);
    if (Has(LIST_SLOT))
        std::destroy_at(&m_oList);
    if (Has(FORMAT_SLOT))
        std::destroy_at(&m_oFormat);
    m_nSlots = 0;
}

/// Makes all slots, so that reading them changes nothing.
void CVQProperty::MakeSlots() const
{
    String();
    Struct();
    List();
    FormatSlot();
}

/// Makes the string that the short text stands for.
void CVQProperty::MakeString() const
{
    CVQString oText('\0', m_oShortText.m_nAllocatedLength);
    std::copy_n(m_oShortText.m_aBytes.data(), m_oShortText.m_nLength, oText.GetBuffer(0));
    oText.ReleaseBuffer(m_oShortText.m_nLength);

    std::construct_at(&m_oString, std::move(oText));
    m_nSlots = static_cast<std::uint8_t>((m_nSlots & ~SHORT_TEXT) | STRING_SLOT);
}

void CVQProperty::Reset() noexcept
{
    m_nInteger = 0;
    m_fFloat = 0;
    if (Has(STRUCT_SLOT))
        m_oStruct.RemoveAllStructElements();
    if (Has(LIST_SLOT))
        m_oList.RemoveAllListElements();
    if (Has(STRING_SLOT))
        m_oString.Empty();
    if (Has(SHORT_TEXT))
        m_oShortText.m_nLength = 0;
}

void CVQProperty::ReloadString() const
{
    String().LoadStringResource(m_nInteger);
}

/// Becomes a localised text. Without a hook to load it the text stays what it was; an empty one GetString() loads
/// again.
void CVQProperty::SetLocalised(std::int32_t nId)
{
    m_nType = PROPTYPE_STRINGID;
    m_nInteger = nId;
    ReloadString();
}

/// Takes a text without a string id, one of an own element too, where no string was made yet. The string that it stands
/// for has the sizes that assigning to it would have left.
///
/// @return false for a text that is too long or the first one and empty, and where there is a string
bool CVQProperty::AssignShort(std::string_view sText) noexcept
{
    const bool bFirst = !Has(SHORT_TEXT);
    if (Has(STRING_SLOT) || sText.size() > MAX_SHORT_TEXT || (bFirst && sText.empty()))
        return false;

    const auto nLength = static_cast<std::uint8_t>(sText.size());
    m_oShortText.m_nAllocatedLength = bFirst ? nLength : std::max(m_oShortText.m_nAllocatedLength, nLength);
    m_oShortText.m_nLength = nLength;
    std::memmove(m_oShortText.m_aBytes.data(), sText.data(), sText.size());
    m_nSlots = static_cast<std::uint8_t>(m_nSlots | SHORT_TEXT);
    return true;
}

/// Puts a fresh string into the place of the one that there is.
void CVQProperty::ReplaceString(CVQString& oText)
{
    m_nSlots = static_cast<std::uint8_t>(m_nSlots & ~SHORT_TEXT);
    PropertyRecord::TakeOver(String(), oText);
}

/// As Set(), without a copy.
void CVQProperty::SetText(CVQString&& oValue)
{
    const bool bLocalised = oValue.HasStringId() && oValue.IsIdenticalToStringResource();
    ReplaceString(oValue);
    m_nType = bLocalised ? PROPTYPE_STRINGID : PROPTYPE_STRING;
    if (bLocalised)
        m_nInteger = static_cast<std::int32_t>(m_oString.GetStringId());
}

/// Assigns a property that is not needed any more: what it holds is taken where assignment would copy it.
void CVQProperty::AssignMoved(CVQProperty& oOther)
{
    switch (oOther.m_nType)
    {
    case PROPTYPE_STRING:
        if (oOther.Has(SHORT_TEXT))
            AssignObject(oOther);
        else
            SetText(std::move(oOther.String()));
        break;
    case PROPTYPE_STRUCT:
        Struct().TakeOver(oOther.Struct());
        m_nType = PROPTYPE_STRUCT;
        break;
    case PROPTYPE_LIST:
        List().TakeOver(oOther.List());
        m_nType = PROPTYPE_LIST;
        break;
    default:
        *this = std::as_const(oOther);
        break;
    }
}

void CVQProperty::StoreAll(const std::vector<CVQProperty>& aProperties, CStreamWriter& oWriter, unsigned nDepth)
{
    oWriter.Put(static_cast<std::uint32_t>(aProperties.size()));
    for (const CVQProperty& oProperty : aProperties)
        oProperty.StoreVersioned(oWriter, nDepth);
}

void CVQProperty::LoadAll(std::vector<CVQProperty>& aProperties, CVQDataStream& oStream, unsigned nDepth)
{
    const std::size_t nCount = PropertyRecord::GetCount(oStream, GetLeastSize());
    if (nCount < aProperties.size())
        aProperties.resize(nCount);

    std::size_t nRead = 0;
    try
    {
        for (; nRead < nCount; ++nRead)
        {
            if (nRead == aProperties.size())
                aProperties.emplace_back();
            aProperties[nRead].LoadVersioned(oStream, nDepth);
        }
    }
    catch (...)
    {
        aProperties.resize(nRead);
        throw;
    }
}

std::uint64_t CVQProperty::GetLeastSize()
{
    const bool bVersion = _m_nDataFormatVersion != PropertyRecord::NO_VERSION;
    return (bVersion ? PropertyRecord::WORD_SIZE : 0) + 2 * PropertyRecord::WORD_SIZE; // type, length of the format
}

void CVQProperty::StoreVersioned(CStreamWriter& oWriter, unsigned nDepth) const
{
    oWriter.PutVersion(_m_nDataFormatVersion);
    Store(oWriter, nDepth);
}

void CVQProperty::LoadVersioned(CVQDataStream& oStream, unsigned nDepth)
{
    const CVersionedLoading oVersioned(oStream, _m_nDataFormatVersion);
    Load(oStream, nDepth);
}

void CVQProperty::Store(CStreamWriter& oWriter, unsigned nDepth) const
{
    if (nDepth > PropertyRecord::MAX_DEPTH)
        ThrowTooDeep();

    oWriter.Put(static_cast<std::int32_t>(m_nType));
    switch (m_nType)
    {
    case PROPTYPE_ULONG:
    case PROPTYPE_INT:
    case PROPTYPE_LONG:
    case PROPTYPE_STRINGID:
        oWriter.Put(m_nInteger);
        break;
    case PROPTYPE_BOOL:
        oWriter.Put(static_cast<std::uint8_t>(m_nInteger != 0 ? 1 : 0));
        break;
    case PROPTYPE_FLOAT:
        oWriter.Put(m_fFloat);
        break;
    case PROPTYPE_STRING:
        if (Has(SHORT_TEXT))
            oWriter.PutText(m_oShortText.View());
        else
            oWriter.PutText(String());
        break;
    case PROPTYPE_LIST:
        oWriter.PutVersion(CVQPropertyList::GetDataFormatVersion());
        List().Store(oWriter, nDepth + 1);
        break;
    case PROPTYPE_STRUCT:
        oWriter.PutVersion(CVQPropertyStruct::GetDataFormatVersion());
        Struct().Store(oWriter, nDepth + 1);
        break;
    default:
        ReportUnknownType(__LINE__);
        break;
    }
    if (Has(FORMAT_SLOT))
        oWriter.PutText(m_oFormat);
    else
        oWriter.PutText(std::string_view());
}

void CVQProperty::Load(CVQDataStream& oStream, unsigned nDepth)
{
    if (nDepth > PropertyRecord::MAX_DEPTH)
        ThrowTooDeep();

    const auto nType = PropertyRecord::Get<std::int32_t>(oStream);
    switch (nType)
    {
    case PROPTYPE_ULONG:
    case PROPTYPE_INT:
    case PROPTYPE_LONG:
        m_nInteger = PropertyRecord::Get<std::int32_t>(oStream);
        m_nType = static_cast<ePropType>(nType);
        break;
    case PROPTYPE_BOOL:
        Set(PropertyRecord::Get<std::uint8_t>(oStream) != 0);
        break;
    case PROPTYPE_FLOAT:
        Set(PropertyRecord::Get<float>(oStream));
        break;
    case PROPTYPE_STRINGID:
        SetLocalised(PropertyRecord::Get<std::int32_t>(oStream));
        break;
    case PROPTYPE_STRING:
        LoadString(oStream);
        break;
    case PROPTYPE_LIST:
    {
        CVQPropertyList oList;
        {
            const CVersionedLoading oVersioned(oStream, CVQPropertyList::GetDataFormatVersion());
            oList.Load(oStream, nDepth + 1);
        }
        List().TakeOver(oList);
        m_nType = PROPTYPE_LIST;
        break;
    }
    case PROPTYPE_STRUCT:
    {
        CVQPropertyStruct oStruct;
        {
            const CVersionedLoading oVersioned(oStream, CVQPropertyStruct::GetDataFormatVersion());
            oStruct.Load(oStream, nDepth + 1);
        }
        Struct().TakeOver(oStruct);
        m_nType = PROPTYPE_STRUCT;
        break;
    }
    default:
        m_nType = nType >= 0 && nType <= 0xFF ? static_cast<ePropType>(nType) : PROPTYPE_UNDEFINED;
        ReportUnknownType(__LINE__);
        break;
    }

    if (PropertyRecord::PeekWord(oStream) != 0)
        ReadStreamString(oStream, FormatSlot());
    else
        oStream.Advance(PropertyRecord::WORD_SIZE); // an empty one leaves the own as it is
}

/// A number in place of the text makes a string id of the property, whether that text can be loaded now or not.
void CVQProperty::LoadString(CVQDataStream& oStream)
{
    const std::int32_t nLength = PropertyRecord::PeekWord(oStream);
    CVQString oText;
    if (nLength == PropertyRecord::LOCALISED)
    {
        const auto aWords = PropertyRecord::Get<std::array<std::int32_t, 2>>(oStream);
        ReplaceString(oText);
        SetLocalised(aWords[1]);
        return;
    }
    if (nLength > 0 && nLength <= MAX_SHORT_TEXT && !Has(STRING_SLOT))
    {
        const auto nSize = static_cast<std::uint8_t>(nLength);
        oStream.Advance(PropertyRecord::WORD_SIZE);
        oStream.RequireReadable(nSize);
        m_nSlots = static_cast<std::uint8_t>(m_nSlots & ~SHORT_TEXT); // the string would be a fresh one
        AssignShort({reinterpret_cast<const char*>(oStream.GetIteratorBuffer()), nSize});
        m_nType = PROPTYPE_STRING;
        oStream.Advance(nSize);
        return;
    }

    ReadStreamString(oStream, oText);
    SetText(std::move(oText));
}

CVQProperty::EResult CVQProperty::Read(CFileReader& oReader, unsigned nDepth)
{
    if (nDepth > PropertyRecord::MAX_DEPTH)
        return EResult::TooDeep;

    std::int32_t nStored = 0;
    if (!oReader.Read(nStored))
        return EResult::Failed;

    const std::int32_t nType = TranslateOldType(nStored);
    switch (nType)
    {
    case OLD_BOOL:
    case PROPTYPE_ULONG:
    case PROPTYPE_INT:
    case PROPTYPE_LONG:
    case PROPTYPE_STRINGID:
    {
        std::int32_t nValue = 0;
        if (!oReader.Read(nValue))
            return EResult::Failed;

        if (nType == OLD_BOOL)
            Set(nValue != 0);
        else if (nType == PROPTYPE_STRINGID)
            SetLocalised(nValue);
        else
        {
            m_nType = static_cast<ePropType>(nType);
            m_nInteger = nValue;
        }
        return EResult::Done;
    }
    case PROPTYPE_BOOL:
        return ReadAndSet<bool>(oReader);
    case PROPTYPE_FLOAT:
        return ReadAndSet<float>(oReader);
    case PROPTYPE_STRING:
    {
        CVQString oText;
        if (!oReader.Read(oText))
            return EResult::Failed;

        SetText(std::move(oText));
        return EResult::Done;
    }
    case PROPTYPE_LIST:
    {
        CVQPropertyList oList;
        if (!oList.Read(oReader, nDepth + 1))
            return EResult::TooDeep;

        List().TakeOver(oList);
        m_nType = PROPTYPE_LIST;
        return EResult::Done;
    }
    case PROPTYPE_STRUCT:
    {
        CVQPropertyStruct oStruct;
        if (!oStruct.Read(oReader, nDepth + 1))
            return EResult::TooDeep;

        Struct().TakeOver(oStruct);
        m_nType = PROPTYPE_STRUCT;
        return EResult::Done;
    }
    case PROPTYPE_UNDEFINED:
        m_nType = PROPTYPE_UNDEFINED;
        return EResult::Done;
    default:
        return EResult::Done;
    }
}

template <class TValue>
CVQProperty::EResult CVQProperty::ReadAndSet(CFileReader& oReader)
{
    TValue oValue{};
    if (!oReader.Read(oValue))
        return EResult::Failed;

    Set(oValue);
    return EResult::Done;
}

bool CVQProperty::Write(CFileWriter& oWriter) const
{
    if (!oWriter.Write(static_cast<std::int32_t>(m_nType)))
        return false;

    switch (m_nType)
    {
    case PROPTYPE_ULONG:
    case PROPTYPE_INT:
    case PROPTYPE_LONG:
    case PROPTYPE_STRINGID:
        return oWriter.Write(m_nInteger);
    case PROPTYPE_BOOL:
        return oWriter.Write(m_nInteger != 0);
    case PROPTYPE_FLOAT:
        return oWriter.Write(m_fFloat);
    case PROPTYPE_STRING:
        return Has(SHORT_TEXT) ? oWriter.Write(m_oShortText.View()) : oWriter.Write(String());
    case PROPTYPE_LIST:
        return List().Write(oWriter);
    case PROPTYPE_STRUCT:
        return Struct().Write(oWriter);
    default:
        return true;
    }
}

bool CVQProperty::IsDeeperThan(unsigned nLevels) const
{
    if (nLevels == 0)
        return true;
    return (m_nType == PROPTYPE_LIST && List().IsDeeperThan(nLevels - 1)) ||
           (m_nType == PROPTYPE_STRUCT && Struct().IsDeeperThan(nLevels - 1));
}

void CVQProperty::ThrowTooDeep()
{
    ThrowException(ERROR_TOO_DEEP, __LINE__, SOURCE_FILE, "Objects are nested too deeply.");
}

void CVQProperty::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile, const char* pMessage)
{
    throw CVQDataStreamException(nCode, nLine, pFile, pMessage);
}
