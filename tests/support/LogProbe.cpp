// A program that reports at every time of its life, and so do two libraries that it links.

#include <Common/Debug/Log.h>

extern "C" void ReportFromFirst();
extern "C" void ReportFromSecond();

namespace
{
void Report(const char* pMessage)
{
    _VQ_Log_Fn("program", "Probe", "", __LINE__, 0, LOG_DEBUGGER | LOG_FILE | LOG_NETWORK, ecInfo, "%s", pMessage);
}

struct SReporter
{
    SReporter() { Report("program begins"); }

    ~SReporter() { Report("program ends"); }
} g_oReporter;
} // namespace

int main()
{
    Report("main");
    ReportFromFirst();
    ReportFromSecond();
    return 0;
}
