#ifndef V2XSHM_JSON_APPROACHJSON_H
#define V2XSHM_JSON_APPROACHJSON_H

#include "JsonText.h"
#include "v2xshm-unit/ApproachRSI.h"
#include "v2xshm-unit/ApproachSignal.h"
#include "v2xshm-unit/SpeedAdvice.h"

// JSON views of what the unit layer computes for the vehicle's approach
// (field names and units in docs/json.md).

void to_json(Json& j, const SignalWindow& w);
void to_json(Json& j, const ApproachMovement& m);
// The movements of the approach, as an array.
void to_json(Json& j, const ApproachSignal& s);
void to_json(Json& j, const ApproachRSI& r);
void to_json(Json& j, const SpeedAdvice& a);

// A light with, in each phase, the state now ("now", "remaining") as
// phaseNow gives it `age` seconds after reception.
Json lightNowJson(const LMTrafficLightExtend& light, double age);

#endif
