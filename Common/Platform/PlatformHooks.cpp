#include <Common/Platform/PlatformHooks.h>

#include <Common/Platform/System/SystemDialog.h>
#include <Common/Platform/System/SystemProcess.h>

#include <atomic>

namespace
{
// Null stands for the default. Constant-initialised: static constructors of other libraries may log already.
constinit std::atomic<PlatformMessageBoxHook> g_pMessageBox = nullptr;
constinit std::atomic<PlatformDebuggerOutputHook> g_pDebuggerOutput = nullptr;
constinit std::atomic<PlatformBeepHook> g_pBeep = nullptr;
constinit std::atomic<PlatformOpenDocumentHook> g_pOpenDocument = nullptr;

const char* TextOrEmpty(const char* pText)
{
    return pText != nullptr ? pText : "";
}
} // namespace

PlatformMessageBoxHook HOOK_SetMessageBox(PlatformMessageBoxHook pHook)
{
    return g_pMessageBox.exchange(pHook);
}

PlatformDebuggerOutputHook HOOK_SetDebuggerOutput(PlatformDebuggerOutputHook pHook)
{
    return g_pDebuggerOutput.exchange(pHook);
}

PlatformBeepHook HOOK_SetBeep(PlatformBeepHook pHook)
{
    return g_pBeep.exchange(pHook);
}

PlatformOpenDocumentHook HOOK_SetOpenDocument(PlatformOpenDocumentHook pHook)
{
    return g_pOpenDocument.exchange(pHook);
}

eMessageBoxAnswer HOOK_ShowMessageBox(const char* pText, const char* pCaption, eMessageBoxKind nKind)
{
    const auto pHook = g_pMessageBox.load();
    if (pHook != nullptr)
        return pHook(TextOrEmpty(pText), TextOrEmpty(pCaption), nKind);

    if (nKind == mbkInformation)
    {
        System::ShowInformation(TextOrEmpty(pText), TextOrEmpty(pCaption));
        return mbaOk;
    }

    switch (System::AskYesNoCancel(TextOrEmpty(pText), TextOrEmpty(pCaption)))
    {
    case System::eDialogAnswer::Yes:
        return mbaYes;
    case System::eDialogAnswer::No:
        return mbaNo;
    case System::eDialogAnswer::Cancel:
        break;
    }
    return mbaCancel;
}

void HOOK_WriteDebugger(const char* pText)
{
    if (pText == nullptr)
        return;

    const auto pHook = g_pDebuggerOutput.load();
    if (pHook != nullptr)
        pHook(pText);
    else
        System::WriteDebugger(pText);
}

void HOOK_Beep(eBeepKind nKind)
{
    const auto pHook = g_pBeep.load();
    if (pHook != nullptr)
        pHook(nKind);
    else
        System::MakeBeep(static_cast<unsigned>(nKind));
}

bool HOOK_OpenDocument(const char* pPath)
{
    if (pPath == nullptr || *pPath == '\0')
        return false;

    const auto pHook = g_pOpenDocument.load();
    return pHook != nullptr ? pHook(pPath) : System::ShowDocument(pPath);
}
