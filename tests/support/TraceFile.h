#pragma once

#include <string>
#include <vector>

/// An event of a trace.
struct TraceEvent
{
    std::string sName;
    std::string sPhase;      ///< "X" for a whole call, "B" for a begin
    double dStart = 0.0;     ///< microseconds
    double dDuration = -1.0; ///< microseconds; -1 when there is none
    int nProcess = 0;
    int nThread = 0;

    bool operator==(const TraceEvent&) const = default;
};

/// Reads a text in the trace-event form with a JSON library of others.
///
/// @throws std::exception  when it is not JSON, or lacks what every event has
std::vector<TraceEvent> ReadTrace(const std::string& sText);
