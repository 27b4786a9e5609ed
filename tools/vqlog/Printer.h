#pragma once

#include "LogRecord.h"

#include <chrono>
#include <optional>
#include <string>

/// When a record came; none for those that stood in a file already.
using ArrivalTime = std::optional<std::chrono::system_clock::time_point>;

/// A record as a line for people, without its line end:
///
///     17:02:11.042 ada Lander[4711] Warning: game/World:42 (loading): level 3 has no ship
///
/// A record without a time of arrival shows its ticks in seconds. Control characters, and bytes that are not UTF-8, are
/// shown as escapes ("\n", "\x1B"): a record is one line, and it does not command the terminal.
///
/// @param bColours  colour the title of the class
std::string FormatText(const sLogRecord& oRecord, const ArrivalTime& oTime, bool bColours);

/// A record as a JSON object on one line. Bytes that are not UTF-8 are taken as characters of Latin-1; control
/// characters are escapes here, too.
std::string FormatJson(const sLogRecord& oRecord, const ArrivalTime& oTime);
