#include <Common/Debug/VQParamsException.h>
#include <Common/Property/VQParams.h>

// In a source of its own: beside the other members the compiler for Windows exports the type of the exception too.
void CVQParams::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile, const char* pMessage) const
{
    throw CVQParamsException(nCode, nLine, pFile, pMessage);
}
