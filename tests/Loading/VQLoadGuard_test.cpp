#include <Common/Loading/VQLoadGuard.h>

#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr float TOLERANCE = 1e-6f;

using Report = std::pair<float, std::string>;

/// Remembers what it was told: "begin", "end", and the reports.
class CWatch : public IVQLoadGuardWatch
{
public:
    explicit CWatch(std::string sName = "", std::vector<std::string>* pCalls = nullptr)
        : m_sName(std::move(sName)), m_pCalls(pCalls)
    {
    }

    void OnBeginLoading() override { Note("begin"); }

    void OnLoadProgress(float fProgress, const char* pName) override
    {
        m_oReports.emplace_back(fProgress, pName != nullptr ? pName : "(null)");
        Note("progress");
    }

    void OnEndLoading() override { Note("end"); }

    /// What is done at the next call, once.
    std::function<void()> m_Then;

    std::vector<Report> m_oReports;
    std::vector<std::string> m_oCalls;

private:
    void Note(const char* pCall)
    {
        m_oCalls.emplace_back(pCall);
        if (m_pCalls != nullptr)
            m_pCalls->push_back(m_sName + pCall);
        if (const auto Then = std::exchange(m_Then, nullptr))
            Then();
    }

    std::string m_sName;
    std::vector<std::string>* m_pCalls;
};

using Calls = std::vector<std::string>;

/// A guard with a watch, its loading begun.
struct sLoading
{
    sLoading()
    {
        oGuard.RegisterWatch(&oWatch);
        oGuard.BeginLoading();
    }

    CVQLoadGuard oGuard;
    CWatch oWatch;
};

void ExpectReports(const CWatch& oWatch, const std::vector<Report>& oExpected)
{
    ASSERT_EQ(oWatch.m_oReports.size(), oExpected.size());
    for (std::size_t i = 0; i < oExpected.size(); ++i)
    {
        EXPECT_NEAR(oWatch.m_oReports[i].first, oExpected[i].first, TOLERANCE) << i;
        EXPECT_EQ(oWatch.m_oReports[i].second, oExpected[i].second) << i;
    }
}

long g_nAskedFor = -1;

bool LoadName(long nId, CVQString& oTarget)
{
    g_nAskedFor = nId;
    oTarget = nId == 5 ? "textures" : nId == 0x8001 ? "level" : "garbage of a failed attempt";
    return nId == 5 || nId == 0x8001;
}

/// Installs the hook for localised texts while it lives.
struct sNames
{
    sNames()
    {
        g_nAskedFor = -1;
        CVQString::s_pfnLoadString = LoadName;
    }

    ~sNames() { CVQString::s_pfnLoadString = nullptr; }

    sNames(const sNames&) = delete;
    sNames& operator=(const sNames&) = delete;
};

template <class... TArguments>
using Member = void (CVQLoadGuard::*)(TArguments...);
} // namespace

TEST(VQLoadGuard, KeepsItsSlotsInOrder)
{
    EXPECT_EQ(VirtualSlot(&IVQLoadGuardWatch::OnBeginLoading), 0u);
    EXPECT_EQ(VirtualSlot(&IVQLoadGuardWatch::OnLoadProgress), 1u);
    EXPECT_EQ(VirtualSlot(&IVQLoadGuardWatch::OnEndLoading), 2u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::OnBeginLoading), 0u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::OnLoadProgress), 1u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::OnEndLoading), 2u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::RegisterWatch), 5u); // behind the two of the destructor
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::UnregisterWatch), 6u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::BeginLoading), 7u);
    EXPECT_EQ(VirtualSlot(Member<float, long>(&CVQLoadGuard::BeginLoadComponent)), 8u);
    EXPECT_EQ(VirtualSlot(Member<float, const char*>(&CVQLoadGuard::BeginLoadComponent)), 9u);
    EXPECT_EQ(VirtualSlot(Member<float, long>(&CVQLoadGuard::LoadComponentCompleted)), 10u);
    EXPECT_EQ(VirtualSlot(Member<float, const char*>(&CVQLoadGuard::LoadComponentCompleted)), 11u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::EndLoadComponent), 12u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::EndLoading), 13u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::GetProgress), 14u);
    EXPECT_EQ(VirtualSlot(&CVQLoadGuard::HasWatches), 15u);
}

