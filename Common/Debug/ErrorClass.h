#pragma once

#include <cstdint>

/// The classes of log messages and of exceptions; one numbering serves both.
///
/// The log knows the classes up to ecCatastrophicError by name; any greater value prints there as "Unkown class".
/// The values 11 to 13 are not used.
enum eErrorClass : std::int32_t
{
    ecGameMessage = 0,       ///< "Game Message"
    ecDump = 1,              ///< "Dump"
    ecInfo = 2,              ///< "Info"
    ecMessage = 3,           ///< "Message"
    ecNote = 4,              ///< "Note"
    ecWarning = 5,           ///< "Warning"
    ecError = 6,             ///< "Error"
    ecCriticalError = 7,     ///< "Critical Error": what the library itself reports
    ecCatastrophicError = 8, ///< "Catastrophic Error": ends the process after its message box
    ecException = 9,         ///< exceptions of files and of parameter lists
    ecCommunication = 10,    ///< exceptions of mail slots and pipes
    ecDataStream = 14        ///< exceptions of data streams
};
