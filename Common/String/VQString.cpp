#include <Common/String/VQString.h>

#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace VQStringDetail
{
[[noreturn]] void ThrowTooLong();
}

namespace
{
using VQStringDetail::IsPlainCharacter;
using VQStringDetail::ThrowTooLong;

constexpr std::int32_t MAX_LENGTH = std::numeric_limits<std::int32_t>::max() - 1; // room for the terminator
constexpr std::size_t FORMAT_SIZE = 1024;                                         // bytes, terminator included
constexpr std::uintptr_t NO_RESOURCE = 0xFFFF;
constexpr unsigned char FIRST_BEYOND_ASCII = 0x80;
constexpr std::size_t REMEMBERED_MATCHES = 256;

std::atomic<bool> g_bLoadStringMissing = false;
std::atomic<bool> g_bIsStringIdenticalMissing = false;

/// Gives a buffer back. Asking first is faster: most strings have none when they grow or end.
void Release(char* pBuffer) noexcept
{
    if (pBuffer != nullptr)
        ::operator delete(pBuffer);
}

constexpr std::size_t LONG_MATCH = 16; // bytes that are compared one by one before the runtime library is asked
constexpr std::ptrdiff_t RARE = 64;    // bytes for each place where the first byte stands but not the rest
constexpr std::ptrdiff_t START = 256;  // bytes by which that count begins later

/// Finds a text by its first byte, which is fastest where that one is rare in the other text; else it asks Library.
///
/// @param NextByte  (place) tells the next place of the first byte, null for none
/// @param Library   (place) finds the text in the way of the locale; the place is the beginning or behind it
template <class TNextByte, class TLibrary>
const char* FindText(const char* pText, const char* pWanted, const TNextByte& NextByte, const TLibrary& Library)
{
    std::ptrdiff_t nAlone = 0;
    for (const char* p = NextByte(pText); p != nullptr; p = NextByte(p + 1))
    {
        std::size_t nSame = 1;
        while (nSame < LONG_MATCH && pWanted[nSame] != '\0' && p[nSame] == pWanted[nSame])
            ++nSame;

        const bool bPlainStart = IsPlainCharacter(pText, p);
        if (nSame == LONG_MATCH)
            return Library(bPlainStart ? p : pText);
        if (pWanted[nSame] == '\0')
            return bPlainStart && IsPlainCharacter(pText, p + nSame - 1) ? p : Library(pText);
        if (++nAlone * RARE > p - pText + START)
            return Library(bPlainStart ? p : pText);
    }
    return nullptr;
}

/// As STR_strstr(); the text that is looked for is not empty.
const char* FindInText(const char* pText, const char* pWanted)
{
    const auto NextByte = [pWanted](const char* p) { return std::strchr(p, *pWanted); };
    const auto Library = [pWanted](const char* p) { return STR_strstr(p, pWanted); };
    return FindText(pText, pWanted, NextByte, Library);
}

/// The same also behind zero bytes within the text.
const char* FindAcrossZeros(const char* pText, const char* pEnd, const char* pWanted)
{
    const auto NextByte = [pEnd, pWanted](const char* p)
    { return static_cast<const char*>(std::memchr(p, *pWanted, static_cast<std::size_t>(pEnd - p))); };
    const auto Library = [pEnd, pWanted](const char* p)
    {
        const char* pFound = nullptr;
        while (p < pEnd && (pFound = STR_strstr(p, pWanted)) == nullptr)
            p += std::strlen(p) + 1;
        return pFound;
    };
    return FindText(pText, pWanted, NextByte, Library);
}
} // namespace

CVQString::TLoadStringFn CVQString::s_pfnLoadString = nullptr;
CVQString::TIsStringIdenticalFn CVQString::s_pfnIsStringIdentical = nullptr;

CVQString::CVQString() noexcept = default;

CVQString::CVQString(const char* pText)
{
    if (reinterpret_cast<std::uintptr_t>(pText) < FIRST_POINTER)
        AssignResource(pText);
    else
        Begin(pText, std::strlen(pText));
}

