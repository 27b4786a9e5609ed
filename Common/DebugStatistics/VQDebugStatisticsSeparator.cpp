#include <Common/DebugStatistics/VQDebugStatisticsPage.h>
#include <Common/DebugStatistics/VQDebugStatisticsSeparator.h>

#include <memory>

CVQDebugStatisticsSeparator::CVQDebugStatisticsSeparator(CVQDebugStatisticsControl* pParent)
    : CVQDebugStatisticsControl(nullptr, pParent)
{
}

CVQDebugStatisticsSeparator::~CVQDebugStatisticsSeparator() = default;

int CVQDebugStatisticsSeparator::Print(char*& pBuffer, int& nRemaining)
{
    if (m_oLabel.IsEmpty())
        return CopyText("--------\n", pBuffer, nRemaining);

    int nWritten = CopyText("-- ", pBuffer, nRemaining);
    nWritten += CopyText(m_oLabel, pBuffer, nRemaining);
    return nWritten + CopyText(" --\n", pBuffer, nRemaining);
}

bool CVQDebugStatisticsSeparator::CanEdit() const
{
    return false;
}

void VQDebugSeparator(CVQDebugStatisticsPage& page, long nSlot, const char* pLabel)
{
    if (!page.IsSlotFree(nSlot))
        return;

    auto pSeparator = std::make_unique<CVQDebugStatisticsSeparator>(&page);
    pSeparator->SetLabel(pLabel);
    page.AddChild(pSeparator.get());
    page.OccupySlot(nSlot, pSeparator.release()); // the page has it now, whatever becomes of the slot
}
