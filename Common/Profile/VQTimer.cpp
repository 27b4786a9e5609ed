#include <Common/Profile/VQTimer.h>

#include <Common/Platform/PlatformString.h>
#include <Common/Platform/System/SystemTime.h>

#include <cstdint>
#include <limits>

namespace
{
constexpr double MILLISECONDS_PER_SECOND = 1000.0;
constexpr std::int64_t MILLISECOND_CLOCK_FREQUENCY = 1000;

constinit CVQTimer* g_pTimer = nullptr;

// A number that does not fit becomes the nearest limit, and what is no number becomes 0.
std::int64_t Truncate(double dNumber)
{
    constexpr double LIMIT = 9223372036854775808.0;
    if (dNumber >= LIMIT)
        return std::numeric_limits<std::int64_t>::max();
    if (dNumber < -LIMIT)
        return std::numeric_limits<std::int64_t>::min();
    return dNumber == dNumber ? static_cast<std::int64_t>(dNumber) : 0;
}

unsigned long ToMilliseconds(double dSeconds)
{
    return static_cast<unsigned long>(Truncate(dSeconds * MILLISECONDS_PER_SECOND));
}

// Times far out, which only SetTime() makes, wrap around.
std::int64_t Add(std::int64_t nFirst, std::int64_t nSecond)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(nFirst) + static_cast<std::uint64_t>(nSecond));
}

std::int64_t Subtract(std::int64_t nFirst, std::int64_t nSecond)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(nFirst) - static_cast<std::uint64_t>(nSecond));
}

// The home aligns 8-byte numbers to 8 bytes.
struct sAlignment
{
    char cFirst;
    long long nSecond;
};

static_assert(sizeof(void*) != 4 || sizeof(sAlignment) != 16 || sizeof(CVQTimer) == 328);
} // namespace

CVQTimer::CVQTimer() : m_bHighResolution(false)
{
    g_pTimer = this;
    UseHighResolutionTimer(IsHighResolutionTimerAvailable());
}

CVQTimer::CVQTimer(const CVQTimer& oOther) = default;

CVQTimer& CVQTimer::operator=(const CVQTimer& oOther) = default;

CVQTimer::~CVQTimer()
{
    g_pTimer = nullptr;
}

int CVQTimer::GetNumChannels() const
{
    return CHANNEL_COUNT;
}

bool CVQTimer::DefineChannel(int nChannel, const char* pName)
{
    if (nChannel < 0 || nChannel >= CHANNEL_COUNT || IsDefined(nChannel))
        return false;

    sChannel& oChannel = At(nChannel);
    oChannel.m_oName = pName;
    oChannel.m_bDefined = true;
    oChannel.m_bRunning = false;
    oChannel.m_bPaused = false;
    oChannel.m_nPauseTime = 0;
    oChannel.m_bFrameTimeEnabled = false;
    oChannel.m_dFrameTime = 0.0;
    oChannel.m_dLastUpdateTime = 0.0;
    oChannel.m_nOrigin = 0;
    return true;
}

bool CVQTimer::UndefineChannel(int nChannel)
{
    if (nChannel < 0 || nChannel >= CHANNEL_COUNT)
        return false;

    if (IsDefined(nChannel))
    {
        At(nChannel).m_bDefined = false;
        At(nChannel).m_oName.Empty();
    }
    return true;
}

void CVQTimer::Start(int nChannel)
{
    At(nChannel).m_bRunning = true;
    At(nChannel).m_nOrigin = GetHardwareTime();
}

void CVQTimer::Stop(int nChannel)
{
    At(nChannel).m_bRunning = false;
}

void CVQTimer::Reset(int nChannel)
{
    At(nChannel).m_nOrigin = GetHardwareTime();
}

void CVQTimer::SetTime(int nChannel, double dSeconds)
{
    sChannel& oChannel = At(nChannel);
    if (oChannel.m_bFrameTimeEnabled)
        oChannel.m_dFrameTime = dSeconds;

    const std::int64_t nTicks = Truncate(static_cast<double>(GetHardwareTimerFrequency()) * dSeconds);
    oChannel.m_nOrigin = Subtract(GetHardwareTime(), nTicks);
    oChannel.m_nPauseTime = oChannel.m_nOrigin;
}

void CVQTimer::Pause(int nChannel)
{
    sChannel& oChannel = At(nChannel);
    if (oChannel.m_bPaused)
        return;

    oChannel.m_bPaused = true;
    oChannel.m_nPauseTime = GetHardwareTime();
}

void CVQTimer::Continue(int nChannel)
{
    sChannel& oChannel = At(nChannel);
    if (!oChannel.m_bPaused)
        return;

    oChannel.m_bPaused = false;
    oChannel.m_nOrigin = Add(oChannel.m_nOrigin, Subtract(GetHardwareTime(), oChannel.m_nPauseTime));
}

double CVQTimer::GetTime(int nChannel) const
{
    const sChannel& oChannel = At(nChannel);
    if (!oChannel.m_bDefined || !oChannel.m_bRunning)
        return 0.0;

    // A channel that runs has the shortest way: it is asked often, and nothing is left to do behind the clock.
    if (IsHighResolutionTimerActive() && !oChannel.m_bPaused)
        return System::ReadSecondsSince(oChannel.m_nOrigin);

    return ReadTime(oChannel);
}

