// A console of Windows 10 and later: key events in, escape sequences out.

#include "../Terminal.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// behind it, since it needs its types
#include <psapi.h>

#ifndef ENABLE_VIRTUAL_TERMINAL_PROCESSING
#    define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x0004
#endif

namespace
{
HANDLE s_hInput = nullptr, s_hOutput = nullptr;
DWORD s_nInputMode = 0, s_nOutputMode = 0;
std::atomic<bool> s_bEntered = false;

BOOL WINAPI OnControl(DWORD nEvent)
{
    CTerminal::s_nEndSignal = nEvent == CTRL_C_EVENT ? SIGINT : SIGTERM;
    if (nEvent == CTRL_CLOSE_EVENT)
        Sleep(2000); // the program is ended when this returns: it gets the time to save
    return TRUE;
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS*)
{
    CTerminal::Restore();
    return EXCEPTION_CONTINUE_SEARCH;
}

int ToKey(const KEY_EVENT_RECORD& oEvent)
{
    constexpr int ARROWS[] = {keyLeft, keyUp, keyRight, keyDown};
    if (oEvent.wVirtualKeyCode >= VK_LEFT && oEvent.wVirtualKeyCode <= VK_DOWN)
        return ARROWS[oEvent.wVirtualKeyCode - VK_LEFT];
    const int nByte = static_cast<unsigned char>(oEvent.uChar.AsciiChar);
    return nByte == '\r' ? keyEnter : nByte;
}
} // namespace

CTerminal::CTerminal()
{
    s_hInput = GetStdHandle(STD_INPUT_HANDLE);
    s_hOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    if (!GetConsoleMode(s_hInput, &s_nInputMode) || !GetConsoleMode(s_hOutput, &s_nOutputMode) ||
        !SetConsoleMode(s_hOutput, s_nOutputMode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING))
        throw std::runtime_error("the console: cannot be set up");
    SetConsoleMode(s_hInput, ENABLE_PROCESSED_INPUT | ENABLE_WINDOW_INPUT);
    SetConsoleCtrlHandler(&OnControl, TRUE);
    SetUnhandledExceptionFilter(&OnCrash);
    std::signal(SIGABRT, [](int) { Restore(); });
    std::atexit(&CTerminal::Restore);
    s_bEntered = true;
    Write("\x1b[?1049h\x1b[?25l\x1b[2J"); // another screen beside the one with the lines, and no cursor
}

bool CTerminal::IsThere()
{
    DWORD nMode = 0;
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &nMode) &&
           GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &nMode);
}

void CTerminal::Restore()
{
    constexpr std::string_view LEAVE = "\x1b[0m\x1b[?25h\x1b[?1049l";
    if (!s_bEntered.exchange(false))
        return;
    DWORD nWritten = 0;
    WriteFile(s_hOutput, LEAVE.data(), static_cast<DWORD>(LEAVE.size()), &nWritten, nullptr);
    SetConsoleMode(s_hInput, s_nInputMode);
    SetConsoleMode(s_hOutput, s_nOutputMode);
}

void CTerminal::GetSize(int& nWidth, int& nHeight) const
{
    CONSOLE_SCREEN_BUFFER_INFO oInfo{};
    const bool bTold = GetConsoleScreenBufferInfo(s_hOutput, &oInfo) != 0;
    nWidth = bTold ? oInfo.srWindow.Right - oInfo.srWindow.Left + 1 : 80;
    nHeight = bTold ? oInfo.srWindow.Bottom - oInfo.srWindow.Top + 1 : 24;
}

bool CTerminal::Write(std::string_view sBytes)
{
    DWORD nWritten = 0;
    return !s_bEntered || WriteFile(s_hOutput, sBytes.data(), static_cast<DWORD>(sBytes.size()), &nWritten, nullptr);
}

bool CTerminal::ReadKeys(int nMilliseconds, std::vector<int>& aKeys)
{
    if (s_nEndSignal != 0)
        return false;
    if (WaitForSingleObject(s_hInput, static_cast<DWORD>(nMilliseconds)) != WAIT_OBJECT_0)
        return true;

    std::array<INPUT_RECORD, 256> aEvents;
    DWORD nEvents = 0;
    if (!ReadConsoleInputA(s_hInput, aEvents.data(), static_cast<DWORD>(aEvents.size()), &nEvents))
        return false;
    for (DWORD i = 0; i < nEvents; ++i)
    {
        const KEY_EVENT_RECORD& oEvent = aEvents[i].Event.KeyEvent;
        if (aEvents[i].EventType == KEY_EVENT && oEvent.bKeyDown && ToKey(oEvent) != 0)
            aKeys.push_back(ToKey(oEvent));
    }
    return s_nEndSignal == 0;
}

std::size_t GetResidentMemory()
{
    PROCESS_MEMORY_COUNTERS oMemory{};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &oMemory, sizeof(oMemory)) ? oMemory.WorkingSetSize / 1024 : 0;
}
