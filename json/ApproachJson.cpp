#include "ApproachJson.h"

#include <cmath>

#include "LocalMapJson.h"

namespace {

// Seconds to a tenth, as the text shows them; null when not known.
Json tenths(bool known, double seconds)
{
    return known ? jsonNumber(std::round(seconds * 10.0) / 10.0) : Json(nullptr);
}

Json orNull(double seconds)
{
    return tenths(seconds >= 0.0, seconds);
}

}  // namespace

void to_json(Json& j, const SignalWindow& w)
{
    j = Json{{"light", w.light},         {"startSeconds", orNull(w.start)},
             {"minEndSeconds", orNull(w.minEnd)}, {"likelyEndSeconds", orNull(w.likelyEnd)},
             {"maxEndSeconds", orNull(w.maxEnd)}};
}

void to_json(Json& j, const ApproachMovement& m)
{
    j = Json::object();
    j["remoteNodeId"] = m.remoteNodeId;
    j["phaseId"] = m.phaseId;
    j["light"] = m.now.known ? Json(m.now.light) : Json(nullptr);
    j["lightName"] = m.now.known ? lightName(m.now.light) : "unknown";
    j["remaining"] = tenths(m.timeKnown(), m.now.remaining);
    j["nextLight"] = m.now.nextKnown ? Json(m.now.nextLight) : Json(nullptr);
    j["windows"] = m.now.windows;
}

void to_json(Json& j, const ApproachSignal& s)
{
    j = s.movements;
}

void to_json(Json& j, const ApproachRSI& r)
{
    j = Json{{"listIndex", r.listIndex}, {"metres", tenths(true, r.nearest)}, {"text", r.line()}};
}

void to_json(Json& j, const SpeedAdvice& a)
{
    bool go = a.verdict == SpeedAdvice::GO;
    j = Json{{"advice", adviceName(a.verdict)},
             {"lowMps", go ? jsonNumber(std::round(a.low * 100.0) / 100.0) : Json(nullptr)},
             {"highMps", go ? jsonNumber(std::round(a.high * 100.0) / 100.0) : Json(nullptr)},
             {"greenFromSeconds", go ? orNull(a.greenFrom) : Json(nullptr)},
             {"greenUntilSeconds", go ? orNull(a.greenUntil) : Json(nullptr)},
             {"speedInBand", a.speedInBand}};
}

Json lightNowJson(const LMTrafficLightExtend& light, double age)
{
    Json j = light;
    Json phases = Json::array();
    for (const auto& p : light.phases) {
        PhaseNow now = phaseNow(p.second, age);
        Json phase = Json::object();
        phase["phaseID"] = p.first;
        phase["phaseAttr"] = p.second.phaseAttr;
        phase["now"] = now.known ? Json(now.light) : Json(nullptr);
        phase["remaining"] = tenths(now.known && now.remaining >= 0.0, now.remaining);
        phase["states"] = jsonValues(p.second.phaseStates);
        phases.push_back(phase);
    }
    j["phases"] = phases;
    return j;
}
