#pragma once

#include <Common/Debug/VQException.h>

/// What CFileIO throws: codes from 4500 on.
class COMMON_API CFileIOException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecException.
    CFileIOException(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage) noexcept;
};
