#include "PropertyTree.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace
{
constexpr std::int32_t VERSION = 256;
constexpr std::int32_t LOCALISED = -1; // in place of a length: the number of a localised text follows
constexpr unsigned MAX_DEPTH = 256;    // properties within each other; the library takes no more

constexpr eKind KINDS[] = {eKind::Manager, eKind::Struct, eKind::List, eKind::Params, eKind::Property};

struct
{
    char m_cType;
    const char* m_pName;
} const TYPES[] = {{'-', "undefined"}, {'L', "ulong"}, {'S', "stringid"}, {'a', "list"}, {'b', "bool"},
                   {'c', "struct"},    {'f', "float"}, {'i', "int"},      {'l', "long"}, {'s', "string"}};

/// The codes of types in older files: 1 is a bool in 4 bytes.
constexpr std::int32_t OLD_BOOL = 1;

std::int32_t TranslateOldType(std::int32_t nType)
{
    switch (nType)
    {
    case 2:
        return 'i';
    case 3:
        return 'l';
    case 4:
        return 'f';
    case 5:
        return 's';
    case 255:
        return '-';
    default:
        return nType;
    }
}

/// Reads a record from left to right and never beyond its end.
class CParser
{
public:
    /// @param bStrict  whether a type that is none ends it; the library goes on behind one
    CParser(std::string_view sBytes, const sLayout& oLayout, bool bStrict)
        : m_sBytes(sBytes), m_oLayout(oLayout), m_bStrict(bStrict)
    {
    }

    sDocument Parse()
    {
        sDocument oDocument;
        oDocument.m_oLayout = m_oLayout;
        try
        {
            ParseRoot(oDocument.m_oRoot);
            if (m_nPlace != m_sBytes.size())
                Stop(std::to_string(m_sBytes.size() - m_nPlace) + " bytes stand behind the end");
        }
        catch (const sDamage& oDamage)
        {
            oDocument.m_oDamage = oDamage;
        }
        return oDocument;
    }

private:
    [[noreturn]] void Stop(const std::string& sWhy) const
    {
        std::string sPath;
        for (const std::string& sStep : m_aPath)
            sPath += (sPath.empty() || sStep[0] == '[' ? "" : ".") + sStep;
        throw sDamage{m_nPlace, sPath, sWhy};
    }

    std::string_view Take(std::size_t nCount)
    {
        if (nCount > m_sBytes.size() - m_nPlace)
            Stop("the file ends too early: " + std::to_string(nCount) + " bytes are wanted, " +
                 std::to_string(m_sBytes.size() - m_nPlace) + " are there");

        const std::string_view sTaken = m_sBytes.substr(m_nPlace, nCount);
        m_nPlace += nCount;
        return sTaken;
    }

    template <class TValue>
    TValue TakeValue()
    {
        TValue nValue;
        std::memcpy(&nValue, Take(sizeof(nValue)).data(), sizeof(nValue));
        return nValue;
    }

    std::int32_t TakeWord() { return TakeValue<std::int32_t>(); }

    std::uint32_t TakeCount()
    {
        const std::int32_t nCount = TakeWord();
        if (nCount >= 0)
            return static_cast<std::uint32_t>(nCount);

        m_nPlace -= sizeof(nCount);
        Stop("a number of " + std::to_string(nCount));
    }

    sText TakeText()
    {
        sText oText;
        const std::int32_t nLength = TakeWord();
        if (nLength > 0)
            oText.m_sBytes = Take(static_cast<std::size_t>(nLength));
        else if (nLength == LOCALISED && m_oLayout.m_bStream)
            oText.m_nId = TakeWord();
        return oText;
    }

    void TakeMarker(char cMarker)
    {
        if (!m_oLayout.m_bStream)
            return;
        if (Take(1)[0] == cMarker)
            return;

        --m_nPlace;
        Stop(std::string("the marker '") + cMarker + "' is missing");
    }

    void TakeVersion()
    {
        if (m_oLayout.m_bStream)
            TakeWord();
    }

    void ParseRoot(sNode& oRoot)
    {
        switch (m_oLayout.m_nKind)
        {
        case eKind::Manager:
            oRoot.m_cType = 'c';
            TakeMarker('m');
            ParseEntries(oRoot.m_aNamed, 1);
            break;
        case eKind::Struct:
            oRoot.m_cType = 'c';
            ParseStruct(oRoot, 1);
            break;
        case eKind::List:
            oRoot.m_cType = 'a';
            ParseList(oRoot, 1);
            break;
        case eKind::Params:
            oRoot.m_cType = 'a';
            TakeMarker('v');
            ParseElements(oRoot.m_aElements, 1);
            break;
        case eKind::Property:
            ParseProperty(oRoot, 1);
            break;
        }
    }

    void ParseStruct(sNode& oNode, unsigned nDepth)
    {
        TakeMarker('m');
        ParseEntries(oNode.m_aNamed, nDepth);
        oNode.m_oText = TakeText();
    }

    void ParseList(sNode& oNode, unsigned nDepth)
    {
        if (m_oLayout.m_bStream)
        {
            TakeMarker('L');
            ParseElements(oNode.m_aElements, nDepth);
            TakeMarker('M');
            ParseEntries(oNode.m_aNamed, nDepth);
        }
        else
        {
            ParseEntries(oNode.m_aNamed, nDepth, "@");
            ParseElements(oNode.m_aElements, nDepth);
        }
    }

    void ParseEntries(std::vector<sEntry>& aEntries, unsigned nDepth, const char* pPrefix = "")
    {
        for (std::uint32_t nRest = TakeCount(); nRest != 0; --nRest)
        {
            const sText oName = TakeText();
            aEntries.emplace_back().m_oName = oName;
            m_aPath.push_back(pPrefix + NameText(oName));
            ParseChild(
                aEntries, [](sEntry& oEntry) -> sNode& { return oEntry.m_oValue; }, nDepth);
        }
    }

    void ParseElements(std::vector<sNode>& aElements, unsigned nDepth)
    {
        for (std::uint32_t nRest = TakeCount(); nRest != 0; --nRest)
        {
            m_aPath.push_back(IndexText(aElements.size()));
            aElements.emplace_back();
            ParseChild(
                aElements, [](sNode& oNode) -> sNode& { return oNode; }, nDepth);
        }
    }

    /// Reads into the last of some nodes; one of which nothing could be read goes again.
    template <class TItem, class TNodeOf>
    void ParseChild(std::vector<TItem>& aItems, const TNodeOf& NodeOf, unsigned nDepth)
    {
        try
        {
            TakeVersion();
            ParseProperty(NodeOf(aItems.back()), nDepth);
        }
        catch (const sDamage&)
        {
            const sNode& oNode = NodeOf(aItems.back());
            if (oNode.m_aNamed.empty() && oNode.m_aElements.empty())
                aItems.pop_back();
            throw;
        }
        m_aPath.pop_back();
    }

    void ParseProperty(sNode& oNode, unsigned nDepth)
    {
        if (nDepth > MAX_DEPTH)
            Stop("more than " + std::to_string(MAX_DEPTH) + " levels");

        const std::int32_t nStored = TakeWord();
        const bool bOldBool = !m_oLayout.m_bStream && nStored == OLD_BOOL;
        const std::int32_t nType = m_oLayout.m_bStream ? nStored : TranslateOldType(nStored);
        const bool bKnown = nType > 0 && nType < 0x80 && !NameOfType(static_cast<char>(nType)).empty();
        if (bOldBool)
        {
            oNode.m_cType = 'b';
            oNode.m_nNumber = TakeWord() != 0 ? 1 : 0;
        }
        else if (bKnown)
        {
            oNode.m_cType = static_cast<char>(nType);
            ParseValue(oNode, nDepth);
        }
        else if (m_bStrict)
        {
            m_nPlace -= sizeof(nStored);
            Stop("an unknown type, " + std::to_string(nStored));
        }
        else
        {
            oNode.m_cType = sNode::UNKNOWN;
            oNode.m_nNumber = nStored;
        }

        if (m_oLayout.m_bStream)
            oNode.m_oFormat = TakeText();
    }

    void ParseValue(sNode& oNode, unsigned nDepth)
    {
        switch (oNode.m_cType)
        {
        case 'L':
        case 'S':
        case 'i':
        case 'l':
            oNode.m_nNumber = TakeWord();
            break;
        case 'b':
            oNode.m_nNumber = TakeValue<std::uint8_t>() != 0 ? 1 : 0;
            break;
        case 'f':
            oNode.m_fFloat = TakeValue<float>();
            break;
        case 's':
            oNode.m_oText = TakeText();
            if (oNode.m_oText.m_nId.has_value()) // a string id in another dress
            {
                oNode.m_cType = 'S';
                oNode.m_nNumber = *oNode.m_oText.m_nId;
                oNode.m_oText = sText();
            }
            break;
        case 'a':
            TakeVersion();
            ParseList(oNode, nDepth + 1);
            break;
        case 'c':
            TakeVersion();
            ParseStruct(oNode, nDepth + 1);
            break;
        default:
            break;
        }
    }

    std::string_view m_sBytes;
    sLayout m_oLayout;
    bool m_bStrict;
    std::size_t m_nPlace = 0;
    std::vector<std::string> m_aPath;
};

/// Puts a record together.
class CWriter
{
public:
    explicit CWriter(const sLayout& oLayout) : m_oLayout(oLayout) {}

    std::string Write(const sNode& oRoot)
    {
        switch (m_oLayout.m_nKind)
        {
        case eKind::Manager:
            AddMarker('m');
            AddEntries(oRoot.m_aNamed, 1);
            break;
        case eKind::Struct:
            AddStruct(oRoot, 1);
            break;
        case eKind::List:
            AddList(oRoot, 1);
            break;
        case eKind::Params:
            AddMarker('v');
            AddElements(oRoot.m_aElements, 1);
            break;
        case eKind::Property:
            AddProperty(oRoot, 1);
            break;
        }
        return m_sBytes;
    }

private:
    template <class TValue>
    void AddValue(TValue nValue)
    {
        char aBytes[sizeof(nValue)];
        std::memcpy(aBytes, &nValue, sizeof(nValue));
        m_sBytes.append(aBytes, sizeof(nValue));
    }

    void AddCount(std::size_t nCount)
    {
        if (nCount > 0x7FFFFFFF)
            throw std::runtime_error("there is too much of it for one record");
        AddValue(static_cast<std::int32_t>(nCount));
    }

    void AddMarker(char cMarker)
    {
        if (m_oLayout.m_bStream)
            m_sBytes += cMarker;
    }

    void AddVersion()
    {
        if (m_oLayout.m_bStream)
            AddValue(VERSION);
    }

    void AddText(const sText& oText)
    {
        if (oText.m_nId.has_value())
        {
            if (!m_oLayout.m_bStream)
                throw std::runtime_error("a localised text is a name here, which only a stream record can hold");
            AddValue(LOCALISED);
            AddValue(*oText.m_nId);
            return;
        }
        AddCount(oText.m_sBytes.size());
        m_sBytes += oText.m_sBytes;
    }

    void AddStruct(const sNode& oNode, unsigned nDepth)
    {
        AddMarker('m');
        AddEntries(oNode.m_aNamed, nDepth);
        AddText(oNode.m_oText);
    }

    void AddList(const sNode& oNode, unsigned nDepth)
    {
        if (m_oLayout.m_bStream)
        {
            AddMarker('L');
            AddElements(oNode.m_aElements, nDepth);
            AddMarker('M');
            AddEntries(oNode.m_aNamed, nDepth);
        }
        else
        {
            AddEntries(oNode.m_aNamed, nDepth);
            AddElements(oNode.m_aElements, nDepth);
        }
    }

    void AddEntries(const std::vector<sEntry>& aEntries, unsigned nDepth)
    {
        // Names end at their first zero; of equal ones the last holds.
        std::vector<const sEntry*> aOrdered;
        for (const sEntry& oEntry : aEntries)
            aOrdered.push_back(&oEntry);
        const auto Compare = [](const sEntry* pFirst, const sEntry* pSecond)
        { return std::strcmp(pFirst->m_oName.m_sBytes.c_str(), pSecond->m_oName.m_sBytes.c_str()); };
        std::stable_sort(aOrdered.begin(), aOrdered.end(),
                         [&Compare](const sEntry* pFirst, const sEntry* pSecond)
                         { return Compare(pFirst, pSecond) < 0; });
        std::vector<const sEntry*> aLast;
        for (const sEntry* pEntry : aOrdered)
        {
            const bool bAgain = !aLast.empty() && Compare(aLast.back(), pEntry) == 0 &&
                                aLast.back()->m_oName.m_nId == pEntry->m_oName.m_nId;
            if (bAgain)
                aLast.back() = pEntry;
            else
                aLast.push_back(pEntry);
        }

        AddCount(aLast.size());
        for (const sEntry* pEntry : aLast)
        {
            AddText(pEntry->m_oName);
            AddVersion();
            AddProperty(pEntry->m_oValue, nDepth);
        }
    }

    void AddElements(const std::vector<sNode>& aElements, unsigned nDepth)
    {
        AddCount(aElements.size());
        for (const sNode& oElement : aElements)
        {
            AddVersion();
            AddProperty(oElement, nDepth);
        }
    }

    void AddProperty(const sNode& oNode, unsigned nDepth)
    {
        if (nDepth > MAX_DEPTH)
            throw std::runtime_error("it has more than " + std::to_string(MAX_DEPTH) + " levels");

        AddValue(oNode.m_cType == sNode::UNKNOWN ? oNode.m_nNumber : static_cast<std::int32_t>(oNode.m_cType));
        switch (oNode.m_cType)
        {
        case 'L':
        case 'S':
        case 'i':
        case 'l':
            AddValue(oNode.m_nNumber);
            break;
        case 'b':
            AddValue(static_cast<std::uint8_t>(oNode.m_nNumber));
            break;
        case 'f':
            AddValue(oNode.m_fFloat);
            break;
        case 's':
            AddText(oNode.m_oText);
            break;
        case 'a':
            AddVersion();
            AddList(oNode, nDepth + 1);
            break;
        case 'c':
            AddVersion();
            AddStruct(oNode, nDepth + 1);
            break;
        default:
            break;
        }
        if (m_oLayout.m_bStream)
            AddText(oNode.m_oFormat);
    }

    sLayout m_oLayout;
    std::string m_sBytes;
};
} // namespace

