#pragma once

// Not for users.

namespace System
{
/// Holds the lock of what the library remembers of files and directories, for a block.
///
/// It is held for moments only, and nothing else is locked meanwhile. A process that forks waits for it, so that its
/// copy finds it free.
class CFileCacheGuard
{
public:
    CFileCacheGuard() noexcept;
    ~CFileCacheGuard();

    CFileCacheGuard(const CFileCacheGuard&) = delete;
    CFileCacheGuard& operator=(const CFileCacheGuard&) = delete;
};
} // namespace System
