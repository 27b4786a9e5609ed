#pragma once

/// @file
/// Functions for zero-terminated strings of 8-bit text.
///
///     char aName[16];
///     STR_strncpy(aName, pLongName, sizeof(aName) - 1);    // never half a character
///     aName[sizeof(aName) - 1] = '\0';
///     for (char* p = aName; *p != '\0'; p = STR_strinc(p)) // character by character
///         ...
///
/// Two kinds stand side by side. STR_strlen, STR_strcpy, STR_strcat and STR_strcmp see bytes. All others see
/// characters, as the program's locale defines them (on Windows the multi-byte code page): where the locale has one
/// byte a character, a character is a byte; otherwise the bytes of one character stay together. Lengths and counts are
/// bytes everywhere. A byte that belongs to no valid character is a character of its own, and nothing ever looks beyond
/// the terminator.
///
/// A function that takes a character as a number takes a multi-byte character packed: its bytes in one number, the
/// first byte highest (0x8140 for the bytes 81 40, 0xC3A9 for C3 A9).
///
/// Letters are upper and lower case as the locale says; in the "C" locale these are A to Z and a to z. In a locale of
/// several bytes a character, the letters below 0x80 are A to Z and a to z in every language.
///
/// Comparisons return -1, 0 or 1, and take null for an empty string. Other functions take no null where nothing is
/// said. Nothing here logs or throws. Any thread may call.

#include <Common/Export.h>

#include <cstdarg>

