#include <Common/Platform/System/SystemDialog.h>

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace System
{
namespace
{
bool IsNobodyThere()
{
    // A value that does not fit gives the size that it needs; one that is missing or empty gives 0.
    char aValue[2];
    return GetEnvironmentVariableA(NO_DIALOG_VARIABLE, aValue, sizeof aValue) != 0;
}

void WriteToStandardError(const char* pText, const char* pCaption)
{
    const std::string sLine = std::string(pCaption) + ": " + pText + "\n";
    DWORD nWritten = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), sLine.data(), static_cast<DWORD>(sLine.size()), &nWritten, nullptr);
}
} // namespace

void ShowInformation(const char* pText, const char* pCaption)
{
    // 0 is a box that could not be shown: a service without a desktop, a system without memory.
    if (IsNobodyThere() ||
        MessageBoxA(nullptr, pText, pCaption, MB_OK | MB_ICONINFORMATION | MB_SETFOREGROUND | MB_TOPMOST) == 0)
        WriteToStandardError(pText, pCaption);
}

eDialogAnswer AskYesNoCancel(const char* pText, const char* pCaption)
{
    int nAnswer = 0;
    if (!IsNobodyThere())
    {
        const HWND hDesktop = GetDesktopWindow();
        SetForegroundWindow(hDesktop);
        nAnswer = MessageBoxA(hDesktop, pText, pCaption, MB_YESNOCANCEL | MB_TOPMOST);
    }

    switch (nAnswer)
    {
    case IDYES:
        return eDialogAnswer::Yes;
    case IDNO:
        return eDialogAnswer::No;
    case IDCANCEL:
        return eDialogAnswer::Cancel;
    default:
        WriteToStandardError(pText, pCaption);
        return eDialogAnswer::Yes;
    }
}

void MakeBeep(unsigned nKind)
{
    MessageBeep(nKind);
}

bool ShowDocument(const char* pPath)
{
    if (IsNobodyThere())
        return false;

    // Reports are made for this browser; where it is gone, the program that is registered for the document serves. Both
    // go without a shell, so that no character of a path means anything.
    constexpr INT_PTR LAST_ERROR_CODE = 32;
    const std::string sQuoted = std::string("\"") + pPath + "\"";
    return reinterpret_cast<INT_PTR>(ShellExecuteA(nullptr, "open", "iexplore.exe", sQuoted.c_str(), nullptr,
                                                   SW_SHOWNORMAL)) > LAST_ERROR_CODE ||
           reinterpret_cast<INT_PTR>(ShellExecuteA(nullptr, "open", pPath, nullptr, nullptr, SW_SHOWNORMAL)) >
               LAST_ERROR_CODE;
}
} // namespace System
