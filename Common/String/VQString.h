#pragma once

#include <Common/Export.h>
#include <Common/String/VQStringId.h>

#include <compare>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// What a CVQString consists of; CVQString::GetData() shows it.
struct sStringData
{
    std::int32_t m_nLockCount = 0;       ///< 0 without a buffer, 1 with one, more while GetBuffer() has lent it
    std::int32_t m_nLength = 0;          ///< bytes of text, without the terminator
    std::int32_t m_nAllocatedLength = 0; ///< bytes that the buffer holds, without the terminator
    std::int32_t m_nStringId = -1;       ///< number of the localised text that was loaded last, -1 for none
    char* m_pData = nullptr;             ///< the buffer, always terminated; null when there is none
};

static_assert(offsetof(sStringData, m_nLength) == 4 && offsetof(sStringData, m_nAllocatedLength) == 8 &&
              offsetof(sStringData, m_nStringId) == 12 && offsetof(sStringData, m_pData) == 16);

/// Selects the constructor of CVQString that formats.
enum eVQStringConstructorType : std::int32_t
{
    sctFormat = 0 ///< the only value; it is not looked at
};

/// What the inline members of CVQString are made of.
namespace VQStringDetail
{
/// Tells of a byte of a text whether it is a character of its own in every encoding: it is below 0x80, and so is the
/// byte before it, which then begins no character that goes on. False means only that the locale has to be asked.
inline bool IsPlainCharacter(const char* pText, const char* pPlace) noexcept
{
    constexpr unsigned char FIRST_BEYOND_ASCII = 0x80;
    return static_cast<unsigned char>(*pPlace) < FIRST_BEYOND_ASCII &&
           (pPlace == pText || static_cast<unsigned char>(pPlace[-1]) < FIRST_BEYOND_ASCII);
}
} // namespace VQStringDetail

/// Text: an owned, growing, zero-terminated sequence of bytes in the multi-byte encoding of the C locale.
///
///     CVQString oName("level");               // copies the text
///     oName += '7';                           // "level7"
///     CVQString oFile(sctFormat, "%s.%s", ~oName, "dat");
///     std::puts(~oFile);                      // ~ is short for GetString()
///     if (oFile.Find('.') != -1)
///         oFile.MakeUpper();
///
/// - Each object has a buffer of its own, exactly as large as its text needed: a growth takes new memory and copies.
/// The
///   buffer never shrinks, and Empty() keeps it. An object that was never filled has none, and its text is then a null
///   pointer, not "".
/// - Lengths, counts and positions are in bytes. Searches, case changes and white space follow the locale's multi-byte
///   rules (LC_CTYPE).
/// - A text may be built out of the string's own: `s += s`, `s = ~s + 2`, `s.Replace("a", ~s)` and `s.Format("%s!",
/// ~s)`
///   do what they say.
/// - A string remembers the number of the localised text it was loaded from, its string id. Copying another string
/// takes
///   that one's id, always; plain text (`const char*`) and Replace() leave the id as it is.
/// - Indexes are not checked. Texts end at 2 GiB: a longer one is refused with std::length_error, missing memory is
///   std::bad_alloc, and the string is then as it was.
///
/// An object belongs to one thread at a time. The two hooks are set once, before texts are loaded.
class COMMON_API CVQString
{
public:
    /// Fills oTarget with the localised text nId; false when there is no such text.
    using TLoadStringFn = bool (*)(long nId, CVQString& oTarget);
    /// Tells whether oText equals the localised text nId.
    using TIsStringIdenticalFn = bool (*)(long nId, const CVQString& oText);

    /// Loads localised texts; installed by the game, null by default.
    static TLoadStringFn s_pfnLoadString;
    /// Compares with localised texts; installed by the game, null by default.
    static TIsStringIdenticalFn s_pfnIsStringIdentical;

    /// An empty string without a buffer.
    CVQString() noexcept;
    /// A copy of a text, or a localised text: see operator=(const char*).
    CVQString(const char* pText);
    /// A copy, string id included.
    CVQString(const CVQString& oOther);
    /// Takes the buffer and the string id over; oOther is left empty, without a buffer.
    CVQString(CVQString&& oOther) noexcept;
    /// Loads a localised text.
    CVQString(const CVQStringId& oId);
    /// nCount times the same byte; nothing when nCount is below 1.
    CVQString(char cFill, int nCount);
    /// A formatted text: see Format().
    CVQString(eVQStringConstructorType nType, const char* pFormat, ...) COMMON_PRINTF_FORMAT(3, 4);
    virtual ~CVQString();

    /// Takes the other's text, and its string id in every case.
    const CVQString& operator=(const CVQString& oOther)
    {
        if (m_oData.m_pData != oOther.m_oData.m_pData)
            Assign(oOther.m_oData.m_pData, static_cast<std::size_t>(oOther.m_oData.m_nLength));

        m_oData.m_nStringId = oOther.m_oData.m_nStringId;
        return *this;
    }

