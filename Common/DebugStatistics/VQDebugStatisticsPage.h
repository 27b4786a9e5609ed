#pragma once

#include <Common/DebugStatistics/VQDebugStatisticsControl.h>
#include <Common/Export.h>

#include <vector>

/// A page of the debug console: a heading and one line or more for each child, the current one marked.
///
///     CVQDebugStatisticsPage oPage("World");              // the console has it from now on
///     CNumber oGravity(oPage, "Gravity", g_nGravity);     // see CVQDebugStatisticsControl
///     ...
///     CVQDebugStatistics::RemoveControl(&oPage);          // before it is destroyed
///
/// prints, when it is the console's current page:
///
///     World:
///
///     > Gravity: 10
///
/// A page also has numbered slots, for what finds its control again by a number; the library fills them only in
/// VQDebugSeparator(). The controls in them are not owned. A copy shares the children and is not known to the console.
///
/// Pages may be children of pages, 1,000 inside each other; below that nothing is printed and no text passed on, so a
/// page that is its own child does no harm.
class COMMON_API CVQDebugStatisticsPage : public CVQDebugStatisticsControl
{
public:
    /// Makes a page without a parent and adds it to the console; take it out with CVQDebugStatistics::RemoveControl()
    /// before it is destroyed.
    ///
    /// @param pLabel  its heading; null for none
    explicit CVQDebugStatisticsPage(const char* pLabel);

    CVQDebugStatisticsPage(const CVQDebugStatisticsPage&) = default;
    CVQDebugStatisticsPage& operator=(const CVQDebugStatisticsPage&) = default;

    /// Does not take the page out of the console.
    ~CVQDebugStatisticsPage() override;

    /// Passes the text on to the current child, if there is one.
    void SetValueFromString(const CVQString& oText) override;

    /// Writes "%s:\n\n" with the label, then for each child that is not null "> " or, when it is not the current one,
    /// two blanks, and what the child prints. A child may add and remove children meanwhile, itself too; the one that
    /// moves up into the place of a child that left is printed the next time.
    ///
    /// @return bytes written, those of the children included; 0 at once when there is no room or no buffer
    int Print(char*& pBuffer, int& nRemaining) override;

    /// Puts a control into a slot, in place of the one that is there.
    ///
    /// @param nSlot     0 to 1,048,575; for others nothing happens
    /// @param pControl  null makes the slot free
    virtual void OccupySlot(long nSlot, CVQDebugStatisticsControl* pControl);

    /// The control in a slot; null for a free one and for a slot that the page does not have.
    virtual CVQDebugStatisticsControl* GetSlot(long nSlot) const;

    /// Whether there is no control in a slot; true also for a slot that the page does not have, a negative one too.
    virtual bool IsSlotFree(long nSlot) const;

private:
    std::vector<CVQDebugStatisticsControl*> m_oSlots; // null for a free one
};
