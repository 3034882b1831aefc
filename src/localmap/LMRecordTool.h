#ifndef V2XSHM_LOCALMAP_LMRECORDTOOL_H
#define V2XSHM_LOCALMAP_LMRECORDTOOL_H

// Internal to the local-map sources: the pieces that every map record shares
// when it is decoded from a received message (big-endian, length-prefixed,
// nested) or moved through its flattened host-order image. Not installed.

#include <climits>
#include <cstdint>
#include <cstring>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

#include "codec/SerializeTool.h"
#include "localmap/LMNodeBase.h"
#include "localmap/LMPointBase.h"
#include "localmap/LMTrafficLightBase.h"
#include "space/IFPosition.h"

class LMRecordTool {
public:
    // Bound used by the flattened readers when the caller gives none.
    static constexpr int NO_END = INT_MAX;

    // The arguments every decoder refuses with -1.
    static bool badArgs(const char* buf, const int* pos, int len)
    {
        return buf == nullptr || pos == nullptr || *pos < 0 || len < 0;
    }

    // ---- received message ----

    // Longitude, latitude and third coordinate (doubles), then the latitude
    // and longitude hemisphere letters, written into g as they are read.
    static bool readPosition(const char* buf, int* p, GeoCoordinates* g)
    {
        double lon = 0.0;
        double lat = 0.0;
        double alt = 0.0;
        if (SerializeTool::Byte2Double(buf, p, &lon) != 8) {
            return false;
        }
        g->longitude = lon;
        if (SerializeTool::Byte2Double(buf, p, &lat) != 8) {
            return false;
        }
        g->latitude = lat;
        if (SerializeTool::Byte2Double(buf, p, &alt) != 8) {
            return false;
        }
        g->altitude = alt;
        g->latHemisphere = buf[(*p)++];
        g->lonHemisphere = buf[(*p)++];
        return true;
    }

    // A length byte and that many name bytes over the start of name (no
    // terminator added, the rest left as it was). False, with only the
    // length byte read, when the length exceeds cap.
    static bool readName(const char* buf, int* p, char* name, int cap)
    {
        int n = (uint8_t)buf[(*p)++];
        if (n > cap) {
            return false;
        }
        return SerializeTool::Byte2String(buf, p, name, n) == n;
    }

    // The complete base record at *p (its own length read ahead and passed
    // down), decoded into the Base part of rec.
    template <typename Base>
    static bool decodeBase(const char* buf, int* p, Base* rec)
    {
        short len = 0;
        int at = *p;
        if (SerializeTool::Byte2Short(buf, &at, &len) != 2) {
            return false;
        }
        return rec->Base::DeSerialize(buf, p, len) >= 0;
    }

    // A counted group of length-prefixed child records decoded into c (cleared
    // once the count is read). Each child is decoded fresh with its own
    // length; false at the first child that fails.
    template <typename Child, typename Container>
    static bool decodeGroup(const char* buf, int* p, Container* c)
    {
        int count = 0;
        if (SerializeTool::Byte2Int(buf, p, &count) != 4) {
            return false;
        }
        c->clear();
        for (int i = 0; i < count; ++i) {
            short len = 0;
            int at = *p;
            if (SerializeTool::Byte2Short(buf, &at, &len) != 2) {
                return false;
            }
            Child child;
            if (child.DeSerialize(buf, p, len) < 0) {
                return false;
            }
            put(c, std::move(child));
        }
        return true;
    }

    // ---- flattened image ----

    // Copies a record's packed image (only the Base part of a derived one).
    template <typename Base>
    static void writeImage(char* buf, int* pos, const Base& rec)
    {
        static_assert(std::is_trivially_copyable<Base>::value, "packed image");
        memcpy(buf + *pos, &rec, sizeof(Base));
        *pos += (int)sizeof(Base);
    }

    // Reads a packed image into rec (assigning its Base part only). False,
    // nothing read, when it would reach past end.
    template <typename Base>
    static bool readImage(const char* buf, int* pos, int end, Base* rec)
    {
        static_assert(std::is_trivially_copyable<Base>::value, "packed image");
        if (*pos < 0 || end - *pos < (int)sizeof(Base)) {
            return false;
        }
        // Straight into the Base part: no temporary to construct, and no
        // member-wise assignment of a packed record.
        memcpy(static_cast<void*>(rec), buf + *pos, sizeof(Base));
        *pos += (int)sizeof(Base);
        return true;
    }

    // A group as a host-order 32-bit count followed by each value's image
    // (map entries by value, in key order).
    template <typename Container>
    static int writeGroup(char* buf, int* pos, const Container& c)
    {
        uint32_t n = (uint32_t)c.size();
        writeImage(buf, pos, n);
        for (const auto& entry : c) {
            if (writeChild(buf, pos, valueOf(entry)) < 0) {
                return -1;
            }
        }
        return 1;
    }

    // Reverses writeGroup. False when a child fails or the group would reach
    // past end; the container then holds the children read before.
    template <typename Child, typename Container>
    static bool readGroup(const char* buf, int* pos, int end, Container* c)
    {
        uint32_t n = 0;
        if (!readImage(buf, pos, end, &n)) {
            return false;
        }
        return readItems<Child>(buf, pos, end, n, c);
    }

