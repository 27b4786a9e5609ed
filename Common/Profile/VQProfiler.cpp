#include <Common/Profile/VQProfiler.h>

#include <Common/Profile/ProfileRecords.h>

#include <Common/Debug/Log.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/System/PreserveRegisters.h>
#include <Common/Platform/System/SystemMemory.h>
#include <Common/Platform/System/SystemThread.h>
#include <Common/Platform/System/SystemTime.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>

namespace
{
constexpr const char* SOURCE_FILE = "Common/Profile/VQProfiler";
constexpr const char* APPLICATION = "Zembrolia";
constexpr const char* REPORT_NAME = "VQProfiler.htm";

constexpr std::size_t BUFFER_SIZE = 0x3000000;
constexpr int BUFFER_FILL = 0x21;

// Begins are not checked: what a program too many of them writes goes here, and then meets the guard of the memory.
constexpr std::size_t RESERVE_SIZE = 4096 * sizeof(sVQProfileRawSample);

constexpr int CALIBRATION_PAIRS = 1000;
constexpr unsigned CLOCK_MEASUREMENT_MS = 100;
constexpr double MILLISECONDS_PER_SECOND = 1000.0;
constexpr double SECONDS_PER_MILLISECOND = 0.001;

constinit CVQProfiler* g_pProfiler = nullptr;

// The buffer; null when there is none.
constinit sVQProfileRawSample* g_pBufferStart = nullptr;
constinit sVQProfileRawSample* g_pBufferEnd = nullptr;
constinit sVQProfileRawSample* g_pWritePosition = nullptr;

void BeginNothing(const char*) {}

void EndNothing() {}

[[noreturn]] void EndProgram()
{
    constexpr unsigned long LINE = 95;
    constexpr unsigned long ALL_OUTPUTS = LOG_DEBUGGER | LOG_FILE | LOG_NETWORK | LOG_MESSAGEBOX;

    // What the report's outputs call may hold brackets of its own.
    g_pFnBeginSample = &BeginNothing;
    g_pFnEndSample = &EndNothing;

    _VQ_Log_Fn(SOURCE_FILE, APPLICATION, "", LINE, 0, ALL_OUTPUTS, ecCriticalError, "%s",
               "CVQProfiler Sample buffer is full.");
    if (g_pProfiler != nullptr)
        g_pProfiler->EndSession(true, true);
    Debug_Exit(0);
}

[[noreturn]] COMMON_PRESERVE_REGISTERS __attribute__((noinline, cold)) void HandleFullBuffer()
{
    EndProgram();
}

COMMON_PRESERVE_REGISTERS void RecordBegin(const char* pName)
{
    g_pWritePosition->m_pName = pName;
    System::KeepOrder();
    const std::uint64_t nCounter = System::ReadCycleCounter();
    System::KeepOrder(); // the position is read again: that is cheaper than a register to keep it in
    sVQProfileRawSample* const pSample = g_pWritePosition;
    pSample->m_nCounter = nCounter;
    g_pWritePosition = pSample + 1;
    COMMON_KEEP_ARGUMENT(pName);
}

COMMON_PRESERVE_REGISTERS void RecordEnd()
{
    const std::uint64_t nCounter = System::ReadCycleCounter();
    System::KeepOrder();
    sVQProfileRawSample* const pSample = g_pWritePosition;
    pSample->m_nCounter = nCounter;
    pSample->m_pName = nullptr;
    g_pWritePosition = pSample + 1;
    if (pSample + 1 > g_pBufferEnd)
        HandleFullBuffer();
}

void WarnOfCycleCounter()
{
    static std::atomic<bool> s_bWarned = false;
    if (System::IsCycleCounterConstant() || s_bWarned.exchange(true))
        return;

    _VQ_Log_Fn(SOURCE_FILE, APPLICATION, "", __LINE__, 0, LOG_DEBUGGER | LOG_FILE, ecWarning, "%s",
               "The processor's cycle counter has no constant rate. Times of the profiler may be wrong.");
}
} // namespace

bool g_bVQProfilerEnabled = false;
VQBeginSampleFn g_pFnBeginSample = &BeginNothing;
VQEndSampleFn g_pFnEndSample = &EndNothing;

std::span<sVQProfileRawSample> ProfileRecords::GetAll()
{
    return {g_pBufferStart, g_pWritePosition};
}

CVQProfiler* VQGetProfiler()
{
    return g_pProfiler;
}

CVQProfiler::CVQProfiler()
{
    g_pProfiler = this;
    DisableSampling();
}

CVQProfiler::CVQProfiler(const CVQProfiler& oOther) = default;

CVQProfiler& CVQProfiler::operator=(const CVQProfiler& oOther) = default;

CVQProfiler::~CVQProfiler()
{
    DisableSampling();
    System::FreeGuardedMemory(g_pBufferStart, BUFFER_SIZE + RESERVE_SIZE);
    g_pBufferStart = nullptr;
    g_pBufferEnd = nullptr;
    g_pWritePosition = nullptr;
    if (g_pProfiler == this)
        g_pProfiler = nullptr;
}

