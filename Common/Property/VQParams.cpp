#include <Common/Debug/Log.h>
#include <Common/Property/PropertyRecord.h>
#include <Common/Property/VQParams.h>

#include <algorithm>
#include <utility>

namespace
{
constexpr const char* SOURCE_FILE = "Common/Property/VQParams";

constexpr unsigned long ERROR_COUNT = 6001;
constexpr unsigned long ERROR_TYPE = 6002;
constexpr unsigned long ERROR_MISSING = 6003;

// The lines that handlers of these errors know.
constexpr unsigned long LINE_MISSING = 302;
constexpr unsigned long LINE_TYPE = 324;
constexpr unsigned long LINE_COUNT = 342;

constexpr char MARKER = 'v';
} // namespace

int CVQParams::_m_nDataFormatVersion = 256;

int CVQParams::_GetDataFormatVersion() const
{
    return _m_nDataFormatVersion;
}

bool CVQParams::CanSerialize() const
{
    return true;
}

CVQParams::~CVQParams() = default;

bool CVQParams::Read(CFileIO* pFile)
{
    if (pFile == nullptr)
        return false;

    RemoveAll();
    CFileReader oReader(*pFile);
    std::int32_t nCount = 0;
    bool bRead = oReader.Read(nCount);
    for (std::int32_t i = 0; bRead && i < nCount; ++i)
    {
        CVQProperty oParameter;
        bRead = oParameter.Read(oReader, 1) == CVQProperty::EResult::Done;
        if (bRead)
            m_aParameters.push_back(std::move(oParameter));
    }
    oReader.Finish();
    return bRead;
}

bool CVQParams::Write(CFileIO* pFile) const
{
    const bool bTooDeep =
        std::any_of(m_aParameters.begin(), m_aParameters.end(),
                    [](const CVQProperty& oParameter) { return oParameter.IsDeeperThan(PropertyRecord::MAX_DEPTH); });
    if (pFile == nullptr || bTooDeep)
        return false;

    CFileWriter oWriter(*pFile);
    return oWriter.Write(static_cast<std::int32_t>(m_aParameters.size())) &&
           std::all_of(m_aParameters.begin(), m_aParameters.end(),
                       [&oWriter](const CVQProperty& oParameter) { return oParameter.Write(oWriter); }) &&
           oWriter.Flush();
}

void CVQParams::Serialize(CVQDataStream& oStream)
{
    if (oStream.IsStoring())
    {
        CStreamWriter oWriter(oStream);
        oWriter.Put(MARKER);
        CVQProperty::StoreAll(m_aParameters, oWriter, 1);
        oWriter.Flush();
    }
    else if (PropertyRecord::Get<char>(oStream) == MARKER)
        CVQProperty::LoadAll(m_aParameters, oStream, 1);
}

CVQParams::CVQParams(long nCount)
{
    ResizeList(nCount);
}

CVQParams::CVQParams(const CVQParams&) = default;

CVQParams::CVQParams(CVQParams&&) noexcept = default;

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a copy comes first
CVQParams& CVQParams::operator=(const CVQParams& oOther)
{
    // Elements are copied anew, not assigned to: an undefined one leaves no value of the old list behind.
    std::vector<CVQProperty> aCopy(oOther.m_aParameters);
    m_aParameters.swap(aCopy);
    return *this;
}

int CVQParams::GetDataFormatVersion()
{
    return _m_nDataFormatVersion;
}

long CVQParams::GetCount() const
{
    return static_cast<long>(m_aParameters.size());
}

bool CVQParams::IsEmpty() const
{
    return m_aParameters.empty();
}

bool CVQParams::DoesExist(long nIndex) const
{
    return nIndex >= 0 && nIndex < GetCount() && !Get(nIndex).IsOfType(PROPTYPE_UNDEFINED);
}

const CVQProperty& CVQParams::Get(long nIndex) const
{
    VQ_DEBUG_ASSERT(nIndex >= 0 && nIndex < GetCount());

    return m_aParameters[static_cast<std::size_t>(nIndex)];
}

const CVQProperty& CVQParams::operator[](long nIndex) const
{
    return Get(nIndex);
}

CVQProperty& CVQParams::Get(long nIndex)
{
    VQ_DEBUG_ASSERT(nIndex >= 0);

    const auto nPlace = static_cast<std::size_t>(nIndex);
    if (nIndex >= GetCount())
        m_aParameters.resize(nPlace + 1);
    return m_aParameters[nPlace];
}

CVQProperty& CVQParams::operator[](long nIndex)
{
    return Get(nIndex);
}

void CVQParams::Add(const CVQProperty& oParameter)
{
    m_aParameters.push_back(oParameter);
}

void CVQParams::InsertAt(long nIndex, const CVQProperty& oParameter)
{
    if (nIndex < 0 || nIndex > GetCount())
        return;

    // Moved to another place as they are: to insert into the vector would assign, which keeps less of a property.
    std::vector<CVQProperty> aNew;
    aNew.reserve(m_aParameters.size() + 1);
    CVQProperty oCopy(oParameter);
    const auto itPlace = m_aParameters.begin() + nIndex;
    aNew.insert(aNew.end(), std::move_iterator(m_aParameters.begin()), std::move_iterator(itPlace));
    aNew.push_back(std::move(oCopy));
    aNew.insert(aNew.end(), std::move_iterator(itPlace), std::move_iterator(m_aParameters.end()));
    m_aParameters.swap(aNew);
}

void CVQParams::Remove(long nIndex)
{
    if (nIndex < 0 || nIndex > GetCount() || IsEmpty())
        return;

    if (nIndex == GetCount())
        m_aParameters.pop_back();
    else
        m_aParameters.erase(m_aParameters.begin() + nIndex);
}

void CVQParams::RemoveAll()
{
    m_aParameters.clear();
}

void CVQParams::Reset()
{
    RemoveAll();
}

void CVQParams::ResizeList(long nCount)
{
    m_aParameters.resize(static_cast<std::size_t>(std::max(nCount, 0L)));
}

void CVQParams::ResetAt(long /*nIndex*/)
{
    Get(0).Empty();
}

void CVQParams::ExpectParameter(long nIndex) const
{
    if (!DoesExist(nIndex))
        ThrowException(ERROR_MISSING, LINE_MISSING, SOURCE_FILE,
                       ~CVQString(sctFormat, "Parameter %d is missing", static_cast<int>(nIndex)));
}

void CVQParams::ExpectParameterType(long nIndex, ePropType nType) const
{
    if (!Get(nIndex).IsOfType(nType))
        ThrowException(ERROR_TYPE, LINE_TYPE, SOURCE_FILE,
                       ~CVQString(sctFormat, "Parameter %d is of wrong type", static_cast<int>(nIndex)));
}

void CVQParams::ExpectParameterCount(long nCount) const
{
    if (GetCount() < nCount)
        ThrowException(ERROR_COUNT, LINE_COUNT, SOURCE_FILE, "Wrong number of parameters");
}
