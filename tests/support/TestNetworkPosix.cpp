#if !defined(_WIN32)

#    include <tests/support/TestNetwork.h>

#    include <array>
#    include <atomic>
#    include <cerrno>
#    include <chrono>
#    include <cstdio>
#    include <cstdlib>
#    include <cstring>
#    include <new>
#    include <string>
#    include <thread>
#    include <vector>

#    include <arpa/inet.h>
#    include <fcntl.h>
#    include <net/if.h>
#    include <netinet/in.h>
#    include <sched.h>
#    include <spawn.h>
#    include <sys/ioctl.h>
#    include <sys/mman.h>
#    include <sys/prctl.h>
#    include <sys/socket.h>
#    include <sys/wait.h>
#    include <unistd.h>

// There in builds that count which lines run.
extern "C" void __gcov_dump(void) __attribute__((weak, visibility("hidden")));

// One process is the switch: it holds a bridge in namespaces of its own. Each host is a child of it with a further
// network namespace, joined to the bridge by a pair of virtual interfaces. The namespaces end with their processes.
namespace
{
constexpr std::chrono::seconds LIMIT{60};
constexpr const char* INTERFACE = "net0";
constexpr int CODE_GOOD = 0;
constexpr int CODE_BAD = 1;

// What the processes share.
struct sShared
{
    std::atomic<int> nReady = 0;   // hosts whose namespace is there
    std::atomic<int> nPlugged = 0; // hosts that are joined to the bridge
    std::atomic<int> nMet = 0;
    std::atomic<bool> bImpossible = false;
    std::array<char, 256> aReason = {};

    void Refuse(const std::string& sReason)
    {
        if (!bImpossible.exchange(true))
            sReason.copy(aReason.data(), aReason.size() - 1);
    }
};

template <class TCondition>
bool WaitUntil(const sShared& oShared, TCondition fnCondition)
{
    const auto oEnd = std::chrono::steady_clock::now() + LIMIT;
    while (!fnCondition())
    {
        if (oShared.bImpossible || std::chrono::steady_clock::now() > oEnd)
            return false;
        std::this_thread::yield();
    }
    return true;
}

class CHost : public CTestHost
{
public:
    CHost(sShared& oShared, int nNumber) : m_oShared(oShared), m_nNumber(nNumber) {}

    int GetNumber() const override { return m_nNumber; }

    bool Meet() override
    {
        m_nMeetings += GetHostCount();
        ++m_oShared.nMet;
        return WaitUntil(m_oShared, [&] { return m_oShared.nMet >= m_nMeetings; });
    }

private:
    sShared& m_oShared;
    const int m_nNumber;
    int m_nMeetings = 0;
};

// Runs the system's program for networks. What it complains of is not shown: a kernel without bridges is no error.
bool RunIp(sShared& oShared, std::vector<std::string> aArguments)
{
    aArguments.insert(aArguments.begin(), "ip");
    std::vector<char*> aPointers;
    std::string sCommand;
    for (std::string& sArgument : aArguments)
    {
        aPointers.push_back(sArgument.data());
        sCommand += (sCommand.empty() ? "" : " ") + sArgument;
    }
    aPointers.push_back(nullptr);

    posix_spawn_file_actions_t oActions;
    posix_spawn_file_actions_init(&oActions);
    posix_spawn_file_actions_addopen(&oActions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t nChild = -1;
    int nStatus = -1;
    std::vector<std::string> aPath = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin"};
    char* aEnvironment[] = {aPath[0].data(), nullptr};
    bool bGood = false;
    for (const char* pProgram : {"/usr/sbin/ip", "/sbin/ip", "/usr/bin/ip", "/bin/ip"})
    {
        if (posix_spawn(&nChild, pProgram, &oActions, nullptr, aPointers.data(), aEnvironment) == 0)
        {
            bGood = waitpid(nChild, &nStatus, 0) == nChild && WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0;
            break;
        }
    }
    posix_spawn_file_actions_destroy(&oActions);
    if (!bGood)
        oShared.Refuse("this does not work here: " + sCommand);
    return bGood;
}

void WriteText(const char* pFile, const std::string& sText)
{
    const int nFile = open(pFile, O_WRONLY | O_CLOEXEC);
    if (nFile == -1)
        return;
    static_cast<void>(!write(nFile, sText.data(), sText.size()));
    close(nFile);
}

// Enters a network namespace of its own, for which an ordinary user needs a user namespace too.
bool EnterNamespaces(sShared& oShared)
{
    const std::string sUser = std::to_string(geteuid());
    const std::string sGroup = std::to_string(getegid());
    if (unshare(CLONE_NEWNET) == 0)
        return true;
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
    {
        oShared.Refuse(std::string("network namespaces cannot be made here: ") + std::strerror(errno));
        return false;
    }
    WriteText("/proc/self/setgroups", "deny");
    WriteText("/proc/self/uid_map", "0 " + sUser + " 1");
    WriteText("/proc/self/gid_map", "0 " + sGroup + " 1");
    return true;
}

bool IsRunning(const char* pInterface)
{
    const int nSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq oRequest = {};
    std::strncpy(oRequest.ifr_name, pInterface, sizeof oRequest.ifr_name - 1);
    const bool bRunning = ioctl(nSocket, SIOCGIFFLAGS, &oRequest) == 0 &&
                          (oRequest.ifr_flags & (IFF_UP | IFF_RUNNING)) == (IFF_UP | IFF_RUNNING);
    close(nSocket);
    return bRunning;
}

[[noreturn]] void End(int nCode)
{
    std::fflush(nullptr);
    if (__gcov_dump != nullptr)
        __gcov_dump();
    _exit(nCode);
}

[[noreturn]] void BecomeHost(sShared& oShared, int nNumber, const std::function<bool(CTestHost&)>& fnWork)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(2 * static_cast<unsigned>(LIMIT.count()));
    if (unshare(CLONE_NEWNET) != 0)
        oShared.Refuse(std::string("network namespaces cannot be made here: ") + std::strerror(errno));
    ++oShared.nReady;
    if (!WaitUntil(oShared, [&] { return oShared.nPlugged == GetHostCount(); }) ||
        !RunIp(oShared, {"link", "set", "lo", "up"}) ||
        !RunIp(oShared, {"address", "add", GetHostAddress(nNumber) + "/24", "dev", INTERFACE}) ||
        !RunIp(oShared, {"link", "set", INTERFACE, "up"}) || !WaitUntil(oShared, [] { return IsRunning(INTERFACE); }))
        End(CODE_BAD);

    CHost oHost(oShared, nNumber);
    End(oHost.Meet() && fnWork(oHost) ? CODE_GOOD : CODE_BAD);
}

bool Plug(sShared& oShared, int nNumber, pid_t nHost)
{
    const std::string sPort = "port" + std::to_string(nNumber);
    return RunIp(oShared,
                 {"link", "add", sPort, "type", "veth", "peer", "name", INTERFACE, "netns", std::to_string(nHost)}) &&
           RunIp(oShared, {"link", "set", sPort, "master", "bridge0"}) && RunIp(oShared, {"link", "set", sPort, "up"});
}

[[noreturn]] void BecomeSwitch(sShared& oShared, const std::function<bool(CTestHost&)>& fnWork)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(3 * static_cast<unsigned>(LIMIT.count()));
    if (!EnterNamespaces(oShared) ||
        !RunIp(oShared, {"link", "add", "bridge0", "type", "bridge", "mcast_snooping", "0"}) ||
        !RunIp(oShared, {"link", "set", "bridge0", "up"}))
        End(CODE_BAD);

