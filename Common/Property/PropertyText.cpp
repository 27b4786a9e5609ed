#include <Common/Property/PropertyText.h>

#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

using PropertyText::SArgument;
using EKind = SArgument::EKind;

namespace
{
constexpr int MAX_TEXT = 1023;     // bytes, as CVQString::Format() has room for
constexpr int MAX_NUMBER = 1100;   // a larger width or precision shows no more
constexpr std::size_t ROOM = 1200; // for one conversion: the digits of the largest float, and MAX_NUMBER

bool Has(std::string_view sSet, char cWanted)
{
    return cWanted != '\0' && sSet.find(cWanted) != std::string_view::npos;
}

/// Takes a text apart from left to right. A zero ends it.
class CReader
{
public:
    explicit CReader(const char* pText) : m_pNext(pText) {}

    const char* GetPlace() const { return m_pNext; }

    char Peek() const { return *m_pNext; }

    bool Take(char cWanted)
    {
        if (*m_pNext != cWanted)
            return false;
        ++m_pNext;
        return true;
    }

    std::string_view TakeAll(std::string_view sSet)
    {
        const char* const pStart = m_pNext;
        while (Has(sSet, *m_pNext))
            ++m_pNext;
        return {pStart, static_cast<std::size_t>(m_pNext - pStart)};
    }

    /// Reads digits; more than a text has room for is as good as the most.
    int TakeNumber()
    {
        int nNumber = 0;
        for (const char cDigit : TakeAll("0123456789"))
            nNumber = std::min(nNumber * 10 + (cDigit - '0'), MAX_NUMBER);
        return nNumber;
    }

private:
    const char* m_pNext;
};

/// One conversion of a format.
struct SConversion
{
    std::string_view m_sFlags;
    std::optional<int> m_nWidth;
    std::optional<int> m_nPrecision;
    std::string_view m_sLength;
    char m_cKind = '\0';
    bool m_bStarFits = true;

    bool HasFlag(char cFlag) const { return Has(m_sFlags, cFlag); }
};

/// Takes an argument after the other.
class CArguments
{
public:
    explicit CArguments(std::span<const SArgument> aArguments) : m_aRest(aArguments) {}

    const SArgument* Next()
    {
        if (m_aRest.empty())
            return nullptr;

        const SArgument* const pNext = m_aRest.data();
        m_aRest = m_aRest.subspan(1);
        return pNext;
    }

    /// A width or precision in place of a "*".
    ///
    /// @param bFits  is set to false when it cannot be one
    int NextStar(bool& bFits)
    {
        const SArgument* const pNext = Next();
        const bool bNumber = pNext != nullptr && pNext->m_nKind == EKind::Integer;
        const int nNumber = bNumber ? pNext->m_nInteger : 0;
        bFits = bFits && bNumber && nNumber >= -MAX_TEXT && nNumber <= MAX_TEXT;
        return bFits ? nNumber : 0;
    }

private:
    std::span<const SArgument> m_aRest;
};

/// Reads a conversion behind its "%".
///
/// @return false when there is none; the reader then stands where it ceases to be one
bool ReadConversion(CReader& oReader, CArguments& oArguments, SConversion& oConversion)
{
    oConversion.m_sFlags = oReader.TakeAll("-+ #0");
    if (oReader.Take('*'))
        oConversion.m_nWidth = oArguments.NextStar(oConversion.m_bStarFits);
    else if (Has("0123456789", oReader.Peek()))
        oConversion.m_nWidth = oReader.TakeNumber();
    if (oReader.Take('.'))
    {
        if (!oReader.Take('*'))
            oConversion.m_nPrecision = oReader.TakeNumber();
        else if (const int nPrecision = oArguments.NextStar(oConversion.m_bStarFits); nPrecision >= 0)
            oConversion.m_nPrecision = nPrecision;
    }
    oConversion.m_sLength = oReader.TakeAll("hljztL");
    if (!Has("diouxXcsSpnaAeEfFgGC", oReader.Peek()))
        return false;

    oConversion.m_cKind = oReader.Peek();
    oReader.Take(oConversion.m_cKind);
    return true;
}

bool Fits(const SConversion& oConversion, const SArgument& oArgument)
{
    const std::string_view sLength = oConversion.m_sLength;
    const EKind nKind = oArgument.m_nKind;
    if (!oConversion.m_bStarFits)
        return false;

    switch (oConversion.m_cKind)
    {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        return nKind != EKind::Float && (sLength.empty() || sLength == "hh" || sLength == "h" || sLength == "l" ||
                                         sLength == "z" || sLength == "t"); // those that have at most 32 bits
    case 'c':
        return nKind != EKind::Float && sLength.empty();
    case 's':
        return nKind == EKind::Text && sLength.empty();
    case 'p':
        return (nKind == EKind::Address || nKind == EKind::Text) && sLength.empty();
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        return nKind == EKind::Float && (sLength.empty() || sLength == "l" || sLength == "L");
    default:
        return false;
    }
}

/// The conversion as it is handed to the runtime library: what has no meaning for its kind is left out.
std::string Rebuild(const SConversion& oConversion)
{
    const char cKind = oConversion.m_cKind;
    const bool bSigned = Has("diaAeEfFgG", cKind);
    const bool bNumber = bSigned || Has("ouxX", cKind);
    const int nWidth = oConversion.m_nWidth.value_or(0);

    std::string sFormat = "%";
    if (oConversion.HasFlag('-') || nWidth < 0)
        sFormat += '-';
    if (bSigned && oConversion.HasFlag('+'))
        sFormat += '+';
    if (bSigned && oConversion.HasFlag(' '))
        sFormat += ' ';
    if (bNumber && !Has("diu", cKind) && oConversion.HasFlag('#'))
        sFormat += '#';
    if (bNumber && oConversion.HasFlag('0'))
        sFormat += '0';
    if (nWidth != 0)
        sFormat += std::to_string(std::abs(nWidth));
    if (bNumber && oConversion.m_nPrecision.has_value())
        sFormat += '.' + std::to_string(*oConversion.m_nPrecision);
    if (oConversion.m_sLength == "hh" || oConversion.m_sLength == "h")
        sFormat += oConversion.m_sLength;
    return sFormat + cKind;
}

void AppendText(std::string& sText, const SConversion& oConversion, const char* pText)
{
    std::string_view sValue = pText != nullptr ? pText : "(null)";
    if (oConversion.m_nPrecision.has_value())
        sValue = sValue.substr(0, static_cast<std::size_t>(*oConversion.m_nPrecision));

    const int nWidth = oConversion.m_nWidth.value_or(0);
    const bool bLeft = oConversion.HasFlag('-') || nWidth < 0;
    const auto nColumns = static_cast<std::size_t>(std::abs(nWidth));
    const std::size_t nBlanks = nColumns > sValue.size() ? nColumns - sValue.size() : 0;
    sText.append(bLeft ? 0 : nBlanks, ' ').append(sValue).append(bLeft ? nBlanks : 0, ' ');
}

void AppendValue(std::string& sText, const SConversion& oConversion, const SArgument& oArgument)
{
    if (oConversion.m_cKind == 's')
    {
        AppendText(sText, oConversion, static_cast<const char*>(oArgument.m_pAddress));
        return;
    }

    const std::string sFormat = Rebuild(oConversion);
    std::array<char, ROOM> aText;
    int nLength = 0;
    if (oArgument.m_nKind == EKind::Float)
        nLength = STR_snprintf(aText.data(), ROOM, sFormat.c_str(), oArgument.m_dFloat);
    else if (oConversion.m_cKind == 'p')
        nLength = STR_snprintf(aText.data(), ROOM, sFormat.c_str(), oArgument.m_pAddress);
    else
        nLength = STR_snprintf(aText.data(), ROOM, sFormat.c_str(), oArgument.m_nInteger);
    sText.append(aText.data(), static_cast<std::size_t>(std::max(nLength, 0)));
}
} // namespace

