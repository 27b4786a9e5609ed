#include <Common/ProcessControl/VQCriticalSection.h>
#include <Common/ProcessControl/VQEvent.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{
// Whether another thread gets in before this one leaves. It is left by this call.
bool IsOpenForOthers(CVQCriticalSection& oSection, int nTimesToLeave)
{
    std::atomic<bool> bInside = false;
    CVQEvent oBegun;
    CVQEvent oNever;
    std::thread oOther(
        [&]
        {
            oBegun.Signal();
            oSection.Enter();
            bInside = true;
            oSection.Leave();
        });
    oBegun.Wait();
    oNever.TimedWait(5); // time to get in where it should not
    const bool bOpen = bInside;
    for (int i = 0; i < nTimesToLeave; ++i)
        oSection.Leave();
    oOther.join();
    return bOpen;
}
} // namespace

TEST(VQCriticalSection, HoldsTheSystemsStructureByValue)
{
    EXPECT_EQ(sizeof(CVQCriticalSection), sizeof(void*) == 4 ? 28u : 48u);
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQCriticalSection>);
}

TEST(VQCriticalSection, IgnoresItsArgument)
{
    for (const unsigned long nArgument : {0ul, 1ul, 4000ul, 0xFFFFFFFFul})
    {
        CVQCriticalSection oSection(nArgument);
        oSection.Enter();
        EXPECT_FALSE(IsOpenForOthers(oSection, 1));
    }
}

TEST(VQCriticalSection, IsLeftAsOftenAsEntered)
{
    CVQCriticalSection oSection;
    oSection.Enter();
    oSection.Enter();
    oSection.Enter();
    oSection.Leave();
    EXPECT_FALSE(IsOpenForOthers(oSection, 2));
    oSection.Enter();
    oSection.Leave();
}

TEST(VQCriticalSection, LetsOneThreadInAtATime)
{
    constexpr int THREADS = 6;
    constexpr int ROUNDS = 5000;

    CVQCriticalSection oSection;
    int nCount = 0; // guarded by the section alone
    std::vector<std::thread> oThreads;
    for (int i = 0; i < THREADS; ++i)
    {
        oThreads.emplace_back(
            [&]
            {
                for (int nRound = 0; nRound < ROUNDS; ++nRound)
                {
                    oSection.Enter();
                    oSection.Enter();
                    ++nCount;
                    oSection.Leave();
                    oSection.Leave();
                }
            });
    }
    for (std::thread& oThread : oThreads)
        oThread.join();
    EXPECT_EQ(nCount, THREADS * ROUNDS);
}

TEST(VQCriticalSection, CopyIsTheRawBytes)
{
    CVQCriticalSection oSection;
    oSection.Enter();
    oSection.Enter();
    const CVQCriticalSection oCopy(oSection);
    CVQCriticalSection oAssigned;
    oAssigned = oSection;
    for (const CVQCriticalSection* pCopy : {&oCopy, const_cast<const CVQCriticalSection*>(&oAssigned)})
        EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(pCopy) + sizeof(void*),
                              reinterpret_cast<const char*>(&oSection) + sizeof(void*),
                              sizeof(CVQCriticalSection) - sizeof(void*)),
                  0);
    oSection.Leave();
    oSection.Leave();
}

TEST(VQCriticalSection, EndOfACopyDoesNoHarm)
{
    CVQCriticalSection oSection;
    {
        oSection.Enter();
        CVQEvent oBegun;
        std::thread oWaiter(
            [&]
            {
                oBegun.Signal();
                oSection.Enter(); // with somebody waiting the system's structure holds more than itself
                oSection.Leave();
            });
        oBegun.Wait();
        CVQEvent oNever;
        oNever.TimedWait(5);

        const CVQCriticalSection oCopy(oSection);
        oSection.Leave();
        oWaiter.join();
    }
    oSection.Enter();
    EXPECT_FALSE(IsOpenForOthers(oSection, 1));

    for (int i = 0; i < 100; ++i)
    {
        const auto pCopy = std::make_unique<CVQCriticalSection>(oSection);
        CVQCriticalSection oAssigned;
        oAssigned = *pCopy;
        const CVQCriticalSection& oItself = oAssigned;
        oAssigned = oItself;
    }
    oSection.Enter();
    EXPECT_FALSE(IsOpenForOthers(oSection, 1));
}

TEST(VQCriticalSection, LivesWhereAnotherOneDied)
{
    alignas(CVQCriticalSection) unsigned char aPlace[sizeof(CVQCriticalSection)];
    for (int i = 0; i < 10; ++i)
    {
        auto* pSection = new (aPlace) CVQCriticalSection;
        pSection->Enter();
        EXPECT_FALSE(IsOpenForOthers(*pSection, 1));
        pSection->~CVQCriticalSection();
    }
}
