#include <Common/Platform/System/SystemText.h>

#include <cctype>
#include <cstring>
#include <cwctype>

#include <mbctype.h>
#include <mbstring.h>
#include <stdlib.h>

namespace
{
constexpr int CODE_PAGE_UTF8 = 65001;
constexpr char32_t LAST_WIDE = 0xFFFF;

const unsigned char* Bytes(const char* pText) noexcept
{
    return reinterpret_cast<const unsigned char*>(pText);
}
} // namespace

TextRules SystemText::CurrentRules() noexcept
{
    const int nCodePage = ::_getmbcp();
    if (nCodePage == 0)
        return TextRules::SingleByte;
    return nCodePage == CODE_PAGE_UTF8 ? TextRules::Utf8 : TextRules::MultiByte;
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

// The system's wide characters end at 0xFFFF; what lies above has no other case here.

char32_t SystemText::UnicodeLower(char32_t nCharacter) noexcept
{
    return nCharacter <= LAST_WIDE ? static_cast<char32_t>(std::towlower(static_cast<std::wint_t>(nCharacter)))
                                   : nCharacter;
}

char32_t SystemText::UnicodeUpper(char32_t nCharacter) noexcept
{
    return nCharacter <= LAST_WIDE ? static_cast<char32_t>(std::towupper(static_cast<std::wint_t>(nCharacter)))
                                   : nCharacter;
}

bool SystemText::IsUnicodeSpace(char32_t nCharacter) noexcept
{
    return nCharacter <= LAST_WIDE && std::iswspace(static_cast<std::wint_t>(nCharacter)) != 0;
}

int SystemText::CompareBytesIgnoringCase(const char* pFirst, const char* pSecond) noexcept
{
    return ::_stricmp(pFirst, pSecond);
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
