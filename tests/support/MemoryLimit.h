#pragma once

#include <cstddef>

/// Lets this process take so many bytes of memory more, and no more, while it lives.
class CMemoryLimit
{
public:
    explicit CMemoryLimit(std::size_t nBytes);
    ~CMemoryLimit();

    CMemoryLimit(const CMemoryLimit&) = delete;
    CMemoryLimit& operator=(const CMemoryLimit&) = delete;

    /// Whether the system has such a limit, and the program survives it.
    static bool IsSupported();

private:
    [[maybe_unused]] unsigned long long m_nPrevious = 0;
};
