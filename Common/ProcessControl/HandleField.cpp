#include <Common/ProcessControl/HandleField.h>

#include <Common/Platform/PlatformHooks.h>

#include <string>

void ProcessControl::ReportCreationFailure(const char* pFile, int nLine, const char* pMessage)
{
    const std::string sReport = std::string(pFile) + '(' + std::to_string(nLine) + "): " + pMessage + '\n';
    HOOK_WriteDebugger(sReport.c_str());
}
