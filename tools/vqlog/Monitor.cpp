#include "Monitor.h"

#include "Console.h"
#include "LogLines.h"

#include <Common/Debug/MailSlotException.h>
#include <Common/MailSlot/VQMailSlot.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace
{
// Rests between two looks for something new.
constexpr std::chrono::milliseconds MAIL_REST{10};
constexpr std::chrono::milliseconds FILE_REST{50};

volatile std::sig_atomic_t g_nInterrupt = 0; // the signal that asked for the end

void OnInterrupt(int nSignal)
{
    g_nInterrupt = nSignal;
    std::signal(nSignal, SIG_DFL); // a second one ends the program whatever it is waiting for
}

/// Turns an interrupt into the end of the work, and a closed output into a failed write.
void CatchSignals()
{
    for (const int nSignal : {SIGINT, SIGTERM})
        std::signal(nSignal, OnInterrupt);
#ifdef SIGHUP
    std::signal(SIGHUP, OnInterrupt);
#endif
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN); // the write tells it too
#endif
}

bool IsEqual(const std::string& sFirst, const std::string& sSecond)
{
    const auto ToLower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(sFirst.begin(), sFirst.end(), sSecond.begin(), sSecond.end(),
                      [&](char cFirst, char cSecond) { return ToLower(cFirst) == ToLower(cSecond); });
}

/// Writes the records that are wanted to standard output, and counts.
class CScreen
{
public:
    explicit CScreen(const sView& oView) : m_oView(oView), m_bColours(!oView.m_bJson && IsOutputColourful()) {}

    void Show(const sLogRecord& oRecord, const ArrivalTime& oTime)
    {
        if (IsFull() || !IsWanted(oRecord))
        {
            ++m_nLeftOut;
            return;
        }
        WriteOutput((m_oView.m_bJson ? FormatJson(oRecord, oTime) : FormatText(oRecord, oTime, m_bColours)) + "\n");
        ++m_nShown;
    }

    bool IsFull() const { return m_oView.m_nMost && m_nShown >= *m_oView.m_nMost; }

    static bool IsInterrupted() { return g_nInterrupt != 0; }

    /// Whether the work ends here.
    bool IsAtEnd() const { return IsFull() || IsInterrupted(); }

    void PrintCounts(unsigned long nMalformed) const
    {
        if (g_nInterrupt == SIGINT && IsErrorTerminal())
            std::fputc('\n', stderr); // the line has the ^C that the terminal shows
        PrintNote(std::to_string(m_nShown) + " shown, " + std::to_string(m_nLeftOut) + " left out, " +
                  std::to_string(nMalformed) + " malformed");
    }

private:
    bool IsWanted(const sLogRecord& oRecord) const
    {
        const auto& aApplications = m_oView.m_aApplications;
        return oRecord.m_nClass >= m_oView.m_nLeastClass &&
               (aApplications.empty() ||
                std::any_of(aApplications.begin(), aApplications.end(),
                            [&](const std::string& sName) { return IsEqual(sName, oRecord.m_sApplication); })) &&
               oRecord.m_sMessage.find(m_oView.m_sText) != std::string::npos;
    }

    const sView& m_oView;
    const bool m_bColours;
    unsigned long m_nShown = 0;
    unsigned long m_nLeftOut = 0;
};

/// Does the work until its end, or until nobody reads the output any more, which is no failure.
template <typename TWork>
void Watch(TWork fnWork)
{
    try
    {
        fnWork();
        FlushOutput();
    }
    catch (const COutputClosed&)
    {
    }
}

/// Takes the next message.
std::string_view TakeMessage(CVQMailSlot& oServer, std::array<char, CVQMailSlot::MAX_MESSAGE_SIZE>& aBytes)
{
    const auto nBefore = static_cast<std::uint32_t>(oServer.GetTotalBytesRead());
    oServer.BeginRead();
    const std::uint32_t nSize = static_cast<std::uint32_t>(oServer.GetTotalBytesRead()) - nBefore;
    oServer.Read(aBytes.data(), nSize);
    oServer.EndRead();
    return std::string_view(aBytes.data(), nSize);
}

/// Reads a file that others write to, from where the last reading ended.
class CGrowingFile
{
public:
    explicit CGrowingFile(std::string sName) : m_sName(std::move(sName)) {}

    bool Exists() const
    {
        std::error_code oError;
        return std::filesystem::exists(m_sName, oError);
    }

    /// Whether it may be one that grows: not what is read once, such as a pipe.
    bool CanGrow() const
    {
        std::error_code oError;
        return !Exists() || std::filesystem::is_regular_file(m_sName, oError);
    }

