// A report of progress beside the sum and the virtual call that it cannot do without.

#include <Common/Loading/VQLoadGuard.h>

#include <bench/support/Ratios.h>

#include <cstddef>

namespace
{
class CWatch : public IVQLoadGuardWatch
{
public:
    void OnBeginLoading() override {}

    void OnLoadProgress(float fProgress, const char*) override { benchmark::DoNotOptimize(m_fProgress = fProgress); }

    void OnEndLoading() override {}

private:
    float m_fProgress = 0;
};

constexpr float STEP = 1e-9F;

template <std::size_t WATCHES>
void ReportOurs(benchmark::State& oState)
{
    CVQLoadGuard oGuard;
    CWatch aWatches[WATCHES];
    for (auto& oWatch : aWatches)
        oGuard.RegisterWatch(&oWatch);
    oGuard.BeginLoading();
    oGuard.BeginLoadComponent(0.5F, "textures");
    for (auto _ : oState)
        oGuard.LoadComponentCompleted(STEP, nullptr);
}

template <std::size_t WATCHES>
void ReportDirectly(benchmark::State& oState)
{
    CWatch aWatches[WATCHES];
    IVQLoadGuardWatch* apWatches[WATCHES];
    for (std::size_t i = 0; i < WATCHES; ++i)
        apWatches[i] = &aWatches[i];
    float fProgress = 0;
    for (auto _ : oState)
    {
        fProgress += STEP * 0.5F;
        benchmark::DoNotOptimize(apWatches);
        for (auto* pWatch : apWatches)
            pWatch->OnLoadProgress(fProgress, "textures");
    }
}

void Nest(benchmark::State& oState)
{
    CVQLoadGuard oGuard;
    CWatch oWatch;
    oGuard.RegisterWatch(&oWatch);
    oGuard.BeginLoading();
    for (auto _ : oState)
    {
        oGuard.BeginLoadComponent(0.5F, "textures");
        oGuard.EndLoadComponent();
    }
}

void NestDirectly(benchmark::State& oState)
{
    CWatch oWatch;
    IVQLoadGuardWatch* pWatch = &oWatch;
    for (auto _ : oState)
    {
        const CVQString oName("textures");
        benchmark::DoNotOptimize(pWatch);
        pWatch->OnLoadProgress(1.0F, oName);
    }
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    benchmark::RegisterBenchmark("loading/report to a watch/ours", ReportOurs<1>);
    benchmark::RegisterBenchmark("loading/report to a watch/virtual call", ReportDirectly<1>);
    benchmark::RegisterBenchmark("loading/report to 4 watches/ours", ReportOurs<4>);
    benchmark::RegisterBenchmark("loading/report to 4 watches/virtual calls", ReportDirectly<4>);
    benchmark::RegisterBenchmark("loading/begin and end/ours", Nest);
    benchmark::RegisterBenchmark("loading/begin and end/name and virtual call", NestDirectly);
    return RunWithRatios(nArguments, ppArguments);
}
