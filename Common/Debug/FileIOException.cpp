#include <Common/Debug/FileIOException.h>

CFileIOException::CFileIOException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                   const char* pMessage) noexcept
    : CVQException(ecException, nCode, nLine, pFileName, pMessage)
{
}
