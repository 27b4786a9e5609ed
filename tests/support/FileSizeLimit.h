#pragma once

#include <cstdint>

/// Makes every write past a size of a file fail while it lives, as a full disk does. It holds for the whole process.
class CFileSizeLimit
{
public:
    explicit CFileSizeLimit(std::uint64_t nBytes);
    ~CFileSizeLimit();

    CFileSizeLimit(const CFileSizeLimit&) = delete;
    CFileSizeLimit& operator=(const CFileSizeLimit&) = delete;

    /// Whether the system has such a limit.
    static bool IsSupported();

private:
    std::uint64_t m_nPrevious = 0;
};
