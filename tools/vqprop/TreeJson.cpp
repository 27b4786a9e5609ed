#include "TreeJson.h"

#include "TreeText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace
{
using TJson = nlohmann::ordered_json;

// A property takes two levels, an array and an object; a few more hold them.
constexpr int MAX_JSON_DEPTH = 2 * 256 + 8;

bool IsUtf8(const std::string& sText)
{
    try
    {
        return !TJson(sText).dump().empty();
    }
    catch (const TJson::exception&)
    {
        return false;
    }
}

TJson JsonOf(const sText& oText)
{
    if (oText.m_nId.has_value())
        return {{"id", *oText.m_nId}};
    if (IsUtf8(oText.m_sBytes))
        return oText.m_sBytes;

    std::string sHex;
    for (const char cByte : oText.m_sBytes)
    {
        char aDigits[4];
        std::snprintf(aDigits, sizeof(aDigits), "%02x", static_cast<unsigned char>(cByte));
        sHex += aDigits;
    }
    return {{"hex", sHex}};
}

TJson JsonOf(float fValue)
{
    if (std::isnan(fValue))
    {
        const auto nBits = std::bit_cast<std::uint32_t>(fValue);
        if (nBits == std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN()))
            return "nan";
        char aText[32];
        std::snprintf(aText, sizeof(aText), "nan:0x%08X", static_cast<unsigned>(nBits));
        return aText;
    }
    if (std::isinf(fValue))
        return fValue > 0 ? "inf" : "-inf";

    // the shortest text of the float, when that gives the same float again
    double dShort = 0;
    const std::string sText = FloatText(fValue);
    std::from_chars(sText.data(), sText.data() + sText.size(), dShort);
    return static_cast<float>(dShort) == fValue ? dShort : static_cast<double>(fValue);
}

TJson JsonOf(const sNode& oNode);

TJson JsonOf(const std::vector<sEntry>& aEntries)
{
    TJson oArray = TJson::array();
    for (const sEntry& oEntry : aEntries)
    {
        TJson oObject = {{"name", JsonOf(oEntry.m_oName)}};
        oObject.update(JsonOf(oEntry.m_oValue));
        oArray.push_back(std::move(oObject));
    }
    return oArray;
}

TJson JsonOf(const std::vector<sNode>& aNodes)
{
    TJson oArray = TJson::array();
    for (const sNode& oNode : aNodes)
        oArray.push_back(JsonOf(oNode));
    return oArray;
}

void AddContents(TJson& oObject, const sNode& oNode)
{
    if (oNode.m_cType == 'c')
    {
        oObject["structure"] = JsonOf(oNode.m_oText);
        oObject["elements"] = JsonOf(oNode.m_aNamed);
    }
    else
    {
        oObject["attributes"] = JsonOf(oNode.m_aNamed);
        oObject["elements"] = JsonOf(oNode.m_aElements);
    }
}

TJson JsonOf(const sNode& oNode)
{
    TJson oObject = {{"type", oNode.m_cType == sNode::UNKNOWN ? "unknown" : NameOfType(oNode.m_cType)}};
    switch (oNode.m_cType)
    {
    case sNode::UNKNOWN:
        oObject["code"] = oNode.m_nNumber;
        break;
    case 'L':
        oObject["value"] = static_cast<std::uint32_t>(oNode.m_nNumber);
        break;
    case 'S':
    case 'i':
    case 'l':
        oObject["value"] = oNode.m_nNumber;
        break;
    case 'b':
        oObject["value"] = oNode.m_nNumber != 0;
        break;
    case 'f':
        oObject["value"] = JsonOf(oNode.m_fFloat);
        break;
    case 's':
        oObject["value"] = JsonOf(oNode.m_oText);
        break;
    case 'a':
    case 'c':
        AddContents(oObject, oNode);
        break;
    default:
        break;
    }
    if (!oNode.m_oFormat.IsEmpty())
        oObject["format"] = JsonOf(oNode.m_oFormat);
    return oObject;
}

/// Reads JSON of unknown origin; whatever is wrong tells where.
class CJsonReader
{
public:
    sDocument ReadDocument(const TJson& oJson)
    {
        RefuseUnknownMembers(oJson);
        sDocument oDocument;
        const std::string sRecord = TextMember(oJson, "record");
        const auto oLayout = FindLayout(TextMember(oJson, "kind") + '-' + sRecord);
        if (!oLayout.has_value())
            Fail("\"kind\" and \"record\" name no layout");
        oDocument.m_oLayout = *oLayout;

        sNode& oRoot = oDocument.m_oRoot;
        switch (oLayout->m_nKind)
        {
        case eKind::Manager:
            oRoot.m_cType = 'c';
            ReadEntries(oJson, "properties", oRoot.m_aNamed);
            break;
        case eKind::Struct:
        case eKind::List:
            oRoot.m_cType = oLayout->m_nKind == eKind::Struct ? 'c' : 'a';
            ReadContents(oJson, oRoot);
            break;
        case eKind::Params:
            oRoot.m_cType = 'a';
            ReadElements(oJson, "parameters", oRoot.m_aElements);
            break;
        case eKind::Property:
            oRoot = ReadNode(Member(oJson, "property"));
            break;
        }
        return oDocument;
    }

