#include <Common/ProcessControl/VQMutex.h>

#include <Common/Platform/System/HandleField.h>

static_assert(sizeof(CVQMutex) == sizeof(void*) + 8);

CVQMutex::CVQMutex() : m_nHandle(ProcessControl::ToField(SYNC_CreateMutex(false, nullptr)))
{
    constexpr int SOURCE_LINE = 77;

    if (m_nHandle == 0)
        ProcessControl::ReportCreationFailure("Common/ProcessControl/VQMutex", SOURCE_LINE,
                                              "CVQMutex::CVQMutex(): SYNC_CreateMutex() failed!");
}

// Closing is the same for every kind of handle.
CVQMutex::~CVQMutex()
{
    SYNC_DestroyEvent(SystemHandle());
}