    /// The same; the buffer of oOther may be taken where a copy would have needed a new one.
    const CVQString& operator=(CVQString&& oOther);

    /// Takes a text; null empties the string.
    ///
    /// A pointer below 0x10000 is no pointer but the number of a localised text, as resource numbers are often passed:
    /// the string is emptied and that text loaded, except for 0xFFFF, which only empties.
    const CVQString& operator=(const char* pText)
    {
        if (reinterpret_cast<std::uintptr_t>(pText) < FIRST_POINTER)
            AssignResource(pText);
        else
            Assign(pText, std::strlen(pText));
        return *this;
    }

    /// Becomes the one character.
    const CVQString& operator=(char cText)
    {
        Assign(&cText, 1);
        return *this;
    }

    /// Loads a localised text: see LoadStringResource().
    const CVQString& operator=(const CVQStringId& oId);

    /// Appends a text.
    const CVQString& operator+=(const CVQString& oTail)
    {
        Append(oTail.m_oData.m_pData, static_cast<std::size_t>(oTail.m_oData.m_nLength));
        return *this;
    }

    /// Appends a text; null appends nothing.
    const CVQString& operator+=(const char* pTail)
    {
        Append(pTail, pTail != nullptr ? std::strlen(pTail) : 0);
        return *this;
    }

    /// Appends one byte.
    const CVQString& operator+=(char cTail)
    {
        const std::int32_t nLength = m_oData.m_nLength;
        if (nLength == m_oData.m_nAllocatedLength)
        {
            const char cCopy = cTail; // else the argument would have an address, and could not stay in a register
            ConcatInPlace(1, &cCopy);
            return *this;
        }

        char* pEnd = m_oData.m_pData + nLength;
        pEnd[0] = cTail;
        pEnd[1] = '\0';
        m_oData.m_nLength = nLength + 1; // last: see Append()
        return *this;
    }

    /// The text, zero-terminated; null when the string never had a buffer. Valid until the string is changed.
    const char* GetString() const noexcept { return m_oData.m_pData; }

    /// The same as GetString().
    operator const char*() const noexcept { return m_oData.m_pData; }

    /// Short for GetString().
    const char* operator~() const noexcept { return m_oData.m_pData; }

    /// Bytes of text, without the terminator.
    long GetLength() const noexcept { return m_oData.m_nLength; }

    /// Whether the length is 0, with or without a buffer.
    bool IsEmpty() const noexcept { return m_oData.m_nLength == 0; }

    /// The byte at a position, 0 to 255. The position is not checked.
    int GetAt(int nIndex) const noexcept { return static_cast<unsigned char>(m_oData.m_pData[nIndex]); }

    /// The same as GetAt().
    int operator[](int nIndex) const noexcept { return static_cast<unsigned char>(m_oData.m_pData[nIndex]); }

    /// The same for an index of any other integer type; without it the conversion to const char* would compete.
    template <std::integral TIndex>
    int operator[](TIndex nIndex) const noexcept
    {
        return static_cast<unsigned char>(m_oData.m_pData[nIndex]);
    }

    /// Stores a byte. The position is not checked.
    void SetAt(int nIndex, char cByte) noexcept { m_oData.m_pData[nIndex] = cByte; }

    /// Shows the string's fields.
    const sStringData* GetData() const noexcept { return &m_oData; }

    /// Lends the buffer for writing; ReleaseBuffer() ends it.
    ///
    /// When the buffer holds less than nMinLength + 1 bytes and a terminator, the text is lost, the string id with it,
    /// and there is a new buffer of exactly that size, filled with zeros, its length the whole of it.
    ///
    /// @param nMinLength  bytes of text that are going to be written; a negative one counts as 0
    char* GetBuffer(int nMinLength);
    /// Ends what GetBuffer() began.
    ///
    /// @param nNewLength  length of the text that was written; -1 looks for the terminator
    void ReleaseBuffer(int nNewLength = -1) noexcept;

    /// Removes the text; the buffer is kept, and the string id.
    void Empty() noexcept;

    /// Compares in the order of the characters. Here as in the next three null counts as "", on both sides.
    ///
    /// @return negative, 0 or positive
    int Compare(const char* pText) const;
    /// Compares without regard to case.
    int CompareNoCase(const char* pText) const;
    /// Compares in the order of the locale (LC_COLLATE).
    int Collate(const char* pText) const;
    /// Compares in the order of the locale without regard to case.
    int CollateNoCase(const char* pText) const;

