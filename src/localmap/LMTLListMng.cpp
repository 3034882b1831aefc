#include "localmap/LMTLListMng.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"
#include "shm/TimeTool.h"

LMTLListMng::LMTLListMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int LMTLListMng::decodeImage(const char* image, LightMap* out, int* end)
{
    int32_t count = 0;
    memcpy(&count, image, sizeof count);
    int pos = (int)sizeof count;
    LMRecordTool::MapRefill<int64_t, LMTrafficLightExtend> refill(out);
    for (int32_t i = 0; i < count && pos < SHM_SIZE; ++i) {
        // A writer that died halfway may have left a count or a light that
        // runs past the segment: never read beyond it.
        if (refill.next()->buffer2Obj(image, &pos, SHM_SIZE) < 0) {
            return -1;
        }
        refill.store();
    }
    if (end != nullptr) {
        *end = pos;
    }
    return 1;
}

int LMTLListMng::encodeImage(char* image, const LightMap& first, const LightMap& second, int dirtyEnd)
{
    long long total = 4;
    for (const LightMap* list : {&first, &second}) {
        for (const auto& entry : *list) {
            total += entry.second.flatSize();
        }
    }
    if (total > SHM_SIZE) {
        return -1;
    }
    int32_t count = (int32_t)(first.size() + second.size());
    memcpy(image, &count, sizeof count);
    int pos = (int)sizeof count;
    for (const LightMap* list : {&first, &second}) {
        for (const auto& entry : *list) {
            if (entry.second.Obj2Buff(image, &pos) < 0) {
                return -1;
            }
        }
    }
    if (dirtyEnd > pos) {
        memset(image + pos, 0, (size_t)(dirtyEnd - pos));
    }
    return 1;
}

char* LMTLListMng::imageBuffer()
{
    if (segmentImage.size() != (size_t)SHM_SIZE) {
        segmentImage.resize(SHM_SIZE);
    }
    return segmentImage.data();
}

