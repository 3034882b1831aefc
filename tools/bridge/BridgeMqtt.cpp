// v2xshm bridge: the unit's lists to an MQTT broker; maps, lights, road-side
// information and configuration from it. libmosquitto's thread serves the
// broker; this one reads the lists, takes in what arrived and publishes. A
// list's lock is held only inside the list code (BridgeLists, BridgeInbox),
// never across a call into libmosquitto, and a publication never waits: while
// the broker is away or slow it is held back (the list stays "changed").
#include "Commands.h"

#include <mosquitto.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <iostream>
#include <mutex>

#include "BridgeFlow.h"
#include "BridgeInbox.h"
#include "BridgeLists.h"
#include "BridgeOptions.h"
#include "JsonText.h"
#include "shm/TimeTool.h"

namespace {

constexpr int QOS = 1;
constexpr int MAX_UNACKED = 64;     // publications not yet acknowledged before more are held back
constexpr size_t MAX_INBOX = 4096;  // messages waiting to be taken in; more are refused
constexpr int KEEPALIVE_S = 30;
volatile sig_atomic_t stopRequested = 0;
void onStopSignal(int) { stopRequested = 1; }

// What libmosquitto's thread shares with the bridge's thread.
struct Shared {
    std::mutex mutex;
    std::condition_variable wake;
    BoundedQueue<Incoming> inbox{MAX_INBOX};
    InFlight inFlight{MAX_UNACKED};
    bool connected = false;
    bool reconnected = false;  // a new connection: publish every list again
};

class Bridge {
public:
    explicit Bridge(const BridgeOptions& options) : opt_(options), started_(TimeTool::getPreciseTimeNow()) {}
    ~Bridge() { mosquitto_destroy(mosq_); }

    std::string start();
    void run();

private:
    static void onConnect(mosquitto*, void* self, int rc) { static_cast<Bridge*>(self)->connected(rc); }
    static void onDisconnect(mosquitto*, void* self, int rc) { static_cast<Bridge*>(self)->disconnected(rc); }
    static void onPublish(mosquitto*, void* self, int mid) { static_cast<Bridge*>(self)->acked(mid); }
    static void onMessage(mosquitto*, void* self, const mosquitto_message* m) { static_cast<Bridge*>(self)->arrived(m); }
    void acked(int mid)
    {
        std::lock_guard<std::mutex> lock(shared_.mutex);
        shared_.inFlight.acked(mid);
    }
    void connected(int rc);
    void disconnected(int rc);
    void arrived(const mosquitto_message* m);
    // Sends without waiting; false when held back or refused.
    bool publish(const std::string& topic, const std::string& payload, bool retain);
    void takeInArrived();
    // Refusals wait here while publications are held back; beyond the bound
    // the oldest go.
    void queueError(const Json& doc)
    {
        if (errorsOut_.items().size() >= MAX_INBOX) {
            errorsOut_.items().pop_front();
        }
        errorsOut_.push(jsonText(doc));
    }
    void publishLists();
    void tryConnect();

