#include <Common/Platform/PlatformString.h>
#include <Common/String/ControlEscape.h>
#include <Common/String/StringTokenizer.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <string>

namespace
{
constexpr char END_MARK = '\xFF';
constexpr int END = -1;
constexpr int LAST_CHARACTER = 255;
constexpr std::int32_t LAST_COLUMN = std::numeric_limits<std::int32_t>::max();

bool IsDigit(int nCharacter)
{
    return nCharacter >= '0' && nCharacter <= '9';
}

bool IsOctalDigit(int nCharacter)
{
    return nCharacter >= '0' && nCharacter <= '7';
}

bool IsLineEnd(int nCharacter)
{
    return nCharacter == '\n' || nCharacter == '\r';
}

constexpr std::ptrdiff_t WORD_SIZE = 8;
constexpr std::uint64_t LOW_BITS = 0x0101010101010101; // of each byte in a word
constexpr std::uint64_t HIGH_BITS = 0x8080808080808080;

std::uint64_t LoadWord(const char* pBytes)
{
    std::uint64_t nWord;
    std::memcpy(&nWord, pBytes, sizeof nWord);
    return nWord;
}

/// The first byte of 128 or more, or pEnd.
const char* FindHighByte(const char* pBegin, const char* pEnd)
{
    while (pEnd - pBegin >= WORD_SIZE && (LoadWord(pBegin) & HIGH_BITS) == 0)
        pBegin += WORD_SIZE;
    return std::find_if(pBegin, pEnd, [](char c) { return static_cast<signed char>(c) < 0; });
}

/// Bits 0 to 7 for the bytes of a word that are no greater than a carriage return; there may be bits of others beside
/// such a byte.
std::uint64_t NearLineEnds(std::uint64_t nWord)
{
    constexpr std::uint64_t BEYOND = LOW_BITS * ('\r' + 1);
    constexpr std::uint64_t GATHER = 0x0002040810204081; // moves the high bit of each byte into the highest byte
    return ((nWord - BEYOND) & ~nWord & HIGH_BITS) * GATHER >> 56;
}

/// The first line feed or carriage return, or pEnd. Lines are short: one pass for both is done before two calls that
/// look for one byte each, and whole blocks leave few branches that depend on the length of a line.
const char* FindLineEnd(const char* pBegin, const char* pEnd)
{
    constexpr int BLOCK_WORDS = 4;
    constexpr std::ptrdiff_t BLOCK_SIZE = BLOCK_WORDS * WORD_SIZE;
    for (; pEnd - pBegin >= BLOCK_SIZE; pBegin += BLOCK_SIZE)
    {
        std::uint64_t nNear = 0;
        for (int i = 0; i < BLOCK_WORDS; ++i)
            nNear |= NearLineEnds(LoadWord(pBegin + i * WORD_SIZE)) << i * WORD_SIZE;
        for (; nNear != 0; nNear &= nNear - 1)
            if (const char* const pNear = pBegin + std::countr_zero(nNear); IsLineEnd(*pNear))
                return pNear;
    }
    return std::find_if(pBegin, pEnd, IsLineEnd);
}

std::int32_t CountLineFeeds(const char* pBegin, const char* pEnd)
{
    // A sum of bytes over a fixed number of them is what compilers make vectors of.
    constexpr std::ptrdiff_t AT_ONCE = 64;
    std::int32_t nCount = 0;
    for (; pEnd - pBegin >= AT_ONCE; pBegin += AT_ONCE)
    {
        std::uint8_t nInBlock = 0;
        for (std::ptrdiff_t i = 0; i < AT_ONCE; ++i)
            nInBlock = static_cast<std::uint8_t>(nInBlock + (pBegin[i] == '\n' ? 1 : 0));
        nCount += nInBlock;
    }
    return nCount + static_cast<std::int32_t>(std::count(pBegin, pEnd, '\n'));
}

/// Makes a terminated text lower case, what stands behind zeros in it too.
void LowerAll(char* pText, const char* pEnd)
{
    for (; pText < pEnd; pText += std::strlen(pText) + 1)
        STR_strlwr(pText);
}

/// What a character behind a backslash stands for.
char EscapedCharacter(int nCharacter)
{
    const char cControl = GetControlEscape(nCharacter);
    return cControl != '\0' ? cControl : static_cast<char>(nCharacter);
}
} // namespace

