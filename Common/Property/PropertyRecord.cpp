#include <Common/Property/PropertyRecord.h>

#include <Common/File/MemFileIO.h>
#include <Common/Property/PropertyText.h>

#include <algorithm>
#include <typeinfo>

namespace
{
constexpr std::size_t LARGE_PIECE = std::size_t{64} * 1024;
constexpr std::size_t LARGEST_PIECE = std::size_t{16} * 1024 * 1024;

/// Whether the typed operations of a file object are those of the library, which write and read nothing but bytes.
bool IsPlain(const CFileIO& oFile)
{
    return typeid(oFile) == typeid(CFileIO) || typeid(oFile) == typeid(CMemFileIO);
}
} // namespace

/// Sees to room for bytes: the piece grows, or is handed over where it is large enough or there is no memory.
///
/// @return false when there is none for so many: nothing is left to be handed over then
bool CStreamWriter::MakeRoom(std::size_t nSize)
{
    if (nSize <= LARGEST_PIECE - m_nFilled)
    {
        const std::size_t nRoom = std::min(std::max(2 * (m_nFilled + nSize), LARGE_PIECE), LARGEST_PIECE);
        if (char* const pGrown = static_cast<char*>(std::realloc(m_pLargePiece.get(), nRoom)))
        {
            if (m_pLargePiece == nullptr)
                std::copy_n(m_aSmallPiece.data(), m_nFilled, pGrown);
            static_cast<void>(m_pLargePiece.release());
            m_pLargePiece.reset(pGrown);
            m_pPiece = pGrown;
            m_nRoom = nRoom;
            return true;
        }
    }
    Flush();
    return nSize <= m_nRoom;
}

CFileWriter::CFileWriter(CFileIO& oFile) : m_oFile(oFile), m_bPieces(IsPlain(oFile)) {}

bool CFileWriter::Write(std::string_view sText)
{
    if (!m_bPieces)
        return WriteTyped(PropertyText::Make(sText));

    return Write(static_cast<std::int32_t>(sText.size())) && Add(sText.data(), sText.size());
}

bool CFileWriter::Flush()
{
    if (m_nFilled != 0)
        m_bWritten = m_oFile.Write(m_pPiece, static_cast<unsigned long>(m_nFilled)) && m_bWritten;
    m_nFilled = 0;
    return m_bWritten;
}

bool CFileWriter::AddBeyond(const void* pBytes, std::size_t nSize)
{
    if (m_pLargePiece == nullptr)
    {
        m_pLargePiece = std::make_unique_for_overwrite<char[]>(LARGE_PIECE);
        std::copy_n(m_pPiece, m_nFilled, m_pLargePiece.get());
        m_pPiece = m_pLargePiece.get();
        m_nRoom = LARGE_PIECE;
        return Add(pBytes, nSize);
    }

    if (!Flush())
        return false;
    if (nSize <= m_nRoom)
        return Add(pBytes, nSize);

    m_bWritten = m_oFile.Write(pBytes, static_cast<unsigned long>(nSize));
    return m_bWritten;
}

CFileReader::CFileReader(CFileIO& oFile) : m_oFile(oFile), m_bPieces(IsPlain(oFile))
{
    if (!m_bPieces)
        return;

    const unsigned long nPlace = oFile.GetFilePointerPos();
    const unsigned long nSize = oFile.GetSize();
    m_nUnread = nPlace < nSize ? static_cast<std::uint32_t>(nSize - nPlace) : 0;
}

bool CFileReader::Read(bool& bValue)
{
    if (!m_bPieces)
        return ReadTyped<bool>(bValue);

    char cByte = 0;
    if (!TakeValue(cByte))
        return false;

    bValue = cByte != 0;
    return true;
}

bool CFileReader::Read(CVQString& oText)
{
    CVQString oRead;
    if (!m_bPieces)
    {
        if (!m_oFile.Read(oRead))
            return false;
    }
    else
    {
        std::int32_t nLength = 0;
        if (!TakeLength(nLength))
            return false;
        if (nLength > 0)
        {
            if (!TakeBytes(oRead.GetBuffer(nLength), static_cast<std::size_t>(nLength)))
                return false;
            oRead.ReleaseBuffer(nLength);
        }
    }
    PropertyRecord::TakeOver(oText, oRead);
    return true;
}

bool CFileReader::Read(std::string& sText)
{
    if (!m_bPieces)
    {
        CVQString oRead;
        if (!m_oFile.Read(oRead))
            return false;
        sText = PropertyRecord::View(oRead);
        return true;
    }

    std::int32_t nLength = 0;
    if (!TakeLength(nLength))
        return false;
    sText.resize(static_cast<std::size_t>(std::max(nLength, 0)));
    return TakeBytes(sText.data(), sText.size());
}

void CFileReader::Finish()
{
    if (m_nNext == m_nEnd)
        return;

    m_oFile.SetFilePointerPos(m_oFile.GetFilePointerPos() - static_cast<unsigned long>(m_nEnd - m_nNext));
    m_nNext = m_nEnd = 0;
    m_nUnread = 0;
}

/// Reads a length, and refuses one that the file does not hold before memory is taken for it.
bool CFileReader::TakeLength(std::int32_t& nLength)
{
    return TakeValue(nLength) && nLength <= static_cast<std::int64_t>(m_nEnd - m_nNext) + m_nUnread;
}

bool CFileReader::TakeBytes(char* pTarget, std::size_t nSize)
{
    const std::size_t nHere = std::min(nSize, m_nEnd - m_nNext);
    std::copy_n(m_aPiece.data() + m_nNext, nHere, pTarget);
    m_nNext += nHere;
    pTarget += nHere;
    nSize -= nHere;
    if (nSize == 0)
        return true;
    if (nSize < m_aPiece.size())
        return Refill(nSize) && TakeBytes(pTarget, nSize);

    if (nSize > m_nUnread || !m_oFile.Read(pTarget, static_cast<unsigned long>(nSize)))
        return false;
    m_nUnread -= static_cast<std::uint32_t>(nSize);
    return true;
}

/// Gets the next piece; what is left of the old one stays at its front.
///
/// @return false when the file does not have so much: all that there is counts as taken then
bool CFileReader::Refill(std::size_t nWanted)
{
    std::copy(m_aPiece.data() + m_nNext, m_aPiece.data() + m_nEnd, m_aPiece.data());
    m_nEnd -= m_nNext;
    m_nNext = 0;

    const std::size_t nRoom = std::max(m_nPieceSize, nWanted) - m_nEnd;
    const auto nRead = static_cast<std::uint32_t>(std::min<std::size_t>(nRoom, m_nUnread));
    m_nPieceSize = m_aPiece.size();
    if (nRead != 0 && m_oFile.Read(m_aPiece.data() + m_nEnd, nRead))
    {
        m_nUnread -= nRead;
        m_nEnd += nRead;
    }
    if (m_nEnd >= nWanted)
        return true;

    m_nNext = m_nEnd;
    return false;
}
