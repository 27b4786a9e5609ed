#include "Trace.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace
{
constexpr double NANOSECONDS_PER_SECOND = 1e9;
constexpr std::uint64_t NANOSECONDS_PER_MICROSECOND = 1000;

// A call, as its records show it.
struct sCall
{
    const char* pName;
    std::uint64_t nStart; // nanoseconds, as the end
    std::uint64_t nEnd;
    bool bEnded;
};

// Bytes of a well-formed UTF-8 character at the start of a text; 0 when there is none.
std::size_t GetCharacterSize(std::string_view sText)
{
    const auto Byte = [sText](std::size_t i) { return static_cast<unsigned char>(sText[i]); };
    const unsigned nFirst = Byte(0);
    const std::size_t nSize = nFirst < 0x80   ? 1
                              : nFirst < 0xC2 ? 0
                              : nFirst < 0xE0 ? 2
                              : nFirst < 0xF0 ? 3
                              : nFirst < 0xF5 ? 4
                                              : 0;
    if (nSize == 0 || nSize > sText.size())
        return 0;
    for (std::size_t i = 1; i < nSize; ++i)
    {
        if ((Byte(i) & 0xC0) != 0x80)
            return 0;
    }

    // Characters written longer than they are, halves of pairs, and what lies beyond the last one.
    const bool bForbidden = (nFirst == 0xE0 && Byte(1) < 0xA0) || (nFirst == 0xED && Byte(1) >= 0xA0) ||
                            (nFirst == 0xF0 && Byte(1) < 0x90) || (nFirst == 0xF4 && Byte(1) >= 0x90);
    return bForbidden ? 0 : nSize;
}

// A text between quotes. A byte that belongs to no character is shown as that of Latin-1.
std::string Quote(std::string_view sText)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string sResult = "\"";
    while (!sText.empty())
    {
        const std::size_t nSize = GetCharacterSize(sText);
        const auto nByte = static_cast<unsigned char>(sText[0]);
        if (nSize == 0 || nByte < 0x20)
        {
            sResult += "\\u00";
            sResult += DIGITS[nByte >> 4];
            sResult += DIGITS[nByte & 0xF];
        }
        else
        {
            if (nByte == '"' || nByte == '\\')
                sResult += '\\';
            sResult += sText.substr(0, nSize);
        }
        sText.remove_prefix(std::max<std::size_t>(nSize, 1));
    }
    return sResult + "\"";
}

std::string FormatMicroseconds(std::uint64_t nNanoseconds)
{
    const std::string sFraction =
        std::to_string(NANOSECONDS_PER_MICROSECOND + nNanoseconds % NANOSECONDS_PER_MICROSECOND);
    return std::to_string(nNanoseconds / NANOSECONDS_PER_MICROSECOND) + "." + sFraction.substr(1);
}

std::vector<sCall> FindCalls(std::span<const sVQProfileRawSample> oRecords, double dCyclesPerSecond)
{
    const double dCyclesPerNanosecond = dCyclesPerSecond / NANOSECONDS_PER_SECOND;
    std::vector<sCall> aCalls;
    std::vector<std::size_t> aOpen;
    for (const sVQProfileRawSample& oRecord : oRecords)
    {
        const std::uint64_t nCycles = oRecord.m_nCounter - oRecords.front().m_nCounter;
        const auto nTime = static_cast<std::uint64_t>(static_cast<double>(nCycles) / dCyclesPerNanosecond);
        if (oRecord.m_pName != nullptr)
        {
            aOpen.push_back(aCalls.size());
            aCalls.push_back({oRecord.m_pName, nTime, nTime, false});
        }
        else if (!aOpen.empty())
        {
            aCalls[aOpen.back()].nEnd = nTime;
            aCalls[aOpen.back()].bEnded = true;
            aOpen.pop_back();
        }
    }
    return aCalls;
}
} // namespace

std::string MakeTrace(std::span<const sVQProfileRawSample> oRecords, double dCyclesPerSecond)
{
    std::string sTrace = "{\"displayTimeUnit\":\"ns\",\"traceEvents\":[";
    const char* pSeparator = "\n";
    for (const sCall& oCall : FindCalls(oRecords, dCyclesPerSecond))
    {
        sTrace += pSeparator;
        sTrace += "{\"name\":" + Quote(oCall.pName) + ",\"cat\":\"region\",\"pid\":1,\"tid\":1,\"ts\":";
        sTrace += FormatMicroseconds(oCall.nStart);
        sTrace += oCall.bEnded ? ",\"ph\":\"X\",\"dur\":" + FormatMicroseconds(oCall.nEnd - oCall.nStart) + "}"
                               : ",\"ph\":\"B\"}";
        pSeparator = ",\n";
    }
    return sTrace + "\n]}\n";
}