std::string NameOf(eKind nKind)
{
    switch (nKind)
    {
    case eKind::Manager:
        return "manager";
    case eKind::Struct:
        return "struct";
    case eKind::List:
        return "list";
    case eKind::Params:
        return "params";
    case eKind::Property:
        return "property";
    }
    return "";
}

std::string NameOf(const sLayout& oLayout)
{
    return NameOf(oLayout.m_nKind) + (oLayout.m_bStream ? "-stream" : "-file");
}

std::optional<sLayout> FindLayout(std::string_view sName)
{
    for (const eKind nKind : KINDS)
    {
        for (const bool bStream : {false, true})
        {
            if (NameOf({nKind, bStream}) == sName)
                return sLayout{nKind, bStream};
        }
    }
    return std::nullopt;
}

std::string NameOfType(char cType)
{
    for (const auto& oType : TYPES)
    {
        if (oType.m_cType == cType)
            return oType.m_pName;
    }
    return "";
}

char FindType(std::string_view sName)
{
    for (const auto& oType : TYPES)
    {
        if (oType.m_pName == sName)
            return oType.m_cType;
    }
    return '\0';
}

std::string IndexText(std::size_t nIndex)
{
    return '[' + std::to_string(nIndex) + ']';
}

std::string NameText(const sText& oName)
{
    return oName.m_nId.has_value() ? '#' + std::to_string(*oName.m_nId) : oName.m_sBytes;
}

