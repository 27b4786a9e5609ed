// The tokenizer over 50 MB, beside a scanner made by flex for the same language and strtok, which only cuts at blanks
// and writes into the text. Both scanners keep line, column and the values of their tokens, and must find the same
// ones. Comments are held against memchr over the same bytes.

// Flex: bench/String/CScanner.l

#include <Common/String/StringTokenizer.h>

#include <bench/String/CScanner.h>
#include <bench/support/Ratios.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

struct yy_buffer_state;
int cscanner_lex_init_extra(SScan* pScan, void** ppScanner);
int cscanner_lex_destroy(void* pScanner);
yy_buffer_state* cscanner__scan_buffer(char* pText, std::size_t nSize, void* pScanner);

namespace
{
constexpr std::size_t TEXT_SIZE = 50'000'000;

struct STokens
{
    std::size_t nTokens = 0;
    std::size_t nTypes = 0; ///< a sum that tells the types apart
    double dNumbers = 0;
    int nLines = 0;

    bool operator==(const STokens& o) const
    {
        return nTokens == o.nTokens && nTypes == o.nTypes && dNumbers == o.dNumbers && nLines == o.nLines;
    }
};

/// The library's own sources, one behind the other, as plain characters.
std::string Sources()
{
    std::vector<std::filesystem::path> oPaths;
    for (const auto& oEntry : std::filesystem::recursive_directory_iterator(BENCH_SOURCE_DIR "/Common"))
        if (oEntry.is_regular_file())
            oPaths.push_back(oEntry.path());
    std::sort(oPaths.begin(), oPaths.end());

    std::string sText;
    for (const auto& oPath : oPaths)
        sText.append(std::istreambuf_iterator<char>(std::ifstream(oPath, std::ios::binary).rdbuf()), {});
    // What one of the two knows alone: raw strings, and octal escapes that end in anything.
    std::replace_if(
        sText.begin(), sText.end(), [](char c) { return static_cast<signed char>(c) < 0; }, '?');
    std::replace(sText.begin(), sText.end(), '\'', '`');
    return sText;
}

std::string Piece(std::mt19937& oRandom, const std::string& sKind)
{
    const auto Word = [&]
    {
        std::string sWord;
        for (std::size_t n = 1 + oRandom() % 12; n > 0; --n)
            sWord += static_cast<char>('a' + oRandom() % 26);
        return sWord;
    };
    if (sKind == "words")
        return Word() + (oRandom() % 10 == 0 ? "\n" : " ");
    if (sKind == "numbers")
        return std::to_string(oRandom() % 100000) + (oRandom() % 2 == 0 ? "." + std::to_string(oRandom() % 1000) : "") +
               (oRandom() % 10 == 0 ? "\n" : " ");

    std::string sWords;
    for (std::size_t n = 3 + oRandom() % 8; n > 0; --n)
        sWords += Word() + ' ';
    if (sKind == "strings")
        return '"' + sWords + (oRandom() % 4 == 0 ? "\\n" : "") + "\"\n";
    if (sKind == "line comments")
        return "// " + sWords + '\n';
    return (oRandom() % 8 == 0 ? "*/\n/* " : " * ") + sWords + '\n';
}

const std::string& Text(const std::string& sKind)
{
    static std::map<std::string, std::string> s_oTexts;
    std::string& sText = s_oTexts[sKind];
    if (!sText.empty())
        return sText;

    std::mt19937 oRandom(3);
    const std::string sSources = sKind == "source" ? Sources() : "";
    sText = sKind == "block comments" ? "/*" : "";
    while (sText.size() < TEXT_SIZE)
        sText += sKind == "source" ? sSources : Piece(oRandom, sKind);
    sText += sKind == "block comments" ? "*/\n" : "\n";
    return sText;
}

STokens ReadAll(CStringTokenizer& oTokenizer)
{
    STokens oTokens;
    for (int nToken = oTokenizer.GetNextToken(); nToken != -1; nToken = oTokenizer.GetNextToken())
    {
        ++oTokens.nTokens;
        oTokens.nTypes += static_cast<unsigned>(nToken + 8);
        oTokens.dNumbers += oTokenizer.GetNumValue();
    }
    oTokens.nLines = oTokenizer.GetLineNumber();
    return oTokens;
}

/// The text with the two zeros that flex wants behind it, and a scanner over it.
class CFlex
{
public:
    explicit CFlex(const std::string& sText) : m_oText(sText.begin(), sText.end())
    {
        m_oText.resize(sText.size() + 2);
        cscanner_lex_init_extra(&m_oScan, &m_pScanner);
        cscanner__scan_buffer(m_oText.data(), m_oText.size(), m_pScanner);
    }

