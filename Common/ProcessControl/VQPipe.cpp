#include <Common/ProcessControl/VQPipe.h>

#include <Common/Platform/System/SystemPipe.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace VQPipeDetail
{
[[noreturn]] void Throw(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage);
} // namespace VQPipeDetail

namespace
{
// A string has a terminator behind its last byte, and counts in 32 bits.
constexpr std::int32_t MAX_TEXT_LENGTH = std::numeric_limits<std::int32_t>::max() - 1;

// Memory for a text is taken as the text comes, not as its length promises.
constexpr std::int32_t TEXT_STEP = 1 << 16;

// Reads a value in the width that it has on the way, and changes the variable only when all of it has come.
template <class TWire, class TValue>
bool ReadValue(CVQPipe& oPipe, TValue& oValue)
{
    TWire oWire;
    if (!oPipe.Read(static_cast<void*>(&oWire), sizeof oWire))
        return false;
    oValue = static_cast<TValue>(oWire);
    return true;
}

template <class TWire, class TValue>
bool WriteValue(CVQPipe& oPipe, TValue oValue)
{
    const auto oWire = static_cast<TWire>(oValue);
    return oPipe.Write(static_cast<const void*>(&oWire), sizeof oWire);
}
} // namespace

CVQPipe::CVQPipe() noexcept : m_nReserved(0), m_nReadHandle(0), m_nWriteHandle(0) {}

CVQPipe::~CVQPipe()
{
    if (CVQPipe::IsOpen())
        CVQPipe::Close();
}

bool CVQPipe::Open()
{
    return System::OpenPipe(m_nReadHandle, m_nWriteHandle);
}

bool CVQPipe::Close()
{
    System::ClosePipe(m_nWriteHandle);
    System::ClosePipe(m_nReadHandle);
    return true;
}

bool CVQPipe::Read(char& cValue)
{
    return ReadValue<char>(*this, cValue);
}

bool CVQPipe::Read(bool& bValue)
{
    // Any byte may come; only two of them are a bool.
    std::uint8_t nByte = 0;
    if (!ReadValue<std::uint8_t>(*this, nByte))
        return false;
    bValue = nByte != 0;
    return true;
}

bool CVQPipe::Read(short& nValue)
{
    return ReadValue<std::int16_t>(*this, nValue);
}

bool CVQPipe::Read(unsigned short& nValue)
{
    return ReadValue<std::uint16_t>(*this, nValue);
}

bool CVQPipe::Read(int& nValue)
{
    return ReadValue<std::int32_t>(*this, nValue);
}

bool CVQPipe::Read(unsigned int& nValue)
{
    return ReadValue<std::uint32_t>(*this, nValue);
}

bool CVQPipe::Read(long& nValue)
{
    return ReadValue<std::int32_t>(*this, nValue);
}

bool CVQPipe::Read(unsigned long& nValue)
{
    return ReadValue<std::uint32_t>(*this, nValue);
}

bool CVQPipe::Read(float& fValue)
{
    return ReadValue<float>(*this, fValue);
}

bool CVQPipe::Read(double& dValue)
{
    return ReadValue<double>(*this, dValue);
}

bool CVQPipe::Read(CVQString& sText)
{
    std::int32_t nLength = 0;
    if (!ReadValue<std::int32_t>(*this, nLength))
        return false;
    if (nLength < 1)
        return true;
    if (nLength >= MAX_TEXT_LENGTH)
        return false;

    if (nLength <= TEXT_STEP)
    {
        if (!Read(static_cast<void*>(sText.GetBuffer(nLength)), static_cast<std::uint32_t>(nLength)))
            return false;
        sText.ReleaseBuffer(nLength);
        return true;
    }

    std::string sReceived;
    while (nLength != static_cast<std::int32_t>(sReceived.size()))
    {
        const std::size_t nOld = sReceived.size();
        const std::size_t nStep = std::min<std::size_t>(static_cast<std::size_t>(nLength) - nOld, TEXT_STEP);
        sReceived.resize(nOld + nStep);
        if (!Read(static_cast<void*>(sReceived.data() + nOld), static_cast<unsigned long>(nStep)))
        {
            sText.GetBuffer(0);
            return false;
        }
    }
    std::memcpy(sText.GetBuffer(nLength), sReceived.data(), sReceived.size());
    sText.ReleaseBuffer(nLength);
    return true;
}

bool CVQPipe::Read(void* pData, unsigned long nSize)
{
    return System::ReadPipe(m_nReadHandle, pData, nSize);
}

bool CVQPipe::Write(char cValue)
{
    return WriteValue<char>(*this, cValue);
}

bool CVQPipe::Write(bool bValue)
{
    return WriteValue<std::uint8_t>(*this, bValue);
}

bool CVQPipe::Write(short nValue)
{
    return WriteValue<std::int16_t>(*this, nValue);
}

bool CVQPipe::Write(unsigned short nValue)
{
    return WriteValue<std::uint16_t>(*this, nValue);
}

bool CVQPipe::Write(int nValue)
{
    return WriteValue<std::int32_t>(*this, nValue);
}

bool CVQPipe::Write(unsigned int nValue)
{
    return WriteValue<std::uint32_t>(*this, nValue);
}

bool CVQPipe::Write(long nValue)
{
    return WriteValue<std::int32_t>(*this, nValue);
}

bool CVQPipe::Write(unsigned long nValue)
{
    return WriteValue<std::uint32_t>(*this, nValue);
}

bool CVQPipe::Write(float fValue)
{
    return WriteValue<float>(*this, fValue);
}

bool CVQPipe::Write(double dValue)
{
    return WriteValue<double>(*this, dValue);
}

bool CVQPipe::Write(const CVQString& sText)
{
    const auto nLength = static_cast<std::int32_t>(sText.GetLength());
    if (!WriteValue<std::int32_t>(*this, nLength))
        return false;
    return nLength < 1 || Write(static_cast<const void*>(sText.GetString()), static_cast<std::uint32_t>(nLength));
}

bool CVQPipe::Write(const void* pData, unsigned long nSize)
{
    return System::WritePipe(m_nWriteHandle, pData, nSize);
}

bool CVQPipe::IsOpen() const
{
    return m_nReadHandle != 0 && m_nWriteHandle != 0;
}

bool CVQPipe::HasData() const
{
    unsigned long nAvailable = 0;
    return System::PeekPipe(m_nReadHandle, nAvailable) && nAvailable > 0;
}

void CVQPipe::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                             const char* pMessage) const
{
    VQPipeDetail::Throw(nCode, nLine, pFileName, pMessage);
}
