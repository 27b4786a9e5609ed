#include "TreeText.h"

#include <Common/Property/VQProperty.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace
{
/// Bytes of the UTF-8 character at the start of a text; 0 when there is none.
std::size_t GetUtf8Length(std::string_view sText)
{
    const auto At = [sText](std::size_t nIndex) { return static_cast<unsigned char>(sText[nIndex]); };
    const unsigned char nFirst = At(0);
    const std::size_t nLength = nFirst < 0x80 ? 1 : nFirst < 0xC2 ? 0 : nFirst < 0xE0 ? 2 : nFirst < 0xF0 ? 3 : 4;
    if (nLength == 0 || nFirst > 0xF4 || nLength > sText.size())
        return 0;
    for (std::size_t i = 1; i < nLength; ++i)
    {
        if ((At(i) & 0xC0) != 0x80)
            return 0;
    }
    const bool bBad = (nFirst == 0xE0 && At(1) < 0xA0) || (nFirst == 0xED && At(1) > 0x9F) ||
                      (nFirst == 0xF0 && At(1) < 0x90) || (nFirst == 0xF4 && At(1) > 0x8F);
    return bBad ? 0 : nLength;
}

std::string Escape(std::string_view sText)
{
    std::string sResult;
    while (!sText.empty())
    {
        const auto cByte = static_cast<unsigned char>(sText[0]);
        const std::size_t nLength = GetUtf8Length(sText);
        const bool bControl = cByte < ' ' || cByte == 0x7F ||
                              (cByte == 0xC2 && nLength == 2 && static_cast<unsigned char>(sText[1]) < 0xA0);
        if (cByte == '"' || cByte == '\\')
            sResult += {'\\', sText[0]};
        else if (cByte == '\n')
            sResult += "\\n";
        else if (cByte == '\t')
            sResult += "\\t";
        else if (nLength != 0 && !bControl)
            sResult += sText.substr(0, nLength);
        else
        {
            for (const char cEach : sText.substr(0, std::max<std::size_t>(nLength, 1)))
            {
                char aText[8];
                std::snprintf(aText, sizeof(aText), "\\x%02X", static_cast<unsigned char>(cEach));
                sResult += aText;
            }
        }
        sText.remove_prefix(std::max<std::size_t>(nLength, 1));
    }
    return sResult;
}

/// What the program shows for a property with a format; "" without one.
std::string FormattedText(const sNode& oNode)
{
    if (oNode.m_oFormat.m_sBytes.empty())
        return "";

    CVQProperty oProperty;
    switch (oNode.m_cType)
    {
    case 'i':
    case 'l':
    case 'L':
        oProperty = static_cast<int>(oNode.m_nNumber);
        break;
    case 'b':
        oProperty = oNode.m_nNumber != 0;
        break;
    case 'f':
        oProperty = oNode.m_fFloat;
        break;
    default:
        return "";
    }
    oProperty.SetFormat(oNode.m_oFormat.m_sBytes.c_str());
    const CVQString oText = oProperty.AsFormattedString();
    return ", \"" + Escape({~oText, static_cast<std::size_t>(oText.GetLength())}) + '"';
}

std::string CountText(std::size_t nCount, const char* pThing)
{
    return std::to_string(nCount) + ' ' + pThing + (nCount == 1 ? "" : "s");
}

void AppendChildren(std::string& sText, const sNode& oNode, const std::string& sIndent);

void AppendNode(std::string& sText, const std::string& sName, const sNode& oNode, const std::string& sIndent)
{
    sText.append(sIndent).append(sName).append(": ").append(Describe(oNode)).append("\n");
    AppendChildren(sText, oNode, sIndent + "  ");
}

void AppendChildren(std::string& sText, const sNode& oNode, const std::string& sIndent)
{
    for (const sEntry& oEntry : oNode.m_aNamed)
        AppendNode(sText, (oNode.m_cType == 'a' ? "@" : "") + Escape(NameText(oEntry.m_oName)), oEntry.m_oValue,
                   sIndent);
    for (std::size_t i = 0; i < oNode.m_aElements.size(); ++i)
        AppendNode(sText, IndexText(i), oNode.m_aElements[i], sIndent);
}

void VisitChildren(const sNode& oNode, const std::string& sPath,
                   const std::function<void(const std::string&, const sNode&)>& Visit)
{
    const auto VisitOne = [&Visit](const std::string& sChild, const sNode& oChild)
    {
        Visit(sChild, oChild);
        VisitChildren(oChild, sChild, Visit);
    };
    for (const sEntry& oEntry : oNode.m_aNamed)
        VisitOne(sPath + (sPath.empty() ? "" : ".") + (oNode.m_cType == 'a' ? "@" : "") + NameText(oEntry.m_oName),
                 oEntry.m_oValue);
    for (std::size_t i = 0; i < oNode.m_aElements.size(); ++i)
        VisitOne(sPath + IndexText(i), oNode.m_aElements[i]);
}

/// Takes an index, "[2]" or "2", from the front of a path.
std::optional<std::size_t> TakeIndex(std::string_view& sPath)
{
    const bool bBrackets = sPath.starts_with('[');
    std::string_view sDigits = sPath.substr(bBrackets ? 1 : 0);
    std::size_t nIndex = 0;
    const auto [pEnd, nError] = std::from_chars(sDigits.data(), sDigits.data() + sDigits.size(), nIndex);
    if (nError != std::errc())
        return std::nullopt;

    sDigits.remove_prefix(static_cast<std::size_t>(pEnd - sDigits.data()));
    if (bBrackets && !sDigits.starts_with(']'))
        return std::nullopt;
    sPath = sDigits.substr(bBrackets ? 1 : 0);
    return sPath.empty() || sPath[0] == '.' || sPath[0] == '[' ? std::optional(nIndex) : std::nullopt;
}

/// What of a path is left behind a name at its front; nothing when it does not stand there.
std::optional<std::string_view> Behind(std::string_view sPath, const std::string& sName)
{
    if (!sPath.starts_with(sName))
        return std::nullopt;

    const std::string_view sRest = sPath.substr(sName.size());
    return sRest.empty() || sRest[0] == '.' || sRest[0] == '[' ? std::optional(sRest) : std::nullopt;
}

/// Goes down a path; calls Found(list of siblings, index) at its end.
///
/// @return whether there was such a property
template <class TFoundEntry, class TFoundElement>
bool Descend(sNode& oNode, std::string_view sPath, const TFoundEntry& FoundEntry, const TFoundElement& FoundElement)
{
    if (sPath.starts_with('.'))
        sPath.remove_prefix(1);

    const bool bList = oNode.m_cType == 'a';
    for (std::size_t i = oNode.m_aNamed.size(); i-- != 0;) // of equal names the last holds
    {
        const auto sRest = Behind(sPath, (bList ? "@" : "") + NameText(oNode.m_aNamed[i].m_oName));
        if (!sRest.has_value())
            continue;
        if (sRest->empty())
            return FoundEntry(oNode, i);
        if (Descend(oNode.m_aNamed[i].m_oValue, *sRest, FoundEntry, FoundElement))
            return true;
    }

    std::string_view sRest = sPath;
    const auto nIndex = bList ? TakeIndex(sRest) : std::nullopt;
    if (!nIndex.has_value() || *nIndex >= oNode.m_aElements.size())
        return false;
    if (sRest.empty())
        return FoundElement(oNode, *nIndex);
    return Descend(oNode.m_aElements[*nIndex], sRest, FoundEntry, FoundElement);
}

const sNode* FindTemplate(const sNode& oList)
{
    for (const sEntry& oEntry : oList.m_aNamed)
    {
        if (oEntry.m_oName.m_sBytes == ELEMENT_TYPE)
            return &oEntry.m_oValue;
    }
    return nullptr;
}

std::string FindMisfit(const sNode& oNode, const std::string& sPath, bool bTyped)
{
    const sNode* const pTemplate = FindTemplate(oNode);
    for (std::size_t i = 0; i < oNode.m_aElements.size(); ++i)
    {
        const sNode& oElement = oNode.m_aElements[i];
        std::string sElement = sPath + IndexText(i);
        const bool bFits = pTemplate == nullptr
                               ? oElement.m_cType == '-'
                               : oElement.m_cType == pTemplate->m_cType &&
                                     (oElement.m_cType != 'c' || oElement.m_oText == pTemplate->m_oText);
        if (bTyped && !bFits)
            return sElement;
        if (std::string sMisfit = FindMisfit(oElement, sElement, true); !sMisfit.empty())
            return sMisfit;
    }
    for (const sEntry& oEntry : oNode.m_aNamed)
    {
        const std::string sEntryPath =
            sPath + (sPath.empty() ? "" : ".") + (oNode.m_cType == 'a' ? "@" : "") + NameText(oEntry.m_oName);
        if (std::string sMisfit = FindMisfit(oEntry.m_oValue, sEntryPath, true); !sMisfit.empty())
            return sMisfit;
    }
    return "";
}
} // namespace

