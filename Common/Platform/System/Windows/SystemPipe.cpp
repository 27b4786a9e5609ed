#include <Common/Platform/System/SystemPipe.h>

#include <Common/Platform/System/SystemHandleTable.h>

#include <windows.h>

namespace System
{
namespace
{
struct sEndTraits
{
    using Content = HANDLE;

    static void Release(HANDLE hEnd) { CloseHandle(hEnd); }
};

using EndTable = CHandleTable<sEndTraits>;
constinit EndTable g_oEnds;
} // namespace

bool OpenPipe(PipeHandle& nReadEnd, PipeHandle& nWriteEnd)
{
    SECURITY_ATTRIBUTES oInherited = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
    if (CreatePipe(&hRead, &hWrite, &oInherited, 0) == FALSE)
        return false;

    const PipeHandle nRead = g_oEnds.Add(hRead);
    const PipeHandle nWrite = g_oEnds.Add(hWrite);
    if (nRead != 0 && nWrite != 0)
    {
        nReadEnd = nRead;
        nWriteEnd = nWrite;
        return true;
    }

    if (!g_oEnds.Close(nRead))
        CloseHandle(hRead);
    if (!g_oEnds.Close(nWrite))
        CloseHandle(hWrite);
    return false;
}

bool ClosePipe(PipeHandle nEnd)
{
    return g_oEnds.Close(nEnd);
}

bool ReadPipe(PipeHandle nReadEnd, void* pData, unsigned long nSize)
{
    const EndTable::CPin hEnd(g_oEnds, nReadEnd);
    if (!hEnd)
        return false;

    // A write of 0 bytes at the other end wakes the read with 0 bytes: that is no end.
    auto* pTarget = static_cast<char*>(pData);
    while (nSize != 0)
    {
        DWORD nRead = 0;
        if (ReadFile(*hEnd, pTarget, nSize, &nRead, nullptr) == FALSE)
            return false;
        pTarget += nRead;
        nSize -= nRead;
    }
    return true;
}

bool WritePipe(PipeHandle nWriteEnd, const void* pData, unsigned long nSize)
{
    const EndTable::CPin hEnd(g_oEnds, nWriteEnd);
    if (!hEnd)
        return false;

    const auto* pSource = static_cast<const char*>(pData);
    while (nSize != 0)
    {
        DWORD nWritten = 0;
        if (WriteFile(*hEnd, pSource, nSize, &nWritten, nullptr) == FALSE)
            return false;
        pSource += nWritten;
        nSize -= nWritten;
    }
    return true;
}

bool PeekPipe(PipeHandle nReadEnd, unsigned long& nAvailable)
{
    const EndTable::CPin hEnd(g_oEnds, nReadEnd);
    DWORD nBytes = 0;
    if (!hEnd || PeekNamedPipe(*hEnd, nullptr, 0, nullptr, &nBytes, nullptr) == FALSE)
        return false;
    nAvailable = nBytes;
    return true;
}
} // namespace System
