// What docs/threads-and-pipes.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Fork.h>
#include <tests/support/Guide.h>
#include <tests/support/RawMail.h>
#include <tests/support/SyncChild.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace
{
std::vector<std::string> g_oLoaded; // by the loader's thread, read when it has ended

void LoadFile(const CVQString& oName)
{
    g_oLoaded.emplace_back(~oName);
}

class CLoader : public CVQThread
{
public:
    ~CLoader() override
    {
        m_oWork.Unlock(1);      // a unit without a name: the end
        Stop(true, 0xFFFFFFFF); // the thread must have ended before its object does
    }

    void Add(const CVQString& oName)
    {
        m_oLock.Enter();
        m_oNames.push_back(oName);
        m_oLock.Leave();
        m_oWork.Unlock(1);
    }

    unsigned long Run() override
    {
        for (m_oWork.Lock(); const auto oName = Take(); m_oWork.Lock())
            LoadFile(*oName);
        return 0;
    }

private:
    std::optional<CVQString> Take()
    {
        std::optional<CVQString> oName;
        m_oLock.Enter();
        if (!m_oNames.empty())
        {
            oName = m_oNames.front();
            m_oNames.pop_front();
        }
        m_oLock.Leave();
        return oName;
    }

    CVQCriticalSection m_oLock;
    CVQSemaphore m_oWork{0, 1'000'000};
    std::deque<CVQString> m_oNames;
};

void LoadLevels()
{
    CLoader oLoader;
    oLoader.Start(0, eThreadPriorityLow);
    oLoader.Add("canyon");
    oLoader.Add("crater");
} // waits for both

bool IsFirstInstance(const char* pName)
{
    void* hInstance = SYNC_CreateMutex(false, pName); // kept until the program ends
    return SYNC_TimedWaitEvent(hInstance, 0);         // any waiting function waits for any object
}

struct sGhost
{
    std::int32_t m_nX = 0;
    std::int32_t m_nY = 0;
    CVQString m_oPilot;
};

void SendGhost(CVQMailSlot& oClient, const sGhost& oGhost)
{
    oClient.BeginWrite();
    oClient.Write(&oGhost.m_nX, sizeof oGhost.m_nX);
    oClient.Write(&oGhost.m_nY, sizeof oGhost.m_nY);
    oClient.Write(oGhost.m_oPilot);
    oClient.EndWrite();
}

bool ReceiveGhost(CVQMailSlot& oServer, sGhost& oGhost)
{
    if (!oServer.AreMessagesWaiting())
        return false;

    oServer.BeginRead();
    oServer.Read(&oGhost.m_nX, sizeof oGhost.m_nX);
    oServer.Read(&oGhost.m_nY, sizeof oGhost.m_nY);
    oServer.Read(oGhost.m_oPilot);
    oServer.EndRead();
    return true;
}

void WriteScores(CVQPipe& oPipe)
{
    for (int nScore : {120, 95, 80})
    {
        oPipe.Write(true); // one more
        oPipe.Write(nScore);
    }
    oPipe.Write(false);
}

int SumScores(CVQPipe& oPipe)
{
    int nSum = 0;
    int nScore = 0;
    for (bool bMore = false; oPipe.Read(bMore) && bMore && oPipe.Read(nScore);)
        nSum += nScore;
    return nSum;
}
} // namespace

TEST(ThreadsGuide, LoadsInOrderAndWaits)
{
    g_oLoaded.clear();
    LoadLevels();
    EXPECT_EQ(g_oLoaded, (std::vector<std::string>{"canyon", "crater"}));

    CLoader oNeverStarted;
    EXPECT_EQ(oNeverStarted.GetExitCode(), 259UL);
}

TEST(ThreadsGuide, KnowsTheFirstInstance)
{
    const std::string sName = UniqueSyncName();
    EXPECT_TRUE(IsFirstInstance(sName.c_str()));
    const std::string sLocal = UniqueSyncName();
    EXPECT_TRUE(IsFirstInstance(("Local\\" + sLocal).c_str()));

    const std::string sOther = UniqueSyncName();
    const auto pFirst = StartSyncChild(eSyncRole::LockMutexAndStay, sOther);
    ASSERT_NE(pFirst, nullptr);
    EXPECT_FALSE(IsFirstInstance(sOther.c_str()));
    pFirst->Kill();
    pFirst->Wait();
    EXPECT_TRUE(IsFirstInstance(sOther.c_str())); // it was left to us
}

TEST(ThreadsGuide, SendsGhosts)
{
    const std::string sName = MailSlotName(".", "guide." + UniqueSyncName());
    CVQMailSlot oClient;
    try
    {
        oClient.Open(sName.c_str(), false);
        ADD_FAILURE() << "there is no server yet";
    }
    catch (CMailSlotException& oError)
    {
        EXPECT_EQ(oError.GetErrorCode(), 5000UL);
    }

    CVQMailSlot oServer;
    oServer.Open(sName.c_str(), true);
    EXPECT_THROW(CVQMailSlot().Open(sName.c_str(), true), CMailSlotException);
    oClient.Open(sName.c_str(), false);
    SendGhost(oClient, {-3, 70, "Ann"});

    sGhost oGhost;
    EXPECT_TRUE(ReceiveGhost(oServer, oGhost));
    EXPECT_EQ(oGhost.m_nX, -3);
    EXPECT_EQ(oGhost.m_nY, 70);
    EXPECT_EQ(oGhost.m_oPilot, "Ann");
    EXPECT_FALSE(ReceiveGhost(oServer, oGhost));
}

TEST(ThreadsGuide, SumsScores)
{
    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    std::thread oWriter([&oPipe] { WriteScores(oPipe); });
    EXPECT_EQ(SumScores(oPipe), 295);
    oWriter.join();
}

TEST(IsolatedThreadsGuide, SumsScoresOfAChild)
{
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";

    CVQPipe oPipe;
    ASSERT_TRUE(oPipe.Open());
    EXPECT_EQ(RunInFork(
                  [&oPipe]
                  {
                      WriteScores(oPipe);
                      return 0;
                  }),
              0);
    EXPECT_EQ(SumScores(oPipe), 295);
}

TEST(ThreadsGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("threads-and-pipes.md", "House/ThreadsGuide_test.cpp"), "");
}
