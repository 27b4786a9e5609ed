#include <Common/Debug/FileIOException.h>
#include <Common/Debug/VQException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/String/ControlEscape.h>

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>

namespace
{
constexpr const char* SOURCE_FILE = "Common/File/FileIO";

constexpr unsigned long ERROR_MODE = 4500;
constexpr unsigned long ERROR_NOT_OPENED = 4501;

// The longest texts of numbers that are read, delimiter included.
constexpr unsigned long INT_TOKEN_SIZE = 8;
constexpr unsigned long TOKEN_SIZE = 16;

// Takes the longest float, 39 digits, with its sign, its decimals and "; ".
constexpr std::size_t NUMBER_TEXT_SIZE = 64;

// What a string's length promises is taken on trust up to this size; the rest is read in pieces as it comes.
constexpr std::uint32_t STRING_PIECE = 64 * 1024;

bool IsBlank(char cCharacter)
{
    return cCharacter == ' ' || cCharacter == '\n' || cCharacter == '\r' || cCharacter == '\t';
}

bool EndsComment(char cCharacter)
{
    return cCharacter == '\n' || cCharacter == '\r' || static_cast<unsigned char>(cCharacter) >= 0x80;
}

// What a character stands for behind a backslash; NUL when it stands for itself and the backslash too.
char TranslateEscape(char cCharacter)
{
    const bool bItself = cCharacter == '"' || cCharacter == '\'' || cCharacter == '\\';
    return bItself ? cCharacter : GetControlEscape(cCharacter);
}

// The value of a digit in bases up to 16; 16 for what is none.
unsigned DigitValue(char cDigit)
{
    if (cDigit >= '0' && cDigit <= '9')
        return static_cast<unsigned>(cDigit - '0');
    if (cDigit >= 'a' && cDigit <= 'f')
        return static_cast<unsigned>(cDigit - 'a') + 10;
    if (cDigit >= 'A' && cDigit <= 'F')
        return static_cast<unsigned>(cDigit - 'A') + 10;
    return 16;
}

/// Converts a text as "%i" does, cut to 32 bits. Written out, because the runtime libraries disagree about numbers that
/// do not fit, about a lone "0x" and about binary numbers.
///
/// @return false when the text does not begin with a number
bool ConvertInteger(const char* pText, std::int32_t& nValue)
{
    while (IsBlank(*pText) || *pText == '\v' || *pText == '\f')
        ++pText;

    const bool bNegative = *pText == '-';
    if (*pText == '-' || *pText == '+')
        ++pText;

    unsigned nBase = 10;
    if (pText[0] == '0')
        nBase = pText[1] == 'x' || pText[1] == 'X' ? 16 : 8;
    if (nBase == 16)
        pText += 2;
    if (DigitValue(*pText) >= nBase)
        return false;

    std::uint32_t nResult = 0;
    for (; DigitValue(*pText) < nBase; ++pText)
        nResult = nResult * nBase + DigitValue(*pText);
    nValue = static_cast<std::int32_t>(bNegative ? 0 - nResult : nResult);
    return true;
}

/// Converts a text as "%f" does in the "C" locale, whatever the locale of the program is. A text that does not begin
/// with a number leaves the value as it is.
void ConvertFloat(const char* pText, float& fValue)
{
    while (IsBlank(*pText) || *pText == '\v' || *pText == '\f')
        ++pText;

    const bool bNegative = *pText == '-';
    if (*pText == '-' || *pText == '+')
        ++pText;
    if (*pText == '-')
        return;

    const char* const pEnd = pText + std::strlen(pText);
    const bool bHexadecimal = pText[0] == '0' && (pText[1] == 'x' || pText[1] == 'X');
    if (bHexadecimal && DigitValue(pText[2]) >= 16 && pText[2] != '.')
        return;

    float fNumber = 0;
    const std::errc nError = bHexadecimal ? std::from_chars(pText + 2, pEnd, fNumber, std::chars_format::hex).ec
                                          : std::from_chars(pText, pEnd, fNumber).ec;
    if (nError == std::errc::invalid_argument)
        return;

    // A token is short: what does not fit into a float is so by its exponent.
    if (nError == std::errc::result_out_of_range)
    {
        const char* const pExponent = std::strpbrk(pText, bHexadecimal ? "pP" : "eE");
        const bool bTiny = pExponent != nullptr && pExponent[1] == '-';
        fNumber = bTiny ? 0 : std::numeric_limits<float>::infinity();
    }
    fValue = bNegative ? -fNumber : fNumber;
}

// Replaces the text of a string, NULs included; its string id stays.
void AssignText(CVQString& sTarget, const std::string& sText)
{
    sTarget.Empty();
    if (sText.empty())
        return;

    const int nLength = static_cast<int>(sText.size());
    std::memcpy(sTarget.GetBuffer(nLength), sText.data(), sText.size());
    sTarget.ReleaseBuffer(nLength);
}
} // namespace