// Runs in a process of its own, where nothing has touched the guard yet.
TEST(IsolatedVQLoadGuard, HasOneInstanceThatBeginsAtNothing)
{
    auto* pGuard = CVQLoadGuard::Instance();
    ASSERT_NE(pGuard, nullptr);
    EXPECT_EQ(CVQLoadGuard::Instance(), pGuard);
    EXPECT_EQ(pGuard->GetProgress(), 0.0f);
    EXPECT_FALSE(pGuard->HasWatches());
    pGuard->LoadComponentCompleted(0.25f, nullptr); // scale 1, end 1
    EXPECT_EQ(pGuard->GetProgress(), 0.25f);
    pGuard->LoadComponentCompleted(2.0f, nullptr);
    EXPECT_EQ(pGuard->GetProgress(), 1.0f);
}

TEST(VQLoadGuard, TellsWatchesInTheOrderOfRegistration)
{
    Calls oCalls;
    CVQLoadGuard oGuard;
    CWatch oFirst("1 ", &oCalls);
    CWatch oSecond("2 ", &oCalls);
    EXPECT_FALSE(oGuard.HasWatches());
    oGuard.RegisterWatch(&oFirst);
    EXPECT_TRUE(oGuard.HasWatches());
    oGuard.RegisterWatch(&oSecond);

    oGuard.BeginLoading();
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    oGuard.EndLoading();
    EXPECT_EQ(oCalls, (Calls{"1 begin", "2 begin", "1 progress", "2 progress", "1 end", "2 end"}));
}

TEST(VQLoadGuard, TellsAWatchAsOftenAsItIsRegistered)
{
    CVQLoadGuard oGuard;
    CWatch oWatch;
    oGuard.RegisterWatch(&oWatch);
    oGuard.RegisterWatch(&oWatch);
    oGuard.BeginLoading();
    EXPECT_EQ(oWatch.m_oCalls, (Calls{"begin", "begin"}));

    oGuard.UnregisterWatch(&oWatch);
    EXPECT_TRUE(oGuard.HasWatches());
    oGuard.EndLoading();
    EXPECT_EQ(oWatch.m_oCalls, (Calls{"begin", "begin", "end"}));

    oGuard.UnregisterWatch(&oWatch);
    EXPECT_FALSE(oGuard.HasWatches());
    oGuard.EndLoading();
    EXPECT_EQ(oWatch.m_oCalls.size(), 3u);
}

TEST(VQLoadGuard, UnregistersTheFirstOccurrence)
{
    Calls oCalls;
    CVQLoadGuard oGuard;
    CWatch oFirst("1 ", &oCalls);
    CWatch oSecond("2 ", &oCalls);
    for (auto* pWatch : {&oFirst, &oSecond, &oFirst})
        oGuard.RegisterWatch(pWatch);
    oGuard.UnregisterWatch(&oFirst);
    oGuard.BeginLoading();
    EXPECT_EQ(oCalls, (Calls{"2 begin", "1 begin"}));
}

TEST(VQLoadGuard, IgnoresWatchesThatAreAbsent)
{
    sLoading oLoading;
    CWatch oStranger;
    oLoading.oGuard.UnregisterWatch(&oStranger);
    oLoading.oGuard.UnregisterWatch(nullptr);
    EXPECT_TRUE(oLoading.oGuard.HasWatches());
}

TEST(VQLoadGuard, TakesNeitherNullNorItselfAsAWatch)
{
    CVQLoadGuard oGuard;
    oGuard.RegisterWatch(nullptr);
    oGuard.RegisterWatch(&oGuard);
    EXPECT_FALSE(oGuard.HasWatches());
    oGuard.BeginLoading();
}

