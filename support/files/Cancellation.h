#pragma once

#include <functional>
#include <memory>
#include <optional>

namespace fw {

/// A flag that the answers to an operation's questions set, which are asked in the background.
/// Copies share it. Safe from any thread.
class Cancellation {
public:
    /// So many questions of one operation are asked at the same time; more of them wait for their
    /// turn, and for no other operation's.
    static constexpr int kQuestionsAtOnce = 4;

    /// An answer that is false or empty cancels, and so does a question that throws, which is told
    /// to the system log.
    using Question = std::function<std::optional<bool>()>;

    Cancellation();

    /// Returns at once; the answer comes when it comes, beside those to other questions. Where the
    /// system has no thread for it the question is not asked, which the system log is told.
    void ask(Question question) const;
    bool isCancelled() const;

private:
    struct State;

    std::shared_ptr<State> state_;
};

} // namespace fw