extern "C"
{
    /// Number of bytes before the terminator. Null is not allowed.
    COMMON_API int STR_strlen(const char* pText);

    /// Copies a text and its terminator.
    ///
    /// @return pTarget
    COMMON_API char* STR_strcpy(char* pTarget, const char* pSource);

    /// Copies at most nCount bytes of a text, only whole characters, and fills up with zeros to nCount bytes.
    ///
    /// There is no terminator when the text fills all nCount bytes. Of pSource no more than nCount bytes are read.
    ///
    /// @return pTarget
    COMMON_API char* STR_strncpy(char* pTarget, const char* pSource, unsigned nCount);

    /// Appends a text and its terminator.
    ///
    /// @return pTarget
    COMMON_API char* STR_strcat(char* pTarget, const char* pSource);

    /// Appends at most nCount bytes of a text, only whole characters, and a terminator.
    ///
    /// @return pTarget
    COMMON_API char* STR_strncat(char* pTarget, const char* pSource, unsigned nCount);

    /// Compares two texts by their bytes, as unsigned values, whatever the locale.
    ///
    /// @return -1 when pFirst comes first, 0 when they are equal, 1 when pSecond comes first
    COMMON_API int STR_strcmp(const char* pFirst, const char* pSecond);

    /// Compares two texts without regard to case: the order is that of the texts in lower case.
    ///
    /// @return -1, 0 or 1 as STR_strcmp()
    COMMON_API int STR_stricmp(const char* pFirst, const char* pSecond);

    /// Compares two texts in the order of the locale's collation; in the "C" locale as STR_strcmp().
    ///
    /// @return -1, 0 or 1 as STR_strcmp()
    COMMON_API int STR_strcoll(const char* pFirst, const char* pSecond);

    /// Compares two texts in the order of the locale's collation without regard to case.
    ///
    /// @return -1, 0 or 1 as STR_strcmp()
    COMMON_API int STR_stricoll(const char* pFirst, const char* pSecond);

    /// Turns the letters of a text into lower case, in place; a letter whose lower case has another number of bytes
    /// stays.
    ///
    /// @return pText
    COMMON_API char* STR_strlwr(char* pText);

    /// Turns the letters of a text into upper case, in place; a letter whose upper case has another number of bytes
    /// stays.
    ///
    /// @return pText
    COMMON_API char* STR_strupr(char* pText);

    /// Reverses the characters of a text, in place; the bytes of a character keep their order.
    ///
    /// @return pText
    COMMON_API char* STR_strrev(char* pText);

    /// Finds the first occurrence of a character; 0 finds the terminator.
    ///
    /// Where a character is one byte, only the low byte of nCharacter counts.
    ///
    /// @return null when there is none
    COMMON_API char* STR_strchr(const char* pText, unsigned nCharacter);

    /// Finds the last occurrence of a character; otherwise as STR_strchr().
    COMMON_API char* STR_strrchr(const char* pText, unsigned nCharacter);

    /// Finds the first occurrence of a text; an empty one is found at the start.
    ///
    /// @return null when there is none
    COMMON_API char* STR_strstr(const char* pText, const char* pSearched);

    /// Finds the first character of pText that is in pSet.
    ///
    /// @return null when there is none
    COMMON_API char* STR_strpbrk(const char* pText, const char* pSet);

    /// Finds the last byte of pText that is in pSet, going backwards from the last byte by characters.
    ///
    /// The first character of pText is never examined, so that a text of one character always gives null. Each place is
    /// held against pSet by its byte alone, sign-extended: in a locale of several bytes a character only bytes below
    /// 0x80 are ever found. Kept: callers rely on it.
    ///
    /// @return null when there is none, or pText is empty or null
    COMMON_API char* STR_strrpbrk(const char* pText, const char* pSet);

    /// Place of the next character. At the terminator: the byte behind it, which is not part of the text.
    COMMON_API char* STR_strinc(const char* pCurrent);

    /// Place of the previous character: the last one that begins before pCurrent.
    ///
    /// @param pStart  start of the text, or of any character before pCurrent
    /// @return        null when pCurrent is at or before pStart
    COMMON_API char* STR_strdec(const char* pStart, const char* pCurrent);

    /// Reads a whole number, as strtol of C99 does.
    ///
    /// The number has 32 bits on every system, also where a long has more: beyond them the result is the nearest limit
    /// (2147483647 or -2147483648) and errno is ERANGE.
    ///
    /// @param ppEnd  receives the place behind the number, pText when there is none; null is allowed
    /// @param nBase  2 to 36, or 0 to go by the prefix: 0x for 16, 0 for 8, otherwise 10. For any other base the result
    ///               is 0 and errno is EINVAL
    COMMON_API long STR_strtol(const char* pText, char** ppEnd, int nBase);

    /// Reads a whole number, as strtoul of C99 does: "-1" is 4294967295.
    ///
    /// The number has 32 bits on every system: beyond them the result is 4294967295 and errno is ERANGE. Otherwise as
    /// STR_strtol().
    COMMON_API unsigned long STR_strtoul(const char* pText, char** ppEnd, int nBase);

    /// Reads a floating-point number, as strtod of C99 does: decimal, hexadecimal, "inf", "infinity" and "nan".
    ///
    /// The decimal point is that of the locale (LC_NUMERIC).
    ///
    /// @param ppEnd  receives the place behind the number, pText when there is none; null is allowed
    COMMON_API double STR_strtod(const char* pText, char** ppEnd);

    /// Tells whether a character is white space.
    ///
    /// A char may be passed as it is: a sign-extended byte counts as the byte.
    ///
    /// @return 1 or 0
    COMMON_API int STR_isspace(unsigned nCharacter);

    /// Formats a text; the target must be large enough.
    ///
    /// Numbers have the same text on every system: the one of C99. Pointers ("%p") and wide texts ("%ls") have the text
    /// that the system's runtime library gives them.
    ///
    /// @return bytes written, without the terminator; negative on failure
    COMMON_API int STR_sprintf(char* pTarget, const char* pFormat, ...) COMMON_PRINTF_FORMAT(2, 3);

    /// As STR_sprintf(), with the arguments in a list.
    COMMON_API int STR_vsprintf(char* pTarget, const char* pFormat, va_list pArguments) COMMON_PRINTF_FORMAT(2, 0);

    /// Formats a text into nSize bytes.
    ///
    /// - shorter than nSize: terminated; the result is the length
    /// - exactly nSize: all bytes are written, without a terminator; the result is nSize
    /// - longer: the first nSize bytes are written, without a terminator; the result is -1
    ///
    /// A text that cannot be formatted gives -1 and an empty text. With nSize 0 nothing is written, and pTarget may be
    /// null. Kept: callers that need a terminator set one in the last byte.
    COMMON_API int STR_snprintf(char* pTarget, unsigned nSize, const char* pFormat, ...) COMMON_PRINTF_FORMAT(3, 4);

    /// As STR_snprintf(), with the arguments in a list.
    COMMON_API int STR_vsnprintf(char* pTarget, unsigned nSize, const char* pFormat, va_list pArguments)
        COMMON_PRINTF_FORMAT(3, 0);
}

/// Takes a text apart at delimiters, one token a call.
///
/// The first call passes the text, each further one null. Delimiters before and between tokens are skipped; the one
/// behind a token is overwritten by zeros. The place is kept for each thread: two texts cannot be taken apart in turns.
///
/// @param pText        the text, which is changed; null to go on with the last one
/// @param pDelimiters  the delimiting characters; they may differ from call to call
/// @return             the token; null when there is no more, or no text was ever given
COMMON_API char* STR_strtok(char* pText, const char* pDelimiters);
