// The map picture: objects of a known scene land where they should, each
// object is drawn once, the document is well-formed whatever the lists hold,
// and the same state gives the same bytes (a golden file, the same on every
// host). Then the picture from the lists themselves, without creating any.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "MapPicture.h"
#include "MapScene.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "XmlCheck.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMTLListMng.h"
#include "v2xshm-unit/ApproachSignal.h"
#include "space/DevGNSSMng.h"
#include "v2xshm-unit/ListOwner.h"

namespace {

constexpr double T0 = 1800000000.0;  // when the lights were received
constexpr double NOW = T0 + 3.0;

GNSS fixAt(double east, double north, float heading, double stamp)
{
    GNSS fix;
    fix.position = SampleIntersection::at(east, north);
    fix.heading = heading;
    fix.speed = 12.5f;
    fix.latestRefreshTime = stamp;
    return fix;
}

template <typename Rec>
Rec participant(const char* id, double east, double north)
{
    Rec rec;
    strncpy(rec.id, id, sizeof rec.id);
    rec.localID = 7;
    GNSS fix = fixAt(east, north, 270.0f, T0);
    rec.gnss = fix;
    return rec;
}

// The sample intersection with its lights and road-side information, the
// vehicle 5.25 m east and 40 m south of the centre node heading north and
// located on the northbound approach, and one road user of each kind.
MapScene sampleScene()
{
    MapScene scene;
    scene.mapPresent = true;
    for (const LMNodeExtend& node : SampleIntersection::nodes()) {
        int64_t id = node.nodeId;  // not by reference into the packed record
        scene.nodes[id] = node;
    }
    for (LMTrafficLightExtend light : SampleSignal::lights()) {
        light.latestRefreshTime = T0;
        int64_t id = light.id;
        scene.lights[id] = light;
    }
    for (LMRSIExtend rec : SampleSignal::rsiRecords()) {
        strncpy(rec.sourceID, "rsu-1001", sizeof rec.sourceID);
        scene.rsi.push_back(rec);
    }
    scene.fixKnown = true;
    scene.fix = fixAt(5.25, -40.0, 0.0f, NOW);
    for (int back = 0; back < 5; ++back) {
        scene.trace.push_back(fixAt(5.25, -40.0 - 1.25 * back, 0.0f, NOW - 0.1 * back));
    }
    scene.located = true;
    scene.location.nodeId = SampleIntersection::CENTRE_NODE;
    scene.location.upstreamNodeId = SampleIntersection::SOUTH_NODE;
    scene.location.dis2StopLine = 25.0;
    scene.location.maxSpeed = 13.89f;
    scene.location.latestRefreshTime = NOW;
    scene.obus.push_back(participant<OBU>("obu-b", 60.0, 5.25));
    scene.ptcs.push_back(participant<PTC>("walker", -30.0, -30.0));
    scene.rsus.push_back(participant<RSU>("rsu-1001", 20.0, 20.0));
    TargetBase target = participant<TargetBase>("obu-b", 60.0, 5.25);
    target.distance = 66.7;
    target.angle = 1.1;
    scene.targets.push_back(target);
    return scene;
}

std::vector<XmlElement> drawn(const MapScene& scene, const DrawOptions& options, std::string* svg = nullptr)
{
    std::string text;
    EXPECT_EQ(drawScene(scene, options, NOW, &text), 1);
    std::vector<XmlElement> elements;
    std::string why;
    EXPECT_TRUE(parseXml(text, &elements, &why)) << why;
    if (svg != nullptr) {
        *svg = text;
    }
    return elements;
}

const XmlElement* byId(const std::vector<XmlElement>& elements, const std::string& id)
{
    for (const XmlElement& e : elements) {
        if (e.attr("id") == id) {
            return &e;
        }
    }
    return nullptr;
}

// Elements whose class list holds `cls`.
std::vector<const XmlElement*> byClass(const std::vector<XmlElement>& elements, const std::string& cls)
{
    std::vector<const XmlElement*> found;
    for (const XmlElement& e : elements) {
        std::istringstream classes(e.attr("class"));
        for (std::string c; classes >> c;) {
            if (c == cls) {
                found.push_back(&e);
            }
        }
    }
    return found;
}

// The element right after `parent` in document order (its first child).
const XmlElement& firstChild(const XmlElement* parent)
{
    return *(parent + 1);
}

double num(const XmlElement& e, const char* name)
{
    return std::stod(e.attr(name));
}

}  // namespace

