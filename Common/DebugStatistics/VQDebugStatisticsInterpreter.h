#pragma once

#include <Common/Export.h>

class CVQString;

/// What a game derives its command line from: it sees every command before the pages do.
///
///     class CCommands : public IVQDebugStatisticsInterpreter
///     {
///     public:
///         bool Interpret(const CVQString& oCommand) override
///         {
///             if (oCommand != "quit")
///                 return false;        // not ours: the current control may take it
///             m_bQuit = true;
///             return true;
///         }
///
///         bool m_bQuit = false;
///     };
///
/// One at a time works: the first that is constructed registers itself with the console, until it is destroyed. Others
/// that are constructed meanwhile are never asked, not even later.
class COMMON_API IVQDebugStatisticsInterpreter
{
public:
    /// Registers this interpreter, unless there is one.
    IVQDebugStatisticsInterpreter();

    /// A copy registers itself like any other.
    IVQDebugStatisticsInterpreter(const IVQDebugStatisticsInterpreter&);

    /// Does not change which one is registered.
    IVQDebugStatisticsInterpreter& operator=(const IVQDebugStatisticsInterpreter&) = default;

    /// Ends the registration, if it is this one that is registered.
    virtual ~IVQDebugStatisticsInterpreter();

    /// Executes a command.
    ///
    /// @param oCommand  what was typed, at most 64 bytes; "" when enter was all, its text never null
    /// @return          whether the command was one of this interpreter; if not, the current page gets it
    virtual bool Interpret(const CVQString& oCommand) = 0;
};
