#pragma once

#include <functional>

/// Runs a function in a copy of this process and returns the number from 0 to 100 that it returned; -1 where the system
/// makes no such copies or the copy ended otherwise.
int RunInFork(const std::function<int()>& fnWork);

/// The same under a tracer, as a debugger is one; -1 also where no tracer is allowed.
///
/// @param bTrapped  whether the tracer was called by a trap, which it passed over
int RunTraced(const std::function<int()>& fnWork, bool& bTrapped);

/// Whether the system makes copies of a process.
bool HasFork();
