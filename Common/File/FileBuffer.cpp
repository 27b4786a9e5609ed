#include <Common/File/FileBuffer.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/System/FileHandle.h>

#include <algorithm>
#include <cstdio>
#include <new>

void CFileBuffer::Attach(bool bWritable, std::uint64_t nPointer) noexcept
{
    m_nPointer = nPointer;
    m_nReadable = m_nDirty = 0;
    m_bWritable = bWritable;
    m_bShared = false;
}

void CFileBuffer::Share(CFileBuffer& oOther) noexcept
{
    Attach(oOther.m_bWritable, UNKNOWN);
    oOther.m_nPointer = UNKNOWN;
    m_bShared = oOther.m_bShared = true;
}

std::span<const char> CFileBuffer::Peek(int nFile, std::uint64_t nOffset, std::uint32_t nLeft) noexcept
{
    if (nOffset - m_nBegin >= m_nReadable && (!Flush(nFile) || !Fill(nFile, nOffset, nLeft)))
        return {};

    const auto nInside = static_cast<std::uint32_t>(nOffset - m_nBegin);
    return {m_pBytes.get() + nInside, std::min(m_nReadable - nInside, nLeft)};
}

bool CFileBuffer::Flush(int nFile) noexcept
{
    if (m_nDirty == 0)
        return true;

    const std::uint32_t nWritten = WriteFile(nFile, m_nBegin, m_pBytes.get(), m_nDirty);
    m_nBegin += nWritten;
    m_nDirty -= nWritten;
    std::memmove(m_pBytes.get(), m_pBytes.get() + nWritten, m_nDirty);
    return m_nDirty == 0;
}

bool CFileBuffer::ReadThrough(int nFile, std::uint64_t nOffset, void* pTarget, std::uint32_t nCount,
                              std::uint32_t nLeft) noexcept
{
    if (!Flush(nFile))
        return false;

    auto* pNext = static_cast<char*>(pTarget);
    if (nOffset - m_nBegin < m_nReadable)
    {
        const auto nInside = static_cast<std::uint32_t>(nOffset - m_nBegin);
        const std::uint32_t nHead = m_nReadable - nInside;
        std::memcpy(pNext, m_pBytes.get() + nInside, nHead);
        pNext += nHead;
        nOffset += nHead;
        nCount -= nHead;
        nLeft -= nHead;
    }

    if (nCount >= SIZE)
        return ReadFile(nFile, nOffset, pNext, nCount) == nCount;

    Fill(nFile, nOffset, nLeft);
    if (m_nReadable < nCount)
        return false;
    std::memcpy(pNext, m_pBytes.get(), nCount);
    return true;
}

bool CFileBuffer::WriteThrough(int nFile, std::uint64_t nOffset, const void* pSource, std::uint32_t nCount) noexcept
{
    if (!m_bWritable || !Flush(nFile))
        return false;

    m_nReadable = 0;
    if (nCount >= SIZE)
        return WriteFile(nFile, nOffset, pSource, nCount) == nCount;

    if (!TakeMemory())
        return false;
    std::memcpy(m_pBytes.get(), pSource, nCount);
    m_nBegin = nOffset;
    m_nDirty = nCount;
    return true;
}

// Reads ahead from an offset on; false when nothing came.
bool CFileBuffer::Fill(int nFile, std::uint64_t nOffset, std::uint32_t nLeft) noexcept
{
    m_nReadable = 0;
    if (!TakeMemory())
        return false;

    m_nReadable = ReadFile(nFile, nOffset, m_pBytes.get(), std::min(SIZE, nLeft));
    m_nBegin = nOffset;
    return m_nReadable != 0;
}

bool CFileBuffer::TakeMemory() noexcept
{
    if (m_pBytes == nullptr)
        m_pBytes.reset(new (std::nothrow) char[SIZE]);
    return m_pBytes != nullptr;
}

bool CFileBuffer::MovePointer(int nFile, std::uint64_t nOffset) noexcept
{
    return m_nPointer == nOffset || System::SeekFile(nFile, static_cast<std::int64_t>(nOffset), SEEK_SET);
}

// After a transfer that fell short, or when the file is shared, nobody knows where the pointer stands.

std::uint32_t CFileBuffer::ReadFile(int nFile, std::uint64_t nOffset, void* pTarget, std::uint32_t nCount) noexcept
{
    const std::uint32_t nRead = System::ReadFile(nFile, nOffset, m_nPointer == nOffset, pTarget, nCount);
    m_nPointer = nRead == nCount && !m_bShared ? nOffset + nCount : UNKNOWN;
    return nRead;
}

std::uint32_t CFileBuffer::WriteFile(int nFile, std::uint64_t nOffset, const void* pSource,
                                     std::uint32_t nCount) noexcept
{
    const std::uint32_t nWritten = MovePointer(nFile, nOffset) ? FILE_Write(nFile, pSource, 1, nCount) : 0;
    m_nPointer = nWritten == nCount && !m_bShared ? nOffset + nCount : UNKNOWN;
    return nWritten;
}