std::string Quote(const sText& oText)
{
    return oText.m_nId.has_value() ? NameText(oText) : '"' + Escape(oText.m_sBytes) + '"';
}

std::string FloatText(float fValue)
{
    char aText[64];
    char* const pEnd = std::to_chars(aText, aText + sizeof(aText), fValue).ptr;
    return {aText, pEnd};
}

std::string Describe(const sNode& oNode)
{
    std::string sText = NameOfType(oNode.m_cType);
    switch (oNode.m_cType)
    {
    case sNode::UNKNOWN:
        sText = "unknown type " + std::to_string(oNode.m_nNumber);
        break;
    case 'a':
        if (const sNode* pTemplate = FindTemplate(oNode))
            sText +=
                " of " + (pTemplate->m_cType == 'c' && !pTemplate->m_oText.IsEmpty() ? Quote(pTemplate->m_oText)
                                                                                     : NameOfType(pTemplate->m_cType));
        sText += ", " + CountText(oNode.m_aElements.size(), "element");
        break;
    case 'c':
        if (!oNode.m_oText.IsEmpty())
            sText += ' ' + Quote(oNode.m_oText);
        sText += ", " + CountText(oNode.m_aNamed.size(), "element");
        break;
    case 's':
        sText += " = " + Quote(oNode.m_oText);
        break;
    case '-':
        break;
    default:
        sText += " = " + PlainValue(oNode);
        break;
    }
    if (!oNode.m_oFormat.IsEmpty())
        sText += "  (format " + Quote(oNode.m_oFormat) + FormattedText(oNode) + ')';
    return sText;
}

