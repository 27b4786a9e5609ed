#include "Commands.h"

#include "Console.h"
#include "TreeJson.h"
#include "TreeText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <random>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
constexpr int DONE = 0;
constexpr int FAILED = 1;

std::string ReadBytes(const std::string& sFile)
{
    std::error_code oError;
    if (!fs::exists(sFile, oError))
        throw CFailure(sFile, "there is no such file");
    if (fs::is_directory(sFile, oError))
        throw CFailure(sFile, "is a directory");

    std::ifstream oFile(sFile, std::ios::binary);
    if (!oFile)
        throw CFailure(sFile, "cannot be opened");

    std::string sBytes;
    char aPiece[65536];
    while (oFile.read(aPiece, sizeof(aPiece)), oFile.gcount() > 0)
        sBytes.append(aPiece, static_cast<std::size_t>(oFile.gcount()));
    if (oFile.bad())
        throw CFailure(sFile, "cannot be read");
    return sBytes;
}

/// Writes a whole file beside the target, which it then replaces in one step; a failure leaves the old one as it was.
void WriteBytes(const std::string& sFile, const std::string& sBytes)
{
    std::error_code oError;
    const fs::path oTarget = fs::is_symlink(sFile, oError) ? fs::weakly_canonical(sFile, oError) : fs::path(sFile);
    if (fs::is_directory(oTarget, oError))
        throw CFailure(sFile, "is a directory");

    char aSuffix[32];
    std::snprintf(aSuffix, sizeof(aSuffix), ".%08x.tmp", static_cast<unsigned>(std::random_device()()));
    const fs::path oTemporary = oTarget.string() + aSuffix;
    {
        std::ofstream oFile(oTemporary, std::ios::binary);
        if (!oFile)
            throw CFailure(sFile, "cannot be written: nothing can be made beside it");
        oFile.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size()));
        oFile.close();
        if (!oFile)
        {
            fs::remove(oTemporary, oError);
            throw CFailure(sFile, "cannot be written");
        }
    }
    if (const auto oStatus = fs::status(oTarget, oError); fs::exists(oStatus))
        fs::permissions(oTemporary, oStatus.permissions(), oError);
    fs::rename(oTemporary, oTarget, oError);
    if (oError)
    {
        const std::string sWhy = oError.message();
        fs::remove(oTemporary, oError);
        throw CFailure(sFile, sWhy);
    }
}

sDocument LoadDocument(const sOptions& oOptions, const std::string& sFile)
{
    const std::string sBytes = ReadBytes(sFile);
    if (oOptions.m_oLayout.has_value())
        return ReadDocument(sBytes, *oOptions.m_oLayout);

    std::optional<sDocument> oDocument = ReadDocument(sBytes);
    if (!oDocument.has_value())
        throw CFailure(sFile, sBytes.empty() ? "is empty" : "is no property file");
    return *oDocument;
}

std::string Tell(const sDamage& oDamage)
{
    return "damaged at byte " + std::to_string(oDamage.m_nOffset) +
           (oDamage.m_sPath.empty() ? "" : ", in " + oDamage.m_sPath) + ": " + oDamage.m_sWhy;
}

/// Says where and why a file could not be read on.
int TellDamage(const sDocument& oDocument, const std::string& sFile)
{
    if (!oDocument.m_oDamage.has_value())
        return DONE;

    FlushOutput();
    PrintError(MakePrintable(sFile + ": " + Tell(*oDocument.m_oDamage)));
    return FAILED;
}

sDocument LoadWhole(const sOptions& oOptions, const std::string& sFile)
{
    sDocument oDocument = LoadDocument(oOptions, sFile);
    if (oDocument.m_oDamage.has_value())
        throw CFailure(sFile, Tell(*oDocument.m_oDamage));
    return oDocument;
}

void SaveDocument(const sDocument& oDocument, const std::string& sFile)
{
    if (!oDocument.m_oLayout.m_bStream) // reading a stream takes elements of any type
    {
        if (const std::string sMisfit = FindMisfit(oDocument); !sMisfit.empty())
            throw CFailure(sMisfit, "is not of the list's element type, and would be dropped when it is read");
    }
    std::string sBytes;
    try
    {
        sBytes = WriteDocument(oDocument);
    }
    catch (const std::runtime_error& oError)
    {
        throw CFailure(sFile, oError.what());
    }
    WriteBytes(sFile, sBytes);
}

