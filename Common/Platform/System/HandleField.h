#pragma once

#include <cstdint>
#include <limits>

// What the classes over handles share: handles in 32-bit fields, time-outs and counts of the interface's types.
namespace ProcessControl
{
inline std::uint32_t ToField(const void* hObject)
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(hObject));
}

inline void* FromField(std::uint32_t nHandle)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(nHandle));
}

// Longest wait that has a limit is 0xFFFFFFFE milliseconds; everything else has none.
template <class T>
constexpr unsigned ToTimeOut(T nMilliseconds)
{
    constexpr unsigned NO_LIMIT = std::numeric_limits<std::uint32_t>::max();

    if (nMilliseconds < T{0} || static_cast<std::uint64_t>(nMilliseconds) >= NO_LIMIT)
        return NO_LIMIT;
    return static_cast<unsigned>(nMilliseconds);
}

// A count of the interface; what a 32-bit count cannot hold becomes -1, which no semaphore takes.
template <class T>
constexpr int ToCount(T nCount)
{
    return static_cast<T>(static_cast<std::int32_t>(nCount)) == nCount ? static_cast<int>(nCount) : -1;
}

// Tells the developer that the system had no object left. The one place that knows where such reports go.
void ReportCreationFailure(const char* pFile, int nLine, const char* pMessage);
} // namespace ProcessControl
