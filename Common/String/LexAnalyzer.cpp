#include <Common/String/LexAnalyzer.h>

CLexAnalyzer::CLexAnalyzer(const CVQString& oText) : CStringTokenizer(oText) {}

CLexAnalyzer::~CLexAnalyzer() = default;

void CLexAnalyzer::InsertKeyword(const CVQString& oKeyword, int nToken)
{
    m_oKeywords[oKeyword] = nToken;
}

void CLexAnalyzer::PushBack()
{
    m_bPushedBack = true;
}

int CLexAnalyzer::GetNextToken()
{
    if (m_bPushedBack)
        m_bPushedBack = false;
    else
        m_nTokenType = Read();
    return m_nTokenType;
}

int CLexAnalyzer::Read()
{
    const int nToken = CStringTokenizer::GetNextToken();
    switch (nToken)
    {
    case TOKEN_WORD:
    {
        const auto itKeyword = m_oKeywords.find(GetCharacters());
        return itKeyword != m_oKeywords.end() ? itKeyword->second : TOKEN_WORD;
    }
    case '.':
        return NextIs('.') ? TOKEN_RANGE : '.';
    case '<':
        if (NextIs('='))
            return TOKEN_LESS_OR_EQUAL;
        return NextIs('>') ? TOKEN_NOT_EQUAL : '<';
    case '>':
        return NextIs('=') ? TOKEN_GREATER_OR_EQUAL : '>';
    case ':':
        return NextIs('=') ? TOKEN_ASSIGN : ':';
    default:
        return nToken;
    }
}

/// Takes the next token when it is the wanted one, and leaves it otherwise.
bool CLexAnalyzer::NextIs(int nToken)
{
    if (CStringTokenizer::GetNextToken() == nToken)
        return true;
    CStringTokenizer::PushBack();
    return false;
}

CVQString CLexAnalyzer::GetStringValue()
{
    switch (m_nTokenType)
    {
    case TOKEN_GREATER_OR_EQUAL:
        return ">=";
    case TOKEN_LESS_OR_EQUAL:
        return "<=";
    case TOKEN_ASSIGN:
        return ":=";
    case TOKEN_NOT_EQUAL:
        return "<>";
    case TOKEN_WORD:
    case TOKEN_TEXT_BLOCK:
    case '"':
    case '\'':
        return GetCharacters();
    case TOKEN_INTEGER:
    case TOKEN_FLOAT:
        return CVQString(sctFormat, "%f", GetNumValue());
    case TOKEN_END:
        return "EOF";
    case TOKEN_END_OF_LINE:
        return "EOL";
    default:
        return CVQString(sctFormat, "'%c'", m_nTokenType);
    }
}