CVQString::CVQString(const CVQString& oOther)
{
    Begin(oOther.m_oData.m_pData, static_cast<std::size_t>(oOther.m_oData.m_nLength));
    m_oData.m_nStringId = oOther.m_oData.m_nStringId;
}

CVQString::CVQString(CVQString&& oOther) noexcept : m_oData(std::exchange(oOther.m_oData, sStringData())) {}

CVQString::CVQString(const CVQStringId& oId)
{
    *this = oId;
}

CVQString::CVQString(char cFill, int nCount)
{
    if (nCount < 1)
        return;

    AllocBuffer(nCount);
    std::memset(m_oData.m_pData, cFill, static_cast<std::size_t>(nCount));
}

CVQString::CVQString(eVQStringConstructorType, const char* pFormat, ...)
{
    std::va_list pArguments;
    va_start(pArguments, pFormat);
    FormatV(pFormat, pArguments);
    va_end(pArguments);
}

CVQString::~CVQString()
{
    Release(m_oData.m_pData);
}

const CVQString& CVQString::operator=(CVQString&& oOther)
{
    const sStringData& oTaken = oOther.m_oData;

    // taken only where a copy would have ended with the same sizes: what GetData() shows does not tell the difference
    const bool bCopyWouldGrow = oTaken.m_nLength > m_oData.m_nAllocatedLength;
    const bool bExactFit = oTaken.m_nLength == oTaken.m_nAllocatedLength && oTaken.m_nLockCount == 1;
    if (!bCopyWouldGrow || !bExactFit)
        return *this = std::as_const(oOther);

    Release(m_oData.m_pData);
    m_oData = std::exchange(oOther.m_oData, sStringData());
    return *this;
}

const CVQString& CVQString::operator=(const CVQStringId& oId)
{
    LoadStringResource(oId.GetId());
    return *this;
}

char* CVQString::GetBuffer(int nMinLength)
{
    if (nMinLength >= MAX_LENGTH)
        ThrowTooLong();

    const std::int32_t nNeeded = std::max(nMinLength, 0) + 1;
    if (nNeeded > m_oData.m_nAllocatedLength)
    {
        GrowBufferIfNeeded(nNeeded);
        std::memset(m_oData.m_pData, 0, static_cast<std::size_t>(nNeeded));
    }

    ++m_oData.m_nLockCount;
    return m_oData.m_pData;
}

void CVQString::ReleaseBuffer(int nNewLength) noexcept
{
    if (m_oData.m_pData == nullptr)
        return;

    const std::int32_t nCapacity = m_oData.m_nAllocatedLength;
    if (nNewLength == -1)
    {
        const char* pStart = m_oData.m_pData;
        nNewLength = static_cast<int>(std::find(pStart, pStart + nCapacity, '\0') - pStart);
    }

    m_oData.m_nLength = std::clamp(nNewLength, 0, nCapacity);
    m_oData.m_pData[m_oData.m_nLength] = '\0';
    m_oData.m_nLockCount = std::max(m_oData.m_nLockCount - 1, 1); // a release too many does no harm
}

void CVQString::Empty() noexcept
{
    if (m_oData.m_nLength == 0)
        return;

    m_oData.m_nLength = 0;
    m_oData.m_pData[0] = '\0';
}

int CVQString::Compare(const char* pText) const
{
    return STR_strcmp(m_oData.m_pData, pText);
}

int CVQString::CompareNoCase(const char* pText) const
{
    return STR_stricmp(m_oData.m_pData, pText);
}

int CVQString::Collate(const char* pText) const
{
    return STR_strcoll(m_oData.m_pData, pText);
}

int CVQString::CollateNoCase(const char* pText) const
{
    return STR_stricoll(m_oData.m_pData, pText);
}

// Find() where the first place of a byte does not tell the answer. The text is looked through from pFrom on, where a
// character begins.

int CVQString::FindInLocale(char cWanted, const char* pFrom) const
{
    return PositionOf(STR_strchr(pFrom, static_cast<unsigned char>(cWanted)));
}

int CVQString::FindInLocale(const char* pWanted, const char* pFrom) const
{
    return PositionOf(FindInText(pFrom, pWanted));
}

