#include <Common/Platform/PlatformString.h>

#include <Common/Platform/System/SystemText.h>

#include <algorithm>
#include <array>
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

/// Tells of a byte in a text whether it is a character below 0x80, in one look that serves all rules: the byte before
/// such a one, if it is below 0x80 as well, cannot be the beginning of a character that goes on. False means only that
/// the rules have to be asked.
bool IsPlainCharacter(const char* pText, const char* pPlace) noexcept
{
    return IsAscii(*pPlace) && (pPlace == pText || IsAscii(pPlace[-1]));
}

/// The interface takes constant texts and gives out changeable places in them, as the runtime library does.
char* Place(const char* pPlace) noexcept
{
    return const_cast<char*>(pPlace);
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

// What plain text does not need is kept out of the functions that it goes through.

/// Finds a text of nLength bytes where it begins and ends with whole characters.
///
/// @param pFirst  the first place where its bytes stand, or null
[[gnu::noinline]] const char* FindWhole(TextRules eRules, const char* pText, const char* pFirst, const char* pSearched,
                                        std::size_t nLength) noexcept
{
    CharacterStarts oStarts(eRules, pText);
    for (const char* p = pFirst; p != nullptr; p = std::strstr(p + 1, pSearched))
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
                m_aSingle[Byte(*p)] = true;
            else
                m_bHasLonger = true;
            m_bHasOthers = m_bHasOthers || !IsAscii(*p);
            p += nLength;
        }
    }

    bool Holds(char nByte) const noexcept { return m_aSingle[Byte(nByte)]; }

    /// The first character that is, or is not, in the set; else the terminator.
    const char* Find(const char* pText, bool bInSet) const noexcept
    {
        if (CanGoByBytes())
        {
            while (*pText != '\0' && Holds(*pText) != bInSet)
                ++pText;
            return pText;
        }

        while (*pText != '\0')
        {
            const std::size_t nLength = CharacterLength(m_eRules, pText);
            if (Holds(pText, nLength) == bInSet)
                break;
            pText += nLength;
        }
        return pText;
    }

private:
    /// Every byte can be looked at alone: also in UTF-8, where no byte of a longer character is below 0x80. A text of
    /// longer characters has a byte that is not in the set where it has a character that is not.
    bool CanGoByBytes() const noexcept
    {
        return m_eRules == TextRules::SingleByte || (m_eRules == TextRules::Utf8 && !m_bHasOthers);
    }

    bool Holds(const char* pCharacter, std::size_t nLength) const noexcept
    {
        if (nLength == 1)
            return Holds(*pCharacter);
        if (!m_bHasLonger)
            return false;

        std::array<char, LONGEST_CHARACTER + 1> aCharacter{};
        std::copy_n(pCharacter, nLength, aCharacter.begin());
        const char* pFirst = std::strstr(m_pSet, aCharacter.data());
        return FindWhole(m_eRules, m_pSet, pFirst, aCharacter.data(), nLength) != nullptr;
    }

    TextRules m_eRules;
    const char* m_pSet;
    std::array<bool, UCHAR_MAX + 1> m_aSingle{};
    bool m_bHasLonger = false;
    bool m_bHasOthers = false; // than characters below 0x80
};

