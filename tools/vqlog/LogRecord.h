#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// One report of a program, as it comes by mail or stands in a log file.
struct sLogRecord
{
    std::string m_sComputer;
    std::string m_sApplication;
    std::uint32_t m_nProcess = 0;
    std::uint32_t m_nClass = 0;
    std::string m_sTicks; ///< milliseconds since the computer's start, as text
    std::string m_sContext;
    std::string m_sSource;
    std::uint32_t m_nLine = 0;
    std::string m_sMessage;

    bool operator==(const sLogRecord&) const = default;
};

/// Takes the record of one mail apart: nine items, texts as a length of 4 bytes and their bytes, numbers as 4 bytes.
///
/// @return  false when the mail is no record: a length below 0 or above the rest, an item missing, bytes left over.
///          The record is unspecified then
bool ReadLogRecord(std::string_view sMail, sLogRecord& oRecord);

/// The title of a class, as a message box shows it.
const char* GetClassTitle(std::uint32_t nClass);

/// Finds a class by its number, its title or the first word of that, in any case; false when there is none.
bool FindClass(std::string_view sName, std::uint32_t& nClass);
