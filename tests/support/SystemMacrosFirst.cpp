#ifdef _WIN32
#    include <windows.h>
#else
#    define CreateFile CreateFileA
#endif

#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/File/MemFileIO.h>
#include <tests/support/SystemMacros.h>

#ifndef CreateFile
#    error the macro must be there again behind the headers of the library
#endif

unsigned long CreateFileAfterMacros(const char* pName)
{
    return CExtendedFileSystem::Instance()->CreateFile(pName);
}
