#include "LogLines.h"

#include <charconv>
#include <vector>

namespace
{
constexpr std::string_view SEPARATOR = " | ";
constexpr std::string_view LINE_END = "\r\n";

/// Numbers as "%d" writes them.
bool ReadNumber(std::string_view sText, std::uint32_t& nNumber)
{
    std::int32_t nSigned = 0;
    const char* pEnd = sText.data() + sText.size();
    const auto [pRead, nError] = std::from_chars(sText.data(), pEnd, nSigned);
    nNumber = static_cast<std::uint32_t>(nSigned);
    return nError == std::errc() && pRead == pEnd;
}

/// Goes through the fields of a text that a separator follows.
class CFields
{
public:
    explicit CFields(std::string_view sText) : m_sText(sText) {}

    bool Next()
    {
        const std::size_t nEnd = m_sText.find(SEPARATOR, m_nNext);
        if (nEnd == std::string_view::npos)
            return false;
        m_nStart = m_nNext;
        m_nNext = nEnd + SEPARATOR.size();
        ++m_nCount;
        return true;
    }

    std::string_view GetField() const { return m_sText.substr(m_nStart, m_nNext - SEPARATOR.size() - m_nStart); }

    std::string_view GetRest() const { return m_sText.substr(m_nNext); }

    /// Where the current field begins.
    std::size_t GetStart() const { return m_nStart; }

    /// Fields so far, the current one included.
    std::size_t GetCount() const { return m_nCount; }

private:
    std::string_view m_sText;
    std::size_t m_nStart = 0;
    std::size_t m_nNext = 0;
    std::size_t m_nCount = 0;
};

/// The part from a position to another one that a separator precedes.
std::string_view Between(std::string_view sText, std::size_t nStart, std::size_t nNext)
{
    return nNext <= nStart ? std::string_view() : sText.substr(nStart, nNext - SEPARATOR.size() - nStart);
}

/// Takes computer, application and the three numbers off the beginning of a line.
bool TakeHead(std::string_view& sText, sLogRecord& oRecord)
{
    constexpr std::size_t FIELDS_BEFORE = 2;

    CFields oFields(sText);
    if (!oFields.Next())
        return false;
    const std::string_view sComputer = oFields.GetField();
    const std::size_t nApplication = sText.size() - oFields.GetRest().size();

    std::uint32_t aNumbers[3] = {};
    std::size_t nNumbers = 0;
    std::size_t aStarts[3] = {};
    std::string_view sTicks;
    while (nNumbers < std::size(aNumbers) && oFields.Next())
    {
        std::uint32_t nNumber = 0;
        if (oFields.GetCount() <= FIELDS_BEFORE || !ReadNumber(oFields.GetField(), nNumber))
        {
            nNumbers = 0;
            continue;
        }
        aNumbers[nNumbers] = nNumber;
        aStarts[nNumbers++] = oFields.GetStart();
        sTicks = oFields.GetField();
    }
    if (nNumbers < std::size(aNumbers))
        return false;

    oRecord.m_sComputer = sComputer;
    oRecord.m_sApplication = Between(sText, nApplication, aStarts[0]);
    oRecord.m_nProcess = aNumbers[0];
    oRecord.m_nClass = aNumbers[1];
    oRecord.m_sTicks = sTicks;
    sText = oFields.GetRest();
    return true;
}

/// Takes what stands behind the head apart.
bool TakeRest(std::string_view sText, sLogRecord& oRecord)
{
    constexpr std::size_t FIELDS_BEFORE = 2;

    CFields oFields(sText);
    std::size_t nSource = 0;
    while (oFields.Next())
    {
        std::uint32_t nLine = 0;
        if (oFields.GetCount() > FIELDS_BEFORE && ReadNumber(oFields.GetField(), nLine))
        {
            oRecord.m_sContext = Between(sText, 0, nSource);
            oRecord.m_sSource = Between(sText, nSource, oFields.GetStart());
            oRecord.m_nLine = nLine;
            oRecord.m_sMessage = oFields.GetRest();
            return true;
        }
        nSource = oFields.GetStart();
    }
    return false;
}

bool IsHead(std::string_view sLine)
{
    sLogRecord oRecord;
    return TakeHead(sLine, oRecord);
}
} // namespace

void CLogLines::Add(std::string_view sBytes)
{
    // The line end itself may be divided between two calls.
    const std::size_t nKnown = m_sLine.empty() ? 0 : m_sLine.size() - 1;
    m_sLine += sBytes;

    std::size_t nStart = 0;
    std::size_t nEnd = m_sLine.find(LINE_END, nKnown);
    for (; nEnd != std::string::npos; nEnd = m_sLine.find(LINE_END, nStart))
    {
        AddLine(std::string_view(m_sLine).substr(nStart, nEnd - nStart));
        nStart = nEnd + LINE_END.size();
    }
    m_sLine.erase(0, nStart);

    // A line without an end must not take all memory: what is too long is cut, and then no line of a record.
    if (m_sLine.size() > MAX_RECORD_SIZE + 1)
        m_sLine.erase(MAX_RECORD_SIZE, m_sLine.size() - 1 - MAX_RECORD_SIZE);
}

void CLogLines::AddLine(std::string_view sLine)
{
    const bool bTooLong = sLine.size() >= MAX_RECORD_SIZE;
    if (!bTooLong && IsHead(sLine))
    {
        FinishRecord();
        m_sRecord = sLine;
        m_bInRecord = true;
        m_bInMalformed = false;
        return;
    }

    if (!bTooLong && m_bInRecord && m_sRecord.size() + LINE_END.size() + sLine.size() <= MAX_RECORD_SIZE)
    {
        m_sRecord.append(LINE_END).append(sLine);
        return;
    }

    FinishRecord();
    m_nMalformed += m_bInMalformed ? 0 : 1;
    m_bInMalformed = true;
}

void CLogLines::FinishRecord()
{
    if (!m_bInRecord)
        return;
    m_bInRecord = false;

    sLogRecord oRecord;
    std::string_view sRest = m_sRecord;
    if (TakeHead(sRest, oRecord) && TakeRest(sRest, oRecord))
        m_fnTake(oRecord);
    else
        ++m_nMalformed;
    m_sRecord.clear();
}

void CLogLines::Pause()
{
    FinishRecord();
}

void CLogLines::End()
{
    if (!m_sLine.empty())
        AddLine(m_sLine);
    m_sLine.clear();
    FinishRecord();
    m_bInMalformed = false;
}
