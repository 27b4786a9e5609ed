#pragma once

#include <Common/Export.h>
#include <Common/File/ArchiveFormat.h>
#include <Common/ProcessControl/VQCriticalSection.h>
#include <Common/ProcessControl/VQMutex.h>
#include <Common/String/VQString.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <vector>

class CFileBuffer;

/// One slot of the file system's table of open files: a view of a range of a physical file.
///
/// A plain file is a view of the whole file, a file inside an archive a view of its entry's bytes.
struct sFileInfo
{
    /// Marks a free slot.
    static constexpr std::int32_t FREE = -1;

    /// Handle of the physical file, FREE for a free slot. Any thread may look at it, so it is atomic.
    std::atomic<std::int32_t> m_nFile{FREE};

    /// Offset in the physical file at which this file's bytes begin.
    std::uint32_t m_nStart = 0;

    /// Length of this file in bytes.
    std::uint32_t m_nSize = 0;

    /// Where the next byte is read or written, counted from m_nStart.
    std::uint32_t m_nPosition = 0;

    sFileInfo() = default;

    /// Copies the four fields.
    sFileInfo(const sFileInfo& oOther);

    /// Copies the four fields.
    sFileInfo& operator=(const sFileInfo& oOther);
};

static_assert(sizeof(sFileInfo) == 16);

/// A registered node of an archive: the archive file itself or one of the directories in it.
struct sArchiveInfo
{
    char m_aName[1024];           ///< file name and extension of an archive file; of a directory its entry's name
    std::uint32_t m_nBase;        ///< where the node's header stands in the physical file
    sArchiveHeader m_oHeader;     ///< copy of the header
    sArchiveEntry* m_pEntries;    ///< the directory table; null for a node without entries
    sArchiveInfo* m_pFirstChild;  ///< the node below this one that was registered last
    sArchiveInfo* m_pNextSibling; ///< the next node with the same parent
    char* m_pPhysicalPath;        ///< the physical file to open: the archive file's name, shared by its nodes
};

static_assert(sizeof(void*) != 4 || sizeof(sArchiveInfo) == 1076);

// A system header may have made CreateFile a macro; the member's name stays what it is, see CreateFileA().
#pragma push_macro("CreateFile")
#undef CreateFile

/// The file system of the process: every file of the library is opened through it, by name, wherever it lies.
///
/// A program adds roots, the directories that relative names are looked for in; a name is tried as it stands first,
/// then below each root in turn, each time as a plain file and then as a path into an archive. What comes back is a
/// handle, a number from 1 to 256:
///
///     CExtendedFileSystem* pFiles = CExtendedFileSystem::Instance();
///     pFiles->AddRoot("patch");
///     pFiles->AddRoot("data");
///
///     char aBlock[4096];
///     const unsigned long nFile = pFiles->OpenFile("textures/wall.tga");    // or patch\textures\wall.tga, or ...
///     const unsigned long nRead = pFiles->ReadFile(nFile, aBlock, sizeof aBlock);
///     pFiles->CloseFile(nFile);
///
/// "textures/wall.tga" is also found when there is an archive textures.arc with an entry wall.tga.
///
/// CFileIO is the object around one handle and what most callers want.
///
/// Any thread may call. Opening is serialised by one lock, which is never held when an exception leaves. Reading,
/// writing and seeking take no lock: a handle belongs to one thread at a time. Roots may be added and removed while
/// other threads open files; a reference that GetRoot() returned is good until the next change of the roots. Callbacks
/// are set up before the operations that call them. A process that forks waits for the lock of Instance(), so that its
/// copy can open files.
///
/// Errors are thrown as CXfsException with the source file "Common/File/ExtendedFileSystem"; each member names its
/// codes. A handle that is not open is 4008 "Invalid file handle." everywhere. After a failed read or write the file
/// stays open, and its position is what it was. A seek only notes the position; that the system cannot move there is
/// told by the next read or write, as 4006 or 4007.
class COMMON_API CExtendedFileSystem
{
public:
    /// What archive operations call: an event, its two arguments and the value given to AddCallback().
    using Callback = void (*)(int, unsigned long, unsigned long, unsigned long);

    /// Copies every member but the locks. The copy shares the open files and the archives with its source.
    CExtendedFileSystem(const CExtendedFileSystem& oOther);

    /// Copies what the copy constructor copies. Files that were open before are flushed, and not closed.
    CExtendedFileSystem& operator=(const CExtendedFileSystem& oOther);

    /// Forgets the roots and callbacks. Files that are still open are not closed.
    virtual ~CExtendedFileSystem();

    /// The file system of this process.
    static CExtendedFileSystem* Instance();

    /// Notes that the file system is in use. It may be called any number of times.
    ///
    /// @return true
    bool Setup();

