#include "support/files/Cancellation.h"

#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "support/files/guardedCall.h"
#include "support/files/runInBackground.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

namespace fw {

struct Cancellation::State {
    std::atomic<bool> isCancelled = false;

    std::mutex mutex;
    std::deque<Question> waiting;
    int askingThreads = 0;

    void take(Question question) {
        std::optional<bool> answer;
        guardedCall([&] { answer = question(); });
        if (!answer.value_or(false)) {
            isCancelled = true;
        }
    }

    /// Until none is waiting any more.
    void askAll() {
        std::unique_lock lock(mutex);
        while (!waiting.empty()) {
            Question question = std::move(waiting.front());
            waiting.pop_front();
            lock.unlock();
            take(std::move(question));
            lock.lock();
        }
        --askingThreads;
    }
};

Cancellation::Cancellation() : state_(std::make_shared<State>()) {}

bool Cancellation::isCancelled() const {
    return state_->isCancelled;
}

void Cancellation::ask(Question question) const {
    const std::lock_guard lock(state_->mutex);
    state_->waiting.push_back(std::move(question));
    if (state_->askingThreads == kQuestionsAtOnce) {
        return;
    }
    const auto failure = runInBackground([state = state_] { state->askAll(); });
    if (!failure) {
        ++state_->askingThreads;
    } else if (state_->askingThreads == 0) { // Else those there are ask it, too.
        state_->waiting.clear();
        systemLog(formattedText("Unable to run in the background: %@", *failure));
    }
}

} // namespace fw
