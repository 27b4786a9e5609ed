#pragma once

// Not for users.

#include <Common/Property/VQProperty.h>
#include <Common/String/VQString.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

/// Properties by name: what structs, managers and the attributes of lists keep theirs in.
///
/// An entry stays where it is in memory until it is removed. Names stand in the order of CVQString::Compare().
class CPropertyMap
{
public:
    CPropertyMap() = default;
    CPropertyMap(const CPropertyMap& oOther);
    CPropertyMap& operator=(const CPropertyMap&) = delete;

    /// A copy of a map that may not be there, as its owners hold theirs; null for one without entries.
    static std::unique_ptr<CPropertyMap> Copy(const std::unique_ptr<CPropertyMap>& pOther);

    std::size_t GetCount() const noexcept { return m_oEntries.size(); }

    /// The property of a name, null when there is none.
    CVQProperty* Find(const CVQString& oName);
    /// The same for a text; a number in place of a pointer means the localised text, as for CVQString.
    CVQProperty* Find(const char* pName);

    /// The property of a name in a map that may not be there.
    ///
    /// @param oMissing  what is returned when there is none; it is then undefined
    template <class TName>
    static CVQProperty& FindOr(const std::unique_ptr<CPropertyMap>& pMap, const TName& oName, CVQProperty& oMissing)
    {
        if (pMap != nullptr)
        {
            if (CVQProperty* pFound = pMap->Find(oName))
                return *pFound;
        }

        if (!oMissing.IsOfType(PROPTYPE_UNDEFINED)) // not written without need: other threads may read it
            oMissing.SetType(PROPTYPE_UNDEFINED);
        return oMissing;
    }

    /// The map of an owner, which begins without one.
    static CPropertyMap& Demand(std::unique_ptr<CPropertyMap>& pMap)
    {
        if (pMap == nullptr)
            pMap = std::make_unique<CPropertyMap>();
        return *pMap;
    }

    /// The property of a name; an undefined one is added when there is none.
    CVQProperty& FindOrAdd(const CVQString& oName);

    /// Adds a copy, or assigns to the property of that name.
    void Set(const CVQString& oName, const CVQProperty& oValue);

    /// The same with a property that is not needed any more.
    void SetMoved(const CVQString& oName, CVQProperty& oValue) { FindOrAdd(oName).AssignMoved(oValue); }

    bool Remove(const CVQString& oName);
    void RemoveAll() noexcept;

    /// @name Going through the entries
    /// A position is the number of the entry's slot.
    /// @{
    bool GetFirst(CVQString& oName, CVQProperty& oValue, long& nPosition) const;
    bool GetNext(CVQString& oName, CVQProperty& oValue, long& nPosition) const;

    /// @}

    /// Calls Visit(name, property) for each entry in order.
    template <class TVisit>
    void ForEach(const TVisit& Visit) const
    {
        for (const auto& [oName, oEntry] : m_oEntries)
            Visit(oName, oEntry.m_oValue);
    }

    bool IsDeeperThan(unsigned nLevels) const;

    /// Writes number and entries of a map that may not be there.
    static void Store(const CPropertyMap* pMap, CVQDataStream& oStream, unsigned nDepth);
    /// Reads a number and so many entries, in addition to those that are there. What was read whole stays when it
    /// throws.
    static void Load(std::unique_ptr<CPropertyMap>& pMap, CVQDataStream& oStream, unsigned nDepth);

    /// Writes number and entries of a map that may not be there.
    ///
    /// @return false when a write failed
    static bool Write(const CPropertyMap* pMap, CFileIO& oFile);
    /// Reads a number and so many entries, in addition to those that are there, until the file ends.
    ///
    /// @return false when something is nested too deeply
    static bool Read(std::unique_ptr<CPropertyMap>& pMap, CFileIO& oFile, unsigned nDepth);

private:
    struct SEntry
    {
        template <class TValue>
        SEntry(TValue&& oValue, std::uint32_t nSlot) : m_oValue(std::forward<TValue>(oValue)), m_nSlot(nSlot)
        {
        }

        CVQProperty m_oValue;
        std::uint32_t m_nSlot;
    };

    /// The order of names: that of their texts, which end at the first zero.
    struct SLess
    {
        using is_transparent = void;

        static const char* Text(const CVQString& oName) noexcept { return ~oName != nullptr ? ~oName : ""; }

        static const char* Text(const char* pName) noexcept { return pName; }

        template <class TFirst, class TSecond>
        bool operator()(const TFirst& oFirst, const TSecond& oSecond) const noexcept
        {
            return std::strcmp(Text(oFirst), Text(oSecond)) < 0;
        }
    };

    using TEntries = std::map<CVQString, SEntry, SLess>;

    template <class TName, class TValue>
    TEntries::iterator Insert(TEntries::iterator itBehind, TName&& oName, TValue&& oValue);
    void Append(CVQString&& oName, CVQProperty&& oValue);

    TEntries m_oEntries;
    std::vector<TEntries::iterator> m_aSlots; // end() for one that is free
    std::vector<std::uint32_t> m_aFreeSlots;
};