int CVQString::ReverseFind(char cWanted) const
{
    if (m_oData.m_pData == nullptr)
        return -1;

    return PositionOf(STR_strrchr(m_oData.m_pData, static_cast<unsigned char>(cWanted)));
}

int CVQString::FindOneOf(const char* pSet) const
{
    if (IsEmpty() || pSet == nullptr)
        return -1;

    return PositionOf(STR_strpbrk(m_oData.m_pData, pSet));
}

int CVQString::ReverseFindOneOf(const char* pSet) const
{
    if (IsEmpty() || pSet == nullptr)
        return -1;

    return PositionOf(STR_strrpbrk(m_oData.m_pData, pSet));
}

CVQString CVQString::Left(int nCount) const
{
    if (nCount >= m_oData.m_nLength)
        return nCount < 1 ? CVQString() : *this;

    CVQString oPart;
    if (nCount > 0)
        oPart.AssignCopy(nCount, m_oData.m_pData);
    return oPart;
}

CVQString CVQString::Right(int nCount) const
{
    nCount = std::max(nCount, 0);
    if (nCount >= m_oData.m_nLength)
        return *this;

    CVQString oPart;
    oPart.AssignCopy(nCount, m_oData.m_pData + m_oData.m_nLength - nCount);
    return oPart;
}

CVQString CVQString::Mid(int nStart, int nCount) const
{
    nStart = std::clamp(nStart, 0, m_oData.m_nLength);
    nCount = std::min(nCount, m_oData.m_nLength - nStart);
    if (nCount < 1)
        return {};
    if (nCount == m_oData.m_nLength)
        return *this;

    CVQString oPart;
    oPart.AssignCopy(nCount, m_oData.m_pData + nStart);
    return oPart;
}

CVQString CVQString::Mid(int nStart) const
{
    return Mid(nStart, m_oData.m_nLength); // more than there is from nStart on is cut there
}

void CVQString::MakeLower() noexcept
{
    if (m_oData.m_pData != nullptr)
        STR_strlwr(m_oData.m_pData);
}

void CVQString::MakeUpper() noexcept
{
    if (m_oData.m_pData != nullptr)
        STR_strupr(m_oData.m_pData);
}

void CVQString::MakeReverse() noexcept
{
    if (m_oData.m_pData != nullptr)
        STR_strrev(m_oData.m_pData);
}

int CVQString::Replace(char cOld, char cNew) noexcept
{
    if (cOld == cNew)
        return 0;

    char* pCurrent = m_oData.m_pData;
    const char* pEnd = pCurrent + m_oData.m_nLength;
    const auto nOld = static_cast<unsigned char>(cOld);
    int nReplaced = 0;

    // a byte below 0x80 that begins a character is the whole of it, so that it can be searched for
    while (nOld < FIRST_BEYOND_ASCII && pCurrent < pEnd)
    {
        char* pFound = STR_strchr(pCurrent, nOld);
        if (pFound == pEnd)
            break;

        if (pFound == nullptr)
        {
            pCurrent += std::strlen(pCurrent) + 1;
            continue;
        }
        *pFound = cNew;
        pCurrent = pFound + 1;
        ++nReplaced;
    }

    for (; nOld >= FIRST_BEYOND_ASCII && pCurrent < pEnd;)
    {
        char* pNext = STR_strinc(pCurrent);
        if (*pCurrent == cOld)
        {
            *pCurrent = cNew;
            ++nReplaced;
        }
        pCurrent = pNext;
    }
    return nReplaced;
}

