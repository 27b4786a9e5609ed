#pragma once

#include <string>

/// Calls a function and tells which registers it left changed of those that an ordinary function may change: "rax
/// xmm3". Empty when there are none.
///
/// @param pFunction  takes pArgument or nothing
/// @return           "?" on processors that it does not know
std::string FindChangedRegisters(void (*pFunction)(), const void* pArgument);
