#include "support/log/WriteQueue.h"

#include "platform/files/SizeLimitAsError.h"
#include "support/CrashReports.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// How many texts the consumer gets at once. What it has got can no longer be dropped.
constexpr std::size_t kMostAtOnce = 128;
constexpr std::chrono::microseconds kGatheringTime{500};

} // namespace

WriteQueue::WriteQueue(Consumer consumer)
    : state_(std::make_shared<State>()),
      worker_([state = state_, consumer = std::move(consumer)] { work(state, consumer); }),
      workerId_(worker_.get_id()) {}

WriteQueue::~WriteQueue() {
    close();
}

void WriteQueue::enqueue(std::string_view text) {
    bool isWorkerIdle = false;
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->isClosed) {
            return;
        }
        isWorkerIdle = std::exchange(state_->isIdle, false);
        state_->waiting.add(text);
        ++state_->queued;
        if (isWorker()) {
            state_->lastOfWorker = state_->queued;
        }
    }
    if (isWorkerIdle) {
        state_->hasWork.notify_one();
    }
}

std::size_t WriteQueue::pendingCount() const {
    const std::lock_guard lock(state_->mutex);
    return state_->queued - state_->finished;
}

void WriteQueue::waitUntilFinished(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(state_->mutex);
    ++state_->waiters;
    state_->isHurried.notify_one();
    const auto waitFor = [&](std::uint64_t last) {
        state_->hasFinished.wait_until(
            lock, end, [&] { return state_->isAbandoned || state_->finished >= last; });
    };
    waitFor(state_->queued);
    waitFor(state_->lastOfWorker); // What the consumer added up to here, and no more.
    --state_->waiters;
}

void WriteQueue::close() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->isClosed = true;
    }
    state_->hasWork.notify_one();
    state_->isHurried.notify_one();
    if (worker_.joinable()) {
        worker_.join();
    }
}

void WriteQueue::abandon() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->isClosed = true;
        state_->isAbandoned = true;
        state_->finished += state_->waiting.size();
        state_->waiting.clear();
    }
    state_->hasWork.notify_one();
    state_->isHurried.notify_one();
    state_->hasFinished.notify_all();
    if (worker_.joinable()) {
        worker_.detach();
    }
}

void WriteQueue::work(const std::shared_ptr<State>& state, const Consumer& consumer) {
    const CrashReportedThread reported;
    const SizeLimitAsError limit;
    // Two lists in turn: what came in is taken at once, and neither is made anew.
    TextList taken;
    std::unique_lock lock(state->mutex);
    for (;;) {
        gather(*state, lock);
        if (state->waiting.empty()) {
            return;
        }
        std::swap(taken, state->waiting);
        lock.unlock();
        consume(*state, taken, consumer);
        taken.clear();
        lock.lock();
    }
}

/// Waits for texts; there are none afterwards only when the queue is closed.
void WriteQueue::gather(State& state, std::unique_lock<std::mutex>& lock) {
    state.isIdle = state.waiting.empty();
    state.hasWork.wait(lock, [&] { return state.isClosed || !state.waiting.empty(); });
    state.isIdle = false;
    state.isHurried.wait_for(lock, kGatheringTime,
                             [&] { return state.isClosed || state.waiters > 0; });
}

void WriteQueue::consume(State& state, const TextList& texts, const Consumer& consumer) {
    std::vector<std::string_view> next;
    for (std::size_t i = 0; i < texts.size() && !state.isAbandoned;) {
        next.clear();
        while (i < texts.size() && next.size() < kMostAtOnce) {
            next.push_back(texts[i++]);
        }
        consumer(next);
        const std::lock_guard lock(state.mutex);
        state.finished += next.size();
        state.hasFinished.notify_all();
    }
}

} // namespace fw
