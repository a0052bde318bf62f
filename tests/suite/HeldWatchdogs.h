#pragma once

#include "support/task/watchdogSleep.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace fw::test {

/// Watchdogs that begin to sleep while this lives sleep until they are woken, and tell for how long
/// they would have slept.
class HeldWatchdogs {
public:
    HeldWatchdogs()
        : before_(setWatchdogSleep(
              [state = state_](std::chrono::seconds time) { state->sleep(time); })) {}
    ~HeldWatchdogs() {
        wake();
        setWatchdogSleep(std::move(before_));
    }
    HeldWatchdogs(const HeldWatchdogs&) = delete;
    HeldWatchdogs& operator=(const HeldWatchdogs&) = delete;

    void wake() {
        const std::lock_guard lock(state_->mutex);
        state_->areAwake = true;
        state_->changed.notify_all();
    }
    std::vector<std::chrono::seconds> asked(std::size_t count) {
        std::unique_lock lock(state_->mutex);
        state_->changed.wait(lock, [&] { return state_->asked.size() >= count; });
        return state_->asked;
    }

private:
    /// The sleepers may outlive the test.
    struct State {
        void sleep(std::chrono::seconds time) {
            std::unique_lock lock(mutex);
            asked.push_back(time);
            changed.notify_all();
            changed.wait(lock, [&] { return areAwake; });
        }

        std::mutex mutex;
        std::condition_variable changed;
        std::vector<std::chrono::seconds> asked;
        bool areAwake = false;
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
    WatchdogSleep before_;
};

} // namespace fw::test
