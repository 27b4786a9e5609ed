#pragma once

/// @file
/// The attribute bits of the FILE_ functions beside those of the system.

#include <Common/Platform/System/SystemFile.h>

#include <cstdint>

namespace System
{
/// One attribute with both its values: the FILE_ATTR_ bit of the public functions, and the bit of the system.
struct sAttributePair
{
    unsigned nOurs;
    std::uint32_t nSystem;
};

/// All attributes; bits that are not here are dropped on the way.
constexpr sAttributePair ATTRIBUTE_PAIRS[] = {
    {0x01, ATTRIBUTE_ARCHIVE}, {0x02, ATTRIBUTE_COMPRESSED}, {0x04, ATTRIBUTE_DIRECTORY}, {0x08, ATTRIBUTE_HIDDEN},
    {0x10, ATTRIBUTE_NORMAL},  {0x20, ATTRIBUTE_READONLY},   {0x40, ATTRIBUTE_SYSTEM},    {0x80, ATTRIBUTE_TEMPORARY},
};

/// Our bits for those of the system; NO_ATTRIBUTES passes as it is.
constexpr unsigned ToOurAttributes(std::uint32_t nSystem) noexcept
{
    if (nSystem == NO_ATTRIBUTES)
        return NO_ATTRIBUTES;

    unsigned nOurs = 0;
    for (const sAttributePair& oPair : ATTRIBUTE_PAIRS)
        nOurs |= (nSystem & oPair.nSystem) != 0 ? oPair.nOurs : 0;
    return nOurs;
}

/// The system's bits for ours; 0xFFFFFFFF passes as it is.
constexpr std::uint32_t ToSystemAttributes(unsigned nOurs) noexcept
{
    if (nOurs == NO_ATTRIBUTES)
        return NO_ATTRIBUTES;

    std::uint32_t nSystem = 0;
    for (const sAttributePair& oPair : ATTRIBUTE_PAIRS)
        nSystem |= (nOurs & oPair.nOurs) != 0 ? oPair.nSystem : 0;
    return nSystem;
}
} // namespace System
