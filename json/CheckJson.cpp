#include "CheckJson.h"

void to_json(Json& j, const ListCheckResult& r)
{
    Json figures = Json::object();
    for (const auto& figure : r.figures) {
        figures[figure.first] = figure.second;
    }
    j = {{"name", r.name},
         {"manager", r.manager},
         {"key", r.key},
         {"verdict", verdictName(r.verdict)},
         {"ownership", ownershipName(r.ownership)},
         {"attached", r.attached},
         {"creatorPid", r.creatorPid},
         {"creatorAlive", r.creatorAlive},
         {"sizeFound", r.sizeFound},
         {"sizeExpected", r.sizeExpected},
         {"semPresent", r.semPresent},
         {"semValue", r.semValue},
         {"semInitialised", r.semInitialised},
         {"locked", r.locked},
         {"holderPid", r.holderPid},
         {"holderAlive", r.holderAlive},
         {"figures", figures},
         {"problems", r.problems}};
}

Json checkReportJson(const std::vector<ListCheckResult>& results, int exitCode)
{
    ListCheckCounts counts = countVerdicts(results);
    return {{"lists", results},
            {"damaged", counts.damaged},
            {"noOwner", counts.noOwner},
            {"absent", counts.absent},
            {"consistent", exitCode == 0}};
}
