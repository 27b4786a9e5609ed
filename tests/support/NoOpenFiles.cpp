#include <tests/support/NoOpenFiles.h>

#if defined(_WIN32)

CNoOpenFiles::CNoOpenFiles() = default;

CNoOpenFiles::~CNoOpenFiles() = default;

bool CNoOpenFiles::IsSupported()
{
    return false;
}

#else

#    include <stdexcept>

#    include <sys/resource.h>

CNoOpenFiles::CNoOpenFiles()
{
    rlimit oLimit{};
    if (::getrlimit(RLIMIT_NOFILE, &oLimit) != 0)
        throw std::runtime_error("getrlimit");
    m_nPrevious = oLimit.rlim_cur;
    oLimit.rlim_cur = 0;
    if (::setrlimit(RLIMIT_NOFILE, &oLimit) != 0)
        throw std::runtime_error("setrlimit");
}

CNoOpenFiles::~CNoOpenFiles()
{
    rlimit oLimit{};
    ::getrlimit(RLIMIT_NOFILE, &oLimit);
    oLimit.rlim_cur = static_cast<rlim_t>(m_nPrevious);
    ::setrlimit(RLIMIT_NOFILE, &oLimit);
}

bool CNoOpenFiles::IsSupported()
{
    return true;
}

#endif
