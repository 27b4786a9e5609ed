#include <tests/support/DirectoryFault.h>

#if defined(_WIN32)

CDirectoryFault::CDirectoryFault(int) {}

CDirectoryFault::~CDirectoryFault() = default;

bool CDirectoryFault::IsSupported()
{
    return false;
}

#else

#    include <atomic>
#    include <cerrno>

#    include <dirent.h>
#    include <dlfcn.h>

namespace
{
constexpr int NO_FAULT = -1;
std::atomic<int> s_nEntriesLeft = NO_FAULT;

// The name that the function has among the system's when files have 64-bit offsets.
#    if defined(_FILE_OFFSET_BITS) && _FILE_OFFSET_BITS == 64
constexpr auto READ_NAME = "readdir64";
#    else
constexpr auto READ_NAME = "readdir";
#    endif
} // namespace

// Stands in front of the system's own, for the program and for the library.
extern "C" dirent* readdir(DIR* pStream)
{
    using tRead = dirent* (*)(DIR*);
    static const auto s_pSystem = reinterpret_cast<tRead>(dlsym(RTLD_NEXT, READ_NAME));

    if (s_nEntriesLeft.load() == 0)
    {
        errno = EIO;
        return nullptr;
    }
    if (s_nEntriesLeft.load() > 0)
        --s_nEntriesLeft;
    return s_pSystem(pStream);
}

CDirectoryFault::CDirectoryFault(int nEntries)
{
    s_nEntriesLeft = nEntries;
}

CDirectoryFault::~CDirectoryFault()
{
    s_nEntriesLeft = NO_FAULT;
}

bool CDirectoryFault::IsSupported()
{
    return true;
}

#endif