CFileIO::CFileIO() : m_nHandle(0), m_nParsePosition(0)
{
    XfsSetupOnDemand();
}

CFileIO::CFileIO(const CFileIO& oOther) = default;

CFileIO& CFileIO::operator=(const CFileIO& oOther) = default;

CFileIO::~CFileIO()
{
    if (!CFileIO::IsOpened())
        return;

    try
    {
        CFileIO::Flush();
        CFileIO::Close();
    }
    catch (const CVQException&)
    {
        // Another thread closed the shared handle in between; there is nothing left to close.
    }
}

bool CFileIO::Open(const char* pName, int nMode)
{
    if (IsOpened())
    {
        Flush();
        Close();
    }
    m_nHandle = 0;

    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    unsigned long nHandle = 0;
    if ((nMode & READ) != 0)
        nHandle = pFiles->OpenFile(pName);
    else if ((nMode & WRITE) != 0)
        nHandle = pFiles->CreateFile(pName);
    else if ((nMode & APPEND) != 0)
        nHandle = pFiles->AppendFile(pName);
    else
        ThrowException(ERROR_MODE, __LINE__, SOURCE_FILE, "Invalid file mode specified.");

    m_nHandle = static_cast<std::uint32_t>(nHandle);
    return m_nHandle != 0;
}

bool CFileIO::Close()
{
    RequireOpened(__LINE__);
    const bool bClosed = CExtendedFileSystem::Instance()->CloseFile(m_nHandle);
    if (bClosed)
        m_nHandle = 0;
    return bClosed;
}

bool CFileIO::Flush()
{
    return m_nHandle != 0 && CExtendedFileSystem::Instance()->Flush(m_nHandle);
}

bool CFileIO::Read(char& cValue)
{
    return Read(&cValue, sizeof cValue);
}

bool CFileIO::Read(bool& bValue)
{
    // Not into the bool itself: it may hold nothing but 0 and 1, a file anything.
    std::uint8_t nByte = 0;
    if (!Read(&nByte, sizeof nByte))
        return false;

    bValue = nByte != 0;
    return true;
}

bool CFileIO::Read(short& nValue)
{
    return Read(&nValue, sizeof nValue);
}

bool CFileIO::Read(unsigned short& nValue)
{
    return Read(&nValue, sizeof nValue);
}

bool CFileIO::Read(int& nValue)
{
    return Read(&nValue, sizeof nValue);
}

bool CFileIO::Read(unsigned int& nValue)
{
    return Read(&nValue, sizeof nValue);
}

bool CFileIO::Read(long& nValue)
{
    auto nStored = static_cast<std::int32_t>(nValue);
    if (Read(&nStored, sizeof nStored))
    {
        nValue = nStored;
        return true;
    }
    std::memcpy(&nValue, &nStored, sizeof nStored); // the bytes that came; those above stay
    return false;
}

bool CFileIO::Read(unsigned long& nValue)
{
    auto nStored = static_cast<std::uint32_t>(nValue);
    if (Read(&nStored, sizeof nStored))
    {
        nValue = nStored;
        return true;
    }
    std::memcpy(&nValue, &nStored, sizeof nStored); // the bytes that came; those above stay
    return false;
}

bool CFileIO::Read(float& fValue)
{
    return Read(&fValue, sizeof fValue);
}

bool CFileIO::Read(double& dValue)
{
    return Read(&dValue, sizeof dValue);
}

