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

namespace {

// adviseSpeed with the windows given apart, so that a caller holding them
// elsewhere need not copy them into an AdviceInput.
int adviseWindows(const AdviceInput& in, const std::vector<SignalWindow>& windows, SpeedAdvice* out)
{
    if (out == nullptr || !std::isfinite(in.distance) || in.distance < 0.0 || !std::isfinite(in.speed) ||
        in.speed < 0.0 || !std::isfinite(in.minSpeed) || !std::isfinite(in.maxSpeed) || !(in.maxSpeed > 0.0)) {
        return -1;
    }
    *out = SpeedAdvice();
    if (windows.empty()) {
        return 1;
    }
    const double vLow = std::max(0.0, in.minSpeed);
    const double vHigh = in.maxSpeed;
    if (in.distance == 0.0) {
        // At the stop line only the light now counts.
        const SignalWindow& w = windows.front();
        if (w.start < 0.0) {
            bool green = isGreen(w.light);
            *out = SpeedAdvice{green ? SpeedAdvice::GO : SpeedAdvice::STOP, green ? vLow : 0.0, green ? vHigh : 0.0,
                               green ? 0.0 : -1.0, green ? cautiousEnd(w) : -1.0, false};
            out->speedInBand = green && in.speed >= vLow && in.speed <= vHigh;
        }
        return 1;
    }
    try {
        // The first band that holds the speed now, else the first band (the
        // fastest); found in one pass, nothing kept.
        Band first{};
        bool anyBand = false;
        double horizon = 0.0;  // the light is known up to here
        double blockedUntil = 0.0;
        for (const SignalWindow& w : windows) {
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
                Band band{low, high, from, end};
                if (in.speed >= low && in.speed <= high) {
                    first = band;  // the one chosen, whatever came before
                    anyBand = true;
                    break;
                }
                if (!anyBand) {
                    first = band;
                    anyBand = true;
                }
            }
        }
        if (!anyBand) {
            // STOP only when even the fastest arrival falls where the light is known.
            out->verdict = in.distance / vHigh < horizon ? SpeedAdvice::STOP : SpeedAdvice::UNKNOWN;
            return 1;
        }
        const Band* chosen = &first;
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

}  // namespace

int adviseSpeed(const AdviceInput& in, SpeedAdvice* out)
{
    return adviseWindows(in, in.windows, out);
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
            SpeedAdvice advice;
            if (adviseWindows(in, m.now.windows, &advice) != 1) {
                return -1;
            }
            out->push_back(advice);
        }
        return (int)out->size();
    } catch (const std::exception&) {
        return -1;
    }
}
