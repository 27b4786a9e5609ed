#pragma once

#include <Common/String/LexAnalyzer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <string_view>

/// What the tokenizers must give, one character at a time and without any thought of speed: the fuzz targets hold the
/// real ones against it.
namespace Model
{
constexpr int END = -1;
constexpr int NONE = 256;

enum eType
{
    tBlank = 1,
    tDigit = 2,
    tWord = 4,
    tQuote = 8,
    tComment = 16
};

inline void Require(bool bHolds, const char* pWhat)
{
    if (bHolds)
        return;
    std::fprintf(stderr, "not as the model has it: %s\n", pWhat);
    std::abort();
}

inline CVQString TextOf(std::string_view sBytes)
{
    CVQString oText;
    if (!sBytes.empty())
    {
        const int nSize = static_cast<int>(sBytes.size());
        std::memcpy(oText.GetBuffer(nSize), sBytes.data(), sBytes.size());
        oText.ReleaseBuffer(nSize);
    }
    return oText;
}

inline std::string BytesOf(const CVQString& oText)
{
    return oText.IsEmpty() ? std::string() : std::string(~oText, static_cast<std::size_t>(oText.GetLength()));
}

/// The characters a program reads, beside what is protected.
template <class Base>
class COpen : public Base
{
public:
    using Base::Base;
    using Base::GetCharacters;
};

class CTokenizer
{
public:
    explicit CTokenizer(std::string_view sText) : m_sText(sText)
    {
        for (int c = 0; c <= 255; ++c)
        {
            const bool bLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 160;
            m_aTypes[c] = bLetter ? tWord : c <= ' ' ? tBlank : c == '"' || c == '\'' ? tQuote : 0;
            if (c >= '0' && c <= '9')
                m_aTypes[c] = tDigit;
        }
    }

    void AddType(int nLow, int nHigh, eType nType)
    {
        for (int c = std::max(nLow, 0); c <= std::min(nHigh, 255); ++c)
            m_aTypes[c] |= nType;
    }

    void ClearTypes(int nLow, int nHigh)
    {
        for (int c = nLow; c <= nHigh; ++c)
            SetType(c, 0);
    }

    void SetType(int c, int nType)
    {
        if (c >= 0 && c <= 255)
            m_aTypes[c] = nType;
    }

    void Rewind()
    {
        m_nPosition = 0;
        m_nLine = m_nColumn = 1;
        m_bStartOfLine = true;
        m_bPushedBack = false;
        m_sValue.clear();
        m_sDigits.clear();
        m_nPeek = NONE;
    }

    void SetPosInString(int nPosition)
    {
        const bool bInside = nPosition >= 0 && static_cast<std::size_t>(nPosition) <= m_sText.size();
        m_nPosition = bInside ? static_cast<std::size_t>(nPosition) : m_sText.size();
    }

    /// Whether every further token is the end.
    bool IsAtEnd() const { return m_nPeek == END; }

    int GetNextToken()
    {
        if (m_bPushedBack)
            m_bPushedBack = false;
        else
            m_nType = ReadToken();
        return m_nType;
    }

    std::string GetStringValue(double dNumber) const { return TextOfType(m_nType, dNumber); }

    /// The text of a token of any type.
    std::string TextOfType(int nType, double dNumber) const
    {
        char aText[400];
        const char cType = static_cast<char>(nType);
        switch (nType)
        {
        case -4:
        case '"':
            return m_sValue;
        case -2:
        case -3:
            std::snprintf(aText, sizeof aText, "%f", dNumber);
            return aText;
        case -1:
            return "EOF";
        case 10:
            return "EOL";
        default:
            return cType == 0 ? "'" : std::string{'\'', cType, '\''}; // a formatted text ends at a zero
        }
    }

    /// Whether a value is that of the digits, but for the rounding of a long row of them.
    bool IsNumber(double dValue) const
    {
        if (m_sDigits.empty())
            return dValue == 0;
        const double dExact = std::strtod(m_sDigits.c_str(), nullptr);
        if (dExact > 1e300)
            return dValue > 1e299;
        return std::fabs(dValue - dExact) <= dExact * 1e-11 + 1e-280;
    }

    bool m_bSlashSlash = true;
    bool m_bSlashStar = true;
    bool m_bPascal = false;
    bool m_bTextBlocks = false;
    bool m_bAssembler = false;
    bool m_bStrings = true;
    bool m_bLowerCase = false;
    bool m_bLineEnds = false;
    bool m_bHigh = false;
    bool m_bPushedBack = false;
    int m_nTabSize = 4;