    /// Looks for a character.
    ///
    /// @param nStart  where to begin; a negative one counts as 0
    /// @return        its position, -1 when it is not there or nStart is at or beyond the end
    int Find(char cWanted, int nStart = 0) const
    {
        nStart = nStart > 0 ? nStart : 0;
        if (nStart >= m_oData.m_nLength)
            return -1;

        const char* pText = m_oData.m_pData + nStart;
        const char* pFound = std::strchr(pText, cWanted);
        if (pFound != nullptr && !VQStringDetail::IsPlainCharacter(pText, pFound))
            return FindInLocale(cWanted, pText);
        return pFound != nullptr ? static_cast<int>(pFound - m_oData.m_pData) : -1;
    }

    /// Looks for a text.
    ///
    /// @return its position, -1 when it is not there; null and "" are never found
    int Find(const char* pWanted, int nStart = 0) const
    {
        nStart = nStart > 0 ? nStart : 0;
        if (pWanted == nullptr || *pWanted == '\0' || nStart >= m_oData.m_nLength)
            return -1;

        const char* pText = m_oData.m_pData + nStart;
        const char* pFirst = std::strchr(pText, *pWanted);
        if (pFirst == nullptr)
            return -1;
        if (!VQStringDetail::IsPlainCharacter(pText, pFirst))
            return FindInLocale(pWanted, pText);

        // Mostly the first place is the right one; behind a plain character another begins.
        const std::size_t nWanted = std::strlen(pWanted);
        const std::ptrdiff_t nLeft = m_oData.m_pData + m_oData.m_nLength - pFirst;
        if (static_cast<std::ptrdiff_t>(nWanted) > nLeft || std::memcmp(pFirst, pWanted, nWanted) != 0)
            return FindInLocale(pWanted, pFirst + 1);
        if (!VQStringDetail::IsPlainCharacter(pFirst, pFirst + nWanted - 1))
            return FindInLocale(pWanted, pText);
        return static_cast<int>(pFirst - m_oData.m_pData);
    }

    /// Looks for the last occurrence of a character.
    int ReverseFind(char cWanted) const;
    /// Looks for the first character that is one of those in pSet.
    int FindOneOf(const char* pSet) const;
    /// Looks for the last character that is one of those in pSet.
    ///
    /// The first character of the string is never found. Kept: callers rely on it.
    int ReverseFindOneOf(const char* pSet) const;

    /// The first nCount bytes. The whole string, its string id included, when it is not longer.
    CVQString Left(int nCount) const;
    /// The last nCount bytes. The whole string, its string id included, when it is not longer.
    CVQString Right(int nCount) const;
    /// nCount bytes from nStart on, or what there is of them; a negative nStart counts as 0.
    CVQString Mid(int nStart, int nCount) const;
    /// Everything from nStart on.
    CVQString Mid(int nStart) const;

    /// Changes the case of all letters, as the locale has it.
    void MakeLower() noexcept;
    void MakeUpper() noexcept;
    /// Reverses the order of the characters.
    void MakeReverse() noexcept;

    /// Replaces each character whose first byte is cOld.
    ///
    /// @return how many were replaced; 0 when cOld and cNew are the same
    int Replace(char cOld, char cNew) noexcept;
    /// Replaces each occurrence of a text, from left to right.
    ///
    /// What stands behind a zero byte within the text is searched too. The buffer is kept when the result fits and it
    /// is not lent out (GetBuffer()); else there is a new one of exactly the new length.
    ///
    /// @param pOld  null and "" are never found
    /// @param pNew  null counts as "": the occurrences are removed
    /// @return      how many were replaced
    int Replace(const char* pOld, const char* pNew);

    /// Removes white space at the beginning. (There is no counterpart for the end.)
    void TrimLeft() noexcept;

    /// Becomes the formatted text, by the rules of printf; what is over 1023 bytes is cut.
    void Format(const char* pFormat, ...) COMMON_PRINTF_FORMAT(2, 3);
    /// The same with the localised text nResourceId as the format; when there is no such text the result is empty.
    void Format(long nResourceId, ...);
    /// The same as Format() with the arguments in a list.
    void FormatV(const char* pFormat, std::va_list pArguments) COMMON_PRINTF_FORMAT(2, 0);

    /// Reads a number, by the rules of strtol; 0 for an empty string.
    ///
    /// @param nBase  2 to 36; 0 goes by the prefix 0 or 0x
    /// @return       the nearest number of the type when the text's is outside of its range
    int ToInt(int nBase) const;
    long ToLong(int nBase) const;
    /// Reads an unsigned number, by the rules of strtoul; 0 for an empty string.
    unsigned int ToUint(int nBase) const;
    unsigned long ToUlong(int nBase) const;
    /// Reads a number with a fraction, by the rules of strtod; 0 for an empty string.
    float ToFloat() const;
    double ToDouble() const;
    /// True for "1" and for "TRUE" in any case, and for nothing else.
    bool ToBool() const;

