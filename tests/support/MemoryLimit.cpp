#include <tests/support/MemoryLimit.h>
#include <tests/support/Sanitizer.h>

// The memory of a sanitizer would fall under the limit.
#if defined(_WIN32) || defined(TEST_HAS_SANITIZER)

CMemoryLimit::CMemoryLimit(std::size_t) {}

CMemoryLimit::~CMemoryLimit() = default;

bool CMemoryLimit::IsSupported()
{
    return false;
}

#else

#    include <cstdio>
#    include <stdexcept>

#    include <sys/resource.h>
#    include <unistd.h>

namespace
{
unsigned long long MemoryOfThisProcess()
{
    unsigned long long nPages = 0;
    std::FILE* const pStatus = std::fopen("/proc/self/statm", "r");
    if (pStatus == nullptr || std::fscanf(pStatus, "%llu", &nPages) != 1)
        throw std::runtime_error("statm");
    std::fclose(pStatus);
    return nPages * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE));
}

void SetLimit(unsigned long long nBytes)
{
    rlimit oLimit{};
    getrlimit(RLIMIT_AS, &oLimit);
    oLimit.rlim_cur = static_cast<rlim_t>(nBytes);
    if (setrlimit(RLIMIT_AS, &oLimit) != 0)
        throw std::runtime_error("setrlimit");
}
} // namespace

CMemoryLimit::CMemoryLimit(std::size_t nBytes)
{
    rlimit oLimit{};
    if (getrlimit(RLIMIT_AS, &oLimit) != 0)
        throw std::runtime_error("getrlimit");
    m_nPrevious = oLimit.rlim_cur;
    SetLimit(MemoryOfThisProcess() + nBytes);
}

CMemoryLimit::~CMemoryLimit()
{
    rlimit oLimit{};
    getrlimit(RLIMIT_AS, &oLimit);
    oLimit.rlim_cur = static_cast<rlim_t>(m_nPrevious);
    setrlimit(RLIMIT_AS, &oLimit);
}

bool CMemoryLimit::IsSupported()
{
    return true;
}

#endif
