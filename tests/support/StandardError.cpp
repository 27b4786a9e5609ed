#include <tests/support/StandardError.h>

#if defined(_WIN32)

CStandardError::CStandardError(eKind) {}

CStandardError::~CStandardError() = default;

std::vector<std::string> CStandardError::Take()
{
    return {};
}

bool CStandardError::IsSupported()
{
    return false;
}

#else

#    include <cstdio>
#    include <stdexcept>

#    include <fcntl.h>
#    include <sys/socket.h>
#    include <unistd.h>

namespace
{
constexpr int PIPE_SIZE = 65536;
constexpr auto NAME_FILE = "/proc/thread-self/comm";
constexpr std::size_t NAME_SIZE = 16;
} // namespace

CStandardError::CStandardError(eKind nKind)
{
    std::fflush(stderr);
    m_nPrevious = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);

    if (nKind == eKind::Closed)
    {
        close(STDERR_FILENO);
        return;
    }

    if (nKind == eKind::PlainOnly)
    {
        // The name of this thread, which is put back at the end.
        m_nReader = open(NAME_FILE, O_RDONLY | O_CLOEXEC);
        m_sName.resize(NAME_SIZE);
        const ssize_t nRead = read(m_nReader, m_sName.data(), NAME_SIZE);
        m_sName.resize(nRead > 0 ? static_cast<std::size_t>(nRead) - 1 : 0);
        lseek(m_nReader, 0, SEEK_SET);

        const int nFile = open(NAME_FILE, O_WRONLY | O_CLOEXEC);
        dup2(nFile, STDERR_FILENO);
        close(nFile);
        return;
    }

    int aEnds[2];
    const bool bSocket = nKind == eKind::Messages || nKind == eKind::BrokenLine;
    if (bSocket ? socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, aEnds) != 0 : pipe2(aEnds, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");

    if (nKind == eKind::Full || nKind == eKind::FullSoon)
    {
        fcntl(aEnds[1], F_SETPIPE_SZ, PIPE_SIZE);
        fcntl(aEnds[1], F_SETFL, O_NONBLOCK);
        const std::string sBytes(PIPE_SIZE, '-');
        if (nKind == eKind::Full && write(aEnds[1], sBytes.data(), sBytes.size()) != PIPE_SIZE)
            throw std::runtime_error("a pipe that is not full");
    }

    dup2(aEnds[1], STDERR_FILENO);
    close(aEnds[1]);
    if (nKind == eKind::BrokenPipe || nKind == eKind::BrokenLine)
        close(aEnds[0]);
    else
    {
        m_nReader = aEnds[0];
        fcntl(m_nReader, F_SETFL, O_NONBLOCK);
    }
}

CStandardError::~CStandardError()
{
    if (!m_sName.empty() && write(STDERR_FILENO, m_sName.data(), m_sName.size()) == -1)
        std::perror("the name of the thread is lost");
    dup2(m_nPrevious, STDERR_FILENO);
    close(m_nPrevious);
    if (m_nReader != -1)
        close(m_nReader);
}

std::vector<std::string> CStandardError::Take()
{
    std::vector<std::string> oWrites;
    std::string sBytes(4 * PIPE_SIZE, '\0');
    for (ssize_t nRead = 0; (nRead = read(m_nReader, sBytes.data(), sBytes.size())) > 0;)
        oWrites.emplace_back(sBytes, 0, static_cast<std::size_t>(nRead));
    return oWrites;
}

bool CStandardError::IsSupported()
{
    return true;
}

#endif
