#include <Common/ProcessControl/VQThread.h>

#include <Common/Platform/PlatformSync.h>
#include <Common/ProcessControl/VQEvent.h>
#include <Common/ProcessControl/VQMutex.h>

#include <tests/support/MemoryLimit.h>
#include <tests/support/RealPriority.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned long NO_LIMIT = 0xFFFFFFFF;

// Notes what runs where, and runs until it is stopped.
class CNotingThread : public CVQThread
{
public:
    ~CNotingThread() override { CVQThread::Stop(true, NO_LIMIT); }

    bool InitInstance() override
    {
        Note("InitInstance");
        m_oThread = std::this_thread::get_id();
        return m_bInit;
    }

    unsigned long Run() override
    {
        Note("Run");
        EXPECT_EQ(m_oThread, std::this_thread::get_id());
        m_oBegun.Signal();
        while (m_bUntilStop && !IsStopPending())
            std::this_thread::yield();
        return 5;
    }

    void ExitInstance() override
    {
        Note("ExitInstance");
        EXPECT_EQ(m_oThread, std::this_thread::get_id());
    }

    bool Stop(bool bWait, unsigned long nTimeOut) override
    {
        Note("Stop " + std::to_string(bWait) + " " + std::to_string(nTimeOut));
        return CVQThread::Stop(bWait, nTimeOut);
    }

    std::string Notes()
    {
        const std::lock_guard oGuard(m_oNotesLock);
        return m_sNotes;
    }

    void Note(const std::string& sNote)
    {
        const std::lock_guard oGuard(m_oNotesLock);
        m_sNotes += sNote + ";";
    }

    CVQEvent m_oBegun;
    std::atomic<bool> m_bInit = true;
    std::atomic<bool> m_bUntilStop = false;
    std::thread::id m_oThread;

private:
    std::mutex m_oNotesLock;
    std::string m_sNotes;
};

void WaitForEnd(CVQThread& oThread)
{
    EXPECT_TRUE(oThread.CVQThread::Stop(true, NO_LIMIT));
}
} // namespace

TEST(VQThread, VirtualOperationsStandInOrder)
{
    // The destructor takes the first two places of the table.
    EXPECT_EQ(VirtualSlot(&CVQThread::InitInstance), 2u);
    EXPECT_EQ(VirtualSlot(&CVQThread::ExitInstance), 3u);
    EXPECT_EQ(VirtualSlot(&CVQThread::Start), 4u);
    EXPECT_EQ(VirtualSlot(&CVQThread::Stop), 5u);
    EXPECT_EQ(VirtualSlot(&CVQThread::Run), 6u);
    EXPECT_EQ(VirtualSlot(&CVQThread::IsStopPending), 7u);
    EXPECT_EQ(VirtualSlot(&CVQThread::IsRunning), 8u);
}

TEST(VQThread, FieldsHaveTheirWidths)
{
    if (sizeof(void*) == 4)
    {
        EXPECT_EQ(sizeof(CVQThread), 20u);
    }
    EXPECT_EQ(sizeof(eThreadPriority), 4u);
    EXPECT_EQ(eThreadPriorityLow, 0);
    EXPECT_EQ(eThreadPriorityNormal, 1);
    EXPECT_EQ(eThreadPriorityHigh, 2);
    EXPECT_EQ(eThreadPriorityCritical, 3);
}

TEST(VQThread, NewObjectHasNoThread)
{
    CNotingThread oThread;
    EXPECT_FALSE(oThread.IsRunning());
    EXPECT_FALSE(oThread.IsStopPending());
    EXPECT_EQ(oThread.GetUserParam(), 0u);
    EXPECT_EQ(oThread.GetPriority(), static_cast<eThreadPriority>(-1));
    EXPECT_EQ(oThread.GetExitCode(), 259u);
    oThread.SetPriority(eThreadPriorityHigh);
    EXPECT_EQ(oThread.GetPriority(), static_cast<eThreadPriority>(-1));
}

