#pragma once

/// Lets every `new` of the calling thread fail while it lives, in the tests as in the library.
class CNoMemory
{
public:
    CNoMemory();
    ~CNoMemory();

    CNoMemory(const CNoMemory&) = delete;
    CNoMemory& operator=(const CNoMemory&) = delete;

    /// Whether the library's memory can be made to fail: not where it has a heap of its own or a sanitizer's.
    static bool IsSupported();
};
