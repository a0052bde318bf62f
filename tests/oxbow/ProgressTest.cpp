#include "oxbow/Progress.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace fw {
namespace {

using Seconds = std::chrono::duration<double>;

TEST(ProgressText, SaysFrameShareSpeedTimeLeftAndFaults) {
    EXPECT_EQ(progressText({249, 250, 1000, 3, Seconds(10)}),
              "frame 249  25 %  25.0 fps  0:30 left  3 faults");
}

TEST(ProgressText, LeavesOutWhatIsNotKnown) {
    EXPECT_EQ(progressText({}), "frame 0  0 faults");
    EXPECT_EQ(progressText({0, 0, 1000, 0, Seconds(5)}), "frame 0  0 %  0 faults");
    EXPECT_EQ(progressText({99, 100, 0, 1, Seconds(4)}), "frame 99  25.0 fps  1 fault");
}

TEST(ProgressText, ALongWaitIsGivenInHours) {
    EXPECT_EQ(progressText({0, 1, 7262, 0, Seconds(1)}),
              "frame 0  0 %  1.0 fps  2:01:01 left  0 faults");
}

TEST(ProgressText, MoreFramesThanEstimatedAreAHundredPercentAndNoTime) {
    EXPECT_EQ(progressText({19, 20, 10, 0, Seconds(1)}),
              "frame 19  100 %  20.0 fps  0:00 left  0 faults");
}

TEST(ProgressLine, WritesNothingWhereThereIsNoTerminal) {
    int ends[2] = {};
    ASSERT_EQ(::pipe(ends), 0);
    {
        ProgressLine line(ends[1]);
        EXPECT_FALSE(line.isOnTerminal());
        line.show("text");
        line.clear();
    }
    ::close(ends[1]);
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 0);
    ::close(ends[0]);
}

} // namespace
} // namespace fw
