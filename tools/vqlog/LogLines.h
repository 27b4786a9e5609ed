#pragma once

#include "LogRecord.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// Takes the bytes of a log file as they come and tells its records apart.
///
/// A line of the file is
///
///     computer | application | process | class | ticks | context | source | line | message
///
/// and ends in "\r\n". Texts may hold " | " and line ends themselves. What is told apart all the same, and how:
///
/// - A line begins a record when three numbers follow one another in it, as its third, fourth and fifth field or later
///   ones; any other line goes on with the record before. So a message, a source and a context may hold line ends.
/// - The computer ends at the first separator; the application reaches from there to the three numbers.
/// - Behind them the first number from the third field on is the line. The field before it is the source, everything
///   before that the context, everything behind it the message. So an application, a context and a message may hold
///   separators.
class CLogLines
{
public:
    /// Longest record in bytes; what is longer is no record.
    static constexpr std::size_t MAX_RECORD_SIZE = 1 << 20;

    explicit CLogLines(std::function<void(const sLogRecord&)> fnTake) : m_fnTake(std::move(fnTake)) {}

    /// Adds bytes of the file; records that the beginning of the next one has ended are handed over.
    void Add(std::string_view sBytes);

    /// Hands the record of the last whole line over: nothing has come for a while, so nothing goes on behind it.
    void Pause();

    /// Hands the last record over as it is: the file ends here. What comes then is another file.
    void End();

    /// Lines, or runs of them, that belong to no record.
    unsigned long GetMalformed() const { return m_nMalformed; }

private:
    void AddLine(std::string_view sLine);
    void FinishRecord();

    const std::function<void(const sLogRecord&)> m_fnTake;
    std::string m_sLine;   ///< the beginning of a line that has not ended yet
    std::string m_sRecord; ///< the lines of the record that has not ended yet, with the line ends between them
    bool m_bInRecord = false;
    bool m_bInMalformed = false;
    unsigned long m_nMalformed = 0;
};
