// From the records of a session to the regions: pairing, totals, percentages.

#include <Common/Profile/ProfileRecords.h>
#include <Common/Profile/VQProfiler.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

using ProfileRecords::CPairing;
using ProfileRecords::CutName;

namespace
{
constexpr const char* MAIN_LOOP = "MainLoop";
constexpr double PERCENT = 100.0;

// Finds the entry of a name: by the name's address first, since nearly every call of a region comes with the same one;
// then by its text.
class CEntryIndex
{
public:
    explicit CEntryIndex(CSTLList<sVQProfileAnalysedSample>& oEntries) : m_oEntries(oEntries), m_aSlots(FIRST_SIZE)
    {
        for (std::size_t i = 0; i < oEntries.size(); ++i)
            m_oByText.emplace(oEntries[i].m_aName, i);
    }

    // The entry of a name, which is appended when it is new.
    sVQProfileAnalysedSample& Find(const char* pName)
    {
        sSlot& oSlot = FindSlot(pName);
        if (oSlot.pName == nullptr)
        {
            oSlot = {pName, FindText(pName)};
            const std::size_t nEntry = oSlot.nEntry;
            if (++m_nUsed * 2 > m_aSlots.size())
                Grow();
            return m_oEntries[nEntry];
        }
        return m_oEntries[oSlot.nEntry];
    }

private:
    static constexpr std::size_t FIRST_SIZE = 1024; // a power of 2, as all sizes

    struct sSlot
    {
        const char* pName = nullptr;
        std::size_t nEntry = 0;
    };

    sSlot& FindSlot(const char* pName)
    {
        // Multiplied by 2 to the 64th over the golden ratio, neighbours go far apart; the upper bits are the best.
        constexpr std::uint64_t GOLDEN = 0x9E3779B97F4A7C15;
        const auto nHash = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pName)) * GOLDEN;
        const std::size_t nMask = m_aSlots.size() - 1;
        auto nSlot = static_cast<std::size_t>(nHash >> (64 - std::countr_zero(m_aSlots.size())));
        while (m_aSlots[nSlot].pName != nullptr && m_aSlots[nSlot].pName != pName)
            nSlot = (nSlot + 1) & nMask;
        return m_aSlots[nSlot];
    }

    std::size_t FindText(const char* pName)
    {
        const auto [itEntry, bNew] = m_oByText.emplace(CutName(pName), m_oEntries.size());
        if (bNew)
            m_oEntries.emplace_back(pName);
        return itEntry->second;
    }

    void Grow()
    {
        std::vector<sSlot> aOld(m_aSlots.size() * 2);
        aOld.swap(m_aSlots);
        for (const sSlot& oSlot : aOld)
        {
            if (oSlot.pName != nullptr)
                FindSlot(oSlot.pName) = oSlot;
        }
    }

    CSTLList<sVQProfileAnalysedSample>& m_oEntries;
    std::unordered_map<std::string, std::size_t> m_oByText;
    std::vector<sSlot> m_aSlots;
    std::size_t m_nUsed = 0;
};

// What lies between two records, less the cost of recording them; nothing when that is more.
std::int64_t CountCycles(const sVQProfileRawSample& oStart, const sVQProfileRawSample& oEnd, std::int32_t nOverhead)
{
    const auto nCycles =
        static_cast<std::int64_t>(oEnd.m_nCounter - oStart.m_nCounter - static_cast<std::uint64_t>(nOverhead));
    return std::max<std::int64_t>(nCycles, 0);
}

void AddCall(sVQProfileAnalysedSample& oEntry, std::int64_t nCycles)
{
    oEntry.m_nTotalCycles += nCycles;
    ++oEntry.m_nSamples;
}

int FindByName(const CSTLList<sVQProfileAnalysedSample>& oEntries, const char* pName)
{
    const auto itEntry = std::find_if(oEntries.begin(), oEntries.end(),
                                      [sName = CutName(pName)](const auto& oEntry) { return oEntry.m_aName == sName; });
    return itEntry != oEntries.end() ? static_cast<int>(itEntry - oEntries.begin()) : -1;
}
} // namespace

