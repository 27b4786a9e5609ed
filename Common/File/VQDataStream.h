#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <cstring>
#include <vector>

/// A growing block of bytes through which objects write themselves out and read themselves back.
///
///     CVQDataStream oSaved(CVQDataStream::STORING);
///     oSaved.SerializeBegin(256);                      // the format version of the object
///     oSaved.Put(&nHealth, sizeof(nHealth));
///     WriteStreamString(oSaved, oName);
///     oSaved.SerializeEnd();
///
///     CVQDataStream oLoaded(oSaved);                   // loading; shares the bytes
///     oLoaded.SerializeBegin(-1);
///     if (oLoaded.GetVersion() >= 256)
///         oLoaded.Get(&nHealth, sizeof(nHealth));
///     ReadStreamString(oLoaded, oName);
///     oLoaded.SerializeEnd();
///
/// A stream loads or stores, and stays so. It has a position of its own; a CVQDataStream::Iterator is a further one,
/// to go back and patch what was written, say.
///
/// Copies share the block until one of them writes: a copy costs next to nothing. The block grows in large steps
/// (to what is needed and twice what was there), so many small writes are cheap.
///
/// Values in a stream: numbers and enumerations 4 bytes, little-endian; a bool 1 byte; a string as WriteStreamString()
/// says.
///
/// Sizes and positions are 32-bit numbers, also where they fall below zero: they wrap. What goes wrong is thrown as
/// CVQDataStreamException, and the stream is then as it was before the call:
///
///     5000  a read behind the end of the block
///     5001  no memory, or more than 4 GiB
///     5002  a read from a storing stream
///     5003  a write to a loading stream
///
/// A stream and its copies belong to one thread at a time.
class COMMON_API CVQDataStream
{
public:
    /// Mode of a stream that is read.
    static constexpr int LOADING = 1;
    /// Mode of a stream that is written; only this bit decides what a stream does.
    static constexpr int STORING = 2;

    /// A cursor: a stream and a position in it.
    ///
    /// It reads and writes as the stream does, at its own position. It does not keep the stream alive. One that is
    /// bound to no stream reads and writes nothing: Get() throws 5000, Put() 5003.
    class COMMON_API Iterator
    {
    public:
        /// Bound to no stream.
        Iterator() noexcept;
        /// The start of a stream.
        Iterator(CVQDataStream& oStream) noexcept;
        Iterator(const CVQDataStream& oStream) noexcept;
        Iterator(const Iterator& oOther) noexcept;
        virtual ~Iterator();

        /// Takes the stream and the position of the other.
        Iterator& operator=(const Iterator& oOther) noexcept;

        /// Writes bytes and moves behind them: see CVQDataStream::Put().
        void Put(const void* pData, unsigned long nSize);

        /// Reads bytes and moves behind them: see CVQDataStream::Get().
        void Get(void* pData, unsigned long nSize);

        /// Moves forward, without any check.
        void Advance(unsigned long nSize) noexcept { m_nPosition += static_cast<std::uint32_t>(nSize); }

        /// Bytes from the start of the block.
        unsigned long GetPosition() const noexcept { return m_nPosition; }

        /// Bytes of data from here on, 0 without a stream; wraps below zero when the position is behind the data.
        unsigned long GetSize() const noexcept;

        /// Where the iterator stands in the block; null without a stream or a block. Valid until the stream is written.
        const unsigned char* GetBuffer() const noexcept;

        /// Whether the stream stores; false without a stream.
        bool IsStoring() const noexcept;

    private:
        friend class CVQDataStream;

        CVQDataStream* m_pStream;
        std::uint32_t m_nPosition;
    };

    /// An empty stream without a block.
    ///
    /// @param nMode  LOADING or STORING
    CVQDataStream(int nMode = LOADING);

    /// A stream with a block of its own, filled with zeros. A loading one holds nSize bytes of data, a storing one none
    /// yet.
    CVQDataStream(unsigned long nSize, int nMode);

