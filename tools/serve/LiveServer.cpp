#include "LiveServer.h"

#include <httplib.h>
#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "JsonText.h"
#include "LiveLists.h"
#include "shm/TimeTool.h"

namespace {

constexpr size_t WORKERS = 8;          // clients served at once
constexpr size_t QUEUED = 16;          // connections waiting beyond them before 503
constexpr time_t IO_TIMEOUT_S = 2;     // a client silent this long loses its worker
constexpr double FRESH_S = 0.15;       // a snapshot this old is served as is
constexpr double IDLE_AFTER_S = 3.0;   // no request for this long: stop sampling
constexpr auto PERIOD = std::chrono::milliseconds(100);

// Set in a worker for a connection accepted while the queue was full.
thread_local bool overCap = false;

// A fixed pool of workers whose queue marks the connections beyond its cap,
// so they are answered 503 (and closed) instead of waiting behind the rest.
class CappedPool : public httplib::TaskQueue {
public:
    CappedPool()
    {
        for (size_t i = 0; i < WORKERS; ++i) {
            workers_.emplace_back([this] { work(); });
        }
    }
    void enqueue(std::function<void()> fn) override
    {
        std::lock_guard<std::mutex> hold(mutex_);
        bool over = jobs_.size() >= QUEUED;
        jobs_.push_back([fn, over] {
            overCap = over;
            fn();
        });
        ready_.notify_one();
    }
    void shutdown() override
    {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            stopping_ = true;
        }
        ready_.notify_all();
        for (std::thread& t : workers_) {
            t.join();
        }
    }

private:
    void work()
    {
        for (;;) {
            std::function<void()> job;
            {
                std::unique_lock<std::mutex> hold(mutex_);
                ready_.wait(hold, [this] { return stopping_ || !jobs_.empty(); });
                if (jobs_.empty()) {
                    return;
                }
                job = std::move(jobs_.front());
                jobs_.pop_front();
            }
            job();
        }
    }
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::function<void()>> jobs_;
    std::vector<std::thread> workers_;
    bool stopping_ = false;
};

// The sampling thread and the newest snapshot. Requests take a reference to
// a finished snapshot under the mutex and write it out after releasing it.
class Sampler {
public:
    Sampler() : thread_([this] { run(); }) {}
    ~Sampler()
    {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }
    std::shared_ptr<const LiveSnapshot> latest()
    {
        std::unique_lock<std::mutex> hold(mutex_);
        lastAsked_ = TimeTool::getPreciseTimeNow();
        if (!snapshot_ || lastAsked_ - snapshot_->takenAt > FRESH_S) {
            wake_.notify_all();
            fresh_.wait_for(hold, std::chrono::seconds(1), [this] {
                return stopping_ || (snapshot_ && TimeTool::getPreciseTimeNow() - snapshot_->takenAt <= FRESH_S);
            });
        }
        return snapshot_;
    }

private:
    void run()
    {
        std::unique_lock<std::mutex> hold(mutex_);
        while (!stopping_) {
            if (TimeTool::getPreciseTimeNow() - lastAsked_ > IDLE_AFTER_S) {
                wake_.wait(hold);
                continue;
            }
            hold.unlock();
            auto next = std::make_shared<LiveSnapshot>();
            bool taken = takeSnapshot(TimeTool::getPreciseTimeNow(), next.get()) == 1;
            hold.lock();
            if (taken) {
                snapshot_ = std::move(next);
                fresh_.notify_all();
            }
            wake_.wait_for(hold, PERIOD, [this] { return stopping_; });
        }
        fresh_.notify_all();
    }
    std::mutex mutex_;
    std::condition_variable wake_;   // the sampler: stop, or a request wants a fresh snapshot
    std::condition_variable fresh_;  // requests: a snapshot was taken
    std::shared_ptr<const LiveSnapshot> snapshot_;
    double lastAsked_ = 0.0;
    bool stopping_ = false;
    std::thread thread_;
};