unsigned long CVQTimer::GetTimeInMs(int nChannel) const
{
    return ToMilliseconds(GetTime(nChannel));
}

double CVQTimer::GetTimeDirect() const
{
    return ToSeconds(GetHardwareTime());
}

unsigned long CVQTimer::GetTimeInMsDirect() const
{
    return ToMilliseconds(GetTimeDirect());
}

void CVQTimer::EnableFrameTime(int nChannel)
{
    At(nChannel).m_bFrameTimeEnabled = true;
    At(nChannel).m_dFrameTime = GetTime(nChannel);
}

void CVQTimer::DisableFrameTime(int nChannel)
{
    At(nChannel).m_bFrameTimeEnabled = false;
}

bool CVQTimer::IsFrameTimeEnabled(int nChannel) const
{
    return At(nChannel).m_bFrameTimeEnabled;
}

double CVQTimer::GetFrameTime(int nChannel) const
{
    if (!IsDefinedAndRunning(nChannel))
        return 0.0;
    return IsFrameTimeEnabled(nChannel) ? At(nChannel).m_dFrameTime : GetTime(nChannel);
}

double CVQTimer::GetFPS(int nChannel) const
{
    return At(nChannel).m_dFramesPerSecond;
}

void CVQTimer::Update(int nChannel)
{
    if (!IsDefinedAndRunning(nChannel))
        return;

    sChannel& oChannel = At(nChannel);
    oChannel.m_dFrameTime = GetTime(nChannel);

    const double dLength = oChannel.m_dFrameTime - oChannel.m_dLastUpdateTime;
    oChannel.m_dFramesPerSecond = dLength > 0.0 ? 1.0 / dLength : 0.0;
    oChannel.m_dLastUpdateTime = oChannel.m_dFrameTime;
}

void CVQTimer::UpdateAll()
{
    for (int nChannel = 0; nChannel < CHANNEL_COUNT; ++nChannel)
        Update(nChannel);
}

bool CVQTimer::IsDefined(int nChannel) const
{
    return At(nChannel).m_bDefined;
}

bool CVQTimer::IsRunning(int nChannel) const
{
    return At(nChannel).m_bRunning;
}

bool CVQTimer::IsPaused(int nChannel) const
{
    return At(nChannel).m_bPaused;
}

bool CVQTimer::IsDefinedAndRunning(int nChannel) const
{
    return IsDefined(nChannel) && IsRunning(nChannel);
}

const char* CVQTimer::GetChannelName(int nChannel) const
{
    return At(nChannel).m_oName.GetString();
}

int CVQTimer::GetChannelByName(const char* pName) const
{
    for (int nChannel = 0; nChannel < CHANNEL_COUNT; ++nChannel)
    {
        if (IsDefined(nChannel) && STR_stricmp(GetChannelName(nChannel), pName) == 0)
            return nChannel;
    }
    return -1;
}

int CVQTimer::InstallTimeEvent(int nDelay, int nResolution, TTimeEventFn pCallback, unsigned long nUser, int nKind)
{
    const auto nPeriod = static_cast<unsigned>(nDelay);
    if (!System::BeginTimerPeriod(nPeriod))
        return -1;

    return static_cast<int>(System::StartTimeEvent(nPeriod, static_cast<unsigned>(nResolution), pCallback, nUser,
                                                   nKind == TIME_EVENT_PERIODIC));
}

void CVQTimer::UninstallTimeEvent(int nEvent, int nDelay)
{
    System::StopTimeEvent(static_cast<unsigned>(nEvent));
    System::EndTimerPeriod(static_cast<unsigned>(nDelay));
}

bool CVQTimer::IsHighResolutionTimerAvailable() const
{
    return System::ReadPerformanceCounter() != 0;
}

void CVQTimer::UseHighResolutionTimer(bool bUse)
{
    m_bHighResolution = bUse;
}

bool CVQTimer::IsHighResolutionTimerActive() const
{
    return m_bHighResolution;
}

long long CVQTimer::GetHardwareTime() const
{
    return IsHighResolutionTimerActive() ? System::ReadPerformanceCounter()
                                         : static_cast<std::int64_t>(System::ReadMediaClock());
}

long long CVQTimer::GetHardwareTimerFrequency() const
{
    return IsHighResolutionTimerActive() ? System::GetPerformanceFrequency() : MILLISECOND_CLOCK_FREQUENCY;
}

// Apart from GetTime(), which so needs no registers.
__attribute__((noinline)) double CVQTimer::ReadTime(const sChannel& oChannel) const
{
    return ToSeconds(Subtract(oChannel.m_bPaused ? oChannel.m_nPauseTime : GetHardwareTime(), oChannel.m_nOrigin));
}

double CVQTimer::ToSeconds(std::int64_t nHardwareTime) const
{
    return IsHighResolutionTimerActive()
               ? System::ToSeconds(nHardwareTime)
               : static_cast<double>(nHardwareTime) / static_cast<double>(MILLISECOND_CLOCK_FREQUENCY);
}

CVQTimer* VQGetTimer()
{
    return g_pTimer;
}
