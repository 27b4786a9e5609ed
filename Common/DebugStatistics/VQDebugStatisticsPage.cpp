#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsPage.h>

#include <cstddef>

namespace
{
constexpr long SLOTS = 0x100000; // a wrong number costs megabytes at worst
constexpr int NESTED_PAGES = 1000;

/// Counts the pages that are at work inside each other. A page that is among its own children would have no end.
class CNesting
{
public:
    CNesting() { ++s_nPages; }

    ~CNesting() { --s_nPages; }

    CNesting(const CNesting&) = delete;
    CNesting& operator=(const CNesting&) = delete;

    static bool IsTooDeep() { return s_nPages > NESTED_PAGES; }

private:
    static inline constinit thread_local int s_nPages = 0;
};
} // namespace

CVQDebugStatisticsPage::CVQDebugStatisticsPage(const char* pLabel) : CVQDebugStatisticsControl(pLabel, nullptr)
{
    CVQDebugStatistics::AddControl(this);
}

CVQDebugStatisticsPage::~CVQDebugStatisticsPage() = default;

void CVQDebugStatisticsPage::SetValueFromString(const CVQString& oText)
{
    const CNesting oNesting;
    if (CNesting::IsTooDeep())
        return;

    if (auto* pCurrent = GetCurrentControl())
        pCurrent->SetValueFromString(oText);
}

int CVQDebugStatisticsPage::Print(char*& pBuffer, int& nRemaining)
{
    const CNesting oNesting;
    if (nRemaining <= 0 || pBuffer == nullptr || CNesting::IsTooDeep())
        return 0;

    int nWritten = CopyText(GetLabel(), pBuffer, nRemaining);
    nWritten += CopyText(":\n\n", pBuffer, nRemaining);

    for (std::size_t i = 0; i < m_oChildren.size(); ++i) // not by iterator: a child may add or remove children
    {
        auto* pChild = m_oChildren[i];
        if (pChild == nullptr)
            continue;

        const bool bCurrent = static_cast<std::int32_t>(i) == m_lCurrentChild;
        nWritten += CopyText(bCurrent ? "> " : "  ", pBuffer, nRemaining);
        nWritten += pChild->Print(pBuffer, nRemaining);
    }
    return nWritten;
}

void CVQDebugStatisticsPage::OccupySlot(long nSlot, CVQDebugStatisticsControl* pControl)
{
    if (nSlot < 0 || nSlot >= SLOTS)
        return;

    const auto nIndex = static_cast<std::size_t>(nSlot);
    if (nIndex >= m_oSlots.size())
        m_oSlots.resize(nIndex + 1);
    m_oSlots[nIndex] = pControl;
}

CVQDebugStatisticsControl* CVQDebugStatisticsPage::GetSlot(long nSlot) const
{
    return nSlot >= 0 && static_cast<std::size_t>(nSlot) < m_oSlots.size() ? m_oSlots[static_cast<std::size_t>(nSlot)]
                                                                           : nullptr;
}

bool CVQDebugStatisticsPage::IsSlotFree(long nSlot) const
{
    return GetSlot(nSlot) == nullptr;
}
