#pragma once

// Not for users.

#include <Common/File/FileIO.h>
#include <Common/File/VQDataStream.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// What the records of properties and of their containers have in common.
namespace PropertyRecord
{
constexpr int NO_VERSION = 65535;   // of a class whose objects are stored without their version
constexpr unsigned MAX_DEPTH = 256; // properties within each other
constexpr unsigned long WORD_SIZE = 4;
constexpr std::int32_t LOCALISED = -1; // in place of the length of a text: the number of a localised one follows

template <class TValue>
TValue Get(CVQDataStream& oStream)
{
    TValue nValue{};
    oStream.Get(&nValue, sizeof nValue);
    return nValue;
}

/// Reads a number of objects, and refuses one that cannot be there.
///
/// @param nLeast  bytes of the smallest object
inline std::uint32_t GetCount(CVQDataStream& oStream, std::uint64_t nLeast)
{
    const auto nCount = Get<std::uint32_t>(oStream);
    oStream.RequireReadable(nCount * nLeast);
    return nCount;
}

/// The word at the position of a stream, which stays there.
inline std::int32_t PeekWord(const CVQDataStream& oStream)
{
    oStream.RequireReadable(sizeof(std::int32_t));
    std::int32_t nWord = 0;
    std::memcpy(&nWord, oStream.GetIteratorBuffer(), sizeof nWord);
    return nWord;
}

/// An object with its version in a stream that is loaded, unless its class goes without; it ends with this, thrown
/// through too.
class CVersionedLoading
{
public:
    CVersionedLoading(CVQDataStream& oStream, int nClassVersion)
        : m_pStream(nClassVersion != NO_VERSION ? &oStream : nullptr)
    {
        if (m_pStream != nullptr)
            m_pStream->SerializeBegin(-1);
    }

    ~CVersionedLoading()
    {
        if (m_pStream != nullptr)
            m_pStream->SerializeEnd();
    }

    CVersionedLoading(const CVersionedLoading&) = delete;
    CVersionedLoading& operator=(const CVersionedLoading&) = delete;

private:
    CVQDataStream* m_pStream;
};

/// Moves an object into the place of another; assignment could copy.
template <class TValue>
void TakeOver(TValue& oTarget, TValue& oSource) noexcept
{
    std::destroy_at(&oTarget);
    std::construct_at(&oTarget, std::move(oSource));
}

/// The bytes of a string, zeros within it too.
inline std::string_view View(const CVQString& oText)
{
    return {~oText != nullptr ? ~oText : "", static_cast<std::size_t>(oText.GetLength())};
}
} // namespace PropertyRecord

/// Writes records to a stream: as a whole, so that the stream takes the memory for them at once, or in large pieces
/// where they are longer than those.
class CStreamWriter
{
public:
    explicit CStreamWriter(CVQDataStream& oStream) : m_oStream(oStream) {}

    CStreamWriter(const CStreamWriter&) = delete;
    CStreamWriter& operator=(const CStreamWriter&) = delete;

    template <class TValue>
    void Put(TValue nValue)
    {
        if (sizeof nValue > m_nRoom - m_nFilled)
            MakeRoom(sizeof nValue);
        std::memcpy(m_pPiece + m_nFilled, &nValue, sizeof nValue);
        m_nFilled += sizeof nValue;
    }

    void PutText(std::string_view sText)
    {
        Put(static_cast<std::int32_t>(sText.size()));
        PutBytes(sText);
    }

    /// As WriteStreamString() does.
    void PutText(const CVQString& oText)
    {
        if (oText.HasStringId() && oText.IsIdenticalToStringResource())
        {
            Put(PropertyRecord::LOCALISED);
            Put(static_cast<std::int32_t>(oText.GetStringId()));
        }
        else
            PutText(PropertyRecord::View(oText));
    }

    /// What SerializeBegin() of a storing stream puts; there is nothing to end.
    void PutVersion(int nClassVersion)
    {
        if (nClassVersion != PropertyRecord::NO_VERSION)
            Put(static_cast<std::int32_t>(nClassVersion));
    }

    /// Hands over what is left; nobody else does.
    void Flush()
    {
        m_oStream.Put(m_pPiece, static_cast<unsigned long>(m_nFilled));
        m_nFilled = 0;
    }

private:
    struct SFree
    {
        void operator()(char* pBytes) const noexcept { std::free(pBytes); }
    };

