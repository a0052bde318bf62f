#include "platform/mainthread/MainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace fw {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Serves the main thread until the flag is set.
void serveUntil(const std::atomic<bool>& isDone) {
    while (!isDone) {
        serviceMainThread(1ms);
    }
}

TEST(MainThread, IsTheOneOfMainAlone) {
    EXPECT_TRUE(isMainThread());
    std::jthread([] {
        EXPECT_FALSE(isMainThread());
        EXPECT_FALSE(isMainThread()) << "the remembered answer";
    }).join();
    EXPECT_TRUE(isMainThread());
}

TEST(MainThread, RunsWhatAnotherThreadWaitsFor) {
    std::atomic<bool> isDone = false;
    std::jthread other([&] {
        bool onMain = false;
        EXPECT_TRUE(runOnMainThread([&] { onMain = isMainThread(); }));
        EXPECT_TRUE(onMain);
        isDone = true;
    });
    serveUntil(isDone);
}

TEST(MainThread, KnowsWhoWaitsForWhatItRuns) {
    std::atomic<bool> isDone = false;
    std::jthread outer([&] {
        const std::thread::id first = std::this_thread::get_id();
        EXPECT_FALSE(isMainThreadRunningFor(first)) << "this is not the main thread";
        runOnMainThread([&] {
            EXPECT_TRUE(isMainThreadRunningFor(first));
            std::atomic<bool> isInnerDone = false;
            std::jthread inner([&] {
                const std::thread::id second = std::this_thread::get_id();
                runOnMainThread([&] {
                    EXPECT_TRUE(isMainThreadRunningFor(second));
                    EXPECT_TRUE(isMainThreadRunningFor(first)) << "which waits on";
                });
                postToMainThread([&, second] {
                    EXPECT_FALSE(isMainThreadRunningFor(second)) << "it does not wait";
                    isInnerDone = true;
                });
                EXPECT_FALSE(isMainThreadRunningFor(first)) << "nor is this";
            });
            serveUntil(isInnerDone);
            EXPECT_TRUE(isMainThreadRunningFor(first));
        });
        isDone = true;
    });
    serveUntil(isDone);
    EXPECT_FALSE(isMainThreadRunningFor(outer.get_id()));
}

TEST(MainThread, RunsItsOwnAtOnceWhenItWaits) {
    bool ran = false;
    EXPECT_TRUE(runOnMainThread([&] { ran = true; }));
    EXPECT_TRUE(ran);
}

TEST(MainThread, RunsItsOwnPostsWhenTheirTurnComes) {
    bool ran = false;
    EXPECT_TRUE(postToMainThread([&] { ran = true; }));
    EXPECT_FALSE(ran);
    serviceMainThread();
    EXPECT_TRUE(ran);
}

TEST(MainThread, DoesNotKeepAPostThatNobodyWaitsFor) {
    std::atomic<bool> ran = false;
    std::jthread([&] { EXPECT_TRUE(postToMainThread([&] { ran = true; })); }).join();
    EXPECT_FALSE(ran) << "nobody serves yet";
    serviceMainThread();
    EXPECT_TRUE(ran);
}

TEST(MainThread, KeepsTheOrderOfThePosts) {
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) {
        postToMainThread([&order, i] { order.push_back(i); });
    }
    serviceMainThread();
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST(MainThread, LeavesWhatAPostPostsForTheNextTime) {
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 3) {
            postToMainThread(again);
        }
    };
    postToMainThread(again);
    serviceMainThread();
    EXPECT_EQ(runs, 1);
    serviceMainThread(0ms);
    EXPECT_EQ(runs, 2);
    serviceMainThread(20ms);
    EXPECT_EQ(runs, 3);
}

