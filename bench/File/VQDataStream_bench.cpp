// Values of 4 bytes through a data stream, beside copies into and out of a std::vector that is large enough (the
// limit) and the binary archive of cereal; and a stream that grows from nothing, beside std::vector.

#include <Common/File/VQDataStream.h>
#include <bench/support/Ratios.h>

#include <cereal/archives/binary.hpp>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr std::uint32_t VALUES = 1000000;
constexpr unsigned long VALUES_SIZE = VALUES * sizeof(std::uint32_t);

/// Lets a value be used, and leaves what is in memory alone.
void Use(std::uint32_t nValue)
{
    asm volatile("" : : "r"(nValue));
}

/// The bytes of all values.
const std::vector<unsigned char>& Values()
{
    static const std::vector<unsigned char> s_aBytes = []
    {
        std::vector<unsigned char> aBytes(VALUES_SIZE);
        for (std::uint32_t i = 0; i < VALUES; ++i)
            std::memcpy(aBytes.data() + i * sizeof(i), &i, sizeof(i));
        return aBytes;
    }();
    return s_aBytes;
}

void PutOurs(benchmark::State& oState)
{
    CVQDataStream oStream(VALUES_SIZE, CVQDataStream::STORING);
    for (auto _ : oState)
    {
        oStream.Clear();
        for (std::uint32_t i = 0; i < VALUES; ++i)
            oStream.Put(&i, sizeof(i));
        benchmark::DoNotOptimize(oStream.GetBuffer());
        benchmark::ClobberMemory();
    }
}

void PutMemcpy(benchmark::State& oState)
{
    std::vector<unsigned char> aBytes(VALUES_SIZE);
    for (auto _ : oState)
    {
        unsigned char* pEnd = aBytes.data();
        for (std::uint32_t i = 0; i < VALUES; ++i, pEnd += sizeof(i))
        {
            std::memcpy(pEnd, &i, sizeof(i));
            benchmark::DoNotOptimize(pEnd); // value by value, as a program's values come
        }
        benchmark::ClobberMemory();
    }
}

void PutInsert(benchmark::State& oState)
{
    std::vector<unsigned char> aBytes;
    aBytes.reserve(VALUES_SIZE);
    for (auto _ : oState)
    {
        aBytes.clear();
        for (std::uint32_t i = 0; i < VALUES; ++i)
        {
            const auto* pValue = reinterpret_cast<const unsigned char*>(&i);
            aBytes.insert(aBytes.end(), pValue, pValue + sizeof(i));
        }
        benchmark::DoNotOptimize(aBytes.data());
        benchmark::ClobberMemory();
    }
}

void PutCereal(benchmark::State& oState)
{
    std::ostringstream oBytes;
    for (auto _ : oState)
    {
        oBytes.seekp(0);
        cereal::BinaryOutputArchive oArchive(oBytes);
        for (std::uint32_t i = 0; i < VALUES; ++i)
            oArchive(i);
        benchmark::ClobberMemory();
    }
}

void GetOurs(benchmark::State& oState)
{
    CVQDataStream oStream(Values().data(), VALUES_SIZE, CVQDataStream::LOADING, false);
    for (auto _ : oState)
    {
        oStream.Rewind();
        for (std::uint32_t i = 0; i < VALUES; ++i)
        {
            std::uint32_t nValue = 0;
            oStream.Get(&nValue, sizeof(nValue));
            Use(nValue);
        }
    }
}

void GetMemcpy(benchmark::State& oState)
{
    for (auto _ : oState)
    {
        const unsigned char* pEnd = Values().data();
        for (std::uint32_t i = 0; i < VALUES; ++i, pEnd += sizeof(i))
        {
            std::uint32_t nValue = 0;
            std::memcpy(&nValue, pEnd, sizeof(nValue));
            Use(nValue);
        }
    }
}

void GetCereal(benchmark::State& oState)
{
    std::istringstream oBytes(std::string(Values().begin(), Values().end()));
    for (auto _ : oState)
    {
        oBytes.seekg(0);
        cereal::BinaryInputArchive oArchive(oBytes);
        for (std::uint32_t i = 0; i < VALUES; ++i)
        {
            std::uint32_t nValue = 0;
            oArchive(nValue);
            Use(nValue);
        }
    }
}

/// From nothing to so many bytes, 4 KiB at a time.
void GrowOurs(benchmark::State& oState, unsigned long nTotal)
{
    const std::string sChunk(4096, 'x');
    for (auto _ : oState)
    {
        CVQDataStream oStream(CVQDataStream::STORING);
        while (oStream.GetSize() < nTotal)
            oStream.Put(sChunk.data(), static_cast<unsigned long>(sChunk.size()));
        benchmark::DoNotOptimize(oStream.GetBuffer());
    }
    oState.SetBytesProcessed(static_cast<std::int64_t>(nTotal) * static_cast<std::int64_t>(oState.iterations()));
}