bool CFileIO::Read(CVQString& sValue)
{
    std::int32_t nStored = 0;
    if (!ReadWhole(&nStored, sizeof nStored))
        return false;
    if (nStored < 1)
        return true;

    // The length is only believed as far as the characters come.
    const auto nLength = static_cast<std::uint32_t>(nStored);
    std::string sText;
    while (sText.size() < nLength)
    {
        const std::size_t nBefore = sText.size();
        const std::size_t nPiece = std::min<std::size_t>(STRING_PIECE, nLength - nBefore);
        sText.resize(nBefore + nPiece);
        if (!ReadWhole(sText.data() + nBefore, static_cast<unsigned long>(nPiece)))
            return false;
    }
    AssignText(sValue, sText);
    return true;
}

bool CFileIO::Read(void* pTarget, unsigned long nCount)
{
    RequireOpened(__LINE__);
    return CExtendedFileSystem::Instance()->ReadFile(m_nHandle, pTarget, nCount) == nCount;
}

int CFileIO::ReadRaw(void* pTarget, unsigned long nSize, unsigned long nCount)
{
    RequireOpened(__LINE__);

    // A file is shorter than what no longer counts in 32 bits.
    const bool bHuge = nSize != 0 && nCount > std::numeric_limits<std::uint32_t>::max() / nSize;
    const unsigned long nBytes = bHuge ? std::numeric_limits<std::uint32_t>::max() : nSize * nCount;
    return static_cast<int>(CExtendedFileSystem::Instance()->ReadFile(m_nHandle, pTarget, nBytes));
}

bool CFileIO::Write(char cValue)
{
    return Write(&cValue, sizeof cValue);
}

bool CFileIO::Write(bool bValue)
{
    const std::uint8_t nByte = bValue ? 1 : 0;
    return Write(&nByte, sizeof nByte);
}

bool CFileIO::Write(short nValue)
{
    return Write(&nValue, sizeof nValue);
}

bool CFileIO::Write(unsigned short nValue)
{
    return Write(&nValue, sizeof nValue);
}

bool CFileIO::Write(int nValue)
{
    return Write(&nValue, sizeof nValue);
}

bool CFileIO::Write(unsigned int nValue)
{
    return Write(&nValue, sizeof nValue);
}

bool CFileIO::Write(long nValue)
{
    const auto nStored = static_cast<std::int32_t>(nValue);
    return Write(&nStored, sizeof nStored);
}

bool CFileIO::Write(unsigned long nValue)
{
    const auto nStored = static_cast<std::uint32_t>(nValue);
    return Write(&nStored, sizeof nStored);
}

bool CFileIO::Write(float fValue)
{
    return Write(&fValue, sizeof fValue);
}

bool CFileIO::Write(double dValue)
{
    return Write(&dValue, sizeof dValue);
}

bool CFileIO::Write(const CVQString& sValue)
{
    const auto nLength = static_cast<std::int32_t>(sValue.GetLength());
    if (!Write(&nLength, sizeof nLength))
        return false;
    return nLength < 1 || Write(~sValue, static_cast<unsigned long>(nLength));
}

bool CFileIO::Write(const void* pSource, unsigned long nCount)
{
    RequireOpened(__LINE__);
    return CExtendedFileSystem::Instance()->WriteFile(m_nHandle, pSource, nCount) == nCount;
}

int CFileIO::WriteRaw(const void* pSource, unsigned long nSize, unsigned long nCount)
{
    RequireOpened(__LINE__);
    if (nSize != 0 && nCount > std::numeric_limits<std::uint32_t>::max() / nSize)
        return 0;
    return static_cast<int>(CExtendedFileSystem::Instance()->WriteFile(m_nHandle, pSource, nSize * nCount));
}

bool CFileIO::ReadAscii(long& nValue, char cDelimiter)
{
    std::int32_t nNumber = 0;
    bool bConverted = false;
    if (!ReadNumber(nNumber, TOKEN_SIZE, cDelimiter, bConverted))
        return false;

    if (bConverted)
        nValue = nNumber;
    return true;
}

bool CFileIO::ReadAscii(unsigned long& nValue, char cDelimiter)
{
    std::int32_t nNumber = 0;
    bool bConverted = false;
    if (!ReadNumber(nNumber, TOKEN_SIZE, cDelimiter, bConverted))
        return false;

    if (bConverted)
        nValue = static_cast<std::uint32_t>(nNumber);
    return true;
}

