#include <Common/Platform/System/SystemMailSlot.h>

#include <Common/Platform/System/SystemHandleTable.h>
#include <Common/Platform/System/SystemMailSlotName.h>
#include <Common/Platform/System/SystemProcess.h>
#include <Common/Platform/System/SystemTime.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// How messages travel.
//
// On this computer: the server listens at an abstract address of the local domain that is made of the slot's name, and
// each client has a connection of whole packets to it. The system keeps the packets of each client, gives them back in
// order, tells when the server is gone, and forgets the address with the process. A packet is the time at which it was
// sent, by which the server orders the packets of several clients, and the message.
//
// Between computers, and only when an interface was named: UDP, to a multicast group and a port that are made of the
// slot's name. Since two names may make the same ones, a datagram carries the name. It does not come back to its own
// computer, which has got the message on the local way already: so every server gets it once.

namespace System
{
namespace
{
constexpr std::string_view LOCAL_ADDRESS_PREFIX = "common/mailslot/";

constexpr std::size_t STAMP_SIZE = 8;
constexpr std::size_t MAX_PACKET_SIZE = STAMP_SIZE + MAX_MAIL_SIZE;

// A datagram: mark, length of the name (1 byte), the name, the message.
constexpr std::string_view DATAGRAM_MARK = "CMS1";
constexpr std::size_t DATAGRAM_NAME_OFFSET = DATAGRAM_MARK.size() + 1;
constexpr std::size_t MAX_DATAGRAM_SIZE = DATAGRAM_NAME_OFFSET + MAX_SLOT_NAME_SIZE + MAX_MAIL_SIZE;

// Group 239.255.x.y and port 20480 to 28671: of the site's own groups, below the ports that the system gives out
// itself.
constexpr std::uint32_t GROUP_BASE = 0xEFFF0000;
constexpr std::uint32_t FIRST_PORT = 20480;
constexpr std::uint32_t PORT_COUNT = 8192;

constexpr std::size_t MAX_QUEUED_MAIL = 4096;
constexpr std::size_t MAX_MAIL_A_TURN = 16;
constexpr std::size_t MAX_ROUNDS = MAX_QUEUED_MAIL / MAX_MAIL_A_TURN; // what is dropped fills no queue
constexpr std::size_t MAX_CONNECTIONS = 256;
constexpr int BUFFER_SIZE = 1 << 20; // asked for; the system gives what it allows
constexpr int FULL_QUEUE_WAIT_MS = 100;

class CSocket
{
public:
    CSocket() = default;

    explicit CSocket(int nDescriptor) : m_nDescriptor(nDescriptor) {}

    ~CSocket() { Close(); }

    CSocket(CSocket&& oOther) noexcept : m_nDescriptor(std::exchange(oOther.m_nDescriptor, -1)) {}

    CSocket& operator=(CSocket&& oOther) noexcept
    {
        std::swap(m_nDescriptor, oOther.m_nDescriptor);
        return *this;
    }

    bool IsOpen() const { return m_nDescriptor != -1; }

    int Get() const { return m_nDescriptor; }

    void Close()
    {
        if (m_nDescriptor != -1)
            close(std::exchange(m_nDescriptor, -1));
    }

