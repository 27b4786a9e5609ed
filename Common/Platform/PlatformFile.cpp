#include <Common/Platform/PlatformFile.h>

#include <Common/Platform/System/FileAttributes.h>
#include <Common/Platform/System/FileHandle.h>
#include <Common/Platform/System/SystemFile.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

namespace
{
constexpr int NO_FILE = -1;

constexpr int Answer(bool bSuccess)
{
    return bSuccess ? 1 : -1;
}

/// What is behind the handles. A slot is free, or taken: by a stream, a descriptor or a shared file, by an open or
/// close that is under way, or for good by what failed to close. Only a stream is seen from outside.
///
/// It is ready before any constructor runs and stays so after every destructor, so that static objects of all modules
/// may use files. Streams that are open when the library goes are neither flushed nor closed by it.
///
/// Each slot keeps the buffer of its first stream for the later ones: that saves an allocation and a question to the
/// system at each open.
class CFileTable
{
public:
    constexpr CFileTable() noexcept = default;

    ~CFileTable()
    {
        // What is open keeps its buffer: the runtime library may flush it later.
        for (std::size_t nSlot = 0; nSlot < m_aSlots.size(); ++nSlot)
        {
            if (!Take(nSlot))
                continue;
            std::free(std::exchange(m_aBuffers[nSlot], nullptr));
            Release(static_cast<int>(nSlot));
        }
    }

    CFileTable(const CFileTable&) = delete;
    CFileTable& operator=(const CFileTable&) = delete;

    /// Takes the lowest free slot, or NO_FILE.
    int Reserve() noexcept
    {
        for (std::size_t nSlot = 0; nSlot < m_aSlots.size(); ++nSlot)
        {
            if (Take(nSlot))
                return static_cast<int>(nSlot);
        }
        return NO_FILE;
    }

    /// The buffer of a slot that Reserve() took; empty when there is no memory.
    std::span<char> GetBuffer(int nFile) noexcept
    {
        char*& pBuffer = m_aBuffers[static_cast<std::size_t>(nFile)];
        if (pBuffer == nullptr)
            pBuffer = static_cast<char*>(std::malloc(BUFFER_SIZE));
        return pBuffer != nullptr ? std::span<char>(pBuffer, BUFFER_SIZE) : std::span<char>();
    }

    /// Fills a slot that Reserve() took.
    void Store(int nFile, std::FILE* pStream) noexcept
    {
        Slot(nFile).store(reinterpret_cast<std::uintptr_t>(pStream), std::memory_order_release);
    }

    /// Fills a slot that Reserve() took.
    void Store(int nFile, System::CSharedFile* pFile) noexcept
    {
        Slot(nFile).store(reinterpret_cast<std::uintptr_t>(pFile) | SHARED, std::memory_order_release);
    }

    /// Fills a slot that Reserve() took.
    void Store(int nFile, int nDescriptor) noexcept
    {
        Slot(nFile).store((static_cast<std::uintptr_t>(nDescriptor) << KIND_BITS) | DESCRIPTOR,
                          std::memory_order_release);
    }

    /// Frees a slot that Reserve() or Detach() holds.
    void Release(int nFile) noexcept { Slot(nFile).store(FREE, std::memory_order_release); }

    /// The stream of a slot, or null.
    std::FILE* Find(int nFile) const noexcept { return StreamOf(ContentOf(nFile)); }

    /// The shared file of a slot, or null.
    System::CSharedFile* FindShared(int nFile) const noexcept { return SharedOf(ContentOf(nFile)); }

    /// The descriptor of a slot, or NO_FILE.
    int FindDescriptor(int nFile) const noexcept { return DescriptorOf(ContentOf(nFile)); }

    /// What Detach() takes out of a slot: one of the three, or none.
    struct sOpen
    {
        std::FILE* m_pStream = nullptr;
        System::CSharedFile* m_pShared = nullptr;
        int m_nDescriptor = NO_FILE;
    };

