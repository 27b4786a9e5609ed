#include <Common/Platform/System/SystemText.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include <langinfo.h>
#include <strings.h>

namespace
{
constexpr std::size_t INVALID_SEQUENCE = static_cast<std::size_t>(-1);
constexpr std::size_t INCOMPLETE_SEQUENCE = static_cast<std::size_t>(-2);
constexpr std::size_t LONGEST_PACKED = 4;

struct PackedBytes
{
    char aBytes[LONGEST_PACKED];
    std::size_t nLength;
};

PackedBytes Unpack(std::uint32_t nPacked) noexcept
{
    PackedBytes oResult{};
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        if (nPacked >> nShift != 0)
            oResult.aBytes[oResult.nLength++] = static_cast<char>(nPacked >> nShift);
    return oResult;
}

/// The wide character of a packed one; false when it is none.
bool Widen(std::uint32_t nPacked, wchar_t& nWide) noexcept
{
    const PackedBytes oBytes = Unpack(nPacked);
    std::mbstate_t oState{};
    return std::mbrtowc(&nWide, oBytes.aBytes, oBytes.nLength, &oState) == oBytes.nLength;
}

std::uint32_t Narrow(wchar_t nWide, std::uint32_t nOtherwise) noexcept
{
    char aBytes[MB_LEN_MAX];
    std::mbstate_t oState{};
    const std::size_t nLength = std::wcrtomb(aBytes, nWide, &oState);
    if (nLength == INVALID_SEQUENCE || nLength > LONGEST_PACKED)
        return nOtherwise;

    std::uint32_t nPacked = 0;
    for (std::size_t i = 0; i < nLength; ++i)
        nPacked = nPacked << 8 | static_cast<unsigned char>(aBytes[i]);
    return nPacked;
}
} // namespace

TextRules SystemText::CurrentRules() noexcept
{
    if (MB_CUR_MAX == 1)
        return TextRules::SingleByte;

    // "UTF-8" is the only name of an encoding that begins like this and can be a locale's.
    const char* pEncoding = ::nl_langinfo(CODESET);
    const bool bUtf = pEncoding[0] == 'U' && pEncoding[1] == 'T' && pEncoding[2] == 'F';
    return bUtf ? TextRules::Utf8 : TextRules::MultiByte;
}

char SystemText::ByteLower(char nByte) noexcept
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(nByte)));
}

char SystemText::ByteUpper(char nByte) noexcept
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(nByte)));
}

std::size_t SystemText::MultiByteLength(const char* pText, std::size_t nAvailable) noexcept
{
    const std::size_t nLongest = MB_CUR_MAX;
    const std::size_t nLength = ::strnlen(pText, nAvailable < nLongest ? nAvailable : nLongest);

    std::mbstate_t oState{};
    const std::size_t nResult = std::mbrlen(pText, nLength, &oState);
    if (nResult == INCOMPLETE_SEQUENCE)
        return nLength == nAvailable ? 0 : 1;
    return nResult == INVALID_SEQUENCE || nResult > LONGEST_PACKED ? 1 : nResult;
}

std::uint32_t SystemText::MultiByteLower(std::uint32_t nPacked) noexcept
{
    wchar_t nWide = 0;
    return Widen(nPacked, nWide) ? Narrow(static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(nWide))), nPacked)
                                 : nPacked;
}

std::uint32_t SystemText::MultiByteUpper(std::uint32_t nPacked) noexcept
{
    wchar_t nWide = 0;
    return Widen(nPacked, nWide) ? Narrow(static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(nWide))), nPacked)
                                 : nPacked;
}

bool SystemText::IsMultiByteSpace(std::uint32_t nPacked) noexcept
{
    wchar_t nWide = 0;
    return Widen(nPacked, nWide) && std::iswspace(static_cast<std::wint_t>(nWide)) != 0;
}

char32_t SystemText::UnicodeLower(char32_t nCharacter) noexcept
{
    return static_cast<char32_t>(std::towlower(nCharacter));
}

char32_t SystemText::UnicodeUpper(char32_t nCharacter) noexcept
{
    return static_cast<char32_t>(std::towupper(nCharacter));
}

bool SystemText::IsUnicodeSpace(char32_t nCharacter) noexcept
{
    return std::iswspace(nCharacter) != 0;
}

int SystemText::CompareBytesIgnoringCase(const char* pFirst, const char* pSecond) noexcept
{
    return ::strcasecmp(pFirst, pSecond);
}

int SystemText::Collate(const char* pFirst, const char* pSecond) noexcept
{
    return std::strcoll(pFirst, pSecond);
}

double SystemText::ToDouble(const char* pText, char** ppEnd) noexcept
{
    return std::strtod(pText, ppEnd);
}
