#pragma once

#include <cstdint>

/// Lets the process open no file any more while it lives; what is open stays so.
class CNoOpenFiles
{
public:
    CNoOpenFiles();
    ~CNoOpenFiles();

    CNoOpenFiles(const CNoOpenFiles&) = delete;
    CNoOpenFiles& operator=(const CNoOpenFiles&) = delete;

    /// Whether the system has such a limit.
    static bool IsSupported();

private:
    std::uint64_t m_nPrevious = 0;
};
