#pragma once

#include <Common/Debug/VQException.h>

/// What CExtendedFileSystem throws: codes 4001 to 4016.
class COMMON_API CXfsException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecException.
    CXfsException(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage) noexcept;
};
