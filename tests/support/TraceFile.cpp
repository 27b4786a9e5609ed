#include <tests/support/TraceFile.h>

#include <nlohmann/json.hpp>

std::vector<TraceEvent> ReadTrace(const std::string& sText)
{
    std::vector<TraceEvent> oEvents;
    const auto oTrace = nlohmann::json::parse(sText);
    for (const auto& oEntry : oTrace.at("traceEvents"))
    {
        TraceEvent oEvent;
        oEvent.sName = oEntry.at("name").get<std::string>();
        oEvent.sPhase = oEntry.at("ph").get<std::string>();
        oEvent.dStart = oEntry.at("ts").get<double>();
        oEvent.dDuration = oEntry.value("dur", -1.0);
        oEvent.nProcess = oEntry.at("pid").get<int>();
        oEvent.nThread = oEntry.at("tid").get<int>();
        oEvents.push_back(oEvent);
    }
    return oEvents;
}
