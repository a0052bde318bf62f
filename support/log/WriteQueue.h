#pragma once

#include "support/log/TextList.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <thread>

namespace fw {

/// A serial queue of texts. One worker thread hands them to a consumer in the order in which they
/// came, several at once when they wait together: woken by the first, it lets more gather for half
/// a millisecond unless somebody waits for the end. So a burst wakes it once, not with every text.
/// Safe from any thread, but for what waits: that must not be called on the worker.
class WriteQueue {
public:
    /// Called on the worker, where a limit of a file's size is an error like others; must not
    /// throw. It may add texts to the queue.
    using Consumer = std::function<void(std::span<const std::string_view> texts)>;

    /// Throws std::system_error when there is no thread to be had.
    explicit WriteQueue(Consumer consumer);
    /// Waits until every text is consumed.
    ~WriteQueue();
    WriteQueue(const WriteQueue&) = delete;
    WriteQueue& operator=(const WriteQueue&) = delete;

    /// Drops the text once the queue is closed.
    void enqueue(std::string_view text);
    /// Texts that wait or are being consumed.
    std::size_t pendingCount() const;
    bool isWorker() const { return std::this_thread::get_id() == workerId_; }

    /// Waits until every text that was queued before the call is consumed, and every text that
    /// the consumer added meanwhile; for so long at most.
    void waitUntilFinished(std::chrono::milliseconds limit = std::chrono::hours(24 * 365));
    /// Takes no more texts, and ends the worker when what waits is consumed.
    void close();
    /// Drops what waits, takes no more texts, and leaves the worker to itself: it may be stuck.
    /// Whoever waits is released.
    void abandon();

private:
    struct State {
        mutable std::mutex mutex;
        std::condition_variable hasWork;
        std::condition_variable isHurried;
        std::condition_variable hasFinished;
        TextList waiting;
        std::uint64_t queued = 0;
        std::uint64_t finished = 0;
        std::uint64_t lastOfWorker = 0; ///< The number of the last text that the worker added.
        int waiters = 0;
        bool isIdle = false; ///< The worker sleeps until it is told of a text.
        bool isClosed = false;
        std::atomic<bool> isAbandoned = false;
    };
    static void work(const std::shared_ptr<State>& state, const Consumer& consumer);
    static void gather(State& state, std::unique_lock<std::mutex>& lock);
    static void consume(State& state, const TextList& texts, const Consumer& consumer);

    std::shared_ptr<State> state_; ///< Outlives the queue where the worker does.
    std::thread worker_;
    std::thread::id workerId_;
};

} // namespace fw
