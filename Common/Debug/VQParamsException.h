#pragma once

#include <Common/Debug/VQException.h>

/// What CVQParams throws: codes 6001 to 6003.
///
/// The class stands in this header alone and is not exported; a program catches it by its type all the same.
class CVQParamsException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecException.
    CVQParamsException(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage) noexcept
        : CVQException(ecException, nCode, nLine, pFileName, pMessage)
    {
    }
};
