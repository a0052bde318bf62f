#include "platform/system/SystemFacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>

namespace fw {
namespace {

using testing::HasSubstr;

std::string firstWordAfter(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    for (std::string word; file >> word;) {
        if (word == key) {
            file >> word;
            return word;
        }
    }
    return {};
}

TEST(SystemFactsTest, TheVersionNamesTheKernelThatRuns) {
    std::ifstream file("/proc/sys/kernel/osrelease");
    std::string release;
    file >> release;
    ASSERT_NE(release, "");
    EXPECT_THAT(systemFacts().version, HasSubstr("Linux " + release));
}

TEST(SystemFactsTest, MemoryIsWhatTheKernelCounts) {
    const std::string kilobytes = firstWordAfter("/proc/meminfo", "MemTotal:");
    EXPECT_EQ(systemFacts().memoryBytes, std::stoull(kilobytes) * 1024);
}

TEST(SystemFactsTest, AtLeastTheProcessorsThatThisProcessMayUseAreThere) {
    EXPECT_GE(systemFacts().processorCount, std::thread::hardware_concurrency());
}

} // namespace
} // namespace fw
