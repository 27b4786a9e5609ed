#pragma once

/// What the system itself says of a thread's priority.
struct RealPriority
{
    bool bKnown = false;    ///< false where these terms mean nothing
    bool bRealTime = false; ///< it runs before all usual threads
    int nNice = 0;          ///< the larger, the later
    int nProgramNice = 0;   ///< the program's own
};

/// The priority of the thread with the system's number nThread, 0 for the calling one.
RealPriority ReadRealPriority(unsigned long nThread);
