#include <Common/Debug/MemFileIOException.h>

CMemFileIOException::CMemFileIOException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                         const char* pMessage) noexcept
    : CVQException(ecException, nCode, nLine, pFileName, pMessage)
{
}
