#pragma once

#include <Common/Export.h>

#include <atomic>
#include <cstdint>

/// Priority of a thread among the others of the machine.
enum eThreadPriority : int
{
    eThreadPriorityLow = 0,      ///< lowest: work that may wait
    eThreadPriorityNormal = 1,   ///< as every other thread
    eThreadPriorityHigh = 2,     ///< highest of the usual ones
    eThreadPriorityCritical = 3, ///< time-critical: before everything else, for short work
};

/// A thread of its own for a piece of work: derive, and supply Run().
///
///     class CLoader : public CVQThread
///     {
///     public:
///         ~CLoader() override { Stop(true, 0xFFFFFFFF); }       // the thread must have ended before the object does
///
///         unsigned long Run() override
///         {
///             while (!IsStopPending() && LoadNext())
///                 ;
///             return 0;
///         }
///     };
///
///     CLoader oLoader;
///     oLoader.Start(0, eThreadPriorityLow);
///
/// The thread runs InitInstance(), Run(), ExitInstance(), in this order, and then notes in the object that it has
/// ended. Nothing interrupts it: a stop is a request, which Run() polls with IsStopPending().
///
/// The owner sees to it that the object lives longer than the thread: ask for a stop and wait for the end in the
/// destructor of the most derived class, since the base destructor does neither. That Run() returned is not yet the
/// end.
///
/// One thread, the controlling one, calls Start(), Stop() and the priority operations. The others may be called by any.
/// The system's handle of a thread is never closed: each start of a thread takes one more for the life of the program
/// (kept: IsRunning() and copies go by it). A copy refers to the same thread.
class COMMON_API CVQThread
{
public:
    /// Makes an object without a thread.
    ///
    /// @param bStart  also starts the thread, with the user parameter 0 and normal priority. It waits until the
    ///                constructor of the class that derives from this one has begun, and may run before that one's
    ///                members are there: only for classes whose Run() sees to that.
    CVQThread(bool bStart = false);

    /// Refers to the thread of another object.
    CVQThread(const CVQThread& oOther);

    /// Refers to the thread of another object; the own one goes on without being known.
    CVQThread& operator=(const CVQThread& oOther);

    /// Forgets the thread; does not stop it.
    virtual ~CVQThread();

    /// Runs first on the new thread.
    ///
    /// @return false to end the thread at once, with the exit code 0xFFFFFFFF: neither Run() nor ExitInstance() run
    /// then
    virtual bool InitInstance();

    /// Runs last on the new thread.
    virtual void ExitInstance();

    /// Starts the thread. One that was started before is first asked to stop, and waited for up to 10 seconds.
    ///
    /// @param nUserParam  for GetUserParam(). Where an unsigned long has 64 bits it may carry an address
    /// @return            false when the system has no thread left
    virtual bool Start(unsigned long nUserParam, eThreadPriority nPriority);

    /// Asks the thread to stop.
    ///
    /// @param bWait     also waits for its end
    /// @param nTimeOut  longest wait in milliseconds; 0xFFFFFFFF and above have no limit
    /// @return          true, whether the thread ended in time or not
    virtual bool Stop(bool bWait, unsigned long nTimeOut);

    /// The work of the thread.
    ///
    /// @return not used
    virtual unsigned long Run() = 0;

    /// Tells Run() whether it is to return.
    virtual bool IsStopPending() const;

    /// Tells whether a thread was started: true from the first successful Start() on, also after the thread has ended
    /// (kept).
    virtual bool IsRunning() const;

    /// Sets the priority of the thread; a value outside eThreadPriority sets normal priority.
    ///
    /// Where the system allows the program less than was asked for, the thread runs with what it allows.
    void SetPriority(eThreadPriority nPriority);

    /// The priority that was set; -1 when there is no thread, or it has a priority of another kind.
    eThreadPriority GetPriority() const;

    /// What Start() was given.
    unsigned long GetUserParam() const;

    /// Exit code of the thread: 0, or 0xFFFFFFFF when InitInstance() refused; 259 while it runs or when there was none.
    unsigned long GetExitCode() const;

private:
    static unsigned long ThreadProcess(unsigned long nThread);
    static std::uint32_t RunObject(std::uintptr_t nThread);

    std::atomic<std::uint32_t> m_nThreadId;
    std::atomic<std::uint32_t> m_nHandle;
    unsigned long m_nUserParam;
    std::atomic<bool> m_bStopPending;
};
