#pragma once

#include <Common/DebugStatistics/VQDebugStatisticsControl.h>
#include <Common/Export.h>

class CVQDebugStatisticsPage;

/// A line between the controls of a page: "-- label --", or dashes alone. VQDebugSeparator() puts one on a page.
class COMMON_API CVQDebugStatisticsSeparator : public CVQDebugStatisticsControl
{
public:
    /// Makes a separator without a label, which is not yet its parent's child.
    explicit CVQDebugStatisticsSeparator(CVQDebugStatisticsControl* pParent);

    CVQDebugStatisticsSeparator(const CVQDebugStatisticsSeparator&) = default;
    CVQDebugStatisticsSeparator& operator=(const CVQDebugStatisticsSeparator&) = default;
    ~CVQDebugStatisticsSeparator() override;

    /// Writes "-- %s --\n" with the label, or "--------\n" without one.
    int Print(char*& pBuffer, int& nRemaining) override;

    /// False.
    bool CanEdit() const override;
};

/// Puts a separator on a page, once for each slot: what draws a page anew may call it every time.
///
/// Nothing happens when the slot is occupied. Else a new separator becomes the page's child and occupies the slot. It
/// belongs to the caller, who keeps it as long as the page and finds it with CVQDebugStatisticsPage::GetSlot(); neither
/// the page nor the library deletes it.
///
/// @param page    the page
/// @param nSlot   the slot; one that the page cannot have (see CVQDebugStatisticsPage::OccupySlot()) counts as free and
///                stays so
/// @param pLabel  null or "" for dashes alone
extern "C" COMMON_API void VQDebugSeparator(CVQDebugStatisticsPage& page, long nSlot, const char* pLabel);
