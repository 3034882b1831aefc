#include "v2xshm-unit/ApproachRSI.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>

#include "localmap/LMRSIResMng.h"
#include "space/SpaceToolGeo.h"

namespace {

constexpr size_t MAX_RSI_RESULTS = 32;  // what the result segment holds
constexpr size_t BYTE_BEYOND = 255;     // a place or distance that does not fit a byte

void assignText(std::string* to, const char* field, size_t width)
{
    to->assign(field, strnlen(field, width));
}

// Appends bytes to a zero-filled text field, keeping its last byte zero.
void appendText(char* field, size_t width, size_t* used, const char* bytes, size_t n)
{
    size_t room = width - 1 - *used;
    n = std::min(n, room);
    memcpy(field + *used, bytes, n);
    *used += n;
}

bool onLink(const LMRSIExtend& rec, const LMLinkExtend& link, double reach)
{
    for (const LMPointBase& p : rec.points) {
        for (size_t s = 1; s < link.points.size(); ++s) {
            if (SpaceToolGeo::DistancePoint2LineSegment(p, link.points[s - 1], link.points[s]) < reach) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

std::string ApproachRSI::line() const
{
    return source + "#" + std::to_string(infoID) + ": " + text;
}

int findApproachRSI(const std::map<int64_t, LMNodeExtend>& nodes, const LMMapRes& located,
                    const std::vector<LMRSIExtend>& records, const GeoCoordinates& vehicle,
                    std::vector<ApproachRSI>* out)
{
    if (out == nullptr) {
        return -1;
    }
    try {
        const int64_t nodeId = located.nodeId;  // copied out of the packed record
        const int64_t linkKey = located.upstreamNodeId;
        auto node = nodes.find(nodeId);
        if (node == nodes.end() || node->second.links.count(linkKey) == 0) {
            out->clear();
            return -2;
        }
        const LMLinkExtend& link = node->second.links.at(linkKey);
        double reach = link.laneNum * RSI_LANE_WIDTH + RSI_REACH_MARGIN;
        // Written over the entries *out held, reusing their strings' storage.
        size_t count = 0;
        for (size_t i = 0; i < records.size(); ++i) {
            const LMRSIExtend& rec = records[i];
            if (!onLink(rec, link, reach)) {
                continue;
            }
            if (count == out->size()) {
                out->emplace_back();
            }
            ApproachRSI& found = (*out)[count++];
            found.listIndex = i;
            found.nearest = 1e300;
            for (const LMPointBase& p : rec.points) {
                found.nearest = std::min(found.nearest, SpaceToolGeo::DistancePoint2Point(vehicle, p));
            }
            assignText(&found.source, rec.sourceID, LMRSIBase::SOURCE_LEN);
            found.infoID = rec.infoID;
            assignText(&found.text, rec.text, LMRSIBase::TEXT_LEN);
        }
        out->resize(count);
        return (int)count;
    } catch (const std::exception&) {
        return -3;
    }
}

int approachRSIResults(const std::vector<ApproachRSI>& found, double now, std::vector<LMRSIRes>* out)
{
    if (out == nullptr) {
        return -1;
    }
    try {
        out->clear();
        for (const ApproachRSI& f : found) {
            if (out->size() == MAX_RSI_RESULTS) {
                break;
            }
            LMRSIRes r;
            r.latestRefreshTime = now;
            r.valueByte1 = (uint8_t)std::min(f.listIndex, BYTE_BEYOND);
            r.valueByte2 = (uint8_t)(f.nearest < (double)BYTE_BEYOND ? std::lround(f.nearest) : BYTE_BEYOND);
            // f.line(), cut to the field, built in place.
            char id[8];
            int idLen = snprintf(id, sizeof id, "%d", (int)f.infoID);
            size_t used = 0;
            appendText(r.text, LMRSIRes::TEXT_LEN, &used, f.source.data(), f.source.size());
            appendText(r.text, LMRSIRes::TEXT_LEN, &used, "#", 1);
            appendText(r.text, LMRSIRes::TEXT_LEN, &used, id, (size_t)idLen);
            appendText(r.text, LMRSIRes::TEXT_LEN, &used, ": ", 2);
            appendText(r.text, LMRSIRes::TEXT_LEN, &used, f.text.data(), f.text.size());
            out->push_back(r);
        }
        return (int)out->size();
    } catch (const std::exception&) {
        return -1;
    }
}

int publishApproachRSI(const std::vector<ApproachRSI>& found, double now, LMRSIResMng* mng)
{
    if (mng == nullptr || approachRSIResults(found, now, &mng->rsiResults) < 0) {
        return -1;
    }
    return mng->commit();
}
