#include <tests/support/PrivateNetwork.h>

#if !defined(__linux__)

CPrivateNetwork::CPrivateNetwork() = default;
CPrivateNetwork::~CPrivateNetwork() = default;

bool CPrivateNetwork::IsOpen() const
{
    return false;
}

bool CPrivateNetwork::Receive(SDatagram&)
{
    return false;
}

bool CPrivateNetwork::Send(const SDatagram&)
{
    return false;
}

#else

#    include <cstdint>
#    include <cstring>

#    include <arpa/inet.h>
#    include <fcntl.h>
#    include <linux/if_tun.h>
#    include <net/if.h>
#    include <netinet/in.h>
#    include <netinet/ip.h>
#    include <netinet/udp.h>
#    include <poll.h>
#    include <sched.h>
#    include <sys/ioctl.h>
#    include <sys/socket.h>
#    include <unistd.h>

namespace
{
constexpr int LIMIT_MS = 10'000;
constexpr std::size_t LARGEST_PACKET = 65536;

ifreq Request(const char* pInterface)
{
    ifreq oRequest = {};
    std::strncpy(oRequest.ifr_name, pInterface, IFNAMSIZ - 1);
    return oRequest;
}

bool SetAddress(int nSocket, unsigned long nWhat, const char* pAddress)
{
    ifreq oRequest = Request(CPrivateNetwork::INTERFACE);
    sockaddr_in oAddress = {};
    oAddress.sin_family = AF_INET;
    inet_pton(AF_INET, pAddress, &oAddress.sin_addr);
    std::memcpy(&oRequest.ifr_addr, &oAddress, sizeof(oAddress));
    return ioctl(nSocket, nWhat, &oRequest) == 0;
}

bool SwitchOn(int nSocket, const char* pInterface, int nFlags)
{
    ifreq oRequest = Request(pInterface);
    oRequest.ifr_flags = static_cast<short>(IFF_UP | IFF_RUNNING | nFlags);
    return ioctl(nSocket, SIOCSIFFLAGS, &oRequest) == 0;
}

std::uint16_t Checksum(const void* pBytes, std::size_t nSize)
{
    std::uint32_t nSum = 0;
    for (std::size_t i = 0; i + 1 < nSize; i += 2)
    {
        std::uint16_t nWord = 0;
        std::memcpy(&nWord, static_cast<const char*>(pBytes) + i, sizeof(nWord));
        nSum += nWord;
    }
    while (nSum >> 16 != 0)
        nSum = (nSum & 0xFFFF) + (nSum >> 16);
    return static_cast<std::uint16_t>(~nSum);
}
} // namespace

CPrivateNetwork::CPrivateNetwork()
{
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return;

    const int nCable = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    const int nSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq oRequest = Request(INTERFACE);
    oRequest.ifr_flags = IFF_TUN | IFF_NO_PI;
    if (nCable != -1 && ioctl(nCable, TUNSETIFF, &oRequest) == 0 && SetAddress(nSocket, SIOCSIFADDR, OWN_ADDRESS) &&
        SetAddress(nSocket, SIOCSIFNETMASK, "255.255.255.0") && SwitchOn(nSocket, INTERFACE, IFF_MULTICAST) &&
        SwitchOn(nSocket, "lo", 0))
        m_nCable = nCable;
    else
        close(nCable);
    close(nSocket);
}

CPrivateNetwork::~CPrivateNetwork()
{
    if (m_nCable != -1)
        close(m_nCable);
}

bool CPrivateNetwork::IsOpen() const
{
    return m_nCable != -1;
}

bool CPrivateNetwork::Receive(SDatagram& oDatagram)
{
    std::string sPacket(LARGEST_PACKET, '\0');
    for (;;)
    {
        pollfd oPoll{m_nCable, POLLIN, 0};
        if (poll(&oPoll, 1, LIMIT_MS) != 1)
            return false;
        const ssize_t nRead = read(m_nCable, sPacket.data(), sPacket.size());
        if (nRead <= 0)
            return false;

        // The system itself asks and tells things, such as which groups there are.
        iphdr oNetwork;
        udphdr oUser;
        const auto nSize = static_cast<std::size_t>(nRead);
        if (nSize < sizeof(oNetwork))
            continue;
        std::memcpy(&oNetwork, sPacket.data(), sizeof(oNetwork));
        const std::size_t nHead = oNetwork.ihl * std::size_t{4};
        if (oNetwork.version != 4 || oNetwork.protocol != IPPROTO_UDP || nSize < nHead + sizeof(oUser))
            continue;

        std::memcpy(&oUser, sPacket.data() + nHead, sizeof(oUser));
        char aTarget[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &oNetwork.daddr, aTarget, sizeof(aTarget));
        oDatagram = {aTarget, ntohs(oUser.dest), oNetwork.ttl,
                     sPacket.substr(nHead + sizeof(oUser), nSize - nHead - sizeof(oUser))};
        return true;
    }
}

bool CPrivateNetwork::Send(const SDatagram& oDatagram)
{
    udphdr oUser = {};
    oUser.source = htons(4711);
    oUser.dest = htons(static_cast<std::uint16_t>(oDatagram.nPort));
    oUser.len = htons(static_cast<std::uint16_t>(sizeof(oUser) + oDatagram.sBytes.size())); // a sum of 0 is none

    iphdr oNetwork = {};
    oNetwork.version = 4;
    oNetwork.ihl = sizeof(oNetwork) / 4;
    oNetwork.tot_len = htons(static_cast<std::uint16_t>(sizeof(oNetwork) + sizeof(oUser) + oDatagram.sBytes.size()));
    oNetwork.ttl = static_cast<std::uint8_t>(oDatagram.nHops);
    oNetwork.protocol = IPPROTO_UDP;
    inet_pton(AF_INET, OTHER_ADDRESS, &oNetwork.saddr);
    inet_pton(AF_INET, oDatagram.sTarget.c_str(), &oNetwork.daddr);
    oNetwork.check = Checksum(&oNetwork, sizeof(oNetwork));

    std::string sPacket(sizeof(oNetwork) + sizeof(oUser), '\0');
    std::memcpy(sPacket.data(), &oNetwork, sizeof(oNetwork));
    std::memcpy(sPacket.data() + sizeof(oNetwork), &oUser, sizeof(oUser));
    sPacket += oDatagram.sBytes;
    return write(m_nCable, sPacket.data(), sPacket.size()) == static_cast<ssize_t>(sPacket.size());
}

#endif
