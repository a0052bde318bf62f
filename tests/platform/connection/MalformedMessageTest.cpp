#include "platform/connection/Bus.h"
#include "platform/connection/UnixSocket.h"
#include "tests/platform/connection/RecordingParent.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <functional>

namespace fw {
namespace {

constexpr const char* kName = "Oxbow - /movie.mov";

/// A peer that says what it likes to a parent.
class MalformedMessage : public testing::Test {
protected:
    MalformedMessage()
        : parent_(kName, test::recordInto(received_), {{folder_.path(), false}}), bus_(connect()) {}

    BusHandle connect() {
        FileDescriptor socket = connectToSocket(parent_.server().socketPath());
        sd_bus* bus = nullptr;
        sd_bus_new(&bus);
        sd_bus_set_fd(bus, socket.get(), socket.get());
        socket.release();
        sd_bus_start(bus);
        return BusHandle(bus);
    }

    /// The name of the error that the parent answers with; empty when it takes the message.
    std::string answerTo(const char* member, const std::function<void(sd_bus_message*)>& fill,
                         const char* interface = kParentInterface, const char* path = "/") {
        sd_bus_message* raw = nullptr;
        sd_bus_message_new_method_call(bus_.get(), &raw, nullptr, path, interface, member);
        const MessageHandle message(raw);
        fill(raw);
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call(bus_.get(), raw, 0, &error, &reply);
        const MessageHandle keep(reply);
        const std::string name = result >= 0 ? "" : error.name != nullptr ? error.name : "none";
        sd_bus_error_free(&error);
        return name;
    }

    void expectParentStillWorks() {
        EXPECT_EQ(
            answerTo("callback", [](sd_bus_message* m) { sd_bus_message_append(m, "s", "x"); }),
            "");
    }

