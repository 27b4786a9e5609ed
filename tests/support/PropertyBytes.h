#pragma once

#include <Common/Common.h>

#include <tests/support/TestDirectory.h>

#include <cstdint>
#include <string>
#include <vector>

// Records of properties and their containers, put together by hand from their layouts.

std::string Word(std::int64_t nValue);
std::string FloatWord(float fValue);

/// A text: its length and its characters.
std::string Text(const std::string& sText);

/// The property record of a stream: type, value, format.
std::string Record(char cType, const std::string& sValue, const std::string& sFormat = "");

/// The same with its version in front.
std::string Versioned(const std::string& sRecord);

std::string IntRecord(std::int32_t nValue);

/// The bytes that a storing stream holds.
std::string BytesOf(const CVQDataStream& oStream);

/// A loading stream over a copy of bytes.
CVQDataStream StreamOf(const std::string& sBytes);

/// What an object writes to a stream.
template <class TObject>
std::string StoredBytes(TObject& oObject)
{
    CVQDataStream oStream(CVQDataStream::STORING);
    oObject.Serialize(oStream);
    return BytesOf(oStream);
}

/// Loads an object; tells how many bytes it took.
template <class TObject>
unsigned long LoadFrom(TObject& oObject, const std::string& sBytes)
{
    CVQDataStream oStream = StreamOf(sBytes);
    oObject.Serialize(oStream);
    return oStream.GetStreamPosition();
}

/// What an object writes to a file.
template <class TObject>
std::string WrittenBytes(TObject& oObject)
{
    CMemFileIO oFile(256);
    oObject.Write(&oFile);
    return {reinterpret_cast<const char*>(oFile.GetBuffer()), oFile.GetSize()};
}

/// A file in memory.
class CBytesFile : public CMemFileIO
{
public:
    explicit CBytesFile(const std::string& sBytes);
};

/// The code of the exception of a data stream that a call throws; 0 for none.
template <class TCall>
unsigned long StreamErrorOf(const TCall& Call)
{
    try
    {
        Call();
        return 0;
    }
    catch (CVQDataStreamException& oError)
    {
        return oError.GetErrorCode();
    }
}

/// Localised texts for the life of the object: 5 is "five", 7 is "seven", and there are no others.
class CNumberTexts
{
public:
    CNumberTexts();
    ~CNumberTexts();

    CNumberTexts(const CNumberTexts&) = delete;
    CNumberTexts& operator=(const CNumberTexts&) = delete;
};

/// Takes what is logged: message boxes and debugger output are kept here, the log file is in a directory that goes
/// away.
class CQuietLog
{
public:
    CQuietLog();
    ~CQuietLog();

    CQuietLog(const CQuietLog&) = delete;
    CQuietLog& operator=(const CQuietLog&) = delete;

    /// The texts of the message boxes.
    const std::vector<std::string>& GetBoxes() const;

    const CTestDirectory& GetDirectory() const { return m_oDirectory; }

private:
    CTestDirectory m_oDirectory;
};

/// A property that holds a list that holds a property, and so on; the innermost is the number 1.
///
/// @param nDepth  number of properties
CVQProperty NestedLists(int nDepth);
/// The same with structs, the names being "x".
CVQProperty NestedStructs(int nDepth);

/// The stream record of NestedStructs(), of any depth.
std::string NestedStructsRecord(int nDepth);
std::string NestedListsRecord(int nDepth);
/// The file records of them.
std::string NestedStructsFile(int nDepth);
std::string NestedListsFile(int nDepth);