    std::vector<pid_t> aHosts;
    for (int i = 0; i < GetHostCount(); ++i)
    {
        std::fflush(nullptr);
        const pid_t nHost = fork();
        if (nHost == 0)
            BecomeHost(oShared, i, fnWork);
        if (nHost > 0)
            aHosts.push_back(nHost);
    }
    WaitUntil(oShared, [&] { return oShared.nReady == GetHostCount(); });
    for (std::size_t i = 0; i < aHosts.size(); ++i)
        oShared.nPlugged += !oShared.bImpossible && Plug(oShared, static_cast<int>(i), aHosts[i]) ? 1 : 0;

    int nCode = static_cast<int>(aHosts.size()) == GetHostCount() ? CODE_GOOD : CODE_BAD;
    for (const pid_t nHost : aHosts)
    {
        int nStatus = 0;
        if (waitpid(nHost, &nStatus, 0) != nHost || !WIFEXITED(nStatus) || WEXITSTATUS(nStatus) != CODE_GOOD)
            nCode = CODE_BAD;
    }
    End(nCode);
}
} // namespace

bool RunOnHosts(const std::function<bool(CTestHost&)>& fnWork, std::string& sReason)
{
    void* pMemory = mmap(nullptr, sizeof(sShared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED)
        return false;
    auto& oShared = *new (pMemory) sShared;

    std::fflush(nullptr);
    const pid_t nSwitch = fork();
    if (nSwitch == 0)
        BecomeSwitch(oShared, fnWork);

    int nStatus = 0;
    const bool bGood = nSwitch > 0 && waitpid(nSwitch, &nStatus, 0) == nSwitch && WIFEXITED(nStatus) &&
                       WEXITSTATUS(nStatus) == CODE_GOOD;
    sReason = oShared.bImpossible ? oShared.aReason.data() : "";
    munmap(pMemory, sizeof(sShared));
    return bGood;
}

const char* GetHostInterface()
{
    return INTERFACE;
}

std::string GetHostAddress(int nNumber)
{
    return "10.77.0." + std::to_string(nNumber + 1);
}

bool SendRawDatagram(const std::string& sAddress, unsigned short nPort, std::string_view sBytes)
{
    sockaddr_in oAddress = {};
    oAddress.sin_family = AF_INET;
    oAddress.sin_port = htons(nPort);
    if (inet_pton(AF_INET, sAddress.c_str(), &oAddress.sin_addr) != 1)
        return false;

    // A group is reached by the interface of the network, of which there is no route.
    const int nSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ip_mreqn oOutgoing = {};
    oOutgoing.imr_ifindex = static_cast<int>(if_nametoindex(INTERFACE));
    setsockopt(nSocket, IPPROTO_IP, IP_MULTICAST_IF, &oOutgoing, sizeof oOutgoing);
    const bool bSent = sendto(nSocket, sBytes.data(), sBytes.size(), 0, reinterpret_cast<const sockaddr*>(&oAddress),
                              sizeof oAddress) == static_cast<ssize_t>(sBytes.size());
    close(nSocket);
    return bSent;
}

#endif
