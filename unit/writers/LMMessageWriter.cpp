#include "v2xshm-unit/LMMessageWriter.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <map>

#include "codec/SerializeTool.h"

namespace {

constexpr size_t MAX_RECORD_LEN = 32767;  // what a signed 16-bit length can say

// Appends big-endian fields to a message.
class Appender {
public:
    explicit Appender(std::vector<char>* out) : out(out) {}

    void i16(short v) { int at = grow(2); SerializeTool::Short2Byte(out->data(), &at, v); }
    void i32(int v) { int at = grow(4); SerializeTool::Int2Byte(out->data(), &at, v); }
    void i64(long long v) { int at = grow(8); SerializeTool::Long2Byte(out->data(), &at, v); }
    void f32(float v) { int at = grow(4); SerializeTool::Float2Byte(out->data(), &at, v); }
    void f64(double v) { int at = grow(8); SerializeTool::Double2Byte(out->data(), &at, v); }
    void byte(uint8_t v) { out->push_back((char)v); }
    void bytes(const void* src, size_t n)
    {
        const char* p = static_cast<const char*>(src);
        out->insert(out->end(), p, p + n);
    }

    void position(const GeoCoordinates& g)
    {
        f64(g.longitude);
        f64(g.latitude);
        f64(g.altitude);
        byte((uint8_t)g.latHemisphere);
        byte((uint8_t)g.lonHemisphere);
    }
    void name(const char* text, size_t cap)
    {
        size_t n = strnlen(text, cap);
        byte((uint8_t)n);
        bytes(text, n);
    }

    // A counted group of children, each written by write (maps by value).
    template <typename Container, typename Write>
    bool group(const Container& children, Write write)
    {
        if (children.size() > (size_t)INT32_MAX) {
            return false;
        }
        i32((int)children.size());
        for (const auto& child : children) {
            if (write(valueOf(child), out) < 0) {
                return false;
            }
        }
        return true;
    }

private:
    template <typename K, typename V>
    static const V& valueOf(const std::pair<const K, V>& entry) { return entry.second; }
    template <typename V>
    static const V& valueOf(const V& v) { return v; }

    int grow(int n)
    {
        int at = (int)out->size();
        out->resize(out->size() + n);
        return at;
    }

    std::vector<char>* out;
};

// Writes one length-led record: a length placeholder, then body's fields,
// then the real length. Takes back everything it appended when body fails,
// the record is too long or memory runs out.
template <typename Body>
int appendRecord(std::vector<char>* out, Body body)
{
    if (out == nullptr) {
        return -1;
    }
    size_t start = out->size();
    try {
        Appender a(out);
        a.i16(0);
        bool ok = body(a);
        size_t len = out->size() - start - 2;
        if (!ok || len > MAX_RECORD_LEN) {
            out->resize(start);
            return -1;
        }
        int at = (int)start;
        SerializeTool::Short2Byte(out->data(), &at, (short)len);
        return (int)(out->size() - start);
    } catch (const std::exception&) {
        out->resize(start);
        return -1;
    }
}

// A list: 2 zero bytes that receivers skip, then a counted group.
template <typename Record, typename Write>
int appendList(const std::vector<Record>& records, std::vector<char>* out, Write write)
{
    if (out == nullptr || records.size() > (size_t)INT32_MAX) {
        return -1;
    }
    size_t start = out->size();
    try {
        Appender a(out);
        a.i16(0);
        if (!a.group(records, write)) {
            out->resize(start);
            return -1;
        }
        return (int)(out->size() - start);
    } catch (const std::exception&) {
        out->resize(start);
        return -1;
    }
}

}  // namespace

int LMMessageWriter::writeNodeList(const std::vector<LMNodeExtend>& nodes, std::vector<char>* out)
{
    return appendList(nodes, out, writeNode);
}

int LMMessageWriter::writeTLList(const std::vector<LMTrafficLightExtend>& lights, std::vector<char>* out)
{
    return appendList(lights, out, writeTrafficLight);
}

int LMMessageWriter::writeRSIList(const std::vector<LMRSIExtend>& records, std::vector<char>* out)
{
    return appendList(records, out, writeRSI);
}