CStringTokenizer::CStringTokenizer(const CVQString& oText) : m_oText(END_MARK, static_cast<int>(oText.GetLength() + 1))
{
    if (!oText.IsEmpty())
        std::memcpy(m_oText.GetBuffer(0), ~oText, static_cast<std::size_t>(oText.GetLength()));
    m_oText.ReleaseBuffer(static_cast<int>(oText.GetLength() + 1));
    ResetCharacterTypeTable();
    WordChars('a', 'z');
    WordChars('A', 'Z');
    WordChars(160, LAST_CHARACTER);
    WordChars('_', '_');
    QuoteChar('"');
    QuoteChar('\'');
    WhiteSpaceChars(0, ' ');
    ParseNumbers();
    FindStop();
}

CStringTokenizer::~CStringTokenizer() = default;

void CStringTokenizer::Rewind()
{
    SetPosInString(0);
    m_nLine = 1;
    m_nColumn = 1;
    m_bStartOfLine = true;
    m_bPushedBack = false;
    m_oStringValue.Empty();
    m_dNumValue = 0;
    m_nPeek = NONE;
}

void CStringTokenizer::PushBack()
{
    m_bPushedBack = true;
}

CVQString CStringTokenizer::GetStringValue()
{
    switch (m_nTokenType)
    {
    case TOKEN_WORD:
    case '"':
        return m_oStringValue;
    case TOKEN_INTEGER:
    case TOKEN_FLOAT:
        return CVQString(sctFormat, "%f", m_dNumValue);
    case TOKEN_END:
        return "EOF";
    case TOKEN_END_OF_LINE:
        return "EOL";
    default:
        return CVQString(sctFormat, "'%c'", m_nTokenType);
    }
}

void CStringTokenizer::ResetCharacterTypeTable()
{
    OrdinaryChars(0, LAST_CHARACTER);
}

void CStringTokenizer::ParseNumbers()
{
    AddType('0', '9', ctDigit);
}

void CStringTokenizer::WordChars(int nLow, int nHigh)
{
    AddType(nLow, nHigh, ctWord);
}

void CStringTokenizer::WhiteSpaceChars(int nLow, int nHigh)
{
    AddType(nLow, nHigh, ctBlank);
}

void CStringTokenizer::AddType(int nLow, int nHigh, eCharacterType nType)
{
    for (int n = std::max(nLow, 0); n <= std::min(nHigh, LAST_CHARACTER); ++n)
        m_aTypes[n] = static_cast<std::uint8_t>(m_aTypes[n] | nType);
}

void CStringTokenizer::OrdinaryChars(int nLow, int nHigh)
{
    for (int n = std::max(nLow, 0); n <= std::min(nHigh, LAST_CHARACTER); ++n)
        m_aTypes[n] = ctOrdinary;
}

void CStringTokenizer::OrdinaryChar(int nCharacter)
{
    SetType(nCharacter, ctOrdinary);
}

void CStringTokenizer::QuoteChar(int nCharacter)
{
    SetType(nCharacter, ctQuote);
}

void CStringTokenizer::CommentChar(int nCharacter)
{
    SetType(nCharacter, ctComment);
}

void CStringTokenizer::SetType(int nCharacter, eCharacterType nType)
{
    if (nCharacter >= 0 && nCharacter <= LAST_CHARACTER)
        m_aTypes[nCharacter] = nType;
}

void CStringTokenizer::AllowHighCharacters(bool bAllow)
{
    m_bHighCharacters = bAllow;
    FindStop();
}

void CStringTokenizer::SetPosInString(int nPosition)
{
    const auto nEnd = static_cast<std::int32_t>(m_oText.GetLength() - 1);
    m_nPosition = nPosition >= 0 && nPosition <= nEnd ? nPosition : nEnd;
    if (m_nPosition < m_nStopFrom || m_nPosition > m_nStop)
        FindStop();
}

/// Finds where the text ends for a reader who stands at the position.
void CStringTokenizer::FindStop()
{
    const auto nEnd = static_cast<std::int32_t>(m_oText.GetLength() - 1);
    m_nStopFrom = std::min(m_nPosition, nEnd);
    m_nStop = nEnd;
    if (!m_bHighCharacters)
        m_nStop = static_cast<std::int32_t>(FindHighByte(~m_oText + m_nStopFrom, Stop()) - ~m_oText);
}

