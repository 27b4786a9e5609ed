#include "Progress.h"

#include "Console.h"

#include <Common/File/ExtendedFileSystem.h>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <string>
#include <utility>

namespace
{
// The callback gets a number, which holds no address on every target.
CProgress* s_pListener = nullptr;

constexpr std::chrono::milliseconds BETWEEN_TWO_LOOKS{50};
constexpr int NARROWEST_BAR = 4;
constexpr int WIDEST_BAR = 40;
} // namespace

CProgress::CProgress(int nEvent, std::vector<std::uint64_t> aSizes)
    : m_bShown(IsErrorTerminal()), m_nEvent(nEvent), m_aSizes(std::move(aSizes)),
      m_nAllBytes(std::accumulate(m_aSizes.begin(), m_aSizes.end(), std::uint64_t{0}))
{
    if (!m_bShown)
        return;
    s_pListener = this;
    CExtendedFileSystem::Instance()->AddCallback(OnEvent, 0);
    Show();
}

CProgress::~CProgress()
{
    if (!m_bShown)
        return;
    CExtendedFileSystem::Instance()->RemoveCallback(OnEvent);
    s_pListener = nullptr;
    std::fputc('\n', stderr);
}

void CProgress::Finish()
{
    if (!m_bShown)
        return;
    m_nFiles = m_aSizes.size();
    m_nBytes = m_nAllBytes;
    Show();
}

void CProgress::OnEvent(int nEvent, unsigned long /*nRecord*/, unsigned long /*nSecond*/, unsigned long /*nUserValue*/)
{
    if (s_pListener != nullptr && nEvent == s_pListener->m_nEvent)
        s_pListener->Advance();
}

void CProgress::Advance()
{
    if (m_nFiles < m_aSizes.size())
        m_nBytes += m_aSizes[m_nFiles++];

    const auto oNow = CClock::now();
    if (oNow - m_oLastShown < BETWEEN_TWO_LOOKS)
        return;
    m_oLastShown = oNow;
    Show();
}

void CProgress::Show() const
{
    const double dSeconds = std::chrono::duration<double>(CClock::now() - m_oStart).count();
    const double dShare = m_nAllBytes != 0 ? static_cast<double>(m_nBytes) / static_cast<double>(m_nAllBytes) : 1.0;
    const std::string sFigures = std::to_string(m_nFiles) + "/" + std::to_string(m_aSizes.size()) + " files  " +
                                 FormatBytes(static_cast<double>(m_nBytes)) + " of " +
                                 FormatBytes(static_cast<double>(m_nAllBytes)) + "  " +
                                 FormatBytes(dSeconds > 0 ? static_cast<double>(m_nBytes) / dSeconds : 0) + "/s";

    const int nRoom = GetTerminalWidth() - static_cast<int>(sFigures.size()) - 12;
    const int nBar = std::clamp(nRoom, NARROWEST_BAR, WIDEST_BAR);
    const int nDone = static_cast<int>(dShare * nBar);
    std::fprintf(stderr, "\r[%s%s] %3d %%  %s\x1B[K", std::string(static_cast<std::size_t>(nDone), '#').c_str(),
                 std::string(static_cast<std::size_t>(nBar - nDone), '.').c_str(), static_cast<int>(dShare * 100),
                 sFigures.c_str());
    std::fflush(stderr);
}
