// Two threads that wake each other in turn, through events and through what the C++ library has for it.

#include <Common/ProcessControl/VQEvent.h>

#include <bench/support/Ratios.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace
{
// An event that resets itself, of a mutex and a condition variable.
class ConditionEvent
{
public:
    void Signal()
    {
        {
            const std::lock_guard oGuard(m_oMutex);
            m_bSignalled = true;
        }
        m_oCondition.notify_one();
    }

    void Wait()
    {
        std::unique_lock oGuard(m_oMutex);
        m_oCondition.wait(oGuard, [this] { return m_bSignalled; });
        m_bSignalled = false;
    }

private:
    std::mutex m_oMutex;
    std::condition_variable m_oCondition;
    bool m_bSignalled = false;
};

// One round: there and back.
template <class Event>
void PingPong(benchmark::State& oState)
{
    Event oPing;
    Event oPong;
    bool bEnd = false; // written before the last ping
    std::thread oOther(
        [&]
        {
            for (;;)
            {
                oPing.Wait();
                if (bEnd)
                    return;
                oPong.Signal();
            }
        });
    for (auto _ : oState)
    {
        oPing.Signal();
        oPong.Wait();
    }
    bEnd = true;
    oPing.Signal();
    oOther.join();
}

// A signal that nobody waits for, and the wait that takes it.
template <class Event>
void SignalAndTake(benchmark::State& oState)
{
    Event oEvent;
    for (auto _ : oState)
    {
        oEvent.Signal();
        oEvent.Wait();
    }
}

void CreateAndDestroy(benchmark::State& oState)
{
    for (auto _ : oState)
    {
        CVQEvent oEvent;
        benchmark::DoNotOptimize(oEvent);
    }
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("ping-pong/ours", PingPong<CVQEvent>)->UseRealTime(); // aim: within 1.3
    RegisterBenchmark("ping-pong/condition variable", PingPong<ConditionEvent>)->UseRealTime();
    RegisterBenchmark("signal and take/ours", SignalAndTake<CVQEvent>);
    RegisterBenchmark("signal and take/condition variable", SignalAndTake<ConditionEvent>);
    RegisterBenchmark("create and destroy/ours", CreateAndDestroy);
    return RunWithRatios(nArguments, ppArguments);
}
