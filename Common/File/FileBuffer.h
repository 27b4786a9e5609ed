#pragma once

// Not for users.

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <span>

/// The bytes of one open file on their way.
///
/// Offsets count from the start of the physical file. It knows where the physical pointer stands and moves it only when
/// a transfer needs it elsewhere, so a seek costs nothing. The stream below must not buffer by itself, and large
/// transfers go straight between the caller's memory and the system.
///
/// It keeps its memory from file to file. A file that is closed must be flushed before; it belongs to one thread at a
/// time.
class CFileBuffer
{
public:
    /// No place of the physical pointer.
    static constexpr std::uint64_t UNKNOWN = std::numeric_limits<std::uint64_t>::max();

    /// Starts with a file that was just opened.
    ///
    /// @param bWritable  whether Write() is allowed
    /// @param nPointer   where the physical pointer stands, UNKNOWN when that is not known
    void Attach(bool bWritable, std::uint64_t nPointer) noexcept;

    /// Starts with the file of another buffer, which is flushed. Neither relies on the physical pointer any more.
    void Share(CFileBuffer& oOther) noexcept;

    /// Reads nCount bytes.
    ///
    /// @param nLeft  bytes from nOffset on that may be read, at least nCount
    /// @return       false when they did not all come
    bool Read(int nFile, std::uint64_t nOffset, void* pTarget, std::uint32_t nCount, std::uint32_t nLeft) noexcept
    {
        const std::uint64_t nInside = nOffset - m_nBegin;
        if (nInside >= m_nReadable || nCount > m_nReadable - nInside)
            return ReadThrough(nFile, nOffset, pTarget, nCount, nLeft);

        CopyShort(pTarget, m_pBytes.get() + nInside, nCount);
        return true;
    }

    /// Shows bytes that can be read, without a copy.
    ///
    /// @param nLeft  bytes from nOffset on that may be read, at least 1
    /// @return       at least 1 byte; none when they did not come
    std::span<const char> Peek(int nFile, std::uint64_t nOffset, std::uint32_t nLeft) noexcept;

    /// Takes nCount bytes.
    ///
    /// @return false when they could not be taken; none of them is then
    bool Write(int nFile, std::uint64_t nOffset, const void* pSource, std::uint32_t nCount) noexcept
    {
        if (m_nDirty == 0 || nOffset != m_nBegin + m_nDirty || nCount > SIZE - m_nDirty)
            return WriteThrough(nFile, nOffset, pSource, nCount);

        CopyShort(m_pBytes.get() + m_nDirty, pSource, nCount);
        m_nDirty += nCount;
        return true;
    }

    /// Hands all that waits to the system.
    ///
    /// @return false when some of it could not be written; that goes on waiting
    bool Flush(int nFile) noexcept;

private:
    static constexpr std::uint32_t SIZE = 4096;

    // The sizes of single values are worth a copy without a call.
    static void CopyShort(void* pTarget, const void* pSource, std::uint32_t nCount) noexcept
    {
        if (nCount == 4)
            std::memcpy(pTarget, pSource, 4);
        else if (nCount == 1)
            std::memcpy(pTarget, pSource, 1);
        else
            std::memcpy(pTarget, pSource, nCount);
    }

    bool ReadThrough(int nFile, std::uint64_t nOffset, void* pTarget, std::uint32_t nCount,
                     std::uint32_t nLeft) noexcept;
    bool WriteThrough(int nFile, std::uint64_t nOffset, const void* pSource, std::uint32_t nCount) noexcept;
    bool Fill(int nFile, std::uint64_t nOffset, std::uint32_t nLeft) noexcept;
    bool TakeMemory() noexcept;
    bool MovePointer(int nFile, std::uint64_t nOffset) noexcept;
    std::uint32_t ReadFile(int nFile, std::uint64_t nOffset, void* pTarget, std::uint32_t nCount) noexcept;
    std::uint32_t WriteFile(int nFile, std::uint64_t nOffset, const void* pSource, std::uint32_t nCount) noexcept;

    std::unique_ptr<char[]> m_pBytes;
    std::uint64_t m_nPointer = UNKNOWN; // of the physical file
    std::uint64_t m_nBegin = 0;         // offset of the first byte here
    std::uint32_t m_nReadable = 0;      // bytes that were read ahead; 0 while there are
    std::uint32_t m_nDirty = 0;         // bytes that wait to be written
    bool m_bWritable = false;
    bool m_bShared = false; // somebody else moves the physical pointer, too
};
