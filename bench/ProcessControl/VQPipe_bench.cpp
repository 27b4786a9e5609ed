// Typed writes through a pipe, each beside write(2) of the same bytes. The bytes are read, without being counted,
// before the pipe is full.

#include <Common/ProcessControl/VQPipe.h>

#include <bench/support/Ratios.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>

#include <sys/types.h>
#include <sys/uio.h>
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

// What the system takes for a write that raises no signal when the reader is gone.
ssize_t WriteNoSignal(int nEnd, const void* pData, std::size_t nSize)
{
    constexpr int WRITE_NO_SIGNAL = 0x100; // RWF_NOSIGNAL, since Linux 6.18
    const iovec oData = {const_cast<void*>(pData), nSize};
    return pwritev2(nEnd, &oData, 1, -1, WRITE_NO_SIGNAL);
}

template <class TValue, ssize_t (*WRITE)(int, const void*, std::size_t)>
void Typed_Write(benchmark::State& oState)
{
    int aEnds[2];
    if (pipe(aEnds) != 0)
        return;
    TValue oValue = {};
    int nWaiting = 0;
    for (auto _ : oState)
    {
        if (WRITE(aEnds[1], &oValue, sizeof oValue) != sizeof oValue)
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

template <ssize_t (*WRITE)(int, const void*, std::size_t)>
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
        if (WRITE(aEnds[1], &nLength, sizeof nLength) != sizeof nLength ||
            WRITE(aEnds[1], sText.data(), sText.size()) != static_cast<ssize_t>(sText.size()))
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
    // The aim of all is within 1.1 of write(2). A write that raises no signal is beyond that by itself.
    RegisterBenchmark("write of an int/ours", Typed_Ours<int>);
    RegisterBenchmark("write of an int/write(2)", Typed_Write<int, write>);
    RegisterBenchmark("write of an int/without signal", Typed_Write<int, WriteNoSignal>);
    RegisterBenchmark("write of a double/ours", Typed_Ours<double>);
    RegisterBenchmark("write of a double/write(2)", Typed_Write<double, write>);
    RegisterBenchmark("write of a double/without signal", Typed_Write<double, WriteNoSignal>);
    RegisterBenchmark("write of a text/ours", Text_Ours);
    RegisterBenchmark("write of a text/write(2) twice", Text_Write<write>);
    RegisterBenchmark("write of a text/without signal", Text_Write<WriteNoSignal>);
    return RunWithRatios(nArguments, ppArguments);
}
