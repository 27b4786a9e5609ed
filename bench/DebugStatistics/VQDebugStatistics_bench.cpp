// A page of 40 lines beside the same text written by hand, without controls: what the console costs a frame.

#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsPage.h>

#include <bench/support/Ratios.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr int LINES = 40;
constexpr int SIZE = 4096; // bytes

class CText : public CVQDebugStatisticsControl
{
public:
    explicit CText(CVQDebugStatisticsPage& oPage) : CVQDebugStatisticsControl("Gravity: 10\n", &oPage)
    {
        oPage.AddChild(this);
    }

    int Print(char*& pBuffer, int& nRemaining) override { return CopyText(GetLabel(), pBuffer, nRemaining); }
};

class CNumber : public CVQDebugStatisticsControl
{
public:
    explicit CNumber(CVQDebugStatisticsPage& oPage) : CVQDebugStatisticsControl("Gravity", &oPage)
    {
        oPage.AddChild(this);
    }

    int Print(char*& pBuffer, int& nRemaining) override
    {
        return CopyText(CVQString(sctFormat, "%s: %d\n", GetLabel(), m_nValue++), pBuffer, nRemaining);
    }

private:
    int m_nValue = 0;
};

template <class TControl>
void PrintOurs(benchmark::State& oState)
{
    CVQDebugStatisticsPage oPage("World");
    std::vector<std::unique_ptr<TControl>> oControls;
    for (int i = 0; i < LINES; ++i)
        oControls.push_back(std::make_unique<TControl>(oPage));
    CVQDebugStatistics::m_oEntryBuffer = "gravity 3";

    char aText[SIZE];
    for (auto _ : oState)
        benchmark::DoNotOptimize(CVQDebugStatistics::Print(aText, SIZE));
    CVQDebugStatistics::RemoveControl(&oPage);
}

void AppendByHand(benchmark::State& oState)
{
    const std::vector<std::string> oLabels(LINES, "Gravity: 10\n");
    std::string sText;
    for (auto _ : oState)
    {
        sText.assign("> gravity 3_\n\nWorld:\n\n");
        for (const auto& sLabel : oLabels)
        {
            sText += &sLabel == oLabels.data() ? "> " : "  ";
            sText += sLabel;
        }
        benchmark::DoNotOptimize(sText.data());
        benchmark::ClobberMemory();
    }
}

void FormatByHand(benchmark::State& oState)
{
    char aText[SIZE];
    int nValue = 0;
    for (auto _ : oState)
    {
        int nCount = std::snprintf(aText, SIZE, "> %s_\n\n%s:\n\n", "gravity 3", "World");
        for (int i = 0; i < LINES; ++i)
            nCount += std::snprintf(aText + nCount, static_cast<std::size_t>(SIZE - nCount), "%s%s: %d\n",
                                    i == 0 ? "> " : "  ", "Gravity", nValue++ / LINES);
        benchmark::DoNotOptimize(nCount);
    }
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    benchmark::RegisterBenchmark("console/page of 40 texts/ours", PrintOurs<CText>);
    benchmark::RegisterBenchmark("console/page of 40 texts/appended by hand", AppendByHand);
    benchmark::RegisterBenchmark("console/page of 40 numbers/ours", PrintOurs<CNumber>);
    benchmark::RegisterBenchmark("console/page of 40 numbers/snprintf by hand", FormatByHand);
    return RunWithRatios(nArguments, ppArguments);
}
