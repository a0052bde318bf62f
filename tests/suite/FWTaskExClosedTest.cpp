#include "support/FWTaskEx.h"

#include "platform/mainthread/MainThread.h"
#include "support/task/TaskRun.h"
#include "tests/suite/HeldWatchdogs.h"
#include "tests/suite/TaskTest.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace fw {
namespace {

using namespace test;

class FWTaskExClosedTest : public TaskTest {};

TEST_F(FWTaskExClosedTest, WatchdogsOfAClosedMainThreadAreReleasedAndCutNothingOff) {
    HeldWatchdogs watchdogs;
    const auto waiting = std::make_shared<TaskRun>();
    waiting->startWatchdog(Timeout{0});
    const std::weak_ptr<TaskRun> watch = waiting;
    watchdogs.asked(1);
    watchdogs.wake();
    closeMainThread();
    EXPECT_EQ(printedBy([&] {
                  std::jthread([] {
                      EXPECT_EQ(FWTaskEx::dataFromTask("/bin/sh", script("sleep 0.1; echo whole"),
                                                       Timeout{0}),
                                bytes("whole\n"));
                  }).join();
              }),
              "");
    waitUntil([&] { return watch.use_count() == 1; });
}

} // namespace
} // namespace fw
