#pragma once

#include <Common/Export.h>

#include <bit>
#include <cstdint>

/// A tag of four characters, such as the type of a chunk in a file: one number that also reads as a text.
///
///     CVQFourCC oTag("DATA");
///     oTag.ToString();                              // "DATA"
///     oTag.ToDword();                               // 0x41544144, the first character in the lowest byte
///     oTag.Compare(CVQFourCC(0x44415441));          // true: a number is written in reading order
///
/// The number that is stored has its first character in the lowest byte, so that it stands in memory and in files in
/// reading order. There are two ways from a number: FromDword() takes one in reading order, as a constant like 'DATA'
/// is, and FromFourCC() one as it is stored. ToDword() gives the stored one, so it undoes FromFourCC(), not
/// FromDword(). Kept: callers rely on it.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQFourCC
{
public:
    /// The empty code: four zero bytes.
    CVQFourCC() noexcept;
    /// The same as FromDword().
    CVQFourCC(unsigned long nValue) noexcept;
    /// The same as FromString().
    CVQFourCC(const char* pText) noexcept;
    CVQFourCC(const CVQFourCC& oOther) noexcept;
    virtual ~CVQFourCC();

    const CVQFourCC& operator=(const CVQFourCC& oOther) noexcept;

    /// Takes a number whose highest byte is the first character; its lower 32 bits count.
    void FromDword(unsigned long nValue) noexcept;

    /// Takes a number whose lowest byte is the first character; its lower 32 bits count.
    void FromFourCC(unsigned long nValue) noexcept;

    /// Takes four characters.
    ///
    /// A character of 0x80 or above lowers the one behind it by one. Kept: stored codes rely on it.
    ///
    /// @param pText  at least four bytes, which are all taken, zeros too; null counts as four zeros
    void FromString(const char* pText) noexcept;

    /// Turns the order of the four characters round.
    void Reverse() noexcept;

    /// The number as it is stored, the first character in the lowest byte; 0 to 0xFFFFFFFF.
    unsigned long ToDword() const noexcept { return GetValue(); }

    /// The same as ToDword().
    operator unsigned long() const noexcept { return GetValue(); }

    /// The four characters, zero-terminated; fewer when one of them is zero. Valid as long as the object.
    const char* ToString() const noexcept { return m_aText; }

    /// The same as ToString().
    operator const char*() const noexcept { return m_aText; }

    /// Whether all four characters are zero.
    bool IsEmpty() const noexcept { return GetValue() == 0; }

    /// A character. The index, 0 to 3, is checked in debug builds alone.
    char GetAt(int nIndex) const;

    /// Stores a character. The index, 0 to 3, is checked in debug builds alone.
    void SetAt(int nIndex, char cText);

    /// Whether both codes are the same.
    bool Compare(const CVQFourCC& oOther) const noexcept { return GetValue() == oOther.GetValue(); }

private:
    static constexpr int CHARACTERS = 4;

    struct SBytes
    {
        char m_aBytes[CHARACTERS];
    };

    std::uint32_t GetValue() const noexcept
    {
        return std::bit_cast<std::uint32_t>(SBytes{{m_aText[0], m_aText[1], m_aText[2], m_aText[3]}});
    }

    void SetValue(std::uint32_t nValue) noexcept;

    alignas(std::uint32_t) char m_aText[CHARACTERS + 1]; // the value, little-endian, and a terminator
};

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(void*) != 4 || sizeof(CVQFourCC) == 12, "the layout that the 32-bit callers know");
