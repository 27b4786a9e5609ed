#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>

/// Splits a text held in memory into words, numbers, quoted strings, text blocks, line ends and single characters.
///
/// For small languages and configuration texts: comments are skipped, line and column are kept for messages, and a
/// table of 256 character types and some switches say what is what. For a language with keywords take CLexAnalyzer.
///
///     CStringTokenizer oTokenizer("speed = 3.5 // metres a second");
///     for (int nToken = oTokenizer.GetNextToken(); nToken != CStringTokenizer::TOKEN_END; nToken =
///     oTokenizer.GetNextToken())
///         if (nToken == CStringTokenizer::TOKEN_WORD)
///             Use(oTokenizer.GetStringValue());
///
/// The table at the start: letters, '_' and the values 160 to 255 are word characters, '0' to '9' digits (a word may go
/// on with them), 0 to 32 blanks, the two quotes open strings; everything else is ordinary and a token of its own.
///
/// A byte of 128 or more ends the text, wherever it stands, unless AllowHighCharacters() is on. For words in UTF-8
/// switch it on and call WordChars(128, 255).
///
/// A setting changes what is read from then on; one character may have been read ahead. The object holds its own copy
/// of the text. It belongs to one thread at a time. Any text is safe: time and memory are linear in its length.
class COMMON_API CStringTokenizer
{
public:
    /// @name Token types
    /// Every other type is the character that opens the string or stands alone, 0 to 255.
    /// @{
    static constexpr int TOKEN_END = -1;         ///< the end of the text
    static constexpr int TOKEN_INTEGER = -2;     ///< a number without a decimal point
    static constexpr int TOKEN_FLOAT = -3;       ///< a number with a decimal point
    static constexpr int TOKEN_WORD = -4;        ///< a word
    static constexpr int TOKEN_TEXT_BLOCK = -5;  ///< what stands between {! and !}
    static constexpr int TOKEN_END_OF_LINE = 10; ///< a line end, while EOLIsSignificant() is on
    /// @}

    /// Starts at the beginning of a text; zeros inside are characters like any others.
    explicit CStringTokenizer(const CVQString& oText);
    CStringTokenizer(const CStringTokenizer&) = default;
    CStringTokenizer& operator=(const CStringTokenizer&) = default;
    virtual ~CStringTokenizer();

    /// Goes back to the beginning of the text; the table and the switches stay.
    virtual void Rewind();

    /// Makes the next GetNextToken() give the current token again, without reading.
    virtual void PushBack();

    /// Reads the next token.
    ///
    /// @return its type; after the end of the text TOKEN_END again and again
    virtual int GetNextToken();

    /// The text of the current token.
    ///
    /// @return for a word or a string in double quotes its characters; for a number "%f" of its value; "EOF" and "EOL"
    /// for
    ///         the ends; for everything else, a string in single quotes and a text block included, the type as "'%c'"
    virtual CVQString GetStringValue();

    /// The value of the current token, 0 when it is no number.
    double GetNumValue() const { return m_dNumValue; }

    /// Makes the characters of a range word characters, beside what they are; the range is clamped to 0 to 255.
    void WordChars(int nLow, int nHigh);

    /// Makes the characters of a range blanks, beside what they are; the range is clamped to 0 to 255.
    void WhiteSpaceChars(int nLow, int nHigh);

    /// Makes the characters of a range ordinary; the range is clamped to 0 to 255.
    void OrdinaryChars(int nLow, int nHigh);

    /// Makes one character, 0 to 255, ordinary.
    void OrdinaryChar(int nCharacter);

    /// Makes a character, 0 to 255, nothing but a quote: strings run from it to the next one.
    void QuoteChar(int nCharacter);

    /// Makes a character, 0 to 255, nothing but the start of a comment, which runs to the end of the line.
    void CommentChar(int nCharacter);

    /// Comments from // to the end of the line; on at the start.
    void AllowSlashSlashComments(bool bAllow) { m_bSlashSlashComments = bAllow; }

    /// Comments between /* and */; on at the start.
    void AllowSlashStarComments(bool bAllow) { m_bSlashStarComments = bAllow; }

    /// Comments between { and }; off at the start.
    void AllowPascalComments(bool bAllow) { m_bPascalComments = bAllow; }

    /// Comments from ; to the end of the line; off at the start.
    void AllowAssemblerComments(bool bAllow) { m_bAssemblerComments = bAllow; }

