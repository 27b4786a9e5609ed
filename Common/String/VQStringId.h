#pragma once

#include <Common/Export.h>

#include <cstdint>

/// The number of a localised text. Assigning one to a CVQString loads that text.
///
///     CVQString oTitle = CVQStringId(IDS_TITLE);
///
/// The library loads no texts itself: the game installs CVQString::s_pfnLoadString.
class COMMON_API CVQStringId
{
public:
    /// @param nId  the number of the text; 32 bits are kept
    CVQStringId(long nId) noexcept;
    CVQStringId(const CVQStringId& oOther) noexcept;
    virtual ~CVQStringId();

    /// Names another text; 32 bits are kept.
    CVQStringId& operator=(long nId) noexcept;
    CVQStringId& operator=(const CVQStringId& oOther) noexcept;

    /// The number of the text.
    long GetId() const noexcept { return m_nId; }

private:
    std::int32_t m_nId;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQStringId) == 8, "the layout that the 32-bit callers know");
