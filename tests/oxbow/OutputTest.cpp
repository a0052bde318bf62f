#include "oxbow/Output.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

namespace fw {
namespace {

TEST(Output, AFullDeviceIsAnErrorThatSaysSo) {
    const int full = ::open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    try {
        Output(full).write("text");
        FAIL() << "it was written";
    } catch (const OutputError& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("No space left"));
    }
    ::close(full);
}

TEST(Output, AClosedDescriptorIsAnError) {
    EXPECT_THROW(Output(-1).write("text"), OutputError);
    EXPECT_NO_THROW(Output(-1).write(""));
}

TEST(Output, WaitsForAReaderOfAPipeThatDoesNotBlock) {
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
    const std::string text(1'000'000, 'x');
    std::size_t taken = 0;
    std::thread reader([&] {
        char block[4096];
        while (taken < text.size()) {
            const ssize_t length = ::read(ends[0], block, sizeof block);
            taken += length > 0 ? static_cast<std::size_t>(length) : 0;
        }
    });
    Output(ends[1]).write(text);
    reader.join();
    EXPECT_EQ(taken, text.size());
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace
} // namespace fw