bool CFileIO::ReadAscii(float& fValue, char cDelimiter)
{
    char aToken[TOKEN_SIZE];
    if (!ReadToken(aToken, sizeof aToken, cDelimiter))
        return false;

    ConvertFloat(aToken, fValue);
    return true;
}

bool CFileIO::ReadAscii(int& nValue, char cDelimiter)
{
    std::int32_t nNumber = 0;
    bool bConverted = false;
    if (!ReadNumber(nNumber, INT_TOKEN_SIZE, cDelimiter, bConverted))
        return false;

    if (bConverted)
        nValue = nNumber;
    return true;
}

bool CFileIO::ReadAscii(CVQString& sValue)
{
    RememberParsePos();
    if (!ReadConstAscii('"'))
        return false;

    // Collected here first: a string grows to the byte with each character that is appended.
    std::string sText;
    bool bClosed = false;
    bool bEscape = false;
    bool bComplete = false;
    char cNext = ' ';
    while (!bComplete && Read(&cNext, 1))
    {
        if (bClosed)
            bComplete = cNext == ';';
        else if (bEscape)
        {
            const char cTranslated = TranslateEscape(cNext);
            if (cTranslated == '\0')
                sText += '\\';
            sText += cTranslated != '\0' ? cTranslated : cNext;
            bEscape = false;
        }
        else if (cNext == '\\')
            bEscape = true;
        else if (cNext == '"')
            bClosed = true;
        else
            sText += cNext;
    }
    AssignText(sValue, sText);
    return bComplete;
}

bool CFileIO::ReadAscii(char& cValue, bool bSkipWhite)
{
    for (;;)
    {
        if (!Read(&cValue, 1))
            return false;

        if (cValue == '/')
        {
            const unsigned long nBehind = GetFilePointerPos();
            if (!Read(&cValue, 1))
                return false;

            if (cValue == '/')
            {
                do
                {
                    if (!Read(&cValue, 1))
                        return false;
                } while (!EndsComment(cValue));

                bSkipWhite = true;
                continue;
            }
            SetFilePointerPos(nBehind);
            cValue = '/';
        }

        if (!bSkipWhite || !IsBlank(cValue))
            return true;
    }
}

bool CFileIO::ReadConstAscii(const CVQString& sExpected)
{
    for (int i = 0; i < sExpected.GetLength(); ++i)
    {
        if (!ReadConstAscii(static_cast<char>(sExpected.GetAt(i))))
            return false;
    }
    return true;
}

bool CFileIO::ReadConstAscii(char cExpected)
{
    RememberParsePos();
    char cNext = 0;
    return ReadAscii(cNext, true) && cNext == cExpected;
}

bool CFileIO::WriteAscii(long nValue)
{
    return WriteNumber(static_cast<std::int32_t>(nValue));
}

bool CFileIO::WriteAscii(unsigned long nValue)
{
    return WriteNumber(static_cast<std::int32_t>(nValue));
}

bool CFileIO::WriteAscii(float fValue)
{
    char aText[NUMBER_TEXT_SIZE];
    char* pEnd = std::to_chars(aText, aText + sizeof aText, fValue, std::chars_format::fixed, 4).ptr;
    *pEnd++ = ';';
    *pEnd++ = ' ';
    return Write(aText, static_cast<unsigned long>(pEnd - aText));
}

bool CFileIO::WriteAscii(int nValue)
{
    return WriteNumber(nValue);
}

bool CFileIO::WriteAscii(const CVQString& sValue)
{
    return WriteConstAscii('"') && WriteConstAscii(sValue) && Write("\"; ", 3);
}

bool CFileIO::WriteAscii(char cValue)
{
    if (!Write("'", 1))
        return false;

    switch (cValue)
    {
    case '\t':
        return Write("\\t'; ", 5);
    case '\n':
        return Write("\\n'; ", 5);
    case '\r':
        return Write("\\r'; ", 5);
    default:
        return Write(&cValue, 1) && Write("'; ", 3);
    }
}

bool CFileIO::WriteConstAscii(char cValue)
{
    return cValue == '\n' ? Write("\r\n", 2) : Write(&cValue, 1);
}

bool CFileIO::WriteConstAscii(const CVQString& sValue)
{
    // A raw write of nothing is no success.
    return sValue.IsEmpty() || Write(~sValue, static_cast<unsigned long>(sValue.GetLength()));
}

