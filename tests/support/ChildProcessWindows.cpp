#if defined(_WIN32)

#    include <tests/support/ChildProcess.h>

#    include <thread>

#    define WIN32_LEAN_AND_MEAN
#    include <windows.h>

struct ChildProcess::Implementation
{
    HANDLE hProcess = nullptr;
    HANDLE hJob = nullptr; // ends the children of the child together with it
    DWORD nId = 0;
    HANDLE hOutput = nullptr; // the reading end of the pipe that takes standard output and standard error
    std::thread oReader;
    ChildResult oResult;
};

namespace
{
/// An argument as the runtime library of the child takes it apart again.
std::string Quoted(const std::string& sArgument)
{
    std::string sResult = "\"";
    std::size_t nBackslashes = 0;
    for (const char c : sArgument)
    {
        if (c == '"')
            sResult.append(nBackslashes + 1, '\\'); // those before a quote count double, and the quote gets one
        nBackslashes = c == '\\' ? nBackslashes + 1 : 0;
        sResult += c;
    }
    return sResult.append(nBackslashes, '\\') + '"';
}
} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& oCommand)
    : m_pImplementation(std::make_unique<Implementation>())
{
    auto& oChild = *m_pImplementation;

    SECURITY_ATTRIBUTES oInherited{sizeof(oInherited), nullptr, TRUE};
    HANDLE hWrite = nullptr;
    if (!CreatePipe(&oChild.hOutput, &hWrite, &oInherited, 0))
        return;
    SetHandleInformation(oChild.hOutput, HANDLE_FLAG_INHERIT, 0);
    HANDLE hInput = CreateFileA("NUL", GENERIC_READ, 0, &oInherited, OPEN_EXISTING, 0, nullptr);

    STARTUPINFOA oStart{};
    oStart.cb = sizeof(oStart);
    oStart.dwFlags = STARTF_USESTDHANDLES;
    oStart.hStdInput = hInput;
    oStart.hStdOutput = hWrite;
    oStart.hStdError = hWrite;

    std::string sLine;
    for (const auto& sArgument : oCommand)
        sLine += (sLine.empty() ? "" : " ") + Quoted(sArgument);

    PROCESS_INFORMATION oProcess{};
    if (CreateProcessA(nullptr, sLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr, &oStart,
                       &oProcess))
    {
        oChild.hProcess = oProcess.hProcess;
        oChild.nId = oProcess.dwProcessId;
        oChild.hJob = CreateJobObjectA(nullptr, nullptr);
        AssignProcessToJobObject(oChild.hJob, oChild.hProcess);
        ResumeThread(oProcess.hThread);
        CloseHandle(oProcess.hThread);
    }
    CloseHandle(hInput);
    CloseHandle(hWrite);

    oChild.oReader = std::thread(
        [&oChild]
        {
            char aBytes[4096];
            DWORD nRead = 0;
            while (ReadFile(oChild.hOutput, aBytes, sizeof(aBytes), &nRead, nullptr) && nRead != 0)
                oChild.oResult.sOutput.append(aBytes, nRead);
        });
}

ChildProcess::~ChildProcess()
{
    Kill();
    Wait();
    if (m_pImplementation->hOutput)
        CloseHandle(m_pImplementation->hOutput);
}

ChildResult ChildProcess::Wait(std::chrono::seconds oLimit)
{
    auto& oChild = *m_pImplementation;
    if (oChild.hProcess)
    {
        const auto nLimit = static_cast<DWORD>(std::chrono::milliseconds(oLimit).count());
        if (WaitForSingleObject(oChild.hProcess, nLimit) != WAIT_OBJECT_0)
        {
            oChild.oResult.bTimedOut = true;
            Kill();
            WaitForSingleObject(oChild.hProcess, INFINITE);
        }

        DWORD nCode = 0;
        if (GetExitCodeProcess(oChild.hProcess, &nCode))
            oChild.oResult.nExitCode = static_cast<int>(nCode);
        CloseHandle(oChild.hProcess);
        CloseHandle(oChild.hJob);
        oChild.hProcess = nullptr;
    }
    if (oChild.oReader.joinable())
        oChild.oReader.join();
    return oChild.oResult;
}

void ChildProcess::Kill()
{
    auto& oChild = *m_pImplementation;
    if (!oChild.hProcess)
        return;
    TerminateJobObject(oChild.hJob, static_cast<UINT>(-1));
    TerminateProcess(oChild.hProcess, static_cast<UINT>(-1));
}

unsigned long ChildProcess::Id() const
{
    return m_pImplementation->nId;
}

std::string ThisProgram()
{
    char aPath[MAX_PATH];
    return std::string(aPath, GetModuleFileNameA(nullptr, aPath, sizeof(aPath)));
}

#endif
