#include "localmap/LMTLListMng.h"

#include <cstring>
#include <exception>
#include <iterator>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"

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

int LMTLListMng::insertUpdateList(void* image, void* incoming)
{
    if (image == nullptr || incoming == nullptr) {
        return -1;
    }
    auto* received = static_cast<LightMap*>(incoming);
    try {
        LightMap kept;
        int end = 0;
        if (decodeImage(static_cast<const char*>(image), &kept, &end) < 0) {
            return -1;
        }
        for (auto& entry : *received) {
            kept.erase(entry.first);
            entry.second.refreshTime();
        }
        return encodeImage(static_cast<char*>(image), kept, *received, end);
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
        LightMap kept;
        int end = 0;
        if (decodeImage(static_cast<const char*>(image), &kept, &end) < 0) {
            return -1;
        }
        for (auto it = kept.begin(); it != kept.end();) {
            it = it->second.isPreciseOverTime(LIGHT_MAX_AGE) ? kept.erase(it) : std::next(it);
        }
        return encodeImage(static_cast<char*>(image), kept, LightMap(), end);
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