TEST(VQLoadGuard, WorksWithoutWatches)
{
    CVQLoadGuard oGuard;
    oGuard.BeginLoading();
    oGuard.OnBeginLoading();
    oGuard.OnLoadProgress(0.7f, "name");
    EXPECT_EQ(oGuard.GetProgress(), 0.0f); // it is only passed on
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.LoadComponentCompleted(0.5f, "a");
    EXPECT_NEAR(oGuard.GetProgress(), 0.25f, TOLERANCE);
    oGuard.EndLoadComponent();
    EXPECT_NEAR(oGuard.GetProgress(), 0.5f, TOLERANCE);
    oGuard.OnEndLoading();
    oGuard.EndLoading();
}

TEST(VQLoadGuard, FollowsNestedComponents)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "outer"); // 0 to 0.5
    EXPECT_EQ(oGuard.GetProgress(), 0.0f);
    oGuard.BeginLoadComponent(0.2f, "inner"); // 0 to 0.1
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    EXPECT_NEAR(oGuard.GetProgress(), 0.05f, TOLERANCE);
    oGuard.EndLoadComponent();
    EXPECT_NEAR(oGuard.GetProgress(), 0.1f, TOLERANCE);

    oGuard.LoadComponentCompleted(0.5f, nullptr); // scale 0.5 again
    EXPECT_NEAR(oGuard.GetProgress(), 0.35f, TOLERANCE);
    oGuard.LoadComponentCompleted(0.5f, nullptr); // and end 0.5
    EXPECT_NEAR(oGuard.GetProgress(), 0.5f, TOLERANCE);
    oGuard.EndLoadComponent();

    oGuard.LoadComponentCompleted(0.25f, nullptr); // scale 1 again
    EXPECT_NEAR(oGuard.GetProgress(), 0.75f, TOLERANCE);
    oGuard.LoadComponentCompleted(0.5f, nullptr); // and end 1
    EXPECT_EQ(oGuard.GetProgress(), 1.0f);
}

TEST(VQLoadGuard, SpansAComponentFromThePresentProgress)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.LoadComponentCompleted(0.25f, nullptr);
    oGuard.BeginLoadComponent(0.5f, nullptr); // 0.25 to 0.75
    oGuard.LoadComponentCompleted(1.0f, nullptr);
    EXPECT_NEAR(oGuard.GetProgress(), 0.75f, TOLERANCE);
    oGuard.EndLoadComponent();
    EXPECT_NEAR(oGuard.GetProgress(), 0.75f, TOLERANCE);
}

TEST(VQLoadGuard, AddsUpFractionsWithoutLeavingTheComponent)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a");
    for (const float fExpected : {0.2f, 0.4f, 0.5f, 0.5f})
    {
        oGuard.LoadComponentCompleted(0.4f, nullptr);
        EXPECT_NEAR(oGuard.GetProgress(), fExpected, TOLERANCE);
    }
    oGuard.LoadComponentCompleted(1000.0f, nullptr);
    EXPECT_EQ(oGuard.GetProgress(), 0.5f);
    oGuard.EndLoadComponent();
    EXPECT_EQ(oGuard.GetProgress(), 0.5f);
}

TEST(VQLoadGuard, AdvancesOverAComponentThatReportsNothing)
{
    sLoading oLoading;
    oLoading.oGuard.BeginLoadComponent(0.3f, "silent");
    oLoading.oGuard.EndLoadComponent();
    ExpectReports(oLoading.oWatch, {{0.3f, "silent"}});
}

TEST(VQLoadGuard, DoesNotReportTheBeginOfAComponent)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "outer");
    oGuard.BeginLoadComponent(0.5f, "inner");
    EXPECT_EQ(oLoading.oWatch.m_oCalls, Calls{"begin"});
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    oGuard.EndLoadComponent();
    oGuard.EndLoadComponent();
    ExpectReports(oLoading.oWatch, {{0.125f, "inner"}, {0.25f, "inner"}, {0.5f, "inner"}});
}

