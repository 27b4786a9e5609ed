#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>

/// One open file: values in binary or text, raw bytes, lines, and the position.
///
/// The file object of the library. It is a handle of CExtendedFileSystem, which finds the file by its name, on disk or
/// in an archive:
///
///     CFileIO oFile;
///     oFile.Open("save/slot1.dat", CFileIO::WRITE);
///     oFile.Write(nLevel);
///     oFile.Write(sPlayer);
///     const bool bSaved = oFile.Flush();
///
/// The text form is one record a value: `12; ` and `1.5000; ` for numbers, `"text"; ` for strings, `'c'; ` for
/// characters, with constants between them. Its reader skips blanks, line ends, and comments from two slashes to the
/// end of the line:
///
///     oFile.WriteConstAscii(CVQString("size"));            // size 12;
///     oFile.WriteConstAscii(' ');
///     oFile.WriteAscii(nSize);
///
///     if (oOther.ReadConstAscii(CVQString("size")))
///         oOther.ReadAscii(nSize);
///
/// Every operation is virtual. The typed and the text operations use nothing but the raw Read() and Write() and the
/// position, so a class that overrides those (CMemFileIO) has all the others too.
///
/// A copy shares the open file with its source: whichever is closed or destroyed first closes it for both. Kept:
/// callers rely on it. Numbers are little-endian; int and long take 4 bytes everywhere. An object belongs to one
/// thread at a time; objects with files of their own need no order between them.
///
/// Errors of state are thrown as CFileIOException: 4501 "No file is opened." by all that needs an open file, unless
/// said otherwise. What goes wrong with the file itself comes from CExtendedFileSystem, as CXfsException.
class COMMON_API CFileIO
{
public:
    /// Mode of Open(): read a file that exists, looked for in the roots and archives.
    static constexpr int READ = 1;
    /// Mode of Open(): create a file, or empty the one that is there, and write.
    static constexpr int WRITE = 2;
    /// Mode of Open(): write at the end of a file, which is created when it is missing.
    static constexpr int APPEND = 4;

    /// No file is open. The file system is set up if it was not.
    CFileIO();

    /// Shares the open file of the other object.
    CFileIO(const CFileIO& oOther);

    /// Shares the open file of the other object; one that was open here is not closed.
    CFileIO& operator=(const CFileIO& oOther);

    /// Flushes and closes the file if it is open.
    virtual ~CFileIO();

    /// Opens a file. One that is open is flushed and closed first, unless its handle was closed elsewhere.
    ///
    /// @param nMode  READ, WRITE or APPEND; of several bits the lowest counts
    /// @return       false for a null name
    /// @throws CFileIOException  4500 "Invalid file mode specified."
    /// @throws CXfsException     4002, 4010 for READ, 4001 and 4005 for WRITE, 4001 and 4015 for APPEND
    virtual bool Open(const char* pName, int nMode);

    /// Closes the file. Whether the last bytes reached the disk is told by Flush() alone, so call it first.
    ///
    /// @return true
    virtual bool Close();

    /// Hands what was written to the system.
    ///
    /// @return false when it could not be written, and when no file is open
    virtual bool Flush();

    /// @name Binary reading
    /// A value of the given type, in its size here except that every int, long and enumeration has 4 bytes. What a
    /// short read did not deliver stays as it was in the variable.
    ///
    /// @return true when the whole value was there
    /// @{
    virtual bool Read(char& cValue);
    virtual bool Read(bool& bValue);
    virtual bool Read(short& nValue);
    virtual bool Read(unsigned short& nValue);
    virtual bool Read(int& nValue);
    virtual bool Read(unsigned int& nValue);
    virtual bool Read(long& nValue);
    virtual bool Read(unsigned long& nValue);
    virtual bool Read(float& fValue);
    virtual bool Read(double& dValue);
    /// @}

    /// Reads a length of 4 bytes and that many characters.
    ///
    /// A length below 1 leaves the string as it is, it is not emptied; kept: callers rely on it. A length beyond what
    /// the file holds is refused before memory is taken for it, and leaves the string as it is.
    ///
    /// @return false when the length or the characters do not come
    virtual bool Read(CVQString& sValue);

    /// Reads bytes.
    ///
    /// @return true when all nCount bytes were read
    /// @throws CXfsException  4008 for an nCount of 0
    virtual bool Read(void* pTarget, unsigned long nCount);

    /// Reads up to nSize * nCount bytes at once.
    ///
    /// @return bytes read, not items
    /// @throws CXfsException  4008 for 0 bytes
    virtual int ReadRaw(void* pTarget, unsigned long nSize, unsigned long nCount);

    /// @name Binary writing
    /// The counterpart of reading: 4 bytes for every int and long.
    ///
    /// @return true when the whole value was written
    /// @{
    virtual bool Write(char cValue);
    virtual bool Write(bool bValue);
    virtual bool Write(short nValue);
    virtual bool Write(unsigned short nValue);
    virtual bool Write(int nValue);
    virtual bool Write(unsigned int nValue);
    virtual bool Write(long nValue);
    virtual bool Write(unsigned long nValue);
    virtual bool Write(float fValue);
    virtual bool Write(double dValue);
    /// @}

    /// Writes the length in 4 bytes and the characters, without a terminator.
    ///
    /// @return false when the length or the characters do not go
    virtual bool Write(const CVQString& sValue);

    /// Writes bytes.
    ///
    /// @return true when nCount bytes were written; false for an nCount of 0, kept: callers rely on it
    virtual bool Write(const void* pSource, unsigned long nCount);

