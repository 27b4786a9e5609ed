#include <tests/support/RealPriority.h>

#if defined(_WIN32)

RealPriority ReadRealPriority(unsigned long /*nThread*/)
{
    return {};
}

#else

#    include <sched.h>
#    include <sys/resource.h>
#    include <unistd.h>

RealPriority ReadRealPriority(unsigned long nThread)
{
    RealPriority oPriority;
    oPriority.bKnown = true;
    oPriority.bRealTime = (sched_getscheduler(static_cast<pid_t>(nThread)) & ~SCHED_RESET_ON_FORK) != SCHED_OTHER;
    oPriority.nNice = getpriority(PRIO_PROCESS, static_cast<id_t>(nThread));
    oPriority.nProgramNice = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    return oPriority;
}

#endif