TEST(VQLoadGuard, KeepsTheNameUntilThereIsAnother)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.LoadComponentCompleted(0.1f, nullptr); // none yet
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.LoadComponentCompleted(0.0f, nullptr);
    oGuard.LoadComponentCompleted(0.0f, "b");
    oGuard.BeginLoadComponent(0.5f, nullptr);
    oGuard.EndLoadComponent();
    oGuard.LoadComponentCompleted(0.0f, ""); // empty is a name
    oGuard.BeginLoading();
    oGuard.LoadComponentCompleted(0.0f, "c");
    oGuard.BeginLoading();
    oGuard.LoadComponentCompleted(0.0f, nullptr); // also over the begin of another loading
    ExpectReports(oLoading.oWatch,
                  {{0.1f, ""}, {0.1f, "a"}, {0.1f, "b"}, {0.35f, "b"}, {0.35f, ""}, {0.0f, "c"}, {0.0f, "c"}});
}

TEST(VQLoadGuard, PassesItsOwnNameOn)
{
    sLoading oLoading;
    oLoading.oGuard.BeginLoadComponent(0.5f, "current");
    oLoading.oGuard.OnLoadProgress(0.75f, "another");
    ExpectReports(oLoading.oWatch, {{0.75f, "current"}});
    EXPECT_EQ(oLoading.oGuard.GetProgress(), 0.0f);
}

TEST(VQLoadGuard, TakesNamesByNumber)
{
    const sNames oNames;
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, 5L);
    EXPECT_EQ(g_nAskedFor, 5);
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    oGuard.LoadComponentCompleted(0.0f, 0x8001L);
    oGuard.LoadComponentCompleted(0.5f, 5L);
    oGuard.EndLoadComponent();
    ExpectReports(oLoading.oWatch, {{0.25f, "textures"}, {0.25f, "level"}, {0.5f, "textures"}, {0.5f, "textures"}});
}

TEST(VQLoadGuard, TakesTheLow16BitsOfANumber)
{
    const sNames oNames;
    sLoading oLoading;
    oLoading.oGuard.LoadComponentCompleted(0.0f, 0x70005L);
    EXPECT_EQ(g_nAskedFor, 5);
    oLoading.oGuard.LoadComponentCompleted(0.0f, -0x7FFFL);
    EXPECT_EQ(g_nAskedFor, 0x8001);
    ExpectReports(oLoading.oWatch, {{0.0f, "textures"}, {0.0f, "level"}});
}

TEST(VQLoadGuard, KeepsTheNameWhenANumberLoadsNothing)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "previous");
    oGuard.LoadComponentCompleted(0.0f, 5L); // no hook
    {
        const sNames oNames;
        for (const long nId : {6L, 0L, 0xFFFFL, -1L, 0x10000L}) // unknown, no number, never a number
        {
            oGuard.LoadComponentCompleted(0.0f, nId);
            oGuard.BeginLoadComponent(0.0f, nId);
            oGuard.EndLoadComponent();
        }
    }
    EXPECT_EQ(g_nAskedFor, 6);
    ASSERT_EQ(oLoading.oWatch.m_oReports.size(), 11u);
    for (const auto& [fProgress, sName] : oLoading.oWatch.m_oReports)
        EXPECT_EQ(sName, "previous");
}

TEST(VQLoadGuard, CallsItsOtherFormForANumber)
{
    class CGuard : public CVQLoadGuard
    {
    public:
        using CVQLoadGuard::BeginLoadComponent;
        using CVQLoadGuard::LoadComponentCompleted;

        void BeginLoadComponent(float fWeight, const char* pName) override { Note(fWeight, pName); }

        void LoadComponentCompleted(float fFraction, const char* pName) override { Note(fFraction, pName); }

        std::vector<Report> m_oNotes;

    private:
        void Note(float fValue, const char* pName)
        {
            m_oNotes.emplace_back(fValue, pName != nullptr ? pName : "(null)");
        }
    };

    const sNames oNames;
    CGuard oGuard;
    oGuard.BeginLoadComponent(0.25f, 5L);
    oGuard.LoadComponentCompleted(0.5f, 6L);
    EXPECT_EQ(oGuard.m_oNotes, (std::vector<Report>{{0.25f, "textures"}, {0.5f, "(null)"}}));
}

