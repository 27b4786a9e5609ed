#include <Common/Property/PropertyMap.h>

#include <Common/Property/PropertyRecord.h>
#include <Common/Property/PropertyText.h>

namespace
{
constexpr std::uintptr_t FIRST_POINTER = 0x10000; // anything below is the number of a localised text
constexpr long NO_POSITION = -1;
} // namespace

CPropertyMap::CPropertyMap(const CPropertyMap& oOther)
{
    m_aOrder.reserve(oOther.GetCount());
    for (const TEntries::value_type* pEntry : oOther.GetOrder())
        Insert(m_oEntries.end(), pEntry->first, pEntry->second);
}

std::unique_ptr<CPropertyMap> CPropertyMap::Copy(const std::unique_ptr<CPropertyMap>& pOther)
{
    return pOther != nullptr && pOther->GetCount() != 0 ? std::make_unique<CPropertyMap>(*pOther) : nullptr;
}

CPropertyMap& CPropertyMap::Demand(std::unique_ptr<CPropertyMap>& pMap)
{
    if (pMap == nullptr)
        pMap = std::make_unique<CPropertyMap>();
    return *pMap;
}

CVQProperty& CPropertyMap::NewMissing()
{
    auto* const pMissing = new CVQProperty;
    pMissing->MakeSlots();
    return *pMissing;
}

CVQProperty* CPropertyMap::Find(const CVQString& oName)
{
    const auto itFound = m_oEntries.find(Text(oName));
    return itFound != m_oEntries.end() ? &itFound->second : nullptr;
}

CVQProperty* CPropertyMap::Find(const char* pName)
{
    if (reinterpret_cast<std::uintptr_t>(pName) < FIRST_POINTER)
        return Find(CVQString(pName));

    const auto itFound = m_oEntries.find(pName);
    return itFound != m_oEntries.end() ? &itFound->second : nullptr;
}

CVQProperty& CPropertyMap::FindOrAdd(const CVQString& oName)
{
    auto itFound = m_oEntries.lower_bound(Text(oName));
    if (itFound == m_oEntries.end() || SLess()(Text(oName), itFound->first))
        return Insert(itFound, oName);
    return itFound->second;
}

void CPropertyMap::Remove(const CVQString& oName)
{
    const auto itFound = m_oEntries.find(Text(oName));
    if (itFound == m_oEntries.end())
        return;

    m_aOrder.clear();
    m_oEntries.erase(itFound);
}

bool CPropertyMap::GetFirst(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    if (m_oEntries.empty())
        return false;

    Tell(*m_oEntries.begin(), oName, oValue);
    nPosition = 0;
    return true;
}

bool CPropertyMap::GetNext(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    if (nPosition < 0 || static_cast<unsigned long>(nPosition) >= m_oEntries.size() - 1 || m_oEntries.empty())
    {
        nPosition = NO_POSITION;
        return false;
    }

    Tell(*GetOrder()[static_cast<std::size_t>(nPosition) + 1], oName, oValue);
    ++nPosition;
    return true;
}

bool CPropertyMap::IsDeeperThan(unsigned nLevels) const
{
    return !VisitWhile([nLevels](const SName&, const CVQProperty& oValue) { return !oValue.IsDeeperThan(nLevels); });
}

void CPropertyMap::Store(const CPropertyMap* pMap, CStreamWriter& oWriter, unsigned nDepth)
{
    oWriter.Put(static_cast<std::uint32_t>(pMap != nullptr ? pMap->GetCount() : 0));
    if (pMap == nullptr)
        return;

    pMap->VisitWhile(
        [&oWriter, nDepth](const SName& oName, const CVQProperty& oValue)
        {
            if (oName.m_pLocalised != nullptr)
                oWriter.PutText(*oName.m_pLocalised);
            else
                oWriter.PutText(oName.m_sText);
            oValue.StoreVersioned(oWriter, nDepth);
            return true;
        });
}

void CPropertyMap::Load(std::unique_ptr<CPropertyMap>& pMap, CVQDataStream& oStream, unsigned nDepth)
{
    const std::uint64_t nLeast = PropertyRecord::WORD_SIZE + CVQProperty::GetLeastSize(); // length of the name
    for (std::uint32_t nRest = PropertyRecord::GetCount(oStream, nLeast); nRest != 0; --nRest)
    {
        SName oName = LoadName(oStream);
        CVQProperty oValue;
        oValue.LoadVersioned(oStream, nDepth);
        Demand(pMap).Append(std::move(oName), std::move(oValue));
    }
}

bool CPropertyMap::Write(const CPropertyMap* pMap, CFileWriter& oWriter)
{
    if (!oWriter.Write(static_cast<std::int32_t>(pMap != nullptr ? pMap->GetCount() : 0)))
        return false;
    return pMap == nullptr ||
           pMap->VisitWhile([&oWriter](const SName& oName, const CVQProperty& oValue)
                            { return oWriter.Write(std::string_view(oName.m_sText)) && oValue.Write(oWriter); });
}

