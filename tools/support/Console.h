#pragma once

// What the command line programs share: their words to the user.

#include <stdexcept>
#include <string>
#include <string_view>

/// What ends a command with exit code 1: the thing it is about, and why.
class CFailure : public std::runtime_error
{
public:
    CFailure(std::string_view sWhat, std::string_view sWhy);
};

/// Nobody reads standard output any more.
class COutputClosed : public CFailure
{
public:
    COutputClosed();
};

/// Writes "TOOL: TEXT" to standard error: what the user wants to know besides the output.
void PrintNote(std::string_view sText);

/// Writes "TOOL: WHAT: WHY" to standard error.
void PrintError(std::string_view sText);

/// Writes "TOOL: warning: TEXT" to standard error.
void PrintWarning(std::string_view sText);

/// Whether standard error is a terminal, where somebody watches.
bool IsErrorTerminal();

/// Whether standard output is a terminal that shows colours, and nobody has set NO_COLOR.
bool IsOutputColourful();

/// Width of the terminal in columns.
int GetTerminalWidth();

/// A name as it may be shown: on a terminal without bytes that would command it.
std::string MakePrintable(std::string_view sName);

/// Makes sure that there is a standard output: else a file that is opened would take its place.
///
/// @throws CFailure  when there is none
void RequireOutput();

/// Lets standard output take any bytes as they are.
void MakeOutputBinary();

/// Writes to standard output.
///
/// @throws COutputClosed  when nobody reads it any more
/// @throws CFailure       when it cannot be written
void WriteOutput(std::string_view sBytes);

/// Writes to the system what standard output still holds.
///
/// @throws COutputClosed  when nobody reads it any more
/// @throws CFailure       when it cannot be written
void FlushOutput();

/// A number of bytes as people read it: "17 B", "1.5 MiB".
std::string FormatBytes(double dBytes);