TEST(VQLoadGuard, BeginsAgainAtNothing)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.LoadComponentCompleted(1.0f, nullptr);
    oGuard.BeginLoading();
    EXPECT_EQ(oGuard.GetProgress(), 0.0f);
    oGuard.LoadComponentCompleted(0.75f, nullptr); // scale and end are 1
    EXPECT_EQ(oGuard.GetProgress(), 0.75f);
    EXPECT_EQ(oLoading.oWatch.m_oCalls, (Calls{"begin", "progress", "begin", "progress"}));
}

TEST(VQLoadGuard, ResetsBeforeItTellsTheBegin)
{
    sLoading oLoading;
    oLoading.oGuard.LoadComponentCompleted(0.5f, nullptr);
    float fSeen = -1.0f;
    oLoading.oWatch.m_Then = [&] { fSeen = oLoading.oGuard.GetProgress(); };
    oLoading.oGuard.BeginLoading();
    EXPECT_EQ(fSeen, 0.0f);
}

TEST(VQLoadGuard, ResetsNothingAtTheEnd)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    oGuard.EndLoading();
    EXPECT_NEAR(oGuard.GetProgress(), 0.25f, TOLERANCE);
    oGuard.LoadComponentCompleted(1.0f, nullptr);
    EXPECT_NEAR(oGuard.GetProgress(), 0.5f, TOLERANCE); // the component is still open
}

TEST(VQLoadGuard, ReportsTheEndOfAComponentBeforeItGoesBack)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a");
    oLoading.oWatch.m_Then = [&] { oGuard.LoadComponentCompleted(1.0f, "within"); };
    oGuard.EndLoadComponent();
    ExpectReports(oLoading.oWatch, {{0.5f, "a"}, {0.5f, "within"}}); // the range was still that of the component
}

TEST(VQLoadGuard, KeepsItsRangeAtAnEndWithoutABegin)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.LoadComponentCompleted(0.25f, "a");
    oGuard.EndLoadComponent();
    oGuard.EndLoadComponent();
    ExpectReports(oLoading.oWatch, {{0.25f, "a"}, {1.0f, "a"}, {1.0f, "a"}});

    oGuard.BeginLoading();
    oGuard.EndLoadComponent();
    oGuard.BeginLoading();
    oGuard.BeginLoadComponent(0.5f, "b"); // works as ever
    oGuard.EndLoadComponent();
    EXPECT_NEAR(oGuard.GetProgress(), 0.5f, TOLERANCE);
    oGuard.LoadComponentCompleted(0.25f, nullptr);
    EXPECT_NEAR(oGuard.GetProgress(), 0.75f, TOLERANCE);
}

TEST(VQLoadGuard, KeepsOpenComponentsOverTheBeginOfALoading)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.BeginLoadComponent(0.5f, "b");
    oGuard.BeginLoading();
    oGuard.EndLoadComponent(); // goes back to the range of "a"
    EXPECT_EQ(oGuard.GetProgress(), 1.0f);
    oGuard.LoadComponentCompleted(0.0f, nullptr);
    EXPECT_EQ(oGuard.GetProgress(), 0.5f);
}

TEST(VQLoadGuard, NestsDeeply)
{
    constexpr int DEPTH = 100'000;
    CVQLoadGuard oGuard;
    oGuard.BeginLoading();
    oGuard.BeginLoadComponent(0.5f, "all");
    for (int i = 0; i < DEPTH; ++i)
        oGuard.BeginLoadComponent(1.0f, nullptr);
    for (int i = 0; i < DEPTH; ++i)
        oGuard.EndLoadComponent();
    EXPECT_EQ(oGuard.GetProgress(), 0.5f);
    oGuard.EndLoadComponent();
    oGuard.LoadComponentCompleted(0.25f, nullptr);
    EXPECT_EQ(oGuard.GetProgress(), 0.75f);
}

TEST(VQLoadGuard, SurvivesWeightsAndFractionsThatMakeNoSense)
{
    const float fNone = std::numeric_limits<float>::quiet_NaN();
    const float fHuge = std::numeric_limits<float>::infinity();
    for (const float fValue : {fNone, fHuge, -fHuge, -1.0f, std::numeric_limits<float>::max()})
    {
        sLoading oLoading;
        auto& oGuard = oLoading.oGuard;
        oGuard.BeginLoadComponent(0.5f, "outer");
        oGuard.BeginLoadComponent(fValue, "inner");
        oGuard.LoadComponentCompleted(fValue, "inner");
        oGuard.EndLoadComponent();
        oGuard.EndLoadComponent(); // the component around it is where it was
        EXPECT_EQ(oGuard.GetProgress(), 0.5f) << fValue;
    }
}

