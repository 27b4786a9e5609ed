#pragma once

// Shows: roots and archives of the file system (Common/File/ExtendedFileSystem.h), files on the disk and in memory
// (FileIO.h, MemFileIO.h), and the string-resource hooks (Common/String/VQString.h).
// Why: a game ships one archive, and whoever changes it lays a loose file of the same name over it. A file is asked for
// by its name alone; the order of the roots decides which one comes. Texts are named by number: the hook answers in the
// language of the moment, so that switching while the game runs takes one assignment.

#include <Common/Common.h> // and the standard headers that its interface needs

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <stdexcept>

constexpr const char* LOOSE_ROOT = "mods";     ///< a directory; what lies in it comes first
constexpr const char* ARCHIVE_ROOT = "lander"; ///< the archive lander.arc

using Clock = std::chrono::steady_clock;

inline double MillisecondsSince(Clock::time_point oStart)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - oStart).count();
}

/// Does some work: "", or what went wrong, whoever has thrown it.
inline std::string GetError(const std::function<void()>& fnWork)
{
    try
    {
        return fnWork(), "";
    }
    catch (const CVQException& oError)
    {
        return oError.GetErrorString();
    }
    catch (const std::exception& oError)
    {
        return oError.what();
    }
}

/// Throws unless something holds.
inline void Require(bool bHolds, const std::string& sError)
{
    if (!bHolds)
        throw std::runtime_error(sError);
}

/// Sets the roots up, by the current directory; throws when the archive is missing, damaged or of another version.
inline void OpenAssets()
{
    CExtendedFileSystem::Instance()->AddRoot(LOOSE_ROOT);
    CExtendedFileSystem::Instance()->AddRoot(ARCHIVE_ROOT);
    const bool bThere = std::filesystem::exists("lander.arc") || std::filesystem::is_directory(ARCHIVE_ROOT);
    Require(bThere, "lander.arc: is missing");
    CFileIO().Open("settings.vqp", CFileIO::READ); // the first file out of the archive tells what is wrong with it
}

// What was read so far, and from where.
inline std::atomic<unsigned> g_nArchived = 0, g_nLoose = 0, g_nBytes = 0, g_nMicroseconds = 0;

/// Reads a whole file; any thread may. Throws when it is not there or cannot be read.
inline std::string ReadAsset(const std::string& sName)
{
    const auto oStart = Clock::now();
    CFileIO oFile;
    oFile.Open(sName.c_str(), CFileIO::READ);
    std::string sBytes(std::min(oFile.GetSize(), 1UL << 20), '\0'); // players may lay anything into the loose directory
    if (!sBytes.empty())
        oFile.Read(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
    g_nMicroseconds += static_cast<unsigned>(std::lround(MillisecondsSince(oStart) * 1000));
    g_nBytes += static_cast<unsigned>(sBytes.size());

    bool bLoose = false;
    for (const std::filesystem::path oRoot : {".", LOOSE_ROOT, ARCHIVE_ROOT})
        bLoose = bLoose || std::filesystem::exists(oRoot / sName);
    ++(bLoose ? g_nLoose : g_nArchived);
    return sBytes;
}

/// Writes a file beside the one that is there and puts it in its place when it is whole: a full disk costs nothing that
/// was saved before. The work gets the open file, and answers whether it was written. Gives "" or what went wrong.
inline std::string SaveSafely(const std::string& sName, const std::function<bool(CFileIO&)>& fnWrite)
{
    const std::string sBeside = sName + ".tmp";
    const auto Write = [&]
    {
        CFileIO oFile;
        oFile.Open(sBeside.c_str(), CFileIO::WRITE);
        Require(fnWrite(oFile) && oFile.Flush() && oFile.Close(), "cannot be written");
        std::filesystem::rename(sBeside, sName);
    };
    const std::string sError = GetError(Write);
    std::error_code oNone; // it may not even be there
    std::filesystem::remove(sBeside, oNone);
    return sError.empty() ? "" : sName + ": " + sError;
}

/// Numbers of the texts, the same in every language; see assets/texts.
constexpr long TEXT_ALTITUDE = 101, TEXT_SPEED = 102, TEXT_FUEL = 103, TEXT_SCORE = 104, TEXT_PAUSED = 105,
               TEXT_LANDED = 106, TEXT_CRASHED = 107, TEXT_KEYS = 108, TEXT_SAVED = 109, TEXT_LOADED = 110,
               TEXT_NOT_SAVED = 111, TEXT_NOT_LOADED = 112, TEXT_LANGUAGE = 113, TEXT_REPORT = 114,
               TEXT_SECOND_PLAYER = 115, TEXT_LOADING = 116, TEXT_CONTINUE = 117, TEXT_ANSWERS = 118,
               TEXT_LEVEL_ERRORS = 119, TEXT_HELP = 120, TEXT_UNKNOWN = 121, TEXT_LAST = TEXT_UNKNOWN;

constexpr const char* LANGUAGES[] = {"texts/english.txt", "texts/dutch.txt"};

inline std::map<long, CVQString> g_aTexts[std::size(LANGUAGES)];
inline std::size_t g_nLanguage = 0; ///< an index of both; may change at any time

/// Reads the texts in all languages and installs the hook; throws when a file or a text is missing.
inline void LoadTexts()
{
    for (std::size_t i = 0; i < std::size(LANGUAGES); ++i)
    {
        // The same records can be read from a file on disk, in an archive and in memory: here a number and a text.
        std::string sBytes = ReadAsset(LANGUAGES[i]);
        CMemFileIO oFile(reinterpret_cast<unsigned char*>(sBytes.data()), static_cast<unsigned>(sBytes.size()), 0);
        CVQString oText;
        for (int nId = 0; oFile.ReadAscii(nId) && oFile.ReadAscii(oText);)
            g_aTexts[i][nId] = oText;
        for (long nText = TEXT_ALTITUDE; nText <= TEXT_LAST; ++nText)
            Require(!g_aTexts[i][nText].IsEmpty(), LANGUAGES[i] + (": text " + std::to_string(nText)) + " is missing");
    }
    CVQString::s_pfnLoadString = [](long nId, CVQString& oTarget)
    {
        oTarget = g_aTexts[g_nLanguage].contains(nId) ? g_aTexts[g_nLanguage].at(nId) : "";
        return !oTarget.IsEmpty();
    };
}

/// A text in the language of the moment: a string that is made of a number asks the hook.
inline std::string Text(long nText)
{
    return ~CVQString(CVQStringId(nText));
}