CVQString PropertyText::Make(std::string_view sBytes)
{
    CVQString oText;
    if (sBytes.empty())
        return oText;

    const int nLength = static_cast<int>(std::min<std::size_t>(sBytes.size(), 0x7FFFFFFE));
    std::memcpy(oText.GetBuffer(nLength), sBytes.data(), static_cast<std::size_t>(nLength));
    oText.ReleaseBuffer(nLength);
    return oText;
}

SArgument SArgument::Integer(std::int32_t nValue)
{
    SArgument oArgument;
    oArgument.m_nInteger = nValue;
    return oArgument;
}

SArgument SArgument::Float(double dValue)
{
    SArgument oArgument;
    oArgument.m_nKind = EKind::Float;
    oArgument.m_dFloat = dValue;
    return oArgument;
}

SArgument SArgument::Address(const void* pValue, EKind nKind)
{
    SArgument oArgument;
    oArgument.m_nKind = nKind;
    oArgument.m_nInteger = static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(pValue));
    oArgument.m_pAddress = pValue;
    return oArgument;
}

CVQString PropertyText::Format(const CVQString& oFormat, std::span<const SArgument> aArguments)
{
    CReader oReader(~oFormat != nullptr ? ~oFormat : "");
    CArguments oArguments(aArguments);
    std::string sText;
    while (oReader.Peek() != '\0' && sText.size() < MAX_TEXT)
    {
        const char* const pStart = oReader.GetPlace();
        if (!oReader.Take('%'))
        {
            sText += oReader.Peek();
            oReader.Take(oReader.Peek());
            continue;
        }
        if (oReader.Take('%'))
        {
            sText += '%';
            continue;
        }

        SConversion oConversion;
        const bool bConversion = ReadConversion(oReader, oArguments, oConversion);
        const SArgument* const pArgument = bConversion ? oArguments.Next() : nullptr;
        if (pArgument != nullptr && Fits(oConversion, *pArgument))
            AppendValue(sText, oConversion, *pArgument);
        else
            sText.append(pStart, oReader.GetPlace());
    }

    sText.resize(std::min<std::size_t>(sText.size(), MAX_TEXT));
    return sText.c_str(); // a "%c" of 0 ends it
}

CVQString PropertyText::FormatWords(const CVQString& oFormat, const CVQString& oObject)
{
    const void* pVirtualTable = nullptr;
    std::memcpy(&pVirtualTable, reinterpret_cast<const unsigned char*>(&oObject), sizeof pVirtualTable);

    const sStringData& oData = *oObject.GetData();
    const std::array aWords = {SArgument::Address(pVirtualTable),     SArgument::Integer(oData.m_nLockCount),
                               SArgument::Integer(oData.m_nLength),   SArgument::Integer(oData.m_nAllocatedLength),
                               SArgument::Integer(oData.m_nStringId), SArgument::Address(oData.m_pData, EKind::Text)};
    return Format(oFormat, aWords);
}