    /// Hands what is new to fnTake(bytes) while that returns true. Before the bytes of a file that is not the one of
    /// the reading before it calls fnRestart(). The file is open only meanwhile, so that it can be renamed or removed.
    ///
    /// @return  false when it cannot be read
    template <typename TTake, typename TRestart>
    bool Read(TTake fnTake, TRestart fnRestart)
    {
        std::error_code oError;
        std::ifstream oFile(m_sName, std::ios::binary);
        if (!oFile || std::filesystem::is_directory(m_sName, oError))
            return false;

        std::vector<char> aBytes(BLOCK_SIZE);
        const auto ReadBlock = [&](std::size_t nSize)
        {
            oFile.read(aBytes.data(), static_cast<std::streamsize>(nSize));
            const auto nRead = static_cast<std::size_t>(oFile.gcount());
            oFile.clear(oFile.bad() ? std::ios::badbit : std::ios::goodbit);
            return std::string_view(aBytes.data(), nRead);
        };

        // The same file begins with what it began with, and is no shorter. The first reading goes nowhere: a pipe can
        // be read so.
        if (m_nPosition != 0)
        {
            oFile.seekg(0, std::ios::end);
            const bool bShorter = static_cast<std::uint64_t>(std::max<std::streamoff>(oFile.tellg(), 0)) < m_nPosition;
            oFile.seekg(0);
            if (bShorter || ReadBlock(m_sBeginning.size()) != m_sBeginning)
            {
                fnRestart();
                m_nPosition = 0;
                m_sBeginning.clear();
            }
            oFile.seekg(static_cast<std::streamoff>(m_nPosition));
        }

        for (std::string_view sBlock = ReadBlock(BLOCK_SIZE); !sBlock.empty(); sBlock = ReadBlock(BLOCK_SIZE))
        {
            m_nPosition += sBlock.size();
            if (m_sBeginning.size() < BEGINNING_SIZE)
                m_sBeginning += sBlock.substr(0, BEGINNING_SIZE - m_sBeginning.size());
            if (!fnTake(sBlock))
                return true;
        }
        return !oFile.bad();
    }

private:
    static constexpr std::size_t BLOCK_SIZE = 1 << 16;
    static constexpr std::size_t BEGINNING_SIZE = 256;

    const std::string m_sName;
    std::uint64_t m_nPosition = 0;
    std::string m_sBeginning;
};
} // namespace

void Listen(const std::string& sSlot, const std::string& sInterface, const sView& oView)
{
    const std::string sName = "\\\\.\\mailslot\\" + sSlot;
    CVQMailSlot oServer;
    try
    {
        oServer.Open(sName.c_str(), true);
    }
    catch (const CMailSlotException&)
    {
        throw CFailure(sName, "cannot listen; is another monitor listening?");
    }
    if (!sInterface.empty() && !CVQMailSlot::SetInterface(sInterface.c_str()))
        throw CFailure(sInterface, "no network interface that can be used");

    CatchSignals();
    PrintNote("listening on " + MakePrintable(sName) + (sInterface.empty() ? "" : " and " + sInterface));

    CScreen oScreen(oView);
    unsigned long nMalformed = 0;
    Watch(
        [&]
        {
            while (!oScreen.IsAtEnd())
            {
                if (!oServer.AreMessagesWaiting())
                {
                    FlushOutput();
                    std::this_thread::sleep_for(MAIL_REST);
                    continue;
                }

                std::array<char, CVQMailSlot::MAX_MESSAGE_SIZE> aBytes;
                sLogRecord oRecord;
                if (ReadLogRecord(TakeMessage(oServer, aBytes), oRecord))
                    oScreen.Show(oRecord, std::chrono::system_clock::now());
                else
                    ++nMalformed;
            }
        });
    oScreen.PrintCounts(nMalformed);
}

void ShowFile(const std::string& sName, bool bFollow, const sView& oView)
{
    CGrowingFile oFile(sName);
    if (!bFollow && !oFile.Exists())
        throw CFailure(sName, "there is no such file");
    if (bFollow && !oFile.CanGrow())
        throw CFailure(sName, "not a file that grows");
    CatchSignals();

    CScreen oScreen(oView);
    ArrivalTime oTime; // what stands in the file at the beginning came some time before
    CLogLines oLines([&](const sLogRecord& oRecord) { oScreen.Show(oRecord, oTime); });

    const auto ReadOn = [&]
    {
        std::size_t nNew = 0;
        const bool bRead = oFile.Read(
            [&](std::string_view sBytes)
            {
                nNew += sBytes.size();
                oLines.Add(sBytes);
                return !oScreen.IsAtEnd();
            },
            [&] { oLines.End(); });
        if (nNew == 0)
            oLines.Pause();
        return bRead;
    };

    if (!bFollow)
    {
        Watch(
            [&]
            {
                if (!ReadOn())
                    throw CFailure(sName, "cannot be read");
                oLines.End();
            });
        if (CScreen::IsInterrupted())
            oScreen.PrintCounts(oLines.GetMalformed());
        else if (oLines.GetMalformed() != 0)
            PrintWarning(MakePrintable(sName) + ": " + std::to_string(oLines.GetMalformed()) + " malformed");
        return;
    }

    if (!oFile.Exists())
        PrintNote(MakePrintable(sName) + ": waiting for it");
    Watch(
        [&]
        {
            if (!ReadOn() && oFile.Exists())
                throw CFailure(sName, "cannot be read");
            oLines.Pause();
            while (!oScreen.IsAtEnd())
            {
                FlushOutput();
                std::this_thread::sleep_for(FILE_REST);
                oTime = std::chrono::system_clock::now();
                ReadOn();
            }
        });
    oScreen.PrintCounts(oLines.GetMalformed());
}
