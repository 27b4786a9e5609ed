#if defined(_WIN32)

#    include <tests/support/Debugger.h>

#    define WIN32_LEAN_AND_MEAN
#    include <windows.h>

int RunDebugged(const std::vector<std::string>& oCommand, bool& bTrapped)
{
    constexpr DWORD LIMIT_MS = 60'000;

    std::string sLine; // no argument of the tests holds quotes
    for (const std::string& sArgument : oCommand)
        sLine += (sLine.empty() ? "\"" : " \"") + sArgument + "\"";

    STARTUPINFOA oStart{};
    oStart.cb = sizeof(oStart);
    PROCESS_INFORMATION oProcess{};
    if (!CreateProcessA(nullptr, sLine.data(), nullptr, nullptr, FALSE, DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr,
                        &oStart, &oProcess))
        return -1;

    // The first trap is that of the start itself.
    int nTraps = 0;
    int nCode = -1;
    DEBUG_EVENT oEvent{};
    for (bool bEnded = false; !bEnded && WaitForDebugEvent(&oEvent, LIMIT_MS);)
    {
        DWORD nAnswer = DBG_CONTINUE;
        switch (oEvent.dwDebugEventCode)
        {
        case CREATE_PROCESS_DEBUG_EVENT:
            CloseHandle(oEvent.u.CreateProcessInfo.hFile);
            break;
        case LOAD_DLL_DEBUG_EVENT:
            CloseHandle(oEvent.u.LoadDll.hFile);
            break;
        case EXCEPTION_DEBUG_EVENT:
            if (oEvent.u.Exception.ExceptionRecord.ExceptionCode == EXCEPTION_BREAKPOINT)
                ++nTraps;
            else
                nAnswer = DBG_EXCEPTION_NOT_HANDLED;
            break;
        case EXIT_PROCESS_DEBUG_EVENT:
            nCode = static_cast<int>(oEvent.u.ExitProcess.dwExitCode);
            bEnded = true;
            break;
        default:
            break;
        }
        ContinueDebugEvent(oEvent.dwProcessId, oEvent.dwThreadId, nAnswer);
    }
    TerminateProcess(oProcess.hProcess, 1); // when it did not end
    CloseHandle(oProcess.hThread);
    CloseHandle(oProcess.hProcess);
    bTrapped = nTraps > 1;
    return nCode;
}

#endif