int LMMessageWriter::writeNodeBase(const LMNodeBase& node, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.position(node);
        a.name(node.name, LMNodeBase::NAME_LEN);
        a.i64(node.nodeId);
        return true;
    });
}

int LMMessageWriter::writeLinkBase(const LMLinkBase& link, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.i64(link.upstreamNodeId);
        a.name(link.name, LMLinkBase::NAME_LEN);
        a.f32(link.attrFloat1);
        a.byte(link.laneNum);
        a.f32(link.attrFloat2);
        return true;
    });
}

int LMMessageWriter::writeLaneBase(const LMLaneBase& lane, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.byte(lane.laneID);
        a.bytes(lane.laneBitsA, 2);
        a.bytes(lane.laneBitsB, 2);
        a.byte(lane.laneTypeCode);
        a.bytes(lane.laneBitsC, 2);
        return true;
    });
}

int LMMessageWriter::writePoint(const LMPointBase& point, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.position(point);
        return true;
    });
}

int LMMessageWriter::writeMovement(const LMMovementBase& movement, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.i64(movement.remoteNodeId);
        a.byte(movement.phaseId);
        return true;
    });
}

int LMMessageWriter::writeSpeedLimit(const LMSpeedLimitBase& limit, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.byte(limit.type);
        a.f32(limit.speed);
        return true;
    });
}

int LMMessageWriter::writeLane(const LMLaneExtend& lane, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        return writeLaneBase(lane, out) >= 0 && a.group(lane.points, writePoint)
            && a.group(lane.movements, writeMovement);
    });
}

int LMMessageWriter::writeLink(const LMLinkExtend& link, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        return writeLinkBase(link, out) >= 0 && a.group(link.lanes, writeLane)
            && a.group(link.speedLimits, writeSpeedLimit) && a.group(link.points, writePoint)
            && a.group(link.movements, writeMovement);
    });
}

int LMMessageWriter::writeNode(const LMNodeExtend& node, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        return writeNodeBase(node, out) >= 0 && a.group(node.links, writeLink);
    });
}

int LMMessageWriter::writePhaseState(const LMPhaseStateBase& state, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.byte(state.light);
        a.f32(state.startTime);
        a.f32(state.minEndTime);
        a.f32(state.maxEndTime);
        a.f32(state.likelyEndTime);
        a.byte(state.timeConfidence);
        a.f32(state.nextStartTime);
        a.f32(state.nextDuration);
        return true;
    });
}

int LMMessageWriter::writePhaseBase(const LMPhaseBase& phase, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.byte(phase.phaseID);
        a.byte(phase.phaseAttr);
        return true;
    });
}

int LMMessageWriter::writePhase(const LMPhaseExtend& phase, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        return writePhaseBase(phase, out) >= 0 && a.group(phase.phaseStates, writePhaseState);
    });
}

int LMMessageWriter::writeTrafficLightBase(const LMTrafficLightBase& light, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.i64(light.id);
        a.byte(light.status[0]);
        a.byte(light.status[1]);
        a.i16(light.timeStamp);
        a.byte(light.timeConfidence);
        return true;
    });
}

int LMMessageWriter::writeTrafficLight(const LMTrafficLightExtend& light, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        return writeTrafficLightBase(light, out) >= 0 && a.group(light.phases, writePhase);
    });
}

int LMMessageWriter::writeRSIBase(const LMRSIBase& rsi, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        a.position(rsi.position);
        a.i16(rsi.infoID);
        a.i32(rsi.attrInt);
        a.i16(rsi.attrShort);
        a.name(rsi.text, LMRSIBase::TEXT_LEN - 1);
        a.byte(rsi.attrByte);
        a.f32(rsi.attrFloat);
        return true;
    });
}

int LMMessageWriter::writeRSI(const LMRSIExtend& rsi, std::vector<char>* out)
{
    return appendRecord(out, [&](Appender& a) {
        return writeRSIBase(rsi, out) >= 0 && a.group(rsi.points, writePoint);
    });
}
