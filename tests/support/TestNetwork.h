#pragma once

#include <functional>
#include <string>
#include <string_view>

/// One of the computers of a test, for the process that runs on it.
class CTestHost
{
public:
    virtual ~CTestHost() = default;

    /// 0 to GetHostCount() - 1.
    virtual int GetNumber() const = 0;

    /// Waits until all computers are here; false when one does not come.
    virtual bool Meet() = 0;
};

constexpr int GetHostCount()
{
    return 3;
}

/// Runs fnWork(host) on several computers at a time: each is a process of its own, whose network holds the others and
/// nobody else. Each has the loopback interface and GetHostInterface(). All of it is gone when the last process is.
///
/// @param fnWork  returns false when something is wrong, and prints it
/// @return        false when it returned false on a computer, or one did not end
/// @param sReason why there cannot be such computers here; nothing was run then. Empty when there were
bool RunOnHosts(const std::function<bool(CTestHost&)>& fnWork, std::string& sReason);

/// The interface by which a computer reaches the others.
const char* GetHostInterface();

/// The address of a computer.
std::string GetHostAddress(int nNumber);

/// Sends a datagram as a program would that knows nothing of our rules.
bool SendRawDatagram(const std::string& sAddress, unsigned short nPort, std::string_view sBytes);
