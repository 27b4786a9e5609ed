#pragma once

#include <Common/Debug/VQException.h>

/// What CMemFileIO throws: codes from 4600 on.
class COMMON_API CMemFileIOException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecException.
    CMemFileIOException(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage) noexcept;
};
