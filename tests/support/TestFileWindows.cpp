#if defined(_WIN32)

#    include <tests/support/TestFile.h>

#    include <windows.h>

bool HasCaseSensitiveNames()
{
    return false;
}

bool HasSpecialFiles()
{
    return false;
}

bool RunsUnderWine()
{
    const HMODULE pSystem = GetModuleHandleA("ntdll.dll");
    return pSystem != nullptr && GetProcAddress(pSystem, "wine_get_version") != nullptr;
}

bool IsSuperuser()
{
    return false;
}

bool AllowOpenFiles(unsigned)
{
    return true;
}

bool LimitOpenFiles(unsigned)
{
    return false;
}

bool MakePipe(const std::string&)
{
    return false;
}

bool MakeSocket(const std::string&)
{
    return false;
}

int CountOpenFiles()
{
    return -1;
}

#endif