    /// A stream with given data.
    ///
    /// @param pData  the bytes; null counts as none
    /// @param nSize  how many
    /// @param nMode  LOADING or STORING
    /// @param bCopy  true to copy them; a storing stream then holds them and writes over them.
    ///               False to use them where they are: they must live as long as the stream and its copies. A storing
    ///               stream then holds nothing yet, and must be given a block of MEM_Alloc(): when it grows it frees
    ///               the block, and nobody frees the new one. Kept: callers rely on it.
    CVQDataStream(const unsigned char* pData, unsigned long nSize, int nMode, bool bCopy);

    /// A stream that shares the data of another; what the other's block can hold beyond its data is not shared. A
    /// storing one holds nothing yet.
    CVQDataStream(const CVQDataStream& oOther, int nMode = LOADING);

    virtual ~CVQDataStream();

    /// Shares the data and the block of another stream and goes to its start. The mode and the versions stay.
    CVQDataStream& operator=(const CVQDataStream& oOther);

    /// Writes bytes at the position and moves behind them.
    ///
    /// Data that is there is overwritten. A position behind the data leaves a gap, which holds zeros or what the block
    /// held there before.
    ///
    /// @param pData  the bytes; they may lie in the stream itself
    /// @param nSize  how many
    /// @throws CVQDataStreamException  5003, 5001
    void Put(const void* pData, unsigned long nSize)
    {
        m_oIterator.m_nPosition = Put(pData, m_oIterator.m_nPosition, nSize);
    }

    /// Reads bytes at the position and moves behind them.
    ///
    /// The end is that of the block, not that of the data. Kept: callers rely on it.
    ///
    /// @throws CVQDataStreamException  5000, 5002
    void Get(void* pData, unsigned long nSize) { m_oIterator.m_nPosition = Get(pData, m_oIterator.m_nPosition, nSize); }

    /// Moves the position forward, without any check.
    void Advance(unsigned long nSize) noexcept { m_oIterator.Advance(nSize); }

    /// Bytes from the start of the block to the position.
    unsigned long GetStreamPosition() const noexcept { return m_oIterator.GetPosition(); }

    /// Bytes of data.
    unsigned long GetSize() const noexcept { return m_nSize; }

    /// Bytes of data from the position on; wraps below zero when the position is behind the data.
    unsigned long GetRemainingSize() const noexcept;

    /// The same as GetRemainingSize().
    unsigned long GetIteratorBufferSize() const noexcept;

    /// Bytes that Get() can still deliver: from the position to the end of the block. Hold a count from a stream
    /// against it before memory is taken for so many.
    unsigned long GetReadableSize() const noexcept
    {
        return m_oIterator.m_nPosition < m_nCapacity ? m_nCapacity - m_oIterator.m_nPosition : 0;
    }

    /// Makes sure that Get() can still deliver so many bytes.
    ///
    /// @throws CVQDataStreamException  5000, as Get() would
    void RequireReadable(std::uint64_t nSize) const
    {
        if (nSize > GetReadableSize())
            ThrowReadBehindEnd();
    }

    /// The start of the block, null when there is none. Valid until the stream is written.
    const unsigned char* GetBuffer() const noexcept { return m_pBytes; }

    /// The same for writing into it. A block that is shared is not copied: all that share it see what is written.
    unsigned char* QueryBuffer() const noexcept { return m_pBytes; }

    /// Does nothing: the counterpart of QueryBuffer().
    void ReleaseBuffer() const noexcept {}

    /// Where the position is in the block, null when there is none.
    const unsigned char* GetIteratorBuffer() const noexcept { return m_oIterator.GetBuffer(); }

    /// Whether the mode has the bit LOADING.
    bool IsLoading() const noexcept { return (m_nMode & LOADING) != 0; }

    /// Whether the mode has the bit STORING.
    bool IsStoring() const noexcept { return (m_nMode & STORING) != 0; }

    /// The format version of the object that is loaded now, -1 outside of any.
    int GetVersion() const noexcept { return m_nVersion; }