    int m_nLine = 1;
    int m_nColumn = 1;
    bool m_bStartOfLine = true;
    std::size_t m_nPosition = 0;
    std::string m_sValue;

private:
    bool Is(int c, int nTypes) const { return c >= 0 && c <= 255 && (m_aTypes[c] & nTypes) != 0; }

    int Read()
    {
        if (m_nPosition > m_sText.size())
            return END;
        const bool bText = m_nPosition < m_sText.size();
        const int c = bText ? static_cast<unsigned char>(m_sText[m_nPosition]) : 255;
        ++m_nPosition;

        m_bStartOfLine = c == '\n';
        if (c == '\n')
        {
            ++m_nLine;
            m_nColumn = 1;
        }
        else
        {
            std::int64_t nColumn = m_nColumn;
            nColumn += c == '\t' && m_nTabSize > 0 ? m_nTabSize - nColumn % m_nTabSize : 1;
            m_nColumn = static_cast<int>(std::min<std::int64_t>(nColumn, std::numeric_limits<int>::max()));
        }
        return bText && (m_bHigh || c < 128) ? c : END;
    }

    int Give(int nType, int nPeek)
    {
        m_nPeek = nPeek;
        return nType;
    }

    int SkipLine()
    {
        int c = Read();
        while (c != '\n' && c != '\r' && c != END)
            c = Read();
        return c;
    }

    int ReadToken()
    {
        m_sValue.clear();
        m_sDigits.clear();
        for (int c = m_nPeek;;)
        {
            if (c == NONE)
                c = Read();
            while (Is(c, tBlank))
            {
                if (c == '\r')
                {
                    c = Read();
                    if (c == '\n')
                        c = Read();
                    if (m_bLineEnds)
                        return Give(10, c);
                }
                else if (c == '\n' && m_bLineEnds)
                {
                    return Give(10, NONE);
                }
                else
                {
                    c = Read();
                }
            }
            if (c == END)
                return Give(-1, END);
            if (Is(c, tDigit))
                return Number(c);
            if (Is(c, tWord))
                return Word(c);
            if (Is(c, tComment))
            {
                c = SkipLine();
                continue;
            }
            if (Is(c, tQuote) && m_bStrings)
                return Quoted(c);
            if (c == '{' && m_bPascal)
            {
                while (c != '}' && c != END)
                    c = Read();
                c = c == END ? END : NONE;
                continue;
            }
            if (c == '{' && m_bTextBlocks)
            {
                c = Read();
                return c == '!' ? TextBlock() : Give('{', c);
            }
            if (c == '/' && (m_bSlashSlash || m_bSlashStar))
            {
                c = Read();
                if (c == '/' && m_bSlashSlash)
                {
                    c = SkipLine();
                    continue;
                }
                if (c == '*' && m_bSlashStar)
                {
                    int nBefore = 0;
                    for (c = Read(); c != END && !(nBefore == '*' && c == '/'); c = Read())
                        nBefore = c;
                    c = c == END ? END : NONE;
                    continue;
                }
                return Give('/', c);
            }
            if (c == ';' && m_bAssembler)
            {
                c = SkipLine();
                continue;
            }
            return Give(c, NONE);
        }
    }

    int Number(int c)
    {
        const auto IsFigure = [](int n) { return n >= '0' && n <= '9'; };
        for (; IsFigure(c); c = Read())
            m_sDigits += static_cast<char>(c);
        if (c != '.')
            return Give(-2, c);

        const CTokenizer oBefore = *this;
        c = Read();
        if (!IsFigure(c))
        {
            *this = oBefore;
            return Give(-2, '.');
        }
        for (m_sDigits += '.'; IsFigure(c); c = Read())
            m_sDigits += static_cast<char>(c);
        return Give(-3, c);
    }

    int Word(int c)
    {
        for (; Is(c, tWord | tDigit); c = Read())
            m_sValue += static_cast<char>(m_bLowerCase && c >= 'A' && c <= 'Z' ? c + 32 : c);
        return Give(-4, c);
    }

