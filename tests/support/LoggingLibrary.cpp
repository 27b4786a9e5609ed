// A library that reports when it is loaded, when it is called and when it is unloaded.

#include <Common/Debug/Log.h>

#if defined(_WIN32)
#    define LIBRARY_API __declspec(dllexport)
#else
#    define LIBRARY_API __attribute__((visibility("default")))
#endif

namespace
{
void Report(const char* pMessage)
{
    _VQ_Log_Fn("library", "Probe", "", __LINE__, 0, LOG_DEBUGGER | LOG_FILE | LOG_NETWORK, ecInfo, "%s", pMessage);
}

struct SReporter
{
    SReporter() { Report("library begins"); }

    ~SReporter() { Report("library ends"); }
} g_oReporter;
} // namespace

extern "C" LIBRARY_API void ReportFromLibrary()
{
    Report("library is called");
}