    /// Begins an object: a storing stream writes its version, a loading one reads it for GetVersion() and keeps that of
    /// the object around it. A class of version 65535 does without both calls: it writes no version.
    ///
    /// @param nVersion  the version to write; a loading stream does not look at it
    /// @throws CVQDataStreamException  as Put() or Get()
    void SerializeBegin(int nVersion);

    /// Ends an object: a loading stream returns to the version of the object around it, -1 when there is none.
    void SerializeEnd() noexcept;

    /// Goes back to the start, without data and versions; the block is kept.
    void Clear() noexcept;

    /// Goes back to the start, without versions; a loading stream keeps its data, a storing one begins anew.
    void Rewind() noexcept;

    /// Takes other data; the size is 0 in every mode, yet a loading stream can read all nSize bytes. Kept: callers rely
    /// on it.
    ///
    /// @param pData  the bytes; null counts as none
    /// @param nSize  how many
    /// @param bCopy  as for the constructor
    /// @throws CVQDataStreamException  5001
    void Clear(const unsigned char* pData, unsigned long nSize, bool bCopy);

    /// Takes other data to be read, or room to be written.
    ///
    /// @param pData  the bytes; null counts as none
    /// @param nSize  how many
    /// @param bCopy  as for the constructor
    /// @throws CVQDataStreamException  5001
    void Rewind(const unsigned char* pData, unsigned long nSize, bool bCopy);

private:
    /// The bytes and who holds them.
    struct SBlock
    {
        unsigned char* m_pData;
        std::int32_t m_nReferences;
        bool m_bOwnsData;
    };

    // What writes and reads at a position tells the one behind it. The sizes of values are asked for first: most calls
    // have one of them, and the compiler knows which.
    std::uint32_t Put(const void* pData, std::uint32_t nPosition, unsigned long nSize)
    {
        if (nSize == sizeof(std::uint32_t))
            return PutValue<std::uint32_t>(pData, nPosition);
        if (nSize == sizeof(std::uint8_t))
            return PutValue<std::uint8_t>(pData, nPosition);
        return PutBytes(pData, nPosition, nSize);
    }

    template <class TValue>
    std::uint32_t PutValue(const void* pData, std::uint32_t nPosition)
    {
        TValue nValue;
        std::memcpy(&nValue, pData, sizeof(nValue)); // what is shown to no other function can stay in a register

        const std::uint64_t nEnd = std::uint64_t{nPosition} + sizeof(nValue);
        if (nEnd >= m_nWriteLimit)
            MakeRoom(nPosition, nullptr, sizeof(nValue));

        if (nEnd > m_nSize)
            m_nSize = static_cast<std::uint32_t>(nEnd);
        std::memcpy(m_pBytes + nPosition, &nValue, sizeof(nValue));
        return static_cast<std::uint32_t>(nEnd);
    }

    std::uint32_t PutBytes(const void* pData, std::uint32_t nPosition, unsigned long nSize)
    {
        const std::uint64_t nEnd = std::uint64_t{nPosition} + nSize;
        if (nEnd >= m_nWriteLimit || nEnd < nSize)
            pData = MakeRoom(nPosition, pData, nSize);

        if (nEnd > m_nSize)
            m_nSize = static_cast<std::uint32_t>(nEnd);
        if (nSize != 0)
            std::memmove(m_pBytes + nPosition, pData, nSize);
        return static_cast<std::uint32_t>(nEnd);
    }

    std::uint32_t Get(void* pData, std::uint32_t nPosition, unsigned long nSize)
    {
        const std::uint64_t nEnd = std::uint64_t{nPosition} + nSize;
        if (nEnd >= m_nReadLimit || nEnd < nSize)
            RefuseRead(nPosition, nSize); // never comes back, so that the fields can stay in registers

        if (nSize != 0)
            std::memcpy(pData, m_pBytes + nPosition, nSize);
        return static_cast<std::uint32_t>(nEnd);
    }

