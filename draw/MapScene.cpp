#include "MapScene.h"

#include <exception>
#include <memory>

#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "v2xshm-unit/ListOwner.h"

namespace {

// A manager may be made only for a list whose owner runs and whose segment is
// large enough: made otherwise, it would create the segment, or wait at the
// first transfer for an owner that never comes.
bool ready(int key, int size)
{
    ListOwnerProbe probe = probeListOwner(key);
    return probe.owned() && probe.segmentSize >= size;
}

// Reads one list with a non-owner manager made by `make`; `take` moves what
// it read into the scene. False (the list named absent) when it is not
// ready or does not read.
template <typename Make, typename Take>
bool readInto(MapScene* scene, const char* name, int key, int size, Make make, Take take)
{
    if (ready(key, size)) {
        auto mng = make();
        if (mng->update() == 1) {
            take(*mng);
            return true;
        }
    }
    scene->absent.push_back(name);
    return false;
}

template <typename Mng>
std::unique_ptr<Mng> nonOwner()
{
    return std::unique_ptr<Mng>(new Mng(false));
}

}  // namespace

int gatherScene(MapScene* scene, int targetKey)
{
    if (scene == nullptr) {
        return -1;
    }
    try {
        *scene = MapScene();
        if (!ready(LMNodeListMng::SHM_KEY, LMNodeListMng::SHM_SIZE)) {
            scene->absent.push_back("map");
            return 0;
        }
        {
            LMNodeListMng map(false);
            if (map.update() != 1) {
                return -1;
            }
            scene->nodes.swap(map.nodes);
            scene->mapPresent = true;
        }
        readInto(scene, "lights", LMTLListMng::SHM_KEY, LMTLListMng::SHM_SIZE, nonOwner<LMTLListMng>,
                 [&](LMTLListMng& m) { scene->lights.swap(m.lights); });
        readInto(scene, "rsi", LMRSIListMng::SHM_KEY, LMRSIListMng::SHM_SIZE, nonOwner<LMRSIListMng>,
                 [&](LMRSIListMng& m) { scene->rsi.swap(m.records); });
        readInto(scene, "gnss", DevGNSSMng::SHM_KEY, DevGNSSMng::SHM_SIZE, nonOwner<DevGNSSMng>, [&](DevGNSSMng& m) {
            scene->fix = m.gnss;
            scene->fixKnown = m.gnss.getLatestRefreshTime() != 0.0;
        });
        readInto(scene, "trace", VehTraceMng::SHM_KEY, VehTraceMng::SHM_SIZE, nonOwner<VehTraceMng>,
                 [&](VehTraceMng& m) {
                     int count = m.trace.boundedCount();
                     for (int back = 0; back < count; ++back) {
                         scene->trace.push_back(m.trace.trace[m.trace.slotOf(back)]);
                     }
                 });
        readInto(scene, "location", LMMapResMng::SHM_KEY, LMMapResMng::SHM_SIZE, nonOwner<LMMapResMng>,
                 [&](LMMapResMng& m) {
                     scene->location = m.mapRes;
                     scene->located = m.mapRes.getLatestRefreshTime() != 0.0;
                 });
        readInto(scene, "ptc", PTCListMng::SHM_KEY, PTCListMng::SHM_SIZE, nonOwner<PTCListMng>,
                 [&](PTCListMng& m) { scene->ptcs.swap(m.ptcs); });
        readInto(scene, "obu", PtcOBUListMng::SHM_KEY, PtcOBUListMng::SHM_SIZE, nonOwner<PtcOBUListMng>,
                 [&](PtcOBUListMng& m) { scene->obus.swap(m.obus); });
        readInto(scene, "rsu", PtcRSUListMng::SHM_KEY, PtcRSUListMng::SHM_SIZE, nonOwner<PtcRSUListMng>,
                 [&](PtcRSUListMng& m) { scene->rsus.swap(m.rsus); });
        readInto(scene, "targets", targetKey, TargetMng::SHM_SIZE,
                 [&] { return std::unique_ptr<TargetMng>(new TargetMng(targetKey, false)); },
                 [&](TargetMng& m) { scene->targets.swap(m.targets); });
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}