TEST(VQLoadGuard, CanBeCopied)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.LoadComponentCompleted(0.5f, nullptr);

    CVQLoadGuard oAssigned;
    oAssigned = oGuard;
    for (CVQLoadGuard oCopy : {oGuard, oAssigned})
    {
        oLoading.oWatch.m_oReports.clear();
        EXPECT_NEAR(oCopy.GetProgress(), 0.25f, TOLERANCE);
        EXPECT_TRUE(oCopy.HasWatches());
        oCopy.EndLoadComponent();
        oCopy.LoadComponentCompleted(0.25f, nullptr);
        ExpectReports(oLoading.oWatch, {{0.5f, "a"}, {0.75f, "a"}});
    }
    EXPECT_NEAR(oGuard.GetProgress(), 0.25f, TOLERANCE);
}

TEST(VQLoadGuard, CanWatchAnotherGuard)
{
    sLoading oLoading;
    CVQLoadGuard oSource;
    oSource.RegisterWatch(&oLoading.oGuard);
    oLoading.oGuard.LoadComponentCompleted(0.0f, "own");
    oSource.BeginLoading();
    oSource.LoadComponentCompleted(0.5f, "source");
    oSource.EndLoading();
    EXPECT_EQ(oLoading.oWatch.m_oCalls, (Calls{"begin", "progress", "begin", "progress", "end"}));
    ExpectReports(oLoading.oWatch, {{0.0f, "own"}, {0.5f, "own"}}); // a guard passes its own name on
}

TEST(VQLoadGuard, LetsAWatchUnregisterItselfAndOthersMeanwhile)
{
    Calls oCalls;
    CVQLoadGuard oGuard;
    CWatch oFirst("1 ", &oCalls);
    auto pSecond = std::make_unique<CWatch>("2 ", &oCalls);
    CWatch oThird("3 ", &oCalls);
    oGuard.RegisterWatch(&oFirst);
    oGuard.RegisterWatch(pSecond.get());
    oGuard.RegisterWatch(&oThird);
    oFirst.m_Then = [&]
    {
        oGuard.UnregisterWatch(&oFirst);
        oGuard.UnregisterWatch(pSecond.get());
        pSecond.reset();
    };
    oGuard.BeginLoading();
    oGuard.EndLoading();
    EXPECT_EQ(oCalls, (Calls{"1 begin", "3 begin", "3 end"}));
}

TEST(VQLoadGuard, TellsAWatchThatIsRegisteredMeanwhileFromTheNextTimeOn)
{
    Calls oCalls;
    CVQLoadGuard oGuard;
    CWatch oFirst("1 ", &oCalls);
    CWatch oSecond("2 ", &oCalls);
    oGuard.RegisterWatch(&oFirst);
    oFirst.m_Then = [&] { oGuard.RegisterWatch(&oSecond); };
    oGuard.BeginLoading();
    oGuard.EndLoading();
    EXPECT_EQ(oCalls, (Calls{"1 begin", "1 end", "2 end"}));
}

TEST(VQLoadGuard, TellsThroughItsOwnVirtualOperations)
{
    class CGuard : public CVQLoadGuard
    {
    public:
        void OnBeginLoading() override { m_oCalls.emplace_back("begin"); }

        void OnLoadProgress(float fProgress, const char* pName) override
        {
            m_oReports.emplace_back(fProgress, pName != nullptr ? pName : "(null)");
            m_oCalls.emplace_back("progress");
        }

        void OnEndLoading() override { m_oCalls.emplace_back("end"); }

        Calls m_oCalls;
        std::vector<Report> m_oReports;
    };

    CGuard oGuard; // has no watches: asking for them is up to the operations of the base
    oGuard.BeginLoading();
    oGuard.LoadComponentCompleted(0.25f, nullptr);
    oGuard.BeginLoadComponent(0.5f, "a");
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    oGuard.EndLoadComponent();
    oGuard.EndLoading();
    EXPECT_EQ(oGuard.m_oCalls, (Calls{"begin", "progress", "progress", "progress", "end"}));
    EXPECT_EQ(oGuard.m_oReports, (std::vector<Report>{{0.25f, ""}, {0.5f, "a"}, {0.75f, "a"}}));
}