    template <class TValue>
    bool Set(int nLevel, int nOption, const TValue& oValue)
    {
        return setsockopt(m_nDescriptor, nLevel, nOption, &oValue, sizeof oValue) == 0;
    }

private:
    int m_nDescriptor = -1;
};

CSocket MakeSocket(int nDomain, int nType)
{
    return CSocket(socket(nDomain, nType | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

// FNV-1a: the same on every computer and for ever.
std::uint64_t Hash(std::string_view sText)
{
    std::uint64_t nHash = 0xCBF29CE484222325;
    for (const char c : sText)
        nHash = (nHash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return nHash;
}

struct sLocalAddress
{
    sockaddr_un oAddress = {};
    socklen_t nSize = 0;

    explicit sLocalAddress(const std::string& sSlot)
    {
        // The first byte is zero: the address is abstract, it stands in no directory.
        std::string sPath = std::string(1, '\0') + std::string(LOCAL_ADDRESS_PREFIX) + sSlot;
        if (sPath.size() > sizeof oAddress.sun_path)
        {
            // A name that is too long keeps its beginning and gets a hash of the whole in place of the rest.
            const std::string sHash = "#" + std::to_string(Hash(sSlot)) + std::to_string(Hash(sSlot + "#"));
            sPath = sPath.substr(0, sizeof oAddress.sun_path - sHash.size()) + sHash;
        }

        oAddress.sun_family = AF_UNIX;
        std::memcpy(oAddress.sun_path, sPath.data(), sPath.size());
        nSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sPath.size());
    }

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&oAddress); }
};

std::uint16_t PortOf(const std::string& sSlot)
{
    return static_cast<std::uint16_t>(FIRST_PORT + Hash(sSlot) % PORT_COUNT);
}

in_addr GroupOf(const std::string& sSlot)
{
    in_addr oGroup;
    oGroup.s_addr = htonl(GROUP_BASE | static_cast<std::uint32_t>(Hash(sSlot) >> 48));
    return oGroup;
}

sockaddr_in InternetAddress(in_addr oHost, std::uint16_t nPort)
{
    sockaddr_in oAddress = {};
    oAddress.sin_family = AF_INET;
    oAddress.sin_addr = oHost;
    oAddress.sin_port = htons(nPort);
    return oAddress;
}

bool SendTo(const CSocket& oSocket, const sockaddr_in& oAddress, std::string_view sDatagram)
{
    return sendto(oSocket.Get(), sDatagram.data(), sDatagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&oAddress),
                  sizeof oAddress) == static_cast<ssize_t>(sDatagram.size());
}

std::string MakeDatagram(const std::string& sSlot, const void* pData, std::size_t nSize)
{
    std::string sDatagram(DATAGRAM_MARK);
    sDatagram += static_cast<char>(static_cast<unsigned char>(sSlot.size()));
    sDatagram += sSlot;
    sDatagram.append(static_cast<const char*>(pData), nSize);
    return sDatagram;
}

// The number of the interface that was named; 0 while none is.
constinit std::atomic<int> g_nInterface = 0;

// Held while the ends are brought to the interface. In a copy of the process it is free: a thread that held it at that
// moment is not there to let it go.
std::mutex g_oInterfaceMutex;
pthread_once_t g_oInterfacePrepared = PTHREAD_ONCE_INIT;

class CInterfaceLock
{
public:
    CInterfaceLock()
    {
        pthread_once(&g_oInterfacePrepared,
                     [] { pthread_atfork(nullptr, nullptr, [] { new (&g_oInterfaceMutex) std::mutex; }); });
        g_oInterfaceMutex.lock();
    }

    ~CInterfaceLock() { g_oInterfaceMutex.unlock(); }

    CInterfaceLock(const CInterfaceLock&) = delete;
    CInterfaceLock& operator=(const CInterfaceLock&) = delete;
};

class CMailSlotEnd
{
public:
    virtual ~CMailSlotEnd() = default;

    virtual bool Write(const void*, std::size_t) { return false; }

    virtual bool Read(void*, unsigned long&) { return false; }

    virtual bool Query(sMailSlotInfo&) { return false; }

    virtual bool UseInterface(int) { return true; }

    CMailSlotEnd(const CMailSlotEnd&) = delete;
    CMailSlotEnd& operator=(const CMailSlotEnd&) = delete;

protected:
    CMailSlotEnd() = default;

    std::mutex m_oMutex;
};

struct sMail
{
    std::int64_t nStamp;
    std::uint16_t nSize;
    std::array<char, MAX_MAIL_SIZE> aBytes;
};

class CMailSlotServer : public CMailSlotEnd
{
public:
    explicit CMailSlotServer(std::string sSlot) : m_sSlot(std::move(sSlot)) {}

    bool Open()
    {
        const sLocalAddress oAddress(m_sSlot);
        m_oListener = MakeSocket(AF_UNIX, SOCK_SEQPACKET);
        return m_oListener.IsOpen() && bind(m_oListener.Get(), oAddress.Get(), oAddress.nSize) == 0 &&
               listen(m_oListener.Get(), SOMAXCONN) == 0;
    }

