#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>

/// A byte channel from a writer to a reader: two threads, or this process and a child that inherits it.
///
///     CVQPipe oPipe;
///     oPipe.Open();
///
///     writer:  oPipe.Write(42);                  reader:  int nNumber;
///              oPipe.Write(CVQString("text"));            CVQString sText;
///                                                         if (oPipe.Read(nNumber) && oPipe.Read(sText))
///                                                             ...
///
/// Values travel as they lie in memory: little-endian, without padding or type. Every int and long is 4 bytes, so that
/// programs of all widths understand each other: a long is cut to 32 bits and comes back with its sign.
///
/// A read waits until all its bytes are there, a write until there is room. Both return false, and no signal ends the
/// process, when the other end is closed; a read leaves its variable as it was then. Nothing is logged or thrown.
///
/// One thread may read while another writes, and any thread may close the pipe under them. A copy shares the pipe, and
/// whichever is destroyed first closes it for both.
class COMMON_API CVQPipe
{
public:
    /// Makes an object that is not open.
    CVQPipe() noexcept;

    /// Shares the pipe of another object.
    CVQPipe(const CVQPipe&) = default;

    /// Shares the pipe of another object; the own one stays open.
    CVQPipe& operator=(const CVQPipe&) = default;

    /// Closes the pipe.
    virtual ~CVQPipe();

    /// Opens a new pipe whose both ends child processes inherit. One that is open already is not closed first.
    ///
    /// @return false when the system has none left; the object is then as it was
    virtual bool Open();

    /// Closes both ends. The object keeps the old handles, so that IsOpen() goes on being true, and the destructor
    /// closes them once more; a closed handle is never another's. Kept: owners destroy the object, or open it again.
    ///
    /// @return true
    virtual bool Close();

    /// Reads 1 byte.
    virtual bool Read(char& cValue);
    /// Reads 1 byte: false for 0, else true.
    virtual bool Read(bool& bValue);
    /// Reads 2 bytes.
    virtual bool Read(short& nValue);
    /// Reads 2 bytes.
    virtual bool Read(unsigned short& nValue);
    /// Reads 4 bytes.
    virtual bool Read(int& nValue);
    /// Reads 4 bytes.
    virtual bool Read(unsigned int& nValue);
    /// Reads 4 bytes, with their sign.
    virtual bool Read(long& nValue);
    /// Reads 4 bytes, without a sign.
    virtual bool Read(unsigned long& nValue);
    /// Reads 4 bytes.
    virtual bool Read(float& fValue);
    /// Reads 8 bytes.
    virtual bool Read(double& dValue);

    /// Reads a text. A length below 1 is an empty text, leaves the string as it is and returns true.
    ///
    /// @return false when the text does not come, or is longer than a string can be. When it was the text that did not
    ///         come the string's buffer stays lent (CVQString::ReleaseBuffer() ends that). Kept: callers rely on it.
    virtual bool Read(CVQString& sText);

    /// Waits until all bytes are there and reads them. Everything that is read comes through here: who overrides it
    /// changes the transport of all.
    ///
    /// @return false when the other end was closed before that; some of the bytes may be written then
    virtual bool Read(void* pData, unsigned long nSize);

    /// Writes 1 byte.
    virtual bool Write(char cValue);
    /// Writes 1 byte: 1 for true, 0 for false.
    virtual bool Write(bool bValue);
    /// Writes 2 bytes.
    virtual bool Write(short nValue);
    /// Writes 2 bytes.
    virtual bool Write(unsigned short nValue);
    /// Writes 4 bytes.
    virtual bool Write(int nValue);
    /// Writes 4 bytes.
    virtual bool Write(unsigned int nValue);
    /// Writes 4 bytes, the lower ones of a longer number.
    virtual bool Write(long nValue);
    /// Writes 4 bytes, the lower ones of a longer number.
    virtual bool Write(unsigned long nValue);
    /// Writes 4 bytes.
    virtual bool Write(float fValue);
    /// Writes 8 bytes.
    virtual bool Write(double dValue);
    /// Writes a text: its length in 4 bytes, then its bytes without the terminator.
    virtual bool Write(const CVQString& sText);

    /// Writes all bytes, waiting for room. Everything that is written goes through here: who overrides it changes the
    /// transport of all.
    ///
    /// @return false when the other end is closed; some of the bytes may be written then
    virtual bool Write(const void* pData, unsigned long nSize);

    /// Tells whether a pipe was opened.
    virtual bool IsOpen() const;

    /// Writes a text as Write(const CVQString&) does; without this the pointer would go as a bool.
    bool Write(const char* pText) { return Write(CVQString(pText)); }

    /// Tells, without waiting, whether at least one byte can be read.
    bool HasData() const;

private:
    [[noreturn]] void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                     const char* pMessage) const;

    [[maybe_unused]] std::uint32_t m_nReserved; // copied with the object, used by nobody
    std::uint32_t m_nReadHandle;
    std::uint32_t m_nWriteHandle;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQPipe) == 16, "the layout that the 32-bit callers know");