TEST(MapPicture, KnownObjectsLandWithinHalfAPixel)
{
    // 150 m each way on 900 pixels: 3 pixels a metre, the centre at (450, 450).
    struct Case {
        const char* what;
        int64_t centreNode;
        double vehicleX, vehicleY, nodeX, nodeY;
    } cases[] = {
        {"centred on the node", 1001, 450.0 + 5.25 * 3, 450.0 + 40.0 * 3, 450.0, 450.0},
        {"centred on the vehicle", -1, 450.0, 450.0, 450.0 - 5.25 * 3, 450.0 - 40.0 * 3},
    };
    MapScene scene = sampleScene();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DrawOptions options;
        options.nodeId = c.centreNode;
        std::vector<XmlElement> elements = drawn(scene, options);
        const XmlElement* vehicle = byId(elements, "vehicle");
        ASSERT_NE(vehicle, nullptr);
        double x = 0, y = 0, heading = -1;
        ASSERT_EQ(sscanf(vehicle->attr("transform").c_str(), "translate(%lf,%lf) rotate(%lf)", &x, &y, &heading), 3);
        EXPECT_NEAR(x, c.vehicleX, 0.5);
        EXPECT_NEAR(y, c.vehicleY, 0.5);
        EXPECT_EQ(heading, 0.0);
        ASSERT_EQ(byClass(elements, "participant").size(), 3u);
        const XmlElement& node = firstChild(byClass(elements, "node")[0]);
        EXPECT_NEAR(num(node, "cx"), c.nodeX, 0.5);
        EXPECT_NEAR(num(node, "cy"), c.nodeY, 0.5);
        // The obu 60 m east and 5.25 m north of the node.
        const XmlElement& obu = firstChild(byClass(elements, "participant")[1]);
        EXPECT_NEAR(num(obu, "cx"), c.nodeX + 60.0 * 3, 0.5);
        EXPECT_NEAR(num(obu, "cy"), c.nodeY - 5.25 * 3, 0.5);
        // The northbound stop line: 15 m south of the node across the link's
        // three lanes, its centre line 5.25 m east of the node.
        for (const XmlElement* line : byClass(elements, "stop-line")) {
            if (line->attr("data-upstream") == "1005") {
                EXPECT_NEAR((num(*line, "x1") + num(*line, "x2")) / 2, c.nodeX + 5.25 * 3, 0.5);
                EXPECT_NEAR(num(*line, "y1"), c.nodeY + 15.0 * 3, 0.5);
                EXPECT_NEAR(std::fabs(num(*line, "x2") - num(*line, "x1")), 3 * 3.5 * 3, 0.5);
            }
        }
    }
}

TEST(MapPicture, EveryObjectDrawnOnce)
{
    MapScene scene = sampleScene();
    DrawOptions options;
    options.nodeId = SampleIntersection::CENTRE_NODE;
    options.aroundMetres = 600.0;  // both nodes and every road-side record
    std::vector<XmlElement> elements = drawn(scene, options);
    size_t links = 0, movements = 0;
    for (const auto& n : scene.nodes) {
        links += n.second.links.size();
        for (const auto& l : n.second.links) {
            movements += l.second.movements.size();
        }
    }
    struct Count {
        const char* cls;
        size_t expected;
    } counts[] = {{"node", scene.nodes.size()}, {"link", links}, {"stop-line", links}, {"movement", movements},
                  {"participant", 3}, {"target", 1}, {"rsi", scene.rsi.size()}};
    for (const Count& c : counts) {
        EXPECT_EQ(byClass(elements, c.cls).size(), c.expected) << c.cls;
    }
    for (const char* id : {"vehicle", "trace", "located-link", "stop-distance", "scale-bar", "north-arrow", "legend"}) {
        int seen = 0;
        for (const XmlElement& e : elements) {
            seen += e.attr("id") == id;
        }
        EXPECT_EQ(seen, 1) << id;
    }
    // The approach's movements carry the state the unit layer evaluates.
    ApproachSignal signal;
    ASSERT_EQ(evalApproachSignal(scene.nodes, scene.location, scene.lights, NOW, &signal), 1);
    for (const ApproachMovement& m : signal.movements) {
        int matched = 0;
        for (const XmlElement* e : byClass(elements, "movement")) {
            if (e->attr("data-node") == "1001" && e->attr("data-upstream") == "1005" &&
                e->attr("data-remote") == std::to_string((long long)m.remoteNodeId)) {
                ++matched;
                EXPECT_EQ(e->attr("data-state"), lightName(m.now.light));
                EXPECT_NEAR(std::stod(e->attr("data-countdown")), m.now.remaining, 0.05);
            }
        }
        EXPECT_EQ(matched, 1) << m.remoteNodeId;
    }
    // Nothing beyond the reach: 100 m around a vehicle 2 km north.
    scene.fix = fixAt(0.0, 2000.0, 0.0f, NOW);
    EXPECT_EQ(byClass(drawn(scene, DrawOptions()), "node").size(), 0u);
}