    void PutBytes(std::string_view sBytes)
    {
        if (sBytes.size() > m_nRoom - m_nFilled && !MakeRoom(sBytes.size()))
            m_oStream.Put(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
        else if (!sBytes.empty())
        {
            std::memcpy(m_pPiece + m_nFilled, sBytes.data(), sBytes.size());
            m_nFilled += sBytes.size();
        }
    }

    bool MakeRoom(std::size_t nSize);

    CVQDataStream& m_oStream;
    std::array<char, 1024> m_aSmallPiece; // enough for a single value
    std::unique_ptr<char, SFree> m_pLargePiece;
    char* m_pPiece = m_aSmallPiece.data();
    std::size_t m_nRoom = m_aSmallPiece.size();
    std::size_t m_nFilled = 0;
};

/// Goes the way of the stream: what Serialize() does, whatever the property.
///
/// @param fnLoad   loads from the stream
/// @param fnStore  stores by a CStreamWriter
template <class TLoad, class TStore>
void SerializeRecord(CVQDataStream& oStream, TLoad fnLoad, TStore fnStore)
{
    if (!oStream.IsStoring())
        return fnLoad();

    CStreamWriter oWriter(oStream);
    fnStore(oWriter);
    oWriter.Flush();
}

/// Writes records to a file, in larger pieces than their values are. A file object of a class that the library does not
/// know gets each value by the operation of its type, which the class may have overridden.
class CFileWriter
{
public:
    explicit CFileWriter(CFileIO& oFile);

    CFileWriter(const CFileWriter&) = delete;
    CFileWriter& operator=(const CFileWriter&) = delete;

    /// @return false when something could not be written, now or before
    bool Write(std::int32_t nValue) { return m_bPieces ? Add(&nValue, sizeof nValue) : WriteTyped(int{nValue}); }

    bool Write(bool bValue)
    {
        const char cByte = bValue ? 1 : 0;
        return m_bPieces ? Add(&cByte, sizeof cByte) : WriteTyped(bValue);
    }

    bool Write(float fValue) { return m_bPieces ? Add(&fValue, sizeof fValue) : WriteTyped(fValue); }

    bool Write(const CVQString& oText) { return m_bPieces ? Write(PropertyRecord::View(oText)) : WriteTyped(oText); }

    /// Writes a text.
    bool Write(std::string_view sText);

    /// Hands over what is left; nobody else does.
    bool Flush();

private:
    template <class TValue>
    bool WriteTyped(const TValue& oValue)
    {
        m_bWritten = m_bWritten && m_oFile.Write(oValue);
        return m_bWritten;
    }

    bool Add(const void* pBytes, std::size_t nSize)
    {
        if (nSize > m_nRoom - m_nFilled)
            return AddBeyond(pBytes, nSize);
        std::memcpy(m_pPiece + m_nFilled, pBytes, nSize);
        m_nFilled += nSize;
        return m_bWritten;
    }

    bool AddBeyond(const void* pBytes, std::size_t nSize);

    CFileIO& m_oFile;
    const bool m_bPieces;
    bool m_bWritten = true;
    std::array<char, 512> m_aSmallPiece; // enough for a single value
    std::unique_ptr<char[]> m_pLargePiece;
    char* m_pPiece = m_aSmallPiece.data();
    std::size_t m_nRoom = m_aSmallPiece.size();
    std::size_t m_nFilled = 0;
};

/// Reads records from a file, in larger pieces than their values are, and leaves the file behind what was taken. Each
/// reading gives false when the file ends before; the value is then as it was. As for CFileWriter, classes that the
/// library does not know are read value by value.
class CFileReader
{
public:
    explicit CFileReader(CFileIO& oFile);

    CFileReader(const CFileReader&) = delete;
    CFileReader& operator=(const CFileReader&) = delete;

    bool Read(std::int32_t& nValue) { return m_bPieces ? TakeValue(nValue) : ReadTyped<int>(nValue); }

    bool Read(bool& bValue);

    bool Read(float& fValue) { return m_bPieces ? TakeValue(fValue) : ReadTyped<float>(fValue); }

    /// Reads a text in place of another one.
    bool Read(CVQString& oText);
    bool Read(std::string& sText);

    /// Goes back to the end of what was taken; nobody else does.
    void Finish();

private:
    template <class TValue, class TResult>
    bool ReadTyped(TResult& oResult)
    {
        const unsigned long nBefore = m_oFile.GetFilePointerPos();
        TValue oValue{};
        if (!m_oFile.Read(oValue) || m_oFile.GetFilePointerPos() - nBefore != sizeof oValue)
            return false;

        oResult = oValue;
        return true;
    }

    template <class TValue>
    bool TakeValue(TValue& oValue)
    {
        if (sizeof oValue > m_nEnd - m_nNext && !Refill(sizeof oValue))
            return false;
        std::memcpy(&oValue, m_aPiece.data() + m_nNext, sizeof oValue);
        m_nNext += sizeof oValue;
        return true;
    }

    bool TakeBytes(char* pTarget, std::size_t nSize);
    bool Refill(std::size_t nWanted);
    bool TakeLength(std::int32_t& nLength);

    CFileIO& m_oFile;
    const bool m_bPieces;
    std::uint32_t m_nUnread = 0; // bytes of the file behind the piece
    std::size_t m_nNext = 0;     // in the piece: what is taken next, and where it ends
    std::size_t m_nEnd = 0;
    std::size_t m_nPieceSize = 64; // of the next piece: a single value needs no large one
    std::array<char, 4096> m_aPiece;
};
