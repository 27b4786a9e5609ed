#pragma once

#include <string>

/// A named pipe from a program that a test has started, in the directory of the test.
///
///     CNamedPipe oPipe("answer");             // before the program starts
///     EXPECT_EQ(oPipe.Read(), "42");          // waits until the program has written and closed
class CNamedPipe
{
public:
    explicit CNamedPipe(const std::string& sPath);
    ~CNamedPipe();

    CNamedPipe(const CNamedPipe&) = delete;
    CNamedPipe& operator=(const CNamedPipe&) = delete;

    /// All that a writer writes until it closes the pipe; empty when nobody does within a minute.
    std::string Read();

private:
    int m_nDescriptor = -1;
};
