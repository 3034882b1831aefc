#include "v2xshm-unit/SpeedAdvice.h"

#include <algorithm>
#include <cmath>
#include <exception>

namespace {


// A green is promised until its earliest end; a state before a green may
// last until its latest end. -1 when the light gives neither.
double cautiousEnd(const SignalWindow& w)
{
    if (isGreen(w.light)) {
        return w.minEnd >= 0.0 ? w.minEnd : w.likelyEnd;
    }
    return w.maxEnd >= 0.0 ? w.maxEnd : w.likelyEnd;
}

struct Band {
    double low, high, from, until;
};

}  // namespace

const char* adviceName(SpeedAdvice::Verdict verdict)
{
    switch (verdict) {
    case SpeedAdvice::GO:
        return "go";
    case SpeedAdvice::STOP:
        return "stop";
    default:
        return "unknown";
    }
}

int adviseSpeed(const AdviceInput& in, SpeedAdvice* out)
{
    if (out == nullptr || !std::isfinite(in.distance) || in.distance < 0.0 || !std::isfinite(in.speed) ||
        in.speed < 0.0 || !std::isfinite(in.minSpeed) || !std::isfinite(in.maxSpeed) || !(in.maxSpeed > 0.0)) {
        return -1;
    }
    *out = SpeedAdvice();
    if (in.windows.empty()) {
        return 1;
    }
    const double vLow = std::max(0.0, in.minSpeed);
    const double vHigh = in.maxSpeed;
    if (in.distance == 0.0) {
        // At the stop line only the light now counts.
        const SignalWindow& w = in.windows.front();
        if (w.start < 0.0) {
            bool green = isGreen(w.light);
            *out = SpeedAdvice{green ? SpeedAdvice::GO : SpeedAdvice::STOP, green ? vLow : 0.0, green ? vHigh : 0.0,
                               green ? 0.0 : -1.0, green ? cautiousEnd(w) : -1.0, false};
            out->speedInBand = green && in.speed >= vLow && in.speed <= vHigh;
        }
        return 1;
    }
    try {
        std::vector<Band> bands;
        double horizon = 0.0;  // the light is known up to here
        double blockedUntil = 0.0;
        for (const SignalWindow& w : in.windows) {
            double start = std::max(0.0, w.start);
            double end = cautiousEnd(w);
            if (end < 0.0) {
                horizon = std::max(horizon, start);
                break;
            }
            horizon = std::max(horizon, end);
            if (!isGreen(w.light)) {
                blockedUntil = std::max(blockedUntil, end);
                continue;
            }
            double from = std::max(start, blockedUntil);
            if (end <= from) {
                continue;
            }
            double low = std::max(vLow, in.distance / end);
            double high = from > 0.0 ? std::min(vHigh, in.distance / from) : vHigh;
            if (low <= high && high > 0.0) {
                bands.push_back(Band{low, high, from, end});
            }
        }
        if (bands.empty()) {
            // STOP only when even the fastest arrival falls where the light is known.
            out->verdict = in.distance / vHigh < horizon ? SpeedAdvice::STOP : SpeedAdvice::UNKNOWN;
            return 1;
        }
        const Band* chosen = &bands.front();
        for (const Band& b : bands) {
            if (in.speed >= b.low && in.speed <= b.high) {
                chosen = &b;
                break;
            }
        }
        out->verdict = SpeedAdvice::GO;
        out->low = chosen->low;
        out->high = chosen->high;
        out->greenFrom = chosen->from;
        out->greenUntil = chosen->until;
        out->speedInBand = in.speed >= chosen->low && in.speed <= chosen->high;
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}

int adviseApproach(const ApproachSignal& signal, const LMMapRes& located, double speed,
                   std::vector<SpeedAdvice>* out)
{
    if (out == nullptr) {
        return -1;
    }
    try {
        out->clear();
        AdviceInput in;
        in.distance = located.dis2StopLine;
        in.speed = speed;
        in.minSpeed = located.minSpeed;
        in.maxSpeed = located.maxSpeed;
        for (const ApproachMovement& m : signal.movements) {
            in.windows = m.now.windows;
            SpeedAdvice advice;
            if (adviseSpeed(in, &advice) != 1) {
                return -1;
            }
            out->push_back(advice);
        }
        return (int)out->size();
    } catch (const std::exception&) {
        return -1;
    }
}
