#include <tests/support/LogMail.h>

namespace
{
std::string Number(std::uint32_t nNumber)
{
    std::string sBytes;
    for (int i = 0; i < 4; ++i)
        sBytes += static_cast<char>(nNumber >> (8 * i));
    return sBytes;
}

std::string Text(const std::string& sText)
{
    return Number(static_cast<std::uint32_t>(sText.size())) + sText;
}
} // namespace

std::string MakeLogMail(const std::string& sComputer, const std::string& sApplication, std::uint32_t nProcess,
                        std::uint32_t nClass, const std::string& sTicks, const std::string& sContext,
                        const std::string& sSource, std::uint32_t nLine, const std::string& sMessage)
{
    return Text(sComputer) + Text(sApplication) + Number(nProcess) + Number(nClass) + Text(sTicks) + Text(sContext) +
           Text(sSource) + Number(nLine) + Text(sMessage);
}