void GrowVector(benchmark::State& oState, unsigned long nTotal)
{
    const std::string sChunk(4096, 'x');
    for (auto _ : oState)
    {
        std::vector<unsigned char> aBytes;
        while (aBytes.size() < nTotal)
            aBytes.insert(aBytes.end(), sChunk.begin(), sChunk.end());
        benchmark::DoNotOptimize(aBytes.data());
    }
    oState.SetBytesProcessed(static_cast<std::int64_t>(nTotal) * static_cast<std::int64_t>(oState.iterations()));
}

/// The same byte by byte.
void GrowByBytesOurs(benchmark::State& oState, unsigned long nTotal)
{
    for (auto _ : oState)
    {
        CVQDataStream oStream(CVQDataStream::STORING);
        for (unsigned long i = 0; i < nTotal; ++i)
        {
            const auto nByte = static_cast<unsigned char>(i);
            oStream.Put(&nByte, 1);
        }
        benchmark::DoNotOptimize(oStream.GetBuffer());
    }
    oState.SetBytesProcessed(static_cast<std::int64_t>(nTotal) * static_cast<std::int64_t>(oState.iterations()));
}

void GrowByBytesVector(benchmark::State& oState, unsigned long nTotal)
{
    for (auto _ : oState)
    {
        std::vector<unsigned char> aBytes;
        for (unsigned long i = 0; i < nTotal; ++i)
            aBytes.push_back(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(aBytes.data());
    }
    oState.SetBytesProcessed(static_cast<std::int64_t>(nTotal) * static_cast<std::int64_t>(oState.iterations()));
}

void StringsOurs(benchmark::State& oState)
{
    const CVQString oText("player.position");
    for (auto _ : oState)
    {
        CVQDataStream oStored(CVQDataStream::STORING);
        for (int i = 0; i < 1000; ++i)
            WriteStreamString(oStored, oText);
        CVQDataStream oLoaded(oStored);
        CVQString oRead;
        for (int i = 0; i < 1000; ++i)
            ReadStreamString(oLoaded, oRead);
        benchmark::DoNotOptimize(oRead);
    }
}

void StringsCereal(benchmark::State& oState)
{
    const std::string sText("player.position");
    for (auto _ : oState)
    {
        std::stringstream oBytes;
        cereal::BinaryOutputArchive oOut(oBytes);
        const auto WriteText = [&oOut](const std::string& sValue)
        {
            const auto nLength = static_cast<std::uint32_t>(sValue.size());
            oOut(nLength);
            oOut.saveBinary(sValue.data(), static_cast<std::streamsize>(sValue.size()));
        };
        for (int i = 0; i < 1000; ++i)
            WriteText(sText);
        cereal::BinaryInputArchive oIn(oBytes);
        std::string sRead;
        for (int i = 0; i < 1000; ++i)
        {
            std::uint32_t nLength = 0;
            oIn(nLength);
            sRead.resize(nLength);
            oIn.loadBinary(sRead.data(), nLength);
        }
        benchmark::DoNotOptimize(sRead);
    }
}

constexpr unsigned long MIB = 1UL << 20;

BENCHMARK(PutOurs)->Name("put/1M_values/ours");
BENCHMARK(PutMemcpy)->Name("put/1M_values/memcpy");
BENCHMARK(PutInsert)->Name("put/1M_values/vector_insert");
BENCHMARK(PutCereal)->Name("put/1M_values/cereal");
BENCHMARK(GetOurs)->Name("get/1M_values/ours");
BENCHMARK(GetMemcpy)->Name("get/1M_values/memcpy");
BENCHMARK(GetCereal)->Name("get/1M_values/cereal");
BENCHMARK(StringsOurs)->Name("strings/1000/ours");
BENCHMARK(StringsCereal)->Name("strings/1000/cereal");
BENCHMARK_CAPTURE(GrowOurs, 1, MIB)->Name("grow/1_MiB/ours");
BENCHMARK_CAPTURE(GrowVector, 1, MIB)->Name("grow/1_MiB/vector");
BENCHMARK_CAPTURE(GrowOurs, 16, 16 * MIB)->Name("grow/16_MiB/ours");
BENCHMARK_CAPTURE(GrowVector, 16, 16 * MIB)->Name("grow/16_MiB/vector");
BENCHMARK_CAPTURE(GrowOurs, 256, 256 * MIB)->Name("grow/256_MiB/ours");
BENCHMARK_CAPTURE(GrowVector, 256, 256 * MIB)->Name("grow/256_MiB/vector");
BENCHMARK_CAPTURE(GrowByBytesOurs, 16, 16 * MIB)->Name("grow_by_bytes/16_MiB/ours");
BENCHMARK_CAPTURE(GrowByBytesVector, 16, 16 * MIB)->Name("grow_by_bytes/16_MiB/vector");
} // namespace

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
