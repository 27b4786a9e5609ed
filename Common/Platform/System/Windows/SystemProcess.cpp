#include <Common/Platform/System/SystemProcess.h>

#include <windows.h>

#include <cstring>

namespace System
{
unsigned long GetProcessNumber()
{
    return GetCurrentProcessId();
}

std::size_t ReadComputerName(char* pBuffer)
{
    pBuffer[0] = '\0';

    HKEY hKey = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "System\\CurrentControlSet\\Control\\ComputerName\\ComputerName", 0,
                      KEY_QUERY_VALUE, &hKey) != ERROR_SUCCESS)
        return 0;

    DWORD nSize = COMPUTER_NAME_SIZE;
    DWORD nType = 0;
    const bool bRead = RegQueryValueExA(hKey, "ComputerName", nullptr, &nType, reinterpret_cast<BYTE*>(pBuffer),
                                        &nSize) == ERROR_SUCCESS;
    RegCloseKey(hKey);

    // A value of the registry need not be terminated.
    pBuffer[bRead && nType == REG_SZ ? nSize : 0] = '\0';
    return std::strlen(pBuffer);
}

bool IsDebuggerAttached()
{
    return IsDebuggerPresent() != FALSE;
}

void BreakIntoDebugger()
{
    DebugBreak();
}

void WriteDebugger(const char* pText)
{
    const DWORD nError = GetLastError();
    OutputDebugStringA(pText);
    SetLastError(nError);
}

// No process of this system is a copy of another.
void HoldWhileCopied(void (*)(), void (*)()) {}

void EndProcess(int nStatus)
{
    ExitProcess(static_cast<UINT>(nStatus));
}
} // namespace System
