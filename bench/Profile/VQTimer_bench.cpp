// The time of a channel beside the system's own clock, and periodic calls beside the system's own timer.

#include <Common/Profile/VQTimer.h>

#include <bench/support/Ratios.h>

#include <atomic>
#include <chrono>
#include <cstdint>

#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

namespace
{
void TimeOurs(benchmark::State& oState)
{
    CVQTimer oTimer;
    oTimer.DefineChannel(0, "game");
    oTimer.Start(0);
    for (auto _ : oState)
        benchmark::DoNotOptimize(oTimer.GetTime(0));
}

void TimeSystem(benchmark::State& oState)
{
    for (auto _ : oState)
    {
        timespec oNow;
        clock_gettime(CLOCK_MONOTONIC, &oNow);
        benchmark::DoNotOptimize(oNow);
    }
}

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds PERIOD{1};
constexpr int PERIODS = 2000;

// Ticks and how late they come after the deadlines, which are multiples of the period.
struct sTicks
{
    Clock::time_point oStart;
    std::atomic<int> nTicks = 0;
    std::atomic<std::int64_t> nLateness = 0; // nanoseconds, all together

    void Add()
    {
        const auto oPassed = Clock::now() - oStart;
        nLateness += std::chrono::nanoseconds(oPassed % PERIOD).count();
        ++nTicks;
    }

    void Show(benchmark::State& oState) const
    {
        oState.counters["ticks"] = nTicks.load();
        oState.counters["late_us"] = static_cast<double>(nLateness) / nTicks.load() / 1000.0;
    }
};

sTicks* g_pTicks = nullptr;

void Tick(unsigned, unsigned, unsigned long, unsigned long, unsigned long)
{
    g_pTicks->Add();
}

void EventsOurs(benchmark::State& oState)
{
    // The first event begins the thread, which is not what is measured.
    sTicks oFirst;
    g_pTicks = &oFirst;
    CVQTimer::UninstallTimeEvent(CVQTimer::InstallTimeEvent(1, 0, &Tick, 0, CVQTimer::TIME_EVENT_PERIODIC), 1);

    for (auto _ : oState)
    {
        sTicks oTicks;
        g_pTicks = &oTicks;
        oTicks.oStart = Clock::now();
        const int nEvent = CVQTimer::InstallTimeEvent(1, 0, &Tick, 0, CVQTimer::TIME_EVENT_PERIODIC);
        while (Clock::now() - oTicks.oStart < PERIOD * PERIODS)
            usleep(10000);
        CVQTimer::UninstallTimeEvent(nEvent, 1);
        oTicks.Show(oState);
    }
}

void EventsTimerfd(benchmark::State& oState)
{
    for (auto _ : oState)
    {
        sTicks oTicks;
        const int nTimer = timerfd_create(CLOCK_MONOTONIC, 0);
        itimerspec oTimes = {};
        oTimes.it_interval.tv_nsec = std::chrono::nanoseconds(PERIOD).count();
        oTimes.it_value = oTimes.it_interval;
        oTicks.oStart = Clock::now();
        timerfd_settime(nTimer, 0, &oTimes, nullptr);
        while (Clock::now() - oTicks.oStart < PERIOD * PERIODS)
        {
            std::uint64_t nExpired = 0;
            if (read(nTimer, &nExpired, sizeof nExpired) == sizeof nExpired)
                oTicks.Add();
        }
        close(nTimer);
        oTicks.Show(oState);
    }
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("time of a channel/ours", TimeOurs); // aim: within 1.2
    RegisterBenchmark("time of a channel/clock_gettime", TimeSystem);
    RegisterBenchmark("events of 1 ms for 2 s/ours", EventsOurs)->Iterations(1)->UseRealTime(); // see ticks and late_us
    RegisterBenchmark("events of 1 ms for 2 s/timerfd", EventsTimerfd)->Iterations(1)->UseRealTime();
    return RunWithRatios(nArguments, ppArguments);
}