    bool Read(void* pData, unsigned long& nSize) override
    {
        const std::lock_guard oLock(m_oMutex);
        if (m_oQueue.empty())
            Collect();
        if (m_oQueue.empty())
            return false;

        const sMail& oMail = m_oQueue.front();
        nSize = oMail.nSize;
        std::memcpy(pData, oMail.aBytes.data(), oMail.nSize);
        m_oQueue.pop_front();
        return true;
    }

    bool Query(sMailSlotInfo& oInfo) override
    {
        const std::lock_guard oLock(m_oMutex);
        Collect();
        oInfo.nMaxSize = 0;
        oInfo.nNextSize = m_oQueue.empty() ? NO_MAIL : m_oQueue.front().nSize;
        oInfo.nCount = static_cast<unsigned long>(m_oQueue.size());
        return true;
    }

    bool UseInterface(int nInterface) override
    {
        const std::lock_guard oLock(m_oMutex);
        m_oNetwork.Close();
        if (nInterface == 0)
            return true;

        CSocket oSocket = MakeSocket(AF_INET, SOCK_DGRAM);
        if (!oSocket.IsOpen())
            return false;

        // The port may be shared: another name may make the same one. Only the named interface is heard, as far as the
        // system lets us say so, and only our own group.
        oSocket.Set(SOL_SOCKET, SO_REUSEADDR, 1);
        oSocket.Set(IPPROTO_IP, IP_MULTICAST_ALL, 0);
        oSocket.Set(SOL_SOCKET, SO_RCVBUF, BUFFER_SIZE);
        char aName[IF_NAMESIZE];
        if (if_indextoname(static_cast<unsigned>(nInterface), aName) == nullptr)
            return false;
        setsockopt(oSocket.Get(), SOL_SOCKET, SO_BINDTODEVICE, aName, static_cast<socklen_t>(std::strlen(aName)));

        ip_mreqn oMembership = {};
        oMembership.imr_multiaddr = GroupOf(m_sSlot);
        oMembership.imr_ifindex = nInterface;
        in_addr oAny;
        oAny.s_addr = htonl(INADDR_ANY);
        const sockaddr_in oAddress = InternetAddress(oAny, PortOf(m_sSlot));
        if (bind(oSocket.Get(), reinterpret_cast<const sockaddr*>(&oAddress), sizeof oAddress) != 0 ||
            !oSocket.Set(IPPROTO_IP, IP_ADD_MEMBERSHIP, oMembership))
            return false;

        m_oNetwork = std::move(oSocket);
        return true;
    }

private:
    static constexpr std::size_t FIRST_SOURCE = 1; // of m_oPolls

    // Moves what the system holds into the queue. What does not fit stays with the system, whose own limits then tell
    // the clients that the queue is full.
    void Collect()
    {
        const std::size_t nOld = m_oQueue.size();

        // One question for all: to accept a connection that is not there costs the system more than to answer it.
        m_oPolls.clear();
        m_oPolls.push_back({m_oListener.Get(), POLLIN, 0});
        m_oPolls.push_back({m_oNetwork.Get(), POLLIN, 0}); // -1 while there is none: that is left out
        for (const CSocket& oConnection : m_oConnections)
            m_oPolls.push_back({oConnection.Get(), POLLIN, 0});
        if (poll(m_oPolls.data(), m_oPolls.size(), 0) <= 0)
            return;

        if (m_oPolls[0].revents != 0)
            AcceptConnections();
        CollectInTurns();

        std::stable_sort(m_oQueue.begin() + static_cast<std::ptrdiff_t>(nOld), m_oQueue.end(),
                         [](const sMail& oFirst, const sMail& oSecond) { return oFirst.nStamp < oSecond.nStamp; });
    }

