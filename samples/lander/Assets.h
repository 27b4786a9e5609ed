#pragma once

// Shows: roots and archives of the file system (Common/File/ExtendedFileSystem.h), files on the disk and in memory
// (FileIO.h, MemFileIO.h), and the string-resource hooks (Common/String/VQString.h).
// Why: a game ships one archive, and whoever changes it lays a loose file of the same name over it. A file is asked for
// by its name alone; the order of the roots decides which one comes. Texts are named by number: the hook answers in the
// language of the moment, so that switching while the game runs takes one assignment.

#include <Common/Common.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

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
        fnWork();
    }
    catch (const CVQException& oError)
    {
        return oError.GetErrorString();
    }
    catch (const std::exception& oError)
    {
        return oError.what();
    }
    return "";
}

/// The files that the game came with.
class CAssets
{
public:
    /// Sets the roots up, by the current directory; throws when the archive is missing, damaged or of another version.
    static void Open()
    {
        CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
        pFiles->Setup();
        pFiles->AddRoot(LOOSE_ROOT);
        pFiles->AddRoot(ARCHIVE_ROOT);
        if (!std::filesystem::exists("lander.arc") && !std::filesystem::is_directory(ARCHIVE_ROOT))
            throw std::runtime_error("lander.arc: is missing");
        Read("settings.vqp"); // the first file that comes out of the archive tells what is wrong with it
    }

    /// Reads a whole file; any thread may. Throws when it is not there or cannot be read.
    static std::string Read(const std::string& sName)
    {
        constexpr unsigned long MOST_BYTES = 1 << 20; // what players lay into the loose directory may be anything
        const auto oStart = Clock::now();
        CFileIO oFile;
        oFile.Open(sName.c_str(), CFileIO::READ);
        std::string sBytes(std::min(oFile.GetSize(), MOST_BYTES), '\0');
        if (!sBytes.empty())
            oFile.Read(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
        s_nMicroseconds += static_cast<unsigned>(std::lround(MillisecondsSince(oStart) * 1000));

        bool bLoose = false;
        for (const std::filesystem::path oRoot : {".", LOOSE_ROOT, ARCHIVE_ROOT})
            bLoose = bLoose || std::filesystem::exists(oRoot / sName);
        ++(bLoose ? s_nLoose : s_nArchived);
        s_nBytes += static_cast<unsigned>(sBytes.size());
        return sBytes;
    }

    // what was read so far, and from where
    static inline std::atomic<unsigned> s_nArchived = 0, s_nLoose = 0, s_nBytes = 0, s_nMicroseconds = 0;
};

/// Writes a file beside the one that is there and puts it in its place when it is whole: a full disk costs nothing that
/// was saved before. The work gets the open file, and answers whether it was written. Gives "" or what went wrong.
inline std::string SaveSafely(const std::string& sName, const std::function<bool(CFileIO&)>& fnWrite)
{
    const std::string sBeside = sName + ".tmp";
    const auto Write = [&]
    {
        CFileIO oFile;
        oFile.Open(sBeside.c_str(), CFileIO::WRITE);
        if (!fnWrite(oFile) || !oFile.Flush() || !oFile.Close())
            throw std::runtime_error("cannot be written");
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

/// The texts of the game in all its languages.
class CTexts
{
public:
    static constexpr const char* FILES[] = {"texts/english.txt", "texts/dutch.txt"};
    static constexpr int LANGUAGE_COUNT = static_cast<int>(std::size(FILES));

    static inline int s_nLanguage = 0; ///< below LANGUAGE_COUNT; may change at any time

    /// Reads all languages and installs the hook; throws when a file or a text is missing.
    static void Load()
    {
        for (int i = 0; i < LANGUAGE_COUNT; ++i)
        {
            // The same records can be read from a file on disk, in an archive and in memory: here a number and a text.
            std::string sBytes = CAssets::Read(FILES[i]);
            CMemFileIO oFile(reinterpret_cast<unsigned char*>(sBytes.data()), static_cast<unsigned>(sBytes.size()), 0);
            CVQString oText;
            for (int nId = 0; oFile.ReadAscii(nId) && oFile.ReadAscii(oText);)
                s_aTexts[i][nId] = oText;
            for (long nText = TEXT_ALTITUDE; nText <= TEXT_LAST; ++nText)
            {
                if (s_aTexts[i][nText].IsEmpty())
                    throw std::runtime_error(FILES[i] + (": text " + std::to_string(nText)) + " is missing");
            }
        }
        CVQString::s_pfnLoadString = &LoadString;
    }

private:
    static bool LoadString(long nId, CVQString& oTarget)
    {
        const bool bFound = s_aTexts[s_nLanguage].contains(nId);
        oTarget = bFound ? s_aTexts[s_nLanguage].at(nId) : CVQString();
        return bFound;
    }

    static inline std::map<long, CVQString> s_aTexts[LANGUAGE_COUNT];
};

/// A text in the language of the moment: a string that is made of a number asks the hook.
inline std::string Text(long nText)
{
    return ~CVQString(CVQStringId(nText));
}
