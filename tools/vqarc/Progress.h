#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

/// Shows how far an archive operation has come: a bar on standard error, when that is a terminal.
///
/// While it lives it listens to the notifications of the file system; one at a time.
class CProgress
{
public:
    /// @param nEvent  the notification that tells of one file
    /// @param aSizes  bytes of every file, in the order in which they come
    CProgress(int nEvent, std::vector<std::uint64_t> aSizes);
    ~CProgress();

    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// Shows that all is done.
    void Finish();

private:
    using CClock = std::chrono::steady_clock;

    static void OnEvent(int nEvent, unsigned long nRecord, unsigned long nSecond, unsigned long nUserValue);

    void Advance();
    void Show() const;

    bool m_bShown;
    int m_nEvent;
    std::vector<std::uint64_t> m_aSizes;
    std::uint64_t m_nAllBytes = 0;
    std::size_t m_nFiles = 0;   // done
    std::uint64_t m_nBytes = 0; // done
    CClock::time_point m_oStart = CClock::now();
    CClock::time_point m_oLastShown;
};