    /// Writes nSize * nCount bytes at once.
    ///
    /// @return bytes written, not items; 0 for a product of 4 GiB or more; 1 for 0 bytes, kept: callers rely on it
    virtual int WriteRaw(const void* pSource, unsigned long nSize, unsigned long nCount);

    /// @name Reading numbers in text
    /// Skips blanks and comments, takes all up to the delimiter, and converts it: 12, -3, 0x1F, 010 (which is 8), 1.5.
    ///
    /// Numbers have 32 bits; more are cut. A text that is no number leaves the variable as it was. StepBack() undoes
    /// it.
    ///
    /// @param cDelimiter  ends the number and is consumed
    /// @return            false when the delimiter does not come, and for more than 15 characters before it (7 for an
    ///                    int); the variable is then as it was
    /// @{
    virtual bool ReadAscii(long& nValue, char cDelimiter = ';');
    virtual bool ReadAscii(unsigned long& nValue, char cDelimiter = ';');
    virtual bool ReadAscii(float& fValue, char cDelimiter = ';');
    virtual bool ReadAscii(int& nValue, char cDelimiter = ';');
    /// @}

    /// Reads a text between double quotes, up to the ';' behind it.
    ///
    /// A backslash begins an escape, one of
    ///
    ///     \" \' \\ \a \b \f \n \r \t \v
    ///
    /// and stands for itself before any other character.
    /// WriteAscii() does not write escapes, so a text with a backslash or a quote comes back changed; kept: files rely
    /// on it. StepBack() goes back to the quote.
    ///
    /// @return false when there is no quote, or the text or the ';' does not end
    virtual bool ReadAscii(CVQString& sValue);

    /// Reads a character. Comments are always skipped, and so are all blanks behind a comment.
    ///
    /// @param bSkipWhite  whether blanks, tabs and line ends are skipped too
    /// @return            false at the end of the file
    virtual bool ReadAscii(char& cValue, bool bSkipWhite);

    /// Matches the characters of a text one by one; blanks and comments before each are skipped, so "a b" matches "ab".
    ///
    /// StepBack() goes back to the last character that was tried.
    ///
    /// @return false at the first that differs, and when the file ends
    virtual bool ReadConstAscii(const CVQString& sExpected);

    /// Reads the next character that is neither blank nor comment. StepBack() undoes it.
    ///
    /// @return whether it is the expected one; it is consumed in any case
    virtual bool ReadConstAscii(char cExpected);

    /// @name Writing text
    /// A value and "; ". Numbers are signed and have 32 bits; a float has four decimals; a text goes between double
    /// quotes as it is; a character between single quotes, with `\t`, `\n` and `\r` for tab, line feed and carriage
    /// return.
    ///
    /// @return false as soon as something could not be written
    /// @{
    virtual bool WriteAscii(long nValue);
    virtual bool WriteAscii(unsigned long nValue);
    virtual bool WriteAscii(float fValue);
    virtual bool WriteAscii(int nValue);
    virtual bool WriteAscii(const CVQString& sValue);
    virtual bool WriteAscii(char cValue);
    /// @}

    /// Writes a character as it is, a line feed as carriage return and line feed.
    ///
    /// @return false when it could not be written
    virtual bool WriteConstAscii(char cValue);

    /// Writes a text as it is.
    ///
    /// @return false when it could not be written
    virtual bool WriteConstAscii(const CVQString& sValue);

    /// Writes a formatted text.
    ///
    /// @return true
    /// @throws CXfsException  4007 when it could not be written or has no characters
    virtual bool Printf(const char* pFormat, ...) COMMON_PRINTF_FORMAT(2, 3);

    /// Reads a line without its end. See CExtendedFileSystem::ReadLine() for what ends a line.
    ///
    /// @param pTarget  nSize bytes; a longer line comes in pieces
    /// @return         true, also at the end of the file, where the line is empty
    virtual bool ReadLine(char* pTarget, unsigned long nSize);

    /// Tells whether a file is open here whose handle was not closed elsewhere. It never throws.
    virtual bool IsOpened() const;

    /// Tells whether the position is the end of the file; false when no file is open.
    virtual bool IsEof() const;

    /// Moves the position, at most to the end of the file.
    ///
    /// @return true
    /// @throws CXfsException  4009 for a target outside the file
    virtual bool SetFilePointerPos(unsigned long nPosition);

    /// Moves the position by nDelta, within the file.
    ///
    /// @return true
    /// @throws CXfsException  4009 for a target outside the file
    virtual bool Skip(long nDelta);

    /// Position in bytes from the start of the file.
    virtual unsigned long GetFilePointerPos() const;

    /// Length of the file in bytes.
    virtual unsigned long GetSize() const;

    /// Moves the position back to where the last text reading began.
    virtual void StepBack();

    /// Tells whether a file can be opened under a name, see CExtendedFileSystem::FileExists().
    static bool FileExists(const char* pName);

private:
    static void XfsSetupOnDemand();

    void RequireOpened(unsigned long nLine) const;
    void RememberParsePos();
    bool ReadWhole(void* pTarget, unsigned long nCount);
    bool ReadToken(char* pBuffer, unsigned long nSize, char cDelimiter);
    bool ReadNumber(std::int32_t& nValue, unsigned long nSize, char cDelimiter, bool& bConverted);
    bool WriteNumber(std::int32_t nValue);

    [[noreturn]] void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                     const char* pMessage) const;

    std::uint32_t m_nHandle;
    std::uint32_t m_nParsePosition;
};

static_assert(sizeof(void*) != 4 || sizeof(CFileIO) == 12);
