#if defined(_WIN32)

#    include <tests/support/TestNetwork.h>

bool RunOnHosts(const std::function<bool(CTestHost&)>&, std::string& sReason)
{
    sReason = "this system has no network namespaces";
    return false;
}

const char* GetHostInterface()
{
    return "";
}

std::string GetHostAddress(int)
{
    return std::string();
}

bool SendRawDatagram(const std::string&, unsigned short, std::string_view)
{
    return false;
}

#endif
