#if !defined(_WIN32)

#    include <tests/support/Debugger.h>

#    include <tests/support/TestEnvironment.h>

#    include <csignal>
#    include <cstdlib>

#    include <fcntl.h>
#    include <sys/ptrace.h>
#    include <sys/wait.h>
#    include <unistd.h>

namespace
{
constexpr unsigned LIMIT_SECONDS = 60;
constexpr int NOT_STARTED = 127;
} // namespace

int RunDebugged(const std::vector<std::string>& oCommand, bool& bTrapped)
{
    std::vector<char*> oArguments;
    for (const std::string& sArgument : oCommand)
        oArguments.push_back(const_cast<char*>(sArgument.c_str()));
    oArguments.push_back(nullptr);

    // What looks for leaks at the end of a program is a debugger itself, and there can be only one.
    const char* const pOptions = std::getenv("ASAN_OPTIONS");
    const CTestEnvironment oNoLeaks("ASAN_OPTIONS",
                                    (std::string(pOptions != nullptr ? pOptions : "") + ":detect_leaks=0").c_str());
    const pid_t nChild = fork();
    if (nChild == 0)
    {
        alarm(LIMIT_SECONDS);
        const int nNull = open("/dev/null", O_RDWR);
        dup2(nNull, STDIN_FILENO);
        dup2(nNull, STDOUT_FILENO);
        dup2(nNull, STDERR_FILENO);
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0)
            execv(oArguments[0], oArguments.data());
        _exit(NOT_STARTED);
    }

    // The first trap is that of the start itself.
    int nTraps = 0;
    int nStatus = 0;
    while (nChild > 0 && waitpid(nChild, &nStatus, 0) == nChild && WIFSTOPPED(nStatus))
    {
        const bool bTrap = WSTOPSIG(nStatus) == SIGTRAP;
        nTraps += bTrap ? 1 : 0;
        ptrace(PTRACE_CONT, nChild, nullptr, bTrap ? 0L : static_cast<long>(WSTOPSIG(nStatus)));
    }
    bTrapped = nTraps > 1;
    return nTraps > 0 && WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

#endif