bool CPropertyMap::Read(std::unique_ptr<CPropertyMap>& pMap, CFileReader& oReader, unsigned nDepth)
{
    std::int32_t nCount = 0;
    oReader.Read(nCount);
    for (std::int32_t i = 0; i < nCount; ++i)
    {
        SName oName;
        CVQProperty oValue;
        if (!oReader.Read(oName.m_sText))
            break;

        const auto nResult = oValue.Read(oReader, nDepth);
        if (nResult == CVQProperty::EResult::TooDeep)
            return false;
        if (nResult == CVQProperty::EResult::Failed)
            break;

        CPropertyMap& oMap = Demand(pMap);
        TEntries& oEntries = oMap.m_oEntries;
        const bool bLast = oEntries.empty() || SLess()(oEntries.rbegin()->first, oName);
        const auto itFound = bLast ? oEntries.end() : oEntries.lower_bound(oName);
        if (itFound != oEntries.end() && !SLess()(oName, itFound->first))
            itFound->second.AssignMoved(oValue);
        else
            oMap.Insert(itFound, std::move(oName), std::move(oValue));
    }
    return true;
}

CPropertyMap::SName::SName(const CVQString& oName)
    : m_sText(PropertyRecord::View(oName)),
      m_pLocalised(oName.HasStringId() ? std::make_unique<CVQString>(oName) : nullptr)
{
}

CPropertyMap::SName::SName(const SName& oOther)
    : m_sText(oOther.m_sText),
      m_pLocalised(oOther.m_pLocalised != nullptr ? std::make_unique<CVQString>(*oOther.m_pLocalised) : nullptr)
{
}

void CPropertyMap::Tell(const TEntries::value_type& oEntry, CVQString& oName, CVQProperty& oValue)
{
    if (oEntry.first.m_pLocalised != nullptr)
        oName = *oEntry.first.m_pLocalised;
    else
        oName = PropertyText::Make(oEntry.first.m_sText);
    oValue = oEntry.second;
}

CPropertyMap::SName CPropertyMap::LoadName(CVQDataStream& oStream)
{
    SName oName;
    const std::int32_t nLength = PropertyRecord::PeekWord(oStream);
    if (nLength == PropertyRecord::LOCALISED)
    {
        CVQString oText;
        ReadStreamString(oStream, oText);
        return SName(oText);
    }

    oStream.Advance(PropertyRecord::WORD_SIZE);
    if (nLength > 0)
    {
        oStream.RequireReadable(static_cast<std::uint32_t>(nLength));
        oName.m_sText.assign(reinterpret_cast<const char*>(oStream.GetIteratorBuffer()),
                             static_cast<std::size_t>(nLength));
        oStream.Advance(static_cast<std::uint32_t>(nLength));
    }
    return oName;
}

const CPropertyMap::TOrder& CPropertyMap::GetOrder() const
{
    if (m_aOrder.size() != m_oEntries.size())
    {
        m_aOrder.clear();
        m_aOrder.reserve(m_oEntries.size());
        for (const auto& oEntry : m_oEntries)
            m_aOrder.push_back(&oEntry);
    }
    return m_aOrder;
}

/// Calls Visit(name, property) for each entry in order, as long as it gives true; tells whether it always did.
template <class TVisit>
bool CPropertyMap::VisitWhile(const TVisit& Visit) const
{
    constexpr std::size_t AHEAD = 6; // entries that are on their way from memory while one is visited

    const TOrder& aOrder = GetOrder();
    for (std::size_t i = 0; i < aOrder.size(); ++i)
    {
        if (i + AHEAD < aOrder.size())
        {
            __builtin_prefetch(&aOrder[i + AHEAD]->first);
            __builtin_prefetch(&aOrder[i + AHEAD]->second);
        }
        if (!Visit(aOrder[i]->first, aOrder[i]->second))
            return false;
    }
    return true;
}

/// Adds an entry where there is none of its name.
///
/// @param itBehind  the entry that it comes before
template <class TName, class... TArguments>
CVQProperty& CPropertyMap::Insert(TEntries::iterator itBehind, TName&& oName, TArguments&&... oArguments)
{
    // Behind all others the order goes on; elsewhere it ends.
    const bool bOrdered = itBehind == m_oEntries.end() && m_aOrder.size() == m_oEntries.size();
    if (bOrdered)
        m_aOrder.push_back(nullptr);
    else
        m_aOrder.clear();

    TEntries::iterator itNew;
    try
    {
        itNew = m_oEntries.emplace_hint(itBehind, std::piecewise_construct,
                                        std::forward_as_tuple(std::forward<TName>(oName)),
                                        std::forward_as_tuple(std::forward<TArguments>(oArguments)...));
    }
    catch (...)
    {
        m_aOrder.clear();
        throw;
    }
    if (bOrdered)
        m_aOrder.back() = &*itNew;
    return itNew->second;
}

/// Takes an entry that comes, if all is well, behind all others. One of the same name is replaced.
void CPropertyMap::Append(SName&& oName, CVQProperty&& oValue)
{
    auto itBehind = m_oEntries.end();
    if (!m_oEntries.empty() && !SLess()(m_oEntries.rbegin()->first, oName))
    {
        itBehind = m_oEntries.lower_bound(oName);
        if (!SLess()(oName, itBehind->first))
        {
            m_aOrder.clear();
            itBehind = m_oEntries.erase(itBehind);
        }
    }
    Insert(itBehind, std::move(oName), std::move(oValue));
}