    ~CFlex() { cscanner_lex_destroy(m_pScanner); }

    CFlex(const CFlex&) = delete;
    CFlex& operator=(const CFlex&) = delete;

    STokens ReadAll()
    {
        STokens oTokens;
        for (int nToken = ScanToken(m_pScanner); nToken != -1; nToken = ScanToken(m_pScanner))
        {
            ++oTokens.nTokens;
            oTokens.nTypes += static_cast<unsigned>(nToken + 8);
            oTokens.dNumbers += nToken == -2 || nToken == -3 ? m_oScan.dNumber : 0;
        }
        oTokens.nLines = m_oScan.nLine;
        return oTokens;
    }

private:
    std::vector<char> m_oText;
    SScan m_oScan;
    void* m_pScanner = nullptr;
};

void Ours(benchmark::State& oState, const std::string& sKind)
{
    const CVQString oText(Text(sKind).c_str());
    CStringTokenizer oTokenizer(oText);
    if (!(ReadAll(oTokenizer) == CFlex(Text(sKind)).ReadAll()))
        oState.SkipWithError("the scanners do not agree");
    for (auto _ : oState)
    {
        oTokenizer.Rewind();
        benchmark::DoNotOptimize(ReadAll(oTokenizer));
    }
    oState.SetBytesProcessed(oState.iterations() * oText.GetLength());
}

void OursWithStart(benchmark::State& oState, const std::string& sKind)
{
    const CVQString oText(Text(sKind).c_str());
    for (auto _ : oState)
    {
        CStringTokenizer oTokenizer(oText);
        benchmark::DoNotOptimize(ReadAll(oTokenizer));
    }
    oState.SetBytesProcessed(oState.iterations() * oText.GetLength());
}

void Flex(benchmark::State& oState, const std::string& sKind)
{
    const std::string& sText = Text(sKind);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        CFlex oFlex(sText);
        oState.ResumeTiming();
        benchmark::DoNotOptimize(oFlex.ReadAll());
    }
    oState.SetBytesProcessed(oState.iterations() * static_cast<std::int64_t>(sText.size()));
}

void Strtok(benchmark::State& oState, const std::string& sKind)
{
    const std::string& sText = Text(sKind);
    for (auto _ : oState)
    {
        oState.PauseTiming();
        std::string sCopy(sText);
        oState.ResumeTiming();
        std::size_t nTokens = 0;
        for (const char* p = std::strtok(sCopy.data(), " \t\r\n"); p != nullptr; p = std::strtok(nullptr, " \t\r\n"))
            ++nTokens;
        benchmark::DoNotOptimize(nTokens);
    }
    oState.SetBytesProcessed(oState.iterations() * static_cast<std::int64_t>(sText.size()));
}

void Memchr(benchmark::State& oState, const std::string& sKind)
{
    const std::string& sText = Text(sKind);
    for (auto _ : oState)
        benchmark::DoNotOptimize(std::memchr(sText.data(), 1, sText.size()));
    oState.SetBytesProcessed(oState.iterations() * static_cast<std::int64_t>(sText.size()));
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    const auto Register = [](const std::string& sName, auto oRun, const std::string& sKind)
    {
        constexpr int ROUNDS = 4; // of 50 MB each
        benchmark::RegisterBenchmark(sName.c_str(), oRun, sKind)->Unit(benchmark::kMillisecond)->Iterations(ROUNDS);
    };
    for (const std::string sKind : {"source", "words", "numbers", "strings", "line comments", "block comments"})
    {
        Register(sKind + "/ours", Ours, sKind);
        Register(sKind + "/flex", Flex, sKind);
        if (sKind.find("comments") != std::string::npos)
            Register(sKind + "/memchr", Memchr, sKind);
        else
            Register(sKind + "/strtok", Strtok, sKind);
    }
    Register("source/ours, constructed", OursWithStart, "source");
    return RunWithRatios(nArguments, ppArguments);
}
