#include "Printer.h"

#include <Common/Debug/ErrorClass.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace
{
constexpr unsigned char FIRST_PRINTABLE = 0x20;
constexpr unsigned char DELETE_CHARACTER = 0x7F;
constexpr std::uint32_t FIRST_BEYOND_CONTROLS = 0xA0; // 0x80 to 0x9F command terminals, too

std::string Format(const char* pFormat, unsigned nValue)
{
    char aText[16];
    std::snprintf(aText, sizeof aText, pFormat, nValue);
    return aText;
}

/// Bytes of the UTF-8 character that a text begins with; 0 when it begins with none. Shortest forms count, no
/// surrogates.
std::size_t ReadCharacter(std::string_view sText, std::uint32_t& nCharacter)
{
    const auto ByteAt = [sText](std::size_t i) { return static_cast<unsigned char>(sText[i]); };
    const unsigned char nFirst = ByteAt(0);
    const std::size_t nSize = nFirst < 0x80 ? 1 : nFirst < 0xC2 ? 0 : nFirst < 0xE0 ? 2 : nFirst < 0xF0 ? 3 : 4;
    if (nSize == 0 || nSize > sText.size() || nFirst > 0xF4)
        return 0;

    constexpr std::uint32_t FIRST_BITS[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    nCharacter = nFirst & FIRST_BITS[nSize];
    for (std::size_t i = 1; i < nSize; ++i)
    {
        if ((ByteAt(i) & 0xC0) != 0x80)
            return 0;
        nCharacter = nCharacter << 6 | (ByteAt(i) & 0x3F);
    }

    constexpr std::uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool bSurrogate = nCharacter >= 0xD800 && nCharacter < 0xE000;
    return nCharacter >= SMALLEST[nSize] && nCharacter <= 0x10FFFF && !bSurrogate ? nSize : 0;
}

/// Calls fnCharacter(bytes, character) for each character and fnByte(byte) for each byte that is part of none.
template <typename TCharacter, typename TByte>
void ForEachCharacter(std::string_view sText, TCharacter fnCharacter, TByte fnByte)
{
    while (!sText.empty())
    {
        std::uint32_t nCharacter = 0;
        const std::size_t nSize = ReadCharacter(sText, nCharacter);
        if (nSize != 0)
            fnCharacter(sText.substr(0, nSize), nCharacter);
        else
            fnByte(static_cast<unsigned char>(sText.front()));
        sText.remove_prefix(nSize != 0 ? nSize : 1);
    }
}

/// The letter of the escape that both forms share; 0 when there is none.
char GetEscape(std::uint32_t nCharacter)
{
    switch (nCharacter)
    {
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return '\0';
    }
}

bool IsControl(std::uint32_t nCharacter)
{
    return nCharacter < FIRST_PRINTABLE || (nCharacter >= DELETE_CHARACTER && nCharacter < FIRST_BEYOND_CONTROLS);
}

std::string Printable(std::string_view sText)
{
    std::string sResult;
    const auto AddByte = [&](unsigned char nByte) { sResult += Format("\\x%02X", nByte); };
    ForEachCharacter(
        sText,
        [&](std::string_view sBytes, std::uint32_t nCharacter)
        {
            if (!IsControl(nCharacter))
                sResult += sBytes;
            else if (const char cEscape = GetEscape(nCharacter); cEscape != '\0')
                (sResult += '\\') += cEscape;
            else
                for (const char cByte : sBytes)
                    AddByte(static_cast<unsigned char>(cByte));
        },
        AddByte);
    return sResult;
}

std::string Quoted(std::string_view sText)
{
    std::string sResult = "\"";
    ForEachCharacter(
        sText,
        [&](std::string_view sBytes, std::uint32_t nCharacter)
        {
            if (nCharacter == '"' || nCharacter == '\\')
                (sResult += '\\') += sBytes;
            else if (const char cEscape = GetEscape(nCharacter); cEscape != '\0')
                (sResult += '\\') += cEscape;
            else if (IsControl(nCharacter))
                sResult += Format("\\u%04X", nCharacter);
            else
                sResult += sBytes;
        },
        [&](unsigned char nByte) { sResult += Format("\\u%04X", nByte); });
    return sResult + '"';
}

std::string FormatTime(const char* pFormat, std::chrono::system_clock::time_point oTime, bool bLocal)
{
    const auto nMilliseconds = std::chrono::floor<std::chrono::milliseconds>(oTime.time_since_epoch()).count();
    const auto nSeconds = static_cast<std::time_t>(nMilliseconds / 1000);
    const std::tm* pTime = bLocal ? std::localtime(&nSeconds) : std::gmtime(&nSeconds);
    if (pTime == nullptr)
        return std::string();

    char aText[64];
    std::strftime(aText, sizeof aText, pFormat, pTime);
    return aText + Format(".%03u", static_cast<unsigned>(nMilliseconds % 1000));
}

/// Ticks as seconds with three places; as they are when they are no number.
std::string FormatTicks(const std::string& sTicks)
{
    std::int32_t nTicks = 0;
    const char* pEnd = sTicks.data() + sTicks.size();
    const auto [pRead, nError] = std::from_chars(sTicks.data(), pEnd, nTicks);
    if (nError != std::errc() || pRead != pEnd)
        return Printable(sTicks);

    const auto nMilliseconds = static_cast<std::uint32_t>(nTicks);
    return Format("%u", nMilliseconds / 1000) + Format(".%03us", nMilliseconds % 1000);
}

const char* GetColour(std::uint32_t nClass)
{
    switch (nClass)
    {
    case ecGameMessage:
        return "\033[32m"; // green
    case ecDump:
        return "\033[2m"; // faint
    case ecInfo:
    case ecMessage:
        return "";
    case ecNote:
        return "\033[36m"; // cyan
    case ecWarning:
        return "\033[33m"; // yellow
    case ecError:
        return "\033[31m"; // red
    case ecCriticalError:
        return "\033[1;31m"; // bright red
    case ecCatastrophicError:
        return "\033[1;37;41m"; // white on red
    default:
        return "\033[35m"; // magenta
    }
}
} // namespace

std::string FormatText(const sLogRecord& oRecord, const ArrivalTime& oTime, bool bColours)
{
    constexpr const char* NO_COLOUR = "\033[0m";

    std::string sTitle = GetClassTitle(oRecord.m_nClass);
    const std::string sColour = bColours ? GetColour(oRecord.m_nClass) : "";
    if (!sColour.empty())
        sTitle = sColour + sTitle + NO_COLOUR;

    std::string sLine = oTime ? FormatTime("%H:%M:%S", *oTime, true) : FormatTicks(oRecord.m_sTicks);
    sLine += " " + Printable(oRecord.m_sComputer) + " " + Printable(oRecord.m_sApplication);
    sLine += "[" + std::to_string(oRecord.m_nProcess) + "] " + sTitle + ": ";
    sLine += Printable(oRecord.m_sSource) + ":" + std::to_string(oRecord.m_nLine);
    if (!oRecord.m_sContext.empty())
        sLine += " (" + Printable(oRecord.m_sContext) + ")";
    return sLine + ": " + Printable(oRecord.m_sMessage);
}

std::string FormatJson(const sLogRecord& oRecord, const ArrivalTime& oTime)
{
    std::string sLine = "{";
    if (oTime)
        sLine += "\"time\":\"" + FormatTime("%Y-%m-%dT%H:%M:%S", *oTime, false) + "Z\",";
    sLine += "\"computer\":" + Quoted(oRecord.m_sComputer);
    sLine += ",\"application\":" + Quoted(oRecord.m_sApplication);
    sLine += ",\"process\":" + std::to_string(oRecord.m_nProcess);
    sLine += ",\"class\":" + std::to_string(oRecord.m_nClass);
    sLine += ",\"title\":" + Quoted(GetClassTitle(oRecord.m_nClass));
    sLine += ",\"ticks\":" + Quoted(oRecord.m_sTicks);
    sLine += ",\"context\":" + Quoted(oRecord.m_sContext);
    sLine += ",\"source\":" + Quoted(oRecord.m_sSource);
    sLine += ",\"line\":" + std::to_string(oRecord.m_nLine);
    return sLine + ",\"message\":" + Quoted(oRecord.m_sMessage) + "}";
}
