#pragma once

/// Makes the reading of a directory fail half-way while it lives: so many entries come, and then an error, as from a
/// disk that is gone. It holds for every directory that this process reads.
class CDirectoryFault
{
public:
    explicit CDirectoryFault(int nEntries);
    ~CDirectoryFault();

    CDirectoryFault(const CDirectoryFault&) = delete;
    CDirectoryFault& operator=(const CDirectoryFault&) = delete;

    /// Whether tests can stand between the library and the system.
    static bool IsSupported();
};
