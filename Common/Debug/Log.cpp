#include <Common/Debug/Log.h>

#include <Common/File/FileIO.h>
#include <Common/MailSlot/VQMailSlot.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/PlatformString.h>
#include <Common/Platform/PlatformSync.h>
#include <Common/Platform/System/SystemFile.h>
#include <Common/Platform/System/SystemProcess.h>
#include <Common/Platform/System/SystemTime.h>
#include <Common/ProcessControl/VQCriticalSection.h>
#include <Common/String/VQString.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace
{
constexpr unsigned MESSAGE_SIZE = 256;
constexpr unsigned DEBUG_TEXT_SIZE = 8192;

const char* const MAIL_SLOT_NAME = R"(\\*\mailslot\debug)";

const char* const FILE_FAILED = "Error while writing to log file. Hard disk full?\n";
const char* const MAIL_FAILED =
    "bool _VQ_Log_Fn(): Could not write to mailslot. Please check your network connection and settings!";

const char* const ASSERTION_CAPTION = "VORQUANDELIS ASSERTION";
const char* const ASSERTION_QUESTION =
    "\n----------------------------------------------------------------------------------------"
    "\n\nDo you want to debug the application?\n"
    "\n YES:           Debug or try to continue (if no debugger present) "
    "\n NO:             Try a clean shutdown (might throw more exceptions)"
    "\n CANCEL:     Force the application to exit\n"
    "\n----------------------------------------------------------------------------------------\n";

const char* OrEmpty(const char* pText)
{
    return pText != nullptr ? pText : "";
}

const char* TitleOf(unsigned long nClass)
{
    static constexpr std::array TITLES = {"Game Message", "Dump",  "Info",           "Message",           "Note",
                                          "Warning",      "Error", "Critical Error", "Catastrophic Error"};
    return nClass < TITLES.size() ? TITLES[nClass] : "Unkown class";
}

int PrintV(const char* pFormat, std::va_list pArguments) COMMON_PRINTF_FORMAT(1, 0);

int PrintV(const char* pFormat, std::va_list pArguments)
{
    char aText[DEBUG_TEXT_SIZE];
    int nLength = STR_vsnprintf(aText, DEBUG_TEXT_SIZE - 1, OrEmpty(pFormat), pArguments);
    if (nLength < 0)
        nLength = aText[0] != '\0' ? DEBUG_TEXT_SIZE - 1 : 0; // it was cut, or cannot be formatted
    aText[nLength] = '\0';
    HOOK_WriteDebugger(aText);
    return nLength;
}

/// What all calls of a process share. It is never destroyed: the last static destructors may still report.
struct SChannel
{
    const unsigned long nProcess = System::GetProcessNumber();
    CVQCriticalSection oSection;
    CVQMailSlot oMailSlot;
    std::string sFileMutexName; ///< the application whose log file the mutex guards
    void* pFileMutex = nullptr;
};

/// The channel of this process. A process that was forked off while a thread of its parent was in the log starts anew:
/// that thread will never leave it here.
SChannel& GetChannel()
{
    static std::atomic<SChannel*> s_pChannel = nullptr;

    SChannel* pChannel = s_pChannel.load(std::memory_order_acquire);
    if (pChannel != nullptr && pChannel->nProcess == System::GetProcessNumber())
        return *pChannel;

    auto* const pNew = new SChannel;
    if (s_pChannel.compare_exchange_strong(pChannel, pNew, std::memory_order_acq_rel))
        return *pNew;
    delete pNew;
    return *pChannel;
}

class CChannelLock
{
public:
    explicit CChannelLock(SChannel& oChannel) : m_oSection(oChannel.oSection) { m_oSection.Enter(); }

    ~CChannelLock() { m_oSection.Leave(); }

    CChannelLock(const CChannelLock&) = delete;
    CChannelLock& operator=(const CChannelLock&) = delete;

private:
    CVQCriticalSection& m_oSection;
};

/// Keeps the log file of an application to this process, so that no line of two processes is torn. Where the system
/// keeps the bytes of one write together by itself that is not needed.
class CFileLock
{
public:
    CFileLock(SChannel& oChannel, const std::string& sApplication)
    {
        if (System::AreAppendsWhole())
            return;
        if (oChannel.pFileMutex == nullptr || oChannel.sFileMutexName != sApplication)
        {
            if (oChannel.pFileMutex != nullptr)
                SYNC_DestroyMutex(oChannel.pFileMutex);
            oChannel.sFileMutexName = sApplication;
            oChannel.pFileMutex = SYNC_CreateMutex(false, MutexNameOf(sApplication).c_str());
        }
        m_pMutex = oChannel.pFileMutex;
        if (m_pMutex != nullptr)
            SYNC_LockMutex(m_pMutex);
    }

    ~CFileLock()
    {
        if (m_pMutex != nullptr)
            SYNC_UnlockMutex(m_pMutex);
    }

    CFileLock(const CFileLock&) = delete;
    CFileLock& operator=(const CFileLock&) = delete;

private:
    /// A name that may name a mutex: those have no back slashes, and an end. Two files with one lock do no harm.
    static std::string MutexNameOf(const std::string& sApplication)
    {
        constexpr std::size_t MAX_SIZE = 200;

        std::string sName = sApplication.substr(sApplication.size() - std::min(sApplication.size(), MAX_SIZE));
        std::replace(sName.begin(), sName.end(), '\\', '/');
        return "Common.Log." + sName;
    }

    void* m_pMutex = nullptr;
};

/// A number as "%d" writes it.
class CNumberText
{
public:
    explicit CNumberText(std::uint32_t nNumber)
    {
        char* const pBegin = m_aText.data();
        const auto oResult = std::to_chars(pBegin, pBegin + m_aText.size(), static_cast<std::int32_t>(nNumber));
        m_nSize = static_cast<std::size_t>(oResult.ptr - pBegin);
    }

    std::string_view Get() const { return {m_aText.data(), m_nSize}; }

private:
    std::array<char, 11> m_aText;
    std::size_t m_nSize;
};

/// What is told in the file and to the network; the texts are those of the call.
struct SRecord
{
    std::string_view sComputer;
    std::string_view sApplication;
    std::uint32_t nProcess;
    std::uint32_t nClass;
    CNumberText oTicks;
    std::string_view sContext;
    std::string_view sSource;
    std::uint32_t nLine;
    std::string_view sMessage;
};

std::string LineOf(const SRecord& oRecord)
{
    constexpr std::string_view SEPARATOR = " | ";

    std::string sLine;
    sLine.reserve(512);
    sLine.append(oRecord.sComputer).append(SEPARATOR);
    sLine.append(oRecord.sApplication).append(SEPARATOR);
    sLine.append(CNumberText(oRecord.nProcess).Get()).append(SEPARATOR);
    sLine.append(CNumberText(oRecord.nClass).Get()).append(SEPARATOR);
    sLine.append(oRecord.oTicks.Get()).append(SEPARATOR);
    sLine.append(oRecord.sContext).append(SEPARATOR);
    sLine.append(oRecord.sSource).append(SEPARATOR);
    sLine.append(CNumberText(oRecord.nLine).Get()).append(SEPARATOR);
    sLine.append(oRecord.sMessage).append("\r\n");
    return sLine;
}

bool AppendToFile(SChannel& oChannel, const SRecord& oRecord)
{
    try
    {
        const std::string sLine = LineOf(oRecord);
        const std::string sApplication(oRecord.sApplication);
        const CFileLock oLock(oChannel, sApplication);
        CFileIO oFile;
        oFile.Open((sApplication + ".log").c_str(), CFileIO::APPEND);
        const bool bWritten = oFile.Write(sLine.data(), static_cast<unsigned long>(sLine.size())) && oFile.Flush();
        return oFile.Close() && bWritten;
    }
    catch (...)
    {
        return false;
    }
}

/// A message as CVQMailSlot puts it together piece by piece, at the price of one piece.
class CMessage
{
public:
    void Add(std::uint32_t nNumber) { Append(&nNumber, sizeof nNumber); }

    void Add(std::string_view sText)
    {
        Add(static_cast<std::uint32_t>(sText.size()));
        Append(sText.data(), sText.size());
    }

    /// False when it would be larger than a message can be.
    bool IsWhole() const { return m_bWhole; }

    void WriteTo(CVQMailSlot& oMailSlot) const { oMailSlot.Write(m_aBytes.data(), m_nSize); }

private:
    void Append(const void* pBytes, std::size_t nCount)
    {
        m_bWhole = m_bWhole && nCount <= m_aBytes.size() - m_nSize;
        if (!m_bWhole || nCount == 0)
            return;
        std::memcpy(m_aBytes.data() + m_nSize, pBytes, nCount);
        m_nSize += static_cast<std::uint32_t>(nCount);
    }

    std::array<char, CVQMailSlot::MAX_MESSAGE_SIZE> m_aBytes;
    std::uint32_t m_nSize = 0;
    bool m_bWhole = true;
};

CMessage MessageOf(const SRecord& oRecord)
{
    CMessage oMessage;
    oMessage.Add(oRecord.sComputer);
    oMessage.Add(oRecord.sApplication);
    oMessage.Add(oRecord.nProcess);
    oMessage.Add(oRecord.nClass);
    oMessage.Add(oRecord.oTicks.Get());
    oMessage.Add(oRecord.sContext);
    oMessage.Add(oRecord.sSource);
    oMessage.Add(oRecord.nLine);
    oMessage.Add(oRecord.sMessage);
    return oMessage;
}

bool SendToNetwork(CVQMailSlot& oMailSlot, const SRecord& oRecord)
{
    try
    {
        if (!oMailSlot.IsOpened())
            oMailSlot.Open(MAIL_SLOT_NAME, false);

        const CMessage oMessage = MessageOf(oRecord);
        if (!oMessage.IsWhole())
            return false;

        oMailSlot.BeginWrite();
        oMessage.WriteTo(oMailSlot);
        oMailSlot.EndWrite();
        return true;
    }
    catch (...)
    {
        return false;
    }
}
} // namespace

