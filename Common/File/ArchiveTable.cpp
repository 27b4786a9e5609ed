#include <Common/File/ArchiveFormat.h>
#include <Common/Platform/PlatformMemory.h>

#include <memory>

namespace ArchiveDetail
{
// In a source of its own: beside an exported class the compiler for Windows exports the type information of what
// stands behind the pointer too.
std::shared_ptr<sArchiveEntry> ShareTable(sArchiveEntry* pEntries)
{
    return {pEntries, MEM_Free};
}
} // namespace ArchiveDetail
