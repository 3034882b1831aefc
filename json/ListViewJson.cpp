#include "ListViewJson.h"

#include "ApproachJson.h"
#include "LocalMapJson.h"

Json nodeListJson(const std::map<int64_t, LMNodeExtend>& nodes)
{
    return Json{{"count", nodes.size()}, {"nodes", jsonValues(nodes)}};
}

Json lightListJson(const std::map<int64_t, LMTrafficLightExtend>& lights, double now)
{
    Json out = Json::array();
    for (const auto& e : lights) {
        out.push_back(lightNowJson(e.second, now - e.second.getLatestRefreshTime()));
    }
    return Json{{"count", lights.size()}, {"lights", out}};
}

Json rsiListJson(const std::vector<LMRSIExtend>& records)
{
    return Json{{"count", records.size()}, {"records", records}};
}

Json phaseResultListJson(const std::vector<LMTLPhaseRes>& results)
{
    return Json{{"count", results.size()}, {"phases", results}};
}

Json rsiResultListJson(const std::vector<LMRSIRes>& results)
{
    return Json{{"count", results.size()}, {"results", results}};
}
