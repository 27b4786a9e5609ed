#if !defined(_WIN32)

#    include <tests/support/Fork.h>

#    include <sys/wait.h>
#    include <unistd.h>

int RunInFork(const std::function<int()>& fnWork)
{
    constexpr unsigned LIMIT_SECONDS = 60;

    const pid_t nChild = fork();
    if (nChild == 0)
    {
        alarm(LIMIT_SECONDS);
        _exit(fnWork());
    }

    int nStatus = 0;
    if (nChild < 0 || waitpid(nChild, &nStatus, 0) != nChild || !WIFEXITED(nStatus))
        return -1;
    return WEXITSTATUS(nStatus);
}

bool HasFork()
{
    return true;
}

#endif
