#include "status/CommSumMng.h"

#include <cstring>

#include "status/CommInfo.h"

namespace {

// Counts wrap rather than overflow a signed int.
int32_t plusOne(int32_t n)
{
    return (int32_t)((uint32_t)n + 1u);
}

}  // namespace

CommSumMng::CommSumMng(int key, bool isOwner) : IF_SHM(key, SHM_SIZE, isOwner)
{
    if (isOwner) {
        operateSHMNotSafe(initCommSum, nullptr);
    }
}

int CommSumMng::update()
{
    return updateFromSHM(&sum, sizeof sum);
}

int CommSumMng::addOneCommRecord(void* shm, void* info)
{
    if (shm == nullptr || info == nullptr) {
        return -1;
    }
    CommSum* s = static_cast<CommSum*>(shm);
    CommInfo msg;
    memcpy(&msg, info, sizeof msg);
    if (msg.commType != 1 && msg.commType != 2) {
        return 1;
    }
    bool typeOne = msg.commType == 1;
    if (typeOne) {
        s->type1Count = plusOne(s->type1Count);
        s->type1Bytes += msg.length;
    } else {
        s->type2Count = plusOne(s->type2Count);
        s->type2Bytes += msg.length;
    }

    int used = s->validPeerCount();
    int row = 0;
    while (row < used && s->peers[row].peerId != msg.peerId) {
        ++row;
    }
    if (row == used) {
        if (used == CommSum::PEER_CAPACITY) {
            return PEER_TABLE_FULL;
        }
        memset(&s->peers[row], 0, sizeof(CommPeerSum));
        s->peers[row].peerId = msg.peerId;
        s->peerCount = used + 1;
    }
    CommPeerSum& peer = s->peers[row];
    if (typeOne) {
        peer.type1Count = plusOne(peer.type1Count);
        peer.type1Bytes += msg.length;
    } else {
        peer.type2Count = plusOne(peer.type2Count);
        peer.type2Bytes += msg.length;
    }
    return 1;
}

int CommSumMng::initCommSum(void* shm, void*)
{
    if (shm == nullptr) {
        return -1;
    }
    memset(shm, 0, sizeof(CommSum));
    return 1;
}
