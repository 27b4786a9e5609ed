#pragma once

#include <cstdint>
#include <string>

/// The bytes of a record of the log, as they lie in a message: texts with their length before them, numbers of 4 bytes,
/// little-endian.
std::string MakeLogMail(const std::string& sComputer, const std::string& sApplication, std::uint32_t nProcess,
                        std::uint32_t nClass, const std::string& sTicks, const std::string& sContext,
                        const std::string& sSource, std::uint32_t nLine, const std::string& sMessage);
