// A console of Windows 10 and later: key events in, escape sequences out.

#include "../Terminal.h"

#include <array>

#include <windows.h>
// behind it, since it needs its types
#include <psapi.h>

namespace
{
const HANDLE s_hInput = GetStdHandle(STD_INPUT_HANDLE), s_hOutput = GetStdHandle(STD_OUTPUT_HANDLE);
DWORD s_nInputMode = 0, s_nOutputMode = 0;

BOOL WINAPI OnControl(DWORD nEvent)
{
    CTerminal::s_nEndSignal = nEvent == CTRL_C_EVENT ? SIGINT : SIGTERM;
    if (nEvent == CTRL_CLOSE_EVENT)
        Sleep(2000); // the program is ended when this returns: it gets the time to save
    return TRUE;
}
} // namespace

bool CTerminal::Begin()
{
    SetConsoleCtrlHandler(&OnControl, TRUE);
    return GetConsoleMode(s_hInput, &s_nInputMode) && GetConsoleMode(s_hOutput, &s_nOutputMode);
}

void CTerminal::SetRaw(bool bRaw)
{
    constexpr DWORD SEQUENCES = ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    SetConsoleMode(s_hInput, bRaw ? ENABLE_PROCESSED_INPUT | ENABLE_WINDOW_INPUT : s_nInputMode);
    SetConsoleMode(s_hOutput, bRaw ? s_nOutputMode | SEQUENCES : s_nOutputMode);
}

std::pair<int, int> CTerminal::GetSize()
{
    CONSOLE_SCREEN_BUFFER_INFO oInfo{};
    GetConsoleScreenBufferInfo(s_hOutput, &oInfo);
    return {oInfo.srWindow.Right - oInfo.srWindow.Left + 1, oInfo.srWindow.Bottom - oInfo.srWindow.Top + 1};
}

bool CTerminal::Write(std::string_view sBytes)
{
    DWORD nWritten = 0;
    return !s_bEntered || WriteFile(s_hOutput, sBytes.data(), static_cast<DWORD>(sBytes.size()), &nWritten, nullptr);
}

bool CTerminal::Read(int nMilliseconds, std::string& sTyped)
{
    std::array<INPUT_RECORD, 256> aEvents;
    DWORD nEvents = 0;
    if (WaitForSingleObject(s_hInput, static_cast<DWORD>(nMilliseconds)) == WAIT_OBJECT_0 &&
        !ReadConsoleInputA(s_hInput, aEvents.data(), static_cast<DWORD>(aEvents.size()), &nEvents))
        return false;
    for (DWORD i = 0; i < nEvents; ++i)
    {
        const KEY_EVENT_RECORD& oKey = aEvents[i].Event.KeyEvent;
        const bool bPressed = aEvents[i].EventType == KEY_EVENT && oKey.bKeyDown;
        if (bPressed && oKey.wVirtualKeyCode >= VK_LEFT && oKey.wVirtualKeyCode <= VK_DOWN)
            sTyped += {'\x1b', '[', "DACB"[oKey.wVirtualKeyCode - VK_LEFT]}; // as a terminal types them
        else if (bPressed && oKey.uChar.AsciiChar != 0)
            sTyped += oKey.uChar.AsciiChar;
    }
    return s_nEndSignal == 0;
}

unsigned GetPeakMemory()
{
    PROCESS_MEMORY_COUNTERS oMemory{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &oMemory, sizeof(oMemory));
    return static_cast<unsigned>(oMemory.PeakWorkingSetSize / 1024);
}
