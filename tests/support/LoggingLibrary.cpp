// A library that reports when it is loaded, when it is called and when it is unloaded. It is made twice, under the
// names that LIBRARY_NAME and LIBRARY_CALL say.

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
    _VQ_Log_Fn("library", "Probe", "", __LINE__, 0, LOG_DEBUGGER | LOG_FILE | LOG_NETWORK, ecInfo, "%s %s",
               LIBRARY_NAME, pMessage);
}

struct SReporter
{
    SReporter() { Report("begins"); }

    ~SReporter() { Report("ends"); }
} g_oReporter;
} // namespace

extern "C" LIBRARY_API void LIBRARY_CALL()
{
    Report("is called");
}
