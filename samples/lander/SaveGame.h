#pragma once

// Shows: the data stream with its versions (Common/File/VQDataStream.h) and the compressor (VQLzrwCompressor.h).
// Why: players keep their games when the program changes. The stream tells which version wrote it, and the newer fields
// are read only where they are. A sum over all bytes finds damage before anything is taken out of them.

#include "Game.h"

#include <Common/Debug/VQException.h>
#include <Common/File/VQDataStream.h>
#include <Common/File/VQLzrwCompressor.h>

#include <cstring>
#include <string_view>

/// A saved game: a header of "LNDR", the size of the stream and a sum over the rest, then the stream as one block.
struct sSaveGame
{
    std::int32_t m_nLevel = 0;
    sFlight m_oFlight;

    std::string Pack() const
    {
        sSaveGame oCopy = *this;
        CVQDataStream oStream(CVQDataStream::STORING);
        oCopy.Transfer(oStream);

        // The three bytes behind a block's first are the caller's: they stay zero here.
        const auto nSize = static_cast<int>(oStream.GetSize());
        std::string sBlock(static_cast<std::size_t>(nSize + CVQLzrwCompressor::EXTRA_SIZE), '\0');
        CVQLzrwCompressor oCompressor;
        oCompressor.SetSource(oStream.QueryBuffer(), nSize);
        oCompressor.SetDestination(sBlock.data(), static_cast<int>(sBlock.size()));
        sBlock.resize(static_cast<std::size_t>(oCompressor.Compress()));

        const sHeader oHeader = {MAGIC, static_cast<std::uint32_t>(nSize), Sum(sBlock, static_cast<unsigned>(nSize))};
        return std::string(reinterpret_cast<const char*>(&oHeader), sizeof(oHeader)) + sBlock;
    }

    /// Takes the bytes of a saved game, which may hold anything; false, and the object as it was, for those that are
    /// none.
    bool Unpack(std::string_view sBytes, std::int32_t nLevels)
    {
        sHeader oHeader;
        if (sBytes.size() < sizeof(oHeader) || sBytes.size() > sizeof(oHeader) + MOST_BYTES)
            return false;
        std::memcpy(&oHeader, sBytes.data(), sizeof(oHeader));
        std::string sBlock(sBytes.substr(sizeof(oHeader)));
        if (oHeader.m_nMagic != MAGIC || oHeader.m_nSize > MOST_BYTES || oHeader.m_nSum != Sum(sBlock, oHeader.m_nSize))
            return false;

        std::vector<unsigned char> aPlain(oHeader.m_nSize);
        CVQLzrwCompressor oCompressor;
        oCompressor.SetSource(sBlock.data(), static_cast<int>(sBlock.size()));
        oCompressor.SetDestination(aPlain.data(), static_cast<int>(aPlain.size()));
        if (oCompressor.Decompress() != static_cast<int>(oHeader.m_nSize))
            return false;
        try
        {
            CVQDataStream oStream(aPlain.data(), oHeader.m_nSize, CVQDataStream::LOADING, false);
            sSaveGame oRead;
            oRead.Transfer(oStream);
            const bool bRight = oStream.GetRemainingSize() == 0 && oRead.IsPossible(nLevels);
            *this = bRight ? oRead : *this;
            return bRight;
        }
        catch (const CVQException&) // the stream ends early
        {
            return false;
        }
    }

private:
    struct sHeader
    {
        std::uint32_t m_nMagic, m_nSize, m_nSum;
    };

    static constexpr std::uint32_t MAGIC = 0x52444E4C; // "LNDR"
    static constexpr std::uint32_t MOST_BYTES = 4096;

    // Version 256 had no throttle, gusts and score; such a game goes on with the engine off.
    static constexpr int FIRST_VERSION = 256;
    static constexpr int VERSION = 257;

    // One function writes and reads, so that the two cannot differ.
    void Transfer(CVQDataStream& oStream)
    {
        sFlight& o = m_oFlight;
        auto nRandom = static_cast<std::int32_t>(o.m_nRandom);
        const auto Pass = [&](std::initializer_list<std::int32_t*> aValues)
        {
            for (std::int32_t* pValue : aValues)
                oStream.IsStoring() ? oStream.Put(pValue, sizeof(*pValue)) : oStream.Get(pValue, sizeof(*pValue));
        };
        oStream.SerializeBegin(VERSION);
        Pass({&m_nLevel, &o.m_nX, &o.m_nY, &o.m_nSpeedX, &o.m_nSpeedY, &o.m_nTilt, &o.m_nFuel, &o.m_nState,
              &o.m_nGravity, &o.m_nTick, &nRandom});
        if (oStream.IsStoring() || oStream.GetVersion() > FIRST_VERSION)
            Pass({&o.m_nThrottle, &o.m_nGust, &o.m_nScore});
        oStream.SerializeEnd();
        o.m_nRandom = static_cast<std::uint32_t>(nRandom);
    }

    // The sum finds what happened by chance; this, what was made up.
    bool IsPossible(std::int32_t nLevels) const
    {
        const auto IsIn = [](std::int32_t nValue, std::int32_t nLeast, std::int32_t nMost)
        { return nValue >= nLeast && nValue <= nMost; };
        constexpr std::int32_t FASTEST = 10 * METRE;
        constexpr std::int32_t MUCH = 1000000000;
        const sFlight& o = m_oFlight;
        return IsIn(m_nLevel, 0, nLevels - 1) && IsIn(o.m_nX, 0, WORLD_WIDTH * METRE) &&
               IsIn(o.m_nY, -FASTEST, WORLD_HEIGHT * METRE) && IsIn(o.m_nSpeedX, -FASTEST, FASTEST) &&
               IsIn(o.m_nSpeedY, -FASTEST, FASTEST) && IsIn(o.m_nTilt, -CGame::MOST_TILT, CGame::MOST_TILT) &&
               IsIn(o.m_nThrottle, 0, CGame::MOST_THROTTLE) && IsIn(o.m_nFuel, 0, MUCH) &&
               IsIn(o.m_nState, flightFlying, flightCrashed) && IsIn(o.m_nGravity, 0, 20000) &&
               IsIn(o.m_nGust, -1000, 1000) && IsIn(o.m_nTick, 0, MUCH) && IsIn(o.m_nScore, 0, MUCH) &&
               o.m_nRandom != 0;
    }

    static std::uint32_t Sum(std::string_view sBytes, std::uint32_t nSum)
    {
        constexpr std::uint32_t PRIME = 16777619; // of the FNV-1a hash
        for (const char cByte : sBytes)
            nSum = (nSum ^ static_cast<unsigned char>(cByte)) * PRIME;
        return nSum;
    }
};
