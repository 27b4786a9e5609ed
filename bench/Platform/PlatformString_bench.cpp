// Each string function beside the one of the runtime library that does the same work. Texts are a path, a line, and a
// page; "utf8" runs in a locale of several bytes a character, where the rules are more but the texts are plain.

#include <Common/Platform/PlatformString.h>

#include <bench/support/Ratios.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <strings.h>

namespace
{
constexpr unsigned FORMAT_SIZE = 128;

std::string MakeText(std::size_t nLength)
{
    static const std::string s_sSample = "Data/Levels/Forest/Night/Trees_04.model ";
    std::string sText;
    while (sText.size() < nLength)
        sText += s_sSample;
    sText.resize(nLength);
    return sText;
}

/// A text, the same in another block and in capitals, and changeable room.
struct Texts
{
    explicit Texts(std::size_t nLength)
        : sText(MakeText(nLength)), sSame(sText), sUpper(sText), sRoom(nLength * 2 + 1, '\0')
    {
        for (char& nByte : sUpper)
            nByte = static_cast<char>(std::toupper(static_cast<unsigned char>(nByte)));
    }

    std::string sText;
    std::string sSame;
    std::string sUpper;
    std::string sRoom;
};

int RuntimeFormat(char* pTarget, unsigned nSize, const char* pFormat, ...) COMMON_PRINTF_FORMAT(3, 4);

int RuntimeFormat(char* pTarget, unsigned nSize, const char* pFormat, ...)
{
    va_list pArguments;
    va_start(pArguments, pFormat);
    const int nResult = std::vsnprintf(pTarget, nSize, pFormat, pArguments);
    va_end(pArguments);
    return nResult;
}

/// Registers one piece of work for both sides, in both locales and for three lengths.
template <class Ours, class Theirs>
void Compare(const std::string& sName, Ours oOurs, Theirs oTheirs)
{
    for (const char* pLocale : {"C", "C.UTF-8"})
        for (const std::size_t nLength : {16U, 120U, 4000U})
        {
            const auto Register = [=](const std::string& sSide, auto oWork)
            {
                const std::string sLocale = std::strcmp(pLocale, "C") == 0 ? "plain" : "utf8";
                benchmark::RegisterBenchmark(
                    (sName + "/" + sLocale + "/" + std::to_string(nLength) + "/" + sSide).c_str(),
                    [=](benchmark::State& oState)
                    {
                        if (std::setlocale(LC_ALL, pLocale) == nullptr)
                            return oState.SkipWithError("no such locale");
                        Texts oTexts(nLength);
                        for (auto _ : oState)
                        {
                            benchmark::DoNotOptimize(oTexts.sText.data());
                            benchmark::DoNotOptimize(oWork(oTexts));
                            benchmark::ClobberMemory();
                        }
                    });
            };
            Register("ours", oOurs);
            Register("runtime", oTheirs);
        }
}

const bool s_bRegistered = []
{
    Compare(
        "strlen", [](Texts& o) { return STR_strlen(o.sText.c_str()); },
        [](Texts& o) { return static_cast<int>(std::strlen(o.sText.c_str())); });
    Compare(
        "strcpy", [](Texts& o) { return STR_strcpy(o.sRoom.data(), o.sText.c_str()); },
        [](Texts& o) { return std::strcpy(o.sRoom.data(), o.sText.c_str()); });
    Compare(
        "strncpy",
        [](Texts& o) { return STR_strncpy(o.sRoom.data(), o.sText.c_str(), static_cast<unsigned>(o.sText.size())); },
        [](Texts& o) { return std::strncpy(o.sRoom.data(), o.sText.c_str(), o.sText.size()); });
    Compare(
        "strcmp", [](Texts& o) { return STR_strcmp(o.sText.c_str(), o.sSame.c_str()); },
        [](Texts& o) { return std::strcmp(o.sText.c_str(), o.sSame.c_str()); });
    Compare(
        "stricmp", [](Texts& o) { return STR_stricmp(o.sText.c_str(), o.sUpper.c_str()); },
        [](Texts& o) { return ::strcasecmp(o.sText.c_str(), o.sUpper.c_str()); });
    Compare(
        "strchr miss", [](Texts& o) { return STR_strchr(o.sText.c_str(), '!'); },
        [](Texts& o) { return std::strchr(o.sText.data(), '!'); });
    Compare(
        "strchr hit", [](Texts& o) { return STR_strchr(o.sText.c_str(), '/'); },
        [](Texts& o) { return std::strchr(o.sText.data(), '/'); });
    Compare(
        "strrchr", [](Texts& o) { return STR_strrchr(o.sText.c_str(), '/'); },
        [](Texts& o) { return std::strrchr(o.sText.data(), '/'); });
    Compare(
        "strstr", [](Texts& o) { return STR_strstr(o.sText.c_str(), "Trees_05"); },
        [](Texts& o) { return std::strstr(o.sText.data(), "Trees_05"); });
    Compare(
        "strpbrk", [](Texts& o) { return STR_strpbrk(o.sText.c_str(), "!?*"); },
        [](Texts& o) { return std::strpbrk(o.sText.data(), "!?*"); });
    Compare(
        "strlwr", [](Texts& o) { return STR_strlwr(o.sUpper.data()); },
        [](Texts& o)
        {
            for (char* p = o.sUpper.data(); *p != '\0'; ++p)
                *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
            return o.sUpper.data();
        });
    Compare(
        "strrev", [](Texts& o) { return STR_strrev(o.sUpper.data()); },
        [](Texts& o)
        {
            std::reverse(o.sUpper.data(), o.sUpper.data() + std::strlen(o.sUpper.data()));
            return o.sUpper.data();
        });
    Compare(
        "strtok",
        [](Texts& o)
        {
            std::strcpy(o.sRoom.data(), o.sText.c_str());
            int nTokens = 0;
            for (char* p = STR_strtok(o.sRoom.data(), "/ "); p != nullptr; p = STR_strtok(nullptr, "/ "))
                ++nTokens;
            return nTokens;
        },
        [](Texts& o)
        {
            std::strcpy(o.sRoom.data(), o.sText.c_str());
            int nTokens = 0;
            for (char* p = std::strtok(o.sRoom.data(), "/ "); p != nullptr; p = std::strtok(nullptr, "/ "))
                ++nTokens;
            return nTokens;
        });
    Compare(
        "walk",
        [](Texts& o)
        {
            int nCount = 0;
            for (const char* p = o.sText.c_str(); *p != '\0'; p = STR_strinc(p))
                ++nCount;
            return nCount;
        },
        [](Texts& o)
        {
            int nCount = 0;
            for (const char* p = o.sText.c_str(); *p != '\0';
                 p += std::max(std::mblen(p, static_cast<std::size_t>(MB_CUR_MAX)), 1))
                ++nCount;
            return nCount;
        });
    return true;
}();

// The rest does not depend on the text's length.

template <class Work>
void Run(benchmark::State& oState, Work oWork)
{
    for (auto _ : oState)
        benchmark::DoNotOptimize(oWork());
}

char s_aTarget[FORMAT_SIZE];
const char* s_pNumber = "1234567";
const char* s_pDouble = "3.14159265";

void FormatOurs(benchmark::State& o)
{
    Run(o, [] { return STR_snprintf(s_aTarget, FORMAT_SIZE, "%s: %d of %d (%.2f)", "loaded", 12, 345, 3.47); });
}

void FormatTheirs(benchmark::State& o)
{
    Run(o, [] { return RuntimeFormat(s_aTarget, FORMAT_SIZE, "%s: %d of %d (%.2f)", "loaded", 12, 345, 3.47); });
}

void FormatTooLongOurs(benchmark::State& o)
{
    Run(o, [] { return STR_snprintf(s_aTarget, 16, "%s: %d of %d (%.2f)", "loaded", 12, 345, 3.47); });
}

void FormatTooLongTheirs(benchmark::State& o)
{
    Run(o, [] { return RuntimeFormat(s_aTarget, 16, "%s: %d of %d (%.2f)", "loaded", 12, 345, 3.47); });
}

void ReadNumberOurs(benchmark::State& o)
{
    Run(o, [] { return STR_strtol(s_pNumber, nullptr, 10); });
}

void ReadNumberTheirs(benchmark::State& o)
{
    Run(o, [] { return std::strtol(s_pNumber, nullptr, 10); });
}

void ReadDoubleOurs(benchmark::State& o)
{
    Run(o, [] { return STR_strtod(s_pDouble, nullptr); });
}

void ReadDoubleTheirs(benchmark::State& o)
{
    Run(o, [] { return std::strtod(s_pDouble, nullptr); });
}
} // namespace

BENCHMARK(FormatOurs)->Name("snprintf/ours");
BENCHMARK(FormatTheirs)->Name("snprintf/runtime");
BENCHMARK(FormatTooLongOurs)->Name("snprintf too long/ours");
BENCHMARK(FormatTooLongTheirs)->Name("snprintf too long/runtime");
BENCHMARK(ReadNumberOurs)->Name("strtol/ours");
BENCHMARK(ReadNumberTheirs)->Name("strtol/runtime");
BENCHMARK(ReadDoubleOurs)->Name("strtod/ours");
BENCHMARK(ReadDoubleTheirs)->Name("strtod/runtime");

int main(int nArguments, char** ppArguments)
{
    return RunWithRatios(nArguments, ppArguments);
}
