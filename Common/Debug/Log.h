#pragma once

/// @file
/// One function through which a program reports, and the small debug functions beside it.
///
/// A report has a class (how grave it is) and a mask (where it goes: the debugger output, a log file, every listening
/// monitor of the network, a message box).
///
///     _VQ_Log_Fn("game/World", "Lander", "loading", __LINE__, 0, LOG_DEBUGGER | LOG_FILE, ecWarning,
///                "level %d has no ship", nLevel);
///
/// Any thread may call, before main() and from destructors after it too. A call that is made while another runs waits
/// for it, message box included; a call out of a hook or a message box on the same thread does not wait. What goes
/// wrong with one output is told on the debugger output, and the others still run.

#include <Common/Debug/ErrorClass.h>
#include <Common/Export.h>

/// The outputs of _VQ_Log_Fn(), to be added up.
enum eLogOutput : unsigned
{
    LOG_DEBUGGER = 1,  ///< the debugger output: the message and a line feed
    LOG_FILE = 2,      ///< the log file
    LOG_NETWORK = 4,   ///< the mail slot "\\*\mailslot\debug"
    LOG_MESSAGEBOX = 8 ///< a message box; a report of class 8 ends the process with status 0 when it is closed
};

extern "C"
{
    /// Reports a message.
    ///
    /// The log file is named after the application, "<application>.log", and opened, appended to and closed on every
    /// call. A report is one line of it, nine fields with " | " between them and "\r\n" at the end:
    ///
    ///     computer | application | process | class | ticks | context | source | line | message
    ///
    /// The network record holds the same: computer, application, process, class, ticks (a text), context, source, line,
    /// message; texts as CVQMailSlot writes them, numbers as 4 bytes. A record of more than 400 bytes is not sent.
    ///
    /// @param pSource       the reporting source file; null counts as "", like every text here
    /// @param pApplication  the reporting program
    /// @param pContext      what the program was at
    /// @param nLine         line of the source
    /// @param nReserved     not used
    /// @param nOutputs      where to: values of eLogOutput, added up
    /// @param nClass        how grave: 0 to 8 of eErrorClass; other values are reported as "Unkown class"
    /// @param pFormat       the message as for printf; it is cut at 256 bytes
    /// @return              true
    COMMON_API bool _VQ_Log_Fn(const char* pSource, const char* pApplication, const char* pContext, unsigned long nLine,
                               unsigned long nReserved, unsigned long nOutputs, unsigned long nClass,
                               const char* pFormat, ...) COMMON_PRINTF_FORMAT(8, 9);

    /// Sends a formatted text to the debugger output. Texts are cut at 8191 bytes.
    ///
    /// @return bytes of the text
    COMMON_API int Debug_Printf(const char* pFormat, ...) COMMON_PRINTF_FORMAT(1, 2);

    /// The same as Debug_Printf().
    COMMON_API int Debug_Warning(const char* pFormat, ...) COMMON_PRINTF_FORMAT(1, 2);

    /// Ends the process as exit() does: destructors of static objects and exit handlers run.
    [[noreturn]] COMMON_API void Debug_Exit(int nStatus);

    /// Tells of a failed assertion on the debugger output and aborts.
    [[noreturn]] COMMON_API void Debug_Assert(const char* pExpression, const char* pFile, int nLine);

    /// Tells of a failed assertion on the debugger output and asks in a message box what to do. VQ_ASSERT calls it.
    ///
    /// No ends the process with its exit handlers, Cancel ends it at once; both with status 0.
    ///
    /// @return true when the answer is Yes and a debugger is attached: the caller is to break into it
    COMMON_API bool Alternate_Debug_Assert(const char* pExpression, const char* pComment, const char* pFile, int nLine);

    /// Breaks into the attached debugger.
    COMMON_API void Debug_Break();
}

/// The comment of an assertion that has none, or the one that it has.
constexpr const char* Debug_AssertComment(const char* pComment = "")
{
    return pComment;
}

/// Makes sure of something that the program relies on, and asks the person in front of it when it does not hold.
///
///     VQ_ASSERT(nIndex < nCount);
///     VQ_ASSERT(pShip != nullptr, "the level has no ship");
///
/// With COMMON_NO_ASSERT defined nothing is left of it, and the expression is not evaluated.
#if defined(COMMON_NO_ASSERT)
#    define VQ_ASSERT(expression, ...) static_cast<void>(0)
#else
#    define VQ_ASSERT(expression, ...)                                                                                 \
        static_cast<void>((expression) || (Alternate_Debug_Assert(#expression, Debug_AssertComment(__VA_ARGS__),       \
                                                                  __FILE__, __LINE__) &&                               \
                                           (Debug_Break(), true)))
#endif

/// The same in debug builds alone: with NDEBUG defined nothing is left of it. For checks on paths that must be fast.
#if defined(NDEBUG)
#    define VQ_DEBUG_ASSERT(expression, ...) static_cast<void>(0)
#else
#    define VQ_DEBUG_ASSERT(expression, ...) VQ_ASSERT(expression __VA_OPT__(, ) __VA_ARGS__)
#endif
