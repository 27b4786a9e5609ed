#include <Common/Property/PropertyMap.h>

#include <Common/Property/PropertyRecord.h>

#include <algorithm>

namespace
{
constexpr std::uintptr_t FIRST_POINTER = 0x10000; // anything below is the number of a localised text
constexpr long NO_POSITION = -1;
} // namespace

CPropertyMap::CPropertyMap(const CPropertyMap& oOther)
{
    m_aSlots.reserve(oOther.GetCount());
    for (const auto& [oName, oEntry] : oOther.m_oEntries)
        Insert(m_oEntries.end(), oName, oEntry.m_oValue);
}

std::unique_ptr<CPropertyMap> CPropertyMap::Copy(const std::unique_ptr<CPropertyMap>& pOther)
{
    return pOther != nullptr && pOther->GetCount() != 0 ? std::make_unique<CPropertyMap>(*pOther) : nullptr;
}

CVQProperty* CPropertyMap::Find(const CVQString& oName)
{
    const auto itFound = m_oEntries.find(oName);
    return itFound != m_oEntries.end() ? &itFound->second.m_oValue : nullptr;
}

CVQProperty* CPropertyMap::Find(const char* pName)
{
    if (reinterpret_cast<std::uintptr_t>(pName) < FIRST_POINTER)
        return Find(CVQString(pName));

    const auto itFound = m_oEntries.find(pName);
    return itFound != m_oEntries.end() ? &itFound->second.m_oValue : nullptr;
}

CVQProperty& CPropertyMap::FindOrAdd(const CVQString& oName)
{
    auto itFound = m_oEntries.lower_bound(oName);
    if (itFound == m_oEntries.end() || SLess()(oName, itFound->first))
        itFound = Insert(itFound, oName, CVQProperty());
    return itFound->second.m_oValue;
}

void CPropertyMap::Set(const CVQString& oName, const CVQProperty& oValue)
{
    const auto itFound = m_oEntries.lower_bound(oName);
    if (itFound == m_oEntries.end() || SLess()(oName, itFound->first))
        Insert(itFound, oName, oValue);
    else
        itFound->second.m_oValue = oValue;
}

bool CPropertyMap::Remove(const CVQString& oName)
{
    const auto itFound = m_oEntries.find(oName);
    if (itFound == m_oEntries.end())
        return false;

    const std::uint32_t nSlot = itFound->second.m_nSlot;
    m_aFreeSlots.push_back(nSlot);
    m_aSlots[nSlot] = m_oEntries.end();
    m_oEntries.erase(itFound);
    return true;
}

void CPropertyMap::RemoveAll() noexcept
{
    m_oEntries.clear();
    m_aSlots.clear();
    m_aFreeSlots.clear();
}

bool CPropertyMap::GetFirst(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    const auto itFirst = m_oEntries.begin();
    if (itFirst == m_oEntries.end())
        return false;

    oName = itFirst->first;
    oValue = itFirst->second.m_oValue;
    nPosition = static_cast<long>(itFirst->second.m_nSlot);
    return true;
}

bool CPropertyMap::GetNext(CVQString& oName, CVQProperty& oValue, long& nPosition) const
{
    const bool bSlot = nPosition >= 0 && static_cast<unsigned long>(nPosition) < m_aSlots.size();
    TEntries::const_iterator itNext = bSlot ? m_aSlots[static_cast<std::size_t>(nPosition)] : m_oEntries.end();
    if (itNext != m_oEntries.end())
        ++itNext;
    if (itNext == m_oEntries.end())
    {
        nPosition = NO_POSITION;
        return false;
    }

    oName = itNext->first;
    oValue = itNext->second.m_oValue;
    nPosition = static_cast<long>(itNext->second.m_nSlot);
    return true;
}

bool CPropertyMap::IsDeeperThan(unsigned nLevels) const
{
    return std::any_of(m_oEntries.begin(), m_oEntries.end(),
                       [nLevels](const auto& oEntry) { return oEntry.second.m_oValue.IsDeeperThan(nLevels); });
}

