#pragma once

// Not for users.

#include <Common/String/VQString.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Texts of properties.
namespace PropertyText
{
/// A string of any bytes.
CVQString Make(std::string_view sBytes);

/// An argument of a format.
struct SArgument
{
    enum class EKind
    {
        Integer, ///< fits d i o u x X c
        Float,   ///< fits a e f g A E F G
        Address, ///< fits p, and what an integer fits
        Text     ///< the address of a text: fits s, and what an address fits
    };

    EKind m_nKind = EKind::Integer;
    std::int32_t m_nInteger = 0;
    double m_dFloat = 0;
    const void* m_pAddress = nullptr;

    static SArgument Integer(std::int32_t nValue);
    static SArgument Float(double dValue);
    static SArgument Address(const void* pValue, EKind nKind = EKind::Address);
};

/// Applies a format that may come from anywhere. Each conversion takes the next argument; one that does not fit it, or
/// finds none, is written as it stands. The text is cut as CVQString::Format() cuts.
CVQString Format(const CVQString& oFormat, std::span<const SArgument> aArguments);

/// The same with the words that a string object consists of as arguments.
CVQString FormatWords(const CVQString& oFormat, const CVQString& oObject);
} // namespace PropertyText