int CVQString::Replace(const char* pOld, const char* pNew)
{
    const std::int32_t nOld = GetSafeStringLength(pOld);
    const std::int32_t nNew = GetSafeStringLength(pNew);
    if (nOld == 0 || IsEmpty())
        return 0;
    if (Owns(pOld) || Owns(pNew))
        return Replace(std::string(pOld).c_str(), std::string(View(pNew)).c_str());

    if (nNew <= nOld && m_oData.m_nLockCount <= 1)
        return ReplaceInPlace(pOld, nOld, pNew, nNew);

    const std::int32_t nLength = m_oData.m_nLength;
    std::array<std::int32_t, REMEMBERED_MATCHES> aMatches; // the first ones are not searched twice
    std::size_t nCount = 0;
    for (const char *p = m_oData.m_pData, *pEnd = p + nLength; (p = FindAcrossZeros(p, pEnd, pOld)) != nullptr;
         p += nOld)
    {
        if (nCount < aMatches.size())
            aMatches[nCount] = static_cast<std::int32_t>(p - m_oData.m_pData);
        ++nCount;
    }
    if (nCount == 0)
        return 0;

    const std::int64_t nChanged = nLength + (std::int64_t{nNew} - nOld) * static_cast<std::int64_t>(nCount);
    if (nChanged > MAX_LENGTH)
        ThrowTooLong();
    const auto nNewLength = static_cast<std::int32_t>(nChanged);

    // In place, a text that grows is first moved to the end of its room; what is written never reaches what is read.
    const bool bNewBuffer = nNewLength > m_oData.m_nAllocatedLength || m_oData.m_nLockCount > 1;
    const std::size_t nTextSize = static_cast<std::size_t>(nLength) + 1;
    char* pResult = bNewBuffer ? Alloc(static_cast<std::size_t>(nNewLength) + 1) : m_oData.m_pData;
    const char* pSource = m_oData.m_pData;
    if (!bNewBuffer && nNewLength > nLength)
        pSource =
            static_cast<char*>(std::memmove(m_oData.m_pData + (nNewLength - nLength), m_oData.m_pData, nTextSize));

    const char* pStart = pSource;
    const char* pEnd = pSource + nLength;
    char* pTarget = pResult;
    for (std::size_t i = 0; i < nCount; ++i)
    {
        const char* pFound = i < aMatches.size() ? pStart + aMatches[i] : FindAcrossZeros(pSource, pEnd, pOld);
        const std::ptrdiff_t nKept = pFound - pSource;
        std::memmove(pTarget, pSource, static_cast<std::size_t>(nKept));
        pTarget = std::copy_n(pNew, nNew, pTarget + nKept);
        pSource = pFound + nOld;
    }
    std::memmove(pTarget, pSource, static_cast<std::size_t>(pEnd - pSource) + 1);

    if (bNewBuffer)
    {
        const std::int32_t nStringId = m_oData.m_nStringId;
        TakeBuffer(pResult, nNewLength);
        m_oData.m_nStringId = nStringId;
    }
    m_oData.m_nLength = nNewLength;
    return static_cast<int>(nCount);
}

/// Replaces texts by one that is not longer, in one pass.
int CVQString::ReplaceInPlace(const char* pOld, std::int32_t nOld, const char* pNew, std::int32_t nNew)
{
    const char* pEnd = m_oData.m_pData + m_oData.m_nLength;
    const char* pSource = m_oData.m_pData;
    char* pTarget = m_oData.m_pData;
    int nCount = 0;

    while (const char* pFound = FindAcrossZeros(pSource, pEnd, pOld))
    {
        const std::ptrdiff_t nKept = pFound - pSource;
        if (pTarget != pSource)
            std::memmove(pTarget, pSource, static_cast<std::size_t>(nKept));
        pTarget = std::copy_n(pNew, nNew, pTarget + nKept);
        pSource = pFound + nOld;
        ++nCount;
    }

    if (pTarget != pSource)
        std::memmove(pTarget, pSource, static_cast<std::size_t>(pEnd - pSource) + 1);
    m_oData.m_nLength -= static_cast<std::int32_t>(pSource - pTarget);
    return nCount;
}

void CVQString::TrimLeft() noexcept
{
    if (IsEmpty())
        return;

    const char* pRest = m_oData.m_pData;
    while (STR_isspace(static_cast<unsigned>(*pRest)) != 0)
        pRest = STR_strinc(pRest);

    const auto nSkipped = static_cast<std::int32_t>(pRest - m_oData.m_pData);
    if (nSkipped == 0)
        return;

    m_oData.m_nLength -= nSkipped;
    std::memmove(m_oData.m_pData, pRest, static_cast<std::size_t>(m_oData.m_nLength) + 1);
}

