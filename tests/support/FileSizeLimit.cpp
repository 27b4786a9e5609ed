#include <tests/support/FileSizeLimit.h>

#if defined(_WIN32)

CFileSizeLimit::CFileSizeLimit(std::uint64_t /*nBytes*/) {}

CFileSizeLimit::~CFileSizeLimit() = default;

bool CFileSizeLimit::IsSupported()
{
    return false;
}

#else

#    include <csignal>
#    include <stdexcept>

#    include <sys/resource.h>

CFileSizeLimit::CFileSizeLimit(std::uint64_t nBytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit oLimit{};
    if (::getrlimit(RLIMIT_FSIZE, &oLimit) != 0)
        throw std::runtime_error("getrlimit");
    m_nPrevious = oLimit.rlim_cur;
    oLimit.rlim_cur = static_cast<rlim_t>(nBytes);
    if (::setrlimit(RLIMIT_FSIZE, &oLimit) != 0)
        throw std::runtime_error("setrlimit");
}

CFileSizeLimit::~CFileSizeLimit()
{
    rlimit oLimit{};
    ::getrlimit(RLIMIT_FSIZE, &oLimit);
    oLimit.rlim_cur = static_cast<rlim_t>(m_nPrevious);
    ::setrlimit(RLIMIT_FSIZE, &oLimit);
}

bool CFileSizeLimit::IsSupported()
{
    return true;
}

#endif