/// Reads a character.
///
/// @return 0 to 255, or END at the end of the text
int CStringTokenizer::GetChar()
{
    if (m_nPosition < m_nStop)
    {
        const char cRead = *Here();
        ++m_nPosition;
        Count(cRead);
        return static_cast<unsigned char>(cRead);
    }
    if (m_nPosition == m_nStop)
    {
        ++m_nPosition;
        Count(END_MARK);
    }
    return END;
}

/// Keeps line and column for a character that is read.
void CStringTokenizer::Count(char cRead)
{
    m_bStartOfLine = cRead == '\n';
    if (cRead == '\n')
    {
        ++m_nLine;
        m_nColumn = 1;
    }
    else if (cRead == '\t' && m_nTabSize > 0)
    {
        const std::int64_t nNext = std::int64_t{m_nColumn} + m_nTabSize - m_nColumn % m_nTabSize;
        m_nColumn = static_cast<std::int32_t>(std::min<std::int64_t>(nNext, LAST_COLUMN));
    }
    else if (m_nColumn < LAST_COLUMN)
    {
        ++m_nColumn;
    }
}

/// Reads all up to a place: no tabs and no line feeds, at least one character.
void CStringTokenizer::MoveInLine(const char* pTo)
{
    const auto nCount = static_cast<std::int32_t>(pTo - Here());
    m_nColumn += std::min(nCount, LAST_COLUMN - m_nColumn);
    m_nPosition += nCount;
    m_bStartOfLine = false;
}

/// Reads all up to a place, which is not beyond the stop. Like all that read on: the character before was read, so the
/// position is not beyond the stop.
void CStringTokenizer::MoveTo(const char* pTo)
{
    constexpr std::ptrdiff_t WORTH_A_SEARCH = 64;

    const char* pFrom = Here();
    if (pTo - pFrom > WORTH_A_SEARCH)
    {
        // Of the lines that are passed whole only the number counts.
        const std::int32_t nLines = CountLineFeeds(pFrom, pTo);
        if (nLines > 0)
        {
            pFrom = std::find(std::make_reverse_iterator(pTo), std::make_reverse_iterator(pFrom), '\n').base();
            m_nLine += nLines;
            m_nColumn = 1;
            m_bStartOfLine = true;
        }
    }
    for (; pFrom < pTo; ++pFrom)
        Count(*pFrom);
    m_nPosition = static_cast<std::int32_t>(pTo - ~m_oText);
}

int CStringTokenizer::Return(int nType, int nPeek)
{
    m_nTokenType = nType;
    m_nPeek = nPeek;
    return nType;
}

int CStringTokenizer::GetNextToken()
{
    if (m_bPushedBack)
    {
        m_bPushedBack = false;
        return m_nTokenType;
    }
    m_oStringValue.Empty();
    m_dNumValue = 0;

    for (int nCharacter = m_nPeek;;) // each comment goes round once more
    {
        if (nCharacter == NONE)
            nCharacter = GetChar();

        while (IsType(nCharacter, ctBlank))
        {
            if (nCharacter == ' ' && m_nPosition < m_nStop && *Here() == ' ')
            {
                const char* pEnd = Here();
                while (pEnd < Stop() && *pEnd == ' ')
                    ++pEnd;
                MoveInLine(pEnd);
            }

            const bool bReturn = nCharacter == '\r';
            if (nCharacter == '\n' && m_bEolIsSignificant)
                return Return(TOKEN_END_OF_LINE, NONE);
            nCharacter = GetChar();
            if (!bReturn)
                continue;
            if (nCharacter == '\n')
                nCharacter = GetChar();
            if (m_bEolIsSignificant)
                return Return(TOKEN_END_OF_LINE, nCharacter);
        }
        if (nCharacter < 0)
            return Return(TOKEN_END, END);

        if (IsType(nCharacter, ctDigit))
            return ReadNumber(nCharacter);
        if (IsType(nCharacter, ctWord))
            return ReadWord(nCharacter);
        if (IsType(nCharacter, ctQuote) && m_bStringHandling)
            return ReadQuoted(nCharacter);

        if (IsType(nCharacter, ctComment) || (nCharacter == ';' && m_bAssemblerComments))
        {
            nCharacter = SkipLine();
        }
        else if (nCharacter == '{' && m_bPascalComments)
        {
            nCharacter = SkipTo('}');
        }
        else if (nCharacter == '{' && m_bTextBlocks)
        {
            const int nNext = GetChar();
            return nNext == '!' ? ReadTextBlock() : Return('{', nNext);
        }
        else if (nCharacter == '/' && (m_bSlashSlashComments || m_bSlashStarComments))
        {
            const int nNext = GetChar();
            if (nNext == '/' && m_bSlashSlashComments)
                nCharacter = SkipSlashSlashComments();
            else if (nNext == '*' && m_bSlashStarComments)
                nCharacter = SkipSlashStarComment();
            else
                return Return('/', nNext);
        }
        else
        {
            return Return(nCharacter, NONE);
        }
    }
}