bool _VQ_Log_Fn(const char* pSource, const char* pApplication, const char* pContext, unsigned long nLine,
                unsigned long /*nReserved*/, unsigned long nOutputs, unsigned long nClass, const char* pFormat, ...)
{
    {
        SChannel& oChannel = GetChannel();
        const CChannelLock oLock(oChannel);

        // The file and the network tell the time of the call, not that after a hook of the debugger output.
        const std::uint32_t nTicks = (nOutputs & (LOG_FILE | LOG_NETWORK)) != 0 ? System::ReadTickCount() : 0;
        std::array<char, System::COMPUTER_NAME_SIZE + 1> aComputer;
        const std::size_t nComputerSize = System::ReadComputerName(aComputer.data());

        std::array<char, MESSAGE_SIZE + 1> aMessage;
        std::va_list pArguments;
        va_start(pArguments, pFormat);
        STR_vsnprintf(aMessage.data(), MESSAGE_SIZE, OrEmpty(pFormat), pArguments);
        va_end(pArguments);
        aMessage.back() = '\0';

        if ((nOutputs & LOG_DEBUGGER) != 0)
        {
            Debug_Printf("%s", aMessage.data());
            Debug_Printf("\n");
        }
        if ((nOutputs & (LOG_FILE | LOG_NETWORK)) != 0)
        {
            const SRecord oRecord = {.sComputer = {aComputer.data(), nComputerSize},
                                     .sApplication = OrEmpty(pApplication),
                                     .nProcess = static_cast<std::uint32_t>(oChannel.nProcess),
                                     .nClass = static_cast<std::uint32_t>(nClass),
                                     .oTicks = CNumberText(nTicks),
                                     .sContext = OrEmpty(pContext),
                                     .sSource = OrEmpty(pSource),
                                     .nLine = static_cast<std::uint32_t>(nLine),
                                     .sMessage = aMessage.data()};
            if ((nOutputs & LOG_FILE) != 0 && !AppendToFile(oChannel, oRecord))
                HOOK_WriteDebugger(FILE_FAILED);
            if ((nOutputs & LOG_NETWORK) != 0 && !SendToNetwork(oChannel.oMailSlot, oRecord))
            {
                Debug_Printf("%s", MAIL_FAILED);
                Debug_Printf("\n");
            }
        }
        if ((nOutputs & LOG_MESSAGEBOX) != 0)
            HOOK_ShowMessageBox(aMessage.data(), TitleOf(nClass), mbkInformation);
    }

    // Outside of the lock: what runs at the end may wait for threads that report.
    if ((nOutputs & LOG_MESSAGEBOX) != 0 && nClass == ecCatastrophicError)
        Debug_Exit(EXIT_SUCCESS);
    return true;
}

