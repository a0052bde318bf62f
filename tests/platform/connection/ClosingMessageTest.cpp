#include "base/PlatformException.h"
#include "platform/connection/ConnectionName.h"
#include "platform/connection/ParentConnection.h"
#include "tests/platform/connection/RecordingParent.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

constexpr const char* kName = "Oxbow - /movie.mov";

class ClosingMessage : public testing::Test {
protected:
    ClosingMessage() {
        options_.runtimeFolders = {{folder_.path(), false}};
        options_.closingLimit = std::chrono::milliseconds(50);
        options_.introspectionLimit = std::chrono::milliseconds(50);
    }

    test::TemporaryFolder folder_;
    ParentConnectionOptions options_;
    test::Received received_;
};

TEST(ParentConnectionLimits, OutlastAParentThatStallsForTenSeconds) {
    EXPECT_EQ(ParentConnectionOptions{}.closingLimit, std::chrono::seconds(30));
    EXPECT_EQ(ParentConnectionOptions{}.introspectionLimit, std::chrono::seconds(5));
}

TEST_F(ClosingMessage, HasBeenHandledByTheParentWhenItReturns) {
    options_.closingLimit = std::chrono::seconds(30);
    std::atomic<int> handled = 0;
    ParentOperations operations;
    operations.frameProcessingFinished = [&handled] {
        ++handled;
    };
    operations.frameProcessingFailedWithError = [&handled](const Error&) {
        ++handled;
    };
    test::ServingThread parent(kName, operations, options_.runtimeFolders);
    const auto proxy = connectionWithOptions(kName, options_)->rootProxy();
    proxy->frameProcessingFailedWithError({});
    EXPECT_EQ(handled, 1);
    proxy->frameProcessingFinished();
    EXPECT_EQ(handled, 2);
}

TEST_F(ClosingMessage, AnErrorForAnAnswerIsAnAnswer) {
    ParentOperations none;
    test::ServingThread parent(kName, none, options_.runtimeFolders);
    const auto proxy = connectionWithOptions(kName, options_)->rootProxy();
    EXPECT_NO_THROW(proxy->frameProcessingFinished());
    EXPECT_NO_THROW(proxy->frameProcessingFailedWithError({}));
}

/// Greets and takes what comes, but is slow to handle one note: until released, nothing behind
/// that note is answered.
class SlowParent {
public:
    SlowParent(test::Received& received, const std::vector<RuntimeFolder>& folders) {
        ParentOperations operations = test::recordInto(received);
        operations.callback = [this](const std::string&) {
            std::unique_lock lock(mutex_);
            isReleased_.wait(lock, [this] { return released_; });
        };
        parent_ = std::make_unique<test::ServingThread>(kName, operations, folders);
    }
    ~SlowParent() { release(); }
    void release() {
        {
            const std::lock_guard lock(mutex_);
            released_ = true;
        }
        isReleased_.notify_all();
    }
    void stop() { parent_->stop(); }

private:
    std::mutex mutex_;
    std::condition_variable isReleased_;
    bool released_ = false;
    std::unique_ptr<test::ServingThread> parent_;
};

TEST_F(ClosingMessage, WaitsNoLongerThanItsLimit) {
    SlowParent parent(received_, options_.runtimeFolders);
    const auto proxy = connectionWithOptions(kName, options_)->rootProxy();
    proxy->callback("hold");
    EXPECT_THROW(proxy->frameProcessingFinished(), PlatformException);
    EXPECT_THROW(proxy->frameProcessingFailedWithError({}), PlatformException);
}

TEST_F(ClosingMessage, IsNotLostWhenTheParentIsLate) {
    SlowParent parent(received_, options_.runtimeFolders);
    auto connection = connectionWithOptions(kName, options_);
    connection->rootProxy()->callback("hold");
    EXPECT_THROW(connection->rootProxy()->frameProcessingFinished(), PlatformException);
    connection.reset();
    parent.release();
    parent.stop();
    EXPECT_EQ(received_.finished, 1);
}

TEST_F(ClosingMessage, AParentThatDoesNotSayInTimeRespondsToNothing) {
    SlowParent parent(received_, options_.runtimeFolders);
    const auto proxy = connectionWithOptions(kName, options_)->rootProxy();
    proxy->callback("hold");
    EXPECT_FALSE(proxy->respondsTo("frameProcessed:"));
    parent.release();
    options_.introspectionLimit = std::chrono::seconds(30);
    EXPECT_TRUE(connectionWithOptions(kName, options_)->rootProxy()->respondsTo("frameProcessed:"));
    EXPECT_NO_THROW(proxy->callback("the late answer does no harm"));
}

TEST_F(ClosingMessage, AParentThatDoesNotEvenGreetRespondsToNothing) {
    const auto silent = ParentServer::publish(kName, {}, options_.runtimeFolders);
    ASSERT_TRUE(silent);
    const auto proxy = connectionWithOptions(kName, options_)->rootProxy();
    EXPECT_FALSE(proxy->respondsTo("frameProcessed:"));
}

} // namespace
} // namespace fw
