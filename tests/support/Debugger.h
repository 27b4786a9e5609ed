#pragma once

#include <string>
#include <vector>

/// Runs a program under a debugger, which passes over every trap.
///
/// @param bTrapped  whether the program broke into the debugger
/// @return          the code that it ended with; -1 where no debugger is allowed, or it ended otherwise
int RunDebugged(const std::vector<std::string>& oCommand, bool& bTrapped);
