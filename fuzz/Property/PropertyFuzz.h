#pragma once

#include <Common/Debug/VQDataStreamException.h>
#include <Common/File/MemFileIO.h>
#include <Common/File/VQDataStream.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

// What the targets of properties share. The first byte of an input says whether localised texts can be loaded.

namespace PropertyFuzz
{
inline void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

/// Undefined properties are reported through the log: nobody is asked, nothing is shown, and the file cannot be opened,
/// because a directory has its name.
inline void MuteLog()
{
    static const bool s_bMuted = []
    {
        HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaOk; });
        HOOK_SetDebuggerOutput([](const char*) {});
        const auto oDirectory = std::filesystem::temp_directory_path() / "property-fuzz";
        std::filesystem::create_directories(oDirectory / "Zembrolia.log");
        std::filesystem::current_path(oDirectory);
        return true;
    }();
    Require(s_bMuted);
}

/// Localised texts for the even numbers.
inline void SetTexts(bool bLoaded)
{
    CVQString::s_pfnLoadString = nullptr;
    CVQString::s_pfnIsStringIdentical = nullptr;
    if (!bLoaded)
        return;

    CVQString::s_pfnLoadString = [](long nId, CVQString& oTarget)
    {
        oTarget = std::to_string(nId).c_str();
        return nId % 2 == 0;
    };
    CVQString::s_pfnIsStringIdentical = [](long nId, const CVQString& oText)
    { return oText == std::to_string(nId).c_str(); };
}

template <class TObject>
std::string Store(TObject& oObject)
{
    CVQDataStream oStream(CVQDataStream::STORING);
    oObject.Serialize(oStream);
    const auto* const pBytes = reinterpret_cast<const char*>(oStream.GetBuffer());
    return pBytes != nullptr ? std::string(pBytes, oStream.GetSize()) : std::string();
}

template <class TObject>
std::string Write(TObject& oObject)
{
    CMemFileIO oFile(1024);
    Require(oObject.Write(&oFile));
    return {reinterpret_cast<const char*>(oFile.GetBuffer()), oFile.GetSize()};
}

/// Loads an object from a stream of any bytes, then stores and loads it again: it stays what it is.
template <class TObject>
int LoadStream(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize == 0)
        return 0;

    MuteLog();
    SetTexts((pData[0] & 1) != 0);
    std::vector<unsigned char> aBytes(pData + 1, pData + nSize); // of exactly this size: a byte too many is seen
    TObject oObject;
    CVQDataStream oStream(aBytes.data(), static_cast<unsigned long>(aBytes.size()), CVQDataStream::LOADING, false);
    try
    {
        oObject.Serialize(oStream);
    }
    catch (CVQDataStreamException& oError)
    {
        Require(oError.GetErrorCode() == 5000 || oError.GetErrorCode() == 5004);
    }
    Require(oStream.GetStreamPosition() <= aBytes.size());

    const std::string sStored = Store(oObject);
    CVQDataStream oSecond(reinterpret_cast<const unsigned char*>(sStored.data()),
                          static_cast<unsigned long>(sStored.size()), CVQDataStream::LOADING, false);
    TObject oAgain;
    oAgain.Serialize(oSecond);
    Require(oSecond.GetStreamPosition() == sStored.size());
    const std::string sAgain = Store(oAgain);
    // A text that happens to be a localised one is stored by its number from the second time on.
    Require((pData[0] & 1) != 0 || sAgain == sStored);
    CVQDataStream oThird(reinterpret_cast<const unsigned char*>(sAgain.data()),
                         static_cast<unsigned long>(sAgain.size()), CVQDataStream::LOADING, false);
    TObject oLast;
    oLast.Serialize(oThird);
    Require(Store(oLast) == sAgain);

    TObject oCopy(oObject);
    oCopy = oAgain;
    return 0;
}

/// The same for a file of any bytes.
template <class TObject>
int ReadFile(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize == 0)
        return 0;

    SetTexts((pData[0] & 1) != 0);
    std::vector<unsigned char> aBytes(pData + 1, pData + nSize);
    TObject oObject;
    CMemFileIO oFile(aBytes.data(), static_cast<unsigned long>(aBytes.size()), 0);
    oObject.Read(&oFile);
    Require(oFile.GetFilePointerPos() <= aBytes.size());

    std::string sWritten = Write(oObject);
    for (int i = 0; i < 2; ++i)
    {
        CMemFileIO oSecond(reinterpret_cast<unsigned char*>(sWritten.data()),
                           static_cast<unsigned long>(sWritten.size()), 0);
        TObject oAgain;
        Require(oAgain.Read(&oSecond));
        std::string sAgain = Write(oAgain);
        // Elements that the element type of their list refuses are gone from the second time on.
        Require(i == 0 || sAgain == sWritten);
        sWritten = std::move(sAgain);
    }
    return 0;
}
} // namespace PropertyFuzz
