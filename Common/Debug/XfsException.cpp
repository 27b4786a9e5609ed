#include <Common/Debug/XfsException.h>

CXfsException::CXfsException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                             const char* pMessage) noexcept
    : CVQException(ecException, nCode, nLine, pFileName, pMessage)
{
}
