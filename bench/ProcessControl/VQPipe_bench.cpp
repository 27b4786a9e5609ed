// Typed writes through a pipe, each beside write(2) of the same bytes. The bytes are read, without being counted,
// before the pipe is full.

#include <Common/ProcessControl/VQPipe.h>

#include <bench/support/Ratios.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>

#include <unistd.h>

namespace
{
constexpr int BURST = 2000;

const char* const TEXT = "a text of some thirty characters";

template <class TValue>
void Typed_Ours(benchmark::State& oState)
{
    CVQPipe oPipe;
    oPipe.Open();
    TValue oValue = {};
    int nWaiting = 0;
    for (auto _ : oState)
    {
        oPipe.Write(oValue);
        if (++nWaiting < BURST)
            continue;
        oState.PauseTiming();
        for (; nWaiting > 0; --nWaiting)
            oPipe.Read(oValue);
        oState.ResumeTiming();
    }
}

template <class TValue>
void Typed_Write(benchmark::State& oState)
{
    int aEnds[2];
    if (pipe(aEnds) != 0)
        return;
    TValue oValue = {};
    int nWaiting = 0;
    for (auto _ : oState)
    {
        if (write(aEnds[1], &oValue, sizeof oValue) != sizeof oValue)
            oState.SkipWithError("cannot write");
        if (++nWaiting < BURST)
            continue;
        oState.PauseTiming();
        for (; nWaiting > 0; --nWaiting)
            if (read(aEnds[0], &oValue, sizeof oValue) != sizeof oValue)
                oState.SkipWithError("cannot read");
        oState.ResumeTiming();
    }
    close(aEnds[0]);
    close(aEnds[1]);
}

void Text_Ours(benchmark::State& oState)
{
    CVQPipe oPipe;
    oPipe.Open();
    const CVQString sText(TEXT);
    CVQString sRead;
    int nWaiting = 0;
    for (auto _ : oState)
    {
        oPipe.Write(sText);
        if (++nWaiting < BURST / 2)
            continue;
        oState.PauseTiming();
        for (; nWaiting > 0; --nWaiting)
            oPipe.Read(sRead);
        oState.ResumeTiming();
    }
}

void Text_Write(benchmark::State& oState)
{
    int aEnds[2];
    if (pipe(aEnds) != 0)
        return;
    const std::string sText(TEXT);
    const auto nLength = static_cast<std::int32_t>(sText.size());
    std::array<char, 64> aBytes;
    int nWaiting = 0;
    for (auto _ : oState)
    {
        if (write(aEnds[1], &nLength, sizeof nLength) != sizeof nLength ||
            write(aEnds[1], sText.data(), sText.size()) != static_cast<ssize_t>(sText.size()))
            oState.SkipWithError("cannot write");
        if (++nWaiting < BURST / 2)
            continue;
        oState.PauseTiming();
        for (; nWaiting > 0; --nWaiting)
            if (read(aEnds[0], aBytes.data(), sizeof nLength + sText.size()) <= 0)
                oState.SkipWithError("cannot read");
        oState.ResumeTiming();
    }
    close(aEnds[0]);
    close(aEnds[1]);
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using benchmark::RegisterBenchmark;
    // The aim of all is within 1.1.
    RegisterBenchmark("write of an int/ours", Typed_Ours<int>);
    RegisterBenchmark("write of an int/write(2)", Typed_Write<int>);
    RegisterBenchmark("write of a double/ours", Typed_Ours<double>);
    RegisterBenchmark("write of a double/write(2)", Typed_Write<double>);
    RegisterBenchmark("write of a text/ours", Text_Ours);
    RegisterBenchmark("write of a text/write(2) twice", Text_Write);
    return RunWithRatios(nArguments, ppArguments);
}
