#include <Common/Platform/PlatformString.h>

#include <Common/Platform/System/SystemText.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace
{
constexpr unsigned char FIRST_BEYOND_ASCII = 0x80;
constexpr std::size_t NO_LIMIT = std::numeric_limits<std::size_t>::max();
constexpr std::size_t LONGEST_CHARACTER = 4;
constexpr unsigned BYTE_BITS = 8;
constexpr unsigned HIGHEST_BYTE = 0xFF;
constexpr unsigned FIRST_SIGN_EXTENDED_BYTE = 0xFFFFFF80;

unsigned char Byte(char nByte) noexcept
{
    return static_cast<unsigned char>(nByte);
}

bool IsAscii(char nByte) noexcept
{
    return Byte(nByte) < FIRST_BEYOND_ASCII;
}

int Sign(int nOrder) noexcept
{
    return (nOrder > 0) - (nOrder < 0);
}

const char* OrEmpty(const char* pText) noexcept
{
    return pText != nullptr ? pText : "";
}

/// The interface takes constant texts and gives out changeable places in them, as the runtime library does.
char* Place(const char* pPlace) noexcept
{
    return const_cast<char*>(pPlace);
}

/// Length of a text of which at most nLimit bytes may be read.
std::size_t LimitedLength(const char* pText, std::size_t nLimit) noexcept
{
    const void* pEnd = nLimit != 0 ? std::memchr(pText, '\0', nLimit) : nullptr;
    return pEnd != nullptr ? static_cast<std::size_t>(static_cast<const char*>(pEnd) - pText) : nLimit;
}

// -------------------------------------------------------------------------------------------------- UTF-8

// Well-formed sequences as in table 3-7 of the Unicode standard: the second byte has narrower limits behind some leads.

struct Utf8Lead
{
    std::size_t nLength; // 1 for what cannot lead
    unsigned char nSecondFrom;
    unsigned char nSecondTo;
};

bool IsUtf8Trail(char nByte) noexcept
{
    return (Byte(nByte) & 0xC0) == 0x80;
}

Utf8Lead ClassifyUtf8(unsigned char nLead) noexcept
{
    if (nLead < 0xC2 || nLead > 0xF4)
        return {1, 0, 0};
    if (nLead < 0xE0)
        return {2, 0x80, 0xBF};
    if (nLead < 0xF0)
        return {3, static_cast<unsigned char>(nLead == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(nLead == 0xED ? 0x9F : 0xBF)};
    return {4, static_cast<unsigned char>(nLead == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(nLead == 0xF4 ? 0x8F : 0xBF)};
}

/// As SystemText::MultiByteLength(). The terminator is no trail byte, so that reading ends there by itself.
std::size_t Utf8Length(const char* pText, std::size_t nAvailable) noexcept
{
    const Utf8Lead oLead = ClassifyUtf8(Byte(pText[0]));
    for (std::size_t i = 1; i < oLead.nLength; ++i)
    {
        if (i == nAvailable)
            return 0;

        const unsigned char nTrail = Byte(pText[i]);
        const bool bFits = i == 1 ? nTrail >= oLead.nSecondFrom && nTrail <= oLead.nSecondTo : IsUtf8Trail(pText[i]);
        if (!bFits)
            return 1;
    }
    return oLead.nLength;
}

/// Start of the character that holds the byte at pPlace.
const char* Utf8Start(const char* pText, const char* pPlace) noexcept
{
    if (!IsUtf8Trail(*pPlace))
        return pPlace;

    for (std::size_t nBack = 1; nBack < LONGEST_CHARACTER && pPlace - pText >= static_cast<std::ptrdiff_t>(nBack);
         ++nBack)
    {
        const char* pLead = pPlace - nBack;
        if (!IsUtf8Trail(*pLead))
            return Utf8Length(pLead, NO_LIMIT) > nBack ? pLead : pPlace;
    }
    return pPlace;
}

char32_t DecodeUtf8(const char* pText, std::size_t nLength) noexcept
{
    constexpr std::array<unsigned, LONGEST_CHARACTER + 1> LEAD_BITS{0, 0x7F, 0x1F, 0x0F, 0x07};

    char32_t nCharacter = Byte(pText[0]) & LEAD_BITS[nLength];
    for (std::size_t i = 1; i < nLength; ++i)
        nCharacter = nCharacter << 6 | (Byte(pText[i]) & 0x3FU);
    return nCharacter;
}

std::size_t EncodeUtf8(char32_t nCharacter, char* pTarget) noexcept
{
    if (nCharacter < 0x80)
    {
        pTarget[0] = static_cast<char>(nCharacter);
        return 1;
    }

    const std::size_t nLength = nCharacter < 0x800 ? 2 : nCharacter < 0x10000 ? 3 : 4;
    constexpr std::array<unsigned, LONGEST_CHARACTER + 1> LEAD_MARKS{0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t i = nLength - 1; i > 0; --i)
    {
        pTarget[i] = static_cast<char>(0x80 | (nCharacter & 0x3F));
        nCharacter >>= 6;
    }
    pTarget[0] = static_cast<char>(LEAD_MARKS[nLength] | nCharacter);
    return nLength;
}

// -------------------------------------------------------------------------------------------------- characters

/// Length of the character at pText, which is not the terminator; 0 when the available bytes only begin one.
std::size_t CharacterLength(TextRules eRules, const char* pText, std::size_t nAvailable = NO_LIMIT) noexcept
{
    if (eRules == TextRules::SingleByte || IsAscii(*pText))
        return 1;
    return eRules == TextRules::Utf8 ? Utf8Length(pText, nAvailable) : SystemText::MultiByteLength(pText, nAvailable);
}

std::uint32_t Pack(const char* pText, std::size_t nLength) noexcept
{
    std::uint32_t nPacked = 0;
    for (std::size_t i = 0; i < nLength; ++i)
        nPacked = nPacked << BYTE_BITS | Byte(pText[i]);
    return nPacked;
}

std::size_t Unpack(std::uint32_t nPacked, char* pTarget) noexcept
{
    std::size_t nLength = 0;
    for (unsigned nShift = 32; nShift > 0; nShift -= BYTE_BITS)
        if (const std::uint32_t nRest = nPacked >> (nShift - BYTE_BITS); nRest != 0)
            pTarget[nLength++] = static_cast<char>(nRest);
    return nLength;
}

/// Start of the last character that begins before pPlace; pPlace lies behind pText.
const char* PreviousStart(TextRules eRules, const char* pText, const char* pPlace) noexcept
{
    const char* pLast = pPlace - 1;
    if (eRules == TextRules::SingleByte)
        return pLast;
    if (eRules == TextRules::Utf8)
        return Utf8Start(pText, pLast);

    // Of two bytes below 0x80 the second always begins a character: a lead byte is not below 0x80, and where such a
    // byte stands inside a character, the next one of this character is not below 0x80.
    const char* pKnown = pLast;
    while (pKnown != pText && !(IsAscii(pKnown[0]) && IsAscii(pKnown[-1])))
        --pKnown;

    const char* pNext = pKnown;
    while (pNext < pPlace)
    {
        pKnown = pNext;
        pNext += CharacterLength(eRules, pNext);
    }
    return pKnown;
}

/// Goes through a text and tells which places begin a character. Places are asked in ascending order.
class CharacterStarts
{
public:
    CharacterStarts(TextRules eRules, const char* pText) noexcept : m_eRules(eRules), m_pText(pText), m_pKnown(pText) {}

    bool IsStart(const char* pPlace) noexcept
    {
        if (m_eRules == TextRules::SingleByte)
            return true;
        if (m_eRules == TextRules::Utf8)
            return Utf8Start(m_pText, pPlace) == pPlace;

        while (m_pKnown < pPlace)
            m_pKnown += CharacterLength(m_eRules, m_pKnown);
        return m_pKnown == pPlace;
    }

private:
    TextRules m_eRules;
    const char* m_pText;
    const char* m_pKnown;
};

/// Finds a text of nLength bytes where it begins and ends with whole characters.
const char* FindWhole(TextRules eRules, const char* pText, const char* pSearched, std::size_t nLength) noexcept
{
    CharacterStarts oStarts(eRules, pText);
    for (const char* p = std::strstr(pText, pSearched); p != nullptr; p = std::strstr(p + 1, pSearched))
    {
        if (!oStarts.IsStart(p))
            continue;
        CharacterStarts oInside(eRules, eRules == TextRules::Utf8 ? pText : p);
        if (oInside.IsStart(p + nLength))
            return p;
    }
    return nullptr;
}

/// A set of characters, given as a text, to be asked often.
class CharacterSet
{
public:
    CharacterSet(TextRules eRules, const char* pSet) noexcept : m_eRules(eRules), m_pSet(pSet)
    {
        for (const char* p = pSet; *p != '\0';)
        {
            const std::size_t nLength = CharacterLength(eRules, p);
            if (nLength == 1)
                m_aSingle.set(Byte(*p));
            else
                m_bHasLonger = true;
            p += nLength;
        }
    }

    bool Holds(char nByte) const noexcept { return m_aSingle.test(Byte(nByte)); }

    bool Holds(const char* pCharacter, std::size_t nLength) const noexcept
    {
        if (nLength == 1)
            return Holds(*pCharacter);
        if (!m_bHasLonger)
            return false;

        std::array<char, LONGEST_CHARACTER + 1> aCharacter{};
        std::copy_n(pCharacter, nLength, aCharacter.begin());
        return FindWhole(m_eRules, m_pSet, aCharacter.data(), nLength) != nullptr;
    }

private:
    TextRules m_eRules;
    const char* m_pSet;
    std::bitset<UCHAR_MAX + 1> m_aSingle;
    bool m_bHasLonger = false;
};

/// Bytes of the whole characters within the first nCount bytes, none of which is the terminator.
std::size_t WholeCharacters(TextRules eRules, const char* pText, std::size_t nCount) noexcept
{
    if (nCount == 0 || eRules == TextRules::SingleByte || (eRules == TextRules::Utf8 && IsAscii(pText[nCount - 1])))
        return nCount;

    if (eRules == TextRules::Utf8)
    {
        std::size_t nStart = nCount - 1;
        while (nStart > 0 && nCount - nStart < LONGEST_CHARACTER && IsUtf8Trail(pText[nStart]))
            --nStart;
        return Utf8Length(pText + nStart, nCount - nStart) == 0 ? nStart : nCount;
    }

    std::size_t nWhole = 0;
    while (nWhole < nCount)
    {
        const std::size_t nLength = CharacterLength(eRules, pText + nWhole, nCount - nWhole);
        if (nLength == 0)
            break;
        nWhole += nLength;
    }
    return nWhole;
}

// -------------------------------------------------------------------------------------------------- case

char AsciiLower(char nByte) noexcept
{
    return nByte >= 'A' && nByte <= 'Z' ? static_cast<char>(nByte + ('a' - 'A')) : nByte;
}

char AsciiUpper(char nByte) noexcept
{
    return nByte >= 'a' && nByte <= 'z' ? static_cast<char>(nByte - ('a' - 'A')) : nByte;
}

struct Lower
{
    static char OfByte(char nByte) noexcept { return static_cast<char>(std::tolower(Byte(nByte))); }

    static char OfAscii(char nByte) noexcept { return AsciiLower(nByte); }

    static char32_t OfUnicode(char32_t nCharacter) noexcept { return SystemText::UnicodeLower(nCharacter); }

    static std::uint32_t OfPacked(std::uint32_t nPacked) noexcept { return SystemText::MultiByteLower(nPacked); }
};

struct Upper
{
    static char OfByte(char nByte) noexcept { return static_cast<char>(std::toupper(Byte(nByte))); }

    static char OfAscii(char nByte) noexcept { return AsciiUpper(nByte); }

    static char32_t OfUnicode(char32_t nCharacter) noexcept { return SystemText::UnicodeUpper(nCharacter); }

    static std::uint32_t OfPacked(std::uint32_t nPacked) noexcept { return SystemText::MultiByteUpper(nPacked); }
};

template <class Case>
char* ChangeCase(char* pText) noexcept
{
    const TextRules eRules = SystemText::CurrentRules();
    if (eRules == TextRules::SingleByte)
    {
        for (char* p = pText; *p != '\0'; ++p)
            *p = Case::OfByte(*p);
        return pText;
    }

    for (char* p = pText; *p != '\0';)
    {
        if (IsAscii(*p))
        {
            *p = Case::OfAscii(*p);
            ++p;
            continue;
        }

        const std::size_t nLength = CharacterLength(eRules, p);
        char aChanged[LONGEST_CHARACTER];
        std::size_t nChanged = 0;
        if (eRules == TextRules::MultiByte)
            nChanged = Unpack(Case::OfPacked(Pack(p, nLength)), aChanged);
        else if (nLength > 1)
            nChanged = EncodeUtf8(Case::OfUnicode(DecodeUtf8(p, nLength)), aChanged);

        if (nChanged == nLength)
            std::memcpy(p, aChanged, nLength);
        p += nLength;
    }
    return pText;
}

/// The number by which a character takes its place when case does not count. Stray bytes come behind all characters.
std::uint32_t FoldedOrder(TextRules eRules, const char* pText, std::size_t nLength) noexcept
{
    constexpr std::uint32_t BEHIND_UNICODE = 0x110000;

    if (eRules == TextRules::Utf8)
    {
        if (IsAscii(*pText))
            return Byte(AsciiLower(*pText));
        return nLength == 1 ? BEHIND_UNICODE + Byte(*pText) : SystemText::UnicodeLower(DecodeUtf8(pText, nLength));
    }

    // Left-aligned, the packed bytes compare as the bytes do.
    const bool bAscii = IsAscii(*pText);
    std::uint32_t nPacked = bAscii ? Byte(AsciiLower(*pText)) : SystemText::MultiByteLower(Pack(pText, nLength));
    while (nPacked != 0 && nPacked >> (32 - BYTE_BITS) == 0)
        nPacked <<= BYTE_BITS;
    return nPacked;
}

int CompareFolded(TextRules eRules, const char* pFirst, const char* pSecond) noexcept
{
    for (;;)
    {
        while (IsAscii(*pFirst) && IsAscii(*pSecond))
        {
            const char nFirst = AsciiLower(*pFirst++);
            const char nSecond = AsciiLower(*pSecond++);
            if (nFirst != nSecond)
                return nFirst < nSecond ? -1 : 1;
            if (nFirst == '\0')
                return 0;
        }
        if (*pFirst == '\0' || *pSecond == '\0')
            return *pFirst == '\0' ? -1 : 1;

        const std::size_t nFirstLength = CharacterLength(eRules, pFirst);
        const std::size_t nSecondLength = CharacterLength(eRules, pSecond);
        const std::uint32_t nFirst = FoldedOrder(eRules, pFirst, nFirstLength);
        const std::uint32_t nSecond = FoldedOrder(eRules, pSecond, nSecondLength);
        if (nFirst != nSecond)
            return nFirst < nSecond ? -1 : 1;

        pFirst += nFirstLength;
        pSecond += nSecondLength;
    }
}

// -------------------------------------------------------------------------------------------------- numbers

struct WholeNumber
{
    std::uint32_t nMagnitude = 0;
    bool bNegative = false;
    bool bTooLarge = false;
};

int DigitValue(char nByte) noexcept
{
    if (nByte >= '0' && nByte <= '9')
        return nByte - '0';
    const char nLetter = AsciiLower(nByte);
    return nLetter >= 'a' && nLetter <= 'z' ? nLetter - 'a' + 10 : INT_MAX;
}

/// Reads a number of 32 bits and its sign.
WholeNumber ReadWholeNumber(const char* pText, char** ppEnd, int nBase) noexcept
{
    constexpr int LARGEST_BASE = 36;

    WholeNumber oResult;
    if (ppEnd != nullptr)
        *ppEnd = Place(pText);
    if (nBase < 0 || nBase == 1 || nBase > LARGEST_BASE)
    {
        errno = EINVAL;
        return oResult;
    }

    const char* p = pText;
    while (std::isspace(Byte(*p)) != 0)
        ++p;
    if (*p == '-' || *p == '+')
        oResult.bNegative = *p++ == '-';

    const bool bHexPrefix = p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && DigitValue(p[2]) < 16;
    if (bHexPrefix && (nBase == 0 || nBase == 16))
    {
        p += 2;
        nBase = 16;
    }
    else if (nBase == 0)
        nBase = *p == '0' ? 8 : 10;

    const char* pDigits = p;
    std::uint64_t nMagnitude = 0;
    for (; DigitValue(*p) < nBase; ++p)
    {
        nMagnitude = nMagnitude * static_cast<unsigned>(nBase) + static_cast<unsigned>(DigitValue(*p));
        oResult.bTooLarge = oResult.bTooLarge || nMagnitude > UINT32_MAX;
        nMagnitude = oResult.bTooLarge ? UINT32_MAX : nMagnitude;
    }
    oResult.nMagnitude = static_cast<std::uint32_t>(nMagnitude);

    if (ppEnd != nullptr && p != pDigits)
        *ppEnd = Place(p);
    return oResult;
}
} // namespace

// -------------------------------------------------------------------------------------------------- copies

int STR_strlen(const char* pText)
{
    return static_cast<int>(std::strlen(pText));
}

char* STR_strcpy(char* pTarget, const char* pSource)
{
    return std::strcpy(pTarget, pSource);
}

char* STR_strncpy(char* pTarget, const char* pSource, unsigned nCount)
{
    std::size_t nLength = LimitedLength(pSource, nCount);
    if (nLength == nCount)
        nLength = WholeCharacters(SystemText::CurrentRules(), pSource, nLength);

    std::copy_n(pSource, nLength, pTarget);
    std::fill_n(pTarget + nLength, nCount - nLength, '\0');
    return pTarget;
}

char* STR_strcat(char* pTarget, const char* pSource)
{
    return std::strcat(pTarget, pSource);
}

char* STR_strncat(char* pTarget, const char* pSource, unsigned nCount)
{
    std::size_t nLength = LimitedLength(pSource, nCount);
    if (nLength == nCount)
        nLength = WholeCharacters(SystemText::CurrentRules(), pSource, nLength);

    char* pEnd = pTarget + std::strlen(pTarget);
    std::copy_n(pSource, nLength, pEnd);
    pEnd[nLength] = '\0';
    return pTarget;
}

// -------------------------------------------------------------------------------------------------- comparisons

int STR_strcmp(const char* pFirst, const char* pSecond)
{
    return Sign(std::strcmp(OrEmpty(pFirst), OrEmpty(pSecond)));
}

int STR_stricmp(const char* pFirst, const char* pSecond)
{
    const TextRules eRules = SystemText::CurrentRules();
    if (eRules == TextRules::SingleByte)
        return Sign(SystemText::CompareBytesIgnoringCase(OrEmpty(pFirst), OrEmpty(pSecond)));
    return CompareFolded(eRules, OrEmpty(pFirst), OrEmpty(pSecond));
}

int STR_strcoll(const char* pFirst, const char* pSecond)
{
    return Sign(SystemText::Collate(OrEmpty(pFirst), OrEmpty(pSecond)));
}

int STR_stricoll(const char* pFirst, const char* pSecond)
{
    pFirst = OrEmpty(pFirst);
    pSecond = OrEmpty(pSecond);

    const std::size_t nFirst = std::strlen(pFirst) + 1;
    const std::size_t nSecond = std::strlen(pSecond) + 1;
    const std::unique_ptr<char[]> pLowered(new (std::nothrow) char[nFirst + nSecond]);
    if (!pLowered)
        return STR_stricmp(pFirst, pSecond);

    std::memcpy(pLowered.get(), pFirst, nFirst);
    std::memcpy(pLowered.get() + nFirst, pSecond, nSecond);
    return STR_strcoll(STR_strlwr(pLowered.get()), STR_strlwr(pLowered.get() + nFirst));
}

// -------------------------------------------------------------------------------------------------- changes in place

char* STR_strlwr(char* pText)
{
    return ChangeCase<Lower>(pText);
}

char* STR_strupr(char* pText)
{
    return ChangeCase<Upper>(pText);
}

char* STR_strrev(char* pText)
{
    const TextRules eRules = SystemText::CurrentRules();
    char* pEnd = pText;

    // The bytes of each character are turned first, so that turning the whole text puts them right again.
    while (*pEnd != '\0')
    {
        const std::size_t nLength = CharacterLength(eRules, pEnd);
        std::reverse(pEnd, pEnd + nLength);
        pEnd += nLength;
    }
    std::reverse(pText, pEnd);
    return pText;
}

// -------------------------------------------------------------------------------------------------- searches

namespace
{
/// A packed character as a text; of length 0 when the number is no character under these rules.
struct SearchedCharacter
{
    SearchedCharacter(TextRules eRules, unsigned nCharacter) noexcept : nLength(Unpack(nCharacter, aBytes.data()))
    {
        if (CharacterLength(eRules, aBytes.data()) != nLength)
            nLength = 0;
    }

    std::array<char, LONGEST_CHARACTER + 1> aBytes{};
    std::size_t nLength;
};

/// Tells whether a byte with this value is this character wherever it stands.
bool IsAloneEverywhere(TextRules eRules, unsigned nCharacter) noexcept
{
    return eRules == TextRules::SingleByte || nCharacter == 0 ||
           (eRules == TextRules::Utf8 && nCharacter < FIRST_BEYOND_ASCII);
}
} // namespace

char* STR_strchr(const char* pText, unsigned nCharacter)
{
    const TextRules eRules = SystemText::CurrentRules();
    if (IsAloneEverywhere(eRules, nCharacter))
        return Place(std::strchr(pText, static_cast<int>(nCharacter)));

    const SearchedCharacter oSearched(eRules, nCharacter);
    return oSearched.nLength != 0 ? Place(FindWhole(eRules, pText, oSearched.aBytes.data(), oSearched.nLength))
                                  : nullptr;
}

char* STR_strrchr(const char* pText, unsigned nCharacter)
{
    const TextRules eRules = SystemText::CurrentRules();
    if (IsAloneEverywhere(eRules, nCharacter))
        return Place(std::strrchr(pText, static_cast<int>(nCharacter)));

    const SearchedCharacter oSearched(eRules, nCharacter);
    if (oSearched.nLength == 0)
        return nullptr;

    const char* pLast = nullptr;
    for (const char* p = pText; p != nullptr;)
    {
        p = FindWhole(eRules, p, oSearched.aBytes.data(), oSearched.nLength);
        if (p != nullptr)
        {
            pLast = p;
            p += oSearched.nLength;
        }
    }
    return Place(pLast);
}

char* STR_strstr(const char* pText, const char* pSearched)
{
    const TextRules eRules = SystemText::CurrentRules();
    if (eRules == TextRules::SingleByte)
        return Place(std::strstr(pText, pSearched));
    return Place(FindWhole(eRules, pText, pSearched, std::strlen(pSearched)));
}

char* STR_strpbrk(const char* pText, const char* pSet)
{
    const TextRules eRules = SystemText::CurrentRules();
    if (eRules == TextRules::SingleByte)
        return Place(std::strpbrk(pText, pSet));

    const CharacterSet oSet(eRules, pSet);
    for (const char* p = pText; *p != '\0';)
    {
        const std::size_t nLength = CharacterLength(eRules, p);
        if (oSet.Holds(p, nLength))
            return Place(p);
        p += nLength;
    }
    return nullptr;
}

char* STR_strrpbrk(const char* pText, const char* pSet)
{
    if (pText == nullptr || *pText == '\0')
        return nullptr;

    const TextRules eRules = SystemText::CurrentRules();
    const CharacterSet oSet(eRules, pSet);
    const char* pLast = pText + std::strlen(pText) - 1;

    // Beyond ASCII a sign-extended byte is a character only where every character is a byte.
    const auto Holds = [&oSet, eRules](const char* p)
    { return oSet.Holds(*p) && (eRules == TextRules::SingleByte || IsAscii(*p)); };

    // Bytes below 0x80 stand alone in UTF-8 as well, and the others are never found: no need to look for characters.
    if (eRules != TextRules::MultiByte)
    {
        for (const char* p = pLast; p != pText; --p)
            if (Holds(p))
                return Place(p);
        return nullptr;
    }

    if (pLast == pText)
        return nullptr;
    if (Holds(pLast))
        return Place(pLast);

    const char* pFound = nullptr;
    for (const char* p = pText + CharacterLength(eRules, pText); p < pLast; p += CharacterLength(eRules, p))
        if (Holds(p))
            pFound = p;
    return Place(pFound);
}

// -------------------------------------------------------------------------------------------------- steps and tokens

char* STR_strinc(const char* pCurrent)
{
    return Place(pCurrent + CharacterLength(SystemText::CurrentRules(), pCurrent));
}

char* STR_strdec(const char* pStart, const char* pCurrent)
{
    if (pCurrent <= pStart)
        return nullptr;
    return Place(PreviousStart(SystemText::CurrentRules(), pStart, pCurrent));
}

char* STR_strtok(char* pText, const char* pDelimiters)
{
    static thread_local char* s_pNext = nullptr;

    char* p = pText != nullptr ? pText : s_pNext;
    s_pNext = nullptr;
    if (p == nullptr)
        return nullptr;

    const TextRules eRules = SystemText::CurrentRules();
    const CharacterSet oDelimiters(eRules, pDelimiters);
    while (*p != '\0')
    {
        const std::size_t nLength = CharacterLength(eRules, p);
        if (!oDelimiters.Holds(p, nLength))
            break;
        p += nLength;
    }
    if (*p == '\0')
        return nullptr;

    char* pToken = p;
    while (*p != '\0')
    {
        const std::size_t nLength = CharacterLength(eRules, p);
        if (oDelimiters.Holds(p, nLength))
        {
            std::memset(p, 0, nLength);
            s_pNext = p + nLength;
            break;
        }
        p += nLength;
    }
    return pToken;
}

// -------------------------------------------------------------------------------------------------- numbers

long STR_strtol(const char* pText, char** ppEnd, int nBase)
{
    constexpr std::uint32_t HIGHEST = INT32_MAX;

    const WholeNumber oNumber = ReadWholeNumber(pText, ppEnd, nBase);
    const std::uint32_t nLimit = oNumber.bNegative ? HIGHEST + 1 : HIGHEST;
    if (oNumber.bTooLarge || oNumber.nMagnitude > nLimit)
    {
        errno = ERANGE;
        return oNumber.bNegative ? INT32_MIN : INT32_MAX;
    }
    return static_cast<std::int32_t>(oNumber.bNegative ? 0 - oNumber.nMagnitude : oNumber.nMagnitude);
}

unsigned long STR_strtoul(const char* pText, char** ppEnd, int nBase)
{
    const WholeNumber oNumber = ReadWholeNumber(pText, ppEnd, nBase);
    if (oNumber.bTooLarge)
    {
        errno = ERANGE;
        return UINT32_MAX;
    }
    return oNumber.bNegative ? 0 - oNumber.nMagnitude : oNumber.nMagnitude;
}

double STR_strtod(const char* pText, char** ppEnd)
{
    return SystemText::ToDouble(pText, ppEnd);
}

int STR_isspace(unsigned nCharacter)
{
    const bool bSignExtended = nCharacter >= FIRST_SIGN_EXTENDED_BYTE;
    const unsigned nPlain = bSignExtended ? nCharacter & HIGHEST_BYTE : nCharacter;

    const TextRules eRules = SystemText::CurrentRules();
    if (nPlain < FIRST_BEYOND_ASCII || (nPlain <= HIGHEST_BYTE && eRules == TextRules::SingleByte))
        return std::isspace(static_cast<int>(nPlain)) != 0 ? 1 : 0;
    if (nPlain <= HIGHEST_BYTE || eRules == TextRules::SingleByte)
        return 0;

    const SearchedCharacter oCharacter(eRules, nPlain);
    if (oCharacter.nLength == 0)
        return 0;
    return eRules == TextRules::Utf8
               ? SystemText::IsUnicodeSpace(DecodeUtf8(oCharacter.aBytes.data(), oCharacter.nLength))
               : SystemText::IsMultiByteSpace(nPlain);
}

// -------------------------------------------------------------------------------------------------- formatting

int STR_sprintf(char* pTarget, const char* pFormat, ...)
{
    va_list pArguments;
    va_start(pArguments, pFormat);
    const int nResult = STR_vsprintf(pTarget, pFormat, pArguments);
    va_end(pArguments);
    return nResult;
}

int STR_vsprintf(char* pTarget, const char* pFormat, va_list pArguments)
{
    return std::vsprintf(pTarget, pFormat, pArguments);
}

int STR_snprintf(char* pTarget, unsigned nSize, const char* pFormat, ...)
{
    va_list pArguments;
    va_start(pArguments, pFormat);
    const int nResult = STR_vsnprintf(pTarget, nSize, pFormat, pArguments);
    va_end(pArguments);
    return nResult;
}

namespace
{
/// The last of nSize bytes of a text that has at least as many. The runtime library writes its terminator there, so
/// the text is made once more with room for one byte more; without memory for it the terminator stays.
char LastByte(unsigned nSize, const char* pFormat, va_list pArguments) noexcept COMMON_PRINTF_FORMAT(2, 0);

char LastByte(unsigned nSize, const char* pFormat, va_list pArguments) noexcept
{
    std::array<char, 1280> aShort;
    const std::size_t nRoom = std::size_t{nSize} + 1;
    const std::unique_ptr<char[]> pLong(nRoom > aShort.size() ? new (std::nothrow) char[nRoom] : nullptr);
    if (nRoom > aShort.size() && !pLong)
        return '\0';

    char* pText = pLong ? pLong.get() : aShort.data();
    return std::vsnprintf(pText, nRoom, pFormat, pArguments) >= 0 ? pText[nSize - 1] : '\0';
}
} // namespace

int STR_vsnprintf(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments)
{
    va_list pAgain;
    va_copy(pAgain, pArguments);

    const unsigned nUsable = std::min<unsigned>(nSize, INT_MAX);
    const int nLength = std::vsnprintf(pTarget, nUsable, pFormat, pArguments);
    if (nLength < 0 && nSize != 0)
        *pTarget = '\0';

    const bool bFull = nLength >= 0 && static_cast<unsigned>(nLength) >= nSize;
    if (bFull && nSize != 0)
        pTarget[nSize - 1] = LastByte(nSize, pFormat, pAgain);
    va_end(pAgain);

    return bFull && static_cast<unsigned>(nLength) > nSize ? -1 : nLength;
}
