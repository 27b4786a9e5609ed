// The block compressor beside the small compressors of the field, on blocks of 64 KiB: source text, a program file,
// random bytes. "ratio" is the size of the block against its input.

// Links: lzf lzo2 snappy lz4 z

#include <Common/File/VQLzrwCompressor.h>

#include <bench/support/Ratios.h>

#include <liblzf/lzf.h>
#include <lz4.h>
#include <lzo/lzo1x.h>
#include <snappy.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
constexpr std::size_t BLOCK_SIZE = 65536;

using Block = std::vector<char>;

/// Splits the start of a file into whole blocks.
std::vector<Block> ReadBlocks(const std::string& oPath, std::size_t nMost)
{
    std::ifstream oFile(oPath, std::ios::binary);
    std::vector<Block> oBlocks;
    Block oBlock(BLOCK_SIZE);
    while (oBlocks.size() < nMost && oFile.read(oBlock.data(), BLOCK_SIZE))
        oBlocks.push_back(oBlock);
    if (oBlocks.empty())
        throw std::runtime_error("nothing to read in " + oPath);
    return oBlocks;
}

/// Source text: the library's own sources, one behind the other.
std::vector<Block> TextBlocks()
{
    std::vector<std::filesystem::path> oPaths;
    for (const auto& oEntry : std::filesystem::recursive_directory_iterator(BENCH_SOURCE_DIR "/Common"))
        if (oEntry.is_regular_file())
            oPaths.push_back(oEntry.path());
    std::sort(oPaths.begin(), oPaths.end());

    std::string oText;
    for (const auto& oPath : oPaths)
        oText.append(std::istreambuf_iterator<char>(std::ifstream(oPath, std::ios::binary).rdbuf()), {});
    std::vector<Block> oBlocks;
    for (std::size_t nAt = 0; nAt + BLOCK_SIZE <= oText.size(); nAt += BLOCK_SIZE)
        oBlocks.emplace_back(oText.begin() + static_cast<std::ptrdiff_t>(nAt),
                             oText.begin() + static_cast<std::ptrdiff_t>(nAt + BLOCK_SIZE));
    if (oBlocks.empty())
        throw std::runtime_error("no sources below " BENCH_SOURCE_DIR);
    return oBlocks;
}

std::vector<Block> RandomBlocks()
{
    std::mt19937 oRandom(1);
    std::vector<Block> oBlocks(8, Block(BLOCK_SIZE));
    for (Block& oBlock : oBlocks)
        for (char& c : oBlock)
            c = static_cast<char>(oRandom());
    return oBlocks;
}

const std::vector<Block>& Blocks(int nKind)
{
    static const std::array<std::vector<Block>, 3> aKinds = {TextBlocks(), ReadBlocks("/bin/bash", 16), RandomBlocks()};
    return aKinds[static_cast<std::size_t>(nKind)];
}

struct SCodec
{
    const char* pName;
    std::function<int(const Block&, Block&)> oCompress;        ///< returns the compressed size, 0 for "stays as it is"
    std::function<int(const Block&, int, Block&)> oDecompress; ///< returns the size that came out
};

int OursCompress(const Block& oIn, Block& oOut)
{
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(const_cast<char*>(oIn.data()), static_cast<int>(oIn.size()));
    oCompressor.SetDestination(oOut.data(), static_cast<int>(oOut.size()));
    return oCompressor.Compress();
}

int OursDecompress(const Block& oIn, int nSize, Block& oOut)
{
    CVQLzrwCompressor oCompressor;
    oCompressor.SetSource(const_cast<char*>(oIn.data()), nSize);
    oCompressor.SetDestination(oOut.data(), static_cast<int>(oOut.size()));
    return oCompressor.Decompress();
}

