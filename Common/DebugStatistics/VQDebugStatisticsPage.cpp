#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsPage.h>

#include <cstddef>

namespace
{
constexpr long SLOTS = 0x100000; // a wrong number costs megabytes at worst
} // namespace

CVQDebugStatisticsPage::CVQDebugStatisticsPage(const char* pLabel) : CVQDebugStatisticsControl(pLabel, nullptr)
{
    CVQDebugStatistics::AddControl(this);
}

CVQDebugStatisticsPage::~CVQDebugStatisticsPage() = default;

void CVQDebugStatisticsPage::SetValueFromString(const CVQString& oText)
{
    if (auto* pCurrent = GetCurrentControl())
        pCurrent->SetValueFromString(oText);
}

int CVQDebugStatisticsPage::Print(char*& pBuffer, int& nRemaining)
{
    if (nRemaining <= 0)
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
