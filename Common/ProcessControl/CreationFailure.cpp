#include <Common/Platform/System/HandleField.h>

#include <Common/Debug/Log.h>

void ProcessControl::ReportCreationFailure(const char* pFile, int nLine, const char* pMessage)
{
    constexpr unsigned long ALL_OUTPUTS = LOG_DEBUGGER | LOG_FILE | LOG_NETWORK | LOG_MESSAGEBOX;

    _VQ_Log_Fn(pFile, "Zembrolia", "", static_cast<unsigned long>(nLine), 0, ALL_OUTPUTS, ecCriticalError, "%s",
               pMessage);
}
