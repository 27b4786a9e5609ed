#include <Common/DebugStatistics/ControlList.h>
#include <Common/DebugStatistics/VQDebugStatisticsControl.h>

#include <algorithm>
#include <cstring>

CVQDebugStatisticsControl::CVQDebugStatisticsControl(const char* pLabel, CVQDebugStatisticsControl* pParent)
    : m_pParent(pParent), m_lCurrentChild(ControlList::NONE)
{
    if (pLabel != nullptr)
        m_oLabel = pLabel;
}

CVQDebugStatisticsControl::~CVQDebugStatisticsControl() = default;

const char* CVQDebugStatisticsControl::GetLabel() const
{
    return m_oLabel.GetString() != nullptr ? m_oLabel.GetString() : "";
}

void CVQDebugStatisticsControl::SetLabel(const char* pLabel)
{
    m_oLabel = pLabel;
}

bool CVQDebugStatisticsControl::HasLabel(const char* pLabel)
{
    return m_oLabel == pLabel;
}

void CVQDebugStatisticsControl::SetValueFromString(const CVQString& /*oText*/) {}

int CVQDebugStatisticsControl::Print(char*& /*pBuffer*/, int& /*nRemaining*/)
{
    return 0;
}

void CVQDebugStatisticsControl::AddChild(CVQDebugStatisticsControl* pChild)
{
    ControlList::Add(m_oChildren, m_lCurrentChild, pChild);
}

void CVQDebugStatisticsControl::RemoveChild(CVQDebugStatisticsControl* pChild)
{
    ControlList::Remove(m_oChildren, m_lCurrentChild, pChild);
}

CVQDebugStatisticsControl* CVQDebugStatisticsControl::GetCurrentControl()
{
    return ControlList::Current(m_oChildren, m_lCurrentChild);
}

CVQDebugStatisticsControl* CVQDebugStatisticsControl::GetParent() const
{
    return m_pParent;
}

void CVQDebugStatisticsControl::FocusNextChild()
{
    m_lCurrentChild = ControlList::Next(m_oChildren, m_lCurrentChild);
}

void CVQDebugStatisticsControl::FocusPreviousChild()
{
    m_lCurrentChild = ControlList::Previous(m_oChildren, m_lCurrentChild);
}

bool CVQDebugStatisticsControl::CanEdit() const
{
    return false;
}

int CVQDebugStatisticsControl::CopyText(const char* pText, char*& pBuffer, int& nRemaining)
{
    if (pText == nullptr || pBuffer == nullptr || nRemaining <= 0)
        return 0;

    const auto nCount = std::min(std::strlen(pText), static_cast<std::size_t>(nRemaining));
    std::memcpy(pBuffer, pText, nCount);
    pBuffer += nCount;
    nRemaining -= static_cast<int>(nCount);
    return static_cast<int>(nCount);
}
