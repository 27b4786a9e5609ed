// Reads arbitrary bytes as a log file, at once and in pieces: both ways find the same records, and nothing of the file
// gets lost. The first byte tells the size of the pieces.
// Sources: tools/vqlog/LogLines.cpp tools/vqlog/LogRecord.cpp

#include <tools/vqlog/LogLines.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace
{
void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

struct sResult
{
    std::vector<sLogRecord> m_aRecords;
    unsigned long m_nMalformed = 0;
};

sResult ReadInPieces(std::string_view sBytes, std::size_t nStep)
{
    sResult oResult;
    CLogLines oLines([&](const sLogRecord& oRecord) { oResult.m_aRecords.push_back(oRecord); });
    for (; !sBytes.empty(); sBytes.remove_prefix(std::min(nStep, sBytes.size())))
        oLines.Add(sBytes.substr(0, nStep));
    oLines.End();
    oResult.m_nMalformed = oLines.GetMalformed();
    return oResult;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nSize)
{
    if (nSize == 0)
        return 0;

    const std::string_view sFile(reinterpret_cast<const char*>(pBytes) + 1, nSize - 1);
    const sResult oWhole = ReadInPieces(sFile, nSize);
    const sResult oPieces = ReadInPieces(sFile, 1 + pBytes[0] % 17);
    Require(oWhole.m_aRecords == oPieces.m_aRecords && oWhole.m_nMalformed == oPieces.m_nMalformed);
    Require(sFile.empty() || !oWhole.m_aRecords.empty() || oWhole.m_nMalformed != 0);

    // Every text of a record stands in the file as it is, one record behind the other.
    std::size_t nPosition = 0;
    for (const sLogRecord& oRecord : oWhole.m_aRecords)
        for (const std::string& sText : {oRecord.m_sComputer, oRecord.m_sApplication, oRecord.m_sTicks,
                                         oRecord.m_sContext, oRecord.m_sSource, oRecord.m_sMessage})
        {
            nPosition = sFile.find(sText, nPosition);
            Require(nPosition != std::string_view::npos);
            nPosition += sText.size();
        }
    return 0;
}