    /// Tells whether Setup() was called.
    bool IsSetup() const;

    /// Adds a root behind the others; an empty name is not added. Names are neither checked nor changed.
    void AddRoot(const CVQString& sRoot);

    /// Adds a root behind the others; a null or an empty name is not added.
    void AddRoot(const char* pRoot);

    /// Removes the first root that equals a name without regard to case; the roots behind it move up.
    void RemoveRoot(const CVQString& sRoot);

    /// Removes the first root that equals a name without regard to case; the roots behind it move up.
    void RemoveRoot(const char* pRoot);

    /// Removes all roots.
    void RemoveAllRoots();

    /// Number of roots.
    long GetRootCount() const;

    /// Tells whether there is a root.
    bool HasRoots() const;

    /// A root in the order of the search.
    ///
    /// @param nIndex  0 to GetRootCount() - 1, not checked
    const CVQString& GetRoot(long nIndex) const;

    /// Opens a file for reading: the name as it stands, then below each root in turn, plain before archived.
    ///
    /// @return the handle, 1 to 256; 0 for a null name
    /// @throws CXfsException  4002 when there is no such file, also when all 256 handles are in use; 4010 when a plain
    ///                        file has 4 GiB or more or an archive that was found does not open; 4006 and 4014 for a
    ///                        broken archive on the way
    unsigned long OpenFile(const char* pName);

    /// Creates a file, or empties the one that is there, for writing. Roots are not used.
    ///
    /// @return the handle, 1 to 256; 0 for a null name
    /// @throws CXfsException  4001 when all 256 handles are in use, 4005 when the file cannot be created
    unsigned long CreateFile(const char* pName);

    /// Opens a file for writing at its end, or creates it. Roots are not used.
    ///
    /// @return the handle, 1 to 256; 0 for a null name
    /// @throws CXfsException  4001 when all 256 handles are in use, 4015 when the file cannot be opened, has no length
    ///                        (a pipe), or has 4 GiB or more
    unsigned long AppendFile(const char* pName);

    /// CreateFile() under the name that a system header's macro of that name gives to a call of it.
    ///
    /// A template, so that it is compiled where it is called and does not leave the library.
    template <typename tNone = void>
    unsigned long CreateFileA(const char* pName)
    {
        return CreateFile(pName);
    }

    /// CreateFile() under the name that a system header's macro of that name gives to a call of it.
    template <typename tNone = void>
    unsigned long CreateFileW(const char* pName)
    {
        return CreateFile(pName);
    }

    /// Closes a file and frees its handle.
    ///
    /// It does not tell whether the last buffered bytes reached the disk: who writes calls Flush() first and looks at
    /// its result.
    ///
    /// @return true
    /// @throws CXfsException  4008
    bool CloseFile(unsigned long nHandle);

    /// Reads up to nCount bytes, never past the end of the file.
    ///
    /// @return bytes read; 0 at the end of the file
    /// @throws CXfsException  4006 when the file's bytes cannot be read, 4008 also for an nCount of 0
    unsigned long ReadFile(unsigned long nHandle, void* pTarget, unsigned long nCount);

    /// Writes bytes. An nCount of 0 writes nothing and returns 1, whatever the handle is; kept: callers rely on it.
    ///
    /// @return nCount
    /// @throws CXfsException  4007 when the bytes cannot be written or the file would pass 4 GiB, 4008
    unsigned long WriteFile(unsigned long nHandle, const void* pSource, unsigned long nCount);

    /// Reads one byte into the lowest byte of nCharacter; the other bytes stay as they are.
    ///
    /// @return true when a byte was read, false at the end of the file
    /// @throws CXfsException  4006, 4008
    bool ReadChar(unsigned long nHandle, int& nCharacter);

    /// Writes the lowest byte of nCharacter.
    ///
    /// @return true when it was written
    /// @throws CXfsException  4007, 4008
    bool WriteFile(unsigned long nHandle, int nCharacter);

    /// Reads a line, without its end, and terminates it.
    ///
    /// A line ends at a carriage return or a line feed, and one more byte of either kind is taken with it; so two line
    /// feeds end one line. A line of more than nSize - 1 bytes comes in pieces. A last single byte of the file behind
    /// what was read stays unread, even a line end. Kept: callers rely on all of it.
    ///
    /// @param pTarget  nSize bytes
    /// @return         true, also at the end of the file, where the line is empty
    /// @throws CXfsException  4006; 4008 also for an nSize of 0
    bool ReadLine(unsigned long nHandle, char* pTarget, unsigned long nSize);

    /// Writes a text; no line end is added.
    ///
    /// @return true
    /// @throws CXfsException  4007, 4008
    bool WriteLine(unsigned long nHandle, const char* pText);

