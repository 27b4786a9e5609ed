#include <Common/Debug/VQDataStreamException.h>

CVQDataStreamException::CVQDataStreamException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                               const char* pMessage) noexcept
    : CVQException(ecDataStream, nCode, nLine, pFileName, pMessage)
{
}
