#pragma once

#include <string>

/// What the scanner made by flex keeps of its place and its token.
struct SScan
{
    int nLine = 1;
    int nColumn = 1;
    double dNumber = 0;
    std::string sText;
};

inline void KeepText(SScan* pScan, const char* pText, std::size_t nLength)
{
    pScan->sText.assign(pText, nLength);
}

inline void KeepNumber(SScan* pScan, const char* pText, std::size_t nLength)
{
    double dDivisor = 0;
    double dValue = 0;
    for (std::size_t i = 0; i < nLength; ++i)
    {
        if (pText[i] == '.')
        {
            dDivisor = 1;
            continue;
        }
        dValue = dValue * 10 + (pText[i] - '0');
        dDivisor *= 10;
    }
    pScan->dNumber = dDivisor > 0 ? dValue / dDivisor : dValue;
}

/// Takes a string between its quotes; of the escapes only those of one letter, which is all that the texts here hold.
inline void KeepString(SScan* pScan, const char* pText, const char* pEnd)
{
    pScan->sText.clear();
    while (pText < pEnd)
    {
        const char* pBackslash = pText;
        while (pBackslash < pEnd && *pBackslash != '\\')
            ++pBackslash;
        pScan->sText.append(pText, pBackslash);
        if (pBackslash + 1 >= pEnd)
            break;
        pScan->sText += pBackslash[1] == 'n' ? '\n' : pBackslash[1] == 't' ? '\t' : pBackslash[1];
        pText = pBackslash + 2;
    }
}

/// The scanner itself, made at build time: the next token's type, as the tokenizer numbers them.
int ScanToken(void* pScanner);
