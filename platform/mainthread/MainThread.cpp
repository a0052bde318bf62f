#include "platform/mainthread/MainThread.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fw {
namespace {

using Clock = std::chrono::steady_clock;

enum class PostState { kWaiting, kRan, kDropped };

struct Post {
    std::function<void()> function;
    std::thread::id waiter; ///< Nobody's unless somebody waits for it.
    PostState state = PostState::kWaiting;
};

class PostQueue {
public:
    /// Null when the queue is closed.
    std::shared_ptr<Post> add(std::function<void()> function, std::thread::id waiter = {}) {
        const std::lock_guard lock(mutex_);
        if (isClosed_) {
            return nullptr;
        }
        posts_.push_back(std::make_shared<Post>(Post{std::move(function), waiter}));
        changed_.notify_all();
        return posts_.back();
    }

    bool waitFor(const Post& post) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return post.state != PostState::kWaiting; });
        return post.state == PostState::kRan;
    }

    std::size_t size() {
        const std::lock_guard lock(mutex_);
        return posts_.size();
    }

    /// False when there is none.
    bool runFirst() {
        const std::shared_ptr<Post> post = takeFirst();
        if (!post) {
            return false;
        }
        waiters_.push_back(post->waiter);
        post->function();
        post->function = nullptr; // What it holds goes before its waiter comes back.
        waiters_.pop_back();
        finish(*post, PostState::kRan);
        return true;
    }

    bool isRunningFor(std::thread::id waiter) const {
        return std::find(waiters_.begin(), waiters_.end(), waiter) != waiters_.end();
    }

    void waitForPostUntil(Clock::time_point end) {
        std::unique_lock lock(mutex_);
        changed_.wait_until(lock, end, [&] { return !posts_.empty(); });
    }

    void close() {
        std::deque<std::shared_ptr<Post>> dropped;
        {
            const std::lock_guard lock(mutex_);
            isClosed_ = true;
            dropped.swap(posts_);
        }
        for (const std::shared_ptr<Post>& post : dropped) {
            post->function = nullptr;
            finish(*post, PostState::kDropped);
        }
    }

private:
    std::shared_ptr<Post> takeFirst() {
        const std::lock_guard lock(mutex_);
        if (posts_.empty()) {
            return nullptr;
        }
        std::shared_ptr<Post> first = std::move(posts_.front());
        posts_.pop_front();
        return first;
    }

    void finish(Post& post, PostState state) {
        const std::lock_guard lock(mutex_);
        post.state = state;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<Post>> posts_;
    bool isClosed_ = false;
    std::vector<std::thread::id> waiters_; ///< For what runs now; the main thread's own.
};

/// Never destroyed: threads may post while the program ends.
PostQueue& queue() {
    static auto* const instance = new PostQueue;
    return *instance;
}

/// Not before now, and held at the end of the clock's range.
Clock::time_point timeAfter(std::chrono::milliseconds time) {
    const Clock::time_point now = Clock::now();
    const auto most = std::chrono::floor<std::chrono::milliseconds>(Clock::time_point::max() - now);
    return now + std::clamp(time, std::chrono::milliseconds::zero(), most);
}

} // namespace

bool isMainThread() {
    thread_local const bool isMain = ::gettid() == ::getpid();
    return isMain;
}

bool runOnMainThread(std::function<void()> function) {
    if (isMainThread()) {
        function();
        return true;
    }
    const std::shared_ptr<Post> post = queue().add(std::move(function), std::this_thread::get_id());
    return post && queue().waitFor(*post);
}

bool isMainThreadRunningFor(std::thread::id waiter) {
    return isMainThread() && queue().isRunningFor(waiter);
}

bool postToMainThread(std::function<void()> function) {
    return queue().add(std::move(function)) != nullptr;
}

void serviceMainThread() {
    if (!isMainThread()) {
        return;
    }
    // What these post waits for the next time, so that this ends.
    for (std::size_t left = queue().size(); left > 0 && queue().runFirst(); --left) {
    }
}

void serviceMainThread(std::chrono::milliseconds time) {
    if (!isMainThread()) {
        return;
    }
    const Clock::time_point end = timeAfter(time);
    do {
        serviceMainThread();
        queue().waitForPostUntil(end);
    } while (Clock::now() < end);
}

void closeMainThread() {
    queue().close();
}

} // namespace fw
