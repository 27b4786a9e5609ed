#pragma once

/// @file
/// Hooks: the few services of the system that meet the user, each of which a program can replace.
///
/// A game that draws its own message boxes, an editor that shows the debugger output in a window of its own, a test
/// that answers every question: each installs a function, and everything in the library that uses the service goes
/// through it.
///
///     eMessageBoxAnswer AnswerNo(const char* pText, const char*, eMessageBoxKind)
///     {
///         g_oConsole.Print(pText);
///         return mbaNo;
///     }
///
///     PlatformMessageBoxHook pOld = HOOK_SetMessageBox(&AnswerNo);
///     ...
///     HOOK_SetMessageBox(pOld);
///
/// A hook may be set at any time by any thread; a call that is on its way finishes with the hook that it began with, so
/// that a hook's code must stay loaded. Hooks run on the thread that asks, and must not throw. A hook that uses the
/// service that it replaces meets itself again: it sets the default first, or passes on to the hook that it replaced.
///
/// What the services do by themselves:
///
/// - message box: on Windows the system's box, topmost; elsewhere the terminal, when the program has one; else a dialog
///   program (zenity, kdialog, xmessage), when there is a display; else the text on standard error
/// - debugger output: on Windows the system's; elsewhere standard error, one write a call, and nothing in a
///   program that was started without one
/// - beep: on Windows the system's sound; elsewhere the bell, when standard error is a terminal
/// - open a document: on Windows the browser that reports are made for; elsewhere the desktop's opener, when there is a
///   display
///
/// Where nobody can answer, a box answers ok, or yes. The environment variable COMMON_NO_DIALOG, set to anything but an
/// empty text, says that nobody is there, on every system: test runs and build machines set it.

#include <Common/Export.h>

/// What a message box asks.
enum eMessageBoxKind : int
{
    mbkInformation = 0, ///< tells something; the answer is mbaOk
    mbkYesNoCancel = 1, ///< asks; the answer is mbaYes, mbaNo or mbaCancel
};

/// What the user answered to a message box.
enum eMessageBoxAnswer : int
{
    mbaOk = 1,     ///< seen; the only answer to mbkInformation
    mbaCancel = 2, ///< cancel, or the box was closed
    mbaYes = 6,    ///< yes; also what a question gets where nobody can answer
    mbaNo = 7,     ///< no
};

/// Which sound a beep makes.
enum eBeepKind : int
{
    bkQuestion = 0x20, ///< the sound of a question
};

/// Shows a message box and waits for the answer; text and caption are never null.
using PlatformMessageBoxHook = eMessageBoxAnswer (*)(const char* pText, const char* pCaption, eMessageBoxKind nKind);

/// Takes a text for the debugger; it is never null, and holds its own line ends.
using PlatformDebuggerOutputHook = void (*)(const char* pText);

/// Makes a sound.
using PlatformBeepHook = void (*)(eBeepKind nKind);

/// Opens a document for the user to read; the path is never null. Returns false when it could not be opened.
using PlatformOpenDocumentHook = bool (*)(const char* pPath);

extern "C"
{
    /// Replaces the message box; null restores the default.
    ///
    /// @return the hook until now, null for the default
    COMMON_API PlatformMessageBoxHook HOOK_SetMessageBox(PlatformMessageBoxHook pHook);

    /// Replaces the debugger output; null restores the default.
    ///
    /// @return the hook until now, null for the default
    COMMON_API PlatformDebuggerOutputHook HOOK_SetDebuggerOutput(PlatformDebuggerOutputHook pHook);

    /// Replaces the beep; null restores the default.
    ///
    /// @return the hook until now, null for the default
    COMMON_API PlatformBeepHook HOOK_SetBeep(PlatformBeepHook pHook);

    /// Replaces the opening of a document; null restores the default.
    ///
    /// @return the hook until now, null for the default
    COMMON_API PlatformOpenDocumentHook HOOK_SetOpenDocument(PlatformOpenDocumentHook pHook);

    /// Shows a message box through the hook and waits for the answer.
    ///
    /// @param pText     what is said; null counts as empty
    /// @param pCaption  the title; null counts as empty
    /// @return          the user's answer, or the hook's as it is
    COMMON_API eMessageBoxAnswer HOOK_ShowMessageBox(const char* pText, const char* pCaption, eMessageBoxKind nKind);

    /// Sends a text to the debugger through the hook, as it is: no line end is added. Null sends nothing.
    COMMON_API void HOOK_WriteDebugger(const char* pText);

    /// Makes a sound through the hook.
    COMMON_API void HOOK_Beep(eBeepKind nKind);

    /// Opens a document, such as a report, for the user to read, through the hook. Returns without waiting for the
    /// program that shows it.
    ///
    /// @return false when there is nothing that could show it; null and an empty path are refused
    COMMON_API bool HOOK_OpenDocument(const char* pPath);
}
