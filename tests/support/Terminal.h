#pragma once

#include <tests/support/ChildProcess.h>

#include <memory>
#include <string>
#include <vector>

/// A program that a test runs at a terminal of its own: its standard input, output and error, and nobody else's.
///
///     CTerminalChild oChild({ThisProgram(), "--in-process", "--gtest_filter=Area.Test"});
///     ASSERT_TRUE(oChild.WaitFor("name? "));
///     oChild.Type("Ada\n");
///     EXPECT_EQ(oChild.Wait().nExitCode, 0);
///
/// The terminal echoes what is typed, ends its lines with "\r\n", and takes "\x04" for the end of the input. Nothing
/// waits longer than a minute. The child ends with the object at the latest.
class CTerminalChild
{
public:
    /// Where the child stands in the session of the terminal.
    enum class ePlace : int
    {
        Foreground, ///< it may read
        Background, ///< it would be stopped if it read
        NoTerminal, ///< it may read, but the terminal is not that of its session
    };

    explicit CTerminalChild(const std::vector<std::string>& oCommand, ePlace nPlace = ePlace::Foreground);
    ~CTerminalChild();

    CTerminalChild(const CTerminalChild&) = delete;
    CTerminalChild& operator=(const CTerminalChild&) = delete;

    /// Waits until a text appears behind the one that was waited for last; false when it does not.
    bool WaitFor(const std::string& sText);

    /// Types a text.
    void Type(const std::string& sText);

    /// Waits for the end of the child; its output is all that the terminal showed. It ended at -1 by a signal.
    ChildResult Wait();

    /// Makes the terminal so large; the child is told by a signal.
    void SetSize(int nWidth, int nHeight);

    /// Sends the child a signal.
    void Signal(int nSignal);

    /// Closes the terminal, as a user does with its window. Its output is lost from then on.
    void Close();

    /// Whether the terminal echoes what is typed and gathers it to lines, as it did at first.
    bool IsAsItWas() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_pImplementation;
};

/// Whether the system has such terminals.
bool HasTerminals();
