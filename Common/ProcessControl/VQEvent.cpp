#include <Common/ProcessControl/VQEvent.h>

#include <Common/Platform/System/HandleField.h>

static_assert(sizeof(void*) != 4 || sizeof(CVQEvent) == 8);

CVQEvent::CVQEvent() : m_nHandle(ProcessControl::ToField(SYNC_CreateEvent(false, false, nullptr)))
{
    constexpr int SOURCE_LINE = 75;

    if (m_nHandle == 0)
        ProcessControl::ReportCreationFailure("Common/ProcessControl/VQEvent", SOURCE_LINE,
                                              "CVQEvent::CVQEvent(): SYNC_CreateEvent() failed!");
}

CVQEvent::~CVQEvent()
{
    SYNC_DestroyEvent(SystemHandle());
}

bool CVQEvent::TimedWait(long nMilliseconds)
{
    return SYNC_TimedWaitEvent(SystemHandle(), ProcessControl::ToTimeOut(nMilliseconds));
}