    void AcceptConnections()
    {
        while (m_oConnections.size() < MAX_CONNECTIONS)
        {
            CSocket oConnection(accept4(m_oListener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
            if (oConnection.IsOpen())
            {
                m_oPolls.push_back({oConnection.Get(), POLLIN, POLLIN});
                m_oConnections.push_back(std::move(oConnection));
            }
            else if (errno != EINTR && errno != ECONNABORTED)
                break;
        }
    }

    // The network and the connections take turns, and the one that comes first is another one each time: whoever sends
    // without a pause takes no room from the others.
    void CollectInTurns()
    {
        const std::size_t nCount = m_oPolls.size() - FIRST_SOURCE;
        const std::size_t nFirst = m_nTurn++ % nCount;
        bool bMore = true;
        for (std::size_t nRound = 0; nRound < MAX_ROUNDS && bMore && m_oQueue.size() < MAX_QUEUED_MAIL; ++nRound)
        {
            bMore = false;
            for (std::size_t i = 0; i < nCount; ++i)
            {
                const std::size_t nSource = (nFirst + i) % nCount;
                pollfd& oPoll = m_oPolls[FIRST_SOURCE + nSource];
                if (oPoll.revents == 0)
                    continue;

                const eRest nRest =
                    nSource == 0 ? CollectFromNetwork() : CollectFromConnection(m_oConnections[nSource - 1]);
                if (nRest == eRest::MayBe)
                    bMore = true;
                else
                    oPoll.revents = 0;
            }
        }
        std::erase_if(m_oConnections, [](const CSocket& oConnection) { return !oConnection.IsOpen(); });
    }

    // What is left behind after a turn.
    enum class eRest : int
    {
        MayBe, // not all was asked for
        None,
    };

    // Closes a connection that is at its end.
    eRest CollectFromConnection(CSocket& oConnection)
    {
        for (std::size_t i = 0; i < MAX_MAIL_A_TURN && m_oQueue.size() < MAX_QUEUED_MAIL; ++i)
        {
            char aPacket[MAX_PACKET_SIZE + 1];
            const ssize_t nRead = recv(oConnection.Get(), aPacket, sizeof aPacket, MSG_DONTWAIT);
            if (nRead == -1 && errno == EINTR)
                continue;
            if (nRead == 0 || (nRead == -1 && errno != EAGAIN && errno != EWOULDBLOCK))
                oConnection.Close();
            if (nRead <= 0)
                return eRest::None;

            const auto nSize = static_cast<std::size_t>(nRead);
            if (nSize < STAMP_SIZE || nSize > MAX_PACKET_SIZE)
                continue;

            std::int64_t nStamp = 0;
            std::memcpy(&nStamp, aPacket, STAMP_SIZE);
            Queue(nStamp, std::string_view(aPacket + STAMP_SIZE, nSize - STAMP_SIZE));
        }
        return eRest::MayBe;
    }

    eRest CollectFromNetwork()
    {
        for (std::size_t i = 0; i < MAX_MAIL_A_TURN && m_oQueue.size() < MAX_QUEUED_MAIL; ++i)
        {
            char aDatagram[MAX_DATAGRAM_SIZE + 1];
            const ssize_t nRead = recv(m_oNetwork.Get(), aDatagram, sizeof aDatagram, MSG_DONTWAIT);
            if (nRead == -1 && errno != EINTR)
                return eRest::None;

            std::string_view sMessage(aDatagram, nRead > 0 ? static_cast<std::size_t>(nRead) : 0);
            if (TakeFrame(sMessage) && sMessage.size() <= MAX_MAIL_SIZE)
                Queue(ReadPerformanceCounter(), sMessage);
        }
        return eRest::MayBe;
    }

    // Takes mark and name off a datagram; false when they are not ours.
    bool TakeFrame(std::string_view& sDatagram) const
    {
        if (sDatagram.size() < DATAGRAM_NAME_OFFSET || !sDatagram.starts_with(DATAGRAM_MARK) ||
            static_cast<unsigned char>(sDatagram[DATAGRAM_MARK.size()]) != m_sSlot.size())
            return false;

        sDatagram.remove_prefix(DATAGRAM_NAME_OFFSET);
        if (!sDatagram.starts_with(m_sSlot))
            return false;
        sDatagram.remove_prefix(m_sSlot.size());
        return true;
    }

    void Queue(std::int64_t nStamp, std::string_view sMessage)
    {
        sMail& oMail = m_oQueue.emplace_back();
        oMail.nStamp = nStamp;
        oMail.nSize = static_cast<std::uint16_t>(sMessage.size());
        std::memcpy(oMail.aBytes.data(), sMessage.data(), sMessage.size());
    }

    const std::string m_sSlot;
    CSocket m_oListener;
    CSocket m_oNetwork;
    std::vector<CSocket> m_oConnections;
    std::vector<pollfd> m_oPolls; // the listener, the network, the connections
    std::size_t m_nTurn = 0;
    std::deque<sMail> m_oQueue;
};

// The way to the server of a name on this computer.
class CLocalWay
{
public:
    enum class eResult : int
    {
        Sent,
        Nobody, // there is no server
        Full,   // its queue is full, or it could not be reached for another reason
    };

    explicit CLocalWay(const std::string& sSlot) : m_oAddress(sSlot) {}

    eResult Connect()
    {
        m_oSocket = CSocket();
        CSocket oSocket = MakeSocket(AF_UNIX, SOCK_SEQPACKET);
        if (!oSocket.IsOpen())
            return eResult::Full;

        oSocket.Set(SOL_SOCKET, SO_SNDBUF, BUFFER_SIZE);
        if (connect(oSocket.Get(), m_oAddress.Get(), m_oAddress.nSize) != 0)
            return errno == ECONNREFUSED ? eResult::Nobody : eResult::Full;

        m_oSocket = std::move(oSocket);
        m_bWaits = true;
        return eResult::Sent;
    }

    eResult Send(const void* pData, std::size_t nSize)
    {
        // A connection that turns out to be that of a server before is made anew, once.
        for (int i = 0; i < 2; ++i)
        {
            if (!m_oSocket.IsOpen())
            {
                const eResult nResult = Connect();
                if (nResult != eResult::Sent)
                    return nResult;
            }

            const int nError = SendPacket(pData, nSize);
            if (nError == 0)
            {
                m_bWaits = true;
                return eResult::Sent;
            }
            if (nError == EAGAIN)
            {
                m_bWaits = false;
                return eResult::Full;
            }
            m_oSocket.Close();
        }
        return eResult::Full;
    }

private:
    // Returns 0 or the error number; EAGAIN when the queue stayed full.
    int SendPacket(const void* pData, std::size_t nSize)
    {
        const std::int64_t nStamp = ReadPerformanceCounter();
        static_assert(sizeof nStamp == STAMP_SIZE);

        // In one piece: the system takes that faster than parts.
        char aPacket[MAX_PACKET_SIZE];
        std::memcpy(aPacket, &nStamp, STAMP_SIZE);
        std::memcpy(aPacket + STAMP_SIZE, pData, nSize);

        for (;;)
        {
            if (send(m_oSocket.Get(), aPacket, STAMP_SIZE + nSize, MSG_DONTWAIT | MSG_NOSIGNAL) != -1)
                return 0;
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK && errno != ENOBUFS)
                return errno;

            // Only the first message that meets a full queue waits: a server that hangs must not slow its clients down
            // for ever.
            constexpr int STEP_MS = 5;
            const std::int64_t nLimit = nStamp + GetPerformanceFrequency() / 1000 * FULL_QUEUE_WAIT_MS;
            if (!m_bWaits || ReadPerformanceCounter() >= nLimit)
                return EAGAIN;
            pollfd oPoll = {m_oSocket.Get(), POLLOUT, 0};
            poll(&oPoll, 1, STEP_MS);
        }
    }

    const sLocalAddress m_oAddress;
    CSocket m_oSocket;
    bool m_bWaits = true;
};

class CLocalClient : public CMailSlotEnd
{
public:
    explicit CLocalClient(const std::string& sSlot) : m_oWay(sSlot) {}

