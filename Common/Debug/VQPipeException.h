#pragma once

#include <Common/Debug/VQException.h>

/// What CVQPipe throws.
///
/// The class stands in this header alone and is not exported; a program catches it by its type all the same.
class CVQPipeException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecCommunication.
    CVQPipeException(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage) noexcept
        : CVQException(ecCommunication, nCode, nLine, pFileName, pMessage)
    {
    }
};
