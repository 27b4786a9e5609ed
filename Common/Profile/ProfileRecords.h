#pragma once

// What the halves of the profiler share about its records.
//
// Not for users.

#include <Common/Profile/VQProfileRawSample.h>

#include <span>
#include <stack>
#include <string_view>

namespace ProfileRecords
{
// Longest name that is told from others, in bytes.
inline constexpr std::size_t MAX_NAME_LENGTH = 255;

// The records of the last session.
std::span<sVQProfileRawSample> GetAll();

// A name as it is compared: cut after MAX_NAME_LENGTH bytes. Null counts as empty.
inline std::string_view CutName(const char* pName)
{
    return pName != nullptr ? std::string_view(pName).substr(0, MAX_NAME_LENGTH) : std::string_view();
}

// Collects records into calls: each end goes with the last begin before it that has none yet. An end without a begin
// belongs to no call.
class CPairing
{
public:
    // Takes the next record; when it ends a call, fnCall gets both its records.
    template <class TCall>
    void Add(sVQProfileRawSample& oRecord, const TCall& fnCall)
    {
        if (oRecord.m_pName != nullptr)
        {
            m_oOpen.push(oRecord);
            return;
        }
        if (m_oOpen.empty())
            return;

        fnCall(m_oOpen.top(), oRecord);
        m_oOpen.pop();
    }

private:
    // On a deque, whose blocks of 32 records never move.
    std::stack<sVQProfileRawSample> m_oOpen;
};
} // namespace ProfileRecords