std::string ShowDocument(const sDocument& oDocument)
{
    const sNode& oRoot = oDocument.m_oRoot;
    std::string sText = NameOf(oDocument.m_oLayout) + ": ";
    switch (oDocument.m_oLayout.m_nKind)
    {
    case eKind::Manager:
        sText += std::to_string(oRoot.m_aNamed.size()) + (oRoot.m_aNamed.size() == 1 ? " property" : " properties");
        break;
    case eKind::Params:
        sText += CountText(oRoot.m_aElements.size(), "parameter");
        break;
    default:
        sText += Describe(oRoot);
        break;
    }
    return sText + '\n' + ShowChildren(oRoot);
}

std::string ShowChildren(const sNode& oNode)
{
    std::string sText;
    AppendChildren(sText, oNode, "  ");
    return sText;
}

std::string PlainValue(const sNode& oNode)
{
    switch (oNode.m_cType)
    {
    case 'L':
        return std::to_string(static_cast<std::uint32_t>(oNode.m_nNumber));
    case 'S':
    case 'i':
    case 'l':
        return std::to_string(oNode.m_nNumber);
    case 'b':
        return oNode.m_nNumber != 0 ? "true" : "false";
    case 'f':
        return FloatText(oNode.m_fFloat);
    case 's':
        return oNode.m_oText.m_sBytes;
    default:
        return "";
    }
}

