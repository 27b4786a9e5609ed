#include "LogRecord.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

static_assert(std::endian::native == std::endian::little);

namespace
{
constexpr std::array TITLES = {"Game Message", "Dump",  "Info",           "Message",           "Note",
                               "Warning",      "Error", "Critical Error", "Catastrophic Error"};

/// Walks through the bytes of a mail; it never goes behind their end.
class CMailReader
{
public:
    explicit CMailReader(std::string_view sRest) : m_sRest(sRest) {}

    bool Read(std::uint32_t& nNumber)
    {
        if (m_sRest.size() < sizeof nNumber)
            return false;
        std::memcpy(&nNumber, m_sRest.data(), sizeof nNumber);
        m_sRest.remove_prefix(sizeof nNumber);
        return true;
    }

    // A length below 0 is a large one without its sign.
    bool Read(std::string& sText)
    {
        std::uint32_t nLength = 0;
        if (!Read(nLength) || nLength > m_sRest.size())
            return false;
        sText = m_sRest.substr(0, nLength);
        m_sRest.remove_prefix(nLength);
        return true;
    }

    bool IsAtEnd() const { return m_sRest.empty(); }

private:
    std::string_view m_sRest;
};

char ToLower(char cLetter)
{
    return cLetter >= 'A' && cLetter <= 'Z' ? static_cast<char>(cLetter - 'A' + 'a') : cLetter;
}

bool IsEqual(std::string_view sFirst, std::string_view sSecond)
{
    return std::equal(sFirst.begin(), sFirst.end(), sSecond.begin(), sSecond.end(),
                      [](char cFirst, char cSecond) { return ToLower(cFirst) == ToLower(cSecond); });
}
} // namespace

bool ReadLogRecord(std::string_view sMail, sLogRecord& oRecord)
{
    CMailReader oReader(sMail);
    return oReader.Read(oRecord.m_sComputer) && oReader.Read(oRecord.m_sApplication) &&
           oReader.Read(oRecord.m_nProcess) && oReader.Read(oRecord.m_nClass) && oReader.Read(oRecord.m_sTicks) &&
           oReader.Read(oRecord.m_sContext) && oReader.Read(oRecord.m_sSource) && oReader.Read(oRecord.m_nLine) &&
           oReader.Read(oRecord.m_sMessage) && oReader.IsAtEnd();
}

const char* GetClassTitle(std::uint32_t nClass)
{
    return nClass < TITLES.size() ? TITLES[nClass] : "Unkown class"; // spelt as the library spells it
}

bool FindClass(std::string_view sName, std::uint32_t& nClass)
{
    const char* pEnd = sName.data() + sName.size();
    if (const auto [pRead, nError] = std::from_chars(sName.data(), pEnd, nClass);
        nError == std::errc() && pRead == pEnd)
        return true;

    for (std::size_t i = 0; i < TITLES.size(); ++i)
    {
        const std::string_view sTitle = TITLES[i];
        if (IsEqual(sName, sTitle) || IsEqual(sName, sTitle.substr(0, sTitle.find(' '))))
        {
            nClass = static_cast<std::uint32_t>(i);
            return true;
        }
    }
    return false;
}
