#include "v2xshm-unit/TargetBuild.h"

#include <algorithm>
#include <exception>
#include <type_traits>

#include "ptc/TargetMng.h"

namespace {

// Appends one target per record; false when memory runs out.
template <typename Rec>
bool addTargets(GNSS& own, const std::vector<Rec>& records, unsigned char type, TargetMng* out)
{
    for (const Rec& rec : records) {
        Rec copy = rec;  // insertTgt takes a mutable record; the caller's stay untouched
        VehClass cls{};
        if constexpr (!std::is_same<Rec, RSU>::value) {
            cls = copy.vehClass;  // copied out: no pointer into the packed record
        }
        VehClass* clsArg = std::is_same<Rec, RSU>::value ? nullptr : &cls;
        if (out->insertTgt(own, &copy, type, clsArg) != 1) {
            return false;
        }
    }
    return true;
}

}  // namespace

int buildTargets(const GNSS& own, const std::vector<PTC>& ptcs, const std::vector<OBU>& obus,
                 const std::vector<RSU>& rsus, TargetMng* out)
{
    if (out == nullptr) {
        return -1;
    }
    out->targets.clear();
    if (own.latestRefreshTime == 0.0) {
        return -2;
    }
    GNSS fix = own;
    fix.refreshMovable2D();
    try {
        out->targets.reserve(ptcs.size() + obus.size() + rsus.size());
    } catch (const std::exception&) {
        return -1;
    }
    if (!addTargets(fix, ptcs, TARGET_FROM_PTC, out) || !addTargets(fix, obus, TARGET_FROM_OBU, out) ||
        !addTargets(fix, rsus, TARGET_FROM_RSU, out)) {
        return -1;
    }
    return (int)std::min(out->targets.size(), (size_t)TargetMng::CAPACITY);
}

int publishTargets(TargetMng* mng)
{
    if (mng == nullptr) {
        return -1;
    }
    int rc = mng->commit();
    if (rc == 1 && mng->targets.size() > (size_t)TargetMng::CAPACITY) {
        mng->targets.resize(TargetMng::CAPACITY);
    }
    return rc;
}
