#include <Common/Debug/MailSlotException.h>

CMailSlotException::CMailSlotException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                       const char* pMessage) noexcept
    : CVQException(ecCommunication, nCode, nLine, pFileName, pMessage)
{
}
