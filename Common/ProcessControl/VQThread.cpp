#include <Common/ProcessControl/VQThread.h>

#include <Common/Platform/System/HandleField.h>
#include <Common/Platform/System/SystemSync.h>
#include <Common/Platform/System/SystemThread.h>

#include <typeinfo>

namespace
{
constexpr unsigned long RESTART_TIME_OUT = 10'000;

// Longest time that a thread waits for the first derived class of its object.
constexpr unsigned CONSTRUCTION_MILLISECONDS = 10'000;

constexpr std::uint32_t EXIT_CODE_DONE = 0;
constexpr std::uint32_t EXIT_CODE_REFUSED = 0xFFFFFFFF;

constexpr auto PRIORITY_UNKNOWN = static_cast<eThreadPriority>(-1);

// Whether an argument of the interface can carry an object's address.
constexpr bool ADDRESS_FITS_LONG = sizeof(unsigned long) >= sizeof(std::uintptr_t);

struct PriorityLevel
{
    eThreadPriority nPriority;
    int nLevel;
};

constexpr PriorityLevel LEVELS[] = {
    {eThreadPriorityLow, System::THREAD_LEVEL_LOWEST},
    {eThreadPriorityNormal, System::THREAD_LEVEL_NORMAL},
    {eThreadPriorityHigh, System::THREAD_LEVEL_HIGHEST},
    {eThreadPriorityCritical, System::THREAD_LEVEL_TIME_CRITICAL},
};

static_assert(sizeof(void*) != 4 || sizeof(CVQThread) == 20);
} // namespace

CVQThread::CVQThread(bool bStart) : m_nThreadId(0), m_nHandle(0), m_nUserParam(0), m_bStopPending(false)
{
    if (bStart)
        CVQThread::Start(0, eThreadPriorityNormal); // no derived class exists yet
}

CVQThread::CVQThread(const CVQThread& oOther)
    : m_nThreadId(oOther.m_nThreadId.load()), m_nHandle(oOther.m_nHandle.load()), m_nUserParam(oOther.m_nUserParam),
      m_bStopPending(oOther.m_bStopPending.load())
{
}

CVQThread& CVQThread::operator=(const CVQThread& oOther)
{
    m_nThreadId = oOther.m_nThreadId.load();
    m_nHandle = oOther.m_nHandle.load();
    m_nUserParam = oOther.m_nUserParam;
    m_bStopPending = oOther.m_bStopPending.load();
    return *this;
}

CVQThread::~CVQThread()
{
    m_nHandle = 0;
}

bool CVQThread::InitInstance()
{
    return true;
}

void CVQThread::ExitInstance() {}

bool CVQThread::Start(unsigned long nUserParam, eThreadPriority nPriority)
{
    if (IsRunning())
        Stop(true, RESTART_TIME_OUT);

    m_nThreadId = 0;
    m_bStopPending = false;
    m_nUserParam = nUserParam;

    const System::ThreadEntry pEntry = [](std::uintptr_t nThread) -> std::uint32_t
    {
        if constexpr (ADDRESS_FITS_LONG)
            return static_cast<std::uint32_t>(ThreadProcess(static_cast<unsigned long>(nThread)));
        else
            return RunObject(nThread);
    };
    m_nHandle =
        ProcessControl::ToField(System::StartThread(pEntry, reinterpret_cast<std::uintptr_t>(this), m_nThreadId));
    if (m_nHandle == 0)
        return false;

    SetPriority(nPriority);
    return true;
}

bool CVQThread::Stop(bool bWait, unsigned long nTimeOut)
{
    if (!IsRunning())
        return true;

    m_bStopPending = true;
    if (bWait)
        System::WaitFor(ProcessControl::FromField(m_nHandle), ProcessControl::ToTimeOut(nTimeOut));
    return true;
}

bool CVQThread::IsStopPending() const
{
    return m_bStopPending;
}

bool CVQThread::IsRunning() const
{
    return static_cast<std::int32_t>(m_nHandle.load()) > 0;
}

void CVQThread::SetPriority(eThreadPriority nPriority)
{
    int nLevel = System::THREAD_LEVEL_NORMAL;
    for (const PriorityLevel& oLevel : LEVELS)
    {
        if (oLevel.nPriority == nPriority)
            nLevel = oLevel.nLevel;
    }
    System::WriteThreadLevel(ProcessControl::FromField(m_nHandle), nLevel);
}

eThreadPriority CVQThread::GetPriority() const
{
    const int nLevel = System::ReadThreadLevel(ProcessControl::FromField(m_nHandle));
    for (const PriorityLevel& oLevel : LEVELS)
    {
        if (oLevel.nLevel == nLevel)
            return oLevel.nPriority;
    }
    return PRIORITY_UNKNOWN;
}

unsigned long CVQThread::GetUserParam() const
{
    return m_nUserParam;
}

unsigned long CVQThread::GetExitCode() const
{
    std::uint32_t nCode = System::EXIT_CODE_RUNNING;
    System::ReadExitCode(ProcessControl::FromField(m_nHandle), nCode);
    return nCode;
}

// The entry as the interface has it. Where it cannot carry an address the system's entry goes to RunObject() by itself.
unsigned long CVQThread::ThreadProcess(unsigned long nThread)
{
    return RunObject(nThread);
}

std::uint32_t CVQThread::RunObject(std::uintptr_t nThread)
{
    auto* pThread = reinterpret_cast<CVQThread*>(nThread);
    if (pThread == nullptr)
        return EXIT_CODE_REFUSED;

    // Started by the constructor the thread may be here before there is a derived class with a Run().
    for (unsigned i = 0; i < CONSTRUCTION_MILLISECONDS && typeid(*pThread) == typeid(CVQThread); ++i)
        System::SleepFor(1);

    if (!pThread->InitInstance())
        return EXIT_CODE_REFUSED;

    pThread->Run();
    pThread->ExitInstance();
    pThread->m_nThreadId = 0;
    return EXIT_CODE_DONE;
}