TEST(VQLoadGuard, AsksWhetherItHasWatches)
{
    class CGuard : public CVQLoadGuard
    {
    public:
        bool HasWatches() const override { return false; }
    };

    CGuard oGuard;
    CWatch oWatch;
    oGuard.RegisterWatch(&oWatch);
    oGuard.BeginLoading();
    oGuard.LoadComponentCompleted(0.5f, "a");
    oGuard.EndLoading();
    EXPECT_TRUE(oWatch.m_oCalls.empty());
}

TEST(VQLoadGuard, CountsWhatIsNotANumberAsNothing)
{
    const float fNone = std::numeric_limits<float>::quiet_NaN();
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.LoadComponentCompleted(0.25f, nullptr);
    oGuard.LoadComponentCompleted(fNone, nullptr);
    EXPECT_EQ(oGuard.GetProgress(), 0.25f);

    oGuard.BeginLoadComponent(fNone, nullptr);
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    EXPECT_EQ(oGuard.GetProgress(), 0.25f);
    oGuard.EndLoadComponent();
    EXPECT_EQ(oGuard.GetProgress(), 0.25f);

    oGuard.BeginLoadComponent(0.0f, nullptr); // infinitely much of nothing
    oGuard.LoadComponentCompleted(std::numeric_limits<float>::infinity(), nullptr);
    EXPECT_EQ(oGuard.GetProgress(), 0.25f);
    oGuard.BeginLoadComponent(std::numeric_limits<float>::infinity(), nullptr);
    oGuard.EndLoadComponent();
    EXPECT_EQ(oGuard.GetProgress(), 0.25f);
}

TEST(VQLoadGuard, CalculatesWithAnyWeight)
{
    struct
    {
        float fWeight;
        float fFraction;
        float fProgress; // from 0.5
        float fEnd;
    } const aCases[] = {
        {0.0f, 0.5f, 0.5f, 0.5f},     // nothing to load
        {0.0f, -0.5f, 0.5f, 0.5f},    //
        {0.25f, -1.0f, 0.25f, 0.75f}, // back
        {0.25f, 0.0f, 0.5f, 0.75f},   //
        {-0.25f, 0.5f, 0.25f, 0.25f}, // 0.375 lies beyond an end of 0.25
        {-0.25f, 2.0f, 0.0f, 0.25f},  // 0 does not
        {2.0f, 0.5f, 1.5f, 2.5f},     // more than the whole
        {2.0f, 1000.0f, 2.5f, 2.5f},  //
    };

    for (const auto& [fWeight, fFraction, fProgress, fEnd] : aCases)
    {
        CVQLoadGuard oGuard;
        oGuard.LoadComponentCompleted(0.5f, nullptr);
        oGuard.BeginLoadComponent(fWeight, nullptr);
        oGuard.LoadComponentCompleted(fFraction, nullptr);
        EXPECT_EQ(oGuard.GetProgress(), fProgress) << fWeight << ' ' << fFraction;
        oGuard.EndLoadComponent();
        EXPECT_EQ(oGuard.GetProgress(), fEnd) << fWeight << ' ' << fFraction;
    }
}

