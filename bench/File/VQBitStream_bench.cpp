// A million bits written, and read back, beside std::vector<bool>.

#include <Common/File/VQBitStream.h>
#include <bench/support/Ratios.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace
{
constexpr int BITS = 1 << 20;

/// The next of a row of bits without a pattern.
bool NextBit(std::uint32_t& nState)
{
    nState = nState * 1664525U + 1013904223U;
    return nState >> 31 != 0;
}

/// Lets a value be used, and leaves what is in memory alone.
void Use(int nValue)
{
    asm volatile("" : : "r"(nValue));
}

void WriteOurs(benchmark::State& oState)
{
    CVQBitStream oStream;
    for (auto _ : oState)
    {
        std::uint32_t nState = 1;
        oStream.BeginWrite();
        for (int i = 0; i < BITS; ++i)
            oStream.Write(NextBit(nState));
        oStream.EndWrite();
        benchmark::DoNotOptimize(oStream.GetBuffer());
        benchmark::ClobberMemory();
    }
}

void WriteVector(benchmark::State& oState)
{
    std::vector<bool> oBits;
    for (auto _ : oState)
    {
        std::uint32_t nState = 1;
        oBits.clear();
        for (int i = 0; i < BITS; ++i)
            oBits.push_back(NextBit(nState));
        benchmark::DoNotOptimize(oBits);
        benchmark::ClobberMemory();
    }
}

void WriteNewOurs(benchmark::State& oState)
{
    for (auto _ : oState)
    {
        std::uint32_t nState = 1;
        CVQBitStream oStream;
        oStream.BeginWrite();
        for (int i = 0; i < BITS; ++i)
            oStream.Write(NextBit(nState));
        benchmark::DoNotOptimize(oStream.GetBuffer());
        benchmark::ClobberMemory();
    }
}

void WriteNewVector(benchmark::State& oState)
{
    for (auto _ : oState)
    {
        std::uint32_t nState = 1;
        std::vector<bool> oBits;
        for (int i = 0; i < BITS; ++i)
            oBits.push_back(NextBit(nState));
        benchmark::DoNotOptimize(oBits);
        benchmark::ClobberMemory();
    }
}

void ReadOurs(benchmark::State& oState)
{
    CVQBitStream oStream;
    std::uint32_t nState = 1;
    oStream.BeginWrite();
    for (int i = 0; i < BITS; ++i)
        oStream.Write(NextBit(nState));
    for (auto _ : oState)
    {
        int nSet = 0;
        oStream.BeginRead();
        for (int i = 0; i < BITS; ++i)
        {
            bool bValue = false;
            oStream.Read(bValue);
            nSet += bValue ? 1 : 0;
            Use(nSet);
        }
    }
}

void ReadVector(benchmark::State& oState)
{
    std::vector<bool> oBits;
    std::uint32_t nState = 1;
    for (int i = 0; i < BITS; ++i)
        oBits.push_back(NextBit(nState));
    for (auto _ : oState)
    {
        int nSet = 0;
        for (const bool bValue : oBits)
        {
            nSet += bValue ? 1 : 0;
            Use(nSet);
        }
    }
}

void GetBitOurs(benchmark::State& oState)
{
    CVQBitArray oArray(BITS);
    std::uint32_t nState = 1;
    for (int i = 0; i < BITS; ++i)
        oArray.SetBit(i, NextBit(nState));
    for (auto _ : oState)
    {
        int nSet = 0;
        for (int i = 0; i < BITS; ++i)
        {
            nSet += oArray.GetBit(i) ? 1 : 0;
            Use(nSet);
        }
    }
}

void GetBitVector(benchmark::State& oState)
{
    std::vector<bool> oBits(BITS);
    std::uint32_t nState = 1;
    for (std::size_t i = 0; i < oBits.size(); ++i)
        oBits[i] = NextBit(nState);
    for (auto _ : oState)
    {
        int nSet = 0;
        for (std::size_t i = 0; i < oBits.size(); ++i)
        {
            nSet += oBits[i] ? 1 : 0;
            Use(nSet);
        }
    }
}

BENCHMARK(WriteOurs)->Name("write/1M_bits/ours");
BENCHMARK(WriteVector)->Name("write/1M_bits/vector<bool>");
BENCHMARK(WriteNewOurs)->Name("write_new/1M_bits/ours");
BENCHMARK(WriteNewVector)->Name("write_new/1M_bits/vector<bool>");
BENCHMARK(ReadOurs)->Name("read/1M_bits/ours");
BENCHMARK(ReadVector)->Name("read/1M_bits/vector<bool>");
BENCHMARK(GetBitOurs)->Name("get/1M_bits/ours");
BENCHMARK(GetBitVector)->Name("get/1M_bits/vector<bool>");
} // namespace

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