/// Bytes of the whole characters within the first nCount bytes, at least one and none of which is the terminator.
[[gnu::noinline]] std::size_t WholeCharacters(const char* pText, std::size_t nCount) noexcept
{
    const TextRules eRules = SystemText::CurrentRules();
    if (eRules == TextRules::SingleByte)
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

/// Bytes of a text that a copy with a limit takes: whole characters only.
std::size_t CopiedLength(const char* pText, std::size_t nLimit) noexcept
{
    if (nLimit == 0)
        return 0;
    if (const void* pEnd = std::memchr(pText, '\0', nLimit); pEnd != nullptr)
        return static_cast<std::size_t>(static_cast<const char*>(pEnd) - pText);
    return IsPlainCharacter(pText, pText + nLimit - 1) ? nLimit : WholeCharacters(pText, nLimit);
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
    static char OfByte(char nByte) noexcept { return SystemText::ByteLower(nByte); }

    static char OfAscii(char nByte) noexcept { return AsciiLower(nByte); }

    static char32_t OfUnicode(char32_t nCharacter) noexcept { return SystemText::UnicodeLower(nCharacter); }

    static std::uint32_t OfPacked(std::uint32_t nPacked) noexcept { return SystemText::MultiByteLower(nPacked); }
};

struct Upper
{
    static char OfByte(char nByte) noexcept { return SystemText::ByteUpper(nByte); }

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

/// Eight bytes below 0x80, with the letters A to Z turned into lower case, all at once: in each byte the highest bit
/// tells first what is not below 'A' and not above 'Z', then moves to where the cases differ.
std::uint64_t LowerPlainWord(std::uint64_t nWord) noexcept
{
    constexpr std::uint64_t EACH_BYTE = 0x0101010101010101;
    constexpr unsigned SHIFT_TO_CASE_BIT = 2;

    const std::uint64_t nFromA = nWord + EACH_BYTE * (FIRST_BEYOND_ASCII - 'A');
    const std::uint64_t nBeyondZ = nWord + EACH_BYTE * (FIRST_BEYOND_ASCII - 'Z' - 1);
    return nWord | ((nFromA & ~nBeyondZ & EACH_BYTE * FIRST_BEYOND_ASCII) >> SHIFT_TO_CASE_BIT);
}

/// Length of the common beginning of two texts, as far as it is quickly seen: whole words of bytes below 0x80.
std::size_t CommonPlainWords(const char* pFirst, const char* pSecond) noexcept
{
    constexpr std::uint64_t BEYOND_ASCII = 0x8080808080808080;

    const std::size_t nLength = std::min(std::strlen(pFirst), std::strlen(pSecond));
    std::size_t nCommon = 0;
    for (std::uint64_t nFirst, nSecond; nLength - nCommon >= sizeof(nFirst); nCommon += sizeof(nFirst))
    {
        std::memcpy(&nFirst, pFirst + nCommon, sizeof(nFirst));
        std::memcpy(&nSecond, pSecond + nCommon, sizeof(nSecond));
        if (((nFirst | nSecond) & BEYOND_ASCII) != 0 || LowerPlainWord(nFirst) != LowerPlainWord(nSecond))
            break;
    }
    return nCommon;
}

[[gnu::noinline]] int CompareFolded(TextRules eRules, const char* pFirst, const char* pSecond) noexcept
{
    const std::size_t nCommon = CommonPlainWords(pFirst, pSecond);
    pFirst += nCommon;
    pSecond += nCommon;

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
    const std::size_t nLength = CopiedLength(pSource, nCount);
    std::memcpy(pTarget, pSource, nLength);
    if (nLength != nCount)
        std::memset(pTarget + nLength, '\0', nCount - nLength);
    return pTarget;
}

char* STR_strcat(char* pTarget, const char* pSource)
{
    return std::strcat(pTarget, pSource);
}

char* STR_strncat(char* pTarget, const char* pSource, unsigned nCount)
{
    const std::size_t nLength = CopiedLength(pSource, nCount);
    char* pEnd = pTarget + std::strlen(pTarget);
    std::memcpy(pEnd, pSource, nLength);
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
    pFirst = OrEmpty(pFirst);
    pSecond = OrEmpty(pSecond);

    // In UTF-8, texts are equal when their bytes are, plain letters aside; only the order of others takes a closer
    // look.
    const TextRules eRules = SystemText::CurrentRules();
    if (eRules != TextRules::MultiByte)
    {
        const int nOrder = SystemText::CompareBytesIgnoringCase(pFirst, pSecond);
        if (nOrder == 0 || eRules == TextRules::SingleByte)
            return Sign(nOrder);
    }
    return CompareFolded(eRules, pFirst, pSecond);
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

    // The bytes of each character are turned first, so that turning the whole text puts them right again.
    if (eRules != TextRules::SingleByte)
        for (char* p = pText; *p != '\0';)
        {
            const std::size_t nLength = CharacterLength(eRules, p);
            if (nLength != 1)
                std::reverse(p, p + nLength);
            p += nLength;
        }

    std::reverse(pText, pText + std::strlen(pText));
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

[[gnu::noinline]] const char* FindCharacter(TextRules eRules, const char* pText,
                                            const SearchedCharacter& oSearched) noexcept
{
    if (oSearched.nLength == 0)
        return nullptr;
    const char* pSearched = oSearched.aBytes.data();
    return FindWhole(eRules, pText, std::strstr(pText, pSearched), pSearched, oSearched.nLength);
}
} // namespace

// The searches look for bytes first. Where these are not found, and where a plain character is, the answer is the same
// by all rules, so that most calls need not ask for them.

char* STR_strchr(const char* pText, unsigned nCharacter)
{
    if (nCharacter < FIRST_BEYOND_ASCII)
    {
        const char* pFound = std::strchr(pText, static_cast<int>(nCharacter));
        if (pFound == nullptr || IsPlainCharacter(pText, pFound))
            return Place(pFound);
    }

    const TextRules eRules = SystemText::CurrentRules();
    if (IsAloneEverywhere(eRules, nCharacter))
        return Place(std::strchr(pText, static_cast<int>(nCharacter)));
    return Place(FindCharacter(eRules, pText, SearchedCharacter(eRules, nCharacter)));
}

char* STR_strrchr(const char* pText, unsigned nCharacter)
{
    if (nCharacter < FIRST_BEYOND_ASCII)
    {
        const char* pFound = std::strrchr(pText, static_cast<int>(nCharacter));
        if (pFound == nullptr || IsPlainCharacter(pText, pFound))
            return Place(pFound);
    }

    const TextRules eRules = SystemText::CurrentRules();
    if (IsAloneEverywhere(eRules, nCharacter))
        return Place(std::strrchr(pText, static_cast<int>(nCharacter)));

    const SearchedCharacter oSearched(eRules, nCharacter);
    const char* pLast = nullptr;
    for (const char* p = FindCharacter(eRules, pText, oSearched); p != nullptr;
         p = FindCharacter(eRules, p + oSearched.nLength, oSearched))
        pLast = p;
    return Place(pLast);
}

char* STR_strstr(const char* pText, const char* pSearched)
{
    const char* pFound = std::strstr(pText, pSearched);
    if (pFound == nullptr)
        return nullptr;

    const TextRules eRules = SystemText::CurrentRules();
    if (eRules == TextRules::SingleByte)
        return Place(pFound);
    return Place(FindWhole(eRules, pText, pFound, pSearched, std::strlen(pSearched)));
}

char* STR_strpbrk(const char* pText, const char* pSet)
{
    const char* pFound = std::strpbrk(pText, pSet);
    if (pFound == nullptr)
        return nullptr;

    const TextRules eRules = SystemText::CurrentRules();
    if (IsAloneEverywhere(eRules, Byte(*pFound)))
        return Place(pFound);

    pFound = CharacterSet(eRules, pSet).Find(pText, true);
    return *pFound != '\0' ? Place(pFound) : nullptr;
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

    char* pToken = Place(oDelimiters.Find(p, false));
    if (*pToken == '\0')
        return nullptr;

    char* pEnd = Place(oDelimiters.Find(pToken, true));
    if (*pEnd != '\0')
    {
        const std::size_t nLength = CharacterLength(eRules, pEnd);
        std::memset(pEnd, 0, nLength);
        s_pNext = pEnd + nLength;
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
// The runtime library always writes a terminator, so that a text is made with room for one byte more than it gets.

/// Longer than any buffer that texts are usually formatted into.
constexpr unsigned SHORT_SIZE = 1280;

int FormatShort(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments) COMMON_PRINTF_FORMAT(3, 0);

/// Formats aside and copies, with the terminator if there is room for it.
int FormatShort(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments)
{
    std::array<char, SHORT_SIZE> aText;
    const int nLength = std::vsnprintf(aText.data(), nSize + 1, pFormat, pArguments);
    if (nLength >= 0 && nSize != 0)
        std::memcpy(pTarget, aText.data(), std::min(static_cast<unsigned>(nLength) + 1, nSize));
    return nLength;
}

int FormatLong(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments) COMMON_PRINTF_FORMAT(3, 0);

/// Formats in place. Only where the text is too long it is made again, aside, for its one byte that is missing; when
/// there is no memory for that, the terminator stays.
int FormatLong(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments)
{
    va_list pAgain;
    va_copy(pAgain, pArguments);

    const int nLength = std::vsnprintf(pTarget, std::min<unsigned>(nSize, INT_MAX), pFormat, pArguments);
    if (nLength >= 0 && static_cast<unsigned>(nLength) >= nSize)
    {
        const std::unique_ptr<char[]> pText(new (std::nothrow) char[std::size_t{nSize} + 1]);
        if (pText && std::vsnprintf(pText.get(), std::size_t{nSize} + 1, pFormat, pAgain) >= 0)
            pTarget[nSize - 1] = pText[nSize - 1];
    }

    va_end(pAgain);
    return nLength;
}
} // namespace

int STR_vsnprintf(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments)
{
    const int nLength = nSize < SHORT_SIZE ? FormatShort(pTarget, nSize, pFormat, pArguments)
                                           : FormatLong(pTarget, nSize, pFormat, pArguments);
    if (nLength < 0 && nSize != 0)
        *pTarget = '\0';
    return nLength >= 0 && static_cast<unsigned>(nLength) > nSize ? -1 : nLength;
}
