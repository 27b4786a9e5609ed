#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <concepts>

/// The record of a class at run time: its name and the record of the class that it derives from.
///
///     static const CVQClassType SHIP("Ship");
///     static const CVQClassType LANDER("Lander", SHIP);
///
///     LANDER.IsDerivedFrom(SHIP);        // true
///     LANDER.GetFullName();              // "Ship/Lander/"
///
/// There is one object a class, which lives as long as the program: two records are the same type when they are the
/// same object, not when their names are equal. A record does not own its parent, which must outlive it.
///
/// Where a text could be taken from a record in two ways (`oText = oType`), say which one is meant:
/// `oText = oType.GetName()`.
///
/// Any thread may read a record.
class COMMON_API CVQClassType
{
public:
    /// The record of a class that derives from none.
    explicit CVQClassType(const char* pName);
    /// The record of a class that derives from another.
    CVQClassType(const char* pName, const CVQClassType& oParent);
    CVQClassType(const CVQClassType& oOther);
    virtual ~CVQClassType();

    CVQClassType& operator=(const CVQClassType& oOther);

    /// The name of the class, without those it derives from; null when no name was ever given.
    const char* GetName() const noexcept { return ~m_oName; }

    /// The same as GetName().
    operator const char*() const noexcept { return ~m_oName; }

    /// The name.
    operator const CVQString&() const noexcept { return m_oName; }

    /// A copy of the name. (A template, so that the reference is taken where both would do.)
    template <std::same_as<CVQString> TString>
    operator TString() const
    {
        return m_oName;
    }

    /// Whether the class derives from none.
    bool IsRoot() const noexcept { return m_pParent == nullptr; }

    /// The record of the class that this one derives from. There is none for a root: ask IsRoot() first.
    const CVQClassType& GetParentType() const;

    /// Whether the class is another one or derives from it, directly or not.
    bool IsDerivedFrom(const CVQClassType& oOther) const noexcept;

    /// The names from the root down to this class, each followed by a slash: "Thing/Ship/Lander/".
    CVQString GetFullName() const;

private:
    const CVQClassType* m_pParent;
    CVQString m_oName;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQClassType) == 32, "the layout that the 32-bit callers know");
