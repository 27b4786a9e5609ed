#pragma once

// Not for users.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

class CVQDebugStatisticsControl;

/// Controls of which one is current, and the bytes they print: what the console and every control have in common.
///
/// The index of the current one is -1 for none. The game may set the console's to anything, so it is never trusted.
namespace ControlList
{
using Controls = std::vector<CVQDebugStatisticsControl*>;

constexpr std::int32_t NONE = -1;

inline std::int32_t Count(const Controls& oControls)
{
    return static_cast<std::int32_t>(oControls.size());
}

inline void Add(Controls& oControls, std::int32_t& nCurrent, CVQDebugStatisticsControl* pControl)
{
    oControls.push_back(pControl);
    if (nCurrent == NONE)
        nCurrent = Count(oControls) - 1;
}

/// Only the removal of the current control moves the index, by one, even when controls before it move up.
inline void Remove(Controls& oControls, std::int32_t& nCurrent, const CVQDebugStatisticsControl* pControl)
{
    const auto pFound = std::find(oControls.begin(), oControls.end(), pControl);
    if (pFound == oControls.end())
        return;

    if (pFound - oControls.begin() == nCurrent)
        --nCurrent;
    oControls.erase(pFound);
}

/// The current control, null for an index outside of the list.
inline CVQDebugStatisticsControl* Current(const Controls& oControls, std::int32_t nCurrent)
{
    return nCurrent >= 0 && nCurrent < Count(oControls) ? oControls[static_cast<std::size_t>(nCurrent)] : nullptr;
}

inline std::int32_t Next(const Controls& oControls, std::int32_t nCurrent)
{
    return nCurrent >= Count(oControls) - 1 ? 0 : nCurrent + 1;
}

/// -1 in an empty list.
inline std::int32_t Previous(const Controls& oControls, std::int32_t nCurrent)
{
    return nCurrent <= 0 ? Count(oControls) - 1 : nCurrent - 1;
}
} // namespace ControlList