const std::vector<SCodec>& Codecs()
{
    static std::vector<char> oLzoMemory(LZO1X_1_MEM_COMPRESS);
    static const std::vector<SCodec> oCodecs = {
        {"ours", OursCompress, OursDecompress},
        {"memcpy",
         [](const Block& oIn, Block& oOut)
         {
             std::memcpy(oOut.data(), oIn.data(), oIn.size());
             return static_cast<int>(oIn.size());
         },
         [](const Block& oIn, int nSize, Block& oOut)
         {
             std::memcpy(oOut.data(), oIn.data(), static_cast<std::size_t>(nSize));
             return nSize;
         }},
        {"lzf",
         [](const Block& oIn, Block& oOut)
         {
             return static_cast<int>(lzf_compress(oIn.data(), static_cast<unsigned>(oIn.size()), oOut.data(),
                                                  static_cast<unsigned>(oOut.size())));
         },
         [](const Block& oIn, int nSize, Block& oOut)
         {
             return static_cast<int>(lzf_decompress(oIn.data(), static_cast<unsigned>(nSize), oOut.data(),
                                                    static_cast<unsigned>(oOut.size())));
         }},
        {"lzo",
         [](const Block& oIn, Block& oOut)
         {
             lzo_uint nOut = oOut.size();
             lzo1x_1_compress(reinterpret_cast<const unsigned char*>(oIn.data()), oIn.size(),
                              reinterpret_cast<unsigned char*>(oOut.data()), &nOut, oLzoMemory.data());
             return static_cast<int>(nOut);
         },
         [](const Block& oIn, int nSize, Block& oOut)
         {
             lzo_uint nOut = oOut.size();
             lzo1x_decompress_safe(reinterpret_cast<const unsigned char*>(oIn.data()), static_cast<lzo_uint>(nSize),
                                   reinterpret_cast<unsigned char*>(oOut.data()), &nOut, nullptr);
             return static_cast<int>(nOut);
         }},
        {"snappy",
         [](const Block& oIn, Block& oOut)
         {
             std::size_t nOut = 0;
             snappy::RawCompress(oIn.data(), oIn.size(), oOut.data(), &nOut);
             return static_cast<int>(nOut);
         },
         [](const Block& oIn, int nSize, Block& oOut)
         {
             return snappy::RawUncompress(oIn.data(), static_cast<std::size_t>(nSize), oOut.data())
                        ? static_cast<int>(BLOCK_SIZE)
                        : 0;
         }},
        {"lz4",
         [](const Block& oIn, Block& oOut) {
             return LZ4_compress_default(oIn.data(), oOut.data(), static_cast<int>(oIn.size()),
                                         static_cast<int>(oOut.size()));
         },
         [](const Block& oIn, int nSize, Block& oOut)
         { return LZ4_decompress_safe(oIn.data(), oOut.data(), nSize, static_cast<int>(oOut.size())); }},
        {"zlib1",
         [](const Block& oIn, Block& oOut)
         {
             uLongf nOut = oOut.size();
             compress2(reinterpret_cast<Bytef*>(oOut.data()), &nOut, reinterpret_cast<const Bytef*>(oIn.data()),
                       oIn.size(), 1);
             return static_cast<int>(nOut);
         },
         [](const Block& oIn, int nSize, Block& oOut)
         {
             uLongf nOut = oOut.size();
             uncompress(reinterpret_cast<Bytef*>(oOut.data()), &nOut, reinterpret_cast<const Bytef*>(oIn.data()),
                        static_cast<uLong>(nSize));
             return static_cast<int>(nOut);
         }},
    };
    return oCodecs;
}

void Compress(benchmark::State& oState, const SCodec& oCodec, int nKind)
{
    Block oOut(BLOCK_SIZE * 2);
    std::size_t nBlock = 0;
    double dIn = 0;
    double dOut = 0;
    for (auto _ : oState)
    {
        const Block& oIn = Blocks(nKind)[nBlock++ % Blocks(nKind).size()];
        const int nSize = oCodec.oCompress(oIn, oOut);
        benchmark::DoNotOptimize(oOut.data());
        dIn += static_cast<double>(oIn.size());
        dOut += nSize > 0 ? nSize : static_cast<double>(oIn.size());
    }
    oState.SetBytesProcessed(static_cast<std::int64_t>(dIn));
    oState.counters["ratio"] = dOut / dIn;
}

void Decompress(benchmark::State& oState, const SCodec& oCodec, int nKind)
{
    std::vector<std::pair<Block, int>> oPacked;
    for (const Block& oIn : Blocks(nKind))
    {
        Block oOut(BLOCK_SIZE * 2);
        const int nSize = oCodec.oCompress(oIn, oOut);
        if (nSize <= 0)
        {
            oState.SkipWithError("does not compress this");
            return;
        }
        oPacked.emplace_back(oOut, nSize);
    }
    Block oOut(BLOCK_SIZE);
    std::size_t nBlock = 0;
    for (auto _ : oState)
    {
        const auto& [oIn, nSize] = oPacked[nBlock++ % oPacked.size()];
        if (oCodec.oDecompress(oIn, nSize, oOut) != static_cast<int>(BLOCK_SIZE))
            oState.SkipWithError("wrong size");
        benchmark::DoNotOptimize(oOut.data());
    }
    oState.SetBytesProcessed(oState.iterations() * static_cast<std::int64_t>(BLOCK_SIZE));
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    constexpr const char* KINDS[] = {"text", "program", "random"};
    for (int nKind = 0; nKind < 3; ++nKind)
        for (const SCodec& oCodec : Codecs())
        {
            benchmark::RegisterBenchmark((std::string("decompress/") + KINDS[nKind] + "/" + oCodec.pName).c_str(),
                                         Decompress, oCodec, nKind);
            benchmark::RegisterBenchmark((std::string("compress/") + KINDS[nKind] + "/" + oCodec.pName).c_str(),
                                         Compress, oCodec, nKind);
        }
    return RunWithRatios(nArguments, ppArguments);
}
