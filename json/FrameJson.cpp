#include "FrameJson.h"

#include <cmath>
#include <cstdio>

#include "JsonText.h"

namespace {

// A time stamp to the microsecond, as the ring's writers stamp it.
Json microseconds(double t)
{
    return jsonNumber(std::round(t * 1e6) / 1e6);
}

Json totals(int32_t c1, uint64_t b1, int32_t c2, uint64_t b2)
{
    return {{"type1Count", c1}, {"type1Bytes", b1}, {"type2Count", c2}, {"type2Bytes", b2}};
}

}  // namespace

void to_json(Json& j, const VI2CFrame& f)
{
    j = {{"type", (int)f.frameType},
         {"subType", (int)f.frameSubType},
         {"dataLen", (int)f.dataLen},
         {"data", hexText(f.data, f.dataLen < 0 ? 0 : f.dataLen)}};
}

void to_json(Json& j, const RTCMShortFrame& f)
{
    int len = f.dataLen < 0 ? 0 : (f.dataLen > RTCMShortFrame::DATA_MAX ? RTCMShortFrame::DATA_MAX : f.dataLen);
    j = {{"type", (int)f.frameType}, {"dataLen", (int)f.dataLen}, {"data", hexText(f.data, len)}};
}

void to_json(Json& j, const FrameFinding& f)
{
    static const char* KINDS[] = {"frame", "badCheck", "incomplete", "skipped"};
    j = {{"kind", KINDS[f.kind]}, {"offset", f.offset}, {"bytes", f.bytes}};
    if (f.kind == FrameFinding::SKIPPED) {
        return;
    }
    j.update({{"type", (int)f.frame.frameType}, {"subType", (int)f.frame.frameSubType}, {"dataLen", (int)f.frame.dataLen}});
    if (f.kind == FrameFinding::FRAME) {
        j.update({{"data", hexText(f.frame.data, f.frame.dataLen)}, {"checkOk", true}});
    } else if (f.kind == FrameFinding::BAD_CHECK) {
        j.update({{"checkOk", false}, {"check", hexByte(f.carried)}, {"expected", hexByte(f.computed)}});
    }
}

void printJson(const FrameScanView& view)
{
    int frames = 0;
    for (const FrameFinding& f : view.found) {
        frames += f.kind == FrameFinding::FRAME ? 1 : 0;
    }
    printJson(Json{{"bytes", view.bytes},
                   {"frames", frames},
                   {"clean", frames == (int)view.found.size()},
                   {"found", view.found}});
}

void printJson(const BuiltFrame& built)
{
    printJson(Json{{"frame", hexText(built.bytes, built.length)}, {"bytes", built.length}});
}

void to_json(Json& j, const CommInfo& info)
{
    j = {{"time", microseconds(info.latestRefreshTime)},
         {"type", (int32_t)info.commType},
         {"peer", (int32_t)info.peerId},
         {"length", (uint32_t)info.length},
         {"detail", fieldText(info.detail, CommInfo::DETAIL_LEN)}};
}

void to_json(Json& j, const CommSum& s)
{
    j = totals(s.type1Count, s.type1Bytes, s.type2Count, s.type2Bytes);
}

void to_json(Json& j, const CommPeerSum& p)
{
    j = {{"peer", (int32_t)p.peerId}};
    j.update(totals(p.type1Count, p.type1Bytes, p.type2Count, p.type2Bytes));
}

void printJson(const CommView& view)
{
    Json records = Json::array();
    for (int back = 0; back < view.shown; ++back) {
        int slot = view.record.slotOfNewest(back);
        Json record = {{"slot", slot}};
        record.update(Json(view.record.infos[slot]));
        records.push_back(record);
    }
    Json peers = Json::array();
    for (int i = 0; i < view.sum.validPeerCount(); ++i) {
        peers.push_back(view.sum.peers[i]);
    }
    printJson(Json{{"key", view.key},
                   {"sumKey", view.sumKey},
                   {"latestIndex", (int32_t)view.record.latestIndex},
                   {"count", (int32_t)view.record.count},
                   {"records", records},
                   {"totals", view.sum},
                   {"peers", peers}});
}

void printJson(const CommLogged& logged)
{
    printJson(Json{{"slot", logged.slot}, {"count", logged.count}, {"peerRow", logged.peerRow}});
}

void to_json(Json& j, const UIClient& c)
{
    j = {{"type", (int32_t)c.clientType},
         {"firstId", fieldText(c.firstId, UIClient::FIRST_ID_LEN)},
         {"secondId", fieldText(c.secondId, UIClient::SECOND_ID_LEN)},
         {"registered", microseconds(c.latestRefreshTime)}};
}

void printJson(const UiClientsView& view)
{
    printJson(Json{{"count", view.clients.size()}, {"clients", view.clients}});
}
