#if !defined(_WIN32)

#    include <tests/support/ChildProcess.h>

#    include <csignal>
#    include <cstdlib>
#    include <fcntl.h>
#    include <limits.h>
#    include <poll.h>
#    include <spawn.h>
#    include <sys/wait.h>
#    include <unistd.h>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct ChildProcess::Implementation
{
    pid_t nProcess = 0;
    int nOutput = -1; // the reading end of the pipe that takes standard output and standard error
    ChildResult oResult;
};

ChildProcess::ChildProcess(const std::vector<std::string>& oCommand)
    : m_pImplementation(std::make_unique<Implementation>())
{
    int aPipe[2];
    if (pipe2(aPipe, O_CLOEXEC) != 0)
        return;
    m_pImplementation->nOutput = aPipe[0];

    posix_spawn_file_actions_t oActions;
    posix_spawn_file_actions_init(&oActions);
    posix_spawn_file_actions_addopen(&oActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&oActions, aPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&oActions, aPipe[1], STDERR_FILENO);

    // a process group of its own, so that Kill() reaches the children of the child too
    posix_spawnattr_t oAttributes;
    posix_spawnattr_init(&oAttributes);
    posix_spawnattr_setflags(&oAttributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&oAttributes, 0);

    std::vector<std::string> oCopies(oCommand);
    std::vector<char*> oArguments;
    for (auto& sArgument : oCopies)
        oArguments.push_back(sArgument.data());
    oArguments.push_back(nullptr);

    if (posix_spawnp(&m_pImplementation->nProcess, oArguments[0], &oActions, &oAttributes, oArguments.data(),
                     environ) != 0)
        m_pImplementation->nProcess = 0;

    posix_spawnattr_destroy(&oAttributes);
    posix_spawn_file_actions_destroy(&oActions);
    close(aPipe[1]);
}

ChildProcess::~ChildProcess()
{
    Kill();
    Wait();
    if (m_pImplementation->nOutput >= 0)
        close(m_pImplementation->nOutput);
}

ChildResult ChildProcess::Wait(std::chrono::seconds oLimit)
{
    auto& [nProcess, nOutput, oResult] = *m_pImplementation;
    if (nProcess == 0)
        return oResult;

    // The pipe ends when its last writer does: the child, or a child of the child.
    const auto oEnd = steady_clock::now() + oLimit;
    for (;;)
    {
        const auto oLeft = std::chrono::duration_cast<milliseconds>(oEnd - steady_clock::now());
        pollfd oPoll{nOutput, POLLIN, 0};
        if (!oResult.bTimedOut && (oLeft.count() <= 0 || poll(&oPoll, 1, static_cast<int>(oLeft.count())) == 0))
        {
            oResult.bTimedOut = true;
            Kill();
        }

        char aBytes[4096];
        const auto nRead = read(nOutput, aBytes, sizeof(aBytes));
        if (nRead <= 0)
            break;
        oResult.sOutput.append(aBytes, static_cast<std::size_t>(nRead));
    }

    int nStatus = 0;
    waitpid(nProcess, &nStatus, 0);
    nProcess = 0;
    if (WIFEXITED(nStatus))
        oResult.nExitCode = WEXITSTATUS(nStatus);
    else
        oResult.sOutput += "\nended by signal " + std::to_string(WTERMSIG(nStatus)) + "\n";
    return oResult;
}

void ChildProcess::Kill()
{
    if (m_pImplementation->nProcess > 0)
        kill(-m_pImplementation->nProcess, SIGKILL);
}

unsigned long ChildProcess::Id() const
{
    return static_cast<unsigned long>(m_pImplementation->nProcess);
}

std::string ThisProgram()
{
    char aPath[PATH_MAX];
    const auto nLength = readlink("/proc/self/exe", aPath, sizeof(aPath));
    return nLength > 0 ? std::string(aPath, static_cast<std::size_t>(nLength)) : std::string();
}

#endif
