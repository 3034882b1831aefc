#include "localmap/LMRSIListMng.h"

#include <cstring>
#include <exception>
#include <utility>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"

namespace {

// What update asks of the decoding callback, and what it reports.
struct UpdateRun {
    std::vector<LMRSIExtend>* out;
    bool ran;
};

}  // namespace

LMRSIListMng::LMRSIListMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

bool LMRSIListMng::sameInfo(const LMRSIBase& a, const LMRSIBase& b)
{
    // A 16-character source fills its field without a terminator.
    return a.infoID == b.infoID && strncmp(a.sourceID, b.sourceID, LMRSIBase::SOURCE_LEN) == 0;
}

int LMRSIListMng::decodeImage(const char* image, RecordList* out, int* end)
{
    int32_t count = 0;
    memcpy(&count, image, sizeof count);
    int pos = (int)sizeof count;
    size_t n = 0;
    for (int32_t i = 0; i < count && pos < SHM_SIZE; ++i, ++n) {
        if (n == out->size()) {
            out->emplace_back();
        }
        // A writer that died halfway may have left a count or a record that
        // runs past the segment: never read beyond it.
        if ((*out)[n].buffer2Obj(image, &pos, SHM_SIZE) < 0) {
            out->resize(n);
            return -1;
        }
    }
    out->resize(n);
    if (end != nullptr) {
        *end = pos;
    }
    return 1;
}

int LMRSIListMng::encodeImage(char* image, const RecordList& list, int dirtyEnd)
{
    long long total = 4;
    for (const LMRSIExtend& rec : list) {
        total += rec.flatSize();
    }
    if (total > SHM_SIZE) {
        return -1;
    }
    int32_t count = (int32_t)list.size();
    memcpy(image, &count, sizeof count);
    int pos = (int)sizeof count;
    for (const LMRSIExtend& rec : list) {
        if (rec.Obj2Buff(image, &pos) < 0) {
            return -1;
        }
    }
    if (dirtyEnd > pos) {
        memset(image + pos, 0, (size_t)(dirtyEnd - pos));
    }
    return 1;
}

char* LMRSIListMng::imageBuffer()
{
    if (segmentImage.size() != (size_t)SHM_SIZE) {
        segmentImage.resize(SHM_SIZE);
    }
    return segmentImage.data();
}

int LMRSIListMng::commit()
{
    try {
        char* buf = imageBuffer();
        if (encodeImage(buf, records, SHM_SIZE) < 0) {
            return -1;
        }
        return commit2SHM(buf, SHM_SIZE);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMRSIListMng::update()
{
    // Decoded straight from the segment under its lock: the records are
    // copied once, not first as a whole 1 MiB image and then again.
    UpdateRun run{&records, false};
    int rc = operateSHMNotSafe(
        [](void* shm, void* arg) {
            UpdateRun* r = static_cast<UpdateRun*>(arg);
            r->ran = true;
            return decodeImage(static_cast<const char*>(shm), r->out, nullptr);
        },
        &run);
    if (!run.ran) {
        // Nothing was read: an empty list.
        records.clear();
        return 1;
    }
    return rc;
}

int LMRSIListMng::insertUpdateList(void* image, void* incoming)
{
    if (image == nullptr) {
        return -1;
    }
    auto* received = static_cast<LMRSIExtend*>(incoming);
    try {
        RecordList list;
        int end = 0;
        if (decodeImage(static_cast<const char*>(image), &list, &end) < 0) {
            return -1;
        }
        bool used = received == nullptr;
        for (LMRSIExtend& stored : list) {
            if (!used && sameInfo(stored, *received)) {
                if (stored.copyObj(*received) < 0) {
                    return -1;
                }
                stored.refreshTime();
                used = true;
            }
        }
        if (!used) {
            received->refreshTime();
            list.push_back(*received);
        }
        return encodeImage(static_cast<char*>(image), list, end);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMRSIListMng::insertUpdateListMulti(void* image, void* incoming)
{
    if (image == nullptr || incoming == nullptr) {
        return -1;
    }
    auto* received = static_cast<RecordList*>(incoming);
    try {
        RecordList list;
        int end = 0;
        if (decodeImage(static_cast<const char*>(image), &list, &end) < 0) {
            return -1;
        }
        for (LMRSIExtend& stored : list) {
            for (auto it = received->begin(); it != received->end(); ++it) {
                if (sameInfo(stored, *it)) {
                    if (stored.copyObj(*it) < 0) {
                        return -1;
                    }
                    stored.refreshTime();
                    received->erase(it);
                    break;
                }
            }
        }
        for (LMRSIExtend& rec : *received) {
            rec.refreshTime();
            list.push_back(rec);
        }
        return encodeImage(static_cast<char*>(image), list, end);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMRSIListMng::refreshList(void* image, void*)
{
    if (image == nullptr) {
        return -1;
    }
    try {
        RecordList list;
        int end = 0;
        if (decodeImage(static_cast<const char*>(image), &list, &end) < 0) {
            return -1;
        }
        RecordList kept;
        for (LMRSIExtend& rec : list) {
            if (!rec.isPreciseOverTime(RSI_MAX_AGE)) {
                kept.push_back(std::move(rec));
            }
        }
        return encodeImage(static_cast<char*>(image), kept, end);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMRSIListMng::DeSerialize(const char* buf, int* pos, int len)
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
        records.clear();
        for (int i = 0; i < count; ++i) {
            short recLen = 0;
            int at = p;
            if (SerializeTool::Byte2Short(buf, &at, &recLen) != 2) {
                return -2;
            }
            LMRSIExtend rec;
            if (rec.DeSerialize(buf, &p, recLen) < 0) {
                return -2;
            }
            records.push_back(std::move(rec));
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}
