#include "Demo.h"

#include "Console.h"
#include "Trace.h"

#include <Common/Platform/PlatformHooks.h>
#include <Common/Profile/VQProfileSample.h>
#include <Common/Profile/VQTimer.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>

namespace
{
constexpr const char* REPORT = "VQProfiler.htm";
constexpr const char* GRAPH = "Graph.raw";

constexpr int PHYSICS_STEPS = 3;
constexpr unsigned WORLD_WORK = 20000;
constexpr unsigned PHYSICS_WORK = 30000;
constexpr unsigned DRAW_WORK = 80000;

// Something to do, in proportion to nAmount.
std::uint32_t Work(unsigned nAmount)
{
    static volatile std::uint32_t s_nResult = 1;
    std::uint32_t nNumber = s_nResult;
    for (unsigned i = 0; i < nAmount; ++i)
        nNumber = nNumber * 1664525 + 1013904223;
    s_nResult = nNumber;
    return nNumber;
}

void UpdateWorld(int nFrame)
{
    const CVQProfileSample oSample("World");
    Work(WORLD_WORK);
    for (int nStep = 0; nStep < PHYSICS_STEPS; ++nStep)
    {
        const CVQProfileSample oStep("Physics");
        Work(PHYSICS_WORK * (1 + static_cast<unsigned>(nFrame) % 5));
    }
}

void DrawWorld()
{
    const CVQProfileSample oSample("Draw");
    Work(DRAW_WORK);
}

// An older file would pass for this session's.
void RemoveOld(const char* pFile)
{
    std::error_code oError;
    std::filesystem::remove(pFile, oError);
    if (oError)
        throw CFailure(pFile, "cannot be replaced");
}

void RequireFile(const char* pFile)
{
    std::error_code oError;
    if (!std::filesystem::is_regular_file(pFile, oError))
        throw CFailure(pFile, "cannot be written");
}
} // namespace

void CDemo::Run(int nFrames)
{
    CVQTimer oTimer;
    oTimer.DefineChannel(0, "game");
    oTimer.EnableFrameTime(0);
    oTimer.Start(0);

    g_bVQProfilerEnabled = true;
    m_oProfiler.BeginSession("vqprof demo");
    for (int nFrame = 0; nFrame < nFrames; ++nFrame)
    {
        const CVQProfileSample oFrame("MainLoop");
        oTimer.UpdateAll();
        UpdateWorld(nFrame);
        DrawWorld();
    }
    m_oProfiler.EndSession(true, false);
}

void CDemo::WriteReport(bool bOpen)
{
    RemoveOld(REPORT);
    RemoveOld(GRAPH);
    if (!bOpen)
        HOOK_SetOpenDocument([](const char*) { return true; });
    HOOK_SetMessageBox([](const char*, const char*, eMessageBoxKind) { return mbaOk; }); // told below
    m_oProfiler.WriteProfileLog(REPORT);
    m_oProfiler.CreateSampleGraph("MainLoop");
    RequireFile(REPORT);
    RequireFile(GRAPH);
}

std::string CDemo::GetTrace()
{
    return MakeTrace(m_oProfiler.GetRawSamples(), m_oProfiler.GetClockSpeed());
}

double CDemo::GetLongestFrame()
{
    CSTLList<float> oTimes;
    m_oProfiler.GetSingleSampleTimes("MainLoop", oTimes);
    return oTimes.empty() ? 0.0 : *std::max_element(oTimes.begin(), oTimes.end());
}
