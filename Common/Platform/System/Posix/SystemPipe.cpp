#include <Common/Platform/System/SystemPipe.h>

#include <Common/Platform/System/Posix/BrokenPipeGuard.h>
#include <Common/Platform/System/SystemHandleTable.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace System
{
namespace
{
struct sDescriptorTraits
{
    using Content = int;

    static void Release(int nDescriptor) { close(nDescriptor); }
};

using EndTable = CHandleTable<sDescriptorTraits>;
constinit EndTable g_oEnds;
} // namespace

bool OpenPipe(PipeHandle& nReadEnd, PipeHandle& nWriteEnd)
{
    int aDescriptors[2];
    if (pipe2(aDescriptors, 0) != 0)
        return false;

    const PipeHandle nRead = g_oEnds.Add(aDescriptors[0]);
    const PipeHandle nWrite = g_oEnds.Add(aDescriptors[1]);
    if (nRead != 0 && nWrite != 0)
    {
        nReadEnd = nRead;
        nWriteEnd = nWrite;
        return true;
    }

    if (!g_oEnds.Close(nRead))
        close(aDescriptors[0]);
    if (!g_oEnds.Close(nWrite))
        close(aDescriptors[1]);
    return false;
}

bool ClosePipe(PipeHandle nEnd)
{
    return g_oEnds.Close(nEnd);
}

bool ReadPipe(PipeHandle nReadEnd, void* pData, unsigned long nSize)
{
    const EndTable::CPin oDescriptor(g_oEnds, nReadEnd);
    if (!oDescriptor)
        return false;

    auto* pTarget = static_cast<char*>(pData);
    while (nSize != 0)
    {
        const ssize_t nRead = read(*oDescriptor, pTarget, nSize);
        if (nRead > 0)
        {
            pTarget += nRead;
            nSize -= static_cast<unsigned long>(nRead);
        }
        else if (nRead == 0 || errno != EINTR)
            return false;
    }
    return true;
}

bool WritePipe(PipeHandle nWriteEnd, const void* pData, unsigned long nSize)
{
    const EndTable::CPin oDescriptor(g_oEnds, nWriteEnd);
    if (!oDescriptor)
        return false;

    const auto* pSource = static_cast<const char*>(pData);
    while (nSize != 0)
    {
        const ssize_t nWritten = WriteWithoutSignal(*oDescriptor, pSource, nSize);
        if (nWritten >= 0)
        {
            pSource += nWritten;
            nSize -= static_cast<unsigned long>(nWritten);
        }
        else if (errno != EINTR)
            return false;
    }
    return true;
}

bool PeekPipe(PipeHandle nReadEnd, unsigned long& nAvailable)
{
    const EndTable::CPin oDescriptor(g_oEnds, nReadEnd);
    int nBytes = 0;
    if (!oDescriptor || ioctl(*oDescriptor, FIONREAD, &nBytes) != 0)
        return false;
    nAvailable = static_cast<unsigned long>(nBytes);
    return true;
}
} // namespace System
