#include <Common/DebugStatistics/ControlList.h>
#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsControl.h>
#include <Common/DebugStatistics/VQDebugStatisticsInterpreter.h>

#include <algorithm>
#include <cstddef>

namespace
{
constexpr int FIRST_CHARACTER = 32;
constexpr long ENTRY_SIZE = 64; // bytes

void AppendCharacter(CVQString& oEntry, int nKey)
{
    if (oEntry.GetLength() < ENTRY_SIZE)
        oEntry += static_cast<char>(nKey);
}

void RemoveLastByte(CVQString& oEntry)
{
    if (!oEntry.IsEmpty())
        oEntry = oEntry.Left(static_cast<int>(oEntry.GetLength()) - 1);
}

/// A copy, so that who executes a command may change the command line; with a text that is never null.
CVQString CommandOf(const CVQString& oEntry)
{
    CVQString oCommand(oEntry);
    if (oCommand.GetString() == nullptr)
    {
        oCommand.GetBuffer(0);
        oCommand.ReleaseBuffer(0);
    }
    return oCommand;
}
} // namespace

std::vector<CVQDebugStatisticsControl*> CVQDebugStatistics::m_oControls;
std::int32_t CVQDebugStatistics::m_lCurrentControl = ControlList::NONE;
CVQString CVQDebugStatistics::m_oEntryBuffer;
IVQDebugStatisticsInterpreter* CVQDebugStatistics::m_pInterpreter = nullptr;
bool CVQDebugStatistics::m_bStatisticsVisible = true;
bool CVQDebugStatistics::m_bStatisticsEditable = true;

void CVQDebugStatistics::Initialize()
{
    m_oEntryBuffer.Empty();
}

void CVQDebugStatistics::AddControl(CVQDebugStatisticsControl* pControl)
{
    ControlList::Add(m_oControls, m_lCurrentControl, pControl);
}

void CVQDebugStatistics::RemoveControl(CVQDebugStatisticsControl* pControl)
{
    ControlList::Remove(m_oControls, m_lCurrentControl, pControl);
}

CVQDebugStatisticsControl* CVQDebugStatistics::FindControl(const char* pLabel)
{
    // not by iterator: a control may add or remove controls
    for (std::size_t i = 0; i < m_oControls.size(); ++i) // NOLINT(modernize-loop-convert)
    {
        auto* pControl = m_oControls[i];
        if (pControl != nullptr && pControl->HasLabel(pLabel))
            return pControl;
    }
    return nullptr;
}

CVQDebugStatisticsControl* CVQDebugStatistics::GetCurrentControl()
{
    return ControlList::Current(m_oControls, m_lCurrentControl);
}

bool CVQDebugStatistics::IsVisible()
{
    return m_bStatisticsVisible;
}

int CVQDebugStatistics::Print(char* pBuffer, int nSize)
{
    if (!m_bStatisticsVisible)
        return 0;

    int nRemaining = pBuffer != nullptr ? std::max(nSize, 0) : 0;
    int nWritten = CVQDebugStatisticsControl::CopyText("> ", pBuffer, nRemaining);
    nWritten += CVQDebugStatisticsControl::CopyText(m_oEntryBuffer, pBuffer, nRemaining);
    nWritten += CVQDebugStatisticsControl::CopyText("_\n\n", pBuffer, nRemaining);

    if (auto* pCurrent = GetCurrentControl())
        nWritten += pCurrent->Print(pBuffer, nRemaining);
    return nWritten;
}

void CVQDebugStatistics::ProcessInput(int nKey)
{
    auto* pCurrent = GetCurrentControl();
    switch (nKey)
    {
    case dskPreviousPage:
        m_lCurrentControl = ControlList::Previous(m_oControls, m_lCurrentControl);
        break;
    case dskNextPage:
        m_lCurrentControl = ControlList::Next(m_oControls, m_lCurrentControl);
        break;
    case dskPreviousControl:
        if (pCurrent != nullptr)
            pCurrent->FocusPreviousChild();
        break;
    case dskNextControl:
        if (pCurrent != nullptr)
            pCurrent->FocusNextChild();
        break;
    case dskExecute:
        Execute(CommandOf(m_oEntryBuffer));
        m_oEntryBuffer.Empty();
        break;
    case dskBackspace:
        RemoveLastByte(m_oEntryBuffer);
        break;
    default:
        if (nKey >= FIRST_CHARACTER)
            AppendCharacter(m_oEntryBuffer, nKey);
        break;
    }
}

void CVQDebugStatistics::Execute(const CVQString& oCommand)
{
    if (m_pInterpreter != nullptr && m_pInterpreter->Interpret(oCommand))
        return;

    if (auto* pCurrent = GetCurrentControl())
        pCurrent->SetValueFromString(oCommand);
}

void CVQDebugStatistics::RegisterInterpreter(IVQDebugStatisticsInterpreter* pInterpreter)
{
    if (m_pInterpreter == nullptr)
        m_pInterpreter = pInterpreter;
}

void CVQDebugStatistics::UnregisterInterpreter(const IVQDebugStatisticsInterpreter* pInterpreter)
{
    if (m_pInterpreter == pInterpreter)
        m_pInterpreter = nullptr;
}