void routes(httplib::Server& server, Sampler& sampler)
{
    server.set_pre_routing_handler([](const httplib::Request& req, httplib::Response& res) {
        if (overCap) {
            res.status = 503;
            res.set_header("Retry-After", "1");
            res.set_header("Connection", "close");
            res.set_content("too many clients\n", "text/plain");
            return httplib::Server::HandlerResponse::Handled;
        }
        if (req.method != "GET" && req.method != "HEAD") {
            res.status = 405;
            res.set_header("Allow", "GET, HEAD");
            res.set_content("only GET and HEAD\n", "text/plain");
            return httplib::Server::HandlerResponse::Handled;
        }
        return httplib::Server::HandlerResponse::Unhandled;
    });
    server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
        if (res.status == 404) {
            res.set_content("not found\n", "text/plain");
        }
    });
    server.set_default_headers({{"Cache-Control", "no-store"}});
    server.Get("/", [](const httplib::Request&, httplib::Response& res) {
        res.set_content(LIVE_PAGE_HTML, "text/html; charset=utf-8");
    });
    // Each answer copies its text out of a snapshot no lock guards any more.
    auto fromSnapshot = [&sampler](httplib::Response& res, const char* type,
                                   const std::function<const std::string*(const LiveSnapshot&)>& pick) {
        std::shared_ptr<const LiveSnapshot> snap = sampler.latest();
        const std::string* text = snap ? pick(*snap) : nullptr;
        if (text == nullptr) {
            res.status = snap ? 404 : 503;
            return;
        }
        res.set_content(*text, type);
    };
    server.Get("/map.svg", [fromSnapshot](const httplib::Request&, httplib::Response& res) {
        fromSnapshot(res, "image/svg+xml", [](const LiveSnapshot& s) { return &s.svg; });
    });
    server.Get("/api/state", [fromSnapshot](const httplib::Request&, httplib::Response& res) {
        fromSnapshot(res, "application/json", [](const LiveSnapshot& s) { return &s.state; });
    });
    const std::string listNames = jsonText(Json(servedLists()));
    server.Get("/api/lists", [listNames](const httplib::Request&, httplib::Response& res) {
        res.set_content(listNames, "application/json");
    });
    server.Get(R"(/api/list/([a-z]+))", [fromSnapshot](const httplib::Request& req, httplib::Response& res) {
        std::string name = req.matches[1];
        fromSnapshot(res, "application/json", [&name](const LiveSnapshot& s) -> const std::string* {
            for (const LiveList& list : s.lists) {
                if (list.name == name) {
                    return &list.json;
                }
            }
            return nullptr;
        });
    });
}

}  // namespace

int serveLivePage(const ServeOptions& options)
{
    // SIGINT and SIGTERM are taken by one thread that stops the server; every
    // other thread (workers, sampler) starts with them blocked.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    Sampler sampler;
    httplib::Server server;
    server.new_task_queue = [] { return new CappedPool(); };
    server.set_read_timeout(IO_TIMEOUT_S, 0);
    server.set_write_timeout(IO_TIMEOUT_S, 0);
    server.set_keep_alive_timeout(IO_TIMEOUT_S);
    server.set_keep_alive_max_count(100);
    server.set_payload_max_length(4096);
    routes(server, sampler);
    if (!server.bind_to_port(options.bind, options.port)) {
        std::cerr << "v2xshm: cannot listen on " << options.bind << " port " << options.port << std::endl;
        return 1;
    }
    std::atomic<bool> listening{true};
    std::thread stopper([&] {
        const timespec tick{0, 200 * 1000 * 1000};
        while (listening && sigtimedwait(&stopSignals, nullptr, &tick) < 0) {
        }
        server.stop();
    });
    std::cout << "serving http://" << options.bind << ":" << options.port << "/" << std::endl;
    bool ok = server.listen_after_bind();
    listening = false;
    stopper.join();
    std::cout << "stopped" << std::endl;
    return ok ? 0 : 1;
}