void CVQString::Format(const char* pFormat, ...)
{
    std::va_list pArguments;
    va_start(pArguments, pFormat);
    FormatV(pFormat, pArguments);
    va_end(pArguments);
}

void CVQString::Format(long nResourceId, ...)
{
    CVQString oFormat;
    oFormat.LoadStringResource(nResourceId);

    std::va_list pArguments;
    va_start(pArguments, nResourceId);
    FormatV(~oFormat, pArguments);
    va_end(pArguments);
}

void CVQString::FormatV(const char* pFormat, std::va_list pArguments)
{
    std::array<char, FORMAT_SIZE> aText;
    const char* pSafeFormat = pFormat != nullptr ? pFormat : "";
    STR_vsnprintf(aText.data(), FORMAT_SIZE, pSafeFormat, pArguments);
    aText.back() = '\0'; // a text that does not fit comes without a terminator

    AssignCopy(GetSafeStringLength(aText.data()), aText.data());
}

int CVQString::ToInt(int nBase) const
{
    return static_cast<int>(ToLong(nBase));
}

long CVQString::ToLong(int nBase) const
{
    return IsEmpty() ? 0 : STR_strtol(m_oData.m_pData, nullptr, nBase);
}

unsigned int CVQString::ToUint(int nBase) const
{
    return static_cast<unsigned int>(ToUlong(nBase));
}

unsigned long CVQString::ToUlong(int nBase) const
{
    return IsEmpty() ? 0 : STR_strtoul(m_oData.m_pData, nullptr, nBase);
}

float CVQString::ToFloat() const
{
    return static_cast<float>(ToDouble());
}

double CVQString::ToDouble() const
{
    return IsEmpty() ? 0.0 : STR_strtod(m_oData.m_pData, nullptr);
}

bool CVQString::ToBool() const
{
    constexpr std::string_view TRUE_TEXT = "TRUE";

    if (m_oData.m_nLength == 1)
        return m_oData.m_pData[0] == '1';
    return m_oData.m_nLength == static_cast<std::int32_t>(TRUE_TEXT.size()) && CompareNoCase(TRUE_TEXT.data()) == 0;
}

bool CVQString::LoadStringResource(long nId)
{
    if (s_pfnLoadString == nullptr)
    {
        g_bLoadStringMissing.store(true, std::memory_order_relaxed);
        return false;
    }

    const bool bFound = s_pfnLoadString(nId, *this);
    if (!bFound)
        Empty();
    m_oData.m_nStringId = bFound ? static_cast<std::int32_t>(nId) : NO_STRING_ID;
    return bFound;
}

bool CVQString::IsIdenticalToStringResource() const
{
    if (s_pfnIsStringIdentical == nullptr)
    {
        g_bIsStringIdenticalMissing.store(true, std::memory_order_relaxed);
        return false;
    }
    return HasStringId() && s_pfnIsStringIdentical(GetStringId(), *this);
}

bool CVQString::WasLoadStringMissing() noexcept
{
    return g_bLoadStringMissing.load(std::memory_order_relaxed);
}

bool CVQString::WasIsStringIdenticalMissing() noexcept
{
    return g_bIsStringIdenticalMissing.load(std::memory_order_relaxed);
}

char* CVQString::Alloc(std::size_t nSize)
{
    return static_cast<char*>(::operator new(nSize));
}

std::int32_t CVQString::CheckedLength(std::size_t nLength)
{
    if (nLength > static_cast<std::size_t>(MAX_LENGTH))
        ThrowTooLong();
    return static_cast<std::int32_t>(nLength);
}

std::int32_t CVQString::GetSafeStringLength(const char* pText)
{
    return CheckedLength(pText != nullptr ? std::strlen(pText) : 0);
}

