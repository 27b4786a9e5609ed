#if !defined(_WIN32)

#    include <tests/support/TestFile.h>

#    include <cstring>
#    include <filesystem>
#    include <iterator>

#    include <sys/resource.h>
#    include <sys/socket.h>
#    include <sys/stat.h>
#    include <sys/un.h>
#    include <unistd.h>

bool HasCaseSensitiveNames()
{
    return true;
}

bool HasSpecialFiles()
{
    return true;
}

bool RunsUnderWine()
{
    return false;
}

bool IsSuperuser()
{
    return geteuid() == 0;
}

bool AllowOpenFiles(unsigned nCount)
{
    rlimit oLimit{};
    if (getrlimit(RLIMIT_NOFILE, &oLimit) != 0)
        return false;
    if (oLimit.rlim_cur >= nCount)
        return true;

    oLimit.rlim_cur = nCount;
    if (oLimit.rlim_max < nCount)
        oLimit.rlim_max = nCount;
    return setrlimit(RLIMIT_NOFILE, &oLimit) == 0;
}

bool LimitOpenFiles(unsigned nMore)
{
    const int nFirstFree = dup(STDERR_FILENO);
    close(nFirstFree);
    rlimit oLimit{};
    if (nFirstFree < 0 || getrlimit(RLIMIT_NOFILE, &oLimit) != 0)
        return false;
    oLimit.rlim_cur = static_cast<rlim_t>(nFirstFree) + nMore;
    return oLimit.rlim_cur <= oLimit.rlim_max && setrlimit(RLIMIT_NOFILE, &oLimit) == 0;
}

bool MakePipe(const std::string& sPath)
{
    return mkfifo(sPath.c_str(), 0600) == 0;
}

bool MakeSocket(const std::string& sPath)
{
    sockaddr_un oAddress{};
    oAddress.sun_family = AF_UNIX;
    if (sPath.size() >= sizeof(oAddress.sun_path))
        return false;
    std::memcpy(oAddress.sun_path, sPath.c_str(), sPath.size() + 1);

    const int nSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (nSocket == -1)
        return false;
    const bool bBound = bind(nSocket, reinterpret_cast<const sockaddr*>(&oAddress), sizeof(oAddress)) == 0;
    close(nSocket);
    return bBound;
}

int CountOpenFiles()
{
    std::error_code oError;
    const std::filesystem::directory_iterator oDescriptors("/proc/self/fd", oError);
    return oError ? -1 : static_cast<int>(std::distance(begin(oDescriptors), end(oDescriptors)));
}

#endif
