#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <memory>
#include <vector>

class CVQEvent;

/// Why a report function is called.
enum eScannerMode : std::int32_t
{
    eScannerStarted = 0,  ///< the worker thread begins
    eScannerFile = 1,     ///< a file was found
    eScannerFinished = 2, ///< the worker thread has walked everything
    eScannerStopped = 3   ///< the worker thread ends because of CVQFileScanner::StopThread()
};

/// A file that a scan has found. It is valid during the call of the report function alone.
struct sFileData
{
    CVQString m_oFileName;      ///< its name, without any directory
    CVQString m_oDirectory;     ///< the directory that is searched
    CVQString m_oRelativePart;  ///< what the search adds to it: nothing
    CVQString m_oFullDirectory; ///< both together
};

/// Walks directories of the disk and reports every file whose name matches a pattern, here or on a thread of its own.
///
///     void Report(eScannerMode nMode, sFileData* pData, unsigned long)
///     {
///         if (nMode == eScannerFile)
///             std::printf("%s\\%s\n", ~pData->m_oFullDirectory, ~pData->m_oFileName);
///     }
///
///     CVQFileScanner oScanner;
///     oScanner.AddScanDirectory("levels", "*.lvl");
///     oScanner.AddScanDirectory("sounds", "*.*");
///     oScanner.Run(Report, 0);
///
/// In a pattern '*' stands for any bytes and '?' for one; the case of letters does not count, and "*.*" matches every
/// name. Directories that match are not reported.
///
/// The files of a directory come before those of its subdirectories, both in the order of names. A subdirectory whose
/// name begins with a dot is left out. A link counts as what it leads to; on Linux one that leads back to a directory
/// above it is not entered again. A directory that cannot be read has no files: nothing is said about it.
///
/// It walks the disk itself: archives and roots of CExtendedFileSystem are not seen.
///
/// An object belongs to one thread at a time. The worker thread works on a copy of it.
class COMMON_API CVQFileScanner
{
public:
    /// Takes reports. The last argument is the value that was given to Run() or RunThread().
    ///
    /// The record is null for all modes but eScannerFile. The function may stop the scan, change the scanner for its
    /// next run, and throw where it was called by Run().
    using TReportFn = void (*)(eScannerMode nMode, sFileData* pData, unsigned long nUserValue);

    /// Subdirectories are included; there is nothing to scan yet.
    CVQFileScanner();
    CVQFileScanner(const CVQFileScanner& oOther);
    CVQFileScanner& operator=(const CVQFileScanner& oOther);
    /// A worker thread that runs goes on.
    virtual ~CVQFileScanner();

    /// Chooses whether Run() and RunThread() enter subdirectories.
    void SetIncludeSubDirs(bool bInclude) noexcept;

    /// Adds a directory, and what its files must match. Whether it is there is not asked.
    void AddScanDirectory(const CVQString& oDirectory, const CVQString& oPattern);

    /// Walks everything now. Only files are reported, neither start nor end.
    ///
    /// @param pReport     is called for each file
    /// @param nUserValue  is handed to it
    void Run(TReportFn pReport, unsigned long nUserValue);

    /// Walks everything on a thread of its own, which reports start, files and end.
    ///
    /// @param pReport      is called on that thread
    /// @param nUserValue   is handed to it
    /// @param pStartEvent  what the thread waits for before it begins, null for nothing; it must live until the end is
    ///                     reported
    void RunThread(TReportFn pReport, unsigned long nUserValue, CVQEvent* pStartEvent);

    /// Stops the scans of all scanners, for good: every scan from then on looks at the first two entries of a directory
    /// that match and at no subdirectories of it. Kept: it is one flag of the process that nothing takes back.
    ///
    /// Any thread may call it.
    static void StopThread() noexcept;

    /// Counts what a walk would meet, subdirectories always included, whether scans are stopped or not.
    ///
    /// @param nFiles    takes the number of files that match
    /// @param nFolders  takes the number of subdirectories
    /// @param oPattern  what files must match, in every directory that was added
    void GetFolderFileCount(int& nFiles, int& nFolders, const CVQString& oPattern) const;

private:
    struct SContext;

    static std::uint32_t ThreadProcess(std::uintptr_t nContext);

    bool m_bIncludeSubDirs;
    std::shared_ptr<void> m_pThread; // the handle of the last thread that was started
    std::vector<CVQString> m_aDirectories;
    std::vector<CVQString> m_aPatterns; // one for each directory
};
