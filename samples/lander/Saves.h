#pragma once

// Shows: the property manager (Common/Property/VQPropertyManager.h), the data stream with its versions
// (Common/File/VQDataStream.h) and the compressor (VQLzrwCompressor.h).
// Why: players keep their settings and games when the program changes. Values by name let an old file, and one with too
// much in it, be read; what it lacks comes from the defaults in the archive. A stream tells which version wrote it, and
// the newer fields are read only where they are. A sum over all bytes finds damage before anything is taken out of
// them.

#include "Game.h"

#include <array>
#include <cstring>
#include <span>
#include <string_view>

/// What the player has chosen.
class CSettings
{
public:
    /// Reads the defaults, and over them what the player has: "" or what is wrong with that file, which counts as none.
    std::string Load()
    {
        CFileIO oFile;
        oFile.Open("settings.vqp", CFileIO::READ);
        m_oValues.Read(&oFile);
        const auto ReadPlayers = [&]
        {
            CVQPropertyManager oPlayers(m_oValues);
            oFile.Open(FILE_NAME, CFileIO::READ);
            if (oFile.GetSize() > MOST_BYTES || !oPlayers.Read(&oFile) || !oFile.IsEof())
                throw std::runtime_error("it is damaged");
            m_oValues = oPlayers;
        };
        return std::filesystem::exists(FILE_NAME) ? GetError(ReadPlayers) : "";
    }

    /// Keeps them for the next time: "" or what went wrong.
    std::string Save()
    {
        return SaveSafely(FILE_NAME, [&](CFileIO& oFile) { return m_oValues.Write(&oFile); });
    }

    /// A number; 0 for what is not from 0 to nMost.
    int GetInt(const char* pName, int nMost) const
    {
        const CVQProperty& oValue = m_oValues.FindProperty(pName);
        return oValue.IsOfType(PROPTYPE_INT) && oValue.GetInt() >= 0 && oValue.GetInt() <= nMost ? oValue.GetInt() : 0;
    }

    void SetInt(const char* pName, int nValue) { m_oValues.SetProperty(pName, CVQProperty(nValue)); }

private:
    static constexpr const char* FILE_NAME = "player.vqp";
    static constexpr unsigned long MOST_BYTES = 1 << 16;

    CVQPropertyManager m_oValues;
};

/// A saved game: a header of "LNDR", the size of the stream and a sum over the rest, then the stream as one block.
class CSavedGame
{
public:
    static std::string Pack(sFlight oFlight)
    {
        CVQDataStream oStream(CVQDataStream::STORING);
        Transfer(oStream, oFlight);
        const auto nSize = static_cast<std::uint32_t>(oStream.GetSize());
        std::string sBlock(nSize + CVQLzrwCompressor::EXTRA_SIZE, '\0'); // of which three bytes stay as they are
        CVQLzrwCompressor oCompressor;
        oCompressor.SetSource(oStream.QueryBuffer(), static_cast<int>(nSize));
        oCompressor.SetDestination(sBlock.data(), static_cast<int>(sBlock.size()));
        sBlock.resize(static_cast<std::size_t>(oCompressor.Compress()));
        const Header aHeader = {MAGIC, nSize, Sum(sBlock, nSize)};
        return std::string(reinterpret_cast<const char*>(&aHeader), sizeof(aHeader)) + sBlock;
    }

    /// Takes the bytes of a saved game, which may hold anything, and throws for those that are none.
    static sFlight Unpack(const std::string& sBytes, int nLevels)
    {
        Header aHeader = {};
        std::string sBlock = sBytes.substr(std::min(sizeof(aHeader), sBytes.size()));
        std::memcpy(&aHeader, sBytes.data(), std::min(sizeof(aHeader), sBytes.size()));
        const auto [nMagic, nSize, nSum] = aHeader;
        std::array<unsigned char, 4096> aPlain;
        CVQLzrwCompressor oCompressor;
        oCompressor.SetSource(sBlock.data(), static_cast<int>(sBlock.size()));
        oCompressor.SetDestination(aPlain.data(), static_cast<int>(aPlain.size()));
        bool bRight =
            nMagic == MAGIC && nSum == Sum(sBlock, nSize) && oCompressor.Decompress() == static_cast<int>(nSize);

        sFlight oFlight;
        CVQDataStream oStream(aPlain.data(), bRight ? nSize : 0, CVQDataStream::LOADING, false);
        Transfer(oStream, oFlight); // throws when the stream is too short
        bRight = bRight && oStream.GetRemainingSize() == 0 && oFlight.m_nLevel < nLevels && oFlight.m_nRandom != 0;
        for (const auto& [pField, nLeast, nMost] : FIELDS) // the sum finds chance; this, what was made up
            bRight = bRight && oFlight.*pField >= nLeast && oFlight.*pField <= nMost;
        if (!bRight)
            throw std::runtime_error("it is damaged");
        return oFlight;
    }

private:
    using Header = std::array<std::uint32_t, 3>;       // magic, size, sum
    static constexpr std::uint32_t MAGIC = 0x52444E4C; // "LNDR"

    /// A number of a flight, and what it may be.
    struct sField
    {
        std::int32_t sFlight::*m_pField;
        std::int32_t m_nLeast, m_nMost;
    };

    static constexpr std::int32_t FASTEST = 10 * METRE, MUCH = 1000000000;
    static constexpr std::size_t FIRST_FIELDS = 11; // those that version 256 had
    static constexpr int FIRST_VERSION = 256, VERSION = 257;
    static constexpr sField FIELDS[] = {{&sFlight::m_nLevel, 0, MUCH},
                                        {&sFlight::m_nX, 0, WORLD_WIDTH* METRE},
                                        {&sFlight::m_nY, -FASTEST, WORLD_HEIGHT* METRE},
                                        {&sFlight::m_nSpeedX, -FASTEST, FASTEST},
                                        {&sFlight::m_nSpeedY, -FASTEST, FASTEST},
                                        {&sFlight::m_nTilt, -CGame::MOST_TILT, CGame::MOST_TILT},
                                        {&sFlight::m_nFuel, 0, MUCH},
                                        {&sFlight::m_nState, FLIGHT_FLYING, FLIGHT_CRASHED},
                                        {&sFlight::m_nGravity, 0, 20000},
                                        {&sFlight::m_nTick, 0, MUCH},
                                        {&sFlight::m_nRandom, INT32_MIN, INT32_MAX},
                                        {&sFlight::m_nThrottle, 0, CGame::MOST_THROTTLE},
                                        {&sFlight::m_nGust, -1000, 1000},
                                        {&sFlight::m_nScore, 0, MUCH}};

    // One function writes and reads, so that the two cannot differ.
    static void Transfer(CVQDataStream& oStream, sFlight& oFlight)
    {
        oStream.SerializeBegin(VERSION);
        const bool bFirst = oStream.IsLoading() && oStream.GetVersion() <= FIRST_VERSION;
        for (const sField& oField : std::span(FIELDS, bFirst ? FIRST_FIELDS : std::size(FIELDS)))
        {
            std::int32_t& nValue = oFlight.*oField.m_pField;
            oStream.IsStoring() ? oStream.Put(&nValue, sizeof(nValue)) : oStream.Get(&nValue, sizeof(nValue));
        }
        oStream.SerializeEnd();
    }

    static std::uint32_t Sum(std::string_view sBytes, std::uint32_t nSum)
    {
        for (const char cByte : sBytes)
            nSum = (nSum ^ static_cast<unsigned char>(cByte)) * 16777619; // the prime of the FNV-1a hash
        return nSum;
    }
};
