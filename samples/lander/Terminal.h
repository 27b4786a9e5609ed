#pragma once

// Shows: nothing of the library, which has no terminal of its own; and how a program keeps what differs between systems
// behind one interface, with a source for each (Posix/Terminal.cpp, Windows/Terminal.cpp) that CMake chooses.

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// Keys that are no characters. Arrows come as escape sequences of three bytes, of which the last one tells which.
constexpr int KEY_DELETE = 127, KEY_ARROW = 256, KEY_UP = KEY_ARROW + 'A', KEY_DOWN = KEY_ARROW + 'B',
              KEY_RIGHT = KEY_ARROW + 'C', KEY_LEFT = KEY_ARROW + 'D';

/// The terminal that the program was started in: a picture instead of lines from here to the end of the object.
///
/// Whichever way the program ends, the terminal is as it was: at the end of the object, in exit(), after a signal that
/// ends or stops the program, after a crash.
class CTerminal
{
public:
    CTerminal()
    {
        if (!Begin())
            throw std::runtime_error("there is no terminal; see --demo");
        std::atexit(&Restore);
        for (const int nSignal : {SIGSEGV, SIGFPE, SIGILL, SIGABRT})
            std::signal(nSignal, &OnCrash);
        Enter();
    }

    ~CTerminal() { Restore(); }

    static inline std::atomic<int> s_nEndSignal = 0; ///< number of the signal that asked the program to end

    /// Gives the terminal back; nothing is written any more. Safe in a signal's handler and when done twice.
    static void Restore()
    {
        Write("\x1b[0m\x1b[?25h\x1b[?1049l");
        if (s_bEntered.exchange(false))
            SetRaw(false);
    }

    /// Columns and lines.
    static std::pair<int, int> GetSize();

    /// Writes all of it at once; false when the terminal is gone.
    static bool Write(std::string_view sBytes);

    /// Appends what was typed; waits so long for the first. False when the terminal is gone, or the program has been
    /// asked to end.
    static bool Read(int nMilliseconds, std::string& sTyped);

    /// Takes the first key out of what was typed.
    static int TakeKey(std::string& sTyped)
    {
        const bool bArrow = sTyped.size() >= 3 && (sTyped.starts_with("\x1b[") || sTyped.starts_with("\x1bO"));
        const int nKey = static_cast<unsigned char>(sTyped[bArrow ? 2 : 0]);
        sTyped.erase(0, bArrow ? 3 : 1);
        return bArrow ? KEY_ARROW + nKey : nKey == '\r' ? '\n' : nKey == KEY_DELETE ? '\b' : nKey;
    }

private:
    static bool Begin(); // remembers how the terminal is; false when there is none
    static void SetRaw(bool bRaw);

    static void Enter()
    {
        SetRaw(true);
        s_bEntered = true;
        Write("\x1b[?1049h\x1b[?25l\x1b[2J"); // another screen beside the one with the lines, and no cursor
    }

    static void OnCrash(int nSignal)
    {
        std::signal(nSignal, SIG_DFL);
        Restore();
        std::raise(nSignal);
    }

    static void OnStop(int nSignal);

    static inline std::atomic<bool> s_bEntered = false;
};

/// Most memory that the process has had so far, in KiB.
unsigned GetPeakMemory();