    sNode ReadNode(const TJson& oJson)
    {
        RefuseUnknownMembers(oJson);
        sNode oNode;
        const std::string sType = TextMember(oJson, "type");
        oNode.m_cType = sType == "unknown" ? sNode::UNKNOWN : FindType(sType);
        switch (oNode.m_cType)
        {
        case '\0':
            Fail("there is no type \"" + sType + '"');
        case sNode::UNKNOWN:
            oNode.m_nNumber = ReadNumber(Member(oJson, "code"), std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max());
            break;
        case 'L':
            oNode.m_nNumber = ReadNumber(Member(oJson, "value"), 0, std::numeric_limits<std::uint32_t>::max());
            break;
        case 'S':
        case 'i':
        case 'l':
            oNode.m_nNumber = ReadNumber(Member(oJson, "value"), std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max());
            break;
        case 'b':
            if (!Member(oJson, "value").is_boolean())
                Fail("a bool is true or false");
            oNode.m_nNumber = Member(oJson, "value").get<bool>() ? 1 : 0;
            break;
        case 'f':
            oNode.m_fFloat = ReadFloat(Member(oJson, "value"));
            break;
        case 's':
            oNode.m_oText = ReadText(Member(oJson, "value"));
            if (oNode.m_oText.m_nId.has_value())
                Fail("a localised text has the type \"stringid\"");
            break;
        case 'a':
        case 'c':
            ReadContents(oJson, oNode);
            break;
        default:
            break;
        }
        if (oJson.contains("format"))
            oNode.m_oFormat = ReadText(oJson["format"]);
        return oNode;
    }

private:
    [[noreturn]] void Fail(const std::string& sWhy) const
    {
        std::string sPath;
        for (const std::string& sStep : m_aPath)
            sPath += sStep;
        throw std::runtime_error(sPath.empty() ? sWhy : sPath + ": " + sWhy);
    }

    /// A member that nothing would read is a mistake: some may be left out.
    void RefuseUnknownMembers(const TJson& oJson) const
    {
        constexpr std::array<std::string_view, 13> KNOWN = {
            "attributes", "code",     "elements", "format",    "kind", "name", "parameters",
            "properties", "property", "record",   "structure", "type", "value"};
        if (!oJson.is_object())
            return;
        for (const auto& oMember : oJson.items())
        {
            if (std::find(KNOWN.begin(), KNOWN.end(), oMember.key()) == KNOWN.end())
                Fail('"' + oMember.key() + "\" means nothing here");
        }
    }

    const TJson& Member(const TJson& oJson, const char* pName) const
    {
        if (!oJson.is_object())
            Fail("an object is wanted");
        const auto itMember = oJson.find(pName);
        if (itMember == oJson.end())
            Fail(std::string("there is no \"") + pName + '"');
        return *itMember;
    }

    std::string TextMember(const TJson& oJson, const char* pName) const
    {
        const TJson& oMember = Member(oJson, pName);
        if (!oMember.is_string())
            Fail(std::string("\"") + pName + "\" is no text");
        return oMember.get<std::string>();
    }

    std::int32_t ReadNumber(const TJson& oJson, std::int64_t nLeast, std::int64_t nMost) const
    {
        if (!oJson.is_number_integer())
            Fail("a whole number is wanted");
        const bool bHuge = oJson.is_number_unsigned() && oJson.get<std::uint64_t>() > std::uint64_t{0xFFFFFFFF};
        const std::int64_t nNumber = bHuge ? std::numeric_limits<std::int64_t>::max() : oJson.get<std::int64_t>();
        if (nNumber < nLeast || nNumber > nMost)
            Fail(oJson.dump() + " does not fit the type");
        return static_cast<std::int32_t>(nNumber);
    }

    float ReadFloat(const TJson& oJson) const
    {
        if (oJson.is_number())
        {
            const double dNumber = oJson.get<double>();
            const auto fNumber = static_cast<float>(dNumber);
            if (std::isinf(fNumber))
                Fail(oJson.dump() + " does not fit the type");
            return fNumber;
        }
        const std::string sText = oJson.is_string() ? oJson.get<std::string>() : "";
        if (sText == "inf" || sText == "-inf")
            return sText[0] == '-' ? -std::numeric_limits<float>::infinity() : std::numeric_limits<float>::infinity();
        if (sText == "nan")
            return std::numeric_limits<float>::quiet_NaN();

        std::uint32_t nBits = 0;
        if (sText.starts_with("nan:0x"))
            std::from_chars(sText.data() + 6, sText.data() + sText.size(), nBits, 16);
        const auto fNumber = std::bit_cast<float>(nBits);
        if (!std::isnan(fNumber))
            Fail("a number is wanted, or \"nan\", \"inf\", \"-inf\"");
        return fNumber;
    }

