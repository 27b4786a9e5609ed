#pragma once

/// @file
/// The attribute bits of the FILE_ functions beside those of the system.

#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/System/SystemFile.h>

#include <cstdint>

namespace System
{
/// One attribute with both its values.
struct sAttributePair
{
    unsigned nOurs;
    std::uint32_t nSystem;
};

/// All attributes; bits that are not here are dropped on the way.
constexpr sAttributePair ATTRIBUTE_PAIRS[] = {
    {FILE_ATTR_ARCHIVE, ATTRIBUTE_ARCHIVE},     {FILE_ATTR_COMPRESSED, ATTRIBUTE_COMPRESSED},
    {FILE_ATTR_DIRECTORY, ATTRIBUTE_DIRECTORY}, {FILE_ATTR_HIDDEN, ATTRIBUTE_HIDDEN},
    {FILE_ATTR_NORMAL, ATTRIBUTE_NORMAL},       {FILE_ATTR_READONLY, ATTRIBUTE_READONLY},
    {FILE_ATTR_SYSTEM, ATTRIBUTE_SYSTEM},       {FILE_ATTR_TEMPORARY, ATTRIBUTE_TEMPORARY},
};

/// Our bits for those of the system; NO_ATTRIBUTES passes as it is.
constexpr unsigned ToOurAttributes(std::uint32_t nSystem) noexcept
{
    if (nSystem == NO_ATTRIBUTES)
        return FILE_ATTR_MISSING;

    unsigned nOurs = 0;
    for (const sAttributePair& oPair : ATTRIBUTE_PAIRS)
        nOurs |= (nSystem & oPair.nSystem) != 0 ? oPair.nOurs : 0;
    return nOurs;
}

/// The system's bits for ours; FILE_ATTR_MISSING passes as it is.
constexpr std::uint32_t ToSystemAttributes(unsigned nOurs) noexcept
{
    if (nOurs == FILE_ATTR_MISSING)
        return NO_ATTRIBUTES;

    std::uint32_t nSystem = 0;
    for (const sAttributePair& oPair : ATTRIBUTE_PAIRS)
        nSystem |= (nOurs & oPair.nOurs) != 0 ? oPair.nSystem : 0;
    return nSystem;
}
} // namespace System