template <class TNumber>
TNumber ParseNumber(const std::string& sText, const char* pType)
{
    const bool bNegative = sText.starts_with('-');
    const std::size_t nSign = bNegative || sText.starts_with('+') ? 1 : 0;
    const bool bHex = sText.compare(nSign, 2, "0x") == 0 || sText.compare(nSign, 2, "0X") == 0;
    const char* const pEnd = sText.data() + sText.size();
    std::uint64_t nNumber = 0;
    const auto oResult = std::from_chars(sText.data() + nSign + (bHex ? 2 : 0), pEnd, nNumber, bHex ? 16 : 10);
    const std::uint64_t nMost = bNegative
                                    ? static_cast<std::uint64_t>(-std::int64_t{std::numeric_limits<TNumber>::min()})
                                    : std::uint64_t{std::numeric_limits<TNumber>::max()};
    if (oResult.ec != std::errc() || oResult.ptr != pEnd || nNumber > nMost)
        throw CFailure(sText, std::string("is no ") + pType);
    return static_cast<TNumber>(bNegative ? 0 - nNumber : nNumber);
}

float ParseFloat(const std::string& sText)
{
    float fNumber = 0;
    const char* const pEnd = sText.data() + sText.size();
    const auto oResult = std::from_chars(sText.data() + (sText.starts_with('+') ? 1 : 0), pEnd, fNumber);
    if (oResult.ec != std::errc() || oResult.ptr != pEnd)
        throw CFailure(sText, "is no float");
    return fNumber;
}

bool ParseBool(const std::string& sText)
{
    if (sText == "true" || sText == "1")
        return true;
    if (sText == "false" || sText == "0")
        return false;
    throw CFailure(sText, "is no bool");
}

/// A property of a type and a value as they are written on a command line.
sNode ParseNode(const std::string& sType, const std::string& sValue)
{
    if (sType == "json")
    {
        try
        {
            return NodeFromJson(sValue);
        }
        catch (const std::runtime_error& oError)
        {
            throw CFailure("the value", oError.what());
        }
    }

    sNode oNode;
    oNode.m_cType = FindType(sType);
    switch (oNode.m_cType)
    {
    case 'b':
        oNode.m_nNumber = ParseBool(sValue) ? 1 : 0;
        break;
    case 'f':
        oNode.m_fFloat = ParseFloat(sValue);
        break;
    case 'L':
        oNode.m_nNumber = static_cast<std::int32_t>(ParseNumber<std::uint32_t>(sValue, "ulong"));
        break;
    case 'S':
    case 'i':
    case 'l':
        oNode.m_nNumber = ParseNumber<std::int32_t>(sValue, sType.c_str());
        break;
    case 's':
        oNode.m_oText.m_sBytes = sValue;
        break;
    case 'a':
    case 'c':
        throw CFailure(sType, "is given as JSON: use the type \"json\"");
    case '-':
        break;
    default:
        throw CFailure(sType, "is no type");
    }
    return oNode;
}

std::map<std::string, std::string> LinesOf(const sDocument& oDocument)
{
    std::map<std::string, std::string> oLines;
    if (oDocument.m_oLayout.m_nKind != eKind::Manager && oDocument.m_oLayout.m_nKind != eKind::Params)
        oLines["."] = Describe(oDocument.m_oRoot);
    VisitAll(oDocument.m_oRoot,
             [&oLines](const std::string& sPath, const sNode& oNode) { oLines[sPath] = Describe(oNode); });
    return oLines;
}
} // namespace

int ShowFile(const sOptions& oOptions, const std::string& sFile)
{
    const sDocument oDocument = LoadDocument(oOptions, sFile);
    WriteOutput(oOptions.m_bJson ? ToJson(oDocument) : ShowDocument(oDocument));
    return TellDamage(oDocument, sFile);
}

int GetValue(const sOptions& oOptions, const std::string& sFile, const std::string& sPath)
{
    sDocument oDocument = LoadDocument(oOptions, sFile);
    const sNode* const pNode = FindNode(oDocument.m_oRoot, sPath);
    if (pNode == nullptr)
    {
        TellDamage(oDocument, sFile);
        throw CFailure(sPath, "there is no such property");
    }
    if (pNode->IsContainer())
        WriteOutput(ShowChildren(*pNode));
    else
        WriteOutput(PlainValue(*pNode) + '\n');
    return TellDamage(oDocument, sFile);
}