    test::TemporaryFolder folder_;
    test::Received received_;
    test::ServingThread parent_;
    BusHandle bus_;
};

TEST_F(MalformedMessage, ArgumentsOfAnotherTypeAreRefused) {
    EXPECT_EQ(answerTo("callback", [](sd_bus_message* m) { sd_bus_message_append(m, "i", 1); }),
              SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(answerTo("callback", [](sd_bus_message*) {}), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(answerTo("frameProcessed",
                       [](sd_bus_message* m) { sd_bus_message_append(m, "s", "frame"); }),
              SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(answerTo("frameProcessingFinished",
                       [](sd_bus_message* m) { sd_bus_message_append(m, "s", "x"); }),
              SD_BUS_ERROR_INVALID_ARGS);
    expectParentStillWorks();
    EXPECT_EQ(received_.order, "n");
}

TEST_F(MalformedMessage, KnownKeysWithAnotherTypeAreRefused) {
    const auto with = [this](const char* key, const char* type, const auto& value) {
        return answerTo("frameProcessed", [&](sd_bus_message* m) {
            sd_bus_message_append(m, "a{sv}", 2, "frame", "x", std::int64_t{1}, key, type, value);
        });
    };
    EXPECT_EQ(with("timecode", "i", 5), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(with("val", "s", "5"), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(with("timescale", "x", std::int64_t{5}), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(with("errors", "s", "text"), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(with("info", "d", 1.0), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(with("frame", "u", 1U), SD_BUS_ERROR_INVALID_ARGS);
    expectParentStillWorks();
    EXPECT_TRUE(received_.reports.empty());
}

TEST_F(MalformedMessage, AReportWithoutAFrameNumberIsRefused) {
    EXPECT_EQ(answerTo("frameProcessed",
                       [](sd_bus_message* m) {
                           sd_bus_message_append(m, "a{sv}", 1, "timecode", "s", "00:00:00:00");
                       }),
              SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(
        answerTo("frameProcessed", [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 0); }),
        SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_TRUE(received_.reports.empty());
}

TEST_F(MalformedMessage, UnknownKeysOfAnyTypeArePassedOver) {
    EXPECT_EQ(answerTo("frameProcessed",
                       [](sd_bus_message* m) {
                           sd_bus_message_append(m, "a{sv}", 3, "future", "a{sv}", 1, "deep",
                                                 "(is)", 1, "x", "frame", "x", std::int64_t{42}, "",
                                                 "v", "as", 0);
                       }),
              "");
    ASSERT_EQ(received_.reports.size(), 1U);
    EXPECT_EQ(received_.reports.front().frame, 42);
}

TEST_F(MalformedMessage, MoreErrorsThanAFrameCanHaveAreRefused) {
    const auto withErrors = [this](int count) {
        return answerTo("frameProcessed", [count](sd_bus_message* m) {
            sd_bus_message_open_container(m, 'a', "{sv}");
            sd_bus_message_append(m, "{sv}", "frame", "x", std::int64_t{1});
            sd_bus_message_open_container(m, 'e', "sv");
            sd_bus_message_append(m, "s", "errors");
            sd_bus_message_open_container(m, 'v', "as");
            sd_bus_message_open_container(m, 'a', "s");
            for (int i = 0; i < count; ++i) {
                sd_bus_message_append(m, "s", "");
            }
            for (int i = 0; i < 4; ++i) {
                sd_bus_message_close_container(m);
            }
        });
    };
    EXPECT_EQ(withErrors(4096), "");
    EXPECT_EQ(withErrors(4097), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(withErrors(1'000'000), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(received_.reports.size(), 1U);
}

TEST_F(MalformedMessage, AnErrorMayLackItsPartsButNotMistypeThem) {
    EXPECT_EQ(answerTo("frameProcessingFailedWithError",
                       [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 0); }),
              "");
    EXPECT_EQ(answerTo("frameProcessingFailedWithError",
                       [](sd_bus_message* m) {
                           sd_bus_message_append(m, "a{sv}", 1, "code", "s", "17");
                       }),
              SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(received_.errors, std::vector<Error>{Error{}});
}

TEST_F(MalformedMessage, OtherObjectsInterfacesAndMethodsAreUnknown) {
    const auto nothing = [](sd_bus_message*) {
    };
    EXPECT_EQ(answerTo("frameProcessingFinished", nothing, kParentInterface, "/other"),
              SD_BUS_ERROR_UNKNOWN_OBJECT);
    EXPECT_EQ(answerTo("frameProcessingFinished", nothing, "com.fernwick.Other"),
              SD_BUS_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(answerTo("frameProcessingStarted", nothing), SD_BUS_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(received_.finished, 0);
}

TEST_F(MalformedMessage, BytesThatAreNotDBusEndThatConnectionOnly) {
    {
        const FileDescriptor stranger = connectToSocket(parent_.server().socketPath());
        ASSERT_TRUE(stranger);
        const std::string noise(100'000, '\x7F');
        static_cast<void>(!::send(stranger.get(), noise.data(), noise.size(), MSG_NOSIGNAL));
    }
    {
        const FileDescriptor stranger = connectToSocket(parent_.server().socketPath());
        const std::string greeting =
            std::string(1, '\0') + "AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\nlNONSENSE";
        static_cast<void>(!::send(stranger.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL));
    }
    const FileDescriptor silent = connectToSocket(parent_.server().socketPath());
    expectParentStillWorks();
    bus_.reset();
    parent_.stop();
    EXPECT_EQ(parent_.server().connectionCount(), 1) << "the silent one";
    EXPECT_EQ(received_.order, "n");
}

TEST_F(MalformedMessage, ADispatchGivesItsCallerATurnHoweverMuchHasArrived) {
    parent_.stop();
    std::atomic<bool> isOver = false;
    std::thread flood([&] {
        const BusHandle other = connect();
        while (!isOver) {
            sd_bus_message* raw = nullptr;
            sd_bus_message_new_method_call(other.get(), &raw, nullptr, "/", kParentInterface,
                                           "callback");
            const MessageHandle message(raw);
            sd_bus_message_append(raw, "s", "x");
            sd_bus_message_set_expect_reply(raw, 0);
            sd_bus_send(other.get(), raw, nullptr);
            while (!isOver && sd_bus_process(other.get(), nullptr) > 0) {
            }
            std::uint64_t queued = 0;
            while (!isOver && sd_bus_get_n_queued_write(other.get(), &queued) >= 0 && queued > 0) {
                sd_bus_process(other.get(), nullptr);
            }
        }
    });
    for (int turns = 0; turns < 20; ++turns) {
        pollfd readable = {parent_.server().pollDescriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&readable, 1, 10'000), 1);
        parent_.server().dispatch();
    }
    isOver = true;
    flood.join();
    EXPECT_FALSE(received_.notes.empty());
}

} // namespace
} // namespace fw
