#include <tests/support/RawMail.h>

#ifdef _WIN32
#    include <windows.h>
#else
#    include <cstddef>
#    include <cstring>
#    include <sys/socket.h>
#    include <sys/un.h>
#    include <unistd.h>
#endif

std::string MailSlotName(const char* pServer, std::string_view sSlot)
{
    return "\\\\" + std::string(pServer) + "\\mailslot\\" + std::string(sSlot);
}

#ifdef _WIN32

bool SendRawMail(std::string_view sSlot, std::string_view sBytes)
{
    const HANDLE hSlot =
        CreateFileA(MailSlotName(".", sSlot).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hSlot == INVALID_HANDLE_VALUE)
        return false;
    DWORD nWritten = 0;
    const bool bSent = WriteFile(hSlot, sBytes.data(), static_cast<DWORD>(sBytes.size()), &nWritten, nullptr) != FALSE;
    CloseHandle(hSlot);
    return bSent;
}

bool CanMailToAll()
{
    // Nobody need listen; a system that knows the address gives a handle.
    const HANDLE hSlot = CreateFileA(MailSlotName("*", "common.test.nobody").c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hSlot == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(hSlot);
    return true;
}

bool DoClientsNoticeClosedServers()
{
    const std::string sName = MailSlotName(".", "common.test.closed." + std::to_string(GetCurrentProcessId()));
    const HANDLE hServer = CreateMailslotA(sName.c_str(), 0, 0, nullptr);
    const HANDLE hClient = CreateFileA(sName.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
    CloseHandle(hServer);
    DWORD nWritten = 0;
    const bool bNoticed = WriteFile(hClient, "x", 1, &nWritten, nullptr) == FALSE;
    CloseHandle(hClient);
    return bNoticed;
}

bool AreFullMailQueuesTold()
{
    return false;
}

bool CanNameMailInterface()
{
    return false;
}

#else

bool SendRawMail(std::string_view sSlot, std::string_view sBytes)
{
    sockaddr_un oAddress = {};
    oAddress.sun_family = AF_UNIX;
    const std::string sPath = std::string(1, '\0') + "common/mailslot/" + std::string(sSlot);
    if (sPath.size() > sizeof oAddress.sun_path)
        return false;
    std::memcpy(oAddress.sun_path, sPath.data(), sPath.size());

    const int nSocket = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (nSocket == -1)
        return false;
    const bool bSent = connect(nSocket, reinterpret_cast<const sockaddr*>(&oAddress),
                               static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sPath.size())) == 0 &&
                       send(nSocket, sBytes.data(), sBytes.size(), MSG_NOSIGNAL) != -1;
    close(nSocket);
    return bSent;
}

bool CanMailToAll()
{
    return true;
}

bool DoClientsNoticeClosedServers()
{
    return true;
}

bool AreFullMailQueuesTold()
{
    return true;
}

bool CanNameMailInterface()
{
    return true;
}

#endif
