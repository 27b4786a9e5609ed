// What a report costs, by its outputs, beside the least that the same output costs without the log. The monitor of the
// mail runs in this process; nobody else may listen meanwhile.

#include <Common/Debug/Log.h>
#include <Common/MailSlot/VQMailSlot.h>

#include <bench/support/Ratios.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
/// Messages that are sent before a reader, whose work is not counted, takes them. The system lets ten datagrams wait,
/// whatever their size.
constexpr int BURST = 8;

/// A directory for the logs, which is the current one meanwhile.
class CWorkshop
{
public:
    CWorkshop() : m_oPath(fs::temp_directory_path() / ("common-bench-" + std::to_string(::getpid())))
    {
        fs::create_directories(m_oPath);
        fs::current_path(m_oPath);
    }

    ~CWorkshop()
    {
        std::error_code oIgnored;
        fs::current_path(m_oPath.parent_path(), oIgnored);
        fs::remove_all(m_oPath, oIgnored);
    }

    CWorkshop(const CWorkshop&) = delete;
    CWorkshop& operator=(const CWorkshop&) = delete;

private:
    fs::path m_oPath;
};

void Log(unsigned long nOutputs, int nNumber)
{
    _VQ_Log_Fn("game/World", "Lander", "loading", 42, 0, nOutputs, ecInfo, "level %d has %s", nNumber,
               "no ship at all");
}

// ---------------------------------------------------------------- a line in the file

void File_Ours(benchmark::State& oState)
{
    const CWorkshop oWorkshop;
    int nNumber = 0;
    for (auto _ : oState)
        Log(LOG_FILE, ++nNumber);
}

void File_Stdio(benchmark::State& oState)
{
    const CWorkshop oWorkshop;
    Log(LOG_FILE, 1000);
    std::ifstream oFile("Lander.log", std::ios::binary);
    const std::string sLine{std::istreambuf_iterator<char>(oFile), {}};
    for (auto _ : oState)
    {
        std::FILE* pFile = std::fopen("Other.log", "ab");
        if (pFile == nullptr || std::fwrite(sLine.data(), 1, sLine.size(), pFile) != sLine.size() ||
            std::fflush(pFile) != 0 || std::fclose(pFile) != 0)
            oState.SkipWithError("cannot write");
    }
}

// ---------------------------------------------------------------- a record to a monitor

void Mail_Ours(benchmark::State& oState)
{
    CVQMailSlot oMonitor;
    try
    {
        oMonitor.Open("\\\\.\\mailslot\\debug", true);
    }
    catch (const CMailSlotException&)
    {
        oState.SkipWithError("another monitor listens");
        return;
    }

    int nWaiting = 0;
    int nReceived = 0;
    for (auto _ : oState)
    {
        Log(LOG_NETWORK, nWaiting);
        if (++nWaiting < BURST)
            continue;
        oState.PauseTiming();
        for (; oMonitor.AreMessagesWaiting(); ++nReceived)
            oMonitor.BeginRead();
        nWaiting = 0;
        oState.ResumeTiming();
    }
    for (; oMonitor.AreMessagesWaiting(); ++nReceived)
        oMonitor.BeginRead();
    if (nReceived < oState.iterations())
        oState.SkipWithError("records were lost");
}

/// The bytes of the record that Log() sends.
std::string TakeRecord()
{
    CVQMailSlot oMonitor;
    oMonitor.Open("\\\\.\\mailslot\\debug", true);
    Log(LOG_NETWORK, 50);
    std::string sRecord(oMonitor.GetMessageSize(), '\0');
    oMonitor.BeginRead();
    oMonitor.Read(sRecord.data(), static_cast<unsigned long>(sRecord.size()));
    return sRecord;
}

/// What every report does, whatever its outputs.
void ReadNameAndFormat(int nNumber)
{
    char aName[261];
    char aMessage[256];
    gethostname(aName, sizeof aName);
    std::snprintf(aMessage, sizeof aMessage, "level %d has %s", nNumber, "no ship at all");
    benchmark::DoNotOptimize(aName);
    benchmark::DoNotOptimize(aMessage);
}

