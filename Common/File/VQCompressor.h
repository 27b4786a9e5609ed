#pragma once

#include <Common/Export.h>

/// A compressor of memory blocks: both buffers are set first, then one call works on them as a whole.
///
/// The buffers stay the caller's and must not overlap. An object belongs to one thread at a time. The interface has no
/// virtual destructor: delete an object through its own class.
class COMMON_API IVQCompressor
{
public:
    /// Sets the input.
    ///
    /// @param pData  the bytes to read; they are never written
    /// @param nSize  their number
    virtual void SetSource(void* pData, int nSize) = 0;

    /// Sets the output.
    ///
    /// @param pData  room for the result
    /// @param nSize  bytes of that room; nothing is written behind them
    virtual void SetDestination(void* pData, int nSize) = 0;

    /// Compresses the source into the destination.
    ///
    /// @return the bytes of the compressed block, or -1 when it does not fit or no buffers are set
    virtual int Compress() = 0;

    /// Decompresses the source, one compressed block, into the destination.
    ///
    /// @return the bytes that came out, or -1 when they do not fit, the block is damaged or no buffers are set
    virtual int Decompress() = 0;
};