    bool Open() { return m_oWay.Connect() == CLocalWay::eResult::Sent; }

    bool Write(const void* pData, std::size_t nSize) override
    {
        const std::lock_guard oLock(m_oMutex);
        return m_oWay.Send(pData, nSize) == CLocalWay::eResult::Sent;
    }

private:
    CLocalWay m_oWay;
};

class CAllClient : public CMailSlotEnd
{
public:
    explicit CAllClient(std::string sSlot) : m_sSlot(std::move(sSlot)), m_oWay(m_sSlot) {}

    bool Write(const void* pData, std::size_t nSize) override
    {
        const std::lock_guard oLock(m_oMutex);
        const bool bSentHere = m_oWay.Send(pData, nSize) != CLocalWay::eResult::Full;
        const bool bSentOut = !m_oNetwork.IsOpen() || SendOut(pData, nSize);
        return bSentHere && bSentOut && m_bInterfaceWorks;
    }

    bool UseInterface(int nInterface) override
    {
        const std::lock_guard oLock(m_oMutex);
        m_oNetwork.Close();
        m_bInterfaceWorks = nInterface == 0 || OpenNetwork(nInterface);
        return m_bInterfaceWorks;
    }

private:
    bool OpenNetwork(int nInterface)
    {
        CSocket oSocket = MakeSocket(AF_INET, SOCK_DGRAM);
        ip_mreqn oOutgoing = {};
        oOutgoing.imr_ifindex = nInterface;
        constexpr int THIS_NETWORK_ONLY = 1;
        if (!oSocket.IsOpen() || !oSocket.Set(IPPROTO_IP, IP_MULTICAST_IF, oOutgoing) ||
            !oSocket.Set(IPPROTO_IP, IP_MULTICAST_LOOP, 0) ||
            !oSocket.Set(IPPROTO_IP, IP_MULTICAST_TTL, THIS_NETWORK_ONLY))
            return false;

        m_oNetwork = std::move(oSocket);
        return true;
    }