int CStringTokenizer::ReadNumber(int nCharacter)
{
    constexpr double ENOUGH_DIGITS = 1e290; // what comes behind them could only make the value overflow

    for (; IsDigit(nCharacter); nCharacter = GetChar())
        m_dNumValue = m_dNumValue * 10 + (nCharacter - '0');
    if (nCharacter != '.')
        return Return(TOKEN_INTEGER, nCharacter);

    const std::int32_t nPosition = m_nPosition;
    const std::int32_t nLine = m_nLine;
    const std::int32_t nColumn = m_nColumn;
    const bool bStartOfLine = m_bStartOfLine;
    nCharacter = GetChar();
    if (!IsDigit(nCharacter))
    {
        m_nPosition = nPosition;
        m_nLine = nLine;
        m_nColumn = nColumn;
        m_bStartOfLine = bStartOfLine;
        return Return(TOKEN_INTEGER, '.');
    }

    double dDivisor = 1;
    for (; IsDigit(nCharacter); nCharacter = GetChar())
    {
        if (m_dNumValue >= ENOUGH_DIGITS || dDivisor >= ENOUGH_DIGITS)
            continue;
        m_dNumValue = m_dNumValue * 10 + (nCharacter - '0');
        dDivisor *= 10;
    }
    m_dNumValue /= dDivisor;
    return Return(TOKEN_FLOAT, nCharacter);
}

int CStringTokenizer::ReadWord(int nCharacter)
{
    const char* pEnd = Here();
    while (pEnd < Stop() && IsType(static_cast<unsigned char>(*pEnd), ctWord | ctDigit))
        ++pEnd;

    const auto nRest = static_cast<std::size_t>(pEnd - Here());
    char* const pTarget = m_oStringValue.GetBuffer(static_cast<int>(nRest) + 1);
    pTarget[0] = static_cast<char>(nCharacter);
    std::memcpy(pTarget + 1, Here(), nRest);
    m_oStringValue.ReleaseBuffer(static_cast<int>(nRest) + 1);
    if (m_bLowerCaseMode)
        LowerAll(pTarget, pTarget + nRest + 1);

    if (pEnd > Here() && !IsType('\t', ctWord | ctDigit) && !IsType('\n', ctWord | ctDigit))
        MoveInLine(pEnd);
    else
        MoveTo(pEnd);
    return Return(TOKEN_WORD, GetChar());
}

void CStringTokenizer::SetCharacters(const char* pBegin, const char* pEnd)
{
    const auto nLength = static_cast<int>(pEnd - pBegin);
    if (nLength == 0)
        return;
    std::memcpy(m_oStringValue.GetBuffer(nLength), pBegin, static_cast<std::size_t>(nLength));
    m_oStringValue.ReleaseBuffer(nLength);
}

