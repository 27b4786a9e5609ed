#pragma once

#include <Common/Export.h>
#include <Common/String/StringTokenizer.h>

#include <cstdint>
#include <map>

/// Splits a text into the tokens of a small language: those of CStringTokenizer, with keywords and the operators
/// "<=", ">=", "<>", ":=" and ".." as tokens of their own.
///
///     CLexAnalyzer oAnalyzer("begin x := 5 end");
///     oAnalyzer.InsertKeyword("begin", 100);
///     oAnalyzer.InsertKeyword("end", 101);
///     oAnalyzer.GetNextToken();                   // 100
///     oAnalyzer.GetNextToken();                   // CLexAnalyzer::TOKEN_WORD, GetStringValue() is "x"
///     oAnalyzer.GetNextToken();                   // CLexAnalyzer::TOKEN_ASSIGN
///
/// Between the two characters of an operator blanks and comments are allowed. After a character that could have begun
/// an operator, GetNumValue() and the characters belong to the token behind it, which has been read ahead.
///
/// PushBack() is this class's own: Rewind() does not take it back, and the token is given once more.
class COMMON_API CLexAnalyzer : public CStringTokenizer
{
public:
    /// @name Token types of the operators
    /// @{
    static constexpr int TOKEN_GREATER_OR_EQUAL = -50; ///< >=
    static constexpr int TOKEN_LESS_OR_EQUAL = -51;    ///< <=
    static constexpr int TOKEN_ASSIGN = -52;           ///< :=
    static constexpr int TOKEN_NOT_EQUAL = -53;        ///< <>
    static constexpr int TOKEN_RANGE = -54;            ///< ..
    /// @}

    /// Starts at the beginning of a text, without keywords.
    explicit CLexAnalyzer(const CVQString& oText);
    CLexAnalyzer(const CLexAnalyzer&) = default;
    CLexAnalyzer& operator=(const CLexAnalyzer&) = default;
    ~CLexAnalyzer() override;

    /// Gives a word a token type of its own, or another one. The match is exact: for keywords in any case switch
    /// ForceLowerCaseMode() on and insert them in lower case.
    ///
    /// @param nToken  a number that is no token type yet: none of -1 to -5, 10, 0 to 255 and -50 to -54
    void InsertKeyword(const CVQString& oKeyword, int nToken);

    void PushBack() override;
    int GetNextToken() override;

    /// The text of the current token.
    ///
    /// @return an operator's own text (".." excepted); the characters of a word, a text block or a string in either
    /// quote;
    ///         "%f" of a number; "EOF" and "EOL" for the ends; for everything else, ".." and keywords included, the
    ///         type as
    ///         "'%c'"
    CVQString GetStringValue() override;

private:
    struct SOrder
    {
        bool operator()(const CVQString& oFirst, const CVQString& oSecond) const
        {
            return oFirst.Compare(~oSecond) < 0;
        }
    };

    int Read();
    bool NextIs(int nToken);

    std::map<CVQString, int, SOrder> m_oKeywords;
    bool m_bPushedBack = false;
    std::int32_t m_nTokenType = 0;
};
