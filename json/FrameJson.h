#ifndef V2XSHM_JSON_FRAMEJSON_H
#define V2XSHM_JSON_FRAMEJSON_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "JsonFwd.h"
#include "codec/RTCMShortFrame.h"
#include "codec/VI2CFrame.h"
#include "status/CommInfo.h"
#include "status/CommRecord.h"
#include "status/CommSumMng.h"
#include "status/UIClient.h"
#include "v2xshm-unit/FrameWalk.h"

// JSON views of framed messages, RTCM short frames, the message-traffic ring
// with its totals, and the user-interface clients. Field names and units are
// listed in docs/json.md. Bytes are written as lower-case hex without gaps.


// A framed message: {"type", "subType", "dataLen", "data"}.
void to_json(Json& j, const VI2CFrame& frame);
// An RTCM short frame: {"type", "dataLen", "data"}.
void to_json(Json& j, const RTCMShortFrame& frame);

// A finding of the frame walk (v2xshm-unit/FrameWalk.h):
// {"kind": "frame" | "badCheck" | "incomplete" | "skipped", "offset",
// "bytes"}, then but for "skipped" {"type", "subType", "dataLen"}, then for
// "frame" {"data", "checkOk": true}, for "badCheck" {"checkOk": false,
// "check", "expected"} (one hex byte each).
void to_json(Json& j, const FrameFinding& finding);

// `frame decode`: {"bytes", "frames", "clean", "found": [finding...]}.
struct FrameScanView {
    size_t bytes;
    const std::vector<FrameFinding>& found;
};
void printJson(const FrameScanView& view);

// `frame build`: {"frame" (hex), "bytes"}.
struct BuiltFrame {
    const char* bytes;
    int length;
};
void printJson(const BuiltFrame& built);

// One message of the ring: {"time" (wall-clock seconds, to the microsecond),
// "type", "peer", "length" (bytes), "detail"}.
void to_json(Json& j, const CommInfo& info);
// Totals: {"type1Count", "type1Bytes", "type2Count", "type2Bytes"}.
void to_json(Json& j, const CommSum& sum);
// One peer's row: {"peer"} followed by its totals.
void to_json(Json& j, const CommPeerSum& peer);

// `show comm`: {"key", "sumKey", "latestIndex", "count" (both as stored),
// "records": [{"slot", message...} newest first], "totals", "peers"}.
struct CommView {
    int key;
    int sumKey;
    const CommRecord& record;
    const CommSum& sum;
    int shown;  // messages to list, at most the valid count
};
void printJson(const CommView& view);

// `comm log`: {"slot", "count", "peerRow" (false: the peer table was full)}.
struct CommLogged {
    int32_t slot;
    int32_t count;
    bool peerRow;
};
void printJson(const CommLogged& logged);

// A client: {"type", "firstId", "secondId", "registered" (wall-clock seconds,
// to the microsecond)}.
void to_json(Json& j, const UIClient& client);
// The clients: {"count", "clients": [client...]}.
struct UiClientsView {
    const std::vector<UIClient>& clients;
};
void printJson(const UiClientsView& view);

#endif