/// One sendto of the record, to a datagram socket of this computer that a reader empties in the same way.
///
/// @param bPrepare  with what every report does before it
void SendLocally(benchmark::State& oState, bool bPrepare)
{
    const std::string sRecord = TakeRecord();
    sockaddr_un oAddress = {};
    oAddress.sun_family = AF_UNIX;
    const std::string sPath = std::string(1, '\0') + "common-bench-" + std::to_string(::getpid());
    std::memcpy(oAddress.sun_path, sPath.data(), sPath.size());
    const auto nAddressSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sPath.size());
    const auto* pAddress = reinterpret_cast<const sockaddr*>(&oAddress);

    const int nReader = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int nSender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int nFlags = MSG_NOSIGNAL;
    if (bind(nReader, pAddress, nAddressSize) != 0)
        oState.SkipWithError("cannot bind");

    std::array<char, 512> aBytes;
    int nWaiting = 0;
    for (auto _ : oState)
    {
        if (bPrepare)
            ReadNameAndFormat(nWaiting);
        if (sendto(nSender, sRecord.data(), sRecord.size(), nFlags, pAddress, nAddressSize) == -1)
            oState.SkipWithError("cannot send");
        if (++nWaiting < BURST)
            continue;
        oState.PauseTiming();
        while (recv(nReader, aBytes.data(), aBytes.size(), 0) > 0)
        {
        }
        nWaiting = 0;
        oState.ResumeTiming();
    }
    close(nSender);
    close(nReader);
}

void Mail_Sendto(benchmark::State& oState)
{
    SendLocally(oState, false);
}

/// The least that a record can cost: the aim below is less.
void Mail_Least(benchmark::State& oState)
{
    SendLocally(oState, true);
}

/// One sendto of the record by UDP to this computer, as mail between computers goes.
void Mail_SendtoUdp(benchmark::State& oState)
{
    const std::string sRecord = TakeRecord();
    sockaddr_in oAddress = {};
    oAddress.sin_family = AF_INET;
    oAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int nReader = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int nSender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    socklen_t nAddressSize = sizeof oAddress;
    auto* pAddress = reinterpret_cast<sockaddr*>(&oAddress);
    if (bind(nReader, pAddress, nAddressSize) != 0 || getsockname(nReader, pAddress, &nAddressSize) != 0)
        oState.SkipWithError("cannot bind");

    std::array<char, 512> aBytes;
    int nWaiting = 0;
    for (auto _ : oState)
    {
        if (sendto(nSender, sRecord.data(), sRecord.size(), 0, pAddress, nAddressSize) == -1)
            oState.SkipWithError("cannot send");
        if (++nWaiting < BURST)
            continue;
        oState.PauseTiming();
        while (recv(nReader, aBytes.data(), aBytes.size(), 0) > 0)
        {
        }
        nWaiting = 0;
        oState.ResumeTiming();
    }
    close(nSender);
    close(nReader);
}

// ---------------------------------------------------------------- nothing but the preparation

void Nothing_Ours(benchmark::State& oState)
{
    int nNumber = 0;
    for (auto _ : oState)
        Log(0, ++nNumber);
}

void Nothing_Snprintf(benchmark::State& oState)
{
    int nNumber = 0;
    for (auto _ : oState)
        ReadNameAndFormat(++nNumber);
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("a line in the file/ours", File_Ours); // aim: within 1.2
    RegisterBenchmark("a line in the file/stdio", File_Stdio);
    RegisterBenchmark("a record to a monitor/ours", Mail_Ours); // aim: within 1.5
    RegisterBenchmark("a record to a monitor/sendto, local", Mail_Sendto);
    RegisterBenchmark("a record to a monitor/name, snprintf, sendto", Mail_Least);
    RegisterBenchmark("a record to a monitor/sendto, UDP", Mail_SendtoUdp);
    RegisterBenchmark("no output/ours", Nothing_Ours); // aim: within 1.3
    RegisterBenchmark("no output/snprintf and host name", Nothing_Snprintf);
    return RunWithRatios(nArguments, ppArguments);
}
