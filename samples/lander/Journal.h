#pragma once

// Shows: the log (Common/Debug/Log.h), its classes and outputs, and the hook for the debugger output.
// Why: one function for all reports. They go to the file Lander.log and to every monitor that listens (run vqlog in a
// second terminal), never to the standard error of the terminal that the picture is on: what the library sends there
// comes to a page of the console instead.

#include <Common/Debug/Log.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/ProcessControl/VQCriticalSection.h>
#include <Common/Profile/VQProfileSample.h>

#include <string>

class CJournal
{
public:
    static void Begin() { HOOK_SetDebuggerOutput(&KeepLine); }

    static void End() { HOOK_SetDebuggerOutput(nullptr); }

    /// Reports what happened. Belongs to the main thread, as the profiler that measures it.
    static void Report(eErrorClass nClass, const std::string& sText)
    {
        const CVQProfileSample oSample("Log");
        ++s_nReports;
        _VQ_Log_Fn("samples/lander", "Lander", "game", __LINE__, 0, LOG_FILE | LOG_NETWORK,
                   static_cast<unsigned long>(nClass), "%s", sText.c_str());
        KeepLine((sText + '\n').c_str());
    }

    static unsigned GetCount() { return s_nReports; }

    /// The last lines of both.
    static std::string GetLines()
    {
        s_oLock.Enter();
        std::string sLines = s_sLines;
        s_oLock.Leave();
        return sLines;
    }

private:
    static constexpr std::size_t MOST_BYTES = 600;

    static void KeepLine(const char* pText) // on any thread
    {
        s_oLock.Enter();
        s_sLines += pText;
        if (s_sLines.size() > MOST_BYTES)
            s_sLines.erase(0, s_sLines.find('\n', s_sLines.size() - MOST_BYTES) + 1);
        s_oLock.Leave();
    }

    static inline CVQCriticalSection s_oLock;
    static inline std::string s_sLines;
    static inline unsigned s_nReports = 0;
};
