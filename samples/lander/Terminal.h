#pragma once

// Shows: nothing of the library, which has no terminal of its own; and how a program keeps what differs between systems
// behind one interface, with a source for each (Posix/Terminal.cpp, Windows/Terminal.cpp) that CMake chooses.

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Keys beside those that are characters.
enum eKey : int
{
    keyEnter = '\n',
    keyTab = '\t',
    keyBackspace = 8,
    keyDrawAnew = 12, // Ctrl+L: something else has written over the picture
    keyEscape = 27,
    keyUp = 256,
    keyDown,
    keyLeft,
    keyRight
};

/// The terminal that the program was started in: a picture instead of lines from here to the end of the object.
///
/// Whichever way the program ends, the terminal is as it was: at the end of the object, in exit(), after a signal that
/// ends the program, after a crash.
class CTerminal
{
public:
    CTerminal();

    ~CTerminal() { Restore(); }

    CTerminal(const CTerminal&) = delete;
    CTerminal& operator=(const CTerminal&) = delete;

    static inline std::atomic<int> s_nEndSignal = 0; ///< number of the signal that asked the program to end

    /// Whether standard input and output are a terminal.
    static bool IsThere();

    /// Gives the terminal back; the object draws nothing any more. Safe in a signal's handler and when done twice.
    static void Restore();

    void GetSize(int& nWidth, int& nHeight) const;

    /// Writes all of it at once; false when the terminal is gone.
    bool Write(std::string_view sBytes);

    /// Takes the keys that were pressed; waits so long for the first. False when the terminal is gone, or the program
    /// has been asked to end.
    bool ReadKeys(int nMilliseconds, std::vector<int>& aKeys);
};

/// Memory of the process that is resident, in KiB; 0 when that is not told.
std::size_t GetResidentMemory();
