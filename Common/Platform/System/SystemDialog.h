#pragma once

// What meets the user: message boxes, the beep, the opening of a document.
//
// No text is null. A port returns from a box only with an answer; where nobody can give one, or the environment
// variable NO_DIALOG_VARIABLE is set to a text, it writes the text to standard error and answers yes.
namespace System
{
inline constexpr const char* NO_DIALOG_VARIABLE = "COMMON_NO_DIALOG";

enum class eDialogAnswer : int
{
    Yes,
    No,
    Cancel,
};

// Shows a text with an information sign, in the foreground and above other windows, until it is dismissed.
void ShowInformation(const char* pText, const char* pCaption);

// Asks a question that is answered with yes, no or cancel, owned by the desktop and above other windows.
eDialogAnswer AskYesNoCancel(const char* pText, const char* pCaption);

// Makes a sound; the kind is the home's number of the sound (0x20 for a question).
void MakeBeep(unsigned nKind);

// Opens a document for reading, without a shell, and does not wait. False when it cannot be opened.
bool ShowDocument(const char* pPath);
} // namespace System
