#include <Common/Profile/VQProfilerStatus.h>

#include <Common/Profile/VQProfiler.h>

CVQProfilerStatus::CVQProfilerStatus()
{
    g_bVQProfilerEnabled = true;
    if (CVQProfiler* pProfiler = VQGetProfiler(); pProfiler != nullptr)
        pProfiler->BeginSession("VQProfiler unnamed Session");
}

CVQProfilerStatus::~CVQProfilerStatus()
{
    if (CVQProfiler* pProfiler = VQGetProfiler(); pProfiler != nullptr)
        pProfiler->EndSession(true, true);
}
