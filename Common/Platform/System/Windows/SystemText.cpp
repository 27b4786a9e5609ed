#include <Common/Platform/System/SystemText.h>

#include <atomic>
#include <cctype>
#include <cstring>
#include <cwctype>

#include <locale.h>
#include <mbctype.h>
#include <mbstring.h>
#include <stdlib.h>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace
{
constexpr int CODE_PAGE_UTF8 = 65001;
constexpr char32_t LAST_OF_ONE_UNIT = 0xFFFF;

const unsigned char* Bytes(const char* pText) noexcept
{
    return reinterpret_cast<const unsigned char*>(pText);
}

// Not every runtime library keeps its "C" locale to the plain letters, so that this is seen to here.

bool IsPlainLocale() noexcept
{
    return ::___lc_codepage_func() == 0;
}

char PlainLower(char nByte) noexcept
{
    return nByte >= 'A' && nByte <= 'Z' ? static_cast<char>(nByte + ('a' - 'A')) : nByte;
}

char PlainUpper(char nByte) noexcept
{
    return nByte >= 'a' && nByte <= 'z' ? static_cast<char>(nByte - ('a' - 'A')) : nByte;
}

bool HasLeadBytes() noexcept
{
    for (unsigned nByte = 0x80; nByte <= 0xFF; ++nByte)
        if (::_ismbblead(nByte) != 0)
            return true;
    return false;
}

char32_t ChangeUnicode(char32_t nCharacter, DWORD nChange) noexcept
{
    wchar_t aUnits[2] = {static_cast<wchar_t>(nCharacter), L'\0'};
    const bool bPair = nCharacter > LAST_OF_ONE_UNIT;
    if (bPair)
    {
        aUnits[0] = static_cast<wchar_t>(0xD7C0 + (nCharacter >> 10));
        aUnits[1] = static_cast<wchar_t>(0xDC00 + (nCharacter & 0x3FF));
    }

    wchar_t aChanged[2] = {};
    const int nUnits = bPair ? 2 : 1;
    if (::LCMapStringW(LOCALE_INVARIANT, nChange | LCMAP_LINGUISTIC_CASING, aUnits, nUnits, aChanged, nUnits) != nUnits)
        return nCharacter;
    return bPair ? ((static_cast<char32_t>(aChanged[0]) - 0xD7C0) << 10) + (static_cast<char32_t>(aChanged[1]) & 0x3FF)
                 : static_cast<char32_t>(aChanged[0]);
}
} // namespace

TextRules SystemText::CurrentRules() noexcept
{
    // Some runtime libraries name code pages without lead bytes as well. The answer is kept for the last code page, as
    // the page itself, negative where a character has one byte.
    static std::atomic<int> s_nLast{0};

    const int nCodePage = ::_getmbcp();
    if (nCodePage == 0)
        return TextRules::SingleByte;
    if (nCodePage == CODE_PAGE_UTF8)
        return TextRules::Utf8;

    int nLast = s_nLast.load(std::memory_order_relaxed);
    if (nLast != nCodePage && nLast != -nCodePage)
    {
        nLast = HasLeadBytes() ? nCodePage : -nCodePage;
        s_nLast.store(nLast, std::memory_order_relaxed);
    }
    return nLast > 0 ? TextRules::MultiByte : TextRules::SingleByte;
}

char SystemText::ByteLower(char nByte) noexcept
{
    return IsPlainLocale() ? PlainLower(nByte) : static_cast<char>(std::tolower(static_cast<unsigned char>(nByte)));
}

char SystemText::ByteUpper(char nByte) noexcept
{
    return IsPlainLocale() ? PlainUpper(nByte) : static_cast<char>(std::toupper(static_cast<unsigned char>(nByte)));
}

std::size_t SystemText::MultiByteLength(const char* pText, std::size_t nAvailable) noexcept
{
    if (::_ismbblead(static_cast<unsigned char>(pText[0])) == 0)
        return 1;
    if (nAvailable < 2)
        return 0;
    return pText[1] != '\0' ? 2 : 1;
}

std::uint32_t SystemText::MultiByteLower(std::uint32_t nPacked) noexcept
{
    return ::_mbctolower(nPacked);
}

std::uint32_t SystemText::MultiByteUpper(std::uint32_t nPacked) noexcept
{
    return ::_mbctoupper(nPacked);
}

bool SystemText::IsMultiByteSpace(std::uint32_t nPacked) noexcept
{
    return ::_ismbcspace(nPacked) != 0;
}

char32_t SystemText::UnicodeLower(char32_t nCharacter) noexcept
{
    return ChangeUnicode(nCharacter, LCMAP_LOWERCASE);
}

char32_t SystemText::UnicodeUpper(char32_t nCharacter) noexcept
{
    return ChangeUnicode(nCharacter, LCMAP_UPPERCASE);
}

bool SystemText::IsUnicodeSpace(char32_t nCharacter) noexcept
{
    return nCharacter <= LAST_OF_ONE_UNIT && std::iswspace(static_cast<std::wint_t>(nCharacter)) != 0;
}

int SystemText::CompareBytesIgnoringCase(const char* pFirst, const char* pSecond) noexcept
{
    if (!IsPlainLocale())
        return ::_stricmp(pFirst, pSecond);

    while (*pFirst != '\0' && PlainLower(*pFirst) == PlainLower(*pSecond))
    {
        ++pFirst;
        ++pSecond;
    }
    return static_cast<unsigned char>(PlainLower(*pFirst)) - static_cast<unsigned char>(PlainLower(*pSecond));
}

int SystemText::Collate(const char* pFirst, const char* pSecond) noexcept
{
    return ::_mbscoll(Bytes(pFirst), Bytes(pSecond));
}

// The older runtime library's own function knows neither hexadecimal numbers nor infinities: this is the compiler's.
double SystemText::ToDouble(const char* pText, char** ppEnd) noexcept
{
    return __mingw_strtod(pText, ppEnd);
}
