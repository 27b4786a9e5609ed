#pragma once

#include <Common/Export.h>
#include <Common/File/FileIO.h>

#include <cstdint>
#include <memory>

/// A file in memory: everything that CFileIO reads and writes, in a block of memory.
///
/// Either the object owns its block, which grows in steps as it is written to:
///
///     CMemFileIO oFile(1024);
///     oFile.Write(nLevel);
///     oFile.WriteAscii(CVQString("name"));
///     Send(oFile.GetBuffer(), oFile.GetSize());
///
/// or it works on a block of the caller:
///
///     CMemFileIO oFile(aPacket, nReceived, 0);
///     oFile.Read(nLevel);
///
/// Copies share one block, each with a position and size of its own; the last of them frees it. One that grows while
/// the block is shared goes on with a copy of it. An object is open from its construction on; Open() does nothing.
///
/// ReadRaw(), WriteRaw() and Printf() are not supported, and ReadLine() throws 4501, as there is no file behind it.
///
/// Errors are thrown as CMemFileIOException with an empty message: 4600 when the block must grow and the grow step is
/// 0, 4601 when there is no memory for it or it would pass 4 GiB, 4602 for a position before the start. After each the
/// file is what it was. An object belongs to one thread at a time.
class COMMON_API CMemFileIO : public CFileIO
{
public:
    /// An empty file that owns its block.
    ///
    /// @param nGrowStep  bytes by which the block grows; 0 for a file that cannot be written to
    explicit CMemFileIO(unsigned long nGrowStep);

    /// A file in the caller's block, see Attach().
    CMemFileIO(unsigned char* pBuffer, unsigned long nBufferSize, unsigned long nGrowStep);

    /// Shares the block of the other file.
    CMemFileIO(const CMemFileIO& oOther);

    /// Shares the block of the other file; the own block is freed if nobody shares it.
    CMemFileIO& operator=(const CMemFileIO& oOther);

    /// Frees the block if it is owned and nobody shares it.
    ~CMemFileIO() override;

    /// Goes on in a block of the caller, who keeps it; an own block is freed if nobody shares it. When the block given
    /// is the own one it becomes the caller's, as by Detach().
    ///
    /// @param nBufferSize  bytes of the block
    /// @param nGrowStep    0: the block is the file's content and cannot grow. Else the file is empty, and the block
    ///                     the room to write into; it must then come from MEM_Alloc(), as it is given to MEM_Realloc()
    ///                     when it grows, and the caller finds it with GetBuffer()
    void Attach(unsigned char* pBuffer, unsigned long nBufferSize, unsigned long nGrowStep);

    /// Hands the block over to the caller, to be freed with MEM_Free(); the file is empty then. The grow step stays.
    ///
    /// @return the block, null when there is none
    unsigned char* Detach();

    /// Sets the size, and a position beyond it moves to it. The block grows if it must, and the bytes that it gains are
    /// 0; those that it had already stay as they are.
    ///
    /// @throws CMemFileIOException  4600, 4601
    void SetSize(unsigned long nSize);

    /// Result of GetBuffer().
    operator void*() const;

    /// Does nothing.
    ///
    /// @return true
    bool Open(const char* pName, int nMode) override;

    /// Empties the file, sets the grow step to 0 and frees the block if it is owned and nobody shares it.
    ///
    /// @return true
    bool Close() override;

    /// Does nothing.
    ///
    /// @return true
    bool Flush() override;

    /// The typed operations of the base, beside those below.
    using CFileIO::Read;
    using CFileIO::Write;

    /// Reads up to nCount bytes.
    ///
    /// @return true when at least one came, or nCount is 0; so a value at the very end may come in part and the rest
    ///         of the variable stay as it was. Kept: callers rely on it
    bool Read(void* pTarget, unsigned long nCount) override;

    /// Writes bytes; the block grows if it must. They may lie in the block itself.
    ///
    /// @return true
    /// @throws CMemFileIOException  4600, 4601
    bool Write(const void* pSource, unsigned long nCount) override;

    /// Not supported.
    ///
    /// @return 0
    int ReadRaw(void* pTarget, unsigned long nSize, unsigned long nCount) override;

    /// Not supported.
    ///
    /// @return 0
    int WriteRaw(const void* pSource, unsigned long nSize, unsigned long nCount) override;

    /// Not supported.
    ///
    /// @return false
    bool Printf(const char* pFormat, ...) override COMMON_PRINTF_FORMAT(2, 3);

    /// @return true
    bool IsOpened() const override;

    /// Tells whether the position is at the end of the file or beyond it.
    bool IsEof() const override;

    /// Sets the position, wherever it is; what is written beyond the end makes the file that much longer.
    ///
    /// @return true
    bool SetFilePointerPos(unsigned long nPosition) override;

    /// Moves the position by nDelta, also beyond the end.
    ///
    /// @return true
    /// @throws CMemFileIOException  4602 when it would come before the start
    bool Skip(long nDelta) override;

    unsigned long GetFilePointerPos() const override;
    unsigned long GetSize() const override;

    /// Bytes of the block.
    virtual unsigned long GetBufferSize() const;

    /// The block, null when there is none. Good until the block grows or is given back.
    virtual unsigned char* GetBuffer() const;

private:
    struct sBlock;

    void GrowFile(std::uint64_t nNewSize);

    // Tells whether an address lies in the block.
    bool IsInside(const void* pAddress) const;

    static unsigned char* Alloc(std::uint32_t nSize);
    static unsigned char* Realloc(unsigned char* pBlock, std::uint32_t nSize);
    static void Memcpy(void* pTarget, const void* pSource, std::uint32_t nSize);
    static void Free(unsigned char* pBlock);

    [[noreturn]] void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                     const char* pMessage) const;

    std::uint32_t m_nGrowStep;
    std::uint32_t m_nPosition;
    std::uint32_t m_nCapacity;
    std::uint32_t m_nSize;
    unsigned char* m_pBuffer;
    bool m_bAutoDelete;
    std::shared_ptr<sBlock> m_pBlock;
};
