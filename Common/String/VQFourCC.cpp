#include <Common/String/VQFourCC.h>

#include <Common/Debug/Log.h>

#include <cstring>

namespace
{
std::uint32_t Reversed(std::uint32_t nValue) noexcept
{
    return nValue << 24 | (nValue & 0xFF00) << 8 | (nValue >> 8 & 0xFF00) | nValue >> 24;
}
} // namespace

CVQFourCC::CVQFourCC() noexcept : m_aText{} {}

CVQFourCC::CVQFourCC(unsigned long nValue) noexcept : m_aText{}
{
    FromDword(nValue);
}

CVQFourCC::CVQFourCC(const char* pText) noexcept : m_aText{}
{
    FromString(pText);
}

CVQFourCC::CVQFourCC(const CVQFourCC& oOther) noexcept : m_aText{}
{
    SetValue(oOther.GetValue());
}

CVQFourCC::~CVQFourCC() = default;

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the value is read before it is written
const CVQFourCC& CVQFourCC::operator=(const CVQFourCC& oOther) noexcept
{
    SetValue(oOther.GetValue());
    return *this;
}

void CVQFourCC::FromDword(unsigned long nValue) noexcept
{
    SetValue(Reversed(static_cast<std::uint32_t>(nValue)));
}

void CVQFourCC::FromFourCC(unsigned long nValue) noexcept
{
    SetValue(static_cast<std::uint32_t>(nValue));
}

void CVQFourCC::FromString(const char* pText) noexcept
{
    std::uint32_t nValue = 0;
    for (int i = CHARACTERS - 1; pText != nullptr && i >= 0; --i)
    {
        const auto nSigned = static_cast<std::int8_t>(pText[i]); // signed on every target
        nValue = nValue * 256 + static_cast<std::uint32_t>(nSigned);
    }
    SetValue(nValue);
}

void CVQFourCC::Reverse() noexcept
{
    SetValue(Reversed(GetValue()));
}

char CVQFourCC::GetAt(int nIndex) const
{
    VQ_DEBUG_ASSERT(nIndex >= 0 && nIndex < CHARACTERS);
    return m_aText[nIndex];
}

void CVQFourCC::SetAt(int nIndex, char cText)
{
    VQ_DEBUG_ASSERT(nIndex >= 0 && nIndex < CHARACTERS);
    m_aText[nIndex] = cText;
}

void CVQFourCC::SetValue(std::uint32_t nValue) noexcept
{
    std::memcpy(m_aText, &nValue, sizeof(nValue));
    m_aText[CHARACTERS] = '\0';
}
