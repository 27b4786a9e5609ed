// Reads arbitrary bytes as a record of the log, and shows what it found.
// Sources: tools/vqlog/LogRecord.cpp tools/vqlog/Printer.cpp

#include <tools/vqlog/LogRecord.h>
#include <tools/vqlog/Printer.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace
{
void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

std::string Number(std::uint32_t nNumber)
{
    std::string sBytes(4, '\0');
    std::memcpy(sBytes.data(), &nNumber, 4);
    return sBytes;
}

std::string Text(const std::string& sText)
{
    return Number(static_cast<std::uint32_t>(sText.size())) + sText;
}

std::string Pack(const sLogRecord& o)
{
    return Text(o.m_sComputer) + Text(o.m_sApplication) + Number(o.m_nProcess) + Number(o.m_nClass) + Text(o.m_sTicks) +
           Text(o.m_sContext) + Text(o.m_sSource) + Number(o.m_nLine) + Text(o.m_sMessage);
}

// One line, and nothing in it that commands a terminal.
void RequirePlain(const std::string& sLine)
{
    Require(std::none_of(sLine.begin(), sLine.end(),
                         [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }));

    // Those of two bytes: U+0080 to U+009F.
    for (std::size_t n = sLine.find('\xC2'); n != std::string::npos; n = sLine.find('\xC2', n + 1))
        Require(n + 1 < sLine.size() && static_cast<unsigned char>(sLine[n + 1]) >= 0xA0);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nSize)
{
    const std::string_view sMail(reinterpret_cast<const char*>(pBytes), nSize);
    sLogRecord oRecord;
    if (!ReadLogRecord(sMail, oRecord))
        return 0;

    Require(Pack(oRecord) == sMail);
    RequirePlain(FormatText(oRecord, {}, false));
    RequirePlain(FormatJson(oRecord, {}));
    return 0;
}
