#pragma once

/// @file
/// What a port supplies for text: which bytes make a character in the current locale, and what the locale says about
/// letters. The functions for zero-terminated strings are written once above it.
///
/// Characters of more than one byte are passed packed: their bytes in one number, the first byte highest.

#include <cstddef>
#include <cstdint>

/// How bytes make characters.
enum class TextRules : int
{
    SingleByte, ///< every byte is a character
    Utf8,       ///< one to four bytes; a byte of an invalid sequence is a character of its own
    MultiByte,  ///< the system knows: a lead byte and what follows it; bytes below 0x80 in first place stand alone
};

namespace SystemText
{
/// Tells the rules of the current locale. Cheap: asked on every call.
TextRules CurrentRules() noexcept;

/// The other case of a letter under TextRules::SingleByte; the same byte when there is none. In the "C" locale letters
/// are A to Z and a to z.
char ByteLower(char nByte) noexcept;
char ByteUpper(char nByte) noexcept;

/// Length of the first character under TextRules::MultiByte.
///
/// @param pText       the character's first byte, not the terminator
/// @param nAvailable  bytes that may be read; never more than up to the terminator are
/// @return            at least 1; 1 for an invalid byte; 0 when the available bytes are only the beginning of a
/// character
std::size_t MultiByteLength(const char* pText, std::size_t nAvailable) noexcept;

/// The other case of a packed character under TextRules::MultiByte; the same character when there is none.
std::uint32_t MultiByteLower(std::uint32_t nPacked) noexcept;
std::uint32_t MultiByteUpper(std::uint32_t nPacked) noexcept;

/// Tells whether a packed character of two bytes and more is white space under TextRules::MultiByte.
bool IsMultiByteSpace(std::uint32_t nPacked) noexcept;

/// The other case of a Unicode character, and whether it is white space.
char32_t UnicodeLower(char32_t nCharacter) noexcept;
char32_t UnicodeUpper(char32_t nCharacter) noexcept;
bool IsUnicodeSpace(char32_t nCharacter) noexcept;

/// Compares two texts byte by byte, each byte as ByteLower() gives it, as unsigned values.
///
/// @return below, equal to or above 0
int CompareBytesIgnoringCase(const char* pFirst, const char* pSecond) noexcept;

/// Compares two texts in the order of the locale's collation.
///
/// @return below, equal to or above 0
int Collate(const char* pFirst, const char* pSecond) noexcept;

/// Reads a floating-point number as C99 describes it, rounded to nearest on every system.
double ToDouble(const char* pText, char** ppEnd) noexcept;
} // namespace SystemText
