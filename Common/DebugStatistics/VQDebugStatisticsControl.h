#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <vector>

/// A labelled item of the debug console: the base of all that a game shows there.
///
/// A game derives from it, prints a value of its own in Print() and changes it in SetValueFromString():
///
///     class CNumber : public CVQDebugStatisticsControl
///     {
///     public:
///         CNumber(CVQDebugStatisticsPage& oPage, const char* pLabel, int& nValue)
///             : CVQDebugStatisticsControl(pLabel, &oPage), m_nValue(nValue)
///         {
///             oPage.AddChild(this);
///         }
///
///         int Print(char*& pBuffer, int& nRemaining) override
///         {
///             return CopyText(CVQString(sctFormat, "%s: %d\n", GetLabel(), m_nValue), pBuffer, nRemaining);
///         }
///
///         void SetValueFromString(const CVQString& oText) override { m_nValue = oText.ToInt(10); }
///         bool CanEdit() const override { return true; }
///
///     private:
///         int& m_nValue;
///     };
///
/// Controls form a tree. A control neither adds itself to its parent nor owns its children: who makes a control keeps
/// it as long as it is somebody's child. A copy has the same parent and the same children, which are shared, not
/// copied.
///
/// All belongs to one thread, the one that draws.
class COMMON_API CVQDebugStatisticsControl
{
public:
    /// Makes a control without children, which is not yet its parent's child: see AddChild().
    ///
    /// @param pLabel   its label; null for none
    /// @param pParent  what GetParent() is going to return; may be null
    CVQDebugStatisticsControl(const char* pLabel, CVQDebugStatisticsControl* pParent);

    /// Shares the children with the other.
    CVQDebugStatisticsControl(const CVQDebugStatisticsControl&) = default;
    CVQDebugStatisticsControl& operator=(const CVQDebugStatisticsControl&) = default;

    /// Leaves the children alone, and the parent, which has to be told before: see RemoveChild().
    virtual ~CVQDebugStatisticsControl();

    /// The label, "" when there is none; never null.
    virtual const char* GetLabel() const;

    /// Replaces the label; null empties it.
    virtual void SetLabel(const char* pLabel);

    /// Whether the label is this text, byte by byte; null counts as "".
    virtual bool HasLabel(const char* pLabel);

    /// Takes what was typed on the command line while this control was current. Here it does nothing.
    virtual void SetValueFromString(const CVQString& oText);

    /// Writes the lines of this control, each with its '\n', without a terminator, and cuts what finds no room. Here it
    /// writes nothing.
    ///
    /// @param pBuffer     where to write; moves behind what was written
    /// @param nRemaining  room in bytes; drops by what was written
    /// @return            bytes written; here 0
    virtual int Print(char*& pBuffer, int& nRemaining);

    /// Appends a child. It becomes the current one when there is none, so the first child is.
    ///
    /// @param pChild  not owned; null is kept in the list, and passed over by everything
    virtual void AddChild(CVQDebugStatisticsControl* pChild);

    /// Takes the first occurrence of a child out of the list; nothing when it is not there.
    ///
    /// When it is the current one, the index of the current child drops by one: to that of the child before, to none
    /// when it was the first. Else the index stays, even when the current child has moved up: it then means the next
    /// one. Kept: callers rely on it.
    virtual void RemoveChild(CVQDebugStatisticsControl* pChild);

    /// The current child; null when there is none.
    virtual CVQDebugStatisticsControl* GetCurrentControl();

    /// What the constructor was given.
    virtual CVQDebugStatisticsControl* GetParent() const;

    /// Makes the next child the current one, after the last the first.
    virtual void FocusNextChild();

    /// Makes the child before the current one, before the first the last.
    virtual void FocusPreviousChild();

    /// Tells the game whether SetValueFromString() means something here; here false. The library does not ask.
    virtual bool CanEdit() const;

protected:
    /// Does what Print() has to do with a text: copies what finds room, and moves on.
    ///
    /// @param pText  null counts as ""
    /// @return       bytes copied; 0 when there is no room or no buffer
    static int CopyText(const char* pText, char*& pBuffer, int& nRemaining);

    CVQDebugStatisticsControl* m_pParent;                ///< not owned
    std::vector<CVQDebugStatisticsControl*> m_oChildren; ///< not owned; some may be null
    std::int32_t m_lCurrentChild;                        ///< index into the children, -1 for none
    CVQString m_oLabel;                                  ///< without a buffer until there is a label

    friend class CVQDebugStatistics;
};
