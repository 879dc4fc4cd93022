#pragma once

// Arrivals and departures of USB devices, handed from libusb's event thread to the
// user-interface thread. The event thread only pushes; the user-interface thread takes
// everything that arrived, in arrival order, when it yields. The open waits for the board with
// ten thousand yields, so the common case (nothing pending) is one atomic load and no lock.

#include <atomic>
#include <cstddef>
#include <mutex>
#include <vector>

namespace i2cbridge {

template <typename Device>
class HotplugQueue {
public:
    struct Event {
        bool arrived;  // false: the device left
        Device device;
    };

    // Event thread.
    void push(bool arrived, Device device) {
        std::lock_guard lock(mutex_);
        events_.push_back({arrived, device});
        pending_.store(true, std::memory_order_release);
    }

    bool hasPending() const { return pending_.load(std::memory_order_acquire); }

    // User-interface thread: everything queued so far, oldest first.
    std::vector<Event> takeAll() {
        std::vector<Event> taken;
        if (!hasPending()) return taken;
        std::lock_guard lock(mutex_);
        taken.swap(events_);
        pending_.store(false, std::memory_order_release);
        return taken;
    }

    // True when a departure of this device is waiting: the device is already gone even though
    // its detach has not been delivered yet.
    bool departurePending(const Device& device) const {
        if (!hasPending()) return false;
        std::lock_guard lock(mutex_);
        for (const Event& e : events_)
            if (!e.arrived && e.device == device) return true;
        return false;
    }

    // True when events[i] is an arrival and the same device leaves later in the list: a board
    // plugged in and pulled out again before anybody looked is not worth opening.
    static bool leavesLater(const std::vector<Event>& events, std::size_t i) {
        if (i >= events.size() || !events[i].arrived) return false;
        for (std::size_t j = i + 1; j < events.size(); ++j)
            if (!events[j].arrived && events[j].device == events[i].device) return true;
        return false;
    }

private:
    mutable std::mutex mutex_;
    std::vector<Event> events_;
    std::atomic<bool> pending_{false};
};

}  // namespace i2cbridge
