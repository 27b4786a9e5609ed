#include <Common/Platform/PlatformDirectory.h>

#include <Common/Platform/System/SystemFile.h>

namespace
{
constexpr int Answer(bool bSuccess)
{
    return bSuccess ? 1 : -1;
}
} // namespace

int DIR_Create(const char* pPath)
{
    return Answer(System::MakeDirectory(pPath));
}

int DIR_Remove(const char* pPath)
{
    return Answer(System::EraseDirectory(pPath));
}

int DIR_Change(const char* pPath)
{
    return Answer(System::ChangeDirectory(pPath));
}

int DIR_GetWorkingDirectory(char* pBuffer, int nSize)
{
    if (pBuffer == nullptr || nSize <= 0)
        return -1;
    return Answer(System::GetWorkingDirectory(pBuffer, static_cast<std::size_t>(nSize)));
}