TEST(VQThread, StopOfAnObjectWithoutThreadLeavesTheFlag)
{
    CNotingThread oThread;
    EXPECT_TRUE(oThread.Stop(true, NO_LIMIT));
    EXPECT_TRUE(oThread.Stop(false, 0));
    EXPECT_FALSE(oThread.IsStopPending());
}

TEST(VQThread, RunsItsOperationsInOrderOnAThreadOfItsOwn)
{
    CNotingThread oThread;
    EXPECT_TRUE(oThread.Start(42, eThreadPriorityNormal));
    EXPECT_EQ(oThread.GetUserParam(), 42u);
    WaitForEnd(oThread);
    EXPECT_EQ(oThread.Notes(), "InitInstance;Run;ExitInstance;");
    EXPECT_NE(oThread.m_oThread, std::this_thread::get_id());
    EXPECT_NE(oThread.m_oThread, std::thread::id());
    EXPECT_EQ(oThread.GetExitCode(), 0u) << "what Run() returns is not used";
}

TEST(VQThread, BaseOperationsLetRunHaveItsTurn)
{
    class CPlainThread : public CVQThread
    {
    public:
        unsigned long Run() override { return m_nRuns++; }

        std::atomic<unsigned> m_nRuns = 0;
    };

    CPlainThread oThread;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    WaitForEnd(oThread);
    EXPECT_EQ(oThread.m_nRuns, 1u);
    EXPECT_EQ(oThread.GetExitCode(), 0u);
}

TEST(VQThread, RefusedInitInstanceEndsTheThread)
{
    CNotingThread oThread;
    oThread.m_bInit = false;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    WaitForEnd(oThread);
    EXPECT_EQ(oThread.GetExitCode(), 0xFFFFFFFFu);
    EXPECT_EQ(oThread.Notes(), "InitInstance;");
}

TEST(VQThread, ConstructorStartsTheThreadWhenAsked)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the object is made while its thread looks at it, which ThreadSanitizer tells";
#elif defined(__has_feature)
#    if __has_feature(thread_sanitizer)
    GTEST_SKIP() << "the object is made while its thread looks at it, which ThreadSanitizer tells";
#    endif
#endif

    static std::atomic<int> s_nRuns;
    s_nRuns = 0;

    class CEager : public CVQThread
    {
    public:
        explicit CEager(bool bStart) : CVQThread(bStart) {}

        unsigned long Run() override
        {
            ++s_nRuns;
            return 0;
        }
    };

    for (int i = 1; i <= 50; ++i)
    {
        CEager oThread(true);
        EXPECT_TRUE(oThread.IsRunning());
        EXPECT_EQ(oThread.GetUserParam(), 0u);
        EXPECT_EQ(oThread.GetPriority(), eThreadPriorityNormal);
        WaitForEnd(oThread);
        EXPECT_EQ(oThread.GetExitCode(), 0u);
        EXPECT_EQ(s_nRuns, i);
    }
    const CEager oIdle(false);
    EXPECT_FALSE(oIdle.IsRunning());
}

TEST(VQThread, IsRunningStaysTrueAfterTheEnd)
{
    CNotingThread oThread;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    EXPECT_TRUE(oThread.IsRunning());
    WaitForEnd(oThread);
    EXPECT_TRUE(oThread.IsRunning());
    WaitForEnd(oThread);
}

TEST(VQThread, StopWithoutWaitOnlySetsTheFlag)
{
    CNotingThread oThread;
    oThread.m_bUntilStop = true;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    oThread.m_oBegun.Wait();
    EXPECT_FALSE(oThread.IsStopPending());
    EXPECT_EQ(oThread.GetExitCode(), 259u) << "runs";

    EXPECT_TRUE(oThread.Stop(false, 0));
    EXPECT_TRUE(oThread.IsStopPending());
    WaitForEnd(oThread);
    EXPECT_EQ(oThread.Notes(), "InitInstance;Run;Stop 0 0;ExitInstance;");
}