    bool SendOut(const void* pData, std::size_t nSize)
    {
        return SendTo(m_oNetwork, InternetAddress(GroupOf(m_sSlot), PortOf(m_sSlot)),
                      MakeDatagram(m_sSlot, pData, nSize));
    }

    const std::string m_sSlot;
    CLocalWay m_oWay;
    CSocket m_oNetwork;
    bool m_bInterfaceWorks = true;
};

class CHostClient : public CMailSlotEnd
{
public:
    CHostClient(std::string sSlot, in_addr oHost)
        : m_sSlot(std::move(sSlot)), m_oAddress(InternetAddress(oHost, PortOf(m_sSlot))),
          m_oSocket(MakeSocket(AF_INET, SOCK_DGRAM))
    {
    }

    bool Open() const { return m_oSocket.IsOpen(); }

    bool Write(const void* pData, std::size_t nSize) override
    {
        const std::lock_guard oLock(m_oMutex);
        return SendTo(m_oSocket, m_oAddress, MakeDatagram(m_sSlot, pData, nSize));
    }

private:
    const std::string m_sSlot;
    const sockaddr_in m_oAddress;
    CSocket m_oSocket;
};

bool IsThisComputer(in_addr oHost)
{
    if (ntohl(oHost.s_addr) >> 24 == IN_LOOPBACKNET)
        return true;

    ifaddrs* pAll = nullptr;
    if (getifaddrs(&pAll) != 0)
        return false;

    bool bFound = false;
    for (const ifaddrs* pEntry = pAll; pEntry != nullptr && !bFound; pEntry = pEntry->ifa_next)
    {
        if (pEntry->ifa_addr == nullptr || pEntry->ifa_addr->sa_family != AF_INET)
            continue;
        sockaddr_in oAddress;
        std::memcpy(&oAddress, pEntry->ifa_addr, sizeof oAddress);
        bFound = oAddress.sin_addr.s_addr == oHost.s_addr;
    }
    freeifaddrs(pAll);
    return bFound;
}

bool IsThisComputer(const std::string& sHost)
{
    char aName[COMPUTER_NAME_SIZE + 1];
    ReadComputerName(aName);
    return strcasecmp(sHost.c_str(), "localhost") == 0 || strcasecmp(sHost.c_str(), aName) == 0;
}

bool Resolve(const std::string& sHost, in_addr& oHost)
{
    addrinfo oWanted = {};
    oWanted.ai_family = AF_INET;
    oWanted.ai_socktype = SOCK_DGRAM;
    addrinfo* pFound = nullptr;
    if (getaddrinfo(sHost.c_str(), nullptr, &oWanted, &pFound) != 0)
        return false;

    sockaddr_in oAddress;
    std::memcpy(&oAddress, pFound->ai_addr, sizeof oAddress);
    freeaddrinfo(pFound);
    oHost = oAddress.sin_addr;
    return true;
}

struct sMailSlotTraits
{
    using Content = CMailSlotEnd*;

