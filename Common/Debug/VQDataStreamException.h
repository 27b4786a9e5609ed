#pragma once

#include <Common/Debug/VQException.h>

/// What CVQDataStream throws: codes 5000 to 5004, told from those of CMailSlotException by the error class.
class COMMON_API CVQDataStreamException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecDataStream.
    CVQDataStreamException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                           const char* pMessage) noexcept;
};
