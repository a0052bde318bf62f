#include "oxbow/Diagnostics.h"
#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

namespace fw {
namespace {

/// The reader of a pipe that goes away must not end the test.
class Diagnostics : public testing::Test {
protected:
    Diagnostics() {
        std::array<int, 2> ends = {-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reading_ = FileDescriptor(ends[0]);
        writing_ = FileDescriptor(ends[1]);
    }
    ~Diagnostics() override { ::signal(SIGPIPE, before_); }

    std::string written() {
        writing_.reset();
        std::string text(100, '\0');
        const ssize_t length = ::read(reading_.get(), text.data(), text.size());
        text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return text;
    }

    FileDescriptor reading_;
    FileDescriptor writing_;

private:
    sighandler_t before_ = ::signal(SIGPIPE, SIG_IGN);
};

TEST_F(Diagnostics, AreWrittenAsTheyAre) {
    const auto write = diagnosticsWriter(writing_.get());
    write("a word\n");
    write("half");
    EXPECT_EQ(written(), "a word\nhalf");
}

TEST_F(Diagnostics, WithoutAReaderArePassedOver) {
    reading_.reset();
    const auto write = diagnosticsWriter(writing_.get());
    EXPECT_NO_THROW(write("a word\n"));
    EXPECT_NO_THROW(write("another\n"));
}

TEST_F(Diagnostics, AreNotTriedAgainOnceTheyCouldNotBeWritten) {
    FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(full);
    const auto write = diagnosticsWriter(full.get());
    EXPECT_NO_THROW(write("lost\n"));
    ASSERT_GE(::dup3(writing_.get(), full.get(), O_CLOEXEC), 0);
    write("a piece of what was cut\n");
    full.reset();
    EXPECT_EQ(written(), "");
}

} // namespace
} // namespace fw
