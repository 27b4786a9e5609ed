#pragma once

// Not for users.

#include <Common/Property/VQProperty.h>
#include <Common/String/VQString.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
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

    /// The map of an owner, which begins without one.
    static CPropertyMap& Demand(std::unique_ptr<CPropertyMap>& pMap);

    /// A property that stands for all that are missing. It is never destroyed, because destructors of static objects
    /// may ask for it, and it is read without being changed.
    static CVQProperty& NewMissing();

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

    /// The property of a name; an undefined one is added when there is none.
    CVQProperty& FindOrAdd(const CVQString& oName);

    /// Adds a copy, or assigns to the property of that name.
    void Set(const CVQString& oName, const CVQProperty& oValue) { FindOrAdd(oName) = oValue; }

    /// The same with a property that is not needed any more.
    void SetMoved(const CVQString& oName, CVQProperty& oValue) { FindOrAdd(oName).AssignMoved(oValue); }

    void Remove(const CVQString& oName);

    /// @name Going through the entries
    /// A position is the number of entries before it.
    /// @{
    bool GetFirst(CVQString& oName, CVQProperty& oValue, long& nPosition) const;
    bool GetNext(CVQString& oName, CVQProperty& oValue, long& nPosition) const;

    /// @}

    /// Calls Visit(name as bytes, property) for each entry in order.
    template <class TVisit>
    void ForEach(const TVisit& Visit) const
    {
        for (const TEntries::value_type* pEntry : GetOrder())
            Visit(pEntry->first.m_sText, pEntry->second);
    }

    bool IsDeeperThan(unsigned nLevels) const;

    /// Writes number and entries of a map that may not be there.
    static void Store(const CPropertyMap* pMap, CStreamWriter& oWriter, unsigned nDepth);
    /// Reads a number and so many entries, in addition to those that are there. What was read whole stays when it
    /// throws.
    static void Load(std::unique_ptr<CPropertyMap>& pMap, CVQDataStream& oStream, unsigned nDepth);

    /// Writes number and entries of a map that may not be there.
    ///
    /// @return false when a write failed
    static bool Write(const CPropertyMap* pMap, CFileWriter& oWriter);
    /// Reads a number and so many entries, in addition to those that are there, until the file ends.
    ///
    /// @return false when something is nested too deeply
    static bool Read(std::unique_ptr<CPropertyMap>& pMap, CFileReader& oReader, unsigned nDepth);

private:
    /// A name. Short ones stand in the entry itself, where looking for them is fastest.
    struct SName
    {
        SName() = default;
        explicit SName(const CVQString& oName);
        SName(const SName& oOther);
        SName(SName&&) noexcept = default;
        SName& operator=(const SName&) = delete;

        std::string m_sText;
        std::unique_ptr<CVQString> m_pLocalised; // the string that it was, when that has a string id
    };

    /// The order of names: that of their texts, which end at the first zero.
    struct SLess
    {
        using is_transparent = void;

        static const char* Text(const SName& oName) noexcept { return oName.m_sText.c_str(); }

        static const char* Text(const char* pName) noexcept { return pName; }

        template <class TFirst, class TSecond>
        bool operator()(const TFirst& oFirst, const TSecond& oSecond) const noexcept
        {
            return std::strcmp(Text(oFirst), Text(oSecond)) < 0;
        }
    };

    using TEntries = std::map<SName, CVQProperty, SLess>;

    static const char* Text(const CVQString& oName) noexcept { return ~oName != nullptr ? ~oName : ""; }

    using TOrder = std::vector<const TEntries::value_type*>;

    static void Tell(const TEntries::value_type& oEntry, CVQString& oName, CVQProperty& oValue);
    static SName LoadName(CVQDataStream& oStream);
    const TOrder& GetOrder() const;
    template <class TVisit>
    bool VisitWhile(const TVisit& Visit) const;
    template <class TName, class... TArguments>
    CVQProperty& Insert(TEntries::iterator itBehind, TName&& oName, TArguments&&... oArguments);
    void Append(SName&& oName, CVQProperty&& oValue);

    TEntries m_oEntries;
    // All entries in order, or none when that has to be found out anew. The tree is slow to go through: each step waits
    // for memory.
    mutable TOrder m_aOrder;
};
