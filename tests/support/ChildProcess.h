#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

/// What a child process left behind.
struct ChildResult
{
    int nExitCode = -1;     ///< the code it ended with; -1 when it was ended by a signal or could not be started
    bool bTimedOut = false; ///< it was ended because its time ran out
    std::string sOutput;    ///< everything that it and its own children wrote to standard output and standard error
};

/// A program that a test runs beside itself, for what one process cannot show.
///
///     ChildProcess oChild({ThisProgram(), "--in-process", "--gtest_filter=Area.Test"});
///     EXPECT_EQ(oChild.Wait().nExitCode, 0);
///
/// The child starts with the object, has no standard input, and ends with the object at the latest.
class ChildProcess
{
public:
    explicit ChildProcess(const std::vector<std::string>& oCommand);
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the end of the child, and ends it when that takes longer than oLimit.
    ChildResult Wait(std::chrono::seconds oLimit = std::chrono::seconds(60));

    /// Ends the child at once, without any clearing up of its own; Wait() then tells the rest.
    void Kill();

    /// The system's number of the process; 0 when it could not be started.
    unsigned long Id() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_pImplementation;
};

/// The full path of the running program.
std::string ThisProgram();
