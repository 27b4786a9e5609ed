#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/File/MemFileIO.h>
#include <tests/support/SystemMacros.h>

#ifdef _WIN32
#    define UNICODE // renames the other way than without it
#    include <windows.h>
#else
#    define CreateFile CreateFileW
#endif

unsigned long CreateFileBeforeMacros(const char* pName)
{
    return CExtendedFileSystem::Instance()->CreateFile(pName);
}