    int Quoted(int nQuote)
    {
        for (;;)
        {
            int c = Read();
            if (c == nQuote || c == '\n' || c == '\r')
                return Give(nQuote, NONE);
            if (c == END)
                return Give(nQuote, END);
            if (c != '\\')
            {
                m_sValue += static_cast<char>(c);
                continue;
            }

            c = Read();
            if (c == END)
                return Give(nQuote, END);
            if (c < '0' || c > '7')
            {
                static constexpr std::string_view LETTERS = "abfnrtv";
                static constexpr std::string_view MEANINGS = "\a\b\f\n\r\t\v";
                const std::size_t nLetter = LETTERS.find(static_cast<char>(c));
                m_sValue += nLetter != std::string_view::npos ? MEANINGS[nLetter] : static_cast<char>(c);
                continue;
            }
            std::string sOctal(1, static_cast<char>(c));
            c = NONE;
            while (sOctal.size() < 3)
            {
                c = Read();
                if (c < '0' || c > '7')
                    break;
                sOctal += static_cast<char>(c);
                c = NONE;
            }
            m_sValue += static_cast<char>(std::stoi(sOctal, nullptr, 8));
            if (c == END)
                return Give(nQuote, END);
            if (c != NONE && Is(c, tQuote))
                return Give(nQuote, NONE);
            if (c != NONE)
                m_sValue += static_cast<char>(c);
        }
    }

    int TextBlock()
    {
        int c = Read();
        while (Is(c, tBlank))
            c = Read();
        for (; c != END; c = Read())
        {
            m_sValue += static_cast<char>(c);
            if (!m_sValue.ends_with("!}"))
                continue;
            m_sValue.resize(m_sValue.size() - 2);
            while (!m_sValue.empty() && Is(static_cast<unsigned char>(m_sValue.back()), tBlank))
                m_sValue.pop_back();
            return Give(-5, NONE);
        }
        m_sValue.clear();
        return Give(-1, END);
    }

    std::string_view m_sText;
    int m_aTypes[256] = {};
    std::string m_sDigits;
    int m_nPeek = NONE;
    int m_nType = 0;
};

class CAnalyzer
{
public:
    explicit CAnalyzer(std::string_view sText) : m_oBase(sText) {}

    int GetNextToken()
    {
        if (m_bPushedBack)
            m_bPushedBack = false;
        else
            m_nType = ReadToken();
        return m_nType;
    }

    std::string GetStringValue(double dNumber) const
    {
        switch (m_nType)
        {
        case -50:
            return ">=";
        case -51:
            return "<=";
        case -52:
            return ":=";
        case -53:
            return "<>";
        case -5:
        case '\'':
            return m_oBase.m_sValue;
        default:
            return m_oBase.TextOfType(m_nType, dNumber);
        }
    }

    CTokenizer m_oBase;
    std::map<std::string, int> m_oKeywords;
    bool m_bPushedBack = false;

private:
    bool Next(int nWanted)
    {
        if (m_oBase.GetNextToken() == nWanted)
            return true;
        m_oBase.m_bPushedBack = true;
        return false;
    }

    int ReadToken()
    {
        const int nToken = m_oBase.GetNextToken();
        if (nToken == -4)
        {
            const auto it = m_oKeywords.find(m_oBase.m_sValue.c_str()); // a word is compared up to a zero
            return it != m_oKeywords.end() ? it->second : -4;
        }
        if (nToken == '.' && Next('.'))
            return -54;
        if (nToken == '<' && Next('='))
            return -51;
        if (nToken == '<' && Next('>'))
            return -53;
        if (nToken == '>' && Next('='))
            return -50;
        if (nToken == ':' && Next('='))
            return -52;
        return nToken;
    }