TEST(VQThread, StopIsTrueThoughTheThreadGoesOn)
{
    class CStubborn : public CNotingThread
    {
    public:
        unsigned long Run() override
        {
            m_oGo.Wait();
            return 0;
        }

        CVQEvent m_oGo;
    };

    CStubborn oThread;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    EXPECT_TRUE(oThread.Stop(true, 0));
    EXPECT_TRUE(oThread.Stop(true, 3));
    EXPECT_EQ(oThread.GetExitCode(), 259u);

    std::thread oRelease([&] { oThread.m_oGo.Signal(); });
    EXPECT_TRUE(oThread.Stop(true, ULONG_MAX)); // 0xFFFFFFFF and above: without limit
    EXPECT_EQ(oThread.GetExitCode(), 0u);
    oRelease.join();
}

TEST(VQThread, SecondStartStopsTheFirstThread)
{
    CNotingThread oThread;
    oThread.m_bUntilStop = true;
    EXPECT_TRUE(oThread.Start(1, eThreadPriorityNormal));
    oThread.m_oBegun.Wait();

    oThread.m_bUntilStop = true;
    EXPECT_TRUE(oThread.Start(2, eThreadPriorityNormal));
    oThread.m_oBegun.Wait();
    EXPECT_FALSE(oThread.IsStopPending());
    EXPECT_EQ(oThread.GetUserParam(), 2u);
    EXPECT_EQ(oThread.Notes(), "InitInstance;Run;Stop 1 10000;ExitInstance;InitInstance;Run;");
}

TEST(VQThread, StartsAgainAndAgain)
{
    CNotingThread oThread;
    std::string sExpected;
    for (unsigned long i = 0; i < 100; ++i)
    {
        ASSERT_TRUE(oThread.Start(i, eThreadPriorityNormal));
        WaitForEnd(oThread);
        sExpected += i == 0 ? "" : "Stop 1 10000;";
        sExpected += "InitInstance;Run;ExitInstance;";
    }
    EXPECT_EQ(oThread.Notes(), sExpected);
}

TEST(VQThread, PriorityIsTheOneThatWasSet)
{
    struct
    {
        int nSet;
        eThreadPriority nExpected;
    } const aCases[] = {
        {eThreadPriorityLow, eThreadPriorityLow},
        {eThreadPriorityNormal, eThreadPriorityNormal},
        {eThreadPriorityHigh, eThreadPriorityHigh},
        {eThreadPriorityCritical, eThreadPriorityCritical},
        {7, eThreadPriorityNormal},
        {eThreadPriorityLow, eThreadPriorityLow},
        {4, eThreadPriorityNormal},
        {-1, eThreadPriorityNormal},
        {INT_MIN, eThreadPriorityNormal},
    };

    for (const auto& [nSet, nExpected] : aCases)
    {
        CNotingThread oThread;
        oThread.m_bUntilStop = true;
        EXPECT_TRUE(oThread.Start(0, static_cast<eThreadPriority>(nSet)));
        EXPECT_EQ(oThread.GetPriority(), nExpected) << "started with " << nSet;
    }

    CNotingThread oThread;
    oThread.m_bUntilStop = true;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    for (const auto& [nSet, nExpected] : aCases)
    {
        oThread.SetPriority(static_cast<eThreadPriority>(nSet));
        EXPECT_EQ(oThread.GetPriority(), nExpected) << "set to " << nSet;
    }
}

