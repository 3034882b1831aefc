#include "OwnerTable.h"

#include <map>
#include <string>

#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "shm/DevConfigMng.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
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
        {"config", own<DevConfigMng>},
        {"gnss", own<DevGNSSMng>},
        {"trace", own<VehTraceMng>},
        {"vehicle", own<VehStatusMng>},
        {"givenid", own<DevPTCGivenIDMng>},
        {"obu", own<PtcOBUListMng>},
        {"rsu", own<PtcRSUListMng>},
        {"ptc", own<PTCListMng>},
        {"collisions", own<TgtCollisionMng>},
        {"targets", ownTargets},
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