void CPropertyMap::Store(const CPropertyMap* pMap, CVQDataStream& oStream, unsigned nDepth)
{
    PropertyRecord::Put(oStream, static_cast<std::uint32_t>(pMap != nullptr ? pMap->GetCount() : 0));
    if (pMap == nullptr)
        return;

    for (const auto& [oName, oEntry] : pMap->m_oEntries)
    {
        WriteStreamString(oStream, oName);
        oEntry.m_oValue.StoreVersioned(oStream, nDepth);
    }
}

void CPropertyMap::Load(std::unique_ptr<CPropertyMap>& pMap, CVQDataStream& oStream, unsigned nDepth)
{
    const std::uint64_t nLeast = PropertyRecord::WORD_SIZE + CVQProperty::GetLeastSize(); // length of the name
    for (std::uint32_t nRest = PropertyRecord::GetCount(oStream, nLeast); nRest != 0; --nRest)
    {
        CVQString oName;
        ReadStreamString(oStream, oName);
        CVQProperty oValue;
        oValue.LoadVersioned(oStream, nDepth);
        Demand(pMap).Append(std::move(oName), std::move(oValue));
    }
}

bool CPropertyMap::Write(const CPropertyMap* pMap, CFileIO& oFile)
{
    if (!oFile.Write(static_cast<int>(pMap != nullptr ? pMap->GetCount() : 0)))
        return false;
    return pMap == nullptr || std::all_of(pMap->m_oEntries.begin(), pMap->m_oEntries.end(),
                                          [&oFile](const auto& oEntry)
                                          { return oFile.Write(oEntry.first) && oEntry.second.m_oValue.Write(oFile); });
}

bool CPropertyMap::Read(std::unique_ptr<CPropertyMap>& pMap, CFileIO& oFile, unsigned nDepth)
{
    std::int32_t nCount = 0;
    PropertyRecord::Read(oFile, nCount);
    for (std::int32_t i = 0; i < nCount; ++i)
    {
        CVQString oName;
        CVQProperty oValue;
        if (!PropertyRecord::Read(oFile, oName))
            break;

        const auto nResult = oValue.Read(oFile, nDepth);
        if (nResult == CVQProperty::EResult::TooDeep)
            return false;
        if (nResult == CVQProperty::EResult::Failed)
            break;
        Demand(pMap).SetMoved(oName, oValue);
    }
    return true;
}

/// Adds an entry where there is none of its name.
///
/// @param itBehind  the entry that it comes before
template <class TName, class TValue>
CPropertyMap::TEntries::iterator CPropertyMap::Insert(TEntries::iterator itBehind, TName&& oName, TValue&& oValue)
{
    const bool bNewSlot = m_aFreeSlots.empty();
    if (bNewSlot)
        m_aSlots.push_back(m_oEntries.end());
    const auto nSlot = bNewSlot ? static_cast<std::uint32_t>(m_aSlots.size() - 1) : m_aFreeSlots.back();

    TEntries::iterator itNew;
    try
    {
        itNew = m_oEntries.emplace_hint(itBehind, std::piecewise_construct,
                                        std::forward_as_tuple(std::forward<TName>(oName)),
                                        std::forward_as_tuple(std::forward<TValue>(oValue), nSlot));
    }
    catch (...)
    {
        if (bNewSlot)
            m_aSlots.pop_back();
        throw;
    }

    if (!bNewSlot)
        m_aFreeSlots.pop_back();
    m_aSlots[nSlot] = itNew;
    return itNew;
}

/// Takes an entry that comes, if all is well, behind all others. One of the same name is replaced.
void CPropertyMap::Append(CVQString&& oName, CVQProperty&& oValue)
{
    if (m_oEntries.empty() || SLess()(m_oEntries.rbegin()->first, oName))
    {
        Insert(m_oEntries.end(), std::move(oName), std::move(oValue));
        return;
    }

    Remove(oName);
    Insert(m_oEntries.lower_bound(oName), std::move(oName), std::move(oValue));
}
