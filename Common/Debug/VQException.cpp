#include <Common/Debug/VQException.h>

#include <Common/Platform/PlatformString.h>

static_assert(sizeof(void*) != 4 || sizeof(CVQException) == 528, "the layout that the 32-bit callers know");

CVQException::CVQException(eErrorClass nErrorClass, unsigned long nCode, unsigned long nLine, const char* pFileName,
                           const char* pMessage) noexcept
    : m_nErrorClass(nErrorClass), m_nCode(static_cast<std::uint32_t>(nCode)), m_nLine(static_cast<std::uint32_t>(nLine))
{
    CopyText(m_aFileName, pFileName);
    CopyText(m_aMessage, pMessage);
}

CVQException::CVQException(const CVQException&) noexcept = default;

CVQException& CVQException::operator=(const CVQException&) noexcept = default;

const char* CVQException::GetErrorString() const
{
    return m_aMessage.data();
}

const char* CVQException::GetFileName() const
{
    return m_aFileName.data();
}

unsigned long CVQException::GetLine() const
{
    return m_nLine;
}

eErrorClass CVQException::GetErrorClass()
{
    return m_nErrorClass;
}

unsigned long CVQException::GetErrorCode() const
{
    return m_nCode;
}

void CVQException::CopyText(TText& aTarget, const char* pText) noexcept
{
    // the rest is filled with zeros, so that no chance byte travels along when the object is copied
    STR_strncpy(aTarget.data(), pText != nullptr ? pText : "", TEXT_SIZE - 1);
    aTarget.back() = '\0';
}