bool CFileIO::Printf(const char* pFormat, ...)
{
    // The list must be ended on every way out.
    struct sEnd
    {
        va_list& pArguments;

        ~sEnd() { va_end(pArguments); }
    };

    RequireOpened(__LINE__);
    va_list pArguments;
    va_start(pArguments, pFormat);
    const sEnd oEnd{pArguments};
    return CExtendedFileSystem::Instance()->VPrintf(m_nHandle, pFormat, pArguments);
}

bool CFileIO::ReadLine(char* pTarget, unsigned long nSize)
{
    RequireOpened(__LINE__);
    const bool bRead = CExtendedFileSystem::Instance()->ReadLine(m_nHandle, pTarget, nSize);
    pTarget[std::strcspn(pTarget, "\r\n")] = '\0';
    return bRead;
}

bool CFileIO::IsOpened() const
{
    return m_nHandle != 0 && CExtendedFileSystem::Instance()->IsFileOpen(m_nHandle);
}

bool CFileIO::IsEof() const
{
    return m_nHandle != 0 && CExtendedFileSystem::Instance()->IsEof(m_nHandle);
}

bool CFileIO::SetFilePointerPos(unsigned long nPosition)
{
    RequireOpened(__LINE__);
    CExtendedFileSystem::Instance()->Seek(m_nHandle, nPosition);
    return true;
}

bool CFileIO::Skip(long nDelta)
{
    RequireOpened(__LINE__);
    return CExtendedFileSystem::Instance()->SeekCurrent(m_nHandle, nDelta);
}

unsigned long CFileIO::GetFilePointerPos() const
{
    RequireOpened(__LINE__);
    return CExtendedFileSystem::Instance()->Tell(m_nHandle);
}

unsigned long CFileIO::GetSize() const
{
    RequireOpened(__LINE__);
    return CExtendedFileSystem::Instance()->GetFileSize(m_nHandle);
}

void CFileIO::StepBack()
{
    SetFilePointerPos(m_nParsePosition);
}

bool CFileIO::FileExists(const char* pName)
{
    XfsSetupOnDemand();
    return CExtendedFileSystem::Instance()->FileExists(pName);
}

void CFileIO::XfsSetupOnDemand()
{
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    if (!pFiles->IsSetup())
        pFiles->Setup();
}

void CFileIO::RequireOpened(unsigned long nLine) const
{
    if (m_nHandle == 0)
        ThrowException(ERROR_NOT_OPENED, nLine, SOURCE_FILE, "No file is opened.");
}

void CFileIO::RememberParsePos()
{
    m_nParsePosition = static_cast<std::uint32_t>(GetFilePointerPos());
}

// Some files deliver a part and call it a success, so the position has the last word.
bool CFileIO::ReadWhole(void* pTarget, unsigned long nCount)
{
    const unsigned long nBefore = GetFilePointerPos();
    return Read(pTarget, nCount) && GetFilePointerPos() - nBefore == nCount;
}

bool CFileIO::ReadToken(char* pBuffer, unsigned long nSize, char cDelimiter)
{
    RememberParsePos();
    char cNext = 0;
    if (!ReadAscii(cNext, true))
        return false;

    unsigned long nLength = 0;
    while (cNext != cDelimiter)
    {
        if (nLength == nSize - 1)
            return false;
        pBuffer[nLength++] = cNext;

        if (!Read(&cNext, 1))
            return false;
    }
    pBuffer[nLength] = '\0';
    return true;
}

bool CFileIO::ReadNumber(std::int32_t& nValue, unsigned long nSize, char cDelimiter, bool& bConverted)
{
    char aToken[TOKEN_SIZE];
    if (!ReadToken(aToken, nSize, cDelimiter))
        return false;

    bConverted = ConvertInteger(aToken, nValue);
    return true;
}

bool CFileIO::WriteNumber(std::int32_t nValue)
{
    char aText[NUMBER_TEXT_SIZE];
    const int nLength = std::snprintf(aText, sizeof aText, "%i; ", static_cast<int>(nValue));
    return Write(aText, static_cast<unsigned long>(nLength));
}

void CFileIO::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile, const char* pMessage) const
{
    throw CFileIOException(nCode, nLine, pFile, pMessage);
}