    /// Text blocks between {! and !}: taken as they stand, without the blanks at both ends; the inner lines keep
    /// theirs. Off at the start; Pascal comments come before them.
    void AllowTextBlocks(bool bAllow) { m_bTextBlocks = bAllow; }

    /// Quoted strings; on at the start. While it is off a quote is an ordinary character.
    void AllowStringHandling(bool bAllow) { m_bStringHandling = bAllow; }

    /// Makes the characters of words lower case; off at the start.
    void ForceLowerCaseMode(bool bForce) { m_bLowerCaseMode = bForce; }

    /// Gives line ends as tokens; off at the start. A carriage return with or without a line feed is one line end.
    void EOLIsSignificant(bool bSignificant) { m_bEolIsSignificant = bSignificant; }

    /// Makes the bytes of 128 and more characters of the table; off at the start, when such a byte ends the text.
    void AllowHighCharacters(bool bAllow);

    /// Sets how many columns apart tab stops are; 4 at the start. Below 1 a tab counts as any other character.
    void SetTabSize(int nSize) { m_nTabSize = nSize; }

    /// Line of the next character to read, from 1.
    int GetLineNumber() const { return m_nLine; }

    /// Column of the next character to read, from 1.
    int GetColumnNumber() const { return m_nColumn; }

    /// Index of the next character to read; one character before it may have been read ahead.
    int GetPosInString() const { return m_nPosition; }

    /// Goes on reading at an index of the text, after a character that was read ahead; line and column stay as they
    /// are. An index outside the text is its end.
    void SetPosInString(int nPosition);

    /// Whether the character that was read last is a line feed, or none was read.
    bool IsStartOfLine() const { return m_bStartOfLine; }

protected:
    /// The text and its end mark, one character of value 255.
    const CVQString& GetOriginalString() const { return m_oText; }

    /// The characters of the current word, quoted string or text block.
    const CVQString& GetCharacters() const { return m_oStringValue; }

private:
    enum eCharacterType : std::uint8_t
    {
        ctOrdinary = 0,
        ctBlank = 1,
        ctDigit = 2,
        ctWord = 4,
        ctQuote = 8,
        ctComment = 16
    };

    static constexpr int NONE = 256; ///< no character is read ahead

    void ParseNumbers();
    void ResetCharacterTypeTable();
    void AddType(int nLow, int nHigh, eCharacterType nType);
    void SetType(int nCharacter, eCharacterType nType);

    bool IsType(int nCharacter, int nTypes) const
    {
        return nCharacter >= 0 && nCharacter < NONE && (m_aTypes[nCharacter] & nTypes) != 0;
    }

    void FindStop();
    int GetChar();
    void Count(char cRead);
    void MoveTo(const char* pTo);
    void MoveInLine(const char* pTo);

    const char* Here() const { return ~m_oText + m_nPosition; }

    const char* Stop() const { return ~m_oText + m_nStop; }

    int Return(int nType, int nPeek);
    int ReadNumber(int nCharacter);
    int ReadWord(int nCharacter);
    int ReadQuoted(int nQuote);
    int ReadTextBlock();
    int SkipLine();
    int SkipSlashSlashComments();
    int SkipTo(char cEnd);
    int SkipSlashStarComment();
    void SetCharacters(const char* pBegin, const char* pEnd);

    std::int32_t m_nPosition = 0;
    CVQString m_oStringValue;
    double m_dNumValue = 0;
    CVQString m_oText;
    bool m_bSlashSlashComments = true;
    bool m_bSlashStarComments = true;
    bool m_bPascalComments = false;
    bool m_bTextBlocks = false;
    bool m_bAssemblerComments = false;
    bool m_bStringHandling = true;
    bool m_bLowerCaseMode = false;
    bool m_bEolIsSignificant = false;
    bool m_bPushedBack = false;
    std::int32_t m_nLine = 1;
    std::int32_t m_nColumn = 1;
    std::uint8_t m_aTypes[256];
    std::int32_t m_nPeek = NONE; ///< read ahead and not used yet, or NONE
    std::int32_t m_nTokenType = 0;
    std::int32_t m_nTabSize = 4;
    bool m_bStartOfLine = true;
    bool m_bHighCharacters = false;
    std::int32_t m_nStopFrom = 0; ///< there is no end of the text from here
    std::int32_t m_nStop = 0;     ///< up to here, where one stands
};