    /// Loads a localised text through s_pfnLoadString and remembers its number as the string id.
    ///
    /// @return false when there is no such text: the string is then empty, its string id -1; false also when no hook is
    ///         installed: the string is then as it was
    bool LoadStringResource(long nId);
    /// Asks s_pfnIsStringIdentical whether the text still equals the localised text of the string id.
    ///
    /// @return false also when there is no string id or no hook
    bool IsIdenticalToStringResource() const;

    /// The number of the localised text that was loaded last, -1 for none.
    long GetStringId() const noexcept { return m_oData.m_nStringId; }

    /// Whether a localised text was loaded.
    bool HasStringId() const noexcept { return m_oData.m_nStringId != NO_STRING_ID; }

    /// Tells whether a localised text was ever asked for while s_pfnLoadString was not installed.
    static bool WasLoadStringMissing() noexcept;
    /// Tells whether a comparison was ever asked for while s_pfnIsStringIdentical was not installed.
    static bool WasIsStringIdenticalMissing() noexcept;

    /// Compares byte by byte, whatever the locale; so strings may be keys of maps. No buffer is the same as "".
    friend bool operator==(const CVQString& oFirst, const CVQString& oSecond) noexcept
    {
        return oFirst.View() == oSecond.View();
    }

    /// Orders byte by byte, as unsigned values.
    friend std::strong_ordering operator<=>(const CVQString& oFirst, const CVQString& oSecond) noexcept
    {
        return oFirst.View() <=> oSecond.View();
    }

    /// The same with a text; null counts as "".
    friend bool operator==(const CVQString& oFirst, const char* pSecond) noexcept
    {
        return oFirst.View() == View(pSecond);
    }

    /// The same with a text; null counts as "".
    friend std::strong_ordering operator<=>(const CVQString& oFirst, const char* pSecond) noexcept
    {
        return oFirst.View() <=> View(pSecond);
    }

private:
    static constexpr std::int32_t NO_STRING_ID = -1;
    static constexpr std::uintptr_t FIRST_POINTER = 0x10000; // anything below is the number of a localised text

    static std::string_view View(const char* pText) noexcept { return pText != nullptr ? pText : ""; }

    std::string_view View() const noexcept { return {m_oData.m_pData, static_cast<std::size_t>(m_oData.m_nLength)}; }

    /// Takes bytes; inline for those that find room. They may be a part of the own text.
    void Assign(const char* pText, std::size_t nLength)
    {
        if (nLength > static_cast<std::size_t>(m_oData.m_nAllocatedLength) || nLength == 0)
        {
            AssignCopy(CheckedLength(nLength), pText);
            return;
        }

        std::memmove(m_oData.m_pData, pText, nLength);
        m_oData.m_pData[nLength] = '\0';
        m_oData.m_nLength = static_cast<std::int32_t>(nLength);
    }

    /// Appends bytes; inline for those that find room. They may be a part of the own text.
    void Append(const char* pTail, std::size_t nTail)
    {
        const std::int32_t nLength = m_oData.m_nLength;
        if (nTail > static_cast<std::size_t>(m_oData.m_nAllocatedLength - nLength))
        {
            ConcatInPlace(CheckedLength(nTail), pTail);
            return;
        }
        if (nTail == 0)
            return;

        // The length comes last, out of what was read first: the bytes might be a part of it for all that the compiler
        // knows, and it would be read again.
        char* pEnd = m_oData.m_pData + nLength;
        std::memmove(pEnd, pTail, nTail);
        pEnd[nTail] = '\0';
        m_oData.m_nLength = nLength + static_cast<std::int32_t>(nTail);
    }

    static char* Alloc(std::size_t nSize);
    static std::int32_t CheckedLength(std::size_t nLength);
    static std::int32_t GetSafeStringLength(const char* pText);

    int FindInLocale(char cWanted, const char* pFrom) const;
    int FindInLocale(const char* pWanted, const char* pFrom) const;
    void Begin(const char* pText, std::size_t nLength);
    void AssignResource(const char* pNumber);
    void AllocBuffer(std::int32_t nLength);
    void FreeBuffer() noexcept;
    void TakeBuffer(char* pBuffer, std::int32_t nLength) noexcept;
    void GrowBufferIfNeeded(std::int32_t nLength);
    void AssignCopy(std::int32_t nLength, const char* pText);
    void ConcatInPlace(std::int32_t nLength, const char* pText);
    void ConcatCopy(std::int32_t nFirst, const char* pFirst, std::int32_t nSecond, const char* pSecond);
    int ReplaceInPlace(const char* pOld, std::int32_t nOld, const char* pNew, std::int32_t nNew);
    bool Owns(const char* pText) const noexcept;
    int PositionOf(const char* pFound) const noexcept;

    sStringData m_oData;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQString) == 24, "the layout that the 32-bit callers know");