    static void Release(CMailSlotEnd* pEnd) { delete pEnd; }
};

using MailSlotTable = CHandleTable<sMailSlotTraits>;
constinit MailSlotTable g_oSlots;

MailSlotHandle AddToTable(std::unique_ptr<CMailSlotEnd> pEnd)
{
    const MailSlotHandle nSlot = g_oSlots.Add(pEnd.get());
    if (nSlot != 0)
        static_cast<void>(pEnd.release());
    return nSlot;
}

MailSlotHandle OpenLocalClient(const std::string& sSlot)
{
    auto pClient = std::make_unique<CLocalClient>(sSlot);
    return pClient->Open() ? AddToTable(std::move(pClient)) : 0;
}

// Opens the end and brings it to the interface that holds now, also when that changes meanwhile.
MailSlotHandle AddWithInterface(std::unique_ptr<CMailSlotEnd> pEnd)
{
    const MailSlotHandle nSlot = AddToTable(std::move(pEnd));
    const MailSlotTable::CPin oPin(g_oSlots, nSlot);
    if (oPin)
    {
        const CInterfaceLock oLock;
        (*oPin)->UseInterface(g_nInterface);
    }
    return nSlot;
}
} // namespace

MailSlotHandle OpenMailSlotServer(const char* pName)
{
    sMailSlotName oName;
    if (!ParseMailSlotName(pName, oName) || oName.nScope != eMailSlotScope::Local)
        return 0;

    auto pServer = std::make_unique<CMailSlotServer>(oName.sSlot);
    return pServer->Open() ? AddWithInterface(std::move(pServer)) : 0;
}

MailSlotHandle OpenMailSlotClient(const char* pName)
{
    sMailSlotName oName;
    if (!ParseMailSlotName(pName, oName))
        return 0;
    if (oName.nScope == eMailSlotScope::All)
        return AddWithInterface(std::make_unique<CAllClient>(oName.sSlot));
    if (oName.nScope == eMailSlotScope::Local || IsThisComputer(oName.sHost))
        return OpenLocalClient(oName.sSlot);

    in_addr oHost;
    if (!Resolve(oName.sHost, oHost))
        return 0;
    if (IsThisComputer(oHost))
        return OpenLocalClient(oName.sSlot);

    auto pClient = std::make_unique<CHostClient>(oName.sSlot, oHost);
    return pClient->Open() ? AddToTable(std::move(pClient)) : 0;
}

bool CloseMailSlot(MailSlotHandle nSlot)
{
    return g_oSlots.Close(nSlot);
}

bool WriteMailSlot(MailSlotHandle nClient, const void* pData, unsigned long nSize)
{
    const MailSlotTable::CPin oPin(g_oSlots, nClient);
    return oPin && nSize <= MAX_MAIL_SIZE && (*oPin)->Write(pData, nSize);
}

bool ReadMailSlot(MailSlotHandle nServer, void* pData, unsigned long& nSize)
{
    const MailSlotTable::CPin oPin(g_oSlots, nServer);
    return oPin && (*oPin)->Read(pData, nSize);
}

bool QueryMailSlot(MailSlotHandle nServer, sMailSlotInfo& oInfo)
{
    const MailSlotTable::CPin oPin(g_oSlots, nServer);
    return oPin && (*oPin)->Query(oInfo);
}

bool SetMailSlotInterface(const char* pInterface)
{
    int nInterface = 0;
    if (pInterface != nullptr && *pInterface != '\0')
    {
        nInterface = static_cast<int>(if_nametoindex(pInterface));
        if (nInterface == 0)
            return false;

        ifreq oRequest = {};
        std::strncpy(oRequest.ifr_name, pInterface, sizeof oRequest.ifr_name - 1);
        const CSocket oSocket = MakeSocket(AF_INET, SOCK_DGRAM);
        if (ioctl(oSocket.Get(), SIOCGIFFLAGS, &oRequest) != 0)
            return false;
        if ((oRequest.ifr_flags & IFF_LOOPBACK) != 0)
            nInterface = 0;
    }

    const CInterfaceLock oLock;
    g_nInterface = nInterface;

    bool bUsed = true;
    g_oSlots.ForEach([&](CMailSlotEnd* pEnd) { bUsed = pEnd->UseInterface(nInterface) && bUsed; });
    return bUsed;
}
} // namespace System
