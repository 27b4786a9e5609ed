#pragma once

// Shows: the property manager (Common/Property/VQPropertyManager.h), the data stream with its versions
// (Common/File/VQDataStream.h) and the compressor (VQLzrwCompressor.h).
// Why: players keep their settings and games when the program changes. Values by name let an old file, and one with too
// much in it, be read; what it lacks comes from the defaults in the archive. A stream tells which version wrote it, and
// the newer fields are read only where they are. A sum over all bytes finds damage before anything is taken out of
// them.

#include "Game.h"

#include <bit>

/// What the player has chosen.
class CSettings : public CVQPropertyManager
{
public:
    /// Reads the defaults, and over them what the player has: "" or what is wrong with that file, which counts as none.
    std::string Load()
    {
        CFileIO oFile;
        oFile.Open("settings.vqp", CFileIO::READ);
        Read(&oFile);
        const auto ReadPlayers = [&]
        {
            CSettings oPlayers(*this);
            oFile.Open(FILE_NAME, CFileIO::READ);
            Require(oPlayers.Read(&oFile) && oFile.IsEof(), "player.vqp: is damaged");
            *this = oPlayers;
        };
        return std::filesystem::exists(FILE_NAME) ? GetError(ReadPlayers) : "";
    }

    /// A number from 0 to nMost; what is beyond comes to the nearer of the two.
    int GetInt(const char* pName, int nMost) const { return std::clamp(FindProperty(pName).GetInt(), 0, nMost); }

    static constexpr const char* FILE_NAME = "player.vqp";
};

// A saved game is a header of "LNDR", the size of the stream and a sum over the rest, then the stream as one block.
namespace SavedGame
{
using Header = std::array<std::uint32_t, 3>;
constexpr std::uint32_t MAGIC = 0x52444E4C; // "LNDR"

// The least and the most that a flight may hold. Version 256 knew no throttle, gust and score, which are the last
// three.
constexpr int VERSION = 257;
constexpr std::int32_t FASTEST = 10 * METRE, MUCH = 1000000000, TILT = CGame::MOST_TILT;
using Numbers = std::array<std::int32_t, 14>;
constexpr Numbers LEAST = {0, 0, -FASTEST, -FASTEST, -FASTEST, -TILT, 0, 0, 0, 0, INT32_MIN, 0, -CGame::MOST_GUST, 0};
constexpr Numbers MOST = {
    MUCH,      WORLD_RIGHT,          WORLD_TOP,        FASTEST, FASTEST, TILT, MUCH, FLIGHT_CRASHED, 20000, MUCH,
    INT32_MAX, CGame::MOST_THROTTLE, CGame::MOST_GUST, MUCH};

// One function writes and reads, so that the two cannot differ.
inline void Transfer(CVQDataStream& oStream, Numbers& aNumbers)
{
    oStream.SerializeBegin(VERSION);
    const std::size_t nMissing = oStream.IsLoading() && oStream.GetVersion() < VERSION ? 3 : 0;
    for (std::int32_t& nNumber : std::span(aNumbers).first(aNumbers.size() - nMissing))
        oStream.IsStoring() ? oStream.Put(&nNumber, sizeof(nNumber)) : oStream.Get(&nNumber, sizeof(nNumber));
    oStream.SerializeEnd();
}

inline std::uint32_t Sum(const std::string& sBytes, std::uint32_t nSum)
{
    for (const char cByte : sBytes)
        nSum = (nSum ^ static_cast<unsigned char>(cByte)) * 16777619; // the prime of the FNV-1a hash
    return nSum;
}

inline std::string Pack(const sFlight& oFlight)
{
    CVQDataStream oStream(CVQDataStream::STORING);
    auto aNumbers = std::bit_cast<Numbers>(oFlight);
    Transfer(oStream, aNumbers);
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
inline sFlight Unpack(std::string sBytes, std::size_t nLevels)
{
    Header aHeader;
    sBytes.resize(std::max(sBytes.size(), sizeof(aHeader)));
    std::memcpy(&aHeader, sBytes.data(), sizeof(aHeader));
    const auto [nMagic, nSize, nSum] = aHeader;
    std::string sBlock = sBytes.substr(sizeof(aHeader));
    std::array<unsigned char, 4096> aPlain;
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(sBlock.data(), static_cast<int>(sBlock.size()));
    oCompressor.SetDestination(aPlain.data(), static_cast<int>(aPlain.size()));
    bool bRight = nMagic == MAGIC && nSum == Sum(sBlock, nSize) && oCompressor.Decompress() == static_cast<int>(nSize);

    Numbers aNumbers = {};
    CVQDataStream oStream(aPlain.data(), bRight ? nSize : 0, CVQDataStream::LOADING, false);
    Transfer(oStream, aNumbers); // throws when the stream is too short
    const auto oFlight = std::bit_cast<sFlight>(aNumbers);
    bRight = bRight && oStream.GetRemainingSize() == 0 && static_cast<std::size_t>(oFlight.m_nLevel) < nLevels &&
             oFlight.m_nRandom != 0;
    for (std::size_t i = 0; i < aNumbers.size(); ++i) // the sum finds chance; this, what was made up
        bRight = bRight && aNumbers[i] >= LEAST[i] && aNumbers[i] <= MOST[i];
    Require(bRight, "the saved game is damaged");
    return oFlight;
}
} // namespace SavedGame
