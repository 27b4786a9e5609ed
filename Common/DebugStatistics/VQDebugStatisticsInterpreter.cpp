#include <Common/DebugStatistics/VQDebugStatistics.h>
#include <Common/DebugStatistics/VQDebugStatisticsInterpreter.h>

IVQDebugStatisticsInterpreter::IVQDebugStatisticsInterpreter()
{
    CVQDebugStatistics::RegisterInterpreter(this);
}

IVQDebugStatisticsInterpreter::IVQDebugStatisticsInterpreter(const IVQDebugStatisticsInterpreter& /*oOther*/)
    : IVQDebugStatisticsInterpreter()
{
}

IVQDebugStatisticsInterpreter::~IVQDebugStatisticsInterpreter()
{
    CVQDebugStatistics::UnregisterInterpreter(this);
}
