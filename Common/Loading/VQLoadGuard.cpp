#include <Common/Loading/VQLoadGuard.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace
{
/// The localised text of a number, of which the low 16 bits count.
CVQString LocalisedText(long nId)
{
    return {reinterpret_cast<const char*>(static_cast<std::uintptr_t>(static_cast<std::uint16_t>(nId)))};
}

/// Its text; null when nothing was loaded, even if the attempt left a buffer.
const char* TextIfLoaded(const CVQString& oText)
{
    return oText.HasStringId() ? oText.GetString() : nullptr;
}

const char* TextOf(const CVQString& oName)
{
    return oName.GetString() != nullptr ? oName.GetString() : "";
}

/// Zero where that is not a number, so that nonsense from one caller does not stay in the progress.
float ShareOf(float fWhole, float fShare)
{
    const float fProduct = fShare * fWhole;
    return std::isnan(fProduct) ? 0.0f : fProduct;
}

/// A guard at work on its watches. Those of a thread form a chain.
struct sTelling
{
    const IVQLoadGuardWatch* pGuard;
    const IVQLoadGuardWatch* pTold; ///< the watch that is being told
    const sTelling* pOuter;
};

constinit thread_local const sTelling* t_pInnermost = nullptr;

/// Whether it is this guard's own news that other guards, each told by the one before, bring back to it.
bool HasComeAround(const IVQLoadGuardWatch* pGuard)
{
    const auto* pTold = pGuard;
    for (const auto* pTelling = t_pInnermost; pTelling != nullptr && pTelling->pTold == pTold;
         pTelling = pTelling->pOuter)
    {
        pTold = pTelling->pGuard;
        if (pTold == pGuard)
            return true;
    }
    return false;
}

/// Keeps its link in the chain as long as it lives, so that a watch may throw.
class CTelling
{
public:
    explicit CTelling(const IVQLoadGuardWatch* pGuard) : m_oLink{pGuard, nullptr, t_pInnermost}
    {
        t_pInnermost = &m_oLink;
    }

    ~CTelling() { t_pInnermost = m_oLink.pOuter; }

    CTelling(const CTelling&) = delete;
    CTelling& operator=(const CTelling&) = delete;

    void SetTold(const IVQLoadGuardWatch* pWatch) { m_oLink.pTold = pWatch; }

private:
    sTelling m_oLink;
};
} // namespace

CVQLoadGuard CVQLoadGuard::s_oInstance;

CVQLoadGuard::CVQLoadGuard()
{
    Reset();
}

CVQLoadGuard::~CVQLoadGuard() = default;

CVQLoadGuard* CVQLoadGuard::Instance()
{
    return &s_oInstance;
}

void CVQLoadGuard::OnBeginLoading()
{
    TellWatches([](IVQLoadGuardWatch& oWatch) { oWatch.OnBeginLoading(); });
}

void CVQLoadGuard::OnLoadProgress(float fProgress, const char* /*pName*/)
{
    TellWatches([this, fProgress](IVQLoadGuardWatch& oWatch) { oWatch.OnLoadProgress(fProgress, TextOf(m_oName)); });
}

void CVQLoadGuard::OnEndLoading()
{
    TellWatches([](IVQLoadGuardWatch& oWatch) { oWatch.OnEndLoading(); });
}

void CVQLoadGuard::RegisterWatch(IVQLoadGuardWatch* pWatch)
{
    if (pWatch != nullptr && pWatch != this)
        m_oWatches.push_back(pWatch);
}

void CVQLoadGuard::UnregisterWatch(IVQLoadGuardWatch* pWatch)
{
    const auto pFound = std::find(m_oWatches.begin(), m_oWatches.end(), pWatch);
    if (pFound != m_oWatches.end())
        m_oWatches.erase(pFound);
}

void CVQLoadGuard::BeginLoading()
{
    Reset();
    OnBeginLoading();
}

void CVQLoadGuard::BeginLoadComponent(float fWeight, long nName)
{
    BeginLoadComponent(fWeight, TextIfLoaded(LocalisedText(nName)));
}

void CVQLoadGuard::BeginLoadComponent(float fWeight, const char* pName)
{
    if (pName != nullptr)
        m_oName = pName;

    Push(m_fScale, m_fEnd);
    m_fScale = ShareOf(m_fScale, fWeight);
    ++m_nDepth;
    m_fEnd = m_fProgress + m_fScale;
}

void CVQLoadGuard::LoadComponentCompleted(float fFraction, long nName)
{
    LoadComponentCompleted(fFraction, TextIfLoaded(LocalisedText(nName)));
}

void CVQLoadGuard::LoadComponentCompleted(float fFraction, const char* pName)
{
    if (pName != nullptr)
        m_oName = pName;

    m_fProgress += ShareOf(m_fScale, fFraction);
    if (m_fProgress >= m_fEnd)
        m_fProgress = m_fEnd;
    OnLoadProgress(m_fProgress, TextOf(m_oName));
}

void CVQLoadGuard::EndLoadComponent()
{
    m_fProgress = m_fEnd;
    --m_nDepth;
    OnLoadProgress(m_fProgress, TextOf(m_oName));
    Pop(m_fScale, m_fEnd);
}

void CVQLoadGuard::EndLoading()
{
    OnEndLoading();
}

float CVQLoadGuard::GetProgress() const
{
    return m_fProgress;
}

bool CVQLoadGuard::HasWatches() const
{
    return !m_oWatches.empty();
}

/// Leaves the ranges alone. Kept: callers rely on it.
void CVQLoadGuard::Reset()
{
    m_fProgress = 0.0f;
    m_fScale = 1.0f;
    m_fEnd = 1.0f;
    m_nDepth = 0;
}

void CVQLoadGuard::Push(float fScale, float fEnd)
{
    m_oRanges.emplace_back(fScale, fEnd);
}

/// Changes nothing when there is no component.
void CVQLoadGuard::Pop(float& fScale, float& fEnd)
{
    if (m_oRanges.empty())
        return;

    std::tie(fScale, fEnd) = m_oRanges.back();
    m_oRanges.pop_back();
}

template <class TTell>
void CVQLoadGuard::TellWatches(TTell Tell)
{
    if (!HasWatches() || HasComeAround(this))
        return;

    CTelling oTelling(this);
    const auto oWatches = m_oWatches; // a watch may register and unregister watches meanwhile
    for (auto* pWatch : oWatches)
    {
        if (std::find(m_oWatches.begin(), m_oWatches.end(), pWatch) == m_oWatches.end())
            continue;

        oTelling.SetTold(pWatch);
        Tell(*pWatch);
    }
}
