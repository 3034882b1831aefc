#include "OwnerTable.h"

#include <map>
#include <string>

#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "shm/DevConfigMng.h"
#include "shm/DevProcListMng.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/DevUIClientMng.h"
#include "status/VehStatusMng.h"

namespace {

// Owns a list whose manager the tool does not use: only the segment's life
// (clear at start, remove at the end) matters to an owner.
class PlainOwner : public IF_SHM {
public:
    PlainOwner(int key, int size) : IF_SHM(key, size, true) {}
    int update() override { return 1; }
};

template <typename Mng>
std::unique_ptr<IF_SHM> own()
{
    return std::unique_ptr<IF_SHM>(new Mng(true));
}

// The same for a manager whose key its users choose.
template <typename Mng, int KEY>
std::unique_ptr<IF_SHM> ownKeyed()
{
    return std::unique_ptr<IF_SHM>(new Mng(KEY, true));
}

// The tool's target list lives under the key the segment map gives it.
std::unique_ptr<IF_SHM> ownTargets()
{
    return std::unique_ptr<IF_SHM>(new TargetMng(77502, true));
}

using OwnerFactory = std::unique_ptr<IF_SHM> (*)();

// The real manager of each list, by the tool's list name. Lists missing here
// get a PlainOwner.
const std::map<std::string, OwnerFactory>& ownerFactories()
{
    static const std::map<std::string, OwnerFactory> table = {
        {"procs", own<DevProcListMng>},
        {"config", own<DevConfigMng>},
        {"gnss", own<DevGNSSMng>},
        {"trace", own<VehTraceMng>},
        {"vehicle", own<VehStatusMng>},
        {"lights", own<LMTLListMng>},
        {"rsi", own<LMRSIListMng>},
        {"rsiresult", own<LMRSIResMng>},
        {"phaseresult", own<LMTLPhaseResMng>},
        {"givenid", own<DevPTCGivenIDMng>},
        {"obu", own<PtcOBUListMng>},
        {"rsu", own<PtcRSUListMng>},
        {"ptc", own<PTCListMng>},
        {"collisions", own<TgtCollisionMng>},
        {"targets", ownTargets},
        {"ui", own<DevUIClientMng>},
        {"comm", ownKeyed<CommRecordMng, 77601>},
        {"commsum", ownKeyed<CommSumMng, 77602>},
    };
    return table;
}

}  // namespace

std::unique_ptr<IF_SHM> makeOwnerManager(const ListInfo& list)
{
    auto found = ownerFactories().find(list.name);
    if (found != ownerFactories().end()) {
        return found->second();
    }
    return std::unique_ptr<IF_SHM>(new PlainOwner(list.key, list.size));
}