TEST(VQLoadGuard, TellsGuardsThatWatchEachOtherOnce)
{
    Calls oCalls;
    CVQLoadGuard oA;
    CVQLoadGuard oB;
    CVQLoadGuard oC;
    CWatch oWatchOfA("A ", &oCalls);
    CWatch oWatchOfC("C ", &oCalls);
    oA.RegisterWatch(&oB);
    oB.RegisterWatch(&oC);
    oC.RegisterWatch(&oB);
    oC.RegisterWatch(&oA);
    oA.RegisterWatch(&oWatchOfA);
    oC.RegisterWatch(&oWatchOfC);

    oA.BeginLoading();
    EXPECT_EQ(oCalls, (Calls{"C begin", "A begin"}));
    oC.LoadComponentCompleted(0.5f, "c");
    EXPECT_EQ(oCalls, (Calls{"C begin", "A begin", "A progress", "C progress"}));
    oB.EndLoading();
    EXPECT_EQ(oCalls, (Calls{"C begin", "A begin", "A progress", "C progress", "A end", "C end"}));
}

TEST(VQLoadGuard, TellsItselfNothingWhenItGetsItsOwnWatcherByAssignment)
{
    CVQLoadGuard oGuard;
    CVQLoadGuard oSource;
    CWatch oWatch;
    oSource.RegisterWatch(&oGuard);
    oSource.RegisterWatch(&oWatch);
    oGuard = oSource; // watches itself now
    oGuard.BeginLoading();
    oGuard.LoadComponentCompleted(0.5f, "a");
    oGuard.EndLoading();
    EXPECT_EQ(oWatch.m_oCalls, (Calls{"begin", "progress", "end"}));
}

TEST(VQLoadGuard, PassesOnWhatAWatchLetsAnotherGuardReportMeanwhile)
{
    CVQLoadGuard oSource;
    CVQLoadGuard oGuard;
    CWatch oWatch;
    oSource.RegisterWatch(&oGuard);
    oGuard.RegisterWatch(&oWatch);
    oWatch.m_Then = [&] { oSource.LoadComponentCompleted(0.5f, nullptr); }; // no circle: the watch wants it
    oSource.BeginLoading();
    EXPECT_EQ(oWatch.m_oCalls, (Calls{"begin", "progress"}));
}

TEST(VQLoadGuard, GoesOnAfterAWatchThatThrows)
{
    CVQLoadGuard oSource;
    CVQLoadGuard oGuard;
    CWatch oWatch;
    oSource.RegisterWatch(&oGuard);
    oGuard.RegisterWatch(&oWatch);
    oWatch.m_Then = [] { throw std::runtime_error("no screen"); };
    EXPECT_THROW(oSource.BeginLoading(), std::runtime_error);
    oSource.BeginLoading();
    oGuard.BeginLoading();
    EXPECT_EQ(oWatch.m_oCalls, (Calls{"begin", "begin", "begin"}));
}

TEST(VQLoadGuard, TakesANameFromItsOwnReport)
{
    sLoading oLoading;
    auto& oGuard = oLoading.oGuard;
    oGuard.BeginLoadComponent(0.5f, "a long name, of which another watch takes the end");

    class CRenamer : public IVQLoadGuardWatch
    {
    public:
        explicit CRenamer(CVQLoadGuard& oGuard) : m_oGuard(oGuard) {}

        void OnBeginLoading() override {}

        void OnLoadProgress(float, const char* pName) override
        {
            if (std::exchange(m_bDone, true))
                return;
            m_oGuard.LoadComponentCompleted(0.0f, pName + 2);
        }

        void OnEndLoading() override {}

    private:
        CVQLoadGuard& m_oGuard;
        bool m_bDone = false;
    };

    CRenamer oRenamer(oGuard);
    oGuard.RegisterWatch(&oRenamer);
    oGuard.LoadComponentCompleted(0.5f, nullptr);
    oGuard.EndLoadComponent();
    const std::string sName = "a long name, of which another watch takes the end";
    ExpectReports(oLoading.oWatch, {{0.25f, sName}, {0.25f, sName.substr(2)}, {0.5f, sName.substr(2)}});
}

TEST(VQLoadGuard, PassesNamesOnAsTheyAre)
{
    sLoading oLoading;
    const std::string sLong(5000, '%');
    oLoading.oGuard.LoadComponentCompleted(0.0f, "100 %s%n");
    oLoading.oGuard.LoadComponentCompleted(0.0f, sLong.c_str());
    ExpectReports(oLoading.oWatch, {{0.0f, "100 %s%n"}, {0.0f, sLong}});
}
