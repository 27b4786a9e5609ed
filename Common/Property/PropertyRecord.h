#pragma once

// Not for users.

#include <Common/File/FileIO.h>
#include <Common/File/VQDataStream.h>

#include <cstdint>
#include <memory>
#include <utility>

/// What the records of properties and of their containers have in common.
namespace PropertyRecord
{
constexpr int NO_VERSION = 65535;   // of a class whose objects are stored without their version
constexpr unsigned MAX_DEPTH = 256; // properties within each other
constexpr unsigned long WORD_SIZE = 4;

template <class TValue>
void Put(CVQDataStream& oStream, TValue nValue)
{
    oStream.Put(&nValue, sizeof nValue);
}

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

/// An object with its version in a stream, unless its class goes without; it ends with this, thrown through too.
class CVersioned
{
public:
    /// @param nClassVersion  what tells whether there is a version at all
    CVersioned(CVQDataStream& oStream, int nClassVersion) : m_pStream(nClassVersion != NO_VERSION ? &oStream : nullptr)
    {
        if (m_pStream != nullptr)
            m_pStream->SerializeBegin(oStream.IsStoring() ? nClassVersion : -1);
    }

    ~CVersioned()
    {
        if (m_pStream != nullptr)
            m_pStream->SerializeEnd();
    }

    CVersioned(const CVersioned&) = delete;
    CVersioned& operator=(const CVersioned&) = delete;

private:
    CVQDataStream* m_pStream;
};

/// Reads a value from a file; one that is not there whole is none, whatever the file object makes of it.
///
/// @return false when the file ended; the value is then as it was
template <class TValue>
bool Read(CFileIO& oFile, TValue& oValue)
{
    const unsigned long nBefore = oFile.GetFilePointerPos();
    TValue oRead{};
    if (!oFile.Read(oRead) || oFile.GetFilePointerPos() - nBefore != sizeof oRead)
        return false;

    oValue = oRead;
    return true;
}

/// The same for a text.
inline bool Read(CFileIO& oFile, CVQString& oText)
{
    CVQString oRead;
    if (!oFile.Read(oRead))
        return false;

    oText = std::move(oRead);
    return true;
}

/// Moves an object into the place of another; assignment could copy.
template <class TValue>
void TakeOver(TValue& oTarget, TValue& oSource) noexcept
{
    std::destroy_at(&oTarget);
    std::construct_at(&oTarget, std::move(oSource));
}
} // namespace PropertyRecord
