#ifndef V2XSHM_UNIT_LMMESSAGEWRITER_H
#define V2XSHM_UNIT_LMMESSAGEWRITER_H

#include <vector>

#include "localmap/LMLaneExtend.h"
#include "localmap/LMLinkExtend.h"
#include "localmap/LMNodeBase.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMPointBase.h"
#include "localmap/LMRSIExtend.h"
#include "localmap/LMTrafficLightExtend.h"

// Writes local-map messages in the received format: big-endian, every record
// led by a signed 16-bit length, extended records nesting their base record
// and counted groups of children (maps in key order, vectors in order).
// The length counts the bytes after the length field up to the record's end,
// children included; receivers only pass it on, so a record of more than
// 32767 bytes cannot be sent and is refused. Names are sent up to their first
// zero byte (at most 64 bytes). A node list starts with 2 zero bytes that
// receivers skip, then a 32-bit node count.
//
// Light lists and RSI lists are framed the same way (2 zero bytes, a 32-bit
// count, the records); an RSI text is sent up to its first zero byte (at
// most 255 bytes) and its sourceID is not sent.
//
// The three list forms and what reads them (the checked walks of
// LMMessageCheck and LMSignalCheck pass every message these write):
// - writeNodeList: LMNodeListMng::DeSerialize; a node id written twice
//   leaves the later node.
// - writeTLList: LMTLListMng::DeSerialize; a light id written twice leaves
//   the later light.
// - writeRSIList: LMRSIListMng::DeSerialize; records stay in the order
//   written, the receiver names their source.
// Refresh times are not sent: the receiver stamps what it decodes.
//
// Every writer appends to *out and returns the number of bytes appended, or
// -1 (nothing appended) for a null out, a record too long for its length
// field, or when memory runs out.
class LMMessageWriter {
public:
    static int writeNodeList(const std::vector<LMNodeExtend>& nodes, std::vector<char>* out);

    static int writeNode(const LMNodeExtend& node, std::vector<char>* out);
    static int writeLink(const LMLinkExtend& link, std::vector<char>* out);
    static int writeLane(const LMLaneExtend& lane, std::vector<char>* out);
    static int writePoint(const LMPointBase& point, std::vector<char>* out);
    static int writeMovement(const LMMovementBase& movement, std::vector<char>* out);
    static int writeSpeedLimit(const LMSpeedLimitBase& limit, std::vector<char>* out);

    static int writeTLList(const std::vector<LMTrafficLightExtend>& lights, std::vector<char>* out);
    static int writeTrafficLight(const LMTrafficLightExtend& light, std::vector<char>* out);
    static int writePhase(const LMPhaseExtend& phase, std::vector<char>* out);
    static int writePhaseState(const LMPhaseStateBase& state, std::vector<char>* out);

    static int writeRSIList(const std::vector<LMRSIExtend>& records, std::vector<char>* out);
    static int writeRSI(const LMRSIExtend& rsi, std::vector<char>* out);

    // The base records alone, as they lead their extended records.
    static int writeNodeBase(const LMNodeBase& node, std::vector<char>* out);
    static int writeLinkBase(const LMLinkBase& link, std::vector<char>* out);
    static int writeLaneBase(const LMLaneBase& lane, std::vector<char>* out);
    static int writeTrafficLightBase(const LMTrafficLightBase& light, std::vector<char>* out);
    static int writePhaseBase(const LMPhaseBase& phase, std::vector<char>* out);
    static int writeRSIBase(const LMRSIBase& rsi, std::vector<char>* out);
};

#endif
