#pragma once

#include <string>
#include <vector>

/// Puts something of the test's own in the place of standard error while it lives.
class CStandardError
{
public:
    enum class eKind : int
    {
        Messages,   ///< keeps every write apart
        Full,       ///< a pipe that takes nothing at the moment, and says so
        FullSoon,   ///< the same, with room for 65,536 bytes
        BrokenPipe, ///< a pipe that nobody reads
        BrokenLine, ///< the same, of a kind that the system treats otherwise
        PlainOnly,  ///< a file of the kernel's that knows only the oldest way to write; it gives 15 bytes back
        Closed,     ///< nothing
    };

    explicit CStandardError(eKind nKind);
    ~CStandardError();

    CStandardError(const CStandardError&) = delete;
    CStandardError& operator=(const CStandardError&) = delete;

    /// What was written until now, each write by itself, of the kind that keeps them apart; else all of it in one.
    std::vector<std::string> Take();

    /// Whether the system can do so.
    static bool IsSupported();

private:
    int m_nPrevious = -1;
    int m_nReader = -1;
    std::string m_sName;
};
