#pragma once

#include <Common/Profile/VQProfileRawSample.h>

#include <span>
#include <string>

/// Turns the records of a session into the JSON form that trace viewers read: an object whose "traceEvents" holds one
/// complete event a call, with its begin and length in microseconds from the first record on, in the order of the
/// begins. A region that was not ended has an event of its begin alone; an end without a begin has none.
///
/// @param dCyclesPerSecond  rate of the cycle counter
std::string MakeTrace(std::span<const sVQProfileRawSample> oRecords, double dCyclesPerSecond);