void CVQProfiler::BeginSession(const char* pName)
{
    if (!g_bVQProfilerEnabled)
        return;

    m_bSessionActive = false;
    try
    {
        m_oSessionName = pName;
        EnableSampling();
        Initialize();
    }
    catch (...)
    {
        DisableSampling(); // what nobody will read is not to fill the buffer
        throw;
    }
    m_dSessionDuration = 0.0;
    m_bCollecting = false;
    m_nSessionStart = System::ReadPerformanceCounter();
    m_bSessionActive = true;
}

void CVQProfiler::EndSession(bool bAnalyse, bool bWriteReport)
{
    if (!g_bVQProfilerEnabled || !m_bSessionActive)
        return;

    DisableSampling();

    const std::int64_t nNow = System::ReadPerformanceCounter();
    const auto dFrequency = static_cast<double>(System::GetPerformanceFrequency());
    m_dSessionDuration = static_cast<double>(nNow - m_nSessionStart) / (dFrequency * SECONDS_PER_MILLISECOND);
    m_nSessionStart = nNow;

    if (bAnalyse)
        ProcessSampleData();
    if (bWriteReport)
        WriteProfileLog(REPORT_NAME);
    m_bSessionActive = false;
}

void CVQProfiler::SessionByCount(int nStartFrame, int nEndFrame, const char* pName)
{
    if (!g_bVQProfilerEnabled)
        return;

    if (m_nFrame == nStartFrame)
    {
        HOOK_Beep(bkQuestion);
        BeginSession(pName);
    }
    else if (m_nFrame == nEndFrame)
    {
        EndSession(true, true);
        Debug_Exit(0);
    }
    ++m_nFrame;
}

std::span<const sVQProfileRawSample> CVQProfiler::GetRawSamples() const
{
    return ProfileRecords::GetAll();
}

void CVQProfiler::Initialize()
{
    if (g_pBufferStart == nullptr)
    {
        void* const pMemory = System::AllocateGuardedMemory(BUFFER_SIZE + RESERVE_SIZE);
        if (pMemory == nullptr)
            throw std::bad_alloc();

        // Written to once, so that no sample has to wait for a page.
        std::memset(pMemory, BUFFER_FILL, BUFFER_SIZE + RESERVE_SIZE);
        g_pBufferStart = static_cast<sVQProfileRawSample*>(pMemory);
        g_pBufferEnd = g_pBufferStart + BUFFER_SIZE / sizeof(sVQProfileRawSample);
    }
    g_pWritePosition = g_pBufferStart;
    m_oSamples.clear();

    WarnOfCycleCounter();
    CalibrateSampleOverhead();
    m_dClockSpeed = GetCPUClockspeed();
}

void CVQProfiler::EnableSampling()
{
    if (g_pProfiler == nullptr)
        return;

    // The convention of the two goes along with that of the hooks: it only asks for less.
    g_pFnBeginSample = reinterpret_cast<VQBeginSampleFn>(&RecordBegin);
    g_pFnEndSample = reinterpret_cast<VQEndSampleFn>(&RecordEnd);
}

void CVQProfiler::DisableSampling()
{
    g_pFnBeginSample = &BeginNothing;
    g_pFnEndSample = &EndNothing;
}

void CVQProfiler::CalibrateSampleOverhead()
{
    m_nSampleOverhead = 0;
    for (int i = 0; i < CALIBRATION_PAIRS; ++i)
    {
        g_pFnBeginSample("Calibration");
        g_pFnEndSample();
    }

    CollectSampleTimes(false);
    if (!m_oSamples.empty())
    {
        const sVQProfileAnalysedSample& oPair = m_oSamples.front();
        m_nSampleOverhead = static_cast<std::int32_t>(oPair.m_nTotalCycles / oPair.m_nSamples);
    }
    m_oSamples.clear();
    g_pWritePosition = g_pBufferStart;
}

double CVQProfiler::GetCPUClockspeed()
{
    const auto dFrequency = static_cast<double>(System::GetPerformanceFrequency());
    const std::int64_t nStart = System::ReadPerformanceCounter();
    const std::uint64_t nFirstCycle = System::ReadCycleCounter();
    System::SleepFor(CLOCK_MEASUREMENT_MS);
    const std::uint64_t nLastCycle = System::ReadCycleCounter();
    const std::int64_t nEnd = System::ReadPerformanceCounter();
    return static_cast<double>(nLastCycle - nFirstCycle) * dFrequency / static_cast<double>(nEnd - nStart);
}

double CVQProfiler::CyclesToMs(qWord& nCycles)
{
    return static_cast<double>(static_cast<std::int64_t>(nCycles)) / m_dClockSpeed * MILLISECONDS_PER_SECOND;
}

bool CVQProfiler::IsStartSample(sVQProfileRawSample* pSample)
{
    return pSample->m_pName != nullptr;
}

bool CVQProfiler::IsEndSample(sVQProfileRawSample* pSample)
{
    return pSample->m_pName == nullptr;
}

bool CVQProfiler::IsMainLoopStartSample(sVQProfileRawSample* pSample)
{
    return IsStartSample(pSample) && std::strcmp(pSample->m_pName, "MainLoop") == 0;
}
