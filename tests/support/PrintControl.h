#pragma once

#include <Common/DebugStatistics/VQDebugStatisticsControl.h>

#include <algorithm>
#include <string>
#include <vector>

/// A control that prints a fixed text, and remembers what it was asked.
class CPrintControl : public CVQDebugStatisticsControl
{
public:
    explicit CPrintControl(std::string sText) : CVQDebugStatisticsControl(nullptr, nullptr), m_sText(std::move(sText))
    {
    }

    int Print(char*& pBuffer, int& nRemaining) override
    {
        m_oRooms.push_back(nRemaining);
        return CopyText(m_sText.c_str(), pBuffer, nRemaining);
    }

    void SetValueFromString(const CVQString& oText) override
    {
        m_oValues.emplace_back(oText.IsEmpty() ? "" : oText.GetString());
    }

    std::string m_sText;
    std::vector<int> m_oRooms;          ///< what was left at each Print()
    std::vector<std::string> m_oValues; ///< what came to SetValueFromString()
};

/// Everything that a control prints into a buffer of that many bytes; checks the rules of copying on the way.
inline std::string PrintedBy(CVQDebugStatisticsControl& oControl, int nSize = 1024)
{
    const auto nRoom = static_cast<std::size_t>(std::max(nSize, 0));
    std::string sBuffer(nRoom + 16, '\x7F');
    char* pBuffer = sBuffer.data();
    int nRemaining = nSize;
    const int nWritten = oControl.Print(pBuffer, nRemaining);

    if (pBuffer != sBuffer.data() + nWritten || nRemaining != nSize - nWritten)
        return "the count, the pointer and the room differ";
    if (sBuffer.find_first_not_of('\x7F', static_cast<std::size_t>(nWritten)) != std::string::npos)
        return "something stands behind the text";
    return sBuffer.substr(0, static_cast<std::size_t>(nWritten));
}