    sText ReadText(const TJson& oJson) const
    {
        sText oText;
        if (oJson.is_string())
            oText.m_sBytes = oJson.get<std::string>();
        else if (oJson.is_object() && oJson.contains("id"))
            oText.m_nId = ReadNumber(oJson["id"], std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::max());
        else if (oJson.is_object() && oJson.contains("hex") && oJson["hex"].is_string())
            oText.m_sBytes = ReadHex(oJson["hex"].get<std::string>());
        else
            Fail("a text is wanted, or {\"hex\": ...}, or {\"id\": ...}");
        return oText;
    }

    std::string ReadHex(const std::string& sHex) const
    {
        std::string sBytes;
        for (std::size_t i = 0; i < sHex.size(); i += 2)
        {
            unsigned nByte = 0;
            const char* const pEnd = sHex.data() + std::min(i + 2, sHex.size());
            if (std::from_chars(sHex.data() + i, pEnd, nByte, 16).ptr != sHex.data() + i + 2)
                Fail("\"hex\" wants two hexadecimal digits a byte");
            sBytes += static_cast<char>(nByte);
        }
        return sBytes;
    }

    /// What is left out of a struct or list is empty.
    void ReadContents(const TJson& oJson, sNode& oNode)
    {
        if (oJson.contains("structure") && oNode.m_cType == 'c')
            oNode.m_oText = ReadText(oJson["structure"]);
        if (oJson.contains("attributes") && oNode.m_cType == 'a')
            ReadEntries(oJson, "attributes", oNode.m_aNamed);
        if (oJson.contains("elements") && oNode.m_cType == 'c')
            ReadEntries(oJson, "elements", oNode.m_aNamed);
        else if (oJson.contains("elements"))
            ReadElements(oJson, "elements", oNode.m_aElements);
    }

    const TJson& ArrayMember(const TJson& oJson, const char* pName) const
    {
        const TJson& oArray = Member(oJson, pName);
        if (!oArray.is_array())
            Fail(std::string("\"") + pName + "\" is no array");
        return oArray;
    }

    void ReadEntries(const TJson& oJson, const char* pName, std::vector<sEntry>& aEntries)
    {
        ReadElements(oJson, pName,
                     [this, &aEntries](const TJson& oEntry)
                     {
                         sText oName = ReadText(Member(oEntry, "name"));
                         aEntries.push_back({std::move(oName), ReadNode(oEntry)});
                     });
    }

    void ReadElements(const TJson& oJson, const char* pName, std::vector<sNode>& aElements)
    {
        ReadElements(oJson, pName,
                     [this, &aElements](const TJson& oElement) { aElements.push_back(ReadNode(oElement)); });
    }

    template <class TRead>
    void ReadElements(const TJson& oJson, const char* pName, const TRead& Read)
    {
        std::size_t nIndex = 0;
        for (const TJson& oElement : ArrayMember(oJson, pName))
        {
            m_aPath.push_back('/' + std::string(pName) + '/' + std::to_string(nIndex++));
            Read(oElement);
            m_aPath.pop_back();
        }
    }

    std::vector<std::string> m_aPath;
};

TJson ParseJson(std::string_view sJson)
{
    const auto CheckDepth = [](int nDepth, TJson::parse_event_t, const TJson&)
    {
        if (nDepth > MAX_JSON_DEPTH)
            throw std::runtime_error("it is nested too deeply");
        return true;
    };
    try
    {
        return TJson::parse(sJson, CheckDepth);
    }
    catch (const TJson::parse_error& oError)
    {
        throw std::runtime_error("no JSON from byte " + std::to_string(oError.byte) + " on");
    }
}
} // namespace

std::string ToJson(const sDocument& oDocument)
{
    const sLayout& oLayout = oDocument.m_oLayout;
    TJson oJson = {{"kind", NameOf(oLayout.m_nKind)}, {"record", oLayout.m_bStream ? "stream" : "file"}};
    switch (oLayout.m_nKind)
    {
    case eKind::Manager:
        oJson["properties"] = JsonOf(oDocument.m_oRoot.m_aNamed);
        break;
    case eKind::Struct:
    case eKind::List:
        AddContents(oJson, oDocument.m_oRoot);
        break;
    case eKind::Params:
        oJson["parameters"] = JsonOf(oDocument.m_oRoot.m_aElements);
        break;
    case eKind::Property:
        oJson["property"] = JsonOf(oDocument.m_oRoot);
        break;
    }
    return oJson.dump(2) + '\n';
}

sDocument FromJson(std::string_view sJson)
{
    return CJsonReader().ReadDocument(ParseJson(sJson));
}

sNode NodeFromJson(std::string_view sJson)
{
    return CJsonReader().ReadNode(ParseJson(sJson));
}
