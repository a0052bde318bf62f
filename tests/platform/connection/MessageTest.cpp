#include "base/PlatformException.h"
#include "platform/connection/ParentConnection.h"
#include "tests/platform/connection/RecordingParent.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <limits>

namespace fw {
namespace {

constexpr const char* kName = "Oxbow - /movie.mov";

class Message : public testing::Test {
protected:
    Message() : folders_{{folder_.path(), false}} {}

    void serve(const ParentOperations& operations) {
        parent_ = std::make_unique<test::ServingThread>(kName, operations, folders_);
        ParentConnectionOptions options;
        options.runtimeFolders = folders_;
        connection_ = connectionWithOptions(kName, options);
        ASSERT_NE(connection_, nullptr);
        proxy_ = connection_->rootProxy();
        ASSERT_NE(proxy_, nullptr);
    }
    void serveAll() { serve(test::recordInto(received_)); }
    /// Everything sent so far is in received_ afterwards.
    void finish() {
        proxy_.reset();
        connection_.reset();
        parent_->stop();
    }

    test::TemporaryFolder folder_;
    std::vector<RuntimeFolder> folders_;
    test::Received received_;
    std::unique_ptr<test::ServingThread> parent_;
    std::shared_ptr<ParentConnection> connection_;
    std::shared_ptr<ParentProxy> proxy_;
};

FrameReport reportWithEverything() {
    FrameReport report;
    report.frame = 123456789012;
    report.timecode = "01:02:03;04";
    report.val = 3003;
    report.timescale = 30000;
    report.errors = {"Upper matte area is not completely black", "Blacks too low - 3 (12, 0.10%)"};
    report.info = "diff1: 1.000000, diff2: 2.000000, diff3: 3.000000";
    return report;
}

TEST_F(Message, EveryShapeOfAReportArrivesAsItWasSent) {
    serveAll();
    const FrameReport everything = reportWithEverything();
    std::vector<FrameReport> sent;
    for (unsigned shape = 0; shape < 32; ++shape) {
        FrameReport report;
        report.frame = everything.frame + shape;
        report.timecode = shape & 1U ? everything.timecode : std::nullopt;
        report.val = shape & 2U ? everything.val : std::nullopt;
        report.timescale = shape & 4U ? everything.timescale : std::nullopt;
        report.errors = shape & 8U ? everything.errors : std::nullopt;
        report.info = shape & 16U ? everything.info : std::nullopt;
        sent.push_back(report);
        proxy_->frameProcessed(report);
    }
    finish();
    EXPECT_EQ(received_.reports, sent);
}

TEST_F(Message, NumbersAtTheEndsOfTheirRangesArrive) {
    serveAll();
    std::vector<FrameReport> sent(2);
    sent[0].frame = std::numeric_limits<std::int64_t>::min();
    sent[0].val = std::numeric_limits<std::int64_t>::min();
    sent[0].timescale = std::numeric_limits<std::int32_t>::min();
    sent[1].frame = std::numeric_limits<std::int64_t>::max();
    sent[1].val = std::numeric_limits<std::int64_t>::max();
    sent[1].timescale = std::numeric_limits<std::int32_t>::max();
    for (const FrameReport& report : sent) {
        proxy_->frameProcessed(report);
    }
    finish();
    EXPECT_EQ(received_.reports, sent);
}

TEST_F(Message, AnEmptyListOfErrorsIsNotAnAbsentOne) {
    serveAll();
    FrameReport report;
    report.errors.emplace();
    proxy_->frameProcessed(report);
    finish();
    ASSERT_EQ(received_.reports.size(), 1U);
    EXPECT_EQ(received_.reports.front(), report);
}

TEST_F(Message, NotesErrorsAndTheEndArriveInTheirOrder) {
    serveAll();
    proxy_->callback("init");
    proxy_->callback("duration: 250 25");
    proxy_->frameProcessed({});
    proxy_->frameProcessingFailedWithError({"reader", -17, "The file ends too early."});
    proxy_->frameProcessingFinished();
    finish();
    EXPECT_EQ(received_.order, "nnref");
    EXPECT_EQ(received_.notes, (std::vector<std::string>{"init", "duration: 250 25"}));
    EXPECT_EQ(received_.errors, (std::vector<Error>{{"reader", -17, "The file ends too early."}}));
}

TEST_F(Message, TensOfThousandsArriveInOrder) {
    serveAll();
    constexpr std::int64_t kCount = 30000;
    for (std::int64_t i = 0; i < kCount; ++i) {
        FrameReport report;
        report.frame = i;
        proxy_->frameProcessed(report);
    }
    finish();
    ASSERT_EQ(received_.reports.size(), static_cast<std::size_t>(kCount));
    for (std::int64_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(received_.reports[static_cast<std::size_t>(i)].frame, i);
    }
}

TEST_F(Message, TextOfSeveralMegabytesArrivesWhole) {
    serveAll();
    const std::string text(5'000'000, 'x');
    FrameReport report;
    report.errors = {text, "short", text};
    proxy_->callback(text);
    proxy_->frameProcessed(report);
    finish();
    ASSERT_EQ(received_.reports.size(), 1U);
    EXPECT_EQ(received_.notes.front().size(), text.size());
    EXPECT_EQ(received_.reports.front(), report);
}

TEST_F(Message, TextThatIsNotUtf8ArrivesRepaired) {
    serveAll();
    FrameReport report;
    report.timecode = "\xFF";
    report.errors = {"a\xC3", "\xEF\xBF\xBE"};
    report.info = std::string("a\0b", 3);
    proxy_->callback("args: \xFF/movie\xE9.mov");
    proxy_->frameProcessed(report);
    proxy_->frameProcessingFailedWithError({"\x80", 1, "no \xFE"});
    finish();
    EXPECT_EQ(received_.notes, std::vector<std::string>{"args: \uFFFD/movie\uFFFD.mov"});
    ASSERT_EQ(received_.reports.size(), 1U);
    EXPECT_EQ(received_.reports[0].timecode, "\uFFFD");
    EXPECT_EQ(received_.reports[0].errors, (std::vector<std::string>{"a\uFFFD", "\uFFFD"}));
    EXPECT_EQ(received_.reports[0].info, "a\uFFFDb");
    EXPECT_EQ(received_.errors, (std::vector<Error>{{"\uFFFD", 1, "no \uFFFD"}}));
}

TEST_F(Message, AParentRespondsToWhatItImplements) {
    serveAll();
    for (const char* operation : {"callback:", "frameProcessed:", "frameProcessingFailedWithError:",
                                  "frameProcessingFinished"}) {
        EXPECT_TRUE(proxy_->respondsTo(operation)) << operation;
    }
    EXPECT_FALSE(proxy_->respondsTo("frame:"));
    EXPECT_FALSE(proxy_->respondsTo(""));
}

TEST_F(Message, AParentDoesNotRespondToWhatItLeavesOut) {
    ParentOperations operations = test::recordInto(received_);
    operations.frameProcessed = nullptr;
    operations.frameProcessingFinished = nullptr;
    serve(operations);
    EXPECT_TRUE(proxy_->respondsTo("callback:"));
    EXPECT_FALSE(proxy_->respondsTo("frameProcessed:"));
    EXPECT_FALSE(proxy_->respondsTo("frameProcessingFinished"));
}

TEST_F(Message, WhatAParentDoesNotImplementIsSentAllTheSame) {
    ParentOperations operations;
    operations.callback = test::recordInto(received_).callback;
    serve(operations);
    proxy_->frameProcessed({});
    proxy_->callback("after");
    proxy_->frameProcessingFinished();
    finish();
    EXPECT_EQ(received_.order, "n");
}

TEST_F(Message, ScannersOneAfterAnotherAndAtOnceAreServed) {
    serveAll();
    ParentConnectionOptions options;
    options.runtimeFolders = folders_;
    const auto second = connectionWithOptions(kName, options);
    ASSERT_NE(second, nullptr);
    second->rootProxy()->callback("second");
    second->rootProxy()->frameProcessingFinished();
    proxy_->callback("first");
    proxy_->frameProcessingFinished();
    parent_->stop();
    EXPECT_EQ(received_.notes, (std::vector<std::string>{"second", "first"}));
    EXPECT_EQ(parent_->server().connectionCount(), 2);
    EXPECT_EQ(parent_->server().connectionsSeen(), 2);
}

TEST_F(Message, AConnectionThatHasEndedIsNoLongerCounted) {
    serveAll();
    proxy_->callback("init");
    finish();
    EXPECT_EQ(parent_->server().connectionCount(), 0);
    EXPECT_EQ(parent_->server().connectionsSeen(), 1);
    EXPECT_EQ(received_.notes.size(), 1U);
}

TEST_F(Message, WhatWasSentBeforeTheScannerEndedStillArrives) {
    auto published = ParentServer::publish(kName, test::recordInto(received_), folders_);
    ASSERT_TRUE(published);
    ParentServer& server = *published.value();
    std::thread scanner([this] {
        ParentConnectionOptions options;
        options.runtimeFolders = folders_;
        const auto connection = connectionWithOptions(kName, options);
        for (int i = 0; i < 100; ++i) {
            connection->rootProxy()->frameProcessed({});
        }
    });
    // Enough for the greeting; the reports stay in the socket until the scanner is gone.
    while (received_.reports.empty()) {
        server.dispatch();
    }
    scanner.join();
    while (server.connectionCount() > 0) {
        server.dispatch();
    }
    EXPECT_EQ(received_.reports.size(), 100U);
}

TEST_F(Message, WhatAnOperationThrowsComesOutOfDispatchBeforeTheNextMessageIsTaken) {
    ParentOperations operations;
    int taken = 0;
    operations.callback = [&taken](const std::string&) {
        ++taken;
        throw std::runtime_error("disk full");
    };
    auto published = ParentServer::publish(kName, operations, folders_);
    ASSERT_TRUE(published);
    std::thread scanner([this] {
        ParentConnectionOptions options;
        options.runtimeFolders = folders_;
        const auto connection = connectionWithOptions(kName, options);
        for (int i = 0; i < 10; ++i) {
            connection->rootProxy()->callback("note");
        }
    });
    int thrown = 0;
    while (taken < 10) {
        try {
            published.value()->dispatch();
        } catch (const std::runtime_error&) {
            ++thrown;
        }
    }
    scanner.join();
    EXPECT_EQ(thrown, 10);
}

} // namespace
} // namespace fw