void CVQProfiler::ProcessSampleData()
{
    CollectSampleTimes(true);
    CalculateSampleDetails();
    std::stable_sort(m_oSamples.begin(), m_oSamples.end(),
                     [](const auto& oFirst, const auto& oSecond)
                     { return oFirst.m_fPercentage < oSecond.m_fPercentage; });
}

int CVQProfiler::GetSampleCount() const
{
    return static_cast<int>(m_oSamples.size());
}

const sVQProfileAnalysedSample& CVQProfiler::GetSample(int nIndex) const
{
    return m_oSamples[static_cast<std::size_t>(nIndex)];
}

int CVQProfiler::GetSampleIndexByName(CVQString oName) const
{
    return FindByName(m_oSamples, oName.GetString());
}

void CVQProfiler::GetSingleSampleTimes(CVQString oName, CSTLList<float>& oTimes)
{
    const std::string_view sName = CutName(oName.GetString());
    CPairing oPairing;
    for (sVQProfileRawSample& oRecord : ProfileRecords::GetAll())
    {
        oPairing.Add(oRecord,
                     [&](const sVQProfileRawSample& oStart, const sVQProfileRawSample& oEnd)
                     {
                         if (CutName(oStart.m_pName) != sName)
                             return;
                         qWord nCycles = oEnd.m_nCounter - oStart.m_nCounter;
                         oTimes.push_back(static_cast<float>(CyclesToMs(nCycles)));
                     });
    }
}

void CVQProfiler::CollectSampleTimes(bool bFromMainLoop)
{
    m_bCollecting = !bFromMainLoop || !RawSampleDataHasMainloopSamples();

    CEntryIndex oIndex(m_oSamples);
    CPairing oPairing;
    for (sVQProfileRawSample& oRecord : ProfileRecords::GetAll())
    {
        m_bCollecting = m_bCollecting || IsMainLoopStartSample(&oRecord);
        if (!m_bCollecting)
            continue;

        oPairing.Add(oRecord, [&](const sVQProfileRawSample& oStart, const sVQProfileRawSample& oEnd)
                     { AddCall(oIndex.Find(oStart.m_pName), CountCycles(oStart, oEnd, m_nSampleOverhead)); });
    }
}

void CVQProfiler::AddRawSamplePair(sVQProfileRawSample& oStart, sVQProfileRawSample& oEnd)
{
    int nEntry = FindByName(m_oSamples, oStart.m_pName);
    if (nEntry == -1)
    {
        nEntry = GetSampleCount();
        m_oSamples.emplace_back(oStart.m_pName);
    }
    AddCall(m_oSamples[static_cast<std::size_t>(nEntry)], CountCycles(oStart, oEnd, m_nSampleOverhead));
}

bool CVQProfiler::RawSampleDataHasMainloopSamples()
{
    constexpr int NOT_SEEN = -1;
    int nDepth = NOT_SEEN;
    for (sVQProfileRawSample& oRecord : ProfileRecords::GetAll())
    {
        if (IsEndSample(&oRecord))
        {
            if (nDepth == 0)
                return true;
            if (nDepth != NOT_SEEN)
                --nDepth;
        }
        else if (IsMainLoopStartSample(&oRecord))
            nDepth = 0;
        else if (nDepth != NOT_SEEN)
            ++nDepth;
    }
    return false;
}

void CVQProfiler::CalculateSampleDetails()
{
    const int nMainLoop = FindByName(m_oSamples, MAIN_LOOP);
    const sVQProfileAnalysedSample oMainLoop =
        nMainLoop != -1 ? GetSample(nMainLoop) : sVQProfileAnalysedSample(MAIN_LOOP);

    for (sVQProfileAnalysedSample& oEntry : m_oSamples)
    {
        auto nCycles = static_cast<qWord>(oEntry.m_nTotalCycles);
        oEntry.m_dTotalTime = CyclesToMs(nCycles);
        oEntry.m_dAverageTime = oEntry.m_dTotalTime / oEntry.m_nSamples;
        if (nMainLoop == -1)
            oEntry.m_fPercentage = 0.0F;
        else if (oMainLoop.m_nSamples != 0 && oMainLoop.m_nTotalCycles > 0)
            oEntry.m_fPercentage = static_cast<float>(static_cast<double>(oEntry.m_nTotalCycles) /
                                                      static_cast<double>(oMainLoop.m_nTotalCycles) * PERCENT);
    }
}
