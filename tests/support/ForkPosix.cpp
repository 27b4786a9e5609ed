#if !defined(_WIN32)

#    include <tests/support/Fork.h>

#    include <csignal>
#    include <cstdio>
#    include <cstdlib>

#    include <sys/ptrace.h>
#    include <sys/wait.h>
#    include <unistd.h>

// There in builds that count which lines run.
extern "C" void __gcov_init(void*) __attribute__((weak, visibility("hidden")));

namespace
{
constexpr unsigned LIMIT_SECONDS = 60;
constexpr int NO_TRACER = 101;

pid_t Fork()
{
    std::fflush(nullptr); // or both write what is in the buffers
    return fork();
}

// Ends a copy at once: what else the process does at its end is for the first one. Lines are only counted at a regular
// end.
[[noreturn]] void EndCopy(int nResult)
{
    if (__gcov_init != nullptr)
        std::exit(nResult);
    _exit(nResult);
}
} // namespace

int RunInFork(const std::function<int()>& fnWork)
{
    const pid_t nChild = Fork();
    if (nChild == 0)
    {
        alarm(LIMIT_SECONDS);
        EndCopy(fnWork());
    }

    int nStatus = 0;
    if (nChild < 0 || waitpid(nChild, &nStatus, 0) != nChild || !WIFEXITED(nStatus))
        return -1;
    return WEXITSTATUS(nStatus);
}

int RunTraced(const std::function<int()>& fnWork, bool& bTrapped)
{
    bTrapped = false;

    const pid_t nChild = Fork();
    if (nChild == 0)
    {
        alarm(LIMIT_SECONDS);
        EndCopy(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? fnWork() : NO_TRACER);
    }

    int nStatus = 0;
    while (nChild > 0 && waitpid(nChild, &nStatus, 0) == nChild && WIFSTOPPED(nStatus))
    {
        const bool bTrap = WSTOPSIG(nStatus) == SIGTRAP;
        bTrapped = bTrapped || bTrap;
        ptrace(PTRACE_CONT, nChild, nullptr, bTrap ? 0L : static_cast<long>(WSTOPSIG(nStatus)));
    }
    return nChild > 0 && WIFEXITED(nStatus) && WEXITSTATUS(nStatus) != NO_TRACER ? WEXITSTATUS(nStatus) : -1;
}

bool HasFork()
{
    return true;
}

#endif
