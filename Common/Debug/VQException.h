#pragma once

#include <Common/Debug/ErrorClass.h>
#include <Common/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// What the library throws: an error class, the number of the error, where it was thrown and a text.
///
/// Every class that throws has an exception class of its own, which only fixes the error class; a catcher takes that
/// one or this base. Exceptions are thrown and caught by value. Throwing writes nothing to the log: that is the
/// catcher's business.
///
///     try
///     {
///         oFile.Open("levels/one.dat");
///     }
///     catch (CVQException& oError)
///     {
///         std::printf("%s (%lu, %s:%lu)\n", oError.GetErrorString(), oError.GetErrorCode(), oError.GetFileName(),
///                     oError.GetLine());
///     }
///
/// A number is unique only together with its class: mail slots and data streams both use 5000 to 5003.
/// An exception owns no memory and cannot fail; it may be copied byte by byte, and needs no destructor.
/// It belongs to one thread at a time.
class COMMON_API CVQException
{
public:
    /// @param nErrorClass  the category
    /// @param nCode        the number of the error; 32 bits are kept
    /// @param nLine        the source line of the throw; 32 bits are kept
    /// @param pFileName    the source file of the throw; null counts as ""
    /// @param pMessage     the text, or null for none
    ///
    /// Both texts are copied; what is over 255 bytes is cut, without splitting a multi-byte character.
    CVQException(eErrorClass nErrorClass, unsigned long nCode, unsigned long nLine, const char* pFileName,
                 const char* pMessage) noexcept;
    CVQException(const CVQException& oOther) noexcept;

    /// Copies all five fields; this one body serves the derived classes too.
    CVQException& operator=(const CVQException& oOther) noexcept;

    /// The message, "" when none was given. The text lives as long as the exception.
    virtual const char* GetErrorString() const;
    /// The source file that threw, as a path within the library ("Common/File/FileIO").
    virtual const char* GetFileName() const;
    /// The source line of the throw.
    virtual unsigned long GetLine() const;
    /// The category.
    virtual eErrorClass GetErrorClass();
    /// The number of the error within the range of its thrower.
    virtual unsigned long GetErrorCode() const;

private:
    static constexpr std::size_t TEXT_SIZE = 256; // bytes of a text, terminator included

    using TText = std::array<char, TEXT_SIZE>;

    static void CopyText(TText& aTarget, const char* pText) noexcept;

    eErrorClass m_nErrorClass;
    std::uint32_t m_nCode;
    std::uint32_t m_nLine;
    TText m_aMessage;
    TText m_aFileName;
};
