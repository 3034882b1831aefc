#ifndef V2XSHM_TOOLS_BRIDGE_BRIDGEFLOW_H
#define V2XSHM_TOOLS_BRIDGE_BRIDGEFLOW_H

#include <cstddef>
#include <deque>
#include <set>
#include <string>
#include <vector>

// The bounds that keep the bridge from queueing without end when the broker
// is slow or gone, or floods it. None of these lock: their user does.

// Publications sent and not yet acknowledged. Past the limit more are held
// back by the sender. An acknowledgement may come in before the sender has
// learnt the id of what it sent; it is kept until then.
class InFlight {
public:
    explicit InFlight(size_t limit) : limit_(limit) {}
    bool full() const { return unacked_.size() >= limit_; }
    void sent(int mid)
    {
        if (ackedEarly_.erase(mid) == 0) {
            unacked_.insert(mid);
        }
    }
    void acked(int mid)
    {
        if (unacked_.erase(mid) == 0) {
            ackedEarly_.insert(mid);
        }
    }
    // A new connection: what was in flight is the client's to send again.
    void clear()
    {
        unacked_.clear();
        ackedEarly_.clear();
    }

private:
    size_t limit_;
    std::set<int> unacked_;
    std::set<int> ackedEarly_;
};

// A queue that keeps at most `limit` items, counting those it turned away.
template <typename Item>
class BoundedQueue {
public:
    explicit BoundedQueue(size_t limit) : limit_(limit) {}
    bool push(Item item)
    {
        if (items_.size() >= limit_) {
            ++refused_;
            return false;
        }
        items_.push_back(std::move(item));
        return true;
    }
    // Everything queued, and how many were turned away since the last take.
    std::deque<Item> take(size_t* refused)
    {
        std::deque<Item> out;
        out.swap(items_);
        *refused = refused_;
        refused_ = 0;
        return out;
    }
    bool empty() const { return items_.empty(); }
    std::deque<Item>& items() { return items_; }

private:
    size_t limit_;
    size_t refused_ = 0;
    std::deque<Item> items_;
};

struct Incoming {
    std::string topic;
    std::vector<char> payload;
};

#endif