    /// Takes out what is open in a slot, which stays taken. Of two threads one gets it.
    sOpen Detach(int nFile) noexcept
    {
        std::uintptr_t nContent = ContentOf(nFile);
        while (nContent > TAKEN)
        {
            if (Slot(nFile).compare_exchange_weak(nContent, TAKEN, std::memory_order_acq_rel))
                return {StreamOf(nContent), SharedOf(nContent), DescriptorOf(nContent)};
        }
        return {};
    }

private:
    static constexpr std::size_t SLOT_COUNT = 1024;
    static constexpr std::size_t BUFFER_SIZE = 4096;
    static constexpr std::uintptr_t FREE = 0;
    static constexpr std::uintptr_t TAKEN = 1; // no address of a stream

    // The lowest bits of a content tell its kind: those of the address of a stream are 0.
    static constexpr unsigned KIND_BITS = 2;
    static constexpr std::uintptr_t KIND = 3;
    static constexpr std::uintptr_t SHARED = 1;     // in the address of a shared file
    static constexpr std::uintptr_t DESCRIPTOR = 2; // in a descriptor, shifted by KIND_BITS

    std::uintptr_t ContentOf(int nFile) const noexcept
    {
        const auto nSlot = static_cast<std::size_t>(nFile);
        return nSlot < m_aSlots.size() ? m_aSlots[nSlot].load(std::memory_order_acquire) : FREE;
    }

    static std::FILE* StreamOf(std::uintptr_t nContent) noexcept
    {
        return (nContent & KIND) == 0 ? reinterpret_cast<std::FILE*>(nContent) : nullptr;
    }

    static System::CSharedFile* SharedOf(std::uintptr_t nContent) noexcept
    {
        const bool bShared = (nContent & KIND) == SHARED && nContent != TAKEN;
        return bShared ? reinterpret_cast<System::CSharedFile*>(nContent - SHARED) : nullptr;
    }

    static int DescriptorOf(std::uintptr_t nContent) noexcept
    {
        return (nContent & KIND) == DESCRIPTOR ? static_cast<int>(nContent >> KIND_BITS) : NO_FILE;
    }

    bool Take(std::size_t nSlot) noexcept
    {
        std::uintptr_t nFree = FREE;
        return m_aSlots[nSlot].load(std::memory_order_relaxed) == FREE &&
               m_aSlots[nSlot].compare_exchange_strong(nFree, TAKEN, std::memory_order_acquire);
    }

    std::atomic<std::uintptr_t>& Slot(int nFile) noexcept { return m_aSlots[static_cast<std::size_t>(nFile)]; }

    std::array<std::atomic<std::uintptr_t>, SLOT_COUNT> m_aSlots{};
    std::array<char*, SLOT_COUNT> m_aBuffers{}; // each belongs to whoever holds its slot
};

constinit CFileTable s_oTable;

// Moves items between memory and a descriptor; how many whole ones went.
template <typename tCall, typename tBytes>
unsigned Transfer(tCall fnCall, int nDescriptor, tBytes* pBytes, unsigned nSize, unsigned nCount) noexcept
{
    const std::size_t nTotal = std::size_t{nSize} * nCount;
    return nTotal != 0 ? static_cast<unsigned>(fnCall(nDescriptor, pBytes, nTotal) / nSize) : 0;
}

// Copies a part of a path into a buffer of limited size, which may be null.
void StorePart(char* pTarget, const char* pBegin, const char* pEnd, std::size_t nSize)
{
    if (pTarget == nullptr)
        return;

    const std::size_t nLength = std::min(static_cast<std::size_t>(pEnd - pBegin), nSize - 1);
    std::memcpy(pTarget, pBegin, nLength);
    pTarget[nLength] = '\0';
}
} // namespace

int FILE_Open(const char* pPath, const char* pMode)
{
    if (pPath == nullptr || pMode == nullptr)
        return NO_FILE;

    const int nFile = s_oTable.Reserve();
    if (nFile == NO_FILE)
        return NO_FILE;

    std::FILE* const pStream = System::OpenStream(pPath, pMode, s_oTable.GetBuffer(nFile));
    if (pStream == nullptr)
    {
        s_oTable.Release(nFile);
        return NO_FILE;
    }

    s_oTable.Store(nFile, pStream);
    return nFile;
}