    // Bytes a group's flattened image takes.
    template <typename Container>
    static int groupSize(const Container& c)
    {
        using Child = std::decay_t<decltype(valueOf(*c.begin()))>;
        if constexpr (std::is_trivially_copyable<Child>::value) {
            // Base records all take their image's size: no walk needed.
            return 4 + (int)(c.size() * sizeof(Child));
        }
        int size = 4;
        for (const auto& entry : c) {
            size += childSize(valueOf(entry));
        }
        return size;
    }

    // ---- keys and containers ----

    static int64_t keyOf(const LMLinkBase& r) { return r.upstreamNodeId; }
    static uint8_t keyOf(const LMLaneBase& r) { return r.laneID; }
    static int64_t keyOf(const LMMovementBase& r) { return r.remoteNodeId; }
    static int64_t keyOf(const LMNodeBase& r) { return r.nodeId; }
    static uint8_t keyOf(const LMPhaseStateBase& r) { return r.light; }
    static uint8_t keyOf(const LMPhaseBase& r) { return r.phaseID; }
    static int64_t keyOf(const LMTrafficLightBase& r) { return r.id; }

    // Maps take the key from the value (a later value replaces an earlier
    // one with the same key); vectors append.
    template <typename K, typename V>
    static void put(std::map<K, V>* m, const V& v) { (*m)[keyOf(v)] = v; }
    template <typename K, typename V>
    static void put(std::map<K, V>* m, V&& v)
    {
        K key = keyOf(v);
        m->insert_or_assign(key, std::move(v));
    }
    template <typename V>
    static void put(std::vector<V>* c, const V& v) { c->push_back(v); }
    template <typename V>
    static void put(std::vector<V>* c, V&& v) { c->push_back(std::move(v)); }

    // Refills a map with values decoded one after another, in ascending key
    // order as the images hold them. The map's old entries are set aside and
    // each new value is decoded into one of them, so that rebuilding a map
    // that changed little reuses its tree nodes and the buffers of its values
    // instead of freeing and allocating them all again. The values are
    // rebuilt whole from their images, so the reuse never shows in them.
    template <typename K, typename V>
    class MapRefill {
    public:
        // Empties *m, keeping its entries aside.
        explicit MapRefill(std::map<K, V>* m) : map(m) { spare.swap(*m); }

        // The object to decode the next value into.
        V* next()
        {
            if (spare.empty()) {
                return &work;
            }
            node = spare.extract(spare.begin());
            return &node.mapped();
        }

        // Stores the value just decoded under the key taken from it.
        void store()
        {
            if (node.empty()) {
                K key = keyOf(work);
                map->insert_or_assign(map->end(), key, std::move(work));
                return;
            }
            node.key() = keyOf(node.mapped());
            auto at = map->insert(map->end(), std::move(node));
            if (!node.empty()) {
                // The key was there already: the later value wins.
                at->second = std::move(node.mapped());
                node = typename std::map<K, V>::node_type();
            }
        }

    private:
        std::map<K, V>* map;
        std::map<K, V> spare;                    // old entries not reused yet
        typename std::map<K, V>::node_type node;  // the entry being filled
        V work;                                   // used once the spare ones run out
    };

private:
    // The n children of a group: maps by key through MapRefill, vectors of
    // packed records in one copy. Only the children lying wholly before end
    // are kept, as a read child by child would keep them.
    template <typename Child, typename K, typename V>
    static bool readItems(const char* buf, int* pos, int end, uint32_t n, std::map<K, V>* c)
    {
        static_assert(std::is_same<Child, V>::value, "children of the map's type");
        MapRefill<K, V> refill(c);
        for (uint32_t i = 0; i < n; ++i) {
            if (!readChild(buf, pos, end, refill.next())) {
                return false;
            }
            refill.store();
        }
        return true;
    }

    template <typename Child, typename V>
    static bool readItems(const char* buf, int* pos, int end, uint32_t n, std::vector<V>* c)
    {
        static_assert(std::is_same<Child, V>::value, "children of the vector's type");
        static_assert(std::is_trivially_copyable<V>::value, "packed image");
        long long room = *pos < 0 ? 0 : ((long long)end - *pos) / (long long)sizeof(V);
        uint32_t whole = room < (long long)n ? (uint32_t)(room < 0 ? 0 : room) : n;
        c->resize(whole);
        if (whole > 0) {
            memcpy(c->data(), buf + *pos, (size_t)whole * sizeof(V));
        }
        *pos += (int)(whole * sizeof(V));
        return whole == n;
    }

    template <typename K, typename V>
    static const V& valueOf(const std::pair<const K, V>& entry) { return entry.second; }
    template <typename V>
    static const V& valueOf(const V& v) { return v; }

    // Base records are their image; extended ones flatten their children too.
    template <typename T>
    static int writeChild(char* buf, int* pos, const T& rec)
    {
        if constexpr (std::is_trivially_copyable<T>::value) {
            writeImage(buf, pos, rec);
            return (int)sizeof(T);
        } else {
            return rec.Obj2Buff(buf, pos);
        }
    }

    template <typename T>
    static bool readChild(const char* buf, int* pos, int end, T* rec)
    {
        if constexpr (std::is_trivially_copyable<T>::value) {
            return readImage(buf, pos, end, rec);
        } else {
            return rec->buffer2Obj(buf, pos, end) >= 0;
        }
    }

    template <typename T>
    static int childSize(const T& rec)
    {
        if constexpr (std::is_trivially_copyable<T>::value) {
            return (int)sizeof(T);
        } else {
            return rec.flatSize();
        }
    }
};

#endif
