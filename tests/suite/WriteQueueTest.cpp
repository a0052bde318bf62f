#include "support/log/WriteQueue.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fw {
namespace {

using testing::ElementsAre;
using Texts = std::vector<std::string>;

TEST(WriteQueueTest, HandsTextsOnInTheirOrder) {
    Texts seen;
    WriteQueue queue([&](std::span<const std::string_view> texts) {
        seen.insert(seen.end(), texts.begin(), texts.end());
    });
    Texts expected;
    for (int i = 0; i < 1000; ++i) {
        expected.push_back(std::to_string(i));
        queue.enqueue(expected.back());
    }
    queue.waitUntilFinished();
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(queue.pendingCount(), 0U);
}

TEST(WriteQueueTest, OneTextAtATimeIsConsumedAndTheWorkerKnowsItself) {
    std::atomic<int> inside = 0;
    bool wasAlone = true;
    bool wasWorker = true;
    WriteQueue* self = nullptr;
    WriteQueue queue([&](std::span<const std::string_view>) {
        wasAlone = wasAlone && ++inside == 1;
        wasWorker = wasWorker && self->isWorker();
        --inside;
    });
    self = &queue;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < 1000; ++i) {
                    queue.enqueue("x");
                }
            });
        }
    }
    queue.waitUntilFinished();
    EXPECT_TRUE(wasAlone);
    EXPECT_TRUE(wasWorker);
    EXPECT_FALSE(queue.isWorker());
}

TEST(WriteQueueTest, WaitingIncludesWhatTheConsumerAdds) {
    Texts seen;
    WriteQueue* self = nullptr;
    WriteQueue queue([&](std::span<const std::string_view> texts) {
        for (const std::string_view text : texts) {
            seen.emplace_back(text);
            if (text == "a") {
                self->enqueue("added");
            }
        }
    });
    self = &queue;
    queue.enqueue("a");
    queue.waitUntilFinished();
    EXPECT_THAT(seen, ElementsAre("a", "added"));
}

TEST(WriteQueueTest, ClosingFinishesWhatWaitsAndTakesNoMore) {
    Texts seen;
    WriteQueue queue([&](std::span<const std::string_view> texts) {
        seen.insert(seen.end(), texts.begin(), texts.end());
    });
    queue.enqueue("kept");
    queue.close();
    queue.enqueue("dropped");
    queue.waitUntilFinished();
    EXPECT_THAT(seen, ElementsAre("kept"));
}

TEST(WriteQueueTest, AbandoningDropsWhatWaitsAndReleasesThoseWhoWait) {
    auto release = std::make_shared<std::promise<void>>();
    auto started = std::make_shared<std::promise<void>>();
    auto count = std::make_shared<std::atomic<int>>(0);
    WriteQueue queue([=](std::span<const std::string_view> texts) {
        if (*count == 0) {
            started->set_value();
            release->get_future().wait();
        }
        *count += static_cast<int>(texts.size());
    });
    queue.enqueue("stuck");
    started->get_future().wait();
    for (int i = 0; i < 50; ++i) {
        queue.enqueue("dropped");
    }
    EXPECT_EQ(queue.pendingCount(), 51U);
    std::jthread waiting([&] { queue.waitUntilFinished(); });
    queue.abandon();
    waiting.join();
    release->set_value();
    while (*count == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(*count, 1);
}

} // namespace
} // namespace fw