/// Takes the first text of a string, which has no buffer; none for 0 bytes.
void CVQString::Begin(const char* pText, std::size_t nLength)
{
    if (nLength == 0)
        return;

    const std::int32_t nChecked = CheckedLength(nLength);
    char* pBuffer = Alloc(nLength + 1);
    std::memcpy(pBuffer, pText, nLength);
    pBuffer[nLength] = '\0';
    m_oData.m_nLockCount = 1;
    m_oData.m_nLength = nChecked;
    m_oData.m_nAllocatedLength = nChecked;
    m_oData.m_pData = pBuffer;
}

/// What a pointer below FIRST_POINTER means: nothing, or the number of a localised text.
void CVQString::AssignResource(const char* pNumber)
{
    const auto nNumber = reinterpret_cast<std::uintptr_t>(pNumber);
    Empty();
    if (nNumber != 0 && nNumber != NO_RESOURCE)
        LoadStringResource(static_cast<long>(nNumber));
}

/// Leaves an exactly fitting buffer whose text is still to be written, or no buffer for 0. On failure nothing changes.
void CVQString::AllocBuffer(std::int32_t nLength)
{
    if (nLength == 0)
    {
        FreeBuffer();
        return;
    }

    TakeBuffer(Alloc(static_cast<std::size_t>(nLength) + 1), nLength);
    m_oData.m_pData[nLength] = '\0';
}

void CVQString::FreeBuffer() noexcept
{
    Release(m_oData.m_pData);
    m_oData = sStringData();
}

void CVQString::TakeBuffer(char* pBuffer, std::int32_t nLength) noexcept
{
    FreeBuffer();
    m_oData.m_nLockCount = 1;
    m_oData.m_nLength = nLength;
    m_oData.m_nAllocatedLength = nLength;
    m_oData.m_pData = pBuffer;
}

void CVQString::GrowBufferIfNeeded(std::int32_t nLength)
{
    if (nLength > m_oData.m_nAllocatedLength)
        AllocBuffer(nLength);
}

/// Takes a text, which may be a part of the string's own. The string id stays.
void CVQString::AssignCopy(std::int32_t nLength, const char* pText)
{
    if (nLength > m_oData.m_nAllocatedLength) // never for a part of its own text
    {
        const std::int32_t nStringId = m_oData.m_nStringId;
        GrowBufferIfNeeded(nLength);
        m_oData.m_nStringId = nStringId;
    }

    m_oData.m_nLength = nLength;
    if (m_oData.m_pData == nullptr)
        return;

    if (nLength != 0)
        std::memmove(m_oData.m_pData, pText, static_cast<std::size_t>(nLength));
    m_oData.m_pData[nLength] = '\0';
}

/// Appends a text, which may be a part of the string's own, where there is no room for it. The string id stays.
void CVQString::ConcatInPlace(std::int32_t nLength, const char* pText)
{
    const std::int32_t nStringId = m_oData.m_nStringId;
    ConcatCopy(m_oData.m_nLength, m_oData.m_pData, nLength, pText);
    m_oData.m_nStringId = nStringId;
}

/// Becomes two texts, one behind the other, in a buffer of exactly their size. Both may be parts of the string's own.
void CVQString::ConcatCopy(std::int32_t nFirst, const char* pFirst, std::int32_t nSecond, const char* pSecond)
{
    const std::int32_t nLength = CheckedLength(static_cast<std::size_t>(nFirst) + static_cast<std::size_t>(nSecond));
    if (nLength == 0)
        return;

    char* pBuffer = Alloc(static_cast<std::size_t>(nLength) + 1);
    char* pEnd = std::copy_n(pFirst, nFirst, pBuffer);
    pEnd = std::copy_n(pSecond, nSecond, pEnd);
    *pEnd = '\0';
    TakeBuffer(pBuffer, nLength);
}

/// Tells whether a text lies within the buffer.
bool CVQString::Owns(const char* pText) const noexcept
{
    const std::less_equal<const char*> NotBehind;
    return pText != nullptr && m_oData.m_pData != nullptr && NotBehind(m_oData.m_pData, pText) &&
           NotBehind(pText, m_oData.m_pData + m_oData.m_nAllocatedLength);
}

int CVQString::PositionOf(const char* pFound) const noexcept
{
    return pFound != nullptr ? static_cast<int>(pFound - m_oData.m_pData) : -1;
}