    /// Writes a formatted text. One without any characters is an error; kept: callers rely on it.
    ///
    /// @return true
    /// @throws CXfsException  4007, 4008
    bool Printf(unsigned long nHandle, const char* pFormat, ...) COMMON_PRINTF_FORMAT(3, 4);

    /// Printf() with the arguments in a list.
    bool VPrintf(unsigned long nHandle, const char* pFormat, va_list pArguments) COMMON_PRINTF_FORMAT(3, 0);

    /// Hands what was written to the system.
    ///
    /// @return false when it could not be written
    /// @throws CXfsException  4008
    bool Flush(unsigned long nHandle);

    /// Moves the position to nPosition, at most the size of the file.
    ///
    /// @return true
    /// @throws CXfsException  4009 when the target lies outside the file, 4008
    bool Seek(unsigned long nHandle, unsigned long nPosition);

    /// Moves the position by nDelta, within the file.
    ///
    /// @return true
    /// @throws CXfsException  4009 when the target lies outside the file, 4008
    bool SeekCurrent(unsigned long nHandle, long nDelta);

    /// Moves the position to nBack bytes before the end of the file.
    ///
    /// @return true
    /// @throws CXfsException  4009 when the target lies outside the file, 4008
    bool SeekEnd(unsigned long nHandle, unsigned long nBack);

    /// Moves the position to the start of the file.
    ///
    /// @return true
    /// @throws CXfsException  4009, 4008
    bool Rewind(unsigned long nHandle);

    /// Position in the file, in bytes from its start.
    ///
    /// @throws CXfsException  4008
    unsigned long Tell(unsigned long nHandle) const;

    /// Length of the file in bytes.
    ///
    /// @throws CXfsException  4008
    unsigned long GetFileSize(unsigned long nHandle) const;

    /// Tells whether the position is the end of the file.
    ///
    /// @throws CXfsException  4008
    bool IsEof(unsigned long nHandle) const;

    /// Tells whether a number is the handle of an open file. It never throws.
    bool IsFileOpen(unsigned long nHandle) const;

    /// Tells whether a file can be opened under a name as it stands or below the first root.
    ///
    /// Later roots are not asked, unlike OpenFile() does; kept: callers rely on it. A plain file of 4 GiB or more
    /// exists, though OpenFile() refuses it. The answer is false when all 256 handles are in use.
    ///
    /// @throws CXfsException  4010, 4006 and 4014 for an archive on the way, as OpenFile()
    bool FileExists(const char* pName) const;

    /// Packs a directory with all below it into an archive.
    ///
    /// The last name of the directory loses its extension: "data/level.1" packs "data/level". Kept: callers rely on it.
    /// A separator at the end names a directory as it is: "data/level.1/". So does an empty name, the current one.
    ///
    /// The files are stored in the order of a directory search, so the same tree makes the same archive everywhere.
    /// Links are followed. The bytes go through a small buffer, however large the files are. The current directory of
    /// the process changes meanwhile, so no other thread should open files; it is what it was when the call returns or
    /// throws.
    ///
    /// @param pArchive    name of the archive; ".arc" is appended unless it is the extension already
    /// @param pDirectory  the directory
    /// @return            true
    /// @throws CXfsException  4006 when a file cannot be read or shrank; 4007 when a file's bytes cannot be written or
    ///                        the archive would pass 4 GiB; 4010 when the archive or a file does not open, when a name
    ///                        could not be extracted again, when a link leads back to where it is packed, and when the
    ///                        archive would hold itself; 4012 when the header cannot be written; 4013 when the table
    ///                        cannot, and for a name of 256 bytes or more; 4016 when a directory cannot be entered, and
    ///                        for more than 1000 levels of directories. The archive is then incomplete
    bool CreateArchive(const char* pArchive, const char* pDirectory);

    /// Unpacks an archive into a directory named after it.
    ///
    /// The directory keeps the name of the archive without ".arc"; it may be there already, and files in it are
    /// replaced. Nothing is written outside of it: a name that leads elsewhere is refused, and a link in the way is
    /// replaced or refused, never followed. The archive is checked like any bytes from outside. The last name of the
    /// destination loses its extension, as in CreateArchive(), and the current directory changes and comes back as
    /// there. The registered archives are neither used nor changed.
    ///
    /// @param pArchive    name of the archive; ".arc" is appended unless it is the extension already
    /// @param pDirectory  where the directory is made; it must be there
    /// @return            false when there is no such archive
    /// @throws CXfsException  4005 when a file cannot be created, has a name that is none ("", "..", "a/b"), or the
    ///                        name of another in its directory, as far as the disk tells them apart; 4006 when the
    ///                        archive is broken or cannot be read; 4007 when a file cannot be written; 4014 when it is
    ///                        no archive or one of another version; 4016 when a directory cannot be made or entered,
    ///                        and for more than 1000 levels of directories
    bool ExtractArchive(const char* pArchive, const char* pDirectory);

