#include <tests/support/NamedPipe.h>

#if defined(_WIN32)

CNamedPipe::CNamedPipe(const std::string&) {}

CNamedPipe::~CNamedPipe() = default;

std::string CNamedPipe::Read()
{
    return std::string();
}

#else

#    include <fcntl.h>
#    include <poll.h>
#    include <sys/stat.h>
#    include <unistd.h>

CNamedPipe::CNamedPipe(const std::string& sPath)
{
    if (mkfifo(sPath.c_str(), 0600) == 0)
        m_nDescriptor = open(sPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

CNamedPipe::~CNamedPipe()
{
    if (m_nDescriptor != -1)
        close(m_nDescriptor);
}

std::string CNamedPipe::Read()
{
    constexpr int LIMIT_MS = 60'000;

    std::string sResult;
    pollfd oPoll{m_nDescriptor, POLLIN, 0};
    while (m_nDescriptor != -1 && poll(&oPoll, 1, LIMIT_MS) == 1)
    {
        char aBytes[4096];
        const auto nRead = read(m_nDescriptor, aBytes, sizeof(aBytes));
        if (nRead <= 0)
            break;
        sResult.append(aBytes, static_cast<std::size_t>(nRead));
    }
    return sResult;
}

#endif