void VisitAll(const sNode& oRoot, const std::function<void(const std::string&, const sNode&)>& Visit)
{
    VisitChildren(oRoot, "", Visit);
}

sNode* FindNode(sNode& oRoot, std::string_view sPath)
{
    if (sPath == ".")
        return &oRoot;

    sNode* pFound = nullptr;
    Descend(
        oRoot, sPath,
        [&pFound](sNode& oParent, std::size_t i) { return (pFound = &oParent.m_aNamed[i].m_oValue) != nullptr; },
        [&pFound](sNode& oParent, std::size_t i) { return (pFound = &oParent.m_aElements[i]) != nullptr; });
    return pFound;
}

namespace
{
std::string NextElementText(const sNode& oList)
{
    return "there is no such element, and the next one is " + IndexText(oList.m_aElements.size());
}

/// Adds what the last part of a path names to a list: its next element, or an attribute.
///
/// @param sWhy  is told for an index that is too large
sNode* AddToList(sNode& oList, std::string_view sLast, std::string& sWhy)
{
    if (sLast.size() > 1 && sLast[0] == '@')
    {
        oList.m_aNamed.emplace_back().m_oName.m_sBytes = sLast.substr(1);
        return &oList.m_aNamed.back().m_oValue;
    }

    const auto nIndex = TakeIndex(sLast);
    if (!nIndex.has_value() || !sLast.empty())
        return nullptr;
    if (*nIndex == oList.m_aElements.size())
        return &oList.m_aElements.emplace_back();

    sWhy = NextElementText(oList);
    return nullptr;
}
} // namespace

sNode* DemandNode(sNode& oRoot, std::string_view sPath, std::string& sWhy)
{
    if (sNode* pFound = FindNode(oRoot, sPath))
        return pFound;

    // Into the deepest thing on the way that takes names, or at the end of a list.
    for (std::size_t nSplit = sPath.size(); nSplit != std::string_view::npos;
         nSplit = nSplit == 0 ? std::string_view::npos : sPath.find_last_of(".[", nSplit - 1))
    {
        if (nSplit == sPath.size())
            continue;

        sNode* const pParent = nSplit == 0 ? &oRoot : FindNode(oRoot, sPath.substr(0, nSplit));
        const std::string_view sLast = sPath.substr(nSplit + (sPath[nSplit] == '.' ? 1 : 0));
        if (pParent != nullptr && pParent->m_cType == 'c' && sPath[nSplit] == '.' && !sLast.empty())
        {
            pParent->m_aNamed.emplace_back().m_oName.m_sBytes = sLast;
            return &pParent->m_aNamed.back().m_oValue;
        }
        if (pParent == nullptr || pParent->m_cType != 'a')
            continue;
        sNode* const pAdded = AddToList(*pParent, sLast, sWhy);
        if (pAdded != nullptr || !sWhy.empty())
            return pAdded;
    }

    if (oRoot.m_cType == 'c')
    {
        oRoot.m_aNamed.emplace_back().m_oName.m_sBytes = sPath;
        return &oRoot.m_aNamed.back().m_oValue;
    }
    if (oRoot.m_cType == 'a')
    {
        if (sNode* const pAdded = AddToList(oRoot, sPath, sWhy))
            return pAdded;
        sWhy = NextElementText(oRoot);
    }
    else
        sWhy = "there is no such property, and nothing that it could be added to";
    return nullptr;
}

bool RemoveNode(sNode& oRoot, std::string_view sPath)
{
    return Descend(
        oRoot, sPath,
        [](sNode& oParent, std::size_t i)
        {
            oParent.m_aNamed.erase(oParent.m_aNamed.begin() + static_cast<std::ptrdiff_t>(i));
            return true;
        },
        [](sNode& oParent, std::size_t i)
        {
            oParent.m_aElements.erase(oParent.m_aElements.begin() + static_cast<std::ptrdiff_t>(i));
            return true;
        });
}

std::string FindMisfit(const sDocument& oDocument)
{
    return FindMisfit(oDocument.m_oRoot, "", oDocument.m_oLayout.m_nKind != eKind::Params);
}