    int m_nType = 0;
};

/// One step of a program, three bytes of the input: a setting of both, the real one and the model.
struct SStep
{
    unsigned char nKind;
    unsigned char nFirst;
    unsigned char nSecond;
};

/// A switch of both, and the kind of its step.
struct SSwitch
{
    unsigned char nKind;
    void (CStringTokenizer::*pReal)(bool);
    bool CTokenizer::*pModel;
};

inline constexpr SSwitch SWITCHES[] = {
    {'/', &CStringTokenizer::AllowSlashSlashComments, &CTokenizer::m_bSlashSlash},
    {'*', &CStringTokenizer::AllowSlashStarComments, &CTokenizer::m_bSlashStar},
    {'{', &CStringTokenizer::AllowPascalComments, &CTokenizer::m_bPascal},
    {';', &CStringTokenizer::AllowAssemblerComments, &CTokenizer::m_bAssembler},
    {'!', &CStringTokenizer::AllowTextBlocks, &CTokenizer::m_bTextBlocks},
    {'"', &CStringTokenizer::AllowStringHandling, &CTokenizer::m_bStrings},
    {'l', &CStringTokenizer::ForceLowerCaseMode, &CTokenizer::m_bLowerCase},
    {'e', &CStringTokenizer::EOLIsSignificant, &CTokenizer::m_bLineEnds},
    {'h', &CStringTokenizer::AllowHighCharacters, &CTokenizer::m_bHigh},
};

/// Does a step that tokenizer and analyzer have in common.
///
/// @return false when the kind is none of them
inline bool Do(const SStep& oStep, CStringTokenizer& oReal, CTokenizer& oModel)
{
    const int nFirst = oStep.nFirst;
    const int nSecond = oStep.nSecond;
    const auto Far = [&](int nNear) { return nSecond >= 128 ? (nSecond - 192) * (1 << 24) : nNear; };
    for (const SSwitch& oSwitch : SWITCHES)
        if (oStep.nKind == oSwitch.nKind)
        {
            oModel.*oSwitch.pModel = (nFirst & 1) != 0;
            (oReal.*oSwitch.pReal)((nFirst & 1) != 0);
            return true;
        }
    switch (oStep.nKind)
    {
    case 'w':
        oReal.WordChars(nFirst - 8, nSecond + 8);
        oModel.AddType(nFirst - 8, nSecond + 8, tWord);
        return true;
    case 'W':
        oReal.WordChars(nFirst, nSecond);
        oModel.AddType(nFirst, nSecond, tWord);
        return true;
    case 'b':
        oReal.WhiteSpaceChars(nFirst, nSecond);
        oModel.AddType(nFirst, nSecond, tBlank);
        return true;
    case 'o':
        oReal.OrdinaryChars(nFirst, nSecond);
        oModel.ClearTypes(nFirst, nSecond);
        return true;
    case 'O':
        oReal.OrdinaryChar(nFirst);
        oModel.SetType(nFirst, 0);
        return true;
    case 'q':
        oReal.QuoteChar(nFirst);
        oModel.SetType(nFirst, tQuote);
        return true;
    case 'c':
        oReal.CommentChar(nFirst);
        oModel.SetType(nFirst, tComment);
        return true;
    case 't':
        oReal.SetTabSize(oModel.m_nTabSize = Far(nFirst - 4));
        return true;
    case 'p':
        oReal.SetPosInString(Far(nFirst));
        oModel.SetPosInString(Far(nFirst));
        return true;
    case 'r':
        oReal.Rewind();
        oModel.Rewind();
        return true;
    default:
        return false;
    }
}

/// Holds what a tokenizer tells of its place and its token against the model.
template <class Real>
void Compare(const Real& oReal, const CTokenizer& oModel)
{
    Require(oReal.GetLineNumber() == oModel.m_nLine, "line");
    Require(oReal.GetColumnNumber() == oModel.m_nColumn, "column");
    Require(oReal.IsStartOfLine() == oModel.m_bStartOfLine, "start of line");
    Require(static_cast<std::size_t>(oReal.GetPosInString()) == oModel.m_nPosition, "position");
    Require(BytesOf(oReal.GetCharacters()) == oModel.m_sValue, "characters");
    Require(oModel.IsNumber(oReal.GetNumValue()), "number");
}

/// Takes an input apart: a byte that counts the steps, a byte that says how many of them come before the first token
/// (one comes behind each token from then on), the steps, the text. What is longer only takes longer: it is cut.
class CProgram
{
public:
    static constexpr std::size_t LONGEST = 384;

    explicit CProgram(std::string_view sInput)
    {
        sInput = sInput.substr(0, LONGEST);
        if (sInput.size() < 2)
            return;
        m_nCount = static_cast<unsigned char>(sInput[0]);
        m_nBefore = static_cast<unsigned char>(sInput[1]);
        sInput.remove_prefix(2);
        m_nCount = std::min(m_nCount, sInput.size() / 3);
        m_nBefore = std::min(m_nBefore, m_nCount);
        m_sSteps = sInput.substr(0, m_nCount * 3);
        m_sText = sInput.substr(m_nCount * 3);
    }

    std::string_view Text() const { return m_sText; }

    bool HasStep() const { return m_nNext < m_nCount; }

    bool ComesFirst() const { return m_nNext < m_nBefore; }

    SStep Next()
    {
        const auto At = [&](std::size_t n) { return static_cast<unsigned char>(m_sSteps[m_nNext * 3 + n]); };
        const SStep oStep{At(0), At(1), At(2)};
        ++m_nNext;
        return oStep;
    }

private:
    std::size_t m_nCount = 0;
    std::size_t m_nBefore = 0;
    std::size_t m_nNext = 0;
    std::string_view m_sSteps;
    std::string_view m_sText;
};
} // namespace Model
