#pragma once

#include <string>

/// A datagram as it goes over the wire.
struct SDatagram
{
    std::string sTarget; ///< the address that it goes to, "239.255.1.2"
    unsigned nPort = 0;  ///< the port that it goes to
    unsigned nHops = 0;  ///< how many networks it may cross
    std::string sBytes;  ///< what it holds
};

/// A network of this process alone, from its construction to the end of the process: there is one interface, and the
/// test itself holds the other end of its cable. Nothing comes from or gets to the computer's own networks.
///
/// Only for a process of its own that has no second thread yet.
class CPrivateNetwork
{
public:
    static constexpr auto INTERFACE = "common0";      ///< the name of the interface
    static constexpr auto OWN_ADDRESS = "10.1.2.3";   ///< the address of this process
    static constexpr auto OTHER_ADDRESS = "10.1.2.4"; ///< the address that Send() sends from

    CPrivateNetwork();
    ~CPrivateNetwork();

    CPrivateNetwork(const CPrivateNetwork&) = delete;
    CPrivateNetwork& operator=(const CPrivateNetwork&) = delete;

    /// False where no such network can be made.
    bool IsOpen() const;

    /// Waits for the next datagram that leaves through the interface; false when none comes within seconds.
    bool Receive(SDatagram& oDatagram);

    /// Lets a datagram arrive at the interface.
    bool Send(const SDatagram& oDatagram);

private:
    int m_nCable = -1;
};
