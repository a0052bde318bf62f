#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace fw {

/// A flag that the answers to questions set, which are asked in the background. Copies share it.
class Cancellation {
public:
    /// An answer that is false or empty cancels, and so does a question that throws, which is told
    /// to the system log.
    using Question = std::function<std::optional<bool>()>;

    /// Returns at once; the answer comes when it comes.
    void ask(Question question) const;
    bool isCancelled() const { return *flag_; }

private:
    std::shared_ptr<std::atomic<bool>> flag_ = std::make_shared<std::atomic<bool>>(false);
};

} // namespace fw