int FILE_Close(int nFile)
{
    const auto [pStream, pShared, nDescriptor] = s_oTable.Detach(nFile);
    if (pStream == nullptr && pShared == nullptr && nDescriptor == NO_FILE)
        return -1;

    // What failed to close is gone all the same: its slot stays taken, and nobody reaches it again.
    if (pStream != nullptr && std::fclose(pStream) != 0)
        return -1;
    if (nDescriptor != NO_FILE && !System::CloseDescriptor(nDescriptor))
        return -1;
    if (pShared != nullptr)
        System::ReleaseShared(pShared);

    s_oTable.Release(nFile);
    return 1;
}

unsigned FILE_Read(int nFile, void* pBuffer, unsigned nSize, unsigned nCount)
{
    if (const int nDescriptor = s_oTable.FindDescriptor(nFile); nDescriptor != NO_FILE)
        return Transfer(System::ReadDescriptor, nDescriptor, pBuffer, nSize, nCount);

    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr ? static_cast<unsigned>(std::fread(pBuffer, nSize, nCount, pStream)) : 0;
}

unsigned FILE_Write(int nFile, const void* pBuffer, unsigned nSize, unsigned nCount)
{
    if (const int nDescriptor = s_oTable.FindDescriptor(nFile); nDescriptor != NO_FILE)
        return Transfer(System::WriteDescriptor, nDescriptor, pBuffer, nSize, nCount);

    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr ? static_cast<unsigned>(std::fwrite(pBuffer, nSize, nCount, pStream)) : 0;
}

int FILE_Gets(int nFile, char* pBuffer, int nSize)
{
    std::FILE* const pStream = s_oTable.Find(nFile);
    if (pStream == nullptr || nSize <= 0)
        return -1;
    return Answer(std::fgets(pBuffer, nSize, pStream) != nullptr);
}

int FILE_Puts(int nFile, const char* pText)
{
    std::FILE* const pStream = s_oTable.Find(nFile);
    if (pStream == nullptr)
        return -1;

    // Kept: 1 tells a failure and -1 a success. What fputs returns for a success differs between runtime libraries.
    return Answer(std::fputs(pText, pStream) == EOF);
}

long FILE_Tell(int nFile)
{
    const std::int64_t nPosition = System::TellFile(nFile);
    return nPosition <= std::numeric_limits<long>::max() ? static_cast<long>(nPosition) : -1;
}

int FILE_Seek(int nFile, long nOffset, int nOrigin)
{
    constexpr int FROM_CURRENT = 0;
    constexpr int FROM_END = 1;

    const int nSystemOrigin = nOrigin == FROM_CURRENT ? SEEK_CUR : nOrigin == FROM_END ? SEEK_END : SEEK_SET;
    return Answer(System::SeekFile(nFile, nOffset, nSystemOrigin));
}

int FILE_Flush(int nFile)
{
    std::FILE* const pStream = s_oTable.Find(nFile);
    const bool bUnbuffered = s_oTable.FindShared(nFile) != nullptr || s_oTable.FindDescriptor(nFile) != NO_FILE;
    return Answer(pStream != nullptr ? std::fflush(pStream) == 0 : bUnbuffered);
}

int FILE_Printf(int nFile, const char* pFormat, ...)
{
    va_list pArguments;
    va_start(pArguments, pFormat);
    const int nResult = FILE_Vprintf(nFile, pFormat, pArguments);
    va_end(pArguments);
    return nResult;
}

int FILE_Vprintf(int nFile, const char* pFormat, va_list pArguments)
{
    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr ? System::PrintToStream(pStream, pFormat, pArguments) : -1;
}

int FILE_Delete(const char* pPath)
{
    return Answer(System::EraseFile(pPath));
}

