#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

/// Runs the registered benchmarks and ends with a table of ratios.
///
/// A case is named "what/it/works/on/who": those that differ in the last component alone do the same work, and each is
/// set against the one that is called "ours". A ratio above 1 says how many times longer the peer takes.
class CRatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& oRuns) override
    {
        ConsoleReporter::ReportRuns(oRuns);
        for (const Run& oRun : oRuns)
        {
            const std::string oName = oRun.run_name.function_name;
            const std::size_t nSlash = oName.rfind('/');
            if (oRun.error_occurred || nSlash == std::string::npos)
                continue;
            m_oTimes[oName.substr(0, nSlash)][oName.substr(nSlash + 1)] = oRun.GetAdjustedRealTime();
        }
    }

    void PrintRatios() const
    {
        std::printf("\n%-40s %-24s %s\n", "work", "beside", "times as long as ours");
        for (const auto& [oWork, oPeers] : m_oTimes)
        {
            const auto itOurs = oPeers.find("ours");
            if (itOurs == oPeers.end())
                continue;
            for (const auto& [oPeer, dTime] : oPeers)
                if (oPeer != "ours")
                    std::printf("%-40s %-24s %.2f\n", oWork.c_str(), oPeer.c_str(), dTime / itOurs->second);
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> m_oTimes;
};

inline int RunWithRatios(int nArguments, char** ppArguments)
{
    benchmark::Initialize(&nArguments, ppArguments);
    CRatioReporter oReporter;
    benchmark::RunSpecifiedBenchmarks(&oReporter);
    oReporter.PrintRatios();
    return 0;
}