TEST(VQThread, PriorityIsWhatTheSystemGives)
{
    class CAskingThread : public CVQThread
    {
    public:
        unsigned long Run() override
        {
            m_oGo.Wait();
            m_oPriority = ReadRealPriority(0);
            m_oDone.Signal();
            return 0;
        }

        CVQEvent m_oGo;
        CVQEvent m_oDone;
        RealPriority m_oPriority;
    };

    if (!ReadRealPriority(0).bKnown)
        GTEST_SKIP() << "the system has no nice values";

    CAskingThread oLow;
    EXPECT_TRUE(oLow.Start(0, eThreadPriorityNormal));
    oLow.SetPriority(eThreadPriorityLow);
    oLow.m_oGo.Signal();
    oLow.m_oDone.Wait();
    EXPECT_TRUE(oLow.Stop(true, 60'000)) << "the thread still uses the object behind Run()";
    EXPECT_FALSE(oLow.m_oPriority.bRealTime);
    EXPECT_EQ(oLow.m_oPriority.nNice, std::min(oLow.m_oPriority.nProgramNice + 10, 19));

    CAskingThread oCritical;
    EXPECT_TRUE(oCritical.Start(0, eThreadPriorityNormal));
    oCritical.SetPriority(eThreadPriorityCritical);
    oCritical.SetPriority(eThreadPriorityNormal);
    oCritical.m_oGo.Signal();
    oCritical.m_oDone.Wait();
    EXPECT_TRUE(oCritical.Stop(true, 60'000));
    EXPECT_FALSE(oCritical.m_oPriority.bRealTime);
}

TEST(VQThread, CopyRefersToTheSameThread)
{
    CNotingThread oThread;
    oThread.m_bUntilStop = true;
    EXPECT_TRUE(oThread.Start(9, eThreadPriorityNormal));
    oThread.m_oBegun.Wait();

    class CCopy : public CVQThread
    {
    public:
        explicit CCopy(const CVQThread& oOther) : CVQThread(oOther) {}

        unsigned long Run() override { return 0; }
    };

    {
        const CCopy oCopy(oThread);
        EXPECT_TRUE(oCopy.IsRunning());
        EXPECT_EQ(oCopy.GetUserParam(), 9u);
        EXPECT_FALSE(oCopy.IsStopPending());
        EXPECT_EQ(oCopy.GetPriority(), eThreadPriorityNormal);
    }
    EXPECT_EQ(oThread.GetExitCode(), 259u) << "the copy's end stops nothing";

    CNotingThread oOther;
    CVQThread& oAssigned = oOther;
    oAssigned = oThread;
    EXPECT_EQ(oOther.GetUserParam(), 9u);
    EXPECT_TRUE(oOther.Stop(false, 0));
    EXPECT_FALSE(oThread.IsStopPending()) << "each has a flag of its own";
    oThread.Stop(false, 0);
}

TEST(VQThread, HasEndedWhenItsDestructorsHaveRun)
{
    static std::atomic<int> s_nDestroyed;
    s_nDestroyed = 0;

    struct Last
    {
        bool bUsed = false;

        ~Last()
        {
            for (int i = 0; i < 1000; ++i)
                std::this_thread::yield();
            ++s_nDestroyed;
        }
    };

    class CUser : public CVQThread
    {
    public:
        unsigned long Run() override
        {
            static thread_local Last s_oLast;
            s_oLast.bUsed = true;
            return 0;
        }
    };

    CUser oThread;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    WaitForEnd(oThread);
    EXPECT_EQ(s_nDestroyed, 1);
}

TEST(VQThread, AbandonsWhatItOwns)
{
    class COwner : public CVQThread
    {
    public:
        unsigned long Run() override
        {
            m_oMutex.Lock();
            return 0;
        }

        CVQMutex m_oMutex;
    };

    COwner oThread;
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    WaitForEnd(oThread);
    EXPECT_TRUE(oThread.m_oMutex.IsLocked()) << "abandoned, and now ours";
    EXPECT_FALSE(oThread.m_oMutex.IsLocked());
    oThread.m_oMutex.Unlock();
    oThread.m_oMutex.Unlock();
}

TEST(IsolatedVQThread, DoesNotStartWithoutMemoryAndStartsLater)
{
    if (!CMemoryLimit::IsSupported())
        GTEST_SKIP() << "this target sets no limit to the memory of a test";

    CNotingThread oThread;
    {
        const CMemoryLimit oLimit(std::size_t{1} << 20); // less than the stack of a thread
        EXPECT_FALSE(oThread.Start(0, eThreadPriorityNormal));
        EXPECT_FALSE(oThread.IsRunning());
        EXPECT_EQ(oThread.GetPriority(), -1);
    }
    EXPECT_TRUE(oThread.Start(0, eThreadPriorityNormal));
    WaitForEnd(oThread);
    EXPECT_NE(oThread.Notes().find("Run;"), std::string::npos);
}