int LMTLListMng::commit()
{
    try {
        char* buf = imageBuffer();
        // The buffer may hold a longer list from an earlier call: clear it all.
        if (encodeImage(buf, lights, LightMap(), SHM_SIZE) < 0) {
            return -1;
        }
        return commit2SHM(buf, SHM_SIZE);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMTLListMng::update()
{
    try {
        char* buf = imageBuffer();
        if (updateFromSHM(buf, SHM_SIZE) < 0) {
            // Nothing was read: an empty list, not what an earlier read left.
            memset(buf, 0, SHM_SIZE);
        }
        return decodeImage(buf, &lights, nullptr);
    } catch (const std::exception&) {
        return -1;
    }
}

namespace {

// Where one stored light's flattened image lies in the segment, and whether
// it is already what Obj2Buff writes for the decoded light: phases in
// ascending phaseID and states in ascending light code, each key once.
struct StoredLight {
    int64_t id;
    int at;
    int size;
    bool normal;
    bool stays;  // not dropped (received again, or too old)
};

// Bytes of the light image at image[pos, limit) (pos + its fixed part <=
// limit), walked through its counts without decoding it, or -1 when it would
// reach past limit. With CheckForm, *normal tells whether its keys ascend
// strictly at both levels, as Obj2Buff writes a decoded light.
template <bool CheckForm>
int lightImageSize(const char* image, int pos, int limit, bool* normal)
{
    const unsigned char* light = reinterpret_cast<const unsigned char*>(image + pos);
    const unsigned char* const end = light + (limit - pos);
    const unsigned char* at = light + sizeof(LMTrafficLightBase);
    uint32_t phases = 0;
    memcpy(&phases, at, sizeof phases);
    at += sizeof phases;
    int lastPhase = -1;
    bool ascending = true;
    for (uint32_t i = 0; i < phases; ++i) {
        if ((size_t)(end - at) < sizeof(LMPhaseBase) + sizeof(uint32_t)) {
            return -1;
        }
        uint32_t states = 0;
        memcpy(&states, at + sizeof(LMPhaseBase), sizeof states);
        if (CheckForm) {
            int phase = at[offsetof(LMPhaseBase, phaseID)];
            ascending = ascending && phase > lastPhase;
            lastPhase = phase;
        }
        at += sizeof(LMPhaseBase) + sizeof(uint32_t);
        if ((uint64_t)states * sizeof(LMPhaseStateBase) > (uint64_t)(end - at)) {
            return -1;
        }
        const unsigned char* next = at + (size_t)states * sizeof(LMPhaseStateBase);
        if (CheckForm && ascending) {
            int lastLight = -1;
            for (; at != next; at += sizeof(LMPhaseStateBase)) {
                int code = at[offsetof(LMPhaseStateBase, light)];
                if (code <= lastLight) {
                    ascending = false;
                    break;
                }
                lastLight = code;
            }
        }
        at = next;
    }
    if (CheckForm) {
        *normal = ascending;
    }
    return (int)(at - light);
}

// The stored lights that stay, in key order (for a key stored twice, the
// later image, as decoding keeps it), and where the list ends. keep() is
// asked about each stored light in segment order, before its image is
// walked. False when a light runs past the segment.
template <typename Keep>
bool lightsToKeep(const char* image, Keep keep, std::vector<StoredLight>* out, int* end)
{
    int32_t count = 0;
    memcpy(&count, image, sizeof count);
    int pos = (int)sizeof count;
    std::vector<StoredLight>& stored = *out;
    stored.clear();
    stored.reserve(count > 0 ? (size_t)std::min(count, (int32_t)1024) : 0);
    bool sorted = true;
    for (int32_t i = 0; i < count && pos < LMTLListMng::SHM_SIZE; ++i) {
        // A writer that died halfway may have left a count or a light that
        // runs past the segment: never read beyond it.
        if (LMTLListMng::SHM_SIZE - pos < (int)(sizeof(LMTrafficLightBase) + sizeof(uint32_t))) {
            return false;
        }
        StoredLight light{0, pos, 0, true, false};
        memcpy(&light.id, image + pos + offsetof(LMTrafficLightBase, id), sizeof light.id);
        // Only a light that stays needs its form checked.
        light.stays = keep(image, light);
        light.size = light.stays ? lightImageSize<true>(image, pos, LMTLListMng::SHM_SIZE, &light.normal)
                           : lightImageSize<false>(image, pos, LMTLListMng::SHM_SIZE, nullptr);
        if (light.size < 0) {
            return false;
        }
        if (!stored.empty() && light.id <= stored.back().id) {
            if (light.id < stored.back().id) {
                sorted = false;
            } else if (sorted) {
                // The same key again: the later image is the one decoding keeps.
                stored.back() = light;
                pos += light.size;
                continue;
            }
        }
        stored.push_back(light);
        pos += light.size;
    }
    *end = pos;
    if (sorted) {
        // Lists this manager wrote are in key order already: keep the ones
        // that stay where they are.
        stored.erase(std::remove_if(stored.begin(), stored.end(), [](const StoredLight& l) { return !l.stays; }),
                     stored.end());
        return true;
    }
    std::vector<StoredLight> all;
    all.swap(stored);
    std::stable_sort(all.begin(), all.end(), [](const StoredLight& a, const StoredLight& b) { return a.id < b.id; });
    for (size_t i = 0; i < all.size(); ++i) {
        bool later = i + 1 < all.size() && all[i + 1].id == all[i].id;
        if (!later && all[i].stays) {
            stored.push_back(all[i]);
        }
    }
    return true;
}

// Bytes of a light's image, as flatSize() gives them, counted here where the
// list is rewritten: the phases' states are packed records, so each phase
// adds its header and its state count's worth without a call per phase.
long long lightBytes(const LMTrafficLightExtend& light)
{
    constexpr long long PHASE = sizeof(LMPhaseBase) + sizeof(uint32_t);
    long long bytes = (long long)(sizeof(LMTrafficLightBase) + sizeof(uint32_t));
    for (const auto& phase : light.phases) {
        bytes += PHASE + (long long)phase.second.phaseStates.size() * (long long)sizeof(LMPhaseStateBase);
    }
    return bytes;
}

// The most bytes a light's image can take with its number of phases: each
// phase holds at most one state per light code. Known without visiting the
// phases, so that a list that fits even so is not counted exactly.
long long mostLightBytes(const LMTrafficLightExtend& light)
{
    constexpr long long MOST_PHASE = sizeof(LMPhaseBase) + sizeof(uint32_t) + 256 * sizeof(LMPhaseStateBase);
    return (long long)(sizeof(LMTrafficLightBase) + sizeof(uint32_t)) + (long long)light.phases.size() * MOST_PHASE;
}

// Rewrites the image as the kept lights, then `received` in key order
// (receivedBytes of images together, or a bound on them that fits beside the
// kept lights' stored images), and zeroes what the old list left up
// to oldEnd. A kept light already in the form Obj2Buff gives is moved as
// its bytes (decoding it into maps and writing it again would give the same
// bytes at many times the cost), and not at all where it already lies; any
// other (keys out of order or twice, from another writer or damage) is
// decoded and written again, so that every image leaves in one form. 1, or
// -1 with the image untouched when the result exceeds the segment.
int rewriteImage(char* image, const std::vector<StoredLight>& kept, int oldEnd,
                 const std::map<int64_t, LMTrafficLightExtend>& received, long long receivedBytes)
{
    std::vector<LMTrafficLightExtend> rebuilt;  // the kept lights not in that form, in order
    long long keptBytes = 0;
    bool ascending = true;  // the kept images lie in the old list in key order
    int lastAt = -1;
    for (const StoredLight& light : kept) {
        ascending = ascending && light.at > lastAt;
        lastAt = light.at;
        if (light.normal) {
            keptBytes += light.size;
            continue;
        }
        rebuilt.emplace_back();
        int at = light.at;
        if (rebuilt.back().buffer2Obj(image, &at, LMTLListMng::SHM_SIZE) < 0) {
            return -1;
        }
        keptBytes += rebuilt.back().flatSize();
    }
    if (4 + keptBytes + receivedBytes > LMTLListMng::SHM_SIZE) {
        return -1;
    }
    int pos = 4;
    auto next = rebuilt.cbegin();
    if (ascending) {
        // Each kept image moves towards the front, never over one not yet
        // moved: a rewritten light is no longer than its stored image.
        // Neighbours in the old list move together, and a run already in
        // place stays where it is.
        int runFrom = 0;  // the stored images of a run of neighbours, to go to pos
        int runBytes = 0;
        auto moveRun = [image, &pos, &runFrom, &runBytes]() {
            if (runFrom != pos) {
                memmove(image + pos, image + runFrom, (size_t)runBytes);
            }
            pos += runBytes;
            runBytes = 0;
        };
        for (const StoredLight& light : kept) {
            if (light.normal && runBytes > 0 && runFrom + runBytes == light.at) {
                runBytes += light.size;
                continue;
            }
            moveRun();
            if (light.normal) {
                runFrom = light.at;
                runBytes = light.size;
            } else if ((next++)->Obj2Buff(image, &pos) < 0) {
                return -1;
            }
        }
        moveRun();
    } else {
        // The kept images lie anywhere in the old list: gather them first.
        std::unique_ptr<char[]> gathered(new char[(size_t)keptBytes + 1]);
        int at = 0;
        for (const StoredLight& light : kept) {
            if (light.normal) {
                memcpy(gathered.get() + at, image + light.at, (size_t)light.size);
                at += light.size;
            } else if ((next++)->Obj2Buff(gathered.get(), &at) < 0) {
                return -1;
            }
        }
        memcpy(image + pos, gathered.get(), (size_t)at);
        pos += at;
    }
    int32_t count = (int32_t)(kept.size() + received.size());
    memcpy(image, &count, sizeof count);
    for (const auto& entry : received) {
        if (entry.second.Obj2Buff(image, &pos) < 0) {
            return -1;
        }
    }
    if (oldEnd > pos) {
        memset(image + pos, 0, (size_t)(oldEnd - pos));
    }
    return 1;
}

}  // namespace

int LMTLListMng::insertUpdateList(void* image, void* incoming)
{
    if (image == nullptr || incoming == nullptr) {
        return -1;
    }
    auto* received = static_cast<LightMap*>(incoming);
    try {
        std::vector<StoredLight> kept;
        int end = 0;
        // Asked in segment order, which is key order for the lists this
        // manager writes: one walk along the received map, restarted by a
        // search where a key comes out of order.
        auto next = received->cbegin();
        int64_t lastId = 0;
        auto notReceived = [received, &next, &lastId](const char*, const StoredLight& light) {
            if (next != received->cbegin() && light.id < lastId) {
                next = received->lower_bound(light.id);
            }
            lastId = light.id;
            while (next != received->cend() && next->first < light.id) {
                ++next;
            }
            return next == received->cend() || next->first != light.id;
        };
        if (!lightsToKeep(static_cast<const char*>(image), notReceived, &kept, &end)) {
            return -1;
        }
        // The received lights' bytes: bounded by their phase counts while
        // that bound fits beside the kept lights' stored images (rewritten
        // ones are no longer), counted exactly from there on, and all counted
        // exactly when even that does not fit.
        long long room = SHM_SIZE - 4;
        for (const StoredLight& light : kept) {
            room -= light.size;
        }
        double now = TimeTool::getPreciseTimeNow();
        long long bytes = 0;
        size_t bounded = 0;  // the first lights, counted by their bound
        bool exact = false;
        for (auto& entry : *received) {
            entry.second.latestRefreshTime = now;
            if (!exact) {
                long long most = mostLightBytes(entry.second);
                if (bytes + most <= room) {
                    bytes += most;
                    ++bounded;
                    continue;
                }
                exact = true;
            }
            bytes += lightBytes(entry.second);
        }
        if (bytes > room) {
            auto light = received->cbegin();
            for (size_t i = 0; i < bounded; ++i, ++light) {
                bytes += lightBytes(light->second) - mostLightBytes(light->second);
            }
        }
        return rewriteImage(static_cast<char*>(image), kept, end, *received, bytes);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMTLListMng::refreshList(void* image, void*)
{
    if (image == nullptr) {
        return -1;
    }
    try {
        std::vector<StoredLight> kept;
        int end = 0;
        auto fresh = [](const char* img, const StoredLight& light) {
            IF_Refreshable stamp;
            memcpy(&stamp, img + light.at, sizeof stamp);
            return !stamp.isPreciseOverTime(LIGHT_MAX_AGE);
        };
        if (!lightsToKeep(static_cast<const char*>(image), fresh, &kept, &end)) {
            return -1;
        }
        return rewriteImage(static_cast<char*>(image), kept, end, LightMap(), 0);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMTLListMng::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        int count = 0;
        if (SerializeTool::Byte2Int(buf, &p, &count) != 4) {
            return -2;
        }
        lights.clear();
        for (int i = 0; i < count; ++i) {
            short lightLen = 0;
            int at = p;
            if (SerializeTool::Byte2Short(buf, &at, &lightLen) != 2) {
                return -2;
            }
            LMTrafficLightExtend light;
            if (light.DeSerialize(buf, &p, lightLen) < 0) {
                return -2;
            }
            LMRecordTool::put(&lights, std::move(light));
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}
