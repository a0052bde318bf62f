#include "base/PlatformException.h"
#include "platform/connection/Bus.h"
#include "platform/connection/ParentConnection.h"
#include "platform/connection/SocketPath.h"
#include "platform/connection/UnixSocket.h"
#include "tests/platform/connection/RecordingParent.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <systemd/sd-id128.h>

#include <functional>

namespace fw {
namespace {

constexpr const char* kName = "Oxbow - /movie.mov";

class ParentFailure : public testing::Test {
protected:
    ParentFailure() { options_.runtimeFolders = {{folder_.path(), false}}; }

    std::shared_ptr<ParentProxy> connect() const {
        const auto connection = connectionWithOptions(kName, options_);
        return connection ? connection->rootProxy() : nullptr;
    }
    std::unique_ptr<test::ServingThread> serve(const ParentOperations& operations) const {
        return std::make_unique<test::ServingThread>(kName, operations, options_.runtimeFolders);
    }

    test::TemporaryFolder folder_;
    ParentConnectionOptions options_;
    test::Received received_;
};

std::vector<std::pair<const char*, std::function<void(ParentProxy&)>>> allOperations() {
    return {{"respondsTo",
             [](ParentProxy& p) {
                 p.respondsTo("frameProcessed:");
             }},
            {"callback",
             [](ParentProxy& p) {
                 p.callback("note");
             }},
            {"frameProcessed",
             [](ParentProxy& p) {
                 p.frameProcessed({});
             }},
            {"failed",
             [](ParentProxy& p) {
                 p.frameProcessingFailedWithError({});
             }},
            {"finished", [](ParentProxy& p) {
                 p.frameProcessingFinished();
             }}};
}

TEST_F(ParentFailure, AParentThatDiedBeforeTheFirstMessageIsAnException) {
    for (const auto& [name, send] : allOperations()) {
        auto parent = serve(test::recordInto(received_));
        const auto proxy = connect();
        ASSERT_NE(proxy, nullptr);
        parent.reset();
        EXPECT_THROW(send(*proxy), PlatformException) << name;
    }
}

TEST_F(ParentFailure, AParentThatDiedBetweenMessagesIsAnExceptionAtTheNextOne) {
    for (const auto& [name, send] : allOperations()) {
        auto parent = serve(test::recordInto(received_));
        const auto proxy = connect();
        proxy->callback("init");
        parent.reset();
        EXPECT_THROW(send(*proxy), PlatformException) << name;
        EXPECT_THROW(send(*proxy), PlatformException) << name << ", once more";
    }
}

TEST_F(ParentFailure, AParentThatDiesWhileAMessageIsHeldBackIsAnException) {
    auto published = ParentServer::publish(kName, {}, options_.runtimeFolders);
    ASSERT_TRUE(published);
    std::unique_ptr<ParentServer> server = std::move(published).value();
    const auto proxy = connect();
    // It greets, then reads nothing until the scanner waits, then goes.
    std::thread parent([&server] {
        while (server->connectionCount() == 0) {
            server->dispatch();
        }
        for (int i = 0; i < 10; ++i) {
            server->dispatch();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        server.reset();
    });
    EXPECT_THROW(
        while (true) { proxy->callback(std::string(10000, 'x')); }, PlatformException);
    parent.join();
}

TEST_F(ParentFailure, AParentThatDiesBeforeItAnswersTheClosingMessageIsAnException) {
    int ready[2] = {};
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t parent = ::fork();
    if (parent == 0) {
        ParentOperations operations;
        operations.frameProcessingFinished = [] {
            ::_exit(0);
        };
        const auto server = ParentServer::publish(kName, operations, options_.runtimeFolders);
        static_cast<void>(!::write(ready[1], "y", 1));
        while (server) {
            pollfd readable = {server.value()->pollDescriptor(), POLLIN, 0};
            ::poll(&readable, 1, -1);
            server.value()->dispatch();
        }
        ::_exit(1);
    }
    char answer = 0;
    ASSERT_EQ(::read(ready[0], &answer, 1), 1);
    ::close(ready[0]);
    ::close(ready[1]);
    const auto proxy = connect();
    ASSERT_NE(proxy, nullptr);
    EXPECT_NO_THROW(proxy->callback("init"));
    EXPECT_THROW(proxy->frameProcessingFinished(), PlatformException);
    int status = 0;
    ::waitpid(parent, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(ParentFailure, AStalledParentHoldsTheScannerAndMemoryStaysFlat) {
    std::mutex mutex;
    std::condition_variable mayGoOn;
    bool isHeld = true;
    ParentOperations operations;
    std::int64_t received = 0;
    operations.frameProcessed = [&](const FrameReport&) {
        std::unique_lock lock(mutex);
        mayGoOn.wait(lock, [&] { return !isHeld; });
        ++received;
    };
    const auto parent = serve(operations);
    constexpr std::int64_t kCount = 5000;
    std::atomic<std::int64_t> sent = 0;
    std::thread scanner([&] {
        const auto proxy = connect();
        FrameReport report;
        report.errors = {std::string(10'000, 'x')};
        for (; sent < kCount; ++sent) {
            proxy->frameProcessed(report);
        }
        proxy->frameProcessingFinished();
    });
    // Until it is stuck: no message more in two tenths of a second.
    std::int64_t before = -1;
    while (sent != before || sent == 0) {
        before = sent;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    EXPECT_LT(before, kCount / 2) << "what a socket holds is far below 50 MB";
    {
        const std::lock_guard lock(mutex);
        isHeld = false;
    }
    mayGoOn.notify_all();
    scanner.join();
    EXPECT_EQ(received, kCount);
}

/// A parent that answers every message, although none is asked for, with a text of its own
/// choosing, and takes the next message only when the answer has left.
class AnsweringParent {
public:
    AnsweringParent(const std::string& runtimeFolder, std::size_t answerSize)
        : answer_(answerSize, 'a') {
        const std::string folder = runtimeFolder + "/oxbow";
        ::mkdir(folder.c_str(), 0700);
        if (const auto path = socketPath({runtimeFolder, false}, socketFileStem(kName))) {
            listener_ = listenAtSocket(*path);
        }
        thread_ = std::thread([this] { serve(); });
    }
    ~AnsweringParent() { thread_.join(); }
    int taken() const { return taken_; }

private:
    void serve() {
        constexpr int kLongestWait = 10'000; // Milliseconds; the test may have failed before.
        pollfd waiting = {listener_.get(), POLLIN, 0};
        if (!listener_ || ::poll(&waiting, 1, kLongestWait) <= 0) {
            return;
        }
        FileDescriptor socket = acceptFrom(listener_);
        sd_bus* raw = nullptr;
        sd_bus_new(&raw);
        const BusHandle bus(raw);
        sd_id128_t id = {};
        sd_id128_randomize(&id);
        sd_bus_set_server(raw, 1, id);
        sd_bus_set_fd(raw, socket.get(), socket.get());
        socket.release();
        sd_bus_start(raw);
        while (sd_bus_is_open(raw) > 0) {
            sd_bus_message* message = nullptr;
            const int done = sd_bus_process(raw, &message);
            const MessageHandle handle(message);
            if (message != nullptr && sd_bus_message_is_method_call(message, nullptr, nullptr)) {
                ++taken_;
                answer(raw, message);
            } else if (done == 0) {
                sd_bus_wait(raw, UINT64_MAX);
            } else if (done < 0) {
                return;
            }
        }
    }

    void answer(sd_bus* bus, sd_bus_message* call) {
        sd_bus_message* raw = nullptr;
        sd_bus_message_new_method_errorf(call, &raw, "com.fernwick.Test.Refused", "%s",
                                         answer_.c_str());
        const MessageHandle reply(raw);
        sd_bus_send(bus, raw, nullptr);
        sd_bus_flush(bus);
    }

    std::string answer_;
    FileDescriptor listener_;
    std::atomic<int> taken_ = 0;
    std::thread thread_;
};

TEST_F(ParentFailure, AParentThatAnswersEverythingWithErrorsIsServedToTheEnd) {
    AnsweringParent parent(folder_.path(), 20);
    auto proxy = connect();
    ASSERT_NE(proxy, nullptr);
    EXPECT_FALSE(proxy->respondsTo("frameProcessed:"));
    proxy->callback("init");
    proxy->frameProcessed({});
    proxy->frameProcessingFailedWithError({});
    proxy->frameProcessingFinished();
    EXPECT_EQ(parent.taken(), 5);
    proxy.reset();
}

TEST_F(ParentFailure, UnwantedAnswersDoNotJamTheConnection) {
    AnsweringParent parent(folder_.path(), 50'000);
    auto proxy = connect();
    ASSERT_NE(proxy, nullptr);
    constexpr int kCount = 300;
    FrameReport report;
    report.errors = {std::string(50'000, 'x')};
    for (int i = 0; i < kCount; ++i) {
        proxy->frameProcessed(report);
    }
    proxy->frameProcessingFinished();
    EXPECT_EQ(parent.taken(), kCount + 1);
    proxy.reset();
}

} // namespace
} // namespace fw