    BridgeOptions opt_;
    double started_;
    mosquitto* mosq_ = nullptr;
    bool looping_ = false;  // connected once; libmosquitto's thread reconnects from then on
    std::chrono::steady_clock::time_point nextAttempt_;
    int retryS_ = 1;
    Shared shared_;
    ChangeTracker tracker_;
    BoundedQueue<std::string> errorsOut_{MAX_INBOX};
};

std::string Bridge::start()
{
    mosq_ = mosquitto_new(nullptr, true, this);
    if (mosq_ == nullptr) {
        return "could not make an MQTT client";
    }
    std::string status = "v2x/" + opt_.unit + "/status", offline = "offline";
    mosquitto_int_option(mosq_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    mosquitto_int_option(mosq_, MOSQ_OPT_SEND_MAXIMUM, 20);
    mosquitto_reconnect_delay_set(mosq_, 1, 30, true);
    mosquitto_will_set(mosq_, status.c_str(), (int)offline.size(), offline.data(), QOS, true);
    if (!opt_.username.empty()) {
        mosquitto_username_pw_set(mosq_, opt_.username.c_str(), opt_.password.empty() ? nullptr : opt_.password.c_str());
    }
    if (!opt_.caFile.empty()) {
        int rc = mosquitto_tls_set(mosq_, opt_.caFile.c_str(), nullptr,
                                   opt_.certFile.empty() ? nullptr : opt_.certFile.c_str(),
                                   opt_.keyFile.empty() ? nullptr : opt_.keyFile.c_str(), nullptr);
        if (rc != MOSQ_ERR_SUCCESS) {
            return std::string("TLS set-up failed: ") + mosquitto_strerror(rc);
        }
    }
    mosquitto_connect_callback_set(mosq_, onConnect);
    mosquitto_disconnect_callback_set(mosq_, onDisconnect);
    mosquitto_publish_callback_set(mosq_, onPublish);
    mosquitto_message_callback_set(mosq_, onMessage);
    nextAttempt_ = std::chrono::steady_clock::now();
    return "";
}

// A broker not up yet is no error: the first connection is retried with
// growing delays, as libmosquitto retries later ones.
void Bridge::tryConnect()
{
    int rc = mosquitto_connect_async(mosq_, opt_.host.c_str(), opt_.port, KEEPALIVE_S);
    if (rc == MOSQ_ERR_SUCCESS) {
        rc = mosquitto_loop_start(mosq_);
        looping_ = rc == MOSQ_ERR_SUCCESS;
    }
    if (!looping_) {
        std::cerr << "v2xshm: bridge: " << opt_.host << ":" << opt_.port << ": " << mosquitto_strerror(rc)
                  << "; trying again in " << retryS_ << " s" << std::endl;
        nextAttempt_ = std::chrono::steady_clock::now() + std::chrono::seconds(retryS_);
        retryS_ = std::min(retryS_ * 2, 30);
    }
}

void Bridge::connected(int rc)
{
    if (rc != 0) {
        std::cerr << "v2xshm: bridge: broker refused the connection: " << mosquitto_connack_string(rc) << std::endl;
        return;
    }
    for (const std::string& topic : inboxTopics(opt_.unit)) {
        mosquitto_subscribe(mosq_, nullptr, topic.c_str(), QOS);
    }
    std::string status = jsonText(statusDoc(opt_.unit, started_, opt_.lists, opt_.periodMs));
    mosquitto_publish(mosq_, nullptr, ("v2x/" + opt_.unit + "/status").c_str(), (int)status.size(), status.data(),
                      QOS, true);
    {
        std::lock_guard<std::mutex> lock(shared_.mutex);
        shared_.connected = true;
        shared_.reconnected = true;
        shared_.inFlight.clear();
    }
    std::cout << "connected to " << opt_.host << ":" << opt_.port << std::endl;
    shared_.wake.notify_one();
}

void Bridge::disconnected(int rc)
{
    std::lock_guard<std::mutex> lock(shared_.mutex);
    if (shared_.connected) {  // once, not at each failed attempt
        std::cout << "disconnected from " << opt_.host << ":" << opt_.port << " (" << mosquitto_strerror(rc)
                  << ")" << (rc == 0 ? "" : "; reconnecting") << std::endl;
    }
    shared_.connected = false;
}

void Bridge::arrived(const mosquitto_message* m)
{
    const char* bytes = static_cast<const char*>(m->payload);
    std::lock_guard<std::mutex> lock(shared_.mutex);
    if (shared_.inbox.push({m->topic, std::vector<char>(bytes, bytes + (m->payloadlen > 0 ? m->payloadlen : 0))})) {
        shared_.wake.notify_one();
    }
}

bool Bridge::publish(const std::string& topic, const std::string& payload, bool retain)
{
    {
        std::lock_guard<std::mutex> lock(shared_.mutex);
        if (!shared_.connected || shared_.inFlight.full()) {
            return false;
        }
    }
    int mid = 0;
    int rc = mosquitto_publish(mosq_, &mid, topic.c_str(), (int)payload.size(), payload.data(), QOS, retain);
    if (rc != MOSQ_ERR_SUCCESS) {
        return false;
    }
    std::lock_guard<std::mutex> lock(shared_.mutex);
    shared_.inFlight.sent(mid);
    return true;
}

void Bridge::takeInArrived()
{
    size_t refused = 0;
    std::deque<Incoming> batch;
    {
        std::lock_guard<std::mutex> lock(shared_.mutex);
        batch = shared_.inbox.take(&refused);
    }
    double now = TimeTool::getPreciseTimeNow();
    if (refused > 0) {
        queueError(errorDoc("", std::to_string(refused) + " messages refused: still taking in earlier ones", now));
    }
    for (const Incoming& in : batch) {
        std::string why = takeIn(opt_.unit, opt_.configKeys, in.topic, in.payload);  // locks inside, none after
        if (!why.empty()) {
            queueError(errorDoc(in.topic, why, now));
        }
    }
}

void Bridge::publishLists()
{
    {
        std::lock_guard<std::mutex> lock(shared_.mutex);
        if (!shared_.connected) {
            return;
        }
        if (shared_.reconnected) {
            tracker_.forgetAll();
            shared_.reconnected = false;
        }
    }
    double now = TimeTool::getPreciseTimeNow();
    for (const std::string& list : opt_.lists) {
        Json doc;
        std::string why;
        if (!listView(list, now, &doc, &why) || !tracker_.changed(list, doc)) {
            continue;
        }
        if (publish("v2x/" + opt_.unit + "/" + list, jsonText(doc), false)) {
            tracker_.published(list, doc);
        }
    }
}

void Bridge::run()
{
    auto next = std::chrono::steady_clock::now();
    while (!stopRequested) {
        if (!looping_ && std::chrono::steady_clock::now() >= nextAttempt_) {
            tryConnect();
        }
        {
            std::unique_lock<std::mutex> lock(shared_.mutex);
            auto until = std::min(next, std::chrono::steady_clock::now() +
                                            std::chrono::milliseconds(errorsOut_.empty() ? 100 : 10));
            shared_.wake.wait_until(lock, until, [this] { return !shared_.inbox.empty(); });
        }
        takeInArrived();
        while (!errorsOut_.empty() && publish("v2x/" + opt_.unit + "/errors", errorsOut_.items().front(), false)) {
            errorsOut_.items().pop_front();
        }
        if (std::chrono::steady_clock::now() >= next) {
            publishLists();
            next = std::max(next + std::chrono::milliseconds(opt_.periodMs), std::chrono::steady_clock::now());
        }
    }
    // Leaving on purpose: say so, since the will only speaks for a lost
    // connection. Packets go out in order: the status before the disconnection.
    publish("v2x/" + opt_.unit + "/status", "offline", true);
    mosquitto_disconnect(mosq_);
    if (looping_) {
        mosquitto_loop_stop(mosq_, false);
    }
}

}  // namespace

int cmdBridge(const ToolArgs& args)
{
    BridgeOptions options;
    std::string bad = parseBridgeOptions(args.words, &options);
    if (!bad.empty()) {
        return usageError(bad);
    }
    signal(SIGINT, onStopSignal);
    signal(SIGTERM, onStopSignal);
    signal(SIGPIPE, SIG_IGN);
    mosquitto_lib_init();
    int rc = EXIT_OK;
    {
        Bridge bridge(options);
        bad = bridge.start();
        if (bad.empty()) {
            std::cout << "bridging unit " << options.unit << " to " << options.host << ":" << options.port
                      << " every " << options.periodMs << " ms" << std::endl;
            bridge.run();
        } else {
            rc = failure("bridge: " + bad);
        }
    }
    mosquitto_lib_cleanup();
    return rc;
}
