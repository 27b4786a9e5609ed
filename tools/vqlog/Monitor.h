#pragma once

#include "LogRecord.h"
#include "Printer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What of the records is shown, and how.
struct sView
{
    std::uint32_t m_nLeastClass = 0;
    std::vector<std::string> m_aApplications; ///< in any case; none: all
    std::string m_sText;                      ///< a part of the message; empty: all
    std::optional<unsigned long> m_nMost;     ///< how many records are shown
    bool m_bJson = false;
};

/// Shows the records of all programs as they come, until it is interrupted or has shown enough.
///
/// @param sSlot       the last part of the mail slot's name
/// @param sInterface  the network interface on which other computers are heard; empty: none
/// @throws CFailure   when it cannot listen, or standard output cannot be written
void Listen(const std::string& sSlot, const std::string& sInterface, const sView& oView);

/// Shows the records of a log file, and with bFollow those that are added to it, until it is interrupted or has shown
/// enough. A file that is followed may be missing, or be replaced by another one.
///
/// @throws CFailure  when the file cannot be read, or standard output cannot be written
void ShowFile(const std::string& sName, bool bFollow, const sView& oView);