TEST(MapPicture, HostileTextStaysWellFormed)
{
    MapScene scene = sampleScene();
    const char hostile[] = "<b>&amp; \"x\" 'y'\x01\xff\xc3 end";
    memcpy(scene.rsi[0].text, hostile, sizeof hostile);
    memset(scene.rsi[0].sourceID, 'S', sizeof scene.rsi[0].sourceID);  // no terminator
    LMNodeExtend& node = scene.nodes.begin()->second;
    memset(node.name, '&', sizeof node.name);  // a full field, no terminator
    strncpy(scene.obus[0].id, "<obu>", sizeof scene.obus[0].id);
    std::vector<XmlElement> elements = drawn(scene, DrawOptions());
    bool rsiText = false;
    for (const XmlElement& e : elements) {
        rsiText = rsiText || e.text == "SSSSSSSSSSSSSSSS#1: <b>&amp; \"x\" 'y'??? end";
    }
    EXPECT_TRUE(rsiText);
    ASSERT_EQ(byClass(elements, "participant").size(), 3u);
    EXPECT_EQ(byClass(elements, "participant")[1]->attr("data-id"), "<obu>");
}

TEST(MapPicture, SameStateSameBytesAsTheGoldenFile)
{
    MapScene scene = sampleScene();
    std::string first, second;
    drawn(scene, DrawOptions(), &first);
    drawn(scene, DrawOptions(), &second);
    EXPECT_EQ(first, second);
    const std::string golden = V2XSHM_DRAW_GOLDEN;
    if (getenv("V2XSHM_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(golden, std::ios::binary) << first;
    }
    std::ifstream in(golden, std::ios::binary);
    std::stringstream expected;
    expected << in.rdbuf();
    EXPECT_TRUE(first == expected.str()) << "the picture differs from " << golden
                                         << " (V2XSHM_UPDATE_GOLDEN=1 rewrites it)";
}

TEST(MapPicture, RefusesBadArguments)
{
    MapScene scene = sampleScene();
    std::string svg = "kept";
    DrawOptions options;
    for (double around : {0.0, -1.0, (double)NAN, DRAW_MAX_AROUND + 1}) {
        options.aroundMetres = around;
        EXPECT_EQ(drawScene(scene, options, NOW, &svg), -1) << around;
    }
    options = DrawOptions();
    options.nodeId = 999;
    EXPECT_EQ(drawScene(scene, options, NOW, &svg), -2);
    EXPECT_EQ(svg, "kept");
    EXPECT_EQ(drawScene(scene, DrawOptions(), NOW, nullptr), -1);
}

// From the lists: nothing when the node list has no owner, and no segment
// made by asking; with owners, what they hold, the lists without an owner
// named in the legend.
TEST(MapPictureFromLists, DrawsWhatTheOwnersHoldAndCreatesNothing)
{
    const int keys[] = {LMNodeListMng::SHM_KEY, LMTLListMng::SHM_KEY, DevGNSSMng::SHM_KEY, LMMapResMng::SHM_KEY,
                        77201, 77202, 77203, 77302, 77403, 77502};
    std::string svg;
    EXPECT_EQ(drawCurrentMap(&svg, DrawOptions(), NOW), 0);
    std::vector<XmlElement> elements;
    std::string why;
    ASSERT_TRUE(parseXml(svg, &elements, &why)) << why;
    EXPECT_NE(byId(elements, "no-map"), nullptr);
    for (int key : keys) {
        EXPECT_FALSE(probeListOwner(key).segment) << key;
    }

    MapScene scene = sampleScene();
    LMNodeListMng map(true);
    map.nodes = scene.nodes;
    ASSERT_EQ(map.commit(), 1);
    LMTLListMng lights(true);
    lights.lights = scene.lights;
    ASSERT_EQ(lights.commit(), 1);
    DevGNSSMng gnss(true);
    gnss.gnss = scene.fix;
    ASSERT_EQ(gnss.commit(), 1);
    ASSERT_EQ(drawCurrentMap(&svg, DrawOptions(), NOW), 1);
    ASSERT_TRUE(parseXml(svg, &elements, &why)) << why;
    EXPECT_EQ(byClass(elements, "node").size(), 2u);
    EXPECT_NE(byId(elements, "vehicle"), nullptr);
    EXPECT_EQ(byId(elements, "located-link"), nullptr);
    EXPECT_NE(svg.find(">rsi, trace, location, ptc, obu, <"), std::string::npos);
    EXPECT_NE(svg.find(">rsu, targets<"), std::string::npos);
    ASSERT_FALSE(byClass(elements, "movement").empty());
    EXPECT_NE(byClass(elements, "movement")[0]->attr("data-state"), "none");
    DrawOptions options;
    options.nodeId = 999;
    EXPECT_EQ(drawCurrentMap(&svg, options, NOW), -2);
    for (int key : {77201, 77202, 77203, 77302, 77403, 77502}) {
        EXPECT_FALSE(probeListOwner(key).segment) << key;
    }
}