int CStringTokenizer::ReadQuoted(int nQuote)
{
    std::string oCollected; // stays empty while there is no escape
    const auto Finish = [&](int nPeek)
    {
        SetCharacters(oCollected.data(), oCollected.data() + oCollected.size());
        return Return(nQuote, nPeek);
    };

    for (;;)
    {
        const char* const pBegin = Here();
        const char* pEnd = pBegin;
        while (pEnd < Stop() && static_cast<unsigned char>(*pEnd) != nQuote && *pEnd != '\\' && !IsLineEnd(*pEnd))
            ++pEnd;
        MoveTo(pEnd);

        int nCharacter = GetChar();
        if (nCharacter != '\\' || nQuote == '\\')
        {
            if (!oCollected.empty())
            {
                oCollected.append(pBegin, pEnd);
                return Finish(nCharacter < 0 ? END : NONE);
            }
            SetCharacters(pBegin, pEnd);
            return Return(nQuote, nCharacter < 0 ? END : NONE);
        }
        oCollected.append(pBegin, pEnd);

        nCharacter = GetChar();
        if (nCharacter < 0)
            return Finish(END);
        if (!IsOctalDigit(nCharacter))
        {
            oCollected += EscapedCharacter(nCharacter);
            continue;
        }

        int nValue = nCharacter - '0';
        int nDigits = 1;
        for (nCharacter = NONE; nDigits < 3; ++nDigits)
        {
            nCharacter = GetChar();
            if (!IsOctalDigit(nCharacter))
                break;
            nValue = nValue * 8 + (nCharacter - '0');
        }
        oCollected += static_cast<char>(nValue);
        if (nDigits == 3)
            continue;
        if (nCharacter < 0)
            return Finish(END);
        if (IsType(nCharacter, ctQuote))
            return Finish(NONE);
        oCollected += static_cast<char>(nCharacter);
    }
}

int CStringTokenizer::ReadTextBlock()
{
    int nCharacter = GetChar();
    while (IsType(nCharacter, ctBlank))
        nCharacter = GetChar();
    if (nCharacter < 0)
        return Return(TOKEN_END, END);

    const char* const pBegin = Here() - 1;
    const char* pMark = pBegin;
    while (pMark < Stop() && !(*pMark == '!' && pMark[1] == '}'))
        ++pMark;
    if (pMark == Stop())
    {
        MoveTo(pMark);
        return Return(TOKEN_END, GetChar());
    }

    const char* pEnd = pMark;
    while (pEnd > pBegin && IsType(static_cast<unsigned char>(pEnd[-1]), ctBlank))
        --pEnd;
    SetCharacters(pBegin, pEnd);
    MoveTo(pMark + 2);
    return Return(TOKEN_TEXT_BLOCK, NONE);
}

/// Skips to the end of the line and reads the character that ends it.
int CStringTokenizer::SkipLine()
{
    const char* const pEnd = FindLineEnd(Here(), Stop());
    if (pEnd == Stop() || *pEnd != '\n')
    {
        MoveTo(pEnd);
        return GetChar();
    }
    m_nPosition = static_cast<std::int32_t>(pEnd + 1 - ~m_oText); // the line feed makes the column start anew
    Count('\n');
    return '\n';
}

/// Skips to the end of the line, and over the lines below it that are comments from their first character on: they
/// often come in rows.
int CStringTokenizer::SkipSlashSlashComments()
{
    const bool bPassLineFeeds = IsType('\n', ctBlank) && !m_bEolIsSignificant;
    int nCharacter = SkipLine();
    while (bPassLineFeeds && nCharacter == '\n' && Stop() - Here() >= 2 && Here()[0] == '/' && Here()[1] == '/')
    {
        MoveInLine(Here() + 2);
        nCharacter = SkipLine();
    }
    return nCharacter;
}

/// Skips a character and all before it.
///
/// @return NONE, or END when there is no such character
int CStringTokenizer::SkipTo(char cEnd)
{
    const auto* pEnd = static_cast<const char*>(std::memchr(Here(), cEnd, static_cast<std::size_t>(Stop() - Here())));
    MoveTo(pEnd != nullptr ? pEnd : Stop());
    return GetChar() < 0 ? END : NONE;
}

int CStringTokenizer::SkipSlashStarComment()
{
    // The slash is looked for: many a comment has a star in each line.
    for (const char* pFrom = Here() + 1; pFrom < Stop(); ++pFrom)
    {
        pFrom = static_cast<const char*>(std::memchr(pFrom, '/', static_cast<std::size_t>(Stop() - pFrom)));
        if (pFrom == nullptr)
            break;
        if (pFrom[-1] == '*')
        {
            MoveTo(pFrom + 1);
            return NONE;
        }
    }
    MoveTo(Stop());
    return GetChar();
}