TEST(MainThread, CanBeServedFromWithinAPost) {
    std::vector<int> order;
    postToMainThread([&] {
        order.push_back(1);
        serviceMainThread();
        order.push_back(3);
    });
    postToMainThread([&] { order.push_back(2); });
    serviceMainThread();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(MainThread, IsNotServedByOtherThreads) {
    bool ran = false;
    postToMainThread([&] { ran = true; });
    std::jthread([] {
        serviceMainThread();
        serviceMainThread(1ms);
    }).join();
    EXPECT_FALSE(ran);
    serviceMainThread();
    EXPECT_TRUE(ran);
}

TEST(MainThread, RunsAPostThatComesWhileItServes) {
    std::atomic<bool> ran = false;
    std::promise<void> serving;
    postToMainThread([&] { serving.set_value(); });
    std::jthread other([&] {
        serving.get_future().wait();
        EXPECT_TRUE(runOnMainThread([&] { ran = true; }));
    });
    serviceMainThread(2s);
    EXPECT_TRUE(ran);
    serviceMainThread();
}

TEST(MainThread, ServesForTheWholeTimeSoThatALoopMayPaceItselfByIt) {
    const auto begin = std::chrono::steady_clock::now();
    postToMainThread([] {});
    serviceMainThread(20ms);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
}

TEST(MainThread, ATimeBelowZeroIsNone) {
    bool ran = false;
    postToMainThread([&] { ran = true; });
    serviceMainThread(std::chrono::milliseconds::min());
    EXPECT_TRUE(ran);
}

TEST(MainThread, WhatAPostHoldsIsGoneWhenItsWaiterComesBack) {
    std::atomic<bool> isDone = false;
    std::jthread other([&] {
        auto held = std::make_shared<int>(1);
        const std::weak_ptr<int> watch = held;
        EXPECT_TRUE(runOnMainThread([held = std::move(held)] {}));
        EXPECT_TRUE(watch.expired());
        isDone = true;
    });
    serveUntil(isDone);
}

TEST(MainThread, TakesPostsOfManyThreads) {
    constexpr int kThreads = 8;
    constexpr int kPosts = 200;
    int runs = 0; // Only the main thread touches it.
    std::atomic<int> threadsLeft = kThreads;
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int post = 0; post < kPosts; ++post) {
                EXPECT_TRUE(post % 2 == 0 ? runOnMainThread([&] { ++runs; })
                                          : postToMainThread([&] { ++runs; }));
            }
            --threadsLeft;
        });
    }
    while (threadsLeft > 0) {
        serviceMainThread(1ms);
    }
    serviceMainThread();
    EXPECT_EQ(runs, kThreads * kPosts);
}

// Closing is for good: these run in processes of their own.

int exitStatusOfClosing() {
    std::atomic<int> released = 0;
    std::atomic<bool> ran = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            const bool wasRun = runOnMainThread([&] { ran = true; });
            released += wasRun ? 0 : 1;
        });
    }
    std::this_thread::sleep_for(10ms); // Some wait by then, others come to a closed queue.
    closeMainThread();
    threads.clear();
    serviceMainThread();
    return released == 4 && !ran ? 0 : 1;
}

TEST(ClosedMainThreadDeathTest, ReleasesThoseWhoWaitAndRunsNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusOfClosing()), testing::ExitedWithCode(0), "");
}

int exitStatusOfPostingAfterwards() {
    bool ran = false;
    postToMainThread([&] { ran = true; });
    closeMainThread();
    const bool isTaken = postToMainThread([&] { ran = true; });
    bool isTakenElsewhere = true;
    std::jthread([&] { isTakenElsewhere = runOnMainThread([&] { ran = true; }); }).join();
    serviceMainThread(10ms);
    return isTaken || isTakenElsewhere || ran ? 1 : 0;
}

TEST(ClosedMainThreadDeathTest, DropsWhatIsPosted) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusOfPostingAfterwards()), testing::ExitedWithCode(0), "");
}

int exitStatusOfClosingWithinAPost() {
    bool ran = false;
    postToMainThread(closeMainThread);
    postToMainThread([&] { ran = true; });
    serviceMainThread();
    return ran ? 1 : 0;
}

TEST(ClosedMainThreadDeathTest, DropsWhatStandsBehindThePostThatClosesIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusOfClosingWithinAPost()), testing::ExitedWithCode(0), "");
}

int exitStatusOfRunningOnItself() {
    closeMainThread();
    bool ran = false;
    return runOnMainThread([&] { ran = true; }) && ran ? 0 : 1;
}

TEST(ClosedMainThreadDeathTest, StillRunsItsOwnAtOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusOfRunningOnItself()), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace fw
