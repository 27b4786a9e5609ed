#pragma once

// Shows: roots and archives of the file system (Common/File/ExtendedFileSystem.h) and files (Common/File/FileIO.h).
// Why: a game ships one archive, and whoever changes it lays a loose file of the same name over it. A file is asked for
// by its name alone; the order of the roots decides which one comes.

#include <Common/Debug/VQException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/ProcessControl/VQCriticalSection.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

constexpr const char* LOOSE_ROOT = "mods";     ///< a directory; what lies in it comes first
constexpr const char* ARCHIVE_ROOT = "lander"; ///< the archive lander.arc

/// What was opened so far, and from where.
struct sAssetCounts
{
    unsigned m_nArchived = 0, m_nLoose = 0, m_nBytes = 0;
    double m_dMilliseconds = 0;
};

/// The files that the game came with.
class CAssets
{
public:
    /// Sets the roots up, by the current directory; throws when the archive is missing, damaged or of another version.
    static void Open()
    {
        CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
        pFiles->Setup();
        pFiles->RemoveAllRoots();
        pFiles->AddRoot(LOOSE_ROOT);
        pFiles->AddRoot(ARCHIVE_ROOT);

        const std::string sArchive = std::string(ARCHIVE_ROOT) + ".arc";
        if (!CFileIO::FileExists(sArchive.c_str()) && !std::filesystem::is_directory(ARCHIVE_ROOT))
            throw std::runtime_error(sArchive + ": is missing");
        Read("settings.vqp"); // the first file that comes out of the archive tells what is wrong with it
    }

    /// Reads a whole file; any thread may. Throws when it is not there or cannot be read.
    static std::string Read(const std::string& sName)
    {
        const auto oStart = std::chrono::steady_clock::now();
        CFileIO oFile;
        oFile.Open(sName.c_str(), CFileIO::READ);
        std::string sBytes(std::min<unsigned long>(oFile.GetSize(), MOST_BYTES), '\0');
        if (!sBytes.empty())
            oFile.Read(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
        const std::chrono::duration<double, std::milli> oTime = std::chrono::steady_clock::now() - oStart;

        // the system knows the attributes of what lies on the disk alone
        const auto IsLoose = [&](const char* pRoot)
        { return FILE_GetFileAttributes((pRoot + ('/' + sName)).c_str()) != NO_ATTRIBUTES; };
        const bool bLoose = IsLoose(".") || IsLoose(LOOSE_ROOT) || IsLoose(ARCHIVE_ROOT);
        s_oLock.Enter();
        ++(bLoose ? s_oCounts.m_nLoose : s_oCounts.m_nArchived);
        s_oCounts.m_nBytes += static_cast<unsigned>(sBytes.size());
        s_oCounts.m_dMilliseconds += oTime.count();
        s_oLock.Leave();
        return sBytes;
    }

    /// To be asked while nobody reads.
    static const sAssetCounts& GetCounts() { return s_oCounts; }

private:
    static constexpr unsigned NO_ATTRIBUTES = 0xFFFFFFFF;
    static constexpr unsigned long MOST_BYTES = 1 << 20; // what players lay into the loose directory may be anything

    static inline CVQCriticalSection s_oLock;
    static inline sAssetCounts s_oCounts;
};

/// Writes a file beside the one that is there and puts it in its place when it is whole: a full disk costs nothing that
/// was saved before. The work gets the open file, and answers whether it was written. Gives "" or what went wrong.
template <class TWrite>
std::string SaveSafely(const std::string& sName, TWrite fnWrite)
{
    const std::string sBeside = sName + ".tmp";
    std::string sError = sName + ": cannot be written";
    std::error_code oError;
    try
    {
        CFileIO oFile;
        if (oFile.Open(sBeside.c_str(), CFileIO::WRITE) && fnWrite(oFile) && oFile.Flush() && oFile.Close())
        {
            std::filesystem::rename(sBeside, sName, oError);
            if (!oError)
                return "";
        }
    }
    catch (const CVQException& oFailure)
    {
        sError = sName + ": " + oFailure.GetErrorString();
    }
    std::filesystem::remove(sBeside, oError);
    return sError;
}
