#include <Common/File/ExtendedFileSystem.h>

bool CExtendedFileSystem::OpenArchiveEntry(const char* /*pPath*/, sFileInfo& /*oInfo*/)
{
    return false;
}