int Debug_Printf(const char* pFormat, ...)
{
    std::va_list pArguments;
    va_start(pArguments, pFormat);
    const int nLength = PrintV(pFormat, pArguments);
    va_end(pArguments);
    return nLength;
}

int Debug_Warning(const char* pFormat, ...)
{
    std::va_list pArguments;
    va_start(pArguments, pFormat);
    const int nLength = PrintV(pFormat, pArguments);
    va_end(pArguments);
    return nLength;
}

void Debug_Exit(int nStatus)
{
    std::exit(nStatus);
}

void Debug_Assert(const char* pExpression, const char* pFile, int nLine)
{
    Debug_Printf("*** VORQUANDELIS ASSERTION ***\nexpression: %s\nfile: %s\nline: %d\n", OrEmpty(pExpression),
                 OrEmpty(pFile), nLine);
    std::abort();
}

bool Alternate_Debug_Assert(const char* pExpression, const char* pComment, const char* pFile, int nLine)
{
    std::string sText = std::string("expression:     VQ_ASSERT( ") + OrEmpty(pExpression) +
                        " )\n\nfile: " + OrEmpty(pFile) + "\nline: " + std::to_string(nLine) +
                        "\n \r\ncomment: " + OrEmpty(pComment);
    Debug_Printf("%s", "******** VORQUANDELIS ASSERTION ********\n");
    Debug_Printf("%s", sText.c_str());

    sText += ASSERTION_QUESTION;
    switch (HOOK_ShowMessageBox(sText.c_str(), ASSERTION_CAPTION, mbkYesNoCancel))
    {
    case mbaYes:
        return System::IsDebuggerAttached();
    case mbaNo:
        Debug_Exit(EXIT_SUCCESS);
    case mbaCancel:
        System::EndProcess(EXIT_SUCCESS);
    default:
        return false;
    }
}

void Debug_Break()
{
    System::BreakIntoDebugger();
}