    /// Adds a function that archive operations call for each file and directory, behind the others; null is not added.
    ///
    /// A function may be added more than once, and is then called as often.
    void AddCallback(Callback pCallback, unsigned long nUserValue);

    /// Removes the first entry with a function.
    void RemoveCallback(Callback pCallback);

    /// Number of callbacks.
    long GetCallbackCount() const;

    /// Tells whether there is a callback.
    bool HasCallbacks() const;

private:
    static constexpr unsigned long MAX_FILES = 256;
    static constexpr unsigned long MAX_ARCHIVES = 256;

    enum class ePlainFile : std::uint8_t
    {
        Missing,
        Opened,
        TooLarge
    };

    struct sCallback
    {
        Callback m_pFunction;
        unsigned long m_nUserValue;
    };

    CExtendedFileSystem();

    sFileInfo* AllocFileInfo();
    sFileInfo& RequireFreeSlot();
    sFileInfo* GetFileForHandle(unsigned long nHandle);
    const sFileInfo* GetFileForHandle(unsigned long nHandle) const;
    unsigned long GetHandleForFile(const sFileInfo* pInfo) const;

    // The slot of an open handle; throws 4008 with the caller's line when there is none.
    sFileInfo& RequireFile(unsigned long nHandle, unsigned long nLine);
    const sFileInfo& RequireFile(unsigned long nHandle, unsigned long nLine) const;

    // The name as it stands, then below each root; 0 when it is nowhere.
    unsigned long SearchFile(const char* pName);
    unsigned long ArchiveFileOpen(const char* pPath);
    static ePlainFile OpenPlainFile(const char* pPath, int& nFile, std::uint32_t& nSize);
    bool ProbeFile(const char* pPath);

    // The buffer of a slot.
    CFileBuffer& BufferOf(const sFileInfo& oInfo) const;

    // Fills a free slot and with that makes its handle valid. The physical file was just opened and its pointer stands
    // at nPosition.
    unsigned long OccupySlot(sFileInfo& oInfo, int nFile, bool bWritable, std::uint32_t nStart, std::uint32_t nSize,
                             std::uint32_t nPosition);

    // Takes the open files of another file system, with buffers of its own for them.
    void ShareFiles(const CExtendedFileSystem& oOther);

    // Takes the registered archives of another file system, in nodes of its own; the tables are shared.
    void ShareArchives(const CExtendedFileSystem& oOther);

    static void AdvanceAfterWrite(sFileInfo& oInfo, std::uint32_t nCount);
    bool SeekTo(sFileInfo& oInfo, std::int64_t nTarget, unsigned long nLine) const;
    [[noreturn]] void FailRead(unsigned long nLine) const;
    [[noreturn]] void FailWrite(unsigned long nLine) const;

    // The archive half, ExtendedFileSystemArchive.cpp. OpenArchiveEntry() follows a path into an archive and opens the
    // entry in a free slot; false when there is no such entry, and the slot is then as it was.
    bool OpenArchiveEntry(const char* pPath, sFileInfo& oInfo);
    sArchiveInfo* RegisterArchive(sArchiveInfo* pParent, const char* pName);
    sArchiveInfo* FindArchive(sArchiveInfo* pParent, const char* pName);
    sArchiveEntry* FindArchiveEntry(sArchiveInfo* pArchive, const char* pName) const;
    void RecursiveArchiveCreate(const char* pDirectory, unsigned long nFile);
    class CArchiveWriter;
    class CArchiveExtractor;

    // A pattern starts a search, null goes on with it; one search at a time in the process.
    static const char* FindFiles(const char* pPattern, bool* pIsDirectory, unsigned long* pSize);

    void Notify(int nEvent, unsigned long nArgument1, unsigned long nArgument2);

    [[noreturn]] void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                     const char* pMessage) const;

    static CExtendedFileSystem __m_oInstance;

    std::vector<CVQString> m_aRoots;
    std::array<sFileInfo, MAX_FILES> m_aFiles;
    CVQMutex m_oMutex;
    mutable CVQCriticalSection m_oLock;
    sArchiveInfo m_oRootArchive;
    std::array<sArchiveInfo, MAX_ARCHIVES> m_aArchives;
    std::atomic<bool> m_bSetup;
    std::vector<sCallback> m_aCallbacks;
    CFileBuffer* m_pBuffers;                                // one a slot
    std::vector<std::shared_ptr<sArchiveEntry>>* m_pTables; // of the nodes, shared with copies
};

#pragma pop_macro("CreateFile")