sDocument ReadDocument(std::string_view sBytes, const sLayout& oLayout)
{
    return CParser(sBytes, oLayout, false).Parse();
}

std::optional<sDocument> ReadDocument(std::string_view sBytes)
{
    std::optional<sLayout> oBest;
    std::size_t nFurthest = 0;
    for (const bool bStream : {true, false})
    {
        for (const eKind nKind : KINDS)
        {
            const sLayout oLayout{nKind, bStream};
            sDocument oDocument = CParser(sBytes, oLayout, true).Parse();
            if (!oDocument.m_oDamage.has_value())
                return oDocument;

            // A beginning that could be anything tells nothing: some content must have been there.
            const sNode& oRoot = oDocument.m_oRoot;
            const bool bContent = bStream || !oRoot.m_aNamed.empty() || !oRoot.m_aElements.empty();
            if (bContent && oDocument.m_oDamage->m_nOffset > nFurthest)
            {
                nFurthest = oDocument.m_oDamage->m_nOffset;
                oBest = oLayout;
            }
        }
    }
    return oBest.has_value() ? std::optional(ReadDocument(sBytes, *oBest)) : std::nullopt;
}

std::string WriteDocument(const sDocument& oDocument)
{
    return CWriter(oDocument.m_oLayout).Write(oDocument.m_oRoot);
}