void FILE_SplitPath(const char* pPath, char* pDrive, char* pDir, char* pName, char* pExt)
{
    const char* const pPathOrEmpty = pPath != nullptr ? pPath : "";
    const bool bHasDrive = pPathOrEmpty[0] != '\0' && pPathOrEmpty[1] == ':';
    const char* const pDirBegin = pPathOrEmpty + (bHasDrive ? 2 : 0);

    const char* pNameBegin = pDirBegin;
    const char* pDot = nullptr;
    const char* pEnd = pDirBegin;
    for (; *pEnd != '\0'; ++pEnd)
    {
        if (System::IsPathLeadByte(static_cast<unsigned char>(*pEnd)) && pEnd[1] != '\0')
            ++pEnd;
        else if (*pEnd == '/' || *pEnd == '\\')
        {
            pNameBegin = pEnd + 1;
            pDot = nullptr;
        }
        else if (*pEnd == '.')
            pDot = pEnd;
    }
    const char* const pExtBegin = pDot != nullptr ? pDot : pEnd;

    StorePart(pDrive, pPathOrEmpty, pDirBegin, FILE_SPLIT_DRIVE_SIZE);
    StorePart(pDir, pDirBegin, pNameBegin, FILE_SPLIT_DIR_SIZE);
    StorePart(pName, pNameBegin, pExtBegin, FILE_SPLIT_NAME_SIZE);
    StorePart(pExt, pExtBegin, pEnd, FILE_SPLIT_EXT_SIZE);
}

unsigned FILE_GetFileAttributes(const char* pPath)
{
    return System::ToOurAttributes(System::GetAttributes(pPath));
}

int FILE_SetFileAttributes(const char* pPath, unsigned nAttributes)
{
    return System::SetAttributes(pPath, System::ToSystemAttributes(nAttributes)) ? 1 : 0;
}

int System::OpenUnbuffered(const char* pPath, const char* pMode, sFileStatus& oStatus) noexcept
{
    const int nFile = s_oTable.Reserve();
    if (nFile == NO_FILE)
        return NO_FILE;

    const int nDescriptor = OpenDescriptor(pPath, pMode, oStatus);
    if (nDescriptor == NO_FILE)
    {
        s_oTable.Release(nFile);
        return NO_FILE;
    }

    s_oTable.Store(nFile, nDescriptor);
    return nFile;
}

int System::OpenShared(const char* pPath) noexcept
{
    const int nFile = s_oTable.Reserve();
    if (nFile == NO_FILE)
        return NO_FILE;

    CSharedFile* const pFile = AcquireShared(pPath);
    if (pFile == nullptr)
    {
        s_oTable.Release(nFile);
        return NO_FILE;
    }

    s_oTable.Store(nFile, pFile);
    return nFile;
}

std::uint32_t System::ReadFile(int nFile, std::uint64_t nOffset, bool bThere, void* pTarget,
                               std::uint32_t nCount) noexcept
{
    if (CSharedFile* const pShared = s_oTable.FindShared(nFile))
        return static_cast<std::uint32_t>(ReadShared(pShared, nOffset, pTarget, nCount));

    if (!bThere && !SeekFile(nFile, static_cast<std::int64_t>(nOffset), SEEK_SET))
        return 0;
    return FILE_Read(nFile, pTarget, 1, nCount);
}

bool System::GetHandleStatus(int nFile, sFileStatus& oStatus) noexcept
{
    if (const int nDescriptor = s_oTable.FindDescriptor(nFile); nDescriptor != NO_FILE)
        return GetDescriptorStatus(nDescriptor, oStatus);

    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr && GetStatus(pStream, oStatus);
}

std::int64_t System::TellFile(int nFile) noexcept
{
    if (const int nDescriptor = s_oTable.FindDescriptor(nFile); nDescriptor != NO_FILE)
        return SeekDescriptor(nDescriptor, 0, SEEK_CUR);

    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr ? System::TellStream(pStream) : -1;
}

bool System::SeekFile(int nFile, std::int64_t nOffset, int nOrigin) noexcept
{
    if (const int nDescriptor = s_oTable.FindDescriptor(nFile); nDescriptor != NO_FILE)
        return SeekDescriptor(nDescriptor, nOffset, nOrigin) >= 0;

    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr && SeekStream(pStream, nOffset, nOrigin);
}

std::int64_t System::GetFileLength(int nFile) noexcept
{
    std::FILE* const pStream = s_oTable.Find(nFile);
    return pStream != nullptr ? System::GetStreamLength(pStream) : -1;
}
