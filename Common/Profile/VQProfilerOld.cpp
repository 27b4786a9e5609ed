#include <Common/Profile/VQProfilerOld.h>

#include <Common/Platform/PlatformString.h>
#include <Common/Platform/System/SystemTime.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace
{
constexpr std::size_t NAME_SIZE = 256;
constexpr double SECONDS_PER_MILLISECOND = 0.001;
constexpr float PERCENT = 100.0F;

// How much of the difference to the present share is made up for in a second.
constexpr float SMOOTHING = 0.8F;

constinit CVQProfilerOld* g_pProfiler = nullptr;

static_assert(sizeof(void*) != 4 || sizeof(CVQProfilerOld) == 24);

// A name as it is stored and compared, without a copy where it is short enough.
class CCutName
{
public:
    explicit CCutName(const char* pName) : m_pName(pName != nullptr ? pName : "")
    {
        if (std::memchr(m_pName, '\0', NAME_SIZE) != nullptr)
            return;

        std::memcpy(m_aCopy, m_pName, NAME_SIZE - 1);
        m_aCopy[NAME_SIZE - 1] = '\0';
        m_pName = m_aCopy;
    }

    CCutName(const CCutName&) = delete;
    CCutName& operator=(const CCutName&) = delete;

    const char* Get() const { return m_pName; }

private:
    const char* m_pName;
    char m_aCopy[NAME_SIZE];
};

float Smooth(float fOld, float fNew, float fFactor)
{
    return (1.0F - fFactor) * fOld + fFactor * fNew;
}
} // namespace

CVQProfilerOld::CVQProfilerOld(int nSamples) : m_nCount(std::max(nSamples, 0)), m_fFrameStart(0.0F), m_fFrameEnd(0.0F)
{
    m_pSamples = std::make_unique<sSample[]>(static_cast<std::size_t>(m_nCount));
    m_pHistory = std::make_unique<sHistory[]>(static_cast<std::size_t>(m_nCount));
    g_pProfiler = this;
}

CVQProfilerOld::~CVQProfilerOld()
{
    g_pProfiler = nullptr;
}

void CVQProfilerOld::Begin()
{
    for (sSample& oSample : UsedSamples())
        oSample.m_bValid = false;
    m_fFrameStart = GetExactTime();
    m_fFrameEnd = 0.0F;
}

void CVQProfilerOld::End()
{
    m_fFrameEnd = GetExactTime();
}

void CVQProfilerOld::SampleBegin(const char* pName)
{
    const CCutName oName(pName);
    const std::span<sSample> oUsed = UsedSamples();
    for (sSample& oSample : oUsed)
    {
        if (STR_stricmp(oSample.m_aName, oName.Get()) != 0)
            continue;

        ++oSample.m_nOpen;
        ++oSample.m_nInstances;
        oSample.m_fStart = GetExactTime();
        return;
    }
    if (oUsed.size() == static_cast<std::size_t>(m_nCount))
        return;

    sSample& oSample = m_pSamples[oUsed.size()];
    oSample.m_bValid = true;
    STR_strcpy(oSample.m_aName, oName.Get());
    oSample.m_nOpen = 1;
    oSample.m_nInstances = 1;
    oSample.m_fAccumulated = 0.0F;
    oSample.m_fChildren = 0.0F;
    oSample.m_nParents = 0;
    oSample.m_fStart = GetExactTime();
}

void CVQProfilerOld::SampleEnd(const char* pName)
{
    const float fNow = GetExactTime();
    const CCutName oName(pName);
    const std::span<sSample> oUsed = UsedSamples();
    const auto itSample =
        std::find_if(oUsed.begin(), oUsed.end(),
                     [&oName](const sSample& oSample) { return std::strcmp(oSample.m_aName, oName.Get()) == 0; });
    if (itSample == oUsed.end())
        return;
    --itSample->m_nOpen;

    // The innermost of those that are open began last.
    std::int32_t nParents = 0;
    sSample* pParent = nullptr;
    for (sSample& oOther : oUsed)
    {
        if (oOther.m_nOpen <= 0)
            continue;
        ++nParents;
        if (pParent == nullptr || oOther.m_fStart >= pParent->m_fStart)
            pParent = &oOther;
    }

    const float fLength = fNow - itSample->m_fStart;
    itSample->m_nParents = nParents;
    if (pParent != nullptr)
        pParent->m_fChildren += fLength;
    itSample->m_fAccumulated += fLength;
}