    Iterator Begin() noexcept;
    const void* MakeRoom(std::uint32_t nPosition, const void* pData, unsigned long nSize);
    [[noreturn]] void RefuseRead(std::uint32_t nPosition, unsigned long nSize) const;
    void Detach(std::uint64_t nExtra);
    void Reallocate(unsigned long nSize);
    void GrowToAtLeast(unsigned long nSize);

    static unsigned char* AllocBytes(std::uint64_t nSize);
    static SBlock* NewBlock(unsigned char* pData, bool bOwnsData);
    static SBlock* NewBlock(const unsigned char* pData, unsigned long nSize, bool bCopy);
    SBlock* Share() const noexcept;
    static void Release(SBlock* pBlock) noexcept;
    void TakeBlock(SBlock* pBlock) noexcept;
    void Refresh() noexcept;

    void PushVersion(int nVersion);
    int PopVersion() noexcept;
    void SetVersion(int nVersion) noexcept;
    void ClearVersionStack() noexcept;

    [[noreturn]] static void ThrowReadBehindEnd();
    [[noreturn]] static void ThrowNoMemory();
    [[noreturn]] static void ThrowReadWhileStoring();
    [[noreturn]] static void ThrowWriteWhileLoading();
    [[noreturn]] static void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                            const char* pMessage);

    SBlock* m_pBlock;
    std::uint32_t m_nCapacity;
    std::uint32_t m_nSize;
    std::int32_t m_nMode;
    Iterator m_oIterator;
    std::int32_t m_nVersion;
    std::vector<std::int32_t> m_aVersions; // those of the objects around the one that is loaded

    // What follows from the fields above, so that a value is read and written with few questions: see Refresh(). One
    // more than the last end that needs none, 0 when all do.
    unsigned char* m_pBytes;
    std::uint64_t m_nReadLimit;
    mutable std::uint64_t m_nWriteLimit;
};

inline void CVQDataStream::Iterator::Put(const void* pData, unsigned long nSize)
{
    if (m_pStream == nullptr)
        ThrowWriteWhileLoading();

    m_nPosition = m_pStream->Put(pData, m_nPosition, nSize);
}

inline void CVQDataStream::Iterator::Get(void* pData, unsigned long nSize)
{
    if (m_pStream == nullptr)
        ThrowReadBehindEnd();

    m_nPosition = m_pStream->Get(pData, m_nPosition, nSize);
}

inline unsigned long CVQDataStream::Iterator::GetSize() const noexcept
{
    return m_pStream != nullptr ? m_pStream->m_nSize - m_nPosition : 0;
}

inline bool CVQDataStream::Iterator::IsStoring() const noexcept
{
    return m_pStream != nullptr && m_pStream->IsStoring();
}

inline unsigned long CVQDataStream::GetRemainingSize() const noexcept
{
    return m_oIterator.GetSize();
}

inline unsigned long CVQDataStream::GetIteratorBufferSize() const noexcept
{
    return m_oIterator.GetSize();
}

static_assert(sizeof(void*) != 4 || sizeof(CVQDataStream::Iterator) == 12, "the layout that the 32-bit callers know");

extern "C"
{
    /// Writes a string.
    ///
    /// A string that equals the localised text it was loaded from (CVQString::IsIdenticalToStringResource()) is written
    /// as that text's number: 4 bytes of -1 and 4 bytes of the number. Any other one is 4 bytes of length and the
    /// characters, without a terminator.
    ///
    /// @throws CVQDataStreamException  as CVQDataStream::Put()
    COMMON_API void WriteStreamString(CVQDataStream& oStream, const CVQString& oText);

    /// Reads a string that WriteStreamString() wrote.
    ///
    /// A length of -1 loads the localised text of the number that follows. A length of 0 or any other negative one
    /// leaves the string as it was. Kept: callers rely on it.
    ///
    /// @throws CVQDataStreamException  as CVQDataStream::Get(); the string is then as it was
    COMMON_API void ReadStreamString(CVQDataStream& oStream, CVQString& oText);
}
