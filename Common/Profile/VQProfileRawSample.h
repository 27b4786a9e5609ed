#pragma once

#include <cstddef>
#include <cstdint>

/// One record of the profiler: that a region began, or that the last one ended.
struct alignas(8) sVQProfileRawSample
{
    std::uint64_t m_nCounter; ///< the processor's cycle counter at that moment
    const char* m_pName;      ///< name of the region that began; null for an end. Where an address has 4 bytes, the 4
                              ///< behind it are not written
};

static_assert(sizeof(sVQProfileRawSample) == 16 && offsetof(sVQProfileRawSample, m_pName) == 8);