bool CVQProfilerOld::GetSampleData(int nIndex, CVQProfileData& oData)
{
    if (!IsIndex(nIndex) || !Sample(nIndex).m_bValid || Sample(nIndex).m_nOpen > 0)
        return false;

    const sSample& oSample = Sample(nIndex);
    const float fOwn = oSample.m_fAccumulated - oSample.m_fChildren;
    const float fFrame = GetElapsedTime();
    UpdateHistoryData(nIndex, fFrame > 0.0F ? fOwn / fFrame * PERCENT : 0.0F);

    STR_strcpy(oData.m_aName, oSample.m_aName);
    oData.m_fAbsolute = oSample.m_fAccumulated;
    GetHistoryData(nIndex, oData.m_fAverage, oData.m_fMinimum, oData.m_fMaximum);
    oData.m_nInstances = oSample.m_nInstances;
    oData.m_nParents = oSample.m_nParents;
    return true;
}

int CVQProfilerOld::GetNumSamples() const
{
    return m_nCount;
}

// Records are taken from the first on.
std::span<CVQProfilerOld::sSample> CVQProfilerOld::UsedSamples()
{
    std::size_t nUsed = 0;
    while (nUsed < static_cast<std::size_t>(m_nCount) && m_pSamples[nUsed].m_bValid)
        ++nUsed;
    return {m_pSamples.get(), nUsed};
}

float CVQProfilerOld::GetElapsedTime() const
{
    return m_fFrameEnd - m_fFrameStart;
}

float CVQProfilerOld::GetExactTime() const
{
    return static_cast<float>(System::ReadMediaClock() * SECONDS_PER_MILLISECOND);
}

void CVQProfilerOld::UpdateHistoryData(int nIndex, float fPercent)
{
    if (!IsIndex(nIndex))
        return;

    sHistory& oHistory = History(nIndex);
    if (!oHistory.m_bValid)
    {
        oHistory.m_bValid = true;
        STR_strcpy(oHistory.m_aName, Sample(nIndex).m_aName);
        oHistory.m_fAverage = fPercent;
        oHistory.m_fMinimum = fPercent;
        oHistory.m_fMaximum = fPercent;
        return;
    }

    // A frame that was not ended, or during which the clock began anew, changes nothing but new extremes.
    const float fFactor = std::clamp(GetElapsedTime() * SMOOTHING, 0.0F, 1.0F);
    oHistory.m_fAverage = Smooth(oHistory.m_fAverage, fPercent, fFactor);
    oHistory.m_fMinimum = fPercent >= oHistory.m_fMinimum ? Smooth(oHistory.m_fMinimum, fPercent, fFactor) : fPercent;
    oHistory.m_fMinimum = std::max(oHistory.m_fMinimum, 0.0F);
    oHistory.m_fMaximum = fPercent <= oHistory.m_fMaximum ? Smooth(oHistory.m_fMaximum, fPercent, fFactor) : fPercent;
}

void CVQProfilerOld::GetHistoryData(int nIndex, float& fAverage, float& fMinimum, float& fMaximum)
{
    if (!IsIndex(nIndex))
        return;

    const sHistory& oHistory = History(nIndex);
    fAverage = oHistory.m_bValid ? oHistory.m_fAverage : 0.0F;
    fMinimum = oHistory.m_bValid ? oHistory.m_fMinimum : 0.0F;
    fMaximum = oHistory.m_bValid ? oHistory.m_fMaximum : 0.0F;
}

CVQProfilerOld* VQGetProfilerOld()
{
    return g_pProfiler;
}