int SetValue(const sOptions& oOptions, const std::string& sFile, const std::string& sPath, const std::string& sType,
             const std::optional<std::string>& sValue)
{
    sNode oNew = ParseNode(sType, sValue.value_or(""));

    std::error_code oError;
    sDocument oDocument;
    if (fs::exists(sFile, oError))
        oDocument = LoadWhole(oOptions, sFile);
    else
    {
        oDocument.m_oLayout = oOptions.m_oLayout.value_or(sLayout());
        const eKind nKind = oDocument.m_oLayout.m_nKind;
        oDocument.m_oRoot.m_cType = nKind == eKind::Manager || nKind == eKind::Struct ? 'c' : 'a';
        if (nKind == eKind::Property)
            oDocument.m_oRoot.m_cType = '-';
    }

    std::string sWhy;
    sNode* const pNode = DemandNode(oDocument.m_oRoot, sPath, sWhy);
    if (pNode == nullptr)
        throw CFailure(sPath, sWhy);
    if (oDocument.m_oLayout.m_nKind == eKind::Params && !oDocument.m_oRoot.m_aNamed.empty())
        throw CFailure(sPath, "is an attribute, and parameter lists have none");
    if (pNode == &oDocument.m_oRoot && oDocument.m_oLayout.m_nKind != eKind::Property)
        throw CFailure(sPath, "is the whole file");
    if (oNew.m_oFormat.IsEmpty())
        oNew.m_oFormat = pNode->m_oFormat; // assignment keeps it
    *pNode = std::move(oNew);
    if (const std::string sMisfit = FindMisfit(oDocument); sMisfit == sPath)
        throw CFailure(sPath, "is not of the list's element type");
    SaveDocument(oDocument, sFile);
    return DONE;
}

int RemoveValue(const sOptions& oOptions, const std::string& sFile, const std::string& sPath)
{
    sDocument oDocument = LoadWhole(oOptions, sFile);
    if (!RemoveNode(oDocument.m_oRoot, sPath))
        throw CFailure(sPath, "there is no such property");
    SaveDocument(oDocument, sFile);
    return DONE;
}

int CompareFiles(const sOptions& oOptions, const std::string& sFirst, const std::string& sSecond)
{
    const sDocument oFirst = LoadWhole(oOptions, sFirst);
    const sDocument oSecond = LoadWhole(oOptions, sSecond);
    const auto oOld = LinesOf(oFirst);
    const auto oNew = LinesOf(oSecond);

    std::string sText;
    if (oFirst.m_oLayout.m_nKind != oSecond.m_oLayout.m_nKind)
        sText += "- " + NameOf(oFirst.m_oLayout) + "\n+ " + NameOf(oSecond.m_oLayout) + '\n';
    const auto Add = [&sText](char cSign, const auto& oLine)
    { sText += std::string(1, cSign) + ' ' + MakePrintable(oLine.first) + ": " + oLine.second + '\n'; };
    auto itOld = oOld.begin();
    auto itNew = oNew.begin();
    while (itOld != oOld.end() || itNew != oNew.end())
    {
        const bool bOld = itNew == oNew.end() || (itOld != oOld.end() && itOld->first <= itNew->first);
        const bool bNew = itOld == oOld.end() || (itNew != oNew.end() && itNew->first <= itOld->first);
        const bool bDiffer = !bOld || !bNew || itOld->second != itNew->second;
        if (bDiffer && bOld)
            Add('-', *itOld);
        if (bDiffer && bNew)
            Add('+', *itNew);
        itOld = bOld ? std::next(itOld) : itOld;
        itNew = bNew ? std::next(itNew) : itNew;
    }
    WriteOutput(sText);
    return sText.empty() ? DONE : FAILED;
}

int ConvertToJson(const sOptions& oOptions, const std::string& sFile, const std::optional<std::string>& sJson)
{
    const sDocument oDocument = LoadDocument(oOptions, sFile);
    if (!sJson.has_value())
        WriteOutput(ToJson(oDocument));
    else if (!oDocument.m_oDamage.has_value()) // half of a file is no conversion of it
        WriteBytes(*sJson, ToJson(oDocument));
    return TellDamage(oDocument, sFile);
}

int ConvertFromJson(const sOptions& oOptions, const std::string& sJson, const std::string& sFile)
{
    sDocument oDocument;
    try
    {
        oDocument = FromJson(ReadBytes(sJson));
    }
    catch (const CFailure&)
    {
        throw;
    }
    catch (const std::runtime_error& oError)
    {
        throw CFailure(sJson, oError.what());
    }
    if (oOptions.m_oLayout.has_value())
    {
        if (oOptions.m_oLayout->m_nKind != oDocument.m_oLayout.m_nKind)
            throw CFailure(sJson, "holds no " + NameOf(oOptions.m_oLayout->m_nKind) + " but a " +
                                      NameOf(oDocument.m_oLayout.m_nKind));
        oDocument.m_oLayout = *oOptions.m_oLayout;
    }
    SaveDocument(oDocument, sFile);
    return DONE;
}
