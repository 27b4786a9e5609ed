#pragma once

#include <Common/Debug/VQException.h>

/// What CVQMailSlot throws: codes 5000 to 5003, told from those of CVQDataStreamException by the error class.
class COMMON_API CMailSlotException : public CVQException
{
public:
    /// The arguments of CVQException; the error class is always ecCommunication.
    CMailSlotException(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage) noexcept;
};
